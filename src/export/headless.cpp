#include "export/headless.h"

#include "document/file_format.h"
#include "export/exporter_gpu.h"
#include "export/media_beside.h"
#include "foundation/text.h"
#include "platform/file_io.h"

#include <chrono>
#include <cstdio>
#include <new>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// The document's own audio bed and the sound of its videos stay out, and so does all else that a person could choose.
void exportFilm(const TweenDocument& document, const std::string& outPath, const HeadlessSurroundings& surroundings)
{
    const Exporter::ExportOptions options{.motionBlurSamples = 1, .outputScale = 1};
    if (document.scenes.size() == 1)
        surroundings.exportScene(document.scenes.front(), outPath, /*startTime=*/0, /*audio=*/{}, /*videoAudioClips=*/{},
                                 options);
    else
        surroundings.exportScenes(document.scenes, outPath, /*audio=*/{}, /*videoAudioClips=*/{}, options);
}

TweenDocument loadDocument(const std::string& path)
{
    return withMediaBeside(decodeDocument(readWholeFile(path)), path);
}

std::string_view caseName(DecodingError::Kind kind)
{
    switch (kind) {
    case DecodingError::Kind::syntax: return "syntax";
    case DecodingError::Kind::missingKey: return "missingKey";
    case DecodingError::Kind::typeMismatch: return "typeMismatch";
    case DecodingError::Kind::invalidValue: return "invalidValue";
    }
    return {};
}

void printLine(std::string_view line)
{
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout); // Whoever waits for the line shall see it while the export runs.
}

double steadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

std::optional<HeadlessRequest> headlessRequest(const std::function<const char*(const char*)>& lookUp)
{
    const char* inPath = lookUp(headlessExportVariable);
    const char* outPath = lookUp(headlessOutputVariable);
    if (!inPath || !outPath) return std::nullopt;
    return HeadlessRequest{inPath, outPath};
}

HeadlessSurroundings HeadlessSurroundings::system()
{
    return {.load = loadDocument,
            .exportScene = [](const auto&... arguments) { ExporterGPU::exportMP4(arguments...); },
            .exportScenes = [](const auto&... arguments) { ExporterGPU::exportMP4(arguments...); },
            .seconds = steadySeconds,
            .print = printLine};
}

void runHeadlessExport(const std::string& inPath, const std::string& outPath, const HeadlessSurroundings& surroundings)
try {
    const TweenDocument document = surroundings.load(inPath);
    surroundings.print(fmt::format("[headless] loaded {} scene(s) from {}", document.scenes.size(), inPath));

    const double start = surroundings.seconds();
    exportFilm(document, outPath, surroundings);
    surroundings.print(fmt::format("[headless] wrote {} in {:.2f}s", outPath, surroundings.seconds() - start));
} catch (const std::exception& error) {
    surroundings.print("[headless] export failed: " + textualForm(error));
}

std::string textualForm(const std::exception& error)
{
    if (const auto* exporting = dynamic_cast<const GPUExportError*>(&error)) return exporting->textualForm();
    if (const auto* exporting = dynamic_cast<const Exporter::ExportError*>(&error)) return exporting->textualForm();
    if (const auto* decoding = dynamic_cast<const DecodingError*>(&error)) {
        const std::string path = decoding->path().empty() ? "" : fmt::format("path: {}, ", inDoubleQuotes(decoding->path()));
        return fmt::format("{}({}reason: {})", caseName(decoding->kind()), path, inDoubleQuotes(decoding->reason()));
    }
    if (const auto* file = dynamic_cast<const FileError*>(&error))
        return fmt::format("fileError(path: {}, reason: {})", inDoubleQuotes(file->path()),
                           inDoubleQuotes(file->error().localizedFailureReason.value_or("")));
    if (dynamic_cast<const std::bad_alloc*>(&error)) return "outOfMemory";
    return fmt::format("unexpected({})", inDoubleQuotes(error.what()));
}

} // namespace larkspool
