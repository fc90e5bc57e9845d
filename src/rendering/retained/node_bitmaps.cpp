#include "rendering/retained/node_bitmaps.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace larkspool {

namespace {

/// Places are rounded to this part of a pixel, so that a move by whole pixels is one in numbers too.
constexpr double placesOfAPixel = 256;
/// A drawing of no more pixels than this times the raster's is kept whole, a larger one as far as the raster shows it.
constexpr double greatestWholeArea = 2;
constexpr std::size_t greatestCount = 1024;
/// Of drawings that move by themselves, no more are kept: each is of one moment.
constexpr std::size_t greatestPassingCount = 4;
constexpr std::size_t greatestSpareCount = 4;
constexpr std::size_t greatestSpareBytes = std::size_t{16} << 20;
/// Farther off nothing shows.
constexpr double farOff = 1 << 24;

/// A transform whose place lies within one pixel, and the whole pixels that were taken off.
struct Phased {
    AffineTransform toDevice;
    int x = 0, y = 0;
};

std::optional<Phased> phased(const AffineTransform& toDevice)
{
    Phased result{toDevice};
    const auto split = [](double& at, int& whole) {
        const double places = std::round(at * placesOfAPixel);
        const double pixels = std::floor(places / placesOfAPixel);
        if (!(std::abs(pixels) < farOff)) return false;
        whole = static_cast<int>(pixels);
        at = (places - pixels * placesOfAPixel) / placesOfAPixel;
        return true;
    };
    if (!split(result.toDevice.tx, result.x) || !split(result.toDevice.ty, result.y)) return std::nullopt;
    return result;
}

PixelRect shifted(const PixelRect& rect, int x, int y)
{
    return {rect.left + x, rect.top + y, rect.right + x, rect.bottom + y};
}

double areaOf(const PixelRect& rect)
{
    return rect.empty() ? 0 : static_cast<double>(rect.width()) * rect.height();
}

constexpr PixelRect everywhere{-(1 << 25), -(1 << 25), 1 << 25, 1 << 25};

/// The part of a drawing to be kept, in the device space of its phase.
PixelRect keptArea(const NodeDrawing& drawing, const Phased& place, const PixelRect& raster)
{
    const PixelRect whole = pixelsTouchedBy(drawing.deviceBounds(place.toDevice), everywhere);
    const PixelRect seen = intersectionOf(whole, shifted(raster, -place.x, -place.y));
    if (seen.empty()) return {};
    const bool isSmall = areaOf(whole) <= greatestWholeArea * areaOf(raster) && whole.width() <= PixelBuffer::maximumSide &&
                         whole.height() <= PixelBuffer::maximumSide;
    return isSmall ? whole : seen;
}

void findSeenColumns(NodeBitmap& bitmap)
{
    const auto isClear = [](const std::uint8_t* pixel) {
        std::uint32_t value = 0;
        std::memcpy(&value, pixel, 4);
        return value == 0;
    };
    bitmap.seen.resize(static_cast<std::size_t>(bitmap.pixels.height()));
    for (int y = 0; y < bitmap.pixels.height(); ++y) {
        const std::uint8_t* row = bitmap.pixels.row(y);
        int begin = 0, end = bitmap.pixels.width();
        while (begin < end && isClear(row + std::ptrdiff_t{4} * begin)) ++begin;
        while (begin < end && isClear(row + std::ptrdiff_t{4} * (end - 1))) --end;
        bitmap.seen[static_cast<std::size_t>(y)] = {begin, end};
    }
}

} // namespace

PixelRect pixelsOfDrawing(const NodeDrawing& drawing, const AffineTransform& toDevice, const PixelRect& raster)
{
    const std::optional<Phased> place = phased(toDevice);
    if (!place) return {};
    const PixelRect kept = keptArea(drawing, *place, raster);
    return kept.empty() ? PixelRect{} : intersectionOf(shifted(kept, place->x, place->y), raster);
}

NodeBitmaps::Placed NodeBitmaps::bitmap(const std::shared_ptr<const NodeDrawing>& drawing, const AffineTransform& toDevice,
                                        const PixelRect& raster)
{
    const std::optional<Phased> place = phased(toDevice);
    if (!drawing || !place) return {};
    const PixelRect area = keptArea(*drawing, *place, raster);
    if (area.empty()) return {};

    const auto shows = [&](const Entry& entry) {
        return entry.toDevice == place->toDevice && entry.area == area && areEqual(entry.drawing, drawing);
    };
    if (const auto found = std::ranges::find_if(entries_, shows); found != entries_.end()) {
        entries_.splice(entries_.begin(), entries_, found);
        return {entries_.front().bitmap, place->x, place->y};
    }
    Entry entry{drawing, place->toDevice, area, painted(*drawing, place->toDevice, area), 0};
    entry.bytes = entry.bitmap->pixels.bytesPerRow() * static_cast<std::size_t>(area.height()) + sizeof(Entry);
    const std::shared_ptr<const NodeBitmap> bitmap = entry.bitmap;
    bytes_ += entry.bytes;
    entries_.push_front(std::move(entry));
    if (drawing->movesByItself()) dropPassed();
    while (!entries_.empty() && (bytes_ > greatestBytes_ || entries_.size() > greatestCount)) drop(std::prev(entries_.end()));
    return {bitmap, place->x, place->y};
}

std::shared_ptr<NodeBitmap> NodeBitmaps::painted(const NodeDrawing& drawing, const AffineTransform& toDevice,
                                                 const PixelRect& area)
{
    auto bitmap = std::make_shared<NodeBitmap>(NodeBitmap{clearPixels(area.width(), area.height()), area, {}});
    const std::unique_ptr<RasterContext> context = makeRasterContext(bitmap->pixels);
    context->translateCTM(-area.left, -area.top);
    context->concatCTM(toDevice);
    drawing.draw(*context);
    findSeenColumns(*bitmap);
    return bitmap;
}

PixelBuffer NodeBitmaps::clearPixels(int width, int height)
{
    const auto fits = [&](const PixelBuffer& pixels) { return pixels.width() == width && pixels.height() == height; };
    const auto found = std::ranges::find_if(spare_, fits);
    if (found == spare_.end()) return PixelBuffer(width, height);
    PixelBuffer pixels = std::move(*found);
    spare_.erase(found);
    std::memset(pixels.data(), 0, pixels.bytesPerRow() * static_cast<std::size_t>(height));
    return pixels;
}

void NodeBitmaps::drop(std::list<Entry>::iterator entry)
{
    bytes_ -= entry->bytes;
    // What nobody else holds is used again.
    if (entry->bitmap.use_count() == 1 && entry->bytes <= greatestSpareBytes) {
        spare_.insert(spare_.begin(), std::move(entry->bitmap->pixels));
        if (spare_.size() > greatestSpareCount) spare_.pop_back();
    }
    entries_.erase(entry);
}

/// Drops the least recently used of the drawings that are of one moment.
void NodeBitmaps::dropPassed()
{
    std::size_t count = 0;
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        const auto next = std::next(entry);
        if (entry->drawing->movesByItself() && ++count > greatestPassingCount) drop(entry);
        entry = next;
    }
}

void NodeBitmaps::clear()
{
    entries_.clear();
    spare_.clear();
    bytes_ = 0;
}

} // namespace larkspool
