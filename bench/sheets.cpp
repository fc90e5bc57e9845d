// What a person waits for in the sheets and panels of the window: each sheet opened on a small scene, previews of 500 items while
// a number changes, a table of 10,000 times, a conversation of 500 messages, and a picture of some 50 MB that is dropped. Beside
// each figure stands what it should stay below. Then the film of the first hour is opened, looked through, played and worked on,
// and every turn of the main loop is told that took longer than two frames. Without a screen. An argument names the one part to
// measure: opening, stagger, mix, retime, transcript, drop or hour.

#include "assistant/assistant_endpoint.h"
#include "platform/file_io.h"
#include "platform/png_writer.h"
#include "shell/editor_assistant.h"
#include "views/assistant_panel_view.h"
#include "views/canvas_view.h"
#include "views/main_loop_watchdog.h"
#include "views/main_thread.h"
#include "views/style.h"
#include "window_times.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QAbstractSlider>
#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QUrl>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include <fmt/format.h>

namespace {

using namespace larkspool;

constexpr int openings = 7, updates = 60;
constexpr double aFrame = 1000.0 / 60; ///< Milliseconds.

void report(const std::string& what, Times times, double bound)
{
    larkspool::report(fmt::format("{} (of {:.0f} ms)", what, bound).c_str(), times);
}

void press(const QWidget& window, Qt::Key key)
{
    QWidget* focus = window.focusWidget();
    if (!focus) return;
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier);
        QApplication::sendEvent(focus, &event);
    }
}

/// The control of that name, as those hear it who cannot see it.
template <typename Control>
Control* control(const QWidget& window, const QString& name)
{
    for (Control* each : window.findChildren<Control*>()) {
        const auto* button = qobject_cast<QAbstractButton*>(each);
        if (each->accessibleName() == name || (button && button->text() == name)) return each;
    }
    std::printf("NO %s\n", name.toUtf8().constData());
    return nullptr;
}

/// Layers of several kinds, each with a span that begins with the others.
TweenScene manyLayers(std::uint64_t count)
{
    TweenScene scene{.id = {9, 9}, .width = 1920, .height = 1080, .fps = 60, .duration = 20};
    for (std::uint64_t i = 0; i < count; ++i) {
        Layer layer{
            .id = {1, i + 1}, .name = "Layer " + std::to_string(i), .kind = i % 2 ? Layer::Kind::text : Layer::Kind::rectangle};
        layer.text = "Word";
        layer.fill = {static_cast<double>(i % 7) / 7, 0.4, 0.6, 1};
        layer.transform.x = static_cast<double>(i % 25) * 75;
        layer.transform.y = static_cast<double>(i / 25) * 52;
        layer.size = {60, 40};
        layer.spans = {TimeSpan{.id = {2, i + 1}, .start = 1, .end = 8}};
        scene.layers.append(layer);
    }
    return scene;
}

TweenDocument documentOf(TweenScene scene)
{
    TweenDocument document;
    document.scenes = {std::move(scene)};
    return document;
}

/// A window with all layers and spans of the scene selected.
class Desk {
public:
    explicit Desk(TweenScene scene) : window_(shownWindow(DocumentFile(documentOf(std::move(scene))), world_))
    {
        world_.workspace.performForApplication = [](Command) {};
        window_->activateWindow();
        world_.workspace.registry.setPrimaryID(std::nullopt);
        TimelineSelection spans;
        LayerIDs layers;
        for (const Layer& layer : editor().scene().layers) {
            layers.insert(layer.id);
            if (!layer.spans.empty()) spans.insert(TimelineItemRef::span(layer.id, layer.spans[0].id));
        }
        editor().selectLayers(layers);
        editor().selectTimelineItems(spans);
        window_->refresh();
        QApplication::processEvents();
    }

    EditorWindow& window() { return *window_; }
    EditorView& editor() { return window_->editor(); }

    void open(Command command)
    {
        window_->perform(command);
        QApplication::processEvents();
    }
    void leave()
    {
        press(*window_, Qt::Key_Escape);
        for (int i = 0; i < 20; ++i) QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    Times opening(Command command)
    {
        std::vector<double> wall, work;
        for (int i = 0; i < openings; ++i) {
            const Times one = timesOf([&](int) { open(command); }, 1);
            wall.push_back(one.median);
            work.push_back(one.work);
            leave();
        }
        std::ranges::sort(wall);
        std::ranges::sort(work);
        return {wall[wall.size() / 2], wall.back(), work[work.size() / 2]};
    }

private:
    World world_;
    std::unique_ptr<EditorWindow> window_;
};

std::vector<std::uint8_t> noise(int width, int height)
{
    std::mt19937_64 random(11);
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const std::uint64_t bits = random();
            std::uint8_t* pixel = pixels.row(y) + 4 * x;
            for (int c = 0; c < 3; ++c) pixel[c] = static_cast<std::uint8_t>(bits >> (8 * c));
            pixel[3] = 255;
        }
    return encodePng(pixels);
}

void measureOpening()
{
    std::printf("a sheet opens, painted; the slowest of %d in the place of 95 of 100\n", openings);
    TweenScene scene = manyLayers(20);
    Layer photo{.id = {1, 500}, .name = "Photo", .kind = Layer::Kind::image};
    photo.size = {400, 300};
    photo.imageData = Bytes(noise(800, 600));
    Layer cropped = photo;
    TweenScene withPhoto{.id = {9, 8}, .duration = 5};
    withPhoto.layers = {cropped};
    Desk desk(std::move(scene)), photoDesk(std::move(withPhoto));
    struct Sheet {
        const char* name;
        Command command;
    };
    for (const Sheet& sheet : {Sheet{"move", Command::showMoveModal}, Sheet{"dilate", Command::showDilateModal},
                               Sheet{"distribute", Command::distributeSpans}, Sheet{"stagger", Command::staggerSpans},
                               Sheet{"times", Command::showRetime}, Sheet{"mix and match", Command::mixAndMatch},
                               Sheet{"replace font", Command::replaceFont}, Sheet{"export", Command::exportMP4},
                               Sheet{"quick render", Command::quickRender}})
        report(sheet.name, desk.opening(sheet.command), 100);
    report("crop editor", photoDesk.opening(Command::showCropEditor), 100);
}

void measureStagger()
{
    std::printf("500 spans staggered\n");
    Desk desk(manyLayers(500));
    report("opens", desk.opening(Command::staggerSpans), 100);
    desk.open(Command::staggerSpans);
    report("preview, the amount a step up",
           timesOf(
               [&](int) {
                   press(desk.window(), Qt::Key_Up);
                   QApplication::processEvents();
               },
               updates),
           aFrame);
    desk.leave();
}

void measureMix()
{
    std::printf("500 layers mixed and matched\n");
    Desk desk(manyLayers(500));
    report("opens", desk.opening(Command::mixAndMatch), 100);
    desk.open(Command::mixAndMatch);
    if (auto* all = control<QAbstractButton>(desk.window(), "Select All")) all->click();
    QApplication::processEvents();
    auto* bias = control<QAbstractSlider>(desk.window(), "Values");
    if (!bias) return;
    report("preview, the bias a step on",
           timesOf(
               [&](int i) {
                   bias->setValue(37 * i % bias->maximum());
                   QApplication::processEvents();
               },
               updates),
           aFrame);
    desk.leave();
}

void measureRetime()
{
    std::printf("a table of 10,000 times\n");
    TweenScene scene = manyLayers(100);
    for (std::size_t i = 0; i < scene.layers.size(); ++i) {
        Layer& layer = scene.layers.edit()[i];
        layer.spans = {};
        for (std::uint64_t k = 0; k < 100; ++k)
            layer.pulses.append({.id = {3 + i, k}, .time = static_cast<double>(k) * 0.2 + static_cast<double>(i) * 0.001});
    }
    Desk desk(std::move(scene));
    report("opens", desk.opening(Command::showRetime), 300);
    desk.open(Command::showRetime);
    auto* table = control<QAbstractScrollArea>(desk.window(), "Times");
    if (!table) return;
    QScrollBar* bar = table->verticalScrollBar();
    report("scrolls by a page", timesOf([&](int) {
               bar->setValue((bar->value() + bar->pageStep()) % std::max(bar->maximum(), 1));
               QApplication::processEvents();
           }),
           aFrame);
    desk.leave();
}

void measureTranscript()
{
    std::printf("a conversation of 500 messages\n");
    Desk desk(manyLayers(5));
    MemoryDefaults defaults;
    defaults.set(DefaultsKey::assistantEnabled, true);
    defaults.set(DefaultsKey::assistantAPIKey, std::string("none"));
    EventLoop loop;
    const AssistantClient client(loop, assistantEndpoint("http://127.0.0.1:9"));
    EditorAssistant assistant({.editor = desk.editor(), .client = client});
    AssistantPanelView panel({.assistant = assistant, .defaults = defaults}, nullptr);
    panel.resize(288, 700);
    panel.show();
    QApplication::processEvents();

    AssistantSession& session = assistant.session();
    const auto say = [&](int i) {
        using Role = AssistantMessage::Role;
        if (i % 2 == 0)
            session.history.push_back(
                {.role = Role::user, .content = {AssistantText{"Make the third card come in a little later."}}});
        else
            session.history.push_back(
                {.role = Role::assistant,
                 .content = {AssistantText{
                                 "The card comes in **half a second** later:\n\n- its span begins at 2.5 s\n- `opacity` follows"},
                             AssistantToolUse{"t" + std::to_string(i), "apply_patch", JSON::Object{}}}});
    };
    report("a message more, from none to 500",
           timesOf(
               [&](int i) {
                   say(i);
                   session.changed.tell();
                   QApplication::processEvents();
               },
               500),
           100);
    QScrollBar* bar = panel.findChild<QScrollArea*>()->verticalScrollBar();
    report("scrolls by a page", timesOf([&](int i) {
               bar->setValue(static_cast<int>(static_cast<std::int64_t>(bar->maximum()) * (i % 40) / 40));
               QApplication::processEvents();
           }),
           aFrame);
    report("the panel a little wider or narrower",
           timesOf(
               [&](int i) {
                   panel.resize(288 + i % 2 * 20, 700);
                   QApplication::processEvents();
               },
               10),
           100);
}

void measureDrop()
{
    const std::string path = (std::filesystem::temp_directory_path() / "larkspool-bench-drop.png").string();
    replaceFileAtomically(path, noise(4096, 4096));
    std::printf("a picture of %.1f MB is dropped\n", static_cast<double>(std::filesystem::file_size(path)) / 1e6);
    Desk desk(TweenScene{.id = {9, 9}});
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
    std::vector<double> turns, work;
    const Times whole = timesOf(
        [&](int) {
            QDragEnterEvent enter(QPoint(200, 200), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(&desk.window().canvas(), &enter);
            QDropEvent drop(QPointF(200, 200), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(&desk.window().canvas(), &drop);
            while (desk.editor().scene().layers.empty()) {
                const Times turn = timesOf([](int) { QApplication::processEvents(); }, 1);
                turns.push_back(turn.median);
                work.push_back(turn.work);
            }
            const Times turn = timesOf([](int) { QApplication::processEvents(); }, 1);
            turns.push_back(turn.median);
            work.push_back(turn.work);
            desk.window().canvas().repaint();
        },
        1);
    report("until the layer is painted", whole, 1000);
    report("longest the window stood still", {std::ranges::max(turns), std::ranges::max(turns), std::ranges::max(work)}, 100);
    report("painted again after that", timesOf([&](int i) {
               desk.editor().setPlayhead(0.01 * i);
               desk.window().canvas().repaint();
           }),
           aFrame);
    std::filesystem::remove(path);
}

/// What a person does with a document that comes with the program.
void measureHour(WatchedApplication& application)
{
    const std::string path = std::string(LARKSPOOL_EXAMPLES) + "/first-hour.larkspool";
    std::printf("the film of the first hour; every turn of more than two frames:\n");
    const auto settled = [](int milliseconds = 60) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (std::chrono::steady_clock::now() < end) QApplication::processEvents(QEventLoop::AllEvents, 5);
    };
    World world;
    world.workspace.performForApplication = [](Command) {};
    std::unique_ptr<EditorWindow> window;
    const Times opening = timesOf([&](int) { window = shownWindow(DocumentFile::open(path), world); }, 1);
    application.watch(MainLoopWatchdog::Settings{.longest = std::chrono::milliseconds(33),
                                                 .tell = [](const std::string& line) { std::printf("    %s\n", line.c_str()); }});
    settled(500);
    window->activateWindow();
    world.workspace.registry.setPrimaryID(std::nullopt);
    EditorView& editor = window->editor();
    const std::size_t scenes = editor.state().document.scenes.size();
    for (std::size_t i = 0; i < scenes; ++i) {
        editor.selectScene(static_cast<std::int64_t>(i));
        window->refresh();
        settled();
        for (int step = 0; step <= 20; ++step) { // Back and forth through the scene.
            editor.setPlayhead(editor.scene().duration * (step % 2 ? step : 20 - step) / 20);
            window->refresh();
            settled(20);
        }
        editor.setPlayhead(0);
        window->perform(Command::togglePlay);
        settled(2000);
        window->perform(Command::togglePlay);
        LayerIDs all;
        for (const Layer& layer : editor.scene().layers) all.insert(layer.id);
        editor.selectLayers(all);
        window->refresh();
        settled();
        for (const Command command : {Command::showRetime, Command::mixAndMatch, Command::replaceFont, Command::exportMP4}) {
            window->perform(command);
            settled(100);
            press(*window, Qt::Key_Escape);
            settled(100);
        }
        for (const Command command : {Command::copy, Command::paste, Command::duplicate, Command::undo, Command::undo}) {
            window->perform(command);
            settled();
        }
    }
    application.watch(std::nullopt);
    report("read, and its window painted", opening, 1000);
}

} // namespace

int main(int count, char** arguments)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    WatchedApplication toolkit(count, arguments);
    toolkit.watch(std::nullopt);
    applyLook();
    reportHead();
    const std::string only = count > 1 ? arguments[1] : "";
    const auto isAsked = [&](const char* part) { return only.empty() || only == part; };
    if (isAsked("opening")) measureOpening();
    if (isAsked("stagger")) measureStagger();
    if (isAsked("mix")) measureMix();
    if (isAsked("retime")) measureRetime();
    if (isAsked("transcript")) measureTranscript();
    if (isAsked("drop")) measureDrop();
    if (isAsked("hour")) measureHour(toolkit);
}
