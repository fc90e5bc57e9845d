#pragma once

#include <pango/pango.h>

#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// What to ask Pango for.
struct FontWish {
    std::string family;
    PangoWeight weight = PANGO_WEIGHT_NORMAL;
    PangoStyle style = PANGO_STYLE_NORMAL;
    PangoStretch stretch = PANGO_STRETCH_NORMAL;

    bool operator==(const FontWish&) const = default;
};

/// The font that a name stands for, of those that were installed when the first was asked for.
std::optional<FontWish> findFont(std::string_view name);

/// The font for a name, or the system font, Inter.
FontWish fontOrSystemFont(std::string_view name);

} // namespace larkspool
