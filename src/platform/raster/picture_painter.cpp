#include "platform/raster/picture_painter.h"

#include "platform/raster/pixel_blend.h"
#include "platform/raster/vectorised.h"

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace larkspool {

namespace {

/// Between two pixels there are this many steps.
constexpr int steps = 256;
/// An offset within this of a whole pixel is one.
constexpr double nothing = 1e-6;
/// Pixels are fetched in pieces of this many.
constexpr int piecePixels = 256;

/// A place between two pixels of a row or column of the picture.
struct Place {
    int near, far;
    std::uint32_t part; ///< How many 256ths of the far one show.
};

Place placeAt(double at, int count)
{
    const double held = std::clamp(at, 0.0, static_cast<double>(count - 1));
    const double whole = std::floor(held);
    const auto part = static_cast<std::uint32_t>(std::lround((held - whole) * steps));
    const int near = static_cast<int>(whole);
    return {near, std::min(near + 1, count - 1), part};
}

const std::uint8_t* pixelOf(const PictureSource& picture, int x, int y)
{
    return picture.pixels + static_cast<std::size_t>(y) * picture.bytesPerRow + std::ptrdiff_t{4} * x;
}

/// Blends two rows of bytes: as many 256ths of the second as `part` tells.
LARKSPOOL_VECTORISED
void mixRows(std::uint8_t* __restrict mixed, const std::uint8_t* __restrict a, const std::uint8_t* __restrict b,
             std::uint16_t part, int bytes)
{
    const auto rest = static_cast<std::uint16_t>(steps - part);
    for (int i = 0; i < bytes; ++i)
        mixed[i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(a[i] * rest + b[i] * part + steps / 2) >> 8);
}

std::uint32_t mixPixels(std::uint32_t a, std::uint32_t b, std::uint32_t part)
{
    constexpr std::uint32_t pairs = 0x00FF00FF, half = 0x00800080;
    const std::uint32_t rest = steps - part;
    const std::uint32_t even = (((a & pairs) * rest + (b & pairs) * part + half) >> 8) & pairs;
    const std::uint32_t odd = (((a >> 8) & pairs) * rest + ((b >> 8) & pairs) * part + half) & ~pairs;
    return even | odd;
}

/// Blends two rows of bytes, each as `parts` tells.
LARKSPOOL_VECTORISED
void mixEach(std::uint8_t* __restrict mixed, const std::uint8_t* __restrict a, const std::uint8_t* __restrict b,
             const std::uint16_t* __restrict parts, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        mixed[i] = static_cast<std::uint8_t>(
            static_cast<std::uint16_t>(a[i] * static_cast<std::uint16_t>(steps - parts[i]) + b[i] * parts[i] + steps / 2) >> 8);
}

std::uint32_t load(const std::uint8_t* pixel)
{
    std::uint32_t value = 0;
    std::memcpy(&value, pixel, 4);
    return value;
}

void store(std::uint8_t* pixel, std::uint32_t value)
{
    std::memcpy(pixel, &value, 4);
}

/// Composites fetched pixels.
class Laying {
public:
    Laying(const RasterTarget& target, std::uint32_t level, const CoverageMask* mask, bool isOpaque)
        : target_(target), level_(level), mask_(mask), isOpaque_(isOpaque)
    {}

    void lay(const std::uint8_t* pixels, int x, int y, int count)
    {
        std::uint8_t* to = target_.at(x, y);
        if (!mask_) return layPlain(to, pixels, count);
        const std::uint8_t* levels = mask_->at(x, y);
        for (int done = 0; done < count;) {
            const bool whole = levels[done] == 255;
            int next = done + 1;
            while (next < count && (levels[next] == 255) == whole) ++next;
            if (whole)
                layPlain(to + std::ptrdiff_t{4} * done, pixels + std::ptrdiff_t{4} * done, next - done);
            else
                layMasked(to + std::ptrdiff_t{4} * done, pixels + std::ptrdiff_t{4} * done, levels + done, next - done);
            done = next;
        }
    }

private:
    void layPlain(std::uint8_t* to, const std::uint8_t* from, int count) const
    {
        if (isOpaque_ && level_ >= 255)
            std::memcpy(to, from, static_cast<std::size_t>(count) * 4);
        else
            blendPixels(to, from, count, level_);
    }

    void layMasked(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* levels, int count)
    {
        if (level_ >= 255) return blendPixels(to, from, levels, count);
        scaled_.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            scaled_[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(partOf255(levels[i], level_));
        blendPixels(to, from, scaled_.data(), count);
    }

    const RasterTarget& target_;
    std::uint32_t level_;
    const CoverageMask* mask_;
    bool isOpaque_;
    std::vector<std::uint8_t> scaled_;
};

bool isWhole(double value)
{
    return std::abs(value - std::round(value)) < nothing;
}

bool isUpright(const AffineTransform& m)
{
    return m.b == 0 && m.c == 0;
}

using Piece = std::array<std::uint8_t, std::size_t{4} * piecePixels>;

/// Pixel for pixel, moved by whole pixels.
void layShifted(Laying& laying, const PixelRect& clip, const PictureSource& picture, int across, int down)
{
    const auto edge = [&](int from, int to, int column, int row, int y) {
        Piece piece;
        for (int x = from; x < to; x += piecePixels) {
            const int count = std::min(piecePixels, to - x);
            for (int i = 0; i < count; ++i) std::memcpy(piece.data() + std::ptrdiff_t{4} * i, pixelOf(picture, column, row), 4);
            laying.lay(piece.data(), x, y, count);
        }
    };
    const int left = std::clamp(across, clip.left, clip.right), right = std::clamp(across + picture.width, left, clip.right);
    for (int y = clip.top; y < clip.bottom; ++y) {
        const int row = std::clamp(y - down, 0, picture.height - 1);
        edge(clip.left, left, 0, row, y);
        if (left < right) laying.lay(pixelOf(picture, left - across, row), left, y, right - left);
        edge(right, clip.right, picture.width - 1, row, y);
    }
}

/// Rows of the picture stay rows: each is mixed from two, and its pixels from pairs of those.
void layUpright(Laying& laying, const PixelRect& clip, const PictureSource& picture, const AffineTransform& toPicture)
{
    std::vector<Place> columns(static_cast<std::size_t>(clip.width()));
    int first = picture.width, last = 0;
    bool evenSteps = true;
    for (int x = clip.left; x < clip.right; ++x) {
        Place& place = columns[static_cast<std::size_t>(x - clip.left)];
        place = placeAt(toPicture.a * (x + 0.5) + toPicture.tx - 0.5, picture.width);
        first = std::min(first, place.near);
        last = std::max(last, place.far);
        if (x > clip.left) {
            const Place& before = columns[static_cast<std::size_t>(x - clip.left) - 1];
            evenSteps = evenSteps && place.near == before.near + 1 && place.part == before.part && place.far == place.near + 1;
        }
    }
    evenSteps = evenSteps && columns.front().far == columns.front().near + 1;

    std::vector<std::uint16_t> parts(columns.size() * 4);
    for (std::size_t i = 0; i < parts.size(); ++i) parts[i] = static_cast<std::uint16_t>(columns[i / 4].part);
    std::vector<std::uint8_t> near(columns.size() * 4), far(columns.size() * 4);
    std::vector<std::uint8_t> mixed(static_cast<std::size_t>(last - first + 1) * 4);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(clip.width()) * 4);
    for (int y = clip.top; y < clip.bottom; ++y) {
        const Place place = placeAt(toPicture.d * (y + 0.5) + toPicture.ty - 0.5, picture.height);
        const std::uint8_t* source = pixelOf(picture, first, place.near);
        if (place.part > 0) {
            mixRows(mixed.data(), source, pixelOf(picture, first, place.far), static_cast<std::uint16_t>(place.part),
                    static_cast<int>(mixed.size()));
            source = mixed.data();
        }
        if (evenSteps) {
            const std::uint8_t* from = source + std::ptrdiff_t{4} * (columns.front().near - first);
            mixRows(row.data(), from, from + 4, static_cast<std::uint16_t>(columns.front().part), clip.width() * 4);
        } else {
            for (std::size_t i = 0; i < columns.size(); ++i) {
                store(near.data() + 4 * i, load(source + std::ptrdiff_t{4} * (columns[i].near - first)));
                store(far.data() + 4 * i, load(source + std::ptrdiff_t{4} * (columns[i].far - first)));
            }
            mixEach(row.data(), near.data(), far.data(), parts.data(), clip.width() * 4);
        }
        laying.lay(row.data(), clip.left, y, clip.width());
    }
}

void layTurned(Laying& laying, const PixelRect& clip, const PictureSource& picture, const AffineTransform& toPicture)
{
    Piece piece;
    for (int y = clip.top; y < clip.bottom; ++y) {
        for (int left = clip.left; left < clip.right; left += piecePixels) {
            const int count = std::min(piecePixels, clip.right - left);
            for (int i = 0; i < count; ++i) {
                const CGPoint at = toPicture.apply(CGPoint{left + i + 0.5, y + 0.5});
                const Place column = placeAt(at.x - 0.5, picture.width), row = placeAt(at.y - 0.5, picture.height);
                const std::uint32_t upper = mixPixels(load(pixelOf(picture, column.near, row.near)),
                                                      load(pixelOf(picture, column.far, row.near)), column.part);
                const std::uint32_t lower = mixPixels(load(pixelOf(picture, column.near, row.far)),
                                                      load(pixelOf(picture, column.far, row.far)), column.part);
                store(piece.data() + std::ptrdiff_t{4} * i, mixPixels(upper, lower, row.part));
            }
            laying.lay(piece.data(), left, y, count);
        }
    }
}

} // namespace

void paintPicture(const RasterTarget& target, const PixelRect& clip, const PictureSource& picture,
                  const AffineTransform& toDevice, std::uint32_t level, const CoverageMask* mask)
{
    const PixelRect seen = intersectionOf(clip, target.area);
    if (seen.empty() || picture.width < 1 || picture.height < 1 || level == 0) return;
    Laying laying(target, level, mask, picture.isOpaque);
    const AffineTransform toPicture = toDevice.inverted();
    const bool isUnscaled = isUpright(toPicture) && std::abs(toPicture.a - 1) < nothing && std::abs(toPicture.d - 1) < nothing;
    if (isUnscaled && isWhole(toPicture.tx) && isWhole(toPicture.ty))
        return layShifted(laying, seen, picture, -static_cast<int>(std::lround(toPicture.tx)),
                          -static_cast<int>(std::lround(toPicture.ty)));
    if (isUpright(toPicture)) return layUpright(laying, seen, picture, toPicture);
    layTurned(laying, seen, picture, toPicture);
}

} // namespace larkspool
