#include "canvas/layer_insertion.h"

#include "canvas/layer_names.h"
#include "canvas/layers_fixture.h"
#include "support/memory_user_defaults.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

/// The layer that the edit has put in front, which must be the one selected.
Layer added(const std::optional<Edit>& edit, const char* actionName)
{
    EXPECT_TRUE(edit);
    if (!edit) return {};
    EXPECT_EQ(edit->actionName, actionName);
    const Layer& layer = edit->scene.layers.back();
    EXPECT_EQ(edit->selection.layerIDs, LayerIDs{layer.id});
    return layer;
}

void expectBox(const Layer& layer, double x, double y, double width, double height)
{
    EXPECT_EQ(layer.transform.x, x);
    EXPECT_EQ(layer.transform.y, y);
    EXPECT_EQ(layer.size, (CGSize{width, height}));
}

const TweenScene empty = {.width = 1000, .height = 500};
constexpr CGPoint center{500, 250};

TEST(LayerPanel, AddsAtTheCentreOfTheViewElseOfTheScene)
{
    EXPECT_EQ(insertionCenter(empty, std::nullopt), center);
    EXPECT_EQ(insertionCenter(empty, CGPoint{3, 4}), (CGPoint{3, 4}));
}

TEST(LayerPanel, AShapeIsNamedAfterItsColour)
{
    const Layer rectangle = added(addLayer(empty, Kind::rectangle, center), "Add Rectangle");
    EXPECT_EQ(rectangle.kind, Kind::rectangle);
    EXPECT_EQ(rectangle.name, "Blue Rectangle");
    EXPECT_TRUE(rectangle.nameFollowsShape);
    EXPECT_EQ(rectangle.cornerRadius, 12);
    expectBox(rectangle, 400, 150, 200, 200);

    const Layer ellipse = added(addLayer(empty, Kind::ellipse, center), "Add Ellipse");
    EXPECT_EQ(ellipse.name, "Blue Ellipse");
    EXPECT_EQ(ellipse.cornerRadius, 0);
    expectBox(ellipse, 400, 150, 200, 200);
}

TEST(LayerPanel, AnyOtherKindIsNumbered)
{
    Layer other = layerNamed('a');
    other.name = SharedString("Path 4");
    const Layer path = added(addLayer(sceneHolding({other}), Kind::path, {100, 100}), "Add Path");
    EXPECT_EQ(path.kind, Kind::path);
    EXPECT_EQ(path.name, "Path 5");
    EXPECT_EQ(path.cornerRadius, 0);
    expectBox(path, 0, 0, 200, 200);
    EXPECT_EQ(added(addLayer(empty, Kind::gradientField, center), "Add Gradientfield").name, "Gradientfield 1");
}

TEST(LayerPanel, ALineIsAnArrow)
{
    const Layer line = added(addLineLayer(empty, center), "Add Line");
    EXPECT_EQ(line.kind, Kind::line);
    EXPECT_EQ(line.name, "Blue Freeform");
    EXPECT_EQ(line.fill, ColorRGBA::clear);
    EXPECT_EQ(line.stroke, (ColorRGBA{0.2, 0.5, 1, 1}));
    EXPECT_EQ(line.strokeWidth, 5);
    EXPECT_TRUE(line.nameFollowsLineShape);
    expectBox(line, 300, 210, 400, 80);
    EXPECT_EQ(line.linePoints, (Array<CGPoint>{{0, 40}, {400, 40}}));
    EXPECT_FALSE(line.lineArrowStart);
    EXPECT_TRUE(line.lineArrowEnd);
    EXPECT_FALSE(line.lineCurved);
}

TEST(LayerPanel, ACursorIs64Large)
{
    const Layer cursor = added(addCursorLayer(empty, CursorVariant::ibeam, center), "Add Cursor");
    EXPECT_EQ(cursor.kind, Kind::cursor);
    EXPECT_EQ(cursor.name, "I-Beam");
    EXPECT_EQ(cursor.cursorVariant, CursorVariant::ibeam);
    EXPECT_TRUE(cursor.nameFollowsCursorVariant);
    EXPECT_EQ(cursor.fill, ColorRGBA::clear);
    expectBox(cursor, 468, 218, 64, 64);
}

TEST(LayerPanel, ATextIsMeasured)
{
    const Layer text = added(addTextLayer(empty, center, "Some Font", GridMeasurer()), "Add Text");
    EXPECT_EQ(text.kind, Kind::text);
    EXPECT_EQ(text.name, "Text");
    EXPECT_EQ(text.text, "Text");
    EXPECT_EQ(text.fontName, "Some Font");
    EXPECT_FALSE(text.textAutoFit);
    // 4 glyphs of 16, and 4; the line of 32 + 8, and 4.
    expectBox(text, 466, 228, 68, 44);
}

TEST(LayerPanel, AMeasuredTextIsNotWrappedAndIsEightLargeAtLeast)
{
    Layer last = kindNamed('t', Kind::text);
    last.fontSize = 400;
    EXPECT_EQ(added(addTextLayer(sceneHolding({last}), center, "", GridMeasurer()), "Add Text").size, (CGSize{804, 504}));
    last.fontSize = 0.5;
    EXPECT_EQ(added(addTextLayer(sceneHolding({last}), center, "", GridMeasurer()), "Add Text").size, (CGSize{8, 8}));
}

TEST(LayerPanel, AZoomCoversHalfOfTheScene)
{
    const Layer zoom = added(addZoomLayer(empty, center), "Add Zoom");
    EXPECT_EQ(zoom.kind, Kind::zoom);
    EXPECT_EQ(zoom.name, "Zoom 1");
    EXPECT_EQ(zoom.fill, ColorRGBA::clear);
    EXPECT_EQ(zoom.cornerRadius, 0);
    expectBox(zoom, 250, 125, 500, 250);
}

TEST(LayerPanel, AHotSpotIs200Large)
{
    const Layer hotspot = added(addHotspotLayer(empty, center), "Add Hot Spot");
    EXPECT_EQ(hotspot.kind, Kind::hotspot);
    EXPECT_EQ(hotspot.name, "Hot Spot 1");
    expectBox(hotspot, 400, 150, 200, 200);
}

TEST(LayerPanel, AGradientFieldCoversTheScene)
{
    const Layer field = added(addGradientFieldLayer(empty), "Add Gradient Field");
    EXPECT_EQ(field.kind, Kind::gradientField);
    EXPECT_EQ(field.name, "Gradient Field 1");
    EXPECT_EQ(field.fill, (ColorRGBA{0.96, 0.38, 0.62, 1}));
    EXPECT_EQ(field.stroke, (ColorRGBA{0.18, 0.62, 0.78, 1}));
    EXPECT_EQ(field.cornerRadius, 0);
    expectBox(field, 0, 0, 1000, 500);
}

TEST(LayerInsertion, BothFamiliesNumberOnBehindTheNamesInUseAtAnyDepth)
{
    const auto named = [](const char* name) {
        Layer layer;
        layer.name = SharedString(name);
        return layer;
    };
    const Layer group =
        groupNamed('g', {named("Zoom 7"), named("Gradient Field 2"), named("Gradientfield 5"), named("Hotspot 8")});
    const TweenScene scene =
        sceneHolding({named("Zoom 1"), named("Zoom"), named("Zoom x"), named("Zoomy 30"), named("Hot Spot 4"), group});
    EXPECT_EQ(added(addZoomLayer(scene, center), "Add Zoom").name, "Zoom 8");
    EXPECT_EQ(added(insertLayer(scene, Kind::zoom, center, ""), "Add Zoom").name, "Zoom 8");
    EXPECT_EQ(added(addHotspotLayer(scene, center), "Add Hot Spot").name, "Hot Spot 5");
    EXPECT_EQ(added(insertLayer(scene, Kind::hotspot, center, ""), "Add Hotspot").name, "Hotspot 9");
    EXPECT_EQ(added(addGradientFieldLayer(scene), "Add Gradient Field").name, "Gradient Field 3");
    EXPECT_EQ(added(insertLayer(scene, Kind::gradientField, center, ""), "Add Gradientfield").name, "Gradientfield 6");
}

TEST(LayerPanel, FilesAreOneStepAndCascade)
{
    const Layer first = kindNamed('a', Kind::image, {{100, 50}, {10, 10}}),
                second = kindNamed('b', Kind::image, {{7, 9}, {10, 10}}), third = kindNamed('c', Kind::image);
    EXPECT_EQ(added(addImageLayers(empty, {first}), "Add Image"), first);

    const auto edit = addImageLayers(sceneHolding({layerNamed('x')}), {first, second, third});
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Add 3 Images");
    EXPECT_EQ(treeOf(edit), "x a b c");
    EXPECT_EQ(selectedIn(edit), "a b c");
    expectBox(after(edit, 'a'), 100, 50, 10, 10);
    expectBox(after(edit, 'b'), 27, 29, 10, 10);
    expectBox(after(edit, 'c'), 40, 40, 10, 10);
    EXPECT_FALSE(addImageLayers(empty, {}));
    EXPECT_EQ(addVideoLayers(empty, {first, second})->actionName, "Add Video");
}

TEST(TextSeed, LooksLikeTheLastTextOfTheStack)
{
    const auto text = [](char letter, double fontSize) {
        Layer layer = kindNamed(letter, Kind::text);
        layer.fontSize = fontSize;
        layer.fontName = SharedString(std::string("Font ") + letter);
        layer.textColor = {fontSize / 100, 0, 0, 1};
        return layer;
    };
    // The last of the walk: what a group holds comes behind the group, and before the group's next sibling.
    for (const TweenScene& scene : {sceneHolding({text('a', 10), text('b', 20), layerNamed('x')}),
                                    sceneHolding({text('a', 10), groupNamed('g', {text('b', 20)})}),
                                    sceneHolding({groupNamed('g', {text('a', 10)}), text('b', 20)})}) {
        Layer seeded = layerNamed('n');
        seedTextLayer(seeded, scene, "Default");
        EXPECT_EQ(seeded.fontName, "Font b") << treeOf(scene);
        EXPECT_EQ(seeded.fontSize, 20);
        EXPECT_EQ(seeded.textColor, (ColorRGBA{0.2, 0, 0, 1}));
    }
}

TEST(TextSeed, WithoutOthersItIsBlackOnNothing)
{
    Layer seeded = layerNamed('n');
    seeded.strokeWidth = 4;
    seeded.cornerRadius = 4;
    seeded.textUserResized = true;
    seedTextLayer(seeded, sceneHolding({layerNamed('x')}), "Default");
    EXPECT_EQ(seeded.kind, Kind::text);
    EXPECT_EQ(seeded.text, "Text");
    EXPECT_EQ(seeded.fontSize, 32);
    EXPECT_EQ(seeded.fontName, "Default");
    EXPECT_EQ(seeded.textColor, ColorRGBA::black);
    EXPECT_EQ(seeded.fill, ColorRGBA::clear);
    EXPECT_EQ(seeded.stroke, ColorRGBA::clear);
    EXPECT_EQ(seeded.strokeWidth, 0);
    EXPECT_EQ(seeded.cornerRadius, 0);
    EXPECT_FALSE(seeded.textAutoFit);
    EXPECT_FALSE(seeded.textUserResized);
}

TEST(TextSeed, TheDefaultFontIsTheOneUsedLastIfItIsInstalled)
{
    MemoryUserDefaults defaults;
    EXPECT_EQ(resolvedDefaultFont(defaults), "");
    defaults.set(DefaultsKey::lastUsedFontName, std::string("Inter"));
    EXPECT_EQ(resolvedDefaultFont(defaults), "Inter");
    defaults.set(DefaultsKey::lastUsedFontName, std::string("No Such Font Anywhere"));
    EXPECT_EQ(resolvedDefaultFont(defaults), "");
}

TEST(CanvasInsertion, PutsALayerAroundThePoint)
{
    struct Case {
        Kind kind;
        const char* name;
        const char* action;
        CGSize size;
        double cornerRadius;
    };
    for (const Case& c :
         {Case{Kind::rectangle, "Rectangle 1", "Add Rectangle", {200, 200}, 12},
          Case{Kind::ellipse, "Ellipse 1", "Add Ellipse", {200, 200}, 0}, Case{Kind::path, "Path 1", "Add Path", {200, 200}, 0},
          Case{Kind::text, "Text 1", "Add Text", {200, 60}, 0}, Case{Kind::group, "Group 1", "Add Group", {200, 200}, 0},
          Case{Kind::cursor, "Cursor 1", "Add Cursor", {32, 32}, 0}, Case{Kind::line, "Line 1", "Add Line", {200, 80}, 0},
          Case{Kind::gradientField, "Gradientfield 1", "Add Gradientfield", {200, 200}, 0},
          Case{Kind::hotspot, "Hotspot 1", "Add Hotspot", {160, 100}, 0},
          Case{Kind::zoom, "Zoom 1", "Add Zoom", {320, 200}, 0}}) {
        SCOPED_TRACE(c.name);
        const Layer layer = added(insertLayer(empty, c.kind, center, "Default"), c.action);
        EXPECT_EQ(layer.kind, c.kind);
        EXPECT_EQ(layer.name, c.name);
        EXPECT_EQ(layer.cornerRadius, c.cornerRadius);
        expectBox(layer, 500 - c.size.width / 2, 250 - c.size.height / 2, c.size.width, c.size.height);
    }
}

TEST(CanvasInsertion, ALineIsAThinDarkArrow)
{
    const Layer line = added(insertLayer(empty, Kind::line, center, ""), "Add Line");
    EXPECT_EQ(line.linePoints, (Array<CGPoint>{{0, 40}, {200, 40}}));
    EXPECT_EQ(line.fill, ColorRGBA::clear);
    EXPECT_EQ(line.stroke, (ColorRGBA{0.1, 0.1, 0.15, 1}));
    EXPECT_EQ(line.strokeWidth, 3);
    EXPECT_FALSE(line.lineArrowStart);
    EXPECT_TRUE(line.lineArrowEnd);
}

TEST(CanvasInsertion, ATextLooksLikeTheLastOneInABoxOfItsOwn)
{
    const Layer first = added(insertLayer(empty, Kind::text, center, "Default"), "Add Text");
    Layer expected{.id = first.id, .name = SharedString("Text 1")};
    expected.videoClip.id = first.videoClip.id;
    seedTextLayer(expected, empty, "Default");
    expected.transform = {.x = 400, .y = 220};
    expected.size = {200, 60};
    EXPECT_EQ(first, expected);

    Layer last = kindNamed('t', Kind::text);
    last.fontName = SharedString("Some Font");
    last.fontSize = 90;
    last.textColor = {1, 0, 0, 1};
    const Layer second = added(insertLayer(sceneHolding({last}), Kind::text, center, "Default"), "Add Text");
    EXPECT_EQ(second.fontName, "Some Font");
    EXPECT_EQ(second.fontSize, 90);
    EXPECT_EQ(second.textColor, (ColorRGBA{1, 0, 0, 1}));
    EXPECT_EQ(second.size, (CGSize{200, 60})) << "whatever the font";
}

TEST(CanvasInsertion, KindsWithoutSeedsAreAsEveryLayerBegins)
{
    for (const Kind kind :
         {Kind::ellipse, Kind::path, Kind::group, Kind::cursor, Kind::hotspot, Kind::gradientField, Kind::zoom}) {
        SCOPED_TRACE(fileValue(kind));
        const Layer layer = added(insertLayer(empty, kind, center, ""), ("Add " + capitalizedKind(kind)).c_str());
        Layer plain{.id = layer.id, .name = layer.name, .kind = kind, .transform = layer.transform, .size = layer.size};
        plain.videoClip.id = layer.videoClip.id;
        EXPECT_EQ(layer, plain);
    }
    const Layer cursor = added(insertCursorLayer(empty, CursorVariant::arrow, center), "Add Cursor");
    EXPECT_EQ(cursor.fill, Layer{}.fill) << "only the panel's is clear";
}

TEST(CanvasInsertion, ImagesAndVideosComeFromFiles)
{
    EXPECT_FALSE(insertLayer(empty, Kind::image, center, ""));
    EXPECT_FALSE(insertLayer(empty, Kind::video, center, ""));
}

TEST(CanvasInsertion, ACursorIs32Large)
{
    const Layer cursor = added(insertCursorLayer(empty, CursorVariant::grab, center), "Add Cursor");
    EXPECT_EQ(cursor.kind, Kind::cursor);
    EXPECT_EQ(cursor.cursorVariant, CursorVariant::grab);
    EXPECT_EQ(cursor.name, "Grab");
    EXPECT_TRUE(cursor.nameFollowsCursorVariant);
    expectBox(cursor, 484, 234, 32, 32);
}

TEST(CanvasInsertion, GoesInFrontOfAllOthersAtTheTop)
{
    const auto edit = insertLayer(sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b')})}), Kind::zoom, center, "");
    EXPECT_EQ(treeOf(edit), "a g(b) Zoom 1");
}

TEST(CanvasInsertion, APointThatIsNoneGetsNothing)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(insertLayer(empty, Kind::rectangle, {infinity, 0}, ""));
    EXPECT_FALSE(addLayer(empty, Kind::rectangle, {0, std::numeric_limits<double>::quiet_NaN()}));
}

TEST(CanvasInsertion, AfterTheCommitANewZoomFitsTheScene)
{
    Studio studio(sceneHolding({}));
    ASSERT_TRUE(studio.perform(insertLayer(studio.scene(), Kind::zoom, {0, 0}, "")));
    expectBox(studio.scene().layers[0], 0, 0, 320, 160);
    EXPECT_EQ(studio.selected(), "Zoom 1");
}

} // namespace
} // namespace larkspool
