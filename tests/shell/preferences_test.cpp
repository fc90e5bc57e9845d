#include "shell/preferences.h"

#include "shell/commands.h"
#include "support/memory_user_defaults.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(Preferences, TheWelcomeSwitchIsTheInverseOfTheSetting)
{
    MemoryUserDefaults defaults;
    EXPECT_TRUE(PreferencesView::showsWelcomeOnLaunch(defaults));
    PreferencesView::setShowsWelcomeOnLaunch(defaults, false);
    EXPECT_EQ(defaults.value("lksSuppressWelcomeAtLaunch"), UserDefaults::Value(true));
    EXPECT_FALSE(PreferencesView::showsWelcomeOnLaunch(defaults));
    PreferencesView::setShowsWelcomeOnLaunch(defaults, true);
    EXPECT_EQ(defaults.value("lksSuppressWelcomeAtLaunch"), UserDefaults::Value(false));
}

TEST(Preferences, TheModelRowsStandForTheirValues)
{
    struct Case {
        std::size_t row;
        const char* label;
        const char* value;
    };
    MemoryUserDefaults defaults;
    EXPECT_EQ(PreferencesView::chosenModelRow(defaults), 1u);
    for (const Case& c : {Case{0, "Claude Opus 4.7", "claude-opus-4-7"}, Case{1, "Claude Sonnet 4.6", "claude-sonnet-4-6"},
                          Case{2, "Claude Haiku 4.5", "claude-haiku-4-5"}}) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(PreferencesView::modelRows.at(c.row).label, c.label);
        PreferencesView::chooseModelRow(defaults, c.row);
        EXPECT_EQ(defaults.value("lksAssistantModel"), UserDefaults::Value(std::string(c.value)));
        EXPECT_EQ(PreferencesView::chosenModelRow(defaults), c.row);
    }
    defaults.set(DefaultsKey::assistantModel, std::string("claude-of-tomorrow"));
    EXPECT_EQ(PreferencesView::chosenModelRow(defaults), std::nullopt);
}

TEST(Preferences, AStoredKeyStaysWhenTheAssistantIsTurnedOff)
{
    MemoryUserDefaults defaults({{"lksAssistantEnabled", true}, {"lksAssistantAPIKey", "sk-1"}});
    defaults.set(DefaultsKey::assistantEnabled, false);
    EXPECT_FALSE(defaults.boolean(DefaultsKey::assistantEnabled));
    EXPECT_EQ(defaults.string(DefaultsKey::assistantAPIKey), "sk-1");
}

TEST(Updater, HasNothingToLookForAndItsCommandSaysSo)
{
    EXPECT_EQ(&Updater::shared(), &Updater::shared());
    EXPECT_FALSE(Updater::shared().canCheckForUpdates());
    const CommandAvailability offered = availability(Command::checkForUpdates, {});
    EXPECT_FALSE(offered.isEnabled);
    EXPECT_EQ(offered.reason, "New versions come with the packages of your system.");
}

} // namespace
} // namespace larkspool
