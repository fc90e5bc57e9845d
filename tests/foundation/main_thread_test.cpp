#include "foundation/main_thread.h"

#include <gtest/gtest.h>

#include <thread>

namespace larkspool {
namespace {

TEST(MainThread, IsTheOneThatStartedTheProcess)
{
    EXPECT_TRUE(isMainThread());
    bool other = true;
    std::thread([&other] { other = isMainThread(); }).join();
    EXPECT_FALSE(other);
}

} // namespace
} // namespace larkspool
