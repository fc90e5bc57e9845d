#pragma once

#include "document/layer.h"

#include <QString>

#include <string_view>

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

/// The kind in words.
inline QString kindName(Layer::Kind kind)
{
    if (kind == Layer::Kind::gradientField) return "gradient field";
    const std::string_view name = fileValue(kind);
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

} // namespace larkspool
