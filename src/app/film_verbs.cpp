#include "app/documents.h"
#include "app/interruption.h"
#include "app/progress_bar.h"
#include "app/verbs.h"
#include "export/exporter.h"
#include "platform/file_io.h"
#include "platform/png_writer.h"

#include <memory>

#include <fmt/format.h>

namespace larkspool {

namespace {

int runFrame(const Call& call, const Terminal&)
{
    const double time = call.number("--at").value();
    const std::string path = call.text("-o").value();
    const TweenDocument document = readDocument(call.operand(0)).document;
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

/// Refuses what the command line will know one day and cannot do now.
void refuseWhatIsToCome(const Call& call)
{
    if (call.has("--all")) throw WrongCall("--all is not there yet: scenes cannot be joined");
    if (const std::optional<long long> samples = call.wholeNumber("--motion-blur"); samples && (*samples > 1 || *samples < -1))
        throw WrongCall("--motion-blur is not there yet: only 1, which means none, can be asked for");
    if (const std::optional<std::string> exporter = call.text("--exporter"); exporter && *exporter != "cpu") {
        if (*exporter == "gpu") throw WrongCall("--exporter gpu is not there yet: only cpu can be asked for");
        throw WrongCall(fmt::format("--exporter is neither cpu nor gpu: {}", *exporter));
    }
}

double outputScale(const Call& call)
{
    const double scale = call.number("--scale").value_or(1);
    if (scale > 0) return scale;
    throw WrongCall(fmt::format("--scale is not above 0: {:g}", scale));
}

std::string seconds(double elapsed)
{
    return fmt::format("{:.2f} s", elapsed);
}

int runExport(const Call& call, const Terminal& terminal)
{
    refuseWhatIsToCome(call);
    const double scale = outputScale(call);
    const std::string path = call.text("-o").value();
    const TweenDocument document = readDocument(call.operand(0)).document;
    keepDocumentWhole(call.operand(0), path);
    const TweenScene& scene = document.scenes[sceneIndex(call, document)];

    Exporter::ExportCancelFlag cancel;
    FilmProgress written;
    try {
        const CancelOnInterrupt cancelOnInterrupt(cancel);
        ProgressBar bar(terminal);
        const Exporter::ExportOptions options{.outputScale = scale,
                                              .progress =
                                                  [&](double part) {
                                                      bar.frameWritten(part);
                                                      written = bar.progress();
                                                  },
                                              .cancel = &cancel};
        Exporter::exportMP4(scene, path, /*startTime=*/0, /*audio=*/{}, /*videoAudioClips=*/{}, options);
        written = bar.progress();
    } catch (const Exporter::ExportError& error) {
        if (error.kind() != Exporter::ExportError::Kind::userCancelled) throw;
        if (written.frames == 0) throw Failure("Export cancelled before the first frame: nothing was written");
        throw Failure(
            fmt::format("Export cancelled: {} has the first {} of {} frames", path, written.frames, written.totalFrames));
    }

    const bool silenced = document.audio && !call.has("--no-audio");
    terminal.out(fmt::format("Wrote {}: {} frames in {}{}\n", onOneLine(path), written.frames, seconds(written.seconds),
                             silenced ? ", silent (sound cannot be exported yet)" : ""));
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
                   {"--all", "", "all scenes, joined (not there yet)"},
                   {"--scale", "F", "the film's size as a factor of the scene's, held within 0.1 and 1"},
                   {"--motion-blur", "S", "samples a frame (not there yet: only 1, which means none)"},
                   {"--exporter", "NAME", "cpu or gpu (gpu is not there yet)"},
                   {"--no-audio", "", "leave the sound out (films are silent for now)"}}},
        .summary = "write a scene as an H.264 film",
        .notes = "Ctrl-C ends the film early: the frames so far are kept as a playable file, and the exit status is 1.\n"
                 "The film takes its name when it is finished; until then, an earlier file of that name stays.\n",
        .run = runExport,
    };
    return verb;
}

} // namespace larkspool
