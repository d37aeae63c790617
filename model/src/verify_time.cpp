#include <cstring>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_ptr.hpp"

// The chain is verified at the latest moment every certificate is still
// valid: the earliest end of validity, provided all periods overlap. The
// certificate's own period takes part in both extremes; on a tie in end
// times the later certificate in the path supplies the text.
extern "C" int getVerifyTime(TAVIK_CERT_st **certs, int count, TAVIK_CERT_st *cert,
                             char **timeString)
{
    if (!certs || count <= 0)
        return 0;
    tavik::TimePtr start(tavik_cert_getvaliditystart(cert));
    tavik::TimePtr end(tavik_cert_getvalidityend(cert));
    if (!start || !end || !timeString)
        return 0;

    tavik::TextPtr chosen;
    for (int i = 0; i < count; ++i) {
        char *raw = nullptr;
        if (TavikPKICertGetCertStringAttribute(certs[i], TAVIK_ATTR_NOT_AFTER, &raw) != 1)
            return 0;
        tavik::TextPtr endText(raw);

        tavik::TimePtr e(tavik_cert_getvalidityend(certs[i]));
        if (!e)
            return 0;
        if (tavik_time_cmp(e.get(), end.get()) <= 0) {
            end = std::move(e);
            chosen = std::move(endText);
        }

        tavik::TimePtr s(tavik_cert_getvaliditystart(certs[i]));
        if (!s)
            return 0;
        if (tavik_time_cmp(start.get(), s.get()) == -1)
            start = std::move(s);
    }

    // No overlap, or no end at or before the certificate's own: nothing to verify at.
    if (tavik_time_cmp(start.get(), end.get()) != -1 || !chosen)
        return 0;

    const std::size_t length = std::strlen(chosen.get());
    auto *out = static_cast<char *>(tavik_malloc(length + 1, __FILE__, __LINE__));
    if (!out)
        return 0;
    std::memcpy(out, chosen.get(), length + 1);
    *timeString = out;
    return 1;
}
