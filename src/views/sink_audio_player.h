#pragma once

#include "platform/audio_player.h"

#include <functional>
#include <memory>
#include <string>

class QIODevice;

namespace larkspool {

/// A sound device of the desktop, which can be taken away at any time.
class SoundDevice {
public:
    virtual ~SoundDevice() = default;

    /// Takes `sound`, which outlives what plays, from its beginning: stereo frames of floats at `SampleStream::sampleRate`.
    virtual void start(QIODevice& sound) = 0;
    virtual void stop() = 0;
    virtual void setVolume(double volume) = 0; ///< 0...1.
    virtual double playedSeconds() const = 0;  ///< Since the last start.
    virtual bool isGone() const = 0;           ///< Nothing will be heard of it any more.
};

/// Opens the device that the desktop plays through just now; null if there is none.
using OpenSoundDevice = std::function<std::unique_ptr<SoundDevice>()>;
std::unique_ptr<SoundDevice> openDesktopSoundDevice();

/// A player of the sound of a media file through the desktop's sound device. Without a device, and from the moment on in which
/// that is taken away, it plays silently, in time; the next start looks for a device again. Null for a file whose sound cannot be
/// read.
std::unique_ptr<AudioPlayer> loadSinkAudioPlayer(const std::string& path);

/// The same in two steps, the first of them for any thread.
MakeAudioPlayer readForSinkAudioPlayer(const std::string& path);

/// A player on devices from elsewhere.
std::unique_ptr<AudioPlayer> loadAudioPlayerOn(const std::string& path, OpenSoundDevice openDevice);

} // namespace larkspool
