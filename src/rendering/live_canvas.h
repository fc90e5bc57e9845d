#pragma once

#include "document/tween_scene.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

#include <optional>

namespace larkspool {

/// Draws what the editor shows of a scene while it is edited. It is the drawing of a film's frame, other only in what
/// DrawingStyle tells, with the zoom of the frame left out and what surrounds the scene in place of black bars.
namespace CanvasRenderer {

/// Where the scene lies in the view: a scene point p is seen at origin + p * scale, in view points.
struct Placement {
    double scale = 1; ///< View points for a unit of the scene.
    double originX = 0;
    double originY = 0;
    CGSize viewSize; ///< View points.
    double pixelsPerPoint = 1; ///< Pixels of the raster for a view point.

    bool operator==(const Placement&) const = default;
};

/// What layers show beyond the scene's frame: it is dimmed under a black veil, or not shown at all. The backdrop is the same.
enum class OffCanvas { dimmed, hidden };

struct Options {
    OffCanvas offCanvas = OffCanvas::dimmed;
    bool scenePlaying = false; ///< Videos then run by a clock of their own, which is kept with the playhead.
    double now = 0; ///< The wall clock in seconds, by which waiting cursors turn and videos run.
    RasterColor backdrop{0.0745, 0.0784, 0.0941, 1}; ///< Of the view around the scene.
    RasterColor outline{1, 1, 1, 1}; ///< Of the scene's frame, which is drawn faintly in it.
    DrawingStyle::EditingFrames editingFrames{.zoom = {0.282, 0.376, 0.875, 1}, .hotspot = {0.886, 0.553, 0.18, 1}};
    VideoPictures* videos = nullptr; ///< Without these, videos show their strokes alone.
    ImagePictures* images = nullptr; ///< Without these, painting waits until each picture is decoded.
};

/// Paints the scene at the playhead (scene seconds) over the whole view. The context's transform must be the identity: a user
/// unit is a pixel of the raster.
///
/// Returns in how many seconds of the wall clock the picture changes by itself, if it does, because a cursor waits.
std::optional<double> paint(const TweenScene& scene, double playhead, const Placement& placement, const Options& options,
                            RasterContext& context);

} // namespace CanvasRenderer

} // namespace larkspool
