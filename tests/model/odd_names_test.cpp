// Certificates whose subject holds a value OpenSSL's name typing refuses:
// the detail rows show them, the general and path tabs find no path.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model_support.hpp"
#include "pkiui/path_model.hpp"
#include "pkiui/routine_model.hpp"

namespace pkiui::test {
namespace {

TEST(OddNames, SubjectRows)
{
    expectRows({
        {"odd-integer", "证书主体", "CN, HEX: 02 01 05", "C = CN\r\nCN = HEX: 02 01 05", 1},
        {"odd-visible", "证书主体", "CN, Visible", "C = CN\r\nCN = Visible", 1},
    });
}

TEST(OddNames, NoPathSoTheTabsCannotVerify)
{
    TavikPKICertStoreUseSystemAnchors(0);
    TavikPKICertStoreClear();
    ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath("rsa-root.pem").c_str()), 1);
    ASSERT_EQ(TavikPKICertStoreAddIntermediateFile(fixturePath("rsa-inter.pem").c_str()), 1);
    // The path list stops at a certificate whose name cannot be read.
    const struct {
        const char *name;
        std::vector<std::string> rows; // "cell text|status"
    } cases[] = {{"odd-integer", {}}, {"odd-visible", {"Visible|4"}}};
    for (const auto &c : cases) {
        const tavik::CertPtr cert = loadCert(c.name);
        ASSERT_TRUE(cert) << c.name;
        ShowCertRoutineDlgModel general;
        EXPECT_EQ(general.setCertHandle(cert.get()), 1);
        EXPECT_EQ(general.certStatusText(), "没有足够信息，不能验证该证书") << c.name;
        ShowCertPathDlgModel path;
        EXPECT_EQ(path.setCertHandle(cert.get()), 1);
        std::vector<std::string> rows;
        for (int r = 0; r < path.numberOfRows(); ++r)
            rows.push_back(path.cellText(r) + "|" + std::to_string(path.certPaths()[r].status));
        EXPECT_EQ(rows, c.rows) << c.name;
    }
    TavikPKICertStoreClear();
    TavikPKICertStoreUseSystemAnchors(1);
}

} // namespace
} // namespace pkiui::test
