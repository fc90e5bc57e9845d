#include "export/exporter.h"

#include "evaluation/evaluated_frame.h"
#include "export/film.h"

#include <algorithm>

namespace larkspool {

namespace {

using Exporter::FilmFrames;

/// The frames of one scene from a start time on. A frame that shows what the one before did is not painted again.
class SceneFrames final : public FilmFrames {
public:
    SceneFrames(const TweenScene& scene, double start, CGSize viewSize) : scene_(scene), start_(start), viewSize_(viewSize) {}

    Next advance(std::int64_t index) override
    {
        const double time = start_ + static_cast<double>(index) / static_cast<double>(scene_.fps);
        EvaluatedFrame frame = evaluateFrame(scene_, time);
        const bool unchanged = index > 0 && !frame.movesByItself && frame == frame_;
        frame_ = std::move(frame);
        return unchanged ? Next::unchanged : Next::drawn;
    }

    void paint(PixelBuffer& picture) override
    {
        const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
        Exporter::drawFrame(frame_, *context, viewSize_);
    }

private:
    const TweenScene& scene_;
    double start_;
    CGSize viewSize_;
    EvaluatedFrame frame_;
};

} // namespace

void Exporter::exportMP4(const TweenScene& scene, const std::string& path, double startTime,
                         const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& videoAudioClips,
                         const ExportOptions& options)
{
    if (audio || !videoAudioClips.empty()) throw ExportError(ExportError::Kind::writeFailed, "Sound cannot be exported yet");

    const double start = std::max(std::min(startTime, scene.duration), 0.0);
    const double remaining = std::max(scene.duration - start, 0.0);
    const FilmPlan plan = planFilm(scene.size(), options.outputScale, scene.fps, remaining);
    SceneFrames frames(scene, start, {static_cast<double>(plan.width), static_cast<double>(plan.height)});
    writeFilm(plan, frames, path, options);
}

void Exporter::exportMP4(const Array<TweenScene>& scenes, const std::string& path, const std::optional<ExportAudio>& audio,
                         const std::vector<VideoAudioClip>& videoAudioClips, const ExportOptions& options)
{
    if (scenes.empty()) throw ExportError(ExportError::Kind::writeFailed, "No scenes to export");
    if (scenes.size() > 1) throw ExportError(ExportError::Kind::writeFailed, "Scenes cannot be joined yet");
    exportMP4(scenes.front(), path, 0, audio, videoAudioClips, options);
}

} // namespace larkspool
