#include "rendering/media_crop.h"

#include "platform/raster_context.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace larkspool {

namespace {

/// A short side from here on is sampled on a coarser grid.
constexpr int finestSide = 256;

/// Four corners together below this are dark.
constexpr int lightCorners = 512;

/// The colours of one sample, 0...255, whose order plays no part.
struct Sample {
    std::array<int, 3> colours;

    int largest() const { return std::max({colours[0], colours[1], colours[2]}); }
    int smallest() const { return std::min({colours[0], colours[1], colours[2]}); }
};

/// A picture made smaller: each sample is the mean of the pixels that it stands for.
class SampledPicture {
public:
    SampledPicture(const Image& image, int width, int height)
        : width_(width), height_(height), samples_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) samples_[index(x, y)] = mean(image, x, y);
    }

    const Sample& at(int x, int y) const { return samples_[index(x, y)]; }

    bool hasDarkCorners() const
    {
        const int right = width_ - 1, bottom = height_ - 1;
        return at(0, 0).largest() + at(right, 0).largest() + at(0, bottom).largest() + at(right, bottom).largest() < lightCorners;
    }

private:
    std::size_t index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
    }

    static int edge(int sample, int samples, int pixels) { return static_cast<int>(std::int64_t{sample} * pixels / samples); }

    Sample mean(const Image& image, int sampleX, int sampleY) const
    {
        const int left = edge(sampleX, width_, image.width()), right = edge(sampleX + 1, width_, image.width());
        const int top = edge(sampleY, height_, image.height()), bottom = edge(sampleY + 1, height_, image.height());
        std::array<std::int64_t, 3> sums{};
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                for (std::size_t c = 0; c < 3; ++c) sums[c] += image.pixels().row(y)[4 * x + static_cast<int>(c)];
        const std::int64_t count = std::int64_t{right - left} * (bottom - top);
        Sample sample{};
        for (std::size_t c = 0; c < 3; ++c) sample.colours[c] = static_cast<int>((sums[c] + count / 2) / count);
        return sample;
    }

    int width_, height_;
    std::vector<Sample> samples_;
};

/// The pixels of `rect`, which is whole and within the image.
PixelBuffer copied(const Image& image, const CGRect& rect)
{
    PixelBuffer pixels(static_cast<std::int64_t>(rect.size.width), static_cast<std::int64_t>(rect.size.height));
    const int left = static_cast<int>(rect.minX()), top = static_cast<int>(rect.minY());
    const std::size_t bytes = static_cast<std::size_t>(pixels.width()) * 4;
    for (int y = 0; y < pixels.height(); ++y) std::memcpy(pixels.row(y), image.pixels().row(top + y) + 4 * left, bytes);
    return pixels;
}

/// Multiplies pixels by the alpha of others.
void mask(PixelBuffer& pixels, const PixelBuffer& shape)
{
    for (int y = 0; y < pixels.height(); ++y) {
        std::uint8_t* row = pixels.row(y);
        const std::uint8_t* alpha = shape.row(y);
        for (int i = 0; i < 4 * pixels.width(); ++i) row[i] = static_cast<std::uint8_t>((row[i] * alpha[i | 3] + 127) / 255);
    }
}

} // namespace

std::optional<CGRect> croppedPixels(const CGRect& rect, CGSize picture)
{
    const double left = std::max(std::floor(rect.minX()), 0.0), top = std::max(std::floor(rect.minY()), 0.0);
    const double right = std::min(std::ceil(rect.maxX()), picture.width);
    const double bottom = std::min(std::ceil(rect.maxY()), picture.height);
    const bool hasArea = left < right && top < bottom; // Numbers that are none have no area.
    if (!hasArea || std::isnan(rect.minX()) || std::isnan(rect.minY())) return std::nullopt;
    return CGRect{{left, top}, {right - left, bottom - top}};
}

CGRect manualCropRect(const CGRect& cropRect, CGSize picture)
{
    return {{std::max(std::min(cropRect.minX() * picture.width, picture.width - 1), 0.0),
             std::max(std::min(cropRect.minY() * picture.height, picture.height - 1), 0.0)},
            {std::max(cropRect.size.width * picture.width, 1.0), std::max(cropRect.size.height * picture.height, 1.0)}};
}

std::optional<CGRect> detectWindowBBox(const Image& image, int threshold)
{
    const int smaller = std::min(image.width(), image.height());
    const int step = smaller < finestSide ? 1 : smaller / finestSide;
    const int width = std::max(image.width() / step, 1), height = std::max(image.height() / step, 1);
    const SampledPicture picture(image, width, height);

    const bool isDark = picture.hasDarkCorners();
    int minX = width, minY = height, maxX = -1, maxY = -1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Sample& sample = picture.at(x, y);
            const bool isContent = isDark ? sample.largest() > threshold : sample.smallest() < 255 - threshold;
            if (!isContent) continue;
            minX = std::min(minX, x);
            maxX = std::max(maxX, x);
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
        }
    }
    if (maxX < 0) return std::nullopt;
    const auto pixels = [&](int samples) { return static_cast<double>(step) * samples; };
    return CGRect{{pixels(minX), pixels(minY)}, {pixels(maxX - minX + 1), pixels(maxY - minY + 1)}};
}

CGRect blackKeyCropRect(const CGRect& box, double insetX, double insetY)
{
    return {{box.minX() + insetX, box.minY() + insetY},
            {std::max(box.size.width - 2 * insetX, 1.0), std::max(box.size.height - 2 * insetY, 1.0)}};
}

std::optional<BlackKeyMask> blackKeyMask(const CGRect& box, double insetX, double insetY, double cornerRadius)
{
    const CGRect crop = insetBy(box, insetX, insetY);
    const bool isLeft = crop.size.width > 0 && crop.size.height > 0;
    if (!isLeft) return std::nullopt;
    const double radius = std::min(cornerRadius, std::min(crop.size.width, crop.size.height) * 0.5);
    return BlackKeyMask{crop, radius > 0 ? radius : 0};
}

ImageRef blackKeyMasked(const ImageRef& image, const std::optional<CGRect>& box, double insetX, double insetY,
                        double cornerRadius)
{
    if (!image || !box) return image;
    const std::optional<BlackKeyMask> key = blackKeyMask(*box, insetX, insetY, cornerRadius);
    if (!key) return image;
    const std::optional<CGRect> pixels = croppedPixels(key->crop, image->size());
    if (!pixels) return nullptr;

    PixelBuffer result = copied(*image, *pixels);
    if (key->radius <= 0)
        return std::make_shared<const Image>(std::move(result),
                                             image->isOpaque() ? Image::Alpha::opaque : Image::Alpha::translucent);
    PixelBuffer shape(result.width(), result.height());
    const CGRect within{{key->crop.minX() - pixels->minX(), key->crop.minY() - pixels->minY()}, key->crop.size};
    const std::unique_ptr<RasterContext> context = makeRasterContext(shape);
    context->setFillColor({1, 1, 1, 1});
    context->fillPath(Path::roundedRect({within, key->radius}), FillRule::winding);
    mask(result, shape);
    return std::make_shared<const Image>(std::move(result), Image::Alpha::translucent);
}

} // namespace larkspool
