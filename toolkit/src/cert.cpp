// Certificate handles: loading from DER or PEM, duplication, release and the
// validity period.
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

#include "internal.hpp"
#include "store.hpp"
#include "values.hpp"

namespace {

using tavik::detail::BioPtr;
using tavik::detail::FilePtr;
using tavik::detail::X509Ptr;

// Larger files are not certificates; the bound also stops reads of endless
// device files.
constexpr std::size_t kMaxFileSize = 64u * 1024u * 1024u;

// Encrypted PEM blocks are refused instead of prompting on a terminal.
int noPassword(char *, int, int, void *)
{
    return -1;
}

// Consecutive DER certificates filling the whole input; a single one unless all.
int decodeDer(const unsigned char *data, std::size_t length, bool all, std::vector<X509Ptr> &out)
{
    const unsigned char *p = data;
    const unsigned char *const end = data + length;
    while (p < end) {
        const auto remaining = static_cast<std::size_t>(end - p);
        if (remaining > static_cast<std::size_t>(LONG_MAX))
            return TAVIK_ERR_ARGUMENT;
        const unsigned char *q = p;
        X509Ptr x509(d2i_X509(nullptr, &q, static_cast<long>(remaining)));
        if (!x509)
            return TAVIK_ERR_ARGUMENT;
        out.push_back(std::move(x509));
        p = q;
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
// blocks keep their alias.
X509Ptr decodePemBlock(std::string_view block)
{
    // The PEM reader wants the END line terminated.
    const std::string text = std::string(block) + "\n";
    BioPtr bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    if (!bio)
        return nullptr;
    ERR_set_mark();
    X509Ptr x509(PEM_read_bio_X509_AUX(bio.get(), nullptr, noPassword, nullptr));
    ERR_pop_to_mark();
    return x509;
}

// The certificate blocks of PEM text in order. Other blocks (keys, parameters,
// empty or damaged ones) and text between blocks are skipped unread; a damaged
// certificate block fails the whole input.
// Written by hand on purpose: PEM_X509_INFO_read_bio and PEM_read_bio_X509
// stop at the first block they cannot decode, so a bundle with a damaged key
// beside good certificates would load nothing.
int decodePem(const unsigned char *data, std::size_t length, bool all, std::vector<X509Ptr> &out)
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
            X509Ptr x509 = decodePemBlock(text.substr(pos, blockEnd - pos));
            if (!x509)
                return TAVIK_ERR_ARGUMENT;
            out.push_back(std::move(x509));
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

int decode(const unsigned char *data, std::size_t length, bool all, std::vector<X509Ptr> &out)
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
    std::vector<X509Ptr> certs;
    const int rc = decode(data, length, false, certs);
    if (rc != 1)
        return rc;
    TAVIK_CERT_st *handle = tavik::detail::newCertHandle(certs.front().release());
    if (!handle)
        return TAVIK_ERR_MEMORY;
    *cert = handle;
    return 1;
}

int newAll(const unsigned char *data, std::size_t length, TAVIK_CERT_st ***certs, int *count)
{
    if (!certs || !count)
        return TAVIK_ERR_ARGUMENT;
    std::vector<X509Ptr> decoded;
    const int rc = decode(data, length, true, decoded);
    if (rc != 1)
        return rc;
    if (decoded.size() > static_cast<std::size_t>(INT_MAX))
        return TAVIK_ERR_ARGUMENT;
    const int n = static_cast<int>(decoded.size());
    TAVIK_CERT_st **array = tavik::detail::newCertArray(decoded.size());
    if (!array)
        return TAVIK_ERR_MEMORY;
    for (int i = 0; i < n; ++i) {
        array[i] = tavik::detail::newCertHandle(decoded[static_cast<std::size_t>(i)].release());
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

TAVIK_CERT_st *newCertHandle(X509 *x509) noexcept
{
    X509Ptr owned(x509);
    if (!owned)
        return nullptr;
    // Verification of SM2 signatures needs the default identifier attached.
    ensureSm2Id(owned.get());
    auto *handle = newObject<TAVIK_CERT_st>(owned.get());
    if (handle)
        owned.release();
    return handle;
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
    if (!cert || !X509_up_ref(cert->x509))
        return nullptr;
    return tavik::detail::newCertHandle(cert->x509);
}

void TavikPKICertFreeCert(TAVIK_CERT_st *cert)
{
    if (!cert)
        return;
    const X509Ptr release(cert->x509);
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
    return cert ? tavik::detail::newTime(X509_get0_notBefore(cert->x509)) : nullptr;
}

tavik_time *tavik_cert_getvalidityend(TAVIK_CERT_st *cert)
{
    return cert ? tavik::detail::newTime(X509_get0_notAfter(cert->x509)) : nullptr;
}

} // extern "C"
