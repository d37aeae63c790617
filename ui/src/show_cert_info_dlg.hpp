// The certificate viewer: tabs "常规", "详细信息", "证书路径" and an OK button.
#pragma once

#include <memory>

#include "dialog_window.hpp"
#include "tavik_pki.h"

class QPushButton;
class QTabWidget;

namespace pkiui {

class ShowCertDetailDlg;
class ShowCertPathDlg;
class ShowCertRoutineDlg;

class ShowCertInfoDlg final : public DialogView {
    Q_OBJECT
  public:
    explicit ShowCertInfoDlg(QWidget *parent = nullptr);

    // 0 for a null handle; otherwise hands it to the general, path and
    // details tabs, in that order (each keeps its own duplicate), and 1.
    int setCertHandle(TAVIK_CERT_st *cert);

    // The viewer's window; the path tab places nested viewers over it.
    void setOwner(QWidget *owner);

    // true: OK ends the caller's event loop (finished()); false: OK only
    // hides the owner window.
    void setShouldStopApp(bool stop) { m_shouldStopApp = stop; }
    bool shouldStopApp() const { return m_shouldStopApp; }

    // The tabs, created on first use; a setter replaces the tab's page.
    ShowCertRoutineDlg *showCertRoutineDlg();
    ShowCertDetailDlg *showCertDetailDlg();
    ShowCertPathDlg *showCertPathDlg();
    void setShowCertRoutineDlg(ShowCertRoutineDlg *tab);
    void setShowCertDetailDlg(ShowCertDetailDlg *tab);
    void setShowCertPathDlg(ShowCertPathDlg *tab);

    void okButtonClicked();
    // Return, Escape and the window's close all act as "确定".
    void acceptFromKeyboard() override { okButtonClicked(); }
    void cancelFromKeyboard() override { okButtonClicked(); }

  private:
    void layoutSubViews();
    void replacePage(QWidget *old, QWidget *page);

    bool m_shouldStopApp = false;
    QTabWidget *m_tabs = nullptr;
    ShowCertRoutineDlg *m_routine = nullptr;
    ShowCertDetailDlg *m_detail = nullptr;
    ShowCertPathDlg *m_path = nullptr;
    QPushButton *m_okButton = nullptr;
};

// The viewer's window (title "证书", 400 x 450, no close button) around a
// viewer holding cert; both null when the viewer cannot take it.
struct ViewerWindow {
    std::unique_ptr<DialogWindow> window;
    ShowCertInfoDlg *view = nullptr;
};
ViewerWindow makeViewerWindow(QWidget *owner, TAVIK_CERT_st *cert);

// Builds the viewer window for cert and shows it: over parent's window,
// returning at once, or without a parent until its OK button. 1 when shown;
// 0, after the "读取证书信息失败" alert, when the viewer cannot take the
// certificate.
int displayCert(QWidget *parent, TAVIK_CERT_st *cert);

} // namespace pkiui
