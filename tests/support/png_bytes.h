#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace larkspool {

/// The colour types of PNG.
enum class PngColor : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };

struct PngChunk {
    std::string_view name;
    std::vector<std::uint8_t> data;
};

struct PngPicture {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    PngColor color = PngColor::rgb;
    std::uint8_t bitDepth = 8;
    std::vector<std::uint8_t> samples;     ///< Row after row, without filter bytes.
    std::vector<PngChunk> before{};        ///< Between the header and the pixels.
};

/// A PNG, put together byte by byte, so that no encoder stands between a test and what it means. The sizes may be lies.
std::vector<std::uint8_t> pngBytes(const PngPicture& picture);

/// The zlib stream of these bytes, stored as they are.
std::vector<std::uint8_t> zlibStored(const std::vector<std::uint8_t>& bytes);

/// An sRGB-like ICC profile of a display whose red and green are exchanged.
std::vector<std::uint8_t> swappedPrimariesProfile();

} // namespace larkspool
