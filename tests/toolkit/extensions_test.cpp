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
using namespace tavik;

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
    for (std::size_t i = 0; i + 2 < n.size(); ++i) {
        const bool flag = n[i + 1].type == "BOOLEAN" && n[i + 1].depth == n[i].depth;
        const Node &value = n[flag ? i + 2 : i + 1];
        if (n[i].type == "OBJECT" && value.type == "OCTET STRING      [HEX DUMP]" &&
            value.depth == n[i].depth)
            out.push_back({dotted(n[i].value), flag && n[i + 1].value != "0", trim(value.value),
                           value.offset});
    }
    return out;
}

// ---- Readings printed the way openssl prints them ----

std::string reasonsText(const tavik_bitset *reasons)
{
    static const char *const kNames[] = {
        "Unused",       "Key Compromise",         "CA Compromise",    "Affiliation Changed",
        "Superseded",   "Cessation Of Operation", "Certificate Hold", "Privilege Withdrawn",
        "AA Compromise"};
    std::vector<std::string> out;
    for (int bit = 0; bit < 9; ++bit)
        if (tavik_bitset_isset(reasons, bit))
            out.push_back(kNames[bit]);
    return join(out, ", ");
}

// CRL distribution points, one labelled block per part present.
std::string pointsText(const tavik_cert_crldps *dps)
{
    std::vector<std::string> out;
    for (int i = 0; i < tavik_cert_crldps_getitemcount(dps); ++i) {
        const DistPointPtr dp(tavik_cert_crldps_getitem(dps, i));
        const DpNamePtr name(tavik_cert_distpoint_getdpname(dp.get()));
        if (name && tavik_cert_dpname_gettype(name.get()) == TAVIK_DPNAME_FULLNAME) {
            out.push_back("Full Name:");
            for (const std::string &n :
                 printed(GeneralNamesPtr(tavik_cert_dpname_getfullname(name.get())).get(), false))
                out.push_back(n);
        } else if (name) {
            out.push_back("Relative Name:");
            out.push_back(rdnText(RdnPtr(tavik_cert_dpname_getrelname(name.get())).get(), false));
        }
        if (const BitSetPtr reasons(tavik_cert_distpoint_getreasons(dp.get())); reasons)
            out.insert(out.end(), {"Reasons:", reasonsText(reasons.get())});
        if (const GeneralNamesPtr issuer(tavik_cert_distpoint_getcrlissuer(dp.get())); issuer) {
            out.push_back("CRL Issuer:");
            for (const std::string &n : printed(issuer.get(), false))
                out.push_back(n);
        }
    }
    return join(out, "\n");
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
        const BasicConstraintsPtr constraints(tavik_cert_ext_tobasicconstraints(bcExt.get()));
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

        EXPECT_EQ(colonHex(tavik_cert_ext_tooctetstring(findExt(cert.get(), "2.5.29.14").get())),
                  extText(name, "subjectKeyIdentifier").body);
    }
}

TEST(ExtendedKeyUsage, PurposesMatchOpensslInOrder)
{
    const CertPtr cert = loadCert("ext-std");
    const ExtKeyUsagePtr eku(tavik_cert_ext_toextkeyusage(findExt(cert.get(), "2.5.29.37").get()));
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_extkeyusage_getitemcount(eku.get()); ++i)
        got.push_back(named(tavik_cert_extkeyusage_getitem(eku.get(), i)));
    EXPECT_EQ(join(got, ", "), extText("ext-std", "extendedKeyUsage").body);
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
    const PolicyMapsPtr maps(
        tavik_cert_ext_topolicymappings(findExt(cert.get(), "2.5.29.33").get()));
    const std::vector<std::string> printed = split(extText("ext-ca", "policyMappings").body, ",");
    ASSERT_EQ(tavik_cert_policymaps_getitemcount(maps.get()), static_cast<int>(printed.size()));
    for (std::size_t i = 0; i < printed.size(); ++i) {
        const PolicyMapPtr map(tavik_cert_policymaps_getitem(maps.get(), static_cast<int>(i)));
        EXPECT_EQ(textOf(tavik_cert_policymap_getissuerpolicy(map.get())) + ":" +
                      textOf(tavik_cert_policymap_getsubjectpolicy(map.get())),
                  printed[i]);
    }
    EXPECT_FALSE(
        PolicyMapPtr(tavik_cert_policymaps_getitem(maps.get(), static_cast<int>(printed.size()))));

    std::map<std::string, std::int64_t> constraints;
    for (const std::string &part : split(extText("ext-ca", "policyConstraints").body, ","))
        constraints[part.substr(0, part.find(':'))] = std::stoll(part.substr(part.find(':') + 1));
    const PolicyConstraintsPtr pc(
        tavik_cert_ext_topolicyconstraints(findExt(cert.get(), "2.5.29.36").get()));
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

// Netscape URLs and comment: IA5String texts.
TEST(NetscapeValues, Ia5TextsMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-std");
    for (const auto &[name, oid] : {std::pair{"nsBaseUrl", "2.16.840.1.113730.1.2"},
                                    std::pair{"nsComment", "2.16.840.1.113730.1.13"}})
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
    const PrivKeyUsagePeriodPtr period(
        tavik_cert_ext_toprivkeyusageperiod(findExt(cert.get(), "2.5.29.16").get()));
    EXPECT_EQ(fieldsOf(tavik_cert_privkeyusageperiod_getnotbefore(period.get())),
              fieldsOf(parts[0].substr(parts[0].find(':') + 1)));
    EXPECT_EQ(fieldsOf(tavik_cert_privkeyusageperiod_getnotafter(period.get())),
              fieldsOf(parts[1].substr(parts[1].find(':') + 1)));
}

// ---- Converters with names and strings ----

TEST(AuthorityKeyIdentifier, PartsMatchOpenssl)
{
    // Key id alone (printed bare); key id, issuer and serial; key id and serial.
    for (const char *name : {"rsa-leaf", "ext-std", "ext-bad"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const AkidPtr akid(tavik_cert_ext_toakid(findExt(cert.get(), "2.5.29.35").get()));
        ASSERT_TRUE(akid);
        std::vector<std::string> got = {"keyid:" + colonHex(tavik_cert_akid_getkeyid(akid.get()))};
        const GeneralNamesPtr issuer(tavik_cert_akid_getissuerissuername(akid.get()));
        for (const std::string &n : printed(issuer.get()))
            got.push_back(n);
        if (const BigIntPtr serial(tavik_cert_akid_getissuercertsn(akid.get())); serial)
            got.push_back("serial:" + colonHex(tavik_biginteger_getdata(serial.get())));
        const std::string body = extText(name, "authorityKeyIdentifier").body;
        EXPECT_EQ(got.size() == 1 ? got[0].substr(6) : join(got, "\n"), body);
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
        const CertPtr cert = loadCert(fixture);
        const GeneralNamesPtr names(tavik_cert_ext_togeneralnames(findExt(cert.get(), oid).get()));
        EXPECT_EQ(join(printed(names.get()), ", "), extText(fixture, name).body) << name;
    }
}

TEST(CertificatePolicies, PoliciesQualifiersAndNoticeMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-std");
    const ExtPtr ext = findExt(cert.get(), "2.5.29.32");
    const CertPoliciesPtr list(tavik_cert_ext_tocertpolicies(ext.get()));
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_certpolicies_getitemcount(list.get()); ++i) {
        const PolicyInfoPtr info(tavik_cert_certpolicies_getitem(list.get(), i));
        got.push_back("Policy: " + named(tavik_cert_policyinfo_getid(info.get())));
        const int count = tavik_cert_policyinfo_getqualifiercount(info.get());
        EXPECT_EQ(tavik_cert_policyinfo_hasqualifier(info.get()), count > 0 ? 1 : 0);
        EXPECT_FALSE(PolQualifierPtr(tavik_cert_policyinfo_getqualifier(info.get(), count)));
        for (int k = 0; k < count; ++k) {
            const PolQualifierPtr q(tavik_cert_policyinfo_getqualifier(info.get(), k));
            const std::string id = textOf(tavik_cert_polqualifierinfo_getid(q.get()));
            const auto uri = utf8(tavik_cert_polqualifierinfo_getcpsuri(q.get()));
            const UserNoticePtr notice(tavik_cert_polqualifierinfo_getusernotice(q.get()));
            // The DER of the qualifier: the URI's IA5String, or the notice as
            // it stands inside the extension value.
            const std::string der = hex(tavik_cert_polqualifierinfo_getqualifierencode(q.get()));
            EXPECT_EQ(uri.has_value(), id == "1.3.6.1.5.5.7.2.1");
            EXPECT_EQ(notice != nullptr, id == "1.3.6.1.5.5.7.2.2");
            if (uri) {
                got.push_back("CPS: " + *uri);
                EXPECT_EQ(der, hex(tlv(0x16, str(*uri))));
            }
            if (!notice)
                continue;
            EXPECT_NE(hex(tavik_cert_ext_getvalue(ext.get())).find(der), std::string::npos);
            std::vector<std::string> numbers;
            for (int n = 0; n < tavik_cert_usernotice_getrefnumberscount(notice.get()); ++n)
                numbers.push_back(std::to_string(
                    valueOf(tavik_cert_usernotice_getrefnumber(notice.get(), n)).value_or(-1)));
            EXPECT_FALSE(BigIntPtr(tavik_cert_usernotice_getrefnumber(
                notice.get(), static_cast<int>(numbers.size()))));
            got.insert(
                got.end(),
                {"User Notice:",
                 "Organization: " +
                     utf8(tavik_cert_usernotice_getreforg(notice.get())).value_or("?"),
                 "Numbers: " + join(numbers, ", "),
                 "Explicit Text: " +
                     utf8(tavik_cert_usernotice_getexplicittext(notice.get())).value_or("?")});
        }
    }
    EXPECT_EQ(join(got, "\n"), extText("ext-std", "certificatePolicies").body);
}

// Full and relative names, reasons and issuers; ext-bad has one empty point.
TEST(DistributionPoints, PointsMatchOpenssl)
{
    const std::tuple<const char *, const char *, const char *, int> cases[] = {
        {"ext-std", "crlDistributionPoints", "2.5.29.31", 2},
        {"ext-std", "freshestCRL", "2.5.29.46", 1},
        {"ext-crl", "crlDistributionPoints", "2.5.29.31", 1},
        {"ext-bad", "crlDistributionPoints", "2.5.29.31", 1},
    };
    for (const auto &[fixture, name, oid, count] : cases) {
        SCOPED_TRACE(std::string(fixture) + " " + name);
        const CertPtr cert = loadCert(fixture);
        const CrlDpsPtr dps(tavik_cert_ext_tocrldp(findExt(cert.get(), oid).get()));
        ASSERT_EQ(tavik_cert_crldps_getitemcount(dps.get()), count);
        EXPECT_FALSE(DistPointPtr(tavik_cert_crldps_getitem(dps.get(), count)));
        EXPECT_EQ(pointsText(dps.get()), extText(fixture, name).body);
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
    const std::vector<std::string> uris =
        printed(GeneralNamesPtr(tavik_cert_dpname_getfullname(name.get())).get());
    ASSERT_EQ(uris.size(), 1U);
    // openssl runs the last URI into the next flag on one line.
    EXPECT_EQ(body.rfind("Full Name:\n" + uris[0] + " ", 0), 0U) << body;
    EXPECT_EQ(tavik_cert_idp_isonlycontainsusercerts(idp.get()), says("Only User Certificates"));
    EXPECT_EQ(tavik_cert_idp_isonlycontainscacerts(idp.get()), says("Only CA Certificates"));
    EXPECT_EQ(tavik_cert_idp_isonlycontainsattrcerts(idp.get()),
              says("Only Attribute Certificates"));
    EXPECT_EQ(tavik_cert_idp_isindirectcrl(idp.get()), says("Indirect CRL"));
    const BitSetPtr reasons(tavik_cert_idp_getconverreasons(idp.get()));
    EXPECT_EQ(body.substr(body.find("Only Some Reasons:\n") + 19), reasonsText(reasons.get()));
}

TEST(AccessDescriptions, MethodsAndLocationsMatchOpenssl)
{
    const CertPtr cert = loadCert("ext-std");
    const std::pair<const char *, const char *> cases[] = {
        {"authorityInfoAccess", "1.3.6.1.5.5.7.1.1"},
        {"subjectInfoAccess", "1.3.6.1.5.5.7.1.11"},
    };
    for (const auto &[name, oid] : cases) {
        const AccessDescsPtr descs(tavik_cert_ext_toaccessdescs(findExt(cert.get(), oid).get()));
        std::vector<std::string> got;
        for (int i = 0; i < tavik_cert_accessdescs_getitemcount(descs.get()); ++i) {
            const AccessDescPtr desc(tavik_cert_accessdescs_getitem(descs.get(), i));
            got.push_back(
                named(tavik_cert_accessdesc_getmethod(desc.get())) + " - " +
                printed(GeneralNamePtr(tavik_cert_accessdesc_getlocation(desc.get())).get()));
        }
        EXPECT_EQ(join(got, "\n"), extText("ext-std", name).body) << name;
    }
}

// The private fixture's PrintableString value reads as its text.
TEST(PrivateValues, PrintableStringMatchesAsn1Parse)
{
    const char *oid = "1.2.156.10260.4.1.2";
    std::vector<Node> value;
    for (const RefExt &ext : referenceExtensions("ext-private"))
        if (ext.oid == oid)
            value = asn1parse("-in " + fixturePath("ext-private.der") + " -strparse " +
                              std::to_string(ext.offset));
    ASSERT_EQ(value.size(), 1U);
    ASSERT_EQ(value[0].type, "PRINTABLESTRING");
    const CertPtr cert = loadCert("ext-private");
    EXPECT_EQ(utf8(tavik_cert_ext_toprintablestring(findExt(cert.get(), oid).get())),
              value[0].value);
}

// The malformed fixture: basic constraints with a byte after the value are
// refused though the openssl command shows them; key usage bit 9 alone reads.
TEST(BadFixture, TrailingBytesRefusedOddFormsRead)
{
    const CertPtr cert = loadCert("ext-bad");
    const ExtPtr bc = findExt(cert.get(), "2.5.29.19");
    ASSERT_TRUE(bc);
    EXPECT_TRUE(extText("ext-bad", "basicConstraints").present);
    EXPECT_FALSE(BasicConstraintsPtr(tavik_cert_ext_tobasicconstraints(bc.get())));
    EXPECT_EQ(bitsOf(tavik_cert_ext_tobitstring(findExt(cert.get(), "2.5.29.15").get())),
              std::set<int>{9});
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
    EXPECT_FALSE(GeneralNamesPtr(tavik_cert_akid_getissuerissuername(akid.get())));

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
        const PolicyConstraintsPtr pc(tavik_cert_ext_topolicyconstraints(
            ext({0x30, 0x03, static_cast<unsigned char>(first ? 0x80 : 0x81), 0x01, 0x05})
                .ext.get()));
        ASSERT_TRUE(pc);
        EXPECT_EQ(valueOf(tavik_cert_policyconstraints_getreqexppolicy(pc.get())),
                  first ? std::optional<std::int64_t>(5) : std::nullopt);
        EXPECT_EQ(valueOf(tavik_cert_policyconstraints_getinhibtpolicymapping(pc.get())),
                  first ? std::nullopt : std::optional<std::int64_t>(5));
    }
    const PrivKeyUsagePeriodPtr period(tavik_cert_ext_toprivkeyusageperiod(
        ext(tlv(0x30, tlv(0x81, str("20300101000000Z")))).ext.get()));
    ASSERT_TRUE(period);
    EXPECT_FALSE(TimePtr(tavik_cert_privkeyusageperiod_getnotbefore(period.get())));
    EXPECT_EQ(fieldsOf(tavik_cert_privkeyusageperiod_getnotafter(period.get())),
              std::vector<int>({2030, 1, 1, 0, 0, 0}));

    // A user notice with explicit text only (a VisibleString), no reference.
    const Bytes unotice = oidDer("1.3.6.1.5.5.7.2.2");
    const Bytes qualifier = tlv(0x30, unotice + tlv(0x30, tlv(0x1A, str("Hi"))));
    const CertPoliciesPtr list(tavik_cert_ext_tocertpolicies(
        ext(tlv(0x30, tlv(0x30, oidDer("1.2.3") + tlv(0x30, qualifier)))).ext.get()));
    const PolQualifierPtr q(tavik_cert_policyinfo_getqualifier(
        PolicyInfoPtr(tavik_cert_certpolicies_getitem(list.get(), 0)).get(), 0));
    const UserNoticePtr notice(tavik_cert_polqualifierinfo_getusernotice(q.get()));
    ASSERT_TRUE(notice);
    EXPECT_EQ(utf8(tavik_cert_usernotice_getexplicittext(notice.get())), "Hi");
    EXPECT_FALSE(UStringPtr(tavik_cert_usernotice_getreforg(notice.get())));
    EXPECT_EQ(tavik_cert_usernotice_getrefnumberscount(notice.get()), 0);
}

} // namespace
