#include "document/file_format.h"

#include "document/record_tables.h"

#include <utility>

namespace larkspool {

namespace {

using Action = Diagnostic::Action;

/// Counts a layer, and its level for as long as it lives.
class CountedLayer {
public:
    explicit CountedLayer(LayerCount& count) : count_(count)
    {
        ++count_.nesting;
        ++count_.total;
    }
    CountedLayer(const CountedLayer&) = delete;
    CountedLayer& operator=(const CountedLayer&) = delete;
    ~CountedLayer() { --count_.nesting; }

    bool isTooDeep() const { return count_.nesting > deepestLayerNesting; }
    bool isTooMany() const { return count_.total > mostLayers; }

private:
    LayerCount& count_;
};

template <typename Record>
bool isMissing(const Slots<Record>& slots, std::size_t slot)
{
    return slots.outcomes[slot] == Outcome::missing;
}

template <typename Record>
bool isRead(const Slots<Record>& slots, std::size_t slot)
{
    return slots.outcomes[slot] == Outcome::read;
}

bool isBlinkingCursor(const SpanEffect& effect)
{
    return effect.kind == SpanEffect::Kind::blinkingCursorStart || effect.kind == SpanEffect::Kind::blinkingCursorEnd;
}

bool hasBlinkingCursor(const TimeSpan& span)
{
    return std::ranges::any_of(span.effects, isBlinkingCursor);
}

TweenDocument emptyDocument()
{
    return {.version = 1, .scenes = {}, .activeSceneIndex = 0, .audio = {}};
}

/// Before crop modes there was only the flag of the black key.
void finishCropMode(RecordReader& reader, const Slots<Layer>& slots, Layer& layer)
{
    if (!isMissing(slots, slotOf<Layer>("cropMode")) || !layer.blackKey) return;
    layer.cropMode = CropMode::automatic;
    const RecordReader::Step step(reader, "cropMode");
    reader.tell(Action::migrated, "auto, since blackKey is set");
}

/// Text layers once kept their colour in `fill`.
void finishTextColor(RecordReader& reader, const Slots<Layer>& slots, Layer& layer)
{
    if (!isMissing(slots, slotOf<Layer>("textColor")) || layer.kind != Layer::Kind::text) return;
    layer.textColor = std::exchange(layer.fill, ColorRGBA::clear);
    const RecordReader::Step step(reader, "textColor");
    reader.tell(Action::migrated, "taken from fill, which became clear");
}

/// Text boxes once had no fitting: they keep the size that they have in the file.
void finishTextUserResized(RecordReader& reader, const Slots<Layer>& slots, Layer& layer)
{
    constexpr std::size_t slot = slotOf<Layer>("textUserResized");
    if (isRead(slots, slot)) return;
    layer.textUserResized = true;
    if (!isMissing(slots, slot) || layer.kind != Layer::Kind::text) return;
    const RecordReader::Step step(reader, "textUserResized");
    reader.tell(Action::migrated, "true, so that the box keeps its size");
}

/// A blinking caret was once an effect of the spans.
void finishTextCursorBlinks(RecordReader& reader, const Slots<Layer>& slots, Layer& layer)
{
    if (isRead(slots, slotOf<Layer>("textCursorBlinks"))) return;
    if (std::ranges::none_of(layer.spans, hasBlinkingCursor)) return;

    layer.textCursorBlinks = true;
    for (TimeSpan& span : layer.spans.edit())
        if (hasBlinkingCursor(span)) std::erase_if(span.effects.edit(), isBlinkingCursor);
    const RecordReader::Step step(reader, "textCursorBlinks");
    reader.tell(Action::migrated, "true, in place of the blinking cursor effects of the spans");
}

} // namespace

DecodingError::DecodingError(Kind kind, std::string path, std::string reason)
    : std::runtime_error(failureText(path, reason)), kind_(kind), path_(std::move(path)), reason_(std::move(reason))
{}

// ---------------------------------------------------------------- what a table does not say

template <>
struct RecordRules<Layer> {
    static void finish(RecordReader& reader, const Slots<Layer>& slots, Layer& layer)
    {
        finishCropMode(reader, slots, layer);
        finishTextColor(reader, slots, layer);
        finishTextUserResized(reader, slots, layer);
        finishTextCursorBlinks(reader, slots, layer);
    }
};

template <>
struct RecordRules<TimeSpan> {
    /// A span once had one length of blinking, up to its end.
    static void finish(RecordReader& reader, const Slots<TimeSpan>& slots, TimeSpan& span)
    {
        const std::optional<JsonValue>& legacy = slots.values[slotOf<TimeSpan>("cursorBlinkDuration")];
        if (!legacy) return;
        const RecordReader::Step step(reader, "cursorBlinkDuration");
        if (isRead(slots, slotOf<TimeSpan>("cursorBlinkRanges")))
            return reader.tell(Action::dropped, "cursorBlinkRanges holds instead");

        const std::optional<double> duration = legacy->number();
        if (!duration || *duration <= 0) return reader.tell(Action::dropped, "it is not a number above 0");
        span.cursorBlinkRanges = {BlinkRange{.start = std::max(span.start, span.end - *duration), .end = span.end}};
        reader.tell(Action::migrated, "became a range of cursorBlinkRanges");
    }
};

template <>
struct RecordRules<Pulse> {
    static void finish(RecordReader&, const Slots<Pulse>&, Pulse& pulse)
    {
        if (pulse.effects.empty()) pulse.effects = {PulseEffect::scale, PulseEffect::glow};
    }
};

template <>
struct RecordRules<TweenDocument> {
    static void finish(RecordReader& reader, const Slots<TweenDocument>& slots, TweenDocument& document)
    {
        const std::optional<JsonValue>& legacy = slots.values[slotOf<TweenDocument>("scene")];
        if (isRead(slots, slotOf<TweenDocument>("scenes"))) {
            if (legacy) tellAbout(reader, "scene", Action::dropped, "scenes holds instead");
            if (!document.scenes.empty()) return;
            document.scenes = {TweenScene{}};
            return tellAbout(reader, "scenes", Action::defaulted, "it is empty; one blank scene stands in its place");
        }
        if (document.activeSceneIndex != 0)
            tellAbout(reader, "activeSceneIndex", Action::dropped, "it is 0, since the list that it speaks of is lost");
        document.activeSceneIndex = 0;
        document.scenes = {TweenScene{}};
        if (!legacy)
            return tellAbout(reader, "scenes", Action::defaulted, "there is none to read; one blank scene stands in its place");
        readLegacyScene(reader, *legacy, document);
    }

private:
    static void tellAbout(RecordReader& reader, std::string_view key, Action action, std::string text)
    {
        const RecordReader::Step step(reader, key);
        reader.tell(action, std::move(text));
    }

    /// A document once was a single scene.
    static void readLegacyScene(RecordReader& reader, JsonValue json, TweenDocument& document)
    {
        const RecordReader::Step step(reader, "scene");
        const RecordReader::Mark mark = reader.mark();
        TweenScene scene;
        if (Codec<TweenScene>::read(reader, json, scene)) {
            document.scenes = {std::move(scene)};
            return reader.tell(Action::migrated, "became the only one of scenes");
        }
        reader.takeBack(mark);
        reader.tellFallback(Action::defaulted);
    }
};

void Codec<PulseEffects>::write(RecordWriter& writer, const PulseEffects& effects)
{
    writer.json.beginArray();
    for (const PulseEffect effect : {PulseEffect::glow, PulseEffect::radiate, PulseEffect::scale}) // In the order of their names.
        if (effects.contains(effect)) Codec<PulseEffect>::write(writer, effect);
    writer.json.endArray();
}

bool Codec<PulseEffects>::read(RecordReader& reader, JsonValue json, PulseEffects& effects)
{
    constexpr std::string_view legacyScaleAndGlow = "scaleGlow";
    Array<SharedString> names;
    if (!Codec<Array<SharedString>>::read(reader, json, names)) return false;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string_view name = names[i];
        const RecordReader::Step step(reader, i);
        if (const std::optional<PulseEffect> effect = fromFileValue<PulseEffect>(name)) {
            effects.insert(*effect);
        } else if (name == legacyScaleAndGlow) {
            effects.insert(PulseEffect::scale);
            effects.insert(PulseEffect::glow);
            reader.tell(Action::migrated, "became scale and glow");
        } else {
            reader.tell(Action::dropped, quoted(name) + " is not a known value");
        }
    }
    return true;
}

void Codec<Layer>::write(RecordWriter& writer, const Layer& layer)
{
    const CountedLayer counted(writer.layers);
    if (counted.isTooDeep()) throw JsonWriteError(JsonWriteError::Kind::tooDeep, writer.json.path());
    if (counted.isTooMany()) throw JsonWriteError(JsonWriteError::Kind::tooLong, writer.json.path());
    writeRecord(writer, layer);
}

bool Codec<Layer>::read(RecordReader& reader, JsonValue json, Layer& layer)
{
    const CountedLayer counted(reader.layers);
    if (counted.isTooDeep())
        throw DecodingError(DecodingError::Kind::syntax, {},
                            fmt::format("Layers are nested deeper than {} levels", deepestLayerNesting));
    if (counted.isTooMany())
        throw DecodingError(DecodingError::Kind::syntax, {}, fmt::format("There are more than {} layers", mostLayers));
    return readRecord(reader, json, layer);
}

// ---------------------------------------------------------------- the whole file

std::vector<std::uint8_t> encodedData(const TweenDocument& document)
{
    RecordWriter writer{JsonWriter(JsonWriter::Layout::pretty, {fileMagic.begin(), fileMagic.end()})};
    Codec<TweenDocument>::write(writer, document);
    return writer.json.take();
}

DecodedDocument decode(std::span<const std::uint8_t> file)
{
    const bool hasMagic = file.size() >= fileMagic.size() && std::ranges::equal(file.first(fileMagic.size()), fileMagic);
    const std::span<const std::uint8_t> json = hasMagic ? file.subspan(fileMagic.size()) : file;
    try {
        const JsonTree tree({reinterpret_cast<const char*>(json.data()), json.size()});
        if (!tree.root().isObject()) throw DecodingError(DecodingError::Kind::typeMismatch, {}, "the top level is not an object");
        RecordReader reader;
        TweenDocument document = emptyDocument();
        Codec<TweenDocument>::read(reader, tree.root(), document);
        return {std::move(document), reader.takeDiagnostics()};
    } catch (const JsonSyntaxError& error) {
        const std::size_t offset = error.byteOffset() + (file.size() - json.size());
        throw DecodingError(DecodingError::Kind::syntax, {}, JsonSyntaxError(error.reason(), offset).what());
    }
}

TweenDocument decodeDocument(std::span<const std::uint8_t> file)
{
    return decode(file).document;
}

template <typename Record>
std::string encodedJson(const Record& record, JsonWriter::Layout layout)
{
    RecordWriter writer{JsonWriter(layout)};
    Codec<Record>::write(writer, record);
    const std::vector<std::uint8_t> text = writer.json.take();
    return {text.begin(), text.end()};
}

template <typename Record>
Record decodeJson(std::string_view json, Diagnostics* diagnostics)
{
    try {
        const JsonTree tree(json);
        RecordReader reader;
        Record record{};
        if (!Codec<Record>::read(reader, tree.root(), record)) {
            const RecordReader::Failure& failure = reader.failure();
            throw DecodingError(failure.kind, failure.path, failure.reason);
        }
        if (diagnostics) *diagnostics = reader.takeDiagnostics();
        return record;
    } catch (const JsonSyntaxError& error) {
        throw DecodingError(DecodingError::Kind::syntax, {}, error.what());
    }
}

#define LARKSPOOL_RECORD(Record)                                                                                                 \
    template std::string encodedJson<Record>(const Record&, JsonWriter::Layout);                                                 \
    template Record decodeJson<Record>(std::string_view, Diagnostics*);

LARKSPOOL_RECORD(TweenScene)
LARKSPOOL_RECORD(SceneTransition)
LARKSPOOL_RECORD(DocumentAudio)
LARKSPOOL_RECORD(Layer)
LARKSPOOL_RECORD(Array<Layer>)
LARKSPOOL_RECORD(Transform)
LARKSPOOL_RECORD(ColorRGBA)
LARKSPOOL_RECORD(PathCommand)
LARKSPOOL_RECORD(VideoClip)
LARKSPOOL_RECORD(Keyframe)
LARKSPOOL_RECORD(KeyValue)
LARKSPOOL_RECORD(Easing)
LARKSPOOL_RECORD(TimeSpan)
LARKSPOOL_RECORD(SpanEffect)
LARKSPOOL_RECORD(BlinkRange)
LARKSPOOL_RECORD(Pulse)

#undef LARKSPOOL_RECORD

} // namespace larkspool
