#include "assistant/patch_operations.h"

#include "assistant/assistant_context.h"
#include "document/file_format.h"
#include "support/arbitrary_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr UUID id(std::uint64_t number)
{
    return {0xABCDEF0000000000, number};
}

Layer box(std::uint64_t number)
{
    return {.id = id(number), .name = "Box", .videoClip = {.id = id(number)}};
}

Layer groupOf(std::uint64_t number, Array<Layer> children)
{
    Layer group{.id = id(number), .kind = Layer::Kind::group, .videoClip = {.id = id(number)}};
    group.children = std::move(children);
    return group;
}

TweenScene sceneOf(std::uint64_t number, Array<Layer> layers)
{
    TweenScene scene{.id = id(number)};
    scene.layers = std::move(layers);
    return scene;
}

/// Two boxes, and a group of one.
TweenDocument document()
{
    return {.scenes = {sceneOf(100, {box(1), groupOf(2, {box(3)}), box(4)})}};
}

PatchOperation operation(std::string_view json)
{
    return decodedPatchOperation(JSON::decode(json));
}

TweenDocument patched(TweenDocument before, const std::vector<PatchOperation>& operations)
{
    applyPatchOperations(operations, before);
    return before;
}

const Layer& layer(const TweenDocument& from, std::size_t index)
{
    return from.scenes[0].layers[index];
}

/// Why the patch fails, or "applied". Holds it to all or nothing.
std::string verdict(const TweenDocument& before, const std::vector<PatchOperation>& operations)
{
    TweenDocument after = before;
    try {
        applyPatchOperations(operations, after);
        return "applied";
    } catch (const std::exception& error) {
        EXPECT_EQ(after, before);
        return error.what();
    }
}

template <typename Error>
bool failsWith(const TweenDocument& before, const PatchOperation& operation)
{
    TweenDocument after = before;
    try {
        applyPatchOperations(std::vector{operation}, after);
    } catch (const Error&) {
        return true;
    } catch (const std::exception&) {}
    return false;
}

// ---------------------------------------------------------------- operations as JSON

TEST(PatchOperation, EachOpIsReadFromItsKeys)
{
    struct Case {
        const char* json;
        PatchOperation operation;
    };
    for (const Case& c : {
             Case{R"({"op":"set_scene_property","property":"fps","value":24})", SetSceneProperty{"fps", 24}},
             Case{R"({"op":"set_property","layer_id":"ABCDEF00-0000-0000-0000-000000000001","property":"name","value":null})",
                  SetProperty{id(1), "name", nullptr}},
             Case{R"({"op":"add_keyframe","layer_id":"ABCDEF00-0000-0000-0000-000000000001","keyframe":{"time":1}})",
                  AddKeyframe{id(1), JSON::Object{{"time", 1}}}},
             Case{R"({"op":"delete_keyframe","layer_id":"ABCDEF00-0000-0000-0000-000000000001",)"
                  R"("keyframe_id":"ABCDEF00-0000-0000-0000-000000000002"})",
                  DeleteKeyframe{id(1), id(2)}},
             Case{R"({"op":"add_pulse","layer_id":"ABCDEF00-0000-0000-0000-000000000001","pulse":{"time":1}})",
                  AddPulse{id(1), JSON::Object{{"time", 1}}}},
             Case{R"({"op":"delete_pulse","layer_id":"ABCDEF00-0000-0000-0000-000000000001",)"
                  R"("pulse_id":"ABCDEF00-0000-0000-0000-000000000002"})",
                  DeletePulse{id(1), id(2)}},
             Case{R"({"op":"add_layer","layer":{},"more":1})", AddLayer{JSON::Object{}}},
             Case{R"({"op":"delete_layer","layer_id":"ABCDEF00-0000-0000-0000-000000000001"})", DeleteLayer{id(1)}},
         }) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(operation(c.json), c.operation);
    }
}

TEST(PatchOperation, AUUIDInLowerCaseIsTheSame)
{
    EXPECT_EQ(operation(R"({"op":"delete_layer","layer_id":"abcdef00-0000-0000-0000-000000000001"})"),
              PatchOperation(DeleteLayer{id(1)}));
}

TEST(PatchOperation, WhatIsNoneIsRefusedWithTheReason)
{
    struct Case {
        const char* json;
        const char* words;
    };
    for (const Case& c : {
             Case{"3", "the operation is not an object"},
             Case{"{}", "op is missing"},
             Case{R"({"op":3})", "op is not a string"},
             Case{R"({"op":"paint"})", "op: Unknown op paint"},
             Case{R"({"op":"set_scene_property","value":1})", "property is missing"},
             Case{R"({"op":"set_scene_property","property":1,"value":1})", "property is not a string"},
             Case{R"({"op":"set_scene_property","property":"fps"})", "value is missing"},
             Case{R"({"op":"set_property","property":"name","value":1})", "layer_id is missing"},
             Case{R"({"op":"add_keyframe","layer_id":"ABCDEF00-0000-0000-0000-000000000001"})", "keyframe is missing"},
             Case{R"({"op":"delete_keyframe","layer_id":"ABCDEF00-0000-0000-0000-000000000001"})", "keyframe_id is missing"},
             Case{R"({"op":"add_pulse","layer_id":"ABCDEF00-0000-0000-0000-000000000001"})", "pulse is missing"},
             Case{R"({"op":"delete_pulse","layer_id":"ABCDEF00-0000-0000-0000-000000000001"})", "pulse_id is missing"},
             Case{R"({"op":"add_layer"})", "layer is missing"},
             Case{R"({"op":"delete_layer","layer_id":"first"})", "layer_id is not a UUID"},
             Case{R"({"op":"delete_layer","layer_id":null})", "layer_id is not a string"},
         }) {
        SCOPED_TRACE(c.json);
        try {
            operation(c.json);
            ADD_FAILURE() << "was read";
        } catch (const DecodingError& error) {
            EXPECT_STREQ(error.what(), c.words);
        }
    }
}

TEST(PatchError, SaysWhatIsWrong)
{
    const std::string name = "ABCDEF00-0000-0000-0000-000000000001";
    EXPECT_EQ(PatchError::layerNotFound(id(1)).errorDescription(), "Layer " + name + " not found");
    EXPECT_EQ(PatchError::keyframeNotFound(id(1)).errorDescription(), "Keyframe " + name + " not found");
    EXPECT_EQ(PatchError::pulseNotFound(id(1)).errorDescription(), "Pulse " + name + " not found");
    EXPECT_EQ(PatchError::sceneOutOfRange(-1).errorDescription(), "Scene index -1 out of range");
    EXPECT_EQ(PatchError::decodeFailed("why").errorDescription(), "Decode failed: why");
    EXPECT_EQ(PatchError::invalidProperty("x").errorDescription(), "Invalid property: x");
    EXPECT_EQ(PatchError::invalidProperty("x").kind(), PatchError::Kind::invalidProperty);
}

// ---------------------------------------------------------------- each operation

TEST(PatchOperations, TheResultIsTheNumberOfOperations)
{
    TweenDocument changed = document();
    EXPECT_EQ(applyPatchOperations({}, changed), 0);
    EXPECT_EQ(changed, document());
    EXPECT_EQ(applyPatchOperations(std::vector<PatchOperation>{DeleteLayer{id(1)}, DeleteLayer{id(4)}}, changed), 2);
}

TEST(PatchOperations, AnActiveSceneOutOfRangeIsRefusedBeforeAnythingElse)
{
    for (const std::int64_t index : {std::int64_t{-1}, std::int64_t{1}, std::numeric_limits<std::int64_t>::max()}) {
        TweenDocument before = document();
        before.activeSceneIndex = index;
        EXPECT_EQ(verdict(before, {}), "Scene index " + std::to_string(index) + " out of range");
    }
}

TEST(PatchOperations, ASceneTakesTheValueOfAProperty)
{
    const TweenDocument after = patched(document(), {SetSceneProperty{"duration", 7.5}, SetSceneProperty{"name", "Intro"},
                                                     SetSceneProperty{"background", JSON::decode(R"({"r":1,"g":0,"b":0,"a":1})")}});
    EXPECT_EQ(after.scenes[0].duration, 7.5);
    EXPECT_EQ(after.scenes[0].name, SharedString("Intro"));
    EXPECT_EQ(after.scenes[0].background, (ColorRGBA{1, 0, 0, 1}));
    EXPECT_EQ(after.scenes[0].layers, document().scenes[0].layers);
}

TEST(PatchOperations, ASceneTakesAListOfLayers)
{
    const TweenDocument after = patched(document(), {SetSceneProperty{"layers", JSON::decode(R"([{"name":"Only"}])")}});
    ASSERT_EQ(after.scenes[0].layers.size(), 1u);
    EXPECT_EQ(layer(after, 0).name, "Only");
}

TEST(PatchOperations, ALayerTakesTheValueOfAPropertyOnAnyLevel)
{
    const TweenDocument after =
        patched(document(), {SetProperty{id(1), "opacity", 0.25}, SetProperty{id(3), "size", JSON::decode("[3, 4]")}});
    TweenDocument expected = document();
    expected.scenes.edit()[0].layers.edit()[0].opacity = 0.25;
    expected.scenes.edit()[0].layers.edit()[1].children.edit()[0].size = {3, 4};
    EXPECT_EQ(after, expected);
}

TEST(PatchOperations, ChildrenPicturesAndBookmarksStayWhereAnotherPropertyIsSetAndAreSetByTheirOwn)
{
    TweenDocument before = document();
    Layer& group = before.scenes.edit()[0].layers.edit()[1];
    group.imageData = Bytes({1, 2, 3});
    group.videoBookmark = Bytes({4});

    TweenDocument after = patched(before, {SetProperty{id(2), "name", "Cards"}});
    EXPECT_EQ(layer(after, 1).children, group.children);
    EXPECT_TRUE(layer(after, 1).imageData->sharesStorageWith(*group.imageData));
    EXPECT_TRUE(layer(after, 1).videoBookmark->sharesStorageWith(*group.videoBookmark));

    after = patched(before, {SetProperty{id(2), "children", JSON::Array{}}, SetProperty{id(2), "imageData", "AQ=="},
                             SetProperty{id(2), "videoBookmark", nullptr}});
    EXPECT_TRUE(layer(after, 1).children.empty());
    EXPECT_EQ(layer(after, 1).imageData, Bytes({1}));
    EXPECT_EQ(layer(after, 1).videoBookmark, std::nullopt);
}

TEST(PatchOperations, AnUnknownKeySucceedsAndChangesNothing)
{
    EXPECT_EQ(patched(document(), {SetProperty{id(1), "shininess", 3}, SetSceneProperty{"mood", "calm"}}), document());
    const TweenDocument after = patched(
        document(), {SetProperty{id(1), "fill", JSON::decode(R"({"r":0,"g":0,"b":0,"a":1,"gloss":2})")}});
    EXPECT_EQ(layer(after, 0).fill, ColorRGBA::black);
}

TEST(PatchOperations, NullGivesAPropertyItsDefault)
{
    TweenDocument before = document();
    Layer& first = before.scenes.edit()[0].layers.edit()[0];
    first.opacity = 0.5;
    first.transform.x = 9;
    first.textUserResized = false;
    const TweenDocument after =
        patched(before, {SetProperty{id(1), "opacity", nullptr}, SetProperty{id(1), "textUserResized", nullptr},
                         SetSceneProperty{"name", nullptr}});
    EXPECT_EQ(layer(after, 0).opacity, 1);
    EXPECT_TRUE(layer(after, 0).textUserResized); // As where a file lacks the key.
    EXPECT_EQ(layer(after, 0).transform.x, 9);
    EXPECT_EQ(after.scenes[0].name, std::nullopt);
}

TEST(PatchOperations, AKeyframeIsAddedBehindTheOthersAndDeletedByItsID)
{
    const JSON keyframe = JSON::decode(
        R"({"id":"ABCDEF00-0000-0000-0000-000000000009","property":"x","time":2,"value":{"number":{"_0":7}}})");
    TweenDocument before = document();
    before.scenes.edit()[0].layers.edit()[0].keyframes = {{.id = id(8), .time = 5}};

    TweenDocument after = patched(before, {AddKeyframe{id(1), keyframe}});
    ASSERT_EQ(layer(after, 0).keyframes.size(), 2u);
    EXPECT_EQ(layer(after, 0).keyframes[0].id, id(8));
    EXPECT_EQ(layer(after, 0).keyframes[1],
              (Keyframe{.id = id(9), .time = 2, .value = 7.0, .easing = Easing::easeInOut()}));

    after = patched(after, {DeleteKeyframe{id(1), id(8)}});
    ASSERT_EQ(layer(after, 0).keyframes.size(), 1u);
    EXPECT_EQ(layer(after, 0).keyframes[0].id, id(9));
}

TEST(PatchOperations, APulseIsAddedBehindTheOthersAndDeletedByItsID)
{
    TweenDocument before = document();
    before.scenes.edit()[0].layers.edit()[0].pulses = {{.id = id(8), .time = 5, .effects = {PulseEffect::glow}}};
    TweenDocument after = patched(
        before, {AddPulse{id(1), JSON::decode(R"({"id":"ABCDEF00-0000-0000-0000-000000000009","time":2,"effects":[]})")}});
    ASSERT_EQ(layer(after, 0).pulses.size(), 2u);
    EXPECT_EQ(layer(after, 0).pulses[1], (Pulse{.id = id(9), .time = 2, .effects = {PulseEffect::scale, PulseEffect::glow}}));

    after = patched(after, {DeletePulse{id(1), id(8)}});
    ASSERT_EQ(layer(after, 0).pulses.size(), 1u);
    EXPECT_EQ(layer(after, 0).pulses[0].id, id(9));
}

TEST(PatchOperations, DeletingAKeyframeOrPulseThatIsNotThereChangesNothing)
{
    EXPECT_EQ(patched(document(), {DeleteKeyframe{id(1), id(50)}, DeletePulse{id(3), id(50)}}), document());
}

TEST(PatchOperations, AllKeyframesAndPulsesOfAnIDAreDeleted)
{
    TweenDocument before = document();
    Layer& first = before.scenes.edit()[0].layers.edit()[0];
    first.keyframes = {{.id = id(8), .time = 1}, {.id = id(9), .time = 2}, {.id = id(8), .time = 3}};
    first.pulses = {{.id = id(8), .time = 1, .effects = {PulseEffect::glow}}, {.id = id(8), .time = 2, .effects = {PulseEffect::glow}}};
    const TweenDocument after = patched(before, {DeleteKeyframe{id(1), id(8)}, DeletePulse{id(1), id(8)}});
    ASSERT_EQ(layer(after, 0).keyframes.size(), 1u);
    EXPECT_EQ(layer(after, 0).keyframes[0].id, id(9));
    EXPECT_TRUE(layer(after, 0).pulses.empty());
}

TEST(PatchOperations, OfNamesakesInOneSceneTheFirstOnTheWayDownIsEdited)
{
    const TweenDocument before{.scenes = {sceneOf(100, {groupOf(2, {box(1)}), box(1), groupOf(3, {box(3)})})}};
    TweenDocument expected = before;
    expected.scenes.edit()[0].layers.edit()[0].children.edit()[0].opacity = 0.5;
    expected.scenes.edit()[0].layers.edit()[2].opacity = 0.5; // A parent comes before its child.
    EXPECT_EQ(patched(before, {SetProperty{id(1), "opacity", 0.5}, SetProperty{id(3), "opacity", 0.5}}), expected);
}

TEST(PatchOperations, ALayerIsAddedInFrontWithDefaultsForWhatItLacks)
{
    const TweenDocument after = patched(document(), {AddLayer{JSON::decode(R"({"kind":"ellipse"})")}});
    ASSERT_EQ(after.scenes[0].layers.size(), 4u);
    EXPECT_EQ(layer(after, 3).kind, Layer::Kind::ellipse);
    EXPECT_EQ(layer(after, 3).size, (CGSize{200, 200}));
    EXPECT_EQ(layer(after, 0), layer(document(), 0));
}

TEST(PatchOperations, ALayerAtTheTopIsDeleted)
{
    const TweenDocument after = patched(document(), {DeleteLayer{id(2)}});
    ASSERT_EQ(after.scenes[0].layers.size(), 2u);
    EXPECT_EQ(layer(after, 1).id, id(4));
}

TEST(PatchOperations, DeletingAChildOfAGroupFailsAndChangesNothing)
{
    EXPECT_EQ(verdict(document(), {DeleteLayer{id(3)}}), "Layer ABCDEF00-0000-0000-0000-000000000003 not found");
}

TEST(PatchOperations, EveryOperationOnALayerFailsWhereThereIsNone)
{
    for (const PatchOperation& each : std::vector<PatchOperation>{
             SetProperty{id(50), "name", "x"}, AddKeyframe{id(50), JSON::Object{}}, DeleteKeyframe{id(50), id(1)},
             AddPulse{id(50), JSON::Object{}}, DeletePulse{id(50), id(1)}, DeleteLayer{id(50)}}) {
        SCOPED_TRACE(each.index());
        EXPECT_EQ(verdict(document(), {each}), "Layer ABCDEF00-0000-0000-0000-000000000032 not found");
        EXPECT_TRUE(failsWith<PatchError>(document(), each));
    }
}

TEST(PatchOperations, TheFirstFailureEndsThePatchAndNothingOfItStays)
{
    EXPECT_THAT(verdict(document(), {SetProperty{id(1), "opacity", 0.5}, SetSceneProperty{"fps", 24}, DeleteLayer{id(50)}}),
                HasSubstr("not found"));
}

// ---------------------------------------------------------------- several scenes

/// The same layer in three scenes, the second one active; layers 6 and 7 in one of the others each.
TweenDocument threeScenes()
{
    return {.scenes = {sceneOf(100, {box(1), box(6)}), sceneOf(101, {box(1)}), sceneOf(102, {groupOf(2, {box(1)}), box(7)})},
            .activeSceneIndex = 1};
}

TEST(PatchOperations, ALayerIsSearchedForInTheActiveSceneFirstAndThenInTheOthersInOrder)
{
    TweenDocument expected = threeScenes();
    expected.scenes.edit()[1].layers.edit()[0].opacity = 0.5;
    expected.scenes.edit()[0].layers.edit()[1].opacity = 0.5;
    expected.scenes.edit()[2].layers.edit()[1].opacity = 0.5;
    EXPECT_EQ(patched(threeScenes(), {SetProperty{id(1), "opacity", 0.5}, SetProperty{id(6), "opacity", 0.5},
                                      SetProperty{id(7), "opacity", 0.5}}),
              expected);
}

TEST(PatchOperations, ALayerIsDeletedFromTheFirstSceneThatHasItAtTheTop)
{
    TweenDocument expected = threeScenes();
    expected.scenes.edit()[1].layers = {};
    EXPECT_EQ(patched(threeScenes(), {DeleteLayer{id(1)}}), expected);

    expected.scenes.edit()[0].layers = {box(6)};
    EXPECT_EQ(patched(threeScenes(), {DeleteLayer{id(1)}, DeleteLayer{id(1)}}), expected);
    EXPECT_THAT(verdict(threeScenes(), {DeleteLayer{id(1)}, DeleteLayer{id(1)}, DeleteLayer{id(1)}}), HasSubstr("not found"));
}

TEST(PatchOperations, WithALayerAtTheTopGoItsNamesakesWithinGroups)
{
    const TweenDocument before{.scenes = {sceneOf(100, {groupOf(2, {box(1), box(3)}), box(1)})}};
    const TweenDocument expected{.scenes = {sceneOf(100, {groupOf(2, {box(3)})})}};
    EXPECT_EQ(patched(before, {DeleteLayer{id(1)}}), expected);
}

TEST(PatchOperations, SceneOperationsWorkOnTheActiveScene)
{
    const TweenDocument after = patched(threeScenes(), {SetSceneProperty{"fps", 24}, AddLayer{JSON::Object{}}});
    EXPECT_EQ(after.scenes[1].fps, 24);
    EXPECT_EQ(after.scenes[1].layers.size(), 2u);
    EXPECT_EQ(after.scenes[0], threeScenes().scenes[0]);
    EXPECT_EQ(after.scenes[2], threeScenes().scenes[2]);
}

// ---------------------------------------------------------------- what the format cannot hold

TEST(PatchOperations, AValueThatWouldLoseAPartIsRefusedWithThePlaceAndTheReason)
{
    struct Case {
        PatchOperation operation;
        const char* words;
    };
    TweenDocument before = document();
    before.scenes.edit()[0].layers.edit()[0].keyframes = {{.id = id(8)}};
    for (const Case& c : {
             Case{SetProperty{id(1), "opacity", "half"}, "layers[0].opacity is not a number"},
             Case{SetProperty{id(3), "kind", "cube"}, "layers[1].children[0].kind \"cube\" is not a known value"},
             Case{SetProperty{id(4), "size", JSON::Array{1}}, "layers[2].size is not an array of two"},
             Case{SetProperty{id(1), "transform", JSON::decode(R"({"x":1,"anchorX":0,"anchorY":0})")},
                  "layers[0].transform.rotation is missing"},
             Case{SetProperty{id(1), "fill", JSON::decode(R"({"r":null,"g":0,"b":0,"a":1})")},
                  "layers[0].fill.r is not a number"},
             Case{SetProperty{id(1), "imageData", "<image bytes: 4 chars omitted>"}, "layers[0].imageData is not Base64"},
             Case{SetProperty{id(1), "spans", JSON::decode(R"([{"start":0}])")}, "layers[0].spans[0].end is missing"},
             Case{SetProperty{id(1), "spans", JSON::decode(R"([{"start":0,"end":1,"zoomStart":"noop"}])")},
                  "layers[0].spans[0].zoomStart \"noop\" is not a known value"},
             Case{SetProperty{id(2), "children", JSON::decode(R"([{"opacity":true}])")},
                  "layers[1].children[0].opacity is not a number"},
             Case{AddKeyframe{id(1), JSON::decode(R"({"property":"x","value":{"number":{"_0":1}}})")},
                  "layers[0].keyframes[1].time is missing"},
             Case{AddKeyframe{id(1), JSON::decode(R"({"property":"x","time":1,"value":{"number":{"_0":1}},"easing":{}})")},
                  "layers[0].keyframes[1].easing: Invalid number of keys found, expected one."},
             Case{AddKeyframe{id(1), nullptr}, "layers[0].keyframes[1] is not an object"},
             Case{AddPulse{id(3), JSON::Object{}}, "layers[1].children[0].pulses[0].time is missing"},
             Case{AddPulse{id(1), JSON::decode(R"({"time":1,"effects":["sparkle"]})")},
                  "layers[0].pulses[0].effects[0]: \"sparkle\" is not a known value"},
             Case{AddLayer{JSON::decode(R"({"keyframes":[{}]})")}, "layers[3].keyframes[0].property is missing"},
             Case{SetSceneProperty{"endPause", "long"}, "endPause is not a number"},
             Case{SetSceneProperty{"layers", JSON::decode(R"([{"opacity":"half"}])")}, "layers[0].opacity is not a number"},
         }) {
        SCOPED_TRACE(c.words);
        EXPECT_EQ(verdict(before, {c.operation}), std::string("Decode failed: ") + c.words);
        EXPECT_TRUE(failsWith<PatchError>(before, c.operation));
    }
}

TEST(PatchOperations, ASceneThatIsNoneAnyMoreIsADecodingErrorOfItsOwn)
{
    struct Case {
        PatchOperation operation;
        const char* words;
    };
    for (const Case& c : {
             Case{SetSceneProperty{"width", "wide"}, "width is not a number"},
             Case{SetSceneProperty{"fps", 29.97}, "fps is not a whole number of 64 bits"},
             Case{SetSceneProperty{"duration", nullptr}, "duration is not a number"},
             Case{SetSceneProperty{"background", JSON::Object{}}, "background.a is missing"},
             Case{SetSceneProperty{"layers", JSON::Array{3}}, "layers[0] is not an object"},
             Case{AddLayer{"box"}, "layers[3] is not an object"},
             Case{AddLayer{nullptr}, "layers[3] is not an object"},
         }) {
        SCOPED_TRACE(c.words);
        EXPECT_EQ(verdict(document(), {c.operation}), c.words);
        EXPECT_TRUE(failsWith<DecodingError>(document(), c.operation));
    }
}

TEST(PatchOperations, NullsWithinAValueFallBack)
{
    const TweenDocument after =
        patched(document(), {AddLayer{JSON::decode(R"({"opacity":null,"imageData":null,"keyframes":null})")},
                             AddPulse{id(1), JSON::decode(R"({"time":1,"id":null,"effects":null})")}});
    EXPECT_EQ(layer(after, 3).opacity, 1);
    EXPECT_EQ(layer(after, 0).pulses.size(), 1u);
}

TEST(PatchOperations, OlderWaysOfSayingThingsAreUnderstood)
{
    const TweenDocument after = patched(
        document(), {AddLayer{JSON::decode(R"({"kind":"text","fill":{"r":1,"g":0,"b":0,"a":1}})")},
                     AddPulse{id(1), JSON::decode(R"({"time":1,"effects":["scaleGlow"]})")}});
    EXPECT_EQ(layer(after, 3).textColor, (ColorRGBA{1, 0, 0, 1}));
    EXPECT_TRUE(layer(after, 0).pulses[0].effects.contains(PulseEffect::glow));
}

TEST(PatchOperations, ALossBehindMoreUnknownKeysThanAreToldIsNotOverlooked)
{
    JSON::Object members{{"opacity", "half"}};
    for (int i = 0; i < 1001; ++i) members.emplace("unknown" + std::to_string(i), 1);
    EXPECT_THAT(verdict(document(), {AddLayer{members}}), StartsWith("Decode failed: layers[3] "));
}

TEST(PatchOperations, HoweverManyUnknownKeysChangeNothing)
{
    JSON::Object members{{"opacity", 0.5}};
    for (int i = 0; i < 1001; ++i) members.emplace("unknown" + std::to_string(i), 1);
    EXPECT_EQ(layer(patched(document(), {AddLayer{members}}), 3).opacity, 0.5);
}

TEST(PatchOperations, ADocumentThatNoFileCanHoldIsNotEdited)
{
    TweenDocument before = document();
    before.scenes.edit()[0].layers.edit()[2].opacity = std::numeric_limits<double>::infinity();
    TweenDocument after = before;
    EXPECT_THROW(applyPatchOperations(std::vector<PatchOperation>{SetProperty{id(1), "name", "x"}}, after), JsonWriteError);
    EXPECT_EQ(after, before);
}

/// As many layers within one another.
JSON nestedLayers(std::size_t levels)
{
    JSON nested = JSON::Object{};
    for (std::size_t i = 1; i < levels; ++i) nested = JSON::Object{{"children", JSON::Array{std::move(nested)}}};
    return nested;
}

TEST(PatchOperations, LayersAreNotNestedDeeperThanAFileHolds)
{
    EXPECT_EQ(verdict(document(), {AddLayer{nestedLayers(deepestLayerNesting - 1)}}), "applied");
    EXPECT_EQ(verdict(document(), {SetProperty{id(3), "children", JSON::Array{nestedLayers(deepestLayerNesting - 2)}}}),
              "applied");
    EXPECT_EQ(verdict(document(), {SetProperty{id(3), "children", JSON::Array{nestedLayers(deepestLayerNesting - 1)}}}),
              "Layers are nested deeper than 250 levels");
}

TEST(PatchOperations, WhatAFileSaysOtherwiseIsSettledByTheFirstEdit)
{
    TweenDocument before = document();
    before.scenes.edit()[0].layers.edit()[2].pulses = {{.id = id(9), .time = 1, .effects = {}}};
    before.scenes.edit()[0].layers.edit()[2].imageData = Bytes({1, 2, 3});
    const TweenDocument after = patched(before, {SetProperty{id(1), "name", "x"}});
    EXPECT_EQ(layer(after, 2).pulses[0].effects, (PulseEffects{PulseEffect::scale, PulseEffect::glow}));
    EXPECT_EQ(layer(after, 2).imageData, Bytes({1, 2, 3}));
}

TEST(PatchOperations, WhatIsNotEditedIsSharedWithTheDocumentBefore)
{
    TweenDocument before = document();
    before.scenes.edit()[0].layers.edit()[1].children.edit()[0].imageData = Bytes({1, 2, 3});
    const TweenDocument after = patched(before, {SetProperty{id(1), "name", "x"}, DeleteKeyframe{id(4), id(9)}});
    EXPECT_TRUE(layer(after, 1).children.sharesStorageWith(layer(before, 1).children));
}

// ---------------------------------------------------------------- laws

UUID arbitraryLayerID()
{
    return id(*rc::gen::inRange<std::uint64_t>(0, 6));
}

JSON arbitraryValue()
{
    return *rc::gen::element(JSON(), JSON(1), JSON(0.25), JSON(true), JSON("text"), JSON("AQ=="), JSON(JSON::Array{}),
                             JSON(JSON::Array{1, 2}), JSON(JSON::Object{}),
                             JSON::decode(R"({"r":1,"g":0,"b":0,"a":1})"),
                             JSON::decode(R"({"property":"x","time":2,"value":{"number":{"_0":7}}})"),
                             JSON::decode(R"({"time":2})"), JSON::decode(R"([{"name":"Child","pulses":[{"time":1}]}])"),
                             JSON::decode(R"([{"opacity":"x"}])"));
}

std::string arbitraryKey()
{
    return *rc::gen::element<std::string>("name", "opacity", "size", "fill", "children", "layers", "imageData", "id", "kind",
                                          "keyframes", "pulses", "fps", "duration", "background", "unknown");
}

PatchOperation arbitraryOperation()
{
    switch (*rc::gen::inRange(0, 8)) {
    case 0: return SetSceneProperty{arbitraryKey(), arbitraryValue()};
    case 1: return SetProperty{arbitraryLayerID(), arbitraryKey(), arbitraryValue()};
    case 2: return AddKeyframe{arbitraryLayerID(), arbitraryValue()};
    case 3: return DeleteKeyframe{arbitraryLayerID(), arbitraryLayerID()};
    case 4: return AddPulse{arbitraryLayerID(), arbitraryValue()};
    case 5: return DeletePulse{arbitraryLayerID(), arbitraryLayerID()};
    case 6: return AddLayer{arbitraryValue()};
    default: return DeleteLayer{arbitraryLayerID()};
    }
}

TEST(PatchOperations, AnyListAppliesWholeOrLeavesTheDocumentEqual)
{
    EXPECT_TRUE(rc::check([] {
        std::vector<PatchOperation> operations;
        const int count = *rc::gen::inRange(0, 6);
        for (int i = 0; i < count; ++i) operations.push_back(arbitraryOperation());

        TweenDocument after = document();
        try {
            RC_ASSERT(applyPatchOperations(operations, after) == count);
            RC_ASSERT(decodeDocument(encodedData(after)) == after);
            RC_TAG("applied");
        } catch (const std::runtime_error&) {
            RC_ASSERT(after == document());
            RC_TAG("refused");
        }
    }));
}

/// All layers, each parent before its children.
std::vector<JSON> allLayers(const JSON& layers)
{
    std::vector<JSON> all;
    for (const JSON& each : *layers.array()) {
        all.push_back(each);
        for (JSON& below : allLayers(*each["children"])) all.push_back(std::move(below));
    }
    return all;
}

void giveIDs(Array<Layer>& layers, std::uint64_t& number)
{
    for (Layer& each : layers.edit()) {
        each.id = id(++number);
        giveIDs(each.children, number);
    }
}

TEST(PatchOperations, SettingAPropertyToWhatWasReadChangesNothing)
{
    EXPECT_TRUE(rc::check([] {
        TweenDocument before = *rc::gen::scale(0.3, arbitraryDocument());
        before.activeSceneIndex = 0;
        std::uint64_t number = 0;
        giveIDs(before.scenes.edit()[0].layers, number);
        const JSON envelope = activeSceneJSON(before, {});
        const JSON& scene = *envelope["scene"];
        std::vector<PatchOperation> operations;
        for (const auto& [key, value] : *scene.object()) operations.push_back(SetSceneProperty{key, value});
        for (const JSON& each : allLayers(*scene["layers"]))
            for (const auto& [key, value] : *each.object())
                operations.push_back(SetProperty{UUID::parse(*each["id"]->string()).value(), key, value});

        TweenDocument after = before;
        applyPatchOperations(operations, after);
        RC_ASSERT(after == before);
    }));
}

// ---------------------------------------------------------------- the plain way

/// Applies operations in the plainest way there is: the whole scene is written as JSON, changed there, and read again.
class PlainPatch {
public:
    explicit PlainPatch(TweenDocument& document)
        : document_(document), active_(static_cast<std::size_t>(document.activeSceneIndex))
    {}

    void operator()(const SetSceneProperty& operation)
    {
        JSON::Object tree = written(active_);
        tree.insert_or_assign(operation.property, operation.value);
        read(active_, tree);
    }
    void operator()(const SetProperty& operation)
    {
        mutate(operation.layerID, [&](JSON::Object& layer) { layer.insert_or_assign(operation.property, operation.value); });
    }
    void operator()(const AddKeyframe& operation) { add(operation.layerID, "keyframes", operation.keyframe); }
    void operator()(const AddPulse& operation) { add(operation.layerID, "pulses", operation.pulse); }
    void operator()(const DeleteKeyframe& operation) { remove(operation.layerID, "keyframes", operation.keyframeID); }
    void operator()(const DeletePulse& operation) { remove(operation.layerID, "pulses", operation.pulseID); }
    void operator()(const AddLayer& operation)
    {
        JSON::Object tree = written(active_);
        JSON::Array layers = *tree.at("layers").array();
        layers.push_back(operation.layer);
        tree.insert_or_assign("layers", layers);
        read(active_, tree);
    }
    void operator()(const DeleteLayer& operation)
    {
        for (const std::size_t index : order()) {
            JSON::Object tree = written(index);
            const JSON::Array before = *tree.at("layers").array(), after = without(before, operation.layerID.string());
            if (after.size() == before.size()) continue;
            tree.insert_or_assign("layers", after);
            return read(index, tree);
        }
        throw PatchError::layerNotFound(operation.layerID);
    }

private:
    using Mutation = std::function<void(JSON::Object& layer)>;

    std::vector<std::size_t> order() const
    {
        std::vector<std::size_t> all{active_};
        for (std::size_t i = 0; i < document_.scenes.size(); ++i)
            if (i != active_) all.push_back(i);
        return all;
    }
    JSON::Object written(std::size_t index) const { return *JSON::decode(encodedJson(document_.scenes[index])).object(); }
    void read(std::size_t index, const JSON::Object& tree)
    {
        document_.scenes.edit()[index] = decodeJson<TweenScene>(JSON(tree).encoded());
    }

    static JSON::Array without(const JSON::Array& layers, const std::string& name)
    {
        JSON::Array kept;
        for (const JSON& each : layers) {
            if (*each["id"]->string() == name) continue;
            JSON::Object layer = *each.object();
            layer.insert_or_assign("children", without(*layer.at("children").array(), name));
            kept.emplace_back(layer);
        }
        return kept;
    }
    static bool walk(JSON::Array& layers, const std::string& name, const Mutation& mutation)
    {
        for (JSON& each : layers) {
            JSON::Object layer = *each.object();
            const bool isTarget = *layer.at("id").string() == name;
            JSON::Array children = *layer.at("children").array();
            if (!isTarget && !walk(children, name, mutation)) continue;
            if (isTarget)
                mutation(layer);
            else
                layer.insert_or_assign("children", children);
            each = layer;
            return true;
        }
        return false;
    }
    void mutate(const UUID& layerID, const Mutation& mutation)
    {
        for (const std::size_t index : order()) {
            JSON::Object tree = written(index);
            JSON::Array layers = *tree.at("layers").array();
            if (!walk(layers, layerID.string(), mutation)) continue;
            tree.insert_or_assign("layers", layers);
            return read(index, tree);
        }
        throw PatchError::layerNotFound(layerID);
    }
    void add(const UUID& layerID, const std::string& key, const JSON& value)
    {
        mutate(layerID, [&](JSON::Object& layer) {
            JSON::Array all = *layer.at(key).array();
            all.push_back(value);
            layer.insert_or_assign(key, all);
        });
    }
    void remove(const UUID& layerID, const std::string& key, const UUID& itemID)
    {
        mutate(layerID, [&](JSON::Object& layer) {
            JSON::Array all = *layer.at(key).array();
            std::erase_if(all, [&](const JSON& each) { return *each["id"]->string() == itemID.string(); });
            layer.insert_or_assign(key, all);
        });
    }

    TweenDocument& document_;
    std::size_t active_;
};

/// A value that a file can hold under the key, with identifiers wherever there are some.
std::pair<std::string, JSON> arbitraryMember()
{
    static const JSON layerJSON = JSON::decode(encodedJson(groupOf(7, {box(8)})));
    static const std::vector<std::pair<std::string, JSON>> members{
        {"opacity", 0.25},
        {"opacity", nullptr},
        {"name", "New"},
        {"size", JSON::Array{3, 4}},
        {"fill", JSON::decode(R"({"r":1,"g":0,"b":0,"a":0.5})")},
        {"kind", "text"},
        {"kind", "line"},
        {"textUserResized", nullptr},
        {"linePoints", JSON::decode("[[-5,2],[8,-9],[3,3]]")},
        {"strokeWidth", 6},
        {"children", JSON::Array{layerJSON}},
        {"children", nullptr},
        {"spans", JSON::decode(R"([{"id":"ABCDEF00-0000-0000-0000-000000000009","start":1,"end":3,"effects":
            [{"id":"ABCDEF00-0000-0000-0000-00000000000A","kind":"fadeIn","duration":9}]}])")},
        {"unknown", JSON::Object{{"a", 1}}},
        {"fps", 24},
        {"duration", 7.5},
        {"layers", JSON::Array{layerJSON, layerJSON}},
        {"endPause", nullptr},
    };
    return *rc::gen::elementOf(members);
}

/// On layers from 1 to one more than there are.
PatchOperation operationThatLosesNothing(std::uint64_t layerCount)
{
    const auto layerID = [&] { return id(*rc::gen::inRange<std::uint64_t>(1, layerCount + 2)); };
    const UUID itemID = id(*rc::gen::inRange<std::uint64_t>(9, 11));
    switch (*rc::gen::inRange(0, 8)) {
    case 0: {
        auto [key, value] = arbitraryMember();
        return SetSceneProperty{key, value};
    }
    case 1: return AddKeyframe{layerID(), JSON::Object{{"id", itemID.string()}, {"property", "x"}, {"time", *rc::gen::inRange(0, 9)},
                                                       {"value", JSON::decode(R"({"number":{"_0":7}})")}}};
    case 2: return DeleteKeyframe{layerID(), itemID};
    case 3: return AddPulse{layerID(), JSON::Object{{"id", itemID.string()}, {"time", *rc::gen::inRange(0, 9)}}};
    case 4: return DeletePulse{layerID(), itemID};
    case 5: return AddLayer{JSON::decode(encodedJson(box(8)))};
    case 6: return DeleteLayer{layerID()};
    default: {
        auto [key, value] = arbitraryMember();
        return SetProperty{layerID(), key, value};
    }
    }
}

/// The document after the operations, or nothing if one of them failed.
std::optional<TweenDocument> plainlyPatched(TweenDocument document, const std::vector<PatchOperation>& operations)
{
    PlainPatch patch(document);
    try {
        for (const PatchOperation& each : operations) std::visit(patch, each);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
    return document;
}

TEST(PatchOperations, ComeToTheSameAsWritingChangingAndReadingTheWholeScene)
{
    EXPECT_TRUE(rc::check([] {
        TweenDocument before = *rc::gen::scale(0.3, arbitraryDocument());
        before.activeSceneIndex = *rc::gen::inRange<std::int64_t>(0, static_cast<std::int64_t>(before.scenes.size()));
        std::uint64_t number = 0;
        for (TweenScene& scene : before.scenes.edit()) giveIDs(scene.layers, number);

        std::vector<PatchOperation> operations;
        const int count = *rc::gen::inRange(1, 5);
        for (int i = 0; i < count; ++i) operations.push_back(operationThatLosesNothing(number));

        const std::optional<TweenDocument> expected = plainlyPatched(before, operations);
        std::optional<TweenDocument> after = before;
        try {
            applyPatchOperations(operations, *after);
        } catch (const std::runtime_error&) {
            after.reset();
        }
        RC_TAG(after ? "applied" : "refused");
        RC_ASSERT(after == expected);
    }));
}

} // namespace
} // namespace larkspool
