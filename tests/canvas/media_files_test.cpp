#include "canvas/media_files.h"

#include "support/png_bytes.h"
#include "support/test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace larkspool {
namespace {

using testing::ElementsAre;
using Reason = RefusedFile::Reason;

const TweenScene scene = {.width = 640, .height = 360, .duration = 5};

std::vector<std::uint8_t> smallPng()
{
    return pngBytes({.width = 2, .height = 2, .samples = std::vector<std::uint8_t>(12)});
}

class MediaFilesTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder_ = std::make_unique<TemporaryFolder>();
        makeMedia(path("film.mp4"), countingSource(6) + " -c:v libx264 -pix_fmt yuv420p");
        makeMedia(path("talk.mp4"), "-f lavfi -i sine=duration=1 -c:a aac");
        makeMedia(path("song.wav"), "-f lavfi -i sine=duration=1");
        std::filesystem::copy_file(path("film.mp4"), path("film.png")); // Its ending lies.
        writeFile(path("shot.png"), smallPng());
        writeFile(path("shot.txt"), smallPng());
        writeFile(path("words.png"), "words");
        writeFile(path("empty.mp4"), "");
        writeFile(path("lying.png"), pngBytes({.width = 100'000, .height = 100'000}));
        std::filesystem::create_directory(path("folder"));
        ::mkfifo(path("pipe").c_str(), 0600);
        std::filesystem::create_symlink(path("nowhere"), path("dangling.png"));
        writeFile(path("large.png"), smallPng());
        std::filesystem::resize_file(path("large.png"), MediaImport::greatestImageBytes + 1);
    }
    static void TearDownTestSuite() { folder_.reset(); }
    static std::string path(std::string_view name) { return folder_->path(name); }

    static std::unique_ptr<TemporaryFolder> folder_;
};
std::unique_ptr<TemporaryFolder> MediaFilesTest::folder_;

TEST_F(MediaFilesTest, WhatAFileIsIsToldByWhatIsInIt)
{
    struct Case {
        const char* name;
        WantedMedia wanted;
        const char* taken; ///< As "image", "video" or "sound"; empty for refused.
        Reason reason = Reason::otherMedia;
    };
    for (const Case& c : {Case{"shot.png", WantedMedia::anything, "image"},
                          Case{"shot.txt", WantedMedia::images, "image"},
                          Case{"shot.png", WantedMedia::videos, ""},
                          Case{"shot.png", WantedMedia::sound, ""},
                          Case{"film.mp4", WantedMedia::anything, "video"},
                          Case{"film.png", WantedMedia::videos, "video"},
                          Case{"film.mp4", WantedMedia::images, ""},
                          Case{"film.mp4", WantedMedia::sound, ""}, // It is silent.
                          Case{"talk.mp4", WantedMedia::anything, "video"},
                          Case{"talk.mp4", WantedMedia::sound, "sound"},
                          Case{"song.wav", WantedMedia::anything, "sound"},
                          Case{"song.wav", WantedMedia::sound, "sound"},
                          Case{"song.wav", WantedMedia::videos, ""},
                          Case{"words.png", WantedMedia::anything, ""},
                          Case{"empty.mp4", WantedMedia::anything, ""},
                          Case{"lying.png", WantedMedia::anything, ""},
                          Case{"large.png", WantedMedia::anything, "", Reason::tooLarge},
                          Case{"folder", WantedMedia::anything, "", Reason::folder},
                          Case{"pipe", WantedMedia::anything, "", Reason::unreadable},
                          Case{"dangling.png", WantedMedia::anything, "", Reason::missing},
                          Case{"nowhere.png", WantedMedia::anything, "", Reason::missing}}) {
        SCOPED_TRACE(c.name);
        const std::string file = path(c.name);
        const ReadMedia media = readMediaFiles(std::span(&file, 1), scene, {.wanted = c.wanted});
        std::string taken;
        if (!media.layers.empty()) taken = media.layers.front().kind == Layer::Kind::image ? "image" : "video";
        if (!media.sounds.empty()) taken += "sound";
        EXPECT_EQ(taken, c.taken);
        if (taken.empty()) {
            EXPECT_THAT(media.refused, ElementsAre(RefusedFile{c.name, c.reason, c.wanted}));
        } else {
            EXPECT_TRUE(media.refused.empty());
        }
    }
}

TEST_F(MediaFilesTest, AFileThatTheSystemGivesNothingOfIsUnreadable)
{
    const std::string file = "/proc/self/mem"; // Its first bytes are nobody's.
    const ReadMedia media = readMediaFiles(std::span(&file, 1), scene);
    EXPECT_THAT(media.refused, ElementsAre(RefusedFile{"mem", Reason::unreadable, WantedMedia::anything}));
}

TEST_F(MediaFilesTest, TwoHundredFilesComeInTheirOrderWithoutThoseThatDoNotServe)
{
    std::vector<std::string> paths;
    std::vector<std::string> names;
    for (int i = 0; i < 200; ++i) {
        const std::string name = "many" + std::to_string(i);
        if (i % 50 == 7) {
            paths.push_back(path("words.png"));
            continue;
        }
        paths.push_back(path(name + ".png"));
        names.push_back(name);
        writeFile(paths.back(), smallPng());
    }
    std::vector<std::size_t> told;
    const ReadMedia media = readMediaFiles(paths, scene, {.goesOn = [&](std::size_t done) {
                                               told.push_back(done);
                                               return true;
                                           }});
    ASSERT_EQ(media.layers.size(), 196u);
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(media.layers[i].name.string(), names[i]);
    EXPECT_EQ(media.refused.size(), 4u);
    ASSERT_EQ(told.size(), 200u);
    EXPECT_EQ(told.back(), 199u);
}

TEST_F(MediaFilesTest, ReadingStopsWhereItIsTold)
{
    const std::vector<std::string> paths(10, path("shot.png"));
    const ReadMedia media = readMediaFiles(paths, scene, {.goesOn = [](std::size_t done) { return done < 3; }});
    EXPECT_EQ(media.layers.size(), 3u);
    EXPECT_TRUE(media.refused.empty());
}

TEST_F(MediaFilesTest, BeyondTheMostNothingIsRead)
{
    const std::vector<std::string> paths(mostFilesAtOnce + 2, path("gone.png"));
    std::size_t asked = 0;
    const ReadMedia media = readMediaFiles(paths, scene, {.goesOn = [&](std::size_t) {
                                               ++asked;
                                               return true;
                                           }});
    EXPECT_EQ(asked, mostFilesAtOnce);
    ASSERT_EQ(media.refused.size(), mostFilesAtOnce + 2);
    EXPECT_EQ(media.refused[mostFilesAtOnce - 1].reason, Reason::missing);
    EXPECT_EQ(media.refused[mostFilesAtOnce].reason, Reason::tooMany);
}

TEST_F(MediaFilesTest, PicturesBeyondTheRoomOfTheDocumentAreRefused)
{
    const std::size_t size = smallPng().size();
    const std::vector<std::string> paths(3, path("shot.png"));
    EXPECT_EQ(readMediaFiles(paths, scene, {.imageRoom = 3 * size}).layers.size(), 3u);
    const ReadMedia media = readMediaFiles(paths, scene, {.imageRoom = 3 * size - 1});
    EXPECT_EQ(media.layers.size(), 2u);
    EXPECT_THAT(media.refused, ElementsAre(RefusedFile{"shot.png", Reason::documentFull, WantedMedia::anything}));
}

TEST(RefusedFiles, EachHasAPlainWord)
{
    struct Case {
        Reason reason;
        WantedMedia wanted;
        const char* words;
    };
    for (const Case& c : {Case{Reason::missing, WantedMedia::images, "“a.b” is not there any more."},
                          Case{Reason::folder, WantedMedia::images, "“a.b” is a folder: choose the files in it."},
                          Case{Reason::unreadable, WantedMedia::images, "“a.b” cannot be read."},
                          Case{Reason::tooLarge, WantedMedia::images, "“a.b” is too large."},
                          Case{Reason::otherMedia, WantedMedia::images, "“a.b” is no picture that can be used."},
                          Case{Reason::otherMedia, WantedMedia::videos, "“a.b” is no video that can be used."},
                          Case{Reason::otherMedia, WantedMedia::sound, "“a.b” is no sound that can be used."},
                          Case{Reason::otherMedia, WantedMedia::anything, "“a.b” is no picture or video that can be used."},
                          Case{Reason::sound, WantedMedia::anything,
                               "“a.b” is a sound: choose it as the music, below the canvas."},
                          Case{Reason::documentFull, WantedMedia::images,
                               "“a.b” does not fit: the document holds no more pictures."},
                          Case{Reason::tooMany, WantedMedia::images,
                               "“a.b” was left out: 500 files at most are taken at once."}})
        EXPECT_EQ((RefusedFile{"a.b", c.reason, c.wanted}.words()), c.words);
}

TEST(RefusedFiles, ManyAreToldInFewWords)
{
    const auto files = [](std::size_t count) { return std::vector<RefusedFile>(count, {"x", Reason::tooLarge}); };
    EXPECT_EQ(refusedWords({}), "");
    EXPECT_EQ(refusedWords(files(1)), "“x” is too large.");
    const std::string four = "“x” is too large.\n“x” is too large.\n“x” is too large.\n“x” is too large.";
    EXPECT_EQ(refusedWords(files(4)), four);
    EXPECT_EQ(refusedWords(files(5)), four + "\n1 more file was not added.");
    EXPECT_EQ(refusedWords(files(200)), four + "\n196 more files were not added.");
}

TEST(ShownFileNames, AreTextWithoutFolders)
{
    struct Case {
        const char *path, *name;
    };
    for (const Case& c : {Case{"/a/b.png", "b.png"}, Case{"b.png", "b.png"}, Case{"/a/folder/", "folder"}, Case{"/", "/"},
                          Case{"", ""}, Case{"/a/x\xFFy", "x\uFFFDy"}})
        EXPECT_EQ(shownFileName(c.path), c.name);
}

} // namespace
} // namespace larkspool
