// Internal constructors of the certificate and value families, for the
// toolkit's own sources; never installed.
#pragma once

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/x509.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "internal.hpp"

// A UTC calendar value.
struct tavik_time_st {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
};

namespace tavik::detail {

// Seconds since 1970-01-01T00:00:00Z of a calendar value (proleptic
// Gregorian, 64-bit: years 0..9999 never overflow).
std::int64_t toEpoch(const tavik_time_st &t) noexcept;

// Null on failure (including a time OpenSSL cannot read).
tavik_time *newTime(const tavik_time_st &value) noexcept;
tavik_time *newTime(const ASN1_TIME *time) noexcept;
std::optional<tavik_time_st> readTime(const ASN1_TIME *time) noexcept;
// YYYYMMDDHHMMSSZ and nothing else, as a real calendar moment.
std::optional<tavik_time_st> readTime(const char *text) noexcept;

tavik_biginteger *newBigInt(const BIGNUM *value) noexcept;
tavik_biginteger *newBigInt(const ASN1_INTEGER *value) noexcept;

tavik_bitset *newBitSet(const ASN1_BIT_STRING *bits) noexcept;

// A zeroed array of count handles in the toolkit heap, released with
// TavikPKICertFreeCertPath. Null on failure.
TAVIK_CERT_st **newCertArray(std::size_t count) noexcept;

} // namespace tavik::detail
