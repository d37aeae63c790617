#pragma once

#include <QString>

#include <optional>

#include "tavik_pki.h"

namespace pkiui {

// A string attribute of the certificate, or absent when the toolkit fails.
std::optional<QString> certStringAttribute(TAVIK_CERT_st *cert, int code);

// The subject's common name, else the issuer's name; empty when neither.
QString certDisplayName(TAVIK_CERT_st *cert);

// A validity bound as "YYYY-MM-DD HH:MM:SS" (UTC), empty when unreadable.
QString certValidityStart(TAVIK_CERT_st *cert);
QString certValidityEnd(TAVIK_CERT_st *cert);

} // namespace pkiui
