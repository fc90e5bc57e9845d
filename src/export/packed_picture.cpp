#include "export/packed_picture.h"

#include <algorithm>
#include <cassert>

namespace larkspool {

namespace {

/// A row is a list of pieces, each of which begins with a word that tells its kind, and how many pixels it is for.
enum Kind : std::uint32_t {
    above = 0U << 30, ///< As in the row above. Nothing follows.
    plain = 1U << 30, ///< All alike. One pixel follows.
    given = 2U << 30  ///< As they follow.
};
constexpr std::uint32_t kindMask = 3U << 30;

/// What is shorter is given as it is: its own word and that of what comes next would take as much.
constexpr std::ptrdiff_t shortestPiece = 4;

using Pixels = const std::uint32_t*;

Pixels rowOf(const PixelBuffer& picture, int y)
{
    return reinterpret_cast<Pixels>(picture.row(y));
}

std::ptrdiff_t lengthAsAbove(Pixels at, Pixels end, Pixels aboveAt)
{
    return aboveAt ? std::mismatch(at, end, aboveAt).first - at : 0;
}

std::ptrdiff_t lengthOfPlain(Pixels at, Pixels end)
{
    return std::find_if(at, end, [first = *at](std::uint32_t pixel) { return pixel != first; }) - at;
}

class Packer {
public:
    explicit Packer(std::vector<std::uint32_t>& words) : words_(words) {}

    void pack(Pixels row, std::ptrdiff_t width, Pixels rowAbove)
    {
        const Pixels end = row + width;
        Pixels givenFrom = row;
        for (Pixels at = row; at != end;) {
            const std::ptrdiff_t asAbove = lengthAsAbove(at, end, rowAbove ? rowAbove + (at - row) : nullptr);
            const std::ptrdiff_t alike = lengthOfPlain(at, end);
            const std::ptrdiff_t length = std::max(asAbove, alike);
            if (length < shortestPiece) {
                at += length;
                continue;
            }
            give(givenFrom, at);
            begin(asAbove >= alike ? above : plain, length);
            if (asAbove < alike) words_.push_back(*at);
            at += length;
            givenFrom = at;
        }
        give(givenFrom, end);
    }

private:
    void begin(Kind kind, std::ptrdiff_t length) { words_.push_back(kind | static_cast<std::uint32_t>(length)); }

    void give(Pixels from, Pixels to)
    {
        if (from == to) return;
        begin(given, to - from);
        words_.insert(words_.end(), from, to);
    }

    std::vector<std::uint32_t>& words_;
};

} // namespace

PackedPicture::PackedPicture(const PixelBuffer& picture)
{
    Packer packer(words_);
    for (int y = 0; y < picture.height(); ++y)
        packer.pack(rowOf(picture, y), picture.width(), y > 0 ? rowOf(picture, y - 1) : nullptr);
}

void PackedPicture::unpack(PixelBuffer& picture) const
{
    const std::uint32_t* word = words_.data();
    for (int y = 0; y < picture.height(); ++y) {
        auto* at = reinterpret_cast<std::uint32_t*>(picture.row(y));
        for (std::uint32_t* const end = at + picture.width(); at != end;) {
            const std::uint32_t kind = *word & kindMask, length = *word & ~kindMask;
            ++word;
            assert(length <= end - at);
            if (kind == above) std::copy_n(at - picture.bytesPerRow() / sizeof(*at), length, at);
            if (kind == plain) std::fill_n(at, length, *word++);
            if (kind == given) {
                std::copy_n(word, length, at);
                word += length;
            }
            at += length;
        }
    }
}

} // namespace larkspool
