#pragma once

#include "export/film.h"
#include "export/frame_plan.h"
#include "rendering/retained/compositing_renderer.h"

#include <memory>

namespace larkspool::ExporterGPU {

/// The frames of a plan, composited by `renderer`. Each is the mean of `samples` pictures, at least 1, spread over the frame. The
/// scenes and the plan must outlive the frames.
///
/// Only what differs from the picture before is painted, and a frame that shows what the one before did is not painted.
std::unique_ptr<Exporter::FilmFrames> makeGPUFrames(const Array<TweenScene>& scenes, const FramePlan& plan, int samples,
                                                    std::unique_ptr<CompositingRenderer> renderer);

} // namespace larkspool::ExporterGPU
