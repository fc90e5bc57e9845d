#include "export/pending_file.h"

#include "export/exporter.h"
#include "foundation/uuid.h"

#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// As much of a name as leaves room for what is added to it, within the 255 bytes that a name may have.
constexpr std::size_t longestNamePart = 200;

[[noreturn]] void failWriting(std::string detail)
{
    throw Exporter::ExportError(Exporter::ExportError::Kind::writeFailed, std::move(detail));
}

} // namespace

PendingFile::PendingFile(std::filesystem::path destination) : destination_(std::move(destination))
{
    const std::string name = destination_.filename().string();
    std::error_code ignored;
    const std::filesystem::file_status there = std::filesystem::status(destination_, ignored);
    if (name.empty() || (std::filesystem::exists(there) && !std::filesystem::is_regular_file(there)))
        failWriting(fmt::format("\"{}\" is no name of a file that a film can take", destination_.string()));

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
    if (!error) return;
    failWriting(fmt::format("The film cannot be put at {}: {}", destination_.string(), error.message()));
}

} // namespace larkspool
