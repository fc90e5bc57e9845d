#include "views/quick_render_clock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

QuickRenderClock::QuickRenderClock(double duration, std::unique_ptr<AudioPlayer> sound, std::function<double()> now)
    : duration_(std::isfinite(duration) ? std::max(duration, 0.0) : 0), sound_(std::move(sound)), now_(std::move(now))
{
}

double QuickRenderClock::advance()
{
    if (!isPlaying_) return time_;
    time_ = std::clamp(reached(), time_, duration_);
    if (time_ >= duration_) stop();
    return time_;
}

double QuickRenderClock::reached()
{
    const double now = now_();
    if (!followsSound_) return anchor_ + (now - anchored_);
    const double heard = sound_->currentTime();
    if (heard > anchor_) {
        anchor_ = heard;
        anchored_ = now;
        isHeard_ = true;
    }
    if (heard >= sound_->duration()) {
        followsSound_ = false;
        return anchor_;
    }
    const double silence = now - anchored_;
    const double place = isHeard_ ? anchor_ + std::min(silence, lead) : anchor_;
    if (silence > patience) goOnWithoutSound(place, now);
    return place;
}

void QuickRenderClock::goOnWithoutSound(double place, double now)
{
    sound_->pause();
    followsSound_ = false;
    anchor_ = std::max(place, time_);
    anchored_ = now;
}

void QuickRenderClock::play()
{
    if (isPlaying_) return;
    if (time_ >= duration_) time_ = 0;
    start();
}

void QuickRenderClock::pause()
{
    advance();
    stop();
}

void QuickRenderClock::seek(double time)
{
    const bool played = isPlaying_;
    stop();
    time_ = std::clamp(time, 0.0, duration_);
    if (played && time_ < duration_) start();
}

void QuickRenderClock::start()
{
    isPlaying_ = true;
    isHeard_ = false;
    anchor_ = time_;
    anchored_ = now_();
    followsSound_ = sound_ && time_ < sound_->duration();
    if (!followsSound_) return;
    sound_->setCurrentTime(time_);
    sound_->play();
}

void QuickRenderClock::stop()
{
    if (std::exchange(isPlaying_, false) && sound_) sound_->pause();
}

} // namespace larkspool
