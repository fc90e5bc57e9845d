#include "views/application.h"

#include "views/editor_window.h"
#include "views/preferences_window.h"
#include "views/style.h"
#include "views/system_pasteboard.h"
#include "views/welcome_window.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>

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

    /// Tells whether there is a window of it now.
    bool open(const QString& path)
    {
        try {
            show(DocumentFile::open(path.toStdString()));
            workspace_.recents.note(path.toStdString());
            return true;
        } catch (const std::exception& error) {
            QMessageBox::critical(nullptr, "Larkspool", QString("“%1” could not be opened.\n\n%2").arg(path, error.what()));
            return false;
        }
    }

    void openNew() { show(DocumentFile(newDocument(defaults_))); }

    /// The window of a launch without documents.
    void openFirst()
    {
        if (launchWindow(defaults_) == LaunchWindow::welcome)
            showWelcome();
        else
            openNew();
    }

private:
    void show(DocumentFile file)
    {
        auto* window = new EditorWindow(std::move(file), workspace_);
        window->show();
    }

    void showWelcome()
    {
        if (!welcome_)
            welcome_ = new WelcomeWindow({.defaults = defaults_,
                                          .recents = workspace_.recents,
                                          .tasks = workspace_.background.tasks(),
                                          .openUntitledDocument = [this] { openNew(); },
                                          .openDocument =
                                              [this](const std::string& path) { return open(QString::fromStdString(path)); },
                                          .askForDocument = [this] {
                                              return QFileDialog::getOpenFileName(welcome_, "Open", {}, fileFilter);
                                          }});
        present(*welcome_);
    }

    void showSettings()
    {
        if (!settings_) settings_ = new PreferencesWindow(defaults_);
        present(*settings_);
    }

    static void present(QWidget& window)
    {
        window.show();
        window.raise();
        window.activateWindow();
    }

    void perform(Command command)
    {
        switch (command) {
        case Command::showWelcome: return showWelcome();
        case Command::showSettings: return showSettings();
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
    QPointer<WelcomeWindow> welcome_;
    QPointer<PreferencesWindow> settings_;
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
    if (QApplication::topLevelWidgets().isEmpty()) application.openFirst();
    return QApplication::exec();
}

} // namespace larkspool
