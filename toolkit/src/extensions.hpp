// The extension handle and the whole-value decoding that every typed
// converter uses. Never installed.
#pragma once

#include <openssl/asn1.h>
#include <openssl/crypto.h>
#include <openssl/safestack.h>
#include <openssl/x509.h>

#include <climits>
#include <memory>
#include <utility>

#include "objects.hpp"

// One extension of a list, sharing the certificate it belongs to.
struct tavik_cert_ext_st {
    std::shared_ptr<X509_EXTENSION> ext;
};

namespace tavik::detail {

// Owner of a value of the ASN.1 item, released with the item's template.
template <const ASN1_ITEM *(*Item)()> void itemFree(void *p) noexcept
{
    ASN1_item_free(static_cast<ASN1_VALUE *>(p), Item());
}
template <class T, const ASN1_ITEM *(*Item)()>
using ItemPtr = std::unique_ptr<T, tavik::Free<itemFree<Item>>>;

// The bytes of one DER value; null data when there is none.
struct DerBytes {
    const unsigned char *data = nullptr;
    long length = 0;
};

// The contents of extnValue (null data on a null handle or a value over
// 2^31 bytes).
DerBytes extValue(const tavik_cert_ext *ext) noexcept;

// The extension value read as the item; null when it does not decode or
// when bytes follow the value.
template <class T, const ASN1_ITEM *(*Item)()>
ItemPtr<T, Item> decodeWhole(const tavik_cert_ext *ext) noexcept
{
    const DerBytes value = extValue(ext);
    if (!value.data)
        return nullptr;
    const unsigned char *p = value.data;
    ItemPtr<T, Item> out(reinterpret_cast<T *>(ASN1_item_d2i(nullptr, &p, value.length, Item())));
    if (!out || p != value.data + value.length)
        return nullptr;
    return out;
}

// A value of the item, only when data is its whole DER encoding.
template <class T, const ASN1_ITEM *(*Item)()>
ItemPtr<T, Item> decodeItemDer(const unsigned char *data, std::size_t length) noexcept
{
    return decodeDer<ItemPtr<T, Item>>(
        data, length,
        [](T **, const unsigned char **in, long size) {
            return reinterpret_cast<T *>(ASN1_item_d2i(nullptr, in, size, Item()));
        },
        [](const T *value, unsigned char **out) {
            return ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE *>(value), out, Item());
        });
}

// The magnitude of a non-negative INTEGER; null for a negative one.
inline OsslPtr<BIGNUM, BN_free> magnitudeOf(const ASN1_INTEGER *value) noexcept
{
    if (!value || ASN1_STRING_type(value) != V_ASN1_INTEGER)
        return nullptr;
    return OsslPtr<BIGNUM, BN_free>(ASN1_INTEGER_to_BN(value, nullptr));
}

// DER of one value of the item as a new blob; null on failure.
inline tavik_data_blob *encodeItem(const void *value, const ASN1_ITEM *item) noexcept
{
    return encodeBlob(value, [item](const void *v, unsigned char **out) {
        return ASN1_item_i2d(static_cast<const ASN1_VALUE *>(v), out, item);
    });
}

// A new handle around a decoded value; null when there is none.
template <class Handle, class Ptr> Handle *wrap(Ptr value) noexcept
{
    return value ? newObject<Handle>(std::move(value)) : nullptr;
}

// The number of entries of a list handle's stack (its value member); -1 for
// a null handle.
template <class List> int listCount(const List *list) noexcept
{
    return list ? OPENSSL_sk_num(reinterpret_cast<const OPENSSL_STACK *>(list->value.get())) : -1;
}

// A new handle around entry index of a list handle's stack of T, sharing the
// list; null for a null handle or an index out of range.
template <class Handle, class T, class List> Handle *listItem(const List *list, int index) noexcept
{
    if (!list)
        return nullptr;
    const auto *stack = reinterpret_cast<const OPENSSL_STACK *>(list->value.get());
    return wrap<Handle>(
        partOf(list->value, static_cast<const T *>(OPENSSL_sk_value(stack, index))));
}

} // namespace tavik::detail
