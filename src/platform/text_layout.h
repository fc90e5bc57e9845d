#pragma once

#include "foundation/geometry.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

class GlyphFace;

/// The measures of a font at a size, in the unit of the size.
struct FontMetrics {
    double ascender = 0;  ///< From the baseline up to the top of a line.
    double descender = 0; ///< From the baseline down to the bottom of a line: negative.
    double leading = 0;   ///< Space between two lines.
    double capHeight = 0; ///< Of capital letters.

    double lineHeight() const;

    bool operator==(const FontMetrics&) const = default;
};

/// The measures of the font that layOutText takes for a name. All 0 for a size that is not above 0 or not finite.
FontMetrics fontMetrics(std::string_view fontName, double fontSize);

/// Whether a name is that of a family ("Inter"), of a face in full ("Inter Semi Bold") or in the short form of font files
/// ("Inter-SemiBold") that is installed. Case, spaces and hyphens do not count.
bool isFontInstalled(std::string_view fontName);

/// Bytes of a text: from `begin` to before `end`.
struct TextRange {
    std::size_t begin = 0, end = 0;

    bool contains(std::size_t byte) const { return begin <= byte && byte < end; }

    bool operator==(const TextRange&) const = default;
};

enum class LineAlignment { left, center, right };

/// Text to be laid out. Lengths are of one unit, that of user space when the text is drawn.
struct TextLayoutRequest {
    /// UTF-8. A malformed byte counts as a question mark, a control character that ends no line as a space. Of a longer text than
    /// `greatestTextBytes` the rest is left out.
    std::string text;
    /// As of isFontInstalled. For an empty or an unknown name the system font is taken.
    std::string fontName;
    double fontSize = 0; ///< Not above 0 or not finite: there is nothing to lay out.
    /// Lines are wrapped at words to this width, words longer than a line at characters, and aligned within it. Without a finite
    /// width above 0 nothing is wrapped and the widest line is the width.
    double width = 0;
    LineAlignment alignment = LineAlignment::left;

    bool operator==(const TextLayoutRequest&) const = default;
};

inline constexpr std::size_t greatestTextBytes = 1 << 20;

/// Laid-out text. The origin is at the top left of its first line, y downward. It does not change and may be drawn by several
/// threads at once.
struct TextLayout {
    struct Glyph {
        std::uint32_t id = 0; ///< Within its face.
        std::uint32_t byte = 0; ///< Where the characters that it stands for begin.
        float x = 0, y = 0; ///< Its origin from the beginning of the line's baseline, in ems.
    };
    struct Run {
        std::shared_ptr<const GlyphFace>
            face; ///< Absent for characters that no font has: their glyph's id is their width in em/1000.
        std::size_t firstGlyph = 0, glyphCount = 0;
    };
    struct Line {
        CGPoint start; ///< Of the baseline.
        double top = 0; ///< Lines lie one below the other.
        double height = 0;
        double width = 0;
        CGRect ink; ///< Holds all that is drawn; null where nothing is.
        CGRect reach; ///< Holds each glyph, from its own origin.
        std::size_t firstRun = 0, runCount = 0;
    };

    TextLayoutRequest request;
    /// The width of the widest line and the sum of the lines' heights. A line break at the end begins a last, empty line; an empty
    /// text has no size.
    CGSize size;
    CGRect ink = CGRect::null(); ///< Holds all that is drawn, which can hang over the lines.
    std::vector<Line> lines;
    std::vector<Run> runs;
    std::vector<Glyph> glyphs;
};

/// Lays the text out, or gives what it was laid out to before: results are kept by content, up to 64 MiB, for all threads.
std::shared_ptr<const TextLayout> layOutText(TextLayoutRequest request);

} // namespace larkspool
