#include "views/preferences_window.h"

#include "support/memory_user_defaults.h"
#include "views/find_control.h"
#include "views/form_controls.h"
#include "views/window_test.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using PreferencesView::Tab;

class PreferencesWindowTest : public testing::Test {
protected:
    PreferencesWindowTest()
    {
        window = new PreferencesWindow(defaults);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        window->activateWindow();
    }
    ~PreferencesWindowTest() override { delete window; }

    MemoryUserDefaults defaults;
    PreferencesWindow* window = nullptr;
};

TEST_F(PreferencesWindowTest, ArrowsGoFromPageToPage)
{
    EXPECT_TRUE(findControl<Switch>(*window, "Show welcome screen on launch"));
    QTest::keyClick(window->focusWidget(), Qt::Key_Right);
    EXPECT_TRUE(findControl<Switch>(*window, "GPU Renderer (Experimental)"));
    EXPECT_FALSE(findControl<Switch>(*window, "Show welcome screen on launch"));
    QTest::keyClick(window->focusWidget(), Qt::Key_Right);
    EXPECT_TRUE(findControl<Switch>(*window, "Enable AI assistant (Experimental)"));
    QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(focusName(*window), "Enable AI assistant (Experimental)");
}

TEST_F(PreferencesWindowTest, SwitchesEndWhereTheFieldsBelowThemDo)
{
    window->choose(Tab::assistant);
    QTest::qWait(50); // The page is laid out.
    const auto rightOf = [&](const QWidget& control) { return control.mapTo(window, QPoint(control.width(), 0)).x(); };
    const auto* toggle = findControl<Switch>(*window, "Enable AI assistant (Experimental)");
    const auto* model = findControl<ChoiceField>(*window, "Model");
    ASSERT_TRUE(toggle && model);
    EXPECT_EQ(rightOf(*toggle) - Switch::ringRoom, rightOf(*model));
    EXPECT_EQ(rightOf(*model), window->width() - 24);
}

TEST_F(PreferencesWindowTest, SwitchesHoldAtOnce)
{
    struct Case {
        Tab tab;
        const char* name;
        BooleanKey key;
        bool after;
    };
    for (const Case& c : {Case{Tab::launch, "Show welcome screen on launch", DefaultsKey::suppressWelcomeAtLaunch, true},
                          Case{Tab::exporting, "GPU Renderer (Experimental)", DefaultsKey::useGPUExporter, true},
                          Case{Tab::assistant, "Enable AI assistant (Experimental)", DefaultsKey::assistantEnabled, true}}) {
        SCOPED_TRACE(c.name);
        window->choose(c.tab);
        auto* toggle = findControl<Switch>(*window, c.name);
        ASSERT_TRUE(toggle);
        const bool before = toggle->isChecked();
        toggle->click();
        EXPECT_EQ(defaults.boolean(c.key), c.after);
        defaults.remove(c.key);
        EXPECT_EQ(toggle->isChecked(), before) << "a removed key reads as its default";
    }
}

TEST_F(PreferencesWindowTest, TheKeyIsHiddenAndStaysWhenTheAssistantIsSwitchedOff)
{
    window->choose(Tab::assistant);
    auto* key = findControl<QLineEdit>(*window, "API key");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->echoMode(), QLineEdit::Password);
    QTest::keyClicks(key, "sk-1");
    EXPECT_EQ(defaults.string(DefaultsKey::assistantAPIKey), "sk-1");
    auto* toggle = findControl<Switch>(*window, "Enable AI assistant (Experimental)");
    toggle->click();
    toggle->click();
    EXPECT_FALSE(defaults.boolean(DefaultsKey::assistantEnabled));
    EXPECT_EQ(defaults.string(DefaultsKey::assistantAPIKey), "sk-1");
    defaults.set(DefaultsKey::assistantAPIKey, "sk-2");
    EXPECT_EQ(key->text(), "sk-2") << "what changes elsewhere is shown";
}

TEST_F(PreferencesWindowTest, TheKeyIsShownWhileItsButtonIsOnWhichTheKeyboardReaches)
{
    window->choose(Tab::assistant);
    auto* key = findControl<QLineEdit>(*window, "API key");
    ASSERT_TRUE(key);
    key->setFocus();
    QTest::keyClick(key, Qt::Key_Tab);
    EXPECT_EQ(focusName(*window), "Show the key");
    QTest::keyClick(window->focusWidget(), Qt::Key_Space);
    EXPECT_EQ(key->echoMode(), QLineEdit::Normal);
    QTest::keyClick(window->focusWidget(), Qt::Key_Space);
    EXPECT_EQ(key->echoMode(), QLineEdit::Password);
    QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(focusName(*window), "Model");
}

TEST_F(PreferencesWindowTest, ModelsAreChosenByName)
{
    window->choose(Tab::assistant);
    auto* model = findControl<ChoiceField>(*window, "Model");
    ASSERT_TRUE(model);
    EXPECT_EQ(model->currentText(), "Claude Sonnet 4.6");
    model->setFocus();
    QTest::keyClick(model, Qt::Key_Up);
    EXPECT_EQ(model->currentText(), "Claude Opus 4.7");
    EXPECT_EQ(defaults.string(DefaultsKey::assistantModel), "claude-opus-4-7");
    defaults.set(DefaultsKey::assistantModel, "another");
    EXPECT_EQ(model->currentIndex(), -1);
}

TEST_F(PreferencesWindowTest, EscapeCloses)
{
    QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
}

} // namespace
} // namespace larkspool
