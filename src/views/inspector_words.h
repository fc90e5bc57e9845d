#pragma once

#include "document/color.h"
#include "views/icons.h"

#include <QColor>
#include <QString>

#include <algorithm>
#include <string_view>

namespace larkspool {

inline QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// What stands for a font of that name.
inline QString fontWords(std::string_view name)
{
    return name.empty() ? QString("System Font") : words(name);
}

/// A colour as it can be seen: channels outside 0...1 are held within.
inline QColor asQColor(const ColorRGBA& color)
{
    const auto channel = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    return QColor::fromRgbF(channel(color.r), channel(color.g), channel(color.b), channel(color.a));
}

inline ColorRGBA asColor(const QColor& color)
{
    // In 255ths, so that what was typed in digits comes back as the same digits.
    const QColor rgb = color.toRgb();
    return {rgb.red() / 255.0, rgb.green() / 255.0, rgb.blue() / 255.0, rgb.alpha() / 255.0};
}

} // namespace larkspool
