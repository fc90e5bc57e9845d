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
constexpr std::size_t greatestArtCount = 512;
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
            {
                const std::scoped_lock lock(mutex_);
                entries_.erase(find(bytes)); // Memory may suffice another time.
            }
            promise.set_exception(std::current_exception());
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
        if (const std::optional<ImageRef> kept = known(art, width, height)) return *kept;
        const std::scoped_lock turn(rendering_); // Nobody renders what another is at already.
        if (const std::optional<ImageRef> kept = known(art, width, height)) return *kept;
        ImageRef image = art->render(width, height); // Nobody waits who only asks what is there.
        const std::scoped_lock lock(mutex_);
        entries_.push_front({art, width, height, image});
        total_ += cost(entries_.front());
        while ((total_ > greatestArtBytes && entries_.size() > 1) || entries_.size() > greatestArtCount) {
            total_ -= cost(entries_.back());
            entries_.pop_back();
        }
        return image;
    }

    /// Nothing if it is not kept.
    std::optional<ImageRef> known(const std::shared_ptr<const VectorArt>& art, int width, int height)
    {
        const std::scoped_lock lock(mutex_);
        const auto entry = std::ranges::find_if(
            entries_, [&](const Entry& e) { return e.art == art && e.width == width && e.height == height; });
        if (entry == entries_.end()) return std::nullopt;
        entries_.splice(entries_.begin(), entries_, entry);
        return entries_.front().image;
    }

    /// In the size that was used last. Null if none is kept.
    ImageRef last(const std::shared_ptr<const VectorArt>& art)
    {
        const std::scoped_lock lock(mutex_);
        const auto entry = std::ranges::find_if(entries_, [&](const Entry& e) { return e.art == art && e.image; });
        return entry == entries_.end() ? nullptr : entry->image;
    }

private:
    struct Entry {
        std::shared_ptr<const VectorArt> art;
        int width, height;
        ImageRef image;
    };

    /// What could not be drawn is kept too.
    static std::size_t cost(const Entry& entry) { return entry.image ? entry.image->byteSize() : 0; }

    std::mutex rendering_, mutex_; ///< Locked in this order.
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

ArtRenderings& artRenderings()
{
    static ArtRenderings renderings;
    return renderings;
}

KeyedPictures& keyedPictures()
{
    static KeyedPictures pictures;
    return pictures;
}

struct WholePixels {
    int width, height;
};

WholePixels artPixels(CGSize pixels)
{
    const auto side = [](double length) {
        return std::isfinite(length) ? static_cast<int>(std::clamp(std::ceil(length), 1.0, greatestArtSide)) : 1;
    };
    return {side(pixels.width), side(pixels.height)};
}

/// The part of a picture that the layer shows, in units of its own size.
CGRect shownPart(const Layer& layer, CGSize own)
{
    const CGRect whole{{0, 0}, own};
    if (layer.cropMode != CropMode::manual) return whole;
    return croppedPixels(manualCropRect(layer.cropRect, own), own).value_or(whole);
}

/// How large the whole of a picture is on the raster, where the part that the layer shows is `shown` large.
CGSize wholeOnRaster(const Layer& layer, CGSize own, CGSize shown)
{
    const CGRect part = shownPart(layer, own);
    return {shown.width * own.width / part.size.width, shown.height * own.height / part.size.height};
}

/// An image of the picture, in whatever size, with the part of it that the layer shows.
PlacedPicture placed(const Layer& layer, CGSize own, ImageRef image)
{
    if (!image) return {};
    const CGRect part = shownPart(layer, own);
    const double across = image->width() / own.width, down = image->height() / own.height;
    return {std::move(image),
            {{part.origin.x * across, part.origin.y * down}, {part.size.width * across, part.size.height * down}}};
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
    if (bitmap_) return bitmap_;
    const auto [width, height] = artPixels(pixels);
    return artRenderings().rendering(art_, width, height);
}

std::optional<ImageRef> Picture::keptImageFor(CGSize pixels) const
{
    if (bitmap_) return bitmap_;
    const auto [width, height] = artPixels(pixels);
    return artRenderings().known(art_, width, height);
}

ImageRef Picture::lastImage() const
{
    return bitmap_ ? bitmap_ : artRenderings().last(art_);
}

std::shared_ptr<const Picture> mediaPicture(const Bytes& bytes)
{
    return pictures().picture(bytes);
}

PlacedPicture placedPicture(const Layer& layer, CGSize shown)
{
    const std::shared_ptr<const Picture> picture = layer.imageData ? mediaPicture(*layer.imageData) : nullptr;
    if (!picture) return {};
    // Vector art is rendered as large as the whole of it would be.
    return placed(layer, picture->size(), picture->imageFor(wholeOnRaster(layer, picture->size(), shown)));
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

ImagePictures::AtHand pictureAtHand(const Layer& layer, CGSize shown)
{
    using AtHand = ImagePictures::AtHand;
    if (!layer.imageData) return AtHand::all;
    const auto known = pictures().known(*layer.imageData);
    if (!known) return AtHand::nothing;
    const std::shared_ptr<const Picture> picture = *known;
    if (!picture) return AtHand::all;
    const BlackKeySettings settings = blackKeySettings(layer);
    if (picture->bitmap() && settings.isKeyed())
        return keyedPictures().known(*layer.imageData, settings) ? AtHand::all : AtHand::nothing;
    if (picture->keptImageFor(wholeOnRaster(layer, picture->size(), shown))) return AtHand::all;
    return picture->lastImage() ? AtHand::otherSize : AtHand::nothing;
}

PlacedPicture lastPicture(const Layer& layer)
{
    const auto known = layer.imageData ? pictures().known(*layer.imageData) : std::nullopt;
    if (!known || !*known) return {};
    const Picture& picture = **known;
    return placed(layer, picture.size(), picture.lastImage());
}

bool cutsCorners(double radius)
{
    return radius > leastClippedRadius;
}

void Exporter::drawImageBody(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    using AtHand = ImagePictures::AtHand;
    const CGSize shown = sizeOnRaster(layer.size, context);
    const AtHand atHand = style.images ? style.images->atHand(layer, shown) : AtHand::all;
    if (atHand == AtHand::nothing) return strokeMedia(layer, context, style);
    const auto [image, source] = atHand == AtHand::otherSize                      ? lastPicture(layer)
                                 : style.keying == DrawingStyle::Keying::honoured ? keyedPicture(layer, shown)
                                                                                  : placedPicture(layer, shown);
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
