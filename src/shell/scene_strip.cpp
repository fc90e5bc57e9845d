#include "shell/scene_strip.h"

#include "foundation/trim.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

TweenScene* editScene(TweenDocument& document, std::int64_t index)
{
    if (index < 0 || index >= static_cast<std::int64_t>(document.scenes.size())) return nullptr;
    return &document.scenes.edit()[static_cast<std::size_t>(index)];
}

bool joins(const TweenDocument& document, std::int64_t index)
{
    return index >= 0 && index + 1 < static_cast<std::int64_t>(document.scenes.size());
}

} // namespace

namespace SceneStrip {

double keptTransitionDuration(double seconds)
{
    constexpr double longest = 5, shortest = 0.1;
    if (seconds >= longest) return longest;
    return std::round(std::max(seconds, shortest) * 10) / 10;
}

void chooseTransition(TweenDocument& document, std::int64_t index, std::optional<SceneTransition::Kind> kind)
{
    if (!joins(document, index)) return;
    TweenScene& scene = *editScene(document, index);
    if (!kind) return scene.transition.reset();
    const double duration = scene.transition ? scene.transition->duration : firstTransitionDuration;
    scene.transition = SceneTransition{.kind = *kind, .duration = duration};
}

void setTransitionDuration(TweenDocument& document, std::int64_t index, double seconds)
{
    if (!joins(document, index) || std::isnan(seconds)) return;
    if (TweenScene& scene = *editScene(document, index); scene.transition)
        scene.transition->duration = keptTransitionDuration(seconds);
}

std::string transitionText(const TweenScene& scene)
{
    return scene.transition ? fmt::format("{:.2f}s", scene.transition->duration) : std::string(noTransitionLabel);
}

void renameScene(TweenDocument& document, std::int64_t index, std::string_view name)
{
    TweenScene* scene = editScene(document, index);
    if (!scene) return;
    name = trimmed(name);
    scene->name = name.empty() ? std::nullopt : std::optional<SharedString>(name);
}

std::int64_t dropIndex(std::int64_t from, std::int64_t onto)
{
    return from < onto ? onto + 1 : onto;
}

bool canDelete(const TweenDocument& document)
{
    return document.scenes.size() > 1;
}

void setMusic(TweenDocument& document, std::string_view urlString, std::string_view fileName, std::optional<Bytes> bookmark)
{
    const double volume = document.audio ? document.audio->volume : 1;
    document.audio = DocumentAudio{
        .urlString = urlString, .bookmark = std::move(bookmark), .volume = volume, .displayName = fileName};
}

} // namespace SceneStrip

} // namespace larkspool
