// The certificate store, path building and the verifier, over the generated
// fixtures and real OpenSSL.
#include <gtest/gtest.h>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "fixtures.hpp"
#include "tavik_ptr.hpp"

namespace {

using pkiui::test::fixturePath;
using pkiui::test::loadCert;
using pkiui::test::loadDates;
using Names = std::vector<std::string>;

template <class T, void (*F)(T *)> struct OsslFree {
    void operator()(T *p) const noexcept { F(p); }
};
using X509Ptr = std::unique_ptr<X509, OsslFree<X509, X509_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, OsslFree<EVP_PKEY, EVP_PKEY_free>>;
using BioPtr = std::unique_ptr<BIO, OsslFree<BIO, BIO_free_all>>;
using ExtPtr = std::unique_ptr<X509_EXTENSION, OsslFree<X509_EXTENSION, X509_EXTENSION_free>>;
using PkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, OsslFree<EVP_PKEY_CTX, EVP_PKEY_CTX_free>>;
using MdCtxPtr = std::unique_ptr<EVP_MD_CTX, OsslFree<EVP_MD_CTX, EVP_MD_CTX_free>>;

// "YYYYMMDDHHMMSSZ" moved by seconds.
std::string shiftTime(const std::string &text, long seconds)
{
    std::tm tm{};
    if (!strptime(text.c_str(), "%Y%m%d%H%M%SZ", &tm))
        return {};
    const std::time_t moved = timegm(&tm) + seconds;
    gmtime_r(&moved, &tm);
    char out[16];
    std::strftime(out, sizeof out, "%Y%m%d%H%M%SZ", &tm);
    return out;
}

std::string subjectCn(TAVIK_CERT_st *cert)
{
    char *text = nullptr;
    if (TavikPKICertGetCertStringAttribute(cert, TAVIK_ATTR_SUBJECT_CN, &text) != 1)
        return "<none>";
    const tavik::TextPtr owned(text);
    return text;
}

// Each test starts from an empty store that no machine CA bundle reaches.
class StoreTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        setenv("SSL_CERT_FILE", fixturePath("no-such-anchors.pem").c_str(), 1);
        setenv("SSL_CERT_DIR", fixturePath("no-such-anchors.d").c_str(), 1);
        TavikPKICertStoreUseSystemAnchors(0);
        TavikPKICertStoreClear();
    }
    void TearDown() override
    {
        TavikPKICertStoreUseSystemAnchors(0);
        TavikPKICertStoreClear();
        tavik_debug_set_now(0);
    }

    static void fillStore(const Names &trusted, const Names &intermediates)
    {
        for (const auto &name : trusted)
            ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath(name + ".pem").c_str()), 1)
                << name;
        for (const auto &name : intermediates)
            ASSERT_EQ(TavikPKICertStoreAddIntermediateFile(fixturePath(name + ".pem").c_str()), 1)
                << name;
    }

    static Names pathCns(TAVIK_CERT_st *cert, int *rc)
    {
        tavik::CertPath path;
        *rc = TavikPKICertGetCertPath(cert, path.outCerts(), path.outCount());
        Names cns;
        for (int i = 0; *rc == 1 && i < path.size(); ++i)
            cns.push_back(subjectCn(path[i]));
        return cns;
    }

    struct Outcome {
        int result;
        int reason;
        int depth;
    };

    // What the viewer does: build the path, add its root and CAs, verify at
    // a chosen time with option 5.
    static Outcome viewerVerify(TAVIK_CERT_st *cert, const std::string &time)
    {
        tavik::CertPath path;
        if (TavikPKICertGetCertPath(cert, path.outCerts(), path.outCount()) != 1)
            return {0, 0, 0};
        const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
        EXPECT_EQ(TavikPKICertVerifyAddRootCert(verifier.get(), path[0]), 1);
        for (int i = 1; i < path.size() - 1; ++i)
            EXPECT_EQ(TavikPKICertVerifyAddCACert(verifier.get(), path[i]), 1);
        EXPECT_EQ(TavikPKICertVerifySetVerifyTime(verifier.get(), time.c_str()), 1) << time;
        EXPECT_EQ(TavikPKICertVerifySetOption(verifier.get(), TAVIK_VERIFY_OPT_DEFAULT), 1);
        Outcome out{0, -99, -99};
        out.result = TavikPKICertVerify(verifier.get(), cert, &out.reason, &out.depth);
        return out;
    }
};

const std::string kRoot = "Tavik Test Root CA";
const std::string kInter = "Tavik Test Intermediate CA";

struct PathCase {
    const char *label;
    const char *cert;
    Names trusted;
    Names intermediates;
    Names expected; // subject CNs, root first; empty: the build fails
};

TEST_F(StoreTest, BuildsPathsRootFirstOrFails)
{
    const PathCase cases[] = {
        {"rsa chain", "rsa-leaf", {"rsa-root"}, {"rsa-inter"}, {kRoot, kInter, "Leaf RSA"}},
        {"ec leaf under rsa", "ec-leaf", {"rsa-root"}, {"rsa-inter"}, {kRoot, kInter, "Leaf EC"}},
        {"intermediate", "rsa-inter", {"rsa-root"}, {}, {kRoot, kInter}},
        {"root from intermediates",
         "rsa-leaf",
         {},
         {"rsa-inter", "rsa-root"},
         {kRoot, kInter, "Leaf RSA"}},
        {"self-signed, empty store", "dsa-self", {}, {}, {"DSA Self"}},
        {"self-signed sm2", "sm2-self", {"rsa-root"}, {}, {"测试SM2证书"}},
        {"issuer vanished", "orphan-leaf", {"rsa-root", "other-root"}, {"rsa-inter"}, {}},
        {"no intermediate", "rsa-leaf", {"rsa-root"}, {}, {}},
        {"no root", "rsa-leaf", {}, {"rsa-inter"}, {}},
        {"whole chain file as anchors", "rsa-leaf", {"chain"}, {}, {kRoot, kInter, "Leaf RSA"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        TavikPKICertStoreClear();
        fillStore(c.trusted, c.intermediates);
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert);
        int rc = 0;
        const Names cns = pathCns(cert.get(), &rc);
        if (c.expected.empty()) {
            EXPECT_NE(rc, 1);
        } else {
            EXPECT_EQ(rc, 1);
            EXPECT_EQ(cns, c.expected);
        }
    }
}

TEST_F(StoreTest, DirectoryLoaderAndSignaturePreference)
{
    EXPECT_NE(TavikPKICertStoreAddIntermediateDir(fixturePath("no-such-dir").c_str()), 1);
    EXPECT_NE(TavikPKICertStoreAddTrustedFile(fixturePath("garbage.der").c_str()), 1);
    EXPECT_NE(TavikPKICertStoreAddTrustedFile(fixturePath("no-such-file.pem").c_str()), 1);

    // The fixture directory holds two CAs named like rsa-leaf's issuer; the
    // one whose key verifies must be chosen, for rsa-leaf and for badsig-leaf.
    ASSERT_EQ(TavikPKICertStoreAddIntermediateDir(PKIUI_FIXTURES), 1);
    fillStore({"rsa-root"}, {});
    for (const char *name : {"rsa-leaf", "badsig-leaf"}) {
        SCOPED_TRACE(name);
        const tavik::CertPtr cert = loadCert(name);
        ASSERT_TRUE(cert);
        const std::string end = loadDates(name).notAfter;
        EXPECT_EQ(viewerVerify(cert.get(), end).result, TAVIK_VERIFY_OK);
    }
}

TEST_F(StoreTest, SystemAnchorsComeFromTheDefaultLocations)
{
    setenv("SSL_CERT_FILE", fixturePath("rsa-root.pem").c_str(), 1);
    fillStore({}, {"rsa-inter"});
    const tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    const std::string end = loadDates("rsa-leaf").notAfter;

    TavikPKICertStoreUseSystemAnchors(1);
    int rc = 0;
    EXPECT_EQ(pathCns(cert.get(), &rc), (Names{kRoot, kInter, "Leaf RSA"}));
    EXPECT_EQ(viewerVerify(cert.get(), end).result, TAVIK_VERIFY_OK);

    TavikPKICertStoreUseSystemAnchors(0);
    pathCns(cert.get(), &rc);
    EXPECT_NE(rc, 1);
}

enum class At { End, AfterEnd, BeforeStart };

struct ViewerCase {
    const char *label;
    const char *cert;
    Names trusted;
    Names intermediates;
    At at; // relative to the validity of the certificate itself
    int result;
    int reason;
    int depth;
};

TEST_F(StoreTest, ViewerSequenceOutcomes)
{
    const Names root{"rsa-root"};
    const Names inter{"rsa-inter"};
    // clang-format off
    const ViewerCase cases[] = {
        // The viewer verifies at the earliest end of the path: inclusive.
        {"rsa chain", "rsa-leaf", root, inter, At::End, 1, 0, -1},
        {"ec leaf", "ec-leaf", root, inter, At::End, 1, 0, -1},
        {"expired now, valid then", "expired-leaf", root, inter, At::End, 1, 0, -1},
        {"sm2 trusted", "sm2-self", {"sm2-self"}, {}, At::End, 1, 0, -1},
        {"dsa trusted", "dsa-self", {"dsa-self"}, {}, At::End, 1, 0, -1},
        {"one second late", "rsa-leaf", root, inter, At::AfterEnd,
         TAVIK_ERR_TIME, X509_V_ERR_CERT_HAS_EXPIRED, 0},
        {"one second early", "notyet-leaf", root, inter, At::BeforeStart,
         TAVIK_ERR_TIME, X509_V_ERR_CERT_NOT_YET_VALID, 0},
        {"bad signature", "badsig-leaf", root, inter, At::End,
         TAVIK_ERR_SIGNATURE, X509_V_ERR_CERT_SIGNATURE_FAILURE, 0},
        {"root only an intermediate", "other-leaf", root, {"other-root"}, At::End,
         TAVIK_ERR_UNTRUSTED_ROOT, X509_V_ERR_CERT_UNTRUSTED, 1},
        {"self-signed not trusted", "sm2-self", {}, {}, At::End,
         TAVIK_ERR_UNTRUSTED_ROOT, X509_V_ERR_CERT_UNTRUSTED, 0},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        TavikPKICertStoreClear();
        fillStore(c.trusted, c.intermediates);
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert);
        const auto dates = loadDates(c.cert);
        const std::string time = c.at == At::End        ? dates.notAfter
                                 : c.at == At::AfterEnd ? shiftTime(dates.notAfter, 1)
                                                        : shiftTime(dates.notBefore, -1);
        const Outcome out = viewerVerify(cert.get(), time);
        EXPECT_EQ(out.result, c.result);
        EXPECT_EQ(out.reason, c.reason);
        EXPECT_EQ(out.depth, c.depth);
    }
}

struct DirectCase {
    const char *label;
    const char *cert;
    Names roots;
    Names cas;
    int option;
    bool setTime;      // else the toolkit's clock is pinned to that moment
    long shiftFromEnd; // the moment, relative to the certificate's end
    int result;
    int reason;
};

// The verifier driven directly, with the store trusting rsa-root.
TEST_F(StoreTest, VerifierOutcomes)
{
    const Names root{"rsa-root"};
    const Names inter{"rsa-inter"};
    // clang-format off
    const DirectCase cases[] = {
        {"issuer missing", "rsa-leaf", root, {}, 5, true, 0,
         TAVIK_ERR_ISSUER_MISSING, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY},
        {"root given as CA", "other-leaf", {}, {"other-root"}, 5, true, 0,
         TAVIK_ERR_UNTRUSTED_ROOT, X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN},
        {"self-signed leaf", "dsa-self", {}, {}, 5, true, 0,
         TAVIK_ERR_UNTRUSTED_ROOT, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT},
        {"time ignored without option 4", "rsa-leaf", root, inter, 1, true, 86400, 1, 0},
        {"signature ignored without option 1", "badsig-leaf", root, inter, 4, true, 0, 1, 0},
        {"time checked with option 4", "rsa-leaf", root, inter, 4, true, 86400,
         TAVIK_ERR_TIME, X509_V_ERR_CERT_HAS_EXPIRED},
        {"no time: clock within validity", "rsa-leaf", root, inter, 5, false, -86400, 1, 0},
        {"no time: clock after the end", "rsa-leaf", root, inter, 5, false, 86400,
         TAVIK_ERR_TIME, X509_V_ERR_CERT_HAS_EXPIRED},
    };
    // clang-format on
    fillStore(root, {});
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert);
        const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
        std::vector<tavik::CertPtr> held;
        for (const auto &name : c.roots) {
            held.push_back(loadCert(name));
            ASSERT_EQ(TavikPKICertVerifyAddRootCert(verifier.get(), held.back().get()), 1);
        }
        for (const auto &name : c.cas) {
            held.push_back(loadCert(name));
            ASSERT_EQ(TavikPKICertVerifyAddCACert(verifier.get(), held.back().get()), 1);
        }
        held.clear(); // the verifier keeps its own references
        const std::string time = shiftTime(loadDates(c.cert).notAfter, c.shiftFromEnd);
        if (c.setTime) {
            ASSERT_EQ(TavikPKICertVerifySetVerifyTime(verifier.get(), time.c_str()), 1);
        } else {
            std::tm tm{};
            ASSERT_TRUE(strptime(time.c_str(), "%Y%m%d%H%M%SZ", &tm));
            tavik_debug_set_now(timegm(&tm));
        }
        ASSERT_EQ(TavikPKICertVerifySetOption(verifier.get(), c.option), 1);
        int reason = -99;
        EXPECT_EQ(TavikPKICertVerify(verifier.get(), cert.get(), &reason, nullptr), c.result);
        EXPECT_EQ(reason, c.reason);
        tavik_debug_set_now(0);
    }
}

TEST_F(StoreTest, RejectsBadTimesOptionsAndArguments)
{
    const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
    ASSERT_TRUE(verifier);
    for (const char *good : {"20240229235959Z", "19700101000000Z", "99991231235959Z"})
        EXPECT_EQ(TavikPKICertVerifySetVerifyTime(verifier.get(), good), 1) << good;
    for (const char *bad :
         {"", "20240101000000", "20240101000000z", "2024010100000Z", "202401010000000Z",
          "20241301000000Z", "20240001000000Z", "20230229000000Z", "20240431000000Z",
          "20240101240000Z", "20240101006000Z", "20240101000060Z", "2024-101000000Z",
          "240101000000Z", "20240101000000+0000", " 20240101000000Z"})
        EXPECT_NE(TavikPKICertVerifySetVerifyTime(verifier.get(), bad), 1) << '"' << bad << '"';
    EXPECT_NE(TavikPKICertVerifySetVerifyTime(verifier.get(), nullptr), 1);

    for (int good : {1, 4, 5})
        EXPECT_EQ(TavikPKICertVerifySetOption(verifier.get(), good), 1) << good;
    for (int bad : {0, 2, 3, 7, 8, -1, 0x105})
        EXPECT_NE(TavikPKICertVerifySetOption(verifier.get(), bad), 1) << bad;

    const tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    EXPECT_EQ(TavikPKICertVerify(nullptr, cert.get(), nullptr, nullptr), TAVIK_ERR_ARGUMENT);
    EXPECT_EQ(TavikPKICertVerify(verifier.get(), nullptr, nullptr, nullptr), TAVIK_ERR_ARGUMENT);
    EXPECT_NE(TavikPKICertVerifyAddRootCert(verifier.get(), nullptr), 1);
    EXPECT_NE(TavikPKICertVerifyAddCACert(nullptr, cert.get()), 1);
    EXPECT_NE(TavikPKICertStoreAddTrusted(nullptr), 1);
    TAVIK_CERT_st **path = nullptr;
    int count = 0;
    EXPECT_EQ(TavikPKICertGetCertPath(nullptr, &path, &count), TAVIK_ERR_ARGUMENT);
    TavikPKICertFreeCertPath(nullptr, 3);
    TavikPKICertFreeVerify(nullptr);
}

// Chains no fixture has: a CA below rsa-inter (path length 0), and a non-CA
// acting as issuer. Made here with rsa-inter's key.
X509Ptr readCert(const std::string &name)
{
    const BioPtr bio(BIO_new_file(fixturePath(name + ".pem").c_str(), "r"));
    return X509Ptr(bio ? PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr) : nullptr);
}

KeyPtr readKey(const std::string &name)
{
    const BioPtr bio(BIO_new_file(fixturePath(name + ".key").c_str(), "r"));
    return KeyPtr(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr) : nullptr);
}

// issuer null: self-signed. sm2Id: sign with SM2/SM3 under that identifier.
X509Ptr issueCert(const char *cn, bool ca, X509 *issuer, EVP_PKEY *issuerKey, EVP_PKEY *key,
                  const char *sm2Id = nullptr)
{
    X509Ptr x(X509_new());
    X509_set_version(x.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x.get()), 4242);
    X509_NAME *name = X509_get_subject_name(x.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>(cn), -1, -1, 0);
    X509_set_issuer_name(x.get(), X509_get_subject_name(issuer ? issuer : x.get()));
    X509_gmtime_adj(X509_getm_notBefore(x.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400);
    X509_set_pubkey(x.get(), key);
    const ExtPtr bc(X509V3_EXT_conf_nid(nullptr, nullptr, NID_basic_constraints,
                                        ca ? "critical,CA:TRUE" : "CA:FALSE"));
    X509_add_ext(x.get(), bc.get(), -1);
    if (ca) {
        const ExtPtr ku(
            X509V3_EXT_conf_nid(nullptr, nullptr, NID_key_usage, "critical,keyCertSign,cRLSign"));
        X509_add_ext(x.get(), ku.get(), -1);
    }
    if (!sm2Id)
        return X509_sign(x.get(), issuerKey, EVP_sha256()) > 0 ? std::move(x) : nullptr;
    // Declared first so that the digest context, which borrows it, goes first.
    const PkeyCtxPtr pctx(EVP_PKEY_CTX_new_from_pkey(nullptr, issuerKey, nullptr));
    const MdCtxPtr mctx(EVP_MD_CTX_new());
    if (!pctx || !mctx || EVP_PKEY_CTX_set1_id(pctx.get(), sm2Id, std::strlen(sm2Id)) <= 0)
        return nullptr;
    EVP_MD_CTX_set_pkey_ctx(mctx.get(), pctx.get());
    if (EVP_DigestSignInit(mctx.get(), nullptr, EVP_sm3(), nullptr, issuerKey) != 1 ||
        X509_sign_ctx(x.get(), mctx.get()) <= 0)
        return nullptr;
    return x;
}

tavik::CertPtr toHandle(X509 *x)
{
    unsigned char *der = nullptr;
    const int len = i2d_X509(x, &der);
    TAVIK_CERT_st *cert = nullptr;
    if (len > 0)
        TavikPKICertNewFromData(der, static_cast<size_t>(len), &cert);
    OPENSSL_free(der);
    return tavik::CertPtr(cert);
}

TEST_F(StoreTest, ConstraintFailures)
{
    fillStore({"rsa-root"}, {});
    const X509Ptr inter = readCert("rsa-inter");
    const KeyPtr interKey = readKey("rsa-inter");
    const KeyPtr key(EVP_EC_gen("P-256"));
    ASSERT_TRUE(inter && interKey && key);
    struct Case {
        const char *label;
        bool middleIsCa;
        int reason;
        int depth;
    } cases[] = {
        {"CA below a path length of 0", true, X509_V_ERR_PATH_LENGTH_EXCEEDED, 2},
        {"issuer without the CA flag", false, X509_V_ERR_INVALID_CA, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        const X509Ptr middle =
            issueCert("Middle", c.middleIsCa, inter.get(), interKey.get(), key.get());
        ASSERT_TRUE(middle);
        const X509Ptr bottom = issueCert("Bottom", false, middle.get(), key.get(), key.get());
        ASSERT_TRUE(bottom);
        const tavik::CertPtr root = loadCert("rsa-root");
        const tavik::CertPtr interCert = loadCert("rsa-inter");
        const tavik::CertPtr middleCert = toHandle(middle.get());
        const tavik::CertPtr bottomCert = toHandle(bottom.get());
        ASSERT_TRUE(root && interCert && middleCert && bottomCert);
        const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
        ASSERT_EQ(TavikPKICertVerifyAddRootCert(verifier.get(), root.get()), 1);
        ASSERT_EQ(TavikPKICertVerifyAddCACert(verifier.get(), interCert.get()), 1);
        ASSERT_EQ(TavikPKICertVerifyAddCACert(verifier.get(), middleCert.get()), 1);
        int reason = -99;
        int depth = -99;
        EXPECT_EQ(TavikPKICertVerify(verifier.get(), bottomCert.get(), &reason, &depth),
                  TAVIK_ERR_CONSTRAINT);
        EXPECT_EQ(reason, c.reason);
        EXPECT_EQ(depth, c.depth);
    }
}

// SM2 signatures verify with the default identifier, also below a root: the
// CA's signature on the leaf is checked, unlike a trusted root's own.
TEST_F(StoreTest, Sm2ChainVerifiesWithTheDefaultIdentifier)
{
    const KeyPtr caKey(EVP_PKEY_Q_keygen(nullptr, nullptr, "SM2"));
    const KeyPtr leafKey(EVP_PKEY_Q_keygen(nullptr, nullptr, "SM2"));
    ASSERT_TRUE(caKey && leafKey);
    const X509Ptr ca =
        issueCert("SM2 CA", true, nullptr, caKey.get(), caKey.get(), "1234567812345678");
    ASSERT_TRUE(ca);
    const tavik::CertPtr caCert = toHandle(ca.get());
    ASSERT_TRUE(caCert);
    ASSERT_EQ(TavikPKICertStoreAddTrusted(caCert.get()), 1);
    const struct {
        const char *id;
        int result;
    } cases[] = {{"1234567812345678", TAVIK_VERIFY_OK},
                 {"ALICE123@YAHOO.COM", TAVIK_ERR_SIGNATURE}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.id);
        const X509Ptr leaf =
            issueCert("SM2 Leaf", false, ca.get(), caKey.get(), leafKey.get(), c.id);
        ASSERT_TRUE(leaf);
        const tavik::CertPtr leafCert = toHandle(leaf.get());
        ASSERT_TRUE(leafCert);
        int rc = 0;
        EXPECT_EQ(pathCns(leafCert.get(), &rc), (Names{"SM2 CA", "SM2 Leaf"}));
        char *end = nullptr;
        ASSERT_EQ(TavikPKICertGetCertStringAttribute(leafCert.get(), TAVIK_ATTR_NOT_AFTER, &end),
                  1);
        const tavik::TextPtr endText(end);
        EXPECT_EQ(viewerVerify(leafCert.get(), end).result, c.result);
    }
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
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i)
                verified += viewerVerify(leaf.get(), end).result == TAVIK_VERIFY_OK;
        });
    }
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
