// The plain password prompt: a message, a password field, Cancel and OK.
#pragma once

#include <optional>

#include "dialog_window.hpp"

class QLabel;
class QLineEdit;
class QPushButton;

namespace pkiui {

class GetPwdDlg final : public DialogView {
    Q_OBJECT
  public:
    explicit GetPwdDlg(QWidget *parent = nullptr);
    ~GetPwdDlg() override;

    void setMsg(const QString &msg);
    QString msg() const { return m_msg; }

    // The typed text after OK, "" after Cancel, absent before either; the
    // dialog keeps no copy.
    std::optional<QString> takePwd() { return std::exchange(m_pwd, std::nullopt); }

    void acceptFromKeyboard() override { okButtonTapped(); }
    void cancelFromKeyboard() override { cancelButtonTapped(); }

  private:
    void layoutSubView();
    void okButtonTapped();
    void cancelButtonTapped();

    QString m_msg;
    std::optional<QString> m_pwd;
    QLabel *m_headerLabel = nullptr;
    QLabel *m_pwdTipLabel = nullptr;
    QLineEdit *m_pwdInputTextField = nullptr;
    QPushButton *m_okButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};

} // namespace pkiui
