#pragma once

#include "assistant/assistant_view.h"
#include "editing/named_undo_group.h"
#include "editing/shared_commit.h"
#include "support/hand_run_loop.h"
#include "support/memory_user_defaults.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// A session that answers from a list, by way of the run loop. What is asked for when the list is at its end gets no answer.
class ScriptedSession final : public URLSession {
public:
    struct Script {
        std::deque<URLResult> replies{};
        std::vector<URLRequest> requests{};
    };

    ScriptedSession(RunLoop& runLoop, Script& script) : runLoop_(runLoop), script_(script) {}

    URLTask dataTask(URLRequest request, Completion completion) override
    {
        script_.requests.push_back(std::move(request));
        if (script_.replies.empty()) return {};

        const auto call = std::make_shared<Completion>(std::move(completion));
        runLoop_.post([call, reply = std::move(script_.replies.front())] {
            if (const Completion told = std::exchange(*call, nullptr)) told(reply);
        });
        script_.replies.pop_front();
        return URLTask(std::make_unique<Waiting>(call));
    }

private:
    struct Waiting final : URLTask::Work {
        explicit Waiting(std::shared_ptr<Completion> told) : call(std::move(told)) {}
        ~Waiting() override { *call = nullptr; }

        std::shared_ptr<Completion> call;
    };

    RunLoop& runLoop_;
    Script& script_;
};

/// An editor with an assistant, whose model says what the test has written down.
///
///     TestAssistant assistant;
///     assistant.replies(R"([{"type":"text","text":"Done."}])");
///     assistant.send("Do it");
///     EXPECT_EQ(assistant.session.history.size(), 2u);
///
/// Its tools: "duration" gives the scene the duration of the input, or the one at "scene"; "read" tells it; "fail" changes it and
/// then fails; "throw" throws.
class TestAssistant {
public:
    HandRunLoop runLoop;
    ScriptedSession::Script script;
    MemoryUserDefaults defaults;
    EditorState state;
    UndoManager undoManager;
    AssistantSession session;

    TestAssistant() : TestAssistant(nullptr) {}
    /// Over another session than the scripted one.
    explicit TestAssistant(const std::function<AssistantClient(RunLoop&)>& makeClient)
        : client_(makeClient
                      ? makeClient(runLoop)
                      : AssistantClient(std::make_unique<ScriptedSession>(runLoop, script), "https://example.com/v1/messages"))
    {
        defaults.set(DefaultsKey::assistantAPIKey, std::string("key-0123456789"));
        open();
    }

    AssistantView& view() { return *view_; }
    void open()
    {
        view_.emplace(AssistantView::Services{
            .session = session,
            .defaults = defaults,
            .client = client_,
            .toolset = {.tools = {{"duration", "Sets.", JSON::Object{}}, {"read", "Reads.", JSON::Object{}}},
                        .systemPrompt = "Be brief.",
                        .execute = [this](std::string_view name, const JSON& input,
                                          const AssistantDocument& document) { return execute(name, input, document); }},
            .document = [this] { return state.document; },
            .setDocument = [this](TweenDocument document) { *edited_ = std::move(document); },
            .onMutate = [this](std::string_view name, const std::function<void()>& change) { mutate(name, change); },
            .beginUndoGroup = [this](const std::string& name) { group_.begin(name); },
            .endUndoGroup = [this] { group_.end(); },
        });
    }
    void close() { view_.reset(); }

    /// One reply of the model, told as its content and why it stopped.
    void replies(const std::string& content, const std::string& stopReason = "end_turn")
    {
        replies(URLReply{200, R"({"content":)" + content + R"(,"stop_reason":")" + stopReason + R"("})"});
    }
    void replies(URLResult result) { script.replies.push_back(std::move(result)); }

    /// Sends a request and turns the run loop until nothing is left to do.
    void send(const std::string& request)
    {
        session.input = request;
        view_->send();
        runLoop.turn();
    }

    double duration() const { return state.scene().duration; }
    /// An edit by the person.
    void setDuration(double seconds)
    {
        commit_.mutate("Set Duration", [&](TweenScene& scene) { scene.duration = seconds; });
    }
    std::vector<std::string> editNames; ///< Of the steps that the assistant made.

private:
    void mutate(std::string_view name, const std::function<void()>& change)
    {
        editNames.emplace_back(name);
        commit_.mutateDocument(name, [&](TweenDocument& document) {
            edited_ = &document;
            change();
            edited_ = nullptr;
        });
    }

    static std::int64_t setDuration(TweenDocument& document, const JSON& input)
    {
        const JSON* scene = input["scene"];
        const std::size_t index =
            scene ? static_cast<std::size_t>(scene->integer().value()) : document.clampedActiveSceneIndex();
        document.scenes.edit().at(index).duration = input["duration"]->number().value();
        return 1;
    }

    static AssistantToolOutcome execute(std::string_view name, const JSON& input, const AssistantDocument& document)
    {
        if (name == "read") return {.content = std::to_string(static_cast<int>(document.read().scene().duration))};
        if (name == "throw") throw std::runtime_error("the tool broke");
        try {
            const std::int64_t count = document.edit([&](TweenDocument& copy) -> std::int64_t {
                const std::int64_t operations = setDuration(copy, input);
                if (name == "fail") throw std::runtime_error("no such layer");
                return operations;
            });
            return {.content = "applied " + std::to_string(count)};
        } catch (const std::runtime_error& error) {
            return {.content = error.what(), .isError = true};
        }
    }

    SharedCommit commit_{state, &undoManager, {}};
    TweenDocument* edited_ = nullptr; ///< While an edit is made.
    NamedUndoGroup group_{undoManager};
    AssistantClient client_;
    std::optional<AssistantView> view_;
};

} // namespace larkspool
