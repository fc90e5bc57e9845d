// Any bytes give a picture within bounds, art that can be drawn, or nothing.

#include "platform/image_decoding.h"
#include "require.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace larkspool;

    const std::span<const std::uint8_t> bytes(data, size);
    if (const ImageRef image = decodeImage(bytes)) {
        const std::int64_t pixels = std::int64_t{image->width()} * image->height();
        require(pixels > 0 && pixels <= greatestDecodedPixels, "a picture has pixels, and not too many");
    }
    if (const std::optional<CGSize> stated = readSVGIntrinsicSize(bytes))
        require(std::isfinite(stated->width) && stated->width >= 0 && std::isfinite(stated->height) && stated->height >= 0,
                "a size that is stated is one");
    if (const auto art = decodeVectorArt(bytes)) {
        require(art->size().width > 0 && art->size().height > 0, "art has a size");
        const ImageRef image = art->render(16, 16);
        require(!image || image->width() == 16, "art is drawn at the size asked for");
    }
    return 0;
}
