#pragma once

#include "app/call.h"
#include "document/file_format.h"

#include <string>

namespace larkspool {

/// Reads the document at `path`. Throws FileError or Failure, naming the path, for a file that cannot be read or is no document.
DecodedDocument readDocument(const std::string& path);

inline constexpr Option sceneOption{"--scene", "N", "the scene, counted from 0; without it, the document's active one"};

/// The scene that `--scene` names, counted from 0, or the active one. Throws WrongCall if there is no such scene.
std::size_t sceneIndex(const Call& call, const TweenDocument& document);

/// Throws WrongCall if `output` is the very file of the document, which writing would destroy.
void keepDocumentWhole(const std::string& document, const std::string& output);

} // namespace larkspool
