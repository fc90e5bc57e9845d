#pragma once

#include "platform/user_defaults.h"
#include "shell/export_sheet.h"
#include "shell/film_export.h"
#include "shell/film_task.h"
#include "shell/tasks.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// A panel that asks where a film goes.
struct SavePanel {
    std::string nameFieldStringValue; ///< The name that it offers.
    std::string_view allowedContentType = "video/mp4"; ///< The one kind of file that can be chosen.
    bool canCreateDirectories = true;
};

/// Shows the panel and returns the path that a person chose; nothing if none was.
using RunSavePanel = std::function<std::optional<std::string>(const SavePanel& panel)>;

/// The export of an editor, from the chosen file name to its end: one at a time. Lives on the main thread; the writing itself
/// runs on another and works on a snapshot.
class ExportRun {
public:
    /// What it asks of the world around it.
    struct Services {
        Tasks tasks;
        FilmExporter cpu = FilmExporter::reference();
        std::optional<FilmExporter> gpu = FilmExporter::gpu(); ///< Where there is none, `cpu` stands in.
        std::function<void(const std::string& path)> reveal; ///< Shows a file where a person finds it.
        Exporter::FileExists fileExists = Exporter::fileExists;
        std::function<void()> changed; ///< Called after every change of the state.
    };

    /// What the sheet of a running or failed export shows.
    struct State {
        std::optional<double> exportProgress{};   ///< 0...1; there as long as an export runs.
        std::optional<std::string> exportError{}; ///< Why the last one failed, until it is dismissed.
        LiveFrame liveFrame{};
    };

    explicit ExportRun(Services services) : services_(std::move(services)) {}

    const State& state() const { return state_; }
    bool isRunning() const { return task_ != nullptr; }

    /// Goes on from the sheet when it is confirmed: asks for a path, keeps the choices for next time and starts the export of the
    /// scenes as the sheet has them, with the sound of `document`. Without a path nothing is kept and nothing starts; nor while
    /// another export runs.
    void continueExport(const ExportSheetState& sheet, const TweenDocument& document, UserDefaults& defaults,
                        const RunSavePanel& runPanel);

    /// Starts the export of `document` as it is now to `path`. Does nothing while another runs.
    ///
    /// At the end a whole film is revealed, and so is the part that a stopped export left; any other end is told as the error. An
    /// export whose ExportRun goes is stopped, and its finished part stays.
    void runExportPipeline(const TweenDocument& document, const FilmChoices& choices, const std::string& path,
                           const UserDefaults& defaults);

    /// Asks the running export, if there is one, to stop.
    void stop();

    void dismissError();

private:
    void show(const FilmNews& news);
    void finish(const std::exception_ptr& error, const std::string& path, const FilmExporter& exporter);
    void tellChange() const;

    Services services_;
    State state_;
    std::unique_ptr<FilmTask> task_; ///< While an export runs.
};

} // namespace larkspool
