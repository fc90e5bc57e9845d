#pragma once

#include "canvas/interaction_overlay.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// All that lies over the canvas, as data to draw, in view points. How it looks is for the view to decide.
struct OverlayItems {
    /// The frame of the primary selected layer.
    struct Frame {
        std::array<CGPoint, 4> corners{}; ///< Clockwise from the top left of the layer.
        std::vector<CGPoint> handles{};   ///< In the order of the handles; none where the layer has no size to change.
        std::optional<CGPoint> rotateHandle{};
        std::vector<CGPoint> linePoints{}; ///< Of a line, which has nothing else.
    };
    /// A line across the whole canvas.
    struct Guide {
        enum class Axis { x, y };

        Axis axis = Axis::x;
        double position = 0;    ///< Of a vertical line its x, of a horizontal one its y.
        bool fromLayer = false; ///< Drawn in another colour than one of the scene.
        std::string label{};    ///< Beside the line, in a monospaced font of `guideLabelSize`.
    };
    /// A line of text in a round box, beside a fixed group.
    struct Pill {
        UUID layerID{};
        bool locked = true;
        std::string_view text{};
        CGPoint anchor{}; ///< The top left corner of the group's box.
        CGRect box{};     ///< That box.
    };
    /// A control of two segments, each with a text that explains it.
    struct DragModeToggle {
        bool keyframeAtPlayhead = true; ///< Which segment is on.
        CGPoint anchor{};
        std::string_view movePath = movePathText;
        std::string_view setKeyframe = setKeyframeText;
    };

    std::optional<Frame> frame{};
    std::vector<CGRect> groupOutlines{}; ///< Dashed, around what each selected group covers.
    std::optional<CGRect> selectionBox{}; ///< Around all of several selected layers.
    std::vector<Guide> guides{};
    std::optional<CGRect> waitGhost{};
    std::optional<CGRect> marquee{};
    std::vector<Pill> pills{};
    std::optional<DragModeToggle> dragModeToggle{};
};

inline constexpr double guideLabelSize = 10;

/// What there is to draw of the drag under way and of the selection. `editor` has the scene as it is shown.
OverlayItems overlayItems(const InteractionOverlay::State& state, const InteractionOverlay::Editor& editor, const SceneFit& fit);

/// Of a fixed group; nothing for any other layer.
std::optional<OverlayItems::Pill> fixedGroupLockPill(const InteractionOverlay::Editor& editor, const UUID& layerID,
                                                     const SceneFit& fit);

/// For a selection that has keyframes of x or y; nothing otherwise.
std::optional<OverlayItems::DragModeToggle> dragModeToggle(const InteractionOverlay::Editor& editor, const SceneFit& fit);

/// Where the toggle stands: the top right corner of what the selection covers. Nothing if nothing shows.
std::optional<CGPoint> dragModeToggleMultiAnchor(const InteractionOverlay::Editor& editor, const SceneFit& fit);

} // namespace larkspool
