// The "证书路径" tab: the path as an indented list, the selected
// certificate's status, and "查看证书" to open another viewer on it.
#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>

#include "pkiui/path_model.hpp"

class QLineEdit;
class QPushButton;
class QTableView;

namespace pkiui {

class PathRowsAdapter;

class ShowCertPathDlg : public QWidget {
    Q_OBJECT
  public:
    explicit ShowCertPathDlg(QWidget *parent = nullptr);
    ~ShowCertPathDlg() override;

    // Hands the certificate to the model and reloads the list, at once
    // selecting the last row; the model's result.
    virtual int setCertHandle(TAVIK_CERT_st *cert);

    // The viewer window nested viewers are placed over.
    void setOwner(QWidget *owner) { m_owner = owner; }
    QWidget *owner() const { return m_owner; }

    ShowCertPathDlgModel &model();
    QTableView *certTableView() const { return m_certTableView; }
    TAVIK_CERT_st *selectedCert() const { return m_selectedCert; }

    void lookupButtonClicked();

  private:
    void layoutSubView();
    void addContextMenu();
    void showSelection(TAVIK_CERT_st *cert, const std::string &status);

    QPointer<QWidget> m_owner;
    QTableView *m_certTableView = nullptr;
    QLineEdit *m_certStatusTextField = nullptr;
    QPushButton *m_lookUpButton = nullptr;
    std::unique_ptr<ShowCertPathDlgModel> m_model;
    PathRowsAdapter *m_rows = nullptr;
    TAVIK_CERT_st *m_selectedCert = nullptr; // a row's, not owned
};

} // namespace pkiui
