#pragma once

#include "timeline/retime_row.h"
#include "timeline/span_arrange.h"

#include <QString>
#include <QWidget>

#include <vector>

namespace larkspool {

/// Where items stand and where they would go, each on a line of its own over the time of the scene: what was as an outline, what
/// would be in its colour. Or words in its place. It lies on a panel.
class TimesPreview : public QWidget {
public:
    struct Item {
        RetimeRow::Kind kind = RetimeRow::Kind::span;
        QString name{};
        double start = 0, newStart = 0; ///< Seconds.
        double length = 0;              ///< Seconds.
    };

    explicit TimesPreview(QWidget* parent);

    void show(std::vector<Item> items, double sceneDuration);
    /// The rows before and after, in the same order.
    void show(const std::vector<RetimeRow>& before, const std::vector<RetimeRow>& after, double sceneDuration);
    void showWords(const QString& words);

    const std::vector<Item>& items() const { return items_; }
    const QString& words() const { return words_; }

    QSize sizeHint() const override { return {320, 168}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintContent(QPainter& painter) const;
    void paintScale(QPainter& painter, const QRectF& lanes) const;
    void paintItem(QPainter& painter, const Item& item, const QRectF& lane) const;

    std::vector<Item> items_;
    double sceneDuration_ = 0;
    double shownSeconds_ = 0; ///< From the left edge to the right one.
    QString words_;
};

/// The same for spans that are arranged.
class SpansArrangePreview final : public TimesPreview {
public:
    using TimesPreview::TimesPreview;

    /// `after` has the spans of `before` in any order, and gives the order of the lines.
    void showSpans(const TweenScene& scene, const std::vector<ResolvedSpanRef>& before,
                   const std::vector<ResolvedSpanRef>& after);
};

/// "1.50s".
QString secondsText(double seconds);

} // namespace larkspool
