#pragma once

#include "assistant/messages.h"
#include "platform/url_session.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace larkspool {

/// Why a call of the model gave no response. The words never hold the key.
class AssistantError : public std::runtime_error {
public:
    enum class Kind {
        httpError,       ///< The server refused, with a status.
        transport,       ///< The server was not reached, or not heard to the end.
        missingAPIKey,   ///< Nothing was sent.
        invalidResponse, ///< What came back is not understood.
    };

    static AssistantError httpError(int status, std::string body);
    static AssistantError transport(URLError error);
    static AssistantError missingAPIKey();
    static AssistantError invalidResponse();

    Kind kind() const noexcept { return kind_; }
    int status() const noexcept { return status_; }           ///< Of an httpError.
    const std::string& body() const noexcept { return body_; } ///< Of an httpError.
    const std::optional<URLError>& underlying() const noexcept { return underlying_; } ///< Of a transport error.
    std::string errorDescription() const { return what(); } ///< A sentence for a person.

private:
    AssistantError(Kind kind, const std::string& description) : std::runtime_error(description), kind_(kind) {}

    Kind kind_;
    int status_ = 0;
    std::string body_;
    std::optional<URLError> underlying_;
};

/// Makes single calls of the Messages API. It keeps nothing from one call to the next.
class AssistantClient {
public:
    /// What a call says. The whole conversation goes along every time.
    struct Call {
        std::span<const AssistantMessage> messages;
        std::span<const AssistantTool> tools;
        std::string_view system; ///< The system prompt.
        std::string_view model;  ///< Its id.
        std::string_view apiKey;
        int maxTokens = 16384; ///< What the model may write at most.
    };
    using Result = std::variant<AssistantResponse, AssistantError>;
    using Completion = std::function<void(Result result)>;

    /// `endpoint` is the address that calls go to. The session is one over the network; the run loop must outlive the calls.
    AssistantClient(RunLoop& runLoop, std::string endpoint);
    AssistantClient(std::unique_ptr<URLSession> session, std::string endpoint);

    /// How patient a session over the network is. A long reply comes after a long silence.
    static URLSessionConfiguration sessionConfiguration();

    const std::string& endpoint() const { return endpoint_; }

    /// One call, on the main thread; `completion` is called there too, later. Destroying the task cancels the call.
    ///
    /// Throws AssistantError at once if there is no key, and JsonWriteError for what JSON cannot say.
    [[nodiscard]] URLTask complete(const Call& call, Completion completion) const;

private:
    std::unique_ptr<URLSession> session_;
    std::string endpoint_;
};

/// @name The wire. The prompt and the tools, which are the same in every call, are marked to be kept by the server.
/// @{
/// The body of a request.
std::string encodedRequestBody(const AssistantClient::Call& call);

/// The response in the body of a reply. Blocks of other kinds than text and the use of a tool are passed over. Throws
/// AssistantError (invalidResponse).
AssistantResponse decodedResponse(std::string_view body);
/// @}

} // namespace larkspool
