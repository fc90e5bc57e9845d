#pragma once

#include "timeline/span_edits.h"

#include <optional>

namespace larkspool {

/// The span copied last. One for all windows of a process.
struct SpanClipboard {
    std::optional<SpanSnapshot> snapshot{};
};

/// Copies what can be pasted of a span. For a reference to none the clipboard stays as it is.
void copySpan(const TweenScene& scene, const TimelineItemRef& span, SpanClipboard& clipboard);

/// Pastes onto the right-clicked span, or onto all selected ones if it is one of them; see `pasteSpanSnapshot`. Nothing with an
/// empty clipboard.
std::optional<Edit> pasteSpan(const TweenScene& scene, const TimelineSelection& selection, const SpanClipboard& clipboard,
                              const TimelineItemRef& rightClickedSpan, RandomSource& random = systemRandom());

/// Makes a span of the copied length at a time of the layer at which it has none, held within the scene. Its effects get ids of
/// their own and are fitted into it. Nothing with an empty clipboard, where a span of the layer holds the time, and for a time
/// that is not a number.
std::optional<Edit> pasteSpanAt(const TweenScene& scene, const UUID& layerID, double time, const SpanClipboard& clipboard,
                                RandomSource& random = systemRandom());

} // namespace larkspool
