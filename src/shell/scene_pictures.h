#pragma once

#include "document/tween_scene.h"
#include "foundation/array.h"
#include "platform/image.h"
#include "shell/tasks.h"

#include <functional>
#include <map>
#include <memory>

namespace larkspool {

/// The picture of the middle of a scene in so many pixels, as a film shows it; null where that cannot be drawn. It may take long,
/// for media are read and decoded: on any thread.
ImageRef middleOfScene(const TweenScene& scene, CGSize pixels);

/// The small pictures by which a person knows the scenes of a document. They are drawn one after the other on another thread, and
/// a scene keeps the one that it has until a newer one is there. For the main thread.
class ScenePictures {
public:
    using Draw = std::function<ImageRef(const TweenScene& scene, CGSize pixels)>;

    /// `pictureArrived` is called when a scene has another picture; no call comes after this is gone, which waits for nothing.
    ScenePictures(Tasks tasks, std::function<void()> pictureArrived, Draw draw = middleOfScene);
    ScenePictures(const ScenePictures&) = delete;
    ScenePictures& operator=(const ScenePictures&) = delete;

    /// Has the pictures of these scenes brought up to date, those that have none first. Of other scenes nothing is kept.
    void update(const Array<TweenScene>& scenes, CGSize pixels);

    /// The scene's picture as it was drawn last; null before that.
    ImageRef picture(const UUID& sceneID) const;
    bool isUpToDate(const TweenScene& scene, CGSize pixels) const;

private:
    struct Drawn {
        TweenScene scene{}; ///< As it was then.
        CGSize pixels{};
        ImageRef picture{};
    };

    void drawNext();
    const TweenScene* next() const;
    void take(const TweenScene& scene, CGSize pixels, ImageRef picture);

    Tasks tasks_;
    std::function<void()> pictureArrived_;
    Draw draw_;
    Array<TweenScene> wanted_{};
    CGSize pixels_{};
    std::map<UUID, Drawn> drawn_;
    bool isUnderway_ = false;
    std::shared_ptr<const int> isAlive_ =
        std::make_shared<const int>(0); ///< Goes with this, so that what is on the way can tell.
};

} // namespace larkspool
