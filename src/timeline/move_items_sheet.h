#pragma once

#include "timeline/move_items.h"
#include "timeline/sheet_ripple.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace larkspool {

/// The sheet that moves the selected items, by a way or to a time. It previews rows and holds what is chosen; the move itself is
/// made by whoever opened it.
class MoveItemsSheet {
public:
    enum class Mode {
        delta,   ///< By `deltaSeconds`.
        absolute ///< All to `absoluteSeconds`.
    };

    /// What the sheet was opened on, and where its end is told.
    struct Opening {
        double sceneDuration = 0; ///< Seconds.
        std::int64_t fps = 0;
        SelectionMoveTargets targets{};
        UserDefaults& defaults; ///< Outlives the sheet.
        std::function<void(Mode mode, double value, TimelineRippleMode ripple)> onConfirm{};
        std::function<void()> onCancel{};
    };

    static constexpr std::string_view nothingSelected = "No timeline items are selected.";
    static constexpr std::string_view rippleHelp = "Ripple mode applied to the move: Push After / Before / Both / Off.";
    static constexpr std::string_view absoluteNote =
        "Absolute mode collapses each item onto one time — per-item ripple would be ambiguous.";

    /// Opens on a move by nothing; the time of the absolute mode is the first start.
    explicit MoveItemsSheet(Opening opening);

    Mode mode = Mode::delta;
    double deltaSeconds = 0;
    double absoluteSeconds = 0;
    SheetRipple ripple; ///< Shown in the delta mode.

    bool showsRipple() const { return mode == Mode::delta; }
    /// What stands in place of a preview; nothing while there is something to move.
    std::optional<std::string_view> message() const;
    /// One frame, in seconds. A scene of less than one frame a second counts as one of one.
    double step() const;
    /// Changes the value of the mode by so many seconds. The time stays within the scene, and the way is held so that no item
    /// leaves it; where the items do not fit the scene, so that none begins before 0. A typed way is not held.
    void stepValue(double by);
    /// Takes what was typed as the value of the mode. False, and nothing changes, if it is no number.
    bool typeValue(std::string_view text);
    /// The rows at the times that the value gives, which are not held.
    std::vector<RetimeRow> shiftedRows() const;

    /// Ends the sheet: the ripple switches stay as chosen.
    void confirm() const;
    /// Ends the sheet: the ripple switches are put back.
    void cancel();

private:
    Opening opening_;
};

} // namespace larkspool
