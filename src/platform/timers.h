#pragma once

#include <functional>
#include <utility>

namespace larkspool {

/// A timer that runs. Destroying it, or assigning to it, stops it.
class Timer {
public:
    Timer() = default;
    explicit Timer(std::function<void()> stop) : stop_(std::move(stop)) {}
    Timer(Timer&& other) noexcept : stop_(std::exchange(other.stop_, nullptr)) {}
    Timer& operator=(Timer&& other) noexcept
    {
        if (this != &other) {
            stop();
            stop_ = std::exchange(other.stop_, nullptr);
        }
        return *this;
    }
    ~Timer() { stop(); }

    void stop()
    {
        if (const std::function<void()> stop = std::exchange(stop_, nullptr)) stop();
    }
    /// Whether it was started and not stopped. One that fires once still counts as started when it has fired.
    explicit operator bool() const { return static_cast<bool>(stop_); }

private:
    std::function<void()> stop_;
};

/// The timers of the main thread's run loop, and its clock. Fires on the main thread only.
class Timers {
public:
    virtual ~Timers() = default;

    /// Seconds of a clock that never goes back, from any beginning.
    virtual double now() const = 0;
    /// Fires once, `seconds` from now. `fire` may stop or replace the timer that fires.
    [[nodiscard]] virtual Timer after(double seconds, std::function<void()> fire) = 0;
    /// Fires every `seconds` from now, until stopped.
    [[nodiscard]] virtual Timer every(double seconds, std::function<void()> fire) = 0;
};

} // namespace larkspool
