#include "views/tabular_text.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <map>

namespace larkspool {

namespace {

double digitWidth(const QFont& font, const QFontMetricsF& metrics)
{
    static std::map<QString, double> known;
    const QString key = font.key();
    const auto found = known.find(key);
    if (found != known.end()) return found->second;
    double widest = 0;
    for (const QChar digit : QStringLiteral("0123456789")) widest = std::max(widest, metrics.horizontalAdvance(digit));
    return known.emplace(key, widest).first->second;
}

/// Calls `visit(QString piece, double x, double width)` for every digit and for every run of other characters.
template <typename Visit>
double walkPieces(const QFont& font, const QString& text, const Visit& visit)
{
    const QFontMetricsF metrics(font);
    const double digit = digitWidth(font, metrics);
    double x = 0;
    for (qsizetype i = 0; i < text.size();) {
        qsizetype end = i + 1;
        const bool isDigit = text[i].isDigit();
        while (!isDigit && end < text.size() && !text[end].isDigit()) ++end;
        const QString piece = text.mid(i, end - i);
        const double width = isDigit ? digit : metrics.horizontalAdvance(piece);
        visit(piece, isDigit ? x + (digit - metrics.horizontalAdvance(piece)) / 2 : x);
        x += width;
        i = end;
    }
    return x;
}

} // namespace

double tabularWidth(const QFont& font, const QString& text)
{
    return walkPieces(font, text, [](const QString&, double) {});
}

void paintTabular(QPainter& painter, const QRectF& rect, Qt::Alignment alignment, const QString& text)
{
    const QFontMetricsF metrics(painter.font());
    const double baseline = rect.center().y() + (metrics.ascent() - metrics.descent()) / 2;
    const double free = alignment & Qt::AlignLeft ? 0 : rect.width() - tabularWidth(painter.font(), text);
    const double left = rect.left() + (alignment & Qt::AlignHCenter ? free / 2 : free);
    walkPieces(painter.font(), text,
               [&](const QString& piece, double x) { painter.drawText(QPointF(left + x, baseline), piece); });
}

} // namespace larkspool
