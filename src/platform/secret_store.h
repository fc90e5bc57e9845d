#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// Where the desktop keeps a person's secrets. It may ask the person first, so that answers come later, on the thread that
/// asked, or never where the program ends before.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    /// Answers with what is kept under the name, empty if that is nothing; with nothing where there is no store, or it refuses.
    virtual void read(std::string_view name, std::function<void(std::optional<std::string> secret)> answer) = 0;
    /// Keeps the secret in place of an earlier one; an empty one only takes the earlier one away. Answers whether it is so now.
    virtual void write(std::string_view name, std::string_view secret, std::function<void(bool isDone)> answer) = 0;
};

} // namespace larkspool
