#include "views/failure_note.h"

#include "views/controls.h"
#include "views/icons.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QPainter>

namespace larkspool {

namespace {

constexpr int badgeSide = 32, badgeIcon = 16;

class FailureBadge final : public QWidget {
public:
    explicit FailureBadge(QWidget* parent) : QWidget(parent) { setFixedSize(badgeSide, badgeSide); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().dangerSoft);
        painter.drawEllipse(rect());
        const QPixmap sign = iconPixmap("warning", badgeIcon, theme().dangerText, devicePixelRatioF());
        painter.drawPixmap((badgeSide - badgeIcon) / 2, (badgeSide - badgeIcon) / 2, sign);
    }
};

} // namespace

FailureNote::FailureNote(const QString& heading, QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(16);
    row->addWidget(new FailureBadge(this), 0, Qt::AlignTop);
    auto* column = new QVBoxLayout;
    column->setSpacing(4);
    column->addWidget(label(heading, TextStyle::title, LabelTone::text, this));
    reason_ = label("", TextStyle::body, LabelTone::secondary, this);
    reason_->setWordWrap(true);
    column->addWidget(reason_);
    row->addLayout(column, 1);
}

void FailureNote::showReason(const QString& reason)
{
    reason_->setText(reason);
}

} // namespace larkspool
