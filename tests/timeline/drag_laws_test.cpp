#include "timeline/item_drag.h"

#include "support/random_timeline.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>

namespace larkspool {
namespace {

/// A press anywhere in a random scene, with a random selection, ripple and snapping.
struct RandomPress {
    RandomTimeline random;
    TweenScene before;
    std::optional<Hand> hand{};
    DragHandle handle = DragHandle::body;
    std::vector<TimelineItemRef> members{};

    explicit RandomPress(std::uint64_t seed) : random(seed), before(random.scene())
    {
        const std::vector<TimelineItemRef> items = RandomTimeline::items(before);
        if (items.empty()) return;
        handle = static_cast<DragHandle>(random.index(3));
        members = {items[random.index(items.size())]};
        DragSetting setting = settingOf(before, random.selection(before));
        if (random.chance(2)) setting.selection.insert(members[0]);
        setting.rippleMode = static_cast<TimelineRippleMode>(random.index(4));
        if (random.chance(4)) setting.rippleScope = LayerIDs{before.layers[0].id, before.layers[1].id};
        setting.snapping.grid = static_cast<PlayheadSnapMode>(random.index(5));
        setting.playhead = random.between(0, 8);
        setting.bodyTrigger = 0;
        hand.emplace(
            DragPress{.members = members, .handle = handle, .row = random.chance(3) ? DragRow::aggregate : DragRow::layer},
            setting);
        hand->to(0); // A span's body takes hold here, with no trigger distance.
    }
    void wander() { hand->to(random.between(-1200, 1200), {.command = random.chance(2)}); }
};

TEST(DragLaws, ADragThatReturnsToItsBeginningLeavesTheSceneAsItWas)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomPress press(seed);
        if (!press.hand) return;
        for (int i = 0; i < 5; ++i) press.wander();
        press.hand->to(0, {.command = press.random.chance(2)});
        RC_ASSERT(press.hand->scene == press.before);
    }));
}

TEST(DragLaws, WhereADragHasBeenDoesNotMatter)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomPress direct(seed), wandering(seed);
        if (!direct.hand) return;
        for (int i = 0; i < 5; ++i) wandering.wander();
        direct.hand->to(314);
        wandering.hand->to(314);
        RC_ASSERT(direct.hand->scene == wandering.hand->scene);
    }));
}

TEST(DragLaws, EffectsFitTheirSpansAtEveryMoment)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomPress press(seed);
        if (!press.hand) return;
        for (int i = 0; i < 5; ++i) {
            press.wander();
            RC_ASSERT(effectsFitTheirSpans(press.hand->scene));
        }
    }));
}

TEST(DragLaws, ADragChangesTimesOnly)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomPress press(seed);
        if (!press.hand) return;
        press.wander();
        RC_ASSERT(RandomTimeline::items(press.hand->scene) == RandomTimeline::items(press.before));
        // With every time put back, nothing else differs, but for effects that were refit.
        TweenScene back = press.hand->scene;
        back.duration = press.before.duration;
        walkLayers(press.before.layers, [&](const Layer& layer) {
            Layer* changed = editLayer(back, layer.id);
            changed->spans = layer.spans;
            changed->keyframes = layer.keyframes;
            changed->pulses = layer.pulses;
            changed->videoClip = layer.videoClip;
        });
        RC_ASSERT(back == press.before);
    }));
}

TEST(DragLaws, ATrimLeavesItsOtherEdgeAndABodyItsLength)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomPress press(seed);
        if (!press.hand) return;
        const TimelineItemRef ref = press.members[0];
        const ItemTimes was = timesOf(press.before, ref).value();
        press.wander();
        const ItemTimes is = press.hand->times(ref);
        const bool hasEdges = ref.kind == TimelineItemRef::Kind::span || ref.kind == TimelineItemRef::Kind::videoClip;
        if (!hasEdges && ref.kind != TimelineItemRef::Kind::waitTail)
            RC_ASSERT(is.start >= 0 && is.end == is.start);
        else if (ref.kind == TimelineItemRef::Kind::waitTail || press.handle == DragHandle::rightEdge)
            RC_ASSERT(is.start == was.start);
        else if (press.handle == DragHandle::leftEdge)
            RC_ASSERT(is.end == was.end && is.start >= 0);
        else
            RC_ASSERT(is.start >= 0 && std::abs((is.end - is.start) - (was.end - was.start)) < 1e-9);
    }));
}

TEST(RippleLaws, LengthsAreKeptNothingLiesBeforeZeroAndTheDurationNeverShrinks)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const TimelineSelection excluded = random.selection(before);
        const auto mode = static_cast<TimelineRippleMode>(1 + random.index(3));
        const double anchor = random.time();
        TimelineRippleState state;
        state.capture(before, excluded, mode, anchor);
        TweenScene scene = before;
        for (int i = 0; i < 5; ++i) {
            const double dt = random.between(-8, 8);
            state.apply(dt, scene);
            RC_ASSERT(scene.duration >= before.duration);
            RC_ASSERT(effectsFitTheirSpans(scene));
            for (const TimelineItemRef& ref : RandomTimeline::items(before)) {
                const ItemTimes was = *timesOf(before, ref), is = *timesOf(scene, ref);
                RC_ASSERT(std::abs((is.end - is.start) - (was.end - was.start)) < 1e-9);
                if (ref.kind == TimelineItemRef::Kind::waitTail) continue; // Carried by its keyframe.
                const bool onSide =
                    mode == TimelineRippleMode::both || (mode == TimelineRippleMode::before) == (was.start < anchor);
                const bool isEmptyClip = ref.kind == TimelineItemRef::Kind::videoClip && !(was.start < was.end);
                const bool moves = onSide && !isEmptyClip && !excluded.contains(ref);
                RC_ASSERT(std::abs(is.start - (moves ? std::max(was.start + dt, 0.0) : was.start)) < 1e-9);
            }
        }
    }));
}

} // namespace
} // namespace larkspool
