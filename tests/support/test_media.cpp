#include "support/test_media.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fmt/format.h>

namespace larkspool {

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "larkspool-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    folder_ = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const
{
    std::vector<std::string> list;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) list.push_back(entry.path().filename().string());
    std::ranges::sort(list);
    return list;
}

void makeMedia(const std::string& path, const std::string& arguments)
{
    const std::string words = path + ".words";
    const std::string command =
        fmt::format("ffmpeg -nostdin -hide_banner -v error -y {} '{}' </dev/null >'{}' 2>&1", arguments, path, words);
    const int status = std::system(command.c_str());
    const std::vector<std::uint8_t> said = fileBytes(words);
    std::filesystem::remove(words);
    if (status != 0) throw std::runtime_error(command + "\n" + std::string(said.begin(), said.end()));
}

std::string countingSource(int frames, int framesPerSecond, std::string_view size)
{
    return fmt::format("-f lavfi -i \"color=black:s={0}:r={1}:d={2},format=yuv420p,trim=end_frame={3},"
                       "geq=lum='16+4*mod(N,50)':cb=128:cr=128\"",
                       size, framesPerSecond, static_cast<double>(frames + 1) / framesPerSecond, frames);
}

int toldNumber(const ImageRef& image)
{
    if (!image) return -1;
    const std::uint8_t* pixel = image->pixels().row(image->height() / 2) + 4 * (image->width() / 2);
    return static_cast<int>(std::lround(pixel[1] * 219.0 / 255 / 4));
}

std::vector<std::uint8_t> fileBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void writeFile(const std::string& path, std::string_view text)
{
    writeFile(path, std::vector<std::uint8_t>(text.begin(), text.end()));
}

} // namespace larkspool
