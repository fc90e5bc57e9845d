#pragma once

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace larkspool {

/// Lets `look` see the menu that `open` brings up, and closes it.
inline void inMenu(const std::function<void()>& open, const std::function<void(QMenu& menu)>& look)
{
    bool wasSeen = false;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        wasSeen = true;
        look(*menu);
        menu->close();
    });
    timer.start(0);
    open();
    EXPECT_TRUE(wasSeen) << "No menu has come up";
}

/// What the entries say, without their shortcuts. Lines between sections are left out.
inline QStringList titlesOf(const QMenu& menu)
{
    QStringList titles;
    for (const QAction* action : menu.actions())
        if (!action->isSeparator()) titles << action->text().section('\t', 0, 0);
    return titles;
}

/// The entry with that title; null if there is none.
inline QAction* entryOf(const QMenu& menu, const QString& title)
{
    for (QAction* action : menu.actions())
        if (action->text().section('\t', 0, 0) == title) return action;
    return nullptr;
}

/// Chooses an entry as the keyboard does, which closes the menu.
inline void triggerEntry(QMenu& menu, const QString& title)
{
    QAction* action = entryOf(menu, title);
    ASSERT_NE(action, nullptr) << title.toStdString();
    EXPECT_TRUE(action->isEnabled()) << title.toStdString();
    menu.setActiveAction(action);
    QTest::keyClick(&menu, Qt::Key_Return);
}

/// A press of the right button at a point of the widget.
inline void askForMenu(QWidget& widget, QPoint at)
{
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, widget.mapToGlobal(at));
    QApplication::sendEvent(&widget, &event);
}

} // namespace larkspool
