#pragma once

#include "foundation/uuid.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <unordered_set>

namespace larkspool {

/// Names one item of the timeline by identity. It stays valid only while the item exists: whoever holds one looks the item up,
/// and passes over a reference that names nothing any more.
struct TimelineItemRef {
    enum class Kind {
        keyframe,
        pulse,
        span,
        videoClip, ///< A video layer has one.
        waitTail   ///< The hold behind a keyframe, selected apart from its diamond.
    };

    Kind kind = Kind::keyframe;
    UUID layerID{};
    UUID itemID{}; ///< Of the keyframe (for its wait tail too), pulse or span; all zero for a clip.

    static TimelineItemRef keyframe(const UUID& layerID, const UUID& kfID) { return {Kind::keyframe, layerID, kfID}; }
    static TimelineItemRef pulse(const UUID& layerID, const UUID& pulseID) { return {Kind::pulse, layerID, pulseID}; }
    static TimelineItemRef span(const UUID& layerID, const UUID& spanID) { return {Kind::span, layerID, spanID}; }
    static TimelineItemRef videoClip(const UUID& layerID) { return {Kind::videoClip, layerID, {}}; }
    static TimelineItemRef waitTail(const UUID& layerID, const UUID& kfID) { return {Kind::waitTail, layerID, kfID}; }

    auto operator<=>(const TimelineItemRef&) const = default;
};

} // namespace larkspool

template <>
struct std::hash<larkspool::TimelineItemRef> {
    std::size_t operator()(const larkspool::TimelineItemRef& ref) const noexcept
    {
        // A clip has no id of its own, and a tail shares its keyframe's, so that the layer and the kind must count.
        const std::hash<larkspool::UUID> ofID;
        return ofID(ref.itemID) ^ (ofID(ref.layerID) * 31 + static_cast<std::size_t>(ref.kind) * 0x9E3779B97F4A7C15u);
    }
};

namespace larkspool {

using TimelineSelection = std::unordered_set<TimelineItemRef>;
using LayerIDs = std::unordered_set<UUID>;

} // namespace larkspool
