#include "views/panel_splitter.h"

#include "views/theme.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr int closesBelow = 40; ///< Pixels below the smallest size.
constexpr int grabMargin = 3;   ///< Pixels at each side of the line that can be grabbed too.

} // namespace

/// The line. It is one pixel wide, and can be grabbed beside it.
class PanelSplitter::Handle final : public QSplitterHandle {
public:
    explicit Handle(PanelSplitter& splitter) : QSplitterHandle(splitter.orientation(), &splitter), splitter_(splitter)
    {
        setAttribute(Qt::WA_MouseNoMask);
    }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        // In place of the toolkit's own, which has narrower margins: each change of them is a resize.
        QWidget::resizeEvent(event);
        const bool isUpright = orientation() == Qt::Horizontal;
        setContentsMargins(isUpright ? grabMargin : 0, isUpright ? 0 : grabMargin, isUpright ? grabMargin : 0,
                           isUpright ? 0 : grabMargin);
        setMask(QRegion(contentsRect()));
    }
    void paintEvent(QPaintEvent*) override
    {
        QPainter(this).fillRect(rect(), isHeld_ ? theme().selectionOutline : theme().hairline);
    }
    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() != Qt::LeftButton) return;
        isHeld_ = true;
        pressedAt_ = alongWay(event);
        sizeAtPress_ = splitter_.panelSize();
        update();
    }
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (!isHeld_) return;
        const int way = alongWay(event) - pressedAt_;
        splitter_.dragTo(sizeAtPress_ + (splitter_.side_ == Side::first ? way : -way));
    }
    void mouseReleaseEvent(QMouseEvent*) override
    {
        isHeld_ = false;
        update();
    }
    void hideEvent(QHideEvent* event) override
    {
        isHeld_ = false;
        QSplitterHandle::hideEvent(event);
    }

private:
    int alongWay(const QMouseEvent* event) const
    {
        const QPointF point = event->globalPosition();
        return static_cast<int>(std::lround(orientation() == Qt::Horizontal ? point.x() : point.y()));
    }

    PanelSplitter& splitter_;
    bool isHeld_ = false;
    int pressedAt_ = 0, sizeAtPress_ = 0;
};

QSplitterHandle* PanelSplitter::createHandle()
{
    return new Handle(*this);
}

void PanelSplitter::setParts(QWidget* panel, Side side, QWidget* rest, Limits limits)
{
    panel_ = panel;
    side_ = side;
    limits_ = limits;
    panelSize_ = limits.least;
    addWidget(side == Side::first ? panel : rest);
    addWidget(side == Side::first ? rest : panel);
    setStretchFactor(side == Side::first ? 1 : 0, 1);
    setChildrenCollapsible(false);
    if (orientation() == Qt::Horizontal)
        panel->setMinimumWidth(limits.least);
    else
        panel->setMinimumHeight(limits.least);
}

int PanelSplitter::most() const
{
    return std::max(limits_.least, std::min(limits_.most, static_cast<int>(length() * limits_.mostShare)));
}

void PanelSplitter::setPanelSize(int size)
{
    panelSize_ = std::max(size, limits_.least);
    place();
}

/// In a small window the panel takes less than its size; it has its size again once there is room.
void PanelSplitter::place()
{
    if (!panel_ || length() <= 0) return;
    const int panel = std::clamp(panelSize_, limits_.least, most());
    const int rest = std::max(0, length() - panel - handleWidth());
    setSizes(side_ == Side::first ? QList<int>{panel, rest} : QList<int>{rest, panel});
}

void PanelSplitter::dragTo(int size)
{
    if (size < limits_.least - closesBelow) {
        if (closed) closed();
        return;
    }
    setPanelSize(std::min(size, most()));
}

void PanelSplitter::resizeEvent(QResizeEvent* event)
{
    QSplitter::resizeEvent(event);
    place();
}

} // namespace larkspool
