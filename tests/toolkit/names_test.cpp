// Names and Unicode strings: distinguished names walked RDN by RDN, attribute
// values in every string type, general names of each choice and
// name-constraint subtrees. Certificates come from the fixtures or are made
// here with the OpenSSL API from hand-written DER.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "fixtures.hpp"

namespace {

using namespace pkiui::test;
using tavik::BlobPtr;
using tavik::CertPtr;
using tavik::Free;
using tavik::TextPtr;
using Bytes = std::vector<unsigned char>;

using UStringPtr = std::unique_ptr<tavik_ustring, Free<tavik_ustring_free>>;
using DnPtr = std::unique_ptr<tavik_cert_dn, Free<tavik_cert_dn_free>>;
using RdnPtr = std::unique_ptr<tavik_cert_rdn, Free<tavik_cert_rdn_free>>;
using AtvPtr = std::unique_ptr<tavik_cert_attrtypeandvalue, Free<tavik_cert_attrtypeandvalue_free>>;
using NamesPtr = std::unique_ptr<tavik_cert_generalnames, Free<tavik_cert_generalnames_free>>;
using NamePtr = std::unique_ptr<tavik_cert_generalname, Free<tavik_cert_generalname_free>>;
using OtherPtr = std::unique_ptr<tavik_cert_othername, Free<tavik_cert_othername_free>>;
using EdiPtr = std::unique_ptr<tavik_cert_ediparyname, Free<tavik_cert_ediparyname_free>>;
using SubtreesPtr =
    std::unique_ptr<tavik_cert_generalsubtrees, Free<tavik_cert_generalsubtrees_free>>;
using SubtreePtr = std::unique_ptr<tavik_cert_generalsubtree, Free<tavik_cert_generalsubtree_free>>;
using ExtsPtr = std::unique_ptr<tavik_cert_exts, Free<tavik_cert_exts_free>>;
using ExtPtr = std::unique_ptr<tavik_cert_ext, Free<tavik_cert_ext_free>>;
using ConstraintsPtr =
    std::unique_ptr<tavik_cert_nameconstraints, Free<tavik_cert_nameconstraints_free>>;
using BigIntPtr = tavik::BigIntPtr;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, Free<X509_EXTENSION_free>>;

// ---- Reading toolkit values ----

std::optional<std::u32string> codePoints(const UStringPtr &s)
{
    if (!s)
        return std::nullopt;
    const std::unique_ptr<wchar_t, Free<tavik_free>> wide(tavik_ustring_towcs(s.get()));
    if (!wide)
        return std::nullopt;
    std::u32string out;
    for (const wchar_t *p = wide.get(); *p; ++p)
        out.push_back(static_cast<char32_t>(*p));
    EXPECT_EQ(out.size(), tavik_ustring_getlength(s.get()));
    return out;
}

std::optional<std::string> utf8(const UStringPtr &s)
{
    char *out = nullptr;
    std::size_t length = 0;
    if (!s || tavik_ustring_tombs(s.get(), "UTF-8", &out, &length) != 1)
        return std::nullopt;
    const TextPtr owned(out);
    EXPECT_EQ(length, std::strlen(out));
    return std::string(out, length);
}

std::string text(char *owned)
{
    const TextPtr holder(owned);
    return owned ? std::string(owned) : std::string("(null)");
}

Bytes bytesOf(tavik_data_blob *blob)
{
    const BlobPtr holder(blob);
    return blob ? Bytes(blob->data, blob->data + blob->length) : Bytes{};
}

std::string hex(const Bytes &bytes)
{
    std::string out;
    char two[3];
    for (const unsigned char b : bytes) {
        std::snprintf(two, sizeof two, "%02X", b);
        out += two;
    }
    return out;
}

// A DN in the form of `openssl x509 -nameopt oid,sep_multiline,utf8,dump_nostr,
// dump_der,space_eq`: one indented line per RDN, " + " between its attributes,
// a value without text form as "#" and the hex of its DER.
std::string walk(const tavik_cert_dn *dn)
{
    std::string out;
    for (int i = 0; i < tavik_cert_dn_getitemcount(dn); ++i) {
        const RdnPtr rdn(tavik_cert_dn_getitem(dn, i));
        out += "    ";
        for (int k = 0; k < tavik_cert_rdn_getitemcount(rdn.get()); ++k) {
            const AtvPtr atv(tavik_cert_rdn_getitem(rdn.get(), k));
            const auto value = utf8(UStringPtr(tavik_cert_attrtypeandvalue_getstring(atv.get())));
            out += (k ? " + " : "") + text(tavik_cert_attrtypeandvalue_gettype(atv.get())) + " = " +
                   value.value_or(
                       "#" + hex(bytesOf(tavik_cert_attrtypeandvalue_getvalencode(atv.get()))));
        }
        out += "\n";
    }
    return out;
}

// ---- Making certificates with OpenSSL ----

Bytes tlv(unsigned char tag, const Bytes &content)
{
    Bytes out{tag};
    const std::size_t n = content.size();
    if (n < 0x80)
        out.push_back(static_cast<unsigned char>(n));
    else
        out.insert(out.end(), {0x82, static_cast<unsigned char>(n >> 8),
                               static_cast<unsigned char>(n & 0xFF)});
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

Bytes operator+(Bytes a, const Bytes &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes str(const std::string &s)
{
    return Bytes(s.begin(), s.end());
}

Bytes oidDer(const char *dotted)
{
    const std::unique_ptr<ASN1_OBJECT, Free<ASN1_OBJECT_free>> obj(OBJ_txt2obj(dotted, 1));
    unsigned char *der = nullptr;
    const int n = obj ? i2d_ASN1_OBJECT(obj.get(), &der) : -1;
    const Bytes out = n > 0 ? Bytes(der, der + n) : Bytes{};
    OPENSSL_free(der);
    return out;
}

struct Attribute {
    const char *oid;
    Bytes value; // the whole TLV
};
using Rdns = std::vector<std::vector<Attribute>>;

Bytes nameDer(const Rdns &rdns)
{
    Bytes sets;
    for (const auto &rdn : rdns) {
        Bytes atvs;
        for (const auto &a : rdn)
            atvs = atvs + tlv(0x30, oidDer(a.oid) + a.value);
        sets = sets + tlv(0x31, atvs);
    }
    return tlv(0x30, sets);
}

EVP_PKEY *testKey()
{
    static const KeyPtr key(EVP_EC_gen("P-256"));
    return key.get();
}

// The DER of a self-issued certificate with the subject NAME (DER) and the
// extensions; empty when OpenSSL cannot make it.
Bytes certDer(const Bytes &name, std::vector<ExtensionPtr> extensions = {})
{
    const unsigned char *p = name.data();
    const std::unique_ptr<X509_NAME, Free<X509_NAME_free>> subject(
        d2i_X509_NAME(nullptr, &p, static_cast<long>(name.size())));
    const X509Ptr x(X509_new());
    if (!subject || !x || !X509_set_version(x.get(), 2) ||
        !ASN1_INTEGER_set(X509_get_serialNumber(x.get()), 7) ||
        !X509_set_subject_name(x.get(), subject.get()) ||
        !X509_set_issuer_name(x.get(), subject.get()) ||
        !X509_gmtime_adj(X509_getm_notBefore(x.get()), 0) ||
        !X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400) ||
        !X509_set_pubkey(x.get(), testKey()))
        return {};
    for (const auto &e : extensions)
        if (!e || !X509_add_ext(x.get(), e.get(), -1))
            return {};
    unsigned char *der = nullptr;
    const int n = X509_sign(x.get(), testKey(), EVP_sha256()) ? i2d_X509(x.get(), &der) : -1;
    const Bytes out = n > 0 ? Bytes(der, der + n) : Bytes{};
    OPENSSL_free(der);
    return out;
}

CertPtr handleFrom(const Bytes &der)
{
    TAVIK_CERT_st *cert = nullptr;
    if (der.empty() || TavikPKICertNewFromData(der.data(), der.size(), &cert) != 1)
        return nullptr;
    return CertPtr(cert);
}

CertPtr makeCert(const Bytes &name, std::vector<ExtensionPtr> extensions = {})
{
    return handleFrom(certDer(name, std::move(extensions)));
}

const Bytes kPlainName = nameDer({{{"2.5.4.3", tlv(0x0C, str("names"))}}});

// An extension from the OpenSSL configuration syntax ("DNS:a, IP:1.2.3.4").
ExtensionPtr confExtension(int nid, const char *value)
{
    return ExtensionPtr(X509V3_EXT_conf_nid(nullptr, nullptr, nid, value));
}

// An extension whose value is the DER given.
ExtensionPtr rawExtension(int nid, const Bytes &der)
{
    const std::unique_ptr<ASN1_OCTET_STRING, Free<ASN1_OCTET_STRING_free>> value(
        ASN1_OCTET_STRING_new());
    if (!value || !ASN1_OCTET_STRING_set(value.get(), der.data(), static_cast<int>(der.size())))
        return nullptr;
    return ExtensionPtr(X509_EXTENSION_create_by_NID(nullptr, nid, 0, value.get()));
}

// A subjectAltName holding the general names given as DER.
ExtensionPtr sanExtension(const Bytes &names)
{
    return rawExtension(NID_subject_alt_name, tlv(0x30, names));
}

CertPtr sanCert(const Bytes &names)
{
    std::vector<ExtensionPtr> extensions;
    extensions.push_back(sanExtension(names));
    return makeCert(kPlainName, std::move(extensions));
}

CertPtr confCert(int nid, const char *value)
{
    std::vector<ExtensionPtr> extensions;
    extensions.push_back(confExtension(nid, value));
    return makeCert(kPlainName, std::move(extensions));
}

// The decoded extension with the dotted OID, through the toolkit.
ExtPtr findExt(const CertPtr &cert, const char *oid)
{
    const ExtsPtr exts(cert ? tavik_cert_getexts(cert.get()) : nullptr);
    return ExtPtr(exts ? tavik_cert_exts_find(exts.get(), oid) : nullptr);
}

NamesPtr altNames(const CertPtr &cert)
{
    const ExtPtr ext = findExt(cert, "2.5.29.17");
    return NamesPtr(ext ? tavik_cert_ext_togeneralnames(ext.get()) : nullptr);
}

std::vector<NamePtr> items(const NamesPtr &names)
{
    std::vector<NamePtr> out;
    for (int i = 0; i < tavik_cert_generalnames_getitemcount(names.get()); ++i)
        out.emplace_back(tavik_cert_generalnames_getitem(names.get(), i));
    return out;
}

// Writes the certificate to a file the openssl command can read.
class TempCert {
  public:
    explicit TempCert(const Bytes &der)
    {
        char pattern[] = "/tmp/names-test-XXXXXX";
        const int fd = mkstemp(pattern);
        if (fd < 0)
            return;
        close(fd);
        m_path = pattern;
        std::ofstream out(m_path, std::ios::binary);
        out.write(reinterpret_cast<const char *>(der.data()),
                  static_cast<std::streamsize>(der.size()));
    }
    ~TempCert()
    {
        if (!m_path.empty())
            std::remove(m_path.c_str());
    }
    const std::string &path() const { return m_path; }

  private:
    std::string m_path;
};

std::string opensslName(const std::string &file, const char *which)
{
    const std::string out =
        openssl("x509 -inform DER -noout -" + std::string(which) + " -in '" + file +
                "' -nameopt oid,sep_multiline,utf8,dump_nostr," + "dump_der,space_eq");
    const std::string head = std::string(which) + "=\n";
    return out.rfind(head, 0) == 0 ? out.substr(head.size()) : "(openssl: " + out + ")";
}

// ---- Distinguished names ----

// BMP, Teletex, Universal, a multi-valued RDN and values without text form,
// in one name.
const Bytes kMixedName = nameDer({
    {{"2.5.4.6", tlv(0x13, str("CN"))}},
    {{"2.5.4.10", tlv(0x1E, {0x4E, 0x2D, 0x65, 0x87})},
     {"2.5.4.11", tlv(0x14, {0x43, 0x61, 0x66, 0xE9})},
     {"0.9.2342.19200300.100.1.25", tlv(0x16, str("example"))}},
    {{"2.5.4.99", tlv(0x03, {0x00, 0x05})}},
    {{"1.3.6.1.4.1.99999.123456789.1", tlv(0x30, {0x02, 0x01, 0x05})}},
    {{"2.5.4.3", tlv(0x1C, {0x00, 0x01, 0xF6, 0x00, 0x00, 0x00, 0x00, 0x41})}},
});

TEST(Dn, WalkInStoredOrderMatchesOpenssl)
{
    const Bytes mixed = certDer(kMixedName);
    ASSERT_FALSE(mixed.empty());
    const TempCert mixedFile(mixed);
    struct Case {
        std::string label;
        CertPtr cert;
        std::string file;
    };
    std::vector<Case> cases;
    for (const char *name : {"rsa-leaf", "sm2-self", "rsa-inter", "ext-names", "dn-all"})
        cases.push_back({name, loadCert(name), fixturePath(std::string(name) + ".der")});
    cases.push_back({"mixed", handleFrom(mixed), mixedFile.path()});
    for (const auto &c : cases) {
        ASSERT_TRUE(c.cert) << c.label;
        const DnPtr subject(tavik_cert_getsubject(c.cert.get()));
        const DnPtr issuer(tavik_cert_getissuer(c.cert.get()));
        EXPECT_EQ(walk(subject.get()), opensslName(c.file, "subject")) << c.label;
        EXPECT_EQ(walk(issuer.get()), opensslName(c.file, "issuer")) << c.label;
    }
}

TEST(Dn, RdnsGroupEntriesOfOneSetAndOutOfRangeIndexesFail)
{
    const CertPtr cert = makeCert(kMixedName);
    const DnPtr dn(tavik_cert_getsubject(cert.get()));
    ASSERT_EQ(tavik_cert_dn_getitemcount(dn.get()), 5);
    const int sizes[] = {1, 3, 1, 1, 1};
    for (int i = 0; i < 5; ++i) {
        const RdnPtr rdn(tavik_cert_dn_getitem(dn.get(), i));
        EXPECT_EQ(tavik_cert_rdn_getitemcount(rdn.get()), sizes[i]) << i;
        EXPECT_FALSE(AtvPtr(tavik_cert_rdn_getitem(rdn.get(), sizes[i])));
        EXPECT_FALSE(AtvPtr(tavik_cert_rdn_getitem(rdn.get(), -1)));
    }
    EXPECT_FALSE(RdnPtr(tavik_cert_dn_getitem(dn.get(), 5)));
    EXPECT_FALSE(RdnPtr(tavik_cert_dn_getitem(dn.get(), -1)));
    EXPECT_EQ(tavik_cert_dn_getitemcount(nullptr), -1);
    EXPECT_EQ(tavik_cert_rdn_getitemcount(nullptr), -1);
    EXPECT_EQ(tavik_cert_attrtypeandvalue_gettype(nullptr), nullptr);
    EXPECT_EQ(tavik_cert_attrtypeandvalue_getstring(nullptr), nullptr);
    EXPECT_EQ(tavik_cert_attrtypeandvalue_getvalencode(nullptr), nullptr);

    const CertPtr empty = makeCert(tlv(0x30, {}));
    const DnPtr none(tavik_cert_getsubject(empty.get()));
    ASSERT_TRUE(none);
    EXPECT_EQ(tavik_cert_dn_getitemcount(none.get()), 0);
}

// Bytes in, code points out, for every value form OpenSSL accepts in a name;
// the DER of each value comes back unchanged.
TEST(Dn, AttributeValuesConvertToCodePointsOrGiveNoString)
{
    struct Row {
        const char *what;
        const char *oid;
        Bytes value;
        std::optional<std::u32string> expected;
    };
    const std::vector<Row> rows = {
        {"UTF8 Chinese", "2.5.4.3", tlv(0x0C, {0xE6, 0xB5, 0x8B, 0xE8, 0xAF, 0x95}),
         U"\u6D4B\u8BD5"},
        {"BMP", "2.5.4.10", tlv(0x1E, {0x4E, 0x2D, 0x00, 0x41}), U"\u4E2DA"},
        {"Teletex as Latin-1", "2.5.4.11", tlv(0x14, {0xE9, 0xFF}), U"\u00E9\u00FF"},
        {"Universal", "2.5.4.7", tlv(0x1C, {0x00, 0x10, 0xFF, 0xFF}), U"\U0010FFFF"},
        {"Printable", "2.5.4.6", tlv(0x13, str("CN")), U"CN"},
        {"Printable, high byte", "2.5.4.6", tlv(0x13, {0x41, 0xE9}), std::nullopt},
        {"IA5", "1.2.840.113549.1.9.1", tlv(0x16, str("a@b.example")), U"a@b.example"},
        {"IA5, high byte", "1.2.840.113549.1.9.1", tlv(0x16, {0xE9}), std::nullopt},
        {"Numeric", "2.5.4.5", tlv(0x12, str("0123")), U"0123"},
        {"UTF8 with NUL", "2.5.4.3", tlv(0x0C, {0x41, 0x00, 0x42}), std::nullopt},
        {"empty UTF8", "2.5.4.3", tlv(0x0C, {}), U""},
        {"BIT STRING", "2.5.4.45", tlv(0x03, {0x03, 0xA8}), std::nullopt},
        {"SEQUENCE", "2.5.4.99", tlv(0x30, tlv(0x0C, str("x"))), std::nullopt},
    };
    Rdns rdns;
    for (const auto &row : rows)
        rdns.push_back({{row.oid, row.value}});
    const CertPtr cert = makeCert(nameDer(rdns));
    ASSERT_TRUE(cert);
    const DnPtr dn(tavik_cert_getsubject(cert.get()));
    ASSERT_EQ(tavik_cert_dn_getitemcount(dn.get()), static_cast<int>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const RdnPtr rdn(tavik_cert_dn_getitem(dn.get(), static_cast<int>(i)));
        const AtvPtr atv(tavik_cert_rdn_getitem(rdn.get(), 0));
        EXPECT_EQ(text(tavik_cert_attrtypeandvalue_gettype(atv.get())), rows[i].oid)
            << rows[i].what;
        EXPECT_EQ(codePoints(UStringPtr(tavik_cert_attrtypeandvalue_getstring(atv.get()))),
                  rows[i].expected)
            << rows[i].what;
        EXPECT_EQ(bytesOf(tavik_cert_attrtypeandvalue_getvalencode(atv.get())), rows[i].value)
            << rows[i].what;
    }
}

// ---- Unicode strings ----

TEST(UString, OnlyStrictUtf8IsAcceptedAndRoundTrips)
{
    struct Row {
        const char *what;
        std::string bytes;
        std::optional<std::u32string> expected;
    };
    const std::vector<Row> rows = {
        {"empty", "", U""},
        {"ASCII", "CN", U"CN"},
        {"two bytes", "\xC3\xA9", U"\u00E9"},
        {"three bytes", "\xE6\xB5\x8B", U"\u6D4B"},
        {"four bytes", "\xF0\x9F\x98\x80", U"\U0001F600"},
        {"last code point", "\xF4\x8F\xBF\xBF", U"\U0010FFFF"},
        {"overlong NUL", "\xC0\x80", std::nullopt},
        {"overlong slash", "\xE0\x80\xAF", std::nullopt},
        {"overlong four", "\xF0\x8F\xBF\xBF", std::nullopt},
        {"surrogate", "\xED\xA0\x80", std::nullopt},
        {"past U+10FFFF", "\xF4\x90\x80\x80", std::nullopt},
        {"five-byte lead", "\xF8\x88\x80\x80\x80", std::nullopt},
        {"truncated", "\xE6\xB5", std::nullopt},
        {"truncated at end", "ab\xF0\x9F\x98", std::nullopt},
        {"lone continuation", "\x80", std::nullopt},
        {"bad continuation", "\xC3\x41", std::nullopt},
        {"embedded NUL", std::string("a\0b", 3), std::nullopt},
    };
    for (const auto &row : rows) {
        const UStringPtr s(tavik_ustring_newutf8(row.bytes.data(), row.bytes.size()));
        EXPECT_EQ(codePoints(s), row.expected) << row.what;
        if (row.expected) {
            EXPECT_EQ(utf8(s), row.bytes) << row.what;
        }
    }

    const UStringPtr s(tavik_ustring_newutf8("ab", 2));
    char *out = nullptr;
    std::size_t length = 0;
    EXPECT_NE(tavik_ustring_tombs(s.get(), "GBK", &out, &length), 1);
    EXPECT_NE(tavik_ustring_tombs(s.get(), nullptr, &out, &length), 1);
    EXPECT_NE(tavik_ustring_tombs(nullptr, "UTF-8", &out, &length), 1);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(tavik_ustring_newutf8(nullptr, 0), nullptr);
    EXPECT_EQ(tavik_ustring_towcs(nullptr), nullptr);
    EXPECT_EQ(tavik_ustring_getlength(nullptr), 0u);
}

// ---- General names ----

// What the getters give for one general name: its type, then label=value
// for each getter that accepts it.
std::string describe(const tavik_cert_generalname *name)
{
    std::string out = std::to_string(tavik_cert_generalname_gettype(name));
    const auto add = [&out](const char *label, const std::optional<std::string> &value) {
        if (value)
            out += std::string(" ") + label + "=" + *value;
    };
    const auto owned = [](char *t) { return t ? std::optional(text(t)) : std::nullopt; };
    add("rfc822", utf8(UStringPtr(tavik_cert_generalname_getrfc822name(name))));
    add("dns", utf8(UStringPtr(tavik_cert_generalname_getdnsname(name))));
    add("uri", utf8(UStringPtr(tavik_cert_generalname_geturi(name))));
    add("ip", owned(tavik_cert_generalname_getip(name)));
    add("regid", owned(tavik_cert_generalname_getregid(name)));
    if (const DnPtr dn(tavik_cert_generalname_getdirname(name)); dn)
        add("dir", walk(dn.get()));
    if (const OtherPtr other(tavik_cert_generalname_getothername(name)); other)
        add("other", text(tavik_cert_othername_gettype(other.get())) + ":" +
                         hex(bytesOf(tavik_cert_othername_getvalue(other.get()))));
    if (const EdiPtr edi(tavik_cert_generalname_getediname(name)); edi)
        add("edi",
            utf8(UStringPtr(tavik_cert_ediparyname_getnameassigner(edi.get()))).value_or("-") +
                "/" +
                utf8(UStringPtr(tavik_cert_ediparyname_getpartyname(edi.get()))).value_or("-"));
    return out;
}

std::vector<std::string> describeAll(const NamesPtr &names)
{
    std::vector<std::string> out;
    for (const auto &name : items(names))
        out.push_back(describe(name.get()));
    return out;
}

Bytes otherName(const char *oid, const Bytes &value)
{
    return tlv(0xA0, oidDer(oid) + tlv(0xA0, value));
}

Bytes ediParty(std::optional<Bytes> assigner, const Bytes &party)
{
    return tlv(0xA5, (assigner ? tlv(0xA0, *assigner) : Bytes{}) + tlv(0xA1, party));
}

TEST(GeneralName, EveryChoiceReadsThroughItsOwnGetterOnly)
{
    const Bytes oid = oidDer("1.3.6.1.5.5.7.3.1");
    const Bytes dirName =
        nameDer({{{"2.5.4.6", tlv(0x13, str("CN"))}},
                 {{"2.5.4.10", tlv(0x0C, str("O1"))}, {"2.5.4.11", tlv(0x0C, str("OU = x"))}}});
    const std::pair<Bytes, std::string> rows[] = {
        {otherName("1.2.3.4", tlv(0x02, {0x05})), "0 other=1.2.3.4:020105"},
        {tlv(0x81, str("user@example.com")), "1 rfc822=user@example.com"},
        {tlv(0x82, str("www.example.com")), "2 dns=www.example.com"},
        {tlv(0xA3, tlv(0x30, {})), "3"},
        {tlv(0xA4, dirName), "4 dir=    2.5.4.6 = CN\n    2.5.4.10 = O1 + 2.5.4.11 = OU = x\n"},
        {ediParty(tlv(0x13, str("Assigner")), tlv(0x0C, str("Party"))), "5 edi=Assigner/Party"},
        {tlv(0x86, str("https://example.com/a?b=c")), "6 uri=https://example.com/a?b=c"},
        {tlv(0x87, {192, 0, 2, 1}), "7 ip=192.0.2.1"},
        {tlv(0x88, Bytes(oid.begin() + 2, oid.end())), "8 regid=1.3.6.1.5.5.7.3.1"},
        // Outside a name constraint an address has no mask; 5 bytes is none.
        {tlv(0x87, {10, 0, 0, 0, 255, 0, 0, 0}), "7"},
        {tlv(0x87, {10, 0, 0, 0, 1}), "7"},
    };
    Bytes all;
    for (const auto &row : rows)
        all = all + row.first;
    const auto names = items(altNames(sanCert(all)));
    ASSERT_EQ(names.size(), std::size(rows));
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(describe(names[i].get()), rows[i].second);
        EXPECT_EQ(bytesOf(tavik_cert_generalname_getencode(names[i].get())), rows[i].first) << i;
    }
    EXPECT_EQ(describe(nullptr), "-1");
    EXPECT_EQ(tavik_cert_generalnames_getitemcount(nullptr), -1);
    EXPECT_EQ(tavik_cert_generalnames_getitem(nullptr, 0), nullptr);
}

// ext-names: the nine choices as its configuration writes them; the
// encodings of the items make up the extension value again.
TEST(GeneralName, ExtNamesFixtureCarriesAllNineChoices)
{
    const CertPtr cert = loadCert("ext-names");
    const NamesPtr names = altNames(cert);
    const std::vector<std::string> expected = {
        "0 other=1.3.6.1.4.1.311.20.2.3:0C1075736572406578616D706C652E636F6D",
        "0 other=1.3.6.1.4.1.311.25.1:0410000102030405060708090A0B0C0D0E0F",
        "0 other=1.2.3.4:0C0178",
        "1 rfc822=names@example.com",
        "2 dns=names.example.com",
        "3",
        "4 dir=    2.5.4.6 = CN\n    2.5.4.10 = Tavik Test\n    2.5.4.3 = Tavik Directory Name\n",
        "5 edi=Tavik Assigner/Tavik Party",
        "6 uri=http://names.example.com/",
        "7 ip=192.0.2.1",
        "7 ip=2001:db8::1",
        "8 regid=1.2.3.4.5.6",
    };
    EXPECT_EQ(describeAll(names), expected);
    Bytes encodings;
    for (const auto &name : items(names))
        encodings = encodings + bytesOf(tavik_cert_generalname_getencode(name.get()));
    EXPECT_EQ(tlv(0x30, encodings),
              bytesOf(tavik_cert_ext_getvalue(findExt(cert, "2.5.29.17").get())));
}

// The choices the openssl command shows as plain text.
TEST(GeneralName, SubjectAltNamesMatchOpenssl)
{
    std::vector<ExtensionPtr> e;
    e.push_back(confExtension(NID_subject_alt_name,
                              "email:a@example.com, DNS:*.example.com, "
                              "URI:ldap://dir.example.com/o=x, IP:10.1.2.3, RID:1.2.3.4.5"));
    const Bytes builtDer = certDer(kPlainName, std::move(e));
    const TempCert builtFile(builtDer);
    const CertPtr built = handleFrom(builtDer);
    const CertPtr leaf = loadCert("rsa-leaf");
    const std::pair<const CertPtr *, std::string> cases[] = {{&leaf, fixturePath("rsa-leaf.der")},
                                                             {&built, builtFile.path()}};
    for (const auto &[cert, file] : cases) {
        const std::pair<std::string, std::string> labels[] = {{"1 rfc822=", "email:"},
                                                              {"2 dns=", "DNS:"},
                                                              {"6 uri=", "URI:"},
                                                              {"7 ip=", "IP Address:"},
                                                              {"8 regid=", "Registered ID:"}};
        std::string ours;
        for (std::string item : describeAll(altNames(*cert))) {
            for (const auto &[from, to] : labels)
                if (item.rfind(from, 0) == 0)
                    item = to + item.substr(from.size());
            ours += (ours.empty() ? "" : ", ") + item;
        }
        EXPECT_EQ("X509v3 Subject Alternative Name: \n    " + ours + "\n",
                  openssl("x509 -inform DER -noout -ext subjectAltName -in '" + file + "'"));
    }
}

TEST(GeneralName, Ipv6IsCompressedAfterRfc5952)
{
    const std::pair<const char *, const char *> rows[] = {
        {"::1", "::1"},
        {"::", "::"},
        {"1::", "1::"},
        {"2001:DB8:0:0:0:0:0:1", "2001:db8::1"},
        {"1:0:0:1:0:0:0:1", "1:0:0:1::1"},
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"fe80:0000:0000:0000:0204:61ff:fe9d:f156", "fe80::204:61ff:fe9d:f156"},
        {"1:2:3:4:5:6:7:0", "1:2:3:4:5:6:7:0"},
    };
    std::string conf;
    for (const auto &[input, expected] : rows)
        conf += (conf.empty() ? "IP:" : ", IP:") + std::string(input);
    const auto names = items(altNames(confCert(NID_subject_alt_name, conf.c_str())));
    ASSERT_EQ(names.size(), std::size(rows));
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(text(tavik_cert_generalname_getip(names[i].get())), rows[i].second)
            << rows[i].first;
}

// EDIPartyName strings are DirectoryStrings decoded without OpenSSL's name
// canonicalisation, so surrogate pairs and malformed text reach the toolkit.
TEST(GeneralName, EdiPartyStringsConvertOrAreRefused)
{
    const std::pair<Bytes, std::string> rows[] = {
        {ediParty(std::nullopt, tlv(0x0C, str("party"))), "5 edi=-/party"},
        {ediParty(tlv(0x14, {0xC4}), tlv(0x1E, {0xD8, 0x3D, 0xDE, 0x00})),
         "5 edi=\xC3\x84/\xF0\x9F\x98\x80"},
        {ediParty(std::nullopt, tlv(0x1E, {0xD8, 0x3D, 0x00, 0x41})), "5 edi=-/-"},
        {ediParty(std::nullopt, tlv(0x1E, {0xDC, 0x00, 0xD8, 0x3D})), "5 edi=-/-"},
        {ediParty(std::nullopt, tlv(0x1E, {0x00, 0x41, 0xD8, 0x3D})), "5 edi=-/-"},
        {ediParty(tlv(0x1C, {0, 0, 0x6D, 0x4B}), tlv(0x1C, {0, 0x11, 0, 0})),
         "5 edi=\xE6\xB5\x8B/-"},
        {ediParty(std::nullopt, tlv(0x1C, {0x00, 0x00, 0xDF, 0xFF})), "5 edi=-/-"},
        {ediParty(std::nullopt, tlv(0x0C, {0xC1, 0x81})), "5 edi=-/-"},
    };
    for (const auto &[der, expected] : rows)
        EXPECT_EQ(describeAll(altNames(sanCert(der))), std::vector{expected}) << hex(der);

    // OpenSSL refuses a BMPString of odd length while decoding: nothing of it
    // comes out.
    const auto odd = items(altNames(sanCert(ediParty(std::nullopt, tlv(0x1E, {0, 0x41, 0})))));
    EXPECT_TRUE(odd.empty() || describe(odd[0].get()) == "5");
}

// ---- Name-constraint subtrees ----

// "base (min..max)", the bounds as "Min" and "Max" when absent.
std::vector<std::string> describeSubtrees(tavik_cert_generalsubtrees *owned)
{
    const SubtreesPtr subtrees(owned);
    const auto bound = [](tavik_biginteger *n, const char *absent) {
        const BigIntPtr holder(n);
        std::int64_t v = 0;
        return n && tavik_biginteger_getvalue(n, &v) == 1 ? std::to_string(v) : absent;
    };
    std::vector<std::string> out;
    for (int i = 0; i < tavik_cert_generalsubtrees_getitemcount(subtrees.get()); ++i) {
        const SubtreePtr subtree(tavik_cert_generalsubtrees_getitem(subtrees.get(), i));
        const NamePtr base(tavik_cert_generalsubtree_getbase(subtree.get()));
        out.push_back(describe(base.get()) + " (" +
                      bound(tavik_cert_generalsubtree_getmin(subtree.get()), "Min") + ".." +
                      bound(tavik_cert_generalsubtree_getmax(subtree.get()), "Max") + ")");
    }
    return out;
}

ConstraintsPtr constraintsOf(const CertPtr &cert)
{
    const ExtPtr ext = findExt(cert, "2.5.29.30");
    return ConstraintsPtr(ext ? tavik_cert_ext_tonameconstraints(ext.get()) : nullptr);
}

TEST(Subtrees, BasesCarryMasksAndBoundsAreReadWhenPresent)
{
    const ConstraintsPtr fixture = constraintsOf(loadCert("ext-ca"));
    ASSERT_TRUE(fixture);
    const std::vector<std::string> permitted = {
        "2 dns=.example.com (Min..Max)", "7 ip=192.168.0.0/255.255.0.0 (Min..Max)",
        "7 ip=2001:db8::/ffff:ffff:: (Min..Max)", "2 dns=ranged.example.org (1..5)"};
    EXPECT_EQ(describeSubtrees(tavik_cert_nameconstraints_getpremit(fixture.get())), permitted);
    EXPECT_EQ(describeSubtrees(tavik_cert_nameconstraints_getexclude(fixture.get())),
              std::vector<std::string>{"1 rfc822=.bad.example (Min..Max)"});

    // GeneralSubtree ::= SEQUENCE { base, minimum [0] DEFAULT 0, maximum [1] OPTIONAL }
    const Bytes dns = tlv(0x82, str("a.example"));
    const Bytes subtrees = tlv(0x30, dns + tlv(0x80, {0x00})) +
                           tlv(0x30, dns + tlv(0x81, {0x00, 0x80})) +
                           tlv(0x30, tlv(0x87, Bytes(32, 0))) + tlv(0x30, tlv(0x87, {10, 0, 0, 1}));
    std::vector<ExtensionPtr> raw;
    raw.push_back(rawExtension(NID_name_constraints, tlv(0x30, tlv(0xA0, subtrees))));
    const ConstraintsPtr built = constraintsOf(makeCert(kPlainName, std::move(raw)));
    ASSERT_TRUE(built);
    // A bare address is no subtree base: it has no mask.
    const std::vector<std::string> expected = {"2 dns=a.example (0..Max)",
                                               "2 dns=a.example (Min..128)",
                                               "7 ip=::/:: (Min..Max)", "7 (Min..Max)"};
    EXPECT_EQ(describeSubtrees(tavik_cert_nameconstraints_getpremit(built.get())), expected);
    EXPECT_EQ(tavik_cert_generalsubtrees_getitemcount(nullptr), -1);
    EXPECT_EQ(tavik_cert_generalsubtree_getbase(nullptr), nullptr);
    EXPECT_EQ(tavik_cert_generalsubtree_getmin(nullptr), nullptr);
}

} // namespace
