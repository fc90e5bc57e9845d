#include "assistant/assistant_view.h"
#include "foundation/json_tree.h"

namespace larkspool {

namespace {

constexpr std::string_view keyRejected = "Anthropic rejected the API key. Check Preferences → Assistant.";

std::string friendlyNetworkError(const URLError& error)
{
    switch (error.code()) {
    case URLError::Code::notConnectedToInternet:
    case URLError::Code::networkConnectionLost:
    case URLError::Code::dataNotAllowed: return "No internet connection.";
    case URLError::Code::timedOut: return "Anthropic took too long to respond. Try again, or simplify the request.";
    case URLError::Code::cannotFindHost:
    case URLError::Code::cannotConnectToHost: return "Couldn't reach Anthropic's servers.";
    default: return "Network problem: " + error.localizedDescription();
    }
}

std::string friendlyInvalidRequest(std::string_view message)
{
    const auto contains = [&](std::string_view words) { return message.find(words) != message.npos; };
    if (contains("prompt is too long") || contains("max_tokens"))
        return "The conversation got too long for the model. Start a new chat (trash icon) and retry.";
    if (contains("model:")) return "That model isn't available on your account. Pick another in Preferences.";
    return "Request was malformed: " + std::string(message);
}

/// What the API itself says of a failure.
std::string friendlyAPIError(std::string_view type, std::string_view message)
{
    if (type == "authentication_error" || type == "permission_error") return std::string(keyRejected);
    if (type == "rate_limit_error") return "Anthropic rate-limited the request. Wait a moment and try again.";
    if (type == "overloaded_error") return "Anthropic's servers are busy. Try again in a moment.";
    if (type == "invalid_request_error") return friendlyInvalidRequest(message);
    if (type == "not_found_error") return "Anthropic couldn't find that model. Pick another in Preferences.";
    return "Anthropic error (" + std::string(type) + "): " + std::string(message);
}

/// Nothing if the body holds no error in the form of the API.
std::optional<std::string> friendlyBody(std::string_view body)
{
    try {
        const JsonTree tree(body);
        const std::optional<JsonValue> error = tree.root().find("error");
        if (!error) return std::nullopt;
        const std::optional<JsonValue> type = error->find("type"), message = error->find("message");
        if (!type || !message || !type->string() || !message->string()) return std::nullopt;
        return friendlyAPIError(*type->string(), *message->string());
    } catch (const JsonSyntaxError&) {
        return std::nullopt; // A page of a proxy, or nothing: the status has to do.
    }
}

} // namespace

std::string AssistantView::friendlyHTTP(int status, std::string_view body)
{
    if (std::optional<std::string> told = friendlyBody(body)) return *std::move(told);
    if (status == 401 || status == 403) return std::string(keyRejected);
    if (status == 429) return "Rate limited. Wait a moment and try again.";
    if (status >= 500) return "Anthropic is having server trouble. Try again shortly.";
    return "Anthropic returned an error (HTTP " + std::to_string(status) + ").";
}

std::string AssistantView::friendlyError(const std::exception& error)
{
    if (const auto* network = dynamic_cast<const URLError*>(&error)) return friendlyNetworkError(*network);
    const auto* call = dynamic_cast<const AssistantError*>(&error);
    if (!call) return error.what();

    switch (call->kind()) {
    case AssistantError::Kind::httpError: return friendlyHTTP(call->status(), call->body());
    case AssistantError::Kind::transport: return friendlyError(*call->underlying());
    case AssistantError::Kind::missingAPIKey: return "Add your Anthropic API key in Preferences → Assistant.";
    case AssistantError::Kind::invalidResponse: break;
    }
    return "Anthropic returned something unexpected. Try again.";
}

} // namespace larkspool
