// What verification found at one certificate, in words: the verifier's
// reason codes, each with the date or the name it involves.
#include "pkiui/cert_status.hpp"

#include <array>
#include <string_view>

#include "pkiui/routine_model.hpp"
#include "cert_attributes.hpp"
#include "tables.hpp"
#include "tavik_ptr.hpp"

namespace pkiui {
namespace {

// What stands between a text's two parts.
enum class Detail { None, NotBefore, NotAfter, Issuer, Subject };

struct ReasonText {
    int code;
    std::string_view before;
    Detail detail;
    std::string_view after;
};

constexpr std::string_view kNoIssuer = "找不到颁发者“", kBadSignature = "该证书的签名不能用颁发者“",
                           kNoIssuerKey = "颁发者“", kUntrusted = "根证书“";

constexpr std::array kReasonTexts{
    ReasonText{TAVIK_REASON_OK, "该证书验证通过", Detail::None, ""},
    ReasonText{TAVIK_REASON_EXPIRED, "该证书已于", Detail::NotAfter, "过期"},
    ReasonText{TAVIK_REASON_NOT_YET_VALID, "该证书要到", Detail::NotBefore, "才生效"},
    ReasonText{TAVIK_REASON_BAD_NOT_BEFORE, "该证书的生效时间无法读取", Detail::None, ""},
    ReasonText{TAVIK_REASON_BAD_NOT_AFTER, "该证书的过期时间无法读取", Detail::None, ""},
    ReasonText{TAVIK_REASON_ISSUER_NOT_FOUND, kNoIssuer, Detail::Issuer, "”"},
    ReasonText{TAVIK_REASON_ISSUER_NOT_FOUND_LOCALLY, kNoIssuer, Detail::Issuer, "”"},
    ReasonText{TAVIK_REASON_LEAF_SIGNATURE_UNVERIFIABLE, kNoIssuer, Detail::Issuer, "”"},
    ReasonText{TAVIK_REASON_SIGNATURE_FAILURE, kBadSignature, Detail::Issuer, "”的公钥验证"},
    ReasonText{TAVIK_REASON_SIGNATURE_UNDECRYPTABLE, kBadSignature, Detail::Issuer, "”的公钥验证"},
    ReasonText{TAVIK_REASON_ISSUER_KEY_UNDECODABLE, kNoIssuerKey, Detail::Issuer,
               "”的公钥无法读取，不能验证该证书的签名"},
    ReasonText{TAVIK_REASON_NO_ISSUER_KEY, kNoIssuerKey, Detail::Issuer,
               "”的公钥无法读取，不能验证该证书的签名"},
    ReasonText{TAVIK_REASON_UNTRUSTED, kUntrusted, Detail::Subject, "”不受信任"},
    ReasonText{TAVIK_REASON_SELF_SIGNED_LEAF, kUntrusted, Detail::Subject, "”不受信任"},
    ReasonText{TAVIK_REASON_SELF_SIGNED_IN_CHAIN, kUntrusted, Detail::Subject, "”不受信任"},
    ReasonText{TAVIK_REASON_NOT_CA, "“", Detail::Subject,
               "”不是CA证书（没有CA标志），不能签发证书"},
    ReasonText{TAVIK_REASON_NO_CERT_SIGN, "“", Detail::Subject, "”的密钥用法不允许签发证书"},
    ReasonText{TAVIK_REASON_PATH_LENGTH, "超出了“", Detail::Subject, "”允许的证书路径长度"},
};
static_assert(uniqueBy(kReasonTexts, &ReasonText::code));

std::string dateOf(tavik_time *time)
{
    const tavik::TimePtr owned(time);
    return owned ? ShowCertRoutineDlgModel::FormatTime(owned.get()) : "?";
}

std::string nameOf(TAVIK_CERT_st *cert, int attribute)
{
    return stringAttribute(cert, attribute).value_or("?");
}

std::string detailOf(Detail detail, TAVIK_CERT_st *cert)
{
    switch (detail) {
    case Detail::NotBefore:
        return dateOf(tavik_cert_getvaliditystart(cert));
    case Detail::NotAfter:
        return dateOf(tavik_cert_getvalidityend(cert));
    case Detail::Issuer:
        return nameOf(cert, TAVIK_ATTR_ISSUER_NAME);
    case Detail::Subject:
        return nameOf(cert, TAVIK_ATTR_SUBJECT_CN);
    case Detail::None:
        break;
    }
    return {};
}

} // namespace

std::string reasonText(int reason, TAVIK_CERT_st *cert)
{
    const ReasonText *known = findBy(kReasonTexts, &ReasonText::code, reason);
    if (!known)
        return "验证失败（错误码 " + std::to_string(reason) + "）";
    return std::string(known->before) + detailOf(known->detail, cert) + std::string(known->after);
}

} // namespace pkiui
