#include "views/inspector_view.h"

#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "shell/welcome.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QApplication>
#include <QBoxLayout>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace larkspool {

namespace {

constexpr int padding = 12, labelColumn = 84, narrowLabelColumn = 80, columnGap = 8, rowGap = 6, sectionHead = 32,
              headHeight = 36;
constexpr int narrowBelow = 280; ///< Pixels of the inspector's width.

/// The name of a row. Dragged, it changes the row's number.
class RowLabel final : public QLabel {
public:
    RowLabel(const QString& words, NumberField* scrubbed, QWidget* parent) : QLabel(words, parent), scrubbed_(scrubbed)
    {
        setFont(textFont(TextStyle::body));
        QPalette colors = palette();
        colors.setColor(QPalette::WindowText, theme().textSecondary);
        setPalette(colors);
        setFixedWidth(labelColumn);
        if (scrubbed) setCursor(Qt::SizeHorCursor);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override
    {
        if (!scrubbed_ || event->button() != Qt::LeftButton) return;
        pressedAt_ = event->pos().x();
        scrubbed_->beginScrub();
    }
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (scrubbed_) scrubbed_->scrubTo(event->pos().x() - pressedAt_, event->modifiers());
    }
    void mouseReleaseEvent(QMouseEvent*) override
    {
        if (scrubbed_) scrubbed_->endScrub();
    }

private:
    NumberField* scrubbed_;
    int pressedAt_ = 0;
};

/// Scrolls beneath its scroll bar, so that the fields keep their places where the bar comes and goes.
class ScrollBeneathBar final : public QScrollArea {
public:
    explicit ScrollBeneathBar(QWidget* parent) : QScrollArea(parent)
    {
        setFrameShape(QFrame::NoFrame);
        setWidgetResizable(true);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFocusPolicy(Qt::NoFocus);
        verticalScrollBar()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == verticalScrollBar() && (event->type() == QEvent::Show || event->type() == QEvent::Hide)) {
            setViewportMargins(0, 0, event->type() == QEvent::Show ? -verticalScrollBar()->sizeHint().width() : 0, 0);
            verticalScrollBar()->parentWidget()->raise();
        }
        return QScrollArea::eventFilter(watched, event);
    }
};

} // namespace

InspectorView::InspectorView(EditorContext context, QWidget* parent)
    : Surface(theme().panel, parent), context_(std::move(context))
{
    setAccessibleName("Inspector");
    rippleHandlesReturn_.setSingleShot(true);
    rippleHandlesReturn_.callOnTimeout(this, [this] { context_.changed(); });
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    scroll_ = new ScrollBeneathBar(this);
    whole->addWidget(scroll_);
}

InspectorView::~InspectorView()
{
    hide(); // The field that has the keyboard ends its visit while all that it works on is there.
}

void InspectorView::resizeEvent(QResizeEvent* event)
{
    Surface::resizeEvent(event);
    placeLabels();
}

void InspectorView::showEvent(QShowEvent* event)
{
    Surface::showEvent(event);
    refresh(); // What has changed meanwhile was not shown.
}

void InspectorView::placeLabels()
{
    if (!body_) return;
    const int column = width() < narrowBelow ? narrowLabelColumn : labelColumn;
    for (QLabel* one : body_->findChildren<QLabel*>())
        if (auto* row = dynamic_cast<RowLabel*>(one)) row->setFixedWidth(column);
}

void InspectorView::refresh()
{
    if (!isVisibleTo(window())) return;
    const LayerIDs layersBefore = shown_.layerIDs;
    const InspectorSubject subjectBefore = shown_.subject;
    // What is typed belongs to what was selected: the visit to the field ends before it shows something else.
    const EditorState& state = context_.editor.state();
    QWidget* focus = QApplication::focusWidget();
    const bool isOther = state.selectedLayerIDs != layersBefore || inspectorSubject(state) != subjectBefore;
    if (isOther && body_ && focus && body_->isAncestorOf(focus)) focus->clearFocus();

    takeState();
    if (scrubBaseline_ && (isOther || signature() != signature_)) endScrub(); // The number that is dragged goes.
    if (const QByteArray now = signature(); now != signature_ || !body_) {
        if (body_ && focus && focus->hasFocus() && body_->isAncestorOf(focus)) focus->clearFocus();
        signature_ = now;
        rebuild();
    }
    for (const auto& show : refreshers_) show();
}

void InspectorView::takeState()
{
    const EditorState& state = context_.editor.state();
    shown_.stored.clear();
    shown_.resolved.clear();
    shown_.subject = inspectorSubject(state);
    shown_.scene = state.scene();
    shown_.layerIDs = state.selectedLayerIDs;
    shown_.how = {.playhead = state.playhead,
                  .keyframeAtPlayhead = context_.editor.defaults().boolean(DefaultsKey::keyframeAtPlayhead)};
    if (shown_.subject.kind != InspectorSubject::Kind::layers) return;
    shown_.stored = collectSelectedAnywhere(shown_.scene.layers, shown_.layerIDs);
    for (const Layer* layer : shown_.stored) shown_.resolved.push_back(Interpolation::resolve(*layer, shown_.how.playhead));
    if (shown_.stored.empty()) shown_.subject.kind = InspectorSubject::Kind::scene;
}

/// All that decides which rows there are.
QByteArray InspectorView::signature() const
{
    QByteArray result;
    const auto add = [&result](auto value) { result.append(static_cast<char>(value)); };
    add(shown_.subject.kind);
    for (const Layer* layer : shown_.stored) {
        for (const int part :
             {static_cast<int>(layer->kind), static_cast<int>(layer->lineShape), static_cast<int>(layer->groupLayout),
              static_cast<int>(layer->groupSizeMode), static_cast<int>(layer->perSideStroke), static_cast<int>(layer->blackKey),
              static_cast<int>(layer->cropMode)})
            add(part);
        if (shown_.stored.size() > 1) continue;
        for (const TimeSpan& span : layer->spans) {
            add(-1);
            for (const SpanEffect& effect : span.effects) add(effect.kind);
        }
        add(layer->pulses.empty());
    }
    for (const TimelineItemRef& ref : shown_.subject.items) {
        if (const Keyframe* keyframe = findKeyframe(shown_.scene, ref.layerID, ref.itemID)) add(keyframe->property);
        const Layer* layer = findLayer(shown_.scene, ref.layerID);
        if (const TimeSpan* span = layer ? findSpan(*layer, ref.itemID) : nullptr) {
            add(layer->kind);
            for (const SpanEffect& effect : span->effects) add(effect.kind);
            add(span->cursorBlinkRanges.size());
        }
    }
    return result;
}

void InspectorView::rebuild()
{
    refreshers_.clear();
    if (body_) {
        // The field whose change this is may still be at work.
        QWidget* old = scroll_->takeWidget();
        old->hide();
        old->deleteLater();
    }
    body_ = new QWidget;
    column_ = new QVBoxLayout(body_);
    column_->setContentsMargins(0, 0, 0, padding);
    column_->setSpacing(0);
    switch (shown_.subject.kind) {
    case InspectorSubject::Kind::scene: buildScene(); break;
    case InspectorSubject::Kind::layers: buildLayers(); break;
    case InspectorSubject::Kind::keyframes: buildKeyframes(); break;
    case InspectorSubject::Kind::span: buildSpan(); break;
    case InspectorSubject::Kind::videoClip: buildClip(); break;
    case InspectorSubject::Kind::pulse: buildPulse(); break;
    case InspectorSubject::Kind::severalKinds: column_->addWidget(note(words(Inspector::severalKindsText))); break;
    }
    column_->addStretch(1);
    placeLabels();
    scroll_->setWidget(body_);
}

void InspectorView::mutate(const std::string& action, const SharedCommit::Work& work)
{
    context_.editor.mutate(action, work);
    context_.changed();
}

void InspectorView::perform(std::optional<Edit> edit)
{
    context_.editor.perform(std::move(edit));
    context_.changed();
}

void InspectorView::editLayers(const QString& name, const std::function<void(Layer&)>& write)
{
    mutate(Inspector::actionName(name.toStdString()),
           [&](TweenScene& scene) { Inspector::writeToSelected(scene, shown_.layerIDs, write); });
}

QWidget* InspectorView::note(const QString& text)
{
    QLabel* result = label(text, TextStyle::body, LabelTone::secondary, body_);
    result->setAlignment(Qt::AlignCenter);
    result->setWordWrap(true);
    result->setContentsMargins(padding, 24, padding, 24);
    return result;
}

QVBoxLayout* InspectorView::addSection(const QString& title, QWidget* headButton)
{
    if (column_->count() > 0) column_->addWidget(hairline(Qt::Horizontal, body_));
    auto* head = new QWidget(body_);
    head->setFixedHeight(sectionHead);
    auto* headRow = new QHBoxLayout(head);
    headRow->setContentsMargins(padding, 0, padding - 4, 0);
    headRow->addWidget(label(title, TextStyle::section, LabelTone::text, head));
    headRow->addStretch(1);
    if (headButton) headRow->addWidget(headButton);
    column_->addWidget(head);
    auto* rows = new QVBoxLayout;
    rows->setContentsMargins(padding, 0, padding, padding);
    rows->setSpacing(rowGap);
    column_->addLayout(rows);
    return rows;
}

void InspectorView::addRow(QBoxLayout* section, const QString& name, const std::vector<QWidget*>& fields, NumberField* scrubbed)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(columnGap);
    auto* rowLabel = new RowLabel(name, scrubbed, body_);
    row->addWidget(rowLabel);
    for (QWidget* field : fields) row->addWidget(field, field ? 1 : 0);
    section->addLayout(row);
}

void InspectorView::addHalfRow(QBoxLayout* section, const QString& name, NumberField* field)
{
    auto* rest = new QWidget(body_);
    rest->setMinimumWidth(56);
    addRow(section, name, {field, rest}, field);
}

/// One undo step for a visit to a field, however much is typed.
NumericFieldUndoGate InspectorView::undoGate()
{
    return {.open = [this] { context_.editor.commit().openNumericUndoGate(); },
            .confirm =
                [this] {
                    context_.editor.commit().confirmNumericUndoGate();
                    context_.changed(); // There may be a step to undo now.
                },
            .cancel =
                [this] {
                    context_.editor.commit().cancelNumericUndoGate();
                    context_.changed();
                }};
}

bool InspectorView::enterNumber(const Number& number, double typed)
{
    const SharedCommit::Work work = number.write(typed);
    if (!work) return false;
    const std::optional<double> current = number.read();
    if (current && Inspector::isUnchanged(*current, number.kept ? number.kept(typed) : typed)) return true;
    // Held within its limits, it may come to what there is.
    const TweenScene before = context_.editor.scene();
    TweenScene after = before;
    work(after);
    if (after != before) mutate(number.action, work);
    return true;
}

void InspectorView::endScrub()
{
    scrubBaseline_.reset();
    if (!context_.editor.scrub().isOpen()) return;
    context_.editor.scrub().scrubEnd();
    context_.changed();
}

NumberField* InspectorView::numberField(Number number)
{
    auto read = number.read;
    NumberSteps steps{.typed = [this, number](double typed) { return enterNumber(number, typed); },
                      .gate = undoGate(),
                      .scrubBegin =
                          [this, action = number.action] {
                              scrubBaseline_ = context_.editor.scene();
                              context_.editor.scrub().scrubBegin(action);
                          },
                      .scrub =
                          [this, number](double scrubbed) {
                              if (!context_.editor.scrub().isOpen()) return;
                              if (const SharedCommit::Work work = number.write(scrubbed)) context_.editor.scrub().scrub(work);
                              context_.changed();
                          },
                      .scrubEnd = [this] { endScrub(); }};
    auto* field = new NumberField(std::move(number.look), std::move(steps), body_);
    refreshers_.push_back([field, read] { field->showValue(read()); });
    return field;
}

void InspectorView::withDiamond(FieldBox* field, Property property)
{
    field->diamondClicked = [this, property] {
        perform(Inspector::toggleKeyframe(shown_.scene, shown_.layerIDs, property, shown_.how.playhead));
    };
    refreshers_.push_back([this, field, property] {
        const Inspector::Diamond diamond = Inspector::diamond(shown_.resolved, property, shown_.how.playhead);
        field->showDiamond(diamond, QString::fromStdString(Inspector::diamondHelp(diamond, shown_.how.playhead)));
    });
}

NumberField* InspectorView::propertyField(Property property, NumberField::Look look)
{
    const QString name = words(displayName(property));
    look.name = name;
    look.hasDiamond = FieldBox::HasDiamond::yes;
    // What is cropped away is no part of the place that a person sees.
    const auto valueOf = [property](const Layer& layer) {
        return std::get<double>(Interpolation::fieldValue(layer, property)) + Inspector::croppedPositionOffset(layer, property);
    };
    const auto read = [this, valueOf]() -> std::optional<double> {
        if (Inspector::isMixedAcrossSelection(shown_.resolved, valueOf)) return std::nullopt;
        return valueOf(shown_.first());
    };
    const auto kept = [property, name](double typed) { return Inspector::clampForProperty(property, name.toStdString(), typed); };
    const auto write = [this, property, kept](double typed) -> SharedCommit::Work {
        const double value = kept(typed);
        const bool isSide = property == Property::width || property == Property::height;
        const bool isScale = property == Property::scaleX || property == Property::scaleY;
        const UserDefaults& defaults = context_.editor.defaults();
        const bool isLocked = (isSide && defaults.boolean(DefaultsKey::sizeAspectLocked)) ||
                              (isScale && defaults.boolean(DefaultsKey::scaleAspectLocked));
        return [this, property, value, isLocked](TweenScene& scene) {
            if (isLocked) {
                const EditorState& state = context_.editor.state();
                const TweenScene before = scrubBaseline_ ? *scrubBaseline_ : state.gatePreFocusScene.value_or(scene);
                return Inspector::upsertInRatio(scene, before, shown_.layerIDs, property, value, shown_.how);
            }
            const auto uncropped = [&](const Layer& layer) -> KeyValue {
                if (layer.cropMode != CropMode::manual) return value;
                return value - Inspector::croppedPositionOffset(Interpolation::resolve(layer, shown_.how.playhead), property);
            };
            Inspector::upsertEach(scene, shown_.layerIDs, property, uncropped, shown_.how);
        };
    };
    NumberField* field = numberField({std::move(look), Inspector::actionName(name.toStdString()), read, write, kept});
    withDiamond(field, property);
    return field;
}

NumberField* InspectorView::plainField(const QString& name, NumberField::Look look, std::function<double(const Layer&)> readOne,
                                       std::function<void(Layer&, double)> writeOne)
{
    look.name = name;
    const auto read = [this, readOne]() -> std::optional<double> {
        if (Inspector::isMixedAcrossSelection(shown_.resolved, readOne)) return std::nullopt;
        return readOne(shown_.first());
    };
    const auto kept = [name](double typed) { return Inspector::clampForProperty(std::nullopt, name.toStdString(), typed); };
    const auto write = [this, kept, writeOne](double typed) -> SharedCommit::Work {
        return [this, value = kept(typed), writeOne](TweenScene& scene) {
            Inspector::writeToSelected(scene, shown_.layerIDs, [&](Layer& layer) { writeOne(layer, value); });
        };
    };
    return numberField({std::move(look), Inspector::actionName(name.toStdString()), read, write, kept});
}

ColorField::Steps InspectorView::colorSteps(const std::string& action, std::function<void(TweenScene&, const QColor&)> write,
                                            std::function<void(TweenScene&, const TweenScene&)> takeBack)
{
    ColorEditBatch& batch = context_.editor.colorBatch();
    const auto stream = [this, &batch, action](const SharedCommit::Work& work) {
        batch.colorEditBatch(action, work);
        context_.changed();
    };
    return {
        .typed = [this, action, write](const QColor& color) { mutate(action, [&](TweenScene& scene) { write(scene, color); }); },
        .opened =
            [this, &batch] {
                batch.commitColorBatch();
                wellBaseline_ = context_.editor.scene();
            },
        .chosen = [stream, write](const QColor& color) { stream([&](TweenScene& scene) { write(scene, color); }); },
        .cancelled =
            [this, &batch, stream, takeBack] {
                batch.cancelColorBatch();
                    // What was chosen at leisure has become steps by now.
                if (context_.editor.scene() != *wellBaseline_)
                    stream([&](TweenScene& scene) { takeBack(scene, *wellBaseline_); });
            },
        .closed =
            [this, &batch] {
                batch.commitColorBatch();
                wellBaseline_.reset();
                context_.changed();
            }};
}

ColorField* InspectorView::colorField(Property property)
{
    const QString name = words(displayName(property));
    const std::string action = Inspector::actionName(name.toStdString());
    const auto write = [this, property](TweenScene& scene, const QColor& color) {
        Inspector::upsertHelper(scene, shown_.layerIDs, property, asColor(color), shown_.how);
        if (property == Property::fill) Inspector::autoRenameShapeLayersOnFillEdit(scene, shown_.layerIDs);
    };
    ColorField::Steps steps = colorSteps(action, write, [this](TweenScene& scene, const TweenScene& before) {
        Inspector::takeBack(scene, before, shown_.layerIDs);
    });
    auto* field = new ColorField(name, FieldBox::HasDiamond::yes, std::move(steps), body_);
    refreshers_.push_back([this, field, property] {
        const auto valueOf = [property](const Layer& layer) {
            return std::get<ColorRGBA>(Interpolation::fieldValue(layer, property));
        };
        const bool isMixed = Inspector::isMixedAcrossSelection(shown_.resolved, valueOf);
        field->showColor(isMixed ? std::nullopt : std::optional(asQColor(valueOf(shown_.first()))));
    });
    withDiamond(field, property);
    return field;
}

SwitchButton* InspectorView::switchButton(const QString& name, std::function<std::optional<bool>()> read,
                                          std::function<void(bool)> write)
{
    auto* button = new SwitchButton(name, body_);
    connect(button, &QAbstractButton::clicked, this, [write = std::move(write)](bool isOn) { write(isOn); });
    refreshers_.push_back([button, read = std::move(read)] { button->showState(read()); });
    return button;
}

QWidget* InspectorView::labelledSwitch(const QString& name, const QString& text, bool Layer::* field)
{
    auto* holder = new QWidget(body_);
    holder->setFixedHeight(FieldBox::fieldHeight);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(switchButton(
        name,
        [this, field]() -> std::optional<bool> {
            if (Inspector::isMixedAcrossSelection(shown_.resolved, field)) return std::nullopt;
            return shown_.first().*field;
        },
        [this, field, name](bool isOn) { editLayers(name, [&](Layer& layer) { layer.*field = isOn; }); }));
    row->addWidget(label(text, TextStyle::body, LabelTone::secondary, holder));
    row->addStretch(1);
    return holder;
}

QWidget* InspectorView::switchRow(const QString& name, bool Layer::* field)
{
    return labelledSwitch(name, {}, field);
}

Segments* InspectorView::segments(const QString& name, std::vector<Segments::Choice> choices,
                                  std::function<std::optional<std::size_t>()> read, std::function<void(std::size_t)> write)
{
    auto* result = new Segments(name, std::move(choices), body_);
    result->chosen = std::move(write);
    refreshers_.push_back([result, read = std::move(read)] { result->showChosen(read()); });
    return result;
}

MenuField* InspectorView::menuField(const QString& name, std::function<QString()> read, std::function<void(QMenu&)> fill)
{
    auto* field = new MenuField(name, FieldBox::HasDiamond::no, body_);
    field->fill = std::move(fill);
    refreshers_.push_back([field, read = std::move(read)] { field->showWords(read()); });
    return field;
}

void InspectorView::buildHead(const QString& icon, const QColor& color, const QString& title)
{
    auto* head = new QWidget(body_);
    head->setFixedHeight(headHeight);
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(padding, 4, padding, 0);
    row->setSpacing(8);
    auto* picture = new QLabel(head);
    picture->setPixmap(iconPixmap(icon, 16, color, devicePixelRatioF()));
    row->addWidget(picture);
    row->addWidget(label(title, TextStyle::objectName, LabelTone::text, head));
    row->addStretch(1);
    auto* layerName = new QToolButton(head);
    layerName->setAutoRaise(true);
    layerName->setFont(textFont(TextStyle::body));
    layerName->setFocusPolicy(Qt::TabFocus);
    layerName->setMaximumWidth(140);
    layerName->setToolTip("Show the layer's properties");
    connect(layerName, &QToolButton::clicked, this, [this] {
        const LayerIDs layers = {shown_.subject.items.front().layerID};
        context_.editor.selectTimelineItems({});
        context_.editor.selectLayers(layers);
        context_.changed();
    });
    row->addWidget(layerName);
    refreshers_.push_back([this, layerName] {
        const auto& items = shown_.subject.items;
        const Layer* layer = items.empty() ? nullptr : findLayer(shown_.scene, items.front().layerID);
        const QString name = layer ? words(layer->name) : QString();
        layerName->setText(layerName->fontMetrics().elidedText(name, Qt::ElideRight, 124));
        layerName->setVisible(layer != nullptr);
    });
    column_->addWidget(head);
}

NumberField* InspectorView::sceneField(const QString& name, NumberField::Look look, std::function<double(const TweenScene&)> read,
                                       std::function<SharedCommit::Work(const TweenScene&, double)> write)
{
    look.name = name;
    return numberField({std::move(look), Inspector::actionName(name.toStdString()),
                        [this, read = std::move(read)] { return std::optional(read(shown_.scene)); },
                        [this, write = std::move(write)](double typed) { return write(shown_.scene, typed); }});
}

void InspectorView::buildScene()
{
    buildHead("rectangle", theme().icon, "Scene");
    buildDimensions();
    buildSceneTiming();
    buildBackground();
}

void InspectorView::buildDimensions()
{
    const auto side = [this](const QString& name, const char* letter, double TweenScene::* field,
                             std::optional<double> (*keep)(const TweenScene&, double)) {
        return sceneField(name, {.name = {}, .letter = letter}, field,
                          [field, keep](const TweenScene& scene, double typed) -> SharedCommit::Work {
                              const std::optional<double> kept = keep(scene, typed);
                              if (!kept) return nullptr;
                              return [field, value = *kept](TweenScene& edited) { edited.*field = value; };
                          });
    };
    QVBoxLayout* rows = addSection("Dimensions");
    addRow(rows, "Size",
           {side("Scene Width", "W", &TweenScene::width, Inspector::keptSceneWidth),
            side("Scene Height", "H", &TweenScene::height, Inspector::keptSceneHeight)});
    QPushButton* presets = wordButton("Apply Canvas Preset", ButtonRole::plain, body_, FieldBox::fieldHeight);
    connect(presets, &QPushButton::clicked, this, [this, presets] {
        auto* menu = new QMenu(window());
        menu->setAttribute(Qt::WA_DeleteOnClose);
        for (const CanvasPreset& preset : canvasPresets)
            menu->addAction(words(preset.label), this,
                            [this, size = preset.size()] { perform(Inspector::applyCanvasPreset(shown_.scene, size)); });
        menu->popup(presets->mapToGlobal(QPoint(0, presets->height() + 2)));
    });
    rows->addWidget(presets);
}

void InspectorView::buildSceneTiming()
{
    QVBoxLayout* rows = addSection("Timing");
    const auto seconds = [this](const QString& name, double TweenScene::* field, std::optional<double> (*keep)(double)) {
        return sceneField(name, {.name = {}, .suffix = " s", .decimals = 2, .step = 0.1}, field,
                          [field, keep](const TweenScene&, double typed) -> SharedCommit::Work {
                              const std::optional<double> kept = keep(typed);
                              if (!kept) return nullptr;
                              return [field, value = *kept](TweenScene& edited) { edited.*field = value; };
                          });
    };
    addHalfRow(rows, "Duration", seconds("Duration", &TweenScene::duration, Inspector::keptDuration));
    addHalfRow(rows, "End Pause", seconds("End Pause", &TweenScene::endPause, Inspector::keptEndPause));
    addHalfRow(rows, "FPS",
               sceneField(
                   "FPS", {.name = {}, .suffix = " fps"}, [](const TweenScene& scene) { return static_cast<double>(scene.fps); },
                   [](const TweenScene&, double typed) -> SharedCommit::Work {
                       const std::optional<std::int64_t> kept = Inspector::keptFps(typed);
                       if (!kept) return nullptr;
                       return [value = *kept](TweenScene& edited) { edited.fps = value; };
                   }));
}

void InspectorView::buildBackground()
{
    ColorField::Steps steps = colorSteps(
        "Edit Background", [](TweenScene& scene, const QColor& color) { scene.background = asColor(color); },
        [](TweenScene& scene, const TweenScene& before) { scene.background = before.background; });
    auto* color = new ColorField("Background", FieldBox::HasDiamond::no, std::move(steps), body_);
    refreshers_.push_back([this, color] { color->showColor(asQColor(shown_.scene.background)); });
    addRow(addSection("Background"), "Color", {color});
}

} // namespace larkspool
