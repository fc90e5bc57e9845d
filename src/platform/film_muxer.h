#pragma once

#include "platform/asset_writer.h"
#include "platform/ffmpeg_support.h"

#include <cstdint>
#include <memory>
#include <string>

namespace larkspool {

/// Puts the chunks of a film into a file, one behind the other. Every operation throws PlatformFailure; after that, only the
/// destructor may follow.
class FilmMuxer {
public:
    /// Opens the file and writes its head, for pictures of `codec`.
    FilmMuxer(const std::string& path, const FilmSettings& settings, const AVCodecContext& codec);

    /// Closes the file as it stands.
    ~FilmMuxer();

    FilmMuxer(const FilmMuxer&) = delete;
    FilmMuxer& operator=(const FilmMuxer&) = delete;

    /// Writes the chunk that begins behind the last one. One that does not, that does not begin with a key picture or that was
    /// coded by other parameters is refused.
    void append(const FilmChunk& chunk);

    /// Writes the index of the file, and closes it. A film without frames is refused.
    void finish();

private:
    void check(const FilmChunk& chunk) const;
    void write(const CodedPicture& picture);
    [[noreturn]] void failToWrite(int status) const;

    struct CloseMuxer {
        void operator()(AVFormatContext* muxer) const;
    };

    std::string path_;
    std::unique_ptr<AVFormatContext, CloseMuxer> muxer_;
    AVStream* stream_ = nullptr; ///< Owned by the muxer.
    FFmpegPointer<AVPacket> packet_;
    AVRational frameTime_;
    std::vector<std::uint8_t> parameters_; ///< Of the film, as the file has them.
    std::int64_t delay_ = 0;               ///< So many frames later than it is decoded a picture may show.
    std::int64_t frames_ = 0;              ///< Written so far.
};

} // namespace larkspool
