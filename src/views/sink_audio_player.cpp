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

class DesktopSoundDevice final : public SoundDevice {
public:
    DesktopSoundDevice(const QAudioDevice& device, const QAudioFormat& format) : sink_(device, format) {}
    ~DesktopSoundDevice() override { sink_.stop(); }

    void start(QIODevice& sound) override
    {
        hasStarted_ = true;
        sink_.start(&sound);
    }
    void stop() override
    {
        hasStarted_ = false;
        sink_.stop();
    }
    void setVolume(double volume) override { sink_.setVolume(volume); }
    double playedSeconds() const override { return static_cast<double>(sink_.processedUSecs()) * 1e-6; }
    bool isGone() const override
    {
        return hasStarted_ && sink_.state() == QAudio::StoppedState && sink_.error() != QAudio::NoError;
    }

private:
    QAudioSink sink_;
    bool hasStarted_ = false;
};

class SinkAudioPlayer final : public AudioPlayer {
public:
    SinkAudioPlayer(std::shared_ptr<AudioReader> reader, double duration, OpenSoundDevice openDevice)
        : reader_(std::move(reader)),
          duration_(duration),
          sound_(*reader_),
          openDevice_(std::move(openDevice)),
          device_(openDevice_())
    {}
    ~SinkAudioPlayer() override { pause(); }

    double duration() const override { return duration_; }
    double currentTime() const override
    {
        if (!isPlaying_) return place_;
        noticeLoss();
        return std::min(place_ + playedSeconds(), duration_);
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
        volume_ = volume;
        if (device_) device_->setVolume(volume);
    }
    bool isPlaying() const override { return isPlaying_; }
    void play() override
    {
        if (isPlaying_) return;
        if (!device_) device_ = openDevice_();
        isPlaying_ = true;
        sound_.seekTo(place_);
        if (device_) {
            device_->setVolume(volume_);
            device_->start(sound_);
        }
        clock_.start();
    }
    void pause() override
    {
        if (!isPlaying_) return;
        place_ = currentTime();
        isPlaying_ = false;
        if (device_) device_->stop();
    }

private:
    double playedSeconds() const { return device_ ? device_->playedSeconds() : static_cast<double>(clock_.elapsed()) * 1e-3; }
    /// From where the device was taken away, the clock goes on.
    void noticeLoss() const
    {
        if (!device_ || !device_->isGone()) return;
        place_ += device_->playedSeconds();
        clock_.start();
        device_.reset();
    }

    std::shared_ptr<AudioReader> reader_;
    double duration_;
    SoundFrom sound_;
    OpenSoundDevice openDevice_;
    mutable std::unique_ptr<SoundDevice> device_; ///< Null without one.
    double volume_ = 1;
    mutable double place_ = 0; ///< Seconds, of the last start or stop, or where the device was lost.
    bool isPlaying_ = false;
    mutable QElapsedTimer clock_;
};

MakeAudioPlayer readForPlayerOn(const std::string& path, OpenSoundDevice openDevice)
{
    try {
        const std::shared_ptr<AudioReader> reader = AudioReader::open(path);
        return [reader, duration = reader->duration(longestSound), openDevice = std::move(openDevice)] {
            return std::make_unique<SinkAudioPlayer>(reader, duration, openDevice);
        };
    } catch (const AudioError&) {
        return nullptr;
    }
}

} // namespace

std::unique_ptr<SoundDevice> openDesktopSoundDevice()
{
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    QAudioFormat format;
    format.setSampleRate(SampleStream::sampleRate);
    format.setChannelCount(SampleStream::channels);
    format.setSampleFormat(QAudioFormat::Float);
    if (device.isNull() || !device.isFormatSupported(format)) return nullptr;
    return std::make_unique<DesktopSoundDevice>(device, format);
}

std::unique_ptr<AudioPlayer> loadSinkAudioPlayer(const std::string& path)
{
    return loadAudioPlayerOn(path, openDesktopSoundDevice);
}

MakeAudioPlayer readForSinkAudioPlayer(const std::string& path)
{
    return readForPlayerOn(path, openDesktopSoundDevice);
}

std::unique_ptr<AudioPlayer> loadAudioPlayerOn(const std::string& path, OpenSoundDevice openDevice)
{
    const MakeAudioPlayer make = readForPlayerOn(path, std::move(openDevice));
    return make ? make() : nullptr;
}

} // namespace larkspool
