#pragma once

#include "shell/export_sheet.h"
#include "views/sheet.h"

#include <QPixmap>

class QLabel;
class QLineEdit;

namespace larkspool {

class ChoiceField;
class SegmentedChoice;
class Switch;

/// The sheet that asks what to export, and how.
class ExportConfigSheet final : public Sheet {
public:
    struct Steps {
        std::function<void()> onCancel;
        std::function<void(const ExportSheetState& sheet)> onContinue;
    };

    /// The scenes are those of `initialState`, the sound that of `document`.
    ExportConfigSheet(QWidget& window, ExportSheetState initialState, TweenDocument document, Steps steps);

    const ExportSheetState& state() const { return state_; }
    void present();

private:
    void buildHead();
    void buildForm();
    void buildButtons();
    void addRow(const QString& words, QWidget* field, int topOfLabel = 6);
    void fill();
    void showFilm();

    ExportSheetState state_;
    TweenDocument document_; ///< As it will be exported.
    Steps steps_;
    QWidget* form_ = nullptr;
    QLabel* picture_ = nullptr;
    QLabel* measures_ = nullptr;
    QLabel* format_ = nullptr;
    ChoiceField* scenes_ = nullptr;
    SegmentedChoice* size_ = nullptr;
    ChoiceField* blur_ = nullptr;
    Switch* audio_ = nullptr;
    QLineEdit* filename_ = nullptr;
    std::optional<UUID> pictured_{}; ///< The scene that the picture shows.
};

} // namespace larkspool
