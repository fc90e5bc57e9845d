#include "assistant/client.h"
#include "document/file_format.h"

namespace larkspool {

namespace {

/// Ends the part of the request that the server keeps.
void writeCacheControl(JsonWriter& writer)
{
    writer.key("cache_control");
    writer.beginObject();
    writer.key("type");
    writer.string("ephemeral");
    writer.endObject();
}

void writeMember(JsonWriter& writer, std::string_view key, std::string_view text)
{
    writer.key(key);
    writer.string(text);
}

/// The members of a block, their keys in ascending order.
struct BlockWriter {
    JsonWriter& writer;

    void operator()(const AssistantText& block) const
    {
        writeMember(writer, "text", block.text);
        writeMember(writer, "type", "text");
    }
    void operator()(const AssistantToolUse& block) const
    {
        writeMember(writer, "id", block.id);
        writer.key("input");
        block.input.write(writer);
        writeMember(writer, "name", block.name);
        writeMember(writer, "type", "tool_use");
    }
    void operator()(const AssistantToolResult& block) const
    {
        writeMember(writer, "content", block.content);
        if (block.isError) {
            writer.key("is_error");
            writer.boolean(block.isError);
        }
        writeMember(writer, "tool_use_id", block.toolUseID);
        writeMember(writer, "type", "tool_result");
    }
};

void writeMessages(JsonWriter& writer, std::span<const AssistantMessage> messages)
{
    writer.beginArray();
    for (const AssistantMessage& message : messages) {
        writer.beginObject();
        writer.key("content");
        writer.beginArray();
        for (const AssistantBlock& block : message.content) {
            writer.beginObject();
            std::visit(BlockWriter{writer}, block);
            writer.endObject();
        }
        writer.endArray();
        writeMember(writer, "role", fileValue(message.role));
        writer.endObject();
    }
    writer.endArray();
}

void writeSystem(JsonWriter& writer, std::string_view system)
{
    writer.beginArray();
    writer.beginObject();
    writeCacheControl(writer);
    writeMember(writer, "text", system);
    writeMember(writer, "type", "text");
    writer.endObject();
    writer.endArray();
}

void writeTools(JsonWriter& writer, std::span<const AssistantTool> tools)
{
    writer.beginArray();
    for (const AssistantTool& tool : tools) {
        writer.beginObject();
        if (&tool == &tools.back()) writeCacheControl(writer);
        writeMember(writer, "description", tool.description);
        writer.key("input_schema");
        tool.inputSchema.write(writer);
        writeMember(writer, "name", tool.name);
        writer.endObject();
    }
    writer.endArray();
}

/// A member that may be absent or null; of another type than asked for, it makes the whole response invalid.
template <typename Read>
auto optionalMember(const JsonValue& object, std::string_view key, Read read) -> decltype(read(object))
{
    const std::optional<JsonValue> value = object.find(key);
    if (!value || value->isNull()) return std::nullopt;
    auto result = read(*value);
    if (!result) throw AssistantError::invalidResponse();
    return result;
}

std::optional<std::string_view> text(const JsonValue& object, std::string_view key)
{
    return optionalMember(object, key, [](const JsonValue& value) { return value.string(); });
}

std::int64_t count(const JsonValue& object, std::string_view key)
{
    return optionalMember(object, key, [](const JsonValue& value) { return value.integer(); }).value_or(0);
}

JSON toolInput(const JsonValue& block)
{
    const std::optional<JsonValue> input = block.find("input");
    return input && !input->isNull() ? JSON::decode(*input) : JSON(JSON::Object());
}

/// Nothing for a block that never reaches the conversation. Of such a block only the type is looked at: what else a kind that
/// came later holds is not for us to judge.
std::optional<AssistantBlock> decodedBlock(const JsonValue& block)
{
    const std::optional<std::string_view> type = text(block, "type");
    if (!type) throw AssistantError::invalidResponse();
    if (*type == "text") return AssistantText{std::string(text(block, "text").value_or(""))};
    if (*type != "tool_use") return std::nullopt;

    const std::optional<std::string_view> id = text(block, "id"), name = text(block, "name");
    if (!id || !name) return std::nullopt;
    return AssistantToolUse{std::string(*id), std::string(*name), toolInput(block)};
}

AssistantResponse::Usage decodedUsage(const JsonValue& usage)
{
    if (!usage.isObject()) throw AssistantError::invalidResponse();
    return {.inputTokens = count(usage, "input_tokens"),
            .outputTokens = count(usage, "output_tokens"),
            .cacheReadInputTokens = count(usage, "cache_read_input_tokens"),
            .cacheCreationInputTokens = count(usage, "cache_creation_input_tokens")};
}

AssistantResponse decodedResponse(const JsonValue& root)
{
    const std::optional<JsonValue> content = root.find("content");
    if (!content || !content->isArray()) throw AssistantError::invalidResponse();

    AssistantResponse response;
    for (const JsonValue block : content->elements())
        if (std::optional<AssistantBlock> decoded = decodedBlock(block)) response.content.push_back(std::move(*decoded));
    const std::string_view reason = text(root, "stop_reason").value_or("");
    response.stopReason = fromFileValue<AssistantResponse::StopReason>(reason).value_or(AssistantResponse::StopReason::other);
    if (const std::optional<JsonValue> usage = root.find("usage"); usage && !usage->isNull())
        response.usage = decodedUsage(*usage);
    return response;
}

} // namespace

std::string encodedRequestBody(const AssistantClient::Call& call)
{
    JsonWriter writer(JsonWriter::Layout::compact);
    writer.beginObject();
    writer.key("max_tokens");
    writer.integer(call.maxTokens);
    writer.key("messages");
    writeMessages(writer, call.messages);
    writeMember(writer, "model", call.model);
    writer.key("system");
    writeSystem(writer, call.system);
    writer.key("tools");
    writeTools(writer, call.tools);
    writer.endObject();
    const std::vector<std::uint8_t> bytes = writer.take();
    return {bytes.begin(), bytes.end()};
}

AssistantResponse decodedResponse(std::string_view body)
{
    try {
        const JsonTree tree(body);
        return decodedResponse(tree.root());
    } catch (const JsonSyntaxError&) {
        throw AssistantError::invalidResponse();
    } catch (const DecodingError&) {
        throw AssistantError::invalidResponse();
    }
}

} // namespace larkspool
