#pragma once

#include "document/tween_document.h"
#include "editing/edit.h"
#include "foundation/random_source.h"
#include "platform/bookmarks.h"
#include "platform/media_file.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// Files that come into a document. A picture comes whole, as its bytes; a video stays where it is, and the document names it.
namespace MediaImport {

/// The largest file that is taken as a picture.
inline constexpr std::size_t greatestImageBytes = std::size_t{256} << 20;
/// How many bytes of pictures a document may come to by imports, so that its file can be read again.
inline constexpr std::size_t mostImageBytes = std::size_t{2} << 30;

/// What stands for a video whose file does not tell it: pixels and seconds.
inline constexpr CGSize unknownVideoSize{1280, 720};
inline constexpr double leastVideoDuration = 0.001;

/// The size that media get: their own, or scaled down to that width, in whole pixels and 1 at least. They are never scaled up, and
/// may come out higher than a scene.
CGSize scaledSize(CGSize natural, double fitWidth);

/// @name Layers of files, named after them and in the middle of the scene. On any thread.
/// @{
/// Decodes the picture, so that it is at hand to be painted. Nothing for a file that is no picture; throws FileError for one that
/// cannot be read or is too large (EFBIG).
std::optional<Layer> imageLayer(const std::string& path, const TweenScene& scene, RandomSource& random = systemRandom());

/// Plays the video from the start of the scene, to the end of the one that ends first. A file that nothing can be read of gives a
/// layer all the same, of the size and duration above.
Layer videoLayer(const std::string& path, const TweenScene& scene, const Bookmarks& bookmarks = systemBookmarks(),
                 RandomSource& random = systemRandom());
/// @}

std::optional<Bytes> makeBookmark(const std::string& path, const Bookmarks& bookmarks = systemBookmarks());

struct ResolvedBookmark {
    std::string path;
    bool wasStale = false; ///< The system asks for a fresh one, or the file is not where it was.

    bool operator==(const ResolvedBookmark&) const = default;
};

/// The file that a bookmark stands for. Nothing without a bookmark, for one that cannot be resolved, and where there is no file.
std::optional<ResolvedBookmark> resolveBookmark(const std::optional<Bytes>& bookmark, std::string_view storedPath,
                                                const Bookmarks& bookmarks = systemBookmarks(),
                                                const FileExists& exists = fileExists);

/// The bytes of all pictures of the document. One that several layers have counts for each, as in the document's file.
std::size_t imageBytes(const TweenDocument& document);

} // namespace MediaImport

/// How far each of several files that are dropped lies from the one before, on both axes, in canvas pixels.
inline constexpr double droppedCascade = 20;

/// Adds the layers of files around a point of the canvas, each `cascadeOffset` further on both axes than the one before, in one
/// step, and selects them. Nothing without layers, for a point that is not finite, and where a file could not hold them.
std::optional<Edit> importMediaFiles(const TweenScene& scene, const Array<Layer>& layers, CGPoint at,
                                     double cascadeOffset = droppedCascade);

/// @name Puts the media of `fresh` into a layer of the same kind, which keeps all else: its place and size, a video its clip.
/// Nothing where the layer is not there or of another kind, and for the media that it has.
/// @{
std::optional<Edit> replaceImageMedia(const TweenScene& scene, const UUID& layerID, const Layer& fresh);
std::optional<Edit> replaceVideoMedia(const TweenScene& scene, const UUID& layerID, const Layer& fresh);
/// @}

} // namespace larkspool
