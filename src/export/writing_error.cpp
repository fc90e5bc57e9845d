#include "export/writing_error.h"

#include "export/film.h"

#include <utility>

#include <fmt/format.h>

namespace larkspool::Exporter {

namespace {

std::string wordsOf(WritingError::Step step, const PlatformError& cause, std::int64_t frame)
{
    switch (step) {
    case WritingError::Step::start: return "startWriting failed: " + describe(cause);
    case WritingError::Step::makePicture: return fmt::format("Pixel buffer alloc failed: {}", cause.code);
    case WritingError::Step::append: return fmt::format("append failed at frame {}: {}", frame, describe(cause));
    case WritingError::Step::finish: return "finishWriting failed: " + describe(cause);
    }
    return {};
}

} // namespace

WritingError::WritingError(Step step, PlatformError cause, std::int64_t frame)
    : ExportError(Kind::writeFailed, wordsOf(step, cause, frame)), step_(step), cause_(std::move(cause)), frame_(frame)
{
}

} // namespace larkspool::Exporter
