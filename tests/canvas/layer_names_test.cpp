#include "canvas/layer_names.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

TEST(LayerNames, AColourHasAPlainWord)
{
    struct Case {
        const char* what;
        ColorRGBA color;
        const char* word;
    };
    for (const Case& c : {Case{"the default fill", {0.2, 0.5, 1, 1}, "Blue"},
                          Case{"hardly there", {1, 0, 0, 0.049}, "Clear"},
                          Case{"just there", {1, 0, 0, 0.05}, "Red"},
                          Case{"black", {0, 0, 0, 1}, "Black"},
                          Case{"dark grey, still black", {0.17, 0.17, 0.17, 1}, "Black"},
                          Case{"grey", {0.18, 0.18, 0.18, 1}, "Gray"},
                          Case{"light grey", {0.92, 0.92, 0.92, 1}, "Gray"},
                          Case{"white", {0.93, 0.93, 0.93, 1}, "White"},
                          Case{"hardly coloured: saturation 0.09", {1, 0.91, 0.91, 1}, "White"},
                          Case{"coloured: saturation 0.11", {1, 0.89, 0.89, 1}, "Red"},
                          Case{"hue 0", {1, 0, 0, 1}, "Red"},
                          Case{"hue 14.4", {1, 0.24, 0, 1}, "Red"},
                          Case{"hue 15 exactly", {1, 0.25, 0, 1}, "Orange"},
                          Case{"hue 39.9", {1, 0.665, 0, 1}, "Orange"},
                          Case{"hue 40.08", {1, 0.668, 0, 1}, "Yellow"},
                          Case{"hue 45", {1, 0.75, 0, 1}, "Yellow"},
                          Case{"hue 60", {1, 1, 0, 1}, "Yellow"},
                          Case{"hue 64.8", {0.92, 1, 0, 1}, "Yellow"},
                          Case{"hue 65.1", {0.915, 1, 0, 1}, "Green"},
                          Case{"hue 75", {0.75, 1, 0, 1}, "Green"},
                          Case{"hue 120", {0, 1, 0, 1}, "Green"},
                          Case{"hue 169.8", {0, 1, 0.83, 1}, "Green"},
                          Case{"hue 170.1", {0, 1, 0.835, 1}, "Cyan"},
                          Case{"hue 180", {0, 1, 1, 1}, "Cyan"},
                          Case{"hue 199.8", {0, 0.67, 1, 1}, "Cyan"},
                          Case{"hue 200.1", {0, 0.665, 1, 1}, "Blue"},
                          Case{"hue 210", {0, 0.5, 1, 1}, "Blue"},
                          Case{"hue 240", {0, 0, 1, 1}, "Blue"},
                          Case{"hue 254.4", {0.24, 0, 1, 1}, "Blue"},
                          Case{"hue 255.3", {0.255, 0, 1, 1}, "Purple"},
                          Case{"hue 270", {0.5, 0, 1, 1}, "Purple"},
                          Case{"hue 289.8", {0.83, 0, 1, 1}, "Purple"},
                          Case{"hue 290.1", {0.835, 0, 1, 1}, "Magenta"},
                          Case{"hue 300", {1, 0, 1, 1}, "Magenta"},
                          Case{"hue 329.4", {1, 0, 0.51, 1}, "Magenta"},
                          Case{"hue 330 exactly", {1, 0, 0.5, 1}, "Pink"},
                          Case{"hue 344.4", {1, 0, 0.26, 1}, "Pink"},
                          Case{"hue 345 exactly", {1, 0, 0.25, 1}, "Red"},
                          Case{"hue 351", {1, 0, 0.15, 1}, "Red"},
                          Case{"overshooting channels count as full", {3, 0, -1, 1}, "Red"}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(colorBucketName(c.color), c.word);
    }
}

TEST(LayerNames, ATextsNameIsItsFirstLineCutTo28Characters)
{
    struct Case {
        const char* what;
        const char* text;
        const char* name;
    };
    for (const Case& c :
         {Case{"a word", "Hello", "Hello"}, Case{"nothing", "", "Text"}, Case{"blanks", "  \t ", "Text"},
          Case{"a line of blanks is the first line", "  \nsecond", "Text"},
          Case{"the second of three lines, trimmed", "\n  second \nthird", "second"},
          Case{"lines with returns", "\r\n\r\nsecond\r\nthird", "second"},
          Case{"28 characters", "1234567890123456789012345678", "1234567890123456789012345678"},
          Case{"29 characters", "12345678901234567890123456789", "1234567890123456789012345678…"},
          Case{"blanks do not count", "   1234567890123456789012345678   ", "1234567890123456789012345678"},
          Case{"characters that a person sees", "ééééééééééééééééééééééééééééx", "éééééééééééééééééééééééééééé…"}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(derivedTextLayerName(c.text), c.name);
    }
}

TEST(LayerNames, NamesThatFollowAreDerivedFromTheContentOfTheirKind)
{
    Layer rectangle, ellipse{.kind = Layer::Kind::ellipse}, text{.kind = Layer::Kind::text}, cursor{.kind = Layer::Kind::cursor},
        line{.kind = Layer::Kind::line};
    rectangle.fill = {1, 0, 0, 1};
    ellipse.fill = ColorRGBA::white;
    text.text = SharedString("Hello\nworld");
    cursor.cursorVariant = CursorVariant::ibeam;
    line.stroke = {0, 1, 0, 1};
    line.lineShape = LineShape::wave;
    EXPECT_EQ(derivedLayerName(rectangle), "Red Rectangle");
    EXPECT_EQ(derivedLayerName(ellipse), "White Ellipse");
    EXPECT_EQ(derivedLayerName(text), "Hello");
    EXPECT_EQ(derivedLayerName(cursor), "I-Beam");
    EXPECT_EQ(derivedLayerName(line), "Green Wave");
    EXPECT_EQ(derivedLayerName(Layer{.kind = Layer::Kind::image}), std::nullopt);
}

TEST(LayerNames, ANameFollowsUntilItsOwnFlagIsCleared)
{
    for (const Layer::Kind kind :
         {Layer::Kind::rectangle, Layer::Kind::ellipse, Layer::Kind::text, Layer::Kind::cursor, Layer::Kind::line}) {
        SCOPED_TRACE(fileValue(kind));
        Layer layer{.name = SharedString("Mine"), .kind = kind};
        setNameFollowsContent(layer, /*follows=*/false);
        EXPECT_FALSE(nameFollowsContent(layer));
        refreshFollowingName(layer);
        EXPECT_EQ(layer.name, "Mine");
        setNameFollowsContent(layer, /*follows=*/true);
        EXPECT_TRUE(nameFollowsContent(layer));
        refreshFollowingName(layer);
        EXPECT_EQ(layer.name.string(), derivedLayerName(layer));
    }
    Layer rectangle;
    setNameFollowsContent(rectangle, /*follows=*/false);
    EXPECT_FALSE(rectangle.nameFollowsShape);
    EXPECT_TRUE(rectangle.nameFollowsText && rectangle.nameFollowsLineShape && rectangle.nameFollowsCursorVariant);
}

TEST(LayerNames, AnImageHasNoFlagToClear)
{
    Layer image{.name = SharedString("Photo"), .kind = Layer::Kind::image};
    const Layer before = image;
    setNameFollowsContent(image, /*follows=*/false);
    refreshFollowingName(image);
    EXPECT_EQ(image, before);
    EXPECT_FALSE(nameFollowsContent(image));
}

TEST(LayerNames, NumbersGoOnBehindTheLargestInUse)
{
    const auto named = [](const char* name) {
        Layer layer;
        layer.name = SharedString(name);
        return layer;
    };
    struct Case {
        const char* what;
        std::vector<const char*> names;
        const char* next;
    };
    for (const Case& c :
         {Case{"none", {}, "Zoom 1"}, Case{"1 and 7", {"Zoom 1", "Zoom 7"}, "Zoom 8"},
          Case{"names that do not count", {"Zoom", "Zoom x", "Zoomy 3", "Zoom ", "Zoom  4", "Zoom 5 x", "zoom 9"}, "Zoom 1"},
          Case{"a number below 0", {"Zoom -3"}, "Zoom 1"}, Case{"a signed one", {"Zoom +3"}, "Zoom 4"},
          Case{"one that fits nowhere", {"Zoom 99999999999999999999", "Zoom 2"}, "Zoom 3"},
          Case{"the largest there is", {"Zoom 9223372036854775807"}, "Zoom 9223372036854775808"}}) {
        SCOPED_TRACE(c.what);
        Array<Layer> layers;
        for (const char* name : c.names) layers.append(named(name));
        EXPECT_EQ(numberedName("Zoom", sceneHolding(layers)), c.next);
        EXPECT_EQ(numberedName("Zoom", sceneHolding({groupNamed('g', layers)})), c.next) << "at any depth";
    }
}

TEST(LayerNames, AKindIsCapitalisedAsOneWord)
{
    EXPECT_EQ(capitalizedKind(Layer::Kind::rectangle), "Rectangle");
    EXPECT_EQ(capitalizedKind(Layer::Kind::gradientField), "Gradientfield");
    EXPECT_EQ(capitalizedKind(Layer::Kind::hotspot), "Hotspot");
}

} // namespace
} // namespace larkspool
