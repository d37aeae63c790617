// The extension rows: every extension in stored order, handed to its decoder
// by OID; extensions without one are shown through the encoding
// configuration or as a hex dump under a generated name.
#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "pkiui/detail_model.hpp"
#include "pkiui/ext_encode_config.hpp"
#include "tables.hpp"

namespace pkiui {

// What a decoder is passed besides the extension: the row name (for decoders
// that do not name their own rows), the base kind (2, or 8 for the private
// arc) and the flag that picks which of its two extensions a decoder reads.
struct ExtensionArgs {
    const char *name = nullptr;
    unsigned kind = kExtension;
    uint32_t flag = 0;
};

// The one place that names the model's extension decoders (it is the model's
// friend): per OID, the member to call and its arguments.
struct ExtensionTable {
    using M = ShowCertDetailDlgModel;

    struct Row {
        std::string_view oid;
        void (*decode)(M &, const tavik_cert_ext *, const ExtensionArgs &);
        ExtensionArgs args;
        bool needsName;
    };

    // Calls the member with the arguments its signature takes.
    template <auto Member>
    static void call(M &model, const tavik_cert_ext *ext, const ExtensionArgs &args)
    {
        using F = decltype(Member);
        using Ext = const tavik_cert_ext *;
        if constexpr (std::is_invocable_v<F, M &, Ext>)
            (model.*Member)(ext);
        else if constexpr (std::is_invocable_v<F, M &, Ext, uint32_t>)
            (model.*Member)(ext, args.flag);
        else if constexpr (std::is_invocable_v<F, M &, Ext, const char *, unsigned>)
            (model.*Member)(ext, args.name, args.kind);
        else
            (model.*Member)(ext, args.name);
    }

    template <auto Member>
    static constexpr Row decode(std::string_view oid, ExtensionArgs args = {})
    {
        using F = decltype(Member);
        using Ext = const tavik_cert_ext *;
        const bool needsName =
            !std::is_invocable_v<F, M &, Ext> && !std::is_invocable_v<F, M &, Ext, uint32_t>;
        return Row{oid, &call<Member>, args, needsName};
    }

    static constexpr unsigned kTavik = kTavikExtension;

    // Matched in this order, exactly. A new decoder is one more row.
    static constexpr auto rows()
    {
        return std::array{
            decode<&M::GetAuthorityKeyID>("2.5.29.35"),
            decode<&M::GetSubjectKeyID>("2.5.29.14"),
            decode<&M::GetKeyUsage>("2.5.29.15"),
            decode<&M::GetPrivKeyUsagePeriod>("2.5.29.16"),
            decode<&M::GetCertPolicies>("2.5.29.32"),
            decode<&M::GetPolicyMappings>("2.5.29.33"),
            decode<&M::GetSubjectAltName>("2.5.29.17"),
            decode<&M::GetIssuerAltName>("2.5.29.18"),
            decode<&M::GetBasicConstraints>("2.5.29.19"),
            decode<&M::GetNameConstraints>("2.5.29.30"),
            decode<&M::GetPolicyConstraints>("2.5.29.36"),
            decode<&M::GetExtKeyUsage>("2.5.29.37"),
            decode<&M::GetCRLDP>("2.5.29.31"),
            decode<&M::GetInhibitAnyPolicy>("2.5.29.54"),
            decode<&M::GetCRLDP>("2.5.29.46", {.flag = 1}),
            decode<&M::GetAccessDescriptions>("1.3.6.1.5.5.7.1.1"),
            decode<&M::GetAccessDescriptions>("1.3.6.1.5.5.7.1.11", {.flag = 1}),
            decode<&M::GetCrlNumber>("2.5.29.20"),
            decode<&M::GetDcrlIndicator>("2.5.29.27"),
            decode<&M::GetIDP>("2.5.29.28"),
            decode<&M::GetReasonCode>("2.5.29.21"),
            decode<&M::GetInvalidityDate>("2.5.29.24"),
            decode<&M::GetHoldInstruction>("2.5.29.23"),
            decode<&M::GetCertificateIssuer>("2.5.29.29"),
            decode<&M::GetDigestInfos>("1.3.6.1.4.1.18760.1.12.1"),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.2", {"纳税人编码", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.3", {"企业法人代码", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.4", {"税务登记号", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.6", {"证书来源地", kTavik}),
            decode<&M::GetTavikCertThumb_ManualValue>("1.3.6.1.4.1.18760.1.12.5",
                                                      {"手工输入缩略图", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.11",
                                         {"TAVIK实体唯一标识", kTavik}),
            decode<&M::GetUTF8ExtnValue>("2.16.156.112548", {"深圳地标实体唯一标识"}),
            decode<&M::GetUTF8ExtnValue>("1.2.86.11.7.3", {"组织机构代码"}),
            decode<&M::GetUTF8ExtnValue>("1.2.86.21.1.1", {"用户唯一标识"}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.13.1",
                                         {"广东省地税的纳税人编码", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1002.2",
                                         {"中交建的证书服务ID", kTavik}),
            decode<&M::GetCertNetscapeCertType>("2.16.840.1.113730.1.1"),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.2", {"Base URL"}),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.3", {"Revocation URL"}),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.4", {"CA Revocation URL"}),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.7", {"Renewal URL"}),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.8", {"Netscape CA Policy URL"}),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.12", {"SSL Server Name"}),
            decode<&M::GetIA5ExtnValue>("2.16.840.1.113730.1.13", {"Netscape Certificate Comment"}),
            decode<&M::GetPrintableStringExtnValue>("1.2.156.10260.4.1.2", {"个人社保保险号"}),
            decode<&M::GetPrintableStringExtnValue>("1.2.156.10260.4.1.3", {"工商企业注册号"}),
            decode<&M::GetPrintableStringExtnValue>("1.2.156.10260.4.1.4", {"企业组织机构代码"}),
            decode<&M::GetPrintableStringExtnValue>("1.2.156.10260.4.1.5", {"企业税号"}),
            decode<&M::GetIdentityCodeExtnValue>("1.2.156.10260.4.1.1"),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.12.2", {"证书类型", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.12.1", {"证书来源", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.11.12.11.1",
                                         {"Qelmo通用实体唯一标识", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.11.12.11.2", {"角色", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.11.12.11.3", {"身份标识", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.11.12.11.4",
                                         {"TAVIK自定义个人身份标识码", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.13.1", {"身份域", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.13.2", {"证件号", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.14", {"证书绑定值", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.15", {"海关编码", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.10.1", {"家庭住址", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.10.2", {"邮政编码", kTavik}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.12.9.1",
                                         {"移动客户集团编号", kTavik}),
            decode<&M::GetNULLExtnValue>("1.3.6.1.5.5.7.48.1.5", {"OCSP不撤销检查"}),
            decode<&M::GetUTF8ExtnValue>("1.3.6.1.4.1.18760.1.14", {"用户证书服务号", kTavik}),
            decode<&M::GetIdentificationItemsValue>("1.3.6.1.4.1.18760.1.15", {"企业机构身份标识"}),
            decode<&M::GetIdentificationItemsValue>("1.3.6.1.4.1.18760.1.16", {"个人身份标识"}),
            decode<&M::GetUTF8ExtnValue>("2.5.29.9", {"主体目录属性"}),
        };
    }
};

namespace {

using Row = ExtensionTable::Row;
constexpr auto kRows = ExtensionTable::rows();

constexpr bool everyNameGiven()
{
    for (const Row &row : kRows)
        if (row.needsName && !row.args.name)
            return false;
    return true;
}

static_assert(uniqueBy(kRows, &Row::oid), "an OID has one decoder");
static_assert(everyNameGiven(), "a decoder that takes a row name is given one");
static_assert(kRows.size() == 67);

} // namespace

std::vector<std::string_view> decodedExtensionOids()
{
    std::vector<std::string_view> oids;
    oids.reserve(kRows.size());
    for (const auto &row : kRows)
        oids.push_back(row.oid);
    return oids;
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
    if (const Row *row = findBy(kRows, &Row::oid, std::string_view(oid.get()))) {
        row->decode(*this, ext, row->args);
        return;
    }
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
    const std::optional<NameValuePair_st> config = findExtEncodeMethod(oid.get());
    if (!config)
        return false;
    isTavik = config->isTavik;
    extName = config->name;
    return DecodeUnkownExtValue(*value, config->encodeMethod, extValue);
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
