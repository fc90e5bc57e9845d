// What it costs to bring a large picture into a document: a PNG of some 50 MB, read and decoded, so that it can be painted at
// once. The floor is reading its bytes.

#include "canvas/media_import.h"
#include "platform/file_io.h"
#include "platform/png_writer.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

namespace {

using namespace larkspool;

constexpr int passes = 5;

double millisecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// A photograph's worth: soft colours with the noise of a sensor, or noise alone.
std::vector<std::uint8_t> photograph(int width, int height, unsigned noise, std::uint64_t seed)
{
    std::mt19937_64 random(seed);
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::uint8_t* pixel = pixels.row(y) + 4 * x;
            const std::uint64_t bits = random();
            for (int c = 0; c < 3; ++c)
                pixel[c] = static_cast<std::uint8_t>(static_cast<unsigned>(x + y * c) / 16 + ((bits >> (8 * c)) & 0xFF) % noise);
            pixel[3] = 255;
        }
    return encodePng(pixels);
}

void measure(const char* what, int width, int height, unsigned noise)
{
    const std::string path = (std::filesystem::temp_directory_path() / "larkspool-bench-import.png").string();
    const TweenScene scene;
    double best = 1e9, floor = 1e9;
    std::size_t size = 0;
    for (int i = 0; i < passes; ++i) {
        // Another one each time: pictures are decoded once for each content.
        replaceFileAtomically(path, photograph(width, height, noise, static_cast<std::uint64_t>(i)));
        auto start = std::chrono::steady_clock::now();
        size = readWholeFile(path).size();
        floor = std::min(floor, millisecondsSince(start));
        start = std::chrono::steady_clock::now();
        const bool isThere = MediaImport::imageLayer(path, scene).has_value();
        best = std::min(best, millisecondsSince(start));
        if (!isThere) std::printf("NO LAYER\n");
    }
    std::filesystem::remove(path);
    std::printf("  %-16s %5d x %-5d %6.1f MB  %7.0f ms  %6.1f of the floor\n", what, width, height,
                static_cast<double>(size) / 1e6, best, best / floor);
}

} // namespace

int main()
{
    std::printf("a picture becomes a layer, ready to be painted; best of %d\n", passes);
    measure("noise", 4096, 4096, 256);
    measure("photograph", 6000, 4500, 16);
    return 0;
}
