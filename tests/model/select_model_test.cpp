// The chooser's model: its duplicates, the column texts and the date.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "../toolkit/reference.hpp"
#include "pkiui/select_model.hpp"

namespace {

using pkiui::SelectCertDlgModel;
using pkiui::test::Bytes;
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

// A P-256 certificate with a keyUsage extension of the given BIT STRING
// DER; none without bytes.
tavik::CertPtr withKeyUsage(const std::optional<Bytes> &bits)
{
    return pkiui::test::madeCert(
        [&](X509 *x) { return !bits || pkiui::test::addRawExt(x, "2.5.29.15", *bits); });
}

TEST(SelectModel, UsageColumnGroupsTheKeyUsageBits)
{
    struct Case {
        std::optional<Bytes> bits;
        const char *text;
    };
    // Bit n of the BIT STRING is 2^n of the mask: 01 is bit 7 (0x80), 81 bits
    // 0 and 7 (0x81), 06 00 40 bit 9 (0x200).
    const std::vector<Case> cases{
        {Bytes{0x03, 0x02, 0x00, 0x01}, "加密"},       {Bytes{0x03, 0x02, 0x00, 0x81}, "签名加密"},
        {Bytes{0x03, 0x03, 0x06, 0x00, 0x40}, "未知"}, {Bytes{0x03, 0x01, 0x00}, "未知"},
        {Bytes{0x03, 0x02, 0x01, 0x86}, "签名"},       {std::nullopt, "未知"},
    };
    for (const Case &c : cases) {
        const tavik::CertPtr cert = withKeyUsage(c.bits);
        ASSERT_NE(cert, nullptr);
        SelectCertDlgModel model;
        TAVIK_CERT_st *certs[] = {cert.get()};
        model.setCertificateHandles(certs, 1);
        EXPECT_EQ(model.cellText(0, "usageColumn"), c.text)
            << (c.bits ? pkiui::test::hex(*c.bits) : "no extension");
    }
    // Bits of both groups with one outside them still count as both.
    EXPECT_EQ(pkiui::usageText(0x201), "未知");
    EXPECT_EQ(pkiui::usageText(0x205), "签名加密");
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
