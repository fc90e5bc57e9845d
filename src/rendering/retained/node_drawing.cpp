#include "rendering/retained/node_drawing.h"

#include "platform/raster/blurred_coverage.h"
#include "rendering/frame_composition.h"
#include "rendering/shapes.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// How far anti-aliasing reaches beyond bounds, in device pixels.
constexpr double edge = 2;
constexpr double greatestBlur = 1000;
/// The farthest that the rings of a pulse reach from their centre, in scene points.
constexpr double ringReach = 224;
/// The blur of a glow of strength 1.
constexpr double glowBlur = 24;

CGRect shiftedBy(const CGRect& rect, CGSize offset)
{
    return {{rect.origin.x + offset.width, rect.origin.y + offset.height}, rect.size};
}

/// Device bounds together with those of the shadow that is cast from them.
CGRect withShadow(const CGRect& bounds, const std::optional<RasterShadow>& shadow)
{
    if (!shadow || bounds.isNull()) return bounds;
    const double sigma = std::clamp(shadow->blur, 0.0, greatestBlur) * 0.5;
    const double reach = shadowReach(sigma) + edge;
    return unionOf(bounds, insetBy(shiftedBy(bounds, shadow->offset), -reach, -reach));
}

RasterShadow presetShadow(ShadowPreset preset)
{
    const ShadowPresetValues values = shadowPresetValues(preset);
    return {.offset = {0, -values.verticalOffset}, .blur = values.blur, .color = {0, 0, 0, values.alpha}};
}

bool pictureMoves(const Layer& layer)
{
    switch (layer.kind) {
    case Layer::Kind::video: return true;
    case Layer::Kind::gradientField: return layer.gradientWarpSpeed > 0 || layer.gradientPulseAmount > 0;
    case Layer::Kind::cursor: return layer.cursorVariant == CursorVariant::wait;
    default: return false;
    }
}

/// All that a body paints, in its own space.
CGRect localBounds(const Layer& layer)
{
    const double widest = std::max(
        {layer.strokeWidth, layer.strokeWidthTop, layer.strokeWidthRight, layer.strokeWidthBottom, layer.strokeWidthLeft, 0.0});
    const CGRect box = insetBy(CGRect{{0, 0}, layer.size}, -widest - 1, -widest - 1);
    return bodyHints(layer).bounds.value_or(box);
}

class LayerDrawing final : public NodeDrawing {
public:
    LayerDrawing(const Layer& layer, double opacity, bool hasOwnShadow, const std::optional<RasterShadow>& inherited, double time)
        : body_(bodyOf(layer)), inherited_(hasOwnShadow ? std::nullopt : inherited), time_(pictureMoves(layer) ? time : 0)
    {
        body_.opacity = opacity;
        if (!hasOwnShadow) body_.shadow = ShadowPreset::none;
        if (layer.kind == Layer::Kind::video) addSource(layer);
    }

    void draw(RasterContext& context) const override
    {
        const SavedState saved(context);
        context.setShadow(inherited_);
        Exporter::drawLayer(body_, context, /*parentOpacity=*/1, {}, /*scene=*/nullptr, /*skipOwnShadow=*/false, time_);
    }

    CGRect deviceBounds(const AffineTransform& toDevice) const override
    {
        const CGRect local = localBounds(body_);
        if (local.isNull()) return local;
        const CGRect painted = insetBy(toDevice.apply(local), -edge, -edge);
        return withShadow(painted, body_.shadow == ShadowPreset::none ? inherited_ : presetShadow(body_.shadow));
    }

    bool movesByItself() const override { return pictureMoves(body_); }

    bool equals(const NodeDrawing& other) const override
    {
        const auto* drawing = dynamic_cast<const LayerDrawing*>(&other);
        return drawing && drawing->time_ == time_ && drawing->inherited_ == inherited_ && drawing->body_ == body_;
    }

private:
    void addSource(const Layer& video)
    {
        body_.videoURL = video.videoURL;
        body_.videoDuration = video.videoDuration;
        body_.videoClip = video.videoClip;
    }

    Layer body_;
    std::optional<RasterShadow> inherited_;
    double time_;
};

class ViewportDrawing final : public NodeDrawing {
public:
    ViewportDrawing(const EvaluatedViewport& viewport, std::shared_ptr<const EvaluatedFrame> frame)
        : viewport_(viewport), frame_(std::move(frame))
    {}

    void draw(RasterContext& context) const override { Exporter::drawPIPChild(viewport_, *frame_, context); }

    CGRect deviceBounds(const AffineTransform& toDevice) const override
    {
        const EvaluatedLayer& child = viewport_.child;
        const double reach = std::max(child.layer.strokeWidth, 0.0) + 1;
        const AffineTransform m = toDevice.concatenating(child.transform);
        CGRect bounds = insetBy(m.apply(insetBy(CGRect{{0, 0}, child.layer.size}, -reach, -reach)), -edge, -edge);
        if (child.layer.shadow != ShadowPreset::none) bounds = withShadow(bounds, presetShadow(child.layer.shadow));
        if (child.glow > 0) bounds = withShadow(bounds, RasterShadow{.offset = {}, .blur = child.glow * glowBlur, .color = {}});
        if (child.radiateProgress) {
            const CGPoint c = child.radiateCenter;
            bounds = unionOf(bounds, toDevice.apply(CGRect{{c.x - ringReach, c.y - ringReach}, {2 * ringReach, 2 * ringReach}}));
        }
        return bounds;
    }

    bool movesByItself() const override { return frame_->movesByItself; }

    bool equals(const NodeDrawing& other) const override
    {
        const auto* drawing = dynamic_cast<const ViewportDrawing*>(&other);
        if (!drawing) return false;
        const bool timeCounts = frame_->movesByItself || drawing->frame_->movesByItself;
        return (!timeCounts || frame_->time == drawing->frame_->time) && viewport_ == drawing->viewport_ &&
               (frame_ == drawing->frame_ || *frame_ == *drawing->frame_);
    }

private:
    EvaluatedViewport viewport_;
    std::shared_ptr<const EvaluatedFrame> frame_;
};

} // namespace

bool areEqual(const std::shared_ptr<const NodeDrawing>& a, const std::shared_ptr<const NodeDrawing>& b)
{
    return a == b || (a && b && a->equals(*b));
}

Layer bodyOf(const Layer& layer)
{
    static const Layer fresh = [] {
        Layer made{.id = {}, .name = ""};
        made.videoClip.id = {};
        return made;
    }();
    Layer body = layer;
    body.id = fresh.id;
    body.name = fresh.name;
    body.transform = fresh.transform;
    body.opacity = fresh.opacity;
    body.videoURL = fresh.videoURL;
    body.videoDuration = fresh.videoDuration;
    body.videoClip = fresh.videoClip;
    body.videoBookmark = fresh.videoBookmark;
    body.isHidden = fresh.isHidden;
    body.isLocked = fresh.isLocked;
    body.children = fresh.children;
    body.keyframes = fresh.keyframes;
    body.spans = fresh.spans;
    body.pulses = fresh.pulses;
    body.cursorHoverOverride = fresh.cursorHoverOverride;
    return body;
}

std::shared_ptr<const NodeDrawing> makeLayerDrawing(const Layer& layer, double opacity, bool hasOwnShadow,
                                                    const std::optional<RasterShadow>& inherited, double time)
{
    return std::make_shared<LayerDrawing>(layer, opacity, hasOwnShadow, inherited, time);
}

std::shared_ptr<const NodeDrawing> makeViewportDrawing(const EvaluatedViewport& viewport,
                                                       const std::shared_ptr<const EvaluatedFrame>& frame)
{
    return std::make_shared<ViewportDrawing>(viewport, frame);
}

} // namespace larkspool
