// Certificates OpenSSL's own object refuses but the toolkit reads, and
// OpenSSL's object made on demand for a handle shared across threads.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using namespace tavik;

// A subject CN of a type X509_NAME does not allow: the detail model's subject
// rows pin how the value reads; the handle loads from both forms and keeps its
// DER, its attributes answer, and path building cannot use it.
TEST(OddNames, LoadWithTheirAttributesButNoPath)
{
    const std::pair<const char *, int> cases[] = {
        {"odd-integer", TAVIK_ERR_VERIFY}, // the subject-CN attribute's status
        {"odd-visible", 1},
    };
    for (const auto &[fixture, cnStatus] : cases) {
        SCOPED_TRACE(fixture);
        ASSERT_TRUE(loadCert(std::string(fixture) + ".der"));
        const CertPtr cert = loadCert(fixture);
        ASSERT_TRUE(cert);
        char *text = nullptr;
        EXPECT_EQ(TavikPKICertGetCertStringAttribute(cert.get(), TAVIK_ATTR_SUBJECT_CN, &text),
                  cnStatus);
        TavikPKICryptoFreeMemory(text);
        int64_t bits = 0;
        EXPECT_EQ(TavikPKICertGetCertIntegerAttribute(cert.get(), TAVIK_ATTR_KEY_SIZE, &bits), 1);
        EXPECT_EQ(bits, 2048);
        EXPECT_EQ(hex(tavik_cert_encode(cert.get())),
                  hex(readFile(fixturePath(std::string(fixture) + ".der"))));

        TAVIK_CERT_st **path = nullptr;
        int count = 0;
        EXPECT_NE(TavikPKICertGetCertPath(cert.get(), &path, &count), 1);
        const VerifyPtr verify(TavikPKICertNewVerify());
        int reason = 0, depth = 0;
        EXPECT_NE(TavikPKICertVerify(verify.get(), cert.get(), &reason, &depth), 1);
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
