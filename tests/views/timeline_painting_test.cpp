#include "views/theme.h"
#include "views/timeline_view_fixture.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

// What the timeline paints, by the colours at points.

namespace larkspool {
namespace {

class TimelinePaintingTest : public TimelineViewTest {
protected:
    TimelinePaintingTest() { view_.refresh(); }

    void edit(const std::function<void(Layer& layer)>& work)
    {
        editor().mutate("Edit", [&](TweenScene& scene) { work(*editLayer(scene, layerID)); });
        view_.refresh();
    }
    void select(TimelineSelection items)
    {
        editor().selectTimelineItems(std::move(items));
        view_.refresh();
    }
    QImage picture()
    {
        QImage image(view_.size(), QImage::Format_RGB32);
        view_.render(&image);
        return image;
    }
    QColor at(double x, int y) { return picture().pixelColor(static_cast<int>(x), y); }
    /// How many pixels of the rectangle have just that colour.
    int count(QRect in, const QColor& color)
    {
        const QImage image = picture();
        int found = 0;
        for (int y = in.top(); y <= in.bottom(); ++y)
            for (int x = in.left(); x <= in.right(); ++x)
                if (image.pixelColor(x, y) == color) ++found;
        return found;
    }
};

TEST_F(TimelinePaintingTest, TheRailHasTicksOfWholeSeconds36PixelsApartOrMore)
{
    struct Case {
        const char* words;
        double duration;
        int pixelsBetween;
    };
    for (const Case& c : {Case{"10 seconds: 100 pixels each", 10, 100}, Case{"25 seconds: 40 pixels each", 25, 40},
                          Case{"50 seconds: 20 pixels each, so every second one", 50, 40},
                          Case{"400 seconds: 2.5 pixels each, so every 15th", 400, 0}}) {
        SCOPED_TRACE(c.words);
        editor().mutate("Edit Duration", [&](TweenScene& scene) { scene.duration = c.duration; });
        view_.refresh();
        const QImage image = picture();
        for (int x = 205; x <= 1195; ++x) {
            const double tick = c.pixelsBetween == 0 ? 37.5 : c.pixelsBetween;
            const double nearest = std::round((x - 200) / tick) * tick + 200;
            const bool isTick = image.pixelColor(x, 60) == theme().tick;
            EXPECT_EQ(isTick, x == std::round(nearest)) << x;
        }
    }
}

TEST_F(TimelinePaintingTest, ThePlayheadRunsFromTheRailToTheLowerEdgeBelowItsReadout)
{
    editor().setPlayhead(4.5);
    view_.refresh();
    for (const int y : {41, 64, 150, 303}) EXPECT_EQ(at(xOf(4.5), y), theme().playhead) << y;
    EXPECT_NE(at(xOf(4.5) + 1, 150), theme().playhead) << "1 pixel wide";
    EXPECT_EQ(at(xOf(4.5) - 25, 45), theme().playhead) << "the readout is a pill on the rail";
    EXPECT_GT(count({xOf(4.5) - 40, 43, 80, 18}, theme().playheadText), 10);

    editor().setTimelineZoom(true);
    editor().scrollTimeline(-9);
    view_.refresh(); // Zooming in shows the playhead;
    editor().scrollTimeline(-9);
    view_.refresh(); // from there on a person can go elsewhere.
    EXPECT_EQ(count({192, 150, 1000, 1}, theme().playhead), 0) << "out of sight";
}

TEST_F(TimelinePaintingTest, ASpanIsABarFromItsStartToItsEnd)
{
    showLayer();
    for (const double time : {1.05, 2.0, 2.95, 5.5}) EXPECT_EQ(at(xOf(time), spansY), theme().spanFill) << time;
    for (const double time : {0.97, 3.03, 4.5, 6.03}) EXPECT_NE(at(xOf(time), spansY), theme().spanFill) << time;
    EXPECT_EQ(at(xOf(2), 71), theme().spanFill);
    EXPECT_NE(at(xOf(2), 68), theme().spanFill) << "18 high, from 70 on";
    EXPECT_EQ(at(xOf(2), 86), theme().spanFill);
    EXPECT_NE(at(xOf(2), 89), theme().spanFill);
}

TEST_F(TimelinePaintingTest, ASelectedItemIsOutlinedInTheColourOfText)
{
    showLayer();
    struct Case {
        const char* what;
        TimelineItemRef item;
        QRect place;
    };
    for (const Case& c :
         {Case{"a span", firstSpan, {xOf(1), 69, 200, 20}}, Case{"a diamond", keyframe, {xOf(2) - 9, 110, 18, 18}},
          Case{"a wait", tail, {xOf(2) + 12, 112, 80, 14}}, Case{"a pulse", pulse, {xOf(4) - 10, 90, 17, 18}}}) {
        SCOPED_TRACE(c.what);
        select({});
        EXPECT_EQ(count(c.place, theme().text), 0);
        select({c.item});
        EXPECT_GT(count(c.place, theme().text), 3);
    }
}

TEST_F(TimelinePaintingTest, TheEffectsOfASpanAreWedgesAsLongAsTheyLast)
{
    showLayer();
    edit([](Layer& layer) {
        layer.spans.edit()[0].effects = {SpanEffect{.id = idOf(31), .kind = SpanEffect::Kind::fadeIn, .duration = 0.5},
                                         SpanEffect{.id = idOf(32), .kind = SpanEffect::Kind::fadeOut, .duration = 0.25}};
    });
    const auto isWedge = [this](double time, int y) { return at(xOf(time), y) == theme().spanEffect; };
    EXPECT_TRUE(isWedge(1.25, 84)) << "below the rising line";
    EXPECT_FALSE(isWedge(1.25, 73)) << "above it";
    EXPECT_TRUE(isWedge(1.48, 75)) << "at its end it is as high as the bar";
    EXPECT_FALSE(isWedge(1.53, 84)) << "beyond it";
    EXPECT_FALSE(isWedge(2.72, 84));
    EXPECT_TRUE(isWedge(2.77, 75)) << "an outro falls";
    EXPECT_FALSE(isWedge(2.95, 75));
    EXPECT_GT(count({xOf(1.55), 72, 100, 14}, theme().spanText), 5) << "the name beside the wedge";
    edit([](Layer& layer) { layer.spans.edit()[0].end = 2; });
    EXPECT_EQ(count({xOf(1.52), 72, 22, 14}, theme().spanText), 0) << "no room for a name";
}

TEST_F(TimelinePaintingTest, AKeyframeIsADiamondWithATailForItsWaitAndALineWhereTheValueChanges)
{
    showLayer();
    EXPECT_EQ(at(xOf(2), keyframesY), theme().keyframe);
    EXPECT_EQ(at(xOf(8) - 3, keyframesY), theme().keyframe);
    EXPECT_NE(at(xOf(8) - 4, keyframesY - 4), theme().keyframe) << "it has no corners there";
    const QRect wait(xOf(2) + 10, 115, 85, 8);
    EXPECT_GT(count(wait, theme().waitFill), 50) << "hatched";
    EXPECT_LT(count(wait, theme().waitFill), 85 * 8 * 3 / 4);
    for (const int y : {114, 119, 123}) EXPECT_EQ(at(xOf(3) - 1, y), theme().wait) << "the handle is 12 high";
    EXPECT_EQ(count({xOf(3) + 2, 113, 10, 3}, theme().waitFill), 0);
    EXPECT_EQ(at(xOf(5.5), 118), theme().keyframeLine);
    EXPECT_NE(at(xOf(2.5), 118), theme().keyframeLine) << "the tail lies there";
    edit([](Layer& layer) { layer.keyframes.edit()[1].value = 10.0; });
    EXPECT_NE(at(xOf(5.5), 118), theme().keyframeLine) << "the value stays";
    edit([](Layer& layer) { layer.keyframes.edit()[0].wait = 0.0005; });
    EXPECT_EQ(count(wait, theme().waitFill), 0) << "too short for a tail";
}

TEST_F(TimelinePaintingTest, APulseIsARingWithItsTimeBeside)
{
    showLayer();
    EXPECT_EQ(at(xOf(4), pulsesY), theme().pulse) << "its dot";
    EXPECT_EQ(at(xOf(4) - 3, pulsesY), theme().laneSelected) << "within the ring";
    EXPECT_NE(at(xOf(4) - 4, pulsesY), theme().laneSelected);
    EXPECT_EQ(at(xOf(4) - 7, pulsesY), theme().laneSelected);
    EXPECT_GT(count({xOf(4) + 9, 90, 30, 18}, theme().textSecondary), 5) << "4.00s";
}

TEST_F(TimelinePaintingTest, ASelectedLayersRowsLieOnAnotherGround)
{
    showLayer();
    editor().pinTimelineLayers({otherID});
    view_.refresh();
    EXPECT_EQ(at(xOf(9.5), spansY), theme().laneSelected);
    EXPECT_EQ(at(xOf(9.5), 134), theme().hairline) << "between the layers: 3 rows and 6 above and below";
    EXPECT_EQ(at(xOf(9.5), 150), theme().panel) << "pinned alone";
}

TEST_F(TimelinePaintingTest, ARowForTheWholeSceneStacksBarsAndCountsMarkers)
{
    editor().mutate("Edit", [](TweenScene& scene) {
        editLayer(scene, otherID)->spans.append(TimeSpan{.id = idOf(41), .start = 2, .end = 4});
        editLayer(scene, otherID)->keyframes = {Keyframe{.id = idOf(42), .time = 2, .value = 1.0}};
    });
    view_.refresh();
    const int firstLane = 81, secondLane = 101; // 8 below the rail, 20 apart.
    EXPECT_EQ(at(xOf(1.2), firstLane), theme().spanFill);
    EXPECT_NE(at(xOf(3.5), firstLane), theme().spanFill);
    EXPECT_EQ(at(xOf(3.8), secondLane), theme().spanFill) << "it overlaps the first one";
    EXPECT_NE(at(xOf(1.2), secondLane), theme().spanFill);
    EXPECT_EQ(at(xOf(5.1), firstLane), theme().spanFill);
    EXPECT_GT(count({xOf(1) + 60, 73, 80, 16}, theme().spanText), 5) << "2 layers";
    // Below two lanes of bars and a row of clips: 72 to 110, 119 to 137, and keyframes from 146 on.
    EXPECT_EQ(at(xOf(2), 155), theme().keyframe);
    EXPECT_EQ(at(xOf(8), 155), theme().keyframe);
    const QRect besideTwo(xOf(2) + 5, 147, 8, 11), besideOne(xOf(8) + 5, 147, 8, 11);
    EXPECT_GT(count(besideTwo, theme().panel), 0);
    EXPECT_LT(count(besideTwo, theme().panel), 8 * 11 - 8) << "a 2 at the diamond's upper right";
    EXPECT_GT(count(besideOne, theme().panel), 8 * 11 - 8) << "no count of one";
}

TEST_F(TimelinePaintingTest, TheMinimapShowsAllBarsAndAFrameRoundWhatIsSeen)
{
    showLayer();
    EXPECT_EQ(count({0, 277, 1216, 1}, theme().railBackground), 0) << "only while the timeline is zoomed";
    editor().setTimelineZoom(true);
    view_.refresh();
    editor().scrollTimeline(2);
    view_.refresh();
    const QRect bar(xOf(5) + 2, 276, 96, 26);
    EXPECT_GT(count({xOf(7), 276, 300, 27}, theme().railBackground), 300 * 20);
    EXPECT_LT(count(bar, theme().railBackground), 96 * 26 - 2 * 90) << "the span from 5 to 6, outside of the frame, 2 high";
    EXPECT_EQ(count({xOf(2) + 3, 290, 240, 4}, theme().railBackground), 0) << "the frame from 2 to 4.5";
}

TEST_F(TimelinePaintingTest, PillsShowWhetherRippleIsOn)
{
    showLayer();
    select({firstSpan});
    const QPoint before(xOf(1) - 15, spansY - 7), after(xOf(3) + 15, spansY - 7);
    EXPECT_EQ(at(before.x(), before.y()), theme().overlay);
    editor_.defaults.set(DefaultsKey::ripplePushBefore, true);
    view_.refresh();
    EXPECT_EQ(at(before.x(), before.y()), theme().accent);
    EXPECT_EQ(at(after.x(), after.y()), theme().overlay);
    select({});
    EXPECT_EQ(at(before.x(), before.y()), theme().laneSelected) << "without a selection there are none";
}

TEST_F(TimelinePaintingTest, AnEdgeThatWouldBeTrimmedShowsAGripUnderThePointer)
{
    showLayer();
    hand().moveTo({xOf(2), spansY});
    EXPECT_EQ(at(xOf(2) + 20, spansY), theme().spanFillHover);
    EXPECT_NE(at(xOf(1) + 3, spansY), theme().spanText);
    hand().moveTo({xOf(1) + 2, spansY});
    EXPECT_GT(count({xOf(1) + 2, 73, 3, 12}, theme().spanText), 9) << "2 wide and 12 high";
    hand().moveTo({xOf(9), spansY});
    EXPECT_EQ(at(xOf(2) + 20, spansY), theme().spanFill);
}

} // namespace
} // namespace larkspool
