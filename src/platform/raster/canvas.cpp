#include "platform/raster/canvas.h"

namespace larkspool {

namespace {

/// The farthest that a curve's lines stray from it, in device pixels.
constexpr double curveTolerance = 0.03;

} // namespace

Canvas::Canvas(const RasterTarget& target) : target_(target)
{
    makeSurface(CAIRO_FORMAT_ARGB32);
}

Canvas::Canvas(const PixelRect& area, cairo_format_t format)
{
    target_.area = area;
    target_.bytesPerRow = static_cast<std::size_t>(cairo_format_stride_for_width(format, area.width()));
    memory_ = ScratchMemory<std::uint8_t>(target_.bytesPerRow * static_cast<std::size_t>(area.height()));
    target_.pixels = memory_.data();
    makeSurface(format);
}

void Canvas::shift(CGSize offset) const
{
    cairo_surface_set_device_offset(surface_.get(), offset.width - target_.area.left, offset.height - target_.area.top);
}

void Canvas::makeSurface(cairo_format_t format)
{
    surface_.reset(cairo_image_surface_create_for_data(target_.pixels, format, target_.area.width(), target_.area.height(),
                                                       static_cast<int>(target_.bytesPerRow)));
    shift({0, 0});
    cairo_.reset(cairo_create(surface_.get()));
    cairo_set_tolerance(cairo_.get(), curveTolerance);
    cairo_set_miter_limit(cairo_.get(), miterLimit);
}

} // namespace larkspool
