#pragma once

#include "assistant/messages.h"
#include "document/tween_document.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// What a tool gives back to the model.
struct AssistantToolOutcome {
    std::string content;
    bool isError = false;

    bool operator==(const AssistantToolOutcome&) const = default;
};

/// The document as tools reach it, at the moment they run.
struct AssistantDocument {
    /// Changes a document and tells how many operations that were. What it throws leaves everything as it was.
    using Change = std::function<std::int64_t(TweenDocument& document)>;

    std::function<TweenDocument()> read;

    /// Makes the change on a copy, which takes the document's place as one undoable edit once the change has come to its end.
    /// Throws what the change throws, and then there is no edit and no undo step; nor is there one if nothing is different.
    std::function<std::int64_t(const Change& change)> edit;
};

/// What the model is given to work with. The tools and the prompt are the same in every call.
struct AssistantToolset {
    std::vector<AssistantTool> tools;
    std::string systemPrompt;
    /// Runs the tool of that name. A failure is an outcome: it goes back to the model, which may try again.
    std::function<AssistantToolOutcome(std::string_view name, const JSON& input, const AssistantDocument& document)> execute;
};

} // namespace larkspool
