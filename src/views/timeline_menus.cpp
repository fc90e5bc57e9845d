#include "views/timeline_menus.h"

#include "shell/command_routing.h"
#include "timeline/keyframe_tracks.h"
#include "timeline/pulses_track.h"
#include "timeline/selection.h"

#include <QMenu>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

/// An entry that makes an edit. It is disabled where there is nothing to do; `make` is asked again when it is chosen.
void addEdit(QMenu& menu, const EditorContext& context, const QString& title, std::function<std::optional<Edit>()> make,
             std::string_view otherwise = {})
{
    QAction* action = menu.addAction(title);
    action->setEnabled(make().has_value());
    if (!action->isEnabled() && !otherwise.empty()) action->setToolTip(text(otherwise));
    QObject::connect(action, &QAction::triggered, action, [context, make = std::move(make)] {
        context.editor.perform(make());
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

void addRowEntries(QMenu& menu, const EditorContext& context, const UUID& layerID, const TimelineMenuPlace& place)
{
    addEdit(
        menu, context, "Add Span",
        [context, layerID] {
            return SpansTrack::addSpanAtPlayhead(context.editor.scene(), layerID, context.editor.state().playhead);
        },
        SpansTrack::playheadInsideHelp);
    addEdit(menu, context, "Add Pulse", [context, layerID] {
        return PulsesTrack::addPulse(context.editor.scene(), layerID, context.editor.state().playhead);
    });
    if (place.property)
        addEdit(menu, context, "Add " + text(displayName(*place.property)) + " Keyframe",
                [context, layerID, property = *place.property] {
                    return addKeyframeAtPlayhead(context.editor.scene(), layerID, property, context.editor.state().playhead);
                });
    menu.addSeparator();
    addEdit(menu, context, text(SpansTrack::pasteMenuEntry), [context, layerID, time = place.time] {
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
    menu.addAction("Select All at Playhead", [context] {
        context.editor.selectAllAtPlayhead();
        context.changed();
    });
}

} // namespace larkspool
