#include "views/background_tasks.h"

#include "support/no_threads.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <system_error>

namespace larkspool {
namespace {

TEST(BackgroundTasks, WorkForWhichThereIsNoThreadIsRefusedAndNotKept)
{
    auto background = std::make_unique<BackgroundTasks>();
    const auto held = std::make_shared<int>();
    {
        const NoThreads none;
        EXPECT_THROW(background->tasks().detach([held] {}), std::system_error);
    }
    EXPECT_EQ(background->running(), 0u);
    EXPECT_EQ(held.use_count(), 1);
    background.reset(); // Would not come to its end with a thread that there never was.
}

} // namespace
} // namespace larkspool
