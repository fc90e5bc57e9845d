#include "views/layer_panel_view.h"

#include "editing/scene_lookup.h"
#include "views/find_control.h"
#include "views/menu_test.h"
#include "views/window_test.h"

#include <QLineEdit>
#include <QToolButton>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::ElementsAre;

constexpr int rowHeight = 28;

Layer layerNamed(const char* name, Layer::Kind kind = Layer::Kind::rectangle)
{
    return {.id = UUID::random(), .name = SharedString(name), .kind = kind};
}

class LayerPanelViewTest : public testing::Test {
protected:
    LayerPanelViewTest() : world(TweenScene{.id = UUID::random()})
    {
        panel = std::make_unique<LayerPanelView>(world.context([this] { panel->refresh(); }), nullptr);
        panel->add = [this](const LayerPaletteCommands::Item& item) { added.push_back(item.kind); };
        panel->popOutPalette = [this] { ++poppedOut; };
        panel->resize(264, 500);
        for (QWidget* child : panel->findChildren<QWidget*>())
            if (auto* found = dynamic_cast<LayerList*>(child)) list = found;
    }
    ~LayerPanelViewTest() override { panel->hide(); } // As its window does: a name that is typed ends while all is there.

    /// From the front to the back, as the panel shows them.
    void giveLayers(std::vector<Layer> layers)
    {
        world.editor->mutate("Make", [&](TweenScene& scene) {
            scene.layers = {};
            for (std::size_t i = layers.size(); i-- > 0;) scene.layers.append(layers[i]);
        });
        panel->refresh();
        hand = std::make_unique<Hand>(*panel);
    }

    std::vector<std::string> rows() const
    {
        std::vector<std::string> result;
        for (const AccessibleItem& item : list->items()) result.push_back(item.name.toStdString());
        return result;
    }
    std::vector<std::string> selectedNames() const
    {
        std::vector<std::string> result;
        for (const AccessibleItem& item : list->items())
            if (item.isSelected) result.push_back(item.name.toStdString());
        return result;
    }
    QPoint inList(std::size_t row) const { return {120, static_cast<int>(row) * rowHeight + rowHeight / 2}; }
    /// The middle of a row, in the panel.
    QPoint row(std::size_t index) const { return list->mapTo(panel.get(), inList(index)); }
    const Layer& layerOf(const char* name) const
    {
        const Layer* found = nullptr;
        walkLayers(world.editor->scene().layers, [&](const Layer& layer) {
            if (layer.name == std::string_view(name)) found = findLayer(world.editor->scene(), layer.id);
        });
        if (!found) throw std::logic_error(std::string("No layer ") + name);
        return *found;
    }

    EditorForViews world;
    std::unique_ptr<LayerPanelView> panel;
    std::unique_ptr<Hand> hand;
    LayerList* list = nullptr;
    std::vector<Layer::Kind> added;
    int poppedOut = 0;
};

TEST_F(LayerPanelViewTest, AnEmptySceneSaysSo)
{
    giveLayers({});
    EXPECT_TRUE(showsWords(*panel, "No layers yet"));
    giveLayers({layerNamed("A")});
    EXPECT_FALSE(showsWords(*panel, "No layers yet"));
}

TEST_F(LayerPanelViewTest, TheSceneRowShowsTheSceneAndSelectsItByMouseAndKeyboard)
{
    giveLayers({layerNamed("A")});
    EXPECT_TRUE(showsWords(*panel, "Scene 1"));
    EXPECT_TRUE(showsWords(*panel, "1920×1080"));
    auto* scene = findControl<QAbstractButton>(*panel, "Scene: Scene 1");
    ASSERT_NE(scene, nullptr);
    hand->click(row(0));
    EXPECT_THAT(selectedNames(), ElementsAre("A"));
    hand->click(scene->mapTo(panel.get(), scene->rect().center()));
    EXPECT_THAT(selectedNames(), ElementsAre());
    hand->click(row(0));
    scene->setFocus(Qt::TabFocusReason);
    QTest::keyClick(scene, Qt::Key_Return);
    EXPECT_THAT(selectedNames(), ElementsAre());
}

TEST_F(LayerPanelViewTest, EveryKindOfThePaletteCanBeAddedFromTheMenu)
{
    giveLayers({});
    auto* button = findControl<QToolButton>(*panel, "Add Layer");
    ASSERT_NE(button, nullptr);
    inMenu([&] { button->click(); },
           [](QMenu& menu) {
               EXPECT_EQ(titlesOf(menu), QStringList({"Rectangle", "Ellipse", "Line", "Text", "Image…", "Video…", "Cursor",
                                                      "Hotspot", "Zoom", "Gradient Field", "Pop Out Palette"}));
               for (const QAction* action : menu.actions()) {
                   EXPECT_TRUE(action->isSeparator() || action->isEnabled()) << action->text().toStdString();
                   EXPECT_EQ(action->icon().isNull(), action->isSeparator() || action->text() == "Pop Out Palette");
               }
           });
    inMenu([&] { button->click(); }, [](QMenu& menu) { triggerEntry(menu, "Image…"); });
    inMenu([&] { button->click(); }, [](QMenu& menu) { triggerEntry(menu, "Zoom"); });
    EXPECT_THAT(added, ElementsAre(Layer::Kind::image, Layer::Kind::zoom));
    inMenu([&] { button->click(); }, [](QMenu& menu) { triggerEntry(menu, "Pop Out Palette"); });
    EXPECT_EQ(poppedOut, 1);
}

TEST_F(LayerPanelViewTest, ARowsMenuHasItsEntriesInOrder)
{
    Layer locked = layerNamed("C");
    locked.isLocked = true;
    giveLayers({layerNamed("A"), layerNamed("B"), locked});
    const QStringList common{"Rename", "Reset Name", "Copy Properties", "Paste",         "Duplicate",     "Delete",
                             "Group",  "Ungroup",    "Bring to Front",  "Bring Forward", "Send Backward", "Send to Back"};
    hand->click(row(0));
    inMenu([&] { askForMenu(*list, inList(0)); },
           [&](QMenu& menu) {
               EXPECT_EQ(titlesOf(menu), common + QStringList({"Hide 1 Layer", "Lock 1 Layer", "Reset Timeline"}));
           });
    hand->click(row(0)).click(row(1), Qt::ShiftModifier);
    inMenu([&] { askForMenu(*list, inList(1)); },
           [&](QMenu& menu) {
               EXPECT_EQ(titlesOf(menu), common + QStringList({"Hide 2 Layers", "Lock 2 Layers", "Reset Timeline"}));
               EXPECT_FALSE(entryOf(menu, "Rename")->isEnabled()) << "a name is of one layer";
               EXPECT_FALSE(entryOf(menu, "Rename")->toolTip().isEmpty());
           });
    hand->click(row(2));
    inMenu([&] { askForMenu(*list, inList(2)); },
           [&](QMenu& menu) { EXPECT_NE(entryOf(menu, "Unlock 1 Layer"), nullptr) << titlesOf(menu).join(" ").toStdString(); });
}

TEST_F(LayerPanelViewTest, ImagesAndVideosCanBeReplaced)
{
    giveLayers({layerNamed("A", Layer::Kind::image), layerNamed("B", Layer::Kind::video), layerNamed("C")});
    struct Case {
        std::size_t row;
        bool hasImage, hasVideo;
    };
    for (const Case& c : {Case{0, true, false}, Case{1, false, true}, Case{2, false, false}}) {
        SCOPED_TRACE(c.row);
        hand->click(row(c.row));
        inMenu([&] { askForMenu(*list, inList(c.row)); },
               [&](QMenu& menu) {
                   EXPECT_EQ(entryOf(menu, "Replace Image") != nullptr, c.hasImage);
                   EXPECT_EQ(entryOf(menu, "Replace Video") != nullptr, c.hasVideo);
               });
    }
    hand->click(row(0));
    inMenu([&] { askForMenu(*list, inList(0)); }, [](QMenu& menu) { triggerEntry(menu, "Replace Image"); });
    EXPECT_THAT(world.performed, ElementsAre(Command::replaceImage));
}

TEST_F(LayerPanelViewTest, ThePressForAMenuKeepsASelectionThatItBelongsToAndElseSelectsItsRow)
{
    giveLayers({layerNamed("A"), layerNamed("B"), layerNamed("C")});
    hand->click(row(0)).click(row(1), Qt::ShiftModifier);
    QTest::mouseClick(list, Qt::RightButton, {}, inList(1));
    EXPECT_THAT(selectedNames(), ElementsAre("A", "B"));
    QTest::mouseClick(list, Qt::RightButton, {}, inList(2));
    EXPECT_THAT(selectedNames(), ElementsAre("C"));
}

TEST_F(LayerPanelViewTest, TheEyeAndTheLockOfASelectedRowAreOfTheWholeSelection)
{
    giveLayers({layerNamed("A"), layerNamed("B"), layerNamed("C")});
    hand->click(row(0)).click(row(1), Qt::ShiftModifier);
    const int lock = list->width() - 18, eye = list->width() - 38;
    QTest::mouseClick(list, Qt::LeftButton, {}, {eye, inList(1).y()});
    QTest::mouseClick(list, Qt::LeftButton, {}, {lock, inList(2).y()});
    EXPECT_TRUE(layerOf("A").isHidden);
    EXPECT_TRUE(layerOf("B").isHidden);
    EXPECT_FALSE(layerOf("C").isHidden);
    EXPECT_TRUE(layerOf("C").isLocked);
    EXPECT_FALSE(layerOf("A").isLocked);
}

TEST_F(LayerPanelViewTest, ADraggedRowGoesAboveTheLineThatIsShown)
{
    giveLayers({layerNamed("A"), layerNamed("B"), layerNamed("C")});
    hand->press(row(2)).moveTo(row(1)).moveTo(row(0) - QPoint(0, 10)).release();
    EXPECT_THAT(rows(), ElementsAre("C", "A", "B"));
    hand->press(row(0)).moveTo(row(1)).moveTo(row(1) + QPoint(0, 10)).release();
    EXPECT_THAT(rows(), ElementsAre("A", "C", "B"));
    hand->press(row(0)).moveTo(row(1)).moveTo(row(4)).release();
    EXPECT_THAT(rows(), ElementsAre("C", "B", "A")) << "below all rows is the end";
    EXPECT_EQ(world.editor->undoManager().undoActionName(), "Reorder Layer");
}

TEST_F(LayerPanelViewTest, EscapeEndsADragOfRows)
{
    giveLayers({layerNamed("A"), layerNamed("B"), layerNamed("C")});
    hand->press(row(2)).moveTo(row(1)).moveTo(row(0));
    QTest::keyClick(list, Qt::Key_Escape);
    hand->release();
    EXPECT_THAT(rows(), ElementsAre("A", "B", "C"));
    EXPECT_THAT(selectedNames(), ElementsAre("C"));
}

TEST_F(LayerPanelViewTest, ArrowsSelectAndShiftExtends)
{
    giveLayers({layerNamed("A"), layerNamed("B"), layerNamed("C")});
    list->setFocus(Qt::TabFocusReason);
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_THAT(selectedNames(), ElementsAre("B"));
    QTest::keyClick(list, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_THAT(selectedNames(), ElementsAre("B", "C"));
    QTest::keyClick(list, Qt::Key_Up, Qt::ShiftModifier);
    QTest::keyClick(list, Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_THAT(selectedNames(), ElementsAre("A", "B"));
}

TEST_F(LayerPanelViewTest, ReturnTypesTheNameOfTheSelectedLayer)
{
    giveLayers({layerNamed("A"), layerNamed("B")});
    list->setFocus(Qt::TabFocusReason);
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    auto* field = findControl<QLineEdit>(*panel, "Name");
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, "Card");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_THAT(rows(), ElementsAre("Card", "B"));
}

TEST_F(LayerPanelViewTest, AGroupOpensAndClosesByItsChevronAndTheKeyboardStaysOnWhatIsSeen)
{
    Layer group = layerNamed("G", Layer::Kind::group);
    group.children = {layerNamed("Y"), layerNamed("X")};
    giveLayers({layerNamed("A"), group, layerNamed("B")});
    const QPoint chevron(14, inList(1).y());
    QTest::mouseClick(list, Qt::LeftButton, {}, chevron);
    EXPECT_THAT(rows(), ElementsAre("A", "G", "X", "Y", "B"));
    hand->click(row(3));
    EXPECT_THAT(selectedNames(), ElementsAre("Y"));
    QTest::mouseClick(list, Qt::LeftButton, {}, chevron);
    EXPECT_THAT(rows(), ElementsAre("A", "G", "B"));
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_THAT(selectedNames(), ElementsAre("B")) << "it goes on from the group";
}

TEST_F(LayerPanelViewTest, ALayerThatIsRenamedIsShown)
{
    Layer group = layerNamed("G", Layer::Kind::group);
    group.children = {layerNamed("X")};
    giveLayers({group});
    world.editor->selectLayers({group.children[0].id});
    panel->refresh();
    QTest::mouseClick(list, Qt::LeftButton, {}, {14, inList(0).y()});
    ASSERT_THAT(rows(), ElementsAre("G")) << "closed over what is selected";
    panel->renameSelected();
    EXPECT_THAT(rows(), ElementsAre("G", "X"));
    auto* field = findControl<QLineEdit>(*panel, "Name");
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->text(), "X");
    QTest::keyClick(field, Qt::Key_Escape);

    findControl<QToolButton>(*panel, "Search Layers")->click();
    QTest::keyClicks(findControl<QLineEdit>(*panel, "Search Layers"), "g");
    ASSERT_THAT(rows(), ElementsAre("G"));
    panel->renameSelected();
    EXPECT_THAT(rows(), ElementsAre("G", "X")) << "the search ends";
    EXPECT_EQ(findControl<QLineEdit>(*panel, "Search Layers"), nullptr);
}

TEST_F(LayerPanelViewTest, TheRowOfTheKeyboardIsSeenWholeWhenTabComesToALongList)
{
    std::vector<Layer> many;
    for (int i = 0; i < 60; ++i) many.push_back(layerNamed("A"));
    giveLayers(many);
    list->setFocus(Qt::TabFocusReason);
    for (int i = 0; i < 3; ++i) QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Tab, Qt::ShiftModifier);
    ASSERT_FALSE(list->hasFocus());
    QTest::keyClick(panel->focusWidget(), Qt::Key_Tab);
    ASSERT_TRUE(list->hasFocus());
    EXPECT_TRUE(list->visibleRegion().contains(QRect(0, 2 * rowHeight, 200, rowHeight)));
    EXPECT_EQ(list->visibleRegion().boundingRect().top(), 0) << "nor has the list been scrolled";
}

TEST_F(LayerPanelViewTest, AGroupThatIsSelectedAndWhatLiesInItAreOneBlock)
{
    Layer group = layerNamed("G", Layer::Kind::group);
    group.children = {layerNamed("Y"), layerNamed("X")};
    giveLayers({group, layerNamed("B")});
    QTest::mouseClick(list, Qt::LeftButton, {}, {14, inList(0).y()});
    hand->click(row(0));
    const QImage shown = list->grab().toImage();
    const int x = shown.width() / 2; // Right of the names, left of the marks.
    const auto colorAt = [&](int y) { return shown.pixelColor(x, y); };
    const QColor below = colorAt(rowHeight + 6);
    EXPECT_NE(below, colorAt(6)) << "the group itself stands out";
    EXPECT_NE(below, colorAt(3 * rowHeight + 6)) << "and B is none of it";
    for (int y = rowHeight; y < 3 * rowHeight - 1; ++y) EXPECT_EQ(colorAt(y), below) << y;
    EXPECT_EQ(colorAt(rowHeight - 1), colorAt(6)) << "no gap above";
}

TEST_F(LayerPanelViewTest, APressBelowTheRowsSelectsNothing)
{
    giveLayers({layerNamed("A")});
    hand->click(row(0));
    hand->click({120, panel->height() - 20});
    EXPECT_THAT(selectedNames(), ElementsAre());
}

} // namespace
} // namespace larkspool
