// Certificate attributes by code: the names, validity end, key algorithm,
// curve, size and usage that lists and viewers show.
#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

#include "internal.hpp"
#include "values.hpp"

namespace {

using tavik::detail::BioPtr;
using tavik::detail::BitStringPtr;
using tavik::detail::OsslBytesPtr;

// SubjectPublicKeyInfo.algorithm.algorithm (RFC 5280, 3279, 4055, 5480).
struct KeyAlgorithm {
    std::string_view oid;
    int code;
};

constexpr std::string_view kOidEcPublicKey = "1.2.840.10045.2.1";
constexpr std::string_view kOidSm2 = "1.2.156.10197.1.301";

constexpr std::array kKeyAlgorithms{
    KeyAlgorithm{"1.2.840.113549.1.1.1", TAVIK_KEYALG_RSA},
    KeyAlgorithm{"1.2.840.10040.4.1", TAVIK_KEYALG_DSA},
    KeyAlgorithm{"1.2.840.10046.2.1", TAVIK_KEYALG_DH},    // dhpublicnumber
    KeyAlgorithm{"1.2.840.113549.1.3.1", TAVIK_KEYALG_DH}, // PKCS #3 dhKeyAgreement
    KeyAlgorithm{kOidEcPublicKey, TAVIK_KEYALG_EC},
    KeyAlgorithm{kOidSm2, TAVIK_KEYALG_EC},
    KeyAlgorithm{"1.2.840.113549.1.1.7", TAVIK_KEYALG_RSAES_OAEP},
    KeyAlgorithm{"1.2.840.113549.1.1.10", TAVIK_KEYALG_RSASSA_PSS},
};

// Named curves by OpenSSL short name, as carried in ECParameters.namedCurve.
struct Curve {
    std::string_view shortName;
    int code;
};

constexpr std::array kCurves{
    Curve{"prime256v1", TAVIK_CURVE_P256},
    Curve{"secp384r1", TAVIK_CURVE_P384},
    Curve{"secp521r1", TAVIK_CURVE_P521},
    Curve{"secp224r1", TAVIK_CURVE_P224},
    Curve{"secp256k1", TAVIK_CURVE_SECP256K1},
    Curve{"prime192v1", TAVIK_CURVE_P192},
    Curve{"SM2", TAVIK_CURVE_SM2},
    Curve{"brainpoolP256r1", TAVIK_CURVE_BRAINPOOL_P256R1},
    Curve{"brainpoolP384r1", TAVIK_CURVE_BRAINPOOL_P384R1},
    Curve{"brainpoolP512r1", TAVIK_CURVE_BRAINPOOL_P512R1},
};

template <class Table, class Key, class Proj>
constexpr bool uniqueKeys(const Table &table, Proj proj)
{
    for (std::size_t i = 0; i < table.size(); ++i)
        for (std::size_t j = i + 1; j < table.size(); ++j)
            if (Key(proj(table[i])) == Key(proj(table[j])))
                return false;
    return true;
}

static_assert(uniqueKeys<decltype(kKeyAlgorithms), std::string_view>(kKeyAlgorithms,
                                                                     [](const KeyAlgorithm &r) {
                                                                         return r.oid;
                                                                     }));
static_assert(uniqueKeys<decltype(kCurves), std::string_view>(kCurves, [](const Curve &r) {
    return r.shortName;
}));
static_assert(uniqueKeys<decltype(kCurves), int>(kCurves, [](const Curve &r) { return r.code; }));

int keyAlgorithmCode(std::string_view oid)
{
    for (const auto &r : kKeyAlgorithms)
        if (r.oid == oid)
            return r.code;
    return TAVIK_KEYALG_OTHER;
}

// An unnamed curve, and a named one outside the table, have no number.
int curveCode(std::string_view shortName)
{
    for (const auto &r : kCurves)
        if (r.shortName == shortName)
            return r.code;
    return TAVIK_CURVE_UNNAMED;
}

// The SubjectPublicKeyInfo algorithm, read without decoding the key.
struct SpkiAlgorithm {
    const ASN1_OBJECT *oid = nullptr;
    int paramType = V_ASN1_UNDEF;
    const void *param = nullptr;
};

std::optional<SpkiAlgorithm> spkiAlgorithm(X509 *x509)
{
    X509_PUBKEY *spki = X509_get_X509_PUBKEY(x509);
    if (!spki)
        return std::nullopt;
    ASN1_OBJECT *oid = nullptr;
    X509_ALGOR *alg = nullptr;
    if (!X509_PUBKEY_get0_param(&oid, nullptr, nullptr, &alg, spki) || !oid)
        return std::nullopt;
    SpkiAlgorithm result;
    result.oid = oid;
    if (alg)
        X509_ALGOR_get0(nullptr, &result.paramType, &result.param, alg);
    return result;
}

int keyAlgorithm(X509 *x509, std::int64_t &value)
{
    const auto alg = spkiAlgorithm(x509);
    const tavik::TextPtr oid(alg ? tavik::detail::dottedOid(alg->oid) : nullptr);
    if (!oid)
        return TAVIK_ERR_VERIFY;
    value = keyAlgorithmCode(oid.get());
    return 1;
}

//   ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER,
//                             implicitCurve NULL, specifiedCurve SpecifiedECDomain }
int curve(X509 *x509, std::int64_t &value)
{
    const auto alg = spkiAlgorithm(x509);
    const tavik::TextPtr text(alg ? tavik::detail::dottedOid(alg->oid) : nullptr);
    if (!text)
        return TAVIK_ERR_VERIFY;
    const std::string_view oid = text.get();
    if (oid == kOidSm2) {
        value = TAVIK_CURVE_SM2;
        return 1;
    }
    if (oid != kOidEcPublicKey)
        return TAVIK_ERR_NOT_FOUND;
    if (alg->paramType != V_ASN1_OBJECT) {
        value = TAVIK_CURVE_UNNAMED;
        return 1;
    }
    const int nid = OBJ_obj2nid(static_cast<const ASN1_OBJECT *>(alg->param));
    const char *shortName = nid != NID_undef ? OBJ_nid2sn(nid) : nullptr;
    value = shortName ? curveCode(shortName) : TAVIK_CURVE_UNNAMED;
    return 1;
}

int keySize(X509 *x509, std::int64_t &value)
{
    EVP_PKEY *key = X509_get0_pubkey(x509);
    const int bits = key ? EVP_PKEY_get_bits(key) : 0;
    if (bits <= 0)
        return TAVIK_ERR_VERIFY;
    value = bits;
    return 1;
}

//   KeyUsage ::= BIT STRING { digitalSignature (0), nonRepudiation (1), ... }
// Bit n of the mask is bit n of the BIT STRING.
int keyUsage(X509 *x509, std::int64_t &value)
{
    int critical = 0;
    BitStringPtr bits(
        static_cast<ASN1_BIT_STRING *>(X509_get_ext_d2i(x509, NID_key_usage, &critical, nullptr)));
    if (!bits)
        return critical == -1 ? TAVIK_ERR_NOT_FOUND : TAVIK_ERR_VERIFY;
    const int length = ASN1_STRING_length(bits.get());
    const int count = length > 7 ? 63 : length * 8;
    std::int64_t mask = 0;
    for (int n = 0; n < count; ++n)
        if (ASN1_BIT_STRING_get_bit(bits.get(), n))
            mask |= std::int64_t{1} << n;
    value = mask;
    return 1;
}

int inValidity(X509 *x509, std::int64_t &value)
{
    const auto start = tavik::detail::readTime(X509_get0_notBefore(x509));
    const auto end = tavik::detail::readTime(X509_get0_notAfter(x509));
    if (!start || !end)
        return TAVIK_ERR_VERIFY;
    const std::int64_t now = tavik::detail::now();
    value = tavik::detail::toEpoch(*start) <= now && now <= tavik::detail::toEpoch(*end) ? 1 : 0;
    return 1;
}

int giveText(const char *text, std::size_t length, char **out)
{
    char *copy = tavik::detail::dupText(text, length);
    if (!copy)
        return TAVIK_ERR_MEMORY;
    *out = copy;
    return 1;
}

// The last commonName: in DN order the most specific one.
int commonName(const X509_NAME *name, char **out)
{
    int index = -1;
    for (int i = X509_NAME_get_index_by_NID(name, NID_commonName, -1); i >= 0;
         i = X509_NAME_get_index_by_NID(name, NID_commonName, i))
        index = i;
    if (index < 0)
        return TAVIK_ERR_NOT_FOUND;
    const ASN1_STRING *data = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index));
    unsigned char *utf8 = nullptr;
    const int length = ASN1_STRING_to_UTF8(&utf8, data);
    const OsslBytesPtr owned(utf8);
    if (length < 0)
        return TAVIK_ERR_VERIFY;
    return giveText(reinterpret_cast<const char *>(utf8), static_cast<std::size_t>(length), out);
}

// "C = CN, O = Example, OU = Unit" with non-ASCII text as UTF-8, not escaped.
int oneLineName(const X509_NAME *name, char **out)
{
    BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio)
        return TAVIK_ERR_MEMORY;
    constexpr unsigned long flags = XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB;
    if (X509_NAME_print_ex(bio.get(), name, 0, flags) < 0)
        return TAVIK_ERR_VERIFY;
    char *text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    if (length < 0)
        return TAVIK_ERR_VERIFY;
    return giveText(text, static_cast<std::size_t>(length), out);
}

int issuerName(X509 *x509, char **out)
{
    const X509_NAME *issuer = X509_get_issuer_name(x509);
    if (!issuer)
        return TAVIK_ERR_VERIFY;
    const int rc = commonName(issuer, out);
    return rc == TAVIK_ERR_NOT_FOUND ? oneLineName(issuer, out) : rc;
}

int friendlyName(X509 *x509, char **out)
{
    int length = 0;
    const unsigned char *alias = X509_alias_get0(x509, &length);
    if (!alias || length <= 0)
        return TAVIK_ERR_NOT_FOUND;
    return giveText(reinterpret_cast<const char *>(alias), static_cast<std::size_t>(length), out);
}

int notAfter(X509 *x509, char **out)
{
    const auto end = tavik::detail::readTime(X509_get0_notAfter(x509));
    if (!end)
        return TAVIK_ERR_VERIFY;
    char text[32];
    const int n = std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02dZ", end->year,
                                end->month, end->day, end->hour, end->minute, end->second);
    if (n != 15)
        return TAVIK_ERR_VERIFY;
    return giveText(text, 15, out);
}

} // namespace

extern "C" {

int TavikPKICertGetCertStringAttribute(TAVIK_CERT_st *cert, int code, char **text)
{
    if (!cert || !text)
        return TAVIK_ERR_ARGUMENT;
    switch (code) {
    case TAVIK_ATTR_SUBJECT_CN:
        return commonName(X509_get_subject_name(cert->x509), text);
    case TAVIK_ATTR_ISSUER_NAME:
        return issuerName(cert->x509, text);
    case TAVIK_ATTR_FRIENDLY_NAME:
        return friendlyName(cert->x509, text);
    case TAVIK_ATTR_NOT_AFTER:
        return notAfter(cert->x509, text);
    default:
        return TAVIK_ERR_ARGUMENT;
    }
}

int TavikPKICertGetCertIntegerAttribute(TAVIK_CERT_st *cert, int code, int64_t *value)
{
    if (!cert || !value)
        return TAVIK_ERR_ARGUMENT;
    switch (code) {
    case TAVIK_ATTR_KEY_ALGORITHM:
        return keyAlgorithm(cert->x509, *value);
    case TAVIK_ATTR_CURVE:
        return curve(cert->x509, *value);
    case TAVIK_ATTR_KEY_USAGE:
        return keyUsage(cert->x509, *value);
    case TAVIK_ATTR_KEY_SIZE:
        return keySize(cert->x509, *value);
    case TAVIK_ATTR_IN_VALIDITY:
        return inValidity(cert->x509, *value);
    default:
        return TAVIK_ERR_ARGUMENT;
    }
}

} // extern "C"
