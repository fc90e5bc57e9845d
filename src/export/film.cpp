#include "export/film.h"

#include "export/pending_file.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <thread>

#include <fmt/format.h>

namespace larkspool {

namespace {

using Exporter::ExportError;
using enum ExportError::Kind;

constexpr double leastOutputScale = 0.1;
constexpr std::int64_t leastSide = 2;
/// The longest side that H.264 knows.
constexpr std::int64_t greatestSide = 16384;
constexpr std::int64_t greatestFps = 1000;
/// A day at the greatest rate of a cinema camera; more is a slip of the pen, and would fill any disk.
constexpr double greatestFrameCount = 24.0 * 60 * 60 * 120;
constexpr std::int64_t previewInterval = 6;

double honouredScale(double outputScale)
{
    return outputScale < 1 ? std::max(outputScale, leastOutputScale) : 1;
}

[[noreturn]] void failWriting(std::string detail)
{
    throw ExportError(writeFailed, std::move(detail));
}

/// One pass over a film's frames: paint, hand over, tell.
class FilmPass {
public:
    FilmPass(const Exporter::FilmPlan& plan, Exporter::FilmFrames& frames, AssetWriter& writer,
             const Exporter::ExportOptions& options)
        : count_(frameCount(plan)), frames_(frames), writer_(writer), options_(options)
    {
    }

    /// Returns whether all frames were appended; false after a cancel.
    bool run()
    {
        for (std::int64_t index = 0;; ++index) {
            if (options_.cancel && options_.cancel->isCancelled()) return false;
            if (index >= count_) return true;
            append(index);
            ++appended_;
            if (options_.progress) options_.progress(static_cast<double>(appended_) / static_cast<double>(count_));
        }
    }

    std::int64_t appendedFrames() const { return appended_; }

private:
    void append(std::int64_t index)
    {
        const bool repeats = frames_.advance(index) == Exporter::FilmFrames::Next::unchanged && picture_;
        if (!repeats) paintNextPicture();
        if (options_.previewFrame && index % previewInterval == 0) options_.previewFrame(*picture_);

        const bool taken = repeats ? writer_.appendRepeat(index) : writer_.append(picture_, index);
        if (!taken) failWriting(fmt::format("append failed at frame {}: {}", index, describe(writer_.error())));
    }

    void paintNextPicture()
    {
        picture_.reset();
        picture_ = writer_.nextPixelBuffer();
        if (!picture_) {
            const std::optional<PlatformError> error = writer_.error();
            failWriting(fmt::format("Pixel buffer alloc failed: {}", error ? error->code : -1));
        }
        frames_.paint(*picture_);
    }

    std::int64_t count_;
    std::int64_t appended_ = 0;
    Exporter::FilmFrames& frames_;
    AssetWriter& writer_;
    const Exporter::ExportOptions& options_;
    std::shared_ptr<PixelBuffer> picture_; ///< The one appended last, kept for the preview of a repeat.
};

std::unique_ptr<AssetWriter> makeWriter(const std::string& path, const FilmSettings& settings,
                                        const Exporter::ExportOptions& options)
{
    return options.makeWriter ? options.makeWriter(path, settings) : makeAssetWriter(path, settings);
}

void writePending(const Exporter::FilmPlan& plan, Exporter::FilmFrames& frames, PendingFile& file,
                  const Exporter::ExportOptions& options)
{
    const FilmSettings settings{
        .width = static_cast<int>(plan.width), .height = static_cast<int>(plan.height), .fps = plan.fps};
    const std::unique_ptr<AssetWriter> writer = makeWriter(file.path(), settings, options);
    if (!writer) throw ExportError(cannotCreateWriter);
    if (!writer->startWriting()) failWriting("startWriting failed: " + describe(writer->error()));

    FilmPass pass(plan, frames, *writer, options);
    const bool complete = pass.run();
    const bool finished = writer->finishWriting();
    if (complete) {
        if (!finished) failWriting("finishWriting failed: " + describe(writer->error()));
        file.takeName();
        return;
    }
    // A film without a single frame, or one that could not be closed, is none: an earlier one is worth more.
    if (finished && pass.appendedFrames() > 0) file.takeName();
    throw ExportError(userCancelled);
}

} // namespace

Exporter::FilmPlan Exporter::planFilm(CGSize sceneSize, double outputScale, std::int64_t fps, double seconds)
{
    const double scale = honouredScale(outputScale);
    const auto filmSide = [scale](double sceneSide) {
        const double side = std::round(scale * sceneSide);
        return side >= 2 ? side : 2; // What is not a number is too small as well.
    };
    const double width = filmSide(sceneSize.width), height = filmSide(sceneSize.height);
    if (width > greatestSide || height > greatestSide)
        failWriting(fmt::format("A film of {:.15g} x {:.15g} pixels is too large; {} is the longest side", width, height, greatestSide));

    const auto even = [](double side) { return std::max(static_cast<std::int64_t>(side) & ~std::int64_t{1}, leastSide); };
    return {.width = even(width), .height = even(height), .fps = fps, .seconds = seconds};
}

std::int64_t Exporter::frameCount(const FilmPlan& plan)
{
    if (plan.fps < 1 || plan.fps > greatestFps)
        failWriting(fmt::format("A film cannot have {} frames a second; 1 to {} it can", plan.fps, greatestFps));
    const double frames = std::round(plan.seconds * static_cast<double>(plan.fps));
    if (!(frames <= greatestFrameCount)) failWriting(fmt::format("A film of {:g} seconds is too long", plan.seconds));
    return static_cast<std::int64_t>(std::max(frames, 1.0));
}

void Exporter::writeFilm(const FilmPlan& plan, FilmFrames& frames, const std::string& path, const ExportOptions& options)
{
    frameCount(plan); // Refuses what cannot be a film before anything is touched.
    PendingFile file(path);

    // Evaluation keeps results on the main thread for the editor's sake; a film is evaluated off it, where it is a pure function.
    std::exception_ptr failure;
    std::thread work([&] {
        try {
            writePending(plan, frames, file, options);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    work.join();
    if (failure) std::rethrow_exception(failure);
}

std::string describe(const std::optional<PlatformError>& error)
{
    if (!error) return "unknown error";
    std::string text = error->localizedDescription;
    if (error->localizedFailureReason) text += " — " + *error->localizedFailureReason;
    if (const PlatformError* underlying = error->underlying.get())
        text += fmt::format(" — underlying: {} [{} #{}]", underlying->localizedDescription, underlying->domain, underlying->code);
    return text + fmt::format(" — ({} #{})", error->domain, error->code);
}

} // namespace larkspool
