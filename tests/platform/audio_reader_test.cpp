#include "platform/audio_reader.h"

#include "support/sound_probe.h"
#include "support/test_media.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

#include <sys/stat.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Kind = AudioError::Kind;

/// A millisecond, in frames.
constexpr double millisecond = 48;

std::vector<float> leftOf(const std::vector<float>& samples, std::size_t frames)
{
    std::vector<float> left(frames);
    for (std::size_t i = 0; i < frames; ++i) left[i] = samples[2 * i];
    return left;
}

/// Both sides, by turns, from `from` on; at most `frames` frames.
std::vector<float> readFrom(AudioReader& reader, std::int64_t from, std::size_t frames)
{
    reader.seek(from);
    std::vector<float> samples(2 * frames);
    samples.resize(2 * reader.read(samples));
    return samples;
}

std::vector<float> readAll(AudioReader& reader)
{
    std::vector<float> all, block(2 * 4096);
    reader.seek(0);
    while (const std::size_t count = reader.read(block))
        all.insert(all.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(2 * count));
    return all;
}

struct Format {
    const char* name;
    int rate;
    const char* layout;
    const char* arguments;
};

constexpr Format formats[] = {
    {"48.wav", 48'000, "mono", ""},
    {"44.wav", 44'100, "stereo", ""},
    {"8.wav", 8'000, "mono", ""},
    {"192.wav", 192'000, "stereo", "-c:a pcm_s24le"},
    {"float.wav", 96'000, "stereo", "-c:a pcm_f32le"},
    {"surround.wav", 48'000, "5.1", ""},
    {"constant.mp3", 44'100, "stereo", "-b:a 192k"},
    {"variable.mp3", 48'000, "stereo", "-q:a 3"},
    {"low.mp3", 8'000, "mono", "-b:a 16k"},
    {"44.m4a", 44'100, "stereo", "-b:a 192k"},
    {"surround.m4a", 48'000, "5.1", "-b:a 384k"},
    {"44.flac", 44'100, "stereo", ""},
    {"192.flac", 192'000, "mono", ""},
    {"44.ogg", 44'100, "stereo", "-c:a libvorbis -q:a 6"},
    {"48.opus", 48'000, "stereo", "-c:a libopus -b:a 128k"},
    {"44.aiff", 44'100, "stereo", ""},
};

TEST(AudioReader, AClickIsWhereItIsInEveryFormat)
{
    const TemporaryFolder folder;
    for (const Format& format : formats) {
        SCOPED_TRACE(format.name);
        const std::string path = folder.path(format.name);
        makeMedia(path, clickInput(format.rate, 2, 1.25, format.layout) + " " + format.arguments);
        const auto reader = AudioReader::open(path);
        const std::vector<float> all = readAll(*reader);
        const std::vector<float> left = leftOf(all, all.size() / 2);
        EXPECT_NEAR(static_cast<double>(loudestFrame(left)), 1.25 * 48'000, millisecond / 2);
        EXPECT_NEAR(static_cast<double>(left.size()), 2 * 48'000, 0.05 * 48'000); // A codec may end with a packet's rest.
        EXPECT_NEAR(reader->duration(1e9), 2, 0.05);
    }
}

TEST(AudioReader, SoundIsTheSameFromWhereverReadingBegan)
{
    const TemporaryFolder folder;
    for (const Format& format : formats) {
        const std::string path = folder.path(format.name);
        makeMedia(path, clickInput(format.rate, 4, 2.5, format.layout) + " " + format.arguments);
        const auto reader = AudioReader::open(path);
        const std::vector<float> all = readAll(*reader);
        for (const std::int64_t from : {100'000, 0, 1, 119'000, 60'001, 47'999, 150'007}) {
            SCOPED_TRACE(testing::Message() << format.name << " from " << from);
            const std::vector<float> part = readFrom(*reader, from, 2'000);
            ASSERT_EQ(part.size(), 4'000u);
            float farthest = 0;
            for (std::size_t i = 0; i < part.size(); ++i)
                farthest = std::max(farthest, std::abs(part[i] - all[2 * static_cast<std::size_t>(from) + i]));
            EXPECT_LT(farthest, 1e-4F);
        }
    }
}

TEST(AudioReader, EveryChannelReachesItsSideAtItsLevel)
{
    // Each channel alone, at half of full scale. Six channels: what stands at a side reaches it with 1, the centre and the back
    // with the square root of a half, all divided by their sum; the low frequencies are left out.
    const double share = 1 / (1 + std::sqrt(2.0));
    struct Case {
        const char* what;
        const char* layout;
        const char* channels;
        double left, right;
    };
    for (const Case& c :
         {Case{"one channel is heard in full on both sides", "mono", "0.5", 0.5, 0.5}, Case{"left", "stereo", "0.5|0", 0.5, 0},
          Case{"right", "stereo", "0|0.5", 0, 0.5}, Case{"front left of six", "5.1", "0.5|0|0|0|0|0", 0.5 * share, 0},
          Case{"front right of six", "5.1", "0|0.5|0|0|0|0", 0, 0.5 * share},
          Case{"centre of six", "5.1", "0|0|0.5|0|0|0", 0.5 * share * std::sqrt(0.5), 0.5 * share * std::sqrt(0.5)},
          Case{"low frequencies of six", "5.1", "0|0|0|0.5|0|0", 0, 0},
          Case{"back right of six", "5.1", "0|0|0|0|0|0.5", 0, 0.5 * share * std::sqrt(0.5)},
          Case{"six at full scale stay within it", "5.1", "1|1|1|1|1|1", 1, 1}}) {
        SCOPED_TRACE(c.what);
        const TemporaryFolder folder;
        makeMedia(folder.path("sound.wav"),
                  fmt::format("-f lavfi -i \"aevalsrc=exprs={}:s=48000:d=0.1:c={}\" -c:a pcm_f32le", c.channels, c.layout));
        const auto reader = AudioReader::open(folder.path("sound.wav"));
        const std::vector<float> sound = readFrom(*reader, 2'000, 1);
        ASSERT_EQ(sound.size(), 2u);
        EXPECT_NEAR(sound[0], c.left, 1e-4);
        EXPECT_NEAR(sound[1], c.right, 1e-4);
    }
}

TEST(AudioReader, BeforeTheBeginningThereIsSilenceAndAfterTheEndNothing)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("sound.wav"), "-f lavfi -i \"aevalsrc=exprs=0.25:s=48000:d=0.5\" -c:a pcm_f32le");
    const auto reader = AudioReader::open(folder.path("sound.wav"));
    const std::vector<float> early = readFrom(*reader, -3, 5);
    EXPECT_THAT(leftOf(early, 5), testing::ElementsAre(0, 0, 0, 0.25F, 0.25F));
    EXPECT_EQ(readFrom(*reader, 24'000 - 2, 10).size(), 4u);
    EXPECT_TRUE(readFrom(*reader, 24'000, 10).empty());
    EXPECT_TRUE(readFrom(*reader, std::int64_t{1} << 50, 10).empty());
    EXPECT_EQ(readFrom(*reader, 0, 10).size(), 20u); // The end is not for ever.
}

TEST(AudioReader, ATrackThatBeginsLateIsSilentUntilThen)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("film.mov"), countingSource(60) + " -itsoffset 0.5 " + clickInput(48'000, 1, 0.25) +
                                           " -map 0:v -map 1:a -c:v libx264 -c:a pcm_s16le");
    const auto reader = AudioReader::open(folder.path("film.mov"));
    const std::vector<float> all = readAll(*reader);
    const std::vector<float> left = leftOf(all, all.size() / 2);
    EXPECT_EQ(level(left, 0, 0.49), 0);
    EXPECT_NEAR(static_cast<double>(loudestFrame(left)), 0.75 * 48'000, millisecond / 2);
    EXPECT_NEAR(reader->duration(1e9), 2, 0.01); // Of the file, whose pictures last longer.
}

TEST(AudioReader, AGapInTheTrackStaysAGap)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("sound.mkv"), clickInput(48'000, 3, 2.5) + " -af \"aselect='not(between(t,1,1.5))'\" -c:a pcm_s16le");
    const auto reader = AudioReader::open(folder.path("sound.mkv"));
    const std::vector<float> all = readAll(*reader);
    const std::vector<float> left = leftOf(all, all.size() / 2);
    EXPECT_GT(level(left, 0.5, 0.9), 0.01);
    EXPECT_EQ(level(left, 1.1, 1.4), 0);
    EXPECT_NEAR(static_cast<double>(loudestFrame(left)), 2.5 * 48'000, millisecond);
}

TEST(AudioReader, WhatCannotBeReadIsToldByItsKind)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("silent.mp4"), countingSource(5) + " -c:v libx264");
    writeFile(folder.path("text.mp3"), "This is no sound at all, and nobody can make it one.");
    writeFile(folder.path("empty.wav"), "");
    writeFile(folder.path("list.m3u8"), "#EXTM3U\n#EXTINF:1,\nsilent.mp4\n");
    writeFile(folder.path("list.ffconcat"), "ffconcat version 1.0\nfile silent.mp4\n");
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    struct Case {
        const char* name;
        Kind kind;
    };
    for (const Case& c :
         {Case{"nothing.wav", Kind::unreadable}, Case{"", Kind::unreadable}, Case{"text.mp3", Kind::unreadable},
          Case{"empty.wav", Kind::unreadable}, Case{"list.m3u8", Kind::unreadable}, Case{"list.ffconcat", Kind::unreadable},
          Case{"pipe", Kind::unreadable}, Case{"silent.mp4", Kind::noSoundTrack}}) {
        SCOPED_TRACE(c.name);
        try {
            AudioReader::open(folder.path(c.name));
            ADD_FAILURE() << "it was opened";
        } catch (const AudioError& error) {
            EXPECT_EQ(error.kind(), c.kind);
            EXPECT_THAT(error.what(), testing::HasSubstr(folder.path(c.name)));
        }
    }
    EXPECT_THROW(AudioReader::open("http://localhost/sound.mp3"), AudioError);
    EXPECT_THROW(AudioReader::open("pipe:0"), AudioError);
}

/// A WAV file of one channel of 8 bits and 8000 Hz whose samples are a hole in the file.
void writeDayOfSilence(const std::string& path, std::uint32_t seconds)
{
    const std::uint32_t samples = seconds * 8'000;
    std::string head;
    const auto number = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) head += static_cast<char>(value >> (8 * i));
    };
    head += "RIFF", number(36 + samples, 4), head += "WAVE";
    head += "fmt ", number(16, 4), number(1, 2), number(1, 2), number(8'000, 4), number(8'000, 4), number(1, 2), number(8, 2);
    head += "data", number(samples, 4);
    writeFile(path, head);
    std::filesystem::resize_file(path, head.size() + samples);
}

TEST(AudioReader, OfADayLongFileOnlyWhatIsAskedForIsDecoded)
{
    const TemporaryFolder folder;
    constexpr std::uint32_t day = 24 * 60 * 60;
    writeDayOfSilence(folder.path("day.wav"), day);
    const auto reader = AudioReader::open(folder.path("day.wav"));
    EXPECT_NEAR(reader->duration(1e9), day, 0.001);
    EXPECT_EQ(readFrom(*reader, std::int64_t{day - 3600} * 48'000, 48'000).size(), 2u * 48'000);
    EXPECT_LE(reader->work().decodedFrames, 3 * 8'000); // A second of run-up, the second itself, and the rest of a packet.
}

TEST(AudioReader, ALengthThatNoHeaderTellsIsMeasuredNoFurtherThanAskedFor)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("bare.mp3"), clickInput(44'100, 20, 0.25) + " -b:a 64k -write_xing 0 -id3v2_version 0");
    const auto reader = AudioReader::open(folder.path("bare.mp3"));
    const std::vector<float> before = readFrom(*reader, 12'345, 100);
    EXPECT_GE(reader->duration(3), 3);
    EXPECT_LT(reader->duration(3), 4);
    EXPECT_NEAR(reader->duration(1e9), 20, 0.1);
    EXPECT_LT(reader->work().decodedFrames, 2 * 44'100);
    EXPECT_EQ(readFrom(*reader, 12'345, 100), before); // Measuring leaves no trace.
}

TEST(AudioReader, MeasuringKeepsTheReadersPlace)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("bare.mp3"), clickInput(44'100, 3, 1.0) + " -b:a 64k -write_xing 0");
    const auto undisturbed = AudioReader::open(folder.path("bare.mp3"));
    const auto measured = AudioReader::open(folder.path("bare.mp3"));
    std::vector<float> a(2 * 30'000), b(2 * 30'000);
    ASSERT_EQ(undisturbed->read(a), measured->read(b));
    measured->duration(1e9);
    ASSERT_EQ(undisturbed->read(a), measured->read(b));
    for (std::size_t i = 0; i < a.size(); ++i) ASSERT_NEAR(a[i], b[i], 1e-4) << i;
}

TEST(AudioReader, BrokenFilesGiveSoundOrAnErrorAndNothingElse)
{
    const TemporaryFolder folder;
    std::mt19937 random(7);
    for (const char* name : {"a.mp3", "a.m4a", "a.flac", "a.ogg", "a.wav"}) {
        makeMedia(folder.path(name), clickInput(44'100, 1, 0.5));
        const std::vector<std::uint8_t> whole = fileBytes(folder.path(name));
        for (int round = 0; round < 25; ++round) {
            SCOPED_TRACE(testing::Message() << name << ", round " << round);
            std::vector<std::uint8_t> bytes = whole;
            if (round % 5 == 0) bytes.resize(bytes.size() * static_cast<std::size_t>(round) / 25);
            const std::size_t reach =
                round % 2 ? bytes.size() : std::min<std::size_t>(bytes.size(), 400); // All over, or the head.
            for (int i = 0; i < round && reach > 0; ++i) bytes[random() % reach] = static_cast<std::uint8_t>(random());
            writeFile(folder.path("broken"), bytes);
            try {
                const auto reader = AudioReader::open(folder.path("broken"));
                reader->duration(10);
                for (const std::int64_t from : {0, 30'000, 1'000'000}) readFrom(*reader, from, 48'000);
            } catch (const AudioError&) {
                continue;
            }
        }
    }
}

} // namespace
} // namespace larkspool
