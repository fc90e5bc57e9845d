#include "views/scene_strip_view.h"

#include "shell/scene_strip.h"
#include "views/find_control.h"
#include "views/menu_test.h"
#include "views/theme.h"
#include "views/transition_popover.h"
#include "views/window_test.h"

#include <QLineEdit>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::ElementsAre;

TweenScene sceneNamed(const char* name)
{
    TweenScene scene{.id = UUID::random(), .name = SharedString(name), .duration = 3};
    scene.layers = {Layer{.id = UUID::random(), .name = "Box"}};
    return scene;
}

class SceneStripViewTest : public testing::Test {
protected:
    SceneStripViewTest() : world(sceneNamed("A"))
    {
        EditorContext context = world.context([this] { strip->refresh(); });
        context.sceneCreated = [this] { ++createdCount; };
        strip = std::make_unique<SceneStripView>(context, nullptr);
        strip->resize(1100, 52);
        strip->pickMusic = [this] { ++pickedMusic; };
    }
    /// As its window does: a name that is typed ends while all is there.
    ~SceneStripViewTest() override
    {
        if (strip) strip->hide();
    }

    /// The document has one scene for each name.
    void giveScenes(std::initializer_list<const char*> names)
    {
        world.editor->editDocument([&](TweenDocument& document) {
            document.scenes = {};
            for (const char* name : names) document.scenes.append(sceneNamed(name));
        });
        strip->refresh();
        hand = std::make_unique<Hand>(*strip);
    }

    const TweenDocument& document() const { return world.editor->state().document; }
    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (std::size_t i = 0; i < document().scenes.size(); ++i) result.push_back(document().scenes[i].displayName(i));
        return result;
    }
    QRect placeOf(const QString& itemName) const
    {
        for (const AccessibleItem& item : strip->items())
            if (item.name.startsWith(itemName)) return item.rect;
        throw std::logic_error("No such item: " + itemName.toStdString());
    }
    QPoint middleOf(const QString& itemName) const { return placeOf(itemName).center(); }

    TransitionPopover& openTransition()
    {
        hand->click(middleOf("Transition"));
        auto* popover = dynamic_cast<TransitionPopover*>(QApplication::activePopupWidget());
        if (!popover) throw std::logic_error("No popover has come up");
        return *popover;
    }
    void typeDuration(const char* text, Qt::Key end = Qt::Key_Return)
    {
        auto* field = findControl<QLineEdit>(openTransition(), "Duration");
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, text);
        QTest::keyClick(field, end);
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    }
    void giveTransition(SceneTransition transition)
    {
        world.editor->editDocument([&](TweenDocument& d) { d.scenes.edit()[0].transition = transition; });
        strip->refresh();
    }

    EditorForViews world;
    std::unique_ptr<SceneStripView> strip;
    std::unique_ptr<Hand> hand;
    int createdCount = 0, pickedMusic = 0;
};

TEST_F(SceneStripViewTest, AnotherChipBeginsItsSceneAtRestWithNothingSelected)
{
    giveScenes({"A", "B"});
    world.editor->selectLayers({document().scenes[0].layers[0].id});
    world.editor->setPlayhead(1);
    world.playback->togglePlay();
    hand->click(middleOf("B"));
    EXPECT_EQ(document().clampedActiveSceneIndex(), 1u);
    EXPECT_EQ(world.editor->state().playhead, 0);
    EXPECT_FALSE(world.playback->isPlaying());
    EXPECT_TRUE(world.editor->state().selectedLayerIDs.empty());
}

TEST_F(SceneStripViewTest, ASceneShowsItsPictureAndKeepsItUntilANewerOneIsDrawn)
{
    giveScenes({"A", "B"});
    const auto thumbnail = [this] {
        const QPoint inIt = placeOf("A").topLeft() + QPoint(28, 20);
        const QPixmap seen = strip->grab();
        return seen.toImage().pixelColor(inIt * seen.devicePixelRatio());
    };
    const auto paper = [this](ColorRGBA color) {
        world.editor->editDocument([&](TweenDocument& d) { d.scenes.edit()[0].background = color; });
        strip->refresh();
    };
    paper({0, 1, 0, 1});
    EXPECT_EQ(thumbnail(), theme().field) << "nobody waits for it";
    ASSERT_TRUE(QTest::qWaitFor([&] { return thumbnail() == QColor(Qt::green); }, 20'000));
    paper({1, 0, 0, 1});
    EXPECT_EQ(thumbnail(), QColor(Qt::green));
    QColor seen;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (seen = thumbnail()) != QColor(Qt::green); }, 20'000));
    EXPECT_EQ(seen, QColor(Qt::red)) << "one follows the other with nothing in between";
}

TEST_F(SceneStripViewTest, AClickOnTheActiveChipChangesNothing)
{
    giveScenes({"A", "B"});
    const LayerIDs selected{document().scenes[0].layers[0].id};
    world.editor->selectLayers(selected);
    world.editor->setPlayhead(1);
    hand->click(middleOf("A"));
    EXPECT_EQ(world.editor->state().playhead, 1);
    EXPECT_EQ(world.editor->state().selectedLayerIDs, selected);
}

TEST_F(SceneStripViewTest, AChipsMenuWorksOnItsScene)
{
    giveScenes({"A", "B"});
    inMenu([&] { askForMenu(*strip, middleOf("B")); },
           [](QMenu& menu) {
               EXPECT_EQ(titlesOf(menu), QStringList({"Rename", "Duplicate", "Delete"}));
               triggerEntry(menu, "Duplicate");
           });
    EXPECT_THAT(names(), ElementsAre("A", "B", "B Copy")) << "not the one that was active";
    inMenu([&] { askForMenu(*strip, middleOf("A")); }, [](QMenu& menu) { triggerEntry(menu, "Delete"); });
    EXPECT_THAT(names(), ElementsAre("B", "B Copy"));
}

TEST_F(SceneStripViewTest, DeletingTheActiveSceneGoesToTheOneBefore)
{
    giveScenes({"A", "B", "C"});
    hand->click(middleOf("C"));
    world.editor->setPlayhead(1);
    inMenu([&] { askForMenu(*strip, middleOf("C")); }, [](QMenu& menu) { triggerEntry(menu, "Delete"); });
    EXPECT_THAT(names(), ElementsAre("A", "B"));
    EXPECT_EQ(document().clampedActiveSceneIndex(), 1u);
    EXPECT_EQ(world.editor->state().playhead, 0);
}

TEST_F(SceneStripViewTest, TheOnlySceneCannotBeDeleted)
{
    giveScenes({"A"});
    inMenu([&] { askForMenu(*strip, middleOf("A")); }, [](QMenu& menu) { EXPECT_FALSE(entryOf(menu, "Delete")->isEnabled()); });
}

TEST_F(SceneStripViewTest, BothWaysToAddASceneAreToldOf)
{
    giveScenes({"A"});
    inMenu([&] { hand->click(middleOf("Add Scene")); },
           [](QMenu& menu) {
               EXPECT_EQ(titlesOf(menu), QStringList({"New Scene", "Duplicate Current Scene"}));
               for (const QAction* action : menu.actions()) EXPECT_FALSE(action->icon().isNull());
               triggerEntry(menu, "New Scene");
           });
    ASSERT_EQ(document().scenes.size(), 2u);
    EXPECT_TRUE(document().scenes[1].layers.empty());
    EXPECT_EQ(createdCount, 1);
    hand->click(middleOf("A"));
    inMenu([&] { hand->click(middleOf("Add Scene")); }, [](QMenu& menu) { triggerEntry(menu, "Duplicate Current Scene"); });
    ASSERT_EQ(document().scenes.size(), 3u);
    EXPECT_EQ(document().scenes[1].layers.size(), 1u);
    EXPECT_EQ(createdCount, 2);
}

TEST_F(SceneStripViewTest, ADraggedChipTakesThePlaceOfTheOneUnderItAndTheSameSceneStaysActive)
{
    giveScenes({"A", "B", "C"});
    hand->click(middleOf("B"));
    hand->press(middleOf("A")).moveTo(middleOf("B")).moveTo(middleOf("C")).release();
    EXPECT_THAT(names(), ElementsAre("B", "C", "A"));
    EXPECT_EQ(document().clampedActiveSceneIndex(), 0u) << "B";
    hand->press(middleOf("A")).moveTo(middleOf("C")).moveTo(middleOf("B")).release();
    EXPECT_THAT(names(), ElementsAre("A", "B", "C"));
}

TEST_F(SceneStripViewTest, AChipDroppedOnItselfOrBesideAllOthersChangesNothing)
{
    giveScenes({"A", "B", "C"});
    const TweenDocument before = document();
    hand->press(middleOf("B")).moveTo(middleOf("A")).moveTo(middleOf("B")).release();
    EXPECT_EQ(document(), before);
    hand->press(middleOf("B")).moveTo(middleOf("Add Scene")).release();
    EXPECT_EQ(document(), before) << "a drag is no click";
}

TEST_F(SceneStripViewTest, EscapeEndsADragAndGivesTheKeyboardBack)
{
    giveScenes({"A", "B", "C"});
    const TweenDocument before = document();
    hand->press(middleOf("A")).moveTo(middleOf("C"));
    QTest::keyClick(strip.get(), Qt::Key_Escape);
    hand->release();
    EXPECT_EQ(document(), before);
}

TEST_F(SceneStripViewTest, ANameIsTypedInItsChipAndAnEmptyOneGivesWayToTheNumber)
{
    giveScenes({"A", "B"});
    QTest::mouseDClick(strip.get(), Qt::LeftButton, {}, middleOf("B"));
    auto* field = findControl<QLineEdit>(*strip, "Name");
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->text(), "B");
    QTest::keyClicks(field, "Opening");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_THAT(names(), ElementsAre("A", "Opening"));
    hand->click(middleOf("Opening"));
    QTest::keyClick(strip.get(), Qt::Key_F2);
    ASSERT_TRUE(field->isVisible());
    field->clear();
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_THAT(names(), ElementsAre("A", "Scene 2"));
}

TEST_F(SceneStripViewTest, TheMenusRenameOpensTheNameOfItsChip)
{
    giveScenes({"A", "B"});
    inMenu([&] { askForMenu(*strip, middleOf("B")); }, [](QMenu& menu) { triggerEntry(menu, "Rename"); });
    // What the windows of the test's screen do to the keyboard afterwards is theirs.
    const auto* field = strip->findChild<QLineEdit*>();
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->text(), "B");
}

TEST_F(SceneStripViewTest, ANameThatIsLeftAsItIsMakesNoChange)
{
    giveScenes({"A", "B"});
    const TweenDocument before = document();
    strip->setFocus(Qt::TabFocusReason);
    QTest::keyClick(strip.get(), Qt::Key_F2);
    QTest::keyClick(strip->findChild<QLineEdit*>(), Qt::Key_Return);
    EXPECT_EQ(document(), before);
}

TEST_F(SceneStripViewTest, ThePopoverOffersNoneAndEveryKindAndMarksTheOneThatIs)
{
    giveScenes({"A", "B"});
    giveTransition({.kind = SceneTransition::Kind::push, .duration = 0.5});
    TransitionPopover& popover = openTransition();
    EXPECT_TRUE(showsWords(popover, "Transition"));
    QStringList rows;
    for (const QAbstractButton* row : popover.findChildren<QAbstractButton*>()) {
        if (!row->isCheckable()) continue;
        rows << row->text();
        EXPECT_EQ(row->isChecked(), row->text() == "Push") << row->text().toStdString();
    }
    QStringList expected{"None"};
    for (const auto& kind : EnumTable<SceneTransition::Kind>::cases)
        expected << QString::fromUtf8(kind.label.data(), static_cast<qsizetype>(kind.label.size()));
    EXPECT_EQ(rows, expected);
    popover.close();
}

TEST_F(SceneStripViewTest, EveryKindHasAnIconOfItsOwn)
{
    QStringList icons{transitionIcon(std::nullopt)};
    for (const auto& kind : EnumTable<SceneTransition::Kind>::cases) icons << transitionIcon(kind.value);
    EXPECT_EQ(icons.removeDuplicates(), 0) << icons.join(" ").toStdString();
}

TEST_F(SceneStripViewTest, AKindIsChosenWithHalfASecondAndAnotherKeepsTheDuration)
{
    giveScenes({"A", "B"});
    TransitionPopover& popover = openTransition();
    EXPECT_FALSE(findControl<QLineEdit>(popover, "Duration")->isEnabled());
    findControl<QAbstractButton>(popover, "Fade")->click();
    EXPECT_EQ(document().scenes[0].transition, (SceneTransition{.kind = SceneTransition::Kind::fade, .duration = 0.5}));
    EXPECT_TRUE(findControl<QLineEdit>(popover, "Duration")->isEnabled()) << "it shows what has been chosen";
    EXPECT_EQ(findControl<QLineEdit>(popover, "Duration")->text(), "0.50");
    popover.close();
    typeDuration("2");
    findControl<QAbstractButton>(openTransition(), "Zoom")->click();
    EXPECT_EQ(document().scenes[0].transition, (SceneTransition{.kind = SceneTransition::Kind::zoom, .duration = 2}));
    findControl<QAbstractButton>(*QApplication::activePopupWidget(), "None")->click();
    EXPECT_EQ(document().scenes[0].transition, std::nullopt);
    QApplication::activePopupWidget()->close();
}

TEST_F(SceneStripViewTest, ATypedDurationIsKeptInTenthsWithinItsLimits)
{
    giveScenes({"A", "B"});
    struct Case {
        const char* typed;
        double kept;
    };
    for (const Case& c :
         {Case{"7", 5}, Case{"0.04", 0.1}, Case{"1.26", 1.3}, Case{"-3", 0.1}, Case{"soon", 0.7}, Case{"", 0.7}}) {
        SCOPED_TRACE(c.typed);
        giveTransition({.kind = SceneTransition::Kind::fade, .duration = 0.7});
        typeDuration(c.typed);
        EXPECT_DOUBLE_EQ(document().scenes[0].transition->duration, c.kept);
    }
}

TEST_F(SceneStripViewTest, EscapeLeavesTheDurationAndAPressBesideThePopoverKeepsIt)
{
    giveScenes({"A", "B"});
    giveTransition({.kind = SceneTransition::Kind::fade, .duration = 0.7});
    typeDuration("3", Qt::Key_Escape);
    EXPECT_EQ(document().scenes[0].transition->duration, 0.7);
    auto* field = findControl<QLineEdit>(openTransition(), "Duration");
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, "3");
    QApplication::activePopupWidget()->close();
    EXPECT_EQ(document().scenes[0].transition->duration, 3);
}

TEST_F(SceneStripViewTest, TheArrowsStepTheDurationByTenths)
{
    giveScenes({"A", "B"});
    giveTransition({.kind = SceneTransition::Kind::fade, .duration = 0.7});
    auto* field = findControl<QLineEdit>(openTransition(), "Duration");
    field->setFocus();
    QTest::keyClick(field, Qt::Key_Up);
    EXPECT_DOUBLE_EQ(document().scenes[0].transition->duration, 0.8);
    EXPECT_EQ(field->text(), "0.80");
    QTest::keyClick(field, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(document().scenes[0].transition->duration, 0.1) << "no shorter";
    QApplication::activePopupWidget()->close();
}

TEST_F(SceneStripViewTest, ThePopoverIsWorkedByTheKeyboard)
{
    giveScenes({"A", "B"});
    strip->setFocus(Qt::TabFocusReason);
    QTest::keyClick(strip.get(), Qt::Key_Right);
    QTest::keyClick(strip.get(), Qt::Key_Return);
    QWidget* popover = QApplication::activePopupWidget();
    ASSERT_NE(popover, nullptr);
    EXPECT_EQ(focusName(*popover), "None");
    QTest::keyClick(popover->focusWidget(), Qt::Key_Down);
    QTest::keyClick(popover->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(document().scenes[0].transition->kind, SceneTransition::Kind::fade);
    QTest::keyClick(popover->focusWidget(), Qt::Key_Escape);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(SceneStripViewTest, TheStripMayGoWhileThePopoverIsOpen)
{
    giveScenes({"A", "B"});
    giveTransition({.kind = SceneTransition::Kind::fade, .duration = 0.7});
    auto* field = findControl<QLineEdit>(openTransition(), "Duration");
    field->setFocus();
    QTest::keyClicks(field, "3");
    strip.reset();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    hand.reset();
}

TEST_F(SceneStripViewTest, TheMusicChipAsksForASoundAndOffersToReplaceOrRemoveOneThatIsThere)
{
    giveScenes({"A"});
    hand->click(middleOf("Music"));
    EXPECT_EQ(pickedMusic, 1);
    hand->moveTo(middleOf("Music"));
    EXPECT_EQ(strip->toolTip(), "Document audio bed — plays through every scene");
    world.editor->editDocument([](TweenDocument& d) { SceneStrip::setMusic(d, "file:///song.wav", "song.wav"); });
    strip->refresh();
    inMenu([&] { hand->click(middleOf("song.wav")); },
           [](QMenu& menu) {
               EXPECT_EQ(titlesOf(menu), QStringList({"Replace", "Remove"}));
               triggerEntry(menu, "Replace");
           });
    EXPECT_EQ(pickedMusic, 2);
    EXPECT_TRUE(document().audio);
    inMenu([&] { hand->click(middleOf("song.wav")); }, [](QMenu& menu) { triggerEntry(menu, "Remove"); });
    EXPECT_FALSE(document().audio);
}

TEST_F(SceneStripViewTest, TheKeysGoOnFromTheSceneThatBecameActive)
{
    giveScenes({"A", "B", "C"});
    world.editor->selectScene(1);
    strip->refresh();
    QTest::keyClick(strip.get(), Qt::Key_Delete);
    EXPECT_THAT(names(), ElementsAre("A", "C"));
    QTest::keyClick(strip.get(), Qt::Key_F2);
    EXPECT_EQ(strip->findChild<QLineEdit*>()->text(), "A") << "active now";
}

TEST_F(SceneStripViewTest, TheActiveSceneIsBroughtIntoView)
{
    giveScenes({"A", "B", "C", "D", "E", "F", "G", "H"});
    EXPECT_TRUE(placeOf("A").left() > 0);
    world.editor->selectScene(7);
    strip->refresh();
    const QRect last = placeOf("H");
    EXPECT_GT(last.left(), 0);
    EXPECT_LT(last.right(), placeOf("Music").left()) << "beside the music, which stands over the row";
    world.editor->editDocument([](TweenDocument& d) { d.scenes = {d.scenes[7]}; });
    strip->refresh();
    EXPECT_EQ(placeOf("H").left(), 12) << "a short row is not scrolled";
}

} // namespace
} // namespace larkspool
