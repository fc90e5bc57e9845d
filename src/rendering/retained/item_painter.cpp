#include "rendering/retained/item_painter.h"

#include "platform/image_scaling.h"
#include "platform/raster/box_painter.h"
#include "platform/raster/pixel_blend.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace larkspool {

namespace {

/// A larger shadow is worked out as far as the raster shows it.
constexpr double greatestWholeShadow = 2;
constexpr PixelRect everywhere{-(1 << 24), -(1 << 24), 1 << 24, 1 << 24};

/// Blurred shadows of one list take no more than this.
constexpr std::size_t greatestShadowBytes = std::size_t{32} << 20;

std::size_t bytesOf(const BlurredCoverage& blurred)
{
    return blurred.values.size() * sizeof(float);
}

CGRect shiftedBy(const CGRect& rect, CGSize offset)
{
    return {{rect.origin.x + offset.width, rect.origin.y + offset.height}, rect.size};
}

double areaOf(const PixelRect& rect)
{
    return rect.empty() ? 0 : static_cast<double>(rect.width()) * rect.height();
}

DeviceBox deviceBox(const NodeOutline& outline)
{
    return {outline.rect, outline.radius};
}

/// The same shape elsewhere in device space.
FilledShape moved(const FilledShape& shape, CGSize by)
{
    FilledShape result = shape;
    if (shape.isUprightBox) {
        result.outer.rect = shiftedBy(shape.outer.rect, by);
        if (result.inner) result.inner->rect = shiftedBy(result.inner->rect, by);
    } else {
        result.toDevice.tx += by.width;
        result.toDevice.ty += by.height;
    }
    return result;
}

/// Whether all sides of an upright box lie between pixels, as far as they lie within the area.
bool isWholePixels(const CGRect& r, const PixelRect& area)
{
    const auto whole = [](double side, int low, int high) { return side <= low || side >= high || side == std::floor(side); };
    return whole(r.minX(), area.left, area.right) && whole(r.maxX(), area.left, area.right) &&
           whole(r.minY(), area.top, area.bottom) && whole(r.maxY(), area.top, area.bottom);
}

bool isUpright(const AffineTransform& m)
{
    return m.b == 0 && m.c == 0;
}

/// The pixels of a picture as they are laid, and where.
struct PlacedPixels {
    ImageRef image; ///< Holds the pixels; null where nothing is laid.
    PictureSource source;
    AffineTransform toDevice;
};

/// A picture that is shown smaller than it is comes averaged by area.
PlacedPixels placedPixels(const PictureContents& picture, const AffineTransform& m)
{
    const CGRect& destination = picture.destination;
    const auto hasArea = [](const CGRect& r) {
        return std::isfinite(r.minX() + r.minY() + r.maxX() + r.maxY()) && r.size.width > 0 && r.size.height > 0;
    };
    if (!picture.image || !hasArea(picture.source) || !hasArea(destination)) return {};
    const double imageWidth = picture.image->width(), imageHeight = picture.image->height();
    const int left = static_cast<int>(std::clamp(std::floor(picture.source.minX()), 0.0, imageWidth)),
              top = static_cast<int>(std::clamp(std::floor(picture.source.minY()), 0.0, imageHeight)),
              right = static_cast<int>(std::clamp(std::ceil(picture.source.maxX()), 0.0, imageWidth)),
              bottom = static_cast<int>(std::clamp(std::ceil(picture.source.maxY()), 0.0, imageHeight));
    PixelRect part{left, top, right, bottom};
    if (part.empty()) return {};

    const auto reducedCount = [](int pixels, double deviceLength) {
        return static_cast<int>(std::clamp(std::round(deviceLength), 1.0, static_cast<double>(pixels)));
    };
    const int width = reducedCount(part.width(), destination.size.width * std::hypot(m.a, m.b));
    const int height = reducedCount(part.height(), destination.size.height * std::hypot(m.c, m.d));
    ImageRef image = picture.image;
    if (width < part.width() || height < part.height()) {
        const CGRect taken{{left * 1.0, top * 1.0}, {part.width() * 1.0, part.height() * 1.0}};
        image = areaAveragedCached(image, taken, width, height);
        part = {0, 0, width, height};
    }
    const PixelBuffer& pixels = image->pixels();
    const PictureSource source{pixels.row(part.top) + std::ptrdiff_t{4} * part.left, pixels.bytesPerRow(), part.width(),
                               part.height(), image->isOpaque()};
    return {std::move(image), source,
            m.translatedBy(destination.origin.x, destination.origin.y)
                .scaledBy(destination.size.width / part.width(), destination.size.height / part.height())};
}

} // namespace

void ItemPainter::begin(const DrawList& list, BlurredShadows& shadows, PixelBuffer& target, GroupPicture groupPicture)
{
    list_ = &list;
    shadows_ = &shadows;
    pixels_ = &target;
    target_ = {target.data(), target.bytesPerRow(), {0, 0, target.width(), target.height()}};
    groupPicture_ = std::move(groupPicture);
    shadowBytes_ = 0;
    for (const std::optional<BlurredCoverage>& kept : shadows)
        if (kept) shadowBytes_ += bytesOf(*kept);
}

void ItemPainter::fetchAhead(std::size_t item) const
{
    constexpr int greatestSide = 64, pixelsOfALine = 16;
    const PixelRect& rect = list_->items[item].bounds;
    if (rect.width() > greatestSide || rect.height() > greatestSide) return;
    for (int y = rect.top; y < rect.bottom; ++y)
        for (int x = rect.left; x < rect.right + pixelsOfALine - 1; x += pixelsOfALine)
            __builtin_prefetch(target_.at(std::min(x, rect.right - 1), y), /*for writing*/ 1);
}

void ItemPainter::end()
{
    context_.reset();
    groupPicture_ = nullptr;
    list_ = nullptr;
}

void ItemPainter::paint(std::size_t item, std::span<const PixelRect> clips)
{
    const DrawItem& painted = list_->items[item];
    switch (painted.kind) {
    case DrawItem::Kind::shape: return paintShape(list_->shapes[painted.part], target_, clips);
    case DrawItem::Kind::shadow: return paintShadow(item, clips);
    case DrawItem::Kind::together: return paintTogether(item, clips);
    case DrawItem::Kind::contents: return paintContents(painted, clips);
    case DrawItem::Kind::group: return paintGroup(painted, clips);
    }
}

void ItemPainter::paintShape(const FilledShape& shape, const RasterTarget& target, std::span<const PixelRect> clips)
{
    if (shape.isUprightBox) {
        std::optional<DeviceBox> hole;
        if (shape.inner) hole = deviceBox(*shape.inner);
        for (const PixelRect& clip : clips) paintBox(target, clip, deviceBox(shape.outer), hole, shape.color);
        return;
    }
    if (!outline(shape, target.area)) return;
    for (const PixelRect& clip : clips) filler_.fill(target, clip, shape.color);
}

/// Gives the filler the outlines of a shape; false where they are none.
bool ItemPainter::outline(const FilledShape& shape, const PixelRect& area)
{
    filler_.begin(area);
    flatten(shape.outer, shape.toDevice, points_);
    if (!filler_.add(points_, CoverageFiller::Direction::forwards)) return false;
    if (!shape.inner) return true;
    flatten(*shape.inner, shape.toDevice, points_);
    return filler_.add(points_, CoverageFiller::Direction::backwards);
}

RasterTarget ItemPainter::scratch(const PixelRect& area)
{
    const std::size_t count = static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height());
    scratch_.assign(count, 0);
    return {reinterpret_cast<std::uint8_t*>(scratch_.data()), static_cast<std::size_t>(area.width()) * 4, area};
}

BlurredCoverage ItemPainter::blurred(std::size_t item)
{
    const DrawItem& painted = list_->items[item];
    const ShapeShadow& shadow = list_->shadows[painted.part];
    const int reach = shadowReach(shadow.sigma, shadow.color.alpha);
    PixelRect area = pixelsTouchedBy(insetBy(shiftedBy(shadow.casterBounds, shadow.offset), -reach, -reach), everywhere);
    if (areaOf(area) > greatestWholeShadow * areaOf(target_.area)) area = intersectionOf(area, target_.area);
    if (shadow.boxCount > 0)
        return blurredBoxes({shadow.boxes.data(), static_cast<std::size_t>(shadow.boxCount)}, shadow.sigma, area);

    CoverageImage coverage;
    coverage.area = pixelsTouchedBy(shiftedBy(shadow.casterBounds, shadow.offset), grownBy(area, shadowReach(shadow.sigma)));
    if (coverage.area.empty()) return blurredCoverage({}, shadow.sigma, area);
    const std::size_t count = static_cast<std::size_t>(coverage.area.width()) * static_cast<std::size_t>(coverage.area.height());
    if (!shadow.countsColors && painted.members == 1) {
        const FilledShape shape = moved(list_->shapes[list_->items[item + 1].part], shadow.offset);
        coverage.values = ScratchMemory<std::uint8_t>(count);
        if (outline(shape, coverage.area)) filler_.store(coverage.area, coverage.values.data());
        return blurredCoverage(coverage, shadow.sigma, area);
    }
    const RasterTarget sheet = scratch(coverage.area);
    for (std::size_t i = item + 1; i <= item + painted.members; ++i) {
        const DrawItem& member = list_->items[i];
        if (member.kind != DrawItem::Kind::shape) continue;
        FilledShape shape = moved(list_->shapes[member.part], shadow.offset);
        if (!shadow.countsColors) shape.color = PixelColor{};
        paintShape(shape, sheet, {&coverage.area, 1});
    }
    coverage.values = ScratchMemory<std::uint8_t>(count);
    for (std::size_t i = 0; i < count; ++i) coverage.values[i] = static_cast<std::uint8_t>(scratch_[i] >> 24);
    return blurredCoverage(coverage, shadow.sigma, area);
}

void ItemPainter::paintShadow(std::size_t item, std::span<const PixelRect> clips)
{
    const std::uint32_t part = list_->items[item].part;
    const ShapeShadow& shadow = list_->shadows[part];
    std::optional<BlurredCoverage>& kept = (*shadows_)[part];
    std::optional<BlurredCoverage> passing;
    if (!kept) {
        passing = blurred(item);
        shadowBytes_ += bytesOf(*passing);
        if (shadowBytes_ <= greatestShadowBytes) std::swap(kept, passing);
    }
    for (const PixelRect& clip : clips) compositeShadow(target_, clip, kept ? *kept : *passing, shadow.color, shadow.covered);
}

void ItemPainter::paintTogether(std::size_t item, std::span<const PixelRect> clips)
{
    const DrawItem& together = list_->items[item];
    for (const PixelRect& clip : clips) {
        const PixelRect area = intersectionOf(clip, together.bounds);
        if (area.empty()) continue;
        const RasterTarget sheet = scratch(area);
        for (std::size_t i = item + 1; i <= item + together.members; ++i)
            paintShape(list_->shapes[list_->items[i].part], sheet, {&area, 1});
        for (int y = area.top; y < area.bottom; ++y)
            blendPixels(target_.at(area.left, y), sheet.at(area.left, y), area.width(), together.level);
    }
}

void ItemPainter::paintContents(const DrawItem& item, std::span<const PixelRect> clips)
{
    const PlacedContents& placed = list_->contents[item.part];
    if (const auto* text = std::get_if<std::shared_ptr<const TextContents>>(&placed.contents))
        paintText(placed, **text, item.bounds, clips);
    else if (const auto* picture = std::get_if<PictureContents>(&placed.contents))
        paintPictureContents(item, placed, *picture, clips);
    else if (const auto* drawing = std::get_if<std::shared_ptr<const NodeDrawing>>(&placed.contents))
        paintDrawing(placed, *drawing, clips);
}

RasterContext& ItemPainter::context()
{
    if (!context_) context_ = makeRasterContext(*pixels_);
    return *context_;
}

void ItemPainter::paintText(const PlacedContents& placed, const TextContents& text, const PixelRect& bounds,
                            std::span<const PixelRect> clips)
{
    RasterContext& raster = context();
    for (const PixelRect& clip : clips) {
        const PixelRect seen = intersectionOf(clip, bounds);
        if (seen.empty()) continue;
        const SavedState saved(raster);
        if (seen != bounds)
            raster.clipToPath(Path::rect({{static_cast<double>(seen.left), static_cast<double>(seen.top)},
                                          {static_cast<double>(seen.width()), static_cast<double>(seen.height())}}),
                              FillRule::winding);
        raster.setAlpha(placed.opacity);
        raster.concatCTM(placed.toDevice);
        raster.drawText(*text.layout, text.origin, text.color, text.clear);
    }
}

void ItemPainter::paintPictureContents(const DrawItem& item, const PlacedContents& placed, const PictureContents& picture,
                                       std::span<const PixelRect> clips)
{
    const AffineTransform& m = placed.toDevice;
    const PlacedPixels pixels = placedPixels(picture, m);
    if (!pixels.image) return;
    std::vector<NodeOutline> cuts;
    const NodeOutline whole{.rect = picture.destination};
    if (placed.clip.radius > 0)
        cuts.push_back(placed.clip);
    else if (!isUpright(m) || !isWholePixels(m.apply(whole.rect), target_.area))
        cuts.push_back(whole);
    paintCut(item.bounds, pixels.source, pixels.toDevice, item.level, cuts, m, clips);
}

void ItemPainter::paintGroup(const DrawItem& item, std::span<const PixelRect> clips)
{
    const PlacedGroup& group = list_->groups[item.part];
    const PixelBuffer& picture = groupPicture_(item.part);
    const AffineTransform& m = group.toDevice;
    const CGRect box{{0, 0}, group.size};
    const PictureSource source{picture.data(), picture.bytesPerRow(), picture.width(), picture.height(), false};
    std::vector<NodeOutline> cuts;
    if (!isUpright(m) || !isWholePixels(m.apply(box), target_.area)) cuts.push_back({.rect = box});
    if (group.clip) cuts.push_back(*group.clip);
    paintCut(item.bounds, source, m, item.level, cuts, m, clips);
}

/// Paints a picture where all of the outlines lie.
void ItemPainter::paintCut(const PixelRect& bounds, const PictureSource& source, const AffineTransform& pictureToDevice,
                           std::uint32_t level, std::span<const NodeOutline> cuts, const AffineTransform& cutsToDevice,
                           std::span<const PixelRect> clips)
{
    for (const PixelRect& clip : clips) {
        const PixelRect seen = intersectionOf(clip, bounds);
        if (seen.empty()) continue;
        if (cuts.empty()) {
            paintPicture(target_, seen, source, pictureToDevice, level, nullptr);
            continue;
        }
        const std::size_t count = static_cast<std::size_t>(seen.width()) * static_cast<std::size_t>(seen.height());
        mask_.resize(count);
        for (std::size_t i = 0; i < cuts.size(); ++i) {
            filler_.begin(target_.area);
            flatten(cuts[i], cutsToDevice, points_);
            filler_.add(points_, CoverageFiller::Direction::forwards);
            if (i == 0) {
                filler_.store(seen, mask_.data());
                continue;
            }
            secondMask_.resize(count);
            filler_.store(seen, secondMask_.data());
            for (std::size_t p = 0; p < count; ++p) mask_[p] = static_cast<std::uint8_t>(partOf255(mask_[p], secondMask_[p]));
        }
        const CoverageMask mask{seen, mask_.data()};
        paintPicture(target_, seen, source, pictureToDevice, level, &mask);
    }
}

void ItemPainter::paintDrawing(const PlacedContents& placed, const std::shared_ptr<const NodeDrawing>& drawing,
                               std::span<const PixelRect> clips)
{
    const NodeBitmaps::Placed kept = bitmaps_.bitmap(drawing, placed.toDevice, target_.area);
    if (!kept.bitmap) return;
    const NodeBitmap& bitmap = *kept.bitmap;
    const int left = bitmap.area.left + kept.x, top = bitmap.area.top + kept.y;
    const auto level = std::uint32_t{larkspool::level(placed.opacity)};
    for (const PixelRect& clip : clips) {
        const PixelRect seen = intersectionOf(intersectionOf(clip, target_.area),
                                              {left, top, left + bitmap.pixels.width(), top + bitmap.pixels.height()});
        for (int y = seen.top; y < seen.bottom; ++y) {
            const NodeBitmap::Columns& columns = bitmap.seen[static_cast<std::size_t>(y - top)];
            const int begin = std::max(seen.left, left + columns.begin), end = std::min(seen.right, left + columns.end);
            if (begin < end)
                blendPixels(target_.at(begin, y), bitmap.pixels.row(y - top) + std::ptrdiff_t{4} * (begin - left), end - begin,
                            level);
        }
    }
}

} // namespace larkspool
