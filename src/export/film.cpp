#include "export/film.h"

#include "export/film_work.h"
#include "export/pending_file.h"
#include "export/writing_error.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

using Exporter::ExportError;
using Exporter::WritingError;
using enum ExportError::Kind;

constexpr double leastOutputScale = 0.1;
constexpr std::int64_t leastSide = 2;
/// The longest side that H.264 knows.
constexpr std::int64_t greatestSide = 16384;
constexpr std::int64_t greatestFps = 1000;
/// A day at the greatest rate of a cinema camera; more is a slip of the pen, and would fill any disk.
constexpr double greatestFrameCount = 24.0 * 60 * 60 * 120;

double honouredScale(double outputScale)
{
    return outputScale < 1 ? std::max(outputScale, leastOutputScale) : 1;
}

[[noreturn]] void failWriting(std::string detail)
{
    throw ExportError(writeFailed, std::move(detail));
}

std::unique_ptr<AssetWriter> makeWriter(const std::string& path, const FilmSettings& settings,
                                        const Exporter::ExportOptions& options)
{
    return options.makeWriter ? options.makeWriter(path, settings) : makeAssetWriter(path, settings);
}

/// Does a step of writing.
template <typename Work>
void attempt(WritingError::Step step, const Work& work)
{
    try {
        work();
    } catch (const PlatformFailure& failure) {
        throw WritingError(step, failure.error());
    }
}

/// Closes what a cancel has left. A film without a single frame, or one that cannot be closed, is none: an earlier one is worth
/// more.
bool canBeKept(FilmWork::Ending ending, AssetWriter& writer)
{
    if (ending == FilmWork::Ending::none) return false;
    try {
        writer.finishWriting();
        return true;
    } catch (const PlatformFailure&) {
        return false;
    }
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

void Exporter::writeFilm(const FilmPlan& plan, const MakeFilmFrames& makeFrames, const std::string& path,
                         const ExportOptions& options)
{
    frameCount(plan); // Refuses what cannot be a film before anything is touched.
    PendingFile file(path);
    const FilmSettings settings{.width = plan.width, .height = plan.height, .fps = plan.fps};
    const std::unique_ptr<AssetWriter> writer = makeWriter(file.path(), settings, options);
    if (!writer) throw ExportError(cannotCreateWriter);
    attempt(WritingError::Step::start, [&] { writer->startWriting(); });

    const FilmWork::Ending ending = FilmWork(plan, makeFrames, *writer, options).run();
    if (ending != FilmWork::Ending::whole) {
        if (canBeKept(ending, *writer)) file.takeName();
        throw ExportError(userCancelled);
    }
    attempt(WritingError::Step::finish, [&] { writer->finishWriting(); });
    file.takeName();
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
