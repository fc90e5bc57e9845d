#pragma once

#include "platform/file_url.h"
#include "support/memory_user_defaults.h"
#include "support/png_bytes.h"
#include "support/test_media.h"
#include "views/canvas_view.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/window_test.h"

#include <QAction>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QMimeData>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// Milliseconds for what is on its way on another thread.
inline constexpr int patience = 20'000;
/// Milliseconds in which a window that is alive has turned. A quiet machine takes less than a tenth of it.
inline constexpr qint64 frozen = 1000;

/// How long the loop has stood still at most, while this lives.
class Heartbeat {
public:
    Heartbeat()
    {
        QObject::connect(&beat_, &QTimer::timeout, &beat_,
                         [this] { longestPause_ = std::max(longestPause_, sinceBeat_.restart()); });
        sinceBeat_.start();
        beat_.start(1);
    }
    qint64 longestPause() const { return std::max(longestPause_, sinceBeat_.elapsed()); } ///< Milliseconds.

private:
    QElapsedTimer sinceBeat_;
    qint64 longestPause_ = 0;
    QTimer beat_;
};

/// A window and a person who answers its panels and alerts from lists made before.
class MediaWindowTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder = std::make_unique<TemporaryFolder>();
        makeMedia(path("film.mp4"), countingSource(30) + " -c:v libx264 -pix_fmt yuv420p");
        std::filesystem::copy_file(path("film.mp4"), path("other.mp4"));
        makeMedia(path("song.wav"), "-f lavfi -i sine=duration=1");
        writePicture("wide.png", 40, 20);
        writePicture("tall.png", 20, 40);
        writeFile(path("words.txt"), "words");
        std::filesystem::create_directory(path("album"));
    }
    static void TearDownTestSuite() { folder.reset(); }
    static std::string path(std::string_view name) { return folder->path(name); }
    static void writePicture(std::string_view name, std::uint32_t width, std::uint32_t height)
    {
        const std::size_t count = std::size_t{3} * width * height;
        writeFile(path(name), pngBytes({.width = width, .height = height, .samples = std::vector<std::uint8_t>(count, 99)}));
    }

    MediaWindowTest() { open(DocumentFile(documentOf({}))); }
    ~MediaWindowTest() override { delete window; }

    static TweenDocument documentOf(Array<Layer> layers)
    {
        TweenScene scene{.width = 400, .height = 200, .duration = 4};
        scene.layers = std::move(layers);
        TweenDocument document;
        document.scenes = {scene};
        return document;
    }
    static Layer video(std::string_view url)
    {
        Layer layer{.name = SharedString("V"), .kind = Layer::Kind::video};
        layer.videoURL = SharedString(url);
        return layer;
    }
    /// The document as one that lies in a file.
    static DocumentFile inFile(const TweenDocument& document)
    {
        DocumentFile file{TweenDocument()};
        file.save(document, path("board.larkspool"));
        return DocumentFile::open(path("board.larkspool"));
    }

    void open(DocumentFile file)
    {
        delete window;
        window = new EditorWindow(std::move(file), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1400, 900);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    }

    void choose(std::vector<std::string> names)
    {
        for (std::string& name : names) name = path(name);
        choices.push_back(std::move(names));
    }
    void drop(const std::vector<std::string>& names, CGPoint at = {100, 100})
    {
        QList<QUrl> urls;
        for (const std::string& name : names) urls << QUrl::fromLocalFile(QString::fromStdString(path(name)));
        dropURLs(urls, at);
    }
    void dropURLs(const QList<QUrl>& urls, CGPoint at = {100, 100})
    {
        QMimeData data;
        data.setUrls(urls);
        dropData(data, at);
    }
    void dropPath(const std::string& path) { dropURLs({QUrl::fromLocalFile(QString::fromStdString(path))}); }
    void dropData(const QMimeData& data, CGPoint at)
    {
        const CGPoint seen = window->canvas().sceneFit().viewFromScene(at);
        const auto allowed = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter(QPoint(static_cast<int>(seen.x), static_cast<int>(seen.y)), allowed, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&window->canvas(), &enter);
        ASSERT_TRUE(enter.isAccepted());
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        QDropEvent event(QPointF(seen.x, seen.y), allowed, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&window->canvas(), &event);
        EXPECT_TRUE(event.isAccepted());
    }

    /// Opens the menus to an entry of "Insert Layer" and chooses it.
    void insert(const char* title)
    {
        for (QAction* action : window->findChildren<QAction*>())
            if (action->text() == title) return action->trigger();
        FAIL() << title;
    }
    bool has(std::size_t count)
    {
        return QTest::qWaitFor([&] { return layers().size() == count; }, patience);
    }
    bool isTold(const char* words)
    {
        return QTest::qWaitFor([&] { return showsWords(window->canvas(), words); }, patience);
    }
    /// All that is on its way has come.
    static void settle() { QTest::qWait(120); }

    EditorView& editor() { return window->editor(); }
    Array<Layer> layers() { return editor().scene().layers; }
    std::string undoName() { return editor().undoManager().undoActionName(); }
    static std::string url(std::string_view name) { return fileURLFromPath(path(name)); }

    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    std::deque<std::vector<std::string>> choices; ///< Without any a panel is cancelled.
    std::deque<std::size_t> presses;              ///< Without any the first button is pressed.
    std::vector<std::string> panels, alerts;
    std::vector<std::string> alertTexts;
    Workspace workspace{.defaults = defaults,
                        .pasteboard = pasteboard,
                        .recents = RecentDocuments(""),
                        .runOpenPanel =
                            [this](const OpenPanel& panel) {
                                panels.push_back(panel.message);
                                return taken(choices);
                            },
                        .runAlert =
                            [this](const Alert& alert) {
                                alerts.push_back(alert.title);
                                alertTexts.push_back(alert.text);
                                return taken(presses);
                            }};
    QPointer<EditorWindow> window;

private:
    template <typename Answer>
    static Answer taken(std::deque<Answer>& answers)
    {
        if (answers.empty()) return {};
        Answer first = answers.front();
        answers.pop_front();
        return first;
    }

    static inline std::unique_ptr<TemporaryFolder> folder;
};

} // namespace larkspool
