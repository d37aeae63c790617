// Toolkit strings to display text, and raw extension values decoded under a
// configured method name.
#include <locale.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <string_view>

#include "pkiui/detail_model.hpp"
#include "tables.hpp"
#include "tavik_unicode.hpp"
#include "whole_tlv.hpp"

namespace pkiui {

namespace {

// A UTF-8 character-type locale for the wide conversion; null when the
// machine has none. Created once: a locale object may serve every thread.
locale_t utf8CtypeLocale()
{
    static const locale_t locale = [] {
        locale_t l = newlocale(LC_CTYPE_MASK, "zh_CN.UTF-8", locale_t{});
        return l ? l : newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    }();
    return locale;
}

// Switches the calling thread's locale and puts the previous one back.
// Hand-written on purpose: setlocale would change the whole process under
// the host's other threads, and std::locale has no wcstombs.
class ThreadLocaleSwitch {
  public:
    explicit ThreadLocaleSwitch(locale_t locale) : m_previous(locale ? uselocale(locale) : nullptr)
    {
    }
    ~ThreadLocaleSwitch()
    {
        if (m_previous)
            uselocale(m_previous);
    }
    ThreadLocaleSwitch(const ThreadLocaleSwitch &) = delete;
    ThreadLocaleSwitch &operator=(const ThreadLocaleSwitch &) = delete;

  private:
    locale_t m_previous;
};

bool DecodeUTF8StringExtValue(const tavik_data_blob &value, std::string &text)
{
    const tavik::BlobPtr octets = contentOf(value, TAVIK_ASN1_UTF8STRING);
    if (!octets)
        return false;
    auto decoded = ShowCertDetailDlgModel::UTF8String2NSString(octets->data, octets->length);
    if (!decoded)
        return false;
    text = std::move(*decoded);
    return true;
}

// PrintableString, IA5String and VisibleString: 7-bit bytes only.
bool DecodeASCIIStringExtValue(int type, const tavik_data_blob &value, std::string &text)
{
    const tavik::BlobPtr octets = contentOf(value, type);
    if (!octets)
        return false;
    const auto *begin = octets->data;
    const auto *end = begin + octets->length;
    for (const auto *p = begin; p != end; ++p)
        if (*p > 127)
            return false;
    text.assign(begin, end);
    return true;
}

template <int Type> bool decodeAscii(const tavik_data_blob &value, std::string &text)
{
    return DecodeASCIIStringExtValue(Type, value, text);
}

// UTF-16, big-endian; a lone surrogate is refused like any ill-formed text.
bool DecodeBMPStringExtValue(const tavik_data_blob &value, std::string &text)
{
    const tavik::BlobPtr octets = contentOf(value, TAVIK_ASN1_BMPSTRING);
    const auto decoded =
        octets ? tavik::unicode::fromUtf16Be(octets->data, octets->length) : std::nullopt;
    if (!decoded)
        return false;
    text = tavik::unicode::toUtf8(*decoded);
    return true;
}

bool DecodeOIDExtValue(const tavik_data_blob &value, std::string &text)
{
    const tavik::Asn1ValuePtr decoded = decodeWhole(value, TAVIK_ASN1_OID);
    const tavik::TextPtr dotted(decoded ? tavik_asn1_oid_getstring(decoded.get()) : nullptr);
    if (!dotted)
        return false;
    text = dotted.get();
    return true;
}

bool DecodeOctetStringExtValue(const tavik_data_blob &value, std::string &text)
{
    const tavik::BlobPtr octets = contentOf(value, TAVIK_ASN1_OCTET_STRING);
    if (!octets)
        return false;
    auto hex = hexText(octets->data, octets->length, "");
    if (!hex)
        return false;
    text = std::move(*hex);
    return true;
}

// Every content octet as encoded, sign byte included.
bool DecodeIntegerExtValue(const tavik_data_blob &value, std::string &text)
{
    const tavik::Asn1ValuePtr decoded = decodeWhole(value, TAVIK_ASN1_INTEGER);
    const int length = decoded ? tavik_asn1_integer_getlength(decoded.get()) : 0;
    if (length <= 0)
        return false;
    std::string bytes(static_cast<std::size_t>(length), '\0');
    auto *out = reinterpret_cast<unsigned char *>(bytes.data());
    if (tavik_asn1_integer_get(decoded.get(), out, bytes.size()) != 1)
        return false;
    auto hex = hexText(out, bytes.size(), "");
    if (!hex)
        return false;
    text = std::move(*hex);
    return true;
}

bool DecodeBooleanExtValue(const tavik_data_blob &value, std::string &text)
{
    const tavik::Asn1ValuePtr decoded = decodeWhole(value, TAVIK_ASN1_BOOLEAN);
    const int truth = decoded ? tavik_asn1_boolean_istrue(decoded.get()) : -1;
    if (truth < 0)
        return false;
    text = truth ? "True" : "False";
    return true;
}

bool decodeNull(const tavik_data_blob &value, std::string &text)
{
    auto decoded = ShowCertDetailDlgModel::DecodeNULLExtValue(value);
    if (!decoded)
        return false;
    text = std::move(*decoded);
    return true;
}

struct MethodRecord {
    std::string_view name;
    bool (*decode)(const tavik_data_blob &value, std::string &text);
};

constexpr std::array kMethods{
    MethodRecord{"UTF8String", DecodeUTF8StringExtValue},
    MethodRecord{"PrintableString", decodeAscii<TAVIK_ASN1_PRINTABLESTRING>},
    MethodRecord{"IA5String", decodeAscii<TAVIK_ASN1_IA5STRING>},
    MethodRecord{"VisibleString", decodeAscii<TAVIK_ASN1_VISIBLESTRING>},
    MethodRecord{"BMPString", DecodeBMPStringExtValue},
    MethodRecord{"OID", DecodeOIDExtValue},
    MethodRecord{"NULL", decodeNull},
    MethodRecord{"OctetString", DecodeOctetStringExtValue},
    MethodRecord{"Integer", DecodeIntegerExtValue},
    MethodRecord{"Boolean", DecodeBooleanExtValue},
};

static_assert(uniqueBy(kMethods, &MethodRecord::name), "each method name decodes one way");

// Exact, case-sensitive.
const MethodRecord *findMethod(std::string_view name)
{
    return findBy(kMethods, &MethodRecord::name, name);
}

} // namespace

tavik::Asn1ValuePtr decodeWhole(const tavik_data_blob &value, int type)
{
    tavik_asn1_value *decoded = nullptr;
    if (tavik_asn1_mem_decode(value.data, value.length, type, &decoded) != 1)
        return nullptr;
    tavik::Asn1ValuePtr owned(decoded);
    if (tavik_asn1_value_getencodedlength(decoded) != value.length)
        return nullptr;
    return owned;
}

tavik::BlobPtr contentOf(const tavik_data_blob &value, int type)
{
    const tavik::Asn1ValuePtr decoded = decodeWhole(value, type);
    return tavik::BlobPtr(decoded ? tavik_asn1_octetstring_getblob(decoded.get()) : nullptr);
}

std::optional<std::string> ShowCertDetailDlgModel::UTF8String2NSString(const unsigned char *bytes,
                                                                       std::size_t length)
{
    if (!bytes && length != 0)
        return std::nullopt;
    static const char kEmpty = '\0';
    const tavik::UStringPtr string(
        tavik_ustring_newutf8(bytes ? reinterpret_cast<const char *>(bytes) : &kEmpty, length));
    if (!string)
        return std::nullopt;
    char *out = nullptr;
    size_t outLength = 0;
    if (tavik_ustring_tombs(string.get(), "UTF-8", &out, &outLength) != 1)
        return std::nullopt;
    const tavik::TextPtr owned(out);
    return std::string(out, outLength);
}

std::optional<std::string>
ShowCertDetailDlgModel::GetNSStringFromUString(const tavik_ustring *string)
{
    if (!string)
        return std::nullopt;
    const tavik::WideTextPtr wide(tavik_ustring_towcs(string));
    if (!wide)
        return std::nullopt;
    const ThreadLocaleSwitch utf8(utf8CtypeLocale());
    // One pass into room for the longest UTF-8 form rather than measuring
    // first: the conversion is the costliest step of a name row.
    std::string text(tavik_ustring_getlength(string) * 4 + 1, '\0');
    const std::size_t length = std::wcstombs(text.data(), wide.get(), text.size());
    if (length == static_cast<std::size_t>(-1) || length == text.size())
        return std::nullopt;
    text.resize(length);
    return text;
}

bool ShowCertDetailDlgModel::DecodeUnkownExtValue(const tavik_data_blob &value,
                                                  const std::string &method, std::string &text)
{
    const MethodRecord *record = findMethod(method);
    return record && record->decode(value, text);
}

std::optional<std::string> ShowCertDetailDlgModel::DecodeNULLExtValue(const tavik_data_blob &value)
{
    if (!decodeWhole(value, TAVIK_ASN1_NULL))
        return std::nullopt;
    return "NULL";
}

} // namespace pkiui
