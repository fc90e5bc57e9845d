#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "shell/item_inspectors.h"
#include "views/inspector_view.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMenu>

#include <algorithm>
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
    const auto keyframe = [this] {
        const TimelineItemRef& ref = shown_.subject.items.front();
        return findKeyframe(shown_.scene, ref.layerID, ref.itemID);
    };
    const std::size_t count = shown_.subject.items.size();
    const Keyframe* first = keyframe();
    if (!first) return;
    const Property property = first->property;
    buildHead("keyframe-filled", theme().keyframe, count == 1 ? QString("Keyframe") : QString("%1 Keyframes").arg(count));

    QVBoxLayout* rows = addSection(count == 1 ? words(displayName(property)) : QString("Keyframes"));
    if (count == 1) {
        NumberField* time = itemField(
            "Keyframe Time", "Edit Keyframe Time", timeLook,
            [keyframe] { return keyframe() ? std::optional(keyframe()->time) : std::nullopt; },
            [this](double typed) { return KeyframeInspector::setTime(shown_.scene, shown_.subject.items.front(), typed); });
        addHalfRow(rows, "Time", time);
        buildKeyframeValue(rows, property);
    }
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
        [this](double typed) { return KeyframeInspector::setWait(shown_.scene, shown_.subject.items, typed); });
    addHalfRow(rows, "Wait", wait);

    QVBoxLayout* easing = addSection("Easing");
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
    easing->addWidget(picker);
    easing->addWidget(other);
}

void InspectorView::buildKeyframeValue(QBoxLayout* rows, Property property)
{
    const auto ref = [this] { return shown_.subject.items.front(); };
    const auto value = [this, ref, property]() -> KeyValue {
        const Keyframe* keyframe = findKeyframe(shown_.scene, ref().layerID, ref().itemID);
        const KeyValue usual = Interpolation::fieldValue(Layer{}, property);
        return keyframe && keyframe->value.index() == usual.index() ? keyframe->value : usual;
    };
    const auto write = [this, ref](const KeyValue& typed) { perform(KeyframeInspector::setValue(shown_.scene, ref(), typed)); };
    const auto menu = [this, rows, value, write]<typename E>(E) {
        addRow(rows, "Value",
               {menuField(
                   "Value", [value] { return words(larkspool::label(std::get<E>(value()))); },
                   [this, write](QMenu& choices) {
                       for (const EnumCase<E>& one : EnumTable<E>::cases)
                           choices.addAction(words(one.label), this, [write, chosen = one.value] { write(chosen); });
                   })});
    };
    const std::string action = Inspector::actionName(displayName(property));
    const KeyValue usual = Interpolation::fieldValue(Layer{}, property);
    if (std::holds_alternative<double>(usual)) {
        NumberField* number = itemField(
            words(displayName(property)), action.c_str(), {}, [value] { return std::optional(std::get<double>(value())); },
            [this, ref](double typed) { return KeyframeInspector::setValue(shown_.scene, ref(), typed); });
        addHalfRow(rows, "Value", number);
    } else if (std::holds_alternative<ColorRGBA>(usual)) {
        const auto stream = [this, ref, action](const QColor& color) {
            context_.editor.colorBatch().colorEditBatch(action, [&](TweenScene& scene) {
                if (auto edit = KeyframeInspector::setValue(scene, ref(), asColor(color))) scene = std::move(edit->scene);
            });
            context_.changed();
        };
        auto* field = new ColorField("Value", FieldBox::HasDiamond::no,
                                     {.typed = [write](const QColor& color) { write(asColor(color)); },
                                      .chosen = stream,
                                      .closed =
                                          [this] {
                                              context_.editor.colorBatch().commitColorBatch();
                                              context_.changed();
                                          }},
                                     body_);
        refreshers_.push_back([field, value] { field->showColor(asQColor(std::get<ColorRGBA>(value()))); });
        addRow(rows, "Value", {field});
    } else if (std::holds_alternative<ShadowPreset>(usual)) {
        menu(ShadowPreset{});
    } else if (std::holds_alternative<CursorVariant>(usual)) {
        menu(CursorVariant{});
    }
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
    const auto ref = [this] { return shown_.subject.items.front(); };
    const auto span = [this, ref] { return findSpan(shown_.scene, ref().layerID, ref().itemID); };
    const TimeSpan* first = span();
    const Layer* layer = findLayer(shown_.scene, ref().layerID);
    if (!first || !layer) return;
    buildHead("span", theme().span, "Span");

    QVBoxLayout* timing = addSection("Timing");
    addHalfRow(timing, "Start",
               itemField(
                   "Span Start", "Resize Span", timeLook, [span] { return span() ? std::optional(span()->start) : std::nullopt; },
                   [this, ref](double typed) { return SpanInspector::setStart(shown_.scene, ref(), typed); }));
    addHalfRow(timing, "End",
               itemField(
                   "Span End", "Resize Span", timeLook, [span] { return span() ? std::optional(span()->end) : std::nullopt; },
                   [this, ref](double typed) { return SpanInspector::setEnd(shown_.scene, ref(), typed); }));

    if (layer->kind == Layer::Kind::zoom) {
        QVBoxLayout* zoom = addSection("Zoom");
        const auto transition = [this, span, ref](const QString& name, SpanInspector::ZoomEnd end,
                                                  ZoomTransition TimeSpan::* field) {
            std::vector<Segments::Choice> choices;
            for (const EnumCase<ZoomTransition>& one : EnumTable<ZoomTransition>::cases) choices.push_back({words(one.label)});
            return segments(
                name, std::move(choices),
                [span, field] { return span() ? std::optional(static_cast<std::size_t>(span()->*field)) : std::nullopt; },
                [this, ref, end](std::size_t index) {
                    perform(SpanInspector::setZoomTransition(shown_.scene, ref(), end, static_cast<ZoomTransition>(index)));
                });
        };
        addRow(zoom, "Comes by", {transition("Comes by", SpanInspector::ZoomEnd::start, &TimeSpan::zoomStart)});
        addRow(zoom, "Goes by", {transition("Goes by", SpanInspector::ZoomEnd::end, &TimeSpan::zoomEnd)});
    }

    const SpanInspector::EffectMenu offered = SpanInspector::effectMenu(layer->kind);
    if (offered == SpanInspector::EffectMenu{} && first->effects.empty()) return;
    QVBoxLayout* effects = addSection("Effects");
    for (std::size_t i = 0; i < first->effects.size(); ++i) {
        const auto effect = [span, i]() -> const SpanEffect* {
            const TimeSpan* now = span();
            return now && i < now->effects.size() ? &now->effects[i] : nullptr;
        };
        const QString name = words(larkspool::label(first->effects[i].kind));
        NumberField* duration = itemField(
            name + " Duration", "Edit Effect Duration", timeLook,
            [effect] { return effect() ? std::optional(effect()->duration) : std::nullopt; },
            [this, ref, effect](double typed) -> std::optional<Edit> {
                if (!effect()) return std::nullopt;
                return SpanInspector::setEffectDuration(shown_.scene, ref(), effect()->id, typed);
            });
        QToolButton* remove = iconButton("trash", "Remove " + name, body_, 24);
        connect(remove, &QToolButton::clicked, this, [this, ref, effect] {
            if (effect()) perform(SpanInspector::removeEffect(shown_.scene, ref(), effect()->id));
        });
        std::vector<QWidget*> fields = {duration};
        if (SpanInspector::hasDirection(first->effects[i].kind))
            fields.push_back(switchButton(
                name + " Reversed", [effect] { return effect() && effect()->reversed; },
                [this, ref, effect](bool isOn) {
                    if (effect()) perform(SpanInspector::setEffectReversed(shown_.scene, ref(), effect()->id, isOn));
                }));
        fields.push_back(remove);
        addRow(effects, name, fields, duration);
    }
    if (offered == SpanInspector::EffectMenu{}) return;
    QPushButton* more = wordButton(words(SpanInspector::addEffectLabel), ButtonRole::plain, body_, FieldBox::fieldHeight);
    connect(more, &QPushButton::clicked, this, [this, ref, more] { showEffectMenu(ref(), more); });
    effects->addWidget(more);
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
                    words(one.label), [pulse, effect = one.value] { return pulse() && pulse()->plays(effect); },
                    [this, ref, effect = one.value](bool) {
                        perform(PulseInspector::togglePulseEffect(shown_.scene, ref(), effect));
                    }),
                new QWidget(body_)});
}

} // namespace larkspool
