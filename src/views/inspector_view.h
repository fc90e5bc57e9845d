#pragma once

#include "shell/inspector.h"
#include "views/controls.h"
#include "views/editor_context.h"
#include "views/inspector_choices.h"
#include "views/inspector_fields.h"
#include "views/inspector_words.h"

#include <QTimer>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class QBoxLayout;
class QLayout;
class QVBoxLayout;
class QScrollArea;

namespace larkspool {

/// What is selected, with its properties to edit. The rows are built anew when the inspector is about something of another kind,
/// and told their values otherwise.
class InspectorView final : public Surface {
public:
    InspectorView(EditorContext context, QWidget* parent);
    ~InspectorView() override;

    /// Shows the editor's state.
    void refresh();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    using Property = Keyframe::AnimatableProperty;

    /// What the rows show, taken together once for all of them.
    struct Shown {
        InspectorSubject subject{};
        TweenScene scene{};
        LayerIDs layerIDs{};
        std::vector<const Layer*> stored{}; ///< The selected layers, in `scene`.
        std::vector<Layer> resolved{};      ///< The same at the playhead.
        KeyframedWriting how{};

        const Layer& first() const { return resolved.front(); }
    };

    /// A number's row: what it shows, and what becomes of what is typed. `write` gives nothing where the number is refused.
    struct Number {
        NumberField::Look look;
        std::string action;
        std::function<std::optional<double>()> read;
        std::function<SharedCommit::Work(double)> write;
        std::function<double(double)> kept{}; ///< The number within its limits. Absent where each is its own.
    };

    void takeState();
    QByteArray signature() const;
    void rebuild();
    void placeLabels();

    /// @name What the selected layers have in common.
    /// @{
    /// The place of the value among the cases; nothing if they differ.
    template <typename E>
    std::optional<std::size_t> sharedIndex(E Layer::* field) const
    {
        if (Inspector::isMixedAcrossSelection(shown_.resolved, field)) return std::nullopt;
        return static_cast<std::size_t>(shown_.first().*field);
    }
    template <typename E>
    QString sharedLabel(E Layer::* field) const
    {
        const std::optional<std::size_t> index = sharedIndex(field);
        return words(index ? larkspool::label(static_cast<E>(*index)) : Inspector::mixedText);
    }
    /// @}

    /// @name Parts of which the inspectors are built.
    /// @{
    QVBoxLayout* addSection(const QString& title, QWidget* headButton = nullptr);
    void addRow(QBoxLayout* section, const QString& name, const std::vector<QWidget*>& fields, NumberField* scrubbed = nullptr);
    void addHalfRow(QBoxLayout* section, const QString& name, NumberField* field);
    NumericFieldUndoGate undoGate();
    NumberField* numberField(Number number);
    /// Makes what was typed an edit, if it changes anything. Whether the number was taken.
    bool enterNumber(const Number& number, double typed);
    NumberField* sceneField(const QString& name, NumberField::Look look, std::function<double(const TweenScene&)> read,
                            std::function<SharedCommit::Work(const TweenScene&, double)> write);
    NumberField* propertyField(Property property, NumberField::Look look);
    NumberField* plainField(const QString& name, NumberField::Look look, std::function<double(const Layer&)> read,
                            std::function<void(Layer&, double)> write);
    ColorField* colorField(Property property);
    /// What a colour's field does. `takeBack` puts into a scene what another one has of it.
    ColorField::Steps colorSteps(const std::string& action, std::function<void(TweenScene&, const QColor&)> write,
                                 std::function<void(TweenScene&, const TweenScene&)> takeBack);
    QWidget* switchRow(const QString& name, bool Layer::* field);
    QWidget* labelledSwitch(const QString& name, const QString& words, bool Layer::* field);
    /// `read` gives nothing for states that differ.
    SwitchButton* switchButton(const QString& name, std::function<std::optional<bool>()> read, std::function<void(bool)> write);
    Segments* segments(const QString& name, std::vector<Segments::Choice> choices,
                       std::function<std::optional<std::size_t>()> read, std::function<void(std::size_t)> write);
    template <typename E>
    Segments* fieldSegments(const QString& name, const QString& edited, std::vector<Segments::Choice> choices, E Layer::* field)
    {
        return segments(
            name, std::move(choices), [this, field] { return sharedIndex(field); },
            [this, edited, field](std::size_t index) {
                editLayers(edited, [&](Layer& layer) { layer.*field = static_cast<E>(index); });
            });
    }
    MenuField* menuField(const QString& name, std::function<QString()> read, std::function<void(QMenu&)> fill);
    MenuField* zoomTypeMenu();
    MenuField* cursorMenu();
    MenuField* groupLayoutMenu();
    MenuField* fontMenu();
    MenuField* hoverCursorMenu();
    QToolButton* ratioButton(const BooleanKey& key, const QString& name);
    QWidget* textField();
    QWidget* spanCard(std::size_t index);
    QLayout* effectTags(std::size_t index, QWidget* card, const std::function<void()>& select,
                        const std::function<TimelineItemRef()>& span);
    QWidget* pulsesCard();
    /// A number of an item of the timeline. Nothing came of `edit` where the number changes nothing.
    NumberField* itemField(const QString& name, const char* action, NumberField::Look look,
                           std::function<std::optional<double>()> read, std::function<std::optional<Edit>(double)> edit);
    void withDiamond(FieldBox* field, Property property);
    QWidget* note(const QString& words);
    /// @}

    /// @name Edits.
    /// @{
    void mutate(const std::string& action, const SharedCommit::Work& work);
    void endScrub();
    void suppressRippleHandles();
    void addSpans();
    void perform(std::optional<Edit> edit);
    void editLayers(const QString& name, const std::function<void(Layer&)>& write);
    /// @}

    /// @name The inspectors.
    /// @{
    void buildHead(const QString& icon, const QColor& color, const QString& title);
    void buildLayerHead();
    void addHeadButtons(QWidget* head, QBoxLayout* row);
    void buildAlignRow();
    void buildScene();
    void buildDimensions();
    void buildSceneTiming();
    void buildBackground();
    void buildLayers();
    void buildTransform();
    void buildSize();
    void buildLayout();
    void buildStack(QBoxLayout* rows);
    void buildLine();
    void buildText();
    void buildAppearance();
    void buildStroke(QBoxLayout* rows);
    void buildGradient(QBoxLayout* rows);
    void buildBlackKey(QBoxLayout* rows);
    void buildShadow(QBoxLayout* rows);
    void buildCrop(QBoxLayout* rows);
    void buildAnimation();
    void fillAnimationMenu(QMenu& menu);
    void fillFontMenu(QMenu& menu, const std::function<void(const QString& family)>& choose);
    void buildKeyframes();
    void buildKeyframeTime(QBoxLayout* rows);
    void buildWait(QBoxLayout* rows);
    void buildEasing();
    void buildKeyframeValue(QBoxLayout* rows, Property property);
    ColorField* keyframeColor(Property property);
    MenuField* keyframeFont();
    template <typename E>
    MenuField* keyframeMenu(Property property);
    KeyValue keyframeValue(Property property) const;
    void writeKeyframeValue(const KeyValue& value);
    const TimeSpan* shownSpan() const; ///< Null if it is gone.
    void buildSpan();
    void buildSpanTimes();
    void buildZoomTransitions();
    void buildEffects(const TimeSpan& span, Layer::Kind kind);
    void buildEffect(QBoxLayout* rows, std::size_t index, SpanEffect::Kind kind);
    void buildBlinkRanges(std::size_t count);
    void showEffectMenu(const TimelineItemRef& span, QWidget* under);
    void buildClip();
    void buildPulse();
    /// @}

    EditorContext context_;
    Shown shown_;
    std::optional<TweenScene> scrubBaseline_; ///< The scene before the scrub that is under way.
    std::optional<TweenScene> wellBaseline_;  ///< The scene before the stream of colours that is under way.
    QTimer rippleHandlesReturn_;
    QByteArray signature_;
    QScrollArea* scroll_ = nullptr;
    QWidget* body_ = nullptr;
    QVBoxLayout* column_ = nullptr;
    std::vector<std::function<void()>> refreshers_;
};

} // namespace larkspool
