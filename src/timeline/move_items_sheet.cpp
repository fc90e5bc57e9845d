#include "timeline/move_items_sheet.h"

#include "editing/number_input.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

MoveItemsSheet::MoveItemsSheet(Opening opening) : ripple(opening.defaults), opening_(std::move(opening))
{
    const double first = opening_.targets.minStart;
    if (std::isfinite(first)) absoluteSeconds = std::max(std::min(first, opening_.sceneDuration), 0.0);
}

std::optional<std::string_view> MoveItemsSheet::message() const
{
    return opening_.targets.retimeRows.empty() ? std::optional(nothingSelected) : std::nullopt;
}

double MoveItemsSheet::step() const
{
    return 1.0 / static_cast<double>(std::max<std::int64_t>(opening_.fps, 1));
}

void MoveItemsSheet::stepValue(double by)
{
    if (!std::isfinite(by)) return;
    if (mode == Mode::absolute) {
        absoluteSeconds = std::max(std::min(absoluteSeconds + by, opening_.sceneDuration), 0.0);
        return;
    }
    const SelectionMoveTargets& targets = opening_.targets;
    deltaSeconds = std::max(std::min(deltaSeconds + by, opening_.sceneDuration - targets.maxEnd), -targets.minStart);
}

bool MoveItemsSheet::typeValue(std::string_view text)
{
    const std::optional<double> typed = parsedNumber(text);
    if (!typed) return false;
    (mode == Mode::delta ? deltaSeconds : absoluteSeconds) = *typed;
    return true;
}

std::vector<RetimeRow> MoveItemsSheet::shiftedRows() const
{
    std::vector<RetimeRow> rows = opening_.targets.retimeRows;
    for (RetimeRow& row : rows) row.start = mode == Mode::delta ? row.start + deltaSeconds : absoluteSeconds;
    return rows;
}

void MoveItemsSheet::confirm() const
{
    if (!opening_.onConfirm) return;
    if (mode == Mode::delta)
        opening_.onConfirm(mode, deltaSeconds, ripple.mode());
    else
        opening_.onConfirm(mode, absoluteSeconds, TimelineRippleMode::none);
}

void MoveItemsSheet::cancel()
{
    ripple.restore();
    if (opening_.onCancel) opening_.onCancel();
}

} // namespace larkspool
