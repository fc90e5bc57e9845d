#pragma once

#include "platform/user_defaults.h"

namespace larkspool {

/// The panels round the canvas of an editor's window. Which of them are seen is a setting, the same for every window.
enum class Panel { layers, inspector, timeline, sceneStrip };

/// Whether the panel is shown, and not collapsed with all others. The scene strip is never collapsed.
bool isVisible(const UserDefaults& defaults, Panel panel);

/// Shows or hides the panel. One that is collapsed comes back.
void togglePanel(UserDefaults& defaults, Panel panel);

/// Collapses the panels for a free view of the canvas. When none of those that collapse is seen, all that were collapsed come
/// back; a panel that was hidden by itself stays so.
void toggleAllChrome(UserDefaults& defaults);

} // namespace larkspool
