#include "rendering/image_media.h"

#include "evaluation/video_time.h"
#include "rendering/continuous_corners.h"
#include "rendering/media_crop.h"
#include "rendering/raster_color.h"
#include "rendering/shapes.h"
#include "rendering/video_media.h"
#include "rendering/video_placeholder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <future>
#include <iterator>
#include <list>
#include <map>
#include <mutex>
#include <optional>

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

    /// Whether it is decoded and kept, as nothing too.
    std::optional<PictureRef> known(const Bytes& bytes)
    {
        const std::scoped_lock lock(mutex_);
        const auto entry = find(bytes);
        if (entry == entries_.end()) return std::nullopt;
        if (entry->picture.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return std::nullopt;
        return entry->picture.get();
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
        if (ImageRef kept = known(bytes, settings)) return kept;
        ImageRef cut = blackKeyedImage(decoded, settings); // Nobody waits who only asks what is there.
        const std::scoped_lock lock(mutex_);
        if (const auto entry = find(bytes, settings); entry != entries_.end()) return entry->image;
        entries_.push_front({bytes, settings, std::move(cut)});
        total_ += entries_.front().image->byteSize();
        while (total_ > greatestKeyedBytes && entries_.size() > 1) {
            total_ -= entries_.back().image->byteSize();
            entries_.pop_back();
        }
        return entries_.front().image;
    }

    /// Null if it is not kept.
    ImageRef known(const Bytes& bytes, const BlackKeySettings& settings)
    {
        const std::scoped_lock lock(mutex_);
        const auto entry = find(bytes, settings);
        if (entry == entries_.end()) return nullptr;
        entries_.splice(entries_.begin(), entries_, entry);
        return entries_.front().image;
    }

private:
    struct Entry {
        Bytes bytes; ///< Kept, so that its address means this content alone.
        BlackKeySettings settings;
        ImageRef image;
    };

    std::list<Entry>::iterator find(const Bytes& bytes, const BlackKeySettings& settings)
    {
        return std::ranges::find_if(
            entries_, [&](const Entry& e) { return e.bytes.sharesStorageWith(bytes) && e.settings == settings; });
    }

    std::mutex mutex_;
    std::list<Entry> entries_;
    std::size_t total_ = 0;
};

Pictures& pictures()
{
    static Pictures pictures;
    return pictures;
}

KeyedPictures& keyedPictures()
{
    static KeyedPictures pictures;
    return pictures;
}

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
    using State = VideoPictures::File::State;
    const VideoPictures::File file = style.videos->file(layer.videoURL.string());
    const std::optional<double> source = sourceTime(layer, time);
    if (file.state == State::missing) {
        drawVideoMissingPlaceholder(boxOf(layer), context, style);
    } else {
        if (!source) return;
        const ImageRef image = file.state == State::there ? style.videos->picture(layer, file.path, *source) : nullptr;
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
    return pictures().picture(bytes);
}

bool isPictureAtHand(const Bytes& bytes, const BlackKeySettings& settings)
{
    const auto known = pictures().known(bytes);
    if (!known) return false;
    const bool isCut = *known && (*known)->bitmap() && settings.isKeyed();
    return !isCut || keyedPictures().known(bytes, settings);
}

void preparePicture(const Bytes& bytes, const BlackKeySettings& settings)
{
    const std::shared_ptr<const Picture> picture = mediaPicture(bytes);
    if (picture && picture->bitmap() && settings.isKeyed()) keyedPictures().picture(bytes, picture->bitmap(), settings);
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
    const BlackKeySettings settings = blackKeySettings(layer);
    const std::shared_ptr<const Picture> picture = layer.imageData ? mediaPicture(*layer.imageData) : nullptr;
    if (!picture || !picture->bitmap() || !settings.isKeyed()) return placedPicture(layer, shown);

    ImageRef image = keyedPictures().picture(*layer.imageData, picture->bitmap(), settings);
    const CGRect whole{{0, 0}, image->size()};
    return {std::move(image), whole};
}

bool cutsCorners(double radius)
{
    return radius > leastClippedRadius;
}

void Exporter::drawImageBody(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    if (style.images && !style.images->isAtHand(layer)) return strokeMedia(layer, context, style);
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
