#include "platform/notification_center.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NotificationCenter, CallsThoseWhoListenForTheNameInTheirOrder)
{
    NotificationCenter center;
    std::vector<std::string> heard;
    const Observation first =
        center.addObserver("play", [&](const Notification& n) { heard.push_back("1 " + std::string(n.name)); });
    const Observation second = center.addObserver("play", [&](const Notification&) { heard.emplace_back("2"); });
    const Observation other = center.addObserver("rewind", [&](const Notification&) { heard.emplace_back("other"); });
    center.post("play");
    center.post("nobody listens");
    EXPECT_THAT(heard, ElementsAre("1 play", "2"));
}

TEST(NotificationCenter, AnObservationThatEndedIsCalledNoMore)
{
    NotificationCenter center;
    int heard = 0;
    {
        const Observation scoped = center.addObserver("play", [&](const Notification&) { ++heard; });
        center.post("play");
    }
    Observation replaced = center.addObserver("play", [&](const Notification&) { heard += 10; });
    replaced = Observation();
    center.post("play");
    EXPECT_EQ(heard, 1);
}

TEST(NotificationCenter, ThePayloadIsReadAsTheTypeThatWasSent)
{
    NotificationCenter center;
    std::optional<int> number;
    bool isText = true;
    const Observation observation = center.addObserver("count", [&](const Notification& n) {
        if (const int* count = n.as<int>()) number = *count;
        isText = n.as<std::string>() != nullptr;
    });
    center.post("count", 7);
    EXPECT_EQ(number, 7);
    EXPECT_FALSE(isText);
    number.reset();
    center.post("count");
    EXPECT_EQ(number, std::nullopt);
}

TEST(NotificationCenter, WhoIsCalledMayEndItselfAndOthersAndBeginToListen)
{
    NotificationCenter center;
    std::vector<int> heard;
    std::optional<Observation> self, next, added;
    self = center.addObserver("n", [&](const Notification&) {
        heard.push_back(1);
        next.reset();
        added = center.addObserver("n", [&](const Notification&) { heard.push_back(3); });
        self.reset();
    });
    next = center.addObserver("n", [&](const Notification&) { heard.push_back(2); });
    center.post("n");
    EXPECT_THAT(heard, ElementsAre(1)) << "the second was ended, the third listens from the next time on";
    center.post("n");
    EXPECT_THAT(heard, ElementsAre(1, 3));
}

TEST(Observers, AnObservationMayOutliveThem)
{
    std::vector<int> heard;
    Observation observation;
    {
        Observers<int> observers;
        observation = observers.add([&](int value) { heard.push_back(value); });
    }
    observation.end();
    EXPECT_THAT(heard, IsEmpty());
}

TEST(Observers, ACallMayDestroyThem)
{
    std::vector<int> heard;
    std::optional<Observers<int>> observers(std::in_place);
    const Observation first = observers->add([&](int value) {
        heard.push_back(value);
        observers.reset();
    });
    const Observation second = observers->add([&](int value) { heard.push_back(-value); });
    observers->tell(5);
    EXPECT_THAT(heard, ElementsAre(5, -5));
}

} // namespace
} // namespace larkspool
