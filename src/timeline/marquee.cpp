#include "timeline/marquee.h"

#include "timeline/keyframe_tracks.h"

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

/// Points by which a diamond or a pulse marker may miss the box.
constexpr double markerReach = 6;
constexpr double scrollZone = 36;
/// Seconds in which the deepest zone scrolls one view.
constexpr double secondsPerView = 1.5;

/// Which kinds of row of one layer a box touches.
struct TouchedRows {
    bool spans = false;
    bool videoClip = false;
    bool pulses = false;
    bool keyframes = false;

    void add(PerLayerTrackBand::RowKind kind)
    {
        switch (kind) {
        case PerLayerTrackBand::RowKind::spans: spans = true; break;
        case PerLayerTrackBand::RowKind::videoClip: videoClip = true; break;
        case PerLayerTrackBand::RowKind::pulses: pulses = true; break;
        case PerLayerTrackBand::RowKind::keyframes: keyframes = true; break;
        }
    }
};

enum class Tails { shown, notShown };

/// A box over rows.
class Box {
public:
    Box(CGPoint start, CGPoint end, const TrackMapping& mapping)
        : left_(std::min(start.x, end.x)),
          right_(std::max(start.x, end.x)),
          upper_(std::min(start.y, end.y)),
          lower_(std::max(start.y, end.y)),
          mapping_(mapping)
    {}

    bool touches(const PerLayerTrackBand& band) const { return band.minY <= lower_ && band.maxY >= upper_; }

    void take(const Layer& layer, TouchedRows rows, Tails tails, TimelineSelection& taken) const
    {
        if (rows.spans)
            for (const TimeSpan& span : layer.spans)
                if (meets(span.start, span.end)) taken.insert(TimelineItemRef::span(layer.id, span.id));
        if (const VideoClip* clip = findVideoClip(layer); clip && rows.videoClip && meets(clip->sceneStart, clip->sceneEnd))
            taken.insert(TimelineItemRef::videoClip(layer.id));
        if (rows.keyframes)
            for (const Keyframe& keyframe : layer.keyframes) takeKeyframe(layer, keyframe, tails, taken);
        if (rows.pulses)
            for (const Pulse& pulse : layer.pulses)
                if (isNear(pulse.time)) taken.insert(TimelineItemRef::pulse(layer.id, pulse.id));
    }

private:
    bool meets(double start, double end) const { return mapping_.x(end) >= left_ && mapping_.x(start) <= right_; }
    bool isNear(double time) const
    {
        const double x = mapping_.x(time);
        return left_ - markerReach <= x && x <= right_ + markerReach;
    }
    void takeKeyframe(const Layer& layer, const Keyframe& keyframe, Tails tails, TimelineSelection& taken) const
    {
        if (isNear(keyframe.time)) taken.insert(TimelineItemRef::keyframe(layer.id, keyframe.id));
        if (tails == Tails::shown && KeyframeTracks::offersWaitTail(keyframe) && isNear(keyframe.time + keyframe.wait))
            taken.insert(TimelineItemRef::waitTail(layer.id, keyframe.id));
    }

    double left_;
    double right_;
    double upper_;
    double lower_;
    TrackMapping mapping_;
};

TimelineSelection joined(TimelineSelection taken, const TimelineSelection& before, Modifiers modifiers)
{
    if (modifiers.shift) taken.insert(before.begin(), before.end());
    return taken;
}

} // namespace

TimelineMarquee::TimelineMarquee(const EditorState& state, CGPoint start)
    : start_(start), scene_(state.scene()), index_(scene_), before_(state.timelineSelection)
{}

TimelineSelection TimelineMarquee::applyPerLayerMarquee(CGPoint end, std::span<const UUID> layers, const Rows& rows,
                                                        Modifiers modifiers) const
{
    TimelineSelection taken;
    if (rows.mapping.isUsable()) {
        const Box box(start_, end, rows.mapping);
        std::unordered_map<UUID, TouchedRows> touched;
        for (const PerLayerTrackBand& band : rows.bands)
            if (box.touches(band)) touched[band.layerID].add(band.kind);
        for (const UUID& id : layers) {
            const auto found = touched.find(id);
            const Layer* layer = found == touched.end() ? nullptr : index_.find(scene_, id);
            if (layer) box.take(*layer, found->second, Tails::shown, taken);
        }
    }
    return joined(std::move(taken), before_, modifiers);
}

TimelineSelection TimelineMarquee::applyAggregateMarquee(CGPoint end, const Rows& rows, Modifiers modifiers) const
{
    TimelineSelection taken;
    if (rows.mapping.isUsable()) {
        const Box box(start_, end, rows.mapping);
        TouchedRows touched;
        for (const PerLayerTrackBand& band : rows.bands)
            if (box.touches(band)) touched.add(band.kind);
        walkLayers(scene_.layers, [&](const Layer& layer) { box.take(layer, touched, Tails::notShown, taken); });
    }
    return joined(std::move(taken), before_, modifiers);
}

double marqueeScrollSpeed(double cursorX, double containerWidth, double leftGutter,
                          const std::optional<TimelineViewport>& viewport)
{
    if (!viewport) return 0;
    const double left = leftGutter + trackMargins;
    const double right = left + std::max(containerWidth - left, 1.0);
    const double leftDepth = std::clamp((left + scrollZone - cursorX) / scrollZone, 0.0, 1.0);
    const double rightDepth = std::clamp((cursorX - (right - scrollZone)) / scrollZone, 0.0, 1.0);
    const double fastest = viewport->visibleDuration / secondsPerView;
    return leftDepth > rightDepth ? -fastest * leftDepth : fastest * rightDepth;
}

void MarqueeAutoScroll::updateMarqueeAutoScroll(double speed)
{
    speed_ = speed;
    if (speed == 0)
        timer_.stop();
    else if (!timer_)
        startMarqueeAutoScroll();
}

void MarqueeAutoScroll::startMarqueeAutoScroll()
{
    timer_ = timers_.every(tickSeconds, [this] { scroll_(speed_ * tickSeconds); });
}

void scrollViewport(EditorState& state, double seconds)
{
    const double duration = state.scene().duration;
    if (!(duration * zoomedShare < duration)) return;
    state.viewportStart = heldViewportStart(state.viewportStart + seconds, duration);
}

} // namespace larkspool
