#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace larkspool {

/// A call that was asked for. Destroying it, or assigning to it, ends the calls.
class Observation {
public:
    Observation() = default;
    explicit Observation(std::function<void()> end) : end_(std::move(end)) {}
    Observation(Observation&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Observation& operator=(Observation&& other) noexcept
    {
        if (this != &other) {
            end();
            end_ = std::exchange(other.end_, nullptr);
        }
        return *this;
    }
    ~Observation() { end(); }

    void end()
    {
        if (const std::function<void()> end = std::exchange(end_, nullptr)) end();
    }

private:
    std::function<void()> end_;
};

/// Those who asked to be called. One thread.
///
/// Who is called may add and end observations, its own too: one that was ended is called no more, and one that was added is
/// called from the next time on. An observation may outlive the observers.
template <typename... Arguments>
class Observers {
public:
    using Call = std::function<void(Arguments...)>;

    [[nodiscard]] Observation add(Call call)
    {
        const std::uint64_t place = calls_->next++;
        calls_->byPlace.emplace(place, std::make_shared<const Call>(std::move(call)));
        return Observation([calls = std::weak_ptr(calls_), place] {
            if (const auto kept = calls.lock()) kept->byPlace.erase(place);
        });
    }

    /// Calls all, in the order in which they asked.
    void tell(const Arguments&... arguments) const
    {
        const std::shared_ptr<Calls> calls = calls_; // A call may destroy these observers.
        const std::uint64_t end = calls->next;
        for (std::uint64_t place = 0;;) {
            const auto found = calls->byPlace.lower_bound(place);
            if (found == calls->byPlace.end() || found->first >= end) return;
            const std::shared_ptr<const Call> call = found->second; // It may end itself.
            place = found->first + 1;
            (*call)(arguments...);
        }
    }

private:
    struct Calls {
        std::map<std::uint64_t, std::shared_ptr<const Call>> byPlace;
        std::uint64_t next = 0;
    };

    std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();
};

} // namespace larkspool
