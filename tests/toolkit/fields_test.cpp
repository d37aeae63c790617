// Certificate fields, keys, signature values and digests, compared with
// OpenSSL's own decoding of the same fixture files, and the toolkit's times,
// big integers and bit sets.
#include <gtest/gtest.h>
#include <openssl/rsa.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "reference.hpp"

namespace {

using namespace pkiui::test;
using namespace tavik;

std::string hexOf(tavik_biginteger *owned)
{
    const BigIntPtr n(owned);
    return hex(tavik_biginteger_getdata(n.get()));
}

// A key parameter as OpenSSL's provider reads it, as a magnitude in hex.
std::string keyParam(const X509Ptr &x509, const char *param)
{
    BIGNUM *raw = nullptr;
    if (EVP_PKEY_get_bn_param(X509_get0_pubkey(x509.get()), param, &raw) != 1)
        return "?";
    const std::unique_ptr<BIGNUM, Free<BN_free>> bn(raw);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(bn.get())));
    BN_bn2bin(bn.get(), bytes.data());
    return hex(bytes);
}

std::string oidOf(tavik_cert_algorithmid *owned)
{
    const AlgPtr alg(owned);
    return textOf(tavik_cert_algorithmid_getoid(alg.get()));
}

// The identifiers' OIDs and parameters are pinned by the detail model's
// rows; the model shows a DSA key's Dss-Parms only as their DER and size.
TEST(AlgorithmId, DssParametersMatchOpenssl)
{
    const CertPtr dsa = loadCert("dsa-self");
    const AlgPtr alg(tavik_cert_getpubkeyalgorithm(dsa.get()));
    const DssParamsPtr params(tavik_cert_algorithmid_getdssparams(alg.get()));
    const X509Ptr reference = opensslCert("dsa-self");
    EXPECT_EQ(hexOf(tavik_cert_dssparams_getp(params.get())), keyParam(reference, "p"));
    EXPECT_EQ(hexOf(tavik_cert_dssparams_getq(params.get())), keyParam(reference, "q"));
    EXPECT_EQ(hexOf(tavik_cert_dssparams_getg(params.get())), keyParam(reference, "g"));
    const AlgPtr rsa(tavik_cert_getpubkeyalgorithm(loadCert("rsa-leaf").get()));
    EXPECT_FALSE(DssParamsPtr(tavik_cert_algorithmid_getdssparams(rsa.get())));
}

// Some old certificates name one algorithm inside the signed body and
// another outside it; the signature algorithm is the body's field.
TEST(AlgorithmId, SignatureAlgorithmIsTheSignedBodysField)
{
    const CertPtr made = certWith({});
    const BlobPtr der(tavik_cert_encode(made.get()));
    ASSERT_TRUE(der);
    Bytes bytes(der->data, der->data + der->length);
    const Bytes sha256 = fromHex("06082A8648CE3D040302"); // ecdsa-with-SHA256
    const auto body = std::search(bytes.begin(), bytes.end(), sha256.begin(), sha256.end());
    ASSERT_NE(body, bytes.end());
    body[sha256.size() - 1] = 0x03; // ecdsa-with-SHA384, in the body only
    TAVIK_CERT_st *raw = nullptr;
    ASSERT_EQ(TavikPKICertNewFromData(bytes.data(), bytes.size(), &raw), 1);
    const CertPtr cert(raw);
    EXPECT_EQ(oidOf(tavik_cert_getsignalgorithm(cert.get())), "1.2.840.10045.4.3.3");
}

// The RSA and DSA numbers, the curves, bits and points of the EC and SM2
// keys, versions, serials and unique identifiers are pinned by the detail
// model's tables, a buffer too short by the fuzzers' replay; here an SM2
// point's compressed form.
TEST(Keys, Sm2PointCompressed)
{
    const CertPtr handle = loadCert("sm2-self");
    const PubKeyPtr key(tavik_cert_getpubkey(handle.get()));
    const EccKeyPtr ecc(tavik_cert_pubkey_toeccpubkey(key.get()));
    const EccPointPtr point(tavik_ecc_getpubkeypoint(ecc.get()));
    const EccParamsPtr domain(tavik_ecc_getdomainparametersfrompubkey(ecc.get()));
    ASSERT_TRUE(point && domain);
    EXPECT_FALSE(RsaKeyPtr(tavik_cert_pubkey_torsapubkey(key.get())));

    const std::size_t size = 65; // 04 || X || Y, 32 bytes each
    Bytes full(size), compressed(size);
    std::size_t length = size, compressedLength = size;
    ASSERT_EQ(tavik_ecc_encode_point(domain.get(), point.get(), 0, full.data(), &length), 1);
    ASSERT_EQ(
        tavik_ecc_encode_point(domain.get(), point.get(), 1, compressed.data(), &compressedLength),
        1);
    compressed.resize(compressedLength);
    EXPECT_EQ(hex(compressed), (full.back() & 1 ? "03" : "02") +
                                   hex(Bytes(full.begin() + 1, full.begin() + 1 + size / 2)));
}

// The encodings, key, signature value and its (r, s), and MD5 to SHA-512 of
// the fixtures are pinned by the detail model's rows; SM3 and the short
// buffer are not.
TEST(Certificate, Sm3OfTheEncodingMatchesOpenssl)
{
    const CertPtr cert = loadCert("rsa-leaf");
    const BlobPtr encoding(tavik_cert_encode(cert.get()));
    ASSERT_TRUE(encoding);
    unsigned char out[64], want[EVP_MAX_MD_SIZE];
    std::size_t length = sizeof out;
    unsigned int wantLength = 0;
    ASSERT_EQ(tavik_crypto_sm3(encoding->data, encoding->length, out, &length), 1);
    ASSERT_EQ(EVP_Digest(encoding->data, encoding->length, want, &wantLength, EVP_sm3(), nullptr),
              1);
    EXPECT_EQ(hex(out, length), hex(want, wantLength));
    std::size_t tooShort = length - 1;
    EXPECT_NE(tavik_crypto_sm3(encoding->data, encoding->length, out, &tooShort), 1);
    EXPECT_EQ(tooShort, length - 1);
}

// One row per check of the reader: what decodes gives the magnitudes of r
// and s; everything else is refused with the outputs untouched.
TEST(Signature, OnlyTwoNonNegativeDerIntegersDecode)
{
    const char *const kRefused = nullptr;
    const std::tuple<const char *, std::string, const char *, const char *> rows[] = {
        {"small", "300602010502017F", "05", "7F"},
        {"sign byte dropped", "30070202008002017F", "80", "7F"},
        {"zero", "3006020100020100", "00", "00"},
        {"long-form length",
         "3081860241" + std::string(130, 'A').replace(0, 2, "00") + "0241" +
             std::string(130, 'D').replace(0, 2, "00"),
         "", ""},
        {"trailing byte", "300602010502017F00", kRefused, kRefused},
        {"three integers", "3009020105020106020107", kRefused, kRefused},
        {"negative", "3006020180020101", kRefused, kRefused},
        {"padded", "300702020005020101", kRefused, kRefused},
        {"empty integer", "30050200020101", kRefused, kRefused},
        {"one integer", "3003020105", kRefused, kRefused},
        {"octet string", "300604010502017F", kRefused, kRefused},
        {"set", "310602010502017F", kRefused, kRefused},
        {"indefinite", "308002010502017F0000", kRefused, kRefused},
        {"long form for short", "30810602010502017F", kRefused, kRefused},
        {"huge length", "3084FFFFFFFF020105", kRefused, kRefused},
        {"high tag number", "FF001337", kRefused, kRefused},
    };
    for (const auto &[label, text, wantR, wantS] : rows) {
        SCOPED_TRACE(label);
        const Bytes der = fromHex(text);
        unsigned char *r = nullptr, *s = nullptr;
        int rLength = -7, sLength = -7;
        const int status = TavikPKICryptoDecodeECCSignature(
            der.data(), static_cast<int>(der.size()), &r, &rLength, &s, &sLength);
        const TextPtr ownR(reinterpret_cast<char *>(r)), ownS(reinterpret_cast<char *>(s));
        ASSERT_EQ(status == 1, wantR != kRefused);
        if (!wantR) {
            EXPECT_TRUE(!r && !s && rLength == -7 && sLength == -7);
        } else if (*wantR) {
            EXPECT_EQ(hex(r, static_cast<std::size_t>(rLength)), wantR);
            EXPECT_EQ(hex(s, static_cast<std::size_t>(sLength)), wantS);
        } else {
            EXPECT_EQ(hex(r, static_cast<std::size_t>(rLength)), std::string(128, 'A'));
        }
    }
}

// ---- Times, big integers and bit sets ----

using Fields = std::array<int, 6>; // year, month, day, hour, minute, second

TimePtr makeTime(const Fields &f)
{
    return TimePtr(tavik_time_new(f[0], f[1], f[2], f[3], f[4], f[5]));
}

Fields fieldsOf(const tavik_time *t)
{
    return {tavik_time_getyear(t), tavik_time_getmonth(t),  tavik_time_getday(t),
            tavik_time_gethour(t), tavik_time_getminute(t), tavik_time_getsecond(t)};
}

TEST(Time, OnlyCalendarValuesAreMadeAndTheyCompareFieldByField)
{
    const std::pair<Fields, bool> cases[] = {
        {{2024, 2, 29, 23, 59, 59}, true}, {{2023, 2, 29, 12, 0, 0}, false},
        {{1900, 2, 29, 0, 0, 0}, false},   {{9999, 12, 31, 23, 59, 59}, true},
        {{10000, 1, 1, 0, 0, 0}, false},   {{2024, 4, 31, 0, 0, 0}, false},
        {{2024, 13, 1, 0, 0, 0}, false},   {{2024, 1, 1, 24, 0, 0}, false},
        {{2024, 1, 1, 0, 60, 0}, false},   {{2024, 1, 1, 0, 0, 60}, false},
    };
    for (const auto &[f, valid] : cases) {
        const TimePtr t = makeTime(f);
        ASSERT_EQ(t != nullptr, valid) << f[0] << "-" << f[1] << "-" << f[2] << " " << f[3];
        if (t) {
            EXPECT_EQ(fieldsOf(t.get()), f);
        }
    }

    const Fields base{2024, 6, 15, 12, 30, 30};
    const TimePtr a = makeTime(base);
    for (std::size_t field = 0; field < base.size(); ++field) {
        Fields later = base;
        ++later[field];
        for (std::size_t next = field + 1; next < later.size(); ++next)
            later[next] = next < 3 ? 1 : 0; // the lowest value a less significant field takes
        const TimePtr b = makeTime(later);
        EXPECT_EQ(tavik_time_cmp(a.get(), b.get()), -1) << field;
        EXPECT_EQ(tavik_time_cmp(b.get(), a.get()), 1) << field;
    }
    const TimePtr copy(tavik_time_dup(a.get()));
    EXPECT_TRUE(copy && copy.get() != a.get());
    EXPECT_EQ(tavik_time_cmp(a.get(), copy.get()), 0);
}

TEST(BigInteger, MagnitudeSignDecimalValueAndNegation)
{
    const Bytes twenty{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    const Bytes two63{0x80, 0, 0, 0, 0, 0, 0, 0};
    const struct {
        Bytes input;
        bool negative;
        Bytes magnitude;
        int sign;
        const char *decimal;
        std::optional<std::int64_t> value;
    } cases[] = {
        {{}, true, {0x00}, 0, "0", 0},
        {{0xFF}, false, {0xFF}, 1, "255", 255},
        {{0x00, 0x01, 0x00}, true, {0x01, 0x00}, -1, "256", -256},
        {twenty, false, twenty, 1, "5753854965885600108575829560559299546819203860", {}},
        {two63, true, two63, -1, "9223372036854775808", INT64_MIN},
        {two63, false, two63, 1, "9223372036854775808", {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.decimal);
        const tavik::BigIntPtr n(tavik_biginteger_new(c.input.data(), c.input.size(), c.negative));
        ASSERT_TRUE(n);
        EXPECT_EQ(hex(tavik_biginteger_getdata(n.get())), hex(c.magnitude));
        EXPECT_EQ(tavik_biginteger_getsign(n.get()), c.sign);
        char *text = nullptr;
        std::size_t length = 0;
        ASSERT_EQ(tavik_biginteger_unsigned_todec(n.get(), &text, &length), 1);
        const tavik::TextPtr owned(text);
        EXPECT_EQ(std::string(text, length), c.decimal);
        std::int64_t value = 42;
        EXPECT_EQ(tavik_biginteger_getvalue(n.get(), &value) == 1, c.value.has_value());
        EXPECT_EQ(value, c.value.value_or(42));
        const tavik::BigIntPtr negated(tavik_biginteger_neg(n.get()));
        EXPECT_EQ(tavik_biginteger_getsign(negated.get()), -c.sign);
        EXPECT_EQ(hex(tavik_biginteger_getdata(negated.get())), hex(c.magnitude));
    }
    EXPECT_EQ(tavik_biginteger_getbitcount(tavik::BigIntPtr(tavik_biginteger_newint(-256)).get()),
              9);
    std::int64_t value = 0;
    const tavik::BigIntPtr min(tavik_biginteger_newint(INT64_MIN));
    ASSERT_EQ(tavik_biginteger_getvalue(min.get(), &value), 1);
    EXPECT_EQ(value, INT64_MIN);
}

TEST(BitSet, BitZeroIsTheFirstBitAndPaddingIsNeverSet)
{
    // 1000 0110  1010 0000: bits 0, 5, 6, 8 and 10 are one (a mask of the
    // set bits, bit n of the mask for bit n of the set).
    const unsigned char bytes[] = {0x86, 0xA0};
    const std::pair<int, int> cases[] = {
        {5, 1 | 32 | 64 | 256 | 1024}, {6, 1 | 32 | 64 | 256}, // bit 10 is padding now
    };
    for (const auto &[unusedBits, mask] : cases) {
        const tavik::BitSetPtr bits(tavik_bitset_new(bytes, sizeof bytes, unusedBits));
        ASSERT_TRUE(bits);
        for (int i = -1; i <= 16; ++i)
            EXPECT_EQ(tavik_bitset_isset(bits.get(), i) != 0, i >= 0 && (mask >> i & 1))
                << "bit " << i << " with " << unusedBits << " unused";
        int unused = -1;
        EXPECT_EQ(hex(tavik_bitset_getdata(bits.get(), &unused)), "86A0");
        EXPECT_EQ(unused, unusedBits);
    }
    EXPECT_EQ(tavik_bitset_new(bytes, 1, 8), nullptr);
    EXPECT_EQ(tavik_bitset_new(bytes, 0, 3), nullptr);
}

} // namespace
