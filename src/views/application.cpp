#include "views/application.h"

#include "views/editor_window.h"
#include "views/style.h"
#include "views/system_pasteboard.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>

namespace larkspool {

namespace {

const char* const fileFilter = "Larkspool documents (*.larkspool)";

/// The program while its windows are open.
class Application {
public:
    Application()
    {
        workspace_.performForApplication = [this](Command command) { perform(command); };
        workspace_.openDocument = [this](const std::string& path) { open(QString::fromStdString(path)); };
    }

    void open(const QString& path)
    {
        try {
            show(DocumentFile::open(path.toStdString()));
            workspace_.recents.note(path.toStdString());
        } catch (const std::exception& error) {
            QMessageBox::critical(nullptr, "Larkspool", QString("“%1” could not be opened.\n\n%2").arg(path, error.what()));
        }
    }

    void openNew() { show(DocumentFile(newDocument(defaults_))); }

private:
    void show(DocumentFile file)
    {
        auto* window = new EditorWindow(std::move(file), workspace_);
        window->show();
    }

    void perform(Command command)
    {
        switch (command) {
        case Command::newDocument: return openNew();
        case Command::openDocument:
            for (const QString& path : QFileDialog::getOpenFileNames(nullptr, "Open", {}, fileFilter)) open(path);
            return;
        case Command::quit: return QApplication::closeAllWindows();
        default: return;
        }
    }

    FileUserDefaults defaults_;
    SystemPasteboard pasteboard_;
    Workspace workspace_{.defaults = defaults_, .pasteboard = pasteboard_};
};

} // namespace

int runEditor(int& count, char** arguments)
{
    QApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication toolkit(count, arguments);
    QApplication::setApplicationName("Larkspool");
    QApplication::setDesktopFileName("larkspool");
    applyLook();

    Application application;
    for (const QString& path : QApplication::arguments().sliced(1)) application.open(path);
    if (QApplication::topLevelWidgets().isEmpty()) application.openNew();
    return QApplication::exec();
}

} // namespace larkspool
