#pragma once

#include <cstdint>

namespace larkspool {

/// Where random bits come from. Passed in, so that tests draw the same ones every time.
class RandomSource {
public:
    virtual ~RandomSource() = default;

    virtual std::uint64_t next() = 0;
};

/// Random bits for identifiers, seeded from the system once per thread.
RandomSource& systemRandom();

} // namespace larkspool
