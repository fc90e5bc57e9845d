#pragma once

#include "canvas/crop_editor.h"
#include "rendering/drawing_style.h"
#include "shell/commands.h"
#include "shell/editor_view.h"
#include "shell/playback.h"
#include "shell/tasks.h"

#include <QPointer>
#include <QWidget>

#include <functional>

namespace larkspool {

class FormSheet;

/// The sheets of a window that change how layers look, one at a time.
class LayerSheets {
public:
    struct Services {
        EditorView& editor;
        Playback& playback; ///< Stops while a sheet is open.
        Tasks tasks;        ///< Where pictures are read.
        std::function<TweenDocument()> document; ///< The document with its media where they are found now.
        std::function<VideoPictures*()> videos;  ///< Those of the canvas, which outlive the sheets. May be absent.
        std::function<void()> changed; ///< Called when the scene has changed, or a sheet has come or gone.
    };

    /// Over `window`, which outlives it.
    LayerSheets(QWidget& window, Services services);
    ~LayerSheets();
    LayerSheets(const LayerSheets&) = delete;
    LayerSheets& operator=(const LayerSheets&) = delete;

    /// Opens the sheet of the command on the selection. Does nothing for other commands, and while a sheet is open.
    void open(Command command);
    /// Opens the crop editor. Does nothing if the layer is gone by now.
    void open(const CropEditorRequest& request);
    bool isOpen() const { return !sheet_.isNull(); }

    /// Whether an open sheet keeps the command from the document behind it: undo and redo.
    bool take(Command command) const;
    /// Cancels an open sheet before its window goes.
    void close();

private:
    FormSheet* openMixAndMatch();
    FormSheet* openReplaceFont();
    FormSheet* openCropEditor(const CropEditorRequest& request);
    void show(FormSheet* sheet);
    void dismiss();

    QWidget& window_;
    Services services_;
    CropEditorBus crop_;
    QPointer<FormSheet> sheet_;
};

} // namespace larkspool
