// The rows of a certificate's own fields: texts written from the display
// rules, with the hex and digests OpenSSL reads from the same DER put into
// the {placeholders}.
#include <openssl/bn.h>
#include <openssl/ecdsa.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <map>
#include <optional>
#include <tuple>

#include "model_support.hpp"

namespace pkiui::test {
namespace {

// An ASN1_TIME eight hours east of UTC, as 2024年03月05日 08:00:00.
std::string shanghaiTime(const ASN1_TIME *time)
{
    std::tm tm{};
    ASN1_TIME_to_tm(time, &tm);
    const std::time_t local = timegm(&tm) + 8 * 3600;
    gmtime_r(&local, &tm);
    char text[64];
    std::strftime(text, sizeof text, "%Y年%m月%d日 %H:%M:%S", &tm);
    return text;
}

std::string spacedBn(const BIGNUM *n)
{
    Bytes bytes(n ? static_cast<std::size_t>(BN_num_bytes(n)) : 0);
    return n && BN_bn2bin(n, bytes.data()) >= 0 ? hex(bytes.data(), bytes.size(), " ") : "";
}

// What OpenSSL reads from the DER, by placeholder name.
std::map<std::string, std::string> references(const Bytes &der)
{
    std::map<std::string, std::string> refs;
    const unsigned char *p = der.data();
    const X509Ptr x(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
    if (!x)
        return refs;
    unsigned char *spki = nullptr;
    const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(x.get()), &spki);
    refs["spki"] = hex(spki, static_cast<std::size_t>(std::max(length, 0)), " ");
    OPENSSL_free(spki);

    // The key bits: 04 || X || Y for EC, RSAPublicKey for RSA.
    const ASN1_BIT_STRING *key = X509_get0_pubkey_bitstr(x.get());
    refs["x"] = spacedHex(key, 1, (key->length - 1) / 2);
    refs["y"] = spacedHex(key, 1 + (key->length - 1) / 2);
    const unsigned char *k = key->data;
    BIGNUM *n = nullptr;
    if (const KeyPtr rsa(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &k, key->length));
        rsa && EVP_PKEY_get_bn_param(rsa.get(), "n", &n))
        refs["m"] = spacedBn(n);
    BN_free(n);
    const X509_ALGOR *alg = nullptr;
    int type = 0;
    const void *params = nullptr;
    X509_PUBKEY_get0_param(nullptr, nullptr, nullptr, const_cast<X509_ALGOR **>(&alg),
                           X509_get_X509_PUBKEY(x.get()));
    X509_ALGOR_get0(nullptr, &type, &params, alg);
    if (type == V_ASN1_SEQUENCE)
        refs["params"] = spacedHex(static_cast<const ASN1_STRING *>(params));

    const ASN1_BIT_STRING *sig = nullptr;
    X509_get0_signature(&sig, nullptr, x.get());
    refs["sig"] = spacedHex(sig);
    const unsigned char *s = sig->data;
    if (ECDSA_SIG *rs = d2i_ECDSA_SIG(nullptr, &s, sig->length)) {
        refs["r"] = spacedBn(ECDSA_SIG_get0_r(rs));
        refs["s"] = spacedBn(ECDSA_SIG_get0_s(rs));
        ECDSA_SIG_free(rs);
    }

    refs["start"] = shanghaiTime(X509_get0_notBefore(x.get()));
    refs["end"] = shanghaiTime(X509_get0_notAfter(x.get()));
    for (const auto &[name, md] :
         {std::pair{"md5", EVP_md5()}, std::pair{"sha1", EVP_sha1()},
          std::pair{"sha256", EVP_sha256()}, std::pair{"sha512", EVP_sha512()}}) {
        unsigned char out[EVP_MAX_MD_SIZE];
        unsigned int outLength = 0;
        EVP_Digest(der.data(), der.size(), out, &outLength, md, nullptr);
        refs[name] = hex(out, outLength);
    }
    return refs;
}

std::string expand(std::string text, const std::map<std::string, std::string> &refs)
{
    for (const auto &[name, value] : refs)
        for (std::size_t at; (at = text.find("{" + name + "}")) != std::string::npos;)
            text.replace(at, name.size() + 2, value);
    return text;
}

const std::string kRsaKey = "\r\n签名参数:NULL\r\n{spki}\r\n\r\nm:\r\n{m}\r\ne:\r\n01 00 01\r\n";
const std::string kPoint = "{spki}\r\n\r\nx:\r\n{x}\r\ny:\r\n{y}\r\n";

const std::vector<ExpectedRow> kRows = {
    {"rsa-leaf", "版本", "V3", "V3", 1},
    {"serial00-leaf", "序列号", "00 8F 3A 1C 5E 7B 9D 2F 46", "00 8F 3A 1C 5E 7B 9D 2F 46", 1},
    {"uid-cert", "颁发者唯一ID", "A1 B2 C3", "A1 B2 C3", 1},
    {"uid-cert", "主题唯一ID", "D4 E5 F6 A7", "D4 E5 F6 A7", 1},
    {"rsa-leaf", "签名算法", "SHA256WithRSA", "签名算法:SHA256WithRSA\r\n签名参数:NULL", 1},
    {"sm2-self", "签名算法", "SM3WithSM2", "签名算法:SM3WithSM2", 1},
    {"rsa-leaf@0b:63", "签名算法", kNa, "签名算法:" + kNa + "\r\n签名参数:NULL", 1},
    {"sm2-self", "证书主体", "CN, Tavik Test, 测试SM2证书",
     "C = CN\r\nO = Tavik Test\r\nCN = 测试SM2证书", 1},
    // Every label, an unknown type, a non-string value, " = " inside a value
    // (cut in the value, whole in the content) and a two-attribute RDN.
    {"dn-all", "证书主体",
     "CN, Beijing, Haidian, 1 Test Road, Tavik Test, Fields, a, SN-0042, Engineer, "
     "dn@example.com, unstructured.example.com, 1 Unstructured Way, example, com, uid42, dnq1, "
     "Multi, Valued, Unknown Type, HEX: 30 03 02 01 2A",
     "C = CN\r\nST = Beijing\r\nL = Haidian\r\nStreet = 1 Test Road\r\nO = Tavik Test\r\n"
     "OU = Fields\r\nCN = a = b\r\nSerialNumber = SN-0042\r\nTitle = Engineer\r\n"
     "Email = dn@example.com\r\nUnstructedName = unstructured.example.com\r\n"
     "UnstructedAddress = 1 Unstructured Way\r\nDC = example\r\nDC = com\r\nUID = uid42\r\n"
     "dnQualifier = dnq1\r\nCN = Multi\r\nOU = Valued\r\n"
     "Unknown Attribute(2.5.4.250) = Unknown Type\r\n"
     "Unknown Attribute(1.2.3.4.5) = HEX: 30 03 02 01 2A",
     1},
    // Values OpenSSL's name typing refuses: an INTEGER and a VisibleString.
    {"odd-integer", "证书主体", "CN, HEX: 02 01 05", "C = CN\r\nCN = HEX: 02 01 05", 1},
    {"odd-visible", "证书主体", "CN, Visible", "C = CN\r\nCN = Visible", 1},
    {"rsa-leaf", "有效起始日期", "{start}", "{start}", 1},
    {"rsa-leaf", "有效终止日期", "{end}", "{end}", 1},
    {"rsa-leaf", "公钥", "RSA(2048 bits)", "公钥参数:RSA(2048 bits)" + kRsaKey, 1},
    {"rsa-leaf@01:07", "公钥", "RSAES_OAEP(2048 bits)", "公钥参数:RSAES_OAEP(2048 bits)" + kRsaKey,
     1},
    {"rsa-leaf@01:63", "公钥", kNa, kNa, 1},
    {"dsa-self", "公钥", "DSA(2048 bits)",
     "公钥参数:DSA(2048 bits)\r\n签名参数:{params}\r\n{spki}\r\n\r\n", 1},
    {"ec-leaf", "公钥", "ECC(256 bits)",
     "公钥参数:ECC(256 bits)\r\n椭圆参数:prime256v1\r\n" + kPoint, 1},
    {"ec-explicit", "公钥", "ECC(256 bits)", "公钥参数:ECC(256 bits)" + kPoint, 1},
    {"sm2-self", "公钥", "ECC(256 bits)", "公钥参数:ECC(256 bits)\r\n椭圆参数:SM2\r\n" + kPoint, 1},
    {"rsa-leaf", "签名值", "{sig}", "{sig}", 1},
    {"sm2-self", "签名值", "{sig}", "{sig}\r\n\r\nr:\r\n{r}\r\ns:\r\n{s}\r\n", 1},
    {"rsa-leaf", "缩略图", "MD5,SHA1,SHA256,SHA512",
     "MD5:\r\n{md5}\r\n\r\nSHA1:\r\n{sha1}\r\n\r\nSHA256:\r\n{sha256}\r\n\r\nSHA512:\r\n{sha512}"
     "\r\n\r\n",
     kAttribute},
};

TEST(FieldRows, ValueContentAndKind)
{
    const ScopedTimeZone zone("Asia/Shanghai");
    expectRows(kRows, [](const Loaded &l, const std::string &text) {
        return expand(text, references(l.der));
    });
}

// Each value under an unknown type: bytes outside the declared set show as
// UTF-8 when they are, else as Latin-1; values without a string show their
// DER. The issuer is an empty name.
TEST(FieldRows, NameValuesOfEveryForm)
{
    const std::pair<Bytes, std::string> values[] = {
        {tlv(0x0C, str("测试")), "测试"},
        {tlv(0x1E, {0x4E, 0x2D, 0x00, 0x41}), "中A"},
        {tlv(0x14, {0xE9, 0xFF}), "éÿ"}, // Teletex as Latin-1
        {tlv(0x1C, {0x00, 0x10, 0xFF, 0xFF}), "\xF4\x8F\xBF\xBF"},
        {tlv(0x13, {0x41, 0xE9}), "Aé"},
        {tlv(0x13, str("测")), "测"},
        {tlv(0x16, {0xE9}), "é"},
        {tlv(0x0C, {0x41, 0x00, 0x42}), "HEX: 0C 03 41 00 42"},
        {tlv(0x0C, {}), ""},
        {tlv(0x03, {0x03, 0xA8}), "HEX: 03 02 03 A8"},
        {tlv(0x30, tlv(0x0C, str("x"))), "HEX: 30 03 0C 01 78"},
    };
    Bytes rdns;
    std::string value, content;
    for (const auto &[der, text] : values) {
        const bool first = rdns.empty();
        rdns = rdns + tlv(0x31, tlv(0x30, fromHex("0603550463") + der));
        value += (first ? "" : ", ") + text;
        content += (first ? "" : "\r\n") + std::string("Unknown Attribute(2.5.4.99) = ") + text;
    }
    const CertPtr cert = certWith(tlv(0x30, rdns));
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(cert && model.setCertHandle(cert.get()));
    EXPECT_EQ(rowText(model, "证书主体"), value + "|" + content + "|1");
    EXPECT_EQ(rowText(model, "颁发者"), "||1");
}

// ---- Shared renderings ----

TEST(FieldFormats, TimesHexIntegersAndThumbprints)
{
    const ScopedTimeZone zone("Asia/Shanghai");
    const tavik::TimePtr last(tavik_time_new(9999, 12, 31, 23, 0, 0));
    EXPECT_EQ(ShowCertDetailDlgModel::FormatTime(last.get()), "9999年12月31日 23:00:00 UTC");

    const unsigned char bytes[] = {0x3a, 0x0f, 0x11};
    EXPECT_EQ(ShowCertDetailDlgModel::GetHexNumber(bytes, 3), "3A 0F 11");
    EXPECT_EQ(ShowCertDetailDlgModel::GetHexNumber(bytes, 1), "3A");
    EXPECT_EQ(ShowCertDetailDlgModel::GetHexNumber(bytes, 0), "");

    // Magnitude in hex, signed in decimal.
    const std::tuple<std::int64_t, const char *, const char *> numbers[] = {
        {0, "00", "0"},
        {-1234, "04 D2", "-1234"},
        {INT64_MIN, "80 00 00 00 00 00 00 00", "-9223372036854775808"},
    };
    for (const auto &[value, hexText, decimal] : numbers) {
        const tavik::BigIntPtr n(tavik_biginteger_newint(value));
        EXPECT_EQ(ShowCertDetailDlgModel::GetBigInt(n.get()), hexText) << value;
        EXPECT_EQ(ShowCertDetailDlgModel::GetDecBigInt(n.get()), decimal) << value;
    }

    // The four codes' digests are the thumbprint row's; no other code has one.
    const Loaded l("rsa-leaf");
    for (const int code : {0, 0x3000, 0x5000, 0x7000, 0x1001})
        EXPECT_EQ(ShowCertDetailDlgModel::ContractAThumbprint(l.cert.get(), code), std::nullopt);
}

// Exact comparison only: prefixes, longer OIDs and padded texts are unknown.
TEST(FieldFormats, NamesOutsideTheAlgorithmTables)
{
    const std::tuple<const char *, std::string, std::string> names[] = {
        {"1.2.840.10045.4.3", kNa, "未知(1.2.840.10045.4.3)"},
        {"1.2.840.10045.2.1.1", kNa, "未知(1.2.840.10045.2.1.1)"},
        {"1.2.840.113549.1.1.1 ", kNa, "未知(1.2.840.113549.1.1.1 )"},
        {"", kNa, "未知()"},
        // Listed in one table only.
        {"1.2.840.113549.1.1.10", "RSASSA_PSS", "RSASSA_PSS"},
        {"1.2.840.10046.2.1", kNa, "DH"},
        {"2.16.840.1.101.2.1.1.22", kNa, "KEA"},
        {"1.2.156.10197.1.504", "SM3WithRSA", "未知(1.2.156.10197.1.504)"},
    };
    for (const auto &[oid, signature, key] : names) {
        EXPECT_EQ(ShowCertDetailDlgModel::GetSignatureAlgorithmByOid(oid), signature) << oid;
        EXPECT_EQ(ShowCertDetailDlgModel::GetPublicKeyAlgorithmByOid(oid), key) << oid;
    }
}

} // namespace
} // namespace pkiui::test
