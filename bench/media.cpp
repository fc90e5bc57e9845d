// Draws frames full of media, warm, and prints what each takes beside the time it may take.
#include "platform/png_writer.h"
#include "rendering/frame_composition.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

using namespace larkspool;

constexpr CGSize frameSize{1920, 1080};
constexpr int runs = 30;

/// Milliseconds.
struct Times {
    double best, median;
};

Times measured(const std::function<void(int)>& work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work(i);
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::sort(times);
    return {times.front(), times[times.size() / 2]};
}

/// A screenshot-like picture of 3840 x 2160, another for each number.
Bytes screenshot(int number)
{
    PixelBuffer pixels(3840, 2160);
    for (int y = 0; y < pixels.height(); ++y)
        for (int x = 0; x < pixels.width(); ++x) {
            std::uint8_t* pixel = pixels.row(y) + 4 * x;
            const bool line = y % 40 == 0 || x % 160 == 0;
            pixel[0] = static_cast<std::uint8_t>(line ? 90 : 240 - number);
            pixel[1] = static_cast<std::uint8_t>(line ? 90 : 240);
            pixel[2] = static_cast<std::uint8_t>(line ? 90 : 225 + number);
            pixel[3] = 255;
        }
    return encodePng(pixels);
}

TweenScene screenshotsAtAQuarter()
{
    Array<Layer> layers;
    for (int i = 0; i < 20; ++i) {
        Layer layer{.kind = Layer::Kind::image, .size = {960, 540}, .imageData = screenshot(i)};
        layer.transform = {.x = 50.0 * (i % 5), .y = 120.0 * (i / 5)};
        layers.append(layer);
    }
    return {.width = frameSize.width, .height = frameSize.height, .layers = layers};
}

TweenScene wholeGradientField()
{
    return {.width = frameSize.width,
            .height = frameSize.height,
            .layers = {Layer{.kind = Layer::Kind::gradientField, .stroke = {0.8, 0.2, 0.5, 1}, .size = frameSize}}};
}

void print(const char* name, const TweenScene& scene, double limit)
{
    PixelBuffer pixels(static_cast<std::int64_t>(frameSize.width), static_cast<std::int64_t>(frameSize.height));
    const std::unique_ptr<RasterContext> context = makeRasterContext(pixels);
    Exporter::drawScene(scene, 0, *context, frameSize); // Decodes and scales what is kept.
    const Times times = measured([&](int frame) { Exporter::drawScene(scene, frame / 60.0, *context, frameSize); });
    std::printf("%-22s %7.3f ms (median %7.3f) of %g\n", name, times.best, times.median, limit);
}

} // namespace

int main()
{
    print("twenty 4K pictures", screenshotsAtAQuarter(), 10);
    print("gradient field", wholeGradientField(), 12);
    return 0;
}
