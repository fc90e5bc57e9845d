#include "views/quick_render_clock.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace larkspool {
namespace {

constexpr double tolerance = 1e-9;

/// A sound whose place is set by hand.
struct Sound {
    double length = 10, place = 0;
    bool isPlaying = false;
    bool wasSought = false;
};
class HandPlayedSound final : public AudioPlayer {
public:
    explicit HandPlayedSound(Sound& sound) : sound_(sound) {}
    double duration() const override { return sound_.length; }
    double currentTime() const override { return sound_.place; }
    void setCurrentTime(double seconds) override
    {
        sound_.place = seconds;
        sound_.wasSought = true;
    }
    void setVolume(double) override {}
    bool isPlaying() const override { return sound_.isPlaying; }
    void play() override { sound_.isPlaying = true; }
    void pause() override { sound_.isPlaying = false; }

private:
    Sound& sound_;
};

class QuickRenderClockTest : public testing::Test {
protected:
    QuickRenderClock silent(double duration) { return {duration, nullptr, [this] { return now; }}; }
    QuickRenderClock sounding(double duration)
    {
        return {duration, std::make_unique<HandPlayedSound>(sound), [this] { return now; }};
    }

    double now = 100;
    Sound sound;
};

TEST_F(QuickRenderClockTest, ASilentFilmGoesByTheClockAndStopsAtItsEnd)
{
    QuickRenderClock clock = silent(2);
    now += 5;
    EXPECT_EQ(clock.advance(), 0) << "it does not play";
    clock.play();
    now += 0.75;
    EXPECT_NEAR(clock.advance(), 0.75, tolerance);
    now += 3;
    EXPECT_EQ(clock.advance(), 2);
    EXPECT_FALSE(clock.isPlaying());
}

TEST_F(QuickRenderClockTest, PlayingAtTheEndBeginsAnew)
{
    QuickRenderClock clock = silent(2);
    clock.seek(2);
    clock.play();
    EXPECT_TRUE(clock.isPlaying());
    now += 0.5;
    EXPECT_NEAR(clock.advance(), 0.5, tolerance);
}

TEST_F(QuickRenderClockTest, PausingKeepsThePlace)
{
    QuickRenderClock clock = silent(2);
    clock.play();
    now += 0.5;
    clock.pause();
    now += 1;
    EXPECT_NEAR(clock.advance(), 0.5, tolerance);
    clock.play();
    now += 0.25;
    EXPECT_NEAR(clock.advance(), 0.75, tolerance);
}

TEST_F(QuickRenderClockTest, AFilmWithSoundGoesWithWhatIsHeard)
{
    QuickRenderClock clock = sounding(4);
    clock.play();
    EXPECT_TRUE(sound.isPlaying);
    now += 0.3; // The device takes its time to begin.
    EXPECT_EQ(clock.advance(), 0);
    sound.place = 0.1;
    EXPECT_NEAR(clock.advance(), 0.1, tolerance);
    now += 0.04; // Between two steps of the device.
    EXPECT_NEAR(clock.advance(), 0.14, tolerance);
    now += 0.2; // It is late: the pictures wait.
    EXPECT_NEAR(clock.advance(), 0.2, tolerance);
    sound.place = 0.15;
    EXPECT_NEAR(clock.advance(), 0.2, tolerance) << "never back";
}

TEST_F(QuickRenderClockTest, ASoundThatStopsComingIsLeftAndTheFilmGoesOn)
{
    QuickRenderClock clock = sounding(4);
    clock.play();
    sound.place = 1;
    EXPECT_NEAR(clock.advance(), 1, tolerance);
    now += QuickRenderClock::patience + 0.1;
    EXPECT_NEAR(clock.advance(), 1.1, tolerance) << "no farther than it went ahead";
    EXPECT_FALSE(sound.isPlaying);
    now += 0.5;
    EXPECT_NEAR(clock.advance(), 1.6, tolerance);
    EXPECT_TRUE(clock.isPlaying());
}

TEST_F(QuickRenderClockTest, AfterAShorterSoundTheFilmGoesOnByTheClock)
{
    sound.length = 1;
    QuickRenderClock clock = sounding(3);
    clock.play();
    sound.place = 1;
    EXPECT_NEAR(clock.advance(), 1, tolerance);
    now += 0.7;
    EXPECT_NEAR(clock.advance(), 1.7, tolerance);
    sound.wasSought = false;
    clock.seek(2);
    EXPECT_TRUE(clock.isPlaying());
    EXPECT_FALSE(sound.wasSought) << "there is nothing to hear";
    now += 0.5;
    EXPECT_NEAR(clock.advance(), 2.5, tolerance);
}

TEST_F(QuickRenderClockTest, SeekingTakesTheSoundAlongAndStaysWithinTheFilm)
{
    QuickRenderClock clock = sounding(4);
    clock.play();
    clock.seek(3);
    EXPECT_EQ(sound.place, 3);
    EXPECT_TRUE(sound.isPlaying);
    clock.seek(-1);
    EXPECT_EQ(clock.time(), 0);
    clock.seek(99);
    EXPECT_EQ(clock.time(), 4);
    EXPECT_FALSE(clock.isPlaying());
    EXPECT_FALSE(sound.isPlaying);
}

TEST_F(QuickRenderClockTest, APausedFilmThatIsSoughtStaysPaused)
{
    QuickRenderClock clock = sounding(4);
    clock.seek(1);
    EXPECT_EQ(clock.time(), 1);
    EXPECT_FALSE(clock.isPlaying());
    EXPECT_FALSE(sound.isPlaying);
}

} // namespace
} // namespace larkspool
