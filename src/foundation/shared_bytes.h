#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// Immutable UTF-8 text that copies in constant time. Assign a new text to change it.
class SharedString {
public:
    SharedString() = default;
    SharedString(std::string_view text);
    SharedString(const std::string& text) : SharedString(std::string_view(text)) {}
    SharedString(const char* text) : SharedString(std::string_view(text)) {}

    std::string_view view() const { return text_ ? std::string_view(*text_) : std::string_view(); }
    operator std::string_view() const { return view(); }
    std::string string() const { return std::string(view()); }
    bool empty() const { return !text_; }

    bool operator==(const SharedString& other) const { return text_ == other.text_ || view() == other.view(); }
    bool operator==(std::string_view other) const { return view() == other; }
    bool operator==(const char* other) const { return view() == other; }

private:
    std::shared_ptr<const std::string> text_; ///< Absent for the empty text.
};

/// Immutable bytes that copy in constant time.
class Bytes {
public:
    Bytes() = default;
    Bytes(std::vector<std::uint8_t> bytes);

    std::span<const std::uint8_t> view() const { return bytes_ ? std::span<const std::uint8_t>(*bytes_) : std::span<const std::uint8_t>(); }
    std::size_t size() const { return bytes_ ? bytes_->size() : 0; }
    bool empty() const { return !bytes_; }

    /// Whether the two are one and the same buffer.
    bool sharesStorageWith(const Bytes& other) const { return bytes_ == other.bytes_; }

    bool operator==(const Bytes& other) const;

private:
    std::shared_ptr<const std::vector<std::uint8_t>> bytes_; ///< Absent for no bytes.
};

} // namespace larkspool
