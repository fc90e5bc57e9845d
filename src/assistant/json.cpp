#include "assistant/json.h"

#include "document/file_format.h"

namespace larkspool {

namespace {

[[noreturn]] void failUnknown()
{
    throw DecodingError(DecodingError::Kind::invalidValue, "", "Unknown JSON value");
}

JSON decodedNumber(const JsonValue& value)
{
    if (const std::optional<std::int64_t> integer = value.integer()) return *integer;
    if (const std::optional<double> number = value.number()) return *number;
    failUnknown();
}

JSON decoded(const JsonValue& value, std::size_t levelsLeft)
{
    if ((value.isArray() || value.isObject()) && levelsLeft == 0)
        throw DecodingError(DecodingError::Kind::syntax, "", "The JSON value is nested too deep");

    switch (value.kind()) {
    case JsonValue::Kind::null: return {};
    case JsonValue::Kind::boolean: return *value.boolean();
    case JsonValue::Kind::number: return decodedNumber(value);
    case JsonValue::Kind::string: return *value.string();
    case JsonValue::Kind::array: {
        JSON::Array elements;
        elements.reserve(value.size());
        for (const JsonValue element : value.elements()) elements.push_back(decoded(element, levelsLeft - 1));
        return elements;
    }
    case JsonValue::Kind::object: {
        JSON::Object members;
        for (const JsonMember member : value.members())
            members.insert_or_assign(std::string(member.key), decoded(member.value, levelsLeft - 1));
        return members;
    }
    }
    failUnknown();
}

} // namespace

JSON JSON::decode(std::string_view text)
{
    const JsonTree tree(text);
    return decode(tree.root());
}

JSON JSON::decode(const JsonValue& value)
{
    return decoded(value, deepestNesting);
}

const JSON* JSON::operator[](std::string_view key) const
{
    const Object* members = object();
    if (!members) return nullptr;
    const auto found = members->find(key);
    return found != members->end() ? &found->second : nullptr;
}

std::optional<std::int64_t> JSON::integer() const
{
    if (const auto* whole = std::get_if<std::int64_t>(&value_)) return *whole;
    const auto* value = std::get_if<double>(&value_);
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!value || !(*value >= -limit && *value < limit)) return std::nullopt;
    return static_cast<std::int64_t>(*value);
}

std::optional<double> JSON::number() const
{
    if (const auto* whole = std::get_if<std::int64_t>(&value_)) return static_cast<double>(*whole);
    if (const auto* value = std::get_if<double>(&value_)) return *value;
    return std::nullopt;
}

std::optional<bool> JSON::boolean() const
{
    if (const auto* value = std::get_if<bool>(&value_)) return *value;
    return std::nullopt;
}

void JSON::write(JsonWriter& writer) const
{
    switch (kind()) {
    case Kind::null: return writer.null();
    case Kind::boolean: return writer.boolean(std::get<bool>(value_));
    case Kind::integer: return writer.integer(std::get<std::int64_t>(value_));
    case Kind::number: return writer.number(std::get<double>(value_));
    case Kind::string: return writer.string(*string());
    case Kind::array:
        writer.beginArray();
        for (const JSON& element : *array()) element.write(writer);
        return writer.endArray();
    case Kind::object:
        writer.beginObject();
        for (const auto& [key, member] : *object()) {
            writer.key(key);
            member.write(writer);
        }
        return writer.endObject();
    }
}

std::string JSON::encoded(JsonWriter::Layout layout) const
{
    JsonWriter writer(layout);
    write(writer);
    const std::vector<std::uint8_t> bytes = writer.take();
    return {bytes.begin(), bytes.end()};
}

} // namespace larkspool
