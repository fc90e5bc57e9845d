#pragma once

#include "platform/user_defaults.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace larkspool {

/// What the settings window shows. All of it is kept in the settings at once, and holds in every window.
namespace PreferencesView {

enum class Tab { launch, exporting, assistant };
inline constexpr std::array<std::string_view, 3> tabLabels = {"Launch", "Export", "Assistant"};

/// @name Launch.
/// @{
inline constexpr std::string_view showWelcomeLabel = "Show welcome screen on launch";
bool showsWelcomeOnLaunch(const UserDefaults& defaults);
void setShowsWelcomeOnLaunch(UserDefaults& defaults, bool shows);
/// @}

/// @name Export. The switch is the setting `useGPUExporter`.
/// @{
inline constexpr std::string_view gpuRendererLabel = "GPU Renderer (Experimental)";
inline constexpr std::string_view gpuRendererNote =
    "Renders exports through a CARenderer/Metal pipeline instead of the CPU-based renderer. Faster on most scenes; may show "
    "visible differences vs the canvas. Off by default while parity is in progress.";
/// @}

/// @name Assistant. The switch is the setting `assistantEnabled`, the secure field `assistantAPIKey`.
/// @{
inline constexpr std::string_view enableAssistantLabel = "Enable AI assistant (Experimental)";
inline constexpr std::string_view apiKeyLabel = "API key";
inline constexpr std::string_view modelLabel = "Model";
inline constexpr std::string_view apiKeyNote =
    "Bring your own Anthropic API key. It is stored locally in the preferences, and is sent only to the API's host when the "
    "assistant is used.";

struct ModelRow {
    std::string_view label;
    std::string_view value; ///< Of the setting `assistantModel`.
};
inline constexpr std::array modelRows = {
    ModelRow{"Claude Opus 4.7", "claude-opus-4-7"},
    ModelRow{"Claude Sonnet 4.6", "claude-sonnet-4-6"},
    ModelRow{"Claude Haiku 4.5", "claude-haiku-4-5"},
};
/// The row of the model that is set. Nothing for a model that is not among the rows.
std::optional<std::size_t> chosenModelRow(const UserDefaults& defaults);
void chooseModelRow(UserDefaults& defaults, std::size_t row);
/// @}

} // namespace PreferencesView

/// Looks for a newer version of the program. Where the system's packages bring new versions there is nothing to look for.
class Updater {
public:
    static constexpr std::string_view whyNot = "New versions come with the packages of your system.";

    /// The one of the program.
    static Updater& shared();

    bool canCheckForUpdates() const { return false; }
    void checkForUpdates() {}
};

} // namespace larkspool
