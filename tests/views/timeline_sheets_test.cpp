#include "views/timeline_sheets.h"

#include "editing/scene_lookup.h"
#include "timeline/ripple_settings.h"
#include "views/form_controls.h"
#include "views/sheet_window.h"
#include "views/times_preview.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11)), spanB = TimelineItemRef::span(idOf(2), idOf(12)),
                      spanC = TimelineItemRef::span(idOf(3), idOf(13)), pulse = TimelineItemRef::pulse(idOf(1), idOf(14));

/// 10 seconds at 50 frames a second: spans 1–2, 3–5 and 4–5 of three layers from the back to the front, a pulse at 6.
TweenScene smallScene()
{
    Layer card{.id = idOf(1)}, badge{.id = idOf(2)}, title{.id = idOf(3)};
    card.name = "Card";
    card.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 2}};
    card.pulses = {Pulse{.id = idOf(14), .time = 6}};
    badge.name = "Badge";
    badge.spans = {TimeSpan{.id = idOf(12), .start = 3, .end = 5}};
    title.name = "Title";
    title.spans = {TimeSpan{.id = idOf(13), .start = 4, .end = 5}};
    TweenScene scene{.id = idOf(100), .fps = 50, .duration = 10};
    scene.layers = {card, badge, title};
    return scene;
}

/// A window with something that has the keyboard, and the sheets over it.
class TimelineSheetsTest : public SceneSheetTest {
protected:
    TimelineSheetsTest() : SceneSheetTest(smallScene())
    {
        sheets = std::make_unique<TimelineSheets>(
            window, TimelineSheets::Services{*views.editor, *views.playback, [this] { ++changes; }});
    }

    void open(Command command, TimelineSelection selection)
    {
        editor().selectTimelineItems(std::move(selection));
        sheets->open(command);
    }
    void type(const char* text)
    {
        qobject_cast<QLineEdit*>(window.focusWidget())->selectAll();
        QTest::keyClicks(window.focusWidget(), text);
    }
    const TimesPreview& preview() const { return *findControl<TimesPreview>(window, "Preview"); }
    std::vector<double> previewStarts() const
    {
        std::vector<double> starts;
        for (const TimesPreview::Item& item : preview().items()) starts.push_back(item.newStart);
        return starts;
    }
    QLineEdit& field(const char* name) const { return *findControl<QLineEdit>(window, name); }
    double start(const TimelineItemRef& ref) { return timesOf(editor().scene(), ref)->start; }
    bool isSheetOpen() const override { return sheets->isOpen(); }

    int changes = 0;
    std::unique_ptr<TimelineSheets> sheets;
};

TEST_F(TimelineSheetsTest, MovingShowsTheOutcomeWhileTypingAndTouchesNothingBeforeReturn)
{
    open(Command::showMoveModal, {spanA, pulse});
    EXPECT_TRUE(showsWords(window, "Move Selection"));
    EXPECT_TRUE(showsWords(window, "2 items · 1.00s – 6.00s"));
    type("1.5");
    EXPECT_EQ(previewStarts(), (std::vector<double>{2.5, 7.5}));
    EXPECT_TRUE(showsWords(window, "Will be 2.50s – 7.50s"));
    EXPECT_EQ(editor().scene(), before);
    press(Qt::Key_Return);
    EXPECT_EQ(start(spanA), 2.5);
    EXPECT_EQ(start(pulse), 7.5);
    expectOneStep("Move Selection");
}

TEST_F(TimelineSheetsTest, TheKeyboardGoesRoundTheMoveSheet)
{
    open(Command::showMoveModal, {spanA});
    EXPECT_EQ(wayOfTab(5), QStringList({"Delta", "Ripple", "Cancel", "Move", "Mode: Delta", "Delta"}));
}

TEST_F(TimelineSheetsTest, ArrowKeysStepTheWayByAFrameUntilTheSceneEnds)
{
    open(Command::showMoveModal, {spanA, pulse});
    press(Qt::Key_Up);
    EXPECT_EQ(field("Delta").text(), "0.02");
    press(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(field("Delta").text(), "-0.18");
    for (int i = 0; i < 30; ++i) press(Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(field("Delta").text(), "4") << "where the pulse comes to the end";
    QTest::mouseClick(const_cast<QAbstractButton*>(&button("Decrease Delta")), Qt::LeftButton);
    EXPECT_EQ(field("Delta").text(), "3.98");
}

TEST_F(TimelineSheetsTest, AnAbsoluteMoveTellsWhyItDoesNotRipple)
{
    open(Command::showMoveModal, {spanA, spanB});
    EXPECT_TRUE(findControl<ChoiceField>(window, "Ripple"));
    const_cast<QAbstractButton&>(button("Mode: Delta")).setFocus();
    press(Qt::Key_Right);
    EXPECT_FALSE(findControl<ChoiceField>(window, "Ripple"));
    EXPECT_TRUE(showsWords(window, "Absolute mode collapses each item onto one time"));
    field("Time").setFocus();
    EXPECT_EQ(field("Time").text(), "1");
    type("6");
    EXPECT_EQ(previewStarts(), (std::vector<double>{6, 6}));
    press(Qt::Key_Return);
    EXPECT_EQ(start(spanA), 6);
    EXPECT_EQ(start(spanB), 6);
    expectOneStep("Move Selection");
}

TEST_F(TimelineSheetsTest, RippleIsSwitchedWhileTheSheetIsOpenAndPutBackByEscape)
{
    views.defaults.set(DefaultsKey::ripplePushBefore, true);
    open(Command::showMoveModal, {spanA});
    ChoiceField& ripple = *findControl<ChoiceField>(window, "Ripple");
    EXPECT_EQ(ripple.currentText(), "Push Before");
    const int changesBefore = changes;
    ripple.setFocus();
    press(Qt::Key_Down);
    EXPECT_EQ(ripple.currentText(), "Push Both");
    EXPECT_EQ(editorRippleMode(views.defaults), TimelineRippleMode::both);
    EXPECT_GT(changes, changesBefore) << "the timeline shows it";
    press(Qt::Key_Escape);
    EXPECT_EQ(editorRippleMode(views.defaults), TimelineRippleMode::before);
    expectNoTrace();
}

TEST_F(TimelineSheetsTest, WhatIsNoNumberCannotBeConfirmedAndSaysWhy)
{
    struct Case {
        Command command;
        const char* field;
        const char* confirm;
        const char* reason;
    };
    for (const Case& c : {Case{Command::showMoveModal, "Delta", "Move", "Type a number of seconds, such as 0.5."},
                          Case{Command::showDilateModal, "Scale", "Dilate", "Type a number, such as 1.5."},
                          Case{Command::staggerSpans, "Amount", "Stagger", "Type the amount in seconds, such as 0.1."}}) {
        SCOPED_TRACE(c.confirm);
        open(c.command, {spanA, spanB});
        ASSERT_EQ(focusName(window), c.field);
        for (const char* text : {"", "soon", "1e999"}) {
            type(text);
            if (*text == 0) press(Qt::Key_Backspace);
            EXPECT_FALSE(button(c.confirm).isEnabled()) << text;
            EXPECT_EQ(button(c.confirm).toolTip(), c.reason);
            EXPECT_TRUE(showsWords(window, c.reason));
            press(Qt::Key_Return);
            EXPECT_TRUE(sheets->isOpen()) << text;
        }
        type("0.5");
        EXPECT_TRUE(button(c.confirm).isEnabled());
        EXPECT_TRUE(button(c.confirm).toolTip().isEmpty());
        press(Qt::Key_Escape);
        expectNoTrace();
    }
}

TEST_F(TimelineSheetsTest, DilatingSpreadsThePreviewAroundTheAnchorAndHoldsTheScale)
{
    open(Command::showDilateModal, {spanA, spanB});
    EXPECT_EQ(field("Scale").text(), "1.00");
    EXPECT_TRUE(showsWords(window, "From 0.05 to 2.25 ×")) << "9 seconds are left for 4";
    type("1.5");
    EXPECT_EQ(previewStarts(), (std::vector<double>{1, 4}));
    type("9");
    EXPECT_EQ(previewStarts(), (std::vector<double>{1, 5.5})) << "by 2.25";
    EXPECT_EQ(wayOfTab(6), QStringList({"Scale", "Anchor: Start", "Ripple", "Cancel", "Dilate", "Scale", "Anchor: Start"}));
    EXPECT_EQ(field("Scale").text(), "2.25") << "as it is held";
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_EQ(focusName(window), "Anchor: End");
    EXPECT_TRUE(showsWords(window, "From 0.05 to 1.25 ×")) << "5 seconds are left for 4";
    EXPECT_EQ(previewStarts(), (std::vector<double>{0, 2.5}));
    EXPECT_EQ(editor().scene(), before);
    press(Qt::Key_Return);
    EXPECT_EQ(start(spanA), 0);
    EXPECT_EQ(start(spanB), 2.5);
    expectOneStep("Dilate Selection");
}

TEST_F(TimelineSheetsTest, DilatingNeedsTwoItems)
{
    open(Command::showDilateModal, {spanA});
    EXPECT_EQ(preview().words(), "Need at least two selected items to dilate spacing.");
    EXPECT_FALSE(button("Dilate").isEnabled());
    EXPECT_EQ(button("Dilate").toolTip(), "Need at least two selected items to dilate spacing.");
    press(Qt::Key_Return);
    EXPECT_TRUE(sheets->isOpen());
    press(Qt::Key_Escape);
    expectNoTrace();
}

TEST_F(TimelineSheetsTest, ASelectionThatIsGoneSaysSo)
{
    open(Command::showMoveModal, {TimelineItemRef::span(idOf(9), idOf(9))});
    EXPECT_EQ(preview().words(), "No timeline items are selected.");
    EXPECT_FALSE(button("Move").isEnabled());
    press(Qt::Key_Escape);
    expectNoTrace();
}

TEST_F(TimelineSheetsTest, DistributingPreviewsTheGapAndCountsWhatIsNoNumberAsNone)
{
    open(Command::distributeSpans, {spanA, spanB, spanC});
    EXPECT_TRUE(showsWords(window, "3 spans"));
    type("0.25");
    EXPECT_EQ(previewStarts(), (std::vector<double>{1, 2.25, 4.5}));
    press(Qt::Key_Up);
    EXPECT_EQ(field("Gap").text(), "0.35");
    type("x");
    EXPECT_EQ(previewStarts(), (std::vector<double>{1, 2, 4}));
    EXPECT_TRUE(showsWords(window, "no number counts as 0"));
    EXPECT_EQ(wayOfTab(3), QStringList({"Gap", "Cancel", "Distribute", "Gap"}));
    type("0.5");
    EXPECT_EQ(editor().scene(), before);
    press(Qt::Key_Return);
    EXPECT_EQ(start(spanB), 2.5);
    EXPECT_EQ(start(spanC), 5);
    expectOneStep("Distribute Spans");
    open(Command::distributeSpans, {spanA, spanB});
    EXPECT_EQ(field("Gap").text(), "0.5") << "kept for next time";
}

TEST_F(TimelineSheetsTest, EscapeForgetsWhatWasTyped)
{
    open(Command::distributeSpans, {spanA, spanB});
    type("7");
    press(Qt::Key_Escape);
    EXPECT_EQ(editor().distributeSpansSheet().distributeSpansGapInput, "0");
    open(Command::staggerSpans, {spanA, spanB});
    type("7");
    findControl<ChoiceField>(window, "Order")->setFocus();
    press(Qt::Key_End);
    press(Qt::Key_Escape);
    EXPECT_EQ(editor().staggerSpansSheet().staggerSpansAmountInput, "0.1");
    EXPECT_EQ(editor().staggerSpansSheet().staggerSpansOrder, StaggerOrder::layerTopDown);
    expectNoTrace();
}

TEST_F(TimelineSheetsTest, StaggeringPreviewsStepsCurveAndOrder)
{
    open(Command::staggerSpans, {spanA, spanB, spanC});
    EXPECT_EQ(wayOfTab(6), QStringList({"Amount", "Curve", "Order", "Cancel", "Stagger", "Amount", "Curve"}));
    type("1");
    field("Amount").setFocus();
    type("1");
    EXPECT_EQ(previewStarts(), (std::vector<double>{4, 5, 7})) << "from the topmost layer on, each step twice the one before";
    findControl<ChoiceField>(window, "Order")->setFocus();
    press(Qt::Key_Down);
    EXPECT_EQ(previewStarts(), (std::vector<double>{1, 2, 4}));
    EXPECT_EQ(editor().scene(), before);
    press(Qt::Key_Return);
    EXPECT_EQ(start(spanA), 1);
    EXPECT_EQ(start(spanB), 2);
    EXPECT_EQ(start(spanC), 4);
    expectOneStep("Stagger Spans");
}

TEST_F(TimelineSheetsTest, ThePreviewTellsOfSpansBehindTheScene)
{
    open(Command::staggerSpans, {spanA, spanB});
    type("20");
    EXPECT_TRUE(showsWords(window, "goes past the end of the scene"));
    press(Qt::Key_Escape);
    open(Command::showMoveModal, {spanA});
    type("50");
    EXPECT_TRUE(showsWords(window, "Would be "));
    EXPECT_TRUE(showsWords(window, "held within the scene"));
}

TEST_F(TimelineSheetsTest, PlayingStopsAndOneSheetIsOpenAtATime)
{
    views.playback->setPlaying(true);
    open(Command::showMoveModal, {spanA, spanB});
    EXPECT_FALSE(views.playback->isPlaying());
    sheets->open(Command::distributeSpans);
    EXPECT_TRUE(findControl<QLineEdit>(window, "Delta"));
    EXPECT_FALSE(findControl<QLineEdit>(window, "Gap"));
}

TEST_F(TimelineSheetsTest, ClosingTheWindowPutsTheRippleBack)
{
    open(Command::showMoveModal, {spanA});
    findControl<ChoiceField>(window, "Ripple")->setFocus();
    press(Qt::Key_End);
    EXPECT_EQ(editorRippleMode(views.defaults), TimelineRippleMode::both);
    sheets->close();
    EXPECT_EQ(editorRippleMode(views.defaults), TimelineRippleMode::none);
    EXPECT_FALSE(sheets->isOpen());
}

/// One layer for each of 500 spans.
TEST_F(TimelineSheetsTest, FiveHundredSpansArePreviewedWithinAFrame)
{
    TweenScene scene{.fps = 50, .duration = 100};
    TimelineSelection all;
    std::vector<Layer> layers;
    for (std::uint64_t i = 0; i < 500; ++i) {
        const double at = static_cast<double>(i) * 0.1;
        layers.push_back({.id = idOf(1000 + i), .spans = {TimeSpan{.id = idOf(5000 + i), .start = at, .end = at + 2}}});
        all.insert(TimelineItemRef::span(idOf(1000 + i), idOf(5000 + i)));
    }
    scene.layers = Array<Layer>(std::move(layers));
    editor().mutate("Edit", [&](TweenScene& to) { to.layers = scene.layers; });
    open(Command::staggerSpans, all);
    QImage image(window.size(), QImage::Format_ARGB32_Premultiplied);
    double slowest = 0;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer clock;
        clock.start();
        press(Qt::Key_Up);
        const_cast<TimesPreview&>(preview()).render(&image);
        slowest = std::max(slowest, static_cast<double>(clock.nsecsElapsed()) * 1e-6);
    }
    EXPECT_EQ(preview().items().size(), 500u);
    RecordProperty("milliseconds", std::to_string(slowest));
    EXPECT_LT(slowest, 100) << "many times what it takes, for a busy machine and a slow build";
}

} // namespace
} // namespace larkspool
