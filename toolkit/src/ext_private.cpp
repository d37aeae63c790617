// Private extensions read with OpenSSL's ASN.1 templates: identification
// items and the digest infos of old certificates. Each value must be exactly
// its DER encoding: trailing bytes and BER forms are refused.
#include <openssl/asn1t.h>
#include <openssl/x509.h>

#include <optional>
#include <vector>

#include "asn1.hpp"
#include "extensions.hpp"
#include "objects.hpp"

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

namespace asn1 = tavik::detail::asn1;

namespace {

//   IdentificationItem ::= SEQUENCE { type INTEGER, encoding INTEGER, value OCTET STRING }
struct ID_ITEM {
    ASN1_INTEGER *type;
    ASN1_INTEGER *encoding;
    ASN1_OCTET_STRING *value;
};
ASN1_SEQUENCE(ID_ITEM) = {
    ASN1_SIMPLE(ID_ITEM, type, ASN1_INTEGER),
    ASN1_SIMPLE(ID_ITEM, encoding, ASN1_INTEGER),
    ASN1_SIMPLE(ID_ITEM, value, ASN1_OCTET_STRING),
} ASN1_SEQUENCE_END(ID_ITEM)

DEFINE_STACK_OF(ID_ITEM) using ID_ITEMS = STACK_OF(ID_ITEM);
ASN1_ITEM_TEMPLATE(ID_ITEMS) = ASN1_EX_TEMPLATE_TYPE(ASN1_TFLG_SEQUENCE_OF, 0, IdentificationItems,
                                                     ID_ITEM) ASN1_ITEM_TEMPLATE_END(ID_ITEMS)

//   DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
// is OpenSSL's X509_SIG.
using DIGEST_INFOS = STACK_OF(X509_SIG);
ASN1_ITEM_TEMPLATE(DIGEST_INFOS) = ASN1_EX_TEMPLATE_TYPE(ASN1_TFLG_SEQUENCE_OF, 0, DigestInfos,
                                                         X509_SIG)
    ASN1_ITEM_TEMPLATE_END(DIGEST_INFOS)

std::vector<unsigned char> bytesOf(const ASN1_STRING *string)
{
    const unsigned char *data = ASN1_STRING_get0_data(string);
    return std::vector<unsigned char>(data, data + ASN1_STRING_length(string));
}

std::optional<std::int64_t> int64Of(const ASN1_INTEGER *value)
{
    std::int64_t out = 0;
    if (ASN1_INTEGER_get_int64(&out, value) != 1)
        return std::nullopt;
    return out;
}

std::optional<tavik_cert_identificationitem_st> readItem(const ID_ITEM *item)
{
    return tavik_cert_identificationitem_st{int64Of(item->type), int64Of(item->encoding),
                                            bytesOf(item->value)};
}

// Nesting allowed inside algorithm parameters, far beyond any real one.
constexpr int kMaxDepth = 32;

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

// OpenSSL keeps constructed parameters (ANY) as their raw encoding, BER
// included, so they are walked here.
bool parametersWellFormed(const X509_ALGOR *algorithm) noexcept
{
    const ASN1_TYPE *param = algorithm->parameter;
    if (!param || (param->type != V_ASN1_SEQUENCE && param->type != V_ASN1_SET &&
                   param->type != V_ASN1_OTHER))
        return true;
    const asn1::Bytes raw(ASN1_STRING_get0_data(param->value.asn1_string),
                          static_cast<std::size_t>(ASN1_STRING_length(param->value.asn1_string)));
    std::size_t pos = 0;
    const auto tlv = asn1::readTlv(raw, pos);
    return tlv && pos == raw.size() && wellFormed(*tlv, 0);
}

std::optional<tavik_cert_digestinfo_st> readDigestInfo(const X509_SIG *info)
{
    const X509_ALGOR *algorithm = nullptr;
    const ASN1_OCTET_STRING *digest = nullptr;
    X509_SIG_get0(info, &algorithm, &digest);
    if (!algorithm || !parametersWellFormed(algorithm))
        return std::nullopt;
    auto encoded = tavik::detail::encode(algorithm, i2d_X509_ALGOR);
    if (!encoded || !digest)
        return std::nullopt;
    return tavik_cert_digestinfo_st{std::move(*encoded), bytesOf(digest)};
}

// A SEQUENCE OF spanning the whole extension value, each element read by read.
template <class List, class Element, class Stack, const ASN1_ITEM *(*Item)(), class Read>
List *convert(const tavik_cert_ext *ext, Read read) noexcept
{
    return tavik::detail::guard<List *>(nullptr, [&]() -> List * {
        const tavik::detail::DerBytes value = tavik::detail::extValue(ext);
        const auto stack = tavik::detail::decodeItemDer<Stack, Item>(
            value.data, static_cast<std::size_t>(value.length));
        if (!stack)
            return nullptr;
        decltype(List::items) items;
        const auto *list = reinterpret_cast<const OPENSSL_STACK *>(stack.get());
        for (int i = 0; i < OPENSSL_sk_num(list); ++i) {
            auto item = read(static_cast<const Element *>(OPENSSL_sk_value(list, i)));
            if (!item)
                return nullptr;
            items.push_back(std::move(*item));
        }
        return tavik::detail::newObject<List>(std::move(items));
    });
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
    return convert<tavik_cert_identificationitems_st, ID_ITEM, ID_ITEMS, ID_ITEMS_it>(ext,
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
    return convert<tavik_cert_digestinfolist_st, X509_SIG, DIGEST_INFOS, DIGEST_INFOS_it>(
        ext, readDigestInfo);
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
    if (!info || info->algorithm.size() > static_cast<std::size_t>(LONG_MAX))
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
