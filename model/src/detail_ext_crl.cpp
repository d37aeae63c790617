// Rows of the distribution-point, information-access, CRL and CRL-entry
// extensions.
#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

#include "ext_row.hpp"
#include "pkiui/detail_model.hpp"
#include "tables.hpp"

namespace pkiui {

namespace {

// ReasonFlags bits 0..8.
constexpr std::array<std::string_view, 9> kReasonFlags = {
    "Unused",       "KeyCompromise",        "CACompromise",    "AffiliationChanged",
    "Superseded",   "CessationOfOperation", "CertificateHold", "PrivilegeWithdrawn",
    "AACompromise",
};

// CRLReason; 7 is not assigned.
constexpr std::array<CodeName, 10> kReasonCodes = {{
    {0, "Unspecified"},
    {1, "KeyCompromise"},
    {2, "CACompromise"},
    {3, "AffiliationChanged"},
    {4, "Superseded"},
    {5, "CessationOfOperation"},
    {6, "CertificateHold"},
    {8, "RemoveFromCRL"},
    {9, "PrivilegeWithdrawn"},
    {10, "AACompromise"},
}};

constexpr std::array<OidName, 4> kAccessMethods = {{
    {"1.3.6.1.5.5.7.48.1", "Ocsp"},
    {"1.3.6.1.5.5.7.48.2", "CAIssuer"},
    {"1.3.6.1.5.5.7.48.5", "CARepository"},
    {"1.3.6.1.5.5.7.48.3", "TimeStamping"},
}};

constexpr std::array<OidName, 3> kHoldInstructions = {{
    {"1.2.840.10040.2.1", "None"},
    {"1.2.840.10040.2.2", "Call Issuer "},
    {"1.2.840.10040.2.3", "Reject"},
}};

static_assert(uniqueBy(kAccessMethods, &OidName::oid));
static_assert(uniqueBy(kHoldInstructions, &OidName::oid));
static_assert(uniqueBy(kReasonCodes, &CodeName::code));

// The first entry after "first", every further one after ", " -- and each
// further one is the entry at index 1, not its own: the required output.
std::string repeatSecond(const std::vector<std::string> &items, const char *first)
{
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i)
        text += i == 0 ? first + items[0] : ", " + items[1];
    return text;
}

const char *yesNo(int flag)
{
    return flag == 1 ? "YES" : "NO";
}

} // namespace

// DistributionPointName ::= CHOICE { fullName [0] GeneralNames,
//     nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
std::optional<std::string>
ShowCertDetailDlgModel::GetDistributionPointName(const tavik_cert_dpname *name)
{
    switch (tavik_cert_dpname_gettype(name)) {
    case TAVIK_DPNAME_FULLNAME: {
        const tavik::GeneralNamesPtr full(tavik_cert_dpname_getfullname(name));
        const auto names = full ? GetGeneralNames(full.get()) : std::nullopt;
        if (!names)
            return std::nullopt;
        return "\t\tFull Name: \r\n" + repeatSecond(*names, "\t\t\t");
    }
    case TAVIK_DPNAME_RELATIVE: {
        const tavik::RdnPtr rdn(tavik_cert_dpname_getrelname(name));
        const int count = rdn ? tavik_cert_rdn_getitemcount(rdn.get()) : -1;
        if (count < 0)
            return std::nullopt;
        std::vector<std::string> attrs;
        for (int i = 0; i < count; ++i) {
            const tavik::AtvPtr attr(tavik_cert_rdn_getitem(rdn.get(), i));
            if (!attr || AddAttrItemByOid(attrs, attr.get()) != 1)
                return std::nullopt;
        }
        return "\t\tName Relative to CRL Issuer:\r\n" + repeatSecond(attrs, "\t\t\t");
    }
    default:
        return "";
    }
}

std::string ShowCertDetailDlgModel::GetReasonFlags(const tavik_bitset *reasons)
{
    static constexpr std::string_view kLabel = "Reason Flags:";
    std::string text(kLabel);
    for (std::size_t bit = 0; bit < kReasonFlags.size(); ++bit) {
        if (tavik_bitset_isset(reasons, static_cast<int>(bit)) != 1)
            continue;
        if (text.size() > kLabel.size())
            text += ", ";
        text += kReasonFlags[bit];
    }
    return text;
}

// DistributionPoint ::= SEQUENCE { distributionPoint [0], reasons [1],
//     cRLIssuer [2] GeneralNames }, each optional
std::optional<std::string>
ShowCertDetailDlgModel::GetDistributionPoint(const tavik_cert_distpoint *dp)
{
    std::string text;
    if (const tavik::DpNamePtr name(tavik_cert_distpoint_getdpname(dp)); name) {
        const auto shown = GetDistributionPointName(name.get());
        if (!shown)
            return std::nullopt;
        text += "\tDistribution Point Name: \r\n" + *shown + " \r\n";
    }
    if (const tavik::BitSetPtr reasons(tavik_cert_distpoint_getreasons(dp)); reasons)
        text +=
            "\tDistribution Point Reasons: \r\n\t\t" + GetReasonFlags(reasons.get()) + " \r\n\r\n";
    if (const tavik::GeneralNamesPtr issuer(tavik_cert_distpoint_getcrlissuer(dp)); issuer) {
        const auto names = GetGeneralNames(issuer.get());
        if (!names)
            return std::nullopt;
        text += "\tCRL Issuer: \r\n";
        for (std::size_t i = 0; i < names->size(); ++i)
            text += (i == 0 ? "\t\t" : ", ") + (*names)[i];
    }
    return text;
}

// CRLDistributionPoints ::= SEQUENCE OF DistributionPoint (freshest CRL alike)
void ShowCertDetailDlgModel::GetCRLDP(const tavik_cert_ext *ext, uint32_t flag)
{
    ExtRow row(ext, flag == 0 ? "CRL分发点" : "最新CRL");
    const char *label = flag == 0 ? "CRL Distribution Point" : "Freshest CRL";
    const tavik::CrlDpsPtr dps(tavik_cert_ext_tocrldp(ext));
    if (!dps)
        return row.addUnavailable(*this);
    const int count = tavik_cert_crldps_getitemcount(dps.get());
    for (int i = 0; i < count; ++i) {
        const tavik::DistPointPtr dp(tavik_cert_crldps_getitem(dps.get(), i));
        const auto text = dp ? GetDistributionPoint(dp.get()) : std::nullopt;
        // A point with neither name, reasons nor issuer fails the extension.
        if (!text || text->empty())
            return row.addUnavailable(*this);
        const std::string item = "[" + std::to_string(i + 1) + "]" + label + " \r\n" + *text;
        row.value += (i == 0 ? "" : "; ") + item;
        row.content += item + "\r\n\r\n";
    }
    row.add(*this);
}

// AccessDescription ::= SEQUENCE { accessMethod OID, accessLocation GeneralName }
std::optional<std::string>
ShowCertDetailDlgModel::GetAccessDescription(const tavik_cert_accessdesc *desc)
{
    const tavik::TextPtr method(tavik_cert_accessdesc_getmethod(desc));
    if (!method)
        return std::nullopt;
    std::string name;
    if (const auto known = nameOf(kAccessMethods, method.get()))
        name = *known;
    else
        name = std::string("Unknown(") + method.get() + ")\r\n";
    const tavik::GeneralNamePtr location(tavik_cert_accessdesc_getlocation(desc));
    const auto shown = location ? GetGeneralName(location.get()) : std::nullopt;
    if (!shown)
        return std::nullopt;
    return "\t Access Method:" + name + "\r\n \t\tAccessLocation\r\n \t\t\t" + *shown + " ";
}

// AuthorityInfoAccessSyntax ::= SEQUENCE OF AccessDescription (subject alike)
void ShowCertDetailDlgModel::GetAccessDescriptions(const tavik_cert_ext *ext, uint32_t flag)
{
    ExtRow row(ext, flag == 0 ? "颁发者信息访问" : "主题信息访问");
    const tavik::AccessDescsPtr descs(tavik_cert_ext_toaccessdescs(ext));
    if (!descs)
        return row.addUnavailable(*this);
    std::vector<std::string> items;
    const int count = tavik_cert_accessdescs_getitemcount(descs.get());
    for (int i = 0; i < count; ++i) {
        const tavik::AccessDescPtr desc(tavik_cert_accessdescs_getitem(descs.get(), i));
        const auto text = desc ? GetAccessDescription(desc.get()) : std::nullopt;
        // One unreadable description leaves the extension without a row.
        if (!text)
            return;
        items.push_back("[" + std::to_string(i + 1) + "]Authority Info Access \r\n" + *text);
    }
    row.value = valueList(items);
    for (std::size_t i = 0; i < items.size(); ++i)
        row.content += i == 0 ? items[0] : items[i] + "\r\n";
    row.add(*this);
}

// CRLNumber ::= INTEGER
void ShowCertDetailDlgModel::GetCrlNumber(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "CRL号码");
    const tavik::BigIntPtr number(tavik_cert_ext_tointeger(ext));
    const auto text = number ? GetBigInt(number.get()) : std::nullopt;
    if (!text)
        return row.addUnavailable(*this);
    row.value = row.content = *text;
    row.add(*this);
}

// BaseCRLNumber ::= CRLNumber
void ShowCertDetailDlgModel::GetDcrlIndicator(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "Delta CRL指示符");
    const tavik::BigIntPtr number(tavik_cert_ext_tointeger(ext));
    const auto text = number ? GetBigInt(number.get()) : std::nullopt;
    if (!text)
        return row.addUnavailable(*this);
    row.value = row.content = "BaseCRLNumber:" + *text;
    row.add(*this);
}

// IssuingDistributionPoint ::= SEQUENCE { distributionPoint [0],
//     onlyContainsUserCerts [1], onlyContainsCACerts [2], onlySomeReasons [3],
//     indirectCRL [4], onlyContainsAttributeCerts [5] }
void ShowCertDetailDlgModel::GetIDP(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "颁发分布点");
    const tavik::IdpPtr idp(tavik_cert_ext_toidp(ext));
    if (!idp)
        return row.addUnavailable(*this);
    if (const tavik::DpNamePtr name(tavik_cert_idp_getdpname(idp.get())); name) {
        const auto shown = GetDistributionPointName(name.get());
        if (!shown)
            return row.addUnavailable(*this);
        row.value += "Distribution Point Name:" + *shown;
        row.content += row.value + "\r\n";
    }
    row.content += std::string("Only Contains UserCerts:") +
                   yesNo(tavik_cert_idp_isonlycontainsusercerts(idp.get())) + "\r\n";
    row.content += std::string("Only Contains CACerts") +
                   yesNo(tavik_cert_idp_isonlycontainscacerts(idp.get())) + "\r\n";
    if (const tavik::BitSetPtr reasons(tavik_cert_idp_getconverreasons(idp.get())); reasons) {
        const std::string flags = GetReasonFlags(reasons.get());
        row.value += ", " + flags;
        row.content += flags + "\r\n";
    }
    row.content += std::string("Only Contains AttributeCerts: ") +
                   yesNo(tavik_cert_idp_isonlycontainsattrcerts(idp.get())) + "\r\n";
    row.content +=
        std::string("IndirectCRL: ") + yesNo(tavik_cert_idp_isindirectcrl(idp.get())) + "\r\n";
    row.add(*this);
}

// CRLReason ::= ENUMERATED
void ShowCertDetailDlgModel::GetReasonCode(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "撤销理由代码");
    const tavik::BigIntPtr code(tavik_cert_ext_toenum(ext));
    int64_t value = -1;
    if (!code || tavik_biginteger_getvalue(code.get(), &value) != 1 || value < 0 ||
        value >= 2147483648LL) {
        row.addUnavailable(*this);
        return;
    }
    const CodeName *known = findBy(kReasonCodes, &CodeName::code, value);
    row.value = row.content =
        known ? std::string(known->name) : "Unknown CRL Reason Code: " + std::to_string(value);
    row.add(*this);
}

// InvalidityDate ::= GeneralizedTime
void ShowCertDetailDlgModel::GetInvalidityDate(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "证书无效时间");
    const tavik::TimePtr time(tavik_cert_ext_togeneralizedtime(ext));
    if (!time)
        return row.addUnavailable(*this);
    row.value = row.content = FormatTime(time.get());
    row.add(*this);
}

// HoldInstructionCode ::= OBJECT IDENTIFIER
void ShowCertDetailDlgModel::GetHoldInstruction(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "控制指示码");
    const tavik::TextPtr oid(tavik_cert_ext_tooid(ext));
    if (!oid)
        return row.addUnavailable(*this);
    if (const auto known = nameOf(kHoldInstructions, oid.get()))
        row.value = *known;
    else
        row.value = std::string("(") + oid.get() + ")Unknown Instruction";
    row.content = row.value;
    row.add(*this);
}

// CertificateIssuer ::= GeneralNames
void ShowCertDetailDlgModel::GetCertificateIssuer(const tavik_cert_ext *ext)
{
    ExtRow row(ext, "证书颁发者");
    const auto names = generalNamesOf(ext);
    if (!names)
        return row.addUnavailable(*this);
    // The first name, then every name from the first again: the required output.
    if (!names->empty()) {
        row.value = names->front();
        row.content = names->front() + "\r\n";
    }
    for (const std::string &name : *names) {
        row.value += ", " + name;
        row.content += name + "\r\n";
    }
    row.add(*this);
}

} // namespace pkiui
