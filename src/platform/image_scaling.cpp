#include "platform/image_scaling.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <mutex>
#include <vector>

namespace larkspool {

namespace {

constexpr std::size_t greatestCacheBytes = 256u << 20;

/// What of the source makes one pixel: whole pixels from `first` on, the two at the ends in part. The weights sum to 1.
struct Stretch {
    int first;
    int count;
    float headWeight, bodyWeight, tailWeight;
};

std::vector<Stretch> stretches(double start, double length, int count, int limit)
{
    std::vector<Stretch> result;
    result.reserve(static_cast<std::size_t>(count));
    const double step = length / count;
    for (int i = 0; i < count; ++i) {
        const double lo = std::clamp(start + step * i, 0.0, static_cast<double>(limit));
        const double hi = std::clamp(start + step * (i + 1), lo, static_cast<double>(limit));
        const int first = std::min(static_cast<int>(lo), limit - 1);
        const int last = std::clamp(static_cast<int>(std::ceil(hi)) - 1, first, limit - 1);
        const double whole = std::max(hi - lo, 1e-9);
        const auto weight = [&](int pixel) {
            return static_cast<float>((std::min(hi, pixel + 1.0) - std::max(lo, static_cast<double>(pixel))) / whole);
        };
        if (first == last)
            result.push_back({first, 1, 1, 0, 0});
        else
            result.push_back({first, last - first + 1, weight(first), static_cast<float>(1 / whole), weight(last)});
    }
    return result;
}

LARKSPOOL_VECTORISED
void addRow(float* sum, const std::uint8_t* row, std::size_t values, float weight)
{
    for (std::size_t i = 0; i < values; ++i) sum[i] += weight * static_cast<float>(row[i]);
}

float weightAt(const Stretch& stretch, int index)
{
    if (index == 0) return stretch.headWeight;
    return index + 1 == stretch.count ? stretch.tailWeight : stretch.bodyWeight;
}

/// One pixel from a row of sums.
void averageAcross(const float* sums, const Stretch& stretch, std::uint8_t* out)
{
    float channels[4] = {0.5f, 0.5f, 0.5f, 0.5f}; // Rounds to the nearest.
    for (int i = 0; i < stretch.count; ++i) {
        const float weight = weightAt(stretch, i);
        const float* pixel = sums + 4 * (stretch.first + i);
        for (int c = 0; c < 4; ++c) channels[c] += weight * pixel[c];
    }
    for (int c = 0; c < 4; ++c) out[c] = static_cast<std::uint8_t>(std::clamp(channels[c], 0.0f, 255.0f));
}

struct Entry {
    std::weak_ptr<const Image> owner; ///< Tells whether the address still means the same picture.
    const Image* image;
    CGRect source;
    int width, height;
    ImageRef scaled;
};

/// The pictures scaled last, the latest in front.
class ScaledImages {
public:
    ImageRef find(const ImageRef& image, const CGRect& source, int width, int height)
    {
        const std::scoped_lock lock(mutex_);
        for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
            const bool matches = entry->image == image.get() && entry->source == source && entry->width == width &&
                                 entry->height == height && entry->owner.lock() == image;
            if (!matches) continue;
            entries_.splice(entries_.begin(), entries_, entry);
            return entry->scaled;
        }
        return nullptr;
    }

    void keep(const ImageRef& image, const CGRect& source, ImageRef scaled)
    {
        const std::scoped_lock lock(mutex_);
        bytes_ += scaled->byteSize();
        entries_.push_front({image, image.get(), source, scaled->width(), scaled->height(), std::move(scaled)});
        while (bytes_ > greatestCacheBytes && entries_.size() > 1) {
            bytes_ -= entries_.back().scaled->byteSize();
            entries_.pop_back();
        }
    }

private:
    std::mutex mutex_;
    std::list<Entry> entries_;
    std::size_t bytes_ = 0;
};

ScaledImages& scaledImages()
{
    static ScaledImages images;
    return images;
}

} // namespace

Image areaAveraged(const Image& image, const CGRect& source, int width, int height)
{
    const PixelBuffer& pixels = image.pixels();
    const std::vector<Stretch> across = stretches(source.minX(), source.size.width, width, pixels.width());
    const std::vector<Stretch> down = stretches(source.minY(), source.size.height, height, pixels.height());
    const std::size_t begin = static_cast<std::size_t>(across.front().first) * 4;
    const std::size_t end = static_cast<std::size_t>(across.back().first + across.back().count) * 4;

    PixelBuffer scaled(width, height);
    std::vector<float> sums(static_cast<std::size_t>(pixels.width()) * 4);
    for (int y = 0; y < height; ++y) {
        const Stretch& stretch = down[static_cast<std::size_t>(y)];
        std::fill(sums.begin() + static_cast<std::ptrdiff_t>(begin), sums.begin() + static_cast<std::ptrdiff_t>(end), 0.0f);
        for (int i = 0; i < stretch.count; ++i)
            addRow(sums.data() + begin, pixels.row(stretch.first + i) + begin, end - begin, weightAt(stretch, i));
        for (int x = 0; x < width; ++x) averageAcross(sums.data(), across[static_cast<std::size_t>(x)], scaled.row(y) + 4 * x);
    }
    return Image(std::move(scaled), image.isOpaque() ? Image::Alpha::opaque : Image::Alpha::translucent);
}

ImageRef areaAveragedCached(const ImageRef& image, const CGRect& source, int width, int height)
{
    if (ImageRef kept = scaledImages().find(image, source, width, height)) return kept;
    auto scaled = std::make_shared<const Image>(areaAveraged(*image, source, width, height));
    scaledImages().keep(image, source, scaled);
    return scaled;
}

} // namespace larkspool
