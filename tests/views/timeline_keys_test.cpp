#include "views/accessible_items.h"
#include "views/theme.h"
#include "views/timeline_view_fixture.h"

#include <QAccessible>
#include <QImage>
#include <QKeyEvent>

#include <gtest/gtest.h>

#include <algorithm>

// The gutter beside the rows, reached from the first item of a row by the arrow to the left.

namespace larkspool {
namespace {

class TimelineKeysTest : public TimelineViewTest {
protected:
    const std::vector<AccessibleItem>& items() { return dynamic_cast<AccessibleItems&>(rows()).items(); }
    /// What a reader of the screen is told that the keys act on.
    QString keyboardItem()
    {
        QString names;
        for (const AccessibleItem& item : items())
            if (item.hasKeyboard) names += (names.isEmpty() ? "" : " | ") + item.name;
        return names;
    }
    /// The keys act on the gutter, at the right end of the layer's first row.
    void enterGutter()
    {
        showLayer();
        hand().click({xOf(1.5), spansY}).key(Qt::Key_Left);
    }
    /// Whether the rows keep the key from the shortcuts of the window.
    bool takesFromShortcuts(Qt::Key key)
    {
        QKeyEvent event(QEvent::ShortcutOverride, key, Qt::NoModifier);
        event.ignore();
        QCoreApplication::sendEvent(&rows(), &event);
        return event.isAccepted();
    }
    QColor pixel(QPoint at)
    {
        QImage image(view_.size(), QImage::Format_ARGB32_Premultiplied);
        view_.render(&image);
        return image.pixelColor(at);
    }
    bool isPinned() { return state().timelinePinnedLayerIDs.contains(layerID); }
};

TEST_F(TimelineKeysTest, ALayerIsFoldedAndPinnedByTheKeyboard)
{
    enterGutter();
    EXPECT_EQ(keyboardItem(), "Pin to Timeline, Layer");
    hand().key(Qt::Key_Space);
    EXPECT_TRUE(isPinned());
    EXPECT_EQ(keyboardItem(), "Unpin from Timeline, Layer");
    hand().key(Qt::Key_Return);
    EXPECT_FALSE(isPinned());

    hand().key(Qt::Key_Left);
    EXPECT_EQ(keyboardItem(), "Add visibility span at playhead, Layer");
    hand().key(Qt::Key_Left);
    EXPECT_EQ(keyboardItem(), "Show Spans Only, Layer");
    const std::size_t all = items().size();
    hand().key(Qt::Key_Enter);
    EXPECT_EQ(keyboardItem(), "Show All Rows, Layer");
    EXPECT_EQ(items().size(), all - 6) << "the pulse, two keyframes, the wait of one, and what adds more of them";
    hand().key(Qt::Key_Left);
    EXPECT_EQ(keyboardItem(), "Show All Rows, Layer") << "there is nothing farther to the left";
    hand().key(Qt::Key_Space);
    EXPECT_EQ(items().size(), all);
    EXPECT_EQ(editor().undoManager().undoCount(), 0u);
}

TEST_F(TimelineKeysTest, TheGutterAddsToEachRowByTheKeyboard)
{
    editor().setPlayhead(7);
    enterGutter();
    hand().key(Qt::Key_Down);
    EXPECT_EQ(keyboardItem(), "Add pulse marker at playhead, Layer");
    hand().key(Qt::Key_Space);
    EXPECT_EQ(findLayer(editor().scene(), layerID)->pulses.size(), 2u);
    hand().key(Qt::Key_Down);
    EXPECT_EQ(keyboardItem(), "Add X keyframe at playhead, Layer");
    hand().key(Qt::Key_Space);
    EXPECT_EQ(findLayer(editor().scene(), layerID)->keyframes.size(), 3u);
    hand().key(Qt::Key_Up).key(Qt::Key_Up);
    EXPECT_EQ(keyboardItem(), "Pin to Timeline, Layer") << "the nearest to the one that was left";
}

TEST_F(TimelineKeysTest, ToTheRightOfTheGutterLieTheItems)
{
    enterGutter();
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan}) << "what was chosen stays so";
    hand().key(Qt::Key_Left).key(Qt::Key_Right).key(Qt::Key_Right);
    EXPECT_EQ(keyboardItem(), "Span, Layer, 1.00s to 3.00s");
    EXPECT_EQ(state().timelineSelection, TimelineSelection{firstSpan});
    hand().key(Qt::Key_Right);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{secondSpan});
}

TEST_F(TimelineKeysTest, TheTailOfAWaitLiesBetweenItsKeyframeAndTheNext)
{
    showLayer();
    hand().click({xOf(2), keyframesY}).key(Qt::Key_Right);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{tail});
    EXPECT_EQ(keyboardItem(), "X keyframe wait, Layer, 2.00s to 3.00s");
    hand().key(Qt::Key_Right);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{TimelineItemRef::keyframe(layerID, idOf(15))});
    hand().key(Qt::Key_Left);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{tail});
    hand().key(Qt::Key_Left);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{keyframe});
    hand().key(Qt::Key_Left);
    EXPECT_EQ(keyboardItem(), "Add X keyframe at playhead, Layer");
}

TEST_F(TimelineKeysTest, UpwardFromATailIsWhatIsNearestToItsEnd)
{
    showLayer();
    hand().click({xOf(3) - 10, keyframesY}).key(Qt::Key_Up);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{pulse});
    hand().key(Qt::Key_Down);
    EXPECT_EQ(state().timelineSelection, TimelineSelection{keyframe}) << "at 2, which is nearer to 4 than that at 8";
}

TEST_F(TimelineKeysTest, ALayerWithoutItemsIsReachedToo)
{
    editor().mutate("Empty", [](TweenScene& scene) { *editLayer(scene, otherID) = Layer{.id = otherID}; });
    editor().selectLayers({otherID});
    view_.refresh();
    hand().click({xOf(9), spansY}).key(Qt::Key_Right);
    EXPECT_EQ(keyboardItem(), "Pin to Timeline, Layer");
    hand().key(Qt::Key_Space);
    EXPECT_TRUE(state().timelinePinnedLayerIDs.contains(otherID));
}

TEST_F(TimelineKeysTest, TheFocusOfTheGutterIsSeen)
{
    const QPoint besideThePin(164, spansY); // The pin is 16 wide, from 165 on.
    showLayer();
    EXPECT_NE(pixel(besideThePin), theme().focusRing);
    enterGutter();
    EXPECT_EQ(pixel(besideThePin), theme().focusRing);
    hand().click({xOf(9), spansY});
    EXPECT_NE(pixel(besideThePin), theme().focusRing) << "the mouse takes it away";
}

TEST_F(TimelineKeysTest, SpaceIsTheGuttersOnlyWhileTheKeysActOnIt)
{
    showLayer();
    hand().click({xOf(1.5), spansY});
    EXPECT_FALSE(takesFromShortcuts(Qt::Key_Space)) << "it plays";
    hand().key(Qt::Key_Left);
    EXPECT_TRUE(takesFromShortcuts(Qt::Key_Space));
    EXPECT_FALSE(takesFromShortcuts(Qt::Key_Z));
    hand().key(Qt::Key_Right);
    EXPECT_FALSE(takesFromShortcuts(Qt::Key_Space));
}

TEST_F(TimelineKeysTest, TheKeysLetGoOfAGutterWhoseRowGoes)
{
    enterGutter();
    hand().key(Qt::Key_Down);
    EXPECT_EQ(keyboardItem(), "Add pulse marker at playhead, Layer");
    editor().selectLayers({otherID});
    view_.refresh();
    EXPECT_EQ(keyboardItem(), "");
    hand().key(Qt::Key_Space);
    EXPECT_EQ(editor().scene(), before_);
}

TEST_F(TimelineKeysTest, TheControlsOfTheGutterAreReadToThoseWhoCannotSeeThem)
{
    showLayer();
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&rows());
    ASSERT_NE(list, nullptr);
    QAccessibleInterface* fold = list->child(0);
    EXPECT_EQ(fold->text(QAccessible::Name), "Show Spans Only, Layer");
    EXPECT_EQ(fold->role(), QAccessible::PushButton);
    EXPECT_TRUE(fold->state().expanded);
    EXPECT_FALSE(fold->state().selectable);
    EXPECT_EQ(rows().mapFromGlobal(fold->rect().center()).x(), 13) << "the middle of 6 to 22";
    fold->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(fold->state().collapsed);
    fold->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(fold->state().expanded);
}

TEST_F(TimelineKeysTest, TheKeysScrollTheRowsToWhatTheyActOn)
{
    editor().mutate("Add Keyframes", [](TweenScene& scene) {
        for (std::size_t i = 0; i < 20; ++i)
            editLayer(scene, layerID)
                ->keyframes.append(Keyframe{
                    .id = idOf(50 + i), .property = static_cast<Keyframe::AnimatableProperty>(i), .time = 1, .value = 1.0});
    });
    enterGutter();
    for (int i = 0; i < 21; ++i) hand().key(Qt::Key_Down);
    const auto keyed = std::ranges::find_if(items(), &AccessibleItem::hasKeyboard);
    ASSERT_NE(keyed, items().end());
    EXPECT_FALSE(keyed->rect.isEmpty()) << "what is scrolled away has no place";
    EXPECT_TRUE(items().front().rect.isEmpty());
}

} // namespace
} // namespace larkspool
