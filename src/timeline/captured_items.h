#pragma once

#include "editing/scene_lookup.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace larkspool {

/// A timed item as it stood when a gesture began.
struct CapturedItem {
    TimelineItemRef ref{};
    ItemTimes times{};
    double sourceStart = 0;                                     ///< Of a clip.
    double latestEnd = std::numeric_limits<double>::infinity(); ///< Of a clip that ends where its source runs out.

    /// The item of that layer, with what the layer tells of it.
    static CapturedItem of(const Layer& layer, const TimelineItemRef& ref, ItemTimes times);

    double length() const { return times.end - times.start; }
};

/// Items of a scene, captured to be written again and again with new times, in the order of the tree.
///
/// Writing looks no item up: each one's place is noted at the capture, and an item that is not at its place any more is searched
/// for in its layer, or skipped if it is gone. Lists of layers without a captured item stay shared.
class CapturedItems {
public:
    /// What a write gives an item.
    struct Written {
        ItemTimes times;        ///< Not read for a wait tail: it stays behind its keyframe.
        double sourceStart = 0; ///< Of a clip.
    };

    /// `index` is of the scene that the items are captured from.
    explicit CapturedItems(std::shared_ptr<const LayerIndex> index) : index_(std::move(index)) {}
    CapturedItems() = default;

    /// Adds an item of that layer. `position` is its place in the layer's list.
    void add(LayerIndex::Place place, const CapturedItem& item, std::size_t position);

    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }
    const CapturedItem& operator[](std::size_t i) const { return entries_[i].item; }

    /// Writes every item as `newTimes(const CapturedItem&)`, a `Written`, tells. The effects of spans that change are refit.
    template <typename NewTimes>
    void write(TweenScene& scene, const NewTimes& newTimes) const;

private:
    struct Entry {
        CapturedItem item;
        LayerIndex::Place place;
        std::uint32_t position;
    };

    /// Whether the item is a span that has changed.
    static bool writeItem(Layer& layer, const Entry& entry, const Written& written);
    static void refitSpanEffects(Layer& layer);

    std::shared_ptr<const LayerIndex> index_;
    std::vector<Entry> entries_;
};

template <typename NewTimes>
void CapturedItems::write(TweenScene& scene, const NewTimes& newTimes) const
{
    for (std::size_t i = 0; i < entries_.size();) {
        const LayerIndex::Place place = entries_[i].place;
        Layer* layer = index_->edit(scene, place);
        bool spansChanged = false;
        for (; i < entries_.size() && entries_[i].place == place; ++i)
            if (layer && writeItem(*layer, entries_[i], newTimes(entries_[i].item))) spansChanged = true;
        if (spansChanged) refitSpanEffects(*layer);
    }
}

} // namespace larkspool
