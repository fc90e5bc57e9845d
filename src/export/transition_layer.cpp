#include "export/transition_layer.h"

#include <cmath>

namespace larkspool::ExporterGPU {

namespace {

/// How much the leaving scene grows, and the entering one has yet to grow, in a zoom. It is twice the reference exporter's.
constexpr double zoomGrowth = 0.3;

/// Identities apart from those within a scene's tree.
enum Identity : std::uint64_t { leaving = 1, underSeam, entering };

/// A scene's tree as one picture, so that it fades as a whole and nothing of it shows outside.
CompositingNode asPicture(const CompositingNode& layer, Identity identity)
{
    CompositingNode picture = layer;
    picture.identity = identity;
    picture.compositing = CompositingNode::Compositing::group;
    return picture;
}

void scaleAroundCentre(CompositingNode& node, double scale)
{
    const double x = node.size.width * 0.5, y = node.size.height * 0.5;
    node.transform = AffineTransform().translatedBy(x, y).scaledBy(scale, scale).translatedBy(-x, -y);
}

CompositingNode movedBy(CompositingNode node, double x)
{
    node.transform = AffineTransform().translatedBy(x, 0);
    return node;
}

} // namespace

CompositingNode transitionLayer(SceneTransition::Kind kind, double progress, const CompositingNode& outLayer,
                                const CompositingNode& inLayer)
{
    CompositingNode root{.size = outLayer.size, .background = {0, 0, 0, 1}};
    CompositingNode out = asPicture(outLayer, leaving), in = asPicture(inLayer, entering);
    const double width = root.size.width;
    switch (kind) {
    case SceneTransition::Kind::zoom:
        scaleAroundCentre(out, 1 + progress * zoomGrowth);
        scaleAroundCentre(in, 1 - zoomGrowth + progress * zoomGrowth);
        [[fallthrough]];
    case SceneTransition::Kind::fade:
        out.opacity = 1 - progress;
        in.opacity = progress;
        root.children = {std::move(out), std::move(in)};
        break;
    case SceneTransition::Kind::slideL:
    case SceneTransition::Kind::push: {
        // Between whole pixels both scenes cover the column of the seam in part, over black. The entering scene lies under itself
        // at a whole pixel, so that no dark line shows.
        const double entry = (1 - progress) * width;
        CompositingNode under = movedBy(asPicture(inLayer, underSeam), std::floor(entry));
        root.children = {movedBy(std::move(out), -(progress * width)), std::move(under), movedBy(std::move(in), entry)};
        break;
    }
    case SceneTransition::Kind::slideR: {
        const double entry = -((1 - progress) * width);
        CompositingNode under = movedBy(asPicture(inLayer, underSeam), std::ceil(entry));
        root.children = {movedBy(std::move(out), progress * width), std::move(under), movedBy(std::move(in), entry)};
        break;
    }
    }
    return root;
}

} // namespace larkspool::ExporterGPU
