#include "platform/file_io.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspool {
namespace {

namespace fs = std::filesystem;

/// The superuser may write everywhere: while this lives, the process is someone else, who owns `folder`.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const fs::path& folder) : isNeeded_(::geteuid() == 0)
    {
        if (!isNeeded_) return;
        EXPECT_EQ(::chown(folder.c_str(), nobody, static_cast<gid_t>(-1)), 0);
        EXPECT_EQ(::seteuid(nobody), 0);
    }
    ~OrdinaryUser()
    {
        if (isNeeded_) static_cast<void>(::seteuid(0));
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    bool isNeeded_;
};

class FileIo : public testing::Test {
protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "larkspool-XXXXXX").string();
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        folder_ = name;
    }
    void TearDown() override
    {
        fs::permissions(folder_, fs::perms::owner_all);
        fs::remove_all(folder_);
    }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    void put(const std::string& name, std::string_view text) const { std::ofstream(path(name), std::ios::binary) << text; }

    std::vector<std::string> names() const
    {
        std::vector<std::string> list;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) list.push_back(entry.path().filename().string());
        std::ranges::sort(list);
        return list;
    }

    std::string text(const std::string& name) const
    {
        const std::vector<std::uint8_t> bytes = readWholeFile(path(name));
        return {bytes.begin(), bytes.end()};
    }

    fs::path folder_;
};

std::vector<std::uint8_t> bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

/// The errno of what `work` throws, or 0.
template <typename Work>
int failureOf(Work work)
{
    try {
        work();
        return 0;
    } catch (const FileError& error) {
        return error.code();
    }
}

TEST_F(FileIo, ReadsAllBytes)
{
    const std::string content("a\0b\xFF\n", 5);
    put("file", content);
    EXPECT_EQ(text("file"), content);
    put("empty", "");
    EXPECT_EQ(text("empty"), "");
}

TEST_F(FileIo, AMissingFileIsToldInTheWordsOfTheSystem)
{
    try {
        readWholeFile(path("none"));
        FAIL() << "read";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_EQ(error.path(), path("none"));
        EXPECT_EQ(error.error().domain, "POSIX");
        EXPECT_EQ(std::string(error.what()), path("none") + ": No such file or directory");
    }
}

TEST_F(FileIo, OnlyRegularFilesAreReadAndNoneIsWaitedFor)
{
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf([&] { readWholeFile(path("pipe")); }), EINVAL);
    EXPECT_EQ(failureOf([&] { readWholeFile(folder_.string()); }), EISDIR);
    EXPECT_EQ(failureOf([&] { readWholeFile("/dev/zero"); }), EINVAL);
}

TEST_F(FileIo, AFileBeyondTheGreatestSizeIsRefused)
{
    put("file", "12345");
    EXPECT_EQ(readWholeFile(path("file"), 5).size(), 5u);
    EXPECT_EQ(failureOf([&] { readWholeFile(path("file"), 4); }), EFBIG);
    fs::resize_file(path("file"), std::uintmax_t{1} << 40); // More than there is memory for.
    EXPECT_EQ(failureOf([&] { readWholeFile(path("file"), 1u << 20); }), EFBIG);
}

TEST_F(FileIo, AFileThatTellsNoSizeIsHeldToTheGreatestToo)
{
    const std::string unsized = "/proc/self/status"; // Its size is told as 0.
    EXPECT_GT(readWholeFile(unsized).size(), 100u);
    EXPECT_EQ(failureOf([&] { readWholeFile(unsized, 100); }), EFBIG);
}

TEST_F(FileIo, TheHeadOfAFileIsItsFirstBytesOrAllThatItHas)
{
    put("file", "12345");
    EXPECT_EQ(readFileHead(path("file"), 3), bytesOf("123"));
    EXPECT_EQ(readFileHead(path("file"), 9), bytesOf("12345"));
    EXPECT_EQ(readFileHead(path("file"), 0), bytesOf(""));
    EXPECT_EQ(failureOf([&] { readFileHead(path("none"), 3); }), ENOENT);
    EXPECT_EQ(failureOf([&] { readFileHead(folder_.string(), 3); }), EISDIR);
}

TEST_F(FileIo, WritesANewFileAndReplacesAnOldOneWithoutLeavingAnythingElse)
{
    replaceFileAtomically(path("file"), bytesOf("one"));
    EXPECT_EQ(text("file"), "one");
    replaceFileAtomically(path("file"), bytesOf("two and more"));
    EXPECT_EQ(text("file"), "two and more");
    replaceFileAtomically(path("file"), {});
    EXPECT_EQ(text("file"), "");
    EXPECT_THAT(names(), testing::ElementsAre("file"));
}

TEST_F(FileIo, APathWithoutFolderIsInTheCurrentOne)
{
    const fs::path before = fs::current_path();
    fs::current_path(folder_);
    replaceFileAtomically("file", bytesOf("here"));
    fs::current_path(before);
    EXPECT_EQ(text("file"), "here");
}

TEST_F(FileIo, AReplacedFileHandsDownItsPermissions)
{
    put("file", "old");
    fs::permissions(path("file"), fs::perms(0640));
    replaceFileAtomically(path("file"), bytesOf("new"));
    EXPECT_EQ(fs::status(path("file")).permissions(), fs::perms(0640));
}

TEST_F(FileIo, ANewFileHasThePermissionsThatTheMaskLeaves)
{
    const mode_t before = ::umask(0027);
    replaceFileAtomically(path("file"), bytesOf("new"));
    ::umask(before);
    EXPECT_EQ(fs::status(path("file")).permissions(), fs::perms(0640));
}

TEST_F(FileIo, ASymbolicLinkStaysALinkToTheFile)
{
    put("file", "old");
    fs::create_symlink("file", path("link"));
    replaceFileAtomically(path("link"), bytesOf("new"));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(text("file"), "new");
}

TEST_F(FileIo, OnlyARegularFileIsReplaced)
{
    fs::create_directory(path("folder"));
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf([&] { replaceFileAtomically(path("folder"), bytesOf("x")); }), EISDIR);
    EXPECT_EQ(failureOf([&] { replaceFileAtomically(path("pipe"), bytesOf("x")); }), EINVAL);
    EXPECT_THAT(names(), testing::ElementsAre("folder", "pipe"));
}

TEST_F(FileIo, AFolderThatDoesNotExistIsAnError)
{
    EXPECT_EQ(failureOf([&] { replaceFileAtomically(path("none/file"), bytesOf("x")); }), ENOENT);
    EXPECT_THAT(names(), testing::IsEmpty());
}

TEST_F(FileIo, AFolderThatMayNotBeWrittenLeavesTheOldFile)
{
    put("file", "old");
    fs::permissions(folder_, fs::perms(0500));
    const OrdinaryUser user(folder_);
    EXPECT_EQ(failureOf([&] { replaceFileAtomically(path("file"), bytesOf("new")); }), EACCES);
    EXPECT_EQ(text("file"), "old");
}

TEST_F(FileIo, AWriteThatFailsHalfWayLeavesTheOldFileAndNothingElse)
{
    put("file", "old");

    // A file may not grow beyond this size: the same road as a full disk.
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{100'000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const int failure = failureOf([&] { replaceFileAtomically(path("file"), std::vector<std::uint8_t>(1'000'000)); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ(failure, EFBIG);
    EXPECT_EQ(text("file"), "old");
    EXPECT_THAT(names(), testing::ElementsAre("file"));
}

} // namespace
} // namespace larkspool
