#include "platform/machine.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <thread>

namespace larkspool {

namespace {

constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

/// The number that follows `name` in a file of names and numbers, or stands alone in a file if the name is empty.
std::optional<std::int64_t> numberIn(const char* path, const std::string& name)
{
    std::ifstream file(path);
    std::string word;
    std::int64_t number = 0;
    if (name.empty()) return file >> number ? std::optional(number) : std::nullopt;
    while (file >> word)
        if (word == name) return file >> number ? std::optional(number) : std::nullopt;
    return std::nullopt;
}

std::int64_t freeOfTheSystem()
{
    constexpr std::int64_t kibibyte = 1024;
    const std::optional<std::int64_t> kibibytes = numberIn("/proc/meminfo", "MemAvailable:");
    return kibibytes ? *kibibytes * kibibyte : unlimited;
}

/// What a container leaves of its share; one without a limit says so in a word.
std::int64_t freeOfTheContainer()
{
    const std::optional<std::int64_t> limit = numberIn("/sys/fs/cgroup/memory.max", "");
    const std::optional<std::int64_t> used = numberIn("/sys/fs/cgroup/memory.current", "");
    return limit && used ? std::max<std::int64_t>(*limit - *used, 0) : unlimited;
}

} // namespace

Machine Machine::current()
{
    return {.processors = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1),
            .availableBytes = std::min(freeOfTheSystem(), freeOfTheContainer())};
}

} // namespace larkspool
