// Times, big integers, bit sets and hex text.
#include <gtest/gtest.h>

#include <algorithm>
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
using tavik::BitSetPtr;
using tavik::BlobPtr;
using tavik::TextPtr;
using tavik::TimePtr;

using Bytes = std::vector<unsigned char>;

struct Fields {
    int year, month, day, hour, minute, second;
    bool operator==(const Fields &) const = default;
};

std::ostream &operator<<(std::ostream &os, const Fields &f)
{
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", f.year, f.month, f.day,
                  f.hour, f.minute, f.second);
    return os << buffer;
}

TimePtr makeTime(const Fields &f)
{
    return TimePtr(tavik_time_new(f.year, f.month, f.day, f.hour, f.minute, f.second));
}

Fields fieldsOf(const tavik_time *t)
{
    return {tavik_time_getyear(t), tavik_time_getmonth(t),  tavik_time_getday(t),
            tavik_time_gethour(t), tavik_time_getminute(t), tavik_time_getsecond(t)};
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
    ScopedTimeZone(const ScopedTimeZone &) = delete;
    ScopedTimeZone &operator=(const ScopedTimeZone &) = delete;

  private:
    std::optional<std::string> m_old;
};

// ---- Times ----

TEST(Time, CalendarValuesAreCheckedWhenMade)
{
    const std::pair<Fields, bool> cases[] = {
        {{2024, 2, 29, 12, 0, 0}, true}, {{2023, 2, 29, 12, 0, 0}, false},
        {{2000, 2, 29, 0, 0, 0}, true},  {{1900, 2, 29, 0, 0, 0}, false},
        {{1950, 1, 1, 0, 0, 0}, true},   {{9999, 12, 31, 23, 59, 59}, true},
        {{10000, 1, 1, 0, 0, 0}, false}, {{2024, 13, 1, 0, 0, 0}, false},
        {{2024, 0, 1, 0, 0, 0}, false},  {{2024, 4, 31, 0, 0, 0}, false},
        {{2024, 1, 0, 0, 0, 0}, false},  {{2024, 1, 1, 24, 0, 0}, false},
        {{2024, 1, 1, 0, 60, 0}, false}, {{2024, 1, 1, 0, 0, 60}, false},
        {{2024, 1, 1, -1, 0, 0}, false},
    };
    for (const auto &[f, valid] : cases) {
        const TimePtr t = makeTime(f);
        EXPECT_EQ(t != nullptr, valid) << f;
        if (t) {
            EXPECT_EQ(fieldsOf(t.get()), f);
        }
    }
}

TEST(Time, CompareOrdersEveryField)
{
    const Fields base{2024, 6, 15, 12, 30, 30};
    const Fields later[] = {
        {2025, 1, 1, 0, 0, 0},   {2024, 7, 1, 0, 0, 0},    {2024, 6, 16, 0, 0, 0},
        {2024, 6, 15, 13, 0, 0}, {2024, 6, 15, 12, 31, 0}, {2024, 6, 15, 12, 30, 31},
    };
    const TimePtr a = makeTime(base);
    ASSERT_TRUE(a);
    for (const auto &f : later) {
        const TimePtr b = makeTime(f);
        ASSERT_TRUE(b) << f;
        EXPECT_EQ(tavik_time_cmp(a.get(), b.get()), -1) << f;
        EXPECT_EQ(tavik_time_cmp(b.get(), a.get()), 1) << f;
    }
    const TimePtr same = makeTime(base);
    EXPECT_EQ(tavik_time_cmp(a.get(), same.get()), 0);
    EXPECT_EQ(tavik_time_cmp(a.get(), nullptr), -2);
    EXPECT_EQ(tavik_time_cmp(nullptr, a.get()), -2);
}

TEST(Time, DuplicateIsAnEqualIndependentValue)
{
    TimePtr original = makeTime({1999, 12, 31, 23, 59, 58});
    ASSERT_TRUE(original);
    const TimePtr copy(tavik_time_dup(original.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), original.get());
    EXPECT_EQ(tavik_time_cmp(copy.get(), original.get()), 0);
    original.reset();
    EXPECT_EQ(fieldsOf(copy.get()), (Fields{1999, 12, 31, 23, 59, 58}));
    EXPECT_EQ(tavik_time_dup(nullptr), nullptr);
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
        {"Asia/Shanghai", {2024, 2, 28, 16, 0, 0}, {2024, 2, 29, 0, 0, 0}},
        {"Asia/Shanghai", {2100, 1, 1, 0, 0, 0}, {2100, 1, 1, 8, 0, 0}},
        {"America/New_York", {2024, 7, 1, 12, 0, 0}, {2024, 7, 1, 8, 0, 0}},
        {"America/New_York", {2024, 1, 15, 12, 0, 0}, {2024, 1, 15, 7, 0, 0}},
        {"America/New_York", {2024, 3, 1, 2, 0, 0}, {2024, 2, 29, 21, 0, 0}},
        {"UTC", {1950, 1, 1, 0, 0, 0}, {1950, 1, 1, 0, 0, 0}},
        {"UTC", {9999, 12, 31, 23, 59, 59}, {9999, 12, 31, 23, 59, 59}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.zone));
        const ScopedTimeZone zone(c.zone);
        const TimePtr utc = makeTime(c.utc);
        ASSERT_TRUE(utc);
        const TimePtr local(tavik_time_utc2local(utc.get()));
        ASSERT_TRUE(local) << c.utc;
        EXPECT_EQ(fieldsOf(local.get()), c.local) << c.utc;
    }
    EXPECT_EQ(tavik_time_utc2local(nullptr), nullptr);
}

// ---- Big integers ----

struct BigCase {
    const char *label;
    BigIntPtr (*make)();
    Bytes magnitude;
    int sign;
    const char *decimal;
    std::optional<std::int64_t> value;
    int bits;
};

const Bytes kTwenty{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20};

const BigCase kBigCases[] = {
    {"zero", [] { return BigIntPtr(tavik_biginteger_newint(0)); }, {0x00}, 0, "0", 0, 0},
    {"empty magnitude",
     [] { return BigIntPtr(tavik_biginteger_new(nullptr, 0, 1)); },
     {0x00},
     0,
     "0",
     0,
     0},
    {"255", [] { return BigIntPtr(tavik_biginteger_newint(255)); }, {0xFF}, 1, "255", 255, 8},
    {"-256",
     [] { return BigIntPtr(tavik_biginteger_newint(-256)); },
     {0x01, 0x00},
     -1,
     "256",
     -256,
     9},
    {"leading zeros",
     [] {
         const unsigned char b[] = {0, 0, 0x01, 0x00};
         return BigIntPtr(tavik_biginteger_new(b, sizeof b, 0));
     },
     {0x01, 0x00},
     1,
     "256",
     256,
     9},
    {"20 bytes", [] { return BigIntPtr(tavik_biginteger_new(kTwenty.data(), kTwenty.size(), 0)); },
     kTwenty, 1, "5753854965885600108575829560559299546819203860", std::nullopt, 153},
    {"negative 20 bytes",
     [] { return BigIntPtr(tavik_biginteger_new(kTwenty.data(), kTwenty.size(), 1)); }, kTwenty, -1,
     "5753854965885600108575829560559299546819203860", std::nullopt, 153},
    {"INT64_MIN",
     [] { return BigIntPtr(tavik_biginteger_newint(INT64_MIN)); },
     {0x80, 0, 0, 0, 0, 0, 0, 0},
     -1,
     "9223372036854775808",
     INT64_MIN,
     64},
    {"2^63",
     [] {
         const unsigned char b[] = {0x80, 0, 0, 0, 0, 0, 0, 0};
         return BigIntPtr(tavik_biginteger_new(b, sizeof b, 0));
     },
     {0x80, 0, 0, 0, 0, 0, 0, 0},
     1,
     "9223372036854775808",
     std::nullopt,
     64},
    {"INT64_MAX",
     [] { return BigIntPtr(tavik_biginteger_newint(INT64_MAX)); },
     {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
     1,
     "9223372036854775807",
     INT64_MAX,
     63},
};

TEST(BigInteger, MagnitudeSignDecimalAndValue)
{
    for (const auto &c : kBigCases) {
        SCOPED_TRACE(c.label);
        const BigIntPtr n = c.make();
        ASSERT_TRUE(n);
        const BlobPtr data(tavik_biginteger_getdata(n.get()));
        ASSERT_TRUE(data);
        EXPECT_EQ(Bytes(data->data, data->data + data->length), c.magnitude);
        EXPECT_EQ(tavik_biginteger_getsign(n.get()), c.sign);
        EXPECT_EQ(tavik_biginteger_getbitcount(n.get()), c.bits);

        char *text = nullptr;
        std::size_t length = 0;
        ASSERT_EQ(tavik_biginteger_unsigned_todec(n.get(), &text, &length), 1);
        const TextPtr owned(text);
        EXPECT_EQ(std::string(text), c.decimal);
        EXPECT_EQ(length, std::string(c.decimal).size());

        std::int64_t value = 42;
        EXPECT_EQ(tavik_biginteger_getvalue(n.get(), &value) == 1, c.value.has_value());
        EXPECT_EQ(value, c.value.value_or(42)) << "written on failure";
    }
}

TEST(BigInteger, NegationFlipsTheSignAndKeepsTheMagnitude)
{
    for (const auto &c : kBigCases) {
        SCOPED_TRACE(c.label);
        const BigIntPtr n = c.make();
        ASSERT_TRUE(n);
        const BigIntPtr negated(tavik_biginteger_neg(n.get()));
        ASSERT_TRUE(negated);
        EXPECT_EQ(tavik_biginteger_getsign(negated.get()), -c.sign);
        EXPECT_EQ(tavik_biginteger_getsign(n.get()), c.sign) << "the original changed";
        const BlobPtr data(tavik_biginteger_getdata(negated.get()));
        ASSERT_TRUE(data);
        EXPECT_EQ(Bytes(data->data, data->data + data->length), c.magnitude);
        const BigIntPtr back(tavik_biginteger_neg(negated.get()));
        EXPECT_EQ(tavik_biginteger_getsign(back.get()), c.sign);
    }
    const BigIntPtr minusOne(tavik_biginteger_newint(-1));
    const BigIntPtr one(tavik_biginteger_neg(minusOne.get()));
    std::int64_t value = 0;
    ASSERT_EQ(tavik_biginteger_getvalue(one.get(), &value), 1);
    EXPECT_EQ(value, 1);
}

TEST(BigInteger, NullArgumentsFail)
{
    char *text = nullptr;
    std::int64_t value = 0;
    const BigIntPtr n(tavik_biginteger_newint(5));
    EXPECT_EQ(tavik_biginteger_new(nullptr, 3, 0), nullptr);
    EXPECT_EQ(tavik_biginteger_getdata(nullptr), nullptr);
    EXPECT_EQ(tavik_biginteger_neg(nullptr), nullptr);
    EXPECT_NE(tavik_biginteger_unsigned_todec(nullptr, &text, nullptr), 1);
    EXPECT_NE(tavik_biginteger_unsigned_todec(n.get(), nullptr, nullptr), 1);
    EXPECT_NE(tavik_biginteger_getvalue(nullptr, &value), 1);
}

// ---- Bit sets ----

TEST(BitSet, BitZeroIsTheFirstBitAndPaddingIsNeverSet)
{
    // 1000 0110  1010 0000: bits 0, 5, 6, 8 and 10 are one.
    const unsigned char bytes[] = {0x86, 0xA0};
    struct Case {
        int unused;
        std::vector<int> set; // of indexes -1 .. 16
    };
    const Case cases[] = {
        {5, {0, 5, 6, 8, 10}}, // eleven bits
        {6, {0, 5, 6, 8}},     // bit 10 is padding now
        {0, {0, 5, 6, 8, 10}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.unused);
        const BitSetPtr set(tavik_bitset_new(bytes, sizeof bytes, c.unused));
        ASSERT_TRUE(set);
        for (int i = -1; i <= 16; ++i) {
            const bool expected = std::find(c.set.begin(), c.set.end(), i) != c.set.end();
            EXPECT_EQ(tavik_bitset_isset(set.get(), i) != 0, expected) << "bit " << i;
        }
        int unused = -1;
        const BlobPtr data(tavik_bitset_getdata(set.get(), &unused));
        ASSERT_TRUE(data);
        EXPECT_EQ(Bytes(data->data, data->data + data->length), Bytes(bytes, bytes + 2));
        EXPECT_EQ(unused, c.unused);
    }
}

TEST(BitSet, InvalidShapesAreRefusedAndEmptyHasNoBits)
{
    const unsigned char byte = 0xFF;
    EXPECT_EQ(tavik_bitset_new(&byte, 1, 8), nullptr);
    EXPECT_EQ(tavik_bitset_new(&byte, 1, -1), nullptr);
    EXPECT_EQ(tavik_bitset_new(nullptr, 1, 0), nullptr);
    EXPECT_EQ(tavik_bitset_new(&byte, 0, 3), nullptr);

    const BitSetPtr empty(tavik_bitset_new(nullptr, 0, 0));
    ASSERT_TRUE(empty);
    EXPECT_EQ(tavik_bitset_isset(empty.get(), 0), 0);
    const BlobPtr data(tavik_bitset_getdata(empty.get(), nullptr));
    ASSERT_TRUE(data);
    EXPECT_EQ(data->length, 0u);
    EXPECT_EQ(tavik_bitset_isset(nullptr, 0), 0);
}

// ---- Hex ----

std::optional<std::string> hex(int mode, const Bytes &bytes)
{
    char *out = nullptr;
    std::size_t length = 99;
    if (tavik_hexencode(mode, bytes.data(), bytes.size(), &out, &length) != 1)
        return std::nullopt;
    const TextPtr owned(out);
    EXPECT_EQ(length, bytes.size() * 2);
    return std::string(out);
}

TEST(Hex, UpperCaseTwoDigitsAByteInBothModes)
{
    const std::pair<Bytes, const char *> cases[] = {
        {{}, ""},
        {{0x00}, "00"},
        {{0x0A, 0xF0, 0x5C}, "0AF05C"},
        {{0xDE, 0xAD, 0xBE, 0xEF}, "DEADBEEF"},
    };
    for (const int mode : {0, 1})
        for (const auto &[bytes, expected] : cases)
            EXPECT_EQ(hex(mode, bytes), expected) << "mode " << mode;

    Bytes all(256);
    std::string expected;
    for (int i = 0; i < 256; ++i) {
        all[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", i);
        expected += pair;
    }
    EXPECT_EQ(hex(0, all), expected);
}

TEST(Hex, BadArgumentsFail)
{
    const unsigned char byte = 1;
    char *out = nullptr;
    std::size_t length = 0;
    EXPECT_NE(tavik_hexencode(0, nullptr, 3, &out, &length), 1);
    EXPECT_NE(tavik_hexencode(0, &byte, 1, nullptr, &length), 1);
    EXPECT_NE(tavik_hexencode(2, &byte, 1, &out, &length), 1);
    EXPECT_EQ(out, nullptr);
}

} // namespace
