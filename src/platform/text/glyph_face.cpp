#include "platform/text/glyph_face.h"

#include "platform/text/generation_cache.h"

#include <ft2build.h>
#include FT_OUTLINE_H
#include <hb-ot.h>
#include <hb.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>

namespace larkspool {

namespace {

/// Units of an em in which HarfBuzz is asked for shapes.
constexpr int unitsPerEm = 1 << 16;
/// How much wider and higher a face becomes that is made bold.
constexpr double boldening = 1.0 / 24;
/// Of shapes kept by one thread and generation.
constexpr std::size_t shapeBytes = 8 << 20;

struct FontDeleter {
    void operator()(hb_font_t* font) const { hb_font_destroy(font); }
};
using Font = std::unique_ptr<hb_font_t, FontDeleter>;

std::vector<hb_variation_t> parsedVariations(const std::string& text)
{
    std::vector<hb_variation_t> variations;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        hb_variation_t variation{};
        if (hb_variation_from_string(text.data() + begin, static_cast<int>(end - begin), &variation))
            variations.push_back(variation);
        begin = end + 1;
    }
    return variations;
}

Font openFont(const GlyphFace::Source& source)
{
    hb_blob_t* blob = hb_blob_create_from_file(source.file.c_str());
    hb_face_t* face = hb_face_create(blob, static_cast<unsigned>(source.index & 0xffff));
    hb_blob_destroy(blob);
    Font font(hb_font_create(face));
    hb_face_destroy(face);
    hb_font_set_scale(font.get(), unitsPerEm, unitsPerEm);
    if (source.index >> 16) hb_font_set_var_named_instance(font.get(), static_cast<unsigned>(source.index >> 16) - 1);
    if (const std::vector<hb_variation_t> variations = parsedVariations(source.variations); !variations.empty())
        hb_font_set_variations(font.get(), variations.data(), static_cast<unsigned>(variations.size()));
    return font;
}

/// Each thread reads faces for itself.
hb_font_t* fontOf(const GlyphFace& face)
{
    thread_local std::map<std::uint32_t, Font> fonts;
    Font& font = fonts[face.id()];
    if (!font) font = openFont(face.source());
    return font.get();
}

double inEms(hb_position_t position)
{
    return static_cast<double>(position) / unitsPerEm;
}

FontMetrics readMetrics(const GlyphFace::Source& source)
{
    const Font font = openFont(source);
    hb_font_extents_t extents{};
    hb_font_get_h_extents(font.get(), &extents);
    hb_position_t capHeight = 0;
    hb_ot_metrics_get_position_with_fallback(font.get(), HB_OT_METRICS_TAG_CAP_HEIGHT, &capHeight);
    return {inEms(extents.ascender), inEms(extents.descender), inEms(extents.line_gap), inEms(capHeight)};
}

/// Receives an outline from HarfBuzz, y upward.
struct OutlineReader {
    Path outline;
    CGPoint current;
    double slant;

    CGPoint point(float x, float y) const
    {
        const double right = static_cast<double>(x) / unitsPerEm, up = static_cast<double>(y) / unitsPerEm;
        return {right + slant * up, -up};
    }
};

OutlineReader& reader(void* data)
{
    return *static_cast<OutlineReader*>(data);
}

void moveTo(hb_draw_funcs_t*, void* data, hb_draw_state_t*, float x, float y, void*)
{
    OutlineReader& to = reader(data);
    to.current = to.point(x, y);
    to.outline.moveTo(to.current);
}

void lineTo(hb_draw_funcs_t*, void* data, hb_draw_state_t*, float x, float y, void*)
{
    OutlineReader& to = reader(data);
    to.current = to.point(x, y);
    to.outline.lineTo(to.current);
}

void quadraticTo(hb_draw_funcs_t*, void* data, hb_draw_state_t*, float controlX, float controlY, float x, float y, void*)
{
    OutlineReader& to = reader(data);
    const CGPoint control = to.point(controlX, controlY), end = to.point(x, y);
    const auto towards = [&](CGPoint from) {
        return CGPoint{from.x + (control.x - from.x) * 2 / 3, from.y + (control.y - from.y) * 2 / 3};
    };
    to.outline.curveTo(towards(to.current), towards(end), end);
    to.current = end;
}

void cubicTo(hb_draw_funcs_t*, void* data, hb_draw_state_t*, float x1, float y1, float x2, float y2, float x, float y, void*)
{
    OutlineReader& to = reader(data);
    to.current = to.point(x, y);
    to.outline.curveTo(to.point(x1, y1), to.point(x2, y2), to.current);
}

void closePath(hb_draw_funcs_t*, void* data, hb_draw_state_t*, void*)
{
    reader(data).outline.close();
}

hb_draw_funcs_t* drawFunctions()
{
    static hb_draw_funcs_t* const functions = [] {
        hb_draw_funcs_t* made = hb_draw_funcs_create();
        hb_draw_funcs_set_move_to_func(made, moveTo, nullptr, nullptr);
        hb_draw_funcs_set_line_to_func(made, lineTo, nullptr, nullptr);
        hb_draw_funcs_set_quadratic_to_func(made, quadraticTo, nullptr, nullptr);
        hb_draw_funcs_set_cubic_to_func(made, cubicTo, nullptr, nullptr);
        hb_draw_funcs_set_close_path_func(made, closePath, nullptr, nullptr);
        hb_draw_funcs_make_immutable(made);
        return made;
    }();
    return functions;
}

struct PngReader {
    const char* bytes;
    unsigned size;

    static cairo_status_t read(void* closure, unsigned char* to, unsigned length)
    {
        PngReader& png = *static_cast<PngReader*>(closure);
        if (length > png.size) return CAIRO_STATUS_READ_ERROR;
        std::copy_n(png.bytes, length, to);
        png.bytes += length;
        png.size -= length;
        return CAIRO_STATUS_SUCCESS;
    }
};

/// Reads the glyph's picture, if it has one.
bool readImage(hb_font_t* font, std::uint32_t glyph, GlyphShape& shape)
{
    hb_blob_t* blob = hb_ot_color_glyph_reference_png(font, glyph);
    PngReader png{nullptr, 0};
    png.bytes = hb_blob_get_data(blob, &png.size);
    if (png.size > 0) shape.image.reset(cairo_image_surface_create_from_png_stream(PngReader::read, &png));
    hb_blob_destroy(blob);
    if (!shape.image || cairo_surface_status(shape.image.get()) != CAIRO_STATUS_SUCCESS) return false;

    hb_glyph_extents_t extents{};
    hb_font_get_glyph_extents(font, glyph, &extents);
    shape.bounds = {{inEms(extents.x_bearing), -inEms(extents.y_bearing)}, {inEms(extents.width), -inEms(extents.height)}};
    return shape.bounds.size.width > 0 && shape.bounds.size.height > 0;
}

/// The outline with strokes thickened by `boldening`.
Path emboldened(const Path& outline)
{
    std::vector<FT_Vector> points;
    std::vector<char> tags;
    std::vector<short> ends;
    const auto add = [&](CGPoint p, char tag) {
        points.push_back({std::lround(p.x * unitsPerEm), std::lround(-p.y * unitsPerEm)});
        tags.push_back(tag);
    };
    for (const Path::Element& element : outline.elements()) {
        switch (element.kind) {
        case Path::Element::Kind::moveTo:
            if (!points.empty()) ends.push_back(static_cast<short>(points.size() - 1));
            add(element.points[0], FT_CURVE_TAG_ON);
            break;
        case Path::Element::Kind::lineTo: add(element.points[0], FT_CURVE_TAG_ON); break;
        case Path::Element::Kind::curveTo:
            add(element.points[0], FT_CURVE_TAG_CUBIC);
            add(element.points[1], FT_CURVE_TAG_CUBIC);
            add(element.points[2], FT_CURVE_TAG_ON);
            break;
        case Path::Element::Kind::close: break;
        }
        if (points.size() > 32000) return outline;
    }
    if (points.empty()) return outline;
    ends.push_back(static_cast<short>(points.size() - 1));

    FT_Outline thick{};
    thick.n_points = static_cast<short>(points.size());
    thick.n_contours = static_cast<short>(ends.size());
    thick.points = points.data();
    thick.tags = tags.data();
    thick.contours = ends.data();
    FT_Outline_Embolden(&thick, std::lround(boldening * unitsPerEm));

    Path bold;
    std::size_t next = 0;
    const auto take = [&] {
        const FT_Vector& p = points[next++];
        return CGPoint{static_cast<double>(p.x) / unitsPerEm, -static_cast<double>(p.y) / unitsPerEm};
    };
    for (const Path::Element& element : outline.elements()) {
        switch (element.kind) {
        case Path::Element::Kind::moveTo: bold.moveTo(take()); break;
        case Path::Element::Kind::lineTo: bold.lineTo(take()); break;
        case Path::Element::Kind::curveTo: {
            const CGPoint control1 = take(), control2 = take();
            bold.curveTo(control1, control2, take());
            break;
        }
        case Path::Element::Kind::close: bold.close(); break;
        }
    }
    return bold;
}

std::shared_ptr<const GlyphShape> readShape(const GlyphFace& face, std::uint32_t glyph)
{
    hb_font_t* font = fontOf(face);
    auto shape = std::make_shared<GlyphShape>();
    if (readImage(font, glyph, *shape)) return shape;
    shape->image.reset();

    OutlineReader read{.outline = {}, .current = {}, .slant = face.source().slant};
    hb_font_get_glyph_shape(font, glyph, drawFunctions(), &read);
    shape->outline = face.source().emboldened ? emboldened(read.outline) : std::move(read.outline);
    shape->bounds = shape->outline.bounds();
    return shape;
}

std::size_t bytesOf(const GlyphShape& shape)
{
    std::size_t bytes = sizeof(GlyphShape) + 64 + shape.outline.elements().size() * sizeof(Path::Element);
    if (shape.image)
        bytes += static_cast<std::size_t>(cairo_image_surface_get_stride(shape.image.get())) *
                 static_cast<std::size_t>(cairo_image_surface_get_height(shape.image.get()));
    return bytes;
}

} // namespace

std::shared_ptr<const GlyphFace> GlyphFace::find(const Source& source)
{
    static std::mutex mutex;
    static std::map<Source, std::shared_ptr<const GlyphFace>> faces;
    const std::lock_guard lock(mutex);
    std::shared_ptr<const GlyphFace>& face = faces[source];
    if (!face) face = std::make_shared<const GlyphFace>(source, static_cast<std::uint32_t>(faces.size()));
    return face;
}

GlyphFace::GlyphFace(Source source, std::uint32_t id) : source_(std::move(source)), id_(id), metrics_(readMetrics(source_)) {}

std::shared_ptr<const GlyphShape> glyphShape(const GlyphFace& face, std::uint32_t glyph)
{
    thread_local GenerationCache<std::uint64_t, std::shared_ptr<const GlyphShape>> shapes(shapeBytes);
    const std::uint64_t key = std::uint64_t{face.id()} << 32 | glyph;
    if (const auto* found = shapes.find(key)) return *found;
    std::shared_ptr<const GlyphShape> shape = readShape(face, glyph);
    return shapes.insert(key, shape, bytesOf(*shape));
}

GlyphShape missingGlyphShape(double width)
{
    constexpr double top = -0.72, bottom = 0, side = 0.06, line = 0.05;
    const CGRect frame{{side, top}, {width - 2 * side, bottom - top}};
    GlyphShape shape;
    if (!(frame.size.width > 2 * line)) return shape;
    const CGRect hole = insetBy(frame, line, line);
    shape.outline.moveTo({frame.minX(), frame.minY()});
    shape.outline.lineTo({frame.maxX(), frame.minY()});
    shape.outline.lineTo({frame.maxX(), frame.maxY()});
    shape.outline.lineTo({frame.minX(), frame.maxY()});
    shape.outline.close();
    // The other way around, so that it is left open.
    shape.outline.moveTo({hole.minX(), hole.minY()});
    shape.outline.lineTo({hole.minX(), hole.maxY()});
    shape.outline.lineTo({hole.maxX(), hole.maxY()});
    shape.outline.lineTo({hole.maxX(), hole.minY()});
    shape.outline.close();
    shape.bounds = frame;
    return shape;
}

} // namespace larkspool
