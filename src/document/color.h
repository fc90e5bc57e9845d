#pragma once

namespace larkspool {

/// A colour in straight (not premultiplied) sRGB, each channel 0...1. Values outside can arise from an overshooting move.
struct ColorRGBA {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 0;

    static const ColorRGBA clear;
    static const ColorRGBA black;
    static const ColorRGBA white;

    bool operator==(const ColorRGBA&) const = default;
};

inline constexpr ColorRGBA ColorRGBA::clear{0, 0, 0, 0};
inline constexpr ColorRGBA ColorRGBA::black{0, 0, 0, 1};
inline constexpr ColorRGBA ColorRGBA::white{1, 1, 1, 1};

} // namespace larkspool
