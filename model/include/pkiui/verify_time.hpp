// The moment a certificate is verified at along its path.
#pragma once

#include <optional>
#include <string>

#include "tavik_pki.h"

namespace pkiui {

// The earliest end of validity among the path (count certificates) and cert,
// as "YYYYMMDDHHMMSSZ", provided all validity periods overlap; nullopt when
// they do not, when the path is empty or when a time cannot be read.
std::optional<std::string> verifyTime(TAVIK_CERT_st *const *certs, int count, TAVIK_CERT_st *cert);

} // namespace pkiui
