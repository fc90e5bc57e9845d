#pragma once

#include "platform/ffmpeg_support.h"
#include "platform/pixel_buffer.h"
#include "platform/raster/pixel_rect.h"

#include <optional>

namespace larkspool {

/// A picture in the form that an encoder takes: in its pixel format, mostly planes of Y, Cb and Cr. What it holds stays from one
/// picture to the next, so that only what changed is converted.
class PlanarPicture {
public:
    /// In the size, the pixel format and the colour of `codec`. With `keepsAlpha`, colours are given to the encoder straight;
    /// else pictures are shown over black. Throws PlatformFailure where memory does not suffice.
    PlanarPicture(const AVCodecContext& codec, bool keepsAlpha);

    /// Takes in `picture`, which differs from the one before by the pixels of `changed` at most. Throws PlatformFailure where
    /// memory does not suffice.
    void set(const PixelBuffer& picture, const PixelRect& changed);

    /// For the encoder, which may keep a reference: that memory is not written to any more.
    AVFrame& frame() { return *frame_; }

private:
    void prepareScaler(const AVCodecContext& codec, bool keepsAlpha);
    void convertWithScaler(const PixelBuffer& picture);

    FFmpegPointer<AVFrame> frame_;
    FFmpegPointer<SwsContext> scaler_;          ///< For pixel formats other than planar YUV 4:2:0.
    std::optional<PixelBuffer> straightPixels_; ///< The picture with straight alpha, for formats that keep it.
};

} // namespace larkspool
