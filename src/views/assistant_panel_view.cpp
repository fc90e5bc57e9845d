#include "views/assistant_panel_view.h"

#include "assistant/assistant_prompts.h"
#include "views/form_controls.h"
#include "views/icons.h"
#include "views/theme.h"
#include "views/transcript_rows.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr int headHeight = 36, padding = 12, rowGap = 12, composerPadding = 4;
constexpr double boxRadius = 8;

QString qString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVBoxLayout* columnIn(QWidget* widget, QMargins margins, int spacing)
{
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(margins);
    column->setSpacing(spacing);
    return column;
}

/// The box around the composer and its button, which shows the keyboard of what is in it.
class ComposerBox final : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        const bool hasFocus = focusProxy() && focusProxy()->hasFocus();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(hasFocus ? QPen(t.focusRing, 1.5) : Qt::NoPen);
        painter.setBrush(hasFocus ? t.fieldFocus : t.field);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), boxRadius, boxRadius);
    }
};

/// Something to ask, as a button of its own words.
class StarterButton final : public PaintedButton {
public:
    StarterButton(const QString& words, QWidget* parent) : PaintedButton(parent)
    {
        setText(words);
        setFont(textFont(TextStyle::body));
        setFocusPolicy(Qt::TabFocus);
        setAttribute(Qt::WA_Hover);
        setToolTip("Put this into the field below");
        QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        policy.setHeightForWidth(true);
        setSizePolicy(policy);
    }

    int heightForWidth(int width) const override { return textRect(width).height() + 2 * paddingY; }
    QSize sizeHint() const override { return {120, heightForWidth(std::max(width(), 120))}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(hasFocus() ? QPen(t.focusRing, 1.5) : Qt::NoPen);
        painter.setBrush(isDown() ? t.pressed : underMouse() ? t.fieldHover : t.field);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), boxRadius, boxRadius);
        painter.setPen(t.text);
        painter.drawText(rect().adjusted(padding, paddingY, -padding, -paddingY), Qt::TextWordWrap | Qt::AlignVCenter, text());
    }

private:
    static constexpr int paddingY = 9;

    QRect textRect(int width) const
    {
        return fontMetrics().boundingRect(QRect(0, 0, std::max(width - 2 * padding, 1), 1 << 16), Qt::TextWordWrap, text());
    }
};

/// The sign of the assistant on a round ground.
class SignBadge final : public QWidget {
public:
    explicit SignBadge(QWidget* parent) : QWidget(parent) { setFixedSize(side, side); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr int icon = 24, inset = (side - icon) / 2;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().accentSoft);
        painter.drawEllipse(rect());
        painter.drawPixmap(inset, inset, iconPixmap("assistant", icon, theme().accentText, devicePixelRatioF()));
    }

private:
    static constexpr int side = 48;
};

/// Says that the model is at work: three dots and a word.
class ThinkingRow final : public QWidget {
public:
    explicit ThinkingRow(QWidget* parent) : QWidget(parent)
    {
        setFixedHeight(24);
        setAccessibleName(qString(AssistantPanel::thinkingText));
        auto* row = new QHBoxLayout(this);
        row->setContentsMargins(31, 0, 0, 0);
        row->addWidget(label(qString(AssistantPanel::thinkingText), TextStyle::body, LabelTone::secondary, this));
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        QColor color = theme().accentText;
        for (int dot = 0; dot < 3; ++dot) {
            color.setAlphaF(1.0f - 0.35f * static_cast<float>(dot));
            painter.setBrush(color);
            painter.drawEllipse(QRectF(9 * dot, (height() - 5) / 2.0, 5, 5));
        }
    }
};

} // namespace

// ---------------------------------------------------------------- the composer

Composer::Composer(int mostLines, QWidget* parent) : QPlainTextEdit(parent), mostLines_(mostLines)
{
    setFrameShape(QFrame::NoFrame);
    setFont(textFont(TextStyle::body));
    setTabChangesFocus(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, theme().text);
    palette.setColor(QPalette::Disabled, QPalette::Text, theme().textDisabled);
    palette.setColor(QPalette::PlaceholderText, theme().textSecondary);
    setPalette(palette);
    viewport()->setAutoFillBackground(false);
    connect(this, &QPlainTextEdit::textChanged, this, [this] { fitHeight(); });
    fitHeight();
}

void Composer::fitHeight()
{
    const double lines = document()->documentLayout()->documentSize().height(), shown = std::clamp<double>(lines, 1, mostLines_);
    const double height = shown * QFontMetricsF(font()).lineSpacing() + 2 * document()->documentMargin();
    setVerticalScrollBarPolicy(lines > mostLines_ ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setFixedHeight(static_cast<int>(std::ceil(height)));
}

void Composer::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && !event->modifiers().testFlag(Qt::ShiftModifier)) {
        if (onSend) onSend();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void Composer::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    fitHeight(); // Lines are broken anew.
}

void Composer::focusInEvent(QFocusEvent* event)
{
    QPlainTextEdit::focusInEvent(event);
    parentWidget()->update();
}

void Composer::focusOutEvent(QFocusEvent* event)
{
    QPlainTextEdit::focusOutEvent(event);
    parentWidget()->update();
}

// ---------------------------------------------------------------- the panel

AssistantPanelView::AssistantPanelView(Services services, QWidget* parent)
    : Surface(theme().panel, parent), services_(std::move(services))
{
    setAccessibleName(qString(AssistantPanel::title));
    auto* column = columnIn(this, {}, 0);
    column->addWidget(buildHead());
    column->addWidget(hairline(Qt::Horizontal, this));
    column->addWidget(buildTranscript(), 1);
    auto* errorFrame = new QWidget(this);
    columnIn(errorFrame, {padding, 0, padding, padding}, 0)->addWidget(error_ = new ErrorRow(errorFrame));
    column->addWidget(errorFrame);
    column->addWidget(hairline(Qt::Horizontal, this));
    column->addWidget(buildComposer());
    conversation_ = services_.assistant.session().changed.add([this] { refresh(); });
    refresh();
}

QWidget* AssistantPanelView::buildHead()
{
    auto* head = new QWidget(this);
    head->setFixedHeight(headHeight);
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(padding, 0, 8, 0);
    row->setSpacing(8);
    auto* mark = new QLabel(head);
    mark->setPixmap(iconPixmap(iconForGlyph(AssistantPanel::titleGlyph), 16, theme().accentText, devicePixelRatioF()));
    row->addWidget(mark);
    row->addWidget(label(qString(AssistantPanel::title), TextStyle::objectName, LabelTone::text, head), 1);
    copy_ = iconButton("copy", qString(AssistantPanel::copyLabel), head, 24);
    connect(copy_, &QToolButton::clicked, this, [this] { copyTranscript(); });
    row->addWidget(copy_);
    clear_ = iconButton(iconForGlyph(AssistantPanel::clearGlyph), qString(AssistantPanel::clearLabel), head, 24);
    connect(clear_, &QToolButton::clicked, this, [this] { services_.assistant.session().clear(); });
    row->addWidget(clear_);
    return head;
}

QWidget* AssistantPanelView::buildSetUp()
{
    setUp_ = new QWidget(this);
    auto* column = columnIn(setUp_, {padding, 0, padding, 0}, 0);
    column->addStretch(1);
    column->addWidget(new SignBadge(setUp_), 0, Qt::AlignHCenter);
    column->addSpacing(16);
    column->addWidget(label(qString(AssistantPanel::setUpHeading), TextStyle::title, LabelTone::text, setUp_), 0, Qt::AlignHCenter);
    column->addSpacing(8);
    QLabel* words = label(qString(AssistantPanel::setUpText), TextStyle::body, LabelTone::secondary, setUp_);
    words->setWordWrap(true);
    words->setAlignment(Qt::AlignHCenter);
    column->addWidget(words);
    column->addSpacing(16);
    QPushButton* open = wordButton("Open Preferences", ButtonRole::primary, setUp_, 32);
    open->setVisible(services_.openPreferences != nullptr);
    connect(open, &QPushButton::clicked, this, [this] { services_.openPreferences(); });
    column->addWidget(open, 0, Qt::AlignHCenter);
    column->addSpacing(64); // It stands a little above the middle.
    column->addStretch(1);
    return setUp_;
}

QWidget* AssistantPanelView::buildStarters()
{
    starters_ = new QWidget(this);
    auto* column = columnIn(starters_, {}, 6);
    QLabel* heading = label(qString(AssistantPanel::startersLabel), TextStyle::bodyMedium, LabelTone::secondary, starters_);
    heading->setContentsMargins(4, 0, 4, 4);
    column->addWidget(heading);
    for (const std::string_view starter : starterPrompts) {
        auto* button = new StarterButton(qString(starter), starters_);
        connect(button, &QAbstractButton::clicked, this, [this, starter] { ask(starter); });
        column->addWidget(button);
    }
    return starters_;
}

QWidget* AssistantPanelView::buildTranscript()
{
    scroll_ = new QScrollArea(this);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);
    scroll_->setAccessibleName("Conversation");
    auto* whole = new Surface(theme().panel);
    auto* column = columnIn(whole, {padding, 16, padding, 16}, 0);
    column->addWidget(buildSetUp(), 1); // As high as the panel.
    column->addWidget(buildStarters());
    rows_ = new QVBoxLayout;
    rows_->setSpacing(rowGap);
    column->addLayout(rows_);
    thinking_ = new ThinkingRow(whole);
    column->addSpacing(rowGap);
    column->addWidget(thinking_);
    column->addStretch();
    scroll_->setWidget(whole);
    const QScrollBar* bar = scroll_->verticalScrollBar();
    connect(bar, &QScrollBar::rangeChanged, this, [this](int, int end) {
        if (isAtEnd_) scroll_->verticalScrollBar()->setValue(end);
    });
    // A person who scrolls back to read stays there until the conversation goes on.
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) { isAtEnd_ = value == bar->maximum(); });
    return scroll_;
}

QWidget* AssistantPanelView::buildComposer()
{
    auto* frame = new QWidget(this);
    auto* box = new ComposerBox(frame);
    columnIn(frame, {padding, padding, padding, padding}, 0)->addWidget(box);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(8, composerPadding, composerPadding, composerPadding);
    row->setSpacing(composerPadding);
    composer_ = new Composer(AssistantPanel::composerLines, box);
    composer_->setAccessibleName("Message");
    composer_->setPlaceholderText(qString(AssistantPanel::placeholder));
    composer_->onSend = [this] { send(); };
    box->setFocusProxy(composer_);
    connect(composer_, &QPlainTextEdit::textChanged, this, [this] {
        services_.assistant.session().input = composer_->toPlainText().toStdString();
        showComposer(AssistantPanel::of(services_.assistant.session(), services_.defaults));
    });
    row->addWidget(composer_, 1, Qt::AlignVCenter);
    send_ = iconButton(iconForGlyph(AssistantPanel::sendGlyph), "Send", box);
    connect(send_, &QToolButton::clicked, this, [this] { send(); });
    row->addWidget(send_, 0, Qt::AlignBottom);
    return frame;
}

void AssistantPanelView::refresh()
{
    const AssistantPanel panel = AssistantPanel::of(services_.assistant.session(), services_.defaults);
    showRows();
    showContent(panel);
    showComposer(panel);
}

void AssistantPanelView::showRows()
{
    const AssistantSession& session = services_.assistant.session();
    if (shownClearings_ != session.clearings || shownMessages_ > session.history.size()) {
        for (QWidget* row : shown_) delete row;
        shown_.clear();
        shownMessages_ = 0;
        shownClearings_ = session.clearings;
    }
    if (shownMessages_ == session.history.size()) return;
    isAtEnd_ = true;
    const std::span<const AssistantMessage> added = std::span(session.history).subspan(shownMessages_);
    for (const TranscriptRow& row : transcriptRows(added)) {
        shown_.push_back(transcriptRowView(row, scroll_->widget()));
        rows_->addWidget(shown_.back());
    }
    shownMessages_ = session.history.size();
}

void AssistantPanelView::showContent(const AssistantPanel& panel)
{
    using Content = AssistantPanel::Content;
    const AssistantSession& session = services_.assistant.session();
    setUp_->setVisible(panel.content == Content::setUp);
    starters_->setVisible(panel.content == Content::starters);
    for (QWidget* row : shown_) row->setVisible(panel.content == Content::transcript);
    thinking_->setVisible(panel.isThinking && panel.content == Content::transcript);
    error_->parentWidget()->setVisible(panel.error.has_value());
    error_->setWords(QString::fromStdString(panel.error.value_or("")));
    copy_->setEnabled(!session.history.empty());
    copy_->setToolTip(qString(AssistantPanel::copyLabel) + (copy_->isEnabled() ? "" : "\nThere is no conversation yet."));
    clear_->setEnabled(!session.history.empty() || panel.error);
    clear_->setToolTip(qString(AssistantPanel::clearLabel) + (clear_->isEnabled() ? "" : "\nThere is no conversation yet."));
}

void AssistantPanelView::showComposer(const AssistantPanel& panel)
{
    const QString input = QString::fromStdString(services_.assistant.session().input);
    if (composer_->toPlainText() != input) composer_->setPlainText(input);
    // While the composer takes no input, the transcript has its keyboard, and gives it back.
    const QWidget* keyboard = window()->focusWidget();
    if (!panel.canWrite && keyboard == composer_) scroll_->setFocus();
    composer_->setEnabled(panel.canWrite);
    if (panel.canWrite && keyboard == scroll_) composer_->setFocus();
    const QString icon = iconForGlyph(AssistantPanel::sendGlyph);
    send_->setEnabled(panel.canSend);
    send_->setProperty("primary", panel.canSend);
    send_->setIcon(panel.canSend ? QIcon(iconPixmap(icon, 16, theme().textOnAccent, devicePixelRatioF())) : buttonIcon(icon));
    const QString whyNot = panel.canSend      ? ""
                           : panel.isThinking ? "\nThe assistant is at work."
                           : panel.canWrite   ? "\nWrite something first."
                                              : "\nSet up the assistant first.";
    send_->setToolTip("Send" + whyNot);
}

void AssistantPanelView::send()
{
    services_.assistant.view().send();
}

void AssistantPanelView::ask(std::string_view starter)
{
    services_.assistant.session().input = starter;
    refresh();
    focusComposer();
    composer_->moveCursor(QTextCursor::End);
}

void AssistantPanelView::focusComposer()
{
    if (composer_->isEnabled()) composer_->setFocus();
}

void AssistantPanelView::copyTranscript()
{
    QGuiApplication::clipboard()->setText(QString::fromStdString(transcriptText(services_.assistant.session().history)));
}

} // namespace larkspool
