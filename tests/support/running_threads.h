#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

namespace larkspool {

/// The threads that the system lists for this process right now.
inline std::ptrdiff_t listedThreads()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

/// The threads of this process, those included that a sanitizer starts for itself along with the first one.
inline std::ptrdiff_t runningThreads()
{
    static const bool hasStartedOne = [] {
        std::thread([] {}).join();
        return true;
    }();
    static_cast<void>(hasStartedOne);
    return listedThreads();
}

/// Whether no more than `count` threads run, at the latest a few seconds from now: the system lists a thread for a moment after
/// it was joined.
inline bool areThreadsBackTo(std::ptrdiff_t count)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (listedThreads() > count) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace larkspool
