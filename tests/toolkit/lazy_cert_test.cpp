// Certificates OpenSSL's own object refuses but the toolkit reads, and
// OpenSSL's object made on demand for a handle shared across threads.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using namespace tavik;

// A subject CN of a type X509_NAME does not allow: the rows read it (as text
// when it is a string, else by its encoding), path building cannot.
TEST(OddNames, LoadWithTheirRowsButNoPath)
{
    struct Case {
        const char *fixture;
        std::optional<std::string> text; // the value's string form
        const char *encoding;            // the value's DER in hex
        int cnStatus;                    // of the subject-CN attribute
    };
    const Case cases[] = {
        {"odd-integer", std::nullopt, "020105", TAVIK_ERR_VERIFY},
        {"odd-visible", "Visible", "1A0756697369626C65", 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.fixture);
        for (const char *form : {".der", ".pem"}) {
            const CertPtr cert = loadCert(std::string(c.fixture) + form);
            ASSERT_TRUE(cert) << form;
        }
        const CertPtr cert = loadCert(c.fixture);
        const DnPtr subject(tavik_cert_getsubject(cert.get()));
        ASSERT_EQ(tavik_cert_dn_getitemcount(subject.get()), 2);
        const RdnPtr rdn(tavik_cert_dn_getitem(subject.get(), 1));
        const AtvPtr cn(tavik_cert_rdn_getitem(rdn.get(), 0));
        EXPECT_EQ(textOf(tavik_cert_attrtypeandvalue_gettype(cn.get())), "2.5.4.3");
        EXPECT_EQ(utf8(tavik_cert_attrtypeandvalue_getstring(cn.get())), c.text);
        EXPECT_EQ(hex(tavik_cert_attrtypeandvalue_getvalencode(cn.get())), c.encoding);

        char *text = nullptr;
        EXPECT_EQ(TavikPKICertGetCertStringAttribute(cert.get(), TAVIK_ATTR_SUBJECT_CN, &text),
                  c.cnStatus);
        TavikPKICryptoFreeMemory(text);
        int64_t bits = 0;
        EXPECT_EQ(TavikPKICertGetCertIntegerAttribute(cert.get(), TAVIK_ATTR_KEY_SIZE, &bits), 1);
        EXPECT_EQ(bits, 2048);
        EXPECT_EQ(hex(tavik_cert_encode(cert.get())),
                  hex(readFile(fixturePath(std::string(c.fixture) + ".der"))));

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
