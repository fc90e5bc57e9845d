#include "app/command_line_call.h"
#include "app/scratch_folder.h"
#include "app/test_documents.h"
#include "support/film_probe.h"
#include "support/sound_probe.h"
#include "support/test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A rectangle over all of the usual scene.
std::string wall(const std::string& color)
{
    return fmt::format(R"({{"kind":"rectangle","size":[64,36],"fill":{{{}}}}})", color);
}

const std::string red = R"("r":1,"g":0,"b":0,"a":1)", green = R"("r":0,"g":1,"b":0,"a":1)", blue = R"("r":0,"g":0,"b":1,"a":1)";

/// The colour of a pixel, 0...255.
struct Tone {
    int r, g, b;
};

Tone toneAt(const PixelBuffer& picture, int x, int y = 18)
{
    const std::uint8_t* pixel = picture.row(y) + 4 * x;
    return {pixel[2], pixel[1], pixel[0]};
}

void expectTone(const Tone& found, const Tone& expected)
{
    constexpr int tolerance = 10; // Encoding and its colour matrix.
    EXPECT_NEAR(found.r, expected.r, tolerance);
    EXPECT_NEAR(found.g, expected.g, tolerance);
    EXPECT_NEAR(found.b, expected.b, tolerance);
}

class ExportVerb : public testing::Test {
protected:
    /// Exports a document to `film` with these options more, and expects success.
    Outcome exported(const std::string& text, const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments{"export", folder.write("doc.larkspool", text), "-o", film};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = call(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        EXPECT_EQ(outcome.error, "");
        return outcome;
    }

    /// A stereo tone of the amplitude that `amplitude` gives, as an expression of t, for ten seconds.
    std::string tone(const std::string& name, const std::string& amplitude)
    {
        const std::string one = fmt::format("({})*sin(2*PI*440*t)", amplitude);
        makeMedia(folder.file(name), fmt::format("-f lavfi -i \"aevalsrc=exprs={0}|{0}:s=48000:d=10:c=stereo\"", one));
        return folder.file(name);
    }

    static constexpr double fullLevel = 0.4 / 1.41421356; ///< The root mean square of a tone of amplitude 0.4.

    ScratchFolder folder;
    std::string film = folder.file("film.mp4");
};

} // namespace

TEST_F(ExportVerb, WritesTheFilmAndOneLine)
{
    const Outcome outcome = exported(documentText({{}}));
    EXPECT_THAT(outcome.out, StartsWith("Wrote " + film + ": 10 frames in "));
    EXPECT_THAT(outcome.out, EndsWith(" s\n"));
    EXPECT_THAT(folder.names(), ElementsAre("doc.larkspool", "film.mp4"));
}

TEST_F(ExportVerb, LaysTheBedUnderTheSceneUnlessSoundIsNotWanted)
{
    const std::string text = soundingDocumentText({{.duration = "3"}}, tone("bed.wav", "0.4"));
    const Outcome outcome = exported(text);
    EXPECT_THAT(outcome.out, Not(HasSubstr("without")));
    EXPECT_EQ(probeFilm(film).frames(), 30);
    const DecodedSound sound = decodedSound(film);
    EXPECT_NEAR(static_cast<double>(sound.frames()) / 48'000, 3, 0.03);
    EXPECT_NEAR(level(sound.left, 0.2, 1.9), fullLevel, 0.01);
    EXPECT_NEAR(level(sound.right, 0.2, 1.9), fullLevel, 0.01);
    EXPECT_NEAR(level(sound.left, 2.45, 2.55), fullLevel / 2, 0.02); // The last second fades: half way, half the level.

    const Outcome silent = exported(text, {"--no-audio"});
    EXPECT_THAT(silent.out, Not(HasSubstr("without")));
    EXPECT_EQ(probeFilm(film).frames(), 30);
    EXPECT_FALSE(probeFilm(film).hasAudio);
}

TEST_F(ExportVerb, TheSoundOfAVideoLayerPlaysAtItsPlace)
{
    makeMedia(folder.file("clip.mp4"), "-f lavfi -i testsrc2=s=64x36:r=10:d=2 -f lavfi -i \"aevalsrc=exprs=0.4*sin(2*PI*440*t):s=48000:d=2\""
                                       " -c:v libx264 -c:a aac -shortest");
    const std::string layer = R"({"kind":"video","size":[64,36],"videoURL":"clip.mp4","videoClip":{"sceneStart":1,"sceneEnd":2,)"
                              R"("sourceStart":0.5,"endBehavior":"end","id":"30000000-0000-0000-0000-000000000000"}})";
    exported(documentText({{.duration = "3", .layers = layer}}));
    const DecodedSound sound = decodedSound(film);
    EXPECT_LT(level(sound.left, 0, 0.95), 0.005);
    EXPECT_NEAR(level(sound.left, 1.1, 1.9), fullLevel, 0.02);
    EXPECT_LT(level(sound.left, 2.05, 3), 0.005);
}

TEST_F(ExportVerb, JoinsAllScenesWithPausesAndTransitionsWhileTheSoundRunsOn)
{
    const std::string text = soundingDocumentText(
        {{.layers = wall(red), .endPause = "0.5", .transition = R"("kind":"fade","duration":0.5)"},
         {.layers = wall(blue), .transition = R"("kind":"push","duration":0.4)"},
         {.duration = "0.5", .layers = wall(green), .transition = R"("kind":"zoom","duration":9)"}},
        tone("bed.wav", "0.4"));
    const Outcome outcome = exported(text, {"--all"});
    EXPECT_THAT(outcome.out, StartsWith("Wrote " + film + ": 39 frames in ")); // 1 + 0.5 + 0.5 + 1 + 0.4 + 0.5 seconds of 10.

    const FilmReport report = probeFilm(film);
    EXPECT_EQ(report.frames(), 39);
    EXPECT_NEAR(report.seconds, 3.9, 1e-6);
    EXPECT_TRUE(report.hasAudio);

    const std::vector<PixelBuffer> frames = decodedFrames(film);
    ASSERT_EQ(frames.size(), 39u);
    expectTone(toneAt(frames[0], 32), {255, 0, 0});
    expectTone(toneAt(frames[14], 32), {255, 0, 0}); // The pause holds the last picture.
    expectTone(toneAt(frames[17], 32), {92, 0, 102}); // At 0.4: 0.6 of red, then 0.4 of blue over it.
    expectTone(toneAt(frames[20], 32), {0, 0, 255});
    expectTone(toneAt(frames[32], 16), {0, 0, 255}); // Half way: the old scene left, the new one right.
    expectTone(toneAt(frames[32], 48), {0, 255, 0});
    expectTone(toneAt(frames[38], 32), {0, 255, 0});

    // The bed goes by the scenes' lengths alone: 2.5 seconds, of which the last one fades.
    const DecodedSound sound = decodedSound(film);
    EXPECT_NEAR(level(sound.left, 0.2, 1.4), fullLevel, 0.01);
    EXPECT_NEAR(level(sound.left, 1.95, 2.05), fullLevel / 2, 0.02);
    EXPECT_LT(level(sound.left, 2.55, 3.9), 0.005);
}

TEST_F(ExportVerb, OneSceneHasItsOwnStretchOfTheBed)
{
    const std::string text =
        soundingDocumentText({{.endPause = "2"}, {.duration = "2"}, {}}, tone("bed.wav", "if(between(t\\,1\\,3)\\,0.4\\,0)"), 1);
    exported(text, {"--scene", "0"});
    EXPECT_EQ(probeFilm(film).frames(), 10); // Without the pause at its end.
    EXPECT_LT(level(decodedSound(film).left, 0, 0.95), 0.005);

    for (const std::vector<std::string>& second : {std::vector<std::string>{"--scene", "1"}, {}}) { // It is the active one.
        exported(text, second);
        EXPECT_EQ(probeFilm(film).frames(), 20);
        EXPECT_NEAR(level(decodedSound(film).left, 0.1, 1.9), fullLevel, 0.01); // No fade: it is not the last.
    }
    exported(text, {"--scene", "2"});
    EXPECT_LT(level(decodedSound(film).left, 0.05, 1), 0.005);
}

TEST_F(ExportVerb, ABedThatCannotBeHeardIsLeftOut)
{
    makeMedia(folder.file("mute.mp4"), "-f lavfi -i testsrc2=s=64x36:r=10:d=2 -c:v libx264");
    makeMedia(folder.file("short.wav"), "-f lavfi -i sine=d=0.5");
    folder.write("noise.mp3", "no music at all");
    std::filesystem::create_directory(folder.file("folder"));
    struct Case {
        const char* when;
        std::string bed;
        std::string scene;
        std::string words; ///< At the end of the line.
    };
    for (const Case& c : {Case{"missing", "/no/bed.mp3", "0", ", without its music: there is no file /no/bed.mp3\n"},
                          Case{"missing beside the document", "bed.mp3", "0", ", without its music: there is no file bed.mp3\n"},
                          Case{"no name", "", "0", ", without its music, which names no file\n"},
                          Case{"no sound at all", "noise.mp3", "0", " s\n"}, Case{"pictures alone", "mute.mp4", "0", " s\n"},
                          Case{"a folder", "folder", "0", " s\n"}, Case{"over before the scene begins", "short.wav", "1", " s\n"}}) {
        SCOPED_TRACE(c.when);
        const Outcome outcome = exported(soundingDocumentText({{}, {}}, c.bed), {"--scene", c.scene});
        EXPECT_THAT(outcome.out, EndsWith(c.words));
        EXPECT_EQ(probeFilm(film).frames(), 10);
        EXPECT_FALSE(probeFilm(film).hasAudio);
    }
}

TEST_F(ExportVerb, TransitionsWithoutALengthAreCuts)
{
    for (const char* duration : {"0", "-3"}) {
        SCOPED_TRACE(duration);
        const std::string transition = fmt::format(R"("kind":"slideL","duration":{})", duration);
        exported(documentText({{.layers = wall(red), .endPause = "-1", .transition = transition}, {.layers = wall(blue)}}), {"--all"});
        const std::vector<PixelBuffer> frames = decodedFrames(film);
        ASSERT_EQ(frames.size(), 20u);
        expectTone(toneAt(frames[9], 32), {255, 0, 0});
        expectTone(toneAt(frames[10], 32), {0, 0, 255});
    }
}

TEST_F(ExportVerb, EitherExporterCanBeAskedFor)
{
    // Of a transition's only frame the one shows the beginning, the other the end.
    const std::string text =
        documentText({{.layers = wall(red), .transition = R"("kind":"fade","duration":0.1)"}, {.layers = wall(blue)}});
    for (const char* exporter : {"cpu", "gpu"}) {
        SCOPED_TRACE(exporter);
        const Outcome outcome = exported(text, {"--all", "--exporter", exporter});
        EXPECT_THAT(outcome.out, StartsWith("Wrote " + film + ": 21 frames in "));
        const std::vector<PixelBuffer> frames = decodedFrames(film);
        ASSERT_EQ(frames.size(), 21u);
        expectTone(toneAt(frames[9], 32), {255, 0, 0});
        expectTone(toneAt(frames[10], 32), std::string_view(exporter) == "cpu" ? Tone{255, 0, 0} : Tone{0, 0, 255});
    }
}

TEST_F(ExportVerb, AllScenesHaveTheSizeAndRateOfTheFirst)
{
    exported(documentText({{}, {.width = "100", .height = "100", .fps = "50", .duration = "2"}}), {"--all"});
    const FilmReport report = probeFilm(film);
    EXPECT_EQ(report.width, 64);
    EXPECT_EQ(report.height, 36);
    EXPECT_EQ(report.frames(), 30);
    EXPECT_EQ(report.rateNumerator, 10 * report.rateDenominator);
}

TEST_F(ExportVerb, ADocumentWithoutScenesHasTheOneOfANewDocument)
{
    exported(R"({"scenes":[]})", {"--all", "--scale", "0.1"});
    EXPECT_EQ(probeFilm(film).frames(), 300); // 5 seconds at 60 frames a second.
}

TEST_F(ExportVerb, LengthsBeyondAllFilmsAreRefusedBeforeAnythingIsWritten)
{
    const std::string bed = tone("bed.wav", "0.4");
    struct Case {
        const char* when;
        std::vector<SceneText> scenes;
        const char* words;
    };
    for (const Case& c : {Case{"a scene", {{.duration = "1e12"}}, "A film of 1e+12 seconds is too long"},
                          Case{"a pause", {{.endPause = "1e12"}}, "A film of 1e+12 seconds is too long"},
                          Case{"a transition", {{.transition = R"("kind":"fade","duration":1e12)"}, {}},
                               "A film of 1e+12 seconds is too long"}}) {
        SCOPED_TRACE(c.when);
        const std::string document = folder.write("doc.larkspool", soundingDocumentText(c.scenes, bed));
        const Outcome outcome = call({"export", document, "-o", film, "--all"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.error, IsOneLine(c.words));
        EXPECT_THAT(folder.names(), ElementsAre("bed.wav", "doc.larkspool"));
    }
}

TEST_F(ExportVerb, BlursWhatMovesByTheSamplesAskedFor)
{
    // A black box on white that moves by two pixels a frame. At half a second its left edge is at 10; the shutter is open while it
    // goes from 9 to 11.
    std::string box = movingBoxText(0);
    const std::string fill = R"("r":0.9,"g":0.2,"b":0.1)";
    box.replace(box.find(fill), fill.size(), R"("r":0,"g":0,"b":0)");
    const std::string text = documentText({{.layers = box}});
    struct Case {
        const char* when;
        std::vector<std::string> options;
        int at9, at10; ///< How light the two pixels beside the edge are.
    };
    for (const Case& c : {Case{"not asked for", {}, 255, 0}, Case{"off", {"--motion-blur", "1"}, 255, 0},
                          // Edges at 9.25, 9.75, 10.25 and 10.75: a quarter of pixel 9 is black in the mean, three of pixel 10.
                          Case{"light", {"--motion-blur", "4"}, 191, 64}, Case{"medium", {"--motion-blur=8"}, 191, 64},
                          Case{"strong", {"--motion-blur", "16"}, 191, 64}}) {
        SCOPED_TRACE(c.when);
        exported(text, c.options);
        const std::vector<PixelBuffer> frames = decodedFrames(film);
        ASSERT_EQ(frames.size(), 10u);
        EXPECT_NEAR(toneAt(frames[5], 8).g, 255, 16);
        EXPECT_NEAR(toneAt(frames[5], 9).g, c.at9, 16);
        EXPECT_NEAR(toneAt(frames[5], 10).g, c.at10, 16);
        EXPECT_NEAR(toneAt(frames[5], 12).g, 0, 16);
    }
    // At half the size the edges are at 4.75 and 5.25: pixel 4, which is 8 and 9 of the film, is an eighth black, pixel 5 seven.
    exported(text, {"--motion-blur", "-2"});
    const std::vector<PixelBuffer> frames = decodedFrames(film);
    EXPECT_NEAR((toneAt(frames[5], 8).g + toneAt(frames[5], 9).g) / 2, 223, 40);
    EXPECT_NEAR((toneAt(frames[5], 10).g + toneAt(frames[5], 11).g) / 2, 32, 40);
    EXPECT_GT(toneAt(frames[5], 10).g, 16);
}

TEST_F(ExportVerb, TheScaleIsHeldWithinATenthAndOne)
{
    struct Case {
        const char* scale;
        int width, height;
    };
    for (const Case& c : {Case{"0.5", 320, 180}, Case{"0.05", 64, 36}, Case{"1.5", 640, 360}}) {
        SCOPED_TRACE(c.scale);
        exported(documentText({{.width = "640", .height = "360"}}), {"--scale", c.scale});
        EXPECT_EQ(probeFilm(film).width, c.width);
        EXPECT_EQ(probeFilm(film).height, c.height);
    }
}

} // namespace larkspool
