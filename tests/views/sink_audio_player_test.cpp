#include "views/sink_audio_player.h"

#include "support/test_media.h"
#include "views/window_test.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace larkspool
