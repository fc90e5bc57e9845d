#include "views/canvas_view.h"

#include "evaluation/interpolation.h"
#include "platform/png_writer.h"
#include "support/small_picture.h"
#include "support/test_media.h"
#include "views/canvas_overlay.h"
#include "views/editor_window.h"
#include "views/theme.h"
#include "views/window_test.h"

#include <QImage>
#include <QKeyEvent>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QWheelEvent>

#include <cmath>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {7, number};
}

Layer boxAt(std::uint64_t number, double x, double y, double width = 100, double height = 60)
{
    Layer layer{.id = idOf(number), .fill = {1, 0, 0, 1}, .size = {width, height}};
    layer.transform.x = x;
    layer.transform.y = y;
    return layer;
}

bool hasColor(const QImage& image, const QColor& color, const QRect& within)
{
    for (int y = within.top(); y <= within.bottom(); ++y)
        for (int x = within.left(); x <= within.right(); ++x)
            if (image.rect().contains(x, y) && image.pixel(x, y) == color.rgb()) return true;
    return false;
}

/// A canvas of 800 x 600 that shows a scene of 800 x 600: a point of the one is a point of the other until it is zoomed.
class CanvasViewTest : public testing::Test {
protected:
    void open(Array<Layer> layers)
    {
        Interpolation::invalidate(); // Tests use the same ids for different layers.
        view.reset();
        editor = std::make_unique<EditorForViews>(TweenScene{.id = idOf(0), .width = 800, .height = 600, .layers = std::move(layers)});
        EditorContext context = editor->context([this] { view->refresh(); });
        context.documentFolder = [this] { return folder; };
        view = std::make_unique<CanvasView>(std::move(context), nullptr);
        view->resize(800, 600);
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        view->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
        view->setFocus();
        QEnterEvent enter(QPointF(400, 300), QPointF(400, 300), QPointF(400, 300));
        QApplication::sendEvent(view.get(), &enter);
    }

    void press(QPoint at, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mousePress(view->windowHandle(), button, modifiers, at);
    }
    void moveTo(QPoint at) { QTest::mouseMove(view->windowHandle(), at); }
    void release(QPoint at, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseRelease(view->windowHandle(), button, modifiers, at);
    }
    void keyPress(Qt::Key key) { QTest::keyPress(view->windowHandle(), key); }
    void keyRelease(Qt::Key key) { QTest::keyRelease(view->windowHandle(), key); }

    /// A modifier's own key; what is held comes before the event, as a keyboard tells it.
    void modifierKey(QEvent::Type type, Qt::Key key, Qt::KeyboardModifiers held = {})
    {
        QKeyEvent event(type, key, held);
        QApplication::sendEvent(view.get(), &event);
    }

    void turnWheel(QPoint pixels, QPoint eighths, Qt::KeyboardModifiers modifiers = {}, QPointF at = {400, 300})
    {
        QWheelEvent event(at, view->mapToGlobal(at), pixels, eighths, Qt::NoButton, modifiers, Qt::NoScrollPhase, /*inverted=*/false);
        QApplication::sendEvent(view.get(), &event);
        EXPECT_TRUE(event.isAccepted()) << "no other part of the window scrolls";
    }
    void gesture(Qt::NativeGestureType type, double value = 0)
    {
        QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2, {400, 300}, {400, 300}, {400, 300}, value, {});
        QApplication::sendEvent(view.get(), &event);
    }

    CGPoint seenAt(CGPoint scenePoint) { return view->sceneFit().viewFromScene(scenePoint); }
    CGPoint origin() { return seenAt({0, 0}); }
    QImage picture() { return view->grab().toImage().convertToFormat(QImage::Format_RGB32); }
    Layer layer(std::size_t place) { return editor->editor->scene().layers[place]; }
    void select(LayerIDs layers)
    {
        editor->editor->selectLayers(std::move(layers));
        view->refresh();
    }

    std::string folder;
    std::unique_ptr<EditorForViews> editor;
    std::unique_ptr<CanvasView> view;
};

void expectPoint(CGPoint actual, CGPoint expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-6);
    EXPECT_NEAR(actual.y, expected.y, 1e-6);
}

// Zoom

TEST_F(CanvasViewTest, FittingASelectionPutsItInTheMiddleOfWhatIsFree)
{
    open({boxAt(1, 100, 100, 200, 100)});
    QWidget palette(view.get());
    for (const bool isFloating : {false, true}) {
        SCOPED_TRACE(isFloating);
        view->setFloatingPalette(isFloating ? &palette : nullptr);
        const double left = isFloating ? 56 : 0;
        select({idOf(1)});
        view->fit(CanvasView::FitTo::selection);
        EXPECT_NEAR(view->zoom(), 0.81 * (800 - left) / 200, 1e-9) << "the width is what limits it";
        expectPoint(seenAt({200, 150}), {(800 + left) / 2, 300});
        view->fit(CanvasView::FitTo::scene);
        EXPECT_NEAR(view->zoom(), 0.81 * (800 - left) / 800, 1e-9);
        expectPoint(seenAt({400, 300}), {(800 + left) / 2, 300});
        select({});
        view->zoomTo(3);
        view->fit(CanvasView::FitTo::selection);
        EXPECT_NEAR(view->zoom(), 0.81 * (800 - left) / 800, 1e-9) << "the scene, where nothing is selected";
    }
    view->setFloatingPalette(nullptr);
}

TEST_F(CanvasViewTest, FittingASelectionOfNoSizeStopsAtTenTimes)
{
    open({boxAt(1, 100, 100, 1, 1), boxAt(2, 200, 200, 0, 0)});
    for (const std::uint64_t number : {1, 2}) {
        select({idOf(number)});
        view->fit(CanvasView::FitTo::selection);
        EXPECT_EQ(view->zoom(), 10);
        expectPoint(seenAt({number * 100.0 + (number == 1 ? 0.5 : 0), number * 100.0 + (number == 1 ? 0.5 : 0)}), {400, 300});
    }
}

TEST_F(CanvasViewTest, TheStepsOfZoomKeepThePivotOfTheOneSelectedLayerElseTheMiddle)
{
    Layer turned = boxAt(1, 100, 100, 200, 100);
    turned.transform.anchorX = 0.25;
    turned.transform.anchorY = 1;
    Layer group{.id = idOf(2), .kind = Layer::Kind::group, .children = {boxAt(3, 10, 20, 40, 40)}};
    group.transform.x = 500;
    group.transform.y = 300;
    struct Case { const char* what; LayerIDs selected; CGPoint pivot; };
    for (const Case& c : {Case{"nothing", {}, {400, 300}}, Case{"a layer", {idOf(1)}, {150, 200}},
                          Case{"a child of a group", {idOf(3)}, {530, 340}}, Case{"two layers", {idOf(1), idOf(2)}, {400, 300}}}) {
        SCOPED_TRACE(c.what);
        open({turned, group});
        select(c.selected);
        view->zoomIn();
        EXPECT_NEAR(view->zoom(), 1.25, 1e-12);
        expectPoint(seenAt(c.pivot), c.pivot);
        view->zoomOut();
        view->zoomOut();
        EXPECT_NEAR(view->zoom(), 0.8, 1e-12);
        expectPoint(seenAt(c.pivot), c.pivot);
    }
}

TEST_F(CanvasViewTest, TheZoomIsShownForASecondAndAHalfAndFades)
{
    open({});
    const auto opacity = [&] {
        // At the left end of the words' box, beside the words.
        const QRgb seen = picture().pixel(800 - 12 - static_cast<int>(pillSize("1000%").width()) + 8, 24);
        const QRgb under = QColor(Qt::white).rgb(), full = theme().overlay.rgb();
        return double(qRed(under) - qRed(seen)) / (qRed(under) - qRed(full));
    };
    EXPECT_EQ(opacity(), 0) << "nothing has been zoomed";
    view->zoomTo(10);
    EXPECT_LT(opacity(), 0.5) << "it comes in two tenths of a second";
    QTest::qWait(350);
    EXPECT_EQ(opacity(), 1);
    QTest::qWait(700);
    view->zoomTo(50);
    EXPECT_EQ(view->zoom(), 10);
    QTest::qWait(1000);
    EXPECT_EQ(opacity(), 1) << "the time began anew, though the zoom stood at its limit";
    bool fades = false;
    for (int i = 0; i < 100 && opacity() > 0; ++i) {
        const double now = opacity();
        fades = fades || (now > 0.1 && now < 0.9);
        QTest::qWait(20);
    }
    EXPECT_EQ(opacity(), 0);
    EXPECT_TRUE(fades);
}

TEST_F(CanvasViewTest, APinchZoomsFromWhereItBegan)
{
    open({boxAt(1, 100, 100, 200, 100)});
    select({idOf(1)});
    gesture(Qt::BeginNativeGesture);
    gesture(Qt::ZoomNativeGesture, 0.005);
    EXPECT_EQ(view->zoom(), 1) << "fingers that rest on the pad";
    gesture(Qt::ZoomNativeGesture, 0.1);
    EXPECT_NEAR(view->zoom(), 1.005 * 1.1, 1e-12);
    expectPoint(seenAt({200, 150}), {200, 150});
    gesture(Qt::ZoomNativeGesture, 19);
    EXPECT_EQ(view->zoom(), 10);
    gesture(Qt::ZoomNativeGesture, 1.0 / (20 * 1.1) - 1);
    EXPECT_NEAR(view->zoom(), 1.005, 1e-9) << "beyond the limit and back is where it was";
    expectPoint(seenAt({200, 150}), {200, 150});
    gesture(Qt::EndNativeGesture);
    gesture(Qt::BeginNativeGesture);
    gesture(Qt::ZoomNativeGesture, -0.5);
    EXPECT_NEAR(view->zoom(), 1.005 / 2, 1e-9) << "another pinch";
}

TEST_F(CanvasViewTest, APinchWithoutABeginGoesByTheCanvasAsItIs)
{
    open({});
    gesture(Qt::ZoomNativeGesture, 1);
    turnWheel({30, 0}, {});
    const CGPoint moved = origin();
    gesture(Qt::ZoomNativeGesture, 0.005);
    expectPoint(origin(), moved);
    EXPECT_EQ(view->zoom(), 2);
}

// Panning

TEST_F(CanvasViewTest, TheWheelMovesTheCanvasAndWithCommandZoomsAtThePointer)
{
    open({});
    turnWheel({13, -7}, {0, -120});
    expectPoint(origin(), {13, -7});
    turnWheel({}, {0, -120});
    expectPoint(origin(), {13, -67});
    const CGPoint under = view->sceneFit().sceneFromView({150, 120});
    turnWheel({}, {0, 480}, Qt::ControlModifier, {150, 120});
    EXPECT_NEAR(view->zoom(), 2, 1e-12);
    expectPoint(seenAt(under), {150, 120});
}

TEST_F(CanvasViewTest, WhatIsDraggedKeepsTheViewThatItWasPressedIn)
{
    open({boxAt(1, 300, 300)});
    press({350, 330});
    moveTo({380, 330});
    turnWheel({50, 50}, {});
    turnWheel({}, {0, 480}, Qt::ControlModifier);
    gesture(Qt::ZoomNativeGesture, 1);
    press({380, 330}, Qt::MiddleButton);
    moveTo({400, 330});
    release({400, 330}, Qt::MiddleButton);
    expectPoint(origin(), {0, 0});
    EXPECT_EQ(view->zoom(), 1);
    EXPECT_TRUE(editor->editor->isDraggingCanvas());
    release({400, 330});
    EXPECT_FALSE(editor->editor->isDraggingCanvas());
    EXPECT_EQ(layer(0).transform.x, 350) << "caught by the scene's middle";
}

TEST_F(CanvasViewTest, TheMiddleButtonMovesTheCanvasAndNoOtherButtonCounts)
{
    open({boxAt(1, 300, 300)});
    press({350, 330}, Qt::MiddleButton);
    EXPECT_EQ(view->cursor().shape(), Qt::ClosedHandCursor);
    moveTo({360, 325});
    press({360, 325});
    release({360, 325});
    moveTo({370, 320});
    expectPoint(origin(), {20, -10});
    release({370, 320}, Qt::MiddleButton);
    moveTo({400, 400});
    expectPoint(origin(), {20, -10});
    EXPECT_TRUE(editor->editor->state().selectedLayerIDs.empty());
    EXPECT_FALSE(editor->editor->isDraggingCanvas());
    EXPECT_NE(view->cursor().shape(), Qt::ClosedHandCursor);
}

TEST_F(CanvasViewTest, SpaceIsHeldToMoveTheCanvasAndPlaysWhereItIsNot)
{
    open({boxAt(1, 300, 300)});
    moveTo({350, 330});
    keyPress(Qt::Key_Space);
    EXPECT_EQ(view->cursor().shape(), Qt::OpenHandCursor);
    press({350, 330});
    moveTo({370, 340});
    expectPoint(origin(), {20, 10});
    release({370, 340});
    EXPECT_EQ(view->cursor().shape(), Qt::OpenHandCursor) << "Space is down still";
    keyRelease(Qt::Key_Space);
    EXPECT_EQ(view->cursor().shape(), Qt::PointingHandCursor);
    EXPECT_TRUE(editor->performed.empty());
    EXPECT_EQ(layer(0).transform.x, 300);

    keyPress(Qt::Key_Space);
    EXPECT_TRUE(editor->performed.empty()) << "it may yet be held to move the canvas";
    keyRelease(Qt::Key_Space);
    EXPECT_EQ(editor->performed, std::vector{Command::togglePlay});
}

TEST_F(CanvasViewTest, SpaceIsACommandsKeyWhereThePointerIsElsewhere)
{
    open({});
    const auto isTaken = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(QEvent::ShortcutOverride, key, modifiers);
        event.ignore();
        QApplication::sendEvent(view.get(), &event);
        return event.isAccepted();
    };
    moveTo({350, 330});
    EXPECT_TRUE(isTaken(Qt::Key_Space));
    EXPECT_FALSE(isTaken(Qt::Key_Space, Qt::ShiftModifier));
    EXPECT_FALSE(isTaken(Qt::Key_Escape)) << "nothing is dragged";
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(view.get(), &leave);
    EXPECT_FALSE(isTaken(Qt::Key_Space));
}

TEST_F(CanvasViewTest, SpaceThatIsLetGoElsewhereIsNotDownAnyMore)
{
    open({boxAt(1, 300, 300)});
    moveTo({350, 330});
    keyPress(Qt::Key_Space);
    view->clearFocus();
    press({350, 330});
    EXPECT_TRUE(editor->editor->isDraggingCanvas());
    release({350, 330});
}

TEST_F(CanvasViewTest, OptionOverNothingMovesTheCanvasAndOverALayerACopy)
{
    open({boxAt(1, 300, 300)});
    press({100, 100}, Qt::LeftButton, Qt::AltModifier);
    EXPECT_EQ(view->cursor().shape(), Qt::ClosedHandCursor);
    moveTo({130, 90});
    release({130, 90}, Qt::LeftButton, Qt::AltModifier);
    expectPoint(origin(), {30, -10});
    press({380, 320}, Qt::LeftButton, Qt::AltModifier);
    EXPECT_EQ(view->cursor().shape(), Qt::DragCopyCursor);
    moveTo({480, 420});
    release({480, 420}, Qt::LeftButton, Qt::AltModifier);
    ASSERT_EQ(editor->editor->scene().layers.size(), 2u);
    EXPECT_EQ(layer(0).transform.x, 300);
    EXPECT_NEAR(layer(1).transform.x, 400, 6);
}

// Pressing and dragging

TEST_F(CanvasViewTest, AModifierCountsBeforeThePointerGoesOn)
{
    open({boxAt(1, 100, 100)});
    press({150, 130});
    moveTo({250, 180});
    EXPECT_EQ(layer(0).transform.y, 150);
    modifierKey(QEvent::KeyPress, Qt::Key_Shift);
    EXPECT_EQ(layer(0).transform.y, 100) << "along the greater axis alone";
    EXPECT_EQ(layer(0).transform.x, 200);
    modifierKey(QEvent::KeyRelease, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_EQ(layer(0).transform.y, 150);
    release({250, 180});
    modifierKey(QEvent::KeyPress, Qt::Key_Alt);
    EXPECT_EQ(view->cursor().shape(), Qt::OpenHandCursor);
    modifierKey(QEvent::KeyRelease, Qt::Key_Alt, Qt::AltModifier);
    EXPECT_EQ(view->cursor().shape(), Qt::PointingHandCursor);
}

TEST_F(CanvasViewTest, TheCursorTellsWhatAPressWouldDo)
{
    Layer turned = boxAt(1, 300, 300, 100, 100);
    turned.transform.rotation = 45;
    open({turned, boxAt(2, 100, 100)});
    select({idOf(1)});
    const double half = 100 / std::sqrt(2.0), stem = 24 / std::sqrt(2.0);
    struct Case { const char* what; CGPoint at; Qt::CursorShape shape; };
    for (const Case& c : {Case{"a turned corner", {350, 350 - half}, Qt::SizeVerCursor},
                          Case{"a turned side", {350 + half / 2, 350 + half / 2}, Qt::SizeFDiagCursor},
                          Case{"the rotate handle", {350 + half / 2 + stem, 350 - half / 2 - stem}, Qt::ClosedHandCursor},
                          Case{"another layer", {150, 130}, Qt::PointingHandCursor}, Case{"nothing", {600, 500}, Qt::ArrowCursor}}) {
        SCOPED_TRACE(c.what);
        moveTo({static_cast<int>(std::lround(c.at.x)), static_cast<int>(std::lround(c.at.y))});
        EXPECT_EQ(view->cursor().shape(), c.shape);
    }
}

TEST_F(CanvasViewTest, ADragShowsItsGuidesAndTheirEndTakesThemAway)
{
    open({boxAt(1, 100, 100), boxAt(2, 600, 400)});
    press({150, 130});
    moveTo({250, 300});
    moveTo({402, 300}); // The middle comes to within 2 of the scene's.
    const QImage dragged = picture();
    EXPECT_EQ(dragged.pixel(400, 550), theme().guideScene.rgb());
    EXPECT_EQ(dragged.pixel(700, 300), theme().guideScene.rgb());
    EXPECT_TRUE(hasColor(dragged, theme().guideScene, {408, 10, 40, 12})) << "its label";
    EXPECT_EQ(layer(0).transform.x, 350);
    release({402, 300});
    EXPECT_NE(picture().pixel(400, 550), theme().guideScene.rgb());
}

TEST_F(CanvasViewTest, AMarqueeIsShownWhileItIsDrawn)
{
    open({boxAt(1, 100, 100)});
    press({50, 50});
    moveTo({140, 120});
    EXPECT_EQ(picture().pixel(50, 80), theme().selectionOutline.rgb());
    EXPECT_EQ(editor->editor->state().selectedLayerIDs, LayerIDs{idOf(1)});
    release({140, 120});
    EXPECT_NE(picture().pixel(50, 80), theme().selectionOutline.rgb());
}

TEST_F(CanvasViewTest, TheSizeOfTheOneSelectedLayerIsShownAndFollowsAResize)
{
    open({boxAt(1, 300, 300), boxAt(2, 100, 100)});
    const auto badge = [&] { return hasColor(picture(), theme().accent, {300, 360, 130, 40}); };
    EXPECT_FALSE(badge());
    select({idOf(1)});
    EXPECT_TRUE(badge());
    const QImage before = picture();
    press({400, 330});
    moveTo({420, 330});
    EXPECT_NE(before.copy(300, 365, 130, 25), picture().copy(300, 365, 130, 25));
    release({420, 330});
    EXPECT_EQ(layer(0).size.width, 120);
    select({idOf(1), idOf(2)});
    EXPECT_FALSE(badge());
}

// The picture

TEST_F(CanvasViewTest, WhatLiesBeyondTheFrameIsDimmedOrHiddenAsThePersonLikes)
{
    open({boxAt(1, -50, 270, 100, 60)});
    turnWheel({100, 0}, {});
    const auto red = [&](int x) { return qRed(picture().pixel(x, 300)); };
    EXPECT_EQ(red(120), 255);
    EXPECT_NEAR(red(70), 166, 1) << "0.65 of it";
    EXPECT_EQ(picture().pixel(20, 300), theme().backdrop.rgb());
    editor->defaults.set(DefaultsKey::hideOffCanvas, true);
    view->refresh();
    EXPECT_EQ(picture().pixel(70, 300), theme().backdrop.rgb());
    EXPECT_EQ(picture().pixel(20, 300), theme().backdrop.rgb());
}

TEST_F(CanvasViewTest, ALargePictureIsDecodedBesideThePaintingOfTheRest)
{
    PixelBuffer pixels(3000, 2000);
    for (int y = 0; y < 2000; ++y)
        for (int x = 0; x < 3000; ++x) {
            std::uint8_t* pixel = pixels.row(y) + 4 * x;
            pixel[0] = static_cast<std::uint8_t>(x * y), pixel[1] = 255, pixel[2] = 0, pixel[3] = 255;
        }
    Layer image = boxAt(1, 100, 100, 300, 200);
    image.kind = Layer::Kind::image;
    image.imageData = Bytes(encodePng(pixels));
    open({});
    editor->editor->mutate("Paste", [&](TweenScene& scene) { scene.layers = {image, boxAt(2, 500, 100)}; });
    view->refresh();
    const auto isThere = [&] { return qGreen(picture().pixel(250, 200)) == 255 && qRed(picture().pixel(250, 200)) < 200; };
    EXPECT_FALSE(isThere()) << "no answer can have come but by the event loop";
    EXPECT_EQ(picture().pixel(550, 130), QColor(Qt::red).rgb());
    EXPECT_TRUE(QTest::qWaitFor(isThere, 20000));
}

TEST_F(CanvasViewTest, AVideoBesideTheDocumentIsShown)
{
    const TemporaryFolder media;
    makeMedia(media.path("film.mp4"), countingSource(30) + " -c:v libx264 -pix_fmt yuv420p");
    folder = media.path("");
    Layer video = boxAt(1, 100, 100, 320, 240);
    video.kind = Layer::Kind::video;
    video.videoURL = "film.mp4";
    video.videoDuration = 1;
    video.videoClip = {.sceneStart = 0, .sceneEnd = 1};
    const auto shown = [&] { return picture().pixel(110, 110); };
    const QRgb white = QColor(Qt::white).rgb();
    open({video});
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown() != white; }, 20000));
    const QRgb film = shown();
    video.videoURL = "gone.mp4";
    open({video});
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown() != white; }, 20000));
    EXPECT_NE(shown(), film) << "the sign for a missing one";
    folder.clear();
}

// In its window

TEST(CanvasInWindow, ANewCanvasFitsTheSceneOnce)
{
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    EditorWindow window(DocumentFile(TweenDocument()), workspace);
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.resize(1400, 900);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    CanvasView& canvas = window.canvas();
    const TweenScene scene = window.editor().scene();
    const double base = std::min(canvas.width() / scene.width, canvas.height() / scene.height);
    const double expected = std::min((canvas.width() - 56) / scene.width, canvas.height() / scene.height) * 0.81 / base;
    EXPECT_NEAR(canvas.zoom(), expected, 1e-9) << "by the size that the canvas has in the end";
    canvas.zoomTo(3);
    window.hide();
    window.show();
    window.resize(1300, 800);
    EXPECT_EQ(canvas.zoom(), 3);
}

} // namespace
} // namespace larkspool
