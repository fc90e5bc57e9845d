#include "shell/secret_defaults.h"

#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr StringKey key = DefaultsKey::assistantAPIKey;

/// Answers when the test says so.
class FakeSecretStore final : public SecretStore {
public:
    std::optional<std::string> kept = ""; ///< Nothing for a store that cannot be had.
    bool refusesToWrite = false;
    std::vector<std::string> writes;

    void read(std::string_view, std::function<void(std::optional<std::string>)> answer) override
    {
        pending_.push_back([this, answer = std::move(answer)] { answer(kept); });
    }
    void write(std::string_view, std::string_view secret, std::function<void(bool)> answer) override
    {
        writes.emplace_back(secret);
        pending_.push_back([this, secret = std::string(secret), answer = std::move(answer)] {
            const bool isDone = kept && !refusesToWrite;
            if (isDone) kept = secret;
            answer(isDone);
        });
    }

    void answerOne()
    {
        ASSERT_FALSE(pending_.empty());
        const std::function<void()> next = std::move(pending_.front());
        pending_.pop_front();
        next();
    }
    void answerAll()
    {
        while (!pending_.empty()) answerOne();
    }

private:
    std::deque<std::function<void()>> pending_;
};

TEST(SecretDefaults, OtherSettingsAreThePlainOnes)
{
    MemoryUserDefaults plain;
    plain.set(DefaultsKey::assistantEnabled, true);
    FakeSecretStore store;
    SecretDefaults defaults(plain, store, key);
    EXPECT_TRUE(defaults.boolean(DefaultsKey::assistantEnabled));
    defaults.set(DefaultsKey::playMode, std::string("loop"));
    EXPECT_EQ(plain.string(DefaultsKey::playMode), "loop");
    defaults.remove(DefaultsKey::playMode);
    EXPECT_FALSE(plain.value(DefaultsKey::playMode));
    EXPECT_THAT(store.writes, IsEmpty());
}

TEST(SecretDefaults, TheSecretOfTheStoreIsTheSettingFromWhenItAnswersOn)
{
    MemoryUserDefaults plain;
    FakeSecretStore store;
    store.kept = "sk-1";
    SecretDefaults defaults(plain, store, key);
    std::vector<std::string> told;
    const Observation observation = defaults.observe([&](std::string_view name) { told.emplace_back(name); });
    EXPECT_EQ(defaults.string(key), "");
    EXPECT_FALSE(defaults.isSettled());
    store.answerAll();
    EXPECT_EQ(defaults.string(key), "sk-1");
    EXPECT_TRUE(defaults.isSettled());
    EXPECT_THAT(told, ElementsAre(std::string(key.name)));
    EXPECT_FALSE(plain.value(key));
    EXPECT_THAT(store.writes, IsEmpty());
}

TEST(SecretDefaults, WhatIsSetHoldsAtOnceAndIsNeverAmongThePlainOnes)
{
    MemoryUserDefaults plain;
    FakeSecretStore store;
    SecretDefaults defaults(plain, store, key);
    store.answerAll();
    defaults.set(key, std::string("sk-1"));
    EXPECT_EQ(defaults.string(key), "sk-1");
    EXPECT_FALSE(plain.value(key));
    store.answerAll();
    EXPECT_EQ(store.kept, "sk-1");
    EXPECT_FALSE(plain.value(key));
    defaults.remove(key);
    store.answerAll();
    EXPECT_EQ(store.kept, "");
    EXPECT_FALSE(defaults.value(key));
}

TEST(SecretDefaults, OfManyChangesTheStoreGetsTheLastAndOneAtATime)
{
    MemoryUserDefaults plain;
    FakeSecretStore store;
    SecretDefaults defaults(plain, store, key);
    store.answerAll();
    for (const char* typed : {"s", "sk", "sk-", "sk-1"}) defaults.set(key, std::string(typed));
    EXPECT_FALSE(defaults.isSettled());
    store.answerAll();
    EXPECT_TRUE(defaults.isSettled());
    EXPECT_EQ(store.kept, "sk-1");
    EXPECT_THAT(store.writes, ElementsAre("s", "sk-1"));
}

TEST(SecretDefaults, WithoutAStoreItIsASettingLikeTheOthers)
{
    MemoryUserDefaults plain;
    plain.set(key, std::string("sk-1"));
    FakeSecretStore store;
    store.kept.reset();
    SecretDefaults defaults(plain, store, key);
    EXPECT_EQ(defaults.string(key), "sk-1");
    store.answerAll();
    EXPECT_EQ(plain.string(key), "sk-1");
    defaults.set(key, std::string("sk-2"));
    EXPECT_EQ(plain.string(key), "sk-2");
    defaults.remove(key);
    EXPECT_FALSE(plain.value(key));
    EXPECT_THAT(store.writes, IsEmpty());
}

TEST(SecretDefaults, APlainSecretMovesAndLeavesOnceTheStoreHasIt)
{
    MemoryUserDefaults plain;
    plain.set(key, std::string("sk-plain"));
    FakeSecretStore store;
    store.kept = "sk-older";
    SecretDefaults defaults(plain, store, key);
    store.answerOne(); // The read.
    EXPECT_EQ(defaults.string(key), "sk-plain");
    EXPECT_EQ(plain.string(key), "sk-plain");
    store.answerOne(); // The write.
    EXPECT_EQ(store.kept, "sk-plain");
    EXPECT_FALSE(plain.value(key));
    EXPECT_EQ(defaults.string(key), "sk-plain");
}

TEST(SecretDefaults, AStoreThatRefusesLosesNothing)
{
    MemoryUserDefaults plain;
    FakeSecretStore store;
    SecretDefaults defaults(plain, store, key);
    store.answerAll();
    store.refusesToWrite = true;
    defaults.set(key, std::string("sk-1"));
    store.answerAll();
    EXPECT_EQ(defaults.string(key), "sk-1");
    EXPECT_EQ(plain.string(key), "sk-1");
}

TEST(SecretDefaults, WhatIsSetBeforeTheStoreAnswersWins)
{
    MemoryUserDefaults plain;
    FakeSecretStore store;
    store.kept = "sk-older";
    SecretDefaults defaults(plain, store, key);
    defaults.set(key, std::string("sk-1"));
    EXPECT_EQ(plain.string(key), "sk-1"); // Until it is known whether there is a store.
    store.answerAll();
    EXPECT_EQ(defaults.string(key), "sk-1");
    EXPECT_EQ(store.kept, "sk-1");
    EXPECT_FALSE(plain.value(key));
}

TEST(SecretDefaults, AnswersThatComeTooLateReachNobody)
{
    MemoryUserDefaults plain;
    FakeSecretStore store;
    store.kept = "sk-1";
    {
        const SecretDefaults defaults(plain, store, key);
    }
    store.answerAll();
    EXPECT_FALSE(plain.value(key));
}

} // namespace
} // namespace larkspool
