// Loading certificates and reading their attributes, on the generated
// fixtures, and OpenSSL's object made on demand for a handle shared across
// threads. The viewer's models pin the certificates OpenSSL's object refuses.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using tavik::CertPtr;
using tavik::TimePtr;

// An attribute through both getters: nothing when both refuse the code, else
// the text or the integer. At most one may accept it, and a refusal must
// leave the output alone.
using Value = std::variant<std::monostate, std::string, std::int64_t>;

Value attribute(TAVIK_CERT_st *cert, int code)
{
    char marker = 0;
    char *text = &marker;
    std::int64_t number = -12345;
    const bool isText = TavikPKICertGetCertStringAttribute(cert, code, &text) == 1;
    const bool isNumber = TavikPKICertGetCertIntegerAttribute(cert, code, &number) == 1;
    const tavik::TextPtr owned(isText ? text : nullptr);
    EXPECT_FALSE(isText && isNumber) << "code " << code;
    EXPECT_TRUE(isText || text == &marker) << "text written on failure, code " << code;
    EXPECT_TRUE(isNumber || number == -12345) << "integer written on failure, code " << code;
    if (isText)
        return std::string(text);
    return isNumber ? Value(number) : Value();
}

std::string format(const tavik_time *t)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02dZ", tavik_time_getyear(t),
                  tavik_time_getmonth(t), tavik_time_getday(t), tavik_time_gethour(t),
                  tavik_time_getminute(t), tavik_time_getsecond(t));
    return text;
}

TEST(CertLoad, MalformedMissingOrNullInputsFailWithoutOutput)
{
    // "" is the fixture directory itself.
    for (const char *file :
         {"garbage.der", "truncated.der", "empty.pem", "key-only.pem", "no-such-file.pem", ""}) {
        TAVIK_CERT_st *cert = nullptr;
        TAVIK_CERT_st **certs = nullptr;
        int count = -7;
        EXPECT_NE(TavikPKICertNewFromFile(fixturePath(file).c_str(), &cert), 1) << file;
        EXPECT_NE(TavikPKICertNewAllFromFile(fixturePath(file).c_str(), &certs, &count), 1) << file;
        EXPECT_TRUE(!cert && !certs && count == -7) << file;
    }
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_EQ(TavikPKICertNewFromFile(fixturePath("no-such-file.pem").c_str(), &cert),
              TAVIK_ERR_NOT_FOUND);
    EXPECT_EQ(TavikPKICertNewFromFile(fixturePath("key-only.pem").c_str(), &cert),
              TAVIK_ERR_NOT_FOUND);

    // A decoder that ignores what follows the certificate would accept this.
    Bytes der = readFile(fixturePath("rsa-leaf.der"));
    ASSERT_GT(der.size(), 100u);
    der.push_back(0);
    EXPECT_NE(TavikPKICertNewFromData(der.data(), der.size(), &cert), 1);
    EXPECT_NE(TavikPKICertNewFromData(nullptr, der.size(), &cert), 1);
    EXPECT_NE(TavikPKICertNewFromData(der.data(), der.size() - 1, nullptr), 1);
    EXPECT_NE(TavikPKICertNewFromFile(nullptr, &cert), 1);
    EXPECT_EQ(cert, nullptr);
}

TEST(CertLoad, BundlesInOrderAndDuplicates)
{
    tavik::CertPath certs;
    ASSERT_EQ(TavikPKICertNewAllFromFile(fixturePath("bundle.pem").c_str(), certs.outCerts(),
                                         certs.outCount()),
              1);
    std::vector<std::string> cns;
    for (int i = 0; i < certs.size(); ++i)
        cns.push_back(textAttribute(certs[i], TAVIK_ATTR_SUBJECT_CN).value_or("?"));
    EXPECT_EQ(cns, (std::vector<std::string>{"Leaf RSA", "Leaf EC", "DSA Self"}));
    // The single loader takes the first one.
    EXPECT_EQ(textAttribute(loadCert("bundle.pem").get(), TAVIK_ATTR_SUBJECT_CN), "Leaf RSA");

    CertPtr original = loadCert("alias");
    const long before = tavik_debug_live_objects();
    const CertPtr copy(TavikPKICertDupCert(original.get()));
    EXPECT_EQ(tavik_debug_live_objects(), before + 1);
    original.reset();
    EXPECT_EQ(textAttribute(copy.get(), TAVIK_ATTR_FRIENDLY_NAME), "Alias Leaf");
}

TEST(CertAttributes, TextAndIntegerCodes)
{
    struct Case {
        const char *file;
        int code;
        Value expected;
    };
    // Names, key algorithms, sizes, SM2 and usages on the fixtures are pinned by
    // the selection and viewer models' tables, a UTF-8 name by the path tests
    // and the friendly name by the duplicate above; these rows are the rest.
    const Case cases[] = {
        {"rsa-leaf.pem", 17, {}},
        {"rsa-leaf.pem", TAVIK_ATTR_KEY_USAGE, 1 | 2}, // digitalSignature, nonRepudiation
        {"ext-std.pem", TAVIK_ATTR_KEY_USAGE, 0x19F},  // bits 0 to 4, 7 and 8
        {"rsa-leaf.pem", TAVIK_ATTR_CURVE, {}},
        {"rsa-leaf.pem", TAVIK_ATTR_IN_VALIDITY, 1}, // by the real clock
        {"ec-leaf.pem", TAVIK_ATTR_CURVE, TAVIK_CURVE_P256},
        {"dsa-self.der", TAVIK_ATTR_KEY_ALGORITHM, TAVIK_KEYALG_DSA},
        {"dsa-self.der", TAVIK_ATTR_KEY_USAGE, {}},
    };
    for (const auto &c : cases) {
        const CertPtr cert = loadCert(c.file);
        ASSERT_TRUE(cert) << c.file;
        EXPECT_EQ(attribute(cert.get(), c.code), c.expected) << c.file << " code " << c.code;
    }
}

// The fixtures' dates are pinned by the detail model's rows.
TEST(CertValidity, InValidityByThePinnedClockToTheSecond)
{
    const CertPtr cert = loadCert("rsa-leaf.der");
    const std::int64_t start = epochOf(loadDates("rsa-leaf").notBefore);
    const std::int64_t end = epochOf(loadDates("rsa-leaf").notAfter);
    const PinnedClock clock;
    const std::pair<std::int64_t, std::int64_t> moments[] = {
        {start - 1, 0}, {start, 1}, {end, 1}, {end + 1, 0}};
    for (const auto &[at, expected] : moments) {
        clock.at(at);
        EXPECT_EQ(attribute(cert.get(), TAVIK_ATTR_IN_VALIDITY), Value(expected)) << at;
    }
}

// wide-dates: UTCTime from 1950, GeneralizedTime up to 9999, and an issuer
// without a common name, shown on one line with its UTF-8 kept.
TEST(CertValidity, From1950To9999WithoutIssuerCommonName)
{
    const CertPtr cert = loadCert("wide-dates");
    ASSERT_TRUE(cert);
    EXPECT_EQ(attribute(cert.get(), TAVIK_ATTR_ISSUER_NAME),
              Value("C = CN, O = 北京测试, OU = Unit"));
    const TimePtr start(tavik_cert_getvaliditystart(cert.get()));
    ASSERT_TRUE(start);
    EXPECT_EQ(format(start.get()), "19500101000000Z");
    EXPECT_EQ(attribute(cert.get(), TAVIK_ATTR_NOT_AFTER), Value("99991231235959Z"));

    const PinnedClock clock;
    clock.at(epochOf("19491231235959Z"));
    EXPECT_EQ(attribute(cert.get(), TAVIK_ATTR_IN_VALIDITY), Value(std::int64_t{0}));
    clock.at(epochOf("21060207062816Z")); // past 32-bit unsigned seconds
    EXPECT_EQ(attribute(cert.get(), TAVIK_ATTR_IN_VALIDITY), Value(std::int64_t{1}));
}

// A handle and its duplicate first need OpenSSL's object on two threads at
// once: it is made once and both see it.
TEST(LazyObject, MadeOnceForDuplicatesOnTwoThreads)
{
    for (int round = 0; round < 20; ++round) {
        const CertPtr root = loadCert("rsa-root.der");
        ASSERT_TRUE(root);
        const CertPtr dup(TavikPKICertDupCert(root.get()));
        std::vector<int> counts(2, 0);
        std::vector<std::thread> threads;
        for (int t = 0; t < 2; ++t)
            threads.emplace_back([&, t] {
                TAVIK_CERT_st **path = nullptr;
                if (TavikPKICertGetCertPath(t ? dup.get() : root.get(), &path, &counts[t]) == 1)
                    TavikPKICertFreeCertPath(path, counts[t]);
            });
        for (auto &thread : threads)
            thread.join();
        EXPECT_EQ(counts, std::vector<int>({1, 1}));
    }
}

} // namespace
