#include "rendering/retained/compositing_renderer.h"

#include "platform/raster/pixel_blend.h"
#include "rendering/retained/damage_region.h"
#include "rendering/retained/draw_items.h"
#include "rendering/retained/item_painter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <unordered_map>
#include <utility>

namespace larkspool {

namespace {

/// Memory of frames is remembered for this many.
constexpr std::size_t greatestTargetCount = 8;
/// Changes of a group's picture are remembered for this many versions.
constexpr std::size_t rememberedChanges = 8;
/// Items that hide less than this many pixels are not looked for.
constexpr double leastHidingArea = 64 * 64;
constexpr std::size_t greatestHidingCount = 64;
/// What an opaque item hides of another is left out where it is at least this part of it, and few enough pieces remain.
constexpr double leastHiddenPart = 0.1;
constexpr std::size_t greatestPieceCount = 12;

bool contains(const PixelRect& outer, const PixelRect& inner)
{
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right && outer.bottom >= inner.bottom;
}

double areaOf(const PixelRect& rect)
{
    return rect.empty() ? 0 : static_cast<double>(rect.width()) * rect.height();
}

class Picture;

/// A subtree that is composited as a whole, with its picture.
struct Group {
    std::unique_ptr<Picture> picture;
};

/// What a raster was composited from last.
struct Composition {
    DrawList list;
    BlurredShadows shadows;
    std::vector<std::uint64_t> groupVersions; ///< Of the groups' pictures that were painted.
    bool isPainted = false;

    void clear()
    {
        list.clear();
        shadows.clear();
        groupVersions.clear();
        isPainted = false;
    }
};

/// Finds where two lists paint differently.
class Comparison {
public:
    Comparison(const DrawList& before, const DrawList& after, DamageRegion& damage)
        : before_(before), after_(after), damage_(damage)
    {}

    /// Calls `same` with the indices of each two items that paint the same.
    template <typename Same>
    void compare(const Same& same)
    {
        std::size_t i = 0, j = 0;
        while (j < after_.items.size()) {
            if (i < before_.items.size() && before_.items[i].key == after_.items[j].key) {
                if (paintsSame(before_, i, after_, j)) {
                    same(i, j);
                } else {
                    damage_.add(before_.items[i].bounds);
                    damage_.add(after_.items[j].bounds);
                }
                ++i, ++j;
                continue;
            }
            const std::size_t found = find(after_.items[j].key);
            if (found == missing || found < i) {
                damage_.add(after_.items[j++].bounds);
                continue;
            }
            while (i < found) damage_.add(before_.items[i++].bounds);
        }
        while (i < before_.items.size()) damage_.add(before_.items[i++].bounds);
    }

private:
    static constexpr std::size_t missing = ~std::size_t{0};

    /// The item of the list before with that key.
    std::size_t find(std::uint64_t key)
    {
        if (places_.empty())
            for (std::size_t i = 0; i < before_.items.size(); ++i) places_.try_emplace(before_.items[i].key, i);
        const auto found = places_.find(key);
        return found == places_.end() ? missing : found->second;
    }

    const DrawList& before_;
    const DrawList& after_;
    DamageRegion& damage_;
    std::unordered_map<std::uint64_t, std::size_t> places_;
};

/// What the pictures of one renderer share.
struct Tools {
    explicit Tools(std::size_t bitmapBytes) : bitmaps(bitmapBytes), painter(bitmaps) {}

    NodeBitmaps bitmaps;
    ItemPainter painter;
    Composition next; ///< Memory for the list to come.
    std::vector<PixelRect> clips, itemClips, pieces;
};

/// Where a raster changed from one version to the next.
using Changes = std::deque<DamageRegion>;

/// Composites trees into rasters, and tells what changed.
class Compositor {
public:
    Compositor(std::size_t bitmapBytes) : tools_(bitmapBytes) {}

    void composite(const CompositingNode& root, PixelBuffer& target, Composition& last, std::vector<Group>& groups,
                   DamageRegion& damage);

    void forgetKept()
    {
        tools_.bitmaps.clear();
        tools_.next.clear();
    }

private:
    void updateGroups(const DrawList& list, std::vector<Group>& groups);
    void compare(Composition& last, Composition& next, const std::vector<Group>& groups, DamageRegion& damage);
    void paint(Composition& next, PixelBuffer& target, std::vector<Group>& groups, const DamageRegion& damage);
    void findHidden(const DrawList& list);
    void leaveOutHidden(const DrawList& list, std::size_t item, std::vector<PixelRect>& clips);

    Tools tools_;
    std::vector<std::size_t> hiding_;
    std::vector<std::uint8_t> isHidden_;
};

/// The picture of a group, composited at its own size.
class Picture {
public:
    Picture(int width, int height) : pixels_(width, height) {}

    bool hasSize(int width, int height) const { return pixels_.width() == width && pixels_.height() == height; }
    const PixelBuffer& pixels() const { return pixels_; }
    std::uint64_t version() const { return version_; }

    void update(const CompositingNode& node, Compositor& compositor)
    {
        DamageRegion damage;
        damage.reset(pixels_.width(), pixels_.height());
        compositor.composite(node, pixels_, last_, groups_, damage);
        if (damage.empty()) return;
        ++version_;
        changes_.push_back(std::move(damage));
        if (changes_.size() > rememberedChanges) changes_.pop_front();
    }

    /// Adds what changed since a version to a region of the picture's size.
    void addChangesSince(std::uint64_t version, DamageRegion& region) const
    {
        if (version == version_) return;
        if (version > version_ || version_ - version > changes_.size()) return region.addAll();
        for (std::size_t i = changes_.size() - static_cast<std::size_t>(version_ - version); i < changes_.size(); ++i)
            region.add(changes_[i]);
    }

private:
    PixelBuffer pixels_;
    Composition last_;
    std::vector<Group> groups_;
    std::uint64_t version_ = 1;
    Changes changes_;
};

int pictureSide(double length)
{
    return length >= 1 ? static_cast<int>(std::min(std::ceil(length), static_cast<double>(PixelBuffer::maximumSide))) : 1;
}

/// The group's picture at its size, whatever it showed before.
Picture& pictureOf(Group& group, const CompositingNode& node)
{
    const int width = pictureSide(node.size.width), height = pictureSide(node.size.height);
    if (!group.picture || !group.picture->hasSize(width, height)) group.picture = std::make_unique<Picture>(width, height);
    return *group.picture;
}

void clear(PixelBuffer& target, const PixelRect& rect)
{
    for (int y = rect.top; y < rect.bottom; ++y)
        std::memset(target.row(y) + std::ptrdiff_t{4} * rect.left, 0, static_cast<std::size_t>(rect.width()) * 4);
}

void Compositor::composite(const CompositingNode& root, PixelBuffer& target, Composition& last, std::vector<Group>& groups,
                           DamageRegion& damage)
{
    const PixelRect raster{0, 0, target.width(), target.height()};
    Composition next = std::exchange(tools_.next, {});
    flatten(root, raster, next.list);
    next.shadows.clear();
    next.shadows.resize(next.list.shadows.size());
    updateGroups(next.list, groups);
    next.groupVersions.clear();
    for (std::size_t i = 0; i < next.list.groups.size(); ++i)
        next.groupVersions.push_back(groups[i].picture ? groups[i].picture->version() : 0);

    if (last.isPainted)
        compare(last, next, groups, damage);
    else
        damage.addAll();
    last.isPainted = false; // Should painting fail, nothing is known of the raster.
    paint(next, target, groups, damage);
    next.isPainted = true;
    std::swap(last, next);
    tools_.next = std::move(next);
}

void Compositor::updateGroups(const DrawList& list, std::vector<Group>& groups)
{
    groups.resize(list.groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const CompositingNode& node = *list.groups[i].node;
        if (!PixelBuffer::isPossible(pictureSide(node.size.width), pictureSide(node.size.height))) {
            groups[i].picture.reset();
            continue;
        }
        pictureOf(groups[i], node).update(node, *this);
    }
}

void Compositor::compare(Composition& last, Composition& next, const std::vector<Group>& groups, DamageRegion& damage)
{
    Comparison(last.list, next.list, damage).compare([&](std::size_t before, std::size_t after) {
        const DrawItem& a = last.list.items[before];
        const DrawItem& b = next.list.items[after];
        if (b.kind == DrawItem::Kind::shadow) next.shadows[b.part] = std::move(last.shadows[a.part]);
        if (b.kind != DrawItem::Kind::group || !groups[b.part].picture) return;
        const std::uint64_t painted = a.part < last.groupVersions.size() ? last.groupVersions[a.part] : 0;
        const Picture& picture = *groups[b.part].picture;
        if (a.part != b.part || painted != picture.version()) {
            DamageRegion changed;
            changed.reset(picture.pixels().width(), picture.pixels().height());
            a.part == b.part ? picture.addChangesSince(painted, changed) : changed.addAll();
            tools_.clips.clear();
            changed.appendTo(tools_.clips);
            const AffineTransform& m = next.list.groups[b.part].toDevice;
            for (const PixelRect& rect : tools_.clips) {
                // Smooth scaling spreads a pixel over its neighbours.
                const CGRect spread{{rect.left - 1.0, rect.top - 1.0}, {rect.width() + 2.0, rect.height() + 2.0}};
                damage.add(pixelsTouchedBy(m.apply(spread), b.bounds));
            }
        }
    });
}

/// Marks items of which nothing shows, since one opaque item lies over all of them.
void Compositor::findHidden(const DrawList& list)
{
    isHidden_.assign(list.items.size(), 0);
    hiding_.clear();
    for (std::size_t i = list.items.size(); i-- > 0;) {
        const PixelRect& bounds = list.items[i].bounds;
        isHidden_[i] = bounds.empty() ||
                       std::ranges::any_of(hiding_, [&](std::size_t over) { return contains(list.items[over].opaque, bounds); });
        if (areaOf(list.items[i].opaque) >= leastHidingArea && hiding_.size() < greatestHidingCount) hiding_.push_back(i);
    }
}

/// Appends what `hole` leaves of a rectangle: above it, beside it, below it.
void appendRest(const PixelRect& rect, const PixelRect& hole, std::vector<PixelRect>& rest)
{
    const PixelRect cut = intersectionOf(rect, hole);
    if (cut.empty()) return rest.push_back(rect);
    const auto append = [&](const PixelRect& piece) {
        if (!piece.empty()) rest.push_back(piece);
    };
    append({rect.left, rect.top, rect.right, cut.top});
    append({rect.left, cut.top, cut.left, cut.bottom});
    append({cut.right, cut.top, rect.right, cut.bottom});
    append({rect.left, cut.bottom, rect.right, rect.bottom});
}

/// Takes from the rectangles of an item what opaque items above it hide, as far as that is worth it.
void Compositor::leaveOutHidden(const DrawList& list, std::size_t item, std::vector<PixelRect>& clips)
{
    double total = 0;
    for (const PixelRect& clip : clips) total += areaOf(clip);
    if (total < leastHidingArea) return;
    for (const std::size_t above : hiding_) { // The uppermost first.
        if (above <= item) return;
        const PixelRect& opaque = list.items[above].opaque;
        double hidden = 0;
        for (const PixelRect& clip : clips) hidden += areaOf(intersectionOf(clip, opaque));
        if (hidden < leastHiddenPart * total) continue;
        tools_.pieces.clear();
        for (const PixelRect& clip : clips) appendRest(clip, opaque, tools_.pieces);
        if (tools_.pieces.size() > std::max(greatestPieceCount, clips.size())) continue;
        std::swap(clips, tools_.pieces);
    }
}

void Compositor::paint(Composition& next, PixelBuffer& target, std::vector<Group>& groups, const DamageRegion& damage)
{
    tools_.clips.clear();
    damage.appendTo(tools_.clips);
    if (tools_.clips.empty()) return;
    const DrawList& list = next.list;
    findHidden(list);

    // What lies under an item that covers a whole rectangle is not painted there.
    std::vector<std::size_t> lowest(tools_.clips.size(), 0);
    for (std::size_t c = 0; c < tools_.clips.size(); ++c) {
        bool isCovered = false;
        for (const std::size_t i : hiding_) {
            if (!contains(list.items[i].opaque, tools_.clips[c])) continue;
            lowest[c] = i;
            isCovered = true;
            break;
        }
        if (!isCovered) clear(target, tools_.clips[c]);
    }

    ItemPainter& painter = tools_.painter;
    painter.begin(list, next.shadows, target,
                  [&](std::size_t group) -> const PixelBuffer& { return groups[group].picture->pixels(); });
    for (std::size_t i = 0; i < list.items.size(); ++i) {
        const DrawItem& item = list.items[i];
        const std::size_t skipped = ItemPainter::paintedWith(item);
        if (!isHidden_[i] && !(item.kind == DrawItem::Kind::group && !groups[item.part].picture)) {
            tools_.itemClips.clear();
            for (std::size_t c = 0; c < tools_.clips.size(); ++c) {
                const PixelRect seen = intersectionOf(tools_.clips[c], item.bounds);
                if (lowest[c] <= i && !seen.empty()) tools_.itemClips.push_back(seen);
            }
            leaveOutHidden(list, i, tools_.itemClips);
            if (i + 1 < list.items.size()) painter.fetchAhead(i + 1);
            if (!tools_.itemClips.empty()) painter.paint(i, tools_.itemClips);
        }
        i += skipped;
    }
    painter.end();
}

class SoftwareRenderer final : public CompositingRenderer {
public:
    explicit SoftwareRenderer(std::size_t bitmapBytes) : compositor_(bitmapBytes) {}

    std::span<const PixelRect> render(const CompositingNode& root, PixelBuffer& target) override
    {
        Target& known = targetOf(target);
        damage_.reset(target.width(), target.height());
        if (root.compositing == CompositingNode::Compositing::group)
            renderMean(root, target, known);
        else
            renderTree(root, target, known);
        changed_.clear();
        damage_.appendTo(changed_);
        return changed_;
    }

    void forget(const PixelBuffer& target) override
    {
        std::erase_if(targets_, [&](const auto& known) { return known->memory == target.data(); });
    }

    void forget() override
    {
        targets_.clear();
        whole_.picture.reset();
        compositor_.forgetKept();
    }

private:
    /// What the memory of a frame holds.
    struct Target {
        const std::uint8_t* memory = nullptr;
        int width = 0, height = 0;
        Composition last;
        std::vector<Group> groups;
        std::uint64_t wholeVersion = 0; ///< Of the whole's picture that it holds; 0 if it holds none.
        DamageRegion mixed;             ///< Where it holds more than that picture.
    };

    Target& targetOf(const PixelBuffer& pixels)
    {
        const auto isThis = [&](const auto& known) {
            return known->memory == pixels.data() && known->width == pixels.width() && known->height == pixels.height();
        };
        const auto found = std::ranges::find_if(targets_, isThis);
        if (found != targets_.end()) {
            std::rotate(targets_.begin(), found, found + 1);
            return *targets_.front();
        }
        forget(pixels);
        if (targets_.size() >= greatestTargetCount) targets_.pop_back();
        auto added = std::make_unique<Target>();
        added->memory = pixels.data();
        added->width = pixels.width();
        added->height = pixels.height();
        targets_.insert(targets_.begin(), std::move(added));
        return *targets_.front();
    }

    void renderTree(const CompositingNode& root, PixelBuffer& target, Target& known)
    {
        if (known.wholeVersion != 0) known.last.clear();
        known.wholeVersion = 0;
        compositor_.composite(root, target, known.last, known.groups, damage_);
    }

    /// Composites the root to its own picture, and that over what the memory holds.
    void renderMean(const CompositingNode& root, PixelBuffer& target, Target& known)
    {
        if (!whole_.picture || !whole_.picture->hasSize(target.width(), target.height()))
            whole_.picture = std::make_unique<Picture>(target.width(), target.height());
        Picture& picture = *whole_.picture;
        picture.update(root, compositor_);

        const double opacity = std::clamp(root.opacity, 0.0, 1.0);
        if (known.wholeVersion == 0) {
            known.last.clear();
            known.mixed.reset(target.width(), target.height());
            damage_.addAll();
        } else {
            picture.addChangesSince(known.wholeVersion, damage_);
            damage_.add(known.mixed);
        }
        known.wholeVersion = picture.version();
        known.mixed.reset(target.width(), target.height());
        changed_.clear();
        damage_.appendTo(changed_);
        if (opacity >= 1) return copy(picture.pixels(), target);
        // The same over the same stays the same, so that all else may be left alone.
        known.mixed = damage_;
        blend(picture.pixels(), target, opacity);
    }

    void copy(const PixelBuffer& from, PixelBuffer& to) const
    {
        for (const PixelRect& rect : changed_)
            for (int y = rect.top; y < rect.bottom; ++y) {
                const std::ptrdiff_t left = std::ptrdiff_t{4} * rect.left;
                std::memcpy(to.row(y) + left, from.row(y) + left, static_cast<std::size_t>(rect.width()) * 4);
            }
    }

    void blend(const PixelBuffer& from, PixelBuffer& to, double opacity) const
    {
        if (!(opacity > 0)) return;
        const int count = static_cast<int>(std::clamp(std::round(1 / opacity), 1.0, 65536.0));
        for (const PixelRect& rect : changed_)
            for (int y = rect.top; y < rect.bottom; ++y) {
                const std::ptrdiff_t left = std::ptrdiff_t{4} * rect.left;
                blendMean(to.row(y) + left, from.row(y) + left, rect.width() * 4, count);
            }
    }

    Compositor compositor_;
    std::vector<std::unique_ptr<Target>> targets_; ///< The latest used in front.
    Group whole_;
    DamageRegion damage_;
    std::vector<PixelRect> changed_;
};

} // namespace

std::unique_ptr<CompositingRenderer> makeSoftwareRenderer(std::size_t bitmapBytes)
{
    return std::make_unique<SoftwareRenderer>(bitmapBytes);
}

} // namespace larkspool
