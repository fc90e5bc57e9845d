#pragma once

#include "foundation/json_tree.h"
#include "foundation/json_writer.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace larkspool {

/// A value whose shape is not known beforehand: what a tool is called with, the schema that says so, an operation of a patch.
///
/// Equal are values of the same kind alone: the integer 1 is not the number 1.0. The order of an object's keys does not count.
/// A question that does not fit the kind is answered by nothing.
class JSON {
public:
    enum class Kind : std::uint8_t { null, boolean, integer, number, string, array, object };
    using Array = std::vector<JSON>;
    using Object = std::map<std::string, JSON, std::less<>>;

    /// Arrays and objects within one another. A deeper value is not read: what was read can always be sent back inside a request.
    static constexpr std::size_t deepestNesting = 500;

    JSON() = default; ///< Null.
    JSON(std::nullptr_t) {}
    template <std::same_as<bool> Boolean>
    JSON(Boolean value) : value_(value)
    {}
    template <std::signed_integral Integer>
    JSON(Integer value) : value_(static_cast<std::int64_t>(value))
    {}
    JSON(double value) : value_(value) {}
    JSON(const char* text) : value_(std::string(text)) {}
    JSON(std::string_view text) : value_(std::string(text)) {}
    JSON(std::string text) : value_(std::move(text)) {}
    JSON(Array elements) : value_(std::move(elements)) {}
    JSON(Object members) : value_(std::move(members)) {}

    /// The value of a JSON text. A whole number that fits 64 bits is an integer, however it is written; any other is a number.
    ///
    /// Throws JsonSyntaxError for a text that is none, and DecodingError for a number beyond all doubles ("Unknown JSON value")
    /// and for one that is nested too deep.
    static JSON decode(std::string_view text);

    /// The same for a value of a larger text.
    static JSON decode(const JsonValue& value);

    Kind kind() const { return static_cast<Kind>(value_.index()); }
    bool isNull() const { return kind() == Kind::null; }

    /// The member of an object.
    const JSON* operator[](std::string_view key) const;

    const std::string* string() const { return std::get_if<std::string>(&value_); }
    std::optional<std::int64_t> integer() const; ///< Of a number, what is left of it without its fraction, if that fits 64 bits.
    std::optional<double> number() const; ///< Of an integer, the nearest.
    std::optional<bool> boolean() const;
    const Array* array() const { return std::get_if<Array>(&value_); }
    const Object* object() const { return std::get_if<Object>(&value_); }

    /// Writes the value in its natural form, the keys of objects in ascending order. Throws JsonWriteError.
    void write(JsonWriter& writer) const;
    std::string encoded(JsonWriter::Layout layout = JsonWriter::Layout::compact) const;

    bool operator==(const JSON&) const = default;

private:
    /// In the order of Kind.
    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object> value_;
};

} // namespace larkspool
