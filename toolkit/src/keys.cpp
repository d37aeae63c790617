// Public keys: the SubjectPublicKeyInfo, RSA moduli and exponents, EC points
// and domain parameters (SM2 included). The key is taken apart only here, when
// a caller asks for it, never while a certificate loads.
#include <openssl/asn1t.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cert_data.hpp"
#include "extensions.hpp"
#include "internal.hpp"
#include "objects.hpp"
#include "values.hpp"

namespace {

using tavik::detail::AlgorPtr;
using tavik::detail::BnPtr;
using tavik::detail::freeObject;
using tavik::detail::newObject;
using tavik::detail::OsslPtr;
using GroupPtr = OsslPtr<EC_GROUP, EC_GROUP_free>;
using PointPtr = OsslPtr<EC_POINT, EC_POINT_free>;

enum class KeyKind { Rsa, Ec, Sm2 };

struct KeyAlgorithm {
    int nid;
    KeyKind kind;
};

// SubjectPublicKeyInfo algorithms whose keys the toolkit reads. All three RSA
// identifiers carry an RSAPublicKey; SM2 keys come as id-ecPublicKey on the
// SM2 curve or, in some certificates, under the SM2 OID itself.
constexpr std::array<KeyAlgorithm, 5> kKeyAlgorithms{{
    {NID_rsaEncryption, KeyKind::Rsa},
    {NID_rsassaPss, KeyKind::Rsa},
    {NID_rsaesOaep, KeyKind::Rsa},
    {NID_X9_62_id_ecPublicKey, KeyKind::Ec},
    {NID_sm2, KeyKind::Sm2},
}};

constexpr bool uniqueNids()
{
    for (std::size_t i = 0; i < kKeyAlgorithms.size(); ++i)
        for (std::size_t j = i + 1; j < kKeyAlgorithms.size(); ++j)
            if (kKeyAlgorithms[i].nid == kKeyAlgorithms[j].nid)
                return false;
    return true;
}
static_assert(uniqueNids());

std::optional<KeyKind> keyKind(const ASN1_OBJECT *oid)
{
    const int nid = oid ? OBJ_obj2nid(oid) : NID_undef;
    const auto it = std::find_if(kKeyAlgorithms.begin(), kKeyAlgorithms.end(),
                                 [nid](const KeyAlgorithm &a) { return a.nid == nid; });
    return it != kKeyAlgorithms.end() ? std::optional(it->kind) : std::nullopt;
}

//   RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
// Read with this template rather than d2i_RSAPublicKey, which builds a
// (deprecated) RSA key object.
struct RSA_PUBLIC_KEY {
    ASN1_INTEGER *modulus;
    ASN1_INTEGER *exponent;
};
ASN1_SEQUENCE(RSA_PUBLIC_KEY) = {
    ASN1_SIMPLE(RSA_PUBLIC_KEY, modulus, ASN1_INTEGER),
    ASN1_SIMPLE(RSA_PUBLIC_KEY, exponent, ASN1_INTEGER),
} ASN1_SEQUENCE_END(RSA_PUBLIC_KEY)

} // namespace

//   SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier,
//                                       subjectPublicKey BIT STRING }
struct tavik_cert_pubkey_st {
    std::vector<unsigned char> encoding; // the whole SubjectPublicKeyInfo
    AlgorPtr algorithm;
    std::vector<unsigned char> key; // the subjectPublicKey bytes
};

struct tavik_crypto_rsakey_st {
    BnPtr modulus;
    BnPtr exponent;
};

struct tavik_ecc_domainparameters_st {
    GroupPtr group;
    std::string name; // empty for an unnamed curve
};

struct tavik_ecc_point_st {
    std::vector<unsigned char> octets; // as encoded in the certificate
};

struct tavik_ecc_pubkey_st {
    tavik_ecc_domainparameters_st params;
    tavik_ecc_point_st point;
};

namespace {

//   ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER,
//                             implicitCurve NULL, specifiedCurve SpecifiedECDomain }
// The curve's name comes from the encoding: explicit parameters stay unnamed
// even when they match a named curve.
std::optional<tavik_ecc_domainparameters_st> domainOf(const X509_ALGOR &alg, KeyKind kind)
{
    if (kind == KeyKind::Sm2) {
        GroupPtr group(EC_GROUP_new_by_curve_name(NID_sm2));
        const char *name = OBJ_nid2sn(NID_sm2);
        if (!group || !name)
            return std::nullopt;
        return tavik_ecc_domainparameters_st{std::move(group), name};
    }
    const ASN1_TYPE *param = alg.parameter;
    if (!param)
        return std::nullopt;
    if (param->type == V_ASN1_OBJECT) {
        const int nid = OBJ_obj2nid(param->value.object);
        const char *name = nid != NID_undef ? OBJ_nid2sn(nid) : nullptr;
        GroupPtr group(name ? EC_GROUP_new_by_curve_name(nid) : nullptr);
        if (!group)
            return std::nullopt;
        return tavik_ecc_domainparameters_st{std::move(group), name};
    }
    if (param->type != V_ASN1_SEQUENCE)
        return std::nullopt;
    const auto encoded = tavik::detail::encode(param, i2d_ASN1_TYPE);
    if (!encoded || encoded->size() > static_cast<std::size_t>(LONG_MAX))
        return std::nullopt;
    const unsigned char *p = encoded->data();
    GroupPtr group(d2i_ECPKParameters(nullptr, &p, static_cast<long>(encoded->size())));
    if (!group || p != encoded->data() + encoded->size())
        return std::nullopt;
    return tavik_ecc_domainparameters_st{std::move(group), std::string()};
}

// The point must lie on the curve and not be the point at infinity.
bool validPoint(const EC_GROUP *group, const std::vector<unsigned char> &octets)
{
    PointPtr point(EC_POINT_new(group));
    return point &&
           EC_POINT_oct2point(group, point.get(), octets.data(), octets.size(), nullptr) == 1 &&
           !EC_POINT_is_at_infinity(group, point.get());
}

} // namespace

extern "C" {

tavik_cert_pubkey *tavik_cert_getpubkey(TAVIK_CERT_st *cert)
{
    if (!cert)
        return nullptr;
    const tavik::detail::CERT_SPKI *spki = cert->data->tbs().spki;
    const unsigned char *key = ASN1_STRING_get0_data(spki->key);
    const int keyLength = ASN1_STRING_length(spki->key);
    if (keyLength < 0 || (!key && keyLength))
        return nullptr;
    return tavik::detail::guard<tavik_cert_pubkey *>(nullptr, [&]() -> tavik_cert_pubkey * {
        auto encoding = tavik::detail::encode(
            spki, [](const tavik::detail::CERT_SPKI *value, unsigned char **out) {
                return ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE *>(value), out,
                                     tavik::detail::CERT_SPKI_it());
            });
        AlgorPtr algorithm(X509_ALGOR_dup(spki->algorithm));
        if (!encoding || !algorithm)
            return nullptr;
        std::vector<unsigned char> bytes(key, key + keyLength);
        return newObject<tavik_cert_pubkey_st>(std::move(*encoding), std::move(algorithm),
                                               std::move(bytes));
    });
}

void tavik_cert_pubkey_free(tavik_cert_pubkey *key)
{
    freeObject(key);
}

tavik_data_blob *tavik_cert_pubkey_getencode(const tavik_cert_pubkey *key)
{
    return key ? tavik_data_blob_new(key->encoding.data(), key->encoding.size()) : nullptr;
}

//   RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
// under rsaEncryption, id-RSASSA-PSS and id-RSAES-OAEP alike.
tavik_crypto_rsakey *tavik_cert_pubkey_torsapubkey(const tavik_cert_pubkey *key)
{
    if (!key || keyKind(key->algorithm->algorithm) != KeyKind::Rsa)
        return nullptr;
    const auto value = tavik::detail::decodeItemDer<RSA_PUBLIC_KEY, RSA_PUBLIC_KEY_it>(
        key->key.data(), key->key.size());
    if (!value)
        return nullptr;
    BnPtr modulus = tavik::detail::magnitudeOf(value->modulus);
    BnPtr exponent = tavik::detail::magnitudeOf(value->exponent);
    if (!modulus || !exponent || BN_is_zero(modulus.get()) || BN_is_zero(exponent.get()))
        return nullptr;
    return newObject<tavik_crypto_rsakey_st>(std::move(modulus), std::move(exponent));
}

void tavik_crypto_rsakey_free(tavik_crypto_rsakey *key)
{
    freeObject(key);
}

tavik_biginteger *tavik_crypto_rsakey_getmodulus(const tavik_crypto_rsakey *key)
{
    return key ? tavik::detail::newBigInt(key->modulus.get()) : nullptr;
}

tavik_biginteger *tavik_crypto_rsakey_getpubexp(const tavik_crypto_rsakey *key)
{
    return key ? tavik::detail::newBigInt(key->exponent.get()) : nullptr;
}

//   ECPoint ::= OCTET STRING (the subjectPublicKey bytes: 04 || X || Y, or 02/03 || X)
tavik_ecc_pubkey *tavik_cert_pubkey_toeccpubkey(const tavik_cert_pubkey *key)
{
    const auto kind = key ? keyKind(key->algorithm->algorithm) : std::nullopt;
    if (kind != KeyKind::Ec && kind != KeyKind::Sm2)
        return nullptr;
    return tavik::detail::guard<tavik_ecc_pubkey *>(nullptr, [&]() -> tavik_ecc_pubkey * {
        auto params = domainOf(*key->algorithm, *kind);
        if (!params || !validPoint(params->group.get(), key->key))
            return nullptr;
        return newObject<tavik_ecc_pubkey_st>(std::move(*params), tavik_ecc_point_st{key->key});
    });
}

void tavik_ecc_freepubkey(tavik_ecc_pubkey *key)
{
    freeObject(key);
}

tavik_ecc_point *tavik_ecc_getpubkeypoint(const tavik_ecc_pubkey *key)
{
    if (!key)
        return nullptr;
    return tavik::detail::guard<tavik_ecc_point *>(nullptr, [&]() -> tavik_ecc_point * {
        return newObject<tavik_ecc_point_st>(key->point.octets);
    });
}

void tavik_ecc_freepoint(tavik_ecc_point *point)
{
    freeObject(point);
}

tavik_ecc_domainparameters *tavik_ecc_getdomainparametersfrompubkey(const tavik_ecc_pubkey *key)
{
    if (!key)
        return nullptr;
    return tavik::detail::guard<tavik_ecc_domainparameters *>(
        nullptr, [&]() -> tavik_ecc_domainparameters * {
            GroupPtr group(EC_GROUP_dup(key->params.group.get()));
            if (!group)
                return nullptr;
            return newObject<tavik_ecc_domainparameters_st>(std::move(group), key->params.name);
        });
}

void tavik_ecc_freedomainparameters(tavik_ecc_domainparameters *params)
{
    freeObject(params);
}

char *tavik_ecc_domainparameters_getname(const tavik_ecc_domainparameters *params)
{
    if (!params || params->name.empty())
        return nullptr;
    return tavik::detail::dupText(params->name.data(), params->name.size());
}

int tavik_ecc_domainparameters_getbits(const tavik_ecc_domainparameters *params)
{
    const int bits = params ? EC_GROUP_get_degree(params->group.get()) : 0;
    return bits > 0 ? bits : 0;
}

int tavik_ecc_encode_point(const tavik_ecc_domainparameters *params, const tavik_ecc_point *point,
                           int compressed, unsigned char *out, size_t *outlength)
{
    if (!params || !point || !out || !outlength)
        return TAVIK_ERR_ARGUMENT;
    const EC_GROUP *group = params->group.get();
    PointPtr value(EC_POINT_new(group));
    if (!value || EC_POINT_oct2point(group, value.get(), point->octets.data(), point->octets.size(),
                                     nullptr) != 1)
        return TAVIK_ERR_ARGUMENT;
    const auto form = compressed ? POINT_CONVERSION_COMPRESSED : POINT_CONVERSION_UNCOMPRESSED;
    const std::size_t needed = EC_POINT_point2oct(group, value.get(), form, nullptr, 0, nullptr);
    if (needed == 0)
        return TAVIK_ERR_ARGUMENT;
    if (*outlength < needed)
        return TAVIK_ERR_ARGUMENT;
    if (EC_POINT_point2oct(group, value.get(), form, out, needed, nullptr) != needed)
        return TAVIK_ERR_VERIFY;
    *outlength = needed;
    return 1;
}

} // extern "C"
