#pragma once

#include "platform/raster/pixel_color.h"
#include "platform/raster/pixel_rect.h"

#include <cstdint>
#include <span>
#include <vector>

namespace larkspool {

/// Fills closed outlines of straight lines. A pixel is covered by the exact part of its square that lies inside.
///
/// Outlines add up: one that runs the other way round takes from those around it, so that a ring is an outer outline and an inner
/// one added backwards. None may cross itself or another; the coverage then is the area, whichever way round the outer one runs.
/// The first outline holds all others.
///
/// What a pixel gets depends on the outlines and the area of `begin` alone, never on which pixels are asked for. Memory is kept
/// from shape to shape.
class CoverageFiller {
public:
    enum class Direction { forwards, backwards };

    /// Forgets all outlines. Nothing outside `area` will be asked for.
    void begin(const PixelRect& area);

    /// Adds an outline in device space. Gives false for one with a number that is not finite, which adds nothing.
    bool add(std::span<const CGPoint> outline, Direction direction);

    /// Composites a colour over the pixels of `target` within `clip`.
    void fill(const RasterTarget& target, const PixelRect& clip, const PixelColor& color);

    /// Stores the coverage of the pixels of `clip`, 0...255, in rows `clip.width()` apart.
    void store(const PixelRect& clip, std::uint8_t* levels);

private:
    /// A line crosses rows, or columns where the shape is small: lanes. From `begin` to `end` it goes across lanes, and from
    /// `beginAt` to `endAt` along them; all are counted from the start of the bounds.
    struct Edge {
        double beginAt, begin, endAt, end;
        float direction; ///< 1 for a line that ran so, -1 for one that was turned round.
    };

    enum class Lanes { rows, columns };

    void addEdge(CGPoint from, CGPoint to, float direction);
    void addEdgeWithinLanes(const Edge& edge);
    template <typename Number, typename Cell>
    static void accumulateLane(Number at0, Number at1, Number height, int greatest, const Cell& cell);
    template <typename Painter>
    void sweep(const PixelRect& clip, const Painter& painter);
    template <typename Painter>
    void sweepRows(const PixelRect& seen, const Painter& painter);
    template <typename Painter>
    void sweepColumns(const PixelRect& seen, const Painter& painter);
    template <typename Painter>
    void paintRow(int y, float* sums, std::uint64_t* marks, const Painter& painter);
    void accumulateRows(const Edge& edge, int firstRow, int lastRow);
    void accumulateColumns(const Edge& edge);

    PixelRect area_;
    PixelRect bounds_; ///< Pixels that the shape lies in, within the area.
    Lanes lanes_ = Lanes::rows;
    double lengthAcross_ = 0, lengthAlong_ = 0; ///< Of the bounds: across the lanes, and along one.
    std::vector<Edge> edges_;

    int columns_ = 0; ///< Of a row of sums.
    int words_ = 0;
    std::vector<float> sums_; ///< How much more of a pixel is covered than of the one before it in its lane. Zero between sweeps.
    std::vector<std::uint64_t> marks_; ///< Which sums can differ from zero.
    std::vector<std::uint8_t> levels_;
};

} // namespace larkspool
