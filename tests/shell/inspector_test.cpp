#include "shell/inspector.h"

#include "shell/item_inspectors.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

Layer shape(Layer::Kind kind = Layer::Kind::rectangle)
{
    Layer layer;
    layer.kind = kind;
    return layer;
}

Keyframe key(Property property, double time, KeyValue value)
{
    return {.property = property, .time = time, .value = std::move(value)};
}

TweenScene sceneOf(std::initializer_list<Layer> layers)
{
    TweenScene scene;
    for (const Layer& layer : layers) scene.layers.append(layer);
    return scene;
}

LayerIDs idsOf(const TweenScene& scene)
{
    LayerIDs ids;
    for (const Layer& layer : scene.layers) ids.insert(layer.id);
    return ids;
}

EditorState stateOf(const TweenScene& scene)
{
    EditorState state;
    state.document.scenes = {};
    state.document.scenes.append(scene);
    return state;
}

TEST(InspectorZoomType, APictureInPictureGetsOneViewportInTheFarthestCorner)
{
    struct Case {
        const char* description;
        double x, y;
        CGPoint viewport;
    };
    // The zoom is 400 by 200 in a scene of 1000 by 800. The viewport is 0.4 of the scene's width, 400 by 200 as well (0.4 of the
    // height would be 320, for which it would have to be 640 wide), and 30 from the edges.
    const Case cases[] = {
        {"framing the upper left", 0, 0, {570, 570}},
        {"framing the upper right", 600, 0, {30, 570}},
        {"framing the lower left", 0, 600, {570, 30}},
        {"framing the lower right", 600, 600, {30, 30}},
        {"framing the middle", 300, 300, {570, 570}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.description);
        Layer zoom = shape(Layer::Kind::zoom);
        zoom.size = {400, 200};
        zoom.transform.x = c.x;
        zoom.transform.y = c.y;
        Inspector::setZoomType(zoom, ZoomType::pictureInPicture, {1000, 800});
        ASSERT_EQ(zoom.children.size(), 1U);
        const Layer viewport = zoom.children[0];
        EXPECT_TRUE(viewport.pipRendition);
        EXPECT_EQ(viewport.size, (CGSize{400, 200}));
        EXPECT_EQ(viewport.transform.x, c.viewport.x);
        EXPECT_EQ(viewport.transform.y, c.viewport.y);

        Inspector::setZoomType(zoom, ZoomType::fullScreen, {1000, 800});
        EXPECT_EQ(zoom.zoomType, ZoomType::fullScreen);
        Inspector::setZoomType(zoom, ZoomType::pictureInPicture, {1000, 800});
        EXPECT_EQ(zoom.children.size(), 1U) << "the viewport it has is kept";
    }
    Layer camera = shape(Layer::Kind::zoom);
    Inspector::setZoomType(camera, ZoomType::fullScreen, {1000, 800});
    EXPECT_TRUE(camera.children.empty());
}

TEST(InspectorSubject, ItemsOfTheTimelineComeBeforeLayersAndLayersBeforeTheScene)
{
    using Kind = InspectorSubject::Kind;
    Layer layer = shape(Layer::Kind::video);
    for (const double time : {1.0, 2.0}) {
        layer.keyframes.append(key(Property::x, time, 5.0));
        layer.pulses.append(Pulse{.time = time});
        layer.spans.append(TimeSpan{.start = time, .end = time + 1});
    }
    const auto keyframe = [&](std::size_t i) { return TimelineItemRef::keyframe(layer.id, layer.keyframes[i].id); };
    const auto tail = [&](std::size_t i) { return TimelineItemRef::waitTail(layer.id, layer.keyframes[i].id); };
    const auto pulse = [&](std::size_t i) { return TimelineItemRef::pulse(layer.id, layer.pulses[i].id); };
    const auto span = [&](std::size_t i) { return TimelineItemRef::span(layer.id, layer.spans[i].id); };
    const auto clip = TimelineItemRef::videoClip(layer.id);
    const auto gone = TimelineItemRef::pulse(layer.id, UUID::random());

    struct Case {
        const char* when;
        TimelineSelection items;
        Kind kind;
        std::size_t count;
    };
    for (const Case& c : {Case{"nothing", {}, Kind::layers, 0}, Case{"a keyframe", {keyframe(0)}, Kind::keyframes, 1},
                          Case{"two keyframes", {keyframe(0), keyframe(1)}, Kind::keyframes, 2},
                          Case{"a keyframe and its wait are one", {keyframe(0), tail(0)}, Kind::keyframes, 1},
                          Case{"a wait alone is its keyframe", {tail(1)}, Kind::keyframes, 1},
                          Case{"a span", {span(0)}, Kind::span, 1}, Case{"a clip", {clip}, Kind::videoClip, 1},
                          Case{"a pulse", {pulse(1)}, Kind::pulse, 1}, Case{"two pulses", {pulse(0), pulse(1)}, Kind::layers, 0},
                          Case{"two spans without a primary one", {span(0), span(1)}, Kind::layers, 0},
                          Case{"two kinds", {span(0), keyframe(1)}, Kind::severalKinds, 0},
                          Case{"what is gone does not count", {gone, span(1)}, Kind::span, 1}}) {
        SCOPED_TRACE(c.when);
        EditorState state = stateOf(sceneOf({layer}));
        state.selectedLayerIDs = {layer.id};
        state.timelineSelection = c.items;
        const InspectorSubject subject = inspectorSubject(state);
        EXPECT_EQ(subject.kind, c.kind);
        EXPECT_EQ(subject.items.size(), c.count);
    }
    EditorState state = stateOf(sceneOf({layer}));
    EXPECT_EQ(inspectorSubject(state).kind, Kind::scene);
    state.timelineSelection = {span(0), span(1)};
    state.selectedSpanID = layer.spans[1].id;
    EXPECT_EQ(inspectorSubject(state), (InspectorSubject{Kind::span, {span(1)}}));
}

TEST(Inspector, SectionsOfSeveralLayersAreThoseThatAllCallFor)
{
    using enum Inspector::Section;
    const Layer caption = shape(Layer::Kind::text), stack = shape(Layer::Kind::group), arrow = shape(Layer::Kind::line);
    EXPECT_EQ(Inspector::sections(std::vector{&caption}), (std::vector{transform, size, text, appearance, animation}));
    EXPECT_EQ(Inspector::sections(std::vector{&caption, &stack}), (std::vector{transform, size, appearance, animation}));
    EXPECT_EQ(Inspector::sections(std::vector{&stack, &arrow}), (std::vector{transform, appearance, animation}))
        << "the box of a freeform line follows its points";
    EXPECT_TRUE(Inspector::sections({}).empty());
    EXPECT_EQ(Inspector::title(appearance), "Appearance");
    EXPECT_EQ(Inspector::title(cursor), "Cursor");
}

TEST(Inspector, NumbersAreHeldWithinTheLimitsOfTheirProperty)
{
    struct Case {
        const char* what;
        std::optional<Property> property;
        const char* label;
        double typed, kept;
    };
    for (const Case& c :
         {Case{"opacity above", Property::opacity, "Opacity", 1.4, 1}, Case{"opacity below", Property::opacity, "Opacity", -2, 0},
          Case{"opacity within", Property::opacity, "Opacity", 0.25, 0.25}, Case{"scale", Property::scaleX, "X", -1, 0},
          Case{"scale", Property::scaleY, "Y", -1, 0}, Case{"stroke", Property::strokeWidth, "Stroke Width", -3, 0},
          Case{"width", Property::width, "W", -3, 0}, Case{"height", Property::height, "H", -3, 0},
          Case{"corner", Property::cornerRadius, "Corner Radius", -3, 0}, Case{"gap", Property::groupGap, "Gap", -3, 0},
          Case{"font size", Property::fontSize, "Font Size", -3, 0}, Case{"place", Property::x, "Size", -3, -3},
          Case{"bend", Property::lineArcBend, "Bend", -3, -3}, Case{"plain size", std::nullopt, "Font Size", -3, 0},
          Case{"plain gap", std::nullopt, "Row GAP", -3, 0}, Case{"plain other", std::nullopt, "Anchor", -3, -3}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Inspector::clampForProperty(c.property, c.label, c.typed), c.kept);
    }
    EXPECT_TRUE(Inspector::isUnchanged(2, 2.00009));
    EXPECT_FALSE(Inspector::isUnchanged(2, 2.00011));
}

TEST(Inspector, WithoutKeyframesOfThePropertyAnEditChangesTheBaseValue)
{
    Layer layer = shape();
    layer.keyframes.append(key(Property::y, 1, 7.0));
    TweenScene scene = sceneOf({layer});
    Inspector::upsertHelper(scene, idsOf(scene), Property::x, 40.0, {.playhead = 1});
    EXPECT_EQ(scene.layers[0].transform.x, 40);
    EXPECT_EQ(scene.layers[0].keyframes, layer.keyframes);
}

TEST(Inspector, SwitchedOffAnEditNeverWritesAKeyframe)
{
    Layer layer = shape();
    layer.keyframes.append(key(Property::x, 1, 7.0));
    TweenScene scene = sceneOf({layer});
    Inspector::upsertHelper(scene, idsOf(scene), Property::x, 40.0, {.playhead = 1, .keyframeAtPlayhead = false});
    EXPECT_EQ(scene.layers[0].transform.x, 40);
    EXPECT_EQ(scene.layers[0].keyframes, layer.keyframes);
}

TEST(Inspector, AnEditReplacesAKeyframeThatIsAllButAtThePlayheadAndKeepsItsWait)
{
    Layer layer = shape();
    Keyframe near = key(Property::x, 1.0005, 7.0);
    near.easing = Easing::linear();
    near.wait = 0.3;
    layer.keyframes.append(near);
    TweenScene scene = sceneOf({layer});
    Inspector::upsertHelper(scene, idsOf(scene), Property::x, 40.0, {.playhead = 1});
    ASSERT_EQ(scene.layers[0].keyframes.size(), 1u);
    const Keyframe& kept = scene.layers[0].keyframes[0];
    EXPECT_EQ(kept.value, KeyValue(40.0));
    EXPECT_EQ(kept.time, 1);
    EXPECT_EQ(kept.wait, 0.3);
    EXPECT_EQ(kept.easing, Easing::linear());
}

TEST(Inspector, ANewKeyframeEasesInOutAndStandsInTheOrderOfTime)
{
    Layer layer = shape();
    for (const double time : {3.0, 1.0}) layer.keyframes.append(key(Property::x, time, time));
    Layer other = shape();
    TweenScene scene = sceneOf({layer, other});
    Inspector::upsertHelper(scene, idsOf(scene), Property::x, 40.0, {.playhead = 2});
    const Array<Keyframe>& keyframes = scene.layers[0].keyframes;
    ASSERT_EQ(keyframes.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(keyframes[i].time, static_cast<double>(i + 1));
    EXPECT_EQ(keyframes[1].value, KeyValue(40.0));
    EXPECT_EQ(keyframes[1].easing, Easing::easeInOut());
    EXPECT_EQ(keyframes[1].wait, 0);
    EXPECT_EQ(scene.layers[1].transform.x, 40) << "each layer goes by its own keyframes";
    EXPECT_TRUE(scene.layers[1].keyframes.empty());
}

TEST(Inspector, TheNameOfAShapeFollowsItsFillUntilItIsRenamed)
{
    Layer follows = shape(), renamed = shape(Layer::Kind::ellipse);
    renamed.name = "Sun";
    renamed.nameFollowsShape = false;
    TweenScene scene = sceneOf({follows, renamed});
    Inspector::upsertHelper(scene, idsOf(scene), Property::fill, ColorRGBA{1, 0, 0, 1}, {});
    EXPECT_EQ(scene.layers[0].name, "Red Rectangle");
    EXPECT_EQ(scene.layers[1].name, "Sun");

    scene.layers.edit()[0].fill = {0, 0, 1, 1};
    Inspector::autoRenameShapeLayersOnFillEdit(scene, idsOf(scene));
    EXPECT_EQ(scene.layers[0].name, "Blue Rectangle");
}

TEST(Inspector, AnEditOfAnotherPropertyLeavesTheNameAlone)
{
    Layer layer = shape();
    layer.name = "From an old file";
    TweenScene scene = sceneOf({layer});
    Inspector::upsertHelper(scene, idsOf(scene), Property::x, 3.0, {});
    EXPECT_EQ(scene.layers[0].name, "From an old file");
}

TEST(Inspector, NamesOfTextsLinesAndCursorsFollowTheirContent)
{
    TweenScene scene = sceneOf({shape(Layer::Kind::text), shape(Layer::Kind::line), shape(Layer::Kind::cursor)});
    const LayerIDs all = idsOf(scene);
    Inspector::writeText(scene, all, "  Hello\nthere");
    Inspector::writeLineShape(scene, all, LineShape::wave);
    Inspector::upsertHelper(scene, all, Property::cursorVariant, CursorVariant::ibeam, {});
    EXPECT_EQ(scene.layers[0].name, "Hello");
    EXPECT_EQ(scene.layers[1].name, "Black Wave");
    EXPECT_EQ(scene.layers[2].name, "I-Beam");
    EXPECT_NE(scene.layers[1].text, "  Hello\nthere") << "only texts have a text";
}

TEST(Inspector, AnEditOfALineMakesItsBoxFit)
{
    Layer line = shape(Layer::Kind::line);
    line.linePoints.append({10, 10});
    line.linePoints.append({110, 10});
    TweenScene scene = sceneOf({line});
    Inspector::upsertHelper(scene, idsOf(scene), Property::strokeWidth, 2.0, {});
    EXPECT_EQ(scene.layers[0].size, (CGSize{102, 2}));
    Inspector::writeToSelected(scene, idsOf(scene), &Layer::lineArrowEnd, true);
    // Half the stroke and half an arrow head of 7 on every side: 1 + 3.5.
    EXPECT_EQ(scene.layers[0].size, (CGSize{109, 9}));
}

TEST(Inspector, ATypedSizeOfATextIsKept)
{
    TweenScene scene = sceneOf({shape(Layer::Kind::text), shape()});
    Inspector::upsertHelper(scene, idsOf(scene), Property::width, 300.0, {});
    EXPECT_TRUE(scene.layers[0].textUserResized);
    EXPECT_FALSE(scene.layers[1].textUserResized);
}

TEST(Inspector, ALockedRatioIsThatBeforeTheVisitToTheField)
{
    Layer layer = shape(), flat = shape();
    layer.size = {400, 100};
    flat.size = {0, 50};
    const TweenScene before = sceneOf({layer, flat});
    TweenScene scene = before;
    for (const double typed : {0.0, 2.0, 20.0, 200.0})
        Inspector::upsertInRatio(scene, before, idsOf(before), Property::width, typed, {});
    EXPECT_EQ(scene.layers[0].size, (CGSize{200, 50}));
    EXPECT_EQ(scene.layers[1].size, (CGSize{200, 50})) << "a side of 0 has no ratio";
    Inspector::upsertInRatio(scene, before, idsOf(before), Property::scaleY, 3, {});
    EXPECT_EQ(scene.layers[0].transform.scaleX, 3);
}

TEST(Inspector, ALockedRatioWritesEachSideByItsOwnKeyframes)
{
    Layer layer = shape();
    layer.size = {400, 100};
    layer.keyframes.append(key(Property::width, 0, 400.0));
    const TweenScene before = sceneOf({layer});
    TweenScene scene = before;
    Inspector::upsertInRatio(scene, before, idsOf(before), Property::height, 50, {.playhead = 1});
    EXPECT_EQ(scene.layers[0].size, (CGSize{400, 50}));
    ASSERT_EQ(scene.layers[0].keyframes.size(), 2u);
    EXPECT_EQ(scene.layers[0].keyframes[1].value, KeyValue(200.0));
}

TEST(Inspector, TheDiamondTellsHowThePropertyIsAnimated)
{
    Layer layer = shape();
    layer.keyframes.append(key(Property::x, 1, 0.0));
    const std::vector one{layer}, two{layer, shape()};
    EXPECT_EQ(Inspector::diamond(one, Property::y, 1), Inspector::Diamond::none);
    EXPECT_EQ(Inspector::diamond(one, Property::x, 1.0005), Inspector::Diamond::keyframeAtPlayhead);
    EXPECT_EQ(Inspector::diamond(one, Property::x, 1.002), Inspector::Diamond::animated);
    EXPECT_EQ(Inspector::diamond(two, Property::x, 1), Inspector::Diamond::animated) << "not all of them have one here";
    EXPECT_EQ(Inspector::diamondHelp(Inspector::Diamond::keyframeAtPlayhead, 1.5), "Remove keyframe at 1.50s");
}

TEST(Inspector, TheDiamondAddsAKeyframeWithTheValueOfTheMomentAndTakesItAway)
{
    Layer layer = shape();
    for (const double time : {0.0, 2.0}) {
        Keyframe linear = key(Property::x, time, time * 10);
        linear.easing = Easing::linear();
        layer.keyframes.append(linear);
    }
    const TweenScene scene = sceneOf({layer});
    const auto added = Inspector::toggleKeyframe(scene, idsOf(scene), Property::x, 1);
    ASSERT_TRUE(added);
    EXPECT_EQ(added->actionName, "Add Keyframe");
    ASSERT_EQ(added->scene.layers[0].keyframes.size(), 3u);
    EXPECT_EQ(added->scene.layers[0].keyframes[1].value, KeyValue(10.0)) << "half way from 0 to 20";

    const auto removed = Inspector::toggleKeyframe(added->scene, idsOf(scene), Property::x, 1.0004);
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->actionName, "Remove Keyframe");
    EXPECT_EQ(removed->scene, scene);
    EXPECT_FALSE(Inspector::toggleKeyframe(scene, {}, Property::x, 1));
}

TEST(Inspector, ValuesOfSeveralLayersAreMixedIfAnyDiffers)
{
    std::vector<Layer> layers(3);
    EXPECT_FALSE(Inspector::isMixedAcrossSelection(layers, &Layer::cornerRadius));
    layers[2].cornerRadius = 1;
    EXPECT_TRUE(Inspector::isMixedAcrossSelection(layers, &Layer::cornerRadius));
}

TEST(Inspector, ThePlaceOfACroppedPictureIsThatOfWhatIsSeen)
{
    Layer picture = shape(Layer::Kind::image);
    picture.size = {400, 200};
    picture.cropRect = {{0.25, 0.5}, {0.5, 0.5}};
    EXPECT_EQ(Inspector::croppedPositionOffset(picture), CGPoint{}) << "no crop";
    picture.cropMode = CropMode::manual;
    EXPECT_EQ(Inspector::croppedPositionOffset(picture), (CGPoint{100, 100}));
}

TEST(Inspector, OnlyThePlaceOfACroppedPictureIsMovedByTheCrop)
{
    Layer picture = shape(Layer::Kind::image);
    picture.size = {400, 200};
    picture.cropMode = CropMode::manual;
    picture.cropRect = {{0.25, 0.25}, {0.5, 0.5}};
    EXPECT_EQ(Inspector::croppedPositionOffset(picture, Property::x), 100);
    EXPECT_EQ(Inspector::croppedPositionOffset(picture, Property::y), 50);
    EXPECT_EQ(Inspector::croppedPositionOffset(picture, Property::width), 0);
}

TEST(Inspector, EachLayerCanGetAValueOfItsOwn)
{
    Layer animated = shape(), plain = shape();
    animated.transform.x = 3;
    animated.keyframes.append(key(Property::x, 1, 7.0));
    plain.transform.x = 5;
    TweenScene scene = sceneOf({animated, plain});
    const auto tenfold = [](const Layer& layer) -> KeyValue { return layer.transform.x * 10; };
    Inspector::upsertEach(scene, idsOf(scene), Property::x, tenfold, {.playhead = 1});
    EXPECT_EQ(scene.layers[0].transform.x, 3);
    ASSERT_EQ(scene.layers[0].keyframes.size(), 1u);
    EXPECT_EQ(scene.layers[0].keyframes[0].value, KeyValue(30.0));
    EXPECT_EQ(scene.layers[1].transform.x, 50);
}

TEST(Inspector, TakingBackPutsTheSelectedLayersAsTheyWereAndNoOthers)
{
    Layer child = shape(), group = shape(Layer::Kind::group);
    child.opacity = 0.5;
    group.children.append(child);
    const TweenScene before = sceneOf({group, shape(), shape()});
    TweenScene scene = before;
    for (Layer& layer : scene.layers.edit()) layer.opacity = 0.1;
    scene.layers.edit()[0].children.edit()[0].opacity = 0.1;
    Inspector::takeBack(scene, before, {child.id, before.layers[1].id});
    EXPECT_EQ(scene.layers[0].opacity, 0.1);
    EXPECT_EQ(scene.layers[0].children[0].opacity, 0.5);
    EXPECT_EQ(scene.layers[1], before.layers[1]);
    EXPECT_EQ(scene.layers[2].opacity, 0.1);
}

TEST(Inspector, AFieldIsOfferedToSeveralLayersIfEachShowsIt)
{
    const Layer arc = [] {
        Layer line = shape(Layer::Kind::line);
        line.lineShape = LineShape::arc;
        return line;
    }();
    const Layer straight = shape(Layer::Kind::line);
    EXPECT_TRUE(Inspector::offersAll(std::vector{&arc}, Property::lineArcBend));
    EXPECT_FALSE(Inspector::offersAll(std::vector{&arc, &straight}, Property::lineArcBend));
    EXPECT_TRUE(Inspector::offersAll(std::vector{&arc, &straight}, Property::stroke));
}

TEST(Inspector, ASceneTakesOnlyWhatCanBeDrawn)
{
    const TweenScene scene;
    EXPECT_EQ(Inspector::keptSceneWidth(scene, 1279.6), 1280);
    EXPECT_EQ(Inspector::keptSceneWidth(scene, 0.2), std::nullopt);
    EXPECT_EQ(Inspector::keptSceneHeight(scene, -5), std::nullopt);
    EXPECT_EQ(Inspector::keptSceneHeight(scene, 1e300), std::nullopt);
    EXPECT_EQ(Inspector::keptFps(29.97), 30);
    EXPECT_EQ(Inspector::keptFps(-1), 1);
    EXPECT_EQ(Inspector::keptDuration(0), 0.1);
    EXPECT_EQ(Inspector::keptEndPause(-1), 0);
    EXPECT_EQ(Inspector::applyCanvasPreset(scene, {1920, 1080}), std::nullopt);
    EXPECT_EQ(Inspector::applyCanvasPreset(scene, {1080, 1920})->scene.height, 1920);
}

} // namespace
} // namespace larkspool
