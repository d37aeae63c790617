// The rows of a certificate's own fields, compared with literals written from
// the display rules and with what openssl reads from the same files.
#include <gtest/gtest.h>

#include <openssl/pem.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fixtures.hpp"
#include "pkiui/detail_model.hpp"

namespace pkiui::test {
namespace {

constexpr const char *kNa = "(信息不可用或为空)";

// ---- References ----

std::string upper(std::string text)
{
    for (char &c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// "3A0F11" -> "3A 0F 11".
std::string spaced(const std::string &hex)
{
    std::string out;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        if (i > 0)
            out += ' ';
        out += hex.substr(i, 2);
    }
    return out;
}

std::string hexOf(const unsigned char *data, std::size_t length)
{
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < length; ++i) {
        out += kDigits[data[i] >> 4];
        out += kDigits[data[i] & 0x0f];
    }
    return out;
}

// The text after PREFIX on the first line that has it, up to the line end.
std::string after(const std::string &text, const std::string &prefix)
{
    const std::size_t at = text.find(prefix);
    if (at == std::string::npos)
        return "";
    const std::size_t start = at + prefix.size();
    return text.substr(start, text.find('\n', start) - start);
}

std::string pem(const std::string &name)
{
    return "-in '" + fixturePath(name + ".pem") + "'";
}

X509Ptr readX509(const std::string &name)
{
    std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(fixturePath(name + ".pem").c_str(), "r"),
                                                std::fclose);
    return X509Ptr(file ? PEM_read_X509(file.get(), nullptr, nullptr, nullptr) : nullptr);
}

// The serial's hex as openssl prints it.
std::string opensslSerial(const std::string &name)
{
    return after(openssl("x509 -noout -serial " + pem(name)), "serial=");
}

std::string opensslKeyBits(const std::string &name)
{
    const std::string text = after(openssl("x509 -noout -text " + pem(name)), "Public-Key: (");
    return text.substr(0, text.find(' '));
}

// SubjectPublicKeyInfo DER as the certificate holds it.
std::string keyEncoding(const std::string &name)
{
    const X509Ptr x = readX509(name);
    unsigned char *der = nullptr;
    const int length = x ? i2d_X509_PUBKEY(X509_get_X509_PUBKEY(x.get()), &der) : -1;
    std::string hex = length > 0 ? hexOf(der, static_cast<std::size_t>(length)) : "";
    OPENSSL_free(der);
    return hex;
}

std::string signatureBytes(const std::string &name)
{
    const X509Ptr x = readX509(name);
    const ASN1_BIT_STRING *signature = nullptr;
    if (x)
        X509_get0_signature(&signature, nullptr, x.get());
    return signature ? hexOf(signature->data, static_cast<std::size_t>(signature->length)) : "";
}

// The EC point "pub:" block of `openssl pkey -text`: 04, X, Y.
std::string opensslEcPoint(const std::string &name)
{
    const std::string text =
        openssl("x509 -noout -pubkey " + pem(name) + " | openssl pkey -pubin -noout -text");
    std::string hex;
    std::size_t at = text.find("pub:\n");
    if (at == std::string::npos)
        return "";
    at += 5;
    while (at < text.size() && text.compare(at, 4, "    ") == 0) {
        const std::size_t end = text.find('\n', at);
        for (std::size_t i = at; i < end; ++i)
            if (std::isxdigit(static_cast<unsigned char>(text[i])))
                hex += text[i];
        at = end + 1;
    }
    return upper(hex);
}

// r and s from asn1parse of the signature BIT STRING (the last one).
std::vector<std::string> asn1parseSignature(const std::string &name)
{
    const std::string top = openssl("asn1parse " + pem(name));
    const std::size_t line = top.rfind("BIT STRING");
    const std::size_t start = top.rfind('\n', line) + 1;
    const std::string offset = top.substr(start, top.find(':', start) - start);
    const std::string inner = openssl("asn1parse " + pem(name) + " -strparse " + offset);
    std::vector<std::string> integers;
    for (std::size_t at = inner.find("INTEGER"); at != std::string::npos;
         at = inner.find("INTEGER", at + 1))
        integers.push_back(after(inner.substr(at), ":"));
    return integers;
}

std::string digestOf(const std::string &name, const EVP_MD *md)
{
    const X509Ptr x = readX509(name);
    unsigned char *der = nullptr;
    const int length = x ? i2d_X509(x.get(), &der) : -1;
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int outLength = 0;
    const bool ok = length > 0 && EVP_Digest(der, static_cast<std::size_t>(length), out, &outLength,
                                             md, nullptr) == 1;
    OPENSSL_free(der);
    return ok ? hexOf(out, outLength) : "";
}

// ---- The model over one fixture ----

struct Loaded {
    explicit Loaded(const std::string &name) : cert(loadCert(name))
    {
        if (cert)
            ok = model.setCertHandle(cert.get());
    }
    const CertDetailInfoItem &row(const std::string &rowName) const
    {
        static const CertDetailInfoItem kMissing{"(missing)", "(missing)", "(missing)", 0};
        const CertDetailInfoItem *found = model.item(rowName);
        return found ? *found : kMissing;
    }
    tavik::CertPtr cert;
    ShowCertDetailDlgModel model;
    bool ok = false;
};

// Sets TZ for one scope and puts the old value back.
class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const char *zone)
    {
        if (const char *old = std::getenv("TZ"))
            m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone()
    {
        if (m_old)
            setenv("TZ", m_old->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone &) = delete;
    ScopedTimeZone &operator=(const ScopedTimeZone &) = delete;

  private:
    std::optional<std::string> m_old;
};

// YYYYMMDDHHMMSSZ shifted by hours, as 2024年03月05日 08:00:00.
std::string chineseTime(const std::string &utc, int hours)
{
    const auto seconds = static_cast<std::time_t>(epochOf(utc) + hours * 3600);
    std::tm tm{};
    gmtime_r(&seconds, &tm);
    char text[64];
    std::snprintf(text, sizeof text, "%04d年%02d月%02d日 %02d:%02d:%02d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return text;
}

// ---- Version, serial, signature algorithm ----

struct TextCase {
    const char *cert;
    const char *row;
    std::string value;
    std::string content;
};

std::ostream &operator<<(std::ostream &out, const TextCase &c)
{
    return out << c.cert << " " << c.row;
}

class FieldText : public ::testing::TestWithParam<TextCase> {};

TEST_P(FieldText, ValueContentAndKind)
{
    const TextCase &c = GetParam();
    const Loaded l(c.cert);
    ASSERT_TRUE(l.ok);
    EXPECT_EQ(l.row(c.row).value, c.value);
    EXPECT_EQ(l.row(c.row).content, c.content);
    EXPECT_EQ(l.row(c.row).type, 1u);
}

INSTANTIATE_TEST_SUITE_P(
    VersionSerialAlgorithm, FieldText,
    ::testing::Values(TextCase{"rsa-leaf", "版本", "V3", "V3"},
                      TextCase{"uid-cert", "版本", "V2", "V2"},
                      TextCase{"v1-cert", "版本", "V1", "V1"},
                      TextCase{"serial00-leaf", "序列号", "00 8F 3A 1C 5E 7B 9D 2F 46",
                               "00 8F 3A 1C 5E 7B 9D 2F 46"},
                      TextCase{"uid-cert", "序列号", "5A 5A", "5A 5A"},
                      TextCase{"uid-cert", "颁发者唯一ID", "A1 B2 C3", "A1 B2 C3"},
                      TextCase{"uid-cert", "主题唯一ID", "D4 E5 F6 A7", "D4 E5 F6 A7"},
                      TextCase{"rsa-leaf", "签名算法", "SHA256WithRSA",
                               "签名算法:SHA256WithRSA\r\n签名参数:NULL"},
                      TextCase{"sm2-self", "签名算法", "SM3WithSM2", "签名算法:SM3WithSM2"},
                      TextCase{"dsa-self", "签名算法", "DSAWithSHA256", "签名算法:DSAWithSHA256"},
                      TextCase{"ecdsa-root", "签名算法", "ECDSAWithSHA256",
                               "签名算法:ECDSAWithSHA256"}));

// Names: the issuer and subject rows.
INSTANTIATE_TEST_SUITE_P(
    Names, FieldText,
    ::testing::Values(
        TextCase{"rsa-leaf", "颁发者", "CN, Tavik Test, Tavik Test Intermediate CA",
                 "C = CN\r\nO = Tavik Test\r\nCN = Tavik Test Intermediate CA"},
        TextCase{"rsa-leaf", "证书主体", "CN, Beijing, Haidian, Tavik Test, Signing, Leaf RSA",
                 "C = CN\r\nST = Beijing\r\nL = Haidian\r\nO = Tavik Test\r\nOU = Signing\r\n"
                 "CN = Leaf RSA"},
        TextCase{"sm2-self", "证书主体", "CN, Tavik Test, 测试SM2证书",
                 "C = CN\r\nO = Tavik Test\r\nCN = 测试SM2证书"},
        // Every label, the unknown type, the non-string value, the " = "
        // inside a value (cut in the value, whole in the content) and the
        // two attributes of one RDN in stored order.
        TextCase{"dn-all", "证书主体",
                 "CN, Beijing, Haidian, 1 Test Road, Tavik Test, Fields, a, SN-0042, Engineer, "
                 "dn@example.com, unstructured.example.com, 1 Unstructured Way, example, com, "
                 "uid42, dnq1, Multi, Valued, Unknown Type, HEX: 30 03 02 01 2A",
                 "C = CN\r\n"
                 "ST = Beijing\r\n"
                 "L = Haidian\r\n"
                 "Street = 1 Test Road\r\n"
                 "O = Tavik Test\r\n"
                 "OU = Fields\r\n"
                 "CN = a = b\r\n"
                 "SerialNumber = SN-0042\r\n"
                 "Title = Engineer\r\n"
                 "Email = dn@example.com\r\n"
                 "UnstructedName = unstructured.example.com\r\n"
                 "UnstructedAddress = 1 Unstructured Way\r\n"
                 "DC = example\r\n"
                 "DC = com\r\n"
                 "UID = uid42\r\n"
                 "dnQualifier = dnq1\r\n"
                 "CN = Multi\r\n"
                 "OU = Valued\r\n"
                 "Unknown Attribute(2.5.4.250) = Unknown Type\r\n"
                 "Unknown Attribute(1.2.3.4.5) = HEX: 30 03 02 01 2A"}));

TEST(FieldSerial, AllContentBytesAsOpensslReadsThem)
{
    for (const char *name : {"rsa-leaf", "ec-leaf", "v1-cert", "dsa-self"}) {
        std::string hex = opensslSerial(name);
        ASSERT_FALSE(hex.empty()) << name;
        // openssl drops the sign byte that a top bit forces into the DER.
        if (hex.size() % 2 == 1)
            hex = "0" + hex;
        if (hex[0] >= '8')
            hex = "00" + hex;
        const Loaded l(name);
        EXPECT_EQ(l.row("序列号").value, spaced(hex)) << name;
        EXPECT_EQ(l.row("序列号").content, spaced(hex)) << name;
    }
}

TEST(FieldUniqueIds, AbsentIdsAddNoRow)
{
    for (const char *name : {"rsa-leaf", "v1-cert"}) {
        const Loaded l(name);
        ASSERT_TRUE(l.ok);
        EXPECT_EQ(l.model.item("颁发者唯一ID"), nullptr) << name;
        EXPECT_EQ(l.model.item("主题唯一ID"), nullptr) << name;
    }
}

// ---- Validity ----

struct ZoneCase {
    const char *zone;
    int hours;
};

class FieldValidity : public ::testing::TestWithParam<ZoneCase> {};

TEST_P(FieldValidity, LocalCalendarTimeOfBothEnds)
{
    const ScopedTimeZone zone(GetParam().zone);
    for (const char *name : {"rsa-leaf", "sm2-self"}) {
        const Dates dates = loadDates(name);
        const Loaded l(name);
        ASSERT_TRUE(l.ok);
        const std::string start = chineseTime(dates.notBefore, GetParam().hours);
        const std::string end = chineseTime(dates.notAfter, GetParam().hours);
        EXPECT_EQ(l.row("有效起始日期").value, start) << name;
        EXPECT_EQ(l.row("有效起始日期").content, start) << name;
        EXPECT_EQ(l.row("有效终止日期").value, end) << name;
        EXPECT_EQ(l.row("有效终止日期").content, end) << name;
        EXPECT_EQ(l.row("有效终止日期").type, 1u);
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, FieldValidity,
                         ::testing::Values(ZoneCase{"UTC", 0}, ZoneCase{"Asia/Shanghai", 8}));

TEST(FieldValidity, TimeWithoutLocalCalendarValueIsShownInUtc)
{
    const ScopedTimeZone zone("Asia/Shanghai");
    const tavik::TimePtr last(tavik_time_new(9999, 12, 31, 23, 0, 0));
    ASSERT_TRUE(last);
    EXPECT_EQ(ShowCertDetailDlgModel::FormatTime(last.get()), "9999年12月31日 23:00:00 UTC");
    const tavik::TimePtr plain(tavik_time_new(2024, 3, 5, 0, 0, 0));
    EXPECT_EQ(ShowCertDetailDlgModel::FormatTime(plain.get()), "2024年03月05日 08:00:00");
}

// ---- Public key ----

TEST(FieldPublicKey, RsaKeyShowsParametersEncodingModulusAndExponent)
{
    const Loaded l("rsa-leaf");
    ASSERT_TRUE(l.ok);
    const std::string modulus = after(openssl("x509 -noout -modulus " + pem("rsa-leaf")), "=");
    ASSERT_FALSE(modulus.empty());
    EXPECT_EQ(opensslKeyBits("rsa-leaf"), "2048");
    EXPECT_EQ(l.row("公钥").value, "RSA(2048 bits)");
    EXPECT_EQ(l.row("公钥").content, "公钥参数:RSA(2048 bits)\r\n签名参数:NULL\r\n" +
                                         spaced(keyEncoding("rsa-leaf")) + "\r\n\r\nm:\r\n" +
                                         spaced(modulus) + "\r\ne:\r\n01 00 01\r\n");
    EXPECT_EQ(l.row("公钥").type, 1u);
}

TEST(FieldPublicKey, DsaKeyShowsTheBitsOfPAndItsParameters)
{
    const Loaded l("dsa-self");
    ASSERT_TRUE(l.ok);
    const std::string bits = opensslKeyBits("dsa-self");
    ASSERT_FALSE(bits.empty());
    const X509Ptr x = readX509("dsa-self");
    const X509_ALGOR *alg = nullptr;
    X509_PUBKEY_get0_param(nullptr, nullptr, nullptr, const_cast<X509_ALGOR **>(&alg),
                           X509_get_X509_PUBKEY(x.get()));
    int paramType = 0;
    const void *param = nullptr;
    X509_ALGOR_get0(nullptr, &paramType, &param, alg);
    ASSERT_EQ(paramType, V_ASN1_SEQUENCE);
    // A SEQUENCE parameter is kept as its whole DER.
    const auto *sequence = static_cast<const ASN1_STRING *>(param);
    const std::string paramsHex =
        hexOf(ASN1_STRING_get0_data(sequence), static_cast<std::size_t>(sequence->length));
    ASSERT_EQ(paramsHex.substr(0, 2), "30");

    const std::string value = "DSA(" + bits + " bits)";
    EXPECT_EQ(l.row("公钥").value, value);
    EXPECT_EQ(l.row("公钥").content, "公钥参数:" + value + "\r\n签名参数:" + spaced(paramsHex) +
                                         "\r\n" + spaced(keyEncoding("dsa-self")) + "\r\n\r\n");
}

struct EcCase {
    const char *cert;
    const char *curveLine; // "" for an unnamed curve
};

std::ostream &operator<<(std::ostream &out, const EcCase &c)
{
    return out << c.cert;
}

class FieldEcKey : public ::testing::TestWithParam<EcCase> {};

TEST_P(FieldEcKey, ShowsBitsCurveEncodingAndPointHalves)
{
    const EcCase &c = GetParam();
    const Loaded l(c.cert);
    ASSERT_TRUE(l.ok);
    const std::string point = opensslEcPoint(c.cert);
    ASSERT_EQ(point.size(), 2u + 2 * 64) << "04 || X || Y of a 256-bit curve";
    ASSERT_EQ(point.substr(0, 2), "04");
    EXPECT_EQ(opensslKeyBits(c.cert), "256");

    EXPECT_EQ(l.row("公钥").value, "ECC(256 bits)");
    EXPECT_EQ(l.row("公钥").content, "公钥参数:ECC(256 bits)" + std::string(c.curveLine) +
                                         spaced(keyEncoding(c.cert)) + "\r\n\r\nx:\r\n" +
                                         spaced(point.substr(2, 64)) + "\r\ny:\r\n" +
                                         spaced(point.substr(66, 64)) + "\r\n");
}

INSTANTIATE_TEST_SUITE_P(Curves, FieldEcKey,
                         ::testing::Values(EcCase{"ec-leaf", "\r\n椭圆参数:prime256v1\r\n"},
                                           EcCase{"ecdsa-root", "\r\n椭圆参数:prime256v1\r\n"},
                                           EcCase{"sm2-self", "\r\n椭圆参数:SM2\r\n"},
                                           EcCase{"ec-explicit", ""}));

// ---- Signature value ----

TEST(FieldSignature, RsaSignatureIsTheHexAlone)
{
    const Loaded l("rsa-leaf");
    ASSERT_TRUE(l.ok);
    const std::string hex = spaced(signatureBytes("rsa-leaf"));
    ASSERT_EQ(hex.size(), 256u * 3 - 1);
    EXPECT_EQ(l.row("签名值").value, hex);
    EXPECT_EQ(l.row("签名值").content, hex);
    EXPECT_EQ(l.row("签名值").type, 1u);
}

class FieldTwoIntegerSignature : public ::testing::TestWithParam<const char *> {};

TEST_P(FieldTwoIntegerSignature, ContentAddsRAndS)
{
    const char *name = GetParam();
    const Loaded l(name);
    ASSERT_TRUE(l.ok);
    const std::vector<std::string> rs = asn1parseSignature(name);
    ASSERT_EQ(rs.size(), 2u) << name;
    const std::string hex = spaced(signatureBytes(name));
    EXPECT_EQ(l.row("签名值").value, hex);
    EXPECT_EQ(l.row("签名值").content,
              hex + "\r\n\r\nr:\r\n" + spaced(rs[0]) + "\r\ns:\r\n" + spaced(rs[1]) + "\r\n");
}

INSTANTIATE_TEST_SUITE_P(DsaEcdsaSm2, FieldTwoIntegerSignature,
                         ::testing::Values("sm2-self", "dsa-self", "ecdsa-root"));

// ---- Thumbprints ----

TEST(FieldThumbprint, FourUnbrokenDigestsOfTheDer)
{
    for (const char *name : {"rsa-leaf", "sm2-self"}) {
        const Loaded l(name);
        ASSERT_TRUE(l.ok);
        const std::string expected = "MD5:\r\n" + digestOf(name, EVP_md5()) + "\r\n\r\n" +
                                     "SHA1:\r\n" + digestOf(name, EVP_sha1()) + "\r\n\r\n" +
                                     "SHA256:\r\n" + digestOf(name, EVP_sha256()) + "\r\n\r\n" +
                                     "SHA512:\r\n" + digestOf(name, EVP_sha512()) + "\r\n\r\n";
        EXPECT_EQ(l.row("缩略图").value, "MD5,SHA1,SHA256,SHA512") << name;
        EXPECT_EQ(l.row("缩略图").content, expected) << name;
        EXPECT_EQ(l.row("缩略图").type, 16u) << name;
    }
}

TEST(FieldThumbprint, CodesOutsideTheFourGiveNothing)
{
    const tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    EXPECT_EQ(ShowCertDetailDlgModel::ContractAThumbprint(cert.get(), 0x4000),
              digestOf("rsa-leaf", EVP_sha256()));
    for (const int code : {0, 0x3000, 0x5000, 0x7000, 0x1001})
        EXPECT_EQ(ShowCertDetailDlgModel::ContractAThumbprint(cert.get(), code), std::nullopt)
            << code;
    EXPECT_EQ(ShowCertDetailDlgModel::ContractAThumbprint(nullptr, 0x1000), std::nullopt);
}

// ---- Shared renderings ----

struct HexCase {
    std::vector<unsigned char> bytes;
    std::string text;
};

class HexNumber : public ::testing::TestWithParam<HexCase> {};

TEST_P(HexNumber, OneBlankBetweenBytes)
{
    const HexCase &c = GetParam();
    EXPECT_EQ(ShowCertDetailDlgModel::GetHexNumber(c.bytes.data(), c.bytes.size()), c.text);
}

INSTANTIATE_TEST_SUITE_P(Lengths, HexNumber,
                         ::testing::Values(HexCase{{}, ""}, HexCase{{0x05}, "05"},
                                           HexCase{{0x00}, "00"}, HexCase{{0x3a, 0x0f}, "3A 0F"},
                                           HexCase{{0x3a, 0x0f, 0x11}, "3A 0F 11"},
                                           HexCase{{0xff, 0x00, 0xab, 0xcd}, "FF 00 AB CD"}));

TEST(HexNumber, NullDataWithALengthFails)
{
    EXPECT_EQ(ShowCertDetailDlgModel::GetHexNumber(nullptr, 3), std::nullopt);
    EXPECT_EQ(ShowCertDetailDlgModel::GetHexNumber(nullptr, 0), "");
}

struct BigCase {
    std::int64_t value;
    std::string hex;
    std::string decimal;
};

class BigIntegers : public ::testing::TestWithParam<BigCase> {};

TEST_P(BigIntegers, MagnitudeHexAndSignedDecimal)
{
    const BigCase &c = GetParam();
    const tavik::BigIntPtr n(tavik_biginteger_newint(c.value));
    ASSERT_TRUE(n);
    EXPECT_EQ(ShowCertDetailDlgModel::GetBigInt(n.get()), c.hex);
    EXPECT_EQ(ShowCertDetailDlgModel::GetDecBigInt(n.get()), c.decimal);
}

INSTANTIATE_TEST_SUITE_P(Values, BigIntegers,
                         ::testing::Values(BigCase{0, "00", "0"}, BigCase{5, "05", "5"},
                                           BigCase{65537, "01 00 01", "65537"},
                                           BigCase{-1234, "04 D2", "-1234"},
                                           BigCase{-9223372036854775807LL - 1,
                                                   "80 00 00 00 00 00 00 00",
                                                   "-9223372036854775808"}));

TEST(BigIntegers, NullGivesNothing)
{
    EXPECT_EQ(ShowCertDetailDlgModel::GetBigInt(nullptr), std::nullopt);
    EXPECT_EQ(ShowCertDetailDlgModel::GetDecBigInt(nullptr), std::nullopt);
    EXPECT_EQ(ShowCertDetailDlgModel::GetBitSet(nullptr), std::nullopt);
}

// ---- Names outside the tables ----

struct NameCase {
    const char *oid;
    std::string signature;
    std::string key;
};

class UnlistedOids : public ::testing::TestWithParam<NameCase> {};

// Exact comparison only: prefixes, extensions and padded texts are unknown.
TEST_P(UnlistedOids, SignatureUnavailableKeyUnknown)
{
    EXPECT_EQ(ShowCertDetailDlgModel::GetSignatureAlgorithmByOid(GetParam().oid),
              GetParam().signature);
    EXPECT_EQ(ShowCertDetailDlgModel::GetPublicKeyAlgorithmByOid(GetParam().oid), GetParam().key);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, UnlistedOids,
    ::testing::Values(NameCase{"1.2.840.10045.4.3", kNa, "未知(1.2.840.10045.4.3)"},
                      NameCase{"1.2.840.10045.2.1.1", kNa, "未知(1.2.840.10045.2.1.1)"},
                      NameCase{"1.2.840.113549.1.1.1 ", kNa, "未知(1.2.840.113549.1.1.1 )"},
                      NameCase{"", kNa, "未知()"},
                      // Listed in one table only.
                      NameCase{"1.2.840.113549.1.1.10", "RSASSA_PSS", "RSASSA_PSS"},
                      NameCase{"1.2.840.10046.2.1", kNa, "DH"},
                      NameCase{"2.16.840.1.101.2.1.1.22", kNa, "KEA"},
                      NameCase{"1.2.156.10197.1.504", "SM3WithRSA", "未知(1.2.156.10197.1.504)"}));

// ---- Certificates the test makes ----

// A self-signed certificate with an empty subject and issuer.
X509Ptr emptyNameCert()
{
    const KeyPtr key(EVP_EC_gen("P-256"));
    X509Ptr x(X509_new());
    if (!key || !x)
        return nullptr;
    X509_set_version(x.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(x.get()), 7);
    X509_gmtime_adj(X509_getm_notBefore(x.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(x.get()), 3600);
    X509_set_pubkey(x.get(), key.get());
    if (X509_sign(x.get(), key.get(), EVP_sha256()) <= 0)
        return nullptr;
    return x;
}

TEST(FieldNames, EmptyNameGivesEmptyTextsNotTheUnavailableText)
{
    const X509Ptr x = emptyNameCert();
    ASSERT_TRUE(x);
    const tavik::CertPtr cert = handleOf(x.get());
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    for (const char *row : {"颁发者", "证书主体"}) {
        ASSERT_NE(model.item(row), nullptr) << row;
        EXPECT_EQ(model.item(row)->value, "") << row;
        EXPECT_EQ(model.item(row)->content, "") << row;
    }
    EXPECT_EQ(model.item("序列号")->value, "07");
    EXPECT_NE(model.item("签名值")->content.find("\r\n\r\nr:\r\n"), std::string::npos);
}

// NAME's DER with every occurrence of FROM replaced by TO (same length).
tavik::CertPtr patched(const std::string &name, const std::vector<unsigned char> &from,
                       const std::vector<unsigned char> &to)
{
    std::ifstream in(fixturePath(name + ".der"), std::ios::binary);
    std::vector<unsigned char> der((std::istreambuf_iterator<char>(in)),
                                   std::istreambuf_iterator<char>());
    int replaced = 0;
    for (auto at = std::search(der.begin(), der.end(), from.begin(), from.end()); at != der.end();
         at = std::search(at + 1, der.end(), from.begin(), from.end())) {
        std::copy(to.begin(), to.end(), at);
        ++replaced;
    }
    TAVIK_CERT_st *cert = nullptr;
    if (replaced == 0 || TavikPKICertNewFromData(der.data(), der.size(), &cert) != 1)
        return nullptr;
    return tavik::CertPtr(cert);
}

// 1.2.840.113549.1.1.N as DER.
std::vector<unsigned char> pkcs1Oid(unsigned char last)
{
    return {0x06, 0x09, 0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, last};
}

TEST(FieldUnknownAlgorithms, UnknownSignatureAlgorithmNamesItUnavailable)
{
    const tavik::CertPtr cert = patched("rsa-leaf", pkcs1Oid(0x0b), pkcs1Oid(0x63));
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    EXPECT_EQ(model.item("签名算法")->value, kNa);
    EXPECT_EQ(model.item("签名算法")->content,
              std::string("签名算法:") + kNa + "\r\n签名参数:NULL");
    EXPECT_EQ(model.item("签名值")->content, model.item("签名值")->value);
}

TEST(FieldUnknownAlgorithms, KeyOfAnUnknownAlgorithmIsUnavailable)
{
    const tavik::CertPtr cert = patched("rsa-leaf", pkcs1Oid(0x01), pkcs1Oid(0x63));
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    EXPECT_EQ(model.item("公钥")->value, kNa);
    EXPECT_EQ(model.item("公钥")->content, kNa);
    EXPECT_EQ(model.item("公钥")->type, 1u);
}

TEST(FieldUnknownAlgorithms, RsaKeyUnderTheOaepIdentifier)
{
    const tavik::CertPtr cert = patched("rsa-leaf", pkcs1Oid(0x01), pkcs1Oid(0x07));
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    EXPECT_EQ(model.item("公钥")->value, "RSAES_OAEP(2048 bits)");
    const std::string &content = model.item("公钥")->content;
    EXPECT_EQ(content.substr(0, content.find("\r\n")), "公钥参数:RSAES_OAEP(2048 bits)");
    EXPECT_NE(content.find("\r\n\r\nm:\r\n"), std::string::npos);
    const std::string tail = "e:\r\n01 00 01\r\n";
    ASSERT_GT(content.size(), tail.size());
    EXPECT_EQ(content.substr(content.size() - tail.size()), tail);
}

} // namespace
} // namespace pkiui::test
