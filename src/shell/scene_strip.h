#pragma once

#include "document/tween_document.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// The rules of the row of scenes under the canvas.
namespace SceneStrip {

inline constexpr std::string_view addSceneLabel = "Add Scene";
inline constexpr std::string_view newSceneLabel = "New Scene";
inline constexpr std::string_view duplicateSceneLabel = "Duplicate Current Scene";
inline constexpr std::string_view transitionHeading = "Transition";
inline constexpr std::string_view noTransitionLabel = "No transition";
inline constexpr std::string_view noneLabel = "None";
inline constexpr std::string_view durationLabel = "Duration";
inline constexpr std::string_view musicLabel = "Music";
inline constexpr std::string_view replaceMusicLabel = "Replace";
inline constexpr std::string_view removeMusicLabel = "Remove";
inline constexpr std::string_view musicHelp = "Document audio bed — plays through every scene";
inline constexpr std::string_view musicPanelMessage =
    "Choose a music file. It will play through every scene and fade out at the end of the final scene.";

/// Seconds of a transition that is chosen where there was none.
inline constexpr double firstTransitionDuration = 0.5;

/// A typed duration as it is kept: 5 at most, and below that 0.1 at least, in whole tenths of a second.
double keptTransitionDuration(double seconds);

/// Joins the scene to the one behind it; nothing for the last scene and for one that is not there. Without a kind they follow one
/// another.
void chooseTransition(TweenDocument& document, std::int64_t index, std::optional<SceneTransition::Kind> kind);
void setTransitionDuration(TweenDocument& document, std::int64_t index, double seconds);

/// What the control between the scene and the next shows: "0.50s", or that there is no transition.
std::string transitionText(const TweenScene& scene);

/// Names the scene. An empty name gives way to the numbered one.
void renameScene(TweenDocument& document, std::int64_t index, std::string_view name);

/// The insertion point of a scene that is dropped onto another, as `TweenDocument::moveScene` takes it.
std::int64_t dropIndex(std::int64_t from, std::int64_t onto);

bool canDelete(const TweenDocument& document);

/// Gives the document a sound of that file under its own name. One that it replaces leaves its volume.
void setMusic(TweenDocument& document, std::string_view urlString, std::string_view fileName,
              std::optional<Bytes> bookmark = std::nullopt);

} // namespace SceneStrip

} // namespace larkspool
