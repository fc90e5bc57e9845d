#pragma once

#include "document/layer.h"
#include "foundation/shared_bytes.h"
#include "platform/image.h"
#include "platform/image_decoding.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"
#include "rendering/video_view_logic.h"

#include <memory>
#include <optional>

namespace larkspool {

/// The picture that a document holds as bytes: a bitmap or vector art.
class Picture {
public:
    explicit Picture(ImageRef bitmap) : bitmap_(std::move(bitmap)) {}
    explicit Picture(std::shared_ptr<const VectorArt> art) : art_(std::move(art)) {}

    /// Pixels of a bitmap; of vector art the size it asks for.
    CGSize size() const { return bitmap_ ? bitmap_->size() : art_->size(); }

    /// The picture to draw where it will be `pixels` large on the raster. A bitmap comes as it is, vector art at that size, in
    /// whole pixels and within bounds; its last sizes are kept. Null where it cannot be drawn.
    ImageRef imageFor(CGSize pixels) const;

    /// The same where it is kept, null included; nothing where it would have to be rendered first. Never waits.
    std::optional<ImageRef> keptImageFor(CGSize pixels) const;

    /// The bitmap, or the size of vector art that was used last; null where none is kept. Never waits.
    ImageRef lastImage() const;

    /// The pixels of a bitmap; null for vector art.
    const ImageRef& bitmap() const { return bitmap_; }

    /// Bytes of memory that the bitmap takes.
    std::size_t byteSize() const { return bitmap_ ? bitmap_->byteSize() : 0; }

private:
    ImageRef bitmap_;
    std::shared_ptr<const VectorArt> art_;
};

/// The picture of encoded bytes; null if they are none. Decoded once for each content and kept for all who draw it, within a
/// gigabyte, least recently used dropped first. For any thread.
std::shared_ptr<const Picture> mediaPicture(const Bytes& bytes);

/// A picture and the part of it that a layer shows, in its pixels. Without an image nothing is shown.
struct PlacedPicture {
    ImageRef image;
    CGRect source;
};

/// What an image layer shows where it is `shown` large on the raster.
PlacedPicture placedPicture(const Layer& layer, CGSize shown);

/// The same where the black key counts. Vector art has none. Cut pictures are kept, least recently used dropped first.
PlacedPicture keyedPicture(const Layer& layer, CGSize shown);

/// How much of `keyedPicture` is kept, so that nothing is decoded, cut or rendered for it. For any thread. Never waits.
ImagePictures::AtHand pictureAtHand(const Layer& layer, CGSize shown);

/// Vector art in the size that was used last, where it is kept. Never waits.
PlacedPicture lastPicture(const Layer& layer);

/// Whether the corners of an image of that radius are cut.
bool cutsCorners(double radius);

namespace Exporter {

/// Paints an image layer in its local space: the picture stretched to the layer's size, cut to its rounded corners. A black key
/// has no effect in a film. On a live canvas the stroke is there before the picture is.
void drawImageBody(const Layer& layer, RasterContext& context, const DrawingStyle& style = {});

/// Paints the picture of a video layer in its local space, as it is at a scene time. On a live canvas a missing file has a
/// placeholder, and the stroke is there before the first picture is.
void drawVideoBody(const Layer& layer, RasterContext& context, double time, const DrawingStyle& style = {});

} // namespace Exporter

} // namespace larkspool
