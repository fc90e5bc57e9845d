#include "views/media_surfaces.h"

#include "views/media_window.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include <sys/stat.h>

// What becomes of a window whose media are taken from under it.

namespace larkspool {
namespace {

/// Does `write(i)` over and over on a thread of its own, while this lives.
class Rewriting {
public:
    explicit Rewriting(std::function<void(std::size_t)> write)
        : thread_([this, write = std::move(write)] {
              for (std::size_t i = 0; !isDone_; ++i) write(i);
          })
    {}
    ~Rewriting()
    {
        isDone_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> isDone_{false};
    std::thread thread_;
};

/// The first `part` eighths of the bytes.
std::vector<std::uint8_t> eighths(const std::vector<std::uint8_t>& bytes, std::size_t part)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() * part / 8)};
}

/// A window with a video that lies in a folder of its own and shows a picture half a second from its start.
class LinkedVideoFaults : public MediaWindowTest {
protected:
    LinkedVideoFaults()
    {
        std::filesystem::create_directory(path("media"));
        putFilm();
        drop({"media/linked.mp4"}, {200, 100});
    }
    ~LinkedVideoFaults() override
    {
        delete window;
        std::filesystem::remove_all(path("media"));
    }

    void SetUp() override
    {
        ASSERT_TRUE(has(1));
        editor().selectLayers({}); // Its handles would lie over it.
        ASSERT_TRUE(sees(fifteenthPicture)) << seen().name().toStdString();
    }

    static std::string film() { return path("media/linked.mp4"); }
    static void putFilm()
    {
        std::filesystem::copy_file(path("film.mp4"), film(), std::filesystem::copy_options::overwrite_existing);
    }

    /// The colour of the canvas on the layer, beside its middle.
    QColor seen()
    {
        const Layer layer = layers()[0];
        const CGPoint at = window->canvas().sceneFit().viewFromScene(
            {layer.transform.x + layer.size.width / 8, layer.transform.y + layer.size.height / 3});
        return window->canvas().grab().toImage().pixelColor(static_cast<int>(at.x), static_cast<int>(at.y));
    }
    /// Whether that is seen soon at half a second, while the playhead comes and goes.
    bool sees(const std::function<bool(QColor)>& wanted)
    {
        int turn = 0;
        return QTest::qWaitFor(
            [&] {
                if (++turn % 5 == 1) {
                    editor().setPlayhead(0.7);
                    window->refresh();
                    window->canvas().grab();
                    editor().setPlayhead(0.5 + 1e-4);
                    window->refresh();
                }
                return wanted(seen());
            },
            patience);
    }

    /// The picture's luma is 16 + 4 * 15, of which each step is 255 / 219 of a step of its grey: 70.
    static bool fifteenthPicture(QColor color) { return isGrey(color) && std::abs(color.red() - 70) <= 4; }
    static bool white(QColor color) { return isGrey(color) && color.red() >= 250; }
    /// A bluish dark ground of (33, 36, 41), with hatching that is a little lighter.
    static bool placeholder(QColor color) { return color.red() < 60 && color.blue() - color.red() >= 5; }
    static bool isGrey(QColor color) { return std::abs(color.red() - color.blue()) <= 3; }

    void expectNothingAskedOrChanged()
    {
        EXPECT_EQ(undoName(), "Add Video");
        EXPECT_EQ(alerts.size(), 1u) << "that of linked videos alone";
        EXPECT_EQ(layers()[0].videoURL, SharedString(url("media/linked.mp4")));
    }
};

TEST_F(LinkedVideoFaults, ADeletedVideoShowsItsPlaceholderUntilItIsBack)
{
    std::filesystem::remove(film());
    EXPECT_TRUE(sees(placeholder));
    expectNothingAskedOrChanged();
    putFilm();
    EXPECT_TRUE(sees(fifteenthPicture));
}

TEST_F(LinkedVideoFaults, AVideoOnAFolderThatVanishesShowsItsPlaceholderUntilThatIsBack)
{
    std::filesystem::rename(path("media"), path("elsewhere"));
    EXPECT_TRUE(sees(placeholder));
    expectNothingAskedOrChanged();
    std::filesystem::rename(path("elsewhere"), path("media"));
    EXPECT_TRUE(sees(fifteenthPicture));
}

TEST_F(LinkedVideoFaults, AFileThatTakesThePlaceOfTheVideoIsShown)
{
    makeMedia(path("media/next.mp4"), "-f lavfi -i color=white:s=320x200:r=25:d=0.2 -c:v libx264 -pix_fmt yuv420p");
    std::filesystem::rename(path("media/next.mp4"), film());
    EXPECT_TRUE(sees(white)) << "past its end there is its last picture";
    expectNothingAskedOrChanged();
}

TEST_F(LinkedVideoFaults, AFileThatCannotBeReadTakesTheVideosPlace)
{
    struct Case {
        const char* what;
        std::function<void()> put;
    };
    const std::vector<Case> cases = {
        {"no video", [] { writeFile(film(), "words"); }},
        {"nothing", [] { writeFile(film(), ""); }},
        {"a folder", [] { std::filesystem::create_directory(film()); }},
        {"a pipe", [] { ::mkfifo(film().c_str(), 0600); }},
        {"a device", [] { std::filesystem::create_symlink("/dev/zero", film()); }},
        {"a file whose bytes cannot be had", [] { std::filesystem::create_symlink("/proc/self/mem", film()); }},
        {"a link to itself", [] { std::filesystem::create_symlink(film(), film()); }},
        {"a file that is not ours", [] {
             putFilm();
             std::filesystem::permissions(film(), std::filesystem::perms::none);
         }}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::filesystem::remove_all(film());
        c.put();
        const Heartbeat heartbeat;
        for (const double time : {0.1, 0.9, 0.3}) {
            editor().setPlayhead(time);
            window->refresh();
            window->canvas().grab();
            QTest::qWait(20);
        }
        EXPECT_LT(heartbeat.longestPause(), frozen);
        expectNothingAskedOrChanged();
    }
    std::filesystem::remove_all(film());
    putFilm();
    EXPECT_TRUE(sees(fifteenthPicture));
}

TEST_F(LinkedVideoFaults, AVideoThatIsRewrittenWhileItPlaysHarmsNothing)
{
    const std::vector<std::uint8_t> whole = fileBytes(path("film.mp4"));
    {
        const Rewriting rewriting([&](std::size_t i) {
            writeFile(film(), eighths(whole, i % 8));
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        });
        const Heartbeat heartbeat;
        window->playback().setPlaying(true);
        QTest::qWait(700);
        window->playback().setPlaying(false);
        EXPECT_LT(heartbeat.longestPause(), frozen);
    }
    expectNothingAskedOrChanged();
    putFilm();
    EXPECT_TRUE(sees(fifteenthPicture));
}

TEST_F(LinkedVideoFaults, ADocumentThatIsOpenedAgainAsksForTheVideoThatIsGone)
{
    const TweenDocument document = editor().state().document;
    std::filesystem::remove_all(path("media"));
    presses = {1};
    open(inFile(document));
    ASSERT_TRUE(QTest::qWaitFor([this] { return alerts.size() == 2; }, patience));
    EXPECT_EQ(alerts.back(), "Locate the video file for “linked.mp4”");
    EXPECT_EQ(alertTexts.back(), "It is no longer at " + film() + ".");
}

class DropFaults : public MediaWindowTest {};

TEST_F(DropFaults, WhatIsNoFileToReadIsToldAndHoldsNothingUp)
{
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("/proc/self/mem", path("unreadable"));
    std::filesystem::create_symlink(path("circle"), path("circle"));
    std::filesystem::create_symlink(path("gone"), path("nowhere"));
    struct Case {
        const char* what;
        std::string path;
        const char* words;
    };
    for (const Case& c :
         {Case{"a pipe", path("pipe"), "“pipe” cannot be read."},
          Case{"an endless device", "/dev/zero", "“zero” cannot be read."},
          Case{"an empty device", "/dev/null", "“null” cannot be read."}, Case{"a terminal", "/dev/tty", "“tty” cannot be read."},
          Case{"bytes that cannot be had", path("unreadable"), "“unreadable” cannot be read."},
          Case{"a link to itself", path("circle"), "“circle” cannot be read."},
          Case{"a link to nothing", path("nowhere"), "“nowhere” is not there any more."},
          Case{"the root of all folders", "/", "“/” is a folder: choose the files in it."}}) {
        SCOPED_TRACE(c.what);
        const Heartbeat heartbeat;
        dropPath(c.path);
        EXPECT_TRUE(isTold(c.words));
        EXPECT_LT(heartbeat.longestPause(), frozen);
        EXPECT_TRUE(layers().empty());
        EXPECT_FALSE(editor().undoManager().canUndo());
    }
}

TEST_F(DropFaults, AmongTwoHundredFilesTheBadOnesAreToldInAFewLines)
{
    QList<QUrl> urls;
    for (int i = 0; i < 100; ++i) {
        urls << QUrl::fromLocalFile(QString::fromStdString(path("wide.png")));
        urls << QUrl::fromLocalFile(QString::fromStdString(path(i % 2 == 0 ? "words.txt" : "album")));
    }
    const Heartbeat heartbeat;
    dropURLs(urls);
    EXPECT_TRUE(isTold("96 more files were not added.")) << "after the first four";
    EXPECT_LT(heartbeat.longestPause(), frozen);
    EXPECT_EQ(layers().size(), 100u);
    EXPECT_EQ(undoName(), "Add 100 Items");
}

TEST_F(DropFaults, APictureThatIsCutShortWhileItIsReadIsALayerOrAWord)
{
    writePicture("shrinking.png", 600, 400);
    const std::vector<std::uint8_t> whole = fileBytes(path("shrinking.png"));
    {
        const Rewriting rewriting([&](std::size_t i) { writeFile(path("shrinking.png"), eighths(whole, 2 * (i % 4 + 1))); });
        const Heartbeat heartbeat;
        std::size_t taken = 0;
        for (int i = 0; i < 30; ++i) {
            dropPath(path("shrinking.png"));
            ASSERT_TRUE(QTest::qWaitFor([this] { return workspace.background.running() == 0; }, patience));
            QTest::qWait(1);
            ASSERT_LE(layers().size(), taken + 1);
            taken = layers().size();
        }
        EXPECT_LT(heartbeat.longestPause(), frozen);
    }
    for (const Layer& layer : layers()) EXPECT_EQ(layer.size, (CGSize{400, 267})) << "600 x 400 scaled to the scene's width";
}

TEST_F(DropFaults, ATruncatedPictureIsTold)
{
    writeFile(path("half.png"), eighths(fileBytes(path("wide.png")), 4));
    drop({"half.png"});
    EXPECT_TRUE(isTold("“half.png” is no picture or video that can be used."));
    EXPECT_TRUE(layers().empty());
}

} // namespace
} // namespace larkspool
