#include "canvas/layer_tree_operations.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

using Kind = Layer::Kind;
using Property = Keyframe::AnimatableProperty;

TEST(Group, TakesTheMembersInTheirOrderToWhereTheTopmostStood)
{
    struct Case {
        const char* what;
        const char* members;
        const char* tree;
    };
    for (const Case& c : {Case{"one", "b", "a Group(b) c d e"}, Case{"neighbours", "bc", "a Group(b c) d e"},
                          Case{"apart", "bd", "a c Group(b d) e"}, Case{"the ends", "ae", "b c d Group(a e)"},
                          Case{"all", "abcde", "Group(a b c d e)"}}) {
        SCOPED_TRACE(c.what);
        const auto edit =
            groupSelection(sceneHolding({layerNamed('a'), layerNamed('b'), layerNamed('c'), layerNamed('d'), layerNamed('e')}),
                           idsNamed(c.members));
        EXPECT_EQ(treeOf(edit), c.tree);
        EXPECT_EQ(edit->actionName, "Group");
        EXPECT_EQ(selectedIn(edit), "Group");
    }
}

TEST(Group, IsClearAndStandsAtTheOriginAndItsMembersStay)
{
    const TweenScene scene = sceneHolding({layerNamed('a', {{5, 6}, {7, 8}}), layerNamed('b')});
    const auto edit = groupSelection(scene, idsNamed("ab"));
    const Layer& group = edit.value().scene.layers[0];
    EXPECT_EQ(group.kind, Kind::group);
    EXPECT_EQ(group.fill, ColorRGBA::clear);
    EXPECT_EQ(group.transform, Transform{});
    EXPECT_EQ(group.children, scene.layers);
}

TEST(Group, WorksInTheListThatHoldsAllMembers)
{
    const TweenScene scene =
        sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b'), layerNamed('c'), layerNamed('d')})});
    EXPECT_EQ(treeOf(groupSelection(scene, idsNamed("bd"))), "a g(c Group(b d))");
    EXPECT_TRUE(canGroupSelection(scene, idsNamed("bd")));
}

TEST(Group, MembersOfDifferentListsMakeNoGroup)
{
    const TweenScene scene = sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b')})});
    for (const char* members : {"ab", "gb", "", "az", "z"}) {
        EXPECT_FALSE(groupSelection(scene, idsNamed(members))) << members;
        EXPECT_FALSE(canGroupSelection(scene, idsNamed(members))) << members;
    }
}

TEST(Group, GoesNoDeeperThanAFileAllows)
{
    Layer chain = layerNamed('a');
    for (std::size_t level = 2; level <= deepestLayerNesting; ++level) chain = groupNamed(level == 2 ? 'b' : 'g', {chain});
    chain.id = idNamed('r');
    const TweenScene deepest = sceneHolding({chain});
    EXPECT_NO_THROW(encodedJson(deepest));
    EXPECT_FALSE(groupSelection(deepest, idsNamed("r"))) << "around all";
    EXPECT_FALSE(groupSelection(deepest, idsNamed("a"))) << "at the bottom";

    const auto edit = groupSelection(sceneHolding({chain.children[0]}), LayerIDs{chain.children[0].id});
    ASSERT_TRUE(edit) << "a level is left";
    EXPECT_NO_THROW(encodedJson(edit->scene));
}

TEST(Ungroup, TheChildrenTakeTheGroupsPlaceAndAreSelected)
{
    const TweenScene scene =
        sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b'), layerNamed('c')}), layerNamed('d')});
    const auto edit = ungroupSelection(scene, idsNamed("g"), 0);
    EXPECT_EQ(treeOf(edit), "a b c d");
    EXPECT_EQ(edit->actionName, "Ungroup");
    EXPECT_EQ(selectedIn(edit), "b c");
}

TEST(Ungroup, ThePlaceGoesIntoTheChildren)
{
    const TweenScene scene = sceneHolding({groupNamed('g', {layerNamed('a', {{5, 6}, {10, 10}})}, {100, 200})});
    EXPECT_EQ(after(ungroupSelection(scene, idsNamed("g"), 0), 'a').transform, (Transform{.x = 105, .y = 206}));
}

TEST(Ungroup, ScaleAndRotationGoAboutTheMiddleOfTheChildren)
{
    // The children cover (0, 0, 40, 20): the middle is (20, 10).
    const Layer a = layerNamed('a', {{0, 0}, {20, 20}}), b = layerNamed('b', {{20, 0}, {20, 20}});
    Layer group = groupNamed('g', {a, b}, {100, 0});
    group.transform.scaleX = 2;
    group.transform.scaleY = 3;
    const auto scaled = ungroupSelection(sceneHolding({group}), idsNamed("g"), 0);
    // The middle of a at (10, 10) goes to 20 + 2 * (10 - 20) = 0, that of b to 40, both 100 further; the box begins 10 before.
    EXPECT_EQ(after(scaled, 'a').transform, (Transform{.x = 90, .y = 0, .scaleX = 2, .scaleY = 3}));
    EXPECT_EQ(after(scaled, 'b').transform, (Transform{.x = 130, .y = 0, .scaleX = 2, .scaleY = 3}));

    group.transform.scaleX = group.transform.scaleY = 1;
    group.transform.rotation = 90;
    const auto turned = ungroupSelection(sceneHolding({group}), idsNamed("g"), 0);
    // (-10, 0) from the middle turns to (0, -10): the middle of a comes to (20, 0), 100 further.
    EXPECT_NEAR(after(turned, 'a').transform.x, 110, 1e-9);
    EXPECT_NEAR(after(turned, 'a').transform.y, -10, 1e-9);
    EXPECT_NEAR(after(turned, 'b').transform.x, 110, 1e-9);
    EXPECT_NEAR(after(turned, 'b').transform.y, 10, 1e-9);
    EXPECT_EQ(after(turned, 'a').transform.rotation, 90);
}

TEST(Ungroup, AStacksPlacesAndSizesAtThePlayheadStay)
{
    Layer a = layerNamed('a', {{20, 5}, {100, 40}}), b = layerNamed('b', {{0, 0}, {50, 100}});
    a.keyframes = {keyAt(Property::width, 0, 60)};
    Layer group = groupNamed('g', {a, b});
    group.groupLayout = GroupLayout::horizontal;
    group.groupAlignment = GroupAlignment::end;
    group.groupGap = 8;
    group.keyframes = {keyAt(Property::groupGap, 0, 10)};
    const auto edit = ungroupSelection(sceneHolding({group}), idsNamed("g"), 1);
    EXPECT_EQ(after(edit, 'a').transform, (Transform{.x = 20, .y = 65}));
    EXPECT_EQ(after(edit, 'a').size, (CGSize{60, 40}));
    EXPECT_EQ(after(edit, 'b').transform, (Transform{.x = 90, .y = 5}));
    EXPECT_EQ(after(edit, 'a').keyframes, a.keyframes);
}

TEST(Ungroup, TheGroupIsTakenAsItIsAtThePlayhead)
{
    Layer group = groupNamed('g', {layerNamed('a')});
    group.keyframes = {keyAt(Property::x, 0, 10), keyAt(Property::x, 2, 30)};
    group.keyframes.edit()[0].easing = Easing::linear();
    EXPECT_EQ(after(ungroupSelection(sceneHolding({group}), idsNamed("g"), 0), 'a').transform.x, 10);
    EXPECT_EQ(after(ungroupSelection(sceneHolding({group}), idsNamed("g"), 1), 'a').transform.x, 20);
    EXPECT_EQ(after(ungroupSelection(sceneHolding({group}), idsNamed("g"), 2), 'a').transform.x, 30);
}

TEST(Ungroup, TheMiddleOfTheChildrenIsThatAtThePlayhead)
{
    Layer a = layerNamed('a', {{0, 0}, {20, 20}}), b = layerNamed('b', {{20, 0}, {20, 20}});
    b.keyframes = {keyAt(Property::x, 0, 20), keyAt(Property::x, 2, 60)};
    Layer group = groupNamed('g', {a, b}, {100, 0});
    group.transform.scaleX = 2;
    // At 0 the children reach to 40 with their middle at 20: that of a goes from 10 to 0, and 100 further.
    EXPECT_EQ(after(ungroupSelection(sceneHolding({group}), idsNamed("g"), 0), 'a').transform.x, 90);
    // At 2 they reach to 80 with their middle at 40: that of a goes to -20, the stored one of b from 30 to 20.
    const auto edit = ungroupSelection(sceneHolding({group}), idsNamed("g"), 2);
    EXPECT_EQ(after(edit, 'a').transform, (Transform{.x = 70, .scaleX = 2}));
    EXPECT_EQ(after(edit, 'b').transform, (Transform{.x = 110, .scaleX = 2}));
    EXPECT_EQ(after(edit, 'b').keyframes, b.keyframes);
}

TEST(Ungroup, AStackIsTakenAsItIsAtThePlayhead)
{
    Layer a = layerNamed('a', {{20, 5}, {60, 40}}), b = layerNamed('b', {{0, 0}, {50, 40}});
    a.keyframes = {keyAt(Property::width, 0, 60), keyAt(Property::width, 2, 100)};
    Layer group = groupNamed('g', {a, b});
    group.groupLayout = GroupLayout::horizontal;
    group.keyframes = {keyAt(Property::groupGap, 0, 10), keyAt(Property::groupGap, 2, 30)};
    const auto start = ungroupSelection(sceneHolding({group}), idsNamed("g"), 0);
    EXPECT_EQ(after(start, 'a').size.width, 60);
    EXPECT_EQ(after(start, 'b').transform.x, 20 + 60 + 10);
    const auto end = ungroupSelection(sceneHolding({group}), idsNamed("g"), 2);
    EXPECT_EQ(after(end, 'a').size.width, 100);
    EXPECT_EQ(after(end, 'b').transform.x, 20 + 100 + 30);
}

TEST(Ungroup, AllButTransformAndSizeStaysAsStored)
{
    Layer child = layerNamed('a', {{5, 6}, {10, 10}});
    child.keyframes = {keyAt(Property::x, 0, 50), keyAt(Property::opacity, 0, 0.5)};
    child.opacity = 0.25;
    Layer group = groupNamed('g', {child}, {100, 0});
    group.opacity = 0.5;
    Layer expected = child;
    expected.transform.x = 105;
    EXPECT_EQ(after(ungroupSelection(sceneHolding({group}), idsNamed("g"), 0), 'a'), expected);
}

TEST(Ungroup, WhatIsSelectedBelowASelectedLayerStays)
{
    const Layer inner = groupNamed('h', {layerNamed('a')});
    EXPECT_EQ(treeOf(ungroupSelection(sceneHolding({groupNamed('g', {inner})}), idsNamed("gh"), 0)), "h(a)");

    Layer zoom = kindNamed('z', Kind::zoom);
    zoom.children = {inner};
    const TweenScene scene = sceneHolding({zoom, groupNamed('g', {layerNamed('b')})});
    EXPECT_EQ(treeOf(ungroupSelection(scene, idsNamed("zhg"), 0)), "z(h(a)) b");
    EXPECT_EQ(treeOf(ungroupSelection(scene, idsNamed("h"), 0)), "z(a) g(b)");
}

TEST(Ungroup, NoGroupNoEdit)
{
    const TweenScene scene = sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b')})});
    for (const char* selection : {"", "a", "b", "z"}) {
        EXPECT_FALSE(ungroupSelection(scene, idsNamed(selection), 0)) << selection;
        EXPECT_FALSE(canUngroupSelection(scene, idsNamed(selection))) << selection;
    }
    EXPECT_TRUE(canUngroupSelection(scene, idsNamed("ag")));
}

TEST(Ungroup, AnEmptyGroupGoesAndNothingIsSelected)
{
    Studio studio(sceneHolding({layerNamed('a'), groupNamed('g', {}), layerNamed('b')}), idsNamed("g"));
    ASSERT_TRUE(studio.perform(ungroupSelection(studio.scene(), studio.state.selectedLayerIDs, 0)));
    EXPECT_EQ(treeOf(studio.scene()), "a b");
    EXPECT_EQ(studio.selected(), "");
}

TEST(Ungroup, APlaceBeyondAllNumbersIsRefused)
{
    Layer group = groupNamed('g', {layerNamed('a', {{1e308, 0}, {10, 10}}), layerNamed('b')}, {1e308, 0});
    group.transform.scaleX = 1e300;
    EXPECT_FALSE(ungroupSelection(sceneHolding({group}), idsNamed("g"), 0));
}

TEST(Delete, RemovesLayersAtAnyDepthAndEmptiesTheSelection)
{
    struct Case {
        const char* selection;
        const char* tree;
        const char* action;
    };
    const Array<Layer> layers{layerNamed('a'), groupNamed('g', {layerNamed('b'), groupNamed('h', {layerNamed('c')})}),
                              layerNamed('d')};
    for (const Case& c :
         {Case{"a", "g(b h(c)) d", "Delete Layer"}, Case{"c", "a g(b h) d", "Delete Layer"}, Case{"gc", "a d", "Delete Layers"},
          Case{"abd", "g(h(c))", "Delete Layers"}, Case{"agd", "", "Delete Layers"}}) {
        SCOPED_TRACE(c.selection);
        Studio studio(sceneHolding(layers), idsNamed(c.selection));
        ASSERT_TRUE(studio.perform(deleteSelected(studio.scene(), studio.state.selectedLayerIDs)));
        EXPECT_EQ(treeOf(studio.scene()), c.tree);
        EXPECT_EQ(studio.manager.undoActionName(), c.action);
        EXPECT_EQ(studio.state.selectedLayerIDs, LayerIDs{});
    }
    EXPECT_FALSE(deleteSelected(sceneHolding(layers), {}));
    EXPECT_FALSE(deleteSelected(sceneHolding(layers), idsNamed("z")));
}

TEST(Delete, AViewOfAPictureInPictureGoesOnlyWithItsZoom)
{
    Layer view = layerNamed('v');
    view.pipRendition = true;
    Layer zoom = kindNamed('z', Kind::zoom);
    zoom.zoomType = ZoomType::pictureInPicture;
    zoom.children = {view};
    const TweenScene scene = sceneHolding({layerNamed('a'), zoom});
    int beeps = 0;
    const auto beep = [&] { ++beeps; };
    EXPECT_FALSE(deleteSelected(scene, idsNamed("v"), beep));
    EXPECT_FALSE(deleteSelected(scene, idsNamed("av"), beep));
    EXPECT_EQ(beeps, 2);
    EXPECT_FALSE(deleteSelected(scene, idsNamed("av"))) << "the layer panel is silent";
    EXPECT_EQ(treeOf(deleteSelected(scene, idsNamed("z"), beep)), "a");
    EXPECT_EQ(beeps, 2);
}

TEST(Toggles, AllTakeTheOppositeOfTheFirst)
{
    Layer shown = layerNamed('a'), hidden = layerNamed('b');
    hidden.isHidden = hidden.isLocked = true;
    const TweenScene shownFirst = sceneHolding({shown, groupNamed('g', {hidden})});
    const TweenScene hiddenFirst = sceneHolding({hidden, shown});
    struct Case {
        const char* what;
        std::optional<Edit> edit;
        const char* action;
        bool Layer::* flag;
        bool value;
    };
    for (const Case& c :
         {Case{"hide", toggleHideForSelection(shownFirst, idsNamed("ab")), "Hide Layers", &Layer::isHidden, true},
          Case{"show", toggleHideForSelection(hiddenFirst, idsNamed("ab")), "Show Layers", &Layer::isHidden, false},
          Case{"lock", toggleLockForSelection(shownFirst, idsNamed("ab")), "Lock Layers", &Layer::isLocked, true},
          Case{"unlock", toggleLockForSelection(hiddenFirst, idsNamed("ab")), "Unlock Layers", &Layer::isLocked, false}}) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(c.edit);
        EXPECT_EQ(c.edit->actionName, c.action);
        EXPECT_EQ(after(c.edit, 'a').*c.flag, c.value);
        EXPECT_EQ(after(c.edit, 'b').*c.flag, c.value);
    }
    EXPECT_FALSE(toggleHideForSelection(shownFirst, {}));
}

TEST(ResetTimeline, RemovesWhatIsTimedAndKeepsBaseValues)
{
    Layer a = layerNamed('a', {{5, 6}, {10, 10}}), b = layerNamed('b');
    const Layer plain = a;
    a.keyframes = {keyAt(Property::x, 1, 50)};
    a.spans = {TimeSpan{.end = 2}};
    a.pulses = {Pulse{}};
    b.pulses = {Pulse{}};
    const auto edit = resetTimelineForSelection(sceneHolding({a, b}), idsNamed("a"));
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Reset Timeline");
    EXPECT_EQ(after(edit, 'a'), plain);
    EXPECT_EQ(after(edit, 'b'), b);
    EXPECT_FALSE(resetTimelineForSelection(sceneHolding({plain}), idsNamed("a"))) << "nothing to reset";
    EXPECT_FALSE(resetTimelineForSelection(sceneHolding({a}), {}));
}

TEST(ResetTimeline, AVideoPlaysItsWholeSourceFromTheStart)
{
    Layer video = kindNamed('v', Kind::video);
    video.videoDuration = 8;
    video.videoClip = {.id = {5, 5},
                       .sceneStart = 3,
                       .sceneEnd = 4,
                       .sourceStart = 2,
                       .endBehavior = VideoClip::EndBehavior::loop,
                       .sourceTrimLength = 1};
    const VideoClip whole{.id = {5, 5}, .sceneStart = 0, .sceneEnd = 8, .endBehavior = VideoClip::EndBehavior::loop};
    EXPECT_EQ(after(resetTimelineForSelection(sceneHolding({video}), idsNamed("v")), 'v').videoClip, whole);

    video.videoDuration = 0;
    EXPECT_EQ(after(resetTimelineForSelection(sceneHolding({video}), idsNamed("v")), 'v').videoClip.sceneEnd, 1)
        << "of unknown length";
}

TEST(ReplaceFont, ReplacesOneFontInTextsAndFontKeyframes)
{
    const auto text = [](char letter, const char* font) {
        Layer layer = kindNamed(letter, Kind::text);
        layer.fontName = SharedString(font);
        return layer;
    };
    Layer keyed = text('b', "Serif");
    keyed.keyframes = {{.property = Property::fontName, .time = 1, .value = SharedString("Sans")},
                       {.property = Property::fontName, .time = 2, .value = SharedString("Mono")}};
    Layer shape = layerNamed('s');
    shape.fontName = SharedString("Hidden");
    const TweenScene scene = sceneHolding({text('a', "Sans"), groupNamed('g', {keyed, text('c', "")}), shape});
    EXPECT_EQ(fontsInScene(scene), (std::vector<std::string>{"", "Mono", "Sans", "Serif"}));

    EXPECT_EQ(countOfFontUsers(scene, "Sans"), 2u);
    EXPECT_EQ(countOfFontUsers(scene, ""), 1u);
    EXPECT_EQ(countOfFontUsers(scene, "Hidden"), 0u);

    const auto edit = replaceFont(scene, "Sans", "Inter");
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Replace Font");
    EXPECT_EQ(fontsInScene(edit->scene), (std::vector<std::string>{"", "Inter", "Mono", "Serif"}));
    EXPECT_EQ(after(edit, 'a').fontName, "Inter");
    EXPECT_EQ(after(edit, 'b').keyframes[0].value, KeyValue(SharedString("Inter")));
    EXPECT_EQ(after(replaceFont(scene, "", "Inter"), 'c').fontName, "Inter");
    EXPECT_FALSE(replaceFont(scene, "Hidden", "Inter"));
    EXPECT_FALSE(replaceFont(scene, "Sans", "Sans"));
}

} // namespace
} // namespace larkspool
