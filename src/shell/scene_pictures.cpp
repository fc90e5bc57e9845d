#include "shell/scene_pictures.h"

#include "rendering/frame_composition.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace larkspool {

ImageRef middleOfScene(const TweenScene& scene, CGSize pixels)
{
    const std::unique_ptr<PixelBuffer> drawn = Exporter::renderSceneToImage(scene, scene.duration * 0.5, pixels);
    return drawn ? makeImage(std::move(*drawn)) : nullptr;
}

ScenePictures::ScenePictures(Tasks tasks, std::function<void()> pictureArrived, Draw draw)
    : tasks_(std::move(tasks)), pictureArrived_(std::move(pictureArrived)), draw_(std::move(draw))
{}

void ScenePictures::update(const Array<TweenScene>& scenes, CGSize pixels)
{
    wanted_ = scenes;
    pixels_ = pixels;
    std::erase_if(drawn_, [this](const auto& each) {
        return std::ranges::none_of(wanted_, [&](const TweenScene& scene) { return scene.id == each.first; });
    });
    if (!isUnderway_) drawNext();
}

ImageRef ScenePictures::picture(const UUID& sceneID) const
{
    const auto drawn = drawn_.find(sceneID);
    return drawn == drawn_.end() ? nullptr : drawn->second.picture;
}

bool ScenePictures::isUpToDate(const TweenScene& scene, CGSize pixels) const
{
    const auto drawn = drawn_.find(scene.id);
    return drawn != drawn_.end() && drawn->second.pixels == pixels && drawn->second.scene == scene;
}

const TweenScene* ScenePictures::next() const
{
    const TweenScene* stale = nullptr;
    for (const TweenScene& scene : wanted_) {
        if (!drawn_.contains(scene.id)) return &scene;
        if (!stale && !isUpToDate(scene, pixels_)) stale = &scene;
    }
    return stale;
}

/// One at a time: what changes meanwhile is drawn as it is when its turn comes.
void ScenePictures::drawNext()
{
    const TweenScene* wanted = next();
    isUnderway_ = wanted != nullptr;
    if (!wanted) return;
    tasks_.detach(
        [this, scene = *wanted, pixels = pixels_, draw = draw_, onMain = tasks_.onMain, alive = std::weak_ptr(isAlive_)] {
            if (alive.expired()) return;
            ImageRef picture;
            try {
                picture = draw(scene, pixels);
            } catch (const std::exception&) {
                picture = nullptr; // There is no memory for it. The scene is known by the one that it has.
            }
            onMain([this, scene, pixels, picture = std::move(picture), alive] {
                if (!alive.expired()) take(scene, pixels, picture);
            });
        });
}

void ScenePictures::take(const TweenScene& scene, CGSize pixels, ImageRef picture)
{
    const bool isWanted = std::ranges::any_of(wanted_, [&](const TweenScene& each) { return each.id == scene.id; });
    if (isWanted) {
        Drawn& drawn = drawn_[scene.id];
        drawn.scene = scene;
        drawn.pixels = pixels;
        if (picture) drawn.picture = std::move(picture);
    }
    drawNext();
    if (isWanted) pictureArrived_();
}

} // namespace larkspool
