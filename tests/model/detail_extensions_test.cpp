#include <gtest/gtest.h>

#include <clocale>
#include <optional>
#include <string>
#include <vector>

#include "pkiui/detail_model.hpp"

namespace {

using pkiui::ShowCertDetailDlgModel;

std::vector<unsigned char> bytesOf(std::initializer_list<int> list)
{
    std::vector<unsigned char> bytes;
    for (const int b : list)
        bytes.push_back(static_cast<unsigned char>(b));
    return bytes;
}

tavik_data_blob blobOf(std::vector<unsigned char> &bytes)
{
    return tavik_data_blob{bytes.data(), bytes.size()};
}

std::string currentLocale()
{
    const char *name = std::setlocale(LC_ALL, nullptr);
    return name ? name : "";
}

// ---- Strings ----

TEST(DetailStrings, WideConversionKeepsChineseAndLeavesTheProcessLocale)
{
    ASSERT_EQ(currentLocale(), "C");
    const std::string text = "中文名称 CN=测试 ABC";
    const tavik::UStringPtr string(tavik_ustring_newutf8(text.data(), text.size()));
    ASSERT_TRUE(string);
    EXPECT_EQ(ShowCertDetailDlgModel::GetNSStringFromUString(string.get()), text);
    EXPECT_EQ(currentLocale(), "C");
    // The calling thread's character type is back as well: wide-to-multibyte
    // of a non-ASCII character fails again in "C".
    const wchar_t wide[] = {L'\u4E2D', 0};
    EXPECT_EQ(std::wcstombs(nullptr, wide, 0), static_cast<std::size_t>(-1));

    const tavik::UStringPtr empty(tavik_ustring_newutf8("", 0));
    EXPECT_EQ(ShowCertDetailDlgModel::GetNSStringFromUString(empty.get()), "");
    EXPECT_EQ(ShowCertDetailDlgModel::GetNSStringFromUString(nullptr), std::nullopt);
}

TEST(DetailStrings, Utf8BytesRoundTripOrFail)
{
    struct Case {
        std::vector<unsigned char> bytes;
        std::optional<std::string> expected;
    } cases[] = {
        {bytesOf({0xE4, 0xB8, 0xAD, 0xE6, 0x96, 0x87}), "中文"},
        {bytesOf({'a', 'b'}), "ab"},
        {{}, ""},
        {bytesOf({0xC3, 0x28}), std::nullopt},
        {bytesOf({0xE4, 0xB8}), std::nullopt},
    };
    for (auto &c : cases)
        EXPECT_EQ(ShowCertDetailDlgModel::UTF8String2NSString(c.bytes.data(), c.bytes.size()),
                  c.expected)
            << testing::PrintToString(c.bytes);
}

// ---- Raw values under a configured method ----

struct MethodCase {
    const char *method;
    std::vector<unsigned char> der;
    std::optional<std::string> expected; // nullopt: the decoding fails
};

TEST(DetailConfiguredValues, EveryMethodOnHandWrittenDer)
{
    std::vector<MethodCase> cases = {
        {"UTF8String", bytesOf({0x0C, 0x06, 0xE4, 0xB8, 0xAD, 0xE6, 0x96, 0x87}), "中文"},
        {"UTF8String", bytesOf({0x0C, 0x00}), ""},
        {"UTF8String", bytesOf({0x0C, 0x01, 0x41, 0x00}), std::nullopt},
        {"UTF8String", bytesOf({0x0C, 0x02, 0xC3, 0x28}), std::nullopt},
        {"UTF8String", bytesOf({0x13, 0x01, 0x41}), std::nullopt},
        {"PrintableString", bytesOf({0x13, 0x03, 'A', ' ', '1'}), "A 1"},
        {"PrintableString", bytesOf({0x13, 0x01, 0xC3}), std::nullopt},
        {"IA5String", bytesOf({0x16, 0x03, 'a', '@', 'b'}), "a@b"},
        {"IA5String", bytesOf({0x16, 0x02, 'a', 0x80}), std::nullopt},
        {"VisibleString", bytesOf({0x1A, 0x02, 'H', 'I'}), "HI"},
        {"VisibleString", bytesOf({0x1A, 0x01, 0xFF}), std::nullopt},
        {"BMPString", bytesOf({0x1E, 0x06, 0x4E, 0x2D, 0x65, 0x87, 0x00, 0x41}), "中文A"},
        {"BMPString", bytesOf({0x1E, 0x04, 0xD8, 0x3D, 0xDE, 0x00}), "\xF0\x9F\x98\x80"},
        {"BMPString", bytesOf({0x1E, 0x03, 0x00, 0x41, 0x00}), std::nullopt},
        {"OID", bytesOf({0x06, 0x03, 0x2A, 0x03, 0x04}), "1.2.3.4"},
        {"OID", bytesOf({0x06, 0x06, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x01}), "1.3.6.1.4.1.1"},
        {"OID", bytesOf({0x06, 0x03, 0x2A, 0x03, 0x04, 0x00}), std::nullopt},
        {"OctetString", bytesOf({0x04, 0x02, 0xAB, 0xCD}), "ABCD"},
        {"OctetString", bytesOf({0x04, 0x03, 0x00, 0x0F, 0xF0}), "000FF0"},
        {"OctetString", bytesOf({0x04, 0x00}), ""},
        {"Integer", bytesOf({0x02, 0x01, 0xFF}), "FF"},
        {"Integer", bytesOf({0x02, 0x02, 0x00, 0x80}), "0080"},
        {"Integer", bytesOf({0x02, 0x01, 0xFF, 0x00}), std::nullopt},
        {"Integer", bytesOf({0x02, 0x00}), std::nullopt},
        {"Integer", bytesOf({0x04, 0x01, 0xFF}), std::nullopt},
        {"Boolean", bytesOf({0x01, 0x01, 0x00}), "False"},
        {"Boolean", bytesOf({0x01, 0x01, 0xFF}), "True"},
        {"Boolean", bytesOf({0x01, 0x01, 0x00, 0x00}), std::nullopt},
        {"NULL", bytesOf({0x05, 0x00}), "NULL"},
        {"NULL", bytesOf({0x05, 0x00, 0x00}), std::nullopt},
        {"NULL", bytesOf({0x05, 0x01, 0x00}), std::nullopt},
        // The method name must match exactly.
        {"utf8string", bytesOf({0x0C, 0x01, 0x41}), std::nullopt},
        {"Utf8String", bytesOf({0x0C, 0x01, 0x41}), std::nullopt},
        {"integer", bytesOf({0x02, 0x01, 0xFF}), std::nullopt},
        {"BitString", bytesOf({0x03, 0x02, 0x00, 0xFF}), std::nullopt},
        {"", bytesOf({0x05, 0x00}), std::nullopt},
        {"Integer", {}, std::nullopt},
    };
    for (auto &c : cases) {
        std::string text = "untouched";
        const bool ok = ShowCertDetailDlgModel::DecodeUnkownExtValue(blobOf(c.der), c.method, text);
        EXPECT_EQ(ok, c.expected.has_value()) << c.method << " " << testing::PrintToString(c.der);
        if (ok && c.expected) {
            EXPECT_EQ(text, *c.expected) << c.method;
        }
    }
}

TEST(DetailConfiguredValues, NullValueDecoder)
{
    auto null = bytesOf({0x05, 0x00});
    auto trailing = bytesOf({0x05, 0x00, 0x00});
    auto octets = bytesOf({0x04, 0x00});
    EXPECT_EQ(ShowCertDetailDlgModel::DecodeNULLExtValue(blobOf(null)), "NULL");
    EXPECT_EQ(ShowCertDetailDlgModel::DecodeNULLExtValue(blobOf(trailing)), std::nullopt);
    EXPECT_EQ(ShowCertDetailDlgModel::DecodeNULLExtValue(blobOf(octets)), std::nullopt);
}

} // namespace
