#include "timeline/span_arrange_sheets.h"

#include "editing/number_input.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

double DistributeSpansSheet::parsedGap() const
{
    return parsedNumber(distributeSpansGapInput).value_or(0);
}

void DistributeSpansSheet::bumpGap(double by)
{
    const double gap = parsedGap() + by;
    if (std::isfinite(gap)) distributeSpansGapInput = typedNumber(std::max(gap, 0.0));
}

std::vector<ResolvedSpanRef> DistributeSpansSheet::preview(std::vector<ResolvedSpanRef> resolved) const
{
    return previewDistributeSpans(parsedGap(), std::move(resolved));
}

std::optional<double> StaggerSpansSheet::parsedAmount() const
{
    return parsedNumber(staggerSpansAmountInput);
}

double StaggerSpansSheet::parsedCurve() const
{
    return parsedNumber(staggerSpansCurveInput).value_or(0);
}

std::vector<ResolvedSpanRef> StaggerSpansSheet::preview(const TweenScene& scene, std::vector<ResolvedSpanRef> resolved,
                                                        RandomSource& random) const
{
    const std::optional<double> amount = parsedAmount();
    if (!amount) return resolved;
    return previewStaggerSpans(*amount, parsedCurve(), staggerSpansOrder, scene, std::move(resolved), random);
}

bool StaggerSpansSheet::apply(const OnApply& onApply) const
{
    const std::optional<double> amount = parsedAmount();
    if (!amount) return false;
    if (onApply) onApply(*amount, parsedCurve(), staggerSpansOrder);
    return true;
}

} // namespace larkspool
