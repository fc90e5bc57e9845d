#include "app/evaluated_json.h"

#include "evaluation/evaluated_frame.h"
#include "evaluation/span_effects.h"
#include "foundation/json_writer.h"

#include <cmath>
#include <cstdint>
#include <string_view>
#include <vector>

namespace larkspool {

namespace {

/// What an overshooting curve made infinite, or no number at all, cannot be said in JSON.
void writeNumber(JsonWriter& json, double number)
{
    std::isfinite(number) ? json.number(number) : json.null();
}

void writeMember(JsonWriter& json, std::string_view key, double number)
{
    json.key(key);
    writeNumber(json, number);
}

void writeMember(JsonWriter& json, std::string_view key, bool flag)
{
    json.key(key);
    json.boolean(flag);
}

void writeMember(JsonWriter& json, std::string_view key, std::string_view text)
{
    json.key(key);
    json.string(text);
}

void writePair(JsonWriter& json, std::string_view key, double first, double second)
{
    json.key(key);
    json.beginArray();
    writeNumber(json, first);
    writeNumber(json, second);
    json.endArray();
}

void writeColor(JsonWriter& json, std::string_view key, const ColorRGBA& color)
{
    json.key(key);
    json.beginObject();
    writeMember(json, "r", color.r);
    writeMember(json, "g", color.g);
    writeMember(json, "b", color.b);
    writeMember(json, "a", color.a);
    json.endObject();
}

void writeTransform(JsonWriter& json, const Transform& transform)
{
    json.key("transform");
    json.beginObject();
    writeMember(json, "x", transform.x);
    writeMember(json, "y", transform.y);
    writeMember(json, "rotation", transform.rotation);
    writeMember(json, "scaleX", transform.scaleX);
    writeMember(json, "scaleY", transform.scaleY);
    writeMember(json, "anchorX", transform.anchorX);
    writeMember(json, "anchorY", transform.anchorY);
    json.endObject();
}

void writeProperties(JsonWriter& json, const Layer& layer)
{
    writeTransform(json, layer.transform);
    writePair(json, "size", layer.size.width, layer.size.height);
    writeMember(json, "opacity", layer.opacity);
    writeColor(json, "fill", layer.fill);
    writeColor(json, "stroke", layer.stroke);
    writeMember(json, "strokeWidth", layer.strokeWidth);
    writeMember(json, "cornerRadius", layer.cornerRadius);
    writeMember(json, "shadow", fileValue(layer.shadow));
    writeMember(json, "fontSize", layer.fontSize);
    writeMember(json, "fontName", layer.fontName.view());
    writeColor(json, "textColor", layer.textColor);
    writeMember(json, "text", layer.text.view());
    writeMember(json, "cursorVariant", fileValue(layer.cursorVariant));
    writeMember(json, "groupGap", layer.groupGap);
    writeMember(json, "lineArcBend", layer.lineArcBend);
    writeMember(json, "lineWaveFrequency", layer.lineWaveFrequency);
    writeMember(json, "lineWaveAmplitude", layer.lineWaveAmplitude);
    writeMember(json, "lineDrawProgress", layer.lineDrawProgress);
    writeMember(json, "lineDrawReversed", layer.lineDrawReversed);
    writeMember(json, "textCursorVisible", layer.textCursorVisible);
    json.key("textTypeOnVisible");
    layer.textTypeOnVisible ? json.integer(static_cast<std::int64_t>(*layer.textTypeOnVisible)) : json.null();
}

/// Writes the layers of one scene at one time.
class NodeWriter {
public:
    NodeWriter(JsonWriter& json, const TweenScene& scene, double time) : json_(json), hover_(scene, time), time_(time) {}

    /// `origin` is the absolute origin of the layers' parent.
    void writeAll(std::string_view key, const Array<Layer>& layers, CGPoint origin)
    {
        json_.key(key);
        json_.beginArray();
        for (const Layer& layer : layers) write(layer, origin);
        json_.endArray();
    }

private:
    void write(const Layer& stored, CGPoint origin)
    {
        const PreparedLayer prepared = prepareLayer(stored, origin, &hover_, time_);
        const Layer& layer = prepared.layer;

        json_.beginObject();
        writeMember(json_, "id", layer.id.string());
        writeMember(json_, "name", layer.name.view());
        writeMember(json_, "kind", fileValue(layer.kind));
        writeMember(json_, "visible", isVisible(stored, time_) && !stored.isHidden);
        writeProperties(json_, layer);
        json_.key("pulse");
        json_.beginObject();
        writeMember(json_, "scale", prepared.pulse.scale);
        writeMember(json_, "glow", prepared.pulse.glow);
        json_.endObject();
        writeAll("children", placedChildren(layer, time_), {origin.x + layer.transform.x, origin.y + layer.transform.y});
        json_.endObject();
    }

    JsonWriter& json_;
    HoverTargets hover_;
    double time_;
};

void writeZoom(JsonWriter& json, const TweenScene& scene, double time)
{
    json.key("zoom");
    const std::optional<ActiveZoom> active = activeZoomSpan(scene, time);
    if (!active) return json.null();

    const FrameZoom zoom = frameZoom(*active, scene.size(), time);
    json.beginObject();
    writeMember(json, "layer", zoom.layer.string());
    writeMember(json, "k", zoom.k);
    writeMember(json, "scale", zoom.scale);
    writePair(json, "translate", zoom.translate.x, zoom.translate.y);
    json.endObject();
}

} // namespace

std::string evaluatedJson(const TweenScene& scene, std::size_t index, double time)
{
    JsonWriter json(JsonWriter::Layout::compact);
    json.beginObject();
    json.key("scene");
    json.integer(static_cast<std::int64_t>(index));
    writeMember(json, "time", time);
    writeZoom(json, scene, time);
    NodeWriter(json, scene, time).writeAll("layers", scene.layers, {0, 0});
    json.endObject();
    const std::vector<std::uint8_t> text = json.take();
    return {text.begin(), text.end()};
}

} // namespace larkspool
