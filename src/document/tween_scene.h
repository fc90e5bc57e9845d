#pragma once

#include "document/layer.h"

#include <cstdint>
#include <optional>
#include <string>

namespace larkspool {

/// How a scene gives way to the next.
struct SceneTransition {
    enum class Kind { fade, slideL, slideR, push, zoom };

    Kind kind = Kind::fade;
    double duration = 0; ///< Seconds.

    bool operator==(const SceneTransition&) const = default;
};

template <>
struct EnumTable<SceneTransition::Kind> {
    using enum SceneTransition::Kind;
    static constexpr EnumCase<SceneTransition::Kind> cases[] = {
        {fade, "fade", "Fade", "circle.lefthalf.filled"},
        {slideL, "slideL", "Slide Left", "arrow.left"},
        {slideR, "slideR", "Slide Right", "arrow.right"},
        {push, "push", "Push", "rectangle.lefthalf.inset.filled.arrow.left"},
        {zoom, "zoom", "Zoom", "plus.magnifyingglass"},
    };
};

/// A canvas with its layers and a length of time.
struct TweenScene {
    UUID id = UUID::random();
    std::optional<SharedString> name{};
    double width = 1920;  ///< Canvas pixels.
    double height = 1080; ///< Canvas pixels.
    std::int64_t fps = 60;
    double duration = 5;  ///< Seconds.
    double endPause = 0;  ///< Seconds held after the end; not part of `duration`.
    ColorRGBA background = ColorRGBA::white;
    Array<Layer> layers{}; ///< Backmost first.
    std::optional<SceneTransition> transition{}; ///< Into the next scene.

    CGSize size() const { return {width, height}; }

    /// The name, or "Scene " with its number (from 1) where there is none or it is empty.
    std::string displayName(std::size_t index) const;

    bool operator==(const TweenScene&) const = default;
};

} // namespace larkspool
