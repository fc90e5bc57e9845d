#pragma once

#include "timeline/retime_row.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace larkspool {

/// The table of a scene: a row for every span, pulse and keyframe, every wait above 0.0001 seconds, and every clip that has a
/// length, by start. Rows that start together are in the order of the tree.
///
/// Items of one layer and one kind whose start and duration agree to the whole millisecond are one row, with the items as its
/// children, by start: the keyframes of several properties at one time, say. Its start is that of the first child, its duration
/// too. Its id is "group:", the layer's id, the kind, and the two in milliseconds.
std::vector<RetimeRow> retimeRows(const TweenScene& scene);

/// The items that the row stands for.
TimelineSelection rowSourceIDs(const RetimeRow& row);

/// The same, in the order of the row's children.
std::vector<RetimeSource> sourcesOf(const RetimeRow& row);

/// The ids of the rows and of all their children, in order: what `orderedAs` needs.
std::vector<std::string> rowOrder(std::span<const RetimeRow> rows);

/// The rows in the order that was noted, and those that it does not know behind them. A row for a group stands where the first
/// of its children stood: editing a group gives it another id.
std::vector<RetimeRow> orderedAs(std::vector<RetimeRow> rows, std::span<const std::string> order);

/// The rows as bars in a strip, under a grip for the playhead: a small picture of the table.
struct RetimeMiniTimeline {
    /// One row. Lengths are points from the strip's left end.
    struct Bar {
        std::string rowID{};
        RetimeRow::Kind kind = RetimeRow::Kind::span;
        double x = 0;
        double width = 0;

        bool operator==(const Bar&) const = default;
    };

    static constexpr double narrowestBar = 2; ///< Points, so that a moment can be seen.

    double width = 0;    ///< Points.
    double duration = 0; ///< Of the scene that the strip shows, in seconds.

    /// One bar for each row, held within the strip. None in a strip that shows no time.
    std::vector<Bar> bars(std::span<const RetimeRow> rows) const;
    /// Where the grip stands, held within the strip. Nothing in a strip that shows no time.
    std::optional<double> gripX(double playhead) const;
    /// The time at `x` points, which may lie outside of the strip. Nothing in a strip that shows no time.
    std::optional<double> time(double x) const;
};

} // namespace larkspool
