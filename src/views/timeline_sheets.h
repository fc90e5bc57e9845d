#pragma once

#include "shell/commands.h"
#include "shell/editor_view.h"
#include "shell/playback.h"

#include <QPointer>

#include <functional>

class QWidget;

namespace larkspool {

class FormSheet;
class RetimeSheetView;

/// The sheets of a window that move and arrange items of the timeline, one at a time.
class TimelineSheets {
public:
    struct Services {
        EditorView& editor;
        Playback& playback; ///< Stops while a sheet is open.
        std::function<void()>
            changed; ///< Called when the scene, the playhead or the settings have changed, or a sheet has come or gone.
    };

    /// Over `window`, which outlives it.
    TimelineSheets(QWidget& window, Services services);
    ~TimelineSheets();
    TimelineSheets(const TimelineSheets&) = delete;
    TimelineSheets& operator=(const TimelineSheets&) = delete;

    /// Opens the sheet of the command. Does nothing for other commands, and while a sheet is open.
    void open(Command command);
    bool isOpen() const { return !sheet_.isNull(); }

    /// Whether an open sheet takes the command: undo and redo go to the table of times, and not to the document behind it.
    bool take(Command command);
    /// Shows the editor's state in an open sheet.
    void refresh();
    /// Takes in what is being typed in the table of times, as leaving its cell does.
    void endEditing();
    /// Ends an open sheet before its window goes: what was done in the table of times stays, the others are cancelled.
    void close();

private:
    FormSheet* openMove();
    FormSheet* openDilate();
    FormSheet* openDistribute();
    FormSheet* openStagger();
    FormSheet* openRetime();
    void dismiss();

    QWidget& window_;
    Services services_;
    QPointer<FormSheet> sheet_;
    QPointer<RetimeSheetView> retime_; ///< The same sheet, if it is the table of times.
};

} // namespace larkspool
