#include "platform/media_file.h"

#include "platform/file_url.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace larkspool {

bool fileExists(const std::string& path)
{
    std::error_code ignored;
    return !path.empty() && std::filesystem::exists(path, ignored);
}

bool isReadableFile(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && ::access(path.c_str(), R_OK) == 0;
}

std::string documentFolder(const std::string& documentPath)
{
    if (documentPath.empty()) return {};
    std::error_code ignored; // Without a working folder there is nothing beside a relative path either.
    return std::filesystem::absolute(documentPath, ignored).parent_path().string();
}

std::optional<std::string> fileBesideDocument(std::string_view reference, std::string_view folder, const FileExists& exists)
{
    if (folder.empty()) return std::nullopt;
    const std::string path = pathFromURLOrPath(reference);
    if (path.empty() || std::filesystem::path(path).is_absolute() || exists(path)) return std::nullopt;
    std::string found = (std::filesystem::path(folder) / path).string();
    if (!exists(found)) return std::nullopt;
    return found;
}

std::string mediaPath(std::string_view reference, std::string_view folder, const FileExists& exists)
{
    if (std::optional<std::string> beside = fileBesideDocument(reference, folder, exists)) return *std::move(beside);
    return pathFromURLOrPath(reference);
}

} // namespace larkspool
