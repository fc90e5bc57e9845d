#include "export/pending_file.h"

#include "export/exporter.h"
#include "support/test_media.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

namespace fs = std::filesystem;

std::string text(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void put(const std::string& path, std::string_view text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string refusalOf(const std::string& destination)
{
    try {
        PendingFile file(destination);
        file.takeName();
    } catch (const Exporter::ExportError& error) {
        return error.errorDescription();
    }
    return {};
}

TEST(PendingFile, IsNoLongerThereUnlessItTookItsName)
{
    const TemporaryFolder folder;
    put(folder.path("film.mp4"), "earlier");
    {
        const PendingFile file(folder.path("film.mp4"));
        put(file.path(), "half");
    }
    EXPECT_EQ(text(folder.path("film.mp4")), "earlier");
    EXPECT_EQ(folder.names().size(), 1u);

    PendingFile file(folder.path("film.mp4"));
    put(file.path(), "whole");
    file.takeName();
    EXPECT_EQ(text(folder.path("film.mp4")), "whole");
    EXPECT_EQ(folder.names().size(), 1u);
}

TEST(PendingFile, ReplacesTheFileBehindALinkAndLeavesTheLink)
{
    const TemporaryFolder folder;
    fs::create_directory(folder.path("films"));
    put(folder.path("films/film.mp4"), "earlier");
    fs::create_symlink("films/film.mp4", folder.path("latest.mp4"));

    PendingFile file(folder.path("latest.mp4"));
    put(file.path(), "new");
    file.takeName();
    EXPECT_TRUE(fs::is_symlink(folder.path("latest.mp4")));
    EXPECT_EQ(text(folder.path("films/film.mp4")), "new");
}

TEST(PendingFile, RefusesAPlaceWhereNoFilmCanStandByTheNameThatWasAskedFor)
{
    const TemporaryFolder folder;
    const std::string nowhere = folder.path("missing/film.mp4");
    EXPECT_EQ(refusalOf(nowhere), "Export failed: The film cannot be put at " + nowhere + ": No such file or directory");

    put(folder.path("file"), "");
    const std::string below = folder.path("file/film.mp4");
    EXPECT_EQ(refusalOf(below), "Export failed: The film cannot be put at " + below + ": Not a directory");

    EXPECT_THAT(refusalOf(folder.path("")), testing::HasSubstr("is no name of a file"));
    EXPECT_EQ(text(folder.path("file")), "");
}

} // namespace

} // namespace larkspool
