#include "platform/raster/glyph_painter.h"

#include "platform/raster/cairo_path.h"
#include "platform/raster/glyph_mask.h"
#include "platform/text/glyph_face.h"

#include <memory>
#include <vector>

namespace larkspool {

namespace {

/// Anti-aliasing, and glyphs rounded to a phase, reach beyond the outlines' bounds by at most this, in device pixels.
constexpr double boundsMargin = 1;

/// Glyphs with an em outside of this, in device pixels, are not drawn: they are too small to see, or beyond all measure.
constexpr double leastEm = 1e-3, greatestEm = 1e9;

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct CairoDeleter {
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

/// Coverage of the pixels of an area, which glyphs are put into as opaque ink.
class Coverage {
public:
    explicit Coverage(const PixelRect& area)
        : area_(area),
          stride_(static_cast<std::size_t>(cairo_format_stride_for_width(CAIRO_FORMAT_A8, area.width()))),
          values_(stride_ * static_cast<std::size_t>(area.height()))
    {
        surface_.reset(cairo_image_surface_create_for_data(values_.data(), CAIRO_FORMAT_A8, area.width(), area.height(),
                                                           static_cast<int>(stride_)));
        cairo_surface_set_device_offset(surface_.get(), -area.left, -area.top);
    }

    const PixelRect& area() const { return area_; }

    void add(const GlyphMask& mask, int x, int y)
    {
        const PixelRect& m = mask.area;
        const PixelRect placed{m.left + x, m.top + y, m.right + x, m.bottom + y};
        const PixelRect seen = intersectionOf(placed, area_);
        if (seen.empty()) return;
        for (int row = seen.top; row < seen.bottom; ++row) {
            const std::uint8_t* from = mask.coverage.data() +
                                       static_cast<std::size_t>(row - placed.top) * static_cast<std::size_t>(placed.width()) +
                                       (seen.left - placed.left);
            std::uint8_t* to = values_.data() + static_cast<std::size_t>(row - area_.top) * stride_ +
                               static_cast<std::size_t>(seen.left - area_.left);
            for (int i = 0; i < seen.width(); ++i) to[i] = over(to[i], from[i]);
        }
        isEmpty_ = false;
    }

    void fill(const Path& outline, const AffineTransform& toDevice)
    {
        cairo_surface_mark_dirty(surface_.get());
        const std::unique_ptr<cairo_t, CairoDeleter> cairo(cairo_create(surface_.get()));
        cairo_set_tolerance(cairo.get(), 0.03);
        appendToCairo(cairo.get(), outline, toDevice, area_);
        cairo_fill(cairo.get());
        cairo_surface_flush(surface_.get());
        isEmpty_ = false;
    }

    void paint(cairo_t* cairo) const
    {
        if (isEmpty_) return;
        cairo_surface_mark_dirty(surface_.get());
        cairo_mask_surface(cairo, surface_.get(), 0, 0);
    }

private:
    static std::uint8_t over(std::uint8_t below, std::uint8_t above)
    {
        const unsigned hidden = (255u - above) * below + 128;
        return static_cast<std::uint8_t>(above + ((hidden + (hidden >> 8)) >> 8));
    }

    PixelRect area_;
    std::size_t stride_;
    std::vector<std::uint8_t> values_;
    std::unique_ptr<cairo_surface_t, SurfaceDeleter> surface_;
    bool isEmpty_ = true;
};

/// The picture's pixels are mapped to its bounds.
void drawImage(cairo_t* cairo, const GlyphShape& shape, const AffineTransform& toDevice, double alpha)
{
    const int width = cairo_image_surface_get_width(shape.image.get()),
              height = cairo_image_surface_get_height(shape.image.get());
    const CGRect& box = shape.bounds;
    const AffineTransform m =
        toDevice.translatedBy(box.minX(), box.minY()).scaledBy(box.size.width / width, box.size.height / height);
    cairo_save(cairo);
    cairo_matrix_t matrix;
    cairo_matrix_init(&matrix, m.a, m.b, m.c, m.d, m.tx, m.ty);
    cairo_transform(cairo, &matrix);
    cairo_set_source_surface(cairo, shape.image.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_GOOD);
    cairo_paint_with_alpha(cairo, alpha);
    cairo_restore(cairo);
}

double sourceAlpha(cairo_t* cairo)
{
    double alpha = 1;
    cairo_pattern_get_rgba(cairo_get_source(cairo), nullptr, nullptr, nullptr, &alpha);
    return alpha;
}

/// A coordinate as whole pixels and eighths.
struct Phased {
    int pixel, phase;

    explicit Phased(double at)
    {
        const double eighths = std::floor(at * glyphPhases + 0.5);
        const double whole = std::floor(eighths / glyphPhases);
        pixel = static_cast<int>(whole);
        phase = static_cast<int>(eighths - whole * glyphPhases);
    }
};

bool isNear(CGPoint device)
{
    return std::abs(device.x) < greatestDeviceLength && std::abs(device.y) < greatestDeviceLength;
}

/// Puts the glyphs of one layout into coverage, and keeps the images for later.
class Composer {
public:
    Composer(const TextLayout& layout, const AffineTransform& toDevice, std::span<const TextRange> clear, Coverage& coverage)
        : layout_(layout),
          toDevice_(toDevice),
          clear_(clear),
          coverage_(coverage),
          seen_(rectOf(coverage.area())),
          fontSize_(layout.request.fontSize),
          em_{toDevice.a * fontSize_, toDevice.d * fontSize_}
    {
        const double across = std::hypot(toDevice.a, toDevice.b) * fontSize_,
                     down = std::hypot(toDevice.c, toDevice.d) * fontSize_;
        const double area = std::abs(toDevice.determinant()) * fontSize_ * fontSize_;
        if (!(area > leastEm * leastEm && std::max(across, down) < greatestEm))
            way_ = Way::none;
        else if (std::max(across, down) > greatestMaskEm)
            way_ = Way::path;
        else if (toDevice.b == 0 && toDevice.c == 0 && em_.width > 0 && em_.height > 0)
            way_ = Way::keptMask;
        else
            way_ = Way::mask;
    }

    void compose()
    {
        if (way_ == Way::none) return;
        for (const TextLayout::Line& line : layout_.lines) {
            if (line.ink.isNull() || !touchesSeen(toDevice_.apply(line.ink))) continue;
            const CGRect reach = toDevice_.apply(line.reach);
            reach_ = {{reach.minX() - toDevice_.tx, reach.minY() - toDevice_.ty}, reach.size};
            for (std::size_t i = 0; i < line.runCount; ++i) composeRun(layout_.runs[line.firstRun + i], line.start);
        }
    }

    void drawImages(cairo_t* cairo) const
    {
        const double alpha = sourceAlpha(cairo);
        for (const Image& image : images_) drawImage(cairo, *image.shape, image.toDevice, alpha);
    }

private:
    enum class Way { none, keptMask, mask, path };

    struct Image {
        std::shared_ptr<const GlyphShape> shape;
        AffineTransform toDevice;
    };

    static CGRect rectOf(const PixelRect& area)
    {
        return {{static_cast<double>(area.left), static_cast<double>(area.top)},
                {static_cast<double>(area.width()), static_cast<double>(area.height())}};
    }

    bool touchesSeen(const CGRect& device) const
    {
        return device.minX() - boundsMargin < seen_.maxX() && device.maxX() + boundsMargin > seen_.minX() &&
               device.minY() - boundsMargin < seen_.maxY() && device.maxY() + boundsMargin > seen_.minY();
    }

    bool isClear(std::size_t byte) const
    {
        for (const TextRange& range : clear_)
            if (range.contains(byte)) return true;
        return false;
    }

    void composeRun(const TextLayout::Run& run, CGPoint lineStart)
    {
        for (std::size_t i = 0; i < run.glyphCount; ++i) {
            const TextLayout::Glyph& glyph = layout_.glyphs[run.firstGlyph + i];
            if (isClear(glyph.byte)) continue;
            const CGPoint origin{lineStart.x + double{glyph.x} * fontSize_, lineStart.y + double{glyph.y} * fontSize_};
            const CGPoint device = toDevice_.apply(origin);
            const CGRect box{{device.x + reach_.origin.x, device.y + reach_.origin.y}, reach_.size};
            if (!touchesSeen(box) || !(way_ == Way::path || isNear(device))) continue;
            composeGlyph(run.face.get(), glyph.id, device);
        }
    }

    /// `device` is the glyph's origin.
    void composeGlyph(const GlyphFace* face, std::uint32_t id, CGPoint device)
    {
        if (!face) return composeOutline(missingGlyphShape(id / 1000.0).outline, device);
        if (way_ == Way::keptMask) {
            const Phased x(device.x), y(device.y);
            const GlyphMask& mask = glyphMask(*face, id, em_, x.phase, y.phase);
            if (!mask.area.empty()) return coverage_.add(mask, x.pixel, y.pixel);
        }
        const std::shared_ptr<const GlyphShape> shape = glyphShape(*face, id);
        if (shape->image) {
            if (isNear(device)) images_.push_back({shape, placed(device)});
        } else {
            composeOutline(shape->outline, device);
        }
    }

    AffineTransform placed(CGPoint device) const
    {
        const AffineTransform& m = toDevice_;
        return {m.a * fontSize_, m.b * fontSize_, m.c * fontSize_, m.d * fontSize_, device.x, device.y};
    }

    void composeOutline(const Path& outline, CGPoint device)
    {
        if (outline.empty()) return;
        if (way_ == Way::path) return coverage_.fill(outline, placed(device));
        const double left = std::floor(device.x), top = std::floor(device.y);
        coverage_.add(rasterised(outline, placed({device.x - left, device.y - top})), static_cast<int>(left),
                      static_cast<int>(top));
    }

    const TextLayout& layout_;
    const AffineTransform& toDevice_;
    std::span<const TextRange> clear_;
    Coverage& coverage_;
    CGRect seen_;
    CGRect reach_; ///< Holds each glyph of the line, in device space from its origin.
    double fontSize_;
    CGSize em_;
    Way way_;
    std::vector<Image> images_;
};

} // namespace

CGRect GlyphPainter::bounds() const
{
    return insetBy(toDevice_.apply(layout_.ink), -boundsMargin, -boundsMargin);
}

void GlyphPainter::draw(cairo_t* cairo, const PixelRect& area) const
{
    const PixelRect inked = pixelsTouchedBy(bounds(), area);
    if (inked.empty()) return;
    Coverage coverage(inked);
    Composer composer(layout_, toDevice_, clear_, coverage);
    composer.compose();
    coverage.paint(cairo);
    composer.drawImages(cairo);
}

} // namespace larkspool
