// General names and the standard extension rows, against texts written from
// the rules for the fixture certificates; key identifiers and serials are
// OpenSSL's decodings of the same files.
#include <openssl/x509v3.h>

#include "model_support.hpp"

namespace pkiui::test {
namespace {

using Model = ShowCertDetailDlgModel;

// A fixture's key identifier or serial as OpenSSL decodes it, as "A1 C0 ...".
std::string skidOf(const std::string &fixture)
{
    return spacedHex(X509_get0_subject_key_id(opensslCert(fixture).get()));
}

std::string serialOf(const std::string &fixture)
{
    return spacedHex(X509_get0_serialNumber(opensslCert(fixture).get()));
}

// The names of ext-names' subjectAltName, every choice once.
const Names kAllNames = {
    "OtherName:UPN=user@example.com\r\n",
    "OtherName:Domain Controller GUID={00010203-0405-0607-0809-0A0B0C0D0E0F}\r\n",
    "OtherName:(Unknown OtherName)=0C 01 78\r\n",
    "RFC822 Name=names@example.com\r\n",
    "DNS Name=names.example.com\r\n",
    "X400Address",
    "DirectoryName C = CN, O = Tavik Test, CN = Tavik Directory Name",
    "EDIpartyName\r\n",
    "URI=http://names.example.com/\r\n",
    "IP=192.0.2.1\r\n",
    "IP=2001:db8::1\r\n",
    "Registered ID=1.2.3.4.5.6\r\n",
};

TEST(StandardExtensionRows, ValueContentAndKind)
{
    const ScopedTimeZone utc("UTC"); // the period's times
    const std::string interKey = skidOf("rsa-inter");
    const std::string interSerial = serialOf("rsa-inter");
    const std::string rootKey = skidOf("rsa-root");
    const std::string rootName = "DirectoryName C = CN, O = Tavik Test, CN = Tavik Test Root CA";
    const char *akid = "颁发机构密钥标识符";
    const std::string all = "DigitalSignature, NonRepudiation/ContentCommitment, "
                            "KeyEncipherment, DataEncipherment, KeyAgreement, EncipherOnly, "
                            "DecipherOnly";
    const std::string start = "起始日期2024年01月01日 00:00:00";
    const std::string end = "终止日期2034年12月31日 23:59:59";
    const std::string cps = "\t[1]Policy Qualifier Info: \r\n\t\tPolicy Qualifier Id=CPS "
                            "\r\n\t\tQualifier:http://cps.example.com/cps\r\n\r\n";
    const std::string notice =
        "\t[2]Policy Qualifier Info: \r\n\t\tPolicy Qualifier Id=UserNotice \r\n\t\tQualifier:"
        "NoticeReference\r\n\t\t\tOrganizatoin:Tavik Org\r\n\t\t\t\tNoticeNumbers:01\r\n02\r\n"
        "ExplicitText=Notice text\r\n\r\n";
    const std::string std1 = "\tPolicy Identifier:1.3.6.1.4.1.18760.9.1 \r\n" + cps + notice;
    const std::string any = "\tPolicy Identifier=Any Policy \r\n";

    const std::string qualifier = "\t\tPolicy Qualifier Id=";
    const std::string std2a =
        "\tPolicy Identifier:1.2.3.4 \r\n"
        "\t[1]Policy Qualifier Info: \r\n" +
        qualifier + "1.2.3.9:\r\n0C 01 71\r\n" + "\t[2]Policy Qualifier Info: \r\n" + qualifier +
        "UserNotice \r\n\t\tQualifier:ExplicitText=Only text\r\n\r\n" +
        "\t[3]Policy Qualifier Info: \r\n" + qualifier + "UserNotice \r\n\t\tQualifier:" + kNa +
        "\r\n" + "\t[4]Policy Qualifier Info: \r\n" + qualifier +
        "UserNotice \r\n\t\tQualifier:NoticeReference\r\n\t\t\tOrganizatoin:Org\r\n"
        "\t\t\t\tNoticeNumbers:" +
        kNa + "\r\n";
    const std::string std2b = "\tPolicy Identifier:1.2.3.5 \r\n";

    const std::string map1 = "IssuerDomainPolicy: 1.2.3.1\r\nSubjectDomainPolicy: 1.2.3.2\r\n";
    const std::string map2 = "IssuerDomainPolicy: 1.2.3.3\r\nSubjectDomainPolicy: 1.2.3.4\r\n";
    std::string allValue, allContent;
    for (const std::string &name : kAllNames) {
        allValue += (allValue.empty() ? "" : ", ") + name;
        allContent += name;
    }
    const std::string permitted =
        "Permitted Subtress"
        "\r\n[1]Subtrees(Min..Max)\r\n\t(Base)DNS Name=.example.com\r\n"
        "\r\n[2]Subtrees(Min..Max)\r\n\t(Base)IP=192.168.0.0/255.255.0.0\r\n"
        "\r\n[3]Subtrees(Min..Max)\r\n\t(Base)IP=2001:db8::/ffff:ffff::\r\n"
        "\r\n[4]Subtrees(1..5)\r\n\t(Base)DNS Name=ranged.example.org\r\n\r\n";
    const std::string excluded =
        "Excluded Subtrees\r\n\t[1]Subtrees(Min..Max)\r\n\t(Base)RFC822 Name=.bad.example\r\n";
    const std::string zero =
        "Permitted Subtress\r\n[1]Subtrees(0..Max)\r\n\t(Base)DNS Name=zero.example\r\n\r\n";
    const std::string guid15 = "OtherName:Domain Controller GUID=Hex:04 0F 00 01 02 03 04 05 06 "
                               "07 08 09 0A 0B 0C 0D 0E\r\n";
    const std::string oddDir = "DirectoryName CN = HEX: 02 01 05";
    expectRows({
        {"ext-std", akid,
         "KeyID=" + interKey + "; GeneralNames=" + rootName +
             ", CertificateExtensionSN=" + interSerial,
         "KeyID=" + interKey + "\r\nGeneralNames:\r\n\t" + rootName +
             "\r\nCertificateExtensionSN=" + interSerial,
         2},
        // Without issuer names nothing separates the serial from the key.
        {"ext-bad", akid, "KeyID=" + interKey + "CertificateExtensionSN=" + interSerial,
         "KeyID=" + interKey + "\r\nCertificateExtensionSN=" + interSerial, 2},
        {"ext-ca", akid, "KeyID=" + rootKey, "KeyID=" + rootKey + "\r\n", 2},
        {"ext-std", "主题密钥标识符", skidOf("ext-std"), skidOf("ext-std"), 2},
        {"ext-std", "密钥用法", all, all, 6},
        {"ext-ca", "密钥用法", "KeyCertSign, CRLSign", "KeyCertSign, CRLSign", 6},
        // Only bit 9, which has no name.
        {"ext-bad", "密钥用法", kNa, kNa, 2},
        {"ext-std", "私钥使用周期", start + ", " + end, start + "\r\n" + end + "\r\n", 2},
        {"ext-std2", "私钥使用周期", end, end + "\r\n", 2},
        // Only the first item has a blank before its line break.
        {"ext-std", "证书策略", "[1]Certificate Policy:" + std1 + "; [2]Certificate Policy:" + any,
         "[1]Certificate Policy: \r\n" + std1 + "\r\n[2]Certificate Policy:\r\n" + any + "\r\n", 2},
        {"ext-std2", "证书策略",
         "[1]Certificate Policy:" + std2a + "; [2]Certificate Policy:" + std2b,
         "[1]Certificate Policy: \r\n" + std2a + "\r\n[2]Certificate Policy:\r\n" + std2b + "\r\n",
         2},
        {"ext-ca", "策略映射", map1 + ", " + map2, map1 + "\r\n" + map2 + "\r\n", 2},
        {"ext-ca", "策略限制", "Require Explicit Policy=00, Inhibit Policy Mapping=01",
         "Require Explicit Policy=00\r\nInhibit Policy Mapping=01\r\n", 2},
        {"ext-std2", "策略限制", "Inhibit Policy Mapping=02", "Inhibit Policy Mapping=02\r\n", 6},
        {"ext-ca", "禁止任意发布策略", "02", "02", 2},
        {"ext-std2", "禁止任意发布策略", "01 2C", "01 2C", 2},
        // The subject form runs the names together, the issuer form does not.
        {"ext-std", "主体备用名称",
         "RFC822 Name=ext-std@example.com\r\n, DNS Name=ext-std.example.com\r\n",
         "RFC822 Name=ext-std@example.com\r\nDNS Name=ext-std.example.com\r\n", 2},
        {"ext-std", "颁发者备用名称",
         "RFC822 Name=ca@example.com\r\n, URI=http://ca.example.com/\r\n",
         "RFC822 Name=ca@example.com\r\n\r\nURI=http://ca.example.com/\r\n\r\n", 2},
        {"ext-names", "主体备用名称", allValue, allContent, 2},
        // A directory name holding a value OpenSSL's name typing refuses.
        {"ext-std2", "主体备用名称", guid15 + ", " + oddDir, guid15 + oddDir, 2},
        // A 5-byte IP address between two good names fails the whole list.
        {"ext-std2", "颁发者备用名称", kNa, kNa, 2},
        {"ext-ca", "名称限制", permitted + excluded, permitted + excluded, 6},
        {"ext-std2", "名称限制", zero, zero + "Excluded Subtrees=None\r\n", 2},
        {"ext-std", "基本限制", "Subject Type=End Entity, Path Length Constraint=None",
         "Subject Type=End Entity\r\nPath Length Constraint=None\r\n", 6},
        {"ext-ca", "基本限制", "Subject Type=CA, Path Length Constraint=03",
         "Subject Type=CA\r\nPath Length Constraint=03\r\n", 6},
        // A trailing byte after the SEQUENCE.
        {"ext-bad", "基本限制", kNa, kNa, 2},
        // The unknown purpose keeps its own line break in both texts.
        {"ext-std", "增强密钥用法",
         "服务器验证, 客户端验证, 代码签名, 电子邮件保护, 时间戳, OCSP签名, Unknown Key Usage "
         "Purpose: 1.2.3.4.5\r\n",
         "服务器验证\r\n客户端验证\r\n代码签名\r\n电子邮件保护\r\n时间戳\r\nOCSP签名\r\nUnknown "
         "Key "
         "Usage Purpose: 1.2.3.4.5\r\n\r\n",
         2},
        {"ext-std2", "增强密钥用法", "所有增强密钥用法, 文档签名, 加密文件系统",
         "所有增强密钥用法\r\n文档签名\r\n加密文件系统\r\n", 2},
    });
}

// Values no fixture carries, as the only extension of a made certificate. A
// NULL no decoder reads gives the placeholder row, critical or not; the other
// decoders' placeholders are in the tables above.
TEST(StandardExtensionRows, HandWrittenValues)
{
    const std::string dnsA = "DNS Name=a.example\r\n", dnsB = "DNS Name=b.example\r\n",
                      dnsC = "DNS Name=c.example\r\n";
    const std::string zeros(64, '0');
    const std::string subtrees = "Permitted Subtress\r\n"
                                 "[1]Subtrees(Min..128)\r\n\t(Base)DNS Name=a.example\r\n\r\n"
                                 "[2]Subtrees(Min..Max)\r\n\t(Base)IP=::/::\r\n\r\n";
    const std::string names = "A1218209612E6578616D706C658209622E6578616D706C658209632E6578616D"
                              "706C65";
    const struct {
        const char *oid;
        std::string der;
        const char *name;
        std::string value, content;
        bool critical = false;
    } cases[] = {
        // Nothing in it.
        {"2.5.29.35", "3000", "颁发机构密钥标识符", kNa, kNa},
        // Three issuer names and a serial: the first name has no line break
        // of its own in the content.
        {"2.5.29.35", "3026" + names + "820105", "颁发机构密钥标识符",
         "GeneralNames=" + dnsA + ", " + dnsB + ", " + dnsC + ", CertificateExtensionSN=05",
         "GeneralNames:\r\n\t" + dnsA + "\t" + dnsB + "\r\n\t" + dnsC +
             "\r\n\r\nCertificateExtensionSN=05"},
        {"2.5.29.30", "3000", "名称限制", "Permitted Subtress",
         "Permitted Subtress=None\r\nExcluded Subtrees=None\r\n"},
        // A maximum alone and an all-zero IPv6 base; a bare address is no base.
        {"2.5.29.30", "3037A035300F8209612E6578616D706C658102008030228720" + zeros, "名称限制",
         subtrees, subtrees + "Excluded Subtrees=None\r\n"},
        {"2.5.29.30", "300AA008300687040A000001", "名称限制", kNa, kNa},
        // An internationalised name written raw shows its UTF-8; other bytes Latin-1.
        {"2.5.29.17", "3013820BE6B58B2E6578616D706C65810461E94062", "主体备用名称",
         "DNS Name=测.example\r\n, RFC822 Name=aé@b\r\n",
         "DNS Name=测.example\r\nRFC822 Name=aé@b\r\n"},
        {"2.5.29.36", "3000", "策略限制", kNa, kNa},
        {"2.5.29.16", "3000", "私钥使用周期", kNa, kNa},
        {"2.5.29.14", "0500", "主题密钥标识符", kNa, kNa, true},
        {"2.5.29.32", "0500", "证书策略", kNa, kNa},
        {"2.5.29.33", "0500", "策略映射", kNa, kNa, true},
        {"2.5.29.17", "0500", "主体备用名称", kNa, kNa},
        {"2.5.29.30", "0500", "名称限制", kNa, kNa},
        {"2.5.29.37", "0500", "增强密钥用法", kNa, kNa},
        {"2.5.29.54", "0500", "禁止任意发布策略", kNa, kNa},
    };
    for (const auto &c : cases) {
        const CertPtr cert = certWith({}, {{c.oid, fromHex(c.der), c.critical}});
        Model model;
        ASSERT_TRUE(cert && model.setCertHandle(cert.get()));
        EXPECT_EQ(rowText(model, c.name), c.value + "|" + c.content + (c.critical ? "|6" : "|2"))
            << c.oid << " " << c.der;
    }
}

} // namespace
} // namespace pkiui::test
