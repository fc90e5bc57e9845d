#include "evaluation/interpolation.h"
#include "views/inspector_view.h"
#include "views/inspector_words.h"

#include <QBoxLayout>
#include <QMenu>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

template <typename... Kinds>
bool isAll(const std::vector<const Layer*>& layers, Kinds... kinds)
{
    return std::ranges::all_of(layers, [=](const Layer* layer) { return ((layer->kind == kinds) || ...); });
}

bool isOnInAll(const std::vector<const Layer*>& layers, bool Layer::* field)
{
    return std::ranges::all_of(layers, [field](const Layer* layer) { return layer->*field; });
}

QString hoverWords(const std::optional<CursorVariant>& variant)
{
    return variant ? words(label(*variant)) : QString("None");
}

} // namespace

void InspectorView::buildAppearance()
{
    using enum Layer::Kind;
    const std::vector<const Layer*>& layers = shown_.stored;
    QVBoxLayout* rows = addSection("Appearance");
    if (Inspector::offersAll(layers, Property::opacity)) {
        NumberField* opacity = propertyField(Property::opacity, {.decimals = 2, .step = 0.01});
        addRow(rows, "Opacity", {opacity}, opacity);
    }
    if (Inspector::offersAll(layers, Property::fill)) addRow(rows, "Fill", {colorField(Property::fill)});
    buildStroke(rows);
    if (isAll(layers, gradientField)) buildGradient(rows);
    if (isAll(layers, image, video)) {
        buildBlackKey(rows);
        buildCrop(rows);
    }
    if (Inspector::offersAll(layers, Property::shadow)) buildShadow(rows);
    const auto takesHover = [](const Layer* layer) { return layer->kind != cursor && layer->kind != zoom; };
    if (std::ranges::all_of(layers, takesHover)) addRow(rows, "Hover Cursor", {hoverCursorMenu()});
}

void InspectorView::buildStroke(QBoxLayout* rows)
{
    using enum Layer::Kind;
    if (Inspector::offersAll(shown_.stored, Property::stroke)) addRow(rows, "Stroke", {colorField(Property::stroke)});
    if (Inspector::offersAll(shown_.stored, Property::strokeWidth)) {
        NumberField* width = propertyField(Property::strokeWidth, {});
        if (isAll(shown_.stored, line))
            addHalfRow(rows, "Stroke Width", width);
        else
            addRow(rows, "Stroke Width", {width, labelledSwitch("Stroke Outside", "Outside", &Layer::strokeOutside)}, width);
    }
    if (!isAll(shown_.stored, rectangle, text, image, video)) return;
    addRow(rows, "Per Side", {switchRow("Stroke Per Side", &Layer::perSideStroke)});
    if (!isOnInAll(shown_.stored, &Layer::perSideStroke)) return;
    const auto side = [this](const char* name, const char* letter, double Layer::* width) {
        return plainField(name, {.name = {}, .letter = letter}, width,
                          [width](Layer& layer, double value) { layer.*width = std::max(value, 0.0); });
    };
    addRow(rows, "", {side("Top Stroke", "T", &Layer::strokeWidthTop), side("Right Stroke", "R", &Layer::strokeWidthRight)});
    addRow(rows, "", {side("Bottom Stroke", "B", &Layer::strokeWidthBottom), side("Left Stroke", "L", &Layer::strokeWidthLeft)});
}

void InspectorView::buildGradient(QBoxLayout* rows)
{
    const auto field = [this](const char* name, double Layer::* member) {
        return plainField(name, {.decimals = 2, .step = 0.01}, member,
                          [member](Layer& layer, double value) { layer.*member = value; });
    };
    addHalfRow(rows, "Warp Speed", field("Warp Speed", &Layer::gradientWarpSpeed));
    addHalfRow(rows, "Pulse Amount", field("Pulse Amount", &Layer::gradientPulseAmount));
}

void InspectorView::buildBlackKey(QBoxLayout* rows)
{
    addRow(rows, "Key Out Black", {switchRow("Black Key", &Layer::blackKey)});
    if (!isOnInAll(shown_.stored, &Layer::blackKey)) return;
    const auto inset = [this](const char* name, const char* letter, double Layer::* member) {
        return plainField(name, {.name = {}, .letter = letter}, member,
                          [member](Layer& layer, double value) { layer.*member = value; });
    };
    addRow(rows, "Key Inset",
           {inset("Key Inset X", "X", &Layer::blackKeyInsetX), inset("Key Inset Y", "Y", &Layer::blackKeyInsetY)});
}

void InspectorView::buildShadow(QBoxLayout* rows)
{
    Segments* shadow = segments(
        "Shadow", choicesOf<ShadowPreset>(), [this] { return sharedIndex(&Layer::shadow); },
        [this](std::size_t index) {
            mutate("Edit Shadow", [&](TweenScene& scene) {
                Inspector::upsertHelper(scene, shown_.layerIDs, Property::shadow, static_cast<ShadowPreset>(index), shown_.how);
            });
        });
    auto* diamond = new DiamondButton("Shadow keyframe", body_);
    connect(diamond, &QAbstractButton::clicked, this,
            [this] { perform(Inspector::toggleKeyframe(shown_.scene, shown_.layerIDs, Property::shadow, shown_.how.playhead)); });
    refreshers_.push_back([this, diamond] {
        const Inspector::Diamond now = Inspector::diamond(shown_.resolved, Property::shadow, shown_.how.playhead);
        diamond->showDiamond(now, QString::fromStdString(Inspector::diamondHelp(now, shown_.how.playhead)));
    });
    auto* holder = new QWidget(body_);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(shadow, 1);
    row->addWidget(diamond);
    addRow(rows, "Shadow", {holder});
}

MenuField* InspectorView::hoverCursorMenu()
{
    return menuField(
        "Hover Cursor",
        [this] {
            const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::cursorHoverOverride);
            return isMixed ? words(Inspector::mixedText) : hoverWords(shown_.first().cursorHoverOverride);
        },
        [this](QMenu& menu) {
            std::vector<std::optional<CursorVariant>> variants = {std::nullopt};
            for (const EnumCase<CursorVariant>& one : EnumTable<CursorVariant>::cases) variants.push_back(one.value);
            for (const std::optional<CursorVariant>& variant : variants)
                menu.addAction(hoverWords(variant), this, [this, variant] {
                    editLayers("Hover Cursor", [&](Layer& layer) { layer.cursorHoverOverride = variant; });
                });
        });
}

/// Choosing to crop one layer by hand opens the editor, which turns it on when a person is done there.
void InspectorView::buildCrop(QBoxLayout* rows)
{
    Segments* modes = segments(
        "Crop", choicesOf<CropMode>(), [this] { return sharedIndex(&Layer::cropMode); },
        [this](std::size_t index) {
            const auto mode = static_cast<CropMode>(index);
            if (mode == CropMode::manual && shown_.stored.size() == 1) return context_.perform(Command::showCropEditor);
            editLayers("Crop", [&](Layer& layer) { layer.cropMode = mode; });
        });
    addRow(rows, "Crop", {modes});
    if (shown_.stored.size() != 1 || shown_.stored.front()->cropMode != CropMode::manual) return;
    QPushButton* edit = wordButton("Edit Crop…", ButtonRole::plain, body_, FieldBox::fieldHeight);
    connect(edit, &QPushButton::clicked, this, [this] { context_.perform(Command::showCropEditor); });
    addRow(rows, "", {edit});
}

} // namespace larkspool
