#include "views/editor_window.h"

#include "assistant/assistant_endpoint.h"
#include "canvas/layer_upkeep.h"
#include "evaluation/interpolation.h"
#include "export/media_beside.h"
#include "platform/file_url.h"
#include "shell/panels.h"
#include "shell/repair_notice.h"
#include "views/assistant_panel_view.h"
#include "views/canvas_view.h"
#include "views/document_folder.h"
#include "views/export_flow.h"
#include "views/inspector_fields.h"
#include "views/inspector_tabs.h"
#include "views/inspector_view.h"
#include "views/layer_palette_view.h"
#include "views/layer_panel_view.h"
#include "views/layer_sheets.h"
#include "views/main_loop_watchdog.h"
#include "views/media_surfaces.h"
#include "views/notice_bar.h"
#include "views/panel_splitter.h"
#include "views/quick_render_flow.h"
#include "views/scene_strip_view.h"
#include "views/theme.h"
#include "views/timeline_sheets.h"
#include "views/timeline_view.h"
#include "views/toast.h"
#include "views/top_bar.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QTextEdit>

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <filesystem>

namespace larkspool {

namespace {

constexpr int sceneStripHeight = 52;
constexpr QSize defaultSize(1500, 950), smallestSize(1024, 680);
constexpr PanelSplitter::Limits layersLimits{184, 420}, inspectorLimits{264, 480}, timelineLimits{.least = 124, .mostShare = 0.6};
constexpr int besideAnotherWindow = 28;

/// How large the panels are when a window first opens.
struct PanelSizes {
    int layers = 248, inspector = 288, timeline = 304;
};
PanelSizes panelSizes(int windowWidth)
{
    if (windowWidth < 1400) return {216, 272, 256};
    return windowWidth >= 2000 ? PanelSizes{280, 320, 448} : PanelSizes{};
}

/// A layout without margins and gaps.
QBoxLayout* stacked(QWidget* parent, Qt::Orientation orientation)
{
    auto* layout = new QBoxLayout(orientation == Qt::Horizontal ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom, parent);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    return layout;
}

/// The first control in `region` that the keyboard can be in, or the region itself.
QWidget* firstFocus(QWidget& region)
{
    if (region.focusPolicy() & Qt::TabFocus) return &region;
    for (QWidget* next = region.nextInFocusChain(); next != &region; next = next->nextInFocusChain())
        if (region.isAncestorOf(next) && next->isVisible() && next->isEnabled() && (next->focusPolicy() & Qt::TabFocus)) return next;
    return nullptr;
}

/// The text that has the keyboard. Null if that is elsewhere.
QWidget* editedText()
{
    QWidget* focus = QApplication::focusWidget();
    const bool isText =
        qobject_cast<QLineEdit*>(focus) || qobject_cast<QPlainTextEdit*>(focus) || qobject_cast<QTextEdit*>(focus);
    return isText ? focus : nullptr;
}

/// Whether a person has a dialog or a menu open, or drags something: what has begun it must not go before it ends.
bool isInTheMidst()
{
    return QApplication::activeModalWidget() || QApplication::activePopupWidget() || QApplication::mouseButtons() != Qt::NoButton;
}

/// Whether the key presses the button that the keyboard has come to, before any menu answers it.
bool pressesButton(const QKeyEvent& key)
{
    return key.key() == Qt::Key_Space && key.modifiers() == Qt::NoModifier &&
           qobject_cast<QAbstractButton*>(QApplication::focusWidget());
}

} // namespace

EditorWindow::EditorWindow(DocumentFile file, Workspace& workspace)
    : file_(std::make_shared<DocumentFile>(std::move(file))), workspace_(workspace), timers_([this] { refresh(); })
{
    setAttribute(Qt::WA_DeleteOnClose);
    Interpolation::invalidate();
    setMinimumSize(smallestSize);
    // Never wider or taller than the screen: Export stands at the right edge.
    resize(defaultSize.boundedTo(screen()->availableSize()).expandedTo(smallestSize));
    editor_ = std::make_unique<EditorView>(
        file_->saved(), EditorView::Services{.defaults = workspace_.defaults,
                                            .timers = timers_,
                                            .steps = layerUpkeep(),
                                            .beep = [] { QApplication::beep(); },
                                            .rippleApplied =
                                                [this](std::size_t count) {
                                                    workspace_.center.post(EditorNotification::rippleApplied, count);
                                                }});
    playback_ = std::make_unique<Playback>(*editor_, timers_, audio_);
    receiver_ = std::make_unique<EditorCommandReceiver>(
        workspace_.center,
        FocusedNotificationReceive::Environment{
            .controlActive = [this] { return !QApplication::activeModalWidget() && !isCovered(); },
            .envInstanceID = instanceID_},
        workspace_.registry, [this](Command command, const Notification& notification) {
            if (const CropEditorRequest* request = notification.as<CropEditorRequest>()) return layerSheets_->open(*request);
            const LayerInsertion* insertion = notification.as<LayerInsertion>();
            receive(command, insertion ? *insertion : LayerInsertion{});
        });
    exports_ = std::make_unique<ExportFlow>(
        *this, ExportFlow::Services{.defaults = workspace_.defaults,
                                    .tasks = workspace_.background.tasks(),
                                    .document = [this] { return withMediaBeside(editor_->state().document, file_->path()); },
                                    .documentName = [this] { return file_->displayName(); },
                                    .documentFolder = [this] { return documentFolder(); },
                                    .sheetsChanged = [this] { refresh(); }});
    quickRenders_ = std::make_unique<QuickRenderFlow>(
        *this, QuickRenderFlow::Services{.editor = *editor_,
                                         .playback = *playback_,
                                         .tasks = workspace_.background.tasks(),
                                         .document = [this] { return withMediaBeside(editor_->state().document, file_->path()); },
                                         .sheetChanged = [this] { refresh(); }});
    timelineSheets_ = std::make_unique<TimelineSheets>(
        *this, TimelineSheets::Services{.editor = *editor_, .playback = *playback_, .changed = [this] { refresh(); }});
    layerSheets_ = std::make_unique<LayerSheets>(
        *this, LayerSheets::Services{.editor = *editor_,
                                     .playback = *playback_,
                                     .tasks = workspace_.background.tasks(),
                                     .document = [this] { return withMediaBeside(editor_->state().document, file_->path()); },
                                     .videos = [this] { return canvas_->videos(); },
                                     .changed = [this] { refresh(); }});
    buildLayout();
    buildMedia();
    buildAssistant();
    buildMenus();
    // Settings take effect at once, but not in the midst of what changes them.
    settingsChanged_.setSingleShot(true);
    connect(&settingsChanged_, &QTimer::timeout, this, [this] { refresh(); });
    settings_ = workspace_.defaults.observe([this](std::string_view) { settingsChanged_.start(0); });
    recallWindow();
    refresh();
}

EditorWindow::~EditorWindow()
{
    hide(); // The field that has the keyboard ends its visit while all that it works on is there.
}

void EditorWindow::buildLayout()
{
    const EditorContext context{*editor_, *playback_, [this] { refresh(); }, [this](Command command) { perform(command); },
                                [this] { workspace_.center.post(EditorNotification::sceneCreated); },
                                [this] { return documentFolder(); }, workspace_.background.tasks()};
    canvas_ = new CanvasView(context, this);
    toast_ = new Toast(canvas_, [this] { return waitsToClose_ ? "Saving…" : editor_->rippleToastMessage(); });
    layers_ = new LayerPanelView(context, this);
    inspector_ = new InspectorView(context, this);
    inspectorTabs_ = new InspectorTabs(inspector_, workspace_.defaults, this);
    timeline_ = new TimelineView(context, this);
    strip_ = new SceneStripView(context, this);
    strip_->setFixedHeight(sceneStripHeight);
    const auto add = [this](const LayerPaletteCommands::Item& item) {
        if (item.needsFile) return media_->add(item.kind);
        editor_->perform(LayerPaletteCommands::add(editor_->scene(), item, canvas_->visibleCenter(), workspace_.defaults));
        refresh();
    };
    layers_->add = add;
    layers_->popOutPalette = [this, add] { popOutPalette(add); };
    dockPalette(add);

    auto* canvasAndStrip = new QWidget(this);
    auto* canvasColumn = stacked(canvasAndStrip, Qt::Vertical);
    canvasColumn->addWidget(canvas_, 1);
    canvasColumn->addWidget(hairline(Qt::Horizontal, canvasAndStrip));
    canvasColumn->addWidget(strip_);

    using Side = PanelSplitter::Side;
    const auto splitter = [this](Qt::Orientation orientation, Panel panel) {
        auto* result = new PanelSplitter(orientation, this);
        result->closed = [this, panel] { showPanel(panel, /*isSeen=*/false); };
        return result;
    };
    layersSplitter_ = splitter(Qt::Horizontal, Panel::layers);
    layersSplitter_->setParts(layers_, Side::first, canvasAndStrip, layersLimits);
    timelineSplitter_ = splitter(Qt::Vertical, Panel::timeline);
    timelineSplitter_->setParts(timeline_, Side::last, layersSplitter_, timelineLimits);
    inspectorSplitter_ = splitter(Qt::Horizontal, Panel::inspector);
    inspectorSplitter_->setParts(inspectorTabs_, Side::last, timelineSplitter_, inspectorLimits);

    topBar_ = new TopBar({.perform = [this](Command command) { perform(command); },
                          .togglePanel =
                              [this](Panel panel) {
                                  togglePanel(workspace_.defaults, panel);
                                  refresh();
                              }},
                         this);
    auto* whole = new QWidget(this);
    auto* column = stacked(whole, Qt::Vertical);
    column->addWidget(topBar_);
    column->addWidget(hairline(Qt::Horizontal, whole));
    if (const std::optional<RepairNotice> notice = repairNotice(file_->diagnostics())) column->addWidget(new NoticeBar(*notice, whole));
    column->addWidget(inspectorSplitter_, 1);
    setCentralWidget(whole);
    setTabOrder(topBar_, layers_);

    connect(new QShortcut(QKeySequence("F6"), this), &QShortcut::activated, this, [this] { goToRegion(1); });
    connect(new QShortcut(QKeySequence("Shift+F6"), this), &QShortcut::activated, this, [this] { goToRegion(-1); });
}

void EditorWindow::buildMedia()
{
    media_ = std::make_unique<MediaSurfaces>(
        *this, *canvas_,
        MediaSurfaces::Services{.editor = *editor_,
                                .tasks = workspace_.background.tasks(),
                                .changed = [this] { refresh(); },
                                .documentFolder = [this] { return documentFolder(); },
                                .isBusy = [this] { return isCovered() || editor_->isDraggingCanvas(); },
                                .runPanel = workspace_.runOpenPanel,
                                .runAlert = workspace_.runAlert});
    canvas_->dropFiles = [this](std::vector<std::string> paths, CGPoint at) { media_->take(std::move(paths), at); };
    canvas_->dropKind = [this](Layer::Kind kind, CGPoint at) { media_->insert(kind, at); };
    strip_->pickMusic = [this] { media_->pickMusic(); };
}

std::string EditorWindow::documentFolder() const
{
    return std::filesystem::path(file_->path()).parent_path().string();
}

void EditorWindow::buildAssistant()
{
    assistantClient_ = std::make_unique<AssistantClient>(
        eventLoop_, assistantEndpoint([](const char* name) { return std::getenv(name); }, workspace_.defaults));
    assistant_ = std::make_unique<EditorAssistant>(
        EditorAssistant::Services{.editor = *editor_,
                                  .client = *assistantClient_,
                                  .isPlaying = [this] { return playback_->isPlaying(); },
                                  .expandedGroups = [this] { return layers_->expandedGroups(); },
                                  .changed = [this] { refresh(); }});
    assistantPanel_ = new AssistantPanelView(
        {.assistant = *assistant_,
         .defaults = workspace_.defaults,
         .openPreferences = [this] { perform(Command::showSettings); }},
        this);
    inspectorTabs_->setAssistant(assistantPanel_);
    conversation_ = assistant_->session().changed.add([this] { refresh(); }); // The end of a turn names an undo step.
}

void EditorWindow::toggleAssistant()
{
    if (!inspectorTabs_->isAssistantEnabled()) return perform(Command::showSettings);
    const bool isSeen = inspectorTabs_->isVisible() && inspectorTabs_->tab() == InspectorTab::assistant;
    inspectorTabs_->choose(isSeen ? InspectorTab::properties : InspectorTab::assistant);
    if (isSeen) return;
    showPanel(Panel::inspector, /*isSeen=*/true);
    assistantPanel_->focusComposer();
}

void EditorWindow::dockPalette(const AddLayer& add)
{
    auto* palette = new LayerPaletteView(add, canvas_);
    canvas_->setFloatingPalette(palette);
    palette->show();
    dockedPalette_ = palette;
}

void EditorWindow::popOutPalette(const AddLayer& add)
{
    if (palette_) return palette_->activateWindow();
    delete dockedPalette_;
    canvas_->setFloatingPalette(nullptr);
    palette_ = new LayerPaletteWindow(
        add,
        [this, add] {
            palette_->deleteLater();
            palette_.clear();
            dockPalette(add);
        },
        this);
    palette_->move(canvas_->mapToGlobal(QPoint(12, 12)));
    palette_->show();
}

void EditorWindow::showPanel(Panel panel, bool isSeen)
{
    if (larkspool::isVisible(workspace_.defaults, panel) != isSeen) togglePanel(workspace_.defaults, panel);
    refresh();
}

void EditorWindow::goToRegion(int way)
{
    std::vector<QWidget*> regions;
    for (QWidget* region : {static_cast<QWidget*>(layers_), static_cast<QWidget*>(canvas_), static_cast<QWidget*>(strip_),
                            static_cast<QWidget*>(timeline_), static_cast<QWidget*>(inspectorTabs_), static_cast<QWidget*>(topBar_)})
        if (region->isVisible() && firstFocus(*region)) regions.push_back(region);
    const QWidget* focus = QApplication::focusWidget();
    const auto isThere = [focus](const QWidget* region) { return focus && (region == focus || region->isAncestorOf(focus)); };
    const auto now = std::ranges::find_if(regions, isThere) - regions.begin();
    const auto count = static_cast<std::ptrdiff_t>(regions.size());
    const std::ptrdiff_t next = now == count ? (way > 0 ? 0 : count - 1) : (now + way + count) % count;
    setAttribute(Qt::WA_KeyboardFocusChange); // The ring tells where it has gone.
    if (count > 0) firstFocus(*regions[static_cast<std::size_t>(next)])->setFocus(Qt::TabFocusReason);
}

void EditorWindow::buildMenus()
{
    menus_ = std::make_unique<Menus>(
        topBar_->menuBar(), Menus::Steps{.perform = [this](Command command) { perform(command); },
                                .insert =
                                    [this](const LayerInsertion& insertion) {
                                        sendCommand(Command::insertLayerOfKind, workspace_.center, *this, insertion);
                                    },
                                .recentDocuments = [this] { return workspace_.recents.paths(); },
                                .openDocument = [this](const std::string& path) { workspace_.openDocument(path); },
                                .aboutToShow = [this] { menus_->refresh(commandContext(hasChanges()), workspace_.defaults); }});
}

CommandContext EditorWindow::commandContext(bool isEdited) const
{
    CommandContext context{.editsText = editedText() != nullptr, .isCovered = isCovered()};
    if (context.isCovered) return context;
    context.front = focusedValues(editor_->state(), editor_->undoManager(), workspace_.styles);
    context.front->isEdited = isEdited;
    return context;
}

bool EditorWindow::forwardToTextResponder(Command selector)
{
    assert(isForText(selector));
    QWidget* text = editedText();
    if (!text) return false;
    // All texts of the toolkit have these slots.
    const char* slot = selector == Command::cut ? "cut" : selector == Command::copy ? "copy" : "paste";
    return QMetaObject::invokeMethod(text, slot);
}

void EditorWindow::perform(Command command)
{
    const CommandInfo& info = commandInfo(command);
    MainLoopWatchdog::noteCommand(info.title);
    if (info.target == CommandTarget::application) return workspace_.performForApplication(command);
    if (info.notification.empty()) return receive(command, {});
    std::any payload;
    if (command == Command::showCropEditor)
        if (const auto request = cropEditorRequest(editor_->scene(), editor_->state().selectedLayerIDs)) payload = *request;
    sendCommand(command, workspace_.center, *this, std::move(payload));
}

void EditorWindow::receive(Command command, const LayerInsertion& insertion)
{
    if (timelineSheets_->take(command) || layerSheets_->take(command)) return;
    const bool comesOfFile = insertion.kind == Layer::Kind::image || insertion.kind == Layer::Kind::video;
    if (command == Command::insertLayerOfKind && comesOfFile) return media_->insert(insertion.kind, canvas_->visibleCenter());
    const CommandSurroundings around{.pasteboard = workspace_.pasteboard,
                                     .styles = workspace_.styles,
                                     .viewportCenter = canvas_->visibleCenter(),
                                     .beep = [] { QApplication::beep(); },
                                     .insertion = insertion};
    const CommandResult result = performCommand(*editor_, command, around);
    if (result.kind == CommandResult::Kind::forWindow) performInWindow(command);
    if (command == Command::rewind || command == Command::stepBack || command == Command::stepForward) playback_->setPlaying(false);
    refresh();
}

bool EditorWindow::isCovered() const
{
    return exports_->isOpen() || quickRenders_->isOpen() || timelineSheets_->isOpen() || layerSheets_->isOpen() ||
           (media_ && media_->isOpen());
}

void EditorWindow::performInWindow(Command command)
{
    switch (command) {
    case Command::closeWindow: close(); return;
    case Command::saveDocument: save(); return;
    case Command::saveDocumentAs: saveAs(); return;
    case Command::revertDocument: revert(); return;
    case Command::exportMP4: return exports_->start();
    case Command::quickRender: return quickRenders_->start(QuickRender::From::beginning);
    case Command::quickRenderFromPlayhead: return quickRenders_->start(QuickRender::From::playhead);
    case Command::showRetime:
    case Command::showMoveModal:
    case Command::showDilateModal:
    case Command::distributeSpans:
    case Command::staggerSpans: return timelineSheets_->open(command);
    case Command::mixAndMatch:
    case Command::replaceFont:
    case Command::showCropEditor: return layerSheets_->open(command);
    case Command::replaceImage:
    case Command::replaceVideo: return media_->open(command);
    case Command::zoomIn: return canvas_->zoomIn();
    case Command::zoomOut: return canvas_->zoomOut();
    case Command::zoomReset: return canvas_->resetZoom();
    case Command::fitSelection: return canvas_->fit(CanvasView::FitTo::selection);
    case Command::togglePlay: return playback_->togglePlay();
    case Command::renameLayer: return layers_->renameSelected();
    case Command::toggleAssistant: return toggleAssistant();
    case Command::arrowStepUp:
    case Command::arrowStepDown:
        if (NumberField* field = NumberField::focused()) field->arrowStep(command == Command::arrowStepUp ? 1 : -1, {});
        return;
    default: return;
    }
}

void EditorWindow::syncDocumentAudio()
{
    const std::optional<DocumentAudio>& audio = editor_->state().document.audio;
    if (std::exchange(isSoundSynced_, true) && syncedAudio_ == audio) return;
    syncedAudio_ = audio;
    TweenDocument sound;
    sound.audio = audio;
    audio_.sync(withMediaBeside(sound, file_->path()).audio, [](const DocumentAudio& found) -> std::optional<std::string> {
        const std::string path = pathFromURLOrPath(found.urlString);
        return Exporter::fileExists(path) ? std::optional(path) : std::nullopt;
    });
}

void EditorWindow::refresh()
{
    const bool isEdited = hasChanges();
    showTitle(isEdited);
    syncDocumentAudio();
    playback_->followActiveScene();
    const CommandContext context = commandContext(isEdited);
    menus_->refresh(context, workspace_.defaults);
    showPanels();
    topBar_->refresh(context, workspace_.defaults);
    topBar_->showZoom(canvas_->zoom());
    canvas_->refresh();
    toast_->refresh();
    layers_->refresh();
    inspectorTabs_->refresh();
    inspector_->refresh();
    if (assistantPanel_) assistantPanel_->refresh();
    timeline_->refresh();
    strip_->refresh();
    timelineSheets_->refresh();
}

void EditorWindow::showPanels()
{
    const auto show = [this](QWidget* widget, Panel panel, PanelSplitter* splitter) {
        const bool isSeen = larkspool::isVisible(workspace_.defaults, panel);
        if (isSeen != widget->isHidden()) return;
        widget->setVisible(isSeen);
        if (isSeen && splitter) splitter->setPanelSize(splitter->panelSize());
    };
    show(layers_, Panel::layers, layersSplitter_);
    show(timeline_, Panel::timeline, timelineSplitter_);
    show(inspectorTabs_, Panel::inspector, inspectorSplitter_);
    show(strip_, Panel::sceneStrip, nullptr);
}

void EditorWindow::showTitle(bool isEdited)
{
    const QString shown = QString::fromStdString(file_->displayName());
    topBar_->showName(shown, isEdited);
    setWindowModified(isEdited);
    setWindowTitle(shown + "[*] — Larkspool");
}

bool EditorWindow::save()
{
    const std::optional<std::string> path = pathToSave();
    if (path) write(*path);
    return path.has_value();
}

bool EditorWindow::saveAs()
{
    const std::optional<std::string> path = askForPath();
    if (path) write(*path);
    return path.has_value();
}

std::optional<std::string> EditorWindow::pathToSave()
{
    const std::string& path = workspace_.saver.pathToBe(*file_);
    return path.empty() ? askForPath() : path;
}

std::optional<std::string> EditorWindow::askForPath()
{
    QFileDialog dialog(this, "Save As", folderOfDocument(file_->path()), documentFilter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix("larkspool"); // Before the dialog looks whether there is such a file.
    dialog.selectFile(QString::fromStdString(file_->displayName() + ".larkspool"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().front().toStdString();
}

void EditorWindow::write(const std::string& path)
{
    editor_->commit().confirmNumericUndoGate();
    workspace_.saver.save(file_, editor_->state().document, path,
                          [window = QPointer<EditorWindow>(this)](const std::string& written, const std::optional<std::string>& failure) {
                              if (window) window->endSave(written, failure);
                          });
    refresh();
}

void EditorWindow::endSave(const std::string& path, const std::optional<std::string>& failure)
{
    if (failure) {
        stay();
        QMessageBox::critical(this, "Larkspool",
                              QString("The document could not be saved.\n\n%1").arg(QString::fromStdString(*failure)));
        return;
    }
    workspace_.recents.note(path);
    refresh();
    if (waitsToClose_ && !isSaving()) closeAfterSaving();
}

bool EditorWindow::revert()
{
    if (!hasChanges()) return false;
    const auto answer = QMessageBox::question(this, "Larkspool", "Go back to the document as it was last saved?\n\nThis can be undone.");
    if (answer != QMessageBox::Yes) return false;
    editor_->replaceDocument("Revert", workspace_.saver.savedToBe(*file_));
    refresh();
    return true;
}

void EditorWindow::closeSheets()
{
    quickRenders_->close();
    timelineSheets_->close();
    layerSheets_->close();
}

/// An open sheet stays as it is until a person agrees.
bool EditorWindow::mayLoseChanges()
{
    timelineSheets_->endEditing(); // It may be a change that is asked about.
    if (!hasChanges()) return true;
    QMessageBox box(QMessageBox::NoIcon, "Larkspool",
                    QString("Do you want to save the changes to “%1”?").arg(QString::fromStdString(file_->displayName())),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText("They are lost if you do not save them.");
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save: break;
    case QMessageBox::Discard: return true;
    default: return false;
    }
    const std::optional<std::string> path = pathToSave();
    if (!path) return false;
    closeSheets(); // What one only tries out is not for the file.
    write(*path);
    return true;
}

/// A window whose document is being saved waits for that, and closes by itself then.
bool EditorWindow::mayClose()
{
    if (!isSaving() && !mayLoseChanges()) return false;
    waitsToClose_ = isSaving();
    toast_->refresh();
    return !waitsToClose_;
}

bool EditorWindow::closeThen(std::function<void()> then)
{
    closed_ = std::move(then);
    const bool isClosed = close();
    if (!waitsToClose_) closed_ = nullptr;
    return isClosed;
}

void EditorWindow::closeAfterSaving()
{
    if (isInTheMidst()) return stay();
    waitsToClose_ = false;
    const bool isClosed = close();
    if (waitsToClose_) return; // For what was edited meanwhile.
    const std::function<void()> then = std::exchange(closed_, nullptr);
    if (isClosed && then) then();
}

void EditorWindow::stay()
{
    waitsToClose_ = false;
    closed_ = nullptr;
    toast_->refresh();
}

void EditorWindow::closeEvent(QCloseEvent* event)
{
    if (!mayClose()) return event->ignore();
    closeSheets();
    playback_->setPlaying(false);
    rememberWindow();
    workspace_.center.post(EditorNotification::editorWindowClosing, instanceID_);
    event->accept();
}

void EditorWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (std::exchange(isShown_, true)) return;
    sizePanels();
    canvas_->fit(CanvasView::FitTo::scene);
    if (!file_->path().empty()) media_->reconnect();
}

void EditorWindow::recallWindow()
{
    if (workspace_.windowStatePath.empty()) return;
    const QSettings settings(QString::fromStdString(workspace_.windowStatePath), QSettings::IniFormat);
    restoreGeometry(settings.value("window/geometry").toByteArray());
    for (const QWidget* other : QApplication::topLevelWidgets())
        if (other != this && other->isVisible() && dynamic_cast<const EditorWindow*>(other) && other->pos() == pos())
            move(pos() + QPoint(besideAnotherWindow, besideAnotherWindow));
}

void EditorWindow::rememberWindow() const
{
    if (workspace_.windowStatePath.empty()) return;
    QSettings settings(QString::fromStdString(workspace_.windowStatePath), QSettings::IniFormat);
    settings.setValue("window/geometry", saveGeometry());
    settings.setValue("panels/layers", layersSplitter_->panelSize());
    settings.setValue("panels/inspector", inspectorSplitter_->panelSize());
    settings.setValue("panels/timeline", timelineSplitter_->panelSize());
}

void EditorWindow::sizePanels()
{
    PanelSizes sizes = panelSizes(width());
    if (!workspace_.windowStatePath.empty()) {
        const QSettings settings(QString::fromStdString(workspace_.windowStatePath), QSettings::IniFormat);
        sizes.layers = settings.value("panels/layers", sizes.layers).toInt();
        sizes.inspector = settings.value("panels/inspector", sizes.inspector).toInt();
        sizes.timeline = settings.value("panels/timeline", sizes.timeline).toInt();
    }
    inspectorSplitter_->setPanelSize(std::min(sizes.inspector, inspectorLimits.most));
    timelineSplitter_->setPanelSize(sizes.timeline);
    layersSplitter_->setPanelSize(std::min(sizes.layers, layersLimits.most));
}

bool EditorWindow::event(QEvent* event)
{
    if (event->type() != QEvent::ShortcutOverride || !pressesButton(static_cast<QKeyEvent&>(*event)))
        return QMainWindow::event(event);
    event->accept();
    return true;
}

void EditorWindow::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::ActivationChange || !isActiveWindow()) return;
    workspace_.registry.setPrimaryID(instanceID_);
    Interpolation::invalidate(); // Another window's document may have layers of the same ids.
}

} // namespace larkspool
