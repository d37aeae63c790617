// Raw values that must be exactly one TLV of a type, as the configured
// decoders and the other-name forms read them.
#pragma once

#include "tavik_ptr.hpp"

namespace pkiui {

// The decoded value; null when decoding fails or bytes trail the TLV.
tavik::Asn1ValuePtr decodeWhole(const tavik_data_blob &value, int type);

// The content octets of such a value of a string type; null otherwise.
tavik::BlobPtr contentOf(const tavik_data_blob &value, int type);

} // namespace pkiui
