// The chain verifier: OpenSSL's X509_STORE_CTX over the roots and CAs the
// caller collected, with nothing fetched and no revocation.
#include <openssl/asn1.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <cstring>
#include <ctime>
#include <new>
#include <optional>
#include <vector>

#include "cert_data.hpp"
#include "internal.hpp"
#include "store.hpp"
#include "values.hpp"

struct TAVIK_VERIFY_st {
    std::vector<tavik::detail::X509Ptr> roots;
    std::vector<tavik::detail::X509Ptr> cas;
    std::optional<std::time_t> time;
    int options = TAVIK_VERIFY_OPT_DEFAULT;
};

namespace {

using tavik::detail::StoreCtxPtr;
using tavik::detail::X509Ptr;
using tavik::detail::X509StorePtr;
// The stack only lends the verifier's references.
using X509StackPtr = tavik::detail::X509ListPtr;

constexpr int kKnownOptions = TAVIK_VERIFY_OPT_CHAIN | TAVIK_VERIFY_OPT_VALIDITY;

// The header repeats OpenSSL's numbers so that callers need no OpenSSL.
static_assert(
    TAVIK_REASON_OK == X509_V_OK &&
    TAVIK_REASON_ISSUER_NOT_FOUND == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT &&
    TAVIK_REASON_SIGNATURE_UNDECRYPTABLE == X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE &&
    TAVIK_REASON_ISSUER_KEY_UNDECODABLE == X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY &&
    TAVIK_REASON_SIGNATURE_FAILURE == X509_V_ERR_CERT_SIGNATURE_FAILURE &&
    TAVIK_REASON_NOT_YET_VALID == X509_V_ERR_CERT_NOT_YET_VALID &&
    TAVIK_REASON_EXPIRED == X509_V_ERR_CERT_HAS_EXPIRED &&
    TAVIK_REASON_BAD_NOT_BEFORE == X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD &&
    TAVIK_REASON_BAD_NOT_AFTER == X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD &&
    TAVIK_REASON_SELF_SIGNED_LEAF == X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT &&
    TAVIK_REASON_SELF_SIGNED_IN_CHAIN == X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN &&
    TAVIK_REASON_ISSUER_NOT_FOUND_LOCALLY == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY &&
    TAVIK_REASON_LEAF_SIGNATURE_UNVERIFIABLE == X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE &&
    TAVIK_REASON_NO_ISSUER_KEY == X509_V_ERR_NO_ISSUER_PUBLIC_KEY &&
    TAVIK_REASON_PATH_LENGTH == X509_V_ERR_PATH_LENGTH_EXCEEDED &&
    TAVIK_REASON_UNTRUSTED == X509_V_ERR_CERT_UNTRUSTED &&
    TAVIK_REASON_NO_CERT_SIGN == X509_V_ERR_KEYUSAGE_NO_CERTSIGN &&
    TAVIK_REASON_NOT_CA == X509_V_ERR_INVALID_CA);

bool isSignatureError(int err)
{
    switch (err) {
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
    case X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE:
    case X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY:
    case X509_V_ERR_NO_ISSUER_PUBLIC_KEY:
    case X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM:
    case X509_V_ERR_SIGNATURE_ALGORITHM_MISMATCH:
        return true;
    default:
        return false;
    }
}

bool isTimeError(int err)
{
    switch (err) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD:
    case X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD:
        return true;
    default:
        return false;
    }
}

bool isConstraintError(int err)
{
    switch (err) {
    case X509_V_ERR_INVALID_CA:
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_KEYUSAGE_NO_CERTSIGN:
    case X509_V_ERR_INVALID_NON_CA:
    case X509_V_ERR_PROXY_PATH_LENGTH_EXCEEDED:
        return true;
    default:
        return false;
    }
}

int resultFor(int err)
{
    switch (err) {
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        return TAVIK_ERR_ISSUER_MISSING;
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        return TAVIK_ERR_UNTRUSTED_ROOT;
    default:
        break;
    }
    if (isSignatureError(err))
        return TAVIK_ERR_SIGNATURE;
    if (isTimeError(err))
        return TAVIK_ERR_TIME;
    if (isConstraintError(err))
        return TAVIK_ERR_CONSTRAINT;
    return TAVIK_ERR_VERIFY;
}

struct CallbackState {
    int options;
    std::time_t time;
};

// Two corrections to OpenSSL's checks: a certificate is valid up to and
// including its notAfter second (OpenSSL calls that moment expired, and the
// viewer verifies at exactly the earliest end of a path); and without the
// chain option, signature and constraint failures do not count.
int verifyCallback(int ok, X509_STORE_CTX *ctx)
{
    if (ok)
        return ok;
    const auto *state = static_cast<const CallbackState *>(X509_STORE_CTX_get_app_data(ctx));
    if (!state)
        return ok;
    const int err = X509_STORE_CTX_get_error(ctx);
    bool accept = false;
    if (err == X509_V_ERR_CERT_HAS_EXPIRED) {
        const X509 *x = X509_STORE_CTX_get_current_cert(ctx);
        accept = x && ASN1_TIME_cmp_time_t(X509_get0_notAfter(x), state->time) == 0;
    } else if ((state->options & TAVIK_VERIFY_OPT_CHAIN) == 0) {
        accept = isSignatureError(err) || isConstraintError(err);
    }
    if (!accept)
        return 0;
    X509_STORE_CTX_set_error(ctx, X509_V_OK);
    return 1;
}

int addRef(std::vector<X509Ptr> &list, TAVIK_CERT_st *cert)
{
    if (!cert || !cert->data->x509())
        return TAVIK_ERR_ARGUMENT;
    if (X509_up_ref(cert->data->x509()) != 1)
        return TAVIK_ERR_MEMORY;
    list.emplace_back(cert->data->x509());
    tavik::detail::ensureSm2Id(cert->data->x509());
    return 1;
}

void report(int *reason, int *depth, int reasonValue, int depthValue)
{
    if (reason)
        *reason = reasonValue;
    if (depth)
        *depth = depthValue;
}

} // namespace

extern "C" {

TAVIK_VERIFY_st *TavikPKICertNewVerify(void)
{
    return tavik::detail::newObject<TAVIK_VERIFY_st>();
}

void TavikPKICertFreeVerify(TAVIK_VERIFY_st *ctx)
{
    tavik::detail::freeObject(ctx);
}

int TavikPKICertVerifyAddRootCert(TAVIK_VERIFY_st *ctx, TAVIK_CERT_st *cert)
{
    return ctx ? addRef(ctx->roots, cert) : TAVIK_ERR_ARGUMENT;
}

int TavikPKICertVerifyAddCACert(TAVIK_VERIFY_st *ctx, TAVIK_CERT_st *cert)
{
    return ctx ? addRef(ctx->cas, cert) : TAVIK_ERR_ARGUMENT;
}

int TavikPKICertVerifySetVerifyTime(TAVIK_VERIFY_st *ctx, const char *time)
{
    if (!ctx)
        return TAVIK_ERR_ARGUMENT;
    const std::optional<tavik_time_st> parsed = tavik::detail::readTime(time);
    if (!parsed)
        return TAVIK_ERR_ARGUMENT;
    ctx->time = static_cast<std::time_t>(tavik::detail::toEpoch(*parsed));
    return 1;
}

int TavikPKICertVerifySetOption(TAVIK_VERIFY_st *ctx, int option)
{
    // Revocation (2) and anything else unknown is refused, not ignored.
    if (!ctx || option == 0 || (option & ~kKnownOptions) != 0)
        return TAVIK_ERR_ARGUMENT;
    ctx->options = option;
    return 1;
}

int TavikPKICertVerify(TAVIK_VERIFY_st *ctx, TAVIK_CERT_st *cert, int *reason, int *depth)
{
    if (!ctx || !cert || !cert->data->x509())
        return TAVIK_ERR_ARGUMENT;
    tavik::detail::ensureSm2Id(cert->data->x509());

    const X509StorePtr trusted(X509_STORE_new());
    const StoreCtxPtr storeCtx(X509_STORE_CTX_new());
    const X509StackPtr untrusted(sk_X509_new_null());
    if (!trusted || !storeCtx || !untrusted)
        return TAVIK_ERR_MEMORY;
    for (const X509Ptr &root : ctx->roots) {
        if (X509_STORE_add_cert(trusted.get(), root.get()) != 1)
            return TAVIK_ERR_MEMORY;
    }
    for (const X509Ptr &ca : ctx->cas) {
        if (sk_X509_push(untrusted.get(), ca.get()) <= 0)
            return TAVIK_ERR_MEMORY;
    }
    if (X509_STORE_CTX_init(storeCtx.get(), trusted.get(), cert->data->x509(), untrusted.get()) !=
        1) {
        ERR_clear_error();
        return TAVIK_ERR_MEMORY;
    }

    CallbackState state{ctx->options, ctx->time.value_or(tavik::detail::now())};
    X509_STORE_CTX_set_app_data(storeCtx.get(), &state);
    X509_STORE_CTX_set_verify_cb(storeCtx.get(), verifyCallback);
    if (ctx->options & TAVIK_VERIFY_OPT_VALIDITY)
        X509_STORE_CTX_set_time(storeCtx.get(), 0, state.time);
    else
        X509_STORE_CTX_set_flags(storeCtx.get(), X509_V_FLAG_NO_CHECK_TIME);

    const int verified = X509_verify_cert(storeCtx.get());
    ERR_clear_error();
    if (verified != 1) {
        const int err = X509_STORE_CTX_get_error(storeCtx.get());
        report(reason, depth, err, X509_STORE_CTX_get_error_depth(storeCtx.get()));
        return err == X509_V_OK ? TAVIK_ERR_VERIFY : resultFor(err);
    }

    // The caller chose the roots; the store decides whether the top is trusted.
    STACK_OF(X509) *chain = X509_STORE_CTX_get0_chain(storeCtx.get());
    const int top = chain ? sk_X509_num(chain) - 1 : -1;
    if (top < 0 || !tavik::detail::storeIsTrustAnchor(sk_X509_value(chain, top))) {
        report(reason, depth, X509_V_ERR_CERT_UNTRUSTED, top);
        return TAVIK_ERR_UNTRUSTED_ROOT;
    }
    report(reason, depth, X509_V_OK, -1);
    return TAVIK_VERIFY_OK;
}

int TavikPKICertCheckValidity(TAVIK_CERT_st *cert, int *reason)
{
    if (!cert)
        return TAVIK_ERR_ARGUMENT;
    const X509_VAL &validity = *cert->data->tbs().validity;
    // Bounds count as inside, as for the in-validity attribute.
    const std::time_t now = tavik::detail::now();
    int err = X509_V_OK;
    const int start = ASN1_TIME_cmp_time_t(validity.notBefore, now);
    const int end = ASN1_TIME_cmp_time_t(validity.notAfter, now);
    if (start == -2)
        err = X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD;
    else if (end == -2)
        err = X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD;
    else if (start > 0)
        err = X509_V_ERR_CERT_NOT_YET_VALID;
    else if (end < 0)
        err = X509_V_ERR_CERT_HAS_EXPIRED;
    if (reason)
        *reason = err;
    return err == X509_V_OK ? TAVIK_VERIFY_OK : TAVIK_ERR_TIME;
}

} // extern "C"
