#pragma once

#include <QString>
#include <QVariant>

namespace larkspool {

/// What the desktop's settings say, as its portal tells them; invalid where there is no portal or no such setting. The first call
/// waits for the desktop's answer, but not long; later ones have it at hand.
QVariant desktopSetting(const QString& group, const QString& key);

} // namespace larkspool
