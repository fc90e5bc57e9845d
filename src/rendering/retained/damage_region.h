#pragma once

#include "platform/raster/pixel_rect.h"

#include <cstdint>
#include <vector>

namespace larkspool {

/// Some of the pixels of a raster, in tiles of 32 by 32.
class DamageRegion {
public:
    static constexpr int tileSide = 32;

    /// Nothing of a raster, whose first pixel is at 0, 0.
    void reset(int width, int height);

    void add(const PixelRect& rect);
    void add(const DamageRegion& other); ///< Of a raster of the same size.
    void addAll();

    bool empty() const;
    bool operator==(const DamageRegion&) const = default;

    /// The region as a few rectangles that share no pixel, with what lies between where there would be too many.
    void appendTo(std::vector<PixelRect>& rects) const;

private:
    enum class Runs { asTheyAre, joined }; ///< Joined: one for each row of tiles.

    void appendRuns(std::vector<PixelRect>& rects, Runs runs) const;
    std::uint64_t* row(int y) { return bits_.data() + static_cast<std::ptrdiff_t>(y) * words_; }
    const std::uint64_t* row(int y) const { return bits_.data() + static_cast<std::ptrdiff_t>(y) * words_; }

    int width_ = 0, height_ = 0;
    int columns_ = 0, rows_ = 0, words_ = 0; ///< Of tiles.
    std::vector<std::uint64_t> bits_;
};

} // namespace larkspool
