// The device PIN prompt: the PIN is checked against the device before the
// dialog lets the user go on.
#pragma once

#include "pwd_layout.hpp"
#include "tavik_pki.h"

namespace pkiui {

class VerifyPwdDlg final : public PwdDlgBase {
    Q_OBJECT
  public:
    explicit VerifyPwdDlg(QWidget *parent = nullptr);

    // Not owned. Also reads the tries left from the device.
    void setHDevice(TAVIK_PKI_DEVICE_HANDLE_st *device);
    void setPinType(int pinType) { m_pinType = pinType; }
    void setRetryNumber(int retryNumber);
    int retryNumber() const { return m_retryNumber; }

  private:
    void layoutSubView();
    void okButtonTapped() override;
    // Orders the window out, then ends the dialog's loop.
    void end() override;

    TAVIK_PKI_DEVICE_HANDLE_st *m_hDevice = nullptr;
    int m_pinType = 0;
    int m_retryNumber = -1;
    QWidget *m_retryRow = nullptr;
    QLabel *m_retryNumberTipLabel = nullptr;
    QLabel *m_retryNumberLabel = nullptr;
};

} // namespace pkiui
