#include "platform/undo_manager.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <memory>
#include <stdexcept>

namespace larkspool {
namespace {

/// A number that is set with a way back.
struct Number {
    UndoManager manager{};
    int value = 0;

    void set(int next, std::string_view name = {})
    {
        const int before = value;
        value = next;
        record(before);
        if (!name.empty()) manager.setActionName(name);
    }
    void record(int before)
    {
        manager.registerUndo([this, before] {
            const int now = value;
            value = before;
            record(now);
        });
    }
};

TEST(UndoManager, AHandlerThatRegistersWhileUndoingRecordsTheRedoAndTheOtherWayRound)
{
    Number number;
    number.set(1);
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        EXPECT_TRUE(number.manager.canUndo());
        EXPECT_FALSE(number.manager.canRedo());
        number.manager.undo();
        EXPECT_EQ(number.value, 0);
        EXPECT_FALSE(number.manager.canUndo());
        EXPECT_TRUE(number.manager.canRedo());
        number.manager.redo();
        EXPECT_EQ(number.value, 1);
    }
}

TEST(UndoManager, ANewStepEmptiesTheRedoStack)
{
    Number number;
    number.set(1);
    number.set(2);
    number.manager.undo();
    ASSERT_EQ(number.manager.redoCount(), 1u);
    number.set(3);
    EXPECT_FALSE(number.manager.canRedo());
    number.manager.undo();
    EXPECT_EQ(number.value, 1);
}

TEST(UndoManager, RedoingKeepsTheStepsStillToBeRedone)
{
    Number number;
    for (const int value : {1, 2, 3}) number.set(value);
    for (int i = 0; i < 3; ++i) number.manager.undo();
    number.manager.redo();
    EXPECT_EQ(number.value, 1);
    EXPECT_EQ(number.manager.redoCount(), 2u);
    EXPECT_EQ(number.manager.undoCount(), 1u);
}

TEST(UndoManager, MenusShowTheNameOfTheNextStep)
{
    Number number;
    EXPECT_EQ(number.manager.undoMenuItemTitle(), "Undo");
    EXPECT_EQ(number.manager.redoMenuItemTitle(), "Redo");
    number.set(1, "Move Span");
    number.set(2, "Add Pulse");
    EXPECT_EQ(number.manager.undoMenuItemTitle(), "Undo Add Pulse");
    number.manager.undo();
    EXPECT_EQ(number.manager.undoMenuItemTitle(), "Undo Move Span");
    EXPECT_EQ(number.manager.redoMenuItemTitle(), "Redo Add Pulse");
    number.manager.redo();
    EXPECT_EQ(number.manager.undoActionName(), "Add Pulse");
}

TEST(UndoManager, AStepWithoutANameHasNoneAndTakesNoneFromAnEarlierOne)
{
    Number number;
    number.set(1, "First");
    number.set(2);
    EXPECT_EQ(number.manager.undoMenuItemTitle(), "Undo");
    number.manager.undo();
    number.manager.setActionName("Too late"); // Nothing was registered since the undo.
    EXPECT_EQ(number.manager.undoActionName(), "First");
}

TEST(UndoManager, AHandlerCanNameTheWayBack)
{
    UndoManager manager;
    manager.registerUndo([&] {
        manager.registerUndo([] {});
        manager.setActionName("Back");
    });
    manager.setActionName("There");
    manager.undo();
    EXPECT_EQ(manager.redoActionName(), "Back");
}

TEST(UndoManager, AGroupIsOneStepUndoneFromItsEnd)
{
    UndoManager manager;
    std::string order;
    manager.beginUndoGrouping();
    manager.registerUndo([&] { order += 'a'; });
    manager.beginUndoGrouping();
    manager.registerUndo([&] { order += 'b'; });
    manager.endUndoGrouping();
    EXPECT_EQ(manager.groupingLevel(), 1u);
    EXPECT_FALSE(manager.canUndo()) << "the step is not there before its group ends";
    manager.registerUndo([&] { order += 'c'; });
    manager.setActionName("Three");
    manager.endUndoGrouping();
    EXPECT_EQ(manager.undoCount(), 1u);
    EXPECT_EQ(manager.undoActionName(), "Three");
    manager.undo();
    EXPECT_EQ(order, "cba");
}

TEST(UndoManager, AGroupOfStepsGoesBackAndForth)
{
    Number number;
    number.manager.beginUndoGrouping();
    for (const int value : {1, 2, 3}) number.set(value);
    number.manager.endUndoGrouping();
    number.manager.undo();
    EXPECT_EQ(number.value, 0);
    number.manager.redo();
    EXPECT_EQ(number.value, 3);
    number.manager.undo();
    EXPECT_EQ(number.value, 0);
}

TEST(UndoManager, AnEmptyGroupLeavesNoStepAndKeepsTheRedoStack)
{
    Number number;
    number.set(1);
    number.manager.undo();
    number.manager.beginUndoGrouping();
    number.manager.setActionName("Nothing");
    number.manager.endUndoGrouping();
    EXPECT_FALSE(number.manager.canUndo());
    EXPECT_TRUE(number.manager.canRedo());
}

TEST(UndoManager, InsideAGroupNothingIsUndone)
{
    Number number;
    number.set(1);
    number.manager.beginUndoGrouping();
    number.manager.undo();
    EXPECT_EQ(number.value, 1);
    number.manager.endUndoGrouping();
    number.manager.undo();
    EXPECT_EQ(number.value, 0);
}

TEST(UndoManager, AHandlerThatRegistersNothingLeavesNothingToRedo)
{
    UndoManager manager;
    int runs = 0;
    manager.registerUndo([&] { ++runs; });
    manager.undo();
    manager.undo();
    manager.redo();
    EXPECT_EQ(runs, 1);
}

TEST(UndoManager, AHandlerThatUndoesChangesNothingMore)
{
    Number number;
    number.set(1);
    number.manager.registerUndo([&] {
        EXPECT_TRUE(number.manager.isUndoing());
        number.manager.undo();
        number.manager.redo();
    });
    number.manager.undo();
    EXPECT_FALSE(number.manager.isUndoing());
    EXPECT_EQ(number.value, 1);
}

TEST(UndoManager, AFailingHandlerLeavesTheManagerInOrder)
{
    Number number;
    number.set(1);
    number.manager.registerUndo([] { throw std::runtime_error("no"); });
    EXPECT_THROW(number.manager.undo(), std::runtime_error);
    EXPECT_FALSE(number.manager.isUndoing());
    number.manager.undo();
    EXPECT_EQ(number.value, 0);
}

TEST(UndoManager, RemovingAllActionsReleasesWhatHandlersHold)
{
    UndoManager manager;
    const auto held = std::make_shared<int>();
    manager.registerUndo([held] {});
    manager.registerUndo([held, &manager] { manager.registerUndo([held] {}); });
    manager.undo();
    ASSERT_GT(held.use_count(), 2);
    manager.removeAllActions();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(manager.canUndo() || manager.canRedo());
}

TEST(UndoManager, AnyWalkThroughTheStepsShowsTheValueOfItsPlace)
{
    EXPECT_TRUE(rc::check([](const std::vector<int>& values, const std::vector<bool>& walk) {
        Number number;
        std::vector<int> states{0};
        for (const int value : values) {
            number.set(value);
            states.push_back(value);
        }
        std::size_t place = states.size() - 1;
        for (const bool back : walk) {
            if (back && place > 0) --place;
            if (!back && place + 1 < states.size()) ++place;
            back ? number.manager.undo() : number.manager.redo();
            RC_ASSERT(number.value == states[place]);
            RC_ASSERT(number.manager.undoCount() == place);
            RC_ASSERT(number.manager.redoCount() == states.size() - 1 - place);
        }
    }));
}

} // namespace
} // namespace larkspool
