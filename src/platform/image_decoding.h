#pragma once

#include "platform/image.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace larkspool {

/// The most pixels that a picture is decoded to. One that claims more is none.
inline constexpr std::int64_t greatestDecodedPixels = 100'000'000;

/// How much of a file `looksLikePicture` goes by.
inline constexpr std::size_t pictureHeadLength = 4096;

/// Whether a file that begins so can be a picture at all, of pixels or vector art. Cheap, and no promise.
bool looksLikePicture(std::span<const std::uint8_t> head);

/// Decodes PNG, JPEG (turned as its EXIF says), WebP, the first frame of a GIF, TIFF and BMP. An embedded colour profile is
/// converted to sRGB. Null for bytes that are no such picture, or not a whole one.
ImageRef decodeImage(std::span<const std::uint8_t> bytes);

/// Vector art, which is drawn anew for each size. Nothing outside its own bytes is ever read.
class VectorArt {
public:
    virtual ~VectorArt() = default;

    virtual CGSize size() const = 0; ///< As the art asks for; 64 x 64 where it says nothing of use.

    /// The whole art stretched to a picture of this size; null where it cannot be drawn.
    virtual ImageRef render(int width, int height) const = 0;
};

/// Whether there is a mark of SVG near the beginning.
bool looksLikeVectorArt(std::span<const std::uint8_t> head);

/// Reads SVG. Null for anything else.
std::shared_ptr<const VectorArt> decodeVectorArt(std::span<const std::uint8_t> bytes);

/// The size that an SVG's first 512 bytes name as plain numbers: `width="24"` and `height="24"`. Nothing without both; a view box
/// or a size with a unit does not count.
std::optional<CGSize> readSVGIntrinsicSize(std::span<const std::uint8_t> bytes);

} // namespace larkspool
