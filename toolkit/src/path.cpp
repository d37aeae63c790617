// Certification paths: from a certificate up through the store to a
// self-signed certificate.
#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "cert_data.hpp"
#include "internal.hpp"
#include "store.hpp"
#include "values.hpp"

namespace {

using tavik::detail::CertData;
using tavik::detail::X509Ptr;

// Longer paths are treated as a loop through cross-certificates.
constexpr std::size_t kMaxPathLength = 16;

bool inPath(const std::vector<X509Ptr> &path, X509 *x)
{
    return std::any_of(path.begin(), path.end(),
                       [x](const X509Ptr &p) { return X509_cmp(p.get(), x) == 0; });
}

// The issuer of subject among the store's certificates, skipping those
// already on the path. One whose key verifies the signature wins; otherwise
// the first that matches by name and key identifiers, so that a forged
// certificate still gets a path and fails later, in the verifier.
X509Ptr findIssuer(X509 *subject, const std::vector<X509Ptr> &path)
{
    std::vector<X509Ptr> candidates =
        tavik::detail::storeCertsBySubject(X509_get_issuer_name(subject));
    tavik::detail::ensureSm2Id(subject);
    X509Ptr fallback;
    for (X509Ptr &candidate : candidates) {
        if (X509_check_issued(candidate.get(), subject) != X509_V_OK ||
            inPath(path, candidate.get()))
            continue;
        EVP_PKEY *key = X509_get0_pubkey(candidate.get());
        if (key && X509_verify(subject, key) == 1) {
            ERR_clear_error();
            return std::move(candidate);
        }
        if (!fallback)
            fallback = std::move(candidate);
    }
    ERR_clear_error();
    return fallback;
}

} // namespace

extern "C" {

int TavikPKICertGetCertPath(TAVIK_CERT_st *cert, TAVIK_CERT_st ***path, int *count)
{
    X509 *x509 = cert ? cert->data->x509() : nullptr;
    if (!x509 || !path || !count)
        return TAVIK_ERR_ARGUMENT;
    if (X509_up_ref(x509) != 1)
        return TAVIK_ERR_MEMORY;
    std::vector<X509Ptr> chain; // the certificate first, the root last
    chain.emplace_back(x509);
    while (X509_self_signed(chain.back().get(), 0) != 1) {
        if (chain.size() >= kMaxPathLength)
            return TAVIK_ERR_VERIFY;
        X509Ptr issuer = findIssuer(chain.back().get(), chain);
        if (!issuer)
            return TAVIK_ERR_ISSUER_MISSING;
        chain.push_back(std::move(issuer));
    }
    ERR_clear_error();

    TAVIK_CERT_st **array = tavik::detail::newCertArray(chain.size());
    if (!array)
        return TAVIK_ERR_MEMORY;
    const int n = static_cast<int>(chain.size());
    for (int i = 0; i < n; ++i) {
        // Root first: the array runs opposite to the walk.
        X509 *x = chain[chain.size() - 1 - i].release();
        array[i] =
            tavik::detail::newCertHandle(tavik::detail::guard<std::shared_ptr<const CertData>>(
                nullptr, [x] { return CertData::fromX509(x); }));
        if (!array[i]) {
            TavikPKICertFreeCertPath(array, n);
            return TAVIK_ERR_MEMORY;
        }
    }
    *path = array;
    *count = n;
    return 1;
}

} // extern "C"
