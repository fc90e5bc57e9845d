#include "assistant/assistant_view.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Code = URLError::Code;

std::string apiError(const std::string& type, const std::string& message)
{
    return JSON(JSON::Object{{"type", "error"}, {"error", JSON(JSON::Object{{"type", type}, {"message", message}})}}).encoded();
}

TEST(FriendlyError, TellsOfTheNetworkWhatAPersonCanDo)
{
    struct Case {
        Code code;
        std::string sentence;
    };
    for (const Case& c : {
             Case{Code::notConnectedToInternet, "No internet connection."},
             Case{Code::networkConnectionLost, "No internet connection."},
             Case{Code::dataNotAllowed, "No internet connection."},
             Case{Code::timedOut, "Anthropic took too long to respond. Try again, or simplify the request."},
             Case{Code::cannotFindHost, "Couldn't reach Anthropic's servers."},
             Case{Code::cannotConnectToHost, "Couldn't reach Anthropic's servers."},
             Case{Code::serverCertificateUntrusted, "Network problem: The server's certificate is not trusted."},
             Case{Code::replyTooLarge, "Network problem: The server's answer is too large."},
         }) {
        SCOPED_TRACE(c.sentence);
        EXPECT_EQ(AssistantView::friendlyError(URLError(c.code)), c.sentence);
        EXPECT_EQ(AssistantView::friendlyError(AssistantError::transport(URLError(c.code))), c.sentence);
    }
}

TEST(FriendlyError, TellsEveryOtherFailureOfACall)
{
    EXPECT_EQ(AssistantView::friendlyError(AssistantError::missingAPIKey()),
              "Add your Anthropic API key in Preferences → Assistant.");
    EXPECT_EQ(AssistantView::friendlyError(AssistantError::invalidResponse()),
              "Anthropic returned something unexpected. Try again.");
    EXPECT_EQ(AssistantView::friendlyError(AssistantError::httpError(429, "")), "Rate limited. Wait a moment and try again.");
    EXPECT_EQ(AssistantView::friendlyError(std::runtime_error("as it stands")), "as it stands");
}

TEST(FriendlyHTTP, GoesByTheTypeInTheBodyWhateverTheStatus)
{
    const std::string tooLong = "The conversation got too long for the model. Start a new chat (trash icon) and retry.";
    struct Case {
        const char* type;
        const char* message;
        std::string sentence;
    };
    for (const Case& c : {
             Case{"authentication_error", "m", "Anthropic rejected the API key. Check Preferences → Assistant."},
             Case{"permission_error", "m", "Anthropic rejected the API key. Check Preferences → Assistant."},
             Case{"rate_limit_error", "m", "Anthropic rate-limited the request. Wait a moment and try again."},
             Case{"overloaded_error", "m", "Anthropic's servers are busy. Try again in a moment."},
             Case{"not_found_error", "m", "Anthropic couldn't find that model. Pick another in Preferences."},
             Case{"api_error", "Internal", "Anthropic error (api_error): Internal"},
             Case{"", "", "Anthropic error (): "},
             Case{"invalid_request_error", "prompt is too long: 1 > 0", tooLong},
             Case{"invalid_request_error", "model: and max_tokens: 1", tooLong},
             Case{"invalid_request_error", "model: no-such",
                  "That model isn't available on your account. Pick another in Preferences."},
             Case{"invalid_request_error", "Prompt Is Too Long", "Request was malformed: Prompt Is Too Long"},
         }) {
        SCOPED_TRACE(c.sentence);
        for (const int status : {400, 401, 429, 500})
            EXPECT_EQ(AssistantView::friendlyHTTP(status, apiError(c.type, c.message)), c.sentence);
    }
}

TEST(FriendlyHTTP, GoesByTheStatusWhenTheBodySaysNothing)
{
    struct Case {
        int status;
        const char* sentence;
    };
    for (const Case& c : {
             Case{401, "Anthropic rejected the API key. Check Preferences → Assistant."},
             Case{403, "Anthropic rejected the API key. Check Preferences → Assistant."},
             Case{429, "Rate limited. Wait a moment and try again."},
             Case{500, "Anthropic is having server trouble. Try again shortly."},
             Case{529, "Anthropic is having server trouble. Try again shortly."},
             Case{404, "Anthropic returned an error (HTTP 404)."},
             Case{307, "Anthropic returned an error (HTTP 307)."},
         })
        for (const char* body : {"", "<html>", "<binary>", "null", "[]", "{}", R"({"error":"no"})",
                                 R"({"error":{"type":"api_error"}})", R"({"error":{"message":"m"}})",
                                 R"({"error":{"type":5,"message":"m"}})", R"({"error":{"type":"api_error","message":null}})"}) {
            SCOPED_TRACE(body);
            EXPECT_EQ(AssistantView::friendlyHTTP(c.status, body), c.sentence);
        }
}

} // namespace
} // namespace larkspool
