#include "platform/png_writer.h"

#include <stdexcept>
#include <string>

#include <cairo.h>

namespace larkspool {

namespace {

struct DestroySurface {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, DestroySurface>;

/// Called by C code, which no exception may cross.
cairo_status_t append(void* file, const unsigned char* bytes, unsigned int count) noexcept
{
    try {
        auto& written = *static_cast<std::vector<std::uint8_t>*>(file);
        written.insert(written.end(), bytes, bytes + count);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

void check(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("The picture cannot be encoded: ") + cairo_status_to_string(status));
}

} // namespace

std::vector<std::uint8_t> encodePng(const PixelBuffer& picture)
{
    auto* pixels = const_cast<std::uint8_t*>(picture.data()); // Only read.
    const Surface surface(cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, picture.width(), picture.height(),
                                                              static_cast<int>(picture.bytesPerRow())));
    check(cairo_surface_status(surface.get()));
    std::vector<std::uint8_t> file;
    check(cairo_surface_write_to_png_stream(surface.get(), append, &file));
    return file;
}

} // namespace larkspool
