#include "views/main_loop_watchdog.h"

#include "support/running_threads.h"
#include "views/window_test.h"

#include <QEventLoop>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace larkspool {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr int ownEvent = QEvent::User + 7;

/// What is handled here takes as long as the test says, by a clock that is set by hand.
class Busy final : public QObject {
public:
    bool event(QEvent* event) override
    {
        if (event->type() != ownEvent) return QObject::event(event);
        if (handle) handle();
        return true;
    }

    std::function<void()> handle;
};

class WatchdogThreadTest : public testing::Test {
protected:
    WatchdogThreadTest()
    {
        QApplication::processEvents();
        application().watch(
            MainLoopWatchdog::Settings{.tell =
                                           [this](const std::string& line) {
                                               const std::scoped_lock lock(mutex_);
                                               lines_.push_back(line);
                                               told_.notify_all();
                                           },
                                       .now = [this] { return MainLoopWatchdog::Clock::time_point(now_.load()); }});
    }
    ~WatchdogThreadTest() override { application().watch(std::nullopt); }

    static WatchedApplication& application() { return dynamic_cast<WatchedApplication&>(*QApplication::instance()); }

    void pass(std::chrono::milliseconds time) { now_ = now_.load() + time; }

    /// The loop turns once, with an event in it for each of the times.
    void turnWith(const std::vector<std::chrono::milliseconds>& times)
    {
        std::size_t next = 0;
        Busy busy;
        busy.handle = [&] { pass(times[next++]); };
        for (std::size_t i = 0; i < times.size(); ++i) QApplication::postEvent(&busy, new QEvent(QEvent::Type(ownEvent)));
        QApplication::processEvents();
    }

    /// Lines are told on another thread.
    bool isTold(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        return told_.wait_for(lock, 20s, [&] { return lines_.size() >= count; });
    }
    /// All that has been told when there is nothing left to tell.
    std::vector<std::string> allLines()
    {
        application().watch(std::nullopt);
        const std::scoped_lock lock(mutex_);
        return lines_;
    }

private:
    std::atomic<std::chrono::milliseconds> now_{1000ms};
    std::mutex mutex_;
    std::condition_variable told_;
    std::vector<std::string> lines_;
};

TEST_F(WatchdogThreadTest, AnEventThatTakesTooLongIsToldWithItsLengthAndItsReceiver)
{
    turnWith({312ms});
    EXPECT_THAT(allLines(), ElementsAre(AllOf(StartsWith("larkspool: the window stood still for 312 ms, "),
                                              HasSubstr("longest in event 1007 to QObject"))));
}

TEST_F(WatchdogThreadTest, AHundredMillisecondsAreNotTooLong)
{
    turnWith({100ms});
    turnWith({100ms});
    EXPECT_THAT(allLines(), IsEmpty());
}

TEST_F(WatchdogThreadTest, ShortEventsOfOneTurnThatFollowOneAnotherCountTogether)
{
    turnWith({40ms, 50ms, 30ms});
    EXPECT_THAT(allLines(), ElementsAre(HasSubstr("still for 120 ms")));
}

TEST_F(WatchdogThreadTest, TimeBetweenEventsDoesNotCount)
{
    turnWith({60ms});
    pass(10s);
    turnWith({60ms});
    EXPECT_THAT(allLines(), IsEmpty());
}

TEST_F(WatchdogThreadTest, TheCommandIsToldThatAnEventHasLedTo)
{
    Busy busy;
    busy.handle = [&] {
        MainLoopWatchdog::noteCommand("Paste");
        pass(150ms);
    };
    QApplication::postEvent(&busy, new QEvent(QEvent::Type(ownEvent)));
    QApplication::processEvents();
    EXPECT_THAT(allLines(), ElementsAre(HasSubstr("command “Paste”")));
}

TEST_F(WatchdogThreadTest, TheEventThatTookLongestNamesATurn)
{
    Busy busy;
    QTimer owner;
    auto* owned = new Busy;
    owned->setParent(&owner);
    busy.handle = [&] { pass(20ms); };
    owned->handle = [&] { pass(90ms); };
    for (Busy* receiver : {&busy, owned, &busy}) QApplication::postEvent(receiver, new QEvent(QEvent::Type(ownEvent)));
    QApplication::processEvents();
    EXPECT_THAT(allLines(), ElementsAre(AllOf(HasSubstr("still for 130 ms"), HasSubstr("of QTimer"))));
}

/// A menu or a dialog is open for as long as a person likes.
TEST_F(WatchdogThreadTest, ALoopWithinAnEventTurnsByItself)
{
    Busy busy, inner;
    busy.handle = [&] {
        pass(70ms);
        QEventLoop loop;
        inner.handle = [&] {
            pass(80ms);
            loop.quit();
        };
        QTimer::singleShot(1, &inner, [&] {
            pass(60ms);
            QTimer::singleShot(1, &inner, [&] { QApplication::postEvent(&inner, new QEvent(QEvent::Type(ownEvent))); });
        });
        loop.exec();
        pass(10ms);
    };
    QApplication::postEvent(&busy, new QEvent(QEvent::Type(ownEvent)));
    QApplication::processEvents();
    EXPECT_THAT(allLines(), IsEmpty());
}

TEST_F(WatchdogThreadTest, WhatFollowsALoopWithinAnEventCountsAgain)
{
    Busy busy;
    busy.handle = [&] {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
        pass(140ms);
    };
    QApplication::postEvent(&busy, new QEvent(QEvent::Type(ownEvent)));
    QApplication::processEvents();
    EXPECT_THAT(allLines(), ElementsAre(AllOf(HasSubstr("still for 140 ms"), HasSubstr("event 1007"))));
}

TEST_F(WatchdogThreadTest, AWindowThatDoesNotComeBackIsToldWhileItStandsAndOnce)
{
    Busy busy;
    busy.handle = [&] {
        MainLoopWatchdog::noteCommand("Export MP4…");
        pass(6s);
        EXPECT_TRUE(isTold(1)) << "nobody told of it while it went on";
        pass(6s);
    };
    QApplication::postEvent(&busy, new QEvent(QEvent::Type(ownEvent)));
    QApplication::processEvents();
    EXPECT_THAT(allLines(), ElementsAre(AllOf(HasSubstr("stands still for more than 6000 ms"), HasSubstr("“Export MP4…”"))));
}

TEST_F(WatchdogThreadTest, EventsOfOtherThreadsAreNotItsConcern)
{
    std::thread([this] {
        Busy busy;
        busy.handle = [this] { pass(900ms); };
        QEvent event{QEvent::Type(ownEvent)};
        QApplication::sendEvent(&busy, &event);
    }).join();
    EXPECT_THAT(allLines(), IsEmpty());
}

TEST_F(WatchdogThreadTest, NoThreadOfItIsLeftAtItsEnd)
{
    ASSERT_TRUE(application().isWatched());
    const std::ptrdiff_t watched = runningThreads();
    application().watch(std::nullopt);
    EXPECT_TRUE(areThreadsBackTo(watched - 1));
    EXPECT_FALSE(application().isWatched());
}

/// By the clock of the machine, with a loop that is kept from turning.
TEST_F(WatchdogThreadTest, ALoopThatIsBlockedIsNoticed)
{
    std::atomic<int> count{0};
    std::string told;
    application().watch(MainLoopWatchdog::Settings{.tell = [&](const std::string& line) {
        told = line;
        ++count;
    }});
    Busy busy;
    busy.handle = [] { std::this_thread::sleep_for(130ms); };
    QApplication::postEvent(&busy, new QEvent(QEvent::Type(ownEvent)));
    QApplication::processEvents();
    application().watch(std::nullopt);
    ASSERT_EQ(count, 1);
    EXPECT_THAT(told, HasSubstr("event 1007"));
}

TEST(WatchdogSettings, TheEnvironmentSaysHowLongATurnMayTake)
{
    ASSERT_TRUE(watchdogSettings("250").has_value());
    EXPECT_EQ(watchdogSettings("250")->longest, 250ms);
    EXPECT_FALSE(watchdogSettings("0").has_value());
#ifdef NDEBUG
    constexpr bool isDebugBuild = false;
#else
    constexpr bool isDebugBuild = true;
#endif
    for (const char* none : {static_cast<const char*>(nullptr), "", "fast", "100 ms", "-1", "99999999999999999999"}) {
        SCOPED_TRACE(none ? none : "not set");
        ASSERT_EQ(watchdogSettings(none).has_value(), isDebugBuild);
        if (isDebugBuild) {
            EXPECT_EQ(watchdogSettings(none)->longest, 100ms);
        }
    }
}

} // namespace
} // namespace larkspool
