#pragma once

#include "views/document_opener.h"
#include "views/workspace.h"

#include <QPointer>
#include <QString>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace larkspool {

class EditorWindow;
class PreferencesWindow;
class WelcomeWindow;

/// The program while its windows are open. The toolkit lives longer.
class Application {
public:
    struct Services {
        UserDefaults& defaults;
        Pasteboard& pasteboard;
        std::string windowStatePath{};      ///< As of the workspace.
        std::string recentDocumentsPath{};  ///< Empty keeps the list in memory alone.
        std::function<void(const std::string& path, const std::string& why)> tellFailure{}; ///< A message, where none is given.
    };

    explicit Application(Services services);
    ~Application(); ///< With all windows, which ask nothing any more.
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Opens the documents one after the other. If there is no window of any then, it shows the welcome window or, where that is
    /// not wanted, an empty document; without documents it does so at once.
    void launch(const std::vector<std::string>& paths);

    /// What needs no window of a document.
    void perform(Command command);

    DocumentOpener& documents() { return opener_; }
    Workspace& workspace() { return workspace_; }
    std::vector<EditorWindow*> editorWindows() const; ///< Those that are open, the first one first.
    WelcomeWindow* welcomeWindow() const; ///< Null while there is none.

private:
    void launchFrom(const std::vector<std::string>& paths, std::size_t next, bool isAnyOpen);
    void greet();
    void openNew();
    bool showAgain(const std::string& path) const;
    void show(DocumentFile file);
    void showWelcome();
    void showSettings();
    void quit();
    QString folderToOpenFrom() const;

    Workspace workspace_;
    DocumentOpener opener_;
    std::vector<QPointer<EditorWindow>> editors_;
    QPointer<WelcomeWindow> welcome_;
    QPointer<PreferencesWindow> settings_;
};

/// Runs the editor with a window for each of the documents, or with a new one, until its last window is closed. `arguments` are
/// what follows the program's name. Returns the status to exit with.
int runEditor(int& count, char** arguments);

} // namespace larkspool
