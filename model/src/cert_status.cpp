#include "pkiui/cert_status.hpp"

#include <array>
#include <optional>
#include <string_view>

#include "pkiui/verify_time.hpp"
#include "tables.hpp"
#include "tavik_ptr.hpp"

namespace pkiui {
namespace {

struct StatusText {
    int32_t code;
    std::string_view text;
};

constexpr std::array kStatusTexts{
    StatusText{kStatusVerified, "该证书没有问题"},
    StatusText{kStatusOutOfValidity, "该证书已过期，或尚未生效"},
    StatusText{kStatusIncomplete, "没有足够信息，不能验证该证书"},
    StatusText{kStatusFailed, "验证证书失败"},
};
constexpr std::string_view kUnknownStatus = "该证书状态未知";

static_assert(uniqueBy(kStatusTexts, &StatusText::code));

} // namespace

std::string getContentByIndex(int32_t status)
{
    const StatusText *known = findBy(kStatusTexts, &StatusText::code, status);
    return std::string(known ? known->text : kUnknownStatus);
}

PathVerdict verifyPath(TAVIK_CERT_st *cert)
{
    if (!cert)
        return {kStatusFailed};
    tavik::CertPath path;
    {
        const tavik::CertPtr dup(TavikPKICertDupCert(cert));
        if (TavikPKICertGetCertPath(dup.get(), path.outCerts(), path.outCount()) != 1)
            return {kStatusIncomplete};
    }
    const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
    if (!verifier)
        return {kStatusFailed};
    if (path.size() > 0) {
        if (TavikPKICertVerifyAddRootCert(verifier.get(), path[0]) != 1)
            return {kStatusFailed};
        // The last element, the certificate itself, is not added.
        for (int i = 1; i < path.size() - 1; ++i)
            if (TavikPKICertVerifyAddCACert(verifier.get(), path[i]) != 1)
                return {kStatusFailed};
    }
    const std::optional<std::string> time = verifyTime(path.data(), path.size(), cert);
    path.reset();
    if (!time)
        return {kStatusFailed};
    if (TavikPKICertVerifySetVerifyTime(verifier.get(), time->c_str()) != 1)
        return {kStatusFailed};
    if (TavikPKICertVerifySetOption(verifier.get(), TAVIK_VERIFY_OPT_DEFAULT) != 1)
        return {kStatusFailed};

    int reason = 0;
    int depth = 0;
    switch (TavikPKICertVerify(verifier.get(), cert, &reason, &depth)) {
    case TAVIK_ERR_UNTRUSTED_ROOT:
    case TAVIK_ERR_ISSUER_MISSING:
        return {kStatusIncomplete, reason, depth};
    case TAVIK_VERIFY_OK:
        // The reason is looked at, but every successful verification counts.
        return {reason == 1 ? kStatusVerified : kStatusVerified, reason, depth};
    default:
        return {kStatusFailed, reason, depth};
    }
}

int32_t verifyAlongPath(TAVIK_CERT_st *cert)
{
    return verifyPath(cert).status;
}

} // namespace pkiui
