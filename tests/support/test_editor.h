#pragma once

#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "shell/editor_view.h"
#include "support/fake_timers.h"
#include "support/memory_user_defaults.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// An editor that is used by hand, with a clock that is set by hand: press, move, release, look.
///
///     TestEditor editor(scene);
///     editor.press(span).moveBy(0.7).moveBy(-0.7).release();
///     EXPECT_EQ(editor.scene(), scene);
///
/// Movements are told in seconds: the track is 1,000 points wide. A press on a span's body has to stray by 3 points before it
/// is a drag; the hand does that first, and counts from there.
class TestEditor {
public:
    static constexpr double trackWidth = 1000;
    static constexpr double bodyTrigger = 3;

    explicit TestEditor(TweenScene scene) { load(std::move(scene)); }

    EditorView& view() { return *view_; }
    const EditorState& state() const { return view_->state(); }
    TweenScene scene() const { return view_->scene(); }
    std::optional<ItemTimes> times(const TimelineItemRef& ref) const { return timesOf(scene(), ref); }
    std::optional<double> snapTime() const { return view_->snapState().time; }
    std::string undoName() { return view_->undoManager().undoActionName(); }
    std::size_t undoCount() { return view_->undoManager().undoCount(); }
    FakeTimers& timers() { return timers_; }
    /// How many items the drags have told to have rippled, one number for each drag that did.
    const std::vector<std::size_t>& rippled() const { return rippled_; }

    TestEditor& ripple(bool before, bool after)
    {
        defaults_.set(DefaultsKey::ripplePushBefore, before);
        defaults_.set(DefaultsKey::ripplePushAfter, after);
        return *this;
    }
    TestEditor& setting(std::string_view key, UserDefaults::Value value)
    {
        defaults_.set(key, std::move(value));
        return *this;
    }
    TestEditor& playhead(double seconds)
    {
        view_->setPlayhead(seconds);
        return *this;
    }
    TestEditor& select(TimelineSelection items)
    {
        view_->selectTimelineItems(std::move(items));
        return *this;
    }
    /// Modifier keys are down from here on.
    TestEditor& hold(Modifiers modifiers)
    {
        held_ = modifiers;
        return *this;
    }

    TestEditor& press(const TimelineItemRef& item, DragHandle handle = DragHandle::body)
    {
        return press({.members = {item}, .handle = handle});
    }
    /// A bar or marker of an aggregate row.
    TestEditor& pressGroup(std::vector<TimelineItemRef> members, DragHandle handle = DragHandle::body)
    {
        return press({.members = std::move(members), .handle = handle, .row = DragRow::aggregate});
    }
    TestEditor& press(DragPress press)
    {
        press.modifiers = held_;
        const bool straysFirst = press.members.front().kind == TimelineItemRef::Kind::span && press.handle == DragHandle::body;
        takeHold_ = straysFirst ? bodyTrigger : 0;
        hasHold_ = !straysFirst;
        way_ = 0;
        pointsPerSecond_ = trackWidth / shownViewport(activeViewport(state()), scene().duration).visibleDuration;
        view_->pressTimelineItems(std::move(press), trackWidth, bodyTrigger);
        return *this;
    }
    /// The pointer goes to so many seconds from where it took hold.
    TestEditor& moveTo(double seconds)
    {
        way_ = seconds;
        if (!hasHold_) view_->dragTimelineItems({takeHold_, 0}, held_);
        hasHold_ = true;
        return movePoints(takeHold_ + seconds * pointsPerSecond_);
    }
    TestEditor& moveBy(double seconds) { return moveTo(way_ + seconds); }
    /// The pointer goes to so many points from the press.
    TestEditor& movePoints(double x, double y = 0)
    {
        view_->dragTimelineItems({x, y}, held_);
        return *this;
    }
    TestEditor& release()
    {
        view_->releaseTimelineItems(held_);
        return *this;
    }
    TestEditor& tap(const TimelineItemRef& item) { return press(item).release(); }

    TestEditor& perform(std::optional<Edit> edit)
    {
        view_->perform(std::move(edit));
        return *this;
    }
    TestEditor& undo()
    {
        view_->undo();
        return *this;
    }
    TestEditor& redo()
    {
        view_->redo();
        return *this;
    }

private:
    void load(TweenScene scene)
    {
        Interpolation::invalidate(); // Tests use the same ids for different layers.
        TweenDocument document;
        document.setScene(std::move(scene));
        view_.emplace(std::move(document),
                      EditorView::Services{.defaults = defaults_,
                                           .timers = timers_,
                                           .steps = {.invalidate = [] { Interpolation::invalidate(); }},
                                           .rippleApplied = [this](std::size_t count) { rippled_.push_back(count); }});
    }

    MemoryUserDefaults defaults_;
    FakeTimers timers_;
    std::vector<std::size_t> rippled_;
    std::optional<EditorView> view_;
    Modifiers held_{};
    double takeHold_ = 0;
    bool hasHold_ = true;
    double way_ = 0;
    double pointsPerSecond_ = 1;
};

} // namespace larkspool
