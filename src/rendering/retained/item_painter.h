#pragma once

#include "platform/pixel_buffer.h"
#include "platform/raster/coverage_blur.h"
#include "platform/raster/coverage_filler.h"
#include "platform/raster/picture_painter.h"
#include "rendering/retained/draw_items.h"
#include "rendering/retained/node_bitmaps.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace larkspool {

/// Blurred shadows of a draw list, by their index; those not worked out yet, or too many to keep, are absent.
using BlurredShadows = std::vector<std::optional<BlurredCoverage>>;

/// Paints the items of draw lists. What a pixel gets never depends on the clip: a picture painted in parts is the one painted at
/// once. Memory is kept from item to item.
class ItemPainter {
public:
    /// The picture of a group by its index in the list.
    using GroupPicture = std::function<const PixelBuffer&(std::size_t)>;

    explicit ItemPainter(NodeBitmaps& bitmaps) : bitmaps_(bitmaps) {}

    /// Begins to paint a list into `target`.
    void begin(const DrawList& list, BlurredShadows& shadows, PixelBuffer& target, GroupPicture groupPicture);

    /// Paints an item and what belongs to it wherever the rectangles, which share no pixel, lie.
    void paint(std::size_t item, std::span<const PixelRect> clips);

    /// Brings the pixels of a small item nearer that is painted soon.
    void fetchAhead(std::size_t item) const;

    void end();

    /// The items after `item` that are painted with it, rather than for themselves.
    static std::size_t paintedWith(const DrawItem& item) { return item.kind == DrawItem::Kind::together ? item.members : 0; }

private:
    void paintShape(const FilledShape& shape, const RasterTarget& target, std::span<const PixelRect> clips);
    void paintShadow(std::size_t item, std::span<const PixelRect> clips);
    void paintTogether(std::size_t item, std::span<const PixelRect> clips);
    void paintContents(const DrawItem& item, std::span<const PixelRect> clips);
    void paintText(const PlacedContents& placed, const TextContents& text, const PixelRect& bounds,
                   std::span<const PixelRect> clips);
    void paintPictureContents(const DrawItem& item, const PlacedContents& placed, const PictureContents& picture,
                              std::span<const PixelRect> clips);
    void paintDrawing(const PlacedContents& placed, const std::shared_ptr<const NodeDrawing>& drawing,
                      std::span<const PixelRect> clips);
    void paintGroup(const DrawItem& item, std::span<const PixelRect> clips);
    void paintCut(const PixelRect& bounds, const PictureSource& source, const AffineTransform& pictureToDevice,
                  std::uint32_t level, std::span<const NodeOutline> cuts, const AffineTransform& cutsToDevice,
                  std::span<const PixelRect> clips);

    bool outline(const FilledShape& shape, const PixelRect& area);
    BlurredCoverage blurred(std::size_t item);
    RasterContext& context();
    RasterTarget scratch(const PixelRect& area);

    NodeBitmaps& bitmaps_;
    CoverageFiller filler_;
    std::vector<CGPoint> points_;
    std::vector<std::uint8_t> mask_, secondMask_;
    std::vector<std::uint32_t> scratch_;

    const DrawList* list_ = nullptr;
    BlurredShadows* shadows_ = nullptr;
    std::size_t shadowBytes_ = 0; ///< Of all that were worked out.
    PixelBuffer* pixels_ = nullptr;
    RasterTarget target_;
    GroupPicture groupPicture_;
    std::unique_ptr<RasterContext> context_;
};

} // namespace larkspool
