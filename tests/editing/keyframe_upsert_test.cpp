#include "editing/keyframe_upsert.h"

#include "editing/editing_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using enum Keyframe::AnimatableProperty;

TEST(KeyframeUpsert, ANewKeyframeIsAppendedWithTheDefaults)
{
    Layer layer{.keyframes = {Keyframe{.id = idOf(1), .property = y, .time = 1}}};
    const UUID id = upsertKeyframe(layer, x, 1, 5.0);
    ASSERT_EQ(layer.keyframes.size(), 2u);
    EXPECT_EQ(layer.keyframes[1], (Keyframe{.id = id, .property = x, .time = 1, .value = 5.0}));
}

TEST(KeyframeUpsert, WhereOneStandsItsEasingAndWaitAreKeptAndItsValueReplaced)
{
    Layer layer{
        .keyframes = {Keyframe{.id = idOf(1), .property = x, .time = 1, .value = 2.0, .easing = Easing::linear(), .wait = 0.7},
                      Keyframe{.id = idOf(2), .property = x, .time = 2}}};
    const UUID id = upsertKeyframe(layer, x, 1.0005, 5.0);
    ASSERT_EQ(layer.keyframes.size(), 2u);
    EXPECT_EQ(layer.keyframes[0].id, idOf(2));
    EXPECT_EQ(layer.keyframes[1],
              (Keyframe{.id = id, .property = x, .time = 1.0005, .value = 5.0, .easing = Easing::linear(), .wait = 0.7}));
}

TEST(KeyframeUpsert, OnlyKeyframesStrictlyWithinAThousandthAreReplaced)
{
    struct Case {
        const char* where;
        double time;
        std::size_t left;
    };
    for (const Case& c : {Case{"just within, before", -0.00099, 1}, Case{"just within, after", 0.00099, 1},
                          Case{"a thousandth away", 0.001, 2}, Case{"farther", -0.002, 2}}) {
        SCOPED_TRACE(c.where);
        Layer layer{.keyframes = {Keyframe{.property = x, .time = c.time}}};
        upsertKeyframe(layer, x, 0, 5.0);
        EXPECT_EQ(layer.keyframes.size(), c.left);
    }
}

TEST(KeyframeUpsert, OfSeveralAtOneTimeTheFirstOneGivesEasingAndWait)
{
    Layer layer{.keyframes = {Keyframe{.property = x, .time = 1.0004, .wait = 1}, Keyframe{.property = x, .time = 1, .wait = 2}}};
    upsertKeyframe(layer, x, 1, 5.0);
    ASSERT_EQ(layer.keyframes.size(), 1u);
    EXPECT_EQ(layer.keyframes[0].wait, 1);
}

} // namespace
} // namespace larkspool
