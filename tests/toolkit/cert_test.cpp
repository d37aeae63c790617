// Loading certificates and reading their attributes, on the generated
// fixtures, and OpenSSL's object made on demand for a handle shared across
// threads. The viewer's models pin the certificates OpenSSL's object refuses.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using tavik::CertPtr;

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

TEST(CertLoad, MalformedOrMissingInputsFailWithoutOutput)
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

// The fixtures' dates and wide-dates' times are pinned by the viewer's
// rows; being in validity is counted to the second, before 1970 and past
// 32-bit unsigned seconds.
TEST(CertValidity, InValidityByThePinnedClock)
{
    const Dates leaf = loadDates("rsa-leaf");
    const std::int64_t start = epochOf(leaf.notBefore), end = epochOf(leaf.notAfter);
    const std::tuple<const char *, std::int64_t, std::int64_t> moments[] = {
        {"rsa-leaf", start - 1, 0},
        {"rsa-leaf", start, 1},
        {"rsa-leaf", end, 1},
        {"rsa-leaf", end + 1, 0},
        {"wide-dates", epochOf("19491231235959Z"), 0},
        {"wide-dates", epochOf("21060207062816Z"), 1},
    };
    const PinnedClock clock;
    for (const auto &[name, at, expected] : moments) {
        clock.at(at);
        EXPECT_EQ(attribute(loadCert(name).get(), TAVIK_ATTR_IN_VALIDITY), Value(expected))
            << name << " " << at;
    }
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
