#include "canvas/mix_match.h"

#include "canvas/layer_names.h"
#include "canvas/selected_layers.h"
#include "foundation/trim.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace larkspool {

namespace {

using Category = MixMatchCategory;
using Order = std::vector<std::size_t>;

/// A range below this is none.
constexpr double leastRange = 0.0001;

/// Up to the first there are existing values only, from the second on values in between only.
constexpr double existingBias = 0.0005;
constexpr double inBetweenBias = 0.9995;

Order identity(std::size_t count)
{
    Order order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    return order;
}

/// A number below `count`, which is not 0. That 2^64 is no multiple of it does not show.
std::size_t indexBelow(std::size_t count, RandomSource& random)
{
    return static_cast<std::size_t>(random.next() % count);
}

/// Calls `visit` for every piece of the text between commas, without blanks around it, that is not empty.
template <typename Visit>
void forEachPiece(std::string_view text, const Visit& visit)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(','), text.size());
        const std::string_view piece = trimmed(text.substr(0, end));
        if (!piece.empty()) visit(piece);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

/// How one category is dealt among the layers.
struct Deal {
    Order permutation{}; ///< Layer i takes the value of layer permutation[i].
    Order bins{};        ///< Layer i takes the middle of stratum bins[i].
    double bias = 0;

    static Deal drawn(std::size_t count, double bias, RandomSource& random)
    {
        Order permutation = derangement(count, random);
        return {std::move(permutation), shuffledBins(count, random), bias};
    }

    template <typename Value>
    std::vector<Value> existing(const std::vector<Value>& values) const
    {
        std::vector<Value> dealt;
        dealt.reserve(values.size());
        for (const std::size_t from : permutation) dealt.push_back(values[from]);
        return dealt;
    }

    std::vector<double> mixed(const std::vector<double>& values) const
    {
        const bool onlyExisting = !(bias > existingBias);
        std::vector<double> dealt = existing(values);
        if (onlyExisting) return dealt;
        std::vector<double> between = stratifyScalars(values, values.size(), bins);
        if (bias >= inBetweenBias) return between;
        for (std::size_t i = 0; i < dealt.size(); ++i) dealt[i] = std::lerp(dealt[i], between[i], bias);
        return dealt;
    }

    /// Channel by channel; in a deal of existing values whole colours change places.
    std::vector<ColorRGBA> mixed(std::vector<ColorRGBA> colors) const
    {
        for (const auto channel : {&ColorRGBA::r, &ColorRGBA::g, &ColorRGBA::b, &ColorRGBA::a}) {
            std::vector<double> values;
            values.reserve(colors.size());
            for (const ColorRGBA& color : colors) values.push_back(color.*channel);
            values = mixed(values);
            for (std::size_t i = 0; i < colors.size(); ++i) colors[i].*channel = values[i];
        }
        return colors;
    }
};

/// Where a layer keeps a value.
template <typename Value>
using Field = Value& (*)(Layer&);

/// Writes what the i-th layer was dealt.
using Write = std::function<void(Layer& layer, std::size_t i)>;

template <typename Value>
std::vector<Value> valuesOf(std::vector<Layer>& layers, Field<Value> field)
{
    std::vector<Value> values;
    values.reserve(layers.size());
    for (Layer& layer : layers) values.push_back(field(layer));
    return values;
}

template <typename Value>
Write writing(Field<Value> field, std::vector<Value> values)
{
    return [field, values = std::move(values)](Layer& layer, std::size_t i) { field(layer) = values[i]; };
}

/// The same for texts alone.
Write toTexts(Write write)
{
    return [write = std::move(write)](Layer& layer, std::size_t i) {
        if (layer.kind == Layer::Kind::text) write(layer, i);
    };
}

template <typename Value>
Write dealtMixed(std::vector<Layer>& layers, const Deal& deal, Field<Value> field)
{
    return writing(field, deal.mixed(valuesOf(layers, field)));
}

template <typename Value>
Write dealtExisting(std::vector<Layer>& layers, const Deal& deal, Field<Value> field)
{
    return writing(field, deal.existing(valuesOf(layers, field)));
}

SharedString& textOf(Layer& layer)
{
    return layer.text;
}

Write dealtTexts(std::vector<Layer>& layers, const Deal& deal, const std::vector<std::string>& pool)
{
    if (pool.empty()) return dealtExisting<SharedString>(layers, deal, textOf);
    std::vector<SharedString> texts;
    texts.reserve(layers.size());
    for (const std::size_t from : deal.permutation) texts.emplace_back(pool[from % pool.size()]);
    return writing<SharedString>(textOf, std::move(texts));
}

Write applyCategory(Category category, std::vector<Layer>& originals, const Deal& deal, const std::vector<std::string>& textPool)
{
    const auto number = [&](Field<double> field) { return dealtMixed<double>(originals, deal, field); };
    const auto color = [&](Field<ColorRGBA> field) { return dealtMixed<ColorRGBA>(originals, deal, field); };
    switch (category) {
    case Category::fill: return color([](Layer& layer) -> ColorRGBA& { return layer.fill; });
    case Category::strokeColor: return color([](Layer& layer) -> ColorRGBA& { return layer.stroke; });
    case Category::strokeWidth: return number([](Layer& layer) -> double& { return layer.strokeWidth; });
    case Category::strokeOutside: // From the layers themselves: a vector of flags has no references to give.
        return [dealt = deal.existing(originals)](Layer& layer, std::size_t i) { layer.strokeOutside = dealt[i].strokeOutside; };
    case Category::shadow:
        return dealtExisting<ShadowPreset>(originals, deal, [](Layer& layer) -> ShadowPreset& { return layer.shadow; });
    case Category::cornerRadius: return number([](Layer& layer) -> double& { return layer.cornerRadius; });
    case Category::width: return number([](Layer& layer) -> double& { return layer.size.width; });
    case Category::height: return number([](Layer& layer) -> double& { return layer.size.height; });
    case Category::x: return number([](Layer& layer) -> double& { return layer.transform.x; });
    case Category::y: return number([](Layer& layer) -> double& { return layer.transform.y; });
    case Category::rotation: return number([](Layer& layer) -> double& { return layer.transform.rotation; });
    case Category::fontName:
        return dealtExisting<SharedString>(originals, deal, [](Layer& layer) -> SharedString& { return layer.fontName; });
    case Category::fontSize: return number([](Layer& layer) -> double& { return layer.fontSize; });
    case Category::textColor: return color([](Layer& layer) -> ColorRGBA& { return layer.textColor; });
    case Category::textContent: return dealtTexts(originals, deal, textPool);
    }
    return [](Layer&, std::size_t) {};
}

std::vector<Write> dealtOut(std::vector<Layer> originals, const MixMatchSettings& settings, RandomSource& random)
{
    const auto draw = [&] { return Deal::drawn(originals.size(), settings.bias, random); };
    const std::vector<std::string> texts = mixMatchTexts(settings.textPool);
    std::vector<Write> writes;
    Deal deal = draw();
    for (const EnumCase<Category>& each : EnumTable<Category>::cases) {
        // Drawn also for what is not chosen, so that the rest is dealt as it would be with it.
        if (!settings.distributeAsSet) deal = draw();
        if (!settings.categories.contains(each.value)) continue;
        Write write = applyCategory(each.value, originals, deal, texts);
        writes.push_back(isOfTexts(each.value) ? toTexts(std::move(write)) : std::move(write));
    }
    return writes;
}

/// A name that is derived from what is written follows it.
void writeWithName(Layer& layer, std::size_t i, const std::vector<Write>& writes)
{
    const std::optional<std::string> before = derivedLayerName(layer);
    for (const Write& write : writes) write(layer, i);
    if (derivedLayerName(layer) != before) refreshFollowingName(layer);
}

} // namespace

std::string_view mixMatchSection(MixMatchCategory category)
{
    switch (category) {
    case Category::fill:
    case Category::strokeColor:
    case Category::strokeWidth:
    case Category::strokeOutside: return "Color & Stroke";
    case Category::shadow:
    case Category::cornerRadius: return "Surface";
    case Category::width:
    case Category::height: return "Size";
    case Category::x:
    case Category::y:
    case Category::rotation: return "Position";
    case Category::fontName:
    case Category::fontSize:
    case Category::textColor:
    case Category::textContent: return "Text";
    }
    return {};
}

std::string mixMatchNames(const MixMatchCategories& categories)
{
    std::string names;
    for (const Category category : categories) {
        if (!names.empty()) names += ',';
        names += fileValue(category);
    }
    return names;
}

MixMatchCategories mixMatchCategoriesNamed(std::string_view names)
{
    MixMatchCategories categories;
    forEachPiece(names, [&](std::string_view name) {
        if (const std::optional<Category> category = fromFileValue<Category>(name)) categories.insert(*category);
    });
    return categories;
}

std::vector<std::string> mixMatchTexts(std::string_view textPool)
{
    std::vector<std::string> texts;
    forEachPiece(textPool, [&](std::string_view text) { texts.emplace_back(text); });
    return texts;
}

std::vector<std::size_t> derangement(std::size_t count, RandomSource& random)
{
    // Sattolo's shuffle: the partner is always another one, which leaves a single cycle.
    Order order = identity(count);
    for (std::size_t i = count; i-- > 1;) std::swap(order[i], order[indexBelow(i, random)]);
    return order;
}

std::vector<std::size_t> shuffledBins(std::size_t count, RandomSource& random)
{
    Order order = identity(count);
    for (std::size_t i = count; i-- > 1;) std::swap(order[i], order[indexBelow(i + 1, random)]);
    return order;
}

std::vector<double> stratifyScalars(std::span<const double> pool, std::size_t n, std::span<const std::size_t> bins)
{
    if (pool.empty() || n == 0) return {pool.begin(), pool.end()};
    const auto [least, greatest] = std::ranges::minmax(pool);
    if (std::abs(greatest - least) < leastRange) return std::vector<double>(n, least);
    std::vector<double> values;
    values.reserve(bins.size());
    // Not by a stratum's width, which overflows between the largest numbers.
    for (const std::size_t bin : bins)
        values.push_back(std::lerp(least, greatest, (static_cast<double>(bin) + 0.5) / static_cast<double>(n)));
    return values;
}

std::uint64_t RepeatableRandom::next()
{
    if (place_ == drawn_.size()) drawn_.push_back(source_.next());
    return drawn_[place_++];
}

void RepeatableRandom::renew()
{
    drawn_.clear();
    restart();
}

std::optional<Edit> applyMixAndMatch(const TweenScene& scene, const LayerIDs& selection, const MixMatchSettings& settings,
                                     RandomSource& random)
{
    const std::vector<const Layer*> selected = collectSelectedAnywhere(scene.layers, selection);
    if (settings.categories.empty() || selected.size() < 2) return std::nullopt;
    std::vector<Layer> originals;
    originals.reserve(selected.size());
    for (const Layer* layer : selected) originals.push_back(*layer);
    const std::vector<Write> writes = dealtOut(std::move(originals), settings, random);

    Edit edit{.scene = scene, .actionName = "Mix & Match"};
    std::size_t next = 0;
    editSelected(edit.scene.layers, selection, [&](Layer& layer) { writeWithName(layer, next++, writes); });
    return edit;
}

MixMatchSheet MixMatchSheet::opened(const UserDefaults& defaults, std::size_t selectionCount)
{
    const double bias = defaults.number(DefaultsKey::mixMatchBias);
    return {.selectionCount = selectionCount,
            .selected = mixMatchCategoriesNamed(defaults.string(DefaultsKey::mixMatchCategories)),
            .bias = bias > 0 ? std::min(bias, 1.0) : 0, // What is no number is 0 as well.
            .distributeAsSet = defaults.boolean(DefaultsKey::mixMatchAsSet)};
}

MixMatchSheet MixMatchSheet::opened(const UserDefaults& defaults, const TweenScene& scene, const LayerIDs& selection)
{
    const std::vector<const Layer*> selected = collectSelectedAnywhere(scene.layers, selection);
    MixMatchSheet sheet = opened(defaults, selected.size());
    sheet.hasTexts = std::ranges::any_of(selected, [](const Layer* layer) { return layer->kind == Layer::Kind::text; });
    return sheet;
}

std::string_view MixMatchSheet::obstacle() const
{
    if (selectionCount < 2) return "Select two or more layers first.";
    if (selected.empty()) return "Turn on what is to be dealt.";
    return std::ranges::any_of(selected, [this](MixMatchCategory category) { return offers(category); }) ? "" : noTexts;
}

void MixMatchSheet::save(UserDefaults& defaults) const
{
    defaults.set(DefaultsKey::mixMatchCategories, mixMatchNames(selected));
    defaults.set(DefaultsKey::mixMatchBias, bias);
    defaults.set(DefaultsKey::mixMatchAsSet, distributeAsSet);
}

void MixMatchSheet::toggle(MixMatchCategory category)
{
    if (selected.erase(category) == 0) selected.insert(category);
}

void MixMatchSheet::selectAll()
{
    for (const EnumCase<MixMatchCategory>& each : EnumTable<MixMatchCategory>::cases) selected.insert(each.value);
}

MixMatchSettings MixMatchSheet::settings() const
{
    return {.categories = selected, .bias = bias, .textPool = textPool, .distributeAsSet = distributeAsSet};
}

} // namespace larkspool
