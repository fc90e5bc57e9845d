#pragma once

#include <QPalette>
#include <QProxyStyle>

namespace larkspool {

/// The toolkit's own controls in the look of the theme: flat fills, round corners, a ring for the keyboard's focus.
class Style final : public QProxyStyle {
public:
    Style();

    using QProxyStyle::polish;
    void polish(QWidget* widget) override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter, const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part, const QWidget* widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size, const QWidget* widget) const override;
};

/// The palette of the theme that is chosen now.
QPalette themePalette();

/// Gives the whole program the theme's palette and font, and this style.
void applyLook();

} // namespace larkspool
