#pragma once

#include "platform/ffmpeg_support.h"

#include <memory>
#include <string>

namespace larkspool {

/// A media file that is open for reading: its container, with the streams known.
///
/// The bytes come from the one file alone. Whatever else a container names (another file, a playlist, an address) is refused,
/// and so is everything that is not a regular file, without waiting for it.
class MediaInput {
public:
    /// The largest side and the most pixels of a picture that is decoded.
    static constexpr int maximumSide = 16384;
    static constexpr std::int64_t maximumPixels = 64 * 1024 * 1024;

    /// Null if the file is not there, is no regular file or is not of a known container. Of its streams only the first picture
    /// track, if there is one, will be read.
    static std::unique_ptr<MediaInput> openForVideo(const std::string& path);

    /// The same for sound: of its streams only the first sound track, if there is one, will be read.
    static std::unique_ptr<MediaInput> openForSound(const std::string& path);

    ~MediaInput();
    MediaInput(const MediaInput&) = delete;
    MediaInput& operator=(const MediaInput&) = delete;

    AVFormatContext& container() const { return *container_; }

    /// The picture track that a player shows: the first that is marked as the default, else the first. Cover art is none. Null
    /// if there is none.
    AVStream* video() const { return video_; }

    /// The first sound track of a file opened for sound; null if there is none.
    AVStream* sound() const { return sound_; }

    /// The track's own time, in seconds, at which the file begins.
    double origin() const;

private:
    enum class Purpose { video, sound };

    MediaInput(int descriptor, Purpose purpose) : descriptor_(descriptor), purpose_(purpose) {}

    static std::unique_ptr<MediaInput> openFor(Purpose purpose, const std::string& path);
    bool open();
    void chooseTrack();
    void chooseVideo();
    void chooseSound();
    void readOnly(const AVStream* chosen);
    bool findStreamInfo();

    int descriptor_;
    Purpose purpose_;
    AVIOContext* bytes_ = nullptr;
    AVFormatContext* container_ = nullptr;
    AVStream* video_ = nullptr;
    AVStream* sound_ = nullptr;
};

} // namespace larkspool
