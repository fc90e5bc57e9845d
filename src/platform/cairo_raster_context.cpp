#include "platform/raster_context.h"

#include "platform/pixel_buffer.h"
#include "platform/raster/box_painter.h"
#include "platform/raster/cairo_path.h"
#include "platform/raster/gaussian_shadow.h"
#include "platform/raster/glyph_painter.h"
#include "platform/raster/image_pattern.h"
#include "platform/raster/pixel_rect.h"
#include "platform/raster/scratch_memory.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#if defined(__SANITIZE_THREAD__)
/// Cairo keeps freed objects for the next thread that needs one, ordered by atomics that the sanitizer does not see.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions()
{
    return "called_from_lib:libcairo.so.2\n";
}
#endif

namespace larkspool {

namespace {

/// A wider blur is held to this, in device pixels, so that no document decides how far a shadow is computed.
constexpr double greatestBlur = 1000;
/// The farthest that a curve's lines stray from it, in device pixels.
constexpr double curveTolerance = 0.03;
constexpr double miterLimit = 10;

/// A shadow that falls farther, in device pixels, is cast by what lies within the clip alone.
constexpr double greatestOffset = 4096;
/// How far anti-aliasing reaches beyond the bounds of a layer, in device pixels.
constexpr double boundsMargin = 2;

double shadowSigma(double blur)
{
    return std::clamp(blur, 0.0, greatestBlur) * 0.5;
}

double heldToOne(double value)
{
    return value > 0 ? std::min(value, 1.0) : 0; // Not a number is 0.
}

/// How a channel of 0...1 is stored.
int level(double value)
{
    return static_cast<int>(heldToOne(value) * 255 + 0.5);
}

PixelColor premultiplied(const RasterColor& color, double alpha)
{
    const double opacity = heldToOne(color.a) * alpha;
    const auto channel = [&](double value) { return static_cast<std::uint8_t>(level(heldToOne(value) * opacity)); };
    return {.blue = channel(color.b), .green = channel(color.g), .red = channel(color.r), .alpha = channel(1)};
}

/// Sets the colour times `alpha` as the source. Cairo cuts where levels should be rounded: each channel is handed over so that
/// the cut hits the rounded level.
void setSource(cairo_t* cairo, const RasterColor& color, double alpha)
{
    const PixelColor pixel = premultiplied(color, alpha);
    const double handedAlpha = pixel.alpha == 255 ? 1 : (pixel.alpha + 0.5) / 256;
    const auto handed = [&](std::uint8_t channel) { return channel >= pixel.alpha ? 1 : (channel + 0.5) / 256 / handedAlpha; };
    cairo_set_source_rgba(cairo, handed(pixel.red), handed(pixel.green), handed(pixel.blue), handedAlpha);
}

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct CairoDeleter {
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;
using Cairo = std::unique_ptr<cairo_t, CairoDeleter>;

/// Memory that is drawn into both by Cairo and by loops of our own. Cairo speaks device space in it.
class Canvas {
public:
    /// Draws into memory of the caller.
    explicit Canvas(const RasterTarget& target) : target_(target) { makeSurface(CAIRO_FORMAT_ARGB32); }

    /// Draws into clear memory of its own, of four bytes a pixel or, with CAIRO_FORMAT_A8, of one.
    Canvas(const PixelRect& area, cairo_format_t format)
    {
        target_.area = area;
        target_.bytesPerRow = static_cast<std::size_t>(cairo_format_stride_for_width(format, area.width()));
        memory_ = ScratchMemory<std::uint8_t>(target_.bytesPerRow * static_cast<std::size_t>(area.height()));
        target_.pixels = memory_.data();
        makeSurface(format);
    }

    const RasterTarget& target() const { return target_; }
    const PixelRect& area() const { return target_.area; }
    cairo_t* cairo() const { return cairo_.get(); }
    cairo_surface_t* surface() const { return surface_.get(); }

    /// Must be called before the memory is read or written directly, and after it was written.
    void flush() const { cairo_surface_flush(surface_.get()); }
    void markWritten() const { cairo_surface_mark_dirty(surface_.get()); }

    /// Shows the device space shifted by `offset`.
    void shift(CGSize offset) const
    {
        cairo_surface_set_device_offset(surface_.get(), offset.width - target_.area.left, offset.height - target_.area.top);
    }

private:
    void makeSurface(cairo_format_t format)
    {
        surface_.reset(cairo_image_surface_create_for_data(target_.pixels, format, target_.area.width(), target_.area.height(),
                                                           static_cast<int>(target_.bytesPerRow)));
        shift({0, 0});
        cairo_.reset(cairo_create(surface_.get()));
        cairo_set_tolerance(cairo_.get(), curveTolerance);
        cairo_set_miter_limit(cairo_.get(), miterLimit);
    }

    ScratchMemory<std::uint8_t> memory_;
    RasterTarget target_;
    Surface surface_;
    Cairo cairo_;
};

struct State {
    AffineTransform ctm;
    double alpha = 1;
    RasterColor fill;
    RasterColor stroke;
    double lineWidth = 1;
    RasterContext::LineCap lineCap = RasterContext::LineCap::butt;
    RasterContext::LineJoin lineJoin = RasterContext::LineJoin::miter;
    std::optional<RasterShadow> shadow;

    PixelRect clip; ///< Nothing outside is drawn.
    /// Whether the clip is just `clip`. Otherwise Cairo knows more of it.
    bool clipIsRect = true;
};

bool isFinite(const AffineTransform& m)
{
    return std::isfinite(m.a) && std::isfinite(m.b) && std::isfinite(m.c) && std::isfinite(m.d) && std::isfinite(m.tx) &&
           std::isfinite(m.ty);
}

/// The largest factor by which the transform stretches a length.
double greatestScale(const AffineTransform& m)
{
    return std::max(std::hypot(m.a, m.b), std::hypot(m.c, m.d)) * std::sqrt(2.0);
}

/// A transform that squeezes everything into a line or a point lets nothing be seen.
bool canDraw(const AffineTransform& m)
{
    return isFinite(m) && std::abs(m.determinant()) > 1e-12 && greatestScale(m) < 1e9;
}

/// How the current transform turns boxes into boxes of device space, if it does: with one scale for both axes and no turn but
/// by right angles.
std::optional<double> uniformScale(const AffineTransform& m)
{
    const bool upright = m.b == 0 && m.c == 0, sideways = m.a == 0 && m.d == 0;
    if (!upright && !sideways) return std::nullopt;
    const double across = std::abs(upright ? m.a : m.b), down = std::abs(upright ? m.d : m.c);
    if (!(std::abs(across - down) <= 1e-9 * across)) return std::nullopt;
    return across;
}

/// Boxes of device space whose weighted sum is the coverage of a paint.
using DeviceBoxes = std::vector<WeightedDeviceBox>;

bool isProper(const RoundedRect& box)
{
    const CGRect& r = box.rect;
    return std::isfinite(r.origin.x) && std::isfinite(r.origin.y) && r.size.width > 0 && r.size.height > 0 &&
           std::isfinite(r.size.width) && std::isfinite(r.size.height) && box.radius >= 0 &&
           box.radius <= std::min(r.size.width, r.size.height) * 0.5;
}

WeightedDeviceBox toDevice(const RoundedRect& box, double weight, double scale, const AffineTransform& ctm)
{
    const CGRect rect = ctm.apply(box.rect);
    return {rect, std::min(box.radius * scale, std::min(rect.size.width, rect.size.height) * 0.5), weight};
}

/// Whether `outer` holds all of `inner`: the centres of the inner corners lie in the outer box shrunk by the inner radius.
bool holds(const RoundedRect& outer, const RoundedRect& inner)
{
    const CGRect& o = outer.rect;
    const CGRect& i = inner.rect;
    if (i.minX() < o.minX() || i.minY() < o.minY() || i.maxX() > o.maxX() || i.maxY() > o.maxY()) return false;
    if (inner.radius >= outer.radius) return true;
    const double rest = outer.radius - inner.radius;
    const auto overhang = [&](double near, double far) { return std::max(rest - std::min(near, far), 0.0); };
    const double across = overhang(i.minX() - o.minX(), o.maxX() - i.maxX()),
                 down = overhang(i.minY() - o.minY(), o.maxY() - i.maxY());
    return std::hypot(across, down) <= rest + 1e-9;
}

/// The box `by` larger on each side, or smaller where `by` is negative. Sharp corners stay sharp unless asked for.
RoundedRect grown(const RoundedRect& box, double by, RasterContext::LineJoin join)
{
    const bool staysSharp = box.radius <= 0 && join == RasterContext::LineJoin::miter;
    return {insetBy(box.rect, -by, -by), staysSharp ? 0 : std::max(box.radius + by, 0.0)};
}

/// What a paint covers, as boxes of device space, where it is a box or the ring between two.
std::optional<DeviceBoxes> filledBoxes(const Path& path, FillRule rule, const AffineTransform& ctm)
{
    const std::vector<RoundedRect>* boxes = path.boxes();
    const std::optional<double> scale = uniformScale(ctm);
    if (!boxes || !scale || boxes->empty() || boxes->size() > 2 || !std::ranges::all_of(*boxes, isProper)) return std::nullopt;
    DeviceBoxes covered{toDevice(boxes->front(), 1, *scale, ctm)};
    if (boxes->size() == 1) return covered;
    if (rule != FillRule::evenOdd || !holds(boxes->front(), boxes->back())) return std::nullopt;
    covered.push_back(toDevice(boxes->back(), -1, *scale, ctm));
    return covered;
}

std::optional<DeviceBoxes> strokedBoxes(const Path& path, double width, RasterContext::LineJoin join, const AffineTransform& ctm)
{
    const std::vector<RoundedRect>* boxes = path.boxes();
    const std::optional<double> scale = uniformScale(ctm);
    if (!boxes || !scale || boxes->size() != 1 || !isProper(boxes->front())) return std::nullopt;
    DeviceBoxes covered{toDevice(grown(boxes->front(), width * 0.5, join), 1, *scale, ctm)};
    const RoundedRect inner = grown(boxes->front(), -width * 0.5, join);
    if (isProper(inner)) covered.push_back(toDevice(inner, -1, *scale, ctm));
    return covered;
}

/// The part of the sum of `boxes` in which the weights add up to 1.
OpaqueArea opaqueAreaOf(const DeviceBoxes& boxes)
{
    double sum = 0, radius = 0;
    CGRect common = boxes.empty() ? CGRect::null() : boxes.front().rect;
    for (const WeightedDeviceBox& box : boxes) {
        if (box.weight < 0) return {};
        sum += box.weight;
        radius = std::max(radius, box.radius);
        common = intersectionOf(common, box.rect);
    }
    // A box holds every disc within its sides whose radius is at least its own: so with the largest radius, all hold the area.
    if (sum < 1 - 1e-9 || common.isNull() || radius > std::min(common.size.width, common.size.height) * 0.5) return {};
    return {common, radius};
}

class CairoRasterContext final : public RasterContext {
public:
    explicit CairoRasterContext(PixelBuffer& pixels)
        : root_(RasterTarget{pixels.data(), pixels.bytesPerRow(), {0, 0, pixels.width(), pixels.height()}}), canvas_(&root_)
    {
        state_.clip = root_.area();
    }

    void saveGState() override
    {
        states_.push_back(state_);
        cairo_save(cairo());
    }

    void restoreGState() override
    {
        if (states_.size() <= lowestState()) return; // More were restored than saved.
        state_ = states_.back();
        states_.pop_back();
        cairo_restore(cairo());
    }

    void concatCTM(const AffineTransform& transform) override { state_.ctm = state_.ctm.concatenating(transform); }
    void translateCTM(double x, double y) override { state_.ctm = state_.ctm.translatedBy(x, y); }
    void scaleCTM(double x, double y) override { state_.ctm = state_.ctm.scaledBy(x, y); }
    AffineTransform ctm() const override { return state_.ctm; }

    void setAlpha(double alpha) override { state_.alpha = heldToOne(alpha); }
    void setFillColor(const RasterColor& color) override { state_.fill = color; }
    void setStrokeColor(const RasterColor& color) override { state_.stroke = color; }
    void setLineWidth(double width) override { state_.lineWidth = width; }
    void setLineCap(LineCap cap) override { state_.lineCap = cap; }
    void setLineJoin(LineJoin join) override { state_.lineJoin = join; }
    void setShadow(const std::optional<RasterShadow>& shadow) override { state_.shadow = shadow; }

    void fillRect(const CGRect& rect) override { fillPath(Path::rect(rect), FillRule::winding); }

    void fillPath(const Path& path, FillRule rule) override
    {
        if (path.empty() || !canDraw(state_.ctm)) return;
        const std::optional<CGRect> bounds = deviceBounds(path, state_.ctm, /*margin=*/0);
        if (!bounds) return;
        paint({.color = state_.fill,
               .bounds = *bounds,
               .boxes = filledBoxes(path, rule, state_.ctm),
               .draw = [&](cairo_t* cairo, const PixelRect& area) { fill(cairo, path, rule, area); }});
    }

    void strokePath(const Path& path) override
    {
        const double width = state_.lineWidth;
        if (path.empty() || !canDraw(state_.ctm) || !(width > 0) || !std::isfinite(width)) return;
        const double reach = width * 0.5 * (state_.lineJoin == LineJoin::miter ? miterLimit : 1) * greatestScale(state_.ctm);
        const std::optional<CGRect> bounds = deviceBounds(path, state_.ctm, reach);
        if (!bounds) return;
        std::optional<DeviceBoxes> boxes = strokedBoxes(path, width, state_.lineJoin, state_.ctm);
        paint({.color = state_.stroke,
               .bounds = boxes ? boxes->front().rect : *bounds,
               .boxes = std::move(boxes),
               .draw = [&](cairo_t* cairo, const PixelRect&) { stroke(cairo, path, width); }});
    }

    void drawImage(const ImageRef& image, const CGRect& source, const CGRect& destination) override
    {
        const auto hasArea = [](const CGRect& r) {
            return std::isfinite(r.minX() + r.minY() + r.maxX() + r.maxY()) && r.size.width > 0 && r.size.height > 0;
        };
        if (!image || !canDraw(state_.ctm) || !hasArea(source) || !hasArea(destination) || !(state_.alpha > 0)) return;
        const Path outline = Path::rect(destination);
        const std::optional<CGRect> bounds = deviceBounds(outline, state_.ctm, /*margin=*/0);
        if (!bounds || state_.clip.empty()) return;
        const bool shows = !pixelsTouchedBy(*bounds, state_.clip).empty();
        if (!shows && !state_.shadow) return;

        const ImagePattern pattern(image, source, destination, state_.ctm);
        if (pattern.empty()) return;
        const auto drawWithAlpha = [&](cairo_t* target, const PixelRect& area, double alpha) {
            cairo_save(target);
            appendToCairo(target, outline, state_.ctm, area);
            cairo_clip(target);
            cairo_set_source(target, pattern.get());
            cairo_paint_with_alpha(target, alpha);
            cairo_restore(target);
        };
        if (state_.shadow) {
            std::optional<DeviceBoxes> boxes;
            if (image->isOpaque()) boxes = filledBoxes(outline, FillRule::winding, state_.ctm);
            castShadow({.bounds = *bounds,
                        .boxes = boxes,
                        .alpha = state_.alpha,
                        .covered = boxes && state_.alpha >= 1 ? opaqueAreaOf(*boxes) : OpaqueArea{},
                        .draw = [&](cairo_t* mask, const PixelRect& area) { drawWithAlpha(mask, area, 1); }});
        }
        if (shows) drawWithAlpha(cairo(), state_.clip, state_.alpha);
    }

    void clipToPath(const Path& path, FillRule rule) override
    {
        const std::optional<CGRect> bounds = isFinite(state_.ctm) ? deviceBounds(path, state_.ctm, /*margin=*/0) : std::nullopt;
        if (path.empty() || !bounds) {
            state_.clip = {}; // Inside nothing, or inside what cannot be told, nothing shows.
            return;
        }
        const PixelRect touched = pixelsTouchedBy(*bounds, state_.clip);
        if (isWholePixels(path, *bounds, touched)) {
            state_.clip = touched;
            cairo_rectangle(cairo(), touched.left, touched.top, touched.width(), touched.height());
            cairo_clip(cairo());
            return;
        }
        state_.clip = touched;
        state_.clipIsRect = false;
        if (touched.empty()) return;
        appendToCairo(cairo(), path, state_.ctm, touched);
        cairo_set_fill_rule(cairo(), rule == FillRule::evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
        cairo_clip(cairo());
    }

    void drawText(const TextLayout& layout, CGPoint origin, const RasterColor& color, std::span<const TextRange> clear) override
    {
        const AffineTransform toDevice = state_.ctm.translatedBy(origin.x, origin.y);
        if (layout.ink.isNull() || !canDraw(toDevice)) return;
        const GlyphPainter glyphs(layout, toDevice, clear);
        paint({.color = color, .bounds = glyphs.bounds(), .boxes = {}, .draw = [&](cairo_t* cairo, const PixelRect& area) {
                   glyphs.draw(cairo, area);
               }});
    }

    void beginTransparencyLayer(const TransparencyLayerHints& hints) override
    {
        Layer layer{.stateAtBegin = state_, .parent = canvas_, .coverage = {}, .firstState = states_.size(), .group = nullptr};
        if (isUsable(hints.coverage) && canDraw(state_.ctm)) layer.coverage = hints.coverage;
        cairo_save(cairo());

        if (state_.alpha >= 1 && (!state_.shadow || !layer.coverage.empty())) {
            // The group would show the same as its paints one after another.
            if (state_.shadow) castShadowOfLayer(layer.coverage, PaintsFollow::yes);
        } else {
            const PixelRect area = groupArea(hints.bounds);
            if (!area.empty()) {
                layer.group = std::make_unique<Canvas>(area, CAIRO_FORMAT_ARGB32);
                canvas_ = layer.group.get();
            }
            state_.clip = area;
            state_.clipIsRect = true;
        }
        state_.alpha = 1;
        state_.shadow.reset();
        layers_.push_back(std::move(layer));
    }

    void endTransparencyLayer() override
    {
        if (layers_.empty()) return; // More were ended than begun.
        while (states_.size() > lowestState()) restoreGState();
        Layer layer = std::move(layers_.back());
        layers_.pop_back();
        canvas_ = layer.parent;
        cairo_restore(cairo());
        state_ = std::move(layer.stateAtBegin);
        if (layer.group) drawGroup(layer);
    }

private:
    /// Draws coverage with Cairo, in device space, for the pixels of an area.
    using Draw = std::function<void(cairo_t*, const PixelRect&)>;

    struct Paint {
        RasterColor color;
        CGRect bounds; ///< Holds the coverage, in device space.
        std::optional<DeviceBoxes> boxes; ///< The coverage, if known as boxes.
        Draw draw; ///< The coverage in any case.
    };

    using Coverage = std::vector<TransparencyLayerHints::WeightedBox>;

    struct Layer {
        State stateAtBegin;
        Canvas* parent;
        Coverage coverage; ///< Empty if it is not known.
        std::size_t firstState; ///< The states saved before the layer began.
        std::unique_ptr<Canvas> group;
    };

    cairo_t* cairo() const { return canvas_->cairo(); }
    std::size_t lowestState() const { return layers_.empty() ? 0 : layers_.back().firstState; }

    /// The device bounds of the transformed path, or nothing if it is not finite.
    static std::optional<CGRect> deviceBounds(const Path& path, const AffineTransform& ctm, double margin)
    {
        const CGRect bounds = path.bounds();
        if (bounds.isNull()) return std::nullopt;
        const CGRect device = insetBy(ctm.apply(bounds), -margin, -margin);
        const bool finite = std::isfinite(device.origin.x) && std::isfinite(device.origin.y) &&
                            std::isfinite(device.size.width) && std::isfinite(device.size.height);
        if (!finite || !isFinite(path)) return std::nullopt;
        return device;
    }

    bool isWholePixels(const Path& path, const CGRect& bounds, const PixelRect& touched) const
    {
        const std::vector<RoundedRect>* boxes = path.boxes();
        if (!boxes || boxes->size() != 1 || boxes->front().radius > 0) return false;
        const AffineTransform& m = state_.ctm;
        if (!((m.b == 0 && m.c == 0) || (m.a == 0 && m.d == 0))) return false;
        if (touched.empty()) return true;
        // A side beyond the clip needs not be whole.
        const auto whole = [](double side, int low, int high) { return side <= low || side >= high || side == std::floor(side); };
        const PixelRect& clip = state_.clip;
        return whole(bounds.minX(), clip.left, clip.right) && whole(bounds.maxX(), clip.left, clip.right) &&
               whole(bounds.minY(), clip.top, clip.bottom) && whole(bounds.maxY(), clip.top, clip.bottom);
    }

    void fill(cairo_t* cairo, const Path& path, FillRule rule, const PixelRect& area) const
    {
        appendToCairo(cairo, path, state_.ctm, area);
        cairo_set_fill_rule(cairo, rule == FillRule::evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
        cairo_fill(cairo);
    }

    void stroke(cairo_t* cairo, const Path& path, double width) const
    {
        const AffineTransform& m = state_.ctm;
        appendOutlineToCairo(cairo, path, m);
        cairo_matrix_t matrix;
        cairo_matrix_init(&matrix, m.a, m.b, m.c, m.d, 0, 0); // The pen's shape; the outline is in device space already.
        cairo_set_matrix(cairo, &matrix);
        cairo_set_line_width(cairo, std::min(width, greatestDeviceLength / greatestScale(m)));
        cairo_set_line_cap(cairo, state_.lineCap == LineCap::round ? CAIRO_LINE_CAP_ROUND : CAIRO_LINE_CAP_BUTT);
        cairo_set_line_join(cairo, state_.lineJoin == LineJoin::round ? CAIRO_LINE_JOIN_ROUND : CAIRO_LINE_JOIN_MITER);
        cairo_stroke(cairo);
        cairo_identity_matrix(cairo);
    }

    static bool isUsable(const Coverage& coverage)
    {
        return std::ranges::all_of(coverage,
                                   [](const auto& part) { return isProper(part.box) && part.weight >= 0 && part.weight <= 1; });
    }

    /// The pixels that a group needs: those of the clip, and those whose shadow falls into it.
    PixelRect groupArea(const std::optional<CGRect>& bounds) const
    {
        PixelRect area = state_.clip;
        if (area.empty()) return area;
        if (state_.shadow) {
            const CGSize offset = state_.shadow->offset;
            const double blur = state_.shadow->blur;
            if (std::hypot(offset.width, offset.height) <= greatestOffset && !std::isnan(blur)) {
                const int across = static_cast<int>(std::lround(offset.width)),
                          down = static_cast<int>(std::lround(offset.height));
                const PixelRect casting{area.left - across, area.top - down, area.right - across, area.bottom - down};
                area = unionOf(area, grownBy(casting, shadowReach(shadowSigma(blur)) + 1));
            }
        }
        if (bounds) area = pixelsTouchedBy(insetBy(state_.ctm.apply(*bounds), -boundsMargin, -boundsMargin), area);
        area.right = std::min(area.right, area.left + static_cast<int>(PixelBuffer::maximumSide));
        area.bottom = std::min(area.bottom, area.top + static_cast<int>(PixelBuffer::maximumSide));
        return area;
    }

    enum class PaintsFollow { no, yes };

    /// Casts the shadow of a layer from what is known of its alpha. If its paints follow at once in this canvas, what they cover
    /// is left out.
    void castShadowOfLayer(const Coverage& coverage, PaintsFollow follow)
    {
        const AffineTransform& m = state_.ctm;
        std::optional<DeviceBoxes> boxes;
        CGRect bounds = CGRect::null();
        for (const auto& part : coverage) bounds = unionOf(bounds, m.apply(part.box.rect));
        if (const std::optional<double> scale = uniformScale(m)) {
            boxes.emplace();
            for (const auto& part : coverage) boxes->push_back(toDevice(part.box, part.weight, *scale, m));
        }
        castShadow({.bounds = bounds,
                    .boxes = boxes,
                    .alpha = state_.alpha,
                    .covered = boxes && follow == PaintsFollow::yes ? opaqueAreaOf(*boxes) : OpaqueArea{},
                    .draw = [&](cairo_t* mask, const PixelRect& area) {
                        cairo_set_operator(mask, CAIRO_OPERATOR_ADD);
                        for (const auto& part : coverage) {
                            cairo_set_source_rgba(mask, 0, 0, 0, part.weight);
                            fill(mask, Path::roundedRect(part.box), FillRule::winding, area);
                        }
                    }});
    }

    void drawGroup(const Layer& layer)
    {
        const Canvas& group = *layer.group;
        if (state_.shadow) {
            if (!layer.coverage.empty()) {
                castShadowOfLayer(layer.coverage, PaintsFollow::no);
            } else {
                const PixelRect& a = group.area();
                const CGRect bounds{{static_cast<double>(a.left), static_cast<double>(a.top)},
                                    {static_cast<double>(a.width()), static_cast<double>(a.height())}};
                castShadow({.bounds = bounds,
                            .boxes = {},
                            .alpha = state_.alpha,
                            .covered = {},
                            .draw = [&](cairo_t* mask, const PixelRect&) {
                                cairo_set_source_surface(mask, group.surface(), 0, 0);
                                cairo_paint(mask);
                            }});
            }
        }
        cairo_set_source_surface(cairo(), group.surface(), 0, 0);
        cairo_paint_with_alpha(cairo(), state_.alpha);
    }

    void paint(const Paint& paint)
    {
        const double alpha = heldToOne(paint.color.a) * state_.alpha;
        if (!(alpha > 0) || state_.clip.empty()) return;
        if (state_.shadow) {
            const bool opaque = alpha >= 1 && paint.boxes && paint.boxes->size() == 1;
            castShadow({.bounds = paint.bounds,
                        .boxes = paint.boxes,
                        .alpha = alpha,
                        .covered = opaque ? opaqueAreaOf(*paint.boxes) : OpaqueArea{},
                        .draw = paint.draw});
        }
        if (pixelsTouchedBy(paint.bounds, state_.clip).empty()) return;
        if (paint.boxes && state_.clipIsRect) return paintBoxes(*paint.boxes, paint.color);
        setSource(cairo(), paint.color, state_.alpha);
        paint.draw(cairo(), state_.clip);
    }

    void paintBoxes(const DeviceBoxes& boxes, const RasterColor& color)
    {
        const auto box = [](const WeightedDeviceBox& weighted) { return DeviceBox{weighted.rect, weighted.radius}; };
        std::optional<DeviceBox> hole;
        if (boxes.size() == 2) hole = box(boxes.back());
        canvas_->flush();
        paintBox(canvas_->target(), state_.clip, box(boxes.front()), hole, premultiplied(color, state_.alpha));
        canvas_->markWritten();
    }

    struct ShadowCaster {
        CGRect bounds;
        std::optional<DeviceBoxes> boxes;
        double alpha; ///< Of the coverage.
        OpaqueArea covered; ///< Where the caster will cover what the shadow would colour.
        Draw draw;
    };

    void castShadow(const ShadowCaster& caster)
    {
        const RasterShadow& shadow = *state_.shadow;
        const double alpha = heldToOne(shadow.color.a) * caster.alpha;
        if (!(alpha > 0) || !(std::hypot(shadow.offset.width, shadow.offset.height) < greatestDeviceLength) ||
            std::isnan(shadow.blur))
            return;

        const double sigma = shadowSigma(shadow.blur);
        const int reach = shadowReach(sigma);
        const CGRect shifted = shiftedBy(caster.bounds, shadow.offset);
        const PixelRect area = pixelsTouchedBy(insetBy(shifted, -reach, -reach), state_.clip);
        if (area.empty()) return;

        const BlurredCoverage blurred = blur(caster, sigma, area);
        const ShadowColor color{.blue = static_cast<std::uint8_t>(level(shadow.color.b)),
                                .green = static_cast<std::uint8_t>(level(shadow.color.g)),
                                .red = static_cast<std::uint8_t>(level(shadow.color.r)),
                                .alpha = alpha};
        if (state_.clipIsRect) {
            canvas_->flush();
            compositeShadow(canvas_->target(), state_.clip, blurred, color, caster.covered);
            canvas_->markWritten();
            return;
        }
        const Canvas sheet(area, CAIRO_FORMAT_ARGB32);
        compositeShadow(sheet.target(), area, blurred, color, {});
        sheet.markWritten();
        cairo_set_source_surface(cairo(), sheet.surface(), 0, 0);
        cairo_paint(cairo());
    }

    BlurredCoverage blur(const ShadowCaster& caster, double sigma, const PixelRect& area) const
    {
        const CGSize offset = state_.shadow->offset;
        if (caster.boxes && canBlurAsBoxes(*caster.boxes, sigma)) {
            DeviceBoxes boxes = *caster.boxes;
            for (WeightedDeviceBox& box : boxes) box.rect = shiftedBy(box.rect, offset);
            return blurredBoxes(boxes, sigma, area);
        }
        CoverageImage coverage;
        // Coverage beyond the area shades pixels within it.
        coverage.area = pixelsTouchedBy(shiftedBy(caster.bounds, offset), grownBy(area, shadowReach(sigma)));
        if (coverage.area.empty()) return blurredCoverage({}, sigma, area);
        if (caster.boxes && isBoxOrRing(*caster.boxes)) {
            coverage.values = coverageOfBoxes(*caster.boxes, offset, coverage.area);
        } else {
            coverage.values = drawnCoverage(caster.draw, offset, coverage.area);
        }
        return blurredCoverage(coverage, sigma, area);
    }

    static bool isBoxOrRing(const DeviceBoxes& boxes)
    {
        return boxes.size() == 1 || (boxes.size() == 2 && boxes.back().weight == -1);
    }

    /// The coverage of a box or a ring, moved by the offset.
    static ScratchMemory<std::uint8_t> coverageOfBoxes(const DeviceBoxes& boxes, CGSize offset, const PixelRect& area)
    {
        const auto moved = [&](const WeightedDeviceBox& box) { return DeviceBox{shiftedBy(box.rect, offset), box.radius}; };
        std::optional<DeviceBox> hole;
        if (boxes.size() == 2) hole = moved(boxes.back());
        const Canvas sheet(area, CAIRO_FORMAT_ARGB32);
        paintBox(sheet.target(), area, moved(boxes.front()), hole,
                 {.alpha = static_cast<std::uint8_t>(level(boxes.front().weight))});
        ScratchMemory<std::uint8_t> coverage(static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height()));
        std::uint8_t* next = coverage.data();
        for (int y = area.top; y < area.bottom; ++y) {
            const std::uint8_t* pixels = sheet.target().at(area.left, y);
            for (int x = 0; x < area.width(); ++x) *next++ = pixels[std::ptrdiff_t{4} * x + 3];
        }
        return coverage;
    }

    /// The coverage that `draw` draws, moved by the offset.
    static ScratchMemory<std::uint8_t> drawnCoverage(const Draw& draw, CGSize offset, const PixelRect& area)
    {
        const Canvas mask(area, CAIRO_FORMAT_A8);
        mask.shift(offset);
        const int across = static_cast<int>(std::floor(offset.width)), down = static_cast<int>(std::floor(offset.height));
        draw(mask.cairo(), grownBy({area.left - across, area.top - down, area.right - across, area.bottom - down}, 1));
        mask.flush();
        ScratchMemory<std::uint8_t> coverage(static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height()));
        for (int y = 0; y < area.height(); ++y)
            std::copy_n(mask.target().pixels + static_cast<std::size_t>(y) * mask.target().bytesPerRow, area.width(),
                        coverage.data() + static_cast<std::ptrdiff_t>(y) * area.width());
        return coverage;
    }

    static CGRect shiftedBy(const CGRect& rect, CGSize offset)
    {
        if (rect.isNull()) return rect;
        return {{rect.origin.x + offset.width, rect.origin.y + offset.height}, rect.size};
    }

    State state_;
    std::vector<State> states_;
    std::vector<Layer> layers_;
    Canvas root_;
    Canvas* canvas_; ///< What is painted into: the root, or the innermost group.
};

} // namespace

std::unique_ptr<RasterContext> makeRasterContext(PixelBuffer& pixels)
{
    return std::make_unique<CairoRasterContext>(pixels);
}

} // namespace larkspool
