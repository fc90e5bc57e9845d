#pragma once

#include "document/tween_document.h"
#include "export/exporter.h"
#include "platform/media_file.h"

#include <string>
#include <vector>

namespace larkspool {

/// What of a document an export shows.
struct ExportTarget {
    enum class Kind { specificScene, allScenes, currentScene };

    Kind kind = Kind::currentScene;
    std::int64_t sceneIndex = 0; ///< Of a specificScene.

    static constexpr ExportTarget specificScene(std::int64_t index) { return {Kind::specificScene, index}; }
    static constexpr ExportTarget allScenes() { return {Kind::allScenes}; }
    static constexpr ExportTarget currentScene() { return {Kind::currentScene}; }

    bool operator==(const ExportTarget&) const = default;
};

namespace Exporter {

/// Where the sound of a film comes from.
struct SoundSources {
    std::optional<ExportAudio> audio;
    std::vector<VideoAudioClip> videoAudioClips;

    bool operator==(const SoundSources&) const = default;
};

using larkspool::fileExists;
using larkspool::FileExists;

/// The scene that a target of one scene means: the one it names, else the active one, else, where that is none of the list
/// either, the first. 0 for all scenes.
std::size_t exportedSceneIndex(const TweenDocument& document, ExportTarget target);

/// The bed and the clips for an export.
///
/// Scenes are taken to follow one another by their durations alone: pauses and transitions lengthen the picture and not the
/// sound, which runs ahead from the first of them on. One scene has the stretch of the bed that lies under it; the bed fades over
/// the document's last second. A bed whose file is not there is none.
SoundSources soundSources(const TweenDocument& document, ExportTarget target, const FileExists& exists = fileExists);

/// Appends the sound of the video layers in `layers`, in groups too, for a scene that begins at `sceneOutputStart` seconds of the
/// film. Each clip gives its plain stretch of source at full volume, whether or not its layer shows, loops or freezes. A layer
/// whose file is not there gives none.
void collectQuickRenderVideoAudio(const Array<Layer>& layers, double sceneOutputStart, std::vector<VideoAudioClip>& clips,
                                  const FileExists& exists = fileExists);

} // namespace Exporter

} // namespace larkspool
