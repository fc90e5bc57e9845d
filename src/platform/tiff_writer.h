#pragma once

#include "platform/pixel_buffer.h"

#include <cstdint>
#include <vector>

namespace larkspool {

/// The picture as a TIFF file: 8 bits a channel with straight alpha, not compressed. Throws std::length_error for a picture of
/// 4 GiB, which the format does not reach.
std::vector<std::uint8_t> encodeTiff(const PixelBuffer& picture);

} // namespace larkspool
