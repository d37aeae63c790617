// The certificate chooser: a bold prompt, the candidates in six columns,
// Cancel and OK; a double-click shows a row's certificate over the dialog.
#pragma once

#include <QAbstractTableModel>

#include "dialog_window.hpp"
#include "pkiui/select_model.hpp"

class QPushButton;
class QTableView;

namespace pkiui {

// The table's view of the plain model: every cell text is asked of it when
// the view paints that cell.
class SelectCertTableModel final : public QAbstractTableModel {
    Q_OBJECT
  public:
    SelectCertTableModel(SelectCertDlgModel &model, QObject *parent);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void reloadData();

  private:
    SelectCertDlgModel &m_model;
};

class SelectCertDlg final : public DialogView {
    Q_OBJECT
  public:
    explicit SelectCertDlg(QWidget *parent = nullptr);

    // The model keeps duplicates; the caller's handles stay the caller's.
    void setCertificateHandles(TAVIK_CERT_st **certs, int count);
    // The model's handle of the row confirmed with OK; null before OK, after
    // Cancel or with no row. Valid while the dialog lives.
    TAVIK_CERT_st *selectedCertHandle() const { return m_dlgModel.handleAtIndex(m_selectedIndex); }

    const SelectCertDlgModel &dlgModel() const { return m_dlgModel; }
    QTableView *certTableView() const { return m_certTableView; }

    void acceptFromKeyboard() override;
    void cancelFromKeyboard() override { cancelButtonClicked(); }

  private:
    void layoutSubView();
    void addContextMenu();
    void okButtonClicked();
    void cancelButtonClicked();
    void doubleClick();

    int m_selectedIndex = -1;
    SelectCertDlgModel m_dlgModel;
    SelectCertTableModel *m_tableModel = nullptr;
    QTableView *m_certTableView = nullptr;
};

} // namespace pkiui
