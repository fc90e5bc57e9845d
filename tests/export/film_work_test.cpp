#include "export/film_work.h"

#include "export/fake_asset_writer.h"
#include "support/film_probe.h"
#include "support/running_threads.h"
#include "support/test_media.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using namespace std::chrono_literals;
using Exporter::ExportError;
using Exporter::ExportOptions;
using Exporter::FilmFrames;
using Exporter::FilmPlan;
using testing::HasSubstr;

/// Sixteen boxes side by side that tell a number, one for each of its bits.
constexpr int bits = 16, box = 8, markWidth = bits * box, markHeight = 16;

void paintNumber(PixelBuffer& picture, std::int64_t number)
{
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const bool isSet = (number >> (x / box % bits) & 1) != 0;
            std::memset(picture.row(y) + 4 * x, isSet ? 255 : 0, 4);
            picture.row(y)[4 * x + 3] = 255;
        }
}

std::int64_t numberOn(const PixelBuffer& picture)
{
    std::int64_t number = 0;
    for (int bit = 0; bit < bits; ++bit)
        if (picture.row(markHeight / 2)[4 * (bit * box + box / 2)] > 127) number |= std::int64_t{1} << bit;
    return number;
}

/// What all the frames of a film do.
struct Script {
    std::int64_t step = 1; ///< So many frames in a row show the number of the first of them.
    std::function<void(std::int64_t)> onAdvance; ///< On any thread.
    std::function<void(std::int64_t, PixelBuffer&)> paint = [](std::int64_t number, PixelBuffer& picture) { paintNumber(picture, number); };
    std::atomic<int> made{0};
    std::atomic<int> alive{0};
};

class ScriptedFrames final : public FilmFrames {
public:
    explicit ScriptedFrames(Script& script) : script_(script)
    {
        ++script_.made;
        ++script_.alive;
    }
    ~ScriptedFrames() override { --script_.alive; }
    ScriptedFrames(const ScriptedFrames&) = delete;
    ScriptedFrames& operator=(const ScriptedFrames&) = delete;

    void forget() override { shown_ = -1; }
    Next advance(std::int64_t index) override
    {
        if (script_.onAdvance) script_.onAdvance(index);
        const std::int64_t number = index - index % script_.step;
        return std::exchange(shown_, number) == number ? Next::unchanged : Next::drawn;
    }
    PixelRect paint(PixelBuffer& picture) override
    {
        script_.paint(shown_, picture);
        return {0, 0, picture.width(), picture.height()};
    }

private:
    Script& script_;
    std::int64_t shown_ = -1;
};

Exporter::MakeFilmFrames framesOf(Script& script)
{
    return [&script] { return std::make_unique<ScriptedFrames>(script); };
}

FilmPlan planOf(std::int64_t frames, std::int64_t width = markWidth, std::int64_t height = markHeight)
{
    constexpr std::int64_t fps = 50;
    return {.width = width, .height = height, .fps = fps, .seconds = static_cast<double>(frames) / fps};
}

ExportOptions writingTo(WriterLog& log, int workers)
{
    return {.makeWriter = [&log](const std::string& path,
                                 const FilmSettings& settings) { return std::make_unique<FakeAssetWriter>(path, settings, log); },
            .workers = workers};
}

std::string failureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

/// Opens once, for all who wait.
class Gate {
public:
    void open()
    {
        {
            const std::scoped_lock lock(mutex_);
            isOpen_ = true;
        }
        changed_.notify_all();
    }
    /// False if it did not open in a very long time.
    bool wait()
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 60s, [this] { return isOpen_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isOpen_ = false;
};

/// The film shows the numbers of its frames in order, for as many frames as it says, each at its time.
void expectWholeFrames(const std::string& path, std::int64_t frames, std::int64_t step = 1)
{
    const FilmReport film = probeFilm(path);
    EXPECT_EQ(film.declaredFrames, frames);
    ASSERT_EQ(film.frames(), frames);
    EXPECT_NEAR(film.seconds, static_cast<double>(frames) / 50, 1e-9);
    for (std::size_t i = 0; i < film.presentationTimes.size(); ++i)
        ASSERT_NEAR(film.presentationTimes[i], static_cast<double>(i) / 50, 1e-9);
    ASSERT_EQ(film.decodingTimes.size(), film.presentationTimes.size());
    for (std::size_t i = 1; i < film.decodingTimes.size(); ++i)
        ASSERT_NEAR(film.decodingTimes[i] - film.decodingTimes[i - 1], 1.0 / 50, 1e-9) << i;
    forEachFrame(path, [&](std::int64_t index, const PixelBuffer& picture) { ASSERT_EQ(numberOn(picture), index - index % step); });
}

std::vector<std::int64_t> upTo(std::int64_t count, std::int64_t step = 1)
{
    std::vector<std::int64_t> numbers;
    for (std::int64_t i = 0; i < count; i += step) numbers.push_back(i);
    return numbers;
}

TEST(FilmWork, TheFilmHasEveryFrameInItsPlace)
{
    const TemporaryFolder folder;
    struct Case { std::int64_t frames, step; };
    for (const Case& c : {Case{1, 1}, Case{2, 1}, Case{600, 1}, Case{601, 1}, Case{1201, 7}, Case{1820, 1}, Case{1440, 1440}}) {
        SCOPED_TRACE(testing::Message() << c.frames << " frames, each " << c.step << " times");
        Script script{.step = c.step};
        Exporter::writeFilm(planOf(c.frames), framesOf(script), folder.path("film.mp4"), {.workers = 3});
        // At the beginning of a chunk all is painted, so that there the number is that of a frame further back.
        expectWholeFrames(folder.path("film.mp4"), c.frames, c.step);
        EXPECT_EQ(script.alive, 0);
    }
}

TEST(FilmWork, TheFileIsTheSameWithAnyNumberOfWorkersAndEveryTime)
{
    const TemporaryFolder folder;
    Script script{.step = 2};
    const auto film = [&](int workers) {
        Exporter::writeFilm(planOf(2420), framesOf(script), folder.path("film.mp4"), {.workers = workers});
        return fileBytes(folder.path("film.mp4"));
    };
    const std::vector<std::uint8_t> one = film(1);
    for (const int workers : {1, 2, 2, 3, 8}) EXPECT_TRUE(film(workers) == one) << workers << " workers";
}

TEST(FilmWork, AWorkerHasOnePictureAndMakesItsFramesOnce)
{
    const TemporaryFolder folder;
    WriterLog log;
    Script script;
    std::mutex mutex;
    std::set<const PixelBuffer*> pictures;
    script.paint = [&](std::int64_t, PixelBuffer& picture) {
        const std::scoped_lock lock(mutex);
        pictures.insert(&picture);
    };
    Exporter::writeFilm(planOf(3600), framesOf(script), folder.path("film.mp4"), writingTo(log, 2));
    EXPECT_LE(pictures.size(), 2u);
    EXPECT_LE(script.made, 2);
    EXPECT_EQ(log.appended, upTo(3600));
}

TEST(FilmWork, AChunkBeginsWithAPictureOfItsOwn)
{
    const TemporaryFolder folder;
    WriterLog log;
    Script script{.step = 2000};
    Exporter::writeFilm(planOf(1440), framesOf(script), folder.path("film.mp4"), writingTo(log, 1));
    EXPECT_EQ(log.encoded, (std::vector<std::int64_t>{0, 480, 960}));
    EXPECT_EQ(log.repeated.size(), 1437u);
}

TEST(FilmWork, ChunksThatAreFinishedEarlyWaitAndAreFew)
{
    const TemporaryFolder folder;
    WriterLog log;
    Script script;
    Gate lastThatMayBeMade;
    std::atomic<std::int64_t> furthest{0};
    const FilmGrid grid(5000, false);
    script.onAdvance = [&](std::int64_t index) {
        std::int64_t before = furthest;
        while (before < index && !furthest.compare_exchange_weak(before, index)) continue;
        if (index == grid.firstFrame(4) - 1) lastThatMayBeMade.open();
        if (index != 0) return;
        EXPECT_TRUE(lastThatMayBeMade.wait());
        std::this_thread::sleep_for(100ms); // Nothing goes on meanwhile.
        EXPECT_EQ(furthest, grid.firstFrame(4) - 1); // Two chunks for each of two workers.
        const std::scoped_lock lock(log.mutex);
        EXPECT_TRUE(log.appended.empty());
    };
    Exporter::writeFilm(planOf(5000), framesOf(script), folder.path("film.mp4"), writingTo(log, 2));
    EXPECT_EQ(log.appended, upTo(5000));
}

TEST(FilmWork, ProgressRisesFrameByFrameToOneAndCallsNeverMeet)
{
    const TemporaryFolder folder;
    for (const std::int64_t held : {0, 30}) {
        SCOPED_TRACE(testing::Message() << "encoders hold " << held << " frames");
        WriterLog log;
        log.heldFrames = held;
        Script script;
        std::atomic<int> calls{0};
        std::vector<double> told;
        const auto alone = [&](const std::function<void()>& work) {
            EXPECT_EQ(++calls, 1);
            work();
            --calls;
        };
        ExportOptions options = writingTo(log, 4);
        options.progress = [&](double part) { alone([&] { told.push_back(part); }); };
        options.previewFrame = [&](const PixelBuffer&) { alone([] {}); };
        Exporter::writeFilm(planOf(2400), framesOf(script), folder.path("film.mp4"), options);
        ASSERT_EQ(told.size(), 2400u);
        for (std::size_t i = 0; i < told.size(); ++i) ASSERT_DOUBLE_EQ(told[i], static_cast<double>(i + 1) / 2400);
        EXPECT_EQ(told.back(), 1.0);
    }
}

TEST(FilmWork, PreviewsComeInTheOrderOfTheFilmThoughItIsNotDrawnSo)
{
    const TemporaryFolder folder;
    struct Case { const char* what; bool isNoise; };
    for (const Case& c : {Case{"kept", false}, Case{"too much to keep: painted again", true}}) {
        SCOPED_TRACE(c.what);
        WriterLog log;
        Script script;
        Gate secondChunkIsDrawn;
        script.onAdvance = [&](std::int64_t index) {
            if (index == 1200) secondChunkIsDrawn.open(); // The first frame of the third.
            if (index == 0) {
                EXPECT_TRUE(secondChunkIsDrawn.wait());
            }
        };
        std::atomic<int> painted{0};
        script.paint = [&](std::int64_t number, PixelBuffer& picture) {
            ++painted;
            paintNumber(picture, number);
            if (!c.isNoise) return;
            std::mt19937 random(static_cast<unsigned>(number));
            for (int y = markHeight; y < picture.height(); ++y)
                for (int x = 0; x < picture.width() * 4; ++x) picture.row(y)[x] = static_cast<std::uint8_t>(random());
        };
        std::vector<std::int64_t> shown;
        ExportOptions options = writingTo(log, 2);
        options.previewFrame = [&](const PixelBuffer& picture) {
            const std::int64_t number = numberOn(picture);
            PixelBuffer expected(picture.width(), picture.height());
            const int before = painted;
            script.paint(number, expected);
            painted = before;
            for (int y = 0; y < picture.height(); ++y)
                ASSERT_EQ(std::memcmp(picture.row(y), expected.row(y), static_cast<std::size_t>(picture.width()) * 4), 0);
            shown.push_back(number);
        };
        Exporter::writeFilm(planOf(1800, markWidth, 64), framesOf(script), folder.path("film.mp4"), options);
        EXPECT_EQ(shown, upTo(1800, 6));
        if (!c.isNoise) {
            EXPECT_EQ(painted, 1800);
        }
    }
}

TEST(FilmWork, WithoutAWishForPreviewsNothingIsPaintedTwice)
{
    const TemporaryFolder folder;
    WriterLog log;
    Script script;
    std::atomic<int> painted{0};
    script.paint = [&](std::int64_t, PixelBuffer&) { ++painted; };
    Exporter::writeFilm(planOf(2400), framesOf(script), folder.path("film.mp4"), writingTo(log, 4));
    EXPECT_EQ(painted, 2400);
}

TEST(FilmWork, ACancelAtAnyFrameLeavesAPlayableFilm)
{
    const TemporaryFolder folder;
    for (const int workers : {1, 3})
        for (const int cancelledAt : {1, 2, 45, 479, 481, 960, 1439, 1440}) {
            SCOPED_TRACE(testing::Message() << workers << " workers, cancelled at frame " << cancelledAt);
            const std::ptrdiff_t threadsBefore = runningThreads();
            const std::string path = folder.path("film.mp4");
            std::filesystem::remove(path);
            Script script;
            Exporter::ExportCancelFlag cancel;
            int told = 0;
            ExportOptions options{.cancel = &cancel, .workers = workers};
            options.progress = [&](double) {
                if (++told == cancelledAt) cancel.cancel();
            };
            EXPECT_EQ(failureOf([&] { Exporter::writeFilm(planOf(1440), framesOf(script), path, options); }), "Export cancelled.");
            EXPECT_EQ(script.alive, 0);
            EXPECT_TRUE(areThreadsBackTo(threadsBefore));
            EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
            const std::int64_t kept = probeFilm(path).frames();
            EXPECT_GE(kept, 1);
            if (workers == 1) {
                EXPECT_GE(kept, cancelledAt - 4); // Pictures that are shown later than they are coded come in groups of four.
            }
            expectWholeFrames(path, kept);
        }
}

TEST(FilmWork, ACancelKeepsWhatIsFinishedFromTheStartOnAndNothingBehindAGap)
{
    const TemporaryFolder folder;
    WriterLog log;
    Script script;
    Exporter::ExportCancelFlag cancel;
    Gate secondChunkIsMade;
    script.onAdvance = [&](std::int64_t index) {
        if (index == 960) secondChunkIsMade.open(); // The first frame of the third.
        if (index != 120) return;
        EXPECT_TRUE(secondChunkIsMade.wait());
        cancel.cancel();
    };
    ExportOptions options = writingTo(log, 2);
    options.cancel = &cancel;
    EXPECT_EQ(failureOf([&] { Exporter::writeFilm(planOf(1440), framesOf(script), folder.path("film.mp4"), options); }),
              "Export cancelled.");
    EXPECT_THAT(log.appended.size(), testing::AnyOf(121u, 120u));
    EXPECT_EQ(log.appended, upTo(static_cast<std::int64_t>(log.appended.size())));
    EXPECT_TRUE(log.finished);
}

TEST(FilmWork, ACancelKeepsFramesThatAnEncoderHoldsIfTheyAreSoonReady)
{
    const TemporaryFolder folder;
    struct Case { const char* what; std::chrono::milliseconds each; bool areAllKept; };
    for (const Case& c : {Case{"at once", 0ms, true}, Case{"slowly", 90ms, false}}) {
        SCOPED_TRACE(c.what);
        WriterLog log;
        log.heldFrames = 40;
        log.onHeldFrame = [&](std::int64_t) { std::this_thread::sleep_for(c.each); };
        Script script;
        Exporter::ExportCancelFlag cancel;
        ExportOptions options = writingTo(log, 1);
        options.cancel = &cancel;
        options.progress = [&](double part) {
            if (part >= 0.5) cancel.cancel();
        };
        EXPECT_EQ(failureOf([&] { Exporter::writeFilm(planOf(200), framesOf(script), folder.path("film.mp4"), options); }),
                  "Export cancelled.");
        // A hundred are finished, and forty more were taken in.
        EXPECT_EQ(log.appended, upTo(static_cast<std::int64_t>(log.appended.size())));
        EXPECT_GE(log.appended.size(), 100u);
        EXPECT_LE(log.appended.size(), 140u);
        EXPECT_EQ(log.appended.size() == 140u, c.areAllKept);
    }
}

TEST(FilmWork, AFailureOfTheWriterDuringACancelLeavesAnEarlierFilm)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path("film.mp4")) << "earlier";
    WriterLog log;
    log.appendFailsAt = 0;
    Script script;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = writingTo(log, 2);
    options.cancel = &cancel;
    options.progress = [&](double part) {
        if (part > 0.1) cancel.cancel();
    };
    EXPECT_EQ(failureOf([&] { Exporter::writeFilm(planOf(200), framesOf(script), folder.path("film.mp4"), options); }),
              "Export cancelled.");
    EXPECT_EQ(fileBytes(folder.path("film.mp4")).size(), 7u);
    EXPECT_FALSE(log.finished);
    EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
}

TEST(FilmWork, AFailureAnywhereIsToldOnceAllHaveStopped)
{
    struct Case {
        const char* what;
        std::function<void(WriterLog&, Script&, ExportOptions&)> arrange;
        const char* words;
    };
    for (const Case& c :
         {Case{"an encoder", [](auto& log, auto&, auto&) { log.encodingFailsAt = 777; },
               "Export failed: append failed at frame 777: It broke — (Fake #-5)"},
          Case{"the file", [](auto& log, auto&, auto&) { log.appendFailsAt = 1200; },
               "Export failed: append failed at frame 1200: It broke — (Fake #-5)"},
          Case{"memory for a picture", [](auto& log, auto&, auto&) { log.bufferFails = true; },
               "Export failed: Pixel buffer alloc failed: -5"},
          Case{"drawing",
               [](auto&, auto& script, auto&) {
                   script.paint = [](std::int64_t number, PixelBuffer&) {
                       if (number == 612) throw std::runtime_error("The brush is lost");
                   };
               },
               "The brush is lost"},
          Case{"looking at a frame",
               [](auto&, auto& script, auto&) {
                   script.onAdvance = [](std::int64_t index) {
                       if (index == 300) throw std::bad_alloc();
                   };
               },
               "std::bad_alloc"},
          Case{"whoever is told",
               [](auto&, auto&, auto& options) {
                   options.progress = [](double part) {
                       if (part > 0.3) throw std::runtime_error("Nobody listens");
                   };
               },
               "Nobody listens"}}) {
        for (const int workers : {1, 4}) {
            SCOPED_TRACE(testing::Message() << c.what << ", " << workers << " workers");
            const TemporaryFolder folder;
            std::ofstream(folder.path("film.mp4")) << "earlier";
            const std::ptrdiff_t threadsBefore = runningThreads();
            WriterLog log;
            Script script;
            ExportOptions options = writingTo(log, workers);
            c.arrange(log, script, options);
            EXPECT_EQ(failureOf([&] { Exporter::writeFilm(planOf(2400), framesOf(script), folder.path("film.mp4"), options); }),
                      c.words);
            EXPECT_EQ(script.alive, 0);
            EXPECT_TRUE(areThreadsBackTo(threadsBefore));
            EXPECT_FALSE(log.finished);
            EXPECT_EQ(fileBytes(folder.path("film.mp4")).size(), 7u);
            EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
        }
    }
}

TEST(FilmWork, ADiskThatRunsFullIsToldAndLeavesNothing)
{
    const TemporaryFolder folder;
    Script script;
    script.paint = [](std::int64_t number, PixelBuffer& picture) {
        std::mt19937 random(static_cast<unsigned>(number)); // Which makes a film larger than what is written at once.
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width() * 4; ++x) picture.row(y)[x] = static_cast<std::uint8_t>(random());
    };
    Exporter::writeFilm(planOf(600), framesOf(script), folder.path("whole.mp4"), {.workers = 2});
    const std::uintmax_t whole = std::filesystem::file_size(folder.path("whole.mp4"));
    std::filesystem::remove(folder.path("whole.mp4"));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    // So short a film may be handed on in one piece: then the second limit strikes as it is finished.
    struct Case { std::uintmax_t limit; const char* words; };
    for (const Case& c : {Case{1, "Export failed: startWriting failed: "}, Case{whole / 4, "Export failed: "},
                          Case{whole - 1, "Export failed: finishWriting failed: "}}) {
        SCOPED_TRACE(testing::Message() << c.limit << " of " << whole << " bytes");
        const rlimit limited{c.limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        const std::string words =
            failureOf([&] { Exporter::writeFilm(planOf(600), framesOf(script), folder.path("film.mp4"), {.workers = 2}); });
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_THAT(words, testing::StartsWith(c.words));
        EXPECT_THAT(words, HasSubstr("File too large"));
        EXPECT_THAT(folder.names(), testing::IsEmpty());
    }
    std::signal(SIGXFSZ, SIG_DFL);
}

TEST(FilmWork, TheSmallestAndAVeryLargeFilmAreMade)
{
    const TemporaryFolder folder;
    struct Case { std::int64_t width, height, frames; };
    for (const Case& c : {Case{2, 2, 300}, Case{7680, 4320, 1}}) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height);
        Script script;
        Exporter::writeFilm(planOf(c.frames, c.width, c.height), framesOf(script), folder.path("film.mp4"), {.workers = 2});
        const FilmReport film = probeFilm(folder.path("film.mp4"));
        EXPECT_EQ(film.width, c.width);
        EXPECT_EQ(film.height, c.height);
        EXPECT_EQ(film.frames(), c.frames);
    }
}

TEST(WorkerCount, FollowsTheMachineTheMemoryAndTheFilm)
{
    constexpr std::int64_t gibibyte = std::int64_t{1} << 30, unlimited = std::numeric_limits<std::int64_t>::max();
    constexpr CGSize hd{1920, 1080}, ultra{7680, 4320};
    struct Case { const char* what; CGSize size; std::int64_t frames; int wanted, samples; Machine machine; int workers; };
    for (const Case& c : {Case{"one keeps four processors busy", hd, 5000, 0, 1, {4, unlimited}, 1},
                          Case{"more than four", hd, 5000, 0, 1, {5, unlimited}, 2},
                          Case{"many processors", hd, 5000, 0, 1, {16, unlimited}, 4},
                          Case{"blurred, one for each processor", hd, 5000, 0, 8, {4, unlimited}, 4},
                          Case{"blurred at half size", hd, 5000, 0, -8, {4, unlimited}, 4},
                          Case{"the least number of samples", hd, 5000, 0, std::numeric_limits<int>::min(), {4, unlimited}, 4},
                          Case{"no more than chunks", hd, 1440, 0, 1, {16, unlimited}, 3},
                          Case{"one chunk", hd, 600, 0, 1, {16, unlimited}, 1},
                          Case{"no more than blurred chunks", hd, 600, 0, 4, {16, unlimited}, 3},
                          Case{"as asked for", hd, 5000, 7, 1, {2, unlimited}, 7},
                          Case{"as asked for, but for the chunks", hd, 720, 7, 1, {2, unlimited}, 2},
                          // A worker takes half a gigabyte, and half of the memory is for them.
                          Case{"little memory", hd, 5000, 0, 8, {16, 4 * gibibyte}, 4},
                          Case{"hardly any memory", hd, 5000, 0, 1, {16, gibibyte / 4}, 1},
                          Case{"no memory", hd, 5000, 0, 1, {16, 0}, 1},
                          Case{"asked for in spite of memory", hd, 5000, 3, 1, {16, 0}, 3},
                          Case{"large pictures", ultra, 5000, 0, 1, {16, 40 * gibibyte}, 2},
                          Case{"no processors", hd, 5000, 0, 1, {0, unlimited}, 1}}) {
        const FilmPlan plan{.width = static_cast<std::int64_t>(c.size.width),
                            .height = static_cast<std::int64_t>(c.size.height),
                            .fps = 50,
                            .seconds = static_cast<double>(c.frames) / 50};
        ExportOptions options;
        options.motionBlurSamples = c.samples;
        options.workers = c.wanted;
        EXPECT_EQ(workerCount(plan, options, c.machine), c.workers) << c.what;
    }
}

TEST(Machine, HasAProcessorAndSomeMemory)
{
    const Machine machine = Machine::current();
    EXPECT_GE(machine.processors, 1);
    EXPECT_GT(machine.availableBytes, 0);
}

} // namespace
} // namespace larkspool
