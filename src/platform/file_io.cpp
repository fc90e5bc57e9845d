#include "platform/file_io.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

namespace larkspool {

namespace {

PlatformError posixError(const std::string& path, int code)
{
    const std::string words = std::generic_category().message(code);
    return {.localizedDescription = fmt::format("{}: {}", path, words),
            .localizedFailureReason = words,
            .domain = "POSIX",
            .code = code,
            .underlying = nullptr};
}

class OpenFile {
public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        if (descriptor_ >= 0) ::close(descriptor_);
    }

    bool isOpen() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

    /// Closes, and says whether that went well: some file systems only now tell of a failed write.
    bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_;
};

/// Removes a file that never took its final name.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string path) : path_(std::move(path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile()
    {
        if (!path_.empty()) ::unlink(path_.c_str());
    }

    const std::string& path() const { return path_; }
    std::string keep() { return std::exchange(path_, {}); }

private:
    std::string path_;
};

[[noreturn]] void failWithErrno(const std::string& path)
{
    throw FileError(path, errno);
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == path.npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// The file itself behind symbolic links; `path` as it is where there is no file yet.
std::string resolved(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

/// The permissions of the file that is about to be replaced, if there is one.
std::optional<mode_t> permissionsOf(const std::string& path)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) return std::nullopt;
        failWithErrno(path);
    }
    if (S_ISDIR(status.st_mode)) throw FileError(path, EISDIR);
    if (!S_ISREG(status.st_mode)) throw FileError(path, EINVAL);
    return status.st_mode & 07777;
}

/// What is to be written, and where it goes in the end.
struct Replacement {
    const std::string& path;   ///< As errors name it.
    const std::string& target; ///< The same behind symbolic links.
    std::span<const std::uint8_t> contents;
    std::optional<mode_t> permissions; ///< Absent for those that a new file gets.
};

std::string nameBeside(const std::string& path, std::random_device& random)
{
    return fmt::format("{}/.larkspool-{:08x}", folderOf(path), random());
}

constexpr int attemptsAtAName = 100;

/// A new file beside the target.
std::pair<int, std::string> createBeside(const Replacement& replacement)
{
    std::random_device random;
    for (int attempt = 0; attempt < attemptsAtAName; ++attempt) {
        const std::string candidate = nameBeside(replacement.target, random);
        const int descriptor = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0) return {descriptor, candidate};
        if (errno != EEXIST) failWithErrno(replacement.path);
    }
    throw FileError(replacement.path, EEXIST);
}

void writeAll(int descriptor, std::span<const std::uint8_t> contents, const std::string& path)
{
    while (!contents.empty()) {
        const ssize_t written = ::write(descriptor, contents.data(), contents.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) failWithErrno(path);
        contents = contents.subspan(static_cast<std::size_t>(written));
    }
}

/// All bytes, on the disk.
void fill(int descriptor, const Replacement& replacement)
{
    if (replacement.permissions && ::fchmod(descriptor, *replacement.permissions) != 0) failWithErrno(replacement.path);
    writeAll(descriptor, replacement.contents, replacement.path);
    if (::fsync(descriptor) != 0) failWithErrno(replacement.path);
}

/// Writes a file beside the target that has no name until it is whole, so that nothing of it is left if the process is killed.
/// Gives its name; nothing where the system has no such files.
std::optional<std::string> writeUnnamed(const Replacement& replacement)
{
    OpenFile file(::open(folderOf(replacement.target).c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666));
    if (!file.isOpen()) return std::nullopt;
    fill(file.descriptor(), replacement);

    const std::string now = fmt::format("/proc/self/fd/{}", file.descriptor());
    std::random_device random;
    for (int attempt = 0; attempt < attemptsAtAName; ++attempt) {
        TemporaryFile named(nameBeside(replacement.target, random));
        if (::linkat(AT_FDCWD, now.c_str(), AT_FDCWD, named.path().c_str(), AT_SYMLINK_FOLLOW) == 0) {
            if (!file.close()) failWithErrno(replacement.path);
            return named.keep();
        }
        const int failure = errno;
        named.keep(); // It is not ours.
        if (failure != EEXIST) return std::nullopt;
    }
    return std::nullopt;
}

/// The same with a name from the beginning.
std::string writeNamed(const Replacement& replacement)
{
    auto [descriptor, path] = createBeside(replacement);
    OpenFile file(descriptor);
    TemporaryFile temporary(std::move(path));
    fill(file.descriptor(), replacement);
    if (!file.close()) failWithErrno(replacement.path);
    return temporary.keep();
}

/// Makes the new name itself last. A file system that cannot do that has nothing better to offer, so its answer is not asked.
void syncFolder(const std::string& folder)
{
    const OpenFile opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) ::fsync(opened.descriptor());
}

/// Not to block: opening a pipe would otherwise wait for someone at its other end.
OpenFile openForReading(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) failWithErrno(path);
    return OpenFile(descriptor);
}

/// What is known of an open file, which must be a regular one.
struct stat regularStatus(const OpenFile& file, const std::string& path)
{
    struct stat status{};
    if (::fstat(file.descriptor(), &status) != 0) failWithErrno(path);
    if (S_ISDIR(status.st_mode)) throw FileError(path, EISDIR);
    if (!S_ISREG(status.st_mode)) throw FileError(path, EINVAL);
    return status;
}

/// Fills some of `target`, which is not empty, and tells how much: 0 at the end of the file.
std::size_t readSome(const OpenFile& file, std::span<std::uint8_t> target, const std::string& path)
{
    for (;;) {
        const ssize_t count = ::read(file.descriptor(), target.data(), target.size());
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR) failWithErrno(path);
    }
}

} // namespace

FileError::FileError(std::string path, int code) : PlatformFailure(posixError(path, code)), path_(std::move(path)) {}

std::vector<std::uint8_t> readWholeFile(const std::string& path, std::size_t greatestSize)
{
    const OpenFile file = openForReading(path);
    const struct stat status = regularStatus(file, path);
    if (static_cast<std::uintmax_t>(status.st_size) > greatestSize) throw FileError(path, EFBIG);

    // One byte more than the file should have, so that the last read meets its end even if it has grown.
    std::vector<std::uint8_t> contents(static_cast<std::size_t>(status.st_size) + 1);
    std::size_t size = 0;
    while (const std::size_t count = readSome(file, std::span(contents).subspan(size), path)) {
        size += count;
        if (size > greatestSize) throw FileError(path, EFBIG); // It has grown meanwhile.
        if (size == contents.size()) contents.resize(contents.size() * 2);
    }
    contents.resize(size);
    return contents;
}

std::vector<std::uint8_t> readFileHead(const std::string& path, std::size_t count)
{
    const OpenFile file = openForReading(path);
    regularStatus(file, path);
    std::vector<std::uint8_t> head(count);
    std::size_t size = 0;
    while (size < count) {
        const std::size_t got = readSome(file, std::span(head).subspan(size), path);
        if (got == 0) break;
        size += got;
    }
    head.resize(size);
    return head;
}

void replaceFileAtomically(const std::string& path, std::span<const std::uint8_t> contents)
{
    const std::string target = resolved(path);
    const Replacement replacement{path, target, contents, permissionsOf(target)};
    std::optional<std::string> written = writeUnnamed(replacement);
    TemporaryFile temporary(written ? *std::move(written) : writeNamed(replacement));
    if (::rename(temporary.path().c_str(), target.c_str()) != 0) failWithErrno(path);
    temporary.keep();
    syncFolder(folderOf(target));
}

void makePrivateFolder(const std::string& path)
{
    std::error_code failure;
    if (path.empty() || std::filesystem::is_directory(path, failure)) return;
    if (!std::filesystem::create_directories(path, failure)) {
        if (failure) throw FileError(path, failure.value());
        return;
    }
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, failure);
    if (failure) throw FileError(path, failure.value());
}

} // namespace larkspool
