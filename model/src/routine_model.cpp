#include "pkiui/routine_model.hpp"

#include <array>
#include <cstdio>
#include <optional>
#include <string_view>

#include "pkiui/cert_status.hpp"
#include "pkiui/select_model.hpp"
#include "cert_attributes.hpp"
#include "tables.hpp"

namespace pkiui {
namespace {

struct AlgorithmName {
    int64_t algorithm;
    std::string_view name; // empty: named by the curve
};

constexpr std::array kAlgorithmNames{
    AlgorithmName{TAVIK_KEYALG_RSA, "RSA"},
    AlgorithmName{TAVIK_KEYALG_DSA, "DSA"},
    AlgorithmName{TAVIK_KEYALG_DH, "DH"},
    AlgorithmName{TAVIK_KEYALG_RSAES_OAEP, "RSAES_OAEP"},
    AlgorithmName{TAVIK_KEYALG_RSASSA_PSS, "RSASSA_PSS"},
    AlgorithmName{TAVIK_KEYALG_EC, ""},
};
constexpr std::string_view kUnknownAlgorithm = "未知算法";

static_assert(uniqueBy(kAlgorithmNames, &AlgorithmName::algorithm));

const AlgorithmName *findAlgorithm(int64_t algorithm)
{
    return findBy(kAlgorithmNames, &AlgorithmName::algorithm, algorithm);
}

// A text attribute into label; the label keeps its value when it cannot be read.
void readText(TAVIK_CERT_st *cert, int code, std::string &label)
{
    if (auto text = stringAttribute(cert, code))
        label = std::move(*text);
}

std::string date(const tavik_time *time, const char *format)
{
    char text[64];
    std::snprintf(text, sizeof text, format, tavik_time_getyear(time), tavik_time_getmonth(time),
                  tavik_time_getday(time));
    return text;
}

} // namespace

int ShowCertRoutineDlgModel::setCertHandle(TAVIK_CERT_st *cert)
{
    m_pCert.reset(TavikPKICertDupCert(cert));
    getCertInfo();
    return 1;
}

void ShowCertRoutineDlgModel::getCertInfo()
{
    getIssuer();
    getCommonName();
    getValidity();
    getCertType();
    const bool inValidity = getInValidity();
    m_status = verifyCert();
    if (!inValidity)
        m_status = kStatusOutOfValidity;
    m_certStatus = getContentByIndex(m_status);
}

void ShowCertRoutineDlgModel::getIssuer()
{
    readText(m_pCert.get(), TAVIK_ATTR_ISSUER_NAME, m_issuer);
}

void ShowCertRoutineDlgModel::getCommonName()
{
    readText(m_pCert.get(), TAVIK_ATTR_SUBJECT_CN, m_subject);
}

void ShowCertRoutineDlgModel::getValidity()
{
    std::string text;
    if (const tavik::TimePtr start(tavik_cert_getvaliditystart(m_pCert.get())); start)
        text += FormatTime(start.get());
    text += " 到 ";
    if (const tavik::TimePtr end(tavik_cert_getvalidityend(m_pCert.get())); end)
        text += FormatTime(end.get());
    m_validity = text;
}

std::string ShowCertRoutineDlgModel::FormatTime(const tavik_time *time)
{
    if (const tavik::TimePtr local(tavik_time_utc2local(time)); local)
        return date(local.get(), "%04d/%02d/%02d");
    return date(time, "%04d/%02d/%02d UTC");
}

void ShowCertRoutineDlgModel::getCertType()
{
    TAVIK_CERT_st *cert = m_pCert.get();
    // The usage word, the chooser's column text; a "CA" chosen before it would
    // always be replaced, so it is not chosen.
    std::string label = usageText(integerAttribute(cert, TAVIK_ATTR_KEY_USAGE));
    m_certType = label;

    int64_t algorithm = 0;
    if (TavikPKICertGetCertIntegerAttribute(cert, TAVIK_ATTR_KEY_ALGORITHM, &algorithm) != 1)
        return;
    const AlgorithmName *entry = findAlgorithm(algorithm);
    std::string_view name = entry ? entry->name : kUnknownAlgorithm;
    if (entry && name.empty()) {
        int64_t curve = 0;
        if (TavikPKICertGetCertIntegerAttribute(cert, TAVIK_ATTR_CURVE, &curve) != 1)
            return;
        name = curve == TAVIK_CURVE_SM2 ? "SM2" : "ECC";
    }
    label += " - ";
    label += name;

    int64_t bits = 0;
    if (TavikPKICertGetCertIntegerAttribute(cert, TAVIK_ATTR_KEY_SIZE, &bits) == 1)
        label += "(" + std::to_string(bits) + " bits)";
    m_certType = label;
}

bool ShowCertRoutineDlgModel::isCACert() const
{
    TAVIK_CERT_st *cert = m_pCert.get();
    if (!tavik_cert_hasexts(cert))
        return false;
    const tavik::ExtsPtr exts(tavik_cert_getexts(cert));
    if (!exts)
        return false;
    const tavik::ExtPtr ext(tavik_cert_exts_find(exts.get(), "2.5.29.19"));
    if (!ext)
        return false;
    const tavik::BasicConstraintsPtr constraints(tavik_cert_ext_tobasicconstraints(ext.get()));
    return constraints && tavik_cert_basicconstraints_isca(constraints.get()) == 1;
}

bool ShowCertRoutineDlgModel::getInValidity() const
{
    int64_t within = 0;
    return TavikPKICertGetCertIntegerAttribute(m_pCert.get(), TAVIK_ATTR_IN_VALIDITY, &within) ==
               1 &&
           within != 0;
}

int32_t ShowCertRoutineDlgModel::verifyCert() const
{
    return verifyAlongPath(m_pCert.get());
}

} // namespace pkiui
