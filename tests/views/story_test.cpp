#include "views/editor_window.h"

#include "canvas/layer_insertion.h"
#include "canvas/layer_names.h"
#include "evaluation/interpolation.h"
#include "export/exporter.h"
#include "rendering/text_fitting.h"
#include "support/film_probe.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/canvas_view.h"
#include "views/find_control.h"
#include "views/timeline_view.h"
#include "views/window_test.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

// A film from nothing, by mouse and keyboard alone. What the document is to be is kept beside, and told by the rules: of what the
// program makes by itself only the ids are taken over.

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

/// Of a drag along the timeline, in seconds: the sums are made in another order here.
constexpr double timeTolerance = 1e-9;

class StoryTest : public testing::Test {
protected:
    StoryTest()
    {
        // Times are to be those of the pixels, taken to the nearest frame.
        defaults.set(DefaultsKey::timelineSnapToSpans.name, false);
        defaults.set(DefaultsKey::timelineSnapToKeyframes.name, false);
        defaults.set(DefaultsKey::timelineSnapToPulses.name, false);
        workspace.performForApplication = [](Command) {};
        const TweenDocument nothing;
        expected = nothing.scenes[0];
        open(DocumentFile(nothing));
        steps.push_back(document());
    }
    ~StoryTest() override { window.reset(); }

    void open(DocumentFile file)
    {
        window = std::make_unique<EditorWindow>(std::move(file), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1500, 950);
        hand = std::make_unique<Hand>(*window);
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    }

    EditorView& editor() { return window->editor(); }
    TweenDocument document() { return editor().state().document; }
    TweenScene scene() { return editor().scene(); }
    CanvasView& canvas() { return window->canvas(); }

    /// The last input was one undo step of that name, and the scene is as it was to be.
    void expectStep(const char* name)
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(editor().undoManager().undoCount(), steps.size());
        EXPECT_EQ(editor().undoManager().undoActionName(), name);
        EXPECT_EQ(scene(), expected);
        steps.push_back(document());
    }

    /// @name The hand.
    /// @{
    static QPoint middleOf(const QWidget& widget) { return widget.mapTo(widget.window(), widget.rect().center()); }
    void pressButton(const char* name)
    {
        auto* button = findControl<QToolButton>(*window, name);
        ASSERT_NE(button, nullptr) << name;
        hand->click(middleOf(*button));
    }
    void type(const char* field, const char* text)
    {
        auto* edit = findControl<QLineEdit>(*window, field);
        ASSERT_NE(edit, nullptr) << field;
        QTest::mouseClick(edit, Qt::LeftButton);
        edit->selectAll();
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
        canvas().setFocus();
    }
    /// The pixel of the window that is nearest to a point of the scene.
    QPoint onCanvas(CGPoint scenePoint)
    {
        const CGPoint view = canvas().sceneFit().viewFromScene(scenePoint);
        return canvas().mapTo(window.get(), QPoint(static_cast<int>(std::lround(view.x)), static_cast<int>(std::lround(view.y))));
    }
    /// With the Command key down on the way, so that nothing snaps. The scene's way is that of the pixels.
    CGPoint dragOnCanvas(CGPoint from, QPoint way)
    {
        const QPoint start = onCanvas(from);
        QTest::mousePress(window->windowHandle(), Qt::LeftButton, {}, start);
        for (int i = 1; i <= 5; ++i)
            QTest::mouseEvent(QTest::MouseMove, window->windowHandle(), Qt::NoButton, Qt::ControlModifier, start + way * i / 5);
        QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::ControlModifier, start + way);
        const double scale = canvas().sceneFit().scale;
        return {way.x() / scale, way.y() / scale};
    }
    /// @}

    /// @name The timeline, in pixels of the window. Its tracks begin 200 after its left edge and end 16 before its right one.
    /// @{
    TimelineView& timeline()
    {
        for (QWidget* child : window->findChildren<QWidget*>())
            if (auto* view = dynamic_cast<TimelineView*>(child)) return *view;
        throw std::logic_error("no timeline");
    }
    double pixelsPerSecond() { return (timeline().width() - 216) / expected.duration; }
    QPoint onTimeline(double time, int y)
    {
        return timeline().mapTo(window.get(), QPoint(static_cast<int>(std::lround(200 + time * pixelsPerSecond())), y));
    }
    double nearestFrame(double time) const
    {
        const auto fps = static_cast<double>(expected.fps);
        return std::round(time * fps) / fps;
    }
    /// The frame at the pixel that is nearest to `time`.
    double shown(double time) { return nearestFrame(std::lround(time * pixelsPerSecond()) / pixelsPerSecond()); }
    /// Takes a time over from what was made, if it is the expected one.
    static void agree(double& time, double made)
    {
        EXPECT_NEAR(time, made, timeTolerance);
        time = made;
    }
    /// @}

    /// The layer of the expected scene, for its rules to be told, and as it was made.
    Layer& wanted(std::size_t index) { return expected.layers.edit()[index]; }
    Layer made(std::size_t index) { return scene().layers[index]; }

    /// In the file dialog that comes next.
    void answerWithPath(const std::string& path)
    {
        QTimer::singleShot(0, window.get(), [this, path] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!panel) return answerWithPath(path);
            panel->selectFile(QString::fromStdString(path));
            QTest::keyClick(panel, Qt::Key_Return);
        });
    }

    const TemporaryFolder folder;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    std::unique_ptr<EditorWindow> window;
    std::unique_ptr<Hand> hand;
    TweenScene expected;
    std::vector<TweenDocument> steps; ///< The document before the first step, and behind each.
};

TEST_F(StoryTest, AFilmFromNothing)
{
    // The first row of the selected layer, the rail, and the button in the gutter that adds a span.
    constexpr int spansY = 79, railY = 52, plusX = 153;


    // The scene.
    type("Scene Width", "640");
    expected.width = 640;
    expectStep("Edit Scene Width");
    type("Scene Height", "360");
    expected.height = 360;
    expectStep("Edit Scene Height");
    type("Duration", "2");
    expected.duration = 2;
    expectStep("Edit Duration");
    hand->key(Qt::Key_2, Qt::ControlModifier);

    // A rectangle: added, resized, moved, its corners retyped twice.
    const CGPoint center = canvas().visibleCenter();
    pressButton("Rectangle");
    ASSERT_EQ(scene().layers.size(), 1u);
    expected.layers.append(Layer{.id = made(0).id, .kind = Layer::Kind::rectangle, .size = {200, 200}, .cornerRadius = 12});
    wanted(0).videoClip.id = made(0).videoClip.id;
    wanted(0).name = SharedString(*derivedLayerName(wanted(0)));
    wanted(0).transform.x = center.x - 100;
    wanted(0).transform.y = center.y - 100;
    expectStep("Add Rectangle");
    const UUID box = made(0).id;
    EXPECT_EQ(editor().state().selectedLayerIDs, LayerIDs{box});

    const CGPoint corner{wanted(0).transform.x + 200, wanted(0).transform.y + 200};
    const CGPoint grown = dragOnCanvas(corner, {-40, -60});
    wanted(0).size = {std::round(200 + grown.x), std::round(200 + grown.y)};
    wanted(0).transform.x = std::round(wanted(0).transform.x);
    wanted(0).transform.y = std::round(wanted(0).transform.y);
    expectStep("Resize");

    const auto middleOfBox = [this] {
        return CGPoint{wanted(0).transform.x + wanted(0).size.width / 2, wanted(0).transform.y + wanted(0).size.height / 2};
    };
    const CGPoint moved = dragOnCanvas(middleOfBox(), {-70, 35});
    wanted(0).transform.x = std::round(wanted(0).transform.x + moved.x);
    wanted(0).transform.y = std::round(wanted(0).transform.y + moved.y);
    expectStep("Move");

    type("Corner Radius", "20");
    wanted(0).cornerRadius = 20;
    expectStep("Edit Corner Radius");
    type("Corner Radius", "8.5");
    wanted(0).cornerRadius = 8.5;
    expectStep("Edit Corner Radius");

    // A text, half seen, and moved away.
    const CGPoint textCenter = canvas().visibleCenter();
    pressButton("Text");
    ASSERT_EQ(scene().layers.size(), 2u);
    expected = addTextLayer(expected, textCenter, "", systemTextMeasurer()).value().scene;
    wanted(1).id = made(1).id;
    wanted(1).videoClip.id = made(1).videoClip.id;
    expectStep("Add Text");
    const UUID words = made(1).id;

    type("Opacity", "0.5");
    wanted(1).opacity = 0.5;
    expectStep("Edit Opacity");
    const auto middleOfText = [this] {
        return CGPoint{wanted(1).transform.x + wanted(1).size.width / 2, wanted(1).transform.y + wanted(1).size.height / 2};
    };
    const CGPoint away = dragOnCanvas(middleOfText(), {90, -80});
    wanted(1).transform.x = std::round(wanted(1).transform.x + away.x);
    wanted(1).transform.y = std::round(wanted(1).transform.y + away.y);
    expectStep("Move");

    // Keyframes of the rectangle at 0, and where it is dragged to a second later.
    hand->click(onCanvas(middleOfBox()));
    EXPECT_EQ(editor().state().selectedLayerIDs, LayerIDs{box});
    EXPECT_EQ(editor().undoManager().undoCount(), steps.size() - 1) << "a click is no step";
    hand->key(Qt::Key_K, Qt::ControlModifier);
    const Layer still = wanted(0);
    const std::vector<std::pair<Property, KeyValue>> pinned{
        {Property::x, still.transform.x},      {Property::y, still.transform.y},           {Property::width, still.size.width},
        {Property::height, still.size.height}, {Property::rotation, 0.0},                  {Property::scaleX, 1.0},
        {Property::scaleY, 1.0},               {Property::opacity, 1.0},
        {Property::shadow, ShadowPreset::none}};
    for (const Keyframe& keyframe : made(0).keyframes) {
        const auto found = std::ranges::find(pinned, keyframe.property, &std::pair<Property, KeyValue>::first);
        ASSERT_NE(found, pinned.end()) << displayName(keyframe.property);
        EXPECT_EQ(keyframe.value, found->second) << displayName(keyframe.property);
        wanted(0).keyframes.append(Keyframe{.id = keyframe.id, .property = keyframe.property, .time = 0, .value = found->second});
    }
    EXPECT_EQ(made(0).keyframes.size(), pinned.size());
    expectStep("Add Keyframes");

    hand->press(onTimeline(1, railY)).release();
    EXPECT_NEAR(editor().state().playhead, shown(1), timeTolerance);
    const double later = editor().state().playhead;
    const CGPoint shifted = dragOnCanvas(middleOfBox(), {60, 50});
    wanted(0).transform.x = std::round(still.transform.x + shifted.x); // The layer's own place goes along with the keyframe.
    wanted(0).transform.y = std::round(still.transform.y + shifted.y);
    for (const auto& [property, value] :
         {std::pair{Property::x, wanted(0).transform.x}, std::pair{Property::y, wanted(0).transform.y}}) {
        const Array<Keyframe> now = made(0).keyframes;
        const auto added = std::ranges::find_if(
            now, [&](const Keyframe& keyframe) { return keyframe.property == property && keyframe.time == later; });
        ASSERT_NE(added, now.end());
        wanted(0).keyframes.append(Keyframe{.id = added->id, .property = property, .time = later, .value = value});
    }
    expectStep("Move");

    // Two spans, cut to length.
    const auto addSpanAt = [&](double time) {
        hand->press(onTimeline(time, railY)).release();
        hand->click(timeline().mapTo(window.get(), QPoint(plusX, spansY)));
        const std::size_t count = wanted(0).spans.size();
        EXPECT_EQ(made(0).spans.size(), count + 1);
        const TimeSpan last = made(0).spans[made(0).spans.size() - 1];
        TimeSpan span{.id = last.id, .start = shown(time), .end = 2};
        agree(span.start, last.start);
        wanted(0).spans.append(span);
        expectStep("Add Span");
    };
    const auto trimEnd = [&](std::size_t index, double to) {
        const double end = wanted(0).spans[index].end;
        const int way = static_cast<int>(std::lround((to - end) * pixelsPerSecond()));
        hand->press(onTimeline(end, spansY) - QPoint(3, 0)).moveBy(way / 2).moveBy(way - way / 2).release();
        wanted(0).spans.edit()[index].end = nearestFrame(end + way / pixelsPerSecond());
        agree(wanted(0).spans.edit()[index].end, made(0).spans[index].end);
        expectStep("Resize Span");
    };
    addSpanAt(0.4);
    trimEnd(0, 0.8);
    addSpanAt(1.2);
    trimEnd(1, 1.5);

    // What begins after the first span goes with it: the second one and the two keyframes that the drag has made.
    const QPoint onFirst = onTimeline(0.6, spansY);
    hand->click(onFirst);
    EXPECT_EQ(editor().state().timelineSelection, TimelineSelection{TimelineItemRef::span(box, wanted(0).spans[0].id)});
    hand->key(Qt::Key_R).key(Qt::Key_R);
    EXPECT_TRUE(defaults.boolean(DefaultsKey::ripplePushAfter));
    EXPECT_FALSE(defaults.boolean(DefaultsKey::ripplePushBefore));
    hand->press(onFirst).moveBy(5).moveBy(30).release(); // Counted from where the press became a drag.
    const double firstStart = wanted(0).spans[0].start;
    const double by = nearestFrame(firstStart + 30 / pixelsPerSecond()) - firstStart;
    for (std::size_t i = 0; i < 2; ++i) {
        TimeSpan& span = wanted(0).spans.edit()[i];
        span.start += by;
        span.end += by;
        agree(span.start, made(0).spans[i].start);
        agree(span.end, made(0).spans[i].end);
    }
    for (std::size_t i = 0; i < wanted(0).keyframes.size(); ++i) {
        Keyframe& keyframe = wanted(0).keyframes.edit()[i];
        if (keyframe.time == 0) continue;
        keyframe.time += by;
        agree(keyframe.time, made(0).keyframes[i].time);
    }
    expectStep("Move Span");
    EXPECT_EQ(editor().rippleToastMessage(), "Ripple moved 3 other items");

    // Both in a group, and a third layer that comes and goes.
    hand->press(onTimeline(0.6, railY)).release();
    hand->click(onCanvas(middleOfText()));
    EXPECT_EQ(editor().state().selectedLayerIDs, LayerIDs{words});
    const Layer atPlayhead = Interpolation::resolve(made(0), editor().state().playhead);
    const CGPoint boxNow{atPlayhead.transform.x + atPlayhead.size.width / 2, atPlayhead.transform.y + atPlayhead.size.height / 2};
    hand->click(onCanvas(boxNow), Qt::ShiftModifier);
    EXPECT_EQ(editor().state().selectedLayerIDs, (LayerIDs{words, box}));
    hand->key(Qt::Key_G, Qt::ControlModifier);
    ASSERT_EQ(scene().layers.size(), 1u);
    Layer group{.id = made(0).id, .name = SharedString("Group"), .kind = Layer::Kind::group, .fill = ColorRGBA::clear};
    group.videoClip.id = made(0).videoClip.id;
    group.children = expected.layers;
    expected.layers = {group};
    expectStep("Group");

    pressButton("Ellipse");
    ASSERT_EQ(scene().layers.size(), 2u);
    Layer ellipse{.id = made(1).id, .kind = Layer::Kind::ellipse, .size = {200, 200}};
    ellipse.videoClip.id = made(1).videoClip.id;
    ellipse.name = SharedString(*derivedLayerName(ellipse));
    ellipse.transform.x = canvas().visibleCenter().x - 100;
    ellipse.transform.y = canvas().visibleCenter().y - 100;
    expected.layers.append(ellipse);
    expectStep("Add Ellipse");
    hand->key(Qt::Key_Delete);
    expected.layers = {group};
    expectStep("Delete Layer");

    // Twenty steps back and forth.
    ASSERT_GT(steps.size(), 20u);
    const std::size_t last = steps.size() - 1;
    for (std::size_t i = 1; i <= 20; ++i) {
        hand->key(Qt::Key_Z, Qt::ControlModifier);
        ASSERT_EQ(document(), steps[last - i]) << i << " steps back";
    }
    for (std::size_t i = 1; i <= 20; ++i) {
        hand->key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        ASSERT_EQ(document(), steps[last - 20 + i]) << i << " steps forth again";
    }
    EXPECT_EQ(scene(), expected);

    // The file, and the window that opens it.
    const std::string path = folder.path("Story.larkspool");
    EXPECT_TRUE(window->isWindowModified());
    answerWithPath(path);
    hand->key(Qt::Key_S, Qt::ControlModifier);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !window->isSaving(); }, 10'000));
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_FALSE(window->isWindowModified());
    TweenDocument whole;
    whole.scenes = {expected};
    open(DocumentFile::open(path));
    EXPECT_EQ(document(), whole);
    EXPECT_EQ(window->windowTitle(), "Story[*] — Larkspool");

    // The film.
    const std::string film = folder.path("Story.mp4");
    hand->key(Qt::Key_E, Qt::ControlModifier);
    auto* filename = findControl<QLineEdit>(*window, "Filename");
    ASSERT_NE(filename, nullptr);
    answerWithPath(film);
    QTest::keyClick(filename, Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([&] { return workspace.background.running() == 0 && std::filesystem::exists(film); }, 120'000));
    const FilmReport report = probeFilm(film);
    EXPECT_EQ(report.width, 640);
    EXPECT_EQ(report.height, 360);
    EXPECT_EQ(report.frames(), 120) << "2 seconds of 60 frames";
    const std::vector<PixelBuffer> frames = decodedFrames(film, 1);
    ASSERT_EQ(frames.size(), 1u);
    const std::unique_ptr<PixelBuffer> drawn = Exporter::renderSceneToImage(expected, 0, expected.size());
    ASSERT_TRUE(drawn);
    // What coding leaves of a picture of few edges; without the half-seen text it would be more.
    EXPECT_LT(meanChannelError(frames[0], *drawn), 1.0);
    TweenScene withoutText = expected;
    withoutText.layers.edit()[0].children.edit()[1].isHidden = true;
    const std::unique_ptr<PixelBuffer> blank = Exporter::renderSceneToImage(withoutText, 0, expected.size());
    EXPECT_LT(meanChannelError(frames[0], *drawn), meanChannelError(frames[0], *blank));
}

} // namespace
} // namespace larkspool
