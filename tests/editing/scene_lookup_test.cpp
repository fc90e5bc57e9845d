#include "editing/scene_lookup.h"

#include "editing/editing_fixture.h"

#include <gtest/gtest.h>

#include <string>

namespace larkspool {
namespace {

/// outer(1) holds inner(2), which holds leaf(3); beside it a video(4).
TweenScene tree()
{
    Layer leaf{.id = idOf(3)};
    leaf.keyframes = {Keyframe{.id = idOf(30), .time = 1, .wait = 0.5}};
    leaf.spans = {TimeSpan{.id = idOf(31), .start = 2, .end = 3}};
    leaf.pulses = {Pulse{.id = idOf(32), .time = 4}};
    const Layer inner{.id = idOf(2), .kind = Layer::Kind::group, .children = {leaf}};
    const Layer outer{.id = idOf(1), .kind = Layer::Kind::group, .children = {inner}};
    Layer video{.id = idOf(4), .kind = Layer::Kind::video};
    video.videoClip = {.sceneStart = 5, .sceneEnd = 6};
    TweenScene scene;
    scene.layers = {outer, video};
    return scene;
}

TEST(SceneLookup, TheWalkVisitsParentsBeforeTheirChildrenInTheOrderOfTheLists)
{
    std::string order;
    walkLayers(tree().layers, [&](const Layer& layer) { order += std::to_string(layer.id.low); });
    EXPECT_EQ(order, "1234");
}

TEST(SceneLookup, FindsRecordsAtAnyDepthAndNothingElse)
{
    const TweenScene scene = tree();
    EXPECT_EQ(findLayer(scene, idOf(3))->id, idOf(3));
    EXPECT_EQ(findKeyframe(scene, idOf(3), idOf(30))->time, 1);
    EXPECT_EQ(findSpan(scene, idOf(3), idOf(31))->end, 3);
    EXPECT_EQ(findPulse(scene, idOf(3), idOf(32))->time, 4);
    EXPECT_EQ(findVideoClip(scene, idOf(4))->sceneStart, 5);

    EXPECT_EQ(findLayer(scene, idOf(9)), nullptr);
    EXPECT_EQ(findKeyframe(scene, idOf(2), idOf(30)), nullptr) << "an item belongs to its layer";
    EXPECT_EQ(findSpan(scene, idOf(3), idOf(30)), nullptr);
    EXPECT_EQ(findVideoClip(scene, idOf(3)), nullptr) << "only a video has a clip";
}

TEST(SceneLookup, EditingPartsOnlyTheListsOnTheWay)
{
    const TweenScene before = tree();
    TweenScene scene = before;
    editSpan(scene, idOf(3), idOf(31))->end = 9;
    EXPECT_EQ(findSpan(scene, idOf(3), idOf(31))->end, 9);
    EXPECT_EQ(findSpan(before, idOf(3), idOf(31))->end, 3);
    EXPECT_TRUE(findLayer(scene, idOf(3))->keyframes.sharesStorageWith(findLayer(before, idOf(3))->keyframes));
}

TEST(SceneLookup, EditingWhatIsNotThereLeavesEverythingShared)
{
    const TweenScene before = tree();
    TweenScene scene = before;
    EXPECT_EQ(editLayer(scene, idOf(9)), nullptr);
    EXPECT_EQ(editKeyframe(scene, idOf(3), idOf(99)), nullptr);
    EXPECT_EQ(editSpan(scene, idOf(9), idOf(31)), nullptr);
    EXPECT_EQ(editPulse(scene, idOf(2), idOf(32)), nullptr);
    EXPECT_EQ(editVideoClip(scene, idOf(3)), nullptr);
    EXPECT_TRUE(scene.layers.sharesStorageWith(before.layers));
}

TEST(SceneLookup, EveryKindOfReferenceHasItsTimes)
{
    const TweenScene scene = tree();
    EXPECT_EQ(timesOf(scene, TimelineItemRef::keyframe(idOf(3), idOf(30))), (ItemTimes{1, 1}));
    EXPECT_EQ(timesOf(scene, TimelineItemRef::waitTail(idOf(3), idOf(30))), (ItemTimes{1, 1.5}));
    EXPECT_EQ(timesOf(scene, TimelineItemRef::span(idOf(3), idOf(31))), (ItemTimes{2, 3}));
    EXPECT_EQ(timesOf(scene, TimelineItemRef::pulse(idOf(3), idOf(32))), (ItemTimes{4, 4}));
    EXPECT_EQ(timesOf(scene, TimelineItemRef::videoClip(idOf(4))), (ItemTimes{5, 6}));
    EXPECT_EQ(timesOf(scene, TimelineItemRef::pulse(idOf(3), idOf(31))), std::nullopt);
    EXPECT_EQ(timesOf(scene, TimelineItemRef::videoClip(idOf(3))), std::nullopt);
    EXPECT_EQ(timesOf(scene, TimelineItemRef::span(idOf(9), idOf(31))), std::nullopt);
}

TEST(SceneLookup, TheItemsOfALayerAreVisitedWithTheTimesThatALookUpGives)
{
    const TweenScene scene = tree();
    for (const UUID& id : {idOf(3), idOf(4)}) {
        std::size_t visited = 0;
        walkItems(*findLayer(scene, id), [&](const TimelineItemRef& ref, ItemTimes times, std::size_t) {
            ++visited;
            EXPECT_EQ(timesOf(scene, ref), times);
        });
        EXPECT_EQ(visited, id == idOf(3) ? 4u : 1u);
    }
}

TEST(SceneLookup, AncestorsComeFromTheInside)
{
    EXPECT_EQ(ancestorsOf(tree(), idOf(3)), (std::vector<UUID>{idOf(2), idOf(1)}));
    EXPECT_TRUE(ancestorsOf(tree(), idOf(1)).empty());
    EXPECT_TRUE(ancestorsOf(tree(), idOf(9)).empty());
}

TEST(SceneLookup, LayersExpandToTheirDescendants)
{
    EXPECT_EQ(expandedByDescendants(tree(), {idOf(2), idOf(4), idOf(9)}), (LayerIDs{idOf(2), idOf(3), idOf(4)}));
    EXPECT_TRUE(expandedByDescendants(tree(), {}).empty());
}

TEST(LayerIndex, LeadsToTheLayersOfLaterStatesOfTheScene)
{
    const TweenScene before = tree();
    const LayerIndex index(before);
    EXPECT_EQ(index.size(), 4u);
    TweenScene scene = before;
    index.edit(scene, idOf(3))->opacity = 0.5;
    EXPECT_EQ(index.find(scene, idOf(3))->opacity, 0.5);
    EXPECT_EQ(index.find(before, idOf(3))->opacity, 1);
    EXPECT_EQ(index.find(scene, *index.placeOf(idOf(4)))->id, idOf(4));
}

TEST(LayerIndex, SearchesForALayerThatHasMovedAndMissesOneThatIsGone)
{
    const LayerIndex index(tree());
    TweenScene scene = tree();
    auto& layers = scene.layers.edit();
    std::swap(layers[0], layers[1]);
    EXPECT_EQ(index.find(scene, idOf(3))->id, idOf(3));
    EXPECT_EQ(index.edit(scene, idOf(3))->id, idOf(3));

    scene.layers = {};
    EXPECT_EQ(index.find(scene, idOf(3)), nullptr);
    EXPECT_EQ(index.edit(scene, idOf(3)), nullptr);
    EXPECT_EQ(index.find(scene, idOf(77)), nullptr);
}

TEST(LayerIndex, OfLayersWithOneIdItLeadsToTheFirst)
{
    TweenScene scene;
    scene.layers = {Layer{.id = idOf(1), .opacity = 0.25}, Layer{.id = idOf(1), .opacity = 0.75}};
    EXPECT_EQ(LayerIndex(scene).find(scene, idOf(1))->opacity, 0.25);
    EXPECT_EQ(findLayer(scene, idOf(1))->opacity, 0.25);
}

} // namespace
} // namespace larkspool
