#include "rendering/cursors.h"

#include "platform/file_io.h"
#include "platform/image_decoding.h"
#include "platform/program_folder.h"
#include "rendering/built_in_cursors.h"
#include "rendering/continuous_corners.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace larkspool {

namespace {

constexpr double longerSide = 512;
constexpr CGSize fallbackSize{64, 64};
/// How much fainter than the brightest spoke the faintest is.
constexpr double spokeFade = 0.85;

std::span<const std::uint8_t> asBytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

ImageRef artInFile(const std::string& path)
{
    try {
        return renderedCursorArt(readWholeFile(path));
    } catch (const FileError&) {
        return nullptr; // The next folder, or the built-in copy, takes its place without a word.
    }
}

/// A polygon of the palette's icon, from its design box to `rect`.
Path iconPolygon(std::span<const CGPoint> points, const CGRect& rect)
{
    constexpr CGSize design{80, 132};
    Path path;
    for (const CGPoint& p : points) {
        const CGPoint at{rect.minX() + p.x * rect.size.width / design.width, rect.minY() + p.y * rect.size.height / design.height};
        path.empty() ? path.moveTo(at) : path.lineTo(at);
    }
    path.close();
    return path;
}

} // namespace

CursorImageCache& CursorImageCache::shared()
{
    static CursorImageCache cache({programFolder() + "/../share/larkspool/Cursors", LARKSPOOL_CURSOR_FOLDER});
    return cache;
}

ImageRef CursorImageCache::image(CursorVariant variant)
{
    const std::scoped_lock lock(lock_);
    if (const auto found = cache_.find(variant); found != cache_.end()) return found->second;

    for (const std::string& folder : folders_) {
        ImageRef art = artInFile(folder + "/" + std::string(fileValue(variant)) + ".svg");
        if (art) return cache_[variant] = std::move(art);
    }
    return nullptr;
}

ImageRef renderedCursorArt(std::span<const std::uint8_t> svg)
{
    const std::shared_ptr<const VectorArt> art = decodeVectorArt(svg);
    if (!art) return nullptr;
    const CGSize size = readSVGIntrinsicSize(svg).value_or(fallbackSize);
    const double aspect = size.width / size.height;
    if (!(aspect > 0) || !std::isfinite(aspect)) return nullptr;
    const int width = static_cast<int>(aspect >= 1 ? longerSide : aspect * longerSide);
    const int height = static_cast<int>(aspect >= 1 ? longerSide / aspect : longerSide);
    return width > 0 && height > 0 ? art->render(width, height) : nullptr;
}

ImageRef builtInCursorImage(CursorVariant variant)
{
    static const std::map<CursorVariant, ImageRef> images = [] {
        std::map<CursorVariant, ImageRef> rendered;
        for (const EnumCase<CursorVariant>& cursor : EnumTable<CursorVariant>::cases)
            rendered[cursor.value] = renderedCursorArt(asBytes(builtInCursor(cursor.fileValue)));
        return rendered;
    }();
    return images.at(variant);
}

ImageRef cursorNSImage(CursorVariant variant, CursorImageCache& cache)
{
    if (ImageRef art = cache.image(variant)) return art;
    return builtInCursorImage(variant);
}

CGRect fittedCursor(CGSize art, CGSize box)
{
    const double aspect = art.height / art.width;
    const CGSize drawn = box.width * aspect <= box.height ? CGSize{box.width, box.width * aspect} : CGSize{box.height / aspect, box.height};
    return {{(box.width - drawn.width) * 0.5, (box.height - drawn.height) * 0.5}, drawn};
}

RoundedRect throbberSpokeShape(CGSize frame)
{
    const double side = std::min(frame.width, frame.height);
    const double width = side * 0.3 * 0.34, length = side * 0.3;
    return {{{-width / 2, -0.32 * side - length / 2}, {width, length}}, width / 2};
}

std::vector<ThrobberSpoke> throbberSpokes(int lead, int count)
{
    std::vector<ThrobberSpoke> spokes;
    for (int k = 0; k < count; ++k) {
        const int behind = ((lead - k) % count + count) % count;
        const double faded = count > 1 ? static_cast<double>(behind) / (count - 1) : 0;
        spokes.push_back({.rotation = k * 2 * std::numbers::pi / count, .opacity = 1 - faded * spokeFade});
    }
    return spokes;
}

int exportThrobberLead(double sceneTime)
{
    if (!std::isfinite(sceneTime)) return 0;
    double whole = 0;
    const double part = std::modf(sceneTime, &whole); // Has the sign of the time.
    return static_cast<int>(part * throbberCount) & (throbberCount - 1);
}

int canvasThrobberLead(double now, double revolution, int count)
{
    const double turned = std::fmod(now, revolution) / revolution;
    return std::isfinite(turned) ? static_cast<int>(turned * count) : 0;
}

void drawThrobber(RasterContext& context, const CGRect& frame, int lead, int count, const RasterColor& color,
                  DrawingStyle::Corners corners)
{
    if (!(frame.size.width > 0 && frame.size.height > 0)) return;
    const Path outline = boxOutline(throbberSpokeShape(frame.size), corners);
    for (const ThrobberSpoke& spoke : throbberSpokes(lead, count)) {
        SavedState saved(context);
        context.translateCTM(frame.midX(), frame.midY());
        context.concatCTM(AffineTransform().rotatedBy(spoke.rotation));
        context.setFillColor({color.r, color.g, color.b, color.a * spoke.opacity});
        context.fillPath(outline, FillRule::winding);
    }
}

void drawExportThrobber(RasterContext& context, const CGRect& frame, double sceneTime)
{
    drawThrobber(context, frame, exportThrobberLead(sceneTime), throbberCount, {0, 0, 0, 1}, DrawingStyle::Corners::circular);
}

Path cursorOuterShape(const CGRect& rect)
{
    constexpr CGPoint points[] = {{0, 66.73}, {0, 0}, {48.3, 48.42}, {18.96, 48.42}, {18.33, 48.93}};
    return iconPolygon(points, rect);
}

Path cursorInnerShape(const CGRect& rect)
{
    constexpr CGPoint points[] = {{4.17, 10.03}, {4.17, 56.65}, {16.54, 44.7}, {17.2, 44.13}, {38.19, 44.13}};
    return iconPolygon(points, rect);
}

void Exporter::drawCursorBody(const Layer& layer, RasterContext& context)
{
    const ImageRef image = exportCursorNSImage(layer.cursorVariant);
    if (!image) return;
    context.drawImage(image, {{0, 0}, image->size()}, fittedCursor(image->size(), layer.size));
}

} // namespace larkspool
