#include "export/sound_sources.h"

#include "platform/file_url.h"

namespace larkspool::Exporter {

namespace {

/// Of the bed, at the end of the document, in seconds.
constexpr double fadeAtTheEnd = 1;

bool isIndex(std::int64_t index, std::size_t count)
{
    return index >= 0 && static_cast<std::uint64_t>(index) < count;
}

/// The file behind a stored reference; nothing if it is not there. A system without bookmarks has the path alone to go by.
std::optional<std::string> existingFile(const SharedString& reference, const FileExists& exists)
{
    const std::string path = pathFromURLOrPath(std::string_view(reference));
    if (path.empty() || !exists(path)) return std::nullopt;
    return path;
}

/// The bed from `startOffset` on.
std::optional<ExportAudio> bed(const TweenDocument& document, double startOffset, double duration, double fadeOutLast,
                               const FileExists& exists)
{
    if (!document.audio) return std::nullopt;
    const std::optional<std::string> file = existingFile(document.audio->urlString, exists);
    if (!file) return std::nullopt;
    return ExportAudio{.url = *file,
                       .startOffset = startOffset,
                       .duration = duration,
                       .fadeOutLast = fadeOutLast,
                       .volume = static_cast<float>(document.audio->volume)};
}

SoundSources soundOfAllScenes(const TweenDocument& document, const FileExists& exists)
{
    SoundSources sources;
    double start = 0;
    for (const TweenScene& scene : document.scenes) {
        collectQuickRenderVideoAudio(scene.layers, start, sources.videoAudioClips, exists);
        start += scene.duration;
    }
    sources.audio = bed(document, 0, start, fadeAtTheEnd, exists);
    return sources;
}

SoundSources soundOfScene(const TweenDocument& document, std::size_t index, const FileExists& exists)
{
    SoundSources sources;
    const TweenScene& scene = document.scenes[index];
    collectQuickRenderVideoAudio(scene.layers, 0, sources.videoAudioClips, exists);
    const bool isLast = index + 1 == document.scenes.size();
    sources.audio = bed(document, document.sceneStartTime(static_cast<std::int64_t>(index)), scene.duration,
                        isLast ? fadeAtTheEnd : 0, exists);
    return sources;
}

} // namespace

std::size_t exportedSceneIndex(const TweenDocument& document, ExportTarget target)
{
    const std::size_t count = document.scenes.size();
    if (target.kind == ExportTarget::Kind::allScenes) return 0;
    if (target.kind == ExportTarget::Kind::specificScene && isIndex(target.sceneIndex, count))
        return static_cast<std::size_t>(target.sceneIndex);
    return isIndex(document.activeSceneIndex, count) ? static_cast<std::size_t>(document.activeSceneIndex) : 0;
}

SoundSources soundSources(const TweenDocument& document, ExportTarget target, const FileExists& exists)
{
    if (document.scenes.empty()) return {};
    if (target.kind == ExportTarget::Kind::allScenes) return soundOfAllScenes(document, exists);
    return soundOfScene(document, exportedSceneIndex(document, target), exists);
}

void collectQuickRenderVideoAudio(const Array<Layer>& layers, double sceneOutputStart, std::vector<VideoAudioClip>& clips,
                                  const FileExists& exists)
{
    for (const Layer& layer : layers) {
        if (layer.kind == Layer::Kind::group) {
            collectQuickRenderVideoAudio(layer.children, sceneOutputStart, clips, exists);
            continue;
        }
        const VideoClip& clip = layer.videoClip;
        if (layer.kind != Layer::Kind::video || !(clip.sceneStart < clip.sceneEnd)) continue;
        const std::optional<std::string> file = existingFile(layer.videoURL, exists);
        if (!file) continue;
        clips.push_back({.url = *file,
                         .outputStart = clip.sceneStart + sceneOutputStart,
                         .sourceStart = clip.sourceStart,
                         .duration = clip.sceneEnd - clip.sceneStart,
                         .volume = 1});
    }
}

} // namespace larkspool::Exporter
