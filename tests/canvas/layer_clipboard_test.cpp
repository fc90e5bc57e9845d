#include "canvas/layer_clipboard.h"

#include "canvas/layers_fixture.h"
#include "platform/png_writer.h"
#include "support/png_bytes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace larkspool {
namespace {

Bytes bytesOf(std::string_view text)
{
    return Bytes({text.begin(), text.end()});
}

Bytes pngOf(std::int64_t width, std::int64_t height)
{
    return Bytes(encodePng(PixelBuffer(width, height)));
}

Bytes sample(const char* name)
{
    std::ifstream file(std::string(LARKSPOOL_SOURCE_FOLDER) + "/fuzz/corpus/image/" + name, std::ios::binary);
    return Bytes({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
}

MemoryPasteboard holding(std::string_view type, Bytes data)
{
    MemoryPasteboard pasteboard;
    pasteboard.setData(type, std::move(data));
    return pasteboard;
}

MemoryPasteboard copied(const TweenScene& scene, const LayerIDs& selection)
{
    MemoryPasteboard pasteboard;
    EXPECT_TRUE(copySelection(scene, selection, pasteboard));
    return pasteboard;
}

TweenScene source()
{
    return sceneHolding(
        {layerNamed('a', {{1, 2}, {10, 10}}), groupNamed('g', {layerNamed('b'), layerNamed('c')}, {30, 40}), layerNamed('d')});
}

/// What is on the pasteboard as layers.
std::string layersOn(const Pasteboard& pasteboard)
{
    const std::optional<Bytes> json = pasteboard.data(layersPasteboardType);
    if (!json) return "nothing";
    return treeOf(decodeJson<Array<Layer>>({reinterpret_cast<const char*>(json->view().data()), json->size()}));
}

TEST(CopySelection, TakesTheSelectedLayersInTheOrderOfTheTree)
{
    EXPECT_EQ(layersOn(copied(source(), idsNamed("da"))), "a d");
    EXPECT_EQ(layersOn(copied(source(), idsNamed("ca"))), "a c");
    EXPECT_EQ(layersOn(copied(source(), idsNamed("gb"))), "g(b c)") << "a child goes with its parent";
}

TEST(CopySelection, IsAPieceOfADocument)
{
    const MemoryPasteboard pasteboard = copied(source(), idsNamed("ag"));
    const Array<Layer> expected{source().layers[0], source().layers[1]};
    EXPECT_EQ(pasteboard.data("com.quorbel.Larkspool.layers"), bytesOf(encodedJson(expected)));
}

TEST(CopySelection, WithNothingSelectedThePasteboardKeepsWhatItHeld)
{
    MemoryPasteboard pasteboard = holding("text", bytesOf("words"));
    EXPECT_FALSE(copySelection(source(), {}, pasteboard));
    EXPECT_FALSE(copySelection(source(), idsNamed("z"), pasteboard));
    EXPECT_EQ(pasteboard.data("text"), bytesOf("words"));
}

TEST(CopySelection, WhatItHeldIsReplaced)
{
    MemoryPasteboard pasteboard = holding(PasteboardType::png, pngOf(1, 1));
    pasteboard.setImage(makeImage(PixelBuffer(1, 1)));
    EXPECT_TRUE(copySelection(source(), idsNamed("a"), pasteboard));
    EXPECT_EQ(pasteboard.data(PasteboardType::png), std::nullopt);
    EXPECT_EQ(pasteboard.image(), nullptr);
}

TEST(CopySelection, LayersThatNoFileCanHoldLeaveThePasteboardAlone)
{
    TweenScene scene = source();
    scene.layers.edit()[0].transform.x = std::numeric_limits<double>::infinity();
    MemoryPasteboard pasteboard = holding("text", bytesOf("words"));
    EXPECT_FALSE(copySelection(scene, idsNamed("a"), pasteboard));
    EXPECT_EQ(pasteboard.data("text"), bytesOf("words"));
}

TEST(PasteSelection, PutsTheLayersInFrontSelectedAndShifted)
{
    const TweenScene target = sceneHolding({layerNamed('x')});
    const auto edit = pasteSelection(target, copied(source(), idsNamed("ag")));
    EXPECT_EQ(treeOf(edit), "x a g(b c)");
    EXPECT_EQ(edit->actionName, "Paste");
    EXPECT_EQ(selectedIn(edit), "a g");
    const Layer& a = edit->scene.layers[1];
    const Layer& g = edit->scene.layers[2];
    EXPECT_EQ(a.transform, (Transform{.x = 21, .y = 22}));
    EXPECT_EQ(g.transform, (Transform{.x = 50, .y = 60}));
    EXPECT_EQ(g.children[0].transform, Transform{});
    EXPECT_NE(a.id, idNamed('a'));
    EXPECT_NE(g.children[0].id, idNamed('b'));
}

TEST(PasteSelection, TheViewOfAZoomThatLeavesItIsALayerThatCanBeDeleted)
{
    Layer zoom = kindNamed('z', Layer::Kind::zoom, {{0, 0}, {400, 300}});
    Layer view = layerNamed('v');
    view.pipRendition = true;
    zoom.children = {view};
    Studio studio(sceneHolding({zoom}));
    ASSERT_TRUE(studio.perform(pasteSelection(studio.scene(), copied(studio.scene(), idsNamed("v")))));
    EXPECT_FALSE(studio.scene().layers[1].pipRendition);
    EXPECT_TRUE(studio.scene().layers[0].children[0].pipRendition);
}

TEST(PasteSelection, PastedThreeTimesTheCopiesLieOnOneAnother)
{
    Studio studio(source());
    const MemoryPasteboard pasteboard = copied(studio.scene(), idsNamed("a"));
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(studio.perform(pasteSelection(studio.scene(), pasteboard)));
    EXPECT_EQ(treeOf(studio.scene()), "a g(b c) d a a a");
    for (std::size_t i = 3; i < 6; ++i) EXPECT_EQ(studio.scene().layers[i].transform, (Transform{.x = 21, .y = 22})) << i;
}

TEST(PasteSelection, IDsThatTheSceneHasOrThatComeTwiceAreRenewed)
{
    const Layer twice = layerNamed('a');
    const auto edit = pasteSelection(source(), holding(layersPasteboardType, bytesOf(encodedJson(Array<Layer>{twice, twice}))));
    LayerIDs ids;
    walkLayers(edit.value().scene.layers, [&](const Layer& layer) { ids.insert(layer.id); });
    EXPECT_EQ(ids.size(), 7u);
}

TEST(PasteSelection, AMoveAlongKeyframesStays)
{
    Layer layer = layerNamed('a');
    layer.keyframes = {keyAt(Keyframe::AnimatableProperty::x, 1, 40)};
    const auto edit = pasteSelection(source(), copied(sceneHolding({layer}), idsNamed("a")));
    EXPECT_EQ(edit.value().scene.layers.back().keyframes[0].value, KeyValue(40.0));
}

TEST(PasteSelection, IntoAnotherWindowGoesTheRoadOfEveryEdit)
{
    Layer zoom = kindNamed('z', Layer::Kind::zoom, {{990, 0}, {300, 300}});
    Layer text = kindNamed('t', Layer::Kind::text, {{3, 4}, {1, 1}});
    text.text = SharedString("four");
    text.fontSize = 20;
    const MemoryPasteboard pasteboard = copied(sceneHolding({zoom, text, layerNamed('a')}), idsNamed("zt"));

    Studio other(sceneHolding({layerNamed('x')}));
    const std::vector<std::uint8_t> before = other.file();
    ASSERT_TRUE(other.perform(pasteSelection(other.scene(), pasteboard)));
    EXPECT_EQ(other.manager.undoActionName(), "Paste");
    EXPECT_EQ(other.selected(), "z t");
    const TweenScene scene = other.scene();
    EXPECT_EQ(treeOf(scene), "x z t");
    // Half as high as wide like the scene, and with its right edge at the scene's.
    EXPECT_EQ(scene.layers[1].size, (CGSize{300, 150}));
    EXPECT_EQ(scene.layers[1].transform, (Transform{.x = 700, .y = 20}));
    // 4 glyphs of 10, and 4; the line of 20 + 5, and 4.
    EXPECT_EQ(scene.layers[2].size, (CGSize{44, 29}));
    EXPECT_EQ(scene.layers[2].transform, (Transform{.x = 23, .y = 24}));
    other.manager.undo();
    EXPECT_EQ(other.file(), before);
}

TEST(PasteSelection, LayersGoBeforeAPicture)
{
    MemoryPasteboard pasteboard = copied(source(), idsNamed("a"));
    pasteboard.setData(PasteboardType::png, pngOf(4, 4));
    EXPECT_EQ(pasteSelection(source(), pasteboard).value().actionName, "Paste");
}

TEST(PasteSelection, LayersThatDoNotDecodeLeaveRoomForAPicture)
{
    for (const std::string& json : {std::string("[]"), std::string("{}"), std::string("[1]"), std::string("[{\"id\":"),
                                    std::string(), std::string("null"), std::string("\xFF\xFE\0", 3)}) {
        SCOPED_TRACE(json);
        MemoryPasteboard pasteboard = holding(layersPasteboardType, bytesOf(json));
        EXPECT_FALSE(pasteSelection(source(), pasteboard));
        pasteboard.setData(PasteboardType::png, pngOf(4, 4));
        const auto edit = pasteSelection(source(), pasteboard);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Paste Image");
        EXPECT_EQ(treeOf(edit), "a g(b c) d Pasted Image");
        EXPECT_EQ(selectedIn(edit), "Pasted Image");
    }
}

TEST(PasteSelection, ATreeTooDeepForAFileIsRefused)
{
    const auto nested = [](std::size_t depth) {
        const std::string layer = encodedJson(layerNamed('a'), JsonWriter::Layout::compact);
        const std::string empty = "\"children\":[]";
        const std::size_t at = layer.find(empty);
        EXPECT_NE(at, std::string::npos);
        const std::string head = layer.substr(0, at) + "\"children\":[", tail = "]" + layer.substr(at + empty.size());
        std::string text = "[";
        for (std::size_t i = 0; i < depth; ++i) text += head;
        for (std::size_t i = 0; i < depth; ++i) text += tail;
        return text + "]";
    };
    const auto allowed = pasteSelection(sceneHolding({}), holding(layersPasteboardType, bytesOf(nested(deepestLayerNesting))));
    ASSERT_TRUE(allowed);
    EXPECT_NO_THROW(encodedJson(allowed->scene));
    EXPECT_FALSE(pasteSelection(source(), holding(layersPasteboardType, bytesOf(nested(deepestLayerNesting + 1)))));
    EXPECT_FALSE(pasteSelection(source(), holding(layersPasteboardType, bytesOf(nested(100'000)))));
}

TEST(PasteSelection, AnEmptyPasteboardGivesNothing)
{
    EXPECT_FALSE(pasteSelection(source(), MemoryPasteboard()));
    EXPECT_FALSE(pasteSelection(source(), holding("public.utf8-plain-text", bytesOf("words"))));
}

TEST(PastedImage, ASmallPictureLandsAtItsOwnSizeInTheMiddle)
{
    const Bytes png = pngOf(40, 20);
    const auto layer = layerFromPasteboardImage(holding(PasteboardType::png, png), {1000, 500});
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->kind, Layer::Kind::image);
    EXPECT_EQ(layer->name, "Pasted Image");
    EXPECT_EQ(layer->imageData, png);
    EXPECT_EQ(layer->fill, ColorRGBA::clear);
    EXPECT_EQ(layer->cornerRadius, 0);
    EXPECT_EQ(layer->size, (CGSize{40, 20}));
    EXPECT_EQ(layer->transform, (Transform{.x = 480, .y = 240}));
}

TEST(PastedImage, ALargerPictureIsFittedWithItsAspect)
{
    struct Case {
        const char* what;
        std::int64_t width, height;
        CGSize size;
    };
    for (const Case& c :
         {Case{"too wide", 400, 100, {100, 25}}, Case{"too high", 20, 100, {10, 50}}, Case{"both", 400, 400, {50, 50}},
          Case{"as large as the scene", 100, 50, {100, 50}}, Case{"a thread: no side below 1", 1000, 1, {100, 1}}}) {
        SCOPED_TRACE(c.what);
        const auto layer = layerFromPasteboardImage(holding(PasteboardType::png, pngOf(c.width, c.height)), {100, 50});
        ASSERT_TRUE(layer);
        EXPECT_EQ(layer->size, c.size);
        EXPECT_EQ(layer->transform, (Transform{.x = (100 - c.size.width) / 2, .y = (50 - c.size.height) / 2}));
    }
    EXPECT_EQ(layerFromPasteboardImage(holding(PasteboardType::png, pngOf(5, 5)), {0, 0}).value().size, (CGSize{1, 1}));
}

TEST(PastedImage, TheFirstTypeThatHasDataWins)
{
    MemoryPasteboard pasteboard;
    pasteboard.setImage(makeImage(PixelBuffer(2, 2)));
    pasteboard.setData(PasteboardType::tiff, sample("small.tiff"));
    EXPECT_EQ(layerFromPasteboardImage(pasteboard, {1000, 500}).value().imageData, sample("small.tiff"));
    pasteboard.setData(PasteboardType::jpeg, sample("small.jpg"));
    EXPECT_EQ(layerFromPasteboardImage(pasteboard, {1000, 500}).value().imageData, sample("small.jpg"));
    pasteboard.setData(PasteboardType::png, Bytes());
    EXPECT_EQ(layerFromPasteboardImage(pasteboard, {1000, 500}).value().imageData, sample("small.jpg")) << "no data is none";
    pasteboard.setData(PasteboardType::png, pngOf(3, 3));
    EXPECT_EQ(layerFromPasteboardImage(pasteboard, {1000, 500}).value().size, (CGSize{3, 3}));
    pasteboard.setData(PasteboardType::png, bytesOf("broken"));
    EXPECT_FALSE(layerFromPasteboardImage(pasteboard, {1000, 500})) << "the others are not tried";
}

TEST(PastedImage, APictureInAnotherFormIsStoredAsTIFF)
{
    PixelBuffer pixels(2, 1);
    const std::uint8_t colors[] = {0, 0, 255, 255, 0, 64, 0, 128}; // Red; half transparent dark green.
    std::copy(std::begin(colors), std::end(colors), pixels.row(0));
    MemoryPasteboard pasteboard;
    pasteboard.setImage(makeImage(std::move(pixels)));
    const auto layer = layerFromPasteboardImage(pasteboard, {1000, 500});
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->size, (CGSize{2, 1}));
    const auto file = layer->imageData->view();
    EXPECT_EQ(std::string(file.begin(), file.begin() + 4), std::string("II*\0", 4));
}

TEST(PastedImage, WhatIsNoPictureIsRefused)
{
    PngPicture liar{.width = 2'000'000'000, .height = 2'000'000'000, .samples = {1, 2, 3}};
    PngPicture tooFew{.width = 300, .height = 300, .samples = {1, 2, 3}};
    for (const Bytes& bytes : {Bytes(pngBytes(liar)), sample("huge.png"), sample("huge_header.bmp"), sample("huge_palette.bmp"),
                               bytesOf("words"), bytesOf("\x89PNG")}) {
        for (const std::string_view type : {PasteboardType::png, PasteboardType::jpeg, PasteboardType::tiff}) {
            EXPECT_FALSE(layerFromPasteboardImage(holding(type, bytes), {1000, 500}));
            EXPECT_FALSE(pasteSelection(source(), holding(type, bytes)));
        }
    }
    EXPECT_NO_THROW(pasteSelection(source(), holding(PasteboardType::png, Bytes(pngBytes(tooFew)))));
}

TEST(PastedImage, EveryFormatThatIsDecodedCanBePasted)
{
    for (const char* name : {"grey1.png", "rgba.png", "small.bmp", "small.gif", "small.jpg", "small.tiff", "small.webp"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(pasteSelection(source(), holding(PasteboardType::png, sample(name))));
    }
}

TEST(PastedImage, GoesTheRoadOfEveryEdit)
{
    Studio studio(source());
    const std::vector<std::uint8_t> before = studio.file();
    ASSERT_TRUE(studio.perform(pasteSelection(studio.scene(), holding(PasteboardType::png, pngOf(4, 4)))));
    EXPECT_EQ(studio.manager.undoActionName(), "Paste Image");
    EXPECT_EQ(studio.selected(), "Pasted Image");
    studio.manager.undo();
    EXPECT_EQ(studio.file(), before);
}

} // namespace
} // namespace larkspool
