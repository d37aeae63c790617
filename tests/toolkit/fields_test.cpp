// Certificate fields, keys, signature values and digests, compared with what
// the openssl command reads from the same fixture files.
#include <gtest/gtest.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fixtures.hpp"
#include "tavik_ptr.hpp"

namespace {

using pkiui::test::fixturePath;
using pkiui::test::loadCert;
using pkiui::test::openssl;
using tavik::BigIntPtr;
using tavik::BitSetPtr;
using tavik::BlobPtr;
using tavik::CertPtr;
using tavik::Free;
using tavik::TextPtr;
using Bytes = std::vector<unsigned char>;

using AlgPtr = std::unique_ptr<tavik_cert_algorithmid, Free<tavik_cert_algorithmid_free>>;
using DssPtr = std::unique_ptr<tavik_cert_dssparams, Free<tavik_cert_dssparams_free>>;
using PubKeyPtr = std::unique_ptr<tavik_cert_pubkey, Free<tavik_cert_pubkey_free>>;
using RsaPtr = std::unique_ptr<tavik_crypto_rsakey, Free<tavik_crypto_rsakey_free>>;
using EccPtr = std::unique_ptr<tavik_ecc_pubkey, Free<tavik_ecc_freepubkey>>;
using PointPtr = std::unique_ptr<tavik_ecc_point, Free<tavik_ecc_freepoint>>;
using DomainPtr = std::unique_ptr<tavik_ecc_domainparameters, Free<tavik_ecc_freedomainparameters>>;
using DnPtr = std::unique_ptr<tavik_cert_dn, Free<tavik_cert_dn_free>>;
using ValuePtr = std::unique_ptr<tavik_asn1_value, Free<tavik_asn1_value_free>>;

std::string hexOf(const unsigned char *data, std::size_t length)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < length; ++i) {
        out += digits[data[i] >> 4];
        out += digits[data[i] & 15];
    }
    return out;
}

std::string hexOf(const BlobPtr &blob)
{
    return blob ? hexOf(blob->data, blob->length) : "-";
}

std::string hexOf(const Bytes &bytes)
{
    return hexOf(bytes.data(), bytes.size());
}

std::string hexOf(const BigIntPtr &n)
{
    return n ? hexOf(BlobPtr(tavik_biginteger_getdata(n.get()))) : "-";
}

// Upper-case hex digits of text such as "04:c1:a8:\n    ad" (separators dropped).
std::string digitsOf(const std::string &text)
{
    std::string out;
    for (const char c : text)
        if (std::isxdigit(static_cast<unsigned char>(c)))
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

// Drops leading zero bytes (two digits at a time), keeping one for zero.
std::string magnitudeOf(std::string hex)
{
    while (hex.size() > 2 && hex.compare(0, 2, "00") == 0)
        hex.erase(0, 2);
    return hex;
}

Bytes readFile(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The hex block that follows a label line in openssl's -text output ("pub:",
// "P:"), up to the next line that is not indented hex.
std::string hexBlockAfter(const std::string &text, const std::string &label)
{
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line))
        if (line.find(label) != std::string::npos &&
            digitsOf(line.substr(line.find(label) + label.size())).empty())
            break;
    std::string hex;
    while (std::getline(in, line) &&
           line.find_first_not_of(" 0123456789abcdef:") == std::string::npos)
        hex += digitsOf(line);
    return hex;
}

// One line of `openssl asn1parse`.
struct Node {
    std::size_t offset = 0;
    int depth = 0;
    std::size_t headerLength = 0;
    std::size_t length = 0;
    std::string type;
    std::string value;
};

std::vector<Node> asn1parse(const std::string &arguments)
{
    std::vector<Node> nodes;
    std::istringstream in(openssl("asn1parse " + arguments));
    std::string line;
    while (std::getline(in, line)) {
        Node n;
        int used = 0;
        if (std::sscanf(line.c_str(), " %zu:d=%d hl=%zu l=%zu %*s %n", &n.offset, &n.depth,
                        &n.headerLength, &n.length, &used) < 4)
            continue;
        const std::string rest = line.substr(static_cast<std::size_t>(used));
        const auto colon = rest.find(':');
        n.type = rest.substr(
            0,
            rest.find_last_not_of(' ', colon == std::string::npos ? rest.size() : colon - 1) + 1);
        n.value = colon == std::string::npos ? "" : rest.substr(colon + 1);
        nodes.push_back(n);
    }
    return nodes;
}

std::string derFile(const std::string &name)
{
    return fixturePath(name + ".der");
}

// The content octets of the serial as the toolkit reads them; "-" on failure.
std::string serialOf(TAVIK_CERT_st *cert)
{
    tavik_asn1_value *raw = nullptr;
    if (tavik_cert_getserialnumber_ex(cert, &raw) != 1)
        return "-";
    const ValuePtr value(raw);
    const int length = tavik_asn1_integer_getlength(value.get());
    if (length <= 0)
        return "-";
    Bytes bytes(static_cast<std::size_t>(length));
    if (tavik_asn1_integer_get(value.get(), bytes.data(), bytes.size()) != 1)
        return "-";
    return hexOf(bytes);
}

// A v3 certificate OpenSSL makes and signs with a fresh P-256 key; edit may
// change any field (version, serial, public key) before signing.
CertPtr madeCert(const std::function<bool(X509 *)> &edit)
{
    const pkiui::test::KeyPtr key(EVP_EC_gen("P-256"));
    const pkiui::test::X509Ptr x(X509_new());
    X509_NAME *name = x ? X509_get_subject_name(x.get()) : nullptr;
    if (!key || !x || X509_set_version(x.get(), 2) != 1 ||
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char *>("Made"), -1, -1,
                                   0) != 1 ||
        X509_set_issuer_name(x.get(), name) != 1 ||
        !X509_gmtime_adj(X509_getm_notBefore(x.get()), 0) ||
        !X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400) ||
        X509_set_pubkey(x.get(), key.get()) != 1 || !edit(x.get()) ||
        X509_sign(x.get(), key.get(), EVP_sha256()) <= 0)
        return nullptr;
    return pkiui::test::handleOf(x.get());
}

CertPtr madeCert(long version, std::int64_t serial)
{
    return madeCert([&](X509 *x) {
        using Int = std::unique_ptr<ASN1_INTEGER, Free<ASN1_INTEGER_free>>;
        const Int number(ASN1_INTEGER_new());
        return number && X509_set_version(x, version) == 1 &&
               ASN1_INTEGER_set_int64(number.get(), serial) == 1 &&
               X509_set_serialNumber(x, number.get()) == 1;
    });
}

// Hex of an RSA key's parameter ("n", "e") as OpenSSL reads it.
std::string rsaParam(const EVP_PKEY *key, const char *param)
{
    BIGNUM *raw = nullptr;
    if (EVP_PKEY_get_bn_param(key, param, &raw) != 1)
        return "?";
    const std::unique_ptr<BIGNUM, Free<BN_free>> n(raw);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(n.get())));
    BN_bn2bin(n.get(), bytes.data());
    return hexOf(bytes);
}

TEST(AlgorithmId, OidsAndParametersOfSignatureAndKeyAsEncoded)
{
    // Written from the fixture script: SHA-256 signatures by RSA, DSA and SM2
    // keys; the key algorithms with their parameters as RFC 3279 and 5480 place
    // them (NULL for RSA, the curve OID for EC, absent for ECDSA/DSA signatures).
    struct Row {
        const char *cert;
        const char *signOid;
        const char *signParams; // hex DER, "" when absent
        const char *keyOid;
        const char *keyParams; // hex DER, "" when absent, "*" a Dss-Parms SEQUENCE
    };
    const Row rows[] = {
        {"rsa-leaf", "1.2.840.113549.1.1.11", "0500", "1.2.840.113549.1.1.1", "0500"},
        {"rsa-root", "1.2.840.113549.1.1.11", "0500", "1.2.840.113549.1.1.1", "0500"},
        {"ec-leaf", "1.2.840.113549.1.1.11", "0500", "1.2.840.10045.2.1", "06082A8648CE3D030107"},
        {"sm2-self", "1.2.156.10197.1.501", "", "1.2.840.10045.2.1", "06082A811CCF5501822D"},
        {"dsa-self", "2.16.840.1.101.3.4.3.2", "", "1.2.840.10040.4.1", "*"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.cert);
        const CertPtr cert = loadCert(row.cert);
        ASSERT_TRUE(cert);
        const AlgPtr sign(tavik_cert_getsignalgorithm(cert.get()));
        const AlgPtr key(tavik_cert_getpubkeyalgorithm(cert.get()));
        ASSERT_TRUE(sign && key);
        EXPECT_STREQ(TextPtr(tavik_cert_algorithmid_getoid(sign.get())).get(), row.signOid);
        EXPECT_STREQ(TextPtr(tavik_cert_algorithmid_getoid(key.get())).get(), row.keyOid);

        const std::string signParams = row.signParams;
        EXPECT_EQ(tavik_cert_algorithmid_hasparams(sign.get()), signParams.empty() ? 0 : 1);
        EXPECT_EQ(tavik_cert_algorithmid_hasnullparam(sign.get()), signParams == "0500" ? 1 : 0);
        const BlobPtr signBlob(tavik_cert_algorithmid_getparamsencode(sign.get()));
        EXPECT_EQ(signBlob ? hexOf(signBlob) : "", signParams);

        const std::string keyParams = row.keyParams;
        EXPECT_EQ(tavik_cert_algorithmid_hasparams(key.get()), 1);
        EXPECT_EQ(tavik_cert_algorithmid_hasnullparam(key.get()), keyParams == "0500" ? 1 : 0);
        const BlobPtr keyBlob(tavik_cert_algorithmid_getparamsencode(key.get()));
        if (keyParams == "*") {
            ASSERT_TRUE(keyBlob && keyBlob->length > 2);
            EXPECT_EQ(keyBlob->data[0], 0x30);
        } else {
            EXPECT_EQ(hexOf(keyBlob), keyParams);
        }
        // Only a DSA key's identifier has Dss-Parms.
        EXPECT_EQ(DssPtr(tavik_cert_algorithmid_getdssparams(key.get())) != nullptr,
                  keyParams == "*");
        EXPECT_FALSE(DssPtr(tavik_cert_algorithmid_getdssparams(sign.get())));
    }
}

TEST(AlgorithmId, DsaParametersMatchOpenssl)
{
    const CertPtr cert = loadCert("dsa-self");
    const AlgPtr key(tavik_cert_getpubkeyalgorithm(cert.get()));
    const DssPtr params(tavik_cert_algorithmid_getdssparams(key.get()));
    ASSERT_TRUE(params);
    const std::string text = openssl("x509 -noout -pubkey -in " + fixturePath("dsa-self.pem") +
                                     " | openssl pkey -pubin -noout -text");
    const BigIntPtr p(tavik_cert_dssparams_getp(params.get()));
    const BigIntPtr q(tavik_cert_dssparams_getq(params.get()));
    const BigIntPtr g(tavik_cert_dssparams_getg(params.get()));
    EXPECT_EQ(hexOf(p), magnitudeOf(hexBlockAfter(text, "P:")));
    EXPECT_EQ(hexOf(q), magnitudeOf(hexBlockAfter(text, "Q:")));
    EXPECT_EQ(hexOf(g), magnitudeOf(hexBlockAfter(text, "G:")));
    // The fixture script asks for a 2048-bit p and a 256-bit q.
    EXPECT_EQ(tavik_biginteger_getbitcount(p.get()), 2048);
    EXPECT_EQ(tavik_biginteger_getbitcount(q.get()), 256);
}

TEST(Keys, RsaModulusAndExponentMatchOpenssl)
{
    for (const char *name : {"rsa-leaf", "rsa-root"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const PubKeyPtr key(tavik_cert_getpubkey(cert.get()));
        const RsaPtr rsa(tavik_cert_pubkey_torsapubkey(key.get()));
        ASSERT_TRUE(rsa);
        const std::string pem = fixturePath(std::string(name) + ".pem");
        const std::string modulus = openssl("x509 -noout -modulus -in " + pem);
        EXPECT_EQ("Modulus=" + hexOf(BigIntPtr(tavik_crypto_rsakey_getmodulus(rsa.get()))) + "\n",
                  modulus);
        const std::string text = openssl("x509 -noout -text -in " + pem);
        const auto at = text.find("Exponent: ");
        ASSERT_NE(at, std::string::npos);
        const auto open = text.find("(0x", at);
        const std::string exponent = text.substr(open + 3, text.find(')', open) - open - 3);
        EXPECT_EQ(magnitudeOf(hexOf(BigIntPtr(tavik_crypto_rsakey_getpubexp(rsa.get())))),
                  magnitudeOf(digitsOf(exponent.size() % 2 ? "0" + exponent : exponent)));
        // Not an EC key.
        EXPECT_FALSE(EccPtr(tavik_cert_pubkey_toeccpubkey(key.get())));
    }
}

TEST(Keys, RsaKeysReadAlikeUnderThePssAndOaepIdentifiers)
{
    const std::unique_ptr<EVP_PKEY_CTX, Free<EVP_PKEY_CTX_free>> ctx(
        EVP_PKEY_CTX_new_from_name(nullptr, "RSA-PSS", nullptr));
    EVP_PKEY *generated = nullptr;
    ASSERT_TRUE(ctx && EVP_PKEY_keygen_init(ctx.get()) == 1 &&
                EVP_PKEY_CTX_set_rsa_keygen_bits(ctx.get(), 1024) == 1 &&
                EVP_PKEY_generate(ctx.get(), &generated) == 1);
    const pkiui::test::KeyPtr rsa(generated);
    // OpenSSL writes id-RSASSA-PSS for an RSA-PSS key.
    const CertPtr pss = madeCert([&](X509 *x) { return X509_set_pubkey(x, rsa.get()) == 1; });
    // OpenSSL has no id-RSAES-OAEP keys: the same RSAPublicKey under that OID.
    const CertPtr oaep = madeCert([&](X509 *x) {
        if (X509_set_pubkey(x, rsa.get()) != 1)
            return false;
        // The key set above, not the one the certificate had.
        X509_PUBKEY *spki = X509_get_X509_PUBKEY(x);
        const unsigned char *bits = nullptr;
        int length = 0;
        if (X509_PUBKEY_get0_param(nullptr, &bits, &length, nullptr, spki) != 1 || length <= 0)
            return false;
        auto *copy = static_cast<unsigned char *>(OPENSSL_memdup(bits, length));
        if (!copy)
            return false;
        if (X509_PUBKEY_set0_param(spki, OBJ_nid2obj(NID_rsaesOaep), V_ASN1_UNDEF, nullptr, copy,
                                   length) != 1) {
            OPENSSL_free(copy);
            return false;
        }
        return true;
    });
    struct Row {
        const char *label;
        const CertPtr &cert;
        const char *oid;
    };
    const Row rows[] = {{"pss", pss, "1.2.840.113549.1.1.10"},
                        {"oaep", oaep, "1.2.840.113549.1.1.7"}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.label);
        ASSERT_TRUE(row.cert);
        const AlgPtr alg(tavik_cert_getpubkeyalgorithm(row.cert.get()));
        EXPECT_STREQ(TextPtr(tavik_cert_algorithmid_getoid(alg.get())).get(), row.oid);
        const PubKeyPtr key(tavik_cert_getpubkey(row.cert.get()));
        const RsaPtr parts(tavik_cert_pubkey_torsapubkey(key.get()));
        ASSERT_TRUE(parts);
        EXPECT_EQ(hexOf(BigIntPtr(tavik_crypto_rsakey_getmodulus(parts.get()))),
                  rsaParam(rsa.get(), "n"));
        EXPECT_EQ(hexOf(BigIntPtr(tavik_crypto_rsakey_getpubexp(parts.get()))),
                  rsaParam(rsa.get(), "e"));
    }
}

TEST(Keys, EcPointsAndCurvesMatchOpenssl)
{
    struct Row {
        const char *cert;
        const char *name;
        int bits;
    };
    const Row rows[] = {{"ec-leaf", "prime256v1", 256}, {"sm2-self", "SM2", 256}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.cert);
        const CertPtr cert = loadCert(row.cert);
        const PubKeyPtr key(tavik_cert_getpubkey(cert.get()));
        const EccPtr ecc(tavik_cert_pubkey_toeccpubkey(key.get()));
        ASSERT_TRUE(ecc);
        EXPECT_FALSE(RsaPtr(tavik_cert_pubkey_torsapubkey(key.get())));
        const PointPtr point(tavik_ecc_getpubkeypoint(ecc.get()));
        const DomainPtr domain(tavik_ecc_getdomainparametersfrompubkey(ecc.get()));
        ASSERT_TRUE(point && domain);

        const std::string text =
            openssl("x509 -noout -pubkey -in " + fixturePath(std::string(row.cert) + ".pem") +
                    " | openssl pkey -pubin -noout -text");
        EXPECT_NE(text.find(std::string("ASN1 OID: ") + row.name + "\n"), std::string::npos);
        EXPECT_STREQ(TextPtr(tavik_ecc_domainparameters_getname(domain.get())).get(), row.name);
        const int bits = tavik_ecc_domainparameters_getbits(domain.get());
        EXPECT_EQ(bits, row.bits);

        // The viewer's buffer: a format byte and both coordinates.
        const std::size_t size = 2 * ((static_cast<std::size_t>(bits) + 7) / 8) + 1;
        Bytes out(size + 8, 0xEE);
        std::size_t length = size;
        ASSERT_EQ(tavik_ecc_encode_point(domain.get(), point.get(), 0, out.data(), &length), 1);
        EXPECT_EQ(length, size);
        out.resize(length);
        const std::string pub = hexBlockAfter(text, "pub:");
        EXPECT_EQ(hexOf(out), pub);

        // Compressed: the parity of Y in the format byte, then X.
        Bytes compressed(size, 0xEE);
        std::size_t compressedLength = size;
        ASSERT_EQ(tavik_ecc_encode_point(domain.get(), point.get(), 1, compressed.data(),
                                         &compressedLength),
                  1);
        ASSERT_EQ(compressedLength, (size + 1) / 2);
        EXPECT_EQ(compressed[0], 0x02 | (out.back() & 1));
        EXPECT_TRUE(std::equal(compressed.begin() + 1, compressed.begin() + compressedLength,
                               out.begin() + 1));

        // One byte short is refused and leaves the length alone.
        std::size_t tooShort = size - 1;
        EXPECT_NE(tavik_ecc_encode_point(domain.get(), point.get(), 0, out.data(), &tooShort), 1);
        EXPECT_EQ(tooShort, size - 1);
    }
}

TEST(Keys, SubjectPublicKeyInfoIsTheWholeEncoding)
{
    for (const char *name : {"rsa-leaf", "ec-leaf", "sm2-self", "dsa-self"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const PubKeyPtr key(tavik_cert_getpubkey(cert.get()));
        const BlobPtr encoding(tavik_cert_pubkey_getencode(key.get()));
        ASSERT_TRUE(encoding);
        const std::string expected =
            openssl("x509 -noout -pubkey -in " + fixturePath(std::string(name) + ".pem") +
                    " | openssl pkey -pubin -outform DER");
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(encoding->data), encoding->length),
                  expected);
    }
}

TEST(Signature, ValueAndItsIntegersMatchAsn1parse)
{
    // Whether r and s are expected: DSA and SM2 signatures, not RSA ones.
    const std::pair<const char *, bool> rows[] = {
        {"rsa-leaf", false}, {"ec-leaf", false}, {"sm2-self", true}, {"dsa-self", true}};
    for (const auto &[name, hasIntegers] : rows) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const BlobPtr value(tavik_cert_getsignvalue(cert.get()));
        ASSERT_TRUE(value);
        // The signature is the last top-level element: a BIT STRING whose
        // first content byte counts the unused bits.
        const std::vector<Node> nodes = asn1parse("-inform DER -in " + derFile(name));
        ASSERT_FALSE(nodes.empty());
        const Node &bits = nodes.back();
        ASSERT_EQ(bits.type, "BIT STRING");
        const Bytes der = readFile(derFile(name));
        const std::size_t start = bits.offset + bits.headerLength + 1;
        EXPECT_EQ(hexOf(value),
                  hexOf(Bytes(der.begin() + static_cast<long>(start),
                              der.begin() + static_cast<long>(start + bits.length - 1))));

        unsigned char *r = nullptr;
        unsigned char *s = nullptr;
        int rLength = -1;
        int sLength = -1;
        const int status = TavikPKICryptoDecodeECCSignature(
            value->data, static_cast<int>(value->length), &r, &rLength, &s, &sLength);
        const TextPtr ownR(reinterpret_cast<char *>(r));
        const TextPtr ownS(reinterpret_cast<char *>(s));
        if (!hasIntegers) {
            EXPECT_NE(status, 1);
            continue;
        }
        ASSERT_EQ(status, 1);
        const std::vector<Node> inner = asn1parse("-inform DER -in " + derFile(name) +
                                                  " -strparse " + std::to_string(bits.offset));
        ASSERT_EQ(inner.size(), 3u);
        EXPECT_EQ(inner[1].type, "INTEGER");
        EXPECT_EQ(hexOf(r, static_cast<std::size_t>(rLength)), inner[1].value);
        EXPECT_EQ(hexOf(s, static_cast<std::size_t>(sLength)), inner[2].value);
    }
}

TEST(Signature, EccSignatureDecodingRefusesAnythingButTwoNonNegativeIntegers)
{
    struct Row {
        const char *label;
        Bytes der;
        const char *r; // null when refused
        const char *s;
    };
    const Row rows[] = {
        {"small", {0x30, 0x06, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F}, "05", "7F"},
        {"sign byte dropped", {0x30, 0x07, 0x02, 0x02, 0x00, 0x80, 0x02, 0x01, 0x01}, "80", "01"},
        {"zero", {0x30, 0x06, 0x02, 0x01, 0x00, 0x02, 0x01, 0x00}, "00", "00"},
        {"trailing byte", {0x30, 0x06, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F, 0x00}, nullptr, nullptr},
        {"trailing inside",
         {0x30, 0x07, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F, 0x00},
         nullptr,
         nullptr},
        {"negative r", {0x30, 0x06, 0x02, 0x01, 0x80, 0x02, 0x01, 0x01}, nullptr, nullptr},
        {"padded r", {0x30, 0x07, 0x02, 0x02, 0x00, 0x05, 0x02, 0x01, 0x01}, nullptr, nullptr},
        {"empty r", {0x30, 0x05, 0x02, 0x00, 0x02, 0x01, 0x01}, nullptr, nullptr},
        {"one integer", {0x30, 0x03, 0x02, 0x01, 0x05}, nullptr, nullptr},
        {"three integers",
         {0x30, 0x09, 0x02, 0x01, 0x05, 0x02, 0x01, 0x06, 0x02, 0x01, 0x07},
         nullptr,
         nullptr},
        {"octet string", {0x30, 0x06, 0x04, 0x01, 0x05, 0x02, 0x01, 0x7F}, nullptr, nullptr},
        {"set", {0x31, 0x06, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F}, nullptr, nullptr},
        {"indefinite",
         {0x30, 0x80, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F, 0x00, 0x00},
         nullptr,
         nullptr},
        {"long form for short",
         {0x30, 0x81, 0x06, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F},
         nullptr,
         nullptr},
        {"length past end", {0x30, 0x08, 0x02, 0x01, 0x05, 0x02, 0x01, 0x7F}, nullptr, nullptr},
        {"huge length", {0x30, 0x84, 0xFF, 0xFF, 0xFF, 0xFF, 0x02, 0x01, 0x05}, nullptr, nullptr},
        {"integer past end", {0x30, 0x06, 0x02, 0x01, 0x05, 0x02, 0x05, 0x7F}, nullptr, nullptr},
        {"garbage", {0xFF, 0x00, 0x13, 0x37}, nullptr, nullptr},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.label);
        unsigned char *r = nullptr;
        unsigned char *s = nullptr;
        int rLength = -7;
        int sLength = -7;
        const int status = TavikPKICryptoDecodeECCSignature(
            row.der.data(), static_cast<int>(row.der.size()), &r, &rLength, &s, &sLength);
        const TextPtr ownR(reinterpret_cast<char *>(r));
        const TextPtr ownS(reinterpret_cast<char *>(s));
        if (!row.r) {
            EXPECT_NE(status, 1);
            EXPECT_FALSE(r || s);
            EXPECT_EQ(rLength, -7);
            continue;
        }
        ASSERT_EQ(status, 1);
        EXPECT_EQ(hexOf(r, static_cast<std::size_t>(rLength)), row.r);
        EXPECT_EQ(hexOf(s, static_cast<std::size_t>(sLength)), row.s);
    }

    // A 134-byte signature (long-form length) with r and s of 64 bytes each.
    Bytes big{0x30, 0x81, 0x86, 0x02, 0x41, 0x00};
    big.insert(big.end(), 64, 0xA5);
    big.insert(big.end(), {0x02, 0x41, 0x00});
    big.insert(big.end(), 64, 0xDA);
    unsigned char *r = nullptr;
    unsigned char *s = nullptr;
    int rLength = 0;
    int sLength = 0;
    ASSERT_EQ(TavikPKICryptoDecodeECCSignature(big.data(), static_cast<int>(big.size()), &r,
                                               &rLength, &s, &sLength),
              1);
    const TextPtr ownR(reinterpret_cast<char *>(r));
    const TextPtr ownS(reinterpret_cast<char *>(s));
    EXPECT_EQ(hexOf(r, static_cast<std::size_t>(rLength)), hexOf(Bytes(64, 0xA5)));
    EXPECT_EQ(hexOf(s, static_cast<std::size_t>(sLength)), hexOf(Bytes(64, 0xDA)));

    // Null and negative arguments.
    const Bytes ok = rows[0].der;
    const int n = static_cast<int>(ok.size());
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(nullptr, n, &r, &rLength, &s, &sLength), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), -1, &r, &rLength, &s, &sLength), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), 0, &r, &rLength, &s, &sLength), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), n, nullptr, &rLength, &s, &sLength), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), n, &r, nullptr, &s, &sLength), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), n, &r, &rLength, nullptr, &sLength), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), n, &r, &rLength, &s, nullptr), 1);
}

TEST(Certificate, EncodingAndThumbprintsMatchOpenssl)
{
    using Digest = int (*)(const unsigned char *, size_t, unsigned char *, size_t *);
    struct Row {
        const char *option;
        Digest digest;
        std::size_t size;
    };
    const Row digests[] = {{"md5", tavik_crypto_md5, 16},
                           {"sha1", tavik_crypto_sha1, 20},
                           {"sha256", tavik_crypto_sha256, 32},
                           {"sha512", tavik_crypto_sha512, 64},
                           {"sm3", tavik_crypto_sm3, 32}};
    for (const char *name : {"rsa-leaf", "ec-leaf", "sm2-self", "dsa-self"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const BlobPtr der(tavik_cert_encode(cert.get()));
        ASSERT_TRUE(der);
        EXPECT_EQ(hexOf(der), hexOf(readFile(derFile(name))));
        for (const Row &d : digests) {
            SCOPED_TRACE(d.option);
            unsigned char out[128];
            std::size_t length = sizeof out;
            ASSERT_EQ(d.digest(der->data, der->length, out, &length), 1);
            EXPECT_EQ(length, d.size);
            const std::string line =
                openssl(std::string("dgst -") + d.option + " -r " + derFile(name));
            EXPECT_EQ(hexOf(out, length), digitsOf(line.substr(0, line.find(' '))));

            // A buffer one byte short is refused and keeps its length.
            std::size_t shortLength = d.size - 1;
            EXPECT_NE(d.digest(der->data, der->length, out, &shortLength), 1);
            EXPECT_EQ(shortLength, d.size - 1);
            EXPECT_NE(d.digest(nullptr, 1, out, &length), 1);
            EXPECT_NE(d.digest(der->data, der->length, nullptr, &length), 1);
            EXPECT_NE(d.digest(der->data, der->length, out, nullptr), 1);
        }
    }
    // The empty input has a digest too (SHA-256 of nothing, FIPS 180-4).
    unsigned char out[32];
    std::size_t length = sizeof out;
    ASSERT_EQ(tavik_crypto_sha256(nullptr, 0, out, &length), 1);
    EXPECT_EQ(hexOf(out, length),
              "E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855");
}

TEST(Certificate, VersionNamesAndAbsentUniqueIds)
{
    // The fixture script's subjects and issuers, counted in RDNs.
    struct Row {
        const char *cert;
        int issuerRdns;
        int subjectRdns;
    };
    const Row rows[] = {{"rsa-leaf", 3, 6}, {"rsa-root", 3, 3}, {"sm2-self", 3, 3}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.cert);
        const CertPtr cert = loadCert(row.cert);
        const std::string text =
            openssl("x509 -noout -text -in " + fixturePath(std::string(row.cert) + ".pem"));
        const auto at = text.find("Version: ");
        ASSERT_NE(at, std::string::npos);
        EXPECT_EQ(tavik_cert_getversion(cert.get()) + 1, std::stoi(text.substr(at + 9)));
        EXPECT_EQ(tavik_cert_dn_getitemcount(DnPtr(tavik_cert_getissuer(cert.get())).get()),
                  row.issuerRdns);
        EXPECT_EQ(tavik_cert_dn_getitemcount(DnPtr(tavik_cert_getsubject(cert.get())).get()),
                  row.subjectRdns);
        EXPECT_EQ(tavik_cert_hasissueruid(cert.get()), 0);
        EXPECT_EQ(tavik_cert_hassubjectuid(cert.get()), 0);
        EXPECT_FALSE(BitSetPtr(tavik_cert_getissueruid(cert.get())));
        EXPECT_FALSE(BitSetPtr(tavik_cert_getsubjectuid(cert.get())));
    }
}

TEST(Certificate, SerialContentOctetsKeepTheSignByte)
{
    // openssl prints the magnitude; DER puts a 00 in front of a magnitude
    // whose top bit is set.
    for (const char *name : {"rsa-leaf", "rsa-root", "ec-leaf", "sm2-self", "dsa-self"}) {
        SCOPED_TRACE(name);
        const std::string line =
            openssl("x509 -noout -serial -in " + fixturePath(std::string(name) + ".pem"));
        std::string magnitude = digitsOf(line.substr(line.find('=') + 1));
        if (magnitude.size() % 2)
            magnitude.insert(0, "0");
        const bool topBit = std::string("89ABCDEF").find(magnitude[0]) != std::string::npos;
        EXPECT_EQ(serialOf(loadCert(name).get()), (topBit ? "00" : "") + magnitude);
    }

    // Made here: serials as DER writes them, and the v1 and v2 version codes.
    struct Row {
        long version;
        std::int64_t serial;
        const char *content;
    };
    const Row rows[] = {{0, 5, "05"},      {1, 0x8F3A, "008F3A"}, {2, 0, "00"},     {2, 0x7F, "7F"},
                        {2, 0x80, "0080"}, {0, -1, "FF"},         {2, -129, "FF7F"}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.content);
        const CertPtr cert = madeCert(row.version, row.serial);
        ASSERT_TRUE(cert);
        EXPECT_EQ(serialOf(cert.get()), row.content);
        EXPECT_EQ(tavik_cert_getversion(cert.get()), row.version);
    }
    tavik_asn1_value *value = nullptr;
    EXPECT_NE(tavik_cert_getserialnumber_ex(nullptr, &value), 1);
    EXPECT_NE(tavik_cert_getserialnumber_ex(loadCert("rsa-leaf").get(), nullptr), 1);
    EXPECT_FALSE(value);
}

TEST(Certificate, NullArgumentsAreRefused)
{
    EXPECT_EQ(tavik_cert_getversion(nullptr), -1);
    EXPECT_FALSE(AlgPtr(tavik_cert_getsignalgorithm(nullptr)));
    EXPECT_FALSE(AlgPtr(tavik_cert_getpubkeyalgorithm(nullptr)));
    EXPECT_FALSE(TextPtr(tavik_cert_algorithmid_getoid(nullptr)));
    EXPECT_EQ(tavik_cert_algorithmid_hasparams(nullptr), 0);
    EXPECT_EQ(tavik_cert_algorithmid_hasnullparam(nullptr), 0);
    EXPECT_FALSE(BlobPtr(tavik_cert_algorithmid_getparamsencode(nullptr)));
    EXPECT_FALSE(DssPtr(tavik_cert_algorithmid_getdssparams(nullptr)));
    EXPECT_FALSE(BigIntPtr(tavik_cert_dssparams_getp(nullptr)));
    EXPECT_FALSE(DnPtr(tavik_cert_getissuer(nullptr)));
    EXPECT_FALSE(DnPtr(tavik_cert_getsubject(nullptr)));
    EXPECT_FALSE(PubKeyPtr(tavik_cert_getpubkey(nullptr)));
    EXPECT_FALSE(BlobPtr(tavik_cert_pubkey_getencode(nullptr)));
    EXPECT_FALSE(RsaPtr(tavik_cert_pubkey_torsapubkey(nullptr)));
    EXPECT_FALSE(BigIntPtr(tavik_crypto_rsakey_getmodulus(nullptr)));
    EXPECT_FALSE(EccPtr(tavik_cert_pubkey_toeccpubkey(nullptr)));
    EXPECT_FALSE(PointPtr(tavik_ecc_getpubkeypoint(nullptr)));
    EXPECT_FALSE(DomainPtr(tavik_ecc_getdomainparametersfrompubkey(nullptr)));
    EXPECT_FALSE(TextPtr(tavik_ecc_domainparameters_getname(nullptr)));
    EXPECT_EQ(tavik_ecc_domainparameters_getbits(nullptr), 0);
    unsigned char out[8];
    std::size_t length = sizeof out;
    EXPECT_NE(tavik_ecc_encode_point(nullptr, nullptr, 0, out, &length), 1);
    EXPECT_FALSE(BlobPtr(tavik_cert_getsignvalue(nullptr)));
    EXPECT_FALSE(BlobPtr(tavik_cert_encode(nullptr)));
    EXPECT_EQ(tavik_cert_hasissueruid(nullptr), 0);
    EXPECT_FALSE(BitSetPtr(tavik_cert_getsubjectuid(nullptr)));
}

} // namespace
