#pragma once

#include "shell/document_file.h"
#include "shell/editor_assistant.h"
#include "shell/layer_palette.h"
#include "shell/panels.h"
#include "views/editor_context.h"
#include "views/main_thread.h"
#include "views/menus.h"
#include "views/sink_audio_player.h"
#include "views/workspace.h"

#include <QMainWindow>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace larkspool {

class AssistantPanelView;
class CanvasView;
class ExportFlow;
class InspectorTabs;
class InspectorView;
class LayerPanelView;
class LayerSheets;
class MediaSurfaces;
class PanelSplitter;
class QuickRenderFlow;
class SceneStripView;
class TimelineSheets;
class TimelineView;
class Toast;
class TopBar;

/// The window of one document.
class EditorWindow final : public QMainWindow, private TextResponder {
public:
    EditorWindow(DocumentFile file, Workspace& workspace);
    ~EditorWindow() override;

    EditorView& editor() { return *editor_; }
    CanvasView& canvas() { return *canvas_; }
    Playback& playback() { return *playback_; }
    const UUID& instanceID() const { return instanceID_; }
    const DocumentFile& file() const { return *file_; }

    /// @name What the menus of files do. Each tells whether it came about: a person may think better of it. A save goes on beside
    /// the window, which tells if it fails. Reverting brings all scenes back, as one step to undo.
    /// @{
    bool save();
    bool saveAs();
    bool revert();
    /// @}
    bool isSaving() const { return workspace_.saver.isSaving(*file_); }

    /// Closes the window, as `close` does. If it has to wait for a save, `then` is called when it has closed after all. Returns
    /// whether it is closed now.
    bool closeThen(std::function<void()> then);

    /// Carries a command out as its menu item would.
    void perform(Command command);

    /// Shows the editor's state in all parts of the window.
    void refresh();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    bool forwardToTextResponder(Command selector) override;
    CommandContext commandContext(bool isEdited) const;
    void buildMenus();
    void receive(Command command, const LayerInsertion& insertion);
    void performInWindow(Command command);
    /// Whether a sheet lies over the window.
    bool isCovered() const;
    void buildLayout();
    void showPanels();
    using AddLayer = std::function<void(const LayerPaletteCommands::Item& item)>;
    void dockPalette(const AddLayer& add);
    void popOutPalette(const AddLayer& add);
    void showPanel(Panel panel, bool isSeen);
    /// Takes the keyboard to the next part of the window, or with -1 to the one before.
    void goToRegion(int way);
    void recallWindow();
    void rememberWindow() const;
    /// At the first showing: as they were in the last window, or as the window's size asks.
    void sizePanels();
    std::optional<std::string> pathToSave(); ///< Asked for if there is none. Nothing if a person thinks better of it.
    std::optional<std::string> askForPath();
    void write(const std::string& path);
    void endSave(const std::string& path, const std::optional<std::string>& failure);
    bool hasChanges() const { return file_->isEdited(editor_->state().document); }
    /// Ends what lies over the window as it does by itself when its window goes.
    void closeSheets();
    bool mayLoseChanges();
    bool mayClose();
    void closeAfterSaving();
    void stay();
    void showTitle(bool isEdited);
    void buildAssistant();
    void buildMedia();
    std::string documentFolder() const; ///< Empty for a document without a file.
    /// Shows the assistant and puts the keyboard there, or shows the properties again. While it is off, its settings are shown.
    void toggleAssistant();
    /// Has the sound of the document at hand, if its file is there.
    void syncDocumentAudio();

    std::shared_ptr<DocumentFile> file_; ///< Shared with the saves of it that go on.
    Workspace& workspace_;
    UUID instanceID_ = UUID::random();
    EventLoopTimers timers_;
    std::unique_ptr<EditorView> editor_;
    DocumentAudioController audio_{readForSinkAudioPlayer, workspace_.background.tasks()};
    std::unique_ptr<Playback> playback_;
    std::unique_ptr<EditorCommandReceiver> receiver_;
    EventLoop eventLoop_;
    std::unique_ptr<AssistantClient> assistantClient_;
    std::unique_ptr<EditorAssistant> assistant_;
    Observation conversation_;
    std::unique_ptr<Menus> menus_;
    std::unique_ptr<ExportFlow> exports_;
    std::unique_ptr<QuickRenderFlow> quickRenders_;
    std::unique_ptr<TimelineSheets> timelineSheets_;
    std::unique_ptr<LayerSheets> layerSheets_;
    std::unique_ptr<MediaSurfaces> media_;
    CanvasView* canvas_ = nullptr;
    QPointer<QWidget> dockedPalette_; ///< Null while the palette has a window of its own.
    QPointer<QWidget> palette_;       ///< That window.
    Toast* toast_ = nullptr;
    std::optional<DocumentAudio> syncedAudio_; ///< The sound that was looked for last.
    bool isSoundSynced_ = false;
    LayerPanelView* layers_ = nullptr;
    InspectorView* inspector_ = nullptr;
    AssistantPanelView* assistantPanel_ = nullptr;
    InspectorTabs* inspectorTabs_ = nullptr; ///< Around both.
    TimelineView* timeline_ = nullptr;
    SceneStripView* strip_ = nullptr;
    TopBar* topBar_ = nullptr;
    PanelSplitter* inspectorSplitter_ = nullptr; ///< The inspector beside all else.
    PanelSplitter* timelineSplitter_ = nullptr;
    PanelSplitter* layersSplitter_ = nullptr; ///< The layers beside the canvas.
    bool isShown_ = false;
    bool waitsToClose_ = false;    ///< Until its document is saved.
    std::function<void()> closed_; ///< What comes then.
    QTimer settingsChanged_;
    Observation settings_;
};

} // namespace larkspool
