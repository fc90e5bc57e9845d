#include "views/notice_bar.h"

#include "views/icons.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QPlainTextEdit>

#include <algorithm>

namespace larkspool {

namespace {

constexpr int lineHeight = 36, mostDetails = 120, padding = 12;

} // namespace

NoticeBar::NoticeBar(const RepairNotice& notice, QWidget* parent) : Surface(theme().panel, parent)
{
    const QString summary = QString::fromStdString(notice.summary);
    setAccessibleName(summary);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    auto* line = new QWidget(this);
    line->setFixedHeight(lineHeight);
    auto* row = new QHBoxLayout(line);
    row->setContentsMargins(padding, 0, 8, 0);
    row->setSpacing(8);
    auto* sign = new QLabel(line);
    sign->setPixmap(iconPixmap("warning", 16, theme().warning, devicePixelRatioF()));
    row->addWidget(sign);
    QLabel* words = label(summary, TextStyle::body, LabelTone::text, line);
    words->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    row->addWidget(words, 1);
    QPushButton* unfold = wordButton("Show What Was Lost", ButtonRole::plain, line, 24);
    row->addWidget(unfold);
    QToolButton* close = iconButton("close", "Dismiss", line, 24);
    connect(close, &QToolButton::clicked, this, [this] {
        hide();
        deleteLater();
    });
    row->addWidget(close);
    column->addWidget(line);

    auto* list = new QPlainTextEdit(this);
    QStringList lines;
    for (const std::string& text : notice.lines) lines << QString::fromStdString(text);
    list->setPlainText(lines.join('\n'));
    list->setReadOnly(true);
    list->setTabChangesFocus(true);
    list->setFrameShape(QFrame::NoFrame);
    list->setFont(textFont(TextStyle::caption));
    list->setAccessibleName("What was lost");
    list->document()->setDocumentMargin(padding);
    QPalette quiet = list->palette();
    quiet.setColor(QPalette::Base, theme().window);
    quiet.setColor(QPalette::Text, theme().textSecondary);
    list->setPalette(quiet);
    const int needed = static_cast<int>(lines.size()) * QFontMetrics(list->font()).lineSpacing() + 2 * padding + 2;
    list->setFixedHeight(std::min(needed, mostDetails));
    if (needed <= mostDetails) list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->hide();
    details_ = list;
    column->addWidget(list);
    column->addWidget(hairline(Qt::Horizontal, this));
    connect(unfold, &QPushButton::clicked, this, [this, unfold] {
        details_->setVisible(details_->isHidden());
        unfold->setText(details_->isHidden() ? "Show What Was Lost" : "Hide What Was Lost");
    });
}

} // namespace larkspool
