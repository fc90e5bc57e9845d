#pragma once

#include "document/layer.h"
#include "platform/image.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

#include <map>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace larkspool {

/// The art of the cursors, rendered once to 512 pixels on the longer side and kept until the process ends. For any thread.
class CursorImageCache {
public:
    /// Art is looked for in the folders in turn, as files named after the variant: "arrow.svg".
    explicit CursorImageCache(std::vector<std::string> folders) : folders_(std::move(folders)) {}

    /// The one that drawing uses. It looks beside the installed program, then where the program was built.
    static CursorImageCache& shared();

    /// The rendered art; null if no folder has a file of it that can be read. A miss is not remembered.
    ImageRef image(CursorVariant variant);

private:
    std::vector<std::string> folders_;
    std::mutex lock_; ///< Held while art is rendered, so that none is rendered twice.
    std::map<CursorVariant, ImageRef> cache_;
};

/// The art of SVG bytes, 512 pixels on the longer side in the aspect that its width and height ask for (64 x 64 without them),
/// sides cut to whole pixels. Null if it is none, or so narrow that nothing is left.
ImageRef renderedCursorArt(std::span<const std::uint8_t> svg);

/// The art of the program's own copy. Null for `wait`.
ImageRef builtInCursorImage(CursorVariant variant);

/// The art of a variant: from the cache, or else the program's own copy. Null for `wait`, which is drawn.
ImageRef cursorNSImage(CursorVariant variant, CursorImageCache& cache = CursorImageCache::shared());
inline ImageRef exportCursorNSImage(CursorVariant variant) { return cursorNSImage(variant); }

/// Where art is drawn in a cursor layer's box: fitted with its aspect kept, centred.
CGRect fittedCursor(CGSize art, CGSize box);

/// One spoke of the spinner, pointing up from the centre before it is turned.
struct ThrobberSpoke {
    double rotation = 0; ///< Radians, clockwise.
    double opacity = 1;

    bool operator==(const ThrobberSpoke&) const = default;
};

/// The shape of every spoke, about the centre of the spinner, in a frame of this size.
RoundedRect throbberSpokeShape(CGSize frame);

/// The spokes of a spinner of `count` whose brightest is `lead`: the one ahead of it is the faintest. No spoke for a count below 1.
std::vector<ThrobberSpoke> throbberSpokes(int lead, int count);

/// The spokes of a waiting cursor, on the canvas too, where a turn takes a second as well.
inline constexpr int throbberCount = 8;
inline constexpr double throbberRevolution = 1;

/// The brightest of eight spokes at a scene time: one turn a second, in steps. 0...7 for every time, those below 0 included.
int exportThrobberLead(double sceneTime);

/// The brightest of `count` spokes on the canvas, where a turn takes `revolution` seconds of the wall clock `now`. 0 where that
/// tells nothing.
int canvasThrobberLead(double now, double revolution, int count);

/// The spokes of a spinner in a frame.
void drawThrobber(RasterContext& context, const CGRect& frame, int lead, int count, const RasterColor& color,
                  DrawingStyle::Corners corners);

/// The spinner in black on the raster: eight spokes by the scene's time.
void drawExportThrobber(RasterContext& context, const CGRect& frame, double sceneTime);

/// The two shapes of the palette's pointer icon, drawn in a box of 80 x 132 and stretched to `rect`.
Path cursorOuterShape(const CGRect& rect);
Path cursorInnerShape(const CGRect& rect);

namespace Exporter {

/// Paints a cursor in its layer's local space: the art fitted into the box with its aspect kept, centred.
void drawCursorBody(const Layer& layer, RasterContext& context);

} // namespace Exporter

} // namespace larkspool
