#include "foundation/main_thread.h"

#include <thread>

namespace larkspool {

namespace {

// Static initialisation runs on the thread that starts the process.
const std::thread::id mainThread = std::this_thread::get_id();

} // namespace

bool isMainThread()
{
    return std::this_thread::get_id() == mainThread;
}

} // namespace larkspool
