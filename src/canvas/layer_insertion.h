#pragma once

#include "editing/edit.h"
#include "foundation/random_source.h"
#include "platform/user_defaults.h"
#include "rendering/text_fitting.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// New layers. Each goes in front of all others at the top of the tree and becomes the selection.
///
/// There are two families: the layer panel adds a layer at the centre of what a person is looking at, the canvas inserts one
/// around a point. They give the same kinds different sizes and names. Points are scene coordinates; for one that is not finite,
/// and where a file could not hold a layer more, there is no edit.

/// A layer of that kind as every one begins, with ids of its own.
Layer newLayer(Layer::Kind kind, RandomSource& random = systemRandom());

/// Where the panel adds layers: the centre of the visible canvas where that is known, else of the scene.
CGPoint insertionCenter(const TweenScene& scene, std::optional<CGPoint> viewportCenter);

/// The font of a new text in a scene that has none: the one used last if it is installed, else the system font.
std::string resolvedDefaultFont(const UserDefaults& defaults);

/// Makes the layer a text that looks like the last text of the scene, children counted after their parents; one without texts
/// gives it the font of that name, in black.
void seedTextLayer(Layer& layer, const TweenScene& inheritingFrom, std::string_view defaultFont);

/// @name Of the layer panel.
/// @{
std::optional<Edit> addLayer(const TweenScene& scene, Layer::Kind kind, CGPoint center, RandomSource& random = systemRandom());
std::optional<Edit> addLineLayer(const TweenScene& scene, CGPoint center, RandomSource& random = systemRandom());
std::optional<Edit> addCursorLayer(const TweenScene& scene, CursorVariant variant, CGPoint center,
                                   RandomSource& random = systemRandom());
/// The box has the size of the text, measured without wrapping.
std::optional<Edit> addTextLayer(const TweenScene& scene, CGPoint center, std::string_view defaultFont,
                                 const TextMeasurer& measurer = systemTextMeasurer(), RandomSource& random = systemRandom());
std::optional<Edit> addZoomLayer(const TweenScene& scene, CGPoint center, RandomSource& random = systemRandom());
std::optional<Edit> addHotspotLayer(const TweenScene& scene, CGPoint center, RandomSource& random = systemRandom());
/// Covers the scene.
std::optional<Edit> addGradientFieldLayer(const TweenScene& scene, RandomSource& random = systemRandom());

/// Adds the layers of chosen files in one step. They come as they would stand alone; each is moved 20 further on both axes than
/// the one before. Nothing without layers.
std::optional<Edit> addImageLayers(const TweenScene& scene, const Array<Layer>& layers);
std::optional<Edit> addVideoLayers(const TweenScene& scene, const Array<Layer>& layers);
/// @}

/// @name Of the canvas.
/// @{
/// Nothing for images and videos, which come from files.
std::optional<Edit> insertLayer(const TweenScene& scene, Layer::Kind kind, CGPoint at, std::string_view defaultFont,
                                RandomSource& random = systemRandom());
std::optional<Edit> insertCursorLayer(const TweenScene& scene, CursorVariant variant, CGPoint at,
                                      RandomSource& random = systemRandom());
/// @}

} // namespace larkspool
