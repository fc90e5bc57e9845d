#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// Where the files are that a document names.

/// Whether there is a file at a path.
using FileExists = std::function<bool(const std::string& path)>;
bool fileExists(const std::string& path);

/// Whether there is a regular file at the path that this program may read.
bool isReadableFile(const std::string& path);

/// The folder that the document's file lies in, as an absolute path; empty for a document without a file.
std::string documentFolder(const std::string& documentPath);

/// The file that a relative reference names from the folder of the document, so that a document and its media can be moved
/// together. Nothing for a reference that is absolute or names a file as it stands, from the folder that the program runs in, for
/// one that names no file there either, and without a folder.
std::optional<std::string> fileBesideDocument(std::string_view reference, std::string_view folder,
                                              const FileExists& exists = fileExists);

/// The path that a reference, a `file:` URL or a plain path, stands for: of the file beside the document where it names that, else
/// as it stands, whether or not there is a file.
std::string mediaPath(std::string_view reference, std::string_view folder, const FileExists& exists = fileExists);

} // namespace larkspool
