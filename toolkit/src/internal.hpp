// Shared by the toolkit's own sources; never installed.
#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/x509.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "tavik_pki.h"
#include "tavik_ptr.hpp"

namespace tavik::detail {
class CertData;
}

struct TAVIK_CERT_st {
    std::shared_ptr<const tavik::detail::CertData> data; // shared with duplicates
};

namespace tavik::detail {

// The live-object count: every handle and buffer handed out adds one, every
// release takes one.
void liveAdd() noexcept;
void liveRemove() noexcept;
long liveCount() noexcept;

// The toolkit's notion of now, which the tests' variant can pin (0 unpins).
std::time_t now() noexcept;
void pinNow(std::int64_t epochSeconds) noexcept;

// A new handle over a certificate's data; null on failure.
TAVIK_CERT_st *newCertHandle(std::shared_ptr<const CertData> data) noexcept;

// Copies bytes into a NUL-terminated toolkit buffer (freed with tavik_free).
char *dupText(const char *text, std::size_t length) noexcept;
char *dupText(const char *text) noexcept;

// Dotted text of an OID in the toolkit heap, numeric even for known OIDs;
// null on failure.
char *dottedOid(const ASN1_OBJECT *oid) noexcept;

// The one guard at the C boundary: an extern "C" body that runs out of
// memory (or throws anything else) returns the entry's failure value.
template <class R, class Body> R guard(R onFailure, Body &&body) noexcept
{
    try {
        return body();
    } catch (...) {
        return onFailure;
    }
}

// Every toolkit object is made and released through this pair, which keeps
// the live-object count.
template <class T, class... Args> T *newObject(Args &&...args) noexcept
{
    // Moving the arguments in may throw.
    T *object =
        guard<T *>(nullptr, [&] { return new (std::nothrow) T{std::forward<Args>(args)...}; });
    if (object)
        liveAdd();
    return object;
}

template <class T> void freeObject(T *object) noexcept
{
    if (!object)
        return;
    delete object;
    liveRemove();
}

// OpenSSL objects are owned like toolkit objects: tavik::Free over their
// free function. OPENSSL_free is a macro, hence the function.
inline void opensslFree(void *p) noexcept
{
    OPENSSL_free(p);
}
template <class T, void (*F)(T *)> using OsslPtr = std::unique_ptr<T, tavik::Free<F>>;
inline void x509StackFree(STACK_OF(X509) * sk) noexcept
{
    sk_X509_pop_free(sk, X509_free);
}
// A stack that only lends its certificates.
inline void x509ListFree(STACK_OF(X509) * sk) noexcept
{
    sk_X509_free(sk);
}
using X509Ptr = OsslPtr<X509, X509_free>;
using X509StackPtr = std::unique_ptr<STACK_OF(X509), tavik::Free<x509StackFree>>;
using X509ListPtr = std::unique_ptr<STACK_OF(X509), tavik::Free<x509ListFree>>;
using X509StorePtr = OsslPtr<X509_STORE, X509_STORE_free>;
using StoreCtxPtr = OsslPtr<X509_STORE_CTX, X509_STORE_CTX_free>;
using BioPtr = OsslPtr<BIO, BIO_free_all>;
using BnPtr = OsslPtr<BIGNUM, BN_free>;
using ObjectPtr = OsslPtr<ASN1_OBJECT, ASN1_OBJECT_free>;
using IntegerPtr = OsslPtr<ASN1_INTEGER, ASN1_INTEGER_free>;
using StringPtr = OsslPtr<ASN1_STRING, ASN1_STRING_free>;
using BitStringPtr = OsslPtr<ASN1_BIT_STRING, ASN1_BIT_STRING_free>;
using OctetPtr = OsslPtr<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;
using FilePtr = std::unique_ptr<std::FILE, tavik::Free<std::fclose>>;
using OsslBytesPtr = std::unique_ptr<unsigned char, tavik::Free<opensslFree>>;
using OsslTextPtr = std::unique_ptr<char, tavik::Free<opensslFree>>;

// The DER that i2d (an OpenSSL i2d function, or anything called the same
// way) writes for value; nullopt when it fails. May throw std::bad_alloc.
template <class T, class I2d>
std::optional<std::vector<unsigned char>> encode(const T *value, I2d i2d)
{
    if (!value)
        return std::nullopt;
    unsigned char *out = nullptr;
    const int length = i2d(value, &out);
    const OsslBytesPtr owned(out);
    if (length <= 0 || !out)
        return std::nullopt;
    return std::vector<unsigned char>(out, out + length);
}

// The value d2i reads from all of data, only when data is its DER encoding.
// OpenSSL's decoders also take BER (long or indefinite lengths, padded or
// negative integers read as magnitudes), so the value must write back the
// very same bytes: that one check keeps every structure strict.
template <class Ptr, class D2i, class I2d>
Ptr decodeDer(const unsigned char *data, std::size_t length, D2i d2i, I2d i2d) noexcept
{
    if (!data || length > static_cast<std::size_t>(LONG_MAX))
        return nullptr;
    const unsigned char *p = data;
    Ptr out(d2i(nullptr, &p, static_cast<long>(length)));
    if (!out || p != data + length)
        return nullptr;
    const bool same = guard(false, [&] {
        const auto again = encode(out.get(), i2d);
        return again && again->size() == length && std::equal(again->begin(), again->end(), data);
    });
    return same ? std::move(out) : nullptr;
}

// The same DER as a new blob; null on failure.
template <class T, class I2d> tavik_data_blob *encodeBlob(const T *value, I2d i2d) noexcept
{
    return guard<tavik_data_blob *>(nullptr, [&] {
        const auto bytes = encode(value, i2d);
        return bytes ? tavik_data_blob_new(bytes->data(), bytes->size()) : nullptr;
    });
}

} // namespace tavik::detail
