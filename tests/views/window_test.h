#pragma once

#include "foundation/uuid.h"
#include "shell/playback.h"
#include "support/fake_timers.h"
#include "support/memory_user_defaults.h"
#include "views/background_tasks.h"
#include "views/editor_context.h"
#include "views/main_loop_watchdog.h"
#include "views/style.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTest>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace larkspool {

/// The toolkit without a screen, for as long as the tests run.
class Toolkit final : public testing::Environment {
public:
    void SetUp() override
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int count = 1;
        static char name[] = "views_tests";
        static char* arguments[] = {name, nullptr};
        application_ = std::make_unique<WatchedApplication>(count, arguments);
        if (!std::getenv("LARKSPOOL_WATCHDOG")) application_->watch(std::nullopt); // The program's default is not that of tests.
        applyLook();
    }
    void TearDown() override { application_.reset(); }

private:
    std::unique_ptr<WatchedApplication> application_;
};
inline const testing::Environment* const toolkit = testing::AddGlobalTestEnvironment(new Toolkit);

/// An editor of one scene with what its views need, and a clock that is set by hand.
class EditorForViews {
public:
    explicit EditorForViews(TweenScene scene)
    {
        TweenDocument document;
        document.scenes = {std::move(scene)};
        editor = std::make_unique<EditorView>(std::move(document), EditorView::Services{.defaults = defaults, .timers = timers});
        playback = std::make_unique<Playback>(*editor, timers, audio);
    }

    EditorContext context(std::function<void()> changed)
    {
        EditorContext result{*editor, *playback, std::move(changed), [this](Command command) { performed.push_back(command); }};
        result.tasks = background.tasks();
        return result;
    }

    BackgroundTasks background;
    MemoryUserDefaults defaults;
    FakeTimers timers;
    DocumentAudioController audio{[](const std::string&) { return nullptr; }, {}};
    std::unique_ptr<EditorView> editor;
    std::unique_ptr<Playback> playback;
    std::vector<Command> performed; ///< What the views have asked the window for.
};

/// A hand on the mouse, over a window that is shown. Points are pixels from the window's corner.
class Hand {
public:
    explicit Hand(QWidget& window) : window_(window)
    {
        window.show();
        (void)QTest::qWaitForWindowExposed(&window);
    }

    Hand& press(QPoint at, Qt::KeyboardModifiers modifiers = {})
    {
        at_ = at;
        QTest::mousePress(window_.windowHandle(), Qt::LeftButton, modifiers, at);
        return *this;
    }
    Hand& moveTo(QPoint at)
    {
        at_ = at;
        QTest::mouseMove(window_.windowHandle(), at);
        return *this;
    }
    Hand& moveBy(int x, int y = 0) { return moveTo(at_ + QPoint(x, y)); }
    Hand& release(Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseRelease(window_.windowHandle(), Qt::LeftButton, modifiers, at_);
        return *this;
    }
    Hand& click(QPoint at, Qt::KeyboardModifiers modifiers = {}) { return press(at, modifiers).release(modifiers); }
    Hand& key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(window_.windowHandle(), key, modifiers);
        return *this;
    }

private:
    QWidget& window_;
    QPoint at_;
};

} // namespace larkspool
