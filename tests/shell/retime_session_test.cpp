#include "support/random_timeline.h"
#include "support/test_editor.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef span = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef pulse = TimelineItemRef::pulse(idOf(2), idOf(21));

/// 10 seconds: a span 1–2 of layer 1 and a pulse at 6 of layer 2.
TweenScene makeSmallScene()
{
    Layer one{.id = idOf(1)}, other{.id = idOf(2)};
    one.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 2}};
    other.pulses = {Pulse{.id = idOf(21), .time = 6}};
    TweenScene scene{.id = idOf(100), .duration = 10};
    scene.layers = {one, other};
    return scene;
}

const TweenScene& smallScene()
{
    static const TweenScene scene = makeSmallScene();
    return scene;
}

TEST(RetimeSession, EditsShowAtOnceAndFoldIntoOneStepWhenTheTableCloses)
{
    TestEditor editor(smallScene());
    RetimeSheet& sheet = editor.view().openRetimeSheet();
    sheet.commitStart(3, sheet.rows()[0]);
    EXPECT_EQ(editor.times(span), (ItemTimes{3, 4}));
    sheet.commitStart(7, sheet.rows()[1]);
    EXPECT_EQ(editor.undoCount(), 0u);

    editor.view().closeRetimeSheet();
    EXPECT_EQ(editor.view().retimeSheet(), nullptr);
    EXPECT_EQ(editor.undoCount(), 1u);
    EXPECT_EQ(editor.undoName(), "Retime");
    const TweenScene edited = editor.scene();
    editor.undo();
    EXPECT_EQ(editor.scene(), smallScene());
    editor.redo();
    EXPECT_EQ(editor.scene(), edited);
}

TEST(RetimeSession, ClosingWithoutEditsRegistersNothing)
{
    TestEditor editor(smallScene());
    editor.view().openRetimeSheet();
    editor.view().closeRetimeSheet();
    editor.view().closeRetimeSheet();
    EXPECT_EQ(editor.undoCount(), 0u);
}

TEST(RetimeSession, OpeningAnewClosesTheTableThatIsOpen)
{
    TestEditor editor(smallScene());
    RetimeSheet& sheet = editor.view().openRetimeSheet();
    sheet.commitStart(3, sheet.rows()[0]);
    editor.view().openRetimeSheet();
    EXPECT_EQ(editor.undoName(), "Retime");
    EXPECT_FALSE(editor.view().retimeSheet()->canUndo());
}

TEST(RetimeSession, RippleOpensAsTheSettingsHaveIt)
{
    TestEditor editor(smallScene());
    editor.ripple(false, true).setting(DefaultsKey::rippleScope, "current");
    editor.view().selectLayers({idOf(1)});
    EXPECT_EQ(editor.view().openRetimeSheet().ripple, RetimeRipple::after);
    RetimeSheet& sheet = *editor.view().retimeSheet();
    sheet.commitStart(2, sheet.rows()[0]);
    EXPECT_EQ(editor.times(pulse)->start, 6) << "a layer that the timeline does not show";
    editor.setting(DefaultsKey::rippleScope, "all");
    RetimeSheet& ofAll = editor.view().openRetimeSheet();
    ofAll.commitStart(3, ofAll.rows()[0]);
    EXPECT_EQ(editor.times(pulse)->start, 7);
    EXPECT_TRUE(editor.rippled().empty()) << "the table announces nothing";
}

TEST(RetimeSession, TheGripMovesThePlayheadAndLeavesNoStep)
{
    TestEditor editor(smallScene());
    editor.view().openRetimeSheet().scrub(45, 100, PlayheadSnapMode::sec100, {.command = true});
    EXPECT_DOUBLE_EQ(editor.state().playhead, 4.5);
    editor.view().closeRetimeSheet();
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_EQ(editor.scene(), smallScene());
}

TEST(RetimeSession, AnOpenGateDoesNotTakeTheStep)
{
    TestEditor editor(smallScene());
    editor.view().commit().openNumericUndoGate();
    RetimeSheet& sheet = editor.view().openRetimeSheet();
    sheet.commitStart(3, sheet.rows()[0]);
    editor.view().closeRetimeSheet();
    EXPECT_EQ(editor.undoName(), "Retime");
    editor.view().commit().confirmNumericUndoGate();
    EXPECT_EQ(editor.undoCount(), 1u);
}

TEST(RetimeSessionLaws, UndoneAfterClosingTheDocumentIsAsBeforeTheSession)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        TestEditor editor(before);
        RetimeSheet& sheet = editor.view().openRetimeSheet();
        for (int i = 0; i < 10; ++i) {
            const std::vector<RetimeRow> rows = sheet.rows();
            if (rows.empty()) return;
            editor.timers().pass(random.between(0, 2));
            sheet.ripple = static_cast<RetimeRipple>(random.index(4));
            const RetimeRow& row = rows[random.index(rows.size())];
            switch (random.index(4)) {
            case 0: sheet.performInModalUndo(); break;
            case 1: sheet.performInModalRedo(); break;
            case 2: sheet.commitDuration(random.between(0, 4), row); break;
            default: sheet.commitStart(random.between(0, 10), row); break;
            }
        }
        const TweenScene after = editor.scene();
        editor.view().closeRetimeSheet();
        RC_ASSERT(editor.scene() == after);
        RC_ASSERT(editor.undoCount() == (after == before ? 0u : 1u));
        editor.undo();
        RC_ASSERT(editor.scene() == before);
        editor.redo();
        RC_ASSERT(editor.scene() == after);
    }));
}

} // namespace
} // namespace larkspool
