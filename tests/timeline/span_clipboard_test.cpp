#include "timeline/span_clipboard.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

/// Layer 1 with a span of 2 seconds that fades in, layer 2 with one of a second.
TweenScene twoSpans()
{
    TimeSpan source = spanOf(11, 1, 3);
    source.effects = {SpanEffect{.id = idOf(99), .kind = SpanEffect::Kind::popIn, .duration = 1.5}};
    source.zoomStart = ZoomTransition::fade;
    source.zoomEnd = ZoomTransition::none;
    Layer first{.id = idOf(1)}, second{.id = idOf(2)};
    first.spans = {source};
    second.spans = {spanOf(21, 5, 6)};
    return sceneOf({first, second});
}

SpanClipboard copied(const TweenScene& scene)
{
    SpanClipboard clipboard;
    copySpan(scene, TimelineItemRef::span(idOf(1), idOf(11)), clipboard);
    return clipboard;
}

TEST(SpanClipboard, TakesTheLengthTheEffectsAndTheTransitions)
{
    const SpanClipboard clipboard = copied(twoSpans());
    ASSERT_TRUE(clipboard.snapshot);
    EXPECT_EQ(clipboard.snapshot->length, 2);
    ASSERT_EQ(clipboard.snapshot->effects.size(), 1u);
    EXPECT_EQ(clipboard.snapshot->effects[0].kind, SpanEffect::Kind::popIn);
    EXPECT_EQ(clipboard.snapshot->zoomStart, ZoomTransition::fade);
    EXPECT_EQ(clipboard.snapshot->zoomEnd, ZoomTransition::none);
}

TEST(SpanClipboard, KeepsWhatItHasWhereThereIsNothingToCopy)
{
    const TweenScene scene = twoSpans();
    SpanClipboard clipboard = copied(scene);
    for (const TimelineItemRef& nothing : {TimelineItemRef::span(idOf(1), idOf(77)), TimelineItemRef::span(idOf(7), idOf(11)),
                                           TimelineItemRef::pulse(idOf(1), idOf(11))}) {
        copySpan(scene, nothing, clipboard);
        EXPECT_EQ(clipboard.snapshot, copied(scene).snapshot);
    }
}

TEST(SpanClipboard, PastedOntoASpanItsLengthEffectsAndTransitionsHold)
{
    const TweenScene scene = twoSpans();
    const auto edit = pasteSpan(scene, {}, copied(scene), TimelineItemRef::span(idOf(2), idOf(21)));
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Paste Span");
    const TimeSpan& pasted = *findSpan(edit->scene, idOf(2), idOf(21));
    EXPECT_EQ(pasted.start, 5);
    EXPECT_EQ(pasted.end, 7);
    EXPECT_EQ(pasted.zoomStart, ZoomTransition::fade);
    ASSERT_EQ(pasted.effects.size(), 1u);
    EXPECT_NE(pasted.effects[0].id, idOf(99));
    EXPECT_FALSE(pasteSpan(scene, {}, SpanClipboard{}, TimelineItemRef::span(idOf(2), idOf(21))));
}

TEST(SpanClipboard, PastedOntoAnEmptyStretchItMakesASpanThere)
{
    const TweenScene scene = twoSpans();
    const auto edit = pasteSpanAt(scene, idOf(2), 2.5, copied(scene));
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Paste Span");
    const Layer& layer = *findLayer(edit->scene, idOf(2));
    ASSERT_EQ(layer.spans.size(), 2u);
    EXPECT_EQ(layer.spans[0], spanOf(21, 5, 6));
    const TimeSpan& made = layer.spans[1];
    EXPECT_EQ(made.start, 2.5);
    EXPECT_EQ(made.end, 4.5);
    EXPECT_EQ(made.zoomStart, ZoomTransition::fade);
    EXPECT_EQ(made.zoomEnd, ZoomTransition::none);
    ASSERT_EQ(made.effects.size(), 1u);
    EXPECT_EQ(made.effects[0].kind, SpanEffect::Kind::popIn);
    EXPECT_EQ(made.effects[0].duration, 1.5);
    EXPECT_NE(made.effects[0].id, idOf(99));
}

TEST(SpanClipboard, ASpanMadeNearTheEndIsHeldWithinTheSceneAndItsEffectsFit)
{
    const TweenScene scene = twoSpans();
    const auto edit = pasteSpanAt(scene, idOf(2), 9.5, copied(scene));
    ASSERT_TRUE(edit);
    const TimeSpan& made = findLayer(edit->scene, idOf(2))->spans[1];
    EXPECT_EQ(made.start, 9.5);
    EXPECT_EQ(made.end, 10);
    EXPECT_EQ(made.effects[0].duration, 0.5);
}

TEST(SpanClipboard, NoSpanIsMadeWhereThereIsOneOrNothingToPasteOn)
{
    const TweenScene scene = twoSpans();
    EXPECT_FALSE(pasteSpanAt(scene, idOf(2), 5.5, copied(scene)));
    EXPECT_FALSE(pasteSpanAt(scene, idOf(9), 2.5, copied(scene)));
    EXPECT_FALSE(pasteSpanAt(scene, idOf(2), 2.5, SpanClipboard{}));
    EXPECT_FALSE(pasteSpanAt(scene, idOf(2), std::numeric_limits<double>::quiet_NaN(), copied(scene)));
}

} // namespace
} // namespace larkspool
