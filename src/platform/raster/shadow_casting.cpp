#include "platform/raster/shadow_casting.h"

#include "platform/raster/box_painter.h"
#include "platform/raster/cairo_path.h"
#include "platform/raster/coverage_blur.h"
#include "platform/raster/pixel_color.h"
#include "platform/raster/vectorised.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// A wider blur is held to this, in device pixels, so that no document decides how far a shadow is computed.
constexpr double greatestBlur = 1000;

CGRect shiftedBy(const CGRect& rect, CGSize offset)
{
    if (rect.isNull()) return rect;
    return {{rect.origin.x + offset.width, rect.origin.y + offset.height}, rect.size};
}

bool isBoxOrRing(const DeviceBoxes& boxes)
{
    return boxes.size() == 1 || (boxes.size() == 2 && boxes.back().weight == -1);
}

LARKSPOOL_VECTORISED
void copyAlphas(const std::uint8_t* __restrict pixels, int count, std::uint8_t* __restrict alphas)
{
    for (int i = 0; i < count; ++i) alphas[i] = pixels[4 * i + 3];
}

CoverageImage emptyCoverage(const PixelRect& area)
{
    return {area, ScratchMemory<std::uint8_t>(static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height()))};
}

/// The coverage of a box or a ring, moved by the offset.
CoverageImage coverageOfBoxes(const DeviceBoxes& boxes, CGSize offset, const PixelRect& area)
{
    const auto moved = [&](const WeightedDeviceBox& box) { return DeviceBox{shiftedBy(box.rect, offset), box.radius}; };
    std::optional<DeviceBox> hole;
    if (boxes.size() == 2) hole = moved(boxes.back());
    const Canvas sheet(area, CAIRO_FORMAT_ARGB32);
    paintBox(sheet.target(), area, moved(boxes.front()), hole, {.alpha = level(boxes.front().weight)});
    CoverageImage coverage = emptyCoverage(area);
    for (int y = area.top; y < area.bottom; ++y)
        copyAlphas(sheet.target().at(area.left, y), area.width(),
                   coverage.values.data() + static_cast<std::ptrdiff_t>(y - area.top) * area.width());
    return coverage;
}

/// The coverage that `draw` draws, moved by the offset.
CoverageImage drawnCoverage(const CoverageDraw& draw, CGSize offset, const PixelRect& area)
{
    const Canvas mask(area, CAIRO_FORMAT_A8);
    mask.shift(offset);
    const int across = static_cast<int>(std::floor(offset.width)), down = static_cast<int>(std::floor(offset.height));
    draw(mask.cairo(), grownBy({area.left - across, area.top - down, area.right - across, area.bottom - down}, 1));
    mask.flush();
    CoverageImage coverage = emptyCoverage(area);
    for (int y = 0; y < area.height(); ++y)
        std::copy_n(mask.target().pixels + static_cast<std::size_t>(y) * mask.target().bytesPerRow, area.width(),
                    coverage.values.data() + static_cast<std::ptrdiff_t>(y) * area.width());
    return coverage;
}

BlurredCoverage blurred(const ShadowCaster& caster, CGSize offset, double sigma, const PixelRect& area)
{
    if (caster.boxes && canBlurAsBoxes(*caster.boxes, sigma)) {
        DeviceBoxes boxes = *caster.boxes;
        for (WeightedDeviceBox& box : boxes) box.rect = shiftedBy(box.rect, offset);
        return blurredBoxes(boxes, sigma, area);
    }
    // Coverage beyond the area shades pixels within it.
    const PixelRect shading = pixelsTouchedBy(shiftedBy(caster.bounds, offset), grownBy(area, shadowReach(sigma)));
    if (shading.empty()) return blurredCoverage({}, sigma, area);
    const bool paintsBoxes = caster.boxes && isBoxOrRing(*caster.boxes);
    return blurredCoverage(
        paintsBoxes ? coverageOfBoxes(*caster.boxes, offset, shading) : drawnCoverage(caster.draw, offset, shading), sigma, area);
}

} // namespace

double shadowSigma(double blur)
{
    return std::clamp(blur, 0.0, greatestBlur) * 0.5;
}

void castShadow(const ShadowGround& ground, const RasterShadow& shadow, const ShadowCaster& caster)
{
    const double alpha = heldToOne(shadow.color.a) * caster.alpha;
    if (!(alpha > 0) || !(std::hypot(shadow.offset.width, shadow.offset.height) < greatestDeviceLength) ||
        std::isnan(shadow.blur))
        return;

    const double sigma = shadowSigma(shadow.blur);
    const int reach = shadowReach(sigma, alpha);
    const CGRect shifted = shiftedBy(caster.bounds, shadow.offset);
    const PixelRect area = pixelsTouchedBy(insetBy(shifted, -reach, -reach), ground.clip);
    if (area.empty()) return;

    const BlurredCoverage coverage = blurred(caster, shadow.offset, sigma, area);
    const ShadowColor color{
        .blue = level(shadow.color.b), .green = level(shadow.color.g), .red = level(shadow.color.r), .alpha = alpha};
    if (ground.clipIsRect) {
        ground.canvas.flush();
        compositeShadow(ground.canvas.target(), ground.clip, coverage, color, caster.covered);
        ground.canvas.markWritten();
        return;
    }
    const Canvas sheet(area, CAIRO_FORMAT_ARGB32);
    compositeShadow(sheet.target(), area, coverage, color, {});
    sheet.markWritten();
    cairo_set_source_surface(ground.canvas.cairo(), sheet.surface(), 0, 0);
    cairo_paint(ground.canvas.cairo());
}

} // namespace larkspool
