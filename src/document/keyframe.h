#pragma once

#include "document/color.h"
#include "document/easing.h"
#include "document/layer_enumerations.h"
#include "foundation/geometry.h"
#include "foundation/shared_bytes.h"
#include "foundation/uuid.h"

#include <variant>

namespace larkspool {

/// The value of a keyframe. The order of the alternatives is the format's: number, color, point, size, shadow, cursor, fontName.
using KeyValue = std::variant<double, ColorRGBA, CGPoint, CGSize, ShadowPreset, CursorVariant, SharedString>;

/// One animatable property pinned to a value at a time.
struct Keyframe {
    enum class AnimatableProperty {
        x, y, rotation, scaleX, scaleY, opacity, fill, stroke, strokeWidth, width, height, cornerRadius, shadow, cursorVariant,
        groupGap, fontSize, fontName, textColor, lineArcBend, lineWaveFrequency, lineWaveAmplitude
    };
    static constexpr std::size_t animatablePropertyCount = 21;

    UUID id = UUID::random();
    AnimatableProperty property = AnimatableProperty::x;
    double time = 0; ///< Scene seconds.
    KeyValue value = 0.0;
    Easing easing{}; ///< Of the move to the next keyframe of the same property.
    double wait = 0; ///< Seconds that the value holds before the move begins; a negative wait holds for none.

    bool operator==(const Keyframe&) const = default;
};

template <>
struct EnumTable<Keyframe::AnimatableProperty> {
    using enum Keyframe::AnimatableProperty;
    /// `label` is what the timeline and the inspector show.
    static constexpr EnumCase<Keyframe::AnimatableProperty> cases[] = {
        {x, "x", "X"},
        {y, "y", "Y"},
        {rotation, "rotation", "Rotation"},
        {scaleX, "scaleX", "Scale X"},
        {scaleY, "scaleY", "Scale Y"},
        {opacity, "opacity", "Opacity"},
        {fill, "fill", "Fill"},
        {stroke, "stroke", "Stroke"},
        {strokeWidth, "strokeWidth", "Stroke Width"},
        {width, "width", "Width"},
        {height, "height", "Height"},
        {cornerRadius, "cornerRadius", "Corner Radius"},
        {shadow, "shadow", "Shadow"},
        {cursorVariant, "cursorVariant", "Cursor"},
        {groupGap, "groupGap", "Gap"},
        {fontSize, "fontSize", "Font Size"},
        {fontName, "fontName", "Font"},
        {textColor, "textColor", "Text Color"},
        {lineArcBend, "lineArcBend", "Bend"},
        {lineWaveFrequency, "lineWaveFrequency", "Frequency"},
        {lineWaveAmplitude, "lineWaveAmplitude", "Amplitude"},
    };
};

/// What the timeline and the inspector call the property.
constexpr std::string_view displayName(Keyframe::AnimatableProperty property) { return label(property); }

} // namespace larkspool
