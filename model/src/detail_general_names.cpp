// General names, name-constraint subtrees and policy mappings as the one-line
// texts the extension rows join.
#include <array>
#include <cstdio>
#include <string_view>

#include "pkiui/detail_model.hpp"
#include "ext_row.hpp"
#include "tables.hpp"
#include "whole_tlv.hpp"

namespace pkiui {

namespace {

using Model = ShowCertDetailDlgModel;

// "PREFIX" + the toolkit string + "\r\n"; nullopt when the string is missing.
std::optional<std::string> stringLine(std::string_view prefix, tavik_ustring *raw)
{
    const tavik::UStringPtr string(raw);
    const auto text = Model::GetNSStringFromUString(string.get());
    if (!text)
        return std::nullopt;
    return std::string(prefix) + *text + "\r\n";
}

std::optional<std::string> textLine(std::string_view prefix, char *raw)
{
    const tavik::TextPtr text(raw);
    if (!text)
        return std::nullopt;
    return std::string(prefix) + text.get() + "\r\n";
}

std::optional<std::string> x400Address(const tavik_cert_generalname *)
{
    return "X400Address";
}

using NameFormatter = std::optional<std::string> (*)(const tavik_cert_generalname *);

struct NameChoice {
    int type;
    NameFormatter format;
};

// GeneralName ::= CHOICE, numbered as its context tags.
constexpr std::array kNameChoices{
    NameChoice{TAVIK_GN_OTHERNAME, Model::GetOtherName},
    NameChoice{TAVIK_GN_RFC822, Model::GetRFC822Name},
    NameChoice{TAVIK_GN_DNS, Model::GetDNSName},
    NameChoice{TAVIK_GN_X400, x400Address},
    NameChoice{TAVIK_GN_DIRNAME, Model::GetDirName},
    NameChoice{TAVIK_GN_EDIPARTY, Model::GetEDIName},
    NameChoice{TAVIK_GN_URI, Model::GetURI},
    NameChoice{TAVIK_GN_IP, Model::GetIP},
    NameChoice{TAVIK_GN_REGID, Model::GetRegID},
};
static_assert(uniqueBy(kNameChoices, &NameChoice::type));

NameFormatter findChoice(int type)
{
    const NameChoice *choice = findBy(kNameChoices, &NameChoice::type, type);
    return choice ? choice->format : nullptr;
}

std::optional<std::string> userPrincipalName(const tavik_data_blob &value)
{
    const tavik::BlobPtr utf8 = contentOf(value, TAVIK_ASN1_UTF8STRING);
    if (!utf8)
        return std::nullopt;
    if (auto text = Model::UTF8String2NSString(utf8->data, utf8->length))
        return "UPN=" + *text;
    const auto hex = ShowCertDetailDlgModel::GetHexNumber(&value);
    if (!hex)
        return std::nullopt;
    return "UPN=Hex:" + *hex;
}

// The 16 bytes in stored order: the first groups are deliberately not
// byte-swapped.
std::optional<std::string> domainControllerGuid(const tavik_data_blob &value)
{
    const tavik::BlobPtr octets = contentOf(value, TAVIK_ASN1_OCTET_STRING);
    if (!octets)
        return std::nullopt;
    std::string text = "Domain Controller GUID=";
    if (octets->length != 16) {
        const auto hex = ShowCertDetailDlgModel::GetHexNumber(&value);
        if (!hex)
            return std::nullopt;
        return text + "Hex:" + *hex;
    }
    const unsigned char *b = octets->data;
    char guid[40];
    std::snprintf(guid, sizeof guid,
                  "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text + guid;
}

struct OtherNameType {
    std::string_view oid;
    std::optional<std::string> (*format)(const tavik_data_blob &value);
};

constexpr std::array kOtherNameTypes{
    OtherNameType{"1.3.6.1.4.1.311.20.2.3", userPrincipalName},
    OtherNameType{"1.3.6.1.4.1.311.25.1", domainControllerGuid},
};
static_assert(uniqueBy(kOtherNameTypes, &OtherNameType::oid));

// Any other type shows the raw value's hex.
std::optional<std::string> otherNameText(std::string_view oid, const tavik_data_blob &value)
{
    if (const OtherNameType *type = findBy(kOtherNameTypes, &OtherNameType::oid, oid))
        return type->format(value);
    const auto hex = ShowCertDetailDlgModel::GetHexNumber(&value);
    if (!hex)
        return std::nullopt;
    return "(Unknown OtherName)=" + *hex;
}

} // namespace

std::optional<std::vector<std::string>>
ShowCertDetailDlgModel::GetGeneralNames(const tavik_cert_generalnames *names)
{
    return itemTexts(names ? tavik_cert_generalnames_getitemcount(names) : -1, [&](int i) {
        const tavik::GeneralNamePtr name(tavik_cert_generalnames_getitem(names, i));
        return GetGeneralName(name.get());
    });
}

std::optional<std::string>
ShowCertDetailDlgModel::GetGeneralName(const tavik_cert_generalname *name)
{
    if (!name)
        return std::nullopt;
    const int type = tavik_cert_generalname_gettype(name);
    if (const NameFormatter format = findChoice(type))
        return format(name);
    const tavik::BlobPtr encoding(tavik_cert_generalname_getencode(name));
    const auto hex = ShowCertDetailDlgModel::GetHexNumber(encoding.get());
    if (!hex)
        return std::nullopt;
    // Spelled so on purpose.
    return "Unkown Type(" + std::to_string(type) + "): " + *hex;
}

// OtherName ::= SEQUENCE { type-id OID, value [0] EXPLICIT ANY }
std::optional<std::string> ShowCertDetailDlgModel::GetOtherName(const tavik_cert_generalname *name)
{
    const tavik::OtherNamePtr other(tavik_cert_generalname_getothername(name));
    const tavik::TextPtr type(other ? tavik_cert_othername_gettype(other.get()) : nullptr);
    const tavik::BlobPtr value(other ? tavik_cert_othername_getvalue(other.get()) : nullptr);
    if (!type || !value)
        return std::nullopt;
    const auto text = otherNameText(type.get(), *value);
    if (!text)
        return std::nullopt;
    return "OtherName:" + *text + "\r\n";
}

std::optional<std::string> ShowCertDetailDlgModel::GetRFC822Name(const tavik_cert_generalname *name)
{
    return stringLine("RFC822 Name=", tavik_cert_generalname_getrfc822name(name));
}

std::optional<std::string> ShowCertDetailDlgModel::GetDNSName(const tavik_cert_generalname *name)
{
    return stringLine("DNS Name=", tavik_cert_generalname_getdnsname(name));
}

std::optional<std::string> ShowCertDetailDlgModel::GetURI(const tavik_cert_generalname *name)
{
    return stringLine("URI=", tavik_cert_generalname_geturi(name));
}

// No line break of its own.
std::optional<std::string> ShowCertDetailDlgModel::GetDirName(const tavik_cert_generalname *name)
{
    const tavik::DnPtr dn(tavik_cert_generalname_getdirname(name));
    const auto attributes = dn ? GetAttributeByDn(dn.get()) : std::nullopt;
    if (!attributes)
        return std::nullopt;
    std::string text = "DirectoryName ";
    for (std::size_t i = 0; i < attributes->size(); ++i)
        text += (i == 0 ? "" : ", ") + (*attributes)[i];
    return text;
}

// The party's names are not shown.
std::optional<std::string> ShowCertDetailDlgModel::GetEDIName(const tavik_cert_generalname *)
{
    return "EDIpartyName\r\n";
}

std::optional<std::string> ShowCertDetailDlgModel::GetIP(const tavik_cert_generalname *name)
{
    return textLine("IP=", tavik_cert_generalname_getip(name));
}

std::optional<std::string> ShowCertDetailDlgModel::GetRegID(const tavik_cert_generalname *name)
{
    return textLine("Registered ID=", tavik_cert_generalname_getregid(name));
}

std::optional<std::vector<std::string>>
ShowCertDetailDlgModel::GetGeneralSubtrees(const tavik_cert_generalsubtrees *subtrees)
{
    const int count = subtrees ? tavik_cert_generalsubtrees_getitemcount(subtrees) : -1;
    return itemTexts(count, [&](int i) {
        const tavik::SubtreePtr subtree(tavik_cert_generalsubtrees_getitem(subtrees, i));
        return subtree ? GetGeneralSubtree(subtree.get()) : std::nullopt;
    });
}

// GeneralSubtree ::= SEQUENCE { base GeneralName,
//     minimum [0] BaseDistance DEFAULT 0, maximum [1] BaseDistance OPTIONAL }
std::optional<std::string>
ShowCertDetailDlgModel::GetGeneralSubtree(const tavik_cert_generalsubtree *subtree)
{
    // Absent bounds read "Min" and "Max"; present ones in decimal.
    const auto bound = [](tavik_biginteger *raw, const char *absent) -> std::optional<std::string> {
        const tavik::BigIntPtr number(raw);
        return number ? GetDecBigInt(number.get()) : std::optional<std::string>(absent);
    };
    const auto minimum = bound(tavik_cert_generalsubtree_getmin(subtree), "Min");
    const auto maximum = bound(tavik_cert_generalsubtree_getmax(subtree), "Max");
    if (!minimum || !maximum)
        return std::nullopt;
    const tavik::GeneralNamePtr base(tavik_cert_generalsubtree_getbase(subtree));
    const auto name = GetGeneralName(base.get());
    if (!name)
        return std::nullopt;
    return "(" + *minimum + ".." + *maximum + ")\r\n\t(Base)" + *name;
}

std::optional<std::string> ShowCertDetailDlgModel::GetPolicyMapping(const tavik_cert_policymap *map)
{
    const tavik::TextPtr issuer(map ? tavik_cert_policymap_getissuerpolicy(map) : nullptr);
    const tavik::TextPtr subject(map ? tavik_cert_policymap_getsubjectpolicy(map) : nullptr);
    if (!issuer || !subject)
        return std::nullopt;
    return std::string("IssuerDomainPolicy: ") + issuer.get() +
           "\r\nSubjectDomainPolicy: " + subject.get() + "\r\n";
}

} // namespace pkiui
