#include "export/film_progress.h"

#include <utility>

namespace larkspool {

namespace {

constexpr std::int64_t previewInterval = 6;

} // namespace

void FilmProgress::frameFinished()
{
    const std::scoped_lock lock(mutex_);
    ++finishedFrames_;
    if (options_.progress) options_.progress(static_cast<double>(finishedFrames_) / static_cast<double>(grid_.frames()));
}

void FilmProgress::frameDrawn(std::int64_t chunk, std::int64_t frame, const PixelBuffer& picture)
{
    if (!options_.previewFrame || frame % previewInterval != 0) return;
    bool isThereRoom = false;
    {
        const std::scoped_lock lock(mutex_);
        if (chunk == dueChunk_) return options_.previewFrame(picture);
        if (!picture_) picture_ = std::make_unique<PixelBuffer>(picture.width(), picture.height());
        isThereRoom = keptBytes_ < room_;
    }
    std::unique_ptr<const PackedPicture> packed;
    if (isThereRoom) packed = std::make_unique<const PackedPicture>(picture); // Which takes a moment, so others are not kept waiting for it.

    const std::scoped_lock lock(mutex_);
    if (chunk == dueChunk_) return options_.previewFrame(picture);
    if (packed && packed->byteSize() > room_ - keptBytes_) packed.reset();
    if (packed) keptBytes_ += packed->byteSize();
    kept_[chunk].push_back({frame, std::move(packed)});
}

void FilmProgress::chunkDrawn(std::int64_t chunk)
{
    const std::scoped_lock lock(mutex_);
    drawnChunks_.insert(chunk);
    while (drawnChunks_.erase(dueChunk_) > 0) showKept(++dueChunk_);
}

void FilmProgress::showKept(std::int64_t chunk)
{
    auto kept = kept_.extract(chunk);
    if (kept.empty()) return;
    for (const Kept& one : kept.mapped()) {
        if (isCancelled()) return;
        if (one.picture) {
            one.picture->unpack(*picture_);
            keptBytes_ -= one.picture->byteSize();
        } else {
            repaint(one.frame);
        }
        options_.previewFrame(*picture_);
    }
}

void FilmProgress::repaint(std::int64_t frame)
{
    if (!frames_) frames_ = makeFrames_();
    frames_->forget();
    frames_->advance(frame);
    frames_->paint(*picture_);
}

} // namespace larkspool
