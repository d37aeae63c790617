// Access to the certificates the build generates for the tests, and the small
// helpers the toolkit tests share.
#pragma once

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tavik_debug.h"
#include "tavik_ptr.hpp"

namespace pkiui::test {

using Bytes = std::vector<unsigned char>;

// The toolkit's scripted device: a PIN status and tries left, then one answer
// per verification. Null when it cannot be opened.
inline tavik::DevicePtr openScripted(int status, int count,
                                     std::initializer_list<TavikPKIScriptedAnswer> answers)
{
    TAVIK_PKI_DEVICE_HANDLE_st *device = nullptr;
    if (TavikPKIDeviceOpenScripted(status, count, answers.begin(), static_cast<int>(answers.size()),
                                   &device) != 1)
        return nullptr;
    return tavik::DevicePtr(device);
}

// The whole file; empty when it cannot be read.
inline Bytes readFile(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::string fixturePath(const std::string &name)
{
    return std::string(PKIUI_FIXTURES) + "/" + name;
}

// Loads NAME.pem, or the file NAME when it has an extension ("rsa-leaf.der");
// null when it cannot be read.
inline tavik::CertPtr loadCert(const std::string &name)
{
    const std::string file = name.find('.') == std::string::npos ? name + ".pem" : name;
    TAVIK_CERT_st *cert = nullptr;
    if (TavikPKICertNewFromFile(fixturePath(file).c_str(), &cert) != 1)
        return nullptr;
    return tavik::CertPtr(cert);
}

// Owners of what a test makes with OpenSSL.
using X509Ptr = std::unique_ptr<X509, tavik::Free<X509_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, tavik::Free<EVP_PKEY_free>>;

// A text attribute; nullopt when the toolkit refuses it.
inline std::optional<std::string> textAttribute(TAVIK_CERT_st *cert, int code)
{
    char *text = nullptr;
    if (TavikPKICertGetCertStringAttribute(cert, code, &text) != 1)
        return std::nullopt;
    const tavik::TextPtr owned(text);
    return std::string(text);
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

// "YYYY/MM/DD" of a YYYYMMDDHHMMSSZ text, as the viewer shows a day.
inline std::string slashedDay(const std::string &t)
{
    return t.substr(0, 4) + "/" + t.substr(4, 2) + "/" + t.substr(6, 2);
}

// YYYYMMDDHHMMSSZ to seconds since the epoch, and back.
inline std::int64_t epochOf(const std::string &text)
{
    std::tm tm{};
    return strptime(text.c_str(), "%Y%m%d%H%M%SZ", &tm) ? timegm(&tm) : -1;
}

inline std::string timeText(std::int64_t seconds)
{
    const auto clock = static_cast<std::time_t>(seconds);
    std::tm tm{};
    char text[32] = "";
    if (gmtime_r(&clock, &tm))
        std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", &tm);
    return text;
}

// Pins the toolkit's clock; the real clock comes back however the test ends.
struct PinnedClock {
    ~PinnedClock() { tavik_debug_set_now(0); }
    void at(std::int64_t seconds) const { tavik_debug_set_now(seconds); }
};

// Sets TZ for one scope and puts the old value back.
struct ScopedTimeZone {
    explicit ScopedTimeZone(const char *zone) : old(std::getenv("TZ") ? std::getenv("TZ") : "")
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone()
    {
        old.empty() ? unsetenv("TZ") : setenv("TZ", old.c_str(), 1);
        tzset();
    }
    const std::string old;
};

// What the openssl command prints for the arguments (a shell command line),
// the reference exported files and fingerprints are compared with.
inline std::string openssl(const std::string &arguments)
{
    std::string out;
    std::unique_ptr<FILE, tavik::Free<pclose>> pipe(popen(("openssl " + arguments).c_str(), "r"));
    if (!pipe)
        return out;
    char buffer[4096];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0)
        out.append(buffer, n);
    return out;
}

} // namespace pkiui::test
