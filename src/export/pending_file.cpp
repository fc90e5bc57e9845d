#include "export/pending_file.h"

#include "export/exporter.h"
#include "foundation/uuid.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <unistd.h>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// As much of a name as leaves room for what is added to it, within the 255 bytes that a name may have.
constexpr std::size_t longestNamePart = 200;

[[noreturn]] void failWriting(std::string detail)
{
    throw Exporter::ExportError(Exporter::ExportError::Kind::writeFailed, std::move(detail));
}

[[noreturn]] void failPlacing(const std::filesystem::path& destination, const std::error_code& error)
{
    failWriting(fmt::format("The film cannot be put at {}: {}", destination.string(), error.message()));
}

/// The file itself behind symbolic links, so that a link stays one; `path` as it is where there is no file yet.
std::filesystem::path resolved(std::filesystem::path path)
{
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? std::move(path) : real;
}

/// Throws writeFailed for a folder in which no file can be made, by its destination rather than by the name that is hidden.
void requireWritableFolder(const std::filesystem::path& destination)
{
    const std::filesystem::path folder = destination.has_parent_path() ? destination.parent_path() : ".";
    if (::access((folder / ".").c_str(), W_OK | X_OK) != 0) failPlacing(destination, {errno, std::generic_category()});
}

} // namespace

PendingFile::PendingFile(std::filesystem::path destination) : destination_(resolved(std::move(destination)))
{
    const std::string name = destination_.filename().string();
    std::error_code ignored;
    const std::filesystem::file_status there = std::filesystem::status(destination_, ignored);
    if (name.empty() || (std::filesystem::exists(there) && !std::filesystem::is_regular_file(there)))
        failWriting(fmt::format("\"{}\" is no name of a file that a film can take", destination_.string()));
    requireWritableFolder(destination_);

    pending_ = destination_.parent_path() / fmt::format(".{}.{}.part", name.substr(0, longestNamePart), UUID::random().string());
}

PendingFile::~PendingFile()
{
    std::error_code ignored;
    std::filesystem::remove(pending_, ignored);
}

void PendingFile::takeName()
{
    std::error_code error;
    std::filesystem::rename(pending_, destination_, error);
    if (error) failPlacing(destination_, error);
}

} // namespace larkspool
