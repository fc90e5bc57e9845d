#pragma once

#include "support/test_media.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// Where temporary files go meanwhile.
class TemporaryFilesIn {
public:
    explicit TemporaryFilesIn(const std::string& folder)
    {
        if (const char* before = std::getenv("TMPDIR")) before_ = before;
        setenv("TMPDIR", folder.c_str(), 1);
    }
    ~TemporaryFilesIn()
    {
        if (before_)
            setenv("TMPDIR", before_->c_str(), 1);
        else
            unsetenv("TMPDIR");
    }
    TemporaryFilesIn(const TemporaryFilesIn&) = delete;
    TemporaryFilesIn& operator=(const TemporaryFilesIn&) = delete;

private:
    std::optional<std::string> before_;
};

/// A folder for films and one for temporary files.
struct Places {
    TemporaryFolder films, temporary;
    TemporaryFilesIn redirected{temporary.path("")};

    std::string film() const { return films.path("film.mp4"); }
    static std::vector<std::string> namesIn(const TemporaryFolder& folder)
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) names.push_back(entry.path().filename());
        return names;
    }
};

} // namespace larkspool
