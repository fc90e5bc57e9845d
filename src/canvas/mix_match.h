#pragma once

#include "document/enumeration.h"
#include "editing/edit.h"
#include "foundation/random_source.h"
#include "platform/user_defaults.h"

#include <array>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// Dealing the look of the selected layers out again: each takes values of another, or new ones between the extremes of all.

/// What can be dealt, in the order of the sheet.
enum class MixMatchCategory {
    fill,
    strokeColor,
    strokeWidth,
    strokeOutside,
    shadow,
    cornerRadius,
    width,
    height,
    x,
    y,
    rotation,
    fontName,
    fontSize,
    textColor,
    textContent
};

template <>
struct EnumTable<MixMatchCategory> {
    using enum MixMatchCategory;
    static constexpr EnumCase<MixMatchCategory> cases[] = {
        {fill, "fill", "Fill"},
        {strokeColor, "strokeColor", "Stroke Color"},
        {strokeWidth, "strokeWidth", "Stroke Width"},
        {strokeOutside, "strokeOutside", "Stroke Outside"},
        {shadow, "shadow", "Shadow"},
        {cornerRadius, "cornerRadius", "Corner Radius"},
        {width, "width", "Width"},
        {height, "height", "Height"},
        {x, "x", "X"},
        {y, "y", "Y"},
        {rotation, "rotation", "Rotation"},
        {fontName, "fontName", "Font"},
        {fontSize, "fontSize", "Font Size"},
        {textColor, "textColor", "Text Color"},
        {textContent, "textContent", "Text"},
    };
};

/// Whether texts alone have what the category deals.
constexpr bool isOfTexts(MixMatchCategory category)
{
    return category >= MixMatchCategory::fontName;
}

/// The heading of the sheet under which the category stands.
std::string_view mixMatchSection(MixMatchCategory category);

using MixMatchCategories = std::set<MixMatchCategory>;

/// The categories' names with commas between, and back. Names of none are passed over.
std::string mixMatchNames(const MixMatchCategories& categories);
MixMatchCategories mixMatchCategoriesNamed(std::string_view names);

/// The texts of a pool, written with commas between. White space around them and empty ones are left out.
std::vector<std::string> mixMatchTexts(std::string_view textPool);

/// A random order of 0..<count in one single cycle, so that from two up nothing stays in its place.
std::vector<std::size_t> derangement(std::size_t count, RandomSource& random);

/// 0..<count in a random order, every order as likely.
std::vector<std::size_t> shuffledBins(std::size_t count, RandomSource& random);

/// `n` values spread evenly from the least to the greatest of the pool: the range is cut into `n` strata, and value i is the
/// middle of stratum `bins[i]`.
///
///     least                      greatest
///       |--*--|--*--|--*--|--*--|             n = 4
///
/// A pool without a range gives its least value `n` times; without values, or an `n` of 0, it comes back as it is. `bins` are
/// 0..<n in any order.
std::vector<double> stratifyScalars(std::span<const double> pool, std::size_t n, std::span<const std::size_t> bins);

/// How to deal.
struct MixMatchSettings {
    MixMatchCategories categories{};
    double bias = 0;              ///< 0 deals the values that there are, 1 values in between; all between mixes both.
    std::string textPool{};       ///< What texts are taken from; without any, the layers' own.
    bool distributeAsSet = false; ///< A layer takes all its values from the same other one.

    bool operator==(const MixMatchSettings&) const = default;
};

/// Random bits that come again, so that a deal can be shown before it is made.
class RepeatableRandom final : public RandomSource {
public:
    /// Draws from `source`, which outlives it, what was not drawn before.
    explicit RepeatableRandom(RandomSource& source = systemRandom()) : source_(source) {}

    std::uint64_t next() override;

    void restart() { place_ = 0; } ///< From here on the same bits come again.
    void renew();                  ///< From here on others come.

private:
    RandomSource& source_;
    std::vector<std::uint64_t> drawn_;
    std::size_t place_ = 0;
};

/// Deals the stored values of the selected layers, at any depth. Keyframes stay. A layer without a property keeps it, while its
/// stored value is among those dealt; names that follow what is changed go with it. Nothing for fewer than two layers, or no
/// categories. With the same random bits, choosing another category leaves what the others come to as it is.
std::optional<Edit> applyMixAndMatch(const TweenScene& scene, const LayerIDs& selection, const MixMatchSettings& settings,
                                     RandomSource& random = systemRandom());

/// The sheet in which a person chooses.
struct MixMatchSheet {
    static constexpr std::string_view title = "Mix & Match";
    static constexpr std::array<std::string_view, 4> biasLabels = {"Existing values", "Mostly existing", "Mixed", "In between"};

    std::size_t selectionCount = 0;
    bool hasTexts = true; ///< Whether a text is among the selected layers.
    MixMatchCategories selected{};
    double bias = 0;        ///< 0...1.
    std::string textPool{}; ///< Not kept from one sheet to the next.
    bool distributeAsSet = false;
    std::function<void()> onCancel{};
    std::function<void(const MixMatchSettings&)> onApply{};

    static constexpr std::string_view noTexts = "None of the selected layers is a text.";

    /// As the sheet was left last.
    static MixMatchSheet opened(const UserDefaults& defaults, std::size_t selectionCount);
    /// The same on the selected layers of a scene.
    static MixMatchSheet opened(const UserDefaults& defaults, const TweenScene& scene, const LayerIDs& selection);
    /// Keeps all but the text pool.
    void save(UserDefaults& defaults) const;

    void toggle(MixMatchCategory category);
    void selectAll();
    void selectNone() { selected.clear(); }
    bool offers(MixMatchCategory category) const { return hasTexts || !isOfTexts(category); }
    bool showsTextPool() const { return hasTexts && selected.contains(MixMatchCategory::textContent); }
    /// Why nothing can be dealt as things are: a sentence for a person. Empty if it can.
    std::string_view obstacle() const;

    MixMatchSettings settings() const;
};

} // namespace larkspool
