/*
 * The PKI UI library: modal dialogs for choosing a certificate, typing a
 * password or a device PIN, and viewing a certificate.
 *
 * Texts and certificate handles returned to the caller are the caller's:
 * free texts with TavikPKICryptoFreeMemory and handles with
 * TavikPKICertFreeCert. The blocking entries may be called from any thread;
 * TavikPKIUIDisplayCert runs on the GUI thread (or, in a host without Qt, is
 * carried to the library's own GUI thread).
 */
#ifndef TAVIK_PKI_CRYPTO_UI_H
#define TAVIK_PKI_CRYPTO_UI_H

#include <stdint.h>

#include <tavik_pki.h>

#if defined(TAVIKPKIUI_BUILDING)
#define TAVIKPKIUI_API __attribute__((visibility("default")))
#else
#define TAVIKPKIUI_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of the password entries. */
enum {
    TAVIKPKIUI_OK = 1,
    TAVIKPKIUI_CONVERSION_FAILED = 0,
    TAVIKPKIUI_NULL_OUTPUT = -1,
    TAVIKPKIUI_NULL_DEVICE = -2,
    TAVIKPKIUI_NO_MEMORY = -3,
    TAVIKPKIUI_NO_PASSWORD = -18
};

/* Shows the certificates and returns a new handle to the one chosen, or null
 * after Cancel. The reserved arguments are never read. */
TAVIKPKIUI_API TAVIK_CERT_st *TavikPKIUISelectCert(void *reserved1, void *reserved2,
                                                   void *reserved3, TAVIK_CERT_st **certs,
                                                   int32_t count);

/* Asks for the device's PIN and verifies it; on 1, *pwd holds it. */
TAVIKPKIUI_API int32_t TavikPKIUIVerifyPassword(void *reserved, TAVIK_PKI_DEVICE_HANDLE_st *hDevice,
                                                int32_t pinType, const char *msg, char **pwd);

/* Asks for a password; on 1, *pwd holds it. On 0 *pwd holds a buffer that
 * must still be freed. */
TAVIKPKIUI_API int32_t TavikPKIUIGetPassword(void *reserved, const char *msg, char **pwd);

/* parent: the host's top-level QWidget*, or null. Without a parent the call
 * returns when the viewer is closed; with one it returns at once. */
TAVIKPKIUI_API int32_t TavikPKIUIDisplayCert(void *parent, TAVIK_CERT_st *cert);

/* No revocation-list viewer exists: always 0. */
TAVIKPKIUI_API int32_t TavikPKIUIDisplayCRL(void *a, void *b, int32_t c);

/* A caption by code (1-8, 11), or null. Free with TavikPKICryptoFreeMemory. */
TAVIKPKIUI_API char *TavikPKIUIGetString(int32_t code);

/* The time (YYYYMMDDHHMMSSZ) at which a path is verified: the earliest end of
 * validity, if all periods overlap. Free with TavikPKICryptoFreeMemory. */
TAVIKPKIUI_API int getVerifyTime(TAVIK_CERT_st **certs, int count, TAVIK_CERT_st *cert,
                                 char **timeString);

/* How an extension the viewer does not know is decoded, from the extension
 * encoding configuration. Outputs are in toolkit memory. */
TAVIKPKIUI_API int GetExtEncodeMethod(const char *oid, char **displayName, char **method,
                                      int32_t *isTavik);

#ifdef __cplusplus
}
#endif

#endif
