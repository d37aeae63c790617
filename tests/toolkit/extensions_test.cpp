// Extension lists and the typed converters, read against what the openssl
// command reports for the same certificates, and against hand-made values
// where no fixture has the form.
#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <map>
#include <tuple>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using tavik::TimePtr;
template <class T, void (*F)(T *)> using Own = std::unique_ptr<T, Free<F>>;
using BcPtr = Own<tavik_cert_basicconstraints, tavik_cert_basicconstraints_free>;
using EkuPtr = Own<tavik_cert_extkeyusage, tavik_cert_extkeyusage_free>;
using MapsPtr = Own<tavik_cert_policymaps, tavik_cert_policymaps_free>;
using MapPtr = Own<tavik_cert_policymap, tavik_cert_policymap_free>;
using PcPtr = Own<tavik_cert_policyconstraints, tavik_cert_policyconstraints_free>;
using PkupPtr = Own<tavik_cert_privkeyusageperiod, tavik_cert_privkeyusageperiod_free>;
using AkidPtr = Own<tavik_cert_akid, tavik_cert_akid_free>;
using PoliciesPtr = Own<tavik_cert_certpolicies, tavik_cert_certpolicies_free>;
using InfoPtr = Own<tavik_cert_policyinfo, tavik_cert_policyinfo_free>;
using QualPtr = Own<tavik_cert_polqualifierinfo, tavik_cert_polqualifierinfo_free>;
using NoticePtr = Own<tavik_cert_usernotice, tavik_cert_usernotice_free>;
using DpsPtr = Own<tavik_cert_crldps, tavik_cert_crldps_free>;
using DpPtr = Own<tavik_cert_distpoint, tavik_cert_distpoint_free>;
using DpNamePtr = Own<tavik_cert_dpname, tavik_cert_dpname_free>;
using IdpPtr = Own<tavik_cert_idp, tavik_cert_idp_free>;
using DescsPtr = Own<tavik_cert_accessdescs, tavik_cert_accessdescs_free>;
using DescPtr = Own<tavik_cert_accessdesc, tavik_cert_accessdesc_free>;

// ---- Reference readings ----

// The extensions of a fixture as `asn1parse` lists them: an OBJECT, an
// optional BOOLEAN and the OCTET STRING hex dump at one depth.
struct RefExt {
    std::string oid;
    bool critical = false;
    std::string hex;
    std::size_t offset = 0; // of the OCTET STRING in the DER file
};

std::vector<RefExt> referenceExtensions(const std::string &name)
{
    const std::vector<Node> n = asn1parse("-in " + fixturePath(name + ".der"));
    std::vector<RefExt> out;
    for (std::size_t i = 0; i + 1 < n.size(); ++i) {
        if (n[i].type != "OBJECT")
            continue;
        std::size_t next = i + 1;
        const bool critical = n[next].type == "BOOLEAN" && n[next].depth == n[i].depth;
        if (critical && ++next >= n.size())
            break;
        if (n[next].type == "OCTET STRING      [HEX DUMP]" && n[next].depth == n[i].depth)
            out.push_back({dotted(n[i].value), critical && n[i + 1].value != "0",
                           trim(n[next].value), n[next].offset});
    }
    return out;
}

// The value of one fixture extension taken apart by `asn1parse -strparse`.
std::vector<Node> parseValue(const std::string &fixture, const std::string &oid)
{
    for (const RefExt &ext : referenceExtensions(fixture))
        if (ext.oid == oid)
            return asn1parse("-in " + fixturePath(fixture + ".der") + " -strparse " +
                             std::to_string(ext.offset));
    return {};
}

// `openssl x509 -ext NAME`: presence, critical flag, trimmed text lines.
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

std::vector<std::string> lines(const std::string &body)
{
    std::vector<std::string> out;
    std::istringstream in(body);
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

// The lines after the line equal to label, up to a blank or label-like line.
std::vector<std::string> linesAfter(const std::string &body, const std::string &label)
{
    std::vector<std::string> out;
    bool inside = false;
    for (const std::string &line : lines(body)) {
        if (inside && (line.empty() || line.back() == ':'))
            break;
        if (inside)
            out.push_back(line);
        inside = inside || line == label;
    }
    return out;
}

std::string colonless(std::string text)
{
    std::erase(text, ':');
    return text;
}

// Year to second of a toolkit time, and of openssl's "Jan  1 00:00:00 2024 GMT".
std::vector<int> fieldsOf(tavik_time *owned)
{
    const TimePtr t(owned);
    if (!t)
        return {};
    return {tavik_time_getyear(t.get()),   tavik_time_getmonth(t.get()),
            tavik_time_getday(t.get()),    tavik_time_gethour(t.get()),
            tavik_time_getminute(t.get()), tavik_time_getsecond(t.get())};
}

std::vector<int> fieldsOf(const std::string &printed)
{
    std::tm tm{};
    if (!strptime(trim(printed).c_str(), "%b %d %H:%M:%S %Y GMT", &tm))
        return {-1};
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

// A general name as openssl prints it ("email:a@b", "DirName:..."): the
// prefix decides the choice, the text after it is compared where the toolkit
// gives text.
void expectName(const tavik_cert_generalname *name, const std::string &printed)
{
    const std::string prefix = printed.substr(0, printed.find(':'));
    const std::map<std::string, int> choice = {
        {"email", TAVIK_GN_RFC822},    {"DNS", TAVIK_GN_DNS},       {"URI", TAVIK_GN_URI},
        {"DirName", TAVIK_GN_DIRNAME}, {"IP Address", TAVIK_GN_IP},
    };
    ASSERT_TRUE(choice.count(prefix)) << printed;
    EXPECT_EQ(tavik_cert_generalname_gettype(name), choice.at(prefix)) << printed;
    using Getter = tavik_ustring *(*)(const tavik_cert_generalname *);
    const std::map<std::string, Getter> texts = {
        {"email", tavik_cert_generalname_getrfc822name},
        {"DNS", tavik_cert_generalname_getdnsname},
        {"URI", tavik_cert_generalname_geturi},
    };
    if (texts.count(prefix)) {
        EXPECT_EQ(utf8(texts.at(prefix)(name)), printed.substr(printed.find(':') + 1));
    }
}

void expectNames(const tavik_cert_generalnames *names, const std::vector<std::string> &printed)
{
    ASSERT_TRUE(names);
    ASSERT_EQ(tavik_cert_generalnames_getitemcount(names), static_cast<int>(printed.size()));
    for (std::size_t i = 0; i < printed.size(); ++i)
        expectName(NamePtr(tavik_cert_generalnames_getitem(names, static_cast<int>(i))).get(),
                   printed[i]);
}

// ---- The list ----

TEST(ExtensionList, MatchesAsn1ParseInOrderWithCriticalFlagsAndRawValues)
{
    for (const char *name : {"rsa-leaf", "ext-std", "ext-crl", "ext-private", "ext-bad"}) {
        SCOPED_TRACE(name);
        const std::vector<RefExt> expected = referenceExtensions(name);
        ASSERT_FALSE(expected.empty());
        const CertPtr cert = loadCert(name);
        EXPECT_EQ(tavik_cert_hasexts(cert.get()), 1);
        const ExtsPtr exts(tavik_cert_getexts(cert.get()));
        ASSERT_EQ(tavik_cert_exts_getitemcount(exts.get()), static_cast<int>(expected.size()));
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const ExtPtr ext(tavik_cert_exts_getitem(exts.get(), static_cast<int>(i)));
            EXPECT_EQ(textOf(tavik_cert_ext_getextid(ext.get())), expected[i].oid) << i;
            EXPECT_EQ(tavik_cert_ext_iscrical(ext.get()), expected[i].critical ? 1 : 0) << i;
            EXPECT_EQ(hex(tavik_cert_ext_getvalue(ext.get())), expected[i].hex) << i;
            // find gives the first extension with the OID.
            std::size_t first = 0;
            while (expected[first].oid != expected[i].oid)
                ++first;
            const ExtPtr found(tavik_cert_exts_find(exts.get(), expected[i].oid.c_str()));
            EXPECT_EQ(hex(tavik_cert_ext_getvalue(found.get())), expected[first].hex);
        }
        EXPECT_FALSE(ExtPtr(tavik_cert_exts_getitem(exts.get(), -1)));
        EXPECT_FALSE(
            ExtPtr(tavik_cert_exts_getitem(exts.get(), static_cast<int>(expected.size()))));
    }
    const CertPtr v1 = loadCert("v1-cert");
    EXPECT_EQ(tavik_cert_hasexts(v1.get()), 0);
    EXPECT_FALSE(ExtsPtr(tavik_cert_getexts(v1.get())));
}

TEST(ExtensionList, FindComparesTheWholeDottedText)
{
    const CertPtr cert = loadCert("rsa-leaf");
    const ExtsPtr exts(tavik_cert_getexts(cert.get()));
    const std::pair<const char *, bool> cases[] = {
        {"2.5.29.15", true},   {"2.5.29.1", false},   {"2.5.29.15.0", false},
        {" 2.5.29.15", false}, {"2.5.29.015", false}, {"keyUsage", false},
        {"", false},           {"1.2.3.4", false},
    };
    for (const auto &[oid, found] : cases)
        EXPECT_EQ(ExtPtr(tavik_cert_exts_find(exts.get(), oid)) != nullptr, found) << oid;
}

// A handle outlives its list and certificate; an OID far longer than usual
// comes out whole; an empty value is a blob of length 0.
TEST(ExtensionList, HandlesOwnTheirCopies)
{
    const std::string longOid = "1.2.840.113549.1.9.16.2.47.1234567890.1234567890.1234567890."
                                "1234567890.1234567890.1234567890.1234567890";
    ExtPtr ext;
    {
        const CertPtr cert = madeCert([&](X509 *x) {
            return addRawExt(x, longOid.c_str(), {0x05, 0x00}, true) && addRawExt(x, "1.2.3.4", {});
        });
        const ExtsPtr exts(tavik_cert_getexts(cert.get()));
        ext.reset(tavik_cert_exts_getitem(exts.get(), 0));
        const BlobPtr empty(tavik_cert_ext_getvalue(findExt(cert.get(), "1.2.3.4").get()));
        ASSERT_TRUE(empty);
        EXPECT_EQ(empty->length, 0U);
    }
    EXPECT_EQ(textOf(tavik_cert_ext_getextid(ext.get())), longOid);
    EXPECT_EQ(tavik_cert_ext_iscrical(ext.get()), 1);
    EXPECT_EQ(hex(tavik_cert_ext_getvalue(ext.get())), "0500");
}

// ---- Converters without names ----

TEST(BasicConstraintsKeyUsageAndKeyId, MatchOpensslOnTheFixtures)
{
    const std::map<std::string, int> usageBits = {
        {"Digital Signature", 0}, {"Non Repudiation", 1}, {"Key Encipherment", 2},
        {"Data Encipherment", 3}, {"Key Agreement", 4},   {"Certificate Sign", 5},
        {"CRL Sign", 6},          {"Encipher Only", 7},   {"Decipher Only", 8},
    };
    // CA:FALSE, CA:TRUE with pathlen 0 and 3; encipher and decipher only.
    for (const char *name : {"rsa-leaf", "rsa-inter", "ext-ca", "ext-std"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const ExtText bc = extText(name, "basicConstraints");
        const ExtPtr bcExt = findExt(cert.get(), "2.5.29.19");
        EXPECT_EQ(tavik_cert_ext_iscrical(bcExt.get()), bc.critical ? 1 : 0);
        const BcPtr constraints(tavik_cert_ext_tobasicconstraints(bcExt.get()));
        ASSERT_TRUE(constraints);
        EXPECT_EQ(tavik_cert_basicconstraints_isca(constraints.get()),
                  bc.body.find("CA:TRUE") != std::string::npos ? 1 : 0);
        const auto at = bc.body.find("pathlen:");
        EXPECT_EQ(valueOf(tavik_cert_basicconstraints_getpathlen(constraints.get())),
                  at == std::string::npos ? std::nullopt
                                          : std::optional(std::stoll(bc.body.substr(at + 8))));

        std::set<int> usage;
        for (const std::string &word : split(extText(name, "keyUsage").body, ","))
            usage.insert(usageBits.at(word));
        EXPECT_EQ(bitsOf(tavik_cert_ext_tobitstring(findExt(cert.get(), "2.5.29.15").get())),
                  usage);

        EXPECT_EQ(hex(tavik_cert_ext_tooctetstring(findExt(cert.get(), "2.5.29.14").get())),
                  colonless(extText(name, "subjectKeyIdentifier").body));
    }
}

TEST(ExtendedKeyUsage, PurposesMatchOpensslInOrder)
{
    std::vector<std::string> expected;
    for (const std::string &word : split(extText("ext-std", "extendedKeyUsage").body, ","))
        expected.push_back(dotted(word));
    const CertPtr cert = loadCert("ext-std");
    const EkuPtr eku(tavik_cert_ext_toextkeyusage(findExt(cert.get(), "2.5.29.37").get()));
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_extkeyusage_getitemcount(eku.get()); ++i)
        got.push_back(textOf(tavik_cert_extkeyusage_getitem(eku.get(), i)));
    EXPECT_EQ(got, expected);
    EXPECT_FALSE(tavik_cert_extkeyusage_getitem(eku.get(), static_cast<int>(got.size())));
    EXPECT_FALSE(tavik_cert_extkeyusage_getitem(eku.get(), -1));
}

// Every converter, as "does it read this value".
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
        {"bc", converter<tavik_cert_ext_tobasicconstraints, tavik_cert_basicconstraints_free>()},
        {"bits", converter<tavik_cert_ext_tobitstring, tavik_bitset_free>()},
        {"eku", converter<tavik_cert_ext_toextkeyusage, tavik_cert_extkeyusage_free>()},
        {"maps", converter<tavik_cert_ext_topolicymappings, tavik_cert_policymaps_free>()},
        {"pc", converter<tavik_cert_ext_topolicyconstraints, tavik_cert_policyconstraints_free>()},
        {"pkup",
         converter<tavik_cert_ext_toprivkeyusageperiod, tavik_cert_privkeyusageperiod_free>()},
        {"integer", converter<tavik_cert_ext_tointeger, tavik_biginteger_free>()},
        {"enum", converter<tavik_cert_ext_toenum, tavik_biginteger_free>()},
        {"octets", converter<tavik_cert_ext_tooctetstring, tavik_data_blob_free>()},
        {"oid", converter<tavik_cert_ext_tooid, tavik_free>()},
        {"time", converter<tavik_cert_ext_togeneralizedtime, tavik_time_free>()},
        {"akid", converter<tavik_cert_ext_toakid, tavik_cert_akid_free>()},
        {"policies", converter<tavik_cert_ext_tocertpolicies, tavik_cert_certpolicies_free>()},
        {"nc", converter<tavik_cert_ext_tonameconstraints, tavik_cert_nameconstraints_free>()},
        {"names", converter<tavik_cert_ext_togeneralnames, tavik_cert_generalnames_free>()},
        {"crldp", converter<tavik_cert_ext_tocrldp, tavik_cert_crldps_free>()},
        {"idp", converter<tavik_cert_ext_toidp, tavik_cert_idp_free>()},
        {"access", converter<tavik_cert_ext_toaccessdescs, tavik_cert_accessdescs_free>()},
        {"ia5", converter<tavik_cert_ext_toia5string, tavik_ustring_free>()},
        {"printable", converter<tavik_cert_ext_toprintablestring, tavik_ustring_free>()},
    };
    return table;
}

// The structure decides and the whole value must be used: each value is
// read by exactly the converters named, and refused by all the others.
TEST(Converters, ReadTheirOwnStructureWholeAndRefuseEveryOther)
{
    struct Case {
        Bytes value;
        std::set<std::string> accepts;
    };
    const Case cases[] = {
        {{0x02, 0x02, 0x12, 0x34}, {"integer"}},
        {{0x02, 0x02, 0x12, 0x34, 0x00}, {}},
        {{0x0A, 0x01, 0x01}, {"enum"}},
        {{0x04, 0x00}, {"octets"}},
        {{0x04, 0x02, 0xAB, 0xCD, 0x04}, {}},
        {{0x06, 0x03, 0x2A, 0x03, 0x04}, {"oid"}},
        {{0x16, 0x03, 'a', 'b', 'c'}, {"ia5"}},
        {{0x13, 0x02, 'A', 'B'}, {"printable"}},
        {{0x0C, 0x02, 'A', 'B'}, {}},
        {{0x18, 0x0F, '2', '0', '2', '4', '0', '1', '0', '2', '0', '3', '0', '4', '0', '5', 'Z'},
         {"time"}},
        {{0x17, 0x0D, '2', '4', '0', '1', '0', '2', '0', '3', '0', '4', '0', '5', 'Z'}, {}},
        {{0x03, 0x03, 0x06, 0x00, 0x40}, {"bits"}},
        {{0x30, 0x06, 0x01, 0x01, 0xFF, 0x02, 0x01, 0x03}, {"bc"}},
        {{0x30, 0x03, 0x01, 0x01, 0xFF, 0x00}, {}},
        {{0x30, 0x04, 0x01, 0x01, 0xFF, 0x00}, {}},
        {{0x30, 0x04, 0x06, 0x02, 0x2B, 0x06}, {"eku"}},
        {tlv(0x30, tlv(0x82, str("a.example")) + tlv(0x81, str("a@b.example"))), {"names"}},
        {{}, {}},
    };
    std::vector<std::pair<std::string, Bytes>> raw;
    for (std::size_t i = 0; i < std::size(cases); ++i)
        raw.emplace_back("1.2.3." + std::to_string(i + 1), cases[i].value);
    const CertPtr cert = madeCert([&](X509 *x) {
        for (const auto &[oid, value] : raw)
            if (!addRawExt(x, oid.c_str(), value))
                return false;
        return true;
    });
    ASSERT_TRUE(cert);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const ExtPtr ext = findExt(cert.get(), raw[i].first.c_str());
        ASSERT_TRUE(ext);
        for (const auto &[name, convert] : converters())
            EXPECT_EQ(convert(ext.get()), cases[i].accepts.count(name) == 1)
                << name << " on " << hex(cases[i].value);
    }
    for (const auto &[name, convert] : converters())
        EXPECT_FALSE(convert(nullptr)) << name;
}

TEST(CaConstraints, MappingsConstraintsAndInhibitAnyPolicyMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-ca");
    const MapsPtr maps(tavik_cert_ext_topolicymappings(findExt(cert.get(), "2.5.29.33").get()));
    const std::vector<std::string> printed = split(extText("ext-ca", "policyMappings").body, ",");
    ASSERT_EQ(tavik_cert_policymaps_getitemcount(maps.get()), static_cast<int>(printed.size()));
    for (std::size_t i = 0; i < printed.size(); ++i) {
        const MapPtr map(tavik_cert_policymaps_getitem(maps.get(), static_cast<int>(i)));
        EXPECT_EQ(textOf(tavik_cert_policymap_getissuerpolicy(map.get())) + ":" +
                      textOf(tavik_cert_policymap_getsubjectpolicy(map.get())),
                  printed[i]);
    }
    EXPECT_FALSE(
        MapPtr(tavik_cert_policymaps_getitem(maps.get(), static_cast<int>(printed.size()))));

    std::map<std::string, std::int64_t> constraints;
    for (const std::string &part : split(extText("ext-ca", "policyConstraints").body, ","))
        constraints[part.substr(0, part.find(':'))] = std::stoll(part.substr(part.find(':') + 1));
    const PcPtr pc(tavik_cert_ext_topolicyconstraints(findExt(cert.get(), "2.5.29.36").get()));
    EXPECT_EQ(valueOf(tavik_cert_policyconstraints_getreqexppolicy(pc.get())),
              constraints.at("Require Explicit Policy"));
    EXPECT_EQ(valueOf(tavik_cert_policyconstraints_getinhibtpolicymapping(pc.get())),
              constraints.at("Inhibit Policy Mapping"));
    EXPECT_EQ(valueOf(tavik_cert_ext_tointeger(findExt(cert.get(), "2.5.29.54").get())),
              std::stoll(extText("ext-ca", "inhibitAnyPolicy").body));
}

TEST(CrlEntryValues, NumbersReasonDateAndHoldInstructionMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-crl");
    const auto ext = [&cert](const char *oid) { return findExt(cert.get(), oid); };
    const auto body = [](const char *name) { return extText("ext-crl", name).body; };
    EXPECT_EQ(valueOf(tavik_cert_ext_tointeger(ext("2.5.29.20").get())),
              std::stoll(body("crlNumber")));
    EXPECT_EQ(valueOf(tavik_cert_ext_tointeger(ext("2.5.29.27").get())),
              std::stoll(body("deltaCRL")));
    // RFC 5280 CRLReason values of the names openssl prints.
    const std::map<std::string, std::int64_t> reasonCodes = {
        {"Unspecified", 0},         {"Key Compromise", 1},  {"CA Compromise", 2},
        {"Affiliation Changed", 3}, {"Superseded", 4},      {"Cessation Of Operation", 5},
        {"Certificate Hold", 6},    {"Remove From CRL", 8}, {"Privilege Withdrawn", 9},
        {"AA Compromise", 10},
    };
    EXPECT_EQ(valueOf(tavik_cert_ext_toenum(ext("2.5.29.21").get())),
              reasonCodes.at(body("CRLReason")));
    EXPECT_EQ(fieldsOf(tavik_cert_ext_togeneralizedtime(ext("2.5.29.24").get())),
              fieldsOf(body("invalidityDate")));
    EXPECT_EQ(textOf(tavik_cert_ext_tooid(ext("2.5.29.23").get())),
              dotted(body("holdInstructionCode")));
}

TEST(NetscapeValues, CertTypeBitsAndIa5TextsMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-std");
    const std::map<std::string, int> typeBits = {
        {"SSL Client", 0}, {"SSL Server", 1}, {"S/MIME", 2},    {"Object Signing", 3},
        {"Unused", 4},     {"SSL CA", 5},     {"S/MIME CA", 6}, {"Object Signing CA", 7},
    };
    std::set<int> expected;
    for (const std::string &word : split(extText("ext-std", "nsCertType").body, ","))
        expected.insert(typeBits.at(word));
    EXPECT_EQ(
        bitsOf(tavik_cert_ext_tobitstring(findExt(cert.get(), "2.16.840.1.113730.1.1").get())),
        expected);
    const std::pair<const char *, const char *> texts[] = {
        {"nsBaseUrl", "2.16.840.1.113730.1.2"},
        {"nsRevocationUrl", "2.16.840.1.113730.1.3"},
        {"nsComment", "2.16.840.1.113730.1.13"},
    };
    for (const auto &[name, oid] : texts)
        EXPECT_EQ(utf8(tavik_cert_ext_toia5string(findExt(cert.get(), oid).get())),
                  extText("ext-std", name).body)
            << name;
}

TEST(PrivateKeyUsagePeriod, DatesMatchOpenssl)
{
    // "Not Before: Jan  1 00:00:00 2024 GMT, Not After: Dec 31 23:59:59 2034 GMT"
    const std::vector<std::string> parts =
        split(extText("ext-std", "privateKeyUsagePeriod").body, ",");
    ASSERT_EQ(parts.size(), 2U);
    const CertPtr cert = loadCert("ext-std");
    const PkupPtr period(
        tavik_cert_ext_toprivkeyusageperiod(findExt(cert.get(), "2.5.29.16").get()));
    EXPECT_EQ(fieldsOf(tavik_cert_privkeyusageperiod_getnotbefore(period.get())),
              fieldsOf(parts[0].substr(parts[0].find(':') + 1)));
    EXPECT_EQ(fieldsOf(tavik_cert_privkeyusageperiod_getnotafter(period.get())),
              fieldsOf(parts[1].substr(parts[1].find(':') + 1)));
}

// ---- Converters with names and strings ----

TEST(AuthorityKeyIdentifier, PartsMatchOpenssl)
{
    // Key id alone; key id, issuer and serial; key id and serial.
    for (const char *name : {"rsa-leaf", "ext-std", "ext-bad"}) {
        SCOPED_TRACE(name);
        std::string keyid;
        std::optional<std::int64_t> serial;
        std::vector<std::string> issuer;
        for (const std::string &line : lines(extText(name, "authorityKeyIdentifier").body)) {
            if (line.rfind("keyid:", 0) == 0)
                keyid = colonless(line.substr(6));
            else if (line.rfind("serial:", 0) == 0)
                serial = std::stoll(colonless(line.substr(7)), nullptr, 16);
            else if (line.find_first_not_of("0123456789ABCDEF:") == std::string::npos)
                keyid = colonless(line); // a key identifier alone is printed bare
            else
                issuer.push_back(line);
        }
        const CertPtr cert = loadCert(name);
        const AkidPtr akid(tavik_cert_ext_toakid(findExt(cert.get(), "2.5.29.35").get()));
        ASSERT_TRUE(akid);
        EXPECT_EQ(hex(tavik_cert_akid_getkeyid(akid.get())), keyid);
        EXPECT_EQ(valueOf(tavik_cert_akid_getissuercertsn(akid.get())), serial);
        const NamesPtr names(tavik_cert_akid_getissuerissuername(akid.get()));
        EXPECT_EQ(names != nullptr, !issuer.empty());
        if (names)
            expectNames(names.get(), issuer);
    }
}

TEST(GeneralNames, AlternativeNamesAndCertificateIssuerMatchOpenssl)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"ext-std", "subjectAltName", "2.5.29.17"},
        {"ext-std", "issuerAltName", "2.5.29.18"},
        {"ext-crl", "certificateIssuer", "2.5.29.29"},
    };
    for (const auto &[fixture, name, oid] : cases) {
        SCOPED_TRACE(std::string(fixture) + " " + name);
        const CertPtr cert = loadCert(fixture);
        const NamesPtr names(tavik_cert_ext_togeneralnames(findExt(cert.get(), oid).get()));
        expectNames(names.get(), split(extText(fixture, name).body, ", "));
    }
}

TEST(CertificatePolicies, PoliciesQualifiersAndNoticeMatchOpenssl)
{
    std::vector<std::string> policies;
    std::string cps, organization, explicitText;
    std::vector<std::int64_t> numbers;
    for (const std::string &line : lines(extText("ext-std", "certificatePolicies").body)) {
        const std::string after = trim(line.substr(line.find(':') + 1));
        if (line.rfind("Policy:", 0) == 0)
            policies.push_back(dotted(after));
        else if (line.rfind("CPS:", 0) == 0)
            cps = after;
        else if (line.rfind("Organization:", 0) == 0)
            organization = after;
        else if (line.rfind("Explicit Text:", 0) == 0)
            explicitText = after;
        else if (line.rfind("Numbers:", 0) == 0)
            for (const std::string &n : split(after, ","))
                numbers.push_back(std::stoll(n));
    }
    ASSERT_EQ(policies.size(), 2U);

    const CertPtr cert = loadCert("ext-std");
    const ExtPtr ext = findExt(cert.get(), "2.5.29.32");
    const PoliciesPtr list(tavik_cert_ext_tocertpolicies(ext.get()));
    ASSERT_EQ(tavik_cert_certpolicies_getitemcount(list.get()), 2);
    const InfoPtr first(tavik_cert_certpolicies_getitem(list.get(), 0));
    const InfoPtr any(tavik_cert_certpolicies_getitem(list.get(), 1));
    EXPECT_FALSE(InfoPtr(tavik_cert_certpolicies_getitem(list.get(), 2)));
    EXPECT_EQ(textOf(tavik_cert_policyinfo_getid(first.get())), policies[0]);
    EXPECT_EQ(textOf(tavik_cert_policyinfo_getid(any.get())), policies[1]);
    EXPECT_EQ(tavik_cert_policyinfo_hasqualifier(any.get()), 0);
    EXPECT_EQ(tavik_cert_policyinfo_getqualifiercount(any.get()), 0);
    EXPECT_FALSE(QualPtr(tavik_cert_policyinfo_getqualifier(any.get(), 0)));

    ASSERT_EQ(tavik_cert_policyinfo_hasqualifier(first.get()), 1);
    ASSERT_EQ(tavik_cert_policyinfo_getqualifiercount(first.get()), 2);
    const QualPtr cpsQualifier(tavik_cert_policyinfo_getqualifier(first.get(), 0));
    const QualPtr noticeQualifier(tavik_cert_policyinfo_getqualifier(first.get(), 1));
    EXPECT_EQ(textOf(tavik_cert_polqualifierinfo_getid(cpsQualifier.get())), "1.3.6.1.5.5.7.2.1");
    EXPECT_EQ(textOf(tavik_cert_polqualifierinfo_getid(noticeQualifier.get())),
              "1.3.6.1.5.5.7.2.2");
    EXPECT_EQ(utf8(tavik_cert_polqualifierinfo_getcpsuri(cpsQualifier.get())), cps);
    EXPECT_FALSE(NoticePtr(tavik_cert_polqualifierinfo_getusernotice(cpsQualifier.get())));
    EXPECT_FALSE(UStringPtr(tavik_cert_polqualifierinfo_getcpsuri(noticeQualifier.get())));
    // The qualifiers' DER: the CPS URI's IA5String, and the notice's SEQUENCE
    // as it stands inside the extension value.
    EXPECT_EQ(hex(tavik_cert_polqualifierinfo_getqualifierencode(cpsQualifier.get())),
              hex(tlv(0x16, str(cps))));
    const std::string noticeHex =
        hex(tavik_cert_polqualifierinfo_getqualifierencode(noticeQualifier.get()));
    EXPECT_EQ(noticeHex.substr(0, 2), "30");
    EXPECT_NE(hex(tavik_cert_ext_getvalue(ext.get())).find(noticeHex), std::string::npos);

    const NoticePtr notice(tavik_cert_polqualifierinfo_getusernotice(noticeQualifier.get()));
    ASSERT_TRUE(notice);
    EXPECT_EQ(utf8(tavik_cert_usernotice_getreforg(notice.get())), organization);
    EXPECT_EQ(utf8(tavik_cert_usernotice_getexplicittext(notice.get())), explicitText);
    std::vector<std::int64_t> got;
    for (int i = 0; i < tavik_cert_usernotice_getrefnumberscount(notice.get()); ++i)
        got.push_back(valueOf(tavik_cert_usernotice_getrefnumber(notice.get(), i)).value_or(-1));
    EXPECT_EQ(got, numbers);
    EXPECT_FALSE(BigIntPtr(tavik_cert_usernotice_getrefnumber(notice.get(), 2)));
}

// One distribution point as openssl prints it.
struct PrintedPoint {
    std::vector<std::string> fullName;
    std::string relativeName;
    std::set<int> reasons;
    std::vector<std::string> crlIssuer;
};

std::set<int> reasonsOf(const std::vector<std::string> &printed)
{
    static const std::map<std::string, int> bits = {
        {"Unused", 0},           {"Key Compromise", 1},
        {"CA Compromise", 2},    {"Affiliation Changed", 3},
        {"Superseded", 4},       {"Cessation Of Operation", 5},
        {"Certificate Hold", 6}, {"Privilege Withdrawn", 7},
        {"AA Compromise", 8},
    };
    std::set<int> out;
    for (const std::string &line : printed)
        for (const std::string &word : split(line, ","))
            out.insert(bits.at(word));
    return out;
}

void expectPoint(const tavik_cert_distpoint *dp, const PrintedPoint &printed)
{
    ASSERT_TRUE(dp);
    const DpNamePtr name(tavik_cert_distpoint_getdpname(dp));
    EXPECT_EQ(name != nullptr, !printed.fullName.empty() || !printed.relativeName.empty());
    if (name && !printed.fullName.empty()) {
        EXPECT_EQ(tavik_cert_dpname_gettype(name.get()), TAVIK_DPNAME_FULLNAME);
        expectNames(NamesPtr(tavik_cert_dpname_getfullname(name.get())).get(), printed.fullName);
        EXPECT_FALSE(RdnPtr(tavik_cert_dpname_getrelname(name.get())));
    } else if (name) {
        EXPECT_EQ(tavik_cert_dpname_gettype(name.get()), TAVIK_DPNAME_RELATIVE);
        EXPECT_EQ(
            tavik_cert_rdn_getitemcount(RdnPtr(tavik_cert_dpname_getrelname(name.get())).get()),
            static_cast<int>(split(printed.relativeName, "+").size()));
        EXPECT_FALSE(NamesPtr(tavik_cert_dpname_getfullname(name.get())));
    }
    EXPECT_EQ(bitsOf(tavik_cert_distpoint_getreasons(dp)), printed.reasons);
    EXPECT_EQ(BitSetPtr(tavik_cert_distpoint_getreasons(dp)) != nullptr, !printed.reasons.empty());
    const NamesPtr issuer(tavik_cert_distpoint_getcrlissuer(dp));
    EXPECT_EQ(issuer != nullptr, !printed.crlIssuer.empty());
    if (issuer)
        expectNames(issuer.get(), printed.crlIssuer);
}

// Which parts each point has comes from `asn1parse -strparse` of the value
// (openssl's text runs points together), what they hold from the text
// blocks, taken in order.
std::vector<PrintedPoint> printedPoints(const std::string &fixture, const std::string &name,
                                        const std::string &oid)
{
    std::map<std::string, std::vector<std::vector<std::string>>> blocks;
    std::vector<std::string> *current = nullptr;
    for (const std::string &line : lines(extText(fixture, name).body)) {
        if (!line.empty() && line.back() == ':')
            current = &blocks[line].emplace_back();
        else if (!line.empty() && current)
            current->push_back(line);
    }
    std::map<std::string, std::size_t> taken;
    const auto next = [&](const std::string &label) {
        auto &list = blocks[label];
        return taken[label] < list.size() ? list[taken[label]++] : std::vector<std::string>{};
    };
    std::vector<PrintedPoint> points;
    for (const Node &node : parseValue(fixture, oid)) {
        if (node.depth == 1)
            points.emplace_back();
        if (node.depth != 2 || points.empty())
            continue;
        PrintedPoint &p = points.back();
        if (node.type == "cont [ 0 ]") {
            p.fullName = next("Full Name:");
            if (p.fullName.empty())
                p.relativeName = next("Relative Name:").at(0);
        } else if (node.type == "cont [ 1 ]") {
            p.reasons = reasonsOf(next("Reasons:"));
        } else if (node.type == "cont [ 2 ]") {
            p.crlIssuer = next("CRL Issuer:");
        }
    }
    return points;
}

TEST(DistributionPoints, FullAndRelativeNamesReasonsAndIssuerMatchOpenssl)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"ext-std", "crlDistributionPoints", "2.5.29.31"},
        {"ext-std", "freshestCRL", "2.5.29.46"},
        {"ext-crl", "crlDistributionPoints", "2.5.29.31"},
    };
    for (const auto &[fixture, name, oid] : cases) {
        SCOPED_TRACE(std::string(fixture) + " " + name);
        const std::vector<PrintedPoint> points = printedPoints(fixture, name, oid);
        ASSERT_FALSE(points.empty());
        const CertPtr cert = loadCert(fixture);
        const DpsPtr dps(tavik_cert_ext_tocrldp(findExt(cert.get(), oid).get()));
        ASSERT_EQ(tavik_cert_crldps_getitemcount(dps.get()), static_cast<int>(points.size()));
        for (std::size_t i = 0; i < points.size(); ++i)
            expectPoint(DpPtr(tavik_cert_crldps_getitem(dps.get(), static_cast<int>(i))).get(),
                        points[i]);
        EXPECT_FALSE(DpPtr(tavik_cert_crldps_getitem(dps.get(), static_cast<int>(points.size()))));
    }
}

TEST(IssuingDistributionPoint, NameFlagsAndReasonsMatchOpenssl)
{
    const std::string body = extText("ext-crl", "issuingDistributionPoint").body;
    const auto says = [&body](const char *flag) {
        return body.find(flag) != std::string::npos ? 1 : 0;
    };
    const CertPtr cert = loadCert("ext-crl");
    const IdpPtr idp(tavik_cert_ext_toidp(findExt(cert.get(), "2.5.29.28").get()));
    ASSERT_TRUE(idp);
    const DpNamePtr name(tavik_cert_idp_getdpname(idp.get()));
    EXPECT_EQ(tavik_cert_dpname_gettype(name.get()), TAVIK_DPNAME_FULLNAME);
    // openssl runs the last URI into the next flag on one line.
    const std::string uri =
        body.substr(body.find("URI:"), body.find(".crl") + 4 - body.find("URI:"));
    expectNames(NamesPtr(tavik_cert_dpname_getfullname(name.get())).get(), {uri});
    EXPECT_EQ(tavik_cert_idp_isonlycontainsusercerts(idp.get()), says("Only User Certificates"));
    EXPECT_EQ(tavik_cert_idp_isonlycontainscacerts(idp.get()), says("Only CA Certificates"));
    EXPECT_EQ(tavik_cert_idp_isonlycontainsattrcerts(idp.get()),
              says("Only Attribute Certificates"));
    EXPECT_EQ(tavik_cert_idp_isindirectcrl(idp.get()), says("Indirect CRL"));
    EXPECT_EQ(bitsOf(tavik_cert_idp_getconverreasons(idp.get())),
              reasonsOf(linesAfter(body, "Only Some Reasons:")));
}

TEST(AccessDescriptions, MethodsAndLocationsMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-std");
    const std::pair<const char *, const char *> cases[] = {
        {"authorityInfoAccess", "1.3.6.1.5.5.7.1.1"},
        {"subjectInfoAccess", "1.3.6.1.5.5.7.1.11"},
    };
    for (const auto &[name, oid] : cases) {
        SCOPED_TRACE(name);
        // "OCSP - URI:http://ocsp.example.com/"
        const std::vector<std::string> printed = lines(extText("ext-std", name).body);
        const DescsPtr descs(tavik_cert_ext_toaccessdescs(findExt(cert.get(), oid).get()));
        ASSERT_EQ(tavik_cert_accessdescs_getitemcount(descs.get()),
                  static_cast<int>(printed.size()));
        for (std::size_t i = 0; i < printed.size(); ++i) {
            const auto dash = printed[i].find(" - ");
            const DescPtr desc(tavik_cert_accessdescs_getitem(descs.get(), static_cast<int>(i)));
            EXPECT_EQ(textOf(tavik_cert_accessdesc_getmethod(desc.get())),
                      dotted(printed[i].substr(0, dash)));
            expectName(NamePtr(tavik_cert_accessdesc_getlocation(desc.get())).get(),
                       printed[i].substr(dash + 3));
        }
    }
}

// The private fixture's PrintableString value reads as its text.
TEST(PrivateValues, PrintableStringMatchesAsn1Parse)
{
    const char *oid = "1.2.156.10260.4.1.2";
    const std::vector<Node> value = parseValue("ext-private", oid);
    ASSERT_EQ(value.size(), 1U);
    ASSERT_EQ(value[0].type, "PRINTABLESTRING");
    const CertPtr cert = loadCert("ext-private");
    EXPECT_EQ(utf8(tavik_cert_ext_toprintablestring(findExt(cert.get(), oid).get())),
              value[0].value);
}

// The malformed fixture: basic constraints with a byte after the value are
// refused though the openssl command shows them; the odd forms read as encoded.
TEST(BadFixture, TrailingBytesRefusedOddFormsRead)
{
    const CertPtr cert = loadCert("ext-bad");
    const ExtPtr bc = findExt(cert.get(), "2.5.29.19");
    ASSERT_TRUE(bc);
    EXPECT_TRUE(extText("ext-bad", "basicConstraints").present);
    EXPECT_FALSE(BcPtr(tavik_cert_ext_tobasicconstraints(bc.get())));
    EXPECT_EQ(bitsOf(tavik_cert_ext_tobitstring(findExt(cert.get(), "2.5.29.15").get())),
              std::set<int>{9});
    const DpsPtr dps(tavik_cert_ext_tocrldp(findExt(cert.get(), "2.5.29.31").get()));
    ASSERT_EQ(tavik_cert_crldps_getitemcount(dps.get()), 1);
    expectPoint(DpPtr(tavik_cert_crldps_getitem(dps.get(), 0)).get(), PrintedPoint{});
}

// Structures made by hand with optional parts left out: every absent part
// reads as null, every flag as 0.
TEST(Converters, AbsentPartsAreNull)
{
    const auto ext = [](const Bytes &value) {
        struct Held {
            CertPtr cert;
            ExtPtr ext;
        } h{certWith(tlv(0x30, {}), {{"1.2.3.4", value}}), nullptr};
        h.ext = findExt(h.cert.get(), "1.2.3.4");
        return h;
    };
    const AkidPtr akid(tavik_cert_ext_toakid(ext({0x30, 0x00}).ext.get()));
    ASSERT_TRUE(akid);
    EXPECT_FALSE(BlobPtr(tavik_cert_akid_getkeyid(akid.get())));
    EXPECT_FALSE(BigIntPtr(tavik_cert_akid_getissuercertsn(akid.get())));
    EXPECT_FALSE(NamesPtr(tavik_cert_akid_getissuerissuername(akid.get())));

    // An empty IssuingDistributionPoint: the BOOLEANs take their DEFAULT;
    // onlyContainsCACerts [2] TRUE reads as exactly 1.
    const IdpPtr idp(tavik_cert_ext_toidp(ext({0x30, 0x00}).ext.get()));
    ASSERT_TRUE(idp);
    EXPECT_FALSE(DpNamePtr(tavik_cert_idp_getdpname(idp.get())));
    EXPECT_FALSE(BitSetPtr(tavik_cert_idp_getconverreasons(idp.get())));
    EXPECT_EQ(tavik_cert_idp_isonlycontainsusercerts(idp.get()) +
                  tavik_cert_idp_isonlycontainscacerts(idp.get()) +
                  tavik_cert_idp_isonlycontainsattrcerts(idp.get()) +
                  tavik_cert_idp_isindirectcrl(idp.get()),
              0);
    const IdpPtr caOnly(tavik_cert_ext_toidp(ext({0x30, 0x03, 0x82, 0x01, 0xFF}).ext.get()));
    EXPECT_EQ(tavik_cert_idp_isonlycontainscacerts(caOnly.get()), 1);

    // PolicyConstraints with one part each; PrivateKeyUsagePeriod notAfter only.
    for (const bool first : {true, false}) {
        const PcPtr pc(tavik_cert_ext_topolicyconstraints(
            ext({0x30, 0x03, static_cast<unsigned char>(first ? 0x80 : 0x81), 0x01, 0x05})
                .ext.get()));
        ASSERT_TRUE(pc);
        EXPECT_EQ(valueOf(tavik_cert_policyconstraints_getreqexppolicy(pc.get())),
                  first ? std::optional<std::int64_t>(5) : std::nullopt);
        EXPECT_EQ(valueOf(tavik_cert_policyconstraints_getinhibtpolicymapping(pc.get())),
                  first ? std::nullopt : std::optional<std::int64_t>(5));
    }
    const PkupPtr period(tavik_cert_ext_toprivkeyusageperiod(
        ext(tlv(0x30, tlv(0x81, str("20300101000000Z")))).ext.get()));
    ASSERT_TRUE(period);
    EXPECT_FALSE(TimePtr(tavik_cert_privkeyusageperiod_getnotbefore(period.get())));
    EXPECT_EQ(fieldsOf(tavik_cert_privkeyusageperiod_getnotafter(period.get())),
              std::vector<int>({2030, 1, 1, 0, 0, 0}));

    // A user notice with explicit text only (a VisibleString), no reference.
    const Bytes unotice = oidDer("1.3.6.1.5.5.7.2.2");
    const Bytes qualifier = tlv(0x30, unotice + tlv(0x30, tlv(0x1A, str("Hi"))));
    const PoliciesPtr list(tavik_cert_ext_tocertpolicies(
        ext(tlv(0x30, tlv(0x30, oidDer("1.2.3") + tlv(0x30, qualifier)))).ext.get()));
    const QualPtr q(tavik_cert_policyinfo_getqualifier(
        InfoPtr(tavik_cert_certpolicies_getitem(list.get(), 0)).get(), 0));
    const NoticePtr notice(tavik_cert_polqualifierinfo_getusernotice(q.get()));
    ASSERT_TRUE(notice);
    EXPECT_EQ(utf8(tavik_cert_usernotice_getexplicittext(notice.get())), "Hi");
    EXPECT_FALSE(UStringPtr(tavik_cert_usernotice_getreforg(notice.get())));
    EXPECT_EQ(tavik_cert_usernotice_getrefnumberscount(notice.get()), 0);
}

} // namespace
