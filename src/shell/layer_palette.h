#pragma once

#include "editing/edit.h"
#include "platform/user_defaults.h"
#include "shell/commands.h"

#include <array>
#include <optional>
#include <string_view>

namespace larkspool {

/// The layers that the panel and its palette add, at the centre of what a person is looking at.
namespace LayerPaletteCommands {

struct Item {
    std::string_view tag;   ///< Of what is dragged out of the palette.
    std::string_view title;
    Layer::Kind kind;
    bool needsFile = false; ///< The layer comes from a file that a person chooses.
};

inline constexpr std::array items = {
    Item{"lks-palette:rectangle", "Rectangle", Layer::Kind::rectangle},
    Item{"lks-palette:ellipse", "Ellipse", Layer::Kind::ellipse},
    Item{"lks-palette:line", "Line", Layer::Kind::line},
    Item{"lks-palette:text", "Text", Layer::Kind::text},
    Item{"lks-palette:image", "Image", Layer::Kind::image, true},
    Item{"lks-palette:video", "Video", Layer::Kind::video, true},
    Item{"lks-palette:cursor", "Cursor", Layer::Kind::cursor},
    Item{"lks-palette:hotspot", "Hotspot", Layer::Kind::hotspot},
    Item{"lks-palette:zoom", "Zoom", Layer::Kind::zoom},
    Item{"", "Gradient Field", Layer::Kind::gradientField},
};

/// Adds a layer of the item. Nothing for one that needs a file.
std::optional<Edit> add(const TweenScene& scene, const Item& item, std::optional<CGPoint> viewportCenter, const UserDefaults& defaults);

} // namespace LayerPaletteCommands

} // namespace larkspool
