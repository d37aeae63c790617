// Times: UTC calendar values, read from ASN.1 UTCTime or GeneralizedTime
//   Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }
// and converted to the process time zone on request.
#include <openssl/asn1.h>

#include <chrono>
#include <ctime>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <tuple>

#include "internal.hpp"
#include "values.hpp"

namespace {

constexpr int kMinYear = 0;
constexpr int kMaxYear = 9999;

std::chrono::year_month_day dateOf(const tavik_time_st &t)
{
    return std::chrono::year{t.year} / t.month / t.day;
}

// Follows changes of TZ as localtime() would, but calls tzset() only when TZ
// differs from what this thread last saw: with TZ unset, glibc's tzset()
// stats /etc/localtime on every call, a tenth of the detail rows' time.
void followTimeZone()
{
    thread_local bool known = false, hadZone = false;
    thread_local std::string zone;
    const char *now = std::getenv("TZ");
    if (known && hadZone == (now != nullptr) && (!now || zone == now))
        return;
    tzset();
    known = true;
    hadZone = now != nullptr;
    zone = now ? now : "";
}

bool isValid(const tavik_time_st &t)
{
    return t.year >= kMinYear && t.year <= kMaxYear && t.month >= 1 && t.month <= 12 &&
           dateOf(t).ok() && t.hour >= 0 && t.hour <= 23 && t.minute >= 0 && t.minute <= 59 &&
           t.second >= 0 && t.second <= 59;
}

} // namespace

namespace tavik::detail {

std::int64_t toEpoch(const tavik_time_st &t) noexcept
{
    const auto day = std::chrono::sys_days(dateOf(t)).time_since_epoch();
    return std::chrono::seconds(day).count() + t.hour * 3600 + t.minute * 60 + t.second;
}

tavik_time *newTime(const tavik_time_st &value) noexcept
{
    if (!isValid(value))
        return nullptr;
    return newObject<tavik_time_st>(value);
}

std::optional<tavik_time_st> readTime(const ASN1_TIME *time) noexcept
{
    // ASN1_TIME_to_tm reads the current time for a null argument.
    if (!time)
        return std::nullopt;
    std::tm tm{};
    if (!ASN1_TIME_to_tm(time, &tm))
        return std::nullopt;
    const tavik_time_st value{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday,
                              tm.tm_hour,        tm.tm_min,     tm.tm_sec};
    if (!isValid(value))
        return std::nullopt;
    return value;
}

tavik_time *newTime(const ASN1_TIME *time) noexcept
{
    const auto value = readTime(time);
    return value ? newTime(*value) : nullptr;
}

std::optional<tavik_time_st> readTime(const char *text) noexcept
{
    if (!text || std::strlen(text) != 15 || text[14] != 'Z')
        return std::nullopt;
    int field[6] = {};
    for (int i = 0; i < 14; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return std::nullopt;
        // The year's four digits, then two for each later field.
        int &to = field[i < 4 ? 0 : (i - 4) / 2 + 1];
        to = to * 10 + (text[i] - '0');
    }
    const tavik_time_st value{field[0], field[1], field[2], field[3], field[4], field[5]};
    if (!isValid(value))
        return std::nullopt;
    return value;
}

} // namespace tavik::detail

extern "C" {

tavik_time *tavik_time_new(int year, int month, int day, int hour, int minute, int second)
{
    return tavik::detail::newTime(tavik_time_st{year, month, day, hour, minute, second});
}

tavik_time *tavik_time_dup(const tavik_time *t)
{
    return t ? tavik::detail::newTime(*t) : nullptr;
}

void tavik_time_free(tavik_time *t)
{
    tavik::detail::freeObject(t);
}

int tavik_time_getyear(const tavik_time *t)
{
    return t ? t->year : -1;
}
int tavik_time_getmonth(const tavik_time *t)
{
    return t ? t->month : -1;
}
int tavik_time_getday(const tavik_time *t)
{
    return t ? t->day : -1;
}
int tavik_time_gethour(const tavik_time *t)
{
    return t ? t->hour : -1;
}
int tavik_time_getminute(const tavik_time *t)
{
    return t ? t->minute : -1;
}
int tavik_time_getsecond(const tavik_time *t)
{
    return t ? t->second : -1;
}

int tavik_time_cmp(const tavik_time *a, const tavik_time *b)
{
    if (!a || !b)
        return -2;
    const auto key = [](const tavik_time *t) {
        return std::tie(t->year, t->month, t->day, t->hour, t->minute, t->second);
    };
    const auto ka = key(a);
    const auto kb = key(b);
    return ka < kb ? -1 : (kb < ka ? 1 : 0);
}

tavik_time *tavik_time_utc2local(const tavik_time *t)
{
    if (!t)
        return nullptr;
    const std::int64_t seconds = tavik::detail::toEpoch(*t);
    const auto clock = static_cast<std::time_t>(seconds);
    if (static_cast<std::int64_t>(clock) != seconds)
        return nullptr;
    followTimeZone();
    std::tm local{};
    if (!localtime_r(&clock, &local))
        return nullptr;
    // Years past 9999 in the local zone have no calendar value here.
    return tavik::detail::newTime(tavik_time_st{local.tm_year + 1900, local.tm_mon + 1,
                                                local.tm_mday, local.tm_hour, local.tm_min,
                                                local.tm_sec});
}

} // extern "C"
