#include "views/timeline_gutter.h"

#include "timeline/pulses_track.h"
#include "timeline/span_edits.h"

#include <algorithm>
#include <string_view>

namespace larkspool::TimelineGutter {

namespace {

using namespace TimelineMeasures;
using Kind = GutterControl::Kind;

constexpr double side = 16, firstLeft = 6, addLeft = 145, lastLeft = 165, diamondMiddle = 174.5;

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

} // namespace

std::vector<GutterControl> controls(const TimelineLayout& layout, const TimelineRow& row)
{
    if (!row.layer) return {};
    const auto at = [&](double left) { return QRectF(left, row.top + (rowHeight - side) / 2, side, side); };
    switch (row.kind) {
    case TimelineRow::Kind::spans: {
        const TimelineBlock& block = layout.blockOf(row);
        std::vector<GutterControl> controls;
        if (block.canFold) controls.push_back({Kind::fold, at(firstLeft + groupIndent * static_cast<double>(block.depth))});
        controls.push_back({Kind::addSpan, at(addLeft)});
        controls.push_back({Kind::pin, at(lastLeft)});
        return controls;
    }
    case TimelineRow::Kind::videoClip: return {};
    case TimelineRow::Kind::pulses: return {{Kind::addPulse, at(lastLeft)}};
    case TimelineRow::Kind::keyframes: return {{Kind::addKeyframe, at(diamondMiddle - side / 2)}};
    }
    return {};
}

std::optional<GutterControl> control(const TimelineLayout& layout, const TimelineRow& row, GutterControl::Kind kind)
{
    for (const GutterControl& control : controls(layout, row))
        if (control.kind == kind) return control;
    return std::nullopt;
}

GutterPlace place(const TimelineRow& row, const GutterControl& control)
{
    return {row.layer->id, control.kind, control.kind == Kind::addKeyframe ? row.property : GutterPlace{}.property};
}

const TimelineRow* rowOf(const TimelineLayout& layout, const GutterPlace& wanted)
{
    for (const TimelineRow& row : layout.rows()) {
        if (!row.layer || row.layer->id != wanted.layerID) continue;
        if (const auto found = control(layout, row, wanted.kind); found && place(row, *found) == wanted) return &row;
    }
    return nullptr;
}

QString help(const TimelineLayout& layout, const TimelineRow& row, GutterControl::Kind kind, double playhead)
{
    const TimelineBlock& block = layout.blockOf(row);
    switch (kind) {
    case Kind::fold: return block.isFolded ? "Show All Rows" : "Show Spans Only";
    case Kind::addSpan: {
        const auto holdsPlayhead = [&](const TimeSpan& span) { return span.contains(playhead); };
        return std::ranges::any_of(row.layer->spans, holdsPlayhead) ? text(SpansTrack::playheadInsideHelp)
                                                                    : QString("Add visibility span at playhead");
    }
    case Kind::pin: return block.isPinned ? "Unpin from Timeline" : "Pin to Timeline";
    case Kind::addPulse: return text(PulsesTrack::addHelp);
    case Kind::addKeyframe: return "Add " + text(displayName(row.property)) + " keyframe at playhead";
    }
    return {};
}

} // namespace larkspool::TimelineGutter
