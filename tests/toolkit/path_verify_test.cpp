// The certificate store, path building and the verifier, over the generated
// fixtures and real OpenSSL.
#include <gtest/gtest.h>

#include <openssl/x509_vfy.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "fixtures.hpp"

namespace {

using namespace pkiui::test;
using Names = std::vector<std::string>;
using Outcome = std::tuple<int, int, int>; // result, reason, depth

const std::string kRoot = "Tavik Test Root CA";
const std::string kInter = "Tavik Test Intermediate CA";
const Names kChain{kRoot, kInter, "Leaf RSA"};
const std::string kSm2Root = "Tavik Test SM2 Root";

// Each test starts from an empty store that no machine CA bundle reaches.
class StoreTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        setenv("SSL_CERT_FILE", fixturePath("no-such-anchors.pem").c_str(), 1);
        setenv("SSL_CERT_DIR", fixturePath("no-such-anchors.d").c_str(), 1);
        TearDown();
    }
    void TearDown() override
    {
        TavikPKICertStoreUseSystemAnchors(0);
        TavikPKICertStoreClear();
    }

    static void fillStore(const Names &trusted, const Names &intermediates)
    {
        TavikPKICertStoreClear();
        for (const auto &name : trusted)
            ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath(name + ".pem").c_str()), 1);
        for (const auto &name : intermediates)
            ASSERT_EQ(TavikPKICertStoreAddIntermediateFile(fixturePath(name + ".pem").c_str()), 1);
    }

    // Subject CNs, root first; empty when the path cannot be built.
    static Names pathCns(TAVIK_CERT_st *cert)
    {
        tavik::CertPath path;
        Names cns;
        if (TavikPKICertGetCertPath(cert, path.outCerts(), path.outCount()) == 1)
            for (int i = 0; i < path.size(); ++i)
                cns.push_back(textAttribute(path[i], TAVIK_ATTR_SUBJECT_CN).value_or("?"));
        return cns;
    }

    // What the viewer does: build the path, hand its root and CAs to a
    // verifier, verify with option 5 at TIME (empty: the toolkit's now).
    static Outcome viewerVerify(TAVIK_CERT_st *cert, const std::string &time)
    {
        tavik::CertPath path;
        if (TavikPKICertGetCertPath(cert, path.outCerts(), path.outCount()) != 1)
            return {0, 0, 0};
        const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
        EXPECT_EQ(TavikPKICertVerifyAddRootCert(verifier.get(), path[0]), 1);
        for (int i = 1; i < path.size() - 1; ++i)
            EXPECT_EQ(TavikPKICertVerifyAddCACert(verifier.get(), path[i]), 1);
        if (!time.empty()) {
            EXPECT_EQ(TavikPKICertVerifySetVerifyTime(verifier.get(), time.c_str()), 1) << time;
        }
        EXPECT_EQ(TavikPKICertVerifySetOption(verifier.get(), TAVIK_VERIFY_OPT_DEFAULT), 1);
        int reason = -99, depth = -99;
        const int result = TavikPKICertVerify(verifier.get(), cert, &reason, &depth);
        return {result, reason, depth};
    }
};

enum At { kEnd, kLate, kEarly }; // notAfter, a second after it, a second before notBefore

// The viewer's path models pin the paths and reasons of the fixtures it
// shows (untrusted roots, missing issuers, a signature by name only, a CA
// without its flag); here the boundaries and forms they do not reach.
TEST_F(StoreTest, PathsAndViewerOutcomes)
{
    const Names root{"rsa-root"}, inter{"rsa-inter"};
    const Outcome ok{TAVIK_VERIFY_OK, 0, -1};
    struct Case {
        const char *label, *cert;
        Names trusted, intermediates;
        Names path;
        At at;
        Outcome outcome;
    };
    // clang-format off
    const Case cases[] = {
        {"through its notAfter second", "rsa-leaf", root, inter, kChain, kEnd, ok},
        {"one second late", "rsa-leaf", root, inter, kChain, kLate,
         {TAVIK_ERR_TIME, X509_V_ERR_CERT_HAS_EXPIRED, 0}},
        {"one second early", "notyet-leaf", root, inter, {kRoot, kInter, "Not Yet Leaf"}, kEarly,
         {TAVIK_ERR_TIME, X509_V_ERR_CERT_NOT_YET_VALID, 0}},
        {"every certificate of an anchor file", "rsa-leaf", {"chain"}, {}, kChain, kEnd, ok},
        {"the issuer whose key verifies wins", "badsig-leaf", root,
         {"rsa-inter", "impostor-inter"}, {kRoot, kInter, "Bad Signature Leaf"}, kEnd, ok},
        {"self-signed sm2, trusted", "sm2-self", {"sm2-self"}, {}, {"测试SM2证书"}, kEnd, ok},
        {"sm2, default identifier", "sm2-leaf", {"sm2-root"}, {}, {kSm2Root, "Leaf SM2"}, kEnd, ok},
        {"sm2, another identifier", "sm2-otherid-leaf", {"sm2-root"}, {},
         {kSm2Root, "Leaf SM2 Other Identifier"}, kEnd,
         {TAVIK_ERR_SIGNATURE, X509_V_ERR_CERT_SIGNATURE_FAILURE, 0}},
        {"CA below a path length of 0", "deep-leaf", root, {"rsa-inter", "deep-ca"},
         {kRoot, kInter, "Too Deep CA", "Too Deep Leaf"}, kEnd,
         {TAVIK_ERR_CONSTRAINT, X509_V_ERR_PATH_LENGTH_EXCEEDED, 2}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        fillStore(c.trusted, c.intermediates);
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert);
        EXPECT_EQ(pathCns(cert.get()), c.path);
        const Dates dates = loadDates(c.cert);
        const std::int64_t at = c.at == kEarly ? epochOf(dates.notBefore) - 1
                                               : epochOf(dates.notAfter) + (c.at == kLate);
        EXPECT_EQ(viewerVerify(cert.get(), timeText(at)), c.outcome);
    }
}

// The verifier driven directly, with no time set: the toolkit's clock is
// pinned instead. The store trusts rsa-root.
TEST_F(StoreTest, VerifierOutcomes)
{
    const Names root{"rsa-root"}, inter{"rsa-inter"};
    struct Case {
        const char *label, *cert;
        Names roots, cas;
        int option;
        long fromEnd; // the clock, in seconds after the certificate's notAfter
        int result, reason;
    };
    // clang-format off
    const Case cases[] = {
        {"issuer missing", "rsa-leaf", {}, {}, 5, 0,
         TAVIK_ERR_ISSUER_MISSING, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY},
        {"root given as CA", "other-leaf", {}, {"other-root"}, 5, 0,
         TAVIK_ERR_UNTRUSTED_ROOT, X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN},
        {"self-signed leaf", "dsa-self", {}, {}, 5, 0,
         TAVIK_ERR_UNTRUSTED_ROOT, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT},
        {"time ignored without option 4", "rsa-leaf", root, inter, 1, 86400, 1, 0},
        {"signature ignored without option 1", "badsig-leaf", root, inter, 4, 0, 1, 0},
        {"the clock after the end", "rsa-leaf", root, inter, 5, 1,
         TAVIK_ERR_TIME, X509_V_ERR_CERT_HAS_EXPIRED},
    };
    // clang-format on
    fillStore(root, {});
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
        // The verifier keeps its own references: the handles go at once.
        for (const auto &name : c.roots)
            ASSERT_EQ(TavikPKICertVerifyAddRootCert(verifier.get(), loadCert(name).get()), 1);
        for (const auto &name : c.cas)
            ASSERT_EQ(TavikPKICertVerifyAddCACert(verifier.get(), loadCert(name).get()), 1);
        const PinnedClock clock;
        clock.at(epochOf(loadDates(c.cert).notAfter) + c.fromEnd);
        ASSERT_EQ(TavikPKICertVerifySetOption(verifier.get(), c.option), 1);
        int reason = -99;
        EXPECT_EQ(TavikPKICertVerify(verifier.get(), loadCert(c.cert).get(), &reason, nullptr),
                  c.result);
        EXPECT_EQ(reason, c.reason);
    }
}

TEST_F(StoreTest, RejectsBadTimesAndOptions)
{
    const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
    for (const char *good : {"20240229235959Z", "99991231235959Z"})
        EXPECT_EQ(TavikPKICertVerifySetVerifyTime(verifier.get(), good), 1) << good;
    // Calendar checks are the time family's; one shows they apply here.
    const char *const bad[] = {"2024010100000Z",  "20240101000000Z0", "20240101000000z",
                               "2024-101000000Z", "20230229000000Z",  nullptr};
    for (const char *time : bad)
        EXPECT_NE(TavikPKICertVerifySetVerifyTime(verifier.get(), time), 1)
            << (time ? time : "null");
    for (int option : {0, 2, 3, 7, 8, -1, 0x105})
        EXPECT_NE(TavikPKICertVerifySetOption(verifier.get(), option), 1) << option;
}

TEST_F(StoreTest, LoadersAndSystemAnchors)
{
    EXPECT_NE(TavikPKICertStoreAddIntermediateDir(fixturePath("no-such-dir").c_str()), 1);
    EXPECT_NE(TavikPKICertStoreAddTrustedFile(fixturePath("garbage.der").c_str()), 1);
    const tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    const std::string end = loadDates("rsa-leaf").notAfter;

    // The fixture directory holds the whole chain, the root only as an
    // intermediate: trusted once the system anchors (SSL_CERT_FILE) hold it.
    ASSERT_EQ(TavikPKICertStoreAddIntermediateDir(PKIUI_FIXTURES), 1);
    EXPECT_EQ(std::get<0>(viewerVerify(cert.get(), end)), TAVIK_ERR_UNTRUSTED_ROOT);
    setenv("SSL_CERT_FILE", fixturePath("rsa-root.pem").c_str(), 1);
    TavikPKICertStoreUseSystemAnchors(1);
    EXPECT_EQ(std::get<0>(viewerVerify(cert.get(), end)), TAVIK_VERIFY_OK);

    // The system anchors also take part in building paths.
    fillStore({}, {"rsa-inter"});
    EXPECT_EQ(pathCns(cert.get()), kChain);
    TavikPKICertStoreUseSystemAnchors(0);
    EXPECT_EQ(pathCns(cert.get()), Names{});
}

// Paths and verifications on several threads while the host keeps changing
// the store.
TEST_F(StoreTest, ConcurrentUseOfTheStore)
{
    fillStore({"rsa-root"}, {"rsa-inter"});
    const tavik::CertPtr leaf = loadCert("rsa-leaf");
    const tavik::CertPtr other = loadCert("other-root");
    ASSERT_TRUE(leaf && other);
    const std::string end = loadDates("rsa-leaf").notAfter;
    std::atomic<int> verified{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i)
                verified += std::get<0>(viewerVerify(leaf.get(), end)) == TAVIK_VERIFY_OK;
        });
    threads.emplace_back([&] {
        for (int i = 0; i < 40; ++i) {
            // Switching drops and reloads the system store under the others.
            TavikPKICertStoreUseSystemAnchors(i % 2);
            TavikPKICertStoreAddIntermediate(other.get());
        }
    });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(verified.load(), 3 * 40);
}

} // namespace
