#include "views/main_loop_watchdog.h"

#include <QAbstractEventDispatcher>
#include <QEvent>
#include <QMetaEnum>
#include <QThread>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

/// How often the thread looks whether a turn goes on for too long.
constexpr milliseconds betweenLooks{50};

constexpr int longestAllowed = 3'600'000; ///< Milliseconds.

MainLoopWatchdog* current = nullptr; ///< On the main thread alone.

std::int64_t inMilliseconds(std::chrono::nanoseconds time)
{
    return duration_cast<milliseconds>(time).count();
}

} // namespace

MainLoopWatchdog::MainLoopWatchdog(Settings settings) : settings_(std::move(settings))
{
    QAbstractEventDispatcher* loop = QAbstractEventDispatcher::instance();
    QObject::connect(loop, &QAbstractEventDispatcher::aboutToBlock, &life_, [this] { turn(Then::waits); });
    QObject::connect(loop, &QAbstractEventDispatcher::awake, &life_, [this] { turn(Then::goesOn); });
    thread_ = std::thread([this] { watch(); });
    current = this;
}

MainLoopWatchdog::~MainLoopWatchdog()
{
    if (current == this) current = nullptr;
    turn(Then::waits);
    {
        const std::scoped_lock lock(mutex_);
        isDone_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void MainLoopWatchdog::begin(const QObject& receiver, const QEvent& event)
{
    const std::scoped_lock lock(mutex_);
    const Clock::time_point now = settings_.now();
    if (!since_) {
        since_ = now;
        workSince_ = work();
        for (Handled& waiting : stack_) waiting.start = now;
    }
    const QObject* owner = receiver.parent();
    stack_.push_back({.receiver = receiver.metaObject()->className(),
                      .owner = owner ? owner->metaObject()->className() : nullptr,
                      .event = static_cast<int>(event.type()),
                      .start = now});
}

void MainLoopWatchdog::end()
{
    const std::scoped_lock lock(mutex_);
    if (stack_.empty()) return; // It began before this did.
    const Clock::time_point now = settings_.now();
    const Handled ended = stack_.back();
    stack_.pop_back();
    if (stack_.size() <= base_) leave(ended, now);
    base_ = std::min(base_, stack_.size());
    if (!stack_.empty() || !since_) return;
    before_ += now - *since_;
    workBefore_ += work() - workSince_;
    since_.reset();
}

/// Of the events of a turn that follow one another the longest is told.
void MainLoopWatchdog::leave(const Handled& handled, Clock::time_point now)
{
    const Clock::duration length = now - handled.start;
    if (length < worstLength_) return;
    worst_ = handled;
    worstLength_ = length;
}

void MainLoopWatchdog::turn(Then then)
{
    bool hasLines = false;
    {
        const std::scoped_lock lock(mutex_);
        const Clock::time_point now = settings_.now();
        const Clock::duration length = spent(now);
        if (since_ && !stack_.empty()) leave(stack_.back(), now); // A loop begins in it.
        if (length > settings_.longest && !isTold_) {
            const std::chrono::nanoseconds worked = since_ ? workBefore_ + work() - workSince_ : workBefore_;
            lines_.push_back(fmt::format("larkspool: the window stood still for {} ms, {} ms of them at work; longest in {}",
                                         inMilliseconds(length), inMilliseconds(worked), words(worst_)));
        }
        hasLines = !lines_.empty();

        since_.reset();
        if (then == Then::goesOn && !stack_.empty()) {
            since_ = now;
            workSince_ = work();
        }
        for (Handled& waiting : stack_) waiting.start = now;
        base_ = stack_.size();
        before_ = {};
        worst_ = {};
        worstLength_ = {};
        workBefore_ = {};
        isTold_ = false;
    }
    if (hasLines) changed_.notify_one();
}

MainLoopWatchdog::Clock::duration MainLoopWatchdog::spent(Clock::time_point now) const
{
    return since_ ? before_ + (now - *since_) : before_;
}

void MainLoopWatchdog::watch()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait_for(lock, betweenLooks, [this] { return isDone_ || !lines_.empty(); });
        noticeStandstill();
        const std::vector<std::string> lines = std::exchange(lines_, {});
        if (lines.empty() && isDone_) return;
        lock.unlock();
        for (const std::string& line : lines) settings_.tell(line);
        lock.lock();
    }
}

void MainLoopWatchdog::noticeStandstill()
{
    const Clock::time_point now = settings_.now();
    if (isTold_ || stack_.empty() || !since_ || spent(now) <= settings_.patience) return;
    isTold_ = true;
    const Handled& outermost = stack_[std::min(base_, stack_.size() - 1)];
    lines_.push_back(fmt::format("larkspool: the window stands still for more than {} ms, in {}", inMilliseconds(spent(now)),
                                 words(outermost)));
}

std::string MainLoopWatchdog::words(const Handled& handled)
{
    const char* event = QMetaEnum::fromType<QEvent::Type>().valueToKey(handled.event);
    std::string told =
        event ? fmt::format("{} to {}", event, handled.receiver) : fmt::format("event {} to {}", handled.event, handled.receiver);
    if (handled.owner) told += fmt::format(" of {}", handled.owner);
    if (!handled.command.empty()) told += fmt::format(", command “{}”", handled.command);
    return told;
}

/// Of the main thread, without what other programs take of the machine.
std::chrono::nanoseconds MainLoopWatchdog::work()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void MainLoopWatchdog::noteCommand(std::string_view title)
{
    if (!current) return;
    const std::scoped_lock lock(current->mutex_);
    for (Handled& handled : current->stack_) handled.command = title;
}

void MainLoopWatchdog::writeToStandardError(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::optional<MainLoopWatchdog::Settings> watchdogSettings(const char* value)
{
    const std::string_view text = value ? value : "";
    int longest = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), longest);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && longest >= 0 && longest <= longestAllowed;
    if (isNumber) {
        if (longest == 0) return std::nullopt;
        return MainLoopWatchdog::Settings{.longest = milliseconds(longest)};
    }
#ifdef NDEBUG
    return std::nullopt;
#else
    return MainLoopWatchdog::Settings{};
#endif
}

WatchedApplication::WatchedApplication(int& count, char** arguments) : QApplication(count, arguments)
{
    watch(watchdogSettings(std::getenv("LARKSPOOL_WATCHDOG")));
}

void WatchedApplication::watch(std::optional<MainLoopWatchdog::Settings> settings)
{
    watchdog_.reset();
    if (settings) watchdog_ = std::make_unique<MainLoopWatchdog>(*std::move(settings));
}

bool WatchedApplication::notify(QObject* receiver, QEvent* event)
{
    if (!watchdog_ || QThread::currentThread() != thread()) return QApplication::notify(receiver, event);
    watchdog_->begin(*receiver, *event);
    struct End {
        ~End() { watchdog.end(); }
        MainLoopWatchdog& watchdog;
    } const end{*watchdog_};
    return QApplication::notify(receiver, event);
}

} // namespace larkspool
