#pragma once

#include "document/layer.h"
#include "document/tween_scene.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// A plain word for the colour: "Blue". "Clear" for one that is hardly there.
std::string_view colorBucketName(const ColorRGBA& color);

/// The first line of the text that is not empty, without blanks around it and cut to 28 characters; "Text" where that leaves
/// nothing.
std::string derivedTextLayerName(std::string_view text);

/// The name that a layer has until a person renames it: of its colour, its text, its cursor. Nothing for kinds whose names are
/// given once.
std::optional<std::string> derivedLayerName(const Layer& layer);

/// @name Whether the layer's name follows what it is derived from. False for kinds without a derived name.
/// @{
bool nameFollowsContent(const Layer& layer);
/// Nothing happens for kinds without a derived name.
void setNameFollowsContent(Layer& layer, bool follows);
/// Derives the name anew if it follows. To be run after an edit of what it is derived from.
void refreshFollowingName(Layer& layer);
/// @}

/// The raw name of the kind with a capital in front: "Gradientfield".
std::string capitalizedKind(Layer::Kind kind);

/// The largest whole number that stands behind the prefix and one blank as the rest of a layer's name, at any depth; 0 if there
/// is none above it.
std::int64_t nextLayerNumber(std::string_view prefix, const TweenScene& scene);

/// The prefix with the number behind the largest in use: "Zoom 8".
std::string numberedName(std::string_view prefix, const TweenScene& scene);

} // namespace larkspool
