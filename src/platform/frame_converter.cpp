#include "platform/frame_converter.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <mutex>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace larkspool {

namespace {

/// The weights of red and blue in luma.
struct LumaWeights {
    double red, blue;
};

LumaWeights lumaWeights(AVColorSpace matrix)
{
    switch (matrix) {
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M: return {0.299, 0.114};
    case AVCOL_SPC_FCC: return {0.3, 0.11};
    case AVCOL_SPC_SMPTE240M: return {0.212, 0.087};
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL: return {0.2627, 0.0593};
    default: return {0.2126, 0.0722};
    }
}

/// Sums are fixed-point numbers with this many bits behind the point.
constexpr int sumBits = 17;

/// Chroma comes in sixteenths, since it is interpolated with quarter weights both ways.
constexpr int chromaBits = 4;

struct Coefficients {
    std::int32_t luma, lumaBase;
    std::int32_t crToRed, cbToGreen, crToGreen, cbToBlue;
};

Coefficients coefficients(AVColorSpace matrix, bool isFullRange)
{
    const LumaWeights weights = lumaWeights(matrix);
    const double green = 1 - weights.red - weights.blue;
    const double lumaScale = isFullRange ? 1 : 255.0 / 219;
    const double chromaScale = isFullRange ? 1 : 255.0 / 224;
    const auto chroma = [&](double weight) {
        return static_cast<std::int32_t>(std::lround(weight * chromaScale * (1 << (sumBits - chromaBits))));
    };
    const double red = 2 * (1 - weights.red), blue = 2 * (1 - weights.blue);
    return {.luma = static_cast<std::int32_t>(std::lround(lumaScale * (1 << sumBits))),
            .lumaBase = isFullRange ? 0 : 16,
            .crToRed = chroma(red),
            .cbToGreen = -chroma(blue * weights.blue / green),
            .crToGreen = -chroma(red * weights.red / green),
            .cbToBlue = chroma(blue)};
}

/// What a sample takes from a neighbour and from the nearest sample; together 4.
struct Blend {
    std::int16_t neighbour, nearest;
};

/// How full-size positions lie between chroma samples along one axis. An even position's neighbour is the sample before its
/// own, an odd one's the sample after.
struct Siting {
    Blend even, odd;
};

constexpr Siting between{{1, 3}, {1, 3}};   ///< A sample lies in the middle of its two positions.
constexpr Siting onTheEven{{0, 4}, {2, 2}}; ///< A sample lies on its even position.

Siting horizontalSiting(AVChromaLocation location)
{
    const bool isCentred = location == AVCHROMA_LOC_CENTER || location == AVCHROMA_LOC_TOP || location == AVCHROMA_LOC_BOTTOM;
    return isCentred ? between : onTheEven;
}

Siting verticalSiting(AVChromaLocation location)
{
    const bool isOnTop = location == AVCHROMA_LOC_TOPLEFT || location == AVCHROMA_LOC_TOP;
    return isOnTop ? onTheEven : between;
}

/// Quarters of chroma: one row from the nearest row and its neighbour.
LARKSPOOL_VECTORISED void blendRows(const std::uint8_t* __restrict nearest, const std::uint8_t* __restrict neighbour, Blend blend,
                                    int count, std::int16_t* __restrict blended)
{
    for (int i = 0; i < count; ++i)
        blended[i] = static_cast<std::int16_t>(nearest[i] * blend.nearest + neighbour[i] * blend.neighbour);
}

/// Sixteenths of chroma, less 128, at twice the width. `samples` can be read one before its start and one behind its end.
LARKSPOOL_VECTORISED void widenRow(const std::int16_t* __restrict samples, Siting siting, int count,
                                   std::int16_t* __restrict widened)
{
    constexpr std::int16_t middle = 128 << chromaBits;
    for (int i = 0; i < count; ++i) {
        widened[2 * i] =
            static_cast<std::int16_t>(samples[i] * siting.even.nearest + samples[i - 1] * siting.even.neighbour - middle);
        widened[2 * i + 1] =
            static_cast<std::int16_t>(samples[i] * siting.odd.nearest + samples[i + 1] * siting.odd.neighbour - middle);
    }
}

inline std::uint32_t channel(std::int32_t sum)
{
    return static_cast<std::uint32_t>(std::clamp((sum + (1 << (sumBits - 1))) >> sumBits, 0, 255));
}

LARKSPOOL_VECTORISED void colourRow(const std::uint8_t* __restrict luma, const std::int16_t* __restrict cb,
                                    const std::int16_t* __restrict cr, Coefficients k, int width,
                                    std::uint32_t* __restrict pixels)
{
    for (int x = 0; x < width; ++x) {
        const std::int32_t y = (luma[x] - k.lumaBase) * k.luma;
        const std::uint32_t red = channel(y + cr[x] * k.crToRed);
        const std::uint32_t green = channel(y + cb[x] * k.cbToGreen + cr[x] * k.crToGreen);
        const std::uint32_t blue = channel(y + cb[x] * k.cbToBlue);
        pixels[x] = blue | green << 8 | red << 16 | 0xff000000u;
    }
}

/// One chroma plane on its way to full size, row by row.
class ChromaRows {
public:
    ChromaRows(const std::uint8_t* plane, std::ptrdiff_t bytesPerRow, int width, int height, AVChromaLocation location)
        : plane_(plane),
          bytesPerRow_(bytesPerRow),
          width_(width),
          height_(height),
          horizontal_(horizontalSiting(location)),
          vertical_(verticalSiting(location)),
          blended_(static_cast<std::size_t>(width) + 2),
          widened_(static_cast<std::size_t>(width) * 2)
    {}

    /// The chroma of row `y` of the full picture. Holds until the next call.
    const std::int16_t* row(int y)
    {
        const bool isOdd = y % 2 != 0;
        const int nearest = y / 2;
        const int neighbour = std::clamp(isOdd ? nearest + 1 : nearest - 1, 0, height_ - 1);
        std::int16_t* samples = blended_.data() + 1;
        blendRows(line(nearest), line(neighbour), isOdd ? vertical_.odd : vertical_.even, width_, samples);
        samples[-1] = samples[0];
        samples[width_] = samples[width_ - 1];
        widenRow(samples, horizontal_, width_, widened_.data());
        return widened_.data();
    }

private:
    const std::uint8_t* line(int y) const { return plane_ + y * bytesPerRow_; }

    const std::uint8_t* plane_;
    std::ptrdiff_t bytesPerRow_;
    int width_, height_;
    Siting horizontal_, vertical_;
    std::vector<std::int16_t> blended_, widened_;
};

std::uint32_t* pixelRow(PixelBuffer& pixels, int y)
{
    return reinterpret_cast<std::uint32_t*>(pixels.row(y));
}

const std::uint32_t* pixelRow(const PixelBuffer& pixels, int y)
{
    return reinterpret_cast<const std::uint32_t*>(pixels.row(y));
}

LARKSPOOL_VECTORISED void premultiplyRow(std::uint8_t* row, int width)
{
    for (int x = 0; x < width; ++x) {
        std::uint8_t* pixel = row + 4 * x;
        const int alpha = pixel[3];
        for (int c = 0; c < 3; ++c) pixel[c] = static_cast<std::uint8_t>((pixel[c] * alpha + 127) / 255);
    }
}

/// Square blocks of this side are turned at a time, so that reads and writes both stay in the cache.
constexpr int blockSide = 32;

PixelBuffer turned(const PixelBuffer& source, FrameOrientation orientation)
{
    const int width = orientation.swapsAxes ? source.height() : source.width();
    const int height = orientation.swapsAxes ? source.width() : source.height();
    PixelBuffer target(width, height);
    for (int top = 0; top < height; top += blockSide)
        for (int left = 0; left < width; left += blockSide)
            for (int y = top; y < std::min(top + blockSide, height); ++y) {
                std::uint32_t* row = pixelRow(target, y);
                const int fromY = orientation.mirrorsY ? height - 1 - y : y;
                for (int x = left; x < std::min(left + blockSide, width); ++x) {
                    const int fromX = orientation.mirrorsX ? width - 1 - x : x;
                    row[x] = orientation.swapsAxes ? pixelRow(source, fromX)[fromY] : pixelRow(source, fromY)[fromX];
                }
            }
    return target;
}

} // namespace

/// Pixels of images that are gone.
class FrameConverter::Memory : public std::enable_shared_from_this<Memory> {
public:
    /// Pixels of any content.
    PixelBuffer take(int width, int height)
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(free_, [&](const PixelBuffer& pixels) { return pixels.width() != width || pixels.height() != height; });
        if (free_.empty()) return PixelBuffer(width, height);
        PixelBuffer pixels = std::move(free_.back());
        free_.pop_back();
        return pixels;
    }

    /// An image whose pixels come back here.
    ImageRef makeImage(PixelBuffer pixels, Image::Alpha alpha)
    {
        auto image = std::make_unique<Image>(std::move(pixels), alpha);
        Image* const made = image.release();
        return ImageRef(made,
                        [memory = shared_from_this(), made](const Image*) { memory->giveBack(std::unique_ptr<Image>(made)); });
    }

private:
    /// More than are let go between two pictures would only lie there, and very large ones weigh more than the time they save.
    static constexpr std::size_t mostFree = 3;
    static constexpr std::size_t mostFreeBytes = std::size_t{64} << 20;

    void giveBack(std::unique_ptr<Image> image)
    {
        const PixelBuffer& pixels = image->pixels();
        const std::size_t bytes = pixels.bytesPerRow() * static_cast<std::size_t>(pixels.height());
        const std::lock_guard lock(mutex_);
        if (free_.size() >= mostFree || bytes > mostFreeBytes) return;
        // The image was made without `const`, and nobody holds it.
        free_.push_back(std::move(const_cast<PixelBuffer&>(image->pixels())));
    }

    std::mutex mutex_;
    std::vector<PixelBuffer> free_;
};

FrameConverter::FrameConverter() : memory_(std::make_shared<Memory>()) {}

FrameConverter::~FrameConverter() = default;

FrameOrientation FrameOrientation::fromDisplayMatrix(const std::int32_t* matrix)
{
    // A point (x, y) goes to (a x + c y, b x + d y).
    const std::int64_t a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
    if (std::llabs(a) >= std::llabs(b)) return {.swapsAxes = false, .mirrorsX = a < 0, .mirrorsY = d < 0};
    return {.swapsAxes = true, .mirrorsX = c < 0, .mirrorsY = b < 0};
}

FrameConverter::Colour FrameConverter::colourOf(const AVFrame& picture)
{
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    const bool isRGB = (format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
    const bool isGrey = format.nb_components <= 2;
    const auto isOneOf = [&](std::initializer_list<AVPixelFormat> formats) {
        return std::ranges::find(formats, static_cast<AVPixelFormat>(picture.format)) != formats.end();
    };
    const bool isFullByFormat =
        isRGB || isGrey ||
        isOneOf({AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUVJ411P});

    Colour colour;
    const bool isHighDefinition = picture.width >= 1280 || picture.height > 576;
    const bool saysNothing = picture.colorspace == AVCOL_SPC_UNSPECIFIED || picture.colorspace == AVCOL_SPC_RESERVED ||
                             picture.colorspace == AVCOL_SPC_RGB;
    if (!saysNothing)
        colour.matrix = picture.colorspace;
    else if (!isHighDefinition)
        colour.matrix = AVCOL_SPC_SMPTE170M;
    colour.isFullRange =
        picture.color_range == AVCOL_RANGE_UNSPECIFIED ? isFullByFormat : picture.color_range == AVCOL_RANGE_JPEG || isRGB;
    if (isOneOf({AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ444P})) colour.isFullRange = true;
    if (picture.chroma_location != AVCHROMA_LOC_UNSPECIFIED) colour.chroma = picture.chroma_location;
    return colour;
}

ImageRef FrameConverter::convert(const AVFrame& picture, FrameOrientation orientation)
{
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    if (!format || picture.width < 1 || picture.height < 1 || !picture.data[0]) return nullptr;
    const Colour colour = colourOf(picture);
    PixelBuffer pixels = memory_->take(picture.width, picture.height);

    const bool isPlanar420 = picture.format == AV_PIX_FMT_YUV420P || picture.format == AV_PIX_FMT_YUVJ420P;
    if (isPlanar420)
        convertPlanar(picture, colour, pixels);
    else if (!scale(picture, colour, pixels))
        return nullptr;

    const bool hasAlpha = (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    if (hasAlpha)
        for (int y = 0; y < pixels.height(); ++y) premultiplyRow(pixels.row(y), pixels.width());
    const Image::Alpha alpha = hasAlpha ? Image::Alpha::translucent : Image::Alpha::opaque;
    if (orientation != FrameOrientation{}) return std::make_shared<const Image>(turned(pixels, orientation), alpha);
    return memory_->makeImage(std::move(pixels), alpha);
}

void FrameConverter::convertPlanar(const AVFrame& picture, const Colour& colour, PixelBuffer& pixels)
{
    const Coefficients k = coefficients(colour.matrix, colour.isFullRange);
    const int chromaWidth = (picture.width + 1) / 2, chromaHeight = (picture.height + 1) / 2;
    ChromaRows cb(picture.data[1], picture.linesize[1], chromaWidth, chromaHeight, colour.chroma);
    ChromaRows cr(picture.data[2], picture.linesize[2], chromaWidth, chromaHeight, colour.chroma);
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t* luma = picture.data[0] + y * static_cast<std::ptrdiff_t>(picture.linesize[0]);
        colourRow(luma, cb.row(y), cr.row(y), k, picture.width, pixelRow(pixels, y));
    }
}

bool FrameConverter::scale(const AVFrame& picture, const Colour& colour, PixelBuffer& pixels)
{
    if (!prepareScaler({picture.width, picture.height, picture.format, colour})) return false;
    std::uint8_t* const rows[4] = {pixels.data(), nullptr, nullptr, nullptr};
    const int bytesPerRow[4] = {static_cast<int>(pixels.bytesPerRow()), 0, 0, 0};
    const int done = sws_scale(scaler_.get(), picture.data, picture.linesize, 0, picture.height, rows, bytesPerRow);
    return done == picture.height;
}

bool FrameConverter::prepareScaler(const ScalerKey& key)
{
    if (scaler_ && key == scalerKey_) return true;
    const auto pixelFormat = static_cast<AVPixelFormat>(key.format);
    if (!sws_isSupportedInput(pixelFormat)) return false;
    scaler_.reset(sws_alloc_context());
    if (!scaler_) return false;

    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(pixelFormat);
    const auto set = [&](const char* name, std::int64_t value) { av_opt_set_int(scaler_.get(), name, value, 0); };
    set("srcw", key.width);
    set("srch", key.height);
    set("src_format", key.format);
    set("src_range", key.colour.isFullRange ? 1 : 0);
    set("dstw", key.width);
    set("dsth", key.height);
    set("dst_format", AV_PIX_FMT_BGRA);
    set("sws_flags", SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP);
    // Where a chroma sample lies, in 256ths of the step between two pixels.
    constexpr int inTheMiddle = 128;
    if (format.log2_chroma_w == 1)
        set("src_h_chr_pos", horizontalSiting(key.colour.chroma).even.neighbour == 0 ? 0 : inTheMiddle);
    if (format.log2_chroma_h == 1) set("src_v_chr_pos", verticalSiting(key.colour.chroma).even.neighbour == 0 ? 0 : inTheMiddle);

    const int* const matrix = sws_getCoefficients(key.colour.matrix);
    const int* const output = sws_getCoefficients(SWS_CS_DEFAULT);
    constexpr int one = 1 << 16;
    if (sws_init_context(scaler_.get(), nullptr, nullptr) < 0) {
        scaler_.reset();
        return false;
    }
    // Refused for pictures that are RGB already, which need none of it.
    sws_setColorspaceDetails(scaler_.get(), matrix, key.colour.isFullRange ? 1 : 0, output, 1, 0, one, one);
    scalerKey_ = key;
    return true;
}

} // namespace larkspool
