#include "editing/undo_coordinator.h"

#include "editing/editing_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

/// A scene behind a coordinator.
struct Held {
    TweenScene scene = sceneNamed("a");
    UndoManager manager{};
    UndoCoordinator coordinator{[this] { return scene; }, [this](TweenScene written) { scene = std::move(written); }};

    void change(std::string_view name, std::string_view action)
    {
        const TweenScene before = scene;
        scene.name = SharedString(name);
        coordinator.registerUndo(&manager, before, action);
    }
};

TEST(UndoCoordinator, UndoRedoAndUndoAgainRestoreTheSameStatesUnderTheSameName)
{
    Held held;
    const TweenScene before = held.scene;
    held.change("b", "Move Span");
    const TweenScene after = held.scene;
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        EXPECT_EQ(held.manager.undoMenuItemTitle(), "Undo Move Span");
        held.manager.undo();
        EXPECT_EQ(held.scene, before);
        EXPECT_EQ(held.manager.redoMenuItemTitle(), "Redo Move Span");
        held.manager.redo();
        EXPECT_EQ(held.scene, after);
    }
}

TEST(UndoCoordinator, WhiteSpaceAroundANameDoesNotCountAndNoNameIsEdit)
{
    struct Case {
        const char* given;
        const char* shown;
    };
    for (const Case& c : {Case{"", "Edit"}, Case{"   ", "Edit"}, Case{" \t\r\n", "Edit"}, Case{"\nMove Span ", "Move Span"},
                          Case{"Paste", "Paste"}}) {
        SCOPED_TRACE(c.given);
        Held held;
        held.change("b", c.given);
        EXPECT_EQ(held.manager.undoActionName(), c.shown);
    }
}

TEST(UndoCoordinator, WithoutAManagerNothingIsRecorded)
{
    Held held;
    held.coordinator.registerUndo(nullptr, held.scene, "Move Span");
    EXPECT_FALSE(held.manager.canUndo());
}

TEST(UndoCoordinator, AStepLandsOnTheSceneThatIsActiveWhenItRuns)
{
    TweenScene first = sceneNamed("first"), second = sceneNamed("second");
    TweenScene* active = &first;
    UndoManager manager;
    const UndoCoordinator coordinator([&] { return *active; }, [&](TweenScene scene) { *active = std::move(scene); });

    const TweenScene before = first;
    first.name = SharedString("changed");
    coordinator.registerUndo(&manager, before, "Rename");
    active = &second;
    manager.undo();
    EXPECT_EQ(first.name, SharedString("changed"));
    EXPECT_EQ(second.name, SharedString("first"));
    manager.redo();
    EXPECT_EQ(second.name, SharedString("second"));
}

TEST(UndoCoordinator, AStepSharesTheImagesOfTheScene)
{
    Held held;
    Layer picture{.id = idOf(2), .kind = Layer::Kind::image};
    picture.imageData = Bytes(std::vector<std::uint8_t>(1000, 7));
    held.scene.layers = {picture};
    held.change("b", "Rename");
    held.manager.undo();
    EXPECT_TRUE(held.scene.layers[0].imageData->sharesStorageWith(*picture.imageData));
}

} // namespace
} // namespace larkspool
