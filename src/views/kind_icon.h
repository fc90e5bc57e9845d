#pragma once

#include "document/layer.h"

#include <QString>

namespace larkspool {

/// The name of the icon of a kind of layer.
inline QString kindIcon(Layer::Kind kind)
{
    switch (kind) {
    case Layer::Kind::rectangle: return "rectangle";
    case Layer::Kind::ellipse: return "ellipse";
    case Layer::Kind::path: return "path";
    case Layer::Kind::text: return "text";
    case Layer::Kind::image: return "image";
    case Layer::Kind::group: return "group";
    case Layer::Kind::cursor: return "cursor";
    case Layer::Kind::line: return "line";
    case Layer::Kind::gradientField: return "gradient-field";
    case Layer::Kind::hotspot: return "hotspot";
    case Layer::Kind::video: return "video";
    case Layer::Kind::zoom: return "zoom";
    }
    return {};
}

} // namespace larkspool
