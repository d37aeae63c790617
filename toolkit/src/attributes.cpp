// Certificate attributes by code: the names, validity end, key algorithm,
// curve, size and usage that lists and viewers show.
#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

#include "cert_data.hpp"
#include "internal.hpp"
#include "objects.hpp"
#include "values.hpp"

namespace {

using tavik::detail::BioPtr;
using tavik::detail::BitStringPtr;
using tavik::detail::CertData;
using tavik::detail::NAME_ATTR;
using tavik::detail::NAME_RDN;
using tavik::detail::NAME_RDNS;
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

std::optional<SpkiAlgorithm> spkiAlgorithm(const CertData &cert)
{
    const X509_ALGOR *alg = cert.tbs().spki->algorithm;
    SpkiAlgorithm result;
    X509_ALGOR_get0(&result.oid, &result.paramType, &result.param, alg);
    if (!result.oid)
        return std::nullopt;
    return result;
}

int keyAlgorithm(const CertData &cert, std::int64_t &value)
{
    const auto alg = spkiAlgorithm(cert);
    const tavik::TextPtr oid(alg ? tavik::detail::dottedOid(alg->oid) : nullptr);
    if (!oid)
        return TAVIK_ERR_VERIFY;
    value = keyAlgorithmCode(oid.get());
    return 1;
}

//   ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER,
//                             implicitCurve NULL, specifiedCurve SpecifiedECDomain }
int curve(const CertData &cert, std::int64_t &value)
{
    const auto alg = spkiAlgorithm(cert);
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

// The one attribute that decodes the key, through OpenSSL's decoders.
int keySize(const CertData &cert, std::int64_t &value)
{
    unsigned char *der = nullptr;
    const int length = ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE *>(cert.tbs().spki), &der,
                                     tavik::detail::CERT_SPKI_it());
    const OsslBytesPtr owned(der);
    const unsigned char *p = der;
    using KeyPtr = tavik::detail::OsslPtr<EVP_PKEY, EVP_PKEY_free>;
    ERR_set_mark();
    const KeyPtr key(length > 0 ? d2i_PUBKEY(nullptr, &p, length) : nullptr);
    ERR_pop_to_mark();
    const int bits = key ? EVP_PKEY_get_bits(key.get()) : 0;
    if (bits <= 0)
        return TAVIK_ERR_VERIFY;
    value = bits;
    return 1;
}

//   KeyUsage ::= BIT STRING { digitalSignature (0), nonRepudiation (1), ... }
// Bit n of the mask is bit n of the BIT STRING.
int keyUsage(const CertData &cert, std::int64_t &value)
{
    int critical = 0;
    BitStringPtr bits(static_cast<ASN1_BIT_STRING *>(
        X509V3_get_d2i(cert.tbs().extensions, NID_key_usage, &critical, nullptr)));
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

int inValidity(const CertData &cert, std::int64_t &value)
{
    const auto start = tavik::detail::readTime(cert.tbs().validity->notBefore);
    const auto end = tavik::detail::readTime(cert.tbs().validity->notAfter);
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
int commonName(const NAME_RDNS *name, char **out)
{
    const NAME_ATTR *last = nullptr;
    for (int i = 0; i < sk_NAME_RDN_num(name); ++i) {
        const NAME_RDN *rdn = sk_NAME_RDN_value(name, i);
        for (int k = 0; k < sk_NAME_ATTR_num(rdn); ++k) {
            const NAME_ATTR *attr = sk_NAME_ATTR_value(rdn, k);
            if (OBJ_obj2nid(attr->type) == NID_commonName)
                last = attr;
        }
    }
    if (!last)
        return TAVIK_ERR_NOT_FOUND;
    const ASN1_STRING *data = tavik::detail::stringOf(last->value);
    if (!data)
        return TAVIK_ERR_VERIFY;
    unsigned char *utf8 = nullptr;
    const int length = ASN1_STRING_to_UTF8(&utf8, data);
    const OsslBytesPtr owned(utf8);
    if (length < 0)
        return TAVIK_ERR_VERIFY;
    return giveText(reinterpret_cast<const char *>(utf8), static_cast<std::size_t>(length), out);
}

// "C = CN, O = Example, OU = Unit" with non-ASCII text as UTF-8, not escaped.
int oneLineName(const NAME_RDNS *rdns, char **out)
{
    const tavik::detail::NamePtr owned = tavik::detail::x509NameOf(rdns);
    const X509_NAME *name = owned.get();
    if (!name)
        return TAVIK_ERR_VERIFY;
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

int issuerName(const CertData &cert, char **out)
{
    const NAME_RDNS *issuer = cert.tbs().issuer;
    const int rc = commonName(issuer, out);
    return rc == TAVIK_ERR_NOT_FOUND ? oneLineName(issuer, out) : rc;
}

int friendlyName(const CertData &cert, char **out)
{
    if (!cert.mayHaveAlias())
        return TAVIK_ERR_NOT_FOUND;
    X509 *x509 = cert.x509();
    int length = 0;
    const unsigned char *alias = x509 ? X509_alias_get0(x509, &length) : nullptr;
    if (!alias || length <= 0)
        return TAVIK_ERR_NOT_FOUND;
    return giveText(reinterpret_cast<const char *>(alias), static_cast<std::size_t>(length), out);
}

int notAfter(const CertData &cert, char **out)
{
    const auto end = tavik::detail::readTime(cert.tbs().validity->notAfter);
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
        return commonName(cert->data->tbs().subject, text);
    case TAVIK_ATTR_ISSUER_NAME:
        return issuerName(*cert->data, text);
    case TAVIK_ATTR_FRIENDLY_NAME:
        return friendlyName(*cert->data, text);
    case TAVIK_ATTR_NOT_AFTER:
        return notAfter(*cert->data, text);
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
        return keyAlgorithm(*cert->data, *value);
    case TAVIK_ATTR_CURVE:
        return curve(*cert->data, *value);
    case TAVIK_ATTR_KEY_USAGE:
        return keyUsage(*cert->data, *value);
    case TAVIK_ATTR_KEY_SIZE:
        return keySize(*cert->data, *value);
    case TAVIK_ATTR_IN_VALIDITY:
        return inValidity(*cert->data, *value);
    default:
        return TAVIK_ERR_ARGUMENT;
    }
}

} // extern "C"
