#include "views/canvas_view.h"

#include "canvas/canvas_geometry.h"
#include "views/drag_mode_view.h"
#include "views/input.h"
#include "views/layer_palette_view.h"
#include "views/media_panels.h"
#include "views/theme.h"

#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QUrl>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr double smallestZoom = 0.1, greatestZoom = 10;
constexpr double fitMargin = 0.81;
constexpr int paletteLeft = 12;
constexpr double paletteInset = 56; ///< Of the layer palette, which floats at the left.

constexpr double zoomStep = 1.25;
constexpr std::chrono::milliseconds zoomHUDTime{1500};
constexpr double frameWidth = 1.5, handleSize = 8, handleCorner = 2, rotateHandleSize = 10;
constexpr double pillHeight = 24, badgeHeight = 18, badgeGap = 8;
constexpr float seenThroughVeil = 0.65F; ///< Of what lies beyond the scene's frame, while it is dimmed.

/// The colour that a veil turns into `color`, so that the backdrop is the theme's under it too.
QColor underVeil(const QColor& color)
{
    return QColor::fromRgbF(std::min(1.0F, color.redF() / seenThroughVeil), std::min(1.0F, color.greenF() / seenThroughVeil),
                            std::min(1.0F, color.blueF() / seenThroughVeil));
}

RasterColor asRasterColor(const QColor& color)
{
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

QPointF asQPoint(CGPoint point)
{
    return {point.x, point.y};
}

QRectF asQRect(const CGRect& rect)
{
    return {rect.minX(), rect.minY(), rect.size.width, rect.size.height};
}

Qt::CursorShape cursorShape(CanvasCursor cursor)
{
    switch (cursor) {
    case CanvasCursor::arrow: return Qt::ArrowCursor;
    case CanvasCursor::pointer: return Qt::PointingHandCursor;
    case CanvasCursor::openHand: return Qt::OpenHandCursor;
    case CanvasCursor::closedHand: return Qt::ClosedHandCursor;
    case CanvasCursor::resizeNWSE: return Qt::SizeFDiagCursor;
    case CanvasCursor::resizeNS: return Qt::SizeVerCursor;
    case CanvasCursor::resizeNESW: return Qt::SizeBDiagCursor;
    case CanvasCursor::resizeEW: return Qt::SizeHorCursor;
    }
    return Qt::ArrowCursor;
}

void paintKnob(QPainter& painter, QPointF middle, double size, double corner)
{
    painter.setPen(QPen(theme().selectionOutline, frameWidth));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(middle.x() - size / 2, middle.y() - size / 2, size, size), corner, corner);
    painter.setBrush(Qt::NoBrush);
}

void paintFrame(QPainter& painter, const OverlayItems::Frame& frame)
{
    painter.setPen(QPen(theme().selectionOutline, frameWidth));
    if (frame.linePoints.empty()) {
        QPolygonF corners;
        for (const CGPoint& corner : frame.corners) corners << asQPoint(corner);
        painter.drawPolygon(corners);
    }
    if (frame.rotateHandle) {
        const CGPoint topLeft = frame.corners[0], topRight = frame.corners[1];
        painter.drawLine(QPointF((topLeft.x + topRight.x) / 2, (topLeft.y + topRight.y) / 2), asQPoint(*frame.rotateHandle));
        paintKnob(painter, asQPoint(*frame.rotateHandle), rotateHandleSize, rotateHandleSize / 2);
    }
    for (const CGPoint& handle : frame.handles) paintKnob(painter, asQPoint(handle), handleSize, handleCorner);
    for (const CGPoint& point : frame.linePoints) paintKnob(painter, asQPoint(point), rotateHandleSize, rotateHandleSize / 2);
}

void paintPill(QPainter& painter, const QString& words, QPointF topLeft, const QColor& fill, const QColor& text)
{
    painter.setFont(textFont(TextStyle::value));
    const QRectF pill(topLeft, QSizeF(painter.fontMetrics().horizontalAdvance(words) + 24, pillHeight));
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(pill, pillHeight / 2, pillHeight / 2);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(text);
    painter.drawText(pill, Qt::AlignCenter, words);
}

void paintGuide(QPainter& painter, const OverlayItems::Guide& guide, QSize view)
{
    const QColor color = guide.fromLayer ? theme().guideLayer : theme().guideScene;
    const double at = std::round(guide.position);
    const bool isVertical = guide.axis == OverlayItems::Guide::Axis::x;
    painter.fillRect(isVertical ? QRectF(at, 0, 1, view.height()) : QRectF(0, at, view.width(), 1), color);
    if (guide.label.empty()) return;
    painter.setFont(textFont(TextStyle::guideLabel));
    const QString words = QString::fromStdString(guide.label);
    const QSizeF size(painter.fontMetrics().horizontalAdvance(words) + 10, 16);
    const QRectF box(isVertical ? QPointF(at + 6, 8) : QPointF(8, at + 6), size);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(box, 8, 8);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(theme().guideText);
    painter.drawText(box, Qt::AlignCenter, words);
}

} // namespace

CanvasView::CanvasView(EditorContext context, QWidget* parent)
    : QWidget(parent), context_(std::move(context)), videos_(eventLoop_, [this] { paintAnew(); })
{
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(320, 200);
    setAccessibleName("Canvas");
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setAcceptDrops(true);
    zoomHUDTimer_.setSingleShot(true);
    nextPicture_.setSingleShot(true);
    connect(&nextPicture_, &QTimer::timeout, this, [this] { paintAnew(); });
    connect(&zoomHUDTimer_, &QTimer::timeout, this, [this] { update(); });
    dragMode_ = new DragModeView(
        [this](bool keyframeAtPlayhead) {
            context_.editor.defaults().set(DefaultsKey::keyframeAtPlayhead, keyframeAtPlayhead);
            context_.changed();
        },
        this);
}

void CanvasView::refresh()
{
    placeDragMode();
    update();
}

void CanvasView::placeDragMode()
{
    const EditorState& state = context_.editor.state();
    const SceneFit fit = sceneFit();
    const auto toggle = state.selectedLayerIDs.empty() ? std::nullopt : context_.editor.dragModeToggle(fit);
    QRectF selected;
    if (toggle) {
        const CGRect box = unionAABBOfSelected(state.scene(), state.selectedLayerIDs, state.playhead);
        if (!box.isNull())
            selected = QRectF(asQPoint(fit.viewFromScene(box.origin)), QSizeF(box.size.width * fit.scale, box.size.height * fit.scale));
    }
    dragMode_->show(toggle, selected);
}

SceneFit CanvasView::sceneFit() const
{
    const TweenScene scene = context_.editor.scene();
    return SceneFit::of({scene.width, scene.height}, {width() * 1.0, height() * 1.0}, zoom_, pan_);
}

void CanvasView::zoomTo(double level, std::optional<CGPoint> anchor)
{
    const TweenScene scene = context_.editor.scene();
    const CGPoint middle{width() * 0.5, height() * 0.5};
    const CGPoint kept = anchor.value_or(middle);
    const CGPoint scenePoint = sceneFit().sceneFromView(kept);
    zoom_ = std::clamp(level, smallestZoom, greatestZoom);
    const double scale = sceneFit().scale;
    pan_ = {kept.x - scenePoint.x * scale - (width() - scene.width * scale) * 0.5,
            kept.y - scenePoint.y * scale - (height() - scene.height * scale) * 0.5};
    flashZoomHUD();
    context_.changed();
}

std::optional<CGPoint> CanvasView::selectedLayerPivot() const
{
    const EditorState& state = context_.editor.state();
    if (state.selectedLayerIDs.size() != 1) return std::nullopt;
    const TweenScene scene = state.scene();
    const UUID& layerID = *state.selectedLayerIDs.begin();
    const std::optional<PlacedLayer> placed = placedLayer(scene, layerID, state.playhead);
    if (!placed) return std::nullopt;
    const CGPoint offset = placed->parent.offset;
    const Transform& transform = placed->layer.transform;
    return sceneFit().viewFromScene({offset.x + transform.x + transform.anchorX * placed->layer.size.width,
                                     offset.y + transform.y + transform.anchorY * placed->layer.size.height});
}

void CanvasView::zoomIn()
{
    zoomTo(zoom_ * zoomStep, selectedLayerPivot());
}

void CanvasView::zoomOut()
{
    zoomTo(zoom_ / zoomStep, selectedLayerPivot());
}

void CanvasView::fit(FitTo what)
{
    const EditorState& state = context_.editor.state();
    const TweenScene scene = state.scene();
    if (!(scene.width > 0 && scene.height > 0) || width() < 1 || height() < 1) return;
    CGRect box = what == FitTo::selection ? unionAABBOfSelected(scene, state.selectedLayerIDs, state.playhead) : CGRect::null();
    if (box.isNull()) box = {{0, 0}, {scene.width, scene.height}};
    const double inset = palette_ ? paletteInset : 0;
    const double usableWidth = std::max(1.0, width() - inset), usableHeight = std::max(1.0, height() * 1.0);
    const double base = std::min(width() / scene.width, height() / scene.height);
    const double level = std::min(usableWidth / box.size.width, usableHeight / box.size.height) * fitMargin / base;
    zoom_ = std::clamp(level, smallestZoom, greatestZoom);
    const double scale = base * zoom_;
    pan_ = {inset * 0.5 + (scene.width * 0.5 - box.midX()) * scale, (scene.height * 0.5 - box.midY()) * scale};
    flashZoomHUD();
    context_.changed();
}

CGPoint CanvasView::visibleCenter() const
{
    // The palette covers the left edge: in a scene that was fitted this is the scene's own centre.
    return sceneFit().sceneFromView({(width() + (palette_ ? paletteInset : 0)) * 0.5, height() * 0.5});
}

void CanvasView::flashZoomHUD()
{
    zoomHUDTimer_.start(zoomHUDTime);
    update();
}

void CanvasView::setPan(CGPoint pan)
{
    pan_ = pan;
    placeDragMode();
    update();
}

void CanvasView::setFloatingPalette(QWidget* palette)
{
    palette_ = palette;
    placePalette();
}

void CanvasView::placePalette()
{
    if (palette_) palette_->move(paletteLeft, std::max(paletteLeft, (height() - palette_->height()) / 2));
}

void CanvasView::resizeEvent(QResizeEvent*)
{
    placePalette();
    placeDragMode();
    update();
}

void CanvasView::wheelEvent(QWheelEvent* event)
{
    if (context_.editor.isDraggingCanvas()) return; // What is dragged keeps the view that it was pressed in.
    if (event->modifiers() & Qt::ControlModifier) {
        zoomTo(zoom_ * std::exp2(event->angleDelta().y() / 480.0), asPoint(event->position()));
        return;
    }
    const QPointF way = event->pixelDelta().isNull() ? QPointF(event->angleDelta()) / 2 : QPointF(event->pixelDelta());
    setPan({pan_.x + way.x(), pan_.y + way.y()});
}

InteractionOverlay::Pointer CanvasView::pointerAt(QPointF position, Qt::KeyboardModifiers modifiers) const
{
    return {asPoint(position), sceneFit(), asModifiers(modifiers)};
}

void CanvasView::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    if (event->button() == Qt::MiddleButton || (event->button() == Qt::LeftButton && isSpaceDown_)) {
        panningFrom_ = event->position();
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    setPan(context_.editor.pressCanvas(pointerAt(event->position(), event->modifiers()), pan_));
    context_.changed();
}

void CanvasView::mouseMoveEvent(QMouseEvent* event)
{
    if (panningFrom_) {
        const QPointF way = event->position() - *std::exchange(panningFrom_, event->position());
        return setPan({pan_.x + way.x(), pan_.y + way.y()});
    }
    const InteractionOverlay::Pointer pointer = pointerAt(event->position(), event->modifiers());
    if (context_.editor.isDraggingCanvas()) {
        setPan(context_.editor.dragCanvas(pointer));
        return context_.changed();
    }
    setCursor(isSpaceDown_ ? Qt::OpenHandCursor : cursorShape(context_.editor.canvasCursor(pointer)));
}

void CanvasView::mouseReleaseEvent(QMouseEvent* event)
{
    if (panningFrom_) {
        panningFrom_.reset();
        setCursor(Qt::ArrowCursor);
        return;
    }
    if (event->button() != Qt::LeftButton || !context_.editor.isDraggingCanvas()) return;
    setPan(context_.editor.dragCanvas(pointerAt(event->position(), event->modifiers())));
    setPan(context_.editor.releaseCanvas(asModifiers(event->modifiers())));
    context_.changed();
}

void CanvasView::dragEnterEvent(QDragEnterEvent* event)
{
    if (LayerPaletteView::dragged(*event->mimeData())) return event->acceptProposedAction();
    if (!event->mimeData()->hasUrls() || !dropFiles) return;
    event->setDropAction(Qt::CopyAction); // The files stay where they are.
    event->accept();
}

void CanvasView::dropEvent(QDropEvent* event)
{
    const CGPoint there = sceneFit().sceneFromView(asPoint(event->position()));
    const LayerPaletteCommands::Item* item = LayerPaletteView::dragged(*event->mimeData());
    if (!item && event->mimeData()->hasUrls() && dropFiles) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return dropFiles(localPaths(event->mimeData()->urls()), there);
    }
    if (!item) return;
    event->acceptProposedAction();
    if (item->needsFile) {
        if (dropKind) dropKind(item->kind, there);
        return;
    }
    context_.editor.perform(LayerPaletteCommands::add(context_.editor.scene(), *item, there, context_.editor.defaults()));
    context_.changed();
}

void CanvasView::pinch(const QNativeGestureEvent& gesture)
{
    if (gesture.gestureType() == Qt::BeginNativeGesture) pinchPivot_ = selectedLayerPivot();
    if (gesture.gestureType() != Qt::ZoomNativeGesture) return;
    zoomTo(zoom_ * (1 + gesture.value()), pinchPivot_ ? pinchPivot_ : selectedLayerPivot());
}

bool CanvasView::event(QEvent* event)
{
    if (event->type() == QEvent::NativeGesture) {
        pinch(*static_cast<QNativeGestureEvent*>(event));
        return true;
    }
    // While something is dragged Escape takes it back, before it is the key of a command.
    if (event->type() == QEvent::ShortcutOverride && context_.editor.isDraggingCanvas() &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void CanvasView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && context_.editor.isDraggingCanvas()) {
        setPan(context_.editor.cancelCanvasPress());
        return context_.changed();
    }
    if (event->key() == Qt::Key_Space && underMouse() && (QGuiApplication::mouseButtons() & Qt::LeftButton)) isSpaceDown_ = true;
    QWidget::keyPressEvent(event);
}

void CanvasView::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space) isSpaceDown_ = false;
    QWidget::keyReleaseEvent(event);
}

void CanvasView::paintOverlay(QPainter& painter, const SceneFit& fit) const
{
    const Theme& t = theme();
    const OverlayItems items = context_.editor.canvasOverlay(fit);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    const QPen outline(t.selectionOutline, frameWidth);
    QPen dashed = outline;
    dashed.setDashPattern({4 / frameWidth, 3 / frameWidth});

    painter.setPen(dashed);
    for (const CGRect& group : items.groupOutlines) painter.drawRect(asQRect(group));
    painter.setPen(outline);
    if (items.selectionBox) painter.drawRect(asQRect(*items.selectionBox));
    if (items.frame) paintFrame(painter, *items.frame);
    if (items.waitGhost) {
        painter.setPen(QPen(t.wait, frameWidth));
        painter.setBrush(QBrush(t.wait, Qt::BDiagPattern));
        painter.drawRect(asQRect(*items.waitGhost));
        painter.setBrush(Qt::NoBrush);
    }
    if (items.marquee) {
        painter.setPen(QPen(t.selectionOutline, 1));
        painter.setBrush(t.marqueeFill);
        painter.drawRect(asQRect(*items.marquee));
        painter.setBrush(Qt::NoBrush);
    }
    if (items.frame && items.frame->linePoints.empty()) paintSizeBadge(painter, *items.frame);
    for (const OverlayItems::Guide& guide : items.guides) paintGuide(painter, guide, size());
    for (const OverlayItems::Pill& pill : items.pills)
        paintPill(painter, QString::fromUtf8(pill.text.data(), static_cast<qsizetype>(pill.text.size())),
                  QPointF(pill.anchor.x, pill.anchor.y - 28), t.overlay, t.text);
}

/// The size of the one selected layer, below its frame.
void CanvasView::paintSizeBadge(QPainter& painter, const OverlayItems::Frame& frame) const
{
    const EditorState& state = context_.editor.state();
    if (state.selectedLayerIDs.size() != 1) return;
    const std::optional<PlacedLayer> placed = placedLayer(state.scene(), *state.selectedLayerIDs.begin(), state.playhead);
    if (!placed) return;
    const CGSize size = placed->layer.size;
    const QString words = QString("%1 × %2").arg(std::round(size.width)).arg(std::round(size.height));
    double left = frame.corners[0].x, right = left, bottom = frame.corners[0].y;
    for (const CGPoint& corner : frame.corners) {
        left = std::min(left, corner.x);
        right = std::max(right, corner.x);
        bottom = std::max(bottom, corner.y);
    }
    painter.setFont(textFont(TextStyle::caption));
    const double wide = QFontMetricsF(painter.font()).horizontalAdvance(words) + 12;
    const QRectF badge(std::round((left + right - wide) / 2), std::round(bottom + badgeGap), wide, badgeHeight);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().accent);
    painter.drawRoundedRect(badge, 4, 4);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(theme().textOnAccent);
    painter.drawText(badge, Qt::AlignCenter, words);
}

void CanvasView::paintZoomHUD(QPainter& painter) const
{
    if (!zoomHUDTimer_.isActive()) return;
    const QString words = QString("%1%").arg(static_cast<int>(zoom_ * 100));
    const int pillWidth = QFontMetrics(textFont(TextStyle::value)).horizontalAdvance(words) + 24;
    paintPill(painter, words, QPointF(width() - pillWidth - 12, 12), theme().overlay, theme().text);
}

const QImage* CanvasView::picture()
{
    const double ratio = devicePixelRatioF();
    const int w = static_cast<int>(std::lround(width() * ratio)), h = static_cast<int>(std::lround(height() * ratio));
    if (!PixelBuffer::isPossible(w, h)) return nullptr;
    const EditorState& state = context_.editor.state();
    const SceneFit fit = sceneFit();
    Shown now{.scene = state.scene(),
              .playhead = state.playhead,
              .placement = {fit.scale, fit.originX, fit.originY, {width() * 1.0, height() * 1.0}, ratio},
              .isPlaying = context_.playback.isPlaying(),
              .hidesOffCanvas = context_.editor.defaults().boolean(DefaultsKey::hideOffCanvas)};
    if (shown_ == now) return &image_;

    if (!pixels_ || pixels_->width() != w || pixels_->height() != h) {
        pixels_ = std::make_unique<PixelBuffer>(w, h);
        // The picture covers the canvas, and is copied where it would else be blended.
        image_ = QImage(pixels_->row(0), w, h, static_cast<qsizetype>(pixels_->bytesPerRow()), QImage::Format_RGB32);
        image_.setDevicePixelRatio(ratio);
    }
    const CanvasRenderer::Options options{
        .offCanvas = now.hidesOffCanvas ? CanvasRenderer::OffCanvas::hidden : CanvasRenderer::OffCanvas::dimmed,
        .scenePlaying = now.isPlaying,
        .now = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(),
        .backdrop = asRasterColor(now.hidesOffCanvas ? theme().backdrop : underVeil(theme().backdrop)),
        .outline = asRasterColor(theme().text),
        .videos = &videos_};
    const std::unique_ptr<RasterContext> context = makeRasterContext(*pixels_);
    const std::optional<double> next = CanvasRenderer::paint(now.scene, now.playhead, now.placement, options, *context);
    shown_ = std::move(now);
    if (next) nextPicture_.start(std::chrono::milliseconds(std::max<std::int64_t>(10, std::llround(*next * 1000))));
    return &image_;
}

void CanvasView::paintAnew()
{
    shown_.reset();
    update();
}

void CanvasView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (const QImage* image = picture())
        painter.drawImage(QPointF(0, 0), *image);
    else
        painter.fillRect(rect(), theme().backdrop);
    const TweenScene scene = context_.editor.scene();
    if (scene.width > 0 && scene.height > 0) paintOverlay(painter, sceneFit());
    paintZoomHUD(painter);
}

} // namespace larkspool
