#pragma once

#include "export/film.h"
#include "export/film_grid.h"
#include "export/packed_picture.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

namespace larkspool {

/// Tells whoever asked how far a film is, and shows every sixth picture in the order of the film, though its chunks are drawn at
/// the same time. For any thread; it calls one at a time.
///
/// A picture whose turn has not come is kept, packed, while there is room for it, and else painted again.
class FilmProgress {
public:
    /// Keeps pictures of up to `room` bytes. What it is given outlives it.
    FilmProgress(const FilmGrid& grid, const Exporter::ExportOptions& options, const Exporter::MakeFilmFrames& makeFrames,
                 std::size_t room)
        : grid_(grid), options_(options), makeFrames_(makeFrames), room_(room)
    {
    }

    /// One more frame is finished.
    void frameFinished();

    /// `picture` is that of a frame in a chunk, whose frames come in order.
    void frameDrawn(std::int64_t chunk, std::int64_t frame, const PixelBuffer& picture);

    /// All frames of a chunk have been drawn.
    void chunkDrawn(std::int64_t chunk);

private:
    /// A picture that waits for its turn.
    struct Kept {
        std::int64_t frame = 0;
        std::unique_ptr<const PackedPicture> picture; ///< Absent where there was no room.
    };

    bool isCancelled() const { return options_.cancel && options_.cancel->isCancelled(); }
    void showKept(std::int64_t chunk);
    void repaint(std::int64_t frame);

    const FilmGrid& grid_;
    const Exporter::ExportOptions& options_;
    const Exporter::MakeFilmFrames& makeFrames_;
    const std::size_t room_;

    std::mutex mutex_;
    std::int64_t finishedFrames_ = 0;
    std::int64_t dueChunk_ = 0; ///< The first that has not been drawn and shown to its end.
    std::set<std::int64_t> drawnChunks_; ///< Behind it.
    std::map<std::int64_t, std::vector<Kept>> kept_; ///< By chunk.
    std::size_t keptBytes_ = 0;
    std::unique_ptr<PixelBuffer> picture_; ///< What a kept one is shown in.
    std::unique_ptr<Exporter::FilmFrames> frames_; ///< For painting again.
};

} // namespace larkspool
