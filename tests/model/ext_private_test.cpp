// Rows of the private and national extensions on the fixture certificates,
// one table per extension family.
#include <map>
#include <memory>

#include "model_support.hpp"

namespace pkiui::test {
namespace {

constexpr const char *kNone = "(信息不可用或为空)";

struct ExpectedRow {
    const char *fixture;
    const char *name;
    std::string value;
    std::string content;
    unsigned type;
};

// Loads each fixture once and compares "value|content|kind" of each row.
void expectRows(const std::vector<ExpectedRow> &rows)
{
    std::map<std::string, std::unique_ptr<Loaded>> loaded;
    for (const ExpectedRow &row : rows) {
        auto &entry = loaded[row.fixture];
        if (!entry)
            entry = std::make_unique<Loaded>(row.fixture);
        ASSERT_TRUE(entry->ok) << row.fixture;
        EXPECT_EQ(rowText(entry->model, row.name),
                  row.value + "|" + row.content + "|" + std::to_string(row.type))
            << row.fixture << " " << row.name;
    }
}

// A row whose value and content are one text.
ExpectedRow same(const char *fixture, const char *name, const std::string &text, unsigned type)
{
    return {fixture, name, text, text, type};
}

TEST(DetailPrivateRows, SingleValueExtensions)
{
    expectRows({
        same("ext-std", "Netscape Certificate Type", "SSL Client, S/MIME, Object Signing", 2),
        same("ext-private2", "Netscape Certificate Type",
             "SSL Server, SSL CA, S/MIME CA, Object Signing CA", 2),
        same("ext-std", "Base URL", "http://ns.example.com/", 2),
        same("ext-std", "Revocation URL", "revocation?", 2),
        same("ext-std", "CA Revocation URL", "ca-revocation?", 2),
        same("ext-std", "Renewal URL", "renewal?", 2),
        same("ext-std", "Netscape CA Policy URL", "http://ns.example.com/policy.html", 2),
        same("ext-std", "SSL Server Name", "ssl.example.com", 2),
        same("ext-std", "Netscape Certificate Comment", "Tavik fixture comment", 2),
        same("ext-private", "个人社保保险号", "SS123", 2),
        // UTF-8 strings: the private arc adds the TAVIK kind.
        same("ext-private", "纳税人编码", "纳税人12345", 10),
        same("ext-private", "TAVIK实体唯一标识", "ID-1", 10),
        same("ext-private", "深圳地标实体唯一标识", "SZ-0001", 2),
        same("ext-private", "组织机构代码", "ORG-7788", 2),
        same("ext-private", "主体目录属性", "Directory attributes", 2),
        // The manual thumbprint as UTF8String, and as OCTET STRING.
        same("ext-private", "手工输入缩略图", "ABCDEF", 10),
        same("ext-private2", "手工输入缩略图", "ABC", 10),
        same("ext-bad", "手工输入缩略图", "ABC", 10),
        same("ext-private", "OCSP不撤销检查", "NULL", 2),
        same("ext-bad", "OCSP不撤销检查", kNone, 2), // trailing byte
    });
}

TEST(DetailPrivateRows, IdentityCodeByTagAndTagging)
{
    const char *name = "个人身份识别码";
    expectRows({
        same("ext-private", name, "身份证号码:110101199001011234", 2),  // [0] implicit
        same("ext-private2", name, "身份证号码:110101199001011234", 2), // [0] explicit
        same("idcode-explicit1", name, "军官证号码:A1234567", 2),
        same("idcode-explicit2", name, "护照号码:P7654321", 2),
        same("ext-bad", name, kNone, 2), // universal class
    });
}

// Numbers show as text for encodings 1 and 2 and in hex for every other one.
TEST(DetailPrivateRows, IdentificationItems)
{
    expectRows({
        {"ext-private", "企业机构身份标识", "组织机构代码证,身份证",
         "证书类型:组织机构代码证\r\n证书编码:原文\r\n"
         "证件号码:39313335303130304D303030313030593433\r\n\r\n"
         "证书类型:身份证\r\n证书编码:SHA256的HASH编码\r\n"
         "证件号码:04E7358A07D7A12D426F8A3091293B19FD7A278B56163C5E9F7F0C7B41E7D233\r\n\r\n",
         10},
        {"ext-private", "个人身份标识", "身份证",
         "证书类型:身份证\r\n证书编码:原文\r\n证件号码:"
         "313130313031313939303031303131323334\r\n\r\n",
         10},
        {"ext-private2", "个人身份标识", "999,统一社会信用码,军官证",
         "证书类型:999\r\n证书编码:Base64编码\r\n证件号码:616263\r\n\r\n"
         "证书类型:统一社会信用码\r\n证书编码:SM3的HASH编码\r\n"
         "证件号码:66C7F0F462EEEDD9D1F2D46BDC10E4E24167C4875CF2F7A2297DA02B8F4BA8E0\r\n\r\n"
         "证书类型:军官证\r\n证书编码:1\r\n证件号码:M12345\r\n\r\n",
         10},
    });
}

TEST(DetailPrivateRows, DigestInfos)
{
    expectRows({
        // The SHA-256 entry has no parameters, which fails the whole list.
        {"ext-private", "旧证书缩略图", kNone, kNone, 10},
        {"ext-private2", "旧证书缩略图", "MD5,Unknown Hash Algorithm(1.2.3.99)",
         "Hash算法:MD5, NULL\r\n Hash值:90 01 50 98 3C D2 4F B0 D6 96 3F 7D 28 E1 7F 72\r\n\r\n"
         "Hash算法:Unknown Hash Algorithm(1.2.3.99), 06 03 2A 03 64\r\n"
         " Hash值:01 02 03 04 05 06 07 08\r\n\r\n",
         10},
    });
}

} // namespace
} // namespace pkiui::test
