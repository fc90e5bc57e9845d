#include "shell/editor_view.h"

#include "support/random_timeline.h"
#include "support/test_editor.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <limits>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11)), spanB = TimelineItemRef::span(idOf(1), idOf(12)),
                      pulse = TimelineItemRef::pulse(idOf(1), idOf(14)), keyframe = TimelineItemRef::keyframe(idOf(2), idOf(13));

/// 10 seconds: spans 1–2 and 3–4 and a pulse at 6 in one layer, a keyframe at 5 in another.
const TweenScene& smallScene()
{
    static const TweenScene made = [] {
        Layer layer{.id = idOf(1)}, other{.id = idOf(2)};
        layer.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 2}, TimeSpan{.id = idOf(12), .start = 3, .end = 4}};
        layer.pulses = {Pulse{.id = idOf(14), .time = 6}};
        other.keyframes = {Keyframe{.id = idOf(13), .time = 5}};
        TweenScene scene{.id = idOf(100), .duration = 10};
        scene.layers = {layer, other};
        return scene;
    }();
    return made;
}

/// The one step has that name, and undoing it gives the scene back.
void expectOneStep(TestEditor& editor, const char* name)
{
    EXPECT_EQ(editor.undoName(), name);
    EXPECT_EQ(editor.undoCount(), 1u);
    editor.undo();
    EXPECT_EQ(editor.scene(), smallScene());
}

TEST(EditorMoves, TheMoveSheetMovesTheSelectionWithItsRipple)
{
    TestEditor editor(smallScene());
    MoveItemsSheet sheet = editor.select({spanB}).view().moveItemsSheet();
    sheet.ripple.choose(RetimeRipple::after);
    sheet.stepValue(0.5);
    sheet.confirm();
    EXPECT_EQ(editor.times(spanB), (ItemTimes{3.5, 4.5}));
    EXPECT_EQ(editor.times(pulse)->start, 6.5);
    EXPECT_EQ(editor.times(keyframe)->start, 5.5);
    EXPECT_EQ(editor.times(spanA)->start, 1);
    EXPECT_EQ(editor.rippled(), std::vector<std::size_t>{2});
    EXPECT_EQ(editor.view().rippleToastMessage(), "Ripple moved 2 other items");
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{spanB});
    EXPECT_EQ(editorRippleMode(editor.view().defaults()), TimelineRippleMode::after);
    expectOneStep(editor, "Move Selection");
}

TEST(EditorMoves, TheMoveSheetKnowsTheSceneAndMovesToATimeWithoutRipple)
{
    TestEditor editor(smallScene());
    MoveItemsSheet sheet = editor.ripple(true, true).select({spanA, pulse}).view().moveItemsSheet();
    EXPECT_DOUBLE_EQ(sheet.step(), 1.0 / 60);
    sheet.stepValue(100);
    EXPECT_EQ(sheet.deltaSeconds, 4) << "the pulse at 6 stays in the scene";
    sheet.mode = MoveItemsSheet::Mode::absolute;
    sheet.absoluteSeconds = 7;
    sheet.confirm();
    EXPECT_EQ(editor.times(spanA), (ItemTimes{7, 8}));
    EXPECT_EQ(editor.times(pulse)->start, 7);
    EXPECT_EQ(editor.times(keyframe)->start, 5);
    EXPECT_TRUE(editor.rippled().empty());
    expectOneStep(editor, "Move Selection");
}

TEST(EditorMoves, ACancelledSheetChangesNothing)
{
    TestEditor editor(smallScene());
    MoveItemsSheet move = editor.ripple(true, false).select({spanA, spanB}).view().moveItemsSheet();
    move.deltaSeconds = 2;
    move.ripple.choose(RetimeRipple::both);
    move.cancel();
    DilateItemsSheet dilate = editor.view().dilateItemsSheet();
    dilate.setScale(2);
    dilate.ripple.choose(RetimeRipple::off);
    dilate.cancel();
    EXPECT_EQ(editor.scene(), smallScene());
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_EQ(editorRippleMode(editor.view().defaults()), TimelineRippleMode::before);
}

TEST(EditorMoves, MoveToPlayheadPutsTheSelectionThere)
{
    TestEditor editor(smallScene());
    EXPECT_TRUE(editor.select({spanA, pulse}).playhead(8).view().moveToPlayhead());
    EXPECT_EQ(editor.times(spanA), (ItemTimes{8, 9}));
    EXPECT_EQ(editor.times(pulse)->start, 8);
    expectOneStep(editor, "Move to Playhead");
}

TEST(EditorMoves, TheDilateSheetSpreadsTheSelectionAndPushesBothSides)
{
    TestEditor editor(smallScene());
    DilateItemsSheet sheet = editor.select({spanB, keyframe}).view().dilateItemsSheet();
    sheet.chooseAnchor(DilateAnchor::center);
    sheet.setScale(1.5);
    sheet.ripple.choose(RetimeRipple::both);
    sheet.confirm();
    EXPECT_EQ(editor.times(spanB), (ItemTimes{2.5, 3.5}));
    EXPECT_EQ(editor.times(keyframe)->start, 5.5);
    EXPECT_EQ(editor.times(spanA), (ItemTimes{0.5, 1.5}));
    EXPECT_EQ(editor.times(pulse)->start, 6.5);
    EXPECT_EQ(editor.rippled(), (std::vector<std::size_t>{1, 1})) << "one for each side";
    expectOneStep(editor, "Dilate Selection");
}

TEST(EditorMoves, TheDilateSheetKnowsTheScene)
{
    TestEditor editor(smallScene());
    EXPECT_EQ(editor.select({keyframe, pulse}).view().dilateItemsSheet().maxScale(), 5) << "from 5, one second goes five times";
}

TEST(EditorMoves, RippleKeepsToTheScopeOfTheSettings)
{
    TestEditor editor(smallScene());
    editor.setting(DefaultsKey::rippleScope, std::string("current")).view().selectLayers({idOf(2)});
    editor.select({spanB});
    EXPECT_TRUE(editor.view().applyMoveDelta(0.5, TimelineRippleMode::both, "Move Selection"));
    EXPECT_EQ(editor.times(pulse)->start, 6);
    EXPECT_EQ(editor.times(keyframe)->start, 5.5);
    EXPECT_TRUE(editor.view().applyDilate(0.5, DilateAnchor::start, TimelineRippleMode::both, "Dilate Selection"));
    EXPECT_EQ(editor.times(pulse)->start, 6);
    EXPECT_EQ(editor.times(keyframe)->start, 5) << "the end came 0.5 nearer";
}

TEST(EditorMoves, AMoveByNothingMakesNoStepAndTellsNoRipple)
{
    TestEditor editor(smallScene());
    editor.select({spanA});
    EXPECT_FALSE(editor.view().applyMoveDelta(0.00005, TimelineRippleMode::both, "Move Selection"));
    EXPECT_TRUE(editor.rippled().empty());
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_EQ(editor.scene(), smallScene());
}

TEST(EditorMoves, SpansAreDistributedAndStaggeredAsTheSheetsTell)
{
    TestEditor editor(smallScene());
    EditorView& view = editor.select({spanA, spanB}).view();
    view.distributeSpansSheet().distributeSpansGapInput = "0.5";
    EXPECT_TRUE(view.distributeSelectedSpans(view.distributeSpansSheet().parsedGap()));
    EXPECT_EQ(editor.times(spanB), (ItemTimes{2.5, 3.5}));
    expectOneStep(editor, "Distribute Spans");

    StaggerSpansSheet& sheet = view.staggerSpansSheet();
    sheet.staggerSpansAmountInput = "4";
    sheet.staggerSpansOrder = StaggerOrder::earliestFirst;
    EXPECT_TRUE(sheet.apply(
        [&](double amount, double curve, StaggerOrder order) { EXPECT_TRUE(view.staggerSelectedSpans(amount, curve, order)); }));
    EXPECT_EQ(editor.times(spanB), (ItemTimes{5, 6}));
    expectOneStep(editor, "Stagger Spans");
    EXPECT_EQ(view.distributeSpansSheet().distributeSpansGapInput, "0.5") << "kept for next time";
}

TEST(EditorMoves, InAndOutAreSetAtThePlayheadWithTheRippleOfTheSettings)
{
    TestEditor editor(smallScene());
    editor.select({spanA}).playhead(1.5);
    EXPECT_TRUE(editor.view().applySpanInOut(InOutPoint::in));
    EXPECT_EQ(editor.times(spanA), (ItemTimes{1.5, 2}));
    EXPECT_EQ(editor.times(pulse)->start, 6);
    expectOneStep(editor, "Set In");

    editor.ripple(false, true).playhead(2.5);
    EXPECT_TRUE(editor.view().applySpanInOut(InOutPoint::out));
    EXPECT_EQ(editor.times(spanA), (ItemTimes{1, 2.5}));
    EXPECT_EQ(editor.times(spanB), (ItemTimes{3.5, 4.5}));
    EXPECT_EQ(editor.rippled(), std::vector<std::size_t>{3});
    expectOneStep(editor, "Set Out");
}

TEST(EditorMoves, WithNothingThereNothingHappens)
{
    TestEditor editor(smallScene());
    const TimelineSelection dead{TimelineItemRef::span(idOf(9), idOf(9)), TimelineItemRef::videoClip(idOf(1))};
    for (const TimelineSelection& selection : {TimelineSelection{}, dead}) {
        EditorView& view = editor.select(selection).playhead(3).ripple(true, true).view();
        EXPECT_FALSE(view.applyMoveDelta(1, TimelineRippleMode::both, "Move"));
        EXPECT_FALSE(view.moveToPlayhead());
        EXPECT_FALSE(view.applyDilate(2, DilateAnchor::center, TimelineRippleMode::both, "Dilate"));
        EXPECT_FALSE(view.distributeSelectedSpans(1));
        EXPECT_FALSE(view.staggerSelectedSpans(1, 0, StaggerOrder::random));
        EXPECT_FALSE(view.applySpanInOut(InOutPoint::in));
        view.moveItemsSheet().confirm();
        view.dilateItemsSheet().confirm();
    }
    EXPECT_EQ(editor.scene(), smallScene());
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_TRUE(editor.rippled().empty());
}

/// One of the operations, with anything for its parameters. Whether there was an edit.
bool operateAtRandom(TestEditor& editor, RandomTimeline& random)
{
    EditorView& view = editor.view();
    const auto mode = static_cast<TimelineRippleMode>(random.index(4));
    const double wild = std::numeric_limits<double>::quiet_NaN(), number = random.chance(20) ? wild : random.between(-6, 6);
    editor.select(random.selection(editor.scene())).playhead(random.between(-1, 12)).ripple(random.chance(2), random.chance(2));
    switch (random.index(7)) {
    case 0: return view.applyMoveDelta(number, mode, "Move Selection");
    case 1: return view.applyMoveAbsolute(number, "Move Selection");
    case 2: return view.moveToPlayhead();
    case 3: return view.applyDilate(number, static_cast<DilateAnchor>(random.index(3)), mode, "Dilate Selection");
    case 4: return view.distributeSelectedSpans(number);
    case 5: return view.staggerSelectedSpans(number, number / 4, static_cast<StaggerOrder>(random.index(4)));
    default: return view.applySpanInOut(static_cast<InOutPoint>(random.index(2)));
    }
}

TEST(EditorMoves, AnySequenceIsUndoneAndRedoneStepByStep)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        TestEditor editor(random.scene());
        std::vector<TweenScene> states{editor.scene()};
        for (int i = 0; i < 40; ++i) {
            const bool edited = operateAtRandom(editor, random);
            RC_ASSERT(edited == (editor.scene() != states.back()));
            RC_ASSERT(effectsFitTheirSpans(editor.scene()));
            if (edited) states.push_back(editor.scene());
            RC_ASSERT(editor.undoCount() == states.size() - 1);
        }
        for (std::size_t i = states.size() - 1; i-- > 0;) RC_ASSERT(editor.undo().scene() == states[i]);
        for (std::size_t i = 1; i < states.size(); ++i) RC_ASSERT(editor.redo().scene() == states[i]);
    }));
}

} // namespace
} // namespace larkspool
