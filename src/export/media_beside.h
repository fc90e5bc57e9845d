#pragma once

#include "document/tween_document.h"
#include "export/sound_sources.h"

#include <string>

namespace larkspool {

/// The document with the media found that lie beside its file.
///
/// A relative path of a video or of the sound bed is taken as it stands, from the folder that the program runs in, where there is
/// such a file. Otherwise it is taken from the folder of the document at `documentPath`, if there is one there: so a document and
/// its media can be moved together. All else stays as it is.
TweenDocument withMediaBeside(TweenDocument document, const std::string& documentPath,
                              const Exporter::FileExists& exists = Exporter::fileExists);

} // namespace larkspool
