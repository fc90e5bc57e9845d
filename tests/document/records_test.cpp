#include "document/tween_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace larkspool {
namespace {

/// File value, label and symbol of every case, in order, against what is expected.
struct Words {
    const char* fileValue;
    const char* label = "";
    const char* symbol = "";
};

template <typename E>
void expectCases(const std::vector<Words>& expected)
{
    ASSERT_EQ(std::size(EnumTable<E>::cases), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i].fileValue);
        const E value = static_cast<E>(i);
        EXPECT_EQ(EnumTable<E>::cases[i].value, value);
        EXPECT_EQ(fileValue(value), expected[i].fileValue);
        EXPECT_EQ(label(value), expected[i].label);
        EXPECT_EQ(systemImage(value), expected[i].symbol);
        EXPECT_EQ(fromFileValue<E>(expected[i].fileValue), value);
    }
}

TEST(Enumerations, EachCaseHasItsFileValueAndWords)
{
    expectCases<Layer::Kind>({{"rectangle"}, {"ellipse"}, {"path"}, {"text"}, {"image"}, {"group"}, {"cursor"}, {"line"},
                              {"gradientField"}, {"hotspot"}, {"video"}, {"zoom"}});
    expectCases<LineShape>({{"freeform", "Freeform"}, {"square", "Square"}, {"circle", "Circle"}, {"triangle", "Triangle"},
                            {"arc", "Arc"}, {"wave", "Wave"}});
    expectCases<ZoomType>({{"fullScreen", "Full Screen"}, {"pictureInPicture", "Picture in Picture"}});
    expectCases<CropMode>({{"none", "None"}, {"auto", "Auto"}, {"manual", "Manual"}});
    expectCases<GroupLayout>({{"freeform", "Freeform"}, {"horizontal", "Horizontal"}, {"vertical", "Vertical"}});
    expectCases<GroupSizeMode>({{"dynamic", "Dynamic"}, {"fixed", "Fixed"}});
    expectCases<GroupAlignment>({{"start", "Start"}, {"center", "Center"}, {"end", "End"}});
    expectCases<ShadowPreset>({{"none", "None"}, {"low", "Low"}, {"medium", "Medium"}, {"high", "High"}});
    expectCases<ZoomTransition>({{"none", "None"}, {"zoom", "Zoom"}, {"fade", "Fade"}});
    expectCases<PulseEffect>({{"scale", "Scale"}, {"glow", "Glow"}, {"radiate", "Radiate"}});
    expectCases<VideoClip::EndBehavior>({{"end", "End"}, {"loop", "Loop"}, {"freezeFrame", "Freeze Frame"}});
    expectCases<TextAlignment>({{"left", "Left", "text.alignleft"},
                                {"center", "Center", "text.aligncenter"},
                                {"right", "Right", "text.alignright"}});
    expectCases<TextVerticalAlignment>({{"top", "Top", "arrow.up.to.line.compact"},
                                        {"center", "Center", "arrow.up.and.down"},
                                        {"bottom", "Bottom", "arrow.down.to.line.compact"}});
    expectCases<CursorVariant>({{"arrow", "Arrow", "cursorarrow"},
                                {"pointer", "Pointer", "hand.point.up"},
                                {"grab", "Grab", "hand.raised"},
                                {"grabbing", "Grabbing", "hand.raised.fill"},
                                {"ibeam", "I-Beam", "character.cursor.ibeam"},
                                {"duplicate", "Duplicate", "plus.square.on.square"},
                                {"wait", "Wait", "circle.dotted"}});
    expectCases<SceneTransition::Kind>({{"fade", "Fade", "circle.lefthalf.filled"},
                                        {"slideL", "Slide Left", "arrow.left"},
                                        {"slideR", "Slide Right", "arrow.right"},
                                        {"push", "Push", "rectangle.lefthalf.inset.filled.arrow.left"},
                                        {"zoom", "Zoom", "plus.magnifyingglass"}});
    expectCases<Keyframe::AnimatableProperty>(
        {{"x", "X"}, {"y", "Y"}, {"rotation", "Rotation"}, {"scaleX", "Scale X"}, {"scaleY", "Scale Y"}, {"opacity", "Opacity"},
         {"fill", "Fill"}, {"stroke", "Stroke"}, {"strokeWidth", "Stroke Width"}, {"width", "Width"}, {"height", "Height"},
         {"cornerRadius", "Corner Radius"}, {"shadow", "Shadow"}, {"cursorVariant", "Cursor"}, {"groupGap", "Gap"},
         {"fontSize", "Font Size"}, {"fontName", "Font"}, {"textColor", "Text Color"}, {"lineArcBend", "Bend"},
         {"lineWaveFrequency", "Frequency"}, {"lineWaveAmplitude", "Amplitude"}});
    expectCases<SpanEffect::Kind>(
        {{"fadeIn", "Fade In"}, {"fadeOut", "Fade Out"}, {"popIn", "Pop In"}, {"popOut", "Pop Out"}, {"bounceIn", "Bounce In"},
         {"bounceOut", "Bounce Out"}, {"slideInLeft", "Slide In →"}, {"slideInRight", "Slide In ←"},
         {"slideInTop", "Slide In ↓"}, {"slideInBottom", "Slide In ↑"}, {"slideOutLeft", "Slide Out ←"},
         {"slideOutRight", "Slide Out →"}, {"slideOutTop", "Slide Out ↑"}, {"slideOutBottom", "Slide Out ↓"},
         {"typeOn", "Type On"}, {"deleteOff", "Delete Off"}, {"blinkingCursorStart", "Blink Cursor In"},
         {"blinkingCursorEnd", "Blink Cursor Out"}, {"drawOn", "Draw On"}, {"eraseOff", "Erase Off"}});
    EXPECT_EQ(Keyframe::animatablePropertyCount, std::size(EnumTable<Keyframe::AnimatableProperty>::cases));
    EXPECT_EQ(displayName(Keyframe::AnimatableProperty::lineArcBend), "Bend");
    EXPECT_EQ(iconName(CursorVariant::grab), "hand.raised");
}

TEST(Enumerations, AFileValueIsReadByTheLetter)
{
    EXPECT_EQ(fromFileValue<CropMode>("automatic"), std::nullopt);
    EXPECT_EQ(fromFileValue<CropMode>("Auto"), std::nullopt);
    EXPECT_EQ(fromFileValue<CropMode>(""), std::nullopt);
}

TEST(GroupAlignment, ItsLabelGoesByTheLayout)
{
    struct Case { GroupLayout layout; const char *start, *center, *end; };
    for (const Case& c : {Case{GroupLayout::freeform, "Start", "Center", "End"},
                          Case{GroupLayout::horizontal, "Top", "Middle", "Bottom"},
                          Case{GroupLayout::vertical, "Leading", "Center", "Trailing"}}) {
        SCOPED_TRACE(c.start);
        EXPECT_EQ(label(GroupAlignment::start, c.layout), c.start);
        EXPECT_EQ(label(GroupAlignment::center, c.layout), c.center);
        EXPECT_EQ(label(GroupAlignment::end, c.layout), c.end);
    }
}

TEST(ColorRGBA, TheNamedColoursAreWhatTheirNamesSay)
{
    EXPECT_EQ(ColorRGBA::clear, (ColorRGBA{0, 0, 0, 0}));
    EXPECT_EQ(ColorRGBA::black, (ColorRGBA{0, 0, 0, 1}));
    EXPECT_EQ(ColorRGBA::white, (ColorRGBA{1, 1, 1, 1}));
}

TEST(Layer, AFreshLayerHasTheDefaultsOfEveryKind)
{
    const Layer layer;
    EXPECT_NE(layer.id, UUID());
    EXPECT_NE(layer.id, Layer().id);
    EXPECT_EQ(layer.name, "Layer");
    EXPECT_EQ(layer.kind, Layer::Kind::rectangle);
    EXPECT_EQ(layer.transform, (Transform{0, 0, 0, 1, 1, 0.5, 0.5}));
    EXPECT_EQ(layer.fill, (ColorRGBA{0.2, 0.5, 1, 1}));
    EXPECT_EQ(layer.stroke, ColorRGBA::black);
    EXPECT_EQ(layer.strokeWidth, 0);
    EXPECT_FALSE(layer.strokeOutside);
    EXPECT_FALSE(layer.perSideStroke);
    EXPECT_EQ(layer.strokeWidthTop, 0);
    EXPECT_EQ(layer.strokeWidthRight, 0);
    EXPECT_EQ(layer.strokeWidthBottom, 0);
    EXPECT_EQ(layer.strokeWidthLeft, 0);
    EXPECT_EQ(layer.opacity, 1);
    EXPECT_EQ(layer.size, (CGSize{200, 200}));
    EXPECT_EQ(layer.cornerRadius, 0);
    EXPECT_TRUE(layer.path.empty());
    EXPECT_FALSE(layer.imageData);
    EXPECT_FALSE(layer.blackKey);
    EXPECT_EQ(layer.blackKeyInsetX, 0);
    EXPECT_EQ(layer.blackKeyInsetY, 0);
    EXPECT_EQ(layer.cropMode, CropMode::none);
    EXPECT_EQ(layer.cropRect, (CGRect{{0, 0}, {1, 1}}));
    EXPECT_EQ(layer.gradientWarpSpeed, 1);
    EXPECT_EQ(layer.gradientPulseAmount, 0.5);
    EXPECT_EQ(layer.videoURL, "");
    EXPECT_EQ(layer.videoDuration, 0);
    EXPECT_FALSE(layer.videoBookmark);
    EXPECT_EQ(layer.cursorVariant, CursorVariant::arrow);
    EXPECT_TRUE(layer.nameFollowsCursorVariant);
    EXPECT_TRUE(layer.nameFollowsText);
    EXPECT_TRUE(layer.nameFollowsLineShape);
    EXPECT_TRUE(layer.nameFollowsShape);
    EXPECT_EQ(layer.text, "Text");
    EXPECT_EQ(layer.fontSize, 32);
    EXPECT_EQ(layer.fontName, "");
    EXPECT_EQ(layer.textColor, ColorRGBA::black);
    EXPECT_TRUE(layer.textAutoFit);
    EXPECT_FALSE(layer.textColorHarmonize);
    EXPECT_FALSE(layer.textUserResized);
    EXPECT_EQ(layer.textPadX, 0);
    EXPECT_EQ(layer.textPadY, 0);
    EXPECT_EQ(layer.textAlignment, TextAlignment::center);
    EXPECT_EQ(layer.textVerticalAlignment, TextVerticalAlignment::center);
    EXPECT_EQ(layer.shadow, ShadowPreset::none);
    EXPECT_FALSE(layer.isHidden);
    EXPECT_FALSE(layer.isLocked);
    EXPECT_EQ(layer.zoomType, ZoomType::fullScreen);
    EXPECT_FALSE(layer.pipRendition);
    EXPECT_TRUE(layer.children.empty());
    EXPECT_TRUE(layer.keyframes.empty());
    EXPECT_EQ(layer.groupLayout, GroupLayout::freeform);
    EXPECT_EQ(layer.groupGap, 8);
    EXPECT_EQ(layer.groupSizeMode, GroupSizeMode::dynamic);
    EXPECT_TRUE(layer.groupFixedLocked);
    EXPECT_EQ(layer.groupAlignment, GroupAlignment::start);
    EXPECT_FALSE(layer.cursorHoverOverride);
    EXPECT_TRUE(layer.spans.empty());
    EXPECT_TRUE(layer.pulses.empty());
    EXPECT_EQ(layer.lineShape, LineShape::freeform);
    EXPECT_EQ(layer.lineArcBend, 0.5);
    EXPECT_FALSE(layer.lineArcReversed);
    EXPECT_EQ(layer.lineWaveFrequency, 3);
    EXPECT_EQ(layer.lineWaveAmplitude, 0.6);
    EXPECT_TRUE(layer.linePoints.empty());
    EXPECT_FALSE(layer.lineArrowStart);
    EXPECT_FALSE(layer.lineArrowEnd);
    EXPECT_FALSE(layer.lineCurved);
    EXPECT_EQ(layer.lineDrawProgress, 1);
    EXPECT_FALSE(layer.lineDrawReversed);
    EXPECT_TRUE(layer.textCursorVisible);
    EXPECT_FALSE(layer.textTypeOnVisible);
    EXPECT_FALSE(layer.textCursorBlinks);
}

TEST(Records, FreshTimedRecordsHaveTheirDefaults)
{
    const SpanEffect effect;
    EXPECT_EQ(effect.duration, 0.4);
    EXPECT_FALSE(effect.reversed);

    const TimeSpan span;
    EXPECT_TRUE(span.effects.empty());
    EXPECT_EQ(span.zoomStart, ZoomTransition::zoom);
    EXPECT_EQ(span.zoomEnd, ZoomTransition::zoom);
    EXPECT_TRUE(span.cursorBlinkRanges.empty());

    const VideoClip clip;
    EXPECT_NE(clip.id, VideoClip().id);
    EXPECT_EQ(clip.sceneStart, 0);
    EXPECT_EQ(clip.sceneEnd, 0);
    EXPECT_EQ(clip.sourceStart, 0);
    EXPECT_EQ(clip.endBehavior, VideoClip::EndBehavior::end);
    EXPECT_FALSE(clip.sourceTrimLength);

    EXPECT_EQ(Keyframe().easing, Easing::easeInOut());
    EXPECT_EQ(Keyframe().wait, 0);
}

TEST(Layer, OutlineListsAGroupsChildrenLastToFirst)
{
    Layer group{.kind = Layer::Kind::group};
    group.children = {Layer{.name = "back"}, Layer{.name = "middle"}, Layer{.name = "front"}};

    const std::optional<Array<Layer>> outline = group.outlineChildren();
    ASSERT_TRUE(outline);
    ASSERT_EQ(outline->size(), 3u);
    EXPECT_EQ((*outline)[0].name, "front");
    EXPECT_EQ((*outline)[1].name, "middle");
    EXPECT_EQ((*outline)[2].name, "back");
}

TEST(Layer, AnEmptyGroupHasAnEmptyOutline)
{
    EXPECT_EQ(Layer{.kind = Layer::Kind::group}.outlineChildren(), Array<Layer>());
}

TEST(Layer, OnlyGroupsHaveAnOutline)
{
    for (const EnumCase<Layer::Kind>& kind : EnumTable<Layer::Kind>::cases) {
        SCOPED_TRACE(kind.fileValue);
        const Layer layer{.kind = kind.value, .children = {Layer{}}};
        EXPECT_EQ(layer.outlineChildren().has_value(), kind.value == Layer::Kind::group);
    }
}

TEST(TimeSpan, BothEndsBelongToIt)
{
    const TimeSpan span{.start = 2, .end = 5};
    EXPECT_FALSE(span.contains(1.999));
    EXPECT_TRUE(span.contains(2));
    EXPECT_TRUE(span.contains(5));
    EXPECT_FALSE(span.contains(5.001));
    EXPECT_TRUE((TimeSpan{.start = 3, .end = 3}.contains(3)));
    EXPECT_FALSE((TimeSpan{.start = 5, .end = 2}.contains(3))) << "ends before it starts";
}

TEST(VideoClip, BothEndsBelongToIt)
{
    const VideoClip clip{.sceneStart = 1, .sceneEnd = 4};
    EXPECT_FALSE(clip.contains(0.999));
    EXPECT_TRUE(clip.contains(1));
    EXPECT_TRUE(clip.contains(4));
    EXPECT_FALSE(clip.contains(4.001));
}

TEST(Pulse, PlaysWhatItsSetHoldsAndScaleAndGlowIfThatIsEmpty)
{
    struct Case { const char* set; PulseEffects effects; bool scale, glow, radiate; };
    for (const Case& c : {Case{"empty", {}, true, true, false},
                          Case{"radiate", {PulseEffect::radiate}, false, false, true},
                          Case{"scale", {PulseEffect::scale}, true, false, false},
                          Case{"glow", {PulseEffect::glow}, false, true, false},
                          Case{"all", {PulseEffect::scale, PulseEffect::glow, PulseEffect::radiate}, true, true, true}}) {
        SCOPED_TRACE(c.set);
        const Pulse pulse{.effects = c.effects};
        EXPECT_EQ(pulse.plays(PulseEffect::scale), c.scale);
        EXPECT_EQ(pulse.plays(PulseEffect::glow), c.glow);
        EXPECT_EQ(pulse.plays(PulseEffect::radiate), c.radiate);
    }
}

TEST(PulseEffects, IsASet)
{
    PulseEffects effects{PulseEffect::glow, PulseEffect::glow};
    EXPECT_EQ(effects, PulseEffects{PulseEffect::glow});
    effects.remove(PulseEffect::scale);
    EXPECT_TRUE(effects.contains(PulseEffect::glow));
    effects.remove(PulseEffect::glow);
    EXPECT_TRUE(effects.empty());
}

TEST(SpanEffect, IntrosRunFromTheStartAndOutrosTowardsTheEnd)
{
    using Kind = SpanEffect::Kind;
    const std::vector<Kind> intros{Kind::fadeIn, Kind::popIn, Kind::bounceIn, Kind::slideInLeft, Kind::slideInRight,
                                   Kind::slideInTop, Kind::slideInBottom, Kind::typeOn, Kind::blinkingCursorStart, Kind::drawOn};
    for (const EnumCase<Kind>& kind : EnumTable<Kind>::cases) {
        SCOPED_TRACE(kind.fileValue);
        EXPECT_EQ(isIntro(kind.value), std::ranges::find(intros, kind.value) != intros.end());
    }
}

void expectNear(CGPoint actual, CGPoint expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
}

TEST(Transform, RotatesAndScalesAboutTheAnchor)
{
    const CGSize size{100, 50};

    const Transform moved{.x = 10, .y = 20};
    expectNear(moved.cgAffine(size).apply(CGPoint{3, 4}), {13, 24});

    // A quarter turn about the middle (50, 25): the top left corner goes to the top right of a box 50 wide and 100 high.
    const Transform turned{.x = 10, .y = 20, .rotation = 90};
    expectNear(turned.cgAffine(size).apply(CGPoint{0, 0}), {10 + 50 + 25, 20 + 25 - 50});

    // Scale first, then turn: (100, 50) lies (100, 50) from the anchor, scaled (200, 150), turned (-150, 200).
    const Transform both{.rotation = 90, .scaleX = 2, .scaleY = 3, .anchorX = 0, .anchorY = 0};
    expectNear(both.cgAffine(size).apply(CGPoint{100, 50}), {-150, 200});

    // The anchor stays where it is, whatever the turn and the scale.
    const Transform cornered{.x = 7, .y = 9, .rotation = 33, .scaleX = -2, .scaleY = 0.3, .anchorX = 1, .anchorY = 0.2};
    expectNear(cornered.cgAffine(size).apply(CGPoint{100, 10}), {107, 19});

    expectNear(turned.cgAffineAbout({0, 0}).apply(CGPoint{100, 0}), {10, 120});
}

} // namespace
} // namespace larkspool
