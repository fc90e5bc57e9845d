#include "views/main_thread.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace larkspool {

EventLoopTimers::EventLoopTimers(std::function<void()> fired) : fired_(std::move(fired))
{
    clock_.start();
}

double EventLoopTimers::now() const
{
    return static_cast<double>(clock_.nsecsElapsed()) * 1e-9;
}

Timer EventLoopTimers::after(double seconds, std::function<void()> fire)
{
    return start(seconds, true, std::move(fire));
}

Timer EventLoopTimers::every(double seconds, std::function<void()> fire)
{
    return start(seconds, false, std::move(fire));
}

Timer EventLoopTimers::start(double seconds, bool fireOnce, std::function<void()> fire)
{
    using namespace std::chrono;
    QTimer* timer = new QTimer;
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(fireOnce);
    // What fires may stop its own timer, which then lives on until the loop turns.
    QObject::connect(timer, &QTimer::timeout, timer, [fire = std::move(fire), fired = fired_] {
        fire();
        if (fired) fired();
    });
    timer->start(milliseconds(static_cast<int>(std::clamp(seconds * 1000, 0.0, 1e9))));
    return Timer([timer] {
        timer->stop();
        timer->deleteLater();
    });
}

void EventLoop::post(std::function<void()> step)
{
    QMetaObject::invokeMethod(&receiver_, std::move(step), Qt::QueuedConnection);
}

} // namespace larkspool
