// The toolkit's certificate-structure objects and the internal constructors
// that one family uses to hand out objects of another. Never installed.
//
// Every object either owns copies of what it shows or shares, through a
// std::shared_ptr, the parsed structure it points into; it counts as one live
// object while it exists, and is made and released only through
// newObject/freeObject.
#pragma once

#include <openssl/asn1.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "general_names.hpp"
#include "internal.hpp"
#include "name_items.hpp"
#include "values.hpp"

namespace tavik::detail {

using AlgorPtr = OsslPtr<X509_ALGOR, X509_ALGOR_free>;
using NamePtr = OsslPtr<X509_NAME, X509_NAME_free>;

// ---- Strings (ustring.cpp) ----

// A new string from code points; null on failure.
tavik_ustring *newUString(std::u32string text) noexcept;
// The text of any ASN.1 string type (UTF8, BMP, Universal, Printable, IA5,
// Visible, Numeric, Teletex read as Latin-1). Bytes that break a byte-wise
// type's character set are shown as UTF-8, else Latin-1; null for other
// types, NUL, and malformed BMP or Universal content.
tavik_ustring *newUString(const ASN1_STRING *string) noexcept;
// The string inside an ANY; null for the types that hold none (BOOLEAN,
// OBJECT IDENTIFIER, NULL).
inline const ASN1_STRING *stringOf(const ASN1_TYPE *value) noexcept
{
    if (!value || value->type == V_ASN1_BOOLEAN || value->type == V_ASN1_OBJECT ||
        value->type == V_ASN1_NULL)
        return nullptr;
    return value->value.asn1_string;
}

// Decoded values are parsed once: a handle given out for part of another
// holds that part and keeps the whole alive, instead of a copy.
template <class T> using Shared = std::shared_ptr<const T>;

template <class T, class Whole> Shared<T> partOf(const Shared<Whole> &whole, const T *part) noexcept
{
    return part ? Shared<T>(whole, part) : nullptr;
}

// ---- Names (names.cpp) ----

// A name over a parsed one it shares.
tavik_cert_dn *newDn(std::shared_ptr<const NAME_RDNS> rdns) noexcept;
// OpenSSL's form of a name, for its printer and comparisons; null when
// OpenSSL refuses one of its values.
NamePtr x509NameOf(const NAME_RDNS *rdns) noexcept;
// One RDN over a parsed SET it shares.
tavik_cert_rdn *newRdn(Shared<NAME_RDN> rdn) noexcept;
// inSubtree: the name is the base of a name-constraint subtree, where an IP
// address carries its mask.
tavik_cert_generalname *newGeneralName(Shared<GEN_NAME> name, bool inSubtree = false) noexcept;
tavik_cert_generalnames *newGeneralNames(Shared<GEN_NAMES> names) noexcept;
tavik_cert_generalsubtrees *newGeneralSubtrees(Shared<SUBTREES> subtrees) noexcept;

// ---- Certificate fields (fields.cpp) ----

tavik_cert_algorithmid *newAlgorithmId(const X509_ALGOR *alg) noexcept;

} // namespace tavik::detail
