#pragma once

#include "foundation/geometry.h"
#include "platform/image.h"

#include <optional>

namespace larkspool {

/// The whole pixels of a picture that a crop to `rect` leaves: `rect` widened to whole pixels and held within the picture. All
/// in pixels from the top left. Nothing if none is left.
std::optional<CGRect> croppedPixels(const CGRect& rect, CGSize picture);

/// The rectangle of a manual crop in pixels of a picture: `cropRect` is in fractions of it, from the top left. The origin stays
/// within the picture and no side is below a pixel, so that a crop of no width still shows one column; the far sides may lie
/// outside.
CGRect manualCropRect(const CGRect& cropRect, CGSize picture);

/// What differs from its background by more than this counts as content.
inline constexpr int windowThreshold = 80;

/// The box of what is not plain background, black or white by the picture's corners: in pixels from the top left, to a grid of
/// one 256th of the smaller side. Nothing where there is background alone.
///
/// Against a dark background a sample is content where one of its colours is above `threshold`; against a light one where one
/// is below 255 - `threshold`.
std::optional<CGRect> detectWindowBBox(const Image& image, int threshold = windowThreshold);

/// The rectangle that black-keyed pictures are cropped to in an export: the box moved in by the insets, each side at least 1.
CGRect blackKeyCropRect(const CGRect& box, double insetX, double insetY);

/// What of a picture a box, moved in by the insets, leaves for the canvas, and how round its corners are cut.
struct BlackKeyMask {
    CGRect crop; ///< Pixels from the top left.
    double radius = 0;

    bool operator==(const BlackKeyMask&) const = default;
};

/// Nothing where the insets leave no width or no height: the picture then stays as it is. The radius is at most half the smaller
/// side.
std::optional<BlackKeyMask> blackKeyMask(const CGRect& box, double insetX, double insetY, double cornerRadius);

/// The picture cut to the box, moved in by the insets, with round corners: pixels outside are clear, those on an edge partly.
/// Without a box, or if nothing of it is left, the picture as it is. Null for no picture and where box and picture share no
/// area.
ImageRef blackKeyMasked(const ImageRef& image, const std::optional<CGRect>& box, double insetX, double insetY,
                        double cornerRadius);

} // namespace larkspool
