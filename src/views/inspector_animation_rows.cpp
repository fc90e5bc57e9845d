#include "shell/item_inspectors.h"
#include "timeline/span_edits.h"
#include "views/inspector_view.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int timesWidth = 130; ///< Pixels for the times of the pulses.

/// A small raised card. A click on it asks for what it stands for.
class Card final : public QWidget {
public:
    Card(std::function<void()> clicked, QWidget* parent) : QWidget(parent), clicked_(std::move(clicked)) {}

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().field);
        painter.drawRoundedRect(rect(), 6, 6);
    }
    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton && clicked_) clicked_();
    }

private:
    std::function<void()> clicked_;
};

/// A tag of an effect: "Fade In 0.40".
class Tag final : public QToolButton {
public:
    enum class Look { filled, outlined };

    Tag(Look look, QWidget* parent) : QToolButton(parent), look_(look)
    {
        setFixedHeight(20);
        setFocusPolicy(Qt::TabFocus);
        setFont(textFont(TextStyle::caption));
    }
    QSize sizeHint() const override { return {fontMetrics().horizontalAdvance(text()) + 14, 20}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool isFilled = look_ == Look::filled;
        painter.setPen(hasFocus() ? QPen(t.focusRing, 1.5) : isFilled ? QPen(Qt::NoPen) : QPen(t.hairlineStrong, 1));
        painter.setBrush(isFilled       ? QBrush(underMouse() ? t.spanFillHover : t.spanFill)
                         : underMouse() ? QBrush(t.hover)
                                        : QBrush(Qt::NoBrush));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
        painter.setPen(isFilled ? t.spanText : t.textSecondary);
        painter.drawText(rect(), Qt::AlignCenter, text());
    }

private:
    Look look_;
};

QString seconds(double time)
{
    return QString::number(time, 'f', 2) + "s";
}

} // namespace

void InspectorView::buildAnimation()
{
    QToolButton* add = iconButton("plus", "Add Animation", body_, 24);
    connect(add, &QToolButton::clicked, this, [this, add] {
        auto* menu = new QMenu(window());
        menu->setAttribute(Qt::WA_DeleteOnClose);
        fillAnimationMenu(*menu);
        menu->popup(add->mapToGlobal(QPoint(0, add->height())));
    });
    QVBoxLayout* rows = addSection("Animation", add);
    if (shown_.stored.size() != 1) return;
    const Layer& layer = *shown_.stored.front();
    for (std::size_t i = 0; i < layer.spans.size(); ++i) rows->addWidget(spanCard(i));
    if (!layer.pulses.empty()) rows->addWidget(pulsesCard());
}

void InspectorView::fillAnimationMenu(QMenu& menu)
{
    const auto isOutside = [this](const Layer* layer) { return !SpanInspector::spanAtPlayhead(*layer, shown_.how.playhead); };
    QAction* span = menu.addAction(words(SpanInspector::addSpanLabel), this, [this] { addSpans(); });
    span->setEnabled(std::ranges::any_of(shown_.stored, isOutside));
    if (shown_.stored.size() != 1) return;
    menu.addAction("Add Pulse", this, [this, id = shown_.stored.front()->id] {
        context_.editor.addPulseAtPlayhead(id);
        context_.changed();
    });
}

/// To each selected layer that has none at the playhead.
void InspectorView::addSpans()
{
    TweenScene scene = shown_.scene;
    bool isAdded = false;
    for (const Layer* layer : shown_.stored) {
        if (SpanInspector::spanAtPlayhead(*layer, shown_.how.playhead)) continue;
        auto edit = SpansTrack::addSpanAtPlayhead(scene, layer->id, shown_.how.playhead);
        if (!edit) continue;
        scene = std::move(edit->scene);
        isAdded = true;
    }
    if (isAdded) perform(Edit{std::move(scene), "Add Span"});
}

QWidget* InspectorView::spanCard(std::size_t index)
{
    const auto ref = [this, index] {
        const Layer& now = *shown_.stored.front();
        return TimelineItemRef::span(now.id, index < now.spans.size() ? now.spans[index].id : UUID{});
    };
    const auto select = [this, ref] {
        context_.editor.selectTimelineItems({ref()});
        context_.changed();
    };
    auto* card = new Card(select, body_);
    auto* column = new QVBoxLayout(card);
    column->setContentsMargins(8, 6, 8, 8);
    column->setSpacing(6);
    auto* head = new QHBoxLayout;
    head->setSpacing(8);
    auto* icon = new QLabel(card);
    icon->setPixmap(iconPixmap("span", 16, theme().span, devicePixelRatioF()));
    head->addWidget(icon);
    head->addWidget(larkspool::label("Span", TextStyle::body, LabelTone::text, card));
    head->addStretch(1);
    QLabel* times = larkspool::label({}, TextStyle::value, LabelTone::secondary, card);
    head->addWidget(times);
    column->addLayout(head);
    column->addLayout(effectTags(index, card, select, ref));
    refreshers_.push_back([this, times, index] {
        const TimeSpan& span = shown_.stored.front()->spans[index];
        times->setText(seconds(span.start) + " – " + seconds(span.end));
    });
    return card;
}

QLayout* InspectorView::effectTags(std::size_t index, QWidget* card, const std::function<void()>& select,
                                   const std::function<TimelineItemRef()>& span)
{
    const Layer& layer = *shown_.stored.front();
    auto* tags = new QGridLayout;
    tags->setSpacing(4);
    const int count = static_cast<int>(layer.spans[index].effects.size());
    for (int i = 0; i < count; ++i) {
        auto* tag = new Tag(Tag::Look::filled, card);
        connect(tag, &QToolButton::clicked, this, select);
        tags->addWidget(tag, i / 2, i % 2);
        refreshers_.push_back([this, tag, index, effect = static_cast<std::size_t>(i)] {
            const SpanEffect& now = shown_.stored.front()->spans[index].effects[effect];
            tag->setText(QString("%1 %2").arg(words(larkspool::label(now.kind)), QString::number(now.duration, 'f', 2)));
            tag->updateGeometry();
        });
    }
    auto* more = new Tag(Tag::Look::outlined, card);
    more->setText(words(SpanInspector::addEffectLabel));
    more->setVisible(SpanInspector::effectMenu(layer.kind) != SpanInspector::EffectMenu{});
    connect(more, &QToolButton::clicked, this, [this, more, span] { showEffectMenu(span(), more); });
    tags->addWidget(more, count / 2, count % 2, Qt::AlignLeft);
    tags->setColumnStretch(2, 1);
    return tags;
}

QWidget* InspectorView::pulsesCard()
{
    auto* card = new Card({}, body_);
    auto* row = new QHBoxLayout(card);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(8);
    auto* icon = new QLabel(card);
    icon->setPixmap(iconPixmap("pulse", 16, theme().pulse, devicePixelRatioF()));
    row->addWidget(icon);
    QLabel* count = larkspool::label({}, TextStyle::body, LabelTone::text, card);
    row->addWidget(count);
    row->addStretch(1);
    QLabel* times = larkspool::label({}, TextStyle::value, LabelTone::secondary, card);
    row->addWidget(times);
    refreshers_.push_back([this, count, times] {
        const Array<Pulse>& pulses = shown_.stored.front()->pulses;
        count->setText(pulses.size() == 1 ? QString("1 pulse") : QString("%1 pulses").arg(pulses.size()));
        QStringList list;
        for (const Pulse& pulse : pulses) list.append(seconds(pulse.time));
        times->setText(times->fontMetrics().elidedText(list.join(", "), Qt::ElideRight, timesWidth));
    });
    return card;
}

} // namespace larkspool
