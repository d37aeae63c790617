// The extension rows: every extension in stored order, handed to its decoder
// by OID; extensions without one are shown through the encoding
// configuration or as a hex dump under a generated name.
#include <array>
#include <cstdio>
#include <string_view>

#include "Tavik_PKI_Crypto_UI.h"
#include "pkiui/detail_model.hpp"
#include "tables.hpp"

namespace pkiui {

// One per decoder routine; several OIDs may share one.
enum class ExtDecoder : unsigned char {
    AuthorityKeyID,
    SubjectKeyID,
    KeyUsage,
    PrivKeyUsagePeriod,
    CertPolicies,
    PolicyMappings,
    SubjectAltName,
    IssuerAltName,
    BasicConstraints,
    NameConstraints,
    PolicyConstraints,
    ExtKeyUsage,
    CRLDP,
    InhibitAnyPolicy,
    AccessDescriptions,
    CrlNumber,
    DcrlIndicator,
    IDP,
    ReasonCode,
    InvalidityDate,
    HoldInstruction,
    CertificateIssuer,
    DigestInfos,
    UTF8ExtnValue,
    TavikCertThumbManualValue,
    CertNetscapeCertType,
    IA5ExtnValue,
    PrintableStringExtnValue,
    IdentityCodeExtnValue,
    NULLExtnValue,
    IdentificationItemsValue,
};

// An OID, its decoder and what the decoder is passed: a row name (null when
// the decoder names its rows), a kind (2, or 8 for the private arc) and a flag.
struct ExtensionRecord {
    std::string_view oid;
    ExtDecoder decoder;
    const char *rowName;
    unsigned kind;
    int flag;
};

namespace {

using D = ExtDecoder;

constexpr unsigned kStd = kExtension;
constexpr unsigned kTavik = kTavikExtension;

// Matched in this order, exactly.
constexpr std::array kExtensions{
    ExtensionRecord{"2.5.29.35", D::AuthorityKeyID, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.14", D::SubjectKeyID, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.15", D::KeyUsage, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.16", D::PrivKeyUsagePeriod, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.32", D::CertPolicies, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.33", D::PolicyMappings, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.17", D::SubjectAltName, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.18", D::IssuerAltName, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.19", D::BasicConstraints, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.30", D::NameConstraints, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.36", D::PolicyConstraints, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.37", D::ExtKeyUsage, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.31", D::CRLDP, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.54", D::InhibitAnyPolicy, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.46", D::CRLDP, nullptr, kStd, 1},
    ExtensionRecord{"1.3.6.1.5.5.7.1.1", D::AccessDescriptions, nullptr, kStd, 0},
    ExtensionRecord{"1.3.6.1.5.5.7.1.11", D::AccessDescriptions, nullptr, kStd, 1},
    ExtensionRecord{"2.5.29.20", D::CrlNumber, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.27", D::DcrlIndicator, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.28", D::IDP, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.21", D::ReasonCode, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.24", D::InvalidityDate, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.23", D::HoldInstruction, nullptr, kStd, 0},
    ExtensionRecord{"2.5.29.29", D::CertificateIssuer, nullptr, kStd, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.1", D::DigestInfos, nullptr, kStd, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.2", D::UTF8ExtnValue, "纳税人编码", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.3", D::UTF8ExtnValue, "企业法人代码", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.4", D::UTF8ExtnValue, "税务登记号", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.6", D::UTF8ExtnValue, "证书来源地", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.5", D::TavikCertThumbManualValue, "手工输入缩略图",
                    kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.11", D::UTF8ExtnValue, "TAVIK实体唯一标识", kTavik, 0},
    ExtensionRecord{"2.16.156.112548", D::UTF8ExtnValue, "深圳地标实体唯一标识", kStd, 0},
    ExtensionRecord{"1.2.86.11.7.3", D::UTF8ExtnValue, "组织机构代码", kStd, 0},
    ExtensionRecord{"1.2.86.21.1.1", D::UTF8ExtnValue, "用户唯一标识", kStd, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.13.1", D::UTF8ExtnValue, "广东省地税的纳税人编码", kTavik,
                    0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1002.2", D::UTF8ExtnValue, "中交建的证书服务ID", kTavik, 0},
    ExtensionRecord{"2.16.840.1.113730.1.1", D::CertNetscapeCertType, nullptr, kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.2", D::IA5ExtnValue, "Base URL", kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.3", D::IA5ExtnValue, "Revocation URL", kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.4", D::IA5ExtnValue, "CA Revocation URL", kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.7", D::IA5ExtnValue, "Renewal URL", kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.8", D::IA5ExtnValue, "Netscape CA Policy URL", kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.12", D::IA5ExtnValue, "SSL Server Name", kStd, 0},
    ExtensionRecord{"2.16.840.1.113730.1.13", D::IA5ExtnValue, "Netscape Certificate Comment", kStd,
                    0},
    ExtensionRecord{"1.2.156.10260.4.1.2", D::PrintableStringExtnValue, "个人社保保险号", kStd, 0},
    ExtensionRecord{"1.2.156.10260.4.1.3", D::PrintableStringExtnValue, "工商企业注册号", kStd, 0},
    ExtensionRecord{"1.2.156.10260.4.1.4", D::PrintableStringExtnValue, "企业组织机构代码", kStd,
                    0},
    ExtensionRecord{"1.2.156.10260.4.1.5", D::PrintableStringExtnValue, "企业税号", kStd, 0},
    ExtensionRecord{"1.2.156.10260.4.1.1", D::IdentityCodeExtnValue, nullptr, kStd, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.12.2", D::UTF8ExtnValue, "证书类型", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.12.1", D::UTF8ExtnValue, "证书来源", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.11.12.11.1", D::UTF8ExtnValue, "Qelmo通用实体唯一标识",
                    kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.11.12.11.2", D::UTF8ExtnValue, "角色", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.11.12.11.3", D::UTF8ExtnValue, "身份标识", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.11.12.11.4", D::UTF8ExtnValue, "TAVIK自定义个人身份标识码",
                    kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.13.1", D::UTF8ExtnValue, "身份域", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.13.2", D::UTF8ExtnValue, "证件号", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.14", D::UTF8ExtnValue, "证书绑定值", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.15", D::UTF8ExtnValue, "海关编码", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.10.1", D::UTF8ExtnValue, "家庭住址", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.10.2", D::UTF8ExtnValue, "邮政编码", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.12.9.1", D::UTF8ExtnValue, "移动客户集团编号", kTavik, 0},
    ExtensionRecord{"1.3.6.1.5.5.7.48.1.5", D::NULLExtnValue, "OCSP不撤销检查", kStd, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.14", D::UTF8ExtnValue, "用户证书服务号", kTavik, 0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.15", D::IdentificationItemsValue, "企业机构身份标识", kStd,
                    0},
    ExtensionRecord{"1.3.6.1.4.1.18760.1.16", D::IdentificationItemsValue, "个人身份标识", kStd, 0},
    ExtensionRecord{"2.5.29.9", D::UTF8ExtnValue, "主体目录属性", kStd, 0},
};

static_assert(uniqueBy(kExtensions, &ExtensionRecord::oid), "an OID has one decoder");
static_assert(kExtensions.size() == 67);

const ExtensionRecord *findExtension(std::string_view oid)
{
    return findBy(kExtensions, &ExtensionRecord::oid, oid);
}

} // namespace

std::vector<std::string_view> decodedExtensionOids()
{
    std::vector<std::string_view> oids;
    oids.reserve(kExtensions.size());
    for (const auto &record : kExtensions)
        oids.push_back(record.oid);
    return oids;
}

// The one place that ties a decoder id to its routine. A decoder that is not
// listed here is not available, and its extensions take the unknown path.
// Adding one is a line such as:
//     case ExtDecoder::KeyUsage: GetKeyUsage(ext); return true;
bool ShowCertDetailDlgModel::runExtDecoder(const ExtensionRecord &record, const tavik_cert_ext *ext)
{
    switch (record.decoder) {
    case ExtDecoder::AuthorityKeyID:
        GetAuthorityKeyID(ext);
        return true;
    case ExtDecoder::SubjectKeyID:
        GetSubjectKeyID(ext);
        return true;
    case ExtDecoder::KeyUsage:
        GetKeyUsage(ext);
        return true;
    case ExtDecoder::PrivKeyUsagePeriod:
        GetPrivKeyUsagePeriod(ext);
        return true;
    case ExtDecoder::CertPolicies:
        GetCertPolicies(ext);
        return true;
    case ExtDecoder::PolicyMappings:
        GetPolicyMappings(ext);
        return true;
    case ExtDecoder::SubjectAltName:
        GetSubjectAltName(ext);
        return true;
    case ExtDecoder::IssuerAltName:
        GetIssuerAltName(ext);
        return true;
    case ExtDecoder::BasicConstraints:
        GetBasicConstraints(ext);
        return true;
    case ExtDecoder::NameConstraints:
        GetNameConstraints(ext);
        return true;
    case ExtDecoder::PolicyConstraints:
        GetPolicyConstraints(ext);
        return true;
    case ExtDecoder::ExtKeyUsage:
        GetExtKeyUsage(ext);
        return true;
    case ExtDecoder::InhibitAnyPolicy:
        GetInhibitAnyPolicy(ext);
        return true;
    // Distribution points, information access, CRL and CRL-entry extensions.
    case ExtDecoder::CRLDP:
        GetCRLDP(ext, static_cast<uint32_t>(record.flag));
        return true;
    case ExtDecoder::AccessDescriptions:
        GetAccessDescriptions(ext, static_cast<uint32_t>(record.flag));
        return true;
    case ExtDecoder::CrlNumber:
        GetCrlNumber(ext);
        return true;
    case ExtDecoder::DcrlIndicator:
        GetDcrlIndicator(ext);
        return true;
    case ExtDecoder::IDP:
        GetIDP(ext);
        return true;
    case ExtDecoder::ReasonCode:
        GetReasonCode(ext);
        return true;
    case ExtDecoder::InvalidityDate:
        GetInvalidityDate(ext);
        return true;
    case ExtDecoder::HoldInstruction:
        GetHoldInstruction(ext);
        return true;
    case ExtDecoder::CertificateIssuer:
        GetCertificateIssuer(ext);
        return true;
    // Private and national extensions.
    case ExtDecoder::CertNetscapeCertType:
        GetCertNetscapeCertType(ext);
        return true;
    case ExtDecoder::IA5ExtnValue:
        GetIA5ExtnValue(ext, record.rowName, record.kind);
        return true;
    case ExtDecoder::PrintableStringExtnValue:
        GetPrintableStringExtnValue(ext, record.rowName);
        return true;
    case ExtDecoder::UTF8ExtnValue:
        GetUTF8ExtnValue(ext, record.rowName, record.kind);
        return true;
    case ExtDecoder::NULLExtnValue:
        GetNULLExtnValue(ext, record.rowName, record.kind);
        return true;
    case ExtDecoder::IdentityCodeExtnValue:
        GetIdentityCodeExtnValue(ext);
        return true;
    case ExtDecoder::IdentificationItemsValue:
        GetIdentificationItemsValue(ext, record.rowName);
        return true;
    case ExtDecoder::TavikCertThumbManualValue:
        GetTavikCertThumb_ManualValue(ext, record.rowName, record.kind);
        return true;
    case ExtDecoder::DigestInfos:
        GetDigestInfos(ext);
        return true;
    default:
        return false;
    }
}

void ShowCertDetailDlgModel::GetCertExtensions()
{
    const tavik::ExtsPtr exts(tavik_cert_getexts(m_pCert.get()));
    if (!exts)
        return;
    const int count = tavik_cert_exts_getitemcount(exts.get());
    for (int i = 0; i < count; ++i) {
        const tavik::ExtPtr ext(tavik_cert_exts_getitem(exts.get(), i));
        if (ext)
            GetExtension(ext.get());
    }
}

void ShowCertDetailDlgModel::GetExtension(const tavik_cert_ext *ext)
{
    const tavik::TextPtr oid(tavik_cert_ext_getextid(ext));
    if (!oid)
        return;
    const ExtensionRecord *record = findExtension(oid.get());
    if (record && runExtDecoder(*record, ext))
        return;
    addUnknownExtension(ext, oid.get(), tavik_cert_ext_iscrical(ext) == 1);
}

void ShowCertDetailDlgModel::AddErrorExt(const tavik_cert_ext *ext, const std::string &name,
                                         unsigned type)
{
    const tavik::BlobPtr value(tavik_cert_ext_getvalue(ext));
    const auto hex = value ? GetHexNumber(value->data, value->length) : std::nullopt;
    const std::string text = hex.value_or(kUnavailable);
    AddCertInfo(name, text, text, type);
}

bool ShowCertDetailDlgModel::DecodeUnkownExtValue(const tavik_cert_ext *ext, std::string &extName,
                                                  std::string &extValue, int32_t &isTavik)
{
    const tavik::BlobPtr value(tavik_cert_ext_getvalue(ext));
    const tavik::TextPtr oid(tavik_cert_ext_getextid(ext));
    if (!value || !oid)
        return false;
    char *name = nullptr;
    char *method = nullptr;
    if (GetExtEncodeMethod(oid.get(), &name, &method, &isTavik) != 1)
        return false;
    const tavik::TextPtr ownedName(name);
    const tavik::TextPtr ownedMethod(method);
    extName = name;
    return DecodeUnkownExtValue(*value, method, extValue);
}

void ShowCertDetailDlgModel::addUnknownExtension(const tavik_cert_ext *ext, const std::string &oid,
                                                 bool critical)
{
    unsigned kind = kExtension | (critical ? kCriticalExtension : 0u);
    std::string name;
    std::string text;
    int32_t isTavik = 0;
    const bool decoded = DecodeUnkownExtValue(ext, name, text, isTavik);
    if (isTavik == 1)
        kind |= kTavikExtension;
    if (decoded) {
        AddCertInfo(name, text, text, kind);
        return;
    }
    // Every failure, configured or not, shows the generic name.
    const std::string generic = "未知扩展(" + oid + ")";
    const tavik::BlobPtr value(tavik_cert_ext_getvalue(ext));
    const auto hex = value ? GetHexNumber(value->data, value->length) : std::nullopt;
    if (hex)
        AddCertInfo(generic, *hex, *hex, kind);
    else
        AddErrorExt(ext, generic, kind);
}

} // namespace pkiui
