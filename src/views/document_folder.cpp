#include "views/document_folder.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace larkspool {

QString folderOfDocument(const std::string& path)
{
    const QFileInfo file(QString::fromStdString(path));
    if (!path.empty() && QFileInfo(file.absolutePath()).isDir()) return file.absolutePath();
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QFileInfo(documents).isDir() ? documents : QDir::homePath();
}

} // namespace larkspool
