#pragma once

#include "platform/raster/pixel_rect.h"
#include "platform/text_layout.h"

#include <cairo.h>

#include <span>

namespace larkspool {

/// Paints laid-out text. Glyphs are not hinted, and stand where they belong to an eighth of a pixel, so that moving text glides.
///
///   - Upright glyphs are composed from masks that are kept.
///   - Turned, sheared and mirrored ones are rasterised where they stand.
///   - Those of more than 256 pixels an em are filled as paths.
///   - Glyphs with colours of their own are drawn as images.
///
/// All but the last are composed to one coverage, as glyphs of opaque ink one over the other, and painted once.
class GlyphPainter {
public:
    /// Text is mapped to device space by `toDevice`. Glyphs of characters that begin in `clear` are left out. All arguments must
    /// outlive the painter.
    GlyphPainter(const TextLayout& layout, const AffineTransform& toDevice, std::span<const TextRange> clear)
        : layout_(layout), toDevice_(toDevice), clear_(clear)
    {}

    /// Holds all that is drawn, in device space; null where nothing is.
    CGRect bounds() const;

    /// Paints with Cairo's source, which must be a plain colour, in device space. Images take its alpha. What lies outside `area`
    /// need not be drawn.
    void draw(cairo_t* cairo, const PixelRect& area) const;

private:
    const TextLayout& layout_;
    const AffineTransform& toDevice_;
    std::span<const TextRange> clear_;
};

} // namespace larkspool
