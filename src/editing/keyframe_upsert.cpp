#include "editing/keyframe_upsert.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

UUID upsertKeyframe(Layer& layer, Keyframe::AnimatableProperty property, double time, KeyValue value, RandomSource& random)
{
    const auto isReplaced = [&](const Keyframe& keyframe) {
        return keyframe.property == property && std::abs(keyframe.time - time) < sameKeyframeTime;
    };
    Keyframe added{.id = UUID::random(random), .property = property, .time = time, .value = std::move(value)};
    std::vector<Keyframe>& keyframes = layer.keyframes.edit();
    if (const auto first = std::ranges::find_if(keyframes, isReplaced); first != keyframes.end()) {
        added.easing = first->easing;
        added.wait = first->wait;
        std::erase_if(keyframes, isReplaced);
    }
    keyframes.push_back(added);
    return added.id;
}

} // namespace larkspool
