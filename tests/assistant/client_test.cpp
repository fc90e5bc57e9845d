#include "assistant/client.h"

#include "assistant/assistant_endpoint.h"
#include "support/hand_run_loop.h"
#include "support/loopback_server.h"
#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {
namespace {

using namespace std::chrono_literals;
using Kind = AssistantError::Kind;
using Role = AssistantMessage::Role;
using StopReason = AssistantResponse::StopReason;

const std::string key = "key-0123456789-abcdefghij";
const AssistantTool readTool{"read", "Reads.", JSON::Object{{"type", "object"}}};
const AssistantTool writeTool{"write", "Writes.", JSON::Object{{"type", "object"}}};

// ---------------------------------------------------------------- what is sent

TEST(AssistantRequest, TheSystemPromptAndTheLastToolAreMarkedToBeKept)
{
    const std::vector<AssistantMessage> messages{{.role = Role::user, .content = {AssistantText{"Hi"}}}};
    const std::vector<AssistantTool> tools{readTool, writeTool};
    EXPECT_EQ(
        encodedRequestBody({.messages = messages, .tools = tools, .system = "Be brief.", .model = "m", .apiKey = key}),
        R"({"max_tokens":16384,)"
        R"("messages":[{"content":[{"text":"Hi","type":"text"}],"role":"user"}],)"
        R"("model":"m",)"
        R"("system":[{"cache_control":{"type":"ephemeral"},"text":"Be brief.","type":"text"}],)"
        R"("tools":[{"description":"Reads.","input_schema":{"type":"object"},"name":"read"},)"
        R"({"cache_control":{"type":"ephemeral"},"description":"Writes.","input_schema":{"type":"object"},"name":"write"}]})");
}

TEST(AssistantRequest, WithoutToolsThereIsAnEmptyListAndTheSystemPromptKeepsItsMark)
{
    EXPECT_EQ(encodedRequestBody({.system = "s", .model = "m", .apiKey = key, .maxTokens = 7}),
              R"({"max_tokens":7,"messages":[],"model":"m",)"
              R"("system":[{"cache_control":{"type":"ephemeral"},"text":"s","type":"text"}],"tools":[]})");
}

TEST(AssistantRequest, EveryKindOfBlockHasItsOwnMembersAndNoOthers)
{
    const std::vector<AssistantMessage> messages{
        {.role = Role::user, .content = {AssistantText{"Line \"1\"\n\u00E9"}}},
        {.role = Role::assistant,
         .content = {AssistantText{""}, AssistantToolUse{"t1", "write", JSON::decode(R"({"n":null,"list":[1,2.5]})")}}},
        {.role = Role::user, .content = {AssistantToolResult{"t1", "done", false}, AssistantToolResult{"t2", "no", true}}},
    };
    EXPECT_EQ(encodedRequestBody({.messages = messages, .system = "", .model = "", .apiKey = key}),
              R"({"max_tokens":16384,"messages":[)"
              "{\"content\":[{\"text\":\"Line \\\"1\\\"\\n\u00E9\",\"type\":\"text\"}],\"role\":\"user\"},"
              R"({"content":[{"text":"","type":"text"},)"
              R"({"id":"t1","input":{"list":[1,2.5],"n":null},"name":"write","type":"tool_use"}],"role":"assistant"},)"
              R"({"content":[{"content":"done","tool_use_id":"t1","type":"tool_result"},)"
              R"({"content":"no","is_error":true,"tool_use_id":"t2","type":"tool_result"}],"role":"user"}],)"
              R"("model":"","system":[{"cache_control":{"type":"ephemeral"},"text":"","type":"text"}],"tools":[]})");
}

TEST(AssistantRequest, WhatAReplyHeldCanBeSentBackHoweverDeepItIsNested)
{
    const std::size_t levels = JSON::deepestNesting - 1;
    const std::string deep = std::string(levels, '[') + std::string(levels, ']');
    const AssistantResponse response =
        decodedResponse(R"({"content":[{"type":"tool_use","id":"i","name":"n","input":{"a":)" + deep + "}}]}");
    const std::vector<AssistantMessage> messages{{.role = Role::assistant, .content = response.content}};
    EXPECT_THAT(encodedRequestBody({.messages = messages, .system = "", .model = "", .apiKey = key}), testing::HasSubstr(deep));
}

// ---------------------------------------------------------------- what is received

TEST(AssistantReply, TextAndToolsArriveInOrderWithReasonAndUsage)
{
    const AssistantResponse response = decodedResponse(R"({"id":"msg_1","type":"message","role":"assistant","content":[
        {"type":"text","text":"Let me look."},
        {"type":"tool_use","id":"t1","name":"get_document","input":{}},
        {"type":"tool_use","id":"t2","name":"apply_patch","input":{"operations":[{"op":"x"}]}}],
        "stop_reason":"tool_use","stop_sequence":null,
        "usage":{"input_tokens":1,"output_tokens":2,"cache_read_input_tokens":3,"cache_creation_input_tokens":4,"tier":"a"}})");
    EXPECT_EQ(response,
              (AssistantResponse{
                  .content = {AssistantText{"Let me look."}, AssistantToolUse{"t1", "get_document", JSON::Object{}},
                              AssistantToolUse{"t2", "apply_patch", JSON::decode(R"({"operations":[{"op":"x"}]})")}},
                  .stopReason = StopReason::toolUse,
                  .usage = {.inputTokens = 1, .outputTokens = 2, .cacheReadInputTokens = 3, .cacheCreationInputTokens = 4}}));
}

TEST(AssistantReply, BlocksOfOtherKindsArePassedOver)
{
    const AssistantResponse response = decodedResponse(R"({"content":[
        {"type":"text","text":"one"},
        {"type":"thinking","thinking":"Hm.","signature":"s"},
        {"type":"later_kind","content":[{"deep":1}],"text":5,"id":{},"is_error":"yes"},
        {"type":"tool_result","tool_use_id":"t","content":"c"},
        {"type":"","text":"none"},
        {"type":"text","text":"two"}]})");
    EXPECT_THAT(response.content, testing::ElementsAre(AssistantText{"one"}, AssistantText{"two"}));
}

TEST(AssistantReply, WhatIsAbsentOrNullFallsBack)
{
    struct Case {
        const char* when;
        const char* block;
        std::vector<AssistantBlock> content;
    };
    for (const Case& c : {
             Case{"no text", R"({"type":"text"})", {AssistantText{""}}},
             Case{"null text", R"({"type":"text","text":null})", {AssistantText{""}}},
             Case{"no input", R"({"type":"tool_use","id":"i","name":"n"})", {AssistantToolUse{"i", "n", JSON::Object{}}}},
             Case{"null input",
                  R"({"type":"tool_use","id":"i","name":"n","input":null})",
                  {AssistantToolUse{"i", "n", JSON::Object{}}}},
             Case{"an input of any shape",
                  R"({"type":"tool_use","id":"i","name":"n","input":3})",
                  {AssistantToolUse{"i", "n", 3}}},
             Case{"empty id and name",
                  R"({"type":"tool_use","id":"","name":"","input":{}})",
                  {AssistantToolUse{"", "", JSON::Object{}}}},
             Case{"no id", R"({"type":"tool_use","name":"n","input":{}})", {}},
             Case{"no name", R"({"type":"tool_use","id":"i","input":{}})", {}},
             Case{"null name", R"({"type":"tool_use","id":"i","name":null,"input":{}})", {}},
         }) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(decodedResponse(R"({"content":[)" + std::string(c.block) + "]}"), AssistantResponse{.content = c.content});
    }
}

TEST(AssistantReply, AReasonThatIsUnknownOrMissingIsOther)
{
    struct Case {
        const char* member;
        StopReason reason;
    };
    for (const Case& c : {
             Case{R"(,"stop_reason":"end_turn")", StopReason::endTurn},
             Case{R"(,"stop_reason":"max_tokens")", StopReason::maxTokens},
             Case{R"(,"stop_reason":"tool_use")", StopReason::toolUse},
             Case{R"(,"stop_reason":"stop_sequence")", StopReason::stopSequence},
             Case{R"(,"stop_reason":"other")", StopReason::other},
             Case{R"(,"stop_reason":"pause_turn")", StopReason::other},
             Case{R"(,"stop_reason":"")", StopReason::other},
             Case{R"(,"stop_reason":null)", StopReason::other},
             Case{"", StopReason::other},
         }) {
        SCOPED_TRACE(c.member);
        EXPECT_EQ(decodedResponse(R"({"content":[])" + std::string(c.member) + "}").stopReason, c.reason);
    }
}

TEST(AssistantReply, UsageThatIsMissingIsZero)
{
    for (const char* member : {"", R"(,"usage":null)", R"(,"usage":{})", R"(,"usage":{"input_tokens":null})"}) {
        SCOPED_TRACE(member);
        EXPECT_EQ(decodedResponse(R"({"content":[])" + std::string(member) + "}").usage, AssistantResponse::Usage{});
    }
    EXPECT_EQ(decodedResponse(R"({"content":[],"usage":{"output_tokens":5}})").usage,
              (AssistantResponse::Usage{.outputTokens = 5}));
}

TEST(AssistantReply, WhatIsNoResponseIsInvalid)
{
    for (const std::string& body : {
             std::string(),
             std::string("<html>"),
             std::string("{\"content\":["),
             std::string("null"),
             std::string("[]"),
             std::string("{}"),
             std::string(R"({"content":null})"),
             std::string(R"({"content":"text"})"),
             std::string(R"({"content":{"type":"text"}})"),
             std::string(R"({"content":[5]})"),
             std::string(R"({"content":[null]})"),
             std::string(R"({"content":[{}]})"),
             std::string(R"({"content":[{"type":5}]})"),
             std::string(R"({"content":[{"type":null}]})"),
             std::string(R"({"content":[{"type":"text","text":5}]})"),
             std::string(R"({"content":[{"type":"tool_use","id":5,"name":"n"}]})"),
             std::string(R"({"content":[{"type":"tool_use","id":"i","name":[]}]})"),
             std::string(R"({"content":[{"type":"tool_use","id":"i","name":"n","input":1e999}]})"),
             std::string(R"({"content":[],"stop_reason":5})"),
             std::string(R"({"content":[],"usage":5})"),
             std::string(R"({"content":[],"usage":{"input_tokens":"5"}})"),
             std::string(R"({"content":[],"usage":{"input_tokens":1.5}})"),
             std::string(R"({"content":[]} more)"),
             std::string("{\"content\":[{\"type\":\"text\",\"text\":\"\xFF\"}]}"),
             R"({"content":[{"type":"tool_use","id":"i","name":"n","input":)" + std::string(505, '[') + std::string(505, ']') +
                 "}]}",
         }) {
        SCOPED_TRACE(body);
        try {
            decodedResponse(body);
            ADD_FAILURE() << "was read";
        } catch (const AssistantError& error) {
            EXPECT_EQ(error.kind(), Kind::invalidResponse);
        }
    }
}

TEST(AssistantReply, AnyBytesGiveAResponseOrAnError)
{
    EXPECT_TRUE(rc::check([](std::string body) {
        try {
            decodedResponse(body);
        } catch (const AssistantError& error) {
            RC_ASSERT(error.kind() == Kind::invalidResponse);
        }
    }));
}

TEST(AssistantErrors, HaveASentenceForAPerson)
{
    EXPECT_EQ(AssistantError::httpError(429, "slow down").errorDescription(), "Anthropic API HTTP 429: slow down");
    EXPECT_EQ(AssistantError::transport(URLError(URLError::Code::timedOut)).errorDescription(),
              "Network: " + URLError(URLError::Code::timedOut).localizedDescription());
    EXPECT_EQ(AssistantError::missingAPIKey().errorDescription(), "No API key set. Open Preferences → Assistant to add one.");
    EXPECT_EQ(AssistantError::invalidResponse().errorDescription(), "Couldn't parse the Anthropic response.");
}

// ---------------------------------------------------------------- over the network

/// A client of a server on this machine.
class AssistantClientTest : public testing::Test {
protected:
    LoopbackServer server;
    HandRunLoop runLoop;
    URLSessionConfiguration configuration{.timeoutIntervalForRequest = 10, .timeoutIntervalForResource = 20};

    AssistantClient::Result complete(std::string_view apiKey = key)
    {
        const AssistantClient client(std::make_unique<CurlURLSession>(runLoop, configuration),
                                     assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port())));
        const std::vector<AssistantMessage> messages{{.role = Role::user, .content = {AssistantText{"Hi"}}}};
        std::optional<AssistantClient::Result> result;
        const URLTask task = client.complete({.messages = messages, .system = "s", .model = "m", .apiKey = apiKey},
                                             [&](AssistantClient::Result told) { result = std::move(told); });
        if (!runLoop.turnUntil([&] { return result.has_value(); })) throw std::runtime_error("no result");
        return *result;
    }
    AssistantError failure(std::string_view apiKey = key) { return std::get<AssistantError>(complete(apiKey)); }
};

TEST_F(AssistantClientTest, TheRequestIsThisByByte)
{
    server.play(httpReply(200, R"({"content":[{"type":"text","text":"Hello."}],"stop_reason":"end_turn"})"));
    const AssistantClient::Result result = complete();
    EXPECT_EQ(std::get<AssistantResponse>(result),
              (AssistantResponse{.content = {AssistantText{"Hello."}}, .stopReason = StopReason::endTurn}));

    const std::string body =
        R"({"max_tokens":16384,"messages":[{"content":[{"text":"Hi","type":"text"}],"role":"user"}],)"
        R"("model":"m","system":[{"cache_control":{"type":"ephemeral"},"text":"s","type":"text"}],"tools":[]})";
    EXPECT_THAT(server.requests(), testing::ElementsAre("POST /v1/messages HTTP/1.1\r\n"
                                                        "Host: 127.0.0.1:" +
                                                        std::to_string(server.port()) +
                                                        "\r\n"
                                                        "Accept: */*\r\n"
                                                        "content-type: application/json\r\n"
                                                        "x-api-key: key-0123456789-abcdefghij\r\n"
                                                        "anthropic-version: 2023-06-01\r\n"
                                                        "Content-Length: " +
                                                        std::to_string(body.size()) +
                                                        "\r\n"
                                                        "\r\n" +
                                                        body));
}

TEST_F(AssistantClientTest, WithoutAKeyItThrowsAtOnceAndNothingIsSent)
{
    try {
        (void)complete("");
        ADD_FAILURE() << "was sent";
    } catch (const AssistantError& error) {
        EXPECT_EQ(error.kind(), Kind::missingAPIKey);
    }
    EXPECT_EQ(server.connections(), 0u);
}

TEST_F(AssistantClientTest, AStatusThatIsNoSuccessIsToldWithItsBodyUnchanged)
{
    const std::string told = R"({"type":"error","error":{"type":"rate_limit_error","message":"é"}})";
    for (const int status : {300, 400, 401, 403, 404, 429, 500, 529})
        for (const std::string& body : {told, std::string(), std::string("<html>busy</html>")}) {
            SCOPED_TRACE(std::to_string(status) + body);
            server.play(httpReply(status, body));
            const AssistantError error = failure();
            EXPECT_EQ(error.kind(), Kind::httpError);
            EXPECT_EQ(error.status(), status);
            EXPECT_EQ(error.body(), body);
        }
}

TEST_F(AssistantClientTest, ABodyThatIsNoTextIsCalledBinary)
{
    server.play(httpReply(500, "\xFF\xFE\x01"));
    EXPECT_EQ(failure().body(), "<binary>");
}

TEST_F(AssistantClientTest, EverySuccessIsRead)
{
    for (const int status : {200, 201, 299}) {
        SCOPED_TRACE(status);
        server.play(httpReply(status, R"({"content":[]})"));
        EXPECT_TRUE(std::holds_alternative<AssistantResponse>(complete()));
    }
}

TEST_F(AssistantClientTest, AReplyThatIsNotUnderstoodIsInvalid)
{
    for (const std::string& reply : {
             httpReply(200, ""),
             httpReply(200, "<html>"),
             httpReply(204, ""),
             httpReply(200, "{\"content\":[{\"type\":\"\xFF\"}]}"),
             std::string("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{\"content\":[]}"), // The length cuts it short.
             std::string("220 mail.example.com ESMTP\r\n"),
         }) {
        SCOPED_TRACE(reply);
        server.play(reply);
        EXPECT_EQ(failure().kind(), Kind::invalidResponse);
    }
}

TEST_F(AssistantClientTest, WhatIsNotHeardToTheEndIsAFailureOfTransport)
{
    using End = LoopbackServer::Script::End;
    configuration.timeoutIntervalForRequest = 0.2;
    struct Case {
        const char* when;
        LoopbackServer::Script script;
        URLError::Code code;
    };
    const std::string megabyte(std::size_t{1} << 20, ' ');
    for (const Case& c : {
             Case{"nothing at all", {}, URLError::Code::networkConnectionLost},
             Case{"cut off",
                  {.pieces = {{"HTTP/1.1 200 OK\r\nContent-Length: 90\r\n\r\n{\"content\""}}},
                  URLError::Code::networkConnectionLost},
             Case{"silence", {.end = End::hold}, URLError::Code::timedOut},
             Case{"50 MB",
                  {.pieces = {{"HTTP/1.1 200 OK\r\n\r\n"}, {.bytes = megabyte, .times = 50}}},
                  URLError::Code::replyTooLarge},
         }) {
        SCOPED_TRACE(c.when);
        server.play(c.script);
        const AssistantError error = failure();
        ASSERT_EQ(error.kind(), Kind::transport);
        EXPECT_EQ(error.underlying()->code(), c.code);
    }
}

TEST_F(AssistantClientTest, AReplyInSlowPiecesIsRead)
{
    const std::string reply = httpReply(200, R"({"content":[{"type":"text","text":"Hello."}]})");
    LoopbackServer::Script script;
    for (std::size_t i = 0; i < reply.size(); i += 10) script.pieces.push_back({reply.substr(i, 10), 5ms});
    server.play(script);
    EXPECT_THAT(std::get<AssistantResponse>(complete()).content, testing::ElementsAre(AssistantText{"Hello."}));
}

TEST_F(AssistantClientTest, TheKeyDoesNotFollowARedirect)
{
    LoopbackServer elsewhere;
    server.play(httpReply(307, "", "Location: " + elsewhere.url("/v1/messages") + "\r\n"));
    EXPECT_EQ(failure().status(), 307);
    EXPECT_EQ(elsewhere.connections(), 0u);
}

TEST_F(AssistantClientTest, AKeyThatTheServerRepeatsReachesNobody)
{
    server.play(httpReply(401, R"({"error":{"type":"odd","message":"bad key )" + key + R"("}})"));
    const AssistantError error = failure();
    EXPECT_EQ(error.body(), R"({"error":{"type":"odd","message":"bad key [key]"}})");
    EXPECT_EQ(error.errorDescription().find(key), std::string::npos);

    server.play(httpReply(200, R"({"content":[{"type":"text","text":")" + key + "/" + key + R"("}]})"));
    EXPECT_THAT(std::get<AssistantResponse>(complete()).content, testing::ElementsAre(AssistantText{"[key]/[key]"}));
}

TEST_F(AssistantClientTest, AKeyWithALineBreakIsNotSent)
{
    const AssistantError error = failure(key + "\r\nx-other: 1");
    EXPECT_EQ(error.kind(), Kind::transport);
    EXPECT_EQ(error.errorDescription().find(key), std::string::npos);
    EXPECT_EQ(server.connections(), 0u);
}

TEST_F(AssistantClientTest, ACallThatIsGivenUpTellsNothing)
{
    server.play({.end = LoopbackServer::Script::End::hold});
    const AssistantClient client(std::make_unique<CurlURLSession>(runLoop, configuration),
                                 assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port())));
    bool isTold = false;
    {
        const URLTask task = client.complete({.system = "", .model = "", .apiKey = key}, [&](const auto&) { isTold = true; });
        ASSERT_TRUE(server.waitForRequests(1));
    }
    runLoop.turn();
    EXPECT_FALSE(isTold);
}

/// Keeps the request, and answers nothing.
class KeepingSession final : public URLSession {
public:
    explicit KeepingSession(std::vector<URLRequest>& kept) : kept_(kept) {}

    URLTask dataTask(URLRequest request, Completion) override
    {
        kept_.push_back(std::move(request));
        return {};
    }

private:
    std::vector<URLRequest>& kept_;
};

TEST(AssistantClient, AConnectionMayTakeAMinuteAndAReplyTenOfWhichFiveInSilence)
{
    EXPECT_EQ(AssistantClient::sessionConfiguration().timeoutIntervalForRequest, 300);
    EXPECT_EQ(AssistantClient::sessionConfiguration().timeoutIntervalForResource, 600);

    std::vector<URLRequest> kept;
    const AssistantClient client(std::make_unique<KeepingSession>(kept), assistantEndpoint(assistantDefaultHost));
    const URLTask task = client.complete({.system = "", .model = "", .apiKey = key}, [](const auto&) {});
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].timeoutInterval, 60);
    EXPECT_EQ(kept[0].url, "https://api.anthropic.com/v1/messages");
}

// ---------------------------------------------------------------- where to

TEST(AssistantEndpoint, IsTheHostWithTheScheme)
{
    struct Case {
        const char* host;
        const char* endpoint;
    };
    for (const Case& c : {
             Case{"example.com", "https://example.com/v1/messages"},
             Case{"example.com:8443", "https://example.com:8443/v1/messages"},
             Case{"https://example.com", "https://example.com/v1/messages"},
             Case{"https://example.com/", "https://example.com/v1/messages"},
             Case{"http://127.0.0.1:80", "http://127.0.0.1:80/v1/messages"},
             Case{"[::1]:80", "https://[::1]:80/v1/messages"},
             Case{"", ""},
             Case{"https://", ""},
             Case{"https://http://example.com", ""},
             Case{"example.com/other", ""},
             Case{"example.com?a", ""},
             Case{"name:word@example.com", ""},
             Case{"a b", ""},
             Case{"ftp://example.com", ""},
             Case{"example.com\r\n", ""},
         }) {
        SCOPED_TRACE(c.host);
        EXPECT_EQ(assistantEndpoint(c.host), c.endpoint);
    }
}

TEST(AssistantEndpoint, TheEnvironmentComesBeforeTheSettingAndBothBeforeThePublicHost)
{
    struct Case {
        const char* variable;
        const char* setting;
        const char* endpoint;
    };
    for (const Case& c : {
             Case{nullptr, "", "https://api.anthropic.com/v1/messages"}, Case{"", "", "https://api.anthropic.com/v1/messages"},
             Case{nullptr, "setting.example", "https://setting.example/v1/messages"},
             Case{"", "setting.example", "https://setting.example/v1/messages"},
             Case{"variable.example", "setting.example", "https://variable.example/v1/messages"},
             Case{"not a host", "setting.example", ""}, // The key must not go to another host than was meant.
         }) {
        SCOPED_TRACE(c.endpoint);
        MemoryUserDefaults defaults;
        if (*c.setting) defaults.set(DefaultsKey::assistantHost, std::string(c.setting));
        const auto lookUp = [&](const char* name) {
            EXPECT_STREQ(name, "LARKSPOOL_ASSISTANT_HOST");
            return c.variable;
        };
        EXPECT_EQ(assistantEndpoint(lookUp, defaults), c.endpoint);
    }
}

} // namespace
} // namespace larkspool
