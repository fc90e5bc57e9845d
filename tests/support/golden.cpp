#include "support/golden.h"

#include <cstdlib>
#include <filesystem>
#include <memory>

#include <cairo.h>
#include <fmt/format.h>

namespace larkspool {

namespace {

struct DestroySurface {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, DestroySurface>;

void writePng(const PixelBuffer& picture, const std::filesystem::path& path)
{
    std::filesystem::create_directories(path.parent_path());
    auto* pixels = const_cast<std::uint8_t*>(picture.data()); // Cairo only reads them here.
    const Surface surface(cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, picture.width(), picture.height(),
                                                              static_cast<int>(picture.bytesPerRow())));
    cairo_surface_write_to_png(surface.get(), path.c_str());
}

std::unique_ptr<PixelBuffer> readPng(const std::filesystem::path& path)
{
    const Surface surface(cairo_image_surface_create_from_png(path.c_str()));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return nullptr;
    const bool hasAlpha = cairo_image_surface_get_format(surface.get()) == CAIRO_FORMAT_ARGB32;
    auto picture = std::make_unique<PixelBuffer>(cairo_image_surface_get_width(surface.get()),
                                                 cairo_image_surface_get_height(surface.get()));
    const unsigned char* source = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < picture->height(); ++y)
        for (int i = 0; i < picture->width() * 4; ++i)
            picture->row(y)[i] = !hasAlpha && i % 4 == 3 ? 255 : source[y * stride + i];
    return picture;
}

struct Difference {
    int largest = 0;
    int count = 0; ///< Channels off by more than the tolerance.
    std::unique_ptr<PixelBuffer> image;
};

Difference compare(const PixelBuffer& a, const PixelBuffer& b, int tolerance)
{
    Difference difference{.image = std::make_unique<PixelBuffer>(a.width(), a.height())};
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < a.width() * 4; ++i) {
            const int off = std::abs(int{a.row(y)[i]} - int{b.row(y)[i]});
            difference.largest = std::max(difference.largest, off);
            difference.count += off > tolerance;
            difference.image->row(y)[i] = i % 4 == 3 ? 255 : static_cast<std::uint8_t>(std::min(off * 4, 255));
        }
    }
    return difference;
}

} // namespace

std::string differenceFromGolden(const PixelBuffer& picture, const std::string& name, int tolerance)
{
    const std::filesystem::path reference = std::filesystem::path(LARKSPOOL_SOURCE_FOLDER) / "tests/golden" / (name + ".png");
    if (std::getenv("LARKSPOOL_UPDATE_GOLDENS")) {
        writePng(picture, reference);
        return {};
    }

    const std::filesystem::path results = std::filesystem::temp_directory_path() / "larkspool-golden";
    const std::unique_ptr<PixelBuffer> expected = readPng(reference);
    if (!expected || expected->width() != picture.width() || expected->height() != picture.height()) {
        writePng(picture, results / (name + ".png"));
        return fmt::format("{} has no reference of its size; see {}", name, (results / (name + ".png")).string());
    }
    const Difference difference = compare(picture, *expected, tolerance);
    if (difference.count == 0) return {};

    writePng(picture, results / (name + ".png"));
    writePng(*difference.image, results / (name + "-difference.png"));
    return fmt::format("{}: {} channels are off, the worst by {}; see {}", name, difference.count, difference.largest,
                       (results / (name + "-difference.png")).string());
}

} // namespace larkspool
