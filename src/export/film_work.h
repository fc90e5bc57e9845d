#pragma once

#include "export/film.h"
#include "export/film_grid.h"
#include "export/film_progress.h"
#include "platform/machine.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace larkspool {

/// The making of a film by several workers. Each takes a chunk after the other, draws its frames one by one into a picture of its
/// own, on a thread of its own, and has them encoded meanwhile; what is finished is joined in order.
///
/// Each chunk is made by itself, so that the film is the same however many work on it.
class FilmWork {
public:
    /// What it is given outlives it. The writer has begun.
    FilmWork(const Exporter::FilmPlan& plan, const Exporter::MakeFilmFrames& makeFrames, AssetWriter& writer,
             const Exporter::ExportOptions& options);

    enum class Ending {
        whole, ///< All frames were appended.
        cut,   ///< A cancel came. The frames that had been finished from the start on, one at least, were appended.
        none   ///< A cancel came, and there is nothing to keep.
    };

    /// Returns when no worker is left. Throws what went wrong first.
    Ending run();

private:
    /// A chunk, or what a cancel left of it.
    struct Made {
        FilmChunk chunk;
        bool isWhole = false;
    };
    struct Worker;

    void work();
    std::optional<std::int64_t> nextChunk();
    void makeChunk(Worker& worker, std::int64_t chunk);
    void makeFrame(Worker& worker, std::int64_t chunk, std::int64_t frame);
    void tellFinished(Worker& worker);
    bool mayFinishHeldFrames();
    void deliver(std::int64_t chunk, Made made);
    void appendMade(std::unique_lock<std::mutex>& lock);
    void append(const FilmChunk& chunk);
    void appendPart();
    void fail(std::exception_ptr failure);
    bool isCancelled() const { return options_.cancel && options_.cancel->isCancelled(); }
    bool isStopped() const { return hasFailed_ || isCancelled(); }

    const Exporter::MakeFilmFrames& makeFrames_;
    AssetWriter& writer_;
    const Exporter::ExportOptions& options_;
    const FilmGrid grid_;
    const int workers_;
    FilmProgress progress_;
    std::atomic<bool> hasFailed_{false};

    // Under the mutex.
    std::mutex mutex_;
    std::condition_variable changed_;
    std::int64_t nextChunk_ = 0; ///< That nobody has taken.
    std::int64_t dueChunk_ = 0;  ///< That is to be appended.
    std::map<std::int64_t, Made> made_;
    bool isAppending_ = false; ///< Somebody is, and will go on as long as there is something.
    std::exception_ptr failure_;
    std::optional<std::chrono::steady_clock::time_point> cancelledAt_; ///< When somebody noticed.

    // Of whoever appends.
    std::int64_t appendedFrames_ = 0;
    bool isWriterIntact_ = true;
};

/// How many workers are of use for the film of a plan: as many as asked for, but no more than there are chunks. Where that is left
/// open, as many as the processors can be kept busy by, and no more than there is memory for. At least 1.
int workerCount(const Exporter::FilmPlan& plan, const Exporter::ExportOptions& options, const Machine& machine);

} // namespace larkspool
