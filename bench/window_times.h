#pragma once

#include "platform/pasteboard.h"
#include "platform/user_defaults.h"
#include "views/editor_window.h"

#include <QApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Windows of the editor without a screen, and how long something takes in them.

namespace larkspool {

inline constexpr int passes = 120;

/// Milliseconds of one call of `pass(i)`: in the middle, what 95 of 100 stay below, and in the middle of the thread's own work,
/// which other programs on the machine do not add to.
struct Times {
    double median = 0, most = 0, work = 0;
};

inline double threadMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

template <typename Pass>
Times timesOf(Pass pass, int count = passes)
{
    std::vector<double> milliseconds, work;
    for (int i = 0; i < count; ++i) {
        const auto start = std::chrono::steady_clock::now();
        const double before = threadMilliseconds();
        pass(i);
        work.push_back(threadMilliseconds() - before);
        milliseconds.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::sort(milliseconds);
    std::ranges::sort(work);
    const std::size_t size = milliseconds.size();
    return {milliseconds[size / 2], milliseconds[size * 95 / 100], work[size / 2]};
}

inline void reportHead()
{
    std::printf("  %-58s   median    95 of 100         work\n", "");
}

inline void report(const char* what, Times times)
{
    std::printf("  %-58s %8.2f ms  %8.2f ms  %8.2f ms\n", what, times.median, times.most, times.work);
}

class MemoryDefaults final : public UserDefaults {
public:
    std::optional<Value> value(std::string_view key) const override
    {
        const auto found = values_.find(key);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }

protected:
    void store(std::string_view key, Value value) override { values_.insert_or_assign(std::string(key), std::move(value)); }
    void discard(std::string_view key) override { values_.erase(values_.find(key)); }

private:
    std::map<std::string, Value, std::less<>> values_;
};

struct World {
    MemoryDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
};

inline std::unique_ptr<EditorWindow> shownWindow(DocumentFile file, World& world, QSize size = {1500, 950})
{
    auto window = std::make_unique<EditorWindow>(std::move(file), world.workspace);
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    window->resize(size);
    window->show();
    QApplication::processEvents();
    return window;
}

} // namespace larkspool
