#pragma once

#include <functional>
#include <memory>
#include <string>

namespace larkspool {

/// Plays one sound file aloud. On the main thread only.
class AudioPlayer {
public:
    virtual ~AudioPlayer() = default;

    virtual double duration() const = 0; ///< Seconds.
    virtual double currentTime() const = 0;
    virtual void setCurrentTime(double seconds) = 0;
    virtual void setVolume(double volume) = 0; ///< 0...1.
    virtual bool isPlaying() const = 0;
    virtual void play() = 0;
    virtual void pause() = 0;
};

/// A player for the file at a path; null for a file that will not load.
using LoadAudioPlayer = std::function<std::unique_ptr<AudioPlayer>(const std::string& path)>;

/// Makes the player of a file that has been read, at once: on the main thread, and no more than once.
using MakeAudioPlayer = std::function<std::unique_ptr<AudioPlayer>()>;

/// Reads what a player of the file at a path needs, which takes long where the file does not tell the length of its sound: on any
/// thread. Null for a file that will not load.
using ReadForAudioPlayer = std::function<MakeAudioPlayer(const std::string& path)>;

} // namespace larkspool
