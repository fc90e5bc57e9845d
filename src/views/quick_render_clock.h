#pragma once

#include "platform/audio_player.h"

#include <functional>
#include <memory>

namespace larkspool {

/// Where a film is that plays, in seconds of the film. It goes with the sound as long as that is heard; by the clock where there
/// is no sound, after the end of a sound that is shorter, and when the sound stops coming, as from a device that was taken away.
class QuickRenderClock {
public:
    /// For how long a sound may stand still, in seconds, before the film goes on without it.
    static constexpr double patience = 0.5;
    /// How far the pictures go on ahead of what the sound has told, in seconds: devices tell it in steps.
    static constexpr double lead = 0.1;

    /// `sound` is null for a silent film; `now` gives seconds that rise.
    QuickRenderClock(double duration, std::unique_ptr<AudioPlayer> sound, std::function<double()> now);

    double duration() const { return duration_; }
    double time() const { return time_; } ///< As of the last call.
    bool isPlaying() const { return isPlaying_; }

    /// Lets the film go on to where it is now, never back. It stops at its end.
    double advance();

    void play(); ///< At the end, from the beginning.
    void pause();
    void seek(double time); ///< Held within the film, which goes on playing if it did.

private:
    double reached();
    void start();
    void stop();
    void goOnWithoutSound(double place, double now);

    double duration_;
    std::unique_ptr<AudioPlayer> sound_;
    std::function<double()> now_;
    double time_ = 0;
    bool isPlaying_ = false;
    bool followsSound_ = false;
    bool isHeard_ = false; ///< The sound has moved since the start.

    /// @name While it plays: the place that was known last, and when that was.
    /// @{
    double anchor_ = 0, anchored_ = 0;
    /// @}
};

} // namespace larkspool
