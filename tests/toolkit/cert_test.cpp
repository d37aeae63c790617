// Loading certificates and reading their attributes, on certificates made by
// the openssl command (the fixtures) and, for dates and names the fixtures
// cannot carry, by the OpenSSL API in the test.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdint>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tavik_ptr.hpp"

namespace {

using tavik::CertPtr;
using tavik::TextPtr;
using tavik::TimePtr;

std::string fixture(const std::string &name)
{
    return std::string(PKIUI_FIXTURES) + "/" + name;
}

std::vector<unsigned char> fileBytes(const std::string &name)
{
    std::ifstream in(fixture(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

CertPtr load(const std::string &name)
{
    TAVIK_CERT_st *cert = nullptr;
    const int rc = TavikPKICertNewFromFile(fixture(name).c_str(), &cert);
    EXPECT_EQ(rc, 1) << name;
    return CertPtr(rc == 1 ? cert : nullptr);
}

std::optional<std::string> text(TAVIK_CERT_st *cert, int code)
{
    char *out = nullptr;
    if (TavikPKICertGetCertStringAttribute(cert, code, &out) != 1)
        return std::nullopt;
    const TextPtr owned(out);
    return std::string(out);
}

std::optional<std::int64_t> integer(TAVIK_CERT_st *cert, int code)
{
    std::int64_t value = 0;
    if (TavikPKICertGetCertIntegerAttribute(cert, code, &value) != 1)
        return std::nullopt;
    return value;
}

// NAME.dates: "NOTBEFORE NOTAFTER" as YYYYMMDDHHMMSSZ.
std::pair<std::string, std::string> dates(const std::string &name)
{
    std::ifstream in(fixture(name + ".dates"));
    std::pair<std::string, std::string> result;
    in >> result.first >> result.second;
    return result;
}

std::int64_t epochOf(const std::string &t)
{
    std::tm tm{};
    tm.tm_year = std::stoi(t.substr(0, 4)) - 1900;
    tm.tm_mon = std::stoi(t.substr(4, 2)) - 1;
    tm.tm_mday = std::stoi(t.substr(6, 2));
    tm.tm_hour = std::stoi(t.substr(8, 2));
    tm.tm_min = std::stoi(t.substr(10, 2));
    tm.tm_sec = std::stoi(t.substr(12, 2));
    return timegm(&tm);
}

std::string format(const tavik_time *t)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d%02d%02d%02d%02d%02dZ", tavik_time_getyear(t),
                  tavik_time_getmonth(t), tavik_time_getday(t), tavik_time_gethour(t),
                  tavik_time_getminute(t), tavik_time_getsecond(t));
    return buffer;
}

// Restores the real clock however the test ends.
struct PinnedClock {
    ~PinnedClock() { tavik_debug_set_now(0); }
    void at(std::int64_t seconds) const { tavik_debug_set_now(seconds); }
};

// ---- Loading ----

TEST(CertLoad, MalformedOrMissingInputsFailWithoutOutput)
{
    struct Case {
        const char *file;
        int code; // 0: any failure
    };
    const Case cases[] = {
        {"garbage.der", 0},
        {"truncated.der", 0},
        {"empty.pem", TAVIK_ERR_NOT_FOUND},
        {"key-only.pem", TAVIK_ERR_NOT_FOUND},
        {"no-such-file.pem", TAVIK_ERR_NOT_FOUND},
        {"", 0}, // the fixture directory itself
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        static char marker;
        auto *sentinel = reinterpret_cast<TAVIK_CERT_st *>(&marker);
        TAVIK_CERT_st *cert = sentinel;
        const int rc = TavikPKICertNewFromFile(fixture(c.file).c_str(), &cert);
        EXPECT_NE(rc, 1);
        if (c.code) {
            EXPECT_EQ(rc, c.code);
        }
        EXPECT_EQ(cert, sentinel);

        TAVIK_CERT_st **certs = nullptr;
        int count = -7;
        EXPECT_NE(TavikPKICertNewAllFromFile(fixture(c.file).c_str(), &certs, &count), 1);
        EXPECT_EQ(certs, nullptr);
        EXPECT_EQ(count, -7);
    }
}

TEST(CertLoad, NullArgumentsFail)
{
    const auto der = fileBytes("rsa-leaf.der");
    TAVIK_CERT_st *cert = nullptr;
    TAVIK_CERT_st **certs = nullptr;
    int count = 0;
    EXPECT_NE(TavikPKICertNewFromData(nullptr, der.size(), &cert), 1);
    EXPECT_NE(TavikPKICertNewFromData(der.data(), 0, &cert), 1);
    EXPECT_NE(TavikPKICertNewFromData(der.data(), der.size(), nullptr), 1);
    EXPECT_NE(TavikPKICertNewFromFile(nullptr, &cert), 1);
    EXPECT_NE(TavikPKICertNewAllFromData(der.data(), der.size(), nullptr, &count), 1);
    EXPECT_NE(TavikPKICertNewAllFromData(der.data(), der.size(), &certs, nullptr), 1);
    EXPECT_EQ(cert, nullptr);
    EXPECT_EQ(TavikPKICertDupCert(nullptr), nullptr);
    TavikPKICertFreeCert(nullptr);
    TavikPKICertFreeCertPath(nullptr, 3);
}

// A DER decoder that stops early or ignores what follows would accept these.
TEST(CertLoad, EveryTruncationAndTrailingBytesOfDerFail)
{
    const auto der = fileBytes("rsa-leaf.der");
    ASSERT_GT(der.size(), 100u);
    for (std::size_t n = 1; n < der.size(); n += 17) {
        TAVIK_CERT_st *cert = nullptr;
        EXPECT_NE(TavikPKICertNewFromData(der.data(), n, &cert), 1) << n << " bytes";
    }
    auto longer = der;
    longer.push_back(0);
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_NE(TavikPKICertNewFromData(longer.data(), longer.size(), &cert), 1);
}

TEST(CertLoad, AllCertificatesOfBundlesInOrder)
{
    struct Case {
        const char *file;
        std::vector<std::string> names;
    };
    const Case cases[] = {
        {"bundle.pem", {"Leaf RSA", "Leaf EC", "DSA Self"}},
        {"chain.pem", {"Leaf RSA", "Tavik Test Intermediate CA", "Tavik Test Root CA"}},
        {"rsa-leaf.der", {"Leaf RSA"}},
        {"alias.pem", {"Leaf RSA"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        tavik::CertPath certs;
        ASSERT_EQ(
            TavikPKICertNewAllFromFile(fixture(c.file).c_str(), certs.outCerts(), certs.outCount()),
            1);
        ASSERT_EQ(certs.size(), static_cast<int>(c.names.size()));
        for (int i = 0; i < certs.size(); ++i)
            EXPECT_EQ(text(certs[i], TAVIK_ATTR_SUBJECT_CN), c.names[static_cast<std::size_t>(i)]);

        // The single loader takes the first of them.
        const CertPtr first = load(c.file);
        ASSERT_TRUE(first);
        EXPECT_EQ(text(first.get(), TAVIK_ATTR_SUBJECT_CN), c.names.front());
    }
}

TEST(CertLoad, ConcatenatedDerCertificatesLoadTogether)
{
    auto bytes = fileBytes("rsa-leaf.der");
    const auto second = fileBytes("ec-leaf.der");
    bytes.insert(bytes.end(), second.begin(), second.end());
    tavik::CertPath certs;
    ASSERT_EQ(
        TavikPKICertNewAllFromData(bytes.data(), bytes.size(), certs.outCerts(), certs.outCount()),
        1);
    ASSERT_EQ(certs.size(), 2);
    EXPECT_EQ(text(certs[1], TAVIK_ATTR_SUBJECT_CN), "Leaf EC");
}

TEST(CertLoad, DerAndPemGiveTheSameAttributes)
{
    const int textCodes[] = {TAVIK_ATTR_SUBJECT_CN, TAVIK_ATTR_ISSUER_NAME,
                             TAVIK_ATTR_FRIENDLY_NAME, TAVIK_ATTR_NOT_AFTER};
    const int intCodes[] = {TAVIK_ATTR_KEY_ALGORITHM, TAVIK_ATTR_CURVE, TAVIK_ATTR_KEY_USAGE,
                            TAVIK_ATTR_KEY_SIZE, TAVIK_ATTR_IN_VALIDITY};
    for (const std::string name : {"rsa-leaf", "ec-leaf", "sm2-self", "dsa-self", "nocn-leaf"}) {
        SCOPED_TRACE(name);
        const auto der = fileBytes(name + ".der");
        const auto pem = fileBytes(name + ".pem");
        TAVIK_CERT_st *a = nullptr;
        TAVIK_CERT_st *b = nullptr;
        ASSERT_EQ(TavikPKICertNewFromData(der.data(), der.size(), &a), 1);
        const CertPtr fromDer(a);
        ASSERT_EQ(TavikPKICertNewFromData(pem.data(), pem.size(), &b), 1);
        const CertPtr fromPem(b);
        for (const int code : textCodes)
            EXPECT_EQ(text(a, code), text(b, code)) << code;
        for (const int code : intCodes)
            EXPECT_EQ(integer(a, code), integer(b, code)) << code;
    }
}

TEST(CertLoad, DuplicateOutlivesTheOriginal)
{
    CertPtr original = load("alias.pem");
    ASSERT_TRUE(original);
    const long before = tavik_debug_live_objects();
    const CertPtr copy(TavikPKICertDupCert(original.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), original.get());
    EXPECT_EQ(tavik_debug_live_objects(), before + 1);
    original.reset();
    EXPECT_EQ(text(copy.get(), TAVIK_ATTR_FRIENDLY_NAME), "Alias Leaf");
    EXPECT_EQ(text(copy.get(), TAVIK_ATTR_SUBJECT_CN), "Leaf RSA");
}

// ---- Attributes ----

TEST(CertAttributes, TextCodes)
{
    struct Case {
        const char *file;
        int code;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"rsa-leaf.pem", TAVIK_ATTR_SUBJECT_CN, "Leaf RSA"},
        {"rsa-leaf.pem", TAVIK_ATTR_ISSUER_NAME, "Tavik Test Intermediate CA"},
        {"rsa-leaf.pem", TAVIK_ATTR_FRIENDLY_NAME, std::nullopt},
        {"rsa-inter.der", TAVIK_ATTR_ISSUER_NAME, "Tavik Test Root CA"},
        {"nocn-leaf.pem", TAVIK_ATTR_SUBJECT_CN, std::nullopt},
        {"nocn-leaf.pem", TAVIK_ATTR_ISSUER_NAME, "Tavik Test Intermediate CA"},
        {"alias.pem", TAVIK_ATTR_FRIENDLY_NAME, "Alias Leaf"},
        {"alias.pem", TAVIK_ATTR_SUBJECT_CN, "Leaf RSA"},
        {"sm2-self.pem", TAVIK_ATTR_SUBJECT_CN, "测试SM2证书"},
        {"sm2-self.der", TAVIK_ATTR_ISSUER_NAME, "测试SM2证书"},
        {"ec-leaf.der", TAVIK_ATTR_SUBJECT_CN, "Leaf EC"},
        {"rsa-leaf.pem", TAVIK_ATTR_KEY_ALGORITHM, std::nullopt}, // an integer code
        {"rsa-leaf.pem", 0, std::nullopt},
        {"rsa-leaf.pem", 17, std::nullopt},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.file) + " code " + std::to_string(c.code));
        const CertPtr cert = load(c.file);
        ASSERT_TRUE(cert);
        char marker = 0;
        char *out = &marker;
        const int rc = TavikPKICertGetCertStringAttribute(cert.get(), c.code, &out);
        if (!c.expected) {
            EXPECT_NE(rc, 1);
            EXPECT_EQ(out, &marker) << "written on failure";
            continue;
        }
        ASSERT_EQ(rc, 1);
        const TextPtr owned(out);
        EXPECT_EQ(std::string(out), *c.expected);
    }
}

TEST(CertAttributes, NotAfterIsTheValidityEndInUtc)
{
    for (const std::string name :
         {"rsa-leaf", "rsa-root", "sm2-self", "expired-leaf", "notyet-leaf"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = load(name + ".der");
        ASSERT_TRUE(cert);
        EXPECT_EQ(text(cert.get(), TAVIK_ATTR_NOT_AFTER), dates(name).second);
    }
}

TEST(CertAttributes, IntegerCodes)
{
    struct Case {
        const char *file;
        int code;
        std::optional<std::int64_t> expected;
    };
    const Case cases[] = {
        {"rsa-leaf.pem", TAVIK_ATTR_KEY_ALGORITHM, TAVIK_KEYALG_RSA},
        {"rsa-leaf.pem", TAVIK_ATTR_KEY_SIZE, 2048},
        {"rsa-leaf.pem", TAVIK_ATTR_KEY_USAGE, 1 | 2}, // digitalSignature, nonRepudiation
        {"rsa-leaf.pem", TAVIK_ATTR_CURVE, std::nullopt},
        {"rsa-root.pem", TAVIK_ATTR_KEY_USAGE, 32 | 64}, // keyCertSign, cRLSign
        {"ec-leaf.pem", TAVIK_ATTR_KEY_ALGORITHM, TAVIK_KEYALG_EC},
        {"ec-leaf.pem", TAVIK_ATTR_CURVE, TAVIK_CURVE_P256},
        {"ec-leaf.pem", TAVIK_ATTR_KEY_SIZE, 256},
        {"ec-leaf.pem", TAVIK_ATTR_KEY_USAGE, 1 | 16}, // digitalSignature, keyAgreement
        {"sm2-self.pem", TAVIK_ATTR_KEY_ALGORITHM, TAVIK_KEYALG_EC},
        {"sm2-self.pem", TAVIK_ATTR_CURVE, TAVIK_CURVE_SM2},
        {"sm2-self.pem", TAVIK_ATTR_KEY_SIZE, 256},
        {"sm2-self.pem", TAVIK_ATTR_KEY_USAGE, 1 | 4}, // digitalSignature, keyEncipherment
        {"dsa-self.der", TAVIK_ATTR_KEY_ALGORITHM, TAVIK_KEYALG_DSA},
        {"dsa-self.der", TAVIK_ATTR_KEY_SIZE, 2048},
        {"dsa-self.der", TAVIK_ATTR_KEY_USAGE, std::nullopt},
        {"dsa-self.der", TAVIK_ATTR_CURVE, std::nullopt},
        {"expired-leaf.pem", TAVIK_ATTR_IN_VALIDITY, 0},
        {"notyet-leaf.pem", TAVIK_ATTR_IN_VALIDITY, 0},
        {"rsa-leaf.pem", TAVIK_ATTR_IN_VALIDITY, 1},
        {"rsa-leaf.pem", TAVIK_ATTR_SUBJECT_CN, std::nullopt}, // a text code
        {"rsa-leaf.pem", 99, std::nullopt},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.file) + " code " + std::to_string(c.code));
        const CertPtr cert = load(c.file);
        ASSERT_TRUE(cert);
        std::int64_t value = -12345;
        const int rc = TavikPKICertGetCertIntegerAttribute(cert.get(), c.code, &value);
        if (!c.expected) {
            EXPECT_NE(rc, 1);
            EXPECT_EQ(value, -12345) << "written on failure";
        } else {
            EXPECT_EQ(rc, 1);
            EXPECT_EQ(value, *c.expected);
        }
    }
}

TEST(CertAttributes, InValidityFollowsThePinnedClockToTheSecond)
{
    const CertPtr cert = load("rsa-leaf.der");
    ASSERT_TRUE(cert);
    const auto [from, to] = dates("rsa-leaf");
    const std::int64_t start = epochOf(from);
    const std::int64_t end = epochOf(to);
    const PinnedClock clock;
    const std::pair<std::int64_t, std::int64_t> cases[] = {
        {start - 1, 0}, {start, 1}, {(start + end) / 2, 1}, {end, 1}, {end + 1, 0}};
    for (const auto &[at, expected] : cases) {
        clock.at(at);
        EXPECT_EQ(integer(cert.get(), TAVIK_ATTR_IN_VALIDITY), expected) << at;
    }
}

TEST(CertAttributes, NullArgumentsFail)
{
    const CertPtr cert = load("rsa-leaf.pem");
    ASSERT_TRUE(cert);
    char *out = nullptr;
    std::int64_t value = 0;
    EXPECT_NE(TavikPKICertGetCertStringAttribute(nullptr, TAVIK_ATTR_SUBJECT_CN, &out), 1);
    EXPECT_NE(TavikPKICertGetCertStringAttribute(cert.get(), TAVIK_ATTR_SUBJECT_CN, nullptr), 1);
    EXPECT_NE(TavikPKICertGetCertIntegerAttribute(nullptr, TAVIK_ATTR_KEY_SIZE, &value), 1);
    EXPECT_NE(TavikPKICertGetCertIntegerAttribute(cert.get(), TAVIK_ATTR_KEY_SIZE, nullptr), 1);
    EXPECT_EQ(tavik_cert_getvaliditystart(nullptr), nullptr);
}

TEST(CertValidity, StartAndEndMatchTheCertificate)
{
    for (const std::string name : {"rsa-root", "expired-leaf", "notyet-leaf", "ec-leaf"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = load(name + ".pem");
        ASSERT_TRUE(cert);
        const TimePtr start(tavik_cert_getvaliditystart(cert.get()));
        const TimePtr end(tavik_cert_getvalidityend(cert.get()));
        ASSERT_TRUE(start && end);
        EXPECT_EQ(format(start.get()), dates(name).first);
        EXPECT_EQ(format(end.get()), dates(name).second);
        EXPECT_EQ(tavik_time_cmp(start.get(), end.get()), -1);
    }
}

// ---- Certificates the fixtures cannot hold: made here with the OpenSSL API ----

using PkeyPtr = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using X509Holder = std::unique_ptr<X509, decltype(&X509_free)>;
using NamePtr = std::unique_ptr<X509_NAME, decltype(&X509_NAME_free)>;

NamePtr makeName(const std::vector<std::pair<std::string, std::string>> &entries)
{
    NamePtr name(X509_NAME_new(), X509_NAME_free);
    for (const auto &[field, value] : entries)
        X509_NAME_add_entry_by_txt(name.get(), field.c_str(), MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char *>(value.c_str()), -1, -1,
                                   0);
    return name;
}

// DER of a certificate with the given names and validity texts (UTCTime
// YYMMDDHHMMSSZ or GeneralizedTime YYYYMMDDHHMMSSZ).
std::vector<unsigned char> makeCertDer(const NamePtr &subject, const NamePtr &issuer,
                                       const char *notBefore, const char *notAfter)
{
    PkeyPtr key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    X509Holder x509(X509_new(), X509_free);
    std::vector<unsigned char> der;
    if (!key || !x509)
        return der;
    X509_set_version(x509.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(x509.get()), 7);
    X509_set_subject_name(x509.get(), subject.get());
    X509_set_issuer_name(x509.get(), issuer.get());
    if (!ASN1_TIME_set_string(X509_getm_notBefore(x509.get()), notBefore) ||
        !ASN1_TIME_set_string(X509_getm_notAfter(x509.get()), notAfter) ||
        !X509_set_pubkey(x509.get(), key.get()) || !X509_sign(x509.get(), key.get(), EVP_sha256()))
        return der;
    const int length = i2d_X509(x509.get(), nullptr);
    if (length <= 0)
        return der;
    der.resize(static_cast<std::size_t>(length));
    unsigned char *p = der.data();
    i2d_X509(x509.get(), &p);
    return der;
}

CertPtr loadDer(const std::vector<unsigned char> &der)
{
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_EQ(TavikPKICertNewFromData(der.data(), der.size(), &cert), 1);
    return CertPtr(cert);
}

TEST(CertAttributes, IssuerWithoutCommonNameIsShownOnOneLine)
{
    const auto der = makeCertDer(makeName({{"CN", "Subject"}}),
                                 makeName({{"C", "CN"}, {"O", "北京测试"}, {"OU", "Unit"}}),
                                 "20240101000000Z", "20250101000000Z");
    const CertPtr cert = loadDer(der);
    ASSERT_TRUE(cert);
    EXPECT_EQ(text(cert.get(), TAVIK_ATTR_ISSUER_NAME), "C = CN, O = 北京测试, OU = Unit");
}

// X.509 puts the most specific name last.
TEST(CertAttributes, LastOfSeveralCommonNamesIsTheSubjectName)
{
    const auto der =
        makeCertDer(makeName({{"CN", "Example Corp"}, {"CN", "Jane Doe"}}),
                    makeName({{"CN", "Issuer"}}), "20240101000000Z", "20250101000000Z");
    const CertPtr cert = loadDer(der);
    ASSERT_TRUE(cert);
    EXPECT_EQ(text(cert.get(), TAVIK_ATTR_SUBJECT_CN), "Jane Doe");
}

// UTCTime covers 1950..2049; GeneralizedTime carries later years, up to 9999.
TEST(CertValidity, DatesFrom1950To9999)
{
    const auto der = makeCertDer(makeName({{"CN", "Long"}}), makeName({{"CN", "Long"}}),
                                 "500101000000Z", "99991231235959Z");
    const CertPtr cert = loadDer(der);
    ASSERT_TRUE(cert);
    const TimePtr start(tavik_cert_getvaliditystart(cert.get()));
    ASSERT_TRUE(start);
    EXPECT_EQ(format(start.get()), "19500101000000Z");
    EXPECT_EQ(text(cert.get(), TAVIK_ATTR_NOT_AFTER), "99991231235959Z");

    const PinnedClock clock;
    clock.at(epochOf("19491231235959Z"));
    EXPECT_EQ(integer(cert.get(), TAVIK_ATTR_IN_VALIDITY), 0);
    clock.at(epochOf("21060207062816Z")); // past 32-bit unsigned seconds
    EXPECT_EQ(integer(cert.get(), TAVIK_ATTR_IN_VALIDITY), 1);
}

} // namespace
