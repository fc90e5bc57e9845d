#pragma once

#include "document/tween_document.h"
#include "platform/audio_player.h"
#include "platform/timers.h"
#include "shell/editor_view.h"
#include "shell/tasks.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// What happens when playback comes to the end of a scene.
enum class PlayMode { once, loop, allScenes };

/// The mode of a name, "once", "loop" or "allScenes"; `once` for any other.
PlayMode playMode(std::string_view name);
std::string_view playModeName(PlayMode mode);

/// Seconds of the whole document at the playhead of the active scene.
double globalPlayheadTime(const TweenDocument& document, double playhead);

/// How loud the document's sound is then, 0 or more: its volume, which fades out in a line over the last second of the document.
double audioFadeVolume(const TweenDocument& document, double globalTime);

/// The player of a document's sound, whose file is read on another thread. Until it is, and without a sound that loads, nothing
/// happens.
class DocumentAudioController {
public:
    DocumentAudioController(ReadForAudioPlayer read, Tasks tasks) : read_(std::move(read)), tasks_(std::move(tasks)) {}
    DocumentAudioController(const DocumentAudioController&) = delete;
    DocumentAudioController& operator=(const DocumentAudioController&) = delete;

    std::function<void()> loaded; ///< Called when there is a player that there was not before. May be absent.

    const std::optional<std::string>& loadedPath() const { return loadedPath_; }
    double duration() const { return duration_; } ///< Seconds; 0 without a player.
    AudioPlayer* player() { return player_.get(); } ///< Null without one.

    /// Stops what plays and has a player made for the file. Nothing comes of files that were to be loaded before it.
    void load(const std::string& path);
    void unload();
    /// Plays from there on, or from shortly before the end. At the end it pauses.
    void play(double at);
    /// Goes there, and goes on playing if it did.
    void seek(double to);
    void pause();
    /// Held to 0...1.
    void setVolume(double volume);

    /// Has the sound of the document loaded, if its file is there, and no other. `resolve` gives the path of its file, or nothing
    /// if that is gone.
    void sync(const std::optional<DocumentAudio>& audio,
              const std::function<std::optional<std::string>(const DocumentAudio& audio)>& resolve);

private:
    void take(const std::string& path, const MakeAudioPlayer& make);

    ReadForAudioPlayer read_;
    Tasks tasks_;
    std::shared_ptr<const std::string> loadingPath_; ///< Of the file that is being read, if one is.
    std::unique_ptr<AudioPlayer> player_;
    std::optional<std::string> loadedPath_;
    double duration_ = 0;
};

/// Moves the playhead of an editor by a fixed step at 60 ticks a second while it plays. A machine that cannot keep up plays more
/// slowly, and drops no frame.
class Playback {
public:
    static constexpr double step = 0.016666666666666666; ///< Seconds.

    Playback(EditorView& editor, Timers& timers, DocumentAudioController& audio);
    ~Playback();
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    bool isPlaying() const { return isPlaying_; }
    void setPlaying(bool isPlaying);
    void togglePlay() { setPlaying(!isPlaying_); }
    void rewind() { editor_.setPlayhead(0); }
    /// One frame back or on, held within the scene.
    void stepFrames(int frames);

    /// Takes the sound to the playhead in the active scene, and plays on from there if it plays.
    void activeSceneChanged();
    /// The same if another index is active than when this was last looked at. To be called after every change of the document.
    void followActiveScene();

    void tick();

private:
    void soundLoaded();
    void endScene(PlayMode mode);
    void matchVolume();
    double globalTime() const;

    EditorView& editor_;
    Timers& timers_;
    DocumentAudioController& audio_;
    bool isPlaying_ = false;
    std::int64_t followedScene_; ///< The index whose sound plays.
    Timer playTimer_;
};

} // namespace larkspool
