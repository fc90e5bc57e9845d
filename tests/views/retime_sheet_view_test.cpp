#include "views/retime_sheet_view.h"

#include "editing/scene_lookup.h"
#include "views/form_controls.h"
#include "views/retime_mini_timeline_view.h"
#include "views/retime_table.h"
#include "views/sheet_window.h"
#include "views/timeline_sheets.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QScrollBar>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11)), spanB = TimelineItemRef::span(idOf(1), idOf(12)),
                      pulse = TimelineItemRef::pulse(idOf(1), idOf(14)), keyX = TimelineItemRef::keyframe(idOf(2), idOf(21)),
                      keyY = TimelineItemRef::keyframe(idOf(2), idOf(22));

/// 10 seconds at 50 frames a second. "Card": spans 1–2 and 4–6, a pulse at 8. "Badge": keyframes of x and y at 3.
TweenScene smallScene()
{
    Layer card{.id = idOf(1)}, badge{.id = idOf(2)};
    card.name = "Card";
    card.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 2}, TimeSpan{.id = idOf(12), .start = 4, .end = 6}};
    card.pulses = {Pulse{.id = idOf(14), .time = 8}};
    badge.name = "Badge";
    badge.keyframes = {Keyframe{.id = idOf(21), .property = Keyframe::AnimatableProperty::x, .time = 3},
                       Keyframe{.id = idOf(22), .property = Keyframe::AnimatableProperty::y, .time = 3}};
    TweenScene scene{.id = idOf(100), .fps = 50, .duration = 10};
    scene.layers = {card, badge};
    return scene;
}

/// 10,000 rows: pulses of 100 layers.
TweenScene largeScene()
{
    std::vector<Layer> layers;
    for (std::uint64_t i = 0; i < 100; ++i) {
        Layer layer{.id = idOf(1000 + i)};
        std::vector<Pulse> pulses;
        for (std::uint64_t k = 0; k < 100; ++k)
            pulses.push_back({.id = idOf(100'000 + i * 100 + k), .time = static_cast<double>(k) + static_cast<double>(i) * 0.01});
        layer.pulses = Array<Pulse>(std::move(pulses));
        layers.push_back(std::move(layer));
    }
    TweenScene scene{.id = idOf(100), .fps = 50, .duration = 120};
    scene.layers = Array<Layer>(std::move(layers));
    return scene;
}

/// A window with something that has the keyboard, and the table of times over it. Every change is shown, as by a window.
class RetimeSheetViewTest : public SceneSheetTest {
protected:
    explicit RetimeSheetViewTest(TweenScene scene = smallScene()) : SceneSheetTest(std::move(scene))
    {
        sheets = std::make_unique<TimelineSheets>(window, TimelineSheets::Services{*views.editor, *views.playback, [this] {
                                                                                       if (sheets) sheets->refresh();
                                                                                   }});
    }

    void open() { sheets->open(Command::showRetime); }
    RetimeTable& table() { return *findControl<RetimeTable>(window, "Times"); }
    void type(const char* text)
    {
        for (const char* key = text; *key; ++key) QTest::keyClick(window.focusWidget(), *key); // The first may open a cell.
    }
    QString editText() { return qobject_cast<QLineEdit*>(window.focusWidget())->text(); }
    /// The current row, as it is described to those who cannot see it.
    QString current() { return table().accessibleDescription(); }
    ItemTimes times(const TimelineItemRef& ref) { return timesOf(editor().scene(), ref).value(); }

    bool isSheetOpen() const override { return sheets->isOpen(); }

    std::unique_ptr<TimelineSheets> sheets;
};

TEST_F(RetimeSheetViewTest, WhatIsTypedIsInTheDocumentAtOnceAndOneStepInTheEnd)
{
    open();
    EXPECT_TRUE(showsWords(window, "4 rows"));
    EXPECT_EQ(focusName(window), "Times");
    EXPECT_EQ(current(), "Card, Span, Start 1 seconds");
    type("2.5");
    EXPECT_EQ(focusName(window), "Start");
    EXPECT_EQ(times(spanA).start, 1) << "not while it is half typed";
    press(Qt::Key_Return);
    EXPECT_EQ(times(spanA), (ItemTimes{2.5, 3.5}));
    EXPECT_TRUE(sheets->isOpen()) << "Return was for the cell";
    EXPECT_FALSE(editor().undoManager().canUndo());
    press(Qt::Key_Down);
    EXPECT_EQ(current(), "Badge, 2 keyframes · X, Y, Start 3 seconds");
    type("5");
    press(Qt::Key_Return);
    EXPECT_EQ(times(keyX).start, 5);
    EXPECT_EQ(times(keyY).start, 5);

    press(Qt::Key_Return);
    EXPECT_FALSE(sheets->isOpen());
    EXPECT_EQ(window.focusWidget(), behind);
    EXPECT_EQ(editor().undoManager().undoActionName(), "Retime");
    editor().undo();
    EXPECT_EQ(editor().scene(), before);
    EXPECT_FALSE(editor().undoManager().canUndo());
}

TEST_F(RetimeSheetViewTest, TheKeyboardGoesRoundTheSheet)
{
    open();
    QStringList way{focusName(window)};
    for (int i = 0; i < 6; ++i) {
        press(Qt::Key_Tab);
        way << focusName(window);
    }
    EXPECT_EQ(way, QStringList({"Times", "Cancel", "Done", "Playhead", "Ripple", "Sort by start", "Times"}));
}

TEST_F(RetimeSheetViewTest, TabGoesFromCellToCellAndCommitsEach)
{
    open();
    press(Qt::Key_F2);
    EXPECT_EQ(editText(), "1");
    type("0.5");
    press(Qt::Key_Tab);
    EXPECT_EQ(focusName(window), "Duration");
    EXPECT_EQ(editText(), "1");
    type("2");
    press(Qt::Key_Tab);
    EXPECT_EQ(times(spanA), (ItemTimes{0.5, 2.5}));
    EXPECT_EQ(focusName(window), "Start");
    EXPECT_EQ(editText(), "3") << "of the keyframes, which have no duration";
    press(Qt::Key_Tab);
    EXPECT_EQ(editText(), "4") << "of the second span";
    press(Qt::Key_Backtab);
    EXPECT_EQ(editText(), "3");
}

TEST_F(RetimeSheetViewTest, EscapeTakesBackTheCellFirstAndThenTheWholeSession)
{
    editor().setPlayhead(2);
    open();
    type("9");
    press(Qt::Key_Escape);
    EXPECT_TRUE(sheets->isOpen());
    EXPECT_EQ(focusName(window), "Times");
    EXPECT_EQ(editor().scene(), before);
    type("9");
    press(Qt::Key_Return);
    EXPECT_EQ(times(spanA).start, 9);
    editor().setPlayhead(5);
    press(Qt::Key_Escape);
    EXPECT_FALSE(sheets->isOpen());
    EXPECT_EQ(editor().scene(), before);
    EXPECT_EQ(editor().state().playhead, 2);
    EXPECT_FALSE(editor().undoManager().canUndo());
    EXPECT_EQ(editor().retimeSheet(), nullptr);
}

TEST_F(RetimeSheetViewTest, WhatIsNoNumberStaysInItsCellUntilItIsTakenBack)
{
    open();
    type("1x");
    press(Qt::Key_Return);
    EXPECT_EQ(focusName(window), "Start");
    button("Done").click();
    EXPECT_TRUE(sheets->isOpen());
    press(Qt::Key_Escape);
    EXPECT_EQ(editor().scene(), before);
    press(Qt::Key_Return);
    EXPECT_FALSE(sheets->isOpen());
}

TEST_F(RetimeSheetViewTest, ArrowKeysStepAnOpenCellByAFrameAndAreOneStepToUndo)
{
    open();
    press(Qt::Key_F2);
    press(Qt::Key_Up);
    EXPECT_DOUBLE_EQ(times(spanA).start, 1.02);
    EXPECT_EQ(editText(), "1.02");
    press(Qt::Key_Up, Qt::ShiftModifier);
    press(Qt::Key_Down);
    EXPECT_NEAR(times(spanA).start, 1.2, 1e-9);
    press(Qt::Key_Return);
    EXPECT_TRUE(sheets->take(Command::undo));
    EXPECT_EQ(editor().scene(), before);
    EXPECT_TRUE(sheets->take(Command::redo));
    EXPECT_NEAR(times(spanA).start, 1.2, 1e-9);
}

TEST_F(RetimeSheetViewTest, UndoAndRedoAreTheSheetsOwn)
{
    editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 3; });
    const TweenScene opened = editor().scene();
    open();
    EXPECT_FALSE(button("Undo").isEnabled());
    EXPECT_EQ(button("Undo").toolTip(), "There is nothing to undo.");
    EXPECT_FALSE(button("Redo").isEnabled());
    type("2");
    press(Qt::Key_Return);
    EXPECT_EQ(button("Undo").toolTip(), "Undo last Retime edit");
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(editor().scene(), opened);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(editor().scene(), opened) << "the document behind the sheet is left alone";
    press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(times(spanA).start, 2);
    button("Undo").click();
    button("Redo").click();
    EXPECT_EQ(times(spanA).start, 2);
}

TEST_F(RetimeSheetViewTest, ARowStaysUntilTypingHasPausedAndTheCurrentCellGoesWithIt)
{
    open();
    type("9");
    press(Qt::Key_Return);
    EXPECT_EQ(current(), "Card, Span, Start 9 seconds");
    press(Qt::Key_Home);
    EXPECT_EQ(current(), "Card, Span, Start 9 seconds") << "still at the top";
    views.timers.pass(1.1);
    sheets->refresh();
    press(Qt::Key_Up);
    EXPECT_EQ(current(), "Card, Pulse, Start 8 seconds") << "above the row, which is the last one now";
}

TEST_F(RetimeSheetViewTest, RowsStayWhereTheyAreWhileACellIsOpen)
{
    open();
    type("9");
    press(Qt::Key_Return);
    press(Qt::Key_F2);
    views.timers.pass(1.1);
    sheets->refresh();
    EXPECT_EQ(window.focusWidget()->y() / RetimeTable::lineHeight, 0);
    press(Qt::Key_Escape);
    press(Qt::Key_F2);
    EXPECT_EQ(window.focusWidget()->y() / RetimeTable::lineHeight, 3);
}

TEST_F(RetimeSheetViewTest, RippleTakesTheOthersAlong)
{
    open();
    ChoiceField& ripple = *findControl<ChoiceField>(window, "Ripple");
    EXPECT_EQ(ripple.toolTip(), "Ripple mode applied to time edits: Push After / Before / Both / Off.");
    ripple.setFocus();
    press(Qt::Key_Down);
    EXPECT_EQ(ripple.currentText(), "Push After");
    table().setFocus();
    type("1.5");
    press(Qt::Key_Return);
    EXPECT_EQ(times(spanB).start, 4.5);
    EXPECT_EQ(times(pulse).start, 8.5);
}

TEST_F(RetimeSheetViewTest, AGroupIsUnfoldedAndOneOfItsItemsEdited)
{
    open();
    press(Qt::Key_Down);
    EXPECT_EQ(table().lineCount(), 4);
    press(Qt::Key_Space);
    EXPECT_EQ(table().lineCount(), 6);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(current(), "Badge, Keyframe · Y, Start 3 seconds");
    type("7");
    press(Qt::Key_Return);
    EXPECT_EQ(times(keyX).start, 3);
    EXPECT_EQ(times(keyY).start, 7);
    EXPECT_EQ(table().lineCount(), 5) << "two rows of their own now";
}

TEST_F(RetimeSheetViewTest, RowsAreToldToThoseWhoCannotSeeThem)
{
    open();
    const std::vector<AccessibleItem> items = table().accessibleItems();
    ASSERT_EQ(items.size(), 4u);
    EXPECT_EQ(items[0].name, "Card, Span");
    EXPECT_EQ(items[0].description, "Start 1 seconds, Duration 1 seconds");
    EXPECT_TRUE(items[0].hasKeyboard);
    EXPECT_EQ(items[1].name, "Badge, 2 keyframes · X, Y");
    EXPECT_EQ(items[1].description, "Start 3 seconds");
    EXPECT_EQ(items[1].isExpanded, false);
    items[1].press();
    EXPECT_EQ(focusName(window), "Start");
    EXPECT_EQ(editText(), "3");
}

TEST_F(RetimeSheetViewTest, TheMouseOpensCellsAndUnfoldsGroups)
{
    open();
    const QPoint secondRow(0, RetimeTable::lineHeight * 3 / 2);
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, secondRow + QPoint(8, 0));
    EXPECT_EQ(table().lineCount(), 6);
    const QPoint start = RetimeTable::columnIn(RetimeTable::Column::start, table().width()).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, QPoint(start.x(), secondRow.y()));
    EXPECT_EQ(editText(), "3");
    type("2");
    const QPoint duration = RetimeTable::columnIn(RetimeTable::Column::duration, table().width()).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, duration);
    EXPECT_EQ(times(keyX).start, 2) << "leaving a cell commits it";
    EXPECT_EQ(focusName(window), "Duration");
    EXPECT_EQ(editText(), "1");
}

TEST_F(RetimeSheetViewTest, TheOrderIsTurnedRound)
{
    open();
    button("Sort by start").click();
    table().setFocus();
    press(Qt::Key_Home);
    EXPECT_EQ(current(), "Card, Pulse, Start 8 seconds");
    EXPECT_EQ(button("Sort by start").text(), "Start ↓");
}

TEST_F(RetimeSheetViewTest, TheStripMovesThePlayheadAlone)
{
    open();
    auto& strip = *findControl<RetimeMiniTimelineView>(window, "Playhead");
    QTest::mouseClick(&strip, Qt::LeftButton, Qt::ControlModifier, QPoint(strip.width() / 2, 40));
    EXPECT_NEAR(editor().state().playhead, 5, 0.02);
    strip.setFocus();
    const double at = editor().state().playhead;
    press(Qt::Key_Right);
    EXPECT_NEAR(editor().state().playhead, at + 0.02, 1e-9);
    EXPECT_EQ(editor().scene(), before);
    press(Qt::Key_Return);
    EXPECT_FALSE(editor().undoManager().canUndo());
    EXPECT_NEAR(editor().state().playhead, at + 0.02, 1e-9) << "Done leaves it there";
}

TEST_F(RetimeSheetViewTest, ClosingTheWindowKeepsWhatWasDone)
{
    open();
    type("2");
    press(Qt::Key_Return);
    type("3");
    sheets->close();
    EXPECT_EQ(times(spanA).start, 3);
    EXPECT_EQ(editor().undoManager().undoActionName(), "Retime");
    EXPECT_FALSE(sheets->isOpen());
}

class EmptyRetimeTest : public RetimeSheetViewTest {
protected:
    EmptyRetimeTest() : RetimeSheetViewTest(TweenScene{.duration = 5}) {}
};

TEST_F(EmptyRetimeTest, SaysThatThereIsNothingToRetime)
{
    open();
    EXPECT_TRUE(showsWords(window, "Nothing to retime yet."));
    EXPECT_FALSE(findControl<RetimeTable>(window, "Times"));
    press(Qt::Key_Return);
    EXPECT_FALSE(sheets->isOpen());
    EXPECT_FALSE(editor().undoManager().canUndo());
}

class LargeRetimeTest : public RetimeSheetViewTest {
protected:
    LargeRetimeTest() : RetimeSheetViewTest(largeScene()) {}

    double milliseconds(const std::function<void()>& work)
    {
        QElapsedTimer clock;
        clock.start();
        work();
        return static_cast<double>(clock.nsecsElapsed()) * 1e-6;
    }
};

TEST_F(LargeRetimeTest, OpensAndScrollsTenThousandRowsInNoTime)
{
    QImage image(window.size(), QImage::Format_ARGB32_Premultiplied);
    const double opening = milliseconds([&] {
        open();
        window.render(&image);
    });
    ASSERT_EQ(table().lineCount(), 10'000);
    QImage rows(table().viewport()->size(), QImage::Format_ARGB32_Premultiplied);
    double scrolling = 1e9; // The fastest of several, as the machine may be busy.
    for (int i = 0; i < 20; ++i)
        scrolling = std::min(scrolling, milliseconds([&] {
                                 table().verticalScrollBar()->setValue(i * 12'345);
                                 table().viewport()->render(&rows);
                             }));
    const double editing = milliseconds([&] {
        type("2");
        press(Qt::Key_Return);
    });
    RecordProperty("openingMilliseconds", std::to_string(opening));
    RecordProperty("scrollingMilliseconds", std::to_string(scrolling));
    RecordProperty("editingMilliseconds", std::to_string(editing));
    EXPECT_LT(opening, 1500) << "several times what it takes, for a busy machine and a slow build";
    EXPECT_LT(scrolling, 100);
}

} // namespace
} // namespace larkspool
