#include "select_cert_dlg.hpp"

#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "cert_text.hpp"
#include "pwd_layout.hpp"

namespace pkiui {

SelectCertDlg::SelectCertDlg(QWidget *parent) : DialogView(parent)
{
    layoutSubView();
}

void SelectCertDlg::layoutSubView()
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);
    m_certList = new QListWidget(this);
    m_certList->setObjectName(QStringLiteral("certList"));
    m_certList->setSelectionMode(QAbstractItemView::SingleSelection);
    mainStack->addWidget(m_certList, 1);

    m_cancelButton = makeButton(this, QStringLiteral("取消"), QStringLiteral("cancelButton"));
    m_okButton = makeButton(this, QStringLiteral("确定"), QStringLiteral("okButton"));
    mainStack->addLayout(makeButtonRow(m_cancelButton, m_okButton));
    connect(m_okButton, &QPushButton::clicked, this, &SelectCertDlg::okButtonTapped);
    connect(m_cancelButton, &QPushButton::clicked, this, &SelectCertDlg::cancelButtonTapped);
}

void SelectCertDlg::setCertificateHandles(TAVIK_CERT_st **certs, int count)
{
    m_certList->clear();
    m_certs.clear();
    m_selected = nullptr;
    for (int i = 0; certs && i < count; ++i) {
        tavik::CertPtr cert(TavikPKICertDupCert(certs[i]));
        if (!cert)
            continue;
        m_certList->addItem(certDisplayName(cert.get()));
        m_certs.push_back(std::move(cert));
    }
}

void SelectCertDlg::okButtonTapped()
{
    const int row = m_certList->currentRow();
    const bool inList =
        row >= 0 && row < static_cast<int>(m_certs.size()) && m_certList->item(row)->isSelected();
    m_selected = inList ? m_certs[static_cast<std::size_t>(row)].get() : nullptr;
    if (m_owner)
        m_owner->hide();
    emit finished();
}

void SelectCertDlg::cancelButtonTapped()
{
    m_selected = nullptr;
    if (m_owner)
        m_owner->hide();
    emit finished();
}

} // namespace pkiui
