#include "views/desktop_settings.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMap>

namespace larkspool {

namespace {

constexpr int patience = 200; ///< Milliseconds.

using Groups = QMap<QString, QVariantMap>;

/// All that this program asks for comes with one answer, so that a desktop that gives none is waited for once.
Groups askDesktop()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return {};
    QDBusMessage question = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                                           "org.freedesktop.portal.Settings", "ReadAll");
    question << QStringList{"org.freedesktop.appearance", "org.gnome.desktop.interface", "org.kde.kdeglobals.KDE"};
    const QDBusMessage answer = bus.call(question, QDBus::Block, patience);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != "a{sa{sv}}") return {};
    return qdbus_cast<Groups>(answer.arguments().front());
}

} // namespace

QVariant desktopSetting(const QString& group, const QString& key)
{
    static const Groups groups = askDesktop();
    QVariant value = groups.value(group).value(key);
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant(); // Some desktops wrap it twice.
    return value;
}

} // namespace larkspool
