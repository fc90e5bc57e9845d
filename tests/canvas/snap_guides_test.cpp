#include "canvas/snap_guides.h"

#include "canvas/canvas_hand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::ElementsAre;

std::vector<std::string> labels(const std::vector<SnapTarget>& targets)
{
    std::vector<std::string> all;
    for (const SnapTarget& target : targets) all.push_back(target.label);
    return all;
}

std::vector<double> values(const std::vector<SnapTarget>& targets)
{
    std::vector<double> all;
    for (const SnapTarget& target : targets) all.push_back(target.value);
    return all;
}

Layer named(Layer layer, const char* name)
{
    layer.name = SharedString(name);
    return layer;
}

/// Whether the layer is among the targets of a scene that holds it.
bool offers(const Layer& layer, double time = 0, const LayerIDs& excluded = {})
{
    return cacheSnapTargets(canvasOf({layer}), excluded, time).x.size() > 3;
}

TEST(SnapTargets, TheSceneComesFirstThenItsLayers)
{
    const SnapTargets targets = cacheSnapTargets(canvasOf({named(box(1, 100, 50, 40, 20), "Card")}), {}, 0);
    EXPECT_THAT(labels(targets.x), ElementsAre("Scene · left", "Scene · center", "Scene · right", "Card · left", "Card · center",
                                               "Card · right"));
    EXPECT_THAT(labels(targets.y), ElementsAre("Scene · top", "Scene · middle", "Scene · bottom", "Card · top", "Card · middle",
                                               "Card · bottom"));
    EXPECT_THAT(values(targets.x), ElementsAre(0, 400, 800, 100, 120, 140));
    EXPECT_THAT(values(targets.y), ElementsAre(0, 300, 600, 50, 60, 70));
    EXPECT_FALSE(targets.x[2].fromLayer);
    EXPECT_TRUE(targets.x[3].fromLayer);
}

TEST(SnapTargets, WhatIsSelectedHiddenOutsideItsSpansRotatedOrAFullScreenZoomOffersNone)
{
    EXPECT_TRUE(offers(box(1, 0, 0, 10, 10)));
    EXPECT_FALSE(offers(box(1, 0, 0, 10, 10), 0, {idOf(1)}));

    Layer hidden = box(1, 0, 0, 10, 10);
    hidden.isHidden = true;
    EXPECT_FALSE(offers(hidden));

    Layer later = box(1, 0, 0, 10, 10);
    later.spans = {TimeSpan{.start = 1, .end = 2}};
    EXPECT_FALSE(offers(later, 0.5));
    EXPECT_TRUE(offers(later, 1));

    Layer turned = box(1, 0, 0, 10, 10);
    turned.transform.rotation = -0.001;
    EXPECT_FALSE(offers(turned));
    turned.transform.rotation = 0.0009;
    EXPECT_TRUE(offers(turned));

    Layer zoom = box(1, 0, 0, 10, 10);
    zoom.kind = Layer::Kind::zoom;
    EXPECT_FALSE(offers(zoom));
    zoom.zoomType = ZoomType::pictureInPicture;
    EXPECT_TRUE(offers(zoom));
    EXPECT_FALSE(offers(groupAt(1, 0, 0, {}))) << "a group that covers nothing";
}

TEST(SnapTargets, ADynamicGroupOffersWhatItCoversScaledAboutItsMiddle)
{
    Layer group = groupAt(1, 10, 10, {box(2, 0, 0, 100, 100)});
    group.transform.scaleX = 2;
    const SnapTargets targets = cacheSnapTargets(canvasOf({group}), {}, 0);
    EXPECT_THAT(values(targets.x), ElementsAre(0, 400, 800, -40, 60, 160));
    EXPECT_THAT(values(targets.y), ElementsAre(0, 300, 600, 10, 60, 110));
}

TEST(SnapTargets, AMirroredGroupHasItsLeftWhereItIsSeen)
{
    Layer group = named(groupAt(1, 10, 10, {box(2, 0, 0, 100, 100)}), "Pair");
    group.transform.scaleX = -2; // From -40 to 160, as with a scale of 2.
    Interpolation::invalidate();
    const SnapTargets targets = cacheSnapTargets(canvasOf({group}), {}, 0);
    EXPECT_THAT(values(targets.x), ElementsAre(0, 400, 800, -40, 60, 160));
    EXPECT_EQ(targets.x[3].label, "Pair · left");
}

TEST(SnapTargets, AFixedGroupOffersItsOwnBox)
{
    Layer group = groupAt(1, 10, 20, {box(2, 300, 300, 10, 10)});
    group.groupSizeMode = GroupSizeMode::fixed;
    Interpolation::invalidate();
    const SnapTargets targets = cacheSnapTargets(canvasOf({group}), {}, 0);
    EXPECT_THAT(values(targets.x), ElementsAre(0, 400, 800, 10, 110, 210));
    EXPECT_THAT(values(targets.y), ElementsAre(0, 300, 600, 20, 120, 220));
}

TEST(SnapTargets, PlacesAndRotationsAreThoseAtThePlayhead)
{
    Layer moving = box(1, 0, 0, 100, 100);
    addKeyframe(moving, Keyframe::AnimatableProperty::x, 0, 30);
    addKeyframe(moving, Keyframe::AnimatableProperty::x, 1, 300);
    Interpolation::invalidate();
    EXPECT_THAT(values(cacheSnapTargets(canvasOf({moving}), {}, 1).x), ElementsAre(0, 400, 800, 300, 350, 400));

    Layer turning = box(2, 0, 0, 10, 10);
    addKeyframe(turning, Keyframe::AnimatableProperty::rotation, 0, 0);
    addKeyframe(turning, Keyframe::AnimatableProperty::rotation, 1, 90);
    EXPECT_TRUE(offers(turning, 0));
    EXPECT_FALSE(offers(turning, 1));
}

TEST(SnapGuides, TheRadiusIsSixPointsOfTheView)
{
    EXPECT_EQ(snapRadius({.scale = 1}), 6);
    EXPECT_EQ(snapRadius({.scale = 0.5}), 12);
    EXPECT_EQ(snapRadius({.scale = 2}), 3);
    EXPECT_DOUBLE_EQ(snapRadius({.scale = 0.0005}), 6000);
}

TEST(SnapGuides, TheSmallestDifferenceCatches)
{
    const std::vector<SnapTarget> targets{{.value = 100}, {.value = 203}};
    struct Case {
        const char* what;
        SnapEdges edges;
        double delta, caughtDelta;
        std::optional<std::size_t> target;
    };
    for (const Case& c : {Case{"low edge within", {0, 25, 50}, 96, 100, 0}, Case{"at the radius", {0, 25, 50}, 94, 100, 0},
                          Case{"beyond it", {0, 25, 50}, 93.9, 93.9, std::nullopt},
                          Case{"the middle is nearer than the low edge", {0, 105, 300}, 97, 98, 1},
                          Case{"the high edge, from beyond", {0, 25, 50}, 55, 50, 0},
                          Case{"low before high in a tie", {100, 150, 203}, 2, 0, 0}}) {
        SCOPED_TRACE(c.what);
        const SnapCatch found = caught(c.edges, c.delta, targets, 6);
        EXPECT_DOUBLE_EQ(found.delta, c.caughtDelta);
        EXPECT_EQ(found.target, c.target ? &targets[*c.target] : nullptr);
    }
}

TEST(SnapGuides, OfTwoTargetsAtOneDistanceTheEarlierStays)
{
    const std::vector<SnapTarget> targets{{.value = 104}, {.value = 96}};
    EXPECT_EQ(caught({0, 500, 1000}, 100, targets, 6).target, &targets[0]);
    // The low edge is 3 short of the second target, the high edge 3 beyond the first: the low edge comes first.
    EXPECT_EQ(caught({93, 200, 107}, 0, targets, 6).target, &targets[1]);
}

} // namespace
} // namespace larkspool
