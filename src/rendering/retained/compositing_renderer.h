#pragma once

#include "platform/pixel_buffer.h"
#include "platform/raster/pixel_rect.h"
#include "rendering/retained/compositing_node.h"

#include <memory>
#include <span>

namespace larkspool {

/// Composites trees of nodes into the memory of frames. One renderer is used by one thread at a time.
class CompositingRenderer {
public:
    virtual ~CompositingRenderer() = default;

    /// Composites the tree into `target`, whose upper left corner is the origin of the root's parent. Gives what can have changed
    /// there since the last call for the same memory, in rectangles that share no pixel and hold until the next call: everything,
    /// the first time.
    ///
    /// A root that is a group goes over what the memory holds with its opacity: 1 / (k + 1) for the k-th picture after the first
    /// gives the running mean of all, rounded at each step. Its transform plays no part.
    ///
    /// Between two calls nobody else may write to the memory, nor may it go and come back as another's, unless it is forgotten.
    virtual std::span<const PixelRect> render(const CompositingNode& root, PixelBuffer& target) = 0;

    /// Forgets what the memory of `target` holds.
    virtual void forget(const PixelBuffer& target) = 0;

    /// Forgets all memory, and all that is kept.
    virtual void forget() = 0;
};

/// Composites on the processor. There always is one. `bitmapBytes` bounds what is kept of bitmaps from frame to frame.
std::unique_ptr<CompositingRenderer> makeSoftwareRenderer(std::size_t bitmapBytes = std::size_t{64} << 20);

} // namespace larkspool
