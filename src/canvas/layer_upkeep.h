#pragma once

#include "editing/shared_commit.h"
#include "rendering/text_fitting.h"

namespace larkspool {

/// Gives every full-screen zoom at the top the scene's aspect, by its width, in whole canvas pixels, and holds it, and the
/// keyframes of its place, within the scene. One that is wider or higher than the scene is held at 0. A scene without an area
/// keeps its zooms as they are. Layers that do not change stay shared.
void normalizeZoomLayers(TweenScene& scene);

/// Fits the boxes of the scene's texts to what they say.
void refitTextLayers(TweenScene& scene, const TextMeasurer& measurer = systemTextMeasurer());

/// What is to run behind every edit of a scene. The measurer must outlive it.
SharedCommit::Steps layerUpkeep(const TextMeasurer& measurer = systemTextMeasurer());

} // namespace larkspool
