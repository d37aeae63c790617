#include "get_pwd_dlg.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "alert.hpp"
#include "pwd_layout.hpp"
#include "secret.hpp"

namespace pkiui {

GetPwdDlg::GetPwdDlg(QWidget *parent) : DialogView(parent)
{
    layoutSubView();
}

GetPwdDlg::~GetPwdDlg()
{
    wipe(m_pwd);
    clearField(m_pwdInputTextField);
}

void GetPwdDlg::layoutSubView()
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);
    m_headerLabel = makeHeaderLabel(this);
    mainStack->addWidget(m_headerLabel);
    mainStack->addStretch();

    m_pwdTipLabel =
        makeTipLabel(this, QStringLiteral("请输入密码:"), QStringLiteral("pwdTipLabel"));
    m_pwdInputTextField = makePasswordField(this);
    mainStack->addLayout(makeRow(m_pwdTipLabel, m_pwdInputTextField, 40));
    mainStack->addStretch();

    m_cancelButton = makeButton(this, QStringLiteral("取消"), QStringLiteral("cancelButton"));
    m_okButton = makeButton(this, QStringLiteral("确定"), QStringLiteral("okButton"));
    mainStack->addLayout(makeButtonRow(m_cancelButton, m_okButton));
    connect(m_okButton, &QPushButton::clicked, this, &GetPwdDlg::okButtonTapped);
    connect(m_cancelButton, &QPushButton::clicked, this, &GetPwdDlg::cancelButtonTapped);
}

void GetPwdDlg::setMsg(const QString &msg)
{
    m_msg = msg;
    m_headerLabel->setText(msg);
}

void GetPwdDlg::okButtonTapped()
{
    if (m_pwdInputTextField->text().isEmpty()) {
        showAlert(m_owner, QStringLiteral("请输入密码"));
        m_pwdInputTextField->setFocus(); // back in the field once the alert is gone
        return;
    }
    wipe(m_pwd);
    m_pwd = takeFieldText(m_pwdInputTextField);
    emit finished();
}

void GetPwdDlg::cancelButtonTapped()
{
    wipe(m_pwd);
    m_pwd = QString();
    clearField(m_pwdInputTextField);
    emit finished();
}

} // namespace pkiui
