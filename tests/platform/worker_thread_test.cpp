#include "platform/worker_thread.h"

#include "support/hand_run_loop.h"
#include "support/no_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <system_error>

namespace larkspool {
namespace {

TEST(WorkerThread, DoesItsJobsInTheirOrder)
{
    WorkerThread worker;
    std::string done;
    std::promise<void> last;
    for (const char name : {'a', 'b', 'c'}) worker.add([&done, name] { done += name; });
    worker.add([&] { last.set_value(); });
    last.get_future().wait();
    EXPECT_EQ(done, "abc");
}

TEST(WorkerThread, ItsEndWaitsForNothingAndDropsWhatHasNotBegun)
{
    std::promise<void> begun, slow;
    std::atomic<bool> isDone = false, isDroppedOneDone = false;
    {
        WorkerThread worker;
        worker.add([&, ready = slow.get_future().share()] {
            begun.set_value();
            ready.wait();
            isDone = true;
        });
        worker.add([&] { isDroppedOneDone = true; });
        begun.get_future().wait();
    } // Would not come to its end if it waited.
    EXPECT_FALSE(isDone);
    slow.set_value();
    WorkerThread::waitForEnded();
    EXPECT_TRUE(isDone) << "what has begun goes on";
    EXPECT_FALSE(isDroppedOneDone);
}

TEST(WorkerThread, OneWithoutJobsEndsToo)
{
    { const WorkerThread worker; }
    WorkerThread::waitForEnded();
}

TEST(WorkerThread, AJobForWhichThereIsNoThreadIsNotDoneLater)
{
    WorkerThread worker;
    std::string done;
    {
        const NoThreads none;
        EXPECT_THROW(worker.add([&] { done += 'a'; }), std::system_error);
    }
    std::promise<void> last;
    worker.add([&] {
        done += 'b';
        last.set_value();
    });
    last.get_future().wait();
    EXPECT_EQ(done, "b");
}

TEST(RunLoopLink, HandsNothingOverOnceItIsClosed)
{
    auto loop = std::make_unique<HandRunLoop>();
    RunLoopLink link(*loop);
    int done = 0;
    link.post([&] { ++done; });
    loop->turn();
    EXPECT_EQ(done, 1);
    link.close();
    loop.reset();
    link.post([&] { ++done; });
    EXPECT_EQ(done, 1);
}

} // namespace
} // namespace larkspool
