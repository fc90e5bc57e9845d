#include "foundation/random_source.h"

#include <random>

namespace larkspool {

namespace {

class SystemRandom final : public RandomSource {
public:
    std::uint64_t next() override { return engine_(); }

private:
    static std::mt19937_64 seeded()
    {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }

    std::mt19937_64 engine_ = seeded();
};

} // namespace

RandomSource& systemRandom()
{
    thread_local SystemRandom source;
    return source;
}

} // namespace larkspool
