// Toolkit strings to display text, raw values under a configured method, and
// the rows of extensions without a decoder.
#include <clocale>
#include <cstdlib>
#include <optional>

#include "model_support.hpp"

namespace pkiui::test {
namespace {

TEST(DetailStrings, WideConversionKeepsChineseAndRestoresTheLocale)
{
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    const std::string text = "中文名称 CN=测试 ABC";
    const UStringPtr string(tavik_ustring_newutf8(text.data(), text.size()));
    EXPECT_EQ(ShowCertDetailDlgModel::GetNSStringFromUString(string.get()), text);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    // The thread's character type is back too: a non-ASCII wide character
    // has no multibyte form in "C".
    const wchar_t wide[] = {L'\u4E2D', 0};
    EXPECT_EQ(std::wcstombs(nullptr, wide, 0), static_cast<std::size_t>(-1));

    const UStringPtr empty(tavik_ustring_newutf8("", 0));
    EXPECT_EQ(ShowCertDetailDlgModel::GetNSStringFromUString(empty.get()), "");
}

TEST(DetailConfiguredValues, EveryMethodAcceptsItsTypeWholeAndRefusesTheRest)
{
    const std::tuple<const char *, const char *, std::optional<std::string>> cases[] = {
        {"UTF8String", "0C06E4B8ADE69687", "中文"},
        // Every method reads its value through one whole-TLV reader.
        {"UTF8String", "0C014100", std::nullopt}, // trailing byte
        {"UTF8String", "0C02C328", std::nullopt}, // not UTF-8
        {"UTF8String", "130141", std::nullopt},   // other type
        {"PrintableString", "1303412031", "A 1"},
        {"PrintableString", "1301C3", std::nullopt},
        {"IA5String", "1603614062", "a@b"},
        {"IA5String", "16026180", std::nullopt},
        {"VisibleString", "1A024849", "HI"},
        {"VisibleString", "1A01FF", std::nullopt},
        {"BMPString", "1E064E2D65870041", "中文A"},
        {"BMPString", "1E04D83DDE00", "\xF0\x9F\x98\x80"},
        {"BMPString", "1E03004100", std::nullopt},
        {"OID", "06032A0304", "1.2.3.4"},
        {"OctetString", "0403000FF0", "000FF0"},
        {"OctetString", "0400", ""},
        {"Integer", "0201FF", "FF"},
        {"Integer", "02020080", "0080"},
        {"Integer", "0200", std::nullopt},
        {"Boolean", "010100", "False"},
        {"Boolean", "0101FF", "True"},
        {"NULL", "0500", "NULL"},
        // The method name must match exactly.
        {"utf8string", "0C0141", std::nullopt},
        {"BitString", "030200FF", std::nullopt},
    };
    for (const auto &[method, der, expected] : cases) {
        Bytes bytes = fromHex(der);
        std::string text;
        const bool ok = ShowCertDetailDlgModel::DecodeUnkownExtValue({bytes.data(), bytes.size()},
                                                                     method, text);
        EXPECT_EQ(ok ? std::optional(text) : std::nullopt, expected) << method << " " << der;
    }
}

// Repeated, critical, empty and long-named extensions OpenSSL adds as given:
// each shows its value's hex under a generated name, the later row winning
// the name.
TEST(DetailExtensionRows, ExtensionsWithoutADecoderShowTheirValueInHex)
{
    const std::string longOid = "1.2.840.113549.1.9.16.2.47.1234567890.1234567890.1234567890."
                                "1234567890.1234567890.1234567890.1234567890";
    const std::string longName = "未知扩展(" + longOid + ")";
    const CertPtr cert = certWith({}, {
                                          {"1.2.3.4", {0x04, 0x01, 0x01}},
                                          {longOid, {0x05, 0x00}, true},
                                          {"1.2.3.6", {}},
                                          {"1.2.3.4", {0x04, 0x01, 0x02}, true},
                                      });
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(cert && model.setCertHandle(cert.get()));
    const Names &keys = model.keys();
    EXPECT_EQ(
        Names(keys.end() - 5, keys.end()),
        (Names{"未知扩展(1.2.3.4)", longName, "未知扩展(1.2.3.6)", "未知扩展(1.2.3.4)", "缩略图"}));
    EXPECT_EQ(rowText(model, "未知扩展(1.2.3.4)"), "04 01 02|04 01 02|6");
    EXPECT_EQ(rowText(model, longName), "05 00|05 00|6");
    EXPECT_EQ(rowText(model, "未知扩展(1.2.3.6)"), "||2");
    model.switchToIndex(3);
    EXPECT_EQ(model.displayKeys(), (Names{"未知扩展(1.2.3.4)", longName, "未知扩展(1.2.3.4)"}));
}

} // namespace
} // namespace pkiui::test
