// The row store of the detail list: rows by name, their order, and the kind
// filter the table shows.
#include "pkiui/detail_model.hpp"

#include <array>

namespace pkiui {

namespace {

// Pop-up position of the filter -> kind mask.
constexpr std::array<unsigned, 6> kFilterMasks = {
    kAllRows, kVersion1Field, kExtension, kCriticalExtension, kTavikExtension, kAttribute,
};

} // namespace

ShowCertDetailDlgModel::ShowCertDetailDlgModel() = default;
ShowCertDetailDlgModel::~ShowCertDetailDlgModel() = default;

bool ShowCertDetailDlgModel::setCertHandle(TAVIK_CERT_st *cert)
{
    if (!cert)
        return false;
    // A duplicate from an earlier call is released here, not leaked.
    m_pCert.reset(TavikPKICertDupCert(cert));
    getCertInfomation();
    setSelectedIndex(kAllRows);
    return true;
}

// keys is deliberately kept: a second certificate's names are appended to the
// first one's.
void ShowCertDetailDlgModel::getCertInfomation()
{
    m_certInfos.clear();
    // Room for a typical certificate's rows, so the store is not rehashed
    // while they are added.
    m_certInfos.reserve(48);
    GetCertVersion();
    GetCertSerialNumber();
    GetCertSignAlgo();
    GetCertIssuer();
    GetCertValidity();
    GetCertSubject();
    GetCertPublicKeyInfo();
    GetCertSignature();
    GetCertIssuerUniqueID();
    GetCertSubjectUniqueID();
    GetCertExtensions();
    GetCertThumbprint();
}

void ShowCertDetailDlgModel::AddCertInfo(const std::string &name, std::string value,
                                         std::string content, unsigned type)
{
    m_certInfos.insert_or_assign(
        name, CertDetailInfoItem{name, std::move(value), std::move(content), type});
    m_keys.push_back(name);
}

void ShowCertDetailDlgModel::switchToIndex(int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= kFilterMasks.size())
        return;
    setSelectedIndex(kFilterMasks[static_cast<std::size_t>(index)]);
}

void ShowCertDetailDlgModel::setSelectedIndex(unsigned mask)
{
    if (mask == m_selectedIndex)
        return;
    m_selectedIndex = mask;
    changeDisplayKeys();
}

void ShowCertDetailDlgModel::changeDisplayKeys()
{
    std::vector<std::string> shown;
    shown.reserve(m_keys.size());
    for (const std::string &name : m_keys) {
        const CertDetailInfoItem *row = item(name);
        if (row && (row->type & m_selectedIndex) != 0)
            shown.push_back(row->name);
    }
    m_displayKeys = std::move(shown);
}

const CertDetailInfoItem *ShowCertDetailDlgModel::item(const std::string &name) const
{
    const auto found = m_certInfos.find(name);
    return found == m_certInfos.end() ? nullptr : &found->second;
}

const CertDetailInfoItem *ShowCertDetailDlgModel::rowAt(int row) const
{
    if (row < 0 || row >= numberOfRows())
        return nullptr;
    return item(m_displayKeys[static_cast<std::size_t>(row)]);
}

void ShowCertDetailDlgModel::selectionDidChange(int row) const
{
    const CertDetailInfoItem *selected = rowAt(row);
    if (selected && showContent)
        showContent(selected->content);
}

} // namespace pkiui
