#pragma once

#include "editing/scene_lookup.h"
#include "timeline/item_drag.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace larkspool {

/// The same identifier for the same number.
inline UUID idOf(std::uint64_t number)
{
    return {0, number};
}

inline TimeSpan spanOf(std::uint64_t id, double start, double end)
{
    return {.id = idOf(id), .start = start, .end = end};
}

inline Keyframe keyframeOf(std::uint64_t id, double time, double wait = 0)
{
    return {.id = idOf(id), .time = time, .wait = wait};
}

inline Pulse pulseOf(std::uint64_t id, double time)
{
    return {.id = idOf(id), .time = time};
}

inline Layer videoOf(std::uint64_t id, const VideoClip& clip, double videoDuration = 0)
{
    Layer layer{.id = idOf(id), .kind = Layer::Kind::video};
    layer.videoClip = clip;
    layer.videoClip.id = idOf(id + 500);
    layer.videoDuration = videoDuration;
    return layer;
}

/// 10 seconds long, at 60 frames a second.
inline TweenScene sceneOf(std::vector<Layer> layers, double duration = 10)
{
    TweenScene scene{.id = idOf(1'000'000), .fps = 60, .duration = duration};
    scene.layers = Array<Layer>(std::move(layers));
    return scene;
}

/// A track of 1,000 points that shows the whole scene.
inline DragSetting settingOf(const TweenScene& scene, TimelineSelection selection = {})
{
    return {.scene = scene, .selection = std::move(selection), .trackWidth = 1000, .visibleSeconds = scene.duration};
}

/// The pointer follows exactly.
inline constexpr Modifiers unsnapped{.command = true};

/// A hand on one item, without an editor. Ways are points from the press.
struct Hand {
    TimelineItemDrag drag;
    TweenScene scene;
    std::optional<double> snapTime{};

    Hand(DragPress press, DragSetting setting) : drag(std::move(press), setting), scene(std::move(setting.scene)) {}
    Hand(const TimelineItemRef& item, DragHandle handle, DragSetting setting)
        : Hand(DragPress{.members = {item}, .handle = handle}, std::move(setting))
    {}

    /// Whether there was an update.
    bool to(double x, Modifiers modifiers = unsnapped, double y = 0)
    {
        std::optional<TimelineItemDrag::Update> update = drag.update({x, y}, modifiers);
        if (!update) return false;
        scene = std::move(update->scene);
        snapTime = update->snapTime;
        return true;
    }
    ItemTimes times(const TimelineItemRef& ref) const { return timesOf(scene, ref).value(); }
};

/// A hand that has already strayed by the 3 points that make a press on a span's body a drag: `to` counts from there.
struct BodyHand : Hand {
    BodyHand(DragPress press, DragSetting setting) : Hand(std::move(press), std::move(setting)) { Hand::to(3); }
    BodyHand(const TimelineItemRef& span, DragSetting setting) : BodyHand(DragPress{.members = {span}}, std::move(setting)) {}

    bool to(double x, Modifiers modifiers = unsnapped) { return Hand::to(3 + x, modifiers); }
};

} // namespace larkspool
