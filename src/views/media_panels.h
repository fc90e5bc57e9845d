#pragma once

#include "shell/media_flow.h"

#include <QStringList>

#include <functional>
#include <string>

class QUrl;
class QWidget;

namespace larkspool {

/// What a person is asked about media with, over a window. The window may go meanwhile: then no file was chosen, and an alert was
/// left by Escape.

/// The toolkit's own panel for files, which opens in `folder`, or in the person's own place where that is empty.
RunOpenPanel openPanelOver(QWidget& window, std::function<std::string()> folder);

/// Alerts as sheets. They come back when a button is pressed, and the program goes on meanwhile.
RunAlert alertOver(QWidget& window);

/// What the panel lets a person see: the files of its types, or all.
QStringList nameFilters(const OpenPanel& panel);

/// The paths of the files among what was dropped, byte for byte. What lies on other machines has none.
std::vector<std::string> localPaths(const QList<QUrl>& dropped);

} // namespace larkspool
