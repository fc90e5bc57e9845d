#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QWidget>

namespace larkspool {

/// The control of a window that is seen under that name, as those hear it who cannot see it. Null if there is none.
template <typename Control>
Control* findControl(const QWidget& window, const QString& name)
{
    for (Control* control : window.findChildren<Control*>()) {
        const auto* button = qobject_cast<QAbstractButton*>(control);
        const bool isNamed = control->accessibleName() == name || (button && button->text() == name);
        if (isNamed && control->isVisible()) return control;
    }
    return nullptr;
}

/// Whether the words are seen anywhere in the window.
inline bool showsWords(const QWidget& window, const QString& words)
{
    for (const QLabel* label : window.findChildren<QLabel*>())
        if (label->isVisible() && label->text().contains(words)) return true;
    return false;
}

/// What has the keyboard, by its name.
inline QString focusName(const QWidget& window)
{
    const QWidget* focus = window.focusWidget();
    if (!focus) return {};
    const auto* button = qobject_cast<const QAbstractButton*>(focus);
    return focus->accessibleName().isEmpty() && button ? button->text() : focus->accessibleName();
}

} // namespace larkspool
