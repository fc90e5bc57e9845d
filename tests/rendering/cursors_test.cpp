#include "rendering/cursors.h"

#include "rendering/built_in_cursors.h"
#include "rendering/rendering_fixture.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"
#include "support/small_picture.h"
#include "support/test_media.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <thread>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

Layer cursorLayer(CursorVariant variant, CGRect place)
{
    return {.kind = Kind::cursor, .transform = {.x = place.origin.x, .y = place.origin.y}, .size = place.size, .cursorVariant = variant};
}

std::string svgOf(const char* size, const char* color)
{
    return std::string("<svg xmlns=\"http://www.w3.org/2000/svg\" ") + size +
           " viewBox=\"0 0 8 8\" preserveAspectRatio=\"none\"><rect width=\"8\" height=\"8\" fill=\"" + color + "\"/></svg>";
}

std::vector<std::uint8_t> bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

/// Whether the art itself is there, not only its soft edge.
bool covers(const PixelBuffer& pixels, int x, int y)
{
    return storedPixelAt(pixels, x, y).a > 128;
}

TEST(CursorArt, Is512PixelsOnTheLongerSide)
{
    struct Case {
        const char* size;
        int width, height;
    };
    // 512 / 3 = 170.67 and 512 * 3 / 7 = 219.43, both cut to whole pixels.
    for (const Case& c : {Case{R"(width="32" height="32")", 512, 512}, Case{R"(width="30" height="10")", 512, 170},
                          Case{R"(width="3" height="7")", 219, 512}, Case{"", 512, 512}, Case{R"(width="3em" height="7em")", 512, 512}}) {
        SCOPED_TRACE(c.size);
        const ImageRef art = renderedCursorArt(bytesOf(svgOf(c.size, "#f00")));
        ASSERT_TRUE(art);
        EXPECT_EQ(art->width(), c.width);
        EXPECT_EQ(art->height(), c.height);
        EXPECT_EQ(storedPixelAt(art->pixels(), c.width / 2, c.height / 2), (StoredPixel{255, 0, 0, 255}));
    }
}

TEST(CursorArt, IsNoneIfNothingOfItIsLeft)
{
    EXPECT_FALSE(renderedCursorArt({}));
    EXPECT_FALSE(renderedCursorArt(bytesOf("no art")));
    EXPECT_FALSE(renderedCursorArt(bytesOf(svgOf(R"(width="10000" height="1")", "#f00"))));
    EXPECT_FALSE(renderedCursorArt(bytesOf(svgOf(R"(width="1" height="10000")", "#f00"))));
    EXPECT_FALSE(renderedCursorArt(bytesOf(svgOf(R"(width="0" height="0")", "#f00"))));
    EXPECT_FALSE(renderedCursorArt(bytesOf(svgOf(R"(width="0" height="8")", "#f00"))));
}

TEST(CursorImageCache, FindsArtInTheFirstFolderThatHasItAndKeepsIt)
{
    const TemporaryFolder first, second;
    writeFile(second.path("arrow.svg"), svgOf(R"(width="8" height="8")", "#f00"));
    CursorImageCache cache({first.path("missing"), first.path(""), second.path("")});
    const ImageRef art = cache.image(CursorVariant::arrow);
    ASSERT_TRUE(art);
    EXPECT_EQ(storedPixelAt(art->pixels(), 9, 9), (StoredPixel{255, 0, 0, 255}));
    writeFile(first.path("arrow.svg"), svgOf(R"(width="8" height="8")", "#00f"));
    EXPECT_EQ(cache.image(CursorVariant::arrow), art);
    EXPECT_EQ(storedPixelAt(CursorImageCache({first.path(""), second.path("")}).image(CursorVariant::arrow)->pixels(), 9, 9),
              (StoredPixel{0, 0, 255, 255}));
}

TEST(CursorImageCache, DoesNotRememberThatArtWasMissing)
{
    const TemporaryFolder folder;
    CursorImageCache cache({folder.path("")});
    EXPECT_FALSE(cache.image(CursorVariant::grab));
    writeFile(folder.path("grab.svg"), "no art");
    EXPECT_FALSE(cache.image(CursorVariant::grab));
    writeFile(folder.path("grab.svg"), svgOf(R"(width="8" height="8")", "#f00"));
    EXPECT_TRUE(cache.image(CursorVariant::grab));
}

TEST(CursorImageCache, ThreadsGetOneAndTheSamePicture)
{
    const TemporaryFolder folder;
    writeFile(folder.path("arrow.svg"), svgOf(R"(width="8" height="8")", "#f00"));
    CursorImageCache cache({folder.path("")});
    std::vector<ImageRef> found(4);
    std::vector<std::thread> threads;
    for (ImageRef& image : found) threads.emplace_back([&] { image = cache.image(CursorVariant::arrow); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(found[0]);
    for (const ImageRef& image : found) EXPECT_EQ(image, found[0]);
}

TEST(CursorImages, EachVariantButWaitHasArtAndTheSameBuiltIn)
{
    for (const EnumCase<CursorVariant>& cursor : EnumTable<CursorVariant>::cases) {
        SCOPED_TRACE(cursor.fileValue);
        const ImageRef art = CursorImageCache::shared().image(cursor.value), builtIn = builtInCursorImage(cursor.value);
        if (cursor.value == CursorVariant::wait) {
            EXPECT_FALSE(art);
            EXPECT_FALSE(builtIn);
            EXPECT_FALSE(cursorNSImage(cursor.value));
            continue;
        }
        ASSERT_TRUE(art);
        ASSERT_TRUE(builtIn);
        EXPECT_EQ(exportCursorNSImage(cursor.value), art);
        EXPECT_EQ(art->size(), (CGSize{512, 512}));
        EXPECT_EQ(greatestDifference(art->pixels(), builtIn->pixels()), 0);
        const std::string file = std::string(LARKSPOOL_SOURCE_FOLDER) + "/resources/cursors/" + std::string(cursor.fileValue) + ".svg";
        EXPECT_EQ(bytesOf(builtInCursor(cursor.fileValue)), fileBytes(file));
    }
}

TEST(CursorImages, TheBuiltInArtStandsInForAFileThatIsMissing)
{
    const TemporaryFolder empty, folder;
    CursorImageCache none({empty.path("")}), one({folder.path("")});
    writeFile(folder.path("grab.svg"), svgOf(R"(width="8" height="8")", "#f00"));
    EXPECT_EQ(cursorNSImage(CursorVariant::arrow, none), builtInCursorImage(CursorVariant::arrow));
    EXPECT_EQ(cursorNSImage(CursorVariant::arrow, one), builtInCursorImage(CursorVariant::arrow));
    EXPECT_EQ(cursorNSImage(CursorVariant::grab, one), one.image(CursorVariant::grab));
    EXPECT_EQ(cursorNSImage(CursorVariant::wait, none), nullptr);
}

TEST(CursorImages, TheTipOfTheArrowIsItsHotSpot)
{
    for (const CursorVariant variant : {CursorVariant::arrow, CursorVariant::duplicate}) {
        const PixelBuffer& pixels = builtInCursorImage(variant)->pixels();
        // 22 percent of the width and 6 percent of the height, and what is left and above of it is clear but for the soft edge.
        EXPECT_TRUE(covers(pixels, 113, 31));
        for (int x = 0; x < 512; ++x) EXPECT_FALSE(covers(pixels, x, 24)) << x;
        for (int y = 0; y < 512; ++y) EXPECT_FALSE(covers(pixels, 102, y)) << y;
    }
}

TEST(CursorImages, ReadOnAnyBackground)
{
    for (const CursorVariant variant : {CursorVariant::arrow, CursorVariant::pointer, CursorVariant::grab, CursorVariant::grabbing,
                                        CursorVariant::ibeam, CursorVariant::duplicate}) {
        // From the left along some row: a soft dark edge, a light outline, a dark body.
        const PixelBuffer& pixels = builtInCursorImage(variant)->pixels();
        bool soft = false, light = false, dark = false;
        for (int x = 0; x < 512; ++x) {
            const StoredPixel p = storedPixelAt(pixels, x, variant == CursorVariant::ibeam ? 180 : 280);
            if (!light && p.a > 10 && p.a < 150 && p.r < 10) soft = true;
            if (soft && p.r > 250) light = true;
            if (light && p.r < 20 && p.a == 255) dark = true;
        }
        EXPECT_TRUE(soft && light && dark) << fileValue(variant);
    }
}

TEST(CursorBody, KeepsItsAspectAndStandsInTheMiddle)
{
    struct Case {
        const char* what;
        CGSize box;
        CGRect drawn;
    };
    for (const Case& c : {Case{"square", {32, 32}, {{0, 0}, {32, 32}}}, Case{"wide", {60, 20}, {{20, 0}, {20, 20}}},
                          Case{"high", {10, 50}, {{0, 20}, {10, 10}}}}) {
        SCOPED_TRACE(c.what);
        RecordingRasterContext context;
        Exporter::drawCursorBody(cursorLayer(CursorVariant::arrow, {{0, 0}, c.box}), context);
        ASSERT_EQ(context.operations().size(), 1u);
        const auto& draw = std::get<RasterOperation::DrawImage>(context.operations().front());
        EXPECT_EQ(draw.source, (CGRect{{0, 0}, {512, 512}}));
        EXPECT_EQ(draw.destination, c.drawn);
    }
}

TEST(CursorBody, WaitHasNoArt)
{
    RecordingRasterContext context;
    Exporter::drawCursorBody(cursorLayer(CursorVariant::wait, {{0, 0}, {32, 32}}), context);
    EXPECT_TRUE(context.operations().empty());
}

TEST(Cursor, ShowsInAFrameInItsPlaceAndByItsOpacity)
{
    Layer cursor = cursorLayer(CursorVariant::arrow, {{10, 20}, {64, 64}});
    const PixelBuffer solid = drawnFrame(sceneWith({100, 100}, {cursor}));
    // Within the arrow's body: 30 and 50 percent of the box.
    EXPECT_LT(pixelAt(solid, 10 + 19, 20 + 32).r, 25);
    EXPECT_EQ(pixelAt(solid, 5, 5), whitePixel);
    cursor.opacity = 0.5;
    const int faded = pixelAt(drawnFrame(sceneWith({100, 100}, {cursor})), 29, 52).r;
    EXPECT_NEAR(faded, 136, 4); // Half of 16 and half of 255.
}

TEST(Cursor, ShowsAnOverrideInTheVeryFramesInWhichItMeetsTheLayer)
{
    // The arrow's box is 20 wide and moves from 0 to 100 in a second; the hotspot begins at 60.
    Layer cursor = cursorLayer(CursorVariant::arrow, {{0, 0}, {20, 20}});
    cursor.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0, .easing = Easing::linear()},
                        Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 1, .value = 100.0, .easing = Easing::linear()}};
    Layer hotspot{.kind = Kind::hotspot, .transform = {.x = 60}, .size = {20, 20}};
    hotspot.cursorHoverOverride = CursorVariant::ibeam;
    const TweenScene scene = sceneWith({200, 20}, {cursor, hotspot});
    const auto shows = [&](CursorVariant variant, double time) {
        const TweenScene alone = sceneWith({200, 20}, {cursorLayer(variant, {{100 * time, 0}, {20, 20}})});
        return greatestDifference(drawnFrame(scene, time), drawnFrame(alone)) <= 1;
    };
    EXPECT_TRUE(shows(CursorVariant::arrow, 0.25));
    EXPECT_FALSE(shows(CursorVariant::ibeam, 0.25));
    EXPECT_TRUE(shows(CursorVariant::ibeam, 0.75));
    EXPECT_TRUE(shows(CursorVariant::arrow, 0.9375));
}

TEST(Throbber, TheLeadTurnsOnceASecondInEightSteps)
{
    struct Case {
        double time;
        int lead;
    };
    for (const Case& c : {Case{0, 0}, Case{0.124, 0}, Case{0.125, 1}, Case{0.5, 4}, Case{0.9999, 7}, Case{1, 0}, Case{1.9, 7}, Case{1000.25, 2},
                          Case{-0.1, 0}, Case{-0.125, 7}, Case{-0.5, 4}, Case{-1, 0}, Case{-1.9, 1}, Case{1e300, 0},
                          Case{std::numeric_limits<double>::infinity(), 0}, Case{std::numeric_limits<double>::quiet_NaN(), 0}})
        EXPECT_EQ(exportThrobberLead(c.time), c.lead) << c.time;
}

TEST(Throbber, TheLeadIsOpaqueAndTheSpokeAheadOfItTheFaintest)
{
    const std::vector<ThrobberSpoke> spokes = throbberSpokes(0, 8);
    ASSERT_EQ(spokes.size(), 8u);
    EXPECT_DOUBLE_EQ(spokes[0].opacity, 1);
    EXPECT_DOUBLE_EQ(spokes[1].opacity, 0.15);               // d = 7.
    EXPECT_DOUBLE_EQ(spokes[7].opacity, 1 - 0.85 / 7);       // d = 1.
    EXPECT_DOUBLE_EQ(spokes[2].opacity, 1 - 6 * 0.85 / 7);   // d = 6.
    EXPECT_DOUBLE_EQ(spokes[2].rotation, std::numbers::pi / 2);
    const std::vector<ThrobberSpoke> turned = throbberSpokes(7, 8);
    EXPECT_DOUBLE_EQ(turned[7].opacity, 1);
    EXPECT_DOUBLE_EQ(turned[0].opacity, 0.15);
}

TEST(Throbber, AnyNumberOfSpokesCanBeAskedFor)
{
    EXPECT_TRUE(throbberSpokes(3, 0).empty());
    EXPECT_TRUE(throbberSpokes(0, -4).empty());
    EXPECT_EQ(throbberSpokes(0, 1), (std::vector<ThrobberSpoke>{{0, 1}}));
    const std::vector<ThrobberSpoke> twelve = throbberSpokes(2, 12);
    EXPECT_DOUBLE_EQ(twelve[3].opacity, 0.15);
    EXPECT_DOUBLE_EQ(twelve[3].rotation, std::numbers::pi / 2);
}

TEST(Throbber, OnTheCanvasTheWallClockTurnsIt)
{
    EXPECT_EQ(canvasThrobberLead(0, 1, 8), 0);
    EXPECT_EQ(canvasThrobberLead(2.5, 1, 8), 4);
    EXPECT_EQ(canvasThrobberLead(2.5, 2, 12), 3);
    EXPECT_EQ(canvasThrobberLead(3.99, 2, 12), 11);
    EXPECT_EQ(canvasThrobberLead(1, 0, 8), 0);
}

TEST(Throbber, TheSpokesHaveTheirMeasures)
{
    // m = 100: 30 long, 10.2 wide, from 47 to 17 above the centre.
    for (const CGSize frame : {CGSize{100, 100}, CGSize{100, 400}, CGSize{300, 100}}) {
        const RoundedRect spoke = throbberSpokeShape(frame);
        EXPECT_NEAR(spoke.rect.minX(), -5.1, 1e-9);
        EXPECT_NEAR(spoke.rect.minY(), -47, 1e-9);
        EXPECT_NEAR(spoke.rect.size.width, 10.2, 1e-9);
        EXPECT_NEAR(spoke.rect.size.height, 30, 1e-9);
        EXPECT_NEAR(spoke.radius, 5.1, 1e-9);
    }
}

TEST(Throbber, IsBlackWhateverTheFillAndGoesByTheScenesTime)
{
    Layer wait = cursorLayer(CursorVariant::wait, {{0, 0}, {100, 100}});
    wait.fill = red;
    // 32 from the centre: above for spoke 0, to the right for spoke 2, half right for spoke 1.
    const auto grey = [](double alpha) { return static_cast<int>(std::lround(255 * (1 - alpha))); };
    const PixelBuffer start = drawnFrame(sceneWith({100, 100}, {wait}), 0);
    EXPECT_EQ(pixelAt(start, 50, 18), blackPixel);
    EXPECT_NEAR(pixelAt(start, 72, 27).r, grey(0.15), 1);
    EXPECT_NEAR(pixelAt(start, 82, 50).r, grey(1 - 6 * 0.85 / 7), 1);
    const PixelBuffer later = drawnFrame(sceneWith({100, 100}, {wait}), 1.25);
    EXPECT_EQ(pixelAt(later, 82, 50), blackPixel);
    EXPECT_EQ(pixelAt(start, 50, 50), whitePixel);
}

TEST(Throbber, AFrameWithoutASizeShowsNone)
{
    for (const CGSize size : {CGSize{0, 0}, CGSize{-5, 20}, CGSize{20, std::numeric_limits<double>::quiet_NaN()}}) {
        RecordingRasterContext context;
        drawExportThrobber(context, {{0, 0}, size}, 0);
        EXPECT_EQ(context.count<RasterOperation::FillPath>(), 0);
    }
}

TEST(CursorIcon, ItsShapesAreStretchedFromTheDesign)
{
    const Path outer = cursorOuterShape({{10, 20}, {40, 66}}); // Half the design's size.
    ASSERT_EQ(outer.elements().size(), 6u);
    EXPECT_EQ(outer.elements()[0].points[0], (CGPoint{10, 20 + 66.73 / 2}));
    EXPECT_EQ(outer.elements()[1].points[0], (CGPoint{10, 20}));
    EXPECT_NEAR(outer.elements()[2].points[0].x, 10 + 24.15, 1e-9);
    EXPECT_NEAR(outer.elements()[2].points[0].y, 20 + 24.21, 1e-9);
    EXPECT_EQ(outer.elements()[5].kind, Path::Element::Kind::close);
    const CGRect inner = cursorInnerShape({{0, 0}, {80, 132}}).bounds();
    EXPECT_NEAR(inner.minX(), 4.17, 1e-9);
    EXPECT_NEAR(inner.minY(), 10.03, 1e-9);
    EXPECT_NEAR(inner.maxX(), 38.19, 1e-9);
    EXPECT_NEAR(inner.maxY(), 56.65, 1e-9);
}

TEST(CursorGoldens, EveryCursorOnLightAndDark)
{
    Array<Layer> layers;
    layers.append({.transform = {.y = 100}, .fill = {0.1, 0.1, 0.12, 1}, .size = {660, 100}});
    layers.append({.transform = {.y = 200}, .fill = {0.25, 0.5, 0.95, 1}, .size = {660, 60}});
    int column = 0;
    for (const CursorVariant variant : {CursorVariant::arrow, CursorVariant::pointer, CursorVariant::grab, CursorVariant::grabbing,
                                        CursorVariant::ibeam, CursorVariant::duplicate}) {
        const double x = 10 + 110.0 * column++;
        layers.append(cursorLayer(variant, {{x, 4}, {92, 92}}));
        layers.append(cursorLayer(variant, {{x, 104}, {92, 92}}));
        layers.append(cursorLayer(variant, {{x, 214}, {32, 32}}));
        layers.append(cursorLayer(variant, {{x + 45, 218}, {24, 24}}));
    }
    EXPECT_GOLDEN(drawnFrame(sceneWith({660, 260}, layers)), "cursors");
}

TEST(CursorGoldens, TheThrobberTurns)
{
    PixelBuffer picture(400, 100);
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    context->setFillColor({1, 1, 1, 1});
    context->fillRect({{0, 0}, {400, 100}});
    int column = 0;
    for (const double time : {0.0, 0.25, 0.625, 1.9}) drawExportThrobber(*context, {{100.0 * column++ + 10, 10}, {80, 80}}, time);
    EXPECT_GOLDEN(picture, "throbber");
}

} // namespace
} // namespace larkspool
