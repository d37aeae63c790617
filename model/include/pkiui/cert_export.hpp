// What the viewer hands out of a certificate: its own encoding, the shown
// detail rows as text, and a typed fingerprint checked against its thumbprints.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tavik_ptr.hpp"

namespace pkiui {

class ShowCertDetailDlgModel;

// The certificate's DER, byte for byte; empty when it cannot be encoded.
std::string certificateDer(TAVIK_CERT_st *cert);

// The subject as the detail list's "证书主体" row shows it on one line; empty
// when it cannot be read.
std::string subjectLine(TAVIK_CERT_st *cert);

// Every row the filter shows, as "name: content" lines in list order.
std::string shownRowsText(const ShowCertDetailDlgModel &model);

// The thumbprint a typed fingerprint equals ("MD5", "SHA1", "SHA256" or
// "SHA512", chosen by the number of digits), or nullopt. Hex digits in either
// case; blanks and colons anywhere are ignored; any other character matches
// nothing.
std::optional<std::string_view> matchingThumbprint(TAVIK_CERT_st *cert, std::string_view typed);

} // namespace pkiui
