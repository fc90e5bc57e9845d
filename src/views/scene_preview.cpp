#include "views/scene_preview.h"

#include "canvas/scene_fit.h"
#include "evaluation/interpolation.h"
#include "platform/pixel_buffer.h"
#include "rendering/live_canvas.h"
#include "views/picture.h"
#include "views/theme.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr double cornerRadius = 6, margin = 8;

RasterColor asRasterColor(const QColor& color)
{
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

/// The scene in the middle of a view.
CanvasRenderer::Placement placement(CGSize scene, CGSize view, double pixelsPerPoint)
{
    const CGSize room{view.width - 2 * margin, view.height - 2 * margin};
    const double scale = std::min(room.width / scene.width, room.height / scene.height);
    return {.scale = scale,
            .originX = (view.width - scene.width * scale) / 2,
            .originY = (view.height - scene.height * scale) / 2,
            .viewSize = view,
            .pixelsPerPoint = pixelsPerPoint};
}

} // namespace

ScenePreview::ScenePreview(Source source, QWidget* parent) : QWidget(parent), source_(std::move(source))
{
    setAccessibleName("Preview");
}

ScenePreview::~ScenePreview() = default;

void ScenePreview::changed()
{
    isStale_ = true;
    update();
}

void ScenePreview::resizeEvent(QResizeEvent*)
{
    changed();
}

const QImage& ScenePreview::picture()
{
    if (std::exchange(isStale_, false)) draw();
    return picture_;
}

void ScenePreview::draw()
{
    const double ratio = devicePixelRatioF();
    const int w = static_cast<int>(std::lround(width() * ratio)), h = static_cast<int>(std::lround(height() * ratio));
    picture_ = {};
    const TweenScene scene = source_.scene();
    const bool hasRoom = width() > 2 * margin && height() > 2 * margin && PixelBuffer::isPossible(w, h);
    if (!hasRoom || !(scene.width > 0) || !(scene.height > 0)) return;
    if (!pixels_ || pixels_->width() != w || pixels_->height() != h) pixels_ = std::make_unique<PixelBuffer>(w, h);
    const CanvasRenderer::Options options{
        .offCanvas = CanvasRenderer::OffCanvas::hidden,
        .now = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(),
        .backdrop = asRasterColor(theme().backdrop),
        .outline = asRasterColor(theme().text),
        .videos = source_.videos,
        .images = &images_};
    // What is kept of the layers' evaluation is of the document's, which have the same ids.
    Interpolation::invalidate();
    const std::unique_ptr<RasterContext> context = makeRasterContext(*pixels_);
    CanvasRenderer::paint(scene, source_.playhead, placement(scene.size(), {width() * 1.0, height() * 1.0}, ratio), options,
                          *context);
    Interpolation::invalidate();
    picture_ = seenInPlace(*pixels_);
    picture_.setDevicePixelRatio(ratio);
}

void ScenePreview::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath corners;
    corners.addRoundedRect(rect(), cornerRadius, cornerRadius);
    painter.fillPath(corners, theme().backdrop);
    painter.setClipPath(corners);
    painter.drawImage(QPointF(0, 0), picture());
}

} // namespace larkspool
