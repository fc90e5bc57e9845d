#include "app/interruption.h"

#include <csignal>

#include <gtest/gtest.h>

namespace larkspool {

TEST(CancelOnInterrupt, SetsTheFlagAndGivesTheSignalBack)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        struct sigaction before = {}, after = {};
        sigaction(signal, nullptr, &before);
        Exporter::ExportCancelFlag flag;
        {
            const CancelOnInterrupt cancelOnInterrupt(flag);
            EXPECT_FALSE(flag.isCancelled());
            std::raise(signal);
            EXPECT_TRUE(flag.isCancelled());
            sigaction(signal, nullptr, &after);
            EXPECT_EQ(after.sa_handler, SIG_DFL) << "A second one ends the program.";
        }
        sigaction(signal, nullptr, &after);
        EXPECT_EQ(after.sa_handler, before.sa_handler);
    }
}

} // namespace larkspool
