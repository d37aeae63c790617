// Feeds bytes through the detail rows two ways: as a whole certificate, and
// as the value of one decoded extension (picked by the first byte) in an
// otherwise fixed certificate, so that mutations reach the decoders instead
// of dying in the certificate parser. Shared by the fuzzer and the test that
// replays the inputs it found.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "pkiui/detail_model.hpp"
#include "tavik_pki.h"
#include "tavik_ptr.hpp"

namespace pkiui::fuzz {

class DetailExercise {
  public:
    // false when an invariant broke (what() tells which).
    bool run(const unsigned char *data, std::size_t size)
    {
        certificate(data, size);
        if (size > 0)
            extension(data[0], data + 1, size - 1);
        return m_failed == nullptr;
    }
    const char *what() const { return m_failed ? m_failed : ""; }

  private:
    template <class T, void (*F)(T *)> using Ossl = std::unique_ptr<T, tavik::Free<F>>;

    const char *m_failed = nullptr;
    std::size_t m_sink = 0;

    void check(bool condition, const char *what)
    {
        if (!condition && !m_failed)
            m_failed = what;
    }

    static bool validUtf8(std::string_view text)
    {
        std::size_t i = 0;
        while (i < text.size()) {
            const auto c = static_cast<unsigned char>(text[i]);
            const std::size_t n = c < 0x80         ? 1
                                  : (c >> 5) == 6  ? 2
                                  : (c >> 4) == 14 ? 3
                                  : (c >> 3) == 30 ? 4
                                                   : 0;
            if (n == 0 || i + n > text.size())
                return false;
            for (std::size_t k = 1; k < n; ++k)
                if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80)
                    return false;
            i += n;
        }
        return true;
    }

    void certificate(const unsigned char *data, std::size_t size)
    {
        TAVIK_CERT_st *raw = nullptr;
        if (TavikPKICertNewFromData(data, size, &raw) != 1)
            return;
        const tavik::CertPtr cert(raw);
        rows(cert.get());
    }

    // Every row under every filter, each selected once.
    void rows(TAVIK_CERT_st *cert)
    {
        ShowCertDetailDlgModel model;
        std::size_t shown = 0;
        model.showContent = [&](const std::string &content) { shown += content.size() + 1; };
        check(model.setCertHandle(cert), "a loaded certificate was refused");
        for (const std::string &key : model.keys()) {
            const CertDetailInfoItem *item = model.item(key);
            check(item != nullptr, "a key without a row");
            if (!item)
                continue;
            check(!item->name.empty() && item->name == key, "row name differs from its key");
            check(validUtf8(item->value) && validUtf8(item->content), "row text is not UTF-8");
            check(item->type != 0 && (item->type & ~unsigned{kAllRows}) == 0,
                  "row kind out of range");
        }
        for (int index = 0; index <= 5; ++index) {
            model.switchToIndex(index);
            check(model.numberOfRows() <= static_cast<int>(model.keys().size()),
                  "filter adds rows");
            for (int row = -1; row <= model.numberOfRows(); ++row)
                model.selectionDidChange(row);
        }
        m_sink += shown;
    }

    // A key made once; the signature only has to make the bytes a certificate.
    static EVP_PKEY *signingKey()
    {
        static const Ossl<EVP_PKEY, EVP_PKEY_free> key(EVP_EC_gen("P-256"));
        return key.get();
    }

    void extension(unsigned char selector, const unsigned char *value, std::size_t size)
    {
        const auto oids = decodedExtensionOids();
        const std::string oid(oids[(selector >> 1) % oids.size()]);
        const bool critical = (selector & 1) != 0;

        const Ossl<X509, X509_free> x509(X509_new());
        const Ossl<ASN1_OBJECT, ASN1_OBJECT_free> object(OBJ_txt2obj(oid.c_str(), 1));
        const Ossl<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free> octets(ASN1_OCTET_STRING_new());
        if (!x509 || !object || !octets || !signingKey() ||
            !ASN1_OCTET_STRING_set(octets.get(), value, static_cast<int>(size)))
            return;
        const Ossl<X509_EXTENSION, X509_EXTENSION_free> ext(
            X509_EXTENSION_create_by_OBJ(nullptr, object.get(), critical ? 1 : 0, octets.get()));
        X509_NAME *name = X509_get_subject_name(x509.get());
        if (!ext || !X509_set_version(x509.get(), X509_VERSION_3) ||
            !ASN1_INTEGER_set(X509_get_serialNumber(x509.get()), 1) ||
            !X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                        reinterpret_cast<const unsigned char *>("fuzz"), -1, -1,
                                        0) ||
            !X509_set_issuer_name(x509.get(), name) ||
            !X509_gmtime_adj(X509_getm_notBefore(x509.get()), 0) ||
            !X509_gmtime_adj(X509_getm_notAfter(x509.get()), 86400) ||
            !X509_set_pubkey(x509.get(), signingKey()) ||
            !X509_add_ext(x509.get(), ext.get(), -1) ||
            !X509_sign(x509.get(), signingKey(), EVP_sha256()))
            return;
        unsigned char *der = nullptr;
        const int length = i2d_X509(x509.get(), &der);
        if (length <= 0)
            return;
        const Ossl<unsigned char, freeDer> owned(der);
        certificate(der, static_cast<std::size_t>(length));
    }

    static void freeDer(unsigned char *der) { OPENSSL_free(der); }
};

} // namespace pkiui::fuzz
