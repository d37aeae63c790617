// Extension lists and the typed converters, on hand-made values. What each
// converter reads from the fixtures, and an AKID with every part absent, are
// pinned by the detail model's tables.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using namespace tavik;

// ---- The list ----

// The fixtures' extension lists (order, OIDs, critical flags and values) are
// pinned by the detail model's rows; a version 1 certificate has none.
TEST(ExtensionList, NoneInVersion1)
{
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

// A handle outlives its list and certificate. Long OIDs, critical flags and
// empty values are pinned by the detail model's rows.
TEST(ExtensionList, HandlesOutliveTheirListAndCertificate)
{
    ExtPtr ext;
    {
        const CertPtr cert = loadCert("rsa-leaf");
        const ExtsPtr exts(tavik_cert_getexts(cert.get()));
        ext.reset(tavik_cert_exts_getitem(exts.get(), 0));
    }
    EXPECT_EQ(textOf(tavik_cert_ext_getextid(ext.get())), "2.5.29.19");
    EXPECT_EQ(hex(tavik_cert_ext_getvalue(ext.get())), "3000");
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
    std::vector<RawExt> raw;
    for (std::size_t i = 0; i < std::size(cases); ++i)
        raw.push_back({"1.2.3." + std::to_string(i + 1), cases[i].value});
    const CertPtr cert = certWith({}, raw);
    ASSERT_TRUE(cert);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const ExtPtr ext = findExt(cert.get(), raw[i].oid.c_str());
        ASSERT_TRUE(ext);
        for (const auto &[name, convert] : converters())
            EXPECT_EQ(convert(ext.get()), cases[i].accepts.count(name) == 1)
                << name << " on " << hex(cases[i].value);
    }
}

} // namespace
