#include "platform/raster_context.h"
#include "support/small_picture.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace larkspool {
namespace {

const RasterColor black{0, 0, 0, 1}, white{1, 1, 1, 1}, red{1, 0, 0, 1}, green{0, 1, 0, 1};

void fillAll(RasterContext& context, const RasterColor& color)
{
    context.setFillColor(color);
    context.fillRect({{0, 0}, {1000, 1000}});
}

/// The outline of the box as a path that is not known to be one.
Path outlineOf(const RoundedRect& box)
{
    Path outline;
    const Path path = Path::roundedRect(box);
    for (const Path::Element& element : path.elements()) {
        switch (element.kind) {
        case Path::Element::Kind::moveTo: outline.moveTo(element.points[0]); break;
        case Path::Element::Kind::lineTo: outline.lineTo(element.points[0]); break;
        case Path::Element::Kind::curveTo: outline.curveTo(element.points[0], element.points[1], element.points[2]); break;
        case Path::Element::Kind::close: outline.close(); break;
        }
    }
    return outline;
}

TEST(RasterContext, YRunsDownwardFromTheTopLeft)
{
    const PixelBuffer pixels = drawn(4, 3, [](RasterContext& context) { context.fillRect({{1, 0}, {2, 1}}); });
    EXPECT_EQ(alphaPicture(pixels), ".##.\n"
                                    "....\n"
                                    "....\n");
}

TEST(RasterContext, AFilledRectIsAntiAliased)
{
    const PixelBuffer pixels = drawn(4, 3, [](RasterContext& context) { context.fillRect({{0.5, 0}, {3, 1.5}}); });
    EXPECT_EQ(alphaPicture(pixels), "5##5\n"
                                    "3553\n"
                                    "....\n");
}

TEST(RasterContext, ColoursAreStoredPremultipliedAndRounded)
{
    const PixelBuffer pixels = drawn(1, 1, [](RasterContext& context) { fillAll(context, {1, 0.5, 0, 0.6}); });
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), (StoredPixel{.r = 153, .g = 77, .b = 0, .a = 153}));
}

TEST(RasterContext, ColoursAreTheSameForABoxAndForAnyOtherPath)
{
    for (const RasterColor& color : {RasterColor{0.85, 0.87, 0.90, 1}, RasterColor{0.2, 0.5, 0.99, 0.6},
                                     RasterColor{1, 1, 1, 0.999}, RasterColor{0.3, 0.004, 0.5, 0.01}}) {
        const RoundedRect box{{{0, 0}, {1, 1}}, 0};
        const PixelBuffer fromBox = drawn(1, 1, [&](RasterContext& context) {
            context.setFillColor(color);
            context.fillPath(Path::roundedRect(box), FillRule::winding);
        });
        const PixelBuffer fromOutline = drawn(1, 1, [&](RasterContext& context) {
            context.setFillColor(color);
            context.fillPath(outlineOf(box), FillRule::winding);
        });
        EXPECT_EQ(storedPixelAt(fromBox, 0, 0), storedPixelAt(fromOutline, 0, 0));
    }
}

TEST(RasterContext, ColoursOutsideTheirRangeAreHeldWithin)
{
    const PixelBuffer pixels =
        drawn(1, 1, [](RasterContext& context) { fillAll(context, {2, -1, std::numeric_limits<double>::quiet_NaN(), 7}); });
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), (StoredPixel{.r = 255, .g = 0, .b = 0, .a = 255}));
}

TEST(RasterContext, AlphaIsSetAndNotMultiplied)
{
    const PixelBuffer pixels = drawn(1, 1, [](RasterContext& context) {
        context.setAlpha(0.2);
        SavedState saved(context);
        context.setAlpha(0.6);
        fillAll(context, black);
    });
    EXPECT_EQ(storedPixelAt(pixels, 0, 0).a, 153);
}

TEST(RasterContext, AlphaMultipliesEachPaint)
{
    const PixelBuffer pixels = drawn(1, 1, [](RasterContext& context) {
        context.setAlpha(0.5);
        fillAll(context, {1, 1, 1, 0.4}); // 0.2 of white
        fillAll(context, {1, 1, 1, 0.4}); // 0.2 + 0.2 * 0.8
    });
    EXPECT_NEAR(storedPixelAt(pixels, 0, 0).a, 0.36 * 255, 1);
}

TEST(RasterContext, AFillMeetsWhatIsThereByItsCompositing)
{
    using Compositing = RasterContext::Compositing;
    // Half of white on the first pixel, nothing on the second, then half of black on both: stored white and alpha of 255.
    struct Case { const char* what; Compositing compositing; StoredPixel onHalf, onNothing; };
    for (const Case& c : {Case{"over: 1/2 * 1/2 of white, alpha 3/4", Compositing::over, {64, 64, 64, 191}, {0, 0, 0, 128}},
                          Case{"clear", Compositing::clear, {0, 0, 0, 0}, {0, 0, 0, 0}},
                          Case{"atop: alpha stays", Compositing::atop, {64, 64, 64, 128}, {0, 0, 0, 0}},
                          Case{"under: white stays", Compositing::under, {128, 128, 128, 191}, {0, 0, 0, 128}}}) {
        SCOPED_TRACE(c.what);
        const PixelBuffer pixels = drawn(2, 1, [&](RasterContext& context) {
            context.setFillColor({1, 1, 1, 0.5});
            context.fillRect({{0, 0}, {1, 1}});
            SavedState saved(context);
            context.setFillCompositing(c.compositing);
            context.setFillColor({0, 0, 0, 0.5});
            context.fillRect({{0, 0}, {2, 1}});
        });
        for (const auto& [x, expected] : {std::pair{0, c.onHalf}, {1, c.onNothing}}) {
            const StoredPixel found = storedPixelAt(pixels, x, 0);
            EXPECT_NEAR(found.r, expected.r, 1);
            EXPECT_NEAR(found.a, expected.a, 1);
        }
    }
}

TEST(RasterContext, TheCompositingOfFillsIsSavedAndLeavesOtherPaintsAlone)
{
    const PixelBuffer pixels = drawn(3, 1, [](RasterContext& context) {
        {
            SavedState saved(context);
            context.setFillCompositing(RasterContext::Compositing::clear);
            context.setLineWidth(1);
            context.setStrokeColor({0, 0, 0, 1});
            Path line;
            line.moveTo({1, 0.5});
            line.lineTo({2, 0.5});
            context.strokePath(line);
        }
        context.fillRect({{2, 0}, {1, 1}});
    });
    EXPECT_EQ(storedPixelAt(pixels, 1, 0).a, 255);
    EXPECT_EQ(storedPixelAt(pixels, 2, 0).a, 255);
}

TEST(RasterContext, StepsOfTheTransformApplyToWhatIsDrawnLater)
{
    const PixelBuffer pixels = drawn(6, 2, [](RasterContext& context) {
        context.translateCTM(2, 0);
        context.scaleCTM(2, 2);
        context.fillRect({{0, 0}, {1, 1}});
        EXPECT_EQ(context.ctm(), (AffineTransform{2, 0, 0, 2, 2, 0}));
        context.concatCTM({.tx = 1.5, .ty = 0});
        context.fillRect({{0, 0}, {0.5, 0.5}});
    });
    // The last step moves by one and a half of the scaled units: 3 pixels beyond 2.
    EXPECT_EQ(alphaPicture(pixels), "..##.#\n"
                                    "..##..\n");
}

TEST(RasterContext, ATurnByARightAngleKeepsABoxSharp)
{
    const PixelBuffer pixels = drawn(3, 4, [](RasterContext& context) {
        context.concatCTM({.a = 0, .b = 1, .c = -1, .d = 0, .tx = 3, .ty = 0}); // (x, y) to (3 - y, x)
        context.fillRect({{0, 0}, {4, 1}});
    });
    EXPECT_EQ(alphaPicture(pixels), "..#\n"
                                    "..#\n"
                                    "..#\n"
                                    "..#\n");
}

TEST(RasterContext, TheInsideOfAnInnerPathIsOpenUnderEvenOddAndFilledUnderWinding)
{
    Path ring = Path::rect({{0, 0}, {5, 5}});
    ring.add(Path::rect({{1, 1}, {3, 3}}));
    const auto filled = [&](FillRule rule) {
        return alphaPicture(drawn(5, 5, [&](RasterContext& context) { context.fillPath(ring, rule); }));
    };
    EXPECT_EQ(filled(FillRule::evenOdd), "#####\n"
                                         "#...#\n"
                                         "#...#\n"
                                         "#...#\n"
                                         "#####\n");
    EXPECT_EQ(filled(FillRule::winding), "#####\n"
                                         "#####\n"
                                         "#####\n"
                                         "#####\n"
                                         "#####\n");
}

TEST(RasterContext, EvenOddOfBoxesThatCrossLeavesOutWhatBothCover)
{
    Path crossed = Path::rect({{0, 0}, {3, 2}});
    crossed.add(Path::rect({{1, 1}, {3, 2}}));
    const PixelBuffer pixels = drawn(4, 3, [&](RasterContext& context) { context.fillPath(crossed, FillRule::evenOdd); });
    EXPECT_EQ(alphaPicture(pixels), "###.\n"
                                    "#..#\n"
                                    ".###\n");
}

TEST(RasterContext, ALineLiesHalfOnEachSideOfItsPath)
{
    const PixelBuffer pixels = drawn(6, 6, [](RasterContext& context) {
        context.setLineWidth(2);
        context.strokePath(Path::rect({{1, 1}, {4, 4}}));
    });
    EXPECT_EQ(alphaPicture(pixels), "######\n"
                                    "######\n"
                                    "##..##\n"
                                    "##..##\n"
                                    "######\n"
                                    "######\n");
}

TEST(RasterContext, ALineFollowsTheTransform)
{
    const PixelBuffer pixels = drawn(6, 4, [](RasterContext& context) {
        Path line;
        line.moveTo({0, 1});
        line.lineTo({3, 1});
        context.scaleCTM(2, 2);
        context.setLineWidth(1);
        context.strokePath(line);
    });
    EXPECT_EQ(alphaPicture(pixels), "......\n"
                                    "######\n"
                                    "######\n"
                                    "......\n");
}

TEST(RasterContext, ButtCapsEndAtThePointAndRoundOnesReachBeyond)
{
    const auto stroked = [](RasterContext::LineCap cap) {
        return drawn(12, 4, [&](RasterContext& context) {
            Path line;
            line.moveTo({4, 2});
            line.lineTo({8, 2});
            context.setLineWidth(4);
            context.setLineCap(cap);
            context.strokePath(line);
        });
    };
    EXPECT_EQ(storedPixelAt(stroked(RasterContext::LineCap::butt), 3, 2).a, 0);
    EXPECT_EQ(storedPixelAt(stroked(RasterContext::LineCap::round), 3, 2).a, 255);
    EXPECT_EQ(storedPixelAt(stroked(RasterContext::LineCap::round), 1, 2).a, 0);
}

TEST(RasterContext, MiterJoinsFillTheCornerAndRoundOnesCutIt)
{
    for (const bool asBox : {true, false}) {
        SCOPED_TRACE(asBox ? "box" : "outline");
        const auto stroked = [&](RasterContext::LineJoin join) {
            return drawn(20, 20, [&](RasterContext& context) {
                const RoundedRect box{{{6, 6}, {10, 10}}, 0};
                context.setLineWidth(8);
                context.setLineJoin(join);
                context.strokePath(asBox ? Path::roundedRect(box) : outlineOf(box));
            });
        };
        EXPECT_EQ(storedPixelAt(stroked(RasterContext::LineJoin::miter), 2, 2).a, 255);
        EXPECT_EQ(storedPixelAt(stroked(RasterContext::LineJoin::round), 2, 2).a, 0);
        EXPECT_EQ(storedPixelAt(stroked(RasterContext::LineJoin::round), 2, 8).a, 255);
    }
}

TEST(RasterContext, ClipsIntersectAndEndWithTheirState)
{
    const PixelBuffer pixels = drawn(6, 3, [](RasterContext& context) {
        {
            SavedState saved(context);
            context.clipToPath(Path::rect({{0, 0}, {4, 2}}), FillRule::winding);
            context.clipToPath(Path::rect({{2, 0}, {4, 3}}), FillRule::winding);
            fillAll(context, black);
        }
        context.fillRect({{0, 2}, {1, 1}});
    });
    EXPECT_EQ(alphaPicture(pixels), "..##..\n"
                                    "..##..\n"
                                    "#.....\n");
}

TEST(RasterContext, ClipsAreAntiAliased)
{
    const PixelBuffer pixels = drawn(4, 1, [](RasterContext& context) {
        context.clipToPath(Path::rect({{0.5, 0}, {2.5, 1}}), FillRule::winding);
        fillAll(context, black);
    });
    EXPECT_EQ(alphaPicture(pixels), "5##.\n");
}

TEST(RasterContext, AClipUnderEvenOddOpensTheOutside)
{
    const PixelBuffer pixels = drawn(5, 3, [](RasterContext& context) {
        Path outside = Path::rect({{-1e6, -1e6}, {2e6, 2e6}});
        outside.add(Path::rect({{1, 1}, {3, 1}}));
        context.clipToPath(outside, FillRule::evenOdd);
        fillAll(context, black);
    });
    EXPECT_EQ(alphaPicture(pixels), "#####\n"
                                    "#...#\n"
                                    "#####\n");
}

TEST(RasterContext, AnEmptyClipHidesEverything)
{
    const PixelBuffer pixels = drawn(2, 1, [](RasterContext& context) {
        context.clipToPath(Path{}, FillRule::winding);
        fillAll(context, black);
        context.setShadow(RasterShadow{{0, 0}, 4, black});
        context.beginTransparencyLayer();
        fillAll(context, black);
        context.endTransparencyLayer();
    });
    EXPECT_EQ(alphaPicture(pixels), "..\n");
}

TEST(RasterContext, RestoreBringsBackEveryPartOfTheState)
{
    const PixelBuffer pixels = drawn(8, 8, [](RasterContext& context) {
        context.setFillColor(red);
        context.setStrokeColor(green);
        context.setLineWidth(2);
        context.saveGState();
        context.translateCTM(3, 3);
        context.setAlpha(0.1);
        context.setFillColor(white);
        context.setStrokeColor(white);
        context.setLineWidth(9);
        context.setLineCap(RasterContext::LineCap::round);
        context.setLineJoin(RasterContext::LineJoin::round);
        context.setShadow(RasterShadow{{0, 0}, 9, white});
        context.clipToPath(Path::rect({{0, 0}, {1, 1}}), FillRule::winding);
        context.restoreGState();
        context.fillRect({{0, 0}, {8, 4}});
        Path line;
        line.moveTo({2, 6});
        line.lineTo({6, 6});
        context.strokePath(line);
    });
    EXPECT_EQ(alphaPicture(pixels), "########\n"
                                    "########\n"
                                    "########\n"
                                    "########\n"
                                    "........\n"
                                    "..####..\n"
                                    "..####..\n"
                                    "........\n");
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), (StoredPixel{.r = 255, .a = 255}));
    EXPECT_EQ(storedPixelAt(pixels, 3, 5), (StoredPixel{.g = 255, .a = 255}));
}

TEST(RasterContext, RestoringAndEndingTooOftenChangesNothing)
{
    const PixelBuffer pixels = drawn(2, 1, [](RasterContext& context) {
        context.restoreGState();
        context.endTransparencyLayer();
        context.setAlpha(0.5);
        context.beginTransparencyLayer();
        context.restoreGState(); // What was saved before the layer is not the layer's to restore.
        fillAll(context, black);
        context.saveGState();
        context.endTransparencyLayer();
        context.restoreGState();
    });
    EXPECT_EQ(alphaPicture(pixels), "55\n");
}

TEST(TransparencyLayer, TheAlphaAtTheBeginningAppliesToTheWhole)
{
    const PixelBuffer pixels = drawn(3, 1, [](RasterContext& context) {
        context.setAlpha(0.5);
        context.beginTransparencyLayer();
        context.setFillColor(red);
        context.fillRect({{0, 0}, {2, 1}});
        context.setFillColor(green);
        context.fillRect({{1, 0}, {2, 1}});
        context.endTransparencyLayer();
    });
    // Where both were painted, the later hides the earlier before the whole becomes half transparent.
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), (StoredPixel{.r = 128, .a = 128}));
    EXPECT_EQ(storedPixelAt(pixels, 1, 0), (StoredPixel{.g = 128, .a = 128}));
    EXPECT_EQ(storedPixelAt(pixels, 2, 0), (StoredPixel{.g = 128, .a = 128}));
}

TEST(TransparencyLayer, WithinItAlphaBeginsAtOneAndComesBackAfterIt)
{
    const PixelBuffer pixels = drawn(3, 1, [](RasterContext& context) {
        context.setAlpha(0.4);
        context.beginTransparencyLayer();
        context.fillRect({{0, 0}, {1, 1}});
        context.setAlpha(0.5);
        context.fillRect({{1, 0}, {1, 1}});
        context.endTransparencyLayer();
        context.fillRect({{2, 0}, {1, 1}});
    });
    EXPECT_NEAR(storedPixelAt(pixels, 0, 0).a, 0.4 * 255, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 1, 0).a, 0.2 * 255, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 2, 0).a, 0.4 * 255, 1);
}

TEST(TransparencyLayer, LayersNest)
{
    const PixelBuffer pixels = drawn(1, 1, [](RasterContext& context) {
        context.setAlpha(0.5);
        context.beginTransparencyLayer();
        context.setAlpha(0.5);
        context.beginTransparencyLayer();
        fillAll(context, red);
        fillAll(context, green);
        context.endTransparencyLayer();
        context.endTransparencyLayer();
    });
    EXPECT_NEAR(storedPixelAt(pixels, 0, 0).g, 64, 1);
    EXPECT_EQ(storedPixelAt(pixels, 0, 0).r, 0);
}

TEST(TransparencyLayer, TheClipAtTheBeginningHoldsTheGroup)
{
    const PixelBuffer pixels = drawn(4, 1, [](RasterContext& context) {
        context.clipToPath(Path::rect({{1.5, 0}, {5, 1}}), FillRule::winding);
        context.setAlpha(0.99);
        context.beginTransparencyLayer();
        context.clipToPath(Path::rect({{0, 0}, {3, 1}}), FillRule::winding);
        fillAll(context, black);
        context.endTransparencyLayer();
    });
    EXPECT_EQ(alphaPicture(pixels), ".59.\n");
}

TEST(TransparencyLayer, BoundsDoNotCutAntiAliasedEdges)
{
    const auto drawnWith = [](const TransparencyLayerHints& hints) {
        return drawn(12, 12, [&](RasterContext& context) {
            context.setAlpha(0.7);
            context.setShadow(RasterShadow{{1, 1}, 3, black});
            context.beginTransparencyLayer(hints);
            context.setFillColor(red);
            context.fillPath(Path::ellipse({{2.3, 2.7}, {6.4, 5.1}}), FillRule::winding);
            context.endTransparencyLayer();
        });
    };
    EXPECT_LE(greatestDifference(drawnWith({}), drawnWith({.bounds = CGRect{{2.3, 2.7}, {6.4, 5.1}}, .coverage = {}})), 1);
}

TEST(RasterContext, WhatIsNotANumberPaintsNothingAndLeavesLaterPaintsAlone)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    const Path someBox = Path::roundedRect({{{2, 2}, {4, 4}}, 1});
    struct Case {
        const char* what;
        std::function<void(RasterContext&)> draw;
    };
    const std::vector<Case> cases{
        {"rect with NaN", [&](RasterContext& c) { c.fillRect({{nan, 0}, {4, 4}}); }},
        {"rect with NaN width", [&](RasterContext& c) { c.fillRect({{0, 0}, {nan, 4}}); }},
        {"infinite rect", [&](RasterContext& c) { c.fillRect({{-infinity, 0}, {infinity, 4}}); }},
        {"null rect", [&](RasterContext& c) { c.fillRect(CGRect::null()); }},
        {"curve with NaN",
         [&](RasterContext& c) {
             Path path;
             path.moveTo({0, 0});
             path.curveTo({1, nan}, {2, 2}, {8, 8});
             path.lineTo({0, 8});
             c.fillPath(path, FillRule::winding);
             c.strokePath(path);
         }},
        {"NaN in the transform",
         [&](RasterContext& c) {
             c.scaleCTM(nan, 1);
             c.fillPath(someBox, FillRule::winding);
             c.strokePath(someBox);
         }},
        {"infinite transform",
         [&](RasterContext& c) {
             c.translateCTM(infinity, 1);
             c.fillPath(someBox, FillRule::winding);
             c.strokePath(someBox);
         }},
        {"scale of 0",
         [&](RasterContext& c) {
             c.scaleCTM(0, 1);
             c.fillPath(someBox, FillRule::winding);
             c.strokePath(someBox);
         }},
        {"scale of 0 both ways",
         [&](RasterContext& c) {
             c.scaleCTM(0, 0);
             c.fillPath(outlineOf({{{2, 2}, {4, 4}}, 1}), FillRule::winding);
             c.strokePath(outlineOf({{{2, 2}, {4, 4}}, 1}));
         }},
        {"singular without zeros",
         [&](RasterContext& c) {
             c.concatCTM({1, 2, 2, 4, 0, 0});
             c.fillPath(someBox, FillRule::winding);
             c.strokePath(someBox);
         }},
        {"line width NaN",
         [&](RasterContext& c) {
             c.setLineWidth(nan);
             c.strokePath(someBox);
         }},
        {"line width infinite",
         [&](RasterContext& c) {
             c.setLineWidth(infinity);
             c.strokePath(someBox);
         }},
        {"line width 0",
         [&](RasterContext& c) {
             c.setLineWidth(0);
             c.strokePath(someBox);
         }},
        {"line width negative",
         [&](RasterContext& c) {
             c.setLineWidth(-3);
             c.strokePath(someBox);
         }},
        {"alpha NaN",
         [&](RasterContext& c) {
             c.setAlpha(nan);
             c.fillPath(someBox, FillRule::winding);
         }},
        {"colour alpha NaN",
         [&](RasterContext& c) {
             c.setFillColor({0, 0, 0, nan});
             c.fillPath(someBox, FillRule::winding);
         }},
        {"clip with NaN",
         [&](RasterContext& c) {
             c.clipToPath(Path::rect({{nan, 0}, {4, 4}}), FillRule::winding);
             c.fillPath(someBox, FillRule::winding);
         }},
        {"clip under a NaN transform",
         [&](RasterContext& c) {
             c.scaleCTM(1, nan);
             c.clipToPath(someBox, FillRule::winding);
             c.fillPath(someBox, FillRule::winding);
         }},
        {"empty path",
         [&](RasterContext& c) {
             c.fillPath({}, FillRule::winding);
             c.strokePath({});
         }},
        {"layer under a NaN transform",
         [&](RasterContext& c) {
             c.setShadow(RasterShadow{{0, 2}, 4, black});
             c.setAlpha(0.5);
             c.scaleCTM(nan, nan);
             c.beginTransparencyLayer({.bounds = CGRect{{0, 0}, {4, 4}}, .coverage = {{{{{2, 2}, {4, 4}}, 1}, 1}}});
             c.fillPath(someBox, FillRule::winding);
             c.endTransparencyLayer();
         }},
        {"layer with NaN bounds",
         [&](RasterContext& c) {
             c.setAlpha(0.5);
             c.beginTransparencyLayer({.bounds = CGRect{{nan, 0}, {4, 4}}, .coverage = {}});
             c.fillPath(someBox, FillRule::winding);
             c.endTransparencyLayer();
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PixelBuffer pixels = drawn(8, 8, [&](RasterContext& context) {
            SavedState saved(context);
            c.draw(context);
        });
        EXPECT_EQ(pixelHash(pixels), pixelHash(PixelBuffer(8, 8)));
        const PixelBuffer later = drawn(8, 8, [&](RasterContext& context) {
            {
                SavedState saved(context);
                c.draw(context);
            }
            context.fillPath(Path::ellipse({{-20, -20}, {50, 50}}), FillRule::winding);
        });
        EXPECT_EQ(storedPixelAt(later, 4, 4).a, 255);
    }
}

TEST(RasterContext, ShapesFarLargerThanTheRasterAreCutToIt)
{
    for (const double size : {1e6, 1e8, 1e12, 1e300}) {
        SCOPED_TRACE(size);
        const PixelBuffer box = drawn(4, 2, [&](RasterContext& context) {
            context.fillPath(Path::roundedRect({{{2, -size}, {size, 2 * size}}, 0}), FillRule::winding);
        });
        EXPECT_EQ(alphaPicture(box), "..##\n"
                                     "..##\n");
        const PixelBuffer outline = drawn(4, 2, [&](RasterContext& context) {
            context.fillPath(outlineOf({{{2, -size}, {size, 2 * size}}, 0}), FillRule::winding);
        });
        EXPECT_EQ(alphaPicture(outline), "..##\n"
                                         "..##\n");
        const PixelBuffer clipped = drawn(4, 2, [&](RasterContext& context) {
            Path outside = Path::rect({{-size, -size}, {2 * size, 2 * size}});
            outside.add(outlineOf({{{2, 0}, {1, 1}}, 0}));
            context.clipToPath(outside, FillRule::evenOdd);
            fillAll(context, black);
        });
        EXPECT_EQ(alphaPicture(clipped), "##.#\n"
                                         "####\n");
    }
}

TEST(RasterContext, ATriangleThatReachesFarKeepsItsSlope)
{
    const PixelBuffer pixels = drawn(4, 4, [](RasterContext& context) {
        Path triangle;
        triangle.moveTo({0, 0});
        triangle.lineTo({1e9, 1e9});
        triangle.lineTo({0, 1e9});
        triangle.close();
        context.fillPath(triangle, FillRule::winding);
    });
    EXPECT_EQ(alphaPicture(pixels), "5...\n"
                                    "#5..\n"
                                    "##5.\n"
                                    "###5\n");
}

TEST(RasterContext, HugeWidthsAndBlursAreDrawnInBoundedTime)
{
    const PixelBuffer pixels = drawn(16, 16, [](RasterContext& context) {
        context.setShadow(RasterShadow{{1e9, -1e9}, 1e12, black});
        context.setLineWidth(1e15);
        context.strokePath(outlineOf({{{2, 2}, {4, 4}}, 1}));
        context.setShadow(RasterShadow{{0, 0}, 1e12, black});
        context.setFillColor(white);
        context.fillPath(Path::ellipse({{-1e7, -1e7}, {2e7, 2e7}}), FillRule::winding);
    });
    EXPECT_EQ(storedPixelAt(pixels, 8, 8), (StoredPixel{.r = 255, .g = 255, .b = 255, .a = 255}));
}

void drawEverything(RasterContext& context)
{
    fillAll(context, white);
    for (int i = 0; i < 6; ++i) {
        SavedState saved(context);
        context.translateCTM(10.3 * i, 7.7 * i);
        context.setShadow(RasterShadow{{2, 5}, 3.0 + 4 * i, {0, 0, 0, 0.5}});
        context.setAlpha(1 - 0.1 * i);
        context.beginTransparencyLayer({.bounds = CGRect{{0, 0}, {60, 40}}, .coverage = {}});
        context.setFillColor({0.1 * i, 0.5, 1, 0.8});
        context.fillPath(Path::roundedRect({{{0, 0}, {60, 40}}, 9}), FillRule::winding);
        context.fillPath(Path::ellipse({{5, 5}, {30, 20}}), FillRule::winding);
        context.endTransparencyLayer();
        context.concatCTM(AffineTransform{}.rotatedBy(0.3));
        context.strokePath(Path::roundedRect({{{0, 0}, {30, 20}}, 5}));
    }
}

TEST(RasterContext, APictureIsTheSameOnEveryThread)
{
    const auto hash = [] { return pixelHash(drawn(160, 120, drawEverything)); };
    const std::uint64_t expected = hash();
    std::vector<std::uint64_t> found(4);
    {
        std::vector<std::jthread> threads;
        for (std::uint64_t& result : found) threads.emplace_back([&result, &hash] { result = hash(); });
    }
    for (const std::uint64_t result : found) EXPECT_EQ(result, expected);
}

TEST(RasterContext, ARasterOfTheLargestSideCanBeDrawnInto)
{
    const PixelBuffer pixels = drawn(static_cast<int>(PixelBuffer::maximumSide), 1, [](RasterContext& context) {
        context.fillPath(Path::ellipse({{32000, -1000}, {10000, 2000}}), FillRule::winding);
    });
    EXPECT_EQ(storedPixelAt(pixels, static_cast<int>(PixelBuffer::maximumSide) - 1, 0).a, 255);
}

} // namespace
} // namespace larkspool
