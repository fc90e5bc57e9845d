#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

namespace larkspool {

/// An icon of resources/icons, named without its ending, in one colour, `size` device-independent pixels square for a screen with
/// `pixelRatio` pixels to each. Drawn once for each of these. A name that there is none of gives an empty picture.
QPixmap iconPixmap(const QString& name, int size, const QColor& color, double pixelRatio);

/// What the button of an icon is filled with.
enum class IconGround { plain, accent };

/// The icon of a button: as it is at rest, under the pointer, switched on and disabled, and chosen in a menu.
QIcon buttonIcon(const QString& name, int size = 16, IconGround ground = IconGround::plain);

} // namespace larkspool
