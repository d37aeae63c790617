/*
 * The certificate toolkit: certificates, names, paths, verification and key
 * devices, over OpenSSL 3 and PKCS#11.
 *
 * Conventions:
 *  - Functions named TavikPKI* return 1 on success, anything else is a failure;
 *    outputs are written only on success.
 *  - Getters named tavik_* return a new object (null on failure) which the
 *    caller releases with the family's free function.
 *  - Texts handed out (attributes, OIDs, hex) are NUL-terminated UTF-8 in the
 *    toolkit heap; tavik_free and TavikPKICryptoFreeMemory both release them.
 */
#ifndef TAVIK_PKI_H
#define TAVIK_PKI_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#if defined(TAVIKPKI_BUILDING)
#define TAVIKPKI_API __attribute__((visibility("default")))
#else
#define TAVIKPKI_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TAVIK_CERT_st TAVIK_CERT_st;
typedef struct TAVIK_PKI_DEVICE_HANDLE_st TAVIK_PKI_DEVICE_HANDLE_st;
typedef struct TAVIK_VERIFY_st TAVIK_VERIFY_st;
typedef struct tavik_time_st tavik_time;
typedef struct tavik_biginteger_st tavik_biginteger;
typedef struct tavik_bitset_st tavik_bitset;

/* A byte blob: the data pointer, then its length. */
typedef struct tavik_data_blob_st {
    unsigned char *data;
    size_t length;
} tavik_data_blob;

/* ---- Memory (one heap for every text and buffer the toolkit hands out) ---- */

TAVIKPKI_API void *TavikPKICryptoAllocMemory(size_t size);
TAVIKPKI_API void TavikPKICryptoFreeMemory(void *p);
TAVIKPKI_API void *tavik_malloc(size_t size, const char *file, int line);
/* Wipes the block before releasing it; null is ignored. */
TAVIKPKI_API void tavik_free(void *p);

TAVIKPKI_API tavik_data_blob *tavik_data_blob_new(const void *data, size_t length);
TAVIKPKI_API void tavik_data_blob_free(tavik_data_blob *blob);

/* Upper-case hex of the bytes, two digits a byte, in both modes (0 and 1).
 * *out is freed with tavik_free; *outlen excludes the NUL. */
TAVIKPKI_API int tavik_hexencode(int mode, const unsigned char *data, size_t length, char **out,
                                 size_t *outlen);

/* ---- Certificates ---- */

/* DER or PEM; with several PEM blocks the first certificate is taken. */
TAVIKPKI_API int TavikPKICertNewFromData(const unsigned char *data, size_t length,
                                         TAVIK_CERT_st **cert);
TAVIKPKI_API int TavikPKICertNewFromFile(const char *path, TAVIK_CERT_st **cert);
/* Every certificate of a DER file or of all PEM blocks; the array is released
 * with TavikPKICertFreeCertPath. Fails when there is no certificate at all. */
TAVIKPKI_API int TavikPKICertNewAllFromData(const unsigned char *data, size_t length,
                                            TAVIK_CERT_st ***certs, int *count);
TAVIKPKI_API int TavikPKICertNewAllFromFile(const char *path, TAVIK_CERT_st ***certs, int *count);

TAVIKPKI_API TAVIK_CERT_st *TavikPKICertDupCert(TAVIK_CERT_st *cert);
TAVIKPKI_API void TavikPKICertFreeCert(TAVIK_CERT_st *cert);

/* Attribute codes. */
enum {
    TAVIK_ATTR_ISSUER_NAME = 9,    /* text: issuer CN, else the issuer on one line */
    TAVIK_ATTR_SUBJECT_CN = 16,    /* text: subject common name */
    TAVIK_ATTR_FRIENDLY_NAME = 22, /* text: the certificate's alias */
    TAVIK_ATTR_NOT_AFTER = 31,     /* text: YYYYMMDDHHMMSSZ, UTC */
    TAVIK_ATTR_KEY_ALGORITHM = 4,  /* integer: TAVIK_KEYALG_* */
    TAVIK_ATTR_KEY_SIZE = 5,       /* integer: bits */
    TAVIK_ATTR_KEY_USAGE = 6,      /* integer: bit n = X.509 KeyUsage bit n */
    TAVIK_ATTR_IN_VALIDITY = 34,   /* integer: 1 when now lies within the validity period */
    TAVIK_ATTR_CURVE = 43          /* integer: TAVIK_CURVE_* */
};

enum {
    TAVIK_KEYALG_OTHER = -1,
    TAVIK_KEYALG_RSA = 1,
    TAVIK_KEYALG_DSA = 2,
    TAVIK_KEYALG_DH = 3,
    TAVIK_KEYALG_EC = 4, /* SM2 included */
    TAVIK_KEYALG_RSAES_OAEP = 17,
    TAVIK_KEYALG_RSASSA_PSS = 33
};

enum {
    TAVIK_CURVE_UNNAMED = 0,
    TAVIK_CURVE_P256 = 1,
    TAVIK_CURVE_P384 = 2,
    TAVIK_CURVE_P521 = 3,
    TAVIK_CURVE_P224 = 4,
    TAVIK_CURVE_SECP256K1 = 5,
    TAVIK_CURVE_P192 = 6,
    TAVIK_CURVE_SM2 = 7,
    TAVIK_CURVE_BRAINPOOL_P256R1 = 8,
    TAVIK_CURVE_BRAINPOOL_P384R1 = 9,
    TAVIK_CURVE_BRAINPOOL_P512R1 = 10
};

/* *text is freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API int TavikPKICertGetCertStringAttribute(TAVIK_CERT_st *cert, int code, char **text);
TAVIKPKI_API int TavikPKICertGetCertIntegerAttribute(TAVIK_CERT_st *cert, int code, int64_t *value);

TAVIKPKI_API tavik_time *tavik_cert_getvaliditystart(TAVIK_CERT_st *cert);
TAVIKPKI_API tavik_time *tavik_cert_getvalidityend(TAVIK_CERT_st *cert);

/* ---- The certificate store used to build paths ----
 * System trust anchors come from OpenSSL's default locations (SSL_CERT_FILE,
 * SSL_CERT_DIR); the host adds its own anchors and intermediates. */

TAVIKPKI_API int TavikPKICertStoreAddTrusted(TAVIK_CERT_st *cert);
TAVIKPKI_API int TavikPKICertStoreAddIntermediate(TAVIK_CERT_st *cert);
/* Every certificate of a DER or PEM file; fails when the file holds none. */
TAVIKPKI_API int TavikPKICertStoreAddTrustedFile(const char *path);
TAVIKPKI_API int TavikPKICertStoreAddIntermediateFile(const char *path);
/* Every readable certificate file (*.pem, *.crt, *.cer, *.der) of a directory. */
TAVIKPKI_API int TavikPKICertStoreAddTrustedDir(const char *dir);
TAVIKPKI_API int TavikPKICertStoreAddIntermediateDir(const char *dir);
/* Whether the system anchors take part (default 1). */
TAVIKPKI_API void TavikPKICertStoreUseSystemAnchors(int use);
/* Forgets every certificate the host added. */
TAVIKPKI_API void TavikPKICertStoreClear(void);

/* Root first, the certificate itself last. Fails when an issuer is missing. */
TAVIKPKI_API int TavikPKICertGetCertPath(TAVIK_CERT_st *cert, TAVIK_CERT_st ***path, int *count);
TAVIKPKI_API void TavikPKICertFreeCertPath(TAVIK_CERT_st **path, int count);

/* ---- Verification ---- */

enum {
    TAVIK_VERIFY_OPT_CHAIN = 1,    /* signatures, CA constraints, path length, issuer key usage */
    TAVIK_VERIFY_OPT_VALIDITY = 4, /* validity at the set time */
    TAVIK_VERIFY_OPT_DEFAULT = 5
};

enum {
    TAVIK_VERIFY_OK = 1,
    TAVIK_ERR_ARGUMENT = -1,
    TAVIK_ERR_MEMORY = -3,
    TAVIK_ERR_PIN_INCORRECT = -5,
    TAVIK_ERR_NOT_FOUND = -6,
    TAVIK_ERR_DEVICE = -7,
    TAVIK_ERR_ISSUER_MISSING = -12,
    TAVIK_ERR_SIGNATURE = -20,
    TAVIK_ERR_TIME = -21,       /* outside validity at the verification time */
    TAVIK_ERR_CONSTRAINT = -22, /* CA flag, path length or key usage of an issuer */
    TAVIK_ERR_VERIFY = -23,     /* any other reason */
    TAVIK_ERR_UNTRUSTED_ROOT = -28,
    TAVIK_PIN_BAD_FORM = 65536
};

TAVIKPKI_API TAVIK_VERIFY_st *TavikPKICertNewVerify(void);
TAVIKPKI_API int TavikPKICertVerifyAddRootCert(TAVIK_VERIFY_st *ctx, TAVIK_CERT_st *cert);
TAVIKPKI_API int TavikPKICertVerifyAddCACert(TAVIK_VERIFY_st *ctx, TAVIK_CERT_st *cert);
/* time: YYYYMMDDHHMMSSZ. Without it the verifier uses the toolkit's now. */
TAVIKPKI_API int TavikPKICertVerifySetVerifyTime(TAVIK_VERIFY_st *ctx, const char *time);
TAVIKPKI_API int TavikPKICertVerifySetOption(TAVIK_VERIFY_st *ctx, int option);
/* Returns TAVIK_VERIFY_OK or a TAVIK_ERR_* code. reason receives OpenSSL's
 * X509_V_* code (0 when verified), depth the chain depth it applies to; both
 * may be null. */
TAVIKPKI_API int TavikPKICertVerify(TAVIK_VERIFY_st *ctx, TAVIK_CERT_st *cert, int *reason,
                                    int *depth);
TAVIKPKI_API void TavikPKICertFreeVerify(TAVIK_VERIFY_st *ctx);

/* The reasons above that callers tell apart: OpenSSL's X509_V_* values. */
enum {
    TAVIK_REASON_OK = 0,
    TAVIK_REASON_ISSUER_NOT_FOUND = 2,
    TAVIK_REASON_SIGNATURE_UNDECRYPTABLE = 4,
    TAVIK_REASON_ISSUER_KEY_UNDECODABLE = 6,
    TAVIK_REASON_SIGNATURE_FAILURE = 7,
    TAVIK_REASON_NOT_YET_VALID = 9,
    TAVIK_REASON_EXPIRED = 10,
    TAVIK_REASON_BAD_NOT_BEFORE = 13,
    TAVIK_REASON_BAD_NOT_AFTER = 14,
    TAVIK_REASON_SELF_SIGNED_LEAF = 18,
    TAVIK_REASON_SELF_SIGNED_IN_CHAIN = 19,
    TAVIK_REASON_ISSUER_NOT_FOUND_LOCALLY = 20,
    TAVIK_REASON_LEAF_SIGNATURE_UNVERIFIABLE = 21,
    TAVIK_REASON_NO_ISSUER_KEY = 24,
    TAVIK_REASON_PATH_LENGTH = 25,
    TAVIK_REASON_UNTRUSTED = 27,
    TAVIK_REASON_NO_CERT_SIGN = 32,
    TAVIK_REASON_NOT_CA = 79
};

/* cert's own validity at the toolkit's now, bounds included, as the verifier
 * judges it: TAVIK_VERIFY_OK, or TAVIK_ERR_TIME with reason
 * TAVIK_REASON_NOT_YET_VALID, _EXPIRED, _BAD_NOT_BEFORE or _BAD_NOT_AFTER
 * (reason may be null). */
TAVIKPKI_API int TavikPKICertCheckValidity(TAVIK_CERT_st *cert, int *reason);

/* ---- Times (UTC calendar values) ---- */

TAVIKPKI_API tavik_time *tavik_time_new(int year, int month, int day, int hour, int minute,
                                        int second);
TAVIKPKI_API tavik_time *tavik_time_dup(const tavik_time *t);
TAVIKPKI_API void tavik_time_free(tavik_time *t);
TAVIKPKI_API int tavik_time_getyear(const tavik_time *t);
TAVIKPKI_API int tavik_time_getmonth(const tavik_time *t);
TAVIKPKI_API int tavik_time_getday(const tavik_time *t);
TAVIKPKI_API int tavik_time_gethour(const tavik_time *t);
TAVIKPKI_API int tavik_time_getminute(const tavik_time *t);
TAVIKPKI_API int tavik_time_getsecond(const tavik_time *t);
/* -1, 0 or 1; -2 when an argument is null. */
TAVIKPKI_API int tavik_time_cmp(const tavik_time *a, const tavik_time *b);
/* The same moment in the process time zone. */
TAVIKPKI_API tavik_time *tavik_time_utc2local(const tavik_time *t);

/* ---- Big integers (signed) ---- */

TAVIKPKI_API tavik_biginteger *tavik_biginteger_new(const unsigned char *magnitude, size_t length,
                                                    int negative);
TAVIKPKI_API tavik_biginteger *tavik_biginteger_newint(int64_t value);
TAVIKPKI_API void tavik_biginteger_free(tavik_biginteger *n);
TAVIKPKI_API int tavik_biginteger_getbitcount(const tavik_biginteger *n);
/* Magnitude, big-endian, no sign byte; zero is the single byte 00. */
TAVIKPKI_API tavik_data_blob *tavik_biginteger_getdata(const tavik_biginteger *n);
/* -1, 0 or 1. */
TAVIKPKI_API int tavik_biginteger_getsign(const tavik_biginteger *n);
/* 1 when the value fits in 64 bits. */
TAVIKPKI_API int tavik_biginteger_getvalue(const tavik_biginteger *n, int64_t *value);
TAVIKPKI_API tavik_biginteger *tavik_biginteger_neg(const tavik_biginteger *n);
/* Decimal text of the magnitude; *text is freed with tavik_free. */
TAVIKPKI_API int tavik_biginteger_unsigned_todec(const tavik_biginteger *n, char **text,
                                                 size_t *length);

/* ---- Bit sets (BIT STRING values; bit 0 is the first bit of the first byte) ---- */

TAVIKPKI_API tavik_bitset *tavik_bitset_new(const unsigned char *data, size_t length,
                                            int unusedbits);
TAVIKPKI_API void tavik_bitset_free(tavik_bitset *set);
TAVIKPKI_API int tavik_bitset_isset(const tavik_bitset *set, int index);
/* The bytes as stored; unusedbits (may be null) receives the pad count. */
TAVIKPKI_API tavik_data_blob *tavik_bitset_getdata(const tavik_bitset *set, int *unusedbits);

/* ---- ASN.1 values and streams ----
 * Type codes: 1 BOOLEAN, 2 INTEGER, 4 OCTET STRING, 5 NULL, 6 OBJECT IDENTIFIER,
 * 9 UTF8String, 11 PrintableString, 14 IA5String, 16 VisibleString,
 * 19 BMPString. Only definite-length DER is read; a value must be complete
 * and its content well formed for its type. */

enum {
    TAVIK_ASN1_BOOLEAN = 1,
    TAVIK_ASN1_INTEGER = 2,
    TAVIK_ASN1_OCTET_STRING = 4,
    TAVIK_ASN1_NULL = 5,
    TAVIK_ASN1_OID = 6,
    TAVIK_ASN1_UTF8STRING = 9,
    TAVIK_ASN1_PRINTABLESTRING = 11,
    TAVIK_ASN1_IA5STRING = 14,
    TAVIK_ASN1_VISIBLESTRING = 16,
    TAVIK_ASN1_BMPSTRING = 19
};

enum {
    TAVIK_ASN1_CLASS_UNIVERSAL = 0,
    TAVIK_ASN1_CLASS_APPLICATION = 64,
    TAVIK_ASN1_CLASS_CONTEXT = 128,
    TAVIK_ASN1_CLASS_PRIVATE = 192
};

typedef struct tavik_asn1_value_st tavik_asn1_value;
typedef struct tavik_stream_st tavik_stream;

/* Decodes one value of the type from the start of data (bytes after it are
 * left alone: compare tavik_asn1_value_getencodedlength with length). */
TAVIKPKI_API int tavik_asn1_mem_decode(const unsigned char *data, size_t length, int type,
                                       tavik_asn1_value **value);
TAVIKPKI_API void tavik_asn1_value_free(tavik_asn1_value *value);
TAVIKPKI_API int tavik_asn1_value_gettype(const tavik_asn1_value *value);
/* Identifier, length and content octets of the value as it was read. */
TAVIKPKI_API size_t tavik_asn1_value_getencodedlength(const tavik_asn1_value *value);

/* flag and reserved must be 0. The bytes are not copied: they must outlive
 * the stream. */
TAVIKPKI_API tavik_stream *tavik_stream_new_romem(const unsigned char *data, size_t length,
                                                  int flag, int reserved);
TAVIKPKI_API void tavik_stream_free(tavik_stream *stream);
/* Bytes not yet read. */
TAVIKPKI_API size_t tavik_stream_remaining(const tavik_stream *stream);

/* One whole value of the type from the stream, which moves past it. On
 * failure the stream stays where it was. flags must be 0. */
TAVIKPKI_API int tavik_asn1_decode(tavik_stream *stream, int type, tavik_asn1_value **value,
                                   int flags);
/* The parts of one TLV, each moving the stream on. The identifier gives the
 * class (TAVIK_ASN1_CLASS_*), whether the form is constructed and the tag
 * number; the length is definite (indefinite is reported through
 * *indefinite with status 1 so a caller can refuse it); the content is the
 * next length bytes read as the type's content (as under implicit tagging). */
TAVIKPKI_API int tavik_asn1_decode_identifier(tavik_stream *stream, int *cls, int *constructed,
                                              int *tag);
TAVIKPKI_API int tavik_asn1_decode_length(tavik_stream *stream, size_t *length, int *indefinite);
TAVIKPKI_API int tavik_asn1_decode_content(tavik_stream *stream, int type, size_t length,
                                           tavik_asn1_value **value);

/* Readers. octetstring_getblob gives the content octets of an OCTET STRING
 * or of any string type. integer_get copies the content octets (two's
 * complement, as encoded) into out, which holds at least getlength bytes. */
TAVIKPKI_API tavik_data_blob *tavik_asn1_octetstring_getblob(const tavik_asn1_value *value);
TAVIKPKI_API int tavik_asn1_integer_getlength(const tavik_asn1_value *value);
TAVIKPKI_API int tavik_asn1_integer_get(const tavik_asn1_value *value, unsigned char *out,
                                        size_t outlength);
/* 1 true, 0 false, -1 not a BOOLEAN. */
TAVIKPKI_API int tavik_asn1_boolean_istrue(const tavik_asn1_value *value);
/* Dotted text, freed with tavik_free. */
TAVIKPKI_API char *tavik_asn1_oid_getstring(const tavik_asn1_value *value);

/* ---- Unicode strings ---- */

typedef struct tavik_ustring_st tavik_ustring;

/* Null when the bytes are not valid UTF-8. */
TAVIKPKI_API tavik_ustring *tavik_ustring_newutf8(const char *bytes, size_t length);
TAVIKPKI_API void tavik_ustring_free(tavik_ustring *string);
/* Number of code points. */
TAVIKPKI_API size_t tavik_ustring_getlength(const tavik_ustring *string);
/* Only "UTF-8" is known. *out (NUL-terminated) is freed with tavik_free. */
TAVIKPKI_API int tavik_ustring_tombs(const tavik_ustring *string, const char *encoding, char **out,
                                     size_t *outlength);
/* NUL-terminated wide text, freed with tavik_free. */
TAVIKPKI_API wchar_t *tavik_ustring_towcs(const tavik_ustring *string);

/* ---- Certificate fields ---- */

typedef struct tavik_cert_algorithmid_st tavik_cert_algorithmid;
typedef struct tavik_cert_dssparams_st tavik_cert_dssparams;
typedef struct tavik_cert_pubkey_st tavik_cert_pubkey;
typedef struct tavik_crypto_rsakey_st tavik_crypto_rsakey;
typedef struct tavik_ecc_pubkey_st tavik_ecc_pubkey;
typedef struct tavik_ecc_point_st tavik_ecc_point;
typedef struct tavik_ecc_domainparameters_st tavik_ecc_domainparameters;

/* 0 for v1, 1 for v2, 2 for v3 (as encoded); -1 on failure. */
TAVIKPKI_API int tavik_cert_getversion(TAVIK_CERT_st *cert);
/* The serial as an INTEGER value. */
TAVIKPKI_API int tavik_cert_getserialnumber_ex(TAVIK_CERT_st *cert, tavik_asn1_value **serial);
TAVIKPKI_API tavik_cert_algorithmid *tavik_cert_getsignalgorithm(TAVIK_CERT_st *cert);
TAVIKPKI_API tavik_cert_algorithmid *tavik_cert_getpubkeyalgorithm(TAVIK_CERT_st *cert);
TAVIKPKI_API void tavik_cert_algorithmid_free(tavik_cert_algorithmid *alg);
/* Dotted text, freed with tavik_free or TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_algorithmid_getoid(const tavik_cert_algorithmid *alg);
TAVIKPKI_API int tavik_cert_algorithmid_hasparams(const tavik_cert_algorithmid *alg);
TAVIKPKI_API int tavik_cert_algorithmid_hasnullparam(const tavik_cert_algorithmid *alg);
/* DER of the parameters. */
TAVIKPKI_API tavik_data_blob *
tavik_cert_algorithmid_getparamsencode(const tavik_cert_algorithmid *alg);
/* Dss-Parms (p, q, g) of a DSA key's algorithm identifier. */
TAVIKPKI_API tavik_cert_dssparams *
tavik_cert_algorithmid_getdssparams(const tavik_cert_algorithmid *alg);
TAVIKPKI_API void tavik_cert_dssparams_free(tavik_cert_dssparams *params);
TAVIKPKI_API tavik_biginteger *tavik_cert_dssparams_getp(const tavik_cert_dssparams *params);
TAVIKPKI_API tavik_biginteger *tavik_cert_dssparams_getq(const tavik_cert_dssparams *params);
TAVIKPKI_API tavik_biginteger *tavik_cert_dssparams_getg(const tavik_cert_dssparams *params);

/* The names as encoded (see Names). */
typedef struct tavik_cert_dn_st tavik_cert_dn;
TAVIKPKI_API tavik_cert_dn *tavik_cert_getissuer(TAVIK_CERT_st *cert);
TAVIKPKI_API tavik_cert_dn *tavik_cert_getsubject(TAVIK_CERT_st *cert);

TAVIKPKI_API tavik_cert_pubkey *tavik_cert_getpubkey(TAVIK_CERT_st *cert);
TAVIKPKI_API void tavik_cert_pubkey_free(tavik_cert_pubkey *key);
/* DER of the whole SubjectPublicKeyInfo. */
TAVIKPKI_API tavik_data_blob *tavik_cert_pubkey_getencode(const tavik_cert_pubkey *key);
TAVIKPKI_API tavik_crypto_rsakey *tavik_cert_pubkey_torsapubkey(const tavik_cert_pubkey *key);
TAVIKPKI_API void tavik_crypto_rsakey_free(tavik_crypto_rsakey *key);
TAVIKPKI_API tavik_biginteger *tavik_crypto_rsakey_getmodulus(const tavik_crypto_rsakey *key);
TAVIKPKI_API tavik_biginteger *tavik_crypto_rsakey_getpubexp(const tavik_crypto_rsakey *key);
/* EC keys, SM2 included. */
TAVIKPKI_API tavik_ecc_pubkey *tavik_cert_pubkey_toeccpubkey(const tavik_cert_pubkey *key);
TAVIKPKI_API void tavik_ecc_freepubkey(tavik_ecc_pubkey *key);
TAVIKPKI_API tavik_ecc_point *tavik_ecc_getpubkeypoint(const tavik_ecc_pubkey *key);
TAVIKPKI_API void tavik_ecc_freepoint(tavik_ecc_point *point);
TAVIKPKI_API tavik_ecc_domainparameters *
tavik_ecc_getdomainparametersfrompubkey(const tavik_ecc_pubkey *key);
TAVIKPKI_API void tavik_ecc_freedomainparameters(tavik_ecc_domainparameters *params);
/* OpenSSL's short name (prime256v1, secp384r1, SM2); null for an unnamed
 * curve. Freed with tavik_free. */
TAVIKPKI_API char *tavik_ecc_domainparameters_getname(const tavik_ecc_domainparameters *params);
/* Field size in bits; 0 when unknown. */
TAVIKPKI_API int tavik_ecc_domainparameters_getbits(const tavik_ecc_domainparameters *params);
/* Writes the point (04 || X || Y uncompressed, or 02/03 || X compressed) into
 * out; *outlength holds the buffer size and receives the bytes written. */
TAVIKPKI_API int tavik_ecc_encode_point(const tavik_ecc_domainparameters *params,
                                        const tavik_ecc_point *point, int compressed,
                                        unsigned char *out, size_t *outlength);

/* The bytes of the signature BIT STRING. */
TAVIKPKI_API tavik_data_blob *tavik_cert_getsignvalue(TAVIK_CERT_st *cert);
/* r and s of a DER SEQUENCE { r INTEGER, s INTEGER } (DSA, ECDSA, SM2), as
 * magnitudes in tavik_malloc memory (zero is the single byte 00). */
TAVIKPKI_API int TavikPKICryptoDecodeECCSignature(const unsigned char *signature, int length,
                                                  unsigned char **r, int *rlength,
                                                  unsigned char **s, int *slength);

TAVIKPKI_API int tavik_cert_hasissueruid(TAVIK_CERT_st *cert);
TAVIKPKI_API int tavik_cert_hassubjectuid(TAVIK_CERT_st *cert);
TAVIKPKI_API tavik_bitset *tavik_cert_getissueruid(TAVIK_CERT_st *cert);
TAVIKPKI_API tavik_bitset *tavik_cert_getsubjectuid(TAVIK_CERT_st *cert);

/* The whole certificate, DER. */
TAVIKPKI_API tavik_data_blob *tavik_cert_encode(TAVIK_CERT_st *cert);

/* Digests into out; *outlength holds the buffer size and receives the
 * digest size. */
TAVIKPKI_API int tavik_crypto_md5(const unsigned char *data, size_t length, unsigned char *out,
                                  size_t *outlength);
TAVIKPKI_API int tavik_crypto_sha1(const unsigned char *data, size_t length, unsigned char *out,
                                   size_t *outlength);
TAVIKPKI_API int tavik_crypto_sha256(const unsigned char *data, size_t length, unsigned char *out,
                                     size_t *outlength);
TAVIKPKI_API int tavik_crypto_sha512(const unsigned char *data, size_t length, unsigned char *out,
                                     size_t *outlength);
TAVIKPKI_API int tavik_crypto_sm3(const unsigned char *data, size_t length, unsigned char *out,
                                  size_t *outlength);

/* ---- Names ---- */

typedef struct tavik_cert_rdn_st tavik_cert_rdn;
typedef struct tavik_cert_attrtypeandvalue_st tavik_cert_attrtypeandvalue;
typedef struct tavik_cert_generalnames_st tavik_cert_generalnames;
typedef struct tavik_cert_generalname_st tavik_cert_generalname;
typedef struct tavik_cert_othername_st tavik_cert_othername;
typedef struct tavik_cert_ediparyname_st tavik_cert_ediparyname;
typedef struct tavik_cert_generalsubtrees_st tavik_cert_generalsubtrees;
typedef struct tavik_cert_generalsubtree_st tavik_cert_generalsubtree;

TAVIKPKI_API void tavik_cert_dn_free(tavik_cert_dn *dn);
/* RDNs in stored order; -1 on failure. */
TAVIKPKI_API int tavik_cert_dn_getitemcount(const tavik_cert_dn *dn);
TAVIKPKI_API tavik_cert_rdn *tavik_cert_dn_getitem(const tavik_cert_dn *dn, int index);
TAVIKPKI_API void tavik_cert_rdn_free(tavik_cert_rdn *rdn);
TAVIKPKI_API int tavik_cert_rdn_getitemcount(const tavik_cert_rdn *rdn);
TAVIKPKI_API tavik_cert_attrtypeandvalue *tavik_cert_rdn_getitem(const tavik_cert_rdn *rdn,
                                                                 int index);
TAVIKPKI_API void tavik_cert_attrtypeandvalue_free(tavik_cert_attrtypeandvalue *atv);
/* Dotted text, freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_attrtypeandvalue_gettype(const tavik_cert_attrtypeandvalue *atv);
/* The value as text when it is a string type (UTF8, Printable, IA5, BMP,
 * Teletex, Universal, Visible, Numeric); null otherwise. */
TAVIKPKI_API tavik_ustring *
tavik_cert_attrtypeandvalue_getstring(const tavik_cert_attrtypeandvalue *atv);
/* DER of the value. */
TAVIKPKI_API tavik_data_blob *
tavik_cert_attrtypeandvalue_getvalencode(const tavik_cert_attrtypeandvalue *atv);

/* GeneralName choices. */
enum {
    TAVIK_GN_OTHERNAME = 0,
    TAVIK_GN_RFC822 = 1,
    TAVIK_GN_DNS = 2,
    TAVIK_GN_X400 = 3,
    TAVIK_GN_DIRNAME = 4,
    TAVIK_GN_EDIPARTY = 5,
    TAVIK_GN_URI = 6,
    TAVIK_GN_IP = 7,
    TAVIK_GN_REGID = 8
};

TAVIKPKI_API void tavik_cert_generalnames_free(tavik_cert_generalnames *names);
TAVIKPKI_API int tavik_cert_generalnames_getitemcount(const tavik_cert_generalnames *names);
TAVIKPKI_API tavik_cert_generalname *
tavik_cert_generalnames_getitem(const tavik_cert_generalnames *names, int index);
TAVIKPKI_API void tavik_cert_generalname_free(tavik_cert_generalname *name);
/* TAVIK_GN_*; -1 on failure. */
TAVIKPKI_API int tavik_cert_generalname_gettype(const tavik_cert_generalname *name);
TAVIKPKI_API tavik_ustring *
tavik_cert_generalname_getrfc822name(const tavik_cert_generalname *name);
TAVIKPKI_API tavik_ustring *tavik_cert_generalname_getdnsname(const tavik_cert_generalname *name);
TAVIKPKI_API tavik_ustring *tavik_cert_generalname_geturi(const tavik_cert_generalname *name);
TAVIKPKI_API tavik_cert_dn *tavik_cert_generalname_getdirname(const tavik_cert_generalname *name);
/* Text form: IPv4 dotted, IPv6 compressed; in a name-constraint subtree
 * "address/mask". Freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_generalname_getip(const tavik_cert_generalname *name);
/* Dotted text, freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_generalname_getregid(const tavik_cert_generalname *name);
TAVIKPKI_API tavik_cert_othername *
tavik_cert_generalname_getothername(const tavik_cert_generalname *name);
TAVIKPKI_API void tavik_cert_othername_free(tavik_cert_othername *other);
/* Dotted text, freed with tavik_free. */
TAVIKPKI_API char *tavik_cert_othername_gettype(const tavik_cert_othername *other);
/* DER of the inner value (inside the [0] EXPLICIT). */
TAVIKPKI_API tavik_data_blob *tavik_cert_othername_getvalue(const tavik_cert_othername *other);
TAVIKPKI_API tavik_cert_ediparyname *
tavik_cert_generalname_getediname(const tavik_cert_generalname *name);
TAVIKPKI_API void tavik_cert_ediparyname_free(tavik_cert_ediparyname *edi);
/* Null when absent. */
TAVIKPKI_API tavik_ustring *
tavik_cert_ediparyname_getnameassigner(const tavik_cert_ediparyname *edi);
TAVIKPKI_API tavik_ustring *tavik_cert_ediparyname_getpartyname(const tavik_cert_ediparyname *edi);
/* DER of the whole GeneralName. */
TAVIKPKI_API tavik_data_blob *tavik_cert_generalname_getencode(const tavik_cert_generalname *name);

TAVIKPKI_API void tavik_cert_generalsubtrees_free(tavik_cert_generalsubtrees *subtrees);
TAVIKPKI_API int
tavik_cert_generalsubtrees_getitemcount(const tavik_cert_generalsubtrees *subtrees);
TAVIKPKI_API tavik_cert_generalsubtree *
tavik_cert_generalsubtrees_getitem(const tavik_cert_generalsubtrees *subtrees, int index);
TAVIKPKI_API void tavik_cert_generalsubtree_free(tavik_cert_generalsubtree *subtree);
TAVIKPKI_API tavik_cert_generalname *
tavik_cert_generalsubtree_getbase(const tavik_cert_generalsubtree *subtree);
/* Null when absent from the encoding. */
TAVIKPKI_API tavik_biginteger *
tavik_cert_generalsubtree_getmin(const tavik_cert_generalsubtree *subtree);
TAVIKPKI_API tavik_biginteger *
tavik_cert_generalsubtree_getmax(const tavik_cert_generalsubtree *subtree);

/* ---- Extensions ---- */

typedef struct tavik_cert_exts_st tavik_cert_exts;
typedef struct tavik_cert_ext_st tavik_cert_ext;

TAVIKPKI_API int tavik_cert_hasexts(TAVIK_CERT_st *cert);
TAVIKPKI_API tavik_cert_exts *tavik_cert_getexts(TAVIK_CERT_st *cert);
TAVIKPKI_API void tavik_cert_exts_free(tavik_cert_exts *exts);
TAVIKPKI_API int tavik_cert_exts_getitemcount(const tavik_cert_exts *exts);
TAVIKPKI_API tavik_cert_ext *tavik_cert_exts_getitem(const tavik_cert_exts *exts, int index);
/* The first extension with the dotted OID, or null. */
TAVIKPKI_API tavik_cert_ext *tavik_cert_exts_find(const tavik_cert_exts *exts, const char *oid);
TAVIKPKI_API void tavik_cert_ext_free(tavik_cert_ext *ext);
/* Dotted text, freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_ext_getextid(const tavik_cert_ext *ext);
TAVIKPKI_API int tavik_cert_ext_iscrical(const tavik_cert_ext *ext);
/* The contents of extnValue. */
TAVIKPKI_API tavik_data_blob *tavik_cert_ext_getvalue(const tavik_cert_ext *ext);

/* Typed converters: each decodes the whole extension value (trailing bytes
 * refused) into a new object, or returns null. */
typedef struct tavik_cert_akid_st tavik_cert_akid;
typedef struct tavik_cert_basicconstraints_st tavik_cert_basicconstraints;
typedef struct tavik_cert_extkeyusage_st tavik_cert_extkeyusage;
typedef struct tavik_cert_certpolicies_st tavik_cert_certpolicies;
typedef struct tavik_cert_policyinfo_st tavik_cert_policyinfo;
typedef struct tavik_cert_polqualifierinfo_st tavik_cert_polqualifierinfo;
typedef struct tavik_cert_usernotice_st tavik_cert_usernotice;
typedef struct tavik_cert_policymaps_st tavik_cert_policymaps;
typedef struct tavik_cert_policymap_st tavik_cert_policymap;
typedef struct tavik_cert_policyconstraints_st tavik_cert_policyconstraints;
typedef struct tavik_cert_nameconstraints_st tavik_cert_nameconstraints;
typedef struct tavik_cert_crldps_st tavik_cert_crldps;
typedef struct tavik_cert_distpoint_st tavik_cert_distpoint;
typedef struct tavik_cert_dpname_st tavik_cert_dpname;
typedef struct tavik_cert_idp_st tavik_cert_idp;
typedef struct tavik_cert_accessdescs_st tavik_cert_accessdescs;
typedef struct tavik_cert_accessdesc_st tavik_cert_accessdesc;
typedef struct tavik_cert_privkeyusageperiod_st tavik_cert_privkeyusageperiod;
typedef struct tavik_cert_identificationitems_st tavik_cert_identificationitems;
typedef struct tavik_cert_identificationitem_st tavik_cert_identificationitem;
typedef struct tavik_cert_digestinfolist_st tavik_cert_digestinfolist;
typedef struct tavik_cert_digestinfo_st tavik_cert_digestinfo;

/* AuthorityKeyIdentifier; each part null when absent. */
TAVIKPKI_API tavik_cert_akid *tavik_cert_ext_toakid(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_akid_free(tavik_cert_akid *akid);
TAVIKPKI_API tavik_data_blob *tavik_cert_akid_getkeyid(const tavik_cert_akid *akid);
TAVIKPKI_API tavik_cert_generalnames *
tavik_cert_akid_getissuerissuername(const tavik_cert_akid *akid);
TAVIKPKI_API tavik_biginteger *tavik_cert_akid_getissuercertsn(const tavik_cert_akid *akid);

TAVIKPKI_API tavik_cert_basicconstraints *
tavik_cert_ext_tobasicconstraints(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_basicconstraints_free(tavik_cert_basicconstraints *bc);
/* 1 when cA is TRUE, else 0. */
TAVIKPKI_API int tavik_cert_basicconstraints_isca(const tavik_cert_basicconstraints *bc);
/* Null when absent. */
TAVIKPKI_API tavik_biginteger *
tavik_cert_basicconstraints_getpathlen(const tavik_cert_basicconstraints *bc);

/* A BIT STRING value (key usage, Netscape certificate type, reasons). */
TAVIKPKI_API tavik_bitset *tavik_cert_ext_tobitstring(const tavik_cert_ext *ext);

TAVIKPKI_API tavik_cert_extkeyusage *tavik_cert_ext_toextkeyusage(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_extkeyusage_free(tavik_cert_extkeyusage *eku);
TAVIKPKI_API int tavik_cert_extkeyusage_getitemcount(const tavik_cert_extkeyusage *eku);
/* Dotted text, freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_extkeyusage_getitem(const tavik_cert_extkeyusage *eku, int index);

TAVIKPKI_API tavik_cert_certpolicies *tavik_cert_ext_tocertpolicies(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_certpolicies_free(tavik_cert_certpolicies *policies);
TAVIKPKI_API int tavik_cert_certpolicies_getitemcount(const tavik_cert_certpolicies *policies);
TAVIKPKI_API tavik_cert_policyinfo *
tavik_cert_certpolicies_getitem(const tavik_cert_certpolicies *policies, int index);
TAVIKPKI_API void tavik_cert_policyinfo_free(tavik_cert_policyinfo *info);
/* Dotted texts below are freed with tavik_free. */
TAVIKPKI_API char *tavik_cert_policyinfo_getid(const tavik_cert_policyinfo *info);
TAVIKPKI_API int tavik_cert_policyinfo_hasqualifier(const tavik_cert_policyinfo *info);
TAVIKPKI_API int tavik_cert_policyinfo_getqualifiercount(const tavik_cert_policyinfo *info);
TAVIKPKI_API tavik_cert_polqualifierinfo *
tavik_cert_policyinfo_getqualifier(const tavik_cert_policyinfo *info, int index);
TAVIKPKI_API void tavik_cert_polqualifierinfo_free(tavik_cert_polqualifierinfo *qualifier);
TAVIKPKI_API char *tavik_cert_polqualifierinfo_getid(const tavik_cert_polqualifierinfo *qualifier);
/* Null unless the qualifier is a CPS URI. */
TAVIKPKI_API tavik_ustring *
tavik_cert_polqualifierinfo_getcpsuri(const tavik_cert_polqualifierinfo *qualifier);
/* Null unless the qualifier is a user notice. */
TAVIKPKI_API tavik_cert_usernotice *
tavik_cert_polqualifierinfo_getusernotice(const tavik_cert_polqualifierinfo *qualifier);
/* DER of the qualifier value. */
TAVIKPKI_API tavik_data_blob *
tavik_cert_polqualifierinfo_getqualifierencode(const tavik_cert_polqualifierinfo *qualifier);
TAVIKPKI_API void tavik_cert_usernotice_free(tavik_cert_usernotice *notice);
/* Each null when absent. */
TAVIKPKI_API tavik_ustring *tavik_cert_usernotice_getreforg(const tavik_cert_usernotice *notice);
TAVIKPKI_API tavik_ustring *
tavik_cert_usernotice_getexplicittext(const tavik_cert_usernotice *notice);
TAVIKPKI_API int tavik_cert_usernotice_getrefnumberscount(const tavik_cert_usernotice *notice);
TAVIKPKI_API tavik_biginteger *
tavik_cert_usernotice_getrefnumber(const tavik_cert_usernotice *notice, int index);

TAVIKPKI_API tavik_cert_policymaps *tavik_cert_ext_topolicymappings(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_policymaps_free(tavik_cert_policymaps *maps);
TAVIKPKI_API int tavik_cert_policymaps_getitemcount(const tavik_cert_policymaps *maps);
TAVIKPKI_API tavik_cert_policymap *tavik_cert_policymaps_getitem(const tavik_cert_policymaps *maps,
                                                                 int index);
TAVIKPKI_API void tavik_cert_policymap_free(tavik_cert_policymap *map);
/* Dotted texts, freed with tavik_free. */
TAVIKPKI_API char *tavik_cert_policymap_getissuerpolicy(const tavik_cert_policymap *map);
TAVIKPKI_API char *tavik_cert_policymap_getsubjectpolicy(const tavik_cert_policymap *map);

TAVIKPKI_API tavik_cert_policyconstraints *
tavik_cert_ext_topolicyconstraints(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_policyconstraints_free(tavik_cert_policyconstraints *pc);
/* Each null when absent. */
TAVIKPKI_API tavik_biginteger *
tavik_cert_policyconstraints_getreqexppolicy(const tavik_cert_policyconstraints *pc);
TAVIKPKI_API tavik_biginteger *
tavik_cert_policyconstraints_getinhibtpolicymapping(const tavik_cert_policyconstraints *pc);

TAVIKPKI_API tavik_cert_nameconstraints *
tavik_cert_ext_tonameconstraints(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_nameconstraints_free(tavik_cert_nameconstraints *nc);
/* Each null when absent. */
TAVIKPKI_API tavik_cert_generalsubtrees *
tavik_cert_nameconstraints_getpremit(const tavik_cert_nameconstraints *nc);
TAVIKPKI_API tavik_cert_generalsubtrees *
tavik_cert_nameconstraints_getexclude(const tavik_cert_nameconstraints *nc);

/* Subject or issuer alternative names, certificate issuer. */
TAVIKPKI_API tavik_cert_generalnames *tavik_cert_ext_togeneralnames(const tavik_cert_ext *ext);

/* CRL distribution points and freshest CRL. */
enum { TAVIK_DPNAME_FULLNAME = 0, TAVIK_DPNAME_RELATIVE = 1 };
TAVIKPKI_API tavik_cert_crldps *tavik_cert_ext_tocrldp(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_crldps_free(tavik_cert_crldps *dps);
TAVIKPKI_API int tavik_cert_crldps_getitemcount(const tavik_cert_crldps *dps);
TAVIKPKI_API tavik_cert_distpoint *tavik_cert_crldps_getitem(const tavik_cert_crldps *dps,
                                                             int index);
TAVIKPKI_API void tavik_cert_distpoint_free(tavik_cert_distpoint *dp);
/* Each null when absent. */
TAVIKPKI_API tavik_cert_dpname *tavik_cert_distpoint_getdpname(const tavik_cert_distpoint *dp);
TAVIKPKI_API tavik_bitset *tavik_cert_distpoint_getreasons(const tavik_cert_distpoint *dp);
TAVIKPKI_API tavik_cert_generalnames *
tavik_cert_distpoint_getcrlissuer(const tavik_cert_distpoint *dp);
TAVIKPKI_API void tavik_cert_dpname_free(tavik_cert_dpname *name);
/* TAVIK_DPNAME_*; -1 on failure. */
TAVIKPKI_API int tavik_cert_dpname_gettype(const tavik_cert_dpname *name);
TAVIKPKI_API tavik_cert_generalnames *tavik_cert_dpname_getfullname(const tavik_cert_dpname *name);
TAVIKPKI_API tavik_cert_rdn *tavik_cert_dpname_getrelname(const tavik_cert_dpname *name);

TAVIKPKI_API tavik_cert_idp *tavik_cert_ext_toidp(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_idp_free(tavik_cert_idp *idp);
TAVIKPKI_API tavik_cert_dpname *tavik_cert_idp_getdpname(const tavik_cert_idp *idp);
TAVIKPKI_API int tavik_cert_idp_isonlycontainsusercerts(const tavik_cert_idp *idp);
TAVIKPKI_API int tavik_cert_idp_isonlycontainscacerts(const tavik_cert_idp *idp);
TAVIKPKI_API int tavik_cert_idp_isonlycontainsattrcerts(const tavik_cert_idp *idp);
TAVIKPKI_API int tavik_cert_idp_isindirectcrl(const tavik_cert_idp *idp);
/* onlySomeReasons; null when absent. */
TAVIKPKI_API tavik_bitset *tavik_cert_idp_getconverreasons(const tavik_cert_idp *idp);

/* Authority and subject information access. */
TAVIKPKI_API tavik_cert_accessdescs *tavik_cert_ext_toaccessdescs(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_accessdescs_free(tavik_cert_accessdescs *descs);
TAVIKPKI_API int tavik_cert_accessdescs_getitemcount(const tavik_cert_accessdescs *descs);
TAVIKPKI_API tavik_cert_accessdesc *
tavik_cert_accessdescs_getitem(const tavik_cert_accessdescs *descs, int index);
TAVIKPKI_API void tavik_cert_accessdesc_free(tavik_cert_accessdesc *desc);
/* Dotted text, freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_accessdesc_getmethod(const tavik_cert_accessdesc *desc);
TAVIKPKI_API tavik_cert_generalname *
tavik_cert_accessdesc_getlocation(const tavik_cert_accessdesc *desc);

TAVIKPKI_API tavik_cert_privkeyusageperiod *
tavik_cert_ext_toprivkeyusageperiod(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_privkeyusageperiod_free(tavik_cert_privkeyusageperiod *period);
/* Each null when absent. */
TAVIKPKI_API tavik_time *
tavik_cert_privkeyusageperiod_getnotbefore(const tavik_cert_privkeyusageperiod *period);
TAVIKPKI_API tavik_time *
tavik_cert_privkeyusageperiod_getnotafter(const tavik_cert_privkeyusageperiod *period);

/* IdentificationItems ::= SEQUENCE OF SEQUENCE {
 *     type INTEGER, encoding INTEGER, value OCTET STRING } */
TAVIKPKI_API tavik_cert_identificationitems *
tavik_cert_ext_toidentificationitems(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_identificationitems_free(tavik_cert_identificationitems *items);
TAVIKPKI_API int
tavik_cert_identificationitems_getitemcount(const tavik_cert_identificationitems *items);
TAVIKPKI_API tavik_cert_identificationitem *
tavik_cert_identificationitems_getitem(const tavik_cert_identificationitems *items, int index);
TAVIKPKI_API void tavik_cert_identificationitem_free(tavik_cert_identificationitem *item);
TAVIKPKI_API int tavik_cert_identificationitem_gettype(const tavik_cert_identificationitem *item,
                                                       int64_t *type);
TAVIKPKI_API int tavik_cert_identificationitem_getencode(const tavik_cert_identificationitem *item,
                                                         int64_t *encoding);
TAVIKPKI_API tavik_data_blob *
tavik_cert_identificationitem_getvalue(const tavik_cert_identificationitem *item);

/* DigestInfos ::= SEQUENCE OF DigestInfo
 * DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING } */
TAVIKPKI_API tavik_cert_digestinfolist *tavik_cert_ext_todigestinfolist(const tavik_cert_ext *ext);
TAVIKPKI_API void tavik_cert_digestinfolist_free(tavik_cert_digestinfolist *list);
TAVIKPKI_API int tavik_cert_digestinfolist_getitemcount(const tavik_cert_digestinfolist *list);
TAVIKPKI_API tavik_cert_digestinfo *
tavik_cert_digestinfolist_getitem(const tavik_cert_digestinfolist *list, int index);
TAVIKPKI_API void tavik_cert_digestinfo_free(tavik_cert_digestinfo *info);
TAVIKPKI_API tavik_cert_algorithmid *
tavik_cert_digestinfo_getalgorithm(const tavik_cert_digestinfo *info);
TAVIKPKI_API tavik_data_blob *tavik_cert_digestinfo_gethashvalue(const tavik_cert_digestinfo *info);

/* Single values. */
TAVIKPKI_API tavik_biginteger *tavik_cert_ext_tointeger(const tavik_cert_ext *ext);
TAVIKPKI_API tavik_biginteger *tavik_cert_ext_toenum(const tavik_cert_ext *ext);
TAVIKPKI_API tavik_data_blob *tavik_cert_ext_tooctetstring(const tavik_cert_ext *ext);
/* Dotted text, freed with TavikPKICryptoFreeMemory. */
TAVIKPKI_API char *tavik_cert_ext_tooid(const tavik_cert_ext *ext);
TAVIKPKI_API tavik_ustring *tavik_cert_ext_toia5string(const tavik_cert_ext *ext);
TAVIKPKI_API tavik_ustring *tavik_cert_ext_toprintablestring(const tavik_cert_ext *ext);
TAVIKPKI_API tavik_time *tavik_cert_ext_togeneralizedtime(const tavik_cert_ext *ext);

/* ---- Key devices (PKCS#11 tokens) ---- */

/* module: a PKCS#11 module path, or null for the modules registered with
 * p11-kit; label: the token label (null for the first token present). */
TAVIKPKI_API int TavikPKIDeviceOpen(const char *module, const char *label,
                                    TAVIK_PKI_DEVICE_HANDLE_st **device);
TAVIKPKI_API void TavikPKIDeviceClose(TAVIK_PKI_DEVICE_HANDLE_st *device);

/* Tries left: 0 locked, 1 final try, -1 when the device does not tell. */
TAVIKPKI_API int TavikPKICryptoGetPwdRetryNum(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType,
                                              int *count);
/* 1 accepted; -5 wrong PIN or locked; 65536 a PIN the token refuses by its
 * form; other negative codes for other errors. */
TAVIKPKI_API int TavikPKICryptoVerifyPwd(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType,
                                         const char *pin, int *retry);

#ifdef __cplusplus
}
#endif

#endif
