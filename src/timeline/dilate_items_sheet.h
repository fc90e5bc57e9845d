#pragma once

#include "timeline/dilate.h"
#include "timeline/sheet_ripple.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// The sheet that stretches or squeezes the spacing of the selected items. It previews rows and holds what is chosen; the edit
/// itself is made by whoever opened it.
class DilateItemsSheet {
public:
    /// What the sheet was opened on, and where its end is told.
    struct Opening {
        double sceneDuration = 0; ///< Seconds.
        SelectionMoveTargets targets{};
        UserDefaults& defaults; ///< Outlives the sheet.
        std::function<void(double scale, DilateAnchor anchor, TimelineRippleMode ripple)> onConfirm{};
        std::function<void()> onCancel{};
    };

    static constexpr double minScale = 0.05;
    static constexpr std::string_view tooFewItems = "Need at least two selected items to dilate spacing.";
    static constexpr std::string_view rippleHelp =
        "Ripple shifts unselected items past the affected side(s) by the dilated boundary delta.";

    explicit DilateItemsSheet(Opening opening);

    SheetRipple ripple;

    DilateAnchor anchor() const { return anchor_; }
    double scale() const { return scale_; }
    std::string scaleText() const; ///< "1.50".
    /// The scale is held anew.
    void chooseAnchor(DilateAnchor anchor);
    /// Held within 0.05 and `maxScale`. Nothing happens for what is not a number.
    void setScale(double scale);

    /// The time that stays in place; 0 without items.
    double anchorTime() const;
    /// The greatest scale that keeps the bounds of the items within the scene, 20 at most and 0.05 at least.
    double maxScale() const;
    /// What stands in place of a preview; nothing while there is spacing to scale.
    std::optional<std::string_view> message() const;
    /// The rows where the scale puts them, not held.
    std::vector<RetimeRow> shiftedRows() const;

    /// Ends the sheet: the ripple switches stay as chosen. Nothing happens while there is a message.
    void confirm() const;
    /// Ends the sheet: the ripple switches are put back.
    void cancel();

private:
    Opening opening_;
    DilateAnchor anchor_ = DilateAnchor::start;
    double scale_ = 1;
};

} // namespace larkspool
