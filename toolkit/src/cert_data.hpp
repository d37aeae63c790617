// What a certificate handle holds: the certificate's DER, its fields read
// without decoding the public key, and OpenSSL's own object, made only when
// path building, verification or the key size need it. Duplicates share one.
// Never installed.
#pragma once

#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/safestack.h>
#include <openssl/x509.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "extensions.hpp"
#include "internal.hpp"
#include "name_items.hpp"

namespace tavik::detail {

using NameAttrPtr = ItemPtr<NAME_ATTR, NAME_ATTR_it>;
using NameRdnPtr = ItemPtr<NAME_RDN, NAME_RDN_it>;
using NameRdnsPtr = ItemPtr<NAME_RDNS, NAME_RDNS_it>;

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier,
//                                     subjectPublicKey BIT STRING }
struct CERT_SPKI {
    X509_ALGOR *algorithm;
    ASN1_BIT_STRING *key;
};
DECLARE_ASN1_ITEM(CERT_SPKI)

// TBSCertificate ::= SEQUENCE { version [0] EXPLICIT Version DEFAULT v1,
//     serialNumber, signature AlgorithmIdentifier, issuer Name, validity,
//     subject Name, subjectPublicKeyInfo, issuerUniqueID [1] IMPLICIT OPTIONAL,
//     subjectUniqueID [2] IMPLICIT OPTIONAL, extensions [3] EXPLICIT OPTIONAL }
struct CERT_TBS {
    ASN1_INTEGER *version;
    ASN1_INTEGER *serial;
    X509_ALGOR *signature;
    NAME_RDNS *issuer;
    X509_VAL *validity;
    NAME_RDNS *subject;
    CERT_SPKI *spki;
    ASN1_BIT_STRING *issuerUid;
    ASN1_BIT_STRING *subjectUid;
    STACK_OF(X509_EXTENSION) * extensions;
};
DECLARE_ASN1_ITEM(CERT_TBS)

// Certificate ::= SEQUENCE { tbsCertificate, signatureAlgorithm, signatureValue }
struct CERT_FIELDS {
    CERT_TBS *tbs;
    X509_ALGOR *signatureAlgorithm;
    ASN1_BIT_STRING *signature;
};
DECLARE_ASN1_ITEM(CERT_FIELDS)

using CertFieldsPtr = ItemPtr<CERT_FIELDS, CERT_FIELDS_it>;

class CertData {
  public:
    // Reads one certificate from the start of [*in, end) and moves *in past
    // it; aux, when given, is an X509_CERT_AUX that follows it (a trusted PEM
    // block). Null when the bytes are not a certificate. May throw
    // std::bad_alloc.
    static std::shared_ptr<CertData> read(const unsigned char **in, const unsigned char *end);
    static std::shared_ptr<CertData> readWithAux(const unsigned char *data, std::size_t length);
    // Around an object OpenSSL already made (a path's certificates).
    static std::shared_ptr<CertData> fromX509(X509 *x509);

    const CERT_TBS &tbs() const noexcept { return *m_fields->tbs; }
    const CERT_FIELDS &fields() const noexcept { return *m_fields; }
    // The certificate's DER, without any trailing aux.
    const unsigned char *der() const noexcept { return m_bytes.data(); }
    std::size_t derLength() const noexcept { return m_derLength; }
    bool hasAux() const noexcept { return m_bytes.size() > m_derLength; }
    // Only an object read with its aux, or made by OpenSSL, can carry an alias.
    bool mayHaveAlias() const noexcept { return m_fromObject; }

    // OpenSSL's object, made on the first call from any thread; null when
    // OpenSSL refuses the certificate (a name holding a value of a type it
    // does not allow).
    X509 *x509() const noexcept;

    CertData(std::vector<unsigned char> bytes, std::size_t derLength, CertFieldsPtr fields) noexcept
        : m_bytes(std::move(bytes)), m_derLength(derLength), m_fields(std::move(fields))
    {
    }

  private:
    std::vector<unsigned char> m_bytes; // the DER, then the aux if any
    std::size_t m_derLength;
    CertFieldsPtr m_fields;
    bool m_fromObject = false;
    mutable std::once_flag m_once;
    mutable X509Ptr m_x509;
};

// A pointer into a certificate's parsed fields that keeps the certificate alive.
template <class T> std::shared_ptr<T> shareOf(const TAVIK_CERT_st *cert, T *part) noexcept
{
    return cert && part ? std::shared_ptr<T>(cert->data, part) : nullptr;
}

} // namespace tavik::detail
