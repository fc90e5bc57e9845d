#pragma once

#include "views/find_control.h"
#include "views/window_test.h"

#include <QLineEdit>

#include <gtest/gtest.h>

#include <utility>

namespace larkspool {

/// A window with a field that has the keyboard until a sheet comes over it.
class SheetWindowTest : public testing::Test {
protected:
    explicit SheetWindowTest(QSize size = {1000, 760})
    {
        window.resize(size);
        behind = new QLineEdit(&window);
        window.show();
        (void)QTest::qWaitForWindowExposed(&window);
        window.activateWindow();
        behind->setFocus();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(window.focusWidget(), key, modifiers); }
    /// What has the keyboard as Tab goes on, that many times; with Shift as it goes back.
    QStringList wayOfTab(int times, Qt::KeyboardModifiers modifiers = {})
    {
        QStringList way{focusName(window)};
        for (int i = 0; i < times; ++i) {
            press(modifiers & Qt::ShiftModifier ? Qt::Key_Backtab : Qt::Key_Tab, modifiers);
            way << focusName(window);
        }
        return way;
    }
    QAbstractButton& button(const char* name) const { return *findControl<QAbstractButton>(window, name); }

    QWidget window;
    QLineEdit* behind = nullptr;
};

/// The same over an editor of one scene, in which a sheet leaves one step or no trace.
class SceneSheetTest : public SheetWindowTest {
protected:
    explicit SceneSheetTest(TweenScene scene) : before(scene), views(std::move(scene)) {}

    virtual bool isSheetOpen() const = 0;

    EditorView& editor() { return *views.editor; }
    TweenScene scene() { return editor().scene(); }
    void expectOneStep(const char* name)
    {
        EXPECT_FALSE(isSheetOpen());
        EXPECT_EQ(window.focusWidget(), behind);
        EXPECT_EQ(editor().undoManager().undoActionName(), name);
        editor().undo();
        EXPECT_EQ(scene(), before);
        EXPECT_FALSE(editor().undoManager().canUndo());
    }
    void expectNoTrace()
    {
        EXPECT_FALSE(isSheetOpen());
        EXPECT_EQ(window.focusWidget(), behind);
        EXPECT_EQ(scene(), before);
        EXPECT_FALSE(editor().undoManager().canUndo());
    }

    TweenScene before;
    EditorForViews views;
};

} // namespace larkspool
