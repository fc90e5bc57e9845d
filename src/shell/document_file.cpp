#include "shell/document_file.h"

#include "platform/file_io.h"

#include <cstdint>
#include <filesystem>
#include <utility>
#include <vector>

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
    if (!file.diagnostics_.empty()) file.repairedBytes_ = Bytes(std::move(bytes));
    return file;
}

std::string DocumentFile::displayName() const
{
    return path_.empty() ? "Untitled" : std::filesystem::path(path_).stem().string();
}

void DocumentWriting::write()
{
    const std::vector<std::uint8_t> bytes = encodedData(document);
    if (!repairedBytes.empty()) {
        const std::string beside = freeNameBeside(path);
        replaceFileAtomically(beside, repairedBytes.view());
        kept = beside;
    }
    replaceFileAtomically(path, bytes);
    isWritten = true;
}

std::optional<std::string> DocumentFile::save(const TweenDocument& document, const std::string& path)
{
    DocumentWriting saving = writing(document, path);
    try {
        saving.write();
    } catch (...) {
        note(std::move(saving));
        throw;
    }
    std::optional<std::string> kept = saving.kept;
    note(std::move(saving));
    return kept;
}

DocumentWriting DocumentFile::writing(TweenDocument document, const std::string& path) const
{
    DocumentWriting saving{.document = std::move(document), .path = path};
    if (path == path_) saving.repairedBytes = repairedBytes_;
    return saving;
}

void DocumentFile::note(DocumentWriting writing)
{
    if (writing.kept) repairedBytes_ = {};
    if (!writing.isWritten) return;
    path_ = std::move(writing.path);
    saved_ = std::move(writing.document);
}

} // namespace larkspool
