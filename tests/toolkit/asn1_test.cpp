// The ASN.1 reader: typed values from memory and streams, the parts of a TLV,
// and the private extensions read through it.
#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using namespace tavik;

// "02 01 05" to bytes; "'abc'" adds the characters; "*128" adds that many 'x'.
Bytes der(const std::string &text)
{
    Bytes out;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++i;
        } else if (text[i] == '*') {
            out.resize(out.size() + std::stoul(text.substr(i + 1)), 'x');
            i = text.size();
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

Asn1ValuePtr decode(const Bytes &der, int type)
{
    tavik_asn1_value *value = nullptr;
    if (tavik_asn1_mem_decode(der.data(), der.size(), type, &value) != 1)
        return nullptr;
    return Asn1ValuePtr(value);
}

// DER that OpenSSL makes from an ASN1_generate_nconf string.
Bytes opensslDer(const std::string &genstr)
{
    const std::unique_ptr<ASN1_TYPE, Free<ASN1_TYPE_free>> value(
        ASN1_generate_nconf(genstr.c_str(), nullptr));
    unsigned char *out = nullptr;
    const int length = value ? i2d_ASN1_TYPE(value.get(), &out) : -1;
    const std::unique_ptr<unsigned char, Free<opensslFree>> owned(out);
    return length > 0 ? Bytes(out, out + length) : Bytes{};
}

// One row per rule: a type code's own DER, and each way of breaking it.
TEST(Asn1Decode, EveryTypeCodeAcceptsItsOwnDerAndRefusesTheRest)
{
    // clang-format off
    enum : int {
        B = TAVIK_ASN1_BOOLEAN, I = TAVIK_ASN1_INTEGER, O = TAVIK_ASN1_OCTET_STRING, N = TAVIK_ASN1_NULL,
        D = TAVIK_ASN1_OID, U = TAVIK_ASN1_UTF8STRING, P = TAVIK_ASN1_PRINTABLESTRING,
        A = TAVIK_ASN1_IA5STRING, V = TAVIK_ASN1_VISIBLESTRING, M = TAVIK_ASN1_BMPSTRING
    };
    struct Case {
        int type;
        const char *der;
        std::size_t encoded; // 0: refused
    };
    const Case cases[] = {
        {B, "01 01 00", 3}, {B, "01 01 FF", 3}, {B, "01 01 01", 0}, // true is FF
        {B, "01 02 00 00", 0}, {B, "21 01 FF", 0}, {B, "02 01 00", 0}, // size, constructed, tag
        {I, "02 02 00 80", 4}, {I, "02 02 FF 7F", 4}, {I, "02 00", 0},
        {I, "02 02 00 7F", 0}, {I, "02 02 FF 80", 0},                 // padded
        {I, "02 81 01 05", 0}, {I, "1F 02 01 05", 0}, {I, "82 01 05", 0}, // long length, high form, class
        {O, "04 00", 2}, {O, "04 01 AA BB CC", 3}, {O, "04 81 80 *128", 131},
        {O, "04 82 00 80 *128", 0}, {O, "04 80 AA 00 00", 0},         // leading zero, indefinite
        {O, "24 80 04 01 AA 00 00", 0}, {O, "04 05 01 02", 0},        // constructed, truncated
        {O, "04 82 01", 0}, {O, "04", 0},                              // truncated length, identifier only
        {O, "04 84 80 00 00 00 01", 0}, {O, "04 85 01 00 00 00 00", 0}, // 2^31, five length octets
        {N, "05 00", 2}, {N, "05 01 00", 0},
        {D, "06 03 2A 03 04", 5}, {D, "06 00", 0}, {D, "06 02 2A 83", 0}, {D, "06 03 2A 80 01", 0},
        {U, "0C 05 C3 A9 E4 B8 AD", 7}, {U, "0C 04 F0 9F 98 80", 6},
        {U, "0C 02 C0 80", 0}, {U, "0C 03 ED A0 80", 0},              // overlong, surrogate
        {U, "0C 04 F4 90 80 80", 0}, {U, "0C 01 C3", 0}, {U, "0C 01 80", 0}, // > U+10FFFF, cut, lone
        {U, "0C 03 E0 80 AF", 0}, {U, "0C 04 F0 8F BF BF", 0}, {U, "0C 05 F8 88 80 80 80", 0},
        {U, "0C 02 C3 41", 0}, {U, "0C 04 F4 8F BF BF", 6},           // overlong 3 and 4, 5 bytes
        {P, "13 10 'Az 09()+,-./:=?' 27", 18}, {P, "13 01 '*'", 0}, {P, "13 01 '@'", 0},
        {A, "16 03 00 '@' 7F", 5}, {A, "16 01 80", 0},
        {V, "1A 02 20 7E", 4}, {V, "1A 01 1F", 0}, {V, "1A 01 7F", 0}, {V, "10 01 41", 0},
        {M, "1E 04 4E 2D 00 41", 6}, {M, "1E 00", 2}, {M, "1E 03 00 41 00", 0},
        {3, "03 01 00", 0}, // no such type code
    };
    // clang-format on
    for (const Case &c : cases) {
        const Asn1ValuePtr value = decode(der(c.der), c.type);
        ASSERT_EQ(value != nullptr, c.encoded != 0) << c.der;
        if (!value)
            continue;
        EXPECT_EQ(tavik_asn1_value_gettype(value.get()), c.type) << c.der;
        EXPECT_EQ(tavik_asn1_value_getencodedlength(value.get()), c.encoded) << c.der;
        // Each reader answers for its own types only.
        const bool string = c.type != B && c.type != I && c.type != N && c.type != D;
        EXPECT_EQ(BlobPtr(tavik_asn1_octetstring_getblob(value.get())) != nullptr, string) << c.der;
        EXPECT_EQ(tavik_asn1_integer_getlength(value.get()) >= 0, c.type == I) << c.der;
        unsigned char out[8];
        EXPECT_EQ(tavik_asn1_integer_get(value.get(), out, sizeof out), c.type == I) << c.der;
        EXPECT_EQ(tavik_asn1_boolean_istrue(value.get()) >= 0, c.type == B) << c.der;
        EXPECT_EQ(TextPtr(tavik_asn1_oid_getstring(value.get())) != nullptr, c.type == D) << c.der;
    }
}

// Integers are pinned by the detail model's serial and configured-value rows
// and, with a short buffer, by the fuzzers' replay of the fixtures.
TEST(Asn1Decode, OidsReadAsOpensslWroteThem)
{
    for (const char *oid : {"0.0", "1.2.840.113549.1.1.11", "2.999.1",
                            "2.25.329800735698586629295641978511506172918"}) {
        const Bytes der = opensslDer(std::string("OID:") + oid);
        const Asn1ValuePtr value = decode(der, TAVIK_ASN1_OID);
        ASSERT_TRUE(value) << oid;
        EXPECT_EQ(tavik_asn1_value_getencodedlength(value.get()), der.size()) << oid;
        EXPECT_STREQ(TextPtr(tavik_asn1_oid_getstring(value.get())).get(), oid);
    }
}

// The parts of a TLV: {class, constructed, tag} or {length, indefinite}; a
// refused part consumes nothing.
TEST(Asn1Stream, IdentifiersAndLengthsAreReadMinimallyOrNotAtAll)
{
    struct Case {
        bool length;
        const char *bytes;
        std::vector<long> read; // empty: refused
    };
    // clang-format off
    const Case cases[] = {
        {false, "02", {0, 0, 2}}, {false, "30", {0, 1, 16}}, {false, "41", {64, 0, 1}},
        {false, "A0", {128, 1, 0}}, {false, "DE", {192, 0, 30}}, {false, "DF 1F", {192, 0, 31}},
        {false, "BF 81 00", {128, 1, 128}}, {false, "9F 87 FF FF FF 7F", {128, 0, INT_MAX}},
        {false, "9F 88 80 80 80 00", {}}, {false, "9F 80 1F", {}}, // 2^31, padded
        {false, "9F 1E", {}}, {false, "9F 81", {}}, {false, "", {}}, // low in high form, cut
        {true, "00", {0, 0}}, {true, "7F", {127, 0}}, {true, "81 80", {128, 0}},
        {true, "82 01 00", {256, 0}}, {true, "84 7F FF FF FF", {0x7FFFFFFF, 0}}, {true, "80", {0, 1}},
        {true, "81 7F", {}}, {true, "82 00 80", {}}, {true, "84 80 00 00 00", {}},
        {true, "85 01 00 00 00 00", {}}, {true, "FF", {}}, {true, "82 01", {}},
    };
    // clang-format on
    for (const Case &c : cases) {
        Bytes bytes = der(c.bytes);
        bytes.push_back(0); // a readable byte past the stream, for the empty one
        const StreamPtr stream(tavik_stream_new_romem(bytes.data(), bytes.size() - 1, 0, 0));
        ASSERT_TRUE(stream);
        int a = -1, b = -1, tag = -1;
        std::size_t length = 99;
        const int status = c.length ? tavik_asn1_decode_length(stream.get(), &length, &a)
                                    : tavik_asn1_decode_identifier(stream.get(), &a, &b, &tag);
        EXPECT_EQ(status, c.read.empty() ? 0 : 1) << c.bytes;
        const std::vector<long> read = c.length ? std::vector<long>{static_cast<long>(length), a}
                                                : std::vector<long>{a, b, tag};
        EXPECT_EQ(status == 1 ? read : std::vector<long>{}, c.read) << c.bytes;
        EXPECT_EQ(tavik_stream_remaining(stream.get()), status == 1 ? 0 : bytes.size() - 1)
            << c.bytes;
    }
}

// Values taken in turn from one stream, whole or as content after their own
// identifier and length (an implicit [0], an explicit [1]); a refusal leaves
// the stream where it was.
TEST(Asn1Stream, ValuesAreTakenInTurnAndARefusalLeavesTheStreamInPlace)
{
    const Bytes bytes = der("02 01 05  04 02 AA BB  80 03 '123'  A1 05 0C 03 'abc'  'a*' 01");
    const StreamPtr stream(tavik_stream_new_romem(bytes.data(), bytes.size(), 0, 0));
    ASSERT_TRUE(stream);
    enum Op { Whole, Head, Content };
    struct Step {
        Op op;
        int type;
        std::size_t length; // of the content
        bool ok;
        std::size_t remaining;
    };
    // clang-format off
    const Step steps[] = {
        {Whole, TAVIK_ASN1_NULL, 0, false, 22}, {Whole, TAVIK_ASN1_INTEGER, 0, true, 19},
        {Whole, TAVIK_ASN1_INTEGER, 0, false, 19}, {Whole, TAVIK_ASN1_OCTET_STRING, 0, true, 15},
        {Head, 0, 3, true, 13}, {Content, TAVIK_ASN1_OCTET_STRING, 99, false, 13},
        {Content, 3, 3, false, 13}, {Content, TAVIK_ASN1_OCTET_STRING, 3, true, 10},
        {Head, 0, 5, true, 8}, {Whole, TAVIK_ASN1_UTF8STRING, 0, true, 3},
        {Content, TAVIK_ASN1_PRINTABLESTRING, 2, false, 3}, {Content, TAVIK_ASN1_IA5STRING, 2, true, 1},
        {Content, TAVIK_ASN1_BOOLEAN, 1, false, 1}, {Content, TAVIK_ASN1_NULL, 0, true, 1},
    };
    // clang-format on
    for (const Step &s : steps) {
        const std::size_t before = tavik_stream_remaining(stream.get());
        tavik_asn1_value *value = nullptr;
        int ok = 0;
        if (s.op == Head) {
            int cls = 0, constructed = 0, tag = 0, indefinite = 0;
            std::size_t length = 0;
            ok = tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag) == 1 &&
                 tavik_asn1_decode_length(stream.get(), &length, &indefinite) == 1 &&
                 length == s.length;
        } else if (s.op == Whole) {
            ok = tavik_asn1_decode(stream.get(), s.type, &value, 0);
        } else {
            ok = tavik_asn1_decode_content(stream.get(), s.type, s.length, &value);
        }
        const Asn1ValuePtr owned(value);
        EXPECT_EQ(ok, s.ok ? 1 : 0) << s.remaining;
        EXPECT_EQ(tavik_stream_remaining(stream.get()), s.remaining);
        // The length counts what was read.
        EXPECT_EQ(tavik_asn1_value_getencodedlength(value), owned ? before - s.remaining : 0);
        if (owned && s.type == TAVIK_ASN1_OCTET_STRING && s.op == Content) {
            EXPECT_EQ(hex(tavik_asn1_octetstring_getblob(value)), hex(der("'123'")));
        }
    }

    tavik_asn1_value *value = nullptr;
    EXPECT_EQ(tavik_stream_new_romem(bytes.data(), bytes.size(), 1, 0), nullptr);
    EXPECT_EQ(tavik_stream_new_romem(bytes.data(), bytes.size(), 0, 1), nullptr);
    const StreamPtr again(tavik_stream_new_romem(bytes.data(), bytes.size(), 0, 0));
    EXPECT_EQ(tavik_asn1_decode(again.get(), TAVIK_ASN1_INTEGER, &value, 1), 0);
    EXPECT_EQ(tavik_stream_remaining(again.get()), bytes.size());
}

// ---- Private extensions ----

constexpr const char *kItemsOid = "1.3.6.1.4.1.18760.1.15";
constexpr const char *kDigestsOid = "1.3.6.1.4.1.18760.1.12.1";

// The extension read through the toolkit as "type encoding value" per item or
// "oid [null] [params] hash" per digest, one a line; nullopt when refused.
std::optional<std::string> readExt(const tavik_cert_ext *ext, const char *as)
{
    std::string out;
    if (as == kItemsOid) {
        const IdItemsPtr items(tavik_cert_ext_toidentificationitems(ext));
        if (!items)
            return std::nullopt;
        const int count = tavik_cert_identificationitems_getitemcount(items.get());
        for (int i = 0; i < count; ++i) {
            const IdItemPtr item(tavik_cert_identificationitems_getitem(items.get(), i));
            std::int64_t type = 0, encoding = 0;
            const bool hasType = tavik_cert_identificationitem_gettype(item.get(), &type) == 1;
            const bool hasEncoding =
                tavik_cert_identificationitem_getencode(item.get(), &encoding) == 1;
            out += (hasType ? std::to_string(type) : "-") + " ";
            out += (hasEncoding ? std::to_string(encoding) : "-") + " ";
            out += hex(tavik_cert_identificationitem_getvalue(item.get()));
            out += "\n";
        }
        EXPECT_EQ(tavik_cert_identificationitems_getitem(items.get(), count), nullptr);
        EXPECT_EQ(tavik_cert_identificationitems_getitem(items.get(), -1), nullptr);
        return out;
    }
    const DigestInfoListPtr list(tavik_cert_ext_todigestinfolist(ext));
    if (!list)
        return std::nullopt;
    const int count = tavik_cert_digestinfolist_getitemcount(list.get());
    for (int i = 0; i < count; ++i) {
        const DigestInfoPtr info(tavik_cert_digestinfolist_getitem(list.get(), i));
        const AlgPtr alg(tavik_cert_digestinfo_getalgorithm(info.get()));
        const TextPtr oid(tavik_cert_algorithmid_getoid(alg.get()));
        out += std::string(oid ? oid.get() : "?") +
               (tavik_cert_algorithmid_hasnullparam(alg.get()) == 1 ? " null" : "") +
               (tavik_cert_algorithmid_hasparams(alg.get()) == 1 ? " params " : " ") +
               hex(tavik_cert_digestinfo_gethashvalue(info.get())) + "\n";
    }
    EXPECT_EQ(tavik_cert_digestinfolist_getitem(list.get(), count), nullptr);
    return out;
}

// The value carried in a certificate made here, read as the extension of its OID.
std::optional<std::string> readMade(const char *oid, const Bytes &value)
{
    const CertPtr cert = certWith({}, {{oid, value}});
    const ExtPtr ext = findExt(cert.get(), oid);
    EXPECT_TRUE(ext) << hex(value);
    return readExt(ext.get(), oid);
}

// What the fixtures' private extensions read as is pinned by the detail
// model's tables; here the forms no fixture carries.
// Edge values read; every malformed level refused (one row per refusal).
TEST(PrivateExtensions, MadeExtensionsReadOrAreRefused)
{
    const auto seq = [](std::initializer_list<Bytes> parts) {
        Bytes all;
        for (const Bytes &part : parts)
            all = all + part;
        return tlv(0x30, all);
    };
    const auto integer = [](const char *content) { return tlv(0x02, der(content)); };
    const auto octets = [](const Bytes &content) { return tlv(0x04, content); };
    const Bytes item = seq({integer("01 F5"), integer("2A"), octets(der("'ab'"))});
    const Bytes sha1 = der("06 05 2B 0E 03 02 1A"), null = der("05 00");
    const Bytes sha256 = der("06 09 60 86 48 01 65 03 04 02 01"), hash = octets(der("01 02"));
    const Bytes digest = seq({seq({sha1, null}), hash});
    const Bytes i64 = integer("00 80 00 00 00 00 00 00 00"); // 2^63
    struct Case {
        const char *oid;
        Bytes value;
        std::optional<std::string> read;
    };
    const char *I = kItemsOid, *D = kDigestsOid;
    const std::nullopt_t no = std::nullopt;
    // clang-format off
    const Case cases[] = {
        {I, seq({}), ""},
        {I, seq({item, seq({integer("01"), integer("47"), octets({})})}), "501 42 6162\n1 71 \n"},
        {I, seq({seq({i64, integer("FF"), octets(der("01"))})}), "- -1 01\n"},
        {I, seq({seq({integer("80 00 00 00 00 00 00 00"), integer("7F FF FF FF FF FF FF FF"), octets({})})}),
         "-9223372036854775808 9223372036854775807 \n"},
        {I, seq({item}) + null, no},                                          // trailing after list
        {I, seq({item, null}), no},                                                 // trailing in list
        {I, seq({seq({integer("01"), integer("2A"), octets({}), null})}), no},      // trailing in item
        {I, seq({seq({integer("01"), integer("2A")})}), no},                        // missing value
        {I, seq({seq({integer("01"), octets({})})}), no},                           // missing encoding
        {I, seq({seq({octets({}), integer("01"), integer("2A")})}), no},            // fields swapped
        {I, seq({seq({integer("00 01"), integer("2A"), octets({})})}), no},         // padded integer
        {I, tlv(0x31, item), no},                                                   // SET
        {I, der("30 80") + item + der("00 00"), no},                           // indefinite
        {I, Bytes(item.begin(), item.end() - 1), no},                               // cut
        {I, {}, no},                                                                // empty
        {D, seq({}), ""},
        {D, seq({digest, seq({seq({sha256}), octets({})})}),
         "1.3.14.3.2.26 null params 0102\n2.16.840.1.101.3.4.2.1 \n"},
        {D, seq({seq({seq({sha256, seq({integer("01"), null})}), hash})}),
         "2.16.840.1.101.3.4.2.1 params 0102\n"},                                   // constructed
        {D, seq({digest}) + null, no},                                        // trailing after list
        {D, seq({seq({seq({sha1, null}), hash, null})}), no},                       // trailing in info
        {D, seq({seq({seq({sha1, null, null}), hash})}), no},                       // two parameters
        {D, seq({seq({seq({sha1, null})})}), no},                                   // missing digest
        {D, seq({seq({hash})}), no},                                                // missing algorithm
        {D, seq({seq({seq({sha1}), tlv(0x03, der("00 01"))})}), no},                // BIT STRING digest
        {D, seq({seq({sha1, hash})}), no},                                          // bare OID
        {D, seq({seq({seq({der("06 02 2B 80"), null}), hash})}), no},               // bad OID
        {D, seq({seq({seq({sha1, der("30 80") + integer("01") + der("00 00")}), hash})}), no},
        {D, seq({seq({seq({sha1, der("05")}), hash})}), no},                        // cut parameters
    };
    // clang-format on
    for (const Case &c : cases)
        EXPECT_EQ(readMade(c.oid, c.value), c.read) << hex(c.value);
}

} // namespace
