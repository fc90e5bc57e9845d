#include "views/color_scheme.h"

#include "views/desktop_settings.h"

namespace larkspool {

Theme::Scheme preferredColorScheme()
{
    constexpr uint prefersLight = 2;
    const QByteArray chosen = qgetenv("LARKSPOOL_COLOR_SCHEME");
    if (chosen == "light") return Theme::Scheme::light;
    if (chosen == "dark") return Theme::Scheme::dark;
    const bool isLight = desktopSetting("org.freedesktop.appearance", "color-scheme").toUInt() == prefersLight;
    return isLight ? Theme::Scheme::light : Theme::Scheme::dark;
}

} // namespace larkspool
