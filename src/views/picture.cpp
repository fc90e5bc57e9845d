#include "views/picture.h"

namespace larkspool {

QImage asQImage(const Image& image)
{
    return seenInPlace(image.pixels()).copy();
}

QImage seenInPlace(const PixelBuffer& pixels)
{
    return QImage(pixels.data(), pixels.width(), pixels.height(), static_cast<qsizetype>(pixels.bytesPerRow()),
                  QImage::Format_ARGB32_Premultiplied);
}

} // namespace larkspool
