#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace larkspool {

/// Keeps values until they take up too much: then those that were not asked for since the last time are dropped. Holds at most
/// twice `bytesPerGeneration`, and one value more. For one thread.
template <typename Key, typename Value, typename Hash = std::hash<Key>>
class GenerationCache {
public:
    explicit GenerationCache(std::size_t bytesPerGeneration) : limit_(bytesPerGeneration) {}

    /// The value, or null. Holds until the next call of a member.
    const Value* find(const Key& key)
    {
        if (const auto found = young_.find(key); found != young_.end()) return &found->second.value;
        const auto found = old_.find(key);
        if (found == old_.end()) return nullptr;
        Entry entry = std::move(found->second);
        old_.erase(found);
        return &keep(key, std::move(entry));
    }

    const Value& insert(const Key& key, Value value, std::size_t bytes) { return keep(key, {std::move(value), bytes}); }

private:
    struct Entry {
        Value value;
        std::size_t bytes;
    };

    const Value& keep(const Key& key, Entry entry)
    {
        if (bytes_ + entry.bytes > limit_) {
            old_ = std::exchange(young_, {});
            bytes_ = 0;
        }
        bytes_ += entry.bytes;
        return young_.insert_or_assign(key, std::move(entry)).first->second.value;
    }

    std::size_t limit_;
    std::size_t bytes_ = 0; ///< Of the young.
    std::unordered_map<Key, Entry, Hash> young_;
    std::unordered_map<Key, Entry, Hash> old_;
};

} // namespace larkspool
