#include "shell/command_routing.h"

#include "canvas/hit_testing.h"
#include "canvas/layer_arrange.h"
#include "canvas/layer_clipboard.h"
#include "canvas/layer_copies.h"
#include "canvas/layer_insertion.h"
#include "canvas/layer_names.h"
#include "canvas/layer_tree_operations.h"
#include "canvas/restacking.h"
#include "canvas/selected_layers.h"
#include "shell/panels.h"
#include "timeline/span_arrange.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace larkspool {

namespace {

/// Whether the layer has a name of a person's own where it could have a derived one.
bool canFollowAgain(const Layer& layer)
{
    return !nameFollowsContent(layer) && derivedLayerName(layer);
}

CommandResult resultOf(bool happened)
{
    return {happened ? CommandResult::Kind::done : CommandResult::Kind::nothingToDo};
}

CommandResult perform(EditorView& editor, std::optional<Edit> edit)
{
    return resultOf(editor.perform(std::move(edit)));
}

CommandResult movePlayhead(EditorView& editor, double seconds)
{
    if (editor.state().playhead == seconds) return resultOf(false);
    editor.setPlayhead(seconds);
    return {};
}

CommandResult toggle(UserDefaults& defaults, Panel panel)
{
    togglePanel(defaults, panel);
    return {};
}

CommandResult deleteSelected(EditorView& editor, const CommandSurroundings& around)
{
    const EditorState& state = editor.state();
    if (!state.timelineSelection.empty()) return resultOf(editor.deleteTimelineSelection());
    return perform(editor, larkspool::deleteSelected(state.scene(), state.selectedLayerIDs, around.beep));
}

CommandResult cut(EditorView& editor, const CommandSurroundings& around)
{
    const TweenScene scene = editor.scene();
    const LayerIDs& selection = editor.state().selectedLayerIDs;
    if (!copySelection(scene, selection, around.pasteboard)) return resultOf(false);
    return perform(editor, larkspool::deleteSelected(scene, selection, around.beep));
}

CommandResult copyStyle(const EditorView& editor, LayerStyleClipboard& styles)
{
    copyProperties(editor.scene(), editor.state().selectedLayerIDs, styles);
    return {};
}

CommandResult selectAllItems(EditorView& editor)
{
    const TimelineSelection before = editor.state().timelineSelection;
    editor.selectAllAtPlayhead();
    return resultOf(editor.state().timelineSelection != before);
}

CommandResult insertLayer(EditorView& editor, const CommandSurroundings& around)
{
    const TweenScene scene = editor.scene();
    const CGPoint center = insertionCenter(scene, around.viewportCenter);
    const LayerInsertion& what = around.insertion;
    if (what.kind == Layer::Kind::cursor) return perform(editor, insertCursorLayer(scene, what.cursorVariant, center));
    return perform(editor, larkspool::insertLayer(scene, what.kind, center, resolvedDefaultFont(editor.defaults())));
}

/// Selects the frontmost layer in the group that is the first selected layer.
CommandResult selectIntoGroup(EditorView& editor)
{
    const TweenScene scene = editor.scene();
    const Layer* group = selectedAnyLayer(scene, editor.state().selectedLayerIDs);
    if (!group || group->children.empty()) return resultOf(false);
    editor.selectLayers({group->children.back().id});
    return {};
}

CommandResult cycleRippleSettings(EditorView& editor)
{
    const TimelineRippleMode before = editorRippleMode(editor.defaults());
    editor.cycleRippleSettings();
    return resultOf(editorRippleMode(editor.defaults()) != before);
}

} // namespace

PrimaryEditorRegistry::PrimaryEditorRegistry(NotificationCenter& center)
    : closing_(center.addObserver(EditorNotification::editorWindowClosing, [this](const Notification& notification) {
          const UUID* closed = notification.as<UUID>();
          if (closed && primaryID_ == *closed) primaryID_.reset();
      }))
{}

FocusedNotificationReceive::FocusedNotificationReceive(NotificationCenter& center, std::string_view name, Environment environment,
                                                       const PrimaryEditorRegistry& primary, NotificationCenter::Receive action)
    : observation_(center.addObserver(
          name, [environment = std::move(environment), &primary, action = std::move(action)](const Notification& notification) {
              if (receives(environment.controlActive(), environment.envInstanceID, primary.primaryID())) action(notification);
          }))
{}

void sendCommand(Command command, const NotificationCenter& center, TextResponder& text, std::any payload)
{
    const CommandInfo& info = commandInfo(command);
    assert(!info.notification.empty());
    if (isForText(command) && text.forwardToTextResponder(command)) return;
    center.post(info.notification, std::move(payload));
}

EditorCommandReceiver::EditorCommandReceiver(NotificationCenter& center,
                                             const FocusedNotificationReceive::Environment& environment,
                                             const PrimaryEditorRegistry& primary, const Receive& receive)
{
    for (const CommandInfo& info : allCommands()) {
        if (info.notification.empty()) continue;
        const auto action = [receive, command = info.command](const Notification& notification) {
            receive(command, notification);
        };
        receivers_.emplace_back(center, info.notification, environment, primary, action);
    }
}

EditorFocusedValues focusedValues(const EditorState& state, const UndoManager& undoManager, const LayerStyleClipboard& styles)
{
    const TweenScene scene = state.scene();
    const LayerIDs& selection = state.selectedLayerIDs;
    EditorFocusedValues values{.selectedSpanCount = selectedSpanCount(scene, state.timelineSelection),
                               .timelineSelectionCount = state.timelineSelection.size(),
                               .selectedLayerCount = selection.size(),
                               .canGroupSelection = canGroupSelection(scene, selection),
                               .canUngroupSelection = canUngroupSelection(scene, selection),
                               .canUndo = undoManager.canUndo(),
                               .canRedo = undoManager.canRedo(),
                               .undoActionName = undoManager.undoActionName(),
                               .redoActionName = undoManager.redoActionName(),
                               .isUndoGroupOpen = undoManager.groupingLevel() > 0};

    ContextActionAvailability& actions = values.contextActions;
    actions.selectedCount = selection.size();
    actions.hasPropertiesClipboard = styles.snapshot.has_value();
    const std::vector<const Layer*> layers = collectSelectedAnywhere(scene.layers, selection);
    if (layers.empty()) return values;

    const Layer& first = *layers.front();
    values.zOrder = zOrderAvailability(first.id, scene);
    actions.primaryKind = first.kind;
    actions.firstIsHidden = first.isHidden;
    actions.firstIsLocked = first.isLocked;
    actions.canResetName = std::ranges::any_of(layers, [](const Layer* layer) { return canFollowAgain(*layer); });
    return values;
}

double steppedPlayhead(const TweenScene& scene, double playhead, int frames)
{
    const double next = playhead + frames / static_cast<double>(std::max<std::int64_t>(scene.fps, 1));
    return std::max(std::min(next, scene.duration), 0.0);
}

std::optional<Edit> resetLayerNames(const TweenScene& scene, const LayerIDs& selection)
{
    std::size_t renamed = 0;
    TweenScene after = scene;
    editSelected(after.layers, selection, [&](Layer& layer) {
        if (!canFollowAgain(layer)) return;
        setNameFollowsContent(layer, /*follows=*/true);
        refreshFollowingName(layer);
        ++renamed;
    });
    if (renamed == 0) return std::nullopt;
    return Edit{.scene = std::move(after), .actionName = renamed == 1 ? "Rename Layer" : "Rename Layers"};
}

CommandResult performCommand(EditorView& editor, Command command, const CommandSurroundings& around)
{
    const EditorState& state = editor.state();
    const EditorFocusedValues values = focusedValues(state, editor.undoManager(), around.styles);
    const CommandAvailability possible = availability(command, {.front = values});
    if (!possible.isEnabled) return {CommandResult::Kind::unavailable, possible.reason};

    const TweenScene scene = state.scene();
    const LayerIDs& selection = state.selectedLayerIDs;
    const double playhead = state.playhead;
    UserDefaults& defaults = editor.defaults();
    const auto align = [&](AlignEdge edge) { return perform(editor, alignSelected(scene, selection, edge, playhead)); };
    const auto distribute = [&](DistributeAxis axis) {
        return perform(editor, distributeSelected(scene, selection, axis, playhead));
    };

    const auto pasteStyle = [&](bool includePositionAndSize) {
        return perform(editor, pasteProperties(scene, selection, around.styles, includePositionAndSize));
    };

    switch (command) {
    case Command::undo: editor.undo(); return {};
    case Command::redo: editor.redo(); return {};

    case Command::cut: return cut(editor, around);
    case Command::copy: return resultOf(copySelection(scene, selection, around.pasteboard));
    case Command::paste: return perform(editor, pasteSelection(scene, around.pasteboard));
    case Command::copyProperties: return copyStyle(editor, around.styles);
    case Command::pasteProperties: return pasteStyle(/*includePositionAndSize=*/false);
    case Command::pastePropertiesPositioned: return pasteStyle(/*includePositionAndSize=*/true);
    case Command::selectAll: return selectAllItems(editor);
    case Command::deleteSelection: return deleteSelected(editor, around);
    case Command::duplicate: return perform(editor, duplicateSelected(scene, selection));
    case Command::insertLayerOfKind: return insertLayer(editor, around);

    case Command::toggleLayers: return toggle(defaults, Panel::layers);
    case Command::toggleInspector: return toggle(defaults, Panel::inspector);
    case Command::toggleTimeline: return toggle(defaults, Panel::timeline);
    case Command::toggleSceneStrip: return toggle(defaults, Panel::sceneStrip);
    case Command::toggleAllChrome: toggleAllChrome(defaults); return {};
    case Command::hideOffCanvas:
        defaults.set(DefaultsKey::hideOffCanvas, !defaults.boolean(DefaultsKey::hideOffCanvas));
        return {};

    case Command::rewind: return movePlayhead(editor, 0);
    case Command::stepBack: return movePlayhead(editor, steppedPlayhead(scene, playhead, -1));
    case Command::stepForward: return movePlayhead(editor, steppedPlayhead(scene, playhead, 1));
    case Command::addKeyframe: return resultOf(editor.addKeyframesAtPlayhead());
    case Command::spanIn: return resultOf(editor.applySpanInOut(InOutPoint::in));
    case Command::spanOut: return resultOf(editor.applySpanInOut(InOutPoint::out));
    case Command::moveToPlayhead: return resultOf(editor.moveToPlayhead());
    case Command::toggleTimelineZoom: editor.setTimelineZoom(!state.zoomedIn); return {};
    case Command::cycleRipple: return cycleRippleSettings(editor);

    case Command::group: return perform(editor, groupSelection(scene, selection));
    case Command::ungroup: return perform(editor, ungroupSelection(scene, selection, playhead));
    case Command::bringToFront: return perform(editor, bringToFront(scene, selection));
    case Command::bringForward: return perform(editor, bringForward(scene, selection));
    case Command::sendBackward: return perform(editor, sendBackward(scene, selection));
    case Command::sendToBack: return perform(editor, sendToBack(scene, selection));
    case Command::alignLeft: return align(AlignEdge::left);
    case Command::alignHCenter: return align(AlignEdge::hCenter);
    case Command::alignRight: return align(AlignEdge::right);
    case Command::alignTop: return align(AlignEdge::top);
    case Command::alignVCenter: return align(AlignEdge::vCenter);
    case Command::alignBottom: return align(AlignEdge::bottom);
    case Command::distributeH: return distribute(DistributeAxis::horizontal);
    case Command::distributeV: return distribute(DistributeAxis::vertical);

    case Command::hideToggle: return perform(editor, toggleHideForSelection(scene, selection));
    case Command::lockToggle: return perform(editor, toggleLockForSelection(scene, selection));
    case Command::resetLayerName: return perform(editor, resetLayerNames(scene, selection));
    case Command::drillIntoGroup: return selectIntoGroup(editor);
    case Command::resetTimeline: return perform(editor, resetTimelineForSelection(scene, selection));

    default: return {CommandResult::Kind::forWindow};
    }
}

} // namespace larkspool
