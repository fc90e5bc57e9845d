#include "rendering/patterns.h"

#include <algorithm>

namespace larkspool {

namespace {

constexpr std::uint64_t snowSeed = 0x9E3779B97F4A7C15u;
constexpr double greatestCells = 4096;

int wholeCells(double length, double side)
{
    return length > 0 ? static_cast<int>(std::min(length / side, greatestCells)) : 0;
}

} // namespace

TVSnowPattern::TVSnowPattern(CGSize size)
    : columns(wholeCells(size.width, cellSide)), rows(wholeCells(size.height, cellSide)), hasBars(size.height > 40), size_(size)
{
    greys.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    std::uint64_t state = snowSeed;
    for (std::uint8_t& grey : greys) {
        state ^= state << 13;
        state ^= state >> 7;
        grey = static_cast<std::uint8_t>(state);
        state ^= state << 17;
    }
}

void TVSnowPattern::draw(RasterContext& context, CGPoint origin) const
{
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const double grey = greys[static_cast<std::size_t>(row * columns + column)] / 255.0;
            context.setFillColor({grey, grey, grey, 1});
            context.fillRect({{origin.x + column * cellSide, origin.y + row * cellSide}, {cellSide, cellSide}});
        }
    }
    if (!hasBars) return;
    context.setFillColor({0, 0, 0, 0.18});
    for (double y = 0; y < std::min(size_.height, greatestCells * cellSide); y += 4)
        context.fillRect({{origin.x, origin.y + y}, {size_.width, 1.5}});
}

Path diagonalHatchPattern(const CGRect& rect)
{
    constexpr double spacing = 12;
    Path path;
    if (!(rect.size.width + rect.size.height < greatestCells * spacing)) return path;
    const double height = rect.size.height;
    for (double x = -height; x < rect.size.width + height; x += spacing) {
        path.moveTo({rect.minX() + x, rect.minY()});
        path.lineTo({rect.minX() + x + height, rect.maxY()});
    }
    return path;
}

void drawCheckerboardPattern(const CGRect& rect, RasterContext& context)
{
    constexpr double side = 4;
    context.setFillColor({1, 1, 1, 1});
    context.fillRect(rect);
    context.setFillColor({0.5, 0.5, 0.5, 0.45});
    const int columns = wholeCells(rect.size.width, side), rows = wholeCells(rect.size.height, side);
    for (int row = 0; row < rows; ++row)
        for (int column = row % 2; column < columns; column += 2)
            context.fillRect({{rect.minX() + column * side, rect.minY() + row * side}, {side, side}});
}

} // namespace larkspool
