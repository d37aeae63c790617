// The certificate viewer: tabs "常规", "详细信息", "证书路径" and an OK button.
#pragma once

#include "dialog_window.hpp"
#include "tavik_ptr.hpp"

class QPlainTextEdit;
class QPushButton;
class QTabWidget;

namespace pkiui {

class ShowCertInfoDlg final : public DialogView {
    Q_OBJECT
  public:
    explicit ShowCertInfoDlg(QWidget *parent = nullptr);

    // 1 when the certificate could be read (it has a subject or issuer name
    // to show), else 0 and nothing is shown. Keeps its own duplicate.
    int setCertHandle(TAVIK_CERT_st *cert);

    // true: OK ends the caller's event loop (finished()); false: OK only
    // hides the owner window.
    void setShouldStopApp(bool stop) { m_shouldStopApp = stop; }
    bool shouldStopApp() const { return m_shouldStopApp; }

  private:
    void layoutSubViews();
    void okButtonClicked();
    QPlainTextEdit *addTab(const QString &label, const QString &name);

    bool m_shouldStopApp = false;
    tavik::CertPtr m_cert;
    QTabWidget *m_tabs = nullptr;
    QPlainTextEdit *m_generalText = nullptr;
    QPlainTextEdit *m_detailText = nullptr;
    QPlainTextEdit *m_pathText = nullptr;
    QPushButton *m_okButton = nullptr;
};

} // namespace pkiui
