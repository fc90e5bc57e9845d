#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace larkspool {

/// Why a text is not JSON, and where.
class JsonSyntaxError : public std::runtime_error {
public:
    JsonSyntaxError(std::string reason, std::size_t byteOffset);

    const std::string& reason() const noexcept { return reason_; }
    std::size_t byteOffset() const noexcept { return byteOffset_; } ///< From the start of the text.

private:
    std::string reason_;
    std::size_t byteOffset_;
};

class JsonTree;
struct JsonMember;

/// One value of a parsed JSON text: a small handle into its tree, which must outlive it.
///
/// A question that does not fit the kind of the value is answered by nothing, or by an empty list.
class JsonValue {
public:
    enum class Kind : std::uint8_t { null, boolean, number, string, array, object };

    /// A null that belongs to no text.
    JsonValue() = default;

    Kind kind() const;
    bool isNull() const { return kind() == Kind::null; }
    bool isArray() const { return kind() == Kind::array; }
    bool isObject() const { return kind() == Kind::object; }

    std::optional<bool> boolean() const;

    /// The nearest double; nothing for a number beyond the finite ones. A number too small for a double is 0.
    std::optional<double> number() const;

    /// The number if it is whole and fits 64 bits, however it is written: 24, 24.0 and 2.4e1 are the same.
    std::optional<std::int64_t> integer() const;

    /// The number as it stands in the text.
    std::string_view numberText() const;

    /// The text without its quotes and with its escapes resolved.
    std::optional<std::string_view> string() const;

    /// How many elements or members there are. Members with equal keys count one by one.
    std::size_t size() const;

    template <typename Item>
    class Range;
    Range<JsonValue> elements() const;
    /// In the order of the text; where a key comes twice, the last one holds.
    Range<JsonMember> members() const;

    /// The member that holds under `key`, or nothing. Walks all members.
    std::optional<JsonValue> find(std::string_view key) const;

private:
    friend class JsonTree;
    template <typename Item>
    friend class JsonRangeIterator;
    JsonValue(const JsonTree* tree, std::uint32_t node) : tree_(tree), node_(node) {}

    const JsonTree* tree_ = nullptr;
    std::uint32_t node_ = 0;
};

struct JsonMember {
    std::string_view key;
    JsonValue value;
};

/// The values of one JSON text (RFC 8259), parsed once, for reading. It keeps views into the text, which must outlive it.
///
/// Strict: no comments, no trailing commas, nothing behind the value, valid UTF-8, no lone surrogates. Memory is linear in the
/// text and nothing recurses. Numbers are checked for their grammar alone: what they mean is decided where they are read.
class JsonTree {
public:
    /// Arrays and objects within one another. A text that goes deeper is refused.
    static constexpr std::size_t deepestNesting = 512;
    /// Bytes. A longer text is refused.
    static constexpr std::size_t longestText = 0xFFFFFFF0;

    /// Throws JsonSyntaxError.
    explicit JsonTree(std::string_view text);

    JsonTree(const JsonTree&) = delete;
    JsonTree& operator=(const JsonTree&) = delete;

    JsonValue root() const { return {this, 0}; }

private:
    friend class JsonValue;
    template <typename Item>
    friend class JsonRangeIterator;
    class Parser;

    /// A container is followed by its contents: the elements, or keys and values in turn.
    struct Node {
        std::uint32_t offset = 0; ///< Of the characters of a string, key or number.
        std::uint32_t length = 0; ///< Characters; elements; members; 1 for true.
        std::uint32_t end = 0;    ///< The node behind this one and its contents.
        JsonValue::Kind kind = JsonValue::Kind::null;
        bool isUnescaped = false; ///< The offset points into `unescaped_` rather than into the text.
    };

    std::string_view characters(const Node& node) const;

    std::string_view text_;
    std::string unescaped_; ///< The strings that the text has with escapes in them, one behind the other.
    std::vector<Node> nodes_;
};

template <typename Item>
class JsonRangeIterator {
public:
    using value_type = Item;
    using difference_type = std::ptrdiff_t;

    JsonRangeIterator() = default;
    JsonRangeIterator(const JsonTree* tree, std::uint32_t node) : tree_(tree), node_(node) {}

    Item operator*() const
    {
        if constexpr (isMember)
            return {tree_->characters(tree_->nodes_[node_]), JsonValue(tree_, node_ + 1)};
        else
            return JsonValue(tree_, node_);
    }
    JsonRangeIterator& operator++()
    {
        node_ = tree_->nodes_[isMember ? node_ + 1 : node_].end;
        return *this;
    }
    JsonRangeIterator operator++(int)
    {
        JsonRangeIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const JsonRangeIterator&) const = default;

private:
    static constexpr bool isMember = std::is_same_v<Item, JsonMember>;

    const JsonTree* tree_ = nullptr;
    std::uint32_t node_ = 0;
};

template <typename Item>
class JsonValue::Range {
public:
    Range(JsonRangeIterator<Item> first, JsonRangeIterator<Item> last) : first_(first), last_(last) {}
    JsonRangeIterator<Item> begin() const { return first_; }
    JsonRangeIterator<Item> end() const { return last_; }

private:
    JsonRangeIterator<Item> first_;
    JsonRangeIterator<Item> last_;
};

} // namespace larkspool
