// Unicode strings: a sequence of code points, made from UTF-8 or from the
// content octets of an ASN.1 string type, handed back as UTF-8 or UTF-32.
#include <openssl/asn1.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "internal.hpp"
#include "objects.hpp"
#include "tavik_unicode.hpp"

struct tavik_ustring_st {
    std::u32string text;
};

namespace {

using Text = std::optional<std::u32string>;

constexpr bool isCharacter(char32_t c)
{
    return c != 0 && tavik::unicode::isScalar(c);
}

// A C text cannot carry NUL, so a string never holds it either.
Text withoutNul(Text text)
{
    if (text && text->find(U'\0') != std::u32string::npos)
        return std::nullopt;
    return text;
}

Text fromUtf8(const unsigned char *bytes, std::size_t length)
{
    return withoutNul(tavik::unicode::fromUtf8(bytes, length));
}

Text fromUtf16Be(const unsigned char *bytes, std::size_t length)
{
    return withoutNul(tavik::unicode::fromUtf16Be(bytes, length));
}

// UniversalString: UTF-32BE.
Text fromUtf32Be(const unsigned char *bytes, std::size_t length)
{
    if (length % 4)
        return std::nullopt;
    std::u32string text;
    text.reserve(length / 4);
    for (std::size_t i = 0; i < length; i += 4) {
        const char32_t c = static_cast<char32_t>(bytes[i]) << 24 |
                           static_cast<char32_t>(bytes[i + 1]) << 16 |
                           static_cast<char32_t>(bytes[i + 2]) << 8 | bytes[i + 3];
        if (!isCharacter(c))
            return std::nullopt;
        text.push_back(c);
    }
    return text;
}

// Printable, IA5, Visible and Numeric strings: their alphabets lie in ASCII.
Text fromAscii(const unsigned char *bytes, std::size_t length)
{
    std::u32string text;
    text.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        if (bytes[i] == 0 || bytes[i] >= 0x80)
            return std::nullopt;
        text.push_back(bytes[i]);
    }
    return text;
}

// TeletexString, read as Latin-1 as most software writes it.
Text fromLatin1(const unsigned char *bytes, std::size_t length)
{
    std::u32string text;
    text.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        if (bytes[i] == 0)
            return std::nullopt;
        text.push_back(bytes[i]);
    }
    return text;
}

// How a byte-oriented string whose bytes break its declared character set is
// shown (UTF-8 written raw into an IA5String dNSName, Latin-1 in a
// PrintableString): as UTF-8 when the bytes are valid UTF-8, else byte for
// byte as Latin-1. Only the characters are forgiven: OpenSSL has already
// held tags, lengths and trailing bytes to the structure.
Text asWritten(const unsigned char *bytes, std::size_t length)
{
    Text text = fromUtf8(bytes, length);
    return text ? text : fromLatin1(bytes, length);
}

struct StringForm {
    int type;
    Text (*decode)(const unsigned char *, std::size_t);
    bool bytewise; // one character a byte or UTF-8, where asWritten applies
};

constexpr std::array<StringForm, 8> kStringForms{{
    {V_ASN1_UTF8STRING, fromUtf8, true},
    {V_ASN1_BMPSTRING, fromUtf16Be, false},
    {V_ASN1_UNIVERSALSTRING, fromUtf32Be, false},
    {V_ASN1_PRINTABLESTRING, fromAscii, true},
    {V_ASN1_IA5STRING, fromAscii, true},
    {V_ASN1_VISIBLESTRING, fromAscii, true},
    {V_ASN1_NUMERICSTRING, fromAscii, true},
    {V_ASN1_T61STRING, fromLatin1, false},
}};

constexpr bool typesUnique()
{
    for (std::size_t i = 0; i < kStringForms.size(); ++i)
        for (std::size_t k = i + 1; k < kStringForms.size(); ++k)
            if (kStringForms[i].type == kStringForms[k].type)
                return false;
    return true;
}
static_assert(typesUnique());

const StringForm *formOf(int type)
{
    for (const auto &form : kStringForms)
        if (form.type == type)
            return &form;
    return nullptr;
}

} // namespace

namespace tavik::detail {

tavik_ustring *newUString(std::u32string text) noexcept
{
    for (const char32_t c : text)
        if (!isCharacter(c))
            return nullptr;
    return newObject<tavik_ustring_st>(std::move(text));
}

tavik_ustring *newUString(const ASN1_STRING *string) noexcept
{
    if (!string)
        return nullptr;
    const StringForm *form = formOf(ASN1_STRING_type(string));
    const int length = ASN1_STRING_length(string);
    const unsigned char *data = ASN1_STRING_get0_data(string);
    if (!form || length < 0 || (!data && length > 0))
        return nullptr;
    return tavik::detail::guard<tavik_ustring *>(nullptr, [&]() -> tavik_ustring * {
        const auto size = static_cast<std::size_t>(length);
        Text text = form->decode(data, size);
        if (!text && form->bytewise)
            text = asWritten(data, size);
        return text ? newObject<tavik_ustring_st>(std::move(*text)) : nullptr;
    });
}

} // namespace tavik::detail

extern "C" {

tavik_ustring *tavik_ustring_newutf8(const char *bytes, size_t length)
{
    if (!bytes || length > static_cast<size_t>(INT_MAX))
        return nullptr;
    return tavik::detail::guard<tavik_ustring *>(nullptr, [&]() -> tavik_ustring * {
        Text text = fromUtf8(reinterpret_cast<const unsigned char *>(bytes), length);
        return text ? tavik::detail::newObject<tavik_ustring_st>(std::move(*text)) : nullptr;
    });
}

void tavik_ustring_free(tavik_ustring *string)
{
    tavik::detail::freeObject(string);
}

size_t tavik_ustring_getlength(const tavik_ustring *string)
{
    return string ? string->text.size() : 0;
}

int tavik_ustring_tombs(const tavik_ustring *string, const char *encoding, char **out,
                        size_t *outlength)
{
    if (!string || !encoding || !out || !outlength || std::strcmp(encoding, "UTF-8") != 0)
        return 0;
    return tavik::detail::guard<int>(0, [&]() -> int {
        const std::string bytes = tavik::unicode::toUtf8(string->text);
        char *text = tavik::detail::dupText(bytes.data(), bytes.size());
        if (!text)
            return 0;
        *out = text;
        *outlength = bytes.size();
        return 1;
    });
}

wchar_t *tavik_ustring_towcs(const tavik_ustring *string)
{
    static_assert(sizeof(wchar_t) == sizeof(char32_t), "wchar_t holds UTF-32");
    if (!string)
        return nullptr;
    const std::size_t count = string->text.size();
    if (count >= INT_MAX / sizeof(wchar_t))
        return nullptr;
    auto *wide =
        static_cast<wchar_t *>(tavik_malloc((count + 1) * sizeof(wchar_t), __FILE__, __LINE__));
    if (!wide)
        return nullptr;
    for (std::size_t i = 0; i < count; ++i)
        wide[i] = static_cast<wchar_t>(string->text[i]);
    wide[count] = L'\0';
    return wide;
}

} // extern "C"
