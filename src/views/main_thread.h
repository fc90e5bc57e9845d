#pragma once

#include "platform/run_loop.h"
#include "platform/timers.h"

#include <QElapsedTimer>
#include <QObject>

namespace larkspool {

/// The timers of the toolkit's event loop. What they do is told to `fired` afterwards, so that windows show it.
class EventLoopTimers final : public Timers {
public:
    explicit EventLoopTimers(std::function<void()> fired = {});

    double now() const override;
    Timer after(double seconds, std::function<void()> fire) override;
    Timer every(double seconds, std::function<void()> fire) override;

private:
    Timer start(double seconds, bool fireOnce, std::function<void()> fire);

    std::function<void()> fired_;
    QElapsedTimer clock_;
};

/// Work handed over to the event loop of the main thread.
class EventLoop final : public RunLoop {
public:
    void post(std::function<void()> step) override;

private:
    QObject receiver_;
};

} // namespace larkspool
