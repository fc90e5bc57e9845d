#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "shell/item_inspectors.h"
#include "timeline/ripple_settings.h"
#include "views/inspector_view.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMenu>

#include <algorithm>
#include <chrono>
#include <utility>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

const NumberField::Look timeLook{.name = {}, .suffix = " s", .decimals = 2, .step = 0.1};

} // namespace

NumberField* InspectorView::itemField(const QString& name, const char* action, NumberField::Look look,
                                      std::function<std::optional<double>()> read,
                                      std::function<std::optional<Edit>(double)> edit)
{
    look.name = name;
    const auto write = [edit](double typed) -> SharedCommit::Work {
        std::optional<Edit> made = edit(typed);
        if (!made) return [](TweenScene&) {};
        return [scene = std::move(made->scene)](TweenScene& edited) { edited = scene; };
    };
    return numberField({std::move(look), action, std::move(read), write});
}

void InspectorView::buildKeyframes()
{
    const TimelineItemRef& ref = shown_.subject.items.front();
    const Keyframe* first = findKeyframe(shown_.scene, ref.layerID, ref.itemID);
    if (!first) return;
    const std::size_t count = shown_.subject.items.size();
    buildHead("keyframe-filled", theme().keyframe, count == 1 ? QString("Keyframe") : QString("%1 Keyframes").arg(count));
    QVBoxLayout* rows = addSection(count == 1 ? words(displayName(first->property)) : QString("Keyframes"));
    if (count == 1) {
        buildKeyframeTime(rows);
        buildKeyframeValue(rows, first->property);
    }
    buildWait(rows);
    buildEasing();
}

void InspectorView::buildKeyframeTime(QBoxLayout* rows)
{
    NumberField* time = itemField(
        "Keyframe Time", "Edit Keyframe Time", timeLook,
        [this]() -> std::optional<double> {
            const TimelineItemRef& ref = shown_.subject.items.front();
            const Keyframe* keyframe = findKeyframe(shown_.scene, ref.layerID, ref.itemID);
            return keyframe ? std::optional(keyframe->time) : std::nullopt;
        },
        [this](double typed) { return KeyframeInspector::setTime(shown_.scene, shown_.subject.items.front(), typed); });
    addHalfRow(rows, "Time", time);
}

void InspectorView::buildWait(QBoxLayout* rows)
{
    NumberField* wait = itemField(
        "Keyframe Wait", "Edit Keyframe Wait", timeLook,
        [this]() -> std::optional<double> {
            std::optional<double> shared;
            for (const TimelineItemRef& ref : shown_.subject.items) {
                const Keyframe* one = findKeyframe(shown_.scene, ref.layerID, ref.itemID);
                if (!one) continue;
                if (shared && *shared != one->wait) return std::nullopt;
                shared = one->wait;
            }
            return shared;
        },
        [this](double typed) {
            std::optional<Edit> edit = KeyframeInspector::setWait(shown_.scene, shown_.subject.items, typed);
            if (edit) suppressRippleHandles();
            return edit;
        });
    addHalfRow(rows, "Wait", wait);
}

/// The tail that grows beside them is not to be covered by the pills.
void InspectorView::suppressRippleHandles()
{
    context_.editor.suppressRippleHandles();
    constexpr auto quiet = std::chrono::milliseconds(static_cast<int>(RippleHandleSuppressor::quietSeconds * 1000) + 1);
    rippleHandlesReturn_.start(quiet);
}

void InspectorView::buildEasing()
{
    QVBoxLayout* rows = addSection("Easing");
    auto* picker = new EasingPicker(body_);
    picker->chosen = [this](EasingPreset preset) {
        perform(KeyframeInspector::setEasing(shown_.scene, shown_.subject.items, easingOf(preset)));
    };
    QLabel* other = larkspool::label({}, TextStyle::caption, LabelTone::secondary, body_);
    refreshers_.push_back([this, picker, other] {
        std::vector<Easing> easings;
        for (const TimelineItemRef& ref : shown_.subject.items)
            if (const Keyframe* one = findKeyframe(shown_.scene, ref.layerID, ref.itemID)) easings.push_back(one->easing);
        const std::optional<EasingPreset> preset = easingPreset(easings);
        picker->showChosen(preset);
        const bool isSpring = !easings.empty() && std::holds_alternative<Easing::Spring>(easings.front().curve);
        other->setText(preset == EasingPreset::mixed ? words(Inspector::mixedText)
                       : preset                      ? QString()
                       : isSpring                    ? QString("Spring")
                                                     : QString("Custom curve"));
        other->setVisible(!other->text().isEmpty());
    });
    rows->addWidget(picker);
    rows->addWidget(other);
}

KeyValue InspectorView::keyframeValue(Property property) const
{
    const TimelineItemRef& ref = shown_.subject.items.front();
    const Keyframe* keyframe = findKeyframe(shown_.scene, ref.layerID, ref.itemID);
    const KeyValue usual = Interpolation::fieldValue(Layer{}, property);
    return keyframe && keyframe->value.index() == usual.index() ? keyframe->value : usual;
}

void InspectorView::writeKeyframeValue(const KeyValue& value)
{
    perform(KeyframeInspector::setValue(shown_.scene, shown_.subject.items.front(), value));
}

void InspectorView::buildKeyframeValue(QBoxLayout* rows, Property property)
{
    const KeyValue usual = Interpolation::fieldValue(Layer{}, property);
    if (std::holds_alternative<double>(usual)) {
        NumberField* number = itemField(
            words(displayName(property)), Inspector::actionName(displayName(property)).c_str(), {},
            [this, property] { return std::optional(std::get<double>(keyframeValue(property))); },
            [this](double typed) { return KeyframeInspector::setValue(shown_.scene, shown_.subject.items.front(), typed); });
        return addHalfRow(rows, "Value", number);
    }
    if (std::holds_alternative<ColorRGBA>(usual)) return addRow(rows, "Value", {keyframeColor(property)});
    if (std::holds_alternative<ShadowPreset>(usual)) return addRow(rows, "Value", {keyframeMenu<ShadowPreset>(property)});
    if (std::holds_alternative<CursorVariant>(usual)) return addRow(rows, "Value", {keyframeMenu<CursorVariant>(property)});
    if (std::holds_alternative<SharedString>(usual)) addRow(rows, "Value", {keyframeFont()});
}

template <typename E>
MenuField* InspectorView::keyframeMenu(Property property)
{
    return menuField(
        "Value", [this, property] { return words(larkspool::label(std::get<E>(keyframeValue(property)))); },
        [this](QMenu& choices) {
            for (const EnumCase<E>& one : EnumTable<E>::cases)
                choices.addAction(words(one.label), this, [this, chosen = one.value] { writeKeyframeValue(chosen); });
        });
}

MenuField* InspectorView::keyframeFont()
{
    return menuField(
        "Value", [this] { return fontWords(std::get<SharedString>(keyframeValue(Property::fontName))); },
        [this](QMenu& menu) {
            fillFontMenu(menu, [this](const QString& family) { writeKeyframeValue(SharedString(family.toStdString())); });
        });
}

ColorField* InspectorView::keyframeColor(Property property)
{
    const auto write = [this](TweenScene& scene, const QColor& color) {
        if (auto edit = KeyframeInspector::setValue(scene, shown_.subject.items.front(), asColor(color)))
            scene = std::move(edit->scene);
    };
    ColorField::Steps steps =
        colorSteps(Inspector::actionName(displayName(property)), write, [this](TweenScene& scene, const TweenScene& before) {
            Inspector::takeBack(scene, before, {shown_.subject.items.front().layerID});
        });
    auto* field = new ColorField("Value", FieldBox::HasDiamond::no, std::move(steps), body_);
    refreshers_.push_back([this, field, property] { field->showColor(asQColor(std::get<ColorRGBA>(keyframeValue(property)))); });
    return field;
}

void InspectorView::showEffectMenu(const TimelineItemRef& span, QWidget* under)
{
    const Layer* layer = findLayer(shown_.scene, span.layerID);
    if (!layer) return;
    const SpanInspector::EffectMenu offered = SpanInspector::effectMenu(layer->kind);
    const TimeSpan* now = findSpan(*layer, span.itemID);
    auto* menu = new QMenu(window());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](QMenu& into, SpanEffect::Kind kind) {
        QAction* action = into.addAction(words(larkspool::label(kind)), this,
                                         [this, span, kind] { perform(SpanInspector::addEffect(shown_.scene, span, kind)); });
        const auto isThere = [kind](const SpanEffect& effect) { return effect.kind == kind; };
        action->setEnabled(now && std::ranges::none_of(now->effects, isThere));
    };
    for (const SpanEffect::Kind kind : offered.plain) add(*menu, kind);
    const auto addMenu = [&](std::string_view title, const std::vector<SpanEffect::Kind>& kinds) {
        if (kinds.empty()) return;
        QMenu* slides = menu->addMenu(words(title));
        for (const SpanEffect::Kind kind : kinds) add(*slides, kind);
    };
    addMenu(SpanInspector::slideInTitle, offered.slideIn);
    addMenu(SpanInspector::slideOutTitle, offered.slideOut);
    menu->popup(under->mapToGlobal(QPoint(0, under->height() + 2)));
}

void InspectorView::buildSpan()
{
    const TimelineItemRef& ref = shown_.subject.items.front();
    const TimeSpan* first = shownSpan();
    const Layer* layer = findLayer(shown_.scene, ref.layerID);
    if (!first || !layer) return;
    buildHead("span", theme().span, "Span");
    buildSpanTimes();
    if (layer->kind == Layer::Kind::zoom) buildZoomTransitions();
    buildEffects(*first, layer->kind);
    if (SpanInspector::hasBlinkRanges(layer->kind)) buildBlinkRanges(first->cursorBlinkRanges.size());
}

const TimeSpan* InspectorView::shownSpan() const
{
    const TimelineItemRef& ref = shown_.subject.items.front();
    return findSpan(shown_.scene, ref.layerID, ref.itemID);
}

void InspectorView::buildSpanTimes()
{
    QVBoxLayout* rows = addSection("Timing");
    const auto field = [this](const char* name, double TimeSpan::* end,
                              std::optional<Edit> (*edit)(const TweenScene&, const TimelineItemRef&, double)) {
        return itemField(
            name, "Resize Span", timeLook, [this, end] { return shownSpan() ? std::optional(shownSpan()->*end) : std::nullopt; },
            [this, edit](double typed) { return edit(shown_.scene, shown_.subject.items.front(), typed); });
    };
    addHalfRow(rows, "Start", field("Span Start", &TimeSpan::start, SpanInspector::setStart));
    addHalfRow(rows, "End", field("Span End", &TimeSpan::end, SpanInspector::setEnd));
}

void InspectorView::buildZoomTransitions()
{
    QVBoxLayout* rows = addSection("Zoom");
    const auto transition = [this](const QString& name, SpanInspector::ZoomEnd end, ZoomTransition TimeSpan::* field) {
        return segments(
            name, choicesOf<ZoomTransition>(),
            [this, field] { return shownSpan() ? std::optional(static_cast<std::size_t>(shownSpan()->*field)) : std::nullopt; },
            [this, end](std::size_t index) {
                perform(SpanInspector::setZoomTransition(shown_.scene, shown_.subject.items.front(), end,
                                                         static_cast<ZoomTransition>(index)));
            });
    };
    addRow(rows, "Comes by", {transition("Comes by", SpanInspector::ZoomEnd::start, &TimeSpan::zoomStart)});
    addRow(rows, "Goes by", {transition("Goes by", SpanInspector::ZoomEnd::end, &TimeSpan::zoomEnd)});
}

void InspectorView::buildEffects(const TimeSpan& span, Layer::Kind kind)
{
    const bool offersMore = SpanInspector::effectMenu(kind) != SpanInspector::EffectMenu{};
    if (!offersMore && span.effects.empty()) return;
    QVBoxLayout* rows = addSection("Effects");
    for (std::size_t i = 0; i < span.effects.size(); ++i) buildEffect(rows, i, span.effects[i].kind);
    if (!offersMore) return;
    QPushButton* more = wordButton(words(SpanInspector::addEffectLabel), ButtonRole::plain, body_, FieldBox::fieldHeight);
    connect(more, &QPushButton::clicked, this, [this, more] { showEffectMenu(shown_.subject.items.front(), more); });
    rows->addWidget(more);
}

void InspectorView::buildEffect(QBoxLayout* rows, std::size_t index, SpanEffect::Kind kind)
{
    const auto effect = [this, index]() -> const SpanEffect* {
        const TimeSpan* now = shownSpan();
        return now && index < now->effects.size() ? &now->effects[index] : nullptr;
    };
    const QString name = words(larkspool::label(kind));
    NumberField* duration = itemField(
        name + " Duration", "Edit Effect Duration", timeLook,
        [effect] { return effect() ? std::optional(effect()->duration) : std::nullopt; },
        [this, effect](double typed) -> std::optional<Edit> {
            if (!effect()) return std::nullopt;
            return SpanInspector::setEffectDuration(shown_.scene, shown_.subject.items.front(), effect()->id, typed);
        });
    QToolButton* remove = iconButton("trash", "Remove " + name, body_, 24);
    connect(remove, &QToolButton::clicked, this, [this, effect] {
        if (effect()) perform(SpanInspector::removeEffect(shown_.scene, shown_.subject.items.front(), effect()->id));
    });
    std::vector<QWidget*> fields = {duration};
    if (SpanInspector::hasDirection(kind)) {
        SwitchButton* reversed = switchButton(
            name + " Reversed", [effect] { return std::optional(effect() && effect()->reversed); },
            [this, effect](bool isOn) {
                if (!effect()) return;
                perform(SpanInspector::setEffectReversed(shown_.scene, shown_.subject.items.front(), effect()->id, isOn));
            });
        reversed->setToolTip("Reversed");
        fields.push_back(reversed);
    }
    fields.push_back(remove);
    addRow(rows, name, fields, duration);
}

void InspectorView::buildBlinkRanges(std::size_t count)
{
    QVBoxLayout* rows = addSection("Blinking Caret");
    const auto range = [this](std::size_t index) -> const BlinkRange* {
        const TimeSpan* now = shownSpan();
        return now && index < now->cursorBlinkRanges.size() ? &now->cursorBlinkRanges[index] : nullptr;
    };
    const auto field = [this, range](std::size_t index, const QString& name, double BlinkRange::* end, auto* edit) {
        NumberField::Look look = timeLook;
        look.suffix.clear(); // Two of them and a button stand in one row.
        return itemField(
            name, "Edit Cursor Blink Range", look,
            [range, index, end] { return range(index) ? std::optional(range(index)->*end) : std::nullopt; },
            [this, range, index, edit](double typed) -> std::optional<Edit> {
                if (!range(index)) return std::nullopt;
                return edit(shown_.scene, shown_.subject.items.front(), range(index)->id, typed);
            });
    };
    for (std::size_t i = 0; i < count; ++i) {
        const QString name = QString("Blink Range %1").arg(i + 1);
        QToolButton* remove = iconButton("trash", "Remove " + name, body_, 24);
        connect(remove, &QToolButton::clicked, this, [this, range, i] {
            if (range(i)) perform(SpanInspector::removeBlinkRange(shown_.scene, shown_.subject.items.front(), range(i)->id));
        });
        addRow(rows, "Blinks",
               {field(i, name + " Start", &BlinkRange::start, SpanInspector::setBlinkRangeStart),
                field(i, name + " End", &BlinkRange::end, SpanInspector::setBlinkRangeEnd), remove});
    }
    QPushButton* add = wordButton(words(SpanInspector::addBlinkRangeLabel), ButtonRole::plain, body_, FieldBox::fieldHeight);
    connect(add, &QPushButton::clicked, this, [this] {
        perform(SpanInspector::addBlinkRange(shown_.scene, shown_.subject.items.front(), context_.editor.state().playhead));
    });
    rows->addWidget(add);
}

void InspectorView::buildClip()
{
    const auto ref = [this] { return shown_.subject.items.front(); };
    const auto clip = [this, ref] { return findVideoClip(shown_.scene, ref().layerID); };
    buildHead("video", theme().clip, "Video Clip");
    QVBoxLayout* timing = addSection("Timing");
    const auto field = [&](const QString& label, const QString& name, double VideoClip::* member,
                           std::optional<Edit> (*edit)(const TweenScene&, const TimelineItemRef&, double)) {
        addHalfRow(timing, label,
                   itemField(
                       name, "Edit Trim", timeLook,
                       [clip, member] { return clip() ? std::optional(clip()->*member) : std::nullopt; },
                       [this, ref, edit](double typed) { return edit(shown_.scene, ref(), typed); }));
    };
    field("Start", "Clip Start", &VideoClip::sceneStart, ClipInspector::setStart);
    field("End", "Clip End", &VideoClip::sceneEnd, ClipInspector::setEnd);
    field("Source Start", "Source Start", &VideoClip::sourceStart, ClipInspector::setSourceStart);
    addRow(timing, "At the End",
           {menuField(
               "End Behavior", [clip] { return clip() ? words(larkspool::label(clip()->endBehavior)) : QString(); },
               [this, ref](QMenu& menu) {
                   for (const EnumCase<VideoClip::EndBehavior>& one : EnumTable<VideoClip::EndBehavior>::cases)
                       menu.addAction(words(one.label), this, [this, ref, behavior = one.value] {
                           perform(ClipInspector::setEndBehavior(shown_.scene, ref(), behavior));
                       });
               })});
}

void InspectorView::buildPulse()
{
    const auto ref = [this] { return shown_.subject.items.front(); };
    const auto pulse = [this, ref] { return findPulse(shown_.scene, ref().layerID, ref().itemID); };
    buildHead("pulse", theme().pulse, "Pulse");
    QVBoxLayout* timing = addSection("Timing");
    addHalfRow(timing, "Time",
               itemField(
                   "Pulse Time", "Move Pulse", timeLook,
                   [pulse] { return pulse() ? std::optional(pulse()->time) : std::nullopt; },
                   [this, ref](double typed) { return PulseInspector::setTime(shown_.scene, ref(), typed); }));
    QVBoxLayout* effects = addSection("Effects");
    for (const EnumCase<PulseEffect>& one : EnumTable<PulseEffect>::cases)
        addRow(effects, words(one.label),
               {switchButton(
                    words(one.label), [pulse, effect = one.value] { return std::optional(pulse() && pulse()->plays(effect)); },
                    [this, ref, effect = one.value](bool) {
                        perform(PulseInspector::togglePulseEffect(shown_.scene, ref(), effect));
                    }),
                new QWidget(body_)});
}

} // namespace larkspool
