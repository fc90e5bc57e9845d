#include "export/read_ahead.h"

#include "export/told_source.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(ReadAhead, GivesTheSameSoundInOrderHoweverItIsRead)
{
    for (const std::size_t frames : {0u, 1u, 4'095u, 4'096u, 4'097u, 50'000u})
        for (const std::size_t piece : {1u, 1'024u, 7'001u}) {
            SCOPED_TRACE(testing::Message() << frames << " frames by " << piece);
            ToldSource source(static_cast<double>(frames) / SampleStream::sampleRate + 1e-9,
                              [](std::int64_t frame) { return static_cast<float>(frame); });
            ReadAhead ahead(source);
            const std::vector<float> all = leftOfAll(ahead, piece);
            ASSERT_EQ(all.size(), frames);
            for (std::size_t i = 0; i < frames; ++i) ASSERT_EQ(all[i], static_cast<float>(i));
        }
}

TEST(ReadAhead, LetsGoOfASourceThatHasMoreToGive)
{
    const auto endless = ToldSource::constant(1e9, 1);
    ReadAhead ahead(*endless);
    std::vector<float> some(200);
    EXPECT_EQ(ahead.read(some), 100u);
}

TEST(ReadAhead, AFailureComesAfterTheSoundBeforeIt)
{
    struct Failing final : SampleStream {
        std::size_t read(std::span<float> samples) override
        {
            if (calls_++ == 2) throw std::runtime_error("It broke");
            return samples.size() / channels;
        }
        int calls_ = 0;
    } failing;
    ReadAhead ahead(failing);
    std::vector<float> block(2 * 4'096);
    EXPECT_EQ(ahead.read(block), 4'096u);
    EXPECT_EQ(ahead.read(block), 4'096u);
    EXPECT_THROW(ahead.read(block), std::runtime_error);
}

} // namespace
} // namespace larkspool
