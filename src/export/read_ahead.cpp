#include "export/read_ahead.h"

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr std::size_t blockFrames = 4096;

/// Blocks that may wait: a third of a second.
constexpr std::size_t mostBlocks = 4;

} // namespace

ReadAhead::ReadAhead(SampleStream& source) : source_(source), thread_([this] { work(); }) {}

ReadAhead::~ReadAhead()
{
    {
        const std::scoped_lock lock(mutex_);
        isAbandoned_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void ReadAhead::work()
{
    std::exception_ptr failure;
    try {
        for (;;) {
            Block block(blockFrames * channels);
            const std::size_t count = source_.read(block);
            block.resize(count * channels);
            if (!put(std::move(block)) || count < blockFrames) break;
        }
    } catch (...) {
        failure = std::current_exception();
    }
    {
        const std::scoped_lock lock(mutex_);
        isAtEnd_ = true;
        failure_ = failure;
    }
    changed_.notify_all();
}

/// Waits for room. False if nobody reads any more.
bool ReadAhead::put(Block block)
{
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isAbandoned_ || ready_.size() < mostBlocks; });
        if (isAbandoned_) return false;
        ready_.push_back(std::move(block));
    }
    changed_.notify_all();
    return true;
}

/// Waits for a block; an empty one at the end.
ReadAhead::Block ReadAhead::next()
{
    Block block;
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isAtEnd_ || !ready_.empty(); });
        if (ready_.empty()) {
            if (failure_) std::rethrow_exception(failure_);
            return block;
        }
        block = std::move(ready_.front());
        ready_.pop_front();
    }
    changed_.notify_all();
    return block;
}

std::size_t ReadAhead::read(std::span<float> samples)
{
    std::size_t done = 0;
    while (done < samples.size()) {
        if (given_ == block_.size()) {
            block_ = next();
            given_ = 0;
            if (block_.empty()) break;
        }
        const std::size_t count = std::min(samples.size() - done, block_.size() - given_);
        std::copy_n(block_.begin() + static_cast<std::ptrdiff_t>(given_), count,
                    samples.begin() + static_cast<std::ptrdiff_t>(done));
        done += count;
        given_ += count;
    }
    return done / channels;
}

} // namespace larkspool
