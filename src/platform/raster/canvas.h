#pragma once

#include "platform/raster/pixel_rect.h"
#include "platform/raster/scratch_memory.h"

#include <cairo.h>

#include <memory>

namespace larkspool {

/// Memory that is drawn into both by Cairo and by loops of our own. Cairo speaks device space in it.
class Canvas {
public:
    static constexpr double miterLimit = 10; ///< How far the corner of a stroke reaches, in half widths of the line.

    /// Draws into memory of the caller, which must outlive the canvas.
    explicit Canvas(const RasterTarget& target);

    /// Draws into clear memory of its own, of four bytes a pixel or, with CAIRO_FORMAT_A8, of one.
    Canvas(const PixelRect& area, cairo_format_t format);

    const RasterTarget& target() const { return target_; }
    const PixelRect& area() const { return target_.area; }
    cairo_t* cairo() const { return cairo_.get(); }
    cairo_surface_t* surface() const { return surface_.get(); }

    /// Must be called before the memory is read or written directly, and after it was written.
    void flush() const { cairo_surface_flush(surface_.get()); }
    void markWritten() const { cairo_surface_mark_dirty(surface_.get()); }

    /// Shows the device space shifted by `offset`.
    void shift(CGSize offset) const;

private:
    struct Destroy {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
    };

    void makeSurface(cairo_format_t format);

    ScratchMemory<std::uint8_t> memory_;
    RasterTarget target_;
    std::unique_ptr<cairo_surface_t, Destroy> surface_;
    std::unique_ptr<cairo_t, Destroy> cairo_;
};

} // namespace larkspool
