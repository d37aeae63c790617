// The plain password prompt: a message, a password field, Cancel and OK.
#pragma once

#include "pwd_layout.hpp"

namespace pkiui {

class GetPwdDlg final : public PwdDlgBase {
    Q_OBJECT
  public:
    explicit GetPwdDlg(QWidget *parent = nullptr);

  private:
    void layoutSubView();
    void okButtonTapped() override;
};

} // namespace pkiui
