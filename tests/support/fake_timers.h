#pragma once

#include "platform/timers.h"

#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace larkspool {

/// Timers of a clock that is set by hand.
class FakeTimers final : public Timers {
public:
    double now() const override { return now_; }
    Timer after(double seconds, std::function<void()> fire) override { return start({now_ + seconds, 0, std::move(fire)}); }
    Timer every(double seconds, std::function<void()> fire) override { return start({now_ + seconds, seconds, std::move(fire)}); }

    /// Lets time pass, and fires what falls due on the way, in order.
    void pass(double seconds)
    {
        const double end = now_ + seconds;
        for (;;) {
            auto next = entries_.end();
            for (auto entry = entries_.begin(); entry != entries_.end(); ++entry)
                if (entry->second.due <= end + 1e-9 && (next == entries_.end() || entry->second.due < next->second.due))
                    next = entry;
            if (next == entries_.end()) break;
            now_ = next->second.due;
            const std::function<void()> fire = next->second.fire;
            if (next->second.period > 0)
                next->second.due += next->second.period;
            else
                entries_.erase(next);
            fire();
        }
        now_ = end;
    }
    std::size_t running() const { return entries_.size(); }

private:
    struct Entry {
        double due;
        double period; ///< 0 for one that fires once.
        std::function<void()> fire;
    };

    Timer start(Entry entry)
    {
        const int id = ++last_;
        entries_.emplace(id, std::move(entry));
        return Timer([this, id] { entries_.erase(id); });
    }

    double now_ = 0;
    int last_ = 0;
    std::map<int, Entry> entries_;
};

} // namespace larkspool
