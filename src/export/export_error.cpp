#include "export/exporter.h"

#include "foundation/text.h"

#include <fmt/format.h>

namespace larkspool::Exporter {

namespace {

std::string personsWords(ExportError::Kind kind, const std::string& detail)
{
    switch (kind) {
    case ExportError::Kind::cannotCreateWriter: return "Couldn't create the video writer.";
    case ExportError::Kind::cannotCreatePixelBufferPool: return "Couldn't allocate a pixel buffer pool.";
    case ExportError::Kind::userCancelled: return "Export cancelled.";
    case ExportError::Kind::writeFailed: return "Export failed: " + detail;
    }
    return {};
}

} // namespace

ExportError::ExportError(Kind kind, std::string detail)
    : std::runtime_error(personsWords(kind, detail)), kind_(kind), detail_(std::move(detail))
{
}

std::string ExportError::textualForm() const
{
    switch (kind_) {
    case Kind::cannotCreateWriter: return "cannotCreateWriter";
    case Kind::cannotCreatePixelBufferPool: return "cannotCreatePixelBufferPool";
    case Kind::userCancelled: return "userCancelled";
    case Kind::writeFailed: return fmt::format("writeFailed({})", inDoubleQuotes(detail_));
    }
    return {};
}

} // namespace larkspool::Exporter
