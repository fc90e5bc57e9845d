#include "export/limiter.h"

#include "export/told_source.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr double pi = 3.14159265358979;

std::vector<float> limited(std::vector<float> samples, std::size_t piece = 1000)
{
    ToldSource source(static_cast<double>(samples.size()) / SampleStream::sampleRate + 1e-9,
                      [&](std::int64_t frame) { return samples[static_cast<std::size_t>(frame)]; });
    Limiter limiter(source);
    return leftOfAll(limiter, piece);
}

std::vector<float> tone(double amplitude, std::size_t frames)
{
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(amplitude * std::sin(2 * pi * 440 * static_cast<double>(i) / SampleStream::sampleRate));
    return samples;
}

TEST(Limiter, SoundWithinFullScalePassesBitForBit)
{
    std::vector<float> samples = tone(0.9, 9'000);
    samples[100] = 1;
    samples[5'000] = -1;
    EXPECT_EQ(limited(samples), samples);
    EXPECT_EQ(limited({}), std::vector<float>{});
    EXPECT_EQ(limited({0.5F}), std::vector<float>{0.5F});
}

TEST(Limiter, NothingPassesFullScaleAndPeaksReachIt)
{
    const std::vector<float> loud = tone(3, 48'000);
    const std::vector<float> result = limited(loud);
    for (std::size_t i = 1'000; i < 40'000; ++i) ASSERT_NEAR(result[i], loud[i] / 3, 2e-3) << i; // Made quieter, not cut off.
    float loudest = 0;
    for (const float sample : result) loudest = std::max(loudest, std::abs(sample));
    EXPECT_LE(loudest, 1);
    EXPECT_GT(loudest, 0.99F);
}

TEST(Limiter, AroundAPeakOnlyTheFiveMillisecondsBeforeAndTheReleaseChange)
{
    std::vector<float> samples(30'000, 0.25F);
    constexpr std::size_t peak = 5'000;
    samples[peak] = 2;
    const std::vector<float> result = limited(samples);
    ASSERT_EQ(result.size(), samples.size());
    for (std::size_t i = 0; i + 240 <= peak; ++i) ASSERT_EQ(result[i], 0.25F) << i;
    EXPECT_NEAR(result[peak], 1, 1e-3);
    EXPECT_NEAR(result[peak - 120], 0.25 * 0.75, 2e-3); // Half way down to half.
    for (std::size_t i = peak - 239; i < peak; ++i) ASSERT_LE(result[i], result[i - 1]) << i;
    for (std::size_t i = peak + 242; i < result.size(); ++i) ASSERT_GE(result[i], result[i - 1]) << i;
    EXPECT_LT(result[peak + 480], 0.25F * 0.7F);
    EXPECT_NEAR(result[peak + 10'000], 0.25, 1e-3); // A fifth of a second on.
    EXPECT_EQ(limited(std::vector<float>(50'000, 0.25F)).back(), 0.25F);
}

TEST(Limiter, BothSidesKeepTheirBalance)
{
    class Unbalanced final : public SampleStream {
    public:
        std::size_t read(std::span<float> samples) override
        {
            const std::size_t count = std::min(left_, samples.size() / channels);
            for (std::size_t i = 0; i < count; ++i) {
                samples[2 * i] = 4;
                samples[2 * i + 1] = 0.5F;
            }
            left_ -= count;
            return count;
        }

    private:
        std::size_t left_ = 4'000;
    } source;
    Limiter limiter(source);
    std::vector<float> result(2 * 4'000);
    ASSERT_EQ(limiter.read(result), 4'000u);
    EXPECT_FLOAT_EQ(result[2 * 2'000], 1);
    EXPECT_FLOAT_EQ(result[2 * 2'000 + 1], 0.125F);
}

TEST(Limiter, AnySoundIsHeldInTheSamePlacesHoweverItIsRead)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> amplitude(-5, 5);
    for (int round = 0; round < 20; ++round) {
        std::vector<float> samples(static_cast<std::size_t>(random() % 6'000));
        for (float& sample : samples) sample = random() % 50 == 0 ? amplitude(random) : amplitude(random) / 6;
        const std::vector<float> whole = limited(samples, 6'000);
        ASSERT_EQ(whole.size(), samples.size());
        for (std::size_t i = 0; i < whole.size(); ++i) {
            ASSERT_LE(std::abs(whole[i]), std::min(1.0F, std::abs(samples[i])));
            ASSERT_GE(whole[i] * samples[i], 0);
        }
        EXPECT_EQ(limited(samples, 1 + random() % 700), whole);
    }
}

} // namespace
} // namespace larkspool
