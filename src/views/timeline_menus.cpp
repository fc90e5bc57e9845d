#include "views/timeline_menus.h"

#include "editing/scene_lookup.h"
#include "shell/command_routing.h"
#include "timeline/keyframe_tracks.h"
#include "timeline/pulses_track.h"
#include "timeline/selection.h"
#include "timeline/snap.h"

#include <QMenu>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

using MakeEdit = std::function<std::optional<Edit>()>;
using CarryOut = std::function<void(const EditorContext& context, std::optional<Edit> edit)>;

void performPlain(const EditorContext& context, std::optional<Edit> edit)
{
    context.editor.perform(std::move(edit));
}

/// An entry that makes an edit. It is disabled where there is nothing to do; `make` is asked again when it is chosen.
void addEdit(QMenu& menu, const EditorContext& context, const QString& title, MakeEdit make, std::string_view otherwise = {},
             CarryOut carryOut = performPlain)
{
    QAction* action = menu.addAction(title);
    action->setEnabled(make().has_value());
    if (!action->isEnabled() && !otherwise.empty()) action->setToolTip(text(otherwise));
    QObject::connect(action, &QAction::triggered, action, [context, make = std::move(make), carryOut = std::move(carryOut)] {
        carryOut(context, make());
        context.changed();
    });
}

void addCommand(QMenu& menu, const EditorContext& context, Command command)
{
    const CommandInfo& info = commandInfo(command);
    const CommandAvailability available = availability(
        command, {.front = focusedValues(context.editor.state(), context.editor.undoManager(), LayerStyleClipboard{})});
    QAction* action = menu.addAction(text(info.title));
    if (info.shortcut) action->setText(text(info.title) + '\t' + QString::fromStdString(portableText(*info.shortcut)));
    action->setEnabled(available.isEnabled);
    action->setToolTip(text(available.reason));
    QObject::connect(action, &QAction::triggered, action, [context, command] { context.perform(command); });
}

/// What `after` has and `before` has not. Of a keyframe with a wait, the diamond alone.
std::vector<TimelineItemRef> addedItems(const TweenScene& before, const TweenScene& after)
{
    TimelineSelection old;
    walkLayers(before.layers, [&](const Layer& layer) {
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes, std::size_t) { old.insert(ref); });
    });
    std::vector<TimelineItemRef> added;
    walkLayers(after.layers, [&](const Layer& layer) {
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes, std::size_t) {
            if (ref.kind != TimelineItemRef::Kind::waitTail && !old.contains(ref)) added.push_back(ref);
        });
    });
    return added;
}

void selectAllSpans(const EditorContext& context)
{
    const TweenScene scene = context.editor.scene();
    const LayerIDs shown = currentTimelineLayerIDs(context.editor.state());
    TimelineSelection spans;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (!shown.empty() && !shown.contains(layer.id)) return;
        for (const TimeSpan& span : layer.spans) spans.insert(TimelineItemRef::span(layer.id, span.id));
    });
    context.editor.selectTimelineItems(std::move(spans));
    context.changed();
}

void addSpanEntries(QMenu& menu, const EditorContext& context, const TimelineItemRef& span)
{
    menu.addAction(text(SpansTrack::copyMenuEntry), [context, span] { copySpan(context.editor.scene(), span, spanClipboard()); });
    addEdit(menu, context, text(SpansTrack::pasteMenuEntry), [context, span] {
        return pasteSpan(context.editor.scene(), context.editor.state().timelineSelection, spanClipboard(), span);
    });
    menu.addSeparator();
    addCommand(menu, context, Command::spanIn);
    addCommand(menu, context, Command::spanOut);
    menu.addSeparator();
}

void addItemEntries(QMenu& menu, const EditorContext& context, const TimelineMenuPlace& place)
{
    const auto isOf = [&](TimelineItemRef::Kind kind) { return place.members.front().kind == kind; };
    if (isOf(TimelineItemRef::Kind::span)) addSpanEntries(menu, context, place.members.front());
    for (const Command command : {Command::moveToPlayhead, Command::showMoveModal, Command::showDilateModal})
        addCommand(menu, context, command);
    if (isOf(TimelineItemRef::Kind::span))
        for (const Command command : {Command::distributeSpans, Command::staggerSpans}) addCommand(menu, context, command);
    addEdit(menu, context, "Order Layers by Start Time", [context] {
        const TweenScene scene = context.editor.scene();
        const TimelineSelection& selection = context.editor.state().timelineSelection;
        return affectedLayerCount(scene, selection) < 2 ? std::nullopt : orderLayersByStartTime(scene, selection);
    });
    menu.addSeparator();
    const std::optional<Edit> deletion = deleteTimelineSelection(context.editor.state());
    addEdit(menu, context, deletion ? QString::fromStdString(deletion->actionName) : QString("Delete"),
            [context] { return deleteTimelineSelection(context.editor.state()); });
}

/// Where entries add an item to a layer.
struct AddingPlace {
    QString words;
    double time = 0; ///< Seconds.
};

std::optional<Edit> addSpanHere(const TweenScene& scene, const UUID& layerID, double time)
{
    const Layer* layer = findLayer(scene, layerID);
    const bool isTaken = layer && std::ranges::any_of(layer->spans, [&](const TimeSpan& span) { return span.contains(time); });
    return isTaken ? std::nullopt : SpansTrack::addSpanAtPlayhead(scene, layerID, time);
}

void addPointEntries(QMenu& menu, const EditorContext& context, const UUID& layerID, const TimelineMenuPlace& place,
                     const AddingPlace& at)
{
    addEdit(
        menu, context, "Add Pulse " + at.words,
        [context, layerID, time = at.time] { return PulsesTrack::addPulse(context.editor.scene(), layerID, time); }, {},
        performAdding);
    if (place.property)
        addEdit(
            menu, context, "Add " + text(displayName(*place.property)) + " Keyframe " + at.words,
            [context, layerID, time = at.time, property = *place.property] {
                return addKeyframeAtPlayhead(context.editor.scene(), layerID, property, time);
            },
            {}, performAdding);
    menu.addSeparator();
}

/// The time on the grid that is nearest to the pointer.
double timeOnGrid(const EditorContext& context, double time)
{
    const PlayheadSnapMode grid = SnapSettings::of(context.editor.defaults()).grid;
    return scrubbedPlayhead(time, grid, context.editor.scene(), {});
}

void addRowEntries(QMenu& menu, const EditorContext& context, const UUID& layerID, const TimelineMenuPlace& place)
{
    const double playhead = context.editor.state().playhead;
    if (place.time) {
        const AddingPlace here{"Here", timeOnGrid(context, *place.time)};
        addEdit(
            menu, context, "Add Span Here",
            [context, layerID, time = here.time] { return addSpanHere(context.editor.scene(), layerID, time); },
            "A visibility span of this layer is here already", performAdding);
        addPointEntries(menu, context, layerID, place, here);
    }
    addEdit(
        menu, context, "Add Span at Playhead",
        [context, layerID, playhead] { return SpansTrack::addSpanAtPlayhead(context.editor.scene(), layerID, playhead); },
        SpansTrack::playheadInsideHelp, performAdding);
    addPointEntries(menu, context, layerID, place, {"at Playhead", playhead});
    addEdit(menu, context, text(SpansTrack::pasteMenuEntry), [context, layerID, time = place.time.value_or(playhead)] {
        return pasteSpanAt(context.editor.scene(), layerID, time, spanClipboard());
    });
    menu.addSeparator();
    const bool isPinned = context.editor.state().timelinePinnedLayerIDs.contains(layerID);
    menu.addAction(isPinned ? "Unpin from Timeline" : "Pin to Timeline", [context, layerID, isPinned] {
        LayerIDs pinned = context.editor.state().timelinePinnedLayerIDs;
        if (isPinned)
            pinned.erase(layerID);
        else
            pinned.insert(layerID);
        context.editor.pinTimelineLayers(std::move(pinned));
        context.changed();
    });
}

} // namespace

void performAdding(const EditorContext& context, std::optional<Edit> edit)
{
    if (!edit) return;
    const std::vector<TimelineItemRef> added = addedItems(context.editor.scene(), edit->scene);
    if (context.editor.perform(std::move(edit)) && !added.empty()) context.editor.tapTimelineItems(added, {});
}

SpanClipboard& spanClipboard()
{
    static SpanClipboard clipboard;
    return clipboard;
}

void fillTimelineMenu(QMenu& menu, const EditorContext& context, const TimelineMenuPlace& place)
{
    menu.setToolTipsVisible(true);
    if (!place.members.empty()) return addItemEntries(menu, context, place);
    if (place.layerID) {
        addRowEntries(menu, context, *place.layerID, place);
        menu.addSeparator();
    }
    menu.addAction("Select All Spans", [context] { selectAllSpans(context); });
    menu.addAction("Select All at Playhead", [context] {
        context.editor.selectAllAtPlayhead();
        context.changed();
    });
}

} // namespace larkspool
