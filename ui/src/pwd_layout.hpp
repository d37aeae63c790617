// What the two password dialogs share: their widgets, the password handed
// over, Cancel, alerts and the keyboard.
#pragma once

#include <QString>

#include <optional>
#include <utility>

#include "dialog_window.hpp"

class QBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;
class QWidget;

namespace pkiui {

class PwdDlgBase : public DialogView {
    Q_OBJECT
  public:
    ~PwdDlgBase() override;

    void setMsg(const QString &msg);
    QString msg() const { return m_msg; }

    // The accepted text after OK, "" after Cancel, absent before either; the
    // dialog keeps no copy.
    std::optional<QString> takePwd() { return std::exchange(m_pwd, std::nullopt); }

    void acceptFromKeyboard() override { okButtonTapped(); }
    void cancelFromKeyboard() override { cancelButtonTapped(); }

  protected:
    using DialogView::DialogView;

    // The message line, a stretch and the field's row of the given height,
    // in a new 16-pixel-margin stack; the caller adds what follows.
    QVBoxLayout *layoutMessageAndField(int rowHeight);
    // Cancel on the left, OK on the right, at least 60 pixels apart.
    void layoutButtons(QVBoxLayout *stack);

    virtual void okButtonTapped() = 0;
    void cancelButtonTapped();
    // Takes the field's text as the password and ends the dialog.
    void accept();
    // Ends the dialog's loop.
    virtual void end() { emit finished(); }
    // Tells the user, then lets them retype at once.
    void alert(const QString &text);

    QString m_msg;
    std::optional<QString> m_pwd;
    QLabel *m_headerLabel = nullptr;
    QLabel *m_pwdTipLabel = nullptr;
    QLineEdit *m_pwdInputTextField = nullptr;
    QPushButton *m_okButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};

QLabel *makeTipLabel(QWidget *parent, const QString &text, const QString &name);
// Two widgets sharing the width equally, of fixed height, without margins.
QBoxLayout *makeEqualRow(QWidget *leading, QWidget *trailing, int height);

} // namespace pkiui
