#pragma once

#include "export/exporter.h"

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool::Exporter {

/// How an exporter writes the pictures of a film.
struct SilentStage {
    std::string_view temporaryPrefix; ///< Of the name of a silent film that sound is laid beside.
    std::function<void(const std::string& path, const ExportOptions& options)> write;
    std::function<bool(const std::exception& error)> isCancel; ///< Whether `write` was stopped, and has left what there was.
};

/// Writes a film, and lays sound beside it, if there is any. It begins and ends without an open video, however it ends.
void writeWithSound(const std::string& path, const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& clips,
                    const ExportOptions& options, const SilentStage& stage);

} // namespace larkspool::Exporter
