#include "platform/raster_context.h"
#include "support/small_picture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <vector>

namespace larkspool {
namespace {

using Draw = std::function<void(RasterContext&)>;

const RasterColor black{0, 0, 0, 1}, white{1, 1, 1, 1}, red{1, 0, 0, 1};

Path polygon(const std::vector<CGPoint>& points)
{
    Path path;
    path.moveTo(points.front());
    for (std::size_t i = 1; i < points.size(); ++i) path.lineTo(points[i]);
    path.close();
    return path;
}

/// The outline of a box, not known to be one.
Path slowBox(const RoundedRect& box)
{
    Path path = Path::roundedRect(box);
    path.moveTo(box.rect.origin);
    return path;
}

/// Draws the shadow alone: what casts it lies far to the left of the raster.
PixelBuffer shadowOf(int width, int height, double blur, const Draw& draw)
{
    return drawn(width, height, [&](RasterContext& context) {
        context.setShadow(RasterShadow{{2000, 0}, blur, black});
        context.translateCTM(-2000, 0);
        draw(context);
    });
}

/// The alpha of the picture convolved with a Gaussian, pixel by pixel and in double precision.
std::vector<double> convolvedAlpha(const PixelBuffer& pixels, double sigma)
{
    const int width = pixels.width(), height = pixels.height();
    const int radius = static_cast<int>(std::ceil(5 * sigma)) + 1;
    std::vector<double> kernel;
    double sum = 0;
    for (int i = -radius; i <= radius; ++i) sum += kernel.emplace_back(std::exp(-0.5 * i * i / (sigma * sigma)));
    for (double& weight : kernel) weight /= sum;

    const auto at = [&](const std::vector<double>& values, int x, int y) {
        return x >= 0 && x < width && y >= 0 && y < height ? values[static_cast<std::size_t>(y * width + x)] : 0.0;
    };
    std::vector<double> alpha, across, both;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) alpha.push_back(storedPixelAt(pixels, x, y).a);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double value = 0;
            for (int i = -radius; i <= radius; ++i) value += kernel[static_cast<std::size_t>(i + radius)] * at(alpha, x + i, y);
            across.push_back(value);
        }
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double value = 0;
            for (int i = -radius; i <= radius; ++i) value += kernel[static_cast<std::size_t>(i + radius)] * at(across, x, y + i);
            both.push_back(value);
        }
    return both;
}

double greatestError(const PixelBuffer& shadow, const std::vector<double>& exact)
{
    double greatest = 0;
    for (int y = 0; y < shadow.height(); ++y)
        for (int x = 0; x < shadow.width(); ++x)
            greatest = std::max(
                greatest, std::abs(storedPixelAt(shadow, x, y).a - exact[static_cast<std::size_t>(y * shadow.width() + x)]));
    return greatest;
}

TEST(Shadow, IsATrueGaussianOfWhatIsPainted)
{
    struct Case {
        const char* what;
        Draw draw;
    };
    const auto fill = [](Path path, FillRule rule = FillRule::winding) {
        return [path = std::move(path), rule](RasterContext& context) { context.fillPath(path, rule); };
    };
    const RoundedRect box{{{40.3, 50.6}, {110, 70}}, 18};
    Path ring = Path::roundedRect(box);
    ring.add(Path::roundedRect({insetBy(box.rect, 3, 3), 15}));
    Path letters = polygon({{50, 60}, {56, 60}, {56, 100}, {70, 100}, {70, 106}, {50, 106}});
    letters.add(polygon({{90, 60}, {110, 60}, {110, 64}, {102, 64}, {102, 106}, {98, 106}, {98, 64}, {90, 64}}));
    letters.add(Path::ellipse({{120, 80}, {22, 26}}));
    letters.add(Path::ellipse({{125, 85}, {12, 16}}));
    const std::vector<Case> cases{
        {"rounded box", fill(Path::roundedRect(box))},
        {"sharp box", fill(Path::rect({{40.5, 50.25}, {120, 60}}))},
        {"tiny box", fill(Path::rect({{90, 90}, {3, 2}}))},
        {"pill", fill(Path::roundedRect({{{40, 60}, {92, 26}}, 13}))},
        {"disc as a box", fill(Path::roundedRect({{{60, 60}, {80, 80}}, 40}))},
        {"ring of two boxes", fill(ring, FillRule::evenOdd)},
        {"outline of a box", fill(slowBox(box))},
        {"ellipse", fill(Path::ellipse({{40, 50}, {120, 60}}))},
        {"text-like", fill(letters, FillRule::evenOdd)},
        {"thin stroke of a box", [&](RasterContext& context) { context.strokePath(Path::roundedRect(box)); }},
        {"thin stroke of an ellipse",
         [&](RasterContext& context) {
             context.setLineWidth(1.5);
             context.strokePath(Path::ellipse(box.rect));
         }},
        {"turned box",
         [&](RasterContext& context) {
             context.concatCTM(AffineTransform{}.translatedBy(100, 100).rotatedBy(0.4).translatedBy(-100, -100));
             context.fillPath(Path::roundedRect(box), FillRule::winding);
         }},
    };
    // The shapes lie within 40...165 on both axes; the widest shadows get more room to fade.
    for (const Case& c : cases) {
        for (const double blur : {0.5, 1.0, 2.0, 4.0, 6.0, 8.0, 12.0, 18.0, 20.0, 40.0, 48.0, 80.0}) {
            const int margin = blur > 70 ? 60 : 0;
            const Draw draw = [&](RasterContext& context) {
                context.translateCTM(margin, margin);
                c.draw(context);
            };
            const int side = 200 + 2 * margin;
            const PixelBuffer painted = drawn(side, side, draw);
            const double error = greatestError(shadowOf(side, side, blur, draw), convolvedAlpha(painted, blur / 2));
            EXPECT_LT(error, 2.0) << c.what << ", blur " << blur;
        }
    }
}

TEST(Shadow, OfALightColourIsTrueToItsFaintEdge)
{
    const Draw draw = [](RasterContext& context) {
        context.fillPath(Path::roundedRect({{{60, 70}, {130, 100}}, 18}), FillRule::winding);
    };
    constexpr int side = 250;
    const PixelBuffer painted = drawn(side, side, draw);
    for (const double blur : {3.0, 8.0, 16.0, 30.0}) {
        const std::vector<double> full = convolvedAlpha(painted, blur / 2);
        for (const double alpha : {0.003, 0.02, 0.1, 0.35, 0.8}) {
            const PixelBuffer shadow = drawn(side, side, [&](RasterContext& context) {
                context.setShadow(RasterShadow{{2000, 0}, blur, {0, 0, 0, alpha}});
                context.translateCTM(-2000, 0);
                draw(context);
            });
            std::vector<double> exact;
            for (const double value : full) exact.push_back(value * alpha);
            // Half a level for storing it, as much for the blur.
            EXPECT_LT(greatestError(shadow, exact), 1.0) << "blur " << blur << ", alpha " << alpha;
        }
    }
}

TEST(Shadow, WithoutABlurIsTheShapeItself)
{
    const PixelBuffer pixels = shadowOf(6, 3, 0, [](RasterContext& context) { context.fillRect({{1, 1}, {2.5, 1}}); });
    EXPECT_EQ(alphaPicture(pixels), "......\n"
                                    ".##5..\n"
                                    "......\n");
}

TEST(Shadow, FallsByTheOffsetToTheRightAndDown)
{
    const PixelBuffer pixels = drawn(6, 4, [](RasterContext& context) {
        context.setShadow(RasterShadow{{3, 2}, 0, black});
        context.setFillColor(red);
        context.fillRect({{0, 0}, {2, 2}});
    });
    EXPECT_EQ(alphaPicture(pixels), "##....\n"
                                    "##....\n"
                                    "...##.\n"
                                    "...##.\n");
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), (StoredPixel{.r = 255, .a = 255}));
    EXPECT_EQ(storedPixelAt(pixels, 4, 3), (StoredPixel{.a = 255}));
}

TEST(Shadow, AFractionOfAPixelInTheOffsetCounts)
{
    for (const bool asBox : {true, false}) {
        SCOPED_TRACE(asBox);
        const PixelBuffer pixels = drawn(6, 1, [&](RasterContext& context) {
            context.setShadow(RasterShadow{{3.5, 0}, 0, black});
            const RoundedRect box{{{-1, 0}, {2, 1}}, 0};
            context.fillPath(asBox ? Path::roundedRect(box) : slowBox(box), FillRule::winding);
        });
        EXPECT_EQ(alphaPicture(pixels), "#.5#5.\n");
    }
}

TEST(Shadow, OffsetAndBlurDoNotFollowTheTransform)
{
    const RasterShadow shadow{{4, 6}, 6, black};
    const PixelBuffer scaledUp = drawn(40, 40, [&](RasterContext& context) {
        context.setShadow(shadow);
        context.scaleCTM(4, 4);
        context.fillRect({{2, 2}, {4, 4}});
    });
    const PixelBuffer asItIs = drawn(40, 40, [&](RasterContext& context) {
        context.setShadow(shadow);
        context.fillRect({{8, 8}, {16, 16}});
    });
    EXPECT_EQ(greatestDifference(scaledUp, asItIs), 0);
}

TEST(Shadow, ItsAlphaIsThatOfColourPaintAndState)
{
    const PixelBuffer pixels = drawn(20, 4, [](RasterContext& context) {
        context.setShadow(RasterShadow{{10, 0}, 0, {1, 1, 1, 0.5}});
        context.setAlpha(0.8);
        context.setFillColor({0, 0, 0, 0.5});
        context.fillRect({{2, 0}, {4, 4}});
    });
    EXPECT_NEAR(storedPixelAt(pixels, 14, 2).a, 0.5 * 0.8 * 0.5 * 255, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 14, 2).r, 0.5 * 0.8 * 0.5 * 255, 1);
}

TEST(Shadow, LiesBelowThePaintThatCastsIt)
{
    const PixelBuffer pixels = drawn(20, 20, [](RasterContext& context) {
        context.setFillColor(white);
        context.fillRect({{0, 0}, {20, 20}});
        context.setShadow(RasterShadow{{0, 2}, 4, black});
        context.setFillColor({1, 0, 0, 0.5});
        context.fillRect({{4, 4}, {12, 12}});
    });
    // Red at a half over black at a half over white: the shadow of the half transparent paint is as dense as the paint.
    EXPECT_NEAR(storedPixelAt(pixels, 10, 10).r, 127.5 + 0.5 * 127.5, 3);
    EXPECT_NEAR(storedPixelAt(pixels, 10, 10).g, 0.25 * 255, 3);
}

TEST(Shadow, EachPaintCastsItsOwnOnWhatLiesBelow)
{
    const PixelBuffer pixels = drawn(12, 1, [](RasterContext& context) {
        context.setShadow(RasterShadow{{4, 0}, 0, {0, 0, 0, 0.5}});
        context.setFillColor(white);
        context.fillRect({{4, 0}, {4, 1}}); // Its shadow lies at 8...12.
        context.fillRect({{0, 0}, {4, 1}}); // Its shadow darkens the first paint.
    });
    EXPECT_EQ(storedPixelAt(pixels, 2, 0).r, 255);
    EXPECT_NEAR(storedPixelAt(pixels, 6, 0).r, 127, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 10, 0).a, 128, 1);
}

TEST(Shadow, OfALayerIsCastOnceByTheWhole)
{
    const PixelBuffer pixels = drawn(16, 1, [](RasterContext& context) {
        context.setShadow(RasterShadow{{8, 0}, 0, {0, 0, 0, 0.5}});
        context.beginTransparencyLayer();
        context.setFillColor(white);
        context.fillRect({{0, 0}, {4, 1}});
        context.fillRect({{2, 0}, {6, 1}});
        context.endTransparencyLayer();
    });
    EXPECT_EQ(alphaPicture(pixels), "########55555555\n");
    EXPECT_EQ(storedPixelAt(pixels, 3, 0).r, 255); // No paint of the layer darkens another.
}

TEST(Shadow, ComesBackAfterALayer)
{
    const PixelBuffer pixels = drawn(16, 1, [](RasterContext& context) {
        context.setShadow(RasterShadow{{8, 0}, 0, {0, 0, 0, 0.5}});
        context.beginTransparencyLayer();
        context.fillRect({{0, 0}, {2, 1}});
        context.endTransparencyLayer();
        context.fillRect({{4, 0}, {2, 1}});
    });
    EXPECT_EQ(alphaPicture(pixels), "##..##..55..55..\n");
}

TEST(Shadow, OfALayerHasTheAlphaAtItsBeginning)
{
    const PixelBuffer pixels = drawn(16, 1, [](RasterContext& context) {
        context.setShadow(RasterShadow{{8, 0}, 0, black});
        context.setAlpha(0.5);
        context.beginTransparencyLayer();
        context.fillRect({{0, 0}, {8, 1}});
        context.endTransparencyLayer();
    });
    EXPECT_EQ(alphaPicture(pixels), "5555555555555555\n");
}

TEST(Shadow, OfALayerIsCastByWhatLiesOutsideTheRaster)
{
    const PixelBuffer pixels = drawn(4, 1, [](RasterContext& context) {
        context.setShadow(RasterShadow{{10, 0}, 0, black});
        context.setAlpha(0.5);
        context.beginTransparencyLayer();
        context.fillRect({{-9, 0}, {2, 1}});
        context.endTransparencyLayer();
    });
    EXPECT_EQ(alphaPicture(pixels), ".55.\n");
}

TEST(Shadow, StaysWithinTheClip)
{
    for (const double edge : {8.0, 8.5}) {
        SCOPED_TRACE(edge);
        const PixelBuffer pixels = drawn(16, 1, [&](RasterContext& context) {
            context.clipToPath(Path::rect({{0, 0}, {edge, 1}}), FillRule::winding);
            context.setShadow(RasterShadow{{6, 0}, 0, black});
            context.setFillColor(red);
            context.fillRect({{0, 0}, {4, 1}});
        });
        EXPECT_EQ(alphaPicture(pixels), edge == 8 ? "####..##........\n" : "####..##5.......\n");
    }
}

TEST(Shadow, IsTheSameWithinAnyClipAndAbsentOutside)
{
    constexpr int width = 260, height = 150;
    const auto drawnWithin = [](const CGRect& clip, double boxWidth, double blur, bool ring) {
        return drawn(width, height, [&](RasterContext& context) {
            context.clipToPath(Path::rect(clip), FillRule::winding);
            context.setShadow(RasterShadow{{2000, 0}, blur, {0, 0, 0, 0.9}});
            context.translateCTM(-2000, 0);
            const RoundedRect box{{{20.4, 30.7}, {boxWidth, 80}}, 15};
            Path path = Path::roundedRect(box);
            if (ring) path.add(Path::roundedRect({insetBy(box.rect, 4, 4), 11}));
            context.fillPath(path, FillRule::evenOdd);
        });
    };
    EXPECT_TRUE(rc::check("a clip cuts a shadow and changes nothing else", [&] {
        const int left = *rc::gen::inRange(0, width), top = *rc::gen::inRange(0, height);
        const int right = *rc::gen::inRange(left, width) + 1, bottom = *rc::gen::inRange(top, height) + 1;
        const double boxWidth = *rc::gen::element(40.0, 130.0, 210.0), blur = *rc::gen::element(3.0, 6.0, 12.0, 24.0, 40.0);
        const bool ring = *rc::gen::arbitrary<bool>();
        const CGRect clip{{left * 1.0, top * 1.0}, {right - left * 1.0, bottom - top * 1.0}};
        const PixelBuffer cut = drawnWithin(clip, boxWidth, blur, ring);
        const PixelBuffer whole = drawnWithin({{0, 0}, {width, height}}, boxWidth, blur, ring);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const bool within = x >= left && x < right && y >= top && y < bottom;
                const int expected = within ? storedPixelAt(whole, x, y).a : 0;
                // What is computed stands elsewhere between the pixels, and errs by another part of a level.
                RC_ASSERT(std::abs(storedPixelAt(cut, x, y).a - expected) <= (within ? 1 : 0));
            }
    }));
}

TEST(Shadow, UnderAnOpaquePaintIsLeftOutWithoutATrace)
{
    // An alpha that rounds to opaque, but is not, lets nothing be left out.
    constexpr double nearlyOpaque = 1 - 1e-9;
    const auto drawnWith = [](const RoundedRect& box, double blur, double alpha) {
        return drawn(120, 90, [&](RasterContext& context) {
            context.setFillColor({0.9, 0.8, 0.7, 1});
            context.fillRect({{0, 0}, {120, 90}});
            context.setShadow(RasterShadow{{3, 7}, blur, {0, 0.1, 0.3, 0.6}});
            context.setAlpha(alpha);
            context.setFillColor(white);
            context.fillPath(Path::roundedRect(box), FillRule::winding);
        });
    };
    EXPECT_TRUE(rc::check("an opaque box hides its shadow", [&] {
        const double x = *rc::gen::inRange(-300, 800) / 10.0, y = *rc::gen::inRange(-300, 600) / 10.0;
        const double width = *rc::gen::inRange(1, 900) / 10.0, height = *rc::gen::inRange(1, 700) / 10.0;
        const double radius = std::min(width, height) / 2 * *rc::gen::inRange(0, 11) / 10;
        const double blur = *rc::gen::inRange(0, 400) / 10.0;
        const RoundedRect box{{{x, y}, {width, height}}, radius};
        RC_ASSERT(pixelHash(drawnWith(box, blur, 1)) == pixelHash(drawnWith(box, blur, nearlyOpaque)));
    }));
}

const AffineTransform turned = AffineTransform{}.translatedBy(40, 0).rotatedBy(0.3);

PixelBuffer drawnLayer(const TransparencyLayerHints& hints, const AffineTransform& transform, double alpha, const Draw& draw)
{
    return drawn(200, 160, [&](RasterContext& context) {
        context.setFillColor({0.9, 0.9, 0.95, 1});
        context.fillRect({{0, 0}, {200, 160}});
        context.setShadow(RasterShadow{{0, 12}, 18, {0, 0, 0, 0.4}});
        context.concatCTM(transform);
        context.setAlpha(alpha);
        context.beginTransparencyLayer(hints);
        draw(context);
        context.endTransparencyLayer();
    });
}

TEST(Shadow, OfALayerWhoseAlphaIsKnownIsThatOfWhatIsPainted)
{
    const RoundedRect box{{{30, 25}, {90, 60}}, 14};
    struct Case {
        const char* what;
        AffineTransform transform;
        double alpha;
        double fillAlpha;
    };
    for (const Case& c :
         {Case{"upright", {}, 1, 1}, Case{"between pixels", {.tx = 0.4, .ty = 0.7}, 1, 1},
          Case{"scaled", {1.3, 0, 0, 1.3, 0, 0}, 1, 1}, Case{"mirrored", {-1, 0, 0, 1, 150, 0}, 1, 1},
          Case{"turned", turned, 1, 1}, Case{"stretched", {1.2, 0, 0, 0.8, 0, 0}, 1, 1}, Case{"fading", {}, 0.5, 1},
          Case{"fading and turned", turned, 0.5, 1}, Case{"light", {}, 1, 0.6}, Case{"light and turned", turned, 1, 0.6}}) {
        SCOPED_TRACE(c.what);
        const Draw draw = [&](RasterContext& context) {
            context.setFillColor({1, 1, 1, c.fillAlpha});
            context.fillPath(Path::roundedRect(box), FillRule::winding);
        };
        const TransparencyLayerHints hints{.bounds = box.rect, .coverage = {{box, c.fillAlpha}}};
        const PixelBuffer slow = drawnLayer({}, c.transform, c.alpha, draw);
        EXPECT_LE(greatestDifference(drawnLayer(hints, c.transform, c.alpha, draw), slow), 2);
        EXPECT_LE(greatestDifference(drawnLayer({.bounds = box.rect, .coverage = {}}, c.transform, c.alpha, draw), slow), 1);
    }
}

TEST(Shadow, OfALayerWhoseAlphaIsKnownDoesNotShowThroughItsSeams)
{
    // A light ring and an opaque inside, whose anti-aliased edges meet along the inner outline.
    const RoundedRect box{{{30.3, 25.6}, {90, 60}}, 14}, inside{insetBy(box.rect, 2, 2), 12};
    const Draw draw = [&](RasterContext& context) {
        Path ring = Path::roundedRect(box);
        ring.add(Path::roundedRect(inside));
        context.setFillColor({1, 1, 1, 0.6});
        context.fillPath(ring, FillRule::evenOdd);
        context.setFillColor(white);
        context.fillPath(Path::roundedRect(inside), FillRule::winding);
    };
    for (const AffineTransform& transform : {AffineTransform{}, turned}) {
        const TransparencyLayerHints hints{.bounds = box.rect, .coverage = {{box, 0.6}, {inside, 0.4}}};
        const PixelBuffer fast = drawnLayer(hints, transform, 1, draw), slow = drawnLayer({}, transform, 1, draw);
        int differences = 0;
        for (int y = 0; y < fast.height(); ++y)
            for (int x = 0; x < fast.width(); ++x)
                differences += std::abs(storedPixelAt(fast, x, y).g - storedPixelAt(slow, x, y).g) > 2 ? 1 : 0;
        // The seam is 2 * (86 + 56) pixels long.
        EXPECT_LE(differences, 300);
        EXPECT_LE(greatestDifference(fast, slow), 10);
    }
}

TEST(Shadow, OfALayerWhoseAlphaIsKnownIsLeftOutFromSideToSide)
{
    // The anti-aliased edges of two opaque paints meet along a seam, three pixels within the outline. What lies below shows
    // through: a shadow must do so nowhere, and the picture is its own mirror image.
    const RoundedRect box{{{40.3, 25.6}, {119.4, 80}}, 14}, inside{insetBy(box.rect, 3, 3), 11};
    const PixelBuffer pixels = drawnLayer({.bounds = box.rect, .coverage = {{box, 1}}}, {}, 1, [&](RasterContext& context) {
        Path ring = Path::roundedRect(box);
        ring.add(Path::roundedRect(inside));
        context.setFillColor(white);
        context.fillPath(ring, FillRule::evenOdd);
        context.fillPath(Path::roundedRect(inside), FillRule::winding);
    });
    for (int y = 0; y < pixels.height(); ++y)
        for (int x = 0; x < pixels.width() / 2; ++x)
            ASSERT_NEAR(storedPixelAt(pixels, x, y).g, storedPixelAt(pixels, pixels.width() - 1 - x, y).g, 1) << x << ", " << y;
    // The ring covers three tenths of this pixel and the inside the rest; the grey below is a tenth darker than white.
    EXPECT_NEAR(storedPixelAt(pixels, 43, 65).g, 255 - 0.7 * 0.3 * 25.5, 1.5);
}

TEST(Shadow, WhatIsNotANumberCastsNone)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    for (const RasterShadow& shadow : {RasterShadow{{nan, 0}, 4, black}, RasterShadow{{0, infinity}, 4, black},
                                       RasterShadow{{0, 2}, nan, black}, RasterShadow{{0, 2}, 4, {0, 0, 0, nan}}}) {
        const auto drawnWith = [](const std::optional<RasterShadow>& cast, bool layered) {
            return drawn(20, 20, [&](RasterContext& context) {
                context.setShadow(cast);
                if (layered) context.setAlpha(0.5);
                if (layered) context.beginTransparencyLayer();
                context.fillPath(Path::ellipse({{4, 4}, {9, 8}}), FillRule::winding);
                if (layered) context.endTransparencyLayer();
            });
        };
        for (const bool layered : {false, true})
            EXPECT_EQ(pixelHash(drawnWith(shadow, layered)), pixelHash(drawnWith(std::nullopt, layered)));
    }
}

} // namespace
} // namespace larkspool
