#pragma once

#include "document/tween_scene.h"
#include "evaluation/evaluated_frame.h"
#include "export/film.h"
#include "export/segments.h"

#include <memory>
#include <optional>

namespace larkspool::Exporter {

/// What a film shows at any of its times, in seconds of the film. For one thread at a time.
class FilmSource {
public:
    virtual ~FilmSource() = default;

    /// Whether the picture may change within a frame around `time`, so that its blur is worth working out.
    virtual bool hasMotion(double time, std::int64_t fps) const = 0;

    /// The scene's frame that shows at `time`, if it is one alone; nothing between two scenes.
    virtual std::optional<EvaluatedFrame> frameAt(double time) const = 0;

    /// Paints the picture at `time` over arbitrary content, fitted to the raster.
    virtual void draw(double time, PixelBuffer& picture) = 0;
};

/// One scene, whose times are the film's from `start` on. The scene must outlive the source.
std::unique_ptr<FilmSource> makeSceneSource(const TweenScene& scene);

/// Scenes joined by their transitions. They must outlive the source. A transition that leads to no scene shows the last moment of
/// the one it leaves, and a segment of a scene that is not there is black.
std::unique_ptr<FilmSource> makeScenesSource(const Array<TweenScene>& scenes, std::vector<ExportSegment> segments);

/// The frames of a source from `start` on, 1/fps seconds apart. With 2 or more `motionBlurSamples`, or -2 or less for pictures of
/// half the size, a frame with motion is the mean of as many pictures. A frame that shows what the one before did is not painted.
std::unique_ptr<FilmFrames> makeFilmFrames(std::unique_ptr<FilmSource> source, double start, std::int64_t fps, int motionBlurSamples);

} // namespace larkspool::Exporter
