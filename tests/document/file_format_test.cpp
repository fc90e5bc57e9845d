#include "document/file_format.h"

#include "support/arbitrary_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Action = Diagnostic::Action;

// ---------------------------------------------------------------- short ways to make files

std::vector<std::uint8_t> bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

std::string textOf(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

DecodedDocument opened(std::string_view file)
{
    return decode(bytesOf(file));
}

/// `{"version":2,"scenes":[...],"activeSceneIndex":0}`
std::string documentJson(std::string_view scenes)
{
    return R"({"version":2,"activeSceneIndex":0,"scenes":[)" + std::string(scenes) + "]}";
}

std::string sceneJson(std::string_view layers, std::string_view more = {})
{
    return R"({"id":"00000000-0000-4000-8000-000000000001","width":1920,"height":1080,"fps":60,"duration":5,"endPause":0,)"
           R"("background":{"r":1,"g":1,"b":1,"a":1},"layers":[)" +
           std::string(layers) + "]" + std::string(more) + "}";
}

/// A document of one scene with one layer that has these members.
DecodedDocument openedWithLayer(std::string_view members)
{
    return opened(documentJson(sceneJson("{" + std::string(members) + "}")));
}

Layer layerWith(std::string_view members)
{
    const TweenDocument document = openedWithLayer(members).document;
    EXPECT_THAT(document.scenes, SizeIs(1));
    if (document.scenes[0].layers.size() != 1) {
        ADD_FAILURE() << "no layer was read from " << members;
        return {};
    }
    return document.scenes[0].layers[0];
}

TweenDocument documentOf(Array<TweenScene> scenes)
{
    return {.scenes = std::move(scenes)};
}

/// A failure's words, or "opened".
std::string verdict(std::string_view file)
{
    try {
        opened(file);
        return "opened";
    } catch (const DecodingError& error) {
        return error.what();
    }
}

/// "path: what was done" of everything told.
std::vector<std::string> actions(const Diagnostics& diagnostics)
{
    constexpr const char* names[] = {"dropped", "defaulted", "migrated", "unknown key"};
    std::vector<std::string> lines;
    for (const Diagnostic& each : diagnostics.told) lines.push_back(each.path + ": " + names[static_cast<int>(each.action)]);
    return lines;
}

bool isBlank(const TweenDocument& document)
{
    if (document.scenes.size() != 1) return false;
    TweenScene fresh;
    fresh.id = document.scenes[0].id;
    return document.scenes[0] == fresh;
}

std::string repeated(std::string_view part, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += part;
    return text;
}

// ---------------------------------------------------------------- the file as a whole

TEST(FileFormat, AFileIsFourMagicBytesAndPrettyJsonWithSortedKeys)
{
    TweenScene scene{.id = {0x0123456789ABCDEF, 0xFEDCBA9876543210}, .name = "One"};
    scene.transition = SceneTransition{.kind = SceneTransition::Kind::slideL, .duration = 0.5};
    TweenDocument document = documentOf({scene});
    document.audio = DocumentAudio{.urlString = "file:///a.mp3", .bookmark = Bytes({1, 2}), .volume = 0.8, .displayName = "a"};

    EXPECT_EQ(textOf(encodedData(document)), std::string("LKS\0", 4) +
                                                 R"({
  "activeSceneIndex": 0,
  "audio": {
    "bookmark": "AQI=",
    "displayName": "a",
    "urlString": "file:///a.mp3",
    "volume": 0.8
  },
  "scenes": [
    {
      "background": {
        "a": 1,
        "b": 1,
        "g": 1,
        "r": 1
      },
      "duration": 5,
      "endPause": 0,
      "fps": 60,
      "height": 1080,
      "id": "01234567-89AB-CDEF-FEDC-BA9876543210",
      "layers": [],
      "name": "One",
      "transition": {
        "duration": 0.5,
        "kind": "slideL"
      },
      "width": 1920
    }
  ],
  "version": 2
})");
}

TEST(FileFormat, FilesThatAreNoDocumentAreRefusedWithOneClearError)
{
    struct Case {
        const char* what;
        std::string_view file;
        const char* verdict;
    };
    for (const Case& c :
         {Case{"empty", "", "unexpected end of the text at byte 0"}, Case{"three bytes", "LKS", "expected a value at byte 0"},
          Case{"the magic only", std::string_view("LKS\0", 4), "unexpected end of the text at byte 4"},
          Case{"truncated", std::string_view("LKS\0{\"version\": 2", 17), "unexpected end of the text at byte 17"},
          Case{"an array", "[]", "the top level is not an object"}, Case{"a number", "12", "the top level is not an object"},
          Case{"null", "null", "the top level is not an object"},
          Case{"invalid UTF-8", std::string_view("LKS\0{\"a\":\"\xFF\"}", 14), "invalid UTF-8 at byte 10"},
          Case{"a lone surrogate", R"({"a":"\ud800"})", "a lone surrogate at byte 6"},
          Case{"the magic twice", std::string_view("LKS\0LKS\0{}", 10), "expected a value at byte 4"},
          Case{"text behind the end", "{}{}", "unexpected text behind the end at byte 2"}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(verdict(c.file), c.verdict);
    }
}

TEST(FileFormat, TwoBytesThatAreJsonOpen)
{
    EXPECT_TRUE(isBlank(opened("{}").document));
}

TEST(FileFormat, TheMagicAndAnEmptyObjectOpenWithVersionOneAndOneScene)
{
    const DecodedDocument decoded = opened(std::string_view("LKS\0{}", 6));
    EXPECT_EQ(decoded.document.version, 1);
    EXPECT_EQ(decoded.document.activeSceneIndex, 0);
    EXPECT_FALSE(decoded.document.audio);
    EXPECT_TRUE(isBlank(decoded.document));
}

TEST(FileFormat, NestingWithoutEndIsRefused)
{
    constexpr std::size_t levels = 100'000;
    EXPECT_THAT(verdict(R"({"scenes":)" + repeated("[", levels) + repeated("]", levels) + "}"), HasSubstr("nested deeper"));
    const std::string groups = repeated(R"({"kind":"group","children":[)", levels) + repeated("]}", levels);
    EXPECT_THAT(verdict(documentJson(sceneJson(groups))), HasSubstr("nested deeper"));
}

TEST(FileFormat, LayersNestAsDeepAsCanBeReadBackAndNoDeeper)
{
    const auto nested = [](std::size_t levels) {
        return documentJson(
            sceneJson(repeated(R"({"kind":"group","children":[)", levels - 1) +
                      R"({"keyframes":[{"property":"fill","time":0,"value":{"color":{"_0":{"r":0,"g":0,"b":0,"a":0}}}}]})" +
                      repeated("]}", levels - 1)));
    };
    const TweenDocument document = opened(nested(deepestLayerNesting)).document;
    EXPECT_EQ(decode(encodedData(document)).document, document);
    EXPECT_EQ(verdict(nested(deepestLayerNesting + 1)), "Layers are nested deeper than 250 levels");
}

TEST(FileFormat, LayersNestedTooDeepToBeReadBackAreNotWritten)
{
    Layer layer;
    for (std::size_t i = 0; i < deepestLayerNesting; ++i) {
        Layer group{.kind = Layer::Kind::group};
        group.children = {std::move(layer)};
        layer = std::move(group);
    }
    TweenScene scene;
    scene.layers = {layer.children[0]};
    EXPECT_NO_THROW(decode(encodedData(documentOf({scene}))));

    scene.layers = {layer};
    try {
        encodedData(documentOf({scene}));
        FAIL() << "written";
    } catch (const JsonWriteError& error) {
        EXPECT_EQ(error.kind(), JsonWriteError::Kind::tooDeep);
    }
}

TEST(FileFormat, ATextThatNamesMoreLayersThanADocumentMayHaveIsRefused)
{
    // Groups whose children are all lost count as well: nothing is left of them, but reading them took its time.
    const std::string group = R"({"children":[)" + repeated("{},", 999) + "{},5]}";
    EXPECT_EQ(verdict(documentJson(sceneJson(repeated(group + ",", 98) + group))), "opened");
    EXPECT_EQ(verdict(documentJson(sceneJson(repeated(group + ",", mostLayers / 1000) + group))),
              "There are more than 1000000 layers");
}

TEST(FileFormat, ANumberThatIsNotFiniteFailsTheSaveAndIsNamed)
{
    TweenScene scene;
    scene.layers = {Layer{}, Layer{.opacity = std::nan("")}};
    try {
        encodedData(documentOf({scene}));
        FAIL() << "written";
    } catch (const JsonWriteError& error) {
        EXPECT_EQ(error.kind(), JsonWriteError::Kind::notFinite);
        EXPECT_EQ(error.path(), "scenes[0].layers[1].opacity");
    }
    scene.layers = {Layer{.cropRect = CGRect::null()}};
    EXPECT_THROW(encodedData(documentOf({scene})), JsonWriteError);
}

// ---------------------------------------------------------------- round trips

TEST(FileFormat, AFreshDocumentComesBackWithNothingToTell)
{
    TweenScene scene;
    scene.layers = {Layer{}, Layer{.kind = Layer::Kind::text}, Layer{.kind = Layer::Kind::line}};
    const TweenDocument document = documentOf({scene, TweenScene{}});
    const DecodedDocument decoded = decode(encodedData(document));
    EXPECT_EQ(decoded.document, document);
    EXPECT_TRUE(decoded.diagnostics.empty());
}

TEST(FileFormat, EveryDocumentComesBackAndHasNothingToTell)
{
    EXPECT_TRUE(rc::check([] {
        const TweenDocument document = *arbitraryDocument();
        const std::vector<std::uint8_t> file = encodedData(document);
        const DecodedDocument decoded = decode(file);
        RC_ASSERT(decoded.document == document);
        RC_ASSERT(decoded.diagnostics.empty());
        RC_ASSERT(encodedData(decoded.document) == file);
    }));
}

TEST(FileFormat, AFileWithoutItsMagicIsTheSameDocument)
{
    const std::vector<std::uint8_t> file = encodedData(documentOf({TweenScene{.name = "Plain"}}));
    EXPECT_EQ(decode(std::span(file).subspan(4)).document, decode(file).document);
}

/// A file with a random key missing, or a random value replaced by one of another type.
std::string damaged(std::string text)
{
    const std::size_t colon = text.find(": ", static_cast<std::size_t>(*rc::gen::inRange<std::size_t>(0, text.size())));
    if (colon == std::string::npos) return text;
    if (*rc::gen::arbitrary<bool>()) return text.insert(colon - 1, "x");
    const std::size_t end = text.find_first_of(",\n", colon);
    const std::string_view value = std::string_view(text).substr(colon + 2, end - colon - 2);
    if (value.ends_with('[') || value.ends_with('{')) return text;
    return text.replace(colon + 2, value.size(),
                        *rc::gen::element<std::string>("null", "\"?\"", "1e999", "[]", "{}", "-7", "true"));
}

TEST(FileFormat, ReadingWhatWasReadAndWrittenChangesNothingMore)
{
    EXPECT_TRUE(rc::check([] {
        std::string file = textOf(encodedData(*arbitraryDocument()));
        for (int i = 0; i < 3; ++i) file = damaged(std::move(file));
        const TweenDocument once = decodeDocument(bytesOf(file));
        const DecodedDocument twice = decode(encodedData(once));
        RC_ASSERT(twice.document == once);
        RC_ASSERT(twice.diagnostics.empty());
    }));
}

TEST(FileFormat, TheEvaluatedOnlyFieldsNeverReachAFileAndAreNotReadFromOne)
{
    TweenScene scene;
    Layer layer{.lineDrawProgress = 0.5, .lineDrawReversed = true, .textCursorVisible = false, .textTypeOnVisible = 3};
    scene.layers = {layer};
    const std::string file = textOf(encodedData(documentOf({scene})));
    for (const char* key : {"lineDrawProgress", "lineDrawReversed", "textCursorVisible", "textTypeOnVisible"}) {
        EXPECT_EQ(file.find(key), std::string::npos) << key;
    }

    const Layer read =
        layerWith(R"("lineDrawProgress":0.5,"lineDrawReversed":true,"textCursorVisible":false,"textTypeOnVisible":3)");
    EXPECT_EQ(read.lineDrawProgress, 1);
    EXPECT_FALSE(read.lineDrawReversed);
    EXPECT_TRUE(read.textCursorVisible);
    EXPECT_FALSE(read.textTypeOnVisible);
}

TEST(FileFormat, ALayerHas67KeysAndThreeMoreWhenTheyArePresent)
{
    const auto keyCount = [](const Layer& layer) {
        const std::string json = encodedJson(layer);
        std::size_t count = 0;
        for (std::size_t at = json.find("\n  \""); at != std::string::npos; at = json.find("\n  \"", at + 1)) ++count;
        return count;
    };
    Layer layer;
    EXPECT_EQ(keyCount(layer), 67u);
    layer.imageData = Bytes();
    layer.videoBookmark = Bytes({1});
    layer.cursorHoverOverride = CursorVariant::grab;
    EXPECT_EQ(keyCount(layer), 70u);
}

TEST(FileFormat, OptionalValuesAreLeftOutRatherThanNull)
{
    const std::string file = textOf(encodedData(documentOf({TweenScene{}})));
    EXPECT_EQ(file.find("null"), std::string::npos);
    EXPECT_EQ(file.find("\"audio\""), std::string::npos);
    EXPECT_EQ(file.find("\"name\""), std::string::npos);
    EXPECT_EQ(file.find("\"transition\""), std::string::npos);
}

TEST(FileFormat, NegativeZeroKeepsItsSign)
{
    TweenScene scene;
    scene.layers = {Layer{.transform = {.rotation = -0.0}}};
    EXPECT_TRUE(std::signbit(decode(encodedData(documentOf({scene}))).document.scenes[0].layers[0].transform.rotation));
}

// ---------------------------------------------------------------- documents and scenes

TEST(FileFormat, TheVersionIsKeptAsReadAndMissingIsOne)
{
    EXPECT_EQ(opened(R"({"scenes":[]})").document.version, 1);
    EXPECT_EQ(opened(R"({"version":7,"scenes":[]})").document.version, 7);
    EXPECT_EQ(opened(R"({"version":3.0})").document.version, 3);
    EXPECT_EQ(opened(R"({"version":"2"})").document.version, 1);
    EXPECT_EQ(opened(R"({"version":2.5})").document.version, 1);
    EXPECT_EQ(opened(R"({"version":99999999999999999999})").document.version, 1);

    const TweenDocument old = opened("{}").document;
    EXPECT_THAT(textOf(encodedData(old)), HasSubstr("\"version\": 1"));
    EXPECT_EQ(decode(encodedData(old)).document.version, 1);
}

TEST(FileFormat, ScenesFallBackInTheToldOrder)
{
    const std::string good = sceneJson("", R"(,"name":"Good")");
    const std::string bad = R"({"width":1})";
    struct Case {
        const char* what;
        std::string file;
        const char* name;
        std::int64_t active;
    };
    for (const Case& c :
         {Case{"scenes", R"({"activeSceneIndex":3,"scenes":[)" + good + "]}", "Good", 3},
          Case{"an empty list", R"({"activeSceneIndex":3,"scenes":[]})", nullptr, 3},
          Case{"no list, one scene", R"({"activeSceneIndex":3,"scene":)" + good + "}", "Good", 0},
          Case{"a bad list, one scene", R"({"activeSceneIndex":3,"scenes":[)" + bad + R"(],"scene":)" + good + "}", "Good", 0},
          Case{"an empty list and one scene", R"({"activeSceneIndex":3,"scenes":[],"scene":)" + good + "}", nullptr, 3},
          Case{"a bad scene", R"({"activeSceneIndex":3,"scene":)" + bad + "}", nullptr, 0},
          Case{"one bad of two", R"({"activeSceneIndex":3,"scenes":[)" + good + "," + bad + "]}", nullptr, 0},
          Case{"no array", R"({"activeSceneIndex":3,"scenes":{}})", nullptr, 0},
          Case{"null", R"({"activeSceneIndex":3,"scenes":null,"scene":null})", nullptr, 0}}) {
        SCOPED_TRACE(c.what);
        const TweenDocument document = opened(c.file).document;
        EXPECT_EQ(document.activeSceneIndex, c.active);
        ASSERT_THAT(document.scenes, SizeIs(1));
        if (c.name)
            EXPECT_EQ(document.scenes[0].name, SharedString(c.name));
        else
            EXPECT_TRUE(isBlank(document));
    }
}

TEST(FileFormat, ASceneNeedsItsRequiredKeys)
{
    const std::string good = sceneJson("");
    ASSERT_FALSE(isBlank(opened(documentJson(sceneJson("{}"))).document));
    for (const char* key : {"width", "height", "fps", "duration", "background", "layers"}) {
        SCOPED_TRACE(key);
        std::string without = good;
        without.replace(without.find('"' + std::string(key) + '"') + 1, 1, "_");
        const DecodedDocument decoded = opened(documentJson(without));
        EXPECT_TRUE(isBlank(decoded.document));
        ASSERT_FALSE(decoded.diagnostics.told.empty());
        EXPECT_EQ(decoded.diagnostics.told[0].path, "scenes");
        EXPECT_EQ(decoded.diagnostics.told[0].action, Action::dropped);
        EXPECT_EQ(decoded.diagnostics.told[0].text, "scenes[0]." + std::string(key) + " is missing");
    }
}

TEST(FileFormat, OddButWholeSceneNumbersStandAsTheyAre)
{
    const auto scene = [](std::string_view key, std::string_view value) {
        std::string json = sceneJson("");
        const std::size_t start = json.find("\"" + std::string(key) + "\":") + key.size() + 3;
        json.replace(start, json.find(',', start) - start, value);
        return opened(documentJson(json)).document.scenes[0];
    };
    EXPECT_EQ(scene("fps", "0").fps, 0);
    EXPECT_EQ(scene("fps", "-24").fps, -24);
    EXPECT_EQ(scene("fps", "24.0").fps, 24);
    EXPECT_EQ(scene("fps", "9223372036854775807").fps, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(scene("width", "0").width, 0);
    EXPECT_EQ(scene("width", "-5").width, -5);
    EXPECT_EQ(scene("height", "1e9").height, 1e9);
    EXPECT_EQ(scene("duration", "1e-320").duration, 1e-320);
    EXPECT_TRUE(std::signbit(scene("duration", "-0").duration));

    // A blank scene stands where these fail: 60 frames, 1920 pixels.
    EXPECT_EQ(scene("fps", "29.97").fps, 60);
    EXPECT_EQ(scene("fps", "9223372036854775808").fps, 60);
    EXPECT_EQ(scene("width", "1e999").width, 1920);
    EXPECT_EQ(scene("width", "\"640\"").width, 1920);
}

TEST(FileFormat, ASceneWithoutItsOptionalKeysFallsBack)
{
    const TweenScene scene =
        opened(
            documentJson(
                R"({"width":1,"height":2,"fps":3,"duration":4,"background":{"r":0,"g":0,"b":0,"a":0},"layers":[],"name":5,"transition":{"kind":"spin","duration":1}})"))
            .document.scenes[0];
    EXPECT_NE(scene.id, UUID{});
    EXPECT_FALSE(scene.name);
    EXPECT_EQ(scene.endPause, 0);
    EXPECT_FALSE(scene.transition);
    EXPECT_EQ(scene.width, 1);
}

TEST(FileFormat, AnyFailureInsideAudioGivesNoAudio)
{
    const auto audio = [](std::string_view json) {
        return opened(R"({"scenes":[],"audio":)" + std::string(json) + "}").document.audio;
    };
    EXPECT_EQ(audio(R"({"urlString":"u","volume":0.5,"displayName":"d"})"),
              (DocumentAudio{.urlString = "u", .volume = 0.5, .displayName = "d"}));
    EXPECT_EQ(audio(R"({"urlString":"u","bookmark":"AQ==","volume":0.5,"displayName":"d"})"),
              (DocumentAudio{.urlString = "u", .bookmark = Bytes({1}), .volume = 0.5, .displayName = "d"}));
    EXPECT_EQ(audio(R"({"urlString":"u","bookmark":null,"volume":0.5,"displayName":"d"})"),
              (DocumentAudio{.urlString = "u", .volume = 0.5, .displayName = "d"}));
    for (const char* json :
         {R"({"volume":0.5,"displayName":"d"})", R"({"urlString":"u","displayName":"d"})", R"({"urlString":"u","volume":0.5})",
          R"({"urlString":"u","bookmark":7,"volume":0.5,"displayName":"d"})",
          R"({"urlString":"u","bookmark":"A","volume":0.5,"displayName":"d"})",
          R"({"urlString":"u","volume":"loud","displayName":"d"})", "[]", "null"}) {
        SCOPED_TRACE(json);
        EXPECT_FALSE(audio(json));
    }
}

TEST(FileFormat, TheLastOfEqualKeysHolds)
{
    const DecodedDocument decoded = openedWithLayer(R"("opacity":0.25,"name":"x","opacity":0.75)");
    EXPECT_EQ(decoded.document.scenes[0].layers[0].opacity, 0.75);
    EXPECT_THAT(actions(decoded.diagnostics), ElementsAre("scenes[0].layers[0]: dropped"));
}

// ---------------------------------------------------------------- layers

TEST(Layers, AnEmptyObjectIsAFreshLayerWhoseBoxKeepsItsSize)
{
    const Layer layer = layerWith("");
    Layer expected{.id = layer.id};
    expected.videoClip.id = layer.videoClip.id;
    expected.textUserResized = true;
    EXPECT_EQ(layer, expected);
    EXPECT_NE(layer.id, UUID{});
}

TEST(Layers, EveryMalformedKeyFallsBackAloneAndIsTold)
{
    // An object is right for none of these keys.
    const char* keys[] = {"id",
                          "name",
                          "kind",
                          "strokeWidth",
                          "strokeOutside",
                          "perSideStroke",
                          "strokeWidthTop",
                          "strokeWidthRight",
                          "strokeWidthBottom",
                          "strokeWidthLeft",
                          "opacity",
                          "size",
                          "cornerRadius",
                          "path",
                          "imageData",
                          "blackKey",
                          "blackKeyInsetX",
                          "blackKeyInsetY",
                          "cropMode",
                          "cropRect",
                          "gradientWarpSpeed",
                          "gradientPulseAmount",
                          "videoURL",
                          "videoDuration",
                          "videoBookmark",
                          "cursorVariant",
                          "nameFollowsCursorVariant",
                          "nameFollowsText",
                          "nameFollowsLineShape",
                          "nameFollowsShape",
                          "text",
                          "fontSize",
                          "fontName",
                          "textColor",
                          "textAutoFit",
                          "textColorHarmonize",
                          "textUserResized",
                          "textPadX",
                          "textPadY",
                          "textAlignment",
                          "textVerticalAlignment",
                          "shadow",
                          "isHidden",
                          "isLocked",
                          "zoomType",
                          "pipRendition",
                          "children",
                          "keyframes",
                          "groupLayout",
                          "groupGap",
                          "groupSizeMode",
                          "groupFixedLocked",
                          "groupAlignment",
                          "cursorHoverOverride",
                          "spans",
                          "pulses",
                          "lineShape",
                          "lineArcBend",
                          "lineArcReversed",
                          "lineWaveFrequency",
                          "lineWaveAmplitude",
                          "linePoints",
                          "lineArrowStart",
                          "lineArrowEnd",
                          "lineCurved",
                          "textCursorBlinks",
                          "transform",
                          "fill",
                          "stroke"};
    for (const char* key : keys) {
        SCOPED_TRACE(key);
        for (const char* value : {R"({"?":1})", "null"}) {
            const DecodedDocument decoded = openedWithLayer('"' + std::string(key) + "\":" + value);
            const Layer& layer = decoded.document.scenes[0].layers[0];
            Layer expected{.id = layer.id};
            expected.videoClip.id = layer.videoClip.id;
            expected.textUserResized = true;
            EXPECT_EQ(layer, expected);
            ASSERT_THAT(decoded.diagnostics.told, SizeIs(1));
            EXPECT_EQ(decoded.diagnostics.told[0].path, "scenes[0].layers[0]." + std::string(key));
        }
    }
}

TEST(Layers, AVideoClipThatIsNoObjectIsAFreshOneAndTold)
{
    for (const char* value : {"null", "[]", "4"}) {
        SCOPED_TRACE(value);
        const DecodedDocument decoded = openedWithLayer(R"("videoClip":)" + std::string(value));
        const VideoClip& clip = decoded.document.scenes[0].layers[0].videoClip;
        EXPECT_EQ(clip, VideoClip{.id = clip.id});
        EXPECT_NE(clip.id, UUID{});
        EXPECT_THAT(actions(decoded.diagnostics), ElementsAre("scenes[0].layers[0].videoClip: defaulted"));
    }
}

TEST(Layers, AMalformedRecordLeavesNothingOfItselfBehind)
{
    const Layer layer = layerWith(R"("fill":{"r":0.9,"g":0.9,"b":0.9,"a":"x"},"cropRect":[[5,5],[1]],"transform":{"x":9})");
    EXPECT_EQ(layer.fill, (ColorRGBA{0.2, 0.5, 1, 1}));
    EXPECT_EQ(layer.cropRect, (CGRect{{0, 0}, {1, 1}}));
    EXPECT_EQ(layer.transform, Transform{});
}

TEST(Layers, PointsSizesAndRectanglesAreArrays)
{
    const Layer layer = layerWith(R"("size":[3,4],"cropRect":[[0.1,0.2],[0.3,0.4]],"linePoints":[[1,2],[3,4.5]])");
    EXPECT_EQ(layer.size, (CGSize{3, 4}));
    EXPECT_EQ(layer.cropRect, (CGRect{{0.1, 0.2}, {0.3, 0.4}}));
    EXPECT_EQ(layer.linePoints, (Array<CGPoint>{{1, 2}, {3, 4.5}}));
    for (const char* size : {"[3]", "[3,4,5]", "[]", R"(["3",4])", "3"}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(layerWith("\"size\":" + std::string(size)).size, (CGSize{200, 200}));
    }
}

TEST(Layers, IdentifiersAreReadInAnyCaseAndWrittenInUpperCase)
{
    const Layer layer = layerWith(R"("id":"abcdef01-2345-6789-ABCD-ef0123456789")");
    EXPECT_EQ(layer.id.string(), "ABCDEF01-2345-6789-ABCD-EF0123456789");
    EXPECT_THAT(encodedJson(layer), HasSubstr("\"ABCDEF01-2345-6789-ABCD-EF0123456789\""));
    for (const char* id : {"", "abcdef0123456789abcdef0123456789", "{abcdef01-2345-6789-abcd-ef0123456789}",
                           "abcdef01-2345-6789-abcd-ef012345678g"}) {
        SCOPED_TRACE(id);
        const DecodedDocument decoded = openedWithLayer("\"id\":\"" + std::string(id) + '"');
        EXPECT_NE(decoded.document.scenes[0].layers[0].id, UUID{});
        EXPECT_THAT(actions(decoded.diagnostics), ElementsAre("scenes[0].layers[0].id: defaulted"));
    }
}

TEST(Layers, ImageBytesAreStrictBase64)
{
    EXPECT_EQ(layerWith(R"("imageData":"AQID")").imageData, Bytes({1, 2, 3}));
    EXPECT_EQ(layerWith(R"("imageData":"\/\/\/\/")").imageData, Bytes({0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(layerWith(R"("imageData":"")").imageData, Bytes());
    const DecodedDocument decoded = openedWithLayer(R"("imageData":"AQ")");
    EXPECT_FALSE(decoded.document.scenes[0].layers[0].imageData);
    EXPECT_THAT(actions(decoded.diagnostics), ElementsAre("scenes[0].layers[0].imageData: dropped"));
}

TEST(Layers, TheCropModeOfOldFilesComesFromTheBlackKey)
{
    struct Case {
        const char* members;
        CropMode mode;
    };
    for (const Case& c :
         {Case{R"("blackKey":true)", CropMode::automatic}, Case{R"("blackKey":false)", CropMode::none}, Case{"", CropMode::none},
          Case{R"("blackKey":"yes")", CropMode::none}, Case{R"("blackKey":true,"cropMode":"manual")", CropMode::manual},
          Case{R"("blackKey":true,"cropMode":"none")", CropMode::none},
          Case{R"("blackKey":true,"cropMode":"sideways")", CropMode::none},
          Case{R"("blackKey":true,"cropMode":null)", CropMode::none}, Case{R"("cropMode":"auto")", CropMode::automatic},
          Case{R"("cropMode":"auto","blackKey":true)", CropMode::automatic}}) {
        SCOPED_TRACE(c.members);
        EXPECT_EQ(layerWith(c.members).cropMode, c.mode);
    }
}

TEST(Layers, TheTextColourOfOldFilesComesFromTheFill)
{
    constexpr ColorRGBA red{1, 0, 0, 1}, freshFill{0.2, 0.5, 1, 1};
    const std::string fill = R"("fill":{"r":1,"g":0,"b":0,"a":1})";
    struct Case {
        std::string members;
        ColorRGBA textColor;
        ColorRGBA fill;
    };
    for (const Case& c :
         {Case{R"("kind":"text",)" + fill, red, ColorRGBA::clear}, Case{fill + R"(,"kind":"text")", red, ColorRGBA::clear},
          Case{R"("kind":"rectangle",)" + fill, ColorRGBA::black, red}, Case{fill, ColorRGBA::black, red},
          Case{R"("kind":"text")", freshFill, ColorRGBA::clear}, Case{R"("kind":"letters",)" + fill, ColorRGBA::black, red},
          Case{R"("kind":"text","textColor":null,)" + fill, ColorRGBA::black, red},
          Case{R"("kind":"text","textColor":"red",)" + fill, ColorRGBA::black, red},
          Case{R"("kind":"text","textColor":{"r":0,"g":1,"b":0,"a":1},)" + fill, {0, 1, 0, 1}, red}}) {
        SCOPED_TRACE(c.members);
        const Layer layer = layerWith(c.members);
        EXPECT_EQ(layer.textColor, c.textColor);
        EXPECT_EQ(layer.fill, c.fill);
    }
}

TEST(Layers, ATextBoxOfAnOldFileKeepsItsSize)
{
    EXPECT_TRUE(layerWith("").textUserResized);
    EXPECT_TRUE(layerWith(R"("textUserResized":1)").textUserResized);
    EXPECT_TRUE(layerWith(R"("textUserResized":null)").textUserResized);
    EXPECT_FALSE(layerWith(R"("textUserResized":false)").textUserResized);
}

std::vector<SpanEffect::Kind> effectKinds(const TimeSpan& span)
{
    std::vector<SpanEffect::Kind> kinds;
    for (const SpanEffect& effect : span.effects) kinds.push_back(effect.kind);
    return kinds;
}

TEST(Layers, TheBlinkingCursorEffectsOfOldFilesBecomeAFlag)
{
    using enum SpanEffect::Kind;
    const std::string spans =
        R"("spans":[{"start":0,"end":1,"effects":[{"kind":"fadeIn","duration":1},{"kind":"blinkingCursorStart","duration":1},)"
        R"({"kind":"fadeOut","duration":1}]},{"start":2,"end":3,"effects":[{"kind":"blinkingCursorEnd","duration":1}]}])";

    const Layer migrated = layerWith(spans);
    EXPECT_TRUE(migrated.textCursorBlinks);
    EXPECT_THAT(effectKinds(migrated.spans[0]), ElementsAre(fadeIn, fadeOut));
    EXPECT_THAT(effectKinds(migrated.spans[1]), IsEmpty());

    const Layer malformed = layerWith(spans + R"(,"textCursorBlinks":0)");
    EXPECT_TRUE(malformed.textCursorBlinks);
    EXPECT_THAT(effectKinds(malformed.spans[0]), ElementsAre(fadeIn, fadeOut));

    const Layer told = layerWith(R"("textCursorBlinks":false,)" + spans);
    EXPECT_FALSE(told.textCursorBlinks);
    EXPECT_THAT(effectKinds(told.spans[0]), ElementsAre(fadeIn, blinkingCursorStart, fadeOut));
    EXPECT_THAT(effectKinds(told.spans[1]), ElementsAre(blinkingCursorEnd));

    const Layer without = layerWith(R"("spans":[{"start":0,"end":1,"effects":[{"kind":"fadeIn","duration":1}]}])");
    EXPECT_FALSE(without.textCursorBlinks);
    EXPECT_THAT(effectKinds(without.spans[0]), ElementsAre(fadeIn));
}

TEST(Layers, OneBadElementLosesItsArray)
{
    const std::string key = R"({"property":"x","time":1,"value":{"number":{"_0":2}}})";
    struct Case {
        const char* what;
        std::string members;
        std::size_t keyframes, spans, children;
    };
    for (const Case& c :
         {Case{"good ones", R"("keyframes":[)" + key + "," + key + R"(],"spans":[{"start":0,"end":1}],"children":[{},{}])", 2, 1,
               2},
          Case{"a time that is a string",
               R"("keyframes":[)" + key + R"(,{"property":"x","time":"1","value":{"number":{"_0":2}}}])", 0, 0, 0},
          Case{"an unknown property", R"("keyframes":[)" + key + R"(,{"property":"shear","time":1,"value":{"number":{"_0":2}}}])",
               0, 0, 0},
          Case{"a span without end", R"("spans":[{"start":0,"end":1},{"start":2}])", 0, 0, 0},
          Case{"a child that is no object", R"("children":[{},5])", 0, 0, 0},
          Case{"a child that is null", R"("children":[null])", 0, 0, 0}}) {
        SCOPED_TRACE(c.what);
        const Layer layer = layerWith(c.members);
        EXPECT_EQ(layer.keyframes.size(), c.keyframes);
        EXPECT_EQ(layer.spans.size(), c.spans);
        EXPECT_EQ(layer.children.size(), c.children);
    }
}

TEST(Layers, AnUnknownEffectClearsTheEffectsOfItsSpanOnly)
{
    const Layer layer =
        layerWith(R"("spans":[{"start":0,"end":1,"effects":[{"kind":"fadeIn","duration":1},{"kind":"explode","duration":1}]},)"
                  R"({"start":2,"end":3,"effects":[{"kind":"fadeIn","duration":1}]}])");
    ASSERT_THAT(layer.spans, SizeIs(2));
    EXPECT_THAT(layer.spans[0].effects, IsEmpty());
    EXPECT_THAT(layer.spans[1].effects, SizeIs(1));
}

// ---------------------------------------------------------------- timed records

constexpr const char* idText = R"("00000000-0000-0001-0000-000000000002")";
constexpr UUID idOfText{1, 2};

/// A key of a record's text with its value, and whether the record needs it.
struct TextMember {
    const char* key;
    std::string value;
    bool isRequired = false;
};

/// The record's text without the member at `left`, or with all of them.
std::string recordText(const std::vector<TextMember>& members, std::optional<std::size_t> left = std::nullopt)
{
    std::string text;
    for (std::size_t i = 0; i < members.size(); ++i)
        if (i != left) text += (text.empty() ? "\"" : ",\"") + std::string(members[i].key) + "\":" + members[i].value;
    return "{" + text + "}";
}

/// Holds a record to its text, key by key. In the record no value is that of a fresh one.
template <typename Record>
void expectKeys(const Record& record, const std::vector<TextMember>& members)
{
    EXPECT_EQ(encodedJson(record, JsonWriter::Layout::compact), recordText(members));
    EXPECT_EQ(decodeJson<Record>(recordText(members)), record);
    for (std::size_t i = 0; i < members.size(); ++i) {
        SCOPED_TRACE(std::string("without ") + members[i].key);
        const std::string text = recordText(members, i);
        if (!members[i].isRequired) {
            EXPECT_NE(decodeJson<Record>(text), record);
            continue;
        }
        EXPECT_THROW(decodeJson<Record>(text), DecodingError);
        std::vector<TextMember> withNull = members;
        withNull[i].value = "null";
        EXPECT_THROW(decodeJson<Record>(recordText(withNull)), DecodingError);
    }
}

TEST(Records, EachHasItsKeysInTheirOrderAndFailsWithoutTheRequiredOnes)
{
    constexpr bool required = true;
    expectKeys(ColorRGBA{0.1, 0.2, 0.3, 0.4},
               {{"a", "0.4", required}, {"b", "0.3", required}, {"g", "0.2", required}, {"r", "0.1", required}});
    expectKeys(Transform{.x = 1, .y = 2, .rotation = 3, .scaleX = 4, .scaleY = 5, .anchorX = 6, .anchorY = 7},
               {{"anchorX", "6", required},
                {"anchorY", "7", required},
                {"rotation", "3", required},
                {"scaleX", "4", required},
                {"scaleY", "5", required},
                {"x", "1", required},
                {"y", "2", required}});
    expectKeys(Keyframe{.id = idOfText,
                        .property = Keyframe::AnimatableProperty::scaleX,
                        .time = 1.5,
                        .value = 2.0,
                        .easing = Easing::linear(),
                        .wait = 0.25},
               {{"easing", R"({"linear":{}})"},
                {"id", idText},
                {"property", R"("scaleX")", required},
                {"time", "1.5", required},
                {"value", R"({"number":{"_0":2}})", required},
                {"wait", "0.25"}});
    expectKeys(BlinkRange{.id = idOfText, .start = 1, .end = 2},
               {{"end", "2", required}, {"id", idText}, {"start", "1", required}});
    expectKeys(SpanEffect{.id = idOfText, .kind = SpanEffect::Kind::eraseOff, .duration = 0.5, .reversed = true},
               {{"duration", "0.5", required}, {"id", idText}, {"kind", R"("eraseOff")", required}, {"reversed", "true"}});
    expectKeys(TimeSpan{.id = idOfText,
                        .start = 1,
                        .end = 2,
                        .effects = {SpanEffect{.id = idOfText, .duration = 1}},
                        .zoomStart = ZoomTransition::none,
                        .zoomEnd = ZoomTransition::fade,
                        .cursorBlinkRanges = {BlinkRange{.id = idOfText, .start = 1, .end = 2}}},
               {{"cursorBlinkRanges", std::string(R"([{"end":2,"id":)") + idText + R"(,"start":1}])"},
                {"effects", std::string(R"([{"duration":1,"id":)") + idText + R"(,"kind":"fadeIn","reversed":false}])"},
                {"end", "2", required},
                {"id", idText},
                {"start", "1", required},
                {"zoomEnd", R"("fade")"},
                {"zoomStart", R"("none")"}});
    expectKeys(Pulse{.id = idOfText, .time = 3, .effects = {PulseEffect::radiate}},
               {{"effects", R"(["radiate"])"}, {"id", idText}, {"time", "3", required}});
    expectKeys(VideoClip{.id = idOfText,
                         .sceneStart = 1,
                         .sceneEnd = 2,
                         .sourceStart = 3,
                         .endBehavior = VideoClip::EndBehavior::freezeFrame,
                         .sourceTrimLength = 4},
               {{"endBehavior", R"("freezeFrame")"},
                {"id", idText},
                {"sceneEnd", "2"},
                {"sceneStart", "1"},
                {"sourceStart", "3"},
                {"sourceTrimLength", "4"}});
    expectKeys(SceneTransition{.kind = SceneTransition::Kind::zoom, .duration = 0.5},
               {{"duration", "0.5", required}, {"kind", R"("zoom")", required}});
    expectKeys(DocumentAudio{.urlString = "a.mp3", .bookmark = Bytes({1}), .volume = 0.5, .displayName = "a"},
               {{"bookmark", R"("AQ==")"},
                {"displayName", R"("a")", required},
                {"urlString", R"("a.mp3")", required},
                {"volume", "0.5", required}});
    expectKeys(Easing::spring(100, 10), {{"spring", R"({"damping":10,"stiffness":100})", required}});
    for (const char* lame :
         {R"({"spring":{"damping":10}})", R"({"spring":{"stiffness":10}})", R"({"cubic":{"x1":0,"x2":0,"y1":0}})",
          R"({"cubic":{"x1":0,"x2":0,"y2":0}})", R"({"cubic":{"x1":0,"y1":0,"y2":0}})", R"({"cubic":{"x2":0,"y1":0,"y2":0}})"})
        EXPECT_THROW(decodeJson<Easing>(lame), DecodingError) << lame;
    for (const char* lame :
         {R"({"curveTo":{"c1":[1,2],"c2":[3,4]}})", R"({"curveTo":{"c1":[1,2],"end":[3,4]}})",
          R"({"curveTo":{"c2":[1,2],"end":[3,4]}})", R"({"moveTo":{}})", R"({"lineTo":{"x":[1,2]}})", R"({"close":null})"})
        EXPECT_THROW(decodeJson<PathCommand>(lame), DecodingError) << lame;
}

TEST(TimedRecords, AKeyframeFallsBackToEaseInOutWithoutWait)
{
    const Keyframe keyframe = decodeJson<Keyframe>(R"({"property":"opacity","time":1.5,"value":{"number":{"_0":0.5}}})");
    EXPECT_NE(keyframe.id, UUID{});
    EXPECT_EQ(keyframe.property, Keyframe::AnimatableProperty::opacity);
    EXPECT_EQ(keyframe.time, 1.5);
    EXPECT_EQ(keyframe.value, KeyValue(0.5));
    EXPECT_EQ(keyframe.easing, Easing::easeInOut());
    EXPECT_EQ(keyframe.wait, 0);

    const Keyframe malformed = decodeJson<Keyframe>(
        R"({"id":3,"property":"opacity","time":1.5,"value":{"number":{"_0":0.5}},"easing":{"swing":{}},"wait":"long"})");
    EXPECT_EQ(malformed.easing, Easing::easeInOut());
    EXPECT_EQ(malformed.wait, 0);
    for (const char* json : {R"({"time":1,"value":{"number":{"_0":1}}})", R"({"property":"x","value":{"number":{"_0":1}}})",
                             R"({"property":"x","time":1})"})
        EXPECT_THROW(decodeJson<Keyframe>(json), DecodingError) << json;
}

TEST(TimedRecords, EveryKeyValueHasItsForm)
{
    struct Case {
        KeyValue value;
        const char* json;
    };
    for (const Case& c :
         {Case{1.5, R"({"number":{"_0":1.5}})"},
          Case{ColorRGBA{0.1, 0.2, 0.3, 1}, R"({"color":{"_0":{"a":1,"b":0.3,"g":0.2,"r":0.1}}})"},
          Case{CGPoint{1, 2}, R"({"point":{"_0":[1,2]}})"}, Case{CGSize{3, 4}, R"({"size":{"_0":[3,4]}})"},
          Case{ShadowPreset::medium, R"({"shadow":{"_0":"medium"}})"}, Case{CursorVariant::ibeam, R"({"cursor":{"_0":"ibeam"}})"},
          Case{SharedString("Inter"), R"({"fontName":{"_0":"Inter"}})"}}) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(encodedJson(c.value, JsonWriter::Layout::compact), c.json);
        EXPECT_EQ(decodeJson<KeyValue>(c.json), c.value);
    }
}

TEST(TimedRecords, EveryEasingHasItsForm)
{
    struct Case {
        Easing easing;
        const char* json;
    };
    for (const Case& c : {Case{Easing::linear(), R"({"linear":{}})"}, Case{Easing::easeIn(), R"({"easeIn":{}})"},
                          Case{Easing::easeOut(), R"({"easeOut":{}})"}, Case{Easing::easeInOut(), R"({"easeInOut":{}})"},
                          Case{Easing::spring(100, 10), R"({"spring":{"damping":10,"stiffness":100}})"},
                          Case{Easing::cubic(0.1, 0.2, 0.3, 0.4), R"({"cubic":{"x1":0.1,"x2":0.3,"y1":0.2,"y2":0.4}})"}}) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(encodedJson(c.easing, JsonWriter::Layout::compact), c.json);
        EXPECT_EQ(decodeJson<Easing>(c.json), c.easing);
    }
}

TEST(TimedRecords, EveryPathCommandHasItsForm)
{
    struct Case {
        PathCommand command;
        const char* json;
    };
    for (const Case& c : {Case{MoveTo{{1, 2}}, R"({"moveTo":{"_0":[1,2]}})"}, Case{LineTo{{3, 4}}, R"({"lineTo":{"_0":[3,4]}})"},
                          Case{CurveTo{{1, 2}, {3, 4}, {5, 6}}, R"({"curveTo":{"c1":[1,2],"c2":[3,4],"end":[5,6]}})"},
                          Case{ClosePath{}, R"({"close":{}})"}}) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(encodedJson(c.command, JsonWriter::Layout::compact), c.json);
        EXPECT_EQ(decodeJson<PathCommand>(c.json), c.command);
    }
}

TEST(TimedRecords, AUnionHasExactlyOneKnownKey)
{
    EXPECT_EQ(decodeJson<Easing>(R"({"note":1,"linear":{},"more":{}})"), Easing::linear());
    EXPECT_EQ(decodeJson<Easing>(R"({"linear":5,"linear":{}})"), Easing::linear());
    Diagnostics told;
    decodeJson<Easing>(R"({"note":1,"linear":5,"linear":{}})", &told);
    EXPECT_THAT(actions(told), ElementsAre(": unknown key", ": dropped")) << "the note, and the first of the two";
    for (const char* json : {"{}", R"({"swing":{}})", R"({"linear":{},"easeIn":{}})"}) {
        SCOPED_TRACE(json);
        try {
            decodeJson<Easing>(json);
            FAIL() << "read";
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
            EXPECT_EQ(error.reason(), "Invalid number of keys found, expected one.");
        }
    }
    for (const char* json : {R"({"linear":[]})", R"({"linear":null})", R"({"spring":{"stiffness":1}})", R"("linear")"})
        EXPECT_THROW(decodeJson<Easing>(json), DecodingError) << json;
}

TEST(TimedRecords, ASpanFallsBackToZoomTransitionsAndNoEffects)
{
    const TimeSpan span = decodeJson<TimeSpan>(R"({"start":1,"end":2,"zoomStart":"noop","zoomEnd":7,"effects":{},"id":"?"})");
    EXPECT_EQ(span.zoomStart, ZoomTransition::zoom);
    EXPECT_EQ(span.zoomEnd, ZoomTransition::zoom);
    EXPECT_THAT(span.effects, IsEmpty());
    EXPECT_THAT(span.cursorBlinkRanges, IsEmpty());
    EXPECT_EQ(decodeJson<TimeSpan>(R"({"start":1,"end":2,"zoomStart":"none","zoomEnd":"fade"})").zoomEnd, ZoomTransition::fade);
    EXPECT_THROW(decodeJson<TimeSpan>(R"({"start":1})"), DecodingError);
    EXPECT_THROW(decodeJson<TimeSpan>(R"({"end":1})"), DecodingError);
}

TEST(TimedRecords, TheBlinkDurationOfOldFilesBecomesARange)
{
    struct Case {
        const char* what;
        const char* json;
        std::optional<std::pair<double, double>> range;
    };
    for (const Case& c :
         {Case{"longer than the span", R"({"start":2,"end":2.25,"cursorBlinkDuration":0.5})", std::pair{2.0, 2.25}},
          Case{"shorter than the span", R"({"start":2,"end":5,"cursorBlinkDuration":0.5})", std::pair{4.5, 5.0}},
          Case{"0", R"({"start":2,"end":5,"cursorBlinkDuration":0})", std::nullopt},
          Case{"negative", R"({"start":2,"end":5,"cursorBlinkDuration":-1})", std::nullopt},
          Case{"no number", R"({"start":2,"end":5,"cursorBlinkDuration":"1"})", std::nullopt},
          Case{"beside ranges", R"({"start":2,"end":5,"cursorBlinkDuration":1,"cursorBlinkRanges":[]})", std::nullopt},
          Case{"beside malformed ranges", R"({"start":2,"end":5,"cursorBlinkDuration":1,"cursorBlinkRanges":[{"start":2}]})",
               std::pair{4.0, 5.0}},
          Case{"beside null ranges", R"({"start":2,"end":5,"cursorBlinkDuration":1,"cursorBlinkRanges":null})",
               std::pair{4.0, 5.0}}}) {
        SCOPED_TRACE(c.what);
        const TimeSpan span = decodeJson<TimeSpan>(c.json);
        ASSERT_THAT(span.cursorBlinkRanges, SizeIs(c.range ? 1 : 0));
        if (!c.range) continue;
        EXPECT_EQ(span.cursorBlinkRanges[0].start, c.range->first);
        EXPECT_EQ(span.cursorBlinkRanges[0].end, c.range->second);
        EXPECT_NE(span.cursorBlinkRanges[0].id, UUID{});
    }
}

TEST(TimedRecords, ASpanEffectNeedsItsKindAndDuration)
{
    EXPECT_FALSE(decodeJson<SpanEffect>(R"({"kind":"drawOn","duration":1,"reversed":2})").reversed);
    EXPECT_TRUE(decodeJson<SpanEffect>(R"({"kind":"drawOn","duration":1,"reversed":true})").reversed);
    for (const char* json : {R"({"duration":1})", R"({"kind":"drawOn"})", R"({"kind":"DrawOn","duration":1})"})
        EXPECT_THROW(decodeJson<SpanEffect>(json), DecodingError) << json;
}

TEST(TimedRecords, PulseEffectsAreASetWithAFallback)
{
    using enum PulseEffect;
    struct Case {
        const char* json;
        PulseEffects effects;
    };
    for (const Case& c :
         {Case{R"({"time":1})", {scale, glow}}, Case{R"({"time":1,"effects":[]})", {scale, glow}},
          Case{R"({"time":1,"effects":"glow"})", {scale, glow}}, Case{R"({"time":1,"effects":["radiate",3]})", {scale, glow}},
          Case{R"({"time":1,"effects":["glow"]})", {glow}}, Case{R"({"time":1,"effects":["radiate","radiate"]})", {radiate}},
          Case{R"({"time":1,"effects":["scaleGlow","radiate"]})", {scale, glow, radiate}},
          Case{R"({"time":1,"effects":["sparkle"]})", {scale, glow}},
          Case{R"({"time":1,"effects":["sparkle","radiate"]})", {radiate}}}) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(decodeJson<Pulse>(c.json).effects, c.effects);
    }
    EXPECT_THROW(decodeJson<Pulse>(R"({"effects":["glow"]})"), DecodingError);
    EXPECT_THAT(encodedJson(Pulse{.effects = {scale, radiate, glow}}, JsonWriter::Layout::compact),
                HasSubstr(R"("effects":["glow","radiate","scale"])"));
}

TEST(TimedRecords, AVideoClipFallsBackKeyByKey)
{
    const VideoClip clip =
        decodeJson<VideoClip>(R"({"sceneStart":"0","sceneEnd":4,"endBehavior":"explode","sourceTrimLength":null})");
    EXPECT_EQ(clip.sceneStart, 0);
    EXPECT_EQ(clip.sceneEnd, 4);
    EXPECT_EQ(clip.sourceStart, 0);
    EXPECT_EQ(clip.endBehavior, VideoClip::EndBehavior::end);
    EXPECT_FALSE(clip.sourceTrimLength);
    EXPECT_EQ(encodedJson(clip).find("sourceTrimLength"), std::string::npos);
    EXPECT_EQ(decodeJson<VideoClip>(R"({"sourceTrimLength":2})").sourceTrimLength, 2.0);
}

TEST(SingleRecords, AListOfLayersIsOneJsonArray)
{
    const Array<Layer> layers{Layer{.name = "a"}, Layer{.name = "b"}};
    const std::string json = encodedJson(layers);
    EXPECT_EQ(json.front(), '[');
    EXPECT_EQ(decodeJson<Array<Layer>>(json), layers);
    Diagnostics told;
    decodeJson<Array<Layer>>(R"([{},{"opacity":"x"}])", &told);
    EXPECT_THAT(actions(told), ElementsAre("[1].opacity: defaulted"));
    EXPECT_THROW(decodeJson<Array<Layer>>("[{},5]"), DecodingError);
    EXPECT_THROW(decodeJson<Array<Layer>>("not JSON"), DecodingError);
}

TEST(SingleRecords, AFailureSaysWhereAndWhy)
{
    struct Case {
        const char* json;
        DecodingError::Kind kind;
        const char* words;
    };
    for (const Case& c : {Case{R"({"width":1})", DecodingError::Kind::missingKey, "background is missing"},
                          Case{R"({"background":{"r":1,"g":"x"}})", DecodingError::Kind::missingKey, "background.a is missing"},
                          Case{R"({"background":{"r":1,"g":"x","b":1,"a":1}})", DecodingError::Kind::typeMismatch,
                               "background.g is not a number"},
                          Case{R"({"background":{"r":1e999,"g":1,"b":1,"a":1}})", DecodingError::Kind::invalidValue,
                               "background.r is beyond the largest number"},
                          Case{"[1", DecodingError::Kind::syntax, "unexpected end of the text at byte 2"},
                          Case{"5", DecodingError::Kind::typeMismatch, "is not an object"}}) {
        SCOPED_TRACE(c.json);
        try {
            decodeJson<TweenScene>(c.json);
            FAIL() << "read";
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.kind(), c.kind);
            EXPECT_STREQ(error.what(), c.words);
        }
    }
}

// ---------------------------------------------------------------- what reading tells

TEST(ReadingTells, WhatWasDroppedDefaultedAndMigrated)
{
    const DecodedDocument decoded = opened(documentJson(sceneJson(
        R"({"kind":"text","opacity":"full","glitter":1,"keyframes":[{"property":"x","value":{"number":{"_0":2}}}],)"
        R"("blackKey":true,"pulses":[{"time":1,"effects":["scaleGlow","sparkle"]}],"lineDrawProgress":0.5,"textUserResized":false})",
        R"(,"transition":null,"name":7)")));
    const std::string layer = "scenes[0].layers[0]";
    EXPECT_THAT(actions(decoded.diagnostics),
                testing::UnorderedElementsAre(
                    layer + ": unknown key", layer + ": unknown key", layer + ".opacity: defaulted", layer + ".keyframes: dropped",
                    layer + ".cropMode: migrated", layer + ".textColor: migrated", layer + ".pulses[0].effects[0]: migrated",
                    layer + ".pulses[0].effects[1]: dropped", "scenes[0].transition: dropped", "scenes[0].name: dropped"));
    struct Case {
        std::string path;
        std::string text;
    };
    for (const Case& c : {Case{layer + ".keyframes", layer + ".keyframes[0].time is missing"},
                          Case{layer + ".opacity", layer + ".opacity is not a number"},
                          Case{layer + ".pulses[0].effects[1]", "\"sparkle\" is not a known value"}}) {
        SCOPED_TRACE(c.path);
        const auto found = std::ranges::find(decoded.diagnostics.told, c.path, &Diagnostic::path);
        ASSERT_NE(found, decoded.diagnostics.told.end());
        EXPECT_EQ(found->text, c.text);
    }
}

TEST(ReadingTells, EveryValueOfEarlierDaysAndWhatBecameOfIt)
{
    const std::string layer = "scenes[0].layers[0]", span = layer + ".spans[0]";
    const auto spanWith = [](const std::string& more) { return R"("spans":[{"start":2,"end":5,)" + more + "}]"; };
    const auto blinking = [](const char* kind) {
        return std::string(R"("spans":[{"start":0,"end":1,"effects":[{"kind":")") + kind + R"(","duration":1}]}])";
    };
    struct Case {
        const char* what;
        std::string members;
        std::vector<std::string> told;
    };
    for (const Case& c :
         {Case{"a blink duration", spanWith(R"("cursorBlinkDuration":1)"), {span + ".cursorBlinkDuration: migrated"}},
          Case{"no blink duration at all", spanWith(R"("cursorBlinkDuration":0)"), {span + ".cursorBlinkDuration: dropped"}},
          Case{"a blink duration beside ranges", spanWith(R"("cursorBlinkDuration":1,"cursorBlinkRanges":[])"),
               {span + ".cursorBlinkDuration: dropped"}},
          Case{"a blink duration beside malformed ranges", spanWith(R"("cursorBlinkDuration":1,"cursorBlinkRanges":4)"),
               {span + ".cursorBlinkRanges: dropped", span + ".cursorBlinkDuration: migrated"}},
          Case{"a blinking effect", blinking("blinkingCursorStart"), {layer + ".textCursorBlinks: migrated"}},
          Case{"another blinking effect", blinking("blinkingCursorEnd"), {layer + ".textCursorBlinks: migrated"}},
          Case{"a black key", R"("blackKey":true)", {layer + ".cropMode: migrated"}},
          Case{"a text of old", R"("kind":"text")", {layer + ".textColor: migrated", layer + ".textUserResized: migrated"}},
          Case{"a text whose box is said to be of either kind", R"("kind":"text","textUserResized":"?")",
               {layer + ".textUserResized: defaulted", layer + ".textColor: migrated"}}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(actions(openedWithLayer(c.members).diagnostics), c.told);
    }
    const std::string scene = sceneJson("");
    EXPECT_THAT(actions(opened(R"({"scenes":[)" + scene + R"(],"scene":)" + scene + "}").diagnostics),
                ElementsAre("scene: dropped"));
    EXPECT_THAT(actions(opened(R"({"scene":)" + sceneJson(R"({"glitter":1})", R"(,"width":"x")") + "}").diagnostics),
                ElementsAre("scene: defaulted"))
        << "nothing of what is within it";
}

TEST(ReadingTells, NothingOfKeysThatAreMerelyMissing)
{
    EXPECT_TRUE(openedWithLayer("").diagnostics.empty());
    EXPECT_TRUE(openedWithLayer(R"("spans":[{"start":0,"end":1}],"pulses":[{"time":1}])").diagnostics.empty());
}

TEST(ReadingTells, NothingOfRepairsInsideAValueThatIsLostAsAWhole)
{
    const DecodedDocument decoded = openedWithLayer(R"("children":[{"opacity":"x","glitter":1},5])");
    EXPECT_THAT(actions(decoded.diagnostics), ElementsAre("scenes[0].layers[0].children: dropped"));
    EXPECT_EQ(decoded.diagnostics.told[0].text, "scenes[0].layers[0].children[1] is not an object");
}

TEST(ReadingTells, WhenAllScenesAreLost)
{
    EXPECT_THAT(actions(opened(documentJson(sceneJson("5"))).diagnostics), ElementsAre("scenes: dropped", "scenes: defaulted"));
    EXPECT_THAT(actions(opened(R"({"scene":)" + sceneJson("") + "}").diagnostics), ElementsAre("scene: migrated"));
    EXPECT_THAT(actions(opened(R"({"scene":5})").diagnostics), ElementsAre("scene: defaulted"));
    EXPECT_THAT(actions(opened(R"({"scenes":[]})").diagnostics), ElementsAre("scenes: defaulted"));
    EXPECT_THAT(actions(opened(R"({"activeSceneIndex":3,"scenes":[5]})").diagnostics),
                ElementsAre("scenes: dropped", "activeSceneIndex: dropped", "scenes: defaulted"));
    EXPECT_THAT(actions(opened(R"({"activeSceneIndex":3,"scenes":[]})").diagnostics), ElementsAre("scenes: defaulted"));
}

TEST(ReadingTells, NoMoreThanAPersonCanReadAndCountsTheRest)
{
    const DecodedDocument decoded =
        openedWithLayer("\"children\":[" + repeated(R"({"opacity":"x"},)", 2999) + R"({"opacity":"x"}])");
    EXPECT_EQ(decoded.document.scenes[0].layers[0].children.size(), 3000u);
    EXPECT_EQ(decoded.diagnostics.told.size(), 1000u);
    EXPECT_EQ(decoded.diagnostics.untold, 2000u);
    EXPECT_EQ(decoded.diagnostics.untoldUnknownKeys, 0u);
}

TEST(ReadingTells, HowManyOfTheRestAreUnknownKeysThatStand)
{
    const std::string unknown = repeated(R"({"glitter":1},)", 1500), wrong = R"({"opacity":"x"},)";
    const Diagnostics kept = openedWithLayer("\"children\":[" + wrong + unknown + wrong + "{}]").diagnostics;
    EXPECT_EQ(kept.told.size(), 1000u);
    EXPECT_EQ(kept.untold, 502u); // 1502 in all, the first 999 unknown keys and the first wrong value among the told.
    EXPECT_EQ(kept.untoldUnknownKeys, 501u);

    // What was lost with the whole list is not counted one by one.
    const Diagnostics lost = openedWithLayer("\"children\":[" + unknown + "5]").diagnostics;
    EXPECT_THAT(actions(lost), ElementsAre("scenes[0].layers[0].children: dropped"));
    EXPECT_EQ(lost.untold, 0u);
    EXPECT_EQ(lost.untoldUnknownKeys, 0u);
}

TEST(ReadingTells, LongTextOfAFileIsShownShort)
{
    const DecodedDocument decoded = openedWithLayer('"' + std::string(100'000, 'k') + "\":1");
    ASSERT_THAT(decoded.diagnostics.told, SizeIs(1));
    EXPECT_LT(decoded.diagnostics.told[0].text.size(), 100u);
}

} // namespace
} // namespace larkspool
