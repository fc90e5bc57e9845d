#pragma once

#include "document/tween_scene.h"
#include "rendering/canvas_pictures.h"
#include "views/main_thread.h"

#include <QImage>
#include <QWidget>

#include <functional>
#include <memory>

namespace larkspool {

class PixelBuffer;

/// A scene at a moment, as the canvas shows it, fitted into the widget. It never waits for pictures that are not decoded yet; they
/// are drawn when they are.
class ScenePreview final : public QWidget {
public:
    /// What is to be seen. It is asked for when it is painted, once after each `changed`, on the main thread.
    struct Source {
        std::function<TweenScene()> scene;
        double playhead = 0;             ///< Scene seconds.
        VideoPictures* videos = nullptr; ///< Outlives this. Without any, videos show their strokes alone.
    };

    ScenePreview(Source source, QWidget* parent);
    ~ScenePreview() override;

    void changed();

    /// How it is painted now.
    const QImage& picture();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void draw();

    Source source_;
    std::unique_ptr<PixelBuffer> pixels_;
    QImage picture_;
    bool isStale_ = true;
    EventLoop eventLoop_;
    CanvasPictures images_{eventLoop_, [this] { changed(); }};
};

} // namespace larkspool
