#pragma once

#include "platform/image.h"

#include <QImage>

namespace larkspool {

/// The same pixels as the toolkit knows them, copied.
QImage asQImage(const Image& image);

/// The same pixels, seen in place: the buffer must outlive the picture and stay as it is.
QImage seenInPlace(const PixelBuffer& pixels);

} // namespace larkspool
