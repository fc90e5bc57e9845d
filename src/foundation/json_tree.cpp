#include "foundation/json_tree.h"

#include "foundation/text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <simdjson.h>

namespace larkspool {

namespace {

constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr std::uint64_t eachByte(std::uint8_t value)
{
    return 0x0101010101010101u * value;
}

/// Sets the top bit of zero bytes. Bytes above the lowest zero byte can be marked wrongly, the lowest never.
constexpr std::uint64_t zeroBytes(std::uint64_t word)
{
    return (word - eachByte(1)) & ~word & eachByte(0x80);
}

/// The first quote, backslash or control character, or `end`. Eight characters at a time.
const char* endOfPlainCharacters(const char* next, const char* end)
{
    if constexpr (std::endian::native == std::endian::little) {
        for (; end - next >= 8; next += 8) {
            std::uint64_t word;
            std::memcpy(&word, next, sizeof word);
            const std::uint64_t control = (word - eachByte(0x20)) & ~word & eachByte(0x80);
            const std::uint64_t special = zeroBytes(word ^ eachByte('"')) | zeroBytes(word ^ eachByte('\\')) | control;
            if (special) return next + std::countr_zero(special) / 8;
        }
    }
    while (next != end && *next != '"' && *next != '\\' && static_cast<unsigned char>(*next) >= 0x20) ++next;
    return next;
}

std::size_t firstMalformedByte(std::string_view text)
{
    std::size_t offset = 0;
    while (offset < text.size()) {
        const std::size_t length = wellFormedLength(text.substr(offset));
        if (length == 0) break;
        offset += length;
    }
    return offset;
}

void appendUtf8(std::string& text, std::uint32_t codePoint)
{
    const auto append = [&](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto continuation = [&](unsigned shift) { append(0x80 | (codePoint >> shift & 0x3F)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
        continuation(0);
    } else if (codePoint < 0x10000) {
        append(0xE0 | codePoint >> 12);
        continuation(6);
        continuation(0);
    } else {
        append(0xF0 | codePoint >> 18);
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

std::optional<std::int64_t> parsedInteger(std::string_view digits)
{
    std::int64_t value = 0;
    const auto [rest, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc{} || rest != digits.data() + digits.size()) return std::nullopt;
    return value;
}

/// A decimal number of the JSON grammar in its parts.
struct Decimal {
    bool isNegative = false;
    std::string_view whole;
    std::string_view fraction;
    std::string_view exponent; ///< With its sign.

    explicit Decimal(std::string_view text)
    {
        isNegative = text.starts_with('-');
        if (isNegative) text.remove_prefix(1);
        const std::size_t exponentMark = text.find_first_of("eE");
        if (exponentMark != text.npos) exponent = text.substr(exponentMark + 1);
        if (exponent.starts_with('+')) exponent.remove_prefix(1);
        const std::string_view digits = text.substr(0, exponentMark);
        const std::size_t point = digits.find('.');
        whole = digits.substr(0, point);
        if (point != digits.npos) fraction = digits.substr(point + 1);
    }

    /// How many places the exponent moves the decimal point to the right, held within what any text can make up for.
    std::int64_t shift() const
    {
        constexpr std::int64_t beyondAnyText = 1'000'000'000'000;
        if (exponent.empty()) return 0;
        std::int64_t places = 0;
        const auto [rest, error] = std::from_chars(exponent.data(), exponent.data() + exponent.size(), places);
        if (error != std::errc{}) return exponent.starts_with('-') ? -beyondAnyText : beyondAnyText;
        return std::clamp(places, -beyondAnyText, beyondAnyText);
    }

    /// The place of the first digit that is not 0, counted from the decimal point: 0 for tenths, 1 for ones, 2 for tens.
    std::int64_t leadingPlace() const
    {
        const std::size_t firstWhole = whole.find_first_not_of('0');
        if (firstWhole != whole.npos) return static_cast<std::int64_t>(whole.size() - firstWhole) + shift();
        const std::size_t firstFraction = fraction.find_first_not_of('0');
        return shift() - static_cast<std::int64_t>(firstFraction == fraction.npos ? 0 : firstFraction);
    }

    /// The number if it is whole and fits 64 bits, without going through a double.
    std::optional<std::int64_t> integer() const
    {
        constexpr std::int64_t mostDigits = 19;
        std::string digits(whole);
        digits += fraction;
        const std::size_t last = digits.find_last_not_of('0');
        if (last == digits.npos) return 0;
        const std::int64_t wholeDigits = static_cast<std::int64_t>(whole.size()) + shift();
        if (static_cast<std::int64_t>(last) >= wholeDigits || leadingPlace() > mostDigits) return std::nullopt;
        digits.resize(static_cast<std::size_t>(wholeDigits), '0');
        return parsedInteger(isNegative ? "-" + digits : digits);
    }
};

} // namespace

JsonSyntaxError::JsonSyntaxError(std::string reason, std::size_t byteOffset)
    : std::runtime_error(fmt::format("{} at byte {}", reason, byteOffset)), reason_(std::move(reason)), byteOffset_(byteOffset)
{}

/// Fills a tree from its text. The containers that are still open lie on a stack of its own.
class JsonTree::Parser {
public:
    explicit Parser(JsonTree& tree) : tree_(tree), begin_(tree.text_.data()), next_(begin_), end_(begin_ + tree.text_.size()) {}

    void parse()
    {
        skipSpace();
        do {
            parseValue();
        } while (moveToNextValue());
        skipSpace();
        if (next_ != end_) fail("unexpected text behind the end");
    }

private:
    using Kind = JsonValue::Kind;

    [[noreturn]] void fail(std::string reason) const { failAt(next_, std::move(reason)); }
    [[noreturn]] void failAt(const char* place, std::string reason) const
    {
        throw JsonSyntaxError(std::move(reason), static_cast<std::size_t>(place - begin_));
    }

    /// The next character. At the end of the text, a zero, which no rule accepts.
    char peek() const { return next_ != end_ ? *next_ : '\0'; }

    [[noreturn]] void failUnexpected(std::string_view expected) const
    {
        fail(next_ == end_ ? "unexpected end of the text" : fmt::format("expected {}", expected));
    }

    void skipSpace()
    {
        for (;;) {
            // Indentation comes in long runs.
            while (end_ - next_ >= 8 && std::memcmp(next_, "        ", 8) == 0) next_ += 8;
            const char c = peek();
            if (c != ' ' && c != '\n' && c != '\r' && c != '\t') return;
            ++next_;
        }
    }

    std::uint32_t offsetOf(const char* place) const { return static_cast<std::uint32_t>(place - begin_); }

    Node& append(Kind kind)
    {
        Node& node = tree_.nodes_.emplace_back();
        node.kind = kind;
        node.end = static_cast<std::uint32_t>(tree_.nodes_.size());
        return node;
    }

    /// One value; of a container, only its opening, up to its first value.
    void parseValue()
    {
        if (!open_.empty()) ++tree_.nodes_[open_.back()].length;
        switch (peek()) {
        case '{': return openContainer(Kind::object);
        case '[': return openContainer(Kind::array);
        case '"': return parseString();
        case 't':
            parseWord("true");
            append(Kind::boolean).length = 1;
            return;
        case 'f':
            parseWord("false");
            append(Kind::boolean);
            return;
        case 'n':
            parseWord("null");
            append(Kind::null);
            return;
        default: parseNumber();
        }
    }

    void openContainer(Kind kind)
    {
        if (open_.size() == deepestNesting) fail(fmt::format("values nested deeper than {} levels", deepestNesting));
        open_.push_back(static_cast<std::uint32_t>(tree_.nodes_.size()));
        append(kind);
        ++next_;
        skipSpace();
        isFirst_ = true;
    }

    void closeContainer()
    {
        tree_.nodes_[open_.back()].end = static_cast<std::uint32_t>(tree_.nodes_.size());
        open_.pop_back();
        ++next_;
    }

    /// Goes on to where a value starts, past commas, keys and the ends of containers. False at the end of the whole.
    bool moveToNextValue()
    {
        while (!open_.empty()) {
            const bool isObject = tree_.nodes_[open_.back()].kind == Kind::object;
            const bool isFirst = std::exchange(isFirst_, false);
            skipSpace();
            if (peek() == (isObject ? '}' : ']')) {
                closeContainer();
                continue;
            }
            if (!isFirst) {
                if (peek() != ',')
                    failUnexpected(isObject ? "a comma or the end of the object" : "a comma or the end of the array");
                ++next_;
                skipSpace();
            }
            if (isObject) parseKey();
            return true;
        }
        return false;
    }

    void parseKey()
    {
        if (peek() != '"') failUnexpected("a key in quotes");
        parseString();
        skipSpace();
        if (peek() != ':') failUnexpected("a colon");
        ++next_;
        skipSpace();
    }

    void parseWord(std::string_view word)
    {
        if (!std::string_view(next_, static_cast<std::size_t>(end_ - next_)).starts_with(word)) fail("expected a value");
        next_ += word.size();
    }

    void parseNumber()
    {
        const char* start = next_;
        if (peek() == '-') ++next_;
        if (!isDigit(peek())) {
            if (next_ == start) failUnexpected("a value");
            failUnexpected("a digit");
        }
        if (*next_ == '0')
            ++next_;
        else
            skipDigits();
        if (peek() == '.') {
            ++next_;
            skipDigits();
        }
        if (peek() == 'e' || peek() == 'E') {
            ++next_;
            if (peek() == '+' || peek() == '-') ++next_;
            skipDigits();
        }
        Node& node = append(Kind::number);
        node.offset = offsetOf(start);
        node.length = static_cast<std::uint32_t>(next_ - start);
    }

    void skipDigits()
    {
        if (!isDigit(peek())) failUnexpected("a digit");
        while (isDigit(peek())) ++next_;
    }

    void parseString()
    {
        const char* start = ++next_;
        next_ = endOfPlainCharacters(next_, end_);
        if (peek() == '\\') return parseEscapedString(start);
        requireClosingQuote();
        Node& node = append(Kind::string);
        node.offset = offsetOf(start);
        node.length = static_cast<std::uint32_t>(next_ - start);
        ++next_;
    }

    void requireClosingQuote() const
    {
        if (next_ == end_) fail("unexpected end of the text");
        if (*next_ != '"') fail("a control character in a string");
    }

    void parseEscapedString(const char* start)
    {
        std::string& unescaped = tree_.unescaped_;
        const std::size_t first = unescaped.size();
        for (;;) {
            unescaped.append(start, next_);
            if (peek() != '\\') break;
            parseEscape(unescaped);
            start = next_;
            next_ = endOfPlainCharacters(next_, end_);
        }
        requireClosingQuote();
        ++next_;
        Node& node = append(Kind::string);
        node.isUnescaped = true;
        node.offset = static_cast<std::uint32_t>(first);
        node.length = static_cast<std::uint32_t>(unescaped.size() - first);
    }

    void parseEscape(std::string& unescaped)
    {
        const char* escape = next_++;
        const char c = peek();
        constexpr std::string_view letters = "\"\\/bfnrt", meanings = "\"\\/\b\f\n\r\t";
        const std::size_t letter = letters.find(c);
        if (letter != letters.npos) {
            unescaped.push_back(meanings[letter]);
            ++next_;
            return;
        }
        if (c != 'u') failUnexpected("an escape");
        appendUtf8(unescaped, parseCodePoint(escape));
    }

    std::uint32_t parseCodePoint(const char* escape)
    {
        constexpr std::uint32_t firstHigh = 0xD800, firstLow = 0xDC00, lastLow = 0xDFFF;
        const std::uint32_t unit = parseFourDigits();
        if (unit < firstHigh || unit > lastLow) return unit;
        if (unit >= firstLow || peek() != '\\') failAt(escape, "a lone surrogate");
        ++next_;
        if (peek() != 'u') failAt(escape, "a lone surrogate");
        const std::uint32_t low = parseFourDigits();
        if (low < firstLow || low > lastLow) failAt(escape, "a lone surrogate");
        return 0x10000 + (unit - firstHigh) * 0x400 + (low - firstLow);
    }

    /// The digits behind the "u" that comes next.
    std::uint32_t parseFourDigits()
    {
        ++next_;
        std::uint32_t unit = 0;
        for (int i = 0; i < 4; ++i, ++next_) {
            const char c = peek();
            const char lower = static_cast<char>(c | 0x20);
            if (isDigit(c))
                unit = unit * 16 + static_cast<std::uint32_t>(c - '0');
            else if (lower >= 'a' && lower <= 'f')
                unit = unit * 16 + static_cast<std::uint32_t>(lower - 'a' + 10);
            else
                failUnexpected("four hexadecimal digits");
        }
        return unit;
    }

    JsonTree& tree_;
    const char* begin_;
    const char* next_;
    const char* end_;
    std::vector<std::uint32_t> open_;
    bool isFirst_ = false; ///< The innermost container was opened just now.
};

JsonTree::JsonTree(std::string_view text) : text_(text)
{
    if (text.size() > longestText) throw JsonSyntaxError("a text longer than 4 GiB", longestText);
    if (!simdjson::validate_utf8(text)) throw JsonSyntaxError("invalid UTF-8", firstMalformedByte(text));
    Parser(*this).parse();
}

std::string_view JsonTree::characters(const Node& node) const
{
    return (node.isUnescaped ? std::string_view(unescaped_) : text_).substr(node.offset, node.length);
}

JsonValue::Kind JsonValue::kind() const
{
    return tree_ ? tree_->nodes_[node_].kind : Kind::null;
}

std::optional<bool> JsonValue::boolean() const
{
    if (kind() != Kind::boolean) return std::nullopt;
    return tree_->nodes_[node_].length == 1;
}

std::string_view JsonValue::numberText() const
{
    return kind() == Kind::number ? tree_->characters(tree_->nodes_[node_]) : std::string_view();
}

std::optional<double> JsonValue::number() const
{
    if (kind() != Kind::number) return std::nullopt;
    const std::string_view text = numberText();
    double value = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc{} && std::isfinite(value)) return value;

    const Decimal decimal(text);
    if (decimal.leadingPlace() > 0) return std::nullopt;
    return decimal.isNegative ? -0.0 : 0.0;
}

std::optional<std::int64_t> JsonValue::integer() const
{
    if (kind() != Kind::number) return std::nullopt;
    const std::string_view text = numberText();
    if (const std::optional<std::int64_t> plain = parsedInteger(text)) return plain;

    return Decimal(text).integer();
}

std::optional<std::string_view> JsonValue::string() const
{
    if (kind() != Kind::string) return std::nullopt;
    return tree_->characters(tree_->nodes_[node_]);
}

std::size_t JsonValue::size() const
{
    return isArray() || isObject() ? tree_->nodes_[node_].length : 0;
}

JsonValue::Range<JsonValue> JsonValue::elements() const
{
    if (!isArray()) return {{}, {}};
    return {{tree_, node_ + 1}, {tree_, tree_->nodes_[node_].end}};
}

JsonValue::Range<JsonMember> JsonValue::members() const
{
    if (!isObject()) return {{}, {}};
    return {{tree_, node_ + 1}, {tree_, tree_->nodes_[node_].end}};
}

std::optional<JsonValue> JsonValue::find(std::string_view key) const
{
    std::optional<JsonValue> found;
    for (const JsonMember& member : members())
        if (member.key == key) found = member.value;
    return found;
}

} // namespace larkspool
