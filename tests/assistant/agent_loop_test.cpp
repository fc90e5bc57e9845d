#include "assistant/assistant_endpoint.h"
#include "support/loopback_server.h"
#include "test_assistant.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::ElementsAre;
using Role = AssistantMessage::Role;

AssistantMessage said(const std::string& text)
{
    return {.role = Role::user, .content = {AssistantText{text}}};
}

AssistantMessage answered(std::vector<AssistantBlock> content)
{
    return {.role = Role::assistant, .content = std::move(content)};
}

AssistantMessage results(std::vector<AssistantBlock> content)
{
    return {.role = Role::user, .content = std::move(content)};
}

AssistantToolUse use(const std::string& id, const std::string& name, JSON input = JSON::Object{})
{
    return {id, name, std::move(input)};
}

JSON seconds(double duration)
{
    return JSON::Object{{"duration", duration}};
}

/// The block of the wire.
std::string wire(const AssistantToolUse& block)
{
    return JSON(JSON::Object{{"type", "tool_use"}, {"id", block.id}, {"name", block.name}, {"input", block.input}}).encoded();
}

const std::string done = R"([{"type":"text","text":"Done."}])";

// ---------------------------------------------------------------- sending

TEST(AssistantSend, TakesTheTextWithoutBlanksAndTabsAtItsEnds)
{
    TestAssistant assistant;
    assistant.replies(done);
    assistant.session.lastError = "before";
    assistant.send(" \t Do\tit \n \t");
    EXPECT_THAT(assistant.session.history, ElementsAre(said("Do\tit \n"), answered({AssistantText{"Done."}})));
    EXPECT_EQ(assistant.session.input, "");
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_FALSE(assistant.session.inFlight);
}

TEST(AssistantSend, OfBlanksAloneNothingHappensAtAll)
{
    for (const char* input : {"", " ", "\t \t"}) {
        TestAssistant assistant;
        int changes = 0;
        const Observation observation = assistant.session.changed.add([&] { ++changes; });
        assistant.session.lastError = "before";
        assistant.send(input);
        EXPECT_EQ(assistant.session.input, input);
        EXPECT_EQ(assistant.session.lastError, "before");
        EXPECT_TRUE(assistant.session.history.empty());
        EXPECT_TRUE(assistant.script.requests.empty());
        EXPECT_EQ(changes, 0);
    }
}

TEST(AssistantSend, DoesNothingWhileARequestIsWorkedOn)
{
    TestAssistant assistant;
    assistant.send("First");
    ASSERT_TRUE(assistant.session.inFlight);
    assistant.send("Second");
    EXPECT_EQ(assistant.session.input, "Second");
    EXPECT_THAT(assistant.session.history, ElementsAre(said("First")));
    EXPECT_EQ(assistant.script.requests.size(), 1u);
}

TEST(AssistantSend, EveryChangeIsToldWithTheLoopAtItsBeginningAndEnd)
{
    TestAssistant assistant;
    assistant.replies(done);
    std::string story;
    const Observation observation = assistant.session.changed.add(
        [&] { story += std::to_string(assistant.session.history.size()) + (assistant.session.inFlight ? "+ " : "- "); });
    assistant.send("Do it");
    EXPECT_EQ(story, "1- 1+ 2+ 2- ");
}

TEST(AssistantSend, TheCallHasTheWholeConversationAndTheSameHeadEveryTime)
{
    TestAssistant assistant;
    assistant.defaults.set(DefaultsKey::assistantModel, std::string("claude-haiku-4-5"));
    assistant.replies(done);
    assistant.replies(done);
    assistant.send("One");
    assistant.send("Two");

    ASSERT_EQ(assistant.script.requests.size(), 2u);
    const std::string head = R"({"max_tokens":16384,"messages":[{"content":[{"text":"One","type":"text"}],"role":"user"})";
    const std::string tail = R"(],"model":"claude-haiku-4-5",)"
                             R"("system":[{"cache_control":{"type":"ephemeral"},"text":"Be brief.","type":"text"}],)"
                             R"("tools":[{"description":"Sets.","input_schema":{},"name":"duration"},)"
                             R"({"cache_control":{"type":"ephemeral"},"description":"Reads.","input_schema":{},"name":"read"}]})";
    EXPECT_EQ(assistant.script.requests[0].body, head + tail);
    EXPECT_EQ(assistant.script.requests[1].body, head +
                                                     R"(,{"content":[{"text":"Done.","type":"text"}],"role":"assistant"})"
                                                     R"(,{"content":[{"text":"Two","type":"text"}],"role":"user"})" +
                                                     tail);
}

TEST(AssistantSend, KeyAndModelAreThoseOfTheBeginningOfTheTurn)
{
    TestAssistant assistant;
    assistant.replies("[" + wire(use("t1", "read")) + "]", "tool_use");
    assistant.replies(done);
    assistant.session.input = "Read";
    assistant.view().send();
    assistant.defaults.set(DefaultsKey::assistantAPIKey, std::string("another-key"));
    assistant.defaults.set(DefaultsKey::assistantModel, std::string("another-model"));
    assistant.runLoop.turn();

    ASSERT_EQ(assistant.script.requests.size(), 2u);
    for (const URLRequest& request : assistant.script.requests) {
        EXPECT_THAT(request.headers, testing::Contains(testing::Pair("x-api-key", "key-0123456789")));
        EXPECT_THAT(request.body, testing::HasSubstr(R"("model":"claude-sonnet-4-6")"));
    }
}

TEST(AssistantUndoLabel, IsTheBeginningOfTheRequestOnOneLine)
{
    const std::string sixty(60, 'x');
    struct Case {
        const char* when;
        std::string request;
        std::string label;
    };
    for (const Case& c : {
             Case{"short", "Make it blue", "Assistant: Make it blue"},
             Case{"white space within", "  Make\t\tit\n\n blue \u00A0\u2003\u3000now\r\n", "Assistant: Make it blue now"},
             Case{"nothing", "", "Assistant Edit"},
             Case{"white space alone", " \n\u2028\u00A0\t", "Assistant Edit"},
             Case{"60 characters", sixty, "Assistant: " + sixty},
             Case{"61 characters", sixty + "y", "Assistant: " + sixty + "…"},
             Case{"200 characters", std::string(200, 'x'), "Assistant: " + sixty + "…"},
             Case{"60 characters with white space around", " " + sixty + " ", "Assistant: " + sixty},
             Case{"a character of several parts", sixty.substr(1) + "e\u0301" + "z",
                  "Assistant: " + sixty.substr(1) + "e\u0301…"},
         }) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(AssistantView::undoLabel(c.request), c.label);
    }
}

// ---------------------------------------------------------------- the loop

TEST(AssistantLoop, TextStaysAndAllToolsRunInOrderWithTheirResultsInOneMessage)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    assistant.replies(R"([{"type":"text","text":"Let me."},)" + wire(use("t1", "duration", seconds(8))) + "," +
                          wire(use("t2", "read")) + "]",
                      "tool_use");
    assistant.replies(done);
    assistant.send("Make it longer");
    EXPECT_THAT(
        assistant.session.history,
        ElementsAre(said("Make it longer"),
                    answered({AssistantText{"Let me."}, use("t1", "duration", JSON::Object{{"duration", 8}}), use("t2", "read")}),
                    results({AssistantToolResult{"t1", "applied 1", false}, AssistantToolResult{"t2", "8", false}}),
                    answered({AssistantText{"Done."}})));
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_EQ(assistant.duration(), 8);
}

TEST(AssistantLoop, AStopForAToolThatCannotBeReadEndsWithoutAnError)
{
    TestAssistant assistant;
    assistant.replies(R"([{"type":"tool_use","name":"read"}])", "tool_use");
    assistant.send("Read");
    EXPECT_THAT(assistant.session.history, ElementsAre(said("Read"), answered({})));
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_FALSE(assistant.session.inFlight);
    EXPECT_EQ(assistant.undoManager.groupingLevel(), 0u);
}

TEST(AssistantLoop, EndsSilentlyAfterTheToolsOfTheTwelfthCall)
{
    TestAssistant assistant;
    for (int call = 1; call <= 13; ++call)
        assistant.replies("[" + wire(use("t" + std::to_string(call), "duration", seconds(call))) + "]", "tool_use");
    assistant.send("Go on");
    EXPECT_EQ(assistant.script.requests.size(), 12u);
    EXPECT_EQ(assistant.session.history.size(), 1u + 2 * 12);
    EXPECT_EQ(assistant.session.history.back(), results({AssistantToolResult{"t12", "applied 1", false}}));
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_FALSE(assistant.session.inFlight);
    EXPECT_EQ(assistant.duration(), 12);
    EXPECT_EQ(assistant.undoManager.groupingLevel(), 0u);
    EXPECT_EQ(assistant.undoManager.undoCount(), 1u);
}

TEST(AssistantLoop, AReplyCutOffAmongToolsRunsThemAndAsksToContinue)
{
    TestAssistant assistant;
    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "]", "max_tokens");
    assistant.replies(done);
    assistant.send("Go");
    ASSERT_EQ(assistant.session.history.size(), 4u);
    EXPECT_EQ(
        assistant.session.history[2],
        results({AssistantToolResult{"t1", "applied 1", false},
                 AssistantText{"You hit the per-turn output limit. Continue where you left off — the tool ran successfully."}}));
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_EQ(assistant.duration(), 8);
}

TEST(AssistantLoop, AReplyCutOffWithoutToolsTellsThePersonWhatToDo)
{
    TestAssistant assistant;
    assistant.replies(R"([{"type":"text","text":"Once upon"}])", "max_tokens");
    assistant.send("Tell me");
    EXPECT_EQ(assistant.session.lastError, "Response was cut off at the token limit. Send 'continue' to keep going.");
    EXPECT_THAT(assistant.session.history, ElementsAre(said("Tell me"), answered({AssistantText{"Once upon"}})));
    EXPECT_FALSE(assistant.session.inFlight);
}

TEST(AssistantLoop, AToolThatFailsGoesBackToTheModel)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    assistant.replies("[" + wire(use("t1", "fail", seconds(8))) + "," + wire(use("t2", "throw")) + "," + wire(use("t3", "read")) +
                          "]",
                      "tool_use");
    assistant.replies(done);
    assistant.send("Go");
    EXPECT_EQ(assistant.session.history.at(2),
              results({AssistantToolResult{"t1", "no such layer", true}, AssistantToolResult{"t2", "the tool broke", true},
                       AssistantToolResult{"t3", "3", false}}));
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
}

TEST(AssistantLoop, WhatThePersonEditsBetweenCallsStaysAndToolsSeeIt)
{
    TestAssistant assistant;
    assistant.replies("[" + wire(use("t1", "read")) + "]", "tool_use");
    assistant.session.input = "Read";
    assistant.view().send();
    assistant.setDuration(7); // The reply is under way.
    assistant.runLoop.turn();
    EXPECT_EQ(assistant.session.history.back(), results({AssistantToolResult{"t1", "7", false}}));
    EXPECT_EQ(assistant.duration(), 7);
}

TEST(AssistantLoop, APatchKeepsWhatThePersonHasEditedMeanwhile)
{
    TestAssistant assistant;
    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "]", "tool_use");
    assistant.replies(done);
    assistant.session.input = "Longer";
    assistant.view().send();
    TweenScene scene = assistant.state.scene();
    scene.fps = 24;
    assistant.state.document.setScene(scene);
    assistant.runLoop.turn();
    EXPECT_EQ(assistant.state.scene().fps, 24);
    EXPECT_EQ(assistant.duration(), 8);
}

// ---------------------------------------------------------------- undo

TEST(AssistantUndo, AllEditsOfARequestAreOneStepUnderItsName)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "," + wire(use("t2", "duration", seconds(9))) + "]",
                      "tool_use");
    assistant.replies("[" + wire(use("t3", "duration", seconds(10))) + "]", "tool_use");
    assistant.replies(done);
    assistant.send(std::string(200, 'x'));

    EXPECT_THAT(assistant.editNames, ElementsAre("Assistant edit", "Assistant edit", "Assistant edit"));
    EXPECT_EQ(assistant.undoManager.undoCount(), 2u);
    EXPECT_EQ(assistant.undoManager.undoActionName(), "Assistant: " + std::string(60, 'x') + "…");
    assistant.undoManager.undo();
    EXPECT_EQ(assistant.duration(), 3);
    EXPECT_EQ(assistant.undoManager.redoActionName(), "Assistant: " + std::string(60, 'x') + "…");
    assistant.undoManager.redo();
    EXPECT_EQ(assistant.duration(), 10);
}

TEST(AssistantUndo, OneStepTakesBackATurnInEverySceneThatItReached)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    TweenScene other = assistant.state.scene();
    other.id = UUID{0, 2};
    other.duration = 4;
    assistant.state.document.scenes.append(other);
    const TweenDocument before = assistant.state.document;

    const auto inScene = [](int scene, double duration) { return JSON(JSON::Object{{"scene", scene}, {"duration", duration}}); };
    assistant.replies("[" + wire(use("t1", "duration", inScene(1, 8))) + "," + wire(use("t2", "duration", inScene(0, 9))) + "]",
                      "tool_use");
    assistant.replies("[" + wire(use("t3", "duration", inScene(1, 10))) + "]", "tool_use");
    assistant.replies(done);
    assistant.send("Longer");
    EXPECT_EQ(assistant.state.document.scenes[0].duration, 9);
    EXPECT_EQ(assistant.state.document.scenes[1].duration, 10);
    EXPECT_EQ(assistant.undoManager.undoCount(), 2u);

    assistant.undoManager.undo();
    EXPECT_EQ(assistant.state.document, before);
    assistant.undoManager.redo();
    EXPECT_EQ(assistant.state.document.scenes[0].duration, 9);
    EXPECT_EQ(assistant.state.document.scenes[1].duration, 10);
}

TEST(AssistantUndo, OneStepTakesBackATurnThoughThePersonSwitchedScenesMeanwhile)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    TweenScene other = assistant.state.scene();
    other.id = UUID{0, 2};
    other.duration = 4;
    assistant.state.document.scenes.append(other);

    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "]", "tool_use");
    assistant.replies("[" + wire(use("t2", "duration", seconds(9))) + "]", "tool_use");
    assistant.replies(done);
    const Observation observation = assistant.session.changed.add([&] {
        if (assistant.session.history.size() == 3) assistant.state.document.activeSceneIndex = 1; // After the first edit.
    });
    assistant.send("Longer");
    EXPECT_EQ(assistant.state.document.scenes[0].duration, 8);
    EXPECT_EQ(assistant.state.document.scenes[1].duration, 9);

    assistant.undoManager.undo();
    EXPECT_EQ(assistant.state.document.scenes[0].duration, 3);
    EXPECT_EQ(assistant.state.document.scenes[1].duration, 4);
}

TEST(AssistantUndo, APatchThatFailsLaterLeavesTheEarlierOneInPlaceAndOneStep)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    assistant.replies("[" + wire(use("t1", "read")) + "]", "tool_use");
    assistant.replies("[" + wire(use("t2", "duration", seconds(8))) + "]", "tool_use");
    assistant.replies("[" + wire(use("t3", "fail", seconds(9))) + "]", "tool_use");
    assistant.replies(done);
    assistant.send("Go");
    EXPECT_EQ(assistant.duration(), 8);
    EXPECT_EQ(assistant.undoManager.undoCount(), 2u);
    assistant.undoManager.undo();
    EXPECT_EQ(assistant.duration(), 3);
}

TEST(AssistantUndo, ATurnThatChangesNothingLeavesNoStepAndTheOneBeforeItsName)
{
    struct Case {
        const char* when;
        std::string content;
    };
    for (const Case& c : {
             Case{"without tools", done},
             Case{"reading alone", "[" + wire(use("t1", "read")) + "]"},
             Case{"all patches failed",
                  "[" + wire(use("t1", "fail", seconds(8))) + "," + wire(use("t2", "fail", seconds(9))) + "]"},
             Case{"a patch that makes no difference", "[" + wire(use("t1", "duration", seconds(3))) + "]"},
         }) {
        SCOPED_TRACE(c.when);
        TestAssistant assistant;
        assistant.setDuration(3);
        assistant.replies(c.content, "tool_use");
        assistant.replies(done);
        assistant.send("Go");
        EXPECT_FALSE(assistant.session.inFlight);
        EXPECT_THAT(assistant.editNames, ElementsAre());
        EXPECT_EQ(assistant.undoManager.undoCount(), 1u);
        EXPECT_EQ(assistant.undoManager.undoActionName(), "Set Duration");
        EXPECT_EQ(assistant.duration(), 3);
    }
}

// ---------------------------------------------------------------- failures

TEST(AssistantFailure, OfALaterCallKeepsTheConversationAndTheEditsAsOneStep)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "]", "tool_use");
    assistant.replies(URLReply{529, R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})"});
    assistant.send("Longer");
    EXPECT_EQ(assistant.session.lastError, "Anthropic's servers are busy. Try again in a moment.");
    EXPECT_EQ(assistant.session.history.size(), 3u);
    EXPECT_FALSE(assistant.session.inFlight);
    EXPECT_EQ(assistant.duration(), 8);
    EXPECT_EQ(assistant.undoManager.undoActionName(), "Assistant: Longer");

    assistant.replies(done);
    assistant.send("Again");
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_EQ(assistant.session.history.size(), 5u);
    EXPECT_THAT(assistant.script.requests.back().body, testing::HasSubstr("Longer"));
    assistant.undoManager.undo();
    EXPECT_EQ(assistant.duration(), 3);
}

TEST(AssistantFailure, WithoutAKeyThePersonIsToldAndNothingIsSent)
{
    TestAssistant assistant;
    assistant.defaults.remove(DefaultsKey::assistantAPIKey);
    assistant.send("Hello");
    EXPECT_EQ(assistant.session.lastError, "Add your Anthropic API key in Preferences → Assistant.");
    EXPECT_THAT(assistant.session.history, ElementsAre(said("Hello")));
    EXPECT_TRUE(assistant.script.requests.empty());
    EXPECT_FALSE(assistant.session.inFlight);
    EXPECT_EQ(assistant.undoManager.groupingLevel(), 0u);
}

TEST(AssistantFailure, AnAnswerToAConversationThatWasClearedIsDropped)
{
    TestAssistant assistant;
    assistant.setDuration(3);
    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "]", "tool_use");
    assistant.session.input = "Longer";
    assistant.view().send();
    assistant.session.clear();
    assistant.runLoop.turn();
    EXPECT_TRUE(assistant.session.history.empty());
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_FALSE(assistant.session.inFlight);
    EXPECT_EQ(assistant.duration(), 3);
    EXPECT_EQ(assistant.undoManager.groupingLevel(), 0u);
}

TEST(AssistantFailure, ClearingEmptiesHistoryAndError)
{
    AssistantSession session{.history = {said("Hello")}, .input = "draft", .lastError = "broken"};
    int changes = 0;
    const Observation observation = session.changed.add([&] { ++changes; });
    session.clear();
    EXPECT_TRUE(session.history.empty());
    EXPECT_EQ(session.lastError, std::nullopt);
    EXPECT_EQ(session.input, "draft");
    EXPECT_EQ(changes, 1);
}

TEST(AssistantFailure, AnEditorThatClosesGivesUpTheCallAndClosesTheGroup)
{
    TestAssistant assistant;
    assistant.replies("[" + wire(use("t1", "duration", seconds(8))) + "]", "tool_use");
    assistant.replies(done);
    assistant.session.input = "Longer";
    assistant.view().send();
    assistant.close();
    EXPECT_FALSE(assistant.session.inFlight);
    EXPECT_EQ(assistant.undoManager.groupingLevel(), 0u);
    assistant.runLoop.turn();
    EXPECT_THAT(assistant.session.history, ElementsAre(said("Longer")));
}

// ---------------------------------------------------------------- over the network

TEST(AssistantLoopOverTheNetwork, ToolsRunBetweenTwoCalls)
{
    LoopbackServer server;
    server.play(httpReply(200, R"({"content":[)" + wire(use("t1", "duration", seconds(8))) + R"(],"stop_reason":"tool_use"})"));
    server.play(httpReply(200, R"({"content":)" + done + R"(,"stop_reason":"end_turn"})"));
    TestAssistant assistant([&](RunLoop& runLoop) {
        return AssistantClient(runLoop, assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port())));
    });
    assistant.session.input = "Longer";
    assistant.view().send();
    ASSERT_TRUE(assistant.runLoop.turnUntil([&] { return !assistant.session.inFlight; }));
    EXPECT_EQ(assistant.session.lastError, std::nullopt);
    EXPECT_EQ(assistant.duration(), 8);
    ASSERT_EQ(server.requests().size(), 2u);
    EXPECT_THAT(
        httpBody(server.requests()[1]),
        testing::HasSubstr(R"({"content":[{"content":"applied 1","tool_use_id":"t1","type":"tool_result"}],"role":"user"})"));
}

TEST(AssistantLoopOverTheNetwork, AnEditorThatClosesWhileTheServerThinksGoesAtOnce)
{
    LoopbackServer server;
    server.play({.end = LoopbackServer::Script::End::hold});
    TestAssistant assistant([&](RunLoop& runLoop) {
        return AssistantClient(runLoop, assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port())));
    });
    assistant.session.input = "Longer";
    assistant.view().send();
    ASSERT_TRUE(server.waitForRequests(1));
    const auto start = std::chrono::steady_clock::now();
    assistant.close();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    assistant.runLoop.turn();
    EXPECT_FALSE(assistant.session.inFlight);
}

TEST(AssistantLoopOverTheNetwork, AFailureIsToldInASentence)
{
    LoopbackServer server;
    server.play(httpReply(401, R"({"error":{"type":"authentication_error","message":"invalid x-api-key"}})"));
    TestAssistant assistant([&](RunLoop& runLoop) {
        return AssistantClient(runLoop, assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port())));
    });
    assistant.session.input = "Longer";
    assistant.view().send();
    ASSERT_TRUE(assistant.runLoop.turnUntil([&] { return !assistant.session.inFlight; }));
    EXPECT_EQ(assistant.session.lastError, "Anthropic rejected the API key. Check Preferences → Assistant.");
}

} // namespace
} // namespace larkspool
