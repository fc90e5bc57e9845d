#pragma once

#include "document/tween_document.h"
#include "export/exporter.h"

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// The two variables that ask for a run without a person: the path of the document to read, and of the film to write.
inline constexpr const char* headlessExportVariable = "LARKSPOOL_HEADLESS_EXPORT";
inline constexpr const char* headlessOutputVariable = "LARKSPOOL_HEADLESS_OUTPUT";

struct HeadlessRequest {
    std::string inPath;
    std::string outPath;

    bool operator==(const HeadlessRequest&) const = default;
};

/// What the environment asks for: something only when both variables are there. An empty value counts as there. `lookUp` gives a
/// variable's value, or null, as `std::getenv` does.
std::optional<HeadlessRequest> headlessRequest(const std::function<const char*(const char*)>& lookUp);

/// What a headless run uses of the world around it.
struct HeadlessSurroundings {
    std::function<TweenDocument(const std::string& path)> load;
    std::function<void(const TweenScene& scene, const std::string& path, double startTime,
                       const std::optional<Exporter::ExportAudio>& audio,
                       const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)>
        exportScene;
    std::function<void(const Array<TweenScene>& scenes, const std::string& path,
                       const std::optional<Exporter::ExportAudio>& audio,
                       const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)>
        exportScenes;
    std::function<double()> seconds;             ///< A clock that only its differences matter of.
    std::function<void(std::string_view)> print; ///< One line, given without its line feed.

    /// The file system, the second exporter, a steady clock and standard output.
    static HeadlessSurroundings system();
};

/// Reads the document at `inPath`, writes its film to `outPath`, silent and at the scenes' own size, and prints how it went:
///
///     [headless] loaded 1 scene(s) from card.larkspool
///     [headless] wrote card.mp4 in 1.24s
///
/// or, as the last line, `[headless] export failed: ` and the error's textual form. Never throws.
void runHeadlessExport(const std::string& inPath, const std::string& outPath, const HeadlessSurroundings& surroundings);

/// How an error value is printed for a machine: its case, and its payload in parentheses, such as
/// `writerSetupFailed("No scenes to render")` or `fileError(path: "in.larkspool", reason: "No such file or directory")`.
std::string textualForm(const std::exception& error);

} // namespace larkspool
