#pragma once

#include "editing/scene_lookup.h"
#include "views/timeline_view.h"
#include "views/window_test.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

// A timeline 1,216 wide, of a scene of 10 seconds: time zero stands at 200, and 100 pixels are a second. Above the rows lie 40
// pixels of controls and 24 of the rail. The grid is that of the frames, 60 a second.

namespace larkspool {

inline UUID idOf(std::uint64_t number)
{
    return {0, number};
}

inline const UUID layerID = idOf(1), otherID = idOf(2);
inline const TimelineItemRef firstSpan = TimelineItemRef::span(layerID, idOf(11));
inline const TimelineItemRef secondSpan = TimelineItemRef::span(layerID, idOf(12));
inline const TimelineItemRef pulse = TimelineItemRef::pulse(layerID, idOf(13));
inline const TimelineItemRef keyframe = TimelineItemRef::keyframe(layerID, idOf(14));
inline const TimelineItemRef tail = TimelineItemRef::waitTail(layerID, idOf(14));
inline const TimelineItemRef otherSpan = TimelineItemRef::span(otherID, idOf(21));

/// Where the rows of the layer lie when it is selected: its spans, its pulses and its keyframes of x. 18 high, 20 apart.
inline constexpr int spansY = 79, pulsesY = 99, keyframesY = 119;

/// The pixel of a time.
inline constexpr int xOf(double time)
{
    return static_cast<int>(200 + 100 * time);
}

/// Layer 1: spans 1–3 and 5–6, a pulse at 4, keyframes of x at 2, which waits for 1 second, and at 8. Layer 2: a span 1–3.
inline TweenScene makeScene()
{
    Layer first{.id = layerID};
    first.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 3}, TimeSpan{.id = idOf(12), .start = 5, .end = 6}};
    first.pulses = {Pulse{.id = idOf(13), .time = 4}};
    first.keyframes = {Keyframe{.id = idOf(14), .time = 2, .value = 10.0, .wait = 1},
                       Keyframe{.id = idOf(15), .time = 8, .value = 20.0}};
    Layer second{.id = otherID};
    second.spans = {TimeSpan{.id = idOf(21), .start = 1, .end = 3}};
    TweenScene scene{.id = idOf(100), .duration = 10};
    scene.layers = {second, first};
    return scene;
}

/// The view in a window of its own.
class TimelineViewTest : public testing::Test {
protected:
    explicit TimelineViewTest(TweenScene scene = makeScene())
        : before_(scene), editor_(std::move(scene)), view_(editor_.context([this] { view_.refresh(); }), nullptr)
    {
        view_.resize(1216, 304);
        hand_ = std::make_unique<Hand>(view_);
    }

    EditorView& editor() { return *editor_.editor; }
    const EditorState& state() { return editor().state(); }
    ItemTimes times(const TimelineItemRef& ref) { return timesOf(editor().scene(), ref).value_or(ItemTimes{-1, -1}); }
    Hand& hand() { return *hand_; }
    QWidget& rows() { return *view_.findChild<QWidget*>("timelineTracks"); }

    /// The layer has rows of its own.
    void showLayer()
    {
        editor().selectLayers({layerID});
        view_.refresh();
    }
    void expectTimes(const TimelineItemRef& ref, ItemTimes expected)
    {
        EXPECT_NEAR(times(ref).start, expected.start, 1e-9);
        EXPECT_NEAR(times(ref).end, expected.end, 1e-9);
    }
    void expectOneStep(const std::string& name)
    {
        EXPECT_EQ(editor().undoManager().undoActionName(), name);
        EXPECT_EQ(editor().undoManager().undoCount(), 1u);
        editor().undo();
        EXPECT_EQ(editor().scene(), before_);
    }

    TweenScene before_;
    EditorForViews editor_;
    TimelineView view_;
    std::unique_ptr<Hand> hand_;
};

} // namespace larkspool
