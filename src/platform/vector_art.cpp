#include "platform/image_decoding.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <string_view>

#include <cairo.h>
#include <gio/gio.h>
#include <librsvg/rsvg.h>

namespace larkspool {

namespace {

struct Release {
    void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
    void operator()(GInputStream* stream) const { g_object_unref(stream); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

template <typename T>
using Owned = std::unique_ptr<T, Release>;

constexpr CGSize fallbackSize{64, 64};

bool isDrawable(CGSize size)
{
    return std::isfinite(size.width) && std::isfinite(size.height) && size.width > 0 && size.height > 0;
}

/// The size in which the art's own coordinates are told to the drawing.
CGSize coordinateSize(RsvgHandle* handle, CGSize stated)
{
    CGSize size;
    if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &size.width, &size.height) && isDrawable(size)) return size;

    gboolean hasWidth = FALSE, hasHeight = FALSE, hasViewBox = FALSE;
    RsvgLength width, height;
    RsvgRectangle box;
    rsvg_handle_get_intrinsic_dimensions(handle, &hasWidth, &width, &hasHeight, &height, &hasViewBox, &box);
    if (hasViewBox && isDrawable({box.width, box.height})) return {box.width, box.height};
    return stated;
}

class SvgArt final : public VectorArt {
public:
    SvgArt(Owned<RsvgHandle> handle, CGSize stated) : handle_(std::move(handle)), stated_(stated) {}

    CGSize size() const override { return stated_; }

    ImageRef render(int width, int height) const override
    {
        if (!PixelBuffer::isPossible(width, height)) return nullptr;
        PixelBuffer pixels(width, height);
        const Owned<cairo_surface_t> surface(cairo_image_surface_create_for_data(pixels.data(), CAIRO_FORMAT_ARGB32, width, height,
                                                                                 static_cast<int>(pixels.bytesPerRow())));
        const Owned<cairo_t> cairo(cairo_create(surface.get()));
        const std::scoped_lock lock(mutex_);
        const CGSize own = coordinateSize(handle_.get(), stated_);
        cairo_scale(cairo.get(), width / own.width, height / own.height);
        const RsvgRectangle viewport{0, 0, own.width, own.height};
        if (!rsvg_handle_render_document(handle_.get(), cairo.get(), &viewport, nullptr)) return nullptr;
        cairo_surface_flush(surface.get());
        return makeImage(std::move(pixels));
    }

private:
    Owned<RsvgHandle> handle_;
    CGSize stated_;
    mutable std::mutex mutex_; ///< A handle draws for one thread at a time.
};

} // namespace

bool looksLikeVectorArt(std::span<const std::uint8_t> head)
{
    const std::string_view text(reinterpret_cast<const char*>(head.data()), std::min(head.size(), pictureHeadLength));
    return text.find("<svg") != std::string_view::npos;
}

std::shared_ptr<const VectorArt> decodeVectorArt(std::span<const std::uint8_t> bytes)
{
    if (!looksLikeVectorArt(bytes)) return nullptr;
    const Owned<GInputStream> stream(g_memory_input_stream_new_from_data(bytes.data(), static_cast<gssize>(bytes.size()), nullptr));
    // Without a base file no reference to another file or address is followed.
    Owned<RsvgHandle> handle(rsvg_handle_new_from_stream_sync(stream.get(), nullptr, RSVG_HANDLE_FLAGS_NONE, nullptr, nullptr));
    if (!handle) return nullptr;
    const CGSize stated = readSVGIntrinsicSize(bytes).value_or(fallbackSize);
    return std::make_shared<SvgArt>(std::move(handle), isDrawable(stated) ? stated : fallbackSize);
}

} // namespace larkspool
