#include "app/documents.h"
#include "app/interruption.h"
#include "app/progress_bar.h"
#include "app/verbs.h"
#include "export/media_beside.h"
#include "platform/composition_export.h"
#include "platform/file_io.h"
#include "platform/file_url.h"
#include "platform/png_writer.h"
#include "shell/film_export.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include <sys/stat.h>

#include <fmt/format.h>

namespace larkspool {

namespace {

int runFrame(const Call& call, const Terminal&)
{
    const double time = call.number("--at").value();
    const std::string path = call.text("-o").value();
    const TweenDocument document = withMediaBeside(readDocument(call.operand(0)).document, call.operand(0));
    keepDocumentWhole(call.operand(0), path);
    const TweenScene& scene = document.scenes[sceneIndex(call, document)];

    const std::unique_ptr<PixelBuffer> picture = Exporter::renderSceneToImage(scene, time, scene.size());
    if (!picture)
        throw Failure(fmt::format("A picture of {:.15g} x {:.15g} pixels cannot be drawn: each side must be 1 to {}, and the pixels "
                                  "{} at most",
                                  scene.width, scene.height, PixelBuffer::maximumSide, PixelBuffer::maximumArea));
    replaceFileAtomically(path, encodePng(*picture));
    return 0;
}

int motionBlurSamples(const Call& call)
{
    const long long samples = call.wholeNumber("--motion-blur").value_or(1);
    const auto isThis = [samples](const MotionBlurChoice& choice) { return choice.samples == samples; };
    if (std::ranges::any_of(motionBlurChoices, isThis)) return static_cast<int>(samples);
    throw WrongCall(fmt::format("--motion-blur is none of 1, -2, 4, 8 and 16: {}", samples));
}

double outputScale(const Call& call)
{
    const double scale = call.number("--scale").value_or(1);
    if (scale > 0) return scale;
    throw WrongCall(fmt::format("--scale is not above 0: {:g}", scale));
}

FilmExporter chosenExporter(const Call& call)
{
    const std::string exporter = call.text("--exporter").value_or("cpu");
    if (exporter == "cpu") return FilmExporter::reference();
    if (exporter == "gpu") return FilmExporter::gpu();
    throw WrongCall(fmt::format("--exporter is neither cpu nor gpu: {}", exporter));
}

ExportTarget exportTarget(const Call& call, const TweenDocument& document)
{
    if (call.has("--all")) return ExportTarget::allScenes();
    if (!call.has("--scene")) return ExportTarget::currentScene();
    return ExportTarget::specificScene(static_cast<std::int64_t>(sceneIndex(call, document)));
}

/// Which file stands at a path. A file that was replaced is another one.
class FileIdentity {
public:
    explicit FileIdentity(const std::string& path)
    {
        struct stat status = {};
        if (::stat(path.c_str(), &status) == 0) file_ = std::pair(status.st_dev, status.st_ino);
    }

    bool isThere() const { return file_.has_value(); }
    bool operator==(const FileIdentity&) const = default;

private:
    std::optional<std::pair<dev_t, ino_t>> file_;
};

/// How many frames a film has. A stopped one has fewer than were painted, if they were painted out of order.
std::int64_t framesIn(const std::string& path, std::int64_t fps)
{
    const std::unique_ptr<Composition> film = openComposition(path);
    return film ? std::llround(film->duration() * static_cast<double>(fps)) : 0;
}

/// Why a bed that was asked for is not heard, to be added to the last line; usually nothing.
std::string missingBed(const TweenDocument& document, const FilmChoices& choices, const FilmJob& job)
{
    if (!choices.includeAudio || !document.audio || job.sound.audio) return {};
    const std::string file = pathFromURLOrPath(document.audio->urlString);
    return file.empty() ? ", without its music, which names no file" : fmt::format(", without its music: there is no file {}", file);
}

std::string seconds(double elapsed)
{
    return fmt::format("{:.2f} s", elapsed);
}

/// Writes the film under a progress bar and returns how far it came. Throws Failure for a film that was stopped.
FilmProgress writeWatched(const FilmJob& job, const std::string& path, const FilmExporter& exporter, const Terminal& terminal)
{
    const FileIdentity before(path);
    FilmProgress written; // Outlives the bar, which must be gone before anything else is said.
    try {
        Exporter::ExportCancelFlag cancel;
        const CancelOnInterrupt cancelOnInterrupt(cancel);
        ProgressBar bar(terminal, job.hasSound() ? ProgressBar::Stages::framesThenSound : ProgressBar::Stages::frames);
        const auto advance = [&](double part) {
            bar.advance(part);
            written = bar.progress();
        };
        writeFilm(job, path, exporter, {.progress = advance, .cancel = &cancel});
        return bar.progress();
    } catch (const std::exception& error) {
        if (!exporter.isCancel(error)) throw;
        const FileIdentity after(path);
        if (!after.isThere() || after == before) throw Failure("Export cancelled: nothing was written");
        throw Failure(fmt::format("Export cancelled: {} has the first {} of {} frames{}", path, framesIn(path, job.scenes.front().fps),
                                  written.totalFrames, job.hasSound() ? ", without sound" : ""));
    }
}

int runExport(const Call& call, const Terminal& terminal)
{
    const FilmExporter exporter = chosenExporter(call);
    if (call.has("--all") && call.has("--scene")) throw WrongCall("--all and --scene exclude each other");
    FilmChoices choices{.motionBlurSamples = motionBlurSamples(call),
                        .includeAudio = !call.has("--no-audio"),
                        .outputScale = outputScale(call)};
    const std::string path = call.text("-o").value();
    const TweenDocument document = withMediaBeside(readDocument(call.operand(0)).document, call.operand(0));
    keepDocumentWhole(call.operand(0), path);
    choices.target = exportTarget(call, document);

    const FilmJob job = filmJob(document, choices);
    const FilmProgress written = writeWatched(job, path, exporter, terminal);
    terminal.out(onOneLine(fmt::format("Wrote {}: {} frames in {}{}", path, written.frames, seconds(written.seconds),
                                       missingBed(document, choices, job))) +
                 "\n");
    return 0;
}

} // namespace

const Verb& frameVerb()
{
    static const Verb verb{
        .rules = {"frame",
                  {"DOC"},
                  {{"--at", "T", "the time in the scene, in seconds", Option::Need::required},
                   {"-o", "PNG", "the picture to write", Option::Need::required},
                   sceneOption}},
        .summary = "draw one frame as a picture of the scene's own size",
        .notes = "",
        .run = runFrame,
    };
    return verb;
}

const Verb& exportVerb()
{
    static const Verb verb{
        .rules = {"export",
                  {"DOC"},
                  {{"-o", "MP4", "the film to write", Option::Need::required},
                   sceneOption,
                   {"--all", "", "all scenes, joined by their transitions, at the size and rate of the first"},
                   {"--motion-blur", "S", "pictures blended into each moving frame: 1 (none), 4, 8 or 16; -2 is two of half the size"},
                   {"--scale", "F", "the film's size as a factor of the scene's, held within 0.1 and 1"},
                   {"--no-audio", "", "leave the sound out"},
                   {"--exporter", "NAME", "cpu, which draws each frame as the editor does, or gpu, which draws what changes and is faster"}}},
        .summary = "write a scene, or all of them, as an H.264 film with its sound",
        .notes = "The music of the document and the sound of its videos go along; a file that is not there is left out.\n"
                 "Ctrl-C ends the film early: the frames so far are kept as a playable file without sound, and the exit\n"
                 "status is 1. The film takes its name when it is finished; until then, an earlier file of that name stays.\n",
        .run = runExport,
    };
    return verb;
}

} // namespace larkspool
