#pragma once

#include "foundation/geometry.h"
#include "platform/image.h"

#include <memory>

#include <cairo.h>

namespace larkspool {

/// A part of a picture laid over a rectangle, as a source of Cairo's in device space. A picture that is drawn smaller than it is
/// comes averaged by area; one drawn larger comes smooth.
class ImagePattern {
public:
    /// `source` is in pixels of the picture, `destination` in the space that `ctm` maps to the device. All must be finite and have
    /// an area; `source` is held within the picture, and nothing is left to draw if no pixel of it is.
    ImagePattern(const ImageRef& image, const CGRect& source, const CGRect& destination, const AffineTransform& ctm);

    bool empty() const { return !pattern_; }
    cairo_pattern_t* get() const { return pattern_.get(); }

private:
    struct Destroy {
        void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
    };

    ImageRef pixels_; ///< What the pattern reads.
    std::unique_ptr<cairo_pattern_t, Destroy> pattern_;
};

} // namespace larkspool
