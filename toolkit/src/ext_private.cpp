// Private extensions read with the toolkit's DER reader: identification items
// and the digest infos of old certificates. Each level must be exactly one
// well-formed DER value: trailing bytes are refused everywhere.
#include <openssl/x509.h>

#include <new>
#include <optional>
#include <vector>

#include "asn1.hpp"
#include "objects.hpp"
#include "tavik_ptr.hpp"

namespace asn1 = tavik::detail::asn1;

struct tavik_cert_identificationitem_st {
    std::optional<std::int64_t> type; // absent when it does not fit 64 bits
    std::optional<std::int64_t> encoding;
    std::vector<unsigned char> value;
};

struct tavik_cert_identificationitems_st {
    std::vector<tavik_cert_identificationitem_st> items;
};

struct tavik_cert_digestinfo_st {
    std::vector<unsigned char> algorithm; // DER of the AlgorithmIdentifier
    std::vector<unsigned char> digest;
};

struct tavik_cert_digestinfolist_st {
    std::vector<tavik_cert_digestinfo_st> items;
};

namespace {

using asn1::Bytes;

constexpr int kSequenceTag = 16;
// Nesting allowed inside algorithm parameters, far beyond any real one.
constexpr int kMaxDepth = 32;

std::vector<unsigned char> copyOf(Bytes bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The content of a universal SEQUENCE at bytes[pos].
std::optional<Bytes> readSequence(Bytes bytes, std::size_t &pos) noexcept
{
    const auto tlv = asn1::readTlv(bytes, pos);
    if (!tlv || tlv->id.cls != TAVIK_ASN1_CLASS_UNIVERSAL || !tlv->id.constructed ||
        tlv->id.tag != kSequenceTag)
        return std::nullopt;
    return tlv->content;
}

// Every TLV inside a constructed value is definite-length DER as well.
bool wellFormed(const asn1::Tlv &tlv, int depth) noexcept
{
    if (!tlv.id.constructed)
        return true;
    if (depth >= kMaxDepth)
        return false;
    for (std::size_t pos = 0; pos < tlv.content.size();) {
        const auto inner = asn1::readTlv(tlv.content, pos);
        if (!inner || !wellFormed(*inner, depth + 1))
            return false;
    }
    return true;
}

// The elements of a SEQUENCE OF spanning the whole value, each read by read.
template <class T, class Read> std::optional<std::vector<T>> readSequenceOf(Bytes value, Read read)
{
    std::size_t pos = 0;
    const auto list = readSequence(value, pos);
    if (!list || pos != value.size())
        return std::nullopt;
    std::vector<T> items;
    for (std::size_t at = 0; at < list->size();) {
        const auto element = readSequence(*list, at);
        std::optional<T> item = element ? read(*element) : std::nullopt;
        if (!item)
            return std::nullopt;
        items.push_back(std::move(*item));
    }
    return items;
}

// SEQUENCE { type INTEGER, encoding INTEGER, value OCTET STRING }
std::optional<tavik_cert_identificationitem_st> readItem(Bytes fields)
{
    std::size_t pos = 0;
    const auto type = asn1::readTyped(fields, pos, TAVIK_ASN1_INTEGER);
    if (!type)
        return std::nullopt;
    const auto encoding = asn1::readTyped(fields, pos, TAVIK_ASN1_INTEGER);
    if (!encoding)
        return std::nullopt;
    const auto value = asn1::readTyped(fields, pos, TAVIK_ASN1_OCTET_STRING);
    if (!value || pos != fields.size())
        return std::nullopt;
    return tavik_cert_identificationitem_st{asn1::integerValue(type->content),
                                            asn1::integerValue(encoding->content),
                                            copyOf(value->content)};
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER,
//                                    parameters ANY DEFINED BY algorithm OPTIONAL }
// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
std::optional<tavik_cert_digestinfo_st> readDigestInfo(Bytes fields)
{
    std::size_t pos = 0;
    const auto algorithm = asn1::readTlv(fields, pos);
    if (!algorithm || algorithm->id.cls != TAVIK_ASN1_CLASS_UNIVERSAL ||
        !algorithm->id.constructed || algorithm->id.tag != kSequenceTag)
        return std::nullopt;
    const auto digest = asn1::readTyped(fields, pos, TAVIK_ASN1_OCTET_STRING);
    if (!digest || pos != fields.size())
        return std::nullopt;

    std::size_t at = 0;
    const Bytes parts = algorithm->content;
    if (!asn1::readTyped(parts, at, TAVIK_ASN1_OID))
        return std::nullopt;
    if (at < parts.size()) {
        const auto parameters = asn1::readTlv(parts, at);
        if (!parameters || !wellFormed(*parameters, 0) || at != parts.size())
            return std::nullopt;
    }
    return tavik_cert_digestinfo_st{copyOf(algorithm->encoding), copyOf(digest->content)};
}

// The extension's value, or nothing.
std::optional<std::vector<unsigned char>> valueOf(const tavik_cert_ext *ext)
{
    const tavik::BlobPtr blob(ext ? tavik_cert_ext_getvalue(ext) : nullptr);
    if (!blob || !blob->data || blob->length > asn1::kMaxLength)
        return std::nullopt;
    return std::vector<unsigned char>(blob->data, blob->data + blob->length);
}

template <class List, class Item, class Read>
List *convert(const tavik_cert_ext *ext, Read read) noexcept
{
    try {
        const auto value = valueOf(ext);
        auto items = value ? readSequenceOf<Item>(*value, read) : std::nullopt;
        return items ? tavik::detail::newObject<List>(std::move(*items)) : nullptr;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

template <class List> int countOf(const List *list) noexcept
{
    return list ? static_cast<int>(list->items.size()) : -1;
}

template <class Item, class List> Item *itemOf(const List *list, int index) noexcept
{
    if (!list || index < 0 || static_cast<std::size_t>(index) >= list->items.size())
        return nullptr;
    return tavik::detail::newObject<Item>(list->items[static_cast<std::size_t>(index)]);
}

int integerOut(const std::optional<std::int64_t> &value, int64_t *out) noexcept
{
    if (!value || !out)
        return 0;
    *out = *value;
    return 1;
}

tavik_data_blob *blobOf(const std::vector<unsigned char> &bytes) noexcept
{
    return tavik_data_blob_new(bytes.data(), bytes.size());
}

} // namespace

extern "C" {

tavik_cert_identificationitems *tavik_cert_ext_toidentificationitems(const tavik_cert_ext *ext)
{
    return convert<tavik_cert_identificationitems_st, tavik_cert_identificationitem_st>(ext,
                                                                                        readItem);
}

void tavik_cert_identificationitems_free(tavik_cert_identificationitems *items)
{
    tavik::detail::freeObject(items);
}

int tavik_cert_identificationitems_getitemcount(const tavik_cert_identificationitems *items)
{
    return countOf(items);
}

tavik_cert_identificationitem *
tavik_cert_identificationitems_getitem(const tavik_cert_identificationitems *items, int index)
{
    return itemOf<tavik_cert_identificationitem_st>(items, index);
}

void tavik_cert_identificationitem_free(tavik_cert_identificationitem *item)
{
    tavik::detail::freeObject(item);
}

int tavik_cert_identificationitem_gettype(const tavik_cert_identificationitem *item, int64_t *type)
{
    return item ? integerOut(item->type, type) : 0;
}

int tavik_cert_identificationitem_getencode(const tavik_cert_identificationitem *item,
                                            int64_t *encoding)
{
    return item ? integerOut(item->encoding, encoding) : 0;
}

tavik_data_blob *tavik_cert_identificationitem_getvalue(const tavik_cert_identificationitem *item)
{
    return item ? blobOf(item->value) : nullptr;
}

tavik_cert_digestinfolist *tavik_cert_ext_todigestinfolist(const tavik_cert_ext *ext)
{
    return convert<tavik_cert_digestinfolist_st, tavik_cert_digestinfo_st>(ext, readDigestInfo);
}

void tavik_cert_digestinfolist_free(tavik_cert_digestinfolist *list)
{
    tavik::detail::freeObject(list);
}

int tavik_cert_digestinfolist_getitemcount(const tavik_cert_digestinfolist *list)
{
    return countOf(list);
}

tavik_cert_digestinfo *tavik_cert_digestinfolist_getitem(const tavik_cert_digestinfolist *list,
                                                         int index)
{
    return itemOf<tavik_cert_digestinfo_st>(list, index);
}

void tavik_cert_digestinfo_free(tavik_cert_digestinfo *info)
{
    tavik::detail::freeObject(info);
}

tavik_cert_algorithmid *tavik_cert_digestinfo_getalgorithm(const tavik_cert_digestinfo *info)
{
    if (!info || info->algorithm.size() > asn1::kMaxLength)
        return nullptr;
    const unsigned char *p = info->algorithm.data();
    const tavik::detail::AlgorPtr algorithm(
        d2i_X509_ALGOR(nullptr, &p, static_cast<long>(info->algorithm.size())));
    if (!algorithm || p != info->algorithm.data() + info->algorithm.size())
        return nullptr;
    return tavik::detail::newAlgorithmId(algorithm.get());
}

tavik_data_blob *tavik_cert_digestinfo_gethashvalue(const tavik_cert_digestinfo *info)
{
    return info ? blobOf(info->digest) : nullptr;
}

} // extern "C"
