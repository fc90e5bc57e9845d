#include "timeline/dilate.h"
#include "timeline/span_arrange.h"
#include "timeline/span_in_out.h"

#include "support/random_timeline.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>

namespace larkspool {
namespace {

using Kind = TimelineItemRef::Kind;

constexpr double rounding = 1e-9;

bool isNear(double a, double b)
{
    return std::abs(a - b) < rounding;
}

/// A random scene with all times in sixty-fourths, which add up without rounding.
TweenScene roundScene(RandomTimeline& random)
{
    const auto rounded = [](double time) { return std::round(time * 64) / 64; };
    TweenScene scene = random.scene();
    scene.duration = rounded(scene.duration);
    walkLayers(TweenScene(scene).layers, [&](const Layer& layer) {
        Layer* changed = editLayer(scene, layer.id);
        for (TimeSpan& span : changed->spans.edit()) {
            span.start = rounded(span.start);
            span.end = rounded(span.end);
        }
        for (Pulse& pulse : changed->pulses.edit()) pulse.time = rounded(pulse.time);
        for (Keyframe& keyframe : changed->keyframes.edit()) {
            keyframe.time = rounded(keyframe.time);
            keyframe.wait = rounded(keyframe.wait);
        }
        changed->videoClip.sceneStart = rounded(changed->videoClip.sceneStart);
        changed->videoClip.sceneEnd = rounded(changed->videoClip.sceneEnd);
        normalizeSpanEffects(*changed);
    });
    return scene;
}

/// Whether the item moves while those are selected.
bool isMoved(const TimelineItemRef& ref, const TimelineSelection& selection)
{
    return selection.contains(ref) ||
           (ref.kind == Kind::keyframe && selection.contains(TimelineItemRef::waitTail(ref.layerID, ref.itemID)));
}

/// Where an item stands that was put at `start` in a scene of that duration.
bool isPlaced(const TimelineItemRef& ref, ItemTimes was, ItemTimes is, double start, double duration)
{
    start = std::max(std::min(start, duration), 0.0);
    if (!isNear(is.start, start)) return false;
    if (ref.kind == Kind::keyframe || ref.kind == Kind::pulse) return true;
    return is.end <= duration && isNear(is.end - is.start, std::max(std::min(was.end - was.start, duration - start), 0.0));
}

bool waitsAreTheSame(const TweenScene& a, const TweenScene& b)
{
    for (const TimelineItemRef& ref : RandomTimeline::items(a))
        if (ref.kind == Kind::waitTail &&
            findKeyframe(a, ref.layerID, ref.itemID)->wait != findKeyframe(b, ref.layerID, ref.itemID)->wait)
            return false;
    return true;
}

/// Whether every selected item went to `start(times)`, and every other stayed.
template <typename Start>
bool allArePlaced(const TweenScene& before, const TweenScene& after, const TimelineSelection& selection, const Start& start)
{
    return std::ranges::all_of(RandomTimeline::items(before), [&](const TimelineItemRef& ref) {
        if (ref.kind == Kind::waitTail) return true;
        const ItemTimes was = *timesOf(before, ref), is = *timesOf(after, ref);
        return isMoved(ref, selection) ? isPlaced(ref, was, is, start(was), before.duration) : is == was;
    });
}

TEST(MoveLaws, AMoveKeepsLengthsAndWaitsAndHoldsAllWithinTheScene)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const TimelineSelection selection = random.selection(before);
        const double delta = random.between(-12, 12);
        if (const auto moved = applyMoveDelta(before, selection, delta, {}, "Move")) {
            const TweenScene& after = moved->edit.scene;
            RC_ASSERT(allArePlaced(before, after, selection, [&](ItemTimes was) { return was.start + delta; }));
            RC_ASSERT(waitsAreTheSame(before, after) && effectsFitTheirSpans(after) && after.duration == before.duration);
        }
        const double time = random.between(-2, 14);
        if (const auto moved = applyMoveAbsolute(before, selection, time, "Move")) {
            RC_ASSERT(allArePlaced(before, moved->scene, selection, [&](ItemTimes) { return time; }));
            RC_ASSERT(waitsAreTheSame(before, moved->scene) && effectsFitTheirSpans(moved->scene));
        }
    }));
}

TEST(MoveLaws, AMoveInsideTheSceneAndBackRestoresIt)
{
    int moves = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = roundScene(random);
        TimelineSelection selection = random.selection(before);
        std::erase_if(selection, [&](const TimelineItemRef& ref) {
            const ItemTimes times = *timesOf(before, ref);
            return times.start < 0 || times.end < times.start || times.end > before.duration;
        });
        const SelectionMoveTargets targets = collectSelectionMoveTargets(before, selection);
        if (!targets.hasBounds() || targets.maxEnd > before.duration) return;
        const double room = before.duration - targets.maxEnd + targets.minStart;
        const double delta = std::floor(random.between(0, 1) * room * 64) / 64 - targets.minStart;
        const auto there = applyMoveDelta(before, selection, delta, {}, "Move");
        if (!there) return;
        RC_ASSERT(there->edit.scene != before);
        const auto back = applyMoveDelta(there->edit.scene, selection, -delta, {}, "Move");
        RC_ASSERT(back.has_value());
        RC_ASSERT(back->edit.scene == before);
        ++moves;
    }));
    EXPECT_GT(moves, 20);
}

TEST(MoveLaws, RippleMovesTheSameWayAsTheSelectionAndNothingElse)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const TimelineSelection selection = random.selection(before);
        const auto mode = static_cast<TimelineRippleMode>(random.index(4));
        const double delta = random.between(-8, 8);
        const auto moved = applyMoveDelta(before, selection, delta, {mode, {}}, "Move");
        if (!moved) return;
        const double anchor = collectSelectionMoveTargets(before, selection).minStart;
        const TweenScene& after = moved->edit.scene;
        std::size_t rippled = 0;
        for (const TimelineItemRef& ref : RandomTimeline::items(before)) {
            const ItemTimes was = *timesOf(before, ref), is = *timesOf(after, ref);
            if (ref.kind == Kind::waitTail || isMoved(ref, selection)) continue;
            const bool onSide = mode == TimelineRippleMode::both || (mode == TimelineRippleMode::before && was.start < anchor) ||
                                (mode == TimelineRippleMode::after && was.start >= anchor);
            const bool isEmptyClip = ref.kind == Kind::videoClip && !(was.start < was.end);
            const bool follows = onSide && !isEmptyClip;
            rippled += follows ? 1 : 0;
            RC_ASSERT(isNear(is.start, follows ? std::max(was.start + delta, 0.0) : was.start));
            RC_ASSERT(isNear(is.end - is.start, was.end - was.start));
        }
        RC_ASSERT(moved->rippled == (rippled > 0 ? std::vector<std::size_t>{rippled} : std::vector<std::size_t>{}));
        RC_ASSERT(after.duration >= before.duration && effectsFitTheirSpans(after) && waitsAreTheSame(before, after));
    }));
}

TEST(DilateLaws, StartsAreScaledLengthsAndWaitsKeptAndAllHeldWithinTheScene)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const TimelineSelection selection = random.selection(before);
        const double scale = random.between(0.05, 4);
        const auto anchor = static_cast<DilateAnchor>(random.index(3));
        const auto dilatedScene = applyDilate(before, selection, scale, anchor, {}, "Dilate");
        if (!dilatedScene) return;
        const SelectionMoveTargets targets = collectSelectionMoveTargets(before, selection);
        const double middle = (targets.minStart + targets.maxEnd) / 2;
        const double a = anchor == DilateAnchor::start ? targets.minStart : anchor == DilateAnchor::end ? targets.maxEnd : middle;
        const TweenScene& after = dilatedScene->edit.scene;
        RC_ASSERT(allArePlaced(before, after, selection, [&](ItemTimes was) { return a + scale * (was.start - a); }));
        RC_ASSERT(waitsAreTheSame(before, after) && effectsFitTheirSpans(after) && after.duration == before.duration);
    }));
}

TEST(DilateLaws, RippleNeverMovesWhatIsSelectedNorShrinksTheScene)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const TimelineSelection selection = random.selection(before);
        const double scale = random.between(0.05, 4);
        const auto anchor = static_cast<DilateAnchor>(random.index(3));
        const auto alone = applyDilate(before, selection, scale, anchor, {}, "Dilate");
        const auto rippled = applyDilate(before, selection, scale, anchor, {TimelineRippleMode::both, {}}, "Dilate");
        if (!rippled) return;
        const TweenScene& after = rippled->edit.scene;
        for (const TimelineItemRef& ref : RandomTimeline::items(before)) {
            const ItemTimes was = *timesOf(before, ref), is = *timesOf(after, ref);
            if (isMoved(ref, selection))
                RC_ASSERT(is == timesOf(alone ? alone->edit.scene : before, ref));
            else if (ref.kind != Kind::waitTail)
                RC_ASSERT(is.start >= 0 && isNear(is.end - is.start, was.end - was.start));
        }
        RC_ASSERT(after.duration >= before.duration && effectsFitTheirSpans(after) && waitsAreTheSame(before, after));
    }));
}

TEST(ArrangeLaws, DistributingChainsTheSpansAndOnceMoreChangesNothing)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = roundScene(random);
        const TimelineSelection selection = random.selection(before);
        const double gap = std::max(static_cast<double>(random.index(6)) - 2, -1.0) / 4;
        const auto edit = distributeSelectedSpans(before, selection, gap);
        if (!edit) return;
        const auto was = resolvedSelectedSpans(before, selection);
        auto is = resolvedSelectedSpans(edit->scene, selection);
        double length = 0, earliest = was[0].span.start;
        for (std::size_t i = 0; i < was.size(); ++i) {
            RC_ASSERT(is[i].span.end - is[i].span.start == std::max(was[i].span.end - was[i].span.start, 0.0));
            length += is[i].span.end - is[i].span.start;
            earliest = std::min(earliest, was[i].span.start);
        }
        std::ranges::sort(is, {}, [](const ResolvedSpanRef& ref) { return std::pair(ref.span.start, ref.span.end); });
        for (std::size_t i = 1; i < is.size(); ++i) RC_ASSERT(is[i].span.start == is[i - 1].span.end + std::max(gap, 0.0));
        RC_ASSERT(is.front().span.start == std::max(earliest, 0.0));
        RC_ASSERT(effectsFitTheirSpans(edit->scene));
        RC_ASSERT(!distributeSelectedSpans(edit->scene, selection, gap));
    }));
}

TEST(ArrangeLaws, StaggeringKeepsLengthsAndStartsAtZeroOrLater)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const TimelineSelection selection = random.selection(before);
        const auto order = static_cast<StaggerOrder>(random.index(4));
        const auto edit = staggerSelectedSpans(before, selection, random.between(-2, 2), random.between(-2, 2), order);
        if (!edit) return;
        const auto was = resolvedSelectedSpans(before, selection), is = resolvedSelectedSpans(edit->scene, selection);
        for (std::size_t i = 0; i < was.size(); ++i) {
            RC_ASSERT(is[i].span.start >= 0);
            RC_ASSERT(isNear(is[i].span.end - is[i].span.start, std::max(was[i].span.end - was[i].span.start, 0.0)));
        }
        RC_ASSERT(effectsFitTheirSpans(edit->scene));
    }));
}

TEST(InOutLaws, OneEndGoesToThePlayheadTheOtherStaysAndNoneIsInverted)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        EditorState state;
        state.document.setScene(random.scene());
        state.timelineSelection = random.selection(state.scene());
        state.playhead = random.between(0, state.scene().duration);
        const auto point = static_cast<InOutPoint>(random.index(2));
        const TweenScene before = state.scene();
        const auto edit = applySpanInOut(state, point, {static_cast<TimelineRippleMode>(random.index(4)), {}});
        if (!edit) return;
        for (const TimelineItemRef& ref : state.timelineSelection) {
            if (ref.kind == Kind::waitTail) continue; // Carried by its keyframe, which can ripple.
            const ItemTimes was = *timesOf(before, ref), is = *timesOf(edit->edit.scene, ref);
            const bool hasEnds = ref.kind == Kind::span || ref.kind == Kind::videoClip;
            const ItemTimes set =
                point == InOutPoint::in ? ItemTimes{state.playhead, was.end} : ItemTimes{was.start, state.playhead};
            RC_ASSERT(is == (hasEnds && set.start <= set.end ? set : was));
        }
        RC_ASSERT(edit->edit.scene.duration >= before.duration);
        RC_ASSERT(effectsFitTheirSpans(edit->edit.scene) && waitsAreTheSame(before, edit->edit.scene));
    }));
}

} // namespace
} // namespace larkspool
