// The row store: order of names, the kind filter, the selection callback and what a null or second
// certificate does to the rows.
#include "model_support.hpp"

namespace pkiui::test {
namespace {

// The fields every certificate gets, in reading order.
const Names kFields = {"版本",         "序列号",   "签名算法", "颁发者", "有效起始日期",
                       "有效终止日期", "证书主体", "公钥",     "签名值"};

TEST(DetailFilter, SixPositionsKeepRowsSharingABitWithTheirMask)
{
    ShowCertDetailDlgModel model;
    const std::pair<const char *, unsigned> rows[] = {{"field", 1},           {"ext", 2},
                                                      {"critical", 6},        {"tavik", 10},
                                                      {"tavik-critical", 14}, {"attribute", 16}};
    for (const auto &[name, type] : rows)
        model.AddCertInfo(name, "v", "c", type);
    EXPECT_EQ(model.numberOfRows(), 0) << "no filter before a certificate is set";

    const std::tuple<int, unsigned, Names> positions[] = {
        {0, 31, {"field", "ext", "critical", "tavik", "tavik-critical", "attribute"}},
        {1, 1, {"field"}},
        {2, 2, {"ext", "critical", "tavik", "tavik-critical"}},
        {3, 4, {"critical", "tavik-critical"}},
        {4, 8, {"tavik", "tavik-critical"}},
        {5, 16, {"attribute"}},
    };
    for (const auto &[index, mask, shown] : positions) {
        model.switchToIndex(index);
        EXPECT_EQ(model.selectedIndex(), mask) << index;
        EXPECT_EQ(model.displayKeys(), shown) << index;
        // Positions outside the pop-up change nothing.
        for (const int outside : {6, 31, -1}) {
            model.switchToIndex(outside);
            EXPECT_EQ(model.selectedIndex(), mask) << outside;
        }
    }
}

TEST(DetailSelection, CallsBackWithTheContentOfAShownRowOnly)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("field", "fv", "field content", kVersion1Field);
    model.AddCertInfo("attr", "av", "attr content\r\nline 2", kAttribute);
    model.switchToIndex(5);
    model.selectionDidChange(0); // no callback yet
    Names shown;
    model.showContent = [&shown](const std::string &content) { shown.push_back(content); };
    for (const int row : {-1, 1, 2, 0})
        model.selectionDidChange(row);
    EXPECT_EQ(shown, Names{"attr content\r\nline 2"});
    EXPECT_EQ(model.rowAt(1), nullptr);
    EXPECT_EQ(model.rowAt(-1), nullptr);
}

// rsa-leaf: the fields, one row per extension, key usage the only critical
// one, then the thumbprints; all shown once a certificate is set.
TEST(DetailCertificate, RowsInReadingOrder)
{
    Loaded l("rsa-leaf");
    ASSERT_TRUE(l.ok);
    const X509Ptr x = opensslCert("rsa-leaf");
    ASSERT_TRUE(x && X509_get_ext_count(x.get()) > 0);
    const Names &keys = l.model.keys();
    ASSERT_EQ(keys.size(),
              kFields.size() + static_cast<std::size_t>(X509_get_ext_count(x.get())) + 1);
    EXPECT_EQ(Names(keys.begin(), keys.begin() + 9), kFields);
    EXPECT_EQ(keys.back(), "缩略图");
    EXPECT_EQ(l.model.selectedIndex(), 31u);
    EXPECT_EQ(l.model.displayKeys(), keys);
    l.model.switchToIndex(3);
    ASSERT_EQ(l.model.numberOfRows(), 1);
    EXPECT_EQ(l.model.rowAt(0)->type, 6u);
}

TEST(DetailCertificate, SecondCertificateReplacesRowsAndAppendsNames)
{
    Loaded l("uid-cert");
    ASSERT_TRUE(l.ok && l.model.item("颁发者唯一ID"));
    const Names firstKeys = l.model.keys();
    const Names firstShown = l.model.displayKeys();
    const CertPtr second = loadCert("v1-cert");
    ASSERT_TRUE(second && l.model.setCertHandle(second.get()));
    // The filter is already 31, so the shown list is not rebuilt.
    ASSERT_EQ(l.model.keys().size(), firstKeys.size() + kFields.size() + 1);
    EXPECT_EQ(Names(l.model.keys().begin(), l.model.keys().begin() + firstKeys.size()), firstKeys);
    EXPECT_EQ(l.model.displayKeys(), firstShown);
    EXPECT_EQ(l.model.item("颁发者唯一ID"), nullptr);
    EXPECT_EQ(rowText(l.model, "版本"), "V1|V1|1");
    // A null certificate afterwards changes nothing.
    const Names keys = l.model.keys();
    EXPECT_FALSE(l.model.setCertHandle(nullptr));
    EXPECT_EQ(l.model.keys(), keys);
    EXPECT_EQ(l.model.displayKeys(), firstShown);
    EXPECT_EQ(rowText(l.model, "版本"), "V1|V1|1");
}

} // namespace
} // namespace pkiui::test
