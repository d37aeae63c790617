#include "pwd_layout.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "alert.hpp"
#include "secret.hpp"

namespace pkiui {

namespace {

// Bold 14-point message line with the default text until a message is set;
// the host's message is plain text, never markup, and never widens the window.
QLabel *makeHeaderLabel(QWidget *parent)
{
    auto *label = new QLabel(QStringLiteral("正在使用XXX的证书对应的私钥进行签名"), parent);
    label->setObjectName(QStringLiteral("headerLabel"));
    QFont font = label->font();
    font.setBold(true);
    font.setPointSize(14);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

// Has the focus when the dialog opens.
QLineEdit *makePasswordField(QWidget *parent)
{
    auto *field = new QLineEdit(parent);
    field->setObjectName(QStringLiteral("passwordField"));
    field->setEchoMode(QLineEdit::Password);
    clearField(field);
    field->setFocus();
    return field;
}

// A label at the leading edge and a widget at the trailing edge, of fixed height.
QBoxLayout *makeRow(QWidget *leading, QWidget *trailing, int height)
{
    auto *row = new QHBoxLayout;
    row->addWidget(leading, 0, Qt::AlignVCenter);
    row->addStretch();
    row->addWidget(trailing, 1, Qt::AlignVCenter);
    leading->setFixedHeight(fitting(leading, {0, height}).height());
    trailing->setFixedHeight(trailing->sizeHint().height());
    return row;
}

} // namespace

PwdDlgBase::~PwdDlgBase()
{
    wipe(m_pwd);
    clearField(m_pwdInputTextField);
}

QVBoxLayout *PwdDlgBase::layoutMessageAndField(int rowHeight)
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);
    // The stretches part the rows; spacing of its own would not leave them
    // room in the given height at the usual font.
    mainStack->setSpacing(0);
    m_headerLabel = makeHeaderLabel(this);
    mainStack->addWidget(m_headerLabel);
    mainStack->addStretch();
    m_pwdTipLabel =
        makeTipLabel(this, QStringLiteral("请输入密码:"), QStringLiteral("pwdTipLabel"));
    m_pwdInputTextField = makePasswordField(this);
    m_pwdTipLabel->setBuddy(m_pwdInputTextField);
    mainStack->addLayout(makeRow(m_pwdTipLabel, m_pwdInputTextField, rowHeight));
    return mainStack;
}

void PwdDlgBase::layoutButtons(QVBoxLayout *stack)
{
    m_cancelButton = makeButton(this, QStringLiteral("取消"), QStringLiteral("cancelButton"));
    m_okButton = makeButton(this, QStringLiteral("确定"), QStringLiteral("okButton"));
    auto *row = new QHBoxLayout;
    row->setSpacing(60);
    row->addWidget(m_cancelButton);
    row->addStretch();
    row->addWidget(m_okButton);
    stack->addLayout(row);
    connect(m_okButton, &QPushButton::clicked, this, &PwdDlgBase::okButtonTapped);
    connect(m_cancelButton, &QPushButton::clicked, this, &PwdDlgBase::cancelButtonTapped);
}

void PwdDlgBase::setMsg(const QString &msg)
{
    m_msg = msg;
    m_headerLabel->setText(msg);
}

void PwdDlgBase::cancelButtonTapped()
{
    wipe(m_pwd);
    m_pwd = QString();
    clearField(m_pwdInputTextField);
    end();
}

void PwdDlgBase::accept()
{
    wipe(m_pwd);
    m_pwd = takeFieldText(m_pwdInputTextField);
    end();
}

void PwdDlgBase::alert(const QString &text)
{
    showAlert(m_owner, text);
    m_pwdInputTextField->setFocus(); // back in the field once the alert is gone
}

QLabel *makeTipLabel(QWidget *parent, const QString &text, const QString &name)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(name);
    return label;
}

QBoxLayout *makeEqualRow(QWidget *leading, QWidget *trailing, int height)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(leading, 1);
    row->addWidget(trailing, 1);
    leading->setFixedHeight(fitting(leading, {0, height}).height());
    trailing->setFixedHeight(fitting(trailing, {0, height}).height());
    return row;
}

} // namespace pkiui
