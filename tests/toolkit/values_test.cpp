// Times, big integers, bit sets and hex text.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "tavik_ptr.hpp"

namespace {

using tavik::BigIntPtr;
using tavik::BlobPtr;
using tavik::TextPtr;
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
    return Bytes(blob->data, blob->data + blob->length);
}

// Sets TZ for the test and puts the previous value back.
class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const char *zone)
    {
        if (const char *old = std::getenv("TZ"))
            m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone()
    {
        if (m_old)
            setenv("TZ", m_old->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

  private:
    std::optional<std::string> m_old;
};

TEST(Time, CalendarValuesAreCheckedWhenMade)
{
    const std::pair<Fields, bool> cases[] = {
        {{2024, 2, 29, 12, 0, 0}, true}, {{2023, 2, 29, 12, 0, 0}, false},
        {{1900, 2, 29, 0, 0, 0}, false}, {{9999, 12, 31, 23, 59, 59}, true},
        {{10000, 1, 1, 0, 0, 0}, false}, {{2024, 4, 31, 0, 0, 0}, false},
        {{2024, 13, 1, 0, 0, 0}, false}, {{2024, 1, 1, 24, 0, 0}, false},
        {{2024, 1, 1, 0, 0, 60}, false},
    };
    for (const auto &[f, valid] : cases) {
        const TimePtr t = makeTime(f);
        ASSERT_EQ(t != nullptr, valid) << f[0] << "-" << f[1] << "-" << f[2] << " " << f[3];
        if (t) {
            EXPECT_EQ(fieldsOf(t.get()), f);
        }
    }
}

TEST(Time, CompareOrdersEveryFieldAndDupIsEqual)
{
    const Fields base{2024, 6, 15, 12, 30, 30};
    const TimePtr a = makeTime(base);
    ASSERT_TRUE(a);
    for (std::size_t field = 0; field < base.size(); ++field) {
        Fields later = base;
        ++later[field];
        const TimePtr b = makeTime(later);
        ASSERT_TRUE(b) << field;
        EXPECT_EQ(tavik_time_cmp(a.get(), b.get()), -1) << field;
        EXPECT_EQ(tavik_time_cmp(b.get(), a.get()), 1) << field;
    }
    const TimePtr copy(tavik_time_dup(a.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), a.get());
    EXPECT_EQ(tavik_time_cmp(a.get(), copy.get()), 0);
    EXPECT_EQ(tavik_time_cmp(a.get(), nullptr), -2);
}

TEST(Time, Utc2LocalUsesTheProcessTimeZone)
{
    struct Case {
        const char *zone;
        Fields utc;
        Fields local;
    };
    const Case cases[] = {
        {"Asia/Shanghai", {2024, 3, 5, 0, 0, 0}, {2024, 3, 5, 8, 0, 0}},
        {"Asia/Shanghai", {2023, 12, 31, 20, 15, 9}, {2024, 1, 1, 4, 15, 9}},
        {"Asia/Shanghai", {2100, 2, 28, 16, 0, 0}, {2100, 3, 1, 0, 0, 0}},   // past 2038
        {"America/New_York", {2024, 7, 1, 12, 0, 0}, {2024, 7, 1, 8, 0, 0}}, // summer time
        {"America/New_York", {2024, 3, 1, 2, 0, 0}, {2024, 2, 29, 21, 0, 0}},
        {"UTC", {1950, 1, 1, 0, 0, 0}, {1950, 1, 1, 0, 0, 0}},
    };
    for (const auto &c : cases) {
        const ScopedTimeZone zone(c.zone);
        const TimePtr utc = makeTime(c.utc);
        ASSERT_TRUE(utc);
        const TimePtr local(tavik_time_utc2local(utc.get()));
        ASSERT_TRUE(local) << c.zone;
        EXPECT_EQ(fieldsOf(local.get()), c.local) << c.zone << " " << c.utc[0];
    }
}

TEST(BigInteger, MagnitudeSignDecimalValueAndNegation)
{
    const Bytes twenty{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    const Bytes two63{0x80, 0, 0, 0, 0, 0, 0, 0};
    struct Case {
        Bytes input;
        bool negative;
        Bytes magnitude;
        int sign;
        const char *decimal;
        std::optional<std::int64_t> value;
    };
    const Case cases[] = {
        {{}, true, {0x00}, 0, "0", 0},
        {{0xFF}, false, {0xFF}, 1, "255", 255},
        {{0x00, 0x01, 0x00}, true, {0x01, 0x00}, -1, "256", -256},
        {twenty, false, twenty, 1, "5753854965885600108575829560559299546819203860", {}},
        {two63, true, two63, -1, "9223372036854775808", INT64_MIN},
        {two63, false, two63, 1, "9223372036854775808", {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.decimal);
        const BigIntPtr n(tavik_biginteger_new(c.input.data(), c.input.size(), c.negative));
        ASSERT_TRUE(n);
        const BlobPtr data(tavik_biginteger_getdata(n.get()));
        ASSERT_TRUE(data);
        EXPECT_EQ(bytesOf(data), c.magnitude);
        EXPECT_EQ(tavik_biginteger_getsign(n.get()), c.sign);

        char *text = nullptr;
        std::size_t length = 0;
        ASSERT_EQ(tavik_biginteger_unsigned_todec(n.get(), &text, &length), 1);
        const TextPtr owned(text);
        EXPECT_EQ(std::string(text, length), c.decimal);

        std::int64_t value = 42;
        EXPECT_EQ(tavik_biginteger_getvalue(n.get(), &value) == 1, c.value.has_value());
        EXPECT_EQ(value, c.value.value_or(42));

        const BigIntPtr negated(tavik_biginteger_neg(n.get()));
        ASSERT_TRUE(negated);
        EXPECT_EQ(tavik_biginteger_getsign(negated.get()), -c.sign);
        const BlobPtr negatedData(tavik_biginteger_getdata(negated.get()));
        EXPECT_EQ(bytesOf(negatedData), c.magnitude);
    }
    EXPECT_EQ(tavik_biginteger_getbitcount(BigIntPtr(tavik_biginteger_newint(-256)).get()), 9);
    std::int64_t value = 0;
    const BigIntPtr min(tavik_biginteger_newint(INT64_MIN));
    ASSERT_EQ(tavik_biginteger_getvalue(min.get(), &value), 1);
    EXPECT_EQ(value, INT64_MIN);
}

TEST(BitSet, BitZeroIsTheFirstBitAndPaddingIsNeverSet)
{
    // 1000 0110  1010 0000: bits 0, 5, 6, 8 and 10 are one.
    const unsigned char bytes[] = {0x86, 0xA0};
    const std::pair<int, std::vector<int>> cases[] = {
        {5, {0, 5, 6, 8, 10}}, {6, {0, 5, 6, 8}}, // bit 10 is padding now
    };
    for (const auto &[unusedBits, set] : cases) {
        const tavik::BitSetPtr bits(tavik_bitset_new(bytes, sizeof bytes, unusedBits));
        ASSERT_TRUE(bits);
        for (int i = -1; i <= 16; ++i)
            EXPECT_EQ(tavik_bitset_isset(bits.get(), i) != 0,
                      std::find(set.begin(), set.end(), i) != set.end())
                << "bit " << i << " with " << unusedBits << " unused";
        int unused = -1;
        const BlobPtr data(tavik_bitset_getdata(bits.get(), &unused));
        ASSERT_TRUE(data);
        EXPECT_EQ(bytesOf(data), Bytes(bytes, bytes + 2));
        EXPECT_EQ(unused, unusedBits);
    }
    EXPECT_EQ(tavik_bitset_new(bytes, 1, 8), nullptr);
    EXPECT_EQ(tavik_bitset_new(nullptr, 1, 0), nullptr);
    EXPECT_EQ(tavik_bitset_new(bytes, 0, 3), nullptr);
}

TEST(Hex, UpperCaseTwoDigitsAByteInBothModes)
{
    Bytes all(256);
    std::string expected;
    for (int i = 0; i < 256; ++i) {
        all[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", i);
        expected += pair;
    }
    const std::pair<Bytes, std::string> cases[] = {
        {{}, ""}, {{0x0A, 0xF0}, "0AF0"}, {all, expected}};
    for (const int mode : {0, 1}) {
        for (const auto &[bytes, hex] : cases) {
            char *out = nullptr;
            std::size_t length = 99;
            ASSERT_EQ(tavik_hexencode(mode, bytes.data(), bytes.size(), &out, &length), 1);
            const TextPtr owned(out);
            EXPECT_EQ(std::string(out), hex) << "mode " << mode;
            EXPECT_EQ(length, hex.size());
        }
    }
    char *out = nullptr;
    EXPECT_NE(tavik_hexencode(0, nullptr, 3, &out, nullptr), 1);
    EXPECT_NE(tavik_hexencode(2, all.data(), 1, &out, nullptr), 1);
    EXPECT_EQ(out, nullptr);
}

} // namespace
