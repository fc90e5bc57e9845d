#include "canvas/layer_copies.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

/// A layer with one of everything that has an id, and a child like it.
Layer fullLayer(char letter, char child)
{
    Layer layer = groupNamed(letter, {}, {30, 40});
    layer.keyframes = {keyAt(Property::x, 1, 100),
                       keyAt(Property::y, 1, 200),
                       keyAt(Property::opacity, 1, 0.5),
                       {.property = Property::x, .time = 2, .value = SharedString("odd")}};
    layer.spans = {TimeSpan{.end = 4, .effects = {SpanEffect{}, SpanEffect{}}, .cursorBlinkRanges = {BlinkRange{}}}};
    layer.pulses = {Pulse{}, Pulse{}};
    if (child) layer.children = {fullLayer(child, 0)};
    return layer;
}

std::vector<UUID> idsIn(const Array<Layer>& layers)
{
    std::vector<UUID> ids;
    walkLayers(layers, [&](const Layer& layer) {
        ids.push_back(layer.id);
        ids.push_back(layer.videoClip.id);
        for (const Keyframe& keyframe : layer.keyframes) ids.push_back(keyframe.id);
        for (const Pulse& pulse : layer.pulses) ids.push_back(pulse.id);
        for (const TimeSpan& span : layer.spans) {
            ids.push_back(span.id);
            for (const SpanEffect& effect : span.effects) ids.push_back(effect.id);
            for (const BlinkRange& range : span.cursorBlinkRanges) ids.push_back(range.id);
        }
    });
    return ids;
}

/// The layer with the ids of another one that differs from it in these alone.
Layer withIDsOf(Layer layer, const Layer& other)
{
    const auto take = [](auto& records, const auto& from) {
        if (records.empty()) return;
        for (std::size_t i = 0; i < records.size(); ++i) records.edit()[i].id = from[i].id;
    };
    layer.id = other.id;
    layer.videoClip.id = other.videoClip.id;
    take(layer.keyframes, other.keyframes);
    take(layer.pulses, other.pulses);
    take(layer.spans, other.spans);
    for (std::size_t i = 0; i < layer.spans.size(); ++i) {
        take(layer.spans.edit()[i].effects, other.spans[i].effects);
        take(layer.spans.edit()[i].cursorBlinkRanges, other.spans[i].cursorBlinkRanges);
    }
    for (std::size_t i = 0; i < layer.children.size(); ++i)
        layer.children.edit()[i] = withIDsOf(std::as_const(layer).children[i], other.children[i]);
    return layer;
}

TEST(Copies, RegeneratedIDsAreNewAtEveryDepthAndNothingElseChanges)
{
    const Layer source = fullLayer('a', 'b');
    const Layer copy = regenerateIDs(source);
    const std::vector<UUID> before = idsIn({source}), renewed = idsIn({copy});
    ASSERT_EQ(before.size(), 2u * 12);
    ASSERT_EQ(renewed.size(), before.size());
    LayerIDs all(before.begin(), before.end());
    all.insert(renewed.begin(), renewed.end());
    EXPECT_EQ(all.size(), 2 * before.size()) << "some id is there twice";
    EXPECT_EQ(withIDsOf(copy, source), source);
}

TEST(Duplicate, ACopyStandsInFrontOfItsSourceAndIsSelected)
{
    const TweenScene scene = sceneHolding({layerNamed('a'), layerNamed('b', {{5, 6}, {10, 10}}), layerNamed('c')});
    const auto edit = duplicateSelected(scene, idsNamed("b"));
    EXPECT_EQ(treeOf(edit), "a b b Copy c");
    EXPECT_EQ(edit->actionName, "Duplicate Layer");
    EXPECT_EQ(selectedIn(edit), "b Copy");
    EXPECT_EQ(edit->scene.layers[1], scene.layers[1]);
    EXPECT_EQ(edit->scene.layers[2].transform.x, 25);
    EXPECT_EQ(edit->scene.layers[2].transform.y, 26);
}

TEST(Duplicate, SeveralAreCopiedEachInItsOwnList)
{
    const TweenScene scene = sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b'), layerNamed('c')})});
    const auto edit = duplicateSelected(scene, idsNamed("abc"));
    EXPECT_EQ(treeOf(edit), "a a Copy g(b b Copy c c Copy)");
    EXPECT_EQ(edit->actionName, "Duplicate Layers");
    EXPECT_EQ(selectedIn(edit), "a Copy b Copy c Copy");
}

TEST(Duplicate, AGroupAndItsChildYieldOneCopyOfTheGroupAndNoneOfTheChild)
{
    const TweenScene scene = sceneHolding({groupNamed('g', {layerNamed('a'), layerNamed('b')})});
    const auto edit = duplicateSelected(scene, idsNamed("ga"));
    EXPECT_EQ(treeOf(edit), "g(a b) g Copy(a b)");
    EXPECT_EQ(selectedIn(edit), "g Copy");
}

TEST(Duplicate, WithTheShiftThePathMovesToo)
{
    const Layer source = fullLayer('a', 'b');
    const auto edit = duplicateSelected(sceneHolding({source}), idsNamed("a"));
    const Layer& copy = edit.value().scene.layers[1];
    EXPECT_EQ(copy.keyframes[0].value, KeyValue(120.0));
    EXPECT_EQ(copy.keyframes[1].value, KeyValue(220.0));
    EXPECT_EQ(copy.keyframes[2].value, KeyValue(0.5));
    EXPECT_EQ(copy.keyframes[3].value, KeyValue(SharedString("odd")));
    EXPECT_EQ(copy.children[0].transform, source.children[0].transform) << "children move with their parent";
    EXPECT_EQ(copy.children[0].keyframes[0].value, KeyValue(100.0));
    EXPECT_EQ(copy.children[0].name, "b");
}

TEST(Duplicate, WithoutTheShiftValuesStayAndIDsAreNew)
{
    const Layer source = fullLayer('a', 'b');
    const auto edit = duplicateSelected(sceneHolding({source}), idsNamed("a"), namedCopies);
    Layer copy = edit.value().scene.layers[1];
    EXPECT_EQ(copy.name, "a Copy");
    for (const UUID& id : idsIn({copy}))
        for (const UUID& old : idsIn({source})) EXPECT_NE(id, old);
    copy.name = source.name;
    EXPECT_EQ(withIDsOf(copy, source), source);
}

TEST(Duplicate, NothingSelectedNothingCopied)
{
    const TweenScene scene = sceneHolding({layerNamed('a')});
    EXPECT_FALSE(duplicateSelected(scene, {}));
    EXPECT_FALSE(duplicateSelected(scene, idsNamed("z")));
}

TEST(Duplicate, ACopyWithoutAStyleKeepsNameAndPlaceAndTellsWhoseItIs)
{
    Array<Layer> layers{layerNamed('a', {{5, 6}, {10, 10}}), groupNamed('g', {layerNamed('b')})};
    CopiedIDs newIDs;
    duplicateInTree(layers, idsNamed("ab"), CopyStyle{}, newIDs);
    EXPECT_EQ(treeOf(layers), "a a g(b b)");
    ASSERT_EQ(newIDs.size(), 2u);
    EXPECT_EQ(layers[1].id, newIDs.at(idNamed('a')));
    EXPECT_EQ(layers[2].children[1].id, newIDs.at(idNamed('b')));
    EXPECT_EQ(layers[1].transform.x, 5);
}

TEST(Duplicate, ListsWithoutACopyStayShared)
{
    const TweenScene scene = sceneHolding({groupNamed('g', {layerNamed('a')}), layerNamed('b')});
    const auto edit = duplicateSelected(scene, idsNamed("b"));
    EXPECT_TRUE(edit.value().scene.layers[0].children.sharesStorageWith(scene.layers[0].children));
}

} // namespace
} // namespace larkspool
