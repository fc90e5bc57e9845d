#include "foundation/uuid.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <set>

namespace larkspool {
namespace {

/// Draws the same number again and again.
class FixedRandom final : public RandomSource {
public:
    explicit FixedRandom(std::uint64_t bits) : bits_(bits) {}
    std::uint64_t next() override { return bits_; }

private:
    std::uint64_t bits_;
};

TEST(UUID, IsWrittenInUpperCaseWithHyphens)
{
    EXPECT_EQ((UUID{0x0123456789ABCDEF, 0xFEDCBA9876543210}.string()), "01234567-89AB-CDEF-FEDC-BA9876543210");
    EXPECT_EQ(UUID().string(), "00000000-0000-0000-0000-000000000000");
}

TEST(UUID, IsReadInAnyCase)
{
    const UUID expected{0x0123456789ABCDEF, 0xFEDCBA9876543210};
    EXPECT_EQ(UUID::parse("01234567-89AB-CDEF-FEDC-BA9876543210"), expected);
    EXPECT_EQ(UUID::parse("01234567-89ab-cdef-fedc-ba9876543210"), expected);
    EXPECT_EQ(UUID::parse("01234567-89aB-cDeF-FeDc-bA9876543210"), expected);
}

TEST(UUID, AnyOtherTextIsNone)
{
    for (const char* text : {"", "0", "01234567-89AB-CDEF-FEDC-BA987654321", "01234567-89AB-CDEF-FEDC-BA98765432100",
                             "0123456789ABCDEFFEDCBA9876543210", "{01234567-89AB-CDEF-FEDC-BA98765432}",
                             "01234567-89AB-CDEF-FEDC-BA987654321G", "01234567-89AB-CDEF-FEDC-BA98765432 0",
                             "0123456-789AB-CDEF-FEDC-BA9876543210", "01234567-89AB-CDEF-FEDC-+A9876543210",
                             "01234567089AB0CDEF0FEDC0BA9876543210", "01234567-89AB-CDEF-FEDC-BA98765432\xC3\xA9",
                             "--------------------------------------"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(UUID::parse(text), std::nullopt);
    }
}

TEST(UUID, ReadsBackWhatItWrites)
{
    EXPECT_TRUE(rc::check([](std::uint64_t high, std::uint64_t low) {
        const UUID id{high, low};
        RC_ASSERT(UUID::parse(id.string()) == id);
    }));
}

TEST(UUID, ARandomOneTellsItsVersionAndVariant)
{
    FixedRandom zeros(0), ones(~std::uint64_t{0});
    EXPECT_EQ(UUID::random(zeros).string(), "00000000-0000-4000-8000-000000000000");
    EXPECT_EQ(UUID::random(ones).string(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
}

TEST(UUID, RandomOnesDiffer)
{
    std::set<UUID> ids;
    for (int i = 0; i < 1000; ++i) ids.insert(UUID::random());
    EXPECT_EQ(ids.size(), 1000u);
}

} // namespace
} // namespace larkspool
