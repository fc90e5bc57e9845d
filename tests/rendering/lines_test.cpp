#include "rendering/lines.h"

#include "rendering/path_measure.h"
#include "rendering/rendering_fixture.h"
#include "rendering/shapes.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"

#include <cmath>
#include <cstring>
#include <functional>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

const CGRect box{{0, 0}, {100, 40}};

void expectPoint(CGPoint actual, CGPoint expected, double tolerance = 1e-9)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
}

Layer line(std::initializer_list<CGPoint> points)
{
    return {.kind = Layer::Kind::line, .stroke = red, .strokeWidth = 4, .size = {100, 40}, .linePoints = points};
}

Layer preset(LineShape shape)
{
    return {.kind = Layer::Kind::line, .stroke = red, .strokeWidth = 4, .size = {100, 40}, .lineShape = shape};
}

/// The area of the line that is stroked first, without the line's width.
CGRect strokedArea(const Layer& layer)
{
    RecordingRasterContext context;
    Exporter::drawLineBody(layer, context);
    for (const RasterOperation::Any& operation : context.operations())
        if (const auto* stroke = std::get_if<RasterOperation::StrokePath>(&operation)) return stroke->path.bounds();
    return CGRect::null();
}

PixelBuffer drawn(Layer layer)
{
    layer.transform.x = 10;
    layer.transform.y = 10;
    return drawnFrame(sceneWith({120, 60}, {layer}));
}

TEST(Arrows, MeasuresGrowWithTheStrokeFromAFloor)
{
    struct Case { double width, size, stroke, inset; };
    for (const Case& c : {Case{0, 6, 1, 0.5}, Case{1, 6, 1, 0.5}, Case{4, 14, 2.4, 1.2}, Case{10, 35, 6, 3}}) {
        const ArrowMeasures measures = arrowMeasures(c.width);
        EXPECT_DOUBLE_EQ(measures.size, c.size);
        EXPECT_DOUBLE_EQ(measures.stroke, c.stroke);
        EXPECT_DOUBLE_EQ(measures.strokeInset, c.inset);
    }
}

TEST(Arrows, AHeadIsATriangleBehindItsTip)
{
    // Pointing right: the tip is set back by 1, the base lies 10 behind it and is 11 wide.
    const Path head = arrowheadPath({50, 20}, {0, 20}, 10, 1);
    ASSERT_EQ(head.elements().size(), 4u);
    expectPoint(head.elements()[0].points[0], {49, 20});
    expectPoint(head.elements()[1].points[0], {39, 25.5});
    expectPoint(head.elements()[2].points[0], {39, 14.5});
}

TEST(Arrows, TheLineIsSetBackAtItsEndFirst)
{
    const auto both = trimEndsForArrows({{0, 0}, {100, 0}}, true, true, 10, 2);
    expectPoint(both[0], {12, 0});
    expectPoint(both[1], {88, 0});

    // A line of 10: the end takes 9.5 of it, the start 95 percent of the half point that is left.
    const auto squeezed = trimEndsForArrows({{0, 0}, {10, 0}}, true, true, 10, 2);
    expectPoint(squeezed[1], {0.5, 0});
    expectPoint(squeezed[0], {0.475, 0});
}

TEST(Arrows, ASegmentWithoutALengthKeepsItsPoint)
{
    const auto points = trimEndsForArrows({{5, 5}, {5, 5}}, true, true, 10, 2);
    expectPoint(points[0], {5, 5});
    EXPECT_EQ(trimEndsForArrows({{5, 5}}, true, true, 10, 2).size(), 1u);
}

TEST(Arcs, BendGrowsWithTheWidth)
{
    struct Case { double width, boost; };
    for (const Case& c : {Case{100, 1}, Case{200, 1}, Case{500, 1.5}, Case{800, 2}, Case{2000, 2}})
        EXPECT_DOUBLE_EQ(arcGeometry({{0, 0}, {c.width, 40}}, 0.5, false).control.y, 20 + 0.5 * 20 * c.boost);
}

TEST(Arcs, ReversingSwapsTheEnds)
{
    const ArcGeometry arc = arcGeometry(box, 0.5, true);
    expectPoint(arc.start, {100, 20});
    expectPoint(arc.end, {0, 20});
}

TEST(Arcs, WithoutABendAreStraightAndAsLongAsTheBox)
{
    EXPECT_DOUBLE_EQ(approximateArcLength(box, 0), 100);
    // Legs of hypot(50, 20): (100 + 2 * 53.8516) / 2.
    EXPECT_NEAR(approximateArcLength(box, 1), 103.8516, 1e-4);
}

TEST(Waves, FrequencyGoesInHalfCycles)
{
    struct Case { double frequency; std::size_t samples; int halfCycles; };
    for (const Case& c : {Case{1.3, 49, 3}, Case{1.2, 49, 2}, Case{0, 49, 1}, Case{-4, 49, 1}, Case{3, 97, 6}, Case{100, 513, 200},
                          Case{std::nan(""), 49, 1}}) {
        SCOPED_TRACE(c.frequency);
        const auto samples = waveSamples(box, c.frequency, 1, false);
        EXPECT_EQ(samples.size(), c.samples);
        EXPECT_LT(samples[1].y, 20); // The first half goes up.
        int halfCycles = 0;
        bool below = true;
        for (const CGPoint& sample : samples) {
            if (std::abs(sample.y - 20) < 1e-6 || (sample.y > 20) == below) continue;
            below = !below;
            ++halfCycles;
        }
        EXPECT_EQ(halfCycles, c.halfCycles);
    }
    // 1.5 cycles: the end is at the middle, a third of the way is the end of the first half cycle.
    const auto samples = waveSamples(box, 1.5, 1, false);
    EXPECT_NEAR(samples[16].y, 20, 1e-9);
    EXPECT_NEAR(samples[8].y, 0, 1e-9);
    EXPECT_NEAR(samples[24].y, 40, 1e-9);
}

TEST(Waves, ANegativeAmplitudeIsAStraightLine)
{
    for (const CGPoint& point : waveSamples(box, 3, -1, false)) EXPECT_EQ(point.y, 20);
}

TEST(Waves, ReversedOnesRunFromRightToLeft)
{
    const auto samples = waveSamples(box, 3, 1, true);
    EXPECT_EQ(samples.front().x, 100);
    EXPECT_EQ(samples.back().x, 0);
}

TEST(Polylines, AreSampledByTheirLength)
{
    const std::vector<CGPoint> corner{{0, 0}, {10, 0}, {10, 30}};
    EXPECT_EQ(polylineLength(corner), 40);
    struct Case { double fraction; CGPoint point, ahead; };
    for (const Case& c : {Case{-1, {0, 0}, {10, 0}}, Case{0.125, {5, 0}, {10, 0}}, Case{0.25, {10, 0}, {10, 0}}, Case{0.5, {10, 10}, {10, 30}},
                          Case{2, {10, 30}, {10, 30}}}) {
        const auto sample = polylineSample(corner, c.fraction);
        ASSERT_TRUE(sample);
        expectPoint(sample->point, c.point);
        expectPoint(sample->ahead, c.ahead);
    }
    EXPECT_FALSE(polylineSample({{1, 1}}, 0.5));
    expectPoint(polylineSample({{1, 1}, {1, 1}}, 0.5)->ahead, {1, 1});
}

TEST(Lines, FewerThanTwoPointsPaintNothing)
{
    EXPECT_EQ(pixelAt(drawn(line({{50, 20}})), 60, 30), whitePixel);
}

TEST(Lines, WithoutALengthPaintNothing)
{
    for (const double progress : {0.5, 1.0}) {
        Layer layer = line({{50, 20}, {50, 20}});
        layer.lineDrawProgress = progress;
        EXPECT_EQ(pixelAt(drawn(layer), 60, 30), whitePixel);
    }
}

TEST(Lines, ADrawProgressOfNothingIsADot)
{
    Layer layer = line({{0, 20}, {100, 20}});
    layer.lineDrawProgress = 0;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 10, 30), redPixel);
    EXPECT_EQ(pixelAt(picture, 14, 30), whitePixel);
}

TEST(Lines, AReversedDrawStartsAtTheEndAndLeavesTheStartArrowAlone)
{
    Layer layer = line({{0, 20}, {100, 20}});
    layer.lineDrawProgress = 0.5;
    layer.lineDrawReversed = true;
    layer.lineArrowStart = true;
    layer.lineArrowEnd = true;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 90, 30), redPixel);
    EXPECT_EQ(pixelAt(picture, 40, 30), whitePixel);
    EXPECT_EQ(pixelAt(picture, 20, 30), redPixel);   // The start's head stands from the first moment.
    EXPECT_EQ(pixelAt(picture, 98, 35), whitePixel); // The end's does not before the finish.
}

TEST(Lines, TheEndArrowComesAtTheFinish)
{
    Layer layer = line({{0, 20}, {100, 20}});
    layer.lineArrowEnd = true;
    EXPECT_EQ(pixelAt(drawn(layer), 98, 35), redPixel);
}

TEST(Lines, APresetIsNeverThinnerThanHalfAPointAndAFreeformLineIs)
{
    Layer square = preset(LineShape::square);
    square.strokeWidth = 0;
    EXPECT_NEAR(pixelAt(drawn(square), 60, 10).g, 255 * 0.75, 3); // A quarter point of it lies on either side of the edge.
    Layer free = line({{0, 20.5}, {100, 20.5}});
    free.strokeWidth = 0;
    EXPECT_EQ(pixelAt(drawn(free), 60, 30), whitePixel);
}

TEST(Lines, OnlyArcsAndWavesAmongThePresetsHaveArrows)
{
    for (const LineShape shape : {LineShape::square, LineShape::circle, LineShape::triangle}) {
        Layer plain = preset(shape), flagged = preset(shape);
        flagged.lineArrowStart = flagged.lineArrowEnd = true;
        EXPECT_EQ(drawn(plain).row(20)[4 * 60], drawn(flagged).row(20)[4 * 60]);
        const PixelBuffer a = drawn(plain), b = drawn(flagged);
        for (int y = 0; y < a.height(); ++y) EXPECT_EQ(0, std::memcmp(a.row(y), b.row(y), 480));
    }
}

TEST(Lines, AReversedWaveHasItsStartArrowAtTheRight)
{
    Layer wave = preset(LineShape::wave);
    wave.lineWaveAmplitude = 0;
    wave.lineArrowStart = true;
    wave.lineArcReversed = true;
    const PixelBuffer picture = drawn(wave);
    EXPECT_EQ(pixelAt(picture, 98, 35), redPixel);
    EXPECT_EQ(pixelAt(picture, 22, 35), whitePixel);
}

TEST(Lines, TwoArrowsOnAShortWaveLeaveATenthOfIt)
{
    Layer wave = preset(LineShape::wave);
    wave.size = {10, 40};
    wave.lineWaveAmplitude = 0;
    wave.strokeWidth = 1;
    wave.lineArrowStart = wave.lineArrowEnd = true;
    // Heads of 6 on a line of 10 would take more than there is: 0.45 each.
    EXPECT_NEAR(strokedArea(wave).minX(), 4.5, 1e-6);
    EXPECT_NEAR(strokedArea(wave).maxX(), 5.5, 1e-6);
}

TEST(Lines, ArrowsOnAnArcWithoutABendTakeTheirSizeOfItsWidth)
{
    Layer arc = preset(LineShape::arc);
    arc.lineArcBend = 0;
    arc.lineArrowStart = arc.lineArrowEnd = true;
    // Heads of 14 on a straight line of 100.
    const CGRect area = strokedArea(arc);
    EXPECT_NEAR(area.minX(), 14, 0.05);
    EXPECT_NEAR(area.maxX(), 86, 0.05);
    EXPECT_EQ(area.minY(), 20);
    EXPECT_EQ(area.maxY(), 20);
}

TEST(Lines, TheirBoundsHoldAllThatIsPaintedAndLittleMore)
{
    std::vector<Layer> layers{line({{0, 40}, {30, 0}, {60, 40}, {100, 10}}), line({{0, 20}, {100, 20}}), line({{50, 0}, {50, 5}})};
    for (const LineShape shape : {LineShape::square, LineShape::circle, LineShape::triangle, LineShape::arc, LineShape::wave})
        layers.push_back(preset(shape));
    for (Layer layer : layers) {
        for (const bool arrows : {false, true}) {
            SCOPED_TRACE(testing::Message() << fileValue(layer.lineShape) << (arrows ? " with arrows" : ""));
            layer.lineCurved = layer.lineArrowStart = layer.lineArrowEnd = arrows;
            layer.lineArcBend = 1;
            layer.transform.x = layer.transform.y = 60;
            const PixelBuffer picture = drawnFrame(sceneWith({220, 160}, {layer}));
            CGRect painted = CGRect::null();
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.width(); ++x)
                    if (pixelAt(picture, x, y) != whitePixel) painted = unionOf(painted, {{x - 60.0, y - 60.0}, {1, 1}});

            const CGRect bounds = lineBounds(layer);
            EXPECT_EQ(bodyHints(layer).bounds, bounds);
            EXPECT_GT(painted.minX() + 1, bounds.minX());
            EXPECT_GT(painted.minY() + 1, bounds.minY());
            EXPECT_LT(painted.maxX() - 1, bounds.maxX());
            EXPECT_LT(painted.maxY() - 1, bounds.maxY());
            EXPECT_LT(bounds.size.width, painted.size.width + 40);
            EXPECT_LT(bounds.size.height, painted.size.height + 60);
        }
    }
    EXPECT_TRUE(lineBounds(line({{50, 20}})).isNull());
}

TEST(Lines, AHeadBeyondItsBoxIsPartOfTheShadow)
{
    Layer layer = line({{100, 20}, {20, 20}});
    layer.lineArrowEnd = true;
    layer.shadow = ShadowPreset::low;
    layer.opacity = 0.5;
    layer.size = {1, 1};
    // The head's lower corner, 7.7 below the line, is painted although the layer's own box is far from it.
    EXPECT_LT(pixelAt(drawn(layer), 43, 36).g, 140); // Half of red.
}

TEST(LineGoldens, EveryShapeArrowAndTrim)
{
    Array<Layer> layers;
    auto add = [&layers, n = 0](Layer layer) mutable {
        layer.stroke = {0.25, 0.4, 0.9, 1};
        layer.transform.x = 20 + 130 * (n % 5);
        layer.transform.y = 20 + 70 * (n / 5);
        ++n;
        layers.append(layer);
    };
    const std::initializer_list<CGPoint> zigzag{{0, 40}, {30, 0}, {60, 40}, {100, 10}};
    const auto with = [](Layer layer, const std::function<void(Layer&)>& change) {
        change(layer);
        return layer;
    };
    add(line(zigzag));
    add(with(line(zigzag), [](Layer& l) { l.lineCurved = true; }));
    add(with(line(zigzag), [](Layer& l) { l.lineCurved = l.lineArrowStart = l.lineArrowEnd = true; }));
    add(with(line(zigzag), [](Layer& l) { l.lineCurved = l.lineArrowEnd = true, l.lineDrawProgress = 0.6; }));
    add(with(line(zigzag), [](Layer& l) { l.lineArrowStart = true, l.lineDrawProgress = 0.5, l.lineDrawReversed = true; }));
    for (const LineShape shape : {LineShape::square, LineShape::circle, LineShape::triangle, LineShape::arc, LineShape::wave}) add(preset(shape));
    for (const LineShape shape : {LineShape::square, LineShape::circle, LineShape::triangle, LineShape::arc, LineShape::wave})
        add(with(preset(shape), [](Layer& l) { l.lineDrawProgress = 0.4, l.lineArrowEnd = l.lineArrowStart = true; }));
    add(with(preset(LineShape::arc), [](Layer& l) { l.lineArrowStart = l.lineArrowEnd = true, l.lineArcBend = 1; }));
    add(with(preset(LineShape::arc), [](Layer& l) { l.lineArrowStart = l.lineArrowEnd = l.lineArcReversed = true, l.lineArcBend = -1; }));
    add(with(preset(LineShape::wave), [](Layer& l) { l.lineArrowStart = l.lineArrowEnd = true; }));
    add(with(preset(LineShape::wave), [](Layer& l) { l.lineArrowEnd = true, l.lineDrawReversed = true, l.lineDrawProgress = 0.5; }));
    add(with(preset(LineShape::circle), [](Layer& l) { l.lineDrawReversed = true, l.lineDrawProgress = 0.7, l.strokeWidth = 1; }));
    EXPECT_GOLDEN(drawnFrame(sceneWith({670, 300}, layers), 0, CGSize{1340, 600}), "lines");
}

} // namespace
} // namespace larkspool
