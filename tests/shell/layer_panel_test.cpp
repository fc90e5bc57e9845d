#include "shell/inspector.h"
#include "shell/layer_palette.h"
#include "shell/layer_panel.h"

#include "editing/scene_lookup.h"
#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace larkspool {
namespace {

Layer named(const char* name, Layer::Kind kind = Layer::Kind::rectangle)
{
    Layer layer;
    layer.id = UUID::random();
    layer.name = name;
    layer.kind = kind;
    return layer;
}

/// back: a, group (b, c), d :front
struct Tree {
    Layer a = named("a"), b = named("b"), c = named("c"), d = named("d"), group = named("group", Layer::Kind::group);
    TweenScene scene;

    Tree()
    {
        group.children = {b, c};
        scene.layers = {a, group, d};
    }
};

std::string namesOf(const Array<Layer>& layers)
{
    std::string names;
    for (const Layer& layer : layers) {
        names += layer.name.string();
        if (!layer.children.empty()) names += "(" + namesOf(layer.children) + ")";
        names += " ";
    }
    if (!names.empty()) names.pop_back();
    return names;
}

TEST(LayerPanel, ShowsTheFrontmostLayerOnTopAndChildrenBelowAnOpenGroup)
{
    const Tree tree;
    const auto closed = LayerPanel::flattenedLayers(tree.scene, {});
    ASSERT_EQ(closed.size(), 3u);
    EXPECT_EQ(closed[0], (LayerPanel::Row{tree.d.id, 0, false, false}));
    EXPECT_EQ(closed[1], (LayerPanel::Row{tree.group.id, 0, true, false}));
    const auto open = LayerPanel::flattenedLayers(tree.scene, {tree.group.id});
    ASSERT_EQ(open.size(), 5u);
    EXPECT_EQ(open[1], (LayerPanel::Row{tree.group.id, 0, true, true}));
    EXPECT_EQ(open[2], (LayerPanel::Row{tree.c.id, 1, false, false}));
    EXPECT_EQ(open[3], (LayerPanel::Row{tree.b.id, 1, false, false}));
    EXPECT_EQ(open[4].layerID, tree.a.id);
}

TEST(LayerPanel, ARenameStaysAgainstWhatTheNameFollowed)
{
    Tree tree;
    tree.scene.layers.edit()[0].nameFollowsShape = true;
    const auto edit = LayerPanel::commitRename(tree.scene, tree.a.id, "  Card\n");
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Rename Layer");
    EXPECT_EQ(edit->scene.layers[0].name, "Card");
    EXPECT_FALSE(edit->scene.layers[0].nameFollowsShape);
}

TEST(LayerPanel, ARenameClearsTheFlagOfTheLayersKindAlone)
{
    struct Case {
        Layer::Kind kind;
        bool Layer::* flag;
    };
    constexpr bool Layer::* flags[] = {&Layer::nameFollowsShape, &Layer::nameFollowsText, &Layer::nameFollowsCursorVariant,
                                       &Layer::nameFollowsLineShape};
    for (const Case& c :
         {Case{Layer::Kind::rectangle, &Layer::nameFollowsShape}, Case{Layer::Kind::ellipse, &Layer::nameFollowsShape},
          Case{Layer::Kind::text, &Layer::nameFollowsText}, Case{Layer::Kind::line, &Layer::nameFollowsLineShape},
          Case{Layer::Kind::cursor, &Layer::nameFollowsCursorVariant}}) {
        SCOPED_TRACE(fileValue(c.kind));
        Layer layer = named("From the content", c.kind);
        for (const auto flag : flags) layer.*flag = true;
        TweenScene scene;
        scene.layers = {layer};
        const auto edit = LayerPanel::commitRename(scene, layer.id, "Mine");
        ASSERT_TRUE(edit);
        for (const auto flag : flags) EXPECT_EQ(edit->scene.layers[0].*flag, flag != c.flag);
    }
}

TEST(LayerPanel, AFillEditAfterARenameLeavesTheNameAlone)
{
    const Tree tree;
    TweenScene scene = LayerPanel::commitRename(tree.scene, tree.a.id, "Card")->scene;
    scene.layers.edit()[0].fill = {1, 0, 0, 1};
    Inspector::autoRenameShapeLayersOnFillEdit(scene, {tree.a.id});
    EXPECT_EQ(scene.layers[0].name, "Card");
}

TEST(LayerPanel, ARenameToBlanksOrToTheSameNameIsNone)
{
    const Tree tree;
    for (const char* draft : {"", " \t\n", "a", " a "}) EXPECT_FALSE(LayerPanel::commitRename(tree.scene, tree.a.id, draft)) << draft;
    EXPECT_FALSE(LayerPanel::commitRename(tree.scene, UUID::random(), "x"));
}

TEST(LayerPanel, RenamingAnImageClearsNoFlag)
{
    Tree tree;
    tree.scene.layers.edit()[0].kind = Layer::Kind::image;
    tree.scene.layers.edit()[0].nameFollowsShape = true;
    tree.scene.layers.edit()[0].nameFollowsText = true;
    const auto edit = LayerPanel::commitRename(tree.scene, tree.a.id, "Photo");
    EXPECT_TRUE(edit->scene.layers[0].nameFollowsShape);
    EXPECT_TRUE(edit->scene.layers[0].nameFollowsText);
}

TEST(LayerPanel, DroppedLayersComeInFrontOfTheTargetInTheirOrder)
{
    const Tree tree;
    const auto one = LayerPanel::moveLayersBefore(tree.scene, {tree.a.id}, tree.d.id);
    ASSERT_TRUE(one);
    EXPECT_EQ(namesOf(one->scene.layers), "group(b c) d a");
    EXPECT_EQ(one->actionName, "Reorder Layer");
    const auto into = LayerPanel::moveLayersBefore(tree.scene, {tree.a.id, tree.d.id}, tree.b.id);
    ASSERT_TRUE(into);
    EXPECT_EQ(namesOf(into->scene.layers), "group(b a d c)");
    EXPECT_EQ(into->actionName, "Reorder Layers");
    const auto out = LayerPanel::moveLayersToEnd(tree.scene, {tree.c.id});
    ASSERT_TRUE(out);
    EXPECT_EQ(namesOf(out->scene.layers), "c a group(b) d");
}

TEST(LayerPanel, ALayerIsNeverDroppedIntoItselfAndADropThatChangesNothingIsNone)
{
    const Tree tree;
    EXPECT_FALSE(LayerPanel::moveLayersBefore(tree.scene, {tree.group.id}, tree.b.id));
    EXPECT_FALSE(LayerPanel::moveLayersBefore(tree.scene, {tree.group.id}, tree.group.id));
    EXPECT_FALSE(LayerPanel::moveLayersBefore(tree.scene, {tree.d.id}, tree.group.id)) << "it is there already";
    EXPECT_FALSE(LayerPanel::moveLayersBefore(tree.scene, {tree.a.id}, UUID::random()));
    EXPECT_FALSE(LayerPanel::moveLayersToEnd(tree.scene, {tree.a.id}));
}

TEST(LayerPanel, ArrowsMoveThroughTheRowsAndShiftExtends)
{
    const Tree tree;
    const auto rows = LayerPanel::flattenedLayers(tree.scene, {tree.group.id});
    LayerPanel::RangeSelection range;
    EXPECT_EQ(range.move(rows, 1, false), LayerIDs{tree.d.id});
    EXPECT_EQ(range.move(rows, 1, false), LayerIDs{tree.group.id});
    EXPECT_EQ(range.move(rows, 1, true), (LayerIDs{tree.group.id, tree.c.id}));
    EXPECT_EQ(range.move(rows, 1, true), (LayerIDs{tree.group.id, tree.c.id, tree.b.id}));
    EXPECT_EQ(range.move(rows, -1, true), (LayerIDs{tree.group.id, tree.c.id}));
    EXPECT_EQ(range.move(rows, -9, false), LayerIDs{tree.d.id}) << "held at the end";
}

TEST(LayerPanel, ClicksSelectAloneAddAndExtend)
{
    const Tree tree;
    const auto rows = LayerPanel::flattenedLayers(tree.scene, {});
    LayerPanel::RangeSelection range;
    LayerIDs selected = range.click(rows, tree.d.id, {}, {});
    EXPECT_EQ(selected, LayerIDs{tree.d.id});
    selected = range.click(rows, tree.a.id, selected, {.command = true});
    EXPECT_EQ(selected, (LayerIDs{tree.d.id, tree.a.id}));
    selected = range.click(rows, tree.a.id, selected, {.command = true});
    EXPECT_EQ(selected, LayerIDs{tree.d.id});
    selected = range.click(rows, tree.d.id, selected, {});
    EXPECT_EQ(range.click(rows, tree.a.id, selected, {.shift = true}), (LayerIDs{tree.d.id, tree.group.id, tree.a.id}));
}

TEST(LayerPanel, TheSidewaysArrowsOpenCloseAndGoToTheParent)
{
    const Tree tree;
    const auto opened = LayerPanel::handleHorizontal(tree.scene, {}, tree.group.id, true);
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->expandedGroups, LayerIDs{tree.group.id});
    EXPECT_FALSE(LayerPanel::handleHorizontal(tree.scene, {tree.group.id}, tree.group.id, true)) << "open already";
    EXPECT_TRUE(LayerPanel::handleHorizontal(tree.scene, {tree.group.id}, tree.group.id, false)->expandedGroups.empty());
    EXPECT_EQ(LayerPanel::handleHorizontal(tree.scene, {tree.group.id}, tree.b.id, false)->selects, tree.group.id);
    EXPECT_FALSE(LayerPanel::handleHorizontal(tree.scene, {}, tree.a.id, false)) << "nothing to close, and no parent";
}

TEST(LayerPalette, WhatIsDraggedOutOfItIsKnownByItsTag)
{
    std::vector<std::string_view> tags;
    for (const LayerPaletteCommands::Item& item : LayerPaletteCommands::items)
        if (!item.tag.empty()) tags.push_back(item.tag);
    EXPECT_THAT(tags, testing::ElementsAre("lks-palette:rectangle", "lks-palette:ellipse", "lks-palette:line", "lks-palette:text",
                                           "lks-palette:image", "lks-palette:video", "lks-palette:cursor", "lks-palette:hotspot",
                                           "lks-palette:zoom"));
}

TEST(LayerPalette, AddsALayerOfEachKindThatNeedsNoFile)
{
    const MemoryUserDefaults defaults;
    const TweenScene scene;
    for (const LayerPaletteCommands::Item& item : LayerPaletteCommands::items) {
        SCOPED_TRACE(item.title);
        const auto edit = LayerPaletteCommands::add(scene, item, std::nullopt, defaults);
        ASSERT_EQ(edit.has_value(), !item.needsFile);
        if (!edit) continue;
        ASSERT_EQ(edit->scene.layers.size(), scene.layers.size() + 1);
        EXPECT_EQ(edit->scene.layers.back().kind, item.kind);
    }
}

} // namespace
} // namespace larkspool
