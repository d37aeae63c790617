// Bit sets: the value of a BIT STRING,
//   BIT STRING ::= unused-bit count (0..7), then the bytes,
// with bit 0 the most significant bit of the first byte.
#include <openssl/asn1.h>

#include <climits>
#include <new>
#include <vector>

#include "internal.hpp"
#include "values.hpp"

struct tavik_bitset_st {
    std::vector<unsigned char> bytes;
    int unusedBits;
};

namespace tavik::detail {

tavik_bitset *newBitSet(const ASN1_BIT_STRING *bits) noexcept
{
    if (!bits)
        return nullptr;
    const long flags = bits->flags;
    // A decoded BIT STRING remembers its pad count; a built one has none.
    const int unused = (flags & ASN1_STRING_FLAG_BITS_LEFT) ? static_cast<int>(flags & 0x07) : 0;
    const int length = ASN1_STRING_length(bits);
    return tavik_bitset_new(ASN1_STRING_get0_data(bits),
                            length > 0 ? static_cast<size_t>(length) : 0, length > 0 ? unused : 0);
}

} // namespace tavik::detail

extern "C" {

tavik_bitset *tavik_bitset_new(const unsigned char *data, size_t length, int unusedbits)
{
    if ((!data && length) || unusedbits < 0 || unusedbits > 7 || (length == 0 && unusedbits))
        return nullptr;
    // Bit indexes are ints.
    if (length > static_cast<size_t>(INT_MAX / 8))
        return nullptr;
    return tavik::detail::guard<tavik_bitset *>(nullptr, [&] {
        return tavik::detail::newObject<tavik_bitset_st>(
            std::vector<unsigned char>(data, data + length), unusedbits);
    });
}

void tavik_bitset_free(tavik_bitset *set)
{
    tavik::detail::freeObject(set);
}

int tavik_bitset_isset(const tavik_bitset *set, int index)
{
    if (!set || index < 0)
        return 0;
    const int count = static_cast<int>(set->bytes.size()) * 8 - set->unusedBits;
    if (index >= count)
        return 0;
    const unsigned char byte = set->bytes[static_cast<std::size_t>(index / 8)];
    return (byte >> (7 - index % 8)) & 1;
}

tavik_data_blob *tavik_bitset_getdata(const tavik_bitset *set, int *unusedbits)
{
    if (!set)
        return nullptr;
    tavik_data_blob *blob = tavik_data_blob_new(set->bytes.data(), set->bytes.size());
    if (blob && unusedbits)
        *unusedbits = set->unusedBits;
    return blob;
}

} // extern "C"
