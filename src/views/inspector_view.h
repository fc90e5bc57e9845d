#pragma once

#include "shell/inspector.h"
#include "views/controls.h"
#include "views/editor_context.h"
#include "views/inspector_fields.h"

#include <functional>
#include <vector>

class QBoxLayout;
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

    /// @name Parts of which the inspectors are built.
    /// @{
    QVBoxLayout* addSection(const QString& title, QWidget* headButton = nullptr);
    void addRow(QBoxLayout* section, const QString& name, const std::vector<QWidget*>& fields, NumberField* scrubbed = nullptr);
    void addHalfRow(QBoxLayout* section, const QString& name, NumberField* field);
    NumericFieldUndoGate undoGate();
    NumberField* numberField(Number number);
    NumberField* propertyField(Property property, NumberField::Look look);
    NumberField* plainField(const QString& name, NumberField::Look look, std::function<double(const Layer&)> read,
                            std::function<void(Layer&, double)> write);
    ColorField* colorField(Property property);
    QWidget* switchRow(const QString& name, bool Layer::* field);
    QWidget* labelledSwitch(const QString& name, const QString& words, bool Layer::* field);
    SwitchButton* switchButton(const QString& name, std::function<bool()> read, std::function<void(bool)> write);
    Segments* segments(const QString& name, std::vector<Segments::Choice> choices,
                       std::function<std::optional<std::size_t>()> read, std::function<void(std::size_t)> write);
    MenuField* menuField(const QString& name, std::function<QString()> read, std::function<void(QMenu&)> fill);
    template <typename E>
    Segments* enumSegments(const QString& name, E Layer::* field);
    template <typename E>
    MenuField* enumMenu(const QString& name, E Layer::* field);
    MenuField* zoomTypeMenu();
    /// A number of an item of the timeline. Nothing came of `edit` where the number changes nothing.
    NumberField* itemField(const QString& name, const char* action, NumberField::Look look,
                           std::function<std::optional<double>()> read, std::function<std::optional<Edit>(double)> edit);
    void withDiamond(FieldBox* field, Property property);
    QWidget* note(const QString& words);
    /// @}

    /// @name Edits.
    /// @{
    void mutate(const std::string& action, const SharedCommit::Work& work);
    void perform(std::optional<Edit> edit);
    void editLayers(const QString& name, const std::function<void(Layer&)>& write);
    /// @}

    /// @name The inspectors.
    /// @{
    void buildHead(const QString& icon, const QColor& color, const QString& title);
    void buildLayerHead();
    void buildScene();
    void buildLayers();
    void buildTransform();
    void buildSize();
    void buildLayout();
    void buildLine();
    void buildText();
    void buildAppearance();
    void buildCrop(QBoxLayout* rows);
    void buildAnimation();
    void buildKeyframes();
    void buildKeyframeValue(QBoxLayout* rows, Property property);
    void buildSpan();
    void showEffectMenu(const TimelineItemRef& span, QWidget* under);
    void buildClip();
    void buildPulse();
    /// @}

    EditorContext context_;
    Shown shown_;
    std::optional<TweenScene> scrubBaseline_; ///< The scene before the scrub that is under way.
    QByteArray signature_;
    QScrollArea* scroll_ = nullptr;
    QWidget* body_ = nullptr;
    QVBoxLayout* column_ = nullptr;
    std::vector<std::function<void()>> refreshers_;
};

} // namespace larkspool
