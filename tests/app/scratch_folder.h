#pragma once

#include "foundation/uuid.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace larkspool {

/// An empty folder of its own for one test, removed with all that is in it.
class ScratchFolder {
public:
    ScratchFolder() { std::filesystem::create_directory(path_); }
    ~ScratchFolder() { std::filesystem::remove_all(path_); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string path() const { return path_.string(); }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return file(name);
    }

    std::string read(const std::string& name) const
    {
        std::ifstream stream(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    bool has(const std::string& name) const { return std::filesystem::exists(path_ / name); }

    /// The names of all files, hidden ones too, sorted.
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) found.push_back(entry.path().filename().string());
        std::ranges::sort(found);
        return found;
    }

private:
    std::filesystem::path path_ = std::filesystem::temp_directory_path() / ("larkspool-test-" + UUID::random().string());
};

} // namespace larkspool
