#include "support/png_bytes.h"

#include <algorithm>
#include <array>
#include <string>

namespace larkspool {

namespace {

using Bytes8 = std::vector<std::uint8_t>;

void append32(Bytes8& out, std::uint32_t value)
{
    for (const int shift : {24, 16, 8, 0}) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void append16(Bytes8& out, std::uint32_t value)
{
    for (const int shift : {8, 0}) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void append(Bytes8& out, std::string_view text)
{
    out.insert(out.end(), text.begin(), text.end());
}

std::uint32_t crc32(const Bytes8& bytes)
{
    std::uint32_t crc = 0xFFFFFFFFu;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = crc & 1 ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
    }
    return ~crc;
}

void appendChunk(Bytes8& out, const PngChunk& chunk)
{
    Bytes8 body;
    append(body, chunk.name);
    body.insert(body.end(), chunk.data.begin(), chunk.data.end());
    append32(out, static_cast<std::uint32_t>(chunk.data.size()));
    out.insert(out.end(), body.begin(), body.end());
    append32(out, crc32(body));
}

std::size_t bytesPerRow(const PngPicture& picture)
{
    const std::size_t channels = picture.color == PngColor::rgb         ? 3
                                 : picture.color == PngColor::rgba      ? 4
                                 : picture.color == PngColor::greyAlpha ? 2
                                                                        : 1;
    return (picture.width * channels * picture.bitDepth + 7) / 8;
}

} // namespace

std::vector<std::uint8_t> zlibStored(const std::vector<std::uint8_t>& bytes)
{
    constexpr std::size_t greatestBlock = 65535;
    Bytes8 out{0x78, 0x01};
    std::size_t at = 0;
    do {
        const std::size_t length = std::min(bytes.size() - at, greatestBlock);
        out.push_back(at + length == bytes.size() ? 1 : 0);
        for (const std::size_t value : {length, ~length}) {
            out.push_back(static_cast<std::uint8_t>(value));
            out.push_back(static_cast<std::uint8_t>(value >> 8));
        }
        out.insert(out.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    } while (at < bytes.size());
    std::uint32_t a = 1, b = 0;
    for (const std::uint8_t byte : bytes) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    append32(out, b << 16 | a);
    return out;
}

std::vector<std::uint8_t> pngBytes(const PngPicture& picture)
{
    Bytes8 out{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    PngChunk header{"IHDR", {}};
    append32(header.data, picture.width);
    append32(header.data, picture.height);
    header.data.insert(header.data.end(), {picture.bitDepth, static_cast<std::uint8_t>(picture.color), 0, 0, 0});
    appendChunk(out, header);
    for (const PngChunk& chunk : picture.before) appendChunk(out, chunk);

    const std::size_t rowLength = bytesPerRow(picture);
    Bytes8 rows;
    for (std::size_t at = 0; at + rowLength <= picture.samples.size() && rowLength > 0; at += rowLength) {
        rows.push_back(0); // No filter.
        rows.insert(rows.end(), picture.samples.begin() + static_cast<std::ptrdiff_t>(at),
                    picture.samples.begin() + static_cast<std::ptrdiff_t>(at + rowLength));
    }
    appendChunk(out, {"IDAT", zlibStored(rows)});
    appendChunk(out, {"IEND", {}});
    return out;
}

std::vector<std::uint8_t> swappedPrimariesProfile()
{
    // XYZ of the primaries of sRGB for a white of D50, in 16.16 fixed point.
    using Xyz = std::array<std::uint32_t, 3>;
    constexpr Xyz red{0x6FA2, 0x38F5, 0x0390}, green{0x6299, 0xB785, 0x18DA}, blue{0x24A0, 0x0F84, 0xB6CF};
    constexpr Xyz white{0xF6D6, 0x10000, 0xD32D};

    struct Tag {
        std::string_view name;
        Bytes8 data;
    };
    const auto xyz = [](const Xyz& values) {
        Bytes8 data;
        append(data, std::string_view("XYZ \0\0\0\0", 8));
        for (const std::uint32_t value : values) append32(data, value);
        return data;
    };
    Bytes8 gamma;
    append(gamma, std::string_view("curv\0\0\0\0", 8));
    append32(gamma, 1);
    append16(gamma, 0x0233); // 2.2
    append16(gamma, 0);
    const std::vector<Tag> tags{{"wtpt", xyz(white)}, {"rXYZ", xyz(green)}, {"gXYZ", xyz(red)}, {"bXYZ", xyz(blue)},
                                {"rTRC", gamma},      {"gTRC", gamma},      {"bTRC", gamma}};

    constexpr std::size_t headerLength = 128;
    std::size_t at = headerLength + 4 + 12 * tags.size();
    Bytes8 table, contents;
    append32(table, static_cast<std::uint32_t>(tags.size()));
    for (const Tag& tag : tags) {
        append(table, tag.name);
        append32(table, static_cast<std::uint32_t>(at));
        append32(table, static_cast<std::uint32_t>(tag.data.size()));
        contents.insert(contents.end(), tag.data.begin(), tag.data.end());
        at += tag.data.size();
    }

    Bytes8 profile;
    append32(profile, static_cast<std::uint32_t>(at));
    append32(profile, 0);
    append32(profile, 0x02400000); // Version 2.4.
    append(profile, "mntrRGB XYZ ");
    profile.resize(36, 0);
    append(profile, "acsp");
    profile.resize(68, 0);
    for (const std::uint32_t value : white) append32(profile, value);
    profile.resize(headerLength, 0);
    profile.insert(profile.end(), table.begin(), table.end());
    profile.insert(profile.end(), contents.begin(), contents.end());
    return profile;
}

} // namespace larkspool
