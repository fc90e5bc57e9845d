#include "editing/named_undo_group.h"

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
