#include "foundation/shared_bytes.h"

#include <algorithm>

namespace larkspool {

SharedString::SharedString(std::string_view text)
{
    if (!text.empty()) text_ = std::make_shared<const std::string>(text);
}

Bytes::Bytes(std::vector<std::uint8_t> bytes)
{
    if (!bytes.empty()) bytes_ = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
}

bool Bytes::operator==(const Bytes& other) const
{
    return bytes_ == other.bytes_ || std::ranges::equal(view(), other.view());
}

} // namespace larkspool
