#pragma once

#include "document/tween_document.h"

#include <rapidcheck.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

/// Random records for property tests, whole and valid as an editor could have made them, with the odd values that a file can
/// hold: negative and tiny numbers, empty and many-script texts, spans that end before they start.
///
///     rc::check("a law", [] { const TweenDocument document = *arbitraryDocument(); ... });

namespace larkspool {

/// A finite number, more often than not a plain one.
inline rc::Gen<double> arbitraryNumber()
{
    return rc::gen::oneOf(
        rc::gen::element(0.0, 1.0, -1.0, 0.5, 0.1, 24.0, 1e-320, 1e300, -123456.789, 9007199254740992.0),
        rc::gen::map(rc::gen::inRange(-4000, 4000), [](int value) { return value / 8.0; }),
        rc::gen::map(rc::gen::arbitrary<double>(), [](double value) { return std::isfinite(value) ? value : 0.0; }));
}

inline rc::Gen<std::string> arbitraryText()
{
    const auto part =
        rc::gen::elementOf(std::vector<std::string>{"a", "Card ", "\"", "\\", "/", "\n", "\t", "\x01", "é", "日本",
                                                    "👩‍👩‍👧", "\u0301", "{", "0", std::string(1, '\0'), "\x7F"});
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(part), [](const std::vector<std::string>& parts) {
        std::string text;
        for (const std::string& each : parts) text += each;
        return text;
    });
}

inline rc::Gen<UUID> arbitraryId()
{
    return rc::gen::construct<UUID>(rc::gen::arbitrary<std::uint64_t>(), rc::gen::arbitrary<std::uint64_t>());
}

inline rc::Gen<Bytes> arbitraryBytes()
{
    return rc::gen::map(rc::gen::arbitrary<std::vector<std::uint8_t>>(),
                        [](std::vector<std::uint8_t> bytes) { return Bytes(std::move(bytes)); });
}

template <typename E>
rc::Gen<E> arbitraryCase()
{
    return rc::gen::map(rc::gen::inRange<std::size_t>(0, std::size(EnumTable<E>::cases)),
                        [](std::size_t i) { return EnumTable<E>::cases[i].value; });
}

/// Sets members one after the other from generators. Of the numbers and flags of a wide record, most keep what they have, as
/// in a real document.
class ArbitraryMembers {
public:
    void set(double& member) { change(member, arbitraryNumber()); }
    void set(bool& member) { change(member, rc::gen::arbitrary<bool>()); }
    void set(SharedString& member)
    {
        if (isChanged()) member = *arbitraryText();
    }
    void set(UUID& member) { member = *arbitraryId(); }
    void set(CGPoint& member) { setAll(member.x, member.y); }
    void set(CGSize& member) { setAll(member.width, member.height); }
    void set(CGRect& member) { setAll(member.origin, member.size); }
    void set(ColorRGBA& member) { setAll(member.r, member.g, member.b, member.a); }

    template <typename E>
        requires std::is_enum_v<E>
    void set(E& member)
    {
        change(member, arbitraryCase<E>());
    }

    template <typename... Members>
    void setAll(Members&... members)
    {
        (set(members), ...);
    }

    static bool isChanged() { return *rc::gen::inRange(0, 4) == 0; }

private:
    template <typename T>
    static void change(T& member, const rc::Gen<T>& generator)
    {
        if (isChanged()) member = *generator;
    }
};

template <typename T, typename Make>
Array<T> arbitraryList(int mostElements, Make make)
{
    std::vector<T> list;
    const int count = *rc::gen::inRange(0, mostElements + 1);
    for (int i = 0; i < count; ++i) list.push_back(make());
    return list;
}

inline rc::Gen<KeyValue> arbitraryKeyValue()
{
    return rc::gen::exec([]() -> KeyValue {
        switch (*rc::gen::inRange(0, 7)) {
        case 0: return *arbitraryNumber();
        case 1: return ColorRGBA{*arbitraryNumber(), *arbitraryNumber(), *arbitraryNumber(), *arbitraryNumber()};
        case 2: return CGPoint{*arbitraryNumber(), *arbitraryNumber()};
        case 3: return CGSize{*arbitraryNumber(), *arbitraryNumber()};
        case 4: return *arbitraryCase<ShadowPreset>();
        case 5: return *arbitraryCase<CursorVariant>();
        default: return SharedString(*arbitraryText());
        }
    });
}

inline rc::Gen<Easing> arbitraryEasing()
{
    return rc::gen::exec([] {
        switch (*rc::gen::inRange(0, 6)) {
        case 0: return Easing::spring(*arbitraryNumber(), *arbitraryNumber());
        case 1: return Easing::cubic(*arbitraryNumber(), *arbitraryNumber(), *arbitraryNumber(), *arbitraryNumber());
        case 2: return Easing::linear();
        case 3: return Easing::easeIn();
        case 4: return Easing::easeOut();
        default: return Easing::easeInOut();
        }
    });
}

inline rc::Gen<PathCommand> arbitraryPathCommand()
{
    return rc::gen::exec([]() -> PathCommand {
        const auto point = [] { return CGPoint{*arbitraryNumber(), *arbitraryNumber()}; };
        switch (*rc::gen::inRange(0, 4)) {
        case 0: return MoveTo{point()};
        case 1: return LineTo{point()};
        case 2: return CurveTo{point(), point(), point()};
        default: return ClosePath{};
        }
    });
}

inline rc::Gen<Keyframe> arbitraryKeyframe()
{
    return rc::gen::exec([] {
        return Keyframe{.id = *arbitraryId(),
                        .property = *arbitraryCase<Keyframe::AnimatableProperty>(),
                        .time = *arbitraryNumber(),
                        .value = *arbitraryKeyValue(),
                        .easing = *arbitraryEasing(),
                        .wait = *arbitraryNumber()};
    });
}

inline rc::Gen<TimeSpan> arbitrarySpan()
{
    return rc::gen::exec([] {
        TimeSpan span{.id = *arbitraryId(), .start = *arbitraryNumber(), .end = *arbitraryNumber()};
        span.effects = arbitraryList<SpanEffect>(3, [] {
            return SpanEffect{.id = *arbitraryId(),
                              .kind = *arbitraryCase<SpanEffect::Kind>(),
                              .duration = *arbitraryNumber(),
                              .reversed = *rc::gen::arbitrary<bool>()};
        });
        span.zoomStart = *arbitraryCase<ZoomTransition>();
        span.zoomEnd = *arbitraryCase<ZoomTransition>();
        span.cursorBlinkRanges = arbitraryList<BlinkRange>(
            2, [] { return BlinkRange{.id = *arbitraryId(), .start = *arbitraryNumber(), .end = *arbitraryNumber()}; });
        return span;
    });
}

/// Its set is never empty: a file has an empty one read as scale and glow.
inline rc::Gen<Pulse> arbitraryPulse()
{
    return rc::gen::exec([] {
        Pulse pulse{.id = *arbitraryId(), .time = *arbitraryNumber()};
        const int bits = *rc::gen::inRange(1, 8);
        for (const PulseEffect effect : {PulseEffect::scale, PulseEffect::glow, PulseEffect::radiate})
            if (bits >> static_cast<int>(effect) & 1) pulse.effects.insert(effect);
        return pulse;
    });
}

/// `depth` levels of children at most.
inline rc::Gen<Layer> arbitraryLayer(int depth = 2)
{
    return rc::gen::exec([depth] {
        Layer layer;
        ArbitraryMembers members;
        members.setAll(layer.id, layer.name, layer.kind);
        Transform& t = layer.transform;
        members.setAll(t.x, t.y, t.rotation, t.scaleX, t.scaleY, t.anchorX, t.anchorY);
        members.setAll(layer.fill, layer.stroke, layer.strokeWidth, layer.strokeOutside, layer.perSideStroke,
                       layer.strokeWidthTop, layer.strokeWidthRight, layer.strokeWidthBottom, layer.strokeWidthLeft,
                       layer.opacity, layer.size, layer.cornerRadius);
        layer.path = arbitraryList<PathCommand>(3, [] { return *arbitraryPathCommand(); });
        if (ArbitraryMembers::isChanged()) layer.imageData = *arbitraryBytes();
        members.setAll(layer.blackKey, layer.blackKeyInsetX, layer.blackKeyInsetY, layer.cropMode, layer.cropRect,
                       layer.gradientWarpSpeed, layer.gradientPulseAmount, layer.videoURL, layer.videoDuration);
        VideoClip& clip = layer.videoClip;
        members.setAll(clip.id, clip.sceneStart, clip.sceneEnd, clip.sourceStart, clip.endBehavior);
        if (ArbitraryMembers::isChanged()) clip.sourceTrimLength = *arbitraryNumber();
        if (ArbitraryMembers::isChanged()) layer.videoBookmark = *arbitraryBytes();
        members.setAll(layer.cursorVariant, layer.nameFollowsCursorVariant, layer.nameFollowsText, layer.nameFollowsLineShape,
                       layer.nameFollowsShape, layer.text, layer.fontSize, layer.fontName, layer.textColor, layer.textAutoFit,
                       layer.textColorHarmonize, layer.textUserResized, layer.textPadX, layer.textPadY, layer.textAlignment,
                       layer.textVerticalAlignment, layer.shadow, layer.isHidden, layer.isLocked, layer.zoomType,
                       layer.pipRendition);
        if (depth > 0) layer.children = arbitraryList<Layer>(2, [depth] { return *arbitraryLayer(depth - 1); });
        layer.keyframes = arbitraryList<Keyframe>(3, [] { return *arbitraryKeyframe(); });
        members.setAll(layer.groupLayout, layer.groupGap, layer.groupSizeMode, layer.groupFixedLocked, layer.groupAlignment);
        if (ArbitraryMembers::isChanged()) layer.cursorHoverOverride = *arbitraryCase<CursorVariant>();
        layer.spans = arbitraryList<TimeSpan>(2, [] { return *arbitrarySpan(); });
        layer.pulses = arbitraryList<Pulse>(2, [] { return *arbitraryPulse(); });
        members.setAll(layer.lineShape, layer.lineArcBend, layer.lineArcReversed, layer.lineWaveFrequency,
                       layer.lineWaveAmplitude);
        layer.linePoints = arbitraryList<CGPoint>(3, [] { return CGPoint{*arbitraryNumber(), *arbitraryNumber()}; });
        members.setAll(layer.lineArrowStart, layer.lineArrowEnd, layer.lineCurved, layer.textCursorBlinks);
        return layer;
    });
}

inline rc::Gen<TweenScene> arbitraryScene()
{
    return rc::gen::exec([] {
        TweenScene scene;
        ArbitraryMembers members;
        members.setAll(scene.id, scene.width, scene.height, scene.duration, scene.endPause, scene.background);
        if (ArbitraryMembers::isChanged()) scene.name = SharedString(*arbitraryText());
        if (ArbitraryMembers::isChanged()) scene.fps = *rc::gen::arbitrary<std::int64_t>();
        scene.layers = arbitraryList<Layer>(3, [] { return *arbitraryLayer(); });
        if (ArbitraryMembers::isChanged())
            scene.transition = SceneTransition{.kind = *arbitraryCase<SceneTransition::Kind>(), .duration = *arbitraryNumber()};
        return scene;
    });
}

/// At least one scene, as after every load.
inline rc::Gen<TweenDocument> arbitraryDocument()
{
    return rc::gen::exec([] {
        TweenDocument document{.scenes = {*arbitraryScene()}};
        for (const TweenScene& scene : arbitraryList<TweenScene>(2, [] { return *arbitraryScene(); }))
            document.scenes.append(scene);
        if (ArbitraryMembers::isChanged()) document.version = *rc::gen::arbitrary<std::int64_t>();
        document.activeSceneIndex = *rc::gen::inRange<std::int64_t>(-2, 5);
        if (ArbitraryMembers::isChanged()) {
            document.audio =
                DocumentAudio{.urlString = *arbitraryText(), .volume = *arbitraryNumber(), .displayName = *arbitraryText()};
            if (ArbitraryMembers::isChanged()) document.audio->bookmark = *arbitraryBytes();
        }
        return document;
    });
}

} // namespace larkspool
