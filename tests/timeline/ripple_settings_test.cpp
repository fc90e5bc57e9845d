#include "timeline/ripple_settings.h"

#include "support/memory_user_defaults.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

EditorState stateOf(TweenScene scene)
{
    EditorState state;
    state.document.setScene(std::move(scene));
    return state;
}

TEST(RippleMode, IsWhatTheTwoSwitchesGiveTogether)
{
    using enum TimelineRippleMode;
    EXPECT_EQ(rippleMode(false, false), none);
    EXPECT_EQ(rippleMode(true, false), before);
    EXPECT_EQ(rippleMode(false, true), after);
    EXPECT_EQ(rippleMode(true, true), both);
    EXPECT_EQ(label(none), "Off");
    EXPECT_EQ(label(before), "Push Items Before");
    EXPECT_EQ(label(after), "Push Items After");
    EXPECT_EQ(label(both), "Push Both Before & After");
}

TEST(RippleScope, AnUnknownValueCountsAsAll)
{
    MemoryUserDefaults defaults;
    struct Case {
        const char* raw;
        RippleScope scope;
    };
    for (const Case& c : {Case{"all", RippleScope::all}, Case{"current", RippleScope::current}, Case{"some", RippleScope::all},
                          Case{"", RippleScope::all}}) {
        SCOPED_TRACE(c.raw);
        defaults.set(DefaultsKey::rippleScope, std::string(c.raw));
        EXPECT_EQ(editorRippleScope(defaults), c.scope);
    }
    EXPECT_EQ(label(RippleScope::all), "All Layers");
    EXPECT_EQ(label(RippleScope::current), "Current in Timeline");
}

TEST(RippleScope, CurrentIsTheShownLayersWithAllBelowThemAndEverythingIfNoneIsShown)
{
    const Layer inner{.id = idOf(2)}, group{.id = idOf(1), .kind = Layer::Kind::group, .children = {inner}}, other{.id = idOf(3)};
    EditorState state = stateOf(sceneOf({group, other}));
    MemoryUserDefaults defaults;
    state.selectedLayerIDs = {idOf(1)};
    EXPECT_EQ(editorRippleScopeIDs(defaults, state), std::nullopt);

    defaults.set(DefaultsKey::rippleScope, std::string("current"));
    EXPECT_EQ(editorRippleScopeIDs(defaults, state), (LayerIDs{idOf(1), idOf(2)}));
    state.timelinePinnedLayerIDs = {idOf(3)};
    EXPECT_EQ(editorRippleScopeIDs(defaults, state), (LayerIDs{idOf(1), idOf(2), idOf(3)}));
    state.selectedLayerIDs.clear();
    EXPECT_EQ(editorRippleScopeIDs(defaults, state), LayerIDs{idOf(3)});
    state.timelinePinnedLayerIDs.clear();
    EXPECT_EQ(editorRippleScopeIDs(defaults, state), std::nullopt);
}

TEST(RippleCycle, GoesRoundThroughOffBeforeAfterAndBoth)
{
    MemoryUserDefaults defaults;
    EditorState state;
    state.timelineSelection = {TimelineItemRef::videoClip(idOf(1))};
    using enum TimelineRippleMode;
    for (const TimelineRippleMode mode : {before, after, both, none, before}) {
        cycleRippleSettings(defaults, state);
        EXPECT_EQ(editorRippleMode(defaults), mode) << label(mode);
    }
}

TEST(RippleCycle, ActsOnlyWithAnItemSelected)
{
    MemoryUserDefaults defaults;
    EditorState state;
    cycleRippleSettings(defaults, state);
    EXPECT_EQ(defaults.value(DefaultsKey::ripplePushBefore), std::nullopt);
    state.selectedKeyframeID = idOf(1);
    cycleRippleSettings(defaults, state);
    EXPECT_EQ(editorRippleMode(defaults), TimelineRippleMode::before);
    state.selectedKeyframeID.reset();
    state.selectedSpanID = idOf(1);
    cycleRippleSettings(defaults, state);
    EXPECT_EQ(editorRippleMode(defaults), TimelineRippleMode::after);
}

TEST(RippleToast, CountsTheItems)
{
    EXPECT_EQ(rippleToastMessage(1), "Ripple moved 1 other item");
    EXPECT_EQ(rippleToastMessage(12), "Ripple moved 12 other items");
}

TEST(RippleToast, ShowsForAMomentAndALaterOneBeginsItAnew)
{
    RippleToast toast;
    EXPECT_EQ(toast.message(0), std::nullopt);
    toast.show(1, 10);
    EXPECT_EQ(toast.message(11.5), "Ripple moved 1 other item");
    toast.show(2, 11.5);
    EXPECT_EQ(toast.message(13), "Ripple moved 2 other items");
    EXPECT_EQ(toast.message(13.1), std::nullopt);
    toast.show(0, 20);
    EXPECT_EQ(toast.message(20), std::nullopt);
}

TEST(RippleHandles, ReturnThreeTenthsOfASecondAfterTheLastEdit)
{
    RippleHandleSuppressor handles;
    EXPECT_FALSE(handles.hidden(0));
    handles.suppress(1);
    EXPECT_TRUE(handles.hidden(1.2));
    handles.suppress(1.2);
    EXPECT_TRUE(handles.hidden(1.45));
    EXPECT_FALSE(handles.hidden(1.5));
}

TEST(RipplePills, StandOutsideTheBoundsAndStayInTheRow)
{
    // 1000 points for the 10 seconds from 5 on; pills of 18 points, 4 points away.
    const InlineRipplePills::Row row{5, 10, 1000, 18, 4};
    struct Case {
        const char* where;
        ItemTimes bounds;
        double before, after;
    };
    for (const Case& c : {Case{"in the middle", {7, 9}, 200 - 4 - 9, 400 + 4 + 9}, Case{"at the left", {5.1, 9}, 9, 413},
                          Case{"at the right", {7, 14.9}, 187, 991}, Case{"beyond both ends", {0, 30}, 9, 991},
                          Case{"just fitting", {5.22, 14.78}, 9, 991}}) {
        SCOPED_TRACE(c.where);
        const auto centers = InlineRipplePills::centers(c.bounds, row);
        ASSERT_TRUE(centers);
        EXPECT_NEAR(centers->before.x, c.before, 1e-9);
        EXPECT_NEAR(centers->after.x, c.after, 1e-9);
        EXPECT_EQ(centers->before.y, 9);
    }
    EXPECT_FALSE(InlineRipplePills::centers(std::nullopt, row));
    EXPECT_FALSE(InlineRipplePills::centers(ItemTimes{1, 2}, {0, 0, 1000, 18, 4}));
}

} // namespace
} // namespace larkspool
