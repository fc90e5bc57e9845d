#include "platform/image_generator.h"

#include "support/test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <random>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <sys/stat.h>

namespace larkspool {
namespace {

constexpr ImageGenerator::Settings upright{
    .appliesPreferredTrackTransform = true, .requestedTimeToleranceBefore = 1.0 / 240, .requestedTimeToleranceAfter = 1.0 / 240};
constexpr ImageGenerator::Settings exact{.appliesPreferredTrackTransform = true};

/// Groups of twelve pictures with pictures between that refer to later ones.
constexpr const char* h264 = "-c:v libx264 -crf 4 -bf 3 -g 12 -threads 1";

struct Colour {
    int r, g, b, a;

    bool operator==(const Colour&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Colour& c)
    {
        return out << '(' << c.r << ", " << c.g << ", " << c.b << ", " << c.a << ')';
    }
};

Colour colourAt(const ImageRef& image, int x, int y)
{
    const std::uint8_t* p = image->pixels().row(y) + 4 * x;
    return {p[2], p[1], p[0], p[3]};
}

int distance(const Colour& a, const Colour& b)
{
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b), std::abs(a.a - b.a)});
}

class ImageGeneratorTest : public testing::Test {
protected:
    std::string make(std::string_view name, const std::string& arguments)
    {
        const std::string path = folder_.path(name);
        makeMedia(path, arguments);
        return path;
    }
    std::string makeCounting(std::string_view name, int frames, const std::string& encoding)
    {
        return make(name, countingSource(frames) + " " + encoding);
    }

    TemporaryFolder folder_;
};

TEST_F(ImageGeneratorTest, GivesThePictureOnShowInEveryContainerAndCodec)
{
    struct Case {
        const char* name;
        std::string encoding;
    };
    for (const Case& c :
         {Case{"bframes.mp4", h264}, Case{"bframes.mov", h264}, Case{"milliseconds.mkv", h264}, Case{"bframes.ts", h264},
          Case{"fragmented.mp4", std::string(h264) + " -bf 0 -movflags frag_keyframe+empty_moov"},
          Case{"open.mp4", std::string(h264) + " -x264-params open-gop=1:b-pyramid=strict"}, Case{"intra.mov", "-c:v prores_ks"},
          Case{"ten.mp4", std::string(h264) + " -pix_fmt yuv420p10le"},
          Case{"vp9.webm", "-c:v libvpx-vp9 -crf 4 -b:v 0 -deadline realtime -cpu-used 8 -g 12"},
          Case{"mpeg4.avi", "-c:v mpeg4 -q:v 1 -g 12"},
          Case{"reordered.avi", "-c:v mpeg4 -q:v 1 -g 12 -bf 2"}, Case{"bframes.avi", h264}, Case{"bframes.h264", h264},
          Case{"reordered.m2v", "-c:v mpeg2video -q:v 1 -g 12 -bf 2"}, Case{"raw.h264", std::string(h264) + " -bf 0"},
          Case{"withsound.mp4", std::string("-f lavfi -i sine=d=1.6 -shortest -c:a aac ") + h264}}) {
        SCOPED_TRACE(c.name);
        const int frames = 48;
        ImageGenerator generator(makeCounting(c.name, frames, c.encoding), upright);
        ASSERT_TRUE(generator.hasVideo());
        EXPECT_EQ(generator.naturalSize(), (CGSize{64, 48}));
        for (int i = 0; i < frames; ++i) {
            ASSERT_EQ(toldNumber(generator.copyImage(i / 30.0)), i) << "at its beginning";
            ASSERT_EQ(toldNumber(generator.copyImage((i + 0.9) / 30)), i) << "before its end";
        }
        std::mt19937 random(7);
        for (int i = 0; i < 40; ++i) {
            const int number = static_cast<int>(random() % frames);
            ASSERT_EQ(toldNumber(generator.copyImage((number + 0.5) / 30)), number) << "after jumping";
        }
    }
}

TEST_F(ImageGeneratorTest, GivesThePictureOnShowWhereThreadsDecodeSeveralAtOnce)
{
    struct Case {
        const char* name;
        std::string encoding;
    };
    for (const Case& c : {Case{"large.mp4", h264}, Case{"large.avi", h264}, Case{"reordered.avi", "-c:v mpeg4 -q:v 1 -g 12 -bf 2"}}) {
        SCOPED_TRACE(c.name);
        ImageGenerator generator(make(c.name, countingSource(30, 30, "768x432") + " " + c.encoding), upright);
        for (int i = 0; i < 30; ++i) ASSERT_EQ(toldNumber(generator.copyImage(i / 30.0)), i);
        for (const int number : {3, 27, 14, 0, 29, 13, 12}) ASSERT_EQ(toldNumber(generator.copyImage((number + 0.5) / 30)), number);
    }
}

TEST_F(ImageGeneratorTest, FollowsPicturesOfUnequalLength)
{
    // Picture n begins at n (n + 10) / 300 seconds.
    const int frames = 30;
    const std::string source = countingSource(frames);
    const std::string timed = source.substr(0, source.size() - 1) + ",settb=1/600,setpts='N*(N+10)*2'\"";
    for (const char* name : {"vfr.mp4", "vfr.mkv"}) {
        SCOPED_TRACE(name);
        ImageGenerator generator(make(name, timed + " -vsync passthrough -enc_time_base 1:600 " + h264), upright);
        const auto begins = [](int n) { return n * (n + 10) / 300.0; };
        for (int i = 0; i < frames; ++i) {
            ASSERT_EQ(toldNumber(generator.copyImage(begins(i))), i);
            if (i == 0) continue;
            ASSERT_EQ(toldNumber(generator.copyImage(begins(i) - 0.002)), i - 1);
        }
        for (int i = frames - 1; i >= 0; i -= 5) ASSERT_EQ(toldNumber(generator.copyImage(begins(i) + 0.01)), i);
    }
}

TEST_F(ImageGeneratorTest, FollowsEditLists)
{
    const std::string plain = makeCounting("plain.mp4", 48, h264);
    ImageGenerator late(make("late.mp4", fmt::format("-itsoffset 0.5 -i '{}' -c copy", plain)), upright);
    EXPECT_EQ(toldNumber(late.copyImage(0)), 0) << "before the first picture there is the first";
    EXPECT_EQ(toldNumber(late.copyImage(0.49)), 0);
    for (int i = 0; i < 48; ++i) ASSERT_EQ(toldNumber(late.copyImage(0.5 + i / 30.0)), i);
    EXPECT_EQ(toldNumber(late.copyImage(0.2)), 0);

    // Begins within a group of pictures: those from its key picture on are in the file, and do not show.
    ImageGenerator cut(make("cut.mp4", fmt::format("-ss 0.5 -i '{}' -c copy -avoid_negative_ts 0", plain)), upright);
    for (int i = 0; i < 33; ++i) ASSERT_EQ(toldNumber(cut.copyImage(i / 30.0)), 15 + i);
    EXPECT_EQ(toldNumber(cut.copyImage(0)), 15);
    EXPECT_EQ(toldNumber(cut.copyImage(0.7)), 36);
}

TEST_F(ImageGeneratorTest, HoldsTheFirstAndTheLastPicture)
{
    ImageGenerator generator(makeCounting("film.mp4", 40, h264), upright);
    struct Case {
        const char* when;
        double time;
        int number;
    };
    for (const Case& c : {Case{"long after the end", 1e9, 39}, Case{"infinitely long after it", INFINITY, 39},
                          Case{"at the end", 40 / 30.0, 39}, Case{"before the beginning", -3, 0},
                          Case{"infinitely long before it", -INFINITY, 0}, Case{"a little after the end", 1.4, 39}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(toldNumber(generator.copyImage(c.time)), c.number);
    }
    EXPECT_EQ(generator.copyImage(NAN), nullptr);
    EXPECT_NEAR(generator.duration(), 40 / 30.0, 0.001);
    EXPECT_NEAR(generator.frameInterval(), 1 / 30.0, 1e-6);
}

TEST_F(ImageGeneratorTest, TellsWhenAPictureShows)
{
    ImageGenerator generator(makeCounting("film.mp4", 10, h264), upright);
    const VideoFrame first = generator.frame(0), third = generator.frame(0.07), last = generator.frame(9);
    EXPECT_EQ(first.start, -INFINITY);
    EXPECT_DOUBLE_EQ(first.end, 1 / 30.0);
    EXPECT_DOUBLE_EQ(third.start, 2 / 30.0);
    EXPECT_DOUBLE_EQ(third.end, 3 / 30.0);
    EXPECT_DOUBLE_EQ(last.start, 9 / 30.0);
    EXPECT_EQ(last.end, INFINITY);
}

TEST_F(ImageGeneratorTest, TakesAPictureAsBegunALittleEarlyIfTheToleranceAllows)
{
    const std::string path = makeCounting("film.mp4", 10, h264);
    const double shortlyBefore = 2 / 30.0 - 0.0005;
    ImageGenerator tolerant(path, upright);
    EXPECT_EQ(toldNumber(tolerant.copyImage(shortlyBefore)), 2);
    EXPECT_EQ(toldNumber(tolerant.copyImage(2 / 30.0 - 0.001)), 1);
    ImageGenerator strict(path, exact);
    EXPECT_EQ(toldNumber(strict.copyImage(shortlyBefore)), 1);
    EXPECT_EQ(toldNumber(strict.copyImage(2 / 30.0)), 2);
}

TEST_F(ImageGeneratorTest, CostsOneDecodedPictureForEachNewOne)
{
    const int frames = 120;
    ImageGenerator generator(makeCounting("film.mp4", frames, h264), upright);
    for (int i = 0; i < frames * 4; ++i) ASSERT_EQ(toldNumber(generator.copyImage(i / 120.0)), i / 4 % 50);
    EXPECT_EQ(generator.work().decodedPictures, frames);
    EXPECT_EQ(generator.work().convertedPictures, frames);
    EXPECT_EQ(generator.work().seeks, 0);
}

TEST_F(ImageGeneratorTest, CostsNothingForAPictureAskedAgain)
{
    ImageGenerator generator(makeCounting("film.mp4", 40, h264), upright);
    const ImageRef image = generator.copyImage(0.5);
    const ImageRef before = generator.copyImage(0.5 - 2 / 30.0);
    const ImageGenerator::Work work = generator.work();
    EXPECT_EQ(generator.copyImage(0.5), image);
    EXPECT_EQ(generator.copyImage(0.51), image);
    EXPECT_EQ(generator.copyImage(0.5 - 2 / 30.0), before);
    EXPECT_EQ(generator.work().decodedPictures, work.decodedPictures);
    EXPECT_EQ(generator.work().convertedPictures, work.convertedPictures);

    generator.copyImage(9);
    const std::int64_t seeks = generator.work().seeks;
    generator.copyImage(10);
    EXPECT_EQ(generator.work().seeks, seeks) << "past the end, again";
}

TEST_F(ImageGeneratorTest, SeeksOnAJumpAlone)
{
    ImageGenerator generator(makeCounting("film.mp4", 300, h264), upright);
    generator.copyImage(1);
    const std::int64_t atOnce = generator.work().decodedPictures;
    EXPECT_EQ(toldNumber(generator.copyImage(8)), 240 % 50) << "far ahead";
    EXPECT_GE(generator.work().seeks, 1);
    EXPECT_LT(generator.work().decodedPictures - atOnce, 40) << "a group of pictures and the codec's own delay";

    const std::int64_t seeks = generator.work().seeks;
    EXPECT_EQ(toldNumber(generator.copyImage(3)), 90 % 50) << "back";
    EXPECT_GT(generator.work().seeks, seeks);

    const std::int64_t soFar = generator.work().seeks;
    for (int i = 91; i < 130; i += 3) ASSERT_EQ(toldNumber(generator.copyImage(i / 30.0)), i % 50);
    EXPECT_EQ(generator.work().seeks, soFar) << "a few pictures ahead";
}

TEST_F(ImageGeneratorTest, TurnsPicturesAsTheFileSays)
{
    // Red and green above, blue and white below.
    const std::string corners =
        make("corners.mp4", "-f lavfi -i \"color=red:s=32x16:d=0.1[a];color=lime:s=32x16:d=0.1[b];color=blue:s=32x16:d=0.1[c];"
                            "color=white:s=32x16:d=0.1[d];[a][b]hstack[t];[c][d]hstack[l];[t][l]vstack\" "
                            "-c:v libx264 -pix_fmt yuv444p -crf 1");
    constexpr Colour red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, white{255, 255, 255, 255};
    struct Case {
        int degrees; ///< Counterclockwise.
        CGSize size;
        std::array<Colour, 4> corners; ///< Top left, top right, bottom left, bottom right.
    };
    for (const Case& c : {Case{0, {64, 32}, {red, green, blue, white}}, Case{90, {32, 64}, {green, white, red, blue}},
                          Case{180, {64, 32}, {white, blue, green, red}}, Case{270, {32, 64}, {blue, red, white, green}}}) {
        SCOPED_TRACE(c.degrees);
        const std::string path = make(fmt::format("turned{}.mp4", c.degrees),
                                      fmt::format("-i '{}' -c copy -metadata:s:v rotate={}", corners, c.degrees));
        ImageGenerator generator(path, upright);
        const ImageRef image = generator.copyImage(0);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), c.size);
        EXPECT_EQ(generator.naturalSize(), c.size);
        const int right = image->width() - 4, bottom = image->height() - 4;
        const std::array<Colour, 4> seen{colourAt(image, 3, 3), colourAt(image, right, 3), colourAt(image, 3, bottom),
                                         colourAt(image, right, bottom)};
        for (std::size_t i = 0; i < 4; ++i) EXPECT_LE(distance(seen[i], c.corners[i]), 6) << i << ' ' << seen[i];

        const ImageRef asCoded = ImageGenerator(path, {}).copyImage(0);
        EXPECT_EQ(asCoded->size(), (CGSize{64, 32}));
        EXPECT_LE(distance(colourAt(asCoded, 3, 3), red), 6);
    }
}

/// The formula of ITU-R: luma weights of red and blue, 8-bit levels.
Colour fromYUV(double y, double cb, double cr, double red, double blue, bool isFullRange)
{
    const double green = 1 - red - blue;
    const double luma = isFullRange ? y / 255 : (y - 16) / 219;
    const double u = (cb - 128) / (isFullRange ? 255 : 224), v = (cr - 128) / (isFullRange ? 255 : 224);
    const auto channel = [](double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255)); };
    return {channel(luma + 2 * (1 - red) * v),
            channel(luma - 2 * (1 - blue) * blue / green * u - 2 * (1 - red) * red / green * v),
            channel(luma + 2 * (1 - blue) * u), 255};
}

TEST_F(ImageGeneratorTest, FollowsColourMatrixAndRange)
{
    struct Case {
        const char* name;
        const char* size;
        const char* format;
        const char* tags;
        double red, blue;
        bool isFullRange;
    };
    const Case cases[] = {
        {"plain standard definition", "64x48", "yuv420p", "", 0.299, 0.114, false},
        {"plain high definition", "1280x16", "yuv420p", "", 0.2126, 0.0722, false},
        {"plain and tall", "64x578", "yuv420p", "", 0.2126, 0.0722, false},
        {"601 in high definition", "1280x16", "yuv420p", "-colorspace smpte170m", 0.299, 0.114, false},
        {"601 by its other name", "64x48", "yuv420p", "-colorspace bt470bg", 0.299, 0.114, false},
        {"709 in standard definition", "64x48", "yuv420p", "-colorspace bt709", 0.2126, 0.0722, false},
        {"709 full", "64x48", "yuv420p", "-colorspace bt709 -color_range pc", 0.2126, 0.0722, true},
        {"601 full", "64x48", "yuv420p", "-colorspace smpte170m -color_range pc", 0.299, 0.114, true},
        {"2020", "64x48", "yuv420p", "-colorspace bt2020nc", 0.2627, 0.0593, false},
        {"709 of ten bits", "64x48", "yuv420p10le", "-colorspace bt709", 0.2126, 0.0722, false},
        {"601 of ten bits, full", "64x48", "yuv420p10le", "-colorspace smpte170m -color_range pc", 0.299, 0.114, true},
        {"709 of unreduced chroma", "64x48", "yuv444p", "-colorspace bt709", 0.2126, 0.0722, false},
        {"601 of chroma at half width", "64x48", "yuv422p", "-colorspace smpte170m", 0.299, 0.114, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const bool hasTenBits = std::string_view(c.format).ends_with("10le");
        for (const std::array<int, 3>& yuv : {std::array{120, 128, 128}, std::array{81, 90, 240}, std::array{145, 54, 34},
                                              std::array{41, 240, 110}, std::array{200, 100, 150}}) {
            const int scale = hasTenBits ? 4 : 1;
            const std::string path =
                make("colour.mkv", fmt::format("-f lavfi -i \"color=black:s={}:r=30:d=0.1,format={},trim=end_frame=1,"
                                               "geq=lum={}:cb={}:cr={}\" -c:v ffv1 {}",
                                               c.size, c.format, yuv[0] * scale, yuv[1] * scale, yuv[2] * scale, c.tags));
            const ImageRef image = ImageGenerator(path, upright).copyImage(0);
            ASSERT_TRUE(image);
            EXPECT_TRUE(image->isOpaque());
            const Colour expected = fromYUV(yuv[0], yuv[1], yuv[2], c.red, c.blue, c.isFullRange);
            for (const auto& [x, y] :
                 {std::pair{0, 0}, {image->width() / 2, image->height() / 2}, {image->width() - 1, image->height() - 1}})
                EXPECT_LE(distance(colourAt(image, x, y), expected), 2)
                    << yuv[0] << ' ' << yuv[1] << ' ' << yuv[2] << ": " << colourAt(image, x, y) << ", not " << expected;
        }
    }
}

TEST_F(ImageGeneratorTest, InterpolatesChromaFromWhereItLies)
{
    // Cb rises by 4 from sample to sample, so that a sample on even columns makes 96 + 2 x, and one between two columns 95 + 2 x.
    struct Case {
        const char* location;
        double base;
    };
    for (const Case& c : {Case{"left", 64}, Case{"center", 63}}) {
        SCOPED_TRACE(c.location);
        const ImageRef image =
            ImageGenerator(make("ramp.mp4", fmt::format("-f lavfi -i \"color=black:s=64x48:r=30:d=0.1,format=yuv420p,"
                                                        "trim=end_frame=1,geq=lum=120:cb='64+4*X':cr=128\" -c:v libx264 -qp 0 "
                                                        "-colorspace bt709 -chroma_sample_location {}",
                                                        c.location)),
                           upright)
                .copyImage(0);
        ASSERT_TRUE(image);
        for (int x = 2; x < 60; ++x) {
            const Colour expected = fromYUV(120, c.base + 2 * x, 128, 0.2126, 0.0722, false);
            ASSERT_LE(distance(colourAt(image, x, 20), expected), 1) << x << colourAt(image, x, 20) << expected;
        }
    }
}

TEST_F(ImageGeneratorTest, ReadsOddSizes)
{
    struct Case {
        const char* format;
        int chromaWidth, chromaHeight;
    };
    for (const Case& c : {Case{"yuv420p", 32, 24}, Case{"yuv422p", 32, 47}, Case{"yuv444p", 63, 47}}) {
        SCOPED_TRACE(c.format);
        const std::size_t lumaBytes = 63 * 47, chromaBytes = static_cast<std::size_t>(c.chromaWidth * c.chromaHeight);
        std::vector<std::uint8_t> planes(lumaBytes, 81);
        planes.resize(lumaBytes + chromaBytes, 90);
        planes.resize(lumaBytes + 2 * chromaBytes, 240);
        const std::string raw = folder_.path("odd.yuv");
        writeFile(raw, planes);
        const std::string input = fmt::format("-f rawvideo -pix_fmt {} -s 63x47 -i '{}' -c:v ffv1", c.format, raw);
        for (const std::string& encoding : {input, input + " -pix_fmt " + c.format + "10le"}) {
            const ImageRef image = ImageGenerator(make("odd.mkv", encoding), upright).copyImage(0);
            ASSERT_TRUE(image);
            EXPECT_EQ(image->size(), (CGSize{63, 47}));
            const Colour expected = fromYUV(81, 90, 240, 0.299, 0.114, false);
            for (const auto& [x, y] : {std::pair{0, 0}, {62, 0}, {0, 46}, {62, 46}, {31, 23}})
                EXPECT_LE(distance(colourAt(image, x, y), expected), 2) << x << ',' << y << colourAt(image, x, y);
        }
    }
}

TEST_F(ImageGeneratorTest, PremultipliesTransparentPictures)
{
    const std::string path = make("clear.mov", "-f lavfi -i \"color=red:s=64x48:r=30:d=0.1,format=argb,"
                                               "geq=r=200:g=100:b=0:a=128\" -c:v qtrle");
    const ImageRef image = ImageGenerator(path, upright).copyImage(0);
    ASSERT_TRUE(image);
    EXPECT_FALSE(image->isOpaque());
    EXPECT_LE(distance(colourAt(image, 20, 20), {100, 50, 0, 128}), 1) << colourAt(image, 20, 20);
}

TEST_F(ImageGeneratorTest, ImagesOutliveTheirGeneratorAndLaterPictures)
{
    const std::string path = makeCounting("film.mp4", 40, h264);
    std::vector<ImageRef> held;
    {
        ImageGenerator generator(path, upright);
        for (int i = 0; i < 40; ++i) {
            const ImageRef image = generator.copyImage(i / 30.0);
            if (i % 3 == 0) held.push_back(image);
        }
    }
    for (std::size_t i = 0; i < held.size(); ++i) EXPECT_EQ(toldNumber(held[i]), 3 * static_cast<int>(i));
}

TEST_F(ImageGeneratorTest, HasNoPictureOfSoundAlone)
{
    const std::string sound = make("sound.m4a", "-f lavfi -i sine=d=0.5 -c:a aac");
    const std::string cover = make("cover.png", "-f lavfi -i color=red:s=32x32 -frames:v 1");
    const std::string covered =
        make("covered.m4a", fmt::format("-i '{}' -i '{}' -map 0 -map 1 -c copy -disposition:v attached_pic", sound, cover));
    for (const std::string& path : {sound, covered}) {
        ImageGenerator generator(path, upright);
        EXPECT_FALSE(generator.hasVideo());
        EXPECT_EQ(generator.copyImage(0), nullptr);
    }
}

TEST_F(ImageGeneratorTest, ShowsWhatPrecedesTheCut)
{
    const std::string whole = makeCounting("whole.mp4", 48, std::string(h264) + " -movflags +faststart");
    std::vector<std::uint8_t> bytes = fileBytes(whole);
    const ImageRef first = ImageGenerator(whole, upright).copyImage(0);
    for (const double part : {0.97, 0.9, 0.8}) {
        SCOPED_TRACE(part);
        const std::string cut = folder_.path("cut.mp4");
        writeFile(cut, std::vector(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() * part)));
        ImageGenerator generator(cut, upright);
        EXPECT_EQ(toldNumber(generator.copyImage(0)), 0);
        EXPECT_EQ(toldNumber(generator.copyImage(3 / 30.0)), 3);
        const int last = toldNumber(generator.copyImage(47 / 30.0));
        EXPECT_GT(last, 3);
        EXPECT_LT(last, 47);
        EXPECT_EQ(toldNumber(generator.copyImage(5 / 30.0)), 5) << "back from the cut";
    }
}

TEST_F(ImageGeneratorTest, DoesWithoutAnIndex)
{
    const std::string whole = makeCounting("whole.avi", 48, "-c:v mpeg4 -q:v 1 -g 12");
    std::vector<std::uint8_t> bytes = fileBytes(whole);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t index = text.rfind("idx1");
    ASSERT_NE(index, std::string_view::npos);
    bytes.resize(index);
    const std::string cut = folder_.path("cut.avi");
    writeFile(cut, bytes);
    const std::string piped = folder_.path("piped.mkv");
    makeMedia(piped, countingSource(48) + " " + h264 + " -live 1 -f matroska");
    for (const std::string& path : {cut, piped}) {
        SCOPED_TRACE(path);
        ImageGenerator generator(path, upright);
        for (const int number : {0, 40, 3, 47, 20, 21, 22, 0}) EXPECT_EQ(toldNumber(generator.copyImage(number / 30.0)), number);
    }
}

TEST_F(ImageGeneratorTest, OpensNothingButARegularFile)
{
    const std::string pipe = folder_.path("pipe.mp4");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string empty = folder_.path("empty.mp4");
    writeFile(empty, std::string_view());
    const std::string noise = folder_.path("noise.mp4");
    std::vector<std::uint8_t> bytes(100000);
    std::mt19937 random(3);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    writeFile(noise, bytes);
    const std::string film = makeCounting("film.mp4", 10, h264);
    std::vector<std::uint8_t> headless = fileBytes(film);
    headless.resize(headless.size() / 2);
    const std::string noHeader = folder_.path("noheader.mp4");
    writeFile(noHeader, headless);

    for (const std::string& path : {pipe, folder_.path(""), folder_.path("absent.mp4"), empty, noise, noHeader,
                                    std::string("/dev/zero"), std::string("/dev/stdin"), std::string(), std::string("-"),
                                    "file:" + film, film + std::string(1, '\0'), "concat:" + film}) {
        SCOPED_TRACE(path);
        const auto start = std::chrono::steady_clock::now();
        ImageGenerator generator(path, upright);
        EXPECT_FALSE(generator.hasVideo());
        EXPECT_EQ(generator.copyImage(0), nullptr);
        EXPECT_EQ(generator.copyImage(1), nullptr);
        EXPECT_EQ(generator.naturalSize(), CGSize{});
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    }
}

TEST_F(ImageGeneratorTest, ReadsNothingOutsideTheFile)
{
    const std::string film = makeCounting("film.ts", 10, h264);
    const std::string playlist = folder_.path("list.m3u8");
    writeFile(playlist, fmt::format("#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n{}\n#EXT-X-ENDLIST\n", film));
    const std::string concat = folder_.path("list.ffconcat");
    writeFile(concat, fmt::format("ffconcat version 1.0\nfile '{}'\n", film));
    const std::string session = folder_.path("list.sdp");
    writeFile(session, "v=0\no=- 0 0 IN IP4 127.0.0.1\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 96\n"
                       "a=rtpmap:96 H264/90000\n");
    for (const std::string& path : {playlist, concat, session}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(ImageGenerator(path, upright).copyImage(0), nullptr);
    }
}

/// A file of one VP8 picture whose headers claim a size.
std::vector<std::uint8_t> claimingFile(int width, int height)
{
    const auto low = [](int value) { return static_cast<std::uint8_t>(value & 255); };
    const auto high = [](int value) { return static_cast<std::uint8_t>(value >> 8); };
    std::vector<std::uint8_t> picture{0x10, 0x02, 0x00, 0x9d, 0x01, 0x2a, low(width), high(width), low(height), high(height)};
    picture.resize(80);
    constexpr std::size_t headerBytes = 44; // Of the file and of its one picture.
    std::vector<std::uint8_t> file(headerBytes + picture.size());
    std::ranges::copy(std::string_view("DKIF"), file.begin());
    file[6] = 32; // Bytes of the header.
    std::ranges::copy(std::string_view("VP80"), file.begin() + 8);
    std::ranges::copy(std::array{low(width), high(width), low(height), high(height)}, file.begin() + 12);
    file[16] = 30; // Pictures a second.
    file[20] = 1;
    file[24] = 1; // One picture in all.
    file[32] = static_cast<std::uint8_t>(picture.size());
    std::ranges::copy(picture, file.begin() + headerBytes);
    return file;
}

TEST_F(ImageGeneratorTest, RefusesAbsurdSizes)
{
    const std::string path = folder_.path("claims.ivf");
    writeFile(path, claimingFile(64, 48));
    EXPECT_TRUE(ImageGenerator(path, upright).copyImage(0)) << "or the test shows nothing";
    writeFile(path, claimingFile(16383, 16383));
    EXPECT_EQ(ImageGenerator(path, upright).copyImage(0), nullptr);

    const std::string wide = make("wide.mkv", "-f lavfi -i color=red:s=16400x16:r=30:d=0.1 -frames:v 1 -c:v ffv1");
    EXPECT_EQ(ImageGenerator(wide, upright).copyImage(0), nullptr);
    const std::string allowed = make("allowed.mkv", "-f lavfi -i color=red:s=16384x16:r=30:d=0.1 -frames:v 1 -c:v ffv1");
    EXPECT_TRUE(ImageGenerator(allowed, upright).copyImage(0));
}

TEST_F(ImageGeneratorTest, SurvivesDamage)
{
    std::mt19937 random(11);
    for (const char* name : {"film.mp4", "film.mkv", "film.ts", "film.avi"}) {
        SCOPED_TRACE(name);
        const bool isAVI = std::string_view(name).ends_with("avi");
        const std::vector<std::uint8_t> whole =
            fileBytes(makeCounting(name, 24, isAVI ? "-c:v mpeg4 -g 12 -q:v 2" : std::string(h264)));
        const std::string path = folder_.path(std::string("damaged-") + name);
        for (int round = 0; round < 25; ++round) {
            std::vector<std::uint8_t> bytes = whole;
            for (int i = 0; i < 1 + round; ++i) bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
            if (round % 5 == 0) bytes.resize(random() % bytes.size());
            writeFile(path, bytes);
            ImageGenerator generator(path, upright);
            for (const double time : {0.0, 0.4, 0.1, 5.0, 0.7}) {
                const ImageRef image = generator.copyImage(time);
                ASSERT_TRUE(!image || image->width() <= 16384);
            }
        }
    }
}

TEST_F(ImageGeneratorTest, GeneratorsOfSeveralThreadsDoNotDisturbEachOther)
{
    const std::string path = makeCounting("film.mp4", 40, h264);
    std::vector<std::thread> threads;
    std::array<int, 3> wrong{};
    for (std::size_t thread = 0; thread < wrong.size(); ++thread)
        threads.emplace_back([&, thread] {
            ImageGenerator generator(path, upright);
            for (int i = 0; i < 40; ++i)
                if (toldNumber(generator.copyImage(i / 30.0)) != i) ++wrong[thread];
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(wrong, testing::Each(0));
}

} // namespace
} // namespace larkspool
