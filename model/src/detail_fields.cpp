// The certificate's own fields as rows: version, serial, algorithms, names,
// validity, unique IDs, public key, signature value and thumbprints.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "pkiui/detail_model.hpp"
#include "tables.hpp"

namespace pkiui {

namespace {

constexpr std::array<OidName, 20> kSignatureAlgorithms = {{
    {"1.2.840.113549.1.1.2", "MD2WithRSA"},      {"1.2.840.113549.1.1.4", "MD5WithRSA"},
    {"1.2.840.113549.1.1.5", "SHA1WithRSA"},     {"1.2.840.113549.1.1.14", "SHA224WithRSA"},
    {"1.2.840.113549.1.1.11", "SHA256WithRSA"},  {"1.2.840.113549.1.1.12", "SHA384WithRSA"},
    {"1.2.840.113549.1.1.13", "SHA512WithRSA"},  {"1.2.840.10040.4.3", "DSAWithSHA1"},
    {"1.2.840.10045.4.1", "ECDSAWithSHA1"},      {"1.2.840.113549.1.1.10", "RSASSA_PSS"},
    {"1.2.156.10197.1.504", "SM3WithRSA"},       {"1.2.156.10197.1.501", "SM3WithSM2"},
    {"1.2.156.10197.1.502", "SHA1WithSM2"},      {"1.2.156.10197.1.503", "SHA256WithSM2"},
    {"2.16.840.1.101.3.4.3.1", "DSAWithSHA224"}, {"2.16.840.1.101.3.4.3.2", "DSAWithSHA256"},
    {"1.2.840.10045.4.3.1", "ECDSAWithSHA224"},  {"1.2.840.10045.4.3.2", "ECDSAWithSHA256"},
    {"1.2.840.10045.4.3.3", "ECDSAWithSHA384"},  {"1.2.840.10045.4.3.4", "ECDSAWithSHA512"},
}};
static_assert(uniqueBy(kSignatureAlgorithms, &OidName::oid));

// Spellings kept as the list has always shown them.
constexpr std::array<OidName, 15> kDnLabels = {{
    {"2.5.4.3", "CN"},
    {"2.5.4.5", "SerialNumber"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "Street"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"1.2.840.113549.1.9.1", "Email"},
    {"1.2.840.113549.1.9.2", "UnstructedName"},
    {"1.2.840.113549.1.9.8", "UnstructedAddress"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"0.9.2342.19200300.100.1.1", "UID"},
    {"2.5.4.46", "dnQualifier"},
    {"2.5.4.12", "Title"},
}};
static_assert(uniqueBy(kDnLabels, &OidName::oid));

constexpr std::array<OidName, 7> kPublicKeyAlgorithms = {{
    {"1.2.840.113549.1.1.1", "RSA"},
    {"1.2.840.10040.4.1", "DSA"},
    {"1.2.840.10046.2.1", "DH"},
    {"2.16.840.1.101.2.1.1.22", "KEA"},
    {"1.2.840.10045.2.1", "ECC"},
    {"1.2.840.113549.1.1.10", "RSASSA_PSS"},
    {"1.2.840.113549.1.1.7", "RSAES_OAEP"},
}};
static_assert(uniqueBy(kPublicKeyAlgorithms, &OidName::oid));

constexpr std::string_view kEcKeyOid = "1.2.840.10045.2.1";
constexpr std::string_view kDsaKeyOid = "1.2.840.10040.4.1";

// RSA, RSASSA-PSS, RSAES-OAEP: keys whose size is the modulus.
constexpr std::array<std::string_view, 3> kRsaKeyOids = {
    "1.2.840.113549.1.1.1",
    "1.2.840.113549.1.1.10",
    "1.2.840.113549.1.1.7",
};
static_assert(uniqueBy(kRsaKeyOids));

// DSA, ECDSA and SM2 signatures: SEQUENCE { r INTEGER, s INTEGER }.
constexpr std::array<std::string_view, 11> kTwoIntegerSignatures = {
    "1.2.840.10040.4.3",   "2.16.840.1.101.3.4.3.1", "2.16.840.1.101.3.4.3.2",
    "1.2.840.10045.4.1",   "1.2.840.10045.4.3.1",    "1.2.840.10045.4.3.2",
    "1.2.840.10045.4.3.3", "1.2.840.10045.4.3.4",    "1.2.156.10197.1.501",
    "1.2.156.10197.1.502", "1.2.156.10197.1.503",
};
static_assert(uniqueBy(kTwoIntegerSignatures));

template <std::size_t N>
bool contains(const std::array<std::string_view, N> &set, std::string_view oid)
{
    return findBy(set, std::identity{}, oid) != nullptr;
}

using DigestFn = int (*)(const unsigned char *, std::size_t, unsigned char *, std::size_t *);

struct Digest {
    int code;
    std::string_view label;
    DigestFn fn;
};

constexpr std::array<Digest, 4> kThumbprints = {{
    {0x1000, "MD5", tavik_crypto_md5},
    {0x2000, "SHA1", tavik_crypto_sha1},
    {0x4000, "SHA256", tavik_crypto_sha256},
    {0x6000, "SHA512", tavik_crypto_sha512},
}};
static_assert(uniqueBy(kThumbprints, &Digest::code));

constexpr std::string_view kThumbprintValue = "MD5,SHA1,SHA256,SHA512";

std::string format(const char *pattern, long number)
{
    char text[64];
    std::snprintf(text, sizeof text, pattern, number);
    return text;
}

std::optional<std::string> oidOf(const tavik_cert_algorithmid *alg)
{
    const tavik::TextPtr oid(alg ? tavik_cert_algorithmid_getoid(alg) : nullptr);
    if (!oid)
        return std::nullopt;
    return std::string(oid.get());
}

// Bit size of the RSA modulus or of the DSA prime p; -1 for other keys. rsa is
// the key's RSAPublicKey for RSA keys, read once for this and GetPublicKey.
long GetPublicKeyLength(std::string_view oid, const tavik_cert_algorithmid *alg,
                        const tavik_crypto_rsakey *rsa)
{
    if (contains(kRsaKeyOids, oid)) {
        const tavik::BigIntPtr modulus(rsa ? tavik_crypto_rsakey_getmodulus(rsa) : nullptr);
        const int bits = modulus ? tavik_biginteger_getbitcount(modulus.get()) : -1;
        return bits > 0 ? bits : -1;
    }
    if (oid == kDsaKeyOid && tavik_cert_algorithmid_hasparams(alg)) {
        const tavik::DssParamsPtr params(tavik_cert_algorithmid_getdssparams(alg));
        const tavik::BigIntPtr p(params ? tavik_cert_dssparams_getp(params.get()) : nullptr);
        const int bits = p ? tavik_biginteger_getbitcount(p.get()) : -1;
        return bits > 0 ? bits : -1;
    }
    return -1;
}

// The key's encoding, a blank line, and for RSA keys the modulus and exponent.
std::optional<std::string> GetPublicKey(std::string_view oid, const tavik_cert_pubkey *key,
                                        const tavik_crypto_rsakey *rsa)
{
    const tavik::BlobPtr encoding(tavik_cert_pubkey_getencode(key));
    std::optional<std::string> hex = ShowCertDetailDlgModel::GetHexNumber(encoding.get());
    if (!hex)
        return std::nullopt;
    if (!contains(kRsaKeyOids, oid))
        return *hex + "\r\n\r\n";
    if (!rsa)
        return std::nullopt;
    const tavik::BigIntPtr modulus(tavik_crypto_rsakey_getmodulus(rsa));
    const tavik::BigIntPtr exponent(tavik_crypto_rsakey_getpubexp(rsa));
    const auto m = modulus ? ShowCertDetailDlgModel::GetBigInt(modulus.get()) : std::nullopt;
    const auto e = exponent ? ShowCertDetailDlgModel::GetBigInt(exponent.get()) : std::nullopt;
    if (!m || !e)
        return std::nullopt;
    std::string text = std::move(*hex);
    text.reserve(text.size() + m->size() + e->size() + 16);
    text += "\r\n\r\nm:\r\n";
    text += *m;
    text += "\r\ne:\r\n";
    text += *e;
    text += "\r\n";
    return text;
}

// Joins the attribute values of "label = value" lines; a value holding " = "
// keeps only its first part here, while the content keeps the whole line.
std::string joinValues(const std::vector<std::string> &lines)
{
    constexpr std::string_view kSeparator = " = ";
    std::string joined;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0)
            joined += ", ";
        const std::string &line = lines[i];
        const std::size_t first = line.find(kSeparator);
        if (first == std::string::npos)
            continue;
        const std::size_t start = first + kSeparator.size();
        const std::size_t end = line.find(kSeparator, start);
        joined += line.substr(start, end == std::string::npos ? std::string::npos : end - start);
    }
    return joined;
}

std::string joinLines(const std::vector<std::string> &lines)
{
    std::string joined;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0)
            joined += "\r\n";
        joined += lines[i];
    }
    return joined;
}

} // namespace

// ---- Shared formatting ----

std::optional<std::string> hexText(const unsigned char *data, std::size_t length,
                                   std::string_view separator)
{
    char *raw = nullptr;
    std::size_t rawLength = 0;
    if (tavik_hexencode(0, data, length, &raw, &rawLength) != 1 || !raw)
        return std::nullopt;
    const tavik::TextPtr owned(raw);
    if (separator.empty() || rawLength == 0)
        return std::string(raw, rawLength);
    // Sized once and written through a pointer: key and signature rows run
    // to hundreds of bytes.
    std::string text(rawLength + (length - 1) * separator.size(), '\0');
    char *to = text.data();
    for (std::size_t at = 0; at < rawLength; at += 2) {
        if (at > 0)
            to = std::copy(separator.begin(), separator.end(), to);
        *to++ = raw[at];
        *to++ = raw[at + 1];
    }
    return text;
}

std::optional<std::string> ShowCertDetailDlgModel::GetHexNumber(const unsigned char *data,
                                                                std::size_t length)
{
    return hexText(data, length, " ");
}

std::optional<std::string> ShowCertDetailDlgModel::GetHexNumber(const tavik_data_blob *blob)
{
    if (!blob)
        return std::nullopt;
    return GetHexNumber(blob->data, blob->length);
}

std::string ShowCertDetailDlgModel::GetSignatureAlgorithmByOid(const std::string &oid)
{
    return std::string(nameOf(kSignatureAlgorithms, oid).value_or(kUnavailable));
}

std::string ShowCertDetailDlgModel::GetPublicKeyAlgorithmByOid(const std::string &oid)
{
    if (const auto name = nameOf(kPublicKeyAlgorithms, oid))
        return std::string(*name);
    return "未知(" + oid + ")";
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OID, parameters ANY OPTIONAL }
std::optional<std::string>
ShowCertDetailDlgModel::GetAlgorithmParam(const tavik_cert_algorithmid *alg)
{
    if (!alg || !tavik_cert_algorithmid_hasparams(alg))
        return std::nullopt;
    if (tavik_cert_algorithmid_hasnullparam(alg))
        return "NULL";
    const tavik::BlobPtr encoding(tavik_cert_algorithmid_getparamsencode(alg));
    return ShowCertDetailDlgModel::GetHexNumber(encoding.get());
}

int ShowCertDetailDlgModel::AddAttrItemByOid(std::vector<std::string> &list,
                                             const tavik_cert_attrtypeandvalue *attr)
{
    const tavik::TextPtr oid(attr ? tavik_cert_attrtypeandvalue_gettype(attr) : nullptr);
    if (!oid)
        return 0;
    std::string label;
    if (const auto known = nameOf(kDnLabels, oid.get()))
        label = *known;
    else
        label = std::string("Unknown Attribute(") + oid.get() + ")";

    std::optional<std::string> value;
    if (const tavik::UStringPtr text(tavik_cert_attrtypeandvalue_getstring(attr)); text) {
        value = GetNSStringFromUString(text.get());
    } else {
        const tavik::BlobPtr encoding(tavik_cert_attrtypeandvalue_getvalencode(attr));
        if (const auto hex = ShowCertDetailDlgModel::GetHexNumber(encoding.get()))
            value = "HEX: " + *hex;
    }
    if (!value)
        return 0;
    list.push_back(label + " = " + *value);
    return 1;
}

// Name ::= SEQUENCE OF RelativeDistinguishedName (SET OF AttributeTypeAndValue)
std::optional<std::vector<std::string>>
ShowCertDetailDlgModel::GetAttributeByDn(const tavik_cert_dn *dn)
{
    const int rdns = dn ? tavik_cert_dn_getitemcount(dn) : -1;
    if (rdns < 0)
        return std::nullopt;
    std::vector<std::string> list;
    for (int i = 0; i < rdns; ++i) {
        const tavik::RdnPtr rdn(tavik_cert_dn_getitem(dn, i));
        const int attrs = rdn ? tavik_cert_rdn_getitemcount(rdn.get()) : -1;
        if (attrs < 0)
            return std::nullopt;
        for (int j = 0; j < attrs; ++j) {
            const tavik::AtvPtr attr(tavik_cert_rdn_getitem(rdn.get(), j));
            if (!attr || AddAttrItemByOid(list, attr.get()) != 1)
                return std::nullopt;
        }
    }
    return list;
}

std::string ShowCertDetailDlgModel::FormatTime(const tavik_time *time)
{
    const tavik::TimePtr local(tavik_time_utc2local(time));
    const tavik_time *shown = local ? local.get() : time;
    // Written digit by digit: snprintf cost as much as reading the time.
    std::string text;
    text.reserve(32);
    const auto put = [&text](int value, int width, const char *after) {
        char digits[12]; // room for any int, so to_chars cannot fail
        const char *end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        const auto length = end - digits;
        text.append(length < width ? static_cast<std::size_t>(width - length) : 0, '0');
        text.append(digits, static_cast<std::size_t>(length));
        text += after;
    };
    put(tavik_time_getyear(shown), 4, "年");
    put(tavik_time_getmonth(shown), 2, "月");
    put(tavik_time_getday(shown), 2, "日 ");
    put(tavik_time_gethour(shown), 2, ":");
    put(tavik_time_getminute(shown), 2, ":");
    put(tavik_time_getsecond(shown), 2, local ? "" : " UTC");
    return text;
}

// The stored bytes; the count of unused bits in the last one is not shown.
std::optional<std::string> ShowCertDetailDlgModel::GetBitSet(const tavik_bitset *bits)
{
    const tavik::BlobPtr data(bits ? tavik_bitset_getdata(bits, nullptr) : nullptr);
    return ShowCertDetailDlgModel::GetHexNumber(data.get());
}

std::optional<std::string> ShowCertDetailDlgModel::GetBigInt(const tavik_biginteger *number)
{
    const tavik::BlobPtr data(number ? tavik_biginteger_getdata(number) : nullptr);
    return ShowCertDetailDlgModel::GetHexNumber(data.get());
}

std::optional<std::string> ShowCertDetailDlgModel::GetDecBigInt(const tavik_biginteger *number)
{
    if (!number)
        return std::nullopt;
    const bool negative = tavik_biginteger_getsign(number) < 0;
    const tavik::BigIntPtr magnitude(negative ? tavik_biginteger_neg(number) : nullptr);
    if (negative && !magnitude)
        return std::nullopt;
    char *raw = nullptr;
    std::size_t length = 0;
    if (tavik_biginteger_unsigned_todec(negative ? magnitude.get() : number, &raw, &length) != 1 ||
        !raw)
        return std::nullopt;
    const tavik::TextPtr digits(raw);
    std::string text = negative ? "-" : "";
    text.append(raw, length);
    return text;
}

std::optional<std::string> ShowCertDetailDlgModel::ContractAThumbprint(TAVIK_CERT_st *cert,
                                                                       int algo)
{
    const Digest *digest = findBy(kThumbprints, &Digest::code, algo);
    if (!digest || !cert)
        return std::nullopt;
    const tavik::BlobPtr der(tavik_cert_encode(cert));
    if (!der)
        return std::nullopt;
    unsigned char out[128];
    std::size_t outLength = sizeof out;
    if (digest->fn(der->data, der->length, out, &outLength) != 1)
        return std::nullopt;
    return hexText(out, outLength, "");
}

// ---- Readers of the basic fields ----

void ShowCertDetailDlgModel::GetCertVersion()
{
    const int code = tavik_cert_getversion(m_pCert.get());
    if (code == -1) {
        AddCertInfo("版本", kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    // Deliberately no fall-back: an unexpected code shows V0.
    const long version = code >= 0 && code <= 2 ? code + 1 : 0;
    const std::string text = format("V%ld", version);
    AddCertInfo("版本", text, text, kVersion1Field);
}

// CertificateSerialNumber ::= INTEGER; every content byte is shown, a
// leading 00 included.
void ShowCertDetailDlgModel::GetCertSerialNumber()
{
    const char *name = "序列号";
    tavik_asn1_value *raw = nullptr;
    const int status = tavik_cert_getserialnumber_ex(m_pCert.get(), &raw);
    const tavik::Asn1ValuePtr serial(raw);
    const int length = status == 1 && serial ? tavik_asn1_integer_getlength(serial.get()) : 0;
    if (length <= 0) {
        AddCertInfo(name, kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    std::optional<std::string> hex;
    if (tavik_asn1_integer_get(serial.get(), bytes.data(), bytes.size()) == 1)
        hex = GetHexNumber(bytes.data(), bytes.size());
    const std::string text = hex.value_or(kUnavailable);
    AddCertInfo(name, text, text, kVersion1Field);
}

void ShowCertDetailDlgModel::GetCertSignAlgo()
{
    const char *name = "签名算法";
    const tavik::AlgPtr alg(tavik_cert_getsignalgorithm(m_pCert.get()));
    const std::optional<std::string> oid = oidOf(alg.get());
    if (!oid) {
        AddCertInfo(name, kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    const std::string algorithm = GetSignatureAlgorithmByOid(*oid);
    std::string content = std::string(name) + ":" + algorithm;
    if (const auto params = GetAlgorithmParam(alg.get()))
        content += "\r\n签名参数:" + *params;
    AddCertInfo(name, algorithm, content, kVersion1Field);
}

void ShowCertDetailDlgModel::addNameRow(const char *rowName, tavik_cert_dn *dn)
{
    const auto lines = dn ? GetAttributeByDn(dn) : std::nullopt;
    if (!lines) {
        AddCertInfo(rowName, kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    AddCertInfo(rowName, joinValues(*lines), joinLines(*lines), kVersion1Field);
}

void ShowCertDetailDlgModel::GetCertIssuer()
{
    const tavik::DnPtr dn(tavik_cert_getissuer(m_pCert.get()));
    addNameRow("颁发者", dn.get());
}

void ShowCertDetailDlgModel::GetCertSubject()
{
    const tavik::DnPtr dn(tavik_cert_getsubject(m_pCert.get()));
    addNameRow("证书主体", dn.get());
}

void ShowCertDetailDlgModel::GetCertValidity()
{
    const auto addTime = [this](const char *rowName, tavik_time *time) {
        const tavik::TimePtr owned(time);
        const std::string text = owned ? FormatTime(owned.get()) : std::string(kUnavailable);
        AddCertInfo(rowName, text, text, kVersion1Field);
    };
    addTime("有效起始日期", tavik_cert_getvaliditystart(m_pCert.get()));
    addTime("有效终止日期", tavik_cert_getvalidityend(m_pCert.get()));
}

// issuerUniqueID [1] and subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL:
// a row only when present.
void ShowCertDetailDlgModel::GetCertIssuerUniqueID()
{
    addUniqueId("颁发者唯一ID", tavik_cert_hasissueruid, tavik_cert_getissueruid);
}

void ShowCertDetailDlgModel::GetCertSubjectUniqueID()
{
    addUniqueId("主题唯一ID", tavik_cert_hassubjectuid, tavik_cert_getsubjectuid);
}

void ShowCertDetailDlgModel::addUniqueId(const char *rowName, int (*has)(TAVIK_CERT_st *),
                                         tavik_bitset *(*get)(TAVIK_CERT_st *))
{
    if (!has(m_pCert.get()))
        return;
    const tavik::BitSetPtr uid(get(m_pCert.get()));
    const std::string text = GetBitSet(uid.get()).value_or(kUnavailable);
    AddCertInfo(rowName, text, text, kVersion1Field);
}

// ---- Public key, signature value, thumbprints ----

void ShowCertDetailDlgModel::GetCertPublicKeyInfo()
{
    const char *name = "公钥";
    const tavik::AlgPtr alg(tavik_cert_getpubkeyalgorithm(m_pCert.get()));
    const std::optional<std::string> oid = oidOf(alg.get());
    const tavik::PubKeyPtr key(tavik_cert_getpubkey(m_pCert.get()));
    if (!oid || !key) {
        AddCertInfo(name, kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    std::string value = GetPublicKeyAlgorithmByOid(*oid);
    std::string content;

    const tavik::EccKeyPtr ecc(*oid == kEcKeyOid ? tavik_cert_pubkey_toeccpubkey(key.get())
                                                 : nullptr);
    if (ecc) {
        const tavik::EccParamsPtr params(tavik_ecc_getdomainparametersfrompubkey(ecc.get()));
        const long bits = params ? tavik_ecc_domainparameters_getbits(params.get()) : 0;
        if (bits > 0)
            value += format("(%ld bits)", bits);
        content = "公钥参数:" + value;
        if (const tavik::TextPtr curve(params ? tavik_ecc_domainparameters_getname(params.get())
                                              : nullptr);
            curve)
            content += std::string("\r\n椭圆参数:") + curve.get() + "\r\n";

        // 04 || X || Y, each coordinate (bits + 7) / 8 bytes.
        const std::size_t half = bits > 0 ? static_cast<std::size_t>((bits + 7) / 8) : 0;
        std::vector<unsigned char> point(2 * half + 1);
        std::size_t written = point.size();
        const tavik::EccPointPtr pub(tavik_ecc_getpubkeypoint(ecc.get()));
        if (!params || !pub ||
            tavik_ecc_encode_point(params.get(), pub.get(), 0, point.data(), &written) != 1 ||
            written != point.size()) {
            AddCertInfo(name, value, content, kVersion1Field);
            return;
        }
        const tavik::BlobPtr encoding(tavik_cert_pubkey_getencode(key.get()));
        const auto keyHex = ShowCertDetailDlgModel::GetHexNumber(encoding.get());
        const auto x = GetHexNumber(point.data() + 1, half);
        const auto y = GetHexNumber(point.data() + 1 + half, half);
        if (keyHex && x && y)
            content += *keyHex + "\r\n\r\n" + "x:\r\n" + *x + "\r\n" + "y:\r\n" + *y + "\r\n";
        AddCertInfo(name, value, content, kVersion1Field);
        return;
    }

    const tavik::RsaKeyPtr rsa(
        contains(kRsaKeyOids, *oid) ? tavik_cert_pubkey_torsapubkey(key.get()) : nullptr);
    const long bits = GetPublicKeyLength(*oid, alg.get(), rsa.get());
    if (bits == -1) {
        AddCertInfo(name, kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    value += format("(%ld bits)", bits);
    content = "公钥参数:" + value;
    const std::optional<std::string> params = GetAlgorithmParam(alg.get());
    if (params) {
        // "签名参数" here too, as the list has always labelled key parameters.
        content += "\r\n签名参数:" + *params + "\r\n";
        if (const auto keyText = GetPublicKey(*oid, key.get(), rsa.get()))
            content += *keyText;
    }
    AddCertInfo(name, value, content, kVersion1Field);
}

void ShowCertDetailDlgModel::GetCertSignature()
{
    const char *name = "签名值";
    const tavik::BlobPtr signature(tavik_cert_getsignvalue(m_pCert.get()));
    const std::optional<std::string> hex = ShowCertDetailDlgModel::GetHexNumber(signature.get());
    if (!hex) {
        AddCertInfo(name, kUnavailable, kUnavailable, kVersion1Field);
        return;
    }
    std::string content = *hex;
    const tavik::AlgPtr alg(tavik_cert_getsignalgorithm(m_pCert.get()));
    const std::optional<std::string> oid = oidOf(alg.get());
    if (oid && contains(kTwoIntegerSignatures, *oid)) {
        unsigned char *r = nullptr;
        unsigned char *s = nullptr;
        int rLength = 0;
        int sLength = 0;
        const int status = TavikPKICryptoDecodeECCSignature(
            signature->data, static_cast<int>(signature->length), &r, &rLength, &s, &sLength);
        const tavik::BytesPtr rOwned(status == 1 ? r : nullptr);
        const tavik::BytesPtr sOwned(status == 1 ? s : nullptr);
        if (status == 1) {
            content += "\r\n\r\nr:\r\n";
            const auto rHex = GetHexNumber(r, static_cast<std::size_t>(rLength));
            if (rHex) {
                content += *rHex + "\r\n" + "s:\r\n";
                if (const auto sHex = GetHexNumber(s, static_cast<std::size_t>(sLength)))
                    content += *sHex + "\r\n";
            }
        }
    }
    AddCertInfo(name, *hex, content, kVersion1Field);
}

void ShowCertDetailDlgModel::GetCertThumbprint()
{
    const std::string value(kThumbprintValue);
    std::string content;
    for (const Digest &digest : kThumbprints) {
        const auto text = ContractAThumbprint(m_pCert.get(), digest.code);
        if (!text) {
            AddCertInfo("缩略图", value, kUnavailable, kAttribute);
            return;
        }
        content += std::string(digest.label) + ":\r\n" + *text + "\r\n\r\n";
    }
    AddCertInfo("缩略图", value, content, kAttribute);
}

} // namespace pkiui
