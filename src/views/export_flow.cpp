#include "views/export_flow.h"

#include "views/export_progress_view.h"
#include "views/export_sheet_view.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

#include <utility>

namespace larkspool {

namespace {

/// Opens the folder of the film: there is no one way to point at a file in it.
void revealInFolder(const std::string& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(QString::fromStdString(path)).absolutePath()));
}

} // namespace

ExportFlow::ExportFlow(QWidget& window, Services services)
    : window_(window), services_(std::move(services)),
      run_({.tasks = services_.tasks,
            .reveal = services_.reveal ? services_.reveal : revealInFolder,
            .changed = [this] { showRun(); }})
{
    if (!services_.runPanel) services_.runPanel = [this](const SavePanel& panel) { return askForPath(panel); };
}

ExportFlow::~ExportFlow() = default;

bool ExportFlow::isOpen() const
{
    return question_ || progress_;
}

void ExportFlow::start()
{
    if (isOpen()) return;
    const TweenDocument document = services_.document();
    question_ = new ExportConfigSheet(window_, startExport(document, services_.documentName(), services_.defaults), document,
                                      {.onCancel = [this] { closeQuestion(); },
                                       .onContinue = [this](const ExportSheetState& state) { goOn(state); }});
    question_->present();
    services_.sheetsChanged();
}

void ExportFlow::goOn(const ExportSheetState& sheet)
{
    const ExportSheetState chosen = sheet; // The sheet goes before the panel comes.
    closeQuestion();
    run_.continueExport(chosen, services_.document(), services_.defaults, services_.runPanel);
}

std::optional<std::string> ExportFlow::askForPath(const SavePanel& panel) const
{
    const std::string near = services_.documentFolder();
    const QString folder =
        near.empty() ? QStandardPaths::writableLocation(QStandardPaths::MoviesLocation) : QString::fromStdString(near);
    QFileDialog dialog(&window_, "Export MP4", folder);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilter(panel.allowedContentType == "video/mp4" ? "MPEG-4 movies (*.mp4)" : "Movies (*)");
    dialog.setDefaultSuffix("mp4");
    dialog.setOption(QFileDialog::ReadOnly, !panel.canCreateDirectories);
    dialog.selectFile(QString::fromStdString(panel.nameFieldStringValue).replace('/', '-')); // A scene's name is no path.
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().front().toStdString();
}

void ExportFlow::closeQuestion()
{
    if (!question_) return;
    std::exchange(question_, nullptr)->dismiss();
    services_.sheetsChanged();
}

void ExportFlow::showRun()
{
    const ExportRun::State& state = run_.state();
    if (state.exportProgress || state.exportError) {
        const bool isNew = !progress_;
        if (isNew)
            progress_ = new ExportProgressSheet(window_, {.onStop = [this] { run_.stop(); },
                                                          .onDismiss = [this] { run_.dismissError(); }});
        progress_->show(state);
        if (isNew) services_.sheetsChanged();
        return;
    }
    if (!progress_) return;
    std::exchange(progress_, nullptr)->dismiss();
    services_.sheetsChanged();
}

} // namespace larkspool
