#pragma once

#include "platform/sample_source.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace larkspool {

/// Reads a stream on a thread of its own, a little ahead of whoever reads this one, so that both work at once. What the stream
/// throws comes out of `read`, after the sound before it.
class ReadAhead final : public SampleStream {
public:
    /// `source` outlives this, and nobody else uses it meanwhile.
    explicit ReadAhead(SampleStream& source);
    ~ReadAhead() override;
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    std::size_t read(std::span<float> samples) override;

private:
    using Block = std::vector<float>;

    void work();
    bool put(Block block);
    Block next();

    SampleStream& source_;
    Block block_; ///< Of the reader: what it is giving out.
    std::size_t given_ = 0;

    // Of both, under the mutex.
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Block> ready_;
    bool isAtEnd_ = false;
    bool isAbandoned_ = false;
    std::exception_ptr failure_;

    std::thread thread_; ///< Begins when all else is there.
};

} // namespace larkspool
