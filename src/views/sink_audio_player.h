#pragma once

#include "platform/audio_player.h"

#include <memory>
#include <string>

namespace larkspool {

/// A player of the sound of a media file through the desktop's sound device. Without a device it plays silently, in time. Null for
/// a file whose sound cannot be read.
std::unique_ptr<AudioPlayer> loadSinkAudioPlayer(const std::string& path);

} // namespace larkspool
