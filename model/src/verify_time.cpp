#include "pkiui/verify_time.hpp"

#include "tavik_ptr.hpp"

namespace pkiui {

// The chain is verified at the latest moment every certificate is still
// valid: the earliest end of validity, provided all periods overlap. The
// certificate's own period takes part in both extremes; on a tie in end
// times the later certificate in the path supplies the text.
std::optional<std::string> verifyTime(TAVIK_CERT_st *const *certs, int count, TAVIK_CERT_st *cert)
{
    if (!certs || count <= 0)
        return std::nullopt;
    tavik::TimePtr start(tavik_cert_getvaliditystart(cert));
    tavik::TimePtr end(tavik_cert_getvalidityend(cert));
    if (!start || !end)
        return std::nullopt;

    tavik::TextPtr chosen;
    for (int i = 0; i < count; ++i) {
        char *raw = nullptr;
        if (TavikPKICertGetCertStringAttribute(certs[i], TAVIK_ATTR_NOT_AFTER, &raw) != 1)
            return std::nullopt;
        tavik::TextPtr endText(raw);

        tavik::TimePtr e(tavik_cert_getvalidityend(certs[i]));
        if (!e)
            return std::nullopt;
        if (tavik_time_cmp(e.get(), end.get()) <= 0) {
            end = std::move(e);
            chosen = std::move(endText);
        }

        tavik::TimePtr s(tavik_cert_getvaliditystart(certs[i]));
        if (!s)
            return std::nullopt;
        if (tavik_time_cmp(start.get(), s.get()) == -1)
            start = std::move(s);
    }

    // No overlap, or no end at or before the certificate's own: nothing to verify at.
    if (tavik_time_cmp(start.get(), end.get()) != -1 || !chosen)
        return std::nullopt;
    return std::string(chosen.get());
}

} // namespace pkiui
