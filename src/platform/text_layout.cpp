#include "platform/text_layout.h"

#include "platform/text/font_catalog.h"
#include "platform/text/generation_cache.h"
#include "platform/text/glyph_face.h"

#include <pango/pango.h>
#include <pango/pangofc-font.h>
#include <pango/pangofc-fontmap.h>
#include <pango/pangoft2.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

namespace larkspool {

namespace {

/// Everything is laid out at this size and scaled, which without hinting gives the same lines at every size. Small enough that a
/// line of `greatestLineBytes` fits into Pango's numbers, large enough that their steps are no more than 1/32768 em.
constexpr int layoutSize = 32;
constexpr double unitsPerEm = layoutSize * PANGO_SCALE;
/// The widest that Pango is told to wrap to, in ems.
constexpr double greatestWrapWidth = 30000;

/// A long paragraph is laid out piece by piece, each beginning where the last whole line of the piece before has ended, since
/// Pango's time grows with the number of lines times the length. A piece has some `linesPerPiece` lines.
constexpr std::size_t leastPieceBytes = 64;
constexpr std::size_t firstPieceBytes = 512;
constexpr std::size_t linesPerPiece = 8;
constexpr std::size_t greatestLineBytes = 16384;

constexpr std::size_t keptLayoutBytes = 64 << 20;
constexpr std::size_t keptFontBytes = 64 << 10;

struct ObjectDeleter {
    void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Owned = std::unique_ptr<T, ObjectDeleter>;

struct DescriptionDeleter {
    void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
};
using Description = std::unique_ptr<PangoFontDescription, DescriptionDeleter>;

struct AttributesDeleter {
    void operator()(PangoAttrList* attributes) const { pango_attr_list_unref(attributes); }
};
using Attributes = std::unique_ptr<PangoAttrList, AttributesDeleter>;

Description describe(const FontWish& wish)
{
    Description description(pango_font_description_new());
    pango_font_description_set_family(description.get(), wish.family.c_str());
    pango_font_description_set_weight(description.get(), wish.weight);
    pango_font_description_set_style(description.get(), wish.style);
    pango_font_description_set_stretch(description.get(), wish.stretch);
    pango_font_description_set_absolute_size(description.get(), unitsPerEm);
    return description;
}

GlyphFace::Source sourceOf(PangoFont* font)
{
    FcPattern* pattern = pango_fc_font_get_pattern(PANGO_FC_FONT(font));
    GlyphFace::Source source;
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, FC_FILE, 0, &text) == FcResultMatch) source.file = reinterpret_cast<const char*>(text);
    if (FcPatternGetString(pattern, FC_FONT_VARIATIONS, 0, &text) == FcResultMatch)
        source.variations = reinterpret_cast<const char*>(text);
    FcPatternGetInteger(pattern, FC_INDEX, 0, &source.index);
    FcMatrix* matrix = nullptr;
    if (FcPatternGetMatrix(pattern, FC_MATRIX, 0, &matrix) == FcResultMatch && matrix->yy != 0)
        source.slant = matrix->xy / matrix->yy;
    FcBool emboldened = FcFalse;
    if (FcPatternGetBool(pattern, FC_EMBOLDEN, 0, &emboldened) == FcResultMatch) source.emboldened = emboldened;
    return source;
}

/// Pango's objects, which serve one thread each.
class Shaper {
public:
    static Shaper& ofThisThread()
    {
        thread_local Shaper shaper;
        return shaper;
    }

    /// The face that a name's text is set in.
    std::shared_ptr<const GlyphFace> face(const std::string& fontName)
    {
        if (const auto* found = facesByName_.find(fontName)) return *found;
        const Description description = describe(fontOrSystemFont(fontName));
        const Owned<PangoFont> font(pango_font_map_load_font(map_.get(), context_.get(), description.get()));
        return facesByName_.insert(fontName, font ? face(font.get()) : nullptr, fontName.size() + sizeof(void*));
    }

    std::shared_ptr<const GlyphFace> face(PangoFont* font)
    {
        constexpr std::size_t manyFonts = 512;
        if (const auto found = facesByFont_.find(font); found != facesByFont_.end()) return found->second.face;
        if (facesByFont_.size() > manyFonts) facesByFont_.clear();
        // The font is held so that no other can take its place in memory.
        KnownFont known{Owned<PangoFont>(PANGO_FONT(g_object_ref(font))), GlyphFace::find(sourceOf(font))};
        return facesByFont_.emplace(font, std::move(known)).first->second.face;
    }

    /// `wrapWidth` is in ems; 0 wraps nothing.
    void begin(const std::string& fontName, double wrapWidth)
    {
        const Description description = describe(fontOrSystemFont(fontName));
        pango_layout_set_font_description(layout_.get(), description.get());
        const double width = std::clamp(std::min(wrapWidth, greatestWrapWidth) * unitsPerEm, 1.0, greatestWrapWidth * unitsPerEm);
        pango_layout_set_width(layout_.get(), wrapWidth > 0 ? static_cast<int>(width) : -1);
    }

    /// Lays out a text without line breaks, in the direction of its first letter if none is given. The lines hold until the next
    /// call.
    GSList* lines(std::string_view text, std::optional<PangoDirection> direction)
    {
        pango_context_set_base_dir(context_.get(), direction.value_or(PANGO_DIRECTION_LTR));
        pango_layout_context_changed(layout_.get());
        pango_layout_set_auto_dir(layout_.get(), !direction);
        pango_layout_set_text(layout_.get(), text.data(), static_cast<int>(text.size()));
        return pango_layout_get_lines_readonly(layout_.get());
    }

private:
    struct KnownFont {
        Owned<PangoFont> font;
        std::shared_ptr<const GlyphFace> face;
    };

    Shaper() : map_(pango_ft2_font_map_new())
    {
        pango_fc_font_map_set_default_substitute(PANGO_FC_FONT_MAP(map_.get()), leaveUnhinted, nullptr, nullptr);
        context_.reset(pango_font_map_create_context(map_.get()));
        pango_context_set_round_glyph_positions(context_.get(), FALSE);
        // Which glyphs stand for characters that languages share must not depend on who runs the program.
        pango_context_set_language(context_.get(), pango_language_from_string("en"));
        layout_.reset(pango_layout_new(context_.get()));
        pango_layout_set_wrap(layout_.get(), PANGO_WRAP_WORD_CHAR);
        const Attributes attributes(pango_attr_list_new());
        pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
        pango_layout_set_attributes(layout_.get(), attributes.get());
    }

    static void leaveUnhinted(FcPattern* pattern, gpointer)
    {
        FcPatternDel(pattern, FC_HINTING);
        FcPatternAddBool(pattern, FC_HINTING, FcFalse);
    }

    Owned<PangoFontMap> map_;
    Owned<PangoContext> context_;
    Owned<PangoLayout> layout_;
    std::unordered_map<PangoFont*, KnownFont> facesByFont_;
    GenerationCache<std::string, std::shared_ptr<const GlyphFace>> facesByName_{keptFontBytes};
};

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

/// The longest beginning of at most `bytes` that ends between two code points, but at least one byte.
std::string_view beginningOf(std::string_view text, std::size_t bytes)
{
    if (bytes >= text.size()) return text;
    std::size_t end = bytes;
    while (end > 1 && isContinuation(text[end])) --end;
    return text.substr(0, end);
}

/// The text as Pango takes it, each byte where it was.
std::string madeWellFormed(std::string text)
{
    for (std::size_t begin = 0; begin < text.size();) {
        const char* end = nullptr;
        if (g_utf8_validate(text.data() + begin, static_cast<gssize>(text.size() - begin), &end)) break;
        begin = static_cast<std::size_t>(end - text.data());
        text[begin] = text[begin] == '\0' ? ' ' : '?';
    }
    for (char& c : text) {
        const bool control = static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
        if (control && c != '\t' && c != '\n' && c != '\r') c = ' ';
    }
    return text;
}

/// How many bytes the line break at the beginning of the text has; 0 if there is none.
std::size_t lineBreakBytes(std::string_view text)
{
    if (text.starts_with("\r\n")) return 2;
    if (text.starts_with('\n') || text.starts_with('\r')) return 1;
    if (text.starts_with("\u0085")) return 2;
    return text.starts_with("\u2028") || text.starts_with("\u2029") ? 3 : 0;
}

double inEms(int units)
{
    return units / unitsPerEm;
}

CGRect movedBy(const CGRect& rect, CGPoint by)
{
    if (rect.isNull()) return rect;
    return {{rect.origin.x + by.x, rect.origin.y + by.y}, rect.size};
}

/// Turns lines of Pango into those of a layout, in ems.
class LayoutBuilder {
public:
    LayoutBuilder(TextLayout& layout, Shaper& shaper)
        : layout_(layout),
          shaper_(shaper),
          baseFace_(shaper.face(layout.request.fontName)),
          baseMetrics_(baseFace_ ? baseFace_->metrics() : FontMetrics{})
    {}

    void build()
    {
        const TextLayoutRequest& request = layout_.request;
        shaper_.begin(request.fontName, request.width / request.fontSize);
        const std::string wellFormed = madeWellFormed(request.text);
        const std::string_view text = wellFormed;
        std::size_t begin = 0;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t breakBytes = lineBreakBytes(text.substr(at));
            if (breakBytes == 0) {
                ++at;
                continue;
            }
            addParagraph(text.substr(begin, at - begin), begin);
            begin = at += breakBytes;
        }
        addParagraph(text.substr(begin), begin);
        scaleAndAlign();
    }

private:
    void addParagraph(std::string_view text, std::size_t offset)
    {
        if (text.empty()) return endLine(beginLine());
        std::optional<PangoDirection> direction; // That of the first piece.
        std::size_t pieceBytes = firstPieceBytes;
        while (!text.empty()) {
            const std::string_view piece = beginningOf(text, pieceBytes);
            GSList* lines = shaper_.lines(piece, direction);
            const bool isLast = piece.size() == text.size();
            const bool isOneLine = !lines || !lines->next;
            if (!isLast && isOneLine && pieceBytes < greatestLineBytes) {
                pieceBytes = std::min(pieceBytes * 4, greatestLineBytes);
                continue;
            }
            if (lines && !direction)
                direction = pango_layout_line_get_resolved_direction(static_cast<PangoLayoutLine*>(lines->data));
            std::size_t taken = piece.size();
            for (GSList* at = lines; at; at = at->next) {
                const auto* line = static_cast<PangoLayoutLine*>(at->data);
                if (!isLast && !isOneLine && !at->next) {
                    taken = static_cast<std::size_t>(line->start_index);
                    break;
                }
                addLine(*line, offset);
            }
            text.remove_prefix(taken);
            offset += taken;
            const std::size_t lineCount = g_slist_length(lines);
            pieceBytes = std::clamp(piece.size() / std::max<std::size_t>(lineCount, 1) * linesPerPiece, leastPieceBytes,
                                    greatestLineBytes);
        }
    }

    TextLayout::Line beginLine()
    {
        lineMetrics_ = baseMetrics_;
        return {.ink = CGRect::null(), .reach = CGRect::null(), .firstRun = layout_.runs.size()};
    }

    void endLine(TextLayout::Line line)
    {
        line.runCount = layout_.runs.size() - line.firstRun;
        line.top = bottom_;
        line.height = lineMetrics_.lineHeight();
        line.start.y = line.top + lineMetrics_.ascender;
        bottom_ += line.height;
        layout_.lines.push_back(line);
    }

    void addLine(const PangoLayoutLine& from, std::size_t offset)
    {
        TextLayout::Line line = beginLine();
        for (GSList* at = from.runs; at; at = at->next) addItem(*static_cast<PangoGlyphItem*>(at->data), offset, line);
        endLine(line);
    }

    void addItem(const PangoGlyphItem& item, std::size_t offset, TextLayout::Line& line)
    {
        const std::shared_ptr<const GlyphFace> face =
            item.item->analysis.font ? shaper_.face(item.item->analysis.font) : baseFace_;
        if (face) {
            const FontMetrics& metrics = face->metrics();
            lineMetrics_.ascender = std::max(lineMetrics_.ascender, metrics.ascender);
            lineMetrics_.descender = std::min(lineMetrics_.descender, metrics.descender);
            lineMetrics_.leading = std::max(lineMetrics_.leading, metrics.leading);
        }
        const std::size_t textBegin = offset + static_cast<std::size_t>(item.item->offset);
        for (int i = 0; i < item.glyphs->num_glyphs; ++i) {
            const PangoGlyphInfo& info = item.glyphs->glyphs[i];
            const double advance = inEms(info.geometry.width);
            const CGPoint place{line.width + inEms(info.geometry.x_offset), inEms(info.geometry.y_offset)};
            const auto byte = static_cast<std::uint32_t>(textBegin + static_cast<std::size_t>(item.glyphs->log_clusters[i]));
            line.width += advance;
            if (info.glyph == PANGO_GLYPH_EMPTY) continue;
            if (info.glyph & PANGO_GLYPH_UNKNOWN_FLAG) {
                const double thousandths = std::clamp(std::round(advance * 1000), 0.0, 100000.0);
                addGlyph(nullptr, {static_cast<std::uint32_t>(thousandths), byte}, place, line);
            } else if (face) {
                addGlyph(face, {info.glyph, byte}, place, line);
            }
        }
    }

    void addGlyph(const std::shared_ptr<const GlyphFace>& face, TextLayout::Glyph glyph, CGPoint place, TextLayout::Line& line)
    {
        const CGRect bounds = face ? glyphShape(*face, glyph.id)->bounds : missingGlyphShape(glyph.id / 1000.0).bounds;
        if (bounds.isNull()) return; // A space.
        glyph.x = static_cast<float>(place.x);
        glyph.y = static_cast<float>(place.y);
        line.reach = unionOf(line.reach, bounds);
        line.ink = unionOf(line.ink, movedBy(bounds, place));
        const bool continues = layout_.runs.size() > line.firstRun && layout_.runs.back().face == face;
        if (!continues) layout_.runs.push_back({face, layout_.glyphs.size(), 0});
        layout_.runs.back().glyphCount += 1;
        layout_.glyphs.push_back(glyph);
    }

    /// From ems to the size asked for, each line in its place.
    void scaleAndAlign()
    {
        const double size = layout_.request.fontSize;
        for (const TextLayout::Line& line : layout_.lines) layout_.size.width = std::max(layout_.size.width, line.width * size);
        layout_.size.height = bottom_ * size;
        const double frame = layout_.request.width > 0 ? layout_.request.width : layout_.size.width;

        constexpr double shares[] = {0, 0.5, 1};
        const double share = shares[static_cast<int>(layout_.request.alignment)];
        for (TextLayout::Line& line : layout_.lines) {
            line.width *= size;
            line.height *= size;
            line.top *= size;
            line.start = {(frame - line.width) * share, line.start.y * size};
            line.reach = scaled(line.reach, size);
            line.ink = movedBy(scaled(line.ink, size), line.start);
            layout_.ink = unionOf(layout_.ink, line.ink);
        }
    }

    static CGRect scaled(const CGRect& rect, double by)
    {
        if (rect.isNull()) return rect;
        return {{rect.origin.x * by, rect.origin.y * by}, {rect.size.width * by, rect.size.height * by}};
    }

    TextLayout& layout_;
    Shaper& shaper_;
    std::shared_ptr<const GlyphFace> baseFace_;
    FontMetrics baseMetrics_;
    FontMetrics lineMetrics_; ///< The largest of the line.
    double bottom_ = 0;
};

struct RequestHash {
    std::size_t operator()(const TextLayoutRequest& request) const
    {
        std::size_t hash = std::hash<std::string>()(request.text);
        const auto mix = [&](std::size_t more) { hash = (hash ^ more) * 0x9e3779b97f4a7c15; };
        mix(std::hash<std::string>()(request.fontName));
        mix(std::hash<double>()(request.fontSize));
        mix(std::hash<double>()(request.width));
        mix(static_cast<std::size_t>(request.alignment));
        return hash;
    }
};

/// Layouts by what was asked for. The least recently used go first.
class LayoutCache {
public:
    using Layout = std::shared_ptr<const TextLayout>;

    Layout find(const TextLayoutRequest& request)
    {
        const std::lock_guard lock(mutex_);
        const auto found = places_.find(request);
        if (found == places_.end()) return nullptr;
        layouts_.splice(layouts_.begin(), layouts_, found->second);
        return layouts_.front();
    }

    /// Keeps the layout, unless another thread was faster, and gives what is kept.
    Layout insert(Layout layout)
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = places_.find(layout->request); found != places_.end()) return *found->second;
        bytes_ += bytesOf(*layout);
        layouts_.push_front(layout);
        places_.emplace(layout->request, layouts_.begin());
        while (bytes_ > keptLayoutBytes && layouts_.size() > 1) dropOldest();
        return layout;
    }

private:
    void dropOldest()
    {
        places_.erase(layouts_.back()->request);
        bytes_ -= bytesOf(*layouts_.back());
        layouts_.pop_back();
    }

    static std::size_t bytesOf(const TextLayout& layout)
    {
        return sizeof(TextLayout) + layout.request.text.size() + layout.request.fontName.size() +
               layout.lines.capacity() * sizeof(TextLayout::Line) + layout.runs.capacity() * sizeof(TextLayout::Run) +
               layout.glyphs.capacity() * sizeof(TextLayout::Glyph);
    }

    std::mutex mutex_;
    std::list<Layout> layouts_;
    std::unordered_map<std::reference_wrapper<const TextLayoutRequest>, std::list<Layout>::iterator, RequestHash,
                       std::equal_to<TextLayoutRequest>>
        places_; ///< Keys are those of the layouts.
    std::size_t bytes_ = 0;
};

bool isPositive(double value)
{
    return value > 0 && std::isfinite(value);
}

} // namespace

double FontMetrics::lineHeight() const
{
    return ascender + std::abs(descender) + std::abs(leading);
}

FontMetrics fontMetrics(std::string_view fontName, double fontSize)
{
    if (!isPositive(fontSize)) return {};
    const std::shared_ptr<const GlyphFace> face = Shaper::ofThisThread().face(std::string(fontName));
    if (!face) return {};
    const FontMetrics& m = face->metrics();
    return {m.ascender * fontSize, m.descender * fontSize, m.leading * fontSize, m.capHeight * fontSize};
}

bool isFontInstalled(std::string_view fontName)
{
    return findFont(fontName).has_value();
}

std::shared_ptr<const TextLayout> layOutText(TextLayoutRequest request)
{
    static LayoutCache cache;
    request.text.resize(beginningOf(request.text, greatestTextBytes).size());
    if (!isPositive(request.width)) request.width = 0;
    if (!isPositive(request.fontSize) || request.text.empty()) {
        request.fontSize = 0;
        return std::make_shared<const TextLayout>(TextLayout{.request = std::move(request)});
    }
    if (auto found = cache.find(request)) return found;

    auto layout = std::make_shared<TextLayout>(TextLayout{.request = std::move(request)});
    LayoutBuilder(*layout, Shaper::ofThisThread()).build();
    return cache.insert(std::move(layout));
}

} // namespace larkspool
