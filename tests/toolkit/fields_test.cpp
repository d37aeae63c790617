// Certificate fields, keys, signature values and digests, compared with what
// the openssl command reads from the same fixture files.
#include <gtest/gtest.h>
#include <openssl/rsa.h>

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
    std::string out;
    char pair[3];
    for (std::size_t i = 0; i < length; ++i) {
        std::snprintf(pair, sizeof pair, "%02X", data[i]);
        out += pair;
    }
    return out;
}
std::string hexOf(const Bytes &bytes)
{
    return hexOf(bytes.data(), bytes.size());
}
std::string hexOf(const BlobPtr &blob)
{
    return blob ? hexOf(blob->data, blob->length) : "-";
}
std::string hexOf(tavik_biginteger *n)
{
    const BigIntPtr owned(n);
    return hexOf(BlobPtr(tavik_biginteger_getdata(n)));
}

Bytes fromHex(const std::string &hex)
{
    Bytes out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

// Upper-case hex digits of openssl's "04:c1:a8:\n    ad" text, whole bytes.
std::string digitsOf(const std::string &text)
{
    std::string out;
    for (const char c : text)
        if (std::isxdigit(static_cast<unsigned char>(c)))
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out.size() % 2 ? "0" + out : out;
}

// The indented hex block after a label line of openssl's -text output, as a
// magnitude (leading zero bytes dropped).
std::string hexBlockAfter(const std::string &text, const std::string &label)
{
    std::istringstream in(text.substr(std::min(text.find("\n" + label), text.size())));
    std::string line, hex;
    std::getline(in, line); // blank up to the label
    std::getline(in, line); // the label
    while (std::getline(in, line) && line.find_first_not_of(" 0123456789abcdef:") == line.npos)
        hex += line;
    hex = digitsOf(hex);
    while (hex.size() > 2 && hex.compare(0, 2, "00") == 0)
        hex.erase(0, 2);
    return hex;
}

std::string derFile(const std::string &name)
{
    return fixturePath(name + ".der");
}
std::string pemFile(const std::string &name)
{
    return fixturePath(name + ".pem");
}

Bytes readFile(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// One line of `openssl asn1parse`, and the bytes it points at.
struct Node {
    std::size_t offset = 0, headerLength = 0, length = 0;
    int depth = 0;
    std::string type, value;
    Bytes content(const Bytes &der, std::size_t skip = 0) const
    {
        const std::size_t from = offset + headerLength + skip;
        return Bytes(der.begin() + static_cast<long>(from),
                     der.begin() + static_cast<long>(offset + headerLength + length));
    }
};

std::vector<Node> asn1parse(const std::string &arguments)
{
    std::vector<Node> nodes;
    std::istringstream in(openssl("asn1parse -inform DER " + arguments));
    std::string line;
    while (std::getline(in, line)) {
        Node n;
        char kind[8];
        int used = 0;
        if (std::sscanf(line.c_str(), " %zu:d=%d hl=%zu l=%zu %7s %n", &n.offset, &n.depth,
                        &n.headerLength, &n.length, kind, &used) < 5)
            continue;
        const std::string rest = line.substr(static_cast<std::size_t>(used));
        const auto colon = rest.find(':');
        n.type = rest.substr(0, rest.find_last_not_of(' ', colon - 1) + 1);
        n.value = colon == rest.npos ? "" : rest.substr(colon + 1);
        nodes.push_back(n);
    }
    return nodes;
}

// A v3 certificate OpenSSL makes and signs with a fresh P-256 key after edit
// has changed it.
CertPtr madeCert(const std::function<bool(X509 *)> &edit)
{
    const pkiui::test::KeyPtr key(EVP_EC_gen("P-256"));
    const pkiui::test::X509Ptr x(X509_new());
    if (!key || !x || X509_set_version(x.get(), 2) != 1 ||
        !X509_gmtime_adj(X509_getm_notBefore(x.get()), 0) ||
        !X509_gmtime_adj(X509_getm_notAfter(x.get()), 86400) ||
        X509_set_pubkey(x.get(), key.get()) != 1 || !edit(x.get()) ||
        X509_sign(x.get(), key.get(), EVP_sha256()) <= 0)
        return nullptr;
    return pkiui::test::handleOf(x.get());
}

std::string oidOf(tavik_cert_algorithmid *alg)
{
    const AlgPtr owned(alg);
    const TextPtr oid(tavik_cert_algorithmid_getoid(alg));
    return oid ? oid.get() : "-";
}

TEST(AlgorithmId, OidsAndParametersOfSignatureAndKey)
{
    // From the fixture script and RFC 3279/5480: NULL parameters for RSA,
    // none for ECDSA, DSA and SM2 signatures, the curve for EC keys.
    struct Row {
        const char *cert, *signOid, *signParams, *keyOid, *keyParams; // "*": a SEQUENCE
    };
    const Row rows[] = {
        {"rsa-leaf", "1.2.840.113549.1.1.11", "0500", "1.2.840.113549.1.1.1", "0500"},
        {"ec-leaf", "1.2.840.113549.1.1.11", "0500", "1.2.840.10045.2.1", "06082A8648CE3D030107"},
        {"sm2-self", "1.2.156.10197.1.501", "", "1.2.840.10045.2.1", "06082A811CCF5501822D"},
        {"dsa-self", "2.16.840.1.101.3.4.3.2", "", "1.2.840.10040.4.1", "*"},
        {"ecdsa-root", "1.2.840.10045.4.3.2", "", "1.2.840.10045.2.1", "06082A8648CE3D030107"},
        {"ec-explicit", "1.2.840.113549.1.1.11", "0500", "1.2.840.10045.2.1", "*"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.cert);
        const CertPtr cert = loadCert(row.cert);
        EXPECT_EQ(oidOf(tavik_cert_getsignalgorithm(cert.get())), row.signOid);
        EXPECT_EQ(oidOf(tavik_cert_getpubkeyalgorithm(cert.get())), row.keyOid);
        for (const bool key : {false, true}) {
            const AlgPtr alg(key ? tavik_cert_getpubkeyalgorithm(cert.get())
                                 : tavik_cert_getsignalgorithm(cert.get()));
            const std::string params = key ? row.keyParams : row.signParams;
            const BlobPtr blob(tavik_cert_algorithmid_getparamsencode(alg.get()));
            EXPECT_EQ(tavik_cert_algorithmid_hasparams(alg.get()), !params.empty());
            EXPECT_EQ(tavik_cert_algorithmid_hasnullparam(alg.get()), params == "0500");
            EXPECT_EQ(params == "*" ? hexOf(blob).substr(0, 2)
                      : blob        ? hexOf(blob)
                                    : "",
                      params == "*" ? "30" : params);
            // Only a DSA key's identifier has Dss-Parms.
            EXPECT_EQ(DssPtr(tavik_cert_algorithmid_getdssparams(alg.get())) != nullptr,
                      key && std::string(row.cert) == "dsa-self");
        }
    }

    const CertPtr dsa = loadCert("dsa-self");
    const AlgPtr alg(tavik_cert_getpubkeyalgorithm(dsa.get()));
    const DssPtr params(tavik_cert_algorithmid_getdssparams(alg.get()));
    const std::string text = openssl("x509 -noout -pubkey -in " + pemFile("dsa-self") +
                                     " | openssl pkey -pubin -noout -text");
    EXPECT_EQ(hexOf(tavik_cert_dssparams_getp(params.get())), hexBlockAfter(text, "P:"));
    EXPECT_EQ(hexOf(tavik_cert_dssparams_getq(params.get())), hexBlockAfter(text, "Q:"));
    EXPECT_EQ(hexOf(tavik_cert_dssparams_getg(params.get())), hexBlockAfter(text, "G:"));
    const BigIntPtr p(tavik_cert_dssparams_getp(params.get()));
    EXPECT_EQ(tavik_biginteger_getbitcount(p.get()), 2048);
}

TEST(Keys, RsaModulusAndExponent)
{
    for (const char *name : {"rsa-leaf", "rsa-root"}) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const PubKeyPtr key(tavik_cert_getpubkey(cert.get()));
        const RsaPtr rsa(tavik_cert_pubkey_torsapubkey(key.get()));
        EXPECT_EQ("Modulus=" + hexOf(tavik_crypto_rsakey_getmodulus(rsa.get())) + "\n",
                  openssl("x509 -noout -modulus -in " + pemFile(name)));
        const std::string text = openssl("x509 -noout -text -in " + pemFile(name));
        const auto open = text.find("(0x", text.find("Exponent: "));
        EXPECT_EQ(hexOf(tavik_crypto_rsakey_getpubexp(rsa.get())),
                  digitsOf(text.substr(open + 3, text.find(')', open) - open - 3)));
        EXPECT_FALSE(EccPtr(tavik_cert_pubkey_toeccpubkey(key.get())));
    }

    // An RSA-PSS key, then the same RSAPublicKey under id-RSAES-OAEP, which
    // OpenSSL does not write.
    const std::unique_ptr<EVP_PKEY_CTX, Free<EVP_PKEY_CTX_free>> ctx(
        EVP_PKEY_CTX_new_from_name(nullptr, "RSA-PSS", nullptr));
    EVP_PKEY *generated = nullptr;
    ASSERT_TRUE(ctx && EVP_PKEY_keygen_init(ctx.get()) == 1 &&
                EVP_PKEY_CTX_set_rsa_keygen_bits(ctx.get(), 1024) == 1 &&
                EVP_PKEY_generate(ctx.get(), &generated) == 1);
    const pkiui::test::KeyPtr pss(generated);
    const auto withKey = [&](bool oaep) {
        return madeCert([&](X509 *x) {
            if (X509_set_pubkey(x, pss.get()) != 1)
                return false;
            X509_PUBKEY *spki = X509_get_X509_PUBKEY(x);
            const unsigned char *bits = nullptr;
            int length = 0;
            if (!oaep)
                return true;
            X509_PUBKEY_get0_param(nullptr, &bits, &length, nullptr, spki);
            auto *copy = static_cast<unsigned char *>(OPENSSL_memdup(bits, length));
            if (copy && X509_PUBKEY_set0_param(spki, OBJ_nid2obj(NID_rsaesOaep), V_ASN1_UNDEF,
                                               nullptr, copy, length) == 1)
                return true;
            OPENSSL_free(copy);
            return false;
        });
    };
    const auto param = [&](const char *name) {
        BIGNUM *raw = nullptr;
        EVP_PKEY_get_bn_param(pss.get(), name, &raw);
        const std::unique_ptr<BIGNUM, Free<BN_free>> n(raw);
        Bytes bytes(static_cast<std::size_t>(BN_num_bytes(n.get())));
        BN_bn2bin(n.get(), bytes.data());
        return hexOf(bytes);
    };
    for (const bool oaep : {false, true}) {
        SCOPED_TRACE(oaep ? "oaep" : "pss");
        const CertPtr cert = withKey(oaep);
        EXPECT_EQ(oidOf(tavik_cert_getpubkeyalgorithm(cert.get())),
                  oaep ? "1.2.840.113549.1.1.7" : "1.2.840.113549.1.1.10");
        const PubKeyPtr key(tavik_cert_getpubkey(cert.get()));
        const RsaPtr rsa(tavik_cert_pubkey_torsapubkey(key.get()));
        EXPECT_EQ(hexOf(tavik_crypto_rsakey_getmodulus(rsa.get())), param("n"));
        EXPECT_EQ(hexOf(tavik_crypto_rsakey_getpubexp(rsa.get())), param("e"));
    }
}

TEST(Keys, EcPointsAndCurves)
{
    // name: null for a curve written out as explicit parameters.
    const std::pair<const char *, const char *> rows[] = {{"ec-leaf", "prime256v1"},
                                                          {"sm2-self", "SM2"},
                                                          {"ecdsa-root", "prime256v1"},
                                                          {"ec-explicit", nullptr}};
    for (const auto &[cert, name] : rows) {
        SCOPED_TRACE(cert);
        const CertPtr handle = loadCert(cert);
        const PubKeyPtr key(tavik_cert_getpubkey(handle.get()));
        const EccPtr ecc(tavik_cert_pubkey_toeccpubkey(key.get()));
        const PointPtr point(tavik_ecc_getpubkeypoint(ecc.get()));
        const DomainPtr domain(tavik_ecc_getdomainparametersfrompubkey(ecc.get()));
        ASSERT_TRUE(point && domain);
        EXPECT_FALSE(RsaPtr(tavik_cert_pubkey_torsapubkey(key.get())));

        const std::string text = openssl("x509 -noout -pubkey -in " + pemFile(cert) +
                                         " | openssl pkey -pubin -noout -text");
        EXPECT_NE(text.find(name ? std::string("ASN1 OID: ") + name : "Field Type: prime-field"),
                  std::string::npos);
        EXPECT_STREQ(TextPtr(tavik_ecc_domainparameters_getname(domain.get())).get(), name);
        const int bits = tavik_ecc_domainparameters_getbits(domain.get());
        EXPECT_NE(text.find("(" + std::to_string(bits) + " bit)"), std::string::npos);

        // The viewer's buffer: the format byte and both coordinates, exactly.
        const std::size_t size = 2 * ((static_cast<std::size_t>(bits) + 7) / 8) + 1;
        Bytes full(size), compressed(size);
        std::size_t length = size, compressedLength = size, tooShort = size - 1;
        ASSERT_EQ(tavik_ecc_encode_point(domain.get(), point.get(), 0, full.data(), &length), 1);
        EXPECT_EQ(hexOf(full), hexBlockAfter(text, "pub:"));
        EXPECT_EQ(length, size);
        ASSERT_EQ(tavik_ecc_encode_point(domain.get(), point.get(), 1, compressed.data(),
                                         &compressedLength),
                  1);
        compressed.resize(compressedLength);
        EXPECT_EQ(
            hexOf(compressed),
            (full.back() & 1 ? "03" : "02") +
                hexOf(Bytes(full.begin() + 1, full.begin() + 1 + static_cast<long>(size / 2))));
        EXPECT_NE(tavik_ecc_encode_point(domain.get(), point.get(), 0, full.data(), &tooShort), 1);
        EXPECT_EQ(tooShort, size - 1);
    }
}

TEST(Certificate, EncodingsSignatureAndThumbprints)
{
    using Digest = int (*)(const unsigned char *, size_t, unsigned char *, size_t *);
    const std::pair<const char *, Digest> digests[] = {{"md5", tavik_crypto_md5},
                                                       {"sha1", tavik_crypto_sha1},
                                                       {"sha256", tavik_crypto_sha256},
                                                       {"sha512", tavik_crypto_sha512},
                                                       {"sm3", tavik_crypto_sm3}};
    // Whether the signature is a SEQUENCE of r and s (DSA, ECDSA, SM2).
    const std::pair<const char *, bool> rows[] = {
        {"rsa-leaf", false},  {"ec-leaf", false}, {"sm2-self", true},    {"dsa-self", true},
        {"ecdsa-root", true}, {"v1-cert", false}, {"ec-explicit", false}};
    for (const auto &[name, integers] : rows) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const Bytes der = readFile(derFile(name));
        const BlobPtr encoding(tavik_cert_encode(cert.get()));
        ASSERT_TRUE(encoding);
        EXPECT_EQ(hexOf(encoding), hexOf(der));
        for (const auto &[option, digest] : digests) {
            unsigned char out[128];
            std::size_t length = sizeof out;
            ASSERT_EQ(digest(encoding->data, encoding->length, out, &length), 1);
            const std::string line =
                openssl(std::string("dgst -") + option + " -r " + derFile(name));
            EXPECT_EQ(hexOf(out, length), digitsOf(line.substr(0, line.find(' ')))) << option;
            std::size_t tooShort = length - 1;
            EXPECT_NE(digest(encoding->data, encoding->length, out, &tooShort), 1);
            EXPECT_EQ(tooShort, length - 1);
        }

        // subjectPublicKeyInfo is the seventh field of tbsCertificate, the sixth
        // without a version; the signature the last element, after its
        // unused-bit count.
        const std::vector<Node> nodes = asn1parse("-in " + derFile(name));
        std::vector<Node> fields;
        for (const Node &n : nodes)
            if (n.depth == 2)
                fields.push_back(n);
        const Node &spki = fields.at(fields.at(0).type == "cont [ 0 ]" ? 6 : 5);
        const PubKeyPtr key(tavik_cert_getpubkey(cert.get()));
        EXPECT_EQ(hexOf(BlobPtr(tavik_cert_pubkey_getencode(key.get()))),
                  hexOf(Bytes(der.begin() + static_cast<long>(spki.offset),
                              der.begin() + static_cast<long>(spki.offset + spki.headerLength +
                                                              spki.length))));
        const Node &bits = nodes.back();
        const BlobPtr signature(tavik_cert_getsignvalue(cert.get()));
        ASSERT_TRUE(signature);
        EXPECT_EQ(hexOf(signature), hexOf(bits.content(der, 1)));

        unsigned char *r = nullptr, *s = nullptr;
        int rLength = 0, sLength = 0;
        const int status = TavikPKICryptoDecodeECCSignature(
            signature->data, static_cast<int>(signature->length), &r, &rLength, &s, &sLength);
        const TextPtr ownR(reinterpret_cast<char *>(r)), ownS(reinterpret_cast<char *>(s));
        ASSERT_EQ(status == 1, integers);
        if (integers) {
            const auto inner =
                asn1parse("-in " + derFile(name) + " -strparse " + std::to_string(bits.offset));
            ASSERT_EQ(inner.size(), 3u);
            EXPECT_EQ(hexOf(r, static_cast<std::size_t>(rLength)), inner[1].value);
            EXPECT_EQ(hexOf(s, static_cast<std::size_t>(sLength)), inner[2].value);
        }
    }
}

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
        {"trailing inside", "300702010502017F00", kRefused, kRefused},
        {"negative", "3006020180020101", kRefused, kRefused},
        {"padded", "300702020005020101", kRefused, kRefused},
        {"empty integer", "30050200020101", kRefused, kRefused},
        {"one integer", "3003020105", kRefused, kRefused},
        {"three integers", "3009020105020106020107", kRefused, kRefused},
        {"octet string", "300604010502017F", kRefused, kRefused},
        {"indefinite", "308002010502017F0000", kRefused, kRefused},
        {"long form for short", "30810602010502017F", kRefused, kRefused},
        {"length past end", "300802010502017F", kRefused, kRefused},
        {"huge length", "3084FFFFFFFF020105", kRefused, kRefused},
        {"integer past end", "300602010502057F", kRefused, kRefused},
        {"garbage", "FF001337", kRefused, kRefused},
    };
    for (const auto &[label, hex, wantR, wantS] : rows) {
        SCOPED_TRACE(label);
        const Bytes der = fromHex(hex);
        unsigned char *r = nullptr, *s = nullptr;
        int rLength = -7, sLength = -7;
        const int status = TavikPKICryptoDecodeECCSignature(
            der.data(), static_cast<int>(der.size()), &r, &rLength, &s, &sLength);
        const TextPtr ownR(reinterpret_cast<char *>(r)), ownS(reinterpret_cast<char *>(s));
        ASSERT_EQ(status == 1, wantR != kRefused);
        if (!wantR) {
            EXPECT_TRUE(!r && !s && rLength == -7 && sLength == -7);
        } else if (*wantR) {
            EXPECT_EQ(hexOf(r, static_cast<std::size_t>(rLength)), wantR);
            EXPECT_EQ(hexOf(s, static_cast<std::size_t>(sLength)), wantS);
        } else {
            EXPECT_EQ(hexOf(r, static_cast<std::size_t>(rLength)), std::string(128, 'A'));
        }
    }
    const Bytes ok = fromHex("300602010502017F");
    unsigned char *r = nullptr, *s = nullptr;
    int n = 0;
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(nullptr, 8, &r, &n, &s, &n), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), -1, &r, &n, &s, &n), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), 8, nullptr, &n, &s, &n), 1);
    EXPECT_NE(TavikPKICryptoDecodeECCSignature(ok.data(), 8, &r, &n, &s, nullptr), 1);
}

TEST(Certificate, VersionSerialNamesAndUniqueIds)
{
    // RDN counts from the fixture script.
    const std::tuple<const char *, int, int> rows[] = {{"rsa-leaf", 3, 6},      {"sm2-self", 3, 3},
                                                       {"serial00-leaf", 3, 3}, {"v1-cert", 3, 3},
                                                       {"uid-cert", 3, 6},      {"dsa-self", 3, 3}};
    for (const auto &[name, issuerRdns, subjectRdns] : rows) {
        SCOPED_TRACE(name);
        const CertPtr cert = loadCert(name);
        const std::string text = openssl("x509 -noout -text -in " + pemFile(name));
        EXPECT_EQ(tavik_cert_getversion(cert.get()) + 1,
                  std::stoi(text.substr(text.find("Version: ") + 9)));
        EXPECT_EQ(tavik_cert_dn_getitemcount(DnPtr(tavik_cert_getissuer(cert.get())).get()),
                  issuerRdns);
        EXPECT_EQ(tavik_cert_dn_getitemcount(DnPtr(tavik_cert_getsubject(cert.get())).get()),
                  subjectRdns);

        // The serial's content octets: openssl's magnitude, after a 00 when
        // its top bit is set.
        tavik_asn1_value *raw = nullptr;
        ASSERT_EQ(tavik_cert_getserialnumber_ex(cert.get(), &raw), 1);
        const ValuePtr serial(raw);
        Bytes content(static_cast<std::size_t>(tavik_asn1_integer_getlength(serial.get())));
        ASSERT_EQ(tavik_asn1_integer_get(serial.get(), content.data(), content.size()), 1);
        const std::string line = openssl("x509 -noout -serial -in " + pemFile(name));
        const std::string magnitude = digitsOf(line.substr(line.find('=') + 1));
        EXPECT_EQ(hexOf(content), (magnitude[0] >= '8' ? "00" : "") + magnitude);

        // issuerUniqueID [1], subjectUniqueID [2]: the bytes after the unused-bit count.
        const Bytes der = readFile(derFile(name));
        std::string want[2] = {"absent", "absent"};
        for (const Node &n : asn1parse("-in " + derFile(name)))
            if (n.depth == 2 && (n.type == "cont [ 1 ]" || n.type == "cont [ 2 ]"))
                want[n.type[7] - '1'] = hexOf(n.content(der, 1));
        const BitSetPtr uids[2] = {BitSetPtr(tavik_cert_getissueruid(cert.get())),
                                   BitSetPtr(tavik_cert_getsubjectuid(cert.get()))};
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(uids[i] ? hexOf(BlobPtr(tavik_bitset_getdata(uids[i].get(), nullptr)))
                              : "absent",
                      want[i]);
        EXPECT_EQ(tavik_cert_hasissueruid(cert.get()), want[0] != "absent");
        EXPECT_EQ(tavik_cert_hassubjectuid(cert.get()), want[1] != "absent");
    }
    // What the fixture script put there, by hand.
    tavik_asn1_value *raw = nullptr;
    ASSERT_EQ(tavik_cert_getserialnumber_ex(loadCert("serial00-leaf").get(), &raw), 1);
    EXPECT_EQ(tavik_asn1_value_getencodedlength(ValuePtr(raw).get()), 11u); // 02 09 00 8F..46
    const CertPtr uid = loadCert("uid-cert");
    EXPECT_EQ(hexOf(BlobPtr(tavik_bitset_getdata(
                  BitSetPtr(tavik_cert_getsubjectuid(uid.get())).get(), nullptr))),
              "D4E5F6A7");
}

TEST(Certificate, NullArgumentsAreRefused)
{
    tavik_asn1_value *value = nullptr;
    EXPECT_NE(tavik_cert_getserialnumber_ex(nullptr, &value), 1);
    EXPECT_NE(tavik_cert_getserialnumber_ex(loadCert("rsa-leaf").get(), nullptr), 1);
    EXPECT_EQ(tavik_cert_getversion(nullptr), -1);
    EXPECT_EQ(oidOf(tavik_cert_getsignalgorithm(nullptr)), "-");
    EXPECT_EQ(oidOf(tavik_cert_getpubkeyalgorithm(nullptr)), "-");
    EXPECT_FALSE(DnPtr(tavik_cert_getissuer(nullptr)) || DnPtr(tavik_cert_getsubject(nullptr)));
    EXPECT_FALSE(PubKeyPtr(tavik_cert_getpubkey(nullptr)));
    EXPECT_FALSE(RsaPtr(tavik_cert_pubkey_torsapubkey(nullptr)) ||
                 EccPtr(tavik_cert_pubkey_toeccpubkey(nullptr)));
    EXPECT_FALSE(BlobPtr(tavik_cert_getsignvalue(nullptr)) || BlobPtr(tavik_cert_encode(nullptr)));
    EXPECT_FALSE(BitSetPtr(tavik_cert_getissueruid(nullptr)));
    unsigned char out[64];
    std::size_t length = sizeof out;
    EXPECT_NE(tavik_ecc_encode_point(nullptr, nullptr, 0, out, &length), 1);
    EXPECT_NE(tavik_crypto_sha256(nullptr, 1, out, &length), 1);
    EXPECT_NE(tavik_crypto_sha256(out, 1, nullptr, &length), 1);
    EXPECT_NE(tavik_crypto_sha256(out, 1, out, nullptr), 1);
    EXPECT_FALSE(value);
}

} // namespace
