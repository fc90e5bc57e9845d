#include "views/application.h"

#include "shell/secret_defaults.h"
#include "views/desktop_secrets.h"
#include "views/color_scheme.h"
#include "views/editor_window.h"
#include "views/preferences_window.h"
#include "views/style.h"
#include "views/system_pasteboard.h"
#include "views/welcome_window.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>

#include <filesystem>
#include <memory>

namespace larkspool {

namespace {

const char* const fileFilter = "Larkspool documents (*.larkspool)";

/// Beside the settings. Empty where those are kept nowhere.
std::string windowStatePath()
{
    const std::string settings = FileUserDefaults::userDefaultsPath();
    return settings.empty() ? std::string() : (std::filesystem::path(settings).parent_path() / "windows.ini").string();
}

/// The program while its windows are open.
class Application {
public:
    Application()
    {
        workspace_.performForApplication = [this](Command command) { perform(command); };
        workspace_.openDocument = [this](const std::string& path) { openSoon(path); };
    }

    /// Tells whether there is a window of it now.
    bool open(const QString& path)
    {
        try {
            show(DocumentFile::open(path.toStdString()));
            workspace_.recents.note(path.toStdString());
            return true;
        } catch (const std::exception& error) {
            tellFailure(path, error.what());
            return false;
        }
    }

    /// Reads the document beside the windows that are open, which stay alive meanwhile.
    void openSoon(const std::string& path)
    {
        const Tasks tasks = workspace_.background.tasks();
        tasks.detach([this, tasks, path] {
            std::shared_ptr<DocumentFile> file;
            QString failure;
            try {
                file = std::make_shared<DocumentFile>(DocumentFile::open(path));
            } catch (const std::exception& error) {
                failure = error.what();
            }
            tasks.onMain([this, path, file, failure] {
                if (!file) return tellFailure(QString::fromStdString(path), failure);
                show(std::move(*file));
                workspace_.recents.note(path);
            });
        });
    }

    /// Waits a little for the desktop to take the last secret in.
    void settle() const
    {
        const QDeadlineTimer deadline(std::chrono::seconds(2));
        while (!defaults_.isSettled() && !deadline.hasExpired()) QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
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
    static void tellFailure(const QString& path, const QString& why)
    {
        QMessageBox::critical(nullptr, "Larkspool", QString("“%1” could not be opened.\n\n%2").arg(path, why));
    }

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
            for (const QString& path : QFileDialog::getOpenFileNames(nullptr, "Open", {}, fileFilter)) openSoon(path.toStdString());
            return;
        case Command::quit: return QApplication::closeAllWindows();
        default: return;
        }
    }

    FileUserDefaults settingsFile_;
    DesktopSecrets secrets_;
    SecretDefaults defaults_{settingsFile_, secrets_, DefaultsKey::assistantAPIKey};
    SystemPasteboard pasteboard_;
    Workspace workspace_{.defaults = defaults_, .pasteboard = pasteboard_, .windowStatePath = windowStatePath()};
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
    chooseTheme(preferredColorScheme());
    applyLook();

    Application application;
    for (const QString& path : QApplication::arguments().sliced(1)) application.open(path);
    if (QApplication::topLevelWidgets().isEmpty()) application.openFirst();
    const int status = QApplication::exec();
    application.settle();
    return status;
}

} // namespace larkspool
