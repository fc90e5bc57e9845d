#pragma once

#include "editing/editor_state.h"
#include "platform/user_defaults.h"
#include "timeline/ripple_state.h"

#include <optional>
#include <string>

namespace larkspool {

/// Which layers take part in ripple.
enum class RippleScope { all, current };

template <>
struct EnumTable<RippleScope> {
    using enum RippleScope;
    static constexpr EnumCase<RippleScope> cases[] = {{all, "all", "All Layers"}, {current, "current", "Current in Timeline"}};
};

/// The mode that the two push switches give together.
TimelineRippleMode rippleMode(bool pushBefore, bool pushAfter);

/// @name As the settings have them.
/// @{
TimelineRippleMode editorRippleMode(const UserDefaults& defaults);
RippleScope editorRippleScope(const UserDefaults& defaults); ///< An unknown value counts as `all`.
/// @}

/// The layers that take part: absent for all of them, which is also what "Current in Timeline" means with nothing shown.
std::optional<LayerIDs> editorRippleScopeIDs(const UserDefaults& defaults, const EditorState& state);

/// Goes on to the next of off, before, after, both, if an item of the timeline is selected; otherwise nothing happens.
void cycleRippleSettings(UserDefaults& defaults, const EditorState& state);

/// What the toast says of that many rippled items, 1 or more.
std::string rippleToastMessage(std::size_t count);

/// The message that tells for a moment how many items a drag has rippled. The clock is passed in, in seconds.
class RippleToast {
public:
    static constexpr double shownSeconds = 1.6;

    /// Begins the moment anew if a message is showing.
    void show(std::size_t count, double now);
    /// Nothing when the moment is over.
    std::optional<std::string> message(double now) const;

private:
    std::string message_;
    double dismissAt_ = 0;
};

/// Hides the ripple pills during a burst of edits, until 0.3 seconds after the last.
class RippleHandleSuppressor {
public:
    static constexpr double quietSeconds = 0.3;

    void suppress(double now) { hiddenUntil_ = now + quietSeconds; }
    bool hidden(double now) const { return now < hiddenUntil_; }

private:
    double hiddenUntil_ = -1;
};

/// The two small round buttons beside the selection on the timeline that switch ripple for the items before and after.
namespace InlineRipplePills {

inline constexpr double side = 18; ///< Points.

/// The part of the timeline that is seen, and the row that the pills lie in. Lengths are points.
struct Row {
    double visStart = 0; ///< Seconds.
    double visDur = 0;   ///< Seconds.
    double geoWidth = 0;
    double rowHeight = 0;
    double gap = 0; ///< Between a pill and its end of the selection.
};

/// The centres of the two pills, in the row.
struct Centers {
    CGPoint before;
    CGPoint after;
};

/// Each pill stands outside its end of the selection, and is held within the row. Nothing without bounds, which are the
/// selection's start and end, or in a row that shows no time.
std::optional<Centers> centers(const std::optional<ItemTimes>& bounds, const Row& row);

} // namespace InlineRipplePills

} // namespace larkspool
