#pragma once

#include "document/record_codec.h"
#include "document/tween_document.h"

/// The keys of every record in a document file.
///
/// A key that is not named here is lost when a document is opened and saved. Where no rule stands beside a key, it falls back
/// to the value that a fresh record has; what is more than that is in file_format.cpp.

namespace larkspool {

template <>
struct RecordTable<ColorRGBA> {
    static constexpr auto fields = table(std::array{
        field<&ColorRGBA::r>("r", Rule::required),
        field<&ColorRGBA::g>("g", Rule::required),
        field<&ColorRGBA::b>("b", Rule::required),
        field<&ColorRGBA::a>("a", Rule::required),
    });
};

template <>
struct RecordTable<Transform> {
    static constexpr auto fields = table(std::array{
        field<&Transform::x>("x", Rule::required),
        field<&Transform::y>("y", Rule::required),
        field<&Transform::rotation>("rotation", Rule::required),
        field<&Transform::scaleX>("scaleX", Rule::required),
        field<&Transform::scaleY>("scaleY", Rule::required),
        field<&Transform::anchorX>("anchorX", Rule::required),
        field<&Transform::anchorY>("anchorY", Rule::required),
    });
};

// ---------------------------------------------------------------- unions

template <>
struct RecordTable<MoveTo> {
    static constexpr auto fields = table(std::array{field<&MoveTo::point>("_0", Rule::required)});
};

template <>
struct RecordTable<LineTo> {
    static constexpr auto fields = table(std::array{field<&LineTo::point>("_0", Rule::required)});
};

template <>
struct RecordTable<CurveTo> {
    static constexpr auto fields = table(std::array{
        field<&CurveTo::c1>("c1", Rule::required),
        field<&CurveTo::c2>("c2", Rule::required),
        field<&CurveTo::end>("end", Rule::required),
    });
};

template <>
struct RecordTable<ClosePath> {
    static constexpr std::array<Field<ClosePath>, 0> fields{};
};

template <>
struct RecordTable<Easing::Spring> {
    static constexpr auto fields = table(std::array{
        field<&Easing::Spring::stiffness>("stiffness", Rule::required),
        field<&Easing::Spring::damping>("damping", Rule::required),
    });
};

template <>
struct RecordTable<Easing::Cubic> {
    static constexpr auto fields = table(std::array{
        field<&Easing::Cubic::x1>("x1", Rule::required),
        field<&Easing::Cubic::y1>("y1", Rule::required),
        field<&Easing::Cubic::x2>("x2", Rule::required),
        field<&Easing::Cubic::y2>("y2", Rule::required),
    });
};

/// A case whose payload is an alternative of the variant: a record by itself, or a value under "_0".
template <typename Union, typename Alternative, bool isLabelled>
constexpr UnionCase<Union> variantCase(std::string_view name)
{
    return {
        .name = name,
        .holds = [](const Union& value) { return std::holds_alternative<Alternative>(value); },
        .write =
            [](RecordWriter& writer, const Union& value) {
                if constexpr (isLabelled)
                    writeRecord(writer, std::get<Alternative>(value));
                else
                    writeRecord(writer, Unlabelled<Alternative>{std::get<Alternative>(value)});
            },
        .read =
            [](RecordReader& reader, JsonValue json, Union& value) {
                std::conditional_t<isLabelled, Alternative, Unlabelled<Alternative>> payload{};
                if (!readRecord(reader, json, payload)) return false;
                if constexpr (isLabelled)
                    value = std::move(payload);
                else
                    value = std::move(payload.value);
                return true;
            },
    };
}

template <>
struct UnionTable<PathCommand> {
    static constexpr std::array cases{
        variantCase<PathCommand, MoveTo, true>("moveTo"),
        variantCase<PathCommand, LineTo, true>("lineTo"),
        variantCase<PathCommand, CurveTo, true>("curveTo"),
        variantCase<PathCommand, ClosePath, true>("close"),
    };
};

template <>
struct UnionTable<KeyValue> {
    static constexpr std::array cases{
        variantCase<KeyValue, double, false>("number"),         variantCase<KeyValue, ColorRGBA, false>("color"),
        variantCase<KeyValue, CGPoint, false>("point"),         variantCase<KeyValue, CGSize, false>("size"),
        variantCase<KeyValue, ShadowPreset, false>("shadow"),   variantCase<KeyValue, CursorVariant, false>("cursor"),
        variantCase<KeyValue, SharedString, false>("fontName"),
    };
};

template <typename Curve>
constexpr UnionCase<Easing> curveCase(std::string_view name)
{
    return {
        .name = name,
        .holds = [](const Easing& easing) { return std::holds_alternative<Curve>(easing.curve); },
        .write = [](RecordWriter& writer, const Easing& easing) { writeRecord(writer, std::get<Curve>(easing.curve)); },
        .read =
            [](RecordReader& reader, JsonValue json, Easing& easing) {
                Curve curve;
                if (!readRecord(reader, json, curve)) return false;
                easing.curve = curve;
                return true;
            },
    };
}

template <Easing::Plain curve>
constexpr UnionCase<Easing> plainCase(std::string_view name)
{
    return {
        .name = name,
        .holds =
            [](const Easing& easing) {
                const Easing::Plain* plain = std::get_if<Easing::Plain>(&easing.curve);
                return plain && *plain == curve;
            },
        .write = [](RecordWriter& writer, const Easing&) { writeRecord(writer, NoPayload{}); },
        .read =
            [](RecordReader& reader, JsonValue json, Easing& easing) {
                NoPayload payload;
                if (!readRecord(reader, json, payload)) return false;
                easing.curve = curve;
                return true;
            },
    };
}

template <>
struct UnionTable<Easing> {
    static constexpr std::array cases{
        curveCase<Easing::Spring>("spring"),          curveCase<Easing::Cubic>("cubic"),
        plainCase<Easing::Plain::linear>("linear"),   plainCase<Easing::Plain::easeIn>("easeIn"),
        plainCase<Easing::Plain::easeOut>("easeOut"), plainCase<Easing::Plain::easeInOut>("easeInOut"),
    };
};

template <typename Union>
struct UnionCodec {
    static void write(RecordWriter& writer, const Union& value) { writeUnion(writer, value); }
    static bool read(RecordReader& reader, JsonValue json, Union& value) { return readUnion(reader, json, value); }
};

template <>
struct Codec<PathCommand> : UnionCodec<PathCommand> {};
template <>
struct Codec<KeyValue> : UnionCodec<KeyValue> {};
template <>
struct Codec<Easing> : UnionCodec<Easing> {};

// ---------------------------------------------------------------- timed records

template <>
struct RecordTable<Keyframe> {
    static constexpr auto fields = table(std::array{
        field<&Keyframe::id>("id"),
        field<&Keyframe::property>("property", Rule::required),
        field<&Keyframe::time>("time", Rule::required),
        field<&Keyframe::value>("value", Rule::required),
        field<&Keyframe::easing>("easing"),
        field<&Keyframe::wait>("wait"),
    });
};

template <>
struct RecordTable<BlinkRange> {
    static constexpr auto fields = table(std::array{
        field<&BlinkRange::id>("id"),
        field<&BlinkRange::start>("start", Rule::required),
        field<&BlinkRange::end>("end", Rule::required),
    });
};

template <>
struct RecordTable<SpanEffect> {
    static constexpr auto fields = table(std::array{
        field<&SpanEffect::id>("id"),
        field<&SpanEffect::kind>("kind", Rule::required),
        field<&SpanEffect::duration>("duration", Rule::required),
        field<&SpanEffect::reversed>("reversed"),
    });
};

template <>
struct RecordTable<TimeSpan> {
    static constexpr auto fields = table(std::array{
        field<&TimeSpan::id>("id"),
        field<&TimeSpan::start>("start", Rule::required),
        field<&TimeSpan::end>("end", Rule::required),
        field<&TimeSpan::effects>("effects"),
        field<&TimeSpan::zoomStart>("zoomStart"),
        field<&TimeSpan::zoomEnd>("zoomEnd"),
        field<&TimeSpan::cursorBlinkRanges>("cursorBlinkRanges"),
        legacyField<TimeSpan>("cursorBlinkDuration"),
    });
};

template <>
struct Codec<PulseEffects> {
    static void write(RecordWriter& writer, const PulseEffects& effects);
    static bool read(RecordReader& reader, JsonValue json, PulseEffects& effects);
};

template <>
struct RecordTable<Pulse> {
    static constexpr auto fields = table(std::array{
        field<&Pulse::id>("id"),
        field<&Pulse::time>("time", Rule::required),
        field<&Pulse::effects>("effects"),
    });
};

template <>
struct RecordTable<VideoClip> {
    static constexpr auto fields = table(std::array{
        field<&VideoClip::id>("id"),
        field<&VideoClip::sceneStart>("sceneStart"),
        field<&VideoClip::sceneEnd>("sceneEnd"),
        field<&VideoClip::sourceStart>("sourceStart"),
        field<&VideoClip::endBehavior>("endBehavior"),
        field<&VideoClip::sourceTrimLength>("sourceTrimLength"),
    });
};

// ---------------------------------------------------------------- layers

/// Layers hold layers, and so count how deep they are.
template <>
struct Codec<Layer> {
    static void write(RecordWriter& writer, const Layer& layer);
    static bool read(RecordReader& reader, JsonValue json, Layer& layer);
};

template <>
struct RecordTable<Layer> {
    static constexpr auto fields = table(std::array{
        field<&Layer::id>("id"),
        field<&Layer::name>("name"),
        field<&Layer::kind>("kind"),
        field<&Layer::transform>("transform"),
        field<&Layer::fill>("fill"),
        field<&Layer::stroke>("stroke"),
        field<&Layer::strokeWidth>("strokeWidth"),
        field<&Layer::strokeOutside>("strokeOutside"),
        field<&Layer::perSideStroke>("perSideStroke"),
        field<&Layer::strokeWidthTop>("strokeWidthTop"),
        field<&Layer::strokeWidthRight>("strokeWidthRight"),
        field<&Layer::strokeWidthBottom>("strokeWidthBottom"),
        field<&Layer::strokeWidthLeft>("strokeWidthLeft"),
        field<&Layer::opacity>("opacity"),
        field<&Layer::size>("size"),
        field<&Layer::cornerRadius>("cornerRadius"),
        field<&Layer::path>("path"),
        field<&Layer::imageData>("imageData"),
        field<&Layer::blackKey>("blackKey"),
        field<&Layer::blackKeyInsetX>("blackKeyInsetX"),
        field<&Layer::blackKeyInsetY>("blackKeyInsetY"),
        field<&Layer::cropMode>("cropMode"), // Missing: from blackKey.
        field<&Layer::cropRect>("cropRect"),
        field<&Layer::gradientWarpSpeed>("gradientWarpSpeed"),
        field<&Layer::gradientPulseAmount>("gradientPulseAmount"),
        field<&Layer::videoURL>("videoURL"),
        field<&Layer::videoDuration>("videoDuration"),
        field<&Layer::videoClip>("videoClip"),
        field<&Layer::videoBookmark>("videoBookmark"),
        field<&Layer::cursorVariant>("cursorVariant"),
        field<&Layer::nameFollowsCursorVariant>("nameFollowsCursorVariant"),
        field<&Layer::nameFollowsText>("nameFollowsText"),
        field<&Layer::nameFollowsLineShape>("nameFollowsLineShape"),
        field<&Layer::nameFollowsShape>("nameFollowsShape"),
        field<&Layer::text>("text"),
        field<&Layer::fontSize>("fontSize"),
        field<&Layer::fontName>("fontName"),
        field<&Layer::textColor>("textColor"), // Missing: from fill, in a text layer.
        field<&Layer::textAutoFit>("textAutoFit"),
        field<&Layer::textColorHarmonize>("textColorHarmonize"),
        field<&Layer::textUserResized>("textUserResized"), // Missing or malformed: true.
        field<&Layer::textPadX>("textPadX"),
        field<&Layer::textPadY>("textPadY"),
        field<&Layer::textAlignment>("textAlignment"),
        field<&Layer::textVerticalAlignment>("textVerticalAlignment"),
        field<&Layer::shadow>("shadow"),
        field<&Layer::isHidden>("isHidden"),
        field<&Layer::isLocked>("isLocked"),
        field<&Layer::zoomType>("zoomType"),
        field<&Layer::pipRendition>("pipRendition"),
        field<&Layer::children>("children"),
        field<&Layer::keyframes>("keyframes"),
        field<&Layer::groupLayout>("groupLayout"),
        field<&Layer::groupGap>("groupGap"),
        field<&Layer::groupSizeMode>("groupSizeMode"),
        field<&Layer::groupFixedLocked>("groupFixedLocked"),
        field<&Layer::groupAlignment>("groupAlignment"),
        field<&Layer::cursorHoverOverride>("cursorHoverOverride"),
        field<&Layer::spans>("spans"),
        field<&Layer::pulses>("pulses"),
        field<&Layer::lineShape>("lineShape"),
        field<&Layer::lineArcBend>("lineArcBend"),
        field<&Layer::lineArcReversed>("lineArcReversed"),
        field<&Layer::lineWaveFrequency>("lineWaveFrequency"),
        field<&Layer::lineWaveAmplitude>("lineWaveAmplitude"),
        field<&Layer::linePoints>("linePoints"),
        field<&Layer::lineArrowStart>("lineArrowStart"),
        field<&Layer::lineArrowEnd>("lineArrowEnd"),
        field<&Layer::lineCurved>("lineCurved"),
        field<&Layer::textCursorBlinks>("textCursorBlinks"), // Missing or malformed: from the spans.
    });
    static_assert(fields.size() == 70);
};

// ---------------------------------------------------------------- scenes and documents

template <>
struct RecordTable<SceneTransition> {
    static constexpr auto fields = table(std::array{
        field<&SceneTransition::kind>("kind", Rule::required),
        field<&SceneTransition::duration>("duration", Rule::required),
    });
};

template <>
struct RecordTable<TweenScene> {
    static constexpr auto fields = table(std::array{
        field<&TweenScene::id>("id"),
        field<&TweenScene::name>("name"),
        field<&TweenScene::width>("width", Rule::required),
        field<&TweenScene::height>("height", Rule::required),
        field<&TweenScene::fps>("fps", Rule::required),
        field<&TweenScene::duration>("duration", Rule::required),
        field<&TweenScene::endPause>("endPause"),
        field<&TweenScene::background>("background", Rule::required),
        field<&TweenScene::layers>("layers", Rule::required),
        field<&TweenScene::transition>("transition"),
    });
};

template <>
struct RecordTable<DocumentAudio> {
    static constexpr auto fields = table(std::array{
        field<&DocumentAudio::urlString>("urlString", Rule::required),
        field<&DocumentAudio::bookmark>("bookmark", Rule::requiredIfPresent),
        field<&DocumentAudio::volume>("volume", Rule::required),
        field<&DocumentAudio::displayName>("displayName", Rule::required),
    });
};

template <>
struct RecordTable<TweenDocument> {
    static constexpr auto fields = table(std::array{
        field<&TweenDocument::version>("version"), // Missing or malformed: 1.
        field<&TweenDocument::scenes>("scenes"),
        field<&TweenDocument::activeSceneIndex>("activeSceneIndex"),
        field<&TweenDocument::audio>("audio"),
        legacyField<TweenDocument>("scene"),
    });
};

} // namespace larkspool
