#include "document/tween_document.h"

namespace larkspool {
namespace {

TEST(Layer, OutlineListsAGroupsChildrenLastToFirst)
{
    Layer group{.kind = Layer::Kind::group};
    group.children = {Layer{.name = "back"}, Layer{.name = "middle"}, Layer{.name = "front"}};

    const std::optional<Array<Layer>> outline = group.outlineChildren();
    ASSERT_TRUE(outline);
    ASSERT_EQ(outline->size(), 3u);
    EXPECT_EQ((*outline)[0].name, "front");
    EXPECT_EQ((*outline)[1].name, "middle");
    EXPECT_EQ((*outline)[2].name, "back");
}

TEST(Layer, OnlyGroupsHaveAnOutline)
{
    EXPECT_FALSE(Layer{}.outlineChildren());
}

} // namespace
} // namespace larkspool
