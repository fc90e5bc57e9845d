#include "platform/planar_picture.h"

#include "platform/pixel_conversion.h"

#include <algorithm>

namespace larkspool {

namespace {

/// Rows of the planes begin on multiples of this many bytes.
constexpr int planeAlignment = 64;

[[noreturn]] void failOfMemory()
{
    throw PlatformFailure(ffmpegError(AVERROR(ENOMEM)));
}

FFmpegPointer<AVFrame> makeFrame(const AVCodecContext& codec)
{
    FFmpegPointer<AVFrame> frame(av_frame_alloc());
    if (!frame) failOfMemory();
    frame->format = codec.pix_fmt;
    frame->width = codec.width;
    frame->height = codec.height;
    frame->color_range = codec.color_range;
    frame->colorspace = codec.colorspace;
    frame->color_primaries = codec.color_primaries;
    frame->color_trc = codec.color_trc;
    frame->chroma_location = codec.chroma_sample_location;
    if (av_frame_get_buffer(frame.get(), planeAlignment) < 0) failOfMemory();
    return frame;
}

/// Divides the colours by alpha again.
void removePremultiplication(const PixelBuffer& picture, PixelBuffer& straight)
{
    for (int y = 0; y < picture.height(); ++y) {
        const std::uint8_t* source = picture.row(y);
        std::uint8_t* target = straight.row(y);
        for (int i = 0; i < picture.width() * 4; ++i) {
            const int alpha = source[i | 3];
            const bool isAlpha = i % 4 == 3;
            target[i] = isAlpha || alpha == 0 ? source[i]
                                              : static_cast<std::uint8_t>(std::min(255, (source[i] * 255 + alpha / 2) / alpha));
        }
    }
}

} // namespace

PlanarPicture::PlanarPicture(const AVCodecContext& codec, bool keepsAlpha) : frame_(makeFrame(codec))
{
    if (codec.pix_fmt != AV_PIX_FMT_YUV420P) prepareScaler(codec, keepsAlpha);
}

void PlanarPicture::prepareScaler(const AVCodecContext& codec, bool keepsAlpha)
{
    const AVPixelFormat source = keepsAlpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
    scaler_.reset(sws_getContext(codec.width, codec.height, source, codec.width, codec.height, codec.pix_fmt,
                                 SWS_AREA | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
    if (!scaler_) failOfMemory();
    constexpr int full = 1, limited = 0, unchanged = 1 << 16;
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU709);
    const int targetRange = codec.color_range == AVCOL_RANGE_JPEG ? full : limited;
    sws_setColorspaceDetails(scaler_.get(), coefficients, full, coefficients, targetRange, 0, unchanged, unchanged);
    if (keepsAlpha) straightPixels_.emplace(codec.width, codec.height);
}

void PlanarPicture::set(const PixelBuffer& picture, const PixelRect& changed)
{
    if (changed.empty()) return;
    if (av_frame_make_writable(frame_.get()) < 0) failOfMemory();
    if (scaler_) return convertWithScaler(picture);

    YUV420Planes target;
    for (std::size_t plane = 0; plane < target.planes.size(); ++plane) {
        target.planes[plane] = frame_->data[plane];
        target.bytesPerRow[plane] = static_cast<std::size_t>(frame_->linesize[plane]);
    }
    convertToYUV420(picture, changed, target);
}

void PlanarPicture::convertWithScaler(const PixelBuffer& picture)
{
    if (straightPixels_) removePremultiplication(picture, *straightPixels_);
    const PixelBuffer& source = straightPixels_ ? *straightPixels_ : picture;
    const std::uint8_t* const rows[4] = {source.data(), nullptr, nullptr, nullptr};
    const int bytesPerRow[4] = {static_cast<int>(source.bytesPerRow()), 0, 0, 0};
    sws_scale(scaler_.get(), rows, bytesPerRow, 0, source.height(), frame_->data, frame_->linesize);
}

} // namespace larkspool
