// The toolkit's strict DER reader, shared by the ASN.1 values, the streams
// and the converters that walk structures by hand. Never installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tavik_pki.h"

// A decoded primitive value: what was read, kept as a copy.
struct tavik_asn1_value_st {
    int type;
    std::vector<unsigned char> content;
    std::size_t encodedLength; // identifier, length and content octets as read
};

namespace tavik::detail::asn1 {

using Bytes = std::span<const unsigned char>;

// Lengths and tag numbers must fit an int (2^31 - 1).
inline constexpr std::size_t kMaxLength = 0x7fffffff;

struct Identifier {
    int cls; // TAVIK_ASN1_CLASS_*
    bool constructed;
    int tag;
};

// Each reader starts at pos and, on success only, moves pos past what it read.
bool readIdentifier(Bytes bytes, std::size_t &pos, Identifier &id) noexcept;

enum class LengthForm { Definite, Indefinite, Bad };
LengthForm readLength(Bytes bytes, std::size_t &pos, std::size_t &length) noexcept;

struct Tlv {
    Identifier id;
    Bytes content;
    Bytes encoding; // the whole TLV
};

// One complete definite-length TLV at bytes[pos]; pos moves past it.
std::optional<Tlv> readTlv(Bytes bytes, std::size_t &pos) noexcept;

// The universal tag number of a type code; -1 for an unknown code.
int universalTag(int type) noexcept;

// Whether content is well formed for the type code.
bool contentValid(int type, Bytes content) noexcept;

// A primitive universal value of the type code at bytes[pos].
std::optional<Tlv> readTyped(Bytes bytes, std::size_t &pos, int type) noexcept;

// The value of INTEGER content octets when it fits 64 bits.
std::optional<std::int64_t> integerValue(Bytes content) noexcept;

// A new value object (counted); null on failure.
tavik_asn1_value *newValue(int type, Bytes content, std::size_t encodedLength) noexcept;

} // namespace tavik::detail::asn1
