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

// The same check with what the verifier found: its reason (a TAVIK_REASON_*
// value) and the depth it applies to, 0 the certificate itself; both -1 when
// no verifier ran.
struct PathVerdict {
    int32_t status;
    int reason = -1;
    int depth = -1;
};
PathVerdict verifyPath(TAVIK_CERT_st *cert);

// A reason in words for the certificate it was found at, with the date or
// the name it involves; an unknown reason by its number.
std::string reasonText(int reason, TAVIK_CERT_st *cert);

} // namespace pkiui
