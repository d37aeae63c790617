// The ASN.1 reader: typed values from memory and streams, the parts of a TLV,
// and the private extensions read through it.
#include <gtest/gtest.h>

#include <climits>
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

} // namespace
