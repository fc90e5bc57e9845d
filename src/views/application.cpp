#include "views/application.h"

#include "shell/secret_defaults.h"
#include "views/color_scheme.h"
#include "views/desktop_secrets.h"
#include "views/document_folder.h"
#include "views/editor_window.h"
#include "views/main_loop_watchdog.h"
#include "views/motion.h"
#include "views/preferences_window.h"
#include "views/style.h"
#include "views/system_pasteboard.h"
#include "views/welcome_window.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFileDialog>
#include <QMessageBox>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace larkspool {

namespace {

/// Beside the settings. Empty where those are kept nowhere.
std::string windowStatePath()
{
    const std::string settings = FileUserDefaults::userDefaultsPath();
    return settings.empty() ? std::string() : (std::filesystem::path(settings).parent_path() / "windows.ini").string();
}

void tellFailure(const std::string& path, const std::string& why)
{
    QMessageBox::critical(
        nullptr, "Larkspool",
        QString("“%1” could not be opened.\n\n%2").arg(QString::fromStdString(path), QString::fromStdString(why)));
}

void present(QWidget& window)
{
    window.show();
    window.raise();
    window.activateWindow();
}

/// Waits a little for the desktop to take the last secret in.
void settle(const SecretDefaults& defaults)
{
    const QDeadlineTimer deadline(std::chrono::seconds(2));
    while (!defaults.isSettled() && !deadline.hasExpired()) QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
}

} // namespace

Application::Application(Services services)
    : workspace_{.defaults = services.defaults,
                 .pasteboard = services.pasteboard,
                 .recents = RecentDocuments(services.recentDocumentsPath),
                 .windowStatePath = services.windowStatePath},
      opener_({.tasks = workspace_.background.tasks(),
               .recents = workspace_.recents,
               .showAgain = [this](const std::string& path) { return showAgain(path); },
               .show = [this](DocumentFile file) { show(std::move(file)); },
               .tellFailure = services.tellFailure ? services.tellFailure : tellFailure})
{
    workspace_.performForApplication = [this](Command command) { perform(command); };
    workspace_.openDocument = [this](const std::string& path) { opener_.open(path); };
}

Application::~Application()
{
    for (const QPointer<EditorWindow>& editor : editors_) delete editor;
    delete welcome_;
    delete settings_;
}

std::vector<EditorWindow*> Application::editorWindows() const
{
    std::vector<EditorWindow*> open;
    for (const QPointer<EditorWindow>& editor : editors_)
        if (editor && editor->isVisible()) open.push_back(editor);
    return open;
}

WelcomeWindow* Application::welcomeWindow() const
{
    return welcome_;
}

void Application::launch(const std::vector<std::string>& paths)
{
    launchFrom(paths, /*next=*/0, /*isAnyOpen=*/false);
}

/// In their order, so that the last one lies in front.
void Application::launchFrom(const std::vector<std::string>& paths, std::size_t next, bool isAnyOpen)
{
    if (next < paths.size())
        return opener_.open(paths[next],
                            [this, paths, next, isAnyOpen](bool isOpen) { launchFrom(paths, next + 1, isAnyOpen || isOpen); });
    if (!isAnyOpen) greet();
}

void Application::greet()
{
    if (launchWindow(workspace_.defaults) == LaunchWindow::welcome)
        showWelcome();
    else
        openNew();
}

void Application::perform(Command command)
{
    switch (command) {
    case Command::showWelcome: return showWelcome();
    case Command::showSettings: return showSettings();
    case Command::newDocument: return openNew();
    case Command::openDocument:
        for (const QString& path : QFileDialog::getOpenFileNames(nullptr, "Open", folderToOpenFrom(), documentFilter))
            opener_.open(path.toStdString());
        return;
    case Command::quit: return quit();
    default: return;
    }
}

void Application::openNew()
{
    show(DocumentFile(newDocument(workspace_.defaults)));
}

void Application::show(DocumentFile file)
{
    std::erase(editors_, nullptr);
    editors_.push_back(new EditorWindow(std::move(file), workspace_));
    present(*editors_.back());
}

/// Brings the window of the document to the front, by whatever name its file is asked for, also while it is saved there for the
/// first time. Whether there is one.
bool Application::showAgain(const std::string& path) const
{
    for (EditorWindow* editor : editorWindows()) {
        std::error_code unknown;
        if (!std::filesystem::equivalent(workspace_.saver.pathToBe(editor->file()), path, unknown)) continue;
        if (editor->isMinimized()) editor->showNormal();
        present(*editor);
        return true;
    }
    return false;
}

void Application::showWelcome()
{
    if (!welcome_)
        welcome_ = new WelcomeWindow(
            {.defaults = workspace_.defaults,
             .recents = workspace_.recents,
             .tasks = workspace_.background.tasks(),
             .openUntitledDocument = [this] { openNew(); },
             .openDocument = [this](const std::string& path,
                                    std::function<void(bool)> ended) { opener_.open(path, std::move(ended)); },
             .askForDocument =
                 [this] { return QFileDialog::getOpenFileName(welcome_, "Open", folderToOpenFrom(), documentFilter); }});
    present(*welcome_);
}

void Application::showSettings()
{
    if (!settings_) settings_ = new PreferencesWindow(workspace_.defaults);
    present(*settings_);
}

/// Unless a window stays, for it has changes that a person wants to keep. One that is being saved is waited for.
void Application::quit()
{
    for (EditorWindow* editor : editorWindows())
        if (!editor->closeThen([this] { quit(); })) return;
    QApplication::closeAllWindows();
    const QList<QWidget*> windows = QApplication::topLevelWidgets();
    if (std::ranges::none_of(windows, [](const QWidget* window) { return window->isVisible(); })) QApplication::quit();
}

QString Application::folderToOpenFrom() const
{
    const std::vector<std::string>& recents = workspace_.recents.paths();
    return folderOfDocument(recents.empty() ? std::string() : recents.front());
}

int runEditor(int& count, char** arguments)
{
    QApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    WatchedApplication toolkit(count, arguments);
    QApplication::setApplicationName("Larkspool");
    QApplication::setDesktopFileName("larkspool");
    chooseTheme(preferredColorScheme());
    chooseMotion(preferredMotion());
    applyLook();

    FileUserDefaults settingsFile;
    DesktopSecrets secrets;
    SecretDefaults defaults(settingsFile, secrets, DefaultsKey::assistantAPIKey);
    SystemPasteboard pasteboard;
    Application application({.defaults = defaults,
                             .pasteboard = pasteboard,
                             .windowStatePath = windowStatePath(),
                             .recentDocumentsPath = RecentDocuments::recentDocumentsPath()});
    std::vector<std::string> paths;
    for (const QString& path : QApplication::arguments().sliced(1)) paths.push_back(path.toStdString());
    application.launch(paths);
    const int status = QApplication::exec();
    settle(defaults);
    return status;
}

} // namespace larkspool
