// The status codes and texts the viewer's general and path tabs share, and
// the check that gives a certificate its code.
#pragma once

#include <cstdint>
#include <string>

#include "tavik_pki.h"

namespace pkiui {

inline constexpr int32_t kStatusVerified = 2, kStatusIncomplete = 4, kStatusOutOfValidity = 5,
                         kStatusFailed = 7;

// The text shown for a status code; codes outside the table share one text.
std::string getContentByIndex(int32_t status);

// Verifies cert along the path the store builds for it, at the moment the
// whole path is valid: kStatusVerified, kStatusIncomplete (no path, missing
// issuer or untrusted root) or kStatusFailed (anything else, null included).
int32_t verifyAlongPath(TAVIK_CERT_st *cert);

} // namespace pkiui
