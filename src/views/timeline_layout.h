#pragma once

#include "timeline/aggregate_tracks.h"
#include "timeline/marquee.h"

#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

namespace larkspool {

/// The measures of the timeline, in pixels of the view.
namespace TimelineMeasures {
inline constexpr double rowHeight = 18, rowPitch = 20;
inline constexpr double leftGutter = 184, gutterDivider = 191, trackLeft = leftGutter + trackMargins, rightMargin = 16;
inline constexpr double railHeight = 24, minimapHeight = 28, toolbarHeight = 40;
inline constexpr double blockMargin = 6;                           ///< Above and below the rows of a layer.
inline constexpr double aggregateTop = 8, aggregateBandMargin = 4; ///< Above the first band, and round the line between two.
inline constexpr double keyframeSize = 10, pulseSize = 10, waitHandleReach = 5;
inline constexpr double markerReach = 6; ///< Of a marker, from its middle.
inline constexpr double groupIndent = 8;
inline constexpr double triggerDistance = 4; ///< That a press may stray and still be a tap.
} // namespace TimelineMeasures

/// What stands in a row: an item, or the bar or marker for several at one time.
struct TimelineMark {
    std::vector<TimelineItemRef> members{};
    ItemTimes times{};        ///< Of a keyframe with a wait, the end is the wait's.
    std::size_t position = 0; ///< In the list of its layer, or among the groups of its row.
    std::size_t lane = 0;     ///< Of a row with several lanes, from the top.
};

/// A row, 18 high, or so many of them as it has lanes.
struct TimelineRow {
    using Kind = PerLayerTrackBand::RowKind;

    Kind kind = Kind::spans;
    const Layer* layer = nullptr; ///< Null for a row that stands for the whole scene.
    Keyframe::AnimatableProperty property{};
    double top = 0;
    std::size_t laneCount = 1;
    std::size_t itemCount = 0; ///< Of a row that stands for the whole scene.
    std::vector<TimelineMark> marks{}; ///< By the time of their start.

    double bottom() const
    {
        return top + TimelineMeasures::rowPitch * static_cast<double>(laneCount - 1) + TimelineMeasures::rowHeight;
    }
    double laneTop(const TimelineMark& mark) const { return top + TimelineMeasures::rowPitch * static_cast<double>(mark.lane); }
};

/// The rows of one layer, or one of those that stand for the whole scene, down to the line that parts it from the next.
struct TimelineBlock {
    const Layer* layer = nullptr;
    double top = 0, bottom = 0;
    std::size_t depth = 0; ///< Below the layer that is shown with all below it.
    std::size_t firstRow = 0, rowCount = 0;
    bool isSelected = false, isPinned = false;
    bool canFold = false, isFolded = false;
};

/// Where everything stands in the rows of the timeline. Painting and pointing both read it. The x of all is that of the view, the y
/// counts from the top of the rows, whatever is scrolled away.
class TimelineLayout {
public:
    using Folded = std::unordered_set<UUID>;

    TimelineLayout() = default;
    /// `viewWidth` is that of the whole view, in pixels.
    TimelineLayout(const EditorState& state, const Folded& folded, double viewWidth);

    /// Whether a layout of these would be the same.
    bool isOf(const EditorState& state, const Folded& folded, double viewWidth) const;

    const TweenScene& scene() const { return scene_; }
    const std::optional<TimelineViewport>& viewport() const { return viewport_; }
    const TrackMapping& mapping() const { return mapping_; }
    double containerWidth() const { return containerWidth_; } ///< Up to the end of the tracks.
    /// Whether the rows stand for the whole scene.
    bool isAggregate() const { return shown_.empty(); }
    std::span<const UUID> shownLayers() const { return order_; }
    std::span<const TimelineBlock> blocks() const { return blocks_; }
    std::span<const TimelineRow> rows() const { return rows_; }
    std::span<const PerLayerTrackBand> bands() const { return bands_; }
    double height() const { return height_; }

    /// The rows from the first that ends below `top` on, as long as they begin above `bottom`.
    std::span<const TimelineRow> rowsBetween(double top, double bottom) const;
    std::span<const TimelineBlock> blocksBetween(double top, double bottom) const;
    /// Null between the blocks.
    const TimelineBlock* blockAt(double y) const;
    /// Of a row of the layout.
    const TimelineBlock& blockOf(const TimelineRow& row) const;
    const TimelineRow* rowAt(double y) const;

    /// What a press takes hold of.
    struct Hit {
        const TimelineRow* row = nullptr;
        const TimelineMark* mark = nullptr;
        DragHandle handle = DragHandle::body;
        bool isWaitTail = false;

        /// The items that a tap is on.
        std::vector<TimelineItemRef> members() const;
    };
    std::optional<Hit> hit(CGPoint point) const;

    /// From the first to the last of the selected items of the row.
    std::optional<ItemTimes> selectedTimes(const TimelineRow& row, const TimelineSelection& selection) const;

private:
    void addLayers(const Array<Layer>& layers, const LayerIDs& roots, const Folded& folded);
    void addTree(const Layer& layer, std::size_t depth, const Folded& folded);
    void addBlock(const Layer& layer, std::size_t depth, bool isFolded);
    void addAggregateRows();
    void addRow(TimelineRow row);
    std::optional<Hit> hitBar(const TimelineRow& row, CGPoint point) const;
    std::optional<Hit> hitMarker(const TimelineRow& row, CGPoint point) const;

    TweenScene scene_;
    std::optional<TimelineViewport> viewport_;
    TrackMapping mapping_;
    double containerWidth_ = 0, viewWidth_ = 0;
    LayerIDs selected_, pinned_, shown_;
    Folded folded_;
    std::vector<UUID> order_;
    std::vector<TimelineBlock> blocks_;
    std::vector<TimelineRow> rows_;
    std::vector<PerLayerTrackBand> bands_;
    double height_ = 0;
};

/// Whether a tail for the wait stands behind the mark, which is taken hold of apart from it.
bool hasWaitTail(const TimelineRow& row, const TimelineMark& mark);

/// Whether the mark counts as selected: all that it stands for is.
bool isSelected(const TimelineMark& mark, const TimelineSelection& selection);

} // namespace larkspool
