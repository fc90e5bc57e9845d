#include "platform/raster_context.h"

#include "platform/pixel_buffer.h"
#include "platform/raster/box_painter.h"
#include "platform/raster/cairo_path.h"
#include "platform/raster/canvas.h"
#include "platform/raster/device_boxes.h"
#include "platform/raster/glyph_painter.h"
#include "platform/raster/image_pattern.h"
#include "platform/raster/pixel_color.h"
#include "platform/raster/shadow_casting.h"

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

/// A shadow that falls farther, in device pixels, is cast by what lies within the clip alone.
constexpr double greatestOffset = 4096;
/// How far anti-aliasing reaches beyond the bounds of a layer, in device pixels.
constexpr double boundsMargin = 2;

/// Sets the colour times `alpha` as the source. Cairo cuts where levels should be rounded: each channel is handed over so that
/// the cut hits the rounded level.
void setSource(cairo_t* cairo, const RasterColor& color, double alpha)
{
    const PixelColor pixel = premultiplied(color, alpha);
    const double handedAlpha = pixel.alpha == 255 ? 1 : (pixel.alpha + 0.5) / 256;
    const auto handed = [&](std::uint8_t channel) { return channel >= pixel.alpha ? 1 : (channel + 0.5) / 256 / handedAlpha; };
    cairo_set_source_rgba(cairo, handed(pixel.red), handed(pixel.green), handed(pixel.blue), handedAlpha);
}

struct State {
    AffineTransform ctm;
    double alpha = 1;
    RasterColor fill;
    RasterColor stroke;
    double lineWidth = 1;
    RasterContext::LineCap lineCap = RasterContext::LineCap::butt;
    RasterContext::LineJoin lineJoin = RasterContext::LineJoin::miter;
    std::optional<RasterShadow> shadow;
    RasterContext::Compositing fillCompositing = RasterContext::Compositing::over;

    PixelRect clip; ///< Nothing outside is drawn.
    /// Whether the clip is just `clip`. Otherwise Cairo knows more of it.
    bool clipIsRect = true;
};

cairo_operator_t cairoOperator(RasterContext::Compositing compositing)
{
    switch (compositing) {
    case RasterContext::Compositing::over: return CAIRO_OPERATOR_OVER;
    case RasterContext::Compositing::clear: return CAIRO_OPERATOR_CLEAR;
    case RasterContext::Compositing::atop: return CAIRO_OPERATOR_ATOP;
    case RasterContext::Compositing::under: return CAIRO_OPERATOR_DEST_OVER;
    }
    return CAIRO_OPERATOR_OVER;
}

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
    void setFillCompositing(Compositing compositing) override { state_.fillCompositing = compositing; }

    void fillRect(const CGRect& rect) override { fillPath(Path::rect(rect), FillRule::winding); }

    void fillPath(const Path& path, FillRule rule) override
    {
        if (path.empty() || !canDraw(state_.ctm)) return;
        const std::optional<CGRect> bounds = deviceBounds(path, state_.ctm, /*margin=*/0);
        if (!bounds) return;
        if (state_.fillCompositing != Compositing::over) return compose(path, rule);
        paint({.color = state_.fill,
               .bounds = *bounds,
               .boxes = filledBoxes(path, rule, state_.ctm),
               .draw = [&](cairo_t* cairo, const PixelRect& area) { fill(cairo, path, rule, area); }});
    }

    void strokePath(const Path& path) override
    {
        const double width = state_.lineWidth;
        if (path.empty() || !canDraw(state_.ctm) || !(width > 0) || !std::isfinite(width)) return;
        const double reach =
            width * 0.5 * (state_.lineJoin == LineJoin::miter ? Canvas::miterLimit : 1) * greatestScale(state_.ctm);
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
    struct Paint {
        RasterColor color;
        CGRect bounds; ///< Holds the coverage, in device space.
        std::optional<DeviceBoxes> boxes; ///< The coverage, if known as boxes.
        CoverageDraw draw; ///< The coverage in any case.
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

    /// Fills by another rule than that of lying over what is there.
    void compose(const Path& path, FillRule rule)
    {
        if (state_.clip.empty()) return;
        const bool clears = state_.fillCompositing == Compositing::clear;
        cairo_save(cairo());
        setSource(cairo(), clears ? RasterColor{} : state_.fill, clears ? 1 : state_.alpha);
        cairo_set_operator(cairo(), cairoOperator(state_.fillCompositing));
        fill(cairo(), path, rule, state_.clip);
        cairo_restore(cairo());
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

    void castShadow(const ShadowCaster& caster) const
    {
        larkspool::castShadow({*canvas_, state_.clip, state_.clipIsRect}, *state_.shadow, caster);
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
