// The row store: order of names, replacement by name, the kind filter, the
// selection callback and what a null or second certificate does to the rows.
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

TEST(DetailRows, RepeatedNameShowsTheLaterRowAtBothPlaces)
{
    ShowCertDetailDlgModel model;
    model.AddCertInfo("twice", "first", "first content", kExtension);
    model.AddCertInfo("other", "o", "o", kExtension);
    model.AddCertInfo("twice", "second", "second content", kExtension | kCriticalExtension);
    model.switchToIndex(3);
    EXPECT_EQ(model.keys(), (Names{"twice", "other", "twice"}));
    EXPECT_EQ(model.displayKeys(), (Names{"twice", "twice"}));
    for (const int row : {0, 1}) {
        ASSERT_NE(model.rowAt(row), nullptr);
        EXPECT_EQ(model.rowAt(row)->name + model.rowAt(row)->value + model.rowAt(row)->content,
                  "twicesecondsecond content");
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

TEST(DetailCertificate, NullChangesNothing)
{
    ShowCertDetailDlgModel model;
    EXPECT_FALSE(model.setCertHandle(nullptr));
    EXPECT_TRUE(model.keys().empty());
    EXPECT_EQ(model.selectedIndex(), 0u);

    Loaded l("v1-cert");
    ASSERT_TRUE(l.ok);
    const Names before = l.model.keys();
    EXPECT_FALSE(l.model.setCertHandle(nullptr));
    EXPECT_EQ(l.model.keys(), before);
    EXPECT_EQ(l.model.displayKeys(), before);
    EXPECT_EQ(l.row("版本").value, "V1");
}

TEST(DetailCertificate, VersionOneCertificateHasFieldsThenThumbprints)
{
    Loaded l("v1-cert");
    ASSERT_TRUE(l.ok);
    EXPECT_EQ(l.model.selectedIndex(), 31u);
    Names all = kFields;
    all.push_back("缩略图");
    EXPECT_EQ(l.model.keys(), all);
    EXPECT_EQ(l.model.displayKeys(), all);
    const Names shown[] = {kFields, {}, {}, {}, {"缩略图"}};
    for (int index = 1; index <= 5; ++index) {
        l.model.switchToIndex(index);
        EXPECT_EQ(l.model.displayKeys(), shown[index - 1]) << index;
    }
}

// rsa-leaf: one row per extension between the fields and the thumbprints,
// key usage the only critical one.
TEST(DetailCertificate, ExtensionRowsAsOpensslCountsThem)
{
    Loaded l("rsa-leaf");
    ASSERT_TRUE(l.ok);
    const unsigned char *p = l.der.data();
    const X509Ptr x(d2i_X509(nullptr, &p, static_cast<long>(l.der.size())));
    ASSERT_TRUE(x);
    const int count = X509_get_ext_count(x.get());
    ASSERT_GT(count, 0);
    const Names &keys = l.model.keys();
    ASSERT_EQ(keys.size(), kFields.size() + static_cast<std::size_t>(count) + 1);
    EXPECT_EQ(Names(keys.begin(), keys.begin() + 9), kFields);
    EXPECT_EQ(keys.back(), "缩略图");

    const Names extensions(keys.begin() + 9, keys.end() - 1);
    l.model.switchToIndex(2);
    EXPECT_EQ(l.model.displayKeys(), extensions);
    l.model.switchToIndex(4);
    EXPECT_TRUE(l.model.displayKeys().empty());
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
    EXPECT_EQ(l.row("版本").value, "V1");
}

TEST(DetailCertificate, AnEarlierDuplicateIsReleased)
{
    Loaded l("uid-cert");
    ASSERT_TRUE(l.ok);
    const long once = tavik_debug_live_objects();
    ASSERT_TRUE(l.model.setCertHandle(l.cert.get()));
    EXPECT_EQ(tavik_debug_live_objects(), once);
    // The model's copy outlives the caller's handle.
    l.cert.reset();
    EXPECT_EQ(tavik_debug_live_objects(), once - 1);
}

} // namespace
} // namespace pkiui::test
