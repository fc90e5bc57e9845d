#pragma once

#include "shell/editor_view.h"
#include "views/form_sheet.h"

#include <QLabel>

namespace larkspool {

class ChoiceField;
class RetimeMiniTimelineView;
class RetimeTable;

/// The sheet in which the times of a scene are typed into a table. What is typed is in the document at once; Done makes one undo
/// step of all, and Cancel takes all back.
class RetimeSheetView final : public FormSheet {
public:
    struct Steps {
        std::function<void()> changed; ///< Called when the scene or the playhead has changed.
        std::function<void()> closed;  ///< Called when a person is done with the sheet, either way.
    };

    /// Opens the editor's table of times.
    RetimeSheetView(QWidget& window, EditorView& editor, Steps steps);

    void present();
    /// Shows what the scene and the rows are now.
    void refresh();
    void undo();
    void redo();
    /// Ends the sheet as Done does.
    void finish();

    RetimeTable& table() { return *table_; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildTools();
    void buildTable();
    void takeBack();
    void stepPlayhead(int frames);
    void showSortedBy();
    void showUndo();
    void fitTable();

    EditorView& editor_;
    Steps steps_;
    RetimeSheet* sheet_;
    double playheadBefore_;
    bool isShown_ = false;     ///< Whether the rows of `shownScene_` are shown.
    TweenScene shownScene_;
    bool shownDescending_ = false, shownKept_ = false;
    RetimeMiniTimelineView* strip_ = nullptr;
    ChoiceField* ripple_ = nullptr;
    QPushButton* undo_ = nullptr;
    QPushButton* redo_ = nullptr;
    QPushButton* sort_ = nullptr;
    QWidget* head_ = nullptr;
    RetimeTable* table_ = nullptr;
    QLabel* message_ = nullptr;
    QLabel* hint_ = nullptr;
};

} // namespace larkspool
