#pragma once

#include "document/tween_scene.h"
#include "evaluation/evaluated_frame.h"
#include "platform/pixel_buffer.h"
#include "platform/raster_context.h"

#include <memory>

namespace larkspool {

/// Draws scenes, and writes films of them (see export/exporter.h).
namespace Exporter {

/// Paints one frame of `scene` at `time` (scene seconds) into a raster of `viewSize` pixels: the scene is fitted into it, centred,
/// between black bars. The context's transform must map user space to that raster, and the context comes back as it was given.
void drawScene(const TweenScene& scene, double time, RasterContext& context, CGSize viewSize);

/// Paints a frame that was evaluated before. `scene` is the one it was evaluated from.
void drawFrame(const EvaluatedFrame& frame, RasterContext& context, CGSize viewSize);

/// Paints one prepared layer and its subtree in the space of its parent.
///
/// `layer` has been through all steps of evaluation. `originOffset` is the absolute origin of its parent. Its opacity is
/// multiplied by `parentOpacity`. Without a scene, no hover override applies to its descendants and no rings are drawn.
void drawLayer(const Layer& layer, RasterContext& context, double parentOpacity, CGPoint originOffset, const TweenScene* scene,
               bool skipOwnShadow, double time);

/// Paints a viewport of the frame, its rings and its glow, in the space of the scene.
void drawPIPChild(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, RasterContext& context);

/// The size of a raster in its pixels.
inline CGSize sizeOf(const PixelBuffer& picture)
{
    return {static_cast<double>(picture.width()), static_cast<double>(picture.height())};
}

/// A picture of `scene` at `time`, of `size` truncated to whole pixels. Null if either side is below 1 or too large.
std::unique_ptr<PixelBuffer> renderSceneToImage(const TweenScene& scene, double time, CGSize size);

} // namespace Exporter

} // namespace larkspool
