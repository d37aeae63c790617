// Certificate fields: version, serial number, algorithm identifiers, issuer
// and subject, the signature value, unique identifiers, the encoding and the
// digests the viewer shows as thumbprints.
#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cert_data.hpp"
#include "extensions.hpp"
#include "internal.hpp"
#include "objects.hpp"
#include "values.hpp"

namespace {

using tavik::detail::BnPtr;
using tavik::detail::freeObject;
using tavik::detail::newObject;
using tavik::detail::OsslPtr;

using tavik::Asn1ValuePtr;

constexpr std::string_view kOidDsa = "1.2.840.10040.4.1";

tavik_data_blob *blobOf(const ASN1_STRING *string) noexcept
{
    if (!string)
        return nullptr;
    const int length = ASN1_STRING_length(string);
    if (length < 0)
        return nullptr;
    return tavik_data_blob_new(ASN1_STRING_get0_data(string), static_cast<std::size_t>(length));
}

// A magnitude copied into tavik_malloc memory, big-endian; zero is one 00.
tavik::BytesPtr copyOut(const BIGNUM *value, int &length) noexcept
{
    const int size = std::max(BN_num_bytes(value), 1);
    tavik::BytesPtr out(static_cast<unsigned char *>(
        tavik_malloc(static_cast<std::size_t>(size), __FILE__, __LINE__)));
    if (out && BN_bn2binpad(value, out.get(), size) == size) {
        length = size;
        return out;
    }
    return nullptr;
}

//   Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }
struct DSS_PARMS {
    ASN1_INTEGER *p;
    ASN1_INTEGER *q;
    ASN1_INTEGER *g;
};
ASN1_SEQUENCE(DSS_PARMS) = {
    ASN1_SIMPLE(DSS_PARMS, p, ASN1_INTEGER),
    ASN1_SIMPLE(DSS_PARMS, q, ASN1_INTEGER),
    ASN1_SIMPLE(DSS_PARMS, g, ASN1_INTEGER),
} ASN1_SEQUENCE_END(DSS_PARMS)

using EcdsaSigPtr = OsslPtr<ECDSA_SIG, ECDSA_SIG_free>;

// An implementation fetched once: EVP_md5() and the like make EVP_Digest
// look their implementation up again on every call, which costs more than
// hashing a certificate. Kept for the life of the process.
const EVP_MD *fetched(const char *name) noexcept
{
    return EVP_MD_fetch(nullptr, name, nullptr);
}

int digest(const EVP_MD *md, const unsigned char *data, size_t length, unsigned char *out,
           size_t *outlength) noexcept
{
    if ((!data && length) || !out || !outlength || length > static_cast<size_t>(INT_MAX))
        return TAVIK_ERR_ARGUMENT;
    const int size = md ? EVP_MD_get_size(md) : -1;
    if (size <= 0)
        return TAVIK_ERR_VERIFY;
    if (*outlength < static_cast<size_t>(size))
        return TAVIK_ERR_ARGUMENT;
    const unsigned char empty = 0;
    unsigned int written = 0;
    if (EVP_Digest(data ? data : &empty, length, out, &written, md, nullptr) != 1)
        return TAVIK_ERR_VERIFY;
    *outlength = written;
    return 1;
}

const tavik::detail::CERT_TBS *tbsOf(const TAVIK_CERT_st *cert) noexcept
{
    return cert ? &cert->data->tbs() : nullptr;
}

} // namespace

struct tavik_cert_algorithmid_st {
    std::string oid;
    bool hasParams;
    bool nullParam;
    std::vector<unsigned char> params; // DER, when present
};

struct tavik_cert_dssparams_st {
    BnPtr p;
    BnPtr q;
    BnPtr g;
};

namespace tavik::detail {

//   AlgorithmIdentifier ::= SEQUENCE {
//       algorithm OBJECT IDENTIFIER, parameters ANY DEFINED BY algorithm OPTIONAL }
tavik_cert_algorithmid *newAlgorithmId(const X509_ALGOR *alg) noexcept
{
    if (!alg)
        return nullptr;
    return tavik::detail::guard<tavik_cert_algorithmid *>(
        nullptr, [&]() -> tavik_cert_algorithmid * {
            const tavik::TextPtr oid(tavik::detail::dottedOid(alg->algorithm));
            if (!oid)
                return nullptr;
            const ASN1_TYPE *param = alg->parameter;
            std::vector<unsigned char> params;
            if (param) {
                auto encoded = tavik::detail::encode(param, i2d_ASN1_TYPE);
                if (!encoded)
                    return nullptr;
                params = std::move(*encoded);
            }
            return newObject<tavik_cert_algorithmid_st>(std::string(oid.get()), param != nullptr,
                                                        param && param->type == V_ASN1_NULL,
                                                        std::move(params));
        });
}

} // namespace tavik::detail

extern "C" {

//   version [0] EXPLICIT Version DEFAULT v1,  Version ::= INTEGER { v1(0), v2(1), v3(2) }
int tavik_cert_getversion(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    if (!tbs)
        return -1;
    const long version = tbs->version ? ASN1_INTEGER_get(tbs->version) : 0;
    return version >= 0 && version <= INT_MAX ? static_cast<int>(version) : -1;
}

//   serialNumber CertificateSerialNumber,  CertificateSerialNumber ::= INTEGER
int tavik_cert_getserialnumber_ex(TAVIK_CERT_st *cert, tavik_asn1_value **serial)
{
    const auto *tbs = tbsOf(cert);
    if (!tbs || !serial)
        return TAVIK_ERR_ARGUMENT;
    return tavik::detail::guard<int>(TAVIK_ERR_MEMORY, [&]() -> int {
        const auto encoded = tavik::detail::encode(tbs->serial, i2d_ASN1_INTEGER);
        if (!encoded)
            return TAVIK_ERR_VERIFY;
        tavik_asn1_value *raw = nullptr;
        const int status =
            tavik_asn1_mem_decode(encoded->data(), encoded->size(), TAVIK_ASN1_INTEGER, &raw);
        Asn1ValuePtr value(raw);
        if (status != 1)
            return status;
        if (!value || tavik_asn1_value_getencodedlength(value.get()) != encoded->size())
            return TAVIK_ERR_VERIFY;
        *serial = value.release();
        return 1;
    });
}

//   signature AlgorithmIdentifier, the field of tbsCertificate, which old
// certificates may set apart from the outer signatureAlgorithm.
tavik_cert_algorithmid *tavik_cert_getsignalgorithm(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    return tbs ? tavik::detail::newAlgorithmId(tbs->signature) : nullptr;
}

//   SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, ... }
tavik_cert_algorithmid *tavik_cert_getpubkeyalgorithm(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    return tbs ? tavik::detail::newAlgorithmId(tbs->spki->algorithm) : nullptr;
}

void tavik_cert_algorithmid_free(tavik_cert_algorithmid *alg)
{
    freeObject(alg);
}

char *tavik_cert_algorithmid_getoid(const tavik_cert_algorithmid *alg)
{
    return alg ? tavik::detail::dupText(alg->oid.data(), alg->oid.size()) : nullptr;
}

int tavik_cert_algorithmid_hasparams(const tavik_cert_algorithmid *alg)
{
    return alg && alg->hasParams ? 1 : 0;
}

int tavik_cert_algorithmid_hasnullparam(const tavik_cert_algorithmid *alg)
{
    return alg && alg->nullParam ? 1 : 0;
}

tavik_data_blob *tavik_cert_algorithmid_getparamsencode(const tavik_cert_algorithmid *alg)
{
    if (!alg || !alg->hasParams)
        return nullptr;
    return tavik_data_blob_new(alg->params.data(), alg->params.size());
}

// The parameters of id-dsa, Dss-Parms, each a non-negative integer.
tavik_cert_dssparams *tavik_cert_algorithmid_getdssparams(const tavik_cert_algorithmid *alg)
{
    if (!alg || alg->oid != kOidDsa || !alg->hasParams)
        return nullptr;
    using tavik::detail::magnitudeOf;
    const auto parms = tavik::detail::decodeItemDer<DSS_PARMS, DSS_PARMS_it>(alg->params.data(),
                                                                             alg->params.size());
    if (!parms)
        return nullptr;
    BnPtr p = magnitudeOf(parms->p);
    BnPtr q = magnitudeOf(parms->q);
    BnPtr g = magnitudeOf(parms->g);
    if (!p || !q || !g)
        return nullptr;
    return newObject<tavik_cert_dssparams_st>(std::move(p), std::move(q), std::move(g));
}

void tavik_cert_dssparams_free(tavik_cert_dssparams *params)
{
    freeObject(params);
}

tavik_biginteger *tavik_cert_dssparams_getp(const tavik_cert_dssparams *params)
{
    return params ? tavik::detail::newBigInt(params->p.get()) : nullptr;
}

tavik_biginteger *tavik_cert_dssparams_getq(const tavik_cert_dssparams *params)
{
    return params ? tavik::detail::newBigInt(params->q.get()) : nullptr;
}

tavik_biginteger *tavik_cert_dssparams_getg(const tavik_cert_dssparams *params)
{
    return params ? tavik::detail::newBigInt(params->g.get()) : nullptr;
}

//   issuer Name, subject Name
tavik_cert_dn *tavik_cert_getissuer(TAVIK_CERT_st *cert)
{
    return cert ? tavik::detail::newDn(tavik::detail::shareOf(cert, tbsOf(cert)->issuer)) : nullptr;
}

tavik_cert_dn *tavik_cert_getsubject(TAVIK_CERT_st *cert)
{
    return cert ? tavik::detail::newDn(tavik::detail::shareOf(cert, tbsOf(cert)->subject))
                : nullptr;
}

//   signatureValue BIT STRING
tavik_data_blob *tavik_cert_getsignvalue(TAVIK_CERT_st *cert)
{
    return cert ? blobOf(cert->data->fields().signature) : nullptr;
}

//   Dss-Sig-Value / ECDSA-Sig-Value / SM2Signature ::= SEQUENCE { r INTEGER, s INTEGER }
// all read by OpenSSL's own decoder of the pair.
int TavikPKICryptoDecodeECCSignature(const unsigned char *signature, int length, unsigned char **r,
                                     int *rlength, unsigned char **s, int *slength)
{
    if (!signature || length <= 0 || !r || !rlength || !s || !slength)
        return TAVIK_ERR_ARGUMENT;
    // d2i_ECDSA_SIG refuses negative and padded integers itself.
    const EcdsaSigPtr sig = tavik::detail::decodeDer<EcdsaSigPtr>(
        signature, static_cast<std::size_t>(length), d2i_ECDSA_SIG, i2d_ECDSA_SIG);
    if (!sig)
        return TAVIK_ERR_ARGUMENT;
    int rSize = 0, sSize = 0;
    tavik::BytesPtr rOut = copyOut(ECDSA_SIG_get0_r(sig.get()), rSize);
    tavik::BytesPtr sOut = copyOut(ECDSA_SIG_get0_s(sig.get()), sSize);
    if (!rOut || !sOut)
        return TAVIK_ERR_MEMORY;
    *rlength = rSize;
    *slength = sSize;
    *r = rOut.release();
    *s = sOut.release();
    return 1;
}

//   issuerUniqueID [1] IMPLICIT UniqueIdentifier OPTIONAL,
//   subjectUniqueID [2] IMPLICIT UniqueIdentifier OPTIONAL,  UniqueIdentifier ::= BIT STRING
int tavik_cert_hasissueruid(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    return tbs && tbs->issuerUid ? 1 : 0;
}

int tavik_cert_hassubjectuid(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    return tbs && tbs->subjectUid ? 1 : 0;
}

tavik_bitset *tavik_cert_getissueruid(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    return tavik::detail::newBitSet(tbs ? tbs->issuerUid : nullptr);
}

tavik_bitset *tavik_cert_getsubjectuid(TAVIK_CERT_st *cert)
{
    const auto *tbs = tbsOf(cert);
    return tavik::detail::newBitSet(tbs ? tbs->subjectUid : nullptr);
}

//   Certificate ::= SEQUENCE { tbsCertificate, signatureAlgorithm, signatureValue }
// The bytes it was read from, which the thumbprints hash.
tavik_data_blob *tavik_cert_encode(TAVIK_CERT_st *cert)
{
    return cert ? tavik_data_blob_new(cert->data->der(), cert->data->derLength()) : nullptr;
}

int tavik_crypto_md5(const unsigned char *data, size_t length, unsigned char *out,
                     size_t *outlength)
{
    static const EVP_MD *const md = fetched("MD5");
    return digest(md, data, length, out, outlength);
}

int tavik_crypto_sha1(const unsigned char *data, size_t length, unsigned char *out,
                      size_t *outlength)
{
    static const EVP_MD *const md = fetched("SHA1");
    return digest(md, data, length, out, outlength);
}

int tavik_crypto_sha256(const unsigned char *data, size_t length, unsigned char *out,
                        size_t *outlength)
{
    static const EVP_MD *const md = fetched("SHA256");
    return digest(md, data, length, out, outlength);
}

int tavik_crypto_sha512(const unsigned char *data, size_t length, unsigned char *out,
                        size_t *outlength)
{
    static const EVP_MD *const md = fetched("SHA512");
    return digest(md, data, length, out, outlength);
}

int tavik_crypto_sm3(const unsigned char *data, size_t length, unsigned char *out,
                     size_t *outlength)
{
    static const EVP_MD *const md = fetched("SM3");
    return digest(md, data, length, out, outlength);
}

} // extern "C"
