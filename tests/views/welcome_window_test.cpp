#include "views/welcome_window.h"

#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/background_tasks.h"
#include "views/find_control.h"
#include "views/window_test.h"

#include <QLineEdit>
#include <QPointer>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

class WelcomeWindowTest : public testing::Test {
protected:
    ~WelcomeWindowTest() override { delete window; }

    void open()
    {
        window = new WelcomeWindow({.defaults = defaults,
                                    .recents = recents,
                                    .tasks = background.tasks(),
                                    .openUntitledDocument = [this] { made = newDocument(defaults).scenes.front().size(); },
                                    .openDocument =
                                        [this](const std::string& path, std::function<void(bool)> ended) {
                                            opened = path;
                                            opening = std::move(ended);
                                        },
                                    .askForDocument = [this] { return asked; }});
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        window->activateWindow();
    }
    void press(Qt::Key key) { QTest::keyClick(window->focusWidget(), key); }
    bool isClosed() { return !window || !window->isVisible(); }

    MemoryUserDefaults defaults;
    RecentDocuments recents{""};
    BackgroundTasks background;
    QPointer<WelcomeWindow> window;
    std::optional<CGSize> made;
    std::string opened;
    std::function<void(bool isOpen)> opening; ///< The end of what is being opened.
    QString asked;
};

TEST_F(WelcomeWindowTest, EveryPresetMakesADocumentOfItsSizeAndLeavesNoSizeWaiting)
{
    for (const CanvasPreset& preset : canvasPresets) {
        SCOPED_TRACE(std::string(preset.label));
        open();
        const QString name = QString::fromUtf8(preset.label.data(), static_cast<qsizetype>(preset.label.size()));
        auto* card = findControl<QAbstractButton>(*window, name);
        ASSERT_TRUE(card) << "the whole label is its name";
        card->click();
        EXPECT_EQ(made, preset.size());
        EXPECT_TRUE(isClosed());
        EXPECT_EQ(newDocument(defaults).scenes.front().size(), (CGSize{1920, 1080}));
        delete window;
    }
}

TEST_F(WelcomeWindowTest, TellsWhatTheProgramIsInAWindowOfOneSizeWithoutATitleBar)
{
    open();
    for (const char* words :
         {"Larkspool", "An animation tool for product UI motion.", "Multi-scene timelines",
          "Stack scenes with transitions. Each scene gets its own layers, spans, and pulses.", "Animate anything",
          "Per-property keyframes on every layer kind, with easing, hold-on-wait, and ripple editing.", "Start a new document",
          "Recent", "Show on launch"})
        EXPECT_TRUE(showsWords(*window, words)) << words;
    EXPECT_TRUE(window->windowFlags() & Qt::FramelessWindowHint);
    EXPECT_EQ(window->minimumSize(), window->maximumSize());
}

TEST_F(WelcomeWindowTest, ArrowsGoAmongThePresetsAndReturnOpensOne)
{
    open();
    EXPECT_EQ(focusName(*window), "HD 1080 — 1920×1080");
    press(Qt::Key_Left);
    EXPECT_EQ(focusName(*window), "HD 1080 — 1920×1080");
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    EXPECT_EQ(focusName(*window), "Story 9:16 — 1080×1920");
    press(Qt::Key_Return);
    EXPECT_EQ(made, (CGSize{1080, 1920}));
}

TEST_F(WelcomeWindowTest, ACustomSizeIsTakenOnlyIfThereCanBeAPictureOfIt)
{
    open();
    findControl<QAbstractButton>(*window, "Custom Size…")->click();
    EXPECT_TRUE(showsWords(*window, "Custom Canvas Size"));
    auto* width = findControl<QLineEdit>(*window, "Width");
    ASSERT_EQ(window->focusWidget(), width);
    width->selectAll();
    QTest::keyClicks(width, "0");
    EXPECT_FALSE(findControl<QAbstractButton>(*window, "Create")->isEnabled());
    EXPECT_TRUE(findControl<QAbstractButton>(*window, "Create")->toolTip().startsWith("There can be no canvas of this size."));
    press(Qt::Key_Return);
    EXPECT_FALSE(made);
    press(Qt::Key_Down);
    EXPECT_EQ(width->text(), "1") << "a step goes to the least there can be";
    width->selectAll();
    QTest::keyClicks(width, "800");
    press(Qt::Key_Tab);
    QTest::keyClick(window->focusWidget(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(window->focusWidget(), "600");
    press(Qt::Key_Return);
    EXPECT_EQ(made, (CGSize{800, 600}));
    EXPECT_TRUE(isClosed());
}

TEST_F(WelcomeWindowTest, EscapeLeavesTheCustomSizeAndThenTheWindow)
{
    open();
    auto* custom = findControl<QAbstractButton>(*window, "Custom Size…");
    custom->setFocus();
    press(Qt::Key_Return);
    press(Qt::Key_Escape);
    EXPECT_FALSE(showsWords(*window, "Custom Canvas Size"));
    EXPECT_EQ(window->focusWidget(), custom);
    press(Qt::Key_Escape);
    EXPECT_TRUE(isClosed());
    EXPECT_FALSE(made);
}

TEST_F(WelcomeWindowTest, ADocumentOfLateOpensAndTheWindowStaysIfItCannot)
{
    recents.note("/nowhere/board.larkspool");
    open();
    auto* row = findControl<QAbstractButton>(*window, "board, Not found");
    ASSERT_TRUE(row);
    row->click();
    EXPECT_EQ(opened, "/nowhere/board.larkspool");
    EXPECT_TRUE(showsWords(*window, "Opening “board”…"));
    EXPECT_FALSE(isClosed()) << "as long as it takes";
    opening(/*isOpen=*/false);
    EXPECT_FALSE(showsWords(*window, "Opening"));
    EXPECT_FALSE(isClosed());
    row->click();
    opening(/*isOpen=*/true);
    EXPECT_TRUE(isClosed());
}

TEST_F(WelcomeWindowTest, AWindowThatIsClosedWhileADocumentOpensHearsNoMoreOfIt)
{
    recents.note("/nowhere/board.larkspool");
    open();
    findControl<QAbstractButton>(*window, "board, Not found")->click();
    window->close();
    delete window;
    opening(/*isOpen=*/true);
    EXPECT_TRUE(window.isNull());
}

TEST_F(WelcomeWindowTest, AFileThatIsChosenOpensLikeOneOfLate)
{
    open();
    auto* button = findControl<QAbstractButton>(*window, "Open…");
    button->click();
    EXPECT_TRUE(opened.empty());
    EXPECT_FALSE(isClosed());
    asked = "/somewhere/film.larkspool";
    button->click();
    EXPECT_EQ(opened, "/somewhere/film.larkspool");
    opening(/*isOpen=*/true);
    EXPECT_TRUE(isClosed());
}

TEST_F(WelcomeWindowTest, TheSwitchTellsTheNextLaunch)
{
    open();
    auto* toggle = findControl<QAbstractButton>(*window, "Show on launch");
    EXPECT_TRUE(toggle->isChecked());
    toggle->click();
    EXPECT_EQ(launchWindow(defaults), LaunchWindow::untitledDocument);
    toggle->click();
    EXPECT_EQ(launchWindow(defaults), LaunchWindow::welcome);
}

TEST_F(WelcomeWindowTest, AWindowThatGoesWhilePicturesAreMadeHearsNoMoreOfThem)
{
    for (int i = 0; i < 10; ++i) recents.note("/nowhere/" + std::to_string(i) + ".larkspool");
    open();
    delete window;
    EXPECT_TRUE(QTest::qWaitFor([this] { return background.running() == 0; }, 10000));
    QTest::qWait(10);
}

} // namespace
} // namespace larkspool
