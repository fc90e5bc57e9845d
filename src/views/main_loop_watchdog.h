#pragma once

#include <QApplication>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace larkspool {

/// Tells of every turn of the main loop in which the window stood still for too long, and of what was handled meanwhile.
///
///     waits  event  event  event  waits  event ...
///           [------- a turn ----]
///
/// A loop within an event, as of a menu or a dialog, turns by itself. Time in which nothing is handled does not count, so that a
/// test may take as long as it likes between two events.
class MainLoopWatchdog {
public:
    using Clock = std::chrono::steady_clock;

    struct Settings {
        std::chrono::milliseconds longest{100};    ///< What a turn may take.
        std::chrono::milliseconds patience{5'000}; ///< A turn that takes longer is told of while it goes on, and not again.
        std::function<void(const std::string& line)> tell = writeToStandardError; ///< Called on a thread of its own.
        std::function<Clock::time_point()> now = Clock::now;                      ///< Called on both threads.
    };

    /// On the main thread, which is watched from now on by a thread that ends with this.
    explicit MainLoopWatchdog(Settings settings);
    ~MainLoopWatchdog();
    MainLoopWatchdog(const MainLoopWatchdog&) = delete;
    MainLoopWatchdog& operator=(const MainLoopWatchdog&) = delete;

    /// @name Around the handling of each event, on the main thread.
    /// @{
    void begin(const QObject& receiver, const QEvent& event);
    void end();
    /// @}

    /// Names the command that the event being handled has led to. `title` lives as long as the program.
    static void noteCommand(std::string_view title);

    static void writeToStandardError(const std::string& line);

private:
    /// An event that is being handled. The names are those of the toolkit, which stay.
    struct Handled {
        const char* receiver = "";
        const char* owner = nullptr; ///< Of the receiver; null without one.
        int event = 0;
        std::string_view command{};
        Clock::time_point start{}; ///< In this turn.
    };
    enum class Then { waits, goesOn };

    void turn(Then then);
    void watch();
    void noticeStandstill();
    void leave(const Handled& handled, Clock::time_point now);
    Clock::duration spent(Clock::time_point now) const;
    static std::string words(const Handled& handled);
    static std::chrono::nanoseconds work();

    const Settings settings_;
    QObject life_; ///< Ends what is heard of the loop.
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Handled> stack_;             ///< The innermost last.
    std::size_t base_ = 0;                   ///< So many of them were begun before this turn.
    std::optional<Clock::time_point> since_; ///< While something is handled.
    Clock::duration before_{0};              ///< Of this turn, by events that have ended.
    /// @name The same by the main thread's own time, which other programs on the machine do not add to.
    /// @{
    std::chrono::nanoseconds workSince_{0}, workBefore_{0};
    /// @}
    Handled worst_; ///< What took longest of this turn.
    Clock::duration worstLength_{0};
    bool isTold_ = false; ///< This turn.
    std::vector<std::string> lines_;
    bool isDone_ = false;
    std::thread thread_;
};

/// What the environment asks for: `value` is of LARKSPOOL_WATCHDOG, the milliseconds that a turn may take, or 0 for no watchdog;
/// null where it is not set, and then there is one in debug builds alone. What is no such number counts as not set.
std::optional<MainLoopWatchdog::Settings> watchdogSettings(const char* value);

/// The toolkit's application with a watchdog, where one is asked for. Without one it costs nothing.
class WatchedApplication final : public QApplication {
public:
    /// The environment says whether there is a watchdog.
    WatchedApplication(int& count, char** arguments);

    /// With other settings from now on, or without a watchdog. Between events.
    void watch(std::optional<MainLoopWatchdog::Settings> settings);
    bool isWatched() const { return watchdog_ != nullptr; }

    bool notify(QObject* receiver, QEvent* event) override;

private:
    std::unique_ptr<MainLoopWatchdog> watchdog_;
};

} // namespace larkspool
