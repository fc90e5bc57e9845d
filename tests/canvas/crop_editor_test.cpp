#include "canvas/crop_editor.h"

#include "canvas/layers_fixture.h"
#include "support/png_bytes.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>
#include <utility>

namespace larkspool {
namespace {

using enum CropHandle;

constexpr CropHandle allHandles[] = {nw, n, ne, e, se, s, sw, w, body};

void expectNear(const CGRect& rect, const CGRect& expected)
{
    EXPECT_NEAR(rect.minX(), expected.minX(), 1e-9);
    EXPECT_NEAR(rect.minY(), expected.minY(), 1e-9);
    EXPECT_NEAR(rect.size.width, expected.size.width, 1e-9);
    EXPECT_NEAR(rect.size.height, expected.size.height, 1e-9);
}

bool isLegal(const CGRect& crop)
{
    constexpr double rounding = 1e-9;
    return crop.minX() >= 0 && crop.minY() >= 0 && crop.maxX() <= 1 + rounding && crop.maxY() <= 1 + rounding &&
           crop.size.width >= leastCropSide - rounding && crop.size.height >= leastCropSide - rounding;
}

ImageRef pictureOf(int width, int height)
{
    return makeImage(PixelBuffer(width, height));
}

/// A number of -3...3, in thousandths.
double anyFraction()
{
    return *rc::gen::inRange(-3000, 3001) / 1000.0;
}

CGRect anyRect()
{
    return {{anyFraction(), anyFraction()}, {anyFraction(), anyFraction()}};
}

TEST(CropSanitizing, ARectangleIsShiftedBackUntilItLiesWithinTheSource)
{
    struct Case {
        const char* what;
        CGRect rect, expected;
    };
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    for (const Case& c : {Case{"within", {{0.25, 0.5}, {0.5, 0.25}}, {{0.25, 0.5}, {0.5, 0.25}}},
                          Case{"the whole", {{0, 0}, {1, 1}}, {{0, 0}, {1, 1}}},
                          Case{"past the left and the top", {{-0.25, -3}, {0.5, 0.25}}, {{0, 0}, {0.5, 0.25}}},
                          Case{"past the right and the bottom", {{0.75, 0.9}, {0.5, 0.25}}, {{0.5, 0.75}, {0.5, 0.25}}},
                          Case{"origin far outside", {{7, 7}, {0.5, 0.25}}, {{0.5, 0.75}, {0.5, 0.25}}},
                          Case{"too large", {{0.5, 0.5}, {2, 4}}, {{0, 0}, {1, 1}}},
                          Case{"no area", {{0.5, 0.5}, {0, 0}}, {{0.5, 0.5}, {0.02, 0.02}}},
                          Case{"no area at the far corner", {{1, 1}, {0, 0}}, {{0.98, 0.98}, {0.02, 0.02}}},
                          Case{"sizes below 0", {{0.5, 0.5}, {-1, -1}}, {{0.5, 0.5}, {0.02, 0.02}}},
                          Case{"no numbers", {{nan, nan}, {nan, nan}}, {{0, 0}, {0.02, 0.02}}},
                          Case{"without end", {{-infinity, infinity}, {infinity, 0.5}}, {{0, 0.5}, {1, 0.5}}}}) {
        SCOPED_TRACE(c.what);
        expectNear(CropEditorSheet::sanitized(c.rect), c.expected);
    }
}

TEST(CropSanitizing, AnyRectangleComesToLieWithinTheSource)
{
    EXPECT_TRUE(rc::check("sanitized rectangles are legal, and stay as they are", [] {
        const CGRect crop = CropEditorSheet::sanitized(anyRect());
        RC_ASSERT(crop.minX() >= 0 && crop.minY() >= 0);
        RC_ASSERT(crop.maxX() <= 1 && crop.maxY() <= 1);
        RC_ASSERT(crop.size.width >= leastCropSide && crop.size.height >= leastCropSide);
        RC_ASSERT(CropEditorSheet::sanitized(crop) == crop);
    }));
}

TEST(CropDrag, CornersMoveTwoEdgesSidesOneAndTheBodyAll)
{
    const CGRect crop{{0.2, 0.3}, {0.4, 0.5}};
    struct Case {
        const char* handle;
        CropHandle of;
        CGRect expected;
    };
    for (const Case& c :
         {Case{"nw", nw, {{0.3, 0.2}, {0.3, 0.6}}}, Case{"n", n, {{0.2, 0.2}, {0.4, 0.6}}},
          Case{"ne", ne, {{0.2, 0.2}, {0.5, 0.6}}}, Case{"e", e, {{0.2, 0.3}, {0.5, 0.5}}},
          Case{"se", se, {{0.2, 0.3}, {0.5, 0.4}}}, Case{"s", s, {{0.2, 0.3}, {0.4, 0.4}}},
          Case{"sw", sw, {{0.3, 0.3}, {0.3, 0.4}}}, Case{"w", w, {{0.3, 0.3}, {0.3, 0.5}}},
          Case{"body", body, {{0.3, 0.2}, {0.4, 0.5}}}}) {
        SCOPED_TRACE(c.handle);
        expectNear(draggedCrop(crop, c.of, {0.1, -0.1}), c.expected);
    }
}

TEST(CropDrag, AnEdgeStopsAtTheEdgeOfTheSource)
{
    const CGRect crop{{0.2, 0.3}, {0.4, 0.5}};
    expectNear(draggedCrop(crop, nw, {-9, -9}), {{0, 0}, {0.6, 0.8}});
    expectNear(draggedCrop(crop, se, {9, 9}), {{0.2, 0.3}, {0.8, 0.7}});
}

TEST(CropDrag, ACropDraggedToNoWidthStaysAtTwoPercent)
{
    const CGRect crop{{0.2, 0.3}, {0.4, 0.5}};
    expectNear(draggedCrop(crop, e, {-0.4, 0}), {{0.2, 0.3}, {0.02, 0.5}});
    expectNear(draggedCrop(crop, w, {0.4, 0}), {{0.58, 0.3}, {0.02, 0.5}});
    expectNear(draggedCrop(crop, s, {0, -9}), {{0.2, 0.3}, {0.4, 0.02}});
    expectNear(draggedCrop(crop, n, {0, 9}), {{0.2, 0.78}, {0.4, 0.02}});
    expectNear(draggedCrop(crop, nw, {9, 9}), {{0.58, 0.78}, {0.02, 0.02}});
}

TEST(CropDrag, TheBodyDraggedPastTheEdgeStopsWithItsSizeUnchanged)
{
    const CGRect crop{{0.2, 0.3}, {0.4, 0.5}};
    for (const auto& [delta, place] : {std::pair<CGPoint, CGPoint>{{9, -9}, {0.6, 0}}, {{-9, 9}, {0, 0.5}}}) {
        const CGRect moved = draggedCrop(crop, body, delta);
        EXPECT_EQ(moved.size, crop.size);
        expectNear(moved, {place, crop.size});
    }
}

TEST(CropDrag, NoDragLeavesTheSourceOrGetsTooSmall)
{
    EXPECT_TRUE(rc::check("any handle, any way", [] {
        CGRect crop = CropEditorSheet::sanitized(anyRect());
        for (int drags = 0; drags < 3; ++drags) {
            const CropHandle handle = allHandles[*rc::gen::inRange<std::size_t>(0, std::size(allHandles))];
            const CGRect moved = draggedCrop(crop, handle, {anyFraction(), anyFraction()});
            RC_ASSERT(isLegal(moved));
            if (handle == body) RC_ASSERT(moved.size == crop.size);
            RC_ASSERT(draggedCrop(crop, handle, {0, 0}) == crop);
            crop = moved;
        }
    }));
}

/// A picture of 1000 x 500 pixels, shown at 400 x 200 points.
CropEditorOverlay overlayWith(CGRect crop = {{0.25, 0.5}, {0.5, 0.25}})
{
    return {.imgRect = {{100, 50}, {400, 200}}, .crop = crop, .preview = pictureOf(1000, 500)};
}

TEST(CropOverlay, HandlesStandOnTheCropsEdges)
{
    const CropEditorOverlay overlay = overlayWith();
    EXPECT_EQ(overlay.frame(), (CGRect{{200, 150}, {200, 50}}));
    const CGPoint places[] = {{200, 150}, {300, 150}, {400, 150}, {400, 175}, {400, 200},
                              {300, 200}, {200, 200}, {200, 175}, {300, 175}};
    for (std::size_t i = 0; i < std::size(allHandles); ++i)
        EXPECT_EQ(enumCase(allHandles[i]).value, allHandles[i]) << "the table stands in the order of the values";
    for (std::size_t i = 0; i < std::size(places); ++i) EXPECT_EQ(overlay.handlePoint(allHandles[i]), places[i]) << i;
}

TEST(CropOverlay, ThePointerTakesTheNearestHandleElseTheBody)
{
    struct Case {
        const char* where;
        CGRect crop;
        CGPoint point;
        std::optional<CropHandle> expected;
    };
    const CGRect usual{{0.25, 0.5}, {0.5, 0.25}}, narrow{{0.25, 0.5}, {0.02, 0.25}};
    for (const Case& c : {Case{"on a corner", usual, {200, 150}, nw}, Case{"as far as can be", usual, {210, 150}, nw},
                          Case{"too far, within", usual, {210.5, 150}, body}, Case{"too far, outside", usual, {189.5, 150}, {}},
                          Case{"on a side", usual, {300, 205}, s}, Case{"within", usual, {250, 175}, body},
                          Case{"above", usual, {300, 139}, {}}, Case{"nearest of three: the middle", narrow, {203, 150}, n},
                          Case{"nearest of three: the left", narrow, {201, 150}, nw}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(overlayWith(c.crop).handleAt(c.point), c.expected);
    }
}

TEST(CropOverlay, ADragMovesByTheWayInPartsOfThePicture)
{
    CropEditorOverlay overlay = overlayWith();
    overlay.beginDrag(e, {400, 175});
    EXPECT_EQ(overlay.activeHandle, e);
    EXPECT_EQ(overlay.dragLocation, std::nullopt);
    overlay.drag({420, 180});
    overlay.drag({440, 999});
    EXPECT_EQ(overlay.dragLocation, (CGPoint{440, 999}));
    expectNear(overlay.crop, {{0.25, 0.5}, {0.6, 0.25}});
    overlay.endDrag();
    EXPECT_EQ(overlay.activeHandle, std::nullopt);
    EXPECT_EQ(overlay.dragLocation, std::nullopt);
    expectNear(overlay.crop, {{0.25, 0.5}, {0.6, 0.25}});
}

TEST(CropOverlay, ReturningToTheStartRestoresTheCrop)
{
    for (const CropHandle handle : allHandles) {
        CropEditorOverlay overlay = overlayWith({{0.1, 0.2}, {0.3, 0.7}});
        overlay.beginDrag(handle, {33, 44});
        overlay.drag({5000, -5000});
        overlay.drag({33, 44});
        EXPECT_EQ(overlay.crop, (CGRect{{0.1, 0.2}, {0.3, 0.7}}));
    }
}

TEST(CropOverlay, ATapSelectsTheHandleAndADragDoesNot)
{
    CropEditorOverlay overlay = overlayWith();
    overlay.beginDrag(e, {400, 175});
    overlay.drag({400, 175});
    overlay.endDrag();
    EXPECT_EQ(overlay.selectedHandle, e);
    overlay.beginDrag(n, {300, 150});
    overlay.drag({300, 160});
    overlay.drag({300, 150});
    overlay.endDrag();
    EXPECT_EQ(overlay.selectedHandle, e);
    overlay.beginDrag(body, {300, 175});
    overlay.endDrag();
    EXPECT_EQ(overlay.selectedHandle, body);
}

TEST(CropOverlay, ACancelledDragLeavesNoTrace)
{
    CropEditorOverlay overlay = overlayWith();
    overlay.selectedHandle = w;
    overlay.beginDrag(e, {400, 175});
    overlay.drag({440, 175});
    overlay.cancelDrag();
    EXPECT_EQ(overlay.crop, (CGRect{{0.25, 0.5}, {0.5, 0.25}}));
    EXPECT_EQ(overlay.activeHandle, std::nullopt);
    EXPECT_EQ(overlay.dragLocation, std::nullopt);
    EXPECT_EQ(overlay.selectedHandle, w);
    overlay.drag({440, 175});
    overlay.cancelDrag();
    EXPECT_EQ(overlay.crop, (CGRect{{0.25, 0.5}, {0.5, 0.25}})) << "nothing was under way any more";
}

TEST(CropOverlay, NothingMovesWithoutADragOrAPlaceForThePicture)
{
    CropEditorOverlay overlay = overlayWith();
    overlay.drag({440, 999});
    overlay.endDrag();
    EXPECT_EQ(overlay.crop, (CGRect{{0.25, 0.5}, {0.5, 0.25}}));
    EXPECT_EQ(overlay.selectedHandle, std::nullopt);

    overlay.imgRect = {};
    overlay.beginDrag(e, {0, 0});
    overlay.drag({10, 10});
    EXPECT_EQ(overlay.crop, (CGRect{{0.25, 0.5}, {0.5, 0.25}}));
}

constexpr CGSize view{600, 400};

TEST(CropMagnifier, ThePointLiesInTheMiddleAndASourcePixelTakesTenPoints)
{
    const CropMagnifier magnifier = overlayWith().magnifier({200, 100}, view).value();
    EXPECT_EQ(magnifier.square, (CGRect{{208, 108}, {130, 130}}));
    // Shown at 0.4, so magnified 25 times. The point is a quarter across and down; the square's middle is (273, 173).
    expectNear(magnifier.picture, {{273 - 2500, 173 - 1250}, {10000, 5000}});
}

TEST(CropMagnifier, MagnifiesThreeTimesAtLeast)
{
    CropEditorOverlay overlay = overlayWith();
    overlay.preview = pictureOf(40, 20);
    EXPECT_EQ(overlay.magnifier({200, 100}, view).value().picture.size, (CGSize{1200, 600}));
}

TEST(CropMagnifier, FlipsToTheOtherSideWhereItWouldLeaveTheViewOrMeetTheLabel)
{
    struct Case {
        const char* where;
        CGPoint point;
        CGSize view;
        CGPoint expected;
    };
    for (const Case& c : {Case{"just fits to the right", {462, 100}, {600, 400}, {470, 108}},
                          Case{"would leave to the right", {463, 100}, {600, 400}, {325, 108}},
                          Case{"just clear of the label", {200, 164}, {600, 400}, {208, 172}},
                          Case{"would come upon the label", {200, 165}, {600, 400}, {208, 27}},
                          Case{"both", {500, 300}, {600, 400}, {362, 162}},
                          Case{"no side is large enough", {50, 60}, {100, 100}, {0, 0}}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(overlayWith().magnifier(c.point, c.view).value().square.origin, c.expected);
    }
}

TEST(CropMagnifier, APointBesideThePictureShowsTheNearestOfIt)
{
    expectNear(overlayWith().magnifier({0, 0}, view).value().picture, {{73, 73}, {10000, 5000}});
    // The square flips to (452, 252), with its middle at (517, 317).
    expectNear(overlayWith().magnifier({590, 390}, view).value().picture, {{517 - 10000, 317 - 5000}, {10000, 5000}});
}

TEST(CropMagnifier, ThereIsNoneWithoutAPicture)
{
    CropEditorOverlay overlay = overlayWith();
    overlay.preview = nullptr;
    EXPECT_EQ(overlay.magnifier({200, 100}, view), std::nullopt);
    overlay = overlayWith();
    overlay.imgRect.size = {};
    EXPECT_EQ(overlay.magnifier({200, 100}, view), std::nullopt);
}

/// A sheet on a picture of 1000 x 500 pixels.
CropEditorSheet sheetWith(CGRect crop, std::optional<CropHandle> selected = {})
{
    Layer layer = kindNamed('a', Layer::Kind::image);
    layer.cropRect = crop;
    CropEditorSheet sheet(layer, {}, {});
    sheet.showPreview(pictureOf(1000, 500));
    sheet.overlay().selectedHandle = selected;
    return sheet;
}

TEST(CropKeyboard, ArrowsMoveWhatIsSelectedByAPixelAndWithShiftByTen)
{
    const CGRect crop{{0.2, 0.3}, {0.4, 0.5}};
    constexpr Modifiers none{}, shift{.shift = true};
    struct Case {
        const char* what;
        std::optional<CropHandle> selected;
        ArrowKey key;
        Modifiers modifiers;
        CGRect expected;
    };
    for (const Case& c : {Case{"all, left", {}, ArrowKey::left, none, {{0.199, 0.3}, {0.4, 0.5}}},
                          Case{"all, right", {}, ArrowKey::right, none, {{0.201, 0.3}, {0.4, 0.5}}},
                          Case{"all, up", {}, ArrowKey::up, none, {{0.2, 0.298}, {0.4, 0.5}}},
                          Case{"all, down", {}, ArrowKey::down, none, {{0.2, 0.302}, {0.4, 0.5}}},
                          Case{"the body", body, ArrowKey::right, none, {{0.201, 0.3}, {0.4, 0.5}}},
                          Case{"shift across", {}, ArrowKey::right, shift, {{0.21, 0.3}, {0.4, 0.5}}},
                          Case{"shift down", body, ArrowKey::down, shift, {{0.2, 0.32}, {0.4, 0.5}}},
                          Case{"a side", e, ArrowKey::right, none, {{0.2, 0.3}, {0.401, 0.5}}},
                          Case{"a side, shift", n, ArrowKey::down, shift, {{0.2, 0.32}, {0.4, 0.48}}},
                          Case{"a corner across", nw, ArrowKey::left, none, {{0.199, 0.3}, {0.401, 0.5}}},
                          Case{"a corner down", nw, ArrowKey::up, none, {{0.2, 0.298}, {0.4, 0.502}}}}) {
        SCOPED_TRACE(c.what);
        CropEditorSheet sheet = sheetWith(crop, c.selected);
        EXPECT_TRUE(sheet.keyDown(c.key, c.modifiers));
        expectNear(sheet.crop(), c.expected);
    }
}

TEST(CropKeyboard, ShiftArrowOnAThousandPixelsMovesByAHundredth)
{
    EXPECT_EQ(cropStep(ArrowKey::right, {.shift = true}, {1000, 500}), (CGPoint{0.01, 0}));
}

TEST(CropKeyboard, TheCropStaysWithinTheSource)
{
    CropEditorSheet sheet = sheetWith({{0.595, 0.3}, {0.4, 0.5}});
    sheet.keyDown(ArrowKey::right, {.shift = true});
    expectNear(sheet.crop(), {{0.6, 0.3}, {0.4, 0.5}});
}

TEST(CropKeyboard, AnEdgeStopsShortOfTheOppositeOne)
{
    CropEditorSheet sheet = sheetWith({{0.2, 0.3}, {0.025, 0.5}}, w);
    sheet.keyDown(ArrowKey::right, {.shift = true});
    expectNear(sheet.crop(), {{0.205, 0.3}, {0.02, 0.5}});
}

TEST(CropKeyboard, OtherKeysGoOnAndArrowsNeverDo)
{
    const CGRect crop{{0.25, 0.25}, {0.5, 0.5}};
    CropEditorSheet sheet = sheetWith(crop, n);
    EXPECT_FALSE(sheet.keyDown(std::nullopt, {}));
    EXPECT_TRUE(sheet.keyDown(ArrowKey::left, {})) << "though nothing moves along a side";
    EXPECT_EQ(sheet.crop(), crop);
}

TEST(CropKeyboard, ASourceWithoutAPictureCountsAsOnePixel)
{
    CropEditorSheet sheet = sheetWith({{0.2, 0.3}, {0.4, 0.5}});
    sheet.showPreview(nullptr);
    sheet.keyDown(ArrowKey::right, {});
    expectNear(sheet.crop(), {{0.6, 0.3}, {0.4, 0.5}});
}

TEST(CropSheet, OpensWithTheLayersCropMadeLegal)
{
    expectNear(sheetWith({{0.75, 0}, {0.5, 0}}).crop(), {{0.5, 0}, {0.5, 0.02}});
}

TEST(CropSheet, LoadsUntilThereIsAPictureOrCannotBeOne)
{
    CropEditorSheet sheet(layerNamed('a'), {}, {});
    EXPECT_EQ(sheet.layerID(), idNamed('a'));
    EXPECT_TRUE(sheet.loading());
    sheet.showPreview(nullptr);
    EXPECT_FALSE(sheet.loading());
    EXPECT_EQ(sheet.overlay().preview, nullptr);
}

TEST(CropSheet, ItsButtonsResetCancelAndCommit)
{
    std::optional<CGRect> committed;
    int cancelled = 0;
    Layer layer = layerNamed('a');
    layer.cropRect = {{0.25, 0.25}, {0.5, 0.5}};
    CropEditorSheet sheet(
        layer, [&](const CGRect& crop) { committed = crop; }, [&] { ++cancelled; });
    sheet.cancel();
    EXPECT_EQ(cancelled, 1);
    EXPECT_EQ(committed, std::nullopt);

    sheet.overlay().crop = {{0.75, 0.25}, {0.5, 0.5}};
    sheet.done();
    EXPECT_EQ(committed, (CGRect{{0.5, 0.25}, {0.5, 0.5}}));
    EXPECT_EQ(cancelled, 1);

    sheet.reset();
    EXPECT_EQ(sheet.crop(), (CGRect{{0, 0}, {1, 1}}));
}

TEST(CropPreview, OfAnImageIsItsPicture)
{
    Layer image = kindNamed('a', Layer::Kind::image);
    EXPECT_EQ(cropPreview(image), nullptr);
    image.imageData = Bytes(pngBytes({.width = 3, .height = 2, .samples = std::vector<std::uint8_t>(18, 200)}));
    const ImageRef preview = cropPreview(image);
    ASSERT_NE(preview, nullptr);
    EXPECT_EQ(preview->size(), (CGSize{3, 2}));
    image.imageData = Bytes(std::vector<std::uint8_t>{1, 2, 3});
    EXPECT_EQ(cropPreview(image), nullptr);
}

TEST(CropPreview, OfAVideoIsTheFrameAtTheClipsSourceStart)
{
    static std::string askedPath;
    static double askedTime;
    const VideoFrameReader reader = [](const std::string& path, double time) {
        askedPath = path;
        askedTime = time;
        return pictureOf(7, 5);
    };
    Layer video = kindNamed('v', Layer::Kind::video);
    EXPECT_EQ(cropPreview(video, reader), nullptr);
    video.videoURL = SharedString("file:///films/a%20b.mov");
    video.videoClip.sceneStart = 9;
    video.videoClip.sourceStart = 2.5;
    EXPECT_EQ(cropPreview(video, reader)->size(), (CGSize{7, 5}));
    EXPECT_EQ(askedPath, "/films/a b.mov");
    EXPECT_EQ(askedTime, 2.5);
    EXPECT_EQ(cropPreview(video, [](const std::string&, double) { return ImageRef(); }), nullptr);
    EXPECT_EQ(cropPreview(layerNamed('a'), reader), nullptr);
}

TweenScene sceneWithMedia()
{
    return sceneHolding({layerNamed('a'), groupNamed('g', {kindNamed('i', Layer::Kind::image)})});
}

constexpr CGRect someCrop{{0.25, 0.25}, {0.5, 0.5}};

TEST(CropRequest, IsForTheFirstSelectedLayerAndFreshWhereItIsNotCroppedByHandYet)
{
    TweenScene scene = sceneWithMedia();
    EXPECT_EQ(cropEditorRequest(scene, {}), std::nullopt);
    EXPECT_EQ(cropEditorRequest(scene, idsNamed("x")), std::nullopt);
    for (const CropMode mode : {CropMode::none, CropMode::automatic, CropMode::manual}) {
        editLayer(scene, idNamed('i'))->cropMode = mode;
        EXPECT_EQ(cropEditorRequest(scene, idsNamed("i")), (CropEditorRequest{idNamed('i'), mode != CropMode::manual}));
    }
    EXPECT_EQ(cropEditorRequest(scene, idsNamed("ai")), std::nullopt) << "the first is a shape";
    editLayer(scene, idNamed('a'))->kind = Layer::Kind::video;
    EXPECT_EQ(cropEditorRequest(scene, idsNamed("ai"))->layerID, idNamed('a'));
}

TEST(CropBus, DoneWritesTheCropAsOneStep)
{
    Studio studio(sceneWithMedia());
    const TweenScene before = studio.scene();
    CropEditorBus bus;
    ASSERT_TRUE(bus.open(idNamed('i'), /*freshToggle=*/false, before));
    EXPECT_EQ(bus.cropEditorLayerID(), idNamed('i'));
    EXPECT_EQ(bus.openSnapshot(), before);

    const std::optional<Edit> edit = bus.done(someCrop, studio.scene());
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Edit Crop");
    TweenScene expected = before;
    editLayer(expected, idNamed('i'))->cropRect = someCrop;
    EXPECT_EQ(edit->scene, expected) << "the mode stays, and so does every other layer";
    EXPECT_EQ(bus.cropEditorLayerID(), std::nullopt);

    studio.perform(edit);
    EXPECT_EQ(studio.scene(), expected);
    studio.manager.undo();
    EXPECT_EQ(studio.scene(), before);
}

TEST(CropBus, DoneWritesALegalCrop)
{
    CropEditorBus bus;
    bus.open(idNamed('i'), /*freshToggle=*/false, sceneWithMedia());
    EXPECT_EQ(after(bus.done({{0.75, -1}, {0.5, 0.5}}, sceneWithMedia()), 'i').cropRect, (CGRect{{0.5, 0}, {0.5, 0.5}}));
}

TEST(CropBus, DoneAfterAFreshToggleTurnsTheCropByHandOn)
{
    CropEditorBus bus;
    bus.open(idNamed('i'), /*freshToggle=*/true, sceneWithMedia());
    EXPECT_TRUE(bus.openedFromFreshToggle());
    const std::optional<Edit> edit = bus.done(someCrop, sceneWithMedia());
    EXPECT_EQ(after(edit, 'i').cropMode, CropMode::manual);
    EXPECT_EQ(after(edit, 'i').cropRect, someCrop);
    EXPECT_EQ(after(edit, 'a').cropMode, CropMode::none);
    EXPECT_FALSE(bus.openedFromFreshToggle());
}

TEST(CropBus, CancelAfterAFreshToggleLeavesTheModeAsItWas)
{
    for (const CropMode mode : {CropMode::none, CropMode::automatic, CropMode::manual}) {
        TweenScene scene = sceneWithMedia();
        editLayer(scene, idNamed('i'))->cropMode = mode;
        CropEditorBus bus;
        bus.open(idNamed('i'), /*freshToggle=*/true, scene);
        EXPECT_EQ(bus.cancel(), scene);
        EXPECT_EQ(bus.cropEditorLayerID(), std::nullopt);
    }
}

TEST(CropBus, ALayerDeletedWhileTheRequestIsOnItsWayOpensNoSheet)
{
    CropEditorBus bus;
    EXPECT_FALSE(bus.open(idNamed('x'), /*freshToggle=*/true, sceneWithMedia()));
    EXPECT_EQ(bus.cropEditorLayerID(), std::nullopt);
    EXPECT_EQ(bus.openSnapshot(), std::nullopt);
    EXPECT_FALSE(bus.done(someCrop, sceneWithMedia()));
    EXPECT_EQ(bus.cancel(), std::nullopt);
}

TEST(CropBus, ALayerDeletedWhileTheSheetIsOpenGetsNoCrop)
{
    CropEditorBus bus;
    bus.open(idNamed('i'), /*freshToggle=*/true, sceneWithMedia());
    EXPECT_FALSE(bus.done(someCrop, sceneHolding({layerNamed('a')})));
    EXPECT_EQ(bus.cropEditorLayerID(), std::nullopt);
}

TEST(CropBus, LooksForLayersAtAnyDepth)
{
    TweenScene scene = sceneWithMedia();
    EXPECT_TRUE(CropEditorBus::layerExistsInTree(idNamed('i'), scene));
    EXPECT_FALSE(CropEditorBus::layerExistsInTree(idNamed('x'), scene));
    EXPECT_TRUE(CropEditorBus::enableManualCropInTree(idNamed('i'), scene));
    EXPECT_EQ(findLayer(scene, idNamed('i'))->cropMode, CropMode::manual);
    const TweenScene enabled = scene;
    EXPECT_FALSE(CropEditorBus::enableManualCropInTree(idNamed('x'), scene));
    EXPECT_FALSE(CropEditorBus::applyCropRectInTree(idNamed('x'), someCrop, scene));
    EXPECT_EQ(scene, enabled);
}

} // namespace
} // namespace larkspool
