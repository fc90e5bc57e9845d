#pragma once

#include "foundation/uuid.h"
#include "platform/user_defaults.h"
#include "shell/film_export.h"

#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// What the sheet that asks for an export shows. The part from `target` on is the person's to change.
struct ExportSheetState {
    UUID id = UUID::random();
    std::string baseName;
    Array<TweenScene> scenes; ///< A snapshot.
    std::int64_t activeIdx = 0;

    ExportTarget target{};
    int motionBlurSamples = 1;
    bool includeAudio = true;
    double outputScale = 1;
    std::string filename;

    FilmChoices choices() const { return {target, motionBlurSamples, includeAudio, outputScale}; }
};

/// The sheet for a document of this name. An empty name gives way to the program's own. The choices are those of last time.
ExportSheetState startExport(const TweenDocument& document, std::string_view documentName, const UserDefaults& defaults);

/// The name that a film is offered: "Board (Intro) Export.mp4" for a scene called Intro of the document Board.
///
/// In parentheses stands "All Scenes", or what the scene is called; nothing for the current one of a single scene, and for a scene
/// that is not there.
std::string exportFilename(std::string_view baseName, ExportTarget target, const Array<TweenScene>& scenes, std::int64_t activeIdx);

/// Changes the target. The filename follows as long as it is one that the sheet itself could have offered; what a person typed
/// stays.
void chooseTarget(ExportSheetState& sheet, ExportTarget target);

/// An entry of the sheet's list of scenes.
struct ExportTargetChoice {
    std::string label;
    ExportTarget target;

    bool operator==(const ExportTargetChoice&) const = default;
};

/// "All Scenes", "Current Scene", then every scene by what it is called.
std::vector<ExportTargetChoice> exportTargetChoices(const Array<TweenScene>& scenes);

/// The choices of last time for a document of so many scenes. A scene that it does not have, and anything that is no target, is the
/// current scene; a setting that is missing or of another type has its default.
FilmChoices storedFilmChoices(const UserDefaults& defaults, std::size_t sceneCount);

/// Keeps the choices for next time.
void storeFilmChoices(UserDefaults& defaults, const FilmChoices& choices);

} // namespace larkspool
