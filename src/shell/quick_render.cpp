#include "shell/quick_render.h"

#include "document/file_format.h"
#include "export/headless.h"
#include "foundation/json_writer.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

constexpr double quickRenderScale = 0.5;
/// What is left of the scene at least, in seconds.
constexpr double leastStretch = 0.01;

/// What is rendered, and where to: the path is known once the work has begun.
struct Work {
    TweenScene scene;
    double startTime = 0;
    std::vector<Exporter::VideoAudioClip> clips;
    std::string path;
};

/// What does not become a whole film is removed here: at the end of the program nobody else may hear of it any more.
void write(Work& work, const FilmExporter& exporter, Exporter::ExportOptions options,
           const std::function<void(const std::string& path)>& remove)
{
    work.path = makeQuickRenderURL();
    options.motionBlurSamples = 1;
    options.outputScale = quickRenderScale;
    try {
        exporter.exportScene(work.scene, work.path, work.startTime, std::nullopt, work.clips, options);
    } catch (...) {
        remove(work.path);
        throw;
    }
    if (options.cancel && options.cancel->isCancelled()) remove(work.path);
}

bool isCancel(const std::exception& error)
{
    return textualForm(error).find("userCancelled") != std::string::npos;
}

} // namespace

double quickRenderStart(const TweenScene& scene, QuickRender::From from, double playhead)
{
    if (from == QuickRender::From::beginning) return 0;
    const double start = std::min(playhead, scene.duration - leastStretch);
    return start >= 0 ? start : 0;
}

std::optional<std::string> quickRenderFingerprint(const TweenScene& scene, double startTime)
try {
    return fmt::format("{}|start:{}", encodedJson(scene, JsonWriter::Layout::compact), startTime);
} catch (const JsonWriteError&) {
    return std::nullopt;
}

std::string makeQuickRenderURL()
{
    return Exporter::makeTempURL("larkspool-quickrender-");
}

QuickRender::~QuickRender()
{
    removeLastFilm();
}

void QuickRender::startQuickRender(const TweenDocument& document, From from, double playhead)
{
    if (state_) return;
    const TweenScene scene = document.scene();
    const double startTime = quickRenderStart(scene, from, playhead);
    std::optional<std::string> fingerprint = quickRenderFingerprint(scene, startTime);
    if (fingerprint && fingerprint == lastFingerprint_ && lastFilm_ && services_.fileExists(*lastFilm_)) {
        state_ = {.phase = QuickRenderState::Playing{*lastFilm_}};
        tellChange();
        return;
    }
    render(scene, startTime, std::move(fingerprint));
}

void QuickRender::render(const TweenScene& scene, double startTime, std::optional<std::string> fingerprint)
{
    state_.emplace();
    const auto work = std::make_shared<Work>(Work{.scene = scene, .startTime = startTime});
    // A clip keeps its place in the scene, wherever the film begins.
    Exporter::collectQuickRenderVideoAudio(scene.layers, 0, work->clips, services_.fileExists);
    task_ = std::make_unique<FilmTask>(
        services_.tasks,
        FilmTask::Steps{.write =
                            [work, exporter = services_.exporter, remove = services_.removeFile](const auto& options) {
                                write(*work, exporter, options, remove);
                            },
                        .news = [this](const FilmNews& news) { show(news); },
                        .end =
                            [this, work, fingerprint = std::move(fingerprint)](const std::exception_ptr& error) {
                                finish(error, work->path, fingerprint);
                            },
                        .abandonedEnd = [work, remove = services_.removeFile](
                                            const std::exception_ptr&) { remove(work->path); }});
    tellChange();
}

void QuickRender::closeQuickRender()
{
    if (task_) {
        task_.reset();
        removeLastFilm();
    }
    state_.reset();
    tellChange();
}

void QuickRender::removeQuietly(const std::string& path)
{
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

void QuickRender::show(const FilmNews& news)
{
    if (news.progress) state_->phase = QuickRenderState::Rendering{*news.progress};
    if (news.frame) state_->liveFrame = news.frame;
    tellChange();
}

void QuickRender::finish(const std::exception_ptr& error, const std::string& path, std::optional<std::string> fingerprint)
{
    task_.reset();
    try {
        if (error) std::rethrow_exception(error);
        removeLastFilm(); // Nobody plays it any more.
        lastFilm_ = path;
        lastFingerprint_ = std::move(fingerprint);
        state_->phase = QuickRenderState::Playing{path};
    } catch (const std::exception& failure) {
        if (isCancel(failure))
            state_.reset();
        else
            state_->phase = QuickRenderState::Error{localizedDescription(failure)};
    }
    tellChange();
}

void QuickRender::removeLastFilm()
{
    if (lastFilm_) services_.removeFile(*lastFilm_);
    lastFilm_.reset();
}

void QuickRender::tellChange() const
{
    if (services_.changed) services_.changed();
}

} // namespace larkspool
