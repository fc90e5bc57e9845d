#pragma once

#include "document/layer_enumerations.h"
#include "foundation/array.h"
#include "foundation/uuid.h"

namespace larkspool {

/// Scene seconds during which a text caret blinks.
struct BlinkRange {
    UUID id = UUID::random();
    double start = 0;
    double end = 0;

    bool operator==(const BlinkRange&) const = default;
};

/// How a layer comes in at a span's start or leaves towards its end.
struct SpanEffect {
    enum class Kind {
        fadeIn, fadeOut, popIn, popOut, bounceIn, bounceOut, slideInLeft, slideInRight, slideInTop, slideInBottom, slideOutLeft,
        slideOutRight, slideOutTop, slideOutBottom, typeOn, deleteOff,
        blinkingCursorStart, ///< Of old files; does nothing.
        blinkingCursorEnd,   ///< Of old files; does nothing.
        drawOn, eraseOff
    };

    UUID id = UUID::random();
    Kind kind = Kind::fadeIn;
    double duration = 0.4; ///< Seconds.
    bool reversed = false; ///< Read by `drawOn` and `eraseOff` only.

    bool operator==(const SpanEffect&) const = default;
};

template <>
struct EnumTable<SpanEffect::Kind> {
    using enum SpanEffect::Kind;
    /// The arrows point the way that the layer travels.
    static constexpr EnumCase<SpanEffect::Kind> cases[] = {
        {fadeIn, "fadeIn", "Fade In"},
        {fadeOut, "fadeOut", "Fade Out"},
        {popIn, "popIn", "Pop In"},
        {popOut, "popOut", "Pop Out"},
        {bounceIn, "bounceIn", "Bounce In"},
        {bounceOut, "bounceOut", "Bounce Out"},
        {slideInLeft, "slideInLeft", "Slide In →"},
        {slideInRight, "slideInRight", "Slide In ←"},
        {slideInTop, "slideInTop", "Slide In ↓"},
        {slideInBottom, "slideInBottom", "Slide In ↑"},
        {slideOutLeft, "slideOutLeft", "Slide Out ←"},
        {slideOutRight, "slideOutRight", "Slide Out →"},
        {slideOutTop, "slideOutTop", "Slide Out ↑"},
        {slideOutBottom, "slideOutBottom", "Slide Out ↓"},
        {typeOn, "typeOn", "Type On"},
        {deleteOff, "deleteOff", "Delete Off"},
        {blinkingCursorStart, "blinkingCursorStart", "Blink Cursor In"},
        {blinkingCursorEnd, "blinkingCursorEnd", "Blink Cursor Out"},
        {drawOn, "drawOn", "Draw On"},
        {eraseOff, "eraseOff", "Erase Off"},
    };
};

/// Whether the effect runs from the span's start (true) or towards its end (false).
bool isIntro(SpanEffect::Kind kind);

/// A stretch of scene time, in seconds, during which a layer shows. Both ends belong to it:
///
///     start           end
///       [------*-------]        contains(*)
///
/// Spans are kept in any order. Where spans of one layer overlap, the first in array order governs its effects.
struct TimeSpan {
    UUID id = UUID::random();
    double start = 0;
    double end = 0;
    Array<SpanEffect> effects{};                    ///< Applied in this order.
    ZoomTransition zoomStart = ZoomTransition::zoom; ///< How a zoom layer enters.
    ZoomTransition zoomEnd = ZoomTransition::zoom;   ///< How a zoom layer leaves.
    Array<BlinkRange> cursorBlinkRanges{};

    bool contains(double time) const { return start <= time && time <= end; }

    bool operator==(const TimeSpan&) const = default;
};

} // namespace larkspool
