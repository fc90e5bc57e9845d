#include "timeline/ripple_settings.h"
#include "views/theme.h"
#include "views/timeline_popover.h"
#include "views/timeline_view_fixture.h"
#include "views/trim_preview.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QImage>
#include <QMenu>
#include <QTimer>
#include <QToolTip>
#include <QWheelEvent>

#include <gtest/gtest.h>

// What the rows show and do while something is dragged, hovered or right-clicked.

namespace larkspool {
namespace {

class TimelineDragTest : public TimelineViewTest {
protected:
    TimelineDragTest() { showLayer(); }

    void moveWith(QPoint at, Qt::KeyboardModifiers modifiers)
    {
        QTest::mouseEvent(QTest::MouseMove, view_.windowHandle(), Qt::NoButton, modifiers, at);
    }
    QImage picture()
    {
        QImage image(view_.size(), QImage::Format_ARGB32_Premultiplied);
        view_.render(&image);
        return image;
    }
    /// Whether the line of snapping runs from the rail to the lower edge at that time.
    bool hasSnapLine(double time)
    {
        const QImage image = picture();
        return image.pixelColor(xOf(time), 66) == theme().snapLine && image.pixelColor(xOf(time), 302) == theme().snapLine;
    }
    QString tooltip(QPoint at)
    {
        for (QWidget* widget : QApplication::topLevelWidgets()) // One that hides does so slowly, and keeps its words.
            if (widget->inherits("QTipLabel")) delete widget;
        const QPoint inRows = rows().mapFrom(&view_, at);
        QHelpEvent event(QEvent::ToolTip, inRows, rows().mapToGlobal(inRows));
        QCoreApplication::sendEvent(&rows(), &event);
        return QToolTip::text();
    }
    template <typename Floating>
    Floating* floating()
    {
        for (QObject* child : view_.children())
            if (auto* found = dynamic_cast<Floating*>(child)) return found;
        return nullptr;
    }
    TimelinePopover* popover() { return floating<TimelinePopover>(); }
    /// A film from its second 1 on, at 2 to 6.
    void showClip()
    {
        editor().mutate("Edit", [](TweenScene& scene) {
            Layer film{.id = idOf(3), .kind = Layer::Kind::video};
            film.videoClip = {.id = idOf(31), .sceneStart = 2, .sceneEnd = 6, .sourceStart = 1};
            film.videoDuration = 9;
            film.videoURL = "/films/river.mp4";
            scene.layers.append(film);
        });
        before_ = editor().scene();
        editor().selectLayers({idOf(3)});
        view_.refresh();
    }
    /// Right-clicks, and gives the entries of the menu; the one of that title is chosen.
    QStringList openMenu(QPoint at, const QString& chosen = {}, QContextMenuEvent::Reason reason = QContextMenuEvent::Mouse)
    {
        QStringList titles;
        QTimer::singleShot(0, &view_, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) return;
            for (QAction* action : menu->actions()) {
                if (!action->isSeparator()) titles << (action->isEnabled() ? "" : "-") + action->text().section('\t', 0, 0);
                if (!chosen.isEmpty() && action->text() == chosen) action->trigger();
            }
            menu->close();
        });
        const QPoint inRows = rows().mapFrom(&view_, at);
        QContextMenuEvent event(reason, inRows, rows().mapToGlobal(inRows));
        QCoreApplication::sendEvent(&rows(), &event);
        return titles;
    }
    std::size_t spanCount() { return findLayer(editor().scene(), layerID)->spans.size(); }
};

TEST_F(TimelineDragTest, ADragLandsOnAnItemWithin6PixelsAndShowsALineThere)
{
    hand().press({xOf(2), spansY}).moveBy(4).moveBy(95); // The start lies at 1.95, the pulse at 4, keyframes at 2 and 8.
    expectTimes(firstSpan, {2, 4});
    EXPECT_TRUE(hasSnapLine(2)) << "of its own layer's keyframe, which lies nearer than 6 pixels";
    hand().moveBy(-20);
    EXPECT_FALSE(hasSnapLine(2));
    hand().moveBy(20);
    moveWith({xOf(2) + 99, spansY + 1}, Qt::ControlModifier);
    expectTimes(firstSpan, {1.95, 3.95});
    EXPECT_FALSE(hasSnapLine(2)) << "Control goes with the pointer exactly";
    hand().moveBy(0, 2);
    EXPECT_TRUE(hasSnapLine(2)) << "for as long as it is held";
    hand().release();
    EXPECT_FALSE(hasSnapLine(2)) << "the drag is over";
}

TEST_F(TimelineDragTest, AKeyframeFeelsItemsFrom12PixelsOn)
{
    hand().press({xOf(8), keyframesY}).moveTo({xOf(6.11), keyframesY}); // The span ends at 6.
    EXPECT_NEAR(times(TimelineItemRef::keyframe(layerID, idOf(15))).start, 6, 1e-9);
    EXPECT_TRUE(hasSnapLine(6));
    hand().moveTo({xOf(6.3), keyframesY});
    EXPECT_NEAR(times(TimelineItemRef::keyframe(layerID, idOf(15))).start, 6.3, 1e-9);
    EXPECT_FALSE(hasSnapLine(6.3)) << "the grid has no line";
    hand().release();
}

TEST_F(TimelineDragTest, TheLineKeepsOutOfTheGutter)
{
    editor().setTimelineZoom(true); // 400 pixels are a second.
    view_.refresh();
    editor().scrollTimeline(1.02);
    view_.refresh();
    // The span goes on before what is seen; its start comes within 6 pixels of the playhead, at 0.99.
    editor().setPlayhead(0.99);
    view_.refresh();
    hand().press({600, spansY}).moveBy(4).moveBy(1).moveBy(-4);
    ASSERT_TRUE(editor().snapState().time);
    const int x = static_cast<int>(std::lround(200 + 400 * (*editor().snapState().time - 1.02)));
    ASSERT_LT(x, 191);
    EXPECT_NE(picture().pixelColor(x, 200), theme().snapLine);
    hand().release();
}

TEST_F(TimelineDragTest, RippleGoesAlongWhileTheDragLastsAndIsAnnouncedAtItsEnd)
{
    editor_.defaults.set(DefaultsKey::ripplePushAfter, true);
    hand().press({xOf(2), spansY}).moveBy(4).moveBy(50);
    expectTimes(secondSpan, {5.5, 6.5});
    EXPECT_NEAR(times(pulse).start, 4.5, 1e-9);
    EXPECT_FALSE(editor().rippleToastMessage());
    hand().moveBy(-25);
    expectTimes(secondSpan, {5.25, 6.25});
    hand().release();
    EXPECT_EQ(editor().rippleToastMessage(), "Ripple moved 5 other items") << "two spans, a pulse and two keyframes";
    expectOneStep("Move Span");
}

TEST_F(TimelineDragTest, ATrimStopsAtTheShortestSpan)
{
    hand().press({xOf(1) + 2, spansY}).moveBy(400).release();
    expectTimes(firstSpan, {2.95, 3});
}

TEST_F(TimelineDragTest, AClipIsABarWithTheNameOfItsFilm)
{
    showClip();
    const int clipY = pulsesY; // The second row.
    const QImage image = picture();
    EXPECT_EQ(image.pixelColor(xOf(2.05), clipY), theme().clipFill);
    EXPECT_EQ(image.pixelColor(xOf(5.9), clipY), theme().clipFill);
    EXPECT_NE(image.pixelColor(xOf(6.1), clipY), theme().clipFill);
    int holes = 0, words = 0;
    for (int x = xOf(2) + 4; x < xOf(6) - 4; ++x) {
        if (image.pixelColor(x, 93) != theme().clipFill) ++holes;
        for (int y = 96; y < 106; ++y)
            if (image.pixelColor(x, y) == theme().clipText) ++words;
    }
    EXPECT_NEAR(holes, 196, 8) << "4 of every 8 pixels at the upper edge";
    EXPECT_GT(words, 8);
}

TEST_F(TimelineDragTest, ATrimOfAClipShowsThePictureAtItsEdgeUntilItEnds)
{
    showClip();
    const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(3));
    hand().press({xOf(2) + 2, pulsesY}).moveBy(50).moveBy(50);
    expectTimes(clip, {3, 6});
    EXPECT_NEAR(findVideoClip(*findLayer(editor().scene(), idOf(3)))->sourceStart, 2, 1e-9);
    ASSERT_TRUE(floating<TrimPreview>());
    EXPECT_TRUE(floating<TrimPreview>()->isVisible());
    EXPECT_EQ(picture().pixelColor(xOf(3), 302), theme().snapLine) << "where the edge has come to on the grid";
    hand().moveBy(-400);
    expectTimes(clip, {1, 6});
    hand().release();
    EXPECT_FALSE(floating<TrimPreview>()->isVisible());
    EXPECT_EQ(editor().undoManager().undoActionName(), "Trim Clip");
    editor().undo();
    view_.refresh();
    hand().press({xOf(4), pulsesY}).moveBy(50).moveBy(50).release();
    expectTimes(clip, {3, 7});
    EXPECT_FALSE(floating<TrimPreview>()->isVisible()) << "a move shows none";
    EXPECT_EQ(editor().undoManager().undoActionName(), "Move Clip");
}

TEST_F(TimelineDragTest, ATapAndAMarqueeInTheRowsForTheWholeSceneTakeTheItemsOfAllLayers)
{
    editor().selectLayers({});
    view_.refresh();
    hand().click({xOf(2), 81});
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{firstSpan, otherSpan}));
    hand().click({xOf(5.5), 81}, Qt::ShiftModifier);
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{firstSpan, otherSpan, secondSpan}));
    hand().click({xOf(2), 81}, Qt::ControlModifier);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{secondSpan});
    hand().press({xOf(3.5), 81}).moveTo({xOf(1.9), 140}).release(); // As far down as the keyframes, from 126 to 144.
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{firstSpan, otherSpan, keyframe})) << "no tail: these rows show none";
}

TEST_F(TimelineDragTest, AMarqueeScrollsTheZoomedTimelineAndStaysOverWhatItWasDrawnOver)
{
    editor().setTimelineZoom(true); // 0 to 2.5 seconds, 400 pixels each.
    view_.refresh();
    hand().press({500, pulsesY}).moveTo({1195, pulsesY + 10}); // From 0.75 seconds on, with no item below it.
    EXPECT_TRUE(editor().marqueeAutoScroll().isRunning());
    editor_.timers.pass(4);
    view_.refresh();
    // 31 of the 36 pixels deep: 31 / 36 of a view in 1.5 seconds.
    EXPECT_NEAR(activeViewport(state())->start, 2.5 / 1.5 * 31 / 36 * 4, 1e-6);
    EXPECT_TRUE(state().timelineSelection.contains(pulse)) << "at 4, which has been scrolled away to the left";
    hand().moveTo({700, pulsesY + 10});
    EXPECT_FALSE(editor().marqueeAutoScroll().isRunning()) << "out of the zone";
    hand().moveTo({1195, pulsesY + 10});
    EXPECT_TRUE(editor().marqueeAutoScroll().isRunning());
    hand().release();
    EXPECT_FALSE(editor().marqueeAutoScroll().isRunning());
    EXPECT_EQ(editor_.timers.running(), 0u);
    EXPECT_EQ(state().timelineSelection.count(pulse), 1u);
}

TEST_F(TimelineDragTest, AMarqueeWithShiftAddsAndIsDrawnUntilItsEnd)
{
    editor().selectTimelineItems({secondSpan});
    view_.refresh();
    hand().press({xOf(3.5), pulsesY}, Qt::ShiftModifier);
    moveWith({xOf(4.5), pulsesY + 4}, Qt::ShiftModifier);
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{secondSpan, pulse}));
    EXPECT_EQ(picture().pixelColor(xOf(3.5), pulsesY + 2), theme().selectionOutline);
    moveWith({xOf(3.7), pulsesY + 4}, Qt::ShiftModifier);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{secondSpan});
    hand().release(Qt::ShiftModifier);
    EXPECT_NE(picture().pixelColor(xOf(3.5), pulsesY + 2), theme().selectionOutline);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{secondSpan});
}

TEST_F(TimelineDragTest, AMarqueeOverTheEndOfAWaitSelectsTheTailAlone)
{
    hand().press({xOf(3.5), keyframesY}).moveTo({xOf(2.8), keyframesY + 4}).release();
    EXPECT_EQ(state().timelineSelection, TimelineSelection{tail});
}

TEST_F(TimelineDragTest, PillsThatWereHiddenForAMomentComeBack)
{
    editor().selectTimelineItems({firstSpan});
    editor_.defaults.set(DefaultsKey::ripplePushAfter, true);
    view_.refresh();
    const QPoint besidePill(xOf(3) + 6 + 9, spansY - 7); // Within its disc, above its icon.
    EXPECT_EQ(picture().pixelColor(besidePill), theme().accent);
    editor().suppressRippleHandles();
    view_.refresh();
    EXPECT_NE(picture().pixelColor(besidePill), theme().accent);
    editor_.timers.pass(0.31);
    struct Counter : QObject {
        int paintings = 0;
        bool eventFilter(QObject*, QEvent* event) override
        {
            if (event->type() == QEvent::Paint) ++paintings;
            return false;
        }
    } counter;
    QTest::qWait(50); // What was to be painted before.
    rows().installEventFilter(&counter);
    QTest::qWait(600);
    EXPECT_GT(counter.paintings, 0) << "nothing else would show them";
    EXPECT_EQ(picture().pixelColor(besidePill), theme().accent);
}

TEST_F(TimelineDragTest, ThePillsOfASelectionOutOfSightStandBesideEachOther)
{
    editor().setTimelineZoom(true); // 0 to 2.5 seconds.
    view_.refresh();
    editor().selectTimelineItems({secondSpan}); // 5 to 6.
    view_.refresh();
    const int right = 1200 - 9, left = right - 20; // 18 wide, at the right end of the row.
    hand().click({right, spansY});
    EXPECT_TRUE(editor_.defaults.boolean(DefaultsKey::ripplePushAfter));
    EXPECT_FALSE(editor_.defaults.boolean(DefaultsKey::ripplePushBefore));
    hand().click({left, spansY});
    EXPECT_TRUE(editor_.defaults.boolean(DefaultsKey::ripplePushBefore));
    editor().scrollTimeline(7.5);
    view_.refresh();
    hand().click({209, spansY});
    EXPECT_FALSE(editor_.defaults.boolean(DefaultsKey::ripplePushBefore)) << "at the left end now";
    hand().click({229, spansY});
    EXPECT_FALSE(editor_.defaults.boolean(DefaultsKey::ripplePushAfter));
}

TEST_F(TimelineDragTest, APillAtTheEndOfTheSceneLeavesTheItemsInReach)
{
    editor().mutate("Edit", [](TweenScene& scene) {
        Layer* layer = editLayer(scene, layerID);
        layer->spans.edit()[1].end = 10;
        layer->keyframes.edit()[1].time = 10;
    });
    before_ = editor().scene();
    editor().selectTimelineItems({secondSpan});
    view_.refresh();
    hand().press({1200 - 3, spansY}).moveBy(-50).moveBy(-50).release(); // The pill is held at 1182 to 1200.
    expectTimes(secondSpan, {5, 9});
    editor().undo();
    view_.refresh();
    hand().click({1200 - 12, spansY});
    EXPECT_TRUE(editor_.defaults.boolean(DefaultsKey::ripplePushAfter)) << "the rest of the pill is one";
    editor_.defaults.set(DefaultsKey::ripplePushAfter, false);
    const TimelineItemRef last = TimelineItemRef::keyframe(layerID, idOf(15));
    editor().selectTimelineItems({last});
    view_.refresh();
    hand().press({1200 - 2, keyframesY}).moveBy(-50).moveBy(-50).release();
    EXPECT_NEAR(times(last).start, 9, 1e-9);
}

TEST_F(TimelineDragTest, ThePointerShowsWhatAPressWouldDo)
{
    struct Case {
        const char* over;
        QPoint at;
        Qt::CursorShape shape;
    };
    for (const Case& c :
         {Case{"a span's body", {xOf(2), spansY}, Qt::ArrowCursor}, Case{"its left edge", {xOf(1) + 2, spansY}, Qt::SplitHCursor},
          Case{"its right edge", {xOf(3) - 2, spansY}, Qt::SplitHCursor},
          Case{"the handle of a wait", {xOf(3), keyframesY}, Qt::SplitHCursor},
          Case{"a diamond", {xOf(8), keyframesY}, Qt::ArrowCursor}, Case{"the rail", {xOf(5), 52}, Qt::SplitHCursor},
          Case{"an empty row", {xOf(9), spansY}, Qt::ArrowCursor}}) {
        SCOPED_TRACE(c.over);
        hand().moveTo(c.at);
        EXPECT_EQ(rows().cursor().shape(), c.shape);
    }
    hand().press({xOf(2), spansY}).moveBy(10);
    EXPECT_EQ(rows().cursor().shape(), Qt::ClosedHandCursor);
    hand().release();
}

TEST_F(TimelineDragTest, TooltipsTellTimesAndWhatAPressWouldDo)
{
    struct Case {
        const char* over;
        QPoint at;
        const char* words;
    };
    for (const Case& c : {Case{"a span", {xOf(2), spansY}, "1.00s – 3.00s"}, Case{"a pulse", {xOf(4), pulsesY}, "4.00s"},
                          Case{"a keyframe with its wait", {xOf(2), keyframesY}, "2.00s – 3.00s"},
                          Case{"the pin", {173, spansY}, "Pin to Timeline"},
                          Case{"what adds a pulse", {173, pulsesY}, "Add pulse marker at playhead"},
                          Case{"what adds a span", {153, spansY}, "Add visibility span at playhead"},
                          Case{"what adds a keyframe", {174, keyframesY}, "Add X keyframe at playhead"},
                          Case{"the fold", {14, spansY}, "Show Spans Only"}, Case{"an empty row", {xOf(9), spansY}, ""}}) {
        SCOPED_TRACE(c.over);
        EXPECT_EQ(tooltip(c.at), c.words);
    }
    editor().setPlayhead(2);
    EXPECT_EQ(tooltip({153, spansY}), "Playhead is already inside a visibility span on this layer");
}

TEST_F(TimelineDragTest, ARowForTheWholeSceneTellsWhatItIsInItsGutterAndBesideItsBars)
{
    editor().selectLayers({});
    view_.refresh();
    const int videoY = 64 + 8 + 18 + 4 + 1 + 4 + 9; // Below one lane of bars, half a band, the line and half a band.
    for (const int x : {60, xOf(9)}) {
        EXPECT_TRUE(tooltip({x, 81}).startsWith("Aggregate view across all layers. Bars share the same start and end"));
        EXPECT_TRUE(tooltip({x, videoY}).startsWith("Aggregate view across all video layers."));
        EXPECT_TRUE(tooltip({x, videoY + 27}).startsWith("Aggregate view of every keyframe in the scene."));
        EXPECT_TRUE(tooltip({x, videoY + 54}).startsWith("Aggregate view of every pulse marker."));
    }
    EXPECT_EQ(tooltip({xOf(2), 81}), "") << "a bar opens its list";
}

TEST_F(TimelineDragTest, ABarForTheWholeSceneOpensTheListOfItsLayers)
{
    editor().selectLayers({});
    view_.refresh();
    hand().moveTo({xOf(2), 80}).moveTo({xOf(2), 81});
    EXPECT_FALSE(popover() && popover()->isVisible()) << "after half a second";
    QTest::qWait(700);
    ASSERT_TRUE(popover());
    EXPECT_TRUE(popover()->isVisible());
    EXPECT_EQ(popover()->height(), 3 * 26 + 2 * 8 + 6) << "a head and two layers";
    hand().moveTo({xOf(9), 81});
    EXPECT_FALSE(popover()->isVisible());
    hand().press({xOf(2), 81}).moveBy(20).release();
    QTest::qWait(700);
    EXPECT_FALSE(popover()->isVisible()) << "the pointer rests where a drag has ended";
}

TEST_F(TimelineDragTest, ASpanIsAddedWhereTheMenuWasOpenedAndIsSelected)
{
    openMenu({xOf(3.5), spansY}, "Add Span Here");
    const TimeSpan& added = findLayer(editor().scene(), layerID)->spans[2];
    EXPECT_NEAR(added.start, 3.5, 1e-9);
    EXPECT_NEAR(added.end, 5, 1e-9) << "the next span begins there";
    EXPECT_EQ(state().timelineSelection, TimelineSelection{TimelineItemRef::span(layerID, added.id)});
    EXPECT_EQ(state().selectedSpanID, added.id);
    EXPECT_EQ(state().selectedLayerIDs, LayerIDs{layerID});
    expectOneStep("Add Span");
}

TEST_F(TimelineDragTest, ASpanIsAddedAtThePlayheadFromTheSameMenu)
{
    editor().setPlayhead(7);
    openMenu({xOf(3.5), spansY}, "Add Span at Playhead");
    const TimeSpan& added = findLayer(editor().scene(), layerID)->spans[2];
    EXPECT_EQ(added.start, 7);
    EXPECT_EQ(added.end, 10);
    EXPECT_EQ(state().selectedSpanID, added.id);
    openMenu({xOf(9), pulsesY}, "Add Pulse Here");
    EXPECT_NEAR(findLayer(editor().scene(), layerID)->pulses[1].time, 9, 1e-9);
    EXPECT_EQ(state().timelineSelection.size(), 1u);
    openMenu({xOf(9), keyframesY}, "Add X Keyframe at Playhead");
    EXPECT_EQ(findLayer(editor().scene(), layerID)->keyframes[2].time, 7);
    openMenu({xOf(9.5), keyframesY}, "Add X Keyframe Here");
    EXPECT_NEAR(findLayer(editor().scene(), layerID)->keyframes[3].time, 9.5, 1e-9);
}

TEST_F(TimelineDragTest, MenusOfferWhatThePlaceAllows)
{
    const QStringList onTrack = openMenu({xOf(2.5), pulsesY});
    EXPECT_TRUE(onTrack.contains("-Add Span Here")) << "a span is there already";
    EXPECT_TRUE(onTrack.contains("Add Span at Playhead"));
    const QStringList inGutter = openMenu({60, spansY});
    EXPECT_FALSE(inGutter.contains("Add Span Here"));
    EXPECT_TRUE(inGutter.contains("Pin to Timeline"));
    const QStringList onSpan = openMenu({xOf(2), spansY});
    EXPECT_TRUE(onSpan.contains("Copy Effects and Timing"));
    EXPECT_TRUE(onSpan.contains("-Order Layers by Start Time"));
    EXPECT_TRUE(onSpan.contains("Delete Span"));
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan}) << "the menu acts on what was pressed";
    EXPECT_TRUE(openMenu({xOf(3) - 10, keyframesY}).contains("Clear Wait"));
    EXPECT_EQ(state().timelineSelection, TimelineSelection{tail});
    EXPECT_EQ(spanCount(), 2u);
}

TEST_F(TimelineDragTest, AllSpansAreSelectedForWhatArrangesThem)
{
    openMenu({xOf(9), spansY}, "Select All Spans");
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{firstSpan, secondSpan})) << "of the layers that are shown";
    editor().selectLayers({});
    view_.refresh();
    openMenu({xOf(9), 81}, "Select All Spans");
    EXPECT_EQ(state().timelineSelection, (TimelineSelection{firstSpan, secondSpan, otherSpan}));
}

TEST_F(TimelineDragTest, TheKeyForMenusOpensTheOneOfTheSelectedItemOrOfTheGutter)
{
    hand().click({xOf(5.5), spansY});
    EXPECT_TRUE(openMenu({}, {}, QContextMenuEvent::Keyboard).contains("Delete Span"));
    hand().key(Qt::Key_Left).key(Qt::Key_Left).key(Qt::Key_Down);
    EXPECT_TRUE(openMenu({}, {}, QContextMenuEvent::Keyboard).contains("Add Pulse at Playhead"));
}

TEST_F(TimelineDragTest, TheZoomedTimelineGoesWithAPlayheadThatLeavesIt)
{
    editor().setPlayhead(6);
    editor().setTimelineZoom(true);
    view_.refresh();
    EXPECT_NEAR(activeViewport(state())->start, 6 - 1.25, 1e-9) << "zooming in shows the playhead in the middle";
    editor().setPlayhead(7.26);
    view_.refresh();
    EXPECT_NEAR(activeViewport(state())->start, 7.26, 1e-9);
    editor().scrollTimeline(-5);
    view_.refresh();
    editor().setPlayhead(7.5);
    view_.refresh();
    EXPECT_NEAR(activeViewport(state())->start, 2.26, 1e-9) << "a person has gone elsewhere";
}

TEST_F(TimelineDragTest, EscapeGivesBackThePlayheadAndWhatWasSeen)
{
    editor().setPlayhead(1);
    hand().press({xOf(3), 52}).moveTo({xOf(4), 52}).key(Qt::Key_Escape).release();
    EXPECT_EQ(state().playhead, 1);
    editor().setTimelineZoom(true);
    view_.refresh();
    hand().press({xOf(1), 290}).moveBy(200).key(Qt::Key_Escape).release();
    EXPECT_EQ(activeViewport(state())->start, 0);
    hand().press({xOf(8), 290}).key(Qt::Key_Escape).release();
    EXPECT_EQ(activeViewport(state())->start, 0) << "beside the frame, which had come there";
}

TEST_F(TimelineDragTest, TheWheelScrollsTheZoomedTimelineSideways)
{
    editor().setTimelineZoom(true);
    view_.refresh();
    const auto wheel = [this](QPoint pixels, Qt::KeyboardModifiers modifiers) {
        QWheelEvent event({600, 60}, rows().mapToGlobal(QPointF(600, 60)), pixels, {}, Qt::NoButton, modifiers, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&rows(), &event);
    };
    wheel({-200, 0}, {});
    EXPECT_NEAR(activeViewport(state())->start, 0.5, 1e-9);
    wheel({0, -200}, Qt::ShiftModifier);
    EXPECT_NEAR(activeViewport(state())->start, 1, 1e-9);
    wheel({2000, 0}, {});
    EXPECT_EQ(activeViewport(state())->start, 0);
}

} // namespace
} // namespace larkspool
