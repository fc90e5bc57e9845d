#pragma once

#include "document/enumeration.h"
#include "editing/edit.h"
#include "editing/modifiers.h"
#include "platform/image.h"
#include "rendering/video_media.h"

#include <functional>
#include <optional>
#include <string_view>

namespace larkspool {

/// Setting the crop of an image or a video by hand. A crop is a rectangle in fractions of the source, from the top left.

/// What a crop is dragged by: its corners and sides, clockwise from the top left, and all of it.
enum class CropHandle { nw, n, ne, e, se, s, sw, w, body };

template <>
struct EnumTable<CropHandle> {
    using enum CropHandle;
    static constexpr EnumCase<CropHandle> cases[] = {
        {nw, "nw", "Top Left"},    {n, "n", "Top"},            {ne, "ne", "Top Right"},
        {e, "e", "Right"},         {se, "se", "Bottom Right"}, {s, "s", "Bottom"},
        {sw, "sw", "Bottom Left"}, {w, "w", "Left"},           {body, "body", "Whole Crop"},
    };
};

/// No side of a crop is shorter than this, as a fraction of the source.
inline constexpr double leastCropSide = 0.02;

/// The whole source.
inline constexpr CGRect wholeCrop{{0, 0}, {1, 1}};

/// The crop dragged by a handle from where it was, by fractions of the source. A side stops at the edge of the source and
/// `leastCropSide` short of the opposite one; the body stops at the edges with its size kept. `crop` must be sanitized.
CGRect draggedCrop(const CGRect& crop, CropHandle handle, CGPoint delta);

enum class ArrowKey { left, right, up, down };

/// How far an arrow key moves a crop, in fractions: a pixel of the source, with shift ten. A source without pixels counts as one
/// pixel.
CGPoint cropStep(ArrowKey key, Modifiers modifiers, CGSize pixels);

/// What the crop of a layer is set on: the picture of an image, or that of a video at the source time where its clip starts.
/// Null if it cannot be had. For any thread.
ImageRef cropPreview(const Layer& layer, VideoFrameReader readFrame = Exporter::exportFrame);

/// The source around a point, magnified. All in view points.
struct CropMagnifier {
    static constexpr double side = 130; ///< Of the square; its corners are round by half of that.

    CGRect square{};  ///< What is drawn lies in it, and the point in its middle.
    CGRect picture{}; ///< Where the whole picture lies behind it.

    bool operator==(const CropMagnifier&) const = default;
};

/// The frame over the picture: what is dragged with the pointer. Points are view points.
struct CropEditorOverlay {
    CGRect imgRect{}; ///< The picture's rectangle in the view.
    CGRect crop = wholeCrop;
    ImageRef preview{};                       ///< Null while it loads, and for good if it cannot be had.
    std::optional<CropHandle> activeHandle{}; ///< Under the pointer that is down.
    std::optional<CropHandle> selectedHandle{}; ///< What the keyboard moves. None is the body.
    CGRect dragBase{};                        ///< The crop when the drag began.
    CGPoint dragStart{};
    std::optional<CGPoint> dragLocation{};    ///< Of the pointer once it has moved; absent between drags.

    /// The crop in the view.
    CGRect frame() const;
    /// Where the handle's middle stands; of the body the middle of the crop.
    CGPoint handlePoint(CropHandle handle) const;
    /// The nearest handle that the point is near enough to, else the body if it lies in the crop.
    std::optional<CropHandle> handleAt(CGPoint point) const;

    void beginDrag(CropHandle handle, CGPoint at);
    void drag(CGPoint to); ///< Goes by the way since the begin. Nothing happens while no drag is under way.
    void endDrag();        ///< A handle that was never moved was tapped, and becomes the selected one.
    void cancelDrag();     ///< Ends it with the crop as it was when it began.

    /// Where the magnifier for a point stands in a view of that size: right of it and below, or on the other side of it where it
    /// would leave the view, or come upon the label at the bottom; always within the view's left and top edge. A point beside
    /// the picture shows the nearest of it. Nothing without a picture.
    std::optional<CropMagnifier> magnifier(CGPoint at, CGSize view) const;
};

/// The sheet in which a crop is set. Nothing of it reaches the document before "Done".
class CropEditorSheet {
public:
    static constexpr std::string_view title = "Crop";

    using OnCommit = std::function<void(const CGRect& crop)>;
    using OnCancel = std::function<void()>;

    /// Opens with the layer's crop. The picture is loading until `showPreview`.
    CropEditorSheet(const Layer& layer, OnCommit onCommit, OnCancel onCancel);

    const UUID& layerID() const { return layerID_; }
    const CGRect& crop() const { return overlay_.crop; }
    bool loading() const { return loading_; }
    CropEditorOverlay& overlay() { return overlay_; }
    const CropEditorOverlay& overlay() const { return overlay_; }

    /// Takes what `cropPreview` has come to; null if there is no picture.
    void showPreview(ImageRef preview);

    /// An arrow key moves the selected handle's edges, or the crop. No key stands for all others. Whether it was used: a key
    /// that was is not for anyone else.
    bool keyDown(std::optional<ArrowKey> key, Modifiers modifiers);

    /// @name The buttons.
    /// @{
    void reset();
    void cancel() const;
    void done() const;
    /// @}

    /// The rectangle shifted until it lies within 0...1. No side is below `leastCropSide` or above 1.
    static CGRect sanitized(const CGRect& rect);

private:
    UUID layerID_;
    OnCommit onCommit_;
    OnCancel onCancel_;
    CropEditorOverlay overlay_;
    bool loading_ = true;
};

/// Asks for the sheet: what goes with the notification that opens it.
struct CropEditorRequest {
    UUID layerID{};
    bool freshToggle = false; ///< The crop by hand is turned on with the sheet.

    bool operator==(const CropEditorRequest&) const = default;
};

/// The request for the first selected layer of the tree. It is a fresh toggle where the layer is not cropped by hand yet, so that
/// the crop shows. Nothing where that is no image and no video.
std::optional<CropEditorRequest> cropEditorRequest(const TweenScene& scene, const LayerIDs& selection);

/// What opens the sheet on a layer, and turns what it comes to into an edit. The window holds one.
class CropEditorBus {
public:
    /// Opens on a layer of the scene. A fresh toggle is one that turns the crop by hand on with the sheet: the layer gets that
    /// mode with "Done". False for a layer that is gone: the sheet then does not open.
    bool open(const UUID& layerID, bool freshToggle, const TweenScene& scene);

    const std::optional<UUID>& cropEditorLayerID() const { return cropEditorLayerID_; } ///< Absent while there is no sheet.
    const std::optional<TweenScene>& openSnapshot() const { return openSnapshot_; } ///< The scene at the opening.
    bool openedFromFreshToggle() const { return openedFromFreshToggle_; }

    /// Closes the sheet. The edit that writes the crop into the scene as it is now; nothing if the layer is gone by then, or no
    /// sheet was open.
    std::optional<Edit> done(const CGRect& crop, const TweenScene& scene);

    /// Closes the sheet. The scene to go back to; nothing if no sheet was open.
    std::optional<TweenScene> cancel();

    static bool layerExistsInTree(const UUID& id, const TweenScene& scene);
    /// @name Both leave a scene without the layer as it is. Whether it was there.
    /// @{
    static bool enableManualCropInTree(const UUID& id, TweenScene& scene);
    static bool applyCropRectInTree(const UUID& id, const CGRect& newRect, TweenScene& scene);
    /// @}

private:
    std::optional<UUID> cropEditorLayerID_{};
    std::optional<TweenScene> openSnapshot_{};
    bool openedFromFreshToggle_ = false;
};

} // namespace larkspool
