// The certificate chooser: one row per candidate, Cancel and OK.
#pragma once

#include <vector>

#include "dialog_window.hpp"
#include "tavik_ptr.hpp"

class QListWidget;
class QPushButton;

namespace pkiui {

class SelectCertDlg final : public DialogView {
    Q_OBJECT
  public:
    explicit SelectCertDlg(QWidget *parent = nullptr);

    // Keeps a duplicate of each handle; the caller's stay the caller's.
    void setCertificateHandles(TAVIK_CERT_st **certs, int count);
    // The dialog's own handle of the row selected at OK; null after Cancel or
    // with no row. Valid while the dialog lives.
    TAVIK_CERT_st *selectedCertHandle() const { return m_selected; }

  private:
    void layoutSubView();
    void okButtonTapped();
    void cancelButtonTapped();

    std::vector<tavik::CertPtr> m_certs;
    TAVIK_CERT_st *m_selected = nullptr;
    QListWidget *m_certList = nullptr;
    QPushButton *m_okButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};

} // namespace pkiui
