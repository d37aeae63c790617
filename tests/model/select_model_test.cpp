// The chooser's model: its duplicates, the column texts and the date.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "fixtures.hpp"
#include "pkiui/select_model.hpp"

namespace {

using pkiui::SelectCertDlgModel;
using Text = std::optional<std::string>;

// The live-object check after the test finds a duplicate left behind.
TEST(SelectModel, KeepsItsOwnDuplicatesAndEmptiesOnOneBadHandle)
{
    const tavik::CertPtr rsa = pkiui::test::loadCert("rsa-leaf");
    const tavik::CertPtr ec = pkiui::test::loadCert("ec-leaf");
    ASSERT_TRUE(rsa && ec);
    // A null handle is one the toolkit cannot duplicate.
    std::array<TAVIK_CERT_st *, 3> certs{rsa.get(), nullptr, ec.get()};
    SelectCertDlgModel model;
    model.setCertificateHandles(certs.data(), 3);
    EXPECT_EQ(model.numberOfRows(), 0);
    EXPECT_EQ(model.handleAtIndex(0), nullptr);

    SelectCertDlgModel full;
    certs[1] = rsa.get();
    full.setCertificateHandles(certs.data(), 3);
    ASSERT_EQ(full.numberOfRows(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(full.handleAtIndex(i), nullptr);
        EXPECT_NE(full.handleAtIndex(i), certs[static_cast<std::size_t>(i)]);
    }
    EXPECT_EQ(full.handleAtIndex(-1), nullptr);
    EXPECT_EQ(full.handleAtIndex(3), nullptr);
}

// The general tab's table pins the word for each fixture's key usage; here
// the chooser's column shows it too, and masks no fixture has get theirs.
TEST(SelectModel, UsageColumnGroupsTheKeyUsageBits)
{
    const tavik::CertPtr cert = pkiui::test::loadCert("ku-encipher-only");
    ASSERT_NE(cert, nullptr);
    SelectCertDlgModel model;
    TAVIK_CERT_st *certs[] = {cert.get()};
    model.setCertificateHandles(certs, 1);
    EXPECT_EQ(model.cellText(0, "usageColumn"), "加密");
    // Bits of both groups with one outside them still count as both.
    const std::pair<std::optional<std::int64_t>, const char *> masks[] = {
        {0x81, "签名加密"},     {0x61, "签名"},  {0, "未知"},
        {std::nullopt, "未知"}, {0x201, "未知"}, {0x205, "签名加密"},
    };
    for (const auto &[mask, text] : masks)
        EXPECT_EQ(pkiui::usageText(mask), text) << mask.value_or(-1);
}

TEST(SelectModel, ColumnTextsFromTheToolkitAttributes)
{
    struct Case {
        const char *fixture;
        std::string_view column;
        Text text;
    };
    const std::string rsaEnd = pkiui::test::loadDates("rsa-leaf").notAfter;
    const std::string date =
        rsaEnd.substr(0, 4) + "-" + rsaEnd.substr(4, 2) + "-" + rsaEnd.substr(6, 2);
    const std::vector<Case> cases{
        {"rsa-leaf", "certTypeColumn", "RSA"},
        {"sm2-self", "certTypeColumn", "SM2"},
        {"ec-leaf", "certTypeColumn", std::nullopt},
        {"dsa-self", "certTypeColumn", "未知"},
        {"rsa-leaf", "subjectColumn", "Leaf RSA"},
        {"nocn-leaf", "subjectColumn", std::nullopt},
        {"rsa-leaf", "issuerColumn", "Tavik Test Intermediate CA"},
        {"rsa-leaf", "otherNameColumn", "无"},
        {"rsa-leaf", "validateColumn", date},
        {"wide-dates", "validateColumn", "9999-12-31"},
        {"rsa-leaf", "noSuchColumn", std::nullopt},
    };
    for (const Case &c : cases) {
        const tavik::CertPtr cert = pkiui::test::loadCert(c.fixture);
        ASSERT_NE(cert, nullptr) << c.fixture;
        const SelectCertDlgModel model;
        EXPECT_EQ(model.getValueForColumnIdentifier(c.column, cert.get()), c.text)
            << c.fixture << " " << c.column;
    }
}

} // namespace
