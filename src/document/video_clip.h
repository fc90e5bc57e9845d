#pragma once

#include "document/enumeration.h"
#include "foundation/uuid.h"

#include <optional>

namespace larkspool {

/// Where a video's source plays in scene time. All values are seconds.
struct VideoClip {
    /// What happens when the source runs out before the clip does.
    enum class EndBehavior { end, loop, freezeFrame };

    UUID id = UUID::random();
    double sceneStart = 0;
    double sceneEnd = 0;
    double sourceStart = 0; ///< Source time shown at `sceneStart`.
    EndBehavior endBehavior = EndBehavior::end;
    std::optional<double> sourceTrimLength{}; ///< Length of source used; absent means up to its end.

    /// Both ends belong to the clip.
    bool contains(double time) const { return sceneStart <= time && time <= sceneEnd; }

    bool operator==(const VideoClip&) const = default;
};

template <>
struct EnumTable<VideoClip::EndBehavior> {
    using enum VideoClip::EndBehavior;
    static constexpr EnumCase<VideoClip::EndBehavior> cases[] = {
        {end, "end", "End"}, {loop, "loop", "Loop"}, {freezeFrame, "freezeFrame", "Freeze Frame"}};
};

} // namespace larkspool
