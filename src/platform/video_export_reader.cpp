#include "platform/video_export_reader.h"

#include "platform/video_decoder.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <new>
#include <system_error>

namespace larkspool {

namespace {

/// Times closer than this are one time.
constexpr double sameTime = 0.001;

/// What a sum of times in seconds is off by at most.
constexpr double rounding = 1e-6;

} // namespace

VideoExportReader::VideoExportReader(const std::string& path) : path_(path), converter_(std::make_unique<FrameConverter>())
{
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) throw std::runtime_error("there is no file at \"" + path + "\"");
    if (!startReader(0)) return;
    preferredTransformIsIdentity_ = reader_->orientation() == FrameOrientation{};
    sourceDuration_ = reader_->duration();
}

VideoExportReader::~VideoExportReader() = default;

bool VideoExportReader::startReader(double time)
{
    if (reader_) {
        // What lies before the key picture would only be decoded to be left out.
        reader_->seek(std::max(time - cachedFrameInterval_, 0.0));
        return true;
    }
    try {
        reader_ = VideoDecoder::open(path_);
    } catch (const std::bad_alloc&) {
        reader_ = nullptr;
    }
    return reader_ != nullptr;
}

ImageRef VideoExportReader::frame(double time)
{
    if (!reader_ || std::isnan(time)) return nullptr;
    time = std::max(time, 0.0);
    if (time < lastReadPTS_ - sameTime) {
        atEnd_ = false;
        lastCGImageTime_ = -1;
        startReader(time);
    }
    const bool isBeyond = time > lastReadPTS_ + sameTime && !atEnd_;
    if (lastCGImageTime_ < 0 || isBeyond) {
        try {
            readForward(time);
        } catch (const std::bad_alloc&) {
            return nullptr; // As for every picture that cannot be had.
        }
    }
    return lastCGImage_;
}

void VideoExportReader::readForward(double time)
{
    if (reader_->seekPays(std::max(lastReadPTS_, 0.0), time)) startReader(time);
    std::optional<VideoDecoder::Picture> passedOver;
    while (std::optional<VideoDecoder::Picture> picture = reader_->next()) {
        lastReadPTS_ = picture->time;
        if (picture->duration > 0) cachedFrameInterval_ = picture->duration;
        if (lastReadPTS_ + cachedFrameInterval_ > time + rounding) {
            convert(*picture->frame);
            return;
        }
        passedOver = std::move(picture);
    }
    atEnd_ = true;
    if (passedOver) convert(*passedOver->frame);
}

void VideoExportReader::convert(const AVFrame& picture)
{
    ++convertedPictures_;
    lastCGImage_ = converter_->convert(picture, {});
    lastCGImageTime_ = lastReadPTS_;
}

void VideoExportReader::close()
{
    reader_.reset();
    lastCGImage_.reset();
}

} // namespace larkspool
