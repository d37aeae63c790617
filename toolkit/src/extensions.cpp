// The certificate's extension list,
//   Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
//   Extension  ::= SEQUENCE { extnID OID, critical BOOLEAN DEFAULT FALSE,
//                             extnValue OCTET STRING }
// held as owning copies in stored order.
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <cstring>
#include <new>
#include <vector>

#include "extensions.hpp"
#include "internal.hpp"
#include "objects.hpp"

using tavik::detail::freeObject;
using tavik::detail::newObject;
using tavik::detail::OsslPtr;

using ExtensionPtr = OsslPtr<X509_EXTENSION, X509_EXTENSION_free>;

struct tavik_cert_exts_st {
    std::vector<ExtensionPtr> items;
};

namespace tavik::detail {

DerBytes extValue(const tavik_cert_ext *ext) noexcept
{
    if (!ext || !ext->ext)
        return {};
    const ASN1_OCTET_STRING *value = X509_EXTENSION_get_data(ext->ext.get());
    if (!value)
        return {};
    static const unsigned char kEmpty = 0;
    const int length = ASN1_STRING_length(value);
    const unsigned char *data = ASN1_STRING_get0_data(value);
    if (length == 0)
        return {&kEmpty, 0};
    if (length < 0 || !data)
        return {};
    return {data, length};
}

} // namespace tavik::detail

namespace {

tavik_cert_ext *newExt(const X509_EXTENSION *ext) noexcept
{
    ExtensionPtr copy(ext ? X509_EXTENSION_dup(ext) : nullptr);
    if (!copy)
        return nullptr;
    return newObject<tavik_cert_ext_st>(std::move(copy));
}

int extCount(TAVIK_CERT_st *cert) noexcept
{
    if (!cert || !cert->x509)
        return 0;
    const int count = sk_X509_EXTENSION_num(X509_get0_extensions(cert->x509));
    return count > 0 ? count : 0;
}

} // namespace

extern "C" {

int tavik_cert_hasexts(TAVIK_CERT_st *cert)
{
    return extCount(cert) > 0 ? 1 : 0;
}

tavik_cert_exts *tavik_cert_getexts(TAVIK_CERT_st *cert)
{
    const int count = extCount(cert);
    if (count == 0)
        return nullptr;
    const STACK_OF(X509_EXTENSION) *stack = X509_get0_extensions(cert->x509);
    return tavik::detail::guard<tavik_cert_exts *>(nullptr, [&]() -> tavik_cert_exts * {
        std::vector<ExtensionPtr> items;
        items.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            ExtensionPtr copy(X509_EXTENSION_dup(sk_X509_EXTENSION_value(stack, i)));
            if (!copy)
                return nullptr;
            items.push_back(std::move(copy));
        }
        return newObject<tavik_cert_exts_st>(std::move(items));
    });
}

void tavik_cert_exts_free(tavik_cert_exts *exts)
{
    freeObject(exts);
}

int tavik_cert_exts_getitemcount(const tavik_cert_exts *exts)
{
    return exts ? static_cast<int>(exts->items.size()) : -1;
}

tavik_cert_ext *tavik_cert_exts_getitem(const tavik_cert_exts *exts, int index)
{
    if (!exts || index < 0 || static_cast<std::size_t>(index) >= exts->items.size())
        return nullptr;
    return newExt(exts->items[static_cast<std::size_t>(index)].get());
}

tavik_cert_ext *tavik_cert_exts_find(const tavik_cert_exts *exts, const char *oid)
{
    if (!exts || !oid)
        return nullptr;
    for (const ExtensionPtr &item : exts->items) {
        char *text = tavik::detail::dottedOid(X509_EXTENSION_get_object(item.get()));
        const bool same = text && std::strcmp(text, oid) == 0;
        tavik_free(text);
        if (same)
            return newExt(item.get());
    }
    return nullptr;
}

void tavik_cert_ext_free(tavik_cert_ext *ext)
{
    freeObject(ext);
}

char *tavik_cert_ext_getextid(const tavik_cert_ext *ext)
{
    if (!ext || !ext->ext)
        return nullptr;
    return tavik::detail::dottedOid(X509_EXTENSION_get_object(ext->ext.get()));
}

int tavik_cert_ext_iscrical(const tavik_cert_ext *ext)
{
    if (!ext || !ext->ext)
        return 0;
    return X509_EXTENSION_get_critical(ext->ext.get()) > 0 ? 1 : 0;
}

tavik_data_blob *tavik_cert_ext_getvalue(const tavik_cert_ext *ext)
{
    const tavik::detail::DerBytes value = tavik::detail::extValue(ext);
    if (!value.data)
        return nullptr;
    return tavik_data_blob_new(value.data, static_cast<std::size_t>(value.length));
}

} // extern "C"
