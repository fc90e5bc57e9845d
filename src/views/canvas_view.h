#pragma once

#include "canvas/scene_fit.h"
#include "platform/pixel_buffer.h"
#include "rendering/canvas_pictures.h"
#include "rendering/canvas_videos.h"
#include "rendering/live_canvas.h"
#include "views/editor_context.h"
#include "views/main_thread.h"

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QNativeGestureEvent;

namespace larkspool {

class DragModeView;

/// The canvas: the active scene at the playhead, zoomed and moved.
class CanvasView final : public QWidget {
public:
    CanvasView(EditorContext context, QWidget* parent);

    /// Shows the editor's state.
    void refresh();

    /// How the scene lies in the view.
    SceneFit sceneFit() const;
    double zoom() const { return zoom_; }
    /// Sets the zoom, held to 0.1...10, so that what lies under `anchor` (view points; absent for the middle) stays there.
    void zoomTo(double level, std::optional<CGPoint> anchor = {});
    void zoomIn();
    void zoomOut();
    void resetZoom() { zoomTo(1); }
    /// Fits the selected layers, or the scene if none is or if the selection is to be ignored.
    enum class FitTo { selection, scene };
    void fit(FitTo what);
    /// A panel that floats at the left of the canvas, which makes room for it; null for none.
    void setFloatingPalette(QWidget* palette);
    /// The middle of what is seen, in scene coordinates.
    CGPoint visibleCenter() const;
    /// The pictures of the scene's videos, for another picture of the same layers.
    VideoPictures* videos() { return &videos_; }

    /// @name What is dropped on the canvas and comes from files, at a point of the scene. Either may be absent.
    /// @{
    std::function<void(std::vector<std::string> paths, CGPoint at)> dropFiles; ///< Without paths where none is on this computer.
    std::function<void(Layer::Kind kind, CGPoint at)> dropKind;                ///< Of a palette's item that needs a file.
    /// @}

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    InteractionOverlay::Pointer pointerAt(QPointF position, Qt::KeyboardModifiers modifiers) const;
    void setPan(CGPoint pan);
    void flashZoomHUD();
    void fadeZoomHUD(double to);
    void showCursor(Qt::KeyboardModifiers modifiers);
    void drag(Qt::KeyboardModifiers modifiers);
    bool takesKey(const QKeyEvent& key) const;
    void modifiersMayHaveChanged(const QKeyEvent& key);
    QString sizeOfSelected() const;
    /// Of the one selected layer, in view points. Nothing for none or several.
    std::optional<CGPoint> selectedLayerPivot() const;
    void placePalette();
    void placeDragMode();
    void pinch(const QNativeGestureEvent& gesture);
    void paintOverlay(QPainter& painter, const SceneFit& fit) const;
    void paintZoomHUD(QPainter& painter) const;
    const QImage* picture();
    /// The picture is another, though the scene is not: a video's picture has come, or a spinner turns.
    void paintAnew();

    EditorContext context_;
    double zoom_ = 1;
    CGPoint pan_{};
    QWidget* palette_ = nullptr;
    DragModeView* dragMode_ = nullptr;
    struct Pinch {
        double zoomAtStart = 1;
        CGPoint panAtStart{};
        double zoom = 1; ///< As it left the canvas. One that is moved otherwise is pinched anew.
        CGPoint pan{};
        std::optional<CGPoint> pivot{}; ///< View points.
        double magnification = 1;       ///< Since the start.
        bool isActive = false;          ///< Whether the fingers have gone far enough.
    };
    std::optional<Pinch> pinch_; ///< While fingers pinch.
    /// While the middle button, or Space with the left one, moves the canvas.
    struct Panning {
        QPointF from;
        Qt::MouseButton button;
    };
    std::optional<Panning> panning_;
    enum class Space { up, down, hasPanned };
    Space space_ = Space::up;
    QPointF pointer_; ///< Where the pointer was last.
    QTimer zoomHUDTimer_; ///< Runs while the zoom is shown.
    QVariantAnimation zoomHUDFade_; ///< Of its opacity.
    std::unique_ptr<PixelBuffer> pixels_;
    struct Shown {
        TweenScene scene;
        double playhead = 0;
        CanvasRenderer::Placement placement;
        std::string documentFolder;
        bool isPlaying = false;
        bool hidesOffCanvas = false;
        bool operator==(const Shown&) const = default;
    };
    std::optional<Shown> shown_;
    EventLoop eventLoop_;
    CanvasVideos videos_;
    CanvasPictures pictures_;
    QImage image_;
    QTimer nextPicture_; ///< Runs until the picture changes by itself.
};

} // namespace larkspool
