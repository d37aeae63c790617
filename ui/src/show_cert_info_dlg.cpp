#include "show_cert_info_dlg.hpp"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "cert_text.hpp"

namespace pkiui {

ShowCertInfoDlg::ShowCertInfoDlg(QWidget *parent) : DialogView(parent)
{
    layoutSubViews();
}

QPlainTextEdit *ShowCertInfoDlg::addTab(const QString &label, const QString &name)
{
    auto *text = new QPlainTextEdit(m_tabs);
    text->setObjectName(name);
    text->setReadOnly(true);
    m_tabs->addTab(text, label);
    return text;
}

void ShowCertInfoDlg::layoutSubViews()
{
    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(16, 16, 16, 16);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_generalText = addTab(QStringLiteral("常规"), QStringLiteral("generalTab"));
    m_detailText = addTab(QStringLiteral("详细信息"), QStringLiteral("detailTab"));
    m_pathText = addTab(QStringLiteral("证书路径"), QStringLiteral("pathTab"));
    stack->addWidget(m_tabs, 1);

    m_okButton = new QPushButton(QStringLiteral("确定"), this);
    m_okButton->setObjectName(QStringLiteral("okButton"));
    m_okButton->setFixedSize(100, 44);
    stack->addWidget(m_okButton, 0, Qt::AlignHCenter);
    connect(m_okButton, &QPushButton::clicked, this, &ShowCertInfoDlg::okButtonClicked);
}

int ShowCertInfoDlg::setCertHandle(TAVIK_CERT_st *cert)
{
    if (!cert)
        return 0;
    tavik::CertPtr copy(TavikPKICertDupCert(cert));
    if (!copy)
        return 0;
    const QString subject =
        certStringAttribute(copy.get(), TAVIK_ATTR_SUBJECT_CN).value_or(QString());
    const QString issuer =
        certStringAttribute(copy.get(), TAVIK_ATTR_ISSUER_NAME).value_or(QString());
    if (subject.isEmpty() && issuer.isEmpty())
        return 0;
    const QString from = certValidityStart(copy.get());
    const QString to = certValidityEnd(copy.get());
    m_generalText->setPlainText(
        QStringLiteral("颁发给: %1\n颁发者: %2\n有效期从 %3 到 %4").arg(subject, issuer, from, to));
    m_detailText->setPlainText(QStringLiteral("使用者: %1\n颁发者: %2\n有效期从: %3\n到: %4")
                                   .arg(subject, issuer, from, to));
    m_pathText->setPlainText(subject.isEmpty() ? issuer : subject);
    m_cert = std::move(copy);
    return 1;
}

void ShowCertInfoDlg::okButtonClicked()
{
    if (m_shouldStopApp)
        emit finished();
    else if (m_owner)
        m_owner->hide();
}

} // namespace pkiui
