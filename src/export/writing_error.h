#pragma once

#include "export/exporter.h"
#include "platform/platform_error.h"

#include <cstdint>

namespace larkspool::Exporter {

/// A step of writing a film that the system refused.
class WritingError : public ExportError {
public:
    enum class Step { start, makePicture, append, finish };

    /// `frame` is where an append failed.
    WritingError(Step step, PlatformError cause, std::int64_t frame = 0);

    Step step() const noexcept { return step_; }
    std::int64_t frame() const noexcept { return frame_; }
    const PlatformError& cause() const noexcept { return cause_; } ///< What the system said.

private:
    Step step_;
    PlatformError cause_;
    std::int64_t frame_;
};

} // namespace larkspool::Exporter
