#include "canvas/layer_style.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

/// A layer of the kind in which nothing of a style is as in a fresh one.
Layer styled(char letter, Kind kind)
{
    Layer layer = kindNamed(letter, kind, {{1, 2}, {3, 4}});
    layer.transform = {.x = 1, .y = 2, .rotation = 3, .scaleX = 4, .scaleY = 5, .anchorX = 0.25, .anchorY = 0.75};
    layer.opacity = 0.5;
    layer.fill = {1, 0, 0, 1};
    layer.stroke = {0, 1, 0, 1};
    layer.strokeWidth = 6;
    layer.cornerRadius = 7;
    layer.shadow = ShadowPreset::high;
    layer.blackKey = true;
    layer.blackKeyInsetX = 8;
    layer.blackKeyInsetY = 9;
    layer.fontSize = 10;
    layer.fontName = SharedString("Some Font");
    layer.textColor = {0, 0, 1, 1};
    layer.textCursorBlinks = true;
    layer.cursorVariant = CursorVariant::grab;
    layer.cursorHoverOverride = CursorVariant::wait;
    layer.lineShape = LineShape::arc;
    layer.lineArcBend = 0.125;
    layer.lineArcReversed = true;
    layer.lineArrowStart = true;
    layer.lineArrowEnd = true;
    layer.lineCurved = true;
    layer.groupLayout = GroupLayout::vertical;
    layer.groupGap = 11;
    layer.groupAlignment = GroupAlignment::end;
    return layer;
}

/// What every layer takes of `styled`.
void expectCommon(Layer& expected)
{
    const Layer source = styled('s', Kind::rectangle);
    expected.opacity = source.opacity;
    expected.fill = source.fill;
    expected.stroke = source.stroke;
    expected.strokeWidth = source.strokeWidth;
    expected.cornerRadius = source.cornerRadius;
    expected.shadow = source.shadow;
}

void expectOfKind(Layer& expected, Kind kind)
{
    const Layer source = styled('s', kind);
    if (kind == Kind::image || kind == Kind::video) {
        expected.blackKey = source.blackKey;
        expected.blackKeyInsetX = source.blackKeyInsetX;
        expected.blackKeyInsetY = source.blackKeyInsetY;
    }
    if (kind == Kind::text) {
        expected.fontSize = source.fontSize;
        expected.fontName = source.fontName;
        expected.textColor = source.textColor;
        expected.textCursorBlinks = source.textCursorBlinks;
    }
    if (kind == Kind::cursor) {
        expected.cursorVariant = source.cursorVariant;
        expected.cursorHoverOverride = source.cursorHoverOverride;
    }
    if (kind == Kind::line) {
        expected.lineShape = source.lineShape;
        expected.lineArcBend = source.lineArcBend;
        expected.lineArcReversed = source.lineArcReversed;
        expected.lineArrowStart = source.lineArrowStart;
        expected.lineArrowEnd = source.lineArrowEnd;
        expected.lineCurved = source.lineCurved;
    }
    if (kind == Kind::group) {
        expected.groupLayout = source.groupLayout;
        expected.groupGap = source.groupGap;
        expected.groupAlignment = source.groupAlignment;
    }
}

TEST(LayerStyle, BetweenAllKindsWhatTheyShareGoesOver)
{
    for (const EnumCase<Kind>& from : EnumTable<Kind>::cases) {
        for (const EnumCase<Kind>& to : EnumTable<Kind>::cases) {
            SCOPED_TRACE(std::string(from.fileValue) + " to " + std::string(to.fileValue));
            Layer layer = kindNamed('a', to.value, {{50, 60}, {70, 80}}), expected = layer;
            expectCommon(expected);
            if (from.value == to.value) expectOfKind(expected, to.value);
            LayerStyleSnapshot::of(styled('s', from.value)).apply(layer, /*includePositionAndSize=*/false);
            EXPECT_EQ(layer, expected);
        }
    }
}

TEST(LayerStyle, PlaceAndSizeGoOverWhereAskedFor)
{
    const Layer source = styled('s', Kind::rectangle);
    Layer layer = kindNamed('a', Kind::ellipse, {{50, 60}, {70, 80}}), expected = layer;
    expectCommon(expected);
    expected.transform = source.transform;
    expected.size = source.size;
    LayerStyleSnapshot::of(source).apply(layer, /*includePositionAndSize=*/true);
    EXPECT_EQ(layer, expected);
}

TEST(LayerStyle, OfATextARectangleTakesFillAndCornersAndNoFont)
{
    LayerStyleClipboard clipboard;
    const TweenScene scene = sceneHolding({styled('s', Kind::text), layerNamed('a')});
    copyProperties(scene, idsNamed("s"), clipboard);
    const auto edit = pasteProperties(scene, idsNamed("a"), clipboard, /*includePositionAndSize=*/false);
    EXPECT_EQ(after(edit, 'a').fill, (ColorRGBA{1, 0, 0, 1}));
    EXPECT_EQ(after(edit, 'a').cornerRadius, 7);
    EXPECT_EQ(after(edit, 'a').fontName, "");
    EXPECT_EQ(after(edit, 'a').fontSize, 32);
}

TEST(LayerStyle, IsPastedToAllSelectedLayersInOneStep)
{
    LayerStyleClipboard clipboard;
    Studio studio(
        sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b')}), layerNamed('c'), styled('s', Kind::rectangle)}));
    copyProperties(studio.scene(), idsNamed("s"), clipboard);
    const std::vector<std::uint8_t> before = studio.file();
    ASSERT_TRUE(studio.perform(pasteProperties(studio.scene(), idsNamed("ab"), clipboard, /*includePositionAndSize=*/false)));
    EXPECT_EQ(studio.manager.undoActionName(), "Paste Properties");
    EXPECT_EQ(findLayer(studio.scene(), idNamed('a'))->cornerRadius, 7);
    EXPECT_EQ(findLayer(studio.scene(), idNamed('b'))->cornerRadius, 7);
    EXPECT_EQ(findLayer(studio.scene(), idNamed('c'))->cornerRadius, 0);
    studio.manager.undo();
    EXPECT_EQ(studio.file(), before);
}

TEST(LayerStyle, IsTheSameInEveryWindow)
{
    LayerStyleClipboard clipboard;
    copyProperties(sceneHolding({styled('s', Kind::ellipse)}), idsNamed("s"), clipboard);
    const TweenScene other = sceneHolding({layerNamed('a', {{50, 60}, {70, 80}})});
    const auto edit = pasteProperties(other, idsNamed("a"), clipboard, /*includePositionAndSize=*/true);
    EXPECT_EQ(after(edit, 'a').strokeWidth, 6);
    EXPECT_EQ(after(edit, 'a').size, (CGSize{3, 4}));
    EXPECT_EQ(after(edit, 'a').transform.rotation, 3);
}

TEST(LayerStyle, IsThatOfTheFirstSelectedLayer)
{
    LayerStyleClipboard clipboard;
    const TweenScene scene = sceneHolding({styled('s', Kind::rectangle), layerNamed('a')});
    copyProperties(scene, idsNamed("as"), clipboard);
    EXPECT_EQ(clipboard.snapshot, LayerStyleSnapshot::of(scene.layers[0]));
    copyProperties(scene, {}, clipboard);
    EXPECT_EQ(clipboard.snapshot, LayerStyleSnapshot::of(scene.layers[0])) << "nothing selected changes nothing";
}

TEST(LayerStyle, NothingIsPastedFromAnEmptyClipboardOrToNothing)
{
    LayerStyleClipboard clipboard;
    const TweenScene scene = sceneHolding({styled('s', Kind::rectangle)});
    EXPECT_FALSE(pasteProperties(scene, idsNamed("s"), clipboard, /*includePositionAndSize=*/true));
    copyProperties(scene, idsNamed("s"), clipboard);
    EXPECT_FALSE(pasteProperties(scene, {}, clipboard, /*includePositionAndSize=*/true));
}

TEST(LayerStyle, ANameThatFollowsTheColourFollowsThePastedOne)
{
    LayerStyleClipboard clipboard;
    Layer followed = layerNamed('a'), mine = layerNamed('b'), text = kindNamed('t', Kind::text);
    mine.nameFollowsShape = false;
    const TweenScene scene = sceneHolding({followed, mine, text, styled('s', Kind::rectangle)});
    copyProperties(scene, idsNamed("s"), clipboard);
    const auto edit = pasteProperties(scene, idsNamed("abt"), clipboard, /*includePositionAndSize=*/false);
    EXPECT_EQ(after(edit, 'a').name, "Red Rectangle");
    EXPECT_EQ(after(edit, 'b').name, "b");
    EXPECT_EQ(after(edit, 't').name, "t") << "its text has not changed";
}

} // namespace
} // namespace larkspool
