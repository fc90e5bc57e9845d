#include "assistant/assistant_endpoint.h"
#include "support/loopback_server.h"
#include "support/memory_user_defaults.h"
#include "views/assistant_panel_view.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/window_test.h"

#include <QTextBrowser>

#include <gtest/gtest.h>

#include <string>

namespace larkspool {
namespace {

/// A window whose assistant talks to a server on this machine.
class AssistantWindowTest : public testing::Test {
protected:
    AssistantWindowTest()
    {
        qputenv(assistantHostVariable, "http://127.0.0.1:" + QByteArray::number(server.port()));
        defaults.set(DefaultsKey::assistantEnabled, true);
        defaults.set(DefaultsKey::assistantAPIKey, std::string("key-0123456789"));
        workspace.performForApplication = [this](Command command) { performed.push_back(command); };
        window = new EditorWindow(DocumentFile(TweenDocument()), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1400, 900);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt);
    }
    ~AssistantWindowTest() override
    {
        delete window;
        qunsetenv(assistantHostVariable);
    }

    QPlainTextEdit* composer() { return findControl<QPlainTextEdit>(*window, "Message"); }

    LoopbackServer server;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    std::vector<Command> performed;
    EditorWindow* window = nullptr;
};

TEST_F(AssistantWindowTest, TheCommandShowsTheAssistantReadyToBeWrittenToAndHidesItAgain)
{
    EXPECT_EQ(composer(), nullptr);
    window->perform(Command::toggleAssistant);
    ASSERT_TRUE(composer());
    EXPECT_EQ(focusName(*window), "Message");
    window->perform(Command::toggleAssistant);
    EXPECT_EQ(composer(), nullptr);

    defaults.set(DefaultsKey::showInspector, false);
    window->refresh();
    window->perform(Command::toggleAssistant);
    EXPECT_TRUE(composer()) << "the panel around it comes back with it";
    EXPECT_TRUE(performed.empty());
}

TEST_F(AssistantWindowTest, SwitchingItOffHidesItAndTheCommandLeadsToTheSettings)
{
    window->perform(Command::toggleAssistant);
    defaults.set(DefaultsKey::assistantEnabled, false);
    window->refresh();
    EXPECT_EQ(composer(), nullptr);
    EXPECT_EQ(defaults.string(DefaultsKey::assistantAPIKey), "key-0123456789");
    window->perform(Command::toggleAssistant);
    EXPECT_EQ(composer(), nullptr);
    EXPECT_EQ(performed, std::vector{Command::showSettings});
}

TEST_F(AssistantWindowTest, WhatTheModelDoesIsShownAndUndoneByTheMenu)
{
    const TweenScene before = window->editor().scene();
    server.play(httpReply(200, R"({"content":[{"type":"tool_use","id":"t","name":"apply_patch","input":{"operations":[)"
                               R"({"op":"add_layer","layer":{"kind":"ellipse","name":"Dot"}}]}}],"stop_reason":"tool_use"})"));
    server.play(httpReply(200, R"({"content":[{"type":"text","text":"There it is."}],"stop_reason":"end_turn"})"));
    window->perform(Command::toggleAssistant);
    QTest::keyClicks(composer(), "Add a dot");
    QTest::keyClick(composer(), Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([this] { return findControl<QTextBrowser>(*window, "There it is."); }, 20'000));
    ASSERT_EQ(window->editor().scene().layers.size(), 1u);
    EXPECT_EQ(window->editor().scene().layers[0].name, "Dot");
    EXPECT_EQ(window->editor().undoManager().undoMenuItemTitle(), "Undo Assistant: Add a dot");
    window->perform(Command::undo);
    EXPECT_EQ(window->editor().scene(), before);
}

TEST_F(AssistantWindowTest, NothingIsUndoneWhileARequestIsWorkedOn)
{
    const auto undoItem = [this]() -> QAction* {
        for (QAction* action : window->findChildren<QAction*>())
            if (action->text().startsWith("Undo")) return action;
        return nullptr;
    };
    window->editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 2; });
    window->refresh();
    EXPECT_TRUE(undoItem()->isEnabled());
    server.play({.end = LoopbackServer::Script::End::hold});
    window->perform(Command::toggleAssistant);
    QTest::keyClicks(composer(), "Wait");
    QTest::keyClick(composer(), Qt::Key_Return);
    EXPECT_FALSE(undoItem()->isEnabled());
    EXPECT_EQ(undoItem()->toolTip(), "The assistant is at work. What it does can be undone when it has finished.");
    window->perform(Command::undo);
    EXPECT_EQ(window->editor().scene().endPause, 2);
    ASSERT_TRUE(server.waitForRequests(1));

    window->editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 4; });
    EXPECT_EQ(window->editor().scene().endPause, 4) << "a person goes on meanwhile";
}

TEST_F(AssistantWindowTest, ATurnThatEndsCanBeUndoneAgain)
{
    const auto undoItem = [this]() -> QAction* {
        for (QAction* action : window->findChildren<QAction*>())
            if (action->text().startsWith("Undo")) return action;
        return nullptr;
    };
    window->editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 2; });
    server.play(httpReply(200, R"({"content":[{"type":"text","text":"Nothing to do."}],"stop_reason":"end_turn"})"));
    window->perform(Command::toggleAssistant);
    QTest::keyClicks(composer(), "Look");
    QTest::keyClick(composer(), Qt::Key_Return);
    EXPECT_FALSE(undoItem()->isEnabled());
    ASSERT_TRUE(QTest::qWaitFor([&] { return undoItem()->isEnabled(); }, 20'000));
    EXPECT_EQ(undoItem()->text(), "Undo Edit") << "a turn without edits leaves no step";
    undoItem()->trigger();
    EXPECT_NE(window->editor().scene().endPause, 2);
}

TEST_F(AssistantWindowTest, ClosesWhileARequestIsWorkedOn)
{
    server.play({.end = LoopbackServer::Script::End::hold});
    window->perform(Command::toggleAssistant);
    QTest::keyClicks(composer(), "Wait");
    QTest::keyClick(composer(), Qt::Key_Return);
    ASSERT_TRUE(server.waitForRequests(1));
    delete window;
    window = nullptr;
    QApplication::processEvents();
}

} // namespace
} // namespace larkspool
