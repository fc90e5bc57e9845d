#pragma once

#include "platform/image.h"
#include "platform/raster_context.h"

#include <optional>
#include <string>

namespace larkspool {

struct Layer;

/// Where a live canvas has the pictures of its videos from. For the main thread.
class VideoPictures {
public:
    virtual ~VideoPictures() = default;

    /// What is known of the file that a layer's reference to its video names.
    struct File {
        enum class State { unknown, missing, there };

        State state = State::unknown;
        std::string path{}; ///< Of a file that is there.

        bool operator==(const File&) const = default;
    };

    /// Never waits where others look after it: what is not known is looked for. Unless told otherwise the file system is asked at
    /// once, about the file as it stands.
    virtual File file(const std::string& reference);

    /// A painting begins: whether the scene plays, and the wall clock in seconds.
    virtual void beginPainting(bool scenePlaying, double now) = 0;

    /// What the layer shows at `sourceTime`, in seconds of the file at `path`, cut as the layer says; or the last picture that is
    /// at hand, or null. Never waits: what is missing is sent for.
    virtual ImageRef picture(const Layer& layer, const std::string& path, double sourceTime) = 0;

    /// The painting is done. Who was not asked for a picture shows no more.
    virtual void endPainting() = 0;
};

/// Where a live canvas has the pictures of its image layers from. For the main thread.
class ImagePictures {
public:
    virtual ~ImagePictures() = default;

    /// How much of a picture can be drawn at once.
    enum class AtHand {
        nothing,
        otherSize, ///< Vector art as it was rendered for another size, which can be stretched.
        all
    };

    virtual void beginPainting() = 0;

    /// How much of what the layer shows, where it is `shown` large in pixels of the raster, is there. Never waits: what is not
    /// there yet is sent for.
    virtual AtHand atHand(const Layer& layer, CGSize shown) = 0;

    /// The painting is done. What was not asked for is not wanted any more.
    virtual void endPainting() = 0;
};

/// How a scene is drawn. As it is by default, a frame of a film is; what a live canvas shows otherwise is told by these and
/// nothing else, so that the two cannot drift apart.
struct DrawingStyle {
    enum class Corners { circular, continuous };
    /// Handed down, a group's opacity is multiplied with that of each of its layers; composited, the group is drawn for itself,
    /// and then once with its opacity.
    enum class Opacity { handedDown, composited };
    /// One shadow, in pixels of the raster, or three, one cast by the other, in view points.
    enum class Glow { once, stacked };
    /// Drawn as a string, or as the text of a view: centred by its capitals, and what is not typed yet hidden by characters.
    enum class Text { string, view };
    /// Whether the black key of an image counts.
    enum class Keying { none, honoured };
    /// A line that is clipped to the outside of the picture, or a border around it with a rounder outer edge.
    enum class MediaStroke { clippedLine, border };
    /// The zoom's rectangle fitted into its viewport and centred; or as wide as it, from the top left.
    enum class ViewportFit { whole, width };
    enum class Rings { behindLayers, none };
    enum class NestedZooms { drawn, leftOut };
    /// Of a film, shadows are told in pixels of the raster, and the least measures of lines in the layer's own unit. Of a view,
    /// shadows are told in units of the scene, and glows and the least measures of lines in view points.
    enum class Units { film, view };

    /// The boxes that stand for zooms and hot spots while a scene is edited.
    struct EditingFrames {
        RasterColor zoom, hotspot;
    };

    Corners corners = Corners::circular;
    Opacity opacity = Opacity::handedDown;
    Glow glow = Glow::once;
    Text text = Text::string;
    Keying keying = Keying::none;
    MediaStroke mediaStroke = MediaStroke::clippedLine;
    ViewportFit viewportFit = ViewportFit::whole;
    Rings rings = Rings::behindLayers;
    NestedZooms nestedZooms = NestedZooms::drawn; ///< Picture-in-picture zooms below the top of what a viewport shows.
    Units units = Units::film;

    double clippedStrokeExtra = 0.5; ///< Added to the doubled width of every stroke that is clipped to one side of its outline.
    double leastFreeformWidth = 0; ///< Of a line, as `units` say.
    double viewScale = 1; ///< View points for a unit of the scene: above 0, and 1 in a film.
    double pixelsPerPoint = 1; ///< Pixels of the raster for a view point; 1 in a film.

    std::optional<CGRect> visiblePixels; ///< Of the raster, in whole pixels. What moves by itself need not be worked out beyond.
    std::optional<double> spinnerClock; ///< Seconds by which a waiting cursor turns, if not by the scene's time.
    VideoPictures* videos = nullptr; ///< Absent, pictures are read from the files at once, and a missing file shows nothing.
    ImagePictures* images = nullptr; ///< Absent, pictures are decoded, and vector art rendered, while they are drawn.
    std::optional<EditingFrames> editingFrames; ///< Absent, zooms and hot spots are not seen.
};

} // namespace larkspool
