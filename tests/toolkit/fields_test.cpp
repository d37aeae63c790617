// Certificate fields, keys, signature values and digests, compared with
// OpenSSL's own decoding of the same fixture files.
#include <gtest/gtest.h>
#include <openssl/rsa.h>

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
    const CertPtr made = madeCert([](X509 *) { return true; });
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

// The fuzzers stop at a null handle, so these guards are checked here.
// Every family refuses null arguments: a null handle, a failure status or -1.
TEST(NullArguments, AreRefusedByEveryFamily)
{
    const CertPtr cert = loadCert("rsa-leaf");
    const ExtsPtr exts(tavik_cert_getexts(cert.get()));
    tavik_asn1_value *value = nullptr;
    unsigned char out[64], *r = nullptr, *s = nullptr;
    std::size_t length = sizeof out;
    int n = 0;
    char *text = nullptr;
    const Bytes sig = fromHex("300602010502017F");
    EXPECT_NE(tavik_cert_getserialnumber_ex(nullptr, &value), 1);
    EXPECT_NE(tavik_cert_getserialnumber_ex(cert.get(), nullptr), 1);
    EXPECT_EQ(tavik_cert_getversion(nullptr), -1);
    EXPECT_EQ(oidOf(tavik_cert_getsignalgorithm(nullptr)), "(null)");
    EXPECT_EQ(oidOf(tavik_cert_getpubkeyalgorithm(nullptr)), "(null)");
    EXPECT_FALSE(DnPtr(tavik_cert_getissuer(nullptr)) || DnPtr(tavik_cert_getsubject(nullptr)));
    EXPECT_FALSE(PubKeyPtr(tavik_cert_getpubkey(nullptr)) ||
                 RsaKeyPtr(tavik_cert_pubkey_torsapubkey(nullptr)) ||
                 EccKeyPtr(tavik_cert_pubkey_toeccpubkey(nullptr)));
    EXPECT_FALSE(BlobPtr(tavik_cert_getsignvalue(nullptr)) || BlobPtr(tavik_cert_encode(nullptr)) ||
                 BitSetPtr(tavik_cert_getissueruid(nullptr)));
    EXPECT_NE(tavik_ecc_encode_point(nullptr, nullptr, 0, out, &length), 1);
    EXPECT_NE(tavik_crypto_sha256(nullptr, 1, out, &length), 1);
    EXPECT_NE(tavik_crypto_sha256(out, 1, nullptr, &length), 1);
    EXPECT_NE(tavik_crypto_sha256(out, 1, out, nullptr), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(nullptr, 8, &r, &n, &s, &n), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(sig.data(), -1, &r, &n, &s, &n), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(sig.data(), 8, nullptr, &n, &s, &n), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(sig.data(), 8, &r, &n, &s, nullptr), 1);
    EXPECT_EQ(tavik_cert_hasexts(nullptr), 0);
    EXPECT_FALSE(ExtsPtr(tavik_cert_getexts(nullptr)));
    EXPECT_EQ(tavik_cert_exts_getitemcount(nullptr), -1);
    EXPECT_FALSE(ExtPtr(tavik_cert_exts_getitem(nullptr, 0)) || tavik_cert_ext_getextid(nullptr) ||
                 tavik_cert_ext_iscrical(nullptr) || BlobPtr(tavik_cert_ext_getvalue(nullptr)));
    EXPECT_FALSE(ExtPtr(tavik_cert_exts_find(exts.get(), nullptr)) ||
                 ExtPtr(tavik_cert_exts_find(nullptr, "2.5.29.15")));
    EXPECT_EQ(tavik_cert_dn_getitemcount(nullptr), -1);
    EXPECT_EQ(tavik_cert_rdn_getitemcount(nullptr), -1);
    EXPECT_FALSE(tavik_cert_attrtypeandvalue_gettype(nullptr) ||
                 tavik_cert_attrtypeandvalue_getstring(nullptr) ||
                 tavik_cert_attrtypeandvalue_getvalencode(nullptr));
    EXPECT_EQ(tavik_cert_generalnames_getitemcount(nullptr), -1);
    EXPECT_EQ(tavik_cert_generalname_gettype(nullptr), -1);
    EXPECT_FALSE(tavik_cert_generalnames_getitem(nullptr, 0) ||
                 tavik_cert_generalname_getip(nullptr));
    EXPECT_EQ(tavik_cert_generalsubtrees_getitemcount(nullptr), -1);
    EXPECT_FALSE(tavik_cert_generalsubtree_getbase(nullptr) ||
                 tavik_cert_generalsubtree_getmin(nullptr));
    EXPECT_FALSE(tavik_ustring_newutf8(nullptr, 0) || tavik_ustring_towcs(nullptr));
    EXPECT_EQ(tavik_ustring_getlength(nullptr), 0u);
    EXPECT_NE(tavik_ustring_tombs(nullptr, "UTF-8", &text, &length), 1);
    EXPECT_FALSE(value || r || s || text);
}

} // namespace
