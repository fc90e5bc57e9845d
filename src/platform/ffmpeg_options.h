#pragma once

#include "platform/ffmpeg_support.h"

#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// Options on their way to one of the FFmpeg libraries, which takes those that it knows out of the list.
class FFmpegOptions {
public:
    explicit FFmpegOptions(const std::vector<std::pair<std::string, std::string>>& list);
    ~FFmpegOptions() { av_dict_free(&dictionary_); }
    FFmpegOptions(const FFmpegOptions&) = delete;
    FFmpegOptions& operator=(const FFmpegOptions&) = delete;

    AVDictionary** get() { return &dictionary_; }

    void add(const char* name, std::int64_t value) { av_dict_set_int(&dictionary_, name, value, 0); }

    /// Adds `part` to a list of its own, with colons between its parts, that the option holds.
    void addPart(const char* name, const char* part);

    /// Throws PlatformFailure, naming `library`, if it left one of them.
    void refuseLeftovers(const std::string& library) const;

private:
    AVDictionary* dictionary_ = nullptr;
};

} // namespace larkspool
