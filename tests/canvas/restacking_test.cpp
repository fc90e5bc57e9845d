#include "canvas/restacking.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TweenScene stack()
{
    return sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b'), layerNamed('c'), layerNamed('d')}), layerNamed('e')});
}

TEST(Restacking, MovesOneLayerAmongItsSiblings)
{
    using Operation = std::optional<Edit> (*)(const TweenScene&, const LayerIDs&);
    struct Case {
        const char* what;
        Operation operation;
        const char* selection;
        const char* tree;
        const char* action;
    };
    for (const Case& c : {Case{"to the front", bringToFront, "a", "g(b c d) e a", "Bring to Front"},
                          Case{"to the front, in front already", bringToFront, "e", "nothing", ""},
                          Case{"to the front, nested", bringToFront, "b", "nothing", ""},
                          Case{"to the back", sendToBack, "e", "e a g(b c d)", "Send to Back"},
                          Case{"to the back, at the back already", sendToBack, "a", "nothing", ""},
                          Case{"to the back, nested", sendToBack, "d", "nothing", ""},
                          Case{"forward", bringForward, "a", "g(b c d) a e", "Bring Forward"},
                          Case{"forward, nested", bringForward, "c", "a g(b d c) e", "Bring Forward"},
                          Case{"forward, the frontmost child", bringForward, "d", "nothing", ""},
                          Case{"forward, in front already", bringForward, "e", "nothing", ""},
                          Case{"backward", sendBackward, "g", "g(b c d) a e", "Send Backward"},
                          Case{"backward, nested", sendBackward, "c", "a g(c b d) e", "Send Backward"},
                          Case{"backward, at the back already", sendBackward, "a", "nothing", ""},
                          Case{"backward, the backmost child", sendBackward, "b", "nothing", ""},
                          Case{"to the front, nothing selected", bringToFront, "", "nothing", ""},
                          Case{"to the back, nothing selected", sendToBack, "", "nothing", ""},
                          Case{"forward, nothing selected", bringForward, "", "nothing", ""},
                          Case{"backward, nothing selected", sendBackward, "", "nothing", ""},
                          Case{"of several, the first is nested", sendToBack, "be", "nothing", ""},
                          Case{"of several, the first of the tree", bringToFront, "ag", "g(b c d) e a", "Bring to Front"},
                          Case{"of none of the scene", sendToBack, "z", "nothing", ""}}) {
        SCOPED_TRACE(c.what);
        const auto edit = c.operation(stack(), idsNamed(c.selection));
        EXPECT_EQ(treeOf(edit), c.tree);
        EXPECT_EQ(edit ? edit->actionName : "", c.action);
    }
}

TEST(Restacking, WhatCanBeDoneFollowsThePlaceAmongTheSiblings)
{
    struct Case {
        char layer;
        ZOrderAvailability can;
    };
    for (const Case& c : {Case{'a', {true, true, false, false}}, Case{'g', {true, true, true, true}},
                          Case{'e', {false, false, true, true}}, Case{'b', {true, false, false, false}},
                          Case{'c', {true, false, true, false}}, Case{'d', {false, false, true, false}}}) {
        SCOPED_TRACE(c.layer);
        EXPECT_EQ(zOrderAvailability(idNamed(c.layer), stack()), c.can);
    }
    EXPECT_EQ(zOrderAvailability(std::nullopt, stack()), ZOrderAvailability{});
    EXPECT_EQ(zOrderAvailability(idNamed('z'), stack()), ZOrderAvailability{});
    EXPECT_EQ(zOrderAvailability(idNamed('a'), sceneHolding({layerNamed('a')})), ZOrderAvailability{});
}

TEST(Restacking, ALayerWithoutASiblingThereStaysAndIsFound)
{
    Array<Layer> layers = stack().layers;
    const Array<Layer> before = layers;
    EXPECT_TRUE(swapInTree(layers, idNamed('d'), 1));
    EXPECT_TRUE(layers.sharesStorageWith(before));
    EXPECT_FALSE(swapInTree(layers, idNamed('z'), 1));
}

} // namespace
} // namespace larkspool
