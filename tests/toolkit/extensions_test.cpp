// Extension lists and the typed converters, read against what the openssl
// command reports for the same certificates, and against hand-made values.
#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fixtures.hpp"
#include "tavik_ptr.hpp"

namespace {

using pkiui::test::fixturePath;
using pkiui::test::loadCert;
using pkiui::test::openssl;
using tavik::BigIntPtr;
using tavik::BitSetPtr;
using tavik::BlobPtr;
using tavik::CertPtr;
using tavik::TextPtr;
using tavik::TimePtr;
using ExtsPtr = std::unique_ptr<tavik_cert_exts, tavik::Free<tavik_cert_exts_free>>;
using ExtPtr = std::unique_ptr<tavik_cert_ext, tavik::Free<tavik_cert_ext_free>>;
using BcPtr =
    std::unique_ptr<tavik_cert_basicconstraints, tavik::Free<tavik_cert_basicconstraints_free>>;
using EkuPtr = std::unique_ptr<tavik_cert_extkeyusage, tavik::Free<tavik_cert_extkeyusage_free>>;
using MapsPtr = std::unique_ptr<tavik_cert_policymaps, tavik::Free<tavik_cert_policymaps_free>>;
using MapPtr = std::unique_ptr<tavik_cert_policymap, tavik::Free<tavik_cert_policymap_free>>;
using PcPtr =
    std::unique_ptr<tavik_cert_policyconstraints, tavik::Free<tavik_cert_policyconstraints_free>>;
using PkupPtr =
    std::unique_ptr<tavik_cert_privkeyusageperiod, tavik::Free<tavik_cert_privkeyusageperiod_free>>;
using Bytes = std::vector<unsigned char>;

// ---- Reference readings ----

std::string trim(const std::string &s)
{
    const auto first = s.find_first_not_of(" \t\r\n");
    const auto last = s.find_last_not_of(" \t\r\n");
    return first == std::string::npos ? "" : s.substr(first, last - first + 1);
}

std::string dotted(const std::string &name)
{
    using ObjPtr = std::unique_ptr<ASN1_OBJECT, tavik::Free<ASN1_OBJECT_free>>;
    const ObjPtr obj(OBJ_txt2obj(name.c_str(), 0));
    char text[128] = "";
    if (obj)
        OBJ_obj2txt(text, sizeof text, obj.get(), 1);
    return text;
}

// One extension as `openssl asn1parse` lists it: an OBJECT, an optional
// BOOLEAN and an OCTET STRING hex dump in a row at one depth.
struct RefExt {
    std::string oid;
    bool critical = false;
    std::string hex;
};

struct ParsedLine {
    int depth = -1;
    std::string type;
    std::string value;
};

ParsedLine parseLine(const std::string &line)
{
    ParsedLine p;
    const auto d = line.find("d=");
    const auto kind = line.find(": ", d == std::string::npos ? 0 : d);
    if (d == std::string::npos || kind == std::string::npos)
        return p;
    p.depth = std::stoi(line.substr(d + 2));
    const std::string rest = line.substr(kind + 2);
    const auto colon = rest.find(':');
    p.type = trim(rest.substr(0, colon));
    p.value = colon == std::string::npos ? "" : rest.substr(colon + 1);
    return p;
}

std::vector<RefExt> referenceExtensions(const std::string &name)
{
    std::istringstream in(openssl("asn1parse -inform DER -in " + fixturePath(name + ".der")));
    std::vector<ParsedLine> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(parseLine(line));
    std::vector<RefExt> out;
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i].type != "OBJECT")
            continue;
        RefExt ext{dotted(lines[i].value), false, ""};
        std::size_t next = i + 1;
        if (lines[next].type == "BOOLEAN" && lines[next].depth == lines[i].depth) {
            ext.critical = lines[next].value != "0";
            ++next;
        }
        if (next >= lines.size())
            break;
        // "OCTET STRING      [HEX DUMP]:3000"
        const std::string &type = lines[next].type;
        if (type.rfind("OCTET STRING", 0) == 0 && type.find("[HEX DUMP]") != std::string::npos &&
            lines[next].depth == lines[i].depth) {
            ext.hex = trim(lines[next].value);
            out.push_back(ext);
        }
    }
    return out;
}

// `openssl x509 -ext NAME`: whether the extension is there, its critical
// flag and its text lines (trimmed, joined by "\n").
struct ExtText {
    bool present = false;
    bool critical = false;
    std::string body;
};

ExtText extText(const std::string &fixture, const std::string &name)
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
    return out;
}

std::string hexOf(const tavik_data_blob *blob)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    if (!blob)
        return "(null)";
    for (std::size_t i = 0; i < blob->length; ++i) {
        out += digits[blob->data[i] >> 4];
        out += digits[blob->data[i] & 15];
    }
    return out;
}

std::string textOf(char *owned)
{
    const TextPtr text(owned);
    return text ? text.get() : "(null)";
}

std::optional<std::int64_t> valueOf(const BigIntPtr &n)
{
    std::int64_t v = 0;
    if (!n || tavik_biginteger_getvalue(n.get(), &v) != 1)
        return std::nullopt;
    return v;
}

std::set<int> bitsOf(const tavik_bitset *set)
{
    std::set<int> bits;
    for (int i = 0; i < 64; ++i)
        if (tavik_bitset_isset(set, i))
            bits.insert(i);
    return bits;
}

ExtPtr findExt(TAVIK_CERT_st *cert, const char *oid)
{
    const ExtsPtr exts(tavik_cert_getexts(cert));
    return ExtPtr(tavik_cert_exts_find(exts.get(), oid));
}

// ---- Certificates made here around raw extension values ----

struct RawExt {
    const char *oid;
    bool critical;
    Bytes value;
};

CertPtr certWith(const std::vector<RawExt> &exts)
{
    using OctetPtr = std::unique_ptr<ASN1_OCTET_STRING, tavik::Free<ASN1_OCTET_STRING_free>>;
    using ObjPtr = std::unique_ptr<ASN1_OBJECT, tavik::Free<ASN1_OBJECT_free>>;
    using ExtensionPtr = std::unique_ptr<X509_EXTENSION, tavik::Free<X509_EXTENSION_free>>;
    const pkiui::test::KeyPtr key(EVP_EC_gen("P-256"));
    const pkiui::test::X509Ptr x(X509_new());
    if (!key || !x || !X509_set_version(x.get(), X509_VERSION_3) ||
        !X509_gmtime_adj(X509_getm_notBefore(x.get()), 0) ||
        !X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400) ||
        !X509_set_pubkey(x.get(), key.get()))
        return nullptr;
    for (const RawExt &raw : exts) {
        const ObjPtr oid(OBJ_txt2obj(raw.oid, 1));
        const OctetPtr value(ASN1_OCTET_STRING_new());
        if (!oid || !value ||
            !ASN1_OCTET_STRING_set(value.get(), raw.value.data(),
                                   static_cast<int>(raw.value.size())))
            return nullptr;
        const ExtensionPtr ext(
            X509_EXTENSION_create_by_OBJ(nullptr, oid.get(), raw.critical, value.get()));
        if (!ext || !X509_add_ext(x.get(), ext.get(), -1))
            return nullptr;
    }
    if (!X509_sign(x.get(), key.get(), EVP_sha256()))
        return nullptr;
    return pkiui::test::handleOf(x.get());
}

// The one extension of a certificate made around the value.
struct Holder {
    CertPtr cert;
    ExtPtr ext;
};

Holder extOf(const Bytes &value, const char *oid = "1.2.3.4")
{
    Holder h{certWith({{oid, false, value}}), nullptr};
    h.ext = findExt(h.cert.get(), oid);
    return h;
}

// ---- The list ----

const char *const kFixtures[] = {"rsa-leaf", "rsa-root", "rsa-inter", "ec-leaf", "sm2-self"};

TEST(ExtensionList, MatchesAsn1ParseInOrderWithCriticalFlagsAndRawValues)
{
    for (const char *name : kFixtures) {
        SCOPED_TRACE(name);
        const std::vector<RefExt> expected = referenceExtensions(name);
        ASSERT_FALSE(expected.empty());
        const CertPtr cert = loadCert(name);
        ASSERT_TRUE(cert);
        EXPECT_EQ(tavik_cert_hasexts(cert.get()), 1);
        const ExtsPtr exts(tavik_cert_getexts(cert.get()));
        ASSERT_TRUE(exts);
        ASSERT_EQ(tavik_cert_exts_getitemcount(exts.get()), static_cast<int>(expected.size()));
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const ExtPtr ext(tavik_cert_exts_getitem(exts.get(), static_cast<int>(i)));
            ASSERT_TRUE(ext) << i;
            EXPECT_EQ(textOf(tavik_cert_ext_getextid(ext.get())), expected[i].oid) << i;
            EXPECT_EQ(tavik_cert_ext_iscrical(ext.get()), expected[i].critical ? 1 : 0) << i;
            EXPECT_EQ(hexOf(BlobPtr(tavik_cert_ext_getvalue(ext.get())).get()), expected[i].hex)
                << i;
            // find gives the first extension with the OID.
            std::size_t first = 0;
            while (expected[first].oid != expected[i].oid)
                ++first;
            const ExtPtr found(tavik_cert_exts_find(exts.get(), expected[i].oid.c_str()));
            EXPECT_EQ(hexOf(BlobPtr(tavik_cert_ext_getvalue(found.get())).get()),
                      expected[first].hex);
        }
        EXPECT_FALSE(ExtPtr(tavik_cert_exts_getitem(exts.get(), -1)));
        EXPECT_FALSE(
            ExtPtr(tavik_cert_exts_getitem(exts.get(), static_cast<int>(expected.size()))));
    }
}

TEST(ExtensionList, FindComparesTheWholeDottedText)
{
    const CertPtr cert = loadCert("rsa-leaf");
    const ExtsPtr exts(tavik_cert_getexts(cert.get()));
    ASSERT_TRUE(exts);
    const std::pair<const char *, bool> cases[] = {
        {"2.5.29.15", true},   {"2.5.29.1", false},   {"2.5.29.15.0", false},
        {" 2.5.29.15", false}, {"2.5.29.015", false}, {"keyUsage", false},
        {"", false},           {"1.2.3.4", false},
    };
    for (const auto &[oid, found] : cases)
        EXPECT_EQ(ExtPtr(tavik_cert_exts_find(exts.get(), oid)) != nullptr, found) << oid;
    EXPECT_FALSE(ExtPtr(tavik_cert_exts_find(exts.get(), nullptr)));
    EXPECT_FALSE(ExtPtr(tavik_cert_exts_find(nullptr, "2.5.29.15")));
}

TEST(ExtensionList, AbsentOrNullGivesNothing)
{
    // A version 3 certificate without extensions.
    const CertPtr bare = certWith({});
    ASSERT_TRUE(bare);
    EXPECT_EQ(tavik_cert_hasexts(bare.get()), 0);
    EXPECT_FALSE(ExtsPtr(tavik_cert_getexts(bare.get())));
    EXPECT_EQ(tavik_cert_hasexts(nullptr), 0);
    EXPECT_FALSE(ExtsPtr(tavik_cert_getexts(nullptr)));
    EXPECT_EQ(tavik_cert_exts_getitemcount(nullptr), -1);
    EXPECT_FALSE(tavik_cert_ext_getextid(nullptr));
    EXPECT_EQ(tavik_cert_ext_iscrical(nullptr), 0);
    EXPECT_FALSE(BlobPtr(tavik_cert_ext_getvalue(nullptr)));
}

// A handle stays valid after its list and certificate are gone, and an OID
// far longer than usual comes out whole.
TEST(ExtensionList, HandlesOwnTheirCopies)
{
    const std::string longOid = "1.2.840.113549.1.9.16.2.47.1234567890.1234567890.1234567890."
                                "1234567890.1234567890.1234567890.1234567890";
    ExtPtr ext;
    {
        const CertPtr cert =
            certWith({{longOid.c_str(), true, {0x05, 0x00}}, {"1.2.3.4", false, {}}});
        ASSERT_TRUE(cert);
        const ExtsPtr exts(tavik_cert_getexts(cert.get()));
        ext.reset(tavik_cert_exts_getitem(exts.get(), 0));
        const ExtPtr empty(tavik_cert_exts_find(exts.get(), "1.2.3.4"));
        const BlobPtr value(tavik_cert_ext_getvalue(empty.get()));
        ASSERT_TRUE(value);
        EXPECT_EQ(value->length, 0U);
    }
    ASSERT_TRUE(ext);
    EXPECT_EQ(textOf(tavik_cert_ext_getextid(ext.get())), longOid);
    EXPECT_EQ(tavik_cert_ext_iscrical(ext.get()), 1);
    EXPECT_EQ(hexOf(BlobPtr(tavik_cert_ext_getvalue(ext.get())).get()), "0500");
}

// ---- Converters on the fixtures ----

TEST(BasicConstraints, MatchOpensslOnTheFixtures)
{
    for (const char *name : kFixtures) {
        SCOPED_TRACE(name);
        const ExtText ref = extText(name, "basicConstraints");
        ASSERT_TRUE(ref.present);
        const CertPtr cert = loadCert(name);
        const ExtPtr ext = findExt(cert.get(), "2.5.29.19");
        EXPECT_EQ(tavik_cert_ext_iscrical(ext.get()), ref.critical ? 1 : 0);
        const BcPtr bc(tavik_cert_ext_tobasicconstraints(ext.get()));
        ASSERT_TRUE(bc);
        EXPECT_EQ(tavik_cert_basicconstraints_isca(bc.get()),
                  ref.body.find("CA:TRUE") != std::string::npos ? 1 : 0);
        const auto at = ref.body.find("pathlen:");
        const std::optional<std::int64_t> pathlen =
            at == std::string::npos
                ? std::nullopt
                : std::optional<std::int64_t>(std::stoll(ref.body.substr(at + 8)));
        const BigIntPtr got(tavik_cert_basicconstraints_getpathlen(bc.get()));
        EXPECT_EQ(got != nullptr, pathlen.has_value());
        EXPECT_EQ(valueOf(got), pathlen);
    }
}

TEST(KeyUsage, BitsMatchOpensslNames)
{
    const std::map<std::string, int> bitOf = {
        {"Digital Signature", 0}, {"Non Repudiation", 1}, {"Key Encipherment", 2},
        {"Data Encipherment", 3}, {"Key Agreement", 4},   {"Certificate Sign", 5},
        {"CRL Sign", 6},          {"Encipher Only", 7},   {"Decipher Only", 8},
    };
    for (const char *name : kFixtures) {
        SCOPED_TRACE(name);
        const ExtText ref = extText(name, "keyUsage");
        ASSERT_TRUE(ref.present);
        std::set<int> expected;
        std::istringstream words(ref.body);
        for (std::string word; std::getline(words, word, ',');)
            expected.insert(bitOf.at(trim(word)));
        const CertPtr cert = loadCert(name);
        const ExtPtr ext = findExt(cert.get(), "2.5.29.15");
        EXPECT_EQ(tavik_cert_ext_iscrical(ext.get()), ref.critical ? 1 : 0);
        const BitSetPtr bits(tavik_cert_ext_tobitstring(ext.get()));
        ASSERT_TRUE(bits);
        EXPECT_EQ(bitsOf(bits.get()), expected);
    }
}

TEST(SubjectKeyIdentifier, MatchesOpensslHex)
{
    for (const char *name : kFixtures) {
        SCOPED_TRACE(name);
        std::string expected = extText(name, "subjectKeyIdentifier").body;
        std::erase(expected, ':');
        const CertPtr cert = loadCert(name);
        const BlobPtr id(tavik_cert_ext_tooctetstring(findExt(cert.get(), "2.5.29.14").get()));
        EXPECT_EQ(hexOf(id.get()), expected);
    }
}

TEST(ExtendedKeyUsage, PurposesMatchOpensslInOrder)
{
    const ExtText ref = extText("rsa-leaf", "extendedKeyUsage");
    std::vector<std::string> expected;
    std::istringstream words(ref.body);
    for (std::string word; std::getline(words, word, ',');)
        expected.push_back(dotted(trim(word)));
    ASSERT_EQ(expected.size(), 2U);
    const CertPtr cert = loadCert("rsa-leaf");
    const EkuPtr eku(tavik_cert_ext_toextkeyusage(findExt(cert.get(), "2.5.29.37").get()));
    ASSERT_TRUE(eku);
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_extkeyusage_getitemcount(eku.get()); ++i)
        got.push_back(textOf(tavik_cert_extkeyusage_getitem(eku.get(), i)));
    EXPECT_EQ(got, expected);
    EXPECT_FALSE(tavik_cert_extkeyusage_getitem(eku.get(), 2));
    EXPECT_FALSE(tavik_cert_extkeyusage_getitem(eku.get(), -1));
}

// A converter reads the value's structure: on a value of another shape it
// gives null.
using Converter = std::function<bool(const tavik_cert_ext *)>;

template <auto Convert, auto Release> Converter converter()
{
    return [](const tavik_cert_ext *ext) {
        auto *result = Convert(ext);
        Release(result);
        return result != nullptr;
    };
}

const std::map<std::string, Converter> &converters()
{
    static const std::map<std::string, Converter> table = {
        {"basicconstraints",
         converter<tavik_cert_ext_tobasicconstraints, tavik_cert_basicconstraints_free>()},
        {"bitstring", converter<tavik_cert_ext_tobitstring, tavik_bitset_free>()},
        {"extkeyusage", converter<tavik_cert_ext_toextkeyusage, tavik_cert_extkeyusage_free>()},
        {"policymappings",
         converter<tavik_cert_ext_topolicymappings, tavik_cert_policymaps_free>()},
        {"policyconstraints",
         converter<tavik_cert_ext_topolicyconstraints, tavik_cert_policyconstraints_free>()},
        {"privkeyusageperiod",
         converter<tavik_cert_ext_toprivkeyusageperiod, tavik_cert_privkeyusageperiod_free>()},
        {"integer", converter<tavik_cert_ext_tointeger, tavik_biginteger_free>()},
        {"enum", converter<tavik_cert_ext_toenum, tavik_biginteger_free>()},
        {"octetstring", converter<tavik_cert_ext_tooctetstring, tavik_data_blob_free>()},
        {"oid", converter<tavik_cert_ext_tooid, tavik_free>()},
        {"generalizedtime", converter<tavik_cert_ext_togeneralizedtime, tavik_time_free>()},
    };
    return table;
}

TEST(Converters, RefuseValuesOfAnotherShape)
{
    const CertPtr cert = loadCert("rsa-leaf");
    const std::pair<const char *, std::vector<const char *>> cases[] = {
        {"2.5.29.15", // BIT STRING
         {"basicconstraints", "extkeyusage", "policymappings", "policyconstraints",
          "privkeyusageperiod", "integer", "enum", "octetstring", "oid", "generalizedtime"}},
        {"2.5.29.14", {"bitstring", "integer", "enum", "basicconstraints", "extkeyusage"}},
        {"2.5.29.37", {"bitstring", "octetstring", "basicconstraints", "policymappings"}},
        {"2.5.29.19", {"bitstring", "octetstring", "integer", "oid"}},
    };
    for (const auto &[oid, refused] : cases) {
        const ExtPtr ext = findExt(cert.get(), oid);
        ASSERT_TRUE(ext) << oid;
        for (const char *name : refused)
            EXPECT_FALSE(converters().at(name)(ext.get())) << oid << " " << name;
    }
    for (const auto &[name, convert] : converters())
        EXPECT_FALSE(convert(nullptr)) << name;
}

// Hand-made values under an unrelated OID: the structure decides, the whole
// value must be used, and absent parts stay null.
TEST(Converters, ReadHandMadeValuesWhole)
{
    struct Case {
        Bytes value;
        const char *accepts; // the converter that must read it; null: none of them
    };
    const Case cases[] = {
        {{0x02, 0x02, 0x12, 0x34}, "integer"},
        {{0x02, 0x02, 0x12, 0x34, 0x00}, nullptr},
        {{0x0A, 0x01, 0x01}, "enum"},
        {{0x04, 0x00}, "octetstring"},
        {{0x04, 0x02, 0xAB, 0xCD, 0x04}, nullptr},
        {{0x06, 0x03, 0x2A, 0x03, 0x04}, "oid"},
        {{0x18, 0x0F, '2', '0', '2', '4', '0', '1', '0', '2', '0', '3', '0', '4', '0', '5', 'Z'},
         "generalizedtime"},
        {{0x17, 0x0D, '2', '4', '0', '1', '0', '2', '0', '3', '0', '4', '0', '5', 'Z'}, nullptr},
        {{0x03, 0x03, 0x06, 0x00, 0x40}, "bitstring"},
        {{0x30, 0x03, 0x01, 0x01, 0xFF, 0x00}, nullptr},
        {{}, nullptr},
    };
    for (const Case &c : cases) {
        const Holder h = extOf(c.value);
        ASSERT_TRUE(h.ext);
        for (const auto &[name, convert] : converters()) {
            const bool expected = c.accepts && name == c.accepts;
            EXPECT_EQ(convert(h.ext.get()), expected)
                << name << " on " << hexOf(BlobPtr(tavik_cert_ext_getvalue(h.ext.get())).get());
        }
    }
}

TEST(Converters, SingleValuesReadAsEncoded)
{
    EXPECT_EQ(
        valueOf(BigIntPtr(tavik_cert_ext_tointeger(extOf({0x02, 0x02, 0x12, 0x34}).ext.get()))),
        4660);
    EXPECT_EQ(valueOf(BigIntPtr(tavik_cert_ext_tointeger(extOf({0x02, 0x01, 0xFF}).ext.get()))),
              -1);
    EXPECT_EQ(valueOf(BigIntPtr(tavik_cert_ext_toenum(extOf({0x0A, 0x01, 0x07}).ext.get()))), 7);
    EXPECT_EQ(textOf(tavik_cert_ext_tooid(
                  extOf({0x06, 0x07, 0x2A, 0x86, 0x48, 0xCE, 0x38, 0x02, 0x02}).ext.get())),
              "1.2.840.10040.2.2");
    EXPECT_EQ(
        hexOf(BlobPtr(tavik_cert_ext_tooctetstring(extOf({0x04, 0x03, 0x01, 0x02, 0x03}).ext.get()))
                  .get()),
        "010203");
    const TimePtr t(
        tavik_cert_ext_togeneralizedtime(extOf({0x18, 0x0F, '2', '0', '2', '4', '0', '1', '0', '2',
                                                '0', '3', '0', '4', '0', '5', 'Z'})
                                             .ext.get()));
    ASSERT_TRUE(t);
    EXPECT_EQ(std::vector<int>({tavik_time_getyear(t.get()), tavik_time_getmonth(t.get()),
                                tavik_time_getday(t.get()), tavik_time_gethour(t.get()),
                                tavik_time_getminute(t.get()), tavik_time_getsecond(t.get())}),
              std::vector<int>({2024, 1, 2, 3, 4, 5}));
    // Bit 9 alone: bits past the first byte count, padding does not.
    const BitSetPtr bits(
        tavik_cert_ext_tobitstring(extOf({0x03, 0x03, 0x06, 0x00, 0x40}).ext.get()));
    EXPECT_EQ(bitsOf(bits.get()), std::set<int>{9});
}

TEST(BasicConstraints, FlagIsExactlyOneOrZeroAndTrailingBytesAreRefused)
{
    struct Case {
        Bytes value;
        bool decodes;
        int ca;
        std::optional<std::int64_t> pathlen;
    };
    const Case cases[] = {
        {{0x30, 0x00}, true, 0, std::nullopt},
        {{0x30, 0x03, 0x01, 0x01, 0xFF}, true, 1, std::nullopt},
        {{0x30, 0x06, 0x01, 0x01, 0xFF, 0x02, 0x01, 0x03}, true, 1, 3},
        {{0x30, 0x03, 0x02, 0x01, 0x00}, true, 0, 0},
        {{0x30, 0x03, 0x01, 0x01, 0xFF, 0x00}, false, 0, std::nullopt},
        {{0x30, 0x04, 0x01, 0x01, 0xFF, 0x00}, false, 0, std::nullopt},
    };
    for (const Case &c : cases) {
        const Holder h = extOf(c.value, "2.5.29.19");
        ASSERT_TRUE(h.ext);
        const BcPtr bc(tavik_cert_ext_tobasicconstraints(h.ext.get()));
        ASSERT_EQ(bc != nullptr, c.decodes) << c.value.size();
        if (!bc)
            continue;
        EXPECT_EQ(tavik_cert_basicconstraints_isca(bc.get()), c.ca);
        EXPECT_EQ(valueOf(BigIntPtr(tavik_cert_basicconstraints_getpathlen(bc.get()))), c.pathlen);
    }
}

// PolicyMappings, PolicyConstraints and PrivateKeyUsagePeriod made by hand:
// each part present or absent as encoded.
TEST(Converters, PolicyMappingsConstraintsAndUsagePeriod)
{
    // { 1.2.3 -> 1.2.4 }, { 2.5.29.32.0 -> 1.3.5 }
    const Holder maps =
        extOf({0x30, 0x16, 0x30, 0x08, 0x06, 0x02, 0x2A, 0x03, 0x06, 0x02, 0x2A, 0x04,
               0x30, 0x0A, 0x06, 0x04, 0x55, 0x1D, 0x20, 0x00, 0x06, 0x02, 0x2B, 0x05});
    const MapsPtr m(tavik_cert_ext_topolicymappings(maps.ext.get()));
    ASSERT_TRUE(m);
    ASSERT_EQ(tavik_cert_policymaps_getitemcount(m.get()), 2);
    const std::pair<const char *, const char *> expected[] = {{"1.2.3", "1.2.4"},
                                                              {"2.5.29.32.0", "1.3.5"}};
    for (int i = 0; i < 2; ++i) {
        const MapPtr map(tavik_cert_policymaps_getitem(m.get(), i));
        EXPECT_EQ(textOf(tavik_cert_policymap_getissuerpolicy(map.get())), expected[i].first);
        EXPECT_EQ(textOf(tavik_cert_policymap_getsubjectpolicy(map.get())), expected[i].second);
    }
    EXPECT_FALSE(MapPtr(tavik_cert_policymaps_getitem(m.get(), 2)));

    const std::pair<Bytes, std::pair<std::optional<std::int64_t>, std::optional<std::int64_t>>>
        constraints[] = {
            {{0x30, 0x06, 0x80, 0x01, 0x00, 0x81, 0x01, 0x02}, {0, 2}},
            {{0x30, 0x03, 0x81, 0x01, 0x05}, {std::nullopt, 5}},
            {{0x30, 0x03, 0x80, 0x01, 0x01}, {1, std::nullopt}},
        };
    for (const auto &[value, parts] : constraints) {
        const Holder h = extOf(value);
        const PcPtr pc(tavik_cert_ext_topolicyconstraints(h.ext.get()));
        ASSERT_TRUE(pc);
        EXPECT_EQ(valueOf(BigIntPtr(tavik_cert_policyconstraints_getreqexppolicy(pc.get()))),
                  parts.first);
        EXPECT_EQ(valueOf(BigIntPtr(tavik_cert_policyconstraints_getinhibtpolicymapping(pc.get()))),
                  parts.second);
    }

    // notAfter only: 20300101000000Z
    const Holder period = extOf({0x30, 0x11, 0x81, 0x0F, '2', '0', '3', '0', '0', '1', '0', '1',
                                 '0', '0', '0', '0', '0', '0', 'Z'});
    const PkupPtr p(tavik_cert_ext_toprivkeyusageperiod(period.ext.get()));
    ASSERT_TRUE(p);
    EXPECT_FALSE(TimePtr(tavik_cert_privkeyusageperiod_getnotbefore(p.get())));
    const TimePtr after(tavik_cert_privkeyusageperiod_getnotafter(p.get()));
    ASSERT_TRUE(after);
    EXPECT_EQ(tavik_time_getyear(after.get()), 2030);
}

} // namespace
