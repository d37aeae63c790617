#include "get_pwd_dlg.hpp"

#include <QLineEdit>
#include <QVBoxLayout>

namespace pkiui {

GetPwdDlg::GetPwdDlg(QWidget *parent) : PwdDlgBase(parent)
{
    layoutSubView();
}

void GetPwdDlg::layoutSubView()
{
    QVBoxLayout *mainStack = layoutMessageAndField(40);
    mainStack->addStretch();
    layoutButtons(mainStack);
}

// Any text goes to the caller as typed; only an empty one is refused.
void GetPwdDlg::okButtonTapped()
{
    if (m_pwdInputTextField->text().isEmpty()) {
        alert(QStringLiteral("请输入密码"));
        return;
    }
    accept();
}

} // namespace pkiui
