#include "cert_text.hpp"

#include "tavik_ptr.hpp"

namespace pkiui {

namespace {

QString formatTime(tavik::TimePtr time)
{
    if (!time)
        return QString();
    const tavik_time *t = time.get();
    return QString::asprintf("%04d-%02d-%02d %02d:%02d:%02d", tavik_time_getyear(t),
                             tavik_time_getmonth(t), tavik_time_getday(t), tavik_time_gethour(t),
                             tavik_time_getminute(t), tavik_time_getsecond(t));
}

} // namespace

std::optional<QString> certStringAttribute(TAVIK_CERT_st *cert, int code)
{
    char *raw = nullptr;
    if (TavikPKICertGetCertStringAttribute(cert, code, &raw) != 1)
        return std::nullopt;
    const tavik::TextPtr text(raw);
    return QString::fromUtf8(text.get());
}

QString certDisplayName(TAVIK_CERT_st *cert)
{
    for (const int code : {TAVIK_ATTR_SUBJECT_CN, TAVIK_ATTR_ISSUER_NAME}) {
        if (auto name = certStringAttribute(cert, code); name && !name->isEmpty())
            return *name;
    }
    return QString();
}

QString certValidityStart(TAVIK_CERT_st *cert)
{
    return formatTime(tavik::TimePtr(tavik_cert_getvaliditystart(cert)));
}

QString certValidityEnd(TAVIK_CERT_st *cert)
{
    return formatTime(tavik::TimePtr(tavik_cert_getvalidityend(cert)));
}

} // namespace pkiui
