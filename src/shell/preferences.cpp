#include "shell/preferences.h"

#include <cassert>
#include <string>

namespace larkspool {

bool PreferencesView::showsWelcomeOnLaunch(const UserDefaults& defaults)
{
    return !defaults.boolean(DefaultsKey::suppressWelcomeAtLaunch);
}

void PreferencesView::setShowsWelcomeOnLaunch(UserDefaults& defaults, bool shows)
{
    defaults.set(DefaultsKey::suppressWelcomeAtLaunch, !shows);
}

std::optional<std::size_t> PreferencesView::chosenModelRow(const UserDefaults& defaults)
{
    const std::string model = defaults.string(DefaultsKey::assistantModel);
    for (std::size_t row = 0; row < modelRows.size(); ++row)
        if (modelRows[row].value == model) return row;
    return std::nullopt;
}

void PreferencesView::chooseModelRow(UserDefaults& defaults, std::size_t row)
{
    assert(row < modelRows.size());
    defaults.set(DefaultsKey::assistantModel, std::string(modelRows[row].value));
}

Updater& Updater::shared()
{
    static Updater updater;
    return updater;
}

} // namespace larkspool
