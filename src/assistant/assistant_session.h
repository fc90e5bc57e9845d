#pragma once

#include "assistant/messages.h"
#include "platform/observers.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// The conversation of one editor, which lives as long as the editor does, whether it is seen or not.
struct AssistantSession {
    std::vector<AssistantMessage> history{}; ///< The whole conversation.
    std::string input{};                     ///< The text that is being written.
    bool inFlight = false;                   ///< A request is being worked on.
    std::optional<std::string> lastError{};  ///< Shown below the conversation.

    /// How often the conversation was cleared. What was asked before takes no part in what comes after.
    int clearings = 0;

    Observers<> changed{}; ///< Told after every change but those of `input` by hand.

    /// Starts over: no history and no error.
    void clear()
    {
        history.clear();
        lastError.reset();
        ++clearings;
        changed.tell();
    }
};

} // namespace larkspool
