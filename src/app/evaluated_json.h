#pragma once

#include "document/tween_scene.h"

#include <cstddef>
#include <string>

namespace larkspool {

/// The scene's layers as they are at `time`, hidden and invisible ones too, as one JSON object on one line:
///
///     {"scene": index, "time": time, "zoom": null or {...}, "layers": [...]}
///
/// Layers come in drawing order with their children inside, a group's in their places. Numbers read back exactly; what is not
/// finite, which JSON cannot say, is null. Call it off the main thread: there, evaluation is a pure function.
std::string evaluatedJson(const TweenScene& scene, std::size_t index, double time);

} // namespace larkspool
