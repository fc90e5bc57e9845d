#include "evaluation/interpolation.h"
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

QString kindIcon(Layer::Kind kind)
{
    return kind == Layer::Kind::gradientField ? QString("gradient-field") : words(fileValue(kind));
}

NumberField::Look lettered(const char* letter)
{
    return {.name = {}, .letter = letter};
}

NumberField::Look twoDecimals(const char* letter, double step)
{
    return {.name = {}, .letter = letter, .decimals = 2, .step = step};
}

} // namespace

void InspectorView::buildLayers()
{
    buildLayerHead();
    for (const Inspector::Section section : Inspector::sections(shown_.stored)) {
        switch (section) {
        case Inspector::Section::transform: buildTransform(); break;
        case Inspector::Section::zoom: addRow(addSection(words(Inspector::title(section))), "Type", {zoomTypeMenu()}); break;
        case Inspector::Section::size: buildSize(); break;
        case Inspector::Section::layout: buildLayout(); break;
        case Inspector::Section::line: buildLine(); break;
        case Inspector::Section::text: buildText(); break;
        case Inspector::Section::appearance: buildAppearance(); break;
        case Inspector::Section::animation: buildAnimation(); break;
        case Inspector::Section::cursor: addRow(addSection(words(Inspector::title(section))), "Shape", {cursorMenu()}); break;
        }
    }
}

MenuField* InspectorView::zoomTypeMenu()
{
    return menuField(
        "Zoom Type", [this] { return sharedLabel(&Layer::zoomType); },
        [this](QMenu& menu) {
            for (const EnumCase<ZoomType>& one : EnumTable<ZoomType>::cases)
                menu.addAction(words(one.label), this, [this, type = one.value] {
                    const CGSize size = context_.editor.scene().size();
                    editLayers("Zoom Type", [&](Layer& layer) { Inspector::setZoomType(layer, type, size); });
                });
        });
}

MenuField* InspectorView::cursorMenu()
{
    auto* field = new MenuField("Cursor", FieldBox::HasDiamond::yes, body_);
    field->fill = [this](QMenu& menu) {
        for (const EnumCase<CursorVariant>& one : EnumTable<CursorVariant>::cases)
            menu.addAction(words(one.label), this, [this, value = one.value] {
                mutate("Edit Cursor", [&](TweenScene& scene) {
                    Inspector::upsertHelper(scene, shown_.layerIDs, Property::cursorVariant, value, shown_.how);
                });
            });
    };
    refreshers_.push_back([this, field] { field->showWords(sharedLabel(&Layer::cursorVariant)); });
    withDiamond(field, Property::cursorVariant);
    return field;
}

void InspectorView::buildLayerHead()
{
    auto* head = new QWidget(body_);
    head->setFixedHeight(36);
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(12, 4, 8, 0);
    row->setSpacing(2);
    const bool isOne = shown_.stored.size() == 1;
    auto* picture = new QLabel(head);
    picture->setPixmap(
        iconPixmap(isOne ? kindIcon(shown_.stored.front()->kind) : "group", 16, theme().icon, devicePixelRatioF()));
    row->addWidget(picture);
    row->addSpacing(8);
    QLabel* name = larkspool::label({}, TextStyle::objectName, LabelTone::text, head);
    name->setMinimumWidth(0);
    name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    row->addWidget(name, 1);
    refreshers_.push_back([this, name] {
        const QString full =
            shown_.stored.size() == 1 ? words(shown_.stored.front()->name) : QString("%1 layers").arg(shown_.stored.size());
        name->setText(name->fontMetrics().elidedText(full, Qt::ElideRight, std::max(60, width() - 150)));
    });
    addHeadButtons(head, row);
    column_->addWidget(head);
    buildAlignRow();
}

void InspectorView::addHeadButtons(QWidget* head, QBoxLayout* row)
{
    QToolButton* keyframes = iconButton("keyframe-filled", "Keyframe at playhead", head);
    keyframes->setCheckable(true);
    connect(keyframes, &QToolButton::clicked, this, [this](bool isOn) {
        context_.editor.defaults().set(DefaultsKey::keyframeAtPlayhead, isOn);
        context_.changed();
    });
    row->addWidget(keyframes);
    QToolButton* eye = iconButton("eye", "Hide or Show", head);
    connect(eye, &QToolButton::clicked, this, [this] { context_.perform(Command::hideToggle); });
    row->addWidget(eye);
    QToolButton* lock = iconButton("unlock", "Lock or Unlock", head);
    connect(lock, &QToolButton::clicked, this, [this] { context_.perform(Command::lockToggle); });
    row->addWidget(lock);
    refreshers_.push_back([this, keyframes, eye, lock] {
        keyframes->setChecked(shown_.how.keyframeAtPlayhead);
        const auto show = [](QToolButton* button, const char* icon) {
            if (button->property("iconName") == icon) return;
            button->setProperty("iconName", icon);
            button->setIcon(buttonIcon(icon));
        };
        show(eye, shown_.first().isHidden ? "eye-off" : "eye");
        show(lock, shown_.first().isLocked ? "lock" : "unlock");
    });
}

void InspectorView::buildAlignRow()
{
    struct Arrange {
        Command command;
        const char* icon;
    };
    constexpr Arrange arrangements[] = {{Command::alignLeft, "align-left"},       {Command::alignHCenter, "align-hcenter"},
                                        {Command::alignRight, "align-right"},     {Command::alignTop, "align-top"},
                                        {Command::alignVCenter, "align-vcenter"}, {Command::alignBottom, "align-bottom"},
                                        {Command::distributeH, "distribute-h"},   {Command::distributeV, "distribute-v"}};
    auto* align = new QHBoxLayout;
    align->setContentsMargins(6, 0, 6, 6);
    align->setSpacing(0);
    for (const Arrange& one : arrangements) {
        QToolButton* button = iconButton(one.icon, words(commandInfo(one.command).title), body_);
        connect(button, &QToolButton::clicked, this, [this, command = one.command] { context_.perform(command); });
        align->addWidget(button, 1, Qt::AlignCenter);
    }
    column_->addLayout(align);
}

QToolButton* InspectorView::ratioButton(const BooleanKey& key, const QString& name)
{
    QToolButton* button = iconButton("link", name, body_, 24);
    button->setCheckable(true);
    connect(button, &QToolButton::clicked, this, [this, key](bool isOn) { context_.editor.defaults().set(key, isOn); });
    refreshers_.push_back([this, button, key] { button->setChecked(context_.editor.defaults().boolean(key)); });
    return button;
}

void InspectorView::buildTransform()
{
    const bool turns = Inspector::offersAll(shown_.stored, Property::rotation);
    QVBoxLayout* rows =
        addSection("Transform", turns ? ratioButton(DefaultsKey::scaleAspectLocked, "Keep scales in ratio") : nullptr);
    addRow(rows, "Position", {propertyField(Property::x, lettered("X")), propertyField(Property::y, lettered("Y"))});
    if (!turns) return;
    addRow(rows, "Scale",
           {propertyField(Property::scaleX, twoDecimals("X", 0.01)), propertyField(Property::scaleY, twoDecimals("Y", 0.01))});
    addHalfRow(rows, "Rotation", propertyField(Property::rotation, {.suffix = "°"}));
    addRow(rows, "Anchor",
           {plainField(
                "Anchor X", twoDecimals("X", 0.01), [](const Layer& layer) { return layer.transform.anchorX; },
                [](Layer& layer, double value) { layer.transform.anchorX = value; }),
            plainField(
                "Anchor Y", twoDecimals("Y", 0.01), [](const Layer& layer) { return layer.transform.anchorY; },
                [](Layer& layer, double value) { layer.transform.anchorY = value; })});
}

void InspectorView::buildSize()
{
    QVBoxLayout* rows = addSection("Size", ratioButton(DefaultsKey::sizeAspectLocked, "Keep width and height in ratio"));
    addRow(rows, "Dimensions", {propertyField(Property::width, lettered("W")), propertyField(Property::height, lettered("H"))});
    if (Inspector::offersAll(shown_.stored, Property::cornerRadius))
        addHalfRow(rows, "Corner Radius", propertyField(Property::cornerRadius, {}));
}

MenuField* InspectorView::groupLayoutMenu()
{
    return menuField(
        "Layout", [this] { return sharedLabel(&Layer::groupLayout); },
        [this](QMenu& menu) {
            for (const EnumCase<GroupLayout>& one : EnumTable<GroupLayout>::cases)
                menu.addAction(words(one.label), this, [this, value = one.value] {
                    editLayers("Layout", [&](Layer& layer) { layer.groupLayout = value; });
                });
        });
}

void InspectorView::buildLayout()
{
    QVBoxLayout* rows = addSection("Layout");
    addRow(rows, "Direction", {groupLayoutMenu()});
    if (Inspector::offersAll(shown_.stored, Property::groupGap)) buildStack(rows);
    addRow(rows, "Size", {fieldSegments("Size Mode", "Size Mode", choicesOf<GroupSizeMode>(), &Layer::groupSizeMode)});
    const auto isFixed = [](const Layer* layer) { return layer->groupSizeMode == GroupSizeMode::fixed; };
    if (std::ranges::all_of(shown_.stored, isFixed))
        addRow(rows, "Contents", {labelledSwitch("Lock Contents", "Move along", &Layer::groupFixedLocked)});
}

void InspectorView::buildStack(QBoxLayout* rows)
{
    addHalfRow(rows, "Gap", propertyField(Property::groupGap, {}));
    std::vector<Segments::Choice> alignments;
    for (const EnumCase<GroupAlignment>& one : EnumTable<GroupAlignment>::cases)
        alignments.push_back({words(larkspool::label(one.value, shown_.stored.front()->groupLayout))});
    addRow(rows, "Alignment", {fieldSegments("Alignment", "Alignment", std::move(alignments), &Layer::groupAlignment)});
}

void InspectorView::buildLine()
{
    QVBoxLayout* rows = addSection("Line");
    addRow(rows, "Shape",
           {menuField(
               "Line Shape", [this] { return sharedLabel(&Layer::lineShape); },
               [this](QMenu& menu) {
                   for (const EnumCase<LineShape>& one : EnumTable<LineShape>::cases)
                       menu.addAction(words(one.label), this, [this, shape = one.value] {
                           mutate("Edit Line Shape",
                                  [&](TweenScene& scene) { Inspector::writeLineShape(scene, shown_.layerIDs, shape); });
                       });
               })});
    if (Inspector::offersAll(shown_.stored, Property::lineArcBend)) {
        addHalfRow(rows, "Bend", propertyField(Property::lineArcBend, twoDecimals("", 0.01)));
        addRow(rows, "Reversed", {switchRow("Arc Direction", &Layer::lineArcReversed)});
    }
    if (Inspector::offersAll(shown_.stored, Property::lineWaveFrequency)) {
        addHalfRow(rows, "Frequency", propertyField(Property::lineWaveFrequency, twoDecimals("", 0.1)));
        addHalfRow(rows, "Amplitude", propertyField(Property::lineWaveAmplitude, twoDecimals("", 0.01)));
    }
    const auto isFreeform = [](const Layer* one) { return one->lineShape == LineShape::freeform; };
    if (std::ranges::all_of(shown_.stored, isFreeform)) addRow(rows, "Curved", {switchRow("Curved", &Layer::lineCurved)});
    addRow(rows, "Arrows",
           {labelledSwitch("Arrow at Start", "Start", &Layer::lineArrowStart),
            labelledSwitch("Arrow at End", "End", &Layer::lineArrowEnd)});
}

} // namespace larkspool
