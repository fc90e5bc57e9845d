#include "views/form_sheet.h"

#include "views/theme.h"

#include <QBoxLayout>

namespace larkspool {

namespace {

constexpr int buttonHeight = 32, leastButtonWidth = 96;

QVBoxLayout* column(QWidget* parent)
{
    auto* layout = new QVBoxLayout(parent);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    return layout;
}

} // namespace

FormSheet::FormSheet(QWidget& window, const Words& words, int width)
    : Sheet(window, words.title, width), body_(new QWidget(card()))
{
    onConfirm = [this] { tryToConfirm(); };
    onCancel = [this] {
        if (cancelled) cancelled();
    };
    column(card());
    buildHead(words.title);
    card()->layout()->addWidget(hairline(Qt::Horizontal, card()));
    column(body_);
    form().setContentsMargins(padding, 20, padding, 20);
    form().setSpacing(rowGap);
    card()->layout()->addWidget(body_);
    card()->layout()->addWidget(hairline(Qt::Horizontal, card()));
    buildButtons(words.confirm);
}

QVBoxLayout& FormSheet::form()
{
    return *static_cast<QVBoxLayout*>(body_->layout());
}

void FormSheet::buildHead(const QString& title)
{
    auto* head = new QHBoxLayout;
    head->setContentsMargins(padding, 16, padding, 16);
    head->setSpacing(12);
    facts_ = label("", TextStyle::value, LabelTone::secondary, card());
    head->addWidget(label(title, TextStyle::title, LabelTone::text, card()));
    head->addStretch(1);
    head->addWidget(facts_);
    static_cast<QVBoxLayout*>(card()->layout())->addLayout(head);
}

void FormSheet::buildButtons(const QString& confirm)
{
    auto* row = buttons_ = new QHBoxLayout;
    row->setContentsMargins(padding, 16, padding, 16);
    row->setSpacing(8);
    row->addStretch(1);
    QPushButton* cancel = wordButton("Cancel", ButtonRole::plain, card(), buttonHeight);
    confirm_ = wordButton(confirm, ButtonRole::primary, card(), buttonHeight);
    confirm_->setMinimumWidth(leastButtonWidth);
    connect(cancel, &QPushButton::clicked, this, [this] { onCancel(); });
    connect(confirm_, &QPushButton::clicked, this, [this] { onConfirm(); });
    row->addWidget(cancel);
    row->addWidget(confirm_);
    static_cast<QVBoxLayout*>(card()->layout())->addLayout(row);
}

QPushButton* FormSheet::addButton(const QString& words)
{
    QPushButton* button = wordButton(words, ButtonRole::plain, card(), buttonHeight);
    buttons_->insertWidget(buttonsAtLeft_++, button);
    return button;
}

void FormSheet::tryToConfirm()
{
    if (confirm_->isEnabled() && confirmed) confirmed();
}

void FormSheet::showFacts(const QString& facts)
{
    facts_->setText(facts);
}

QWidget* FormSheet::addRow(const QString& name, QWidget* field)
{
    auto* whole = new QWidget(body_);
    auto* row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(16);
    QLabel* words = label(name, TextStyle::body, LabelTone::secondary, whole);
    words->setFixedWidth(labelColumn);
    words->setContentsMargins(0, labelTop, 0, 0);
    row->addWidget(words, 0, Qt::AlignTop);
    row->addWidget(field, 1);
    form().addWidget(whole);
    return whole;
}

void FormSheet::addWide(QWidget* widget)
{
    form().addWidget(widget);
}

QLabel* FormSheet::addWithWords(QWidget* widget)
{
    auto* whole = new QWidget(body_);
    auto* lines = column(whole);
    lines->setContentsMargins(0, 4, 0, 0);
    lines->setSpacing(8);
    QLabel* words = label("", TextStyle::caption, LabelTone::secondary, whole);
    lines->addWidget(widget);
    lines->addWidget(words);
    form().addWidget(whole);
    return words;
}

void FormSheet::showObstacle(const QString& reason)
{
    confirm_->setEnabled(reason.isEmpty());
    confirm_->setToolTip(reason);
    confirm_->setAccessibleDescription(reason);
}

QString inWords(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace larkspool
