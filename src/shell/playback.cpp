#include "shell/playback.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// A seek to the very end would stop the player for good.
constexpr double endMargin = 0.01;
constexpr double fadeLength = 1;

} // namespace

PlayMode playMode(std::string_view name)
{
    if (name == playModeName(PlayMode::loop)) return PlayMode::loop;
    return name == playModeName(PlayMode::allScenes) ? PlayMode::allScenes : PlayMode::once;
}

std::string_view playModeName(PlayMode mode)
{
    switch (mode) {
    case PlayMode::once: return "once";
    case PlayMode::loop: return "loop";
    case PlayMode::allScenes: return "allScenes";
    }
    return {};
}

double globalPlayheadTime(const TweenDocument& document, double playhead)
{
    return playhead + document.sceneStartTime(document.activeSceneIndex);
}

double audioFadeVolume(const TweenDocument& document, double globalTime)
{
    const double remaining = document.totalDuration() - globalTime;
    const double level = document.audio ? document.audio->volume : 1;
    return remaining >= fadeLength ? level : std::max(remaining, 0.0) * level;
}

void DocumentAudioController::load(const std::string& path)
{
    unload();
    loadingPath_ = std::make_shared<const std::string>(path);
    tasks_.detach([this, path, read = read_, onMain = tasks_.onMain, weak = std::weak_ptr(loadingPath_)] {
        if (weak.expired()) return; // Another is wanted by now, or none.
        onMain([this, path, make = read(path), weak] {
            if (!weak.expired()) take(path, make);
        });
    });
}

void DocumentAudioController::take(const std::string& path, const MakeAudioPlayer& make)
{
    loadingPath_.reset();
    player_ = make ? make() : nullptr;
    if (!player_) return;
    loadedPath_ = path;
    duration_ = player_->duration();
    if (loaded) loaded();
}

void DocumentAudioController::unload()
{
    if (player_) player_->pause();
    player_.reset();
    loadingPath_.reset();
    loadedPath_.reset();
    duration_ = 0;
}

void DocumentAudioController::play(double at)
{
    if (!player_) return;
    const double time = std::max(std::min(at, duration_ - endMargin), 0.0);
    if (!(time < duration_)) return player_->pause();
    player_->setCurrentTime(time);
    player_->play();
}

void DocumentAudioController::seek(double to)
{
    if (!player_) return;
    const double time = std::max(std::min(to, duration_), 0.0);
    const bool played = player_->isPlaying();
    player_->setCurrentTime(time);
    if (played && time < duration_)
        player_->play();
    else
        player_->pause();
}

void DocumentAudioController::pause()
{
    if (player_) player_->pause();
}

void DocumentAudioController::setVolume(double volume)
{
    if (player_) player_->setVolume(std::clamp(volume, 0.0, 1.0));
}

void DocumentAudioController::sync(const std::optional<DocumentAudio>& audio,
                                   const std::function<std::optional<std::string>(const DocumentAudio& audio)>& resolve)
{
    const std::optional<std::string> path = audio ? resolve(*audio) : std::nullopt;
    if (!path) return unload();
    const bool isOnTheWay = loadingPath_ && *loadingPath_ == *path;
    if (path != loadedPath_ && !isOnTheWay) load(*path);
}

Playback::Playback(EditorView& editor, Timers& timers, DocumentAudioController& audio)
    : editor_(editor), timers_(timers), audio_(audio), followedScene_(editor.state().document.activeSceneIndex)
{
    audio_.loaded = [this] { soundLoaded(); };
}

Playback::~Playback()
{
    audio_.loaded = nullptr;
}

/// Music that comes late is heard from where the scene plays.
void Playback::soundLoaded()
{
    if (!isPlaying_) return;
    matchVolume();
    audio_.play(globalTime());
}

double Playback::globalTime() const
{
    return globalPlayheadTime(editor_.state().document, editor_.state().playhead);
}

void Playback::matchVolume()
{
    audio_.setVolume(audioFadeVolume(editor_.state().document, globalTime()));
}

void Playback::setPlaying(bool isPlaying)
{
    if (isPlaying == isPlaying_) return;
    isPlaying_ = isPlaying;
    playTimer_ = isPlaying ? timers_.every(1.0 / 60, [this] { tick(); }) : Timer();
    if (!isPlaying) return audio_.pause();
    matchVolume();
    audio_.play(globalTime());
}

void Playback::stepFrames(int frames)
{
    const TweenScene scene = editor_.scene();
    if (scene.fps <= 0) return;
    const double time = editor_.state().playhead + frames / static_cast<double>(scene.fps);
    editor_.setPlayhead(std::max(std::min(time, scene.duration), 0.0));
}

void Playback::followActiveScene()
{
    if (editor_.state().document.activeSceneIndex != followedScene_) activeSceneChanged();
}

void Playback::activeSceneChanged()
{
    followedScene_ = editor_.state().document.activeSceneIndex;
    matchVolume();
    if (isPlaying_)
        audio_.play(globalTime());
    else
        audio_.seek(globalTime());
}

void Playback::tick()
{
    const double next = editor_.state().playhead + step;
    if (editor_.scene().duration > next)
        editor_.setPlayhead(next);
    else
        endScene(playMode(editor_.defaults().string(DefaultsKey::playMode)));
    matchVolume();
}

void Playback::endScene(PlayMode mode)
{
    const TweenDocument& document = editor_.state().document;
    if (mode == PlayMode::loop) {
        editor_.setPlayhead(0);
        return audio_.play(document.sceneStartTime(document.activeSceneIndex));
    }
    const std::int64_t last = static_cast<std::int64_t>(document.scenes.size()) - 1;
    if (mode == PlayMode::allScenes && document.activeSceneIndex < last) {
        editor_.setActiveScene(document.activeSceneIndex + 1);
        editor_.setPlayhead(0);
        return activeSceneChanged();
    }
    editor_.setPlayhead(editor_.scene().duration);
    setPlaying(false);
}

} // namespace larkspool
