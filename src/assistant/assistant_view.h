#pragma once

#include "assistant/assistant_session.h"
#include "assistant/assistant_toolset.h"
#include "assistant/client.h"
#include "platform/user_defaults.h"

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// The engine of the conversation. A person's request is sent to the model; the tools that the model asks for are run, and what
/// came of them is sent back, until the model asks for none:
///
///     send ─▶ call ─▶ reply ─▶ tools ─▶ results ─┐     one undo step
///              ▲                                 │     around it all
///              └───────── 12 calls at most ──────┘
///
/// Lives on the main thread, which is free while a reply is awaited: the document may change meanwhile, and tools see it as it is
/// when they run.
class AssistantView {
public:
    /// How many calls of the model one request may take.
    static constexpr int callsPerTurn = 12;

    /// What it needs of the editor around it, which outlives it.
    struct Services {
        AssistantSession& session;
        const UserDefaults& defaults;
        const AssistantClient& client;
        AssistantToolset toolset;
        std::function<TweenDocument()> document;
        std::function<void(TweenDocument document)> setDocument;
        /// Runs a change of the document as one undoable step.
        std::function<void(std::string_view actionName, const std::function<void()>& change)> onMutate;
        /// What is done between the two becomes one undo step of this name; nothing, if nothing was done.
        std::function<void(const std::string& name)> beginUndoGroup;
        std::function<void()> endUndoGroup;
    };

    explicit AssistantView(Services services);
    /// Gives up a request that is being worked on. What it has done to the document stays.
    ~AssistantView();
    AssistantView(const AssistantView&) = delete;
    AssistantView& operator=(const AssistantView&) = delete;

    /// Sends what the session's `input` holds, without blanks and tabs at its ends. Nothing happens if that is nothing, or while
    /// a request is being worked on.
    void send();

    /// Works on the request that stands at the end of the history, under the key and the model that are set now.
    void runAgentLoop(const std::string& undoName);

    /// The name of a request's undo step: "Assistant: " and its first 60 characters, on one line.
    static std::string undoLabel(std::string_view request);

    /// @name A sentence for a person, which says what went wrong and what can be done.
    /// @{
    static std::string friendlyError(const std::exception& error);
    static std::string friendlyHTTP(int status, std::string_view body);
    /// @}

private:
    /// A request that is being worked on.
    struct Turn {
        std::string apiKey;
        std::string model;
        int clearings = 0; ///< Of the conversation when it began.
        int budget = callsPerTurn; ///< Calls that are left, the one under way included.
        URLTask call{};
    };

    void callModel();
    void receive(AssistantClient::Result result);
    void take(const AssistantResponse& response);
    std::vector<AssistantBlock> toolResults(const AssistantResponse& response) const;
    AssistantToolOutcome outcome(const AssistantToolUse& use) const;
    std::int64_t edit(const AssistantDocument::Change& change) const;
    void append(AssistantMessage message);
    void fail(std::string sentence);
    void finish();

    Services services_;
    std::optional<Turn> turn_;
};

} // namespace larkspool
