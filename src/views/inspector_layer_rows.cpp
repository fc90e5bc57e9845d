#include "evaluation/interpolation.h"
#include "shell/item_inspectors.h"
#include "timeline/span_edits.h"
#include "views/inspector_view.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>

#include <algorithm>
#include <memory>
#include <utility>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

constexpr int textHeight = 64;

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

/// The text of text layers. A visit to it is one undo step, as with numbers.
class TextField final : public QPlainTextEdit {
public:
    TextField(NumericFieldUndoGate gate, QWidget* parent) : QPlainTextEdit(parent), gate_(std::move(gate))
    {
        setFrameShape(NoFrame);
        setFixedHeight(textHeight);
        setFont(textFont(TextStyle::body));
        setTabChangesFocus(true);
        setAccessibleName("Text");
        viewport()->setAutoFillBackground(false);
        setContentsMargins(0, 0, 0, 0);
    }

protected:
    void focusInEvent(QFocusEvent* event) override
    {
        if (event->reason() != Qt::PopupFocusReason) gate_.gainFocus();
        QPlainTextEdit::focusInEvent(event);
    }
    void focusOutEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusOutEvent(event);
        if (event->reason() != Qt::PopupFocusReason) gate_.loseFocus();
    }
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            event->accept();
            return true;
        }
        return QPlainTextEdit::event(event);
    }
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() != Qt::Key_Escape) return QPlainTextEdit::keyPressEvent(event);
        gate_.exitCommand();
        clearFocus();
    }
    void paintEvent(QPaintEvent* event) override
    {
        {
            QPainter painter(viewport());
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(hasFocus() ? QPen(theme().focusRing, 1.5) : QPen(Qt::NoPen));
            painter.fillRect(viewport()->rect(), theme().panel);
            painter.setBrush(hasFocus() ? theme().fieldFocus : theme().field);
            painter.drawRoundedRect(QRectF(viewport()->rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
        }
        QPlainTextEdit::paintEvent(event);
    }

private:
    NumericFieldUndoGate gate_;
};

/// A small raised card. A click on it asks for what it stands for.
class Card final : public QWidget {
public:
    Card(std::function<void()> clicked, QWidget* parent) : QWidget(parent), clicked_(std::move(clicked)) {}

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().field);
        painter.drawRoundedRect(rect(), 6, 6);
    }
    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton && clicked_) clicked_();
    }

private:
    std::function<void()> clicked_;
};

/// A tag of an effect: "Fade In 0.40".
class Tag final : public QToolButton {
public:
    enum class Look { filled, outlined };

    Tag(Look look, QWidget* parent) : QToolButton(parent), look_(look)
    {
        setFixedHeight(20);
        setFocusPolicy(Qt::TabFocus);
        setFont(textFont(TextStyle::caption));
    }
    QSize sizeHint() const override { return {fontMetrics().horizontalAdvance(text()) + 14, 20}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool isFilled = look_ == Look::filled;
        painter.setPen(hasFocus() ? QPen(t.focusRing, 1.5) : isFilled ? QPen(Qt::NoPen) : QPen(t.hairlineStrong, 1));
        painter.setBrush(isFilled       ? QBrush(underMouse() ? t.spanFillHover : t.spanFill)
                         : underMouse() ? QBrush(t.hover)
                                        : QBrush(Qt::NoBrush));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
        painter.setPen(isFilled ? t.spanText : t.textSecondary);
        painter.drawText(rect(), Qt::AlignCenter, text());
    }

private:
    Look look_;
};

QString seconds(double time)
{
    return QString::number(time, 'f', 2) + "s";
}

} // namespace

template <typename E>
Segments* InspectorView::enumSegments(const QString& name, E Layer::* field)
{
    std::vector<Segments::Choice> choices;
    for (const EnumCase<E>& one : EnumTable<E>::cases) choices.push_back({words(one.label)});
    return segments(
        name, std::move(choices),
        [this, field]() -> std::optional<std::size_t> {
            if (Inspector::isMixedAcrossSelection(shown_.resolved, field)) return std::nullopt;
            return static_cast<std::size_t>(shown_.first().*field);
        },
        [this, name, field](std::size_t index) {
            editLayers(name, [&](Layer& layer) { layer.*field = static_cast<E>(index); });
        });
}

template <typename E>
MenuField* InspectorView::enumMenu(const QString& name, E Layer::* field)
{
    return menuField(
        name,
        [this, field] {
            return words(Inspector::isMixedAcrossSelection(shown_.resolved, field) ? Inspector::mixedText
                                                                                   : larkspool::label(shown_.first().*field));
        },
        [this, name, field](QMenu& menu) {
            for (const EnumCase<E>& one : EnumTable<E>::cases)
                menu.addAction(words(one.label), this, [this, name, field, value = one.value] {
                    editLayers(name, [&](Layer& layer) { layer.*field = value; });
                });
        });
}

MenuField* InspectorView::zoomTypeMenu()
{
    return menuField(
        "Zoom Type",
        [this] {
            return words(Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::zoomType)
                             ? Inspector::mixedText
                             : larkspool::label(shown_.first().zoomType));
        },
        [this](QMenu& menu) {
            for (const EnumCase<ZoomType>& one : EnumTable<ZoomType>::cases)
                menu.addAction(words(one.label), this, [this, type = one.value] {
                    const TweenScene scene = context_.editor.scene();
                    editLayers("Zoom Type", [&](Layer& layer) { Inspector::setZoomType(layer, type, {scene.width, scene.height}); });
                });
        });
}

void InspectorView::buildLayers()
{
    buildLayerHead();
    for (const Inspector::Section section : Inspector::sections(shown_.stored)) {
        switch (section) {
        case Inspector::Section::transform: buildTransform(); break;
        case Inspector::Section::zoom: {
            QVBoxLayout* rows = addSection(words(Inspector::title(section)));
            addRow(rows, "Type", {zoomTypeMenu()});
            break;
        }
        case Inspector::Section::size: buildSize(); break;
        case Inspector::Section::layout: buildLayout(); break;
        case Inspector::Section::line: buildLine(); break;
        case Inspector::Section::text: buildText(); break;
        case Inspector::Section::appearance: buildAppearance(); break;
        case Inspector::Section::animation: buildAnimation(); break;
        case Inspector::Section::cursor: {
            QVBoxLayout* rows = addSection(words(Inspector::title(section)));
            auto* field = new MenuField("Cursor", FieldBox::HasDiamond::yes, body_);
            field->fill = [this](QMenu& menu) {
                for (const EnumCase<CursorVariant>& one : EnumTable<CursorVariant>::cases)
                    menu.addAction(words(one.label), this, [this, value = one.value] {
                        mutate("Edit Cursor", [&](TweenScene& scene) {
                            Inspector::upsertHelper(scene, shown_.layerIDs, Property::cursorVariant, value, shown_.how);
                        });
                    });
            };
            refreshers_.push_back([this, field] {
                const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::cursorVariant);
                field->showWords(words(isMixed ? Inspector::mixedText : larkspool::label(shown_.first().cursorVariant)));
            });
            withDiamond(field, Property::cursorVariant);
            addRow(rows, "Shape", {field});
            break;
        }
        }
    }
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
    column_->addWidget(head);

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

void InspectorView::buildTransform()
{
    const auto lock = [this](const BooleanKey& key, const QString& name) {
        QToolButton* button = iconButton("link", name, body_, 24);
        button->setCheckable(true);
        connect(button, &QToolButton::clicked, this, [this, key](bool isOn) { context_.editor.defaults().set(key, isOn); });
        refreshers_.push_back([this, button, key] { button->setChecked(context_.editor.defaults().boolean(key)); });
        return button;
    };
    const Layer& one = *shown_.stored.front();
    const bool turns = Inspector::offers(one, Property::rotation);
    QVBoxLayout* rows = addSection("Transform", turns ? lock(DefaultsKey::scaleAspectLocked, "Keep scales in ratio") : nullptr);
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
    QToolButton* link = iconButton("link", "Keep width and height in ratio", body_, 24);
    link->setCheckable(true);
    connect(link, &QToolButton::clicked, this,
            [this](bool isOn) { context_.editor.defaults().set(DefaultsKey::sizeAspectLocked, isOn); });
    refreshers_.push_back([this, link] { link->setChecked(context_.editor.defaults().boolean(DefaultsKey::sizeAspectLocked)); });
    QVBoxLayout* rows = addSection("Size", link);
    addRow(rows, "Dimensions", {propertyField(Property::width, lettered("W")), propertyField(Property::height, lettered("H"))});
    const auto hasCorners = [](const Layer* layer) { return Inspector::offers(*layer, Property::cornerRadius); };
    if (std::ranges::all_of(shown_.stored, hasCorners))
        addHalfRow(rows, "Corner Radius", propertyField(Property::cornerRadius, {}));
}

void InspectorView::buildLayout()
{
    QVBoxLayout* rows = addSection("Layout");
    addRow(rows, "Direction", {enumMenu("Layout", &Layer::groupLayout)});
    const bool isStack =
        std::ranges::all_of(shown_.stored, [](const Layer* layer) { return Inspector::offers(*layer, Property::groupGap); });
    if (!isStack) return;
    addHalfRow(rows, "Gap", propertyField(Property::groupGap, {}));
    std::vector<Segments::Choice> alignments;
    for (const EnumCase<GroupAlignment>& one : EnumTable<GroupAlignment>::cases)
        alignments.push_back({words(larkspool::label(one.value, shown_.stored.front()->groupLayout))});
    addRow(rows, "Alignment",
           {segments(
               "Alignment", std::move(alignments),
               [this] { return std::optional(static_cast<std::size_t>(shown_.first().groupAlignment)); },
               [this](std::size_t index) {
                   editLayers("Alignment", [&](Layer& layer) { layer.groupAlignment = static_cast<GroupAlignment>(index); });
               })});
    addRow(rows, "Size", {enumSegments("Size Mode", &Layer::groupSizeMode)});
}

void InspectorView::buildLine()
{
    QVBoxLayout* rows = addSection("Line");
    addRow(rows, "Shape",
           {menuField(
               "Line Shape",
               [this] {
                   const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::lineShape);
                   return words(isMixed ? Inspector::mixedText : larkspool::label(shown_.first().lineShape));
               },
               [this](QMenu& menu) {
                   for (const EnumCase<LineShape>& one : EnumTable<LineShape>::cases)
                       menu.addAction(words(one.label), this, [this, shape = one.value] {
                           mutate("Edit Line Shape",
                                  [&](TweenScene& scene) { Inspector::writeLineShape(scene, shown_.layerIDs, shape); });
                       });
               })});
    const Layer& first = *shown_.stored.front();
    if (Inspector::offers(first, Property::lineArcBend)) {
        addHalfRow(rows, "Bend", propertyField(Property::lineArcBend, twoDecimals("", 0.01)));
        addRow(rows, "Reversed", {switchRow("Arc Direction", &Layer::lineArcReversed)});
    }
    if (Inspector::offers(first, Property::lineWaveFrequency)) {
        addHalfRow(rows, "Frequency", propertyField(Property::lineWaveFrequency, twoDecimals("", 0.1)));
        addHalfRow(rows, "Amplitude", propertyField(Property::lineWaveAmplitude, twoDecimals("", 0.01)));
    }
    if (first.lineShape == LineShape::freeform) addRow(rows, "Curved", {switchRow("Curved", &Layer::lineCurved)});
    addRow(rows, "Arrows",
           {labelledSwitch("Arrow at Start", "Start", &Layer::lineArrowStart),
            labelledSwitch("Arrow at End", "End", &Layer::lineArrowEnd)});
}

void InspectorView::buildText()
{
    QVBoxLayout* rows = addSection("Text");
    auto* field = new TextField(undoGate(), body_);
    connect(field, &QPlainTextEdit::textChanged, this, [this, field] {
        if (!field->hasFocus()) return;
        mutate("Edit Text",
               [&](TweenScene& scene) { Inspector::writeText(scene, shown_.layerIDs, field->toPlainText().toStdString()); });
    });
    refreshers_.push_back([this, field] {
        const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::text);
        const QString text = isMixed ? QString() : words(shown_.first().text);
        field->setPlaceholderText(isMixed ? words(Inspector::mixedText) : QString());
        if (field->toPlainText() == text) return;
        const QSignalBlocker silent(field);
        field->setPlainText(text);
    });
    rows->addWidget(field);

    auto* font = new MenuField("Font", FieldBox::HasDiamond::yes, body_);
    const auto chooseFont = [this](const QString& family) {
        mutate("Edit Font", [&](TweenScene& scene) {
            Inspector::upsertHelper(scene, shown_.layerIDs, Property::fontName, SharedString(family.toStdString()), shown_.how);
        });
        context_.editor.defaults().set(DefaultsKey::lastUsedFontName, family.toStdString());
    };
    font->fill = [this, chooseFont](QMenu& menu) {
        menu.addAction(words(commandInfo(Command::replaceFont).title), this, [this] { context_.perform(Command::replaceFont); });
        menu.addSeparator();
        menu.addAction("System Font", this, [chooseFont] { chooseFont({}); });
        for (const QString& family : QFontDatabase::families())
            menu.addAction(family, this, [chooseFont, family] { chooseFont(family); });
    };
    refreshers_.push_back([this, font] {
        if (Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::fontName))
            return font->showWords(words(Inspector::mixedText));
        font->showWords(shown_.first().fontName.empty() ? QString("System Font") : words(shown_.first().fontName));
    });
    withDiamond(font, Property::fontName);
    addRow(rows, "Font", {font});
    addHalfRow(rows, "Font Size", propertyField(Property::fontSize, {}));
    addRow(rows, "Color", {colorField(Property::textColor)});
    addRow(rows, "Align",
           {segments(
                "Text Alignment", {{"Left", "text-left"}, {"Center", "text-center"}, {"Right", "text-right"}},
                [this] { return std::optional(static_cast<std::size_t>(shown_.first().textAlignment)); },
                [this](std::size_t index) {
                    editLayers("Text Alignment", [&](Layer& layer) { layer.textAlignment = static_cast<TextAlignment>(index); });
                }),
            segments(
                "Vertical Text Alignment", {{"Top", "text-top"}, {"Center", "text-middle"}, {"Bottom", "text-bottom"}},
                [this] { return std::optional(static_cast<std::size_t>(shown_.first().textVerticalAlignment)); },
                [this](std::size_t index) {
                    editLayers("Text Alignment",
                               [&](Layer& layer) { layer.textVerticalAlignment = static_cast<TextVerticalAlignment>(index); });
                })});
    addRow(rows, "Padding",
           {plainField(
                "Padding X", lettered("X"), [](const Layer& layer) { return layer.textPadX; },
                [](Layer& layer, double value) { layer.textPadX = std::max(value, 0.0); }),
            plainField(
                "Padding Y", lettered("Y"), [](const Layer& layer) { return layer.textPadY; },
                [](Layer& layer, double value) { layer.textPadY = std::max(value, 0.0); })});
    addRow(rows, "Fit to Text", {switchRow("Fit to Text", &Layer::textAutoFit)});
    addRow(rows, "Harmonize", {switchRow("Text Color Harmony", &Layer::textColorHarmonize)});
    addRow(rows, "Blinking Caret", {switchRow("Blinking Caret", &Layer::textCursorBlinks)});
}

void InspectorView::buildAppearance()
{
    const auto offersAll = [this](Property property) {
        return std::ranges::all_of(shown_.stored, [property](const Layer* layer) { return Inspector::offers(*layer, property); });
    };
    const auto isAll = [this](auto... kinds) {
        return std::ranges::all_of(shown_.stored, [=](const Layer* layer) { return ((layer->kind == kinds) || ...); });
    };
    QVBoxLayout* rows = addSection("Appearance");
    if (offersAll(Property::opacity)) {
        NumberField* opacity = propertyField(Property::opacity, {.decimals = 2, .step = 0.01});
        addRow(rows, "Opacity", {opacity}, opacity);
    }
    if (offersAll(Property::fill)) addRow(rows, "Fill", {colorField(Property::fill)});
    if (offersAll(Property::stroke)) addRow(rows, "Stroke", {colorField(Property::stroke)});
    if (offersAll(Property::strokeWidth)) {
        NumberField* strokeWidth = propertyField(Property::strokeWidth, {});
        if (isAll(Layer::Kind::line))
            addHalfRow(rows, "Stroke Width", strokeWidth);
        else
            addRow(rows, "Stroke Width", {strokeWidth, labelledSwitch("Stroke Outside", "Outside", &Layer::strokeOutside)},
                   strokeWidth);
    }
    if (isAll(Layer::Kind::rectangle, Layer::Kind::text, Layer::Kind::image, Layer::Kind::video)) {
        addRow(rows, "Per Side", {switchRow("Stroke Per Side", &Layer::perSideStroke)});
        const auto side = [this](const char* name, const char* letter, double Layer::* width) {
            return plainField(
                name, lettered(letter), [width](const Layer& layer) { return layer.*width; },
                [width](Layer& layer, double value) { layer.*width = std::max(value, 0.0); });
        };
        if (std::ranges::all_of(shown_.stored, &Layer::perSideStroke,
                                [](const Layer* layer) -> const Layer& { return *layer; })) {
            addRow(rows, "",
                   {side("Top Stroke", "T", &Layer::strokeWidthTop), side("Right Stroke", "R", &Layer::strokeWidthRight)});
            addRow(rows, "",
                   {side("Bottom Stroke", "B", &Layer::strokeWidthBottom), side("Left Stroke", "L", &Layer::strokeWidthLeft)});
        }
    }
    if (isAll(Layer::Kind::gradientField)) {
        addHalfRow(rows, "Warp Speed",
                   plainField("Warp Speed", {.decimals = 2, .step = 0.01}, &Layer::gradientWarpSpeed,
                              [](Layer& layer, double value) { layer.gradientWarpSpeed = value; }));
        addHalfRow(rows, "Pulse Amount",
                   plainField("Pulse Amount", {.decimals = 2, .step = 0.01}, &Layer::gradientPulseAmount,
                              [](Layer& layer, double value) { layer.gradientPulseAmount = value; }));
    }
    if (isAll(Layer::Kind::image, Layer::Kind::video)) {
        addRow(rows, "Key Out Black", {switchRow("Black Key", &Layer::blackKey)});
        buildCrop(rows);
    }
    if (offersAll(Property::shadow)) {
        std::vector<Segments::Choice> presets;
        for (const EnumCase<ShadowPreset>& one : EnumTable<ShadowPreset>::cases) presets.push_back({words(one.label)});
        Segments* shadow = segments(
            "Shadow", std::move(presets),
            [this]() -> std::optional<std::size_t> {
                if (Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::shadow)) return std::nullopt;
                return static_cast<std::size_t>(shown_.first().shadow);
            },
            [this](std::size_t index) {
                mutate("Edit Shadow", [&](TweenScene& scene) {
                    Inspector::upsertHelper(scene, shown_.layerIDs, Property::shadow, static_cast<ShadowPreset>(index),
                                            shown_.how);
                });
            });
        auto* diamond = new DiamondButton("Shadow keyframe", body_);
        connect(diamond, &QAbstractButton::clicked, this, [this] {
            perform(Inspector::toggleKeyframe(shown_.scene, shown_.layerIDs, Property::shadow, shown_.how.playhead));
        });
        refreshers_.push_back([this, diamond] {
            const Inspector::Diamond now = Inspector::diamond(shown_.resolved, Property::shadow, shown_.how.playhead);
            diamond->showDiamond(now, QString::fromStdString(Inspector::diamondHelp(now, shown_.how.playhead)));
        });
        addRow(rows, "Shadow", {shadow, diamond});
    }
    if (!isAll(Layer::Kind::cursor) && !isAll(Layer::Kind::zoom)) {
        const auto valueWords = [](const std::optional<CursorVariant>& variant) {
            return variant ? words(larkspool::label(*variant)) : QString("None");
        };
        addRow(rows, "Hover Cursor",
               {menuField(
                   "Hover Cursor",
                   [this, valueWords] {
                       if (Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::cursorHoverOverride))
                           return words(Inspector::mixedText);
                       return valueWords(shown_.first().cursorHoverOverride);
                   },
                   [this, valueWords](QMenu& menu) {
                       std::vector<std::optional<CursorVariant>> variants = {std::nullopt};
                       for (const EnumCase<CursorVariant>& one : EnumTable<CursorVariant>::cases) variants.push_back(one.value);
                       for (const std::optional<CursorVariant>& variant : variants)
                           menu.addAction(valueWords(variant), this, [this, variant] {
                               editLayers("Hover Cursor", [&](Layer& layer) { layer.cursorHoverOverride = variant; });
                           });
                   })});
    }
}

/// Choosing to crop one layer by hand opens the editor, which turns it on when a person is done there.
void InspectorView::buildCrop(QBoxLayout* rows)
{
    std::vector<Segments::Choice> modes;
    for (const EnumCase<CropMode>& one : EnumTable<CropMode>::cases) modes.push_back({words(one.label)});
    addRow(rows, "Crop",
           {segments(
               "Crop", std::move(modes),
               [this]() -> std::optional<std::size_t> {
                   if (Inspector::isMixedAcrossSelection(shown_.resolved, &Layer::cropMode)) return std::nullopt;
                   return static_cast<std::size_t>(shown_.first().cropMode);
               },
               [this](std::size_t index) {
                   const auto mode = static_cast<CropMode>(index);
                   if (mode == CropMode::manual && shown_.stored.size() == 1) return context_.perform(Command::showCropEditor);
                   editLayers("Crop", [&](Layer& layer) { layer.cropMode = mode; });
               })});
    if (shown_.stored.size() != 1 || shown_.stored.front()->cropMode != CropMode::manual) return;
    QPushButton* edit = wordButton("Edit Crop…", ButtonRole::plain, body_, FieldBox::fieldHeight);
    connect(edit, &QPushButton::clicked, this, [this] { context_.perform(Command::showCropEditor); });
    addRow(rows, "", {edit});
}

void InspectorView::buildAnimation()
{
    QToolButton* add = iconButton("plus", "Add Animation", body_, 24);
    connect(add, &QToolButton::clicked, this, [this, add] {
        auto* menu = new QMenu(window());
        menu->setAttribute(Qt::WA_DeleteOnClose);
        const Layer& layer = *shown_.stored.front();
        const UUID id = layer.id;
        const double playhead = shown_.how.playhead;
        QAction* span = menu->addAction(words(SpanInspector::addSpanLabel), this, [this, playhead] {
            TweenScene scene = shown_.scene;
            bool isAdded = false;
            for (const UUID& one : shown_.layerIDs)
                if (const auto edit = SpansTrack::addSpanAtPlayhead(scene, one, playhead)) {
                    scene = edit->scene;
                    isAdded = true;
                }
            if (isAdded) perform(Edit{std::move(scene), "Add Span"});
        });
        span->setEnabled(
            std::ranges::any_of(shown_.stored, [&](const Layer* one) { return !SpanInspector::spanAtPlayhead(*one, playhead); }));
        if (shown_.stored.size() == 1)
            menu->addAction("Add Pulse", this, [this, id] {
                context_.editor.addPulseAtPlayhead(id);
                context_.changed();
            });
        menu->popup(add->mapToGlobal(QPoint(0, add->height())));
    });
    QVBoxLayout* rows = addSection("Animation", add);
    if (shown_.stored.size() != 1) return;

    const Layer& layer = *shown_.stored.front();
    for (std::size_t i = 0; i < layer.spans.size(); ++i) {
        const auto ref = [this, i] {
            const Layer& now = *shown_.stored.front();
            return TimelineItemRef::span(now.id, i < now.spans.size() ? now.spans[i].id : UUID{});
        };
        const auto select = [this, ref] {
            context_.editor.selectTimelineItems({ref()});
            context_.changed();
        };
        auto* card = new Card(select, body_);
        auto* column = new QVBoxLayout(card);
        column->setContentsMargins(8, 6, 8, 8);
        column->setSpacing(6);
        auto* head = new QHBoxLayout;
        head->setSpacing(8);
        auto* icon = new QLabel(card);
        icon->setPixmap(iconPixmap("span", 16, theme().span, devicePixelRatioF()));
        head->addWidget(icon);
        head->addWidget(larkspool::label("Span", TextStyle::body, LabelTone::text, card));
        head->addStretch(1);
        QLabel* times = larkspool::label({}, TextStyle::value, LabelTone::secondary, card);
        head->addWidget(times);
        column->addLayout(head);
        auto* tags = new QGridLayout;
        tags->setSpacing(4);
        const std::size_t effectCount = layer.spans[i].effects.size();
        int place = 0;
        for (std::size_t e = 0; e < effectCount; ++e, ++place) {
            auto* tag = new Tag(Tag::Look::filled, card);
            connect(tag, &QToolButton::clicked, this, select);
            tags->addWidget(tag, place / 2, place % 2);
            refreshers_.push_back([this, tag, i, e] {
                const Layer& now = *shown_.stored.front();
                const SpanEffect& effect = now.spans[i].effects[e];
                tag->setText(
                    QString("%1 %2").arg(words(larkspool::label(effect.kind)), QString::number(effect.duration, 'f', 2)));
                tag->updateGeometry();
            });
        }
        auto* more = new Tag(Tag::Look::outlined, card);
        more->setText(words(SpanInspector::addEffectLabel));
        more->setVisible(SpanInspector::effectMenu(layer.kind) != SpanInspector::EffectMenu{});
        connect(more, &QToolButton::clicked, this, [this, more, ref] { showEffectMenu(ref(), more); });
        tags->addWidget(more, place / 2, place % 2, Qt::AlignLeft);
        tags->setColumnStretch(2, 1);
        column->addLayout(tags);
        rows->addWidget(card);
        refreshers_.push_back([this, times, i] {
            const TimeSpan& span = shown_.stored.front()->spans[i];
            times->setText(seconds(span.start) + " – " + seconds(span.end));
        });
    }
    if (layer.pulses.empty()) return;
    auto* card = new Card({}, body_);
    auto* row = new QHBoxLayout(card);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(8);
    auto* icon = new QLabel(card);
    icon->setPixmap(iconPixmap("pulse", 16, theme().pulse, devicePixelRatioF()));
    row->addWidget(icon);
    QLabel* count = larkspool::label({}, TextStyle::body, LabelTone::text, card);
    row->addWidget(count);
    row->addStretch(1);
    QLabel* times = larkspool::label({}, TextStyle::value, LabelTone::secondary, card);
    row->addWidget(times);
    rows->addWidget(card);
    refreshers_.push_back([this, count, times] {
        const Array<Pulse>& pulses = shown_.stored.front()->pulses;
        count->setText(pulses.size() == 1 ? QString("1 pulse") : QString("%1 pulses").arg(pulses.size()));
        QStringList list;
        for (const Pulse& pulse : pulses) list.append(seconds(pulse.time));
        times->setText(times->fontMetrics().elidedText(list.join(", "), Qt::ElideRight, 130));
    });
}

} // namespace larkspool
