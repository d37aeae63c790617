// Certificate handles: loading from DER or PEM, the fields read without the
// key, OpenSSL's object made on demand, duplication, release and the validity
// period.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "cert_data.hpp"
#include "internal.hpp"
#include "store.hpp"
#include "values.hpp"

namespace tavik::detail {

namespace {

CertFieldsPtr readFields(const unsigned char **in, const unsigned char *end)
{
    const auto remaining = end - *in;
    if (remaining <= 0 || remaining > LONG_MAX)
        return nullptr;
    return CertFieldsPtr(reinterpret_cast<CERT_FIELDS *>(
        ASN1_item_d2i(nullptr, in, static_cast<long>(remaining), CERT_FIELDS_it())));
}

} // namespace

ASN1_SEQUENCE(NAME_ATTR) = {
    ASN1_SIMPLE(NAME_ATTR, type, ASN1_OBJECT),
    ASN1_SIMPLE(NAME_ATTR, value, ASN1_ANY),
} ASN1_SEQUENCE_END(NAME_ATTR)

ASN1_ITEM_TEMPLATE(NAME_RDN) = ASN1_EX_TEMPLATE_TYPE(ASN1_TFLG_SET_OF, 0, RelativeDistinguishedName,
                                                     NAME_ATTR) ASN1_ITEM_TEMPLATE_END(NAME_RDN)

ASN1_ITEM_TEMPLATE(NAME_RDNS) = ASN1_EX_TEMPLATE_TYPE(ASN1_TFLG_SEQUENCE_OF, 0, Name, NAME_RDN)
    ASN1_ITEM_TEMPLATE_END(NAME_RDNS)

ASN1_SEQUENCE(CERT_SPKI) = {
    ASN1_SIMPLE(CERT_SPKI, algorithm, X509_ALGOR),
    ASN1_SIMPLE(CERT_SPKI, key, ASN1_BIT_STRING),
} ASN1_SEQUENCE_END(CERT_SPKI)

ASN1_SEQUENCE(CERT_TBS) = {
    ASN1_EXP_OPT(CERT_TBS, version, ASN1_INTEGER, 0),
    ASN1_SIMPLE(CERT_TBS, serial, ASN1_INTEGER),
    ASN1_SIMPLE(CERT_TBS, signature, X509_ALGOR),
    ASN1_SIMPLE(CERT_TBS, issuer, NAME_RDNS),
    ASN1_SIMPLE(CERT_TBS, validity, X509_VAL),
    ASN1_SIMPLE(CERT_TBS, subject, NAME_RDNS),
    ASN1_SIMPLE(CERT_TBS, spki, CERT_SPKI),
    ASN1_IMP_OPT(CERT_TBS, issuerUid, ASN1_BIT_STRING, 1),
    ASN1_IMP_OPT(CERT_TBS, subjectUid, ASN1_BIT_STRING, 2),
    ASN1_EXP_SEQUENCE_OF_OPT(CERT_TBS, extensions, X509_EXTENSION, 3),
} ASN1_SEQUENCE_END(CERT_TBS)

ASN1_SEQUENCE(CERT_FIELDS) = {
    ASN1_SIMPLE(CERT_FIELDS, tbs, CERT_TBS),
    ASN1_SIMPLE(CERT_FIELDS, signatureAlgorithm, X509_ALGOR),
    ASN1_SIMPLE(CERT_FIELDS, signature, ASN1_BIT_STRING),
} ASN1_SEQUENCE_END(CERT_FIELDS)

// Only the fields are read here: OpenSSL's d2i_X509 would also decode the
// public key through its provider decoders, which is most of its cost and
// which the rows never need.
std::shared_ptr<CertData> CertData::read(const unsigned char **in, const unsigned char *end)
{
    const unsigned char *const start = *in;
    const unsigned char *p = start;
    CertFieldsPtr fields = readFields(&p, end);
    if (!fields)
        return nullptr;
    auto data = std::make_shared<CertData>(std::vector<unsigned char>(start, p),
                                           static_cast<std::size_t>(p - start), std::move(fields));
    *in = p;
    return data;
}

// A trusted PEM block: the certificate, then optionally its X509_CERT_AUX,
// which only OpenSSL's object reads (trust settings, alias).
std::shared_ptr<CertData> CertData::readWithAux(const unsigned char *bytes, std::size_t length)
{
    const unsigned char *const end = bytes + length;
    const unsigned char *p = bytes;
    CertFieldsPtr fields = readFields(&p, end);
    if (!fields)
        return nullptr;
    const auto derLength = static_cast<std::size_t>(p - bytes);
    if (p < end) {
        using AuxPtr = OsslPtr<X509_CERT_AUX, X509_CERT_AUX_free>;
        const AuxPtr aux(d2i_X509_CERT_AUX(nullptr, &p, static_cast<long>(end - p)));
        if (!aux)
            return nullptr;
    }
    auto data = std::make_shared<CertData>(std::vector<unsigned char>(bytes, p), derLength,
                                           std::move(fields));
    data->m_fromObject = p > bytes + derLength;
    return data;
}

std::shared_ptr<CertData> CertData::fromX509(X509 *x509)
{
    X509Ptr owned(x509);
    const auto der = encode(x509, i2d_X509);
    if (!der)
        return nullptr;
    const unsigned char *p = der->data();
    CertFieldsPtr fields = readFields(&p, der->data() + der->size());
    if (!fields || p != der->data() + der->size())
        return nullptr;
    auto data = std::make_shared<CertData>(*der, der->size(), std::move(fields));
    ensureSm2Id(owned.get());
    data->m_x509 = std::move(owned);
    data->m_fromObject = true;
    return data;
}

X509 *CertData::x509() const noexcept
{
    std::call_once(m_once, [this] {
        if (m_x509)
            return;
        ERR_set_mark();
        const unsigned char *p = m_bytes.data();
        const auto length = static_cast<long>(m_bytes.size());
        X509Ptr x509(hasAux() ? d2i_X509_AUX(nullptr, &p, length) : d2i_X509(nullptr, &p, length));
        ERR_pop_to_mark();
        // Verification of SM2 signatures needs the default identifier attached.
        if (x509)
            ensureSm2Id(x509.get());
        m_x509 = std::move(x509);
    });
    return m_x509.get();
}

} // namespace tavik::detail

namespace {

using tavik::detail::BioPtr;
using tavik::detail::CertData;
using tavik::detail::FilePtr;
using CertList = std::vector<std::shared_ptr<const CertData>>;

// Larger files are not certificates; the bound also stops reads of endless
// device files.
constexpr std::size_t kMaxFileSize = 64u * 1024u * 1024u;

// Encrypted PEM blocks are refused instead of prompting on a terminal.
int noPassword(char *, int, int, void *)
{
    return -1;
}

// Consecutive DER certificates filling the whole input; a single one unless all.
int decodeDer(const unsigned char *data, std::size_t length, bool all, CertList &out)
{
    const unsigned char *p = data;
    const unsigned char *const end = data + length;
    while (p < end) {
        auto cert = CertData::read(&p, end);
        if (!cert)
            return TAVIK_ERR_ARGUMENT;
        out.push_back(std::move(cert));
        if (!all)
            break;
    }
    // Bytes after the certificate mean this is not a DER certificate file.
    return p == end ? 1 : TAVIK_ERR_ARGUMENT;
}

constexpr std::array<std::string_view, 3> kCertificateBlocks{"CERTIFICATE", "X509 CERTIFICATE",
                                                             "TRUSTED CERTIFICATE"};

bool isCertificateBlock(std::string_view name)
{
    return std::find(kCertificateBlocks.begin(), kCertificateBlocks.end(), name) !=
           kCertificateBlocks.end();
}

// One "-----BEGIN X-----" ... "-----END X-----" block; TRUSTED CERTIFICATE
// blocks keep their aux.
std::shared_ptr<const CertData> decodePemBlock(std::string_view block)
{
    // The PEM reader wants the END line terminated.
    const std::string text = std::string(block) + "\n";
    BioPtr bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    if (!bio)
        return nullptr;
    char *name = nullptr;
    char *header = nullptr;
    unsigned char *data = nullptr;
    long length = 0;
    ERR_set_mark();
    const int read = PEM_read_bio(bio.get(), &name, &header, &data, &length);
    const tavik::detail::OsslTextPtr ownedName(name), ownedHeader(header);
    const tavik::detail::OsslBytesPtr ownedData(data);
    EVP_CIPHER_INFO cipher;
    const bool plain = read == 1 && PEM_get_EVP_CIPHER_INFO(header, &cipher) == 1 &&
                       PEM_do_header(&cipher, data, &length, noPassword, nullptr) == 1;
    ERR_pop_to_mark();
    if (!plain || length <= 0)
        return nullptr;
    return CertData::readWithAux(data, static_cast<std::size_t>(length));
}

// The certificate blocks of PEM text in order. Other blocks (keys, parameters,
// empty or damaged ones) and text between blocks are skipped unread; a damaged
// certificate block fails the whole input.
// Written by hand on purpose: PEM_X509_INFO_read_bio and PEM_read_bio_X509
// stop at the first block they cannot decode, so a bundle with a damaged key
// beside good certificates would load nothing.
int decodePem(const unsigned char *data, std::size_t length, bool all, CertList &out)
{
    if (length > static_cast<std::size_t>(INT_MAX))
        return TAVIK_ERR_ARGUMENT;
    constexpr std::string_view kBegin = "-----BEGIN ";
    constexpr std::string_view kDashes = "-----";
    const std::string_view text(reinterpret_cast<const char *>(data), length);
    std::size_t pos = 0;
    while ((pos = text.find(kBegin, pos)) != std::string_view::npos) {
        const std::size_t nameStart = pos + kBegin.size();
        const std::size_t nameEnd = text.find(kDashes, nameStart);
        if (nameEnd == std::string_view::npos)
            break;
        const std::string_view name = text.substr(nameStart, nameEnd - nameStart);
        if (name.find('\n') != std::string_view::npos) {
            pos = nameStart;
            continue;
        }
        const std::string endLine = "-----END " + std::string(name) + "-----";
        const std::size_t endPos = text.find(endLine, nameEnd);
        const bool certificate = isCertificateBlock(name);
        if (endPos == std::string_view::npos) {
            if (certificate)
                return TAVIK_ERR_ARGUMENT;
            break;
        }
        const std::size_t blockEnd = endPos + endLine.size();
        if (certificate) {
            auto cert = decodePemBlock(text.substr(pos, blockEnd - pos));
            if (!cert)
                return TAVIK_ERR_ARGUMENT;
            out.push_back(std::move(cert));
            if (!all)
                break;
        }
        pos = blockEnd;
    }
    return out.empty() ? TAVIK_ERR_NOT_FOUND : 1;
}

bool looksLikePem(const unsigned char *data, std::size_t length)
{
    const std::string_view text(reinterpret_cast<const char *>(data), length);
    return text.find("-----BEGIN ") != std::string_view::npos;
}

int decode(const unsigned char *data, std::size_t length, bool all, CertList &out)
{
    if (!data && length)
        return TAVIK_ERR_ARGUMENT;
    if (length == 0)
        return TAVIK_ERR_NOT_FOUND;
    // A DER certificate is a SEQUENCE; anything else can only be PEM.
    if (data[0] == 0x30) {
        ERR_set_mark();
        const int rc = decodeDer(data, length, all, out);
        ERR_pop_to_mark();
        if (rc == 1 || !looksLikePem(data, length))
            return rc;
        out.clear();
    }
    return decodePem(data, length, all, out);
}

int readFile(const char *path, std::vector<unsigned char> &bytes)
{
    if (!path)
        return TAVIK_ERR_ARGUMENT;
    FilePtr file(std::fopen(path, "rb"));
    if (!file)
        return TAVIK_ERR_NOT_FOUND;
    unsigned char chunk[16384];
    for (;;) {
        const std::size_t n = std::fread(chunk, 1, sizeof chunk, file.get());
        bytes.insert(bytes.end(), chunk, chunk + n);
        if (bytes.size() > kMaxFileSize)
            return TAVIK_ERR_ARGUMENT;
        if (n < sizeof chunk)
            break;
    }
    // A directory opens but does not read.
    return std::ferror(file.get()) ? TAVIK_ERR_NOT_FOUND : 1;
}

int newFirst(const unsigned char *data, std::size_t length, TAVIK_CERT_st **cert)
{
    if (!cert)
        return TAVIK_ERR_ARGUMENT;
    CertList certs;
    const int rc = tavik::detail::guard<int>(TAVIK_ERR_MEMORY,
                                             [&] { return decode(data, length, false, certs); });
    if (rc != 1)
        return rc;
    TAVIK_CERT_st *handle = tavik::detail::newCertHandle(std::move(certs.front()));
    if (!handle)
        return TAVIK_ERR_MEMORY;
    *cert = handle;
    return 1;
}

int newAll(const unsigned char *data, std::size_t length, TAVIK_CERT_st ***certs, int *count)
{
    if (!certs || !count)
        return TAVIK_ERR_ARGUMENT;
    CertList decoded;
    const int rc = tavik::detail::guard<int>(TAVIK_ERR_MEMORY,
                                             [&] { return decode(data, length, true, decoded); });
    if (rc != 1)
        return rc;
    if (decoded.size() > static_cast<std::size_t>(INT_MAX))
        return TAVIK_ERR_ARGUMENT;
    const int n = static_cast<int>(decoded.size());
    TAVIK_CERT_st **array = tavik::detail::newCertArray(decoded.size());
    if (!array)
        return TAVIK_ERR_MEMORY;
    for (int i = 0; i < n; ++i) {
        array[i] = tavik::detail::newCertHandle(std::move(decoded[static_cast<std::size_t>(i)]));
        if (!array[i]) {
            TavikPKICertFreeCertPath(array, n);
            return TAVIK_ERR_MEMORY;
        }
    }
    *certs = array;
    *count = n;
    return 1;
}

} // namespace

namespace tavik::detail {

TAVIK_CERT_st *newCertHandle(std::shared_ptr<const CertData> data) noexcept
{
    return data ? newObject<TAVIK_CERT_st>(std::move(data)) : nullptr;
}

TAVIK_CERT_st **newCertArray(std::size_t count) noexcept
{
    if (count > SIZE_MAX / sizeof(TAVIK_CERT_st *))
        return nullptr;
    const std::size_t size = (count ? count : 1) * sizeof(TAVIK_CERT_st *);
    auto *array = static_cast<TAVIK_CERT_st **>(tavik_malloc(size, __FILE__, __LINE__));
    if (array)
        std::memset(array, 0, size);
    return array;
}

} // namespace tavik::detail

extern "C" {

int TavikPKICertNewFromData(const unsigned char *data, size_t length, TAVIK_CERT_st **cert)
{
    return newFirst(data, length, cert);
}

int TavikPKICertNewFromFile(const char *path, TAVIK_CERT_st **cert)
{
    if (!cert)
        return TAVIK_ERR_ARGUMENT;
    std::vector<unsigned char> bytes;
    const int rc = readFile(path, bytes);
    return rc == 1 ? newFirst(bytes.data(), bytes.size(), cert) : rc;
}

int TavikPKICertNewAllFromData(const unsigned char *data, size_t length, TAVIK_CERT_st ***certs,
                               int *count)
{
    return newAll(data, length, certs, count);
}

int TavikPKICertNewAllFromFile(const char *path, TAVIK_CERT_st ***certs, int *count)
{
    if (!certs || !count)
        return TAVIK_ERR_ARGUMENT;
    std::vector<unsigned char> bytes;
    const int rc = readFile(path, bytes);
    return rc == 1 ? newAll(bytes.data(), bytes.size(), certs, count) : rc;
}

TAVIK_CERT_st *TavikPKICertDupCert(TAVIK_CERT_st *cert)
{
    return cert ? tavik::detail::newCertHandle(cert->data) : nullptr;
}

void TavikPKICertFreeCert(TAVIK_CERT_st *cert)
{
    if (!cert)
        return;
    tavik::detail::freeObject(cert);
}

void TavikPKICertFreeCertPath(TAVIK_CERT_st **path, int count)
{
    if (!path)
        return;
    for (int i = 0; i < count; ++i)
        TavikPKICertFreeCert(path[i]);
    tavik_free(path);
}

tavik_time *tavik_cert_getvaliditystart(TAVIK_CERT_st *cert)
{
    return cert ? tavik::detail::newTime(cert->data->tbs().validity->notBefore) : nullptr;
}

tavik_time *tavik_cert_getvalidityend(TAVIK_CERT_st *cert)
{
    return cert ? tavik::detail::newTime(cert->data->tbs().validity->notAfter) : nullptr;
}

} // extern "C"
