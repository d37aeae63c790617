// Rows of the distribution-point, access, CRL, private and national
// extensions on the fixture certificates, one table per extension family.
#include <algorithm>

#include "model_support.hpp"

namespace pkiui::test {
namespace {

TEST(DetailPrivateRows, ValueContentAndKind)
{
    const char *name = "个人身份识别码";
    const std::string sha224 =
        "Hash算法:SHA224, NULL\r\n Hash值:23 09 7D 22 34 05 D8 22 86 42 A4 77 "
        "BD A2 55 B3 2A AD BC E4 BD A0 B3 F7 E3 6C 9D A7\r\n\r\n";
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
        same("ext-private", "OCSP不撤销检查", "NULL", 2),
        same("ext-bad", "OCSP不撤销检查", kNa, 2), // trailing byte
        same("ext-crl2", "Netscape Certificate Type", "", 2),
        same("ext-crl2", "企业法人代码", "LEGAL-01", 14),               // critical
        same("ext-crl2", "税务登记号", kNa, 10),                        // not UTF-8
        same("ext-private", name, "身份证号码:110101199001011234", 2),  // [0] implicit
        same("ext-private2", name, "身份证号码:110101199001011234", 2), // [0] explicit
        same("idcode-explicit1", name, "军官证号码:A1234567", 2),
        same("idcode-explicit2", name, "护照号码:P7654321", 2),
        same("ext-bad", name, kNa, 2),  // universal class
        same("ext-crl2", name, kNa, 2), // tag 3
        // Numbers show as text for encodings 1 and 2 and in hex for every other one.
        {"ext-private", "企业机构身份标识", "组织机构代码证,身份证",
         "证书类型:组织机构代码证\r\n证书编码:原文\r\n"
         "证件号码:39313335303130304D303030313030593433\r\n\r\n"
         "证书类型:身份证\r\n证书编码:SHA256的HASH编码\r\n"
         "证件号码:04E7358A07D7A12D426F8A3091293B19FD7A278B56163C5E9F7F0C7B41E7D233\r\n\r\n",
         10},
        {"ext-private2", "个人身份标识", "999,统一社会信用码,军官证",
         "证书类型:999\r\n证书编码:Base64编码\r\n证件号码:616263\r\n\r\n"
         "证书类型:统一社会信用码\r\n证书编码:SM3的HASH编码\r\n"
         "证件号码:66C7F0F462EEEDD9D1F2D46BDC10E4E24167C4875CF2F7A2297DA02B8F4BA8E0\r\n\r\n"
         "证书类型:军官证\r\n证书编码:1\r\n证件号码:M12345\r\n\r\n",
         10},
        {"ext-crl2", "企业机构身份标识", "其他个人证件",
         "证书类型:其他个人证件\r\n证书编码:2\r\n证件号码:ABC-123\r\n\r\n", 10},
        // The SHA-256 entry has no parameters, which fails the whole list.
        {"ext-private", "旧证书缩略图", kNa, kNa, 10},
        {"ext-private2", "旧证书缩略图", "MD5,Unknown Hash Algorithm(1.2.3.99)",
         "Hash算法:MD5, NULL\r\n Hash值:90 01 50 98 3C D2 4F B0 D6 96 3F 7D 28 E1 7F 72\r\n\r\n"
         "Hash算法:Unknown Hash Algorithm(1.2.3.99), 06 03 2A 03 64\r\n"
         " Hash值:01 02 03 04 05 06 07 08\r\n\r\n",
         10},
        // Every digest after the first shows the second one.
        {"ext-crl2", "旧证书缩略图", "SHA1,SHA224,MD2",
         "Hash算法:SHA1, NULL\r\n Hash值:A9 99 3E 36 47 06 81 6A BA 3E 25 71 78 50 C2 6C 9C D0 D8 "
         "9D\r\n\r\n" +
             sha224 + sha224,
         10},
    });
}

TEST(DetailCrlRows, ValueContentAndKind)
{
    const ScopedTimeZone zone("Asia/Shanghai");
    const std::string full = "\tDistribution Point Name: \r\n\t\tFull Name: \r\n\t\t\t";
    // Three names print the second one twice.
    const std::string std1 = "[1]CRL Distribution Point \r\n" + full +
                             "URI=http://crl1.example.com/a.crl\r\n"
                             ", URI=http://crl2.example.com/b.crl\r\n"
                             ", URI=http://crl2.example.com/b.crl\r\n \r\n";
    const std::string std2 = "[2]CRL Distribution Point \r\n"
                             "\tDistribution Point Reasons: \r\n"
                             "\t\tReason Flags:KeyCompromise, CACompromise \r\n\r\n"
                             "\tCRL Issuer: \r\n"
                             "\t\tDirectoryName C = CN, O = Tavik Test, CN = Tavik CRL Issuer";
    const std::string delta =
        "[1]Freshest CRL \r\n" + full + "URI=http://crl.example.com/delta.crl\r\n \r\n";
    // O + OU + CN relative to the issuer: the second attribute twice.
    const std::string relative =
        "[1]CRL Distribution Point \r\n"
        "\tDistribution Point Name: \r\n"
        "\t\tName Relative to CRL Issuer:\r\n"
        "\t\t\tO = Tavik Test, OU = CRL Partitions, OU = CRL Partitions \r\n";
    const std::string two1 = "[1]CRL Distribution Point \r\n" + full +
                             "URI=http://crl.example.com/a.crl\r\n"
                             ", URI=http://crl.example.com/b.crl\r\n \r\n";
    const std::string two2 = "[2]CRL Distribution Point \r\n\tCRL Issuer: \r\n"
                             "\t\tRFC822 Name=crl@example.com\r\n, URI=http://crl.example.com/\r\n";
    const auto item = [](const char *n, const char *method, const char *location) {
        return std::string("[") + n + "]Authority Info Access \r\n\t Access Method:" + method +
               "\r\n \t\tAccessLocation\r\n \t\t\t" + location + " ";
    };
    const std::string ocsp = item("1", "Ocsp", "URI=http://ocsp.example.com/\r\n");
    const std::string ca = item("2", "CAIssuer", "URI=http://ca.example.com/inter.crt\r\n");
    const std::string repo = item("1", "CARepository", "URI=http://repo.example.com/\r\n");
    const std::string tsa = item("2", "TimeStamping", "URI=http://tsa.example.com/\r\n");
    const std::string unknown = item("1", "Unknown(1.2.3.4)\r\n", "DNS Name=sia.example.com\r\n");
    const std::string mail = "RFC822 Name=a@example.com\r\n";
    const std::string uri = "URI=http://b.example.com/\r\n";
    const std::string idp = "Distribution Point Name:\t\tFull Name: \r\n"
                            "\t\t\tURI=http://crl.example.com/idp.crl\r\n";
    const std::string idp2 = "Distribution Point Name:\t\tName Relative to CRL Issuer:\r\n"
                             "\t\t\tCN = Tavik CRL Partition 9";
    expectRows({
        {"ext-std", "CRL分发点", std1 + "; " + std2, std1 + "\r\n\r\n" + std2 + "\r\n\r\n", 2},
        {"ext-std", "最新CRL", delta, delta + "\r\n\r\n", 2},
        {"ext-crl", "CRL分发点", relative, relative + "\r\n\r\n", 2},
        {"ext-crl2", "CRL分发点", two1 + "; " + two2, two1 + "\r\n\r\n" + two2 + "\r\n\r\n", 2},
        {"ext-bad", "CRL分发点", kNa, kNa, 2}, // an empty point
        // The first item ends the content without a line break, so the second
        // follows it on the same line.
        {"ext-std", "颁发者信息访问", ocsp + ", " + ca, ocsp + ca + "\r\n", 2},
        {"ext-std", "主题信息访问", repo + ", " + tsa, repo + tsa + "\r\n", 2},
        {"ext-crl2", "主题信息访问", unknown, unknown, 2},
        same("ext-crl", "CRL号码", "12 34", 2), // 4660
        same("ext-crl2", "CRL号码", kNa, 2),    // NULL, not an INTEGER
        same("ext-crl", "Delta CRL指示符", "BaseCRLNumber:11", 2),
        {"ext-crl", "颁发分布点", idp + ", Reason Flags:KeyCompromise",
         idp + "\r\nOnly Contains UserCerts:YES\r\nOnly Contains CACertsNO\r\n"
               "Reason Flags:KeyCompromise\r\nOnly Contains AttributeCerts: NO\r\nIndirectCRL: "
               "YES\r\n",
         2},
        {"ext-crl2", "颁发分布点", idp2,
         idp2 + "\r\nOnly Contains UserCerts:NO\r\nOnly Contains CACertsYES\r\n"
                "Only Contains AttributeCerts: YES\r\nIndirectCRL: NO\r\n",
         2},
        same("ext-crl", "撤销理由代码", "KeyCompromise", 2),
        same("ext-crl2", "撤销理由代码", "Unknown CRL Reason Code: 7", 2),
        same("ext-crl", "证书无效时间", "2024年03月05日 16:00:00", 2), // 08:00 UTC
        same("ext-crl2", "证书无效时间", kNa, 2),                      // UTCTime
        same("ext-crl", "控制指示码", "Call Issuer ", 2),
        same("ext-crl2", "控制指示码", "(1.2.3.4.5)Unknown Instruction", 2),
        // The first name stands twice.
        {"ext-crl2", "证书颁发者", mail + ", " + mail + ", " + uri,
         mail + "\r\n" + mail + "\r\n" + uri + "\r\n", 2},
    });
    // A description whose location cannot be read leaves no row at all.
    const Loaded loaded("ext-crl2");
    ASSERT_TRUE(loaded.ok);
    const Names &keys = loaded.model.keys();
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "颁发者信息访问"), 0);
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "未知扩展(1.3.6.1.5.5.7.1.1)"), 0);
}

} // namespace
} // namespace pkiui::test
