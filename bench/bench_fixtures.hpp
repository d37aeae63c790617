// The generated certificates the benchmarks run on.
#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tavik_ptr.hpp"

namespace pkiui::bench {

inline std::vector<unsigned char> readFixture(const char *name)
{
    std::ifstream in(std::string(PKIUI_FIXTURES) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline tavik::CertPtr handleOf(const std::vector<unsigned char> &der)
{
    TAVIK_CERT_st *cert = nullptr;
    TavikPKICertNewFromData(der.data(), der.size(), &cert);
    return tavik::CertPtr(cert);
}

} // namespace pkiui::bench
