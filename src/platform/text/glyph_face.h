#pragma once

#include "platform/path.h"
#include "platform/text_layout.h"

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>

namespace larkspool {

/// One face of an installed font file. Faces live as long as the program and are shared by all threads.
class GlyphFace {
public:
    /// What tells one face from another.
    struct Source {
        std::string file;
        int index = 0;          ///< The face in the file; from bit 16 on, the named instance of a variable font plus one.
        std::string variations; ///< Such as "wght=600,opsz=20".
        double slant = 0;       ///< How far points of 1 em height lean to the right, for a face that is made italic.
        bool emboldened = false;

        auto operator<=>(const Source&) const = default;
    };

    static std::shared_ptr<const GlyphFace> find(const Source& source);

    GlyphFace(Source source, std::uint32_t id);

    const Source& source() const { return source_; }
    std::uint32_t id() const { return id_; } ///< Of no other face in this process.
    const FontMetrics& metrics() const { return metrics_; } ///< Of a size of 1.

private:
    Source source_;
    std::uint32_t id_;
    FontMetrics metrics_;
};

/// What a glyph looks like, in ems from its origin, y downward.
struct GlyphShape {
    struct SurfaceDeleter {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    };

    Path outline;                                           ///< Filled by the winding rule; empty for an image.
    std::unique_ptr<cairo_surface_t, SurfaceDeleter> image; ///< A picture in colours of its own, or none.
    CGRect bounds = CGRect::null();                         ///< Of the outline or the image.
};

/// The shape of a glyph, kept by the calling thread for a while.
std::shared_ptr<const GlyphShape> glyphShape(const GlyphFace& face, std::uint32_t glyph);

/// The shape that stands for a character of no font: an empty frame of the given width in ems.
GlyphShape missingGlyphShape(double width);

} // namespace larkspool
