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

std::string operationsOf(const Layer& layer)
{
    RecordingRasterContext context;
    Exporter::drawLineBody(layer, context);
    EXPECT_TRUE(context.isBalanced());
    return context.text();
}

struct Head {
    CGPoint tip;
    CGPoint base; ///< Its middle.
};

/// The arrow heads of a line, the start's first.
std::vector<Head> headsOf(const Layer& layer)
{
    RecordingRasterContext context;
    Exporter::drawLineBody(layer, context);
    std::vector<Head> heads;
    for (const RasterOperation::Any& operation : context.operations()) {
        const auto* fill = std::get_if<RasterOperation::FillPath>(&operation);
        if (!fill) continue;
        const std::vector<Path::Element>& corners = fill->path.elements();
        const CGPoint a = corners[1].points[0], b = corners[2].points[0];
        heads.push_back({corners[0].points[0], {(a.x + b.x) / 2, (a.y + b.y) / 2}});
    }
    return heads;
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

TEST(LinePaths, RunThroughTheirPointsStraightOrCurved)
{
    using Kind = Path::Element::Kind;
    EXPECT_TRUE(buildPath({}, true).empty());
    for (const bool curved : {false, true}) {
        const Path two = buildPath({{1, 2}, {3, 4}}, curved);
        ASSERT_EQ(two.elements().size(), 2u);
        EXPECT_EQ(two.elements()[0].kind, Kind::moveTo);
        EXPECT_EQ(two.elements()[1].kind, Kind::lineTo);
        expectPoint(two.elements()[1].points[0], {3, 4});
    }
    const Path straight = buildPath({{0, 0}, {60, 60}, {120, 0}}, false);
    ASSERT_EQ(straight.elements().size(), 3u);
    EXPECT_EQ(straight.elements()[2].kind, Kind::lineTo);
    const Path curved = buildPath({{0, 0}, {60, 60}, {120, 0}}, true);
    ASSERT_EQ(curved.elements().size(), 3u);
    EXPECT_EQ(curved.elements()[2].kind, Kind::curveTo);
    expectPoint(curved.elements()[2].points[0], {80, 60}); // A sixth of the way from the first point to the last.
    expectPoint(curved.elements()[2].points[2], {120, 0});
}

TEST(LinePresets, HaveTheirOutlines)
{
    const CGRect at{{10, 20}, {100, 40}};
    const auto outline = [&](LineShape shape) { return Exporter::exportLinePresetPath(shape, at, 0.5, false, 1.5, 1, true); };
    EXPECT_TRUE(outline(LineShape::freeform).empty());
    EXPECT_EQ(outline(LineShape::square), Path::rect(at));
    EXPECT_EQ(outline(LineShape::circle), Path::ellipse(at));

    Path triangle;
    triangle.moveTo({60, 20});
    triangle.lineTo({110, 60});
    triangle.lineTo({10, 60});
    triangle.close();
    EXPECT_EQ(outline(LineShape::triangle), triangle);

    // The control point is (60, 50): a cubic curve has its own two thirds of the way there.
    const Path arc = outline(LineShape::arc);
    ASSERT_EQ(arc.elements().size(), 2u);
    expectPoint(arc.elements()[0].points[0], {10, 40});
    expectPoint(arc.elements()[1].points[0], {10 + 100.0 / 3, 40 + 20.0 / 3});
    expectPoint(arc.elements()[1].points[1], {110 - 100.0 / 3, 40 + 20.0 / 3});
    expectPoint(arc.elements()[1].points[2], {110, 40});

    const Path wave = outline(LineShape::wave);
    ASSERT_EQ(wave.elements().size(), 49u);
    expectPoint(wave.elements()[0].points[0], {110, 40}); // Reversed.
    expectPoint(wave.elements()[8].points[0], {110 - 100.0 / 6, 20});
    expectPoint(wave.elements()[48].points[0], {10, 40});
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

TEST(Lines, AreStrokedRoundAndTheirHeadsFilledAndStroked)
{
    // The width of 4 makes heads of 14 with a line of 2.4. They stand at the points themselves, 1.2 behind; the line ends 15.2
    // behind.
    Layer layer = line({{0, 0}, {100, 0}, {100, 60}});
    layer.fill = blue; // Plays no part.
    layer.lineArrowStart = layer.lineArrowEnd = true;
    const std::string round = "  setLineCap round\n  setLineJoin round\n";
    const auto head = [&](const std::string& path) {
        return "  setFillColor rgba(1 0 0 1)\n  fillPath path(" + path +
               ") winding\n  setStrokeColor rgba(1 0 0 1)\n  setLineWidth 2.4\n" + round + "  strokePath path(" + path + ")\n";
    };
    EXPECT_EQ(operationsOf(layer), "saveGState\n  setStrokeColor rgba(1 0 0 1)\n  setLineWidth 4\n" + round +
                                       "  strokePath path(M 15.2 0 L 100 0 L 100 44.8)\n" +
                                       head("M 1.2 0 L 15.2 -7.7 L 15.2 7.7 Z") + head("M 100 58.8 L 92.3 44.8 L 107.7 44.8 Z") +
                                       "restoreGState\n");
}

TEST(Lines, AreAsWideAsToldButForThinPresets)
{
    const auto widthOf = [](Layer layer, double width) {
        layer.strokeWidth = width;
        RecordingRasterContext context;
        Exporter::drawLineBody(layer, context);
        for (const RasterOperation::Any& operation : context.operations())
            if (const auto* set = std::get_if<RasterOperation::SetLineWidth>(&operation)) return set->width;
        return -1.0;
    };
    struct Case { double width, freeform, preset; };
    for (const Case& c : {Case{0.2, 0.2, 0.5}, Case{0.5, 0.5, 0.5}, Case{3, 3, 3}}) {
        EXPECT_EQ(widthOf(line({{0, 0}, {50, 0}}), c.width), c.freeform);
        EXPECT_EQ(widthOf(preset(LineShape::circle), c.width), c.preset);
    }
}

TEST(Lines, AFreeformLinesHeadsWaitForTheirProgress)
{
    Layer layer = line({{0, 20}, {100, 20}});
    layer.lineArrowStart = layer.lineArrowEnd = true;
    struct Case { double progress; std::size_t heads; };
    for (const Case& c : {Case{-1, 0}, Case{0.001, 0}, Case{0.0011, 1}, Case{0.999, 1}, Case{0.9991, 2}, Case{5, 2}})
        for (const bool reversed : {false, true}) {
            SCOPED_TRACE(c.progress);
            layer.lineDrawProgress = c.progress;
            layer.lineDrawReversed = reversed;
            EXPECT_EQ(headsOf(layer).size(), c.heads);
        }
}

TEST(Lines, AFreeformLineIsTrimmedBetweenItsHeads)
{
    // Of 80, from 5 to 85, half is drawn.
    Layer layer = line({{0, 20}, {85 + 15.2, 20}});
    layer.linePoints = {{5 - 15.2, 20}, {85 + 15.2, 20}};
    layer.lineArrowStart = layer.lineArrowEnd = true;
    struct Case { double progress; bool reversed; double from, to; };
    for (const Case& c : {Case{0.5, false, 5, 45}, Case{0.25, true, 65, 85}, Case{1, true, 5, 85}, Case{-3, false, 5, 5.008},
                          Case{-3, true, 84.992, 85}, Case{7, false, 5, 85}}) {
        SCOPED_TRACE(c.progress);
        layer.lineDrawProgress = c.progress;
        layer.lineDrawReversed = c.reversed;
        EXPECT_NEAR(strokedArea(layer).minX(), c.from, 1e-9);
        EXPECT_NEAR(strokedArea(layer).maxX(), c.to, 1e-9);
    }
}

TEST(Lines, ArcsAndWavesAreTrimmedBetweenTheirHeads)
{
    // Straight ones, 100 long: a head takes 14 at either end.
    struct Case { const char* what; bool start, end, reversed; double progress, from, to; };
    for (const Case& c :
         {Case{"no head", false, false, false, 0.5, 0, 50}, Case{"no head, reversed", false, false, true, 0.5, 50, 100},
          Case{"start", true, false, false, 0.5, 14, 57}, Case{"start, reversed", true, false, true, 0.5, 57, 100},
          Case{"end", false, true, false, 0.5, 0, 43}, Case{"end, reversed", false, true, true, 0.5, 43, 86},
          Case{"both", true, true, false, 0.5, 14, 50}, Case{"both, reversed", true, true, true, 0.5, 50, 86},
          Case{"both, whole", true, true, false, 4, 14, 86}, Case{"both, nothing", true, true, false, -1, 14, 14.0072}}) {
        SCOPED_TRACE(c.what);
        for (const LineShape shape : {LineShape::arc, LineShape::wave}) {
            Layer layer = preset(shape);
            layer.lineArcBend = layer.lineWaveAmplitude = 0;
            layer.lineArrowStart = c.start;
            layer.lineArrowEnd = c.end;
            layer.lineDrawReversed = c.reversed;
            layer.lineDrawProgress = c.progress;
            // A straight curve is measured along its chords.
            EXPECT_NEAR(strokedArea(layer).minX(), c.from, shape == LineShape::arc ? 0.05 : 1e-6);
            EXPECT_NEAR(strokedArea(layer).maxX(), c.to, shape == LineShape::arc ? 0.05 : 1e-6);
        }
    }
}

TEST(Lines, TheEndsHeadTravelsWithTheDrawnEndOfAnArcOrAWave)
{
    // The tip stands its own 14 ahead of what is drawn, and 1.2 behind for its line.
    struct Case { const char* what; bool start, reversed; double progress, tip; };
    for (const Case& c : {Case{"half", false, false, 0.5, 57 - 1.2}, Case{"half, with a start", true, false, 0.5, 64 - 1.2},
                          Case{"whole", true, false, 1, 100 - 1.2}, Case{"reversed", false, true, 0.5, 100 - 1.2},
                          Case{"hardly begun", false, false, 0.0011, 14 + 0.0946 - 1.2}}) {
        SCOPED_TRACE(c.what);
        for (const LineShape shape : {LineShape::arc, LineShape::wave}) {
            Layer layer = preset(shape);
            layer.lineArcBend = layer.lineWaveAmplitude = 0;
            layer.lineArrowStart = c.start;
            layer.lineArrowEnd = true;
            layer.lineDrawReversed = c.reversed;
            layer.lineDrawProgress = c.progress;
            const std::vector<Head> heads = headsOf(layer);
            ASSERT_EQ(heads.size(), c.start ? 2u : 1u);
            expectPoint(heads.back().tip, {c.tip, 20}, 1e-6);
            expectPoint(heads.back().base, {c.tip - 14, 20}, 1e-6);
            if (c.start) expectPoint(heads[0].tip, {1.2, 20}, 1e-6);
            layer.lineDrawProgress = 0.001;
            EXPECT_TRUE(headsOf(layer).empty());
        }
    }
}

TEST(Lines, TheStartsHeadOfAnArcRunsAlongItsTangent)
{
    Layer arc = preset(LineShape::arc);
    arc.lineArcBend = 1;
    arc.lineArrowStart = true;
    // From (0, 20) towards the control point (50, 40).
    const double length = std::hypot(50, 20);
    const CGPoint u{50 / length, 20 / length};
    expectPoint(headsOf(arc)[0].tip, {1.2 * u.x, 20 + 1.2 * u.y}, 1e-6);
    expectPoint(headsOf(arc)[0].base, {15.2 * u.x, 20 + 15.2 * u.y}, 1e-6);
    arc.lineArcReversed = true;
    expectPoint(headsOf(arc)[0].tip, {100 - 1.2 * u.x, 20 + 1.2 * u.y}, 1e-6);
}

TEST(Lines, TheEndsHeadOfAnArcPointsAlongItsFortyEightLines)
{
    Layer arc = preset(LineShape::arc);
    arc.lineArcBend = 1;
    arc.lineArrowEnd = true;
    std::vector<CGPoint> samples; // From (0, 20) by the control point (50, 40) to (100, 20).
    for (int i = 0; i <= 48; ++i) {
        const double t = i / 48.0;
        samples.push_back({2 * t * (1 - t) * 50 + t * t * 100, 20 + 2 * t * (1 - t) * 20});
    }
    const double part = 14 / approximateArcLength(box, 1);
    for (const double progress : {0.3, 1.0}) {
        arc.lineDrawProgress = progress;
        const double drawn = progress * (1 - part);
        const CGPoint tip = polylineSample(samples, drawn + part)->point, behind = polylineSample(samples, drawn)->point;
        const double length = std::hypot(tip.x - behind.x, tip.y - behind.y);
        const CGPoint u{(tip.x - behind.x) / length, (tip.y - behind.y) / length};
        expectPoint(headsOf(arc)[0].tip, {tip.x - 1.2 * u.x, tip.y - 1.2 * u.y}, 1e-6);
        expectPoint(headsOf(arc)[0].base, {tip.x - 15.2 * u.x, tip.y - 15.2 * u.y}, 1e-6);
    }
}

TEST(Lines, TheHeadsOfAWavePointAlongTheStretchThatTheyTake)
{
    // A head of 14 takes more than three of the wave's lines, which turn on the way.
    Layer wave = preset(LineShape::wave);
    wave.lineWaveFrequency = 1.5;
    wave.lineWaveAmplitude = 1;
    wave.lineArrowStart = wave.lineArrowEnd = true;
    const std::vector<CGPoint> samples = waveSamples(box, 1.5, 1, false);
    const double part = 14 / polylineLength(samples);
    const auto along = [](CGPoint tip, CGPoint from, double by) {
        const double length = std::hypot(tip.x - from.x, tip.y - from.y);
        return CGPoint{tip.x - (tip.x - from.x) / length * by, tip.y - (tip.y - from.y) / length * by};
    };
    const std::vector<Head> heads = headsOf(wave);
    ASSERT_EQ(heads.size(), 2u);
    const CGPoint inside = polylineSample(samples, part)->point, before = polylineSample(samples, 1 - part)->point;
    EXPECT_GT(std::abs(inside.y - along(samples[0], samples[1], std::hypot(inside.x, inside.y - 20)).y), 0.1);
    expectPoint(heads[0].tip, along(samples[0], inside, 1.2), 1e-6);
    expectPoint(heads[0].base, along(samples[0], inside, 15.2), 1e-6);
    expectPoint(heads[1].tip, along(samples[48], before, 1.2), 1e-6);
    expectPoint(heads[1].base, along(samples[48], before, 15.2), 1e-6);

    // So does that of an end that has hardly set out.
    wave.lineArrowStart = false;
    wave.lineDrawProgress = 0.0011;
    const CGPoint tip = polylineSample(samples, part + 0.0011 * (1 - part))->point;
    const CGPoint behind = polylineSample(samples, 0.0011 * (1 - part))->point;
    expectPoint(headsOf(wave)[0].tip, along(tip, behind, 1.2), 1e-6);
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
