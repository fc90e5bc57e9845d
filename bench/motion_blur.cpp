// Motion blur: what the mean of its pictures costs for each of them, apart from drawing it, and what a blurred film costs where
// nothing moves.
//
//     bench_motion_blur [--runs N]
#include "bench_scenes.h"
#include "export/exporter.h"
#include "export/motion_blur.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace larkspool;

constexpr int width = 1920, height = 1080;

double millisecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void fillWithNoise(PixelBuffer& picture, std::uint32_t seed)
{
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < 4 * picture.width(); ++x) {
            seed = seed * 1664525 + 1013904223;
            picture.row(y)[x] = static_cast<std::uint8_t>(seed >> 24);
        }
}

/// The least of many tries: what else runs on the machine only adds.
double quickest(int runs, const std::function<void()>& work)
{
    double least = millisecondsOf(work);
    for (int run = 0; run < 20 * runs; ++run) least = std::min(least, millisecondsOf(work));
    return least;
}

/// Blends 16 samples, as the strongest blur does, and copies as much memory for comparison.
void printBlend(int runs)
{
    constexpr int samples = 16;
    PixelBuffer mean(width, height), sample(width, height);
    fillWithNoise(mean, 1);
    fillWithNoise(sample, 2);
    double blends = 0, copy = quickest(runs, [&] { std::memcpy(mean.data(), sample.data(), mean.bytesPerRow() * height); });
    for (int k = 1; k < samples; ++k) blends += quickest(runs, [&] { Exporter::blendRunningMean(mean, sample, k); });
    const double blend = blends / (samples - 1);
    std::printf("mean of %d pictures of %d x %d: %.2f ms for each (at most 1.5), %.1f of a copy (%.2f ms)\n", samples, width, height,
                blend, blend / copy, copy);
    std::fflush(stdout);
}

double exportMilliseconds(const TweenScene& scene, int samples)
{
    const std::string path =
        (std::filesystem::temp_directory_path() / ("larkspool-bench-" + UUID::random().string() + ".mp4")).string();
    const double took =
        millisecondsOf([&] { Exporter::exportMP4(scene, path, 0, std::nullopt, {}, {.motionBlurSamples = samples}); });
    std::filesystem::remove(path);
    return took;
}

void printFilm(const char* what, const TweenScene& scene, int runs)
{
    std::vector<double> plain, strong;
    for (int run = 0; run < runs; ++run) {
        plain.push_back(exportMilliseconds(scene, 1));
        strong.push_back(exportMilliseconds(scene, 16));
    }
    std::printf("%s, %.0f s: %.0f ms without blur, %.0f ms with 16 samples, ratio %.2f\n", what, scene.duration, median(plain),
                median(strong), median(strong) / median(plain));
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    const int runs = count == 3 && std::string(arguments[1]) == "--runs" ? std::max(std::atoi(arguments[2]), 1) : 3;
    printBlend(runs);
    TweenScene still = stillDocument().scenes[0];
    still.duration = 1; // Before anything moves.
    printFilm("a scene that stands still", still, runs);
    TweenScene moving = cardsDocument().scenes[0];
    moving.duration = 1;
    printFilm("a scene that moves", moving, 1);
}
