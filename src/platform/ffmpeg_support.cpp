#include "platform/ffmpeg_support.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <system_error>

namespace larkspool {

namespace {

/// Statuses down to here are errno values with their sign turned; below lie the libraries' own four-letter tags.
constexpr int lastErrno = 4095;

/// Written by the log callback, read by whoever made the call that failed. A library's own threads have one each.
thread_local std::string lastComplaint;

void keepComplaint(void*, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_ERROR) return;
    std::array<char, 512> line{};
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    if (length <= 0) return;
    std::string complaint(line.data());
    while (!complaint.empty() && (complaint.back() == '\n' || complaint.back() == ' ')) complaint.pop_back();
    if (!complaint.empty()) lastComplaint = std::move(complaint);
}

std::string words(int status)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(status, text.data(), text.size());
    return text.data();
}

} // namespace

void silenceFFmpeg()
{
    static std::once_flag silenced;
    std::call_once(silenced, [] { av_log_set_callback(keepComplaint); });
}

std::string takeFFmpegComplaint()
{
    return std::exchange(lastComplaint, {});
}

PlatformError ffmpegError(int status, std::string reason)
{
    PlatformError error;
    if (status < 0 && status >= -lastErrno) {
        error = posixError(AVUNERROR(status), std::generic_category().message(AVUNERROR(status)));
    } else {
        error = {.localizedDescription = words(status), .domain = "FFmpeg", .code = status};
    }
    if (!reason.empty()) error.localizedFailureReason = std::move(reason);
    return error;
}

PlatformError posixError(int number, std::string description)
{
    return {.localizedDescription = std::move(description), .domain = "POSIX", .code = number};
}

} // namespace larkspool
