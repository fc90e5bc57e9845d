#pragma once

namespace larkspool {

/// The modifier keys that are down at the moment of an event.
struct Modifiers {
    bool command = false;
    bool shift = false;
    bool option = false;

    bool operator==(const Modifiers&) const = default;
};

} // namespace larkspool
