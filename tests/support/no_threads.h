#pragma once

#include <cstddef>

#include <pthread.h>

namespace larkspool {

/// While this lives, the system has no thread to give: what is asked for needs more memory than there are addresses.
class NoThreads {
public:
    NoThreads()
    {
        pthread_getattr_default_np(&before_);
        pthread_attr_t greedy;
        pthread_attr_init(&greedy);
        pthread_attr_setstacksize(&greedy, std::size_t{1} << 47);
        pthread_setattr_default_np(&greedy);
        pthread_attr_destroy(&greedy);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t before_{};
};

} // namespace larkspool
