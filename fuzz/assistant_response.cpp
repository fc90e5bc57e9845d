// Any bytes that a server sends give a response or an AssistantError, and any text a JSON value or a reason why not. What was
// received can be sent back as a part of the conversation, and is then received as the same.

#include "assistant/client.h"
#include "document/file_format.h"
#include "require.h"

#include <optional>

namespace {

using namespace larkspool;

std::optional<JSON> decodedValue(std::string_view text)
{
    try {
        return JSON::decode(text);
    } catch (const JsonSyntaxError&) {
    } catch (const DecodingError&) {}
    return std::nullopt;
}

std::optional<AssistantResponse> receivedResponse(std::string_view body)
{
    try {
        return decodedResponse(body);
    } catch (const AssistantError& error) {
        require(error.kind() == AssistantError::Kind::invalidResponse, "bytes are no failure of the network");
    }
    return std::nullopt;
}

std::string requestOf(std::vector<AssistantBlock> content)
{
    const std::vector<AssistantMessage> messages{{.role = AssistantMessage::Role::assistant, .content = std::move(content)}};
    return encodedRequestBody({.messages = messages, .system = "", .model = "", .apiKey = "key"});
}

/// What comes back when the content is sent and repeated.
std::vector<AssistantBlock> sentAndReceived(const std::vector<AssistantBlock>& content)
{
    const std::string request = requestOf(content), frame = requestOf({});
    const std::size_t before = frame.find("[]");
    const std::string sent = request.substr(before, request.size() - (frame.size() - 2));
    const std::optional<AssistantResponse> response = receivedResponse("{\"content\":" + sent + "}");
    require(response.has_value(), "what was received can be sent back");
    return response->content;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    // A number just beside a whole one becomes that one as a double, and an integer when it is written: so it is written twice.
    if (const std::optional<JSON> value = decodedValue(text)) {
        const std::optional<JSON> written = decodedValue(value->encoded());
        require(written.has_value(), "what was read can be written");
        require(decodedValue(written->encoded()) == written, "what was written reads back as the same");
    }
    if (const std::optional<AssistantResponse> response = receivedResponse(text)) {
        const std::vector<AssistantBlock> once = sentAndReceived(response->content);
        require(once.size() == response->content.size(), "no block is lost");
        require(sentAndReceived(once) == once, "what was sent back is received as the same");
    }
    return 0;
}
