#include "export/gpu_frames.h"

#include "evaluation/evaluated_frame.h"
#include "export/motion_blur.h"
#include "export/transition_layer.h"
#include "rendering/retained/scene_layer.h"
#include "rendering/video_export_readers.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace larkspool::ExporterGPU {

namespace {

/// What a sample of a frame shows: one scene, or two on the way from one to the other.
struct Sample {
    EvaluatedFrame out;
    std::optional<EvaluatedFrame> in;
};

bool looksTheSame(const EvaluatedFrame& a, const EvaluatedFrame& b)
{
    return a == b && (a.time == b.time || !(a.movesByItself || b.movesByItself));
}

/// Whether two samples are the same picture at one point of one transition, or without any.
bool looksTheSame(const Sample& a, const Sample& b)
{
    if (a.in.has_value() != b.in.has_value()) return false;
    return looksTheSame(a.out, b.out) && (!a.in || looksTheSame(*a.in, *b.in));
}

class GPUFrames final : public Exporter::FilmFrames {
public:
    GPUFrames(const Array<TweenScene>& scenes, const FramePlan& plan, int samples, std::unique_ptr<CompositingRenderer> renderer)
        : scenes_(scenes), plan_(plan), sampleCount_(std::max(samples, 1)), renderer_(std::move(renderer))
    {
    }

    void forget() override
    {
        isForgotten_ = true;
        samples_.clear();
        item_ = {};
        readers_.reset();
        // Kept bitmaps depend on the scales that came before, and the film may not depend on what this worker made before.
        renderer_->forget();
    }

    Next advance(std::int64_t index) override
    {
        const FramePlanItem before = std::exchange(item_, plan_.item(index));
        std::vector<Sample> samplesBefore = std::exchange(samples_, {});
        samples_.reserve(static_cast<std::size_t>(sampleCount_));
        for (int k = 0; k < sampleCount_; ++k) samples_.push_back(sampleAt(k));
        const auto same = [](const Sample& a, const Sample& b) { return looksTheSame(a, b); };
        const bool isSame = before.transition == item_.transition && before.transitionProgress == item_.transitionProgress &&
                            std::ranges::equal(samplesBefore, samples_, same);
        return isSame ? Next::unchanged : Next::drawn;
    }

    PixelRect paint(PixelBuffer& picture) override
    {
        const ReadingVideosWith reading(readers_);
        if (std::exchange(isForgotten_, false)) renderer_->forget(picture);
        if (sampleCount_ == 1) return rendered(tree(samples_.front(), picture), picture);

        // The mean of equal pictures is each of them, so that those behind the first which differ from none before are left out.
        PixelRect changed;
        bool differs = false;
        for (int k = 0; k < sampleCount_; ++k) {
            const Sample& sample = samples_[static_cast<std::size_t>(k)];
            differs = differs || !looksTheSame(samples_.front(), sample);
            if (k > 0 && !differs) continue;
            CompositingNode root = tree(sample, picture);
            root.compositing = CompositingNode::Compositing::group;
            root.opacity = 1.0 / (k + 1);
            changed = unionOf(changed, rendered(root, picture));
        }
        return changed;
    }

private:
    Sample sampleAt(int k) const
    {
        Sample sample{evaluated(item_.outScene, item_.outTime, k), std::nullopt};
        if (item_.inScene && item_.inTime) sample.in = evaluated(*item_.inScene, *item_.inTime, k);
        return sample;
    }

    EvaluatedFrame evaluated(std::size_t scene, double time, int k) const
    {
        // A single sample is that of the time itself, without the rounding of taking half a frame and adding it again.
        if (sampleCount_ == 1) return evaluateFrame(scenes_[scene], std::max(time, 0.0));
        return evaluateFrame(scenes_[scene], Exporter::sampleTime(time, scenes_.front().fps, sampleCount_, k));
    }

    CompositingNode tree(const Sample& sample, const PixelBuffer& picture) const
    {
        CompositingNode out = buildSceneLayer(sample.out, picture.width(), picture.height());
        if (!sample.in) return out;
        const CompositingNode in = buildSceneLayer(*sample.in, picture.width(), picture.height());
        return transitionLayer(item_.transition->kind, item_.transitionProgress, out, in);
    }

    PixelRect rendered(const CompositingNode& root, PixelBuffer& picture)
    {
        PixelRect changed;
        for (const PixelRect& rect : renderer_->render(root, picture)) changed = unionOf(changed, rect);
        return changed;
    }

    const Array<TweenScene>& scenes_;
    const FramePlan& plan_;
    int sampleCount_;
    std::unique_ptr<CompositingRenderer> renderer_;
    VideoExportReaders readers_;

    FramePlanItem item_;
    std::vector<Sample> samples_; ///< Of the item; none before the first and after all was forgotten.
    bool isForgotten_ = true;
};

} // namespace

std::unique_ptr<Exporter::FilmFrames> makeGPUFrames(const Array<TweenScene>& scenes, const FramePlan& plan, int samples,
                                                    std::unique_ptr<CompositingRenderer> renderer)
{
    return std::make_unique<GPUFrames>(scenes, plan, samples, std::move(renderer));
}

} // namespace larkspool::ExporterGPU
