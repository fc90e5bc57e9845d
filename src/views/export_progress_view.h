#pragma once

#include "shell/export_run.h"
#include "views/sheet.h"

class QLabel;
class QPushButton;

namespace larkspool {

class FailureNote;
class FilmPicture;
class ThinProgressBar;

/// The sheet of an export that runs, with its live picture, or of one that has failed.
class ExportProgressSheet final : public Sheet {
public:
    struct Steps {
        std::function<void()> onStop;
        std::function<void()> onDismiss;
    };

    ExportProgressSheet(QWidget& window, Steps steps);

    /// Shows the state: an error before all else, and how far the export is otherwise.
    void show(const ExportRun::State& state);

private:
    QWidget* buildProgress();
    QWidget* buildFailure();
    void stop();

    Steps steps_;
    QWidget* progress_ = nullptr;
    QWidget* failure_ = nullptr;
    FilmPicture* picture_ = nullptr;
    ThinProgressBar* bar_ = nullptr;
    QLabel* percent_ = nullptr;
    QPushButton* stop_ = nullptr;
    FailureNote* note_ = nullptr;
    QPushButton* dismiss_ = nullptr;
};

} // namespace larkspool
