#pragma once

#include "document/color.h"
#include "document/keyframe.h"
#include "document/layer_enumerations.h"
#include "document/path_command.h"
#include "document/pulse.h"
#include "document/time_span.h"
#include "document/transform.h"
#include "document/video_clip.h"
#include "foundation/array.h"
#include "foundation/shared_bytes.h"
#include "foundation/uuid.h"

#include <optional>

namespace larkspool {

struct Layer;

/// A layer is large, and an edit changes few of them: a copy of a scene that differs in one layer shares all others.
template <>
inline constexpr bool keepsElementsApart<Layer> = true;

/// One layer of a scene. The one record serves every kind; a kind ignores the fields that it has no use for.
///
/// Copying is cheap: lists, texts and bytes are shared until changed. Times are scene seconds, lengths canvas pixels, angles
/// degrees.
struct Layer {
    enum class Kind { rectangle, ellipse, path, text, image, group, cursor, line, gradientField, hotspot, video, zoom };

    UUID id = UUID::random(); ///< Unique within a scene.
    SharedString name = defaultName();
    Kind kind = Kind::rectangle;
    Transform transform{}; ///< Keyframes override its members.
    ColorRGBA fill{0.2, 0.5, 1, 1};
    ColorRGBA stroke = ColorRGBA::black;
    double strokeWidth = 0;
    bool strokeOutside = false; ///< The stroke lies outside the box rather than inside its edge.
    bool perSideStroke = false; ///< The four widths below hold instead of `strokeWidth`.
    double strokeWidthTop = 0;
    double strokeWidthRight = 0;
    double strokeWidthBottom = 0;
    double strokeWidthLeft = 0;
    double opacity = 1; ///< 0...1.
    CGSize size{200, 200};
    double cornerRadius = 0;
    Array<PathCommand> path{};          ///< Outline of a `path` layer.
    std::optional<Bytes> imageData{};   ///< The encoded picture of an `image` layer.
    bool blackKey = false;              ///< Key out the black surround of a screen capture.
    double blackKeyInsetX = 0;
    double blackKeyInsetY = 0;
    CropMode cropMode = CropMode::none;
    CGRect cropRect{{0, 0}, {1, 1}};    ///< In unit coordinates of the media.
    double gradientWarpSpeed = 1;
    double gradientPulseAmount = 0.5;
    SharedString videoURL{};            ///< A `file:` URL or a plain path.
    double videoDuration = 0;           ///< Seconds of the source.
    VideoClip videoClip{};
    std::optional<Bytes> videoBookmark{};
    CursorVariant cursorVariant = CursorVariant::arrow;
    bool nameFollowsCursorVariant = true; ///< `name` is derived until a person renames the layer; so too the three below.
    bool nameFollowsText = true;
    bool nameFollowsLineShape = true;
    bool nameFollowsShape = true;
    SharedString text = defaultText();
    double fontSize = 32;
    SharedString fontName{}; ///< Empty means the system font.
    ColorRGBA textColor = ColorRGBA::black;
    bool textAutoFit = true;         ///< The box follows the text.
    bool textColorHarmonize = false; ///< The colour is derived from the background.
    bool textUserResized = false;    ///< A person has sized the box.
    double textPadX = 0;
    double textPadY = 0;
    TextAlignment textAlignment = TextAlignment::center;
    TextVerticalAlignment textVerticalAlignment = TextVerticalAlignment::center;
    ShadowPreset shadow = ShadowPreset::none;
    bool isHidden = false;
    bool isLocked = false;
    ZoomType zoomType = ZoomType::fullScreen;
    bool pipRendition = false;   ///< A child of a picture-in-picture zoom that shows its view.
    Array<Layer> children{};     ///< Of a `group` or `zoom`.
    Array<Keyframe> keyframes{}; ///< Of all properties, in no particular order.
    GroupLayout groupLayout = GroupLayout::freeform;
    double groupGap = 8;
    GroupSizeMode groupSizeMode = GroupSizeMode::dynamic;
    bool groupFixedLocked = true;
    GroupAlignment groupAlignment = GroupAlignment::start;
    std::optional<CursorVariant> cursorHoverOverride{}; ///< What a cursor becomes while it passes over this layer.
    Array<TimeSpan> spans{};                            ///< When the layer shows; empty means always.
    Array<Pulse> pulses{};
    LineShape lineShape = LineShape::freeform;
    double lineArcBend = 0.5;
    bool lineArcReversed = false;
    double lineWaveFrequency = 3;
    double lineWaveAmplitude = 0.6;
    Array<CGPoint> linePoints{}; ///< Of a freeform line, in the layer's box.
    bool lineArrowStart = false;
    bool lineArrowEnd = false;
    bool lineCurved = false;

    /// @name Of evaluated copies only. A stored layer has the defaults, and a file never holds these.
    /// @{
    double lineDrawProgress = 1;
    bool lineDrawReversed = false;
    bool textCursorVisible = true;
    std::optional<std::size_t> textTypeOnVisible{}; ///< Characters shown; absent shows all.
    /// @}

    bool textCursorBlinks = false;

    /// The children as a tree view lists them, frontmost first; absent for every kind but `group`.
    std::optional<Array<Layer>> outlineChildren() const;

    bool operator==(const Layer&) const = default;

private:
    static const SharedString& defaultName();
    static const SharedString& defaultText();
};

template <>
struct EnumTable<Layer::Kind> {
    using enum Layer::Kind;
    static constexpr EnumCase<Layer::Kind> cases[] = {
        {rectangle, "rectangle"}, {ellipse, "ellipse"}, {path, "path"},
        {text, "text"},           {image, "image"},     {group, "group"},
        {cursor, "cursor"},       {line, "line"},       {gradientField, "gradientField"},
        {hotspot, "hotspot"},     {video, "video"},     {zoom, "zoom"},
    };
};

} // namespace larkspool
