#include "platform/raster/glyph_mask.h"

#include "platform/text/generation_cache.h"

#include <ft2build.h>
#include FT_OUTLINE_H

#include <bit>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace larkspool {

namespace {

/// Of masks kept by one thread and generation.
constexpr std::size_t maskBytes = 8 << 20;
/// FreeType's coordinates, in parts of a pixel.
constexpr double subpixels = 64;
/// The farthest in pixels that a mask reaches from its origin: a glyph of several ems.
constexpr double greatestReach = 16 * greatestMaskEm;
constexpr std::size_t greatestPointCount = 32000;

struct LibraryDeleter {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};

FT_Library libraryOfThisThread()
{
    thread_local const std::unique_ptr<std::remove_pointer_t<FT_Library>, LibraryDeleter> library = [] {
        FT_Library opened = nullptr;
        if (FT_Init_FreeType(&opened) != 0) throw std::runtime_error("FreeType cannot be started.");
        return std::unique_ptr<std::remove_pointer_t<FT_Library>, LibraryDeleter>(opened);
    }();
    return library.get();
}

/// An outline in FreeType's form, y upward.
struct Outline {
    std::vector<FT_Vector> points;
    std::vector<char> tags;
    std::vector<short> ends;

    void add(CGPoint device, char tag)
    {
        points.push_back({std::lround(device.x * subpixels), std::lround(-device.y * subpixels)});
        tags.push_back(tag);
    }

    void endContour()
    {
        if (!points.empty() && (ends.empty() || static_cast<std::size_t>(ends.back()) + 1 < points.size()))
            ends.push_back(static_cast<short>(points.size() - 1));
    }

    FT_Outline view()
    {
        FT_Outline outline{};
        outline.n_points = static_cast<short>(points.size());
        outline.n_contours = static_cast<short>(ends.size());
        outline.points = points.data();
        outline.tags = tags.data();
        outline.contours = ends.data();
        return outline;
    }
};

Outline transformed(const Path& path, const AffineTransform& toDevice)
{
    Outline outline;
    for (const Path::Element& element : path.elements()) {
        switch (element.kind) {
        case Path::Element::Kind::moveTo:
            outline.endContour();
            outline.add(toDevice.apply(element.points[0]), FT_CURVE_TAG_ON);
            break;
        case Path::Element::Kind::lineTo: outline.add(toDevice.apply(element.points[0]), FT_CURVE_TAG_ON); break;
        case Path::Element::Kind::curveTo:
            outline.add(toDevice.apply(element.points[0]), FT_CURVE_TAG_CUBIC);
            outline.add(toDevice.apply(element.points[1]), FT_CURVE_TAG_CUBIC);
            outline.add(toDevice.apply(element.points[2]), FT_CURVE_TAG_ON);
            break;
        case Path::Element::Kind::close: break;
        }
    }
    outline.endContour();
    return outline;
}

/// Glyphs of one face at one size.
struct MaskKey {
    std::uint32_t face, glyph;
    CGSize em;
    int phase;

    bool operator==(const MaskKey&) const = default;
};

struct MaskKeyHash {
    std::size_t operator()(const MaskKey& key) const
    {
        std::uint64_t hash = std::uint64_t{key.face} << 32 | key.glyph;
        const auto mix = [&](std::uint64_t more) {
            hash = (hash ^ more) * 0x9e3779b97f4a7c15;
            hash ^= hash >> 29;
        };
        mix(std::bit_cast<std::uint64_t>(key.em.width));
        mix(std::bit_cast<std::uint64_t>(key.em.height));
        mix(static_cast<std::uint64_t>(key.phase));
        return hash;
    }
};

} // namespace

GlyphMask rasterised(const Path& outline, const AffineTransform& toDevice)
{
    const CGRect bounds = toDevice.apply(outline.bounds());
    const bool fits = bounds.minX() > -greatestReach && bounds.minY() > -greatestReach && bounds.maxX() < greatestReach &&
                      bounds.maxY() < greatestReach;
    if (bounds.isNull() || !fits || outline.elements().size() > greatestPointCount / 3) return {};

    Outline device = transformed(outline, toDevice);
    FT_Outline view = device.view();
    FT_BBox box;
    FT_Outline_Get_CBox(&view, &box);
    const auto floored = [](FT_Pos at) { return static_cast<int>(at >> 6); };
    GlyphMask mask{{floored(box.xMin), -floored(box.yMax + 63), floored(box.xMax + 63), -floored(box.yMin)}, {}};
    if (mask.area.empty()) return {};
    mask.coverage.resize(static_cast<std::size_t>(mask.area.width()) * static_cast<std::size_t>(mask.area.height()));

    FT_Outline_Translate(&view, -FT_Pos{mask.area.left} * 64, FT_Pos{mask.area.bottom} * 64);
    FT_Bitmap bitmap{};
    bitmap.rows = static_cast<unsigned>(mask.area.height());
    bitmap.width = static_cast<unsigned>(mask.area.width());
    bitmap.pitch = mask.area.width();
    bitmap.buffer = mask.coverage.data();
    bitmap.num_grays = 256;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    if (FT_Outline_Get_Bitmap(libraryOfThisThread(), &view, &bitmap) != 0) return {};
    return mask;
}

const GlyphMask& glyphMask(const GlyphFace& face, std::uint32_t glyph, CGSize em, int phaseX, int phaseY)
{
    thread_local GenerationCache<MaskKey, GlyphMask, MaskKeyHash> masks(maskBytes);
    const MaskKey key{face.id(), glyph, em, phaseY * glyphPhases + phaseX};
    if (const GlyphMask* found = masks.find(key)) return *found;

    const double part = 1.0 / glyphPhases;
    GlyphMask mask = rasterised(glyphShape(face, glyph)->outline, {em.width, 0, 0, em.height, phaseX * part, phaseY * part});
    const std::size_t bytes = sizeof(MaskKey) + sizeof(GlyphMask) + 64 + mask.coverage.size();
    return masks.insert(key, std::move(mask), bytes);
}

} // namespace larkspool
