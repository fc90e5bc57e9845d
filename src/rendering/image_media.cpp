#include "rendering/image_media.h"

#include "evaluation/video_time.h"
#include "platform/media_file.h"
#include "rendering/continuous_corners.h"
#include "rendering/media_crop.h"
#include "rendering/raster_color.h"
#include "rendering/shapes.h"
#include "rendering/video_media.h"
#include "rendering/video_placeholder.h"
#include "rendering/video_view_logic.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <future>
#include <iterator>
#include <list>
#include <map>
#include <mutex>

namespace larkspool {

namespace {

constexpr std::size_t greatestCacheBytes = std::size_t{1} << 30;
constexpr std::size_t greatestKeyedBytes = 256u << 20;
/// Vector art is rendered no larger than this on a side; larger it is scaled up.
constexpr double greatestArtSide = 4096;
constexpr std::size_t greatestArtBytes = 256u << 20;
constexpr std::size_t greatestArtCount = 64;
/// A corner radius of no more than this leaves the corners of an image uncut.
constexpr double leastClippedRadius = 0.5;

std::shared_ptr<const Picture> decodedPicture(const Bytes& bytes)
{
    if (ImageRef bitmap = decodeImage(bytes.view())) return std::make_shared<const Picture>(std::move(bitmap));
    if (auto art = decodeVectorArt(bytes.view())) return std::make_shared<const Picture>(std::move(art));
    return nullptr;
}

/// Decoded pictures by content, the latest used in front. What cannot be decoded is kept too, as nothing.
class Pictures {
public:
    using PictureRef = std::shared_ptr<const Picture>;

    PictureRef picture(const Bytes& bytes)
    {
        std::promise<PictureRef> promise;
        {
            std::unique_lock lock(mutex_);
            if (const auto entry = find(bytes); entry != entries_.end()) {
                entries_.splice(entries_.begin(), entries_, entry);
                const std::shared_future<PictureRef> picture = entry->picture;
                lock.unlock(); // Another thread may be at it still. Who wants another picture does not wait for that.
                return picture.get();
            }
            entries_.push_front({bytes, promise.get_future().share()});
        }
        return decode(bytes, promise);
    }

private:
    struct Entry {
        Bytes bytes; ///< Kept, so that its address means this content alone.
        std::shared_future<PictureRef> picture;
        std::size_t cost = 0; ///< Bytes of memory; 0 until the picture is decoded.
    };
    using Entries = std::list<Entry>;

    Entries::iterator find(const Bytes& bytes)
    {
        const auto entry = std::ranges::find_if(entries_, [&](const Entry& e) { return e.bytes.sharesStorageWith(bytes); });
        if (entry != entries_.end()) return entry;
        return std::ranges::find_if(entries_, [&](const Entry& e) { return e.bytes == bytes; });
    }

    PictureRef decode(const Bytes& bytes, std::promise<PictureRef>& promise)
    {
        try {
            PictureRef picture = decodedPicture(bytes);
            promise.set_value(picture);
            const std::scoped_lock lock(mutex_);
            const auto entry = find(bytes);
            entry->cost = bytes.size() + (picture ? picture->byteSize() : 0);
            total_ += entry->cost;
            shrink();
            return picture;
        } catch (...) {
            promise.set_exception(std::current_exception());
            const std::scoped_lock lock(mutex_);
            entries_.erase(find(bytes)); // Memory may suffice another time.
            throw;
        }
    }

    /// Those that are being decoded stay.
    void shrink()
    {
        for (auto entry = entries_.end(); total_ > greatestCacheBytes && entry != std::next(entries_.begin());) {
            --entry;
            if (entry->cost == 0) continue;
            total_ -= entry->cost;
            entry = entries_.erase(entry);
        }
    }

    std::mutex mutex_;
    Entries entries_;
    std::size_t total_ = 0;
};

/// Renderings of vector art by size, the latest used in front.
class ArtRenderings {
public:
    ImageRef rendering(const std::shared_ptr<const VectorArt>& art, int width, int height)
    {
        const std::scoped_lock lock(mutex_);
        const auto matches = [&](const Entry& e) { return e.art == art && e.width == width && e.height == height; };
        if (const auto entry = std::ranges::find_if(entries_, matches); entry != entries_.end()) {
            entries_.splice(entries_.begin(), entries_, entry);
            return entries_.front().image;
        }
        entries_.push_front({art, width, height, art->render(width, height)});
        total_ += cost(entries_.front());
        while ((total_ > greatestArtBytes && entries_.size() > 1) || entries_.size() > greatestArtCount) {
            total_ -= cost(entries_.back());
            entries_.pop_back();
        }
        return entries_.front().image;
    }

private:
    struct Entry {
        std::shared_ptr<const VectorArt> art;
        int width, height;
        ImageRef image;
    };

    /// What could not be drawn is kept too.
    static std::size_t cost(const Entry& entry) { return entry.image ? entry.image->byteSize() : 0; }

    std::mutex mutex_;
    std::list<Entry> entries_;
    std::size_t total_ = 0;
};

/// Pictures cut by their black key, the latest used in front.
class KeyedPictures {
public:
    ImageRef picture(const Bytes& bytes, const ImageRef& decoded, const BlackKeySettings& settings)
    {
        const std::scoped_lock lock(mutex_);
        const auto matches = [&](const Entry& e) { return e.bytes.sharesStorageWith(bytes) && e.settings == settings; };
        if (const auto entry = std::ranges::find_if(entries_, matches); entry != entries_.end()) {
            entries_.splice(entries_.begin(), entries_, entry);
            return entries_.front().image;
        }
        entries_.push_front({bytes, settings, blackKeyedImage(decoded, settings)});
        total_ += entries_.front().image->byteSize();
        while (total_ > greatestKeyedBytes && entries_.size() > 1) {
            total_ -= entries_.back().image->byteSize();
            entries_.pop_back();
        }
        return entries_.front().image;
    }

private:
    struct Entry {
        Bytes bytes; ///< Kept, so that its address means this content alone.
        BlackKeySettings settings;
        ImageRef image;
    };

    std::mutex mutex_;
    std::list<Entry> entries_;
    std::size_t total_ = 0;
};

/// How large a box of local space is on the raster.
CGSize sizeOnRaster(CGSize size, const RasterContext& context)
{
    const AffineTransform m = context.ctm();
    return {size.width * std::hypot(m.a, m.b), size.height * std::hypot(m.c, m.d)};
}

RoundedRect boxOf(const Layer& layer)
{
    return {{{0, 0}, layer.size}, clampedCornerRadius(layer.cornerRadius, layer.size)};
}

/// A border around the box, whose outer corners are rounder by its width, those of a sharp box too.
void fillOuterBorder(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const RoundedRect box = boxOf(layer);
    const double width = layer.strokeWidth;
    Path ring = boxOutline({insetBy(box.rect, -width, -width), box.radius + width}, style.corners);
    ring.add(boxOutline(box, style.corners));
    context.setFillColor(rasterColor(layer.stroke));
    context.fillPath(ring, FillRule::evenOdd);
}

/// The stroke of an image or a video: a ring inside, or a clipped line or a border outside.
void strokeMedia(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const CGRect rect{{0, 0}, layer.size};
    if (layer.perSideStroke) return Exporter::drawPerSideStroke(layer, rect, context, style);
    if (!(layer.strokeWidth > 0)) return;
    if (!layer.strokeOutside) return fillStrokeRing(layer, context, style);
    if (style.mediaStroke == DrawingStyle::MediaStroke::border) return fillOuterBorder(layer, context, style);
    strokeClipped(boxOutline(boxOf(layer), style.corners), layer, context, style);
}

/// Draws a picture over the layer's box.
void drawInBox(const ImageRef& image, const CGRect& source, const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    if (!image) return;
    const RoundedRect box = boxOf(layer);
    SavedState saved(context);
    context.clipToPath(boxOutline(box, style.corners), FillRule::winding);
    context.drawImage(image, source, box.rect);
}

/// The video of a live canvas, which has its pictures from elsewhere.
void drawLiveVideo(const Layer& layer, RasterContext& context, double time, const DrawingStyle& style)
{
    const std::string path = mediaPath(layer.videoURL, style.videos->documentFolder());
    const std::optional<double> source = sourceTime(layer, time);
    if (!fileExists(path)) {
        drawVideoMissingPlaceholder(boxOf(layer), context, style);
    } else {
        if (!source) return;
        const ImageRef image = style.videos->picture(layer, path, *source);
        if (image) drawInBox(image, {{0, 0}, image->size()}, layer, context, style);
    }
    strokeMedia(layer, context, style);
}

} // namespace

ImageRef Picture::imageFor(CGSize pixels) const
{
    static ArtRenderings renderings;
    if (bitmap_) return bitmap_;
    const auto side = [](double length) {
        return std::isfinite(length) ? static_cast<int>(std::clamp(std::ceil(length), 1.0, greatestArtSide)) : 1;
    };
    return renderings.rendering(art_, side(pixels.width), side(pixels.height));
}

std::shared_ptr<const Picture> mediaPicture(const Bytes& bytes)
{
    static Pictures pictures;
    return pictures.picture(bytes);
}

PlacedPicture placedPicture(const Layer& layer, CGSize shown)
{
    const std::shared_ptr<const Picture> picture = layer.imageData ? mediaPicture(*layer.imageData) : nullptr;
    if (!picture) return {};

    const CGSize own = picture->size();
    CGRect crop{{0, 0}, own};
    if (layer.cropMode == CropMode::manual) crop = croppedPixels(manualCropRect(layer.cropRect, own), own).value_or(crop);
    // Vector art is rendered as large as the whole of it would be.
    ImageRef image = picture->imageFor({shown.width * own.width / crop.size.width, shown.height * own.height / crop.size.height});
    if (!image) return {};

    const double across = image->width() / own.width, down = image->height() / own.height;
    return {std::move(image),
            {{crop.origin.x * across, crop.origin.y * down}, {crop.size.width * across, crop.size.height * down}}};
}

PlacedPicture keyedPicture(const Layer& layer, CGSize shown)
{
    static KeyedPictures keyed;
    const BlackKeySettings settings = blackKeySettings(layer);
    const std::shared_ptr<const Picture> picture = layer.imageData ? mediaPicture(*layer.imageData) : nullptr;
    if (!picture || !picture->bitmap() || !settings.isKeyed()) return placedPicture(layer, shown);

    ImageRef image = keyed.picture(*layer.imageData, picture->bitmap(), settings);
    const CGRect whole{{0, 0}, image->size()};
    return {std::move(image), whole};
}

bool cutsCorners(double radius)
{
    return radius > leastClippedRadius;
}

void Exporter::drawImageBody(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const CGSize shown = sizeOnRaster(layer.size, context);
    const auto [image, source] =
        style.keying == DrawingStyle::Keying::honoured ? keyedPicture(layer, shown) : placedPicture(layer, shown);
    if (!image) return;
    const RoundedRect box = boxOf(layer);
    {
        SavedState saved(context);
        if (cutsCorners(box.radius)) context.clipToPath(boxOutline(box, style.corners), FillRule::winding);
        context.drawImage(image, source, box.rect);
    }
    strokeMedia(layer, context, style);
}

void Exporter::drawVideoBody(const Layer& layer, RasterContext& context, double time, const DrawingStyle& style)
{
    if (style.videos) return drawLiveVideo(layer, context, time, style);
    const CroppedPicture picture = videoPicture(layer, time);
    if (!picture.image) return;
    drawInBox(picture.image, picture.pixels, layer, context, style);
    strokeMedia(layer, context, style);
}

} // namespace larkspool
