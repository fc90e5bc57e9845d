#pragma once

#include "platform/image.h"

namespace larkspool {

/// The picture scaled down to `width` x `height`, neither larger than its own: each pixel is the exact mean of the area that it
/// comes from, so that no line is lost and no pattern arises. `source`, in pixels of the picture, is what is taken; it must lie
/// within it and have an area.
Image areaAveraged(const Image& image, const CGRect& source, int width, int height);

/// The same, kept for the next call that asks for it. What is kept is bounded by bytes, least recently used first; a picture is
/// known by its address for as long as it lives. Safe on any thread; the result does not depend on what is kept.
ImageRef areaAveragedCached(const ImageRef& image, const CGRect& source, int width, int height);

} // namespace larkspool
