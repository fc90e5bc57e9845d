#include "platform/raster/image_pattern.h"

#include "platform/image_scaling.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// Whole pixels of a picture.
struct PixelPart {
    int x, y, width, height;
};

PixelPart wholePixels(const CGRect& source, const Image& image)
{
    const int left = static_cast<int>(std::clamp(std::floor(source.minX()), 0.0, image.width() * 1.0));
    const int top = static_cast<int>(std::clamp(std::floor(source.minY()), 0.0, image.height() * 1.0));
    const int right = static_cast<int>(std::clamp(std::ceil(source.maxX()), 0.0, image.width() * 1.0));
    const int bottom = static_cast<int>(std::clamp(std::ceil(source.maxY()), 0.0, image.height() * 1.0));
    return {left, top, right - left, bottom - top};
}

/// How many pixels of the device a number of pixels of the picture come to, where that is fewer.
int reducedCount(int pixels, double deviceLength)
{
    return static_cast<int>(std::clamp(std::round(deviceLength), 1.0, static_cast<double>(pixels)));
}

bool isWholeShift(const cairo_matrix_t& m)
{
    constexpr double nothing = 1e-6;
    const auto whole = [](double value) { return std::abs(value - std::round(value)) < nothing; };
    return std::abs(m.xx - 1) < nothing && std::abs(m.yy - 1) < nothing && std::abs(m.xy) < nothing && std::abs(m.yx) < nothing &&
           whole(m.x0) && whole(m.y0);
}

} // namespace

ImagePattern::ImagePattern(const ImageRef& image, const CGRect& source, const CGRect& destination, const AffineTransform& ctm)
    : pixels_(image)
{
    PixelPart part = wholePixels(source, *image);
    if (part.width < 1 || part.height < 1) return;

    const int width = reducedCount(part.width, destination.size.width * std::hypot(ctm.a, ctm.b));
    const int height = reducedCount(part.height, destination.size.height * std::hypot(ctm.c, ctm.d));
    if (width < part.width || height < part.height) {
        const CGRect taken{{part.x * 1.0, part.y * 1.0}, {part.width * 1.0, part.height * 1.0}};
        pixels_ = areaAveragedCached(image, taken, width, height);
        part = {0, 0, width, height};
    }

    const PixelBuffer& pixels = pixels_->pixels();
    auto* first = const_cast<std::uint8_t*>(pixels.row(part.y) + 4 * part.x); // Cairo only reads a source.
    cairo_surface_t* surface =
        cairo_image_surface_create_for_data(first, pixels_->isOpaque() ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, part.width,
                                            part.height, static_cast<int>(pixels.bytesPerRow()));
    pattern_.reset(cairo_pattern_create_for_surface(surface));
    cairo_surface_destroy(surface);

    const AffineTransform m = ctm.translatedBy(destination.origin.x, destination.origin.y)
                                  .scaledBy(destination.size.width / part.width, destination.size.height / part.height);
    cairo_matrix_t toPicture;
    cairo_matrix_init(&toPicture, m.a, m.b, m.c, m.d, m.tx, m.ty);
    if (cairo_matrix_invert(&toPicture) != CAIRO_STATUS_SUCCESS) {
        pattern_.reset();
        return;
    }
    cairo_pattern_set_matrix(pattern_.get(), &toPicture);
    cairo_pattern_set_filter(pattern_.get(), isWholeShift(toPicture) ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_BILINEAR);
    cairo_pattern_set_extend(pattern_.get(), CAIRO_EXTEND_PAD);
}

} // namespace larkspool
