#pragma once

#include "platform/pixel_buffer.h"
#include "platform/raster/pixel_rect.h"
#include "rendering/retained/node_drawing.h"

#include <cstddef>
#include <list>
#include <memory>
#include <vector>

namespace larkspool {

/// A drawing as pixels.
struct NodeBitmap {
    PixelBuffer pixels;
    PixelRect area; ///< Where they belong in device space.
    /// Of each row, the columns outside of which all is clear, from the left of the area.
    struct Columns {
        int begin = 0, end = 0;
    };
    std::vector<Columns> seen;
};

/// Bitmaps of drawings, kept for the next frame that shows the same at the same scale and the same part of a pixel: a drawing
/// that stands still, or moves by whole pixels, is painted once. Bounded by bytes; the least recently used goes first. For one
/// thread.
class NodeBitmaps {
public:
    explicit NodeBitmaps(std::size_t greatestBytes) : greatestBytes_(greatestBytes) {}

    /// The drawing under the transform, and where its first pixel goes. Of what lies outside `raster` nothing is needed. Null
    /// where there is nothing. Holds as long as the caller keeps it. The transform's place is rounded to a 256th of a pixel.
    struct Placed {
        std::shared_ptr<const NodeBitmap> bitmap;
        int x = 0, y = 0; ///< To be added to the bitmap's area.
    };
    Placed bitmap(const std::shared_ptr<const NodeDrawing>& drawing, const AffineTransform& toDevice, const PixelRect& raster);

    void clear();
    std::size_t bytes() const { return bytes_; }

private:
    struct Entry;

    std::shared_ptr<NodeBitmap> painted(const NodeDrawing& drawing, const AffineTransform& toDevice, const PixelRect& area);
    PixelBuffer clearPixels(int width, int height);
    void drop(std::list<Entry>::iterator entry);
    void dropPassed();

    struct Entry {
        std::shared_ptr<const NodeDrawing> drawing;
        AffineTransform toDevice;
        PixelRect area;
        std::shared_ptr<NodeBitmap> bitmap;
        std::size_t bytes = 0;
    };

    std::size_t greatestBytes_;
    std::size_t bytes_ = 0;
    std::list<Entry> entries_; ///< The latest used in front.
    std::vector<PixelBuffer> spare_; ///< Memory of bitmaps that were dropped, for those to come.
};

/// The pixels that a drawing takes under a transform on a raster. What node bitmaps hold lies within.
PixelRect pixelsOfDrawing(const NodeDrawing& drawing, const AffineTransform& toDevice, const PixelRect& raster);

} // namespace larkspool
