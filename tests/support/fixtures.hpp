// Access to the certificates the build generates for the tests.
#pragma once

#include <fstream>
#include <string>
#include <utility>

#include "tavik_ptr.hpp"

namespace pkiui::test {

inline std::string fixturePath(const std::string &name)
{
    return std::string(PKIUI_FIXTURES) + "/" + name;
}

// Loads NAME.pem; null when it cannot be read.
inline tavik::CertPtr loadCert(const std::string &name)
{
    TAVIK_CERT_st *cert = nullptr;
    if (TavikPKICertNewFromFile(fixturePath(name + ".pem").c_str(), &cert) != 1)
        return nullptr;
    return tavik::CertPtr(cert);
}

// NAME.dates: the validity the fixture script gave the certificate.
struct Dates {
    std::string notBefore;
    std::string notAfter;
};

inline Dates loadDates(const std::string &name)
{
    Dates d;
    std::ifstream in(fixturePath(name + ".dates"));
    in >> d.notBefore >> d.notAfter;
    return d;
}

} // namespace pkiui::test
