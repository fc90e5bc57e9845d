#include "editing/scene_lookup.h"
#include "support/memory_user_defaults.h"
#include "timeline/ripple_settings.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/retime_table.h"
#include "views/window_test.h"

#include <QLineEdit>
#include <QMenuBar>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11)), spanB = TimelineItemRef::span(idOf(2), idOf(12));

/// 10 seconds: spans 1–3 and 5–7 of two layers.
TweenDocument smallDocument()
{
    Layer one{.id = idOf(1)}, other{.id = idOf(2)};
    one.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 3}};
    other.spans = {TimeSpan{.id = idOf(12), .start = 5, .end = 7}};
    TweenScene scene{.id = idOf(100), .fps = 50, .duration = 10};
    scene.layers = {one, other};
    TweenDocument document;
    document.scenes = {scene};
    return document;
}

/// The commands of the timeline, given to a whole window by its keys and menus.
class TimelineCommandsTest : public testing::Test {
protected:
    TimelineCommandsTest() : window(new EditorWindow(DocumentFile(smallDocument()), workspace))
    {
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
        before = editor().scene();
    }
    ~TimelineCommandsTest() override { delete window; }

    EditorView& editor() { return window->editor(); }
    ItemTimes times(const TimelineItemRef& ref) { return timesOf(editor().scene(), ref).value(); }
    void select(TimelineSelection items)
    {
        editor().selectTimelineItems(std::move(items));
        window->refresh();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QWidget* const focus = window->focusWidget();
        QTest::keyClick(focus ? focus : window, key, modifiers);
    }
    QAction* menuItem(const char* title)
    {
        for (QAction* action : window->findChildren<QAction*>())
            if (action->text() == title) return action;
        return nullptr;
    }

    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    EditorWindow* window;
    TweenScene before;
};

TEST_F(TimelineCommandsTest, MenusOpenEachSheetAndSayWhatIsMissing)
{
    struct Case {
        const char* title;
        const char* name; ///< Of the sheet.
        const char* reason;
    };
    for (const Case& c :
         {Case{"Move…", "Move Selection", "Select something in the timeline first."},
          Case{"Dilate…", "Dilate Selection", "Select something in the timeline first."},
          Case{"Distribute Spans…", "Distribute Spans", "Select two or more spans first."},
          Case{"Stagger Spans…", "Stagger Spans", "Select two or more spans first."}, Case{"Retime…", "Retime", ""}}) {
        SCOPED_TRACE(c.title);
        QAction* const item = menuItem(c.title);
        ASSERT_TRUE(item);
        select({});
        EXPECT_EQ(item->isEnabled(), *c.reason == 0);
        EXPECT_EQ(item->isEnabled() ? "" : item->toolTip(), c.reason);
        select({spanA, spanB});
        ASSERT_TRUE(item->isEnabled());
        item->trigger();
        EXPECT_TRUE(showsWords(*window, c.name));
        EXPECT_FALSE(item->isEnabled()) << "one sheet at a time";
        press(Qt::Key_Escape);
        EXPECT_FALSE(showsWords(*window, c.name));
        EXPECT_TRUE(item->isEnabled());
        EXPECT_EQ(editor().scene(), before);
    }
}

TEST_F(TimelineCommandsTest, UndoWhileTheTableOfTimesIsOpenIsTheTables)
{
    editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 2; });
    const TweenScene opened = editor().scene();
    window->perform(Command::showRetime);
    QTest::keyClicks(window->focusWidget(), "2");
    press(Qt::Key_Return);
    EXPECT_EQ(times(spanA).start, 2);
    window->perform(Command::undo);
    EXPECT_EQ(editor().scene(), opened);
    window->perform(Command::undo);
    EXPECT_EQ(editor().scene(), opened) << "not a step of the document";
    window->perform(Command::redo);
    EXPECT_EQ(times(spanA).start, 2);
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_Return);
    EXPECT_EQ(editor().undoManager().undoActionName(), "Edit") << "all was taken back";
    window->perform(Command::undo);
    EXPECT_EQ(editor().scene(), before);
}

TEST_F(TimelineCommandsTest, UndoOfTheWindowDoesNotReachThroughAnOpenSheet)
{
    editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 2; });
    select({spanA});
    window->perform(Command::showMoveModal);
    window->perform(Command::undo);
    EXPECT_EQ(editor().scene().endPause, 2);
}

TEST_F(TimelineCommandsTest, InAndOutAreSetByTheirKeysWhereItIsPossible)
{
    EXPECT_FALSE(menuItem("Set Span In to Playhead")->isEnabled());
    EXPECT_EQ(menuItem("Set Span In to Playhead")->toolTip(), "Select something in the timeline first.");
    select({spanA});
    editor().setPlayhead(1.5);
    press(Qt::Key_I);
    EXPECT_EQ(times(spanA), (ItemTimes{1.5, 3}));
    EXPECT_EQ(editor().undoManager().undoActionName(), "Set In");
    editor().setPlayhead(2);
    press(Qt::Key_O);
    EXPECT_EQ(times(spanA), (ItemTimes{1.5, 2}));
    EXPECT_EQ(editor().undoManager().undoActionName(), "Set Out");
    editor().setPlayhead(4);
    press(Qt::Key_I);
    EXPECT_EQ(times(spanA), (ItemTimes{1.5, 2})) << "it has ended before";
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(editor().scene(), before);
}

TEST_F(TimelineCommandsTest, RippleIsAnnouncedToTheProgram)
{
    std::vector<std::size_t> heard;
    const auto listening = workspace.center.addObserver("LKSRippleApplied", [&](const Notification& notification) {
        const auto* count = notification.as<std::size_t>();
        if (count) heard.push_back(*count);
    });
    defaults.set(DefaultsKey::ripplePushAfter, true);
    select({spanA});
    editor().setPlayhead(3.5);
    press(Qt::Key_O);
    EXPECT_EQ(times(spanB), (ItemTimes{5.5, 7.5}));
    EXPECT_EQ(heard, std::vector<std::size_t>{1});
}

TEST_F(TimelineCommandsTest, AWindowThatIsClosedEndsItsSheet)
{
    select({spanA});
    window->perform(Command::showMoveModal);
    defaults.set(DefaultsKey::ripplePushAfter, true); // As a choice in the sheet does.
    window->close();
    EXPECT_EQ(editorRippleMode(defaults), TimelineRippleMode::none);
}

TEST_F(TimelineCommandsTest, ASheetThatIsOpenWhenItsWindowGoesIsNoHarm)
{
    window->perform(Command::showRetime);
    QTest::keyClicks(window->focusWidget(), "2");
    delete std::exchange(window, nullptr);
}

} // namespace
} // namespace larkspool
