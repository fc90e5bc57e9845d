#include "shell/document_file.h"

#include "platform/file_io.h"
#include "support/test_media.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// A program that is killed while it saves, as by the system when memory runs out. Nothing of it runs after that.

namespace larkspool {
namespace {

/// A document of some megabytes, all of one width, so that a file of two halves is told from a whole one.
TweenDocument largeDocument(double width)
{
    TweenDocument document;
    document.scenes = {TweenScene{.id = {1, 1}, .width = width}};
    TweenScene scene = document.scene();
    for (std::uint64_t i = 0; i < 1500; ++i) {
        Layer layer{.id = {2, i}};
        layer.videoClip.id = {3, i};
        layer.size.width = width;
        scene.layers.append(std::move(layer));
    }
    document.setScene(std::move(scene));
    return document;
}

/// Another process, which saves the documents in turn, over and over, and tells of its first save by a byte in the pipe.
pid_t startSaving(const std::string& path, const TweenDocument& first, const TweenDocument& second, int tellTo)
{
    const pid_t child = ::fork();
    if (child != 0) return child;
    try {
        DocumentFile file = DocumentFile(TweenDocument());
        for (int i = 0;; ++i) {
            file.save(i % 2 ? second : first, path);
            if (i == 0 && ::write(tellTo, "s", 1) != 1) ::_exit(2);
        }
    } catch (...) {
        ::_exit(1);
    }
}

/// Another process, which saves once and is killed by the system with the first byte that a file has beyond `bytes`.
pid_t startSavingUpTo(std::size_t bytes, const std::string& path, const TweenDocument& document)
{
    const pid_t child = ::fork();
    if (child != 0) return child;
    const rlimit noCore{}, fileSize{.rlim_cur = bytes, .rlim_max = bytes};
    if (::setrlimit(RLIMIT_CORE, &noCore) != 0 || ::setrlimit(RLIMIT_FSIZE, &fileSize) != 0) ::_exit(3);
    try {
        DocumentFile(TweenDocument()).save(document, path);
    } catch (...) {
        ::_exit(1);
    }
    ::_exit(0);
}

/// How the process ended, as waitpid tells it.
int statusOf(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    return status;
}

/// Kills the process. False if it had ended by itself.
bool wasKilled(pid_t child)
{
    ::kill(child, SIGKILL);
    const int status = statusOf(child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

/// Whether files can be written here that have no name until they are whole.
bool canWriteUnnamed(const TemporaryFolder& folder)
{
    const int file = ::open(folder.path("").c_str(), O_WRONLY | O_TMPFILE, 0600);
    return file >= 0 && ::close(file) == 0;
}

class Pipe {
public:
    Pipe() { EXPECT_EQ(::pipe(ends_), 0); }
    ~Pipe()
    {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int writeEnd() const { return ends_[1]; }
    void waitForByte() const
    {
        char byte = 0;
        EXPECT_EQ(::read(ends_[0], &byte, 1), 1);
    }

private:
    int ends_[2] = {-1, -1};
};

TEST(KilledSave, InTheMidstOfWritingLeavesTheOldFile)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Board.larkspool");
    const TweenDocument older = largeDocument(1000), newer = largeDocument(2000);
    DocumentFile(TweenDocument()).save(older, path);
    const std::vector<std::uint8_t> olderWhole = encodedData(older), newerWhole = encodedData(newer);
    ASSERT_GT(newerWhole.size(), 1u << 20) << "large enough to be written in pieces";

    for (const std::size_t written : {std::size_t{0}, std::size_t{1}, newerWhole.size() / 2, newerWhole.size() - 1}) {
        SCOPED_TRACE(written);
        const pid_t child = startSavingUpTo(written, path, newer);
        ASSERT_GT(child, 0);
        const int status = statusOf(child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
        ASSERT_TRUE(readWholeFile(path) == olderWhole);
        if (canWriteUnnamed(folder)) {
            EXPECT_EQ(folder.names(), std::vector<std::string>{"Board.larkspool"}) << "nothing is left of it";
        }
    }

    const pid_t child = startSavingUpTo(newerWhole.size(), path, newer);
    ASSERT_GT(child, 0);
    EXPECT_EQ(statusOf(child), 0) << "a save that has room for all its bytes";
    EXPECT_TRUE(readWholeFile(path) == newerWhole);
}

TEST(KilledSave, AtAnyMomentLeavesTheOldOrTheNewFile)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Board.larkspool");
    const TweenDocument one = largeDocument(1000), other = largeDocument(2000);
    const std::vector<std::uint8_t> oneWhole = encodedData(one), otherWhole = encodedData(other);
    ASSERT_NE(oneWhole, otherWhole);

    // How long a save takes on this machine, so that the kills fall everywhere into the second save to the fourth.
    const auto start = std::chrono::steady_clock::now();
    DocumentFile(TweenDocument()).save(one, path);
    const auto saving = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count();

    std::mt19937 random(20'260'721);
    for (int kill = 0; kill < 12; ++kill) {
        const Pipe pipe;
        const pid_t child = startSaving(path, one, other, pipe.writeEnd());
        ASSERT_GT(child, 0);
        pipe.waitForByte();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (3 * static_cast<std::uint64_t>(saving) + 1)));
        ASSERT_TRUE(wasKilled(child)) << "the saving ended by itself";

        const std::vector<std::uint8_t> left = readWholeFile(path);
        ASSERT_TRUE(left == oneWhole || left == otherWhole) << "kill " << kill << " left " << left.size() << " bytes";
        const DocumentFile opened = DocumentFile::open(path);
        EXPECT_TRUE(opened.saved() == one || opened.saved() == other);
        EXPECT_TRUE(opened.diagnostics().empty());
    }
}

TEST(KilledSave, TheNextSaveGoesWell)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Board.larkspool");
    const TweenDocument one = largeDocument(1000), other = largeDocument(2000);
    const Pipe pipe;
    const pid_t child = startSaving(path, one, other, pipe.writeEnd());
    ASSERT_GT(child, 0);
    pipe.waitForByte();
    ASSERT_TRUE(wasKilled(child));

    DocumentFile file = DocumentFile::open(path);
    TweenDocument third = largeDocument(3000);
    file.save(third, path);
    EXPECT_TRUE(DocumentFile::open(path).saved() == third);
}

} // namespace
} // namespace larkspool
