#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace larkspool {

/// What the system says of a failure.
struct PlatformError {
    std::string localizedDescription;
    std::optional<std::string> localizedFailureReason;
    std::string domain; ///< Who speaks: "FFmpeg", "POSIX".
    std::int64_t code = 0; ///< POSIX: the errno. FFmpeg: the library's negative status.
    std::shared_ptr<const PlatformError> underlying;
};

/// A PlatformError on its way through the layers of this folder.
class PlatformFailure : public std::runtime_error {
public:
    explicit PlatformFailure(PlatformError error) : std::runtime_error(error.localizedDescription), error_(std::move(error)) {}

    const PlatformError& error() const { return error_; }

private:
    PlatformError error_;
};

} // namespace larkspool
