// ASN.1 values: one primitive universal value read from DER by hand, strictly
// (definite minimal lengths, low tags in the short form, content well formed
// for its type), and the readers of what was decoded.
//   TLV ::= identifier octets, length octets, content octets   (X.690 8.1)
#include <openssl/asn1.h>
#include <openssl/objects.h>

#include <array>
#include <climits>
#include <cstring>
#include <new>

#include "asn1.hpp"
#include "objects.hpp"
#include "tavik_unicode.hpp"

namespace tavik::detail::asn1 {
namespace {

enum class Rule { Boolean, Integer, Octets, Null, Oid, Utf8, Printable, Ia5, Visible, Bmp };

struct TypeInfo {
    int code;
    int tag; // universal tag number
    Rule rule;
    bool isString; // content octets readable through octetstring_getblob
};

constexpr std::array kTypes{
    TypeInfo{TAVIK_ASN1_BOOLEAN, 1, Rule::Boolean, false},
    TypeInfo{TAVIK_ASN1_INTEGER, 2, Rule::Integer, false},
    TypeInfo{TAVIK_ASN1_OCTET_STRING, 4, Rule::Octets, true},
    TypeInfo{TAVIK_ASN1_NULL, 5, Rule::Null, false},
    TypeInfo{TAVIK_ASN1_OID, 6, Rule::Oid, false},
    TypeInfo{TAVIK_ASN1_UTF8STRING, 12, Rule::Utf8, true},
    TypeInfo{TAVIK_ASN1_PRINTABLESTRING, 19, Rule::Printable, true},
    TypeInfo{TAVIK_ASN1_IA5STRING, 22, Rule::Ia5, true},
    TypeInfo{TAVIK_ASN1_VISIBLESTRING, 26, Rule::Visible, true},
    TypeInfo{TAVIK_ASN1_BMPSTRING, 30, Rule::Bmp, true},
};

constexpr bool codesUnique()
{
    for (std::size_t i = 0; i < kTypes.size(); ++i)
        for (std::size_t j = i + 1; j < kTypes.size(); ++j)
            if (kTypes[i].code == kTypes[j].code || kTypes[i].tag == kTypes[j].tag)
                return false;
    return true;
}
static_assert(codesUnique(), "type codes and tags must be unique");

const TypeInfo *findType(int code) noexcept
{
    for (const TypeInfo &info : kTypes)
        if (info.code == code)
            return &info;
    return nullptr;
}

bool isPrintable(unsigned char c) noexcept
{
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
        return true;
    return std::memchr(" '()+,-./:=?", c, 12) != nullptr;
}

// Subidentifiers in base 128, each minimal, the last one complete.
bool validOid(Bytes s) noexcept
{
    if (s.empty() || (s.back() & 0x80))
        return false;
    bool atStart = true;
    for (const unsigned char c : s) {
        if (atStart && c == 0x80)
            return false;
        atStart = !(c & 0x80);
    }
    return true;
}

template <class Pred> bool allOf(Bytes s, Pred pred) noexcept
{
    for (const unsigned char c : s)
        if (!pred(c))
            return false;
    return true;
}

} // namespace

int universalTag(int type) noexcept
{
    const TypeInfo *info = findType(type);
    return info ? info->tag : -1;
}

bool contentValid(int type, Bytes c) noexcept
{
    const TypeInfo *info = findType(type);
    if (!info)
        return false;
    switch (info->rule) {
    case Rule::Boolean: // DER: FALSE 00, TRUE FF
        return c.size() == 1 && (c[0] == 0x00 || c[0] == 0xFF);
    case Rule::Integer: // two's complement in the fewest octets
        return !c.empty() && !(c.size() > 1 && ((c[0] == 0x00 && !(c[1] & 0x80)) ||
                                                (c[0] == 0xFF && (c[1] & 0x80))));
    case Rule::Octets:
        return true;
    case Rule::Null:
        return c.empty();
    case Rule::Oid:
        return validOid(c);
    case Rule::Utf8:
        return tavik::unicode::validUtf8(c.data(), c.size());
    case Rule::Printable:
        return allOf(c, isPrintable);
    case Rule::Ia5:
        return allOf(c, [](unsigned char b) { return b <= 0x7F; });
    case Rule::Visible:
        return allOf(c, [](unsigned char b) { return b >= 0x20 && b <= 0x7E; });
    case Rule::Bmp:
        return c.size() % 2 == 0;
    }
    return false;
}

bool readIdentifier(Bytes bytes, std::size_t &pos, Identifier &id) noexcept
{
    std::size_t p = pos;
    if (p >= bytes.size())
        return false;
    const unsigned char first = bytes[p++];
    int tag = first & 0x1F;
    if (tag == 0x1F) {
        // High tag number: base 128, no leading 0x80, only for tags of 31 and up.
        tag = 0;
        for (bool start = true;; start = false) {
            if (p >= bytes.size())
                return false;
            const unsigned char c = bytes[p++];
            if ((start && c == 0x80) || tag > (INT_MAX >> 7))
                return false;
            tag = (tag << 7) | (c & 0x7F);
            if (!(c & 0x80))
                break;
        }
        if (tag < 0x1F)
            return false;
    }
    id = Identifier{first & 0xC0, (first & 0x20) != 0, tag};
    pos = p;
    return true;
}

LengthForm readLength(Bytes bytes, std::size_t &pos, std::size_t &length) noexcept
{
    std::size_t p = pos;
    if (p >= bytes.size())
        return LengthForm::Bad;
    const unsigned char first = bytes[p++];
    if (first == 0x80) {
        pos = p;
        return LengthForm::Indefinite;
    }
    std::size_t value = first;
    if (first > 0x80) {
        // Long form: no leading zero octet, only for lengths of 128 and up.
        const std::size_t count = first & 0x7F;
        if (count > 4 || bytes.size() - p < count || bytes[p] == 0)
            return LengthForm::Bad;
        value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value = (value << 8) | bytes[p++];
        if (value < 0x80 || value > kMaxLength)
            return LengthForm::Bad;
    }
    length = value;
    pos = p;
    return LengthForm::Definite;
}

std::optional<Tlv> readTlv(Bytes bytes, std::size_t &pos) noexcept
{
    std::size_t p = pos;
    Identifier id{};
    std::size_t length = 0;
    if (!readIdentifier(bytes, p, id) || readLength(bytes, p, length) != LengthForm::Definite ||
        bytes.size() - p < length)
        return std::nullopt;
    Tlv tlv{id, bytes.subspan(p, length), bytes.subspan(pos, p + length - pos)};
    pos = p + length;
    return tlv;
}

std::optional<Tlv> readTyped(Bytes bytes, std::size_t &pos, int type) noexcept
{
    const int tag = universalTag(type);
    std::size_t p = pos;
    const auto tlv = tag >= 0 ? readTlv(bytes, p) : std::nullopt;
    if (!tlv || tlv->id.cls != TAVIK_ASN1_CLASS_UNIVERSAL || tlv->id.constructed ||
        tlv->id.tag != tag || !contentValid(type, tlv->content))
        return std::nullopt;
    pos = p;
    return tlv;
}

std::optional<std::int64_t> integerValue(Bytes c) noexcept
{
    if (!contentValid(TAVIK_ASN1_INTEGER, c) || c.size() > 8)
        return std::nullopt;
    // Sign-extend from the first octet, then shift the rest in.
    std::uint64_t value = (c[0] & 0x80) ? ~std::uint64_t{0} : 0;
    for (const unsigned char b : c)
        value = (value << 8) | b;
    return static_cast<std::int64_t>(value);
}

tavik_asn1_value *newValue(int type, Bytes content, std::size_t encodedLength) noexcept
{
    return tavik::detail::guard<tavik_asn1_value *>(nullptr, [&]() -> tavik_asn1_value * {
        return newObject<tavik_asn1_value_st>(
            type, std::vector<unsigned char>(content.begin(), content.end()), encodedLength);
    });
}

} // namespace tavik::detail::asn1

namespace {

using tavik::detail::asn1::Bytes;

bool isString(const tavik_asn1_value *value) noexcept
{
    if (!value)
        return false;
    for (const auto &info : tavik::detail::asn1::kTypes)
        if (info.code == value->type)
            return info.isString;
    return false;
}

} // namespace

extern "C" {

int tavik_asn1_mem_decode(const unsigned char *data, size_t length, int type,
                          tavik_asn1_value **value)
{
    namespace asn1 = tavik::detail::asn1;
    if (!data || !value || length > asn1::kMaxLength)
        return 0;
    std::size_t pos = 0;
    const auto tlv = asn1::readTyped(Bytes(data, length), pos, type);
    if (!tlv)
        return 0;
    tavik_asn1_value *out = asn1::newValue(type, tlv->content, tlv->encoding.size());
    if (!out)
        return 0;
    *value = out;
    return 1;
}

void tavik_asn1_value_free(tavik_asn1_value *value)
{
    tavik::detail::freeObject(value);
}

int tavik_asn1_value_gettype(const tavik_asn1_value *value)
{
    return value ? value->type : -1;
}

size_t tavik_asn1_value_getencodedlength(const tavik_asn1_value *value)
{
    return value ? value->encodedLength : 0;
}

tavik_data_blob *tavik_asn1_octetstring_getblob(const tavik_asn1_value *value)
{
    if (!isString(value))
        return nullptr;
    return tavik_data_blob_new(value->content.data(), value->content.size());
}

int tavik_asn1_integer_getlength(const tavik_asn1_value *value)
{
    if (!value || value->type != TAVIK_ASN1_INTEGER)
        return -1;
    return static_cast<int>(value->content.size());
}

int tavik_asn1_integer_get(const tavik_asn1_value *value, unsigned char *out, size_t outlength)
{
    if (!value || value->type != TAVIK_ASN1_INTEGER || !out || outlength < value->content.size())
        return 0;
    std::memcpy(out, value->content.data(), value->content.size());
    return 1;
}

int tavik_asn1_boolean_istrue(const tavik_asn1_value *value)
{
    if (!value || value->type != TAVIK_ASN1_BOOLEAN || value->content.size() != 1)
        return -1;
    return value->content[0] ? 1 : 0;
}

char *tavik_asn1_oid_getstring(const tavik_asn1_value *value)
{
    if (!value || value->type != TAVIK_ASN1_OID || value->content.empty() ||
        value->content.size() > INT_MAX)
        return nullptr;
    // OpenSSL prints arcs of any size; the content was checked when decoded.
    const tavik::detail::ObjectPtr object(
        ASN1_OBJECT_create(NID_undef, const_cast<unsigned char *>(value->content.data()),
                           static_cast<int>(value->content.size()), nullptr, nullptr));
    return tavik::detail::dottedOid(object.get());
}

} // extern "C"
