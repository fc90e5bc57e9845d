#include "export/audio_mix.h"

#include "export/told_source.h"
#include "platform/audio_reader.h"
#include "support/film_probe.h"
#include "support/sound_probe.h"
#include "support/test_media.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Exporter::AudioMixer;
using Exporter::ExportAudio;
using Exporter::ExportError;
using Exporter::MixTrack;
using Exporter::PlacedSound;
using Exporter::SoundServices;
using Exporter::VideoAudioClip;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(BedPlace, LengthIsTheLeastOfFilmSourceAndWishAndMoreThanAHundredth)
{
    struct Case {
        const char* what;
        double startOffset, duration, source, film, length;
    };
    for (const Case& c :
         {Case{"the wish", 0, 4, 10, 10, 4}, Case{"the film", 0, 20, 30, 10, 10}, Case{"the source", 0, 20, 3, 10, 3},
          Case{"what is left of the source", 2, 20, 3, 10, 1}, Case{"an offset at the end", 3, 20, 3, 10, 0},
          Case{"an offset past the end", 5, 20, 3, 10, 0}, Case{"a hundredth is too little", 0, 0.01, 3, 10, 0},
          Case{"a little more is not", 0, 0.0101, 3, 10, 0.0101}, Case{"a negative wish", 0, -1, 3, 10, 0},
          Case{"no number to begin at", notANumber, 1, 3, 10, 0}, Case{"no number for a length", 0, notANumber, 3, 10, 0},
          Case{"no number from the source", 0, 4, notANumber, 10, 0}}) {
        SCOPED_TRACE(c.what);
        const PlacedSound placed =
            Exporter::placeBed({.startOffset = c.startOffset, .duration = c.duration, .volume = 0.5F}, c.source, c.film);
        EXPECT_DOUBLE_EQ(placed.length, c.length);
        EXPECT_EQ(placed.outputStart, 0);
        EXPECT_TRUE(placed.sourceStart == c.startOffset || std::isnan(c.startOffset));
        EXPECT_EQ(placed.volume, 0.5F); // It stands even where nothing is heard.
    }
}

TEST(BedPlace, TheFadeEndsWithTheSoundOrIsDropped)
{
    struct Case {
        const char* what;
        double fade, source, film;
        std::optional<double> start;
    };
    for (const Case& c :
         {Case{"none", 0, 10, 10, std::nullopt}, Case{"a second of the film", 1, 20, 10, 9.0},
          Case{"a second of a shorter source", 1, 3, 10, 2.0}, Case{"as long as the sound", 3, 3, 10, std::nullopt},
          Case{"longer than the sound", 4, 3, 10, std::nullopt}, Case{"a little shorter", 2.5, 3, 10, 0.5},
          Case{"negative", -1, 3, 10, std::nullopt}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Exporter::placeBed({.duration = 50, .fadeOutLast = c.fade}, c.source, c.film).fadeStart, c.start);
    }
}

TEST(ClipPlace, LengthIsTheLeastOfSourceWishAndRoomAndAtLeastAHundredth)
{
    struct Case {
        const char* what;
        double outputStart, sourceStart, duration, source, film, length;
    };
    for (const Case& c :
         {Case{"the wish", 1, 0, 4, 10, 10, 4}, Case{"the room in the film", 8, 0, 4, 10, 10, 2},
          Case{"the source", 1, 0, 4, 3, 10, 3}, Case{"what is left of the source", 1, 2, 4, 3, 10, 1},
          Case{"a start at the film's end", 10, 0, 4, 10, 10, 0}, Case{"a start after it", 11, 0, 4, 10, 10, 0},
          Case{"a start past the source", 1, 4, 4, 3, 10, 0}, Case{"a hundredth is enough", 1, 0, 0.01, 3, 10, 0.01},
          Case{"less is not", 1, 0, 0.0099, 3, 10, 0}, Case{"no number to stand at", notANumber, 0, 1, 3, 10, 0},
          Case{"no number to begin at", 1, notANumber, 1, 3, 10, 0},
          Case{"no number for a length", 1, 0, notANumber, 3, 10, 0}}) {
        SCOPED_TRACE(c.what);
        const std::optional<PlacedSound> placed = Exporter::placeClip(
            {.outputStart = c.outputStart, .sourceStart = c.sourceStart, .duration = c.duration, .volume = 0.25F}, c.source,
            c.film);
        ASSERT_EQ(placed.has_value(), c.length > 0);
        if (!placed) continue;
        EXPECT_EQ(*placed,
                  (PlacedSound{.outputStart = c.outputStart, .sourceStart = c.sourceStart, .length = c.length, .volume = 0.25F}));
    }
}

MixTrack track(PlacedSound sound, double seconds, ToldSource::Amplitude amplitude)
{
    return {sound, [=] { return std::make_unique<ToldSource>(seconds, amplitude); }};
}

MixTrack constantTrack(PlacedSound sound, float amplitude, double seconds = 100)
{
    return track(sound, seconds, [amplitude](std::int64_t) { return amplitude; });
}

std::vector<float> mixed(std::vector<MixTrack> tracks, std::size_t piece = 1000)
{
    AudioMixer mixer(std::move(tracks));
    std::vector<float> left = leftOfAll(mixer, piece);
    EXPECT_EQ(static_cast<std::int64_t>(left.size()), mixer.frames());
    return left;
}

std::size_t at(double seconds)
{
    return static_cast<std::size_t>(std::lround(seconds * 48'000));
}

TEST(AudioMixer, TracksAreSummedAtTheirPlacesAndGains)
{
    const std::vector<float> sum =
        mixed({constantTrack({.length = 1, .volume = 0.5F}, 0.5F), constantTrack({.outputStart = 0.5, .length = 1}, 0.125F),
               constantTrack({.outputStart = 0.5, .length = 0.25, .volume = 2}, 0.25F)});
    struct Case {
        double from, to;
        float amplitude;
    };
    for (const Case& c :
         {Case{0, 0.5, 0.25F}, Case{0.5, 0.75, 0.25F + 0.125F + 0.5F}, Case{0.75, 1, 0.25F + 0.125F}, Case{1, 1.5, 0.125F}})
        for (std::size_t i = at(c.from); i < at(c.to); ++i) ASSERT_EQ(sum[i], c.amplitude) << i;
    EXPECT_EQ(sum.size(), at(1.5));
}

TEST(AudioMixer, FramesComeFromTheirPlaceInTheSourceWhateverThePieces)
{
    const auto tell = [](std::int64_t frame) { return static_cast<float>(frame); };
    for (const std::size_t piece : {1u, 999u, 5'000u, 100'000u}) {
        const std::vector<float> sum = mixed({track({.outputStart = 0.1, .sourceStart = 0.25, .length = 0.05}, 10, tell)}, piece);
        ASSERT_EQ(sum.size(), at(0.15));
        for (std::size_t i = 0; i < at(0.1); ++i) ASSERT_EQ(sum[i], 0);
        for (std::size_t i = at(0.1); i < at(0.15); ++i) ASSERT_EQ(sum[i], static_cast<float>(at(0.25) + i - at(0.1)));
    }
}

TEST(AudioMixer, WhatLiesBeforeTheFilmIsNotHeardAndWhatLiesBeforeTheSourceIsSilent)
{
    const auto tell = [](std::int64_t frame) { return 1.0F + static_cast<float>(frame); };
    const std::vector<float> early = mixed({track({.outputStart = -0.5, .length = 1}, 10, tell)});
    ASSERT_EQ(early.size(), at(0.5));
    EXPECT_EQ(early[0], 24'001);
    const std::vector<float> before = mixed({track({.sourceStart = -0.25, .length = 1}, 10, tell)});
    EXPECT_EQ(before[at(0.25) - 1], 0);
    EXPECT_EQ(before[at(0.25)], 1);
}

TEST(AudioMixer, AFadeFallsInAStraightLineToTheEndOfTheSound)
{
    const std::vector<float> sum = mixed({constantTrack({.length = 3, .volume = 0.8F, .fadeStart = 2}, 1)});
    struct Case {
        double time, gain;
    };
    for (const Case& c : {Case{0, 0.8}, Case{1.9, 0.8}, Case{2, 0.8}, Case{2.25, 0.6}, Case{2.5, 0.4}, Case{2.75, 0.2}})
        EXPECT_NEAR(sum[at(c.time)], c.gain, 1e-4) << c.time;
    EXPECT_NEAR(sum.back(), 0, 1e-4);
}

TEST(AudioMixer, ASourceThatEndsEarlyOrCannotBeOpenedIsSilent)
{
    const std::vector<float> sum =
        mixed({constantTrack({.length = 2}, 0.5F, /*seconds=*/1), MixTrack{{.length = 2}, [] { return nullptr; }},
               MixTrack{{.length = 2},
                        []() -> std::unique_ptr<SampleSource> { throw AudioError(AudioError::Kind::unreadable, "gone"); }}});
    ASSERT_EQ(sum.size(), at(2));
    EXPECT_EQ(sum[at(1) - 1], 0.5F);
    EXPECT_EQ(sum[at(1)], 0);
}

TEST(AudioMixer, NoSampleAndNoVolumeOfAnyFileSpoilsTheSum)
{
    constexpr float infinite = std::numeric_limits<float>::infinity();
    for (const float amplitude : {std::numeric_limits<float>::quiet_NaN(), infinite, -infinite, 3e38F})
        for (const float volume : {1.0F, -1.0F, infinite, std::numeric_limits<float>::quiet_NaN()})
            for (const float sample : mixed(
                     {constantTrack({.length = 0.02, .volume = volume}, amplitude), constantTrack({.length = 0.02}, amplitude)}))
                ASSERT_TRUE(std::isfinite(sample));
}

TEST(AudioMixer, NothingThatIsHeardMakesNoFrames)
{
    EXPECT_TRUE(mixed({}).empty());
    EXPECT_TRUE(mixed({constantTrack({.length = 0}, 1)}).empty());
}

TEST(AudioMixer, SourcesAreOpenWhileTheyAreHeardAlone)
{
    struct Counted final : SampleSource {
        explicit Counted(int& open) : open_(open) { ++open_; }
        ~Counted() override { --open_; }
        double duration(double) override { return 100; }
        void seek(std::int64_t) override {}
        std::size_t read(std::span<float> samples) override { return samples.size() / channels; }
        int& open_;
    };
    int open = 0, most = 0;
    std::vector<MixTrack> tracks;
    for (int i = 0; i < 50; ++i)
        tracks.push_back({{.outputStart = i * 0.1, .length = 0.1}, [&] { return std::make_unique<Counted>(open); }});
    AudioMixer mixer(std::move(tracks));
    std::vector<float> block(2 * 480);
    while (mixer.read(block) > 0) most = std::max(most, open);
    EXPECT_EQ(open, 0);
    EXPECT_LE(most, 1);
}

// Laying sound beside a film, with the system's part played by this.

struct FakeSession final : ExportSession {
    FakeSession(Status status, std::optional<PlatformError> error) : status_(status), error_(std::move(error)) {}

    void run(const std::function<void(double)>& progress) override
    {
        for (const double part : {-1.0, 0.5, 2.0}) progress(part);
    }
    Status status() const override { return status_; }
    std::optional<PlatformError> error() const override { return error_; }

    Status status_;
    std::optional<PlatformError> error_;
};

struct FakeComposition final : Composition {
    double duration() const override { return 4; }
    std::unique_ptr<ExportSession> exportSession(const std::string& path, SampleStream* given) override
    {
        if (!makesSession) return nullptr;
        writeFile(path, "film with sound");
        if (given && heard) *heard = leftOfAll(*given);
        return std::make_unique<FakeSession>(status, error);
    }

    bool makesSession = true;
    ExportSession::Status status = ExportSession::Status::completed;
    std::optional<PlatformError> error;
    std::optional<std::vector<float>>* heard = nullptr;
};

SoundServices servicesWith(FakeComposition composition)
{
    return {.openComposition = [composition](const std::string&) { return std::make_unique<FakeComposition>(composition); },
            .openSound = [](const std::string& path) -> std::unique_ptr<SampleSource> {
                if (path == "gone") throw AudioError(AudioError::Kind::unreadable, path);
                return ToldSource::constant(path == "short" ? 1 : 100, path == "loud" ? 2.0F : 0.25F);
            }};
}

std::string failureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ExportError& error) {
        return error.errorDescription();
    }
    return "no failure";
}

TEST(MuxAudio, EveryFailureHasItsWordsAndLeavesAnEarlierFilm)
{
    using enum ExportSession::Status;
    const PlatformError full{
        .localizedDescription = "No space left on device", .localizedFailureReason = "x", .domain = "POSIX", .code = 28};
    struct Case {
        const char* what;
        SoundServices services;
        const char* words;
    };
    SoundServices noPictures = servicesWith({});
    noPictures.openComposition = [](const std::string&) { return nullptr; };
    FakeComposition noSession, failing, speechless, stopped, strange;
    noSession.makesSession = false;
    failing.status = failed, failing.error = full;
    speechless.status = failed;
    stopped.status = cancelled;
    strange.status = waiting;
    for (const Case& c : {Case{"no pictures", noPictures, "Audio mux: no video track to splice"},
                          Case{"no session", servicesWith(noSession), "Audio mux: cannot create export session"},
                          Case{"a failure", servicesWith(failing), "No space left on device"},
                          Case{"a failure without words", servicesWith(speechless), "audio mux failed"},
                          Case{"stopped", servicesWith(stopped), "audio mux failed"},
                          Case{"unfinished", servicesWith(strange), "audio mux ended in unexpected state"}}) {
        SCOPED_TRACE(c.what);
        const TemporaryFolder folder;
        writeFile(folder.path("film.mp4"), "earlier");
        EXPECT_EQ(failureOf([&] {
                      Exporter::muxAudio("silent.mp4", ExportAudio{.url = "bed", .duration = 4}, {}, folder.path("film.mp4"), {},
                                         c.services);
                  }),
                  std::string("Export failed: ") + c.words);
        EXPECT_EQ(fileBytes(folder.path("film.mp4")), (std::vector<std::uint8_t>{'e', 'a', 'r', 'l', 'i', 'e', 'r'}));
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("")), {}), 1);
    }
}

std::optional<std::vector<float>> heard(const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& clips)
{
    const TemporaryFolder folder;
    std::optional<std::vector<float>> result;
    FakeComposition composition;
    composition.heard = &result;
    Exporter::muxAudio("silent.mp4", audio, clips, folder.path("film.mp4"), {}, servicesWith(composition));
    return result;
}

TEST(MuxAudio, WhatCannotBeReadDropsOutAndTheRestIsHeard)
{
    EXPECT_EQ(heard(ExportAudio{.url = "gone", .duration = 4}, {{.url = "gone", .duration = 1}}), std::nullopt);
    const auto rest = heard(ExportAudio{.url = "gone", .duration = 4},
                            {{.url = "gone", .duration = 1}, {.url = "clip", .outputStart = 1, .duration = 1}});
    ASSERT_TRUE(rest);
    EXPECT_EQ(rest->size(), at(2));
    EXPECT_EQ((*rest)[at(1) - 1], 0);
    EXPECT_EQ((*rest)[at(1)], 0.25F);
}

TEST(MuxAudio, ABedShorterThanTheFilmEndsWithItsFile)
{
    const auto bed = heard(ExportAudio{.url = "short", .duration = 4, .fadeOutLast = 0.5}, {});
    ASSERT_TRUE(bed);
    EXPECT_EQ(bed->size(), at(1));
    EXPECT_NEAR((*bed)[at(0.75)], 0.125, 1e-4);
}

TEST(MuxAudio, AnOffsetPastTheEndOfTheFileInsertsNothing)
{
    EXPECT_EQ(heard(ExportAudio{.url = "short", .startOffset = 2, .duration = 4}, {}), std::nullopt);
}

TEST(MuxAudio, TwoClipsInOnePlaceBothPlayEachAtItsVolume)
{
    const auto both = heard(std::nullopt, {{.url = "a", .outputStart = 1, .duration = 1, .volume = 1},
                                           {.url = "b", .outputStart = 1, .duration = 1, .volume = 0.5F}});
    ASSERT_TRUE(both);
    EXPECT_EQ((*both)[at(1.5)], 0.25F + 0.125F);
}

TEST(MuxAudio, ALoudSumIsHeldWithinFullScale)
{
    const auto loud = heard(ExportAudio{.url = "loud", .duration = 4}, {{.url = "loud", .outputStart = 1, .duration = 1}});
    ASSERT_TRUE(loud);
    EXPECT_LE(*std::ranges::max_element(*loud), 1);
    EXPECT_FLOAT_EQ((*loud)[at(1.5)], 1);
}

TEST(MuxAudio, ProgressStaysBetweenNothingAndAllAndEndsAtAll)
{
    const TemporaryFolder folder;
    std::vector<double> told;
    Exporter::muxAudio(
        "silent.mp4", ExportAudio{.url = "bed", .duration = 4}, {}, folder.path("film.mp4"),
        [&](double part) { told.push_back(part); }, servicesWith({}));
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.front(), 0);
    EXPECT_EQ(told.back(), 1);
    EXPECT_TRUE(std::ranges::is_sorted(told));
}

// With real files.

TEST(MuxAudio, ClicksOfTheBedAndOfClipsLandWithinAMillisecondOfTheirPlaces)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("silent.mp4"), countingSource(150) + " -c:v libx264");
    struct Case {
        const char* name;
        int rate;
        const char* layout;
        const char* arguments;
    };
    for (const Case& c :
         {Case{"48.wav", 48'000, "mono", ""}, Case{"8.wav", 8'000, "mono", ""}, Case{"192.wav", 192'000, "stereo", ""},
          Case{"surround.wav", 48'000, "5.1", ""}, Case{"44.mp3", 44'100, "stereo", "-b:a 192k"},
          Case{"44.m4a", 44'100, "stereo", "-b:a 192k"}, Case{"48.m4a", 48'000, "mono", "-b:a 192k"},
          Case{"44.flac", 44'100, "stereo", ""}, Case{"44.ogg", 44'100, "stereo", "-c:a libvorbis"}}) {
        SCOPED_TRACE(c.name);
        makeMedia(folder.path(c.name), clickInput(c.rate, 4, 2.5, c.layout) + " " + c.arguments);
        Exporter::muxAudio(folder.path("silent.mp4"), ExportAudio{.url = folder.path(c.name), .startOffset = 1.75, .duration = 5},
                           {{.url = folder.path(c.name), .outputStart = 3.0125, .sourceStart = 2.2017, .duration = 1}},
                           folder.path("film.mp4"), {});
        const DecodedSound sound = decodedSound(folder.path("film.mp4"));
        EXPECT_NEAR(static_cast<double>(loudestFrame(sound.left, 0, at(2))), (2.5 - 1.75) * 48'000, 48);
        EXPECT_NEAR(static_cast<double>(loudestFrame(sound.left, at(3))), (3.0125 + 2.5 - 2.2017) * 48'000, 48);
        EXPECT_LT(level(sound.left, 2.4, 2.9), 0.001); // The bed ends with its file, at 2.25; the clip comes at 3.01.
    }
}

TEST(MuxAudio, VolumeAndFadeAreHeard)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("silent.mp4"), countingSource(120) + " -c:v libx264");
    makeMedia(folder.path("tone.wav"), "-f lavfi -i \"aevalsrc=exprs=0.8*sin(2*PI*1000*t):s=48000:d=10\"");
    Exporter::muxAudio(folder.path("silent.mp4"),
                       ExportAudio{.url = folder.path("tone.wav"), .duration = 50, .fadeOutLast = 1, .volume = 0.5F}, {},
                       folder.path("film.mp4"), {});
    const DecodedSound sound = decodedSound(folder.path("film.mp4"));
    const double full = 0.8 * 0.5 * std::sqrt(0.5); // A sine's level is its amplitude by the root of 2.
    EXPECT_NEAR(level(sound.left, 0.5, 2.9), full, 0.01 * full);
    EXPECT_NEAR(level(sound.right, 0.5, 2.9), full, 0.01 * full);
    EXPECT_NEAR(level(sound.left, 3.49, 3.51), 0.5 * full, 0.03 * full);
    EXPECT_NEAR(level(sound.left, 3.74, 3.76), 0.25 * full, 0.03 * full);
    EXPECT_LT(level(sound.left, 3.98, 4), 0.03 * full);
    EXPECT_NEAR(probeFilm(folder.path("film.mp4")).fileSeconds, 4, 1e-3);
}

TEST(MuxAudio, AClipWithoutASoundTrackIsPassedBy)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("silent.mp4"), countingSource(30) + " -c:v libx264");
    Exporter::muxAudio(folder.path("silent.mp4"), std::nullopt, {{.url = folder.path("silent.mp4"), .duration = 1}},
                       folder.path("film.mp4"), {});
    EXPECT_FALSE(probeFilm(folder.path("film.mp4")).hasAudio);
    EXPECT_EQ(probeFilm(folder.path("film.mp4")).frames(), 30);
}

} // namespace
} // namespace larkspool
