// Writes the benchmark documents into a folder:  make_scenes FOLDER [NAME...]

#include "bench_scenes.h"
#include "document/file_format.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fmt/format.h>

using namespace larkspool;

namespace {

void write(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw std::runtime_error(fmt::format("{} cannot be written", path.string()));
}

int explain()
{
    fmt::print(stderr, "make_scenes FOLDER [NAME...]\n\n");
    for (const BenchDocument& document : benchDocuments()) fmt::print(stderr, "    {:8} {}\n", document.name, document.about);
    return 2;
}

} // namespace

int main(int count, char** arguments)
{
    const std::vector<std::string> words(arguments + 1, arguments + count);
    if (words.empty()) return explain();
    const std::span<const std::string> wanted = std::span(words).subspan(1);
    for (const std::string& name : wanted)
        if (std::ranges::find(benchDocuments(), name, &BenchDocument::name) == benchDocuments().end()) return explain();

    try {
        std::filesystem::create_directories(words[0]);
        for (const BenchDocument& document : benchDocuments()) {
            if (!wanted.empty() && std::ranges::find(wanted, document.name) == wanted.end()) continue;
            const std::vector<std::uint8_t> bytes = encodedData(document.make());
            write(std::filesystem::path(words[0]) / fmt::format("{}.{}", document.name, TweenDocument::fileExtension), bytes);
            fmt::print("{:8} {:9} bytes\n", document.name, bytes.size());
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
    return 0;
}
