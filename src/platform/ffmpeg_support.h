#pragma once

#include "platform/platform_error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace larkspool {

/// Ends the life of an object of the FFmpeg libraries, each in its own way.
struct FFmpegDelete {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVBufferPool* pool) const { av_buffer_pool_uninit(&pool); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(SwrContext* context) const { swr_free(&context); }
};

template <typename T>
using FFmpegPointer = std::unique_ptr<T, FFmpegDelete>;

/// Keeps the FFmpeg libraries from ever printing, for the whole process. Cheap to call again.
void silenceFFmpeg();

/// The last complaint that a library made on this thread since the last call, without its line end; empty if there was none.
std::string takeFFmpegComplaint();

/// What a negative status of the libraries means. A status that carries an errno speaks as the system does, in the domain
/// "POSIX"; any other in the domain "FFmpeg". An empty `reason` is none.
PlatformError ffmpegError(int status, std::string reason = {});

/// A refusal of our own, told as the system tells an errno.
PlatformError posixError(int number, std::string description);

} // namespace larkspool
