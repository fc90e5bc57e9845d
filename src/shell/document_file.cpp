#include "shell/document_file.h"

#include "platform/file_io.h"

#include <filesystem>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// A name beside `path` that no file has: "Board (as opened).larkspool", and with a number from the second on.
std::string freeNameBeside(const std::string& path)
{
    const std::filesystem::path file(path);
    for (int number = 1;; ++number) {
        const std::string words = number == 1 ? "as opened" : fmt::format("as opened {}", number);
        const std::filesystem::path name =
            file.parent_path() / fmt::format("{} ({}){}", file.stem().string(), words, file.extension().string());
        std::error_code unknown;
        if (!std::filesystem::exists(name, unknown)) return name.string();
    }
}

} // namespace

DocumentFile DocumentFile::open(const std::string& path)
{
    std::vector<std::uint8_t> bytes = readWholeFile(path);
    DecodedDocument decoded = decode(bytes);
    DocumentFile file(std::move(decoded.document));
    file.path_ = path;
    file.diagnostics_ = std::move(decoded.diagnostics);
    if (!file.diagnostics_.empty()) file.repairedBytes_ = std::move(bytes);
    return file;
}

std::string DocumentFile::displayName() const
{
    return path_.empty() ? "Untitled" : std::filesystem::path(path_).stem().string();
}

std::optional<std::string> DocumentFile::save(const TweenDocument& document, const std::string& path)
{
    const std::vector<std::uint8_t> bytes = encodedData(document);
    const std::optional<std::string> kept = keepRepairedBytes(path);
    replaceFileAtomically(path, bytes);
    path_ = path;
    saved_ = document;
    return kept;
}

std::optional<std::string> DocumentFile::keepRepairedBytes(const std::string& path)
{
    if (path != path_ || repairedBytes_.empty()) return std::nullopt;
    const std::string beside = freeNameBeside(path);
    replaceFileAtomically(beside, repairedBytes_);
    repairedBytes_ = {};
    return beside;
}

} // namespace larkspool
