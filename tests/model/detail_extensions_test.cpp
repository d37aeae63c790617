#include <gtest/gtest.h>

#include <clocale>
#include <optional>
#include <string>
#include <vector>

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <algorithm>

#include "fixtures.hpp"
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
        {"NULL", bytesOf({0x04, 0x00}), std::nullopt},
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

// ---- Extension rows ----

using Names = std::vector<std::string>;

const std::string kUnknownPrefix = "未知扩展(";

Names unknownExtensionKeys(const ShowCertDetailDlgModel &model)
{
    Names names;
    for (const auto &key : model.keys())
        if (key.rfind(kUnknownPrefix, 0) == 0)
            names.push_back(key);
    return names;
}

struct ExpectedRow {
    std::string name;
    std::string value;
    unsigned type;
};

void expectRows(const ShowCertDetailDlgModel &model, const std::vector<ExpectedRow> &rows)
{
    for (const auto &row : rows) {
        const pkiui::CertDetailInfoItem *item = model.item(row.name);
        ASSERT_NE(item, nullptr) << row.name;
        EXPECT_EQ(item->value, row.value) << row.name;
        EXPECT_EQ(item->content, row.value) << row.name;
        EXPECT_EQ(item->type, row.type) << row.name;
    }
}

TEST(DetailExtensionRows, UnknownExtensionsShowTheirRawValueInHex)
{
    const tavik::CertPtr cert = pkiui::test::loadCert("ext-private");
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));

    expectRows(model, {
                          {"未知扩展(1.2.3.4)", "04 02 AB CD", pkiui::kExtension},
                          {"未知扩展(1.2.3.5)", "0C 04 63 72 69 74",
                           pkiui::kExtension | pkiui::kCriticalExtension},
                      });
    // Stored order, each once, all before the thumbprint row.
    const auto &keys = model.keys();
    const auto first = std::find(keys.begin(), keys.end(), "未知扩展(1.2.3.4)");
    const auto second = std::find(keys.begin(), keys.end(), "未知扩展(1.2.3.5)");
    EXPECT_LT(first, second);
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "未知扩展(1.2.3.4)"), 1);
    EXPECT_EQ(keys.back(), "缩略图");

    model.switchToIndex(3);
    const auto &critical = model.displayKeys();
    EXPECT_NE(std::find(critical.begin(), critical.end(), "未知扩展(1.2.3.5)"), critical.end());
    EXPECT_EQ(std::find(critical.begin(), critical.end(), "未知扩展(1.2.3.4)"), critical.end());
}

TEST(DetailExtensionRows, CertificateWithoutExtensionsHasNoExtensionRows)
{
    const tavik::CertPtr cert = pkiui::test::loadCert("v1-cert");
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));
    model.switchToIndex(2);
    EXPECT_TRUE(model.displayKeys().empty());
}

using ExtensionPtr = std::unique_ptr<X509_EXTENSION, tavik::Free<X509_EXTENSION_free>>;
using ObjectPtr = std::unique_ptr<ASN1_OBJECT, tavik::Free<ASN1_OBJECT_free>>;
using OctetsPtr = std::unique_ptr<ASN1_OCTET_STRING, tavik::Free<ASN1_OCTET_STRING_free>>;

struct RawExtension {
    const char *oid;
    bool critical;
    std::vector<unsigned char> value;
};

// A self-signed P-256 certificate carrying exactly these extensions, in order
// (OpenSSL adds a repeated OID as it is given).
pkiui::test::X509Ptr certificateWith(const std::vector<RawExtension> &extensions)
{
    const pkiui::test::KeyPtr key(EVP_EC_gen("P-256"));
    pkiui::test::X509Ptr x(X509_new());
    if (!key || !x || X509_set_version(x.get(), 2) != 1 ||
        ASN1_INTEGER_set(X509_get_serialNumber(x.get()), 7) != 1)
        return nullptr;
    X509_NAME *name = X509_get_subject_name(x.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>("repeat"), -1, -1, 0);
    X509_set_issuer_name(x.get(), name);
    X509_gmtime_adj(X509_getm_notBefore(x.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400);
    X509_set_pubkey(x.get(), key.get());
    for (const auto &raw : extensions) {
        const ObjectPtr object(OBJ_txt2obj(raw.oid, 1));
        const OctetsPtr octets(ASN1_OCTET_STRING_new());
        if (!object || !octets ||
            ASN1_OCTET_STRING_set(octets.get(), raw.value.data(),
                                  static_cast<int>(raw.value.size())) != 1)
            return nullptr;
        const ExtensionPtr ext(
            X509_EXTENSION_create_by_OBJ(nullptr, object.get(), raw.critical, octets.get()));
        if (!ext || X509_add_ext(x.get(), ext.get(), -1) != 1)
            return nullptr;
    }
    if (X509_sign(x.get(), key.get(), EVP_sha256()) <= 0)
        return nullptr;
    return x;
}

TEST(DetailExtensionRows, RepeatedExtensionGivesTwoKeysOfOneName)
{
    const auto x = certificateWith({
        {"1.2.3.4", false, bytesOf({0x04, 0x01, 0x01})},
        {"1.2.3.9", true, bytesOf({0x05, 0x00})},
        {"1.2.3.6", false, {}},
        {"1.2.3.4", true, bytesOf({0x04, 0x01, 0x02})},
    });
    ASSERT_TRUE(x);
    const tavik::CertPtr cert = pkiui::test::handleOf(x.get());
    ASSERT_TRUE(cert);
    ShowCertDetailDlgModel model;
    ASSERT_TRUE(model.setCertHandle(cert.get()));

    const Names expected = {"未知扩展(1.2.3.4)", "未知扩展(1.2.3.9)", "未知扩展(1.2.3.6)",
                            "未知扩展(1.2.3.4)"};
    EXPECT_EQ(unknownExtensionKeys(model), expected);
    // The later row wins under the shared name.
    expectRows(model,
               {
                   {"未知扩展(1.2.3.4)", "04 01 02", pkiui::kExtension | pkiui::kCriticalExtension},
                   {"未知扩展(1.2.3.9)", "05 00", pkiui::kExtension | pkiui::kCriticalExtension},
                   {"未知扩展(1.2.3.6)", "", pkiui::kExtension},
               });
    model.switchToIndex(3);
    EXPECT_EQ(model.displayKeys(),
              (Names{"未知扩展(1.2.3.4)", "未知扩展(1.2.3.9)", "未知扩展(1.2.3.4)"}));
}

} // namespace
