#include "views/timeline_view.h"

#include "views/timeline_layout.h"
#include "views/timeline_view_fixture.h"

#include <QElapsedTimer>
#include <QImage>
#include <QToolButton>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST_F(TimelineViewTest, APressOnTheRailMovesThePlayheadAndADragGoesOn)
{
    hand().press({xOf(3), 52});
    EXPECT_NEAR(state().playhead, 3, 1e-9);
    hand().moveTo({xOf(4.5), 52}).release();
    EXPECT_NEAR(state().playhead, 4.5, 1e-9);
    hand().press({xOf(2), 52}).moveTo({xOf(-1.5), 60}).release();
    EXPECT_EQ(state().playhead, 0) << "held at the scene's begin";
    EXPECT_EQ(editor().undoManager().undoCount(), 0u);
}

TEST_F(TimelineViewTest, ADragOnASpanCountsFromWhereItBeganAndIsOneStep)
{
    showLayer();
    hand().press({xOf(2), spansY}).moveBy(3);
    EXPECT_EQ(editor().scene(), before_) << "3 pixels are no drag yet";
    hand().moveBy(2).moveBy(150).release();
    expectTimes(firstSpan, {2.5, 4.5});
    EXPECT_TRUE(state().timelineSelection.empty() || state().timelineSelection.contains(firstSpan));
    expectOneStep("Move Span");
}

TEST_F(TimelineViewTest, TheOuterSixPixelsOfASpanTrimIt)
{
    struct Case {
        const char* where;
        int x;
        ItemTimes expected;
    };
    for (const Case& c :
         {Case{"the left edge", xOf(1) + 2, {1.5, 3}}, Case{"the last pixel of the left handle", xOf(1) + 5, {1.5, 3}},
          Case{"the right edge", xOf(3) - 2, {1, 3.5}}}) {
        SCOPED_TRACE(c.where);
        showLayer();
        hand().press({c.x, spansY}).moveBy(50).release();
        expectTimes(firstSpan, c.expected);
        EXPECT_EQ(editor().undoManager().undoActionName(), "Resize Span");
        editor().undo();
    }
}

TEST_F(TimelineViewTest, ADiamondIsDraggedInItsRow)
{
    showLayer();
    hand().press({xOf(8), keyframesY}).moveBy(-50).moveBy(-50).release();
    EXPECT_NEAR(times(TimelineItemRef::keyframe(layerID, idOf(15))).start, 7, 1e-9);
    EXPECT_EQ(state().selectedKeyframeID, idOf(15));
    expectOneStep("Move Keyframe");
}

TEST_F(TimelineViewTest, TheHandleOfAWaitChangesTheHold)
{
    showLayer();
    hand().press({xOf(3), keyframesY}).moveBy(50).moveBy(50).release();
    expectTimes(tail, {2, 4});
    EXPECT_NEAR(times(keyframe).start, 2, 1e-9);
    expectOneStep("Resize Wait");
}

TEST_F(TimelineViewTest, APulseIsDragged)
{
    showLayer();
    hand().press({xOf(4), pulsesY}).moveBy(30).moveBy(20).release();
    EXPECT_NEAR(times(pulse).start, 4.5, 1e-9);
    expectOneStep("Move Pulse");
}

TEST_F(TimelineViewTest, ATapSelectsAndASecondOneLetsGo)
{
    showLayer();
    hand().click({xOf(2), spansY});
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan});
    EXPECT_EQ(state().selectedSpanID, idOf(11));
    hand().click({xOf(5.5), spansY}, Qt::ShiftModifier);
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{firstSpan, secondSpan}));
    hand().click({xOf(2), spansY}, Qt::ControlModifier);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{secondSpan});
    hand().click({xOf(5.5), spansY});
    EXPECT_TRUE(state().timelineSelection.empty());
    EXPECT_EQ(editor().scene(), before_);
}

TEST_F(TimelineViewTest, AClickBesideAllItemsLetsGoOfThem)
{
    showLayer();
    editor().selectTimelineItems({firstSpan});
    hand().click({xOf(9), spansY});
    EXPECT_TRUE(state().timelineSelection.empty());
}

TEST_F(TimelineViewTest, AMarqueeOverEmptyRowsSelectsWhatItTouches)
{
    showLayer();
    hand().press({xOf(3.5), spansY}).moveTo({xOf(4.5), pulsesY}).moveTo({xOf(5.2), pulsesY});
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{secondSpan, pulse})) << "while it is drawn";
    hand().moveTo({xOf(4.5), pulsesY}).release();
    EXPECT_EQ(state().timelineSelection, TimelineSelection{pulse});
    EXPECT_EQ(editor().undoManager().undoCount(), 0u);
}

TEST_F(TimelineViewTest, EscapeGivesBackWhatWasThereBeforeTheDrag)
{
    showLayer();
    hand().press({xOf(2), spansY}).moveBy(5).moveBy(100);
    EXPECT_NE(editor().scene(), before_);
    hand().key(Qt::Key_Escape);
    EXPECT_EQ(editor().scene(), before_);
    hand().moveBy(50).release();
    EXPECT_EQ(editor().scene(), before_) << "the drag is over";
    EXPECT_EQ(editor().undoManager().undoCount(), 0u);

    editor().selectTimelineItems({firstSpan});
    hand().press({xOf(3.5), spansY}).moveTo({xOf(4.5), pulsesY}).key(Qt::Key_Escape).release();
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan}) << "a marquee gives the selection back";
}

TEST_F(TimelineViewTest, ABarOfTheWholeSceneMovesTheSpansOfAllItsLayers)
{
    hand().press({xOf(2), 81}).moveBy(5).moveBy(100).release(); // The topmost bar stands for both spans from 1 to 3.
    expectTimes(firstSpan, {2, 4});
    expectTimes(otherSpan, {2, 4});
    expectTimes(secondSpan, {5, 6});
    expectOneStep("Move Spans");
}

TEST_F(TimelineViewTest, AFoldedLayerShowsItsSpansAlone)
{
    showLayer();
    hand().click({14, spansY}); // The chevron.
    hand().press({xOf(4), pulsesY}).moveBy(50).release();
    EXPECT_EQ(editor().scene(), before_) << "there is no row of pulses any more";
    hand().click({14, spansY});
    hand().press({xOf(4), pulsesY}).moveBy(50).release();
    EXPECT_NEAR(times(pulse).start, 4.5, 1e-9);
}

TEST_F(TimelineViewTest, TheGutterPinsALayerAndAddsSpansPulsesAndKeyframes)
{
    showLayer();
    hand().click({173, spansY});
    EXPECT_TRUE(state().timelinePinnedLayerIDs.contains(layerID));
    editor().setPlayhead(7);
    hand().click({153, spansY});
    EXPECT_EQ(findLayer(editor().scene(), layerID)->spans.size(), 3u);
    hand().click({173, pulsesY});
    EXPECT_EQ(findLayer(editor().scene(), layerID)->pulses.size(), 2u);
    hand().click({174, keyframesY});
    EXPECT_EQ(findLayer(editor().scene(), layerID)->keyframes.size(), 3u);
    EXPECT_EQ(editor().undoManager().undoCount(), 3u);
}

TEST_F(TimelineViewTest, ThePillsBesideTheSelectionSwitchRipple)
{
    showLayer();
    editor().selectTimelineItems({firstSpan});
    view_.refresh();
    hand().click({xOf(3) + 6 + 9, spansY}); // A pill is 18 wide, and stands 6 beyond its end of the selection.
    EXPECT_TRUE(editor_.defaults.boolean(DefaultsKey::ripplePushAfter));
    EXPECT_FALSE(editor_.defaults.boolean(DefaultsKey::ripplePushBefore));
    hand().click({xOf(1) - 6 - 9, spansY});
    EXPECT_TRUE(editor_.defaults.boolean(DefaultsKey::ripplePushBefore));
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan});
    editor().suppressRippleHandles();
    hand().click({xOf(1) - 6 - 9, spansY});
    EXPECT_TRUE(editor_.defaults.boolean(DefaultsKey::ripplePushBefore)) << "a pill that is hidden cannot be pressed";
}

TEST_F(TimelineViewTest, TheMinimapScrollsTheZoomedTimeline)
{
    editor().setTimelineZoom(true);
    view_.refresh();
    const int y = 304 - 14;
    hand().press({xOf(1), y}).moveBy(200).release(); // The frame shows 0 to 2.5 seconds of the 10.
    EXPECT_NEAR(activeViewport(state())->start, 2, 1e-9);
    hand().press({xOf(3), 52}).release();
    EXPECT_NEAR(state().playhead, 2 + 1 / 400.0 * 300, 0.01) << "400 pixels are a second now";
}

TEST_F(TimelineViewTest, ArrowsWalkTheItems)
{
    showLayer();
    hand().click({xOf(9), spansY});
    hand().key(Qt::Key_Right);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan});
    hand().key(Qt::Key_Right);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{secondSpan});
    hand().key(Qt::Key_Down);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{pulse});
    hand().key(Qt::Key_Down);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{keyframe}) << "2 is nearer to 4 than 8 is";
}

TEST_F(TimelineViewTest, TheButtonsAskTheWindowForTheirCommands)
{
    struct Case {
        const char* name;
        Command command;
    };
    for (const Case& c :
         {Case{"Rewind", Command::rewind}, Case{"Step Back One Frame", Command::stepBack},
          Case{"Step Forward One Frame", Command::stepForward}, Case{"Add Keyframe at Playhead", Command::addKeyframe}}) {
        SCOPED_TRACE(c.name);
        editor_.performed.clear();
        for (QToolButton* button : view_.findChildren<QToolButton*>())
            if (button->accessibleName() == c.name) button->click();
        EXPECT_EQ(editor_.performed, std::vector<Command>{c.command});
    }
}

TEST_F(TimelineViewTest, EveryControlHasAName)
{
    for (const QToolButton* button : view_.findChildren<QToolButton*>()) EXPECT_FALSE(button->accessibleName().isEmpty());
}

/// The rows of 500 layers with 20 keyframes each.
TweenScene makeLargeScene()
{
    TweenScene scene{.id = idOf(100), .duration = 60};
    for (std::uint64_t i = 0; i < 500; ++i) {
        Layer layer{.id = idOf(1000 + i)};
        layer.spans = {
            TimeSpan{.id = idOf(5000 + i), .start = static_cast<double>(i) * 0.05, .end = 40 + static_cast<double>(i) * 0.03}};
        for (std::uint64_t k = 0; k < 20; ++k)
            layer.keyframes.append(Keyframe{.id = idOf(10'000 + 20 * i + k),
                                            .property = k % 2 ? Keyframe::AnimatableProperty::x : Keyframe::AnimatableProperty::y,
                                            .time = static_cast<double>(k) * 3 + static_cast<double>(i) * 0.001,
                                            .value = static_cast<double>(k),
                                            .wait = 0.5});
        scene.layers.append(std::move(layer));
    }
    return scene;
}

class LargeTimelineTest : public TimelineViewTest {
protected:
    LargeTimelineTest() : TimelineViewTest(makeLargeScene()) {}

    /// Milliseconds of the fastest of several paintings of the view, the rows painted anew each time.
    double paintTime()
    {
        QImage image(view_.size(), QImage::Format_ARGB32_Premultiplied);
        double fastest = 1e9;
        for (int i = 0; i < 7; ++i) {
            editor().selectTimelineItems(i % 2 ? TimelineSelection{TimelineItemRef::keyframe(idOf(1000), idOf(10'000))}
                                               : TimelineSelection{});
            view_.refresh();
            QElapsedTimer clock;
            clock.start();
            view_.render(&image);
            fastest = std::min(fastest, static_cast<double>(clock.nsecsElapsed()) * 1e-6);
        }
        return fastest;
    }
};

TEST_F(LargeTimelineTest, OnlyTheRowsThatAreSeenArePainted)
{
    LayerIDs all;
    for (const Layer& layer : before_.layers) all.insert(layer.id);
    struct Case {
        const char* rows;
        LayerIDs selected;
        bool zoomedIn;
    };
    for (const Case& c : {Case{"layersInWhole", all, false}, Case{"layersZoomed", all, true}, Case{"sceneInWhole", {}, false},
                          Case{"sceneZoomed", {}, true}}) {
        SCOPED_TRACE(c.rows);
        editor().selectLayers(c.selected);
        editor().setTimelineZoom(c.zoomedIn);
        const double milliseconds = paintTime();
        RecordProperty(std::string(c.rows) + "Milliseconds", std::to_string(milliseconds));
        EXPECT_LT(milliseconds, 100) << "many times what it takes, for a busy machine and a slow build";
    }
}

} // namespace
} // namespace larkspool
