#pragma once

#include "editing/edit.h"
#include "editing/modifiers.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace larkspool {

/// The rules of the tree of layers that a panel shows, the frontmost layer on top.
namespace LayerPanel {

inline constexpr std::string_view emptyText = "No layers yet";
inline constexpr std::string_view addLayerLabel = "Add Layer";
inline constexpr std::string_view popOutPaletteLabel = "Pop Out Palette";

struct Row {
    UUID layerID{};
    std::size_t depth = 0;
    bool hasChildren = false;
    bool isExpanded = false;

    bool operator==(const Row&) const = default;
};

/// The rows in the order of display: the layers at the top of the tree from the front to the back, and below each that is expanded
/// its children in the same way.
std::vector<Row> flattenedLayers(const TweenScene& scene, const LayerIDs& expandedGroups);

/// What a rename comes to: the draft without blanks around it, from when on the name stays. Nothing for a draft of blanks, for the
/// name that the layer has, and for a layer that is not there.
std::optional<Edit> commitRename(const TweenScene& scene, const UUID& layerID, std::string_view draft);

/// The group or other parent that the layer lies in.
std::optional<UUID> parentGroup(const TweenScene& scene, const UUID& layerID);

/// Moves the layers, in their order, in front of the target in the picture, which is above it in the panel, in the target's list.
/// Nothing where the target is one of them or lies in one of them, and where nothing would change.
std::optional<Edit> moveLayersBefore(const TweenScene& scene, const LayerIDs& droppedIDs, const UUID& targetID);

/// Puts the layers behind all others of the top of the tree: at the panel's end.
std::optional<Edit> moveLayersToEnd(const TweenScene& scene, const LayerIDs& droppedIDs);

/// The selection by the keyboard and by clicks, with the two ends of the range that Shift extends.
struct RangeSelection {
    std::optional<UUID> rangeAnchorID{};
    std::optional<UUID> rangeCursorID{};

    /// The row that is `step` rows from the cursor, held within the list, becomes the selection, or with `extends` the range from
    /// the anchor to it.
    LayerIDs move(std::span<const Row> rows, int step, bool extends);
    /// A click on a row: alone, added or taken out with Command, as a range with Shift.
    LayerIDs click(std::span<const Row> rows, const UUID& layerID, const LayerIDs& selected, Modifiers modifiers);
};

/// What the right (`opens`) or the left arrow does at the row: it opens or closes it, or goes to its parent.
struct Horizontal {
    LayerIDs expandedGroups;
    std::optional<UUID> selects{};
};
std::optional<Horizontal> handleHorizontal(const TweenScene& scene, LayerIDs expandedGroups, const UUID& layerID, bool opens);

} // namespace LayerPanel

} // namespace larkspool
