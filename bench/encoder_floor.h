#pragma once

#include "platform/ffmpeg_support.h"
#include "platform/pixel_buffer.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace larkspool {

/// The pictures of a film as the encoder takes them: planar YUV 4:2:0, BT.709, limited range, all in memory. A frame that
/// repeats the one before shares its memory.
class PlanarFilm {
public:
    PlanarFilm(int width, int height, int fps) : width_(width), height_(height), fps_(fps) {}

    /// Converts `picture`, which has the film's size, as the next frame.
    void append(const PixelBuffer& picture);

    /// Shows the last frame once more. There is one.
    void appendRepeat() { frames_.push_back(frames_.back()); }

    int width() const { return width_; }
    int height() const { return height_; }
    int fps() const { return fps_; }
    std::int64_t frameCount() const { return static_cast<std::int64_t>(frames_.size()); }
    std::int64_t distinctFrameCount() const { return distinct_; }

    /// The Y plane of a frame, then Cb, then Cr, without gaps.
    const std::uint8_t* frame(std::int64_t index) const { return frames_[static_cast<std::size_t>(index)]->data(); }

private:
    int width_, height_, fps_;
    std::int64_t distinct_ = 0;
    std::vector<std::shared_ptr<const std::vector<std::uint8_t>>> frames_;
};

/// A film in coded form: what a decoder must know beforehand, and the packets.
struct CodedFilm {
    FFmpegPointer<AVCodecContext> codec;
    std::vector<FFmpegPointer<AVPacket>> packets;
};

/// What the encoder alone makes of a film.
struct EncoderFloor {
    double wallSeconds = 0; ///< From opening the encoder to its last packet.
    double cpuSeconds = 0;  ///< Of the whole process meanwhile, all threads.
    CodedFilm film;
};

/// Encodes the film with libx264's own defaults and all its threads. Throws std::runtime_error.
EncoderFloor encodeAlone(const PlanarFilm& film);

/// How a coded film compares with its pictures.
struct FilmQuality {
    std::int64_t bytes = 0; ///< Of its pictures.
    double psnr = 0;        ///< Over all samples of all frames, in dB.
};

/// Decodes a coded film, or the pictures in a file. Throws std::runtime_error, also where it has not as many frames.
FilmQuality qualityOf(const CodedFilm& coded, const PlanarFilm& film);
FilmQuality qualityOf(const std::string& path, const PlanarFilm& film);

} // namespace larkspool
