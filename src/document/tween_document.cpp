#include "document/tween_document.h"

#include <algorithm>

namespace larkspool {

Array<TweenScene> TweenDocument::defaultStartingScenes(std::optional<CGSize> presetSize)
{
    TweenScene scene;
    if (presetSize && presetSize->width > 0 && presetSize->height > 0) {
        scene.width = presetSize->width;
        scene.height = presetSize->height;
    }
    return {std::move(scene)};
}

TweenScene TweenDocument::scene() const
{
    return scenes.empty() ? TweenScene() : scenes[clampedActiveSceneIndex()];
}

void TweenDocument::setScene(TweenScene scene)
{
    if (scenes.empty()) return;
    scenes.edit()[clampedActiveSceneIndex()] = std::move(scene);
}

std::size_t TweenDocument::clampedActiveSceneIndex() const
{
    if (scenes.empty() || activeSceneIndex < 0) return 0;
    return std::min(static_cast<std::size_t>(activeSceneIndex), scenes.size() - 1);
}

double TweenDocument::totalDuration() const
{
    double seconds = 0;
    for (const TweenScene& scene : scenes) seconds += scene.duration;
    return seconds;
}

double TweenDocument::sceneStartTime(std::int64_t index) const
{
    if (index < 1 || static_cast<std::size_t>(index) >= scenes.size()) return 0;
    double seconds = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(index); ++i) seconds += scenes[i].duration;
    return seconds;
}

void TweenDocument::addScene()
{
    TweenScene added;
    if (!scenes.empty()) {
        const TweenScene& active = scenes[clampedActiveSceneIndex()];
        added.width = active.width;
        added.height = active.height;
        added.fps = active.fps;
        added.duration = active.duration;
        added.background = active.background;
    }
    scenes.append(std::move(added));
    activeSceneIndex = static_cast<std::int64_t>(scenes.size()) - 1;
}

void TweenDocument::deleteScene(std::int64_t index)
{
    if (scenes.size() < 2 || index < 0 || static_cast<std::size_t>(index) >= scenes.size()) return;

    std::vector<TweenScene>& list = scenes.edit();
    list.erase(list.begin() + index);
    if (activeSceneIndex >= index) --activeSceneIndex;
    activeSceneIndex = static_cast<std::int64_t>(clampedActiveSceneIndex());
}

void TweenDocument::duplicateActiveScene()
{
    if (scenes.empty()) return;

    const std::size_t source = clampedActiveSceneIndex();
    TweenScene copy = scenes[source];
    copy.id = UUID::random();
    // An empty name counts as one here, unlike in the name that is shown.
    copy.name = (copy.name ? copy.name->string() : copy.displayName(source)) + " Copy";

    std::vector<TweenScene>& list = scenes.edit();
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(source) + 1, std::move(copy));
    activeSceneIndex = static_cast<std::int64_t>(source) + 1;
}

void TweenDocument::moveScene(std::int64_t from, std::int64_t to)
{
    const auto count = static_cast<std::int64_t>(scenes.size());
    to = std::clamp<std::int64_t>(to, 0, count);
    if (from < 0 || from >= count || from == to || from == to - 1) return;

    const UUID active = scenes[clampedActiveSceneIndex()].id;
    std::vector<TweenScene>& list = scenes.edit();
    const auto source = list.begin() + from;
    if (to > from) std::rotate(source, source + 1, list.begin() + to);
    else std::rotate(list.begin() + to, source, source + 1);
    activeSceneIndex = std::ranges::find(list, active, &TweenScene::id) - list.begin();
}

} // namespace larkspool
