// The key-identifier, key-usage, policy and constraint extensions: one row
// each, the placeholder row when the value cannot be decoded.
#include <array>
#include <string_view>

#include "ext_row.hpp"
#include "pkiui/detail_model.hpp"
#include "tables.hpp"

namespace pkiui {

namespace {

using Model = ShowCertDetailDlgModel;

std::optional<std::string> bigIntOf(tavik_biginteger *raw)
{
    const tavik::BigIntPtr number(raw);
    return number ? Model::GetBigInt(number.get()) : std::nullopt;
}

// KeyUsage ::= BIT STRING, bits 0 to 8.
constexpr std::array<std::string_view, 9> kKeyUsageBits = {
    "DigitalSignature", "NonRepudiation/ContentCommitment",
    "KeyEncipherment",  "DataEncipherment",
    "KeyAgreement",     "KeyCertSign",
    "CRLSign",          "EncipherOnly",
    "DecipherOnly",
};

constexpr std::array<OidName, 9> kKeyPurposes = {{
    {"2.5.29.37.0", "所有增强密钥用法"},
    {"1.3.6.1.5.5.7.3.1", "服务器验证"},
    {"1.3.6.1.5.5.7.3.2", "客户端验证"},
    {"1.3.6.1.5.5.7.3.3", "代码签名"},
    {"1.3.6.1.5.5.7.3.4", "电子邮件保护"},
    {"1.3.6.1.5.5.7.3.8", "时间戳"},
    {"1.3.6.1.5.5.7.3.9", "OCSP签名"},
    {"1.3.6.1.4.1.311.10.3.12", "文档签名"},
    {"1.3.6.1.4.1.311.10.3.4", "加密文件系统"},
}};
static_assert(uniqueBy(kKeyPurposes, &OidName::oid));

// The unknown form keeps its own line break, in value and content alike.
std::string purposeName(std::string_view oid)
{
    if (const auto name = nameOf(kKeyPurposes, oid))
        return std::string(*name);
    return "Unknown Key Usage Purpose: " + std::string(oid) + "\r\n";
}

constexpr std::string_view kAnyPolicy = "2.5.29.32.0";

struct QualifierType {
    std::string_view oid;
    std::optional<std::string> (*format)(const tavik_cert_polqualifierinfo *qualifier);
};

constexpr std::array kQualifierTypes{
    QualifierType{"1.3.6.1.5.5.7.2.1", Model::GetCPS},
    QualifierType{"1.3.6.1.5.5.7.2.2", Model::GetUserNotice},
};
static_assert(uniqueBy(kQualifierTypes, &QualifierType::oid));

// Any other qualifier shows its OID and the hex of its encoding.
std::optional<std::string> qualifierText(std::string_view oid,
                                         const tavik_cert_polqualifierinfo *qualifier)
{
    if (const QualifierType *type = findBy(kQualifierTypes, &QualifierType::oid, oid))
        return type->format(qualifier);
    const tavik::BlobPtr encoding(tavik_cert_polqualifierinfo_getqualifierencode(qualifier));
    const auto hex = ShowCertDetailDlgModel::GetHexNumber(encoding.get());
    if (!hex)
        return std::nullopt;
    return std::string(oid) + ":\r\n" + *hex;
}

} // namespace

// AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] OPTIONAL,
//     authorityCertIssuer [1] GeneralNames OPTIONAL,
//     authorityCertSerialNumber [2] INTEGER OPTIONAL }
void ShowCertDetailDlgModel::GetAuthorityKeyID(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "颁发机构密钥标识符");
    const tavik::AkidPtr akid(tavik_cert_ext_toakid(ext));
    if (!akid)
        return row.addUnavailable(*this);

    bool keyIdShown = false;
    if (const tavik::BlobPtr keyId(tavik_cert_akid_getkeyid(akid.get())); keyId) {
        const auto hex = ShowCertDetailDlgModel::GetHexNumber(keyId.get());
        if (!hex)
            return row.addUnavailable(*this);
        row.value += "KeyID=" + *hex;
        row.content += "KeyID=" + *hex + "\r\n";
        keyIdShown = true;
    }

    bool hasIssuer = false;
    if (const tavik::GeneralNamesPtr issuer(tavik_cert_akid_getissuerissuername(akid.get()));
        issuer) {
        hasIssuer = true;
        const auto names = GetGeneralNames(issuer.get());
        if (!names)
            return row.add(*this);
        row.value += keyIdShown ? "; GeneralNames=" : "GeneralNames=";
        row.content += "GeneralNames:\r\n";
        // The first name has no line break of its own: the layout the list
        // has always shown.
        for (std::size_t i = 0; i < names->size(); ++i) {
            const std::string &name = (*names)[i];
            row.content += "\t" + name;
            if (i != 0) {
                row.content += "\r\n";
                row.value += ", " + name;
            } else {
                row.value += name;
            }
        }
        if (!names->empty())
            row.content += "\r\n";
    }

    if (tavik_biginteger *raw = tavik_cert_akid_getissuercertsn(akid.get())) {
        const auto serial = bigIntOf(raw);
        if (!serial)
            return row.add(*this);
        // Without issuer names no ", " leads, even after a key identifier.
        row.value += (hasIssuer ? ", " : "") + std::string("CertificateExtensionSN=") + *serial;
        row.content += "CertificateExtensionSN=" + *serial;
    } else if (!hasIssuer && !keyIdShown) {
        row.value += kUnavailable;
        row.content += kUnavailable;
    }
    row.add(*this);
}

void ShowCertDetailDlgModel::GetSubjectKeyID(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "主题密钥标识符");
    const tavik::BlobPtr keyId(tavik_cert_ext_tooctetstring(ext));
    const auto hex = ShowCertDetailDlgModel::GetHexNumber(keyId.get());
    if (!hex)
        return row.addUnavailable(*this);
    row.value = row.content = *hex;
    row.add(*this);
}

// Only the named bits are listed; no hex byte is shown.
void ShowCertDetailDlgModel::GetKeyUsage(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "密钥用法");
    const tavik::BitSetPtr bits(tavik_cert_ext_tobitstring(ext));
    if (bits)
        for (std::size_t bit = 0; bit < kKeyUsageBits.size(); ++bit)
            if (tavik_bitset_isset(bits.get(), static_cast<int>(bit)) == 1)
                row.value += (row.value.empty() ? "" : ", ") + std::string(kKeyUsageBits[bit]);
    if (row.value.empty())
        return row.addUnavailable(*this);
    row.content = row.value;
    row.add(*this);
}

// PrivateKeyUsagePeriod ::= SEQUENCE { notBefore [0] GeneralizedTime OPTIONAL,
//     notAfter [1] GeneralizedTime OPTIONAL }
void ShowCertDetailDlgModel::GetPrivKeyUsagePeriod(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "私钥使用周期");
    tavik::PrivKeyUsagePeriodPtr period(tavik_cert_ext_toprivkeyusageperiod(ext));
    if (!period)
        return row.addUnavailable(*this);
    const tavik::TimePtr start(tavik_cert_privkeyusageperiod_getnotbefore(period.get()));
    const tavik::TimePtr end(tavik_cert_privkeyusageperiod_getnotafter(period.get()));
    period.reset();
    if (!start && !end)
        return row.addUnavailable(*this);
    if (start)
        row.addPart("起始日期" + FormatTime(start.get()));
    if (end)
        row.addPart("终止日期" + FormatTime(end.get()));
    row.add(*this);
}

// certificatePolicies ::= SEQUENCE OF PolicyInformation
void ShowCertDetailDlgModel::GetCertPolicies(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "证书策略");
    const tavik::CertPoliciesPtr policies(tavik_cert_ext_tocertpolicies(ext));
    const int count = policies ? tavik_cert_certpolicies_getitemcount(policies.get()) : -1;
    if (count < 0)
        return row.addUnavailable(*this);
    constexpr std::string_view kLabel = "Certificate Policy:";
    for (int i = 0; i < count; ++i) {
        const tavik::PolicyInfoPtr info(tavik_cert_certpolicies_getitem(policies.get(), i));
        const auto text = info ? GetPolicyInfo(info.get()) : std::nullopt;
        if (!text)
            return row.addUnavailable(*this);
        const std::string number = "[" + std::to_string(i + 1) + "]" + std::string(kLabel);
        // Only the first item has a blank before its line break.
        if (i == 0) {
            row.value += number + *text;
            row.content += number + " \r\n" + *text + "\r\n";
        } else {
            row.value += "; " + number + *text;
            row.content += number + "\r\n" + *text + "\r\n";
        }
    }
    row.add(*this);
}

// PolicyInformation ::= SEQUENCE { policyIdentifier OID,
//     policyQualifiers SEQUENCE OF PolicyQualifierInfo OPTIONAL }
std::optional<std::string> ShowCertDetailDlgModel::GetPolicyInfo(const tavik_cert_policyinfo *info)
{
    const tavik::TextPtr oid(info ? tavik_cert_policyinfo_getid(info) : nullptr);
    if (!oid)
        return std::nullopt;
    std::string text = oid.get() == kAnyPolicy
                           ? std::string("\tPolicy Identifier=Any Policy \r\n")
                           : "\tPolicy Identifier:" + std::string(oid.get()) + " \r\n";
    if (tavik_cert_policyinfo_hasqualifier(info) != 1)
        return text;
    const int count = tavik_cert_policyinfo_getqualifiercount(info);
    for (int i = 0; i < count; ++i) {
        const tavik::PolQualifierPtr qualifier(tavik_cert_policyinfo_getqualifier(info, i));
        const auto qualifierText =
            qualifier ? GetPolicyQualifierInfo(qualifier.get()) : std::nullopt;
        if (!qualifierText)
            return std::nullopt;
        text += "\t[" + std::to_string(i + 1) + "]Policy Qualifier Info: \r\n" + *qualifierText +
                "\r\n";
    }
    return text;
}

// PolicyQualifierInfo ::= SEQUENCE { policyQualifierId OID, qualifier ANY }
std::optional<std::string>
ShowCertDetailDlgModel::GetPolicyQualifierInfo(const tavik_cert_polqualifierinfo *qualifier)
{
    const tavik::TextPtr oid(qualifier ? tavik_cert_polqualifierinfo_getid(qualifier) : nullptr);
    if (!oid)
        return std::nullopt;
    const auto text = qualifierText(oid.get(), qualifier);
    if (!text)
        return std::nullopt;
    return "\t\tPolicy Qualifier Id=" + *text;
}

std::optional<std::string>
ShowCertDetailDlgModel::GetCPS(const tavik_cert_polqualifierinfo *qualifier)
{
    const tavik::UStringPtr uri(qualifier ? tavik_cert_polqualifierinfo_getcpsuri(qualifier)
                                          : nullptr);
    const auto text = GetNSStringFromUString(uri.get());
    if (!text)
        return std::nullopt;
    return "CPS \r\n\t\tQualifier:" + *text + "\r\n";
}

// UserNotice ::= SEQUENCE { noticeRef NoticeReference OPTIONAL,
//     explicitText DisplayText OPTIONAL }
// NoticeReference ::= SEQUENCE { organization, noticeNumbers SEQUENCE OF INTEGER }
std::optional<std::string>
ShowCertDetailDlgModel::GetUserNotice(const tavik_cert_polqualifierinfo *qualifier)
{
    const tavik::UserNoticePtr notice(
        qualifier ? tavik_cert_polqualifierinfo_getusernotice(qualifier) : nullptr);
    if (!notice)
        return std::nullopt;
    std::string text = "UserNotice \r\n\t\tQualifier:";
    const tavik::UStringPtr organisation(tavik_cert_usernotice_getreforg(notice.get()));
    const tavik::UStringPtr explicitText(tavik_cert_usernotice_getexplicittext(notice.get()));
    if (organisation) {
        const auto name = GetNSStringFromUString(organisation.get());
        if (!name)
            return std::nullopt;
        // "Organizatoin" is spelled so on purpose.
        text += "NoticeReference\r\n\t\t\tOrganizatoin:" + *name + "\r\n\t\t\t\tNoticeNumbers:";
        const int count = tavik_cert_usernotice_getrefnumberscount(notice.get());
        if (count <= 0)
            text += kUnavailable;
        for (int i = 0; i < count; ++i) {
            const auto number = bigIntOf(tavik_cert_usernotice_getrefnumber(notice.get(), i));
            if (!number)
                return std::nullopt;
            text += *number + "\r\n";
        }
    }
    if (explicitText) {
        const auto shown = GetNSStringFromUString(explicitText.get());
        if (!shown)
            return std::nullopt;
        text += "ExplicitText=" + *shown + "\r\n";
    }
    if (!organisation && !explicitText)
        text += kUnavailable;
    return text;
}

// PolicyMappings ::= SEQUENCE OF SEQUENCE { issuerDomainPolicy,
//     subjectDomainPolicy }
void ShowCertDetailDlgModel::GetPolicyMappings(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "策略映射");
    const tavik::PolicyMapsPtr maps(tavik_cert_ext_topolicymappings(ext));
    const int count = maps ? tavik_cert_policymaps_getitemcount(maps.get()) : -1;
    if (count < 0)
        return row.addUnavailable(*this);
    std::vector<std::string> mappings;
    for (int i = 0; i < count; ++i) {
        const tavik::PolicyMapPtr map(tavik_cert_policymaps_getitem(maps.get(), i));
        auto text = map ? GetPolicyMapping(map.get()) : std::nullopt;
        if (!text)
            return row.addUnavailable(*this);
        mappings.push_back(std::move(*text));
    }
    row.value = valueList(mappings);
    row.content = contentLines(mappings);
    row.add(*this);
}

// The subject form runs the names together; the issuer form puts each on its
// own line. Both are kept as the list has always shown them.
void ShowCertDetailDlgModel::GetSubjectAltName(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "主体备用名称");
    const auto names = generalNamesOf(ext);
    if (!names)
        return row.addUnavailable(*this);
    row.value = valueList(*names);
    for (const std::string &name : *names)
        row.content += name;
    row.add(*this);
}

void ShowCertDetailDlgModel::GetIssuerAltName(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "颁发者备用名称");
    const auto names = generalNamesOf(ext);
    if (!names)
        return row.addUnavailable(*this);
    row.value = valueList(*names);
    row.content = contentLines(*names);
    row.add(*this);
}

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE,
//     pathLenConstraint INTEGER OPTIONAL }
void ShowCertDetailDlgModel::GetBasicConstraints(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "基本限制");
    const tavik::BasicConstraintsPtr constraints(tavik_cert_ext_tobasicconstraints(ext));
    if (!constraints)
        return row.addUnavailable(*this);
    const std::string subject = tavik_cert_basicconstraints_isca(constraints.get()) == 1
                                    ? "Subject Type=CA"
                                    : "Subject Type=End Entity";
    row.value = subject + ", Path Length Constraint=";
    row.content = subject + "\r\nPath Length Constraint=";
    std::string pathLength = "None";
    if (tavik_biginteger *raw = tavik_cert_basicconstraints_getpathlen(constraints.get())) {
        const auto number = bigIntOf(raw);
        if (!number)
            return row.addUnavailable(*this);
        pathLength = *number;
    }
    row.value += pathLength;
    row.content += pathLength + "\r\n";
    row.add(*this);
}

// NameConstraints ::= SEQUENCE { permittedSubtrees [0] GeneralSubtrees OPTIONAL,
//     excludedSubtrees [1] GeneralSubtrees OPTIONAL }
void ShowCertDetailDlgModel::GetNameConstraints(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "名称限制");
    const tavik::NameConstraintsPtr constraints(tavik_cert_ext_tonameconstraints(ext));
    if (!constraints)
        return row.addUnavailable(*this);
    // "Subtress" is spelled so on purpose.
    row.value = "Permitted Subtress";

    if (tavik::SubtreesPtr permitted(tavik_cert_nameconstraints_getpremit(constraints.get()));
        permitted) {
        const auto subtrees = GetGeneralSubtrees(permitted.get());
        if (!subtrees)
            return row.addUnavailable(*this);
        if (subtrees->empty()) {
            row.content += "=None\r\n";
        } else {
            row.content += "Permitted Subtress";
            for (std::size_t i = 0; i < subtrees->size(); ++i)
                row.content += "\r\n[" + std::to_string(i + 1) + "]Subtrees" + (*subtrees)[i];
            row.content += "\r\n";
        }
        row.value = row.content;
    } else {
        row.content += row.value + "=None\r\n";
    }

    if (tavik::SubtreesPtr excluded(tavik_cert_nameconstraints_getexclude(constraints.get()));
        excluded) {
        const auto subtrees = GetGeneralSubtrees(excluded.get());
        if (!subtrees)
            return row.addUnavailable(*this);
        row.content += "Excluded Subtrees";
        if (subtrees->empty())
            row.content += "=None\r\n";
        for (std::size_t i = 0; i < subtrees->size(); ++i)
            row.content += "\r\n\t[" + std::to_string(i + 1) + "]Subtrees" + (*subtrees)[i];
        row.value = row.content;
    } else {
        row.content += "Excluded Subtrees=None\r\n";
    }
    row.add(*this);
}

// PolicyConstraints ::= SEQUENCE { requireExplicitPolicy [0] OPTIONAL,
//     inhibitPolicyMapping [1] OPTIONAL }
void ShowCertDetailDlgModel::GetPolicyConstraints(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "策略限制");
    const tavik::PolicyConstraintsPtr constraints(tavik_cert_ext_topolicyconstraints(ext));
    if (!constraints)
        return row.addUnavailable(*this);
    tavik_biginteger *require = tavik_cert_policyconstraints_getreqexppolicy(constraints.get());
    tavik_biginteger *inhibit =
        tavik_cert_policyconstraints_getinhibtpolicymapping(constraints.get());
    const bool hasRequire = require != nullptr;
    const bool hasInhibit = inhibit != nullptr;
    const auto requireText = bigIntOf(require);
    const auto inhibitText = bigIntOf(inhibit);
    if ((!hasRequire && !hasInhibit) || (hasRequire && !requireText) ||
        (hasInhibit && !inhibitText))
        return row.addUnavailable(*this);
    if (requireText)
        row.addPart("Require Explicit Policy=" + *requireText);
    if (inhibitText)
        row.addPart("Inhibit Policy Mapping=" + *inhibitText);
    row.add(*this);
}

// ExtKeyUsageSyntax ::= SEQUENCE OF KeyPurposeId
void ShowCertDetailDlgModel::GetExtKeyUsage(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "增强密钥用法");
    const tavik::ExtKeyUsagePtr usage(tavik_cert_ext_toextkeyusage(ext));
    const int count = usage ? tavik_cert_extkeyusage_getitemcount(usage.get()) : -1;
    if (count < 0)
        return row.addUnavailable(*this);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        const tavik::TextPtr oid(tavik_cert_extkeyusage_getitem(usage.get(), i));
        if (!oid)
            return row.addUnavailable(*this);
        names.push_back(purposeName(oid.get()));
    }
    row.value = valueList(names);
    row.content = contentLines(names);
    row.add(*this);
}

// InhibitAnyPolicy ::= SkipCerts (INTEGER)
void ShowCertDetailDlgModel::GetInhibitAnyPolicy(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "禁止任意发布策略");
    const auto number = bigIntOf(tavik_cert_ext_tointeger(ext));
    if (!number)
        return row.addUnavailable(*this);
    row.value = row.content = *number;
    row.add(*this);
}

} // namespace pkiui
