#include "editing/named_undo_group.h"

#include "editing/editing_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(NamedUndoGroup, GathersItsEditsIntoOneStepOfItsName)
{
    UndoManager manager;
    std::string undone;
    NamedUndoGroup group(manager);
    group.begin("All of it");
    for (const char letter : {'a', 'b'}) {
        manager.registerUndo([&undone, letter] { undone += letter; });
        manager.setActionName("Part");
    }
    group.end();
    EXPECT_EQ(manager.undoCount(), 1u);
    EXPECT_EQ(manager.undoActionName(), "All of it");
    manager.undo();
    EXPECT_EQ(undone, "ba");
}

TEST(NamedUndoGroup, KeepsItsNameOnTheWayBackAndForth)
{
    Desk desk;
    NamedUndoGroup group(desk.manager);
    group.begin("All of it");
    desk.rename("one", "Part");
    desk.commit.mutateDocument("Part", [](TweenDocument& document) { document.scenes.edit()[0].name = SharedString("two"); });
    group.end();
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(desk.manager.undoActionName(), "All of it");
        desk.manager.undo();
        EXPECT_EQ(desk.name(), "before");
        EXPECT_EQ(desk.manager.redoActionName(), "All of it");
        desk.manager.redo();
        EXPECT_EQ(desk.name(), "two");
    }
}

TEST(NamedUndoGroup, WithoutEditsLeavesNoStepAndTheOneBeforeItsName)
{
    UndoManager manager;
    manager.registerUndo([] {});
    manager.setActionName("Before");
    NamedUndoGroup group(manager);
    group.begin("Nothing");
    group.end();
    EXPECT_EQ(manager.undoCount(), 1u);
    EXPECT_EQ(manager.undoActionName(), "Before");
}

} // namespace
} // namespace larkspool
