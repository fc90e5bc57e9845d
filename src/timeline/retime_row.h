#pragma once

#include "document/enumeration.h"
#include "editing/scene_lookup.h"
#include "timeline/ripple_state.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// The item that a row of a table of times stands for. A wait is named as the tail of its keyframe.
using RetimeSource = TimelineItemRef;

/// One line of a table of times.
struct RetimeRow {
    enum class Kind { span, pulse, keyframe, wait, videoClip };

    std::string id{};                        ///< See `retimeRowID`; a row for a group of items has one of its own.
    std::optional<RetimeSource> source{};    ///< Absent for a group of items.
    Kind kind = Kind::span;
    std::string layerName{};
    std::optional<std::string> detail{};     ///< Of a keyframe or wait: what the property is called.
    double start = 0;                        ///< Seconds of the scene.
    std::optional<double> duration{};        ///< Seconds, 0 or more. Absent for a pulse and a keyframe.
    std::vector<RetimeRow> children{};       ///< The members of a group; empty for a single item.

    /// The row of the layer's item. `position` is where it is looked for first in the layer's list.
    static RetimeRow of(const Layer& layer, const RetimeSource& source, ItemTimes times, std::size_t position = 0);

    bool operator==(const RetimeRow&) const = default;
};

RetimeRow::Kind retimeRowKind(TimelineItemRef::Kind kind);

/// "span:", "pulse:", "keyframe:" or "wait:" and the item's id, "video:" and the layer's for a clip.
std::string retimeRowID(const RetimeSource& source);

/// Which other items follow when a time is changed in a sheet.
enum class RetimeRipple { off, after, before, both };

template <>
struct EnumTable<RetimeRipple> {
    using enum RetimeRipple;
    static constexpr EnumCase<RetimeRipple> cases[] = {
        {off, "off", "Off"}, {after, "after", "Push After"}, {before, "before", "Push Before"}, {both, "both", "Push Both"}};
};

TimelineRippleMode rippleMode(RetimeRipple ripple);
RetimeRipple retimeRipple(TimelineRippleMode mode);

} // namespace larkspool
