#include "canvas/crop_editor.h"

#include "canvas/canvas_geometry.h"
#include "canvas/hit_testing.h"
#include "canvas/selection_handles.h"
#include "editing/scene_lookup.h"
#include "platform/file_url.h"
#include "rendering/image_media.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr double magnifierGap = 8;

/// The label at the bottom of the view, and what is kept free above it.
constexpr double labelHeight = 70;
constexpr double labelGap = 28;

/// View points that a pixel of the source takes in the magnifier, unless the magnification is at its least.
constexpr double magnifiedPixel = 10;
constexpr double leastMagnification = 3;

constexpr double shiftedPixels = 10;

constexpr std::array edgeHandles = {CropHandle::nw, CropHandle::n, CropHandle::ne, CropHandle::e,
                                    CropHandle::se, CropHandle::s, CropHandle::sw, CropHandle::w};

/// What of an axis a handle moves.
enum class Part { nothing, low, high, all };

Part partAcross(CropHandle handle)
{
    switch (handle) {
    case CropHandle::nw:
    case CropHandle::w:
    case CropHandle::sw: return Part::low;
    case CropHandle::ne:
    case CropHandle::e:
    case CropHandle::se: return Part::high;
    case CropHandle::body: return Part::all;
    default: return Part::nothing;
    }
}

Part partDown(CropHandle handle)
{
    switch (handle) {
    case CropHandle::nw:
    case CropHandle::n:
    case CropHandle::ne: return Part::low;
    case CropHandle::sw:
    case CropHandle::s:
    case CropHandle::se: return Part::high;
    case CropHandle::body: return Part::all;
    default: return Part::nothing;
    }
}

/// The nearest number of the range; what is no number is the least one.
double held(double value, double least, double most)
{
    return value > least ? std::min(value, std::max(least, most)) : least;
}

/// A crop along one axis.
struct Stretch {
    double low = 0, length = 1;

    Stretch sanitized() const
    {
        const double kept = held(length, leastCropSide, 1);
        return {held(low, 0, 1 - kept), kept};
    }

    Stretch dragged(Part part, double delta) const
    {
        if (delta == 0) return *this; // Exactly, where limits would round.
        switch (part) {
        case Part::low: {
            const double travel = held(delta, -low, length - leastCropSide);
            return {low + travel, length - travel};
        }
        case Part::high: return {low, held(length + delta, leastCropSide, 1 - low)};
        case Part::all: return {held(low + delta, 0, 1 - length), length};
        default: return *this;
        }
    }
};

Stretch across(const CGRect& rect)
{
    return {rect.minX(), rect.size.width};
}

Stretch down(const CGRect& rect)
{
    return {rect.minY(), rect.size.height};
}

CGRect rectOf(const Stretch& x, const Stretch& y)
{
    return {{x.low, y.low}, {x.length, y.length}};
}

/// Of low, middle and high, where the handle stands along an axis.
double placeOf(Part part, double low, double high)
{
    if (part == Part::low) return low;
    return part == Part::high ? high : (low + high) * 0.5;
}

bool hasArea(const CGRect& rect)
{
    return rect.size.width > 0 && rect.size.height > 0;
}

/// Where the magnifier begins along an axis: behind the point, or before it where `most` would be passed.
double besidePoint(double point, double most)
{
    const double behind = point + magnifierGap;
    const bool fits = behind + CropMagnifier::side <= most;
    return fits ? behind : std::max(point - magnifierGap - CropMagnifier::side, 0.0);
}

ImageRef imagePreview(const Layer& layer)
{
    if (!layer.imageData) return nullptr;
    const std::shared_ptr<const Picture> picture = mediaPicture(*layer.imageData);
    return picture ? picture->imageFor(picture->size()) : nullptr;
}

} // namespace

CGRect draggedCrop(const CGRect& crop, CropHandle handle, CGPoint delta)
{
    return rectOf(across(crop).dragged(partAcross(handle), delta.x), down(crop).dragged(partDown(handle), delta.y));
}

CGPoint cropStep(ArrowKey key, Modifiers modifiers, CGSize pixels)
{
    const double count = modifiers.shift ? shiftedPixels : 1;
    const double x = count / std::max(pixels.width, 1.0), y = count / std::max(pixels.height, 1.0);
    switch (key) {
    case ArrowKey::left: return {-x, 0};
    case ArrowKey::right: return {x, 0};
    case ArrowKey::up: return {0, -y};
    case ArrowKey::down: return {0, y};
    }
    return {};
}

ImageRef cropPreview(const Layer& layer, VideoFrameReader readFrame)
{
    if (layer.kind == Layer::Kind::image) return imagePreview(layer);
    if (layer.kind != Layer::Kind::video || layer.videoURL.empty()) return nullptr;
    return readFrame(pathFromURLOrPath(layer.videoURL), layer.videoClip.sourceStart);
}

CGRect CropEditorOverlay::frame() const
{
    return {{imgRect.minX() + crop.minX() * imgRect.size.width, imgRect.minY() + crop.minY() * imgRect.size.height},
            {crop.size.width * imgRect.size.width, crop.size.height * imgRect.size.height}};
}

CGPoint CropEditorOverlay::handlePoint(CropHandle handle) const
{
    const CGRect box = frame();
    return {placeOf(partAcross(handle), box.minX(), box.maxX()), placeOf(partDown(handle), box.minY(), box.maxY())};
}

std::optional<CropHandle> CropEditorOverlay::handleAt(CGPoint point) const
{
    std::optional<CropHandle> nearest;
    double least = handleRadius;
    for (const CropHandle handle : edgeHandles) {
        const CGPoint middle = handlePoint(handle);
        const double distance = std::hypot(point.x - middle.x, point.y - middle.y);
        const bool isNearer = nearest ? distance < least : distance <= least;
        if (!isNearer) continue;
        nearest = handle;
        least = distance;
    }
    if (nearest) return nearest;
    return holds(frame(), point) ? std::optional(CropHandle::body) : std::nullopt;
}

void CropEditorOverlay::beginDrag(CropHandle handle, CGPoint at)
{
    activeHandle = handle;
    dragBase = crop;
    dragStart = at;
    dragLocation.reset();
}

void CropEditorOverlay::drag(CGPoint to)
{
    const bool canMove = activeHandle && hasArea(imgRect);
    if (!canMove || (!dragLocation && to == dragStart)) return;
    dragLocation = to;
    crop = draggedCrop(dragBase, *activeHandle,
                       {(to.x - dragStart.x) / imgRect.size.width, (to.y - dragStart.y) / imgRect.size.height});
}

void CropEditorOverlay::endDrag()
{
    if (activeHandle && !dragLocation) selectedHandle = activeHandle;
    activeHandle.reset();
    dragLocation.reset();
}

void CropEditorOverlay::cancelDrag()
{
    if (activeHandle) crop = dragBase;
    activeHandle.reset();
    dragLocation.reset();
}

std::optional<CropMagnifier> CropEditorOverlay::magnifier(CGPoint at, CGSize view) const
{
    if (!preview || !hasArea(imgRect)) return std::nullopt;
    const double scale = imgRect.size.width / preview->size().width;
    const double magnification = std::max(magnifiedPixel / scale, leastMagnification);
    const CGSize size{imgRect.size.width * magnification, imgRect.size.height * magnification};
    const CGPoint fraction{held((at.x - imgRect.minX()) / imgRect.size.width, 0, 1),
                           held((at.y - imgRect.minY()) / imgRect.size.height, 0, 1)};

    const CGRect square{{besidePoint(at.x, view.width), besidePoint(at.y, view.height - labelGap - labelHeight)},
                        {CropMagnifier::side, CropMagnifier::side}};
    return CropMagnifier{square, {{square.midX() - fraction.x * size.width, square.midY() - fraction.y * size.height}, size}};
}

CropEditorSheet::CropEditorSheet(const Layer& layer, OnCommit onCommit, OnCancel onCancel)
    : layerID_(layer.id), onCommit_(std::move(onCommit)), onCancel_(std::move(onCancel))
{
    overlay_.crop = sanitized(layer.cropRect);
}

void CropEditorSheet::showPreview(ImageRef preview)
{
    overlay_.preview = std::move(preview);
    loading_ = false;
}

bool CropEditorSheet::keyDown(std::optional<ArrowKey> key, Modifiers modifiers)
{
    if (!key) return false;
    const CGSize pixels = overlay_.preview ? overlay_.preview->size() : CGSize{};
    const CropHandle handle = overlay_.selectedHandle.value_or(CropHandle::body);
    overlay_.crop = draggedCrop(overlay_.crop, handle, cropStep(*key, modifiers, pixels));
    return true;
}

void CropEditorSheet::reset()
{
    overlay_.crop = wholeCrop;
}

void CropEditorSheet::cancel() const
{
    if (onCancel_) onCancel_();
}

void CropEditorSheet::done() const
{
    if (onCommit_) onCommit_(sanitized(overlay_.crop));
}

CGRect CropEditorSheet::sanitized(const CGRect& rect)
{
    return rectOf(across(rect).sanitized(), down(rect).sanitized());
}

std::optional<CropEditorRequest> cropEditorRequest(const TweenScene& scene, const LayerIDs& selection)
{
    const Layer* layer = selectedAnyLayer(scene, selection);
    const bool isMedia = layer && (layer->kind == Layer::Kind::image || layer->kind == Layer::Kind::video);
    if (!isMedia) return std::nullopt;
    return CropEditorRequest{.layerID = layer->id, .freshToggle = layer->cropMode != CropMode::manual};
}

bool CropEditorBus::open(const UUID& layerID, bool freshToggle, const TweenScene& scene)
{
    if (!layerExistsInTree(layerID, scene)) return false;
    cropEditorLayerID_ = layerID;
    openSnapshot_ = scene;
    openedFromFreshToggle_ = freshToggle;
    return true;
}

std::optional<Edit> CropEditorBus::done(const CGRect& crop, const TweenScene& scene)
{
    const CropEditorBus opened = std::exchange(*this, {});
    if (!opened.cropEditorLayerID_) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Edit Crop"};
    if (!applyCropRectInTree(*opened.cropEditorLayerID_, CropEditorSheet::sanitized(crop), edit.scene)) return std::nullopt;
    if (opened.openedFromFreshToggle_) enableManualCropInTree(*opened.cropEditorLayerID_, edit.scene);
    return edit;
}

std::optional<TweenScene> CropEditorBus::cancel()
{
    return std::exchange(*this, {}).openSnapshot_;
}

bool CropEditorBus::layerExistsInTree(const UUID& id, const TweenScene& scene)
{
    return findLayer(scene, id) != nullptr;
}

bool CropEditorBus::enableManualCropInTree(const UUID& id, TweenScene& scene)
{
    Layer* layer = editLayer(scene, id);
    if (layer) layer->cropMode = CropMode::manual;
    return layer != nullptr;
}

bool CropEditorBus::applyCropRectInTree(const UUID& id, const CGRect& newRect, TweenScene& scene)
{
    Layer* layer = editLayer(scene, id);
    if (layer) layer->cropRect = newRect;
    return layer != nullptr;
}

} // namespace larkspool
