#include "assistant/assistant_view.h"

#include "assistant/white_space.h"
#include "foundation/text.h"

#include <cassert>
#include <utility>

namespace larkspool {

namespace {

constexpr std::string_view editName = "Assistant edit";
constexpr std::string_view hitLimit =
    "You hit the per-turn output limit. Continue where you left off — the tool ran successfully.";
constexpr std::string_view wasCutOff = "Response was cut off at the token limit. Send 'continue' to keep going.";

/// The words with one blank between them.
std::string onOneLine(std::string_view text)
{
    std::string line;
    bool isBehindWord = false;
    while (!text.empty()) {
        const std::size_t space = leadingWhiteSpaceCharacter(text);
        if (space == 0) {
            if (!isBehindWord && !line.empty()) line += ' ';
            line += text.front();
        }
        isBehindWord = space == 0;
        text.remove_prefix(space == 0 ? 1 : space);
    }
    return line;
}

} // namespace

AssistantView::AssistantView(Services services) : services_(std::move(services)) {}

AssistantView::~AssistantView()
{
    if (turn_) finish();
}

void AssistantView::send()
{
    AssistantSession& session = services_.session;
    const std::string request(withoutOuterBlanks(session.input));
    if (request.empty() || session.inFlight) return;

    session.input.clear();
    session.lastError.reset();
    append({.role = AssistantMessage::Role::user, .content = {AssistantText{request}}});
    runAgentLoop(undoLabel(request));
}

std::string AssistantView::undoLabel(std::string_view request)
{
    constexpr std::size_t longest = 60;
    const std::string line = onOneLine(request);
    if (line.empty()) return "Assistant Edit";
    const std::string_view shown = firstCharacters(line, longest);
    return "Assistant: " + std::string(shown) + (shown.size() < line.size() ? "…" : "");
}

void AssistantView::runAgentLoop(const std::string& undoName)
{
    assert(!turn_);
    AssistantSession& session = services_.session;
    turn_ = Turn{.apiKey = services_.defaults.string(DefaultsKey::assistantAPIKey),
                 .model = services_.defaults.string(DefaultsKey::assistantModel),
                 .clearings = session.clearings};
    session.inFlight = true;
    session.changed.tell();
    services_.beginUndoGroup(undoName);
    callModel();
}

void AssistantView::callModel()
{
    const AssistantToolset& toolset = services_.toolset;
    try {
        turn_->call = services_.client.complete({.messages = services_.session.history,
                                                 .tools = toolset.tools,
                                                 .system = toolset.systemPrompt,
                                                 .model = turn_->model,
                                                 .apiKey = turn_->apiKey},
                                                [this](AssistantClient::Result result) { receive(std::move(result)); });
    } catch (const std::exception& error) {
        fail(friendlyError(error));
    }
}

void AssistantView::receive(AssistantClient::Result result)
{
    // An answer to a conversation that is gone has nowhere to stand.
    if (services_.session.clearings != turn_->clearings) return finish();
    if (const auto* error = std::get_if<AssistantError>(&result)) return fail(friendlyError(*error));
    take(std::get<AssistantResponse>(result));
}

void AssistantView::take(const AssistantResponse& response)
{
    const bool isCutOff = response.stopReason == AssistantResponse::StopReason::maxTokens;
    append({.role = AssistantMessage::Role::assistant, .content = response.content});

    std::vector<AssistantBlock> results = toolResults(response);
    if (results.empty()) {
        if (isCutOff) services_.session.lastError = wasCutOff;
        return finish();
    }
    if (isCutOff) results.push_back(AssistantText{std::string(hitLimit)});
    append({.role = AssistantMessage::Role::user, .content = std::move(results)});
    if (turn_->budget < 2) return finish();
    --turn_->budget;
    callModel();
}

std::vector<AssistantBlock> AssistantView::toolResults(const AssistantResponse& response) const
{
    std::vector<AssistantBlock> results;
    for (const AssistantBlock& block : response.content) {
        const auto* use = std::get_if<AssistantToolUse>(&block);
        if (!use) continue;
        AssistantToolOutcome result = outcome(*use);
        results.push_back(AssistantToolResult{use->id, std::move(result.content), result.isError});
    }
    return results;
}

AssistantToolOutcome AssistantView::outcome(const AssistantToolUse& use) const
{
    const AssistantDocument document{.read = services_.document,
                                     .edit = [this](const AssistantDocument::Change& change) { return edit(change); }};
    try {
        return services_.toolset.execute(use.name, use.input, document);
    } catch (const std::exception& error) {
        return {.content = error.what(), .isError = true}; // Told to the model, which may find another way.
    }
}

std::int64_t AssistantView::edit(const AssistantDocument::Change& change) const
{
    const TweenDocument before = services_.document();
    TweenDocument copy = before;
    const std::int64_t operations = change(copy);
    if (copy != before) services_.onMutate(editName, [&] { services_.setDocument(std::move(copy)); });
    return operations;
}

void AssistantView::append(AssistantMessage message)
{
    services_.session.history.push_back(std::move(message));
    services_.session.changed.tell();
}

void AssistantView::fail(std::string sentence)
{
    services_.session.lastError = std::move(sentence);
    finish();
}

void AssistantView::finish()
{
    services_.endUndoGroup();
    turn_.reset();
    services_.session.inFlight = false;
    services_.session.changed.tell();
}

} // namespace larkspool
