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

// A toolkit time as openssl prints one: "Jan  1 00:00:00 2024 GMT".
std::string timeText(tavik_time *owned)
{
    const TimePtr t(owned);
    std::tm tm{};
    char text[32] = "-";
    if (t) {
        tm.tm_year = tavik_time_getyear(t.get()) - 1900;
        tm.tm_mon = tavik_time_getmonth(t.get()) - 1;
        tm.tm_mday = tavik_time_getday(t.get());
        tm.tm_hour = tavik_time_gethour(t.get());
        tm.tm_min = tavik_time_getminute(t.get());
        tm.tm_sec = tavik_time_getsecond(t.get());
        std::strftime(text, sizeof text, "%b %e %H:%M:%S %Y GMT", &tm);
    }
    return text;
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

// ---- Converters compared with openssl's text ----

std::string certificatePolicies(const tavik_cert_ext *ext)
{
    const CertPoliciesPtr list(tavik_cert_ext_tocertpolicies(ext));
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
            EXPECT_NE(hex(tavik_cert_ext_getvalue(ext)).find(der), std::string::npos);
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
    return join(got, "\n");
}

// Each converter's reading, printed the way `openssl x509 -ext NAME` prints it.
using Reading = std::string (*)(const tavik_cert_ext *);
const char *const kUsage[] = {"Digital Signature", "Non Repudiation", "Key Encipherment",
                              "Data Encipherment", "Key Agreement",   "Certificate Sign",
                              "CRL Sign",          "Encipher Only",   "Decipher Only"};
// RFC 5280 CRLReason names by value; 7 is unused.
const char *const kReasons[] = {
    "Unspecified",     "Key Compromise",         "CA Compromise",    "Affiliation Changed",
    "Superseded",      "Cessation Of Operation", "Certificate Hold", "?",
    "Remove From CRL", "Privilege Withdrawn",    "AA Compromise"};

std::string basicConstraints(const tavik_cert_ext *ext)
{
    const BasicConstraintsPtr bc(tavik_cert_ext_tobasicconstraints(ext));
    const auto pathlen = valueOf(tavik_cert_basicconstraints_getpathlen(bc.get()));
    return std::string(tavik_cert_basicconstraints_isca(bc.get()) == 1 ? "CA:TRUE" : "CA:FALSE") +
           (pathlen ? ", pathlen:" + std::to_string(*pathlen) : "");
}

std::string keyUsage(const tavik_cert_ext *ext)
{
    std::vector<std::string> words;
    for (const int bit : bitsOf(tavik_cert_ext_tobitstring(ext)))
        words.push_back(bit < 9 ? kUsage[bit] : "bit " + std::to_string(bit));
    return join(words, ", ");
}

std::string authorityKeyId(const tavik_cert_ext *ext)
{
    // Key id alone is printed bare.
    const AkidPtr akid(tavik_cert_ext_toakid(ext));
    std::vector<std::string> got = {"keyid:" + colonHex(tavik_cert_akid_getkeyid(akid.get()))};
    for (const std::string &n :
         printed(GeneralNamesPtr(tavik_cert_akid_getissuerissuername(akid.get())).get()))
        got.push_back(n);
    if (const BigIntPtr serial(tavik_cert_akid_getissuercertsn(akid.get())); serial)
        got.push_back("serial:" + colonHex(tavik_biginteger_getdata(serial.get())));
    return got.size() == 1 ? got[0].substr(6) : join(got, "\n");
}

std::string extKeyUsage(const tavik_cert_ext *ext)
{
    const ExtKeyUsagePtr eku(tavik_cert_ext_toextkeyusage(ext));
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_extkeyusage_getitemcount(eku.get()); ++i)
        got.push_back(named(tavik_cert_extkeyusage_getitem(eku.get(), i)));
    EXPECT_FALSE(tavik_cert_extkeyusage_getitem(eku.get(), static_cast<int>(got.size())));
    EXPECT_FALSE(tavik_cert_extkeyusage_getitem(eku.get(), -1));
    return join(got, ", ");
}

std::string policyMappings(const tavik_cert_ext *ext)
{
    const PolicyMapsPtr maps(tavik_cert_ext_topolicymappings(ext));
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_policymaps_getitemcount(maps.get()); ++i) {
        const PolicyMapPtr map(tavik_cert_policymaps_getitem(maps.get(), i));
        got.push_back(textOf(tavik_cert_policymap_getissuerpolicy(map.get())) + ":" +
                      textOf(tavik_cert_policymap_getsubjectpolicy(map.get())));
    }
    EXPECT_FALSE(
        PolicyMapPtr(tavik_cert_policymaps_getitem(maps.get(), static_cast<int>(got.size()))));
    return join(got, ", ");
}

std::string policyConstraints(const tavik_cert_ext *ext)
{
    const PolicyConstraintsPtr pc(tavik_cert_ext_topolicyconstraints(ext));
    const auto require = valueOf(tavik_cert_policyconstraints_getreqexppolicy(pc.get()));
    const auto inhibit = valueOf(tavik_cert_policyconstraints_getinhibtpolicymapping(pc.get()));
    return "Require Explicit Policy:" + (require ? std::to_string(*require) : "-") +
           ", Inhibit Policy Mapping:" + (inhibit ? std::to_string(*inhibit) : "-");
}

std::string accessDescriptions(const tavik_cert_ext *ext)
{
    const AccessDescsPtr descs(tavik_cert_ext_toaccessdescs(ext));
    std::vector<std::string> got;
    for (int i = 0; i < tavik_cert_accessdescs_getitemcount(descs.get()); ++i) {
        const AccessDescPtr desc(tavik_cert_accessdescs_getitem(descs.get(), i));
        got.push_back(named(tavik_cert_accessdesc_getmethod(desc.get())) + " - " +
                      printed(GeneralNamePtr(tavik_cert_accessdesc_getlocation(desc.get())).get()));
    }
    return join(got, "\n");
}

std::string number(const tavik_cert_ext *ext)
{
    const auto v = valueOf(tavik_cert_ext_tointeger(ext));
    return v ? std::to_string(*v) : "-";
}

std::string generalNames(const tavik_cert_ext *ext)
{
    return join(printed(GeneralNamesPtr(tavik_cert_ext_togeneralnames(ext)).get()), ", ");
}

std::string distributionPoints(const tavik_cert_ext *ext)
{
    const CrlDpsPtr dps(tavik_cert_ext_tocrldp(ext));
    EXPECT_FALSE(DistPointPtr(
        tavik_cert_crldps_getitem(dps.get(), tavik_cert_crldps_getitemcount(dps.get()))));
    return pointsText(dps.get());
}

TEST(Converters, ReadingsMatchOpensslOnTheFixtures)
{
    const std::vector<const char *> four = {"rsa-leaf", "rsa-inter", "ext-ca", "ext-std"};
    const struct {
        const char *name, *oid;
        std::vector<const char *> fixtures;
        Reading read;
    } rows[] = {
        // CA:FALSE, CA:TRUE with pathlen 0 and 3; encipher and decipher only.
        {"basicConstraints", "2.5.29.19", four, basicConstraints},
        {"keyUsage", "2.5.29.15", four, keyUsage},
        {"subjectKeyIdentifier", "2.5.29.14", four,
         [](const tavik_cert_ext *e) { return colonHex(tavik_cert_ext_tooctetstring(e)); }},
        // Key id alone; key id, issuer and serial; key id and serial.
        {"authorityKeyIdentifier", "2.5.29.35", {"rsa-leaf", "ext-std", "ext-bad"}, authorityKeyId},
        {"extendedKeyUsage", "2.5.29.37", {"ext-std"}, extKeyUsage},
        {"subjectAltName", "2.5.29.17", {"ext-std"}, generalNames},
        {"issuerAltName", "2.5.29.18", {"ext-std"}, generalNames},
        {"certificateIssuer", "2.5.29.29", {"ext-crl"}, generalNames},
        {"certificatePolicies", "2.5.29.32", {"ext-std"}, certificatePolicies},
        {"policyMappings", "2.5.29.33", {"ext-ca"}, policyMappings},
        {"policyConstraints", "2.5.29.36", {"ext-ca"}, policyConstraints},
        {"inhibitAnyPolicy", "2.5.29.54", {"ext-ca"}, number},
        {"crlNumber", "2.5.29.20", {"ext-crl"}, number},
        {"deltaCRL", "2.5.29.27", {"ext-crl"}, number},
        {"CRLReason",
         "2.5.29.21",
         {"ext-crl"},
         [](const tavik_cert_ext *e) {
             const auto v = valueOf(tavik_cert_ext_toenum(e));
             return std::string(v && *v >= 0 && *v <= 10 ? kReasons[*v] : "-");
         }},
        {"invalidityDate",
         "2.5.29.24",
         {"ext-crl"},
         [](const tavik_cert_ext *e) { return timeText(tavik_cert_ext_togeneralizedtime(e)); }},
        {"holdInstructionCode",
         "2.5.29.23",
         {"ext-crl"},
         [](const tavik_cert_ext *e) { return named(tavik_cert_ext_tooid(e)); }},
        {"privateKeyUsagePeriod",
         "2.5.29.16",
         {"ext-std"},
         [](const tavik_cert_ext *e) {
             const PrivKeyUsagePeriodPtr p(tavik_cert_ext_toprivkeyusageperiod(e));
             return "Not Before: " + timeText(tavik_cert_privkeyusageperiod_getnotbefore(p.get())) +
                    ", Not After: " + timeText(tavik_cert_privkeyusageperiod_getnotafter(p.get()));
         }},
        // Netscape URLs and comment: IA5String texts.
        {"nsBaseUrl",
         "2.16.840.1.113730.1.2",
         {"ext-std"},
         [](const tavik_cert_ext *e) { return utf8(tavik_cert_ext_toia5string(e)).value_or("-"); }},
        {"nsComment",
         "2.16.840.1.113730.1.13",
         {"ext-std"},
         [](const tavik_cert_ext *e) { return utf8(tavik_cert_ext_toia5string(e)).value_or("-"); }},
        {"authorityInfoAccess", "1.3.6.1.5.5.7.1.1", {"ext-std"}, accessDescriptions},
        {"subjectInfoAccess", "1.3.6.1.5.5.7.1.11", {"ext-std"}, accessDescriptions},
        // Full and relative names, reasons and issuers; ext-bad has one empty point.
        {"crlDistributionPoints",
         "2.5.29.31",
         {"ext-std", "ext-crl", "ext-bad"},
         distributionPoints},
        {"freshestCRL", "2.5.29.46", {"ext-std"}, distributionPoints},
    };
    for (const auto &row : rows)
        for (const char *fixture : row.fixtures) {
            const CertPtr cert = loadCert(fixture);
            EXPECT_EQ(row.read(findExt(cert.get(), row.oid).get()), extText(fixture, row.name).body)
                << fixture << " " << row.name;
        }
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
    // openssl prints nothing for the one empty distribution point.
    const CrlDpsPtr dps(tavik_cert_ext_tocrldp(findExt(cert.get(), "2.5.29.31").get()));
    EXPECT_EQ(tavik_cert_crldps_getitemcount(dps.get()), 1);
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
    EXPECT_EQ(timeText(tavik_cert_privkeyusageperiod_getnotafter(period.get())),
              "Jan  1 00:00:00 2030 GMT");

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
