#include "foundation/json_writer.h"

#include "foundation/base64.h"
#include "foundation/json_tree.h"
#include "foundation/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include <fmt/format.h>
#include <simdjson.h>

namespace larkspool {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// Levels beyond are not indented further: deep in a tree, small values would otherwise become a hundred times their size.
constexpr std::size_t deepestIndentation = 64;

std::string described(JsonWriteError::Kind kind, std::string_view path)
{
    const std::string_view place = path.empty() ? "The value" : path;
    switch (kind) {
    case JsonWriteError::Kind::notFinite: return fmt::format("{} is not a finite number", place);
    case JsonWriteError::Kind::tooDeep: return fmt::format("{} is nested too deep", place);
    case JsonWriteError::Kind::tooLong: break;
    }
    return "The text would be longer than a reader accepts";
}

bool isPlain(char c)
{
    return c != '"' && c != '\\' && static_cast<unsigned char>(c) >= 0x20;
}

std::string repaired(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::size_t length = wellFormedLength(text);
        result += length > 0 ? text.substr(0, length) : replacementCharacter;
        text.remove_prefix(length > 0 ? length : 1);
    }
    return result;
}

} // namespace

JsonWriteError::JsonWriteError(Kind kind, std::string path)
    : std::runtime_error(described(kind, path)), kind_(kind), path_(std::move(path))
{}

JsonWriter::JsonWriter(Layout layout, std::vector<std::uint8_t> prefix) : layout_(layout), text_(std::move(prefix)) {}

void JsonWriter::key(std::string_view key)
{
    separate();
    levels_.back().key = key;
    appendQuoted(key);
    append(layout_ == Layout::pretty ? ": " : ":");
}

void JsonWriter::null()
{
    beginValue();
    append("null");
}

void JsonWriter::boolean(bool value)
{
    beginValue();
    append(value ? "true" : "false");
}

void JsonWriter::integer(std::int64_t value)
{
    beginValue();
    appendDigits(value);
}

void JsonWriter::number(double value)
{
    constexpr double wholeLimit = 9007199254740992.0; // 2^53
    beginValue();
    if (!std::isfinite(value)) throw JsonWriteError(JsonWriteError::Kind::notFinite, path());
    if (value == 0 && std::signbit(value)) return append("-0.0");
    if (std::abs(value) < wholeLimit && value == std::trunc(value)) return appendDigits(static_cast<std::int64_t>(value));
    appendDigits(value);
}

void JsonWriter::string(std::string_view text)
{
    beginValue();
    appendQuoted(text);
}

void JsonWriter::base64(std::span<const std::uint8_t> bytes)
{
    beginValue();
    // Room for what follows too, so that a large picture is not moved again at once.
    const std::size_t needed = text_.size() + base64Length(bytes.size()) + 4096;
    if (needed > text_.capacity()) text_.reserve(std::max(needed, text_.capacity() + text_.capacity() / 2));
    append("\"");
    appendBase64(text_, bytes);
    append("\"");
}

std::string JsonWriter::path() const
{
    std::string path;
    for (const Level& level : levels_) {
        if (!level.isObject) {
            path += fmt::format("[{}]", level.count > 0 ? level.count - 1 : 0);
            continue;
        }
        if (!path.empty() && !level.key.empty()) path += '.';
        path += level.key;
    }
    return path;
}

std::vector<std::uint8_t> JsonWriter::take()
{
    requireReadableLength();
    return std::move(text_);
}

void JsonWriter::requireReadableLength() const
{
    if (text_.size() > JsonTree::longestText) throw JsonWriteError(JsonWriteError::Kind::tooLong, {});
}

void JsonWriter::beginContainer(char opening)
{
    beginValue();
    if (levels_.size() == JsonTree::deepestNesting) throw JsonWriteError(JsonWriteError::Kind::tooDeep, path());
    levels_.push_back({.isObject = opening == '{'});
    append({&opening, 1});
}

void JsonWriter::endContainer(char closing)
{
    const bool isEmpty = levels_.back().count == 0;
    levels_.pop_back();
    if (!isEmpty) startLine(levels_.size());
    append({&closing, 1});
}

/// What comes between a value and the one before. A member has it in front of its key.
void JsonWriter::beginValue()
{
    if (!levels_.empty() && !levels_.back().isObject) separate();
}

void JsonWriter::separate()
{
    requireReadableLength(); // Before memory runs out.
    if (levels_.back().count++ > 0) append(",");
    startLine(levels_.size());
}

void JsonWriter::startLine(std::size_t level)
{
    if (layout_ == Layout::compact) return;
    text_.push_back('\n');
    text_.insert(text_.end(), 2 * std::min(level, deepestIndentation), ' ');
}

template <typename Number>
void JsonWriter::appendDigits(Number value)
{
    char digits[32];
    append({digits, std::to_chars(digits, digits + sizeof digits, value).ptr});
}

void JsonWriter::appendQuoted(std::string_view text)
{
    if (!simdjson::validate_utf8(text)) return appendQuoted(repaired(text));

    append("\"");
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && isPlain(text[plain])) ++plain;
        append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;

        switch (const char c = text.front()) {
        case '"': append("\\\""); break;
        case '\\': append("\\\\"); break;
        case '\n': append("\\n"); break;
        case '\r': append("\\r"); break;
        case '\t': append("\\t"); break;
        default: append(fmt::format("\\u{:04x}", static_cast<unsigned>(c)));
        }
        text.remove_prefix(1);
    }
    append("\"");
}

} // namespace larkspool
