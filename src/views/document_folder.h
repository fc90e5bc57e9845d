#pragma once

#include <QString>

#include <string>

namespace larkspool {

/// What file dialogs show of documents.
inline constexpr char documentFilter[] = "Larkspool documents (*.larkspool)";

/// Where a file dialog begins: in the folder of the document at `path`, or in the person's own folder for documents, or else
/// their home, if the path is empty or its folder is gone.
QString folderOfDocument(const std::string& path);

} // namespace larkspool
