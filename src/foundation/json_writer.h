#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// Why a value cannot be written as JSON, and where in the text it would have stood: "scenes[0].layers[3].opacity".
class JsonWriteError : public std::runtime_error {
public:
    enum class Kind {
        notFinite, ///< A number is infinite or not a number.
        tooDeep,   ///< Values are nested deeper than a reader accepts.
        tooLong,   ///< The text is longer than a reader accepts.
    };

    JsonWriteError(Kind kind, std::string path);

    Kind kind() const noexcept { return kind_; }
    const std::string& path() const noexcept { return path_; }

private:
    Kind kind_;
    std::string path_;
};

/// Writes one JSON text, value by value, into bytes that JsonTree reads back.
///
/// The caller brings the keys of an object in ascending order of their bytes. Numbers take the shortest form that reads back
/// as the same double: a whole one below 2^53 has no fraction, and negative zero is "-0.0". Text that is not UTF-8 has each
/// malformed byte replaced by U+FFFD. Each call can throw JsonWriteError, once the text is longer than a reader accepts.
class JsonWriter {
public:
    enum class Layout {
        pretty, ///< One value to a line, two spaces for each level up to the 64th.
        compact ///< No white space.
    };

    /// Writes behind `prefix`.
    explicit JsonWriter(Layout layout = Layout::pretty, std::vector<std::uint8_t> prefix = {});

    void beginObject() { beginContainer('{'); }
    void endObject() { endContainer('}'); }
    void beginArray() { beginContainer('['); }
    void endArray() { endContainer(']'); }

    /// The key of the value that comes next. It must stay valid until its object ends.
    void key(std::string_view key);

    void null();
    void boolean(bool value);
    void integer(std::int64_t value);
    void number(double value); ///< Throws JsonWriteError unless the value is finite.
    void string(std::string_view text);
    void base64(std::span<const std::uint8_t> bytes);

    /// Where the value written last, or being written, stands.
    std::string path() const;

    /// The whole text. Throws JsonWriteError if it is longer than a reader accepts. Nothing more can be written.
    std::vector<std::uint8_t> take();

private:
    struct Level {
        std::string_view key;  ///< Of the member written last, in an object.
        std::size_t count = 0; ///< Values so far.
        bool isObject = false;
    };

    void beginContainer(char opening);
    void endContainer(char closing);
    void beginValue();
    void separate();
    void startLine(std::size_t level);
    void requireReadableLength() const;
    void append(std::string_view text) { text_.insert(text_.end(), text.begin(), text.end()); }
    template <typename Number>
    void appendDigits(Number value);
    void appendQuoted(std::string_view text);

    Layout layout_;
    std::vector<std::uint8_t> text_;
    std::vector<Level> levels_;
};

} // namespace larkspool
