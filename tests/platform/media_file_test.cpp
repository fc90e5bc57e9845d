#include "platform/media_file.h"

#include "support/test_media.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

namespace larkspool {
namespace {

FileExists only(std::set<std::string> files)
{
    return [files = std::move(files)](const std::string& path) { return files.contains(path); };
}

TEST(MediaFile, ARelativeReferenceIsFoundBesideTheDocument)
{
    struct Case {
        const char* when;
        const char* reference;
        const char* folder;
        std::set<std::string> files;
        const char* path;
        bool isBeside;
    };
    for (const Case& c : {Case{"beside it", "a.mp4", "/docs", {"/docs/a.mp4"}, "/docs/a.mp4", true},
                          Case{"in a folder of its own", "m/a.mp4", "/docs", {"/docs/m/a.mp4"}, "/docs/m/a.mp4", true},
                          Case{"as a URL", "file:my%20a.mp4", "/docs", {"/docs/my a.mp4"}, "/docs/my a.mp4", true},
                          Case{"as it stands, too", "a.mp4", "/docs", {"a.mp4", "/docs/a.mp4"}, "a.mp4", false},
                          Case{"nowhere", "a.mp4", "/docs", {}, "a.mp4", false},
                          Case{"absolute", "/a.mp4", "/docs", {"/docs/a.mp4"}, "/a.mp4", false},
                          Case{"an absolute URL", "file:///a.mp4", "/docs", {"/docs/a.mp4"}, "/a.mp4", false},
                          Case{"no name", "", "/docs", {"/docs", "/docs/"}, "", false},
                          Case{"a document without a file", "a.mp4", "", {"/a.mp4"}, "a.mp4", false}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(mediaPath(c.reference, c.folder, only(c.files)), c.path);
        EXPECT_EQ(fileBesideDocument(c.reference, c.folder, only(c.files)).has_value(), c.isBeside);
    }
}

TEST(MediaFile, TheFolderOfADocumentIsTold)
{
    EXPECT_EQ(documentFolder("/docs/film.larkspool"), "/docs");
    EXPECT_EQ(documentFolder("film.larkspool"), std::filesystem::current_path().string());
    EXPECT_EQ(documentFolder(""), "");
}

TEST(MediaFile, IsThereOrNot)
{
    EXPECT_TRUE(fileExists("/proc/self/exe"));
    EXPECT_FALSE(fileExists("/no/such/file"));
    EXPECT_FALSE(fileExists(""));
}

TEST(MediaFile, OnlyARegularFileCanBeRead)
{
    const TemporaryFolder folder;
    writeFile(folder.path("file"), "words");
    std::filesystem::create_symlink(folder.path("file"), folder.path("link"));
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(isReadableFile(folder.path("file")));
    EXPECT_TRUE(isReadableFile(folder.path("link")));
    for (const std::string& path : {folder.path("pipe"), folder.path("gone"), folder.path(""), std::string("/dev/zero"), std::string()})
        EXPECT_FALSE(isReadableFile(path)) << path;
    std::filesystem::permissions(folder.path("file"), std::filesystem::perms::none);
    if (::geteuid() != 0) { // Who may read anything is kept from nothing.
        EXPECT_FALSE(isReadableFile(folder.path("file")));
    }
}

} // namespace
} // namespace larkspool
