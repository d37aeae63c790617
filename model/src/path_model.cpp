#include "pkiui/path_model.hpp"

#include "pkiui/cert_status.hpp"
#include "cert_attributes.hpp"

namespace pkiui {

ShowCertPathDlgModel::~ShowCertPathDlgModel() = default;

int ShowCertPathDlgModel::setCertHandle(TAVIK_CERT_st *cert)
{
    if (!cert)
        return 0;
    // Rows point into the path: both go together.
    m_certPaths.clear();
    m_certPath.reset();
    m_pCert.reset(TavikPKICertDupCert(cert));
    initTreeCertPath();
    initReasons();
    return 1;
}

void ShowCertPathDlgModel::initTreeCertPath()
{
    // One status for the whole run: an element whose validity cannot be read
    // keeps the status of the element before it.
    int32_t status = 0;
    int built = 0;
    {
        const tavik::CertPtr dup(TavikPKICertDupCert(m_pCert.get()));
        built = TavikPKICertGetCertPath(dup.get(), m_certPath.outCerts(), m_certPath.outCount());
    }
    if (built == 1) {
        for (int i = 0; i < m_certPath.size(); ++i) {
            TAVIK_CERT_st *element = m_certPath[i];
            int64_t within = 0;
            if (TavikPKICertGetCertIntegerAttribute(element, TAVIK_ATTR_IN_VALIDITY, &within) ==
                1) {
                status = verifyCert(element);
                if (within == 0)
                    status = kStatusOutOfValidity;
            }
            std::optional<std::string> name =
                GetCertStringAttribute(element, TAVIK_ATTR_SUBJECT_CN);
            if (!name)
                break;
            // The list never says the verification failed.
            if (status == kStatusFailed)
                status = kStatusOutOfValidity;
            m_certPaths.emplace_back(element, std::move(*name), status);
        }
        return;
    }

    m_certPath.reset();
    int64_t within = 0;
    if (TavikPKICertGetCertIntegerAttribute(m_pCert.get(), TAVIK_ATTR_IN_VALIDITY, &within) == 1)
        status = within != 0 ? kStatusIncomplete : kStatusOutOfValidity;
    if (std::optional<std::string> name =
            GetCertStringAttribute(m_pCert.get(), TAVIK_ATTR_SUBJECT_CN))
        m_certPaths.emplace_back(m_pCert.get(), std::move(*name), status);
}

// Each row gets its own findings: its validity now, which its status shows,
// then what the verifier found at its depth; a row with neither says whether
// the whole path verified.
void ShowCertPathDlgModel::initReasons()
{
    const int count = m_certPath.size();
    // Without a path the certificate's issuer is what is missing.
    const PathVerdict verdict =
        count > 0 ? verifyPath(m_pCert.get())
                  : PathVerdict{kStatusIncomplete, TAVIK_REASON_ISSUER_NOT_FOUND, 0};
    // The verifier counts from the viewed certificate, the path from the root.
    TAVIK_CERT_st *found = nullptr;
    if (verdict.reason > 0 && verdict.depth >= 0)
        found = count > 0
                    ? (verdict.depth < count ? m_certPath[count - 1 - verdict.depth] : nullptr)
                    : m_pCert.get();
    std::string fine = "该证书本身未发现问题";
    if (found)
        fine +=
            "，问题在“" + GetCertStringAttribute(found, TAVIK_ATTR_SUBJECT_CN).value_or("?") + "”";
    for (CertInfoModel &row : m_certPaths) {
        std::string text;
        const auto add = [&text, &row](int reason) {
            text += (text.empty() ? "" : "\n") + reasonText(reason, row.cert);
        };
        int own = TAVIK_REASON_OK;
        if (TavikPKICertCheckValidity(row.cert, &own) == TAVIK_ERR_TIME)
            add(own);
        if (row.cert == found && verdict.reason != own)
            add(verdict.reason);
        if (text.empty())
            text = verdict.status == kStatusVerified ? reasonText(TAVIK_REASON_OK, row.cert) : fine;
        row.reason = std::move(text);
    }
}

std::string ShowCertPathDlgModel::reasonOf(const TAVIK_CERT_st *cert) const
{
    if (m_certPaths.empty())
        return {};
    if (!cert)
        return m_certPaths.back().reason;
    for (const CertInfoModel &row : m_certPaths)
        if (row.cert == cert)
            return row.reason;
    return {};
}

int32_t ShowCertPathDlgModel::verifyCert(TAVIK_CERT_st * /*cert*/) const
{
    return verifyAlongPath(m_pCert.get());
}

std::optional<std::string> ShowCertPathDlgModel::GetCertStringAttribute(TAVIK_CERT_st *cert,
                                                                        int att)
{
    return stringAttribute(cert, att);
}

std::string ShowCertPathDlgModel::cellText(int row) const
{
    if (row < 0 || row >= numberOfRows())
        return {};
    return std::string(static_cast<std::size_t>(row), '\t') + (row != 0 ? "|- " : "") +
           m_certPaths[static_cast<std::size_t>(row)].displayName;
}

void ShowCertPathDlgModel::viewForRow(int row, const std::function<void(int row)> &selectRow)
{
    if (row != numberOfRows() - 1 || row < 0)
        return;
    if (selectRow)
        selectRow(row);
    if (showContentWhenUserSelect)
        showContentWhenUserSelect(nullptr, getContentByIndex(m_certPaths.back().status));
}

void ShowCertPathDlgModel::selectionDidChange(int row)
{
    if (row < 0 || row > numberOfRows() - 1)
        return;
    const CertInfoModel &info = m_certPaths[static_cast<std::size_t>(row)];
    const bool last = row == numberOfRows() - 1;
    if (showContentWhenUserSelect)
        showContentWhenUserSelect(last ? nullptr : info.cert, getContentByIndex(info.status));
}

} // namespace pkiui
