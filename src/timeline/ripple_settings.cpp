#include "timeline/ripple_settings.h"

#include "timeline/selection.h"

#include <fmt/format.h>

#include <algorithm>

namespace larkspool {

TimelineRippleMode rippleMode(bool pushBefore, bool pushAfter)
{
    using enum TimelineRippleMode;
    if (pushBefore) return pushAfter ? both : before;
    return pushAfter ? after : none;
}

TimelineRippleMode editorRippleMode(const UserDefaults& defaults)
{
    return rippleMode(defaults.boolean(DefaultsKey::ripplePushBefore), defaults.boolean(DefaultsKey::ripplePushAfter));
}

RippleScope editorRippleScope(const UserDefaults& defaults)
{
    return fromFileValue<RippleScope>(defaults.string(DefaultsKey::rippleScope)).value_or(RippleScope::all);
}

std::optional<LayerIDs> editorRippleScopeIDs(const UserDefaults& defaults, const EditorState& state)
{
    if (editorRippleScope(defaults) == RippleScope::all) return std::nullopt;
    if (state.selectedLayerIDs.empty() && state.timelinePinnedLayerIDs.empty()) return std::nullopt;
    return currentTimelineLayerIDs(state);
}

void cycleRippleSettings(UserDefaults& defaults, const EditorState& state)
{
    if (state.timelineSelection.empty() && !state.selectedKeyframeID && !state.selectedSpanID) return;
    const bool before = defaults.boolean(DefaultsKey::ripplePushBefore), after = defaults.boolean(DefaultsKey::ripplePushAfter);
    defaults.set(DefaultsKey::ripplePushBefore, !before);
    defaults.set(DefaultsKey::ripplePushAfter, before != after);
}

std::string rippleToastMessage(std::size_t count)
{
    return fmt::format("Ripple moved {} other {}", count, count == 1 ? "item" : "items");
}

void RippleToast::show(std::size_t count, double now)
{
    if (count == 0) return;
    message_ = rippleToastMessage(count);
    dismissAt_ = now + shownSeconds;
}

std::optional<std::string> RippleToast::message(double now) const
{
    return !message_.empty() && now < dismissAt_ ? std::optional(message_) : std::nullopt;
}

std::optional<InlineRipplePills::Centers> InlineRipplePills::centers(const std::optional<ItemTimes>& bounds, const Row& row)
{
    const TrackMapping mapping{0, row.geoWidth, row.visStart, row.visDur};
    if (!bounds || !mapping.isUsable()) return std::nullopt;

    constexpr double half = side / 2;
    const auto held = [&](double x) { return std::max(std::min(x, row.geoWidth - half), half); };
    const double y = row.rowHeight / 2;
    return Centers{{held(mapping.x(bounds->start) - row.gap - half), y}, {held(mapping.x(bounds->end) + row.gap + half), y}};
}

} // namespace larkspool
