#include "rendering/retained/scene_layer.h"

#include "rendering/rendering_fixture.h"

#include <gtest/gtest.h>

#include <variant>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

/// The nodes of a scene's layers.
std::vector<CompositingNode> nodesOf(const TweenScene& scene, double time = 0)
{
    const CompositingNode root =
        ExporterGPU::buildSceneLayer(scene, time, static_cast<int>(scene.width), static_cast<int>(scene.height));
    return root.children.back().children;
}

Layer solid(CGRect place)
{
    return {.transform = {.x = place.origin.x, .y = place.origin.y}, .fill = red, .size = place.size};
}

TEST(SceneLayer, TheRootIsAsLargeAsTheRasterAndHasTheScenesBackground)
{
    const CompositingNode root = ExporterGPU::buildSceneLayer(sceneWith({40, 20}, {}, blue), 0, 80, 40);
    EXPECT_EQ(root.size, (CGSize{80, 40}));
    EXPECT_EQ(root.background, (RasterColor{0, 0, 1, 1}));
    ASSERT_EQ(root.children.size(), 1u);
    EXPECT_EQ(root.children[0].transform, (AffineTransform{2, 0, 0, 2, 0, 0})); // Scene points to pixels.
}

TEST(SceneLayer, BetweenBarsTheBackgroundHasANodeOfItsOwn)
{
    const CompositingNode root = ExporterGPU::buildSceneLayer(sceneWith({40, 20}, {}, blue), 0, 40, 40);
    EXPECT_EQ(root.background, (RasterColor{0, 0, 0, 1}));
    ASSERT_EQ(root.children.size(), 2u);
    EXPECT_EQ(root.children[0].size, (CGSize{40, 20}));
    EXPECT_EQ(root.children[0].transform.ty, 10);
    EXPECT_EQ(root.children[0].background, (RasterColor{0, 0, 1, 1}));
}

TEST(SceneLayer, RectanglesAndEllipsesAreProperties)
{
    Layer card = solid({{3, 4}, {20, 10}});
    card.cornerRadius = 4;
    card.strokeWidth = 2;
    card.opacity = 0.5;
    Layer disc = solid({{0, 0}, {8, 8}});
    disc.kind = Kind::ellipse;
    const std::vector<CompositingNode> nodes = nodesOf(sceneWith({100, 100}, {card, disc}));
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0].size, (CGSize{20, 10}));
    EXPECT_EQ(nodes[0].transform, (AffineTransform{1, 0, 0, 1, 3, 4}));
    EXPECT_EQ(nodes[0].cornerRadius, 4);
    EXPECT_EQ(nodes[0].border.width, 2);
    EXPECT_EQ(nodes[0].opacity, 0.5);
    EXPECT_EQ(nodes[0].background, (RasterColor{1, 0, 0, 1}));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(nodes[0].contents));
    EXPECT_EQ(nodes[1].shape, CompositingNode::Shape::ellipse);
}

TEST(SceneLayer, HiddenLayersAndThoseOutsideTheirSpansHaveNoNode)
{
    Layer hidden = solid({{0, 0}, {5, 5}}), later = hidden;
    hidden.isHidden = true;
    later.spans = {{.start = 2, .end = 3}};
    const TweenScene scene = sceneWith({100, 100}, {hidden, later});
    EXPECT_EQ(nodesOf(scene, 1).size(), 0u);
    EXPECT_EQ(nodesOf(scene, 2.5).size(), 1u);
    EXPECT_EQ(nodesOf(scene, 50).size(), 0u); // Beyond the scene's end, what has ended is over.
}

TEST(SceneLayer, BeyondItsEndTheSceneHolds)
{
    Layer moving = solid({{0, 0}, {5, 5}});
    moving.keyframes = {{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0},
                        {.property = Keyframe::AnimatableProperty::x, .time = 1, .value = 40.0}};
    const TweenScene scene = sceneWith({100, 100}, {moving});
    EXPECT_EQ(nodesOf(scene, scene.duration + 7)[0].transform.tx, 40);
}

TEST(SceneLayer, OnlyGroupsAndZoomsHandTheirOpacityDown)
{
    Layer child = solid({{0, 0}, {5, 5}}), parent = solid({{0, 0}, {20, 20}});
    child.opacity = 0.5;
    parent.opacity = 0.5;
    parent.children = {child};
    for (const auto& [kind, opacity] :
         {std::pair{Kind::rectangle, 0.5}, std::pair{Kind::group, 0.25}, std::pair{Kind::zoom, 0.25}}) {
        parent.kind = kind;
        const std::vector<CompositingNode> nodes = nodesOf(sceneWith({100, 100}, {parent}));
        ASSERT_EQ(nodes[0].children.size(), 1u);
        EXPECT_EQ(nodes[0].children[0].opacity, opacity);
    }
}

TEST(SceneLayer, ALayerWithAShadowThatGlowsIsThereTwice)
{
    Layer layer = solid({{10, 10}, {20, 20}});
    layer.pulses = {{.time = 0, .effects = {PulseEffect::glow}}};
    const double glowing = 0.2;
    const std::vector<CompositingNode> alone = nodesOf(sceneWith({100, 100}, {layer}), glowing);
    ASSERT_EQ(alone.size(), 1u);
    EXPECT_EQ(alone[0].shadow->caster, NodeShadow::Caster::eachPaint);
    EXPECT_EQ(alone[0].shadow->shadow.offset, CGSize{});

    layer.shadow = ShadowPreset::low;
    const std::vector<CompositingNode> twice = nodesOf(sceneWith({100, 100}, {layer}), glowing);
    ASSERT_EQ(twice.size(), 2u);
    EXPECT_EQ(twice[0].shadow->caster, NodeShadow::Caster::body);
    EXPECT_EQ(twice[0].shadow->shadow.blur, 8);
    EXPECT_EQ(twice[0].shadow->shadow.offset, (CGSize{0, 4}));
    EXPECT_EQ(twice[1].shadow->caster, NodeShadow::Caster::eachPaint);
    EXPECT_NE(twice[0].identity, twice[1].identity);
}

TEST(SceneLayer, RingsLieBehindTheirLayer)
{
    Layer layer = solid({{10, 10}, {20, 20}});
    layer.pulses = {{.time = 0, .effects = {PulseEffect::radiate}}};
    // Half a second on, all three rings are out: 0.18 seconds apart, 220 points a second.
    const std::vector<CompositingNode> nodes = nodesOf(sceneWith({100, 100}, {layer}), 0.5);
    ASSERT_EQ(nodes.size(), 4u);
    for (int i = 0; i < 3; ++i) {
        const CompositingNode& ring = nodes[static_cast<std::size_t>(i)];
        const double age = 0.5 - 0.18 * i;
        EXPECT_EQ(ring.shape, CompositingNode::Shape::ellipse);
        EXPECT_NEAR(ring.size.width, 2 * 220 * age + ring.border.width, 1e-9); // The line lies half outside the radius.
        EXPECT_NEAR(ring.transform.tx + ring.size.width / 2, 20, 1e-9);
        EXPECT_NEAR(ring.border.color.a, (1 - age) * 0.7, 1e-9);
    }
    EXPECT_EQ(nodes[3].background, (RasterColor{1, 0, 0, 1}));
}

TEST(SceneLayer, TheZoomMovesTheContentAndLeavesTheBackground)
{
    Layer zoom{.kind = Kind::zoom, .transform = {.x = 20, .y = 10}, .size = {50, 50}, .spans = {{.start = 0, .end = 4}}};
    const TweenScene scene = sceneWith({100, 100}, {solid({{20, 10}, {5, 5}}), zoom});
    const CompositingNode root = ExporterGPU::buildSceneLayer(scene, 2, 100, 100);
    EXPECT_EQ(root.background, (RasterColor{1, 1, 1, 1}));
    const AffineTransform& content = root.children.back().transform;
    EXPECT_EQ(content.apply(CGPoint{20, 10}), (CGPoint{0, 0}));
    EXPECT_EQ(content.apply(CGPoint{70, 60}), (CGPoint{100, 100}));
}

TEST(SceneLayer, TextIsPaintedWhereItStands)
{
    Layer text = solid({{3, 4}, {80, 30}});
    text.kind = Kind::text;
    text.text = "Words";
    text.fill = ColorRGBA::clear;
    const std::vector<CompositingNode> bare = nodesOf(sceneWith({100, 100}, {text}));
    EXPECT_TRUE(std::holds_alternative<std::shared_ptr<const TextContents>>(bare[0].contents));

    text.fill = green; // A box has its text above it.
    const std::vector<CompositingNode> boxed = nodesOf(sceneWith({100, 100}, {text}));
    EXPECT_EQ(boxed[0].background, (RasterColor{0, 1, 0, 1}));
    ASSERT_EQ(boxed[0].children.size(), 1u);
    EXPECT_TRUE(std::holds_alternative<std::shared_ptr<const TextContents>>(boxed[0].children[0].contents));

    struct Case {
        const char* what;
        const char* words;
        double fontSize;
        ShadowPreset shadow;
    };
    for (const Case& c :
         {Case{"a shadow", "Words", 20, ShadowPreset::low}, Case{"glyphs with colours", "A \U0001F600", 20, ShadowPreset::none},
          Case{"huge glyphs", "Words", 400, ShadowPreset::none}}) {
        SCOPED_TRACE(c.what);
        text.text = c.words;
        text.fontSize = c.fontSize;
        text.shadow = c.shadow;
        EXPECT_TRUE(
            std::holds_alternative<std::shared_ptr<const NodeDrawing>>(nodesOf(sceneWith({100, 100}, {text}))[0].contents));
    }
}

TEST(SceneLayer, EqualFramesHaveEqualTrees)
{
    Layer layer = solid({{10, 10}, {20, 20}});
    layer.pulses = {{.time = 0, .effects = {PulseEffect::radiate}}};
    const TweenScene scene = sceneWith({100, 100}, {layer});
    EXPECT_EQ(nodesOf(scene, 0.5), nodesOf(scene, 0.5));
    EXPECT_NE(nodesOf(scene, 0.5), nodesOf(scene, 0.6));
}

} // namespace
} // namespace larkspool
