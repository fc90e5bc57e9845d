#include "views/sink_audio_player.h"

#include "support/test_media.h"
#include "views/window_test.h"

#include <QIODevice>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace larkspool {
namespace {

TEST(SinkAudioPlayer, PlaysInTimeWithOrWithoutADevice)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("tone.wav"), "-f lavfi -i sine=frequency=440:duration=3");
    const std::unique_ptr<AudioPlayer> player = loadSinkAudioPlayer(folder.path("tone.wav"));
    ASSERT_NE(player, nullptr);
    EXPECT_NEAR(player->duration(), 3, 0.01);
    EXPECT_FALSE(player->isPlaying());
    player->setVolume(0);
    player->setCurrentTime(1);
    EXPECT_EQ(player->currentTime(), 1);
    player->play();
    EXPECT_TRUE(player->isPlaying());
    EXPECT_TRUE(QTest::qWaitFor([&] { return player->currentTime() > 1; }, 5000));
    player->pause();
    const double there = player->currentTime();
    QTest::qWait(30);
    EXPECT_EQ(player->currentTime(), there);
    player->setCurrentTime(99);
    EXPECT_EQ(player->currentTime(), player->duration());
}

TEST(SinkAudioPlayer, AFileWithoutSoundHasNone)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("silent.mkv"), "-f lavfi -i testsrc=s=16x16:r=10:d=1 -c:v ffv1");
    EXPECT_EQ(loadSinkAudioPlayer(folder.path("silent.mkv")), nullptr);
    EXPECT_EQ(loadSinkAudioPlayer(folder.path("missing.wav")), nullptr);
}

TEST(SinkAudioPlayer, IsReadOnAnyThreadAndMadeOnThisOne)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("tone.wav"), "-f lavfi -i sine=frequency=440:duration=2 -f wav");
    MakeAudioPlayer make, none;
    std::thread([&] {
        make = readForSinkAudioPlayer(folder.path("tone.wav"));
        none = readForSinkAudioPlayer(folder.path("missing.wav"));
    }).join();
    EXPECT_EQ(none, nullptr);
    ASSERT_NE(make, nullptr);
    EXPECT_NEAR(make()->duration(), 2, 0.01);
}

/// What has become of a device that a test holds in its hands.
struct DeviceByHand {
    bool isThere = true;
    double played = 0;
    double volume = -1;
    bool isPlaying = false;
    int opened = 0;
    QIODevice* sound = nullptr;
};
class HandHeldDevice final : public SoundDevice {
public:
    explicit HandHeldDevice(DeviceByHand& device) : device_(device) { ++device_.opened; }
    ~HandHeldDevice() override { device_.isPlaying = false; }

    void start(QIODevice& sound) override
    {
        device_.sound = &sound;
        device_.played = 0;
        device_.isPlaying = true;
    }
    void stop() override { device_.isPlaying = false; }
    void setVolume(double volume) override { device_.volume = volume; }
    double playedSeconds() const override { return device_.played; }
    bool isGone() const override { return !device_.isThere; }

private:
    DeviceByHand& device_;
};

class LostSoundDeviceTest : public testing::Test {
protected:
    LostSoundDeviceTest() { makeMedia(folder.path("tone.wav"), "-f lavfi -i sine=frequency=440:duration=30"); }

    std::unique_ptr<AudioPlayer> makePlayer()
    {
        return loadAudioPlayerOn(folder.path("tone.wav"), [this]() -> std::unique_ptr<SoundDevice> {
            if (!device.isThere) return nullptr;
            return std::make_unique<HandHeldDevice>(device);
        });
    }

    const TemporaryFolder folder;
    DeviceByHand device;
};

TEST_F(LostSoundDeviceTest, ThePlayerGoesByWhatTheDeviceHasPlayed)
{
    const auto player = makePlayer();
    player->setCurrentTime(2);
    player->play();
    ASSERT_TRUE(device.isPlaying);
    std::vector<char> heard(4096);
    EXPECT_EQ(device.sound->read(heard.data(), 4096), 4096);
    EXPECT_TRUE(std::ranges::any_of(heard, [](char byte) { return byte != 0; }));
    device.played = 1.5;
    EXPECT_EQ(player->currentTime(), 3.5);
    player->pause();
    EXPECT_FALSE(device.isPlaying);
    device.played = 9;
    EXPECT_EQ(player->currentTime(), 3.5);
}

TEST_F(LostSoundDeviceTest, ADeviceThatIsTakenAwayLeavesThePlayerPlayingSilently)
{
    const auto player = makePlayer();
    player->play();
    device.played = 1.5;
    device.isThere = false;
    EXPECT_GE(player->currentTime(), 1.5) << "what was heard counts";
    EXPECT_LT(player->currentTime(), 20);
    EXPECT_TRUE(player->isPlaying());
    const double there = player->currentTime();
    EXPECT_TRUE(QTest::qWaitFor([&] { return player->currentTime() > there; }, 5000)) << "it goes on by the clock";
    player->pause();
    EXPECT_GT(player->currentTime(), there);
    player->setVolume(0.5);
    player->setCurrentTime(0);
    player->play();
    EXPECT_TRUE(player->isPlaying());
    EXPECT_EQ(device.opened, 1);
}

TEST_F(LostSoundDeviceTest, TheNextStartTakesTheDeviceThatIsThereThen)
{
    const auto player = makePlayer();
    player->setVolume(0.25);
    player->play();
    device.isThere = false;
    player->pause();
    device.isThere = true;
    player->setCurrentTime(10);
    player->play();
    EXPECT_EQ(device.opened, 2);
    EXPECT_TRUE(device.isPlaying);
    EXPECT_EQ(device.volume, 0.25) << "as loud as the one before";
    device.played = 0.5;
    EXPECT_EQ(player->currentTime(), 10.5);
}

TEST_F(LostSoundDeviceTest, ADeviceThatComesLateIsFoundByTheNextStart)
{
    device.isThere = false;
    const auto player = makePlayer();
    player->play();
    EXPECT_TRUE(player->isPlaying());
    player->pause();
    device.isThere = true;
    player->play();
    EXPECT_TRUE(device.isPlaying);
}

} // namespace
} // namespace larkspool
