// How long the assistant's tools take on a scene of 500 layers with 20 MB of pictures: a patch of 100 operations, and the scene
// as the model reads it.
//
//     bench_assistant [RUNS]
//
// Each time is the median of the runs, with its ratio to writing and reading the same document once in the same run.

#include "assistant/assistant_tools.h"
#include "document/file_format.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

namespace {

using namespace larkspool;

constexpr std::uint64_t layerCount = 500, pictureCount = 10, pictureSize = 2'000'000;

UUID layerID(std::uint64_t number)
{
    return {1, number};
}

TweenDocument largeDocument()
{
    std::mt19937_64 random(1);
    std::vector<Layer> layers;
    for (std::uint64_t i = 0; i < layerCount; ++i) {
        Layer layer{.id = layerID(i), .name = fmt::format("Rectangle {}", i)};
        for (int k = 0; k < 5; ++k) layer.keyframes.append({.time = k * 0.5, .value = static_cast<double>(random() % 1920)});
        if (i % (layerCount / pictureCount) == 0) {
            std::vector<std::uint8_t> bytes(pictureSize);
            for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
            layer.kind = Layer::Kind::image;
            layer.imageData = Bytes(std::move(bytes));
        }
        layers.push_back(std::move(layer));
    }
    TweenScene scene;
    scene.layers = std::move(layers);
    return {.scenes = {scene}};
}

/// Of all kinds, spread over the layers, those with pictures among them.
JSON patchInput()
{
    constexpr const char* forms[] = {
        R"({{"op":"set_property","layer_id":"{}","property":"opacity","value":0.5}})",
        R"({{"op":"add_keyframe","layer_id":"{}","keyframe":{{"property":"x","time":3,"value":{{"number":{{"_0":7}}}}}}}})",
        R"({{"op":"set_scene_property","property":"duration","value":9}})",
        R"({{"op":"add_layer","layer":{{"name":"New"}}}})",
    };
    std::string operations;
    for (std::uint64_t i = 0; i < 100; ++i) {
        operations += i == 0 ? "" : ",";
        operations += fmt::format(fmt::runtime(forms[i % 4]), layerID(i * 25 % layerCount).string());
    }
    return JSON::decode("{\"operations\":[" + operations + "]}");
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
    fmt::print("  {:<34}{:8.1f} ms  {:6.2f} x writing and reading\n", what, seconds * 1e3, seconds / floor);
}

} // namespace

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    const TweenDocument document = largeDocument();
    const AssistantToolset toolset = assistantToolset([] { return AssistantEditorContext{}; });
    const AssistantDocument access{.read = [&] { return document; },
                                   .edit =
                                       [&](const AssistantDocument::Change& change) {
                                           TweenDocument copy = document;
                                           return change(copy);
                                       }};
    std::size_t sum = 0; // Printed, so that no work can be left out as useless.
    const auto run = [&](std::string_view name, const JSON& input) {
        const AssistantToolOutcome outcome = toolset.execute(name, input, access);
        if (outcome.isError) throw std::runtime_error(outcome.content);
        sum += outcome.content.size();
    };

    fmt::print("{} layers with {} MB of pictures\n", layerCount, pictureCount * pictureSize / 1'000'000);
    const double floor = medianSeconds(runs, [&] { sum += decodeDocument(encodedData(document)).scenes.size(); });
    print("writing and reading it once", floor, floor);
    const JSON input = patchInput();
    print("a patch of 100 operations", medianSeconds(runs, [&] { run("apply_patch", input); }), floor);
    print("get_document", medianSeconds(runs, [&] { run("get_document", JSON::Object{}); }), floor);
    fmt::print("  (checksum {})\n", sum);
}
