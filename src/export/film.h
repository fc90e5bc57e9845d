#pragma once

#include "export/exporter.h"

#include <cstdint>

namespace larkspool {

namespace Exporter {

/// The pictures of a film, one by one.
class FilmFrames {
public:
    enum class Next {
        drawn,    ///< The picture was painted.
        unchanged ///< The picture is the one before; nothing was painted.
    };

    virtual ~FilmFrames() = default;

    /// Takes in what frame `index` shows; frames come in order from 0. Says whether it must be painted.
    virtual Next advance(std::int64_t index) = 0;

    /// Paints the frame of the last `advance` over arbitrary content.
    virtual void paint(PixelBuffer& picture) = 0;
};

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
void writeFilm(const FilmPlan& plan, FilmFrames& frames, const std::string& path, const ExportOptions& options);

} // namespace Exporter

/// The words of a writer's error.
std::string describe(const std::optional<PlatformError>& error);

} // namespace larkspool
