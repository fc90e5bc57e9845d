#pragma once

#include "platform/observers.h"

#include <any>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace larkspool {

/// What is told to everyone who listens for its name.
struct Notification {
    std::string_view name;
    std::any payload{}; ///< What goes with it, of a type that belongs to the name; nothing for most.

    /// The payload, or null if it is of another type.
    template <typename T>
    const T* as() const
    {
        return std::any_cast<T>(&payload);
    }
};

/// Carries notifications from who posts them to who listens for their name, at once, in the order in which they began to listen.
/// Main thread only.
class NotificationCenter {
public:
    using Receive = std::function<void(const Notification&)>;

    [[nodiscard]] Observation addObserver(std::string_view name, Receive receive);
    void post(std::string_view name, std::any payload = {}) const;

private:
    std::map<std::string, Observers<Notification>, std::less<>> observers_;
};

} // namespace larkspool
