// The process-wide certificate store, shared by path building and the
// verifier; never installed.
#pragma once

#include <openssl/x509.h>

#include <vector>

#include "internal.hpp"

namespace tavik::detail {

// Every store certificate whose subject is name: host-added anchors,
// intermediates and, when enabled, system anchors. Each holds a reference.
std::vector<X509Ptr> storeCertsBySubject(const X509_NAME *name);

// Whether x (compared by encoding) is a system anchor or a host-added anchor.
bool storeIsTrustAnchor(X509 *x);

// OpenSSL 3.0 checks SM2 signatures with an empty identifier unless the
// certificate carries the default one; sets it once on SM2-signed x.
void ensureSm2Id(X509 *x) noexcept;

} // namespace tavik::detail
