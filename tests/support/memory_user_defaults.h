#pragma once

#include "platform/user_defaults.h"

#include <functional>
#include <map>
#include <utility>

namespace larkspool {

/// Settings that are gone with the object.
class MemoryUserDefaults final : public UserDefaults {
public:
    MemoryUserDefaults() = default;
    explicit MemoryUserDefaults(std::map<std::string, Value, std::less<>> values) : values_(std::move(values)) {}

    std::optional<Value> value(std::string_view key) const override
    {
        const auto found = values_.find(key);
        if (found == values_.end()) return std::nullopt;
        return found->second;
    }
    void set(std::string_view key, Value value) override { values_.insert_or_assign(std::string(key), std::move(value)); }
    void remove(std::string_view key) override
    {
        if (const auto found = values_.find(key); found != values_.end()) values_.erase(found);
    }

private:
    std::map<std::string, Value, std::less<>> values_;
};

} // namespace larkspool
