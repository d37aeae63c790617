// Loading certificates and reading their attributes, on certificates made by
// the openssl command (the fixtures) and, for names and dates the fixtures
// cannot carry, by the OpenSSL API in the test.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
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
using Bytes = std::vector<unsigned char>;

std::string fixture(const std::string &name)
{
    return std::string(PKIUI_FIXTURES) + "/" + name;
}

CertPtr load(const std::string &name)
{
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_EQ(TavikPKICertNewFromFile(fixture(name).c_str(), &cert), 1) << name;
    return CertPtr(cert);
}

CertPtr loadDer(const Bytes &der)
{
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_EQ(TavikPKICertNewFromData(der.data(), der.size(), &cert), 1);
    return CertPtr(cert);
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
    std::int64_t value = -12345;
    const int rc = TavikPKICertGetCertIntegerAttribute(cert, code, &value);
    EXPECT_TRUE(rc == 1 || value == -12345) << "written on failure";
    return rc == 1 ? std::optional(value) : std::nullopt;
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
    strptime(t.c_str(), "%Y%m%d%H%M%SZ", &tm);
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

TEST(CertLoad, MalformedOrMissingInputsFailWithoutOutput)
{
    // "" is the fixture directory itself.
    for (const char *file :
         {"garbage.der", "truncated.der", "empty.pem", "key-only.pem", "no-such-file.pem", ""}) {
        TAVIK_CERT_st *cert = nullptr;
        TAVIK_CERT_st **certs = nullptr;
        int count = -7;
        EXPECT_NE(TavikPKICertNewFromFile(fixture(file).c_str(), &cert), 1) << file;
        EXPECT_NE(TavikPKICertNewAllFromFile(fixture(file).c_str(), &certs, &count), 1) << file;
        EXPECT_TRUE(!cert && !certs && count == -7) << file;
    }
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_EQ(TavikPKICertNewFromFile(fixture("no-such-file.pem").c_str(), &cert),
              TAVIK_ERR_NOT_FOUND);
    EXPECT_EQ(TavikPKICertNewFromFile(fixture("key-only.pem").c_str(), &cert), TAVIK_ERR_NOT_FOUND);
}

// A DER decoder that stops early or ignores what follows would accept these.
TEST(CertLoad, TruncatedOrPaddedDerAndNullArgumentsFail)
{
    std::ifstream in(fixture("rsa-leaf.der"), std::ios::binary);
    Bytes der{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    ASSERT_GT(der.size(), 100u);
    TAVIK_CERT_st *cert = nullptr;
    for (std::size_t n = 1; n < der.size(); n += 17)
        EXPECT_NE(TavikPKICertNewFromData(der.data(), n, &cert), 1) << n << " bytes";
    der.push_back(0);
    EXPECT_NE(TavikPKICertNewFromData(der.data(), der.size(), &cert), 1);
    EXPECT_NE(TavikPKICertNewFromData(nullptr, der.size(), &cert), 1);
    EXPECT_NE(TavikPKICertNewFromData(der.data(), der.size() - 1, nullptr), 1);
    EXPECT_NE(TavikPKICertNewFromFile(nullptr, &cert), 1);
    EXPECT_EQ(cert, nullptr);
}

TEST(CertLoad, AllCertificatesOfABundleInOrder)
{
    tavik::CertPath certs;
    ASSERT_EQ(TavikPKICertNewAllFromFile(fixture("bundle.pem").c_str(), certs.outCerts(),
                                         certs.outCount()),
              1);
    ASSERT_EQ(certs.size(), 3);
    EXPECT_EQ(text(certs[0], TAVIK_ATTR_SUBJECT_CN), "Leaf RSA");
    EXPECT_EQ(text(certs[1], TAVIK_ATTR_SUBJECT_CN), "Leaf EC");
    EXPECT_EQ(text(certs[2], TAVIK_ATTR_SUBJECT_CN), "DSA Self");
    // The single loader takes the first one.
    EXPECT_EQ(text(load("bundle.pem").get(), TAVIK_ATTR_SUBJECT_CN), "Leaf RSA");
}

TEST(CertLoad, DerAndPemGiveTheSameAttributes)
{
    for (const std::string name : {"rsa-leaf", "ec-leaf", "sm2-self", "dsa-self", "nocn-leaf"}) {
        const CertPtr der = load(name + ".der");
        const CertPtr pem = load(name + ".pem");
        ASSERT_TRUE(der && pem);
        for (const int code : {TAVIK_ATTR_SUBJECT_CN, TAVIK_ATTR_ISSUER_NAME, TAVIK_ATTR_NOT_AFTER})
            EXPECT_EQ(text(der.get(), code), text(pem.get(), code)) << name << " " << code;
        for (const int code : {TAVIK_ATTR_KEY_ALGORITHM, TAVIK_ATTR_CURVE, TAVIK_ATTR_KEY_USAGE,
                               TAVIK_ATTR_KEY_SIZE})
            EXPECT_EQ(integer(der.get(), code), integer(pem.get(), code)) << name << " " << code;
    }
}

TEST(CertLoad, DuplicateOutlivesTheOriginal)
{
    CertPtr original = load("alias.pem");
    const long before = tavik_debug_live_objects();
    const CertPtr copy(TavikPKICertDupCert(original.get()));
    ASSERT_TRUE(copy);
    EXPECT_EQ(tavik_debug_live_objects(), before + 1);
    original.reset();
    EXPECT_EQ(text(copy.get(), TAVIK_ATTR_FRIENDLY_NAME), "Alias Leaf");
}

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
        {"alias.pem", TAVIK_ATTR_FRIENDLY_NAME, "Alias Leaf"},
        {"sm2-self.pem", TAVIK_ATTR_SUBJECT_CN, "测试SM2证书"},
        {"sm2-self.der", TAVIK_ATTR_ISSUER_NAME, "测试SM2证书"},
        {"rsa-leaf.pem", TAVIK_ATTR_KEY_ALGORITHM, std::nullopt}, // an integer code
        {"rsa-leaf.pem", 17, std::nullopt},
    };
    for (const auto &c : cases) {
        const CertPtr cert = load(c.file);
        ASSERT_TRUE(cert);
        char marker = 0;
        char *out = &marker;
        const int rc = TavikPKICertGetCertStringAttribute(cert.get(), c.code, &out);
        const TextPtr owned(rc == 1 ? out : nullptr);
        EXPECT_EQ(rc == 1 ? std::optional<std::string>(out) : std::nullopt, c.expected)
            << c.file << " code " << c.code;
        EXPECT_TRUE(rc == 1 || out == &marker) << "written on failure";
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
        {"rsa-leaf.pem", TAVIK_ATTR_SUBJECT_CN, std::nullopt}, // a text code
    };
    for (const auto &c : cases) {
        const CertPtr cert = load(c.file);
        ASSERT_TRUE(cert);
        EXPECT_EQ(integer(cert.get(), c.code), c.expected) << c.file << " code " << c.code;
    }
}

TEST(CertAttributes, InValidityFollowsThePinnedClockToTheSecond)
{
    const CertPtr cert = load("rsa-leaf.der");
    const std::int64_t start = epochOf(dates("rsa-leaf").first);
    const std::int64_t end = epochOf(dates("rsa-leaf").second);
    const PinnedClock clock;
    const std::pair<std::int64_t, std::int64_t> cases[] = {
        {start - 1, 0}, {start, 1}, {(start + end) / 2, 1}, {end, 1}, {end + 1, 0}};
    for (const auto &[at, expected] : cases) {
        clock.at(at);
        EXPECT_EQ(integer(cert.get(), TAVIK_ATTR_IN_VALIDITY), expected) << at;
    }
}

TEST(CertValidity, StartEndAndNotAfterMatchTheDates)
{
    for (const std::string name : {"rsa-root", "expired-leaf", "notyet-leaf", "sm2-self"}) {
        const CertPtr cert = load(name + ".pem");
        const TimePtr start(tavik_cert_getvaliditystart(cert.get()));
        const TimePtr end(tavik_cert_getvalidityend(cert.get()));
        ASSERT_TRUE(start && end) << name;
        EXPECT_EQ(format(start.get()), dates(name).first);
        EXPECT_EQ(format(end.get()), dates(name).second);
        EXPECT_EQ(text(cert.get(), TAVIK_ATTR_NOT_AFTER), dates(name).second);
    }
}

// DER of a self-signed P-256 certificate with the given names and validity
// (UTCTime YYMMDDHHMMSSZ or GeneralizedTime YYYYMMDDHHMMSSZ).
Bytes makeCertDer(const char *subject, const char *issuer, const char *notBefore,
                  const char *notAfter)
{
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"),
                                                                  EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> x509(X509_new(), X509_free);
    const auto name = [](const char *text) {
        X509_NAME *n = X509_NAME_new();
        for (const char *p = text; p && *p;) {
            const char *eq = std::strchr(p, '=');
            const char *end = std::strchr(p, '/');
            const std::string field(p, eq), value(eq + 1, end ? end : eq + std::strlen(eq));
            X509_NAME_add_entry_by_txt(n, field.c_str(), MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char *>(value.c_str()), -1,
                                       -1, 0);
            p = end ? end + 1 : nullptr;
        }
        return std::unique_ptr<X509_NAME, decltype(&X509_NAME_free)>(n, X509_NAME_free);
    };
    Bytes der;
    if (!key || !x509 || !X509_set_subject_name(x509.get(), name(subject).get()) ||
        !X509_set_issuer_name(x509.get(), name(issuer).get()) ||
        !ASN1_TIME_set_string(X509_getm_notBefore(x509.get()), notBefore) ||
        !ASN1_TIME_set_string(X509_getm_notAfter(x509.get()), notAfter) ||
        !X509_set_pubkey(x509.get(), key.get()) || !X509_sign(x509.get(), key.get(), EVP_sha256()))
        return der;
    der.resize(static_cast<std::size_t>(std::max(i2d_X509(x509.get(), nullptr), 0)));
    unsigned char *p = der.data();
    i2d_X509(x509.get(), &p);
    return der;
}

TEST(CertAttributes, IssuerWithoutCommonNameIsShownOnOneLine)
{
    const CertPtr cert = loadDer(
        makeCertDer("CN=Subject", "C=CN/O=北京测试/OU=Unit", "20240101000000Z", "20250101000000Z"));
    EXPECT_EQ(text(cert.get(), TAVIK_ATTR_ISSUER_NAME), "C = CN, O = 北京测试, OU = Unit");
}

// UTCTime covers 1950..2049; GeneralizedTime carries later years, up to 9999.
TEST(CertValidity, DatesFrom1950To9999)
{
    const CertPtr cert =
        loadDer(makeCertDer("CN=Long", "CN=Long", "500101000000Z", "99991231235959Z"));
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
