#include "rendering/canvas_videos.h"

#include "platform/media_file.h"

#include <cmath>
#include <optional>
#include <utility>

namespace larkspool {

namespace {

/// While it plays, a player asks for a picture wherever its clock stands, but for repeats of one painting.
constexpr double playingInterval = 1.0 / 1000;

/// A scene that plays may hold the time of a source still, as at a frozen end. After so many seconds its player stands still too.
constexpr double longestHold = 0.1;

/// Whether a file is there is asked again where it is painted so many seconds later.
constexpr double fileInterval = 1;

/// The clock of a player.
class PlayerClock {
public:
    double time(double now) const { return time_ + rate_ * (now - since_); }

    void follow(const VideoPlayerStep& step, double now)
    {
        using Kind = VideoPlayerStep::Kind;
        switch (step.kind) {
        case Kind::tearDown:
        case Kind::build: return set(0, 0, now);
        case Kind::seek: return set(step.time, rate_, now);
        case Kind::setRate: return set(time(now), step.rate, now);
        }
    }

private:
    void set(double time, double rate, double now)
    {
        time_ = time;
        rate_ = rate;
        since_ = now;
    }

    double time_ = 0, rate_ = 0, since_ = 0;
};

} // namespace

/// One layer's video.
struct CanvasVideos::View {
    VideoFrameRequests requests;
    std::optional<VideoFrameRequests::Request> underway; ///< The latest request, until it is answered.
    VideoPlayerDirector director;
    PlayerClock clock;
    double sourceTime = -1; ///< Asked for last.
    double heldSince = 0; ///< By the wall clock.
    bool isShown = true;
};

/// What is known of the file of a reference.
struct CanvasVideos::SoughtFile {
    File known;
    double soughtAt = 0; ///< By the wall clock.
    bool isUnderway = true;
    bool isShown = true;
};

CanvasVideos::CanvasVideos(RunLoop& mainThread, std::function<void()> pictureArrived)
    : mainThread_(std::make_shared<RunLoopLink>(mainThread)),
      pictureArrived_(std::make_shared<std::function<void()>>(std::move(pictureArrived)))
{}

CanvasVideos::~CanvasVideos()
{
    mainThread_->close();
}

void CanvasVideos::setDocumentFolder(std::string folder)
{
    if (folder == documentFolder_) return;
    documentFolder_ = std::move(folder);
    files_.clear();
}

void CanvasVideos::beginPainting(bool scenePlaying, double now)
{
    scenePlaying_ = scenePlaying;
    now_ = now;
    for (const auto& [id, view] : views_) view->isShown = false;
    for (const auto& [reference, file] : files_) file->isShown = false;
}

VideoPictures::File CanvasVideos::file(const std::string& reference)
{
    std::shared_ptr<SoughtFile>& sought = files_[reference];
    const bool isNew = !sought;
    if (isNew) sought = std::make_shared<SoughtFile>();
    sought->isShown = true;
    // Files come and go while they are shown.
    if (isNew || (!sought->isUnderway && !(std::abs(now_ - sought->soughtAt) < fileInterval))) seek(reference, sought);
    return sought->known;
}

void CanvasVideos::seek(const std::string& reference, const std::shared_ptr<SoughtFile>& sought)
{
    sought->isUnderway = true;
    sought->soughtAt = now_;
    // A file system can take long to answer, as one on another computer that does not.
    worker_.add([reference, folder = documentFolder_, weak = std::weak_ptr(sought), mainThread = mainThread_,
                 arrived = std::weak_ptr(pictureArrived_)] {
        if (weak.expired()) return;
        File found{.state = File::State::there, .path = mediaPath(reference, folder)};
        if (!isReadableFile(found.path)) found = {.state = File::State::missing};
        mainThread->post([weak, found = std::move(found), arrived] {
            const std::shared_ptr<SoughtFile> answered = weak.lock();
            const auto tell = arrived.lock();
            if (!answered || !tell) return;
            answered->isUnderway = false;
            if (std::exchange(answered->known, found) != found) (*tell)();
        });
    });
}

void CanvasVideos::fetch(const std::shared_ptr<View>& view, const VideoFrameRequests::Request& request)
{
    const auto isWanted = [weak = std::weak_ptr(view), token = request.token] {
        const std::shared_ptr<View> wanted = weak.lock();
        return wanted && !wanted->requests.isOvertaken(token);
    };
    worker_.add([request, isWanted, weak = std::weak_ptr(view), cache = cache_, mainThread = mainThread_,
                 arrived = std::weak_ptr(pictureArrived_)] {
        if (!isWanted()) return;
        ImageRef image = cache->frame(request.path, request.time, request.settings);
        mainThread->post([request, weak, image = std::move(image), arrived] {
            const std::shared_ptr<View> answered = weak.lock();
            const auto tell = arrived.lock();
            if (!answered || !tell) return;
            if (answered->underway && answered->underway->token == request.token) answered->underway.reset();
            if (answered->requests.commit(request, image)) (*tell)();
        });
    });
}

ImageRef CanvasVideos::picture(const Layer& layer, const std::string& path, double sourceTime)
{
    std::shared_ptr<View>& view = views_[layer.id];
    if (!view) view = std::make_shared<View>();
    view->isShown = true;

    const BlackKeySettings settings = blackKeySettings(layer);
    const double time = wantedTime(*view, path, sourceTime, settings);
    const auto interval = scenePlaying_ ? playingInterval : VideoFrameRequests::scrubbingInterval;
    if (const auto& underway = view->underway; underway && underway->asksTheSame({underway->token, path, time, settings}))
        return view->requests.cgImage();
    view->underway = view->requests.request(path, time, settings, interval);
    if (view->underway) fetch(view, *view->underway);
    return view->requests.cgImage();
}

void CanvasVideos::endPainting()
{
    std::erase_if(views_, [](const auto& each) { return !each.second->isShown; });
    std::erase_if(files_, [](const auto& each) { return !each.second->isShown; });
}

/// Where the layer's player stands, once it has been told what the canvas wants.
double CanvasVideos::wantedTime(View& view, const std::string& path, double sourceTime, const BlackKeySettings& settings)
{
    if (sourceTime != view.sourceTime) {
        view.sourceTime = sourceTime;
        view.heldSince = now_;
    }
    const bool isPlaying = scenePlaying_ && now_ - view.heldSince <= longestHold;
    for (const VideoPlayerStep& step : view.director.configure(path, sourceTime, isPlaying, settings, view.clock.time(now_)))
        view.clock.follow(step, now_);
    return view.clock.time(now_);
}

} // namespace larkspool
