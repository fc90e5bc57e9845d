#include "editing/shared_commit.h"

#include "editing/edit_batches.h"
#include "editing/editing_fixture.h"
#include "editing/gesture.h"
#include "editing/numeric_field_undo_gate.h"
#include "support/fake_timers.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string>

namespace larkspool {
namespace {

/// A numeric field over the gate of a desk.
NumericFieldUndoGate fieldOf(Desk& desk)
{
    return {.open = [&desk] { desk.commit.openNumericUndoGate(); },
            .confirm = [&desk] { desk.commit.confirmNumericUndoGate(); },
            .cancel = [&desk] { desk.commit.cancelNumericUndoGate(); }};
}

TEST(SharedCommit, TheStepsRunInOrderBeforeTheStepIsRecorded)
{
    Desk desk;
    desk.commit.mutate("Rename", [&](TweenScene& scene) {
        desk.steps += "work ";
        scene.name = SharedString("after");
    });
    EXPECT_EQ(desk.steps, "work zoom text invalidate ");
    EXPECT_EQ(desk.name(), "after");
    EXPECT_EQ(desk.manager.undoActionName(), "Rename");
    desk.manager.undo();
    EXPECT_EQ(desk.name(), "before");
    desk.manager.redo();
    EXPECT_EQ(desk.name(), "after");
}

TEST(SharedCommit, WhatTheStepsChangeBelongsToTheEdit)
{
    EditorState state;
    state.document.setScene(sceneNamed("before"));
    UndoManager manager;
    SharedCommit commit(state, &manager, {.refitTextLayers = [](TweenScene& scene) { scene.endPause = 3; }});
    commit.mutate("Edit Text", [](TweenScene&) {});
    EXPECT_EQ(state.scene().endPause, 3);
    manager.undo();
    EXPECT_EQ(state.scene().endPause, 0);
}

TEST(SharedCommit, WithoutAnUndoManagerEditsProceed)
{
    EditorState state;
    SharedCommit commit(state, nullptr, {});
    commit.mutate("Rename", [](TweenScene& scene) { scene.name = SharedString("after"); });
    EXPECT_EQ(state.scene().name, SharedString("after"));
}

TEST(SharedCommit, UndoMakesKeptEvaluationsStale)
{
    Desk desk;
    desk.rename("after");
    desk.steps.clear();
    desk.manager.undo();
    EXPECT_EQ(desk.steps, "invalidate ");
}

TEST(SharedCommit, AnEditWritesItsSelectionAndAnEmptyOneOfLayersKeepsTheSelectedOnes)
{
    const Layer first{.id = idOf(2), .pulses = {Pulse{.id = idOf(9)}}}, second{.id = idOf(3)};
    TweenScene scene = sceneNamed("before");
    scene.layers = {first, second};
    Desk desk(scene);
    desk.commit.commit({.scene = scene, .actionName = "Paste", .selection = {.layerIDs = {first.id}}});
    EXPECT_EQ(desk.state.selectedLayerIDs, LayerIDs{first.id});

    const TimelineSelection pulse{TimelineItemRef::pulse(first.id, idOf(9))};
    desk.commit.commit({.scene = scene, .actionName = "Add Pulse", .selection = {.timeline = pulse}});
    EXPECT_EQ(desk.state.selectedLayerIDs, LayerIDs{first.id});
    EXPECT_EQ(desk.state.timelineSelection, pulse);
    EXPECT_EQ(desk.manager.undoCount(), 2u);
}

TEST(SharedCommit, SelectionsLoseWhatAnEditOrItsUndoingTakesAway)
{
    Desk desk;
    const Layer layer{.id = idOf(2), .spans = {TimeSpan{.id = idOf(5), .start = 0, .end = 1}}};
    desk.commit.mutate("Add", [&](TweenScene& scene) { scene.layers = {layer}; });
    selectLayers(desk.state, {layer.id});
    selectTimelineItems(desk.state, {TimelineItemRef::span(layer.id, idOf(5))});
    desk.state.selectedSpanID = idOf(5);

    desk.manager.undo();
    EXPECT_TRUE(desk.state.selectedLayerIDs.empty());
    EXPECT_TRUE(desk.state.timelineSelection.empty());
    EXPECT_EQ(desk.state.selectedSpanID, std::nullopt);

    desk.manager.redo();
    selectTimelineItems(desk.state, {TimelineItemRef::span(layer.id, idOf(5))});
    desk.commit.mutate("Delete", [](TweenScene& scene) { scene.layers.edit()[0].spans = {}; });
    EXPECT_TRUE(desk.state.timelineSelection.empty());
}

// ---------------------------------------------------------------- edits of several scenes

/// A desk with three scenes, of which the first is active.
struct WideDesk : Desk {
    WideDesk()
    {
        for (const std::uint64_t number : {2, 3}) {
            TweenScene scene = sceneNamed("before");
            scene.id = idOf(number);
            state.document.scenes.append(scene);
        }
    }

    /// The names of the scenes in order.
    std::string names() const
    {
        std::string all;
        for (const TweenScene& scene : state.document.scenes) all += scene.name->string() + " ";
        return all;
    }
    void renameScenes(std::initializer_list<std::size_t> indices, std::string_view name)
    {
        commit.mutateDocument("Rename", [&](TweenDocument& document) {
            for (const std::size_t index : indices) document.scenes.edit()[index].name = SharedString(name);
        });
    }
};

TEST(DocumentEdit, IsOneStepThatPutsBackEverySceneItHasChanged)
{
    WideDesk desk;
    desk.renameScenes({0, 2}, "after");
    EXPECT_EQ(desk.names(), "after before after ");
    EXPECT_EQ(desk.steps, "zoom text invalidate ");
    EXPECT_EQ(desk.manager.undoCount(), 1u);
    EXPECT_EQ(desk.manager.undoActionName(), "Rename");
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before before before ");
    EXPECT_EQ(desk.steps, "zoom text invalidate invalidate ");
    EXPECT_EQ(desk.manager.redoActionName(), "Rename");
    desk.manager.redo();
    EXPECT_EQ(desk.names(), "after before after ");
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before before before ");
}

TEST(DocumentEdit, OfAnotherSceneAloneIsAStepAsWell)
{
    WideDesk desk;
    desk.renameScenes({1}, "after");
    EXPECT_EQ(desk.manager.undoCount(), 1u);
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before before before ");
}

TEST(DocumentEdit, WhatTheStepsChangeInTheActiveSceneBelongsToIt)
{
    EditorState state;
    state.document.setScene(sceneNamed("before"));
    UndoManager manager;
    SharedCommit commit(state, &manager, {.refitTextLayers = [](TweenScene& scene) { scene.endPause = 3; }});
    commit.mutateDocument("Edit Text", [](TweenDocument&) {});
    EXPECT_EQ(state.scene().endPause, 3);
    manager.undo();
    EXPECT_EQ(state.scene().endPause, 0);
}

TEST(DocumentEdit, ThatChangesNothingRecordsNothing)
{
    WideDesk desk;
    desk.renameScenes({0, 1, 2}, "before");
    EXPECT_EQ(desk.manager.undoCount(), 0u);
}

TEST(DocumentEdit, GoesBackToTheScenesThatItChangedWhereverTheyAreThen)
{
    WideDesk desk;
    desk.renameScenes({0, 2}, "after");
    desk.state.document.moveScene(2, 0); // The third scene is the first, and the first the second.
    desk.state.document.activeSceneIndex = 2;
    EXPECT_EQ(desk.names(), "after after before ");
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before before before ");
    EXPECT_EQ(desk.state.document.scenes[0].id, idOf(3));
    EXPECT_EQ(desk.state.document.scenes[1].id, idOf(1));
    EXPECT_EQ(desk.state.document.scenes[2].id, idOf(2));
}

TEST(DocumentEdit, GoesBackThoughItGaveTheSceneAnotherIdentity)
{
    WideDesk desk;
    desk.commit.mutateDocument("Edit", [](TweenDocument& document) { document.scenes.edit()[0].id = idOf(9); });
    desk.state.document.moveScene(0, 3);
    desk.manager.undo();
    EXPECT_EQ(desk.state.document.scenes[2].id, idOf(1));
    desk.manager.redo();
    EXPECT_EQ(desk.state.document.scenes[2].id, idOf(9));
}

TEST(DocumentEdit, PassesOverASceneThatHasBeenDeleted)
{
    WideDesk desk;
    desk.renameScenes({0, 2}, "after");
    desk.state.document.deleteScene(2);
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before before ");

    desk.renameScenes({1}, "after");
    desk.state.document.deleteScene(1);
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before ");
    EXPECT_FALSE(desk.manager.canRedo());
}

TEST(DocumentEdit, UnderAGateLeavesTheActiveScenesPartToIt)
{
    WideDesk desk;
    desk.commit.openNumericUndoGate();
    desk.renameScenes({0, 1}, "after");
    EXPECT_EQ(desk.manager.undoCount(), 1u);
    desk.commit.confirmNumericUndoGate();
    EXPECT_EQ(desk.manager.undoCount(), 2u);
    EXPECT_EQ(desk.manager.undoActionName(), "Rename");
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before after before ");
    desk.manager.undo();
    EXPECT_EQ(desk.names(), "before before before ");
}

TEST(DocumentEdit, ThatFailsChangesNothing)
{
    WideDesk desk;
    EXPECT_THROW(desk.commit.mutateDocument("Edit",
                                            [](TweenDocument& document) {
                                                document.scenes.edit()[0].name = SharedString("after");
                                                throw std::runtime_error("no");
                                            }),
                 std::runtime_error);
    EXPECT_EQ(desk.names(), "before before before ");
    EXPECT_EQ(desk.manager.undoCount(), 0u);
}

TEST(DocumentEdit, WithoutAnUndoManagerProceeds)
{
    EditorState state;
    SharedCommit commit(state, nullptr, {});
    commit.mutateDocument("Edit", [](TweenDocument& document) { document.scenes.edit()[0].name = SharedString("after"); });
    EXPECT_EQ(state.scene().name, SharedString("after"));
}

// ---------------------------------------------------------------- numeric fields

TEST(NumericGate, LeavingAFieldWithoutTypingRecordsNothing)
{
    Desk desk;
    NumericFieldUndoGate field = fieldOf(desk);
    field.gainFocus();
    EXPECT_TRUE(desk.state.gatePreFocusScene);
    field.loseFocus();
    EXPECT_FALSE(desk.state.gatePreFocusScene);
    EXPECT_FALSE(desk.manager.canUndo());
}

TEST(NumericGate, EveryKeystrokeOfAVisitIsOneStep)
{
    Desk desk;
    NumericFieldUndoGate field = fieldOf(desk);
    field.gainFocus();
    for (const char* typed : {"1", "12", "120"}) desk.rename(typed, "Edit Width");
    EXPECT_FALSE(desk.manager.canUndo());
    field.loseFocus();
    EXPECT_EQ(desk.name(), "120");
    EXPECT_EQ(desk.manager.undoCount(), 1u);
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Width");
    desk.manager.undo();
    EXPECT_EQ(desk.name(), "before");
}

TEST(NumericGate, EscapeTakesBackWhatWasTypedAndTheLossOfFocusConfirmsNothing)
{
    Desk desk;
    desk.rename("first");
    NumericFieldUndoGate field = fieldOf(desk);
    field.gainFocus();
    desk.rename("typed", "Edit Width");
    desk.steps.clear();
    field.exitCommand();
    EXPECT_FALSE(field.focused);
    EXPECT_EQ(desk.name(), "first");
    EXPECT_EQ(desk.steps, "invalidate ");
    field.loseFocus();
    EXPECT_EQ(desk.manager.undoCount(), 1u);
    EXPECT_EQ(desk.manager.undoActionName(), "Rename");
    field.gainFocus();
    field.loseFocus();
    EXPECT_EQ(desk.manager.undoCount(), 1u) << "the name of the cancelled visit is forgotten";
}

TEST(NumericGate, GoingStraightToAnotherFieldClosesTheFirstStepAndOpensTheNext)
{
    Desk desk;
    NumericFieldUndoGate width = fieldOf(desk), height = fieldOf(desk);
    width.gainFocus();
    desk.rename("w", "Edit Width");
    width.loseFocus();
    height.gainFocus();
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Width");
    desk.rename("h", "Edit Height");
    height.loseFocus();
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Height");
    desk.manager.undo();
    EXPECT_EQ(desk.name(), "w");
}

TEST(NumericGate, AGateLeftOpenClosesBeforeTheNextOneOpens)
{
    Desk desk;
    desk.commit.openNumericUndoGate();
    desk.rename("w", "Edit Width");
    desk.commit.openNumericUndoGate();
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Width");
    desk.commit.confirmNumericUndoGate();
    EXPECT_EQ(desk.manager.undoCount(), 1u);
}

TEST(NumericGate, TheStepTakesTheNameOfTheLastEditWhateverItsKind)
{
    Desk desk;
    desk.commit.openNumericUndoGate();
    desk.rename("a", "Edit Width");
    desk.commit.commit({.scene = sceneNamed("b"), .actionName = "Add Span"});
    desk.commit.confirmNumericUndoGate();
    EXPECT_EQ(desk.manager.undoCount(), 1u);
    EXPECT_EQ(desk.manager.undoActionName(), "Add Span");
}

TEST(NumericGate, AnEditWithoutANameCountsAsEdit)
{
    Desk desk;
    desk.commit.openNumericUndoGate();
    desk.rename("a", " ");
    desk.commit.confirmNumericUndoGate();
    EXPECT_EQ(desk.manager.undoActionName(), "Edit");
}

TEST(NumericGate, ConfirmingOrCancellingAClosedGateDoesNothing)
{
    Desk desk;
    desk.commit.confirmNumericUndoGate();
    desk.commit.cancelNumericUndoGate();
    EXPECT_EQ(desk.steps, "");
    EXPECT_FALSE(desk.manager.canUndo());
}

TEST(ColorEditBatch, ChangesWithinTheQuietTimeAreOneStepAndLaterOnesTheNext)
{
    struct Case {
        const char* when;
        double between;
        std::size_t steps;
    };
    for (const Case& c : {Case{"0.3 seconds apart", 0.3, 1}, Case{"0.5 seconds apart", 0.5, 2}}) {
        SCOPED_TRACE(c.when);
        Desk desk;
        FakeTimers timers;
        ColorEditBatch batch(desk.commit, timers);
        batch.colorEditBatch("Edit Color", [](TweenScene& scene) { scene.name = SharedString("red"); });
        EXPECT_EQ(desk.name(), "red") << "shown at once";
        EXPECT_FALSE(desk.manager.canUndo());
        timers.pass(c.between);
        batch.colorEditBatch("Edit Color", [](TweenScene& scene) { scene.name = SharedString("blue"); });
        timers.pass(0.4);
        EXPECT_EQ(desk.manager.undoCount(), c.steps);
        EXPECT_FALSE(batch.isOpen());
        EXPECT_EQ(timers.running(), 0u);
        for (std::size_t i = 0; i < c.steps; ++i) desk.manager.undo();
        EXPECT_EQ(desk.name(), "before");
    }
}

TEST(ColorEditBatch, TheStepClosesFourTenthsAfterTheLastChangeUnderTheFirstOnesName)
{
    Desk desk;
    FakeTimers timers;
    ColorEditBatch batch(desk.commit, timers);
    batch.colorEditBatch("Edit Color", [](TweenScene&) {});
    batch.colorEditBatch("Edit Stroke", [](TweenScene&) {});
    EXPECT_EQ(desk.steps, "invalidate invalidate ");
    timers.pass(0.39);
    EXPECT_FALSE(desk.manager.canUndo());
    timers.pass(0.02);
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Color");
    EXPECT_EQ(desk.steps, "invalidate invalidate zoom text invalidate ");
}

TEST(ColorEditBatch, ItsStepIsRecordedAtOnceThoughAGateIsOpen)
{
    Desk desk;
    FakeTimers timers;
    ColorEditBatch batch(desk.commit, timers);
    desk.commit.openNumericUndoGate();
    batch.colorEditBatch("Edit Color", [](TweenScene& scene) { scene.name = SharedString("red"); });
    batch.commitColorBatch();
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Color");
    EXPECT_EQ(desk.state.gateActionName, "");
}

TEST(ColorEditBatch, CommittingOrCancellingWithoutOneDoesNothing)
{
    Desk desk;
    FakeTimers timers;
    ColorEditBatch batch(desk.commit, timers);
    batch.commitColorBatch();
    batch.cancelColorBatch();
    EXPECT_EQ(desk.steps, "");
}

TEST(ColorEditBatch, CancelledPutsTheSceneBackAndRecordsNothing)
{
    Desk desk;
    FakeTimers timers;
    ColorEditBatch batch(desk.commit, timers);
    batch.colorEditBatch("Edit Color", [](TweenScene& scene) { scene.name = SharedString("red"); });
    batch.colorEditBatch("Edit Color", [](TweenScene& scene) { scene.name = SharedString("blue"); });
    batch.cancelColorBatch();
    EXPECT_EQ(desk.name(), "before");
    EXPECT_FALSE(batch.isOpen());
    timers.pass(1);
    EXPECT_FALSE(desk.manager.canUndo());
}

TEST(NumberScrub, IsOneStepFromBeginToEnd)
{
    Desk desk;
    NumberScrub scrub(desk.commit);
    scrub.scrubBegin("Edit Opacity");
    scrub.scrub([](TweenScene& scene) { scene.name = SharedString("1"); });
    scrub.scrubBegin("Edit Rotation"); // One is open: nothing happens.
    scrub.scrub([](TweenScene& scene) { scene.name = SharedString("2"); });
    EXPECT_FALSE(desk.manager.canUndo());
    scrub.scrubEnd();
    EXPECT_FALSE(scrub.isOpen());
    EXPECT_EQ(desk.manager.undoActionName(), "Edit Opacity");
    desk.manager.undo();
    EXPECT_EQ(desk.name(), "before");
    scrub.scrubEnd();
    EXPECT_FALSE(desk.manager.canUndo());
}

TEST(NumberScrub, ThatReturnsRecordsNothing)
{
    Desk desk;
    NumberScrub scrub(desk.commit);
    scrub.scrubBegin("Edit Opacity");
    scrub.scrub([](TweenScene& scene) { scene.name = SharedString("1"); });
    scrub.scrub([](TweenScene& scene) { scene.name = SharedString("before"); });
    scrub.scrubEnd();
    EXPECT_FALSE(desk.manager.canUndo());
}

TEST(Gesture, IsOneStepFromBeginToEndWithTheStepsRunAtItsEnd)
{
    Desk desk;
    Gesture gesture(desk.commit);
    for (const char* name : {"a", "b", "c"}) gesture.update(sceneNamed(name));
    EXPECT_EQ(desk.steps, "invalidate invalidate invalidate ");
    EXPECT_FALSE(desk.manager.canUndo());
    EXPECT_TRUE(gesture.end("Move Span"));
    EXPECT_EQ(desk.steps, "invalidate invalidate invalidate zoom text invalidate ");
    EXPECT_EQ(desk.manager.undoActionName(), "Move Span");
    desk.manager.undo();
    EXPECT_EQ(desk.name(), "before");
    desk.manager.redo();
    EXPECT_EQ(desk.name(), "c");
}

TEST(Gesture, ThatEndsWithTheSceneOfItsBeginRecordsNothing)
{
    Desk desk;
    Gesture gesture(desk.commit);
    gesture.update(sceneNamed("a"));
    gesture.update(sceneNamed("before"));
    EXPECT_FALSE(gesture.end("Move Span"));
    EXPECT_FALSE(desk.manager.canUndo());
}

TEST(Gesture, IsAStepOfItsOwnThoughAGateIsOpen)
{
    Desk desk;
    desk.commit.openNumericUndoGate();
    Gesture gesture(desk.commit);
    gesture.update(sceneNamed("a"));
    EXPECT_TRUE(gesture.end("Move Span"));
    EXPECT_EQ(desk.manager.undoActionName(), "Move Span");
    EXPECT_EQ(desk.state.gateActionName, "");
    desk.commit.confirmNumericUndoGate();
    EXPECT_EQ(desk.manager.undoCount(), 1u);
}

TEST(Gesture, CancelledPutsTheSceneBack)
{
    Desk desk;
    Gesture gesture(desk.commit);
    gesture.update(sceneNamed("a"));
    gesture.cancel();
    EXPECT_EQ(desk.name(), "before");
    EXPECT_FALSE(desk.manager.canUndo());
}

} // namespace
} // namespace larkspool
