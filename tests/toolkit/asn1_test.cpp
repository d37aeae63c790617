// The ASN.1 reader: typed values from memory and streams, the parts of a TLV,
// and the private extensions read through it.
#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include <climits>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fixtures.hpp"
#include "tavik_ptr.hpp"

namespace {

using tavik::BlobPtr;
using tavik::TextPtr;
using Bytes = std::vector<unsigned char>;
using ValuePtr = std::unique_ptr<tavik_asn1_value, tavik::Free<tavik_asn1_value_free>>;
using StreamPtr = std::unique_ptr<tavik_stream, tavik::Free<tavik_stream_free>>;

// "02 01 05" to bytes; "'abc'" adds the characters.
Bytes hex(const std::string &text)
{
    Bytes out;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++i;
        } else if (text[i] == '\'') {
            const std::size_t end = text.find('\'', i + 1);
            out.insert(out.end(), text.begin() + static_cast<long>(i) + 1,
                       text.begin() + static_cast<long>(end));
            i = end + 1;
        } else {
            out.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
            i += 2;
        }
    }
    return out;
}

Bytes bytesOf(const BlobPtr &blob)
{
    return blob ? Bytes(blob->data, blob->data + blob->length) : Bytes{0xEE, 0xEE};
}

ValuePtr decode(const Bytes &der, int type)
{
    tavik_asn1_value *value = nullptr;
    if (tavik_asn1_mem_decode(der.data(), der.size(), type, &value) != 1)
        return nullptr;
    return ValuePtr(value);
}

// DER made by the openssl command from an ASN1_generate_nconf string.
Bytes opensslDer(const std::string &genstr)
{
    const std::string out =
        pkiui::test::openssl("asn1parse -genstr '" + genstr + "' -noout -out /dev/stdout");
    return Bytes(out.begin(), out.end());
}

Bytes withLongContent(const std::string &header, std::size_t n)
{
    Bytes der = hex(header);
    der.resize(der.size() + n, 'x');
    return der;
}

TEST(Asn1Decode, EveryTypeCodeAcceptsItsOwnDerAndRefusesTheRest)
{
    struct Case {
        const char *what;
        int type;
        Bytes der;
        std::size_t encoded; // 0: refused
    };
    const Case cases[] = {
        {"false", TAVIK_ASN1_BOOLEAN, hex("01 01 00"), 3},
        {"true", TAVIK_ASN1_BOOLEAN, hex("01 01 FF"), 3},
        {"true not FF", TAVIK_ASN1_BOOLEAN, hex("01 01 01"), 0},
        {"boolean of two", TAVIK_ASN1_BOOLEAN, hex("01 02 00 00"), 0},
        {"empty boolean", TAVIK_ASN1_BOOLEAN, hex("01 00"), 0},
        {"constructed boolean", TAVIK_ASN1_BOOLEAN, hex("21 01 FF"), 0},
        {"integer as boolean", TAVIK_ASN1_BOOLEAN, hex("02 01 00"), 0},
        {"zero", TAVIK_ASN1_INTEGER, hex("02 01 00"), 3},
        {"128", TAVIK_ASN1_INTEGER, hex("02 02 00 80"), 4},
        {"-129", TAVIK_ASN1_INTEGER, hex("02 02 FF 7F"), 4},
        {"padded positive", TAVIK_ASN1_INTEGER, hex("02 02 00 7F"), 0},
        {"padded negative", TAVIK_ASN1_INTEGER, hex("02 02 FF 80"), 0},
        {"empty integer", TAVIK_ASN1_INTEGER, hex("02 00"), 0},
        {"constructed integer", TAVIK_ASN1_INTEGER, hex("22 03 02 01 00"), 0},
        {"long-form short length", TAVIK_ASN1_INTEGER, hex("02 81 01 05"), 0},
        {"low tag in high form", TAVIK_ASN1_INTEGER, hex("1F 02 01 05"), 0},
        {"context tag", TAVIK_ASN1_INTEGER, hex("82 01 05"), 0},
        {"empty octets", TAVIK_ASN1_OCTET_STRING, hex("04 00"), 2},
        {"octets", TAVIK_ASN1_OCTET_STRING, hex("04 03 01 02 03"), 5},
        {"trailing bytes left", TAVIK_ASN1_OCTET_STRING, hex("04 01 AA BB CC"), 3},
        {"128 octets", TAVIK_ASN1_OCTET_STRING, withLongContent("04 81 80", 128), 131},
        {"leading zero length", TAVIK_ASN1_OCTET_STRING, withLongContent("04 82 00 80", 128), 0},
        {"indefinite", TAVIK_ASN1_OCTET_STRING, hex("04 80 AA 00 00"), 0},
        {"constructed octets", TAVIK_ASN1_OCTET_STRING, hex("24 80 04 01 AA 00 00"), 0},
        {"truncated content", TAVIK_ASN1_OCTET_STRING, hex("04 05 01 02"), 0},
        {"truncated length", TAVIK_ASN1_OCTET_STRING, hex("04 82 01"), 0},
        {"length 2^31", TAVIK_ASN1_OCTET_STRING, hex("04 84 80 00 00 00 01"), 0},
        {"length of 5 octets", TAVIK_ASN1_OCTET_STRING, hex("04 85 01 00 00 00 00"), 0},
        {"identifier only", TAVIK_ASN1_OCTET_STRING, hex("04"), 0},
        {"null", TAVIK_ASN1_NULL, hex("05 00"), 2},
        {"null with content", TAVIK_ASN1_NULL, hex("05 01 00"), 0},
        {"constructed null", TAVIK_ASN1_NULL, hex("25 00"), 0},
        {"oid", TAVIK_ASN1_OID, hex("06 03 2A 03 04"), 5},
        {"empty oid", TAVIK_ASN1_OID, hex("06 00"), 0},
        {"unfinished arc", TAVIK_ASN1_OID, hex("06 02 2A 83"), 0},
        {"padded arc", TAVIK_ASN1_OID, hex("06 03 2A 80 01"), 0},
        {"utf8", TAVIK_ASN1_UTF8STRING, hex("0C 05 C3 A9 E4 B8 AD"), 7},
        {"four-byte utf8", TAVIK_ASN1_UTF8STRING, hex("0C 04 F0 9F 98 80"), 6},
        {"overlong", TAVIK_ASN1_UTF8STRING, hex("0C 02 C0 80"), 0},
        {"surrogate", TAVIK_ASN1_UTF8STRING, hex("0C 03 ED A0 80"), 0},
        {"above 10FFFF", TAVIK_ASN1_UTF8STRING, hex("0C 04 F4 90 80 80"), 0},
        {"cut sequence", TAVIK_ASN1_UTF8STRING, hex("0C 01 C3"), 0},
        {"lone continuation", TAVIK_ASN1_UTF8STRING, hex("0C 01 80"), 0},
        {"printable", TAVIK_ASN1_PRINTABLESTRING, hex("13 0A 'Az 09()+,-'"), 12},
        {"printable rest", TAVIK_ASN1_PRINTABLESTRING, hex("13 06 './:=?' 27"), 8},
        {"printable star", TAVIK_ASN1_PRINTABLESTRING, hex("13 01 '*'"), 0},
        {"printable at", TAVIK_ASN1_PRINTABLESTRING, hex("13 01 '@'"), 0},
        {"ia5", TAVIK_ASN1_IA5STRING, hex("16 03 00 '@' 7F"), 5},
        {"ia5 above 127", TAVIK_ASN1_IA5STRING, hex("16 01 80"), 0},
        {"visible", TAVIK_ASN1_VISIBLESTRING, hex("1A 02 20 7E"), 4},
        {"visible control", TAVIK_ASN1_VISIBLESTRING, hex("1A 01 1F"), 0},
        {"visible delete", TAVIK_ASN1_VISIBLESTRING, hex("1A 01 7F"), 0},
        {"ia5 as visible", TAVIK_ASN1_VISIBLESTRING, hex("16 01 41"), 0},
        {"visible as its code", TAVIK_ASN1_VISIBLESTRING, hex("10 01 41"), 0},
        {"bmp", TAVIK_ASN1_BMPSTRING, hex("1E 04 4E 2D 00 41"), 6},
        {"empty bmp", TAVIK_ASN1_BMPSTRING, hex("1E 00"), 2},
        {"odd bmp", TAVIK_ASN1_BMPSTRING, hex("1E 03 00 41 00"), 0},
        {"bmp as its code", TAVIK_ASN1_BMPSTRING, hex("13 02 00 41"), 0},
        {"unknown code", 3, hex("03 01 00"), 0},
    };
    for (const Case &c : cases) {
        const ValuePtr value = decode(c.der, c.type);
        ASSERT_EQ(value != nullptr, c.encoded != 0) << c.what;
        if (value) {
            EXPECT_EQ(tavik_asn1_value_gettype(value.get()), c.type) << c.what;
            EXPECT_EQ(tavik_asn1_value_getencodedlength(value.get()), c.encoded) << c.what;
        }
    }
}

TEST(Asn1Decode, ReadersGiveTheContentOfTheirOwnTypesOnly)
{
    const ValuePtr utf8 = decode(hex("0C 03 'abc'"), TAVIK_ASN1_UTF8STRING);
    const ValuePtr bmp = decode(hex("1E 02 4E 2D"), TAVIK_ASN1_BMPSTRING);
    const ValuePtr octets = decode(hex("04 02 00 FF"), TAVIK_ASN1_OCTET_STRING);
    const ValuePtr integer = decode(hex("02 02 FF 7F"), TAVIK_ASN1_INTEGER);
    const ValuePtr yes = decode(hex("01 01 FF"), TAVIK_ASN1_BOOLEAN);
    const ValuePtr no = decode(hex("01 01 00"), TAVIK_ASN1_BOOLEAN);
    const ValuePtr oid = decode(hex("06 03 2A 03 04"), TAVIK_ASN1_OID);
    const ValuePtr null = decode(hex("05 00"), TAVIK_ASN1_NULL);
    ASSERT_TRUE(utf8 && bmp && octets && integer && yes && no && oid && null);

    EXPECT_EQ(bytesOf(BlobPtr(tavik_asn1_octetstring_getblob(utf8.get()))), hex("'abc'"));
    EXPECT_EQ(bytesOf(BlobPtr(tavik_asn1_octetstring_getblob(bmp.get()))), hex("4E 2D"));
    EXPECT_EQ(bytesOf(BlobPtr(tavik_asn1_octetstring_getblob(octets.get()))), hex("00 FF"));
    for (const auto *other : {integer.get(), yes.get(), oid.get(), null.get()})
        EXPECT_EQ(tavik_asn1_octetstring_getblob(other), nullptr);

    EXPECT_EQ(tavik_asn1_integer_getlength(integer.get()), 2);
    EXPECT_EQ(tavik_asn1_integer_getlength(octets.get()), -1);
    unsigned char out[2] = {};
    EXPECT_EQ(tavik_asn1_integer_get(integer.get(), out, 1), 0);
    ASSERT_EQ(tavik_asn1_integer_get(integer.get(), out, sizeof out), 1);
    EXPECT_EQ(Bytes(out, out + 2), hex("FF 7F"));
    EXPECT_EQ(tavik_asn1_integer_get(octets.get(), out, sizeof out), 0);

    EXPECT_EQ(tavik_asn1_boolean_istrue(yes.get()), 1);
    EXPECT_EQ(tavik_asn1_boolean_istrue(no.get()), 0);
    EXPECT_EQ(tavik_asn1_boolean_istrue(integer.get()), -1);

    EXPECT_STREQ(TextPtr(tavik_asn1_oid_getstring(oid.get())).get(), "1.2.3.4");
    EXPECT_EQ(tavik_asn1_oid_getstring(octets.get()), nullptr);

    EXPECT_EQ(tavik_asn1_value_gettype(nullptr), -1);
    EXPECT_EQ(tavik_asn1_value_getencodedlength(nullptr), 0u);
    tavik_asn1_value *value = nullptr;
    EXPECT_EQ(tavik_asn1_mem_decode(nullptr, 0, TAVIK_ASN1_NULL, &value), 0);
    EXPECT_EQ(tavik_asn1_mem_decode(hex("05 00").data(), 2, TAVIK_ASN1_NULL, nullptr), 0);
}

TEST(Asn1Decode, OidsAndIntegersReadAsTheOpensslCommandWroteThem)
{
    for (const char *oid : {"0.0", "1.2.840.113549.1.1.11", "2.999.1", "1.3.6.1.4.1.18760.1.15",
                            "2.25.329800735698586629295641978511506172918"}) {
        const Bytes der = opensslDer(std::string("OID:") + oid);
        const ValuePtr value = decode(der, TAVIK_ASN1_OID);
        ASSERT_TRUE(value) << oid;
        EXPECT_EQ(tavik_asn1_value_getencodedlength(value.get()), der.size()) << oid;
        EXPECT_STREQ(TextPtr(tavik_asn1_oid_getstring(value.get())).get(), oid);
    }
    for (const char *n : {"0", "127", "128", "-128", "-129", "256", "9223372036854775807",
                          "-9223372036854775808", "340282366920938463463374607431768211456"}) {
        const Bytes der = opensslDer(std::string("INTEGER:") + n);
        ASSERT_GE(der.size(), 3u) << n;
        const ValuePtr value = decode(der, TAVIK_ASN1_INTEGER);
        ASSERT_TRUE(value) << n;
        const Bytes content(der.begin() + 2, der.end());
        ASSERT_EQ(tavik_asn1_integer_getlength(value.get()), static_cast<int>(content.size()));
        Bytes out(content.size());
        ASSERT_EQ(tavik_asn1_integer_get(value.get(), out.data(), out.size()), 1);
        EXPECT_EQ(out, content) << n;
    }
}

StreamPtr streamOver(const Bytes &bytes)
{
    return StreamPtr(tavik_stream_new_romem(bytes.data(), bytes.size(), 0, 0));
}

TEST(Asn1Stream, ValuesAreTakenInTurnAndAFailureLeavesTheStreamInPlace)
{
    const Bytes bytes = hex("02 01 05  04 02 AA BB  30 00");
    const StreamPtr stream = streamOver(bytes);
    ASSERT_TRUE(stream);
    struct Step {
        int type;
        bool ok;
        std::size_t remaining;
    };
    const Step steps[] = {
        {TAVIK_ASN1_NULL, false, 9},         {TAVIK_ASN1_INTEGER, true, 6},
        {TAVIK_ASN1_INTEGER, false, 6},      {TAVIK_ASN1_OCTET_STRING, true, 2},
        {TAVIK_ASN1_OCTET_STRING, false, 2},
    };
    for (const Step &s : steps) {
        tavik_asn1_value *value = nullptr;
        EXPECT_EQ(tavik_asn1_decode(stream.get(), s.type, &value, 0), s.ok ? 1 : 0) << s.type;
        const ValuePtr owned(value);
        EXPECT_EQ(tavik_stream_remaining(stream.get()), s.remaining) << s.type;
    }
    int cls = -1, constructed = -1, tag = -1;
    ASSERT_EQ(tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag), 1);
    EXPECT_EQ((std::vector<int>{cls, constructed, tag}), (std::vector<int>{0, 1, 16}));
    std::size_t length = 99;
    int indefinite = -1;
    ASSERT_EQ(tavik_asn1_decode_length(stream.get(), &length, &indefinite), 1);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(indefinite, 0);
    EXPECT_EQ(tavik_stream_remaining(stream.get()), 0u);
    EXPECT_EQ(tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag), 0);

    tavik_asn1_value *value = nullptr;
    EXPECT_EQ(tavik_stream_new_romem(bytes.data(), bytes.size(), 1, 0), nullptr);
    EXPECT_EQ(tavik_stream_new_romem(bytes.data(), bytes.size(), 0, 1), nullptr);
    EXPECT_EQ(tavik_stream_new_romem(nullptr, 0, 0, 0), nullptr);
    const StreamPtr again = streamOver(bytes);
    EXPECT_EQ(tavik_asn1_decode(again.get(), TAVIK_ASN1_INTEGER, &value, 1), 0);
    EXPECT_EQ(tavik_asn1_decode(nullptr, TAVIK_ASN1_INTEGER, &value, 0), 0);
    EXPECT_EQ(tavik_stream_remaining(again.get()), bytes.size());
    EXPECT_EQ(tavik_stream_remaining(nullptr), 0u);
}

TEST(Asn1Stream, IdentifiersGiveClassFormAndTagNumber)
{
    struct Case {
        Bytes bytes;
        bool ok;
        int cls, constructed, tag;
        std::size_t consumed;
    };
    const Case cases[] = {
        {hex("02"), true, 0, 0, 2, 1},
        {hex("30"), true, 0, 1, 16, 1},
        {hex("41"), true, 64, 0, 1, 1},
        {hex("A0"), true, 128, 1, 0, 1},
        {hex("82"), true, 128, 0, 2, 1},
        {hex("DE"), true, 192, 0, 30, 1},
        {hex("DF 1F"), true, 192, 0, 31, 2},
        {hex("BF 81 00"), true, 128, 1, 128, 3},
        {hex("9F 87 FF FF FF 7F"), true, 128, 0, INT_MAX, 6},
        {hex("9F 88 80 80 80 00"), false, 0, 0, 0, 0}, // 2^31
        {hex("9F 80 1F"), false, 0, 0, 0, 0},          // padded
        {hex("9F 1E"), false, 0, 0, 0, 0},             // low tag in high form
        {hex("9F 81"), false, 0, 0, 0, 0},             // cut
        {hex(""), false, 0, 0, 0, 0},
    };
    for (const Case &c : cases) {
        const Bytes bytes = c.bytes.empty() ? hex("00") : c.bytes;
        const StreamPtr stream(tavik_stream_new_romem(bytes.data(), c.bytes.size(), 0, 0));
        ASSERT_TRUE(stream);
        int cls = -1, constructed = -1, tag = -1;
        const int status = tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag);
        EXPECT_EQ(status, c.ok ? 1 : 0) << c.tag;
        if (c.ok) {
            EXPECT_EQ((std::vector<int>{cls, constructed, tag}),
                      (std::vector<int>{c.cls, c.constructed, c.tag}));
        }
        EXPECT_EQ(c.bytes.size() - tavik_stream_remaining(stream.get()), c.consumed) << c.tag;
    }
}

TEST(Asn1Stream, LengthsAreDefiniteAndMinimalAndIndefiniteIsReported)
{
    struct Case {
        Bytes bytes;
        int status;
        std::size_t length;
        int indefinite;
    };
    const Case cases[] = {
        {hex("00"), 1, 0, 0},
        {hex("7F"), 1, 127, 0},
        {hex("81 80"), 1, 128, 0},
        {hex("82 01 00"), 1, 256, 0},
        {hex("84 7F FF FF FF"), 1, 0x7FFFFFFF, 0},
        {hex("80"), 1, 0, 1},
        {hex("81 7F"), 0, 0, 0},
        {hex("82 00 80"), 0, 0, 0},
        {hex("84 80 00 00 00"), 0, 0, 0},
        {hex("85 01 00 00 00 00"), 0, 0, 0},
        {hex("FF"), 0, 0, 0},
        {hex("82 01"), 0, 0, 0},
    };
    for (const Case &c : cases) {
        const StreamPtr stream = streamOver(c.bytes);
        std::size_t length = 99;
        int indefinite = -1;
        ASSERT_EQ(tavik_asn1_decode_length(stream.get(), &length, &indefinite), c.status)
            << c.length;
        const std::size_t consumed = c.bytes.size() - tavik_stream_remaining(stream.get());
        EXPECT_EQ(consumed, c.status == 1 ? c.bytes.size() : 0u) << c.length;
        if (c.status == 1) {
            EXPECT_EQ((std::pair{length, indefinite}), (std::pair{c.length, c.indefinite}));
        }
    }
}

// A context-specific [n] read in parts, as the national identity code is:
// primitive content read as an OCTET STRING, or an explicit inner string.
TEST(Asn1Stream, ContentIsReadAsTheTypeUnderImplicitOrExplicitTags)
{
    const Bytes implicit = hex("80 03 '123'");
    StreamPtr stream = streamOver(implicit);
    int cls = 0, constructed = 0, tag = 0, indefinite = 0;
    std::size_t length = 0;
    ASSERT_EQ(tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag), 1);
    ASSERT_EQ(tavik_asn1_decode_length(stream.get(), &length, &indefinite), 1);
    EXPECT_EQ((std::vector<int>{cls, constructed, tag}), (std::vector<int>{128, 0, 0}));
    tavik_asn1_value *value = nullptr;
    EXPECT_EQ(tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_OCTET_STRING, 4, &value), 0);
    EXPECT_EQ(tavik_asn1_decode_content(stream.get(), 3, length, &value), 0);
    ASSERT_EQ(tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_OCTET_STRING, length, &value), 1);
    ValuePtr owned(value);
    EXPECT_EQ(bytesOf(BlobPtr(tavik_asn1_octetstring_getblob(value))), hex("'123'"));
    EXPECT_EQ(tavik_asn1_value_getencodedlength(value), 3u);
    EXPECT_EQ(tavik_stream_remaining(stream.get()), 0u);

    const Bytes explicitly = hex("A1 05 0C 03 'abc' 05 00");
    stream = streamOver(explicitly);
    ASSERT_EQ(tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag), 1);
    ASSERT_EQ(tavik_asn1_decode_length(stream.get(), &length, &indefinite), 1);
    EXPECT_EQ((std::vector<int>{cls, constructed, tag}), (std::vector<int>{128, 1, 1}));
    ASSERT_EQ(tavik_asn1_decode(stream.get(), TAVIK_ASN1_UTF8STRING, &value, 0), 1);
    owned.reset(value);
    EXPECT_EQ(tavik_asn1_value_getencodedlength(value), length);

    // Content checks apply as to a whole value: not PrintableString, not a BOOLEAN.
    const Bytes content = hex("'a*' 01");
    stream = streamOver(content);
    EXPECT_EQ(tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_PRINTABLESTRING, 2, &value), 0);
    EXPECT_EQ(tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_IA5STRING, 2, &value), 1);
    owned.reset(value);
    EXPECT_EQ(tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_BOOLEAN, 1, &value), 0);
    EXPECT_EQ(tavik_asn1_decode_content(stream.get(), TAVIK_ASN1_NULL, 0, &value), 1);
    owned.reset(value);
    EXPECT_EQ(tavik_stream_remaining(stream.get()), 1u);
}

// ---- Private extensions ----

using ItemsPtr = std::unique_ptr<tavik_cert_identificationitems,
                                 tavik::Free<tavik_cert_identificationitems_free>>;
using ItemPtr =
    std::unique_ptr<tavik_cert_identificationitem, tavik::Free<tavik_cert_identificationitem_free>>;
using DigestsPtr =
    std::unique_ptr<tavik_cert_digestinfolist, tavik::Free<tavik_cert_digestinfolist_free>>;
using DigestPtr = std::unique_ptr<tavik_cert_digestinfo, tavik::Free<tavik_cert_digestinfo_free>>;
using AlgPtr = std::unique_ptr<tavik_cert_algorithmid, tavik::Free<tavik_cert_algorithmid_free>>;
using ExtsPtr = std::unique_ptr<tavik_cert_exts, tavik::Free<tavik_cert_exts_free>>;
using ExtPtr = std::unique_ptr<tavik_cert_ext, tavik::Free<tavik_cert_ext_free>>;

constexpr const char *kItemsOid = "1.3.6.1.4.1.18760.1.15";
constexpr const char *kDigestsOid = "1.3.6.1.4.1.18760.1.12.1";

// A TLV with a minimal definite length.
Bytes tlv(unsigned char identifier, const Bytes &content)
{
    Bytes out{identifier};
    const std::size_t n = content.size();
    if (n < 0x80) {
        out.push_back(static_cast<unsigned char>(n));
    } else {
        Bytes length;
        for (std::size_t v = n; v; v >>= 8)
            length.insert(length.begin(), static_cast<unsigned char>(v));
        out.push_back(static_cast<unsigned char>(0x80 | length.size()));
        out.insert(out.end(), length.begin(), length.end());
    }
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

Bytes cat(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes &part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

Bytes seq(std::initializer_list<Bytes> parts)
{
    return tlv(0x30, cat(parts));
}

// A certificate made here that carries one extension with the raw value.
tavik::CertPtr certWith(const char *oid, const Bytes &value)
{
    using ObjPtr = std::unique_ptr<ASN1_OBJECT, tavik::Free<ASN1_OBJECT_free>>;
    using OctetsPtr = std::unique_ptr<ASN1_OCTET_STRING, tavik::Free<ASN1_OCTET_STRING_free>>;
    using ExtensionPtr = std::unique_ptr<X509_EXTENSION, tavik::Free<X509_EXTENSION_free>>;
    const pkiui::test::KeyPtr key(EVP_EC_gen("P-256"));
    const pkiui::test::X509Ptr x(X509_new());
    const ObjPtr object(OBJ_txt2obj(oid, 1));
    const OctetsPtr octets(ASN1_OCTET_STRING_new());
    if (!key || !x || !object || !octets ||
        !ASN1_OCTET_STRING_set(octets.get(), value.data(), static_cast<int>(value.size())))
        return nullptr;
    const ExtensionPtr ext(X509_EXTENSION_create_by_OBJ(nullptr, object.get(), 0, octets.get()));
    X509_NAME_add_entry_by_txt(X509_get_subject_name(x.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char *>("ext"), -1, -1, 0);
    if (!ext || !X509_set_version(x.get(), 2) || !X509_add_ext(x.get(), ext.get(), -1) ||
        !ASN1_TIME_set_string(X509_getm_notBefore(x.get()), "20240101000000Z") ||
        !ASN1_TIME_set_string(X509_getm_notAfter(x.get()), "20340101000000Z") ||
        !X509_set_pubkey(x.get(), key.get()) || !X509_sign(x.get(), key.get(), EVP_sha256()))
        return nullptr;
    return pkiui::test::handleOf(x.get());
}

ExtPtr findExt(TAVIK_CERT_st *cert, const char *oid)
{
    const ExtsPtr exts(cert ? tavik_cert_getexts(cert) : nullptr);
    return ExtPtr(exts ? tavik_cert_exts_find(exts.get(), oid) : nullptr);
}

struct Item {
    std::optional<std::int64_t> type;
    std::optional<std::int64_t> encoding;
    Bytes value;
    bool operator==(const Item &) const = default;
};

std::optional<std::vector<Item>> readItems(const tavik_cert_ext *ext)
{
    const ItemsPtr items(tavik_cert_ext_toidentificationitems(ext));
    if (!items)
        return std::nullopt;
    std::vector<Item> out;
    const int count = tavik_cert_identificationitems_getitemcount(items.get());
    for (int i = 0; i < count; ++i) {
        const ItemPtr item(tavik_cert_identificationitems_getitem(items.get(), i));
        if (!item)
            return std::nullopt;
        Item read;
        std::int64_t n = 0;
        if (tavik_cert_identificationitem_gettype(item.get(), &n) == 1)
            read.type = n;
        if (tavik_cert_identificationitem_getencode(item.get(), &n) == 1)
            read.encoding = n;
        read.value = bytesOf(BlobPtr(tavik_cert_identificationitem_getvalue(item.get())));
        out.push_back(read);
    }
    EXPECT_EQ(tavik_cert_identificationitems_getitem(items.get(), count), nullptr);
    EXPECT_EQ(tavik_cert_identificationitems_getitem(items.get(), -1), nullptr);
    return out;
}

struct Digest {
    std::string oid;
    bool nullParam;
    bool hasParams;
    Bytes hash;
    bool operator==(const Digest &) const = default;
};

std::optional<std::vector<Digest>> readDigests(const tavik_cert_ext *ext)
{
    const DigestsPtr list(tavik_cert_ext_todigestinfolist(ext));
    if (!list)
        return std::nullopt;
    std::vector<Digest> out;
    const int count = tavik_cert_digestinfolist_getitemcount(list.get());
    for (int i = 0; i < count; ++i) {
        const DigestPtr info(tavik_cert_digestinfolist_getitem(list.get(), i));
        const AlgPtr alg(info ? tavik_cert_digestinfo_getalgorithm(info.get()) : nullptr);
        if (!alg)
            return std::nullopt;
        const TextPtr oid(tavik_cert_algorithmid_getoid(alg.get()));
        out.push_back({oid ? oid.get() : "?", tavik_cert_algorithmid_hasnullparam(alg.get()) == 1,
                       tavik_cert_algorithmid_hasparams(alg.get()) == 1,
                       bytesOf(BlobPtr(tavik_cert_digestinfo_gethashvalue(info.get())))});
    }
    EXPECT_EQ(tavik_cert_digestinfolist_getitem(list.get(), count), nullptr);
    return out;
}

// The digest the openssl command makes of the text, as hex digits.
std::string digestOf(const std::string &algorithm, const std::string &text)
{
    const std::string path = ::testing::TempDir() + "asn1-digest-input";
    std::ofstream(path, std::ios::binary) << text;
    const std::string out = pkiui::test::openssl("dgst -" + algorithm + " -r " + path);
    return out.substr(0, out.find(' '));
}

std::string sha256Of(const std::string &text)
{
    return digestOf("sha256", text);
}

TEST(PrivateExtensions, TheFixtureItemsAndDigestsReadAsEncoded)
{
    const tavik::CertPtr cert = pkiui::test::loadCert("ext-private");
    ASSERT_TRUE(cert);
    const ExtPtr itemsExt = findExt(cert.get(), kItemsOid);
    const ExtPtr digestsExt = findExt(cert.get(), kDigestsOid);
    ASSERT_TRUE(itemsExt && digestsExt);

    const auto items = readItems(itemsExt.get());
    ASSERT_TRUE(items);
    ASSERT_EQ(items->size(), 2u);
    EXPECT_EQ((*items)[0], (Item{501, 42, hex("'91350100M000100Y43'")}));
    EXPECT_EQ((*items)[1], (Item{1, 71, hex(sha256Of("110101199001011234"))}));

    const auto digests = readDigests(digestsExt.get());
    ASSERT_TRUE(digests);
    ASSERT_EQ(digests->size(), 3u);
    // Digests of "abc" under each algorithm, NULL parameters but for SHA-256.
    const std::vector<Digest> expected = {
        {"1.3.14.3.2.26", true, true, hex(digestOf("sha1", "abc"))},
        {"2.16.840.1.101.3.4.2.1", false, false, hex(digestOf("sha256", "abc"))},
        {"1.2.156.10197.1.401", true, true, hex(digestOf("sm3", "abc"))},
    };
    EXPECT_EQ(*digests, expected);
    // Not the structure of the other extension.
    EXPECT_EQ(tavik_cert_ext_toidentificationitems(digestsExt.get()), nullptr);
    EXPECT_EQ(tavik_cert_ext_todigestinfolist(itemsExt.get()), nullptr);
    EXPECT_EQ(tavik_cert_ext_toidentificationitems(nullptr), nullptr);
    EXPECT_EQ(tavik_cert_ext_todigestinfolist(nullptr), nullptr);
}

Bytes integer(const char *content)
{
    return tlv(0x02, hex(content));
}
Bytes octets(const Bytes &content)
{
    return tlv(0x04, content);
}

TEST(PrivateExtensions, IdentificationItemsRefuseAnyMalformedLevel)
{
    const Bytes good = seq({integer("01 F5"), integer("2A"), octets(hex("'ab'"))});
    struct Case {
        const char *what;
        Bytes value;
        std::optional<std::vector<Item>> expected;
    };
    const Case cases[] = {
        {"two items", seq({good, seq({integer("01"), integer("47"), octets({})})}),
         std::vector<Item>{{501, 42, hex("'ab'")}, {1, 71, {}}}},
        {"no items", seq({}), std::vector<Item>{}},
        {"beyond 64 bits",
         seq({seq({integer("00 80 00 00 00 00 00 00 00"), integer("FF"), octets(hex("01"))})}),
         std::vector<Item>{{std::nullopt, -1, hex("01")}}},
        {"64-bit extremes",
         seq({seq({integer("80 00 00 00 00 00 00 00"), integer("7F FF FF FF FF FF FF FF"),
                   octets({})})}),
         std::vector<Item>{{INT64_MIN, INT64_MAX, {}}}},
        {"trailing after list", cat({seq({good}), hex("00")}), std::nullopt},
        {"trailing in list", seq({good, hex("05 00")}), std::nullopt},
        {"trailing in item", seq({seq({integer("01"), integer("2A"), octets({}), hex("05 00")})}),
         std::nullopt},
        {"missing value", seq({seq({integer("01"), integer("2A")})}), std::nullopt},
        {"missing encoding", seq({seq({integer("01"), octets({})})}), std::nullopt},
        {"fields swapped", seq({seq({octets({}), integer("01"), integer("2A")})}), std::nullopt},
        {"padded integer", seq({seq({integer("00 01"), integer("2A"), octets({})})}), std::nullopt},
        {"set of", tlv(0x31, good), std::nullopt},
        {"indefinite list", cat({hex("30 80"), good, hex("00 00")}), std::nullopt},
        {"cut", Bytes(good.begin(), good.end() - 1), std::nullopt},
        {"empty value", {}, std::nullopt},
    };
    for (const Case &c : cases) {
        const tavik::CertPtr cert = certWith(kItemsOid, c.value);
        const ExtPtr ext = findExt(cert.get(), kItemsOid);
        ASSERT_TRUE(ext) << c.what;
        EXPECT_EQ(readItems(ext.get()), c.expected) << c.what;
    }
}

TEST(PrivateExtensions, DigestInfosRefuseAnyMalformedLevel)
{
    const Bytes sha1 = hex("06 05 2B 0E 03 02 1A");
    const Bytes sha256 = hex("06 09 60 86 48 01 65 03 04 02 01");
    const Bytes null = hex("05 00");
    const Bytes hash = octets(hex("01 02 03"));
    const Bytes good = seq({seq({sha1, null}), hash});
    struct Case {
        const char *what;
        Bytes value;
        std::optional<std::vector<Digest>> expected;
    };
    const Case cases[] = {
        {"two digests", seq({good, seq({seq({sha256}), octets({})})}),
         std::vector<Digest>{{"1.3.14.3.2.26", true, true, hex("01 02 03")},
                             {"2.16.840.1.101.3.4.2.1", false, false, {}}}},
        {"constructed parameters", seq({seq({seq({sha256, seq({integer("01"), null})}), hash})}),
         std::vector<Digest>{{"2.16.840.1.101.3.4.2.1", false, true, hex("01 02 03")}}},
        {"no digests", seq({}), std::vector<Digest>{}},
        {"trailing after list", cat({seq({good}), hex("00")}), std::nullopt},
        {"trailing in digest info", seq({seq({seq({sha1, null}), hash, null})}), std::nullopt},
        {"two parameters", seq({seq({seq({sha1, null, null}), hash})}), std::nullopt},
        {"missing digest", seq({seq({seq({sha1, null})})}), std::nullopt},
        {"missing algorithm", seq({seq({hash})}), std::nullopt},
        {"bit string digest", seq({seq({seq({sha1}), tlv(0x03, hex("00 01"))})}), std::nullopt},
        {"algorithm not a sequence", seq({seq({sha1, hash})}), std::nullopt},
        {"bad oid", seq({seq({seq({hex("06 02 2B 80"), null}), hash})}), std::nullopt},
        {"indefinite parameters",
         seq({seq({seq({sha1, cat({hex("30 80"), integer("01"), hex("00 00")})}), hash})}),
         std::nullopt},
        {"cut parameters", seq({seq({seq({sha1, hex("05")}), hash})}), std::nullopt},
    };
    for (const Case &c : cases) {
        const tavik::CertPtr cert = certWith(kDigestsOid, c.value);
        const ExtPtr ext = findExt(cert.get(), kDigestsOid);
        ASSERT_TRUE(ext) << c.what;
        EXPECT_EQ(readDigests(ext.get()), c.expected) << c.what;
    }
}

} // namespace
