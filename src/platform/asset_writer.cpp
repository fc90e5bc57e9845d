#include "platform/asset_writer.h"

#include "platform/ffmpeg_support.h"
#include "platform/film_encoder.h"
#include "platform/film_muxer.h"

#include <cerrno>
#include <mutex>
#include <new>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

[[noreturn]] void failOfMemory(const FilmSettings& settings)
{
    throw PlatformFailure(posixError(
        ENOMEM, fmt::format("There is not enough memory for a film of {} x {} pixels", settings.width, settings.height)));
}

/// What `make` makes, with a want of memory told as a failure.
template <typename Make>
auto madeFor(const FilmSettings& settings, const Make& make)
{
    try {
        return make();
    } catch (const std::bad_alloc&) {
        failOfMemory(settings);
    }
}

class FFmpegAssetWriter final : public AssetWriter {
public:
    FFmpegAssetWriter(std::string path, FilmSettings settings) : path_(std::move(path)), settings_(std::move(settings)) {}

    void startWriting() override
    {
        if (wasBegun_) throw PlatformFailure(posixError(EINVAL, "The film was begun before"));
        wasBegun_ = true;
        spareEncoder_ = openEncoder();
        muxer_ = madeFor(settings_, [&] { return std::make_unique<FilmMuxer>(path_, settings_, spareEncoder_->codec()); });
    }

    std::unique_ptr<ChunkEncoder> makeEncoder() override
    {
        expectWriting();
        {
            const std::scoped_lock lock(mutex_);
            if (spareEncoder_) return std::move(spareEncoder_);
        }
        return openEncoder();
    }

    std::unique_ptr<PixelBuffer> makePixelBuffer() override
    {
        return madeFor(settings_, [&] { return std::make_unique<PixelBuffer>(settings_.width, settings_.height); });
    }

    void append(const FilmChunk& chunk) override
    {
        expectWriting();
        muxer_->append(chunk);
    }

    void finishWriting() override
    {
        expectWriting();
        muxer_->finish();
        muxer_.reset();
    }

private:
    void expectWriting() const
    {
        if (!muxer_) throw PlatformFailure(posixError(EINVAL, "The film is not being written"));
    }

    std::unique_ptr<FilmEncoder> openEncoder() const
    {
        return madeFor(settings_, [&] { return std::make_unique<FilmEncoder>(settings_); });
    }

    const std::string path_;
    const FilmSettings settings_;
    bool wasBegun_ = false;
    std::unique_ptr<FilmMuxer> muxer_; ///< While the film is being written.
    std::mutex mutex_;
    std::unique_ptr<FilmEncoder> spareEncoder_; ///< The one that was opened at the start, until somebody asks for one.
};

} // namespace

FilmFormat FilmFormat::mp4()
{
    return {.container = "mp4",
            .codec = "libx264",
            .pixelFormat = "yuv420p",
            .containerOptions = {{"movflags", "+faststart"}},
            .maximumSide = 16'384,
            // 139,264 macroblocks of 16 x 16 are the largest picture of the highest level that H.264 has.
            .maximumPixels = std::int64_t{139'264} * 256};
}

std::unique_ptr<AssetWriter> makeAssetWriter(const std::string& path, const FilmSettings& settings)
{
    silenceFFmpeg();
    if (!isKnown(settings.format)) return nullptr;
    return std::make_unique<FFmpegAssetWriter>(path, settings);
}

} // namespace larkspool
