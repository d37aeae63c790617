// A certificate's string and integer attributes as values: nullopt when the
// toolkit cannot read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tavik_ptr.hpp"

namespace pkiui {

inline std::optional<std::string> stringAttribute(TAVIK_CERT_st *cert, int code)
{
    char *raw = nullptr;
    if (TavikPKICertGetCertStringAttribute(cert, code, &raw) != 1)
        return std::nullopt;
    const tavik::TextPtr owned(raw);
    return std::string(raw ? raw : "");
}

inline std::optional<std::int64_t> integerAttribute(TAVIK_CERT_st *cert, int code)
{
    std::int64_t value = 0;
    if (TavikPKICertGetCertIntegerAttribute(cert, code, &value) != 1)
        return std::nullopt;
    return value;
}

} // namespace pkiui
