#pragma once

#include "document/enumeration.h"

namespace larkspool {

enum class LineShape { freeform, square, circle, triangle, arc, wave };
enum class ZoomType { fullScreen, pictureInPicture };
enum class CropMode { none, automatic, manual };
enum class GroupLayout { freeform, horizontal, vertical };
enum class GroupSizeMode { dynamic, fixed };
enum class GroupAlignment { start, center, end };
enum class ShadowPreset { none, low, medium, high };
enum class ZoomTransition { none, zoom, fade };
enum class TextAlignment { left, center, right };
enum class TextVerticalAlignment { top, center, bottom };
enum class CursorVariant { arrow, pointer, grab, grabbing, ibeam, duplicate, wait };

template <>
struct EnumTable<LineShape> {
    using enum LineShape;
    static constexpr EnumCase<LineShape> cases[] = {
        {freeform, "freeform", "Freeform"}, {square, "square", "Square"}, {circle, "circle", "Circle"},
        {triangle, "triangle", "Triangle"}, {arc, "arc", "Arc"},          {wave, "wave", "Wave"},
    };
};

template <>
struct EnumTable<ZoomType> {
    using enum ZoomType;
    static constexpr EnumCase<ZoomType> cases[] = {
        {fullScreen, "fullScreen", "Full Screen"},
        {pictureInPicture, "pictureInPicture", "Picture in Picture"},
    };
};

template <>
struct EnumTable<CropMode> {
    using enum CropMode;
    static constexpr EnumCase<CropMode> cases[] = {{none, "none", "None"}, {automatic, "auto", "Auto"}, {manual, "manual", "Manual"}};
};

template <>
struct EnumTable<GroupLayout> {
    using enum GroupLayout;
    static constexpr EnumCase<GroupLayout> cases[] = {
        {freeform, "freeform", "Freeform"},
        {horizontal, "horizontal", "Horizontal"},
        {vertical, "vertical", "Vertical"},
    };
};

template <>
struct EnumTable<GroupSizeMode> {
    using enum GroupSizeMode;
    static constexpr EnumCase<GroupSizeMode> cases[] = {{dynamic, "dynamic", "Dynamic"}, {fixed, "fixed", "Fixed"}};
};

/// The label depends on the layout: see `label(GroupAlignment, GroupLayout)`.
template <>
struct EnumTable<GroupAlignment> {
    using enum GroupAlignment;
    static constexpr EnumCase<GroupAlignment> cases[] = {{start, "start", "Start"}, {center, "center", "Center"}, {end, "end", "End"}};
};

constexpr std::string_view label(GroupAlignment alignment, GroupLayout layout)
{
    constexpr std::string_view labels[3][3] = {
        {"Start", "Center", "End"},
        {"Top", "Middle", "Bottom"},
        {"Leading", "Center", "Trailing"},
    };
    return labels[static_cast<std::size_t>(layout)][static_cast<std::size_t>(alignment)];
}

template <>
struct EnumTable<ShadowPreset> {
    using enum ShadowPreset;
    static constexpr EnumCase<ShadowPreset> cases[] = {
        {none, "none", "None"}, {low, "low", "Low"}, {medium, "medium", "Medium"}, {high, "high", "High"}};
};

template <>
struct EnumTable<ZoomTransition> {
    using enum ZoomTransition;
    static constexpr EnumCase<ZoomTransition> cases[] = {{none, "none", "None"}, {zoom, "zoom", "Zoom"}, {fade, "fade", "Fade"}};
};

template <>
struct EnumTable<TextAlignment> {
    using enum TextAlignment;
    static constexpr EnumCase<TextAlignment> cases[] = {
        {left, "left", "Left", "text.alignleft"},
        {center, "center", "Center", "text.aligncenter"},
        {right, "right", "Right", "text.alignright"},
    };
};

template <>
struct EnumTable<TextVerticalAlignment> {
    using enum TextVerticalAlignment;
    static constexpr EnumCase<TextVerticalAlignment> cases[] = {
        {top, "top", "Top", "arrow.up.to.line.compact"},
        {center, "center", "Center", "arrow.up.and.down"},
        {bottom, "bottom", "Bottom", "arrow.down.to.line.compact"},
    };
};

template <>
struct EnumTable<CursorVariant> {
    using enum CursorVariant;
    static constexpr EnumCase<CursorVariant> cases[] = {
        {arrow, "arrow", "Arrow", "cursorarrow"},
        {pointer, "pointer", "Pointer", "hand.point.up"},
        {grab, "grab", "Grab", "hand.raised"},
        {grabbing, "grabbing", "Grabbing", "hand.raised.fill"},
        {ibeam, "ibeam", "I-Beam", "character.cursor.ibeam"},
        {duplicate, "duplicate", "Duplicate", "plus.square.on.square"},
        {wait, "wait", "Wait", "circle.dotted"},
    };
};

/// The name of the variant's icon.
constexpr std::string_view iconName(CursorVariant variant) { return systemImage(variant); }

} // namespace larkspool
