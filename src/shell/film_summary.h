#pragma once

#include "shell/film_export.h"

#include <cstdint>
#include <optional>

namespace larkspool {

/// What a film will be like, for the person who is about to write it.
struct FilmSummary {
    std::int64_t width = 0; ///< Pixels.
    std::int64_t height = 0;
    std::int64_t fps = 0;
    double seconds = 0;
    bool hasSound = false;

    bool operator==(const FilmSummary&) const = default;
};

/// Nothing for a job that no film can come of.
std::optional<FilmSummary> filmSummary(const FilmJob& job);

} // namespace larkspool
