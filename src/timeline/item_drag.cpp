#include "timeline/item_drag.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

using Kind = TimelineItemRef::Kind;

/// The members in the order of the tree.
CapturedItems captureMembers(const TweenScene& scene, const TimelineSelection& members, std::shared_ptr<const LayerIndex> index)
{
    CapturedItems captured(std::move(index));
    LayerIndex::Place place = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        const LayerIndex::Place here = place++;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
            if (members.contains(ref)) captured.add(here, CapturedItem::of(layer, ref, times), position);
        });
    });
    return captured;
}

TimelineSelection setOf(const std::vector<TimelineItemRef>& members)
{
    return {members.begin(), members.end()};
}

void insertItems(const CapturedItems& items, TimelineSelection& into)
{
    for (std::size_t i = 0; i < items.size(); ++i) into.insert(items[i].ref);
}

bool holdsKind(const CapturedItems& items, Kind kind)
{
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].ref.kind == kind) return true;
    return false;
}

} // namespace

TimelineItemDrag::TimelineItemDrag(DragPress press, DragSetting setting)
    : press_(std::move(press)), setting_(std::move(setting)), limits_(DragLimits::of(setting_.scene))
{
    std::erase_if(press_.members, [&](const TimelineItemRef& ref) { return !timesOf(setting_.scene, ref); });
    if (press_.members.empty()) return;
    if (rules().move.one.empty()) press_.handle = DragHandle::rightEdge;
    if (rules().trim.one.empty()) press_.handle = DragHandle::body;
}

std::vector<TimelineItemRef> TimelineItemDrag::tappedMembers() const
{
    return press_.members;
}

bool TimelineItemDrag::canBegin() const
{
    if (press_.members.empty() || !(setting_.visibleSeconds > 0) || !std::isfinite(setting_.trackWidth)) return false;
    return setting_.trackWidth > 0 || rules().noWidth == DragRules::NoWidth::onePoint;
}

std::optional<TimelineItemDrag::Update> TimelineItemDrag::update(CGPoint translation, Modifiers modifiers)
{
    if (!std::isfinite(translation.x) || !std::isfinite(translation.y)) return std::nullopt;
    if (!drag_) {
        if (!canBegin() || deadZone(rules().kind, press_.handle, setting_.bodyTrigger).holds(translation)) return std::nullopt;
        begin(translation);
    }
    const double dt = seconds(translation.x - drag_->triggerTranslation);
    if (!std::isfinite(dt)) return std::nullopt;
    // Back at the beginning nothing has moved, on whatever grid the item stands.
    if (dt == 0) return Update{setting_.scene, std::nullopt};

    const Destination to = destination(dt, modifiers);
    return Update{sceneWithEdgeAt(to.edge), to.line};
}

void TimelineItemDrag::begin(CGPoint translation)
{
    const DragHandle handle = press_.handle;
    index_ = std::make_shared<const LayerIndex>(setting_.scene);
    selectPressed();

    const TimelineSelection members = setOf(press_.members);
    CapturedItems captured = captureMembers(setting_.scene, members, index_);
    CapturedItem reference = captured[0];
    for (std::size_t i = 0; i < captured.size(); ++i)
        if (captured[i].ref == press_.members.front()) reference = captured[i];

    Drag drag{.members = std::move(captured), .reference = reference};
    if (handle == DragHandle::body)
        drag.others = captureCrossTrackSnapshot(setting_.selection, members, setting_.scene, index_);
    else if (rules().trims == DragRules::Trims::selection)
        drag.trimmedOthers = captureTrimmedOthers();
    drag.ripple.scopeLayerIDs = setting_.rippleScope;
    drag.ripple.capture(setting_.scene, rippleExclusions(), setting_.rippleMode, edgeOf(reference, handle), index_);
    drag.snap = makeSnap(drag);
    // A span's body does not jump by the points that told the drag from a tap.
    if (rules().kind == Kind::span && handle == DragHandle::body) drag.triggerTranslation = translation.x;
    drag_ = std::move(drag);
}

void TimelineItemDrag::selectPressed()
{
    const bool allSelected =
        std::ranges::all_of(press_.members, [&](const TimelineItemRef& ref) { return setting_.selection.contains(ref); });
    if (allSelected) return;
    if (!press_.modifiers.shift && !press_.modifiers.command) setting_.selection.clear();
    setting_.selection.insert(press_.members.begin(), press_.members.end());
}

CapturedItems TimelineItemDrag::captureTrimmedOthers() const
{
    const TimelineSelection members = setOf(press_.members);
    TimelineSelection others;
    for (const TimelineItemRef& ref : setting_.selection)
        if (ref.kind == rules().kind && !members.contains(ref)) others.insert(ref);
    return captureMembers(setting_.scene, others, index_);
}

TimelineSelection TimelineItemDrag::rippleExclusions() const
{
    TimelineSelection excluded = setting_.selection; // The pressed items are among them.
    // The keyframe whose hold is stretched stays where it is.
    for (const TimelineItemRef& ref : press_.members)
        if (ref.kind == Kind::waitTail) excluded.insert(TimelineItemRef::keyframe(ref.layerID, ref.itemID));
    return excluded;
}

TimelineSelection TimelineItemDrag::travelling(const Drag& drag) const
{
    TimelineSelection moved;
    insertItems(drag.members, moved);
    insertItems(drag.others.items, moved);
    insertItems(drag.trimmedOthers, moved);
    if (drag.ripple.snapshot) insertItems(drag.ripple.snapshot->items, moved);
    for (const TimelineItemRef& ref : press_.members)
        if (ref.kind == Kind::waitTail) moved.insert(TimelineItemRef::keyframe(ref.layerID, ref.itemID));
    return moved;
}

TimeSnap TimelineItemDrag::makeSnap(const Drag& drag) const
{
    const SnapMember member = press_.row == DragRow::layer ? rules().snapMember : rules().aggregateSnapMember;
    return TimeSnap(setting_.scene, setting_.playhead, setting_.snapping, member, press_.members.front().layerID,
                    travelling(drag), {setting_.trackWidth, setting_.scene.duration, setting_.visibleSeconds});
}

double TimelineItemDrag::seconds(double points) const
{
    const double width =
        rules().noWidth == DragRules::NoWidth::onePoint ? std::max(setting_.trackWidth, 1.0) : setting_.trackWidth;
    return points / width * setting_.visibleSeconds;
}

double TimelineItemDrag::heldBeforeSnap(double edge) const
{
    switch (rules().heldBeforeSnap) {
    case DragRules::HeldBeforeSnap::no: break;
    case DragRules::HeldBeforeSnap::withinScene: return heldEdge(drag_->reference, press_.handle, edge, limits_);
    case DragRules::HeldBeforeSnap::atNoLength: return std::max(edge, drag_->reference.times.start);
    }
    return edge;
}

TimelineItemDrag::Destination TimelineItemDrag::destination(double seconds, Modifiers modifiers) const
{
    const DragHandle handle = press_.handle;
    const CapturedItem& reference = drag_->reference;
    const double edge = heldBeforeSnap(edgeOf(reference, handle) + seconds);
    std::optional<double> line;
    bool toItem = false;
    double snapped = edge;
    if (handle == DragHandle::body && reference.length() != 0) {
        if (const auto body = drag_->snap->snapBody(edge, reference.length(), modifiers)) {
            snapped = body->start;
            line = body->line;
            toItem = body->toItem;
        }
    } else if (const auto point = drag_->snap->snap(edge, modifiers)) {
        snapped = point->time;
        line = point->time;
        toItem = point->toItem;
    }
    if (!toItem && rules().grid == DragRules::Grid::ignored) snapped = edge;
    if (!toItem && rules().line == DragRules::Line::atTargets) line.reset();
    return {closestHeldEdge(snapped), line};
}

double TimelineItemDrag::heldMemberEdge(const CapturedItem& member, double edge) const
{
    const double begun = edgeOf(drag_->reference, press_.handle), own = edgeOf(member, press_.handle);
    // What began with the pointer's item ends with it, to the last bit.
    return heldEdge(member, press_.handle, own == begun ? edge : own + (edge - begun), limits_);
}

double TimelineItemDrag::closestHeldEdge(double edge) const
{
    const double begun = edgeOf(drag_->reference, press_.handle), asked = edge - begun;
    double closest = heldMemberEdge(drag_->reference, edge);
    for (std::size_t i = 0; i < drag_->members.size(); ++i) {
        const CapturedItem& member = drag_->members[i];
        const double held = heldMemberEdge(member, edge), own = edgeOf(member, press_.handle);
        if (std::abs(held - own - asked) >= std::abs(closest - begun - asked)) continue;
        closest = own == begun ? held : begun + (held - own);
    }
    return closest;
}

TweenScene TimelineItemDrag::sceneWithEdgeAt(double edge)
{
    const DragHandle handle = press_.handle;
    const double begun = edgeOf(drag_->reference, handle), delta = edge - begun;
    if (delta == 0) return setting_.scene;

    TweenScene scene = setting_.scene;
    const auto trimmedOrMoved = [&](const CapturedItem& item) { return withEdge(item, handle, heldMemberEdge(item, edge)); };
    drag_->members.write(scene, trimmedOrMoved);
    drag_->trimmedOthers.write(scene, trimmedOrMoved);
    applyCrossTrackDrag(drag_->others, delta, limits_.duration, scene);
    drag_->ripple.apply(delta, scene);
    return scene;
}

std::string_view TimelineItemDrag::actionName() const
{
    const DragRules::Names& names = press_.handle == DragHandle::body ? rules().move : rules().trim;
    if (press_.row == DragRow::aggregate) return names.many;
    if (rules().namesMany == DragRules::NamesMany::never) return names.one;
    return !drag_->trimmedOthers.empty() || holdsKind(drag_->others.items, rules().kind) ? names.many : names.one;
}

std::optional<std::size_t> TimelineItemDrag::end()
{
    return drag_ ? std::exchange(drag_, std::nullopt)->ripple.clear() : std::nullopt;
}

} // namespace larkspool
