#include "export/film_work.h"

#include "export/writing_error.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

using Exporter::ExportError;
using Exporter::WritingError;
using Next = Exporter::FilmFrames::Next;

/// Chunks for each worker that may lie ready, or be under way, from the one on that is due.
constexpr std::int64_t chunksAhead = 2;

/// After a cancel, frames that an encoder holds are worth waiting for so long.
constexpr std::chrono::milliseconds patience{200};

/// Processors that one worker keeps busy, by drawing and by the threads of its encoder, and when its pictures are the mean of several.
constexpr int processorsOfWorker = 4, processorsOfBlurringWorker = 1;

/// Memory of a worker, in bytes for a pixel of the film: its encoder, which looks 40 frames ahead, and its pictures.
constexpr std::int64_t bytesPerPixel = 240;

/// The part of the available memory that workers may take.
constexpr std::int64_t memoryShare = 2;

/// Pictures for each worker, unpacked, that may be kept until they can be shown.
constexpr std::int64_t keptPictures = 8;

std::int64_t pictureBytes(const Exporter::FilmPlan& plan)
{
    return plan.width * plan.height * 4;
}

bool isBlurred(const Exporter::ExportOptions& options)
{
    return options.motionBlurSamples > 1 || options.motionBlurSamples < -1;
}

FilmGrid gridOf(const Exporter::FilmPlan& plan, const Exporter::ExportOptions& options)
{
    return FilmGrid(Exporter::frameCount(plan), isBlurred(options));
}

/// Does a step towards the film's frame `frame`.
template <typename Step>
decltype(auto) atFrame(std::int64_t frame, const Step& step)
{
    try {
        return step();
    } catch (const PlatformFailure& failure) {
        throw WritingError(WritingError::Step::append, failure.error(), frame);
    }
}

std::unique_ptr<PixelBuffer> makePicture(AssetWriter& writer)
{
    try {
        return writer.makePixelBuffer();
    } catch (const PlatformFailure& failure) {
        throw WritingError(WritingError::Step::makePicture, failure.error());
    }
}

} // namespace

struct FilmWork::Worker {
    Worker(AssetWriter& writer, const Exporter::MakeFilmFrames& makeFrames, std::int64_t firstFrame)
        : encoder(atFrame(firstFrame, [&] { return writer.makeEncoder(); })), picture(makePicture(writer)), frames(makeFrames())
    {
    }

    std::unique_ptr<ChunkEncoder> encoder;
    std::unique_ptr<PixelBuffer> picture;
    std::unique_ptr<Exporter::FilmFrames> frames;
    std::int64_t toldFrames = 0; ///< Of the chunk.
};

int workerCount(const Exporter::FilmPlan& plan, const Exporter::ExportOptions& options, const Machine& machine)
{
    std::int64_t count = options.workers;
    if (count <= 0) {
        const int processors = isBlurred(options) ? processorsOfBlurringWorker : processorsOfWorker;
        const std::int64_t affordable = machine.availableBytes / memoryShare / (plan.width * plan.height * bytesPerPixel);
        count = std::min<std::int64_t>((machine.processors + processors - 1) / processors, affordable);
    }
    return static_cast<int>(std::clamp<std::int64_t>(count, 1, gridOf(plan, options).chunks()));
}

FilmWork::FilmWork(const Exporter::FilmPlan& plan, const Exporter::MakeFilmFrames& makeFrames, AssetWriter& writer,
                   const Exporter::ExportOptions& options)
    : makeFrames_(makeFrames), writer_(writer), options_(options), grid_(gridOf(plan, options)),
      workers_(workerCount(plan, options, Machine::current())),
      progress_(grid_, options, makeFrames, static_cast<std::size_t>(pictureBytes(plan) * keptPictures * workers_))
{
}

FilmWork::Ending FilmWork::run()
{
    {
        std::vector<std::jthread> threads;
        threads.reserve(static_cast<std::size_t>(workers_));
        try {
            for (int i = 0; i < workers_; ++i) threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            if (threads.empty()) throw; // One does the work of all.
        }
    }
    if (failure_) std::rethrow_exception(failure_);
    if (!isCancelled()) return Ending::whole;
    appendPart();
    return isWriterIntact_ && appendedFrames_ > 0 ? Ending::cut : Ending::none;
}

/// After a cancel, appends what is left of the chunk that is due. That all could not be kept is then no failure any more.
void FilmWork::appendPart()
{
    const auto part = made_.find(dueChunk_);
    if (!isWriterIntact_ || part == made_.end() || part->second.chunk.pictures.empty()) return;
    try {
        append(part->second.chunk);
    } catch (const ExportError&) {
        return; // The writer is not intact.
    }
}

void FilmWork::work()
{
    try {
        std::optional<Worker> worker;
        while (const std::optional<std::int64_t> chunk = nextChunk()) {
            if (!worker) worker.emplace(writer_, makeFrames_, grid_.firstFrame(*chunk));
            makeChunk(*worker, *chunk);
        }
    } catch (...) {
        fail(std::current_exception());
    }
    const std::scoped_lock lock(mutex_);
    changed_.notify_all(); // Whoever waits may have been waiting for this one, or may not have noticed a cancel.
}

/// Waits until a chunk may be begun; nothing at the end.
std::optional<std::int64_t> FilmWork::nextChunk()
{
    std::unique_lock lock(mutex_);
    const auto isNear = [this] { return nextChunk_ < dueChunk_ + chunksAhead * workers_; };
    changed_.wait(lock, [&] { return isStopped() || nextChunk_ == grid_.chunks() || isNear(); });
    if (isStopped() || nextChunk_ == grid_.chunks()) return std::nullopt;
    return nextChunk_++;
}

void FilmWork::makeChunk(Worker& worker, std::int64_t chunk)
{
    const std::int64_t first = grid_.firstFrame(chunk), end = grid_.firstFrame(chunk + 1);
    worker.frames->forget();
    worker.toldFrames = 0;
    atFrame(first, [&] { worker.encoder->beginChunk(first, end - first); });

    std::int64_t frame = first;
    for (; frame < end && !isStopped(); ++frame) makeFrame(worker, chunk, frame);
    if (frame == end) progress_.chunkDrawn(chunk);
    while (mayFinishHeldFrames() && atFrame(end - 1, [&] { return worker.encoder->codeHeldFrame(); })) tellFinished(worker);
    if (hasFailed_) return;

    Made made{.chunk = atFrame(end - 1, [&] { return worker.encoder->takeChunk(); })};
    made.isWhole = static_cast<std::int64_t>(made.chunk.pictures.size()) == end - first;
    deliver(chunk, std::move(made));
}

void FilmWork::makeFrame(Worker& worker, std::int64_t chunk, std::int64_t frame)
{
    if (worker.frames->advance(frame) == Next::drawn) {
        const PixelRect changed = worker.frames->paint(*worker.picture);
        atFrame(frame, [&] { worker.encoder->setPicture(*worker.picture, changed); });
    }
    progress_.frameDrawn(chunk, frame, *worker.picture);
    atFrame(frame, [&] { worker.encoder->encodeFrame(); });
    tellFinished(worker);
}

void FilmWork::tellFinished(Worker& worker)
{
    for (; worker.toldFrames < worker.encoder->codedFrames(); ++worker.toldFrames) progress_.frameFinished();
}

bool FilmWork::mayFinishHeldFrames()
{
    if (!isStopped()) return true;
    if (hasFailed_) return false;
    const auto now = std::chrono::steady_clock::now();
    const std::scoped_lock lock(mutex_);
    if (!cancelledAt_) cancelledAt_ = now;
    return now - *cancelledAt_ < patience;
}

/// Takes in a chunk and appends what is due, unless somebody does so already.
void FilmWork::deliver(std::int64_t chunk, Made made)
{
    std::unique_lock lock(mutex_);
    made_.emplace(chunk, std::move(made));
    if (isAppending_ || hasFailed_) return;
    isAppending_ = true;
    appendMade(lock);
    isAppending_ = false;
}

/// Appends whole chunks as long as the one that is due is there. Nobody waits for the disk meanwhile.
void FilmWork::appendMade(std::unique_lock<std::mutex>& lock)
{
    for (auto due = made_.find(dueChunk_); due != made_.end() && due->second.isWhole; due = made_.find(dueChunk_)) {
        const FilmChunk chunk = std::move(due->second.chunk);
        made_.erase(due);
        lock.unlock();
        append(chunk);
        lock.lock();
        ++dueChunk_;
        changed_.notify_all();
    }
}

void FilmWork::append(const FilmChunk& chunk)
{
    isWriterIntact_ = false;
    atFrame(chunk.firstFrame, [&] { writer_.append(chunk); });
    isWriterIntact_ = true;
    appendedFrames_ += static_cast<std::int64_t>(chunk.pictures.size());
}

/// Keeps the first failure. After a cancel there is none: what is there is all that is wanted.
void FilmWork::fail(std::exception_ptr failure)
{
    const std::scoped_lock lock(mutex_);
    if (!failure_ && !isCancelled()) failure_ = std::move(failure);
    hasFailed_ = true;
    changed_.notify_all();
}

} // namespace larkspool
