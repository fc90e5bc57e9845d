#include "platform/file_url.h"

#include <algorithm>
#include <optional>

namespace larkspool {

namespace {

constexpr std::string_view scheme = "file:";

char lowercased(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool hasScheme(std::string_view text)
{
    return text.size() >= scheme.size() && std::ranges::equal(text.substr(0, scheme.size()), scheme, {}, lowercased);
}

std::optional<int> hexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    c = lowercased(c);
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return std::nullopt;
}

std::string withoutEscapes(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::optional<int> high = text[i] == '%' && i + 2 < text.size() ? hexDigit(text[i + 1]) : std::nullopt;
        const std::optional<int> low = high ? hexDigit(text[i + 2]) : std::nullopt;
        if (!low) {
            bytes += text[i];
            continue;
        }
        bytes += static_cast<char>(*high * 16 + *low);
        i += 2;
    }
    return bytes;
}

/// The characters of a path that stand for themselves in a URL.
bool needsNoEscape(char c)
{
    const char lower = lowercased(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') ||
           std::string_view("/-._~!$&'()*+,=:@").find(c) != std::string_view::npos;
}

} // namespace

std::string pathFromURLOrPath(std::string_view text)
{
    if (!hasScheme(text)) return std::string(text);
    text.remove_prefix(scheme.size());
    text = text.substr(0, text.find_first_of("?#"));
    if (text.starts_with("//")) {
        const std::size_t path = text.find('/', 2);
        text = path == std::string_view::npos ? std::string_view() : text.substr(path);
    }
    std::string path = withoutEscapes(text);
    // The system would read such a name only up to its zero byte, which is another file.
    if (path.find('\0') != std::string::npos) return {};
    return path;
}

std::string fileURLFromPath(std::string_view path)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char c : path) {
        if (needsNoEscape(c)) {
            url += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        url += {'%', digits[byte >> 4], digits[byte & 15]};
    }
    return url;
}

} // namespace larkspool
