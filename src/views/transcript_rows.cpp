#include "views/transcript_rows.h"

#include "views/controls.h"
#include "views/icons.h"
#include "views/markdown_html.h"
#include "views/theme.h"

#include <QAbstractTextDocumentLayout>
#include <QBoxLayout>
#include <QDesktopServices>
#include <QPainter>
#include <QPlainTextEdit>
#include <QStyleOption>
#include <QTextBrowser>
#include <QTextDocument>
#include <QUrl>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr double cardRadius = 8, bubbleRadius = 12, bubbleShare = 0.84;
constexpr int bubblePaddingX = 12, bubblePaddingY = 8, highestDetails = 240, badgeIndent = 24;

struct GlyphIcon {
    std::string_view glyph;
    const char* icon;
};
constexpr GlyphIcon glyphIcons[] = {
    {"doc.text.magnifyingglass", "read-scene"},
    {"wand.and.stars", "wand"},
    {"wrench.and.screwdriver", "wrench"},
    {"exclamationmark.triangle", "warning"},
    {"checkmark.circle", "done"},
    {"chevron.right", "chevron-right"},
    {"chevron.down", "chevron-down"},
    {AssistantPanel::titleGlyph, "assistant"},
    {AssistantPanel::clearGlyph, "trash"},
    {AssistantPanel::sendGlyph, "send"},
};

void fillRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& color)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(rect, radius, radius);
}

void colorWords(QLabel& label, const QColor& color)
{
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, color);
    label.setPalette(palette);
}

QLabel* iconLabel(const QString& icon, int size, const QColor& color, QWidget* parent)
{
    auto* result = new QLabel(parent);
    result->setFixedSize(size, size);
    result->setPixmap(iconPixmap(icon, size, color, parent->devicePixelRatioF()));
    return result;
}

/// The line of a card that is pressed to open it.
class CardHead final : public PaintedButton {
public:
    explicit CardHead(QWidget* parent) : PaintedButton(parent)
    {
        setFocusPolicy(Qt::TabFocus);
        setCursor(Qt::PointingHandCursor);
        setCheckable(true);
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred); // As high as its words ask at the width that there is.
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QStyleOption option;
        option.initFrom(this);
        if (!hasFocus() || !(option.state & QStyle::State_KeyboardFocusChange)) return;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(theme().focusRing, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cardRadius, cardRadius);
    }
};

/// An answer of the model, as high as its text.
class AnswerRow final : public QTextBrowser {
public:
    AnswerRow(const AssistantMarkdownText& text, QWidget* parent) : QTextBrowser(parent)
    {
        setAccessibleName(QString::fromStdString(text.source));
        setFrameShape(QFrame::NoFrame);
        setFont(textFont(TextStyle::body));
        setFocusPolicy(Qt::ClickFocus);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        QPalette colors = palette();
        colors.setColor(QPalette::Base, Qt::transparent);
        colors.setColor(QPalette::Text, theme().text);
        setPalette(colors);
        document()->setDocumentMargin(0);
        setOpenLinks(false);
        connect(this, &QTextBrowser::anchorClicked, this, [](const QUrl& url) {
            if (url.scheme() == "https" || url.scheme() == "http") QDesktopServices::openUrl(url); // The model is not trusted.
        });
        setHtml(markdownHTML(text));
        fitHeight();
    }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        QTextBrowser::resizeEvent(event);
        fitHeight(); // Lines are broken anew.
    }
    void wheelEvent(QWheelEvent* event) override { event->ignore(); } // It is the transcript that scrolls.

private:
    void fitHeight() { setFixedHeight(static_cast<int>(std::ceil(document()->size().height()))); }
};

/// The words with places to break in what is longer than a line may be: within an identifier where its parts meet.
QString breakable(const QString& words)
{
    constexpr int longEnough = 8, tooLong = 24;
    QString result;
    int run = 0;
    for (const QChar c : words) {
        run = c.isSpace() ? 0 : run + 1;
        result += c;
        const bool isJoint = run >= longEnough && c.isPunct();
        const bool isPart = c.isHighSurrogate() || c.isMark() || c == QChar(0x200D);
        if (isPart || (!isJoint && run < tooLong)) continue;
        result += QChar(0x200B);
        run = 0;
    }
    return result;
}

QWidget* callRow(const ToolCallCard& card, QWidget* parent)
{
    const ToolCallCard::Friendly friendly = card.friendly();
    return new CardRow({.glyph = friendly.glyph,
                        .words = QString::fromStdString(friendly.label),
                        .badge = QString::fromStdString(friendly.badge.value_or(""))},
                       ToolCallCard::prettyJSON(card.input), parent);
}

QWidget* resultRow(const ToolResultCard& card, QWidget* parent)
{
    const ToolResultCard::Summary summary = card.summary();
    const bool isFailure = summary.tone == ToolResultCard::Tone::bad;
    return new CardRow(
        {.glyph = summary.glyph, .words = QString::fromStdString(summary.text), .isFailure = isFailure, .isDone = !isFailure},
        card.details(), parent);
}

} // namespace

QString iconForGlyph(std::string_view glyph)
{
    const auto found = std::ranges::find(glyphIcons, glyph, &GlyphIcon::glyph);
    return found != std::ranges::end(glyphIcons) ? found->icon : QString();
}

// ---------------------------------------------------------------- the person's words

BubbleRow::BubbleRow(const QString& words, QWidget* parent) : QWidget(parent), words_(new QTextDocument(this))
{
    setAccessibleName(words);
    words_->setDefaultFont(textFont(TextStyle::body));
    words_->setDocumentMargin(0);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    words_->setDefaultTextOption(option);
    words_->setPlainText(words);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QSize BubbleRow::textSize(int width) const
{
    words_->setTextWidth(std::max(width * bubbleShare - 2 * bubblePaddingX, 1.0));
    return {static_cast<int>(std::ceil(words_->idealWidth())), static_cast<int>(std::ceil(words_->size().height()))};
}

int BubbleRow::heightForWidth(int width) const
{
    return textSize(width).height() + 2 * bubblePaddingY;
}

QSize BubbleRow::sizeHint() const
{
    return {120, heightForWidth(std::max(width(), 120))};
}

void BubbleRow::paintEvent(QPaintEvent*)
{
    const QSize text = textSize(width());
    const QRect bubble(width() - text.width() - 2 * bubblePaddingX, 0, text.width() + 2 * bubblePaddingX, height());
    QPainter painter(this);
    fillRounded(painter, bubble, bubbleRadius, theme().accentSoft);
    painter.translate(bubble.x() + bubblePaddingX, bubblePaddingY);
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette.setColor(QPalette::Text, theme().text);
    words_->documentLayout()->draw(&painter, context);
}

// ---------------------------------------------------------------- cards

CardRow::CardRow(const Look& look, std::string details, QWidget* parent)
    : QWidget(parent), text_(std::move(details)), isFailure_(look.isFailure)
{
    const Theme& t = theme();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    head_ = new CardHead(this);
    head_->setAccessibleName(look.badge.isEmpty() ? look.words : look.words + ", " + look.badge);
    head_->setToolTip("Show all of it");
    auto* lines = new QVBoxLayout(head_);
    lines->setContentsMargins(10, 6, 8, 6);
    lines->setSpacing(0);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    const QColor tone = isFailure_ ? t.dangerText : look.isDone ? t.success : t.icon;
    row->addWidget(iconLabel(iconForGlyph(look.glyph), 16, tone, head_), 0, Qt::AlignTop);
    QLabel* words = label(breakable(look.words), TextStyle::bodyMedium, LabelTone::text, head_);
    words->setWordWrap(true);
    words->setMinimumSize(1, 18); // A word that is longer than the line is cut rather than widening all.
    if (isFailure_) colorWords(*words, t.dangerText);
    row->addWidget(words, 1);
    chevron_ = iconLabel(iconForGlyph(chevronGlyph(isExpanded())), 12, t.textSecondary, head_);
    row->addWidget(chevron_, 0, Qt::AlignVCenter);
    lines->addLayout(row);
    if (!look.badge.isEmpty()) {
        QLabel* badge = label(look.badge, TextStyle::caption, LabelTone::secondary, head_);
        badge->setWordWrap(true);
        badge->setContentsMargins(badgeIndent, 0, 0, 0);
        lines->addWidget(badge);
    }
    for (QLabel* part : head_->findChildren<QLabel*>()) part->setAttribute(Qt::WA_TransparentForMouseEvents);
    column->addWidget(head_);
    connect(head_, &QAbstractButton::clicked, this, [this](bool isOpen) { setExpanded(isOpen); });
}

void CardRow::setExpanded(bool expanded)
{
    if (expanded == isExpanded()) return;
    head_->setChecked(expanded);
    chevron_->setPixmap(iconPixmap(iconForGlyph(chevronGlyph(expanded)), 12, theme().textSecondary, devicePixelRatioF()));
    if (!expanded) {
        delete details_;
        details_ = nullptr;
        return;
    }
    details_ = new QPlainTextEdit(this);
    details_->setAccessibleName("All of it");
    details_->setReadOnly(true);
    details_->setFrameShape(QFrame::NoFrame);
    details_->setFont([] {
        QFont mono("DejaVu Sans Mono");
        mono.setPixelSize(11);
        return mono;
    }());
    QPalette palette = details_->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, theme().text);
    details_->setPalette(palette);
    details_->setPlainText(QString::fromStdString(text_));
    details_->document()->setDocumentMargin(10);
    const int lines = std::min(details_->document()->blockCount() + 1, 40);
    details_->setFixedHeight(std::min(lines * details_->fontMetrics().lineSpacing() + 24, highestDetails));
    layout()->addWidget(details_);
}

void CardRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    fillRounded(painter, rect(), cardRadius, isFailure_ ? theme().dangerSoft : theme().field);
}

QWidget* transcriptRowView(const TranscriptRow& row, QWidget* parent)
{
    struct View {
        QWidget* parent;

        QWidget* operator()(const PersonBubble& bubble) const
        {
            return new BubbleRow(QString::fromStdString(bubble.text), parent);
        }
        QWidget* operator()(const AssistantMarkdownText& text) const { return new AnswerRow(text, parent); }
        QWidget* operator()(const ToolCallCard& card) const { return callRow(card, parent); }
        QWidget* operator()(const ToolResultCard& card) const { return resultRow(card, parent); }
    };
    return std::visit(View{parent}, row);
}

// ---------------------------------------------------------------- errors

ErrorRow::ErrorRow(QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 8, 10, 8);
    row->setSpacing(8);
    row->addWidget(iconLabel("warning", 16, theme().dangerText, this), 0, Qt::AlignTop);
    words_ = label({}, TextStyle::body, LabelTone::text, this);
    words_->setWordWrap(true);
    words_->setMinimumWidth(1);
    colorWords(*words_, theme().dangerText);
    row->addWidget(words_, 1);
}

void ErrorRow::setWords(const QString& words)
{
    words_->setText(breakable(words));
    setAccessibleName(words);
}

void ErrorRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    fillRounded(painter, rect(), cardRadius, theme().dangerSoft);
}

} // namespace larkspool
