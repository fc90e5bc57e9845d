#include "views/sink_audio_player.h"

#include "platform/audio_reader.h"

#include <QAudioDevice>
#include <QAudioSink>
#include <QElapsedTimer>
#include <QIODevice>
#include <QMediaDevices>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <span>
#include <utility>

namespace larkspool {

namespace {

constexpr double longestSound = 24 * 3600; ///< Seconds; one that does not tell its length is looked through no farther.
constexpr qint64 bytesPerFrame = static_cast<qint64>(SampleStream::channels * sizeof(float));

/// The sound from a place on, as the device asks for it: from a thread of its own, on some systems.
class SoundFrom final : public QIODevice {
public:
    explicit SoundFrom(SampleSource& source) : source_(source) { open(QIODevice::ReadOnly); }

    void seekTo(double seconds)
    {
        const std::scoped_lock lock(mutex_);
        source_.seek(std::llround(seconds * SampleStream::sampleRate));
    }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return 1 << 20; }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const std::scoped_lock lock(mutex_);
        const std::size_t samples = static_cast<std::size_t>(most / bytesPerFrame) * SampleStream::channels;
        const std::size_t frames = source_.read(std::span(reinterpret_cast<float*>(data), samples));
        return static_cast<qint64>(frames) * bytesPerFrame;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    SampleSource& source_;
    std::mutex mutex_;
};

class SinkAudioPlayer final : public AudioPlayer {
public:
    explicit SinkAudioPlayer(std::unique_ptr<AudioReader> reader)
        : reader_(std::move(reader)), duration_(reader_->duration(longestSound)), sound_(*reader_)
    {
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        QAudioFormat format;
        format.setSampleRate(SampleStream::sampleRate);
        format.setChannelCount(SampleStream::channels);
        format.setSampleFormat(QAudioFormat::Float);
        if (!device.isNull() && device.isFormatSupported(format)) sink_ = std::make_unique<QAudioSink>(device, format);
    }
    ~SinkAudioPlayer() override { pause(); }

    double duration() const override { return duration_; }
    double currentTime() const override
    {
        if (!isPlaying_) return place_;
        const double since = sink_ ? static_cast<double>(sink_->processedUSecs()) * 1e-6 : static_cast<double>(clock_.elapsed()) * 1e-3;
        return std::min(place_ + since, duration_);
    }
    void setCurrentTime(double seconds) override
    {
        const bool played = isPlaying_;
        pause();
        place_ = std::clamp(seconds, 0.0, duration_);
        if (played) play();
    }
    void setVolume(double volume) override
    {
        if (sink_) sink_->setVolume(volume);
    }
    bool isPlaying() const override { return isPlaying_; }
    void play() override
    {
        if (isPlaying_) return;
        isPlaying_ = true;
        clock_.start();
        sound_.seekTo(place_);
        if (sink_) sink_->start(&sound_);
    }
    void pause() override
    {
        if (!isPlaying_) return;
        place_ = currentTime();
        isPlaying_ = false;
        if (sink_) sink_->stop();
    }

private:
    std::unique_ptr<AudioReader> reader_;
    double duration_;
    SoundFrom sound_;
    std::unique_ptr<QAudioSink> sink_; ///< Null without a device.
    double place_ = 0; ///< Seconds, of the last start or stop.
    bool isPlaying_ = false;
    QElapsedTimer clock_;
};

} // namespace

std::unique_ptr<AudioPlayer> loadSinkAudioPlayer(const std::string& path)
{
    try {
        return std::make_unique<SinkAudioPlayer>(AudioReader::open(path));
    } catch (const AudioError&) {
        return nullptr;
    }
}

} // namespace larkspool
