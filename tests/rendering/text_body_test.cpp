#include "rendering/text_body.h"

#include "rendering/rendering_fixture.h"
#include "rendering/shapes.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"

#include <gtest/gtest.h>

#include <cmath>

namespace larkspool {
namespace {

using Ranges = std::vector<TextRange>;
using RasterOperation::DrawText;

constexpr const char* thumb = "\U0001F44D";         // 4 bytes, 2 code units.
constexpr const char* marked = "e\u0301";           // 3 bytes, 2 code units.

Layer textLayer(const char* text)
{
    return {.kind = Layer::Kind::text,
            .fill = ColorRGBA::clear,
            .size = {200, 60},
            .text = text,
            .fontSize = 20,
            .fontName = "Inter",
            .textAlignment = TextAlignment::left,
            .textVerticalAlignment = TextVerticalAlignment::top};
}

std::vector<RasterOperation::Any> operationsOf(const Layer& layer)
{
    RecordingRasterContext context;
    Exporter::drawTextBody(layer, context);
    EXPECT_TRUE(context.isBalanced());
    return context.operations();
}

/// What is painted, but for the string.
std::string boxOf(const Layer& layer)
{
    RecordingRasterContext context;
    Exporter::drawTextBody(layer, context);
    std::string text = context.text();
    return text.substr(0, text.rfind("drawText"));
}

DrawText stringOf(const Layer& layer)
{
    const std::vector<RasterOperation::Any> operations = operationsOf(layer);
    return std::get<DrawText>(operations.back());
}

void expectColor(const ColorRGBA& actual, const ColorRGBA& expected)
{
    EXPECT_NEAR(actual.r, expected.r, 1e-9);
    EXPECT_NEAR(actual.g, expected.g, 1e-9);
    EXPECT_NEAR(actual.b, expected.b, 1e-9);
    EXPECT_NEAR(actual.a, expected.a, 1e-9);
}

TEST(HarmoniousDarkerShade, KeepsTheHueAndDarkens)
{
    struct Case {
        const char* what;
        ColorRGBA from, shade;
    };
    // Value v becomes max(0.35 v, 0.15), saturation s becomes s + 0.2 (1 - s): the least channel is v (1 - s) of the new ones.
    for (const Case& c :
         {Case{"white: the hue of red", {1, 1, 1, 1}, {0.35, 0.28, 0.28, 1}},
          Case{"a middle grey", {0.5, 0.5, 0.5, 0.5}, {0.175, 0.14, 0.14, 1}},
          Case{"black is raised", {0, 0, 0, 1}, {0.15, 0.12, 0.12, 1}}, Case{"a pure colour", {0, 0, 1, 1}, {0, 0, 0.35, 1}},
          // s = 0.5, v = 1, hue 60: s' = 0.6, least = 0.35 * 0.4.
          Case{"pale yellow", {1, 1, 0.5, 1}, {0.35, 0.35, 0.14, 1}},
          // Hue 330, between magenta and red: the middle channel lies half way up. s' = 0.6.
          Case{"pale pink", {1, 0.5, 0.75, 1}, {0.35, 0.14, 0.245, 1}},
          // Hue 90. v' = 0.28, s = 0.5, s' = 0.6, least = 0.112, middle half way.
          Case{"pale green", {0.6, 0.8, 0.4, 1}, {0.196, 0.28, 0.112, 1}},
          // Hue 210.
          Case{"pale blue", {0.4, 0.6, 0.8, 1}, {0.112, 0.196, 0.28, 1}}}) {
        SCOPED_TRACE(c.what);
        expectColor(harmoniousDarkerShade(c.from), c.shade);
    }
}

TEST(TextColor, HarmonisesWithAFillThatShows)
{
    Layer layer = textLayer("n");
    layer.textColor = blue;
    layer.fill = ColorRGBA::white;
    EXPECT_EQ(effectiveTextColor(layer), blue);
    layer.textColorHarmonize = true;
    expectColor(effectiveTextColor(layer), {0.35, 0.28, 0.28, 1});
    layer.fill.a = 0.011; // Its alpha plays no further part.
    expectColor(effectiveTextColor(layer), {0.35, 0.28, 0.28, 1});
    layer.fill.a = 0.01;
    EXPECT_EQ(effectiveTextColor(layer), blue);
    layer.fill.a = 0.005;
    EXPECT_EQ(effectiveTextColor(layer), blue);
}

TEST(TextString, IsTheTextAsItStandsWithoutTyping)
{
    const TextString plain = textString(textLayer("Hello"));
    EXPECT_EQ(plain.text, "Hello");
    EXPECT_EQ(plain.clear, Ranges{});
}

TEST(TextString, HidesACaretThatIsOffInItsPlace)
{
    Layer layer = textLayer("ab|");
    EXPECT_EQ(textString(layer).clear, Ranges{});
    layer.textCursorVisible = false;
    EXPECT_EQ(textString(layer).text, "ab|");
    EXPECT_EQ(textString(layer).clear, (Ranges{{2, 3}}));
}

TEST(TextString, TakesOnlyTheLastBarForTheCaret)
{
    Layer layer = textLayer("a||");
    layer.textCursorVisible = false;
    EXPECT_EQ(textString(layer).clear, (Ranges{{2, 3}}));
    layer.textTypeOnVisible = 1;
    EXPECT_EQ(textString(layer).text, "a||");
    EXPECT_EQ(textString(layer).clear, (Ranges{{2, 3}, {1, 2}}));
}

TEST(TextString, PutsTheCaretBehindWhatIsTyped)
{
    struct Case {
        const char* what;
        const char* text;
        std::size_t typed;
        const char* string;
        Ranges clear;
    };
    for (const Case& c :
         {Case{"nothing, caret", "Hello|", 0, "|Hello", {{1, 6}}}, Case{"some, caret", "Hello|", 2, "He|llo", {{3, 6}}},
          Case{"all, caret", "Hello|", 5, "Hello|", {}}, Case{"more than all, caret", "Hello|", 99, "Hello|", {}},
          Case{"nothing", "Hello", 0, "Hello", {{0, 5}}}, Case{"some", "Hello", 3, "Hello", {{3, 5}}},
          Case{"more than all", "Hello", 99, "Hello", {}}, Case{"of no text", "", 3, "", {}},
          Case{"of the caret alone", "|", 0, "|", {}}}) {
        SCOPED_TRACE(c.what);
        Layer layer = textLayer(c.text);
        layer.textTypeOnVisible = c.typed;
        EXPECT_EQ(textString(layer).text, c.string);
        EXPECT_EQ(textString(layer).clear, c.clear);
    }
}

TEST(TextString, HidesTheCaretWhereItStandsWhileTyping)
{
    Layer layer = textLayer("Hello|");
    layer.textTypeOnVisible = 2;
    layer.textCursorVisible = false;
    EXPECT_EQ(textString(layer).clear, (Ranges{{3, 6}, {2, 3}}));
}

TEST(TextString, CountsHiddenCharactersAsCodeUnits)
{
    const std::string thumbs = std::string(thumb) + thumb + thumb, letters = std::string(marked) + marked + "x";
    struct Case {
        const char* what;
        std::string text;
        std::size_t typed;
        std::string string;
        Ranges clear;
    };
    for (const Case& c :
         {// Three characters of six units: two hidden from unit 1 on, which is the middle of the first, to unit 3.
          Case{"surrogates, one typed", thumbs, 1, thumbs, {{4, 8}}},
          // From unit 2 to unit 3: the second, though it has been typed, and not the third.
          Case{"surrogates, two typed", thumbs, 2, thumbs, {{4, 8}}}, Case{"surrogates, none typed", thumbs, 0, thumbs, {{0, 8}}},
          // The caret is one unit: "e\u0301|e\u0301x", hidden from unit 2 (the caret) to unit 4 (the mark).
          Case{"combining, one typed, caret", letters + "|", 1, std::string(marked) + "|" + marked + "x", {{3, 5}}},
          // From unit 1 (the first mark) to unit 3 (the second).
          Case{"combining, one typed", letters, 1, letters, {{1, 4}}}}) {
        SCOPED_TRACE(c.what);
        Layer layer = textLayer(c.text.c_str());
        layer.textTypeOnVisible = c.typed;
        EXPECT_EQ(textString(layer).text, c.string);
        EXPECT_EQ(textString(layer).clear, c.clear);
    }
}

TEST(TextBody, DrawsNoBoxWithoutAFillOrAStrokeThatShows)
{
    Layer layer = textLayer("n");
    EXPECT_EQ(boxOf(layer), "");
    layer.stroke = red;
    EXPECT_EQ(boxOf(layer), ""); // No width.
    layer.strokeWidth = 3;
    layer.stroke.a = 0;
    EXPECT_EQ(boxOf(layer), "");
    layer.strokeOutside = true;
    EXPECT_EQ(boxOf(layer), "");
}

TEST(TextBody, FillsItsBox)
{
    Layer layer = textLayer("n");
    layer.fill = {0, 1, 0, 0.5};
    layer.cornerRadius = 50; // Held to half the height.
    const std::string filled = "setFillColor rgba(0 1 0 0.5)\n"
                               "fillPath box(0 0 200 60 r30) winding\n";
    EXPECT_EQ(boxOf(layer), filled);
    layer.strokeWidth = 3;
    layer.stroke.a = 0;
    EXPECT_EQ(boxOf(layer), filled);
    layer.stroke.a = 1;
    layer.perSideStroke = true; // With no side: the one width plays no part.
    EXPECT_EQ(boxOf(layer), filled);
}

TEST(TextBody, DrawsAStrokeInsideAsARing)
{
    Layer layer = textLayer("n");
    layer.stroke = red;
    layer.strokeWidth = 4;
    layer.cornerRadius = 10;
    const std::string ring = "setFillColor rgba(1 0 0 1)\n"
                             "fillPath box(0 0 200 60 r10) box(4 4 192 52 r6) evenOdd\n";
    EXPECT_EQ(boxOf(layer), ring);
    layer.fill = green;
    EXPECT_EQ(boxOf(layer), ring + "setFillColor rgba(0 1 0 1)\n"
                                   "fillPath box(4 4 192 52 r6) winding\n"
                                   "setStrokeColor rgba(0 1 0 1)\n"
                                   "setLineWidth 1\n"
                                   "strokePath box(4 4 192 52 r6)\n");
}

TEST(TextBody, AStrokeThatLeavesNothingInsideCoversTheBox)
{
    Layer layer = textLayer("n");
    layer.fill = green;
    layer.stroke = red;
    layer.strokeWidth = 30;
    // All that a line of twice 30 and a half around the box can cover, cut to the box.
    EXPECT_EQ(boxOf(layer), "setFillColor rgba(0 1 0 1)\n"
                            "fillPath box(0 0 200 60) winding\n"
                            "saveGState\n"
                            "  clipToPath box(0 0 200 60) winding\n"
                            "  setFillColor rgba(1 0 0 1)\n"
                            "  fillRect -30.25 -30.25 260.5 120.5\n"
                            "restoreGState\n");
}

TEST(TextBody, ClipsAStrokeOutside)
{
    Layer layer = textLayer("n");
    layer.stroke = red;
    layer.strokeWidth = 3;
    layer.strokeOutside = true;
    EXPECT_EQ(boxOf(layer), "saveGState\n"
                            "  clipToPath box(-1e+06 -1e+06 2e+06 2e+06) box(0 0 200 60) evenOdd\n"
                            "  setStrokeColor rgba(1 0 0 1)\n"
                            "  setLineWidth 6.5\n"
                            "  strokePath box(0 0 200 60)\n"
                            "restoreGState\n");
    layer.fill = green;
    EXPECT_TRUE(boxOf(layer).starts_with("setFillColor rgba(0 1 0 1)\nfillPath box(0 0 200 60) winding\nsaveGState\n"));
}

TEST(TextBody, DrawsAStrokeForEachSide)
{
    const std::string fill = "setFillColor rgba(0 1 0 1)\nfillPath box(0 0 200 60) winding\n";
    struct Case {
        const char* what;
        double top, right, bottom, left;
        const char* inner;
    };
    for (const Case& c : {Case{"top", 2, 0, 0, 0, "0 2 200 58"}, Case{"right", 0, 2, 0, 0, "0 0 198 60"},
                          Case{"bottom", 0, 0, 2, 0, "0 0 200 58"}, Case{"left alone", 0, 0, 0, 2, "2 0 198 60"}}) {
        SCOPED_TRACE(c.what);
        Layer layer = textLayer("n");
        layer.stroke = red;
        layer.strokeWidth = 9; // Plays no part.
        layer.perSideStroke = true;
        layer.strokeWidthTop = c.top;
        layer.strokeWidthRight = c.right;
        layer.strokeWidthBottom = c.bottom;
        layer.strokeWidthLeft = c.left;
        const std::string drawn = boxOf(layer);
        EXPECT_NE(drawn.find("fillPath box(0 0 200 60) box(" + std::string(c.inner) + ") evenOdd"), drawn.npos) << drawn;
        EXPECT_EQ(drawn.find("winding"), drawn.npos); // No fill.
        layer.fill = green;
        EXPECT_TRUE(boxOf(layer).starts_with(fill));
        layer.stroke.a = 0;
        EXPECT_EQ(boxOf(layer), fill);
    }
}

TEST(TextBody, LaysTheStringOutInItsBoxWithoutPadding)
{
    Layer layer = textLayer("n");
    layer.textPadX = layer.textPadY = 10;
    layer.textAlignment = TextAlignment::right;
    layer.textColor = {0.1, 0.2, 0.3, 0.4};
    const DrawText string = stringOf(layer);
    EXPECT_EQ(
        string.request,
        (TextLayoutRequest{.text = "n", .fontName = "Inter", .fontSize = 20, .width = 200, .alignment = LineAlignment::right}));
    EXPECT_EQ(string.origin, (CGPoint{0, 0}));
    EXPECT_EQ(string.color, (RasterColor{0.1, 0.2, 0.3, 0.4}));
    layer.textColor.g = std::nan("");
    EXPECT_EQ(stringOf(layer).color, (RasterColor{0, 0, 0, 1}));
}

TEST(TextBody, PlacesTheStringByTheVerticalAlignmentAlsoOutsideItsBox)
{
    // Three lines of Inter, each 3408/2816 of the size high.
    const double height = 3 * 20 * 3408 / 2816.0;
    struct Case {
        TextVerticalAlignment alignment;
        double box, top;
    };
    for (const Case& c :
         {Case{TextVerticalAlignment::top, 100, 0}, Case{TextVerticalAlignment::center, 100, (100 - height) / 2},
          Case{TextVerticalAlignment::bottom, 100, 100 - height}, Case{TextVerticalAlignment::top, 40, 0},
          Case{TextVerticalAlignment::center, 40, (40 - height) / 2}, Case{TextVerticalAlignment::bottom, 40, 40 - height}}) {
        Layer layer = textLayer("n\nn\nn");
        layer.textVerticalAlignment = c.alignment;
        layer.size.height = c.box;
        EXPECT_NEAR(stringOf(layer).origin.y, c.top, 1e-2);
        EXPECT_EQ(stringOf(layer).origin.x, 0);
    }
}

TEST(TextBody, DoesNotMoveLettersWhenTheCaretGoesOff)
{
    Layer layer = textLayer("ab|");
    layer.transform = {.x = 0, .y = 0};
    layer.size = {60, 30};
    layer.textAlignment = TextAlignment::center;
    const auto picture = [&](bool on) {
        layer.textCursorVisible = on;
        PixelBuffer pixels(60, 30);
        Exporter::drawTextBody(layer, *makeRasterContext(pixels));
        return pixels;
    };
    const PixelBuffer on = picture(true), off = picture(false);
    const int caretLeft = 39; // The letters and the bar together are about 30 wide, the bar 6.5 of that.
    bool differs = false;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 60; ++x) {
            if (x < caretLeft) {
                ASSERT_EQ(pixelAt(on, x, y), pixelAt(off, x, y)) << x;
            } else {
                differs |= pixelAt(on, x, y).a > 0;
                ASSERT_EQ(pixelAt(off, x, y).a, 0) << x;
            }
        }
    EXPECT_TRUE(differs);
}

TEST(TextBody, OverflowsUpwardFromTheBottomUnclipped)
{
    Layer layer = textLayer("MMM\nMMM\nMMM");
    layer.transform = {.x = 10, .y = 60};
    layer.size = {80, 25};
    layer.textVerticalAlignment = TextVerticalAlignment::bottom;
    const PixelBuffer picture = drawnFrame(sceneWith({100, 100}, {layer}));
    const auto isInked = [&](int top, int bottom) {
        for (int y = top; y < bottom; ++y)
            for (int x = 0; x < 100; ++x)
                if (pixelAt(picture, x, y).r < 100) return true;
        return false;
    };
    EXPECT_TRUE(isInked(12, 36)); // The first line ends 48.4 above the bottom at 85.
    EXPECT_TRUE(isInked(60, 85));
    EXPECT_FALSE(isInked(86, 100));
}

TEST(TextBody, TellsWhereItPaints)
{
    Layer layer = textLayer("A long line that hangs out of its box by far\nand a second one");
    layer.size = {40, 10};
    layer.textVerticalAlignment = TextVerticalAlignment::bottom;
    const CGRect bounds = bodyHints(layer).bounds.value();
    EXPECT_LT(bounds.minY(), -100);
    EXPECT_EQ(bounds.maxY(), 10);
    EXPECT_LE(bounds.minX(), 0);
    // A shadowed layer is painted within what it tells: nothing is cut off.
    layer.transform = {.x = 100, .y = 250};
    Layer shadowed = layer;
    shadowed.shadow = ShadowPreset::low;
    const PixelBuffer plain = drawnFrame(sceneWith({300, 300}, {layer})),
                      withShadow = drawnFrame(sceneWith({300, 300}, {shadowed}));
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 300; ++x)
            if (pixelAt(plain, x, y) == blackPixel) {
                ASSERT_EQ(pixelAt(withShadow, x, y), blackPixel);
            }
}

TEST(TextBody, DrawsAHundredThousandCharacters)
{
    std::string text;
    while (text.size() < 100000) text += "many words ";
    Layer layer = textLayer(text.c_str());
    EXPECT_GT(textInkBounds(layer).size.height, 10000);
    const PixelBuffer picture = drawnFrame(sceneWith({200, 60}, {layer}));
    int inked = 0;
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 200; ++x) inked += pixelAt(picture, x, y).r < 100 ? 1 : 0;
    EXPECT_GT(inked, 300);
}

TEST(CaretAwareText, IsTheTypedTextThenTheCaretThenWhatIsHidden)
{
    using Pieces = std::vector<StyledText>;
    const ColorRGBA clear = ColorRGBA::clear;
    struct Case {
        const char* what;
        const char* text;
        bool caretShows;
        std::optional<std::size_t> typed;
        Pieces pieces;
    };
    for (const Case& c : {Case{"plain", "Hi", true, {}, {{"Hi", blue}}}, Case{"empty", "", true, {}, {}},
                          Case{"caret on", "Hi|", true, {}, {{"Hi", blue}, {"|", blue}}},
                          Case{"caret off", "Hi|", false, {}, {{"Hi", blue}, {"|", clear}}},
                          Case{"typing", "Hello", true, 2, {{"He", blue}, {"llo", clear}}},
                          Case{"typing, caret", "Hello|", true, 2, {{"He", blue}, {"|", blue}, {"llo", clear}}},
                          Case{"typing, caret off", "Hello|", false, 0, {{"|", clear}, {"Hello", clear}}},
                          Case{"typed", "Hello|", true, 99, {{"Hello", blue}, {"|", blue}}},
                          Case{"two bars", "a||", true, {}, {{"a|", blue}, {"|", blue}}},
                          // Whole characters, unlike the export.
                          Case{"emoji", "\U0001F44D\U0001F44D", true, 1, {{thumb, blue}, {thumb, clear}}},
                          Case{"combining", "e\u0301x", true, 1, {{marked, blue}, {"x", clear}}}}) {
        SCOPED_TRACE(c.what);
        Layer layer = textLayer(c.text);
        layer.textColor = blue;
        layer.textCursorVisible = c.caretShows;
        layer.textTypeOnVisible = c.typed;
        EXPECT_EQ(caretAwareText(layer), c.pieces);
    }
}

TEST(CanvasFont, IsTheSystemFontWhereTheNameIsEmptyOrUnknown)
{
    EXPECT_EQ(canvasFont("Inter Semi Bold", 12), (CanvasFont{"Inter Semi Bold", 12}));
    EXPECT_EQ(canvasFont("", 12), (CanvasFont{"", 12}));
    EXPECT_EQ(canvasFont("No Such Font", 0.5), (CanvasFont{"", 0.5}));
}

TEST(OpticalCentring, MovesASingleLineThatFits)
{
    Layer layer = textLayer("nnnn"); // 4 * 1648/2816 * 20 = 46.8 wide.
    layer.textVerticalAlignment = TextVerticalAlignment::center;
    const auto offset = [](double size) { return -(2728 - 680 - 2048) / 2816.0 * size / 2; };
    EXPECT_NEAR(opticalCentringOffset(layer, 1), offset(20), 1e-3); // Inter's capitals stand centred as they are.

    Layer mono = layer;
    mono.fontName = "DejaVu Sans"; // 1901, 483 and 1493 units of 2048.
    if (isFontInstalled("DejaVu Sans")) {
        const double moved = -(1901 - 483 - 1493) / 2048.0 / 2;
        EXPECT_NEAR(opticalCentringOffset(mono, 1), 20 * moved, 0.02);
        EXPECT_NEAR(opticalCentringOffset(mono, 0.5), 10 * moved, 0.02);
        mono.fontSize = 0; // At least a tenth.
        EXPECT_NEAR(opticalCentringOffset(mono, 1), 0.1 * moved, 1e-3);
        mono.fontSize = 20;
        for (const TextVerticalAlignment other : {TextVerticalAlignment::top, TextVerticalAlignment::bottom}) {
            Layer elsewhere = mono;
            elsewhere.textVerticalAlignment = other;
            EXPECT_EQ(opticalCentringOffset(elsewhere, 1), 0);
        }
        for (const char* lines : {"n\nn", "n\rn"}) {
            Layer broken = mono;
            broken.text = lines;
            EXPECT_EQ(opticalCentringOffset(broken, 1), 0);
        }
        mono.size.width = 30;
        EXPECT_EQ(opticalCentringOffset(mono, 1), 0);
    }
}

TEST(OpticalCentring, FollowsTheFontAndTheScale)
{
    // The emoji font's capitals are far from centred.
    const FontMetrics m = fontMetrics("Noto Color Emoji", 1);
    const double moved = -(m.ascender - std::abs(m.descender) - m.capHeight) / 2;
    ASSERT_GT(std::abs(moved), 0.1);
    Layer layer = textLayer(thumb);
    layer.fontName = "Noto Color Emoji";
    layer.textVerticalAlignment = TextVerticalAlignment::center;
    EXPECT_NEAR(opticalCentringOffset(layer, 1), 20 * moved, 1e-9);
    EXPECT_NEAR(opticalCentringOffset(layer, 2), 40 * moved, 1e-9);
    for (const char* text : {"\U0001F44D\n", "\U0001F44D\r"}) {
        Layer broken = layer;
        broken.text = text;
        EXPECT_EQ(opticalCentringOffset(broken, 1), 0);
    }
    for (const TextVerticalAlignment other : {TextVerticalAlignment::top, TextVerticalAlignment::bottom}) {
        Layer elsewhere = layer;
        elsewhere.textVerticalAlignment = other;
        EXPECT_EQ(opticalCentringOffset(elsewhere, 1), 0);
    }
    // As wide as its box it is moved, wider it is not, at every scale.
    const double width = layOutText({.text = thumb, .fontName = "Noto Color Emoji", .fontSize = 20})->size.width;
    for (const double scale : {0.5, 1.0, 3.0}) {
        layer.size.width = width + 0.01;
        EXPECT_NEAR(opticalCentringOffset(layer, scale), 20 * scale * moved, 1e-9);
        layer.size.width = width - 0.01;
        EXPECT_EQ(opticalCentringOffset(layer, scale), 0);
    }
    layer.size.width = 200;
    layer.fontSize = 0; // At least a tenth.
    EXPECT_NEAR(opticalCentringOffset(layer, 1), 0.1 * moved, 1e-9);
}

/// A document's text box, for pictures to look at.
Layer sample(const char* text, CGPoint place)
{
    Layer layer = textLayer(text);
    layer.transform = {.x = place.x, .y = place.y};
    layer.fill = {0.93, 0.95, 1, 1};
    layer.textColor = {0.1, 0.15, 0.3, 1};
    layer.size = {150, 70};
    layer.fontSize = 16;
    return layer;
}

TEST(TextGoldens, Alignments)
{
    Array<Layer> layers;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) {
            Layer layer = sample("Motion for\nproduct", {10.0 + 160 * column, 10.0 + 80 * row});
            layer.textAlignment = static_cast<TextAlignment>(column);
            layer.textVerticalAlignment = static_cast<TextVerticalAlignment>(row);
            layers.append(layer);
        }
    EXPECT_GOLDEN(drawnFrame(sceneWith({490, 250}, layers)), "text-alignments");
}

TEST(TextGoldens, CaretsAndTyping)
{
    const char* texts[] = {"Type on|", "Thumbs \U0001F44D\U0001F44D up", "Ce\u0301le\u0301bre\u0301 na\u00efve"};
    Array<Layer> layers;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column) {
            Layer layer = sample(texts[row], {10.0 + 160 * column, 10.0 + 50 * row});
            layer.size.height = 40;
            layer.textVerticalAlignment = TextVerticalAlignment::center;
            layer.textCursorVisible = column % 2 == 0;
            const std::size_t typed[] = {0, 3, 9};
            if (column > 0) layer.textTypeOnVisible = typed[column - 1];
            layers.append(layer);
        }
    // The fields of evaluated copies are painted as they are.
    PixelBuffer picture(650, 160);
    const auto context = makeRasterContext(picture);
    context->setFillColor({1, 1, 1, 1});
    context->fillRect({{0, 0}, {650, 160}});
    for (const Layer& layer : layers) {
        SavedState saved(*context);
        context->translateCTM(layer.transform.x, layer.transform.y);
        Exporter::drawTextBody(layer, *context);
    }
    EXPECT_GOLDEN(picture, "text-typing");
}

TEST(TextGoldens, Boxes)
{
    Array<Layer> layers;
    const auto add = [&](int column, int row, auto change) {
        Layer layer = sample("Boxed text", {12.0 + 166 * column, 12.0 + 86 * row});
        layer.size.height = 62;
        layer.cornerRadius = 12;
        layer.stroke = {0.2, 0.4, 0.9, 1};
        layer.textAlignment = TextAlignment::center;
        layer.textVerticalAlignment = TextVerticalAlignment::center;
        change(layer);
        layers.append(layer);
    };
    add(0, 0, [](Layer& layer) { layer.strokeWidth = 3; });
    add(1, 0, [](Layer& layer) {
        layer.strokeWidth = 3;
        layer.strokeOutside = true;
    });
    add(2, 0, [](Layer& layer) {
        layer.perSideStroke = true;
        layer.strokeWidthTop = 2;
        layer.strokeWidthRight = 4;
        layer.strokeWidthBottom = 6;
        layer.strokeWidthLeft = 8;
    });
    add(0, 1, [](Layer& layer) {
        layer.fill = {1, 0.72, 0.3, 1};
        layer.textColorHarmonize = true;
    });
    add(1, 1, [](Layer& layer) {
        layer.fill = ColorRGBA::clear;
        layer.fontName = "Inter Semi Bold";
        layer.fontSize = 22;
        layer.shadow = ShadowPreset::low;
    });
    add(2, 1, [](Layer& layer) {
        layer.transform.rotation = 8;
        layer.perSideStroke = true;
        layer.strokeWidthLeft = 4;
        layer.cornerRadius = 0;
    });
    EXPECT_GOLDEN(drawnFrame(sceneWith({510, 180}, layers), 0, CGSize{1020, 360}), "text-boxes-2x");
}

TEST(TextGoldens, Scripts)
{
    Layer layer = sample("Größe Ελληνικά Привет\nÅngström \u2192 fi ffl 1/2\n\U0001F468\u200D\U0001F469\u200D\U0001F467 "
                         "\U0001F1E9\U0001F1EA \u2764\uFE0F ok",
                         {10, 10});
    layer.size = {240, 90};
    EXPECT_GOLDEN(drawnFrame(sceneWith({260, 110}, {layer}), 0, CGSize{520, 220}), "text-scripts-2x");
}

} // namespace
} // namespace larkspool
