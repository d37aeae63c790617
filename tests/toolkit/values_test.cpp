// Times, big integers and bit sets; their hex text is pinned by the detail
// model's rows.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fixtures.hpp"

namespace {

using tavik::BlobPtr;
using tavik::TimePtr;
using Bytes = std::vector<unsigned char>;
using Fields = std::array<int, 6>; // year, month, day, hour, minute, second

TimePtr makeTime(const Fields &f)
{
    return TimePtr(tavik_time_new(f[0], f[1], f[2], f[3], f[4], f[5]));
}

Fields fieldsOf(const tavik_time *t)
{
    return {tavik_time_getyear(t), tavik_time_getmonth(t),  tavik_time_getday(t),
            tavik_time_gethour(t), tavik_time_getminute(t), tavik_time_getsecond(t)};
}

Bytes bytesOf(const BlobPtr &blob)
{
    return blob ? Bytes(blob->data, blob->data + blob->length) : Bytes{0xEE, 0xEE};
}

TEST(Time, OnlyCalendarValuesAreMadeAndTheyCompareFieldByField)
{
    const std::pair<Fields, bool> cases[] = {
        {{2024, 2, 29, 23, 59, 59}, true}, {{2023, 2, 29, 12, 0, 0}, false},
        {{1900, 2, 29, 0, 0, 0}, false},   {{9999, 12, 31, 23, 59, 59}, true},
        {{10000, 1, 1, 0, 0, 0}, false},   {{2024, 4, 31, 0, 0, 0}, false},
        {{2024, 13, 1, 0, 0, 0}, false},   {{2024, 1, 1, 24, 0, 0}, false},
        {{2024, 1, 1, 0, 60, 0}, false},   {{2024, 1, 1, 0, 0, 60}, false},
    };
    for (const auto &[f, valid] : cases) {
        const TimePtr t = makeTime(f);
        ASSERT_EQ(t != nullptr, valid) << f[0] << "-" << f[1] << "-" << f[2] << " " << f[3];
        if (t) {
            EXPECT_EQ(fieldsOf(t.get()), f);
        }
    }

    const Fields base{2024, 6, 15, 12, 30, 30};
    const TimePtr a = makeTime(base);
    for (std::size_t field = 0; field < base.size(); ++field) {
        Fields later = base;
        ++later[field];
        for (std::size_t next = field + 1; next < later.size(); ++next)
            later[next] = next < 3 ? 1 : 0; // the lowest value a less significant field takes
        const TimePtr b = makeTime(later);
        EXPECT_EQ(tavik_time_cmp(a.get(), b.get()), -1) << field;
        EXPECT_EQ(tavik_time_cmp(b.get(), a.get()), 1) << field;
    }
    const TimePtr copy(tavik_time_dup(a.get()));
    EXPECT_TRUE(copy && copy.get() != a.get());
    EXPECT_EQ(tavik_time_cmp(a.get(), copy.get()), 0);
    EXPECT_EQ(tavik_time_cmp(a.get(), nullptr), -2);
}

TEST(BigInteger, MagnitudeSignDecimalValueAndNegation)
{
    const Bytes twenty{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    const Bytes two63{0x80, 0, 0, 0, 0, 0, 0, 0};
    const struct {
        Bytes input;
        bool negative;
        Bytes magnitude;
        int sign;
        const char *decimal;
        std::optional<std::int64_t> value;
    } cases[] = {
        {{}, true, {0x00}, 0, "0", 0},
        {{0xFF}, false, {0xFF}, 1, "255", 255},
        {{0x00, 0x01, 0x00}, true, {0x01, 0x00}, -1, "256", -256},
        {twenty, false, twenty, 1, "5753854965885600108575829560559299546819203860", {}},
        {two63, true, two63, -1, "9223372036854775808", INT64_MIN},
        {two63, false, two63, 1, "9223372036854775808", {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.decimal);
        const tavik::BigIntPtr n(tavik_biginteger_new(c.input.data(), c.input.size(), c.negative));
        ASSERT_TRUE(n);
        EXPECT_EQ(bytesOf(BlobPtr(tavik_biginteger_getdata(n.get()))), c.magnitude);
        EXPECT_EQ(tavik_biginteger_getsign(n.get()), c.sign);
        char *text = nullptr;
        std::size_t length = 0;
        ASSERT_EQ(tavik_biginteger_unsigned_todec(n.get(), &text, &length), 1);
        const tavik::TextPtr owned(text);
        EXPECT_EQ(std::string(text, length), c.decimal);
        std::int64_t value = 42;
        EXPECT_EQ(tavik_biginteger_getvalue(n.get(), &value) == 1, c.value.has_value());
        EXPECT_EQ(value, c.value.value_or(42));
        const tavik::BigIntPtr negated(tavik_biginteger_neg(n.get()));
        EXPECT_EQ(tavik_biginteger_getsign(negated.get()), -c.sign);
        EXPECT_EQ(bytesOf(BlobPtr(tavik_biginteger_getdata(negated.get()))), c.magnitude);
    }
    EXPECT_EQ(tavik_biginteger_getbitcount(tavik::BigIntPtr(tavik_biginteger_newint(-256)).get()),
              9);
    std::int64_t value = 0;
    const tavik::BigIntPtr min(tavik_biginteger_newint(INT64_MIN));
    ASSERT_EQ(tavik_biginteger_getvalue(min.get(), &value), 1);
    EXPECT_EQ(value, INT64_MIN);
}

TEST(BitSet, BitZeroIsTheFirstBitAndPaddingIsNeverSet)
{
    // 1000 0110  1010 0000: bits 0, 5, 6, 8 and 10 are one (a mask of the
    // set bits, bit n of the mask for bit n of the set).
    const unsigned char bytes[] = {0x86, 0xA0};
    const std::pair<int, int> cases[] = {
        {5, 1 | 32 | 64 | 256 | 1024}, {6, 1 | 32 | 64 | 256}, // bit 10 is padding now
    };
    for (const auto &[unusedBits, mask] : cases) {
        const tavik::BitSetPtr bits(tavik_bitset_new(bytes, sizeof bytes, unusedBits));
        ASSERT_TRUE(bits);
        for (int i = -1; i <= 16; ++i)
            EXPECT_EQ(tavik_bitset_isset(bits.get(), i) != 0, i >= 0 && (mask >> i & 1))
                << "bit " << i << " with " << unusedBits << " unused";
        int unused = -1;
        EXPECT_EQ(bytesOf(BlobPtr(tavik_bitset_getdata(bits.get(), &unused))),
                  Bytes(bytes, bytes + 2));
        EXPECT_EQ(unused, unusedBits);
    }
    EXPECT_EQ(tavik_bitset_new(bytes, 1, 8), nullptr);
    EXPECT_EQ(tavik_bitset_new(nullptr, 1, 0), nullptr);
    EXPECT_EQ(tavik_bitset_new(bytes, 0, 3), nullptr);
}

} // namespace
