#include "timeline/keyframe_tracks.h"

#include "evaluation/interpolation.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace larkspool {
namespace {

using enum Keyframe::AnimatableProperty;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// The layers of these tests share ids, so that what was evaluated for one test must not serve the next.
class KeyframeTracksTest : public testing::Test {
protected:
    KeyframeTracksTest() { Interpolation::invalidate(); }
};
using AddKeyframe = KeyframeTracksTest;
using AddKeyframes = KeyframeTracksTest;

Keyframe numberAt(std::uint64_t id, Keyframe::AnimatableProperty property, double time, double value)
{
    return {.id = idOf(id), .property = property, .time = time, .value = value, .easing = Easing::linear()};
}

/// The keyframe of the property at the time, if there is exactly one.
const Keyframe* onlyAt(const Layer& layer, Keyframe::AnimatableProperty property, double time)
{
    const Keyframe* found = nullptr;
    for (const Keyframe& keyframe : layer.keyframes) {
        if (keyframe.property != property || keyframe.time != time) continue;
        if (found) return nullptr;
        found = &keyframe;
    }
    return found;
}

TEST_F(KeyframeTracksTest, EachAnimatedPropertyHasARowSortedByTheNamesInFiles)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {numberAt(1, y, 2, 0),          numberAt(2, x, 5, 0),      numberAt(3, opacity, 0, 1),
                       numberAt(4, x, 1, 0),          numberAt(5, scaleX, 1, 1), numberAt(6, cornerRadius, 1, 1),
                       numberAt(7, lineArcBend, 1, 1)};
    using Row = KeyframeTracks::Row;
    EXPECT_EQ(KeyframeTracks::rows(layer),
              (std::vector{Row{cornerRadius, {idOf(6)}}, Row{lineArcBend, {idOf(7)}}, Row{opacity, {idOf(3)}},
                           Row{scaleX, {idOf(5)}}, Row{x, {idOf(2), idOf(4)}}, Row{y, {idOf(1)}}}))
        << "by the labels, Bend would come first";
    EXPECT_TRUE(KeyframeTracks::rows(Layer{}).empty());
}

TEST_F(KeyframeTracksTest, AWaitAboveAThousandthHasATailWhoseHandleStandsAtItsEnd)
{
    const TrackMapping mapping{.left = 100, .width = 1000, .start = 2, .visibleSeconds = 10};
    EXPECT_EQ(KeyframeTracks::waitTail(idOf(1), keyframeOf(12, 3, 1.5), mapping),
              (KeyframeTracks::WaitTail{TimelineItemRef::waitTail(idOf(1), idOf(12)), 200, 350}));
    struct Case {
        double wait;
        bool offered;
    };
    for (const Case& c : {Case{0.0011, true}, Case{0.001, false}, Case{0.0005, false}, Case{0, false}, Case{-1, false}}) {
        SCOPED_TRACE(c.wait);
        EXPECT_EQ(KeyframeTracks::offersWaitTail(keyframeOf(12, 3, c.wait)), c.offered);
        EXPECT_EQ(KeyframeTracks::waitTail(idOf(1), keyframeOf(12, 3, c.wait), mapping).has_value(), c.offered);
    }
    EXPECT_EQ(KeyframeTracks::waitTail(idOf(1), keyframeOf(12, 3, 1), {.width = 0, .visibleSeconds = 10}), std::nullopt);
}

TEST_F(KeyframeTracksTest, WritingATimeChangesNothingElse)
{
    const Keyframe first{.id = idOf(1), .property = x, .time = 1, .value = 7.0, .easing = Easing::linear(), .wait = 0.5};
    Layer layer{.id = idOf(1), .keyframes = {first, keyframeOf(2, 3)}};
    Keyframe moved = first;
    moved.time = 4;
    EXPECT_TRUE(KeyframeTracks::setKeyframeTime(layer, idOf(1), 4));
    EXPECT_EQ(layer.keyframes, (Array<Keyframe>{moved, keyframeOf(2, 3)})) << "it stays first in the list";

    TweenScene scene = sceneOf({Layer{.id = idOf(4), .kind = Layer::Kind::group, .children = {layer}}});
    EXPECT_TRUE(KeyframeTracks::setKeyframeTimeIn(scene, idOf(1), idOf(2), 5));
    EXPECT_EQ(findLayer(scene, idOf(1))->keyframes, (Array<Keyframe>{moved, keyframeOf(2, 5)}));
}

TEST_F(KeyframeTracksTest, ATimeThatIsNoNumberAndADeadReferenceWriteNothing)
{
    const TweenScene before = sceneOf({Layer{.id = idOf(1), .keyframes = {keyframeOf(2, 3)}}});
    TweenScene scene = before;
    EXPECT_FALSE(KeyframeTracks::setKeyframeTimeIn(scene, idOf(1), idOf(2), nan));
    EXPECT_FALSE(KeyframeTracks::setKeyframeTimeIn(scene, idOf(1), idOf(9), 1));
    EXPECT_FALSE(KeyframeTracks::setKeyframeTimeIn(scene, idOf(9), idOf(2), 1));
    EXPECT_TRUE(scene.layers.sharesStorageWith(before.layers));
}

TEST_F(KeyframeTracksTest, AKeyframeDraggedAcrossAnotherKeepsItsPlaceInTheListAndIsEvaluatedByTime)
{
    const TweenScene before = sceneOf({Layer{.id = idOf(1), .keyframes = {numberAt(1, x, 2, 0), numberAt(2, x, 4, 100)}}});
    Hand hand(TimelineItemRef::keyframe(idOf(1), idOf(1)), DragHandle::body, settingOf(before));
    hand.to(300);
    const Layer& layer = *findLayer(hand.scene, idOf(1));
    EXPECT_EQ(layer.keyframes, (Array<Keyframe>{numberAt(1, x, 5, 0), numberAt(2, x, 4, 100)}));
    EXPECT_DOUBLE_EQ(Interpolation::resolve(layer, 4.5).transform.x, 50) << "from 100 at 4 to 0 at 5";
}

TEST_F(AddKeyframe, PinsTheValueThatThePropertyHasAtThePlayhead)
{
    Layer layer{.id = idOf(1), .keyframes = {numberAt(1, x, 0, 0), numberAt(2, x, 10, 100)}};
    layer.fill = {1, 0, 0.5, 1};
    const TweenScene scene = sceneOf({Layer{.id = idOf(4), .kind = Layer::Kind::group, .children = {layer}}});
    struct Case {
        Keyframe::AnimatableProperty property;
        KeyValue value;
        std::string name;
    };
    for (const Case& c :
         {Case{x, 30.0, "Add X Keyframe"}, Case{scaleX, 1.0, "Add Scale X Keyframe"},
          Case{fill, ColorRGBA{1, 0, 0.5, 1}, "Add Fill Keyframe"}, Case{fontName, SharedString(), "Add Font Keyframe"}}) {
        SCOPED_TRACE(c.name);
        const std::optional<Edit> edit = addKeyframeAtPlayhead(scene, idOf(1), c.property, 3);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, c.name);
        const Layer& edited = *findLayer(edit->scene, idOf(1));
        ASSERT_EQ(edited.keyframes.size(), 3u);
        const Keyframe& added = edited.keyframes.back();
        EXPECT_EQ(added, (Keyframe{.id = added.id, .property = c.property, .time = 3, .value = c.value}));
    }
}

TEST_F(AddKeyframe, WhereOneStandsItReplacesTheValueAndKeepsEasingAndWait)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {{.id = idOf(1), .property = x, .time = 2, .value = 10.0, .easing = Easing::linear(), .wait = 0.7},
                       numberAt(2, x, 4, 20),
                       numberAt(3, y, 2, 0)};
    const std::optional<Edit> edit = addKeyframeAtPlayhead(sceneOf({layer}), idOf(1), x, 2.0009);
    ASSERT_TRUE(edit);
    const Array<Keyframe>& keyframes = findLayer(edit->scene, idOf(1))->keyframes;
    ASSERT_EQ(keyframes.size(), 3u);
    EXPECT_EQ(keyframes[0].id, idOf(2));
    EXPECT_EQ(keyframes[1].id, idOf(3));
    const Keyframe& added = keyframes[2];
    EXPECT_EQ(added, (Keyframe{.id = added.id,
                               .property = x,
                               .time = 2.0009,
                               .value = 10.0, // Still within the hold.
                               .easing = Easing::linear(),
                               .wait = 0.7}));

    const std::optional<Edit> beside = addKeyframeAtPlayhead(sceneOf({layer}), idOf(1), x, 2.0011);
    EXPECT_EQ(findLayer(beside->scene, idOf(1))->keyframes.size(), 4u) << "farther than a thousandth away";
}

TEST_F(AddKeyframe, NothingIsAddedToALayerThatIsNotThereOrAtNoTime)
{
    const TweenScene scene = sceneOf({Layer{.id = idOf(1)}});
    EXPECT_FALSE(addKeyframeAtPlayhead(scene, idOf(9), x, 1));
    EXPECT_FALSE(addKeyframeAtPlayhead(scene, idOf(1), x, nan));
    EXPECT_FALSE(addKeyframesAtPlayhead(scene, {idOf(9)}, 1));
    EXPECT_FALSE(addKeyframesAtPlayhead(scene, {}, 1));
    EXPECT_FALSE(addKeyframesAtPlayhead(scene, {idOf(1)}, nan));
}

TEST_F(AddKeyframes, PinTheBoxOfAZoomAndNinePropertiesOfOtherLayers)
{
    Layer box{.id = idOf(1), .opacity = 0.5, .shadow = ShadowPreset::medium};
    box.transform = {.x = 10, .y = 20, .rotation = 30, .scaleX = 2, .scaleY = 3};
    box.size = {100, 50};
    box.keyframes = {numberAt(1, x, 0, 0), numberAt(2, x, 10, 100)};
    Layer zoom{.id = idOf(2), .kind = Layer::Kind::zoom};
    zoom.transform = {.x = 1, .y = 2, .rotation = 5};
    zoom.size = {640, 360};
    const std::optional<Edit> edit = addKeyframesAtPlayhead(sceneOf({box, zoom}), {idOf(1), idOf(2)}, 4);
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Add Keyframes");

    struct Case {
        std::uint64_t layer;
        Keyframe::AnimatableProperty property;
        KeyValue value;
    };
    for (const Case& c :
         {Case{1, x, 40.0}, Case{1, y, 20.0}, Case{1, rotation, 30.0}, Case{1, scaleX, 2.0}, Case{1, scaleY, 3.0},
          Case{1, width, 100.0}, Case{1, height, 50.0}, Case{1, opacity, 0.5}, Case{1, shadow, ShadowPreset::medium},
          Case{2, x, 1.0}, Case{2, y, 2.0}, Case{2, width, 640.0}, Case{2, height, 360.0}}) {
        SCOPED_TRACE(std::string(displayName(c.property)));
        const Keyframe* added = onlyAt(*findLayer(edit->scene, idOf(c.layer)), c.property, 4);
        ASSERT_TRUE(added);
        EXPECT_EQ(added->value, c.value);
    }
    EXPECT_EQ(findLayer(edit->scene, idOf(1))->keyframes.size(), 2u + 9u);
    EXPECT_EQ(findLayer(edit->scene, idOf(2))->keyframes.size(), 4u);
}

TEST_F(AddKeyframes, GoToTheListedLayersAndNotToThoseBelow)
{
    const Layer child{.id = idOf(2)}, sibling{.id = idOf(3)};
    const TweenScene scene =
        sceneOf({Layer{.id = idOf(1), .kind = Layer::Kind::group, .children = {child, sibling}}, Layer{.id = idOf(4)}});
    const std::optional<Edit> edit = addKeyframesAtPlayhead(scene, {idOf(1), idOf(3), idOf(99)}, 4);
    ASSERT_TRUE(edit);
    EXPECT_EQ(findLayer(edit->scene, idOf(1))->keyframes.size(), 9u);
    EXPECT_EQ(findLayer(edit->scene, idOf(3))->keyframes.size(), 9u);
    EXPECT_TRUE(findLayer(edit->scene, idOf(2))->keyframes.empty());
    EXPECT_TRUE(findLayer(edit->scene, idOf(4))->keyframes.empty());
}

TEST_F(AddKeyframes, AddedTwiceTheyTakeTheirOwnPlaces)
{
    const TweenScene scene = sceneOf({Layer{.id = idOf(1)}});
    const std::optional<Edit> once = addKeyframesAtPlayhead(scene, {idOf(1)}, 4);
    Interpolation::invalidate();
    const std::optional<Edit> twice = addKeyframesAtPlayhead(once->scene, {idOf(1)}, 4);
    EXPECT_EQ(findLayer(twice->scene, idOf(1))->keyframes.size(), 9u);
}

TEST_F(KeyframeTracksTest, AllTimesAreThoseOfTheShownLayersWithAllBelowThemOnceEach)
{
    const Layer child{.id = idOf(2), .keyframes = {keyframeOf(21, 5), keyframeOf(22, 1)}};
    EditorState state;
    state.document.setScene(
        sceneOf({Layer{.id = idOf(1), .kind = Layer::Kind::group, .children = {child}, .keyframes = {keyframeOf(11, 3)}},
                 Layer{.id = idOf(3), .keyframes = {keyframeOf(31, 5), keyframeOf(32, 4)}},
                 Layer{.id = idOf(4), .keyframes = {keyframeOf(41, 7)}}}));
    struct Case {
        const char* shown;
        LayerIDs selected, pinned;
        std::vector<double> times;
    };
    for (const Case& c : {Case{"a group and what is in it", {idOf(1)}, {}, {1, 3, 5}},
                          Case{"a pinned layer too", {idOf(1)}, {idOf(3)}, {1, 3, 4, 5}},
                          Case{"none in detail: the whole scene", {}, {}, {1, 3, 4, 5, 7}}}) {
        SCOPED_TRACE(c.shown);
        state.selectedLayerIDs = c.selected;
        state.timelinePinnedLayerIDs = c.pinned;
        EXPECT_EQ(allKeyframeTimes(state), c.times);
    }
}

} // namespace
} // namespace larkspool
