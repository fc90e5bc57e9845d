#include "views/editor_window.h"

#include "support/memory_user_defaults.h"
#include "views/canvas_view.h"
#include "views/inspector_tabs.h"
#include "views/layer_panel_view.h"
#include "views/scene_strip_view.h"
#include "views/timeline_view.h"
#include "views/window_test.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QKeySequence>
#include <QMenu>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>

#include <fmt/format.h>

// A hand that knows nothing of the program: it presses, drags, scrolls and types anywhere. Whatever it has done can be undone.
//
// LARKSPOOL_MONKEY_SECONDS  how long it goes on, instead of a few seconds
// LARKSPOOL_MONKEY_SEED     of its first round; each round after that has the next
// LARKSPOOL_MONKEY_LOG      if set, each deed is told before it is done

namespace larkspool {
namespace {

constexpr int deedsPerRound = 250, deedsBetweenEscapes = 20;
constexpr double defaultSeconds = 5;
constexpr std::uint64_t defaultSeed = 20'260'721;

double numberFromEnvironment(const char* name, double otherwise)
{
    const char* text = std::getenv(name);
    return text ? std::atof(text) : otherwise;
}

UUID idOf(std::uint64_t number)
{
    return {7, number};
}

/// The part of the window that is of this class.
template <typename Part>
Part* partOf(const QWidget& window)
{
    for (QWidget* child : window.findChildren<QWidget*>())
        if (auto* part = dynamic_cast<Part*>(child)) return part;
    return nullptr;
}

Layer layerAt(std::uint64_t number, Layer::Kind kind, double x, double y)
{
    Layer layer{.id = idOf(number), .kind = kind};
    layer.transform.x = x;
    layer.transform.y = y;
    layer.size = {90, 60};
    layer.videoClip.id = idOf(number + 50);
    return layer;
}

/// A scene of 3 seconds with a layer of many kinds, with spans, keyframes and pulses to get hold of.
TweenDocument makeDocument()
{
    Layer box = layerAt(1, Layer::Kind::rectangle, 20, 20);
    box.spans = {TimeSpan{.id = idOf(101), .start = 0.2, .end = 1},
                 TimeSpan{.id = idOf(102), .start = 1.5, .end = 2.5, .effects = {SpanEffect{.id = idOf(103)}}}};
    box.keyframes = {Keyframe{.id = idOf(104), .time = 0.5, .value = 20.0, .wait = 0.5},
                     Keyframe{.id = idOf(105), .time = 2, .value = 120.0}};
    box.pulses = {Pulse{.id = idOf(106), .time = 1.2}};
    Layer words = layerAt(2, Layer::Kind::text, 150, 30);
    words.spans = {TimeSpan{.id = idOf(107), .start = 0.5, .end = 2.8}};
    Layer line = layerAt(3, Layer::Kind::line, 40, 100);
    line.linePoints = {{0, 10}, {50, 40}, {90, 20}};
    Layer group = layerAt(4, Layer::Kind::group, 180, 90);
    group.children = {layerAt(5, Layer::Kind::ellipse, 0, 0), layerAt(6, Layer::Kind::rectangle, 60, 20)};
    TweenScene scene{.id = idOf(99), .width = 320, .height = 180, .fps = 30, .duration = 3};
    scene.layers = {layerAt(7, Layer::Kind::gradientField, 220, 10), line, group, layerAt(8, Layer::Kind::cursor, 90, 120), words,
                    box};
    TweenDocument document;
    document.scenes = {scene};
    return document;
}

/// Keeps the strip of scenes from the mouse and the keyboard: what happens to the list of scenes is no undo step.
class ScreenedStrip final : public QObject {
public:
    explicit ScreenedStrip(const QWidget& strip) : strip_(strip) { QApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        const auto* widget = qobject_cast<QWidget*>(receiver);
        if (!widget || (widget != &strip_ && !strip_.isAncestorOf(widget))) return false;
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::ContextMenu:
        case QEvent::KeyPress: return true;
        default: return false;
        }
    }

private:
    const QWidget& strip_;
};

/// Closing the window is for the test alone.
class KeptOpen final : public QObject {
public:
    explicit KeptOpen(QWidget& window) { window.installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() != QEvent::Close) return false;
        event->ignore();
        return true;
    }
};

class Monkey {
public:
    Monkey(EditorWindow& window, Workspace& workspace, std::uint64_t seed) : window_(window), workspace_(workspace), random_(seed)
    {
        watch();
    }

    void doSomething()
    {
        ++deeds_;
        if (deeds_ % deedsBetweenEscapes == 0) leaveSheets();
        const int dice = below(100);
        if (dice < 34) return dragSomewhere();
        if (dice < 52) return clickSomewhere();
        if (dice < 62) return scroll();
        if (dice < 76) return typeShortcut();
        if (dice < 88) return typeSomething();
        if (dice < 93) return insertLayer();
        if (dice < 97) return passTime();
        performAnything();
    }

    /// Lets go of everything, and ends whatever asks or runs.
    void calmDown()
    {
        release();
        for (int i = 0; i < 12; ++i) {
            ++deeds_;
            while (QWidget* popup = QApplication::activePopupWidget()) popup->close();
            key(Qt::Key_Escape);
            QTest::qWait(5);
        }
        window_.playback().setPlaying(false);
    }

    std::string lastDeeds() const
    {
        std::string all;
        for (const std::string& deed : told_) all += deed + "\n";
        return all;
    }

private:
    int below(int count) { return static_cast<int>(random_() % static_cast<std::uint64_t>(count)); }
    bool oneIn(int count) { return below(count) == 0; }
    QWindow* handle() { return window_.windowHandle(); }

    void tell(std::string deed)
    {
        if (std::getenv("LARKSPOOL_MONKEY_LOG")) std::fprintf(stderr, "%d %s\n", deeds_, deed.c_str());
        told_.push_back(std::move(deed));
        if (told_.size() > 25) told_.pop_front();
    }

    QPoint somewhereIn(const QWidget* widget)
    {
        const QPoint within(below(std::max(widget->width(), 1)), below(std::max(widget->height(), 1)));
        return inside(widget->mapTo(&window_, within));
    }
    QPoint somewhere()
    {
        const int dice = below(100);
        if (dice < 15) return onLayer();
        if (dice < 35) return somewhereIn(&window_.canvas());
        if (dice < 65) return somewhereIn(partOf<TimelineView>(window_));
        if (dice < 80) return somewhereIn(partOf<InspectorTabs>(window_));
        if (dice < 92) return somewhereIn(partOf<LayerPanelView>(window_));
        return somewhereIn(&window_);
    }
    QPoint onLayer()
    {
        const TweenScene scene = window_.editor().scene();
        if (scene.layers.empty()) return somewhereIn(&window_.canvas());
        const Layer& layer = scene.layers[static_cast<std::size_t>(below(static_cast<int>(scene.layers.size())))];
        const CGPoint at = window_.canvas().sceneFit().viewFromScene(
            {layer.transform.x + layer.size.width * below(5) / 4.0, layer.transform.y + layer.size.height * below(5) / 4.0});
        const QPoint inCanvas(static_cast<int>(std::clamp(at.x, 0.0, window_.canvas().width() - 1.0)),
                              static_cast<int>(std::clamp(at.y, 0.0, window_.canvas().height() - 1.0)));
        return window_.canvas().mapTo(&window_, inCanvas);
    }
    Qt::KeyboardModifiers someModifiers()
    {
        Qt::KeyboardModifiers modifiers;
        if (oneIn(5)) modifiers |= Qt::ShiftModifier;
        if (oneIn(8)) modifiers |= Qt::ControlModifier;
        if (oneIn(8)) modifiers |= Qt::AltModifier;
        return modifiers;
    }
    Qt::MouseButton someButton()
    {
        const int dice = below(20);
        return dice == 0 ? Qt::RightButton : dice == 1 ? Qt::MiddleButton : Qt::LeftButton;
    }

    /// The nearest point of the window: the platform without a screen has nothing outside of it.
    QPoint inside(QPoint point) const
    {
        return {std::clamp(point.x(), 0, window_.width() - 1), std::clamp(point.y(), 0, window_.height() - 1)};
    }
    /// Most deeds are for what lies under a sheet.
    void leaveSheets()
    {
        tell("leave sheets");
        for (int i = 0; i < 3; ++i) key(Qt::Key_Escape);
    }
    void press(Qt::MouseButton button, Qt::KeyboardModifiers modifiers, QPoint at)
    {
        pressed_ = button;
        at_ = at;
        QTest::mousePress(handle(), button, modifiers, at);
    }
    void release(Qt::KeyboardModifiers modifiers = {})
    {
        if (const Qt::MouseButton button = std::exchange(pressed_, Qt::NoButton); button != Qt::NoButton)
            QTest::mouseRelease(handle(), button, modifiers, at_);
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(handle(), key, modifiers); }

    void dragSomewhere()
    {
        const Qt::MouseButton button = someButton();
        const Qt::KeyboardModifiers modifiers = someModifiers();
        const QPoint from = somewhere();
        const QPoint to = oneIn(3) ? somewhere() : from + QPoint(below(160) - 80, below(100) - 50);
        const int interruption = oneIn(6) ? below(4) : -1;
        tell(fmt::format("drag {},{} to {},{} button {} modifiers {} interruption {}", from.x(), from.y(), to.x(), to.y(),
                         static_cast<int>(button), modifiers.toInt(), interruption));
        press(button, modifiers, from);
        for (int i = 1; i <= 4; ++i) {
            at_ = inside(from + (to - from) * i / 4);
            QTest::mouseMove(handle(), at_);
            if (i == 3) interrupt(interruption);
        }
        release(modifiers);
    }
    /// In the midst of a drag.
    void interrupt(int way)
    {
        switch (way) {
        case 0: return key(Qt::Key_Escape);
        case 1: return key(Qt::Key_Z, Qt::ControlModifier);
        case 2: return key(Qt::Key_Delete);
        case 3: return key(Qt::Key_Space);
        default: return;
        }
    }
    void clickSomewhere()
    {
        const Qt::MouseButton button = someButton();
        const Qt::KeyboardModifiers modifiers = someModifiers();
        const QPoint at = somewhere();
        const bool isDouble = oneIn(5);
        tell(fmt::format("click {},{} button {} modifiers {} double {}", at.x(), at.y(), static_cast<int>(button),
                         modifiers.toInt(), isDouble));
        press(button, modifiers, at);
        release(modifiers);
        if (isDouble) QTest::mouseDClick(handle(), button, modifiers, at);
    }
    void scroll()
    {
        const QPoint at = somewhere();
        const QPoint way(oneIn(4) ? below(480) - 240 : 0, below(480) - 240);
        const Qt::KeyboardModifiers modifiers = someModifiers();
        tell(fmt::format("scroll {},{} by {},{} modifiers {}", at.x(), at.y(), way.x(), way.y(), modifiers.toInt()));
        QWidget* const under = window_.childAt(at);
        if (!under || QApplication::activePopupWidget()) return;
        QWheelEvent event(under->mapFrom(&window_, at), window_.mapToGlobal(QPointF(at)), {}, way, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, /*inverted=*/false);
        QApplication::sendEvent(under, &event);
        QApplication::processEvents();
    }
    void typeShortcut()
    {
        const auto commands = allCommands();
        const CommandInfo& info = commands[static_cast<std::size_t>(below(static_cast<int>(commands.size())))];
        if (!info.shortcut) return;
        const std::string words = portableText(*info.shortcut);
        tell("shortcut " + words + " (" + std::string(info.title) + ")");
        const QKeyCombination combination = QKeySequence(QString::fromStdString(words))[0];
        key(combination.key(), combination.keyboardModifiers());
    }
    void typeSomething()
    {
        static constexpr std::array keys{Qt::Key_Tab,    Qt::Key_Backtab, Qt::Key_Return,   Qt::Key_Escape,    Qt::Key_Space,
                                         Qt::Key_Left,   Qt::Key_Right,   Qt::Key_Up,       Qt::Key_Down,      Qt::Key_Delete,
                                         Qt::Key_Home,   Qt::Key_End,     Qt::Key_PageUp,   Qt::Key_PageDown,  Qt::Key_Backspace,
                                         Qt::Key_F6,     Qt::Key_Minus};
        for (int count = 1 + below(4); count > 0; --count) {
            const int dice = below(static_cast<int>(keys.size()) + 10);
            const bool isNamed = dice < static_cast<int>(keys.size());
            const Qt::Key pressed = isNamed ? keys[static_cast<std::size_t>(dice)]
                                            : static_cast<Qt::Key>(Qt::Key_0 + dice - static_cast<int>(keys.size()));
            const Qt::KeyboardModifiers modifiers = isNamed ? someModifiers() : Qt::NoModifier;
            tell(fmt::format("key {:#x} modifiers {}", static_cast<int>(pressed), modifiers.toInt()));
            key(pressed, modifiers);
        }
    }
    void insertLayer()
    {
        const auto kind = static_cast<Layer::Kind>(below(12));
        if (window_.editor().scene().layers.size() > 40) return; // Not to make a scene that only draws slowly.
        tell(fmt::format("insert {}", fileValue(kind)));
        workspace_.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = kind});
    }
    void performAnything()
    {
        const auto commands = allCommands();
        const CommandInfo& info = commands[static_cast<std::size_t>(below(static_cast<int>(commands.size())))];
        tell("perform " + std::string(info.title));
        window_.perform(info.command);
    }
    void passTime()
    {
        tell("wait");
        QTest::qWait(below(40));
    }

    /// A dialog, a menu or a drag of the toolkit's keeps a deed from ending: then a key is pressed in it every now and then.
    void watch()
    {
        QTimer::singleShot(5, &life_, [this] {
            watch();
            if (std::exchange(watched_, deeds_) != deeds_) {
                waits_ = 0;
                return;
            }
            if (++waits_ >= 2) goOnInside();
        });
    }
    void goOnInside()
    {
        constexpr int patience = 14;
        static constexpr std::array keys{Qt::Key_Down, Qt::Key_Down,  Qt::Key_Up, Qt::Key_Return,
                                         Qt::Key_Tab,  Qt::Key_Space, Qt::Key_5};
        const Qt::Key next = keys[static_cast<std::size_t>(below(static_cast<int>(keys.size())))];
        QWidget* const popup = QApplication::activePopupWidget();
        QWidget* const modal = QApplication::activeModalWidget();
        if (popup) {
            if (waits_ > patience) popup->close();
            else QTest::keyClick(popup, next);
        } else if (auto* dialog = qobject_cast<QDialog*>(modal)) {
            const bool mayAnswer = waits_ <= patience && !qobject_cast<QFileDialog*>(dialog);
            if (!mayAnswer) dialog->reject();
            else QTest::keyClick(dialog->focusWidget() ? dialog->focusWidget() : dialog, next);
        } else if (modal) {
            modal->close();
        } else if (waits_ > patience) {
            QTest::mouseRelease(handle(), Qt::LeftButton, {}, at_);
        }
    }

    EditorWindow& window_;
    Workspace& workspace_;
    std::mt19937_64 random_;
    Qt::MouseButton pressed_ = Qt::NoButton;
    QPoint at_;
    int deeds_ = 0;
    int watched_ = -1;
    int waits_ = 0;
    std::deque<std::string> told_;
    QObject life_; ///< Ends the watch.
};

class MonkeyTest : public testing::Test {
protected:
    enum class Strip { screened, open };

    /// Which of the scenes is looked at is no part of what is undone.
    TweenDocument document() const
    {
        TweenDocument now = window->editor().state().document;
        now.activeSceneIndex = 0;
        return now;
    }

    void open()
    {
        defaults = std::make_unique<MemoryUserDefaults>();
        defaults->set(DefaultsKey::assistantHost.name, "http://127.0.0.1:9"); // Nobody is there.
        workspace.reset(new Workspace{.defaults = *defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")});
        workspace->runOpenPanel = [](const OpenPanel&) { return std::vector<std::string>(); };
        workspace->performForApplication = [](Command) {};
        workspace->openDocument = [](const std::string&) {};
        window = std::make_unique<EditorWindow>(DocumentFile(makeDocument()), *workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1280, 800);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->activateWindow();
        workspace->registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    }

    void undoAll()
    {
        for (std::size_t undone = 0; window->editor().undoManager().canUndo(); ++undone) {
            ASSERT_LT(undone, 100'000u) << "undoing has no end";
            window->editor().undo();
        }
        window->refresh();
    }
    void redo(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) window->editor().redo();
        window->refresh();
    }

    void playRound(std::uint64_t seed, Strip strip)
    {
        open();
        const KeptOpen keptOpen(*window);
        std::optional<ScreenedStrip> screen;
        if (strip == Strip::screened) screen.emplace(*partOf<SceneStripView>(*window));
        const TweenDocument before = document();
        Monkey monkey(*window, *workspace, seed);
        for (int i = 0; i < deedsPerRound; ++i) monkey.doSomething();
        monkey.calmDown();

        const std::size_t made = window->editor().undoManager().undoCount();
        const TweenDocument after = document();
        deeds += deedsPerRound;
        steps += made;
        changes += after == before ? 0 : 1;
        undoAll();
        if (strip == Strip::screened) {
            EXPECT_TRUE(document() == before) << "seed " << seed << ", after\n" << monkey.lastDeeds();
            redo(made);
            EXPECT_TRUE(document() == after) << "seed " << seed << ", done again after\n" << monkey.lastDeeds();
            undoAll();
            EXPECT_TRUE(document() == before) << "seed " << seed << ", undone a second time";
        }
        screen.reset();
        window.reset();
        workspace.reset();
    }

    void play(Strip strip, double share)
    {
        const double seconds = numberFromEnvironment("LARKSPOOL_MONKEY_SECONDS", defaultSeconds) * share;
        auto seed = static_cast<std::uint64_t>(numberFromEnvironment("LARKSPOOL_MONKEY_SEED", defaultSeed));
        QElapsedTimer clock;
        clock.start();
        int rounds = 0;
        do {
            if (std::getenv("LARKSPOOL_MONKEY_LOG")) std::fprintf(stderr, "seed %llu\n", static_cast<unsigned long long>(seed));
            playRound(seed++, strip);
            ++rounds;
        } while (!HasFailure() && static_cast<double>(clock.elapsed()) < seconds * 1000);
        EXPECT_GT(steps, 0u) << "the hand has not done a thing";
        EXPECT_GT(changes, 0) << "there was nothing to undo";
        RecordProperty("rounds", rounds);
        RecordProperty("deeds", deeds);
        RecordProperty("undoSteps", static_cast<int>(steps));
    }

    MemoryPasteboard pasteboard;
    std::unique_ptr<MemoryUserDefaults> defaults;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<EditorWindow> window;
    int deeds = 0;
    int changes = 0;       ///< Rounds that left another document behind.
    std::size_t steps = 0; ///< That could be undone.
};

TEST_F(MonkeyTest, WhateverAHandDoesTheDocumentComesBackByUndoing)
{
    play(Strip::screened, 0.7);
}

TEST_F(MonkeyTest, NothingThatAHandDoesToTheScenesBringsTheWindowDown)
{
    play(Strip::open, 0.3);
}

} // namespace
} // namespace larkspool
