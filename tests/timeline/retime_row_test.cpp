#include "timeline/retime_row.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

Layer layerOfEveryKind()
{
    Layer layer = videoOf(1, {.sceneStart = 2, .sceneEnd = 5});
    layer.name = "Clip";
    layer.spans = {spanOf(10, 1, 4), spanOf(11, 4, 3)};
    layer.pulses = {pulseOf(12, 6)};
    layer.keyframes = {Keyframe{.id = idOf(13), .property = Keyframe::AnimatableProperty::scaleX, .time = 7, .wait = 0.5},
                       keyframeOf(14, 8, -1)};
    return layer;
}

RetimeRow rowOf(const RetimeSource& source)
{
    const Layer layer = layerOfEveryKind();
    return RetimeRow::of(layer, source, timesOf(layer, source).value());
}

TEST(RetimeRow, TellsEachKindOfItemByItsIdAndTimes)
{
    const std::string layerID = "00000000-0000-0000-0000-000000000001";
    const auto itemID = [](const char* last) { return "00000000-0000-0000-0000-0000000000" + std::string(last); };
    struct Case {
        const char* item;
        RetimeSource source;
        std::string id;
        RetimeRow::Kind kind;
        double start;
        std::optional<double> duration;
        std::optional<std::string> detail;
    };
    using Kind = RetimeRow::Kind;
    for (const Case& c :
         {Case{"span", TimelineItemRef::span(idOf(1), idOf(10)), "span:" + itemID("0A"), Kind::span, 1, 3, std::nullopt},
          Case{"inverted span", TimelineItemRef::span(idOf(1), idOf(11)), "span:" + itemID("0B"), Kind::span, 4, 0, std::nullopt},
          Case{"pulse", TimelineItemRef::pulse(idOf(1), idOf(12)), "pulse:" + itemID("0C"), Kind::pulse, 6, std::nullopt,
               std::nullopt},
          Case{"keyframe", TimelineItemRef::keyframe(idOf(1), idOf(13)), "keyframe:" + itemID("0D"), Kind::keyframe, 7,
               std::nullopt, "Scale X"},
          Case{"wait", TimelineItemRef::waitTail(idOf(1), idOf(13)), "wait:" + itemID("0D"), Kind::wait, 7, 0.5, "Scale X"},
          Case{"negative wait", TimelineItemRef::waitTail(idOf(1), idOf(14)), "wait:" + itemID("0E"), Kind::wait, 8, 0, "X"},
          Case{"clip", TimelineItemRef::videoClip(idOf(1)), "video:" + layerID, Kind::videoClip, 2, 3, std::nullopt}}) {
        SCOPED_TRACE(c.item);
        EXPECT_EQ(rowOf(c.source), (RetimeRow{.id = c.id,
                                              .source = c.source,
                                              .kind = c.kind,
                                              .layerName = "Clip",
                                              .detail = c.detail,
                                              .start = c.start,
                                              .duration = c.duration}));
    }
}

TEST(RetimeRipple, StandsForTheModesOfTheTimeline)
{
    struct Case {
        RetimeRipple ripple;
        TimelineRippleMode mode;
    };
    for (const Case& c :
         {Case{RetimeRipple::off, TimelineRippleMode::none}, Case{RetimeRipple::after, TimelineRippleMode::after},
          Case{RetimeRipple::before, TimelineRippleMode::before}, Case{RetimeRipple::both, TimelineRippleMode::both}}) {
        SCOPED_TRACE(label(c.ripple));
        EXPECT_EQ(rippleMode(c.ripple), c.mode);
        EXPECT_EQ(retimeRipple(c.mode), c.ripple);
    }
}

} // namespace
} // namespace larkspool
