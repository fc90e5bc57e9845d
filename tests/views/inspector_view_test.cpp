#include "views/inspector_view.h"

#include "evaluation/interpolation.h"
#include "views/find_control.h"
#include "views/theme.h"
#include "views/window_test.h"

#include <QColorDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

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
        }),
                                                nullptr);
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
    std::string lastStep() const { return std::string(editor_->editor->undoManager().undoActionName()); }
    void undo()
    {
        editor_->editor->undo();
        view_->refresh();
    }
    void select(TimelineSelection items)
    {
        editor_->editor->selectTimelineItems(std::move(items));
        view_->refresh();
        QApplication::processEvents();
    }
    /// Chooses from the menu of a field.
    void choose(const char* name, const QString& words)
    {
        auto* field = findControl<MenuField>(*view_, name);
        ASSERT_NE(field, nullptr) << name;
        QMenu menu;
        field->fill(menu);
        trigger(menu, words);
    }
    static void trigger(QMenu& menu, const QString& words)
    {
        for (QAction* action : menu.actions())
            if (action->text() == words) return action->trigger();
        ADD_FAILURE() << "no entry " << words.toStdString();
    }
    /// Opens the dialog of a colour, does something there and closes it.
    void useColorDialog(const char* name, const std::function<void(QColorDialog&)>& use, QDialog::DialogCode end)
    {
        bool isUsed = false;
        QTimer::singleShot(0, view_.get(), [&] {
            auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            use(*dialog);
            isUsed = true;
            end == QDialog::Accepted ? dialog->accept() : dialog->reject();
        });
        QTest::mouseClick(box(name), Qt::LeftButton, Qt::NoModifier, {12, 12});
        EXPECT_TRUE(isUsed);
    }

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
    /// All of it at once, not key by key.
    void paste(const char* name, const QString& text)
    {
        edit(name)->setFocus();
        edit(name)->selectAll();
        edit(name)->insert(text);
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
    select(LayerIDs{});
    for (const char* name : {"Scene Width", "Scene Height", "Duration", "End Pause", "FPS"})
        EXPECT_NE(findControl<QLineEdit>(*view_, name), nullptr) << name;
    EXPECT_TRUE(showsWords(*view_, "Background"));
    enter("Duration", "4.5");
    EXPECT_EQ(scene().duration, 4.5);
}

TEST_F(InspectorViewTest, TheRateOfAFilmIsShownWithItsUnitAndTypedWithOrWithoutIt)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    select(LayerIDs{});
    enter("FPS", "30");
    EXPECT_EQ(scene().fps, 30);
    EXPECT_EQ(findControl<QLineEdit>(*view_, "FPS")->text(), "30 fps");
    enter("FPS", "24 fps");
    EXPECT_EQ(scene().fps, 24);
}

TEST_F(InspectorViewTest, AListMarksTheChoiceThatHolds)
{
    open({layerOf(1, Layer::Kind::group)});
    select({idOf(1)});
    auto* field = findControl<MenuField>(*view_, "Layout");
    ASSERT_NE(field, nullptr);
    QTest::keyClick(field, Qt::Key_Space);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (const QAction* choice : menu->actions()) EXPECT_EQ(choice->isChecked(), choice->text() == "Freeform") << choice->text().toStdString();
    EXPECT_EQ(menu->actions().size(), 3);
    menu->close();
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

TEST_F(InspectorViewTest, AScrollBarTakesNoRoomFromTheFields)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    const auto rightOf = [&] { return box("Opacity")->mapTo(view_.get(), QPoint(box("Opacity")->width(), 0)).x(); };
    EXPECT_EQ(rightOf(), 288 - 12);
    view_->resize(288, 300);
    QApplication::processEvents();
    auto* bar = view_->findChild<QScrollArea*>()->verticalScrollBar();
    ASSERT_TRUE(bar->isVisible());
    EXPECT_EQ(rightOf(), 288 - 12);
    EXPECT_EQ(view_->childAt(288 - 4, 150), bar) << "the bar lies above them";
}

QStringList headings(const QWidget& view)
{
    QStringList result;
    for (const QLabel* label : view.findChildren<QLabel*>())
        if (label->isVisible() && label->font() == textFont(TextStyle::section)) result.append(label->text());
    return result;
}

TEST_F(InspectorViewTest, TheSceneAndEachKindHaveTheirHeadings)
{
    using Kind = Layer::Kind;
    struct Case {
        Kind kind;
        QStringList headings;
    };
    const QStringList plain = {"Transform", "Size", "Appearance", "Animation"};
    for (const Case& c : {Case{Kind::rectangle, plain}, Case{Kind::image, plain}, Case{Kind::hotspot, plain},
                          Case{Kind::zoom, {"Transform", "Zoom", "Size", "Animation"}},
                          Case{Kind::group, {"Transform", "Size", "Layout", "Appearance", "Animation"}},
                          Case{Kind::line, {"Transform", "Line", "Appearance", "Animation"}},
                          Case{Kind::text, {"Transform", "Size", "Text", "Appearance", "Animation"}},
                          Case{Kind::cursor, {"Transform", "Size", "Appearance", "Animation", "Cursor"}}}) {
        SCOPED_TRACE(std::string(fileValue(c.kind)));
        open({layerOf(1, c.kind)});
        EXPECT_EQ(headings(*view_), c.headings);
    }
    select(LayerIDs{});
    EXPECT_EQ(headings(*view_), (QStringList{"Dimensions", "Timing", "Background"}));
    EXPECT_NE(findControl<QAbstractButton>(*view_, "Apply Canvas Preset"), nullptr);
}

TEST_F(InspectorViewTest, AVisitWithoutTypingRecordsNothingAndEachVisitWithItOneStep)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    edit("X")->setFocus();
    QTest::keyClick(edit("X"), Qt::Key_Tab);
    EXPECT_EQ(steps(), 0u);

    type("X", "120");
    EXPECT_EQ(layer().transform.x, 120);
    EXPECT_EQ(steps(), 0u) << "the visit goes on";
    QTest::keyClick(edit("X"), Qt::Key_Tab);
    ASSERT_TRUE(edit("Y")->hasFocus());
    EXPECT_EQ(steps(), 1u);
    EXPECT_EQ(lastStep(), "Edit X");
    edit("Y")->selectAll();
    QTest::keyClicks(edit("Y"), "9");
    QTest::keyClick(edit("Y"), Qt::Key_Return);
    EXPECT_EQ(steps(), 2u);
    undo();
    EXPECT_EQ(layer().transform.y, 50);
    undo();
    EXPECT_EQ(layer().transform.x, 100);
}

TEST_F(InspectorViewTest, ANumberThatComesToWhatThereIsRecordsNothing)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    paste("X", "100.00009");
    EXPECT_EQ(layer().transform.x, 100);
    paste("Opacity", "3");
    EXPECT_EQ(steps(), 0u) << "held to 1, which it is";
    paste("X", "100.0002");
    EXPECT_EQ(layer().transform.x, 100.0002);
    EXPECT_EQ(steps(), 1u);

    select(LayerIDs{});
    paste("FPS", "900");
    const std::size_t before = steps();
    paste("FPS", "700");
    EXPECT_EQ(steps(), before) << "both are held to the highest rate";
}

TEST_F(InspectorViewTest, ATimeThatIsHeldToWhatThereIsRecordsNothing)
{
    Layer spanned = layerOf(1, Layer::Kind::rectangle);
    spanned.spans = {TimeSpan{.id = idOf(20), .start = 1, .end = 10}};
    open({spanned});
    select(TimelineSelection{TimelineItemRef::span(idOf(1), idOf(20))});
    paste("Span End", "99");
    EXPECT_EQ(layer().spans[0].end, 10);
    EXPECT_EQ(steps(), 0u);
    paste("Span End", "5");
    EXPECT_EQ(layer().spans[0].end, 5);
    EXPECT_EQ(lastStep(), "Resize Span");
}

TEST_F(InspectorViewTest, ValuesThatDifferHaveNoneToStepOrScrubFrom)
{
    Layer second = layerOf(2, Layer::Kind::rectangle);
    second.transform.x = 300;
    open({layerOf(1, Layer::Kind::rectangle), second});
    edit("X")->setFocus();
    QTest::keyClick(edit("X"), Qt::Key_Up);
    QTest::keyClick(edit("X"), Qt::Key_Return);
    drag(*box("X"), {6, 12}, 40);
    EXPECT_EQ(layer(0).transform.x, 100);
    EXPECT_EQ(layer(1).transform.x, 300);
    EXPECT_EQ(steps(), 0u);
}

TEST_F(InspectorViewTest, AScrubEndsWhereAnotherLayerIsSelected)
{
    open({layerOf(1, Layer::Kind::rectangle), layerOf(2, Layer::Kind::rectangle)});
    select(LayerIDs{idOf(1)});
    FieldBox* x = box("X");
    const auto send = [&](QEvent::Type type, int at, Qt::MouseButtons buttons) {
        const QPointF place(6 + at, 12);
        QMouseEvent event(type, place, x->mapToGlobal(place), Qt::LeftButton, buttons, Qt::NoModifier);
        QApplication::sendEvent(x, &event);
    };
    send(QEvent::MouseButtonPress, 0, Qt::LeftButton);
    send(QEvent::MouseMove, 10, Qt::LeftButton);
    EXPECT_EQ(layer(0).transform.x, 110);
    select(LayerIDs{idOf(2)});
    EXPECT_EQ(steps(), 1u);
    send(QEvent::MouseMove, 30, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, 30, Qt::NoButton);
    EXPECT_EQ(layer(0).transform.x, 110);
    EXPECT_EQ(layer(1).transform.x, 100) << "the drag is not about this one";
    EXPECT_EQ(steps(), 1u);
}

TEST_F(InspectorViewTest, EachOfSeveralLayersIsEditedByItsOwnKeyframes)
{
    Layer animated = layerOf(2, Layer::Kind::rectangle);
    animated.keyframes = {Keyframe{.id = idOf(11), .property = Property::opacity, .time = 0, .value = 1.0}};
    open({layerOf(1, Layer::Kind::rectangle), animated}, 3);
    enter("Opacity", "0.5");
    EXPECT_EQ(layer(0).opacity, 0.5);
    EXPECT_TRUE(layer(0).keyframes.empty());
    EXPECT_EQ(layer(1).opacity, 1);
    ASSERT_EQ(layer(1).keyframes.size(), 2u);
    EXPECT_EQ(layer(1).keyframes[1].time, 3);
    EXPECT_EQ(steps(), 1u);
}

TEST_F(InspectorViewTest, SwitchedOffAnEditWritesNoKeyframe)
{
    Layer animated = layerOf(1, Layer::Kind::rectangle);
    animated.keyframes = {Keyframe{.id = idOf(11), .property = Property::opacity, .time = 0, .value = 1.0}};
    open({animated}, 3);
    auto* atPlayhead = findControl<QAbstractButton>(*view_, "Keyframe at playhead");
    ASSERT_NE(atPlayhead, nullptr);
    EXPECT_TRUE(atPlayhead->isChecked());
    QTest::mouseClick(atPlayhead, Qt::LeftButton);
    enter("Opacity", "0.5");
    EXPECT_EQ(layer().opacity, 0.5);
    EXPECT_EQ(layer().keyframes.size(), 1u);
}

TEST_F(InspectorViewTest, ThePlaceOfCroppedPicturesIsWrittenForEachByItsCrop)
{
    Layer cropped = layerOf(1, Layer::Kind::image), whole = layerOf(2, Layer::Kind::image);
    cropped.cropMode = CropMode::manual;
    cropped.cropRect = {{0.25, 0}, {0.5, 1}}; // A quarter of 200 pixels is cut away at the left.
    open({cropped, whole});
    EXPECT_EQ(edit("X")->text(), "Mixed");
    enter("X", "400");
    EXPECT_EQ(layer(0).transform.x, 350);
    EXPECT_EQ(layer(1).transform.x, 400);
    EXPECT_EQ(edit("X")->text(), "400");
}

TEST_F(InspectorViewTest, SwitchesAndSegmentsShowValuesThatDiffer)
{
    Layer first = layerOf(1, Layer::Kind::text), second = layerOf(2, Layer::Kind::text);
    first.textAutoFit = true;
    second.textAutoFit = false;
    second.textAlignment = TextAlignment::right;
    open({first, second});
    auto* fit = findControl<SwitchButton>(*view_, "Fit to Text");
    auto* align = findControl<Segments>(*view_, "Text Alignment");
    ASSERT_TRUE(fit && align);
    EXPECT_EQ(fit->accessibleDescription(), "Mixed");
    EXPECT_EQ(align->accessibleDescription(), "Mixed");
    QTest::mouseClick(fit, Qt::LeftButton);
    EXPECT_TRUE(layer(0).textAutoFit);
    EXPECT_TRUE(layer(1).textAutoFit);
    EXPECT_EQ(fit->accessibleDescription(), "");
    align->chosen(0);
    EXPECT_EQ(layer(0).textAlignment, TextAlignment::left);
    EXPECT_EQ(layer(1).textAlignment, TextAlignment::left);
    EXPECT_EQ(align->accessibleDescription(), "Left");
}

TEST_F(InspectorViewTest, SeveralLayersShowWhatAllOfThemHaveWhicheverIsFirst)
{
    Layer arc = layerOf(1, Layer::Kind::line), wave = layerOf(2, Layer::Kind::line);
    arc.lineShape = LineShape::arc;
    wave.lineShape = LineShape::wave;
    open({arc, wave});
    EXPECT_EQ(findControl<QLineEdit>(*view_, "Bend"), nullptr);
    EXPECT_EQ(findControl<QLineEdit>(*view_, "Frequency"), nullptr);
    select(LayerIDs{idOf(1)});
    EXPECT_NE(findControl<QLineEdit>(*view_, "Bend"), nullptr);

    open({layerOf(1, Layer::Kind::rectangle), layerOf(2, Layer::Kind::zoom)});
    EXPECT_NE(findControl<QLineEdit>(*view_, "X"), nullptr);
    EXPECT_EQ(findControl<QLineEdit>(*view_, "Rotation"), nullptr) << "a zoom does not turn";
}

TEST_F(InspectorViewTest, AFixedGroupTellsWhetherItsContentsMoveAlong)
{
    Layer group = layerOf(1, Layer::Kind::group);
    open({group});
    EXPECT_EQ(findControl<SwitchButton>(*view_, "Lock Contents"), nullptr);
    findControl<Segments>(*view_, "Size Mode")->chosen(1);
    EXPECT_EQ(layer().groupSizeMode, GroupSizeMode::fixed);
    auto* lock = findControl<SwitchButton>(*view_, "Lock Contents");
    ASSERT_NE(lock, nullptr);
    EXPECT_TRUE(lock->isChecked());
    QTest::mouseClick(lock, Qt::LeftButton);
    EXPECT_FALSE(layer().groupFixedLocked);
}

TEST_F(InspectorViewTest, TheInsetOfAKeyedPictureIsTyped)
{
    Layer picture = layerOf(1, Layer::Kind::video);
    open({picture});
    EXPECT_EQ(findControl<QLineEdit>(*view_, "Key Inset X"), nullptr);
    QTest::mouseClick(findControl<SwitchButton>(*view_, "Black Key"), Qt::LeftButton);
    enter("Key Inset X", "3");
    enter("Key Inset Y", "-1");
    EXPECT_EQ(layer().blackKeyInsetX, 3);
    EXPECT_EQ(layer().blackKeyInsetY, -1) << "no limit is set to it";
}

TEST_F(InspectorViewTest, AStreamOfColorsIsOneStepAndRenamesTheShape)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    useColorDialog(
        "Fill in hexadecimal digits",
        [&](QColorDialog& dialog) {
            dialog.setCurrentColor(QColor(0, 255, 0));
            EXPECT_EQ(layer().fill, (ColorRGBA{0, 1, 0, 1})) << "shown at once";
            editor_->timers.pass(0.3);
            dialog.setCurrentColor(QColor(255, 0, 0));
        },
        QDialog::Accepted);
    EXPECT_EQ(layer().fill, (ColorRGBA{1, 0, 0, 1}));
    EXPECT_EQ(layer().name, "Red Rectangle");
    EXPECT_EQ(steps(), 1u);
    EXPECT_EQ(lastStep(), "Edit Fill");
}

TEST_F(InspectorViewTest, ACancelledStreamOfColorsLeavesNoTrace)
{
    Layer first = layerOf(1, Layer::Kind::rectangle), second = layerOf(2, Layer::Kind::rectangle);
    first.fill = {1.0 / 3, 0.7071, 0.1, 0.9}; // Not in 255ths.
    second.keyframes = {Keyframe{.id = idOf(11), .property = Property::fill, .time = 0, .value = ColorRGBA::white}};
    open({first, second}, 2);
    const TweenScene before = scene();
    const auto pickTwo = [&](double pause) {
        return [this, pause](QColorDialog& dialog) {
            dialog.setCurrentColor(QColor(255, 0, 0));
            editor_->timers.pass(pause);
            dialog.setCurrentColor(QColor(0, 0, 255));
        };
    };
    useColorDialog("Fill in hexadecimal digits", pickTwo(0.1), QDialog::Rejected);
    EXPECT_EQ(scene(), before);
    EXPECT_EQ(steps(), 0u);

    useColorDialog("Fill in hexadecimal digits", pickTwo(0.5), QDialog::Rejected);
    EXPECT_EQ(scene(), before) << "though a pause has made a step of the first colour";
    editor_->timers.pass(1);
    EXPECT_EQ(scene(), before);
    EXPECT_EQ(steps(), 2u) << "the colour, and the way back";
}

TEST_F(InspectorViewTest, ACancelledBackgroundIsAsItWas)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    select(LayerIDs{});
    const ColorRGBA before = scene().background;
    const auto pick = [](QColorDialog& dialog) { dialog.setCurrentColor(QColor(1, 2, 3)); };
    useColorDialog("Background in hexadecimal digits", pick, QDialog::Rejected);
    EXPECT_EQ(scene().background, before);
    EXPECT_EQ(steps(), 0u);
    useColorDialog("Background in hexadecimal digits", pick, QDialog::Accepted);
    EXPECT_EQ(scene().background, (ColorRGBA{1 / 255.0, 2 / 255.0, 3 / 255.0, 1}));
    EXPECT_EQ(lastStep(), "Edit Background");
}

/// A layer with an animated font, opacity and fill, a span and a pulse.
Layer animatedLayer(Layer::Kind kind)
{
    Layer layer = layerOf(1, kind);
    layer.keyframes = {Keyframe{.id = idOf(11), .property = Property::opacity, .time = 1, .value = 1.0},
                       Keyframe{.id = idOf(12), .property = Property::fontName, .time = 1, .value = SharedString("Serif")},
                       Keyframe{.id = idOf(13), .property = Property::fill, .time = 2, .value = ColorRGBA::white}};
    layer.spans = {TimeSpan{.id = idOf(20), .start = 1, .end = 4}};
    layer.pulses = {Pulse{.id = idOf(30), .time = 3}};
    return layer;
}

TEST_F(InspectorViewTest, ItemsOfSeveralKindsHaveNoInspector)
{
    open({animatedLayer(Layer::Kind::text)});
    select(TimelineSelection{TimelineItemRef::span(idOf(1), idOf(20)), TimelineItemRef::pulse(idOf(1), idOf(30))});
    EXPECT_TRUE(showsWords(*view_, "Multiple Item Types Selected"));
    EXPECT_EQ(findControl<QLineEdit>(*view_, "X"), nullptr);
}

TEST_F(InspectorViewTest, AKeyframesValueAndWaitAreEdited)
{
    open({animatedLayer(Layer::Kind::text)});
    select(TimelineSelection{TimelineItemRef::keyframe(idOf(1), idOf(11))});
    paste("Opacity", "1.4");
    EXPECT_EQ(std::get<double>(layer().keyframes[0].value), 1);
    EXPECT_EQ(steps(), 0u) << "held to 1, which it is";
    enter("Opacity", "0.5");
    EXPECT_EQ(std::get<double>(layer().keyframes[0].value), 0.5);
    EXPECT_EQ(lastStep(), "Edit Opacity");
    EXPECT_FALSE(editor_->editor->areRippleHandlesHidden());
    enter("Keyframe Wait", "0.25");
    EXPECT_EQ(layer().keyframes[0].wait, 0.25);
    EXPECT_EQ(lastStep(), "Edit Keyframe Wait");
    EXPECT_TRUE(editor_->editor->areRippleHandlesHidden()) << "during a burst of edits";
    editor_->timers.pass(0.31);
    EXPECT_FALSE(editor_->editor->areRippleHandlesHidden());
}

TEST_F(InspectorViewTest, AKeyframesFontIsChosenFromTheFonts)
{
    open({animatedLayer(Layer::Kind::text)});
    select(TimelineSelection{TimelineItemRef::keyframe(idOf(1), idOf(12))});
    choose("Value", "System Font");
    EXPECT_EQ(std::get<SharedString>(layer().keyframes[1].value), "");
    EXPECT_EQ(lastStep(), "Edit Font");
    EXPECT_EQ(findControl<MenuField>(*view_, "Value")->accessibleDescription(), "System Font");
}

TEST_F(InspectorViewTest, TheEasingPickerShowsWhatAllHaveAndWhatMatchesNoCard)
{
    Layer animated = animatedLayer(Layer::Kind::rectangle);
    animated.keyframes.edit()[0].easing = Easing::linear();
    open({animated});
    const TimelineItemRef opacity = TimelineItemRef::keyframe(idOf(1), idOf(11));
    const TimelineItemRef fill = TimelineItemRef::keyframe(idOf(1), idOf(13));
    select(TimelineSelection{opacity});
    EXPECT_EQ(findControl<EasingPicker>(*view_, "Easing")->accessibleDescription(), "Linear");
    select(TimelineSelection{opacity, fill});
    EXPECT_EQ(findControl<EasingPicker>(*view_, "Easing")->accessibleDescription(), "Mixed");
    EXPECT_TRUE(showsWords(*view_, "Mixed"));
    findControl<EasingPicker>(*view_, "Easing")->chosen(EasingPreset::easeOut);
    EXPECT_EQ(layer().keyframes[0].easing, Easing::easeOut());
    EXPECT_EQ(layer().keyframes[2].easing, Easing::easeOut());

    editor_->editor->mutate(
        "Spring", [](TweenScene& scene) { scene.layers.edit()[0].keyframes.edit()[0].easing = Easing::spring(100, 10); });
    select(TimelineSelection{opacity});
    EXPECT_EQ(findControl<EasingPicker>(*view_, "Easing")->accessibleDescription(), "");
    EXPECT_TRUE(showsWords(*view_, "Spring"));
}

TEST_F(InspectorViewTest, ACaretsBlinkRangesAreAddedTypedAndRemoved)
{
    open({animatedLayer(Layer::Kind::text)}, 2);
    select(TimelineSelection{TimelineItemRef::span(idOf(1), idOf(20))});
    QTest::mouseClick(findControl<QAbstractButton>(*view_, "Add Blink Range"), Qt::LeftButton);
    ASSERT_EQ(layer().spans[0].cursorBlinkRanges.size(), 1u);
    EXPECT_EQ(lastStep(), "Add Blink Range");
    EXPECT_EQ(edit("Blink Range 1 Start")->text(), "2.00");
    enter("Blink Range 1 End", "3");
    EXPECT_EQ(layer().spans[0].cursorBlinkRanges[0].end, 3);
    EXPECT_EQ(lastStep(), "Edit Cursor Blink Range");
    QTest::mouseClick(findControl<QAbstractButton>(*view_, "Remove Blink Range 1"), Qt::LeftButton);
    EXPECT_TRUE(layer().spans[0].cursorBlinkRanges.empty());
    EXPECT_EQ(lastStep(), "Remove Cursor Blink Range");

    open({animatedLayer(Layer::Kind::rectangle)});
    select(TimelineSelection{TimelineItemRef::span(idOf(1), idOf(20))});
    EXPECT_EQ(findControl<QAbstractButton>(*view_, "Add Blink Range"), nullptr) << "only a text has a caret";
}

TEST_F(InspectorViewTest, ASpanIsAddedWhereALayerHasNoneAtThePlayhead)
{
    const auto addSpan = [this] {
        QTest::mouseClick(findControl<QAbstractButton>(*view_, "Add Animation"), Qt::LeftButton);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        trigger(*menu, "Add Span");
        menu->close();
    };
    Layer shown = animatedLayer(Layer::Kind::rectangle);
    open({shown, layerOf(2, Layer::Kind::rectangle)}, 2);
    addSpan();
    EXPECT_EQ(layer(0).spans.size(), 1u) << "it has one at 2";
    ASSERT_EQ(layer(1).spans.size(), 1u);
    EXPECT_EQ(layer(1).spans[0].start, 2);
    EXPECT_EQ(lastStep(), "Add Span");
    addSpan();
    EXPECT_EQ(steps(), 1u) << "both have one by now";
}

TEST_F(InspectorViewTest, AnEffectIsAddedOnceFromTheMenuOfThoseThatGoWithTheKind)
{
    open({animatedLayer(Layer::Kind::rectangle)}, 2);
    select(TimelineSelection{TimelineItemRef::span(idOf(1), idOf(20))});
    const auto openMenu = [this] {
        QTest::mouseClick(findControl<QAbstractButton>(*view_, "+ Effect"), Qt::LeftButton);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    };
    const auto entry = [](QMenu& menu, const QString& words) -> QAction* {
        for (QAction* action : menu.actions())
            if (action->text() == words) return action;
        return nullptr;
    };
    QMenu* menu = openMenu();
    ASSERT_NE(menu, nullptr);
    ASSERT_TRUE(entry(*menu, "Slide In") && entry(*menu, "Slide In")->menu());
    EXPECT_EQ(entry(*menu, "Slide In")->menu()->actions().size(), 4);
    ASSERT_TRUE(entry(*menu, "Slide Out") && entry(*menu, "Slide Out")->menu());
    EXPECT_EQ(entry(*menu, "Type On"), nullptr) << "for texts alone";
    ASSERT_TRUE(entry(*menu, "Fade In"));
    entry(*menu, "Fade In")->trigger();
    menu->close();
    ASSERT_EQ(layer().spans[0].effects.size(), 1u);
    EXPECT_EQ(layer().spans[0].effects[0].duration, 0.4);
    EXPECT_EQ(lastStep(), "Add Span Effect");
    enter("Fade In Duration", "9");
    EXPECT_EQ(layer().spans[0].effects[0].duration, 3) << "as long as the span";

    menu = openMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_FALSE(entry(*menu, "Fade In")->isEnabled()) << "a span holds one of each kind";
    menu->close();
}

TEST_F(InspectorViewTest, WithALockedRatioTheOtherSideFollows)
{
    open({layerOf(1, Layer::Kind::rectangle)});
    auto* lock = findControl<QAbstractButton>(*view_, "Keep width and height in ratio");
    ASSERT_NE(lock, nullptr);
    QTest::mouseClick(lock, Qt::LeftButton);
    enter("Width", "100");
    EXPECT_EQ(layer().size, (CGSize{100, 40}));
    drag(*box("Width"), {6, 12}, 50);
    EXPECT_EQ(layer().size, (CGSize{150, 60}));
    EXPECT_EQ(steps(), 2u);
}

TEST_F(InspectorViewTest, ATextIsTypedInOneStepAndNamesItsLayer)
{
    open({layerOf(1, Layer::Kind::text)});
    auto* text = findControl<QPlainTextEdit>(*view_, "Text");
    ASSERT_NE(text, nullptr);
    text->setFocus();
    text->selectAll();
    QTest::keyClicks(text, "Hi");
    EXPECT_EQ(layer().text, "Hi");
    edit("X")->setFocus();
    EXPECT_EQ(steps(), 1u);
    EXPECT_EQ(lastStep(), "Edit Text");
    EXPECT_EQ(layer().name, "Hi");

    text->setFocus();
    QTest::keyClicks(text, " there");
    QTest::keyClick(text, Qt::Key_Escape);
    EXPECT_EQ(layer().text, "Hi");
    EXPECT_EQ(steps(), 1u);
}

TEST(InspectorSegments, WordsThatStandNearEachOtherArePartedByLines)
{
    Segments segments("Shadow", choicesOf<ShadowPreset>(), nullptr);
    const auto linesAt = [&](int width) {
        segments.setFixedWidth(width);
        const QImage image = segments.grab().toImage();
        const auto isLine = [&](int x) {
            const QRgb color = image.pixel(x, 7);
            for (int y = 8; y < 17; ++y)
                if (image.pixel(x, y) != color) return false;
            return color != image.pixel(x, 5); // A box goes on there.
        };
        int lines = 0;
        for (int x = 4; x < image.width() - 4; ++x) lines += isLine(x);
        return lines;
    };
    EXPECT_EQ(linesAt(220), 0);
    EXPECT_EQ(linesAt(128), 3) << "between the four of them";
    segments.showChosen(1);
    EXPECT_EQ(linesAt(128), 1) << "the box of the chosen one parts it from its neighbours";
}

} // namespace
} // namespace larkspool
