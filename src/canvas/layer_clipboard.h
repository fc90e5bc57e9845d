#pragma once

#include "editing/edit.h"
#include "foundation/random_source.h"
#include "platform/pasteboard.h"

#include <optional>
#include <string_view>

namespace larkspool {

/// Copying layers between scenes, windows and processes, as a piece of a document; and pictures from other programs.

/// The type of copied layers: a JSON array of layers as a document has them.
inline constexpr std::string_view layersPasteboardType = "com.quorbel.Larkspool.layers";

/// Puts the selected layers in the place of what the pasteboard holds, each with all below it, in the order of the tree. With
/// nothing selected, and for layers that no file can hold, the pasteboard stays as it is. Whether it was written.
bool copySelection(const TweenScene& scene, const LayerIDs& selection, Pasteboard& pasteboard);

/// Puts what the pasteboard holds in front of the scene, selected: layers with ids of their own, moved by 20 on both axes from
/// where they were copied; or else a picture. Nothing if it holds neither, and for more layers than a file takes.
std::optional<Edit> pasteSelection(const TweenScene& scene, const Pasteboard& pasteboard, RandomSource& random = systemRandom());

/// An image layer in the middle of a canvas of that size, fitted into it if it is larger: of the PNG, JPEG or TIFF data of the
/// pasteboard, the first that there is, or of its picture in another form. Nothing if that cannot be decoded.
std::optional<Layer> layerFromPasteboardImage(const Pasteboard& pasteboard, CGSize scene, RandomSource& random = systemRandom());

} // namespace larkspool
