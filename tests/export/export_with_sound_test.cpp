#include "export/exporter.h"

#include "export/fake_asset_writer.h"
#include "export/places.h"
#include "export/told_source.h"
#include "support/film_probe.h"
#include "support/sound_probe.h"
#include "support/test_media.h"

#include <cstdlib>
#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Exporter::ExportAudio;
using Exporter::ExportError;
using Exporter::ExportOptions;

std::string textAt(const std::string& path)
{
    const std::vector<std::uint8_t> bytes = fileBytes(path);
    return {bytes.begin(), bytes.end()};
}

TweenScene scene(double duration, double width = 64)
{
    Layer box{.fill = {1, 0, 0, 1}, .size = {10, 10}};
    box.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = duration, .value = 50.0}};
    TweenScene made{.width = width, .height = 48, .fps = 10, .duration = duration};
    made.layers = {box};
    return made;
}

struct QuietSession final : ExportSession {
    void run(const std::function<void(double)>& progress) override { progress(0.5); }
    Status status() const override { return Status::completed; }
    std::optional<PlatformError> error() const override { return std::nullopt; }
};

/// Remembers what it was asked to join.
struct NotedComposition final : Composition {
    explicit NotedComposition(std::string path) : path_(std::move(path)) {}
    double duration() const override { return 1; }
    std::unique_ptr<ExportSession> exportSession(const std::string& path, SampleStream*) override
    {
        writeFile(path, textAt(path_) + " with sound");
        return std::make_unique<QuietSession>();
    }
    std::string path_;
};

ExportOptions fakes(WriterLog& log)
{
    ExportOptions options;
    options.makeWriter = [&log](const std::string& path, const FilmSettings& settings) {
        return std::make_unique<FakeAssetWriter>(path, settings, log);
    };
    options.sound = {.openComposition = [](const std::string& path) { return std::make_unique<NotedComposition>(path); },
                     .openSound = [](const std::string&) { return ToldSource::constant(100, 0.5F); }};
    return options;
}

const std::optional<ExportAudio> bed = ExportAudio{.url = "bed", .duration = 1};

ExportError::Kind failureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ExportError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "there was no failure";
    return {};
}

TEST(ExportWithSound, TheSilentFilmIsJoinedWithItsSoundAndGoes)
{
    const Places places;
    WriterLog log;
    Exporter::exportMP4(scene(1), places.film(), 0, bed, {}, fakes(log));
    EXPECT_EQ(textAt(places.film()), "film with sound");
    EXPECT_THAT(Places::namesIn(places.films), testing::ElementsAre("film.mp4"));
    EXPECT_THAT(Places::namesIn(places.temporary), testing::IsEmpty());
}

TEST(ExportWithSound, WithoutSourcesNothingTemporaryIsMade)
{
    const Places places;
    WriterLog log;
    ExportOptions options = fakes(log);
    std::vector<double> told;
    options.progress = [&](double part) {
        EXPECT_THAT(Places::namesIn(places.temporary), testing::IsEmpty());
        told.push_back(part);
    };
    Exporter::exportMP4(scene(0.2), places.film(), 0, std::nullopt, {}, options);
    EXPECT_EQ(textAt(places.film()), "film");
    EXPECT_THAT(told, testing::ElementsAre(0.5, 1.0));
}

TEST(ExportWithSound, ProgressIsSplitBetweenPicturesAndSound)
{
    const Places places;
    WriterLog log;
    ExportOptions options = fakes(log);
    std::vector<double> told;
    options.progress = [&](double part) { told.push_back(part); };
    Exporter::exportMP4(scene(0.4), places.film(), 0, bed, {}, options);
    using testing::DoubleEq;
    EXPECT_THAT(
        told, testing::ElementsAre(DoubleEq(0.22), DoubleEq(0.44), DoubleEq(0.66), DoubleEq(0.88), DoubleEq(0.94), DoubleEq(1)));
}

TEST(ExportWithSound, TheSilentFilmIsNamedAsTemporary)
{
    const Places places;
    const std::string path = Exporter::makeTempVideoURL();
    EXPECT_EQ(std::filesystem::path(path).parent_path(), std::filesystem::path(places.temporary.path("x")).parent_path());
    EXPECT_THAT(std::filesystem::path(path).filename().string(),
                testing::MatchesRegex("larkspool-export-[0-9A-Fa-f-]{36}\\.mp4"));
    EXPECT_NE(Exporter::makeTempVideoURL(), path);
}

TEST(ExportWithSound, ACancelKeepsTheSilentPart)
{
    const Places places;
    writeFile(places.film(), "earlier");
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = fakes(log);
    options.cancel = &cancel;
    options.progress = [&](double part) {
        if (part >= 0.44) cancel.cancel();
    };
    EXPECT_EQ(failureOf([&] { Exporter::exportMP4(scene(1), places.film(), 0, bed, {}, options); }),
              ExportError::Kind::userCancelled);
    EXPECT_EQ(textAt(places.film()), "film");
    EXPECT_THAT(Places::namesIn(places.films), testing::ElementsAre("film.mp4"));
    EXPECT_THAT(Places::namesIn(places.temporary), testing::IsEmpty());
}

TEST(ExportWithSound, ACancelDuringTheSoundComesTooLate)
{
    const Places places;
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = fakes(log);
    options.cancel = &cancel;
    options.progress = [&](double part) {
        if (part > 0.9) cancel.cancel();
    };
    Exporter::exportMP4(scene(1), places.film(), 0, bed, {}, options);
    EXPECT_EQ(textAt(places.film()), "film with sound");
}

TEST(ExportWithSound, AnyOtherFailureLeavesAnEarlierFilm)
{
    struct Case {
        const char* what;
        std::function<void(WriterLog&, ExportOptions&)> arrange;
    };
    for (const Case& c : {Case{"of the pictures", [](WriterLog& log, ExportOptions&) { log.encodingFailsAt = 2; }},
                          Case{"of the sound", [](WriterLog&, ExportOptions& options) {
                                   options.sound.openComposition = [](const std::string&) { return nullptr; };
                               }}}) {
        SCOPED_TRACE(c.what);
        const Places places;
        writeFile(places.film(), "earlier");
        WriterLog log;
        ExportOptions options = fakes(log);
        c.arrange(log, options);
        EXPECT_EQ(failureOf([&] { Exporter::exportMP4(scene(1), places.film(), 0, bed, {}, options); }),
                  ExportError::Kind::writeFailed);
        EXPECT_EQ(textAt(places.film()), "earlier");
        EXPECT_THAT(Places::namesIn(places.films), testing::ElementsAre("film.mp4"));
        EXPECT_THAT(Places::namesIn(places.temporary), testing::IsEmpty());
    }
}

TEST(ExportWithSound, ScenesThatAreNoneAreRefusedFirst)
{
    const Places places;
    WriterLog log;
    EXPECT_EQ(failureOf([&] { Exporter::exportMP4(Array<TweenScene>(), places.film(), bed, {}, fakes(log)); }),
              ExportError::Kind::writeFailed);
    EXPECT_THAT(Places::namesIn(places.films), testing::IsEmpty());
}

TEST(ExportWithSound, APlaceWhereNoFileCanStandIsRefusedBeforeAnyWork)
{
    const Places places;
    WriterLog log;
    EXPECT_EQ(failureOf([&] { Exporter::exportMP4(scene(1), places.films.path(""), 0, bed, {}, fakes(log)); }),
              ExportError::Kind::writeFailed);
    EXPECT_THAT(log.appended, testing::IsEmpty());
    EXPECT_THAT(Places::namesIn(places.temporary), testing::IsEmpty());
}

TEST(ExportWithSound, AFilmOfTwoScenesHasItsBedAndItsClips)
{
    const Places places;
    makeMedia(places.films.path("bed.mp3"), clickInput(44'100, 3, 0.75, "stereo"));
    makeMedia(places.films.path("clip.mov"),
              countingSource(30) + " " + clickInput(48'000, 1, 0.5) + " -c:v libx264 -c:a aac -b:a 192k");
    Exporter::exportMP4(Array<TweenScene>{scene(1), scene(1)}, places.film(),
                        ExportAudio{.url = places.films.path("bed.mp3"), .duration = 2, .fadeOutLast = 1},
                        {{.url = places.films.path("clip.mov"), .outputStart = 1.1, .duration = 0.8}}, {});
    const FilmReport report = probeFilm(places.film());
    EXPECT_EQ(report.frames(), 20);
    EXPECT_TRUE(report.hasAudio);
    EXPECT_TRUE(report.indexAtFront);
    EXPECT_NEAR(report.fileSeconds, 2, 1e-3);
    const DecodedSound sound = decodedSound(places.film());
    EXPECT_NEAR(static_cast<double>(loudestFrame(sound.left, 0, 48'000)), 0.75 * 48'000, 48);
    EXPECT_NEAR(static_cast<double>(loudestFrame(sound.left, 48'000)), 1.6 * 48'000, 48);
    EXPECT_THAT(Places::namesIn(places.temporary), testing::IsEmpty());
}

} // namespace
} // namespace larkspool
