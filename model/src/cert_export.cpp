#include "pkiui/cert_export.hpp"

#include <array>
#include <cstddef>

#include "pkiui/detail_model.hpp"
#include "tables.hpp"

namespace pkiui {

namespace {

struct Thumbprint {
    std::size_t digits;
    int code; // ContractAThumbprint's digest code
    std::string_view label;
};

constexpr std::array<Thumbprint, 4> kThumbprintsByLength = {{
    {32, 0x1000, "MD5"},
    {40, 0x2000, "SHA1"},
    {64, 0x4000, "SHA256"},
    {128, 0x6000, "SHA512"},
}};
static_assert(uniqueBy(kThumbprintsByLength, &Thumbprint::digits));

// Upper-case hex digits of what was typed; nullopt on anything but hex,
// blanks and colons.
std::optional<std::string> typedDigits(std::string_view typed)
{
    std::string digits;
    for (const char c : typed) {
        if (c == ' ' || c == ':' || c == '\t' || c == '\r' || c == '\n')
            continue;
        if (c >= '0' && c <= '9')
            digits += c;
        else if ((c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'))
            digits += static_cast<char>(c & ~0x20);
        else
            return std::nullopt;
    }
    return digits;
}

} // namespace

std::string certificateDer(TAVIK_CERT_st *cert)
{
    const tavik::BlobPtr der(cert ? tavik_cert_encode(cert) : nullptr);
    if (!der)
        return {};
    return {reinterpret_cast<const char *>(der->data), der->length};
}

// Through a whole detail model, so the line is the list's own, byte for byte.
std::string subjectLine(TAVIK_CERT_st *cert)
{
    ShowCertDetailDlgModel detail;
    if (!detail.setCertHandle(cert))
        return {};
    const CertDetailInfoItem *subject = detail.item("证书主体");
    return subject && subject->value != kUnavailable ? subject->value : std::string();
}

std::string shownRowsText(const ShowCertDetailDlgModel &model)
{
    std::string text;
    for (int row = 0; row < model.numberOfRows(); ++row) {
        const CertDetailInfoItem *item = model.rowAt(row);
        if (item)
            text += item->name + ": " + item->content + "\n";
    }
    return text;
}

std::optional<std::string_view> matchingThumbprint(TAVIK_CERT_st *cert, std::string_view typed)
{
    const std::optional<std::string> digits = typedDigits(typed);
    if (!digits)
        return std::nullopt;
    const Thumbprint *kind = findBy(kThumbprintsByLength, &Thumbprint::digits, digits->size());
    if (!kind)
        return std::nullopt;
    const auto actual = ShowCertDetailDlgModel::ContractAThumbprint(cert, kind->code);
    if (!actual || *actual != *digits)
        return std::nullopt;
    return kind->label;
}

} // namespace pkiui
