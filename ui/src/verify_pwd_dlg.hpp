// The device PIN prompt: the PIN is checked against the device before the
// dialog lets the user go on.
#pragma once

#include <optional>

#include "dialog_window.hpp"
#include "tavik_pki.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace pkiui {

class VerifyPwdDlg final : public DialogView {
    Q_OBJECT
  public:
    explicit VerifyPwdDlg(QWidget *parent = nullptr);
    ~VerifyPwdDlg() override;

    // Not owned. Also reads the tries left from the device.
    void setHDevice(TAVIK_PKI_DEVICE_HANDLE_st *device);
    void setPinType(int pinType) { m_pinType = pinType; }
    void setMsg(const QString &msg);
    QString msg() const { return m_msg; }
    void setRetryNumber(int retryNumber);
    int retryNumber() const { return m_retryNumber; }

    // The accepted PIN after OK, "" after Cancel, absent before either; the
    // dialog keeps no copy.
    std::optional<QString> takePwd() { return std::exchange(m_pwd, std::nullopt); }

    void acceptFromKeyboard() override { okButtonTapped(); }
    void cancelFromKeyboard() override { cancelButtonTapped(); }

  private:
    void layoutSubView();
    void okButtonTapped();
    void cancelButtonTapped();
    // Orders the window out and ends the dialog's loop.
    void end();
    // Tells the user, then lets them retype at once.
    void alert(const QString &text);

    TAVIK_PKI_DEVICE_HANDLE_st *m_hDevice = nullptr;
    int m_pinType = 0;
    int m_retryNumber = -1;
    QString m_msg;
    std::optional<QString> m_pwd;
    QLabel *m_headerLabel = nullptr;
    QLabel *m_pwdTipLabel = nullptr;
    QLineEdit *m_pwdInputTextField = nullptr;
    QWidget *m_retryRow = nullptr;
    QLabel *m_retryNumberTipLabel = nullptr;
    QLabel *m_retryNumberLabel = nullptr;
    QPushButton *m_okButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};

} // namespace pkiui
