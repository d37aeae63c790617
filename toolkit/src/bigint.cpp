// Signed big integers (INTEGER values: serial numbers, path lengths, policy
// numbers) over BIGNUM.
#include <openssl/bn.h>
#include <openssl/crypto.h>

#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "internal.hpp"
#include "values.hpp"

namespace {

using tavik::detail::BnPtr;
using tavik::detail::OsslTextPtr;

} // namespace

struct tavik_biginteger_st {
    BnPtr value;
};

namespace {

tavik_biginteger *adopt(BnPtr value) noexcept
{
    return value ? tavik::detail::newObject<tavik_biginteger_st>(std::move(value)) : nullptr;
}

} // namespace

namespace tavik::detail {

tavik_biginteger *newBigInt(const BIGNUM *value) noexcept
{
    return value ? adopt(BnPtr(BN_dup(value))) : nullptr;
}

tavik_biginteger *newBigInt(const ASN1_INTEGER *value) noexcept
{
    return value ? adopt(BnPtr(ASN1_INTEGER_to_BN(value, nullptr))) : nullptr;
}

} // namespace tavik::detail

extern "C" {

tavik_biginteger *tavik_biginteger_new(const unsigned char *magnitude, size_t length, int negative)
{
    if ((!magnitude && length) || length > static_cast<size_t>(INT_MAX))
        return nullptr;
    BnPtr value(BN_bin2bn(magnitude, static_cast<int>(length), nullptr));
    if (!value)
        return nullptr;
    // BN_set_negative leaves zero unsigned.
    BN_set_negative(value.get(), negative ? 1 : 0);
    return adopt(std::move(value));
}

tavik_biginteger *tavik_biginteger_newint(int64_t value)
{
    // The magnitude as unsigned, so that INT64_MIN has one too.
    std::uint64_t magnitude = value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value)
                                        : static_cast<std::uint64_t>(value);
    std::array<unsigned char, 8> bytes{};
    for (auto it = bytes.rbegin(); it != bytes.rend(); ++it, magnitude >>= 8)
        *it = static_cast<unsigned char>(magnitude & 0xff);
    return tavik_biginteger_new(bytes.data(), bytes.size(), value < 0);
}

void tavik_biginteger_free(tavik_biginteger *n)
{
    tavik::detail::freeObject(n);
}

int tavik_biginteger_getbitcount(const tavik_biginteger *n)
{
    return n ? BN_num_bits(n->value.get()) : -1;
}

tavik_data_blob *tavik_biginteger_getdata(const tavik_biginteger *n)
{
    if (!n)
        return nullptr;
    const int size = BN_num_bytes(n->value.get());
    if (size == 0) {
        const unsigned char zero = 0;
        return tavik_data_blob_new(&zero, 1);
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    if (BN_bn2bin(n->value.get(), bytes.data()) != size)
        return nullptr;
    return tavik_data_blob_new(bytes.data(), bytes.size());
}

int tavik_biginteger_getsign(const tavik_biginteger *n)
{
    if (!n || BN_is_zero(n->value.get()))
        return 0;
    return BN_is_negative(n->value.get()) ? -1 : 1;
}

int tavik_biginteger_getvalue(const tavik_biginteger *n, int64_t *value)
{
    if (!n || !value)
        return 0;
    const BIGNUM *bn = n->value.get();
    const int bits = BN_num_bits(bn);
    if (bits > 64)
        return 0;
    std::array<unsigned char, 8> bytes{};
    if (BN_bn2binpad(bn, bytes.data(), static_cast<int>(bytes.size())) < 0)
        return 0;
    std::uint64_t magnitude = 0;
    for (const unsigned char b : bytes)
        magnitude = magnitude << 8 | b;
    constexpr std::uint64_t kLimit = std::uint64_t{1} << 63;
    if (BN_is_negative(bn)) {
        if (magnitude > kLimit)
            return 0;
        *value = magnitude == kLimit ? INT64_MIN : -static_cast<int64_t>(magnitude);
    } else {
        if (magnitude >= kLimit)
            return 0;
        *value = static_cast<int64_t>(magnitude);
    }
    return 1;
}

tavik_biginteger *tavik_biginteger_neg(const tavik_biginteger *n)
{
    if (!n)
        return nullptr;
    BnPtr value(BN_dup(n->value.get()));
    if (!value)
        return nullptr;
    BN_set_negative(value.get(), !BN_is_negative(n->value.get()));
    return adopt(std::move(value));
}

int tavik_biginteger_unsigned_todec(const tavik_biginteger *n, char **text, size_t *length)
{
    if (!n || !text)
        return 0;
    BnPtr magnitude(BN_dup(n->value.get()));
    if (!magnitude)
        return 0;
    BN_set_negative(magnitude.get(), 0);
    const OsslTextPtr dec(BN_bn2dec(magnitude.get()));
    if (!dec)
        return 0;
    char *copy = tavik::detail::dupText(dec.get());
    if (!copy)
        return 0;
    *text = copy;
    if (length)
        *length = std::strlen(copy);
    return 1;
}

} // extern "C"
