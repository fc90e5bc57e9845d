#include "rendering/text_fitting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace larkspool {
namespace {

using testing::ElementsAre;

/// Every character is `fontSize` wide and every line 1.5 times as high, with words broken anywhere. Remembers what it was asked.
class SquareMeasurer final : public TextMeasurer {
public:
    CGSize boundingSize(std::string_view text, std::string_view, double fontSize, double width) const override
    {
        asked.push_back(std::string(text) + " in " + std::to_string(static_cast<int>(width)));
        const double all = static_cast<double>(text.size()) * fontSize;
        const double lines = std::ceil(all / width);
        return {std::min(all, std::floor(width / fontSize) * fontSize), lines * lineHeight * fontSize};
    }
    FontMetrics metrics(std::string_view, double fontSize) const override
    {
        return {fontSize, -0.25 * fontSize, -0.25 * fontSize, 0};
    }

    double lineHeight = 1.5;
    mutable std::vector<std::string> asked;
};

Layer textLayer(const char* text, double fontSize = 10)
{
    Layer layer{.kind = Layer::Kind::text, .size = {1, 1}, .text = text, .fontSize = fontSize, .textAutoFit = false};
    return layer;
}

TEST(AutoGrowTextSize, OfOneLineHasAMarginOfFour)
{
    const SquareMeasurer measurer;
    EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer("abc"), measurer), (CGSize{34, 19}));
    EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer("abc", 10.1), measurer), (CGSize{35, 20})); // 30.3 and 15.15, rounded up.
    EXPECT_THAT(measurer.asked, ElementsAre("abc in 10000", "abc in 10000"));
}

TEST(AutoGrowTextSize, WrapsAtFiveHundred)
{
    const SquareMeasurer measurer;
    struct Case {
        const char* what;
        std::size_t count;
        double fontSize;
        CGSize size;
    };
    for (const Case& c : {Case{"496 and 4 just fit", 62, 8, {500, 16}}, Case{"504 and 4 do not", 63, 8, {500, 28}},
                          Case{"three lines", 150, 8, {500, 40}}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer(std::string(c.count, 'a').c_str(), c.fontSize), measurer), c.size);
    }
    EXPECT_EQ(measurer.asked.back(), std::string(150, 'a') + " in 500");
}

TEST(AutoGrowTextSize, IsAtLeastALineHighAndEightEachWay)
{
    SquareMeasurer measurer;
    EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer(""), measurer), (CGSize{8, 19}));
    EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer("", 1), measurer), (CGSize{8, 8})); // 4, and 2 + 4.
    EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer("", 10.1), measurer), (CGSize{8, 20})); // 15.15, rounded up.
    measurer.lineHeight = 0.5;
    EXPECT_EQ(LarkspoolAutoGrowTextSize(textLayer("abc"), measurer), (CGSize{34, 19}));
}

TEST(AutoGrowTextSize, HasRoomForACaretThatTheLayerEverHas)
{
    const SquareMeasurer measurer;
    Layer blinks = textLayer("");
    blinks.textCursorBlinks = true;
    EXPECT_EQ(LarkspoolAutoGrowTextSize(blinks, measurer), LarkspoolAutoGrowTextSize(textLayer("|"), measurer));
    Layer inASpan = textLayer("ab");
    inASpan.spans = {TimeSpan{.start = 0, .end = 1}, TimeSpan{.start = 5, .end = 6, .cursorBlinkRanges = {BlinkRange{}}}};
    EXPECT_EQ(LarkspoolAutoGrowTextSize(inASpan, measurer), (CGSize{34, 19}));
    inASpan.spans = {TimeSpan{.start = 0, .end = 1}};
    EXPECT_EQ(LarkspoolAutoGrowTextSize(inASpan, measurer), (CGSize{24, 19}));
}

TEST(RefitText, FollowsTheTextWithPadding)
{
    const SquareMeasurer measurer;
    Layer layer = textLayer("abc");
    layer.textAutoFit = true;
    layer.textUserResized = true; // Plays no part.
    layer.textPadX = 10;
    layer.textPadY = 3;
    Layer longOne = textLayer(std::string(60, 'a').c_str());
    longOne.textAutoFit = true;
    Layer empty = textLayer("", 1);
    empty.textAutoFit = true;
    empty.textCursorBlinks = true;
    Array<Layer> layers{layer, longOne, empty};
    refitTextHelper(layers, measurer);
    EXPECT_EQ(layers[0].size, (CGSize{54, 25}));
    EXPECT_EQ(layers[1].size, (CGSize{604, 19})); // Not wrapped.
    EXPECT_EQ(layers[2].size, (CGSize{8, 8}));
    EXPECT_THAT(measurer.asked, ElementsAre("abc in 10000", std::string(60, 'a') + " in 10000", "| in 10000"));
}

TEST(RefitText, GrowsTextThatNobodySizedAndLeavesTheRestAlone)
{
    const SquareMeasurer measurer;
    Layer grows = textLayer(std::string(60, 'a').c_str());
    grows.textPadX = 10; // Of no effect here.
    Layer sized = textLayer("abc");
    sized.textUserResized = true;
    Layer rectangle = textLayer("abc");
    rectangle.kind = Layer::Kind::rectangle;
    rectangle.textAutoFit = true;
    Array<Layer> layers{grows, sized, rectangle};
    refitTextHelper(layers, measurer);
    EXPECT_EQ(layers[0].size, (CGSize{500, 34}));
    EXPECT_EQ(layers[1].size, (CGSize{1, 1}));
    EXPECT_EQ(layers[2].size, (CGSize{1, 1}));
}

TEST(RefitText, ReachesChildrenOfEveryDepth)
{
    const SquareMeasurer measurer;
    Layer inner{.kind = Layer::Kind::group, .children = {textLayer("abc")}};
    Layer outer{.kind = Layer::Kind::group, .children = {inner, textLayer("a")}};
    Array<Layer> layers{outer};
    refitTextHelper(layers, measurer);
    EXPECT_EQ(layers[0].children[0].children[0].size, (CGSize{34, 19}));
    EXPECT_EQ(layers[0].children[1].size, (CGSize{14, 19}));
}

TEST(RefitText, EditsOnlyWhatChanges)
{
    const SquareMeasurer measurer;
    Layer fitted = textLayer("abc");
    fitted.size = {34, 19};
    Layer still{.kind = Layer::Kind::group, .children = {fitted}},
        moved{.kind = Layer::Kind::group, .children = {textLayer("abc")}};
    const Array<Layer> before{still, moved};
    Array<Layer> after = before;
    refitTextHelper(after, measurer);
    EXPECT_TRUE(after[0].children.sharesStorageWith(before[0].children));
    EXPECT_EQ(before[1].children[0].size, (CGSize{1, 1}));
    EXPECT_EQ(after[1].children[0].size, (CGSize{34, 19}));

    Array<Layer> again = after;
    refitTextHelper(again, measurer);
    EXPECT_TRUE(again.sharesStorageWith(after));
}

TEST(SystemTextMeasurer, MeasuresWithTheFontsThatAreDrawn)
{
    // Two lines of Inter's letters: 4 * 1648 of 2816 units wide at most, each 3408 high.
    const CGSize size = systemTextMeasurer().boundingSize("nnnn nn", "Inter", 28.16, 80);
    EXPECT_NEAR(size.width, 65.92, 0.01);
    EXPECT_NEAR(size.height, 2 * 34.08, 0.01);
    EXPECT_NEAR(systemTextMeasurer().metrics("Inter", 28.16).lineHeight(), 34.08, 0.01);
    Layer layer = textLayer("nnnn", 28.16);
    layer.fontName = "Inter";
    EXPECT_EQ(LarkspoolAutoGrowTextSize(layer), (CGSize{70, 39}));
}

} // namespace
} // namespace larkspool
