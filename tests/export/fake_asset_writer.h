#pragma once

#include "platform/asset_writer.h"

#include <fstream>
#include <functional>
#include <vector>

namespace larkspool {

/// What a FakeAssetWriter did, and where it shall fail.
struct WriterLog {
    FilmSettings settings;
    std::vector<std::int64_t> appended;
    std::vector<std::int64_t> repeated;
    bool finished = false;

    bool startFails = false;
    bool finishFails = false;
    std::int64_t bufferFailsAt = -1;
    std::int64_t appendFailsAt = -1;
    std::function<void(const PixelBuffer&, std::int64_t)> onPicture;
};

/// Writes a file of one word, keeps a log, and fails on demand with one and the same error.
class FakeAssetWriter final : public AssetWriter {
public:
    FakeAssetWriter(std::string path, const FilmSettings& settings, WriterLog& log) : path_(std::move(path)), log_(log)
    {
        log_.settings = settings;
    }

    bool startWriting() override
    {
        if (log_.startFails) return failed();
        std::ofstream(path_) << "film";
        return true;
    }

    std::shared_ptr<PixelBuffer> nextPixelBuffer() override
    {
        if (static_cast<std::int64_t>(log_.appended.size()) == log_.bufferFailsAt) {
            failed();
            return nullptr;
        }
        return std::make_shared<PixelBuffer>(log_.settings.width, log_.settings.height);
    }

    bool append(std::shared_ptr<PixelBuffer> picture, std::int64_t frameIndex) override
    {
        if (frameIndex == log_.appendFailsAt) return failed();
        if (log_.onPicture) log_.onPicture(*picture, frameIndex);
        log_.appended.push_back(frameIndex);
        return true;
    }

    bool appendRepeat(std::int64_t frameIndex) override
    {
        log_.repeated.push_back(frameIndex);
        return true;
    }

    bool finishWriting() override
    {
        if (log_.finishFails) return failed();
        log_.finished = true;
        return true;
    }

    std::optional<PlatformError> error() const override { return error_; }

private:
    bool failed()
    {
        error_ = PlatformError{.localizedDescription = "It broke", .localizedFailureReason = {}, .domain = "Fake", .code = -5, .underlying = nullptr};
        return false;
    }

    std::string path_;
    WriterLog& log_;
    std::optional<PlatformError> error_;
};

} // namespace larkspool
