#include "views/editor_window.h"

#include "canvas/layer_upkeep.h"
#include "export/media_beside.h"
#include "platform/file_url.h"
#include "shell/panels.h"
#include "views/canvas_view.h"
#include "views/controls.h"
#include "views/export_flow.h"
#include "views/icons.h"
#include "views/inspector_view.h"
#include "views/layer_palette_view.h"
#include "views/layer_panel_view.h"
#include "views/scene_strip_view.h"
#include "views/theme.h"
#include "views/timeline_view.h"
#include "views/toast.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSplitter>

#include <filesystem>

namespace larkspool {

namespace {

constexpr int topBarHeight = 40, sceneStripHeight = 52;
constexpr QSize defaultSize(1500, 950), smallestSize(1024, 680);
const char* const fileFilter = "Larkspool documents (*.larkspool)";

struct PanelToggle {
    Panel panel;
    const char* icon;
    const char* name;
};
constexpr PanelToggle panelToggles[] = {{Panel::layers, "panel-layers", "Toggle Layer Panel"},
                                        {Panel::sceneStrip, "panel-scenes", "Toggle Scene Strip"},
                                        {Panel::timeline, "panel-timeline", "Toggle Timeline"},
                                        {Panel::inspector, "panel-inspector", "Toggle Inspector"}};

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

/// Two parts with a line between them that can be dragged. The one that `stretches` takes what is left.
QSplitter* splitter(Qt::Orientation orientation, std::pair<QWidget*, QWidget*> parts, QList<int> sizes, QWidget* parent)
{
    auto* result = new QSplitter(orientation, parent);
    result->addWidget(parts.first);
    result->addWidget(parts.second);
    const bool firstIsPanel = sizes[0] < sizes[1];
    result->setStretchFactor(firstIsPanel ? 1 : 0, 1);
    result->setCollapsible(0, false);
    result->setCollapsible(1, false);
    result->setSizes(sizes);
    return result;
}

} // namespace

EditorWindow::EditorWindow(DocumentFile file, Workspace& workspace)
    : file_(std::move(file)), workspace_(workspace), timers_([this] { refresh(); })
{
    setAttribute(Qt::WA_DeleteOnClose);
    setMinimumSize(smallestSize);
    resize(defaultSize);
    editor_ = std::make_unique<EditorView>(
        file_.saved(), EditorView::Services{.defaults = workspace_.defaults,
                                            .timers = timers_,
                                            .steps = layerUpkeep(),
                                            .beep = [] { QApplication::beep(); }});
    playback_ = std::make_unique<Playback>(*editor_, timers_, audio_);
    receiver_ = std::make_unique<EditorCommandReceiver>(
        workspace_.center,
        FocusedNotificationReceive::Environment{
            .controlActive = [this] { return !QApplication::activeModalWidget() && !exports_->isOpen(); },
            .envInstanceID = instanceID_},
        workspace_.registry, [this](Command command, const Notification& notification) {
            const LayerInsertion* insertion = notification.as<LayerInsertion>();
            receive(command, insertion ? *insertion : LayerInsertion{});
        });
    exports_ = std::make_unique<ExportFlow>(
        *this, ExportFlow::Services{.defaults = workspace_.defaults,
                                    .tasks = workspace_.background.tasks(),
                                    .document = [this] { return withMediaBeside(editor_->state().document, file_.path()); },
                                    .documentName = [this] { return file_.displayName(); },
                                    .documentFolder =
                                        [this] { return std::filesystem::path(file_.path()).parent_path().string(); },
                                    .sheetsChanged = [this] { refresh(); }});
    buildLayout();
    buildMenus();
    refresh();
}

EditorWindow::~EditorWindow() = default;

void EditorWindow::buildLayout()
{
    const EditorContext context{*editor_, *playback_, [this] { refresh(); }, [this](Command command) { perform(command); }};
    canvas_ = new CanvasView(context, this);
    toast_ = new Toast(canvas_, [this] { return editor_->rippleToastMessage(); });
    layers_ = new LayerPanelView(context, this);
    inspector_ = new InspectorView(context, this);
    timeline_ = new TimelineView(context, this);
    strip_ = new SceneStripView(context, this);
    strip_->setFixedHeight(sceneStripHeight);
    const auto add = [this](const LayerPaletteCommands::Item& item) {
        editor_->perform(LayerPaletteCommands::add(editor_->scene(), item, canvas_->visibleCenter(), workspace_.defaults));
        refresh();
    };
    layers_->add = add;
    canvas_->setFloatingPalette(new LayerPaletteView(add, canvas_));

    auto* canvasAndStrip = new QWidget(this);
    auto* canvasColumn = stacked(canvasAndStrip, Qt::Vertical);
    canvasColumn->addWidget(canvas_, 1);
    canvasColumn->addWidget(hairline(Qt::Horizontal, canvasAndStrip));
    canvasColumn->addWidget(strip_);

    const PanelSizes sizes = panelSizes(width());
    layersAndCanvas_ = splitter(Qt::Horizontal, {layers_, canvasAndStrip}, {sizes.layers, width()}, this);
    rows_ = splitter(Qt::Vertical, {layersAndCanvas_, timeline_}, {height(), sizes.timeline}, this);
    columns_ = splitter(Qt::Horizontal, {rows_, inspector_}, {width(), sizes.inspector}, this);
    layers_->setMinimumWidth(184);
    layers_->setMaximumWidth(420);
    inspector_->setMinimumWidth(264);
    inspector_->setMaximumWidth(480);
    timeline_->setMinimumHeight(124);

    auto* whole = new QWidget(this);
    auto* column = stacked(whole, Qt::Vertical);
    column->addWidget(buildTopBar());
    column->addWidget(hairline(Qt::Horizontal, whole));
    column->addWidget(columns_, 1);
    setCentralWidget(whole);
}

QWidget* EditorWindow::buildTopBar()
{
    auto* top = new Surface(theme().window, this);
    top->setFixedHeight(topBarHeight);
    auto* bar = stacked(top, Qt::Horizontal);
    bar->setContentsMargins(12, 0, 8, 0);
    bar->setSpacing(4);
    menuBar_ = new QMenuBar(top);
    menuBar_->setNativeMenuBar(false);
    bar->addWidget(menuBar_, 0, Qt::AlignVCenter);
    bar->addStretch(1);
    name_ = label("", TextStyle::section, LabelTone::text, top);
    edited_ = label("Edited", TextStyle::body, LabelTone::secondary, top);
    bar->addWidget(name_);
    bar->addSpacing(4);
    bar->addWidget(edited_);
    bar->addStretch(1);
    for (const PanelToggle& toggle : panelToggles) {
        QToolButton* button = iconButton(toggle.icon, toggle.name, top);
        button->setCheckable(true);
        connect(button, &QToolButton::clicked, this, [this, panel = toggle.panel] {
            togglePanel(workspace_.defaults, panel);
            refresh();
        });
        panelButtons_.push_back(button);
        bar->addWidget(button);
    }
    bar->addSpacing(8);
    zoom_ = label("", TextStyle::value, LabelTone::secondary, top);
    zoom_->setMinimumWidth(44);
    zoom_->setAlignment(Qt::AlignCenter);
    bar->addWidget(zoom_);
    bar->addSpacing(4);
    QPushButton* exporting = wordButton("Export", ButtonRole::primary, top);
    exporting->setIcon(iconPixmap("export", 16, theme().textOnAccent, devicePixelRatioF()));
    exporting->setToolTip("Export MP4...");
    connect(exporting, &QPushButton::clicked, this, [this] { perform(Command::exportMP4); });
    bar->addWidget(exporting);
    return top;
}

void EditorWindow::buildMenus()
{
    menus_ = std::make_unique<Menus>(
        *menuBar_, Menus::Steps{.perform = [this](Command command) { perform(command); },
                                .insert =
                                    [this](const LayerInsertion& insertion) {
                                        sendCommand(Command::insertLayerOfKind, workspace_.center, *this, insertion);
                                    },
                                .recentDocuments = [this] { return workspace_.recents.paths(); },
                                .openDocument = [this](const std::string& path) { workspace_.openDocument(path); }});
}

bool EditorWindow::forwardToTextResponder(Command selector)
{
    auto* line = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    auto* text = qobject_cast<QPlainTextEdit*>(QApplication::focusWidget());
    if (!line && !text) return false;
    switch (selector) {
    case Command::cut: line ? line->cut() : text->cut(); break;
    case Command::copy: line ? line->copy() : text->copy(); break;
    default: line ? line->paste() : text->paste(); break;
    }
    return true;
}

void EditorWindow::perform(Command command)
{
    const CommandInfo& info = commandInfo(command);
    if (info.target == CommandTarget::application) return workspace_.performForApplication(command);
    if (info.notification.empty()) return receive(command, {});
    sendCommand(command, workspace_.center, *this);
}

void EditorWindow::receive(Command command, const LayerInsertion& insertion)
{
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

void EditorWindow::performInWindow(Command command)
{
    switch (command) {
    case Command::closeWindow: close(); return;
    case Command::saveDocument: save(); return;
    case Command::saveDocumentAs: saveAs(); return;
    case Command::revertDocument: revert(); return;
    case Command::exportMP4: return exports_->start();
    case Command::zoomIn: return canvas_->zoomIn();
    case Command::zoomOut: return canvas_->zoomOut();
    case Command::zoomReset: return canvas_->resetZoom();
    case Command::fitSelection: return canvas_->fit(CanvasView::FitTo::selection);
    case Command::togglePlay: return playback_->togglePlay();
    case Command::renameLayer: return layers_->renameSelected();
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
    audio_.sync(withMediaBeside(sound, file_.path()).audio, [](const DocumentAudio& found) -> std::optional<std::string> {
        const std::string path = pathFromURLOrPath(found.urlString);
        return Exporter::fileExists(path) ? std::optional(path) : std::nullopt;
    });
}

void EditorWindow::refresh()
{
    showTitle();
    syncDocumentAudio();
    const bool editsText = qobject_cast<QLineEdit*>(QApplication::focusWidget()) != nullptr;
    CommandContext context{.editsText = editsText};
    if (!exports_->isOpen()) context.front = focusedValues(editor_->state(), editor_->undoManager(), workspace_.styles);
    menus_->refresh(context, workspace_.defaults);
    showPanels();
    zoom_->setText(QString("%1%").arg(static_cast<int>(canvas_->zoom() * 100)));
    canvas_->refresh();
    toast_->refresh();
    layers_->refresh();
    inspector_->refresh();
    timeline_->refresh();
    strip_->refresh();
}

void EditorWindow::showPanels()
{
    QWidget* const panels[] = {layers_, strip_, timeline_, inspector_};
    for (std::size_t i = 0; i < std::size(panelToggles); ++i) {
        const bool isSeen = larkspool::isVisible(workspace_.defaults, panelToggles[i].panel);
        panels[i]->setVisible(isSeen);
        panelButtons_[i]->setChecked(isSeen);
    }
}

void EditorWindow::showTitle()
{
    const bool isEdited = file_.isEdited(editor_->state().document);
    const QString shown = QString::fromStdString(file_.displayName());
    name_->setText(shown);
    edited_->setVisible(isEdited);
    setWindowModified(isEdited);
    setWindowTitle(shown + "[*] — Larkspool");
}

bool EditorWindow::save()
{
    return file_.path().empty() ? saveAs() : write(file_.path());
}

bool EditorWindow::saveAs()
{
    const QString offered = QString::fromStdString(file_.path().empty() ? file_.displayName() + ".larkspool" : file_.path());
    QString path = QFileDialog::getSaveFileName(this, "Save As", offered, fileFilter);
    if (path.isEmpty()) return false;
    if (!path.endsWith(".larkspool")) path += ".larkspool";
    return write(path.toStdString());
}

bool EditorWindow::write(const std::string& path)
{
    editor_->commit().confirmNumericUndoGate();
    try {
        file_.save(editor_->state().document, path);
    } catch (const std::exception& error) {
        QMessageBox::critical(this, "Larkspool", QString("The document could not be saved.\n\n%1").arg(error.what()));
        return false;
    }
    workspace_.recents.note(path);
    refresh();
    return true;
}

bool EditorWindow::revert()
{
    if (!file_.isEdited(editor_->state().document)) return false;
    const auto answer = QMessageBox::question(this, "Larkspool", "Go back to the document as it was last saved?\n\nThis can be undone.");
    if (answer != QMessageBox::Yes) return false;
    editor_->mutate("Revert", [&](TweenScene& scene) { scene = file_.saved().scene(); });
    refresh();
    return true;
}

bool EditorWindow::mayLoseChanges()
{
    if (!file_.isEdited(editor_->state().document)) return true;
    QMessageBox box(QMessageBox::NoIcon, "Larkspool",
                    QString("Do you want to save the changes to “%1”?").arg(QString::fromStdString(file_.displayName())),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText("They are lost if you do not save them.");
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save: return save();
    case QMessageBox::Discard: return true;
    default: return false;
    }
}

void EditorWindow::closeEvent(QCloseEvent* event)
{
    if (!mayLoseChanges()) return event->ignore();
    playback_->setPlaying(false);
    workspace_.center.post(EditorNotification::editorWindowClosing, instanceID_);
    event->accept();
}

void EditorWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (std::exchange(isShown_, true)) return;
    canvas_->fit(CanvasView::FitTo::scene);
}


void EditorWindow::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) workspace_.registry.setPrimaryID(instanceID_);
}

} // namespace larkspool
