#include "pkiui/select_model.hpp"

#include <array>
#include <cstring>

#include "cert_attributes.hpp"
#include "tables.hpp"

namespace pkiui {

namespace {

using Text = std::optional<std::string>;

constexpr std::string_view kUnknown = "未知";

// A code and its text; a null text is "no string".
struct CodeText {
    std::int64_t code;
    const char *text;
};

// Key algorithms other than EC; any code not listed is unknown.
constexpr std::array kAlgorithms{CodeText{TAVIK_KEYALG_RSA, "RSA"}};
// EC curves; any curve not listed has no text.
constexpr std::array kCurves{CodeText{TAVIK_CURVE_SM2, "SM2"}};

Text typeText(TAVIK_CERT_st *cert)
{
    const auto algorithm = integerAttribute(cert, TAVIK_ATTR_KEY_ALGORITHM);
    if (algorithm == TAVIK_KEYALG_EC) {
        const auto curve = integerAttribute(cert, TAVIK_ATTR_CURVE);
        if (!curve)
            return std::string(kUnknown);
        const CodeText *named = findBy(kCurves, &CodeText::code, *curve);
        return named ? Text(named->text) : std::nullopt;
    }
    const CodeText *named = algorithm ? findBy(kAlgorithms, &CodeText::code, *algorithm) : nullptr;
    return std::string(named ? named->text : kUnknown);
}

// Signing: digital signature, non-repudiation, certificate and CRL signing.
// Encryption: key and data encipherment, key agreement, encipher and decipher only.
constexpr std::int64_t kSigning = 0x63;
constexpr std::int64_t kEncryption = 0x19C;
constexpr std::int64_t kAnyBit = ~std::int64_t{0};

// The first rule whose two groups both meet the mask, with no bit outside
// `within`, gives the text.
struct UsageRule {
    std::int64_t needs;
    std::int64_t alsoNeeds;
    std::int64_t within;
    const char *text;
};

constexpr std::array kUsageRules{
    UsageRule{kEncryption, kSigning, kAnyBit, "签名加密"},
    UsageRule{kSigning, kSigning, kSigning, "签名"},
    UsageRule{kEncryption, kEncryption, kEncryption, "加密"},
};

Text usageColumn(TAVIK_CERT_st *cert)
{
    return usageText(integerAttribute(cert, TAVIK_ATTR_KEY_USAGE));
}

Text dateText(TAVIK_CERT_st *cert)
{
    const Text end = stringAttribute(cert, TAVIK_ATTR_NOT_AFTER);
    if (!end)
        return std::string(kUnknown);
    std::array<char, 12> formatted{};
    SelectCertDlgModel::formatTimeFromString(end->c_str(), formatted.data());
    return std::string(formatted.data());
}

// Name columns differ in what a failed query shows: the subject nothing at
// all, the issuer "未知", the friendly name "无".
Text subjectText(TAVIK_CERT_st *cert)
{
    return stringAttribute(cert, TAVIK_ATTR_SUBJECT_CN);
}

template <int Code, const std::string_view &Fallback> Text nameText(TAVIK_CERT_st *cert)
{
    Text text = stringAttribute(cert, Code);
    return text ? text : Text(std::string(Fallback));
}

constexpr std::string_view kNone = "无";

struct Column {
    std::string_view identifier;
    Text (*text)(TAVIK_CERT_st *);
};

constexpr std::array kColumns{
    Column{subjectColumnIdentifier, &subjectText},
    Column{certTypeColumnIdentifier, &typeText},
    Column{usageColumnColumnIdentifier, &usageColumn},
    Column{validateColumnIdentifier, &dateText},
    Column{issuerColumnIdentifier, &nameText<TAVIK_ATTR_ISSUER_NAME, kUnknown>},
    Column{otherNameColumnIdentifier, &nameText<TAVIK_ATTR_FRIENDLY_NAME, kNone>},
};

} // namespace

std::string usageText(std::optional<std::int64_t> mask)
{
    if (!mask)
        return std::string(kUnknown);
    const std::int64_t u = *mask;
    for (const UsageRule &rule : kUsageRules)
        if ((u & rule.needs) && (u & rule.alsoNeeds) && !(u & ~rule.within))
            return rule.text;
    return std::string(kUnknown);
}

SelectCertDlgModel::~SelectCertDlgModel() = default;

void SelectCertDlgModel::setCertificateHandles(TAVIK_CERT_st *const *certs, int count)
{
    if (!certs || count <= 0)
        return;
    m_hCerts.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        tavik::CertPtr copy(TavikPKICertDupCert(certs[i]));
        if (!copy) {
            // Freed from the last made down to the first.
            while (!m_hCerts.empty())
                m_hCerts.pop_back();
            m_hCerts.shrink_to_fit();
            return;
        }
        m_hCerts.push_back(std::move(copy));
    }
}

TAVIK_CERT_st *SelectCertDlgModel::handleAtIndex(int index) const
{
    if (index < 0 || index >= numberOfRows())
        return nullptr;
    return m_hCerts[static_cast<std::size_t>(index)].get();
}

std::optional<std::string>
SelectCertDlgModel::getValueForColumnIdentifier(std::string_view identifier,
                                                TAVIK_CERT_st *cert) const
{
    const Column *column = findBy(kColumns, &Column::identifier, identifier);
    if (!column)
        return std::nullopt;
    ++m_cellQueries;
    return column->text(cert);
}

std::string SelectCertDlgModel::cellText(int row, std::string_view identifier) const
{
    TAVIK_CERT_st *cert = handleAtIndex(row);
    return cert ? getValueForColumnIdentifier(identifier, cert).value_or(std::string()) : "";
}

void SelectCertDlgModel::formatTimeFromString(const char *source, char *formattedTime)
{
    if (!source || !formattedTime)
        return;
    // Source positions of the ten output characters; -1 is a dash. A short
    // source ends the text where its characters run out.
    constexpr std::array<int, 10> kLayout{0, 1, 2, 3, -1, 4, 5, -1, 6, 7};
    std::array<char, 12> out{};
    const std::size_t available = strnlen(source, 8);
    for (std::size_t i = 0; i < kLayout.size(); ++i) {
        const int from = kLayout[i];
        if (from >= 0 && static_cast<std::size_t>(from) >= available)
            break;
        out[i] = from < 0 ? '-' : source[from];
    }
    std::memcpy(formattedTime, out.data(), out.size());
}

} // namespace pkiui
