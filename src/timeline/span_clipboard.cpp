#include "timeline/span_clipboard.h"

#include "editing/scene_lookup.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

void copySpan(const TweenScene& scene, const TimelineItemRef& span, SpanClipboard& clipboard)
{
    if (span.kind != TimelineItemRef::Kind::span) return;
    if (const TimeSpan* found = findSpan(scene, span.layerID, span.itemID)) clipboard.snapshot = SpanSnapshot::of(*found);
}

std::optional<Edit> pasteSpan(const TweenScene& scene, const TimelineSelection& selection, const SpanClipboard& clipboard,
                              const TimelineItemRef& rightClickedSpan, RandomSource& random)
{
    if (!clipboard.snapshot) return std::nullopt;
    return pasteSpanSnapshot(scene, selection, *clipboard.snapshot, rightClickedSpan, random);
}

std::optional<Edit> pasteSpanAt(const TweenScene& scene, const UUID& layerID, double time, const SpanClipboard& clipboard,
                                RandomSource& random)
{
    const Layer* layer = findLayer(scene, layerID);
    if (!layer || !clipboard.snapshot || !std::isfinite(time)) return std::nullopt;
    if (std::ranges::any_of(layer->spans, [time](const TimeSpan& span) { return span.contains(time); })) return std::nullopt;

    // An empty span at the time takes the snapshot as any other does.
    const TimeSpan span{.id = UUID::random(random), .start = time, .end = time};
    TweenScene withSpan = scene;
    editLayer(withSpan, layerID)->spans.append(span);
    return pasteSpanSnapshot(withSpan, {}, *clipboard.snapshot, TimelineItemRef::span(layerID, span.id), random);
}

} // namespace larkspool
