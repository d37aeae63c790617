// The general tab's texts, the certification path rows and their reasons,
// over the generated chains in a store holding only the test anchors, and
// the time a path is verified at.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "fixtures.hpp"
#include "pkiui/cert_status.hpp"
#include "pkiui/path_model.hpp"
#include "pkiui/routine_model.hpp"
#include "pkiui/verify_time.hpp"

namespace pkiui::test {
namespace {

const std::string kOk = "该证书没有问题";
const std::string kIncomplete = "没有足够信息，不能验证该证书";
const std::string kOutOfValidity = "该证书已过期，或尚未生效";
const std::string kFailed = "验证证书失败";
const std::string kUnknown = "该证书状态未知";

// rsa-root trusted; the other CAs only known, so their paths build.
class ViewerModels : public ::testing::Test {
  protected:
    void SetUp() override
    {
        TavikPKICertStoreUseSystemAnchors(0);
        TavikPKICertStoreClear();
        ASSERT_EQ(TavikPKICertStoreAddTrustedFile(fixturePath("rsa-root.pem").c_str()), 1);
        for (const char *name :
             {"rsa-inter", "other-root", "nocn-inter", "badtime-root", "noca-inter", "deep-ca"})
            ASSERT_EQ(TavikPKICertStoreAddIntermediateFile(
                          fixturePath(name + std::string(".pem")).c_str()),
                      1);
        // Noon of the day the fixtures were made.
        clock.at(epochOf(loadDates("rsa-root").notBefore) + 365 * 86400 + 12 * 3600);
    }
    void TearDown() override
    {
        TavikPKICertStoreClear();
        TavikPKICertStoreUseSystemAnchors(1);
    }
    PinnedClock clock;
};

// The general tab shows the other codes' texts below.
TEST(CertStatus, CodesOutsideTheTableShareOneText)
{
    for (const int32_t code : {0, 3, 6})
        EXPECT_EQ(getContentByIndex(code), kUnknown) << code;
}

TEST_F(ViewerModels, GeneralTabVerdictAndType)
{
    const struct {
        const char *cert;
        std::string verdict; // empty: not checked
        int32_t verified;    // verifyCert alone, before the validity overrides it
        bool ca;
        const char *type;
    } cases[] = {
        {"rsa-leaf", kOk, 2, false, "签名 - RSA(2048 bits)"},
        {"ku-encipher-only", kOk, 2, false, "加密 - RSA(2048 bits)"},   // 0x80
        {"ku-sign-certsign", kOk, 2, false, "签名 - RSA(2048 bits)"},   // 0x21
        {"sm2-self", kIncomplete, 4, true, "签名加密 - SM2(256 bits)"}, // 0x05, untrusted
        // 0x200; its malformed extensions decide the verdict, not checked here.
        {"ext-bad", "", 0, false, "未知 - RSA(2048 bits)"},
        {"dsa-self", kIncomplete, 4, true, "未知 - DSA(2048 bits)"}, // no key usage
        {"rsa-root", kOk, 2, true, "签名 - RSA(2048 bits)"},         // 0x60, never "CA"
        {"ec-leaf", kOk, 2, false, "签名加密 - ECC(256 bits)"},
        {"expired-leaf", kOutOfValidity, 2, false, "签名 - RSA(2048 bits)"},
        {"notyet-leaf", kOutOfValidity, 2, false, "签名 - RSA(2048 bits)"},
        {"orphan-leaf", kIncomplete, 4, false, "签名 - RSA(2048 bits)"},
        {"other-leaf", kIncomplete, 4, false, "签名 - RSA(2048 bits)"}, // root not trusted
        {"badsig-leaf", kFailed, 7, false, "签名 - RSA(2048 bits)"},
        {"badtime-root", kOutOfValidity, 7, true, "签名 - RSA(2048 bits)"},
        {"v1-cert", kOk, 2, false, "未知 - RSA(2048 bits)"},
        // Subjects OpenSSL's name typing refuses: no path, so no verdict.
        {"odd-integer", kIncomplete, 4, false, "签名 - RSA(2048 bits)"},
        {"odd-visible", kIncomplete, 4, false, "签名 - RSA(2048 bits)"},
    };
    for (const auto &c : cases) {
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert) << c.cert;
        ShowCertRoutineDlgModel model;
        EXPECT_EQ(model.setCertHandle(cert.get()), 1);
        if (!c.verdict.empty()) {
            EXPECT_EQ(model.certStatusText(), c.verdict) << c.cert;
            EXPECT_EQ(model.verifyCert(), c.verified) << c.cert;
        }
        EXPECT_EQ(model.isCACert(), c.ca) << c.cert;
        EXPECT_EQ(model.certTypeText(), c.type) << c.cert;
    }
}

TEST_F(ViewerModels, GeneralTabNamesAndValidity)
{
    const ScopedTimeZone zone("Asia/Shanghai");
    const Dates leaf = loadDates("rsa-leaf");
    const struct {
        const char *cert;
        std::string subject, issuer, validity;
    } cases[] = {
        {"rsa-leaf", "Leaf RSA", "Tavik Test Intermediate CA",
         slashedDay(leaf.notBefore) + " 到 " + slashedDay(leaf.notAfter)},
        {"nocn-leaf", "", "Tavik Test Intermediate CA",
         slashedDay(loadDates("nocn-leaf").notBefore) + " 到 " +
             slashedDay(loadDates("nocn-leaf").notAfter)},
        {"badtime-root", "Bad Time Root", "Bad Time Root", " 到 "},
        // UTCTime from 1950, GeneralizedTime to 9999; no common name.
        {"wide-dates", "", "C = CN, O = 北京测试, OU = Unit", "1950/01/01 到 9999/12/31 UTC"},
    };
    for (const auto &c : cases) {
        const tavik::CertPtr cert = loadCert(c.cert);
        ShowCertRoutineDlgModel model;
        model.setCertHandle(cert.get());
        EXPECT_EQ(model.subjectText(), c.subject) << c.cert;
        EXPECT_EQ(model.issuerText(), c.issuer) << c.cert;
        EXPECT_EQ(model.validityText(), c.validity) << c.cert;
    }
}

// The local date, in whatever zone TZ names now: each case changes it
// without tzset().
TEST(GeneralTab, DateInTheLocalZone)
{
    const ScopedTimeZone restore("UTC");
    const struct {
        const char *zone;
        int year, month, day, hour, minute;
        const char *text;
    } cases[] = {
        {"UTC", 2024, 3, 5, 20, 0, "2024/03/05"},
        {"Asia/Shanghai", 2024, 3, 5, 20, 0, "2024/03/06"},
        {"America/New_York", 2024, 3, 5, 3, 0, "2024/03/04"},
        {"America/New_York", 2024, 7, 1, 4, 30, "2024/07/01"}, // summer time
        {"Asia/Shanghai", 2100, 2, 28, 16, 0, "2100/03/01"},   // past 2038, no 29th
        {"UTC", 1950, 1, 1, 0, 0, "1950/01/01"},
        {"Asia/Shanghai", 9999, 12, 31, 20, 0, "9999/12/31 UTC"}, // no local year 10000
    };
    for (const auto &c : cases) {
        setenv("TZ", c.zone, 1);
        const tavik::TimePtr time(tavik_time_new(c.year, c.month, c.day, c.hour, c.minute, 0));
        EXPECT_EQ(ShowCertRoutineDlgModel::FormatTime(time.get()), c.text) << c.zone << c.year;
    }
}

// "cell text|status" of every row.
std::vector<std::string> rows(const ShowCertPathDlgModel &model)
{
    std::vector<std::string> out;
    for (int r = 0; r < model.numberOfRows(); ++r)
        out.push_back(model.cellText(r) + "|" + std::to_string(model.certPaths()[r].status));
    return out;
}

TEST_F(ViewerModels, PathRows)
{
    using Rows = std::vector<std::string>;
    const std::string root = "Tavik Test Root CA|", inter = "\t|- Tavik Test Intermediate CA|";
    const struct {
        const char *cert;
        Rows rows;
    } cases[] = {
        {"rsa-leaf", {root + "2", inter + "2", "\t\t|- Leaf RSA|2"}},
        {"expired-leaf", {root + "2", inter + "2", "\t\t|- Expired Leaf|5"}},
        {"badsig-leaf", {root + "5", inter + "5", "\t\t|- Bad Signature Leaf|5"}}, // 7 shown as 5
        {"other-leaf", {"Other Test Root|4", "\t|- Other Leaf|4"}},
        {"orphan-leaf", {"Orphan Leaf|4"}}, // no path: the certificate alone
        {"nocn-leaf", {root + "2", inter + "2"}},
        {"nocn-inter-leaf", {root + "2"}}, // the list ends at the CA without a name
        // The root's validity cannot be read: it keeps the initial 0.
        {"badtime-leaf", {"Bad Time Root|0", "\t|- Bad Time Leaf|5"}},
        // The list stops at a certificate whose name cannot be read.
        {"odd-integer", {}},
        {"odd-visible", {"Visible|4"}},
    };
    for (const auto &c : cases) {
        const tavik::CertPtr cert = loadCert(c.cert);
        ShowCertPathDlgModel model;
        EXPECT_EQ(model.setCertHandle(cert.get()), 1);
        EXPECT_EQ(rows(model), c.rows) << c.cert;
    }
    ShowCertPathDlgModel empty;
    EXPECT_EQ(empty.setCertHandle(nullptr), 0);
    EXPECT_EQ(empty.numberOfRows(), 0);
}

TEST_F(ViewerModels, PathSelection)
{
    const tavik::CertPtr cert = loadCert("expired-leaf");
    ShowCertPathDlgModel model;
    ASSERT_EQ(model.setCertHandle(cert.get()), 1);
    ASSERT_EQ(model.numberOfRows(), 3);
    std::vector<std::string> calls;
    model.showContentWhenUserSelect = [&](TAVIK_CERT_st *shown, const std::string &text) {
        calls.push_back((shown ? textAttribute(shown, TAVIK_ATTR_SUBJECT_CN).value_or("?")
                               : std::string("null")) +
                        "|" + text);
    };
    std::vector<int> selected;
    const auto select = [&](int row) { selected.push_back(row); };

    // Only the last row's cell selects itself and reports the viewed certificate.
    for (int row = 0; row < 3; ++row)
        model.viewForRow(row, select);
    EXPECT_EQ(selected, std::vector<int>{2});
    for (int row : {0, 1, 2, 3, -1})
        model.selectionDidChange(row);
    EXPECT_EQ(calls, (std::vector<std::string>{
                         "null|" + kOutOfValidity, "Tavik Test Root CA|" + kOk,
                         "Tavik Test Intermediate CA|" + kOk, "null|" + kOutOfValidity}));
}

const std::string kVerified = "该证书验证通过";

// A certificate without a problem of its own on a path that fails at name.
std::string elsewhere(const std::string &name)
{
    return "该证书本身未发现问题，问题在“" + name + "”";
}

TEST_F(ViewerModels, PathReasons)
{
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
}

// verifyTime: the earliest end of validity of a path whose periods overlap.
TEST(VerifyTime, EarliestEndWhenPeriodsOverlap)
{
    const struct {
        std::vector<std::string> path;
        const char *cert;
        const char *expectedFrom; // fixture whose notAfter is chosen; null: no time
    } cases[] = {
        {{"rsa-root"}, "rsa-root", "rsa-root"},
        {{"rsa-root", "rsa-inter", "rsa-leaf"}, "rsa-leaf", "rsa-leaf"},
        {{"rsa-root", "tie-b"}, "tie-a", "tie-b"},              // an equal end in the path counts
        {{"late-ca", "expired-leaf"}, "expired-leaf", nullptr}, // the CA starts after the leaf ends
        {{"rsa-root"}, "rsa-leaf", nullptr}, // no end at or before the certificate's
        {{}, "rsa-leaf", nullptr},           // no path
    };
    for (const auto &c : cases) {
        std::vector<tavik::CertPtr> owned;
        std::vector<TAVIK_CERT_st *> path;
        for (const auto &name : c.path) {
            owned.push_back(loadCert(name));
            ASSERT_TRUE(owned.back()) << name;
            path.push_back(owned.back().get());
        }
        const tavik::CertPtr cert = loadCert(c.cert);
        ASSERT_TRUE(cert) << c.cert;
        const auto time = verifyTime(path.data(), static_cast<int>(path.size()), cert.get());
        EXPECT_EQ(time.value_or("(none)"),
                  c.expectedFrom ? loadDates(c.expectedFrom).notAfter : "(none)")
            << c.cert;
    }
}

} // namespace
} // namespace pkiui::test
