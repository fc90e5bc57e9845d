#include "shell/export_sheet.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <variant>

#include <fmt/format.h>

namespace larkspool {

namespace {

constexpr std::string_view unnamedDocument = "Larkspool";
constexpr std::string_view allScenesText = "all";
constexpr std::string_view currentSceneText = "current";
constexpr std::string_view scenePrefix = "scene:";

bool isIndex(std::int64_t index, std::size_t count)
{
    return index >= 0 && static_cast<std::uint64_t>(index) < count;
}

/// " (Intro)"; nothing for a scene that is not there.
std::string sceneSuffix(const Array<TweenScene>& scenes, std::int64_t index)
{
    if (!isIndex(index, scenes.size())) return {};
    const auto position = static_cast<std::size_t>(index);
    return fmt::format(" ({})", scenes[position].displayName(position));
}

std::string suffix(ExportTarget target, const Array<TweenScene>& scenes, std::int64_t activeIdx)
{
    switch (target.kind) {
    case ExportTarget::Kind::allScenes: return " (All Scenes)";
    case ExportTarget::Kind::currentScene: return scenes.size() < 2 ? std::string() : sceneSuffix(scenes, activeIdx);
    case ExportTarget::Kind::specificScene: return sceneSuffix(scenes, target.sceneIndex);
    }
    return {};
}

std::string filenameFor(const ExportSheetState& sheet, ExportTarget target)
{
    return exportFilename(sheet.baseName, target, sheet.scenes, sheet.activeIdx);
}

ExportTarget parsedTarget(std::string_view text, std::size_t sceneCount)
{
    if (text == allScenesText) return ExportTarget::allScenes();
    if (!text.starts_with(scenePrefix)) return ExportTarget::currentScene();

    text.remove_prefix(scenePrefix.size());
    std::int64_t index = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    const bool isWhole = error == std::errc() && rest == text.data() + text.size();
    return isWhole && isIndex(index, sceneCount) ? ExportTarget::specificScene(index) : ExportTarget::currentScene();
}

std::string textOf(ExportTarget target)
{
    switch (target.kind) {
    case ExportTarget::Kind::allScenes: return std::string(allScenesText);
    case ExportTarget::Kind::currentScene: return std::string(currentSceneText);
    case ExportTarget::Kind::specificScene: return fmt::format("{}{}", scenePrefix, target.sceneIndex);
    }
    return {};
}

template <typename T>
T storedOr(const UserDefaults& defaults, std::string_view key, T fallback)
{
    const std::optional<UserDefaults::Value> value = defaults.value(key);
    const T* found = value ? std::get_if<T>(&*value) : nullptr;
    return found ? *found : fallback;
}

/// A fraction is cut off, and what is beyond all numbers of samples held at the last.
int wholeSamples(double stored)
{
    constexpr double most = std::numeric_limits<int>::max();
    return std::isnan(stored) ? 1 : static_cast<int>(std::clamp(stored, -most, most));
}

} // namespace

ExportSheetState startExport(const TweenDocument& document, std::string_view documentName, const UserDefaults& defaults)
{
    const FilmChoices choices = storedFilmChoices(defaults, document.scenes.size());
    ExportSheetState sheet{.baseName = std::string(documentName.empty() ? unnamedDocument : documentName),
                           .scenes = document.scenes,
                           .activeIdx = document.activeSceneIndex,
                           .target = choices.target,
                           .motionBlurSamples = choices.motionBlurSamples,
                           .includeAudio = choices.includeAudio,
                           .outputScale = choices.outputScale};
    sheet.filename = filenameFor(sheet, sheet.target);
    return sheet;
}

std::string exportFilename(std::string_view baseName, ExportTarget target, const Array<TweenScene>& scenes, std::int64_t activeIdx)
{
    return fmt::format("{}{} Export.mp4", baseName, suffix(target, scenes, activeIdx));
}

void chooseTarget(ExportSheetState& sheet, ExportTarget target)
{
    sheet.target = target;
    const std::vector<ExportTargetChoice> choices = exportTargetChoices(sheet.scenes);
    const bool isGenerated = std::ranges::any_of(
        choices, [&sheet](const ExportTargetChoice& choice) { return sheet.filename == filenameFor(sheet, choice.target); });
    if (isGenerated) sheet.filename = filenameFor(sheet, target);
}

std::vector<ExportTargetChoice> exportTargetChoices(const Array<TweenScene>& scenes)
{
    std::vector<ExportTargetChoice> choices{{"All Scenes", ExportTarget::allScenes()},
                                            {"Current Scene", ExportTarget::currentScene()}};
    for (std::size_t i = 0; i < scenes.size(); ++i)
        choices.push_back({scenes[i].displayName(i), ExportTarget::specificScene(static_cast<std::int64_t>(i))});
    return choices;
}

FilmChoices storedFilmChoices(const UserDefaults& defaults, std::size_t sceneCount)
{
    const FilmChoices otherwise;
    return {.target = parsedTarget(defaults.string(DefaultsKey::lastExportTarget), sceneCount),
            .motionBlurSamples =
                wholeSamples(storedOr<double>(defaults, DefaultsKey::exportMotionBlurSamples, otherwise.motionBlurSamples)),
            .includeAudio = storedOr(defaults, DefaultsKey::exportIncludeAudio, otherwise.includeAudio),
            .outputScale = storedOr(defaults, DefaultsKey::exportOutputScale, otherwise.outputScale)};
}

void storeFilmChoices(UserDefaults& defaults, const FilmChoices& choices)
{
    defaults.set(DefaultsKey::exportMotionBlurSamples, static_cast<double>(choices.motionBlurSamples));
    defaults.set(DefaultsKey::exportIncludeAudio, choices.includeAudio);
    defaults.set(DefaultsKey::exportOutputScale, choices.outputScale);
    defaults.set(DefaultsKey::lastExportTarget, textOf(choices.target));
}

} // namespace larkspool
