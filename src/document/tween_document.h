#pragma once

#include "document/tween_scene.h"

#include <cstdint>
#include <optional>

namespace larkspool {

/// The sound bed that plays through every scene.
struct DocumentAudio {
    SharedString urlString{}; ///< A `file:` URL or a plain path.
    std::optional<Bytes> bookmark{};
    double volume = 1; ///< Linear gain.
    SharedString displayName{};

    bool operator==(const DocumentAudio&) const = default;
};

/// A film in the making: scenes in the order of play, and a sound bed. A value: a copy is a snapshot.
struct TweenDocument {
    /// The single type of file that is read and written.
    static constexpr std::string_view readableContentType = "com.quorbel.Larkspool.document";
    static constexpr std::string_view fileExtension = "larkspool";

    std::int64_t version = 2; ///< Of the format. Kept as read, and never raised.
    Array<TweenScene> scenes = defaultStartingScenes(std::nullopt);
    std::int64_t activeSceneIndex = 0; ///< Not clamped when stored; every reader clamps.
    std::optional<DocumentAudio> audio{};

    /// The scenes of a new document: one, of `presetSize` if that is given and both its sides are above 0.
    static Array<TweenScene> defaultStartingScenes(std::optional<CGSize> presetSize);

    /// The active scene, or a fresh one in a document without scenes.
    TweenScene scene() const;

    /// Puts `scene` in the place of the active scene. In a document without scenes nothing happens.
    void setScene(TweenScene scene);

    /// `activeSceneIndex` held within the list; 0 without scenes.
    std::size_t clampedActiveSceneIndex() const;

    /// Sum of the durations, end pauses left out.
    double totalDuration() const;

    /// Sum of the durations before the scene; 0 for an index below 1 or at or beyond the count.
    double sceneStartTime(std::int64_t index) const;

    /// Appends an empty scene with the active one's size, rate, duration and background, and makes it active.
    void addScene();

    /// Removes a scene, unless it is the last one left. Removing the active scene makes the one before it active.
    void deleteScene(std::int64_t index);

    /// Inserts a copy behind the active scene and makes it active. The ids within stay: they are unique per scene.
    void duplicateActiveScene();

    /// Moves a scene to the insertion point `to` of the list as it stands before the move. The active scene stays active.
    void moveScene(std::int64_t from, std::int64_t to);

    bool operator==(const TweenDocument&) const = default;
};

} // namespace larkspool
