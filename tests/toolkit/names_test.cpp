// Names and Unicode strings: distinguished names walked RDN by RDN and
// general names of each choice. The detail model's rows pin attribute values
// in every string type and name-constraint subtrees. Certificates come from the
// fixtures, or are made here around hand-written DER for the forms no fixture
// carries.
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using namespace tavik;
using EdiPtr = std::unique_ptr<tavik_cert_ediparyname, Free<tavik_cert_ediparyname_free>>;

std::optional<std::u32string> codePoints(tavik_ustring *owned)
{
    const UStringPtr s(owned);
    const WideTextPtr wide(s ? tavik_ustring_towcs(s.get()) : nullptr);
    if (!wide)
        return std::nullopt;
    std::u32string out;
    for (const wchar_t *p = wide.get(); *p; ++p)
        out.push_back(static_cast<char32_t>(*p));
    EXPECT_EQ(out.size(), tavik_ustring_getlength(s.get()));
    return out;
}

CertPtr sanCert(const Bytes &names)
{
    return certWith({}, {{"2.5.29.17", tlv(0x30, names)}});
}

GeneralNamesPtr altNames(const CertPtr &cert)
{
    return GeneralNamesPtr(tavik_cert_ext_togeneralnames(findExt(cert.get(), "2.5.29.17").get()));
}

std::vector<GeneralNamePtr> items(const GeneralNamesPtr &names)
{
    std::vector<GeneralNamePtr> out;
    for (int i = 0; i < tavik_cert_generalnames_getitemcount(names.get()); ++i)
        out.emplace_back(tavik_cert_generalnames_getitem(names.get(), i));
    return out;
}

// ---- Distinguished names ----

// dn-all's attributes, in order, and an empty name are pinned by the detail
// model's subject rows, which cannot tell a multi-valued RDN from two RDNs:
// the walk keeps CN=Multi+OU=Valued as one RDN of two.
TEST(Dn, MultiValuedRdnIsOneItem)
{
    const CertPtr cert = loadCert("dn-all");
    const DnPtr dn(tavik_cert_getsubject(cert.get()));
    const int count = tavik_cert_dn_getitemcount(dn.get());
    std::vector<int> sizes;
    for (int i = 0; i < count; ++i)
        sizes.push_back(
            tavik_cert_rdn_getitemcount(RdnPtr(tavik_cert_dn_getitem(dn.get(), i)).get()));
    std::vector<int> expected(19, 1);
    expected[16] = 2;
    EXPECT_EQ(sizes, expected);
    EXPECT_FALSE(RdnPtr(tavik_cert_dn_getitem(dn.get(), count)));
}

// ---- Unicode strings ----

// Which bytes are UTF-8 is the ASN.1 reader's table: one decoder serves both.
// The fuzz replay checks that no charset but UTF-8 is written.
TEST(UString, Utf8InAndOutButNoNul)
{
    const std::string four = "\xF0\x9F\x98\x80";
    EXPECT_EQ(codePoints(tavik_ustring_newutf8(four.data(), four.size())), U"\U0001F600");
    EXPECT_EQ(utf8(tavik_ustring_newutf8(four.data(), four.size())), four);
    EXPECT_EQ(codePoints(tavik_ustring_newutf8("a\0b", 3)), std::nullopt);
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
    const auto owned = [](char *t) { return t ? std::optional(textOf(t)) : std::nullopt; };
    add("rfc822", utf8(tavik_cert_generalname_getrfc822name(name)));
    add("dns", utf8(tavik_cert_generalname_getdnsname(name)));
    add("uri", utf8(tavik_cert_generalname_geturi(name)));
    add("ip", owned(tavik_cert_generalname_getip(name)));
    add("regid", owned(tavik_cert_generalname_getregid(name)));
    if (const DnPtr dn(tavik_cert_generalname_getdirname(name)); dn)
        out += " dir";
    if (const OtherNamePtr other(tavik_cert_generalname_getothername(name)); other)
        out += " other";
    if (const EdiPtr edi(tavik_cert_generalname_getediname(name)); edi)
        add("edi", utf8(tavik_cert_ediparyname_getnameassigner(edi.get())).value_or("-") + "/" +
                       utf8(tavik_cert_ediparyname_getpartyname(edi.get())).value_or("-"));
    return out;
}

std::vector<std::string> describeAll(const GeneralNamesPtr &names)
{
    std::vector<std::string> out;
    for (const auto &name : items(names))
        out.push_back(describe(name.get()));
    return out;
}

// ext-names: the detail model's table pins the nine choices' texts but for
// the EDI party's strings; the encodings of the items make up the extension
// value again.
TEST(GeneralName, ExtNamesEdiPartyAndItemEncodings)
{
    const CertPtr cert = loadCert("ext-names");
    const GeneralNamesPtr names = altNames(cert);
    EXPECT_EQ(describeAll(names).at(7), "5 edi=Tavik Assigner/Tavik Party");
    Bytes encodings;
    for (const auto &name : items(names)) {
        const BlobPtr der(tavik_cert_generalname_getencode(name.get()));
        encodings = encodings + Bytes(der->data, der->data + der->length);
    }
    EXPECT_EQ(hex(tlv(0x30, encodings)),
              hex(tavik_cert_ext_getvalue(findExt(cert.get(), "2.5.29.17").get())));
}

// A SAN IPv6 address from its text.
Bytes ip6(const char *text)
{
    unsigned char address[16] = {};
    EXPECT_EQ(inet_pton(AF_INET6, text, address), 1) << text;
    return tlv(0x87, Bytes(address, address + 16));
}

Bytes ediParty(std::optional<Bytes> assigner, const Bytes &party)
{
    return tlv(0xA5, (assigner ? tlv(0xA0, *assigner) : Bytes{}) + tlv(0xA1, party));
}

// Forms no fixture carries. EDIPartyName strings are DirectoryStrings
// decoded without OpenSSL's name canonicalisation, so surrogate pairs and
// malformed text reach the toolkit; NUL is never shown; an address outside a
// name constraint has no mask, 5 bytes are no address, and IPv6 is compressed.
TEST(GeneralName, HandMadeFormsConvertOrAreRefused)
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
        {ediParty(std::nullopt, tlv(0x0C, {0xC1, 0x81})), "5 edi=-/\xC3\x81\xC2\x81"},
        {tlv(0x86, {0x61, 0x00}), "6"},
        {tlv(0x87, {10, 0, 0, 0, 255, 0, 0, 0}), "7"},
        {tlv(0x87, {10, 0, 0, 0, 1}), "7"},
        // IPv6 text after RFC 5952, and the IPv4-mapped form.
        {ip6("::1"), "7 ip=::1"},
        {ip6("::"), "7 ip=::"},
        {ip6("1::"), "7 ip=1::"},
        {ip6("1:0:0:1:0:0:0:1"), "7 ip=1:0:0:1::1"},
        {ip6("2001:db8:0:0:1:0:0:1"), "7 ip=2001:db8::1:0:0:1"},
        {ip6("2001:db8:0:1:1:1:1:1"), "7 ip=2001:db8:0:1:1:1:1:1"},
        {ip6("fe80:0:0:0:204:61ff:fe9d:f156"), "7 ip=fe80::204:61ff:fe9d:f156"},
        {ip6("1:2:3:4:5:6:7:0"), "7 ip=1:2:3:4:5:6:7:0"},
        {ip6("0:0:0:0:0:ffff:c000:280"), "7 ip=::ffff:192.0.2.128"},
    };
    for (const auto &[der, expected] : rows)
        EXPECT_EQ(describeAll(altNames(sanCert(der))), std::vector{expected}) << hex(der);
}

} // namespace
