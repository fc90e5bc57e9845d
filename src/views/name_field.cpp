#include "views/name_field.h"

#include "views/theme.h"

#include <QKeyEvent>

#include <utility>

namespace larkspool {

NameField::NameField(QWidget* parent) : QLineEdit(parent)
{
    setAccessibleName("Name");
    setFont(textFont(TextStyle::body));
    hide();
}

void NameField::open(const QRect& place, const QString& name)
{
    isOpen_ = true;
    setGeometry(place);
    setText(name);
    selectAll();
    show();
    setFocus();
}

void NameField::finish(End end)
{
    if (!std::exchange(isOpen_, false)) return;
    hide();
    if (ended) ended(end);
}

bool NameField::event(QEvent* event)
{
    if (event->type() != QEvent::ShortcutOverride && event->type() != QEvent::KeyPress) return QLineEdit::event(event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    const bool isOurs = key == Qt::Key_Escape || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab ||
                        key == Qt::Key_Backtab;
    if (!isOurs) return QLineEdit::event(event);
    event->accept();
    if (event->type() == QEvent::ShortcutOverride) return true;
    switch (key) {
    case Qt::Key_Escape: finish(End::cancelled); break;
    case Qt::Key_Tab: finish(End::keptAndOn); break;
    case Qt::Key_Backtab: finish(End::keptAndBack); break;
    default: finish(End::kept);
    }
    return true;
}

void NameField::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (event->reason() != Qt::PopupFocusReason) finish(End::kept);
}

} // namespace larkspool
