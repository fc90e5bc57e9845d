#include "views/media_panels.h"

#include "views/find_control.h"
#include "views/window_test.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A window with a field that has the keyboard.
class MediaPanelsTest : public testing::Test {
protected:
    MediaPanelsTest() : window(new QWidget)
    {
        window->resize(900, 600);
        behind = new QLineEdit(window);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        window->activateWindow();
        behind->setFocus();
    }
    ~MediaPanelsTest() override { delete window; }

    /// Asks, and does `work` while the alert is open.
    std::size_t ask(const Alert& alert, std::function<void()> work)
    {
        QTimer::singleShot(0, window, std::move(work));
        return alertOver(*window)(alert);
    }
    void press(Qt::Key key) { QTest::keyClick(window->focusWidget(), key); }
    void click(const char* name)
    {
        auto* button = findControl<QAbstractButton>(*window, name);
        ASSERT_NE(button, nullptr) << name;
        QTest::mouseClick(button, Qt::LeftButton);
    }

    QPointer<QWidget> window;
    QPointer<QLineEdit> behind;
    const MissingVideoEntry film{.path = "/films/<b>bold</b>.mp4", .name = "<b>bold</b>.mp4"};
};

TEST_F(MediaPanelsTest, AnAlertShowsItsWordsAsTheyAreAndGivesBackTheButton)
{
    const Alert alert = locateVideoAlert(film, 2);
    for (const auto& [button, index] : {std::pair{"Locate…", 0u}, std::pair{"Skip", 1u}, std::pair{"Skip All", 2u}}) {
        SCOPED_TRACE(button);
        const std::size_t answer = ask(alert, [&] {
            EXPECT_TRUE(showsWords(*window, "Locate the video file for “<b>bold</b>.mp4”"));
            EXPECT_TRUE(showsWords(*window, "It is no longer at /films/<b>bold</b>.mp4."));
            click(button);
        });
        EXPECT_EQ(answer, index);
        EXPECT_FALSE(showsWords(*window, "Locate"));
        EXPECT_EQ(window->focusWidget(), behind) << "the keyboard goes back to where it was";
    }
}

TEST_F(MediaPanelsTest, ReturnIsTheFirstButtonAndEscapeTheOneThatCancels)
{
    const Alert alert = locateVideoAlert(film, 2);
    EXPECT_EQ(ask(alert, [this] { press(Qt::Key_Return); }), 0u);
    EXPECT_EQ(ask(alert, [this] { press(Qt::Key_Escape); }), 1u);
    EXPECT_EQ(ask(videoLinkedNotice(), [this] { press(Qt::Key_Escape); }), 0u);
}

TEST_F(MediaPanelsTest, TabGoesRoundTheButtonsOfAnAlert)
{
    QStringList way;
    ask(locateVideoAlert(film, 2), [&] {
        for (int i = 0; i < 4; ++i) {
            way << focusName(*window);
            press(Qt::Key_Tab);
        }
        press(Qt::Key_Escape);
    });
    EXPECT_EQ(way, (QStringList{"Locate…", "Skip All", "Skip", "Locate…"}));
}

TEST_F(MediaPanelsTest, AllLinesOfAnAlertAreSeen)
{
    ask(videoLinkedNotice(), [this] {
        int lines = 0;
        for (const QLabel* one : window->findChildren<QLabel*>()) {
            if (!one->isVisible() || one->text().isEmpty()) continue;
            EXPECT_GE(one->height(), one->heightForWidth(one->width())) << one->text().toStdString();
            lines += one->height() / one->fontMetrics().lineSpacing();
        }
        EXPECT_GE(lines, 6) << "a title and some 400 characters";
        press(Qt::Key_Escape);
    });
}

TEST_F(MediaPanelsTest, AWindowThatGoesLeavesItsAlertByEscape)
{
    const std::size_t answer = ask(locateVideoAlert(film, 2), [this] { delete window; });
    EXPECT_EQ(answer, 1u);
    EXPECT_TRUE(window.isNull());
}

TEST_F(MediaPanelsTest, AnAlertWithALongPathStaysInItsCard)
{
    const MissingVideoEntry deep{.path = "/" + std::string(900, 'x') + ".mp4", .name = std::string(250, 'n') + ".mp4"};
    ask(locateVideoAlert(deep, 1), [this] {
        auto* skip = findControl<QAbstractButton>(*window, "Skip");
        ASSERT_NE(skip, nullptr);
        EXPECT_LE(skip->parentWidget()->width(), 480);
        EXPECT_TRUE(window->rect().contains(skip->mapTo(window, skip->rect().bottomRight())));
        press(Qt::Key_Escape);
    });
}

TEST_F(MediaPanelsTest, ThePanelIsTheToolkitsWithTheTypesAndTheMessage)
{
    QStringList filters;
    QString title;
    auto mode = QFileDialog::AnyFile;
    const RunOpenPanel run = openPanelOver(*window, [] { return "/tmp"; });
    const auto look = [&] {
        QTimer::singleShot(0, window, [&] {
            const auto* dialog = window->findChild<QFileDialog*>();
            ASSERT_NE(dialog, nullptr);
            filters = dialog->nameFilters();
            title = dialog->windowTitle();
            mode = dialog->fileMode();
            window->findChild<QFileDialog*>()->reject();
        });
    };
    look();
    EXPECT_THAT(run(imagesPanel()), IsEmpty());
    EXPECT_EQ(title, "Choose images to add to the scene.");
    EXPECT_EQ(mode, QFileDialog::ExistingFiles);
    EXPECT_EQ(filters,
              (QStringList{"Images (*.png *.jpg *.jpeg *.webp *.gif *.tif *.tiff *.bmp *.svg)", "All Files (*)"}));
    look();
    EXPECT_THAT(run(replaceVideoPanel()), IsEmpty());
    EXPECT_EQ(mode, QFileDialog::ExistingFile);
    EXPECT_EQ(window->findChild<QFileDialog*>(), nullptr) << "it goes when it is answered";
}

TEST(DroppedFiles, OnlyThoseOfThisComputerHavePaths)
{
    const QList<QUrl> dropped = {QUrl("file:///a/b%20c.png"), QUrl("https://example.org/d.png"), QUrl(), QUrl("file:///%C3%A9")};
    EXPECT_THAT(localPaths(dropped), ElementsAre("/a/b c.png", "/é"));
}

} // namespace
} // namespace larkspool
