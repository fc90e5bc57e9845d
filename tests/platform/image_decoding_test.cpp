#include "platform/image_decoding.h"

#include "support/png_bytes.h"
#include "support/small_picture.h"
#include "support/test_media.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <thread>

namespace larkspool {
namespace {

using Encoded = std::vector<std::uint8_t>;

StoredPixel pixelOf(const ImageRef& image, int x, int y)
{
    return storedPixelAt(image->pixels(), x, y);
}

bool isNear(const StoredPixel& a, const StoredPixel& b, int tolerance)
{
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance &&
           std::abs(a.a - b.a) <= tolerance;
}

constexpr StoredPixel redPixel{255, 0, 0, 255}, greenPixel{0, 255, 0, 255}, bluePixel{0, 0, 255, 255}, whitePixel{255, 255, 255, 255};

/// 16 x 8 pixels in quarters: red and green above blue and white.
Encoded quarters()
{
    Encoded rgb;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            const bool right = x >= 8, low = y >= 4;
            rgb.insert(rgb.end(), {static_cast<std::uint8_t>(right == low ? 255 : 0), static_cast<std::uint8_t>(right ? 255 : 0),
                                   static_cast<std::uint8_t>(low ? 255 : 0)});
        }
    return rgb;
}

/// The quarters as a file of the format that the name tells, by an encoder that is not ours.
Encoded encodedQuarters(const std::string& name, const std::string& options = "")
{
    const TemporaryFolder folder;
    writeFile(folder.path("raw"), quarters());
    makeMedia(folder.path(name),
              fmt::format("-f rawvideo -pix_fmt rgb24 -s 16x8 -i {} -frames:v 1 {}", folder.path("raw"), options));
    return fileBytes(folder.path(name));
}

Encoded encodedJpeg()
{
    return encodedQuarters("picture.jpg", "-q:v 1 -pix_fmt yuvj444p");
}

/// The bytes with a marker segment after the first two.
Encoded withSegment(const Encoded& jpeg, std::uint8_t marker, const Encoded& body)
{
    Encoded out(jpeg.begin(), jpeg.begin() + 2);
    const std::size_t length = body.size() + 2;
    out.insert(out.end(), {0xFF, marker, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
    out.insert(out.end(), body.begin(), body.end());
    out.insert(out.end(), jpeg.begin() + 2, jpeg.end());
    return out;
}

Encoded exifWithOrientation(std::uint8_t orientation)
{
    return {'E', 'x', 'i', 'f', 0, 0,    'M', 'M', 0, 42, 0, 0, 0, 8,           // Header, big-endian, the first directory at 8.
            0,   1,   0x01, 0x12, 0, 3,  0,   0,   0, 1,  0, orientation, 0, 0, // One entry: orientation, one short.
            0,   0,   0,   0};
}

#ifdef __SANITIZE_ADDRESS__
constexpr long keptAside = 256; ///< Megabytes of freed memory that the sanitizer keeps, to catch who still uses it.
#else
constexpr long keptAside = 0;
#endif

/// Calls `work` and gives by how many megabytes the memory of the process has grown at its peak.
long peakGrowth(const std::function<void()>& work)
{
    const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024;
    };
    const long before = peak();
    work();
    return peak() - before - keptAside;
}

TEST(DecodeImage, ReadsEveryFormat)
{
    struct Case {
        const char* name;
        const char* options;
        int tolerance;
    };
    for (const Case& c : {Case{"picture.png", "", 0}, Case{"picture.jpg", "-q:v 1 -pix_fmt yuvj444p", 6},
                          Case{"picture.webp", "-lossless 1", 0}, Case{"picture.gif", "", 4}, Case{"picture.tiff", "", 0},
                          Case{"picture.bmp", "", 0}}) {
        SCOPED_TRACE(c.name);
        const ImageRef image = decodeImage(encodedQuarters(c.name, c.options));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), (CGSize{16, 8}));
        EXPECT_TRUE(image->isOpaque());
        EXPECT_TRUE(isNear(pixelOf(image, 1, 1), redPixel, c.tolerance)) << pixelOf(image, 1, 1);
        EXPECT_TRUE(isNear(pixelOf(image, 14, 1), greenPixel, c.tolerance)) << pixelOf(image, 14, 1);
        EXPECT_TRUE(isNear(pixelOf(image, 1, 6), bluePixel, c.tolerance)) << pixelOf(image, 1, 6);
        EXPECT_TRUE(isNear(pixelOf(image, 14, 6), whitePixel, c.tolerance)) << pixelOf(image, 14, 6);
    }
}

TEST(DecodeImage, ReadsEveryKindOfPng)
{
    struct Case {
        const char* what;
        PngPicture picture;
        StoredPixel first, second;
    };
    const PngChunk palette{"PLTE", {255, 0, 0, 0, 0, 255}}, paletteAlpha{"tRNS", {255, 51}};
    const Case cases[] = {
        {"grey", {2, 1, PngColor::grey, 8, {0, 128}}, {0, 0, 0, 255}, {128, 128, 128, 255}},
        {"grey of one bit", {2, 1, PngColor::grey, 1, {0x40}}, {0, 0, 0, 255}, whitePixel},
        {"grey with alpha", {2, 1, PngColor::greyAlpha, 8, {255, 51, 100, 255}}, {51, 51, 51, 51}, {100, 100, 100, 255}},
        {"palette", {2, 1, PngColor::palette, 8, {0, 1}, {palette}}, redPixel, bluePixel},
        {"palette with alpha", {2, 1, PngColor::palette, 8, {0, 1}, {palette, paletteAlpha}}, redPixel, {0, 0, 51, 51}},
        {"16 bits", {2, 1, PngColor::rgb, 16, {255, 255, 0, 0, 0, 0, 0, 0, 128, 0, 255, 255}}, redPixel, {0, 128, 255, 255}},
        {"alpha", {2, 1, PngColor::rgba, 8, {255, 0, 0, 128, 200, 100, 50, 255}}, {128, 0, 0, 128}, {200, 100, 50, 255}},
        {"clear", {2, 1, PngColor::rgba, 8, {255, 255, 255, 0, 255, 255, 255, 255}}, {0, 0, 0, 0}, whitePixel},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const ImageRef image = decodeImage(pngBytes(c.picture));
        ASSERT_TRUE(image);
        EXPECT_EQ(pixelOf(image, 0, 0), c.first);
        EXPECT_EQ(pixelOf(image, 1, 0), c.second);
        EXPECT_EQ(image->isOpaque(), c.first.a == 255 && c.second.a == 255);
    }
}

TEST(DecodeImage, TurnsAJpegAsItsExifSays)
{
    // Where the top left corner and the bottom left one of the stored picture come to stand.
    struct Case {
        std::uint8_t orientation;
        bool turned;
        StoredPixel topLeft, topRight, bottomLeft;
    };
    for (const Case& c : {Case{1, false, redPixel, greenPixel, bluePixel}, Case{2, false, greenPixel, redPixel, whitePixel},
                          Case{3, false, whitePixel, bluePixel, greenPixel}, Case{4, false, bluePixel, whitePixel, redPixel},
                          Case{5, true, redPixel, bluePixel, greenPixel}, Case{6, true, bluePixel, redPixel, whitePixel},
                          Case{7, true, whitePixel, greenPixel, bluePixel}, Case{8, true, greenPixel, whitePixel, redPixel}}) {
        SCOPED_TRACE(int{c.orientation});
        const ImageRef image = decodeImage(withSegment(encodedJpeg(), 0xE1, exifWithOrientation(c.orientation)));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), c.turned ? (CGSize{8, 16}) : (CGSize{16, 8}));
        EXPECT_TRUE(isNear(pixelOf(image, 1, 1), c.topLeft, 6));
        EXPECT_TRUE(isNear(pixelOf(image, image->width() - 2, 1), c.topRight, 6));
        EXPECT_TRUE(isNear(pixelOf(image, 1, image->height() - 2), c.bottomLeft, 6));
    }
}

TEST(DecodeImage, AGifGivesItsFirstFrame)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("two.gif"), "-f lavfi -i color=red:s=8x8:r=2:d=0.5 -f lavfi -i color=blue:s=8x8:r=2:d=0.5 "
                                      "-filter_complex concat=n=2,format=rgb8");
    const ImageRef image = decodeImage(fileBytes(folder.path("two.gif")));
    ASSERT_TRUE(image);
    EXPECT_TRUE(isNear(pixelOf(image, 4, 4), redPixel, 4)) << pixelOf(image, 4, 4);
}

TEST(DecodeImage, ConvertsAnEmbeddedProfileToSRGB)
{
    const Encoded profile = swappedPrimariesProfile();
    Encoded embedded{'s', 'w', 'a', 'p', 0, 0};
    const Encoded packed = zlibStored(profile);
    embedded.insert(embedded.end(), packed.begin(), packed.end());
    const Encoded png = pngBytes({2, 1, PngColor::rgba, 8, {255, 0, 0, 255, 0, 255, 0, 51}, {{"iCCP", embedded}}});
    const ImageRef fromPng = decodeImage(png);
    ASSERT_TRUE(fromPng);
    EXPECT_TRUE(isNear(pixelOf(fromPng, 0, 0), greenPixel, 2)) << pixelOf(fromPng, 0, 0);
    EXPECT_TRUE(isNear(pixelOf(fromPng, 1, 0), {51, 0, 0, 51}, 2)) << pixelOf(fromPng, 1, 0);

    Encoded segment{'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0, 1, 1};
    segment.insert(segment.end(), profile.begin(), profile.end());
    const ImageRef fromJpeg = decodeImage(withSegment(encodedJpeg(), 0xE2, segment));
    ASSERT_TRUE(fromJpeg);
    EXPECT_TRUE(isNear(pixelOf(fromJpeg, 1, 1), greenPixel, 8)) << pixelOf(fromJpeg, 1, 1);
    EXPECT_TRUE(isNear(pixelOf(fromJpeg, 14, 1), redPixel, 8)) << pixelOf(fromJpeg, 14, 1);
}

TEST(DecodeImage, AProfileThatIsNoneIsPassedOver)
{
    const Encoded notAProfile{'x', 0, 0};
    Encoded embedded = notAProfile;
    const Encoded packed = zlibStored(Encoded(200, 7));
    embedded.insert(embedded.end(), packed.begin(), packed.end());
    const ImageRef image = decodeImage(pngBytes({1, 1, PngColor::rgb, 8, {255, 0, 0}, {{"iCCP", embedded}}}));
    ASSERT_TRUE(image);
    EXPECT_EQ(pixelOf(image, 0, 0), redPixel);
}

TEST(DecodeImage, WhatIsNoPictureIsNone)
{
    EXPECT_FALSE(decodeImage({}));
    for (const std::string_view text : {"x", "hello, this is no picture", "\x89PNG", "\x89PNG\r\n\x1a\n", "GIF89a", "BM", "RIFF1234WEBP",
                                        "\xFF\xD8\xFF", "<svg xmlns=\"http://www.w3.org/2000/svg\"/>", "/* XPM */ static char * a[] = {"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(decodeImage(Encoded(text.begin(), text.end())));
    }
}

TEST(DecodeImage, APictureCutShortIsNone)
{
    for (const char* name : {"picture.png", "picture.jpg", "picture.webp", "picture.gif", "picture.tiff", "picture.bmp"}) {
        const Encoded whole = encodedQuarters(name);
        for (const double part : {0.1, 0.5, 0.9}) {
            SCOPED_TRACE(fmt::format("{} at {}", name, part));
            EXPECT_FALSE(decodeImage(std::span(whole).first(static_cast<std::size_t>(static_cast<double>(whole.size()) * part))));
        }
    }
}

TEST(DecodeImage, ThePreviewInAJpegIsNotTakenForItsEnd)
{
    const Encoded jpeg = withSegment(encodedJpeg(), 0xE1, {'E', 'x', 'i', 'f', 0, 0, 0xFF, 0xD8, 0xFF, 0xD9});
    EXPECT_TRUE(decodeImage(jpeg));
    EXPECT_FALSE(decodeImage(std::span(jpeg).first(jpeg.size() - 30)));
}

TEST(DecodeImage, APictureUnderAnotherFormatsBeginningIsNone)
{
    Encoded png = encodedQuarters("picture.png");
    const Encoded gif{'G', 'I', 'F', '8', '9', 'a'};
    std::copy(gif.begin(), gif.end(), png.begin());
    EXPECT_FALSE(decodeImage(png));
}

/// The bytes with others from a place on.
Encoded patched(Encoded bytes, std::size_t at, const Encoded& with)
{
    std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    return bytes;
}

std::size_t placeOf(const Encoded& bytes, const Encoded& part)
{
    const auto found = std::search(bytes.begin(), bytes.end(), part.begin(), part.end());
    if (found == bytes.end()) throw std::runtime_error("the file is not built as the test expects");
    return static_cast<std::size_t>(found - bytes.begin());
}

TEST(DecodeImage, SizesThatNoPictureHasCostNoMemory)
{
    const Encoded jpeg = encodedJpeg(), tiff = encodedQuarters("picture.tiff"), bmp = encodedQuarters("picture.bmp"),
                  gif = encodedQuarters("picture.gif"), webp = encodedQuarters("picture.webp", "-lossless 1");
    struct Case {
        const char* what;
        Encoded bytes;
    };
    const Case cases[] = {
        {"png of 100,000 x 100,000", pngBytes({100'000, 100'000, PngColor::rgb, 8, {}})},
        {"png of 2,147,483,647 x 1", pngBytes({2'147'483'647, 1, PngColor::grey, 8, {}})},
        {"png of 30,000 x 30,000", pngBytes({30'000, 30'000, PngColor::rgba, 16, {}})},
        {"png of 0 x 0", pngBytes({0, 0, PngColor::rgb, 8, {}})},
        {"jpeg of 65,500 x 65,500", patched(jpeg, placeOf(jpeg, {0xFF, 0xC0}) + 5, {0xFF, 0xDC, 0xFF, 0xDC})},
        {"jpeg of 0 x 0", patched(jpeg, placeOf(jpeg, {0xFF, 0xC0}) + 5, {0, 0, 0, 0})},
        {"gif of 65,535 x 65,535", patched(gif, 6, {255, 255, 255, 255})},
        {"gif of 0 x 0", patched(gif, 6, {0, 0, 0, 0})},
        {"bmp of 100,000 x 100,000", patched(bmp, 18, {0xA0, 0x86, 1, 0, 0xA0, 0x86, 1, 0})},
        {"bmp of 0 x 0", patched(bmp, 18, {0, 0, 0, 0, 0, 0, 0, 0})},
        {"bmp of -1 x 8", patched(bmp, 18, {255, 255, 255, 255})},
        {"webp of 16,384 x 16,384", patched(webp, placeOf(webp, {'V', 'P', '8', 'L'}) + 9, {255, 255, 255, 0x0F})},
        {"tiff 1,048,592 wide", patched(tiff, placeOf(tiff, {0x00, 0x01, 4, 0, 1, 0, 0, 0, 16, 0}) + 8, {16, 0, 16, 0})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_LT(peakGrowth([&] { EXPECT_FALSE(decodeImage(c.bytes)); }), 64);
    }
}

TEST(DecodeImage, SurvivesDamage)
{
    // Each byte of each file changed in turn, by a sequence that is the same at every run.
    std::uint32_t state = 1;
    for (const char* name : {"picture.png", "picture.jpg", "picture.webp", "picture.gif", "picture.tiff", "picture.bmp"}) {
        const Encoded whole = encodedQuarters(name);
        for (std::size_t at = 0; at < std::min<std::size_t>(whole.size(), 200); ++at) {
            state = state * 1664525 + 1013904223;
            const ImageRef image = decodeImage(patched(whole, at, {static_cast<std::uint8_t>(state >> 24)}));
            const std::int64_t pixels = image ? std::int64_t{image->width()} * image->height() : 0;
            EXPECT_LE(pixels, greatestDecodedPixels);
        }
    }
}

TEST(DecodeImage, ThreadsDoNotDisturbEachOther)
{
    const Encoded bytes = encodedQuarters("picture.png");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 20; ++k) {
                const ImageRef image = decodeImage(bytes);
                ASSERT_TRUE(image);
                EXPECT_EQ(pixelOf(image, 1, 1), redPixel);
            }
        });
    for (std::thread& thread : threads) thread.join();
}

Encoded textBytes(std::string_view text)
{
    return {text.begin(), text.end()};
}

TEST(ReadSVGIntrinsicSize, ReadsPlainNumbersOfTheFirst512Bytes)
{
    struct Case {
        const char* what;
        std::string text;
        std::optional<CGSize> size;
    };
    const Case cases[] = {
        {"plain", R"(<svg width="24" height="12.5">)", CGSize{24, 12.5}},
        {"in the other order", R"(<svg height="12" width="24">)", CGSize{24, 12}},
        {"no height", R"(<svg width="24">)", {}},
        {"no width", R"(<svg height="24">)", {}},
        {"with a unit", R"(<svg width="24px" height="24">)", {}},
        {"in percent", R"(<svg width="100%" height="100%">)", {}},
        {"negative", R"(<svg width="-24" height="24">)", {}},
        {"in single quotes", R"(<svg width='24' height='24'>)", {}},
        {"a view box alone", R"(<svg viewBox="0 0 24 24">)", {}},
        {"with a space", R"(<svg width = "24" height="24">)", {}},
        {"two points", R"(<svg width="1.2.3" height="24">)", {}},
        {"a point alone", R"(<svg width="." height="24">)", {}},
        {"zero", R"(<svg width="0" height="0">)", CGSize{0, 0}},
        {"a billion", R"(<svg width="1000000000" height="1">)", CGSize{1e9, 1}},
        {"the first match counts, whatever it belongs to", R"(<svg stroke-width="2" width="24" height="24">)", CGSize{2, 24}},
        {"a unit first, a plain number later", R"(<svg width="2em" height="3"><rect width="7"/>)", CGSize{7, 3}},
        {"beyond the head", "<svg " + std::string(500, ' ') + R"(width="24" height="24">)", {}},
        {"at the end of the head", "<svg " + std::string(512 - 5 - 22, ' ') + R"(width="24" height="24">)", CGSize{24, 24}},
        {"cut by the end of the head", "<svg " + std::string(512 - 5 - 21, ' ') + R"(width="24" height="24">)", {}},
        {"empty", "", {}},
        {"not UTF-8", "<svg width=\"24\" height=\"24\" id=\"\xFF\">", {}},
        {"a letter cut by the end of the head", R"(<svg width="24" height="24">)" + std::string(511 - 28, ' ') + "\xC3\xA4", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(readSVGIntrinsicSize(textBytes(c.text)), c.size);
    }
}

/// Art of one element over white space of 8 x 8.
std::string svgWith(std::string_view body)
{
    return fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" )"
                       R"(width="8" height="8" viewBox="0 0 8 8">{}</svg>)", body);
}

TEST(VectorArt, IsDrawnAnewForEachSize)
{
    const auto art = decodeVectorArt(textBytes(svgWith(R"(<rect x="2" y="0" width="4" height="8" fill="#f00"/>)")));
    ASSERT_TRUE(art);
    EXPECT_EQ(art->size(), (CGSize{8, 8}));
    for (const int scale : {1, 3, 20}) {
        const ImageRef image = art->render(8 * scale, 8 * scale);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->width(), 8 * scale);
        EXPECT_EQ(pixelOf(image, 2 * scale - 1, 0), (StoredPixel{}));
        EXPECT_EQ(pixelOf(image, 2 * scale, 0), redPixel);
        EXPECT_EQ(pixelOf(image, 6 * scale - 1, 8 * scale - 1), redPixel);
        EXPECT_EQ(pixelOf(image, 6 * scale, 0), (StoredPixel{}));
    }
}

TEST(VectorArt, IsStretchedToTheSizeAskedFor)
{
    const auto art = decodeVectorArt(textBytes(svgWith(R"(<rect width="4" height="4" fill="#f00"/>)")));
    ASSERT_TRUE(art);
    const ImageRef image = art->render(40, 10);
    EXPECT_EQ(pixelOf(image, 19, 4), redPixel);
    EXPECT_EQ(pixelOf(image, 20, 4), (StoredPixel{}));
    EXPECT_EQ(pixelOf(image, 19, 5), (StoredPixel{}));
}

TEST(VectorArt, WithoutAPlainSizeIs64By64)
{
    const auto art = decodeVectorArt(textBytes(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 10 20"/>)"));
    ASSERT_TRUE(art);
    EXPECT_EQ(art->size(), (CGSize{64, 64}));
}

TEST(VectorArt, IsNotWhatIsNoSvg)
{
    EXPECT_FALSE(decodeVectorArt({}));
    for (const std::string_view text : {"<svg", "<svg>", "<html/>", "hello <svg there", "<svg xmlns=\"http://www.w3.org/2000/svg\"><g>"})
        EXPECT_FALSE(decodeVectorArt(textBytes(text))) << text;
}

TEST(VectorArt, ReadsNothingOutsideItself)
{
    const TemporaryFolder folder;
    writeFile(folder.path("red.png"), pngBytes({1, 1, PngColor::rgb, 8, {255, 0, 0}}));
    writeFile(folder.path("red.svg"), svgWith(R"(<rect id="r" width="8" height="8" fill="#f00"/>)"));
    writeFile(folder.path("red.css"), "rect { fill: #f00 }");
    writeFile(folder.path("red.txt"), "#f00");
    const std::string path = folder.path("");
    const std::string bodies[] = {
        fmt::format(R"(<image width="8" height="8" xlink:href="file://{}red.png"/>)", path),
        fmt::format(R"(<image width="8" height="8" xlink:href="{}red.png"/>)", path),
        fmt::format(R"(<image width="8" height="8" href="file://{}red.svg"/>)", path),
        fmt::format(R"(<use xlink:href="file://{}red.svg#r"/>)", path),
        fmt::format(R"(<use xlink:href="{}red.svg#r"/>)", path),
        fmt::format(R"(<style>@import url("file://{}red.css");</style><rect width="8" height="8" fill="none"/>)", path),
        fmt::format(R"(<xi:include xmlns:xi="http://www.w3.org/2001/XInclude" href="file://{}red.svg"/>)", path),
        R"(<image width="8" height="8" href="http://127.0.0.1:9/red.png"/>)",
    };
    for (const std::string& body : bodies) {
        SCOPED_TRACE(body);
        const auto art = decodeVectorArt(textBytes(svgWith(body)));
        if (!art) continue;
        const ImageRef image = art->render(8, 8);
        if (!image) continue;
        EXPECT_EQ(pixelOf(image, 4, 4), (StoredPixel{}));
    }
    const std::string entity = fmt::format(R"(<!DOCTYPE svg [<!ENTITY e SYSTEM "file://{}red.txt">]>)", path) +
                               svgWith(R"(<rect width="8" height="8" style="fill:none;fill:&e;"/>)");
    const auto art = decodeVectorArt(textBytes(entity));
    const ImageRef image = art ? art->render(8, 8) : nullptr;
    if (!image) return;
    EXPECT_EQ(pixelOf(image, 4, 4), (StoredPixel{}));
}

TEST(VectorArt, ScriptsHaveNoEffect)
{
    const auto art = decodeVectorArt(textBytes(svgWith(R"svg(<script>document.documentElement.innerHTML = "";</script>
        <rect width="8" height="8" fill="#f00" onload="this.remove()"/>)svg")));
    ASSERT_TRUE(art);
    EXPECT_EQ(pixelOf(art->render(8, 8), 4, 4), redPixel);
}

TEST(VectorArt, EntitiesThatGrowWithoutBoundAreRefused)
{
    std::string text = "<!DOCTYPE svg [<!ENTITY a0 \"<rect width='1' height='1'/>\">";
    for (int i = 1; i < 12; ++i) {
        text += fmt::format("<!ENTITY a{} \"", i);
        for (int k = 0; k < 10; ++k) text += fmt::format("&a{};", i - 1);
        text += "\">";
    }
    text += "]>" + svgWith("&a11;");
    EXPECT_LT(peakGrowth([&] {
                  if (const auto art = decodeVectorArt(textBytes(text))) art->render(8, 8);
              }),
              256);
}

TEST(VectorArt, ElementsThatRepeatWithoutBoundAreRefused)
{
    std::string body = R"(<defs><rect id="u0" width="1" height="1"/>)";
    for (int i = 1; i < 16; ++i) {
        body += fmt::format(R"(<g id="u{}">)", i);
        for (int k = 0; k < 10; ++k) body += fmt::format(R"(<use xlink:href="#u{}"/>)", i - 1);
        body += "</g>";
    }
    body += R"(</defs><use xlink:href="#u15"/>)";
    const auto art = decodeVectorArt(textBytes(svgWith(body)));
    ASSERT_TRUE(art);
    EXPECT_LT(peakGrowth([&] { art->render(8, 8); }), 256);
}

TEST(VectorArt, AnAbsurdSizeCostsNoMoreThanThePictureAskedFor)
{
    for (const char* size : {"1000000000", "0", "99999999999999999999999999999999", "1e9"}) {
        SCOPED_TRACE(size);
        const auto art = decodeVectorArt(textBytes(fmt::format(
            R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}" height="{0}" viewBox="0 0 8 8"><rect width="8" height="8"/></svg>)", size)));
        if (!art) continue;
        EXPECT_GT(art->size().width, 0);
        EXPECT_LT(peakGrowth([&] { art->render(32, 32); }), 64);
    }
}

TEST(VectorArt, SizesThatNoPictureHasGiveNone)
{
    const auto art = decodeVectorArt(textBytes(svgWith("")));
    ASSERT_TRUE(art);
    EXPECT_FALSE(art->render(0, 8));
    EXPECT_FALSE(art->render(8, -1));
    EXPECT_FALSE(art->render(100'000, 8));
}

} // namespace
} // namespace larkspool
