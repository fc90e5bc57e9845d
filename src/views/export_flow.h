#pragma once

#include "shell/export_run.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

class QWidget;

namespace larkspool {

class ExportConfigSheet;
class ExportProgressSheet;

/// The export of one window, from the sheet that asks to the end of the film. If it goes, an export that runs is stopped.
class ExportFlow {
public:
    struct Services {
        UserDefaults& defaults;
        Tasks tasks;
        std::function<TweenDocument()> document;     ///< As it is now.
        std::function<std::string()> documentName;   ///< What the film is named after.
        std::function<std::string()> documentFolder; ///< Where films are offered to go; empty for the person's own place.
        std::function<void()> sheetsChanged;         ///< Called when a sheet has come or gone.
        RunSavePanel runPanel{};                     ///< The toolkit's own file dialog, where none is given.
        std::function<void(const std::string& path)> reveal{}; ///< Opens the folder of the film, where none is given.
    };

    /// Over `window`, which outlives it.
    ExportFlow(QWidget& window, Services services);
    ~ExportFlow();
    ExportFlow(const ExportFlow&) = delete;
    ExportFlow& operator=(const ExportFlow&) = delete;

    /// Asks for an export. Does nothing while a sheet is open.
    void start();

    /// Whether a sheet lies over the window.
    bool isOpen() const;
    bool isRunning() const { return run_.isRunning(); }

private:
    void goOn(const ExportSheetState& sheet);
    std::optional<std::string> askForPath(const SavePanel& panel) const;
    void closeQuestion();
    void showRun();

    QWidget& window_;
    Services services_;
    ExportRun run_;
    ExportConfigSheet* question_ = nullptr;
    ExportProgressSheet* progress_ = nullptr;
};

} // namespace larkspool
