#include "evaluation/viewports.h"

#include <algorithm>

namespace larkspool {

namespace {

bool isPictureInPicture(const Layer& layer)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::pictureInPicture;
}

} // namespace

Array<Layer> filteredLayers(const Array<Layer>& layers)
{
    Array<Layer> kept;
    for (const Layer& layer : layers) {
        if (isPictureInPicture(layer)) continue;
        Layer copy = layer;
        copy.children = filteredLayers(layer.children);
        kept.append(std::move(copy));
    }
    return kept;
}

const Layer* findPIPParentZoom(const UUID& child, const Array<Layer>& layers)
{
    for (const Layer& layer : layers) {
        const auto isChild = [&](const Layer& each) { return each.id == child; };
        if (isPictureInPicture(layer) && std::ranges::any_of(layer.children, isChild)) return &layer;
    }
    return nullptr;
}

} // namespace larkspool
