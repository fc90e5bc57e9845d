#include "views/media_surfaces.h"

#include "canvas/selected_layers.h"
#include "views/media_notice.h"
#include "views/media_panels.h"

#include <QApplication>
#include <QPointer>

#include <chrono>
#include <utility>

namespace larkspool {

namespace {

constexpr std::chrono::milliseconds askAgain{50};
/// Reading tells of every file, and a window need not be painted for each.
constexpr std::chrono::milliseconds betweenChanges{30};

} // namespace

MediaSurfaces::MediaSurfaces(QWidget& window, QWidget& canvas, Services services)
    : services_(std::move(services)), notice_(new MediaNotice(&canvas, [this] { flow_->stop(); }))
{
    if (!services_.runPanel) services_.runPanel = openPanelOver(window, services_.documentFolder);
    if (!services_.runAlert) services_.runAlert = alertOver(window);
    for (QTimer* timer : {&whenFree_, &change_}) timer->setSingleShot(true);
    QObject::connect(&whenFree_, &QTimer::timeout, &whenFree_, [this] { runSteps(); });
    QObject::connect(&change_, &QTimer::timeout, &change_, [this] { showChange(); });

    Tasks tasks = services_.tasks;
    tasks.onMain = [post = services_.tasks.onMain, alive = std::weak_ptr(isAlive_), this](std::function<void()> step) {
        post([alive, step = std::move(step), this] {
            if (!alive.expired()) whenFree(step);
        });
    };
    RunAlert runAlert = asking(services_.runAlert);
    flow_ = std::make_unique<MediaFlow>(
        services_.editor,
        MediaFlow::Services{.tasks = std::move(tasks),
                            .runPanel = asking(services_.runPanel),
                            .runAlert =
                                [this, runAlert](Alert alert) {
                                    if (const std::string before = std::exchange(untold_, {}); !before.empty())
                                        alert.text = before + "\n" + alert.text;
                                    return runAlert(alert);
                                },
                            .tell = [this](const std::string& words) { tell(words); },
                            .changed = [this] { showChange(); },
                           .progressed = [this] { changeSoon(); },
                            .documentFolder = services_.documentFolder});
}

MediaSurfaces::~MediaSurfaces() = default;

template <typename Answer, typename Question>
std::function<Answer(const Question&)> MediaSurfaces::asking(std::function<Answer(const Question&)> run)
{
    return [run = std::move(run), alive = std::weak_ptr(isAlive_), this](const Question& question) {
        ++asking_;
        changeSoon();
        Answer answer = run(question);
        if (alive.expired()) return answer;
        --asking_;
        changeSoon();
        return answer;
    };
}

void MediaSurfaces::open(Command command)
{
    if (command != Command::replaceImage && command != Command::replaceVideo) return;
    const TweenScene scene = services_.editor.scene();
    const auto selected = collectSelectedAnywhere(scene.layers, services_.editor.state().selectedLayerIDs);
    if (selected.empty()) return;
    askSoon([id = selected.front()->id, command](MediaFlow& flow) {
        command == Command::replaceImage ? flow.replaceImageMedia(id) : flow.replaceVideoMedia(id);
    });
}

void MediaSurfaces::insert(Layer::Kind kind, CGPoint at)
{
    if (kind == Layer::Kind::image) askSoon([at](MediaFlow& flow) { flow.insertImageLayer(at); });
    if (kind == Layer::Kind::video) askSoon([at](MediaFlow& flow) { flow.insertVideoLayer(at); });
}

void MediaSurfaces::add(Layer::Kind kind)
{
    if (kind == Layer::Kind::image) askSoon([](MediaFlow& flow) { flow.addImageLayers(); });
    if (kind == Layer::Kind::video) askSoon([](MediaFlow& flow) { flow.addVideoLayers(); });
}

void MediaSurfaces::pickMusic()
{
    askSoon([](MediaFlow& flow) { flow.pickAudioFile(); });
}

void MediaSurfaces::take(std::vector<std::string> paths, CGPoint at)
{
    if (paths.empty()) return tell("Only files on this computer can be dropped here.");
    flow_->importMediaFiles(std::move(paths), at);
    changeSoon();
}

void MediaSurfaces::reconnect()
{
    QTimer::singleShot(0, &change_, [this] { whenFree([this] { reconnectNow(); }); });
}

void MediaSurfaces::reconnectNow()
{
    const std::weak_ptr<const int> alive = isAlive_;
    isReconnecting_ = true;
    flow_->reconnectMissingVideosIfNeeded();
    if (alive.expired()) return;
    isReconnecting_ = false;
    if (const std::string left = std::exchange(untold_, {}); !left.empty()) tell(left);
}

void MediaSurfaces::askSoon(Ask ask)
{
    QTimer::singleShot(0, &change_, [this, ask = std::move(ask)] {
        if (isOpen()) return;
        const std::weak_ptr<const int> alive = isAlive_;
        ask(*flow_);
        if (!alive.expired()) changeSoon();
    });
}

void MediaSurfaces::whenFree(std::function<void()> step)
{
    steps_.push_back(std::move(step));
    runSteps();
}

void MediaSurfaces::runSteps()
{
    const std::weak_ptr<const int> alive = isAlive_;
    while (!steps_.empty()) {
        if (isOpen() || services_.isBusy() || QApplication::activeModalWidget()) return whenFree_.start(askAgain);
        const std::function<void()> step = std::move(steps_.front());
        steps_.pop_front();
        step();
        if (alive.expired()) return;
    }
}

void MediaSurfaces::tell(const std::string& words)
{
    if (isReconnecting_)
        untold_ = words;
    else
        notice_->tell(words);
}

void MediaSurfaces::showChange()
{
    notice_->showProgress(flow_->progress());
    services_.changed();
}

void MediaSurfaces::changeSoon()
{
    if (!change_.isActive()) change_.start(betweenChanges);
}

} // namespace larkspool
