// Draws every frame of documents on one core and prints the mean time of evaluating and of drawing one, and how the drawing
// compares with filling the frame once.
//
//     bench_drawing [NAME ...]        all single-scene documents, where none is named
#include "bench_scenes.h"
#include "rendering/frame_composition.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace larkspool;
using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

double fillMilliseconds(PixelBuffer& picture)
{
    constexpr int runs = 50;
    const auto context = makeRasterContext(picture);
    context->setFillColor({0.9, 0.9, 0.9, 1});
    const auto start = Clock::now();
    for (int i = 0; i < runs; ++i) context->fillRect({{0, 0}, {picture.width() * 1.0, picture.height() * 1.0}});
    return milliseconds(Clock::now() - start) / runs;
}

void printDrawing(const BenchDocument& bench)
{
    const TweenScene scene = bench.make().scenes[0];
    PixelBuffer picture(static_cast<std::int64_t>(scene.width), static_cast<std::int64_t>(scene.height));
    const auto frames = static_cast<int>(scene.duration * static_cast<double>(scene.fps));
    Clock::duration evaluating{}, drawing{}, slowest{};
    for (int i = 0; i < frames; ++i) {
        const auto start = Clock::now();
        const EvaluatedFrame frame = evaluateFrame(scene, i / static_cast<double>(scene.fps));
        const auto evaluated = Clock::now();
        Exporter::drawFrame(frame, *makeRasterContext(picture), scene.size());
        const auto drawn = Clock::now();
        evaluating += evaluated - start;
        drawing += drawn - evaluated;
        slowest = std::max(slowest, drawn - evaluated);
    }
    const double mean = milliseconds(drawing) / frames;
    std::printf("%-8s evaluate %6.3f ms   draw %7.3f ms a frame, slowest %7.3f ms   %5.1f fills of the frame\n",
                std::string(bench.name).c_str(), milliseconds(evaluating) / frames, mean, milliseconds(slowest), mean / fillMilliseconds(picture));
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    const std::vector<std::string> names(arguments + 1, arguments + count);
    // Off the main thread, where no result of evaluation is kept, as in an export.
    std::thread([&] {
        for (const BenchDocument& bench : benchDocuments())
            if (names.empty() ? bench.name != "multi" : std::ranges::find(names, bench.name) != names.end()) printDrawing(bench);
    }).join();
}
