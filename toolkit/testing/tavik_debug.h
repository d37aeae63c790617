/*
 * Test hooks of the certificate toolkit: a scripted key device, a pinned
 * clock and the count of live objects. They exist only in the variant of the library that the tests
 * link; the shipped library and its installed header have none of them.
 */
#ifndef TAVIK_DEBUG_H
#define TAVIK_DEBUG_H

#include "tavik_pki.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A scripted device: GetPwdRetryNum answers retryStatus and retryCount; each
 * VerifyPwd takes the next answer (the last one repeats) and an accepted or
 * rejected answer becomes the new retry count. */
typedef struct TavikPKIScriptedAnswer {
    int result;
    int retry;
} TavikPKIScriptedAnswer;

TAVIKPKI_API int TavikPKIDeviceOpenScripted(int retryStatus, int retryCount,
                                            const TavikPKIScriptedAnswer *answers, int count,
                                            TAVIK_PKI_DEVICE_HANDLE_st **device);
/* How many times VerifyPwd reached the device (-1 for a non-scripted one). */
TAVIKPKI_API int TavikPKIDeviceScriptedVerifyCalls(const TAVIK_PKI_DEVICE_HANDLE_st *device);

/* Pins the toolkit's "now" (seconds since the epoch); 0 restores the clock. */
TAVIKPKI_API void tavik_debug_set_now(int64_t epoch_seconds);

/* Objects and buffers handed out and not yet released. */
TAVIKPKI_API long tavik_debug_live_objects(void);

#ifdef __cplusplus
}
#endif

#endif
