#include "platform/media_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

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

} // namespace
} // namespace larkspool
