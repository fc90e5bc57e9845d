// How long a document takes to be read and written: one with 60 MB of pictures, and one with 10,000 layers of 5 keyframes.
//
//     bench_decode [RUNS]
//
// Each time is the median of the runs, with its ratio to copying the same file into fresh memory in the same run.

#include "document/file_format.h"
#include "foundation/json_tree.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string_view>

#include <fmt/format.h>

namespace {

using namespace larkspool;

TweenDocument documentOfLayers(std::vector<Layer> layers)
{
    TweenScene scene{.name = "Bench"};
    scene.layers = std::move(layers);
    return {.scenes = {scene}};
}

TweenDocument picturesDocument()
{
    constexpr std::size_t pictures = 3, pictureSize = 20'000'000;
    std::mt19937_64 random(1);
    std::vector<Layer> layers(pictures, Layer{.kind = Layer::Kind::image});
    for (Layer& layer : layers) {
        std::vector<std::uint8_t> bytes(pictureSize);
        for (std::size_t i = 0; i < bytes.size(); i += sizeof(std::uint64_t)) {
            const std::uint64_t word = random();
            std::memcpy(bytes.data() + i, &word, sizeof word);
        }
        layer.imageData = Bytes(std::move(bytes));
    }
    return documentOfLayers(std::move(layers));
}

TweenDocument layersDocument()
{
    constexpr int layerCount = 10'000, keyframeCount = 5;
    std::mt19937_64 random(2);
    const auto number = [&] { return static_cast<double>(random() % 192'000) / 100; };
    std::vector<Layer> layers;
    for (int i = 0; i < layerCount; ++i) {
        Layer layer{.name = fmt::format("Rectangle {}", i + 1),
                    .transform = {.x = number(), .y = number()},
                    .size = {number(), number()}};
        for (int k = 0; k < keyframeCount; ++k)
            layer.keyframes.append({.property = k % 2 ? Keyframe::AnimatableProperty::x : Keyframe::AnimatableProperty::y,
                                    .time = k * 0.5,
                                    .value = number()});
        layers.push_back(std::move(layer));
    }
    return documentOfLayers(std::move(layers));
}

double medianSeconds(int runs, const std::function<void()>& work)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> seconds;
    for (int i = 0; i < runs; ++i) {
        const Clock::time_point start = Clock::now();
        work();
        seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    std::ranges::nth_element(seconds, seconds.begin() + runs / 2);
    return seconds[static_cast<std::size_t>(runs / 2)];
}

void print(std::string_view what, double seconds, double floor)
{
    fmt::print("  {:<28}{:8.1f} ms  {:6.1f} x copying\n", what, seconds * 1e3, seconds / floor);
}

void measure(std::string_view name, const TweenDocument& document, int runs)
{
    const std::vector<std::uint8_t> file = encodedData(document);
    fmt::print("{}: {:.1f} MB\n", name, static_cast<double>(file.size()) / 1e6);

    std::uint64_t sum = 0; // Printed, so that no work can be left out as useless.
    const double copying = medianSeconds(runs, [&] {
        const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[file.size()]);
        std::memcpy(copy.get(), file.data(), file.size());
        sum += copy[file.size() / 2];
    });
    print("copying the file", copying, copying);
    const std::string_view json(reinterpret_cast<const char*>(file.data()) + fileMagic.size(), file.size() - fileMagic.size());
    print("parsing its JSON", medianSeconds(runs, [&] { sum += JsonTree(json).root().size(); }), copying);
    print("decoding it", medianSeconds(runs, [&] { sum += decode(file).document.scenes.size(); }), copying);
    print("encoding it", medianSeconds(runs, [&] { sum += encodedData(document).size(); }), copying);
    fmt::print("  (checksum {})\n", sum);
}

} // namespace

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    measure("60 MB of pictures", picturesDocument(), runs);
    measure("10,000 layers of 5 keyframes", layersDocument(), runs);
}
