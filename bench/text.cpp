// Draws the scene of sixty typed texts frame by frame, as an export does, and prints what a frame takes and how that compares
// with filling the frame once.
#include "bench_scenes.h"
#include "rendering/frame_composition.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using namespace larkspool;

constexpr double targetMilliseconds = 8;
constexpr CGSize view{1920, 1080};

template <typename Work>
double milliseconds(const Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(std::vector<double> times)
{
    std::ranges::sort(times);
    return times[times.size() / 2];
}

} // namespace

int main()
{
    const TweenDocument document = textDocument();
    const TweenScene& scene = document.scenes[0];
    PixelBuffer pixels(static_cast<std::int64_t>(view.width), static_cast<std::int64_t>(view.height));
    const std::unique_ptr<RasterContext> context = makeRasterContext(pixels);

    std::vector<double> fills;
    for (int i = 0; i < 40; ++i)
        fills.push_back(milliseconds([&] {
            context->setFillColor({1, 1, 1, 1});
            context->fillRect({{0, 0}, view});
        }));
    const double fill = medianOf(fills);
    std::printf("%-10s %7.3f ms (median)\n", "fill", fill);

    const int frames = static_cast<int>(scene.duration * static_cast<double>(scene.fps));
    for (const char* pass : {"first pass", "second"}) {
        std::vector<double> times;
        double sum = 0;
        for (int i = 0; i < frames; ++i) {
            const double time = i / static_cast<double>(scene.fps);
            times.push_back(milliseconds([&] { Exporter::drawScene(scene, time, *context, view); }));
            sum += times.back();
        }
        const double mean = sum / frames;
        std::printf("%-10s %7.3f ms a frame (median %.3f, slowest %.3f), %.1f fills of the frame; the target is %.0f ms\n", pass,
                    mean, medianOf(times), *std::ranges::max_element(times), mean / fill, targetMilliseconds);
    }
    return 0;
}
