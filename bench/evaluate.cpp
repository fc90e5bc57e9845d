// What evaluating a scene costs: all 1,000 keyframed layers of `many` once, on one thread and without kept results, and a deep
// tree of groups. The floor is copying the same layers, since every evaluated layer is a copy at least.

#include "bench_scenes.h"
#include "evaluation/evaluated_frame.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

using namespace larkspool;

constexpr int passes = 300;

/// Median milliseconds of one call of `pass(time)`, over times all along a film of 5 s.
template <typename Pass>
double medianMilliseconds(int count, Pass pass)
{
    std::vector<double> milliseconds;
    for (int i = 0; i < count; ++i) {
        const auto start = std::chrono::steady_clock::now();
        pass(5.0 * i / count);
        milliseconds.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    const auto middle = milliseconds.begin() + count / 2;
    std::nth_element(milliseconds.begin(), middle, milliseconds.end());
    return *middle;
}

void report(const char* what, double milliseconds, double floor)
{
    std::printf("  %-46s %8.4f ms   %6.2f x the copy\n", what, milliseconds, milliseconds / floor);
}

void measureMany()
{
    const TweenDocument document = manyDocument();
    const TweenScene& scene = document.scenes[0];
    std::printf("many: %zu layers, %d passes, medians\n", scene.layers.size(), passes);

    const double floor = medianMilliseconds(passes, [&](double) {
        std::vector<Layer> copies;
        copies.reserve(scene.layers.size());
        for (const Layer& layer : scene.layers) copies.push_back(layer);
    });
    report("copying every layer (the floor)", floor, floor);
    report("Interpolation::resolve of every layer",
           medianMilliseconds(passes,
                              [&](double time) {
                                  std::vector<Layer> resolved;
                                  resolved.reserve(scene.layers.size());
                                  for (const Layer& layer : scene.layers)
                                      resolved.push_back(Interpolation::resolve(layer, time));
                              }),
           floor);
    report("evaluateFrame", medianMilliseconds(passes, [&](double time) { evaluateFrame(scene, time); }), floor);

    const EvaluatedFrame frame = evaluateFrame(scene, 1), same = evaluateFrame(scene, 1);
    bool equal = true;
    report("comparing two equal frames", medianMilliseconds(passes, [&](double) { equal = equal && frame == same; }), floor);
    if (!equal) std::printf("  the two frames differ\n");
}

/// Groups within groups: the box of each is asked for at every level above it.
void measureDepth()
{
    constexpr int depth = 250;
    Layer inner;
    for (int level = 0; level < depth; ++level) {
        Layer group;
        group.kind = Layer::Kind::group;
        group.groupLayout = GroupLayout::vertical;
        group.children = {Layer{}, inner};
        inner = group;
    }
    TweenScene scene;
    scene.layers = {inner};
    std::printf("%d stacks within each other: %.3f ms\n", depth,
                medianMilliseconds(20, [&](double time) { evaluateFrame(scene, time); }));
}

} // namespace

int main()
{
    // Results are kept on the main thread only.
    std::thread worker([] {
        measureMany();
        measureDepth();
    });
    worker.join();
}
