#include "platform/ffmpeg_options.h"

#include <cerrno>

#include <fmt/format.h>

namespace larkspool {

FFmpegOptions::FFmpegOptions(const std::vector<std::pair<std::string, std::string>>& list)
{
    for (const auto& [name, value] : list) av_dict_set(&dictionary_, name.c_str(), value.c_str(), 0);
}

void FFmpegOptions::addPart(const char* name, const char* part)
{
    if (av_dict_get(dictionary_, name, nullptr, 0)) av_dict_set(&dictionary_, name, ":", AV_DICT_APPEND);
    av_dict_set(&dictionary_, name, part, AV_DICT_APPEND);
}

void FFmpegOptions::refuseLeftovers(const std::string& library) const
{
    const AVDictionaryEntry* left = av_dict_get(dictionary_, "", nullptr, AV_DICT_IGNORE_SUFFIX);
    if (left) throw PlatformFailure(posixError(EINVAL, fmt::format("{} has no option \"{}\"", library, left->key)));
}

} // namespace larkspool
