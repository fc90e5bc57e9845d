#include "platform/asset_writer.h"

#include "support/film_probe.h"
#include "support/no_threads.h"
#include "support/running_threads.h"
#include "support/test_media.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::HasSubstr;

/// No file of this process grows beyond so many bytes: the system refuses the write, as it does on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::uint64_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limited{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_{};
};

FilmSettings settingsFor(std::int64_t width, std::int64_t height, std::int64_t fps = 60)
{
    FilmSettings settings;
    settings.width = width;
    settings.height = height;
    settings.fps = fps;
    return settings;
}

/// Settings that pass all checks but the encoder's own.
FilmSettings settingsTheEncoderRefuses()
{
    FilmSettings settings = settingsFor(64, 48);
    settings.format.codecOptions.emplace_back("crf", "stately");
    return settings;
}

/// A picture that moves with the frame: a gradient, and a bar at a place of its own.
void paintFrame(PixelBuffer& picture, std::int64_t frame)
{
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            std::uint8_t* pixel = picture.row(y) + x * 4;
            const bool inBar = x / 8 == frame % std::max(1, picture.width() / 8);
            pixel[0] = static_cast<std::uint8_t>(inBar ? 40 : 255 * x / picture.width());
            pixel[1] = static_cast<std::uint8_t>(inBar ? 40 : 255 * y / picture.height());
            pixel[2] = static_cast<std::uint8_t>(inBar ? 220 : 90);
            pixel[3] = 255;
        }
}

PixelBuffer paintedFrame(int width, int height, std::int64_t frame)
{
    PixelBuffer picture(width, height);
    paintFrame(picture, frame);
    return picture;
}

PixelRect wholeOf(const PixelBuffer& picture)
{
    return {0, 0, picture.width(), picture.height()};
}

/// Makes a chunk of moving frames, `frames` of them from `firstFrame` on.
FilmChunk paintedChunk(AssetWriter& writer, std::int64_t firstFrame, std::int64_t frames)
{
    const std::unique_ptr<ChunkEncoder> encoder = writer.makeEncoder();
    const std::unique_ptr<PixelBuffer> picture = writer.makePixelBuffer();
    encoder->beginChunk(firstFrame, frames);
    for (std::int64_t i = 0; i < frames; ++i) {
        paintFrame(*picture, firstFrame + i);
        encoder->setPicture(*picture, wholeOf(*picture));
        encoder->encodeFrame();
    }
    while (encoder->codeHeldFrame()) {}
    return encoder->takeChunk();
}

/// Writes a film of moving frames from beginning to end, in chunks of so many frames. Throws PlatformFailure.
void writeFilm(AssetWriter& writer, std::int64_t frames, std::int64_t framesOfAChunk = 250)
{
    writer.startWriting();
    for (std::int64_t i = 0; i < frames; i += framesOfAChunk)
        writer.append(paintedChunk(writer, i, std::min(framesOfAChunk, frames - i)));
    writer.finishWriting();
}

/// What `work` fails with; nothing if it does not fail.
template <typename Work>
std::optional<PlatformError> errorOf(const Work& work)
{
    try {
        work();
    } catch (const PlatformFailure& failure) {
        return failure.error();
    }
    return std::nullopt;
}

template <typename Work>
std::string wordsOf(const Work& work)
{
    const std::optional<PlatformError> error = errorOf(work);
    if (!error) return "no error";
    return error->localizedDescription + " | " + error->localizedFailureReason.value_or("");
}

/// Writes a film that must come out whole.
void mustWrite(const std::string& path, const FilmSettings& settings, std::int64_t frames, std::int64_t framesOfAChunk = 250)
{
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(path, settings);
    ASSERT_TRUE(writer);
    ASSERT_EQ(wordsOf([&] { writeFilm(*writer, frames, framesOfAChunk); }), "no error");
}

std::string contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::ptrdiff_t entriesOf(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(AssetWriter, WritesAnMP4OfTheSizeRateAndTagsAskedFor)
{
    const TemporaryFolder folder;
    mustWrite(folder.path("film.mp4"), settingsFor(96, 64, 60), 7);

    const FilmReport film = probeFilm(folder.path("film.mp4"));
    EXPECT_THAT(film.container, HasSubstr("mp4"));
    EXPECT_EQ(film.codec, "h264");
    EXPECT_EQ(film.pixelFormat, "yuv420p");
    EXPECT_EQ(film.width, 96);
    EXPECT_EQ(film.height, 64);
    EXPECT_EQ(film.rateNumerator, 60);
    EXPECT_EQ(film.rateDenominator, 1);
    EXPECT_EQ(film.declaredFrames, 7);
    EXPECT_EQ(film.colorRange, "tv");
    EXPECT_EQ(film.colorSpace, "bt709");
    EXPECT_EQ(film.colorPrimaries, "bt709");
    EXPECT_EQ(film.colorTransfer, "bt709");
    EXPECT_EQ(film.chromaLocation, "center");
    EXPECT_FALSE(film.hasAudio);
    EXPECT_TRUE(film.indexAtFront);
}

TEST(AssetWriter, FramesStandAtWholeFrameTimesAndTheFilmLastsFramesOverFps)
{
    const TemporaryFolder folder;
    struct Case {
        std::int64_t fps, frames;
    };
    for (const Case& c : {Case{60, 1}, Case{60, 2}, Case{60, 7}, Case{30, 31}, Case{24, 25}, Case{25, 3}, Case{1, 3}, Case{7, 5},
                          Case{120, 13}, Case{999, 10}, Case{24000, 10}, Case{1'000'000, 3}}) {
        SCOPED_TRACE(testing::Message() << c.frames << " frames at " << c.fps);
        mustWrite(folder.path("film.mp4"), settingsFor(32, 32, c.fps), c.frames);
        const FilmReport film = probeFilm(folder.path("film.mp4"));
        const double fps = static_cast<double>(c.fps);
        EXPECT_EQ(film.declaredFrames, c.frames);
        EXPECT_NEAR(film.seconds, static_cast<double>(c.frames) / fps, 1e-9);
        EXPECT_NEAR(film.fileSeconds, static_cast<double>(c.frames) / fps, 1e-6); // Told in microseconds.
        ASSERT_EQ(film.frames(), c.frames);
        for (std::size_t i = 0; i < film.presentationTimes.size(); ++i)
            EXPECT_NEAR(film.presentationTimes[i], static_cast<double>(i) / fps, 1e-9);
    }
}

TEST(AssetWriter, DecodedFramesLookAsPainted)
{
    const TemporaryFolder folder;
    mustWrite(folder.path("film.mp4"), settingsFor(128, 96, 30), 12);
    std::int64_t frames = 0;
    forEachFrame(folder.path("film.mp4"), [&](std::int64_t index, const PixelBuffer& picture) {
        EXPECT_LT(meanChannelError(picture, paintedFrame(128, 96, index)), 3) << "frame " << index;
        ++frames;
    });
    EXPECT_EQ(frames, 12);
}

TEST(AssetWriter, EncodesByTheEncodersOwnDefaults)
{
    const TemporaryFolder folder;
    mustWrite(folder.path("film.mp4"), settingsFor(64, 64), 3);
    // x264 writes what it worked with into the film. These are what it does when nothing is asked of it.
    const std::string film = contentsOf(folder.path("film.mp4"));
    for (const char* setting : {" rc=crf ", " crf=23.0 ", " keyint=250 ", " keyint_min=25 ", " bframes=3 ", " ref=3 ", " me=hex ",
                                " subme=7 ", " rc_lookahead=40 ", " scenecut=40 ", " qcomp=0.60 ", " cabac=1 ", " open_gop=0 "})
        EXPECT_THAT(film, HasSubstr(setting));
}

TEST(AssetWriter, ARepeatShowsTheLastPictureThoughItsMemoryIsPaintedAnew)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 48, 30));
    writer->startWriting();
    const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
    const std::unique_ptr<PixelBuffer> picture = writer->makePixelBuffer();
    encoder->beginChunk(0, 41);
    for (std::int64_t i = 0; i < 41; ++i) {
        if (i % 40 == 0) {
            paintFrame(*picture, i);
            encoder->setPicture(*picture, wholeOf(*picture));
        }
        std::fill_n(picture->data(), picture->bytesPerRow() * 48, std::uint8_t{255});
        encoder->encodeFrame();
    }
    while (encoder->codeHeldFrame()) {}
    writer->append(encoder->takeChunk());
    writer->finishWriting();

    std::int64_t frames = 0;
    forEachFrame(folder.path("film.mp4"), [&](std::int64_t index, const PixelBuffer& shown) {
        EXPECT_LT(meanChannelError(shown, paintedFrame(64, 48, index < 40 ? 0 : 40)), 3) << "frame " << index;
        ++frames;
    });
    EXPECT_EQ(frames, 41);
}

/// Of 64 x 48 pixels, which come back as the encoder was given them.
FilmSettings losslessSettings()
{
    FilmSettings settings = settingsFor(64, 48, 25);
    settings.format = {
        .container = "matroska", .codec = "ffv1", .pixelFormat = "yuv420p", .maximumSide = 1000, .maximumPixels = 1'000'000};
    return settings;
}

TEST(AssetWriter, OnlyWhatIsSaidToHaveChangedIsLookedAt)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mkv"), losslessSettings());
    writer->startWriting();
    const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
    PixelBuffer picture(64, 48);
    const auto fill = [&picture](std::uint8_t level) {
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x) {
                std::fill_n(picture.row(y) + 4 * x, 3, level);
                picture.row(y)[4 * x + 3] = 255;
            }
    };
    constexpr std::int64_t frameCount = 8; // More than the pictures that an encoder takes in turn, each of which is whole at first.
    encoder->beginChunk(0, frameCount);
    fill(0);
    for (std::int64_t i = 0; i + 1 < frameCount; ++i) {
        encoder->setPicture(picture, i == 0 ? wholeOf(picture) : PixelRect{20, 10, 22, 12});
        encoder->encodeFrame();
    }
    fill(255);
    encoder->setPicture(picture, {20, 10, 40, 30});
    encoder->encodeFrame();
    while (encoder->codeHeldFrame()) {}
    writer->append(encoder->takeChunk());
    writer->finishWriting();

    const std::vector<PixelBuffer> frames = decodedFrames(folder.path("film.mkv"));
    ASSERT_EQ(frames.size(), static_cast<std::size_t>(frameCount));
    const auto grey = [&](int x, int y) { return static_cast<int>(frames.back().row(y)[4 * x]); };
    EXPECT_GT(grey(20, 10), 250);
    EXPECT_GT(grey(39, 29), 250);
    EXPECT_LT(grey(17, 10), 5);
    EXPECT_LT(grey(42, 29), 5);
    EXPECT_LT(grey(39, 7), 5);
    EXPECT_LT(grey(20, 32), 5);
}

/// The pictures that frames wait in are used in turn, each brought up to date by what changed since it was used last.
TEST(AssetWriter, EveryFrameShowsAllThatChangedBeforeIt)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mkv"), losslessSettings());
    writer->startWriting();
    const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
    PixelBuffer picture(64, 48);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) picture.row(y)[4 * x + 3] = 255;

    // Frame i lights the block of 8 x 8 pixels at column i; every third frame is one more of the same picture.
    encoder->beginChunk(0, 10);
    for (int i = 0; i < 8; ++i) {
        for (int y = 0; y < 8; ++y) std::fill_n(picture.row(y) + 4 * 8 * i, 4 * 8, std::uint8_t{255});
        encoder->setPicture(picture, i == 0 ? wholeOf(picture) : PixelRect{8 * i, 0, 8 * i + 8, 8});
        encoder->encodeFrame();
        if (i % 3 == 2) encoder->encodeFrame();
    }
    while (encoder->codeHeldFrame()) {}
    writer->append(encoder->takeChunk());
    writer->finishWriting();

    const std::vector<PixelBuffer> frames = decodedFrames(folder.path("film.mkv"));
    ASSERT_EQ(frames.size(), 10u);
    const int litBy[] = {0, 1, 2, 2, 3, 4, 5, 5, 6, 7};
    for (std::size_t frame = 0; frame < frames.size(); ++frame)
        for (int block = 0; block < 8; ++block)
            EXPECT_EQ(frames[frame].row(4)[4 * (8 * block + 4)] > 128, block <= litBy[frame]) << "frame " << frame << ", block " << block;
}

TEST(AssetWriter, ChunksMadeInAnyOrderJoinWithoutAGap)
{
    const TemporaryFolder folder;
    for (const std::int64_t framesOfAChunk : {1, 2, 7, 30, 31, 64}) {
        SCOPED_TRACE(testing::Message() << "chunks of " << framesOfAChunk);
        const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(96, 64, 30));
        writer->startWriting();
        std::vector<FilmChunk> chunks;
        for (std::int64_t i = 0; i < 61; i += framesOfAChunk)
            chunks.insert(chunks.begin(), paintedChunk(*writer, i, std::min<std::int64_t>(framesOfAChunk, 61 - i)));
        for (auto chunk = chunks.rbegin(); chunk != chunks.rend(); ++chunk) {
            EXPECT_TRUE(chunk->pictures.front().isKey);
            EXPECT_EQ(chunk->parameters, chunks.front().parameters);
            writer->append(*chunk);
        }
        writer->finishWriting();

        const FilmReport film = probeFilm(folder.path("film.mp4"));
        EXPECT_EQ(film.declaredFrames, 61);
        EXPECT_NEAR(film.seconds, 61.0 / 30, 1e-9);
        ASSERT_EQ(film.frames(), 61);
        for (std::size_t i = 0; i < film.presentationTimes.size(); ++i)
            EXPECT_NEAR(film.presentationTimes[i], static_cast<double>(i) / 30, 1e-9);
        for (std::size_t i = 1; i < film.decodingTimes.size(); ++i)
            EXPECT_NEAR(film.decodingTimes[i] - film.decodingTimes[i - 1], 1.0 / 30, 1e-9) << i;
        forEachFrame(folder.path("film.mp4"), [&](std::int64_t index, const PixelBuffer& picture) {
            EXPECT_LT(meanChannelError(picture, paintedFrame(96, 64, index)), 3) << "frame " << index;
        });
    }
}

TEST(AssetWriter, AnEncoderMakesTheSameChunkWhateverItMadeBefore)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(160, 90));
    writer->startWriting();
    const FilmChunk alone = paintedChunk(*writer, 30, 40);
    const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
    PixelBuffer picture(160, 90);
    for (const std::int64_t firstFrame : {0, 500, 30}) {
        encoder->beginChunk(firstFrame, 40);
        // The one before the last is given up half way.
        for (std::int64_t i = 0; i < (firstFrame == 500 ? 10 : 40); ++i) {
            paintFrame(picture, firstFrame + i);
            encoder->setPicture(picture, wholeOf(picture));
            encoder->encodeFrame();
        }
        if (firstFrame == 500) continue;
        while (encoder->codeHeldFrame()) {}
        const FilmChunk chunk = encoder->takeChunk();
        if (firstFrame == 30) {
            EXPECT_TRUE(chunk == alone);
        }
    }
}

TEST(AssetWriter, AChunkThatIsCutShortHoldsAllThatWasTakenIn)
{
    const TemporaryFolder folder;
    for (const std::int64_t taken : {1, 2, 5, 29}) {
        SCOPED_TRACE(testing::Message() << taken << " frames of 30");
        const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 48, 30));
        writer->startWriting();
        const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
        PixelBuffer picture(64, 48);
        encoder->beginChunk(0, 30);
        for (std::int64_t i = 0; i < taken; ++i) {
            paintFrame(picture, i);
            encoder->setPicture(picture, wholeOf(picture));
            encoder->encodeFrame();
        }
        while (encoder->codeHeldFrame()) {}
        EXPECT_EQ(encoder->codedFrames(), taken);
        writer->append(encoder->takeChunk());
        writer->finishWriting();
        EXPECT_EQ(probeFilm(folder.path("film.mp4")).frames(), taken);
    }
}

TEST(AssetWriter, AChunkTakenEarlyEndsBeforeTheFirstGapAndPlays)
{
    const TemporaryFolder folder;
    for (const std::int64_t held : {0, 1, 2, 3, 7, 20}) {
        SCOPED_TRACE(testing::Message() << held << " of the held frames are coded");
        const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 48, 30));
        writer->startWriting();
        const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
        PixelBuffer picture(64, 48);
        encoder->beginChunk(0, 100);
        for (std::int64_t i = 0; i < 80; ++i) {
            paintFrame(picture, i);
            encoder->setPicture(picture, wholeOf(picture));
            encoder->encodeFrame();
        }
        for (std::int64_t i = 0; i < held; ++i) EXPECT_TRUE(encoder->codeHeldFrame());
        const std::int64_t coded = encoder->codedFrames();
        const FilmChunk chunk = encoder->takeChunk();
        const auto kept = static_cast<std::int64_t>(chunk.pictures.size());
        EXPECT_GT(kept, 0);
        EXPECT_LE(kept, coded);
        EXPECT_GE(kept, coded - 4); // Pictures that refer to later ones come in groups of at most four.
        writer->append(chunk);
        writer->finishWriting();

        // The bar of another frame would be off by more than 20 on the mean.
        std::int64_t frames = 0;
        forEachFrame(folder.path("film.mp4"), [&](std::int64_t index, const PixelBuffer& shown) {
            EXPECT_LT(meanChannelError(shown, paintedFrame(64, 48, index)), 6) << "frame " << index;
            ++frames;
        });
        EXPECT_EQ(frames, kept);
    }
}

TEST(AssetWriter, TheSamePicturesMakeTheSameFile)
{
    const TemporaryFolder folder;
    mustWrite(folder.path("one.mp4"), settingsFor(160, 90), 70);
    mustWrite(folder.path("two.mp4"), settingsFor(160, 90), 70);
    EXPECT_EQ(contentsOf(folder.path("one.mp4")), contentsOf(folder.path("two.mp4")));
}

TEST(AssetWriter, SettingsThatNoFilmCanHaveAreRefusedInWordsAndLeaveTheFileAlone)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("film.mp4");
    std::ofstream(path) << "an earlier film";
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    struct Case {
        std::int64_t width, height, fps;
        const char* words;
    };
    for (const Case& c :
         {Case{64, 64, 0, "A film of 0 frames a second cannot be made"},
          Case{64, 64, -30, "A film of -30 frames a second cannot be made"},
          Case{64, 64, 1'000'000'000'000, "A film of 1000000000000 frames a second cannot be made"},
          Case{0, 64, 60, "A film of 0 x 64 pixels cannot be made: both sides must be at least 2"},
          Case{64, -2, 60, "A film of 64 x -2 pixels cannot be made: both sides must be at least 2"},
          Case{1, 1, 60, "A film of 1 x 1 pixels cannot be made"},
          Case{101, 64, 60, "A film of 101 x 64 pixels cannot be made: the width must be a multiple of 2 and the height of 2"},
          Case{64, 101, 60, "A film of 64 x 101 pixels cannot be made"},
          Case{20'000, 20'000, 60, "A film of 20000 x 20000 pixels cannot be made: a picture may have at most 35651584 pixels"},
          Case{16'386, 2, 60,
               "A film of 16386 x 2 pixels cannot be made: a picture may have at most 35651584 pixels, and 16384 on a side"},
          Case{1'000'000'000, 1'000'000'000, 60, "A film of 1000000000 x 1000000000 pixels cannot be made"},
          Case{largest - 1, largest - 1, 60, "A film of 9223372036854775806 x 9223372036854775806 pixels cannot be made"}}) {
        SCOPED_TRACE(c.words);
        const std::unique_ptr<AssetWriter> writer = makeAssetWriter(path, settingsFor(c.width, c.height, c.fps));
        ASSERT_TRUE(writer);
        const std::optional<PlatformError> error = errorOf([&] { writer->startWriting(); });
        ASSERT_TRUE(error);
        EXPECT_THAT(error->localizedDescription, HasSubstr(c.words));
        EXPECT_EQ(error->domain, "POSIX");
        EXPECT_EQ(error->code, EINVAL);
    }
    EXPECT_EQ(contentsOf(path), "an earlier film");
}

TEST(AssetWriter, WhatTheEncoderRefusesIsToldInItsWords)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("film.mp4");
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(path, settingsTheEncoderRefuses());
    const std::optional<PlatformError> error = errorOf([&] { writer->startWriting(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription, "libx264 cannot make a film of 64 x 48 pixels at 60 frames a second");
    EXPECT_THAT(error->localizedFailureReason.value_or(""), HasSubstr("stately"));
    EXPECT_EQ(error->domain, "FFmpeg");
    EXPECT_LT(error->code, 0);
    ASSERT_TRUE(error->underlying);
    EXPECT_EQ(error->underlying->localizedDescription, "Invalid argument");
    EXPECT_EQ(error->underlying->domain, "POSIX");
    EXPECT_EQ(error->underlying->code, EINVAL);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(AssetWriter, TheSmallestAndOddlyShapedPicturesAreWritten)
{
    const TemporaryFolder folder;
    struct Case {
        std::int64_t width, height;
    };
    for (const Case& c : {Case{2, 2}, Case{2, 200}, Case{200, 2}, Case{34, 18}, Case{16'384, 2}}) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height);
        mustWrite(folder.path("film.mp4"), settingsFor(c.width, c.height), 3);
        const FilmReport film = probeFilm(folder.path("film.mp4"));
        EXPECT_EQ(film.width, c.width);
        EXPECT_EQ(film.height, c.height);
        EXPECT_EQ(film.frames(), 3);
    }
}

TEST(AssetWriter, APlaceThatCannotBeWrittenIsToldInTheSystemsWords)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path("file")) << "no folder";
    std::filesystem::create_directory(folder.path("folder"));
    struct Case {
        const char* name;
        int code;
        const char* words;
    };
    for (const Case& c : {Case{"nowhere/film.mp4", ENOENT, "No such file or directory"},
                          Case{"file/film.mp4", ENOTDIR, "Not a directory"}, Case{"folder", EISDIR, "Is a directory"}}) {
        SCOPED_TRACE(c.name);
        const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path(c.name), settingsFor(64, 64));
        ASSERT_TRUE(writer);
        const std::optional<PlatformError> error = errorOf([&] { writer->startWriting(); });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->localizedDescription, c.words);
        EXPECT_THAT(error->localizedFailureReason.value_or(""), HasSubstr(folder.path(c.name)));
        EXPECT_EQ(error->domain, "POSIX");
        EXPECT_EQ(error->code, c.code);
    }
}

TEST(AssetWriter, ANameWithAColonIsANameAndNoProtocol)
{
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path(""));
    mustWrite("pipe:1", settingsFor(32, 32), 2);
    std::filesystem::current_path(before);
    EXPECT_EQ(probeFilm(folder.path("pipe:1")).frames(), 2);
}

TEST(AssetWriter, AFullDiskIsToldAtSomeStepWhereverTheSpaceRunsOut)
{
    const TemporaryFolder folder;
    constexpr std::int64_t frames = 60;
    const FilmSettings settings = settingsFor(160, 90);
    mustWrite(folder.path("whole.mp4"), settings, frames);
    const std::uintmax_t whole = std::filesystem::file_size(folder.path("whole.mp4"));

    // The index grows in memory and comes last, then all is moved to make room for it at the front: the last limits strike there.
    for (const std::uintmax_t limit : {std::uintmax_t{0}, std::uintmax_t{1}, std::uintmax_t{40}, whole / 4, whole / 2,
                                       whole - 1500, whole - 600, whole - 100, whole - 1}) {
        SCOPED_TRACE(testing::Message() << limit << " of " << whole << " bytes");
        const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settings);
        const FileSizeLimit full(limit);
        const std::optional<PlatformError> error = errorOf([&] { writeFilm(*writer, frames); });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->localizedDescription, "File too large");
        EXPECT_EQ(error->domain, "POSIX");
        EXPECT_EQ(error->code, EFBIG);
    }
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settings);
    const FileSizeLimit full(whole);
    EXPECT_EQ(wordsOf([&] { writeFilm(*writer, frames); }), "no error");
}

TEST(AssetWriter, ADeviceWithoutSpaceIsToldInTheSystemsWords)
{
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter("/dev/full", settingsFor(64, 64));
    const std::optional<PlatformError> error = errorOf([&] { writeFilm(*writer, 5); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription, "No space left on device");
    EXPECT_EQ(error->domain, "POSIX");
    EXPECT_EQ(error->code, ENOSPC);
}

TEST(AssetWriter, AFilmWithoutFramesFailsToFinish)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 64));
    writer->startWriting();
    EXPECT_THAT(wordsOf([&] { writer->finishWriting(); }), HasSubstr("The film has no frames"));
}

TEST(AssetWriter, GoingAwayUnfinishedLeavesNoThreadAndNoOpenFile)
{
    const TemporaryFolder folder;
    mustWrite(folder.path("first.mp4"), settingsFor(64, 64), 2); // What the libraries set up once is set up now.
    const std::ptrdiff_t threads = runningThreads();
    const auto files = entriesOf("/proc/self/fd");
    for (const std::int64_t frames : {-1, 0, 1, 30}) {
        SCOPED_TRACE(testing::Message() << frames << " frames");
        std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(320, 180));
        if (frames >= 0) writer->startWriting();
        if (frames > 0) {
            writer->append(paintedChunk(*writer, 0, frames));
            const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
            PixelBuffer picture(320, 180);
            encoder->beginChunk(frames, frames);
            encoder->setPicture(picture, wholeOf(picture));
            encoder->encodeFrame();
        }
        writer.reset();
        EXPECT_TRUE(areThreadsBackTo(threads));
        EXPECT_EQ(entriesOf("/proc/self/fd"), files);
    }
    EXPECT_THROW(probeFilm(folder.path("film.mp4")), std::runtime_error); // It does not pass for a whole film.
}

TEST(AssetWriter, AFrameForWhichThereIsNoThreadIsRefusedAndNotWaitedFor)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 64));
    writer->startWriting();
    const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
    const PixelBuffer picture = paintedFrame(64, 64, 0);
    encoder->beginChunk(0, 2);
    encoder->setPicture(picture, wholeOf(picture));
    const NoThreads none;
    EXPECT_THAT(wordsOf([&] { encoder->encodeFrame(); }), HasSubstr("There is no thread for the encoder"));
} // Its end would wait for ever for the frame to be taken.

TEST(AssetWriter, WhatComesOutOfTurnIsRefused)
{
    const TemporaryFolder folder;
    const std::unique_ptr<AssetWriter> unbegun = makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 64));
    EXPECT_THAT(wordsOf([&] { unbegun->append({}); }), HasSubstr("The film is not being written"));
    EXPECT_THAT(wordsOf([&] { unbegun->finishWriting(); }), HasSubstr("The film is not being written"));

    struct Case {
        const char* when;
        void (*act)(AssetWriter&);
        const char* words;
    };
    for (const Case& c :
         {Case{"a frame left out",
               [](AssetWriter& w) {
                   w.append(paintedChunk(w, 0, 1));
                   w.append(paintedChunk(w, 2, 1));
               },
               "Frame 2 came where frame 1 was due"},
          Case{"a frame twice",
               [](AssetWriter& w) {
                   w.append(paintedChunk(w, 0, 1));
                   w.append(paintedChunk(w, 0, 1));
               },
               "Frame 0 came where frame 1 was due"},
          Case{"no key picture",
               [](AssetWriter& w) {
                   FilmChunk chunk = paintedChunk(w, 0, 3);
                   chunk.pictures.front().isKey = false;
                   w.append(chunk);
               },
               "What begins with frame 0 cannot be shown without what comes before"},
          Case{"other parameters",
               [](AssetWriter& w) {
                   FilmChunk chunk = paintedChunk(w, 0, 3);
                   chunk.parameters.back() ^= 1;
                   w.append(chunk);
               },
               "What begins with frame 0 was coded unlike the frames before"},
          Case{"another size",
               [](AssetWriter& w) {
                   const std::unique_ptr<ChunkEncoder> encoder = w.makeEncoder();
                   encoder->beginChunk(0, 1);
                   encoder->setPicture(PixelBuffer(62, 64), {0, 0, 62, 64});
               },
               "A picture of 62 x 64 pixels does not fit a film of 64 x 64"},
          Case{"a frame too many",
               [](AssetWriter& w) {
                   const std::unique_ptr<ChunkEncoder> encoder = w.makeEncoder();
                   const std::unique_ptr<PixelBuffer> picture = w.makePixelBuffer();
                   encoder->beginChunk(5, 1);
                   encoder->setPicture(*picture, wholeOf(*picture));
                   encoder->encodeFrame();
                   encoder->encodeFrame();
               },
               "There is no room for a frame behind frame 5"},
          Case{"begun twice", [](AssetWriter& w) { w.startWriting(); }, "The film was begun before"}}) {
        SCOPED_TRACE(c.when);
        const std::unique_ptr<AssetWriter> other = makeAssetWriter(folder.path("other.mp4"), settingsFor(64, 64));
        other->startWriting();
        EXPECT_THAT(wordsOf([&] { c.act(*other); }), HasSubstr(c.words));
    }
}

TEST(AssetWriter, AFormatThatTheLibrariesDoNotKnowGivesNoWriter)
{
    struct Case {
        const char *container, *codec, *pixelFormat;
    };
    for (const Case& c : {Case{"scroll", "libx264", "yuv420p"}, Case{"mp4", "quill", "yuv420p"}, Case{"mp4", "libx264", "marble"},
                          Case{"mp4", "libx264", "argb"}}) {
        SCOPED_TRACE(testing::Message() << c.container << " " << c.codec << " " << c.pixelFormat);
        FilmSettings settings = settingsFor(64, 64);
        settings.format.container = c.container;
        settings.format.codec = c.codec;
        settings.format.pixelFormat = c.pixelFormat;
        EXPECT_EQ(makeAssetWriter("/nowhere/film", settings), nullptr);
    }
}

TEST(AssetWriter, AnOptionThatTheLibrariesDoNotKnowIsNamed)
{
    const TemporaryFolder folder;
    FilmSettings strangeCodec = settingsFor(64, 64);
    strangeCodec.format.codecOptions.emplace_back("mood", "bright");
    FilmSettings strangeContainer = settingsFor(64, 64);
    strangeContainer.format.containerOptions.emplace_back("lid", "tight");

    const std::unique_ptr<AssetWriter> first = makeAssetWriter(folder.path("film.mp4"), strangeCodec);
    EXPECT_THAT(wordsOf([&] { first->startWriting(); }), HasSubstr("libx264 has no option \"mood\""));
    const std::unique_ptr<AssetWriter> second = makeAssetWriter(folder.path("film.mp4"), strangeContainer);
    EXPECT_THAT(wordsOf([&] { second->startWriting(); }), HasSubstr("mp4 has no option \"lid\""));
}

TEST(AssetWriter, AnotherFormatIsAMatterOfDataAlone)
{
    const TemporaryFolder folder;
    FilmSettings settings = settingsFor(64, 48, 25);
    settings.format = {
        .container = "matroska", .codec = "ffv1", .pixelFormat = "yuv444p", .maximumSide = 1000, .maximumPixels = 1'000'000};
    mustWrite(folder.path("film.mkv"), settings, 3);
    EXPECT_EQ(probeFilm(folder.path("film.mkv")).codec, "ffv1");
    forEachFrame(folder.path("film.mkv"), [&](std::int64_t index, const PixelBuffer& picture) {
        EXPECT_LT(meanChannelError(picture, paintedFrame(64, 48, index)), 1) << "frame " << index; // Lossless but for rounding.
    });
}

TEST(AssetWriter, AFormatThatKeepsAlphaGetsItsColoursUnpremultiplied)
{
    const TemporaryFolder folder;
    FilmSettings settings = settingsFor(32, 32, 25);
    settings.format = {.container = "mov",
                       .codec = "qtrle",
                       .pixelFormat = "argb",
                       .keepsAlpha = true,
                       .maximumSide = 1000,
                       .maximumPixels = 1'000'000};
    const std::unique_ptr<AssetWriter> writer = makeAssetWriter(folder.path("film.mov"), settings);
    ASSERT_TRUE(writer);
    writer->startWriting();
    const std::unique_ptr<PixelBuffer> picture = writer->makePixelBuffer();
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) {
            const std::uint8_t halfRed[4] = {0, 32, 64, 128};
            std::copy_n(x < 16 ? halfRed : std::array<std::uint8_t, 4>{}.data(), 4, picture->row(y) + x * 4);
        }
    const std::unique_ptr<ChunkEncoder> encoder = writer->makeEncoder();
    encoder->beginChunk(0, 1);
    encoder->setPicture(*picture, wholeOf(*picture));
    encoder->encodeFrame();
    while (encoder->codeHeldFrame()) {}
    writer->append(encoder->takeChunk());
    writer->finishWriting();

    const std::vector<PixelBuffer> frames = decodedFrames(folder.path("film.mov"));
    ASSERT_EQ(frames.size(), 1u);
    const auto pixel = [&](int x) { return std::vector<int>(frames[0].row(5) + x * 4, frames[0].row(5) + x * 4 + 4); };
    EXPECT_THAT(pixel(3), testing::ElementsAre(0, 64, 128, 128)); // 32 * 255 / 128 = 63.75, 64 * 255 / 128 = 127.5
    EXPECT_THAT(pixel(20), testing::ElementsAre(0, 0, 0, 0));
}

TEST(AssetWriter, NothingIsEverPrinted)
{
    const TemporaryFolder folder;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string written = wordsOf([&] { writeFilm(*makeAssetWriter(folder.path("film.mp4"), settingsFor(64, 64)), 5); });
    const auto refused = errorOf([&] { makeAssetWriter(folder.path("film.mp4"), settingsTheEncoderRefuses())->startWriting(); });
    const auto failed = errorOf([&] { makeAssetWriter(folder.path("nowhere/film.mp4"), settingsFor(64, 64))->startWriting(); });
    const std::string output = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    EXPECT_EQ(written, "no error");
    EXPECT_TRUE(refused && failed);
    EXPECT_EQ(output, "");
}

} // namespace
} // namespace larkspool
