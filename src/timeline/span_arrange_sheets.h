#pragma once

#include "timeline/span_arrange.h"

#include <functional>
#include <string>

namespace larkspool {

/// What is typed in the sheet that distributes spans. It stays from one opening of the sheet to the next.
struct DistributeSpansSheet {
    std::string distributeSpansGapInput = "0"; ///< Seconds.

    /// 0 for text that is no number.
    double parsedGap() const;
    /// Writes the gap that many seconds longer, 0 at least.
    void bumpGap(double by);
    std::vector<ResolvedSpanRef> preview(std::vector<ResolvedSpanRef> resolved) const;
};

/// What is typed and chosen in the sheet that staggers spans. It stays as above.
struct StaggerSpansSheet {
    std::string staggerSpansAmountInput = "0.1"; ///< Seconds.
    std::string staggerSpansCurveInput = "0";
    StaggerOrder staggerSpansOrder = StaggerOrder::layerTopDown;

    using OnApply = std::function<void(double amount, double curve, StaggerOrder order)>;

    /// Nothing for text that is no number.
    std::optional<double> parsedAmount() const;
    /// 0, for equal steps, for text that is no number.
    double parsedCurve() const;
    /// The spans as they are while the amount is no number. A random order is another one each time.
    std::vector<ResolvedSpanRef> preview(const TweenScene& scene, std::vector<ResolvedSpanRef> resolved,
                                         RandomSource& random = systemRandom()) const;
    /// Hands over what is typed. False, and nothing is handed over, while the amount is no number: what would be all spans at
    /// one time is not done for a slip.
    bool apply(const OnApply& onApply) const;
};

} // namespace larkspool
