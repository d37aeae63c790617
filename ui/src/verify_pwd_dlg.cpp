#include "verify_pwd_dlg.hpp"

#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <string_view>

#include "secret.hpp"

namespace pkiui {

namespace {

constexpr std::string_view kUnknownError = "验证密码时发生未知错误";

// The two results by which the toolkit says the device refused the PIN.
constexpr std::array kRejections{int{TAVIK_ERR_PIN_INCORRECT}, int{TAVIK_PIN_BAD_FORM}};

// What a refused PIN tells the user, by the tries left the device returned;
// a count outside every row is an unknown error.
struct RejectionAlert {
    int lowest;
    int highest;
    std::string_view text;
    bool showsCount;
};

constexpr std::array kRejectionAlerts{
    RejectionAlert{-1, -1, "密码错误", false},
    RejectionAlert{0, 0, "设备已被锁定", false},
    RejectionAlert{1, 15, "密码错误，请重试", true},
};

constexpr const RejectionAlert *rejectionAlert(int retry)
{
    const auto *row = std::find_if(
        kRejectionAlerts.begin(), kRejectionAlerts.end(),
        [retry](const RejectionAlert &r) { return r.lowest <= retry && retry <= r.highest; });
    return row == kRejectionAlerts.end() ? nullptr : row;
}

static_assert(rejectionAlert(-2) == nullptr && rejectionAlert(16) == nullptr);
static_assert(rejectionAlert(15)->showsCount && !rejectionAlert(0)->showsCount);

QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

bool asciiOnly(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar unit) { return unit.unicode() <= 127; });
}

} // namespace

VerifyPwdDlg::VerifyPwdDlg(QWidget *parent) : PwdDlgBase(parent)
{
    layoutSubView();
}

void VerifyPwdDlg::layoutSubView()
{
    QVBoxLayout *mainStack = layoutMessageAndField(25);
    m_headerLabel->setFixedHeight(fitting(m_headerLabel, {0, 25}).height());

    // A widget, not a bare layout, so that the whole row can be hidden.
    m_retryRow = new QWidget(this);
    m_retryRow->setObjectName(QStringLiteral("retryRow"));
    m_retryNumberTipLabel = makeTipLabel(m_retryRow, QStringLiteral("剩余密码重试次数:"),
                                         QStringLiteral("retryNumberTipLabel"));
    m_retryNumberLabel =
        makeTipLabel(m_retryRow, QStringLiteral("6"), QStringLiteral("retryNumberLabel"));
    m_retryNumberLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_retryRow->setLayout(makeEqualRow(m_retryNumberTipLabel, m_retryNumberLabel, 25));
    mainStack->addWidget(m_retryRow);
    mainStack->addStretch();
    layoutButtons(mainStack);
}

void VerifyPwdDlg::setHDevice(TAVIK_PKI_DEVICE_HANDLE_st *device)
{
    m_hDevice = device;
    int count = -1;
    // Always the user PIN's count: the pin type is set only afterwards.
    if (TavikPKICryptoGetPwdRetryNum(device, 1, &count) != 1 || count == -1) {
        m_retryRow->setVisible(false);
        setRetryNumber(-1);
        return;
    }
    setRetryNumber(count);
}

void VerifyPwdDlg::setRetryNumber(int retryNumber)
{
    m_retryNumber = retryNumber;
    m_retryNumberLabel->setText(QString::number(retryNumber));
}

void VerifyPwdDlg::okButtonTapped()
{
    // Shares the field's buffer: no copy of the PIN yet.
    QString pin = m_pwdInputTextField->text();
    if (pin.isEmpty()) {
        alert(QStringLiteral("请输入密码"));
        return;
    }
    // Only ASCII reaches the device; the field keeps what was typed.
    if (!asciiOnly(pin)) {
        pin = QString();
        alert(QStringLiteral("密码包含错误的字符"));
        return;
    }
    pin = QString();
    QByteArray utf8 = m_pwdInputTextField->text().toUtf8();
    int retry = -1;
    const int result = TavikPKICryptoVerifyPwd(m_hDevice, m_pinType, utf8.constData(), &retry);
    wipe(utf8);
    if (result == 1) {
        accept();
        return;
    }
    clearField(m_pwdInputTextField);
    const bool rejected =
        std::find(kRejections.begin(), kRejections.end(), result) != kRejections.end();
    const RejectionAlert *row = rejected ? rejectionAlert(retry) : nullptr;
    if (row && row->showsCount)
        setRetryNumber(retry);
    alert(fromUtf8(row ? row->text : kUnknownError));
}

void VerifyPwdDlg::end()
{
    if (m_owner)
        m_owner->hide();
    emit finished();
}

} // namespace pkiui
