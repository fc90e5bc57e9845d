#include "document/tween_scene.h"

#include <fmt/format.h>

namespace larkspool {

std::string TweenScene::displayName(std::size_t index) const
{
    if (name && !name->empty()) return name->string();
    return fmt::format("Scene {}", index + 1);
}

} // namespace larkspool
