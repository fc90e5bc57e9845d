#pragma once

#include "document/layer.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

#include <optional>
#include <vector>

namespace larkspool {

/// Measures of the arrow heads of a line of some width, in the line's own unit.
struct ArrowMeasures {
    double size;        ///< From the tip to the base.
    double stroke;      ///< Width of the line around the head, which rounds its tip.
    double strokeInset; ///< How far the tip is set back for it.
};

ArrowMeasures arrowMeasures(double strokeWidth);

/// Sets the ends of a polyline back by an arrow head's length, so that the line's round cap stays behind it. The end goes first;
/// each takes at most 95 percent of the last segment.
std::vector<CGPoint> trimEndsForArrows(std::vector<CGPoint> points, bool arrowStart, bool arrowEnd, double arrowSize, double strokeInset);

/// The polyline through the points, or with `curved` and at least 3 points a smooth curve through them (Catmull-Rom).
Path buildPath(const std::vector<CGPoint>& points, bool curved);

/// A closed triangle with its tip at `tip`, pointing away from `from`.
Path arrowheadPath(CGPoint tip, CGPoint from, double size, double strokeInset);

struct ArcGeometry {
    CGPoint start;
    CGPoint end;
    CGPoint control; ///< Of a quadratic curve.
};

/// The arc of a layer's box. Its bend grows with `sceneWidth` (the box's width, where none is given) from 200 to 800 points.
ArcGeometry arcGeometry(const CGRect& rect, double bend, bool reversed, std::optional<double> sceneWidth = {});

/// About the length of the arc: the mean of the chord and the two legs through the control point.
double approximateArcLength(const CGRect& rect, double bend);

/// Points of a sine wave through the box, in half cycles.
std::vector<CGPoint> waveSamples(const CGRect& rect, double frequency, double amplitude, bool reversed);

double polylineLength(const std::vector<CGPoint>& points);

struct PolylineSample {
    CGPoint point;
    CGPoint ahead; ///< The end of the segment that holds the point.
};

/// The point at a fraction of the polyline's length; nothing with fewer than two points.
std::optional<PolylineSample> polylineSample(const std::vector<CGPoint>& points, double fraction);

/// An area of the layer's local space that holds all that a line paints at any of its draw progress: its outline, grown by its
/// width and its arrow heads. Null for a line of fewer than two points.
CGRect lineBounds(const Layer& layer, const DrawingStyle& style = {});

namespace Exporter {

/// The outline of a line's preset in its box. Empty for a freeform line.
Path exportLinePresetPath(LineShape shape, const CGRect& rect, double arcBend, bool arcReversed, double waveFrequency,
                          double waveAmplitude, bool waveReversed);

/// Paints a line layer in its local space.
void drawLineBody(const Layer& layer, RasterContext& context, const DrawingStyle& style = {});

} // namespace Exporter

} // namespace larkspool
