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
TAVIKPKI_API int TavikPKICertNewAllFromFile(const char *path, TAVIK_CERT_st ***certs,
                                            int *count);

TAVIKPKI_API TAVIK_CERT_st *TavikPKICertDupCert(TAVIK_CERT_st *cert);
TAVIKPKI_API void TavikPKICertFreeCert(TAVIK_CERT_st *cert);

/* Attribute codes. */
enum {
    TAVIK_ATTR_ISSUER_NAME = 9,  /* text: issuer CN, else the issuer on one line */
    TAVIK_ATTR_SUBJECT_CN = 16,  /* text: subject common name */
    TAVIK_ATTR_FRIENDLY_NAME = 22, /* text: the certificate's alias */
    TAVIK_ATTR_NOT_AFTER = 31,   /* text: YYYYMMDDHHMMSSZ, UTC */
    TAVIK_ATTR_KEY_ALGORITHM = 4, /* integer: TAVIK_KEYALG_* */
    TAVIK_ATTR_KEY_SIZE = 5,     /* integer: bits */
    TAVIK_ATTR_KEY_USAGE = 6,    /* integer: bit n = X.509 KeyUsage bit n */
    TAVIK_ATTR_IN_VALIDITY = 34, /* integer: 1 when now lies within the validity period */
    TAVIK_ATTR_CURVE = 43        /* integer: TAVIK_CURVE_* */
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
TAVIKPKI_API int TavikPKICertGetCertIntegerAttribute(TAVIK_CERT_st *cert, int code,
                                                     int64_t *value);

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

/* A scripted device for tests: GetPwdRetryNum answers retryStatus and
 * retryCount; each VerifyPwd takes the next answer (the last one repeats) and
 * an accepted or rejected answer becomes the new retry count. */
typedef struct TavikPKIScriptedAnswer {
    int result;
    int retry;
} TavikPKIScriptedAnswer;

TAVIKPKI_API int TavikPKIDeviceOpenScripted(int retryStatus, int retryCount,
                                            const TavikPKIScriptedAnswer *answers, int count,
                                            TAVIK_PKI_DEVICE_HANDLE_st **device);
/* How many times VerifyPwd reached the device (-1 for a non-scripted one). */
TAVIKPKI_API int TavikPKIDeviceScriptedVerifyCalls(const TAVIK_PKI_DEVICE_HANDLE_st *device);

/* ---- Test hooks ---- */

/* Objects and buffers handed out and not yet released. */
TAVIKPKI_API long tavik_debug_live_objects(void);
/* Pins the toolkit's "now" (seconds since the epoch); 0 restores the clock. */
TAVIKPKI_API void tavik_debug_set_now(int64_t epoch_seconds);

#ifdef __cplusplus
}
#endif

#endif
