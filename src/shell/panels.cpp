#include "shell/panels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace larkspool {

namespace {

struct PanelKeys {
    BooleanKey show;
    std::optional<BooleanKey> collapsed;
};

/// In the order of the enumeration.
constexpr std::array panelKeys = {
    PanelKeys{DefaultsKey::showLayers, DefaultsKey::collapsedLayers},
    PanelKeys{DefaultsKey::showInspector, DefaultsKey::collapsedInspector},
    PanelKeys{DefaultsKey::showTimeline, DefaultsKey::collapsedTimeline},
    PanelKeys{DefaultsKey::showSceneStrip, std::nullopt},
};

bool isCollapsed(const UserDefaults& defaults, const PanelKeys& keys)
{
    return keys.collapsed && defaults.boolean(*keys.collapsed);
}

bool isVisible(const UserDefaults& defaults, const PanelKeys& keys)
{
    return defaults.boolean(keys.show) && !isCollapsed(defaults, keys);
}

} // namespace

bool isVisible(const UserDefaults& defaults, Panel panel)
{
    return isVisible(defaults, panelKeys[static_cast<std::size_t>(panel)]);
}

void togglePanel(UserDefaults& defaults, Panel panel)
{
    const PanelKeys& keys = panelKeys[static_cast<std::size_t>(panel)];
    const bool show = !isVisible(defaults, keys);
    if (keys.collapsed && show) defaults.set(*keys.collapsed, false);
    defaults.set(keys.show, show);
}

void toggleAllChrome(UserDefaults& defaults)
{
    const bool collapse =
        std::ranges::any_of(panelKeys, [&](const PanelKeys& keys) { return keys.collapsed && isVisible(defaults, keys); });
    for (const PanelKeys& keys : panelKeys)
        if (keys.collapsed) defaults.set(*keys.collapsed, collapse);
}

} // namespace larkspool
