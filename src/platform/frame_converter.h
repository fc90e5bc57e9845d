#pragma once

#include "platform/ffmpeg_support.h"
#include "platform/image.h"

#include <memory>

namespace larkspool {

/// How a decoded picture is turned for showing: its axes are swapped first, then the result is mirrored.
struct FrameOrientation {
    bool swapsAxes = false; ///< The picture's columns become rows.
    bool mirrorsX = false;  ///< Left and right change places.
    bool mirrorsY = false;  ///< Top and bottom change places.

    /// The nearest of the eight orientations to the display matrix of a container (nine numbers, 16.16 fixed point).
    static FrameOrientation fromDisplayMatrix(const std::int32_t* matrix);

    bool operator==(const FrameOrientation&) const = default;
};

/// Turns decoded pictures of any format into images.
///
/// Colour follows what the picture says of its matrix and range. One that says nothing is BT.709 if it is larger than standard
/// definition (1280 wide or more, or above 576 high), else BT.601, in limited range. Transfer and primaries are taken as those
/// of sRGB. Chroma is interpolated linearly, from where the picture says its samples lie. A channel is within 1 of its formula
/// for 8-bit 4:2:0, and within 2 for all else.
///
/// The memory of an image that nobody holds any more serves the next one, as clearing and mapping it anew would take as long as
/// converting. Used by one thread at a time; the images may go on any thread, and may outlive the converter.
class FrameConverter {
public:
    FrameConverter();
    ~FrameConverter();

    /// Null for a picture that cannot be converted. Throws std::bad_alloc where memory does not suffice.
    ImageRef convert(const AVFrame& picture, FrameOrientation orientation);

private:
    struct Colour {
        AVColorSpace matrix = AVCOL_SPC_BT709;
        bool isFullRange = false;
        AVChromaLocation chroma = AVCHROMA_LOC_LEFT;

        bool operator==(const Colour&) const = default;
    };
    struct ScalerKey {
        int width = 0, height = 0, format = 0;
        Colour colour;

        bool operator==(const ScalerKey&) const = default;
    };

    class Memory;

    static Colour colourOf(const AVFrame& picture);
    static void convertPlanar(const AVFrame& picture, const Colour& colour, PixelBuffer& pixels);
    bool scale(const AVFrame& picture, const Colour& colour, PixelBuffer& pixels);
    bool prepareScaler(const ScalerKey& key);

    std::shared_ptr<Memory> memory_;
    FFmpegPointer<SwsContext> scaler_;
    ScalerKey scalerKey_;
};

} // namespace larkspool
