// The certificate's extension list,
//   Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension
//   Extension  ::= SEQUENCE { extnID OID, critical BOOLEAN DEFAULT FALSE,
//                             extnValue OCTET STRING }
// shared with the certificate it was read from, in stored order.
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <cstring>
#include <new>
#include <vector>

#include "cert_data.hpp"
#include "extensions.hpp"
#include "internal.hpp"
#include "objects.hpp"

using tavik::detail::freeObject;
using tavik::detail::newObject;

struct tavik_cert_exts_st {
    std::shared_ptr<STACK_OF(X509_EXTENSION)> items;
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

tavik_cert_ext *newExt(const tavik_cert_exts *exts, int index) noexcept
{
    X509_EXTENSION *ext = sk_X509_EXTENSION_value(exts->items.get(), index);
    return ext ? newObject<tavik_cert_ext_st>(std::shared_ptr<X509_EXTENSION>(exts->items, ext))
               : nullptr;
}

STACK_OF(X509_EXTENSION) * extensionsOf(TAVIK_CERT_st *cert) noexcept
{
    return cert ? cert->data->tbs().extensions : nullptr;
}

} // namespace

extern "C" {

int tavik_cert_hasexts(TAVIK_CERT_st *cert)
{
    return sk_X509_EXTENSION_num(extensionsOf(cert)) > 0 ? 1 : 0;
}

tavik_cert_exts *tavik_cert_getexts(TAVIK_CERT_st *cert)
{
    STACK_OF(X509_EXTENSION) *stack = extensionsOf(cert);
    if (sk_X509_EXTENSION_num(stack) <= 0)
        return nullptr;
    return newObject<tavik_cert_exts_st>(tavik::detail::shareOf(cert, stack));
}

void tavik_cert_exts_free(tavik_cert_exts *exts)
{
    freeObject(exts);
}

int tavik_cert_exts_getitemcount(const tavik_cert_exts *exts)
{
    return exts ? sk_X509_EXTENSION_num(exts->items.get()) : -1;
}

tavik_cert_ext *tavik_cert_exts_getitem(const tavik_cert_exts *exts, int index)
{
    if (!exts || index < 0 || index >= tavik_cert_exts_getitemcount(exts))
        return nullptr;
    return newExt(exts, index);
}

tavik_cert_ext *tavik_cert_exts_find(const tavik_cert_exts *exts, const char *oid)
{
    if (!exts || !oid)
        return nullptr;
    for (int i = 0; i < tavik_cert_exts_getitemcount(exts); ++i) {
        const tavik::TextPtr text(tavik::detail::dottedOid(
            X509_EXTENSION_get_object(sk_X509_EXTENSION_value(exts->items.get(), i))));
        if (text && std::strcmp(text.get(), oid) == 0)
            return newExt(exts, i);
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
