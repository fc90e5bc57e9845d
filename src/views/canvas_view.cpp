#include "views/canvas_view.h"

#include "canvas/canvas_geometry.h"
#include "views/canvas_overlay.h"
#include "views/drag_mode_view.h"
#include "views/input.h"
#include "views/layer_palette_view.h"
#include "views/media_panels.h"
#include "views/theme.h"

#include <QDragEnterEvent>
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
constexpr double leastMagnification = 0.01; ///< Of a pinch, from 1.
constexpr std::chrono::milliseconds zoomHUDTime{1500}, zoomHUDFadeTime{200};
constexpr int zoomHUDInset = 12;

RasterColor asRasterColor(const QColor& color)
{
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

QPointF asQPoint(CGPoint point)
{
    return {point.x, point.y};
}

bool isModifier(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt;
}

Qt::CursorShape cursorShape(CanvasCursor cursor)
{
    switch (cursor) {
    case CanvasCursor::arrow: return Qt::ArrowCursor;
    case CanvasCursor::pointer: return Qt::PointingHandCursor;
    case CanvasCursor::openHand: return Qt::OpenHandCursor;
    case CanvasCursor::closedHand: return Qt::ClosedHandCursor;
    case CanvasCursor::copy: return Qt::DragCopyCursor;
    case CanvasCursor::resizeNWSE: return Qt::SizeFDiagCursor;
    case CanvasCursor::resizeNS: return Qt::SizeVerCursor;
    case CanvasCursor::resizeNESW: return Qt::SizeBDiagCursor;
    case CanvasCursor::resizeEW: return Qt::SizeHorCursor;
    }
    return Qt::ArrowCursor;
}

} // namespace

CanvasView::CanvasView(EditorContext context, QWidget* parent)
    : QWidget(parent), context_(std::move(context)), videos_(eventLoop_, [this] { paintAnew(); }),
      pictures_(eventLoop_, [this] { paintAnew(); })
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
    zoomHUDFade_.setDuration(zoomHUDFadeTime.count());
    zoomHUDFade_.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&zoomHUDTimer_, &QTimer::timeout, this, [this] { fadeZoomHUD(0); });
    connect(&zoomHUDFade_, &QVariantAnimation::valueChanged, this, [this] { update(); });
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
    fadeZoomHUD(1);
    update();
}

void CanvasView::fadeZoomHUD(double to)
{
    if (zoomHUDFade_.endValue() == to) return;
    const QVariant from = zoomHUDFade_.currentValue().isValid() ? zoomHUDFade_.currentValue() : QVariant(0.0);
    zoomHUDFade_.stop();
    zoomHUDFade_.setStartValue(from);
    zoomHUDFade_.setEndValue(to);
    zoomHUDFade_.start();
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

void CanvasView::showCursor(Qt::KeyboardModifiers modifiers)
{
    if (panning_) return setCursor(Qt::ClosedHandCursor);
    if (space_ != Space::up && !context_.editor.isDraggingCanvas()) return setCursor(Qt::OpenHandCursor);
    setCursor(cursorShape(context_.editor.canvasCursor(pointerAt(pointer_, modifiers))));
}

void CanvasView::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    pointer_ = event->position();
    if (panning_ || context_.editor.isDraggingCanvas()) return; // One button at a time.
    if (event->button() == Qt::MiddleButton || (event->button() == Qt::LeftButton && space_ != Space::up)) {
        if (space_ != Space::up) space_ = Space::hasPanned;
        panning_ = Panning{event->position(), event->button()};
        return showCursor(event->modifiers());
    }
    if (event->button() != Qt::LeftButton) return;
    setPan(context_.editor.pressCanvas(pointerAt(event->position(), event->modifiers()), pan_));
    showCursor(event->modifiers());
    context_.changed();
}

void CanvasView::mouseMoveEvent(QMouseEvent* event)
{
    pointer_ = event->position();
    if (panning_) {
        const QPointF way = event->position() - std::exchange(panning_->from, event->position());
        return setPan({pan_.x + way.x(), pan_.y + way.y()});
    }
    if (context_.editor.isDraggingCanvas()) return drag(event->modifiers());
    showCursor(event->modifiers());
}

void CanvasView::drag(Qt::KeyboardModifiers modifiers)
{
    setPan(context_.editor.dragCanvas(pointerAt(pointer_, modifiers)));
    context_.changed();
}

void CanvasView::mouseReleaseEvent(QMouseEvent* event)
{
    pointer_ = event->position();
    if (panning_) {
        if (event->button() != panning_->button) return;
        panning_.reset();
        return showCursor(event->modifiers());
    }
    if (event->button() != Qt::LeftButton || !context_.editor.isDraggingCanvas()) return;
    setPan(context_.editor.dragCanvas(pointerAt(event->position(), event->modifiers())));
    setPan(context_.editor.releaseCanvas(asModifiers(event->modifiers())));
    context_.changed();
    showCursor(event->modifiers());
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
    switch (gesture.gestureType()) {
    case Qt::BeginNativeGesture:
    case Qt::EndNativeGesture: pinch_.reset(); return;
    case Qt::ZoomNativeGesture: break;
    default: return;
    }
    if (context_.editor.isDraggingCanvas()) return; // What is dragged keeps the view that it was pressed in.
    const bool goesOn = pinch_ && pinch_->zoom == zoom_ && pinch_->pan == pan_;
    if (!goesOn)
        pinch_ = Pinch{.zoomAtStart = zoom_, .panAtStart = pan_, .zoom = zoom_, .pan = pan_, .pivot = selectedLayerPivot()};
    pinch_->magnification *= 1 + gesture.value();
    if (!pinch_->isActive && std::abs(pinch_->magnification - 1) < leastMagnification) return;
    pinch_->isActive = true;
    // From where it began, so that fingers that go beyond a limit and back find everything as it was.
    pan_ = pinch_->panAtStart;
    zoom_ = pinch_->zoomAtStart;
    zoomTo(zoom_ * pinch_->magnification, pinch_->pivot);
    pinch_->zoom = zoom_;
    pinch_->pan = pan_;
}

bool CanvasView::event(QEvent* event)
{
    if (event->type() == QEvent::NativeGesture) {
        pinch(*static_cast<QNativeGestureEvent*>(event));
        return true;
    }
    if (event->type() == QEvent::ShortcutOverride && takesKey(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

/// Whether a key is the canvas's, before it is that of a command.
bool CanvasView::takesKey(const QKeyEvent& key) const
{
    // While something is dragged Escape takes it back.
    if (context_.editor.isDraggingCanvas()) return key.key() == Qt::Key_Escape;
    // Over the canvas Space may be held to move it. It plays when it is let go, if it was not.
    return key.key() == Qt::Key_Space && key.modifiers() == Qt::NoModifier && (space_ != Space::up || underMouse());
}

void CanvasView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && context_.editor.isDraggingCanvas()) {
        setPan(context_.editor.cancelCanvasPress());
        showCursor(event->modifiers());
        return context_.changed();
    }
    if (takesKey(*event)) {
        if (space_ == Space::up) space_ = panning_ ? Space::hasPanned : Space::down;
        return showCursor(event->modifiers());
    }
    modifiersMayHaveChanged(*event);
    QWidget::keyPressEvent(event);
}

void CanvasView::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space && space_ != Space::up && !event->isAutoRepeat()) {
        const Space was = std::exchange(space_, Space::up);
        showCursor(event->modifiers());
        if (was == Space::down) context_.perform(Command::togglePlay);
        return;
    }
    modifiersMayHaveChanged(*event);
    QWidget::keyReleaseEvent(event);
}

/// A modifier counts at once, not only when the pointer goes on.
void CanvasView::modifiersMayHaveChanged(const QKeyEvent& key)
{
    if (!isModifier(key.key()) || key.isAutoRepeat()) return;
    if (context_.editor.isDraggingCanvas()) drag(key.modifiers());
    else if (underMouse()) showCursor(key.modifiers());
}

void CanvasView::focusOutEvent(QFocusEvent* event)
{
    space_ = Space::up; // Its release goes elsewhere.
    QWidget::focusOutEvent(event);
}

void CanvasView::paintOverlay(QPainter& painter, const SceneFit& fit) const
{
    const double clearLeft = palette_ && palette_->isVisible() ? palette_->geometry().right() + 1 : 0;
    paintOverlayItems(painter, context_.editor.canvasOverlay(fit), sizeOfSelected(),
                      {.view = QRectF(rect()), .clearLeft = clearLeft, .pixelRatio = devicePixelRatioF()});
}

/// The size of the one selected layer, in words.
QString CanvasView::sizeOfSelected() const
{
    const EditorState& state = context_.editor.state();
    if (state.selectedLayerIDs.size() != 1) return {};
    const std::optional<PlacedLayer> placed = placedLayer(state.scene(), *state.selectedLayerIDs.begin(), state.playhead);
    if (!placed) return {};
    const CGSize size = placed->layer.size;
    return QString("%1 × %2").arg(std::round(size.width)).arg(std::round(size.height));
}

void CanvasView::paintZoomHUD(QPainter& painter) const
{
    const double opacity = zoomHUDFade_.currentValue().toDouble();
    if (!(opacity > 0)) return;
    const QString words = QString("%1%").arg(static_cast<int>(zoom_ * 100));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(opacity);
    paintPill(painter, words, QPointF(width() - pillSize(words).width() - zoomHUDInset, zoomHUDInset));
    painter.setOpacity(1);
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
              .documentFolder = context_.documentFolder(),
              .isPlaying = context_.playback.isPlaying(),
              .hidesOffCanvas = context_.editor.defaults().boolean(DefaultsKey::hideOffCanvas)};
    if (shown_ == now) return &image_;

    if (!pixels_ || pixels_->width() != w || pixels_->height() != h) {
        pixels_ = std::make_unique<PixelBuffer>(w, h);
        // The picture covers the canvas, and is copied where it would else be blended.
        image_ = QImage(pixels_->row(0), w, h, static_cast<qsizetype>(pixels_->bytesPerRow()), QImage::Format_RGB32);
        image_.setDevicePixelRatio(ratio);
    }
    videos_.setDocumentFolder(now.documentFolder);
    const CanvasRenderer::Options options{
        .offCanvas = now.hidesOffCanvas ? CanvasRenderer::OffCanvas::hidden : CanvasRenderer::OffCanvas::dimmed,
        .scenePlaying = now.isPlaying,
        .now = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(),
        .backdrop = asRasterColor(theme().backdrop),
        .outline = asRasterColor(theme().text),
        .videos = &videos_,
        .images = &pictures_};
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
