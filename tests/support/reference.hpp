// Helpers the toolkit and model tests share: turning toolkit values into
// comparable text, and making certificates around hand-written DER where no
// fixture has the case.
#pragma once

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fixtures.hpp"
#include "tavik_ptr.hpp"

namespace pkiui::test {

// Owners the model tests name through this header.
using tavik::CertPtr;
using tavik::ExtPtr;
using tavik::UStringPtr;
using ObjPtr = std::unique_ptr<ASN1_OBJECT, tavik::Free<ASN1_OBJECT_free>>;

inline void opensslFree(void *p)
{
    OPENSSL_free(p);
}

// ---- Text ----

// Upper-case digits, a separator (if any) between bytes.
inline std::string hex(const unsigned char *data, std::size_t length, const char *separator = "")
{
    std::string out;
    char two[3];
    for (std::size_t i = 0; i < length; ++i) {
        std::snprintf(two, sizeof two, "%02X", data[i]);
        out += (i ? separator : "") + std::string(two);
    }
    return out;
}
inline std::string hex(const Bytes &bytes)
{
    return hex(bytes.data(), bytes.size());
}
// Takes the blob over; "-" for none.
inline std::string hex(tavik_data_blob *owned)
{
    const tavik::BlobPtr blob(owned);
    return blob ? hex(blob->data, blob->length) : "-";
}

inline Bytes fromHex(const std::string &text)
{
    Bytes out;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return out;
}

// ---- Toolkit values, each taken over ----

inline std::string textOf(char *owned)
{
    const tavik::TextPtr text(owned);
    return text ? text.get() : "(null)";
}

inline std::optional<std::string> utf8(tavik_ustring *owned)
{
    const tavik::UStringPtr s(owned);
    char *out = nullptr;
    std::size_t length = 0;
    if (!s || tavik_ustring_tombs(s.get(), "UTF-8", &out, &length) != 1)
        return std::nullopt;
    const tavik::TextPtr text(out);
    return std::string(out, length);
}

// ---- DER by hand ----

inline Bytes tlv(unsigned char tag, const Bytes &content)
{
    const std::size_t n = content.size();
    Bytes out{tag};
    if (n >= 0x80) {
        out.push_back(0x82);
        out.push_back(static_cast<unsigned char>(n >> 8));
    }
    out.push_back(static_cast<unsigned char>(n & 0xFF));
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

inline Bytes operator+(Bytes a, const Bytes &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Bytes str(const std::string &s)
{
    return Bytes(s.begin(), s.end());
}

// ---- Certificates ----

// OpenSSL's decoding of a fixture, the reference the toolkit is compared with.
inline X509Ptr opensslCert(const std::string &name)
{
    const Bytes der = readFile(fixturePath(name + ".der"));
    const unsigned char *p = der.data();
    return X509Ptr(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
}

// Adds an extension whose value is the DER given.
inline bool addRawExt(X509 *x, const char *oid, const Bytes &value, bool critical = false)
{
    const ObjPtr obj(OBJ_txt2obj(oid, 1));
    const std::unique_ptr<ASN1_OCTET_STRING, tavik::Free<ASN1_OCTET_STRING_free>> octets(
        ASN1_OCTET_STRING_new());
    if (!obj || !octets ||
        !ASN1_OCTET_STRING_set(octets.get(), value.data(), static_cast<int>(value.size())))
        return false;
    const std::unique_ptr<X509_EXTENSION, tavik::Free<X509_EXTENSION_free>> ext(
        X509_EXTENSION_create_by_OBJ(nullptr, obj.get(), critical, octets.get()));
    return ext && X509_add_ext(x, ext.get(), -1);
}

// An extension to add as given: its OID, value (DER) and critical flag.
struct RawExt {
    std::string oid;
    Bytes value;
    bool critical = false;
};

// A v3 certificate OpenSSL makes with the subject name (DER, or empty for
// none) and the extensions, signed with a P-256 key, as a toolkit handle.
inline tavik::CertPtr certWith(const Bytes &subject, const std::vector<RawExt> &exts = {})
{
    static const KeyPtr key(EVP_EC_gen("P-256"));
    const X509Ptr x(X509_new());
    const unsigned char *p = subject.data();
    const std::unique_ptr<X509_NAME, tavik::Free<X509_NAME_free>> name(
        subject.empty() ? X509_NAME_new()
                        : d2i_X509_NAME(nullptr, &p, static_cast<long>(subject.size())));
    if (!key || !x || !name || X509_set_version(x.get(), X509_VERSION_3) != 1 ||
        !X509_set_subject_name(x.get(), name.get()) ||
        !X509_gmtime_adj(X509_getm_notBefore(x.get()), 0) ||
        !X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400) ||
        X509_set_pubkey(x.get(), key.get()) != 1)
        return nullptr;
    for (const RawExt &ext : exts)
        if (!addRawExt(x.get(), ext.oid.c_str(), ext.value, ext.critical))
            return nullptr;
    unsigned char *der = nullptr;
    const int length =
        X509_sign(x.get(), key.get(), EVP_sha256()) > 0 ? i2d_X509(x.get(), &der) : 0;
    TAVIK_CERT_st *cert = nullptr;
    if (length > 0)
        TavikPKICertNewFromData(der, static_cast<size_t>(length), &cert);
    OPENSSL_free(der);
    return tavik::CertPtr(cert);
}

inline tavik::ExtPtr findExt(TAVIK_CERT_st *cert, const char *oid)
{
    const tavik::ExtsPtr exts(tavik_cert_getexts(cert));
    return tavik::ExtPtr(tavik_cert_exts_find(exts.get(), oid));
}

} // namespace pkiui::test
