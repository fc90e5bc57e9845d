#pragma once

#include "export/exporter.h"
#include "platform/raster/pixel_rect.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace larkspool {

namespace Exporter {

/// The pictures of a film, one by one. For one thread at a time, and apart from all others of the same film.
class FilmFrames {
public:
    enum class Next {
        drawn,    ///< The picture is to be painted.
        unchanged ///< The picture is the one before.
    };

    virtual ~FilmFrames() = default;

    /// Forgets what came before: the next frame, which may be any, is drawn, and painted as a whole.
    virtual void forget() = 0;

    /// Takes in what frame `index` shows; indices rise until all is forgotten. Says whether it must be painted.
    virtual Next advance(std::int64_t index) = 0;

    /// Paints the frame of the last `advance` into the memory that the one before was painted into, which nobody has changed, or
    /// over arbitrary content where there is none. Returns where the picture may have changed.
    virtual PixelRect paint(PixelBuffer& picture) = 0;
};

/// Makes the frames of a film anew for a worker, on its thread. For any thread.
using MakeFilmFrames = std::function<std::unique_ptr<FilmFrames>()>;

/// What a film file is like.
struct FilmPlan {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t fps = 0;
    double seconds = 0; ///< As asked for; the film has the nearest whole number of frames, at least 1.
};

/// A film's size for a scene's at an output scale: whole, even, at least 2. Throws writeFailed, naming the size, for one that no
/// film can have.
FilmPlan planFilm(CGSize sceneSize, double outputScale, std::int64_t fps, double seconds);

/// How many frames the plan comes to. Throws writeFailed for a rate or length that no film can have.
std::int64_t frameCount(const FilmPlan& plan);

/// Writes the pictures into an MP4 file at `path`. The file is written beside its place and takes its name when it is whole, or
/// when a cancel has closed it early, which throws userCancelled. Every other failure leaves what was there.
///
/// Frames are drawn and encoded by several threads at a time. The file does not depend on how many.
void writeFilm(const FilmPlan& plan, const MakeFilmFrames& makeFrames, const std::string& path, const ExportOptions& options);

} // namespace Exporter

/// The words of a writer's error.
std::string describe(const std::optional<PlatformError>& error);

} // namespace larkspool
