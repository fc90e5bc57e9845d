#include "platform/image_decoding.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <lcms2.h>

#include "foundation/base64.h"

namespace larkspool {

namespace {

struct Release {
    void operator()(GdkPixbufLoader* loader) const { g_object_unref(loader); }
    void operator()(GdkPixbuf* pixbuf) const { g_object_unref(pixbuf); }
};

using Loader = std::unique_ptr<GdkPixbufLoader, Release>;
using Pixbuf = std::unique_ptr<GdkPixbuf, Release>;

bool isTooLarge(std::int64_t width, std::int64_t height)
{
    return width < 1 || height < 1 || width > PixelBuffer::maximumSide || height > PixelBuffer::maximumSide ||
           width * height > greatestDecodedPixels;
}

/// A size of 0 tells the loader not to decode the picture at all.
void refuseTooLarge(GdkPixbufLoader* loader, int width, int height, gpointer refused)
{
    if (!isTooLarge(width, height)) return;
    *static_cast<bool*>(refused) = true;
    gdk_pixbuf_loader_set_size(loader, 0, 0);
}

bool begins(std::span<const std::uint8_t> bytes, std::size_t at, std::string_view magic)
{
    return bytes.size() >= at + magic.size() && std::memcmp(bytes.data() + at, magic.data(), magic.size()) == 0;
}

/// The name of a format that is decoded, by the first bytes; null for any other. The loader itself knows more, some of which read
/// other files.
const char* formatOf(std::span<const std::uint8_t> bytes)
{
    if (begins(bytes, 0, "\x89PNG")) return "png";
    if (begins(bytes, 0, "\xFF\xD8\xFF")) return "jpeg";
    if (begins(bytes, 0, "RIFF") && begins(bytes, 8, "WEBP")) return "webp";
    if (begins(bytes, 0, "GIF8")) return "gif";
    if (begins(bytes, 0, std::string_view("II*\0", 4)) || begins(bytes, 0, std::string_view("MM\0*", 4))) return "tiff";
    if (begins(bytes, 0, "BM")) return "bmp";
    return nullptr;
}

/// An unsigned number of `count` bytes, the least first; 0 beyond the end.
std::uint64_t littleEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count)
{
    std::uint64_t value = 0;
    if (at + count > bytes.size()) return value;
    for (std::size_t i = 0; i < count; ++i) value |= std::uint64_t{bytes[at + i]} << (8 * i);
    return value;
}

/// Whether a BMP has all of its header and its palette, for which the loader takes memory unseen, and of its pixels, as far as the
/// header tells how many bytes they take.
bool isWholeBMP(std::span<const std::uint8_t> bmp)
{
    constexpr std::uint64_t oldHeader = 12;
    const std::uint64_t header = littleEndian(bmp, 14, 4);
    if (header > bmp.size()) return false;
    const bool old = header == oldHeader;
    constexpr std::uint64_t paletteEntry = 4;
    if (!old && littleEndian(bmp, 46, 4) > bmp.size() / paletteEntry) return false;
    const std::uint64_t compression = old ? 0 : littleEndian(bmp, 30, 4);
    const bool runLengths = compression == 1 || compression == 2;
    if (runLengths) return true;
    const std::uint64_t width = old ? littleEndian(bmp, 18, 2) : littleEndian(bmp, 18, 4);
    const auto height = old ? static_cast<std::int64_t>(littleEndian(bmp, 20, 2))
                            : static_cast<std::int64_t>(static_cast<std::int32_t>(littleEndian(bmp, 22, 4)));
    const std::uint64_t bits = littleEndian(bmp, old ? 24 : 28, 2);
    const std::uint64_t rowLength = (width * bits + 31) / 32 * 4, rows = static_cast<std::uint64_t>(std::abs(height));
    const std::uint64_t begin = littleEndian(bmp, 10, 4);
    return begin <= bmp.size() && (rowLength == 0 || rows <= (bmp.size() - begin) / rowLength);
}

bool holds(std::span<const std::uint8_t> bytes, std::initializer_list<std::uint8_t> part)
{
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

/// What follows a JPEG's headers, in which a small preview may have an end of its own.
std::span<const std::uint8_t> scansOf(std::span<const std::uint8_t> jpeg)
{
    constexpr std::uint8_t marker = 0xFF, startOfScan = 0xDA;
    std::size_t at = 2;
    while (at + 4 <= jpeg.size() && jpeg[at] == marker && jpeg[at + 1] != startOfScan)
        at += 2 + std::size_t{jpeg[at + 2]} * 256 + jpeg[at + 3];
    return jpeg.subspan(std::min(at, jpeg.size()));
}

/// Whether the end is there, for the formats of which the loader makes do with less.
bool isWhole(std::span<const std::uint8_t> bytes, std::string_view format)
{
    constexpr std::size_t riffHeader = 8;
    if (format == "png") return holds(bytes, {'I', 'E', 'N', 'D'});
    if (format == "jpeg") return holds(scansOf(bytes), {0xFF, 0xD9});
    if (format == "webp") return littleEndian(bytes, 4, 4) <= bytes.size() - riffHeader;
    if (format == "bmp") return isWholeBMP(bytes);
    return true;
}

/// The picture upright, or nothing.
Pixbuf load(std::span<const std::uint8_t> bytes)
{
    const char* format = formatOf(bytes);
    if (!format || !isWhole(bytes, format)) return nullptr;
    const Loader loader(gdk_pixbuf_loader_new_with_type(format, nullptr));
    if (!loader) return nullptr;
    bool refused = false;
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(refuseTooLarge), &refused);
    const bool written = gdk_pixbuf_loader_write(loader.get(), bytes.data(), bytes.size(), nullptr);
    const bool closed = gdk_pixbuf_loader_close(loader.get(), nullptr);
    if (!written || !closed || refused) return nullptr;

    // An animation gives its first frame.
    GdkPixbuf* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (!pixbuf || isTooLarge(gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf))) return nullptr;
    return Pixbuf(gdk_pixbuf_apply_embedded_orientation(pixbuf));
}

enum class LoadedAlpha { straight, premultiplied };

/// The loader multiplies the colours of a TIFF by their alpha, where the file does not have them so already.
LoadedAlpha loadedAlpha(std::span<const std::uint8_t> bytes)
{
    return std::string_view(formatOf(bytes)) == "tiff" ? LoadedAlpha::premultiplied : LoadedAlpha::straight;
}

void makeStraight(std::vector<std::uint8_t>& rgba)
{
    for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
        const int alpha = rgba[i + 3];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t c = i; c < i + 3; ++c)
            rgba[c] = static_cast<std::uint8_t>(std::min((rgba[c] * 255 + alpha / 2) / alpha, 255));
    }
}

/// Straight RGBA rows of a picture, in sRGB.
class ColorRows {
public:
    ColorRows(GdkPixbuf* pixbuf, LoadedAlpha alpha) : pixbuf_(pixbuf), alpha_(alpha)
    {
        if (const char* text = gdk_pixbuf_get_option(pixbuf, "icc-profile")) openProfile(text);
    }
    ~ColorRows()
    {
        if (toSRGB_) cmsDeleteTransform(toSRGB_);
    }
    ColorRows(const ColorRows&) = delete;
    ColorRows& operator=(const ColorRows&) = delete;

    /// The row in premultiplied BGRA, straight from what was loaded. Where that does not do, nothing is written.
    bool readOpaque(int y, std::uint8_t* bgra) const
    {
        if (toSRGB_ || gdk_pixbuf_get_n_channels(pixbuf_) != 3) return false;
        const guint8* source = sourceRow(y);
        const int width = gdk_pixbuf_get_width(pixbuf_);
        for (int x = 0; x < width; ++x) {
            bgra[4 * x] = source[3 * x + 2];
            bgra[4 * x + 1] = source[3 * x + 1];
            bgra[4 * x + 2] = source[3 * x];
            bgra[4 * x + 3] = 255;
        }
        return true;
    }

    void read(int y, std::vector<std::uint8_t>& row) const
    {
        const int channels = gdk_pixbuf_get_n_channels(pixbuf_);
        const guint8* source = sourceRow(y);
        const int width = gdk_pixbuf_get_width(pixbuf_);
        for (int x = 0; x < width; ++x) {
            std::copy_n(source + x * channels, 3, row.begin() + 4 * x);
            row[4 * x + 3] = channels == 4 ? source[x * channels + 3] : 255;
        }
        if (alpha_ == LoadedAlpha::premultiplied) makeStraight(row);
        if (toSRGB_) cmsDoTransform(toSRGB_, row.data(), row.data(), static_cast<cmsUInt32Number>(width));
    }

private:
    const guint8* sourceRow(int y) const
    {
        return gdk_pixbuf_read_pixels(pixbuf_) + static_cast<std::size_t>(y) * gdk_pixbuf_get_rowstride(pixbuf_);
    }

    void openProfile(const char* text)
    {
        const std::optional<std::vector<std::uint8_t>> data = base64Decoded(text);
        if (!data) return;
        cmsHPROFILE profile = cmsOpenProfileFromMem(data->data(), static_cast<cmsUInt32Number>(data->size()));
        if (!profile) return;
        if (cmsGetColorSpace(profile) == cmsSigRgbData) {
            cmsHPROFILE sRGB = cmsCreate_sRGBProfile();
            toSRGB_ =
                cmsCreateTransform(profile, TYPE_RGBA_8, sRGB, TYPE_RGBA_8, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_COPY_ALPHA);
            cmsCloseProfile(sRGB);
        }
        cmsCloseProfile(profile);
    }

    GdkPixbuf* pixbuf_;
    LoadedAlpha alpha_;
    cmsHTRANSFORM toSRGB_ = nullptr;
};

void premultiply(const std::vector<std::uint8_t>& rgba, std::uint8_t* bgra, int width)
{
    const auto scaled = [](int value, int alpha) { return static_cast<std::uint8_t>((value * alpha + 127) / 255); };
    for (int x = 0; x < width; ++x) {
        const std::uint8_t* in = rgba.data() + 4 * x;
        std::uint8_t* out = bgra + 4 * x;
        out[0] = scaled(in[2], in[3]);
        out[1] = scaled(in[1], in[3]);
        out[2] = scaled(in[0], in[3]);
        out[3] = in[3];
    }
}

std::optional<double> attribute(const std::string& text, const char* name)
{
    std::smatch match;
    if (!std::regex_search(text, match, std::regex(std::string(name) + "=\"([0-9.]+)\""))) return std::nullopt;
    const std::string digits = match[1];
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

} // namespace

bool looksLikePicture(std::span<const std::uint8_t> head)
{
    return formatOf(head) || looksLikeVectorArt(head);
}

ImageRef decodeImage(std::span<const std::uint8_t> bytes)
{
    const Pixbuf pixbuf = load(bytes);
    if (!pixbuf) return nullptr;
    PixelBuffer pixels(gdk_pixbuf_get_width(pixbuf.get()), gdk_pixbuf_get_height(pixbuf.get()));
    const ColorRows rows(pixbuf.get(), loadedAlpha(bytes));
    std::vector<std::uint8_t> row(static_cast<std::size_t>(pixels.width()) * 4);
    for (int y = 0; y < pixels.height(); ++y) {
        if (rows.readOpaque(y, pixels.row(y))) continue;
        rows.read(y, row);
        premultiply(row, pixels.row(y), pixels.width());
    }
    return makeImage(std::move(pixels));
}

std::optional<CGSize> readSVGIntrinsicSize(std::span<const std::uint8_t> bytes)
{
    constexpr std::size_t headLength = 512;
    const std::string head(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), headLength)));
    if (!g_utf8_validate_len(head.data(), head.size(), nullptr)) return std::nullopt;
    const std::optional<double> width = attribute(head, "width"), height = attribute(head, "height");
    if (!width || !height) return std::nullopt;
    return CGSize{*width, *height};
}

} // namespace larkspool
