#include "platform/composition_export.h"

#include "platform/video_decoder.h"
#include "support/film_probe.h"
#include "support/sound_probe.h"
#include "support/test_media.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <functional>
#include <random>

#include <sys/resource.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

/// Sound by a rule: the amplitude of each frame, for a number of frames.
class ToldSound final : public SampleStream {
public:
    ToldSound(std::int64_t frames, std::function<float(std::int64_t)> amplitude) : left_(frames), amplitude_(std::move(amplitude))
    {}

    std::size_t read(std::span<float> samples) override
    {
        const std::int64_t count = std::min(static_cast<std::int64_t>(samples.size() / channels), left_);
        for (std::int64_t i = 0; i < count; ++i)
            samples[2 * static_cast<std::size_t>(i)] = samples[2 * static_cast<std::size_t>(i) + 1] = amplitude_(position_++);
        left_ -= count;
        return static_cast<std::size_t>(count);
    }

private:
    std::int64_t left_;
    std::int64_t position_ = 0;
    std::function<float(std::int64_t)> amplitude_;
};

ToldSound clickAt(std::int64_t frames, std::int64_t place)
{
    return {frames, [place](std::int64_t frame) { return frame == place ? 0.9F : 0.0F; }};
}

ToldSound noise(std::int64_t frames)
{
    return {frames,
            [random = std::minstd_rand(1)](std::int64_t) mutable { return static_cast<float>(random() % 2000) / 2000 - 0.5F; }};
}

/// A film with pictures that are coded out of their order, as the exporters write it.
void makeSilentFilm(const std::string& path, int frames, int fps)
{
    makeMedia(path, countingSource(frames, fps) + " -c:v libx264 -bf 3 -movflags +faststart");
}

/// The packets of the picture track: times, lengths, sizes and a hash of each.
std::string packets(const std::string& film)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("packets"), fmt::format("-i '{}' -map 0:v -c copy -f framemd5", film));
    const std::vector<std::uint8_t> text = fileBytes(folder.path("packets"));
    return {text.begin(), text.end()};
}

std::string probe(const std::string& path, const std::string& entries)
{
    const TemporaryFolder folder;
    const std::string out = folder.path("told");
    const std::string command =
        fmt::format("ffprobe -v error -select_streams a -show_entries {} -of csv=p=0 '{}' >'{}'", entries, path, out);
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::vector<std::uint8_t> text = fileBytes(out);
    return {text.begin(), text.end()};
}

ExportSession::Status join(const std::string& film, SampleStream* sound, const std::string& path)
{
    const auto composition = openComposition(film);
    const auto session = composition->exportSession(path, sound);
    session->run({});
    return session->status();
}

TEST(Composition, PicturesAreCarriedOverPacketByPacket)
{
    const TemporaryFolder folder;
    for (const int fps : {24, 25, 30, 60, 7}) {
        SCOPED_TRACE(fps);
        makeSilentFilm(folder.path("silent.mp4"), 2 * fps + 1, fps);
        ToldSound sound = noise(48'000);
        ASSERT_EQ(join(folder.path("silent.mp4"), &sound, folder.path("film.mp4")), ExportSession::Status::completed);
        EXPECT_EQ(packets(folder.path("film.mp4")), packets(folder.path("silent.mp4")));
        const FilmReport before = probeFilm(folder.path("silent.mp4")), after = probeFilm(folder.path("film.mp4"));
        EXPECT_EQ(after.presentationTimes, before.presentationTimes);
        EXPECT_NEAR(after.seconds, (2 * fps + 1.0) / fps, 1e-6);
        EXPECT_TRUE(after.hasAudio);
        EXPECT_TRUE(after.indexAtFront);
    }
}

TEST(Composition, SoundStandsToTheSampleWhereItWasGiven)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 90, 30);
    for (const std::int64_t place : {0, 1, 1'023, 1'024, 1'025, 47'999, 100'003}) {
        SCOPED_TRACE(place);
        ToldSound sound = clickAt(120'000, place);
        ASSERT_EQ(join(folder.path("silent.mp4"), &sound, folder.path("film.mp4")), ExportSession::Status::completed);
        EXPECT_NEAR(static_cast<double>(loudestFrame(decodedSound(folder.path("film.mp4")).left)), static_cast<double>(place), 1);
    }
}

TEST(Composition, SoundEndsWhereItWasGivenToEnd)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 90, 30);
    for (const std::int64_t frames : {1, 1'024, 59'256, 144'000}) { // 59,256 frames are 1.2345 seconds.
        SCOPED_TRACE(frames);
        ToldSound sound = noise(frames);
        ASSERT_EQ(join(folder.path("silent.mp4"), &sound, folder.path("film.mp4")), ExportSession::Status::completed);
        EXPECT_NEAR(std::stod(probe(folder.path("film.mp4"), "stream=duration")), static_cast<double>(frames) / 48'000, 1e-6);
        EXPECT_NEAR(probeFilm(folder.path("film.mp4")).fileSeconds, 3, 1e-5);
    }
}

TEST(Composition, SoundIsStereoAACOf128KilobitsASecond)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 150, 30);
    ToldSound sound = noise(5 * 48'000);
    ASSERT_EQ(join(folder.path("silent.mp4"), &sound, folder.path("film.mp4")), ExportSession::Status::completed);
    EXPECT_EQ(probe(folder.path("film.mp4"), "stream=codec_name,sample_rate,channels"), "aac,48000,2\n");
    EXPECT_GT(std::stod(probe(folder.path("film.mp4"), "stream=bit_rate")), 125'000);
}

TEST(Composition, WithoutSoundThereIsNoSoundTrack)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 20, 30);
    ASSERT_EQ(join(folder.path("silent.mp4"), nullptr, folder.path("film.mp4")), ExportSession::Status::completed);
    EXPECT_FALSE(probeFilm(folder.path("film.mp4")).hasAudio);
    EXPECT_EQ(packets(folder.path("film.mp4")), packets(folder.path("silent.mp4")));
}

TEST(Composition, TheTurnOfThePicturesIsKept)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("upright.mp4"), 10, 30);
    makeMedia(folder.path("turned.mp4"), fmt::format("-i '{}' -c copy -metadata:s:v:0 rotate=90", folder.path("upright.mp4")));
    ASSERT_FALSE(VideoDecoder::open(folder.path("turned.mp4"))->orientation() == FrameOrientation{});
    ToldSound sound = noise(4'800);
    ASSERT_EQ(join(folder.path("turned.mp4"), &sound, folder.path("film.mp4")), ExportSession::Status::completed);
    EXPECT_TRUE(VideoDecoder::open(folder.path("film.mp4"))->orientation() ==
                VideoDecoder::open(folder.path("turned.mp4"))->orientation());
}

TEST(Composition, WhatHasNoPicturesIsNone)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("sound.m4a"), clickInput(48'000, 1, 0.5));
    writeFile(folder.path("text.mp4"), "film");
    for (const char* name : {"sound.m4a", "text.mp4", "nothing.mp4"})
        EXPECT_EQ(openComposition(folder.path(name)), nullptr) << name;
}

TEST(Composition, ProgressRisesFromNothingToAll)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 60, 30);
    ToldSound sound = noise(96'000);
    std::vector<double> told;
    const auto composition = openComposition(folder.path("silent.mp4"));
    EXPECT_DOUBLE_EQ(composition->duration(), 2);
    const auto session = composition->exportSession(folder.path("film.mp4"), &sound);
    EXPECT_EQ(session->status(), ExportSession::Status::waiting);
    session->run([&](double part) { told.push_back(part); });
    ASSERT_GT(told.size(), 100u);
    EXPECT_LT(told.front(), 0.05);
    EXPECT_GT(told.back(), 0.95);
    for (const double part : told) EXPECT_TRUE(part >= 0 && part <= 1);
    EXPECT_LT(*std::min_element(told.begin() + static_cast<std::ptrdiff_t>(told.size() / 2), told.end()), 0.6);
    EXPECT_GT(*std::min_element(told.begin() + static_cast<std::ptrdiff_t>(told.size() / 2), told.end()), 0.4);
}

/// No file of this process grows beyond so many bytes: the system refuses the write, as it does on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limited{.rlim_cur = bytes, .rlim_max = before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_{};
    void (*handler_)(int) = nullptr;
};

TEST(Composition, AFullDiskIsToldWhereverTheSpaceRunsOut)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 60, 30);
    ToldSound first = noise(96'000);
    ASSERT_EQ(join(folder.path("silent.mp4"), &first, folder.path("film.mp4")), ExportSession::Status::completed);
    const std::uintmax_t whole = std::filesystem::file_size(folder.path("film.mp4"));
    for (const std::uintmax_t limit : {std::uintmax_t{0}, std::uintmax_t{40}, whole / 2, whole - 600, whole - 1}) {
        SCOPED_TRACE(testing::Message() << limit << " of " << whole << " bytes");
        ToldSound sound = noise(96'000);
        const auto composition = openComposition(folder.path("silent.mp4"));
        const auto session = composition->exportSession(folder.path("film.mp4"), &sound);
        const FileSizeLimit full(limit);
        session->run({});
        EXPECT_EQ(session->status(), ExportSession::Status::failed);
        ASSERT_TRUE(session->error());
        EXPECT_EQ(session->error()->localizedDescription, "File too large");
    }
}

TEST(Composition, AFolderThatIsNotThereFailsTheSession)
{
    const TemporaryFolder folder;
    makeSilentFilm(folder.path("silent.mp4"), 5, 30);
    const auto composition = openComposition(folder.path("silent.mp4"));
    const auto session = composition->exportSession(folder.path("nowhere/film.mp4"), nullptr);
    session->run({});
    EXPECT_EQ(session->status(), ExportSession::Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->localizedDescription, "No such file or directory");
}

} // namespace
} // namespace larkspool
