#pragma once

#include "document/tween_document.h"

#include <span>
#include <string_view>

namespace larkspool {

/// A document that benchmarks measure on. Made anew by each call, and always the same: identifiers and random numbers come
/// from the document's name. No media files are needed; the only font named is Inter.
struct BenchDocument {
    std::string_view name;
    std::string_view about;
    TweenDocument (*make)();
};

/// All of them. 1920x1080, 60 fps and 5 s where `about` says nothing else.
std::span<const BenchDocument> benchDocuments();

/// 24 cards of 260x150 with shadows in a grid of 6 by 4, each a group of box, title and pill. They travel for 2 s each, one
/// after the other, and an arrow crosses the picture for the whole 5 s; from 3.84 s on the cards stand still.
TweenDocument cardsDocument();

/// The cards where they end up, 10 s. Nothing moves, but one card fades in at 4 s.
TweenDocument stillDocument();

/// 1000 small rectangles and ellipses that each move and turn by nine keyframes.
TweenDocument manyDocument();

/// 60 texts of two or three lines that type on and fade, six with a blinking caret.
TweenDocument textDocument();

/// 40 slow panels of 420x260 with the highest shadow and two glowing pulses each.
TweenDocument shadowsDocument();

/// The cards under a full-screen zoom of 3 s, with a cursor layer in place of the arrow.
TweenDocument zoomDocument();

/// The cards with every length doubled, 3840x2160. Shadows stay as they are.
TweenDocument fourkDocument();

/// Six scenes of 2 s with varied cards, joined by the five transitions of 0.5 s; two of them pause for 0.5 s at their end.
TweenDocument multiDocument();

} // namespace larkspool
