#include "timeline/dilate_items_sheet.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace larkspool {

namespace {

constexpr double greatestScale = 20;

/// How often `way` goes into `room`. A boundary at the anchor does not move, so that any scale has room.
double scaleFilling(double room, double way)
{
    return way == 0 ? std::numeric_limits<double>::infinity() : room / way;
}

} // namespace

DilateItemsSheet::DilateItemsSheet(Opening opening) : ripple(opening.defaults), opening_(std::move(opening)) {}

std::string DilateItemsSheet::scaleText() const
{
    return fmt::format("{:.2f}", scale_);
}

void DilateItemsSheet::chooseAnchor(DilateAnchor anchor)
{
    anchor_ = anchor;
    setScale(scale_);
}

void DilateItemsSheet::setScale(double scale)
{
    if (!std::isnan(scale)) scale_ = std::clamp(scale, minScale, maxScale());
}

double DilateItemsSheet::anchorTime() const
{
    return dilateAnchorTime(opening_.targets, anchor_);
}

double DilateItemsSheet::maxScale() const
{
    const SelectionMoveTargets& targets = opening_.targets;
    if (!targets.hasBounds() || !(opening_.sceneDuration > 0)) return greatestScale;
    const double anchor = anchorTime();
    const double most = std::min({scaleFilling(anchor, anchor - targets.minStart),
                                  scaleFilling(opening_.sceneDuration - anchor, targets.maxEnd - anchor), greatestScale});
    return std::max(most, minScale);
}

std::optional<std::string_view> DilateItemsSheet::message() const
{
    return opening_.targets.allStarts.size() < 2 ? std::optional(tooFewItems) : std::nullopt;
}

std::vector<RetimeRow> DilateItemsSheet::shiftedRows() const
{
    std::vector<RetimeRow> rows = opening_.targets.retimeRows;
    for (RetimeRow& row : rows) row.start = dilated(row.start, anchorTime(), scale_);
    return rows;
}

void DilateItemsSheet::confirm() const
{
    if (!message() && opening_.onConfirm) opening_.onConfirm(scale_, anchor_, ripple.mode());
}

void DilateItemsSheet::cancel()
{
    ripple.restore();
    if (opening_.onCancel) opening_.onCancel();
}

} // namespace larkspool
