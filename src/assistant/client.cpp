#include "assistant/client.h"

#include "foundation/text.h"

#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

constexpr double connectSeconds = 60;

bool isUTF8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = wellFormedLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

/// What came back, with the key made unreadable: a server that repeats what it was sent must not bring the key before anyone's
/// eyes. A word too short to be a key stays, so that it does not tear up everything.
std::string withoutKey(std::string text, std::string_view apiKey)
{
    constexpr std::size_t shortestKey = 8;
    if (apiKey.size() < shortestKey) return text;
    for (std::size_t found = 0; (found = text.find(apiKey, found)) != text.npos;) text.replace(found, apiKey.size(), "[key]");
    return text;
}

AssistantClient::Result understood(URLResult result, std::string_view apiKey)
{
    if (auto* error = std::get_if<URLError>(&result)) return AssistantError::transport(std::move(*error));
    URLReply& reply = std::get<URLReply>(result);
    if (!reply.statusCode) return AssistantError::invalidResponse();

    const std::string body = withoutKey(std::move(reply.body), apiKey);
    constexpr int firstSuccess = 200, lastSuccess = 299;
    if (*reply.statusCode < firstSuccess || *reply.statusCode > lastSuccess)
        return AssistantError::httpError(*reply.statusCode, isUTF8(body) ? body : "<binary>");
    try {
        return decodedResponse(body);
    } catch (const AssistantError& error) {
        return error;
    }
}

} // namespace

AssistantError AssistantError::httpError(int status, std::string body)
{
    AssistantError error(Kind::httpError, fmt::format("Anthropic API HTTP {}: {}", status, body));
    error.status_ = status;
    error.body_ = std::move(body);
    return error;
}

AssistantError AssistantError::transport(URLError underlying)
{
    AssistantError error(Kind::transport, "Network: " + underlying.localizedDescription());
    error.underlying_ = std::move(underlying);
    return error;
}

AssistantError AssistantError::missingAPIKey()
{
    return {Kind::missingAPIKey, "No API key set. Open Preferences → Assistant to add one."};
}

AssistantError AssistantError::invalidResponse()
{
    return {Kind::invalidResponse, "Couldn't parse the Anthropic response."};
}

AssistantClient::AssistantClient(RunLoop& runLoop, std::string endpoint)
    : AssistantClient(std::make_unique<CurlURLSession>(runLoop, sessionConfiguration()), std::move(endpoint))
{}

AssistantClient::AssistantClient(std::unique_ptr<URLSession> session, std::string endpoint)
    : session_(std::move(session)), endpoint_(std::move(endpoint))
{}

URLSessionConfiguration AssistantClient::sessionConfiguration()
{
    return {.timeoutIntervalForRequest = 300, .timeoutIntervalForResource = 600};
}

URLTask AssistantClient::complete(const Call& call, Completion completion) const
{
    if (call.apiKey.empty()) throw AssistantError::missingAPIKey();

    const std::string apiKey(call.apiKey);
    URLRequest request{
        .url = endpoint_,
        .timeoutInterval = connectSeconds,
        .headers = {{"content-type", "application/json"}, {"x-api-key", apiKey}, {"anthropic-version", "2023-06-01"}},
        .body = encodedRequestBody(call)};
    return session_->dataTask(std::move(request), [apiKey, completion = std::move(completion)](URLResult result) {
        completion(understood(std::move(result), apiKey));
    });
}

} // namespace larkspool
