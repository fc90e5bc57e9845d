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

protected:
    void store(std::string_view key, Value value) override { values_.insert_or_assign(std::string(key), std::move(value)); }
    void discard(std::string_view key) override { values_.erase(values_.find(key)); }

private:
    std::map<std::string, Value, std::less<>> values_;
};

} // namespace larkspool
