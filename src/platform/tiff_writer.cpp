#include "platform/tiff_writer.h"

#include <limits>
#include <stdexcept>

namespace larkspool {

namespace {

constexpr std::uint32_t channels = 4;

/// Types of a field's values.
enum class FieldType : std::uint16_t { shortWord = 3, longWord = 4 };

/// The fields that a reader of plain pictures asks for.
enum class Tag : std::uint16_t {
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    compression = 259,
    photometricInterpretation = 262,
    stripOffsets = 273,
    samplesPerPixel = 277,
    rowsPerStrip = 278,
    stripByteCounts = 279,
    extraSamples = 338
};

/// The bytes of a file, the least of each number first.
class LittleEndianFile {
public:
    explicit LittleEndianFile(std::size_t size) { bytes_.reserve(size); }

    void byte(std::uint8_t value) { bytes_.push_back(value); }
    void word(std::uint16_t value)
    {
        byte(static_cast<std::uint8_t>(value));
        byte(static_cast<std::uint8_t>(value >> 8));
    }
    void longWord(std::uint32_t value)
    {
        word(static_cast<std::uint16_t>(value));
        word(static_cast<std::uint16_t>(value >> 16));
    }
    void field(Tag tag, FieldType type, std::uint32_t count, std::uint32_t value)
    {
        word(static_cast<std::uint16_t>(tag));
        word(static_cast<std::uint16_t>(type));
        longWord(count);
        longWord(value); // The smaller type comes first in it.
    }
    void number(Tag tag, std::uint32_t value) { field(tag, FieldType::longWord, 1, value); }

    std::vector<std::uint8_t> take() { return std::move(bytes_); }

private:
    std::vector<std::uint8_t> bytes_;
};

/// A premultiplied channel as it is without its alpha.
std::uint8_t straight(std::uint8_t channel, std::uint8_t alpha)
{
    if (alpha == 0) return 0;
    const unsigned value = (channel * 255u + alpha / 2u) / alpha;
    return static_cast<std::uint8_t>(value > 255 ? 255 : value);
}

void writeRows(LittleEndianFile& file, const PixelBuffer& picture)
{
    for (int y = 0; y < picture.height(); ++y) {
        const std::uint8_t* pixel = picture.row(y);
        for (int x = 0; x < picture.width(); ++x, pixel += channels) {
            const std::uint8_t alpha = pixel[3];
            file.byte(straight(pixel[2], alpha));
            file.byte(straight(pixel[1], alpha));
            file.byte(straight(pixel[0], alpha));
            file.byte(alpha);
        }
    }
}

} // namespace

std::vector<std::uint8_t> encodeTiff(const PixelBuffer& picture)
{
    constexpr std::uint32_t header = 8, fieldCount = 10, fieldSize = 12, word = 2, longWord = 4;
    constexpr std::uint32_t bitsOffset = header + word + fieldCount * fieldSize + longWord;
    constexpr std::uint32_t pixelsOffset = bitsOffset + channels * word;
    constexpr std::uint32_t rgb = 2, uncompressed = 1, straightAlpha = 2;

    const auto width = static_cast<std::uint32_t>(picture.width()), height = static_cast<std::uint32_t>(picture.height());
    const std::uint64_t byteCount = std::uint64_t{width} * height * channels;
    if (byteCount > std::numeric_limits<std::uint32_t>::max() - pixelsOffset)
        throw std::length_error("The picture is too large for a TIFF file.");

    LittleEndianFile file(pixelsOffset + byteCount);
    file.byte('I');
    file.byte('I');
    file.word(42);
    file.longWord(header);

    file.word(fieldCount);
    file.number(Tag::imageWidth, width);
    file.number(Tag::imageLength, height);
    file.field(Tag::bitsPerSample, FieldType::shortWord, channels, bitsOffset);
    file.field(Tag::compression, FieldType::shortWord, 1, uncompressed);
    file.field(Tag::photometricInterpretation, FieldType::shortWord, 1, rgb);
    file.number(Tag::stripOffsets, pixelsOffset);
    file.field(Tag::samplesPerPixel, FieldType::shortWord, 1, channels);
    file.number(Tag::rowsPerStrip, height);
    file.number(Tag::stripByteCounts, static_cast<std::uint32_t>(byteCount));
    file.field(Tag::extraSamples, FieldType::shortWord, 1, straightAlpha);
    file.longWord(0); // There is no other picture.

    for (std::uint32_t i = 0; i < channels; ++i) file.word(8);
    writeRows(file, picture);
    return file.take();
}

} // namespace larkspool
