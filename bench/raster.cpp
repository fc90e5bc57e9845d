// Draws the two frames that stress the raster most, by direct calls, and prints what each takes and how that compares with
// filling the frame once.
#include "platform/path.h"
#include "platform/pixel_buffer.h"
#include "platform/raster_context.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

using namespace larkspool;

constexpr int width = 1920, height = 1080;
constexpr int runs = 40;

const RasterColor backgroundColor{0.933, 0.941, 0.953, 1};
const RasterColor white{1, 1, 1, 1};

struct Times {
    double best, median; ///< Milliseconds.
};

Times measured(const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::sort(times);
    return {times.front(), times[times.size() / 2]};
}

void fillBackground(RasterContext& context)
{
    context.setFillColor(backgroundColor);
    context.fillRect({{0, 0}, {width, height}});
}

RoundedRect inset(const RoundedRect& box, double by)
{
    return {insetBy(box.rect, by, by), box.radius - by};
}

struct Style {
    RasterColor fill;
    RasterColor stroke;
    double strokeWidth;
};

/// A box as a layer paints it: the stroke as a ring, the fill within, and the seam between the two.
void paintBody(RasterContext& context, const RoundedRect& box, const Style& style)
{
    const Path outer = Path::roundedRect(box);
    const Path inner = Path::roundedRect(inset(box, style.strokeWidth));
    Path ring = outer;
    ring.add(inner);
    context.setFillColor(style.stroke);
    context.fillPath(ring, FillRule::evenOdd);
    context.setFillColor(style.fill);
    context.fillPath(inner, FillRule::winding);
    context.setStrokeColor(style.fill);
    context.setLineWidth(1);
    context.strokePath(inner);
}

void paintShadowed(RasterContext& context, const RoundedRect& box, const Style& style, const RasterShadow& shadow)
{
    SavedState saved(context);
    context.setShadow(shadow);
    TransparencyLayerHints hints{.bounds = box.rect, .coverage = {{box, style.stroke.a}}};
    if (style.stroke.a < 1) hints.coverage.push_back({inset(box, style.strokeWidth - 0.5), 1 - style.stroke.a});
    context.beginTransparencyLayer(hints);
    paintBody(context, box, style);
    context.endTransparencyLayer();
}

/// 24 cards with shadows, each with a pill, between pixels.
void drawCards(RasterContext& context)
{
    fillBackground(context);
    for (int i = 0; i < 24; ++i) {
        const double x = 55.37 + 310 * (i % 6), y = 60.61 + 245 * (i / 6);
        paintShadowed(context, {{{x, y}, {260, 150}}, 18}, {white, {0.85, 0.87, 0.90, 1}, 1.5}, {{0, 12}, 18, {0, 0, 0, 0.4}});
        context.setFillColor({0.2, 0.5, 1, 1});
        context.fillPath(Path::roundedRect({{{x + 20, y + 104}, {92, 26}}, 13}), FillRule::winding);
    }
}

/// 40 panels with large shadows that overlap, 16 of them painted again under a glow.
void drawShadows(RasterContext& context)
{
    fillBackground(context);
    for (int i = 0; i < 40; ++i) {
        const double x = 20.25 + 208 * (i % 8), y = 30.5 + 190 * (i / 8);
        const double radii[] = {12, 20, 28};
        const RoundedRect box{{{x, y}, {420, 260}}, radii[i % 3]};
        const Style style{{0.2, 0.5, 1, 1}, {1, 1, 1, 0.6}, 2};
        paintShadowed(context, box, style, {{0, 30}, 40, {0, 0, 0, 0.55}});
        if (i % 5 >= 2) continue;
        SavedState saved(context);
        const double glow = 0.1 + 0.9 * (i / 5) / 7.0;
        context.setShadow(RasterShadow{{0, 0}, 33 * glow, {0.2, 0.5, 1, 0.85 * glow}});
        paintBody(context, box, style);
    }
}

} // namespace

int main()
{
    PixelBuffer pixels(width, height);
    const std::unique_ptr<RasterContext> context = makeRasterContext(pixels);
    const Times floor = measured([&] { fillBackground(*context); });
    std::printf("%-8s %7.3f ms (median %7.3f)\n", "fill", floor.best, floor.median);
    const auto print = [&](const char* name, void (*draw)(RasterContext&)) {
        const Times times = measured([&] { draw(*context); });
        std::printf("%-8s %7.3f ms (median %7.3f), %5.1f fills of the frame\n", name, times.best, times.median,
                    times.best / floor.best);
    };
    print("cards", drawCards);
    print("shadows", drawShadows);
    return 0;
}
