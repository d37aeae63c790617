// Helpers the extension, name and field tests share: reading what the openssl
// command prints, turning toolkit values into comparable text, and making
// certificates around hand-written DER where no fixture has the case.
#pragma once

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fixtures.hpp"
#include "tavik_ptr.hpp"

namespace pkiui::test {

// Owners the model tests name through this header.
using tavik::CertPtr;
using tavik::ExtPtr;
using tavik::UStringPtr;
using ObjPtr = std::unique_ptr<ASN1_OBJECT, tavik::Free<ASN1_OBJECT_free>>;

// ---- Text ----

inline std::string trim(const std::string &s)
{
    const auto first = s.find_first_not_of(" \t\r\n");
    const auto last = s.find_last_not_of(" \t\r\n");
    return first == std::string::npos ? "" : s.substr(first, last - first + 1);
}

inline std::vector<std::string> split(const std::string &text, const std::string &separator)
{
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (std::size_t at; (at = text.find(separator, from)) != std::string::npos;
         from = at + separator.size())
        parts.push_back(trim(text.substr(from, at - from)));
    parts.push_back(trim(text.substr(from)));
    return parts;
}

inline std::string hex(const unsigned char *data, std::size_t length)
{
    std::string out;
    char two[3];
    for (std::size_t i = 0; i < length; ++i) {
        std::snprintf(two, sizeof two, "%02X", data[i]);
        out += two;
    }
    return out;
}
inline std::string hex(const Bytes &bytes)
{
    return hex(bytes.data(), bytes.size());
}
// Takes the blob over; "-" for none.
inline std::string hex(tavik_data_blob *owned)
{
    const tavik::BlobPtr blob(owned);
    return blob ? hex(blob->data, blob->length) : "-";
}

inline Bytes fromHex(const std::string &text)
{
    Bytes out;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return out;
}

// Upper-case hex digits of openssl's "04:c1:a8:\n    ad" text, whole bytes.
inline std::string digitsOf(const std::string &text)
{
    std::string out;
    for (const char c : text)
        if (std::isxdigit(static_cast<unsigned char>(c)))
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out.size() % 2 ? "0" + out : out;
}

// Dotted form of an OID name or number as OpenSSL knows it.
inline std::string dotted(const std::string &name)
{
    const ObjPtr obj(OBJ_txt2obj(name.c_str(), 0));
    char text[128] = "";
    if (obj)
        OBJ_obj2txt(text, sizeof text, obj.get(), 1);
    return text;
}

// ---- Toolkit values, each taken over ----

inline std::string textOf(char *owned)
{
    const tavik::TextPtr text(owned);
    return text ? text.get() : "(null)";
}

inline std::optional<std::string> utf8(tavik_ustring *owned)
{
    const tavik::UStringPtr s(owned);
    char *out = nullptr;
    std::size_t length = 0;
    if (!s || tavik_ustring_tombs(s.get(), "UTF-8", &out, &length) != 1)
        return std::nullopt;
    const tavik::TextPtr text(out);
    return std::string(out, length);
}

inline std::optional<std::int64_t> valueOf(tavik_biginteger *owned)
{
    const tavik::BigIntPtr n(owned);
    std::int64_t v = 0;
    if (!n || tavik_biginteger_getvalue(n.get(), &v) != 1)
        return std::nullopt;
    return v;
}

inline std::set<int> bitsOf(tavik_bitset *owned)
{
    const tavik::BitSetPtr set(owned);
    std::set<int> bits;
    for (int i = 0; set && i < 64; ++i)
        if (tavik_bitset_isset(set.get(), i))
            bits.insert(i);
    return bits;
}

// ---- Readings printed the way the openssl command prints them ----

// An OID by its long name, dotted when OpenSSL has no name for it.
inline std::string named(char *owned)
{
    const std::string oid = textOf(owned);
    const ObjPtr obj(OBJ_txt2obj(oid.c_str(), 1));
    char text[128] = "";
    if (obj)
        OBJ_obj2txt(text, sizeof text, obj.get(), 0);
    return text;
}

inline std::string colonHex(tavik_data_blob *owned)
{
    std::string out, digits = hex(owned);
    for (std::size_t i = 0; i < digits.size(); i += 2)
        out += (i ? ":" : "") + digits.substr(i, 2);
    return out;
}

// An RDN and a DN as "/C=CN/O=x" (oneline) or as "C = CN, O = x".
inline std::string rdnText(const tavik_cert_rdn *rdn, bool oneline)
{
    std::string out;
    for (int k = 0; k < tavik_cert_rdn_getitemcount(rdn); ++k) {
        const tavik::AtvPtr atv(tavik_cert_rdn_getitem(rdn, k));
        const std::string type = textOf(tavik_cert_attrtypeandvalue_gettype(atv.get()));
        out += std::string(k ? (oneline ? "+" : " + ") : "") +
               OBJ_nid2sn(OBJ_txt2nid(type.c_str())) + (oneline ? "=" : " = ") +
               utf8(tavik_cert_attrtypeandvalue_getstring(atv.get())).value_or("?");
    }
    return out;
}

inline std::string dnText(const tavik_cert_dn *dn, bool oneline)
{
    std::string out;
    for (int i = 0; i < tavik_cert_dn_getitemcount(dn); ++i)
        out += (oneline ? "/"
                : i     ? ", "
                        : "") +
               rdnText(tavik::RdnPtr(tavik_cert_dn_getitem(dn, i)).get(), oneline);
    return out;
}

inline std::string printed(const tavik_cert_generalname *name, bool oneline = true)
{
    using Getter = tavik_ustring *(*)(const tavik_cert_generalname *);
    const std::map<int, std::pair<const char *, Getter>> texts = {
        {TAVIK_GN_RFC822, {"email:", tavik_cert_generalname_getrfc822name}},
        {TAVIK_GN_DNS, {"DNS:", tavik_cert_generalname_getdnsname}},
        {TAVIK_GN_URI, {"URI:", tavik_cert_generalname_geturi}},
    };
    const int type = tavik_cert_generalname_gettype(name);
    if (texts.count(type))
        return texts.at(type).first + utf8(texts.at(type).second(name)).value_or("?");
    if (type == TAVIK_GN_DIRNAME)
        return "DirName:" +
               dnText(tavik::DnPtr(tavik_cert_generalname_getdirname(name)).get(), oneline);
    if (type == TAVIK_GN_REGID)
        return "Registered ID:" + textOf(tavik_cert_generalname_getregid(name));
    return type == TAVIK_GN_IP ? "IP Address:" + textOf(tavik_cert_generalname_getip(name)) : "?";
}

inline std::vector<std::string> printed(const tavik_cert_generalnames *names, bool oneline = true)
{
    std::vector<std::string> out;
    for (int i = 0; i < tavik_cert_generalnames_getitemcount(names); ++i)
        out.push_back(printed(
            tavik::GeneralNamePtr(tavik_cert_generalnames_getitem(names, i)).get(), oneline));
    return out;
}

// ---- openssl asn1parse ----

// One line of `openssl asn1parse`, and the bytes it points at.
struct Node {
    std::size_t offset = 0, headerLength = 0, length = 0;
    int depth = 0;
    std::string type, value;
    Bytes content(const Bytes &der, std::size_t skip = 0) const
    {
        return Bytes(der.begin() + static_cast<long>(offset + headerLength + skip),
                     der.begin() + static_cast<long>(offset + headerLength + length));
    }
};

inline std::vector<Node> asn1parse(const std::string &arguments)
{
    std::vector<Node> nodes;
    std::istringstream in(openssl("asn1parse -inform DER " + arguments));
    for (std::string line; std::getline(in, line);) {
        Node n;
        char kind[8];
        int used = 0;
        if (std::sscanf(line.c_str(), " %zu:d=%d hl=%zu l=%zu %7s %n", &n.offset, &n.depth,
                        &n.headerLength, &n.length, kind, &used) < 5)
            continue;
        const std::string rest = line.substr(static_cast<std::size_t>(used));
        const auto colon = rest.find(':');
        n.type = trim(rest.substr(0, colon));
        n.value = colon == rest.npos ? "" : rest.substr(colon + 1);
        nodes.push_back(n);
    }
    return nodes;
}

// `openssl x509 -ext NAME`: presence, critical flag, trimmed text lines.
struct ExtText {
    bool present = false;
    bool critical = false;
    std::string body;
};

inline ExtText extText(const std::string &fixture, const std::string &name)
{
    std::istringstream in(
        openssl("x509 -noout -in " + fixturePath(fixture + ".pem") + " -ext " + name));
    ExtText out;
    std::string header;
    if (!std::getline(in, header) || header.find(':') == std::string::npos ||
        header.rfind("No extensions", 0) == 0)
        return out;
    out.present = true;
    out.critical = header.find("critical") != std::string::npos;
    for (std::string line; std::getline(in, line);)
        out.body += (out.body.empty() ? "" : "\n") + trim(line);
    out.body = trim(out.body);
    return out;
}

inline std::string join(const std::vector<std::string> &parts, const std::string &separator)
{
    std::string out;
    for (const std::string &part : parts)
        out += (out.empty() ? "" : separator) + part;
    return out;
}

// ---- DER by hand ----

inline Bytes tlv(unsigned char tag, const Bytes &content)
{
    const std::size_t n = content.size();
    Bytes out{tag};
    if (n >= 0x80) {
        out.push_back(0x82);
        out.push_back(static_cast<unsigned char>(n >> 8));
    }
    out.push_back(static_cast<unsigned char>(n & 0xFF));
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

inline Bytes operator+(Bytes a, const Bytes &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Bytes str(const std::string &s)
{
    return Bytes(s.begin(), s.end());
}

inline Bytes oidDer(const char *oid)
{
    const ObjPtr obj(OBJ_txt2obj(oid, 1));
    unsigned char *der = nullptr;
    const int n = obj ? i2d_ASN1_OBJECT(obj.get(), &der) : -1;
    const Bytes out = n > 0 ? Bytes(der, der + n) : Bytes{};
    OPENSSL_free(der);
    return out;
}

// ---- Certificates made here ----

// Adds an extension whose value is the DER given.
inline bool addRawExt(X509 *x, const char *oid, const Bytes &value, bool critical = false)
{
    const ObjPtr obj(OBJ_txt2obj(oid, 1));
    const std::unique_ptr<ASN1_OCTET_STRING, tavik::Free<ASN1_OCTET_STRING_free>> octets(
        ASN1_OCTET_STRING_new());
    if (!obj || !octets ||
        !ASN1_OCTET_STRING_set(octets.get(), value.data(), static_cast<int>(value.size())))
        return false;
    const std::unique_ptr<X509_EXTENSION, tavik::Free<X509_EXTENSION_free>> ext(
        X509_EXTENSION_create_by_OBJ(nullptr, obj.get(), critical, octets.get()));
    return ext && X509_add_ext(x, ext.get(), -1);
}

// A v3 certificate OpenSSL makes and signs with a P-256 key after edit has
// changed it.
inline tavik::CertPtr madeCert(const std::function<bool(X509 *)> &edit)
{
    static const KeyPtr key(EVP_EC_gen("P-256"));
    const X509Ptr x(X509_new());
    if (!key || !x || X509_set_version(x.get(), X509_VERSION_3) != 1 ||
        !X509_gmtime_adj(X509_getm_notBefore(x.get()), 0) ||
        !X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400) ||
        X509_set_pubkey(x.get(), key.get()) != 1 || !edit(x.get()) ||
        X509_sign(x.get(), key.get(), EVP_sha256()) <= 0)
        return nullptr;
    return handleOf(x.get());
}

// A certificate with the subject name (DER) and raw extensions {oid, value}.
inline tavik::CertPtr certWith(const Bytes &subject,
                               const std::vector<std::pair<const char *, Bytes>> &exts = {})
{
    return madeCert([&](X509 *x) {
        const unsigned char *p = subject.data();
        const std::unique_ptr<X509_NAME, tavik::Free<X509_NAME_free>> name(
            d2i_X509_NAME(nullptr, &p, static_cast<long>(subject.size())));
        if (!name || !X509_set_subject_name(x, name.get()))
            return false;
        for (const auto &[oid, value] : exts)
            if (!addRawExt(x, oid, value))
                return false;
        return true;
    });
}

inline tavik::ExtPtr findExt(TAVIK_CERT_st *cert, const char *oid)
{
    const tavik::ExtsPtr exts(tavik_cert_getexts(cert));
    return tavik::ExtPtr(tavik_cert_exts_find(exts.get(), oid));
}

} // namespace pkiui::test
