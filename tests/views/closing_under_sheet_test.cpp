#include "editing/scene_lookup.h"
#include "editing/timeline_item.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "timeline/ripple_settings.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/form_controls.h"
#include "views/window_test.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace larkspool {
namespace {

constexpr int patience = 10'000;
constexpr UUID card{0, 1}, cardSpan{0, 11};

/// 10 seconds with one layer, whose span goes from 1 to 2.
TweenDocument smallDocument()
{
    Layer layer{.id = card, .name = "Card"};
    layer.spans = {TimeSpan{.id = cardSpan, .start = 1, .end = 2}};
    TweenScene scene{.id = {0, 100}, .fps = 50, .duration = 10};
    scene.layers = {layer};
    TweenDocument document;
    document.scenes = {scene};
    return document;
}

/// The window of a document that has a file. Its span is selected.
class ClosingUnderSheetTest : public testing::Test {
protected:
    ClosingUnderSheetTest()
    {
        DocumentFile(TweenDocument()).save(smallDocument(), board());
        show(DocumentFile::open(board()));
    }
    ~ClosingUnderSheetTest() override { delete window; }

    void show(DocumentFile file)
    {
        delete window;
        window = new EditorWindow(std::move(file), workspace);
        window->resize(1400, 900);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
        window->editor().selectTimelineItems({TimelineItemRef::span(card, cardSpan)});
        window->refresh();
    }

    std::string board() const { return folder.path("board.larkspool"); }
    TweenScene saved() const { return DocumentFile::open(board()).saved().scene(); }
    static double start(const TweenScene& scene) { return findLayer(scene, card)->spans[0].start; }

    void edit()
    {
        window->editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 2; });
        window->refresh();
    }
    void press(Qt::Key key) { QTest::keyClick(window->focusWidget(), key); }
    void type(const char* text)
    {
        for (const char* key = text; *key; ++key) QTest::keyClick(window->focusWidget(), *key);
    }
    QLineEdit* delta() const { return findControl<QLineEdit>(*window, "Delta"); }
    /// Opens the sheet that moves the selection, switches the ripple on, and types how far.
    void openMove(const char* seconds)
    {
        window->perform(Command::showMoveModal);
        ASSERT_TRUE(delta());
        findControl<ChoiceField>(*window, "Ripple")->setFocus();
        press(Qt::Key_End);
        delta()->setFocus();
        delta()->selectAll();
        type(seconds);
        ASSERT_EQ(delta()->text(), seconds);
        ASSERT_EQ(ripple(), TimelineRippleMode::both);
    }
    TimelineRippleMode ripple() const { return editorRippleMode(defaults); }

    /// Does something with the next dialog that comes.
    void whenAsked(std::function<void(QWidget& dialog)> step)
    {
        auto* timer = new QTimer(window);
        QObject::connect(timer, &QTimer::timeout, timer, [this, timer, step = std::move(step)] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog) return;
            timer->stop();
            timer->deleteLater();
            ++asked;
            step(*dialog);
        });
        timer->start(1);
    }
    /// Presses a button of the next question.
    void answer(QMessageBox::StandardButton button)
    {
        whenAsked([button](QWidget& dialog) { dynamic_cast<QMessageBox&>(dialog).button(button)->click(); });
    }
    [[nodiscard]] bool waitForEnd()
    {
        return QTest::qWaitFor([this] { return window.isNull(); }, patience);
    }

    const TemporaryFolder folder;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    QPointer<EditorWindow> window;
    int asked = 0;
};

TEST_F(ClosingUnderSheetTest, CancelLeavesTheSheetAsItWas)
{
    edit();
    openMove("3");
    answer(QMessageBox::Cancel);
    EXPECT_FALSE(window->close());
    EXPECT_EQ(asked, 1);
    ASSERT_TRUE(delta());
    EXPECT_EQ(delta()->text(), "3");
    EXPECT_EQ(window->focusWidget(), delta());
    EXPECT_EQ(ripple(), TimelineRippleMode::both);
    press(Qt::Key_Return);
    EXPECT_EQ(start(window->editor().scene()), 4) << "it is still what Return confirms";
}

TEST_F(ClosingUnderSheetTest, NotSavingCancelsTheSheet)
{
    edit();
    openMove("3");
    answer(QMessageBox::Discard);
    EXPECT_TRUE(window->close());
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(ripple(), TimelineRippleMode::none);
    EXPECT_EQ(saved().endPause, TweenScene().endPause);
}

TEST_F(ClosingUnderSheetTest, SavingCancelsTheSheetBeforeItBegins)
{
    edit();
    openMove("3");
    bool wasSaving = true;
    const Observation observation = defaults.observe([&](std::string_view) { wasSaving = window->isSaving(); });
    answer(QMessageBox::Save);
    EXPECT_FALSE(window->close()) << "it waits for the save";
    EXPECT_FALSE(delta());
    EXPECT_EQ(ripple(), TimelineRippleMode::none);
    EXPECT_FALSE(wasSaving) << "when the ripple was put back";
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(saved().endPause, 2);
    EXPECT_EQ(start(saved()), 1);
}

TEST_F(ClosingUnderSheetTest, ADocumentWithoutChangesIsNotAskedAbout)
{
    openMove("3");
    EXPECT_TRUE(window->close());
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(ripple(), TimelineRippleMode::none);
}

TEST_F(ClosingUnderSheetTest, ASaveThatIsLeftWithoutANameLeavesTheSheetToo)
{
    show(DocumentFile(smallDocument()));
    edit();
    openMove("3");
    whenAsked([this](QWidget& question) {
        dynamic_cast<QMessageBox&>(question).button(QMessageBox::Save)->click();
        whenAsked([](QWidget& dialog) { dynamic_cast<QFileDialog&>(dialog).reject(); });
    });
    EXPECT_FALSE(window->close());
    EXPECT_EQ(asked, 2);
    ASSERT_TRUE(delta());
    EXPECT_EQ(delta()->text(), "3");
    EXPECT_EQ(ripple(), TimelineRippleMode::both);
    EXPECT_FALSE(window->isSaving());
}

TEST_F(ClosingUnderSheetTest, ASheetStaysWhileTheWindowWaitsForASave)
{
    edit();
    EXPECT_TRUE(window->save());
    openMove("3");
    EXPECT_FALSE(window->close());
    ASSERT_TRUE(delta());
    EXPECT_EQ(delta()->text(), "3");
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(ripple(), TimelineRippleMode::none);
    EXPECT_EQ(start(saved()), 1);
}

TEST_F(ClosingUnderSheetTest, WhatIsTypedInTheTableOfTimesIsAskedAboutAndSaved)
{
    window->perform(Command::showRetime);
    type("3");
    ASSERT_FALSE(window->isWindowModified()) << "not while it is half typed";
    answer(QMessageBox::Cancel);
    EXPECT_FALSE(window->close());
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(findControl<QWidget>(*window, "Times"));
    EXPECT_EQ(start(window->editor().scene()), 3);

    type("4");
    answer(QMessageBox::Save);
    EXPECT_FALSE(window->close());
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(start(saved()), 4) << "the table is no preview";
}

} // namespace
} // namespace larkspool
