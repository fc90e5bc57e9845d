#include "rendering/gradient_field.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

constexpr double pi = std::numbers::pi;

/// Turns a second of the field's colours.
constexpr double driftRate = 0.05;
/// Breaths a second of the spots' size; their light goes at three quarters of it.
constexpr double breathRate = 0.18;
constexpr double lightRate = 0.75;

/// No picture is wider or higher than this; a larger box is drawn from one that is scaled up.
constexpr double greatestSide = 4096;

/// Light whose spots are all at least this large, in pixels, is worked out at every other pixel both ways and filled in between:
/// that is off by less than a step of 8 bits, most at the tip of a spot.
constexpr double leastCoarseRadius = 400;
constexpr int greatestSampleStep = 2;

/// Colours of a linear gradient that are told apart.
constexpr int gradientSteps = 4096;

GradientBlob blobAt(int index, const Layer& layer, CGSize size, double drift, double pulse, double time)
{
    const double phase = index * 2.0943951023931953;
    const double mixed = std::sin(2 * pi * (drift * 0.5 + phase * 0.5)) * 0.5 + 0.5;
    const double light = std::sin(2 * pi * (time * breathRate * lightRate + phase * 0.7)) * 0.5 + 0.5;
    const double breath = (1 - pulse * 0.45) + pulse * 0.45 * light;
    return {
        .center = {size.width * (0.5 + 0.32 * std::sin(pi * (drift * 0.85 + phase))),
                   size.height * (0.5 + 0.32 * std::cos(pi * (drift * 1.07 + phase * 1.3)))},
        .radius = std::min(size.width, size.height) * 0.55 * (1 + pulse * 0.2 * std::sin(2 * pi * (time * breathRate + phase))),
        .color = blend(layer.fill, layer.stroke, mixed),
        .peakAlpha = std::min(breath * 0.495, 0.675),
    };
}

/// Premultiplied blue, green, red and alpha, in 0...255.
using Sample = std::array<float, 4>;

Sample premultiplied(const ColorRGBA& color, double alpha)
{
    const double scale = std::clamp(alpha, 0.0, 1.0) * 255;
    const auto channel = [scale](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0) * scale); };
    return {channel(color.b), channel(color.g), channel(color.r), static_cast<float>(scale)};
}

/// Rounded, held to 0...255; what is no number is 0.
inline std::uint32_t toByte(float value)
{
    return static_cast<std::uint32_t>(static_cast<int>(std::min(std::max(0.0f, value + 0.5f), 255.0f)));
}

/// The colours of the gradient from its start to its end, as pixels.
std::vector<std::uint32_t> gradientColors(const GradientField& field)
{
    std::vector<std::uint32_t> colors(gradientSteps);
    for (int i = 0; i < gradientSteps; ++i) {
        const ColorRGBA color = blend(field.first, field.second, static_cast<double>(i) / (gradientSteps - 1));
        const Sample sample = premultiplied(color, color.a);
        for (std::size_t c = 0; c < 4; ++c) colors[static_cast<std::size_t>(i)] |= toByte(sample[c]) << (8 * c);
    }
    return colors;
}

/// Pixels along a row, whose place on the gradient begins at `along` and grows by `rise`, in steps of `colors`.
LARKSPOOL_VECTORISED
void fillGradientRow(std::uint32_t* out, int width, float along, float rise, const std::uint32_t* colors)
{
    constexpr float last = gradientSteps - 1;
    for (int x = 0; x < width; ++x) {
        const float place = along + static_cast<float>(x) * rise + 0.5f;
        out[x] = colors[static_cast<int>(std::min(std::max(0.0f, place), last))];
    }
}

/// Writes every pixel of `pixels`.
void fillGradient(const GradientField& field, PixelBuffer& pixels)
{
    const int width = pixels.width(), height = pixels.height();
    const double dx = field.end.x - field.start.x, dy = field.end.y - field.start.y;
    const double perLength2 = (gradientSteps - 1) / (dx * dx + dy * dy);
    const double stepX = field.size.width / width, stepY = field.size.height / height;
    const std::vector<std::uint32_t> colors = gradientColors(field);
    for (int y = 0; y < height; ++y) {
        const double fromX = stepX * 0.5 - field.start.x, fromY = stepY * (y + 0.5) - field.start.y;
        fillGradientRow(reinterpret_cast<std::uint32_t*>(pixels.row(y)), width,
                        static_cast<float>((fromX * dx + fromY * dy) * perLength2), static_cast<float>(stepX * dx * perLength2),
                        colors.data());
    }
}

/// A row of light: blue, green and red apart.
struct LightRow {
    explicit LightRow(int width)
    {
        for (std::vector<float>& channel : channels) channel.resize(static_cast<std::size_t>(width));
    }
    std::array<std::vector<float>, 3> channels;
};

/// One spot's light along a row, at a distance `across` from the spot's centre that grows by `rise`, `down` of it vertically; in
/// parts of the radius.
LARKSPOOL_VECTORISED
void addSpot(float* blue, float* green, float* red, int count, float across, float rise, float down2, const Sample& light)
{
    const float b = light[0], g = light[1], r = light[2];
    for (int i = 0; i < count; ++i) {
        const float dx = across + static_cast<float>(i) * rise;
        const float strength = std::max(1 - std::sqrt(dx * dx + down2), 0.0f);
        blue[i] += b * strength;
        green[i] += g * strength;
        red[i] += r * strength;
    }
}

/// From every other value to every value; `row` has room for one more than twice as many.
LARKSPOOL_VECTORISED
void widen(const float* samples, float* row, int pairs)
{
    for (int i = 0; i < pairs; ++i) {
        row[2 * i] = samples[i];
        row[2 * i + 1] = (samples[i] + samples[i + 1]) * 0.5f;
    }
}

/// Light as pixels without alpha, a `part` of the way from one row to the next.
LARKSPOOL_VECTORISED
void writeLight(std::uint32_t* out, int width, const std::array<const float*, 3>& above, const std::array<const float*, 3>& below,
                float part)
{
    const float *b0 = above[0], *g0 = above[1], *r0 = above[2], *b1 = below[0], *g1 = below[1], *r1 = below[2];
    for (int x = 0; x < width; ++x) {
        const std::uint32_t blue = toByte(b0[x] + (b1[x] - b0[x]) * part);
        const std::uint32_t green = toByte(g0[x] + (g1[x] - g0[x]) * part);
        const std::uint32_t red = toByte(r0[x] + (r1[x] - r0[x]) * part);
        out[x] = blue | green << 8 | red << 16;
    }
}

/// Works out the light of the spots, row by row.
class LightPainter {
public:
    LightPainter(const GradientField& field, int width, int height)
        : field_(field), width_(width), height_(height), stepX_(field.size.width / width), stepY_(field.size.height / height),
          samples_(width + greatestSampleStep)
    {
        double leastRadius = leastCoarseRadius;
        for (std::size_t i = 0; i < field.blobs.size(); ++i) {
            const GradientBlob& blob = field.blobs[i];
            lights_[i] = premultiplied(blob.color, blob.color.a * blob.peakAlpha);
            leastRadius = std::min(leastRadius, blob.radius / std::max(stepX_, stepY_));
        }
        sampleStep_ = leastRadius < leastCoarseRadius ? 1 : greatestSampleStep;
    }

    /// Writes every pixel of `pixels`, which are as wide and high as told before.
    void paint(PixelBuffer& pixels)
    {
        LightRow above(width_ + greatestSampleStep), below(width_ + greatestSampleStep);
        fill(above, 0);
        for (int y = 0; y < height_; y += sampleStep_) {
            fill(below, y + sampleStep_);
            for (int within = 0; within < sampleStep_ && y + within < height_; ++within)
                writeLight(reinterpret_cast<std::uint32_t*>(pixels.row(y + within)), width_, data(above), data(below),
                           static_cast<float>(within) / static_cast<float>(sampleStep_));
            std::swap(above, below);
        }
    }

private:
    static std::array<const float*, 3> data(const LightRow& row)
    {
        return {row.channels[0].data(), row.channels[1].data(), row.channels[2].data()};
    }

    void fill(LightRow& row, int y)
    {
        const int count = width_ / sampleStep_ + (sampleStep_ > 1 ? 2 : 0);
        LightRow& target = sampleStep_ > 1 ? samples_ : row;
        for (std::vector<float>& channel : target.channels) std::fill(channel.begin(), channel.end(), 0.0f);
        for (std::size_t i = 0; i < field_.blobs.size(); ++i) addSpotTo(target, i, y, count);
        if (sampleStep_ == 1) return;
        for (std::size_t c = 0; c < 3; ++c) widen(samples_.channels[c].data(), row.channels[c].data(), (width_ + 1) / 2);
    }

    void addSpotTo(LightRow& target, std::size_t index, int y, int count) const
    {
        const GradientBlob& blob = field_.blobs[index];
        if (!(blob.radius > 0)) return;
        const double down = (stepY_ * (y + 0.5) - blob.center.y) / blob.radius;
        if (!(std::abs(down) < 1)) return;
        auto& [blue, green, red] = target.channels;
        addSpot(blue.data(), green.data(), red.data(), count, static_cast<float>((stepX_ * 0.5 - blob.center.x) / blob.radius),
                static_cast<float>(stepX_ * sampleStep_ / blob.radius), static_cast<float>(down * down), lights_[index]);
    }

    const GradientField& field_;
    int width_, height_;
    double stepX_, stepY_;
    int sampleStep_ = 1;
    std::array<Sample, 3> lights_{};
    LightRow samples_;
};

/// Pixels that a thread has painted a field in, for its next one: fresh memory costs the system more than the field does.
class SparePixels {
public:
    PixelBuffer take(int width, int height)
    {
        if (!kept_ || kept_->width() != width || kept_->height() != height) return PixelBuffer(width, height);
        PixelBuffer pixels = std::move(*kept_);
        kept_.reset();
        return pixels;
    }

    /// Keeps the pixels of a picture that no one else holds.
    void keep(std::shared_ptr<Image> image)
    {
        constexpr std::size_t greatestBytes = 16u << 20;
        if (image.use_count() == 1 && image->byteSize() <= greatestBytes) kept_ = std::move(*image).takePixels();
    }

private:
    std::optional<PixelBuffer> kept_;
};

struct SpareFields {
    SparePixels background, light;
};

SpareFields& spareFields()
{
    thread_local SpareFields spare;
    return spare;
}

/// The same field as it is in `window`, which can go beyond its box.
GradientField seenThrough(GradientField field, const CGRect& window)
{
    const auto moved = [&window](CGPoint point) { return CGPoint{point.x - window.minX(), point.y - window.minY()}; };
    field.size = window.size;
    field.start = moved(field.start);
    field.end = moved(field.end);
    for (GradientBlob& blob : field.blobs) blob.center = moved(blob.center);
    return field;
}

/// A part of a field, in the layer's space, and how many pixels it is painted with.
struct FieldWindow {
    CGRect area;
    int width = 0, height = 0;
};

/// All of the field. It goes on for a pixel around its box, so that the clip alone makes the edge: one that runs through a pixel
/// shows in it by half, not by half of half.
FieldWindow wholeField(CGSize size, const AffineTransform& ctm)
{
    const auto pixels = [](double length, double scale) {
        const double side = std::round(length * scale);
        return side >= 1 ? static_cast<int>(std::min(side, greatestSide)) : 1;
    };
    const int width = pixels(size.width, std::hypot(ctm.a, ctm.b)), height = pixels(size.height, std::hypot(ctm.c, ctm.d));
    const CGSize margin{size.width / width, size.height / height};
    return {{{-margin.width, -margin.height}, {size.width + 2 * margin.width, size.height + 2 * margin.height}}, width + 2, height + 2};
}

/// The pixels of the raster that show the field, where they stand along its sides. Of none, the window has no pixels.
std::optional<FieldWindow> visibleField(CGSize size, const AffineTransform& ctm, const CGRect& visiblePixels)
{
    if (ctm.b != 0 || ctm.c != 0 || !(ctm.a > 0 && ctm.d > 0)) return std::nullopt;
    const CGRect seen = intersectionOf(ctm.apply(CGRect{{0, 0}, size}), visiblePixels);
    if (seen.isNull()) return FieldWindow{};
    const double left = std::floor(seen.minX()), top = std::floor(seen.minY());
    const CGRect pixels{{left, top}, {std::ceil(seen.maxX()) - left, std::ceil(seen.maxY()) - top}};
    return FieldWindow{ctm.inverted().apply(pixels), static_cast<int>(pixels.size.width), static_cast<int>(pixels.size.height)};
}

} // namespace

ColorRGBA blend(const ColorRGBA& a, const ColorRGBA& b, double amount)
{
    return {a.r + (b.r - a.r) * amount, a.g + (b.g - a.g) * amount, a.b + (b.b - a.b) * amount, a.a + (b.a - a.a) * amount};
}

GradientField gradientField(const Layer& layer, double time)
{
    const double speed = std::max(0.0, layer.gradientWarpSpeed);
    const double pulse = std::clamp(layer.gradientPulseAmount, 0.0, 1.0);
    const CGSize size{std::max(1.0, layer.size.width), std::max(1.0, layer.size.height)};
    const double drift = time * speed * driftRate;
    const double theta = 2 * drift * pi * 0.25;
    const double dx = size.width * std::cos(theta) * 0.5, dy = size.height * std::sin(theta) * 0.5;

    GradientField field{.size = size,
                        .start = {size.width / 2 - dx, size.height / 2 - dy},
                        .end = {size.width / 2 + dx, size.height / 2 + dy},
                        .first = layer.fill,
                        .second = layer.stroke,
                        .blobs = {}};
    for (int k = 0; k < 3; ++k) field.blobs[static_cast<std::size_t>(k)] = blobAt(k, layer, size, drift, pulse, time);
    return field;
}

GradientFieldImages gradientFieldImages(const GradientField& field, int width, int height)
{
    PixelBuffer background = spareFields().background.take(width, height), light = spareFields().light.take(width, height);
    fillGradient(field, background);
    LightPainter(field, width, height).paint(light);
    const bool opaque = field.first.a >= 1 && field.second.a >= 1;
    return {.background = std::make_shared<Image>(std::move(background), opaque ? Image::Alpha::opaque : Image::Alpha::translucent),
            .light = std::make_shared<Image>(std::move(light), Image::Alpha::translucent)};
}

void Exporter::drawGradientField(const Layer& layer, RasterContext& context, double time, const DrawingStyle& style)
{
    const GradientField field = gradientField(layer, time);
    const AffineTransform ctm = context.ctm();
    std::optional<FieldWindow> window;
    if (style.visiblePixels) window = visibleField(field.size, ctm, *style.visiblePixels);
    if (!window) window = wholeField(field.size, ctm);
    if (window->width == 0 || window->height == 0) return;

    GradientFieldImages images = gradientFieldImages(seenThrough(field, window->area), window->width, window->height);
    const CGRect source{{0, 0}, images.background->size()};
    {
        SavedState saved(context);
        context.clipToPath(Path::rect({{0, 0}, field.size}), FillRule::winding); // It cuts off a glow, too.
        context.drawImage(images.background, source, window->area);
        context.setShadow(std::nullopt); // Light casts none, nor is one to be worked out for it.
        context.drawImage(images.light, source, window->area);
    }
    spareFields().background.keep(std::move(images.background));
    spareFields().light.keep(std::move(images.light));
}

} // namespace larkspool
