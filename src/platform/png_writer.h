#pragma once

#include "platform/pixel_buffer.h"

#include <cstdint>
#include <vector>

namespace larkspool {

/// The picture as a PNG file, 8 bits a channel with straight alpha. Throws std::runtime_error where memory does not suffice or
/// the picture is larger than the format's writer takes (32,767 pixels a side).
std::vector<std::uint8_t> encodePng(const PixelBuffer& picture);

} // namespace larkspool
