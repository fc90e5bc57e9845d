#include "views/color_scheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include <optional>

namespace larkspool {

namespace {

constexpr int patience = 200; ///< Milliseconds.
constexpr uint prefersLight = 2;

/// What the desktop portal answers; nothing without one. Its answer is a number in a variant, in older portals in two.
std::optional<uint> desktopPreference()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return std::nullopt;
    QDBusMessage question = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                                           "org.freedesktop.portal.Settings", "Read");
    question << "org.freedesktop.appearance" << "color-scheme";
    const QDBusMessage answer = bus.call(question, QDBus::Block, patience);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) return std::nullopt;
    QVariant value = answer.arguments().front();
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    bool isNumber = false;
    const uint number = value.toUInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

} // namespace

Theme::Scheme preferredColorScheme()
{
    const QByteArray chosen = qgetenv("LARKSPOOL_COLOR_SCHEME");
    if (chosen == "light") return Theme::Scheme::light;
    if (chosen == "dark") return Theme::Scheme::dark;
    return desktopPreference() == prefersLight ? Theme::Scheme::light : Theme::Scheme::dark;
}

} // namespace larkspool
