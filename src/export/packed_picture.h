#pragma once

#include "platform/pixel_buffer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace larkspool {

/// A picture kept in less memory, exactly: the plainer, the less. One without anything plain takes a little more than it did.
class PackedPicture {
public:
    explicit PackedPicture(const PixelBuffer& picture);

    /// Puts it into a picture of the same size.
    void unpack(PixelBuffer& picture) const;

    std::size_t byteSize() const { return words_.size() * sizeof(std::uint32_t); }

private:
    std::vector<std::uint32_t> words_;
};

} // namespace larkspool
