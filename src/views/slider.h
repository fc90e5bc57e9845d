#pragma once

#include <QSlider>

namespace larkspool {

/// A value between two ends, to be dragged. Return is left to the sheet around it.
class Slider final : public QSlider {
public:
    /// How far the ends of the groove are from its edges: half the knob.
    static constexpr int endInset = 10;

    Slider(const QString& name, QWidget* parent);

    QSize sizeHint() const override { return {160, 24}; }
    QSize minimumSizeHint() const override { return {80, 24}; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override; ///< A turn of the wheel is no choice.
    void paintEvent(QPaintEvent* event) override;

private:
    void goTo(double x);
};

} // namespace larkspool
