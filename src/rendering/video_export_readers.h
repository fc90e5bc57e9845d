#pragma once

#include "platform/image.h"

#include <string>

namespace larkspool {

/// The picture of a video for the second exporter, whose times mostly rise; null if it cannot be had.
///
/// Each file has one forward reader for the length of an export. A file that it fails on, or whose pictures need turning, is
/// remembered and read by `Exporter::exportFrame` from then on. For any thread.
ImageRef videoFrameForGPU(const std::string& path, double time);

/// Closes all forward readers and forgets the files that they failed on. For the start and every end of an export.
void resetActiveVideoExportReaders();

} // namespace larkspool
