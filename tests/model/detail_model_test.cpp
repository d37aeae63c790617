// The row store: order of names, replacement by name, the kind filter, the
// selection callback and what a second certificate does to the rows.
#include <gtest/gtest.h>

#include <openssl/pem.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "fixtures.hpp"
#include "pkiui/detail_model.hpp"

namespace pkiui::test {
namespace {

using Names = std::vector<std::string>;

// The fields every certificate gets, in reading order (no unique IDs, no
// extensions).
const Names kV1FieldNames = {"版本",         "序列号",   "签名算法", "颁发者", "有效起始日期",
                             "有效终止日期", "证书主体", "公钥",     "签名值"};

// One row of every kind the filter tells apart.
struct KindRow {
    const char *name;
    unsigned type;
};
const KindRow kKindRows[] = {
    {"field", kVersion1Field},
    {"ext", kExtension},
    {"critical", kExtension | kCriticalExtension},
    {"tavik", kExtension | kTavikExtension},
    {"tavik-critical", kExtension | kTavikExtension | kCriticalExtension},
    {"attribute", kAttribute},
};

struct FilterCase {
    int index;
    unsigned mask;
    Names shown;
};

class FilterTable : public ::testing::TestWithParam<FilterCase> {};

TEST_P(FilterTable, KeepsRowsSharingABitWithTheMask)
{
    const FilterCase &c = GetParam();
    ShowCertDetailDlgModel model;
    for (const KindRow &row : kKindRows)
        model.AddCertInfo(row.name, "v", "c", row.type);
    EXPECT_EQ(model.numberOfRows(), 0) << "no filter before a certificate is set";

    model.switchToIndex(c.index);
    EXPECT_EQ(model.selectedIndex(), c.mask);
    EXPECT_EQ(model.displayKeys(), c.shown);
}

INSTANTIATE_TEST_SUITE_P(
    SixPositions, FilterTable,
    ::testing::Values(
        FilterCase{0, 31, {"field", "ext", "critical", "tavik", "tavik-critical", "attribute"}},
        FilterCase{1, 1, {"field"}},
        FilterCase{2, 2, {"ext", "critical", "tavik", "tavik-critical"}},
        FilterCase{3, 4, {"critical", "tavik-critical"}},
        FilterCase{4, 8, {"tavik", "tavik-critical"}}, FilterCase{5, 16, {"attribute"}}));

TEST(DetailFilter, PositionsOutsideThePopUpAreIgnored)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("field", "v", "c", kVersion1Field);
    model.switchToIndex(1);
    for (const int index : {6, 7, 31, -1, -6}) {
        model.switchToIndex(index);
        EXPECT_EQ(model.selectedIndex(), 1u) << index;
        EXPECT_EQ(model.displayKeys(), Names{"field"}) << index;
    }
}

TEST(DetailFilter, SameMaskDoesNotRebuildTheList)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("a", "v", "c", kVersion1Field);
    model.setSelectedIndex(kVersion1Field);
    model.AddCertInfo("b", "v", "c", kVersion1Field);
    model.setSelectedIndex(kVersion1Field);
    EXPECT_EQ(model.displayKeys(), Names{"a"});
    model.setSelectedIndex(kAllRows);
    EXPECT_EQ(model.displayKeys(), (Names{"a", "b"}));
}

TEST(DetailRows, RepeatedNameKeepsTheLaterRowTwice)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("twice", "first", "first content", kExtension);
    model.AddCertInfo("other", "o", "o", kExtension);
    model.AddCertInfo("twice", "second", "second content", kExtension | kCriticalExtension);
    model.switchToIndex(0);

    EXPECT_EQ(model.keys(), (Names{"twice", "other", "twice"}));
    ASSERT_EQ(model.numberOfRows(), 3);
    for (const int row : {0, 2}) {
        ASSERT_NE(model.rowAt(row), nullptr);
        EXPECT_EQ(model.rowAt(row)->name, "twice");
        EXPECT_EQ(model.rowAt(row)->value, "second");
        EXPECT_EQ(model.rowAt(row)->content, "second content");
        EXPECT_EQ(model.rowAt(row)->type, 6u);
    }
    // The later row's kind decides: critical now, so the critical filter
    // shows the name at both places.
    model.switchToIndex(3);
    EXPECT_EQ(model.displayKeys(), (Names{"twice", "twice"}));
}

TEST(DetailRows, EmptyTextsAreStoredAsGiven)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("", "", "", kAttribute);
    ASSERT_NE(model.item(""), nullptr);
    EXPECT_EQ(model.item("")->value, "");
    EXPECT_EQ(model.item("missing"), nullptr);
}

TEST(DetailSelection, CallsBackWithTheContentOfTheShownRow)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("field", "fv", "field content", kVersion1Field);
    model.AddCertInfo("attr", "av", "attr content\r\nline 2", kAttribute);
    model.switchToIndex(5);

    std::vector<std::string> shown;
    model.showContent = [&shown](const std::string &content) { shown.push_back(content); };
    for (const int row : {-1, 1, 2, 0})
        model.selectionDidChange(row);
    EXPECT_EQ(shown, Names{"attr content\r\nline 2"});
    EXPECT_EQ(model.rowAt(1), nullptr);
    EXPECT_EQ(model.rowAt(-1), nullptr);
}

TEST(DetailSelection, WithoutACallbackNothingHappens)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("field", "fv", "fc", kVersion1Field);
    model.switchToIndex(0);
    model.selectionDidChange(0);
    EXPECT_EQ(model.numberOfRows(), 1);
}

TEST(DetailCertificate, NullChangesNothing)
{
    ShowCertDetailDlgModel model;
    EXPECT_FALSE(model.setCertHandle(nullptr));
    EXPECT_EQ(model.numberOfRows(), 0);
    EXPECT_TRUE(model.keys().empty());
    EXPECT_EQ(model.selectedIndex(), 0u);

    tavik::CertPtr cert = loadCert("v1-cert");
    ASSERT_TRUE(cert);
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    const Names before = model.keys();
    EXPECT_FALSE(model.setCertHandle(nullptr));
    EXPECT_EQ(model.keys(), before);
    EXPECT_EQ(model.displayKeys(), before);
}

TEST(DetailCertificate, VersionOneCertificateListsItsFieldsInReadingOrder)
{
    tavik::CertPtr cert = loadCert("v1-cert");
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    EXPECT_EQ(model.selectedIndex(), 31u);

    Names all = kV1FieldNames;
    all.push_back("缩略图");
    EXPECT_EQ(model.keys(), all);
    EXPECT_EQ(model.displayKeys(), all);

    model.switchToIndex(1);
    EXPECT_EQ(model.displayKeys(), kV1FieldNames);
    for (const int index : {2, 3, 4}) {
        model.switchToIndex(index);
        EXPECT_TRUE(model.displayKeys().empty()) << index;
    }
    model.switchToIndex(5);
    EXPECT_EQ(model.displayKeys(), Names{"缩略图"});
}

TEST(DetailCertificate, RsaLeafFiltersFieldsAttributesAndNoTavikRows)
{
    tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));

    ASSERT_GE(model.keys().size(), kV1FieldNames.size() + 1);
    EXPECT_EQ(Names(model.keys().begin(), model.keys().begin() + 9), kV1FieldNames);
    EXPECT_EQ(model.keys().back(), "缩略图");

    model.switchToIndex(1);
    EXPECT_EQ(model.displayKeys(), kV1FieldNames);
    model.switchToIndex(4);
    EXPECT_TRUE(model.displayKeys().empty());
    EXPECT_EQ(model.numberOfRows(), 0);
    model.switchToIndex(5);
    EXPECT_EQ(model.displayKeys(), Names{"缩略图"});
    model.switchToIndex(0);
    EXPECT_EQ(model.displayKeys(), model.keys());
}

// Extension count and critical count as OpenSSL reads the fixture.
std::pair<int, int> opensslExtensions(const std::string &name)
{
    std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(fixturePath(name + ".pem").c_str(), "r"),
                                                std::fclose);
    const X509Ptr x(file ? PEM_read_X509(file.get(), nullptr, nullptr, nullptr) : nullptr);
    if (!x)
        return {-1, -1};
    int critical = 0;
    for (int i = 0; i < X509_get_ext_count(x.get()); ++i)
        critical += X509_EXTENSION_get_critical(X509_get_ext(x.get(), i)) ? 1 : 0;
    return {X509_get_ext_count(x.get()), critical};
}

// rsa-leaf: one row per extension, key usage the only critical one.
TEST(DetailCertificate, RsaLeafExtensionMasks)
{
    const auto [extensions, critical] = opensslExtensions("rsa-leaf");
    ASSERT_GT(extensions, 0);
    ASSERT_EQ(critical, 1);
    const auto count = static_cast<std::size_t>(extensions);
    tavik::CertPtr cert = loadCert("rsa-leaf");
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));

    // Fields, then extensions in certificate order, then the thumbprints.
    ASSERT_EQ(model.displayKeys().size(), kV1FieldNames.size() + count + 1);
    const auto first = model.keys().begin() + 9;
    const Names extensionRows(first, first + extensions);
    model.switchToIndex(2);
    EXPECT_EQ(model.displayKeys(), extensionRows);
    for (const std::string &name : extensionRows)
        EXPECT_EQ(model.item(name)->type & ~kCriticalExtension, unsigned{kExtension}) << name;

    model.switchToIndex(3);
    ASSERT_EQ(model.numberOfRows(), 1);
    EXPECT_EQ(model.rowAt(0)->type, 6u);
    EXPECT_NE(std::find(extensionRows.begin(), extensionRows.end(), model.rowAt(0)->name),
              extensionRows.end());
}

TEST(DetailCertificate, SecondCertificateRefillsRowsButKeepsTheFirstNames)
{
    tavik::CertPtr first = loadCert("uid-cert");
    tavik::CertPtr second = loadCert("v1-cert");
    ASSERT_TRUE(first && second);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(first.get()));
    const Names firstKeys = model.keys();
    const Names firstShown = model.displayKeys();
    ASSERT_NE(model.item("颁发者唯一ID"), nullptr);

    ASSERT_TRUE(model.setCertHandle(second.get()));
    // Names accumulate; the shown list is not rebuilt because the filter
    // is already 31.
    ASSERT_GT(model.keys().size(), firstKeys.size());
    EXPECT_EQ(Names(model.keys().begin(), model.keys().begin() + firstKeys.size()), firstKeys);
    EXPECT_EQ(model.displayKeys(), firstShown);
    // The rows are the second certificate's: v1-cert has no unique IDs.
    EXPECT_EQ(model.item("颁发者唯一ID"), nullptr);
    ASSERT_NE(model.item("版本"), nullptr);
    EXPECT_EQ(model.item("版本")->value, "V1");
}

TEST(DetailCertificate, AnEarlierDuplicateIsReleased)
{
    tavik::CertPtr cert = loadCert("uid-cert");
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    const long once = tavik_debug_live_objects();
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    EXPECT_EQ(tavik_debug_live_objects(), once);
    // The model's copy outlives the caller's handle.
    cert.reset();
    EXPECT_EQ(tavik_debug_live_objects(), once - 1);
}

} // namespace
} // namespace pkiui::test
