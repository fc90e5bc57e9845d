// What editing time costs: capturing and updating a drag of 1,000 selected items on 200 layers that ripples 4,000 others, a
// marquee over 10,000 keyframes and their aggregate row, and the undo step of an edit of one layer among 1,000. The floor is
// copying the scene's layers, which the first change of a drag does at least.

#include "editing/shared_commit.h"
#include "timeline/aggregate_tracks.h"
#include "timeline/item_drag.h"
#include "timeline/marquee.h"
#include "timeline/selection.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

namespace {

std::size_t bytesHeld = 0;

/// Room in front of every allocation for its size.
constexpr std::size_t header = alignof(std::max_align_t);

} // namespace

// Counts what the program holds.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* memory = std::malloc(size + header);
    if (!memory) throw std::bad_alloc();
    *static_cast<std::size_t*>(memory) = size;
    bytesHeld += size;
    return static_cast<char*>(memory) + header;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    if (!memory) return;
    void* start = static_cast<char*>(memory) - header;
    bytesHeld -= *static_cast<std::size_t*>(start);
    std::free(start);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace {

using namespace larkspool;

constexpr int passes = 200;
constexpr std::size_t layerCount = 200;
constexpr std::size_t itemsPerLayer = 25; ///< Of which 5 are selected and 20 ripple.
constexpr double duration = 60;

UUID idOf(std::uint64_t number)
{
    return {1, number};
}

/// Median milliseconds of one call of `pass(i)`.
template <typename Pass>
double medianMilliseconds(Pass pass)
{
    std::vector<double> milliseconds;
    for (int i = 0; i < passes; ++i) {
        const auto start = std::chrono::steady_clock::now();
        pass(i);
        milliseconds.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    const auto middle = milliseconds.begin() + passes / 2;
    std::nth_element(milliseconds.begin(), middle, milliseconds.end());
    return *middle;
}

void report(const char* what, double milliseconds)
{
    std::printf("  %-58s %8.4f ms\n", what, milliseconds);
}

/// Ten spans with an effect each, ten keyframes and five pulses on each layer, all after the first second.
TweenScene fullScene()
{
    TweenScene scene{.fps = 60, .duration = duration};
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < layerCount; ++i) {
        Layer layer{.id = idOf(++number)};
        for (std::size_t k = 0; k < itemsPerLayer; ++k) {
            const double time = 1 + static_cast<double>(k) * 2;
            switch (k % 5) {
            case 0:
            case 1:
                layer.spans.append({.id = idOf(++number), .start = time, .end = time + 1.5, .effects = {SpanEffect{}}});
                break;
            case 2:
            case 3: layer.keyframes.append({.id = idOf(++number), .time = time, .wait = 0.2}); break;
            default: layer.pulses.append({.id = idOf(++number), .time = time});
            }
        }
        scene.layers.append(layer);
    }
    return scene;
}

/// Every fifth item of each layer.
TimelineSelection everyFifth(const TweenScene& scene)
{
    TimelineSelection selection;
    for (const Layer& layer : scene.layers) {
        std::size_t count = 0;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes, std::size_t) {
            if (ref.kind != TimelineItemRef::Kind::waitTail && count++ % 5 == 0) selection.insert(ref);
        });
    }
    return selection;
}

void measureDrag(DragRow row, const char* name)
{
    const TweenScene scene = fullScene();
    const TimelineItemRef pressed = TimelineItemRef::span(scene.layers[0].id, scene.layers[0].spans[0].id);
    const DragSetting setting{.scene = scene,
                              .selection = everyFifth(scene),
                              .trackWidth = 1000,
                              .visibleSeconds = duration,
                              .bodyTrigger = 0,
                              .rippleMode = TimelineRippleMode::both};
    std::printf("%s: %zu selected, %zu layers\n", name, setting.selection.size(), layerCount);
    const DragPress press{.members = {pressed}, .row = row};

    report("copying the layers (the floor)", medianMilliseconds([&](int) {
               TweenScene copy = scene;
               copy.layers.edit();
           }));
    report("press and capture", medianMilliseconds([&](int) {
               TimelineItemDrag drag(press, setting);
               drag.update({0, 0}, {});
           }));

    TimelineItemDrag drag(press, setting);
    drag.update({0, 0}, {});
    TweenScene shown;
    report("update", medianMilliseconds([&](int i) { shown = drag.update({1.0 + i, 0}, {})->scene; }));
    std::printf("  %zu items rippled\n", drag.end().value_or(0));
}

void measureMarquee()
{
    constexpr std::size_t layersWithKeyframes = 100, keyframesEach = 100;
    TweenScene scene{.duration = duration};
    std::vector<UUID> layers;
    std::vector<PerLayerTrackBand> bands;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < layersWithKeyframes; ++i) {
        Layer layer{.id = idOf(++number)};
        for (std::size_t k = 0; k < keyframesEach; ++k)
            layer.keyframes.append({.id = idOf(++number), .time = static_cast<double>(k) * 0.5});
        const double y = static_cast<double>(i) * 20;
        layers.push_back(layer.id);
        bands.push_back({layer.id, PerLayerTrackBand::RowKind::keyframes, y, y + 18});
        scene.layers.append(layer);
    }
    EditorState state;
    state.document.setScene(scene);
    const TimelineMarquee marquee(state, {0, 0});
    const TimelineMarquee::Rows rows{bands, trackMapping(std::nullopt, duration, 84, 1100)};
    std::size_t taken = 0;
    std::printf("marquee over %zu keyframes\n", layersWithKeyframes * keyframesEach);
    report("update that takes all of them",
           medianMilliseconds([&](int) { taken = marquee.applyPerLayerMarquee({1100, 5000}, layers, rows, {}).size(); }));
    report("update that takes none",
           medianMilliseconds([&](int) { marquee.applyPerLayerMarquee({101, 5000}, layers, rows, {}).size(); }));
    std::size_t markers = 0;
    report("grouping all of them into markers of the aggregate row",
           medianMilliseconds([&](int) { markers = AggregateKeyframesTrack::groups(scene).size(); }));
    std::printf("  %zu taken, %zu markers\n", taken, markers);
}

void measureUndo()
{
    constexpr std::size_t count = 1000, imageBytes = 50'000'000 / 100;
    TweenScene scene{.duration = duration};
    for (std::size_t i = 0; i < count; ++i) {
        Layer layer{.id = idOf(i)};
        layer.keyframes = {Keyframe{}, Keyframe{}};
        if (i % 10 == 0) layer.imageData = Bytes(std::vector<std::uint8_t>(imageBytes, 7));
        scene.layers.append(layer);
    }
    EditorState state;
    state.document.setScene(scene);
    scene = {};
    UndoManager manager;
    SharedCommit commit(state, &manager, {});
    const UndoCoordinator coordinator([&] { return state.scene(); },
                                      [&](TweenScene written) { state.document.setScene(std::move(written)); });

    std::printf("undo: %zu layers, 50 MB of images\n", count);
    const std::size_t held = bytesHeld;
    report("an edit of one layer with its undo step", medianMilliseconds([&](int i) {
               commit.mutate("Edit Opacity",
                             [&](TweenScene& edited) { edited.layers.edit()[static_cast<std::size_t>(i)].opacity = 0.5; });
           }));
    std::printf("  %-58s %8.1f KB\n", "memory of one step", static_cast<double>(bytesHeld - held) / passes / 1000);
    report("registering alone", medianMilliseconds([&](int) { coordinator.registerUndo(&manager, state.scene(), "Edit"); }));
}

} // namespace

int main()
{
    measureDrag(DragRow::layer, "drag in a layer's row");
    measureDrag(DragRow::aggregate, "drag in an aggregate row");
    measureMarquee();
    measureUndo();
}
