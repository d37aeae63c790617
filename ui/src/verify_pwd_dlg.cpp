#include "verify_pwd_dlg.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "alert.hpp"
#include "pwd_layout.hpp"
#include "secret.hpp"

namespace pkiui {

VerifyPwdDlg::VerifyPwdDlg(QWidget *parent) : DialogView(parent)
{
    layoutSubView();
}

VerifyPwdDlg::~VerifyPwdDlg()
{
    wipe(m_pwd);
    clearField(m_pwdInputTextField);
}

void VerifyPwdDlg::layoutSubView()
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);
    m_headerLabel = makeHeaderLabel(this);
    mainStack->addWidget(m_headerLabel);
    mainStack->addStretch();

    m_pwdTipLabel =
        makeTipLabel(this, QStringLiteral("请输入密码:"), QStringLiteral("pwdTipLabel"));
    m_pwdInputTextField = makePasswordField(this);
    mainStack->addLayout(makeRow(m_pwdTipLabel, m_pwdInputTextField, 25));

    m_retryRow = new QWidget(this);
    m_retryRow->setObjectName(QStringLiteral("retryRow"));
    m_retryNumberTipLabel = makeTipLabel(m_retryRow, QStringLiteral("剩余密码重试次数:"),
                                         QStringLiteral("retryNumberTipLabel"));
    m_retryNumberLabel =
        makeTipLabel(m_retryRow, QStringLiteral("6"), QStringLiteral("retryNumberLabel"));
    auto *retryLayout = makeRow(m_retryNumberTipLabel, m_retryNumberLabel, 25);
    retryLayout->setContentsMargins(0, 0, 0, 0);
    m_retryRow->setLayout(retryLayout);
    mainStack->addWidget(m_retryRow);
    mainStack->addStretch();

    m_cancelButton = makeButton(this, QStringLiteral("取消"), QStringLiteral("cancelButton"));
    m_okButton = makeButton(this, QStringLiteral("确定"), QStringLiteral("okButton"));
    mainStack->addLayout(makeButtonRow(m_cancelButton, m_okButton));
    connect(m_okButton, &QPushButton::clicked, this, &VerifyPwdDlg::okButtonTapped);
    connect(m_cancelButton, &QPushButton::clicked, this, &VerifyPwdDlg::cancelButtonTapped);
}

void VerifyPwdDlg::setHDevice(TAVIK_PKI_DEVICE_HANDLE_st *device)
{
    m_hDevice = device;
    int count = -1;
    // The user PIN's count, whatever pin type is set afterwards.
    if (TavikPKICryptoGetPwdRetryNum(device, 1, &count) != 1 || count == -1) {
        m_retryRow->setVisible(false);
        setRetryNumber(-1);
        return;
    }
    setRetryNumber(count);
}

void VerifyPwdDlg::setMsg(const QString &msg)
{
    m_msg = msg;
    m_headerLabel->setText(msg);
}

void VerifyPwdDlg::setRetryNumber(int retryNumber)
{
    m_retryNumber = retryNumber;
    m_retryNumberLabel->setText(QString::number(retryNumber));
}

void VerifyPwdDlg::okButtonTapped()
{
    if (m_pwdInputTextField->text().isEmpty()) {
        showAlert(m_owner, QStringLiteral("请输入密码"));
        return;
    }
    QString pin = takeFieldText(m_pwdInputTextField);
    QByteArray utf8 = pin.toUtf8();
    int retry = -1;
    const int result = TavikPKICryptoVerifyPwd(m_hDevice, m_pinType, utf8.constData(), &retry);
    wipe(utf8);
    if (result == 1) {
        wipe(m_pwd);
        m_pwd = std::move(pin);
        if (m_owner)
            m_owner->hide();
        emit finished();
        return;
    }
    wipe(pin);
    showAlert(m_owner, QStringLiteral("密码错误"));
}

void VerifyPwdDlg::cancelButtonTapped()
{
    wipe(m_pwd);
    m_pwd = QString();
    clearField(m_pwdInputTextField);
    if (m_owner)
        m_owner->hide();
    emit finished();
}

} // namespace pkiui
