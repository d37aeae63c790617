// The "详细信息" tab: a filter, the field list and the selected row's content.
#pragma once

#include <QWidget>

#include <memory>

#include "pkiui/detail_model.hpp"

class QComboBox;
class QPlainTextEdit;
class QTableView;

namespace pkiui {

class DetailRowsAdapter;

class ShowCertDetailDlg : public QWidget {
    Q_OBJECT
  public:
    explicit ShowCertDetailDlg(QWidget *parent = nullptr);
    ~ShowCertDetailDlg() override;

    // Hands the certificate to the model and reloads the list; the model's result.
    virtual int setCertHandle(TAVIK_CERT_st *cert);

    ShowCertDetailDlgModel &model();
    QTableView *certTableView() const { return m_certTableView; }
    QPlainTextEdit *detailValue();

    // The filter pop-up's action: the model filters, the list reloads and the
    // content pane empties, since the selection is gone.
    void handlePopUpBtn(int index);

  private:
    void layoutSubView();
    void addContextMenu();
    void clampColumn(int column, int width);

    std::unique_ptr<ShowCertDetailDlgModel> m_model;
    DetailRowsAdapter *m_rows = nullptr;
    QTableView *m_certTableView = nullptr;
    QComboBox *m_filterPopUp = nullptr;
    QPlainTextEdit *m_detailValue = nullptr;
    tavik::CertPtr m_cert; // for export and the fingerprint check
};

} // namespace pkiui
