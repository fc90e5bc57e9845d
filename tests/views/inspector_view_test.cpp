#include "views/inspector_view.h"

#include "evaluation/interpolation.h"
#include "views/find_control.h"
#include "views/window_test.h"

#include <QLineEdit>

#include <gtest/gtest.h>

// The inspector over a scene of its own, typed into and dragged as a person does.

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

Layer layerOf(std::uint64_t number, Layer::Kind kind)
{
    Layer layer{.id = idOf(number), .kind = kind};
    layer.transform.x = 100;
    layer.transform.y = 50;
    layer.size = {200, 80};
    return layer;
}

class InspectorViewTest : public testing::Test {
protected:
    void open(std::vector<Layer> layers, double playhead = 0)
    {
        TweenScene scene{.id = idOf(100), .duration = 10};
        for (Layer& layer : layers) scene.layers.append(std::move(layer));
        view_.reset();
        Interpolation::invalidate(); // The layers of all tests have the same ids.
        editor_ = std::make_unique<EditorForViews>(std::move(scene));
        editor_->editor->setPlayhead(playhead);
        view_ = std::make_unique<InspectorView>(editor_->context([this] {
            if (view_) view_->refresh();
        }), nullptr);
        view_->resize(288, 1400);
        view_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view_.get()));
        view_->activateWindow();
        LayerIDs all;
        for (const Layer& layer : editor_->editor->scene().layers) all.insert(layer.id);
        select(all);
    }
    void select(LayerIDs layers)
    {
        editor_->editor->selectLayers(std::move(layers));
        view_->refresh();
        QApplication::processEvents();
    }

    TweenScene scene() const { return editor_->editor->scene(); }
    const Layer& layer(std::size_t index = 0)
    {
        kept_ = scene();
        return kept_.layers[index];
    }
    std::size_t steps() const { return editor_->editor->undoManager().undoCount(); }

    QLineEdit* edit(const char* name)
    {
        auto* found = findControl<QLineEdit>(*view_, name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    /// The box around a field.
    FieldBox* box(const char* name) { return static_cast<FieldBox*>(edit(name)->parentWidget()); }
    void type(const char* name, const QString& text)
    {
        QLineEdit* field = edit(name);
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, text);
    }
    void enter(const char* name, const QString& text)
    {
        type(name, text);
        QTest::keyClick(edit(name), Qt::Key_Return);
    }
    void drag(QWidget& widget, QPoint from, int way, Qt::KeyboardModifiers modifiers = {})
    {
        const auto send = [&](QEvent::Type type, int at, Qt::MouseButtons buttons) {
            const QPointF place = from + QPoint(at, 0);
            QMouseEvent event(type, place, widget.mapToGlobal(place), Qt::LeftButton, buttons, modifiers);
            QApplication::sendEvent(&widget, &event);
        };
        send(QEvent::MouseButtonPress, 0, Qt::LeftButton);
        const int steps = 4;
        for (int i = 1; i <= steps; ++i) send(QEvent::MouseMove, way * i / steps, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, way, Qt::NoButton);
    }

    std::unique_ptr<EditorForViews> editor_;
    std::unique_ptr<InspectorView> view_;
    TweenScene kept_;
};

TEST_F(InspectorViewTest, EachKindHasItsSectionsAndFields)
{
    using Kind = Layer::Kind;
    struct Case {
        Kind kind;
        std::vector<const char*> shown, missing;
    };
    const Case cases[] = {
        {Kind::rectangle, {"X", "Width", "Corner Radius", "Fill in hexadecimal digits", "Stroke Width"}, {"Font Size"}},
        {Kind::ellipse, {"X", "Width", "Fill in hexadecimal digits", "Stroke Width"}, {"Corner Radius", "Font Size"}},
        {Kind::path, {"Rotation", "Fill in hexadecimal digits"}, {"Corner Radius"}},
        {Kind::text, {"Font Size", "Text Color in hexadecimal digits", "Padding X"}, {}},
        {Kind::image, {"Width", "Corner Radius", "Stroke Width"}, {"Fill in hexadecimal digits"}},
        {Kind::group, {"X", "Opacity"}, {"Fill in hexadecimal digits", "Stroke Width"}},
        {Kind::cursor, {"X", "Opacity"}, {"Fill in hexadecimal digits", "Stroke Width"}},
        {Kind::line, {"Stroke Width", "Stroke in hexadecimal digits"}, {"Corner Radius", "Fill in hexadecimal digits"}},
        {Kind::gradientField, {"Warp Speed", "Pulse Amount", "Corner Radius"}, {"Stroke Width"}},
        {Kind::hotspot, {"Opacity", "Fill in hexadecimal digits"}, {"Stroke Width"}},
        {Kind::video, {"Width", "Corner Radius", "Stroke Width"}, {"Fill in hexadecimal digits"}},
        {Kind::zoom, {"X", "Y"}, {"Opacity", "Rotation"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(fileValue(c.kind)));
        open({layerOf(1, c.kind)});
        for (const char* name : c.shown) EXPECT_NE(findControl<QLineEdit>(*view_, name), nullptr) << name;
        for (const char* name : c.missing) EXPECT_EQ(findControl<QLineEdit>(*view_, name), nullptr) << name;
    }
}

TEST_F(InspectorViewTest, WithNothingSelectedItIsAboutTheScene)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    select({});
    for (const char* name : {"Scene Width", "Scene Height", "Duration", "End Pause", "FPS"})
        EXPECT_NE(findControl<QLineEdit>(*view_, name), nullptr) << name;
    EXPECT_TRUE(showsWords(*view_, "Background"));
    enter("Duration", "4.5");
    EXPECT_EQ(scene().duration, 4.5);
}

TEST_F(InspectorViewTest, WhatIsTypedIsOneStep)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    enter("X", "321.5");
    EXPECT_EQ(layer().transform.x, 321.5);
    EXPECT_EQ(steps(), 1u);
    EXPECT_EQ(edit("X")->text(), "321.5");
}

TEST_F(InspectorViewTest, OpacityIsHeldWithinItsLimits)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    enter("Opacity", "1.4");
    EXPECT_EQ(layer().opacity, 1);
    enter("Opacity", "-2");
    EXPECT_EQ(layer().opacity, 0);
    EXPECT_EQ(edit("Opacity")->text(), "0.00");
}

TEST_F(InspectorViewTest, EscapeTakesBackWhatWasTypedAndRecordsNothing)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    type("X", "999");
    EXPECT_EQ(layer().transform.x, 999) << "what is typed shows at once";
    QTest::keyClick(edit("X"), Qt::Key_Escape);
    EXPECT_EQ(layer().transform.x, 100);
    EXPECT_EQ(steps(), 0u);
    EXPECT_EQ(edit("X")->text(), "100");
    EXPECT_TRUE(editor_->performed.empty()) << "nor is the playhead rewound";
}

TEST_F(InspectorViewTest, WordsThatAreNoNumberLeaveNothingBehind)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    enter("X", "12q");
    EXPECT_EQ(layer().transform.x, 100);
    EXPECT_EQ(edit("X")->text(), "100");
    EXPECT_EQ(steps(), 0u);
}

TEST_F(InspectorViewTest, ArrowKeysStepByOneTenAndATenth)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    edit("X")->setFocus();
    QTest::keyClick(edit("X"), Qt::Key_Up);
    EXPECT_EQ(layer().transform.x, 101);
    QTest::keyClick(edit("X"), Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(layer().transform.x, 111);
    QTest::keyClick(edit("X"), Qt::Key_Down, Qt::AltModifier);
    EXPECT_NEAR(layer().transform.x, 110.9, 1e-9);
    QTest::keyClick(edit("X"), Qt::Key_Return);
    EXPECT_EQ(steps(), 1u) << "the visit to the field is one step";
}

TEST_F(InspectorViewTest, DraggingTheLetterScrubsInOneStep)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    drag(*box("X"), {6, 12}, 40);
    EXPECT_EQ(layer().transform.x, 140);
    EXPECT_EQ(steps(), 1u);
    drag(*box("X"), {6, 12}, -8, Qt::ShiftModifier);
    EXPECT_EQ(layer().transform.x, 60) << "with Shift a pixel is ten steps";
    EXPECT_EQ(steps(), 2u);
}

TEST_F(InspectorViewTest, ValuesThatDifferAreMixedUntilOneIsTyped)
{
    Layer second = layerOf(2, Layer::Kind::rectangle);
    second.transform.x = 300;
    open({layerOf(1, Layer::Kind::rectangle), second});
    EXPECT_EQ(edit("X")->text(), "Mixed");
    EXPECT_EQ(edit("Y")->text(), "50");
    enter("X", "7");
    EXPECT_EQ(layer(0).transform.x, 7);
    EXPECT_EQ(layer(1).transform.x, 7);
    EXPECT_EQ(edit("X")->text(), "7");
    EXPECT_EQ(steps(), 1u);
}

TEST_F(InspectorViewTest, LeavingAMixedFieldUntouchedChangesNothing)
{
    Layer second = layerOf(2, Layer::Kind::rectangle);
    second.transform.x = 300;
    open({layerOf(1, Layer::Kind::rectangle), second});
    edit("X")->setFocus();
    QTest::keyClick(edit("X"), Qt::Key_Return);
    EXPECT_EQ(layer(0).transform.x, 100);
    EXPECT_EQ(layer(1).transform.x, 300);
    EXPECT_EQ(steps(), 0u);
}

TEST_F(InspectorViewTest, LayersOfTwoKindsShareWhatBothHave)
{
    open({layerOf(1, Layer::Kind::rectangle), layerOf(2, Layer::Kind::cursor)});
    EXPECT_NE(findControl<QLineEdit>(*view_, "X"), nullptr);
    EXPECT_EQ(findControl<QLineEdit>(*view_, "Corner Radius"), nullptr);
    EXPECT_EQ(findControl<QLineEdit>(*view_, "Fill in hexadecimal digits"), nullptr);
}

TEST_F(InspectorViewTest, TheDiamondSetsAKeyframeAtThePlayheadAndTakesItAway)
{
    open({layerOf(1, Layer::Kind::rectangle)}, 2);
    FieldBox* x = box("X");
    const QPoint diamond(x->width() - 9, 12);
    EXPECT_TRUE(x->toolTip().startsWith("Add")) << x->toolTip().toStdString();
    QTest::mouseClick(x, Qt::LeftButton, Qt::NoModifier, diamond);
    ASSERT_EQ(layer().keyframes.size(), 1u);
    EXPECT_EQ(layer().keyframes[0].property, Property::x);
    EXPECT_EQ(layer().keyframes[0].time, 2);
    EXPECT_EQ(std::get<double>(layer().keyframes[0].value), 100);
    EXPECT_TRUE(x->toolTip().startsWith("Remove keyframe at ")) << x->toolTip().toStdString();
    QTest::mouseClick(x, Qt::LeftButton, Qt::NoModifier, diamond);
    EXPECT_TRUE(layer().keyframes.empty());
    EXPECT_EQ(editor_->editor->undoManager().undoActionName(), "Remove Keyframe");
}

TEST_F(InspectorViewTest, TheDiamondOfAFieldIsReachedByTheKeyboardToo)
{
    open({layerOf(1, Layer::Kind::rectangle)}, 2);
    edit("Width")->setFocus();
    QTest::keyClick(edit("Width"), Qt::Key_K, Qt::ControlModifier);
    ASSERT_EQ(layer().keyframes.size(), 1u);
    EXPECT_EQ(layer().keyframes[0].property, Property::width);
}

TEST_F(InspectorViewTest, WhereThereAreKeyframesAnEditIsOneAtThePlayhead)
{
    Layer animated = layerOf(1, Layer::Kind::rectangle);
    animated.keyframes = {Keyframe{.id = idOf(11), .property = Property::x, .time = 1, .value = 10.0}};
    open({animated}, 2);
    EXPECT_EQ(edit("X")->text(), "10") << "the value at the playhead";
    enter("X", "30");
    EXPECT_EQ(layer().transform.x, 100) << "the field below stays";
    ASSERT_EQ(layer().keyframes.size(), 2u);
    EXPECT_EQ(layer().keyframes[1].time, 2);
    EXPECT_EQ(std::get<double>(layer().keyframes[1].value), 30);

    enter("Y", "70");
    EXPECT_EQ(layer().transform.y, 70) << "without keyframes the field changes";
    EXPECT_EQ(layer().keyframes.size(), 2u);
}

TEST_F(InspectorViewTest, TypingAColorKeepsItsOpacity)
{
    Layer box = layerOf(1, Layer::Kind::rectangle);
    box.fill = {0, 0, 1, 0.5};
    open({box});
    EXPECT_EQ(edit("Fill in hexadecimal digits")->text(), "0000FF");
    EXPECT_EQ(edit("Fill opacity in percent")->text(), "50 %");
    enter("Fill in hexadecimal digits", "ff8800");
    EXPECT_NEAR(layer().fill.r, 1, 1e-9);
    EXPECT_NEAR(layer().fill.g, 136.0 / 255, 1e-4);
    EXPECT_NEAR(layer().fill.b, 0, 1e-9);
    EXPECT_NEAR(layer().fill.a, 0.5, 0.005);
}

TEST_F(InspectorViewTest, InANarrowPanelTheColumnsNarrow)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    const auto leftOf = [&] { return box("X")->mapTo(view_.get(), QPoint()).x(); };
    EXPECT_EQ(leftOf(), 12 + 84 + 8);
    view_->resize(272, 1400);
    QApplication::processEvents();
    EXPECT_EQ(leftOf(), 12 + 80 + 8);
    EXPECT_EQ(edit("X")->x(), 22);
}

} // namespace
} // namespace larkspool
