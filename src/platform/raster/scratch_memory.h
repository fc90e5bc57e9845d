#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace larkspool {

/// Zeroed memory for the length of one paint. What a thread has used it uses again, as fresh memory of this size costs the
/// system more than it takes to paint in it. A few pieces of moderate size are kept for each thread.
template <typename T>
class ScratchMemory {
public:
    ScratchMemory() = default;
    explicit ScratchMemory(std::size_t count)
    {
        std::vector<std::vector<T>>& kept = pool();
        if (!kept.empty()) {
            memory_ = std::move(kept.back());
            kept.pop_back();
        }
        memory_.assign(count, T{});
    }
    ~ScratchMemory()
    {
        std::vector<std::vector<T>>& kept = pool();
        if (memory_.capacity() > 0 && memory_.capacity() * sizeof(T) <= greatestKeptBytes && kept.size() < greatestKeptCount)
            kept.push_back(std::move(memory_));
    }
    ScratchMemory(ScratchMemory&& other) noexcept = default;
    ScratchMemory& operator=(ScratchMemory&& other) noexcept
    {
        std::swap(memory_, other.memory_);
        return *this;
    }

    T* data() { return memory_.data(); }
    const T* data() const { return memory_.data(); }
    std::size_t size() const { return memory_.size(); }
    T& operator[](std::size_t index) { return memory_[index]; }
    const T& operator[](std::size_t index) const { return memory_[index]; }

private:
    static constexpr std::size_t greatestKeptBytes = std::size_t{4} << 20;
    static constexpr std::size_t greatestKeptCount = 4;

    static std::vector<std::vector<T>>& pool()
    {
        thread_local std::vector<std::vector<T>> kept = [] {
            std::vector<std::vector<T>> empty;
            empty.reserve(greatestKeptCount);
            return empty;
        }();
        return kept;
    }

    std::vector<T> memory_;
};

} // namespace larkspool
