#pragma once

#include "shell/document_file.h"
#include "views/editor_context.h"
#include "views/main_thread.h"
#include "views/menus.h"
#include "views/sink_audio_player.h"
#include "views/workspace.h"

#include <QMainWindow>

#include <memory>
#include <vector>

class QLabel;
class QSplitter;
class QToolButton;

namespace larkspool {

class CanvasView;
class ExportFlow;
class InspectorView;
class LayerPanelView;
class SceneStripView;
class TimelineView;
class Toast;

/// The window of one document.
class EditorWindow final : public QMainWindow, private TextResponder {
public:
    EditorWindow(DocumentFile file, Workspace& workspace);
    ~EditorWindow() override;

    EditorView& editor() { return *editor_; }
    CanvasView& canvas() { return *canvas_; }
    Playback& playback() { return *playback_; }
    const UUID& instanceID() const { return instanceID_; }
    const DocumentFile& file() const { return file_; }

    /// @name What the menus of files do. Each tells whether it came about: a person may think better of it.
    /// @{
    bool save();
    bool saveAs();
    bool revert();
    /// @}

    /// Carries a command out as its menu item would.
    void perform(Command command);

    /// Shows the editor's state in all parts of the window.
    void refresh();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    bool forwardToTextResponder(Command selector) override;
    void buildMenus();
    void receive(Command command, const LayerInsertion& insertion);
    void performInWindow(Command command);
    void buildLayout();
    QWidget* buildTopBar();
    void showPanels();
    bool write(const std::string& path);
    bool mayLoseChanges();
    void showTitle();
    /// Has the sound of the document at hand, if its file is there.
    void syncDocumentAudio();

    DocumentFile file_;
    Workspace& workspace_;
    UUID instanceID_ = UUID::random();
    EventLoopTimers timers_;
    std::unique_ptr<EditorView> editor_;
    DocumentAudioController audio_{loadSinkAudioPlayer};
    std::unique_ptr<Playback> playback_;
    std::unique_ptr<EditorCommandReceiver> receiver_;
    std::unique_ptr<Menus> menus_;
    std::unique_ptr<ExportFlow> exports_;
    CanvasView* canvas_ = nullptr;
    Toast* toast_ = nullptr;
    std::optional<DocumentAudio> syncedAudio_; ///< The sound that was looked for last.
    bool isSoundSynced_ = false;
    LayerPanelView* layers_ = nullptr;
    InspectorView* inspector_ = nullptr;
    TimelineView* timeline_ = nullptr;
    SceneStripView* strip_ = nullptr;
    QMenuBar* menuBar_ = nullptr;
    std::vector<QToolButton*> panelButtons_;
    QLabel* zoom_ = nullptr;
    QLabel* name_ = nullptr;
    QLabel* edited_ = nullptr;
    QSplitter* columns_ = nullptr;
    QSplitter* rows_ = nullptr;
    QSplitter* layersAndCanvas_ = nullptr;
    bool isShown_ = false;
};

} // namespace larkspool
