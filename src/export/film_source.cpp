#include "export/film_source.h"

#include "export/motion_blur.h"
#include "export/transitions.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace larkspool::Exporter {

namespace {

void paintBlack(PixelBuffer& picture)
{
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    context->setFillColor({0, 0, 0, 1});
    context->fillRect({{0, 0}, sizeOf(picture)});
}

class SceneSource final : public FilmSource {
public:
    explicit SceneSource(const TweenScene& scene) : scene_(scene) {}

    bool hasMotion(double time, std::int64_t fps) const override { return sceneHasMotion(scene_, time, fps); }
    std::optional<EvaluatedFrame> frameAt(double time) const override { return evaluateFrame(scene_, time); }
    void draw(double time, PixelBuffer& picture) override
    {
        drawScene(scene_, time, *makeRasterContext(picture), sizeOf(picture));
    }

private:
    const TweenScene& scene_;
};

class ScenesSource final : public FilmSource {
public:
    ScenesSource(const Array<TweenScene>& scenes, std::vector<ExportSegment> segments) : scenes_(scenes), segments_(std::move(segments)) {}

    bool hasMotion(double time, std::int64_t fps) const override
    {
        const auto* segment = std::get_if<SceneSegment>(segmentAt(segments_, time));
        if (!segment || segment->index >= scenes_.size()) return true; // Between two scenes everything moves.
        const TweenScene& scene = scenes_[segment->index];
        return sceneHasMotion(scene, localTime(*segment, scene, time), fps);
    }

    std::optional<EvaluatedFrame> frameAt(double time) const override
    {
        const ExportSegment* segment = segmentAt(segments_, time);
        if (const auto* shown = std::get_if<SceneSegment>(segment)) {
            if (shown->index >= scenes_.size()) return std::nullopt;
            const TweenScene& scene = scenes_[shown->index];
            return evaluateFrame(scene, localTime(*shown, scene, time));
        }
        const auto* transition = std::get_if<TransitionSegment>(segment);
        if (!transition || transition->outIndex + 1 != scenes_.size()) return std::nullopt;
        return evaluateFrame(scenes_.back(), scenes_.back().duration); // It leads nowhere.
    }

    void draw(double time, PixelBuffer& picture) override
    {
        if (const std::optional<EvaluatedFrame> frame = frameAt(time))
            return drawFrame(*frame, *makeRasterContext(picture), sizeOf(picture));
        const auto* transition = std::get_if<TransitionSegment>(segmentAt(segments_, time));
        if (transition && transition->outIndex + 1 < scenes_.size())
            return painterOf(*transition).draw(transitionProgress(*transition, time), picture);
        paintBlack(picture); // There is no scene.
    }

private:
    /// The two scenes of a transition stand still, so that what was made of them serves all of its frames.
    TransitionPainter& painterOf(const TransitionSegment& segment)
    {
        if (!painter_ || painting_ != segment) {
            painter_.emplace(segment.kind, scenes_[segment.outIndex], scenes_[segment.outIndex + 1]);
            painting_ = segment;
        }
        return *painter_;
    }

    const Array<TweenScene>& scenes_;
    std::vector<ExportSegment> segments_;
    TransitionSegment painting_;
    std::optional<TransitionPainter> painter_;
};

/// The least number of all has no positive one to stand for it.
int magnitude(int samples)
{
    return std::abs(std::max(samples, -std::numeric_limits<int>::max()));
}

class SourceFrames final : public FilmFrames {
public:
    SourceFrames(std::unique_ptr<FilmSource> source, double start, std::int64_t fps, int motionBlurSamples)
        : source_(std::move(source)), start_(start), fps_(fps), samples_(magnitude(motionBlurSamples)),
          halfSize_(motionBlurSamples < 0)
    {
    }

    void forget() override { still_.reset(); }

    Next advance(std::int64_t index) override
    {
        time_ = start_ + static_cast<double>(index) / static_cast<double>(fps_);
        blurred_ = samples_ >= 2 && source_->hasMotion(time_, fps_);
        std::optional<EvaluatedFrame> still;
        if (!blurred_) still = source_->frameAt(time_);
        const bool unchanged = still && still_ && !still->movesByItself && *still == *still_;
        still_ = std::move(still);
        return unchanged ? Next::unchanged : Next::drawn;
    }

    PixelRect paint(PixelBuffer& picture) override
    {
        if (still_)
            drawFrame(*still_, *makeRasterContext(picture), sizeOf(picture));
        else if (!blurred_)
            source_->draw(time_, picture);
        else
            blur(picture);
        return {0, 0, picture.width(), picture.height()};
    }

private:
    void blur(PixelBuffer& picture)
    {
        accumulateMotionBlur(picture, fps_, samples_, halfSize_, time_, blurMemory_,
                             [this](double time, PixelBuffer& sample) { source_->draw(time, sample); });
    }

    std::unique_ptr<FilmSource> source_;
    double start_;
    std::int64_t fps_;
    int samples_;
    bool halfSize_;

    BlurMemory blurMemory_;
    double time_ = 0;
    bool blurred_ = false;
    std::optional<EvaluatedFrame> still_; ///< What the last picture shows, if that is one frame alone.
};

} // namespace

std::unique_ptr<FilmSource> makeSceneSource(const TweenScene& scene)
{
    return std::make_unique<SceneSource>(scene);
}

std::unique_ptr<FilmSource> makeScenesSource(const Array<TweenScene>& scenes, std::vector<ExportSegment> segments)
{
    return std::make_unique<ScenesSource>(scenes, std::move(segments));
}

std::unique_ptr<FilmFrames> makeFilmFrames(std::unique_ptr<FilmSource> source, double start, std::int64_t fps, int motionBlurSamples)
{
    return std::make_unique<SourceFrames>(std::move(source), start, fps, motionBlurSamples);
}

} // namespace larkspool::Exporter
