#include "shell/panels.h"

#include "support/memory_user_defaults.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr std::initializer_list<Panel> allPanels = {Panel::layers, Panel::inspector, Panel::timeline, Panel::sceneStrip};

/// The visible panels by their first letters: layers, inspector, timeline, scene strip.
std::string seen(const UserDefaults& defaults)
{
    std::string letters;
    for (const Panel panel : allPanels) letters += isVisible(defaults, panel) ? "lits"[static_cast<int>(panel)] : '-';
    return letters;
}

TEST(Panels, AreAllSeenAtFirst)
{
    EXPECT_EQ(seen(MemoryUserDefaults()), "lits");
}

TEST(Panels, EachIsShownAndHiddenByItself)
{
    struct Case {
        Panel panel;
        const char* key;
        const char* without;
    };
    for (const Case& c :
         {Case{Panel::layers, "lksShowLayers", "-its"}, Case{Panel::inspector, "lksShowInspector", "l-ts"},
          Case{Panel::timeline, "lksShowTimeline", "li-s"}, Case{Panel::sceneStrip, "lksShowSceneStrip", "lit-"}}) {
        SCOPED_TRACE(c.key);
        MemoryUserDefaults defaults;
        togglePanel(defaults, c.panel);
        EXPECT_EQ(seen(defaults), c.without);
        EXPECT_EQ(defaults.value(c.key), UserDefaults::Value(false));
        togglePanel(defaults, c.panel);
        EXPECT_EQ(seen(defaults), "lits");
        EXPECT_EQ(defaults.value(c.key), UserDefaults::Value(true));
    }
}

TEST(Panels, TheWholeChromeGoesAndComesBackByTheCollapsedKeys)
{
    MemoryUserDefaults defaults;
    toggleAllChrome(defaults);
    EXPECT_EQ(seen(defaults), "---s") << "the scene strip belongs to the canvas";
    for (const char* key : {"lksCollapsedLayers", "lksCollapsedInspector", "lksCollapsedTimeline"})
        EXPECT_TRUE(defaults.boolean(key)) << key;
    for (const char* key : {"lksShowLayers", "lksShowInspector", "lksShowTimeline", "lksShowSceneStrip"})
        EXPECT_FALSE(defaults.value(key)) << key;
    toggleAllChrome(defaults);
    EXPECT_EQ(seen(defaults), "lits");
}

TEST(Panels, APanelThatWasHiddenByItselfStaysHiddenWhenTheChromeComesBack)
{
    MemoryUserDefaults defaults;
    togglePanel(defaults, Panel::inspector);
    toggleAllChrome(defaults);
    EXPECT_EQ(seen(defaults), "---s");
    toggleAllChrome(defaults);
    EXPECT_EQ(seen(defaults), "l-ts");
}

TEST(Panels, OneThatIsCollapsedComesBackAlone)
{
    MemoryUserDefaults defaults;
    togglePanel(defaults, Panel::timeline);
    toggleAllChrome(defaults);
    togglePanel(defaults, Panel::timeline);
    EXPECT_EQ(seen(defaults), "--ts") << "though it was hidden as well";
    toggleAllChrome(defaults);
    EXPECT_EQ(seen(defaults), "---s") << "one was seen, so all go";
    toggleAllChrome(defaults);
    EXPECT_EQ(seen(defaults), "lits");
}

} // namespace
} // namespace larkspool
