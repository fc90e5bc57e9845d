#include "platform/pixel_conversion.h"

#include "platform/pixel_buffer.h"

#include <algorithm>
#include <cassert>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace larkspool {

namespace {

/// Weights are fixed-point numbers with this many bits behind the point; the largest, green's in Y, still fits 16 bits.
constexpr int fractionBits = 15;

/// A chroma sample is worked out from the sum of four pixels, so its shift holds the division by four.
constexpr int chromaBits = fractionBits + 2;

constexpr std::int16_t fixed(double weight)
{
    return static_cast<std::int16_t>(weight * (1 << fractionBits) + (weight < 0 ? -0.5 : 0.5));
}

struct Weights {
    std::int16_t b, g, r;
};

// BT.709: Y = 0.2126 R + 0.7152 G + 0.0722 B, Cb = (B - Y) / 1.8556, Cr = (R - Y) / 1.5748, with Y in 219 steps from 16 and
// Cb, Cr in 224 steps about 128.
constexpr double lumaScale = 219.0 / 255;
constexpr double chromaScale = 224.0 / 255;
constexpr Weights lumaWeights{fixed(0.0722 * lumaScale), fixed(0.7152 * lumaScale), fixed(0.2126 * lumaScale)};

/// Green takes what the others leave, so that a grey has no colour at all, exactly.
constexpr Weights chromaWeights(double b, double r)
{
    return {fixed(b * chromaScale), static_cast<std::int16_t>(-fixed(b * chromaScale) - fixed(r * chromaScale)),
            fixed(r * chromaScale)};
}

constexpr Weights cbWeights = chromaWeights(0.5, -0.2126 / 1.8556);
constexpr Weights crWeights = chromaWeights(-0.0722 / 1.5748, 0.5);

// The base and half a step for rounding.
constexpr std::int32_t lumaBase = (16 << fractionBits) + (1 << (fractionBits - 1));
constexpr std::int32_t chromaBase = (128 << chromaBits) + (1 << (chromaBits - 1));

/// Two rows of BGRA pixels and the three rows of samples that they make.
struct RowPair {
    const std::uint8_t* top;
    const std::uint8_t* bottom;
    std::uint8_t* lumaTop;
    std::uint8_t* lumaBottom;
    std::uint8_t* cb;
    std::uint8_t* cr;
};

std::int32_t weighted(const Weights& weights, int b, int g, int r)
{
    return weights.b * b + weights.g * g + weights.r * r;
}

std::uint8_t luma(const std::uint8_t* pixel)
{
    return static_cast<std::uint8_t>((weighted(lumaWeights, pixel[0], pixel[1], pixel[2]) + lumaBase) >> fractionBits);
}

/// Converts the columns from `first`, which is even, up to `width`.
void convertPlainly(const RowPair& rows, std::ptrdiff_t first, std::ptrdiff_t width)
{
    for (std::ptrdiff_t x = first; x < width; x += 2) {
        const std::uint8_t* top = rows.top + x * 4;
        const std::uint8_t* bottom = rows.bottom + x * 4;
        rows.lumaTop[x] = luma(top);
        rows.lumaTop[x + 1] = luma(top + 4);
        rows.lumaBottom[x] = luma(bottom);
        rows.lumaBottom[x + 1] = luma(bottom + 4);

        const int b = top[0] + top[4] + bottom[0] + bottom[4];
        const int g = top[1] + top[5] + bottom[1] + bottom[5];
        const int r = top[2] + top[6] + bottom[2] + bottom[6];
        rows.cb[x / 2] = static_cast<std::uint8_t>((weighted(cbWeights, b, g, r) + chromaBase) >> chromaBits);
        rows.cr[x / 2] = static_cast<std::uint8_t>((weighted(crWeights, b, g, r) + chromaBase) >> chromaBits);
    }
}

#if defined(__x86_64__)

#define LARKSPOOL_AVX2 __attribute__((target("avx2")))

/// Eight pixels as 16-bit channels: `low` holds pixels 0, 1 | 4, 5 and `high` 2, 3 | 6, 7 of the two halves of a register.
struct EightPixels {
    __m256i low, high;
};

LARKSPOOL_AVX2 inline EightPixels loadEight(const std::uint8_t* pixels)
{
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels));
    const __m256i zero = _mm256_setzero_si256();
    return {_mm256_unpacklo_epi8(bytes, zero), _mm256_unpackhi_epi8(bytes, zero)};
}

LARKSPOOL_AVX2 inline __m256i spread(const Weights& weights)
{
    const auto word = [](std::int16_t value) { return static_cast<std::uint64_t>(static_cast<std::uint16_t>(value)); };
    return _mm256_set1_epi64x(static_cast<long long>(word(weights.b) | word(weights.g) << 16 | word(weights.r) << 32));
}

/// Eight Y values as 32-bit numbers, in order.
LARKSPOOL_AVX2 inline __m256i lumaOfEight(const EightPixels& pixels, __m256i weights)
{
    const __m256i sums = _mm256_hadd_epi32(_mm256_madd_epi16(pixels.low, weights), _mm256_madd_epi16(pixels.high, weights));
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(lumaBase)), fractionBits);
}

/// Four sums of 2 x 2 pixels each, as 16-bit channels, in order.
LARKSPOOL_AVX2 inline __m256i sumsOfFour(const EightPixels& top, const EightPixels& bottom)
{
    const __m256i low = _mm256_add_epi16(top.low, bottom.low);
    const __m256i high = _mm256_add_epi16(top.high, bottom.high);
    return _mm256_add_epi16(_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high));
}

/// Eight chroma values as 32-bit numbers: 0, 1, 4, 5 | 2, 3, 6, 7.
LARKSPOOL_AVX2 inline __m256i chromaOfEight(__m256i first, __m256i second, __m256i weights)
{
    const __m256i sums = _mm256_hadd_epi32(_mm256_madd_epi16(first, weights), _mm256_madd_epi16(second, weights));
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(chromaBase)), chromaBits);
}

/// Sixteen chroma values, put in order and stored.
LARKSPOOL_AVX2 inline void storeChroma(std::uint8_t* target, __m256i first, __m256i second)
{
    const __m256i words = _mm256_packs_epi32(first, second); // 0 1 4 5 8 9 12 13 | 2 3 6 7 10 11 14 15
    const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    const __m128i order = _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_shuffle_epi8(bytes, order));
}

/// 32 Y values, put in order and stored.
LARKSPOOL_AVX2 inline void storeLuma(std::uint8_t* target, const __m256i (&values)[4])
{
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(values[0], values[1]), _mm256_packs_epi32(values[2], values[3]));
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm256_permutevar8x32_epi32(bytes, order));
}

/// As convertPlainly from column 0, 32 columns at a time.
LARKSPOOL_AVX2 void convertByAVX2(const RowPair& rows, std::ptrdiff_t width)
{
    constexpr std::ptrdiff_t step = 32;
    const __m256i lumaSpread = spread(lumaWeights);
    const __m256i cbSpread = spread(cbWeights);
    const __m256i crSpread = spread(crWeights);

    std::ptrdiff_t x = 0;
    for (; x + step <= width; x += step) {
        __m256i lumaTop[4], lumaBottom[4], sums[4];
        for (std::ptrdiff_t i = 0; i < 4; ++i) {
            const EightPixels top = loadEight(rows.top + (x + i * 8) * 4);
            const EightPixels bottom = loadEight(rows.bottom + (x + i * 8) * 4);
            lumaTop[i] = lumaOfEight(top, lumaSpread);
            lumaBottom[i] = lumaOfEight(bottom, lumaSpread);
            sums[i] = sumsOfFour(top, bottom);
        }
        storeLuma(rows.lumaTop + x, lumaTop);
        storeLuma(rows.lumaBottom + x, lumaBottom);
        storeChroma(rows.cb + x / 2, chromaOfEight(sums[0], sums[1], cbSpread), chromaOfEight(sums[2], sums[3], cbSpread));
        storeChroma(rows.cr + x / 2, chromaOfEight(sums[0], sums[1], crSpread), chromaOfEight(sums[2], sums[3], crSpread));
    }
    convertPlainly(rows, x, width);
}

bool machineHasAVX2()
{
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
}

#endif

} // namespace

void convertToYUV420(const PixelBuffer& picture, const YUV420Planes& target, ConversionInstructions instructions)
{
    convertToYUV420(picture, {0, 0, picture.width(), picture.height()}, target, instructions);
}

void convertToYUV420(const PixelBuffer& picture, const PixelRect& area, const YUV420Planes& target,
                     ConversionInstructions instructions)
{
    assert(picture.width() % 2 == 0 && picture.height() % 2 == 0);
    const int left = std::max(area.left, 0) & ~1, right = (std::min(area.right, picture.width()) + 1) & ~1;
    const int top = std::max(area.top, 0) & ~1, bottom = (std::min(area.bottom, picture.height()) + 1) & ~1;
    const std::ptrdiff_t width = right - left;
#if defined(__x86_64__)
    const bool wide = instructions == ConversionInstructions::best && machineHasAVX2();
#endif
    for (int y = top; y < bottom; y += 2) {
        const auto line = [&](int plane, int row) {
            return target.planes[plane] + static_cast<std::size_t>(row) * target.bytesPerRow[plane] + (plane == 0 ? left : left / 2);
        };
        const auto pixels = [&](int row) { return picture.row(row) + std::ptrdiff_t{left} * 4; };
        const RowPair rows{pixels(y), pixels(y + 1), line(0, y), line(0, y + 1), line(1, y / 2), line(2, y / 2)};
#if defined(__x86_64__)
        if (wide) {
            convertByAVX2(rows, width);
            continue;
        }
#endif
        convertPlainly(rows, 0, width);
    }
    static_cast<void>(instructions);
}

} // namespace larkspool
