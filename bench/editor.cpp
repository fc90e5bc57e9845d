// What the editor's window costs a person who waits: drawing the canvas anew and not anew, a step of a drag, a tick of playback,
// the timeline of a large scene, the first window, and a large document. Without a screen: what the window system adds to each
// picture is not in the figures. An argument names the one part to measure: cards, text, timeline or opening.

#include "bench_scenes.h"
#include "document/file_format.h"
#include "views/canvas_view.h"
#include "views/style.h"
#include "window_times.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace larkspool;

constexpr QSize canvasSize(1600, 900);

/// A window whose canvas is of the size that is measured.
std::unique_ptr<EditorWindow> windowWithCanvas(TweenDocument document, World& world)
{
    auto window = shownWindow(DocumentFile(std::move(document)), world, {2200, 1500});
    const QSize beside = window->size() - window->canvas().size();
    window->resize(canvasSize + beside);
    QApplication::processEvents();
    window->canvas().fit(CanvasView::FitTo::scene);
    QApplication::processEvents();
    return window;
}

void measureCanvas(const char* name, TweenDocument document)
{
    World world;
    const auto window = windowWithCanvas(std::move(document), world);
    CanvasView& canvas = window->canvas();
    EditorView& editor = window->editor();
    const double duration = editor.scene().duration;
    std::printf("%s, canvas of %d x %d\n", name, canvas.width(), canvas.height());
    report("canvas drawn anew", timesOf([&](int i) {
               editor.setPlayhead(duration * i / passes);
               canvas.repaint();
           }));
    report("canvas drawn again with nothing changed", timesOf([&](int) { canvas.repaint(); }));
    editor.setPlayhead(0);
    report("tick of playback, with the whole window", timesOf([&](int) {
               window->playback().tick();
               window->refresh();
               QApplication::processEvents();
           }));

    editor.setPlayhead(duration / 2);
    window->refresh();
    const Layer& first = editor.scene().layers[0];
    const CGPoint from =
        canvas.sceneFit().viewFromScene({first.transform.x + first.size.width / 2, first.transform.y + first.size.height / 2});
    const auto send = [&](QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, canvas.mapToGlobal(at), Qt::LeftButton, buttons, Qt::NoModifier);
        QApplication::sendEvent(&canvas, &event);
    };
    send(QEvent::MouseButtonPress, {from.x, from.y}, Qt::LeftButton);
    report("step of a drag on the canvas, with the whole window", timesOf([&](int i) {
               send(QEvent::MouseMove, {from.x + 6 + i, from.y + 4 + i / 2}, Qt::LeftButton);
               QApplication::processEvents();
           }));
    send(QEvent::MouseButtonRelease, {from.x, from.y}, Qt::NoButton);
}

/// 500 layers with a span, two pulses and 20 keyframes each.
TweenDocument largeTimeline()
{
    constexpr std::uint64_t layerCount = 500, keyframesEach = 20;
    TweenScene scene{.fps = 60, .duration = 60};
    std::uint64_t number = 0;
    using Property = Keyframe::AnimatableProperty;
    constexpr Property properties[] = {Property::x, Property::y, Property::opacity, Property::rotation};
    for (std::uint64_t i = 0; i < layerCount; ++i) {
        Layer layer{.id = {1, ++number}, .name = "Layer " + std::to_string(i)};
        layer.spans.append(
            {.id = {1, ++number}, .start = 0.1 * static_cast<double>(i % 40), .end = 50, .effects = {SpanEffect{}}});
        for (std::uint64_t k = 0; k < keyframesEach; ++k)
            layer.keyframes.append({.id = {1, ++number},
                                    .property = properties[k % 4],
                                    .time = 1 + static_cast<double>(k) * 2.7 + 0.01 * static_cast<double>(i),
                                    .value = 0.5,
                                    .wait = k % 5 == 0 ? 0.4 : 0});
        layer.pulses.append({.id = {1, ++number}, .time = 5});
        scene.layers.append(layer);
    }
    TweenDocument document;
    document.scenes = {scene};
    return document;
}

/// A number of all the layers that are selected.
void measureInspector(EditorWindow& window)
{
    QLineEdit* opacity = nullptr;
    for (QLineEdit* edit : window.findChildren<QLineEdit*>())
        if (edit->isVisible() && edit->accessibleName() == "Opacity") opacity = edit;
    if (!opacity) return;
    opacity->setFocus();
    const auto step = [opacity](int i) {
        QKeyEvent press(QEvent::KeyPress, i % 2 == 0 ? Qt::Key_Down : Qt::Key_Up, Qt::NoModifier);
        QApplication::sendEvent(opacity, &press);
    };
    constexpr int steps = 20;
    report("number of all layers stepped in the inspector, unpainted", timesOf(step, steps));
    QApplication::processEvents();
    report("the same with the whole window painted", timesOf(
                                                         [&](int i) {
                                                             step(i);
                                                             QApplication::processEvents();
                                                         },
                                                         steps));
    report("the canvas alone painted after it", timesOf(
                                                    [&](int i) {
                                                        step(i);
                                                        window.canvas().repaint();
                                                    },
                                                    steps));
}

void measureTimeline()
{
    World world;
    const auto window = shownWindow(DocumentFile(largeTimeline()), world, {2560, 1440});
    EditorView& editor = window->editor();
    auto* rows = window->findChild<QWidget*>("timelineTracks");
    std::printf("500 layers and 10,000 keyframes, timeline of %d x %d\n", rows->width(), rows->height());
    const auto measure = [&](const char* anew, const char* moved) {
        report(anew, timesOf([&](int i) {
                   QApplication::sendEvent(rows,
                                           std::make_unique<QEvent>(QEvent::StyleChange).get()); // Forgets what it has painted.
                   editor.setPlayhead(0.1 * i);
                   rows->repaint();
               }));
        report(moved, timesOf([&](int i) {
                   editor.setPlayhead(0.1 * i);
                   rows->repaint();
               }));
    };
    measure("rows of the scene painted anew", "rows of the scene, the playhead moved");
    LayerIDs all;
    for (const Layer& layer : editor.scene().layers) all.insert(layer.id);
    editor.selectLayers(all);
    window->refresh();
    QApplication::processEvents();
    measure("rows of all layers painted anew", "rows of all layers, the playhead moved");
    report("edit of one layer, with the whole window",
           timesOf(
               [&](int i) {
                   editor.mutate("Edit", [&](TweenScene& scene) { scene.layers.edit()[0].opacity = 1.0 / (i + 1); });
                   window->refresh();
                   QApplication::processEvents();
               },
               20));
    measureInspector(*window);
}

/// A document of so many bytes, nearly all of them pictures.
std::string largeDocument(std::size_t bytes)
{
    TweenDocument document = cardsDocument();
    TweenScene scene = document.scene();
    std::mt19937 random(7);
    constexpr std::size_t pictures = 12;
    for (std::size_t i = 0; i < pictures; ++i) {
        std::vector<std::uint8_t> data(bytes * 3 / 4 / pictures); // Each three bytes are four characters.
        for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(random());
        scene.layers.append({.id = {2, i}, .name = "Picture", .kind = Layer::Kind::image, .imageData = Bytes(std::move(data))});
    }
    document.setScene(std::move(scene));
    const std::string path = (std::filesystem::temp_directory_path() / "larkspool-bench-large.larkspool").string();
    DocumentFile file{TweenDocument()};
    file.save(document, path);
    return path;
}

/// The longest turn of the main loop during each of some saves, in which the window stands still.
Times standstillsOfSaves(EditorWindow& window)
{
    constexpr std::size_t saves = 5;
    std::vector<double> longest, work;
    for (std::size_t i = 0; i < saves; ++i) {
        Times most;
        const auto turn = [&most](auto step) {
            const Times one = timesOf([&](int) { step(); }, 1);
            most = {std::max(most.median, one.median), 0, std::max(most.work, one.work)};
        };
        window.editor().mutate("Edit", [i](TweenScene& scene) { scene.endPause = static_cast<double>(i + 1); });
        window.refresh();
        turn([&] { window.perform(Command::saveDocument); });
        while (window.isSaving()) {
            turn([] { QApplication::processEvents(); });
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        longest.push_back(most.median);
        work.push_back(most.work);
    }
    std::ranges::sort(longest);
    std::ranges::sort(work);
    return {longest[saves / 2], longest.back(), work[saves / 2]};
}

void measureOpening()
{
    constexpr std::size_t bytes = 60'000'000;
    const std::string path = largeDocument(bytes);
    std::printf("document of %.1f MB\n", static_cast<double>(std::filesystem::file_size(path)) / 1e6);
    World world;
    std::optional<DocumentFile> file;
    report("read", timesOf([&](int) { file = DocumentFile::open(path); }, 5));
    report("window of it, painted", timesOf([&](int) { shownWindow(*file, world).reset(); }, 5));
    report("written", timesOf([&](int) { file->save(file->saved(), path); }, 5));
    const auto window = shownWindow(*file, world);
    report("saved, the longest that the window stands still", standstillsOfSaves(*window));
    EditorView& editor = window->editor();
    editor.selectLayers({editor.scene().layers[editor.scene().layers.size() - 1].id});
    report("a picture of it copied", timesOf([&](int) { window->perform(Command::copy); }, 5));
    report("a picture of it pasted", timesOf([&](int) { window->perform(Command::paste); }, 5));
    std::filesystem::remove(path);
}

} // namespace

int main(int count, char** arguments)
{
    const auto start = std::chrono::steady_clock::now();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication toolkit(count, arguments);
    applyLook();
    {
        World world;
        const auto window = shownWindow(DocumentFile(TweenDocument()), world);
        const double first = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        reportHead();
        report("from the start to the first window, painted", {first, first, first});
        report("a further window, painted", timesOf([&](int) { shownWindow(DocumentFile(TweenDocument()), world).reset(); }, 10));
    }
    const std::string only = count > 1 ? arguments[1] : "";
    const auto isAsked = [&](const char* part) { return only.empty() || only == part; };
    if (isAsked("cards")) measureCanvas("cards", cardsDocument());
    if (isAsked("text")) measureCanvas("text", textDocument());
    if (isAsked("timeline")) measureTimeline();
    if (isAsked("opening")) measureOpening();
}
