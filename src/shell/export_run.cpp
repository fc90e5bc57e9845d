#include "shell/export_run.h"

#include <utility>

namespace larkspool {

void ExportRun::continueExport(const ExportSheetState& sheet, const TweenDocument& document, UserDefaults& defaults,
                               const RunSavePanel& runPanel)
{
    if (task_) return;
    const std::optional<std::string> path = runPanel({.nameFieldStringValue = sheet.filename});
    if (!path) return;
    storeFilmChoices(defaults, sheet.choices());
    TweenDocument snapshot = document;
    snapshot.scenes = sheet.scenes;
    snapshot.activeSceneIndex = sheet.activeIdx;
    runExportPipeline(snapshot, sheet.choices(), *path, defaults);
}

void ExportRun::runExportPipeline(const TweenDocument& document, const FilmChoices& choices, const std::string& path,
                                  const UserDefaults& defaults)
{
    if (task_) return;
    state_ = {.exportProgress = 0};
    const bool useGPU = defaults.boolean(DefaultsKey::useGPUExporter) && services_.gpu;
    const FilmExporter& exporter = useGPU ? *services_.gpu : services_.cpu;
    task_ = std::make_unique<FilmTask>(
        services_.tasks,
        FilmTask::Steps{
            .write = [job = filmJob(document, choices, services_.fileExists), path,
                      exporter](const Exporter::ExportOptions& options) { writeFilm(job, path, exporter, options); },
            .news = [this](const FilmNews& news) { show(news); },
            .end = [this, path, exporter](const std::exception_ptr& error) { finish(error, path, exporter); }});
    tellChange();
}

void ExportRun::stop()
{
    if (task_) task_->cancel();
}

void ExportRun::dismissError()
{
    state_.exportError.reset();
    tellChange();
}

void ExportRun::show(const FilmNews& news)
{
    if (news.progress) state_.exportProgress = news.progress;
    if (news.frame) state_.liveFrame = news.frame;
    tellChange();
}

void ExportRun::finish(const std::exception_ptr& error, const std::string& path, const FilmExporter& exporter)
{
    task_.reset();
    state_ = {};
    bool hasFilm = !error;
    try {
        if (error) std::rethrow_exception(error);
    } catch (const std::exception& failure) {
        if (exporter.isCancel(failure))
            hasFilm = services_.fileExists(path);
        else
            state_.exportError = localizedDescription(failure);
    }
    tellChange();
    if (hasFilm) services_.reveal(path);
}

void ExportRun::tellChange() const
{
    if (services_.changed) services_.changed();
}

} // namespace larkspool
