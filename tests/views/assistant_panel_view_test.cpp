#include "views/assistant_panel_view.h"

#include "assistant/assistant_endpoint.h"
#include "assistant/assistant_prompts.h"
#include "support/loopback_server.h"
#include "views/find_control.h"
#include "views/main_thread.h"
#include "views/transcript_rows.h"
#include "views/window_test.h"

#include <QClipboard>
#include <QFile>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextBrowser>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

TweenScene sceneWithABox()
{
    TweenScene scene{.id = idOf(100), .duration = 10};
    scene.layers = {Layer{.id = idOf(1), .name = "Box", .videoClip = {.id = idOf(2)}}};
    return scene;
}

/// A panel over an editor whose model is a server on this machine.
class AssistantPanelViewTest : public testing::Test {
protected:
    AssistantPanelViewTest()
    {
        desk.defaults.set(DefaultsKey::assistantEnabled, true);
        desk.defaults.set(DefaultsKey::assistantAPIKey, std::string("key-0123456789"));
        open();
    }

    void open()
    {
        panel = std::make_unique<AssistantPanelView>(
            AssistantPanelView::Services{
                .assistant = assistant, .defaults = desk.defaults, .openPreferences = [this] { ++preferencesOpened; }},
            nullptr);
        panel->resize(288, 600);
        panel->show();
        (void)QTest::qWaitForWindowExposed(panel.get());
        panel->activateWindow();
    }

    void reply(const std::string& content, const std::string& stopReason)
    {
        server.play(httpReply(200, R"({"content":)" + content + R"(,"stop_reason":")" + stopReason + R"("})"));
    }
    void replyPatch(const std::string& words, const std::string& name, const UUID& layerID)
    {
        reply(R"([{"type":"text","text":")" + words +
                  R"("},{"type":"tool_use","id":"t","name":"apply_patch","input":{"operations":[)" +
                  R"({"op":"set_property","layer_id":")" + layerID.string() + R"(","property":"name","value":")" + name +
                  R"("}]}}])",
              "tool_use");
    }
    void replyText(const std::string& words) { reply(R"([{"type":"text","text":")" + words + R"("}])", "end_turn"); }

    Composer& composer() { return dynamic_cast<Composer&>(*findControl<QPlainTextEdit>(*panel, "Message")); }
    template <typename Row>
    std::size_t rows() const
    {
        const QList<QWidget*> all = panel->findChildren<QWidget*>();
        return static_cast<std::size_t>(
            std::ranges::count_if(all, [](QWidget* each) { return dynamic_cast<Row*>(each) && each->isVisible(); }));
    }
    void write(const QString& words)
    {
        composer().setFocus();
        QTest::keyClicks(&composer(), words);
    }
    void send(const QString& words)
    {
        write(words);
        QTest::keyClick(&composer(), Qt::Key_Return);
    }
    QWidget& transcript() { return *panel->findChild<QScrollArea*>()->widget(); }
    int lowestRow()
    {
        int bottom = 0;
        for (const QWidget* row : transcript().findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (row->isVisible()) bottom = std::max(bottom, row->geometry().bottom());
        return bottom;
    }
    int roomBelowRows() { return transcript().height() - lowestRow(); }
    bool waitForTheEnd()
    {
        return QTest::qWaitFor([this] { return !assistant.session().inFlight; }, 20'000);
    }
    QToolButton* sendButton() { return findControl<QToolButton>(*panel, "Send"); }
    std::string layerName() { return desk.editor->scene().layers[0].name.string(); }

    LoopbackServer server;
    EditorForViews desk{sceneWithABox()};
    EventLoop eventLoop;
    AssistantClient client{eventLoop, assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port()))};
    EditorAssistant assistant{{.editor = *desk.editor, .client = client}};
    std::unique_ptr<AssistantPanelView> panel;
    int preferencesOpened = 0;
};

TEST_F(AssistantPanelViewTest, AConversationOfTwoPatchesOfWhichOneFailsIsShownAndUndoneAtOnce)
{
    const TweenScene before = desk.editor->scene();
    replyPatch("I will **name** it.", "One", idOf(1));
    replyPatch("And another.", "None", idOf(7));
    replyPatch("Once more.", "Two", idOf(1));
    replyText("## Done\\n- it is `Two`");
    send("Name the box");
    EXPECT_TRUE(showsWords(*panel, "Thinking…"));
    EXPECT_FALSE(composer().isEnabled());
    ASSERT_TRUE(waitForTheEnd());

    EXPECT_FALSE(showsWords(*panel, "Thinking…"));
    EXPECT_TRUE(composer().isEnabled());
    EXPECT_EQ(rows<BubbleRow>(), 1u);
    for (const char* words :
         {"Applying changes", "edit layer", "Applied 1 change(s)", "Something went wrong: apply failed: Layer "})
        EXPECT_TRUE(showsWords(*panel, words)) << words;
    EXPECT_EQ(rows<CardRow>(), 6u);
    EXPECT_EQ(panel->findChild<QScrollArea*>()->widget()->width(), panel->findChild<QScrollArea*>()->viewport()->width())
        << "however long an identifier is, nothing is wider than the panel";
    EXPECT_EQ(layerName(), "Two");
    panel->resize(288, 300);
    EXPECT_TRUE(QTest::qWaitFor([&] { return roomBelowRows() < 60; }, 1000)) << roomBelowRows();

    EXPECT_EQ(desk.editor->undoManager().undoMenuItemTitle(), "Undo Assistant: Name the box");
    desk.editor->undo();
    EXPECT_EQ(desk.editor->scene(), before);
    EXPECT_FALSE(desk.editor->undoManager().canUndo());
}

TEST_F(AssistantPanelViewTest, AStarterIsPutIntoTheComposerForThePersonToSend)
{
    EXPECT_TRUE(showsWords(*panel, "Try asking…"));
    for (const std::string_view starter : starterPrompts) {
        auto* button =
            findControl<QAbstractButton>(*panel, QString::fromUtf8(starter.data(), static_cast<qsizetype>(starter.size())));
        ASSERT_TRUE(button) << starter;
        QTest::mouseClick(button, Qt::LeftButton);
        EXPECT_EQ(composer().toPlainText().toStdString(), starter);
        EXPECT_EQ(panel->focusWidget(), &composer());
    }
    EXPECT_TRUE(assistant.session().history.empty());
    replyText("A box.");
    QTest::mouseClick(sendButton(), Qt::LeftButton);
    EXPECT_EQ(composer().toPlainText(), "");
    EXPECT_FALSE(showsWords(*panel, "Try asking…"));
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_EQ(assistant.session().history.size(), 2u);
}

TEST_F(AssistantPanelViewTest, OnlySomethingIsSent)
{
    EXPECT_FALSE(sendButton()->isEnabled());
    EXPECT_TRUE(sendButton()->toolTip().contains("Write something first."));
    send("   ");
    EXPECT_TRUE(assistant.session().history.empty());
    EXPECT_FALSE(sendButton()->isEnabled());
    write("x");
    EXPECT_TRUE(sendButton()->isEnabled());
}

TEST_F(AssistantPanelViewTest, ShiftReturnBeginsALineAndTheComposerGrowsToFive)
{
    const int one = composer().height();
    int before = one;
    for (int lines = 2; lines <= 5; ++lines) {
        QTest::keyClick(&composer(), Qt::Key_Return, Qt::ShiftModifier);
        EXPECT_GT(composer().height(), before) << lines;
        before = composer().height();
    }
    QTest::keyClick(&composer(), Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(composer().height(), before);
    EXPECT_TRUE(assistant.session().history.empty());
    composer().clear();
    EXPECT_EQ(composer().height(), one);
}

TEST_F(AssistantPanelViewTest, WithoutAKeyOrSwitchedOffItTellsHowToSetItUp)
{
    for (const bool isKeyMissing : {true, false}) {
        desk.defaults.set(DefaultsKey::assistantEnabled, isKeyMissing);
        desk.defaults.set(DefaultsKey::assistantAPIKey, std::string(isKeyMissing ? "" : "key-0123456789"));
        panel->refresh();
        EXPECT_TRUE(showsWords(*panel, "Set up the assistant"));
        EXPECT_TRUE(showsWords(*panel, "Open Preferences → Assistant, enable it, and paste your Anthropic API key."));
        EXPECT_FALSE(showsWords(*panel, "Try asking…"));
        EXPECT_FALSE(composer().isEnabled());
        EXPECT_FALSE(sendButton()->isEnabled());
    }
    QTest::mouseClick(findControl<QPushButton>(*panel, "Open Preferences"), Qt::LeftButton);
    EXPECT_EQ(preferencesOpened, 1);
}

TEST_F(AssistantPanelViewTest, AFailureIsToldBelowTheTranscriptUntilTheNextRequest)
{
    server.play(httpReply(401, R"({"error":{"type":"authentication_error","message":"no"}})"));
    send("Hello");
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_TRUE(showsWords(*panel, "Anthropic rejected the API key. Check Preferences → Assistant."));
    replyText("Hello.");
    send("Again");
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_FALSE(showsWords(*panel, "Anthropic rejected"));
    EXPECT_EQ(panel->focusWidget(), &composer()) << "the keyboard comes back to where it was";

    replyText("Hello.");
    send("And again");
    findControl<QToolButton>(*panel, "Copy transcript")->setFocus();
    ASSERT_TRUE(waitForTheEnd());
    EXPECT_EQ(focusName(*panel), "Copy transcript") << "but not from where the person has taken it";
}

TEST_F(AssistantPanelViewTest, CardsOpenAndCloseByMouseAndKeyboard)
{
    replyPatch("Now.", "One", idOf(1));
    replyText("Done.");
    send("Name it");
    ASSERT_TRUE(waitForTheEnd());
    auto* head = findControl<QAbstractButton>(*panel, "Applying changes, edit layer");
    ASSERT_TRUE(head);
    auto* card = qobject_cast<QWidget*>(head->parent());
    EXPECT_EQ(card->findChild<QPlainTextEdit*>(), nullptr);
    QTest::mouseClick(head, Qt::LeftButton);
    ASSERT_TRUE(card->findChild<QPlainTextEdit*>());
    EXPECT_TRUE(card->findChild<QPlainTextEdit*>()->toPlainText().contains("\"op\": \"set_property\""));
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space}) {
        head->setFocus();
        QTest::keyClick(head, key);
        EXPECT_EQ(card->findChild<QPlainTextEdit*>() != nullptr, key == Qt::Key_Space);
    }
}

TEST_F(AssistantPanelViewTest, TheTranscriptIsCopiedAndCleared)
{
    auto* copy = findControl<QToolButton>(*panel, "Copy transcript");
    auto* clear = findControl<QToolButton>(*panel, "Clear conversation");
    EXPECT_FALSE(copy->isEnabled());
    EXPECT_FALSE(clear->isEnabled());
    replyText("A *box*.");
    send("What is here?");
    ASSERT_TRUE(waitForTheEnd());
    QTest::mouseClick(copy, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "You:\nWhat is here?\n\nAssistant:\nA *box*.");
    QTest::mouseClick(clear, Qt::LeftButton);
    EXPECT_TRUE(assistant.session().history.empty());
    EXPECT_EQ(rows<BubbleRow>(), 0u);
    EXPECT_TRUE(showsWords(*panel, "Try asking…"));
}

TEST_F(AssistantPanelViewTest, ScrollsToItsEndWithEveryMessage)
{
    for (int i = 0; i < 30; ++i)
        assistant.session().history.push_back(
            {.role = AssistantMessage::Role::user, .content = {AssistantText{"Words of the person"}}});
    assistant.session().changed.tell();
    QScrollBar* bar = panel->findChild<QScrollArea*>()->verticalScrollBar();
    ASSERT_TRUE(QTest::qWaitFor([&] { return bar->maximum() > 0 && bar->value() == bar->maximum(); }));
    bar->setValue(0);
    assistant.session().history.push_back({.role = AssistantMessage::Role::assistant, .content = {AssistantText{"More"}}});
    assistant.session().changed.tell();
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->value() == bar->maximum(); }));
}

TEST_F(AssistantPanelViewTest, TheTranscriptIsNoHigherThanItsRows)
{
    AssistantSession& session = assistant.session();
    for (int i = 0; i < 10; ++i) {
        session.history.push_back({.role = AssistantMessage::Role::user,
                                   .content = {AssistantText{"Words of a person that take more than a line in a panel as narrow"},
                                               AssistantToolResult{"t", std::string(70, 'x'), true}}});
        session.history.push_back({.role = AssistantMessage::Role::assistant,
                                   .content = {AssistantText{"- An answer that takes more than a line as well, and a second one"},
                                               AssistantToolUse{"t", "apply_patch", JSON::Object{}}}});
    }
    session.changed.tell();
    ASSERT_TRUE(QTest::qWaitFor([&] { return lowestRow() > 1000; }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return roomBelowRows() < 60; }, 1000)) << roomBelowRows();
}

TEST_F(AssistantPanelViewTest, TheConversationOutlivesThePanel)
{
    replyText("A box.");
    send("What is here?");
    ASSERT_TRUE(waitForTheEnd());
    write("draft");
    panel.reset();
    open();
    EXPECT_TRUE(findControl<QTextBrowser>(*panel, "A box."));
    EXPECT_EQ(composer().toPlainText(), "draft");
}

TEST_F(AssistantPanelViewTest, EveryGlyphHasItsIcon)
{
    for (const char* glyph : {"doc.text.magnifyingglass", "wand.and.stars", "wrench.and.screwdriver", "exclamationmark.triangle",
                              "checkmark.circle", "chevron.right", "chevron.down", "sparkles", "trash", "paperplane.fill"}) {
        SCOPED_TRACE(glyph);
        EXPECT_TRUE(QFile::exists(":/icons/" + iconForGlyph(glyph) + ".svg"));
    }
}

} // namespace
} // namespace larkspool
