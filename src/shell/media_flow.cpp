#include "shell/media_flow.h"

#include "canvas/layer_insertion.h"
#include "foundation/text.h"
#include "platform/file_url.h"
#include "shell/scene_strip.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// @name What is offered to be chosen. What a file is, is told by what is in it.
/// @{
constexpr std::array<std::string_view, 9> imageTypes = {"png", "jpg", "jpeg", "webp", "gif", "tif", "tiff", "bmp", "svg"};
constexpr std::array<std::string_view, 6> videoTypes = {"mp4", "mov", "m4v", "mkv", "webm", "avi"};
constexpr std::array<std::string_view, 8> soundTypes = {"mp3", "m4a", "aac", "wav", "aif", "aiff", "flac", "ogg"};
/// @}

constexpr std::size_t locateButton = 0, skipButton = 1;

/// The index of the scene in its document, if it is still there.
std::optional<std::int64_t> indexOf(const TweenDocument& document, const UUID& sceneID)
{
    for (std::size_t i = 0; i < document.scenes.size(); ++i)
        if (document.scenes[i].id == sceneID) return static_cast<std::int64_t>(i);
    return std::nullopt;
}

std::size_t imageRoom(const TweenDocument& document)
{
    const std::size_t held = MediaImport::imageBytes(document);
    return MediaImport::mostImageBytes - std::min(held, MediaImport::mostImageBytes);
}

bool holdsVideo(const Array<Layer>& layers)
{
    return std::ranges::any_of(layers, [](const Layer& layer) { return layer.kind == Layer::Kind::video; });
}

} // namespace

OpenPanel imagesPanel()
{
    return {.message = "Choose images to add to the scene.",
            .typesName = "Images",
            .types = imageTypes,
            .allowsMultipleSelection = true};
}

OpenPanel videosPanel()
{
    return {.message = "Choose videos to add to the scene.",
            .typesName = "Videos",
            .types = videoTypes,
            .allowsMultipleSelection = true};
}

OpenPanel replaceImagePanel()
{
    return {.message = "Choose the image to show in its place.", .typesName = "Images", .types = imageTypes};
}

OpenPanel replaceVideoPanel()
{
    return {.message = "Choose the video to show in its place.", .typesName = "Videos", .types = videoTypes};
}

OpenPanel musicPanel()
{
    return {.message = std::string(SceneStrip::musicPanelMessage), .typesName = "Music", .types = soundTypes};
}

OpenPanel locateVideoPanel(const MissingVideoEntry& entry)
{
    return {.message = fmt::format("Choose where “{}” is now.", entry.name), .typesName = "Videos", .types = videoTypes};
}

Alert videoLinkedNotice()
{
    return {.style = Alert::Style::informational,
            .title = "Videos Are Linked, Not Embedded",
            .text = "Larkspool links to your video file rather than copying it into the document, and tracks it across moves and "
                    "renames automatically. If Larkspool ever can't find the file (for example after the source is deleted or "
                    "moved to another volume), it'll ask you to point it at the current location. You can also right-click the "
                    "layer at any time to replace the video.",
            .buttons = {"OK"}};
}

Alert locateVideoAlert(const MissingVideoEntry& entry, std::size_t remaining)
{
    Alert alert{.style = Alert::Style::warning,
                .title = fmt::format("Locate the video file for “{}”", entry.name),
                .text = entry.path.empty() ? std::string("The layer names no file.")
                                           : fmt::format("It is no longer at {}.", wellFormed(entry.path)),
                .buttons = {"Locate…", "Skip"},
                .cancelButton = skipButton};
    if (remaining > 1) alert.buttons.emplace_back("Skip All");
    return alert;
}

/// What the two threads share of one reading.
struct MediaFlow::Reading {
    UUID sceneID{}; ///< Where the files go.
    std::size_t total = 0;
    std::atomic<std::size_t> done{0};
    std::atomic<bool> isStopped{false};
    ReadMedia media{};            ///< Once the reading is over.
    std::exception_ptr failure{}; ///< Why there is none.
};

MediaFlow::MediaFlow(EditorView& editor, Services services) : editor_(editor), services_(std::move(services)) {}

MediaFlow::~MediaFlow()
{
    stop();
}

void MediaFlow::addImageLayers()
{
    chooseAndRead(imagesPanel(), WantedMedia::images,
                  [this](const ReadMedia& media) { addLayers(media, larkspool::addImageLayers(editor_.scene(), media.layers)); });
}

void MediaFlow::addVideoLayers()
{
    chooseAndRead(videosPanel(), WantedMedia::videos,
                  [this](const ReadMedia& media) { addLayers(media, larkspool::addVideoLayers(editor_.scene(), media.layers)); });
}

void MediaFlow::insertImageLayer(CGPoint at)
{
    chooseAndRead(imagesPanel(), WantedMedia::images,
                  [this, at](ReadMedia media) { place(std::move(media), at, droppedCascade); });
}

void MediaFlow::insertVideoLayer(CGPoint at)
{
    chooseAndRead(videosPanel(), WantedMedia::videos,
                  [this, at](ReadMedia media) { place(std::move(media), at, droppedCascade); });
}

void MediaFlow::importMediaFiles(std::vector<std::string> paths, CGPoint at, double cascadeOffset)
{
    read(std::move(paths), WantedMedia::anything, [this, at, cascadeOffset](ReadMedia media) {
        takeSounds(media);
        place(std::move(media), at, cascadeOffset);
    });
}

void MediaFlow::replaceImageMedia(const UUID& layerID)
{
    chooseAndRead(replaceImagePanel(), WantedMedia::images, [this, layerID](const ReadMedia& media) {
        if (!media.layers.empty())
            editor_.perform(larkspool::replaceImageMedia(editor_.scene(), layerID, media.layers.front()));
        tellRefused(media);
    });
}

void MediaFlow::replaceVideoMedia(const UUID& layerID)
{
    chooseAndRead(replaceVideoPanel(), WantedMedia::videos, [this, layerID](const ReadMedia& media) {
        if (!media.layers.empty())
            editor_.perform(larkspool::replaceVideoMedia(editor_.scene(), layerID, media.layers.front()));
        tellRefused(media);
    });
}

void MediaFlow::pickAudioFile()
{
    chooseAndRead(musicPanel(), WantedMedia::sound, [this](const ReadMedia& media) {
        if (!media.sounds.empty()) setMusic(media.sounds.front());
        tellRefused(media);
    });
}

void MediaFlow::chooseAndRead(const OpenPanel& panel, WantedMedia wanted, Take take)
{
    const std::weak_ptr<const int> alive = isAlive_;
    const RunOpenPanel runPanel = services_.runPanel; // Held here: the flow may go while it runs.
    std::vector<std::string> paths = runPanel(panel);
    if (alive.expired()) return;
    if (!panel.allowsMultipleSelection && paths.size() > 1) paths.resize(1);
    read(std::move(paths), wanted, std::move(take));
}

void MediaFlow::read(std::vector<std::string> paths, WantedMedia wanted, Take take)
{
    if (paths.empty()) return;
    const auto reading = std::make_shared<Reading>();
    const TweenScene scene = editor_.scene();
    reading->sceneID = scene.id;
    reading->total = paths.size();
    readings_.push_back(reading);

    const auto onMain = [post = services_.tasks.onMain, alive = std::weak_ptr(isAlive_)](std::function<void()> step) {
        post([alive, step = std::move(step)] {
            if (!alive.expired()) step();
        });
    };
    const auto goesOn = [reading, onMain, this](std::size_t done) {
        reading->done = done;
        onMain([this] { services_.progressed(); });
        return !reading->isStopped;
    };
    const MediaReading how{wanted, imageRoom(editor_.state().document), services_.bookmarks, goesOn};
    services_.tasks.detach([reading, onMain, how, paths = std::move(paths), scene, take = std::move(take), this] {
        try {
            reading->media = readMediaFiles(paths, scene, how);
        } catch (...) {
            reading->failure = std::current_exception();
        }
        onMain([this, reading, take] { finish(reading, take); });
    });
}

void MediaFlow::finish(const std::shared_ptr<Reading>& reading, const Take& take)
{
    std::erase(readings_, reading);
    const std::weak_ptr<const int> alive = isAlive_;
    const std::optional<std::int64_t> scene = indexOf(editor_.state().document, reading->sceneID);
    if (reading->failure)
        services_.tell("The files could not be read.");
    else if (!reading->isStopped && !scene)
        services_.tell("The scene that the files were for is gone.");
    else if (!reading->isStopped) {
        editor_.selectScene(*scene);
        take(std::move(reading->media));
    }
    if (!alive.expired()) services_.changed();
}

void MediaFlow::place(ReadMedia media, CGPoint at, double cascadeOffset)
{
    addLayers(media, larkspool::importMediaFiles(editor_.scene(), media.layers, at, cascadeOffset));
}

void MediaFlow::addLayers(const ReadMedia& media, std::optional<Edit> edit)
{
    const bool added = editor_.perform(std::move(edit));
    if (!added && !media.layers.empty()) services_.tell("The document holds no more layers.");
    tellRefused(media);
    if (added && holdsVideo(media.layers)) showVideoLinkedNoticeIfNeeded();
}

void MediaFlow::takeSounds(ReadMedia& media)
{
    if (media.sounds.size() == 1 && !editor_.state().document.audio) {
        setMusic(media.sounds.front());
        return;
    }
    for (const std::string& path : media.sounds)
        media.refused.push_back({shownFileName(path), RefusedFile::Reason::sound, WantedMedia::anything});
}

void MediaFlow::setMusic(const std::string& path)
{
    std::error_code ignored; // Without a working folder a relative path stays one.
    const std::string url = fileURLFromPath(std::filesystem::absolute(path, ignored).string());
    editor_.editDocument([&](TweenDocument& document) {
        SceneStrip::setMusic(document, url, shownFileName(path), MediaImport::makeBookmark(path, *services_.bookmarks));
    });
}

void MediaFlow::tellRefused(const ReadMedia& media) const
{
    if (!media.refused.empty()) services_.tell(refusedWords(media.refused));
}

void MediaFlow::showVideoLinkedNoticeIfNeeded()
{
    UserDefaults& defaults = editor_.defaults();
    if (defaults.boolean(DefaultsKey::shownVideoLinkedNotice)) return;
    defaults.set(DefaultsKey::shownVideoLinkedNotice, true); // Before it is shown: another import may end meanwhile.
    const RunAlert runAlert = services_.runAlert;
    runAlert(videoLinkedNotice());
}

void MediaFlow::relinkViaBookmarks()
{
    const MediaPlaces where = places();
    TweenDocument relinked = editor_.state().document;
    bool refreshedAny = false;
    for (std::size_t i = 0; i < relinked.scenes.size(); ++i) {
        Array<Layer> layers = std::as_const(relinked).scenes[i].layers;
        bool refreshed = false;
        relinkVideosViaBookmarks(layers, refreshed, where, *services_.bookmarks);
        if (!refreshed) continue;
        relinked.scenes.edit()[i].layers = std::move(layers);
        refreshedAny = true;
    }
    if (refreshedAny) editor_.editDocument([&](TweenDocument& document) { document = relinked; });
}

void MediaFlow::relink(std::span<const VideoRelink> relinks, const MediaPlaces& where)
{
    editor_.mutateDocument("Reconnect Video", [&](TweenDocument& document) {
        for (std::size_t i = 0; i < document.scenes.size(); ++i) {
            Array<Layer> layers = std::as_const(document).scenes[i].layers;
            if (relinkVideos(layers, relinks, where)) document.scenes.edit()[i].layers = std::move(layers);
        }
    });
}

void MediaFlow::reconnectMissingVideosIfNeeded()
{
    const std::weak_ptr<const int> alive = isAlive_;
    const RunAlert runAlert = services_.runAlert; // Held here: the flow may go while one runs.
    const RunOpenPanel runPanel = services_.runPanel;
    relinkViaBookmarks();
    VideoReconnection reconnection(editor_.state().document, places(), *services_.bookmarks);
    while (const MissingVideoEntry* entry = reconnection.asked()) {
        const std::size_t button = runAlert(locateVideoAlert(*entry, reconnection.remaining()));
        if (alive.expired()) return;
        if (button > skipButton) break;
        const std::vector<std::string> chosen =
            button == locateButton ? runPanel(locateVideoPanel(*entry)) : std::vector<std::string>();
        if (alive.expired()) return;
        if (chosen.empty()) {
            reconnection.skip();
        } else if (!isVideoFile(chosen.front())) {
            const RefusedFile refused{shownFileName(chosen.front()), RefusedFile::Reason::otherMedia, WantedMedia::videos};
            services_.tell(refused.words());
        } else {
            relink(reconnection.locate(chosen.front()), places());
        }
    }
    services_.changed();
}

std::optional<MediaFlow::Progress> MediaFlow::progress() const
{
    if (readings_.empty()) return std::nullopt;
    Progress all;
    for (const std::shared_ptr<Reading>& reading : readings_) {
        all.done += reading->done;
        all.total += reading->total;
    }
    return all;
}

void MediaFlow::stop()
{
    for (const std::shared_ptr<Reading>& reading : readings_) reading->isStopped = true;
}

} // namespace larkspool
