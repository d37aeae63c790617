// Why each certificate of a path fails, or that it verifies: one chain per
// reason, each row with the words for what was found at it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fixtures.hpp"
#include "pkiui/path_model.hpp"

namespace pkiui::test {
namespace {

const std::string kVerified = "该证书验证通过";

// A certificate without a problem of its own on a path that fails at name.
std::string elsewhere(const std::string &name)
{
    return "该证书本身未发现问题，问题在“" + name + "”";
}

TEST(PathReasons, EachFailingCertificateSaysWhy)
{
    TavikPKICertStoreUseSystemAnchors(0);
    TavikPKICertStoreClear();
    ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath("rsa-root.pem").c_str()), 1);
    for (const char *name : {"rsa-inter", "other-root", "noca-inter", "deep-ca"})
        ASSERT_EQ(
            TavikPKICertStoreAddIntermediateFile(fixturePath(name + std::string(".pem")).c_str()),
            1);
    PinnedClock clock;
    clock.at(epochOf(loadDates("rsa-root").notBefore) + 365 * 86400 + 12 * 3600);
    const ScopedTimeZone zone("UTC");

    const std::string inter = "Tavik Test Intermediate CA";
    const struct {
        const char *cert;
        std::vector<std::string> reasons; // root first
    } cases[] = {
        {"rsa-leaf", {kVerified, kVerified, kVerified}},
        {"expired-leaf",
         {kVerified, kVerified,
          "该证书已于" + slashedDay(loadDates("expired-leaf").notAfter) + "过期"}},
        {"notyet-leaf",
         {kVerified, kVerified,
          "该证书要到" + slashedDay(loadDates("notyet-leaf").notBefore) + "才生效"}},
        {"orphan-leaf", {"找不到颁发者“Vanished CA”"}},
        {"badsig-leaf",
         {elsewhere("Bad Signature Leaf"), elsewhere("Bad Signature Leaf"),
          "该证书的签名不能用颁发者“" + inter + "”的公钥验证"}},
        {"other-leaf", {"根证书“Other Test Root”不受信任", elsewhere("Other Test Root")}},
        {"noca-leaf",
         {elsewhere("No CA Flag Inter"), "“No CA Flag Inter”不是CA证书（没有CA标志），不能签发证书",
          elsewhere("No CA Flag Inter")}},
        {"deep-leaf",
         {elsewhere(inter), "超出了“" + inter + "”允许的证书路径长度", elsewhere(inter),
          elsewhere(inter)}},
    };
    for (const auto &c : cases) {
        const tavik::CertPtr cert = loadCert(c.cert);
        ShowCertPathDlgModel model;
        ASSERT_EQ(model.setCertHandle(cert.get()), 1) << c.cert;
        std::vector<std::string> reasons;
        for (const CertInfoModel &row : model.certPaths())
            reasons.push_back(row.reason);
        EXPECT_EQ(reasons, c.reasons) << c.cert;
        // The status field follows the row the selection callback reports.
        EXPECT_EQ(model.reasonOf(nullptr), c.reasons.back()) << c.cert;
        EXPECT_EQ(model.reasonOf(model.certPaths().front().cert), c.reasons.front()) << c.cert;
    }
    TavikPKICertStoreClear();
    TavikPKICertStoreUseSystemAnchors(1);
}

} // namespace
} // namespace pkiui::test
