#pragma once

#include "platform/asset_writer.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// What a FakeAssetWriter and its encoders did, and where they shall fail, with one and the same error.
struct WriterLog {
    FilmSettings settings;
    std::vector<std::int64_t> encoded;  ///< Frames with a picture of their own, as they came.
    std::vector<std::int64_t> repeated; ///< Frames that show the picture before.
    std::vector<std::int64_t> appended; ///< Frames of the film.
    std::vector<PixelRect> changed;     ///< Of the pictures.
    bool finished = false;

    bool startFails = false;
    bool finishFails = false;
    bool bufferFails = false;
    std::int64_t encodingFailsAt = -1;
    std::int64_t appendFailsAt = -1; ///< The first frame of a chunk.
    std::int64_t heldFrames = 0;     ///< That an encoder holds back.
    std::function<void(const PixelBuffer&, std::int64_t)> onPicture; ///< One call at a time.
    std::function<void(std::int64_t)> onHeldFrame;                   ///< Called when one is coded at last.

    std::mutex mutex;
};

[[noreturn]] inline void failAsFake()
{
    throw PlatformFailure(
        {.localizedDescription = "It broke", .localizedFailureReason = {}, .domain = "Fake", .code = -5, .underlying = nullptr});
}

/// Codes each frame by its number.
class FakeEncoder final : public ChunkEncoder {
public:
    explicit FakeEncoder(WriterLog& log) : log_(log) {}

    void beginChunk(std::int64_t firstFrame, std::int64_t) override
    {
        chunk_ = {.firstFrame = firstFrame};
        taken_ = 0;
    }

    void setPicture(const PixelBuffer& picture, const PixelRect& changed) override
    {
        const std::scoped_lock lock(log_.mutex);
        if (chunk_.firstFrame + taken_ == log_.encodingFailsAt) failAsFake();
        if (log_.onPicture) log_.onPicture(picture, chunk_.firstFrame + taken_);
        log_.changed.push_back(changed);
        isNew_ = true;
    }

    void encodeFrame() override
    {
        {
            const std::scoped_lock lock(log_.mutex);
            (isNew_ ? log_.encoded : log_.repeated).push_back(chunk_.firstFrame + taken_);
        }
        isNew_ = false;
        ++taken_;
        if (taken_ - codedFrames() > log_.heldFrames) code();
    }

    bool codeHeldFrame() override
    {
        if (codedFrames() == taken_) return false;
        if (log_.onHeldFrame) log_.onHeldFrame(chunk_.firstFrame + codedFrames());
        code();
        return true;
    }

    std::int64_t codedFrames() const override { return static_cast<std::int64_t>(chunk_.pictures.size()); }
    FilmChunk takeChunk() override { return std::exchange(chunk_, {}); }

private:
    void code()
    {
        const std::int64_t frame = chunk_.firstFrame + codedFrames();
        chunk_.pictures.push_back({.bytes = {}, .frame = frame, .isKey = chunk_.pictures.empty()});
    }

    WriterLog& log_;
    FilmChunk chunk_;
    std::int64_t taken_ = 0;
    bool isNew_ = false;
};

/// Writes a file of one word, keeps a log, and fails on demand.
class FakeAssetWriter final : public AssetWriter {
public:
    FakeAssetWriter(std::string path, const FilmSettings& settings, WriterLog& log) : path_(std::move(path)), log_(log)
    {
        log_.settings = settings;
    }

    void startWriting() override
    {
        if (log_.startFails) failAsFake();
        std::ofstream(path_) << "film";
    }

    std::unique_ptr<ChunkEncoder> makeEncoder() override { return std::make_unique<FakeEncoder>(log_); }

    std::unique_ptr<PixelBuffer> makePixelBuffer() override
    {
        if (log_.bufferFails) failAsFake();
        return std::make_unique<PixelBuffer>(log_.settings.width, log_.settings.height);
    }

    void append(const FilmChunk& chunk) override
    {
        if (chunk.firstFrame == log_.appendFailsAt) failAsFake();
        const std::scoped_lock lock(log_.mutex);
        for (const CodedPicture& picture : chunk.pictures) log_.appended.push_back(picture.frame);
    }

    void finishWriting() override
    {
        if (log_.finishFails) failAsFake();
        log_.finished = true;
    }

private:
    std::string path_;
    WriterLog& log_;
};

} // namespace larkspool
