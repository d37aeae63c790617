// Shared by the toolkit's own sources; never installed.
#pragma once

#include <openssl/x509.h>

#include <cstdint>
#include <ctime>
#include <memory>

#include "tavik_pki.h"

struct TAVIK_CERT_st {
    X509 *x509; // one reference, released with the handle
};

namespace tavik::detail {

// The live-object count: every handle and buffer handed out adds one, every
// release takes one.
void liveAdd() noexcept;
void liveRemove() noexcept;

// The toolkit's notion of now (pinned by tavik_debug_set_now in tests).
std::time_t now() noexcept;

// A new handle owning one reference to x509 (the reference is consumed, also
// on failure). Null on failure.
TAVIK_CERT_st *newCertHandle(X509 *x509) noexcept;

// Copies bytes into a NUL-terminated toolkit buffer (freed with tavik_free).
char *dupText(const char *text, std::size_t length) noexcept;
char *dupText(const char *text) noexcept;

template <class T, void (*F)(T *)>
struct OsslFree {
    void operator()(T *p) const noexcept { F(p); }
};
using X509Ptr = std::unique_ptr<X509, OsslFree<X509, X509_free>>;

} // namespace tavik::detail
